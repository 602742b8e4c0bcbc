// SPDX-License-Identifier: Apache-2.0
//
// A program with the leak sanitizer, while the library was built without: the
// sanitizer does not report the memory of a reachable tree as leaked. It checks when the program ends.
#include <cstdio>
#include <memory>

#include "memory/node_pool.h"
#include "support/pooled_nodes.h"

using namespace amf2json;

namespace {
AMFArray* volatile tree = nullptr;  // never deleted; a compiler must not drop it either
}

int main() {
  tree = new AMFArray(AMF_VERSION_0);
  const char longBytes[5000] = {};
  for (unsigned i = 0; i < 1000; ++i) {
    tree->appendChild(
        support::pooledWithBytes<AMFString>(AMF_VERSION_0, longBytes, sizeof longBytes).release(),
        false);
  }
  std::printf("the pool is %s\n", isPoolOn() ? "on" : "off");
  return tree->children.size() == 1000 ? 0 : 1;
}
