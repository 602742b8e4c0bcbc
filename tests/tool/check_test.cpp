// SPDX-License-Identifier: Apache-2.0
//
// amf2json check, from outside.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

using Check = ProgramTest;

struct CheckCase {
  const char* name;
  std::string packet;
  std::vector<std::string> options;
  Outcome expected;
};

const CheckCase kCheckCases[] = {
    {"no sections",
     hex("0003 0000 0000"),
     {},
     {0,
      "ok: 0 headers, 0 messages, 1 node, depth 0, TREE tree bytes, 0 bytes left over, "
      "0 lengths that lie\n",
      ""}},
    {"one of everything",
     hex("0000 0001 0001 'h' 00 00000001 05 0001 0001 't' 0001 'r' FFFFFFFF 0A 00000001 05"),
     {},
     {0,
      "ok: 1 header, 1 message, 9 nodes, depth 1, TREE tree bytes, 0 bytes left over, "
      "0 lengths that lie\n",
      ""}},
    {"a length that lies",
     hex("0000 0000 0001 0000 0000 00000063 05"),
     {},
     {1,
      "ok: 0 headers, 1 message, 5 nodes, depth 0, TREE tree bytes, 0 bytes left over, "
      "1 length that lies\n",
      ""}},
    {"left over",
     hex("0003 0000 0000 01"),
     {},
     {3,
      "ok: 0 headers, 0 messages, 1 node, depth 0, TREE tree bytes, 1 byte left over, "
      "0 lengths that lie\n",
      "p.amf:6: warning: 1 byte left over after the last message\n"
      "    at 0: 00 03 00 00 00 00 | 01\n"}},
    {"left over, allowed",
     hex("0003 0000 0000 01"),
     {"--allow-trailing"},
     {0,
      "ok: 0 headers, 0 messages, 1 node, depth 0, TREE tree bytes, 1 byte left over, "
      "0 lengths that lie\n",
      ""}},
    {"truncated in a header",
     hex("0000 0001 0001 'h' 00 000000"),
     {},
     {5,
      "truncated: 0 headers, 0 messages, 3 nodes, depth 0, TREE tree bytes, 3 bytes left over, "
      "0 lengths that lie\n",
      "p.amf:8: truncated: at least 1 byte is missing (header 0)\n"
      "    at 0: 00 00 00 01 00 01 68 00 | 00 00 00\n"}},
    {"refused in the second message",
     hex("0000 0000 0002 0000 0000 FFFFFFFF 05 0000 0000 FFFFFFFF 04"),
     {},
     {6,
      "malformed: 0 headers, 1 message, 8 nodes, depth 0, TREE tree bytes, 0 bytes left over, "
      "0 lengths that lie\n",
      "p.amf:24: getAMF0Value: unknown value type (message 1)\n"
      "    at 8: 00 00 FF FF FF FF 05 00 00 00 00 FF FF FF FF 04 |\n"}},
    {"over a limit",
     echoOf("0A 00000001 0A 00000000"),
     {"--max-depth", "1"},
     {7,
      "depth limit: 0 headers, 0 messages, 5 nodes, depth 2, TREE tree bytes, 0 bytes left over, "
      "0 lengths that lie\n",
      "p.amf:30: depth limit: more than --max-depth 1 (message 0)\n"
      "    at 14: 2F 31 FF FF FF FF 0A 00 00 00 01 0A 00 00 00 00 |\n"}},
};

// The bytes of a tree depend on the machine.
std::string withoutTreeBytes(const std::string& line) {
  const std::size_t end = line.find(" tree byte");
  const std::size_t begin = line.rfind(' ', end - 1) + 1;
  if (end == std::string::npos) return line;
  EXPECT_GT(std::stoull(line.substr(begin)), 0u);
  return line.substr(0, begin) + "TREE" + line.substr(end);
}

TEST_F(Check, SaysWhatIsInAPacket) {
  for (const CheckCase& row : kCheckCases) {
    writeFile("p.amf", row.packet);
    std::vector<std::string> arguments = {"check", "p.amf"};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    Outcome outcome = run(arguments);
    outcome.out = withoutTreeBytes(outcome.out);
    Outcome expected = row.expected;
    expected.out = "p.amf: " + expected.out;
    EXPECT_EQ(outcome, expected) << row.name;
  }
}

