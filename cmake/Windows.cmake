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

# DialogsCheck: the native selection dialogs and ErrorBox, driven without a
# person under Wine on a virtual X display. Skipped where xvfb-run is missing.
# The Wine prefix is made on the first run; Mono and Gecko are not wanted.
enable_testing()
add_executable(DialogsCheck tests/windows/DialogsCheck.cpp)
target_include_directories(DialogsCheck PRIVATE src)
target_link_libraries(DialogsCheck PRIVATE brevant brevant_virtual)
add_test(NAME DialogsCheck
         COMMAND sh -c "command -v xvfb-run >/dev/null || exit 77; exec xvfb-run -a /usr/lib/wine/wine64 \"$0\" \"Z:$1\""
                 $<TARGET_FILE:DialogsCheck> ${CMAKE_BINARY_DIR})
set_tests_properties(DialogsCheck PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300
  ENVIRONMENT "WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix;WINEDEBUG=-all;WINEDLLOVERRIDES=mscoree,mshtml=")
