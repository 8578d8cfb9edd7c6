# Debian packages, one per install component (`make deb`).

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Brevant developers <brevant@example.org>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(BREVANT_DEB_VERSION ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE brevant)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The programs link the library of this very build, which no installed
# package provides yet: it is found here, and its Depends is written below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${BREVANT_LIBRARY_DIR})
set(CPACK_STRIP_FILES ON)

option(BREVANT_DEBIAN_DOCS "Install each package's copyright file and Debian changelog" OFF)
if(BREVANT_DEBIAN_DOCS)
  # The date follows SOURCE_DATE_EPOCH, so that a rebuild gives the same file.
  string(TIMESTAMP BREVANT_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(tools/debian/changelog.in ${CMAKE_BINARY_DIR}/debian/changelog.Debian @ONLY)
  execute_process(COMMAND gzip -9nf ${CMAKE_BINARY_DIR}/debian/changelog.Debian
    COMMAND_ERROR_IS_FATAL ANY)
endif()

get_cmake_property(BREVANT_INSTALLED COMPONENTS)
if("Unspecified" IN_LIST BREVANT_INSTALLED)
  message(WARNING "Some files are installed without a COMPONENT: no Debian package holds them")
endif()
set(CPACK_COMPONENTS_ALL "")

# brevant_package(COMPONENT PACKAGE SECTION DEPENDS DESCRIPTION): the Depends
# beyond the shared libraries'; the description's first line is the summary.
# A build without a component (no Qt: no dialogs) makes no package of it.
function(brevant_package component package section depends description)
  if(NOT component IN_LIST BREVANT_INSTALLED)
    return()
  endif()
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${description}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  if(BREVANT_DEBIAN_DOCS)
    install(FILES tools/debian/copyright ${CMAKE_BINARY_DIR}/debian/changelog.Debian.gz
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  endif()
endfunction()

set(BREVANT_SAME "libbrevant1 (= ${BREVANT_DEB_VERSION})")
brevant_package(Runtime libbrevant1 libs "" [[FTDI USB chips from C++ and C
Brevant finds FTDI USB interface chips, opens a channel by number and
drives it in MPSSE, synchronous bit-bang, 245 FIFO or opto mode, logging
every driver call and reporting failures as numbered errors. It runs on
the chip vendor's D2XX library, on libftdi, or on a built-in virtual
bench when there is no chip.
.
This package holds the shared library: the C++ classes and the C ABI.]])
brevant_package(DialogsQt libbrevant1-qt libs "${BREVANT_SAME}"
  [[FTDI USB chips: selection dialogs in Qt
The view of Brevant's device and module selection dialogs in Qt 6
Widgets, loaded by libbrevant the first time a dialog is shown. Without
it the dialogs report an error.]])
brevant_package(Development libbrevant-dev libdevel "${BREVANT_SAME}"
  [[FTDI USB chips from C++ and C: development files
Headers, the CMake package (Brevant::brevant, Brevant::c) and the
pkg-config files (brevant, brevant-c) for programs that use Brevant.
.
Also the virtual vendor driver libbrevant-virtual-d2xx.so, which a
program's own tests can load in place of the vendor's library to run on
a virtual bench.]])
# umockdev's preload library is what `brevant emulate` puts under the programs
# it runs; nothing links it, so it is named here.
brevant_package(Cli brevant electronics "${BREVANT_SAME}, umockdev" [[FTDI USB chips from the command line
The brevant command lists FTDI devices and the modules they form, sets
and reads pins, reads, writes and verifies SPI flash memories, lists the
TAPs of a JTAG chain and moves bytes through a 245 FIFO, on real chips
or on a virtual bench. brevant emulate plugs the virtual bench in as USB
devices for other tools (flashrom, OpenOCD, libftdi programs).
.
Also a udev rule that gives the user at the seat access to the chips,
man pages and bash completion.]])
brevant_package(Python python3-brevant python "python3:any, ${BREVANT_SAME}"
  [[FTDI USB chips from Python
The brevant module gives Python 3 programs Brevant's classes, through
the C ABI of libbrevant.so.1 and ctypes.]])

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS libbrevant1-qt)
# The library's shlibs file, and the ldconfig trigger lintian asks for.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
file(WRITE ${CMAKE_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
include(CPack)
