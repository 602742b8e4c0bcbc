// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_DESCRIPTOR_H
#define AMF2JSON_TOOL_DESCRIPTOR_H

#include "tool/platform.h"

// An open file, closed at the end of its scope.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  void close() {
    if (number >= 0) platform::close(number);
    number = -1;
  }
  int number;
};

#endif  // AMF2JSON_TOOL_DESCRIPTOR_H
