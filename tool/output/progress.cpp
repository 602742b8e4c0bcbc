// SPDX-License-Identifier: Apache-2.0
#include "tool/output/progress.h"

#include <cstdio>

#include "tool/port/platform.h"

namespace {

constexpr std::chrono::milliseconds kFirst(1000);
constexpr std::chrono::milliseconds kBetween(200);

bool isWatched(bool outputElsewhere) {
  return platform::isTerminal(platform::kErrors) &&
         (outputElsewhere || !platform::isTerminal(platform::kOutput));
}

}  // namespace

Progress::Progress(std::size_t files, bool outputElsewhere)
    : count(files), isOn(files > 1 && isWatched(outputElsewhere)), due(Clock::now() + kFirst) {}

void Progress::step() {
  ++done;
  if (!isOn || Clock::now() < due) return;
  due = Clock::now() + kBetween;
  std::fprintf(stderr, "\r%zu of %zu files", done, count);
  isShown = true;
}

void Progress::clear() {
  if (isShown) std::fputs("\r\033[K", stderr);
  isShown = false;
}
