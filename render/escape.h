// SPDX-License-Identifier: Apache-2.0
//
// The two escaping rules of the views, each in one pass straight into the output. formatString, a
// third rule, stands in the same source file.
#pragma once

#include <string_view>

#include "render/text_out.h"

namespace amf2json::render {

// Member lines: a backslash before each of \ / BS FF LF CR TAB (the control bytes stay raw), three
// before each quote.
void appendJsonEscaped(TextOut& out, std::string_view text);

// Values and statements: BS FF LF CR TAB are dropped, each quote gets one backslash, backslashes
// pass. Written at `to`, a place in `out`; returns the place behind it, where kSpill bytes are
// free.
char* escapeForScript(char* to, std::string_view text);  // makes no room: needs twice the length
char* writeScriptEscaped(TextOut& out, char* to, std::string_view text);
void appendScriptEscaped(TextOut& out, std::string_view text);

}  // namespace amf2json::render
