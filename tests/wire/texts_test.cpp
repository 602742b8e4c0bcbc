// SPDX-License-Identifier: Apache-2.0
//
// The texts inside of documents: numbers, dates, base64, UTF-8; names of objects; and the bound of
// a text's length.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "wire/base64.h"
#include "wire/calls.h"
#include "wire/date_text.h"
#include "wire/name_set.h"
#include "wire/number_text.h"
#include "wire/text_output.h"
#include "wire/utf8.h"

namespace {

using namespace amf2json::wire;

std::string numberText(double value) {
  char text[kNumberMax];
  return {text, static_cast<std::size_t>(putNumber(text, value) - text)};
}

TEST(WireTexts, NumbersAsJavaScriptWritesThem) {
  const struct {
    double value;
    const char* text;
  } rows[] = {{0, "0"},
              {1, "1"},
              {-1, "-1"},
              {0.1, "0.1"},
              {-0.25, "-0.25"},
              {1e20, "100000000000000000000"},
              {1e21, "1e+21"},
              {1.5e300, "1.5e+300"},
              {1e-6, "0.000001"},
              {1e-7, "1e-7"},
              {1.25e-10, "1.25e-10"},
              {123456789.125, "123456789.125"},
              {9007199254740992.0, "9007199254740992"},
              {9007199254740994.0, "9007199254740994"},
              {4.35, "4.35"},
              {0.3, "0.3"},
              {0.1 + 0.2, "0.30000000000000004"},
              {5e-324, "5e-324"},
              {1.7976931348623157e308, "1.7976931348623157e+308"},
              {999999.9999, "999999.9999"}};
  for (const auto& row : rows) {
    EXPECT_EQ(numberText(row.value), row.text);
    EXPECT_EQ(lengthOfNumber(row.value), std::strlen(row.text));
  }
}

// What comes back, and no shorter text that would.
void checkNumber(double value) {
  const std::string text = numberText(value);
  double back = 0;
  ASSERT_EQ(readNumber(text.data(), text.size(), back), NumberRead::ok) << text;
  ASSERT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
  ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
  char shortest[64];
  for (int digits = 1; digits <= 17; ++digits) {
    std::snprintf(shortest, sizeof shortest, "%.*e", digits - 1, value);
    if (std::strtod(shortest, nullptr) == value) break;
  }
  std::string expected;
  for (const char* at = shortest; *at != 'e'; ++at) {
    if (*at >= '0' && *at <= '9') expected += *at;
  }
  std::string found;
  for (const char c : text) {
    if (c == 'e') break;
    if (c >= '0' && c <= '9') found += c;
  }
  const auto bare = [](const std::string& digits) {
    const std::size_t first = digits.find_first_not_of('0');
    return digits.substr(first, digits.find_last_not_of('0') + 1 - first);
  };
  ASSERT_EQ(bare(found), bare(expected)) << text;
}

TEST(WireTexts, NumbersComeBack) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value) && value != 0) checkNumber(value);
    checkNumber(static_cast<double>(random() % 100000000 + 1) / 100);
    checkNumber(static_cast<double>(static_cast<std::int64_t>(random() % 2000000 + 1)) / 10000);
    checkNumber(static_cast<double>(random() >> (random() % 60)) + 1);
  }
}

TEST(WireTexts, Dates) {
  char text[kDateLength];
  double back = 0;
  const double yearMs = 31556952000.0;
  for (double time = -62167219200000.0; time <= 253402300799999.0; time += yearMs / 7 + 12345.0) {
    ASSERT_TRUE(hasDateText(time));
    ASSERT_EQ(putDate(text, time), text + kDateLength);
    ASSERT_TRUE(readDate(text, kDateLength, back)) << std::string(text, kDateLength);
    ASSERT_EQ(back, time) << std::string(text, kDateLength);
  }
  EXPECT_FALSE(hasDateText(-62167219200001.0));
  EXPECT_FALSE(hasDateText(253402300800000.0));
}

TEST(WireTexts, Base64) {
  std::string bytes;
  for (int length = 0; length < 300; ++length) {
    std::string text(base64Length(bytes.size()), '?');
    ASSERT_EQ(putBase64(text.data(), bytes.data(), bytes.size()), text.data() + text.size());
    std::string back = text;  // in place
    ASSERT_EQ(readBase64(back.data(), back.data(), back.size()), bytes.size());
    ASSERT_EQ(back.substr(0, bytes.size()), bytes);
    bytes += static_cast<char>(length * 37);
  }
  const char* const refused[] = {
      "A", "AA", "AAA", "A===", "AB==", "AAB=", "AA=A", "A A=", "AAAA=", "AA==AAAA", "-_AA"};
  for (const char* const text : refused) {
    char to[16];
    EXPECT_EQ(readBase64(to, text, std::strlen(text)), kNoBase64) << text;
  }
}

TEST(WireTexts, Utf8) {
  const struct {
    const char* text;
    bool isUtf8;
  } rows[] = {{"", true},
              {"a", true},
              {"\x7F", true},
              {"\xC2\x80", true},
              {"\xC1\xBF", false},
              {"\xDF\xBF", true},
              {"\xE0\xA0\x80", true},
              {"\xE0\x9F\xBF", false},
              {"\xED\x9F\xBF", true},
              {"\xED\xA0\x80", false},
              {"\xEF\xBF\xBF", true},
              {"\xF0\x90\x80\x80", true},
              {"\xF0\x8F\xBF\xBF", false},
              {"\xF4\x8F\xBF\xBF", true},
              {"\xF4\x90\x80\x80", false},
              {"\xF5\x80\x80\x80", false},
              {"\x80", false},
              {"\xC2", false},
              {"\xE2\x82", false},
              {"\xE2\x28\xA1", false},
              {"\xF0\x9F\x98", false}};
  for (const auto& row : rows) {
    // At every place of a longer text.
    for (std::size_t before = 0; before < 18; ++before) {
      for (const unsigned after : {0u, 1u, 9u}) {
        const std::string text = std::string(before, 'x') + row.text + std::string(after, 'y');
        EXPECT_EQ(textOf(text.data(), text.size()).isUtf8, row.isUtf8) << row.text << before;
        EXPECT_EQ(firstNotUtf8(text.data(), text.data() + text.size()) == text.data() + text.size(),
                  row.isUtf8);
      }
    }
  }
}

