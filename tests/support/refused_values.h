// SPDX-License-Identifier: Apache-2.0
//
// Values that are complete and that the readers refuse, with the text and the cursor of the refusal. The guard reports
// both. A reader called by a host has more refusals: tests/codec/reader_refusals_test.cpp.
#ifndef TESTS_SUPPORT_REFUSED_VALUES_H
#define TESTS_SUPPORT_REFUSED_VALUES_H

#include <cstddef>

namespace support::refusals {

inline constexpr char kUnknown0[] = "getAMF0Value: unknown value type";
inline constexpr char kBadIndex0[] = "getAMF0ByReference(): invalid reference index";
inline constexpr char kStrictEnd[] = "getAMF0Array(): lack of strict array data or bad array size";
inline constexpr char kEcmaEnd[] =
    "getAMF0Array(): lack of associative array property or bad array size";
inline constexpr char kUnknown3[] = "getAMF3Value(): unknown value type marker";
inline constexpr char kStringIndex[] = "getAMF3String(): invalid string reference index";
inline constexpr char kXmlIndex[] = "getAMF3XML(): invalid XML reference index";
inline constexpr char kXmlKind[] = "getAMF3XML(): reference to the non XML type node";
inline constexpr char kDateIndex[] = "getAMF3Date(): invalid date reference index";
inline constexpr char kDateKind[] = "getAMF3Date(): reference to the non date type node";
inline constexpr char kRawIndex[] = "getAMF3ByteArray(): invalid byte array reference index";
inline constexpr char kRawKind[] = "getAMF3ByteArray(): reference to the non byte array type node";
inline constexpr char kArrayIndex[] = "getAMF3Array(): invalid array reference index";
inline constexpr char kArrayKind[] = "getAMF3Array(): reference to the non array type node";
inline constexpr char kArrayCircular[] = "getAMF3Array(): array circular reference";
inline constexpr char kObjectIndex[] = "getAMF3Object(): invalid objects reference index";
inline constexpr char kObjectKind[] = "getAMF3Object(): reference to the non object type node";
inline constexpr char kObjectCircular[] = "getAMF3Object(): objects circular reference";
inline constexpr char kTraitsIndex[] = "getAMF3Object(): traits reference index is invalid";
inline constexpr char kSealed[] = "getAMF3Object(): bad amount of sealed properties";
inline constexpr char kUnsupported[] = "getAMF3Object(): unsupported externalizable class type";

struct Value {
  const char* name;
  const char* value;  // an AMF0 value; one that begins with 11 switches to AMF3
  const char* text;
  std::size_t consumed;
  const char* tables = "0/0/0/0";  // what the reader keeps: AMF0 / strings / objects / traits
};

inline constexpr Value kValues[] = {
    {"movie clip", "04", kUnknown0, 1},
    {"unsupported", "0D", kUnknown0, 1},
    {"record set", "0E", kUnknown0, 1},
    {"the first code above", "12", kUnknown0, 1},
    {"byte 80", "80", kUnknown0, 1},
    {"byte FF", "FF", kUnknown0, 1},
    {"in a member", "03 0001'a' 05 0001'b' 04", kUnknown0, 9},
    {"in a typed object", "10 0001'C' 0001'b' 0D", kUnknown0, 8},
    {"in a strict array, after a finished object", "0A 00000003 03 000009 0E", kUnknown0, 10,
     "1/0/0/0"},
    {"in an ECMA array, three levels down", "03 0001'a' 08 00000002 0001'k' 03 000009 0001'l' 12",
     kUnknown0, 20, "1/0/0/0"},
    {"in front of another byte", "0E 00", kUnknown0, 1},
    {"byte 80 in front of another byte", "80 00", kUnknown0, 1},
    {"in a member of an object", "03 0001 'a' 04", kUnknown0, 5},
    {"in a strict array", "0A 00000002 05 13", kUnknown0, 7},

    {"reference into the empty table", "07 0000", kBadIndex0, 3},
    {"reference FFFF", "07 FFFF", kBadIndex0, 3},
    {"reference one past the end", "0A 00000002 03 000009 07 0001", kBadIndex0, 12, "1/0/0/0"},
    {"reference to the object still being read: it has no index yet", "03 0001'a' 07 0000 000009",
     kBadIndex0, 7},
    {"reference to the array still being read", "0A 00000001 07 0000", kBadIndex0, 8},
    {"AMF3 objects are in the other table", "0A 00000002 11 0A0B0101 07 0000", kBadIndex0, 13,
     "0/0/1/1"},
    {"reference FFFF, three levels down", "03 0001 'a' 08 00000000 0001 'b' 07 FFFF", kBadIndex0,
     15, "1/0/0/0"},

    {"end mark in a strict array", "0A 00000002 05 09", kStrictEnd, 7},
    {"end mark in front of a strict array's first value", "0A 00000001 09", kStrictEnd, 6},
    {"a count of FFFFFFFF reserves nothing", "0A FFFFFFFF 05 09", kStrictEnd, 7},
    {"end mark in a strict array in a strict array", "0A 00000001 0A 00000001 09 09", kStrictEnd,
     11},

    {"end mark in an ECMA array", "08 00000002 0001'k' 05 0000 09", kEcmaEnd, 12},
    {"end mark in an ECMA array under a name", "08 00000001 0001'k' 09", kEcmaEnd, 9},
    {"an ECMA count of FFFFFFFF reserves nothing", "08 FFFFFFFF 0000 09", kEcmaEnd, 8},
    {"end mark in an ECMA array under the empty name", "08 00000001 0000 09", kEcmaEnd, 8},
    {"end mark in an ECMA array, as the second member", "08 00000002 0001 'a' 05 0001 'b' 09",
     kEcmaEnd, 13},
    {"end mark in an ECMA array in a strict array", "0A 00000001 08 FFFFFFFF 0000 09", kEcmaEnd,
     13},

    {"marker 0D", "11 0D", kUnknown3, 2},
    {"a switch inside a switch", "11 11 01", kUnknown3, 2},
    {"marker 11", "11 11", kUnknown3, 2},
    {"marker 7F", "11 7F", kUnknown3, 2},
    {"marker 80", "11 80", kUnknown3, 2},
    {"marker FF", "11 FF", kUnknown3, 2},
    {"in a dense part", "11 09 05 01 01 0D", kUnknown3, 6, "0/0/1/0"},
    {"in an associative part", "11 09 05 0361 FF", kUnknown3, 6, "0/1/1/0"},
    {"as a sealed value", "11 0A 23 01 0361 0362 01 0D", kUnknown3, 10, "0/2/1/1"},
    {"as a dynamic value", "11 0A 0B 01 0361 0D", kUnknown3, 7, "0/1/1/1"},
    {"as an externalized body", "11 0A 07 29 'mx.utils.ObjectProxy' 0D", kUnknown3, 25, "0/1/1/1"},
    {"a dense count of 7FFFFFFF reserves nothing", "11 09 808080FF 01 0D", kUnknown3, 8, "0/0/1/0"},
    {"in a dense part, marker 11", "11 09 03 01 11", kUnknown3, 5, "0/0/1/0"},
    {"as a dynamic value, marker 7F", "11 0A 0B 01 03 'a' 7F", kUnknown3, 7, "0/1/1/1"},

    {"reference into the empty table", "11 06 00", kStringIndex, 3},
    {"the empty string was not registered", "11 09 05 01 0601 0600", kStringIndex, 8, "0/0/1/0"},
    {"one past the end", "11 09 05 01 060361 0602", kStringIndex, 9, "0/1/1/0"},
    {"the largest index", "11 06 808080FE", kStringIndex, 6},
    {"as a class name", "11 0A 03 00", kStringIndex, 4, "0/0/1/0"},
    {"as a sealed name", "11 0A 23 0343 0361 04 01 01", kStringIndex, 8, "0/2/1/0"},
    {"as an associative name", "11 09 01 0361 01 02 01", kStringIndex, 7, "0/1/1/0"},
    {"as a dynamic name", "11 0A 0B 01 00", kStringIndex, 5, "0/0/1/1"},
    {"as an externalizable's class name", "11 0A 07 00", kStringIndex, 4, "0/0/1/0"},
    {"a sealed count of 0FFFFFFF reserves nothing", "11 0A 808080F3 01 00", kStringIndex, 8,
     "0/0/1/0"},
    {"as the first associative name", "11 09 01 00", kStringIndex, 4, "0/0/1/0"},
    {"as a class name, index 1", "11 0A 03 02", kStringIndex, 4, "0/0/1/0"},
    {"as the only sealed name", "11 0A 13 01 00", kStringIndex, 5, "0/0/1/0"},
    {"as a dynamic name, index 2", "11 0A 0B 01 04", kStringIndex, 5, "0/0/1/1"},
    {"AMF0 strings are in no table", "0A 00000002 02 0001 'a' 11 06 00", kStringIndex, 12},
    {"index 0FFFFF7F", "11 06 FF FF FF FE", kStringIndex, 6},

    {"XML: empty table", "11 07 00", kXmlIndex, 3},
    {"E4X: empty table", "11 0B 00", kXmlIndex, 3},
    {"XML: one past the end", "11 09 05 01 070361 0704", kXmlIndex, 9, "0/0/2/0"},
    {"XML: the largest index", "11 07 808080FE", kXmlIndex, 6},
    {"E4X: reference 1 into the empty table", "11 0B 02", kXmlIndex, 3},
    {"E4X: one past the end", "11 09 05 01 0B 01 0B 04", kXmlIndex, 8, "0/0/2/0"},

    {"XML: an array there", "11 09 03 01 0700", kXmlKind, 6, "0/0/1/0"},
    {"XML: a byte array there", "11 09 05 01 0C0361 0B02", kXmlKind, 9, "0/0/2/0"},
    {"E4X: a date there", "11 09 05 01 08 01 0000000000000000 0B 02", kXmlKind, 16, "0/0/2/0"},
    {"E4X: an object there", "11 0A 13 01 03 'a' 0B 00", kXmlKind, 8, "0/1/1/1"},

    {"date: empty table", "11 08 00", kDateIndex, 3},
    {"date: one past the end", "11 09 03 01 0802", kDateIndex, 6, "0/0/1/0"},
    {"date: the largest index", "11 08 808080FE", kDateIndex, 6},
    {"date: reference 63 into the empty table", "11 08 7E", kDateIndex, 3},

    {"date: XML there", "11 09 05 01 0B0361 0802", kDateKind, 9, "0/0/2/0"},
    {"date: an array there", "11 09 03 01 08 00", kDateKind, 6, "0/0/1/0"},
    {"date: XML with text there", "11 09 05 01 07 03 'x' 08 02", kDateKind, 9, "0/0/2/0"},
    {"date: a byte array there", "11 09 05 01 0C 01 08 02", kDateKind, 8, "0/0/2/0"},

    {"byte array: empty table", "11 0C 00", kRawIndex, 3},
    {"byte array: one past the end", "11 09 03 01 0C02", kRawIndex, 6, "0/0/1/0"},
    {"byte array: the largest index", "11 0C 808080FE", kRawIndex, 6},
    {"byte array: two past the end", "11 0A 0B 01 03 'a' 0C 04", kRawIndex, 8, "0/1/1/1"},

    {"byte array: XML there", "11 09 05 01 070361 0C02", kRawKind, 9, "0/0/2/0"},
    {"byte array: an array there", "11 09 03 01 0C 00", kRawKind, 6, "0/0/1/0"},
    {"byte array: empty XML there", "11 09 05 01 07 01 0C 02", kRawKind, 8, "0/0/2/0"},
    {"byte array: an object there", "11 0A 13 01 03 'a' 0C 00", kRawKind, 8, "0/1/1/1"},

    {"array: empty table", "11 09 00", kArrayIndex, 3},
    {"array: one past the end", "11 09 03 01 0902", kArrayIndex, 6, "0/0/1/0"},
    {"array: the largest index", "11 09 808080FE", kArrayIndex, 6},
    {"array: reference 1 as a U29 of two bytes", "11 09 80 02", kArrayIndex, 4},

    {"array: an object there", "11 09 05 01 0A0301 0902", kArrayKind, 9, "0/0/2/1"},
    {"array: the kind is tested before completeness", "11 0A 13 01 0361 0900", kArrayKind, 8,
     "0/1/1/1"},
    {"array: a byte array there", "11 09 05 01 0C 01 09 02", kArrayKind, 8, "0/0/2/0"},
    {"array: XML there", "11 09 05 01 07 01 09 02", kArrayKind, 8, "0/0/2/0"},

    {"array: itself, as a dense value", "11 09 03 01 0900", kArrayCircular, 6, "0/0/1/0"},
    {"array: itself, as an associative value", "11 09 01 0361 0900", kArrayCircular, 7, "0/1/1/0"},
    {"array: itself, two levels down", "11 09 03 01 0A 13 01 0361 0900", kArrayCircular, 11,
     "0/1/2/1"},

    {"object: empty table", "11 0A 00", kObjectIndex, 3},
    {"object: one past the end", "11 09 03 01 0A02", kObjectIndex, 6, "0/0/1/0"},
    {"object: the largest index", "11 0A 808080FE", kObjectIndex, 6},
    {"object: one past the end, in an object", "11 0A 13 01 03 'a' 0A 02", kObjectIndex, 8,
     "0/1/1/1"},

    {"object: an array there", "11 09 03 01 0A00", kObjectKind, 6, "0/0/1/0"},
    {"object: a date there", "11 09 05 01 08013FF0000000000000 0A02", kObjectKind, 16, "0/0/2/0"},
    {"object: a byte array there", "11 09 05 01 0C 01 0A 02", kObjectKind, 8, "0/0/2/0"},
    {"object: a date of 0 there", "11 09 05 01 08 01 0000000000000000 0A 02", kObjectKind, 16,
     "0/0/2/0"},

    {"object: itself, as a sealed value", "11 0A 13 01 0361 0A00", kObjectCircular, 8, "0/1/1/1"},
    {"object: itself, as a dynamic value", "11 0A 0B 01 0361 0A00", kObjectCircular, 8, "0/1/1/1"},
    {"object: itself, two levels down", "11 0A 0B 01 0361 09 03 01 0A00", kObjectCircular, 11,
     "0/1/2/1"},
    {"object: itself, as an externalized body", "11 0A 07 29 'mx.utils.ObjectProxy' 0A00",
     kObjectCircular, 26, "0/1/1/1"},
    {"object: itself, as the body of another class",
     "11 0A 07 43 'flex.messaging.io.ArrayCollection' 0A 00", kObjectCircular, 39, "0/1/1/1"},

    {"empty table: the object is not registered", "11 0A 01", kTraitsIndex, 3},
    {"one past the end", "11 09 05 01 0A0301 0A05", kTraitsIndex, 9, "0/0/2/1"},
    {"the largest index", "11 0A 808080FD", kTraitsIndex, 6},
    {"one past the end: an object by reference enters no traits",
     "11 09 07 01 0A 03 01 0A 01 0A 05", kTraitsIndex, 11, "0/0/3/1"},

    {"unsupported class: object and name stay registered, traits do not", "11 0A 07 0361 0405",
     kUnsupported, 5, "0/1/1/0"},
    {"unsupported anonymous class", "11 0A 07 01 0405", kUnsupported, 4, "0/0/1/0"},
    {"unsupported inside an array", "11 09 05 01 01 0A 07 0361 0405", kUnsupported, 9, "0/1/2/0"},
    {"unsupported anonymous class, at the end", "11 0A 07 01", kUnsupported, 4, "0/0/1/0"},
    {"unsupported class, at the end", "11 0A 07 03 'x'", kUnsupported, 5, "0/1/1/0"},
    {"unsupported class: the last letter differs",
     "11 0A 07 43 'flex.messaging.io.ArrayCollectioN'", kUnsupported, 37, "0/1/1/0"},
    {"unsupported class: the last letter is missing",
     "11 0A 07 41 'flex.messaging.io.ArrayCollectio'", kUnsupported, 36, "0/1/1/0"},
    {"unsupported class by string reference", "11 09 05 01 06 03 'x' 0A 07 00", kUnsupported, 10,
     "0/1/2/0"},

    {"externalizable entry without its pair yet", "11 0A 17 29 'mx.utils.ObjectProxy' 0A01 02",
     kSealed, 26, "0/1/1/1"},
    {"externalizable entry of two sealed members",
     "11 09 05 01 0A 27 43 'flex.messaging.io.ArrayCollection' 01 0A 01", kSealed, 43, "0/1/2/1"},
    {"externalizable entry without its pair yet, of another class",
     "11 0A 17 43 'flex.messaging.io.ArrayCollection' 0A 01", kSealed, 39, "0/1/1/1"},
    {"externalizable entry of 0FFFFFFF sealed members",
     "11 0A FF FF FF 77 43 'flex.messaging.io.ArrayCollection' 0A 01", kSealed, 42, "0/1/1/1"},
};

}  // namespace support::refusals

#endif  // TESTS_SUPPORT_REFUSED_VALUES_H
