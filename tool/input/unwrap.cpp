// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/unwrap_test.cpp.
#include "tool/input/unwrap.h"

#include <algorithm>

#include "tool/input/wrappers.h"
#include "tool/text/hex.h"
#include "tool/text/words.h"

namespace {

bool isTextByte(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 0x20 ? value != 0x7F : value >= 0x09 && value <= 0x0D;
}

// A text of digits may be both hexadecimal and base64. The decoding that matches is used; if
// neither does, hexadecimal.
std::optional<UnwrappedLayer> unwrapText(std::string_view text, std::size_t maxBytes,
                                         const Matcher& match) {
  auto hex = decodeHexText(text, maxBytes);
  if (hex && match(*hex) != Match::no) return UnwrappedLayer{"hexadecimal text", std::move(*hex)};
  auto base64 = decodeBase64Text(text, maxBytes);
  if (base64 && (!hex || match(*base64) != Match::no))
    return UnwrappedLayer{"base64 text", std::move(*base64)};
  if (hex) return UnwrappedLayer{"hexadecimal text", std::move(*hex)};
  return std::nullopt;
}

// The body of a message, and the bytes after the message.
UnwrappedLayer fromMessage(HTTPBody body, std::string_view bytes) {
  UnwrappedLayer wrapped{"HTTP message", std::move(body.bytes)};
  const std::string_view rest = bytes.substr(body.end);
  if (!rest.empty())
    wrapped.trailing = TrailingBytes{body.end, rest.size(), beginsHTTPMessage(rest)};
  return wrapped;
}

// A warning about bytes after the wrapper around `bytes`.
Problem trailingBytesProblem(const TrailingBytes& trailing, const Unwrapped& around) {
  Problem problem = wrapperProblem(kTrailingBytes, "left over",
                                   trailingBytesText(trailing) + insideWrappers(around.wrappers),
                                   trailing.offset);
  problem.isWarning = true;
  problem.hexContext = hexAround(around.bytes, trailing.offset);
  return problem;
}

}  // namespace

Matcher matchForm(Form form, std::size_t skip, const AMFVerifyLimits& limits) {
  return [form, skip, &limits](std::string_view bytes) {
    if (skip != 0) return Match::no;
    const AMFVerifyResult checked = verifyForm(bytes, form, limits);
    if (checked.status != AMFVerifyStatus::ok) return Match::no;
    const bool isWhole = checked.consumed == bytes.size();
    return isWhole || !isPlainText(bytes) ? Match::yes : Match::weak;
  };
}

bool isPlainText(std::string_view bytes) {
  return !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), isTextByte);
}

std::optional<UnwrappedLayer> unwrapOnce(std::string_view bytes, std::size_t maxBytes,
                                         const Matcher& match) {
  if (isGzip(bytes))
    return UnwrappedLayer{"gzip", inflated(bytes, Compression::gzip, "gzip", maxBytes)};
  if (auto body = decodeHTTPMessage(bytes, maxBytes)) return fromMessage(std::move(*body), bytes);
  if (isPlainText(bytes)) {
    if (auto text = unwrapText(bytes, maxBytes, match)) return text;
  }
  if (isZlib(bytes))
    return UnwrappedLayer{"zlib", inflated(bytes, Compression::zlib, "zlib", maxBytes)};
  return std::nullopt;
}

Unwrapped unwrap(std::string bytes, std::size_t maxBytes, const Matcher& match) {
  Unwrapped result{std::move(bytes), {}, {}};
  try {
    for (Match matched; (matched = match(result.bytes)) != Match::yes;) {
      if (result.wrappers.size() == kMaxWrappers) {
        throw wrapperProblem(kOverLimit, "too many wrappers", "more than 8 wrappers", 0);
      }
      auto wrapped = unwrapOnce(result.bytes, maxBytes, match);
      if (!wrapped && matched == Match::no && isPlainText(result.bytes)) {
        throw malformedWrapper("text that is neither hexadecimal nor base64", 0);
      }
      if (!wrapped) break;
      if (wrapped->trailing) {
        result.trailingWarnings.push_back(trailingBytesProblem(*wrapped->trailing, result));
      }
      result.wrappers.push_back(wrapped->name);
      result.bytes = std::move(wrapped->content);
    }
  } catch (Problem& problem) {
    problem.message += insideWrappers(result.wrappers);
    problem.hexContext = hexAround(result.bytes, problem.offset.value_or(0));
    throw;
  }
  return result;
}

std::string trailingBytesText(const TrailingBytes& trailing) {
  return pluralize(trailing.length, "byte") + " left over after the body of the HTTP message" +
         (trailing.isMessage ? ": another HTTP message" : "");
}

std::string insideWrappers(const std::vector<const char*>& wrappers) {
  std::string text;
  for (const char* const wrapper : wrappers)
    text += (text.empty() ? "" : " > ") + std::string(wrapper);
  return text.empty() ? "" : ", in what " + text + " holds";
}
