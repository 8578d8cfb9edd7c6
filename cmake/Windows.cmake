# The Windows server: Brevant.dll, a COM in-process server made of the same
# layers as libbrevant.so on Linux, with its type library and version block.
# The virtual FTD2XX.DLL (drivers/virtual-d2xx) stands in for the vendor's
# driver in its tests (tests/windows).
enable_language(RC)

# The type library: widl compiles the committed Brevant.idl (brevant-idl writes
# it from the binding tables in the Linux build) into Brevant.tlb, which the
# server's resources embed as TYPELIB 1. Both builds import Wine's 64-bit
# stdole2.tlb, the only one installed; only its types' identities are used.
set(BREVANT_TYPELIB ${CMAKE_BINARY_DIR}/Brevant.tlb)
set(BREVANT_IDL_FILE ${PROJECT_SOURCE_DIR}/src/component/windows/Brevant.idl)
# The entry points are stdcall on 32-bit Windows, where the compiler decorates
# their names (DllGetClassObject@12); that build's .def exports them undecorated.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(BREVANT_WIDL_TARGET --win64)
  set(BREVANT_DEF_FILE src/component/windows/Brevant.def)
else()
  set(BREVANT_WIDL_TARGET --win32)
  set(BREVANT_DEF_FILE src/component/windows/Brevant-i686.def)
endif()
add_custom_command(OUTPUT ${BREVANT_TYPELIB}
  COMMAND ${BREVANT_MINGW}-widl ${BREVANT_WIDL_TARGET} -I/usr/include/wine/wine/windows
          -L/usr/lib/x86_64-linux-gnu/wine/x86_64-windows -t -o ${BREVANT_TYPELIB} ${BREVANT_IDL_FILE}
  DEPENDS ${BREVANT_IDL_FILE}
  VERBATIM)
add_custom_target(brevant_typelib ALL DEPENDS ${BREVANT_TYPELIB})

# Brevant.dll: the COM in-process server, exporting the four entry points of
# Brevant.def and nothing else, with the type library and the version block
# as resources.
file(GLOB BREVANT_COM_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/component/windows/*.cpp)
configure_file(src/component/windows/Brevant.rc.in ${CMAKE_BINARY_DIR}/Brevant.rc @ONLY)
add_library(Brevant SHARED ${BREVANT_COM_SOURCES} ${CMAKE_BINARY_DIR}/Brevant.rc
            ${BREVANT_DEF_FILE})
set_target_properties(Brevant PROPERTIES PREFIX "" OUTPUT_NAME Brevant)
target_link_libraries(Brevant PRIVATE brevant_component brevant_core ole32 oleaut32 uuid advapi32)
set_source_files_properties(${CMAKE_BINARY_DIR}/Brevant.rc PROPERTIES OBJECT_DEPENDS ${BREVANT_TYPELIB})
add_dependencies(Brevant brevant_typelib)

