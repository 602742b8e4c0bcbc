// SPDX-License-Identifier: Apache-2.0
//
// The program on a terminal, which script(1) emulates: control bytes and colours.
#include <gtest/gtest.h>

#include <string>

#include "support/guard_packets.h"
#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

class Terminal : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    if (runShell("command -v script").status != 0) GTEST_SKIP() << "no script(1)";
    if (runShell("script -qec true /dev/null </dev/null").status != 0) {
      GTEST_SKIP() << "no terminal to be had";
    }
    // A string that sets the window's title, a C1 control character, a byte that is not UTF-8, an
    // umlaut.
    writeFile("hostile.amf", echoOf("02 000F 1B5D303B 'pwned' 07 C29B FF C3A4"));
  }
};

// What a terminal gets of a line of a shell: output and errors.
std::string shownOnTerminal(const std::string& line) {
  return runShell("unset NO_COLOR; export TERM=xterm; script -qec '" + line +
                  "' /dev/null </dev/null | tr -d '\\r'")
      .out;
}

std::string script(const std::string& value) {
  return "content[0].targetUri = \"echo\";\ncontent[0].responseUri = \"/1\";\n"
         "content[0].value = \"" +
         value + "\";\n";
}

TEST_F(Terminal, GetsNoControlByteOfAPacket) {
  const std::string decode = "$amf2json decode --color never --to script ";
  EXPECT_EQ(shownOnTerminal(decode + "hostile.amf"),
            script("\\u001B]0;pwned\\u0007\\u009B\\uFFFD\\u00E4"));
  EXPECT_EQ(shownOnTerminal(decode + "--exact hostile.amf"), script("\\x1B]0;pwned\\x07\\x"
                                                                    "C2\\x9B\\xFF\xC3\xA4"));
  // Pipes get the bytes.
  EXPECT_EQ(runShell(decode + "--exact hostile.amf").out,
            script("\x1B]0;pwned\x07\xC2\x9B\xFF\xC3\xA4"));
}

TEST_F(Terminal, GetsNoControlByteOfAFileName) {
  const std::string name = "\"$(printf \"a\\033[31m\\nb\")\"";
  EXPECT_EQ(shownOnTerminal("$amf2json decode --color never " + name),
            "amf2json: a\\x1B[31m\\x0Ab: cannot read: No such file or directory\n");
  EXPECT_EQ(runShell("cp echo.amf " + name + "; $amf2json roundtrip " + name).out,
            "a\\x1B[31m\\x0Ab: equal\n");
  const Outcome json = {
      9, "",
      "{\"file\":\"a\\u001b[31m\\n\",\"offset\":null,\"section\":null,"
      "\"status\":\"file\",\"message\":\"cannot read: No such file or directory\","
      "\"exit_code\":9}\n"};
  EXPECT_EQ(runShell("$amf2json check --error-format json $'a\\033[31m\\n'"), json);
}

// U+202E and U+2066 turn the text after them round, U+2028 ends a line, U+061C is one of them too.
TEST_F(Terminal, GetsNoCharacterThatReordersText) {
  const std::string marks = "\xE2\x80\xAE\xE2\x81\xA6\xE2\x80\xA8\xD8\x9C";
  const std::string shown = "\\xE2\\x80\\xAE\\xE2\\x81\\xA6\\xE2\\x80\\xA8\\xD8\\x9C";
  writeFile("marks.amf", echoOf("02 000B E280AE E281A6 E280A8 D89C"));
  writeFile("a" + marks, readFile("echo.amf"));
  const std::string decode = "$amf2json decode --color never --exact --to script ";
  EXPECT_EQ(shownOnTerminal(decode + "marks.amf"), script(shown));
  EXPECT_EQ(runShell(decode + "marks.amf").out, script(marks));
  // Not only on terminals: errors, and the command to be run next.
  EXPECT_EQ(runShell("$amf2json check a" + marks + "b").err,
            "amf2json: a" + shown + "b: cannot read: No such file or directory\n");
  EXPECT_EQ(runShell("$amf2json identify a*").out,
            "a" + shown +
                ": AMF packet: version 0, 0 headers, 1 message, 25 bytes\n"
                "next: amf2json decode $'a" +
                shown + "'\n");
  // What stands next to them in the tables is a letter.
  const std::string letters = "\xE2\x80\xAF\xE2\x80\x90\xE2\x81\xAA\xD8\x9B";
  EXPECT_EQ(runShell("$amf2json check " + letters).err,
            "amf2json: " + letters + ": cannot read: No such file or directory\n");
}

TEST_F(Terminal, IsKnownByWhateverNameItHas) {
  const std::string decode = "$amf2json decode --to script --color never --exact hostile.amf -o ";
  const std::string shown = script("\\x1B]0;pwned\\x07\\xC2\\x9B\\xFF\xC3\xA4");
  for (const char* name : {"/dev/tty", "/dev/stdout", "/proc/self/fd/2", "/dev/fd/1", "$(tty)"}) {
    EXPECT_EQ(shownOnTerminal("exec </dev/tty; " + decode + name), shown) << name;
    EXPECT_EQ(shownOnTerminal("exec </dev/tty; ln -s " + std::string(name) + " link; " + decode +
                              "link; rm link"),
              shown)
        << "a link to " << name;
  }
  EXPECT_EQ(shownOnTerminal(decode + "/dev/tty >/dev/null 2>&1"), shown);
  // A name of a terminal that leads elsewhere.
  EXPECT_EQ(runShell(decode + "/dev/stdout").out, script("\x1B]0;pwned\x07\xC2\x9B\xFF\xC3\xA4"));
  EXPECT_NE(shownOnTerminal("$amf2json decode empty.amf -o /dev/tty >/dev/null").find("\033["),
            std::string::npos);
}

