// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/soft_breaks_test.cpp.
#include "tool/commands/soft_breaks.h"

#include <algorithm>
#include <cstring>

namespace {

// Soft break k, counted from 1, is written where a block opens or a member begins, once the JSON
// has 500 * k bytes.
constexpr std::size_t kEvery = 500;

// The next break at or after `from`; npos if there is none.
std::size_t nextBreak(const std::string& text, std::size_t from, bool pretty) {
  if (!pretty) return text.find('\n', from);
  const std::size_t lineEnd = text.find("\n\n", from - 1);
  return lineEnd == std::string::npos ? lineEnd : lineEnd + 1;
}

}  // namespace

void removeSoftBreaks(std::string& text, const SoftBreaks& breaks) {
  std::size_t kept = 0;  // length of the new text
  std::size_t from = 0;  // offset in the old text
  const auto keepUntil = [&](std::size_t end) {
    if (kept != from) std::memmove(&text[kept], &text[from], end - from);
    kept += end - from;
  };
  for (std::size_t k = 1; k <= breaks.count; ++k) {
    const std::size_t earliest = std::max(from, breaks.begin + kEvery * k);
    const std::size_t at = nextBreak(text, earliest, breaks.pretty);
    if (at == std::string::npos) break;
    keepUntil(at);
    from = at + 1;
  }
  keepUntil(text.size());
  text.resize(kept);
}
