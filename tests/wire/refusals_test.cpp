// SPDX-License-Identifier: Apache-2.0
//
// What the AMF reader refuses: status, place and reason of each.
#include <gtest/gtest.h>

#include "support/hex.h"
#include "wire/calls.h"

namespace {

using support::hex;

struct Refusal {
  const char* name;
  const char* bytes;
  const char* error;
};

const Refusal kAmf0[] = {
    {"movie clip", "05 04", "malformed at 1: movie clip (04) is reserved"},
    {"record set", "0E", "malformed at 0: record set (0E) is reserved"},
    {"object end as a value", "09", "malformed at 0: object end (09) where a value was expected"},
    {"unknown marker", "12", "malformed at 0: unknown AMF0 marker (12)"},
    {"cut number", "00 0000",
     "truncated at 1: the bytes end in a number: expected 8 bytes, found 2"},
    {"no boolean", "01", "truncated at 1: the bytes end in a boolean: expected 1 byte, found 0"},
    {"cut length", "02 00",
     "truncated at 1: the bytes end in the length of a string: expected 2 bytes, found 1"},
    {"cut string", "02 0003 'ab'",
     "truncated at 3: the bytes end in a string: expected 3 bytes, found 2"},
    {"cut long string", "0C 10000000 'ab'",
     "truncated at 5: the bytes end in a long string: expected 268435456 bytes, found 2"},
    {"cut count", "0A 000000",
     "truncated at 1: the bytes end in the count of an array: expected 4 bytes, found 3"},
    {"missing items", "0A 20000000 05",
     "truncated at 6: the bytes end in a marker: expected 1 byte, found 0"},
    {"cut zone", "0B 0000000000000000 00",
     "truncated at 9: the bytes end in the time zone of a date: expected 2 bytes, found 1"},
    {"end after a name", "03 0001 'a' 09",
     "malformed at 4: object end (09) behind a name that is not empty"},
    {"object without an end", "03 0000",
     "truncated at 3: the bytes end in a marker: expected 1 byte, found 0"},
    {"reference to nothing", "07 0000",
     "malformed at 1: reference to index 0 of the AMF0 objects, which are 0"},
    {"AMF3 values do not count in AMF0", "11 0A 0B 01 01 07 0000",
     "malformed at 6: reference to index 0 of the AMF0 objects, which are 0"},
    {"nothing after the switch", "11",
     "truncated at 1: the bytes end in a marker: expected 1 byte, found 0"},
};

const Refusal kAmf3[] = {
    {"unknown marker", "01 12", "malformed at 1: unknown AMF3 marker (12)"},
    {"cut U29", "04 80", "truncated at 1: the bytes end in an integer: expected 2 bytes, found 1"},
    {"cut in the fourth byte", "04 808080",
     "truncated at 1: the bytes end in an integer: expected 4 bytes, found 3"},
    {"cut string", "06 07 'ab'",
     "truncated at 2: the bytes end in a string: expected 3 bytes, found 2"},
    {"no such string", "06 03 'a' 06 02",
     "malformed at 4: reference to index 1 of the strings, which are 1"},
    {"the empty string is in no table", "06 01 06 00",
     "malformed at 3: reference to index 0 of the strings, which are 0"},
    {"no such object", "09 02",
     "malformed at 1: reference to index 1 of the AMF3 objects, which are 0"},
    {"a reference of another kind", "07 01 0B 00",
     "malformed at 3: reference to index 0, which is an XML document: expected an XML"},
    {"no such traits", "0A 05", "malformed at 1: reference to index 1 of the traits, which are 0"},
    {"cut dynamic object", "0A 0B 01 03 'a'",
     "truncated at 5: the bytes end in a marker: expected 1 byte, found 0"},
    {"sealed names that are not there", "0A FFFFFFF3 01 01",
     "truncated at 7: the bytes end in a sealed name: expected 1 byte, found 0"},
    {"cut vector", "0D 07 00 00000001 0000",
     "truncated at 7: the bytes end in an item of a vector: expected 4 bytes, found 2"},
    {"vector of 2^28", "0F FFFFFFFF 00 0000000000000000",
     "truncated at 14: the bytes end in an item of a vector: expected 8 bytes, found 0"},
    {"no fixed flag", "0D 01",
     "truncated at 2: the bytes end in the fixed flag of a vector: expected 1 byte, found 0"},
    {"dictionary of 2^28", "11 FFFFFFFF 00 01",
     "truncated at 7: the bytes end in a marker: expected 1 byte, found 0"},
    {"cut dictionary", "11 03 00 01",
     "truncated at 4: the bytes end in a marker: expected 1 byte, found 0"},
    {"unknown externalizable", "0A 07 07 'a.B' 01 02",
     "unknown externalizable class at 6: unknown externalizable class \"a.B\": how its body is "
     "read "
     "must be told"},
    {"no flag bytes", "0A 07 07 'DSA' 80",
     "truncated at 7: the bytes end in a flag byte: expected 1 byte, found 0"},
    {"seventeen flag bytes", "0A 07 07 'DSA' 80*16 00",
     "flag limit at 22: a group of a small message has more than 16 flag bytes"},
    {"the seventeenth is not there", "0A 07 07 'DSA' 80*16",
     "truncated at 22: the bytes end in a flag byte: expected 1 byte, found 0"},
};

template <std::size_t N>
void check(const Refusal (&rows)[N], AMFWireForm form) {
  for (const Refusal& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(wire_tests::exported(hex(row.bytes), form), row.error);
  }
}

TEST(WireRefusals, Amf0) {
  check(kAmf0, AMFWireForm::amf0);
}

TEST(WireRefusals, Amf3) {
  check(kAmf3, AMFWireForm::amf3);
}

TEST(WireRefusals, EnvelopesOfPackets) {
  const Refusal rows[] = {
      {"no version", "00",
       "truncated at 0: the bytes end in the version: expected 2 bytes, found 1"},
      {"no number of headers", "0003",
       "truncated at 2: the bytes end in the number of headers: expected 2 bytes, found 0"},
      {"no number of messages", "0003 0000 00",
       "truncated at 4: the bytes end in the number of messages: expected 2 bytes, found 1"},
      {"cut name", "0003 0001 0004 'abc'",
       "truncated at 6: the bytes end in a header's name: expected 4 bytes, found 3"},
      {"cut length", "0003 0000 0001 0001 'a' 0000 0000",
       "truncated at 11: the bytes end in the length of a value: expected 4 bytes, found 2"},
      {"no value", "0003 0000 0001 0001 'a' 0000 00000000",
       "truncated at 15: the bytes end in a marker: expected 1 byte, found 0"},
  };
  check(rows, AMFWireForm::packet);
}

TEST(WireRefusals, HeadsOfSharedObjects) {
  const Refusal rows[] = {
      {"no mark", "00 BE", "malformed at 0: the mark 00 BF of a shared object is missing"},
      {"no TCSO", "00BF 00000000 'TCSP'",
       "malformed at 6: the mark TCSO of a shared object is missing"},
      {"another mark", "00BF 00000000 'TCSO' 000400000001",
       "malformed at 10: the mark 00 04 00 00 00 00 of a shared object is missing"},
      {"version 1", "00BF 00000000 'TCSO' 000400000000 0001 'a' 00000001",
       "malformed at 19: AMF version 1: expected 0 or 3"},
      {"another byte after an entry",
       "00BF 00000000 'TCSO' 000400000000 0001 'a' 00000000 0001 'b' 05 01",
       "malformed at 27: the byte behind an entry is not 00"},
  };
  check(rows, AMFWireForm::sharedObject);
}

TEST(WireRefusals, FlvFiles) {
  const Refusal rows[] = {
      {"no mark", "'FLW'", "malformed at 0: the mark FLV of an FLV file is missing"},
      {"cut head", "'FLV' 01 05 00000009 0000",
       "truncated at 9: the bytes end in the size of the tag before: expected 4 bytes, found 2"},
      {"head of 8 bytes", "'FLV' 01 05 00000008 00000000",
       "malformed at 5: head size 8: expected 9 or more"},
      {"cut tag", "'FLV' 01 05 00000009 00000000 12 000002 000000 00 000000 05",
       "truncated at 24: the bytes end in the body of a tag: expected 2 bytes, found 1"},
      {"a value across the end of its tag",
       "'FLV' 01 05 00000009 00000000 12 000002 000000 00 000000 0101 0101",
       "truncated at 26: the bytes end in the size of the tag before: expected 4 bytes, found 2"},
      {"cut value", "'FLV' 01 05 00000009 00000000 12 000001 000000 00 000000 01 00000000",
       "truncated at 25: the bytes end in a boolean: expected 1 byte, found 0"},
      {"type 15 without 00", "'FLV' 01 05 00000009 00000000 0F 000001 000000 00 000000 05",
       "malformed at 24: the first byte of a script tag of type 15 is not 00"},
  };
  check(rows, AMFWireForm::flv);
}

}  // namespace
