// SPDX-License-Identifier: Apache-2.0
//
// What the compiler tells of sanitizers and is told of hot paths, and the copy that these have in
// common.
#pragma once

#include <cstddef>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#define AMF2JSON_ADDRESS_SANITIZER 1
#elif defined(__SANITIZE_THREAD__)
#define AMF2JSON_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define AMF2JSON_ADDRESS_SANITIZER 1
#elif __has_feature(thread_sanitizer)
#define AMF2JSON_THREAD_SANITIZER 1
#endif
#endif

// Kept out of the functions that call it: the way that is hardly ever taken.
#if defined(__GNUC__)
#define AMF2JSON_RARE __attribute__((noinline, cold))
#else
#define AMF2JSON_RARE
#endif

// Kept out of the functions that call it: one copy of it is enough.
#if defined(__GNUC__)
#define AMF2JSON_APART __attribute__((noinline))
#else
#define AMF2JSON_APART
#endif

// Put into the functions that call it, also where it is long: a call for each node of a tree
// counts. Not where nobody optimises, as debuggers and coverage want one place for each line; nor
// under a sanitizer, which makes long functions slow.
#if defined(__GNUC__) && defined(__OPTIMIZE__) && !defined(AMF2JSON_ADDRESS_SANITIZER) && \
    !defined(AMF2JSON_THREAD_SANITIZER)
#define AMF2JSON_HOT __attribute__((always_inline)) inline
#else
#define AMF2JSON_HOT inline
#endif

namespace amf2json {

// A copy without a call: most texts are short.
AMF2JSON_HOT void copyShort(char* to, const char* from, std::size_t count) {
  if (count > 32) {
    std::memcpy(to, from, count);
  } else if (count >= 16) {
    std::memcpy(to, from, 16);
    std::memcpy(to + count - 16, from + count - 16, 16);
  } else if (count >= 8) {
    std::memcpy(to, from, 8);
    std::memcpy(to + count - 8, from + count - 8, 8);
  } else if (count >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + count - 4, from + count - 4, 4);
  } else if (count > 0) {
    to[0] = from[0];
    to[count / 2] = from[count / 2];
    to[count - 1] = from[count - 1];
  }
}

}  // namespace amf2json
