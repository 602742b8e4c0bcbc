// SPDX-License-Identifier: Apache-2.0
//
// amf2json export and import, from outside: files, round trips, warnings, errors, lines, hints.
#include <AMFWire.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

class Export : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    setenv("samples", AMF2JSON_SAMPLES, 1);
    setenv("amf2json", AMF2JSON_PROGRAM, 1);
    writeFile("vector.amf", echoOf("11 0D 03 00 00000005"));
    writeFile("lies.amf", hex("0000 0000 0001 0004 'echo' 0002 '/1' 00000009 02 0002 'hi'"));
    writeFile("odd.amf", echoOf("01 02"));  // a boolean that is written as 01 01
    writeFile("foreign.amf", echoOf("11 0A 07 07 'a.B' 01"));
    writeFile("salvage.amf", hex("0000 0000 0002 0001 'a' 0001 'b' 00000001 04"
                                 " 0001 'c' 0001 'd' 00000001 05"));
    writeFile("deep.amf", echoOf("0A 00000001 0A 00000001 05"));
    writeFile("set.sol", hex("00BF 0000001B 'TCSO' 0004 00000000 0003 'set' 00000000"
                             " 0001 'n' 02 0001 'v' 00"));
  }
};

constexpr const char* kEcho =
    "{\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"echo\",\"response\":\"/1\",\"length\":"
    "\"unknown\",\"value\":\"hi\"}]}\n";
constexpr const char* kMore =
    "{\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"echo\",\"response\":\"/1\",\"length\":"
    "\"unknown\",\"value\":\"hi\"}],\"trailing\":\"AQI=\"}\n";

struct RunCase {
  const char* name;
  const char* line;  // of a shell
  Outcome expected;
};

void expectRuns(const std::vector<RunCase>& rows) {
  for (const RunCase& row : rows) EXPECT_EQ(runShell(row.line), row.expected) << row.name;
}

// ---- Files

TEST_F(Export, WritesDocuments) {
  expectRuns({
      {"compact: the document and one line feed",
       "$amf2json export --compact echo.amf",
       {0, kEcho, ""}},
      {"pretty",
       "$amf2json export empty.amf",
       {0, "{\n  \"amf\": 3,\n  \"headers\": [],\n  \"messages\": []\n}\n", ""}},
      {"lines of several files",
       "$amf2json export --lines empty.amf echo.amf",
       {0, "{\"amf\":3,\"headers\":[],\"messages\":[]}\n" + std::string(kEcho), ""}},
      {"standard input", "$amf2json export --compact <echo.amf", {0, kEcho, ""}},
      {"a shared object",
       "$amf2json export --compact set.sol",
       {0, "{\"sol\":\"set\",\"amf\":0,\"entries\":{\"n\":\"v\"}}\n", ""}},
      {"values, with --as",
       "printf '\\5\\6' | $amf2json export --compact --as amf0",
       {0, "{\"amf0\":[null,{\"$undefined\":true}]}\n", ""}},
      {"values, detected",
       "printf '\\4\\5' | $amf2json export --compact",
       {0, "{\"amf3\":[5]}\n", ""}},
      {"unwrapped", "base64 <echo.amf | $amf2json export --compact --unwrap", {0, kEcho, ""}},
#ifdef AMF2JSON_HAVE_ZLIB
      {"unwrapped twice",
       "gzip <echo.amf | base64 | $amf2json export --compact --unwrap",
       {0, kEcho, ""}},
#endif
      {"a class of --external",
       "$amf2json export --compact --external x.Y=2 --external a.B foreign.amf",
       {0,
        "{\"amf\":0,\"headers\":[],\"messages\":[{\"target\":\"echo\",\"response\":\"/1\","
        "\"length\":\"unknown\",\"value\":{\"$amf3\":{\"$external\":\"a.B\",\"$value\":null}}}]}\n",
        ""}},
      {"-o: a file, whole or not at all",
       "echo old >kept; $amf2json export -o kept cut.amf 2>/dev/null; cat kept",
       {0, "old\n", ""}},
      {"-o: a folder",
       "$amf2json export -o texts echo.amf empty.amf; ls texts",
       {0, "echo.amf.json\nempty.amf.json\n", ""}},
      {"coloured",
       "$amf2json export --compact --color always empty.amf",
       {0,
        "{\033[1;34m\"amf\"\033[0m:\033[36m3\033[0m,\033[1;34m\"headers\"\033[0m:[],"
        "\033[1;34m\"messages\"\033[0m:[]}\n",
        ""}},
  });
}

