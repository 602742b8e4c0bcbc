// SPDX-License-Identifier: Apache-2.0
#include "tool/run/run.h"

#include <algorithm>
#include <exception>
#include <new>
#include <optional>
#include <thread>

#include "tool/output/result_writer.h"
#include "tool/problem.h"
#include "tool/run/ordered_work.h"

namespace {

// A result, or the problem that prevented it.
struct Finished {
  FileResult result;
  std::optional<Problem> problem;
};

// Problems that name no file are about this file. The handlers for std::bad_alloc allocate nothing.
Finished workOn(const Command& command, const std::string& file, const Options& options,
                ResultWriter& writer) {
  try {
    Finished finished{command.runOnFile(file, options), std::nullopt};
    if (!finished.result.isBinary && finished.result.text.size() > options.maxOutputBytes)
      throw outputTooLarge(options.maxOutputBytes);
    writer.prepare(file, finished.result);
    return finished;
  } catch (const Problem& problem) {
    return {{}, problem};
  } catch (const std::bad_alloc&) {
    return {{}, outOfMemory()};
  } catch (const AMFException& e) {
    return {{}, Problem{kBug, "bug", e.message}};
  } catch (const std::exception& e) {
    return {{}, Problem{kBug, "bug", e.what()}};
  }
}

std::size_t threadsFor(const Options& options) {
  const std::size_t jobs = options.jobs != 0 ? options.jobs : std::thread::hardware_concurrency();
  return std::clamp<std::size_t>(jobs, 1, options.files.size());
}

void refuseSecondStandardInput(const std::vector<std::string>& files) {
  if (std::count(files.begin(), files.end(), "-") < 2) return;
  throw usageProblem("standard input (-) can be read only once");
}

}  // namespace

ExitCode runOnFiles(const Command& command, const Options& options) {
  const std::vector<std::string>& files = options.files;
  refuseSecondStandardInput(files);
  const bool hasOutput = command.extension != nullptr;
  ResultWriter writer(options,
                      {hasOutput ? command.extension(options) : "", command.removedExtension});
  if (command.writesBinary != nullptr && command.writesBinary(options)) writer.refuseTerminal();
  OrderedWork<Finished> work(
      files.size(), threadsFor(options),
      [&](std::size_t i) { return workOn(command, files[i], options, writer); },
      [](const Finished& finished) { return finished.result.text.size(); });
  std::size_t taken = 0;
  work.consumeAll(
      [&](const Finished& finished) {
        writer.take(files[taken++], finished.result, finished.problem);
      },
      [&] { writer.flush(); });
  return writer.worstSoFar();
}
