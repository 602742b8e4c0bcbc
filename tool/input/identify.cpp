// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/identify_test.cpp and tests/tool/bytes_test.cpp.
#include "tool/input/identify.h"

#include <algorithm>
#include <optional>

#include "tool/input/containers.h"
#include "tool/input/form.h"
#include "tool/input/mojibake.h"
#include "tool/input/published_format.h"
#include "tool/input/unwrap.h"
#include "tool/input/wrappers.h"
#include "tool/problem.h"
#include "tool/text/hex.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace {

using Status = AMFVerifyStatus;

std::string atByte(std::size_t offset) {
  return " at byte " + std::to_string(offset);
}

Identity known(const char* kind, std::string verdict) {
  Identity identity;
  identity.isKnown = true;
  identity.kind = kind;
  identity.verdict = std::move(verdict);
  return identity;
}

Identity decodable(const char* kind, std::string verdict, std::string options) {
  Identity identity = known(kind, std::move(verdict));
  identity.command = "decode";
  identity.options = std::move(options);
  return identity;
}

// A dump shows every byte, also those that are not read as fields.
Identity dumpable(const char* kind, std::string verdict, std::string options) {
  Identity identity = decodable(kind, std::move(verdict), std::move(options));
  identity.command = "dump --full";
  return identity;
}

// For bytes that this dialect does not read, or reads in another way.
Identity exportable(const char* kind, std::string verdict) {
  Identity identity = known(kind, std::move(verdict));
  identity.command = "export";
  return identity;
}

// The same verdict, and that the published format reads all of the bytes.
Identity nowExportable(const Identity& refused) {
  return exportable(refused.kind, refused.verdict + "; the published format reads it");
}

// ---- Packets

// Finds the first name or URI. If it is not plain text, the bytes are probably no packet.
class FirstNameFinder : public AMFVerifyVisitor {
 public:
  explicit FirstNameFinder(std::string_view source) : bytes(source) {}
  void field(const AMFVerifyField& field) override {
    const bool isName =
        field.kind == AMFFieldKind::headerName || field.kind == AMFFieldKind::targetUri;
    if (isName && name.empty()) name = bytes.substr(field.offset, field.length);
  }
  std::string_view name;

 private:
  std::string_view bytes;
};

std::string_view nameIn(std::string_view bytes, const AMFVerifyLimits& limits) {
  FirstNameFinder first(bytes);
  visitPacket(bytes.data(), bytes.size(), first, limits);
  return first.name;
}

std::string packetText(std::string_view bytes, const AMFVerifyResult& checked) {
  const unsigned version = static_cast<unsigned>(static_cast<unsigned char>(bytes[0])) << 8 |
                           static_cast<unsigned char>(bytes[1]);
  return "AMF packet: version " + std::to_string(version) + ", " +
         pluralize(checked.headers, "header") + ", " + pluralize(checked.messages, "message") +
         ", " + pluralize(checked.consumed, "byte");
}

std::optional<Identity> wholePacket(std::string_view bytes, const AMFVerifyLimits& limits) {
  const AMFVerifyResult checked = verifyForm(bytes, Form::packet, limits);
  if (checked.status != Status::ok || checked.consumed != bytes.size()) return std::nullopt;
  const std::string verdict = packetText(bytes, checked);
  const char* const otherwise = dialectDifference(bytes);
  if (otherwise == nullptr) return decodable("packet", verdict, "");
  return exportable("packet", verdict + "; this dialect reads its " + otherwise +
                                  " otherwise than the published format");
}

// A packet with bytes after it. They may belong to it: the published formats read some values
// further than this dialect.
Identity packetAndMore(std::string_view bytes, const AMFVerifyResult& checked,
                       const AMFVerifyLimits& limits) {
  const std::string_view rest = bytes.substr(checked.consumed);
  const std::string verdict =
      packetText(bytes, checked) + ", and " + pluralize(rest.size(), "byte") + " after it";
  if (beginsPacket(rest, limits)) return decodable("packet", verdict + ": another packet", "");
  return dumpable("packet", verdict + " that this dialect does not read", "");
}

Identity refusedPacket(const AMFVerifyResult& checked) {
  const std::string where = std::string(checked.message) + atByte(checked.offset) + ", after " +
                            pluralize(checked.headers, "header") + " and " +
                            pluralize(checked.messages, "message");
  if (checked.status == Status::truncated) {
    return dumpable("refused packet", "AMF packet, ends too early for this dialect: " + where, "");
  }
  if (checked.status == Status::malformed) {
    return dumpable("refused packet", "AMF packet, refused by this dialect: " + where, "");
  }
  return known("refused packet", "AMF packet, over a limit: " + where);
}

// A packet that is not read completely, but enough to be recognised.
std::optional<Identity> almostPacket(std::string_view bytes, const AMFVerifyLimits& limits) {
  if (!hasPacketVersion(bytes) || !isPlainText(nameIn(bytes, limits))) return std::nullopt;
  const AMFVerifyResult checked = verifyForm(bytes, Form::packet, limits);
  const Identity almost =
      checked.status == Status::ok ? packetAndMore(bytes, checked, limits) : refusedPacket(checked);
  return readsAsPublished(bytes, AMFWireForm::packet) ? nowExportable(almost) : almost;
}

