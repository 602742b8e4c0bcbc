// SPDX-License-Identifier: Apache-2.0
//
// amf2json check, from outside.
#include <gtest/gtest.h>

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
      "p.amf:6: warning: 1 byte left over behind the last message\n"
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

TEST_F(Check, TakesManyFilesAndExitsWithTheWorst) {
  const Outcome outcome = run({"check", "refused.amf", "missing.amf", "echo.amf"});
  EXPECT_EQ(outcome.status, 9);
  EXPECT_EQ(outcome.err, std::string(kRefusedError) +
                             "amf2json: missing.amf: cannot read: No such file or directory\n");
  EXPECT_EQ(outcome.out.find("refused.amf: malformed: "), 0u) << outcome.out;
  EXPECT_NE(outcome.out.find("\necho.amf: ok: "), std::string::npos) << outcome.out;
}

}  // namespace
