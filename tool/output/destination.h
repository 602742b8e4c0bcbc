// SPDX-License-Identifier: Apache-2.0
//
// The destination that -o names: a stream, a file, or a directory.
#ifndef AMF2JSON_TOOL_OUTPUT_DESTINATION_H
#define AMF2JSON_TOOL_OUTPUT_DESTINATION_H

#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/port/platform.h"

class Destination {
 public:
  // Opens devices. Throws Problem if that fails.
  explicit Destination(const Options& options);

  enum class Kind { stream, file, folder };
  Kind kind() const { return is; }
  // The file (the target of a link) or the directory.
  const std::string& path() const { return target; }

  // For streams. A named pipe is opened by the first write(), because opening waits for a reader.
  bool isTerminal() const;
  int descriptor() const { return number; }  // -1: not open yet
  // Throws like writeTo().
  void write(std::string_view text);

 private:
  void open();

  Kind is = Kind::stream;
  std::string name;  // for messages
  std::string target;
  int number = -1;
  Descriptor opened;  // opened by this object; standard output is not
};

#endif  // AMF2JSON_TOOL_OUTPUT_DESTINATION_H
