// SPDX-License-Identifier: Apache-2.0
//
// Tested by web/tests/fields.test.mjs.
#include "web/field_list.h"

#include <algorithm>
#include <utility>

#include "web/json_text.h"

namespace web {

void FieldList::add(const char* kind, std::size_t length, JsonPaths::Place place,
                    std::string meaning) {
  if (length == 0) return;
  if (list.size() >= most) throw FieldLimit{"fieldLimit", cursor};
  list.push_back({cursor, length, kind, place, std::move(meaning)});
  cursor += length;
}

void FieldList::refuse(std::size_t offset, const std::string& reason) {
  offset = std::min(std::max(offset, cursor), bytes.size());
  add("incomplete", offset - cursor, kNowhere, "the beginning of what is refused");
  if (list.size() >= most) throw FieldLimit{"fieldLimit", cursor};
  list.push_back({cursor, bytes.size() - cursor, "error", kNowhere, reason});
  cursor = bytes.size();
}

std::string FieldList::text(const JsonPaths& paths, std::size_t mostText) const {
  JsonText json;
  std::string path;
  JsonPaths::Place last = kNowhere;
  json.open('[');
  for (const Field& field : list) {
    json.open('{');
    json.key("offset");
    json.number(field.offset);
    json.key("length");
    json.number(field.length);
    json.key("kind");
    json.text(field.kind);
    json.key("meaning");
    json.text(field.meaning.empty() ? field.kind : field.meaning);
    if (field.place != kNowhere) {
      if (field.place != last) path = paths.text(last = field.place);
      json.key("path");
      json.text(path);
    }
    json.close('}');
    if (json.out.size() > mostText) throw FieldLimit{"textLimit", field.offset};
  }
  json.close(']');
  return std::move(json.out);
}

}  // namespace web
