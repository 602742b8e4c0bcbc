// SPDX-License-Identifier: Apache-2.0
//
// What becomes of the results: texts go to standard output or to files, problems are told.
#ifndef AMF2JSON_TOOL_DELIVERY_H
#define AMF2JSON_TOOL_DELIVERY_H

#include <optional>
#include <string>

#include "tool/command.h"
#include "tool/options.h"
#include "tool/progress.h"
#include "tool/report.h"

class Delivery {
 public:
  // Throws Problem where two files would be written to the same place, and where the output folder
  // cannot be made.
  explicit Delivery(const Options& chosen);

  // The result for a file, or the problem that stood in its way. Throws ClosedPipe, and Problem
  // when standard output cannot be written.
  void take(const std::string& file, const FileResult& result,
            const std::optional<Problem>& problem);

  ExitCode worstSoFar() const { return worst; }

 private:
  void tell(Problem problem, const std::string& file);
  void write(const std::string& file, const FileResult& result);

  const Options& options;
  const bool intoFolder;
  ReportStyle style;
  Progress progress;
  ExitCode worst = kDone;
};

#endif  // AMF2JSON_TOOL_DELIVERY_H
