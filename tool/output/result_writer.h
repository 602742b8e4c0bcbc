// SPDX-License-Identifier: Apache-2.0
//
// Writes the results to a stream or to files, and reports the problems. Texts for a stream are
// buffered until a problem must be reported between them. Files in a directory are written by the
// threads that produced them.
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

// The names of results in a directory; see Command.
struct ResultNames {
  const char* extension = "";
  const char* removedExtension = nullptr;
};

class ResultWriter {
 public:
  // Throws Problem, before anything is written, if an output would overwrite what it must not, or
  // if the directory cannot be created.
  ResultWriter(const Options& chosen, const ResultNames& resultNames);

  // For binary results. Throws Problem if the destination is a terminal.
  void refuseTerminal() const;

  // Writes the result if it goes to a file in a directory. May be called by several threads at
  // once.
  void prepare(const std::string& file, FileResult& result);
  // Takes the result for a file, or the problem that prevented it. Throws ClosedPipe, and Problem
  // if a stream cannot be written. This function and those below are called by one thread.
  void take(const std::string& file, const FileResult& result,
            const std::optional<Problem>& problem);
  // Writes the buffered text. Throws like take().
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
  FairSharedMutex fileMutex;  // held while a file is written; signals wait for it
  std::optional<platform::DeferredSignals> signals;
  ExitCode worstCode = kDone;
};

#endif  // AMF2JSON_TOOL_OUTPUT_RESULT_WRITER_H
