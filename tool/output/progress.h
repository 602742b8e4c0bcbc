// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_OUTPUT_PROGRESS_H
#define AMF2JSON_TOOL_OUTPUT_PROGRESS_H

#include <chrono>
#include <cstddef>

// Shows "123 of 4000 files" on standard error if work takes long. Only if standard error is a
// terminal and standard output is not the same terminal.
class Progress {
 public:
  Progress(std::size_t files, bool outputElsewhere);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void step();
  void clear();  // erases the line before other output

 private:
  using Clock = std::chrono::steady_clock;

  const std::size_t count;
  const bool isOn;
  std::size_t done = 0;
  Clock::time_point due;
  bool isShown = false;
};

#endif  // AMF2JSON_TOOL_OUTPUT_PROGRESS_H
