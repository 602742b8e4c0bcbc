// SPDX-License-Identifier: Apache-2.0
//
// Bytes on their way out: to descriptors, and to files that appear when they are complete.
#ifndef AMF2JSON_TOOL_OUTPUT_WRITE_H
#define AMF2JSON_TOOL_OUTPUT_WRITE_H

#include <functional>
#include <string>
#include <string_view>

#include "tool/port/platform.h"

// Writes to a descriptor, at once. Throws ClosedPipe, and Problem (with `name`) when it cannot.
void writeTo(int descriptor, std::string_view text, const std::string& name);
// To standard output.
void writeOutput(std::string_view text);

// Takes the pieces of a text, one after the other.
using Sink = std::function<void(std::string_view)>;
// Passes all pieces of a text to a sink.
using PieceSource = std::function<void(const Sink&)>;

// Whether a file may be there already.
enum class Existing { refuse, replace };

// Writes a text to a new file beside `file`, which gets its name once it is complete. A file that
// is replaced is not given up before the new one is on the disk, and passes on its owner, group and
// permissions. `file` is no link. Throws as writeTo. In the gate as long as something would be left
// beside the file.
void writeFile(const std::string& file, const PieceSource& pieces, Existing existing,
               FairSharedMutex& mutex);

// Whoever read had enough.
struct ClosedPipe {};

#endif  // AMF2JSON_TOOL_OUTPUT_WRITE_H
