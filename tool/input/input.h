// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_INPUT_INPUT_H
#define AMF2JSON_TOOL_INPUT_INPUT_H

#include <cstddef>
#include <string>

// All bytes of `file`, "-" being standard input. Of a regular file above `limit` bytes none is
// read; of anything else not more than one byte beyond. Throws Problem,
// which names `option` for the limit.
std::string readInput(const std::string& file, std::size_t limit,
                      const char* option = "--max-packet-bytes");

#endif  // AMF2JSON_TOOL_INPUT_INPUT_H
