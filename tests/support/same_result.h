// SPDX-License-Identifier: Apache-2.0
//
// Whether two checks found the same, figure by figure. Used by guard_*_test.cpp, guard_sweep.cpp
// and fuzz_verify.cpp.
#ifndef TESTS_SUPPORT_SAME_RESULT_H
#define TESTS_SUPPORT_SAME_RESULT_H

#include <AMFGuard.h>

namespace support {

inline bool same(const AMFVerifyResult& a, const AMFVerifyResult& b) {
  return a.status == b.status && a.message == b.message && a.offset == b.offset &&
         a.consumed == b.consumed && a.needed == b.needed && a.section == b.section &&
         a.nodes == b.nodes && a.treeBytes == b.treeBytes && a.copiedNodes == b.copiedNodes &&
         a.copiedBytes == b.copiedBytes && a.stringBytes == b.stringBytes &&
         a.rawBytes == b.rawBytes && a.depth == b.depth && a.references == b.references &&
         a.switchedReferences == b.switchedReferences && a.lengthMismatches == b.lengthMismatches &&
         a.headers == b.headers && a.messages == b.messages;
}

}  // namespace support

#endif  // TESTS_SUPPORT_SAME_RESULT_H