TEST(WireTexts, EscapesAreCountedAsTheyAreWritten) {
  std::mt19937 random(1);
  const char some[] = {'a', '"', '\\', '\n', '\x01', '\x1F', ' ', '~', '\x7F', '\xC3'};
  for (int i = 0; i < 5000; ++i) {
    std::string text;
    for (std::size_t length = random() % 40; length > 0; --length) {
      text += some[random() % (i % 3 == 0 ? 10 : 2)];
      if (text.back() == '\xC3') text += '\xA9';
    }
    LongTexts texts(text.data(), text.size());
    TextCounter counter(texts, 1000);
    ASSERT_TRUE(counter.quoted(text, false));
    std::string written(counter.length(), '?');
    TextBuffer buffer(written.data(), written.size());
    ASSERT_TRUE(buffer.quoted(text, false)) << text;
    ASSERT_EQ(buffer.length(), written.size());
    std::string bytes;
    ASSERT_TRUE(
        amfWireImport(("{\"amf0\":[" + written + "]}").data(), written.size() + 11, bytes).ok())
        << written;
    ASSERT_EQ(bytes.substr(3), text);
  }
}

// Each call writes into a block of every size up to that of its text, whose end is guarded.
TEST(WireTexts, NothingIsWrittenBeyondTheBuffer) {
  const struct {
    const char* text;
    std::function<void(TextBuffer&)> write;
  } rows[] = {
      {",\"$date\":", [](TextBuffer& to) { to.plainKey("$date", 5, true); }},
      {"\"$date\":", [](TextBuffer& to) { to.plainKey("$date", 5, false); }},
      {",\"country of birth\":", [](TextBuffer& to) { to.key("country of birth", true); }},
      {"\"$$id\":", [](TextBuffer& to) { to.key("$id", false); }},
      {",\"\":", [](TextBuffer& to) { to.key("", true); }},
      {",\"a\\n\":", [](TextBuffer& to) { to.key("a\n", true); }},
      {"\"plain text\"", [](TextBuffer& to) { to.quoted("plain text", false); }},
      {"\"\xC3\xA9\"", [](TextBuffer& to) { to.quoted("\xC3\xA9", false); }},
      {"-12345", [](TextBuffer& to) { to.integer(-12345); }},
      {"0.1", [](TextBuffer& to) { to.number(0.1); }},
      {"1970-01-01T00:00:00.000Z", [](TextBuffer& to) { to.date(0); }},
      {"NaN", [](TextBuffer& to) { to.word(std::nan("")); }},
      {"AQI=", [](TextBuffer& to) { to.base64(AMFWireString("\x01\x02", 2)); }},
      {"true", [](TextBuffer& to) { to.characters("true", 4); }},
      {"    ", [](TextBuffer& to) { to.blanks(4); }},
      {"{", [](TextBuffer& to) { to.character('{'); }},
  };
  for (const auto& row : rows) {
    const std::string text = row.text;
    for (std::size_t size = 0; size <= text.size() + 20; ++size) {
      SCOPED_TRACE(text + " in " + std::to_string(size));
      const std::unique_ptr<char[]> block(new char[size]);
      TextBuffer buffer(block.get(), size);
      if (size < text.size()) {
        EXPECT_THROW(row.write(buffer), TextTooLong);
      } else {
        row.write(buffer);
        EXPECT_EQ(std::string(block.get(), buffer.length()), text);
      }
    }
  }
}

// The texts of errors are not of the input: two may have the same address, one after the other.
TEST(WireTexts, OtherTextsAreNotRemembered) {
  const std::string input(100, 'i');
  char other[100];
  LongTexts texts(input.data(), input.size());
  for (const std::size_t length : {80u, 70u, 90u}) {
    for (int i = 0; i < 3; ++i) {
      std::memset(other, length == 70 ? '"' : 'a', length);
      EXPECT_EQ(texts.text({other, length}).length, length == 70 ? 140 : length);
      EXPECT_EQ(texts.text({input.data() + 10, 80}).length, 80u);
    }
  }
}

TEST(WireTexts, NamesOfObjectsInOneAnother) {
  std::string input;
  for (unsigned i = 0; i < 3000; ++i) input += "n" + std::to_string(10000 + i);
  LongTexts texts(input.data(), input.size());
  NameSet names(input.data(), texts);
  const auto name = [&](unsigned i) { return AMFWireString(input.data() + i * std::size_t{6}, 6); };
  for (int round = 0; round < 3; ++round) {
    names.open();
    for (unsigned i = 0; i < 3000; ++i) {
      EXPECT_TRUE(names.add(name(i))) << i;
      if (i % 500 != 0) continue;
      names.open();  // the inner object has names of its own
      for (unsigned j = 0; j < 20; ++j) EXPECT_TRUE(names.add(name(j)));
      for (unsigned j = 0; j < 20; ++j) EXPECT_FALSE(names.add(name(j)));
      names.close();
    }
    for (unsigned i = 0; i < 3000; ++i) EXPECT_FALSE(names.add(name(i))) << i;
    names.close();
  }
}

}  // namespace
