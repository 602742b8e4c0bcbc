// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/har_test.cpp.
#include "tool/input/har.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "tool/input/form.h"
#include "tool/input/har_text.h"
#include "tool/input/mojibake.h"
#include "tool/input/wrappers.h"
#include "tool/problem.h"
#include "tool/text/words.h"

// A separate namespace: AMFWire uses RapidJSON with other settings.
#define RAPIDJSON_NAMESPACE amf2json_tool_rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace amf2json_tool_rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace {

namespace rj = amf2json_tool_rapidjson;

// RapidJSON does not check the result of malloc.
class CheckedAllocator {
 public:
  [[maybe_unused]] static constexpr bool kNeedFree = true;
  void* Malloc(std::size_t size) { return size == 0 ? nullptr : ::operator new(size); }
  void* Realloc(void* block, std::size_t size, std::size_t newSize) {
    void* const larger = Malloc(newSize);
    if (block != nullptr && larger != nullptr) std::memcpy(larger, block, std::min(size, newSize));
    Free(block);
    return larger;
  }
  static void Free(void* block) { ::operator delete(block); }
};

constexpr std::size_t kMaxDepth = 1 << 20;  // of ignored values; RapidJSON needs 8 bytes a level

Problem notHar(const std::string& message) {
  return {kMalformed, "not HAR", message};
}

// ---- Bodies

// What the archive says of a request or response. Everything may be missing.
struct Message {
  std::string_view text, encoding, mediaType;
  std::string_view headerMediaType;  // of the first header field Content-Type
  std::uint64_t size = 0;
  std::size_t loneSurrogates = 0;  // in `text`
};

bool carriesAMF(const Message& message, std::string_view bytes) {
  const std::string_view named =
      message.mediaType.empty() ? message.headerMediaType : message.mediaType;
  const std::string type = lowerCase(std::string(named.substr(0, named.find_first_of("; \t"))));
  if (!type.empty()) return type == "application/x-amf" || type == "application/amf";
  return bytes.size() >= 6 && hasPacketVersion(bytes);
}

std::optional<std::string> decodeBase64(std::string_view text) {
  try {
    return decodeBase64Text(text, text.size());
  } catch (const Problem&) {  // a broken data URI
    return std::nullopt;
  }
}

// The bytes of a text that is not base64.
std::string textBytes(const Message& message, const IsPacket& isPacket) {
  const std::string_view text = message.text;
  std::optional<std::string> characters = undoUTF8Encoding(text);
  if (!characters) return std::string(text);
  if (characters->size() == message.size) return std::move(*characters);
  const bool isUTF8 = text.size() == message.size || (isPacket(text) && !isPacket(*characters));
  return isUTF8 ? std::string(text) : std::move(*characters);
}

// Nothing if the message has no body, or one that does not carry AMF.
std::optional<HarBody> bodyOf(const Message& message, const IsPacket& isPacket) {
  if (message.text.empty() && message.size == 0) return std::nullopt;
  HarBody body{};
  std::optional<std::string> decoded;
  if (lowerCase(std::string(message.encoding)) == "base64" && !message.text.empty()) {
    decoded = decodeBase64(message.text);
    body.isBadBase64 = !decoded;
  }
  body.bytes = decoded ? std::move(*decoded) : textBytes(message, isPacket);
  body.missing = message.text.empty() ? message.size : 0;
  body.loneSurrogates = decoded ? 0 : message.loneSurrogates;
  if (!carriesAMF(message, body.bytes)) return std::nullopt;
  return body;
}

// ---- The places in an archive that are read

enum class Place { none, top, log, entries, entry, request, response, body, headers, field };

struct Step {
  Place parent;
  std::string_view key;  // empty: any, and none in an array
  bool isArray;
  Place child;
};

constexpr Step kSteps[] = {
    {Place::none, "", false, Place::top},
    {Place::top, "log", false, Place::log},
    {Place::log, "entries", true, Place::entries},
    {Place::entries, "", false, Place::entry},
    {Place::entry, "request", false, Place::request},
    {Place::entry, "response", false, Place::response},
    {Place::request, "postData", false, Place::body},
    {Place::request, "headers", true, Place::headers},
    {Place::response, "content", false, Place::body},
    {Place::response, "headers", true, Place::headers},
    {Place::headers, "", false, Place::field},
};

// RapidJSON's reader calls this class. Values of unexpected types are ignored.
class Handler : public rj::BaseReaderHandler<rj::UTF8<>, Handler> {
 public:
  Handler(const IsPacket& isPacketFunction, const TakeHarBody& takeFunction)
      : isPacket(isPacketFunction), take(takeFunction) {}

  bool Default() {  // null, true, false, negative and fractional numbers
    countEntry();
    return true;
  }
  bool Uint(unsigned value) { return Uint64(value); }
  bool Uint64(std::uint64_t value) {
    countEntry();
    if (std::uint64_t* const target = numberTarget()) *target = value;
    return true;
  }
  bool String(const char* text, rj::SizeType length, bool) {
    countEntry();
    if (std::string_view* const target = textTarget()) {
      *target = {text, length};
      // The text is in the archive, which is ours to change.
      const std::size_t lone = replaceLoneSurrogates(const_cast<char*>(text), length);
      if (place() == Place::body && target == &message->text) message->loneSurrogates = lone;
    }
    return true;
  }
  bool Key(const char* text, rj::SizeType length, bool) {
    if (ignoredDepth == 0) key = {text, length};
    return true;
  }
  bool StartObject() { return begin(false); }
  bool StartArray() { return begin(true); }
  bool EndObject(rj::SizeType) { return end(); }
  bool EndArray(rj::SizeType) { return end(); }

