// SPDX-License-Identifier: Apache-2.0
//
// amf2json dump and identify, and the options --as, --skip and --unwrap, from outside: standard
// output, standard error and exit code of whole command lines. Every command that identify names is
// run.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/guard_packets.h"
#include "support/program.h"
#include "support/wrappers.h"

namespace {

using namespace support;

// The program goes by its name.
Outcome runLine(const std::string& line) {
  return runShell("set -o pipefail; amf2json() { \"$amf2json\" \"$@\"; }\n" + line);
}

class ToolBytes : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    writeFile("hi.amf", packetOf("02 0002 'hi'"));
    writeFile("short.amf", packetOf("02 0003 'hi'"));
    writeFile("tail.amf", packetOf("05") + "x");
    writeFile("hi.amf0", hex("02 0002 'hi'"));
    writeFile("hi.amf3", hex("06 05 'hi'"));
    writeFile("hi.hex", toHex(packetOf("02 0002 'hi'")) + "\n");
    writeFile("cut.hex", toHex(packetOf("02 0003 'hi'")) + "\n");
    writeFile("odd.hex", "00 03 0");
    writeFile("word.txt", "Hello, world");
  }
};

struct RunCase {
  const char* line;
  Outcome expected;
};

const char kHiJSON[] =
    "{\"type\" : \"package\",\"content\" : [{\"type\" : \"message\",\"targetUri\" : "
    "\"t\",\"responseUri\" : \"r\",\"value\" : \"hi\"}]}\n";
const char kValueJSON[] =
    "{\"type\" : \"package\",\"content\" : [{\"type\" : \"message\",\"targetUri\" : "
    "\"\",\"responseUri\" : \"\",\"value\" : \"hi\"}]}\n";
const char kValueJSON3[] =
    "{\"version\" : \"AMF3\",\"type\" : \"package\",\"content\" : [{\"type\" : "
    "\"message\",\"targetUri\" : \"\",\"responseUri\" : \"\",\"value\" : {\"version\" : "
    "\"AMF3\",\"type\" : \"string\",\"value\" : \"hi\"}}]}\n";
const char kEnvelopeRows[] =
    "00000000  00 00                    |..|        version 0\n"
    "00000002  00 00                    |..|        headerCount 0\n"
    "00000004  00 01                    |..|        messageCount 1\n"
    "00000006                                       message 0\n"
    "00000006  00 01                    |..|          length 1 of targetUri\n"
    "00000008  74                       |t|           targetUri \"t\"\n"
    "00000009  00 01                    |..|          length 1 of responseUri\n"
    "0000000B  72                       |r|           responseUri \"r\"\n"
    "0000000C  FF FF FF FF              |....|        declaredLength unknown\n";
const char kHiRows[] =
    "00000010  02                       |.|           marker0 02 string\n"
    "00000011  00 02                    |..|            length 2 of string\n"
    "00000013  68 69                    |hi|            string \"hi\"\n";

