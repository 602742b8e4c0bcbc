// SPDX-License-Identifier: Apache-2.0
//
// Values of both formats: bytes -> JSON text -> bytes, compact and indented, and through
// AMFWireWriter.
#include <gtest/gtest.h>

#include "support/hex.h"
#include "wire/calls.h"
#include "wire/rows.h"

namespace {

using support::hex;
using support::toHex;
using wire_tests::exported;
using wire_tests::imported;
using wire_tests::Row;

// The document that holds the row's values.
std::string document(const char* form, const Row& row) {
  return std::string("{\"") + form + "\":" + row.json + "}";
}

std::string indented(const std::string& bytes, AMFWireForm form) {
  AMFWireExportOptions options;
  options.form = form;
  options.pretty = true;
  return exported(bytes, options);
}

// A copy that the writer makes of what the reader reads.
std::string copied(const std::string& bytes, AMFWireForm form) {
  AMFWireReadOptions options;
  options.form = form;
  AMFWireWriter writer;
  EXPECT_TRUE(amfWireRead(bytes.data(), bytes.size(), writer, options).ok());
  std::string copy;
  const AMFWireResult result = writer.finish(copy);
  return result.ok() ? copy : wire_tests::textOfResult(result);
}

template <std::size_t N>
void check(const Row (&rows)[N], AMFWireForm form) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string bytes = hex(row.bytes);
    const std::string json = exported(bytes, form);
    if (row.json != nullptr) {
      EXPECT_EQ(json, document(describe(form), row));
    }
    EXPECT_EQ(toHex(imported(json)), toHex(bytes));
    EXPECT_EQ(toHex(imported(indented(bytes, form))), toHex(bytes));
    if (json.find("References\":false") == std::string::npos) {
      EXPECT_EQ(toHex(copied(bytes, form)), toHex(bytes));
    }
  }
}

TEST(WireRows, Amf0) {
  check(wire_tests::kAmf0, AMFWireForm::amf0);
}

TEST(WireRows, Amf3) {
  check(wire_tests::kAmf3, AMFWireForm::amf3);
}

TEST(WireRows, IndentedAsJavaScriptDoes) {
  EXPECT_EQ(
      indented(hex("0A 0B 01 03 'a' 09 05 01 04 01 09 01 01 03 'b' 0A 00 01"), AMFWireForm::amf3),
      R"({
  "amf3": [
    {
      "$id": 1,
      "a": [
        1,
        []
      ],
      "b": {
        "$ref": 1
      }
    }
  ]
})");
}

}  // namespace
