// SPDX-License-Identifier: Apache-2.0
//
// The pages on export and import are correct: the commands of docs/edit-and-replay.md and
// docs/cookbook.md are run with the samples, docs/wire-json.md is compared with both directions, and
// docs/wire-json.schema.json with what export writes and import reads. Other programs that read
// and write JSON may stand between the two.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/page.h"
#include "support/program.h"

namespace {

using namespace support;

constexpr const char* kDocs = AMF2JSON_SOURCES "/docs";
// What the samples are, but for FLV, which is read only.
constexpr const char* kPackets = "*.amf *.sol";

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// A directory with the samples and the JavaScript and jq of a page.
class Pages : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    ASSERT_EQ(
        runShell("rm *.amf; cp " AMF2JSON_SAMPLES "/*.amf " AMF2JSON_SAMPLES "/wire/* .").status,
        0);
  }

  void open(const std::string& name) {
    page = readFile(std::string(kDocs) + "/" + name);
    for (const std::string& block : blocksOf(page, "jq")) writeFile("plain.jq", block);
    for (const std::string& block : blocksOf(page, "js")) writeFile("server.js", block);
  }

  bool lacks(const std::string& program) {
    missing = program;
    return runShell("command -v " + program).status != 0;
  }

  Outcome shell(const std::string& command) {
    return runShell("export LC_ALL=C PATH=$(dirname \"$amf2json\"):$PATH; " + command);
  }

  void compare(const Shown& shown) {
    const Outcome outcome = shell(shown.command);
    EXPECT_EQ(outcome.out, shown.output) << shown.command;
    EXPECT_EQ(outcome.err, "") << shown.command;
  }

  std::string page;
  std::string missing;
};

#define SKIP_WITHOUT(program) \
  if (lacks(program)) GTEST_SKIP() << "needs " << missing << ", which was not found"

// ---- docs/cookbook.md

TEST_F(Pages, RecipesPrintWhatTheCookbookShows) {
  SKIP_WITHOUT("jq");
  open("cookbook.md");
  std::size_t recipes = 0;
  while (contains(page, "\n## " + std::to_string(recipes + 1) + ". ")) ++recipes;
  EXPECT_EQ(recipes, 10u);
  const auto commands = commandsOf(page);
  EXPECT_GE(commands.size(), 19u);
  for (const Shown& shown : commands) compare(shown);
}

TEST_F(Pages, TheFrontPageShowsAPacketAndItsJSON) {
  page = readFile(std::string(kDocs) + "/../README.md");
  const auto commands = commandsOf(page);
  EXPECT_EQ(commands.size(), 2u);
  for (const Shown& shown : commands) compare(shown);
}

// ---- docs/edit-and-replay.md

// The server of the page on a port that is free.
class Replay : public Pages {
 protected:
  void SetUp() override {
    Pages::SetUp();
    open("edit-and-replay.md");
    ASSERT_EQ(blocksOf(page, "js").size(), 1u);
  }

  void TearDown() override {
    if (!server.empty()) runShell("kill " + server);
    Pages::TearDown();
  }

  // Port 0 asks the system for one; only the test needs to know which it is.
  void start() {
    const std::string line = "    node server.js 8400 flex_reply.amf &\n";
    ASSERT_TRUE(contains(page, line));
    const std::string listen = ".listen(Number(port), '127.0.0.1');";
    std::string program = readFile("server.js");
    ASSERT_TRUE(contains(program, listen));
    program.replace(program.find(listen), listen.size(),
                    ".listen(0, '127.0.0.1', function () {\n"
                    "  fs.writeFileSync('port.new', String(this.address().port));\n"
                    "  fs.renameSync('port.new', 'port');\n});");
    writeFile("server.js", program);
    server = runShell("node server.js 8400 flex_reply.amf >server.out 2>&1 & echo -n $!").out;
    const Outcome waited = runShell(
        "for i in {1..200}; do [ -f port ] && exit; sleep 0.05; done; cat server.out; exit 1");
    ASSERT_EQ(waited.status, 0) << waited.out;
    port = readFile("port");
  }

