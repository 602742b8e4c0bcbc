// SPDX-License-Identifier: Apache-2.0
//
// Places in JSON documents. Tested by tests/wire/json_errors_test.cpp.
#include "wire/json_place.h"

#include <algorithm>

#include "wire/text_output.h"

namespace amf2json::wire {

namespace {

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}

bool isIdentifier(const AMFWireString& name) {
  if (name.length == 0 || !isLetter(name.data[0])) return false;
  return std::all_of(name.data, name.data + name.length,
                     [](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

std::string quoted(const AMFWireString& name) {
  std::string text(name.length * 6 + 2, '\0');
  LongTexts texts(name.data, name.length);
  TextCounter counter(texts, text.size());
  counter.quoted(name, false);
  text.resize(counter.length());
  TextBuffer buffer(text.data(), text.size());
  buffer.quoted(name, false);
  return text;
}

void appendKey(std::string& path, const AMFWireString& name) {
  if (!isIdentifier(name)) {
    path += '[' + quoted(name) + ']';
    return;
  }
  if (!path.empty()) path += '.';
  path.append(name.data, name.length);
}

struct Step {
  std::uint32_t token;
  bool arrived;
};

// Goes from an array to the item that contains `token`.
Step intoArray(const JsonIndex& index, std::uint32_t array, std::uint32_t token,
               std::string& path) {
  std::uint32_t item = JsonIndex::first(array);
  std::uint64_t number = 0;
  for (; index.after(item) <= token; item = index.after(item)) ++number;
  path += '[' + std::to_string(number) + ']';
  return {item, item == token};
}

// Goes from an object to the value that contains `token`, or whose key `token` is.
Step intoObject(const JsonIndex& index, std::uint32_t object, std::uint32_t token,
                std::string& path) {
  std::uint32_t key = JsonIndex::first(object);
  while (token != key && index.nextKey(key) <= token) key = index.nextKey(key);
  appendKey(path, index.text(key));
  return {key + 1, token == key || token == key + 1};
}

void findLine(AMFWireResult& result, const char* text, std::size_t size, std::size_t offset) {
  result.line = 1;
  const char* begin = text;
  const char* const end = text + (offset < size ? offset : size);
  for (const char* at = begin; at < end; ++at) {
    if (*at != '\n') continue;
    ++result.line;
    begin = at + 1;
  }
  result.column = 1;
  for (const char* at = begin; at < end; ++at) {
    if ((static_cast<unsigned char>(*at) & 0xC0u) != 0x80) ++result.column;
  }
}

}  // namespace

std::string pathOf(const JsonIndex& index, std::uint32_t token) {
  std::string path;
  Step step{0, token == 0};
  while (!step.arrived) {
    step = index.kind(step.token) == '[' ? intoArray(index, step.token, token, path)
                                         : intoObject(index, step.token, token, path);
  }
  return path;
}

AMFWireResult resultOf(JsonFailure&& failure, const JsonIndex& index, const char* text,
                       std::size_t size) {
  AMFWireResult result;
  result.status = failure.status;
  result.message = std::move(failure.message);
  const bool hasToken = failure.token != JsonFailure::kNoToken;
  findLine(result, text, size, hasToken ? index.place(failure.token) : failure.offset);
  const std::uint32_t token = hasToken ? failure.token : failure.parent;
  if (token != JsonFailure::kNoToken) result.path = pathOf(index, token);
  return result;
}

}  // namespace amf2json::wire
