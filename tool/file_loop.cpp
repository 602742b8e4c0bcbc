// SPDX-License-Identifier: Apache-2.0
#include "tool/file_loop.h"

#include <algorithm>
#include <exception>
#include <new>
#include <optional>

#include "tool/output.h"
#include "tool/report.h"
#include "tool/terminal.h"

namespace {

// A result, or the problem that stood in its way.
struct Finished {
  FileResult result;
  std::optional<Problem> problem;
};

Finished failed(const std::string& file, ExitCode exitCode, const char* status,
                const char* message) {
  Problem problem{exitCode, status, message};
  problem.file = file;
  return {{}, problem};
}

Finished workOn(const Command& command, const std::string& file, const Options& options) {
  try {
    return {command.work(file, options), std::nullopt};
  } catch (const Problem& problem) {
    return {{}, problem};
  } catch (const std::bad_alloc&) {
    return failed(file, kOutOfMemory, "out of memory", "out of memory");
  } catch (const AMFException& e) {
    return failed(file, kBug, "bug", e.message);
  } catch (const std::exception& e) {
    return failed(file, kBug, "bug", e.what());
  }
}

class Delivery {
 public:
  explicit Delivery(const Options& chosen) : options(chosen), style(reportStyle(chosen)) {}

  void take(const Finished& finished) {
    worst = std::max(worst, finished.result.answer);
    if (!finished.problem) write(finished.result.text);
    for (const Problem& warning : finished.result.warnings) tell(warning);
    if (finished.problem) tell(*finished.problem);
  }

  ExitCode worstSoFar() const { return worst; }

 private:
  void tell(const Problem& problem) {
    worst = std::max(worst, problem.exitCode);
    report(problem, style);
  }

  void write(const std::string& text) {
    if (options.output == "-") return writeOutput(fitForOutput(text));
    try {
      writeFile(options.output, text);
    } catch (const Problem& problem) {
      tell(problem);
    }
  }

  const Options& options;
  ReportStyle style;
  ExitCode worst = kDone;
};

}  // namespace

ExitCode workOnFiles(const Command& command, const Options& options) {
  Delivery delivery(options);
  for (const std::string& file : options.files) delivery.take(workOn(command, file, options));
  return delivery.worstSoFar();
}
