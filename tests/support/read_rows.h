// SPDX-License-Identifier: Apache-2.0
//
// Rows of the readers' tests: bytes, the tree that they become, and what the tables hold then.
#ifndef TESTS_SUPPORT_READ_ROWS_H
#define TESTS_SUPPORT_READ_ROWS_H

#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "support/dump.h"
#include "support/reader_run.h"

/// A table's call of one reader: READ(getAMF0String(marker0(2))).
#define READ(...) ([](AMFProtocol& p) -> AMFNode* { return p.__VA_ARGS__; })

namespace support {

inline AMFProtocol::AMF0Markers marker0(std::uint32_t code) {
  return static_cast<AMFProtocol::AMF0Markers>(code);
}
inline AMFProtocol::AMF3Markers marker3(std::int32_t code) {
  return static_cast<AMFProtocol::AMF3Markers>(code);
}

struct ReadRow {
  const char* name;
  const char* bytes;  // one value, marker included
  std::string tree;
  const char* tables = "0/0/0/0";  // AMF0 / strings / objects / traits
  std::size_t unread = 0;
};

template <class Rows>
void expectRead(const Rows& rows, AMFNode* (AMFProtocol::*reader)()) {
  for (const ReadRow& row : rows) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.bytes);
    const std::unique_ptr<AMFNode> node((run.protocol.*reader)());
    EXPECT_EQ(dump(node.get()), row.tree);
    EXPECT_EQ(tables(run.protocol), row.tables);
    EXPECT_EQ(run.unread(), row.unread);
    if (node != nullptr) {
      EXPECT_EQ(node->parent, nullptr);
    }
  }
}

/// One reader, called alone. One byte, FF, stays unread.
struct DirectRow {
  const char* name;
  AMFNode* (*read)(AMFProtocol& protocol);
  const char* bytes;
  const char* tree;
};

template <class Rows>
void expectDirect(const Rows& rows) {
  for (const DirectRow& row : rows) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.bytes);
    const std::unique_ptr<AMFNode> node(row.read(run.protocol));
    EXPECT_EQ(dump(node.get()), row.tree);
    EXPECT_EQ(run.unread(), 1u);
  }
}

/// "text, text, text".
inline std::string repeated(const std::string& text, unsigned count,
                            const std::string& between = ", ") {
  std::string out;
  for (unsigned i = 0; i < count; ++i) out += (i == 0 ? "" : between) + text;
  return out;
}

}  // namespace support

#endif  // TESTS_SUPPORT_READ_ROWS_H
