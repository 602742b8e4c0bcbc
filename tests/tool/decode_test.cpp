// SPDX-License-Identifier: Apache-2.0
//
// amf2json decode, from outside: views, escaping, what is not lost in silence.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <AMF2JSON>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

using Decode = ProgramTest;

rapidjson::Document parsed(const std::string& text) {
  rapidjson::Document document;
  EXPECT_FALSE(document.Parse(text.c_str()).HasParseError()) << text;
  return document;
}

struct DecodeCase {
  const char* name;
  std::vector<std::string> arguments;
  Outcome expected;
};

const DecodeCase kDecodeCases[] = {
    {"json, indented", {"decode", "echo.amf"}, {0, std::string(kEchoLiteral) + "\n", ""}},
    {"json by name",
     {"decode", "--to", "json", "echo.amf"},
     {0, std::string(kEchoLiteral) + "\n", ""}},
    {"option after the file",
     {"decode", "empty.amf", "--compact"},
     {0, "{\"version\" : \"AMF3\",\"type\" : \"package\",\"content\" : []}\n", ""}},
    {"js, compact",
     {"decode", "--to=js", "--compact", "empty.amf"},
     {0, "\n amf = {\"version\" : \"AMF3\",\"type\" : \"package\",\"content\" : []}\n\n", ""}},
    {"both",
     {"decode", "--to", "both", "echo.amf"},
     {0, kEchoLiteral + std::string("\n\nJS representaion\n\n") + kEchoStatements, ""}},
    {"script", {"decode", "--to", "script", "echo.amf"}, {0, kEchoStatements, ""}},
    {"an empty text is one line feed", {"decode", "--to", "script", "empty.amf"}, {0, "\n", ""}},
    {"several files, in order",
     {"decode", "--to", "script", "echo.amf", "empty.amf", "echo.amf"},
     {0, kEchoStatements + std::string("\n") + kEchoStatements, ""}},
    {"refused", {"decode", "refused.amf"}, {6, "", kRefusedError}},
    {"cut", {"decode", "cut.amf"}, {5, "", kCutError}},
    {"nothing at all",
     {"decode", "/dev/null"},
     {5, "", "/dev/null:0: truncated: at least 2 bytes are missing (envelope)\n"}},
    {"goes on after an error and exits with the worst",
     {"decode", "--to", "script", "cut.amf", "echo.amf", "refused.amf", "more.amf"},
     {6, kEchoStatements + std::string(kEchoStatements),
      std::string(kCutError) + kRefusedError + kMoreWarning}},
    {"bytes after the last message",
     {"decode", "--to", "script", "more.amf"},
     {3, kEchoStatements, kMoreWarning}},
    {"bytes after the last message, allowed",
     {"decode", "--to", "script", "--allow-trailing", "more.amf"},
     {0, kEchoStatements, ""}},
};

TEST_F(Decode, ShowsPackets) {
  for (const DecodeCase& row : kDecodeCases) {
    EXPECT_EQ(run(row.arguments), row.expected) << row.name;
  }
}

TEST_F(Decode, ReadsStandardInput) {
  const std::string packet = echoOf("02 0002 'hi'");
  const Outcome expected = {0, kEchoStatements, ""};
  EXPECT_EQ(run({"decode", "--to", "script"}, packet), expected);
  EXPECT_EQ(run({"decode", "--to", "script", "-"}, packet), expected);
  const Outcome between = {0, std::string("\n") + kEchoStatements + "\n", ""};
  EXPECT_EQ(run({"decode", "--to", "script", "empty.amf", "-", "empty.amf"}, packet), between);
  const Outcome refused = {6, "",
                           "-:21: getAMF0Value: unknown value type (message 0)\n"
                           "    at 5: 01 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 04 |\n"};
  EXPECT_EQ(run({"decode"}, echoOf("04")), refused);
}

// ---- Limits: each refusal names the option that raises the limit

struct LimitCase {
  const char* option;
  const char* over;    // value that refuses limits.amf
  const char* within;  // value that lets it through
  const char* place;   // "FILE:OFFSET: STATUS"
  const char* section = "message 0";
};

// Two arrays in one another; the inner one holds a string and two references to it.
const char kLimitsPacket[] = "11 09 03 01 09 07 01 06 05 'hi' 06 00 06 00";

