// SPDX-License-Identifier: Apache-2.0
//
// The fields of some bytes: runs with one meaning each, without gaps. Tested by web/tests/fields.test.mjs.
#ifndef WEB_FIELD_LIST_H
#define WEB_FIELD_LIST_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "web/json_paths.h"

namespace web {

// Thrown for more fields, or a longer text, than the host allows.
struct FieldLimit {
  const char* code;
  std::size_t offset;
};

class FieldList {
 public:
  static constexpr JsonPaths::Place kNowhere = 0xFFFFFFFF;

  FieldList(std::string_view source, std::size_t fieldLimit) : bytes(source), most(fieldLimit) {}

  std::size_t position() const { return cursor; }
  std::string_view rest() const { return bytes.substr(cursor); }
  // Adds a field of the next `length` bytes, which must exist; nothing for 0. An empty `meaning` becomes `kind`.
  void add(const char* kind, std::size_t length, JsonPaths::Place place, std::string meaning = {});
  // Adds the last field, an error at `offset`. Bytes before it become an "incomplete" field.
  void refuse(std::size_t offset, const std::string& reason);

  // As JSON of at most `mostText` bytes.
  std::string text(const JsonPaths& paths, std::size_t mostText) const;

 private:
  struct Field {
    std::size_t offset;
    std::size_t length;
    const char* kind;
    JsonPaths::Place place;
    std::string meaning;
  };

  std::string_view bytes;
  std::size_t most;
  std::size_t cursor = 0;
  std::vector<Field> list;
};

}  // namespace web

#endif  // WEB_FIELD_LIST_H
