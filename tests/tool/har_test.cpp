// SPDX-License-Identifier: Apache-2.0
//
// amf2json export --as har, from outside: archives as recorders write them (samples/har), ways to hold bytes in JSON,
// what is lost, archives of odd shapes. Exercises tool/input/har.cpp and tool/commands/export_har.cpp.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/resource.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

constexpr const char* kBase64 = "AAAAAAABAAF0AAFyAAAACQBARUAAAAAAAA==";
constexpr const char* kDocument =
    "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"t\",\"response\":\"r\",\"value\":42.5}]}\n";

class Har : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    setenv("samples", AMF2JSON_SAMPLES, 1);
    setenv("archives", AMF2JSON_SOURCES "/samples/har", 1);
  }
};

using Members = std::map<std::string, std::string>;  // the values are JSON

std::string object(const Members& members) {
  std::string json;
  for (const auto& [name, value] : members)
    json += (json.empty() ? "\"" : ",\"") + name + "\":" + value;
  return "{" + json + "}";
}

// A string of JSON.
std::string quoted(const std::string& text) {
  std::string json;
  for (const char c : text) {
    char escape[7];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(c));
    json +=
        static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' ? escape : std::string(1, c);
  }
  return "\"" + json + "\"";
}

std::string archiveOf(const std::string& entries) {
  return "{\"log\":{\"entries\":[" + entries + "]}}";
}

// An archive of one entry; `request` and `response` add members.
std::string archive(Members request, Members response) {
  request.insert({{"method", "\"POST\""}, {"url", "\"http://a.example/x\""}});
  response.insert({"status", "200"});
  return archiveOf(object({{"startedDateTime", "\"2026-01-02T03:04:05.678Z\""},
                           {"request", object(request)},
                           {"response", object(response)}}));
}

std::string body(Members members) {
  members.insert({"mimeType", "\"application/x-amf\""});
  return object(members);
}

Members base64(const std::string& text) {
  return {{"text", quoted(text)}, {"encoding", "\"base64\""}};
}

std::string answered(const Members& members) {
  return archive({}, {{"content", body(members)}});
}

std::string posted(const Members& members, int size = -1) {
  return archive({{"postData", body(members)}, {"bodySize", std::to_string(size)}}, {});
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

std::vector<rapidjson::Document> documentsOf(const std::string& text) {
  std::vector<rapidjson::Document> documents;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    documents.emplace_back();
    EXPECT_FALSE(documents.back().Parse(line.c_str()).HasParseError()) << line;
  }
  return documents;
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
  const Outcome outcome = runShell("$amf2json export --as har --lines $archives/recorder.har");
  EXPECT_EQ(outcome.status, 6);
  const std::string file = "amf2json: " AMF2JSON_SOURCES "/samples/har/recorder.har: ";
  EXPECT_EQ(outcome.err, file +
                             "destroyed by the recorder: 130 bytes, U+FFFD (EF BF BD) 3 times, "
                             "in the request of entry 1\n" +
                             file +
                             "destroyed by the recorder: 53 bytes, U+FFFD (EF BF BD) 1 time, "
                             "in the request of entry 3\n" +
                             file + "warning: of 6 AMF bodies: 2 destroyed by the recorder\n");
  const std::vector<rapidjson::Document> documents = documentsOf(outcome.out);
  ASSERT_EQ(documents.size(), 6u);
  for (std::size_t i = 0; i < documents.size(); ++i) {
    EXPECT_EQ(documents[i].HasMember("error"), i == 0 || i == 4) << i;
    EXPECT_EQ(documents[i].HasMember("amf"), i != 0 && i != 4) << i;
    EXPECT_STREQ(documents[i]["source"]["direction"].GetString(),
                 i % 2 == 0 ? "request" : "response")
        << i;
  }
  EXPECT_EQ(documents[0]["bytes"].GetInt(), 130);
  EXPECT_EQ(documents[0]["replaced"].GetInt(), 3);
}

