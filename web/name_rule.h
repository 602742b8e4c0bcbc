// SPDX-License-Identifier: Apache-2.0
//
// Whether export writes members as a JSON object, or lists them in $members because a JSON object would not keep their
// names or order. The same rule as in wire/facts.cpp. Tested by web/tests/fields.test.mjs.
#ifndef WEB_NAME_RULE_H
#define WEB_NAME_RULE_H

#include <cstdint>
#include <set>
#include <string_view>

#include "wire/utf8.h"

namespace web {

class NameRule {
 public:
  // The names in the order of the bytes. They have to outlive this object.
  void add(std::string_view name) {
    const char* const end = name.data() + name.size();
    if (amf2json::wire::firstNotUtf8(name.data(), end) != end) listed = true;
    const std::int64_t index = arrayIndexOf(name);
    if (index < 0) {
      hasOtherNames = true;
    } else {
      if (hasOtherNames || index <= lastIndex) listed = true;
      lastIndex = index;
    }
    if (!listed && !names.insert(name).second) listed = true;
  }
  bool needsList() const { return listed; }

 private:
  // The array index that JavaScript takes the name for; -1 if none.
  static std::int64_t arrayIndexOf(std::string_view name) {
    if (name.empty() || name.size() > 10 || (name[0] == '0' && name.size() > 1)) return -1;
    std::int64_t index = 0;
    for (const char c : name) {
      if (c < '0' || c > '9') return -1;
      index = index * 10 + (c - '0');
    }
    return index <= 4294967294 ? index : -1;
  }

  std::set<std::string_view> names;
  std::int64_t lastIndex = -1;
  bool hasOtherNames = false;
  bool listed = false;
};

}  // namespace web

#endif  // WEB_NAME_RULE_H
