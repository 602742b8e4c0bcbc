// SPDX-License-Identifier: Apache-2.0
//
// Writes to descriptors, and to files that appear only when they are complete.
#ifndef AMF2JSON_TOOL_OUTPUT_WRITE_H
#define AMF2JSON_TOOL_OUTPUT_WRITE_H

#include <functional>
#include <string>
#include <string_view>

#include "tool/port/platform.h"

// Writes to a descriptor without buffering. Throws ClosedPipe, and Problem (with `name`) if writing
// fails.
void writeTo(int descriptor, std::string_view text, const std::string& name);
// Writes to standard output.
void writeOutput(std::string_view text);

// Receives the pieces of a text, one after the other.
using Sink = std::function<void(std::string_view)>;
// Passes all pieces of a text to a sink.
using PieceSource = std::function<void(const Sink&)>;

// Whether an existing file is replaced.
enum class Existing { refuse, replace };

// Writes to a temporary file in the same directory, then renames it. An existing file is replaced
// only after the new one is on the disk; its owner, group and permissions are kept. `file` is not a
// link. Throws like writeTo(). Holds a shared lock of `mutex` while the temporary file exists.
void writeFile(const std::string& file, const PieceSource& pieces, Existing existing,
               FairSharedMutex& mutex);

// Thrown if the reader closed the pipe.
struct ClosedPipe {};

#endif  // AMF2JSON_TOOL_OUTPUT_WRITE_H