// ---- Values

std::optional<Identity> wholeValue(std::string_view bytes, Form form,
                                   const AMFVerifyLimits& limits) {
  const AMFVerifyResult checked = verifyForm(bytes, form, limits);
  const bool isEndMark = form == Form::amf0 && bytes[0] == 0x09;
  if (checked.status != Status::ok || checked.consumed != bytes.size() || isEndMark) {
    return std::nullopt;
  }
  return decodable(
      "value",
      std::string(nameOfValue(form)) + " without a packet: " + pluralize(bytes.size(), "byte"),
      optionFor(form));
}

// A call or script data: a name and its arguments, as consecutive AMF0 values.
std::optional<Identity> namedValues(std::string_view bytes, const AMFVerifyLimits& limits) {
  constexpr std::size_t kMost = 16;
  if (bytes[0] != 0x02) return std::nullopt;
  std::size_t number = 0, first = 0;
  for (std::size_t at = 0; at < bytes.size(); ++number) {
    const AMFVerifyResult checked = verifyForm(bytes.substr(at), Form::amf0, limits);
    if (checked.status != Status::ok || number == kMost) return std::nullopt;
    at += checked.consumed;
    if (number == 0) first = at;
  }
  return dumpable("values",
                  pluralize(number, "AMF0 value") + " without a packet: the first has " +
                      pluralize(first, "byte") + ", all have " + std::to_string(bytes.size()),
                  " --as amf0");
}

// Whether these bytes after the value of a container have no meaning: the end mark of an AMF0
// object, which some writers add to an array too, or the byte after each value of a shared object.
bool isEndMark(std::string_view bytes) {
  using namespace std::string_view_literals;
  return bytes == "\0"sv || bytes == "\0\0\x09"sv;
}

// AMF3 references in a container may refer to bytes before the value.
std::optional<Identity> inContainer(std::string_view bytes, const std::optional<Container>& found,
                                    const AMFVerifyLimits& limits) {
  if (!found) return std::nullopt;
  const bool isPublished = readsAsPublished(bytes, AMFWireForm::automatic);
  if (found->offset >= bytes.size()) return known(found->kind, found->what);
  const std::string_view own = bytes.substr(found->offset);
  const AMFVerifyResult checked = verifyForm(own, found->form, limits);
  std::string verdict = found->what + ", " + nameOfValue(found->form) + ' ' + found->valueName +
                        atByte(found->offset);
  if (checked.status != Status::ok || checked.references > 0) {
    verdict += ", which cannot be decoded alone";
    return isPublished ? exportable(found->kind, verdict) : known(found->kind, verdict);
  }
  const std::string_view rest = own.substr(checked.consumed);
  std::string options =
      std::string(optionFor(found->form)) + " --skip " + std::to_string(found->offset);
  if (isEndMark(rest)) {
    options += " --allow-trailing";
  } else if (!rest.empty()) {
    verdict += ", and " + pluralize(rest.size(), "byte") + " after it";
    if (isPublished) return exportable(found->kind, verdict);
  }
  return decodable(found->kind, verdict, options);
}

// ---- Mojibake

// Identifies the original bytes, and the filter that restores them.
std::optional<Identity> repaired(const std::optional<std::string>& before, const char* what,
                                 const char* filter, const AMFVerifyLimits& limits) {
  if (!before) return std::nullopt;
  auto identity = wholePacket(*before, limits);
  if (!identity) return std::nullopt;
  identity->kind = "changed packet";
  identity->verdict = what + (", was " + identity->verdict);
  identity->filter = filter;
  return identity;
}

std::optional<Identity> identifyMojibake(std::string_view bytes, const AMFVerifyLimits& limits) {
  if (auto identity =
          repaired(undoUTF8Encoding(bytes), "bytes from 80 on written as UTF-8 (C2 or C3 in front)",
                   "iconv -f UTF-8 -t ISO-8859-1", limits)) {
    return identity;
  }
  if (auto identity =
          repaired(undoCRLFConversion(bytes), "line ends translated (0D in front of each 0A)",
                   "sed 's/\\r$//'", limits)) {
    return identity;
  }
  const Replacements replaced = findReplacements(bytes);
  if (replaced.count == 0 || static_cast<unsigned char>(bytes[0]) >= 0x20) return std::nullopt;
  return known("changed bytes", "bytes lost to a text decoder: U+FFFD (EF BF BD) " +
                                    pluralize(replaced.count, "time") + ", first" +
                                    atByte(replaced.first));
}

// ---- Texts

