# SPDX-License-Identifier: Apache-2.0
#
# Options of Release builds that make memory errors harder to exploit: stack protector, checked calls of the C library,
# no lazy binding, a position-independent program. Flags are set on this project's own targets alone, where compiler and linker
# have them. Included once all targets are there. Tested by tests/packaging/hardening.
option(AMF2JSON_HARDENING "Harden Release builds" ON)
if(NOT AMF2JSON_HARDENING)
  return()
endif()

include(CheckCXXSourceCompiles)
include(CMakePushCheckState)

# Adds flags to targets for Release builds: for the compiler or, after LINK, for the linker. `variable` is the
# cache variable that stores whether a program can be built with them. Flags for the compiler must not need flags for the
# linker: on some systems those would add a library, also to programs that use the static library.
function(amf2json_harden targets variable flags)
  separate_arguments(flags)
  cmake_push_check_state(RESET)
  set(CMAKE_REQUIRED_DEFINITIONS -O2 -Werror)
  if("LINK" IN_LIST ARGN)
    list(APPEND CMAKE_REQUIRED_DEFINITIONS -fPIE)
    set(CMAKE_REQUIRED_LINK_OPTIONS ${flags})
  else()
    list(APPEND CMAKE_REQUIRED_DEFINITIONS ${flags})
  endif()
  check_cxx_source_compiles([[
    #include <cstring>
    int main(int argc, char** argv) {
      char text[64];
      std::strncpy(text, argv[0], static_cast<unsigned>(argc) & 63u);
      return text[argc & 7];
    }]] ${variable})
  cmake_pop_check_state()
  if(NOT ${variable})
    return()
  endif()
  foreach(target IN LISTS targets)
    if(NOT TARGET ${target})
      continue()
    endif()
    if("LINK" IN_LIST ARGN)
      target_link_options(${target} PRIVATE "$<$<CONFIG:Release>:${flags}>")
    else()
      target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:${flags}>")
    endif()
  endforeach()
endfunction()

set(amf2json_compiled amf2json_core amf2json_bytes amf2json_port amf2json)
set(amf2json_linked AMF2JSON amf2json)
amf2json_harden("${amf2json_compiled}" AMF2JSON_HAS_STACK_PROTECTOR "-fstack-protector-strong")
# Against frames that skip a guard page. In the library only AMFGuard needs this, for its tables: the warning about large
# frames keeps all others small, and it would cost the views a few percent. For Windows, where all large frames are probed,
# GCC 12 fails with this flag.
if(NOT WIN32)
  amf2json_harden("amf2json;amf2json_bytes;amf2json_port" AMF2JSON_HAS_CLASH_PROTECTION "-fstack-clash-protection")
endif()
if(AMF2JSON_HAS_CLASH_PROTECTION)
  set_property(SOURCE guard/verify.cpp guard/visit.cpp APPEND PROPERTY COMPILE_OPTIONS
    "$<$<CONFIG:Release>:-fstack-clash-protection>")
endif()
# A distribution's compiler, or its flags, may define more. The macro needs optimisation.
if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
  amf2json_harden("${amf2json_compiled}" AMF2JSON_HAS_FORTIFY "-D_FORTIFY_SOURCE=2")
endif()
if(CMAKE_EXECUTABLE_FORMAT STREQUAL ELF)
  amf2json_harden("${amf2json_linked}" AMF2JSON_HAS_FULL_RELRO "-Wl,-z,relro -Wl,-z,now" LINK)
  amf2json_harden("${amf2json_linked}" AMF2JSON_HAS_NOEXECSTACK "-Wl,-z,noexecstack" LINK)
  amf2json_harden("amf2json;amf2json_bytes;amf2json_port" AMF2JSON_HAS_PIE "-fPIE")
  amf2json_harden("amf2json" AMF2JSON_HAS_PIE_LINK "-pie" LINK)
endif()
