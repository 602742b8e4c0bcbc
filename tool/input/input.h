// SPDX-License-Identifier: Apache-2.0
//
// Files and lines that are read.
#ifndef AMF2JSON_TOOL_INPUT_INPUT_H
#define AMF2JSON_TOOL_INPUT_INPUT_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

// All bytes of `file`, "-" being standard input. Of a regular file above `limit` bytes none is
// read; of anything else not more than one byte beyond. Throws Problem,
// which names `option` for the limit.
std::string readInput(const std::string& file, std::size_t limit,
                      const char* option = "--max-packet-bytes");

// The lines of a descriptor. One of more than `maxBytes` bytes is handed over without its text.
class LineReader {
 public:
  LineReader(int source, std::string sourceName, std::size_t limit)
      : descriptor(source), name(std::move(sourceName)), maxBytes(limit) {}

  using Take = std::function<void(std::string_view line, bool isTooLong)>;

  // `wait` is called before each read, as it may have to wait. Throws Problem.
  void consumeAll(const Take& take, const std::function<void()>& wait);

 private:
  void takeWhole(const Take& take);
  void takeOne(const Take& take, std::string_view line);
  bool readMore();

  const int descriptor;
  const std::string name;
  const std::size_t maxBytes;
  std::string buffered;
  std::size_t searched = 0;  // of it, without a line feed
  bool isCut = false;        // the beginning of the line was dropped
};

#endif  // AMF2JSON_TOOL_INPUT_INPUT_H
