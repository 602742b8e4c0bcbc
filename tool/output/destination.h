// SPDX-License-Identifier: Apache-2.0
//
// Where -o leads: to a descriptor, a file, or a folder.
#ifndef AMF2JSON_TOOL_OUTPUT_DESTINATION_H
#define AMF2JSON_TOOL_OUTPUT_DESTINATION_H

#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/port/platform.h"

class Destination {
 public:
  // Opens devices. Throws Problem where that fails.
  explicit Destination(const Options& options);

  enum class Kind { stream, file, folder };
  Kind kind() const { return is; }
  // Of a file, the target of a link; of a folder.
  const std::string& path() const { return target; }

  // Of a stream. A named pipe is opened by the first writing, as that waits for a reader.
  bool isTerminal() const;
  int descriptor() const { return number; }  // -1: not opened yet
  // Throws as writeTo.
  void write(std::string_view text);

 private:
  void open();

  Kind is = Kind::stream;
  std::string name;  // for messages
  std::string target;
  int number = -1;
  Descriptor opened;  // not what the program was started with
};

#endif  // AMF2JSON_TOOL_OUTPUT_DESTINATION_H
