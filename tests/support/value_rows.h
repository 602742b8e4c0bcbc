// SPDX-License-Identifier: Apache-2.0
//
// Rows of the writers' tests: a tree or a call, its pieces or refusal, and what the reader makes of the pieces.
#ifndef TESTS_SUPPORT_VALUE_ROWS_H
#define TESTS_SUPPORT_VALUE_ROWS_H

#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/dump.h"
#include "support/pieces.h"
#include "support/refusal.h"
#include "support/trees.h"

namespace support {

constexpr char kSame[] = "the same";
constexpr char kUnread[] = "not read back";

struct ValueRow {
  const char* name;
  AMFNode* (*tree)();
  const char* written;
  const char* readBack = kSame;  // or kUnread, or a dump where it differs
};

/// A dump of what one of the protocol object's readers makes of the bytes, which have to be all
/// read.
inline std::string readBack(const std::string& bytes, AMFNode* (AMFProtocol::*reader)()) {
  AMFProtocol protocol;
  protocol.readCursor = bytes.data();
  const std::unique_ptr<AMFNode> node((protocol.*reader)());
  EXPECT_EQ(protocol.readCursor, bytes.data() + bytes.size()) << "bytes left, or too many read";
  return dump(node.get());
}

/// That each row's tree is written as its pieces, after those given.
template <class Rows>
void expectWritten(const Rows& rows, AMFVersion version, const std::string& inFront = "") {
  for (const ValueRow& row : rows) {
    SCOPED_TRACE(row.name);
    AMFProtocol protocol;
    const std::unique_ptr<AMFNode> tree(row.tree());
    protocol.setNodeValue(tree.get(), version);
    EXPECT_EQ(pieces(protocol), inFront + pieces(row.written));
  }
}

/// That each row's pieces read back as the row says. `asRead` does to a tree what only the reader
/// does.
template <class Rows>
void expectReadBack(
    const Rows& rows, AMFNode* (AMFProtocol::*reader)(),
    void (*asRead)(AMFNode*) = [](AMFNode*) {}) {
  for (const ValueRow& row : rows) {
    const std::string expected = row.readBack;
    if (expected == kUnread) continue;
    SCOPED_TRACE(row.name);
    const std::unique_ptr<AMFNode> tree(row.tree());
    asRead(tree.get());
    EXPECT_EQ(readBack(joined(row.written), reader),
              expected == kSame ? dump(tree.get()) : expected);
  }
}

/// A call of one writer alone, and the pieces that it writes.
struct CallRow {
  const char* name;
  void (*call)(AMFProtocol& protocol);
  const char* written;
};

template <class Rows>
void expectCalls(const Rows& rows) {
  for (const CallRow& row : rows) {
    SCOPED_TRACE(row.name);
    AMFProtocol protocol;
    row.call(protocol);
    EXPECT_EQ(pieces(protocol), pieces(row.written));
  }
}

/// A call that is refused, and the pieces written before.
struct RefusalRow {
  const char* name;
  void (*call)(AMFProtocol& protocol);
  const char* text;
  const char* written;
};

/// The call of a RefusalRow: setNodeValue with a tree and the version of its place.
#define VALUE(tree, place) WRITE(static_cast<AMFNode*>(tree), setNodeValue(node, place))

inline constexpr char kPlaced[] = "setNodeValue(): this node can't be placed here";
inline constexpr char kSwitch[] = "setNodeValue(): switching AMF3 -> AMF0  is impossible";
inline constexpr char kNoValue[] = "setNodeValue(): lack of value type node";
inline constexpr char kNoBytes[] = "setByteArray(): lack of byte array value or bad array size";

template <class Rows>
void expectRefusals(const Rows& rows) {
  for (const RefusalRow& row : rows) {
    SCOPED_TRACE(row.name);
    AMFProtocol protocol;
    EXPECT_EQ(refusal([&] { row.call(protocol); }), row.text);
    EXPECT_EQ(pieces(protocol), pieces(row.written));
    EXPECT_EQ(protocol.getResultLength(), 0u);
    EXPECT_EQ(protocol.resultBuffer, nullptr);
  }
}

}  // namespace support

#endif
