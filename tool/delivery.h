// SPDX-License-Identifier: Apache-2.0
//
// What becomes of the results: texts go to standard output or to files, problems are told. Texts
// for standard output are joined as long as nothing has to be told between them; files in a folder
// are written by the threads that made their texts.
#ifndef AMF2JSON_TOOL_DELIVERY_H
#define AMF2JSON_TOOL_DELIVERY_H

#include <optional>
#include <string>

#include "tool/command.h"
#include "tool/gate.h"
#include "tool/options.h"
#include "tool/platform.h"
#include "tool/progress.h"
#include "tool/report.h"
#include "tool/terminal.h"

class Delivery {
 public:
  // Throws Problem where two files would be written to the same place, and where the output folder
  // cannot be made.
  explicit Delivery(const Options& chosen);

  // What can be done before the result's turn comes. On any thread, several at once.
  void prepare(const std::string& file, FileResult& result);
  // The result for a file, or the problem that stood in its way. Throws ClosedPipe, and Problem
  // when standard output cannot be written. Here and below, on one thread.
  void take(const std::string& file, const FileResult& result,
            const std::optional<Problem>& problem);
  // Writes what was joined. Throws as take.
  void flush();

  ExitCode worstSoFar() const { return worst; }

 private:
  void tell(Problem problem, const std::string& file);
  void write(const FileResult& result);

  const Options& options;
  const bool intoFolder;
  const TextStyle textStyle;
  const ReportStyle reportStyle;
  Progress progress;
  std::string joined;  // texts for standard output
  Gate writing;        // files, where a signal must find none half-written
  std::optional<platform::SignalsAtGate> signals;
  ExitCode worst = kDone;
};

#endif  // AMF2JSON_TOOL_DELIVERY_H
