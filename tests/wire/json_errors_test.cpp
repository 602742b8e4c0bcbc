// SPDX-License-Identifier: Apache-2.0
//
// What the JSON reader refuses, with line, column and path; and what it takes although export does
// not write it.
#include <gtest/gtest.h>

#include "support/hex.h"
#include "wire/calls.h"

namespace {

using support::hex;
using support::toHex;
using wire_tests::imported;

struct Refusal {
  const char* json;
  // Its beginning. One that begins with a place stands after "not a document of this format at ".
  const char* error;
};

void check(const Refusal& row) {
  const bool isPlace = row.error[0] >= '0' && row.error[0] <= '9';
  const std::string expected =
      (isPlace ? "not a document of this format at " : "") + std::string(row.error);
  const std::string error = imported(row.json);
  EXPECT_EQ(error.substr(0, expected.size()), expected) << row.json << "\n" << error;
}

TEST(WireJsonErrors, Syntax) {
  const Refusal rows[] = {
      {"", "not JSON at 1:1 in ''"},
      {"\xEF\xBB\xBF{}", "not JSON at 1:1 in '': a byte order mark"},
      {R"({"amf0":[1,]})", "not JSON at 1:12 in 'amf0'"},
      {R"({"amf0":[1})", "not JSON at 1:11 in 'amf0'"},
      {"{\"amf0\":[\n 1 2]}", "not JSON at 2:4 in 'amf0'"},
      {"{\"amf0\":[\"\xC3\xA9\",x]}", "not JSON at 1:14 in 'amf0'"},
      {R"({"amf0":[]} x)", "not JSON at 1:13 in ''"},
      {"{\"amf0\":[\"\xFF\"]}", "not JSON at 1:11 in 'amf0[0]': a byte that is not UTF-8"},
      {"{\"amf0\":[\"a\x1F\"]}", "not JSON at 1:12 in 'amf0[0]': a control character"},
      {"{\"amf0\":[\"a\nb\"]}", "not JSON at 1:12 in 'amf0[0]': a control character"},
      {"{\"amf0\":[\"\\ud800\"]}", "1:10 in 'amf0[0]': half of a surrogate pair stands alone"},
      {"{\"amf0\":[\"a\\udc00\"]}", "1:10 in 'amf0[0]': half of a surrogate pair stands alone"},
      {"{\"amf0\":[\"\\ud83d\\ud83d\"]}",
       "1:10 in 'amf0[0]': half of a surrogate pair stands alone"},
      {R"({"amf0":[{},[],{"j":"\"","k":"\ud800"}]})", "1:30 in 'amf0[2].k': half of"},
      {R"({"amf0":["a\\",[],"\udc00"]})", "1:19 in 'amf0[2]': half of"},
      {R"({"amf0":[{"\ud800":1}]})", "1:12 in 'amf0[0]': half of"},
      {R"("\ud800")", "1:1 in '': half of"},
      {"{\"amf0\":[\"\\x\"]}", "not JSON at 1:11 in 'amf0[0]': Invalid escape"},
      {R"({"amf0":["abc)", "not JSON at 1:14 in 'amf0[0]': Missing a closing quotation mark"},
      {R"({"amf0":[01]})", "not JSON at 1:11 in 'amf0'"},
      {R"({"amf0":[NaN]})", "not JSON at 1:10 in 'amf0'"},
      {"{\"amf0\":[] x, \"\xFF\":1}", "not JSON at 1:12 in ''"},
  };
  for (const Refusal& row : rows) check(row);
  EXPECT_EQ(imported(std::string("{\"amf0\":[]}\0", 12)).substr(0, 20), "not JSON at 1:12 in ");
}

