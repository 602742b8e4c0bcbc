// SPDX-License-Identifier: Apache-2.0
//
// The rows of amf2json dump. The check of untrusted packets reads the packet and reports each
// field; this visitor only formats them. Enter at dumpPacket(). Tested by tests/tool/dump_test.cpp.
#include "tool/commands/dump_rows.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "tool/problem.h"
#include "tool/text/hex.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace {

using Field = AMFVerifyField;
using Kind = AMFFieldKind;

constexpr std::size_t kRowBytes = 8;
constexpr std::size_t kShortenedBytes = 2 * kRowBytes;  // how much of a long payload is shown
constexpr std::size_t kShortenedText = 64;
constexpr std::size_t kLabelText = 40;
constexpr std::uint32_t kMaxIndent = 40;  // deeper fields are not indented further
constexpr std::uint32_t kUnknownLength = 0xFFFFFFFF;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// A part of the packet.
struct Span {
  std::size_t offset;
  std::size_t length;
};

// An entry of a reference table: its offset, and the string or the class name of traits.
struct Entry {
  std::size_t offset;
  Span text;
};

struct Traits : Entry {
  std::vector<Span> names;
};

// Returns null if there is no such entry.
template <class Table>
const typename Table::value_type* find(const Table& table, std::uint64_t index) {
  return index < table.size() ? &table[static_cast<std::size_t>(index)] : nullptr;
}

// An open object or array.
struct Frame {
  std::size_t offset;
  bool isArray;
  bool isAMF3;
  std::size_t traits;  // kNone: none
  std::size_t next;    // index of the next value without a name
};

bool isName(Kind kind) {
  return kind >= Kind::headerName && kind <= Kind::memberName;
}

class Dumper : public AMFVerifyVisitor {
 public:
  Dumper(std::string_view bytes, const DumpOptions& dumpOptions, std::string& out)
      : packet(bytes), options(dumpOptions), text(out) {}

  void field(const Field& field) override;
  void finish(const AMFVerifyResult& result);

 private:
  // Rows. The last row is kept until it is known which indexes its value has.
  void beginRow(std::size_t offset, std::size_t length, std::uint32_t indent, std::string meaning);
  void flushRow();
  void writeLine(std::size_t offset, std::string_view bytes, std::string_view meaning);
  std::string offsetText(std::size_t offset) const;

  // Sections, the headers and messages
  void enterSection(const Field& field);
  void leaveSection(std::size_t end);

  // Objects and arrays
  void followDepth(const Field& field);
  void open(bool isArray, bool isAMF3, std::size_t traitsIndex = kNone) {
    opening = {markerOffset, isArray, isAMF3, traitsIndex, 0};
  }
  void noteMarker(const Field& field);
  void noteHead(const Field& field);
  void noteName(Span name);
  std::string labelFor(const Field& marker);

  // Tables
  void noteEntry(const Field& field);
  void noteEnd(const Field& field);

  // Meanings
  std::string meaningOf(const Field& field);
  std::string meaningOfHead(const Field& field) const;
  std::string meaningOfReference(const Field& field);
  std::string targetText(const char* table, std::uint64_t index, const Entry* entry) const;
  std::string_view bytesOf(Span some) const { return packet.substr(some.offset, some.length); }
  std::string quoteSpan(Span some) const {
    return quoteForDisplay(bytesOf(some), options.full ? packet.size() : kShortenedText);
  }

  const std::string_view packet;
  const DumpOptions& options;
  std::string& text;

  struct Row {
    std::size_t offset;
    std::size_t length;
    std::uint32_t indent;
    std::string meaning;
  };
  Row row{};
  bool hasRow = false;
  std::size_t coveredEnd = 0;  // end of the fields so far

  bool inSection = false;
  bool inValue = false;  // inside the section's value
  bool inMessages = false;
  std::uint32_t sections = 0;  // headers or messages so far
  std::uint64_t declaredLength = kUnknownLength;
  std::size_t valueOffset = 0;