const LimitCase kLimitCases[] = {
    {"--max-depth", "1", "2", "limits.amf:26: depth limit"},
    {"--max-nodes", "4", "1000", "limits.amf:23: node limit"},
    {"--max-tree-bytes", "1", "100000", "limits.amf:2: tree size limit", "envelope"},
    {"--max-copied-bytes", "1", "100000", "limits.amf:33: copy limit"},
    {"--max-string-bytes", "3", "4", "limits.amf:8: string limit"},
};

TEST_F(Decode, NamesTheOptionThatRaisesALimit) {
  writeFile("limits.amf", echoOf(kLimitsPacket));
  for (const LimitCase& row : kLimitCases) {
    const Outcome refused = run({"decode", row.option, row.over, "limits.amf"});
    EXPECT_EQ(refused.status, 7) << row.option;
    EXPECT_EQ(refused.out, "") << row.option;
    EXPECT_EQ(refused.err.substr(0, refused.err.find("\n    at ")),
              std::string(row.place) + ": more than " + row.option + " " + row.over + " (" +
                  row.section + ")");
    EXPECT_EQ(run({"decode", row.option, row.within, "limits.amf"}).status, 0) << row.option;
  }
}

TEST_F(Decode, NamesTheOptionForSwitchedReferences) {
  writeFile("switched.amf", echoOf("0A 00000002 11 09 01 01 11 09 00"));
  const Outcome refused = {7, "",
                           "switched.amf:32: switched reference limit: more than "
                           "--max-switched-references 0 (message 0)\n"
                           "    at 16: FF FF FF FF 0A 00 00 00 02 11 09 01 01 11 09 00 |\n"};
  EXPECT_EQ(run({"decode", "--max-switched-references", "0", "switched.amf"}), refused);
}

// ---- Escaping

// A target that ends its string, a line separator in a member name, bytes that are not UTF-8, a
// control byte, NaN.
const char kHostileValue[] =
    "03 0002 5C22 02 0001 'x' 0003 E280A8 02 0002 5C6E 0001 'u' 02 0002 C328"
    " 0001 'c' 02 0002 1B5D 0001 'n' 00 7FF8000000000000 0000 09";

TEST_F(Decode, EscapesSoThatJSONParsersReadWhatThePacketSays) {
  writeFile("hostile.amf", echoOf(kHostileValue));
  for (const char* layout : {"--compact", "--local-time"}) {
    const Outcome shown = run({"decode", layout, "hostile.amf"});
    EXPECT_EQ(shown.status, 0);
    const rapidjson::Document text = parsed(shown.out);
    std::vector<std::string> names, values;
    for (const auto& property : text["content"][0]["value"]["properties"].GetArray()) {
      const auto& value = property["value"];
      names.push_back(property["name"].GetString());
      values.push_back(value.IsNull() ? "null" : value.GetString());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"\\\"", "\xE2\x80\xA8", "u", "c", "n"}));
    EXPECT_EQ(values, (std::vector<std::string>{"x", "\\n", "\xEF\xBF\xBD(", "\x1B]", "null"}));
  }
}

// What JSON parsers need not have escaped is escaped where a page may run the view.
TEST_F(Decode, EscapesMoreInViewsThatHoldScripts) {
  struct Row {
    const char* view;
    const char* text;
  };
  const Row kRows[] = {{"json", "\"L\xC3\xA4nge & 'b' \\u003Cc>\""},
                       {"js", "\"L\\u00E4nge \\u0026 \\u0027b\\u0027 \\u003Cc\\u003E\""},
                       {"both", "\"L\\u00E4nge \\u0026 \\u0027b\\u0027 \\u003Cc\\u003E\""},
                       {"script", "\"L\\u00E4nge \\u0026 \\u0027b\\u0027 \\u003Cc\\u003E\""}};
  writeFile("page.amf", echoOf("02 0010 'L' C3A4 'nge & ' 27 'b' 27 ' <c>'"));
  for (const Row& row : kRows) {
    const std::string shown = run({"decode", "--to", row.view, "page.amf"}).out;
    EXPECT_NE(shown.find(row.text), std::string::npos) << shown;
  }
}

