// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/files_test.cpp.
#include "tool/output/result_writer.h"

#include <algorithm>
#include <system_error>

#include "tool/output/overwrite_check.h"

namespace {

constexpr std::size_t kMaxBuffered = 65536;

std::string resultName(const std::string& file, const ResultNames& names) {
  const std::string name = file == "-" ? "stdin" : file.substr(platform::fileNameOffset(file));
  const std::string removedExtension =
      names.removedExtension == nullptr ? "" : names.removedExtension;
  const bool losesExtension = !removedExtension.empty() && name.size() > removedExtension.size() &&
                              name.compare(name.size() - removedExtension.size(),
                                           removedExtension.size(), removedExtension) == 0;
  return losesExtension ? name.substr(0, name.size() - removedExtension.size())
                        : name + names.extension;
}

}  // namespace

ResultWriter::ResultWriter(const Options& chosen, const ResultNames& resultNames)
    : options(chosen),
      names(resultNames),
      destination(chosen),
      textStyle(::textStyle(chosen, destination)),
      reportStyle(::reportStyle(chosen)),
      progress(chosen.files.size(), !destination.isTerminal()) {
  buffered.reserve(kMaxBuffered);
  if (destination.kind() == Destination::Kind::stream) {
    checkStream(destination.descriptor(), options);
    return;
  }
  if (isFolder()) {
    std::vector<std::string> results;
    for (const std::string& file : options.files) results.push_back(resultName(file, names));
    checkFolder(destination.path(), results, options);
  } else {
    checkFile(destination.path(), options);
  }
  try {
    signals.emplace(fileMutex);
  } catch (const std::system_error&) {
    throw outOfMemory("no thread to be had");
  }
}

void ResultWriter::refuseTerminal() const {
  ::refuseTerminal(destination, options);
}

void ResultWriter::prepare(const std::string& file, FileResult& result) {
  if (!isFolder()) return;
  const std::string target = destination.path() + '/' + resultName(file, names);
  try {
    const Existing existing = options.force ? Existing::replace : Existing::refuse;
    writeFile(target, piecesOf(result), existing, fileMutex);
  } catch (const Problem& problem) {
    result.problems.insert(result.problems.begin(), problem);
  }
  std::string().swap(result.text);
}

void ResultWriter::take(const std::string& file, const FileResult& result,
                        const std::optional<Problem>& problem) {
  worstCode = std::max(worstCode, result.exitCode);
  if (!problem && !isFolder()) write(result);
  for (const Problem& beside : result.problems) reportProblem(beside, file);
  if (problem) reportProblem(*problem, file);
  progress.step();
}

void ResultWriter::reportProblem(Problem problem, const std::string& file) {
  if (problem.file.empty()) problem.file = file;
  worstCode = std::max(worstCode, problem.exitCode);
  flush();
  progress.clear();
  report(problem, reportStyle);
}

PieceSource ResultWriter::piecesOf(const FileResult& result) const {
  return [this, &result](const Sink& sink) { writeStyled(result, textStyle, sink); };
}

void ResultWriter::write(const FileResult& result) {
  if (destination.kind() == Destination::Kind::stream) {
    writeStyled(result, textStyle, [this](std::string_view piece) { buffer(piece); });
    return;
  }
  try {
    writeFile(destination.path(), piecesOf(result), Existing::replace, fileMutex);
  } catch (const Problem& problem) {
    reportProblem(problem, destination.path());
  }
}

void ResultWriter::buffer(std::string_view piece) {
  if (buffered.size() + piece.size() > kMaxBuffered) flush();
  if (piece.size() > kMaxBuffered) return destination.write(piece);
  buffered += piece;
}

void ResultWriter::flush() {
  destination.write(buffered);
  buffered.clear();
}
