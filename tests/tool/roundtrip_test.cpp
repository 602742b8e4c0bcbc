// SPDX-License-Identifier: Apache-2.0
//
// amf2json roundtrip, from outside.
#include <gtest/gtest.h>

#include <string>

#include "support/hex.h"
#include "support/program.h"

namespace {

using namespace support;

using Roundtrip = ProgramTest;

struct RoundtripCase {
  const char* name;
  std::string packet;
  int status;
  const char* verdict;     // after "packet.amf: "
  const char* error = "";  // after "packet.amf:"
};

const RoundtripCase kRoundtripCases[] = {
    {"equal", echoOf("05"), 0, "equal"},
    {"no messages", hex("0003 0000 0000"), 0, "equal"},
    {"wrong declared length", hex("0000 0000 0001 0000 0000 00000063 05"), 0, "equal"},
    {"AMF0 boolean", echoOf("01 02"), 1,
     "differs at byte 21: 02 read, 01 written: boolean in message 0 (true is written as 01)"},
    {"must-understand", hex("0000 0001 0001 'h' FF 00000001 05 0000"), 1,
     "differs at byte 7: FF read, 01 written: mustUnderstand in header 0 (true is written as 01)"},
    {"time zone", echoOf("0B 0000000000000000 003C"), 1,
     "differs at byte 30: 3C read, 00 written: timeZone in message 0 (the time zone is "
     "not kept and written as 00 00)"},
    {"name in an end mark", echoOf("03 0001 'a' 05 0003 'end' 09"), 1,
     "differs at byte 26: 03 read, 00 written: length in message 0 (an end mark is "
     "written with an empty name)"},
    {"end mark for a value", echoOf("09"), 1,
     "differs at byte 20: 09 read, 06 written: marker0 in message 0 (an end mark in place of a "
     "value is written as undefined)"},
    {"short text in a long string", echoOf("0C 00000002 'hi'"), 1,
     "differs at byte 20: 0C read, 02 written: marker0 in message 0 (a string of up to 65535 "
     "bytes is written as a short one)"},
    {"long text in a long string", echoOf("0C 00010000 61*65536"), 0, "equal"},
    {"typed object without a class name", echoOf("10 0000 0000 09"), 1,
     "differs at byte 20: 10 read, 03 written: marker0 in message 0 (an object with an empty "
     "class name is written without one)"},
    {"typed object", echoOf("10 0001 'C' 0001 'a' 05 0000 09"), 0, "equal"},
    {"left-over bytes", echoOf("05 00"), 1,
     "differs at byte 21: 00 read, nothing written: left-over bytes (bytes after the last message "
     "belong to no field)"},
    {"end mark after an ECMA array", echoOf("08 00000001 0001 'k' 05 0000 09"), 1,
     "differs at byte 29: 00 read, nothing written: left-over bytes (bytes after the last message "
     "belong to no field)"},
    {"U29 longer than needed", echoOf("11 04 8001"), 1,
     "differs at byte 22: 80 read, 01 written: integer in message 0 (a U29 is written in as few "
     "bytes as it needs)"},
    {"U29 with a signed fourth byte", echoOf("11 04 FFFFFFFF"), 1,
     "differs at byte 24: FF read, FE written: integer in message 0 (the fourth byte is read as a "
     "signed number, and 200000 to 3FFFFF are written in three bytes)"},
    {"U29 of 200000", echoOf("11 04 80C08000"), 1,
     "differs at byte 22: 80 read, C0 written: integer in message 0 (the fourth byte is read as a "
     "signed number, and 200000 to 3FFFFF are written in three bytes)"},
    {"U29 of 400000", echoOf("11 04 81808000"), 0, "equal"},
    {"ignored bits of a date", echoOf("11 08 03 0000000000000000"), 1,
     "differs at byte 22: 03 read, 01 written: head in message 0 (the bits beside the "
     "inline bit are not kept and written as 01)"},
    {"class name that is not accepted", echoOf("11 0A 07 2B 'mx.utils.ObjectProxy' 01"), 6, "",
     "45: getAMF3Object(): unsupported externalizable class type (message 0)\n"
     "    at 29: 69 6C 73 2E 4F 62 6A 65 63 74 50 72 6F 78 79 01 |\n"},
    {"traits of an externalizable object", echoOf("11 0A 1F 29 'mx.utils.ObjectProxy' 01"), 1,
     "differs at byte 22: 1F read, 07 written: head in message 0 (the sealed count "
     "and the dynamic bit are written as 07)"},
    {"marker of an XML reference", echoOf("11 09 05 01 07 03 'a' 0B 02"), 1,
     "differs at byte 27: 0B read, 07 written: marker3 in message 0 (a reference is written "
     "with the marker of the text it names)"},
    {"after one of everything",
     echoOf("0A 0000000E"
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
    {"refused", echoOf("11 0D"), 6, "",
     "22: getAMF3Value(): unknown value type marker (message 0)\n"
     "    at 6: 00 04 65 63 68 6F 00 02 2F 31 FF FF FF FF 11 0D |\n"},
    {"cut", echoOf("0A 00000002 05"), 5, "",
     "26: truncated: at least 1 byte is missing (message 0)\n"
     "    at 10: 68 6F 00 02 2F 31 FF FF FF FF 0A 00 00 00 02 05 |\n"},
    {"refused by the writer", echoOf("11 04 808080FF"), 8, "",
     "22: cannot be written again: setAMF3Integer(): integer value is to large\n"},
};

TEST_F(Roundtrip, Compares) {
  for (const RoundtripCase& row : kRoundtripCases) {
    writeFile("packet.amf", row.packet);
    const std::string file = "packet.amf:";
    const Outcome expected = {row.status, *row.verdict != 0 ? file + " " + row.verdict + "\n" : "",
                              *row.error != 0 ? file + row.error : ""};
    EXPECT_EQ(run({"roundtrip", "packet.amf"}), expected) << row.name;
  }
}

TEST_F(Roundtrip, ReadsStandardInput) {
  const Outcome expected = {0, "-: equal\n", ""};
  EXPECT_EQ(run({"roundtrip"}, echoOf("05")), expected);
}

TEST_F(Roundtrip, TakesManyFilesAndExitsWithTheWorst) {
  writeFile("changed.amf", echoOf("09"));
  const std::string equal = "echo.amf: equal\n";
  const std::string changed =
      "changed.amf: differs at byte 20: 09 read, 06 written: marker0 in message 0 (an end mark "
      "in place of a value is written as undefined)\n";
  const std::string missing = "amf2json: missing.amf: cannot read: No such file or directory\n";
  const Outcome two = {1, changed + equal, ""};
  EXPECT_EQ(run({"roundtrip", "changed.amf", "echo.amf"}), two);
  const Outcome three = {6, changed + equal, kRefusedError};
  EXPECT_EQ(run({"roundtrip", "refused.amf", "changed.amf", "echo.amf"}), three);
  const Outcome four = {9, equal, kRefusedError + missing};
  EXPECT_EQ(run({"roundtrip", "refused.amf", "missing.amf", "echo.amf"}), four);
}

TEST_F(Roundtrip, IgnoresAllowedBytesAfterTheLastMessage) {
  const Outcome differs = {1,
                           "more.amf: differs at byte 25: 01 read, nothing written: left-over "
                           "bytes (bytes after the last "
                           "message belong to no field)\n",
                           ""};
  EXPECT_EQ(run({"roundtrip", "more.amf"}), differs);
  const Outcome equal = {0, "more.amf: equal\n", ""};
  EXPECT_EQ(run({"roundtrip", "--allow-trailing", "more.amf"}), equal);
}

}  // namespace