  bool hasEntries = false;

 private:
  struct Entry {
    std::string_view time, method, url;
    std::uint64_t status = 0;
    Message request, response;
  };

  Place place() const { return places.back(); }

  void countEntry() {
    if (ignoredDepth == 0 && place() == Place::entries) ++entryCount;
  }

  bool begin(bool isArray) {
    countEntry();
    for (const Step& step : kSteps) {
      if (ignoredDepth != 0) break;
      const bool isStep = step.parent == place() && step.isArray == isArray &&
                          (step.key.empty() || step.key == key);
      if (!isStep) continue;
      places.push_back(step.child);
      enter();
      return true;
    }
    if (++ignoredDepth > kMaxDepth) {
      throw notHar("this is no archive (HAR): more than " + std::to_string(kMaxDepth) +
                   " objects and arrays inside one another");
    }
    return true;
  }

  void enter() {
    if (place() == Place::entries) hasEntries = true;
    if (place() == Place::entry) entry = {};
    if (place() == Place::request) message = &entry.request;
    if (place() == Place::response) message = &entry.response;
    if (place() == Place::field) fieldName = fieldValue = {};
  }

  bool end() {
    if (ignoredDepth > 0) {
      --ignoredDepth;
      return true;
    }
    if (place() == Place::field) endField();
    if (place() == Place::entry) endEntry();
    places.pop_back();
    return true;
  }

  void endField() {
    if (!message->headerMediaType.empty() || fieldName.size() > 20) return;
    if (lowerCase(std::string(fieldName)) == "content-type") message->headerMediaType = fieldValue;
  }

  void endEntry() {
    for (const bool isRequest : {true, false}) {
      std::optional<HarBody> body = bodyOf(isRequest ? entry.request : entry.response, isPacket);
      if (!body) continue;
      body->index = entryCount - 1;
      body->isRequest = isRequest;
      body->method = entry.method;
      body->url = entry.url;
      body->time = entry.time;
      body->status = entry.status;
      take(*body);
    }
  }

  std::uint64_t* numberTarget() {
    if (ignoredDepth > 0) return nullptr;
    if (place() == Place::request && key == "bodySize") return &entry.request.size;
    if (place() == Place::response && key == "status") return &entry.status;
    const bool isContent = place() == Place::body && message == &entry.response;
    return isContent && key == "size" ? &entry.response.size : nullptr;
  }

  std::string_view* textTarget() {
    if (ignoredDepth > 0) return nullptr;
    switch (place()) {
      case Place::entry: return key == "startedDateTime" ? &entry.time : nullptr;
      case Place::request:
        return key == "method" ? &entry.method : key == "url" ? &entry.url : nullptr;
      case Place::body:
        return key == "text"       ? &message->text
               : key == "encoding" ? &message->encoding
               : key == "mimeType" ? &message->mediaType
                                   : nullptr;
      case Place::field: return key == "name" ? &fieldName : key == "value" ? &fieldValue : nullptr;
      default: return nullptr;
    }
  }

  const IsPacket& isPacket;
  const TakeHarBody& take;
  std::vector<Place> places = {Place::none};
  std::size_t ignoredDepth = 0;  // open containers in a value that is not read
  std::string_view key;          // the last one outside ignored values
  std::size_t entryCount = 0;
  Entry entry;
  Message* message = nullptr;  // the one that is read, in `entry`
  std::string_view fieldName, fieldValue;
};

}  // namespace

void readHar(std::string& archive, const IsPacket& isPacket, const TakeHarBody& take) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  const std::size_t zero = archive.find('\0');
  if (zero != std::string::npos) {  // RapidJSON would stop there
    Problem problem = notHar("this is no archive (HAR): a byte 00");
    problem.offset = zero;
    throw problem;
  }
  const std::size_t begin = archive.compare(0, 3, kByteOrderMark) == 0 ? 3 : 0;
  prepareForRapidJSON(archive);
  CheckedAllocator allocator;
  rj::GenericReader<rj::UTF8<>, rj::UTF8<>, CheckedAllocator> reader(&allocator, 1024);
  rj::InsituStringStream stream(&archive[begin]);
  Handler handler(isPacket, take);
  constexpr unsigned kFlags =
      rj::kParseInsituFlag | rj::kParseIterativeFlag | rj::kParseValidateEncodingFlag;
  reader.Parse<kFlags>(stream, handler);
  if (reader.HasParseError()) {
    Problem problem = notHar(rj::GetParseError_En(reader.GetParseErrorCode()));
    problem.offset = begin + reader.GetErrorOffset();
    throw problem;
  }
  if (!handler.hasEntries) throw notHar("this is no archive (HAR): no list log.entries");
}