TEST(WireJsonErrors, Documents) {
  const Refusal rows[] = {
      {"[]", "1:1 in '': found an array, expected an object"},
      {"{}", "1:1 in '': expected headers and messages, amf0, amf3 or sol"},
      {R"({"amf":3,"headers":[]})", "1:1 in '': messages is missing"},
      {R"({"headers":[],"messages":[]})", "1:1 in '': amf is missing"},
      {R"({"amf":65536,"headers":[],"messages":[]})",
       "1:8 in 'amf': found 65536, expected a whole number from 0 to 65535"},
      {R"({"amf0":[],"amf3":[]})", "1:12 in 'amf3': a key that does not go with amf0"},
      {"{\"amf0\":[],\n\"more\":1}", "2:1 in 'more': unknown key"},
      {R"({"amf0":[],"amf0":[]})", "1:12 in 'amf0': the key occurs twice in its object"},
      {R"({"flv":[]})", "1:2 in 'flv': an FLV file is not written"},
      {R"({"sol":"a","amf":1,"entries":{}})", "1:18 in 'amf': expected 0 or 3"},
      {R"({"sol":"a","amf":0,"entries":{"$class":"b"}})", "1:31 in 'entries.$class'"},
      {R"({"sol":"a","amf":0,"entries":{"b":1,"$xmldoc":"<c/>","d":2}})",
       "1:37 in 'entries.$xmldoc'"},
      {R"({"amf":0,"headers":[],"messages":[{"target":"","value":1}]})",
       "1:35 in 'messages[0]': response is missing"},
      {R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":1,"raw":""}]})",
       "1:72 in 'messages[0].raw': raw bytes and a value"},
      {R"({"amf":0,"headers":[{"name":"","mustUnderstand":2.5,"value":1}],"messages":[]})",
       "1:49 in 'headers[0].mustUnderstand'"},
      {R"({"amf":0,"headers":[],"messages":[],"trailing":"A"})", "1:48 in 'trailing': not base64"},
  };
  for (const Refusal& row : rows) check(row);
}

TEST(WireJsonErrors, ValuesOfAmf0) {
  const Refusal rows[] = {
      {R"({"amf0":[{"$bytes":""}]})", "1:11 in 'amf0[0].$bytes': AMF0 has no $bytes"},
      {R"({"amf0":[{"$xml":""}]})", "1:11 in 'amf0[0].$xml': AMF0 has no $xml"},
      {R"({"amf0":[{"$vector":"int"}]})", "1:11 in 'amf0[0].$vector'"},
      {R"({"amf0":[{"$dictionary":[]}]})", "1:11 in 'amf0[0].$dictionary'"},
      {R"({"amf0":[{"$sealed":1,"a":1}]})",
       "1:11 in 'amf0[0].$sealed': a key that does not go with an object"},
      {R"({"amf0":[{"$what":1}]})", "1:11 in 'amf0[0].$what': unknown key"},
      {R"({"amf0":[{"a b":{"$":1}}]})", R"(1:18 in 'amf0[0]["a b"].$': unknown key)"},
      {R"({"amf0":[{"$ecma":true,"$class":"a"}]})",
       "1:24 in 'amf0[0].$class': a value of two kinds: $ecma and $class"},
      {R"({"amf0":[{"$date":0,"a":1}]})",
       "1:21 in 'amf0[0].a': a member that does not go with $date"},
      {R"({"amf0":[{"$date":"2009-02-30T00:00:00Z"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":"2009-02-13T24:00:00Z"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":"2009-02-13T23:60:00Z"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":"2009-02-13T23:59:60Z"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":"2009-13-01T00:00:00Z"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":"2100-02-29T00:00:00Z"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":"2009-02-13T00:00:00"}]})", "1:19 in 'amf0[0].$date': not a date"},
      {R"({"amf0":[{"$date":0,"$zone":40000}]})", "1:29 in 'amf0[0].$zone'"},
      {R"({"amf0":[{"$id":1,"$date":0}]})", "1:11 in 'amf0[0].$id'"},
      {R"({"amf0":[{"$ref":1}]})", "1:18 in 'amf0[0].$ref': no value with the id 1 has begun"},
      {R"({"amf0":[{"$id":1},{"$id":1}]})", "1:27 in 'amf0[1].$id': the id 1 is used twice"},
      {R"({"amf0":[{"$id":0}]})", "1:17 in 'amf0[0].$id'"},
      {R"({"amf0":[{"$amf3":{"$id":1}},{"$ref":1}]})",
       "1:38 in 'amf0[1].$ref': the value with that id is of AMF3"},
      {R"({"amf0":[{"$string64":"AB=="}]})", "1:23 in 'amf0[0].$string64': not base64"},
      {R"({"amf0":[{"$undefined":false}]})",
       "1:24 in 'amf0[0].$undefined': found false, expected true"},
      {R"({"amf0":[9007199254740993]})", "1:10 in 'amf0[0]': a whole number that no double has"},
      {R"({"amf0":[1e400]})", "1:10 in 'amf0[0]': a number beyond the range of a double"},
      {R"({"amf0":["1e400\"",{"a":[-12.50E+400],"b":2}]})",
       "1:26 in 'amf0[1].a[0]': a number beyond the range"},
      {R"({"amf0":[0e400,1e400x]})", "not JSON at 1:21 in 'amf0'"},
      {R"({"amf0":[0e400,1e400.5]})", "not JSON at 1:21 in 'amf0'"},
      {R"({"amf0":[0e400,01]})", "not JSON at 1:17 in 'amf0'"},
      {R"({"amf0":[0e400,1e]})", "not JSON at 1:18 in 'amf0'"},
      {R"({"amf0":[{"$members":[["a",1,2]]}]})", "1:23 in 'amf0[0].$members[0]'"},
      {R"({"amf0":[{"$members":[],"a":1}]})", "1:25 in 'amf0[0].a': a member beside $members"},
      {R"({"amf0":[{"$double":"nan"}]})", "1:21 in 'amf0[0].$double'"},
      {R"({"amf0":[{"$double":"0x3ff0000000000000"}]})", "1:21 in 'amf0[0].$double'"},
      {R"({"amf0":[{"$array":[],"a":1}]})", "1:23 in 'amf0[0].a'"},
  };
  for (const Refusal& row : rows) check(row);
}