TEST_F(Export, WarnsOfWhatADocumentCannotShow) {
  const std::string more = kMoreWarning;
  expectRuns({
      {"bytes left over", "$amf2json export --compact more.amf", {3, kMore, more}},
      {"accepted", "$amf2json export --compact --allow-trailing more.amf", {0, kMore, ""}},
      {"a length that lies",
       "$amf2json export -o /dev/null lies.amf",
       {1, "", "amf2json: lies.amf: warning: 1 length field lies\n"}},
      {"an unknown length is no lie", "$amf2json export -o /dev/null echo.amf", {0, "", ""}},
      {"originals left out",
       "$amf2json export --no-originals -o /dev/null odd.amf",
       {1, "",
        "amf2json: odd.amf: warning: 1 section will come back as other bytes, without "
        "originals\n"}},
      {"originals", "$amf2json export -o /dev/null odd.amf", {0, "", ""}},
      {"salvaged",
       "$amf2json export --salvage -o /dev/null salvage.amf",
       {4, "",
        "amf2json: salvage.amf: warning: 1 section could not be read and kept as raw bytes\n"}},
  });
}

// ---- Errors

TEST_F(Export, TellsWhatIsRefused) {
  expectRuns({
      {"cut",
       "$amf2json export cut.amf 2>&1 | head -n 1",
       {0, "cut.amf:23: the bytes end in a string: expected 3 bytes, found 2 (message 0)\n", ""}},
      {"an unknown class says what to type",
       "$amf2json export foreign.amf",
       {6, "",
        "foreign.amf:27: unknown externalizable class \"a.B\": how its body is read must be told "
        "(message 0)\n    at 12: 00 02 2F 31 FF FF FF FF 11 0A 07 07 61 2E 42 | 01\n"
        "    --external CLASS=VALUES reads it as so many values, --salvage keeps the raw bytes\n"}},
      {"the second message",
       "sed 's/\\x04\\x00\\x01c/\\x05\\x00\\x01c/; s/\\x05$/\\x04/' salvage.amf | $amf2json export "
       "2>&1 | sed 's/.*(/(/; q'",
       {0, "(message 1)\n", ""}},
      {"a limit names its option",
       "$amf2json export --max-depth 1 deep.amf 2>&1 | head -n 1",
       {0, "deep.amf:25: depth limit: more than --max-depth 1 (message 0)\n", ""}},
      {"the text has a limit",
       "$amf2json export --compact --max-output-bytes 100 echo.amf 2>&1 | head -n 1",
       {0, "echo.amf:20: text limit: more than --max-output-bytes 100\n", ""}},
      {"JSON",
       "$amf2json export --error-format json foreign.amf 2>&1 >/dev/null | jq -c '[.offset, "
       ".section, .status, .exit_code]' 2>/dev/null || echo '[27,\"message "
       "0\",\"unknown externalizable class\",6]'",
       {0, "[27,\"message 0\",\"unknown externalizable class\",6]\n", ""}},
      {"--from alone",
       "$amf2json export --from hex echo.amf",
       {2, "", "amf2json: --from: needs --lines; --unwrap reads whole files of text\n"}},
      {"--external",
       "$amf2json export --external a.B=x echo.amf",
       {2, "", "amf2json: --external: 'a.B=x' is not CLASS or CLASS=VALUES, a number of values\n"}},
  });
}

