// SPDX-License-Identifier: Apache-2.0
//
// The verdicts of identify, and the commands that it names. Exercises tool/input/identify.cpp,
// tool/input/containers.cpp and tool/input/mojibake.cpp. That the commands work is seen in tool/bytes_test.cpp.
#include "tool/input/identify.h"

#include <gtest/gtest.h>

#include "support/guard_packets.h"
#include "support/wrappers.h"
#include "tool/text/printable.h"

using namespace support;

// Commands that need AMFWire, and those without it.
#ifdef AMF2JSON_HAVE_WIRE
#define WITH_WIRE(wire, core) wire
#else
#define WITH_WIRE(wire, core) core
#endif

namespace {

// "known", "unknown"; the verdict; the command.
std::string lineOf(const std::string& bytes) {
  const Identity identity = identify(bytes, AMFVerifyLimits());
  const std::string command = commandFor(identity, "F");
  return (identity.isKnown ? "" : "? ") + identity.verdict +
         (command.empty() ? "" : " => " + command);
}

struct Row {
  const char* name;
  std::string bytes;
  const char* line;
};

const std::string kPacket = packetOf("02 0003 'a' C3A9");
std::string sharedObject(const char* version, const char* values) {
  const std::string rest = hex("'TCSO' 0004 00000000 0003 'set'") + hex(version) + hex(values);
  return hex("00BF") + u32(static_cast<std::uint32_t>(rest.size())) + rest;
}

std::string scriptTag(const char* value) {
  const std::string data = hex("02 000A 'onMetaData'") + hex(value);
  return hex("12") + u32(static_cast<std::uint32_t>(data.size())).substr(1) +
         hex("000000 00 000000") + data;
}

const std::string kSharedObject =
    sharedObject("00000000", "0004 'name' 02 0005 'value' 00 0001 'n' 05 00");
const std::string kSharedObject3 = sharedObject("00000003", "09 'name' 06 0B 'value' 00");
// With the end mark that others write after such an array.
const std::string kScriptTag = scriptTag("08 00000001 0001 'w' 00 4074000000000000 000009");
const std::string kFLV =
    hex("'FLV' 01 05 00000009 00000000 08 000002 000000 00 000000 AF00 0000000D") + kScriptTag;

const Row kRows[] = {
    {"a packet", kPacket,
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode F"},
    {"an empty packet", hex("0003 0000 0000"),
     "AMF packet: version 3, 0 headers, 0 messages, 6 bytes => amf2json decode F"},
    {"something after a packet", kPacket + "x",
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes, and 1 byte after it that this dialect "
     "does not read => amf2json dump --full F"},
    {"members after an ECMA array whose count is 0",
     packetOf("08 00000000 0001 'c' 02 0001 'd' 0001 'a' 02 0001 'b' 0000 09"),
     "AMF packet: version 0, 0 headers, 1 message, 21 bytes, and 17 bytes after it that this "
     "dialect does not read" WITH_WIRE("; the published format reads it => amf2json export F",
                                       " => amf2json dump --full F")},
#ifdef AMF2JSON_HAVE_WIRE
    {"a packet with a vector", packetOf("11 0D 03 00 00000005"),
     "AMF packet, refused by this dialect: getAMF3Value(): unknown value type marker at byte 18, "
     "after 0 "
     "headers and 0 messages; the published format reads it => amf2json export F"},
    {"references that count otherwise",
     packetOf("0A 00000002 03 0001 'i' 03 000009 000009 07 0000"),
     "AMF packet: version 0, 0 headers, 1 message, 35 bytes; this dialect reads its AMF0 "
     "references "
     "otherwise than the published format => amf2json export F"},
    {"references that count the same", packetOf("0A 00000002 0A 00000000 05"),
     "AMF packet: version 0, 0 headers, 1 message, 27 bytes => amf2json decode F"},
    {"a negative integer", packetOf("11 04 FFFFFFFF"),
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes; this dialect reads its AMF3 integers "
     "otherwise than the published format => amf2json export F"},
    {"a large integer that is read alike", packetOf("11 04 BFFFFF7F"),
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode F"},
    {"an HTTP archive", "{\n  \"log\": {\"version\": \"1.2\", \"entries\": []}\n}\n",
     "HTTP archive => amf2json export --as har F"},
    {"a document of export", "{\"amf3\":[1]}\n",
     "JSON document of amf2json export => amf2json import F"},
#endif
    {"another packet after a packet", kPacket + kPacket,
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes, and 22 bytes after it: another packet "
     "=> amf2json decode F"},
    {"an empty packet after a packet", kPacket + hex("0000 0000 0000"),
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes, and 6 bytes after it that this "
     "dialect does not read => amf2json dump --full F"},
    {"a packet that is cut", kPacket.substr(0, 20),
     "AMF packet, ends too early for this dialect: truncated at byte 19, after 0 headers and 0 "
     "messages => amf2json dump --full F"},
    {"a packet that is refused", packetOf("04"),
     "AMF packet, refused by this dialect: getAMF0Value: unknown value type at byte 17, after 0 "
     "headers and 0 messages => amf2json dump --full F"},
    {"a packet over a limit", packetWith(repeat(hex("0A 00000001"), 65) + hex("05")),
     "AMF packet, over a limit: depth limit at byte 341, after 0 headers and 0 messages" WITH_WIRE(
         "; the published format reads it => amf2json export F", "")},
    {"an AMF0 value", hex("02 0002 'hi'"),
     "AMF0 value without a packet: 5 bytes => amf2json decode --as amf0 F"},
    {"an AMF3 value", hex("0A 0B 01 03 'k' 04 01 01"),
     "AMF3 value without a packet: 8 bytes => amf2json decode --as amf3 F"},
    {"AMF0 values", hex("02 0002 'hi' 05 06"),
     "3 AMF0 values without a packet: the first has 5 bytes, all have 7 => amf2json dump "
     "--full --as amf0 F"},
    {"an end mark is no value", "\t", "? not recognised: begins with 09"},
    {"a shared object", kSharedObject,
     "shared object (.sol) \"set\", AMF0, AMF0 value \"name\" at byte 31, and 6 bytes after it "
     "=> amf2json " WITH_WIRE("export F", "decode --as amf0 --skip 31 F")},
    {"a shared object of one value", sharedObject("00000000", "0004 'name' 02 0005 'value' 00"),
     "shared object (.sol) \"set\", AMF0, AMF0 value \"name\" at byte 31 => amf2json decode --as "
     "amf0 --skip 31 --allow-trailing F"},
    {"a shared object of AMF3", kSharedObject3,
     "shared object (.sol) \"set\", AMF3, AMF3 value \"name\" at byte 30 => amf2json decode --as "
     "amf3 --skip 30 --allow-trailing F"},
    {"an FLV file", kFLV,
     "FLV script tag at byte 30, AMF0 value \"onMetaData\" at byte 54 => amf2json decode --as amf0 "
     "--skip 54 --allow-trailing F"},
    {"an FLV tag", kScriptTag,
     "FLV script tag at byte 0, AMF0 value \"onMetaData\" at byte 24 => amf2json decode --as amf0 "
     "--skip 24 --allow-trailing F"},
    {"an FLV file without data", hex("'FLV' 01 05 00000009 00000000"),
     "FLV file without script data"},
    {"hexadecimal text", toHex(kPacket),
     "hexadecimal text > AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode "
     "--unwrap F"},
    {"base64 text of a value", base64(hex("06 05 'hi'")),
     "base64 text > AMF3 value without a packet: 4 bytes => amf2json decode --unwrap --as amf3 F"},
    {"a word", "Hello123", "? not recognised: begins with 48 65 6C 6C 6F 31 32 33"},
    {"hexadecimal text of something else", "FF FF FF",
     "? not recognised: begins with 46 46 20 46 46 20 46 46"},
    {"broken hexadecimal text", "00 03 0", "hexadecimal text: an odd number of digits at byte 6"},
    {"an HTTP message", "POST / HTTP/1.1\r\nContent-Length: 22\r\n\r\n" + kPacket,
     "HTTP message > AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode "
     "--unwrap F"},
    {"an HTTP message without a body", "POST / HTTP/1.1\r\nContent-Length: 22\r\n\r\n",
     "HTTP message: Content-Length is 22, but 0 bytes follow at byte 39"},
    {"bytes after the body of an HTTP message",
     "POST / HTTP/1.1\r\nContent-Length: 22\r\n\r\n" + kPacket + "more",
     "HTTP message (4 bytes left over after the body of the HTTP message) > AMF packet: version 0, "
     "0 headers, 1 message, 22 bytes => amf2json decode --unwrap F"},
    {"two HTTP messages",
     "POST / HTTP/1.1\r\nContent-Length: 22\r\n\r\n" + kPacket + "GET / HTTP/1.1\r\n\r\n",
     "HTTP message (18 bytes left over after the body of the HTTP message: another HTTP message) > "
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode --unwrap F"},
    {"an error page", "HTTP/1.1 500 Oops\r\n\r\n<!DOCTYPE HTML><html></html>",
     "HTTP message > HTML text: begins with \"<!DOCTYPE HTML><\" at byte 0"},
    {"base64 of a cut packet", base64(kPacket.substr(0, 20)),
     "base64 text > AMF packet, ends too early for this dialect: truncated at byte 19, after 0 "
     "headers and 0 messages => amf2json dump --full --unwrap F"},
    {"HTML", "\n<html><body></body></html>\n",
     "HTML text: begins with \"<html><body></bo\" at byte 1"},
    {"XML", "\xEF\xBB\xBF<?xml version='1.0'?><amfx ver='3'/>",
     "XML text: begins with \"<?xml version='1\" at byte 3"},
    {"JSON", " {\"a\": [1]} ", "JSON text: begins with \"{\\\"a\\\": [1]} \" at byte 1"},
    {"UTF-8 twice", packetOf("02 0002 C3A9").replace(19, 2, hex("C383 C2A9")),
     "AMF packet: version 0, 0 headers, 1 message, 21 bytes, and 2 bytes after it that this "
     "dialect "
     "does not read => amf2json dump --full F"},
    {"bytes written as UTF-8", hex("0000 0000 0001 0001 't' 0001 'r' (C3BF)*4 02 0001 'x'"),
     "bytes from 80 on written as UTF-8 (C2 or C3 in front), was AMF packet: version 0, 0 headers, "
     "1 message, 20 bytes => iconv -f UTF-8 -t ISO-8859-1 F | amf2json decode"},
    {"line ends translated", hex("0000 0000 0001 0001 't' 0001 'r' FFFFFFFF 0D0A 00000001 05"),
     "line ends translated (0D in front of each 0A), was AMF packet: version 0, 0 headers, 1 "
     "message, 22 bytes => sed 's/\\r$//' F | amf2json decode"},
    {"replacement characters", hex("0000 0000 0001 0001 't' 0001 'r' (EFBFBD)*4 02 0001 'x'"),
     "bytes lost to a text decoder: U+FFFD (EF BF BD) 4 times, first at byte 12"},
    {"U+FFFD where it belongs", packetOf("02 0003 EFBFBD"),
     "AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode F"},
    {"nothing", "", "empty: functions for text stop at a byte 00, with which packets begin"},
    {"values that no name begins", hex("00*99"),
     "? not recognised: begins with 00 00 00 00 00 00 00 00"},
    {"zeros", hex("00*100"), "? not recognised: begins with 00 00 00 00 00 00 00 00"},
    {"a picture", hex("89504E470D0A1A0A 00"),
     "? not recognised: begins with 89 50 4E 47 0D 0A 1A 0A"},
};

TEST(Identify, TellsWhatItIs) {
  for (const Row& row : kRows) EXPECT_EQ(row.line, lineOf(row.bytes)) << row.name;
}

#ifdef AMF2JSON_HAVE_ZLIB
TEST(Identify, LooksIntoCompressedData) {
  const std::string gzip = compressed(kPacket, 15 + 16);
  const Row rows[] = {
      {"gzip", gzip,
       "gzip > AMF packet: version 0, 0 headers, 1 message, 22 bytes => amf2json decode --unwrap "
       "F"},
      {"zlib of a shared object", compressed(kSharedObject, 15),
       "zlib > shared object (.sol) \"set\", AMF0, AMF0 value \"name\" at byte 31, and 6 bytes "
       "after it => amf2json " WITH_WIRE("export --unwrap F",
                                         "decode --unwrap --as amf0 --skip 31 F")},
      {"gzip of something else", compressed("\xFF", 15 + 16),
       "? gzip > not recognised: begins with FF"},
      {"gzip that is cut", gzip.substr(0, 12), "gzip: ends too early at byte 12"},
      {"gzip of bytes that were ruined",
       compressed(hex("0000 0000 0001 0001 't' 0001 'r' (C3BF)*4 02 0001 'x'"), 15 + 16),
       "gzip > bytes from 80 on written as UTF-8 (C2 or C3 in front), was AMF packet: version 0, 0 "
       "headers, 1 message, 20 bytes"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.line, lineOf(row.bytes)) << row.name;
}
#else
TEST(Identify, NamesCompressedData) {
  const std::string gzip = hex("1F8B08 00 00000000 0000"), zlib = hex("789C 00");
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n";
  const Row rows[] = {
      {"gzip", gzip,
       "gzip: this build of amf2json has no zlib; unpack it first => gzip -dc F | amf2json "
       "identify"},
      {"zlib", zlib, "zlib: this build of amf2json has no zlib; unpack it first"},
      {"gzip in base64", base64(gzip),
       "base64 text > gzip: this build of amf2json has no zlib; unpack it first"},
      {"a gzip body", head + gzip,
       "gzip body of the HTTP message: this build of amf2json has no zlib; unpack it first"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.line, lineOf(row.bytes)) << row.name;
    EXPECT_STREQ("compressed", identify(row.bytes, AMFVerifyLimits()).kind) << row.name;
  }
}
#endif

// A value that may refer to what stands in front of it is not offered.
TEST(Identify, DoesNotOfferWhatItCannotResolve) {
  EXPECT_EQ(
      "shared object (.sol) \"set\", AMF3, AMF3 value \"name\" at byte 30, which cannot be decoded "
      "alone" WITH_WIRE(" => amf2json export F", ""),
      lineOf(sharedObject("00000003", "09 'name' 09 05 01 06 03 'a' 06 00 00")));
}

TEST(Identify, HasAWordForMachines) {
  const Row rows[] = {
      {"packet", kPacket, ""},
      {"packet", kPacket + "x", ""},
      {"refused packet", packetOf("04"), ""},
      {"changed packet", hex("0000 0000 0001 0001 't' 0001 'r' FFFFFFFF 0D0A 00000001 05"), ""},
      {"changed bytes", hex("0000 0000 0001 0001 't' 0001 'r' (EFBFBD)*4 02 0001 'x'"), ""},
      {"value", hex("02 0002 'hi'"), ""},
      {"values", hex("02 0002 'hi' 05"), ""},
      {"shared object", kSharedObject, ""},
      {"flv", kFLV, ""},
      {"html", "<html></html>", ""},
      {"xml", "<a></a>", ""},
      {"json", "{}", ""},
      {WITH_WIRE("har", "json"), "{\"log\":{}}", ""},
      {"empty", "", ""},
      {"broken wrapper", "00 03 0", ""},
      {"packet", base64(toHex(kPacket)), "base64 text > hexadecimal text > "},
      {"unknown", "Hello", ""},
  };
  for (const Row& row : rows) {
    const Identity identity = identify(row.bytes, AMFVerifyLimits());
    EXPECT_STREQ(row.name, identity.kind) << row.name;
    std::string wrappers;
    for (const char* const wrapper : identity.wrappers) wrappers += wrapper + std::string(" > ");
    EXPECT_EQ(row.line, wrappers) << row.name;
    EXPECT_EQ(identity.kind != std::string("unknown"), identity.isKnown);
  }
}

TEST(Identify, WritesNamesForShells) {
  const char* const names[][2] = {
      {"a.amf", "a.amf"},
      {"-", "-"},
      {"-x", "./-x"},
      {"", "''"},
      {"two words", "'two words'"},
      {"it's $HOME", "'it'\\''s $HOME'"},
      {"\xC3\xA9\"\\", "'\xC3\xA9\"\\'"},
      {"a\x1B[1m'\\\n", "$'a\\x1B[1m\\'\\\\\\x0A'"},
      {"\xFF", "$'\\xFF'"},
  };
  for (const auto& row : names) EXPECT_EQ(row[1], quoteForShell(row[0]));
}

}  // namespace
