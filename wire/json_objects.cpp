// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader: values that are JSON objects and contain values. Tested by
// tests/wire/rows_test.cpp and tests/wire/json_errors_test.cpp.
#include <algorithm>

#include "wire/failure.h"
#include "wire/json_reader.h"
#include "wire/number_text.h"

namespace amf2json::wire {

namespace {

constexpr std::uint32_t kBits = 7;  // of a flag byte
constexpr std::uint32_t kGroupBits = kBits * AMFWireLimits::kMaxFlagBytes;

// Reads a number in plain digits at `at`. Returns false if there is none.
bool readPart(const char*& at, const char* end, std::uint32_t& number) {
  const char* const begin = at;
  number = 0;
  for (; at < end && *at >= '0' && *at <= '9' && at - begin < 6; ++at) {
    number = number * 10 + static_cast<std::uint32_t>(*at - '0');
  }
  return at != begin && (at - begin == 1 || *begin != '0');
}

}  // namespace

bool JsonReader::object(std::uint32_t token) {
  const Object object = separateKeys(token);
  switch (object.kind) {
    case Key::none:
    case Key::className: return plainObject(object);
    case Key::array: return arrayObject(object);
    case Key::ecma: return ecmaArray(object);
    case Key::external: return external(object);
    case Key::vector: return vector(object);
    case Key::dictionary: return dictionary(object);
    case Key::amf3: return amf3Value(object);
    default: return simple(object);
  }
}

// Pushes a frame for the members of an object.
void JsonReader::pushMembers(const Object& object, std::uint32_t sealed, bool inArray) {
  Frame& frame = push(object.has(Key::members) ? Step::pairs : Step::members);
  frame.inArray = inArray;
  frame.sealed = sealed;
  if (inArray) frame.dense = object[Key::array];
  if (object.has(Key::members)) {
    frame.next = JsonIndex::first(object[Key::members]);
    frame.remaining = index.count(object[Key::members]);
  } else {
    frame.next = JsonIndex::first(object.token);
    frame.remaining = object.members;
  }
}

bool JsonReader::plainObject(const Object& object) {
  enter(object.token);
  recordId(object);
  AMFWireObject begun;
  if (object.has(Key::className)) {
    begun.className =
        amf3 ? needString(object[Key::className]) : needString16(object[Key::className]);
    begun.typed = !amf3 || begun.className.length != 0;
  }
  const std::uint32_t count = memberCount(object);
  const bool listed = object.has(Key::members);
  JsonNames names(index,
                  listed ? JsonIndex::first(object[Key::members]) : JsonIndex::first(object.token),
                  listed);
  if (amf3) {
    begun.sealedCount = begun.typed ? count : 0;
    const bool all = object.has(Key::sealed) && isKind(object[Key::sealed], 't');
    if (all) {
      begun.sealedCount = count;
    } else if (object.has(Key::sealed)) {
      if (!index.isNumber(object[Key::sealed])) failKind(object[Key::sealed], "true or a number");
      begun.sealedCount = static_cast<std::uint32_t>(needWhole(object[Key::sealed], 0, count));
    }
    const bool beyond = begun.sealedCount < count;
    begun.dynamic = beyond || (!begun.typed && !object.has(Key::sealed));
    if (object.has(Key::dynamic)) begun.dynamic = needBoolean(object[Key::dynamic]);
    if (beyond && !begun.dynamic) {
      fail(object[Key::dynamic], "members beyond the sealed ones need a dynamic object");
    }
    if (begun.sealedCount != 0) begun.names = &names;
  }
  sink.beginObject(begun);
  pushMembers(object, begun.sealedCount, false);
  return true;
}

bool JsonReader::arrayObject(const Object& object) {
  const std::uint32_t list = needArray(object[Key::array]);
  const std::uint32_t members = memberCount(object);
  if (members == 0) {
    recordId(object);
    return array(object.token, list);
  }
  enter(object.token);
  recordId(object);
  AMFWireArray begun;
  begun.count = index.count(list);
  begun.hasMembers = true;
  sink.beginArray(begun);
  pushMembers(object, 0, true);
  return true;
}

bool JsonReader::ecmaArray(const Object& object) {
  enter(object.token);
  recordId(object);
  const std::uint32_t token = object[Key::ecma];
  std::uint32_t declaredCount = memberCount(object);
  if (!isKind(token, 't')) {
    if (!index.isNumber(token)) failKind(token, "true or a number");
    declaredCount = static_cast<std::uint32_t>(needWhole(token, 0, 4294967295.0));
  }
  sink.beginEcmaArray(declaredCount);
  pushMembers(object, 0, false);
  return true;
}

bool JsonReader::external(const Object& object) {
  enter(object.token);
  recordId(object);
  AMFWireExternal begun;
  begun.className = needString(object[Key::external]);
  ExternalBody body;
  if (!classes.find(begun.className, body)) {
    throw JsonFailure{AMFWireStatus::unknownExternal, object[Key::external], 0, 0,
                      unknownExternal(begun.className) + ": how its body is written must be told"};
  }
  if (object.has(Key::dynamic)) begun.dynamic = needBoolean(object[Key::dynamic]);
  begun.smallMessage = body.groups != 0;
  begun.count = body.values;
  if (begun.smallMessage) {
    sink.beginExternal(begun);
    return smallMessage(object, body);
  }
  const std::uint32_t first = externalValues(object, body);
  sink.beginExternal(begun);
  pushItems(first, body.values);
  return true;
}

// The first value of an externalizable.
std::uint32_t JsonReader::externalValues(const Object& object, const ExternalBody& body) {
  if (object.members != 0) fail(object.firstMember, "a member of an externalizable value");
  if (object.firstField != 0) fail(object.firstField, "a flag where there is no small message");
  if (object.has(Key::value)) {
    if (object.has(Key::values)) {
      fail(std::max(object[Key::value], object[Key::values]) - 1, "$value beside $values");
    }
    if (body.values == 1) return object[Key::value];
    fail(object[Key::value] - 1,
         "the class has " + std::to_string(body.values) + " values: expected $values");
  }
  if (!object.has(Key::values)) need(object, body.values == 1 ? Key::value : Key::values);
  const std::uint32_t list = needArray(object[Key::values]);
  if (index.count(list) != body.values) {
    fail(list, "found " + std::to_string(index.count(list)) + " values, expected " +
                   std::to_string(body.values));
  }
  return JsonIndex::first(list);
}

bool JsonReader::smallMessage(const Object& object, const ExternalBody& body) {
  const Key lists[] = {Key::value, Key::values};
  for (const Key key : lists) {
    if (object.has(key)) fail(object[key] - 1, "a small message has fields");
  }
  Frame& frame = push(Step::fields);
  frame.body = body;
  frame.dense = frame.next = static_cast<std::uint32_t>(fields.size());
  collectFields(object, body);
  frame.remaining = static_cast<std::uint32_t>(fields.size()) - frame.next;
  return true;
}

// The fields of a small message in the order of their flags.
void JsonReader::collectFields(const Object& object, const ExternalBody& body) {
  const auto begin = static_cast<std::ptrdiff_t>(fields.size());
  std::uint32_t key = JsonIndex::first(object.token);
  for (std::uint32_t remaining = index.count(object.token); remaining > 0;
       --remaining, key = index.nextKey(key)) {
    if (isSpecial(key) && keyOf(index.text(key)) != Key::none) continue;
    fields.push_back({fieldNumber(key, body), key + 1});
  }
  std::sort(fields.begin() + begin, fields.end(),
            [](const Field& a, const Field& b) { return a.number < b.number; });
}

// The flag that a key names: by its name, or $g.b.n for a flag without a name.
std::uint32_t JsonReader::fieldNumber(std::uint32_t key, const ExternalBody& body) {
  const AMFWireString name = index.text(key);
  if (!isSpecial(key)) {
    for (std::uint32_t number = 0; number < body.groups * kGroupBits; ++number) {
      const std::uint32_t inGroup = number % kGroupBits;
      const char* const known =
          fieldName(body, number / kGroupBits, inGroup / kBits, inGroup % kBits);
      if (known != nullptr && sameText(name, known)) return number;
    }
    fail(key, "unknown field of a small message");
  }
  const char* from = name.data + 1;
  const char* const end = name.data + name.length;
  std::uint32_t group = 0;
  std::uint32_t byte = 0;
  std::uint32_t flag = 0;
  const bool read = readPart(from, end, group) && from < end && *from++ == '.' &&
                    readPart(from, end, byte) && from < end && *from++ == '.' &&
                    readPart(from, end, flag) && from == end;
  if (!read || group >= body.groups || flag >= kBits) fail(key, "unknown key");
  if (byte >= AMFWireLimits::kMaxFlagBytes) {
    throw JsonFailure{AMFWireStatus::flagLimit, key, 0, 0,
                      "a group of a small message has more than 16 flag bytes"};
  }
  const char* const known = fieldName(body, group, byte, flag);
  if (known != nullptr) fail(key, std::string("the flag has a name: expected ") + known);
  return group * kGroupBits + byte * kBits + flag;
}

void JsonReader::stepFields() {
  for (;;) {
    Frame& frame = frames.back();
    const bool more = frame.remaining > 0;
    const std::uint32_t number = more ? fields[frame.next].number : 0;
    const std::uint32_t groups = more ? number / kGroupBits + 1 : frame.body.groups;
    for (; frame.group < groups; ++frame.group) {
      AMFWireFlags flags;
      flags.group = frame.group;
      for (std::uint32_t i = 0; i < frame.remaining; ++i) {
        const std::uint32_t other = fields[frame.next + i].number;
        if (other / kGroupBits != frame.group) break;
        const std::uint32_t inGroup = other % kGroupBits;
        flags.bits[inGroup / kBits] |= static_cast<std::uint8_t>(1u << inGroup % kBits);
      }
      sink.fieldGroup(flags);
    }
    if (!more) {
      fields.resize(frame.dense);
      return endFrame();
    }
    --frame.remaining;
    if (value(fields[frame.next++].value)) return;
  }
}

bool JsonReader::vector(const Object& object) {
  static const char* const kKinds[] = {"int", "uint", "double", "object"};
  const AMFWireString name = needString(object[Key::vector]);
  std::uint32_t kind = 0;
  while (kind < 4 && !sameText(name, kKinds[kind])) ++kind;
  if (kind == 4) fail(object[Key::vector], "expected int, uint, double or object");
  AMFWireVector begun;
  begun.kind = static_cast<AMFWireVectorKind>(kind);
  const bool ofObjects = begun.kind == AMFWireVectorKind::object;
  if (ofObjects) enter(object.token);
  recordId(object);
  if (object.has(Key::fixed)) begun.fixed = needBoolean(object[Key::fixed]);
  if (ofObjects) begun.typeName = needString(need(object, Key::type));
  if (!ofObjects && object.has(Key::type)) {
    fail(object[Key::type] - 1, "$type without objects");
  }
  const std::uint32_t list = needArray(need(object, Key::items));
  begun.count = index.count(list);
  sink.beginVector(begun);
  if (!ofObjects) {
    vectorItems(list, begun.kind);
    return sink.end(), false;
  }
  pushItems(JsonIndex::first(list), begun.count);
  return true;
}

void JsonReader::vectorItems(std::uint32_t list, AMFWireVectorKind kind) {
  std::uint32_t item = JsonIndex::first(list);
  for (std::uint32_t remaining = index.count(list); remaining > 0;
       --remaining, item = index.after(item)) {
    at = item;
    char bytes[8];
    if (kind == AMFWireVectorKind::float64) {
      double number;
      if (isKind(item, '{')) {
        const Object wrapped = separateKeys(item);
        if (wrapped.kind != Key::number) fail(item, "expected a number or $double");
        needDouble(wrapped[Key::number], number);
      } else {
        number = needNumber(item);
      }
      storeU64(bytes, bitsOf(number));
    } else if (kind == AMFWireVectorKind::int32) {
      const double number = needWhole(item, -2147483648.0, 2147483647.0);
      storeU32(bytes, static_cast<std::uint32_t>(static_cast<std::int32_t>(number)));
    } else {
      storeU32(bytes, static_cast<std::uint32_t>(needWhole(item, 0, 4294967295.0)));
    }
    sink.vectorItems(bytes, 1);
  }
}

bool JsonReader::dictionary(const Object& object) {
  enter(object.token);
  recordId(object);
  const std::uint32_t list = needArray(object[Key::dictionary]);
  const bool weak = object.has(Key::weak) && needBoolean(object[Key::weak]);
  sink.beginDictionary(index.count(list), weak);
  Frame& frame = push(Step::dictionary);
  frame.next = JsonIndex::first(list);
  frame.remaining = index.count(list);
  return true;
}

}  // namespace amf2json::wire
