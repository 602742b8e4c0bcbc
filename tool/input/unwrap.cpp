// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/unwrap_test.cpp.
#include "tool/input/unwrap.h"

#include <algorithm>

#include "tool/input/wrappers.h"
#include "tool/text/hex.h"
#include "tool/text/words.h"

namespace {

constexpr std::size_t kMostWrappers = 8;

bool isTyped(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 0x20 ? value != 0x7F : value >= 0x09 && value <= 0x0D;
}

// Digits may be those of both: then whichever holds what is wanted, else hexadecimal.
std::optional<Wrapped> takeOffText(std::string_view text, std::size_t most,
                                   const IsWanted& isWanted) {
  auto hex = fromHexText(text, most);
  if (hex && isWanted(*hex) != Wanted::no) return Wrapped{"hexadecimal text", std::move(*hex)};
  auto base64 = fromBase64Text(text, most);
  if (base64 && (!hex || isWanted(*base64) != Wanted::no))
    return Wrapped{"base64 text", std::move(*base64)};
  if (hex) return Wrapped{"hexadecimal text", std::move(*hex)};
  return std::nullopt;
}

// The body of a message, and what follows the message.
Wrapped fromMessage(HTTPBody body, std::string_view bytes) {
  Wrapped wrapped{"HTTP message", std::move(body.bytes)};
  const std::string_view rest = bytes.substr(body.end);
  if (!rest.empty()) wrapped.leftOver = LeftOver{body.end, rest.size(), beginsHTTPMessage(rest)};
  return wrapped;
}

// A warning about what follows the wrapper around `bytes`.
Problem leftOverProblem(const LeftOver& leftOver, const Unwrapped& around) {
  Problem problem = wrapperProblem(
      kLeftOver, "left over", leftOverText(leftOver) + insideOf(around.wrappers), leftOver.offset);
  problem.isWarning = true;
  problem.bytes = hexAround(around.bytes, leftOver.offset);
  return problem;
}

}  // namespace

IsWanted isForm(Form form, std::size_t skip, const AMFVerifyLimits& limits) {
  return [form, skip, &limits](std::string_view bytes) {
    if (skip != 0) return Wanted::no;
    const AMFVerifyResult checked = verifyForm(bytes, form, limits);
    if (checked.status != AMFVerifyStatus::ok) return Wanted::no;
    const bool isWhole = checked.consumed == bytes.size();
    return isWhole || !isPlainText(bytes) ? Wanted::yes : Wanted::unlessWrapped;
  };
}

bool isPlainText(std::string_view bytes) {
  return !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), isTyped);
}

std::optional<Wrapped> takeOff(std::string_view bytes, std::size_t most, const IsWanted& isWanted) {
  if (isGzip(bytes)) return Wrapped{"gzip", inflated(bytes, Compression::gzip, "gzip", most)};
  if (auto body = fromHTTPMessage(bytes, most)) return fromMessage(std::move(*body), bytes);
  if (isPlainText(bytes)) {
    if (auto text = takeOffText(bytes, most, isWanted)) return text;
  }
  if (isZlib(bytes)) return Wrapped{"zlib", inflated(bytes, Compression::zlib, "zlib", most)};
  return std::nullopt;
}

Unwrapped unwrap(std::string bytes, std::size_t most, const IsWanted& isWanted) {
  Unwrapped result{std::move(bytes), {}, {}};
  try {
    for (Wanted wanted; (wanted = isWanted(result.bytes)) != Wanted::yes;) {
      if (result.wrappers.size() == kMostWrappers) {
        throw wrapperProblem(kOverLimit, "too many wrappers", "more than 8 wrappers", 0);
      }
      auto wrapped = takeOff(result.bytes, most, isWanted);
      if (!wrapped && wanted == Wanted::no && isPlainText(result.bytes)) {
        throw brokenWrapper("text that is neither hexadecimal nor base64", 0);
      }
      if (!wrapped) break;
      if (wrapped->leftOver) {
        result.leftOvers.push_back(leftOverProblem(*wrapped->leftOver, result));
      }
      result.wrappers.push_back(wrapped->name);
      result.bytes = std::move(wrapped->content);
    }
  } catch (Problem& problem) {
    problem.message += insideOf(result.wrappers);
    problem.bytes = hexAround(result.bytes, problem.offset.value_or(0));
    throw;
  }
  return result;
}

std::string leftOverText(const LeftOver& leftOver) {
  return words(leftOver.length, "byte") + " left over after the body of the HTTP message" +
         (leftOver.isMessage ? ": another HTTP message" : "");
}

std::string insideOf(const std::vector<const char*>& wrappers) {
  std::string text;
  for (const char* const wrapper : wrappers)
    text += (text.empty() ? "" : " > ") + std::string(wrapper);
  return text.empty() ? "" : ", in what " + text + " holds";
}
