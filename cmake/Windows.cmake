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
  set(BREVANT_WINE_ENVIRONMENT WINEDEBUG=-all WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix)
  add_test(NAME WinePrefix COMMAND ${BREVANT_WINE} wineboot -i)
  set_tests_properties(WinePrefix PROPERTIES FIXTURES_SETUP WinePrefix
    ENVIRONMENT "${BREVANT_WINE_ENVIRONMENT}")

  # TypeLibCheck reads the type library back and compares it with the tables.
  add_executable(TypeLibCheck tests/windows/TypeLibCheck.cpp)
  target_link_options(TypeLibCheck PRIVATE -municode)
  target_link_libraries(TypeLibCheck PRIVATE brevant_component ole32 oleaut32 uuid)
  add_dependencies(TypeLibCheck brevant_typelib)
  add_test(NAME TypeLibCheck COMMAND ${BREVANT_WINE} $<TARGET_FILE:TypeLibCheck> ${BREVANT_TYPELIB})
  set_tests_properties(TypeLibCheck PROPERTIES FIXTURES_REQUIRED WinePrefix
    ENVIRONMENT "${BREVANT_WINE_ENVIRONMENT}")
endif()
