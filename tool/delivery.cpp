// SPDX-License-Identifier: Apache-2.0
#include "tool/delivery.h"

#include <algorithm>
#include <map>

#include "tool/output.h"
#include "tool/platform.h"
#include "tool/terminal.h"

namespace {

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
      style(reportStyle(chosen)),
      progress(chosen.files.size(), chosen.output != "-") {
  if (!intoFolder) return;
  refuseSameNames(options);
  makeFolder(options.output);
}

void Delivery::take(const std::string& file, const FileResult& result,
                    const std::optional<Problem>& problem) {
  worst = std::max(worst, result.answer);
  if (!problem) write(file, result);
  for (const Problem& beside : result.problems) tell(beside, file);
  if (problem) tell(*problem, file);
  progress.step();
}

void Delivery::tell(Problem problem, const std::string& file) {
  if (problem.file.empty()) problem.file = file;
  worst = std::max(worst, problem.exitCode);
  progress.clear();
  report(problem, style);
}

void Delivery::write(const std::string& file, const FileResult& result) {
  if (options.output == "-") return writeOutput(fitForOutput(result, options.color));
  const std::string target =
      intoFolder ? options.output + "/" + baseName(file) + result.extension : options.output;
  try {
    writeFile(target, options.color == Color::always ? colored(result) : result.text);
  } catch (const Problem& problem) {
    tell(problem, target);
  }
}
