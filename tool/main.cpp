// SPDX-License-Identifier: Apache-2.0
//
// amf2json. Tested from outside by tests/tool_*_test.cpp.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>

#include "tool/command_line.h"
#include "tool/file_loop.h"
#include "tool/output.h"
#include "tool/report.h"
#include "tool/terminal.h"

namespace {

// Numbers 0 to 2 are taken: no file that is opened later gets in the place of a closed one, where
// messages would be written into it. Reading from what was closed, and writing to it, still fails.
void takeStandardNumbers() {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int flags = number == STDOUT_FILENO ? O_RDONLY : O_WRONLY;
    if (::fcntl(number, F_GETFD) < 0) ::open("/dev/null", flags);
  }
}

// No output depends on where it is made.
void useUTC() {
  ::setenv("TZ", "UTC0", 1);
  ::tzset();
}

ExitCode runParsed(const CommandLine& line) {
  if (line.command == nullptr) {
    writeOutput(line.answer);
    return kDone;
  }
  if (!line.options.localTime) useUTC();
  return workOnFiles(*line.command, line.options);
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

// Ends as a program ends that has nobody to write to.
[[noreturn]] void endByClosedPipe() {
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  std::_Exit(kFileFailure);  // only where SIGPIPE is blocked
}

}  // namespace

int main(int argc, char** argv) {
  takeStandardNumbers();
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe then shows as a failed write,
  std::signal(SIGXFSZ, SIG_IGN);  // and so does a file that may not grow
  try {
    return run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
  } catch (const ClosedPipe&) {
    endByClosedPipe();
  } catch (const std::bad_alloc&) {
    std::fputs("amf2json: out of memory\n", stderr);
    return kOutOfMemory;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "amf2json: %s\n", e.what());
    return kBug;
  }
}
