// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_PORT_GATE_H
#define AMF2JSON_TOOL_PORT_GATE_H

#include <mutex>
#include <shared_mutex>

// Work that several threads may do at once, until one wants to be sure that nobody is at it. Both
// calls wait for their turn; it ends with what they return.
class Gate {
 public:
  std::shared_lock<std::shared_mutex> enter() {
    const std::lock_guard<std::mutex> turn(door);
    return std::shared_lock<std::shared_mutex>(inside);
  }
  std::unique_lock<std::shared_mutex> enterAlone() {
    const std::lock_guard<std::mutex> turn(door);
    return std::unique_lock<std::shared_mutex>(inside);
  }

 private:
  std::mutex door;  // so that who wants to be alone is not passed by others for ever
  std::shared_mutex inside;
};

#endif  // AMF2JSON_TOOL_PORT_GATE_H
