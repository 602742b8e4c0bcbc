// SPDX-License-Identifier: Apache-2.0
//
// The index of a JSON text. Tested by tests/wire/json_errors_test.cpp.
#include "wire/json_index.h"

#include <cstring>
#include <new>

#include "wire/base64.h"
#include "wire/utf8.h"

// A separate namespace: a program may use RapidJSON itself, with other settings.
#define RAPIDJSON_NAMESPACE amf2json_rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace amf2json_rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#if defined(__SSE2__)
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace amf2json::wire {

// The first place that is invalid in this format; `message` is null if there is none.
struct InvalidText {
  const char* at;
  const char* message;
  bool isContent;  // the grammar of JSON allows it
};

namespace {

namespace rj = amf2json_rapidjson;

constexpr std::size_t kPadding = 32;  // RapidJSON reads 16 bytes at once

// The allocator of RapidJSON's stack of open containers. RapidJSON does not check for null.
class CheckedAllocator {
 public:
  [[maybe_unused]] static constexpr bool kNeedFree = true;
  void* Malloc(std::size_t size) { return size == 0 ? nullptr : ::operator new(size); }
  void* Realloc(void* block, std::size_t size, std::size_t newSize) {
    void* const larger = Malloc(newSize);
    if (block != nullptr && larger != nullptr) {
      std::memcpy(larger, block, size < newSize ? size : newSize);
    }
    Free(block);
    return larger;
  }
  static void Free(void* block) { ::operator delete(block); }
};

// Whether none of eight bytes is a control character, a backslash or above 7F.
bool arePlain(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101u;
  const std::uint64_t slashes = word ^ kOnes * '\\';
  return (((word - kOnes * 0x20) | (slashes - kOnes) | word) & kOnes * 0x80) == 0;
}

bool isControl(unsigned char byte) {
  return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
}

// The value of the four digits of an escape \uXXXX at `at`, or -1.
int escapedUnit(const char* at, const char* end) {
  if (end - at < 6 || at[0] != '\\' || at[1] != 'u') return -1;
  int value = 0;
  for (int i = 2; i < 6; ++i) {
    const char c = at[i];
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : -1;
    if (digit < 0) return -1;
    value = value * 16 + digit;
  }
  return value;
}

// Moves `at` past an escape. Returns false for a lone surrogate.
bool skipEscape(const char*& at, const char* end) {
  const int unit = escapedUnit(at, end);
  if (unit < 0) {
    at += end - at > 1 ? 2 : 1;
    return true;
  }
  if (unit >= 0xDC00 && unit <= 0xDFFF) return false;
  at += 6;
  if (unit < 0xD800 || unit > 0xDBFF) return true;
  const int low = escapedUnit(at, end);
  if (low < 0xDC00 || low > 0xDFFF) {
    at -= 6;
    return false;
  }
  at += 6;
  return true;
}

InvalidText firstInvalid(const char* at, const char* end) {
  while (at < end) {
    std::uint64_t word;
    if (end - at >= 8 && (std::memcpy(&word, at, 8), arePlain(word))) {
      at += 8;
      continue;
    }
    const auto byte = static_cast<unsigned char>(*at);
    if (byte == '\\') {
      if (!skipEscape(at, end)) return {at, "half of a surrogate pair stands alone", true};
      continue;
    }
    if (isControl(byte)) return {at, "a control character", false};
    const std::size_t length = sequenceLength(at, end);
    if (length == 0) return {at, "a byte that is not UTF-8", false};
    at += length;
  }
  return {end, nullptr, false};
}

const char* skipDigits(const char* at, const char* end) {
  while (at < end && *at >= '0' && *at <= '9') ++at;
  return at;
}

// The end of the number at `at`, or `at` if there is none.
const char* numberEnd(const char* at, const char* end) {
  const char* const whole = at < end && *at == '-' ? at + 1 : at;
  const char* read = whole < end && *whole == '0' ? whole + 1 : skipDigits(whole, end);
  if (read == whole) return at;
  if (read < end && *read == '.') {
    const char* const fraction = skipDigits(read + 1, end);
    if (fraction == read + 1) return at;
    read = fraction;
  }
  if (read < end && (*read | 0x20) == 'e') {
    const char* digits = read + 1;
    if (digits < end && (*digits == '+' || *digits == '-')) ++digits;
    read = skipDigits(digits, end);
    if (read == digits) return at;
  }
  return read;
}

// The end of the string whose opening quote is at `at`.
const char* stringEnd(const char* at, const char* end) {
  for (++at; at < end && *at != '"'; ++at) {
    if (*at == '\\') ++at;
  }
  return at < end ? at + 1 : end;
}

// Whether the error is inside a string.
bool isInString(rj::ParseErrorCode code) {
  return code == rj::kParseErrorStringMissQuotationMark ||
         code == rj::kParseErrorStringEscapeInvalid ||
         code == rj::kParseErrorStringInvalidEncoding ||
         code == rj::kParseErrorStringUnicodeEscapeInvalidHex ||
         code == rj::kParseErrorStringUnicodeSurrogateInvalid;
}

// Overwrites each number with 0 and spaces.
void replaceNumbers(char* text, std::size_t size) {
  char* const end = text + size;
  for (char* at = text; at < end;) {
    if (*at == '"') {
      at += stringEnd(at, end) - at;
      continue;
    }
    const std::ptrdiff_t length = numberEnd(at, end) - at;
    if (length != 0) {
      std::memset(at, ' ', static_cast<std::size_t>(length));
      *at = '0';
    }
    at += length != 0 ? length : 1;
  }
}

}  // namespace

// RapidJSON's reader calls this class.
struct JsonIndex::Handler {
  JsonIndex& index;
  rj::InsituStringStream& stream;
  std::size_t maxDepth;
  const char* original = nullptr;  // the text, if the numbers in the copy are hidden
  const char* originalEnd = nullptr;
  std::uint32_t open = JsonFailure::kNoToken;  // the innermost container
  std::size_t depth = 0;
  bool tooDeep = false;
  bool hasKey = false;        // the last token is a key
  std::size_t lastPlace = 0;  // of the last token

  std::uint32_t next() const { return static_cast<std::uint32_t>(index.tokens.count()); }
  bool scalar(std::size_t place, std::size_t length) {
    hasKey = false;
    lastPlace = place;
    index.tokens.push({static_cast<std::uint32_t>(place), static_cast<std::uint32_t>(length)});
    return true;
  }
  std::size_t placeOf(const char* text) const {
    return static_cast<std::size_t>(text - index.buffer.get());
  }
  bool Null() { return scalar(stream.Tell() - 4, 4); }
  bool Bool(bool value) { return scalar(stream.Tell() - (value ? 4 : 5), value ? 4 : 5); }
  bool Int(int) { return false; }  // numbers are passed as digits
  bool Uint(unsigned) { return false; }
  bool Int64(std::int64_t) { return false; }
  bool Uint64(std::uint64_t) { return false; }
  bool Double(double) { return false; }
  bool RawNumber(const char* text, rj::SizeType length, bool) {
    const std::size_t place = placeOf(text);
    if (original == nullptr) return scalar(place, length);
    const char* const number = original + place;
    return scalar(place, static_cast<std::size_t>(numberEnd(number, originalEnd) - number));
  }
  bool String(const char* text, rj::SizeType length, bool) {
    return scalar(placeOf(text) - 1, length);
  }
  bool Key(const char* text, rj::SizeType length, bool) {
    if (length != 0 && text[0] == '$') index.tokens[open + 1].extra = 1;
    scalar(placeOf(text) - 1, length);
    return hasKey = true;
  }
  bool begin() {
    if (depth == maxDepth) {
      tooDeep = true;
      return false;
    }
    ++depth;
    const std::uint32_t token = next();
    index.tokens.push({0, 0});
    index.tokens.push({0, 0});
    lastPlace = stream.Tell();
    hasKey = false;
    // Until the container ends, this is its parent.
    index.tokens[token] = {static_cast<std::uint32_t>(lastPlace), open};
    open = token;
    return true;
  }
  bool end(std::uint32_t count) {
    JsonToken& token = index.tokens[open];
    index.tokens[open + 1].place = count;
    open = token.extra;
    token.extra = next();
    --depth;
    return true;
  }
  bool StartObject() { return begin(); }
  bool StartArray() { return begin(); }
  bool EndObject(rj::SizeType count) { return end(count); }
  bool EndArray(rj::SizeType count) { return end(count); }
  // After an error inside a string that is a value: adds a token for it, so that it has a path.
  // Returns kNoToken for a key.
  std::uint32_t addUnfinishedString(const char* text, const char* end) {
    const bool inArray = open != JsonFailure::kNoToken && index.kind(open) == '[';
    if (!inArray && !hasKey && open != JsonFailure::kNoToken) return JsonFailure::kNoToken;
    const std::uint32_t token = next();
    const char* quote = text + lastPlace;
    if (token != 0 && *quote == '"') quote = stringEnd(quote, end);
    while (quote < end && *quote != '"') ++quote;
    scalar(static_cast<std::size_t>(quote - text), 0);
    return token;
  }
  // After an error: ends all open containers. Returns the innermost one.
  std::uint32_t endAll() {
    const std::uint32_t innermost = open;
    while (open != JsonFailure::kNoToken) {
      std::uint32_t count = 0;
      const bool isObject = index.kind(open) == '{';
      for (std::uint32_t child = first(open); child < next(); ++count) {
        if (isObject && child + 1 >= next()) break;  // a key without a value
        child = isObject ? index.nextKey(child) : index.after(child);
      }
      end(count);
    }
    return innermost;
  }
};

void JsonIndex::read(const char* text, std::size_t size, std::size_t maxDepth) {
  if (size >= 3 && std::memcmp(text, "\xEF\xBB\xBF", 3) == 0) {
    throw JsonFailure{AMFWireStatus::syntax, JsonFailure::kNoToken, 0, JsonFailure::kNoToken,
                      "a byte order mark"};
  }
  const InvalidText broken = firstInvalid(text, text + size);
  const auto whole = static_cast<std::size_t>(broken.at - text);
  buffer.reset(new char[size + kPadding]);
  std::memset(buffer.get() + whole, 0, size + kPadding - whole);
  if (parse(text, broken, maxDepth, false)) return;
  // RapidJSON refuses a number outside the range of a double, also where only its digits are used,
  // as in 0e999 or in `source`. So the numbers are hidden from it, and restored here.
  tokens.clear();
  parse(text, broken, maxDepth, true);
  for (std::uint32_t token = 0; token < tokens.count(); ++token) {
    if (isContainer(token)) {
      ++token;  // a container has two entries
    } else if (isNumber(token)) {
      std::memcpy(buffer.get() + place(token), text + place(token), tokens[token].extra);
    }
  }
}

// Reads the bytes before `broken`. Returns false if there is a number that RapidJSON refuses.
bool JsonIndex::parse(const char* text, const InvalidText& broken, std::size_t maxDepth,
                      bool replacesNumbers) {
  const auto whole = static_cast<std::size_t>(broken.at - text);
  if (whole != 0) std::memcpy(buffer.get(), text, whole);
  if (replacesNumbers) replaceNumbers(buffer.get(), whole);
  rj::InsituStringStream stream(buffer.get());
  Handler handler{*this, stream, maxDepth};
  if (replacesNumbers) {
    handler.original = text;
    handler.originalEnd = broken.at;
  }
  rj::GenericReader<rj::UTF8<>, rj::UTF8<>, CheckedAllocator> reader;
  constexpr unsigned kFlags =
      rj::kParseInsituFlag | rj::kParseIterativeFlag | rj::kParseNumbersAsStringsFlag;
  const rj::ParseResult result = reader.Parse<kFlags>(stream, handler);
  if (!result.IsError() && broken.message == nullptr) return true;
  if (result.Code() == rj::kParseErrorNumberTooBig) return false;

  JsonFailure failure{AMFWireStatus::syntax, JsonFailure::kNoToken, result.Offset(), 0, {}};
  std::uint32_t value = JsonFailure::kNoToken;
  if (isInString(result.Code())) value = handler.addUnfinishedString(text, broken.at);
  const std::uint32_t innermost = handler.endAll();
  failure.parent = value != JsonFailure::kNoToken ? value : innermost;
  if (handler.tooDeep) {
    failure.status = AMFWireStatus::depthLimit;
    failure.message = "arrays and objects inside one another are too many";
  } else if (broken.message != nullptr && (!result.IsError() || result.Offset() >= whole)) {
    failure.offset = whole;
    failure.message = broken.message;
    if (broken.isContent) {
      failure.status = AMFWireStatus::content;
      failure.token = value;  // the error is that of the value
    }
  } else if (result.Code() == rj::kParseErrorStringEscapeInvalid && text[result.Offset()] != '\\') {
    failure.message = "a control character";
  } else {
    failure.message = rj::GetParseError_En(result.Code());
  }
  throw failure;
}

bool JsonIndex::decodeBase64(std::uint32_t token) {
  JsonToken& known = tokens[token];
  char* const at = buffer.get() + known.place;
  const std::size_t length = readBase64(at + 1, at + 1, known.extra);
  if (length == kNoBase64) return false;
  *at = kDecoded;
  known.extra = static_cast<std::uint32_t>(length);
  return true;
}

}  // namespace amf2json::wire
