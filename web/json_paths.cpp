// SPDX-License-Identifier: Apache-2.0
//
// Paths are written as in the errors of import (wire/json_place.cpp). Tested by web/tests/fields.test.mjs.
#include "web/json_paths.h"

#include <algorithm>

#include "web/json_text.h"

namespace web {

namespace {

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}

bool isIdentifier(std::string_view name) {
  if (name.empty() || !isLetter(name[0])) return false;
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

void appendKey(std::string& path, const std::string& name) {
  if (!isIdentifier(name)) {
    JsonText quoted;
    quoted.text(name);
    path += '[' + quoted.out + ']';
    return;
  }
  if (!path.empty()) path += '.';
  path += name;
}

}  // namespace

void JsonPaths::append(std::string& path, const Node& node) const {
  const Node& parent = places[node.parent];
  const std::string number = '[' + std::to_string(node.number) + ']';
  switch (node.step) {
    case Step::key: return appendKey(path, std::string(node.name));
    case Step::flag:
      return appendKey(path, '$' + std::to_string(node.number >> 16) + '.' +
                                 std::to_string(node.number >> 8 & 0xFF) + '.' +
                                 std::to_string(node.number & 0xFF));
    case Step::item: path += number; return;
    case Step::arrayItem: path += (parent.isReferred ? ".$array" : "") + number; return;
    case Step::member:
      if (parent.isListed) {
        path += ".$members" + number + "[1]";
      } else {
        appendKey(path, (node.name.substr(0, 1) == "$" ? "$" : "") + std::string(node.name));
      }
  }
}

std::string JsonPaths::text(Place place) const {
  std::vector<Place> steps;
  for (; place != kDocument; place = places[place].parent) steps.push_back(place);
  std::string path;
  for (; !steps.empty(); steps.pop_back()) append(path, places[steps.back()]);
  return path;
}

}  // namespace web
