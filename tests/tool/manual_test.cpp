// SPDX-License-Identifier: Apache-2.0
//
// What the program says about itself: help, manual page, completions, and words that are nearly
// right.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

class Manual : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    setenv("generated", AMF2JSON_GENERATED, 1);
  }
};

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The first words of the lines under "Commands:".
std::vector<std::string> commandNames() {
  const std::vector<std::string> lines = linesOf(run({"-h"}).out);
  auto line = std::find(lines.begin(), lines.end(), "Commands:");
  std::vector<std::string> names;
  while (line != lines.end() && ++line != lines.end() && !line->empty()) {
    std::string name;
    std::istringstream(*line) >> name;
    names.push_back(name);
  }
  return names;
}

bool has(const std::string& command) {
  return runShell("command -v " + command).status == 0;
}

// ---- Help

TEST_F(Manual, FitsOnAScreenWithThreeExamples) {
  std::vector<std::vector<std::string>> helps = {{"-h"}};
  for (const std::string& name : commandNames()) helps.push_back({name, "-h"});
  EXPECT_GE(helps.size(), 4u);
  for (const std::vector<std::string>& words : helps) {
    const Outcome help = run(words);
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    const std::vector<std::string> lines = linesOf(help.out);
    EXPECT_LE(lines.size(), 24u) << words[0];
    const auto examples = std::find(lines.begin(), lines.end(), "Examples:");
    EXPECT_EQ(std::find(examples, lines.end(), "") - examples, 4) << words[0];
  }
}

TEST_F(Manual, IsNowhereWiderThanATerminal) {
  std::string all = run({"--help"}).out + run({"-h"}).out;
  for (const std::string& name : commandNames()) {
    all += run({name, "--help"}).out + run({name, "-h"}).out;
  }
  for (const std::string& line : linesOf(all)) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(Manual, TellsTheVersions) {
  const Outcome expected = {
      0, "amf2json " AMF2JSON_VERSION "\nlibrary AMF2JSON " AMF2JSON_VERSION ", ABI 1\n", ""};
  EXPECT_EQ(run({"--version"}), expected);
}

TEST_F(Manual, TellsEveryExitCodeEverywhere) {
  const Outcome help = run({"--help"});
  const std::size_t begin = help.out.find("Exit codes; ");
  const std::string table = help.out.substr(begin, help.out.find("\n\n", begin) - begin) + "\n";
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 13);
  for (const std::string& name : commandNames()) {
    EXPECT_NE(run({name, "--help"}).out.find(table), std::string::npos) << name;
  }
  const std::string page =
      runShell("sed -n '/^.SH EXIT/,/^.SH ENV/p' \"$generated/amf2json.1\"").out;
  for (const std::string& line : linesOf(table.substr(table.find('\n') + 1))) {
    std::string meaning = line.substr(6);
    EXPECT_NE(page.find(meaning + ".\n"), std::string::npos) << line;
  }
}

// ---- Wrong command lines

struct UsageCase {
  std::vector<std::string> words;
  const char* error;
};

const UsageCase kUsageCases[] = {
    {{"decde"}, "no command 'decde'; did you mean 'decode'?"},
    {{"round"}, "no command 'round'; did you mean 'roundtrip'?"},
    {{"hceck", "echo.amf"}, "no command 'hceck'; did you mean 'check'?"},
    {{""}, "no option '' in front of a command; there are -h, --help, --version"},
    {{"--versoin"}, "no option '--versoin' in front of a command; did you mean '--version'?"},
    {{"--compact", "decode"},
     "no option '--compact' in front of a command; there are -h, --help, --version"},
    {{"decode", "--compcat"}, "no option '--compcat'; did you mean '--compact'?"},
    {{"decode", "--out=x", "echo.amf"}, "no option '--out'; did you mean '--output'?"},
    {{"decode", "--frobnicate"}, "no option '--frobnicate'"},
    {{"roundtrip", "--to", "js"}, "no option '--to'"},
    {{"decode", "--to", "jsno"}, "--to: no 'jsno' here; did you mean 'json'?"},
    {{"decode", "--to", "xml"}, "--to: no 'xml' here; there are json, js, both, script"},
    {{"decode", "--color", "alwyas"}, "--color: no 'alwyas' here; did you mean 'always'?"},
    {{"decode", "--error-format=yaml"}, "--error-format: no 'yaml' here; there are text, json"},
    {{"decode", "--x", "--error-format", "text"}, "no option '--x'"},
    {{"decode", "--error-format"}, "--error-format: FORM is missing"},
    {{"decode", "--max-depth", "-1"},
     "--max-depth: '-1' is not a whole number from 0 to 4294967295"},
    {{"decode", "--max-depth=4294967296"},
     "--max-depth: '4294967296' is not a whole number from 0 to 4294967295"},
    {{"decode", "--max-nodes", "1e3"},
     "--max-nodes: '1e3' is not a whole number from 0 to 18446744073709551615"},
    {{"decode", "-j", "many"}, "--jobs: 'many' is not a whole number from 0 to 4294967295"},
    {{"decode", "-o"}, "--output: FILE is missing"},
    {{"decode", "--compact=false"}, "--compact: takes no value"},
    {{"decode", "-o", "a", "--output=b"}, "--output: given twice"},
    {{"decode", "-x"}, "no option '-x'"},
    {{"decode", "-", "-"}, "standard input (-) can be read only once"},
    {{"generate", "texinfo"}, "no command 'generate'; there are "},
};

