// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader: the parts that values and documents share. Tested by
// tests/wire/json_errors_test.cpp.
#include <cmath>

#include "wire/date_text.h"
#include "wire/json_reader.h"
#include "wire/number_text.h"

namespace amf2json::wire {

namespace {

std::string numberAsText(double value) {
  char text[kNumberMax];
  return {text, static_cast<std::size_t>(putNumber(text, value) - text)};
}

const char* describeKind(char kind) {
  switch (kind) {
    case '{': return "an object";
    case '[': return "an array";
    case '"': return "a string";
    case 't': return "true";
    case 'f': return "false";
    case 'n': return "null";
    default: return "a number";
  }
}

}  // namespace

void JsonReader::fail(std::uint32_t token, std::string message) const {
  throw JsonFailure{AMFWireStatus::content, token, 0, 0, std::move(message)};
}

void JsonReader::failKind(std::uint32_t token, const char* expected) const {
  fail(token, std::string("found ") + describeKind(index.kind(token)) + ", expected " + expected);
}

bool JsonReader::isSpecial(std::uint32_t key) const {
  const AMFWireString name = index.text(key);
  return startsWithDollar(name) && (name.length == 1 || name.data[1] != '$');
}

// The member name of a key: without the first $, if it begins with two.
AMFWireString JsonReader::memberName(std::uint32_t key) const {
  const AMFWireString name = index.text(key);
  if (name.length == 0 || name.data[0] != '$') return name;
  return {name.data + 1, name.length - 1};
}

bool JsonReader::needBoolean(std::uint32_t token) {
  if (!isKind(token, 't') && !isKind(token, 'f')) failKind(token, "true or false");
  return isKind(token, 't');
}

void JsonReader::needTrue(std::uint32_t token) {
  if (!isKind(token, 't')) failKind(token, "true");
}

std::uint32_t JsonReader::needArray(std::uint32_t token) {
  if (!isKind(token, '[')) failKind(token, "an array");
  return token;
}

void JsonReader::needObject(std::uint32_t token) {
  if (!isKind(token, '{')) failKind(token, "an object");
}

// A string, or $string64.
AMFWireString JsonReader::needString(std::uint32_t token) {
  if (index.isString(token)) return index.text(token);
  if (!isKind(token, '{')) failKind(token, "a string");
  checkDuplicateKeys(token);
  const std::uint32_t key = JsonIndex::first(token);
  if (index.count(token) == 0) fail(token, "no key: expected $string64");
  for (std::uint32_t remaining = index.count(token), other = key; remaining > 0;
       --remaining, other = index.nextKey(other)) {
    if (keyOf(index.text(other)) != Key::string64) fail(other, "expected $string64 alone");
  }
  return needBase64(key + 1);
}

AMFWireString JsonReader::needString16(std::uint32_t token) {
  const AMFWireString text = needString(token);
  if (text.length > 0xFFFF) fail(token, "a name of more than 65535 bytes");
  return text;
}

AMFWireString JsonReader::needBase64(std::uint32_t token) {
  if (isKind(token, JsonIndex::kDecoded)) return index.text(token);
  if (!isKind(token, '"')) failKind(token, "base64");
  if (!index.decodeBase64(token)) {
    fail(token, "not base64: expected groups of four characters, padding and zero spare bits");
  }
  return index.text(token);
}

double JsonReader::needNumber(std::uint32_t token) {
  if (!index.isNumber(token)) failKind(token, "a number");
  const AMFWireString digits = index.text(token);
  double number = 0;
  switch (readNumber(digits.data, digits.length, number)) {
    case NumberRead::ok: break;
    case NumberRead::outOfRange: fail(token, "a number beyond the range of a double");
    case NumberRead::notExact:
      fail(token,
           "a whole number that no double has: the next one is written " + numberAsText(number));
  }
  return number;
}

double JsonReader::needWhole(std::uint32_t token, double least, double most) {
  const double number = needNumber(token);
  if (number >= least && number <= most && number == std::trunc(number)) return number + 0.0;
  fail(token, "found " + (needsWord(number) ? std::string("-0") : numberAsText(number)) +
                  ", expected a whole number from " + numberAsText(least) + " to " +
                  numberAsText(most));
}

// The value of $double: a number or a word. It is not returned, because on 32-bit x86 a returned
// signalling NaN becomes a quiet one.
void JsonReader::needDouble(std::uint32_t token, double& number) {
  if (!index.isString(token)) {
    number = needNumber(token);
    return;
  }
  const AMFWireString word = index.text(token);
  if (!readWord(word.data, word.length, number)) {
    fail(token, "expected NaN, Infinity, -Infinity, -0, or 0x and the 16 digits of a NaN");
  }
}

// Finds the $ keys of an object, and checks that they are allowed together.
JsonReader::Object JsonReader::separateKeys(std::uint32_t token, bool mayHaveKind) {
  Object object;
  object.token = token;
  checkDuplicateKeys(token);
  const std::uint32_t count = index.count(token);
  if (!index.hasDollar(token)) {
    object.members = count;
    object.firstMember = JsonIndex::first(token);
    return object;
  }
  std::uint32_t key = JsonIndex::first(token);
  for (std::uint32_t remaining = count; remaining > 0; --remaining, key = index.nextKey(key)) {
    if (isSpecial(key)) {
      addSpecialKey(object, key);
      if (object.kind != Key::none && !mayHaveKind)
        fail(key, "a key that does not go with entries");
    } else if (object.members++ == 0) {
      object.firstMember = key;
    }
  }
  checkAllowedKeys(object);
  return object;
}

void JsonReader::addSpecialKey(Object& object, std::uint32_t key) {
  const AMFWireString name = index.text(key);
  const Key known = keyOf(name);
  if (known == Key::none) {
    const bool isField = name.length > 1 && name.data[1] >= '0' && name.data[1] <= '9';
    if (!isField) fail(key, "unknown key");
    if (object.firstField == 0) object.firstField = key;
    return;
  }
  if (wire::isKind(known)) {
    if (object.kind != Key::none) {
      fail(key,
           std::string("a value of two kinds: ") + nameOf(object.kind) + " and " + nameOf(known));
    }
    if (!hasKind(known, amf3)) {
      fail(key, std::string(amf3 ? "AMF3" : "AMF0") + " has no " + nameOf(known));
    }
    object.kind = known;
  }
  object.present |= bit(known);
  object.values[static_cast<std::uint32_t>(known)] = key + 1;
}

void JsonReader::checkAllowedKeys(const Object& object) {
  const std::uint32_t allowed = allowedKeys(object.kind, amf3);
  const bool members =
      hasMembers(object.kind, amf3) ? !object.has(Key::members) : object.kind == Key::external;
  if ((object.present & ~allowed) == 0 && (object.members == 0 || members) &&
      (object.firstField == 0 || object.kind == Key::external)) {
    return;
  }
  std::uint32_t key = JsonIndex::first(object.token);
  for (std::uint32_t remaining = index.count(object.token); remaining > 0;
       --remaining, key = index.nextKey(key)) {
    const bool special = isSpecial(key);
    const Key known = special ? keyOf(index.text(key)) : Key::none;
    const bool fits = !special             ? members
                      : known == Key::none ? object.kind == Key::external
                                           : (bit(known) & allowed) != 0;
    if (fits) continue;
    if (!special && object.has(Key::members)) fail(key, "a member beside $members");
    fail(key, std::string(special ? "a key" : "a member") + " that does not go with " +
                  nameOf(object.kind));
  }
}

// Refuses a key that occurs twice.
void JsonReader::checkDuplicateKeys(std::uint32_t token) {
  const std::uint32_t count = index.count(token);
  if (count < 2) return;
  std::uint64_t seen = 0;
  std::uint32_t key = JsonIndex::first(token);
  for (std::uint32_t remaining = count; remaining > 0; --remaining, key = index.nextKey(key)) {
    const AMFWireString name = index.text(key);
    const std::uint64_t mark = std::uint64_t{1} << smallHash(name);
    if ((seen & mark) != 0) return checkDuplicateKeysByHash(token);
    seen |= mark;
  }
}

void JsonReader::checkDuplicateKeysByHash(std::uint32_t token) {
  const std::uint32_t count = index.count(token);
  slots.assign(std::size_t{count} + count / 2 + 4, 0);
  std::uint32_t key = JsonIndex::first(token);
  for (std::uint32_t remaining = count; remaining > 0; --remaining, key = index.nextKey(key)) {
    const AMFWireString name = index.text(key);
    std::size_t slot = slotOf(hashOf(name.data, name.length, hashSeed()), slots.size());
    for (; slots[slot] != 0; slot = slotAfter(slot, slots.size())) {
      if (sameBytes(index.text(slots[slot]), name)) fail(key, "the key occurs twice in its object");
    }
    slots[slot] = key;
  }
  if (slots.size() > 65536) std::vector<std::uint32_t>().swap(slots);
}

std::uint32_t JsonReader::need(const Object& object, Key key) {
  if (!object.has(key)) fail(object.token, std::string(nameOf(key)) + " is missing");
  return object[key];
}

// The members of the object, or the pairs of $members.
std::uint32_t JsonReader::memberCount(const Object& object) {
  if (!object.has(Key::members)) return object.members;
  const std::uint32_t list = needArray(object[Key::members]);
  std::uint32_t pair = JsonIndex::first(list);
  for (std::uint32_t remaining = index.count(list); remaining > 0;
       --remaining, pair = index.after(pair)) {
    if (!isKind(pair, '[') || index.count(pair) != 2) {
      fail(pair, "expected an array of a name and a value");
    }
    needString(JsonIndex::first(pair));
  }
  return index.count(list);
}

AMFWireString JsonNames::next() {
  if (listed) {
    std::uint32_t name = JsonIndex::first(at);
    at = index->after(at);
    // Already checked: it is a string, or only $string64, decoded.
    if (index->isContainer(name)) name = JsonIndex::first(name) + 1;
    return index->text(name);
  }
  for (;; at = index->nextKey(at)) {
    const AMFWireString name = index->text(at);
    if (name.length == 0 || name.data[0] != '$') {
      at = index->nextKey(at);
      return name;
    }
    if (name.length > 1 && name.data[1] == '$') {
      at = index->nextKey(at);
      return {name.data + 1, name.length - 1};
    }
  }
}

}  // namespace amf2json::wire