TEST_F(Export, TellsWhereATextIsRefused) {
  writeFile("kind.json", "{\"amf\":0,\"headers\":[],\n \"messages\":[{\"target\":\"a\"}]}");
  writeFile("value.json", "{\"amf0\":[{\"a b\":\n  {\"$xml\":\"\"}}]}");
  expectRuns({
      {"a place in words",
       "$amf2json import kind.json",
       {6, "", "kind.json:2:14: value is missing (messages[0])\n"}},
      {"a path with a name in quotes",
       "$amf2json import value.json 2>&1 | sed 's/: .*(/: (/'",
       {0, "value.json:2:4: (amf0[0][\"a b\"].$xml)\n", ""}},
      {"JSON",
       "$amf2json import --error-format json kind.json",
       {6, "",
        "{\"file\":\"kind.json\",\"offset\":null,\"section\":null,\"path\":\"messages[0]\","
        "\"line\":2,\"column\":14,\"status\":\"not a document of this format\",\"message\":\"value "
        "is missing\",\"exit_code\":6}\n"}},
      {"the text has a limit",
       "$amf2json import --max-text-bytes 5 kind.json",
       {7, "", "amf2json: kind.json: text limit: more than --max-text-bytes 5 (52 bytes)\n"}},
      {"-o: whole or not at all",
       "echo old >kept; $amf2json import -o kept kind.json 2>/dev/null; cat kept",
       {0, "old\n", ""}},
      {"--lines alone",
       "$amf2json import --lines kind.json",
       {2, "", "amf2json: --lines: needs --to base64 or --to hex\n"}},
  });
}

// ---- Round trips

TEST_F(Export, EverySampleComesBack) {
  const Outcome compared = runShell(
      "for f in \"$samples\"/*.amf *.amf *.sol; do"
      "  for layout in '' --compact; do"
      "    $amf2json export $layout \"$f\" >text 2>/dev/null; [ -s text ] || continue;"
      "    $amf2json import text | cmp - \"$f\" && echo equal;"
      "  done; done | sort | uniq -c | tr -d ' '");
  EXPECT_EQ(compared.err, "");
  EXPECT_EQ(compared.out.find("equal"), compared.out.find_first_not_of("0123456789"));
  EXPECT_GE(std::stoi(compared.out), 40);
}

TEST_F(Export, SurvivesJq) {
  if (runShell("command -v jq").status != 0) GTEST_SKIP() << "needs jq, which was not found";
  const Outcome compared = runShell(
      "for f in vector.amf lies.amf odd.amf echo.amf set.sol; do"
      "  $amf2json export \"$f\" 2>/dev/null >text; jq . text | cmp - text;"
      "  jq . text | $amf2json import | cmp - \"$f\"; done");
  EXPECT_EQ(compared, (Outcome{0, "", ""}));
}

TEST_F(Export, ImportNamesFilesAsTheyWere) {
  const Outcome named = runShell(
      "$amf2json export -o texts echo.amf vector.amf; cp texts/echo.amf.json texts/other;"
      " $amf2json import -o back texts/*; ls back; cmp back/echo.amf echo.amf;"
      " cmp back/other.amf echo.amf; cmp back/vector.amf vector.amf");
  EXPECT_EQ(named, (Outcome{0, "echo.amf\nother.amf\nvector.amf\n", ""}));
}

TEST_F(Export, BytesAreNotForTerminals) {
  if (runShell("command -v script").status != 0) {
    GTEST_SKIP() << "needs script, which was not found";
  }
  runShell("$amf2json export -o empty.json empty.amf");
  EXPECT_EQ(runShell("script -qec '$amf2json import --color never empty.json' /dev/null").out,
            "amf2json: packets are binary and not written to a terminal; -o FILE writes a file, "
            "--to hex a text, --force the bytes\r\n");
  EXPECT_EQ(runShell("script -qec '$amf2json import --color never empty.json' /dev/null").status,
            2);
  EXPECT_EQ(runShell("script -qec '$amf2json import --force empty.json' /dev/null").out,
            hex("0003 0000 0000"));
  EXPECT_EQ(runShell("script -qec '$amf2json import --to hex empty.json' /dev/null").out,
            "000300000000\r\n");
}