TEST_F(Manual, SaysWhatIsWrongWithACommandLine) {
  for (const UsageCase& row : kUsageCases) {
    Outcome outcome = run(row.words);
    const std::string expected = std::string("amf2json: ") + row.error;
    // Another test compares the list of commands.
    if (expected.back() == ' ') outcome.err = outcome.err.substr(0, expected.size()) + "\n";
    const Outcome whole = {2, "", expected + "\n"};
    EXPECT_EQ(outcome, whole);
  }
  const Outcome size = {2, "",
                        "amf2json: --skip: '[1]' is not a whole number from 0 to " +
                            std::to_string(std::numeric_limits<std::size_t>::max()) + "\n"};
  EXPECT_EQ(run({"decode", "--skip", "[1]"}), size);
  EXPECT_EQ(run({}).err.find("amf2json: a command is missing; there are decode, "), 0u);
  EXPECT_EQ(run({"decode", "--to"}).status, 2);
  EXPECT_EQ(run({"decode", "--compact=false"}).status, 2);
  const Outcome json = {2, "",
                        "{\"file\":null,\"offset\":null,\"section\":null,\"status\":\"usage\","
                        "\"message\":\"no option '--x'\",\"exit_code\":2}\n"};
  EXPECT_EQ(run({"check", "--x", "--error-format", "json"}), json);
  EXPECT_EQ(run({"check", "--error-format=json", "--x"}), json);
}

// A shell's * hands over whatever files are called.
TEST_F(Manual, TakesFileNamesByteForByte) {
  for (const char* name : {"[echo.amf]", "[]", "{}", "a,b", "%%", " ", "''", "\"x\"", "x=y", "\xFF",
                           "a;b", "[\"echo.amf\",\"-\"]"}) {
    setenv("name", name, 1);
    ASSERT_EQ(runShell("rm -rf d; mkdir d; cp echo.amf d/\"$name\"").status, 0) << name;
    EXPECT_EQ(runShell("cd d; $amf2json decode --to script *").out, kEchoStatements) << name;
    EXPECT_EQ(runShell("cd d; $amf2json decode --to script -- *").out, kEchoStatements) << name;
    EXPECT_EQ(runShell("cd d; $amf2json decode -o out.\"$name\" *; cat out.\"$name\"").out,
              std::string(kEchoLiteral) + "\n")
        << name;
    EXPECT_EQ(runShell("cd d; $amf2json decode --output=\"$name\".x ./\"$name\"; ls -N").out,
              runShell("cd d; rm -f ./\"$name\".x; touch ./\"$name\".x; ls -N").out)
        << name;
  }
  unsetenv("name");
  EXPECT_EQ(run({"decode", "[echo.amf]"}).err,
            "amf2json: [echo.amf]: cannot read: No such file or directory\n");
}

TEST_F(Manual, TakesValuesAsTheyAreUsuallySpelled) {
  const Outcome silent = {0, "", ""};
  EXPECT_EQ(run({"decode", "-oout", "--to=script", "echo.amf", "--max-depth", "5"}), silent);
  EXPECT_EQ(readFile("out"), kEchoStatements);
  EXPECT_EQ(run({"decode", "-o", "--to", "--to", "script", "echo.amf"}), silent);
  EXPECT_EQ(readFile("--to"), kEchoStatements);
  EXPECT_EQ(run({"check", "-j1", "--", "echo.amf", "-h"}).err,
            "amf2json: -h: cannot read: No such file or directory\n");
}

// ---- The manual page and the completions as the build makes them

TEST_F(Manual, GeneratesWhatIsInstalled) {
  for (const auto& [kind, file] : std::map<std::string, std::string>{{"man", "amf2json.1"},
                                                                     {"bash", "amf2json"},
                                                                     {"zsh", "_amf2json"},
                                                                     {"fish", "amf2json.fish"}}) {
    EXPECT_EQ(runShell("$amf2json generate " + kind + " | cmp - \"$generated/" + file + "\""),
              (Outcome{0, "", ""}));
  }
}

TEST_F(Manual, PageHasNoFaults) {
  const Outcome silent = {0, "", ""};
  if (has("mandoc")) {
    EXPECT_EQ(runShell("mandoc -Tlint \"$generated/amf2json.1\""), silent);
  }
  if (has("man")) {
    EXPECT_EQ(runShell("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z"
                       " \"$generated/amf2json.1\" >/dev/null"),
              silent);
  }
}

// The lines as one types them.
std::vector<std::string> examplesOfPage() {
  return linesOf(runShell("sed -n '/^.SH EXAMPLES/,$s/^\\\\fB\\(.*\\)\\\\fR$/\\1/p'"
                          " \"$generated/amf2json.1\" | sed 's/\\\\-/-/g'")
                     .out);
}

