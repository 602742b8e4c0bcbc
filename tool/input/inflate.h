// SPDX-License-Identifier: Apache-2.0
//
// Compressed data, by zlib where the program was built with it.
#ifndef AMF2JSON_TOOL_INPUT_INFLATE_H
#define AMF2JSON_TOOL_INPUT_INFLATE_H

#include <cstddef>
#include <string>
#include <string_view>

enum class Compression { gzip, zlib, deflate };

// By their first bytes.
bool isGzip(std::string_view bytes);
bool isZlib(std::string_view bytes);

// What `bytes` hold; `name` names them in messages. Throws Problem: broken, cut, more than `most`
// bytes (found before they take memory), built without zlib.
std::string inflated(std::string_view bytes, Compression form, const std::string& name,
                     std::size_t most);

#endif  // AMF2JSON_TOOL_INPUT_INFLATE_H
