# SPDX-License-Identifier: Apache-2.0
#
# amf2json_library(NAME CORE STATIC_DEFINITION): the shared library NAME and, if it is asked for, NAME_static, both of
# the objects of CORE, with the targets AMF2JSON::NAME and AMF2JSON::NAME_static, the options of compiler and linker, and
# the install rules. NAME_libraries lists the libraries.
option(AMF2JSON_STATIC_LIBRARY "Build and install static libraries beside the shared ones" ON)
option(AMF2JSON_LTO "Link-time optimization of Release builds with GCC" ON)

function(amf2json_library name core static_definition)
  target_compile_features(${core} PUBLIC cxx_std_17)
  target_include_directories(${core} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(${core} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
  target_link_libraries(${core} PRIVATE amf2json_warnings)

  # Never -Bsymbolic: the class-name variables are data that a host repoints, and both sides must see one copy.
  add_library(${name} SHARED $<TARGET_OBJECTS:${core}>)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(UNIX AND NOT APPLE)
    target_link_options(${name} PRIVATE "-Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map")
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  endif()
  set(libraries ${name})
  if(AMF2JSON_STATIC_LIBRARY)
    add_library(${name}_static STATIC $<TARGET_OBJECTS:${core}>)
    set_target_properties(${name}_static PROPERTIES OUTPUT_NAME ${name})
    target_compile_definitions(${name}_static INTERFACE ${static_definition})
    list(APPEND libraries ${name}_static)
  endif()
  foreach(library IN LISTS libraries)
    add_library(AMF2JSON::${library} ALIAS ${library})
    target_compile_features(${library} PUBLIC cxx_std_17)
    target_include_directories(${library} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<$<BOOL:${AMF2JSON_INSTALL}>:$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>>)
    set_target_properties(${library} PROPERTIES LINKER_LANGUAGE CXX CXX_EXTENSIONS OFF)
  endforeach()

  # GCC optimizes across the files of the shared library. The objects hold ordinary code as well, for the static
  # library and the tests.
  if(AMF2JSON_LTO AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${core} PRIVATE
      "$<$<CONFIG:Release>:-flto=auto;-ffat-lto-objects;-fno-semantic-interposition>")
    target_link_options(${name} PRIVATE "$<$<CONFIG:Release>:-flto=auto;-O3>")
    target_link_options(${core} INTERFACE "$<$<CONFIG:Release>:-fno-lto>")  # tests link faster
  endif()
  if(AMF2JSON_INSTALL)
    install(TARGETS ${libraries} EXPORT AMF2JSON)
  endif()
  set(${name}_libraries ${libraries} PARENT_SCOPE)
endfunction()
