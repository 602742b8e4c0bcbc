// SPDX-License-Identifier: Apache-2.0
//
// amf2json. Tested from outside by tests/tool/*_test.cpp.
#include <cstdio>
#include <new>

#include "tool/cli/command_line.h"
#include "tool/output/report.h"
#include "tool/output/style.h"
#include "tool/output/write.h"
#include "tool/port/platform.h"
#include "tool/port/stack_thread.h"
#include "tool/run/run.h"

namespace {

ExitCode runParsed(const CommandLine& line) {
  if (line.command == nullptr) {
    writeOutput(line.answer);
    return kDone;
  }
  if (!line.options.localTime) platform::useUTC();
  const Command& command = *line.command;
  const bool onLines = command.worksOnLines != nullptr && command.worksOnLines(line.options);
  return onLines ? runOnLines(command, line.options) : runOnFiles(command, line.options);
}

ExitCode run(const std::vector<std::string>& words) {
  ReportStyle style{asksForJSONErrors(words), false};
  try {
    const CommandLine line = parseCommandLine(words);
    style = reportStyle(line.options);
    return runParsed(line);
  } catch (const Problem& problem) {
    report(problem, style);
    return problem.exitCode;
  }
}

ExitCode runAndReport(const std::vector<std::string>& words) {
  try {
    return run(words);
  } catch (const ClosedPipe&) {
    platform::exitByClosedPipe(kFileFailure);
  } catch (const std::bad_alloc&) {
    std::fputs("amf2json: out of memory\n", stderr);
    return kOutOfMemory;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "amf2json: %s\n", e.what());
    return kBug;
  }
}

}  // namespace

// All work runs on a thread with a stack of known size, whatever stack the program was started
// with. Signals are unblocked on that thread only.
int main(int argc, char** argv) {
  platform::prepareProcess();
  ExitCode exitCode = kBug;
  const platform::BlockedSignals signalsWait;
  const auto work = [&] {
    signalsWait.unblockOnThisThread();
    exitCode = runAndReport(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
  };
  if (!StackThread(kWorkerDepth, work).isRunning()) work();
  return exitCode;
}
