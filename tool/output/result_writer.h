// SPDX-License-Identifier: Apache-2.0
//
// What becomes of the results: texts go to a stream or to files, problems are told. Texts for a
// stream are joined as long as nothing has to be told between them; files in a folder are written
// by the threads that made their texts.
#ifndef AMF2JSON_TOOL_OUTPUT_RESULT_WRITER_H
#define AMF2JSON_TOOL_OUTPUT_RESULT_WRITER_H

#include <optional>
#include <string>
#include <string_view>

#include "tool/command.h"
#include "tool/options.h"
#include "tool/output/destination.h"
#include "tool/output/progress.h"
#include "tool/output/report.h"
#include "tool/output/style.h"
#include "tool/output/write.h"
#include "tool/port/platform.h"

// How files in a folder are called, as in Command.
struct ResultNames {
  const char* extension = "";
  const char* removedExtension = nullptr;
};

class ResultWriter {
 public:
  // Throws Problem where an output would destroy what it must not,
  // and where the output folder cannot be made: nothing was written then.
  ResultWriter(const Options& chosen, const ResultNames& resultNames);

  // For results that are no texts. Throws Problem.
  void refuseTerminal() const;

  // What can be done before the result's turn comes. On any thread, several at once.
  void prepare(const std::string& file, FileResult& result);
  // The result for a file, or the problem that stood in its way. Throws ClosedPipe, and Problem
  // when a stream cannot be written. Here and below, on one thread.
  void take(const std::string& file, const FileResult& result,
            const std::optional<Problem>& problem);
  // Writes what was joined. Throws as take.
  void flush();

  ExitCode worstSoFar() const { return worstCode; }

 private:
  bool isFolder() const { return destination.kind() == Destination::Kind::folder; }
  void reportProblem(Problem problem, const std::string& file);
  PieceSource piecesOf(const FileResult& result) const;
  void write(const FileResult& result);
  void buffer(std::string_view piece);

  const Options& options;
  const ResultNames names;
  Destination destination;
  const TextStyle textStyle;
  const ReportStyle reportStyle;
  Progress progress;
  std::string buffered;       // texts for a stream
  FairSharedMutex fileMutex;  // files, where a signal must find none half-written
  std::optional<platform::DeferredSignals> signals;
  ExitCode worstCode = kDone;
};

#endif  // AMF2JSON_TOOL_OUTPUT_RESULT_WRITER_H
