// SPDX-License-Identifier: Apache-2.0
//
// Values of AMF inside of other files.
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
  std::size_t offset;     // of its first value; that of the end if there is none
  std::string valueName;  // printable; may be empty
};

// A local shared object: 00 BF, its size, "TCSO". Its values are named.
std::optional<Container> sharedObjectIn(std::string_view bytes);

// The first script tag of an FLV file, or a tag alone. The value behind its name.
std::optional<Container> scriptTagIn(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_CONTAINERS_H
