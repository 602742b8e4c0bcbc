// SPDX-License-Identifier: Apache-2.0
//
// The views of decode. Shared with the WebAssembly module.
#ifndef AMF2JSON_TOOL_COMMANDS_VIEW_H
#define AMF2JSON_TOOL_COMMANDS_VIEW_H

#include <AMFGuard.h>

#include <string>

#include "tool/options.h"

// The text belongs to the protocol object.
const std::string& viewOf(AMFProtocol& protocol, View view, bool pretty);

// Removes the soft breaks of a text that viewOf() has made. The statements have none.
void removeSoftBreaks(std::string& text, const AMFProtocol& protocol, View view, bool pretty);

#endif  // AMF2JSON_TOOL_COMMANDS_VIEW_H
