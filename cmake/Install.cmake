# What `cmake --install` and the packages ship. Components: Runtime (the
# library), Development (headers, CMake package, pkg-config files, the virtual
# D2XX library for users' tests), DialogsQt (the dialogs' view module,
# src/dialogs/qt), Cli (the program, its man pages, udev rule and bash
# completion) and Python (python/CMakeLists.txt).
include(CMakePackageConfigHelpers)

install(TARGETS brevant_shared EXPORT BrevantTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_SKIP)
install(TARGETS brevant_shared
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development NAMELINK_ONLY)
install(TARGETS brevant_c EXPORT BrevantTargets)
# The public headers, bar the generated version block's internals.
install(DIRECTORY include/brevant DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT Development FILES_MATCHING PATTERN "*.h")
install(EXPORT BrevantTargets NAMESPACE Brevant:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Brevant
  COMPONENT Development)
configure_package_config_file(cmake/BrevantConfig.cmake.in
  ${CMAKE_BINARY_DIR}/BrevantConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Brevant)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/BrevantConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/BrevantConfig.cmake ${CMAKE_BINARY_DIR}/BrevantConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Brevant COMPONENT Development)
# The pkg-config files are written when installing, so that they name the
# prefix the tree is installed under (`cmake --install --prefix`), which need
# not be the one configured; under /usr with Debian's multiarch libdir too.
foreach(pc brevant brevant-c)
  install(CODE "
    set(PROJECT_VERSION ${PROJECT_VERSION})
    set(BREVANT_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
    set(BREVANT_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${CMAKE_BINARY_DIR}/${pc}.pc @ONLY)
    file(INSTALL ${CMAKE_BINARY_DIR}/${pc}.pc
         DESTINATION \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig)"
    COMPONENT Development)
endforeach()

install(TARGETS brevant-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Cli)
# Under /usr the loader finds libbrevant.so.1 by itself; in another prefix the
# program looks in its own.
if(NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
  set_target_properties(brevant-cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

# Man pages from the program's own help: brevant.1 and one page per command.
find_program(BREVANT_HELP2MAN help2man)
if(BREVANT_HELP2MAN)
  set(BREVANT_MAN_PAGES ${CMAKE_BINARY_DIR}/man)
  set(BREVANT_MAN_SCRIPT ${PROJECT_SOURCE_DIR}/tools/brevant/man/make-pages.sh)
  set(BREVANT_MAN_INCLUDE ${PROJECT_SOURCE_DIR}/tools/brevant/man/brevant.h2m)
  add_custom_command(OUTPUT ${BREVANT_MAN_PAGES}/brevant.1.gz
    COMMAND sh ${BREVANT_MAN_SCRIPT} $<TARGET_FILE:brevant-cli> ${BREVANT_MAN_INCLUDE} ${BREVANT_MAN_PAGES}
    DEPENDS brevant-cli ${BREVANT_MAN_SCRIPT} ${BREVANT_MAN_INCLUDE}
    COMMENT "Making the man pages from brevant --help")
  add_custom_target(brevant-man ALL DEPENDS ${BREVANT_MAN_PAGES}/brevant.1.gz)
  install(DIRECTORY ${BREVANT_MAN_PAGES}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Cli)
else()
  message(STATUS "help2man not found: brevant's man pages are not made")
endif()

# Relative: under the prefix. Debian's packages take /lib/udev/rules.d, where
# the udev of this release keeps its own rules and lintian checks them.
set(BREVANT_UDEV_RULES_DIR lib/udev/rules.d CACHE STRING
    "Where the udev rule goes (a relative path is under the prefix)")
install(FILES tools/udev/60-brevant.rules DESTINATION ${BREVANT_UDEV_RULES_DIR} COMPONENT Cli)

install(FILES tools/brevant/completion/brevant.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME brevant COMPONENT Cli)