const RunCase kRuns[] = {
    // dump
    {"amf2json dump hi.amf", {0, std::string(kEnvelopeRows) + kHiRows, ""}},
    {"amf2json dump --unwrap hi.hex", {0, std::string(kEnvelopeRows) + kHiRows, ""}},
    {"amf2json dump -o rows.txt hi.amf && tail -n 1 rows.txt",
     {0, "00000013  68 69                    |hi|            string \"hi\"\n", ""}},
    {"amf2json dump short.amf",
     {5,
      std::string(kEnvelopeRows) +
          "00000010  02                       |.|           marker0 02 string\n"
          "00000011  00 03                    |..|            length 3 of string\n"
          "00000013  68 69                    |hi|        not read: 2 bytes\n",
      "short.amf:19: truncated: at least 1 byte is missing (message 0)\n"
      "    at 5: 01 00 01 74 00 01 72 FF FF FF FF 02 00 03 | 68 69\n"}},
    {"amf2json dump tail.amf",
     {3,
      std::string(kEnvelopeRows) +
          "00000010  05                       |.|           marker0 05 null\n"
          "00000011  78                       |x|         left over: 1 byte\n",
      "tail.amf:17: warning: 1 byte left over after the last message\n"
      "    at 2: 00 00 00 01 00 01 74 00 01 72 FF FF FF FF 05 | 78\n"}},
    {"amf2json dump --as amf3 hi.amf3",
     {0,
      "00000000  06                       |.|         marker3 06 string\n"
      "00000001  05                       |.|           head 5: string of 2 bytes\n"
      "00000002  68 69                    |hi|          string \"hi\" [string 0]\n",
      ""}},
    {"amf2json dump --skip 16 --as amf0 short.amf",
     {5,
      "00000010  02                       |.|         marker0 02 string\n"
      "00000011  00 03                    |..|          length 3 of string\n"
      "00000013  68 69                    |hi|        not read: 2 bytes\n",
      "short.amf:19: truncated: at least 1 byte is missing (AMF0 value)\n"
      "    at 16: 02 00 03 | 68 69\n"}},
    {"printf '\\2\\0\\4 ~\\177\\200' | amf2json dump --as amf0",
     {0,
      "00000000  02                       |.|         marker0 02 string\n"
      "00000001  00 04                    |..|          length 4 of string\n"
      "00000003  20 7E 7F 80              | ~..|        string \" ~\\x7F\\x80\"\n",
      ""}},
    {"amf2json dump --max-string-bytes 1 --as amf0 hi.amf0",
     {7,
      "00000000  02                       |.|         marker0 02 string\n"
      "00000001  00 02                    |..|          length 2 of string\n"
      "00000003  68 69                    |hi|        not read: 2 bytes\n",
      "hi.amf0:3: string limit: more than --max-string-bytes 1 (AMF0 value)\n"
      "    at 0: 02 00 02 | 68 69\n"}},
    {"amf2json dump --as AMF0 hi.amf0",
     {2, "", "amf2json: --as: no 'AMF0' here; there are packet, amf0, amf3\n"}},
    {"amf2json dump --skip -1 hi.amf0",
     {2, "",
      "amf2json: --skip: '-1' is not a whole number from 0 to " + std::to_string(SIZE_MAX) + "\n"}},
    // decode, roundtrip
    {"amf2json decode --compact --unwrap hi.hex", {0, kHiJSON, ""}},
    {"amf2json decode --compact --unwrap hi.amf", {0, kHiJSON, ""}},
    {"amf2json decode --compact --unwrap <hi.hex", {0, kHiJSON, ""}},
    {"amf2json decode --compact --as amf0 hi.amf0", {0, kValueJSON, ""}},
    {"printf '\\t02 0002 6869' | amf2json decode --compact --unwrap --as amf0",
     {0, kValueJSON, ""}},
    {"printf '\\v\\t<a/>\\n' | amf2json decode --unwrap --as amf3 | grep -o 'a/>'",
     {3, "a/>\n",
      "-:6: warning: 1 byte left over after the value\n    at 0: 0B 09 3C 61 2F 3E | 0A\n"}},
    {"amf2json decode --compact --as amf0 --skip 16 hi.amf", {0, kValueJSON, ""}},
    {"amf2json decode --as amf0 --skip 99 hi.amf",
     {5, "", "hi.amf:21: truncated: at least 1 byte is missing (AMF0 value)\n"}},
    {"amf2json decode --compact --as amf3 hi.amf3", {0, kValueJSON3, ""}},
    {"amf2json decode --as amf0 --skip 1 hi.amf0",
     {5, "",
      "hi.amf0:2: truncated: at least 5 bytes are missing (AMF0 value)\n"
      "    at 1: 00 | 02 68 69\n"}},
    {"amf2json decode --unwrap cut.hex",
     {5, "",
      "cut.hex:19: truncated: at least 1 byte is missing, in what hexadecimal text holds (message "
      "0)\n"
      "    at 5: 01 00 01 74 00 01 72 FF FF FF FF 02 00 03 | 68 69\n"}},
    {"amf2json decode --unwrap --error-format json cut.hex",
     {5, "",
      "{\"file\":\"cut.hex\",\"offset\":19,\"section\":\"message "
      "0\",\"status\":\"truncated\",\"message\":\"truncated: at least 1 byte is missing, in what "
      "hexadecimal text holds\",\"exit_code\":5}\n"}},
    {"amf2json decode --unwrap odd.hex",
     {6, "",
      "odd.hex:6: hexadecimal text: an odd number of digits\n"
      "    at 0: 30 30 20 30 33 20 | 30\n"}},
    {"amf2json decode --unwrap word.txt",
     {6, "",
      "word.txt:0: text that is neither hexadecimal nor base64\n"
      "    at 0: | 48 65 6C 6C 6F 2C 20 77 6F 72 6C 64\n"}},
    // A packet may be no larger than the file that holds it may be.
    {"amf2json decode --unwrap --max-packet-bytes 62 hi.hex",
     {7, "", "amf2json: hi.hex: packet too large: more than --max-packet-bytes 62 (63 bytes)\n"}},
    {"amf2json decode --unwrap --compact --max-packet-bytes 63 hi.hex", {0, kHiJSON, ""}},
    {"amf2json roundtrip --as amf0 hi.amf0", {0, "hi.amf0: equal\n", ""}},
    {"amf2json roundtrip --as amf3 hi.amf3 && amf2json roundtrip --unwrap hi.hex",
     {0, "hi.amf3: equal\nhi.hex: equal\n", ""}},
    {"printf '\\x0C\\0\\0\\0\\1x' | amf2json roundtrip --as amf0",
     {1,
      "-: differs at byte 0: 0C read, 02 written: marker0 in message 0 (a string of up to 65535 "
      "bytes is written as a short one)\n",
      ""}},
    // identify
    {"amf2json identify hi.amf hi.hex word.txt",
     {1,
      "hi.amf: AMF packet: version 0, 0 headers, 1 message, 21 bytes\n"
      "next: amf2json decode hi.amf\n"
      "hi.hex: hexadecimal text > AMF packet: version 0, 0 headers, 1 message, 21 bytes\n"
      "next: amf2json decode --unwrap hi.hex\n"
      "word.txt: not recognised: begins with 48 65 6C 6C 6F 2C 20 77\n",
      ""}},
    {"amf2json identify missing.amf",
     {9, "", "amf2json: missing.amf: cannot read: No such file or directory\n"}},
};