std::optional<Identity> otherText(std::string_view bytes) {
  if (!isPlainText(bytes)) return std::nullopt;
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::string_view byteOrderMark = "\xEF\xBB\xBF";
  std::size_t begin = bytes.substr(0, 3) == byteOrderMark ? 3 : 0;
  begin = std::min(bytes.find_first_not_of(kBlanks, begin), bytes.size() - 1);
  const std::string start = lowerCase(std::string(bytes.substr(begin, 64)));
  const char last = bytes[std::min(bytes.find_last_not_of(kBlanks), bytes.size() - 1)];
  const auto begins = [&start](std::string_view with) { return start.rfind(with, 0) == 0; };
  const std::string why =
      ": begins with " + quoteForDisplay(bytes.substr(begin, 16), 16) + atByte(begin);
  if (begins("<!doctype html") || begins("<html")) return known("html", "HTML text" + why);
  if (begins("<") && last == '>') return known("xml", "XML text" + why);
  if (begins("{") && isExportDocument(bytes)) {
    Identity document = known("document", "JSON document of amf2json export");
    document.command = "import";
    return document;
  }
  if (last == '}' && isArchiveStart(start)) {
    Identity archive = exportable("har", "HTTP archive");
    archive.options = " --as har";
    return archive;
  }
  if ((begins("{") && last == '}') || (begins("[") && last == ']'))
    return known("json", "JSON text" + why);
  return std::nullopt;
}

Identity unknown(std::string_view bytes) {
  Identity identity;
  identity.verdict = "not recognised: begins with";
  for (const char byte : bytes.substr(0, 8)) identity.verdict += ' ' + hexByte(byte);
  return identity;
}

// Identifies bytes that are not wrapped.
std::optional<Identity> identifyBare(std::string_view bytes, const AMFVerifyLimits& limits) {
  if (bytes.empty()) {
    return known("empty", "empty: functions for text stop at a byte 00, with which packets begin");
  }
  if (auto found = wholePacket(bytes, limits)) return found;
  if (auto found = inContainer(bytes, sharedObjectIn(bytes), limits)) return found;
  if (auto found = inContainer(bytes, scriptTagIn(bytes), limits)) return found;
  if (auto found = identifyMojibake(bytes, limits)) return found;
  if (auto found = almostPacket(bytes, limits)) return found;
  if (auto found = wholeValue(bytes, Form::amf0, limits)) return found;
  if (auto found = wholeValue(bytes, Form::amf3, limits)) return found;
  if (auto found = namedValues(bytes, limits)) return found;
  return std::nullopt;
}

// For a wrapper that a build without zlib cannot remove.
Identity compressed(std::string_view bytes, const std::string& verdict) {
  Identity identity = known("compressed", verdict);
  if (isGzip(bytes)) {
    identity.wrappers = {"gzip"};
    identity.command = "identify";
    identity.filter = "gzip -dc";
  } else if (isZlib(bytes)) {
    identity.wrappers = {"zlib"};
  }
  return identity;
}

Identity identifyInside(std::string_view bytes, const AMFVerifyLimits& limits, std::size_t depth);

// Digits and base64 are called wrappers only if their content is known, because any word can be
// base64.
std::optional<Identity> identifyWrapped(std::string_view bytes, const AMFVerifyLimits& limits,
                                        std::size_t depth) {
  const auto match = [&limits](std::string_view some) {
    return identifyBare(some, limits) ? Match::yes : Match::no;
  };
  std::optional<UnwrappedLayer> found;
  try {
    found = unwrapOnce(bytes, limits.maxPacketBytes, match);
  } catch (const Problem& problem) {
    if (problem.status == kNoZlib) return compressed(bytes, problem.message);
    return known("broken wrapper", problem.message + atByte(problem.offset.value_or(0)));
  }
  if (!found || depth == kMaxWrappers) return std::nullopt;
  Identity inside = identifyInside(found->content, limits, depth + 1);
  if (!inside.isKnown && isPlainText(bytes)) return std::nullopt;
  std::string outside = found->name;
  if (found->trailing) outside += " (" + trailingBytesText(*found->trailing) + ")";
  inside.verdict = outside + " > " + inside.verdict;
  inside.wrappers.insert(inside.wrappers.begin(), found->name);
  // A filter would have to run between the wrappers: no command does that.
  if (!inside.filter.empty()) inside.command = nullptr;
  if (inside.options.find(" --unwrap") == std::string::npos) inside.options.insert(0, " --unwrap");
  return inside;
}

Identity identifyInside(std::string_view bytes, const AMFVerifyLimits& limits, std::size_t depth) {
  if (auto found = identifyBare(bytes, limits)) return *found;
  if (auto found = identifyWrapped(bytes, limits, depth)) return *found;
  if (auto found = otherText(bytes)) return *found;
  return unknown(bytes);
}

}  // namespace

Identity identify(std::string_view bytes, const AMFVerifyLimits& limits) {
  return identifyInside(bytes, limits, 0);
}

std::string commandFor(const Identity& identity, const std::string& file) {
  if (identity.command == nullptr) return "";
  const std::string line = std::string("amf2json ") + identity.command + identity.options;
  const std::string word = quoteForShell(file);
  if (identity.filter.empty()) return line + ' ' + word;
  return identity.filter + ' ' + word + " | " + line;
}