  std::vector<Frame> frames;
  Frame opening{};
  std::vector<Span> sealedNames;  // of the traits being read
  bool readsTraits = false;
  bool hasName = false;
  Span name{};       // of the value that follows
  Span className{};  // of the current object
  std::size_t markerOffset = 0;
  std::size_t headOffset = 0;
  std::size_t traitsOffset = 0;
  std::uint64_t marker3 = 0;
  bool isSwitched = false;

  std::vector<Entry> amf0Entries, objects, strings;
  std::vector<Traits> traits;
};

// ---- Rows

std::string Dumper::offsetText(std::size_t offset) const {
  char digits[2 * sizeof offset + 1];
  std::snprintf(digits, sizeof digits, "%08zX", offset - options.hiddenHead + options.firstOffset);
  return digits;
}

void Dumper::beginRow(std::size_t offset, std::size_t length, std::uint32_t indent,
                      std::string meaning) {
  flushRow();
  row = {offset, length, indent, std::move(meaning)};
  if (inSection && options.hiddenHead == 0) ++row.indent;
  hasRow = offset + length > options.hiddenHead;
}

void Dumper::flushRow() {
  if (!hasRow) return;
  hasRow = false;
  const bool isWhole = options.full || row.length <= 2 * kShortenedBytes;
  const std::size_t length = isWhole ? row.length : kShortenedBytes;
  const std::string_view bytes = packet.substr(row.offset, length);
  writeLine(row.offset, bytes.substr(0, kRowBytes),
            std::string(2 * std::min(row.indent, kMaxIndent), ' ') + row.meaning);
  for (std::size_t at = kRowBytes; at < length; at += kRowBytes) {
    writeLine(row.offset + at, bytes.substr(at, kRowBytes), "");
  }
  if (!isWhole) {
    text += offsetText(row.offset + length) + "  ... " + pluralize(row.length - length, "byte") +
            " more\n";
  }
}

void Dumper::writeLine(std::size_t offset, std::string_view bytes, std::string_view meaning) {
  std::string hex, ascii;
  for (const char byte : bytes) {
    hex += hexByte(byte) + ' ';
    ascii += byte >= 0x20 && byte < 0x7F ? byte : '.';
  }
  if (!bytes.empty()) ascii = '|' + ascii + '|';
  hex.resize(3 * kRowBytes, ' ');
  ascii.resize(std::max(ascii.size(), meaning.empty() ? 0 : kRowBytes + 2), ' ');
  text += offsetText(offset) + "  " + hex + ' ' + ascii;
  if (!meaning.empty()) (text += "  ") += meaning;
  text += '\n';
  if (text.size() > options.maxText) throw outputTooLarge(options.maxText);
}

void Dumper::finish(const AMFVerifyResult& result) {
  const bool isOk = result.status == AMFVerifyStatus::ok;
  if (isOk) leaveSection(coveredEnd);
  inSection = inValue = false;
  const std::size_t remaining = packet.size() - std::max(coveredEnd, options.hiddenHead);
  if (remaining > 0 && result.status != AMFVerifyStatus::packetTooLarge) {
    beginRow(packet.size() - remaining, remaining, 0,
             (isOk ? "left over: " : "not read: ") + pluralize(remaining, "byte"));
  }
  flushRow();
}

// ---- Sections

// A header begins with the length of its name, a message with that of its target URI.
void Dumper::enterSection(const Field& field) {
  leaveSection(field.offset);
  const bool isMessage = field.of == Kind::targetUri;
  if (isMessage != inMessages) sections = 0;
  inMessages = isMessage;
  beginRow(field.offset, 0, 0, (isMessage ? "message " : "header ") + std::to_string(sections++));
  inSection = true;
  for (auto* const table : {&amf0Entries, &objects, &strings}) table->clear();
  traits.clear();
}

void Dumper::leaveSection(std::size_t end) {
  if (inSection && declaredLength != kUnknownLength && declaredLength != end - valueOffset) {
    beginRow(end, 0, 0,
             "the value has " + pluralize(end - valueOffset, "byte") + ", declaredLength says " +
                 std::to_string(declaredLength));
  }
  inSection = inValue = false;
}

// ---- Objects and arrays