TEST_F(ToolBytes, Runs) {
  for (const RunCase& row : kRuns) EXPECT_EQ(runLine(row.line), row.expected) << row.line;
}

TEST_F(ToolBytes, DumpsAsDocumented) {
  writeFile("string_reference.amf",
            hex("0003 0000 0001 0004 'list' 0002 '/4' 0000000A 11 09 05 01 06 05 'ab' 06 00"));
  const std::string document = readFile(AMF2JSON_SOURCES "/docs/dump.md");
  const std::size_t begin = document.find("```\n") + 4;
  const Outcome shown = runLine("amf2json dump string_reference.amf");
  EXPECT_EQ(document.substr(begin, document.find("```\n", begin) - begin), shown.out);
}

TEST_F(ToolBytes, NamesCommandsThatWork) {
  const std::string packet = packetOf("02 0003 'a' C3A9");
  const std::string sharedObject =
      hex("00BF 0000001B 'TCSO' 0004 00000000 0003 'set' 00000000 0001 'n' 02 0001 'v' 00");
  const std::string ruined = hex("0000 0000 0001 0001 't' 0001 'r' (C3BF)*4 02 0001 'x'");
  const std::string translated = hex("0000 0000 0001 0001 't' 0001 'r' FFFFFFFF 0D0A 00000001 05");
  struct File {
    const char* name;
    std::string bytes;
    int status = 0;  // 3: bytes that are not decoded are reported
  };
  const File files[] = {
      {"packet", packet},
      {"left over", packet + "x", 3},
      {"two packets", packet + packet, 3},
      {"ecma", packetOf("08 00000000 0001 'c' 02 0001 'd' 0001 'a' 02 0001 'b' 0000 09"),
#ifdef AMF2JSON_HAVE_WIRE
       0},
#else
       3},
#endif
      {"refused", packetOf("04"), 6},
      {"cut", base64(packetOf("02 0003 'a'")), 5},
      {"amf0", hex("02 0002 'hi'")},
      {"amf3", hex("06 05 'hi'")},
      {"named", hex("02 0002 'hi' 05 06"), 3},
      {"it's a shared object.sol", sharedObject},
      {"tag.flv", hex("12 000009 000000 00 000000 02 0002 'on' 03 0000 09")},
      {"./-hex", toHex(packet)},
      {"$HOME", base64(packet)},
      {"a\x1B[1m\n\\'\xFF", base64(sharedObject)},
      {"post", "POST / HTTP/1.1\r\n\r\n" + packet},
      {"posts", "POST / HTTP/1.1\r\nContent-Length: 22\r\n\r\n" + packet + "POST / HTTP/1.1\r\n",
       3},
      {"./-utf8", ruined},
      {"crlf file", translated},
#ifdef AMF2JSON_HAVE_ZLIB
      {"gzip", compressed(packet, 15 + 16)},
      {"zlib", base64(compressed(hex("06 05 'hi'"), 15))},
#endif
  };
  for (const File& file : files) {
    writeFile(file.name, file.bytes);
    writeFile("list", file.name);
    const Outcome identified = runLine("IFS= read -rd '' name <list; amf2json identify \"$name\"");
    EXPECT_EQ(0, identified.status) << file.name;
    EXPECT_EQ("", identified.err);
    const std::size_t next = identified.out.find("\nnext: ");
    ASSERT_NE(std::string::npos, next) << identified.out;
    const Outcome shown = runLine(identified.out.substr(next + 7));
    EXPECT_EQ(file.status, shown.status) << identified.out << shown.err;
    EXPECT_EQ(file.status == 0, shown.err.empty()) << identified.out << shown.err;
    EXPECT_NE("", shown.out);
  }
}

