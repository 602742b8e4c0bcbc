// SPDX-License-Identifier: Apache-2.0
//
// One line that shows everything comparable of a tree. Values carry the digit of their version:
//
//   null0  undef3  bool3 true  int3 5  double0 1.5  date3 0  str0 'abc'  raw3 [00FF]
//   xml0{doc=1 'a'}  arr0{dense=1 strict double0 1}     children in order, separated by ", "
//   obj3{sealed=1 dyn ext traits=0 class='C' 'a':int3 5, 'b':null3}     flags only when set
//   header{'n' must len=? null0}  message{'target' 'response' len=4 str0 ''}
//   package3{headers=1 ...}
//
// - "#ref2" after a node or a string: its referenceIndex. "len=?": 0xFFFFFFFF.
// - A member is 'name':value if the pair has no attributes; else pair3{'name':value}.
// - Text: printable ASCII unchanged; \' \\ \xHH; nine and more equal bytes as \{61*1200}, in raw
//   [61*1200].
// - Names, class names and URIs show "v0" when their version is not their owner's. Members that are
//   null pointers, and null children, are (nil).
// - Bytes that are missing under a length, or kept under length 0: "!nodata", "!data".
// - "!open": an AMF3 array or object that is not complete; "!complete": any other node that is.
// - "!kind7": the kind code is not that of the class. "!parent": a child whose parent is not the
//   node around it, or an owned name or value with a parent. Other children of leaf nodes: "+[...]".
#ifndef TESTS_SUPPORT_DUMP_H
#define TESTS_SUPPORT_DUMP_H

#include <string>

class AMFNode;

namespace support {

/// The line for `node` and everything below it; "(nil)" for null. The root's own parent is not
/// shown.
std::string dump(const AMFNode* node);

}  // namespace support

#endif  // TESTS_SUPPORT_DUMP_H
