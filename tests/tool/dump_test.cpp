// SPDX-License-Identifier: Apache-2.0
//
// The rows of amf2json dump: bytes of packets, and what they mean. Exercises tool/commands/dump_rows.cpp,
// tool/commands/dump_values.cpp and tool/text/printable.cpp.
#include "tool/commands/dump_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "support/guard_packets.h"
#include "tool/input/form.h"
#include "tool/text/printable.h"

using namespace support;

namespace {

// The rows of a value alone.
std::string dumpOf(const std::string& value, Form form = Form::amf0, bool full = false) {
  DumpOptions options;
  options.full = full;
  options.hiddenHead = envelopeOf(form).size();
  std::string text;
  dumpPacket(std::string(envelopeOf(form)) + value, options, text);
  return text;
}

TEST(ToolDump, ShowsAPacketWhole) {
  const std::string packet =
      hex("0003 0001 0002 'id' 02 00000006 02 0002 'A1'"
          "0001 0000 0001 '/' FFFFFFFF 0A 00000001 07 0000 FF");
  std::string text;
  const AMFVerifyResult result = dumpPacket(packet, DumpOptions(), text);
  EXPECT_EQ(AMFVerifyStatus::malformed, result.status);
  EXPECT_EQ(
      "00000000  00 03                    |..|        version 3\n"
      "00000002  00 01                    |..|        headerCount 1\n"
      "00000004                                       header 0\n"
      "00000004  00 02                    |..|          length 2 of headerName\n"
      "00000006  69 64                    |id|          headerName \"id\"\n"
      "00000008  02                       |.|           mustUnderstand true\n"
      "00000009  00 00 00 06              |....|        declaredLength 6\n"
      "0000000D  02                       |.|           marker0 02 string\n"
      "0000000E  00 02                    |..|            length 2 of string\n"
      "00000010  41 31                    |A1|            string \"A1\"\n"
      "00000012                                         the value has 5 bytes, declaredLength says "
      "6\n"
      "00000012  00 01                    |..|        messageCount 1\n"
      "00000014                                       message 0\n"
      "00000014  00 00                    |..|          length 0 of targetUri\n"
      "00000016  00 01                    |..|          length 1 of responseUri\n"
      "00000018  2F                       |/|           responseUri \"/\"\n"
      "00000019  FF FF FF FF              |....|        declaredLength unknown\n"
      "0000001D  0A                       |.|           marker0 0A strict array\n"
      "0000001E  00 00 00 01              |....|          count 1\n"
      "00000022  07                       |.|             [0]: marker0 07 reference\n"
      "00000023  00 00                    |..|              reference0: reference 0, which does "
      "not exist\n"
      "00000025  FF                       |.|         not read: 1 byte\n",
      text);
}

TEST(ToolDump, CountsSectionsAndEmptiesTablesForEach) {
  const std::string value = "11 06 03 'a'";
  const std::string packet =
      hex("0000 0000 0002 0000 0000 FFFFFFFF" + value + "0000 0000 FFFFFFFF 11 06 03 'b' 00");
  std::string text;
  DumpOptions options;
  options.hiddenHead = 20;  // the first message and the target of the second
  EXPECT_EQ(AMFVerifyStatus::ok, dumpPacket(packet, options, text).status);
  EXPECT_EQ(
      "00000000  00 00                    |..|        length 0 of responseUri\n"
      "00000002  FF FF FF FF              |....|      declaredLength unknown\n"
      "00000006  11                       |.|         marker0 11 switch to AMF3\n"
      "00000007  06                       |.|         marker3 06 string\n"
      "00000008  03                       |.|           head 3: string of 1 byte\n"
      "00000009  62                       |b|           string \"b\" [string 0]\n"
      "0000000A  00                       |.|         left over: 1 byte\n",
      text);
}

TEST(ToolDump, ShowsNothingOfAPacketOverTheSizeLimit) {
  DumpOptions options;
  options.limits.maxPacketBytes = 3;
  std::string text;
  EXPECT_EQ(AMFVerifyStatus::packetTooLarge,
            dumpPacket(hex("0000 0000 0000"), options, text).status);
  EXPECT_EQ("", text);
  EXPECT_EQ(AMFVerifyStatus::truncated, dumpPacket("", DumpOptions(), text).status);
  EXPECT_EQ("", text);
}

TEST(ToolDump, CountsFromTheGivenOffset) {
  DumpOptions options;
  options.hiddenHead = envelopeOf(Form::amf0).size();
  options.firstOffset = 0x1FFFF;
  std::string text;
  dumpPacket(std::string(envelopeOf(Form::amf0)) + hex("02 0001 'x'"), options, text);
  EXPECT_EQ(
      "0001FFFF  02                       |.|         marker0 02 string\n"
      "00020000  00 01                    |..|          length 1 of string\n"
      "00020002  78                       |x|           string \"x\"\n",
      text);
}

struct DumpCase {
  const char* name;
  Form form;
  const char* value;
  const char* rows;
};

const DumpCase kCases[] = {
    {"scalars", Form::amf0, "0A 00000005 00 3FF8000000000000 01 02 05 06 0B 4194997000000000 FFC4",
     "00000000  0A                       |.|         marker0 0A strict array\n"
     "00000001  00 00 00 05              |....|        count 5\n"
     "00000005  00                       |.|           [0]: marker0 00 number\n"
     "00000006  3F F8 00 00 00 00 00 00  |?.......|      number 1.5\n"
     "0000000E  01                       |.|           [1]: marker0 01 boolean\n"
     "0000000F  02                       |.|             boolean true\n"
     "00000010  05                       |.|           [2]: marker0 05 null\n"
     "00000011  06                       |.|           [3]: marker0 06 undefined\n"
     "00000012  0B                       |.|           [4]: marker0 0B date\n"
     "00000013  41 94 99 70 00 00 00 00  |A..p....|      timeMs 86400000 "
     "(1970-01-02T00:00:00.000Z)\n"
     "0000001B  FF C4                    |..|            timeZone -60 minutes\n"
     "0000001D                                       end of the array at 00000000 [reference 0]\n"},
    {"AMF0 objects, their names and references to them", Form::amf0,
     "10 0001 'C' 0001 'a' 03 0000 09 0000 05 0001 'r' 07 0000 0000 09",
     "00000000  10                       |.|         marker0 10 typed object\n"
     "00000001  00 01                    |..|          length 1 of className\n"
     "00000003  43                       |C|           className \"C\"\n"
     "00000004  00 01                    |..|          length 1 of memberName\n"
     "00000006  61                       |a|           memberName \"a\"\n"
     "00000007  03                       |.|           \"a\": marker0 03 object\n"
     "00000008  00 00                    |..|            length 0 of memberName\n"
     "0000000A  09                       |.|             marker0 09 end mark\n"
     "0000000B                                         end of the object at 00000007 [reference "
     "0]\n"
     "0000000B  00 00                    |..|          length 0 of memberName\n"
     "0000000D  05                       |.|           \"\": marker0 05 null\n"
     "0000000E  00 01                    |..|          length 1 of memberName\n"
     "00000010  72                       |r|           memberName \"r\"\n"
     "00000011  07                       |.|           \"r\": marker0 07 reference\n"
     "00000012  00 00                    |..|            reference0: reference 0 at 00000007\n"
     "00000014  00 00                    |..|          length 0 of memberName\n"
     "00000016  09                       |.|           marker0 09 end mark\n"
     "00000017                                       end of the object at 00000000 [reference "
     "1]\n"},
    {"empty arrays keep their parents", Form::amf0, "0A 00000003 08 00000000 0A 00000000 07 0001",
     "00000000  0A                       |.|         marker0 0A strict array\n"
     "00000001  00 00 00 03              |....|        count 3\n"
     "00000005  08                       |.|           [0]: marker0 08 ECMA array\n"
     "00000006  00 00 00 00              |....|          count 0\n"
     "0000000A                                         end of the array at 00000005 [reference 0]\n"
     "0000000A  0A                       |.|           [1]: marker0 0A strict array\n"
     "0000000B  00 00 00 00              |....|          count 0\n"
     "0000000F                                         end of the array at 0000000A [reference 1]\n"
     "0000000F  07                       |.|           [2]: marker0 07 reference\n"
     "00000010  00 01                    |..|            reference0: reference 1 at 0000000A\n"
     "00000012                                       end of the array at 00000000 [reference 2]\n"},
    {"sealed and dynamic members, traits and string references", Form::amf3,
     "09 05 01 0A 1B 03 'C' 03 'a' 04 81 00 03 'd' 02 01 0A 01 06 02 04 03 01",
     "00000000  09                       |.|         marker3 09 array\n"
     "00000001  05                       |.|           head 5: 2 dense values [object 0]\n"
     "00000002  01                       |.|           head 1: no more named members\n"
     "00000003  0A                       |.|           [0]: marker3 0A object\n"
     "00000004  1B                       |.|             head 27: 1 sealed member, dynamic [object "
     "1]\n"
     "00000005  03                       |.|             head 3: className of 1 byte\n"
     "00000006  43                       |C|             className \"C\" [string 0]\n"
     "00000007  03                       |.|             head 3: memberName of 1 byte\n"
     "00000008  61                       |a|             memberName \"a\" [string 1] [traits 0]\n"
     "00000009  04                       |.|             \"a\": marker3 04 integer\n"
     "0000000A  81 00                    |..|              integer 128\n"
     "0000000C  03                       |.|             head 3: memberName of 1 byte\n"
     "0000000D  64                       |d|             memberName \"d\" [string 2]\n"
     "0000000E  02                       |.|             \"d\": marker3 02 false\n"
     "0000000F  01                       |.|             head 1: no more named members\n"
     "00000010  0A                       |.|           [1]: marker3 0A object\n"
     "00000011  01                       |.|             head 1: traits 0 at 00000004, \"C\" "
     "[object "
     "2]\n"
     "00000012  06                       |.|             \"a\": marker3 06 string\n"
     "00000013  02                       |.|               reference3 2: string 1 at 00000007, "
     "\"a\"\n"
     "00000014  04                       |.|             reference3 4: string 2 at 0000000C, "
     "\"d\"\n"
     "00000015  03                       |.|             \"d\": marker3 03 true\n"
     "00000016  01                       |.|             head 1: no more named members\n"},
    {"objects that are no containers have their index too", Form::amf3,
     "09 0B 01 08 01 0000000000000000 0C 03 FF 0B 03 'x' 0C 04 08 02",
     "00000000  09                       |.|         marker3 09 array\n"
     "00000001  0B                       |.|           head 11: 5 dense values [object 0]\n"
     "00000002  01                       |.|           head 1: no more named members\n"
     "00000003  08                       |.|           [0]: marker3 08 date\n"
     "00000004  01                       |.|             head 1: a date\n"
     "00000005  00 00 00 00 00 00 00 00  |........|      timeMs 0 (1970-01-01T00:00:00.000Z) "
     "[object "
     "1]\n"
     "0000000D  0C                       |.|           [1]: marker3 0C byte array\n"
     "0000000E  03                       |.|             head 3: byteArray of 1 byte\n"
     "0000000F  FF                       |.|             byteArray of 1 byte [object 2]\n"
     "00000010  0B                       |.|           [2]: marker3 0B XML\n"
     "00000011  03                       |.|             head 3: xml of 1 byte\n"
     "00000012  78                       |x|             xml \"x\" [object 3]\n"
     "00000013  0C                       |.|           [3]: marker3 0C byte array\n"
     "00000014  04                       |.|             reference3 4: object 2 at 0000000D\n"
     "00000015  08                       |.|           [4]: marker3 08 date\n"
     "00000016  02                       |.|             reference3 2: object 1 at 00000003\n"},
    {"an externalizable object and an associative part", Form::amf3,
     "0A 07 43 'flex.messaging.io.ArrayCollection' 09 01 03 'k' 01 01",
     "00000000  0A                       |.|         marker3 0A object\n"
     "00000001  07                       |.|           head 7: 0 sealed members, externalizable "
     "[object 0]\n"
     "00000002  43                       |C|           head 67: className of 33 bytes\n"
     "00000003  66 6C 65 78 2E 6D 65 73  |flex.mes|    className "
     "\"flex.messaging.io.ArrayCollection\" [string 0] [traits 0]\n"
     "0000000B  73 61 67 69 6E 67 2E 69  |saging.i|\n"
     "00000013  ... 17 bytes more\n"
     "00000024  09                       |.|           marker3 09 array\n"
     "00000025  01                       |.|             head 1: 0 dense values [object 1]\n"
     "00000026  03                       |.|             head 3: memberName of 1 byte\n"
     "00000027  6B                       |k|             memberName \"k\" [string 1]\n"
     "00000028  01                       |.|             \"k\": marker3 01 null\n"
     "00000029  01                       |.|             head 1: no more named members\n"},
    {"names without bytes among the traits", Form::amf3, "0A 23 01 01 03 'b' 01 00",
     "00000000  0A                       |.|         marker3 0A object\n"
     "00000001  23                       |#|           head 35: 2 sealed members [object 0]\n"
     "00000002  01                       |.|           head 1: className of 0 bytes\n"
     "00000003  01                       |.|           head 1: memberName of 0 bytes\n"
     "00000004  03                       |.|           head 3: memberName of 1 byte\n"
     "00000005  62                       |b|           memberName \"b\" [string 0] [traits 0]\n"
     "00000006  01                       |.|           \"\": marker3 01 null\n"
     "00000007  00                       |.|           \"b\": marker3 00 undefined\n"},
    {"a switch inside of an AMF0 object", Form::amf0, "03 0001 's' 11 06 01 0000 09",
     "00000000  03                       |.|         marker0 03 object\n"
     "00000001  00 01                    |..|          length 1 of memberName\n"
     "00000003  73                       |s|           memberName \"s\"\n"
     "00000004  11                       |.|           \"s\": marker0 11 switch to AMF3\n"
     "00000005  06                       |.|           marker3 06 string\n"
     "00000006  01                       |.|             head 1: string of 0 bytes\n"
     "00000007                                           string \"\"\n"
     "00000007  00 00                    |..|          length 0 of memberName\n"
     "00000009  09                       |.|           marker0 09 end mark\n"
     "0000000A                                       end of the object at 00000000 [reference "
     "0]\n"},
    {"a marker that nothing begins with", Form::amf3, "0D 00",
     "00000000  0D                       |.|         marker3 0D unknown\n"
     "00000001  00                       |.|         not read: 1 byte\n"},
    {"an integer that is cut", Form::amf3, "04 80 80",
     "00000000  04                       |.|         marker3 04 integer\n"
     "00000001  80 80                    |..|        not read: 2 bytes\n"},
    {"bytes that are no text", Form::amf0, "02 0009 22 5C 1B C3 A9 C3 0A C2 85",
     "00000000  02                       |.|         marker0 02 string\n"
     "00000001  00 09                    |..|          length 9 of string\n"
     "00000003  22 5C 1B C3 A9 C3 0A C2  |\"\\......|    string "
     "\"\\\"\\\\\\x1B\xC3\xA9\\xC3\\x0A\\xC2\\x85\"\n"
     "0000000B  85                       |.|\n"},
};

TEST(ToolDump, ShowsEveryField) {
  for (const DumpCase& row : kCases) {
    EXPECT_EQ(row.rows, dumpOf(hex(row.value), row.form)) << row.name;
  }
}

TEST(ToolDump, ShortensLongPayloads) {
  const std::string value = hex("02 0042 'a'*66");
  EXPECT_EQ(
      "00000000  02                       |.|         marker0 02 string\n"
      "00000001  00 42                    |.B|          length 66 of string\n"
      "00000003  61 61 61 61 61 61 61 61  |aaaaaaaa|    string \"" +
          std::string(64, 'a') +
          "\"... (66 bytes)\n"
          "0000000B  61 61 61 61 61 61 61 61  |aaaaaaaa|\n"
          "00000013  ... 50 bytes more\n",
      dumpOf(value));
  std::string rows =
      "00000000  02                       |.|         marker0 02 string\n"
      "00000001  00 42                    |.B|          length 66 of string\n"
      "00000003  61 61 61 61 61 61 61 61  |aaaaaaaa|    string \"" +
      std::string(66, 'a') + "\"\n";
  for (const char* const offset : {"0B", "13", "1B", "23", "2B", "33", "3B"}) {
    rows += std::string("000000") + offset + "  61 61 61 61 61 61 61 61  |aaaaaaaa|\n";
  }
  EXPECT_EQ(rows + "00000043  61 61                    |aa|\n", dumpOf(value, Form::amf0, true));
}

// Every byte of a packet stands in one row, whatever the packet is.
TEST(ToolDump, ShowsEveryByteOnce) {
  const std::string packet =
      packetOf("0A 00000003 0B 0000000000000000 0000 11 0A 13 01 03 'a' 06 01 04 8F");
  DumpOptions options;
  options.full = true;
  for (std::size_t length = 0; length <= packet.size(); ++length) {
    std::string text, shown;
    dumpPacket(std::string_view(packet).substr(0, length), options, text);
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
      const std::string bytes = text.substr(at + 10, 24);
      shown += hex(bytes);
    }
    EXPECT_EQ(toHex(packet.substr(0, length)), toHex(shown));
  }
}

