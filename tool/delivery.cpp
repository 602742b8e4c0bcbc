// SPDX-License-Identifier: Apache-2.0
#include "tool/delivery.h"

#include <algorithm>
#include <map>
#include <system_error>

#include "tool/output.h"

namespace {

constexpr std::size_t kJoinedMost = 65536;

// Several files go to a folder, and so does one if the folder is there.
bool namesFolder(const Options& options) {
  return options.output != "-" && (options.files.size() > 1 || platform::isFolder(options.output));
}

std::string baseName(const std::string& file) {
  if (file == "-") return "stdin";
  return file.substr(file.rfind('/') + 1);
}

void refuseSameNames(const Options& options) {
  std::map<std::string, std::string> fileOf;
  for (const std::string& file : options.files) {
    const auto [known, isNew] = fileOf.emplace(baseName(file), file);
    if (isNew) continue;
    throw Problem{kUsage, "usage",
                  "-o: " + known->second + " and " + file + " would be written to the same file"};
  }
}

void makeFolder(const std::string& folder) {
  if (!platform::makeFolder(folder)) throw fileProblem(folder, "write");
}

}  // namespace

Delivery::Delivery(const Options& chosen)
    : options(chosen),
      intoFolder(namesFolder(chosen)),
      textStyle(::textStyle(chosen)),
      reportStyle(::reportStyle(chosen)),
      progress(chosen.files.size(), chosen.output != "-") {
  joined.reserve(kJoinedMost);
  if (intoFolder) {
    refuseSameNames(options);
    makeFolder(options.output);
  }
  if (options.output == "-") return;
  try {
    signals.emplace(writing);
  } catch (const std::system_error&) {
    throw Problem{kOutOfMemory, "out of memory", "no thread to be had"};
  }
}

void Delivery::prepare(const std::string& file, FileResult& result) {
  dress(result, textStyle);
  if (!intoFolder) return;
  const std::string target = options.output + "/" + baseName(file) + result.extension;
  try {
    writeFile(target, result.text, writing);
  } catch (const Problem& problem) {
    result.problems.insert(result.problems.begin(), problem);
  } catch (const ClosedPipe&) {  // a named one
    result.problems.insert(result.problems.begin(), fileProblem(target, "write"));
  }
  std::string().swap(result.text);
}

void Delivery::take(const std::string& file, const FileResult& result,
                    const std::optional<Problem>& problem) {
  worst = std::max(worst, result.answer);
  if (!problem && !intoFolder) write(result);
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

void Delivery::write(const FileResult& result) {
  if (options.output != "-") {
    try {
      writeFile(options.output, result.text, writing);
    } catch (const Problem& problem) {
      tell(problem, options.output);
    }
    return;
  }
  if (joined.size() + result.text.size() > kJoinedMost) flush();
  if (result.text.size() > kJoinedMost) return writeOutput(result.text);
  joined += result.text;
}

void Delivery::flush() {
  writeOutput(joined);
  joined.clear();
}
