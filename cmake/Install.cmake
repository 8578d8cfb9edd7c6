# What `cmake --install` and the packages ship. Components: Runtime (the
# library), Development (headers, CMake package, pkg-config files, the virtual
# D2XX library for users' tests), DialogsQt (the dialogs' view module), and
# those of the command line and the Python package.
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
