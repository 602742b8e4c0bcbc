// SPDX-License-Identifier: Apache-2.0
//
// Where the values of a document stand in the JSON of exportJson(), as paths. A path is made at the end: whether an
// object's members are listed in $members, and whether an array has an id, is known only after the last byte.
// Tested by web/tests/fields.test.mjs.
#ifndef WEB_JSON_PATHS_H
#define WEB_JSON_PATHS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace web {

class JsonPaths {
 public:
  using Place = std::uint32_t;
  static constexpr Place kDocument = 0;

  JsonPaths() : places(1) {}

  // The value of a key that the format names, such as "messages".
  Place key(Place parent, const char* name) { return add({parent, Step::key, 0, name}); }
  // The field of a small message that has no name: "$GROUP.BYTE.BIT".
  Place flagged(Place object, std::uint32_t group, std::uint32_t byte, std::uint32_t bit) {
    return add({object, Step::flag, group << 16 | byte << 8 | bit, {}});
  }
  // The value at [number].
  Place item(Place parent, std::uint32_t number) { return add({parent, Step::item, number, {}}); }
  // The same, of an array that becomes an object if something refers to it.
  Place arrayItem(Place array, std::uint32_t number) {
    return add({array, Step::arrayItem, number, {}});
  }
  // The value of a member; `number` is its index. The name must outlive this object.
  Place member(Place object, std::string_view name, std::uint32_t number) {
    return add({object, Step::member, number, name});
  }

  void refer(Place value) { places[value].isReferred = true; }
  void listMembers(Place object) { places[object].isListed = true; }

  std::string text(Place place) const;

 private:
  enum class Step : std::uint8_t { key, flag, item, arrayItem, member };
  struct Node {
    Place parent = kDocument;
    Step step = Step::key;
    std::uint32_t number = 0;
    std::string_view name = {};
    bool isReferred = false;
    bool isListed = false;
  };

  Place add(const Node& node) {
    places.push_back(node);
    return static_cast<Place>(places.size() - 1);
  }
  void append(std::string& path, const Node& node) const;

  std::vector<Node> places;
};

}  // namespace web

#endif  // WEB_JSON_PATHS_H
