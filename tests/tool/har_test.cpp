// SPDX-License-Identifier: Apache-2.0
//
// amf2json export --as har, from outside: archives as recorders write them (samples/har), ways to hold bytes in JSON,
// what is lost, archives of odd shapes. Exercises tool/input/har.cpp and tool/commands/export_har.cpp.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

// A packet of one message with the number 42.5.
constexpr const char* kBase64 = "AAAAAAABAAF0AAFyAAAACQBARUAAAAAAAA==";
constexpr const char* kDocument =
    "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"t\",\"response\":\"r\",\"value\":42.5}]}\n";

class Har : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    setenv("samples", AMF2JSON_SAMPLES, 1);
    setenv("archives", AMF2JSON_SOURCES "/samples/har", 1);
    setenv("amf2json", AMF2JSON_PROGRAM, 1);
  }
};

// ---- Archives of one entry; what is given are the keys of JSON objects

std::string archive(const std::string& request, const std::string& response) {
  return R"({"log":{"entries":[{"startedDateTime":"2026-01-02T03:04:05.678Z","request":{"method":"POST",)"
         R"("url":"http://a.example/x")" +
         request + R"(},"response":{"status":200)" + response + "}}]}}";
}

std::string answered(const std::string& keys, const std::string& type = "application/x-amf") {
  return archive("", R"(,"content":{"mimeType":")" + type + "\"," + keys + "}");
}

std::string posted(const std::string& keys) {
  return archive(R"(,"bodySize":-1,"postData":{"mimeType":"application/x-amf",)" + keys + "}", "");
}

std::string inBase64(const std::string& text) {
  return R"("encoding":"base64","text":")" + text + '"';
}

// A text of UTF-8, and what the archive says of its size.
std::string inText(const std::string& text, int size) {
  std::string json;
  for (const char c : text) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = byte >= 0x20 && c != '"' && c != '\\';
    json += isPlain ? std::string(1, c)
                    : std::string("\\u00") + kDigits[byte >> 4] + kDigits[byte & 15];
  }
  return "\"size\":" + std::to_string(size) + ",\"text\":\"" + json + '"';
}

std::string sourceOf(const char* direction) {
  return std::string("{\"source\":{\"index\":0,\"direction\":\"") + direction +
         "\",\"method\":\"POST\",\"url\":\"http://a.example/x\",\"status\":200,"
         "\"time\":\"2026-01-02T03:04:05.678Z\"},";
}

