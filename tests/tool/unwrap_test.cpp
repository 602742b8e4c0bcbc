// SPDX-License-Identifier: Apache-2.0
//
// Removes the wrappers of packets, and refuses malformed ones. Exercises tool/input/unwrap.cpp,
// tool/input/hex_text.cpp, tool/input/base64_text.cpp, tool/input/inflate.cpp, tool/input/http_message.cpp and
// tool/input/form.cpp.
#include "tool/input/unwrap.h"

#include <gtest/gtest.h>

#include "support/guard_packets.h"
#include "support/wrappers.h"
#include "tool/problem.h"

using namespace support;

namespace {

constexpr std::size_t kMost = 1 << 20;

Match isPacket(std::string_view bytes) {
  const AMFVerifyResult checked = verifyForm(bytes, Form::packet, AMFVerifyLimits());
  return checked.status == AMFVerifyStatus::ok ? Match::yes : Match::no;
}

// The wrappers and the bytes in hexadecimal, or what was wrong.
std::string lineOf(const std::string& bytes, std::size_t most = kMost) {
  try {
    const Unwrapped unwrapped = unwrap(bytes, most, isPacket);
    std::string line;
    for (const char* const wrapper : unwrapped.wrappers) line += wrapper + std::string(" > ");
    line += toHex(unwrapped.bytes);
    for (const Problem& warning : unwrapped.trailingWarnings) {
      EXPECT_TRUE(warning.isWarning && warning.exitCode == kTrailingBytes);
      line += "; byte " + std::to_string(warning.offset.value()) + ": " + warning.message;
    }
    return line;
  } catch (const Problem& problem) {
    return "exit " + std::to_string(problem.exitCode) + ", " + problem.status + ", byte " +
           std::to_string(problem.offset.value()) + ": " + problem.message;
  }
}

struct Row {
  const char* name;
  std::string bytes;
  const char* line;
};

const std::string kEmpty = hex("0003 0000 0000");
const char kEmptyHex[] = "00 03 00 00 00 00";

// ---- Texts

const Row kTexts[] = {
    {"a packet is left as it is", kEmpty, kEmptyHex},
    {"what is neither a wrapper nor text is left as it is", hex("FF FE 00"), "FF FE 00"},
    {"digits", "000300000000", "hexadecimal text > 00 03 00 00 00 00"},
    {"small and large digits", "0003 0000 0001 ab CD 00",
     "hexadecimal text > 00 03 00 00 00 01 AB CD 00"},
    {"comments and line ends", "# a packet\r\n00 03 # version\r\n0000 0000\r\n",
     "hexadecimal text > 00 03 00 00 00 00"},
    {"an odd number of digits", "0003 0000 000",
     "exit 6, malformed wrapper, byte 10: hexadecimal text: an odd number of digits"},
    {"xxd",
     "00000000: 0003 0000 0000 4142 4344 4546 4748 494a  ......ABCDEFGHIJ\n00000010: 4b  K\n",
     "hexadecimal text > 00 03 00 00 00 00 41 42 43 44 45 46 47 48 49 4A 4B"},
    {"hexdump -C",
     "00000000  00 03 00 00 00 00 7c 42  43 44 45 46 47 48 49 4a  |......|BCDEFGHIJ|\n"
     "00000010  4b                                                |K|\n00000011\n",
     "hexadecimal text > 00 03 00 00 00 00 7C 42 43 44 45 46 47 48 49 4A 4B"},
    {"rows that are left out",
     "00000000  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  "
     "|................|\n*\n00000028\n",
     "hexadecimal text > 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
     "00 "
     "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
    {"columns of four digits", "0000  00 03 00 00 00 00   ......\n",
     "hexadecimal text > 00 03 00 00 00 00"},
    {"a line is missing", "00000000: 0003\n00000010: 0000\n",
     "exit 6, malformed wrapper, byte 15: hexadecimal text: the offset in front of the line is not "
     "2"},
    {"a column is damaged", "00000000: 0003 00z0\n",
     "exit 6, malformed wrapper, byte 17: hexadecimal text: not a digit"},
    {"half a byte in a column", "00000000: 0003 000\n",
     "exit 6, malformed wrapper, byte 15: hexadecimal text: an odd number of digits"},
    {"a C array", "unsigned char p[] = {\n  0x00, 0x03, 0x0, 0x00,\n  0x00, 0x00\n};\nint n = 6;\n",
     "hexadecimal text > 00 03 00 00 00 00"},
    {"items of a C array", "0x00,0x03,0x00,0x00,0x00,0x00,",
     "hexadecimal text > 00 03 00 00 00 00"},
    {"base64", "AAMAAAAA", "base64 text > 00 03 00 00 00 00"},
    {"base64 of hexadecimal digits alone", "AAAAAAAA", "base64 text > 00 00 00 00 00 00"},
    {"base64, both alphabets, lines, padding", "AAMA\r\nAAAA\r\n+/-_Zg==\n",
     "base64 text > 00 03 00 00 00 00 FB FF BF 66"},
    {"base64 without padding", "AAMAAAAAZg", "base64 text > 00 03 00 00 00 00 66"},
    {"a data URI", "data:application/x-amf;base64,AAMAAAAA", "base64 text > 00 03 00 00 00 00"},
    {"junk in a data URI", "data:;base64,AAMA$AAA",
     "exit 6, malformed wrapper, byte 17: base64 text: broken"},
    {"a data URI with one digit too many", "data:;base64,AAMAA",
     "exit 6, malformed wrapper, byte 17: base64 text: broken"},
    {"junk in base64", "AAMA$AAA",
     "exit 6, malformed wrapper, byte 0: text that is neither hexadecimal nor base64"},
    {"wrong padding",
     "AAMAA===", "exit 6, malformed wrapper, byte 0: text that is neither hexadecimal nor base64"},
    {"base64 of hexadecimal text", "MDAwMzAwMDAwMDAw",
     "base64 text > hexadecimal text > 00 03 00 00 00 00"},
    {"text of blanks", " \n",
     "exit 6, malformed wrapper, byte 0: text that is neither hexadecimal nor base64"},
    {"nothing", "", ""},
};

TEST(Unwrap, TakesTextsOff) {
  for (const Row& row : kTexts) EXPECT_EQ(row.line, lineOf(row.bytes)) << row.name;
}

// ---- HTTP

const std::string kPost = "POST / HTTP/1.1\r\n";
const std::string kChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

const Row kMessages[] = {
    {"a request", "POST /gateway HTTP/1.1\r\nContent-Length: 6\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00"},
    {"a response that ends with its connection", "HTTP/1.0 200 OK\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00"},
    {"bare line feeds, names of any case",
     "HTTP/1.1 200 OK\nCONTENT-length:6 \n\n" + kEmpty + "more",
     "HTTP message > 00 03 00 00 00 00; byte 41: 4 bytes left over after the body of the HTTP "
     "message"},
    {"an interim response in front",
     "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n\r\n" + kEmpty,
     "HTTP message > HTTP message > 00 03 00 00 00 00"},
    {"chunks",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n" + kEmpty.substr(0, 2) +
         "\r\n04;x=y\r\n" + kEmpty.substr(2) + "\r\n0\r\nTrailer: t\r\n\r\n",
     "HTTP message > 00 03 00 00 00 00"},
    {"chunks that were put together already",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00"},
    {"a body that was decoded already",
     "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 4\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00"},
    {"a hexadecimal body", "HTTP/1.1 200 OK\r\n\r\n0003 0000 0000",
     "HTTP message > hexadecimal text > 00 03 00 00 00 00"},
    {"another message after a body",
     kPost + "Content-Length: 6\r\n\r\n" + kEmpty + kPost + "Content-Length: 6\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00; byte 44: 44 bytes left over after the body of the HTTP "
     "message: another HTTP message"},
    {"bytes after the last chunk", kChunked + "6\r\n" + kEmpty + "\r\n0\r\n\r\nmore",
     "HTTP message > 00 03 00 00 00 00; byte 63: 4 bytes left over after the body of the HTTP "
     "message"},
    {"another message after the trailer of chunks",
     kChunked + "6\r\n" + kEmpty + "\r\n0\r\nA: b\r\n\r\nHTTP/1.1 200 OK\r\n",
     "HTTP message > 00 03 00 00 00 00; byte 69: 17 bytes left over after the body of the HTTP "
     "message: another HTTP message"},
    {"a request where a trailer ends without its line",
     kChunked + "6\r\n" + kEmpty + "\r\n0\r\nPOST http://h/ HTTP/1.1\r\n",
     "HTTP message > 00 03 00 00 00 00; byte 61: 25 bytes left over after the body of the HTTP "
     "message: another HTTP message"},
    {"left over inside of another wrapper",
     base64(kPost + "Content-Length: 6\r\n\r\n" + kEmpty + "more"),
     "base64 text > HTTP message > 00 03 00 00 00 00; byte 44: 4 bytes left over after the body of "
     "the HTTP message, in what base64 text holds"},
    {"the same length twice", kPost + "Content-Length: 6\r\ncontent-length: 6\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00"},
    {"two lengths", kPost + "Content-Length: 4\r\nContent-Length: 6\r\n\r\n" + kEmpty,
     "exit 6, malformed wrapper, byte 36: HTTP message: two lengths: Content-Length is \"4\", and "
     "\"6\" here"},
    {"a length and an empty one", kPost + "Content-Length: 6\r\nContent-Length:\r\n\r\n" + kEmpty,
     "exit 6, malformed wrapper, byte 36: HTTP message: two lengths: Content-Length is \"6\", and "
     "\"\" here"},
    {"a length and chunks",
     kPost + "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n6\r\n" + kEmpty +
         "\r\n0\r\n\r\n",
     "exit 6, malformed wrapper, byte 17: HTTP message: two lengths: Content-Length is \"3\", and "
     "the "
     "body is sent in chunks"},
    {"a length and chunks that were put together already",
     kPost + "Transfer-Encoding: chunked\r\nContent-Length: 6\r\n\r\n" + kEmpty,
     "HTTP message > 00 03 00 00 00 00"},
    {"two codings", kPost + "Content-Encoding: br\r\nContent-Encoding: identity\r\n\r\n" + kEmpty,
     "exit 6, malformed wrapper, byte 17: HTTP message: Content-Encoding \"br, identity\" is not "
     "known "
     "here"},
    {"a body that is cut", "POST / HTTP/1.1\r\nContent-Length: 7\r\n\r\n" + kEmpty,
     "exit 5, truncated wrapper, byte 44: HTTP message: Content-Length is 7, but 6 bytes follow"},
    {"a length that is none", "POST / HTTP/1.1\r\nContent-Length: 6x\r\n\r\n" + kEmpty,
     "exit 6, malformed wrapper, byte 17: HTTP message: not a length"},
    {"a head that is cut", "POST / HTTP/1.1\r\nContent-Length: 7\r\n",
     "exit 5, truncated wrapper, byte 36: HTTP message: ends in its head"},
    {"a head that is broken", "POST / HTTP/1.1\r\nContent\r\n\r\n",
     "exit 6, malformed wrapper, byte 17: HTTP message: a line of its head has no colon"},
    {"a chunk that is too large for any number",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFFF\r\n",
     "exit 6, malformed wrapper, byte 47: HTTP message: not a length"},
    {"a chunk that would overflow the place",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0FFFFFFFFFFFFFFF\r\n..",
     "exit 7, packet too large, byte 47: packet too large: HTTP message of more than "
     "--max-packet-bytes 1048576"},
    {"a chunk that would begin again at 0",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n20\r\n" + std::string(32, 'x') +
         "\r\nFFFFFFFFFFFFFFE0\r\n..",
     "exit 7, packet too large, byte 85: packet too large: HTTP message of more than "
     "--max-packet-bytes 1048576"},
    {"a chunk that is cut", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n7\r\n" + kEmpty,
     "exit 5, truncated wrapper, byte 50: HTTP message: a chunk is cut"},
    {"the last chunk is missing",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n6\r\n" + kEmpty + "\r\n",
     "exit 5, truncated wrapper, byte 58: HTTP message: a chunk is missing"},
    {"a chunk is longer than it says",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n" + kEmpty + "\r\n0\r\n\r\n",
     "exit 6, malformed wrapper, byte 55: HTTP message: a chunk does not end where it says"},
    {"a coding that is not known", "HTTP/1.1 200 OK\r\nContent-Encoding: br\r\n\r\n" + kEmpty,
     "exit 6, malformed wrapper, byte 17: HTTP message: Content-Encoding \"br\" is not known here"},
};

TEST(Unwrap, TakesHTTPOff) {
  for (const Row& row : kMessages) EXPECT_EQ(row.line, lineOf(row.bytes)) << row.name;
}

TEST(Unwrap, HoldsTheHeadOfAMessageAgainstItsLimit) {
  const auto message = [](std::size_t headBytes) {
    const std::string name = "X: ";
    const std::size_t padding = headBytes - kPost.size() - name.size() - 4;
    return kPost + name + std::string(padding, 'x') + "\r\n\r\n";
  };
  constexpr std::size_t kMostHead = 1048576;
  EXPECT_EQ("HTTP message > 00 03 00 00 00 00", lineOf(message(kMostHead) + kEmpty, 8 * kMost));
  EXPECT_EQ("exit 7, head too large, byte 1048575: HTTP message: a head of more than 1048576 bytes",
            lineOf(message(kMostHead + 1) + kEmpty, 8 * kMost));
  EXPECT_EQ("exit 7, head too large, byte 17: HTTP message: a head of more than 1048576 bytes",
            lineOf(kPost + std::string(kMostHead, 'x'), 8 * kMost));
  // Many fields: those that nothing asks for take no memory.
  EXPECT_EQ(0u,
            lineOf(kPost + repeat("a:\r\n", 20000000), 8 * kMost).find("exit 7, head too large, "));
}

// ---- Compressed data

#ifdef AMF2JSON_HAVE_ZLIB

std::string cut(const std::string& bytes, std::size_t count) {
  return bytes.substr(0, bytes.size() - count);
}

std::string withByte(std::string bytes, std::size_t fromEnd, char value) {
  bytes[bytes.size() - fromEnd] = value;
  return bytes;
}

const std::string kGzip = compressed(kEmpty, 15 + 16);
const std::string kZlib = compressed(kEmpty, 15);

TEST(Unwrap, TakesCompressionOff) {
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Encoding: ";
  const std::string part = compressed(kEmpty.substr(0, 3), 15 + 16);
  const Row rows[] = {
      {"gzip", kGzip, "gzip > 00 03 00 00 00 00"},
      {"gzip in two parts, and zeros", part + compressed(kEmpty.substr(3), 15 + 16) + hex("00*512"),
       "gzip > 00 03 00 00 00 00"},
      {"zlib", kZlib, "zlib > 00 03 00 00 00 00"},
      {"base64 of gzip of zlib", base64(compressed(kZlib, 15 + 16)),
       "base64 text > gzip > zlib > 00 03 00 00 00 00"},
      {"HTTP, gzip", head + "gzip\r\n\r\n" + kGzip, "HTTP message > 00 03 00 00 00 00"},
      {"HTTP, gzip in chunks",
       head + "x-GZIP\r\nTransfer-Encoding: chunked\r\n\r\n" + "1\r\n" + kGzip.substr(0, 1) +
           "\r\n" + toHex(std::string(1, static_cast<char>(kGzip.size() - 1))) + "\r\n" +
           kGzip.substr(1) + "\r\n0\r\n\r\n",
       "HTTP message > 00 03 00 00 00 00"},
      {"HTTP, deflate", head + "deflate\r\n\r\n" + kZlib, "HTTP message > 00 03 00 00 00 00"},
      {"HTTP, deflate without its head", head + "deflate\r\n\r\n" + compressed(kEmpty, -15),
       "HTTP message > 00 03 00 00 00 00"},
      {"gzip that is cut", cut(kGzip, 9),
       "exit 5, truncated wrapper, byte 15: gzip: ends too early"},
      {"gzip without its length", cut(kGzip, 4),
       "exit 5, truncated wrapper, byte 20: gzip: ends too early"},
      {"zlib that is cut", cut(kZlib, 1),
       "exit 5, truncated wrapper, byte 11: zlib: ends too early"},
      {"gzip with a wrong sum", withByte(kGzip, 8, 0),
       "exit 6, malformed wrapper, byte 20: gzip: incorrect data check"},
      {"gzip with a wrong length", withByte(kGzip, 1, 1),
       "exit 6, malformed wrapper, byte 24: gzip: incorrect length check"},
      {"something after gzip", kGzip + "x",
       "exit 6, malformed wrapper, byte 24: gzip: something else stands behind it"},
      {"a broken wrapper inside of another", base64(withByte(kGzip, 8, 0)),
       "exit 6, malformed wrapper, byte 20: gzip: incorrect data check, in what base64 text holds"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.line, lineOf(row.bytes)) << row.name;
}

TEST(Unwrap, StopsBombs) {
  const std::string million = compressed(std::string(1 << 20, '\0'), 15 + 16);
  EXPECT_EQ(isPacket(std::string(1 << 20, '\0')), Match::yes);
  EXPECT_EQ(0u, lineOf(million, 1 << 20).find("gzip > 00 00"));
  EXPECT_EQ(0u, lineOf(million, (1 << 20) - 1).find("exit 7, packet too large, byte "));
  // Members of a MiB each, which a gzip file may have: the second is too much, and the others are
  // not read.
  const std::string line = lineOf(repeat(million, 1024));
  EXPECT_EQ(0u, line.find("exit 7, packet too large, byte ")) << line;
  EXPECT_LT(std::stoul(line.substr(31)), 2 * million.size());
}

#else

TEST(Unwrap, SaysThatItWasBuiltWithoutZlib) {
  EXPECT_EQ(
      "exit 9, built without zlib, byte 0: gzip: this build of amf2json has no zlib; unpack it first",
      lineOf(hex("1F8B08 00 00000000 0000")));
}

#endif

TEST(Unwrap, TakesOnlySoManyWrappersOff) {
  std::string text = kEmpty;
  for (int i = 0; i < 8; ++i) text = base64(text);
  EXPECT_EQ(std::string("base64 text > base64 text > base64 text > base64 text > base64 text > "
                        "base64 text > base64 text > base64 text > ") +
                kEmptyHex,
            lineOf(text));
  EXPECT_EQ(
      "exit 7, too many wrappers, byte 0: more than 8 wrappers, in what base64 text > base64 text "
      "> base64 text > base64 text > base64 text > base64 text > base64 text > base64 text holds",
      lineOf(base64(text)));
}

TEST(Unwrap, HoldsTextsAgainstTheLimit) {
  EXPECT_EQ("hexadecimal text > 00 03 00 00 00 00", lineOf("00030000 0000", 6));
  EXPECT_EQ(
      "exit 7, packet too large, byte 9: packet too large: hexadecimal text of more than "
      "--max-packet-bytes 5",
      lineOf("00030000 0000", 5));
  EXPECT_EQ(
      "exit 7, packet too large, byte 0: packet too large: base64 text of more than "
      "--max-packet-bytes 5",
      lineOf("AAMAAAAA", 5));
  EXPECT_EQ(
      "exit 7, packet too large, byte 19: packet too large: HTTP message of more than "
      "--max-packet-bytes 5",
      lineOf("HTTP/1.0 200 OK\r\n\r\n" + kEmpty, 5));
  EXPECT_EQ(
      "exit 7, packet too large, byte 17: packet too large: hexadecimal text of more than "
      "--max-packet-bytes 1048576",
      lineOf("00000000: 0003\n*\n00FFFFFF:\n"));
}

// ---- Values without a packet

struct FormCase {
  Form form;
  const char* value;
  AMFVerifyStatus status;
  std::size_t offset, consumed;
};

const FormCase kForms[] = {
    {Form::amf0, "02 0002 'hi'", AMFVerifyStatus::ok, 0, 5},
    {Form::amf0, "02 0002 'hi' 05", AMFVerifyStatus::ok, 0, 5},
    {Form::amf0, "02 0003 'hi'", AMFVerifyStatus::truncated, 3, 3},
    {Form::amf0, "04", AMFVerifyStatus::malformed, 1, 1},
    {Form::amf0, "", AMFVerifyStatus::truncated, 0, 0},
    {Form::amf3, "06 05 'hi'", AMFVerifyStatus::ok, 0, 4},
    {Form::amf3, "0D", AMFVerifyStatus::malformed, 1, 1},
    {Form::amf3, "", AMFVerifyStatus::truncated, 0, 0},
    {Form::packet, "0003 0000 0000", AMFVerifyStatus::ok, 0, 6},
};

TEST(BareValue, OffsetsAreItsOwn) {
  for (const FormCase& row : kForms) {
    const AMFVerifyResult result = verifyForm(hex(row.value), row.form, AMFVerifyLimits());
    EXPECT_EQ(row.status, result.status) << row.value;
    EXPECT_EQ(row.offset, result.offset) << row.value;
    EXPECT_EQ(row.consumed, result.consumed) << row.value;
  }
}

TEST(Unwrap, TakesNothingForAValueThatIsToBeSkipped) {
  const AMFVerifyLimits limits;
  EXPECT_EQ(matchForm(Form::amf0, 0, limits)(hex("05 05")), Match::yes);
  EXPECT_EQ(matchForm(Form::amf0, 1, limits)(hex("05 05")), Match::no);
  EXPECT_EQ(matchForm(Form::packet, 0, limits)(hex("05 05")), Match::no);
  EXPECT_EQ(matchForm(Form::amf0, 0, limits)("\t05"), Match::weak);
  EXPECT_EQ(matchForm(Form::amf0, 0, limits)("\t"), Match::yes);
}

TEST(BareValue, EnvelopeDoesNotCount) {
  AMFVerifyLimits limits;
  limits.maxPacketBytes = 5;
  EXPECT_EQ(AMFVerifyStatus::ok, verifyForm(hex("02 0002 'hi'"), Form::amf0, limits).status);
  limits.maxPacketBytes = 4;
  EXPECT_EQ(AMFVerifyStatus::packetTooLarge,
            verifyForm(hex("02 0002 'hi'"), Form::amf0, limits).status);
  EXPECT_EQ(AMFVerifyStatus::ok,
            verifyForm(hex("11 06 05 'hi'"), Form::amf0, AMFVerifyLimits::unlimited()).status);
}

}  // namespace
