// SPDX-License-Identifier: Apache-2.0
//
// The two escaping rules of the views. Each writes directly to the output, in one pass.
// formatString, a third rule, is in escape.cpp too.
#pragma once

#include <string_view>

#include "render/text_out.h"

namespace amf2json::render {

// For appendAttr: writes a backslash before each of \ / BS FF LF CR TAB (the control bytes are
// written raw), and three before each quote.
void appendJsonEscaped(TextOut& out, std::string_view text);

// For values and statements: drops BS FF LF CR TAB, and writes one backslash before each quote.
// Backslashes are not escaped. All three functions write the same text.
//
// This one writes at `to`. The caller provides 2 * length + kSpill bytes of free space. It returns
// the output pointer past the text.
char* escapeForScript(char* to, std::string_view text);
// This one writes at `to`, an output pointer into `out`, and provides the free space itself. It
// returns the output pointer past the text, where kSpill bytes are free.
char* writeScriptEscaped(TextOut& out, char* to, std::string_view text);
// This one writes at the end of `out`.
void appendScriptEscaped(TextOut& out, std::string_view text);

}  // namespace amf2json::render