// What follows the body of a message or a packet is not dropped without a word.
TEST_F(ToolBytes, TellsWhatFollows) {
  const std::string packet = packetOf("02 0002 'hi'");
  const std::string post = "POST / HTTP/1.1\r\nContent-Length: 21\r\n\r\n" + packet;
  writeFile("one", post);
  writeFile("two", post + post);
  writeFile("packets", packet + packet);
  writeFile("short", "POST / HTTP/1.1\r\nContent-Length: 19\r\n\r\n" + packet);
  const RunCase rows[] = {
      {"amf2json decode --compact --unwrap one", {0, kHiJSON, ""}},
      {"amf2json decode --compact --unwrap two",
       {3, kHiJSON,
        "two:60: warning: 60 bytes left over after the body of the HTTP message: another HTTP "
        "message\n    at 52: FF FF FF 02 00 02 68 69 | 50 4F 53 54 20 2F 20 48\n"}},
      {"amf2json decode --compact --unwrap --allow-trailing two", {0, kHiJSON, ""}},
      {"amf2json decode --compact packets",
       {3, kHiJSON,
        "packets:21: warning: 21 bytes left over after the last message: another packet, which "
        "--skip 21 gets at\n    at 13: FF FF FF 02 00 02 68 69 | 00 00 00 00 00 01 00 01\n"}},
      {"amf2json decode --compact --skip 21 packets", {0, kHiJSON, ""}},
      {"amf2json decode --unwrap short",
       {5, "",
        "short:19: truncated: at least 2 bytes are missing, in what HTTP message holds; 2 bytes "
        "left over after the body of the HTTP message (message 0)\n"
        "    at 3: 00 00 01 00 01 74 00 01 72 FF FF FF FF 02 00 02 |\n"}},
  };
  for (const RunCase& row : rows) EXPECT_EQ(runLine(row.line), row.expected) << row.line;
}

