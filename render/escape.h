// SPDX-License-Identifier: Apache-2.0
//
// The two escaping rules of the views. Each writes directly to the output, in one pass.
// formatString, a third rule, is in escape.cpp too.
#pragma once

#include <string_view>

#include "render/text_out.h"

namespace amf2json::render {

// Member lines: a backslash before each of \ / BS FF LF CR TAB (the control bytes stay raw), three
// before each quote.
void appendJsonEscaped(TextOut& out, std::string_view text);

// Values and statements: BS FF LF CR TAB are dropped, each quote gets one backslash, backslashes
// are not escaped. `to` is an output pointer into `out`. Returns it past the escaped text; kSpill
// bytes are free there.
char* escapeForScript(char* to, std::string_view text);  // `to`: 2 * length + kSpill bytes free
char* writeScriptEscaped(TextOut& out, char* to, std::string_view text);
void appendScriptEscaped(TextOut& out, std::string_view text);

}  // namespace amf2json::render