  Shown atPort(Shown shown) {
    const std::string written = "127.0.0.1:8400/";
    const std::size_t at = shown.command.find(written);
    if (at != std::string::npos) {
      shown.command.replace(at, written.size(), "127.0.0.1:" + port + "/");
      ++requests;
    }
    return shown;
  }

  std::string server;
  std::string port;
  int requests = 0;
};

TEST_F(Replay, CommandsDoWhatThePageShows) {
  SKIP_WITHOUT("jq");
  SKIP_WITHOUT("curl");
  SKIP_WITHOUT("node");
  start();
  if (HasFatalFailure()) return;
  std::size_t ran = 0;
  for (const Shown& shown : commandsOf(page)) {
    if (shown.command.compare(0, 9, "parallel ") == 0) continue;
    compare(atPort(shown));
    ++ran;
  }
  EXPECT_EQ(requests, 2);
  EXPECT_GE(ran, 18u);
}

TEST_F(Replay, ParallelDoesWhatThePageShows) {
  SKIP_WITHOUT("jq");
  if (!contains(runShell("parallel --version").out, "GNU parallel")) {
    GTEST_SKIP() << "needs GNU parallel, which was not found";
  }
  std::size_t ran = 0;
  for (const Shown& shown : commandsOf(page)) {
    if (contains(shown.command, ">packets.txt")) compare(shown);
    if (shown.command.compare(0, 9, "parallel ") != 0) continue;
    compare(shown);
    ++ran;
  }
  EXPECT_EQ(ran, 1u);
}

// What sharing out a pipe among processes relies on.
TEST_F(Replay, LinesCanBeCutAnywhere) {
  const std::string command = " $amf2json export --lines --as packet --from base64 2>/dev/null";
  std::string lines;
  for (const char* const file : {"flex_call", "cut", "batch", "scalars", "poll"}) {
    if (std::string(file) == "cut") {
      lines += "AAMAAAAB\n";
    } else {
      lines += runShell("base64 -w 0 " + std::string(file) + ".amf").out + "\n";
    }
  }
  const std::string whole = runShell(command, lines).out;
  EXPECT_EQ(linesOf(whole).size(), 5u);
  std::string pieces;
  for (const std::string& line : linesOf(lines)) pieces += runShell(command, line + "\n").out;
  EXPECT_EQ(pieces, whole);
}

// ---- docs/wire-json.md

struct WireRow {
  std::string form;  // for --as
  bool isSalvaged = false;
  std::string bytes;
  std::string text;
};

// Rows with bytes; those of a format show one value.
std::vector<WireRow> wireRows(const std::string& page) {
  struct Section {
    const char* title;
    const char* form;
    bool isValue;
    bool isSalvaged;
  };
  const Section sections[] = {{"Documents", "auto", false, false},
                              {"AMF0 values", "amf0", true, false},
                              {"AMF3 values", "amf3", true, false},
                              {"Marks and originals", "amf3", false, false},
                              {"Salvage", "packet", false, true}};
  std::vector<WireRow> rows;
  for (const Section& section : sections) {
    for (const auto& cells : rowsOf(sectionOf(page, section.title), 3)) {
      WireRow row{section.form, section.isSalvaged, hex(withoutTicks(cells[1])),
                  withoutTicks(cells[2])};
      if (section.isValue) row.text = "{\"" + row.form + "\":[" + row.text + "]}";
      rows.push_back(row);
    }
  }
  return rows;
}

class WirePage : public Pages {
 protected:
  void SetUp() override {
    Pages::SetUp();
    open("wire-json.md");
  }
};

