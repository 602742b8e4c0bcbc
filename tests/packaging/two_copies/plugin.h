// SPDX-License-Identifier: Apache-2.0
//
// What the plugin of two_copies_test offers: the library's calls, from its own copy of the library.
#pragma once

#include <AMF2JSON>

struct PluginCalls {
  AMFPackage* (*parse)(const char* packet);  // a clone that the caller owns
  AMFNode* (*clone)(const AMFNode* node);
  void (*destroy)(AMFNode* node);
  std::size_t (*compile)(const AMFPackage* package);  // the length of the packet
};
