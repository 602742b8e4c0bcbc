// SPDX-License-Identifier: Apache-2.0
//
// Whole runs of the program amf2json, each test in a directory of its own: standard output,
// standard error and exit code. Used by tool_*_test.cpp.
#ifndef TESTS_SUPPORT_PROGRAM_H
#define TESTS_SUPPORT_PROGRAM_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"

extern char** environ;

namespace support {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

inline bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.out == b.out && a.err == b.err;
}

inline void PrintTo(const Outcome& outcome, std::ostream* out) {
  constexpr std::size_t kShown = 4000;
  *out << "status " << outcome.status << "\n--- out ---\n"
       << outcome.out.substr(0, kShown) << "--- err ---\n"
       << outcome.err.substr(0, kShown);
}

inline void writeFile(const std::string& name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

inline std::string readFile(const std::string& name) {
  std::ostringstream bytes;
  bytes << std::ifstream(name, std::ios::binary).rdbuf();
  return bytes.str();
}

// Exit status; a signal counts as 128 and its number, as in shells.
inline int statusOf(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Starts `program` with standard input, output and error from and to these files.
inline pid_t spawn(const char* program, const std::vector<std::string>& arguments,
                   const std::string& outFile, const std::string& errFile) {
  std::vector<char*> argv = {const_cast<char*>(program)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "stdin", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&files, 2, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t child = -1;
  const int error = posix_spawnp(&child, program, &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  EXPECT_EQ(error, 0) << program;
  return child;
}

inline pid_t spawn(const std::vector<std::string>& arguments, const std::string& outFile) {
  return spawn(AMF2JSON_PROGRAM, arguments, outFile, "stderr");
}

inline Outcome run(const std::vector<std::string>& arguments, const std::string& input = {}) {
  writeFile("stdin", input);
  const int status = statusOf(spawn(arguments, "stdout"));
  return {status, readFile("stdout"), readFile("stderr")};
}

// A line of a shell in which the program is $amf2json.
inline Outcome runShell(const std::string& line, const std::string& input = {}) {
  writeFile("stdin", input);
  setenv("amf2json", AMF2JSON_PROGRAM, 1);
  const int status = statusOf(spawn("bash", {"-c", line}, "stdout", "stderr"));
  return {status, readFile("stdout"), readFile("stderr")};
}

// A packet of one message with this value; the value begins at byte 20.
inline std::string echoOf(const std::string& value) {
  return hex("0000 0000 0001 0004 'echo' 0002 '/1' FFFFFFFF") + hex(value);
}

// Every test runs in a directory of its own, with a few packets in it.
class ProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "amf2json.XXXXXX";
    ASSERT_NE(mkdtemp(&name[0]), nullptr);
    directory = name;
    ASSERT_EQ(chdir(directory.c_str()), 0);
    writeFile("empty.amf", hex("0003 0000 0000"));
    writeFile("echo.amf", echoOf("02 0002 'hi'"));
    writeFile("refused.amf", echoOf("04"));
    writeFile("cut.amf", echoOf("02 0003 'hi'"));
    writeFile("more.amf", echoOf("02 0002 'hi' 0102"));
  }

  void TearDown() override {
    ASSERT_EQ(chdir("/"), 0);
    const std::string remove = "rm -rf '" + directory + "'";
    ASSERT_EQ(std::system(remove.c_str()), 0);
  }

  std::string directory;
};

// The expected results for the packets above.
constexpr const char* kEchoLiteral =
    "{\n\t\"type\" : \"package\",\n\t\"content\" : \n\t[\n\t\t{\n\t\t\t\"type\" : \"message\",\n"
    "\t\t\t\"targetUri\" : \"echo\",\n\t\t\t\"responseUri\" : \"/1\",\n"
    "\t\t\t\"value\" : \"hi\"\n\t\t}\n\t]\n}";
constexpr const char* kEchoStatements =
    "content[0].targetUri = \"echo\";\ncontent[0].responseUri = \"/1\";\n"
    "content[0].value = \"hi\";\n";
constexpr const char* kRefusedError =
    "refused.amf:21: getAMF0Value: unknown value type (message 0)\n"
    "    at 5: 01 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 04 |\n";
constexpr const char* kCutError =
    "cut.amf:23: truncated: at least 1 byte is missing (message 0)\n"
    "    at 9: 63 68 6F 00 02 2F 31 FF FF FF FF 02 00 03 | 68 69\n";
constexpr const char* kMoreWarning =
    "more.amf:25: warning: 2 bytes left over after the last message\n"
    "    at 11: 6F 00 02 2F 31 FF FF FF FF 02 00 02 68 69 | 01 02\n";

}  // namespace support

#endif  // TESTS_SUPPORT_PROGRAM_H