// A line for each file, whatever became of it; nulls for what is not known.
TEST_F(Check, AnswersInJSON) {
  writeFile("lies.amf", hex("0000 0000 0001 0000 0000 00000063 05"));
  writeFile("more.hex", toHex(hex("0003 0000 0000 01")));
  writeFile("odd.hex", "00 03 0");
  const Outcome outcome =
      run({"check", "--format", "json", "--unwrap", "--error-format", "json", "empty.amf",
           "lies.amf", "more.hex", "refused.amf", "odd.hex", "missing.amf"});
  EXPECT_EQ(outcome.status, 9);
  std::istringstream lines(outcome.out);
  std::vector<std::string> shown;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t begin = line.find("\"tree_bytes\":") + 13;
    const std::size_t size = line.find(',', begin) - begin;
    if (line.compare(begin, 4, "null") != 0) line.replace(begin, size, "TREE");
    shown.push_back(line);
  }
  const std::vector<std::string> expected = {
      R"({"file":"empty.amf","status":"ok","message":null,"offset":null,"section":null,"wrappers":[],)"
      R"("bytes":6,"consumed":6,"left_over":0,"headers":0,"messages":0,"nodes":1,"depth":0,)"
      R"("tree_bytes":TREE,"lying_lengths":0,"exit_code":0})",
      R"({"file":"lies.amf","status":"ok","message":null,"offset":null,"section":null,"wrappers":[],)"
      R"("bytes":15,"consumed":15,"left_over":0,"headers":0,"messages":1,"nodes":5,"depth":0,)"
      R"("tree_bytes":TREE,"lying_lengths":1,"exit_code":1})",
      R"({"file":"more.hex","status":"left over","message":"1 byte left over after the last message, )"
      R"(in what hexadecimal text holds","offset":6,"section":null,"wrappers":["hexadecimal text"],)"
      R"("bytes":7,"consumed":6,"left_over":1,"headers":0,"messages":0,"nodes":1,"depth":0,)"
      R"("tree_bytes":TREE,"lying_lengths":0,"exit_code":3})",
      R"({"file":"refused.amf","status":"malformed","message":"getAMF0Value: unknown value type",)"
      R"("offset":21,"section":"message 0","wrappers":[],"bytes":21,"consumed":21,"left_over":0,)"
      R"("headers":0,"messages":0,"nodes":4,"depth":0,"tree_bytes":TREE,"lying_lengths":0,)"
      R"("exit_code":6})",
      R"({"file":"odd.hex","status":"malformed wrapper","message":"hexadecimal text: an odd number of )"
      R"(digits","offset":6,"section":null,"wrappers":null,"bytes":null,"consumed":null,)"
      R"("left_over":null,"headers":null,"messages":null,"nodes":null,"depth":null,)"
      R"("tree_bytes":null,"lying_lengths":null,"exit_code":6})",
      R"({"file":"missing.amf","status":"file","message":"cannot read: No such file or directory",)"
      R"("offset":null,"section":null,"wrappers":null,"bytes":null,"consumed":null,)"
      R"("left_over":null,"headers":null,"messages":null,"nodes":null,"depth":null,)"
      R"("tree_bytes":null,"lying_lengths":null,"exit_code":9})",
  };
  EXPECT_EQ(shown, expected);
  // The problems are reported as by the other commands.
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 4) << outcome.err;
}

TEST_F(Check, TakesManyFilesAndExitsWithTheWorst) {
  const Outcome outcome = run({"check", "refused.amf", "missing.amf", "echo.amf"});
  EXPECT_EQ(outcome.status, 9);
  EXPECT_EQ(outcome.err, std::string(kRefusedError) +
                             "amf2json: missing.amf: cannot read: No such file or directory\n");
  EXPECT_EQ(outcome.out.find("refused.amf: malformed: "), 0u) << outcome.out;
  EXPECT_NE(outcome.out.find("\necho.amf: ok: "), std::string::npos) << outcome.out;
}

}  // namespace