Outcome exported(const std::string& text, const std::vector<std::string>& more = {}) {
  std::vector<std::string> arguments = {"export", "--as", "har", "--lines", "-"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return run(arguments, text);
}

// ---- As recorders write them

const char* const kSentAndAnswered[] = {"wire/poll.amf",      "wire/poll_reply.amf",
                                        "echo_string.amf",    "wire/books_before.amf",
                                        "object_members.amf", "empty_packet.amf"};

TEST_F(Har, ARecordingOfTheProtocolComesBackByteForByte) {
  const Outcome outcome = runShell(
      "$amf2json export --as har --lines $archives/protocol.har >lines && "
      "$amf2json import --lines --to hex lines");
  std::string expected;
  for (const char* const name : kSentAndAnswered) {
    for (const char byte : readFile(std::string(AMF2JSON_SAMPLES) + "/" + name)) {
      constexpr char kDigits[] = "0123456789abcdef";
      expected += kDigits[static_cast<unsigned char>(byte) >> 4];
      expected += kDigits[byte & 15];
    }
    expected += '\n';
  }
  EXPECT_EQ(outcome, (Outcome{0, expected, ""}));
}

TEST_F(Har, DestroyedBodiesAreNamedAndCounted) {
  const Outcome outcome = runShell(
      "$amf2json export --as har --lines $archives/recorder.har >all; echo $?; "
      "jq -c '[.source.direction, .bytes, .replaced, .amf]' all");
  EXPECT_EQ(outcome.out,
            "6\n"
            "[\"request\",130,3,null]\n[\"response\",null,null,3]\n"
            "[\"request\",null,null,0]\n[\"response\",null,null,3]\n"
            "[\"request\",53,1,null]\n[\"response\",null,null,3]\n");
  const std::string file = "amf2json: " AMF2JSON_SOURCES "/samples/har/recorder.har: ";
  EXPECT_EQ(outcome.err, file +
                             "destroyed by the recorder: 130 bytes, U+FFFD (EF BF BD) 3 times, "
                             "in the request of entry 1\n" +
                             file +
                             "destroyed by the recorder: 53 bytes, U+FFFD (EF BF BD) 1 time, "
                             "in the request of entry 3\n" +
                             file + "warning: of 6 AMF bodies: 2 destroyed by the recorder\n");
}

TEST_F(Har, ThePrettyFormIsTheSameDocuments) {
  const Outcome lines = runShell("$amf2json export --as har --lines $archives/protocol.har");
  const Outcome pretty =
      runShell("$amf2json export --as har $archives/protocol.har >all && jq -c . all");
  EXPECT_EQ(pretty, lines);
  EXPECT_EQ(readFile("all").rfind("{\n  \"source\": {\"index\":2,\"direction\":\"request\"", 0),
            0u);
  EXPECT_NE(readFile("all").find("},\n  \"amf\": 3,\n"), std::string::npos);
}

// ---- Ways to hold bytes

struct BytesCase {
  const char* name;
  std::string text;
  std::string out;
};

constexpr const char* kNoNames =
    "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"\",\"response\":\"\",\"value\":";

TEST_F(Har, BytesAreRestored) {
  const std::string response = sourceOf("response");
  const std::string empty = hex("0000 0000 0001 0000 0000");
  const std::string ascii = empty + hex("00000004 02 0001 'x'");
  const std::string accent = empty + hex("00000005 02 0002 C3A9");     // U+00E9, 19 bytes
  const std::string twice = empty + hex("00000005 02 0002 C383C2A9");  // each byte as a character
  const std::string number = empty + hex("00000009 00 4045 C280 0000000000");  // 43: one byte 80
  const std::string e = std::string(kNoNames) + "\"\xC3\xA9\"}]}\n";
  const std::string head = R"(,"headers":[{"name":"Content-Type","value":"application/x-amf"}])";
  const BytesCase cases[] = {
      {"base64", answered(inBase64(kBase64)), response + kDocument},
      {"base64 of a request", posted(inBase64(kBase64)), sourceOf("request") + kDocument},
      {"the media type has a parameter", answered(inBase64(kBase64), "Application/X-AMF; a=b"),
       response + kDocument},
      {"the media type stands in the head",
       archive("", head + ",\"content\":{" + inBase64(kBase64) + "}"), response + kDocument},
      {"no media type: the first bytes", archive("", ",\"content\":{" + inBase64(kBase64) + "}"),
       response + kDocument},
      {"another media type", answered(inBase64(kBase64), "image/png"), ""},
      {"ASCII", answered(inText(ascii, -1)), response + kNoNames + "\"x\"}]}\n"},
      {"UTF-8, by its size", answered(inText(accent, 19)), response + e},
      {"UTF-8, by what can be read", answered(inText(accent, -1)), response + e},
      {"a character a byte, by the size", answered(inText(twice, 19)), response + e},
      {"a character a byte, by what can be read", answered(inText(number, -1)),
       response + kNoNames + "43}]}\n"},
      {"a replacement character that somebody wrote",
       answered(inText(empty + hex("00000006 02 0003 EFBFBD"), -1)),
       response + kNoNames + "\"\xEF\xBF\xBD\"}]}\n"},
      {"no body", answered("\"size\":0"), ""},
  };
  for (const BytesCase& row : cases) {
    EXPECT_EQ(exported(row.text), (Outcome{0, row.out, ""})) << row.name;
  }
}

TEST_F(Har, WhatWasDecodedAndPutIntoBase64IsDestroyedToo) {
  // 00 03 00 00 00 01 00 01 'a' 00 00 EFBFBD
  const Outcome outcome = exported(answered(inBase64("AAMAAAABAAFhAADvv70=")));
  EXPECT_EQ(outcome.status, 6);
  EXPECT_EQ(outcome.out, sourceOf("response") +
                             "\"error\":\"destroyed by the recorder: 14 bytes, U+FFFD (EF BF BD) 1 "
                             "time\",\"bytes\":14,\"replaced\":1}\n");
}

TEST_F(Har, BodiesThatWereNotRecorded) {
  EXPECT_EQ(
      exported(answered("\"size\":1234")),
      (Outcome{6, sourceOf("response") + "\"error\":\"not recorded: 1234 bytes\",\"bytes\":1234}\n",
               "amf2json: -: not recorded: 1234 bytes, in the response of entry 0\n"
               "amf2json: -: warning: of 1 AMF body: 1 not recorded\n"}));
}

TEST_F(Har, RefusedBodiesHaveAnErrorAndTheOthersFollow) {
  const std::string cut = "{\"mimeType\":\"application/x-amf\"," + inBase64("AAAAAAABAAF0") + "}";
  const std::string whole = "{\"mimeType\":\"application/x-amf\"," + inBase64(kBase64) + "}";
  const Outcome outcome = exported("{\"log\":{\"entries\":[{\"request\":{\"postData\":" + cut +
                                   "}},{\"request\":{\"postData\":" + whole + "}}]}}");
  EXPECT_EQ(outcome.status, 5);
  const std::string source =
      "\"direction\":\"request\",\"method\":\"\",\"url\":\"\",\"status\":0,\"time\":\"\"},";
  EXPECT_EQ(outcome.out.rfind("{\"source\":{\"index\":0," + source + "\"error\":\"", 0), 0u)
      << outcome.out;
  EXPECT_NE(outcome.out.find("\",\"offset\":9,\"bytes\":9}\n{\"source\":{\"index\":1," + source +
                             kDocument),
            std::string::npos)
      << outcome.out;
  EXPECT_EQ(outcome.err.rfind("-:9: ", 0), 0u) << outcome.err;
  EXPECT_NE(outcome.err.find(", in the request of entry 0 (message 0)\n"), std::string::npos)
      << outcome.err;
  EXPECT_NE(outcome.err.find("warning: of 2 AMF bodies: 1 refused\n"), std::string::npos)
      << outcome.err;
}

TEST_F(Har, WarningsNameTheEntry) {
  const Outcome outcome = exported(answered(inBase64("AAAAAAAAAQ==")));  // one byte too many
  EXPECT_EQ(outcome.status, 3);
  EXPECT_NE(outcome.err.find(" the last message, in the response of entry 0\n"), std::string::npos)
      << outcome.err;
}

// ---- Archives of odd shapes

TEST_F(Har, OddShapesAreNoEntries) {
  const char* const kTexts[] = {
      "{\"log\":{\"entries\":[]}}",
      "\xEF\xBB\xBF{\"log\":{\"entries\":[]}}",
      "{\"log\":{\"entries\":[null,5,\"x\",[],{},{\"request\":5,\"response\":[]}]}}",
      "{\"log\":{\"entries\":[{\"request\":{\"headers\":7,\"postData\":null,\"bodySize\":\"x\"}}]}}",
      "{\"log\":{\"entries\":[{\"response\":{\"headers\":[5,{\"name\":5}],\"content\":{\"text\":{},"
      "\"mimeType\":[],\"size\":1e300}}}]}}",
  };
  for (const char* const text : kTexts) EXPECT_EQ(exported(text), (Outcome{0, "", ""})) << text;
}

struct RefusalCase {
  std::string text;
  std::vector<std::string> more;
  int status;
  std::string err;
};

TEST_F(Har, Refusals) {
  const std::string deep(200000, '[');
  const std::string packet = answered(inBase64(kBase64));
  const RefusalCase cases[] = {
      {"", {}, 6, "-:0: The document is empty.\n"},
      {"{\"log\":nil}", {}, 6, "-:8: Invalid value.\n"},
      {"{} {}", {}, 6, "-:3: The document root must not be followed by other values.\n"},
      {"{}", {}, 6, "amf2json: -: this is no archive (HAR): no list log.entries\n"},
      {"{\"log\":{\"entries\":{}}}",
       {},
       6,
       "amf2json: -: this is no archive (HAR): no list log.entries\n"},
      {std::string("{}\0{}", 5), {}, 6, "amf2json: -: this is no archive (HAR): a byte 00\n"},
      {deep, {}, 6, "-:200000: Invalid value.\n"},
      {"{\"log\":{\"entries\":[\"\xFF\"]}}", {}, 6, "-:20: Invalid encoding in string.\n"},
      {packet,
       {"--from", "hex"},
       2,
       "amf2json: --from: an archive (--as har) is a file, not a line\n"},
      {packet,
       {"--max-output-bytes", "100"},
       7,
       "amf2json: -: output limit: more than --max-output-bytes 100\n"},
  };
  for (const RefusalCase& row : cases) {
    const Outcome outcome = exported(row.text, row.more);
    EXPECT_EQ(outcome, (Outcome{row.status, "", row.err})) << row.text.substr(0, 60);
  }
}

TEST_F(Har, ADeepArchiveIsRead) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  EXPECT_EQ(exported("{\"x\":" + deep + ",\"log\":{\"entries\":[]}}"), (Outcome{0, "", ""}));
}

// ---- Options of export

#ifdef AMF2JSON_HAVE_ZLIB
TEST_F(Har, OptionsHoldForEachBody) {
  writeFile("odd.amf", hex("0000 0000 0001 0001 't' 0001 'r' FFFFFFFF 11 0A 07 07 'a.B' 04 05"));
  const Outcome outcome = runShell(
      "printf '{\"log\":{\"entries\":[{\"response\":{\"content\":{\"mimeType\":\"application/x-amf\",\"encoding\":\"base64\","
      "\"text\":\"%s\"}}}]}}' $(gzip -c odd.amf | base64 -w0) >a.har; "
      "$amf2json export --as har --lines --unwrap --external a.B=1 a.har | jq -c '.messages[0].value'");
  EXPECT_EQ(outcome, (Outcome{0, "{\"$amf3\":{\"$external\":\"a.B\",\"$value\":5}}\n", ""}));
}
#endif

}  // namespace
