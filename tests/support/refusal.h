// SPDX-License-Identifier: Apache-2.0
//
// The outcome of a call: the text of its AMFException, or a marker that no text of the library
// equals.
#ifndef TESTS_SUPPORT_REFUSAL_H
#define TESTS_SUPPORT_REFUSAL_H

#include <AMF2JSON.h>

#include <memory>
#include <new>
#include <string>
#include <utility>

namespace support {

inline constexpr char kNoRefusal[] = "(no refusal)";

/// Runs `call` and returns the refusal's text, or kNoRefusal. What `call` returns is dropped.
template <class Call>
std::string refusal(Call&& call) {
  try {
    std::forward<Call>(call)();
  } catch (const AMFException& e) {
    return e.message == nullptr ? "(null text)" : e.message;
  } catch (const std::bad_alloc&) {
    return "(bad_alloc)";
  }
  return kNoRefusal;
}

/// The same for a reader: the node it returns after all is deleted.
template <class Reader>
std::string readerRefusal(Reader&& reader) {
  return refusal([&] { const std::unique_ptr<AMFNode> dropped(std::forward<Reader>(reader)()); });
}

}  // namespace support

#endif  // TESTS_SUPPORT_REFUSAL_H