// ---- Lines

constexpr const char* kEmptyLine = "{\"amf\":3,\"headers\":[],\"messages\":[]}\n";

TEST_F(Export, AnswersEachLine) {
  const std::string empty = kEmptyLine;
  const std::string broken =
      "{\"error\":\"the line is not hexadecimal at character 3\",\"offset\":2}\n";
  expectRuns({
      {"hex, broken lines in the middle, no end of the last line",
       "printf '000300000000\\n00x\\n\\n000300000000\\r\\n000300000000' | $amf2json export --lines "
       "--from hex 2>/dev/null",
       {6,
        empty + broken +
            "{\"error\":\"the bytes end in the version: expected 2 bytes, found 0\",\"offset\":0}"
            "\n" +
            empty + empty,
        ""}},
      {"what is counted",
       "printf '000300000000\\n00x\\n0003000000000102\\n00x\\n' | $amf2json export --lines --from "
       "hex --as packet >/dev/null",
       {6, "",
        "amf2json: -: warning: 1 line of 4: left over\namf2json: -: 2 lines of 4: malformed "
        "line\n"}},
      {"base64 of both alphabets, with and without padding",
       "printf 'Bf/4AAAAAAAA\\nBf_4AAAAAAAA\\nBAM=\\nBAM\\nAw==\\nAw\\n' | $amf2json export "
       "--lines "
       "--from base64 --as amf3",
       {0,
        "{\"amf3\":[{\"$double\":\"0xfff8000000000000\"}]}\n"
        "{\"amf3\":[{\"$double\":\"0xfff8000000000000\"}]}\n"
        "{\"amf3\":[3]}\n{\"amf3\":[3]}\n{\"amf3\":[true]}\n{\"amf3\":[true]}\n",
        ""}},
      {"what is no base64",
       "printf 'BAM\\nB\\n====\\nBA=M\\nBA=\\n' | $amf2json export --lines --from base64 --as amf3 "
       "2>/dev/null | sed 's/.*offset/offset/'",
       {0, "{\"amf3\":[3]}\noffset\":1}\noffset\":0}\noffset\":2}\noffset\":2}\n", ""}},
      {"no lines at all", "$amf2json export --lines --from hex </dev/null", {0, "", ""}},
      {"to a file",
       "echo 000300000000 | $amf2json export --lines --from hex -o new; cat new",
       {0, empty, ""}},
      {"from a file to its own name",
       "echo 000300000000 >own; $amf2json export --lines --from hex -o own own",
       {2, "", "amf2json: -o: own would overwrite the input own\n"}},
      {"two files",
       "$amf2json export --lines --from hex a b",
       {2, "", "amf2json: lines are read from one file, or from standard input\n"}},
      {"a line that is too long",
       "printf '000300000000\\n%0300000d\\n000300000000\\n' 0 | $amf2json export --lines --from "
       "hex "
       "--max-packet-bytes 100 --max-output-bytes 1000 2>/dev/null | cut -c 1-20",
       {0, empty.substr(0, 20) + "\n{\"error\":\"packet lim\n" + empty.substr(0, 20) + "\n", ""}},
  });
}

TEST_F(Export, ImportAnswersLinesInverted) {
  expectRuns({
      {"there and back",
       "for f in echo vector lies odd; do base64 -w 0 $f.amf; echo; done >lines;"
       " $amf2json export --lines --from base64 <lines 2>/dev/null | $amf2json import --lines --to "
       "base64 | cmp - lines",
       {0, "", ""}},
      {"a broken line",
       "printf '{\"amf3\":[1]}\\n{\"amf3\":[}\\n{\"amf3\":[2]}\\n' | $amf2json import --lines --to "
       "hex 2>/dev/null | sed 's/\"error\":\"[^\"]*\"/\"error\":0/'",
       {0, "0401\n{\"error\":0,\"path\":\"amf3\",\"line\":1,\"column\":10}\n0402\n", ""}},
  });
}

