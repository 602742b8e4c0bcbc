// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/unwrap_test.cpp.
#include "tool/input/wrappers.h"

#include <algorithm>
#include <cstdint>

#include "tool/text/digits.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr const char* kWhat = "hexadecimal text";

// A line of columns: "00000010: 2f31 ...", "00000010  2f 31 ...".
struct Columns {
  std::size_t offset;
  std::string_view data;
};

class HexText {
 public:
  HexText(std::string_view source, std::size_t limit) : text(source), maxBytes(limit) {}

  std::optional<std::string> bytes() {
    const std::size_t brace = text.find('{');
    if (text.find("0x") != std::string_view::npos) return array(brace);
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = std::min(text.find('\n', at), text.size());
      if (!line(text.substr(at, end - at))) return std::nullopt;
      at = end + 1;
    }
    return found.empty() ? std::nullopt : std::optional<std::string>(std::move(found));
  }

 private:
  bool line(std::string_view one) {
    if (hasColumns && one.substr(0, one.find_last_not_of(kBlanks) + 1) == "*") {
      return isRepeated = true;
    }
    if (const auto columns = columnsOf(one)) {
      hasColumns = true;
      if (columns->offset != found.size()) repeat(columns->offset, one);
      lastRow = found.size();
      return digits(columns->data);
    }
    return digits(one.substr(0, one.find('#')));
  }

  // Rows that repeat the previous row are left out; a "*" stands for them.
  void repeat(std::size_t offset, std::string_view one) {
    const std::string row = found.substr(lastRow);
    if (!isRepeated || row.empty() || offset < found.size()) {
      throw malformedWrapper(std::string(kWhat) + ": the offset in front of the line is not " +
                                 std::to_string(found.size()),
                             offsetOf(one));
    }
    if (offset > maxBytes) throw unwrappedTooLarge(kWhat, maxBytes, offsetOf(one));
    while (found.size() < offset) found += row.substr(0, offset - found.size());
    isRepeated = false;
  }

  // An offset of at least four digits, followed by a colon or two blanks. The last line may have
  // only the offset.
  std::optional<Columns> columnsOf(std::string_view one) const {
    const std::size_t length = std::min(one.find_first_not_of(kHexDigits), one.size());
    if (length < 4 || length > 16) return std::nullopt;
    std::string_view rest = one.substr(length);
    const bool hasColon = !rest.empty() && rest[0] == ':';
    if (hasColon) {
      rest = rest.substr(1);
      rest = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
      rest = rest.substr(0, rest.find("  "));  // the characters follow
    } else if (rest.substr(0, 2) == "  ") {
      rest = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
      rest = rest.substr(0, std::min(rest.find('|'), rest.find("   ")));
    } else if (!hasColumns || rest.find_first_not_of(kBlanks) != std::string_view::npos) {
      return std::nullopt;
    }
    std::uint64_t offset = 0;
    for (const char digit : one.substr(0, length))
      offset = offset << 4 | static_cast<unsigned>(hexValue(digit));
    return Columns{static_cast<std::size_t>(offset), rest};
  }

  // Pairs of digits with blanks between them. False if there is anything else.
  bool digits(std::string_view some) {
    for (std::size_t at = some.find_first_not_of(kBlanks); at != std::string_view::npos;) {
      const std::size_t end = std::min(some.find_first_of(kBlanks, at), some.size());
      if (!word(some.substr(at, end - at))) return false;
      at = some.find_first_not_of(kBlanks, end);
    }
    return true;
  }

  bool word(std::string_view pairs) {
    const std::size_t stranger = pairs.find_first_not_of(kHexDigits);
    if (stranger != std::string_view::npos) {
      if (!hasColumns) return false;
      throw malformedWrapper(std::string(kWhat) + ": not a digit", offsetOf(pairs) + stranger);
    }
    if (pairs.size() % 2 != 0) {
      if (text.find_first_not_of(std::string(kHexDigits).append(kBlanks)) !=
              std::string_view::npos &&
          !hasColumns) {
        return false;  // the word need not be hexadecimal
      }
      throw malformedWrapper(std::string(kWhat) + ": an odd number of digits", offsetOf(pairs));
    }
    if (pairs.size() / 2 > maxBytes - found.size())
      throw unwrappedTooLarge(kWhat, maxBytes, offsetOf(pairs));
    for (std::size_t i = 0; i < pairs.size(); i += 2) append(pairs.substr(i, 2));
    return true;
  }

  // 0x00, 0x03: inside braces, if there are any.
  std::optional<std::string> array(std::size_t brace) {
    const std::size_t begin = brace == std::string_view::npos ? 0 : brace + 1;
    const std::size_t end = brace == std::string_view::npos ? text.size() : text.find('}', begin);
    if (end == std::string_view::npos) return std::nullopt;
    constexpr std::string_view kSeparators = " \t\r\n,";
    const std::string_view items = text.substr(begin, end - begin);
    for (std::size_t at = items.find_first_not_of(kSeparators); at != std::string_view::npos;) {
      const std::size_t stop = std::min(items.find_first_of(kSeparators, at), items.size());
      const std::string_view item = items.substr(at, stop - at);
      const bool isByte = item.size() >= 3 && item.size() <= 4 && item[0] == '0' &&
                          item[1] == 'x' &&
                          item.find_first_not_of(kHexDigits, 2) == std::string_view::npos;
      if (!isByte) return std::nullopt;
      if (found.size() == maxBytes) throw unwrappedTooLarge(kWhat, maxBytes, offsetOf(item));
      append(item.substr(2));
      at = items.find_first_not_of(kSeparators, stop);
    }
    return found.empty() ? std::nullopt : std::optional<std::string>(std::move(found));
  }

  void append(std::string_view one) {
    unsigned value = 0;
    for (const char digit : one) value = value << 4 | static_cast<unsigned>(hexValue(digit));
    found += static_cast<char>(value);
  }

  std::size_t offsetOf(std::string_view some) const {
    return static_cast<std::size_t>(some.data() - text.data());
  }

  const std::string_view text;
  const std::size_t maxBytes;
  std::string found;
  bool hasColumns = false;
  bool isRepeated = false;
  std::size_t lastRow = 0;  // offset of the bytes of the last line
};

}  // namespace

std::optional<std::string> decodeHexText(std::string_view text, std::size_t maxBytes) {
  return HexText(text, maxBytes).bytes();
}
