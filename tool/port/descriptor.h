// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_PORT_DESCRIPTOR_H
#define AMF2JSON_TOOL_PORT_DESCRIPTOR_H

#include "tool/port/platform.h"

// An open file, closed at the end of its scope.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  // False where bytes written before got lost.
  bool close() {
    const int open = number;
    number = -1;
    return open < 0 || platform::close(open);
  }
  int number;
};

#endif  // AMF2JSON_TOOL_PORT_DESCRIPTOR_H
