# The Windows build: the same core as on Linux, made into Brevant.dll, a COM
# in-process server with its type library and version resource, and the
# virtual FTD2XX.DLL that stands in for the vendor's driver in its tests.
enable_language(C RC)
# The compiler's runtime is linked in, so the DLLs load beside nothing but the
# system's own libraries.
add_link_options(-static -static-libgcc -static-libstdc++)
# GCC 12 warns wrongly about std::string's own copies when inlining deeply
# (its bug 105329).
add_compile_options(-Wno-restrict)

# nlohmann-json is header-only: the host's copy serves the cross build too.
set(BREVANT_HOST_INCLUDE ${CMAKE_BINARY_DIR}/host-include)
file(MAKE_DIRECTORY ${BREVANT_HOST_INCLUDE})
file(CREATE_LINK /usr/include/nlohmann ${BREVANT_HOST_INCLUDE}/nlohmann SYMBOLIC)

file(GLOB_RECURSE BREVANT_VIRTUAL_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/drivers/virtual/*.cpp)
add_library(brevant_virtual STATIC ${BREVANT_VIRTUAL_SOURCES})
target_include_directories(brevant_virtual PUBLIC src drivers include PRIVATE ${BREVANT_HOST_INCLUDE})

file(GLOB_RECURSE BREVANT_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp
     ${PROJECT_SOURCE_DIR}/drivers/d2xx/*.cpp)
list(FILTER BREVANT_SOURCES EXCLUDE REGEX "/src/(dialogs/qt|component)/")
add_library(brevant STATIC ${BREVANT_SOURCES} drivers/DriverFactory.cpp)
target_include_directories(brevant PUBLIC include ${CMAKE_BINARY_DIR}/generated PRIVATE src drivers)
target_link_libraries(brevant PRIVATE brevant_virtual)
# The selection dialogs' native view (src/dialogs/win32/) and ErrorBox's message box.
target_link_libraries(brevant PUBLIC comctl32 user32 gdi32)

# FTD2XX.DLL: the vendor driver's functions on the virtual bench.
add_library(ftd2xx_virtual SHARED drivers/virtual-d2xx/VirtualD2xx.cpp)
set_target_properties(ftd2xx_virtual PROPERTIES OUTPUT_NAME FTD2XX PREFIX "" SUFFIX ".DLL")
target_link_libraries(ftd2xx_virtual PRIVATE brevant_virtual)

# The component's core, as on Linux: classes by identifier, late-bound calls,
# type information. Linux's registration file gives way to the registry here.
file(GLOB BREVANT_COMPONENT_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/component/*.cpp)
list(FILTER BREVANT_COMPONENT_SOURCES EXCLUDE REGEX "/Server\\.cpp$")
add_library(brevant_component STATIC ${BREVANT_COMPONENT_SOURCES})
target_compile_definitions(brevant_component PUBLIC BREVANT_BUILDING)
target_include_directories(brevant_component PUBLIC include src drivers ${CMAKE_BINARY_DIR}/generated)
target_link_libraries(brevant_component PUBLIC brevant brevant_virtual)

# The type library: widl compiles the committed Brevant.idl (brevant-idl writes
# it from the binding tables in the Linux build) into Brevant.tlb, which the
# server's resources embed as TYPELIB 1.
set(BREVANT_TYPELIB ${CMAKE_BINARY_DIR}/Brevant.tlb)
set(BREVANT_IDL_FILE ${PROJECT_SOURCE_DIR}/src/component/windows/Brevant.idl)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(BREVANT_WIDL_TARGET --win64)
else()
  set(BREVANT_WIDL_TARGET --win32)
endif()
add_custom_command(OUTPUT ${BREVANT_TYPELIB}
  COMMAND ${BREVANT_MINGW}-widl ${BREVANT_WIDL_TARGET} -I/usr/include/wine/wine/windows
          -L/usr/lib/x86_64-linux-gnu/wine/x86_64-windows -t -o ${BREVANT_TYPELIB} ${BREVANT_IDL_FILE}
  DEPENDS ${BREVANT_IDL_FILE}
  VERBATIM)
add_custom_target(brevant_typelib ALL DEPENDS ${BREVANT_TYPELIB})

# Tests run under Wine, in a prefix of the build tree that the WinePrefix
# fixture creates once; a Wine test names it in FIXTURES_REQUIRED.
if(BREVANT_TESTS)
  enable_testing()
  set(BREVANT_WINE /usr/lib/wine/wine64)
  # No Mono or Gecko: a new prefix would otherwise offer to install them.
  set(BREVANT_WINE_ENVIRONMENT WINEDEBUG=-all WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix
      WINEDLLOVERRIDES=mscoree,mshtml=)
  add_test(NAME WinePrefix COMMAND ${BREVANT_WINE} wineboot -i)
  set_tests_properties(WinePrefix PROPERTIES FIXTURES_SETUP WinePrefix
    ENVIRONMENT "${BREVANT_WINE_ENVIRONMENT}")

  # TypeLibCheck reads the type library back and compares it with the tables.
  add_executable(TypeLibCheck tests/windows/TypeLibCheck.cpp)
  target_link_options(TypeLibCheck PRIVATE -municode)
  target_link_libraries(TypeLibCheck PRIVATE brevant_component ole32 oleaut32 uuid)
  add_dependencies(TypeLibCheck brevant_typelib)
  add_test(NAME TypeLibCheck COMMAND ${BREVANT_WINE} $<TARGET_FILE:TypeLibCheck> $<TARGET_FILE:Brevant>)
  set_tests_properties(TypeLibCheck PROPERTIES FIXTURES_REQUIRED WinePrefix
    ENVIRONMENT "${BREVANT_WINE_ENVIRONMENT}")
endif()

# Brevant.dll: the COM in-process server, exporting the four entry points of
# Brevant.def and nothing else, with the type library and the version block
# as resources.
file(GLOB BREVANT_COM_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/component/windows/*.cpp)
configure_file(src/component/windows/Brevant.rc.in ${CMAKE_BINARY_DIR}/Brevant.rc @ONLY)
add_library(Brevant SHARED ${BREVANT_COM_SOURCES} ${CMAKE_BINARY_DIR}/Brevant.rc
            src/component/windows/Brevant.def)
set_target_properties(Brevant PROPERTIES PREFIX "" OUTPUT_NAME Brevant)
target_link_libraries(Brevant PRIVATE brevant_component ole32 oleaut32 uuid advapi32)
set_source_files_properties(${CMAKE_BINARY_DIR}/Brevant.rc PROPERTIES OBJECT_DEPENDS ${BREVANT_TYPELIB})
add_dependencies(Brevant brevant_typelib)

# Tests under Wine with the server registered in the prefix: scripts run by
# Wine's own VBScript engine, and a compiled client. They share the prefix's
# registry, which the registration test changes, so they take turns.
if(BREVANT_TESTS)
  add_executable(ComClient tests/windows/ComClient.cpp)
  target_link_libraries(ComClient PRIVATE ole32 oleaut32 uuid version)
  add_dependencies(ComClient Brevant ftd2xx_virtual)

  set(BREVANT_WINDOWS_TESTS ${PROJECT_SOURCE_DIR}/tests/windows)
  add_test(NAME Register COMMAND ${BREVANT_WINE} regsvr32 /s $<TARGET_FILE:Brevant>)
  set_tests_properties(Register PROPERTIES FIXTURES_SETUP Registered FIXTURES_REQUIRED WinePrefix)
  add_test(NAME Registration COMMAND sh ${BREVANT_WINDOWS_TESTS}/registration.sh ${BREVANT_WINE}
           $<TARGET_FILE:Brevant> ${BREVANT_WINDOWS_TESTS})
  set_tests_properties(Registration PROPERTIES PASS_REGULAR_EXPRESSION "registration: round trip")
  foreach(script create fifo_echo spi_flash errors)
    add_test(NAME vbs_${script} COMMAND ${BREVANT_WINE} cscript //nologo Z:${BREVANT_WINDOWS_TESTS}/${script}.vbs)
    # Wine's script host ends quietly on a script error: only the last line,
    # which no other line resembles, tells success.
    string(REPLACE "_" " " line ${script})
    set_tests_properties(vbs_${script} PROPERTIES PASS_REGULAR_EXPRESSION "${line}: "
      FAIL_REGULAR_EXPRESSION "FAIL")
  endforeach()
  add_test(NAME Exports COMMAND sh ${BREVANT_WINDOWS_TESTS}/exports.sh ${BREVANT_MINGW}-objdump
           $<TARGET_FILE:Brevant>)
  add_test(NAME ComClient COMMAND ${BREVANT_WINE} $<TARGET_FILE:ComClient>)
  set(BREVANT_COM_TESTS Registration ComClient vbs_create vbs_fifo_echo vbs_spi_flash vbs_errors)
  set_tests_properties(${BREVANT_COM_TESTS} PROPERTIES FIXTURES_REQUIRED "WinePrefix;Registered")
  set_tests_properties(Register ${BREVANT_COM_TESTS} PROPERTIES RESOURCE_LOCK WineRegistry
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR} ENVIRONMENT "${BREVANT_WINE_ENVIRONMENT}")
endif()

# DialogsCheck: the native selection dialogs and ErrorBox, driven without a
# person under Wine on a virtual X display. Skipped where xvfb-run is missing.
# A prefix's Wine server keeps the display it started with, so this test runs
# alone and waits for the server of the tests before it to end.
if(BREVANT_TESTS)
  add_executable(DialogsCheck tests/windows/DialogsCheck.cpp)
  target_include_directories(DialogsCheck PRIVATE src)
  target_link_libraries(DialogsCheck PRIVATE brevant brevant_virtual)
  add_test(NAME DialogsCheck
           COMMAND sh -c "command -v xvfb-run >/dev/null || exit 77; /usr/lib/wine/wineserver -w; exec xvfb-run -a \"$0\" \"$1\" \"Z:$2\""
                   ${BREVANT_WINE} $<TARGET_FILE:DialogsCheck> ${CMAKE_BINARY_DIR})
  set_tests_properties(DialogsCheck PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300 RUN_SERIAL ON
    FIXTURES_REQUIRED WinePrefix ENVIRONMENT "${BREVANT_WINE_ENVIRONMENT}")
endif()