TEST_F(Decode, GivesTheLibrarysTextExactly) {
  const std::string packet = echoOf(kHostileValue);
  writeFile("hostile.amf", packet);
  AMFProtocol json;
  json.parse(packet.data());
  const Outcome exactJSON = {0, json.getPackageInJSON(true) + "\n", ""};
  EXPECT_EQ(run({"decode", "--exact", "hostile.amf"}), exactJSON);
  AMFProtocol script;
  script.parse(packet.data());
  const Outcome exactScript = {0, script.getPackageAsJSView(false), ""};
  EXPECT_EQ(run({"decode", "--exact", "--to", "script", "--compact", "hostile.amf"}), exactScript);
}

// The line feeds that the library adds for every 500 bytes.
TEST_F(Decode, KeepsSoftBreaksForExactTextsAlone) {
  std::string values = "0A 00000040";
  for (int i = 0; i < 64; ++i) values += " 03 0001 'a' 02 0004 0A0A220A 0000 09";
  writeFile("long.amf", echoOf(values));
  const auto has = [](const std::string& options, const std::string& text) {
    return run({"decode", "long.amf"}).status == 0 &&
           runShell("$amf2json decode " + options + " long.amf").out.find(text) !=
               std::string::npos;
  };
  EXPECT_FALSE(has("", "\n\n"));
  EXPECT_TRUE(has("--exact", "\n\n"));
  EXPECT_FALSE(has("--to both", ",\n\n"));
  EXPECT_FALSE(has("--to js", ",\n\n"));
  EXPECT_FALSE(has("--to js --compact", ",\n"));
  EXPECT_TRUE(has("--to js --compact --exact", ",\n"));
  const Outcome compact = run({"decode", "--compact", "long.amf"});
  EXPECT_EQ(compact.out.find('\n'), compact.out.size() - 1);
  EXPECT_TRUE(parsed(compact.out) == parsed(run({"decode", "long.amf"}).out));
}

TEST_F(Decode, KeepsTemporariesForExactTextsAlone) {
  writeFile("long.amf", echoOf("02 01F4 61*500"));
  EXPECT_EQ(run({"decode", "--to", "js", "long.amf"}).out.find("qxAmfTemporary"),
            std::string::npos);
  EXPECT_EQ(run({"decode", "--to", "js", "--exact", "long.amf"}).out.find("qxAmfTemporary1 = "),
            1u);
}

// ---- Nothing is lost in silence

TEST_F(Decode, TellsWhereAScriptViewStops) {
  // Texts of 499,999 bytes and more stop in front of the next value.
  writeFile("large.amf", echoOf("0A 00000007 0C 00013880 61*80000 0C 00013880 61*80000"
                                " 0C 00013880 61*80000 0C 00013880 61*80000 05 05 05"));
  EXPECT_EQ(run({"decode", "large.amf"}).status, 0);
  for (const char* view : {"js", "both", "script"}) {
    const Outcome shown = run({"decode", "--to", view, "-o", "text", "large.amf"});
    const std::string size = std::to_string(readFile("text").size());
    const Outcome expected = {4, "",
                              "amf2json: large.amf: warning: the script view stopped at its output "
                              "limit, after " +
                                  size + " bytes; --to json is whole\n"};
    EXPECT_EQ(shown, expected) << view;
  }
}

// ---- Independence of the surroundings

TEST_F(Decode, ShowsTimesInUTCByDefault) {
  writeFile("date.amf", echoOf("0B 0000000000000000 0000"));
  const std::string decode = "TZ=Asia/Tokyo LC_ALL=de_DE.UTF-8 $amf2json decode --to script ";
  const std::string start = "content[0].targetUri = \"echo\";\ncontent[0].responseUri = \"/1\";\n";
  const Outcome utc = {
      0, start + "content[0].value = content[0].value.value = \"Thu Jan  1 00:00:00 1970\";\n", ""};
  EXPECT_EQ(runShell(decode + "date.amf"), utc);
  const Outcome local = {
      0, start + "content[0].value = content[0].value.value = \"Thu Jan  1 09:00:00 1970\";\n", ""};
  EXPECT_EQ(runShell("TZ=JST-9 $amf2json decode --to script --local-time date.amf"), local);
}

}  // namespace
