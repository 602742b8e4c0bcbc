// SPDX-License-Identifier: Apache-2.0
//
// The program amf2json from outside: standard output, standard error and exit code of whole runs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED 1
#endif
#endif

extern char** environ;

namespace {

using support::hex;

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.out == b.out && a.err == b.err;
}

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "status " << outcome.status << "\n--- out ---\n"
       << outcome.out << "--- err ---\n"
       << outcome.err;
}

void writeFile(const std::string& name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

std::string readFile(const std::string& name) {
  std::ostringstream bytes;
  bytes << std::ifstream(name, std::ios::binary).rdbuf();
  return bytes.str();
}

// Exit status; a signal counts as 128 and its number, as in shells.
int statusOf(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

pid_t spawn(const std::vector<std::string>& arguments, const std::string& outFile) {
  std::vector<char*> argv = {const_cast<char*>("amf2json")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "stdin", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&files, 2, "stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t child = -1;
  const int error = posix_spawn(&child, AMF2JSON_PROGRAM, &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  EXPECT_EQ(error, 0) << AMF2JSON_PROGRAM;
  return child;
}

Outcome run(const std::vector<std::string>& arguments, const std::string& input = {}) {
  writeFile("stdin", input);
  const int status = statusOf(spawn(arguments, "stdout"));
  return {status, readFile("stdout"), readFile("stderr")};
}

// A packet of one message with this value; the value begins at byte 20.
std::string packetOf(const std::string& value) {
  return hex("0000 0000 0001 0004 'echo' 0002 '/1' FFFFFFFF") + hex(value);
}

class Tool : public testing::Test {
 protected:
  // Every test runs in a directory of its own.
  void SetUp() override {
    std::string name = testing::TempDir() + "amf2json.XXXXXX";
    ASSERT_NE(mkdtemp(&name[0]), nullptr);
    directory = name;
    ASSERT_EQ(chdir(directory.c_str()), 0);
    writeFile("empty.amf", hex("0003 0000 0000"));
    writeFile("echo.amf", packetOf("02 0002 'hi'"));
    writeFile("refused.amf", packetOf("04"));
    writeFile("cut.amf", packetOf("02 0003 'hi'"));
  }

  void TearDown() override {
    ASSERT_EQ(chdir("/"), 0);
    const std::string remove = "rm -rf '" + directory + "'";
    ASSERT_EQ(std::system(remove.c_str()), 0);
  }

  std::string directory;
};

// ---- decode
// -----------------------------------------------------------------------------------------

const char kEchoLiteral[] =
    "{\n\t\"type\" : \"package\",\n\t\"content\" : \n\t[\n\t\t{\n\t\t\t\"type\" : \"message\",\n"
    "\t\t\t\"targetUri\" : \"echo\",\n\t\t\t\"responseUri\" : \"/1\",\n"
    "\t\t\t\"value\" : \"hi\"\n\t\t}\n\t]\n}";
const char kEchoStatements[] =
    "content[0].targetUri = \"echo\";\ncontent[0].responseUri = \"/1\";\ncontent[0].value = "
    "\"hi\";\n";

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
    {"option behind the file",
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
    {"refused",
     {"decode", "refused.amf"},
     {6, "",
      "refused.amf:21: getAMF0Value: unknown value type (message 0)\n"
      "    at 5: 01 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 04 |\n"}},
    {"cut",
     {"decode", "cut.amf"},
     {5, "",
      "cut.amf:23: truncated: at least 1 byte is missing (message 0)\n"
      "    at 9: 63 68 6F 00 02 2F 31 FF FF FF FF 02 00 03 | 68 69\n"}},
    {"nothing at all",
     {"decode", "/dev/null"},
     {5, "", "/dev/null:0: truncated: at least 2 bytes are missing (envelope)\n"}},
    {"within a limit",
     {"decode", "--to", "script", "--max-string-bytes", "4", "echo.amf"},
     {0, kEchoStatements, ""}},
    {"over a limit",
     {"decode", "--max-string-bytes", "3", "echo.amf"},
     {7, "",
      "echo.amf:8: string limit: more than --max-string-bytes 3 (message 0)\n"
      "    at 0: 00 00 00 00 00 01 00 04 | 65 63 68 6F 00 02 2F 31\n"}},
    {"over the size limit",
     {"decode", "--max-packet-bytes", "5", "empty.amf"},
     {7, "", "amf2json: empty.amf: packet too large: more than --max-packet-bytes 5 (6 bytes)\n"}},
    {"no such file",
     {"decode", "missing.amf"},
     {9, "", "amf2json: missing.amf: cannot read: No such file or directory\n"}},
    {"a directory", {"decode", "."}, {9, "", "amf2json: .: cannot read: Is a directory\n"}},
    {"output directory missing",
     {"decode", "-o", "no/out", "echo.amf"},
     {9, "", "amf2json: no/out: cannot write: No such file or directory\n"}},
    {"output device full",
     {"decode", "-o", "/dev/full", "echo.amf"},
     {9, "", "amf2json: /dev/full: cannot write: No space left on device\n"}},
    {"output to nowhere", {"decode", "-o", "/dev/null", "echo.amf"}, {0, "", ""}},
    {"output to standard output",
     {"decode", "--to", "script", "-o", "-", "echo.amf"},
     {0, kEchoStatements, ""}},
};

TEST_F(Tool, Decodes) {
  for (const DecodeCase& row : kDecodeCases) {
    EXPECT_EQ(run(row.arguments), row.expected) << row.name;
  }
}

TEST_F(Tool, DecodesStandardInput) {
  const Outcome expected = {0, kEchoStatements, ""};
  const std::string packet = packetOf("02 0002 'hi'");
  EXPECT_EQ(run({"decode", "--to", "script"}, packet), expected);
  EXPECT_EQ(run({"decode", "--to", "script", "-"}, packet), expected);
  const Outcome refused = {6, "",
                           "-:21: getAMF0Value: unknown value type (message 0)\n"
                           "    at 5: 01 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 04 |\n"};
  EXPECT_EQ(run({"decode"}, packetOf("04")), refused);
}

TEST_F(Tool, WritesAFile) {
  const Outcome silent = {0, "", ""};
  EXPECT_EQ(run({"decode", "--to", "script", "-o", "new.txt", "echo.amf"}), silent);
  EXPECT_EQ(readFile("new.txt"), kEchoStatements);
  EXPECT_EQ(run({"decode", "--to", "script", "--output", "new.txt", "empty.amf"}), silent);
  EXPECT_EQ(readFile("new.txt"), "\n");
}

TEST_F(Tool, KeepsModeAndLinkOfAnOutputFile) {
  writeFile("kept.txt", "old");
  ASSERT_EQ(chmod("kept.txt", 0640), 0);
  ASSERT_EQ(symlink("kept.txt", "link.txt"), 0);
  EXPECT_EQ(run({"decode", "--to", "script", "-o", "link.txt", "echo.amf"}).status, 0);
  EXPECT_EQ(readFile("kept.txt"), kEchoStatements);
  struct stat status {};
  ASSERT_EQ(lstat("link.txt", &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  ASSERT_EQ(lstat("kept.txt", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(Tool, LeavesTheOutputFileAloneWhenThePacketIsRefused) {
  writeFile("kept.txt", "old");
  EXPECT_EQ(run({"decode", "-o", "kept.txt", "refused.amf"}).status, 6);
  EXPECT_EQ(readFile("kept.txt"), "old");
}

TEST_F(Tool, ReportsAFullStandardOutput) {
  writeFile("stdin", "");
  EXPECT_EQ(statusOf(spawn({"decode", "echo.amf"}, "/dev/full")), 9);
  EXPECT_EQ(readFile("stderr"),
            "amf2json: standard output: cannot write: No space left on device\n");
}

TEST_F(Tool, IsQuietWhenThePipeIsClosed) {
  writeFile("stdin", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const int reader = open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  // More than a pipe holds, so that the program is still writing when the reader leaves.
  writeFile("long.amf", packetOf("0C 00100000 61*1048576"));
  const pid_t child = spawn({"decode", "long.amf"}, "pipe");
  close(reader);
  EXPECT_EQ(statusOf(child), 128 + SIGPIPE);
  EXPECT_EQ(readFile("stderr"), "");
}

#ifndef SANITIZED
// Each array holds the one before twice: 30 levels ask for 2^30 nodes.
TEST_F(Tool, RunsOutOfMemory) {
  std::string value = "0A 0000001F 0A 00000000";
  for (int level = 0; level < 30; ++level) {
    const char digits[] = "0123456789ABCDEF";
    const std::string index = {'0', '0', digits[level / 16], digits[level % 16]};
    value += " 0A 00000002 07" + index + " 07" + index;
  }
  writeFile("bomb.amf", packetOf(value));
  struct rlimit before {};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  struct rlimit low = before;
  low.rlim_cur = 128 << 20;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &low), 0);
  const std::string most = "18446744073709551615";
  const Outcome outcome = run({"decode", "--max-nodes", most, "--max-tree-bytes", most,
                               "--max-copied-bytes", most, "bomb.amf"});
  ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
  const Outcome expected = {10, "", "amf2json: bomb.amf: out of memory\n"};
  EXPECT_EQ(outcome, expected);
}
#endif

// ---- The command line
// -------------------------------------------------------------------------------

TEST_F(Tool, RefusesAWrongCommandLine) {
  const std::vector<std::string> lines[] = {
      {},
      {"encode"},
      {"decode", "--to", "xml", "echo.amf"},
      {"decode", "--to"},
      {"decode", "--frobnicate"},
      {"roundtrip", "--compact", "echo.amf"},
  };
  for (const std::vector<std::string>& arguments : lines) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind("amf2json: ", 0), 0u) << outcome.err;
  }
}

TEST_F(Tool, Helps) {
  const Outcome version = {
      0, "amf2json " AMF2JSON_VERSION "\nlibrary AMF2JSON " AMF2JSON_VERSION ", ABI 1\n", ""};
  EXPECT_EQ(run({"--version"}), version);
  const Outcome help = run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "");
  for (const char* part : {"decode", "roundtrip", "   5  the packet ends too early\n"}) {
    EXPECT_NE(help.out.find(part), std::string::npos) << part;
  }
  const Outcome decodeHelp = run({"decode", "--help"});
  EXPECT_EQ(decodeHelp.status, 0);
  EXPECT_NE(decodeHelp.out.find("line feed gets one"), std::string::npos) << decodeHelp.out;
  EXPECT_NE(decodeHelp.out.find("inside one another (64)"), std::string::npos) << decodeHelp.out;
}

// ---- roundtrip
// --------------------------------------------------------------------------------------

struct RoundtripCase {
  const char* name;
  std::string packet;
  int status;
  const char* verdict;     // behind "packet.amf: "
  const char* error = "";  // behind "packet.amf:"
};

const RoundtripCase kRoundtripCases[] = {
    {"equal", packetOf("05"), 0, "equal"},
    {"no messages", hex("0003 0000 0000"), 0, "equal"},
    {"wrong declared length", hex("0000 0000 0001 0000 0000 00000063 05"), 0, "equal"},
    {"AMF0 boolean", packetOf("01 02"), 1,
     "differs at byte 21: 02 read, 01 written: boolean in message 0 (true is written as 01)"},
    {"must-understand", hex("0000 0001 0001 'h' FF 00000001 05 0000"), 1,
     "differs at byte 7: FF read, 01 written: mustUnderstand in header 0 (true is written as 01)"},
    {"time zone", packetOf("0B 0000000000000000 003C"), 1,
     "differs at byte 30: 3C read, 00 written: timeZone in message 0 (the time zone is "
     "not kept and written as 00 00)"},
    {"name in an end mark", packetOf("03 0001 'a' 05 0003 'end' 09"), 1,
     "differs at byte 26: 03 read, 00 written: length in message 0 (an end mark is "
     "written with an empty name)"},
    {"end mark for a value", packetOf("09"), 1,
     "differs at byte 20: 09 read, 06 written: marker0 in message 0 (an end mark in place of a "
     "value is written as undefined)"},
    {"short text in a long string", packetOf("0C 00000002 'hi'"), 1,
     "differs at byte 20: 0C read, 02 written: marker0 in message 0 (a string of up to 65535 "
     "bytes is written as a short one)"},
    {"long text in a long string", packetOf("0C 00010000 61*65536"), 0, "equal"},
    {"typed object without a class name", packetOf("10 0000 0000 09"), 1,
     "differs at byte 20: 10 read, 03 written: marker0 in message 0 (an object with an empty "
     "class name is written without one)"},
    {"typed object", packetOf("10 0001 'C' 0001 'a' 05 0000 09"), 0, "equal"},
    {"left-over bytes", packetOf("05 00"), 1,
     "differs at byte 21: 00 read, nothing written: left-over bytes (bytes behind the last message "
     "belong to no field)"},
    {"end mark behind an ECMA array", packetOf("08 00000001 0001 'k' 05 0000 09"), 1,
     "differs at byte 29: 00 read, nothing written: left-over bytes (bytes behind the last message "
     "belong to no field)"},
    {"U29 longer than needed", packetOf("11 04 8001"), 1,
     "differs at byte 22: 80 read, 01 written: integer in message 0 (a U29 is written in as few "
     "bytes as it needs)"},
    {"U29 with a signed fourth byte", packetOf("11 04 FFFFFFFF"), 1,
     "differs at byte 24: FF read, FE written: integer in message 0 (the fourth byte is read as a "
     "signed number, and 200000 to 3FFFFF are written in three bytes)"},
    {"U29 of 200000", packetOf("11 04 80C08000"), 1,
     "differs at byte 22: 80 read, C0 written: integer in message 0 (the fourth byte is read as a "
     "signed number, and 200000 to 3FFFFF are written in three bytes)"},
    {"U29 of 400000", packetOf("11 04 81808000"), 0, "equal"},
    {"ignored bits of a date", packetOf("11 08 03 0000000000000000"), 1,
     "differs at byte 22: 03 read, 01 written: head in message 0 (the bits beside the "
     "inline bit are not kept and written as 01)"},
    {"class name that is not accepted", packetOf("11 0A 07 2B 'mx.utils.ObjectProxy' 01"), 6, "",
     "45: getAMF3Object(): unsupported externalizable class type (message 0)\n"
     "    at 29: 69 6C 73 2E 4F 62 6A 65 63 74 50 72 6F 78 79 01 |\n"},
    {"traits of an externalizable object", packetOf("11 0A 1F 29 'mx.utils.ObjectProxy' 01"), 1,
     "differs at byte 22: 1F read, 07 written: head in message 0 (the sealed count "
     "and the dynamic bit are written as 07)"},
    {"marker of an XML reference", packetOf("11 09 05 01 07 03 'a' 0B 02"), 1,
     "differs at byte 27: 0B read, 07 written: marker3 in message 0 (a reference is written "
     "with the marker of the text it names)"},
    {"behind one of everything",
     packetOf("0A 0000000E"
              " 00 3FF0000000000000  01 01  02 0001 'a'  06"
              " 08 00000001 0001 'k' 0A 00000000  07 0000"
              " 0B 0000000000000000 0000  0F 00000004 '<a/>'"
              " 11 09 0B 03 'k' 06 03 'v' 01"
              "    05 3FF0000000000000 08 01 0000000000000000 0B 03 'x' 0C 05 0102 03"
              " 11 0A 2B 03 'C' 03 'a' 03 'b' 01 02 03 'd' 04 7F 01"
              " 11 0A 01 06 00 06 02 00 01 01"
              " 11 0A 07 29 'mx.utils.ObjectProxy' 0A 0B 01 01"
              " 11 0A 05"
              " 11 04 8001"),
     1,
     "differs at byte 172: 80 read, 01 written: integer in message 0 (a U29 is written in as few "
     "bytes as it needs)"},
    {"refused", packetOf("11 0D"), 6, "",
     "22: getAMF3Value(): unknown value type marker (message 0)\n"
     "    at 6: 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 11 0D |\n"},
    {"cut", packetOf("0A 00000002 05"), 5, "",
     "26: truncated: at least 1 byte is missing (message 0)\n"
     "    at 10: 68 6F 00 02 2F 31 FF FF FF FF 0A 00 00 00 02 05 |\n"},
    {"refused by the writer", packetOf("11 04 808080FF"), 8, "",
     "22: cannot be written again: setAMF3Integer(): integer value is to large\n"},
};

TEST_F(Tool, RoundTrips) {
  for (const RoundtripCase& row : kRoundtripCases) {
    writeFile("packet.amf", row.packet);
    const std::string file = "packet.amf:";
    const Outcome expected = {row.status, *row.verdict != 0 ? file + " " + row.verdict + "\n" : "",
                              *row.error != 0 ? file + row.error : ""};
    EXPECT_EQ(run({"roundtrip", "packet.amf"}), expected) << row.name;
  }
}

TEST_F(Tool, RoundTripsStandardInput) {
  const Outcome expected = {0, "-: equal\n", ""};
  EXPECT_EQ(run({"roundtrip"}, packetOf("05")), expected);
}

TEST_F(Tool, RoundTripsManyFilesAndExitsWithTheWorst) {
  writeFile("changed.amf", packetOf("09"));
  const std::string equal = "echo.amf: equal\n";
  const std::string changed =
      "changed.amf: differs at byte 20: 09 read, 06 written: marker0 in message 0 (an end mark "
      "in place of a value is written as undefined)\n";
  const std::string refused =
      "refused.amf:21: getAMF0Value: unknown value type (message 0)\n"
      "    at 5: 01 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 04 |\n";
  const std::string missing = "amf2json: missing.amf: cannot read: No such file or directory\n";
  const Outcome two = {1, changed + equal, ""};
  EXPECT_EQ(run({"roundtrip", "changed.amf", "echo.amf"}), two);
  const Outcome three = {6, changed + equal, refused};
  EXPECT_EQ(run({"roundtrip", "refused.amf", "changed.amf", "echo.amf"}), three);
  const Outcome four = {9, equal, refused + missing};
  EXPECT_EQ(run({"roundtrip", "refused.amf", "missing.amf", "echo.amf"}), four);
}

}  // namespace