// --max-packet-bytes bounds what is read, whatever else is asked for: the rest stays in the pipe.
TEST_F(ToolBytes, ReadsOneByteBeyondTheLimitAtMost) {
  for (const char* const command :
       {"identify", "decode", "check --unwrap", "decode --skip 500", "dump --as amf0 --skip 500"}) {
    const Outcome outcome =
        runLine(std::string("printf %1000s | { sleep 0.1; amf2json ") + command +
                " --max-packet-bytes 20 2>error; echo $?; wc -c; cat error; }");
    EXPECT_EQ(outcome.out,
              "7\n979\namf2json: -: packet too large: more than --max-packet-bytes 20\n")
        << command;
  }
}

TEST_F(ToolBytes, IdentifiesInJSON) {
  writeFile("caf\xC3\xA9\xFF", base64(packetOf("05")));
  const RunCase rows[] = {
      {"amf2json identify --format json hi.amf word.txt missing.amf 2>/dev/null",
       {9,
        "{\"file\":\"hi.amf\",\"kind\":\"packet\",\"verdict\":\"AMF packet: version 0, 0 headers, "
        "1 "
        "message, 21 bytes\",\"wrappers\":[],\"next\":\"amf2json decode "
        "hi.amf\",\"message\":null,\"exit_code\":0}\n"
        "{\"file\":\"word.txt\",\"kind\":\"unknown\",\"verdict\":\"not recognised: begins with 48 "
        "65 "
        "6C 6C 6F 2C 20 77\",\"wrappers\":[],\"next\":null,\"message\":null,\"exit_code\":1}\n"
        "{\"file\":\"missing.amf\",\"kind\":null,\"verdict\":null,\"wrappers\":null,\"next\":null,"
        "\"message\":\"cannot read: No such file or directory\",\"exit_code\":9}\n",
        ""}},
      {"amf2json identify --format json caf*",
       {0,
        "{\"file\":\"caf\\u00e9\\ufffd\",\"kind\":\"packet\",\"verdict\":\"base64 text > AMF "
        "packet: "
        "version 0, 0 headers, 1 message, 17 bytes\",\"wrappers\":[\"base64 "
        "text\"],\"next\":\"amf2json decode --unwrap "
        "$'caf\\u00e9\\\\xFF'\",\"message\":null,\"exit_code\":0}\n",
        ""}},
  };
  for (const RunCase& row : rows) EXPECT_EQ(runLine(row.line), row.expected) << row.line;
}

// A GiB of zeros in 5 MB of gzip: refused after 64 MiB.
TEST_F(ToolBytes, RefusesABomb) {
#ifndef AMF2JSON_HAVE_ZLIB
  GTEST_SKIP() << "no zlib here";
#endif
  if (runLine("command -v gzip").status != 0) GTEST_SKIP() << "no gzip here";
  ASSERT_EQ(0, runLine("head -c 67108864 /dev/zero | gzip -1 >part.gz\n"
                       "for i in {1..16}; do cat part.gz; done >bomb.gz")
                   .status);
  const Outcome outcome = runLine("amf2json decode --unwrap bomb.gz");
  EXPECT_EQ(7, outcome.status);
  EXPECT_EQ("", outcome.out);
  EXPECT_NE(std::string::npos,
            outcome.err.find(": packet too large: gzip of more than --max-packet-bytes 67108864\n"))
      << outcome.err;
}

}  // namespace