void Dumper::followDepth(const Field& field) {
  if (field.kind != Kind::end && field.depth > frames.size()) frames.push_back(opening);
}

void Dumper::noteMarker(const Field& field) {
  if (field.kind == Kind::marker3) {
    marker3 = field.value;
  } else {
    isSwitched = field.value == 0x11;
    if (field.value == 0x03 || field.value == 0x10) open(false, false);
  }
}

void Dumper::noteHead(const Field& field) {
  headOffset = field.offset;
  if (field.of != Kind::head) return;
  if (marker3 == 0x09) return open(true, true);
  const bool isInline = (field.value & 2) != 0;
  open(false, true, isInline ? kNone : static_cast<std::size_t>(field.value >> 2));
  if (!isInline) return;
  readsTraits = true;
  traitsOffset = field.offset;
  className = {};
  sealedNames.clear();
}

void Dumper::noteName(Span memberName) {
  if (readsTraits) return sealedNames.push_back(memberName);
  name = memberName;
  hasName = name.length > 0 || !frames.back().isAMF3;  // an empty one ends a list of AMF3 members
}

// The name or index of the value that begins, and ": ".
std::string Dumper::labelFor(const Field& marker) {
  const bool isNamed = std::exchange(hasName, false);
  if (frames.empty() || (marker.kind == Kind::marker0 && marker.value == 0x09)) return "";
  if (isNamed) return quoteForDisplay(bytesOf(name), kLabelText) + ": ";
  Frame& frame = frames.back();
  const std::size_t index = frame.next++;
  if (frame.isArray) return '[' + std::to_string(index) + "]: ";
  const Traits* const known = find(traits, frame.traits);
  if (known == nullptr || index >= known->names.size()) return "";
  return quoteForDisplay(bytesOf(known->names[index]), kLabelText) + ": ";
}

// ---- Tables

void Dumper::noteEntry(const Field& field) {
  const std::string index = std::to_string(field.value) + ']';
  switch (field.kind) {
    case Kind::objectEntry:
      objects.push_back({markerOffset, {}});
      row.meaning += " [object " + index;
      break;
    case Kind::stringEntry:
      strings.push_back({headOffset, {row.offset, row.length}});
      row.meaning += " [string " + index;
      break;
    case Kind::traitsEntry:
      readsTraits = false;
      if (!frames.empty()) frames.back().traits = traits.size();
      traits.push_back({{traitsOffset, className}, std::move(sealedNames)});
      sealedNames.clear();
      row.meaning += " [traits " + index;
      break;
    default: amf0Entries.push_back({opening.offset, {}}); row.meaning += " [reference " + index;
  }
}

// An AMF0 object or array gets its index at its end, so the end is shown.
void Dumper::noteEnd(const Field& field) {
  if (frames.size() > field.depth) {  // else the object was empty
    opening = frames.back();
    frames.pop_back();
  }
  if (opening.isAMF3) return;
  beginRow(field.offset, 0, field.depth,
           std::string("end of the ") + (opening.isArray ? "array" : "object") + " at " +
               offsetText(opening.offset));
}

// ---- Meanings

std::string Dumper::targetText(const char* table, std::uint64_t index, const Entry* entry) const {
  const std::string named = std::string(table) + ' ' + std::to_string(index);
  if (entry == nullptr) return named + ", which does not exist";
  return named + " at " + offsetText(entry->offset) +
         (entry->text.length == 0 ? ""
                                  : ", " + quoteForDisplay(bytesOf(entry->text), kShortenedText));
}

std::string Dumper::meaningOfReference(const Field& field) {
  const std::uint64_t index = field.value >> 1;
  if (field.of != Kind::string && !isName(field.of)) {
    return targetText("object", index, find(objects, index));
  }
  const Entry* const entry = find(strings, index);
  const Span some = entry == nullptr ? Span{} : entry->text;
  if (field.of == Kind::className) className = some;
  if (field.of == Kind::memberName) noteName(some);
  return targetText("string", index, entry);
}

