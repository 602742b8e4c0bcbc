// SPDX-License-Identifier: Apache-2.0
//
// AMF values inside other file formats.
#ifndef AMF2JSON_TOOL_INPUT_CONTAINERS_H
#define AMF2JSON_TOOL_INPUT_CONTAINERS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tool/input/form.h"

struct Container {
  const char* kind;       // "shared object" or "flv"
  std::string what;       // "shared object (.sol) "settings", AMF0"
  Form form;              // of its first value
  std::size_t offset;     // of its first value; the end of the file if there is none
  std::string valueName;  // printable; may be empty
};

// A local shared object: 00 BF, size, "TCSO". Its values have names.
std::optional<Container> sharedObjectIn(std::string_view bytes);

// The first script tag of an FLV file, or of a single tag. The value follows its name.
std::optional<Container> scriptTagIn(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_CONTAINERS_H
