// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/har_test.cpp.
#include "tool/input/har.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include "tool/input/mojibake.h"
#include "tool/input/wrappers.h"
#include "tool/problem.h"

// A namespace of its own: the library AMFWire has RapidJSON, too, built otherwise.
#define RAPIDJSON_NAMESPACE amf2json_tool_rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace amf2json_tool_rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

namespace {

namespace rj = amf2json_tool_rapidjson;

// RapidJSON does not check what it gets from malloc.
class CheckedAllocator {
 public:
  [[maybe_unused]] static constexpr bool kNeedFree = true;
  void* Malloc(std::size_t size) { return size == 0 ? nullptr : ::operator new(size); }
  void* Realloc(void* block, std::size_t size, std::size_t wanted) {
    void* const larger = Malloc(wanted);
    if (block != nullptr && larger != nullptr) std::memcpy(larger, block, std::min(size, wanted));
    Free(block);
    return larger;
  }
  static void Free(void* block) { ::operator delete(block); }
};

using Pool = rj::MemoryPoolAllocator<CheckedAllocator>;
using Document = rj::GenericDocument<rj::UTF8<>, Pool, CheckedAllocator>;
using Value = Document::ValueType;

Problem noArchive(const char* message) {
  return {kMalformed, "not HAR", message};
}

// ---- Values of any type: archives come from many hands

// Null where there is none.
const Value* memberOf(const Value* object, const char* name) {
  if (object == nullptr || !object->IsObject()) return nullptr;
  const auto found = object->FindMember(name);
  return found == object->MemberEnd() ? nullptr : &found->value;
}

std::string_view textOf(const Value* value) {
  if (value == nullptr || !value->IsString()) return {};
  return {value->GetString(), value->GetStringLength()};
}

// 0 for everything that is no count.
std::size_t countOf(const Value* value) {
  return value != nullptr && value->IsUint64() ? static_cast<std::size_t>(value->GetUint64()) : 0;
}

std::string inLowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return lower;
}

// Of the list `headers` of a message.
std::string_view mediaTypeIn(const Value* message) {
  const Value* const fields = memberOf(message, "headers");
  if (fields == nullptr || !fields->IsArray()) return {};
  for (const Value& field : fields->GetArray()) {
    if (inLowerCase(textOf(memberOf(&field, "name"))) == "content-type")
      return textOf(memberOf(&field, "value"));
  }
  return {};
}

// ---- Bodies

bool carriesAMF(std::string_view mediaType, std::string_view bytes) {
  const std::string type = inLowerCase(mediaType.substr(0, mediaType.find_first_of("; \t")));
  if (!type.empty()) return type == "application/x-amf" || type == "application/amf";
  return bytes.size() >= 6 && bytes[0] == 0 && (bytes[1] == 0 || bytes[1] == 3);
}

std::string bytesOf(std::string_view text, bool isBase64, std::size_t size, std::size_t maxBytes,
                    const IsRead& isRead) {
  if (isBase64) {
    if (auto bytes = decodeBase64Text(text, maxBytes)) return std::move(*bytes);
  }
  std::optional<std::string> characters = undoUTF8Encoding(text);
  if (!characters || characters->size() == size)
    return std::move(characters).value_or(std::string(text));
  const bool isText = text.size() == size || (isRead(text) && !isRead(*characters));
  return isText ? std::string(text) : std::move(*characters);
}

// `holder` has the text, `size` counts the bytes that were sent.
std::optional<HarBody> bodyOf(const Value* message, const Value* holder, const Value* size,
                              std::size_t maxBytes, const IsRead& isRead) {
  const std::string_view text = textOf(memberOf(holder, "text"));
  const std::size_t counted = countOf(size);
  if (text.empty() && counted == 0) return std::nullopt;
  HarBody body{};
  const bool isBase64 = inLowerCase(textOf(memberOf(holder, "encoding"))) == "base64";
  body.bytes = bytesOf(text, isBase64, counted, maxBytes, isRead);
  if (body.bytes.size() > maxBytes) {
    throw Problem{
        kOverLimit, "packet limit",
        "packet limit: a body has more than --max-packet-bytes " + std::to_string(maxBytes)};
  }
  body.missing = text.empty() ? counted : 0;
  std::string_view type = textOf(memberOf(holder, "mimeType"));
  if (type.empty()) type = mediaTypeIn(message);
  if (!carriesAMF(type, body.bytes)) return std::nullopt;
  return body;
}

void addBodies(std::vector<HarBody>& bodies, const Value& entry, std::size_t index,
               std::size_t maxBytes, const IsRead& isRead) {
  const Value* const request = memberOf(&entry, "request");
  const Value* const response = memberOf(&entry, "response");
  const Value* const posted = memberOf(request, "postData");
  const Value* const content = memberOf(response, "content");
  for (const bool isRequest : {true, false}) {
    std::optional<HarBody> body =
        isRequest ? bodyOf(request, posted, memberOf(request, "bodySize"), maxBytes, isRead)
                  : bodyOf(response, content, memberOf(content, "size"), maxBytes, isRead);
    if (!body) continue;
    body->index = index;
    body->isRequest = isRequest;
    body->method = textOf(memberOf(request, "method"));
    body->url = textOf(memberOf(request, "url"));
    body->time = textOf(memberOf(&entry, "startedDateTime"));
    body->status = countOf(memberOf(response, "status"));
    bodies.push_back(std::move(*body));
  }
}

}  // namespace

std::vector<HarBody> readHar(std::string text, std::size_t maxBytes, const IsRead& isRead) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  // RapidJSON takes it for the end of the text.
  if (text.find('\0') != std::string::npos) throw noArchive("this is no archive (HAR): a byte 00");
  const std::size_t front = text.compare(0, 3, kByteOrderMark) == 0 ? 3 : 0;
  CheckedAllocator allocator;
  Pool pool(1 << 16, &allocator);
  Document document(&pool, 1024, &allocator);
  constexpr unsigned kFlags =
      rj::kParseInsituFlag | rj::kParseIterativeFlag | rj::kParseValidateEncodingFlag;
  document.ParseInsitu<kFlags>(&text[front]);
  if (document.HasParseError()) {
    Problem problem = noArchive(rj::GetParseError_En(document.GetParseError()));
    problem.offset = front + document.GetErrorOffset();
    throw problem;
  }
  const Value* const entries = memberOf(memberOf(&document, "log"), "entries");
  if (entries == nullptr || !entries->IsArray())
    throw noArchive("this is no archive (HAR): no list log.entries");
  std::vector<HarBody> bodies;
  std::size_t index = 0;
  for (const Value& entry : entries->GetArray())
    addBodies(bodies, entry, index++, maxBytes, isRead);
  return bodies;
}
