// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_files_test.cpp.
#include "tool/output/delivery.h"

#include <algorithm>
#include <system_error>

#include "tool/output/output_check.h"

namespace {

constexpr std::size_t kJoinedMost = 65536;

std::string resultName(const std::string& file, const ResultNames& names) {
  const std::string name = file == "-" ? "stdin" : file.substr(platform::lastPartOf(file));
  const std::string ending = names.ending == nullptr ? "" : names.ending;
  const bool hasEnding = !ending.empty() && name.size() > ending.size() &&
                         name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
  return hasEnding ? name.substr(0, name.size() - ending.size()) : name + names.extension;
}

}  // namespace

Delivery::Delivery(const Options& chosen, const ResultNames& resultNames)
    : options(chosen),
      names(resultNames),
      destination(chosen),
      textStyle(::textStyle(chosen, destination)),
      reportStyle(::reportStyle(chosen)),
      progress(chosen.files.size(), !destination.isTerminal()) {
  joined.reserve(kJoinedMost);
  if (destination.kind() == Destination::Kind::stream) return;
  if (isFolder()) {
    std::vector<std::string> results;
    for (const std::string& file : options.files) results.push_back(resultName(file, names));
    checkFolder(destination.path(), results, options);
  } else {
    checkFile(destination.path(), options);
  }
  try {
    signals.emplace(writing);
  } catch (const std::system_error&) {
    throw Problem{kOutOfMemory, "out of memory", "no thread to be had"};
  }
}

void Delivery::refuseTerminal() const {
  ::refuseTerminal(destination, options);
}

void Delivery::prepare(const std::string& file, FileResult& result) {
  if (!isFolder()) return;
  const std::string target = destination.path() + '/' + resultName(file, names);
  try {
    const Existing existing = options.force ? Existing::replace : Existing::refuse;
    writeFile(target, pourOf(result), existing, writing);
  } catch (const Problem& problem) {
    result.problems.insert(result.problems.begin(), problem);
  }
  std::string().swap(result.text);
}

void Delivery::take(const std::string& file, const FileResult& result,
                    const std::optional<Problem>& problem) {
  worst = std::max(worst, result.answer);
  if (!problem && !isFolder()) write(result);
  for (const Problem& beside : result.problems) tell(beside, file);
  if (problem) tell(*problem, file);
  progress.step();
}

void Delivery::tell(Problem problem, const std::string& file) {
  if (problem.file.empty()) problem.file = file;
  worst = std::max(worst, problem.exitCode);
  flush();
  progress.clear();
  report(problem, reportStyle);
}

Pour Delivery::pourOf(const FileResult& result) const {
  return [this, &result](const Sink& sink) { dress(result, textStyle, sink); };
}

void Delivery::write(const FileResult& result) {
  if (destination.kind() == Destination::Kind::stream) {
    dress(result, textStyle, [this](std::string_view piece) { join(piece); });
    return;
  }
  try {
    writeFile(destination.path(), pourOf(result), Existing::replace, writing);
  } catch (const Problem& problem) {
    tell(problem, destination.path());
  }
}

void Delivery::join(std::string_view piece) {
  if (joined.size() + piece.size() > kJoinedMost) flush();
  if (piece.size() > kJoinedMost) return destination.write(piece);
  joined += piece;
}

void Delivery::flush() {
  destination.write(joined);
  joined.clear();
}