TEST(WireJsonErrors, ValuesOfAmf3) {
  const Refusal rows[] = {
      {R"({"amf3":[{"$ecma":true}]})", "1:11 in 'amf3[0].$ecma': AMF3 has no $ecma"},
      {R"({"amf3":[{"$amf3":1}]})", "1:11 in 'amf3[0].$amf3'"},
      {R"({"amf3":[{"$unsupported":true}]})", "1:11 in 'amf3[0].$unsupported'"},
      {R"({"amf3":[{"":1}]})", R"(1:11 in 'amf3[0][""]': a member without a name)"},
      {R"({"amf3":[{"$sealed":2,"a":1}]})",
       "1:21 in 'amf3[0].$sealed': found 2, expected a whole number from 0 to 1"},
      {R"({"amf3":[{"$class":"A","$sealed":0,"$dynamic":false,"a":1}]})",
       "1:47 in 'amf3[0].$dynamic'"},
      {R"({"amf3":[{"$external":"a.B","$value":1}]})",
       "unknown externalizable class at 1:23 in 'amf3[0].$external': unknown externalizable class "
       "\"a.B\": how its body is written must be told"},
      {R"({"amf3":[{"$external":"mx.utils.ObjectProxy"}]})",
       "1:10 in 'amf3[0]': $value is missing"},
      {R"({"amf3":[{"$external":"mx.utils.ObjectProxy","$values":[1,2]}]})",
       "1:56 in 'amf3[0].$values': found 2 values, expected 1"},
      {R"({"amf3":[{"$external":"DSA","operation":1}]})",
       "1:29 in 'amf3[0].operation': unknown field of a small message"},
      {R"({"amf3":[{"$external":"DSA","$0.0.0":1}]})",
       R"(1:29 in 'amf3[0]["$0.0.0"]': the flag has a name: expected body)"},
      {R"({"amf3":[{"$external":"DSA","$0.16.0":1}]})",
       R"(flag limit at 1:29 in 'amf3[0]["$0.16.0"]')"},
      {R"({"amf3":[{"$external":"DSA","$2.0.0":1}]})",
       R"(1:29 in 'amf3[0]["$2.0.0"]': unknown key)"},
      {R"({"amf3":[{"$vector":"int","$items":[2147483648]}]})", "1:37 in 'amf3[0].$items[0]'"},
      {R"({"amf3":[{"$vector":"uint","$items":[-1]}]})", "1:38 in 'amf3[0].$items[0]'"},
      {R"({"amf3":[{"$vector":"int","$items":[0.5]}]})", "1:37 in 'amf3[0].$items[0]'"},
      {R"({"amf3":[{"$vector":"double","$items":["NaN"]}]})", "1:40 in 'amf3[0].$items[0]'"},
      {R"({"amf3":[{"$vector":"object","$items":[]}]})", "1:10 in 'amf3[0]': $type is missing"},
      {R"({"amf3":[{"$vector":"int","$type":"a","$items":[]}]})", "1:27 in 'amf3[0].$type'"},
      {R"({"amf3":[{"$dictionary":[[1]]}]})", "1:26 in 'amf3[0].$dictionary[0]'"},
      {R"({"amf3":[{"$date":0,"$zone":0}]})", "1:21 in 'amf3[0].$zone'"},
      {R"({"amf3":[[{"$ref":1}],{"$id":1}]})", "1:19 in 'amf3[0][0].$ref'"},
  };
  for (const Refusal& row : rows) check(row);
}