TEST_F(Har, ThePrettyFormIsTheSameDocuments) {
  if (runShell("command -v jq").status != 0) GTEST_SKIP() << "needs jq, which was not found";
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

TEST_F(Har, BytesAreRestored) {
  const std::string response = sourceOf("response"), request = sourceOf("request");
  const std::string content = object(base64(kBase64));
  // A boolean, and a string with the character U+00E9: 2 bytes in UTF-8.
  const std::string accent = hex("0000 0000 0001 0000 0000 00000005 02 0002 C3A9");
  const char* const kAccent =
      "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"\",\"response\":\"\","
      "\"value\":\"\xC3\xA9\"}]}\n";
  const std::string twice = hex("0000 0000 0001 0000 0000 00000005 02 0002 C383C2A9");
  const std::string signs = hex("0000 0000 0001 0000 0000 00000009 00 4045 C280 0000000000");
  const char* const kSigns =
      "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"\",\"response\":\"\","
      "\"value\":43}]}\n";
  const BytesCase cases[] = {
      {"base64", answered(base64(kBase64)), response + kDocument},
      {"base64 of a request", posted(base64(kBase64)), request + kDocument},
      {"the media type has a parameter",
       answered({{"text", quoted(kBase64)},
                 {"encoding", "\"Base64\""},
                 {"mimeType", "\"Application/X-AMF; a=b\""}}),
       response + kDocument},
      {"the media type is in a header field",
       archive({}, {{"headers", "[{\"name\":\"Content-Type\",\"value\":\"application/x-amf\"}]"},
                    {"content", content}}),
       response + kDocument},
      {"no media type: the first bytes", archive({}, {{"content", content}}), response + kDocument},
      {"no media type: version 1",
       archive({}, {{"content", R"({"text":"AAEAAAAA","encoding":"base64"})"}}),
       response + "\"amf\":1,\"headers\":[],\"messages\":[]}\n"},
      {"no media type: no version of a packet",
       archive({}, {{"content", R"({"text":"AAIAAAAA","encoding":"base64"})"}}), ""},
      {"another media type",
       answered(
           {{"text", quoted(kBase64)}, {"encoding", "\"base64\""}, {"mimeType", "\"image/png\""}}),
       ""},
      {"the first of two header fields",
       archive({}, {{"headers",
                     "[{\"name\":\"content-type\",\"value\":\"application/amf\"},"
                     "{\"name\":\"content-type\",\"value\":\"image/png\"}]"},
                    {"content", content}}),
       response + kDocument},
      {"another media type in a header field",
       archive({}, {{"headers", "[{\"name\":\"content-type\",\"value\":\"image/png\"}]"},
                    {"content", content}}),
       ""},
      {"ASCII", answered({{"text", quoted(hex("0000 0000 0001 0000 0000 00000004 02 0001 'x'"))}}),
       response + "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"\",\"response\":\"\","
                  "\"value\":\"x\"}]}\n"},
      {"UTF-8, by its size", answered({{"text", quoted(accent)}, {"size", "19"}}),
       response + kAccent},
      {"UTF-8, by what can be read", answered({{"text", quoted(accent)}, {"size", "-1"}}),
       response + kAccent},
      {"a character a byte, by the size", answered({{"text", quoted(twice)}, {"size", "19"}}),
       response + kAccent},
      {"a character a byte of a request, by the size", posted({{"text", quoted(twice)}}, 19),
       request + kAccent},
      {"a character a byte, by what can be read", answered({{"text", quoted(signs)}}),
       response + kSigns},
      {"no body", answered({{"size", "0"}}), ""},
  };
  for (const BytesCase& row : cases) {
    const Outcome outcome = exported(row.text);
    EXPECT_EQ(outcome.out, row.out) << row.name;
  }
}

TEST_F(Har, AWrittenReplacementCharacterIsNoLoss) {
  const std::string text = hex("0000 0000 0001 0000 0000 00000006 02 0003 EFBFBD");
  const Outcome outcome = exported(answered({{"text", quoted(text)}, {"size", "-1"}}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out.substr(outcome.out.rfind(':')), ":\"\xEF\xBF\xBD\"}]}\n");
}

TEST_F(Har, WhatWasDecodedAndPutIntoBase64IsDestroyedToo) {
  // 00 03 00 00 00 01 00 01 'a' 00 00 EFBFBD
  const Outcome outcome = exported(answered(base64("AAMAAAABAAFhAADvv70=")));
  EXPECT_EQ(outcome.status, 6);
  EXPECT_EQ(outcome.out, sourceOf("response") +
                             "\"error\":\"destroyed by the recorder: 14 bytes, U+FFFD (EF BF BD) 1 "
                             "time\",\"bytes\":14,\"replaced\":1}\n");
}

TEST_F(Har, BodiesThatWereNotRecorded) {
  const Outcome outcome = exported(answered({{"size", "1234"}}));
  EXPECT_EQ(
      outcome,
      (Outcome{6, sourceOf("response") + "\"error\":\"not recorded: 1234 bytes\",\"bytes\":1234}\n",
               "amf2json: -: not recorded: 1234 bytes, in the response of entry 0\n"
               "amf2json: -: warning: of 1 AMF body: 1 not recorded\n"}));
}

TEST_F(Har, RefusedBodiesHaveAnErrorAndTheOthersFollow) {
  std::string entries;
  for (const char* const text : {"AAMAAAABAAF0", kBase64}) {  // the first one is cut
    entries += (entries.empty() ? "" : ",") +
               object({{"request", object({{"postData", body(base64(text))}})}});
  }
  const Outcome outcome = exported(archiveOf(entries));
  EXPECT_EQ(outcome.status, 5);
  const std::vector<rapidjson::Document> documents = documentsOf(outcome.out);
  ASSERT_EQ(documents.size(), 2u);
  EXPECT_EQ(documents[0]["offset"].GetInt(), 9);
  EXPECT_EQ(documents[1]["source"]["index"].GetInt(), 1);
  EXPECT_STREQ(documents[1]["source"]["url"].GetString(), "");
  EXPECT_EQ(documents[1]["messages"][0]["value"].GetDouble(), 42.5);
  EXPECT_EQ(outcome.err.rfind("-:9: ", 0), 0u) << outcome.err;
  EXPECT_NE(outcome.err.find(", in the request of entry 0 (message 0)\n"), std::string::npos)
      << outcome.err;
  EXPECT_NE(outcome.err.find("warning: of 2 AMF bodies: 1 refused\n"), std::string::npos)
      << outcome.err;
}

TEST_F(Har, ACompressedBodyNamesTheOption) {
  const Outcome outcome = exported(answered(base64("H4sIAAAAAAAAAA==")));
  EXPECT_EQ(outcome.status, 5);
  EXPECT_NE(outcome.err.find("\n    these bytes are gzip: --unwrap unpacks them\n"),
            std::string::npos)
      << outcome.err;
}

TEST_F(Har, WarningsNameTheEntry) {
  // One byte after the message.
  const Outcome outcome = exported(answered(base64("AAAAAAAAAQ==")));
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(
      outcome.err.rfind("-:6: warning: 1 byte left over after the last message, in the response "
                        "of entry 0\n",
                        0),
      0u)
      << outcome.err;
}

// ---- Lone surrogates, which recorders escape and no UTF-8 has

TEST_F(Har, ABodyWithALoneSurrogateIsDestroyed) {
  const std::string packet = "\\u0000\\u0003\\u0000\\u0000\\u0000\\u0000";
  const struct {
    std::string text;  // a string of JSON
    std::size_t length;
    const char* lost;
    const char* keys;
  } rows[] = {
      {packet + "\\ud800", 9, "half a surrogate pair 1 time", "\"surrogates\":1"},
      {packet + "\\uDBFF\\udfff\\uDFFFx", 14, "half a surrogate pair 1 time", "\"surrogates\":1"},
      {packet + "\\udaff\\ud9ff\\udc00\\udc00", 16, "half a surrogate pair 2 times",
       "\"surrogates\":2"},
      {packet + "\\\\ud800\\ud800", 15, "half a surrogate pair 1 time", "\"surrogates\":1"},
      {packet + "\\ud800\\ufffd\xEF\xBF\xBD", 15,
       "U+FFFD (EF BF BD) 2 times, half a surrogate pair 1 time",
       "\"replaced\":2,\"surrogates\":1"},
      // A string with U+FFFD would be a packet, but a sender does not write half a character.
      {"\\u0000\\u0000\\u0000\\u0000\\u0000\\u0001\\u0000\\u0000\\u0000\\u0000\\u0000\\u0000\\u0000"
       "\\u0006\\u0002\\u0000\\u0003\\udead",
       20, "half a surrogate pair 1 time", "\"surrogates\":1"},
  };
  for (const auto& row : rows) {
    const std::string length = std::to_string(row.length);
    const std::string error =
        "destroyed by the recorder: " + length + " bytes, " + std::string(row.lost);
    for (const char* const encoding : {"\"\"", "\"base64\""}) {
      EXPECT_EQ(exported(answered({{"text", '"' + row.text + '"'}, {"encoding", encoding}})),
                (Outcome{6,
                         sourceOf("response") + "\"error\":\"" + error + "\",\"bytes\":" + length +
                             "," + row.keys + "}\n",
                         "amf2json: -: " + error +
                             ", in the response of entry 0\n"
                             "amf2json: -: warning: of 1 AMF body: 1 destroyed by the recorder\n"}))
          << row.text;
    }
  }
}

TEST_F(Har, LoneSurrogatesElsewhereDoNoHarm) {
  const std::string lone = "\"\\ud800\"";
  Members entry = {{"startedDateTime", "\"\\uDC00\\ud83d\\ude00\""}, {"comment", lone}};
  entry["request"] = object({{"method", lone},
                             {"url", "\"http://a.example/\\ud800/\\udbff\\ud800\xC3\xA9\""},
                             {"headers", "[{\"name\":" + lone + ",\"value\":" + lone + "}]"}});
  entry["response"] = object({{"content", body(base64(kBase64))}});
  const std::string data = "data:\\ud800;base64," + std::string(kBase64);
  entry["x"] = object({{"\\ud800", lone}});
  EXPECT_EQ(exported("{\"log\":{\"x\\udbff\":" + lone + ",\"entries\":[" + lone + "," +
                     object(entry) + "]}}"),
            (Outcome{0,
                     "{\"source\":{\"index\":1,\"direction\":\"response\",\"method\":\"\\ufffd\","
                     "\"url\":\"http://a.example/\\ufffd/\\ufffd\\ufffd\\u00e9\",\"status\":0,"
                     "\"time\":\"\\ufffd\\ud83d\\ude00\"}," +
                         std::string(kDocument),
                     ""}));
  // In front of the base64 of a data URI.
  EXPECT_EQ(exported(answered({{"text", '"' + data + '"'}, {"encoding", "\"base64\""}})),
            (Outcome{0, sourceOf("response") + kDocument, ""}));
}

TEST_F(Har, NumbersOutOfRangeDoNoHarm) {
  const std::string number(400, '9');
  const std::string numbers = "[1e999,-1E+999,1e-999,1.5e99999999999999999999," + number + ",-" +
                              number + "," + number + ".5," + number + "e5,18446744073709551616]";
  const std::string entry =
      object({{"time", numbers},
              {"request", object({{"bodySize", "1e999"}})},
              {"response", object({{"status", number},
                                   {"content", body({{"text", quoted(kBase64)},
                                                     {"encoding", "\"base64\""},
                                                     {"size", number}})}})}});
  EXPECT_EQ(exported("{\"log\":{\"x\":" + numbers + ",\"entries\":[" + entry + "]}}"),
            (Outcome{0,
                     "{\"source\":{\"index\":0,\"direction\":\"response\",\"method\":\"\",\"url\":"
                     "\"\",\"status\":0,\"time\":\"\"}," +
                         std::string(kDocument),
                     ""}));
}

TEST_F(Har, WhatIsNoNumberIsRefusedAtItsPlace) {
  const std::string number(30, '9');
  const struct {
    std::string text;
    std::size_t offset;
  } rows[] = {
      {"1e", 10},          {"1e+", 11},       {"01e9", 9},
      {"1.e9", 10},        {"-", 9},          {"1e9e9", 11},
      {".1e9", 8},         {"0" + number, 9}, {number + ".", 39},
      {"1e9x", 11},        {"+1e9", 8},       {"1e9 9", 12},
      {number + "-1", 38}, {"\"\\ud8\"", 9},  {"\"\\ud800\\u\"", 15},
      {"\"\\ud800", 16},
  };
  for (const auto& row : rows) {
    const Outcome outcome = exported("{\"log\": " + row.text + "}");
    EXPECT_EQ(outcome.status, 6) << row.text;
    EXPECT_EQ(outcome.err.rfind("-:" + std::to_string(row.offset) + ": ", 0), 0u)
        << row.text << ": " << outcome.err;
  }
}

// ---- Many problems

std::string lostBodies(std::size_t count) {
  const std::string lost = object({{"response", object({{"content", body({{"size", "7"}})}})}});
  std::string entries = lost;
  for (std::size_t i = 1; i < count; ++i) entries += "," + lost;
  return entries;
}

std::string reportOf(std::size_t index) {
  return "amf2json: -: not recorded: 7 bytes, in the response of entry " + std::to_string(index) +
         "\n";
}

TEST_F(Har, TheFirstProblemsAreReportedAndTheOthersCounted) {
  std::string first;
  for (std::size_t i = 0; i < 20; ++i) first += reportOf(i);
  for (const std::size_t count : {20u, 21u, 1000u}) {
    const Outcome outcome = exported(archiveOf(lostBodies(count)));
    const std::string more = count == 20   ? ""
                             : count == 21 ? "amf2json: -: ... and 1 more problem\n"
                                           : "amf2json: -: ... and 980 more problems\n";
    const std::string all = std::to_string(count);
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(outcome.err, first + more + "amf2json: -: warning: of " + all +
                               " AMF bodies: " + all + " not recorded\n");
    EXPECT_EQ(documentsOf(outcome.out).size(), count);
  }
}

TEST_F(Har, ProblemsThatAreOnlyCountedDecideTheExitCodeToo) {
  const std::string more = answered(base64("AAAAAAAAAQ=="));  // one byte after the message
  const std::string trailing = more.substr(19, more.size() - 22);
  std::string entries = trailing;
  for (std::size_t i = 1; i < 21; ++i) entries += "," + trailing;
  const Outcome warnings = exported(archiveOf(entries), {"--error-format", "json"});
  EXPECT_EQ(warnings.status, 3);
  const std::vector<rapidjson::Document> reports = documentsOf(warnings.err);
  ASSERT_EQ(reports.size(), 21u);
  EXPECT_STREQ(reports[20]["message"].GetString(), "... and 1 more problem");
  EXPECT_STREQ(reports[20]["status"].GetString(), "more problems");
  EXPECT_EQ(reports[20]["exit_code"].GetInt(), 3);
  const Outcome errors = exported(archiveOf(entries + "," + lostBodies(1)));
  EXPECT_EQ(errors.status, 6);
  EXPECT_NE(errors.err.find("\namf2json: -: ... and 2 more problems\n"), std::string::npos);
  EXPECT_NE(
      exported(archiveOf(entries)).err.find("\namf2json: -: warning: ... and 1 more problem\n"),
      std::string::npos);
}

// ---- Archives of odd shapes

TEST_F(Har, OddShapesAreNoEntries) {
  const char* const kTexts[] = {
      "{\"log\":{\"entries\":[]}}",
      "\xEF\xBB\xBF{\"log\":{\"entries\":[]}}",
      "{\"log\":{\"entries\":[null,5,\"x\",[],{},{\"request\":5,\"response\":[]}]}}",
      "{\"log\":{\"entries\":[{\"request\":{\"headers\":7,\"postData\":null,\"bodySize\":\"x\"}}]}}",
      "{\"log\":{\"entries\":[{\"response\":{\"content\":{\"mimeType\":\"application/amf\"}},"
      "\"request\":{\"postData\":{\"size\":7}}}]}}",
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
  const std::string deep(200000, '['), tooDeep((1 << 20) + 1, '[');
  const std::string packet = answered(base64(kBase64));
  const RefusalCase cases[] = {
      {"", {}, 6, "-:0: The document is empty.\n"},
      {"{\"log\":nil}", {}, 6, "-:8: Invalid value.\n"},
      {"{} {}", {}, 6, "-:3: The document root must not be followed by other values.\n"},
      {"{}", {}, 6, "amf2json: -: this is no archive (HAR): no list log.entries\n"},
      {"{\"log\":{\"entries\":{}}}",
       {},
       6,
       "amf2json: -: this is no archive (HAR): no list log.entries\n"},
      {std::string("{}\0{}", 5), {}, 6, "-:2: this is no archive (HAR): a byte 00\n"},
      {deep, {}, 6, "-:200000: Invalid value.\n"},
      {tooDeep,
       {},
       6,
       "amf2json: -: this is no archive (HAR): more than 1048576 objects and arrays inside one "
       "another\n"},
      {"{\"log\":{\"entries\":[\"\xFF\"]}}", {}, 6, "-:20: Invalid encoding in string.\n"},
      {"{\"log\":\"\xF3}", {}, 6, "-:8: Invalid encoding in string.\n"},
      {"{\"log\":nil,\"\xC3", {}, 6, "-:8: Invalid value.\n"},
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

TEST_F(Har, WhatIsNoPlaceOfABodyIsIgnored) {
  const std::string body64 = "{\"content\":" + body(base64(kBase64)) + "}";
  const std::string texts[] = {
      "{\"log\":{\"x\":{\"entries\":[{\"response\":" + body64 + "}]},\"entries\":[]}}",
      "{\"log\":{\"entries\":[[{\"response\":" + body64 + "}],{\"response\":[" + body64 +
          "],\"x\":" + body64 + ",\"request\":" + body64 + "}]}}",
  };
  for (const std::string& text : texts) EXPECT_EQ(exported(text), (Outcome{0, "", ""})) << text;
}

// Base64 in name only: a packet as text is read, all else is refused.
TEST_F(Har, TextThatIsNotBase64) {
  const std::string text = hex("0000 0000 0001 0000 0000 00000004 02 0001 'x'");
  EXPECT_EQ(exported(answered(base64(text))).status, 0);
  for (const char* const wrong : {"{}", "AAMA*AAA", "data:x;base64,?"}) {
    const std::string count = std::to_string(std::string(wrong).size());
    const std::string error = "not base64, but the archive says so: " + count + " bytes";
    EXPECT_EQ(
        exported(answered(base64(wrong))),
        (Outcome{6, sourceOf("response") + "\"error\":\"" + error + "\",\"bytes\":" + count + "}\n",
                 "amf2json: -: " + error + ", in the response of entry 0\n" +
                     "amf2json: -: warning: of 1 AMF body: 1 refused\n"}))
        << wrong;
  }
}

// Kibibytes of the largest child so far.
long largestChild() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss;
}

TEST_F(Har, MemoryDoesNotGrowWithTheNumberOfValues) {
  constexpr std::size_t kValues = 4 << 20;
  std::string text = "{\"x\":[0";
  for (std::size_t i = 1; i < kValues; ++i) text += ",0";
  text += "],\"log\":{\"entries\":[]}}";
  ASSERT_EQ(exported(archiveOf("")).status, 0);
  const long before = largestChild();
  EXPECT_EQ(exported(text), (Outcome{0, "", ""}));
  const long textKiB = static_cast<long>(text.size() / 1024);
  EXPECT_LT(largestChild() - before, 3 * textKiB);
}

// ---- Options of export

TEST_F(Har, OptionsHoldForEachBody) {
  writeFile("odd.amf", hex("0000 0000 0001 0001 't' 0001 'r' FFFFFFFF 11 0A 07 07 'a.B' 04 05"));
  const char* const kWrappers[] = {
      "base64",
#ifdef AMF2JSON_HAVE_ZLIB
      "gzip",
#endif
  };
  for (const std::string wrapper : kWrappers) {
    const std::string text = runShell(wrapper + " <odd.amf | base64 -w0").out;
    EXPECT_EQ(exported(answered(base64(text)), {"--unwrap", "--external", "a.B=1"}),
              (Outcome{0,
                       sourceOf("response") +
                           "\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"t\",\"response\":"
                           "\"r\",\"length\":\"unknown\",\"value\":{\"$amf3\":{\"$external\":"
                           "\"a.B\",\"$value\":5}}}]}\n",
                       ""}))
        << wrapper;
  }
}

}  // namespace