TEST_F(WirePage, EachRowHoldsInBothDirections) {
  const auto rows = wireRows(page);
  EXPECT_GE(rows.size(), 65u);
  for (const WireRow& row : rows) {
    std::vector<std::string> words = {"export", "--compact", "--as", row.form};
    if (row.isSalvaged) words.push_back("--salvage");
    // What the reasons of salvage are is not for this page.
    const std::string text = std::regex_replace(
        run(words, row.bytes).out, std::regex("\"error\":\"[^\"]+\""), "\"error\":\"...\"");
    EXPECT_EQ(text, row.text + "\n");
    EXPECT_EQ(run({"import"}, row.text).out, row.bytes) << row.text;
  }
}

TEST_F(WirePage, TheErrorIsThatOfTheProgram) {
  const std::string text = R"({"amf3":[{"$ref":1},{"$id":1}]})";
  EXPECT_TRUE(contains(page, "`" + linesOf(run({"import"}, text).err).at(0) + "`"));
}

// ---- docs/wire-json.schema.json

class Schema : public WirePage {
 protected:
  // One line for each document: "yes", or "no" and a reason.
  std::vector<std::string> verdicts(const std::string& documents) {
    for (const char* const python : {"python3", "/usr/bin/python3"}) {
      const Outcome outcome =
          runShell(std::string(python) + " " AMF2JSON_SOURCES "/tests/tool/check_schema.py " +
                       kDocs + "/wire-json.schema.json <stdin",
                   documents);
      if (outcome.status == 0) return linesOf(outcome.out);
      EXPECT_TRUE(outcome.status == 3 || outcome.status == 127) << outcome.err;
    }
    return {};
  }

  void expectAllValid(const std::string& documents) {
    const auto found = verdicts(documents);
    const auto lines = linesOf(documents);
    ASSERT_EQ(found.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(found[i], "yes") << lines[i];
  }
};

#define SKIP_WITHOUT_VALIDATOR() \
  if (verdicts("{}\n").empty())  \
  GTEST_SKIP() << "needs jsonschema for Python with draft 2020-12, which was not found"

TEST_F(Schema, TakesWhatIsExported) {
  SKIP_WITHOUT_VALIDATOR();
  const Outcome exported =
      runShell("$amf2json export --lines --salvage *.amf *.sol *.flv 2>/dev/null");
  EXPECT_EQ(linesOf(exported.out).size(), 28u);
  expectAllValid(exported.out);
}

TEST_F(Schema, TakesTheRowsOfThePage) {
  SKIP_WITHOUT_VALIDATOR();
  std::string documents;
  for (const WireRow& row : wireRows(page)) documents += row.text + "\n";
  expectAllValid(documents);
}

// Each line: what import and the schema say, and the document. "schema-only": what a schema cannot
// tell.
TEST_F(Schema, AgreesWithImport) {
  SKIP_WITHOUT_VALIDATOR();
  std::vector<std::string> words;
  std::string documents;
  for (const std::string& line :
       linesOf(readFile(AMF2JSON_SOURCES "/tests/tool/wire_documents.txt"))) {
    words.push_back(line.substr(0, line.find(' ')));
    documents += line.substr(line.find(' ') + 1) + "\n";
  }
  const auto found = verdicts(documents);
  const auto lines = linesOf(documents);
  ASSERT_EQ(found.size(), lines.size());
  EXPECT_GE(lines.size(), 115u);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool isRead = run({"import", "--to", "hex"}, lines[i]).status == 0;
    const bool isTaken = found[i] == "yes";
    const std::string word = isRead    ? (isTaken ? "yes" : "import-only")
                             : isTaken ? "schema-only"
                                       : "no";
    EXPECT_EQ(words[i], word) << lines[i] << "\n" << found[i];
  }
}

// ---- Other programs between export and import

struct Tool {
  const char* name;
  const char* program;
  const char* filter;
};