struct Reading {
  const char* json;
  const char* bytes;
};

TEST(WireJsonErrors, WhatIsTakenBesideWhatExportWrites) {
  const Reading rows[] = {
      {R"({"amf3":[5.0,-0,-0.0,5e0,500e-2]})",
       "04 05 05 8000000000000000 05 8000000000000000 04 05 04 05"},
      {R"({"amf3":[5,0.5],"integers":false})", "05 4014000000000000 05 3FE0000000000000"},
      {R"({"amf3":["a","a"],"stringReferences":true})", "06 03 'a' 06 00"},
      {R"({"amf0":[9007199254740992,1e23,123456789012345680000]})",
       "00 4340000000000000 00 44B52D02C7E14AF6 00 441AC53A7E04BCDA"},
      {R"({"amf0":[1180591620717411303424]})", "00 4450000000000000"},
      {R"({"amf0":[{"$date":"2000-02-29T00:00:00Z"}]})", "0B 426BB354DC000000 0000"},
      {R"({"amf0":[1e-400]})", "00 0000000000000000"},
      {R"({"amf0":[{"$double":5}]})", "00 4014000000000000"},
      {R"({"amf0":[{"$date":"1970-01-01T00:00:01Z"}]})", "0B 408F400000000000 0000"},
      {R"({"amf0":[{"x":1,"$class":""}]})", "10 0000 0001 'x' 00 3FF0000000000000 0000 09"},
      {R"({"amf3":[{"x":null,"$class":""}]})", "0A 0B 01 03 'x' 01 01"},
      {R"({"amf3":[{"$array":[1],"a":2}]})", "09 03 03 'a' 04 02 01 04 01"},
      {R"({"amf3":[{"$array":[{"$ref":7}],"a":[],"$id":7}]})", "09 03 03 'a' 09 01 01 01 09 00"},
      {R"({"amf3":[{"$external":"DSA","correlationId":1,"body":2}]})",
       "0A 07 07 'DSA' 01 04 02 01 04 01"},
      {R"({"amf3":[{"$external":"mx.utils.ObjectProxy","$values":[null]}]})",
       "0A 07 29 'mx.utils.ObjectProxy' 01"},
      {R"({"amf3":[{"$id":9007199254740991,"a":{"$ref":9007199254740991}}]})",
       "0A 0B 01 03 'a' 0A 00 01"},
      {R"({"amf3":[{"$vector":"int","$fixed":false,"$items":[1.0]}]})", "0D 03 00 00000001"},
      {R"({"amf0":[{"$members":[["a",null],["a",null]],"$class":"b"}]})",
       "10 0001 'b' 0001 'a' 05 0001 'a' 05 0000 09"},
      {R"({"amf0":["\u00e9\ud83d\ude00\/"]})", "02 0007 C3A9 F09F9880 '/'"},
      {"\t{ \"amf0\" : [ null ,\r\n true ] }\n", "05 01 01"},
  };
  for (const Reading& row : rows) {
    EXPECT_EQ(toHex(imported(row.json)), toHex(hex(row.bytes))) << row.json << "\n"
                                                                << imported(row.json);
  }
}

}  // namespace