std::string Dumper::meaningOfHead(const Field& field) const {
  const std::uint64_t value = field.value;
  if (field.of == Kind::timeMs) return "a date";
  if (field.of == Kind::memberName && value == 1 && !readsTraits) return "no more named members";
  if (field.of != Kind::head) {
    return describe(field.of) + (" of " + pluralize(value >> 1, "byte"));
  }
  if (marker3 == 0x09) return pluralize(value >> 1, "dense value");
  if ((value & 2) == 0) return targetText("traits", value >> 2, find(traits, value >> 2));
  return pluralize(value >> 4, "sealed member") + ((value & 8) != 0 ? ", dynamic" : "") +
         ((value & 4) != 0 ? ", externalizable" : "");
}

std::string Dumper::meaningOf(const Field& field) {
  const std::string kind = describe(field.kind);
  const std::string number = ' ' + std::to_string(field.value);
  const Span some = {field.offset, field.length};
  switch (field.kind) {
    case Kind::marker0:
    case Kind::marker3: {
      const bool isAMF3 = field.kind == Kind::marker3;
      const std::string label = std::exchange(isSwitched, false) ? "" : labelFor(field);
      noteMarker(field);
      return label + kind + ' ' + hexByte(packet[field.offset]) + ' ' +
             (isAMF3 ? markerName3(field.value) : markerName0(field.value));
    }
    case Kind::mustUnderstand:
    case Kind::boolean: return kind + (field.value != 0 ? " true" : " false");
    case Kind::declaredLength:
      declaredLength = field.value;
      valueOffset = field.offset + field.length;
      inValue = true;
      return kind + (declaredLength == kUnknownLength ? " unknown" : number);
    case Kind::count: open(true, false); return kind + number;
    case Kind::number: return kind + ' ' + numberText(numberAt(packet, field.offset));
    case Kind::timeMs: return kind + ' ' + dateText(numberAt(packet, field.offset));
    case Kind::timeZone: return kind + ' ' + zoneText(packet, field.offset);
    case Kind::length: return kind + number + " of " + describe(field.of);
    case Kind::reference0:
      return kind + ": " + targetText("reference", field.value, find(amf0Entries, field.value));
    case Kind::reference3: return kind + number + ": " + meaningOfReference(field);
    case Kind::head: noteHead(field); return kind + number + ": " + meaningOfHead(field);
    case Kind::className: className = some; return kind + ' ' + quoteSpan(some);
    case Kind::memberName: noteName(some); return kind + ' ' + quoteSpan(some);
    case Kind::headerName:
    case Kind::targetUri:
    case Kind::responseUri:
    case Kind::string:
    case Kind::xml: return kind + ' ' + quoteSpan(some);
    case Kind::byteArray: return kind + " of " + pluralize(field.length, "byte");
    default: return kind + number;  // version, counts, integer
  }
}

void Dumper::field(const Field& field) {
  followDepth(field);
  if (field.kind > Kind::end) return noteEntry(field);
  if (field.kind == Kind::end) return noteEnd(field);
  if (field.kind == Kind::length && (field.of == Kind::headerName || field.of == Kind::targetUri)) {
    enterSection(field);
  }
  if (field.kind == Kind::messageCount) leaveSection(field.offset);
  const bool isMarker = field.kind == Kind::marker0 || field.kind == Kind::marker3;
  if (isMarker) markerOffset = field.offset;
  // Parts of a value are indented one step more than its marker.
  const bool isPart = !isMarker && inValue && !isName(field.of);
  std::string meaning = meaningOf(field);
  // An empty name has no row: its length was shown.
  if (field.length > 0 || !isName(field.kind)) {
    beginRow(field.offset, field.length, field.depth + (isPart ? 1 : 0), std::move(meaning));
  }
  coveredEnd = field.offset + field.length;
}

}  // namespace

AMFVerifyResult dumpPacket(std::string_view packet, const DumpOptions& options, std::string& text) {
  Dumper dumper(packet, options, text);
  const AMFVerifyResult result =
      visitPacket(packet.empty() ? "" : packet.data(), packet.size(), dumper, options.limits);
  dumper.finish(result);
  return result;
}