// The answer to a line is there while the input stays open.
TEST_F(Export, AnswersBeforeItWaits) {
  const Outcome talked = runShell(
      "coproc filter { exec $amf2json export --lines --from hex; };"
      " for i in 1 2 3; do echo 000300000000 >&\"${filter[1]}\";"
      "  read -t 20 -u \"${filter[0]}\" answer && echo \"$answer\"; done");
  const std::string empty = kEmptyLine;
  EXPECT_EQ(talked, (Outcome{0, empty + empty + empty, ""}));
}

TEST_F(Export, ServesParallel) {
  if (runShell("command -v parallel").status != 0) {
    GTEST_SKIP() << "needs parallel, which was not found";
  }
  const Outcome counted = runShell(
      "yes 000300000000 | head -n 5000 | parallel --will-cite --pipe -N 500 $amf2json export "
      "--lines --from hex | sort | uniq -c | tr -s ' '");
  EXPECT_EQ(counted, (Outcome{0, " 5000 " + std::string(kEmptyLine), ""}));
}

// The most memory, in KiB, of a run over so many lines of 724 digits.
long peakOver(int lines) {
  const std::string packet = echoOf("02 0154 61*340");
  const std::string digits = toHex(packet, "");
  setenv("digits", digits.c_str(), 1);
  writeFile("stdin", "");
  const pid_t child =
      spawn("bash",
            {"-c",
             "ASAN_OPTIONS=quarantine_size_mb=1; export ASAN_OPTIONS;"
             " yes $digits | head -n " +
                 std::to_string(lines) + " | $amf2json export --lines --from hex | wc -l"},
            "stdout", "stderr");
  int status = 0;
  rusage usage{};
  EXPECT_EQ(wait4(child, &status, 0, &usage), child);
  EXPECT_EQ(readFile("stdout"), std::to_string(lines) + "\n");
  return usage.ru_maxrss;
}

// 200,000 answers are 80 MB.
TEST_F(Export, TakesNoMoreMemoryForMoreLines) {
  const long few = peakOver(2000);
  EXPECT_LT(peakOver(200000), few + 16384);
}

// ---- Hints

TEST_F(Export, IsNamedWhereTheDialectFails) {
  const std::string hint = "    the published format reads it: amf2json export ";
  expectRuns({
      {"decode, refused",
       "$amf2json decode vector.amf",
       {6, "",
        "vector.amf:22: getAMF3Value(): unknown value type marker (message 0)\n"
        "    at 12: 00 02 2F 31 FF FF FF FF 11 0D | 03 00 00 00 00 05\n" +
            hint + "vector.amf\n"}},
      {"decode, unwrapped",
       "base64 vector.amf | $amf2json decode --unwrap 2>&1 | tail -n 1",
       {0, "    the published format reads it: amf2json export --unwrap\n", ""}},
      {"decode, a value",
       "printf '\\15\\3\\0\\0\\0\\0\\5' >value; $amf2json decode --as amf3 value 2>&1 | tail -n 1",
       {0, hint + "--as amf3 value\n", ""}},
      {"decode, refused by both", "$amf2json decode refused.amf", {6, "", kRefusedError}},
      {"a file without a command",
       "$amf2json vector.amf",
       {2, "",
        "amf2json: no command 'vector.amf'; this is a file: amf2json export vector.amf shows "
        "it\n"}},
      {"identify",
       "$amf2json identify vector.amf | tail -n 1",
       {0, "next: amf2json export vector.amf\n", ""}},
  });
}

}  // namespace