TEST_F(Manual, ExamplesWork) {
  const std::vector<std::string> examples = examplesOfPage();
  EXPECT_GE(examples.size(), 12u);
  for (const std::string& line : examples) {
    const Outcome outcome = runShell(
        "rm -rf *; printf '\\0\\3\\0\\0\\0\\0' | tee packet.amf other.amf >capture.bin;"
        " printf '\\1' >value.bin; echo 000300000000 >capture.txt;"
        " PATH=$(dirname \"$amf2json\"):$PATH; " +
        line);
    EXPECT_LE(outcome.status, 1) << line << "\n" << outcome.err;  // or the answer is no
    EXPECT_EQ(outcome.err, "") << line;
  }
}

// ---- Completions

struct CompletionCase {
  std::vector<std::string> words;  // the last one is completed
  std::vector<std::string> offered;
};

const CompletionCase kCompletionCases[] = {
    {{"dec"}, {"decode"}},
    {{"--v"}, {"--version"}},
    {{"decode", "--to", ""}, {"both", "js", "json", "script"}},
    {{"decode", "--to", "j"}, {"js", "json"}},
    {{"decode", "--co"}, {"--color", "--compact"}},
    {{"roundtrip", "--max-t"}, {"--max-tree-bytes"}},
    {{"check", "--color", ""}, {"always", "auto", "never"}},
    {{"check", "--exa"}, {}},
};

std::string sortedLines(const std::string& text) {
  std::vector<std::string> lines = linesOf(text);
  std::sort(lines.begin(), lines.end());
  std::string sorted;
  for (const std::string& line : lines) sorted += line + "\n";
  return sorted;
}

std::string offered(const CompletionCase& row) {
  std::string lines;
  for (const std::string& word : row.offered) lines += word + "\n";
  return lines;
}

std::string lineOf(const CompletionCase& row) {
  std::string line = "amf2json";
  for (const std::string& word : row.words) line += " " + word;
  return line;
}

Outcome completedByBash(const std::string& words) {
  return runShell("source \"$generated/amf2json\"; COMP_WORDS=(amf2json " + words +
                  "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _amf2json;"
                  " for word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done");
}

TEST_F(Manual, CompletesInBash) {
  for (const CompletionCase& row : kCompletionCases) {
    std::string words;
    for (const std::string& word : row.words) words += " '" + word + "'";
    Outcome outcome = completedByBash(words);
    outcome.out = sortedLines(outcome.out);
    EXPECT_EQ(outcome, (Outcome{0, offered(row), ""})) << lineOf(row);
  }
  EXPECT_EQ(completedByBash("decode --to = js").out, "json\njs\n");
  EXPECT_EQ(completedByBash("decode --to =").out, "json\njs\nboth\nscript\n");
  EXPECT_EQ(completedByBash("decode -o e").out, "");  // bash then offers files
}

TEST_F(Manual, CompletesInFish) {
  if (!has("fish")) GTEST_SKIP() << "needs fish, which was not found";
  for (const CompletionCase& row : kCompletionCases) {
    Outcome outcome = runShell(
        "HOME=$PWD fish --no-config -c 'source $generated/amf2json.fish;"
        " complete -C \"" +
        lineOf(row) + "\"' | cut -f1");
    outcome.out = sortedLines(outcome.out);
    EXPECT_EQ(outcome, (Outcome{0, offered(row), ""})) << lineOf(row);
  }
}

// Prints the arguments of zsh's completion functions, which offer nothing without its line editor.
const char kPrintingZsh[] = R"(
compdef() {}
_describe() { print -rl -- $commands }
_arguments() { print -rl -- "$@" }
source $generated/_amf2json
words=(amf2json $word '') CURRENT=$((${#${=word}} + 2))
_amf2json
)";

TEST_F(Manual, CompletesInZsh) {
  if (!has("zsh")) GTEST_SKIP() << "needs zsh, which was not found";
  writeFile("printing.zsh", kPrintingZsh);
  const Outcome first = runShell("zsh -f printing.zsh | grep -e '^decode' -e '^--v'");
  EXPECT_EQ(
      first.out,
      "decode:Shows packets as JSON or JavaScript\n--version[Versions of program and library]\n");
  const Outcome decode =
      runShell("word=decode zsh -f printing.zsh | grep -e '^--to' -e '^-o' -e '^--comp' -e _files");
  EXPECT_EQ(
      decode.out,
      "--to=[What to show]:VIEW:((json\\:\"JSON text\" js\\:\"script that builds \\\"amf\\\"\""
      " both\\:\"JSON text and statements\" script\\:\"statements alone\"))\n"
      "--compact[No indentation and no line ends]\n"
      "-o+[File to write; for several inputs, the directory]:FILE:_files\n"
      "--output=[File to write; for several inputs, the directory]:FILE:_files\n"
      "*:FILE:_files\n");
  EXPECT_EQ(first.err + decode.err, "");
}

}  // namespace
