// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_OUTPUT_PROGRESS_H
#define AMF2JSON_TOOL_OUTPUT_PROGRESS_H

#include <chrono>
#include <cstddef>

// "123 of 4000 files" on standard error, while work takes long and somebody looks: only where
// standard error is a terminal that standard output does not go to as well.
class Progress {
 public:
  Progress(std::size_t files, bool outputElsewhere);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void step();
  void clear();  // makes the line empty, for other text

 private:
  using Clock = std::chrono::steady_clock;

  const std::size_t count;
  const bool isOn;
  std::size_t done = 0;
  Clock::time_point due;
  bool isShown = false;
};

#endif  // AMF2JSON_TOOL_OUTPUT_PROGRESS_H