// Longer than what is made fit for a terminal at once: no character is taken apart.
TEST_F(Terminal, GetsLongTextsWhole) {
  const std::string value = repeat("\xE2\x82\xAC", 100000);
  writeFile("long.amf", echoOf("0C 000493E0") + value);
  EXPECT_EQ(shownOnTerminal("$amf2json decode --to script --exact --color never long.amf"),
            script(value));
  EXPECT_NE(shownOnTerminal("$amf2json decode --exact --compact long.amf").find(value),
            std::string::npos);
}

TEST_F(Terminal, DifferentNamesStayDifferentInJSON) {
  const std::string rest =
      ",\"offset\":null,\"section\":null,\"status\":\"file\",\"message\":\"cannot read: No such "
      "file "
      "or directory\",\"exit_code\":9}\n";
  EXPECT_EQ(runShell("$amf2json check -j 1 --error-format json $'a\\377' $'a\\376'").err,
            "{\"file\":\"a\\ufffd\",\"file_bytes\":\"61FF\"" + rest +
                "{\"file\":\"a\\ufffd\",\"file_bytes\":\"61FE\"" + rest);
  EXPECT_NE(runShell("mkdir d; cp echo.amf d/$'\\377'; $amf2json decode --error-format json -o out "
                     "d/$'\\377' ./d/$'\\377'")
                .err.find("-o: d/\\\\xFF and ./d/\\\\xFF would"),
            std::string::npos);
}

// ---- Colours

const char kColored[] =
    "{\n\t\033[1;34m\"version\"\033[0m : \033[32m\"AMF3\"\033[0m,\n"
    "\t\033[1;34m\"type\"\033[0m : \033[32m\"package\"\033[0m,\n"
    "\t\033[1;34m\"content\"\033[0m : \n\t[\n\t]\n}\n";
const char kPlain[] =
    "{\n\t\"version\" : \"AMF3\",\n\t\"type\" : \"package\",\n\t\"content\" : \n\t[\n\t]\n}\n";

TEST_F(Terminal, IsColouredByDefault) {
  // A terminal shows tabs as blanks, or not: they pass.
  EXPECT_EQ(shownOnTerminal("$amf2json decode empty.amf"), kColored);
  EXPECT_EQ(shownOnTerminal("NO_COLOR= $amf2json decode empty.amf"), kColored);
  EXPECT_EQ(shownOnTerminal("NO_COLOR=1 $amf2json decode empty.amf"), kPlain);
  EXPECT_EQ(shownOnTerminal("TERM=dumb $amf2json decode empty.amf"), kPlain);
  EXPECT_EQ(shownOnTerminal("$amf2json decode --color never empty.amf"), kPlain);
  EXPECT_EQ(run({"decode", "empty.amf"}).out, kPlain);
  EXPECT_EQ(run({"decode", "--color", "always", "empty.amf"}).out, kColored);
  EXPECT_EQ(runShell("NO_COLOR=1 $amf2json decode --color=always empty.amf").out, kColored);
  EXPECT_EQ(runShell("$amf2json decode --color=always -o out empty.amf; cat out").out, kColored);
}

TEST_F(Terminal, HasColouredErrors) {
  const Outcome expected = {6, "",
                            "\033[1mrefused.amf:21:\033[0m \033[1;31mgetAMF0Value: unknown value "
                            "type\033[0m (message 0)\n"
                            "    at 5: 01 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 04 |\n"};
  EXPECT_EQ(run({"decode", "--color", "always", "refused.amf"}), expected);
  EXPECT_EQ(
      shownOnTerminal("$amf2json check --error-format json cut.amf >/dev/null"),
      "{\"file\":\"cut.amf\",\"offset\":23,\"section\":\"message 0\",\"status\":\"truncated\","
      "\"message\":\"truncated: at least 1 byte is missing\",\"exit_code\":5}\n");
  EXPECT_NE(shownOnTerminal("$amf2json decode -o out more.amf").find("\033[1;33mwarning:\033[0m "),
            std::string::npos);
}

// A script's numbers, words and strings, and the end of a string that never ends.
TEST_F(Terminal, ColoursWordsAndNumbers) {
  writeFile("values.amf", echoOf("0A 00000003 01 01 05 02 0002 5C22"));
  const std::string text = run({"decode", "--compact", "--color=always", "values.amf"}).out;
  EXPECT_NE(text.find("[\033[35mtrue\033[0m,\033[35mnull\033[0m,\033[32m\"\\\\\\\"\"\033[0m]"),
            std::string::npos)
      << text;
  writeFile("number.amf", hex("0000 0000 0001 0000 0000 00000001 05"));
  EXPECT_NE(run({"decode", "--compact", "--color=always", "number.amf"})
                .out.find("\033[1;34m\"length\"\033[0m : \033[36m1\033[0m,"),
            std::string::npos);
}

}  // namespace