const Tool kTools[] = {
    {"jq", "jq", "jq ."},
    {"jq, compact", "jq", "jq -c ."},
    {"Python", "python3",
     "python3 -c 'import json, sys; json.dump(json.load(sys.stdin), sys.stdout, indent=1)'"},
    {"Python, UTF-8", "python3",
     "PYTHONIOENCODING=utf-8 python3 -c 'import json, sys; json.dump(json.load(sys.stdin), "
     "sys.stdout, ensure_ascii=False)'"},
    {"node", "node",
     "node -e 'console.log(JSON.stringify(JSON.parse(require(\"fs\").readFileSync(0))))'"},
};

class OtherTools : public WirePage, public testing::WithParamInterface<Tool> {
 protected:
  // Numbers, names and texts that such programs are known to change, besides those of the samples.
  void SetUp() override {
    WirePage::SetUp();
    writeFile(
        "numbers.json",
        R"({"amf3":[9223372036854776000,72057594037927940,1e+23,1e-7,5e-324,1.7976931348623157e+308,0.1,)"
        R"({"$double":"-0"},{"$double":5},268435456,{"$double":"NaN"},123456789012345680000,1e+21]})");
    writeFile(
        "names.json",
        R"({"amf0":[{"$members":[["b",1],["b",2]]},{"$members":[["b",1],["10",2],["2",3]]},{"__proto__":1,"constructor":2,"":3,"$$id":4},)"
        R"({"2":1,"10":2,"b":3,"a":4}]})");
    writeFile("texts.json",
              "{\"amf3\":[\"\\u0000\\u001f\\\"\\\\/"
              "\x7f\",\"\xc3\xa9\xe2\x80\xa8\xf0\x9f\x98\x80\xef\xbf\xbf\"]}");
    const Outcome made = runShell(
        "for name in numbers names texts; do $amf2json import $name.json -o $name.amf || exit 1; "
        "done");
    ASSERT_EQ(made.status, 0) << made.err;
  }
};

TEST_P(OtherTools, KeepTheBytes) {
  SKIP_WITHOUT(GetParam().program);
  const Outcome outcome =
      shell(std::string("for file in ") + kPackets +
            "; do amf2json export --salvage \"$file\" 2>/dev/null | " + GetParam().filter +
            " | amf2json import | cmp - \"$file\" && echo equal; done");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(linesOf(outcome.out), std::vector<std::string>(30, "equal"));
}

INSTANTIATE_TEST_SUITE_P(All, OtherTools, testing::ValuesIn(kTools),
                         [](const testing::TestParamInfo<Tool>& tool) {
                           return std::regex_replace(std::string(tool.param.name),
                                                     std::regex("\\W+"), "");
                         });

// Sorted members: the same values in another order. A copy stands in place of each reference, since
// ids are counted in the order of the members; originals and marks tell of bytes.
TEST_F(Pages, SortedMembersAreTheSameValues) {
  SKIP_WITHOUT("jq");
  open("cookbook.md");
  writeFile("values.jq", R"(include "plain";
    del(.. | .original?, .stringReferences?, .traitsReferences?)
    | (.headers, .messages) |= map(if has("value") then .value |= deref else . end)
    | del(.. | ."$id"?))");
  const Outcome outcome = shell(
      "for file in *.amf; do amf2json export --salvage $file >before.json 2>/dev/null;"
      " jq -S . before.json | amf2json import | amf2json export --salvage >after.json 2>/dev/null;"
      " for name in before after; do jq -S -L . -f values.jq $name.json >$name; done;"
      " cmp before after && test -s after && echo same; done");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(linesOf(outcome.out), std::vector<std::string>(26, "same"));
}

// In settings.sol the entry "last" refers to the value of "player".
TEST_F(Pages, SortedMembersCanPutAReferenceBeforeItsTarget) {
  SKIP_WITHOUT("jq");
  const Outcome outcome = shell(
      "amf2json export settings.sol | jq -c -S . | amf2json import -o sorted.sol; echo $?; ls "
      "*.sol");
  EXPECT_EQ(outcome.err, "-:1:36: no value with the id 1 has begun (entries.last.$ref)\n");
  EXPECT_EQ(outcome.out, "6\nsettings.sol\n");
}

}  // namespace
