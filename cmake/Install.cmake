# What the command-line program and the Python package install, beside the
# libraries: the program, its man pages, udev rule and bash completion; the
# Python package.
include(GNUInstallDirs)

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

set(BREVANT_PYTHON_DIR lib/python3/dist-packages CACHE STRING
    "Where the Python package goes (a relative path is under the prefix)")
install(DIRECTORY python/brevant DESTINATION ${BREVANT_PYTHON_DIR} COMPONENT Python
  PATTERN __pycache__ EXCLUDE)

if(BREVANT_TESTS)
  add_test(NAME BashCompletion COMMAND bash ${PROJECT_SOURCE_DIR}/tests/tools/completion.sh
    $<TARGET_FILE:brevant-cli> ${PROJECT_SOURCE_DIR}/tools/brevant/completion/brevant.bash)
endif()
