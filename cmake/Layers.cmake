# brevant_layer(TARGET [folder]): the current folder's sources as an object
# library, whose include root shows this folder and nothing beside it. A
# layer reaches another only by linking it, and links only point down; the
# libraries (brevant_core, libbrevant.so, Brevant.dll) are made of the layers'
# objects.
function(brevant_layer target)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(${target} OBJECT ${sources})
  brevant_include_root(${target} ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()

# Publishes `folder` to the users of `target` under its own name, so that
# "gateway/clsFTD2xx.h" is found and "mpsse/..." is not.
function(brevant_include_root target folder)
  get_filename_component(name ${folder} NAME)
  set(root ${CMAKE_BINARY_DIR}/include-roots/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${folder} ${root}/${name} SYMBOLIC)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${root}>)
  else()
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${root}>)
  endif()
endfunction()
