# The component surface: libbrevant.so.1, exporting the C ABI of brevant.h and
# nothing else, with the static core linked in; its CMake package and pkg-config
# file; its C, export and Python tests.
enable_language(C)
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

file(GLOB BREVANT_COMPONENT_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/component/*.cpp)
add_library(brevant_shared SHARED ${BREVANT_COMPONENT_SOURCES})
add_library(Brevant::brevant ALIAS brevant_shared)
set_target_properties(brevant_shared PROPERTIES
  OUTPUT_NAME brevant
  EXPORT_NAME brevant
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  PUBLIC_HEADER include/brevant/brevant.h)
target_compile_definitions(brevant_shared PRIVATE BREVANT_BUILDING)
target_include_directories(brevant_shared
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  PRIVATE src drivers ${CMAKE_BINARY_DIR}/generated)
# The version script keeps every symbol of the core and of the C++ runtime local.
set(BREVANT_EXPORTS ${PROJECT_SOURCE_DIR}/src/component/exports.map)
target_link_libraries(brevant_shared PRIVATE $<BUILD_INTERFACE:brevant> $<BUILD_INTERFACE:brevant_virtual>
  $<BUILD_INTERFACE:nlohmann_json::nlohmann_json> ${CMAKE_DL_LIBS})
target_link_options(brevant_shared PRIVATE -Wl,--version-script=${BREVANT_EXPORTS} -Wl,--no-undefined)
set_property(TARGET brevant_shared APPEND PROPERTY LINK_DEPENDS ${BREVANT_EXPORTS})

install(TARGETS brevant_shared EXPORT BrevantTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/brevant)
install(EXPORT BrevantTargets NAMESPACE Brevant:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Brevant)
configure_package_config_file(cmake/BrevantConfig.cmake.in
  ${CMAKE_BINARY_DIR}/BrevantConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Brevant)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/BrevantConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/BrevantConfig.cmake ${CMAKE_BINARY_DIR}/BrevantConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Brevant)
configure_file(cmake/brevant.pc.in ${CMAKE_BINARY_DIR}/brevant.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/brevant.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# brevant-idl prints the type library's IDL from the C ABI's type information.
add_executable(brevant-idl tools/idl/main.cpp)
target_link_libraries(brevant-idl PRIVATE brevant_shared)

if(BREVANT_TESTS)
  add_executable(brevant-c-client tests/component/CClient.c)
  set_target_properties(brevant-c-client PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON)
  target_link_libraries(brevant-c-client PRIVATE brevant_shared)
  add_test(NAME CClient COMMAND brevant-c-client)
  set_tests_properties(CClient PROPERTIES ENVIRONMENT BREVANT_DRIVER=virtual)
  # The committed IDL, which the Windows build compiles, must match the tables.
  set(BREVANT_IDL ${PROJECT_SOURCE_DIR}/src/component/windows/Brevant.idl)
  add_test(NAME IdlUpToDate COMMAND sh -c "\"$1\" | diff -u \"$2\" - || \
{ echo \"Brevant.idl is stale: build/brevant-idl > src/component/windows/Brevant.idl\"; exit 1; }"
    sh $<TARGET_FILE:brevant-idl> ${BREVANT_IDL})
  add_test(NAME SharedLibraryExports
    COMMAND sh ${PROJECT_SOURCE_DIR}/tests/component/exports.sh $<TARGET_FILE:brevant_shared>)
  # Debian's python3, which has python3-pytest, before any other on the path.
  find_program(BREVANT_PYTHON python3 HINTS /usr/bin NO_DEFAULT_PATH)
  find_program(BREVANT_PYTHON python3)
  add_test(NAME python COMMAND ${BREVANT_PYTHON} -m pytest -q -p no:cacheprovider
    ${PROJECT_SOURCE_DIR}/python/tests)
  set(BREVANT_PYTHON_ENV
    "BREVANT_LIBRARY=$<TARGET_FILE:brevant_shared>;PYTHONPATH=${PROJECT_SOURCE_DIR}/python"
    "BREVANT_DRIVER=virtual")
  if(BREVANT_SANITIZE)
    # An instrumented library needs the sanitizer runtimes loaded first into an
    # uninstrumented python, whose own memory at exit is no leak of ours.
    foreach(runtime libasan.so libubsan.so)
      execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
        OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
      list(APPEND BREVANT_PRELOAD ${path})
    endforeach()
    list(JOIN BREVANT_PRELOAD ":" BREVANT_PRELOAD)
    list(APPEND BREVANT_PYTHON_ENV "LD_PRELOAD=${BREVANT_PRELOAD}" "ASAN_OPTIONS=detect_leaks=0")
  endif()
  set_tests_properties(python PROPERTIES ENVIRONMENT "${BREVANT_PYTHON_ENV}")
endif()