TEST(ToolDump, IndentsOnlySoFar) {
  DumpOptions options;
  options.limits.maxDepth = 1000;
  std::string text;
  dumpPacket(packetWith(repeat(hex("0A 00000001"), 999) + hex("05")), options, text);
  std::size_t widest = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    widest = std::max(widest, end - at);
    at = end + 1;
  }
  const std::string_view end = "end of the array at 00000000 [reference 998]";
  EXPECT_EQ(47 + 2 * 40 + end.size(), widest);
}

struct NumberCase {
  double number;
  const char* text;
  const char* date;
};

const NumberCase kNumbers[] = {
    {0, "0", "0 (1970-01-01T00:00:00.000Z)"},
    {-0.5, "-0.5", "-0.5 (1969-12-31T23:59:59.999Z)"},
    {1325376000000, "1325376000000", "1325376000000 (2012-01-01T00:00:00.000Z)"},
    {0.1, "0.1", "0.1 (1970-01-01T00:00:00.000Z)"},
    {-62198755200000, "-62198755200000", "-62198755200000 (-001-01-01T00:00:00.000Z)"},
    {951782400000, "951782400000", "951782400000 (2000-02-29T00:00:00.000Z)"},
    {4107542399999, "4107542399999", "4107542399999 (2100-02-28T23:59:59.999Z)"},
    {4107542400000, "4107542400000", "4107542400000 (2100-03-01T00:00:00.000Z)"},
    {-2208988800000, "-2208988800000", "-2208988800000 (1900-01-01T00:00:00.000Z)"},
    {8.64e15, "8640000000000000", "8640000000000000 (275760-09-13T00:00:00.000Z)"},
    {8.65e15, "8650000000000000", "8650000000000000"},
    {1e16, "1e+16", "1e+16"},
    {std::numeric_limits<double>::infinity(), "inf", "inf"},
    {std::numeric_limits<double>::quiet_NaN(), "nan", "nan"},
};

TEST(ToolDump, WritesNumbersAndDates) {
  for (const NumberCase& row : kNumbers) {
    EXPECT_EQ(row.text, numberText(row.number));
    EXPECT_EQ(row.date, dateText(row.number));
  }
}

TEST(ToolDump, CutsQuotedTextBetweenCharacters) {
  EXPECT_EQ("\"ab\"", quoteForDisplay("ab", 2));
  EXPECT_EQ("\"a\"... (3 bytes)", quoteForDisplay("a\xC3\xA9", 2));
  EXPECT_EQ("\"\"... (4 bytes)", quoteForDisplay("\xF0\x9F\x98\x80", 3));
  EXPECT_EQ("\"\\x80\"... (6 bytes)", quoteForDisplay("\x80\x80\x80\x80\x80\x80", 4));
}

}  // namespace
