// SPDX-License-Identifier: Apache-2.0
//
// A plugin with the static library in it and 2 KiB of its own thread-local data.
#include "plugin.h"

#include <cstring>

namespace {

thread_local char own[2048] = {1};

AMFPackage* parse(const char* packet) {
  std::memset(own, 7, sizeof own);
  AMFProtocol protocol;
  return protocol.parse(packet)->clone();
}
AMFNode* clone(const AMFNode* node) {
  return node->clone();
}
void destroy(AMFNode* node) {
  delete node;
}
std::size_t compile(const AMFPackage* package) {
  AMFProtocol protocol;
  protocol.compile(package);
  return own[5] == 7 ? protocol.getResultLength() : 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const PluginCalls pluginCalls;
const PluginCalls pluginCalls = {parse, clone, destroy, compile};
