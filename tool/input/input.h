// SPDX-License-Identifier: Apache-2.0
//
// Reads files and lines.
#ifndef AMF2JSON_TOOL_INPUT_INPUT_H
#define AMF2JSON_TOOL_INPUT_INPUT_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

// Reads a whole file, "-" for standard input. A regular file larger than `limit` is not read at
// all; of other files at most one byte more than `limit` is read. Throws Problem, which names
// `option` for the limit.
std::string readInput(const std::string& file, std::size_t limit,
                      const char* option = "--max-packet-bytes");

// Reads the lines of a descriptor. A line of more than `maxBytes` bytes is passed on without its
// text.
class LineReader {
 public:
  LineReader(int source, std::string sourceName, std::size_t limit)
      : descriptor(source), name(std::move(sourceName)), maxBytes(limit) {}

  using Take = std::function<void(std::string_view line, bool isTooLong)>;

  // Calls `wait` before each read, which may block. Throws Problem.
  void consumeAll(const Take& take, const std::function<void()>& wait);

 private:
  void takeWhole(const Take& take);
  void takeOne(const Take& take, std::string_view line);
  bool readMore();

  const int descriptor;
  const std::string name;
  const std::size_t maxBytes;
  std::string buffered;
  std::size_t searched = 0;  // length of its start without a line feed
  bool isCut = false;        // the start of a long line was dropped
};

#endif  // AMF2JSON_TOOL_INPUT_INPUT_H
