// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/files_test.cpp.
#include "tool/output/overwrite_check.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "tool/port/platform.h"
#include "tool/problem.h"
#include "tool/text/words.h"

namespace {

using platform::FileIdentity;
using platform::Status;

// The inputs that are regular files, with the names that the user gave.
using InputFiles = std::map<FileIdentity, std::string>;

InputFiles inputFilesOf(const Options& options) {
  InputFiles inputs;
  for (const std::string& file : options.files) {
    const Status status =
        file == "-" ? platform::statusOf(platform::kInput) : platform::statusOf(file);
    if (status.isRegular) inputs.emplace(status.identity, file);
  }
  return inputs;
}

// The name of the input that is this file; null if none is.
const std::string* inputWith(const Status& status, const InputFiles& inputs) {
  const auto input = status.isRegular ? inputs.find(status.identity) : inputs.end();
  return input == inputs.end() ? nullptr : &input->second;
}

void refuseInput(const Status& status, const std::string& target, const InputFiles& inputs) {
  const std::string* const input = inputWith(status, inputs);
  if (input != nullptr) {
    throw usageProblem("-o: " + target + " would overwrite the input " + *input);
  }
}

Problem sameFile(const std::string& one, const std::string& other) {
  return usageProblem("-o: " + one + " and " + other + " would be written to the same file");
}

void refuseSameNames(const std::vector<std::string>& results, const Options& options) {
  std::map<std::string, std::size_t> first;
  for (std::size_t i = 0; i < results.size(); ++i) {
    const auto [known, isNew] = first.emplace(results[i], i);
    if (!isNew) throw sameFile(options.files[known->second], options.files[i]);
  }
}

// Without --force nothing is replaced, with it only regular files.
void refuseExisting(const Status& status, const std::string& target, bool force) {
  if (!status.exists) return;
  if (!force) throw notReplacedProblem(target, "the file exists; --force replaces it");
  if (!status.isRegular) throw notReplacedProblem(target, "not a regular file");
}

void refuseExistingResults(const std::string& folder, const std::vector<std::string>& results,
                           const Options& options) {
  const InputFiles inputs = inputFilesOf(options);
  std::map<FileIdentity, std::size_t> first;
  for (std::size_t i = 0; i < results.size(); ++i) {
    const std::string target = folder + '/' + results[i];
    const Status status = platform::statusOfLink(target);
    if (!status.exists) continue;
    refuseInput(platform::statusOf(target), target, inputs);
    refuseExisting(status, target, options.force);
    const auto [known, isNew] = first.emplace(status.identity, i);
    if (!isNew) throw sameFile(options.files[known->second], options.files[i]);
  }
}

// ---- Names that a file system may hold for one

bool isASCII(const std::string& name) {
  return std::all_of(name.begin(), name.end(), [](char c) { return (c & 0x80) == 0; });
}

// Whether some names may be the same to a file system: names that differ only in case, and all
// names that are not ASCII.
bool mayCollide(const std::vector<std::string>& names) {
  std::set<std::string> lower;
  for (const std::string& name : names) {
    if (!isASCII(name) || !lower.insert(lowerCase(name)).second) return true;
  }
  return false;
}

// Creates empty files in a temporary directory, to see which names collide. Removed at the end of
// the scope.
class ProbeFolder {
 public:
  explicit ProbeFolder(const std::string& folder) {
    if (!platform::createTemporaryFolder(folder, own)) throw fileProblem(folder, "write");
  }
  ProbeFolder(const ProbeFolder&) = delete;
  ProbeFolder& operator=(const ProbeFolder&) = delete;
  ~ProbeFolder() {
    for (const std::string& file : made) std::remove(file.c_str());
    platform::removeFolder(own);
  }
  // False if the name collides with another.
  bool add(const std::string& name) {
    const std::string file = own + '/' + name;
    const Descriptor opened(platform::createNew(file));
    if (opened.number < 0) return !platform::statusOfLink(file).exists;
    made.push_back(file);
    return true;
  }

 private:
  std::string own;
  std::vector<std::string> made;
};

void refuseOneNameOfTwo(const std::string& folder, const std::vector<std::string>& results,
                        const Options& options) {
  if (!mayCollide(results)) return;
  ProbeFolder probe(folder);
  for (std::size_t i = 0; i < results.size(); ++i) {
    if (probe.add(results[i])) continue;
    throw usageProblem("-o: to the file system of " + folder + ", the result of " +
                       options.files[i] + " has the name of another one");
  }
}

}  // namespace

void checkFile(const std::string& file, const Options& options) {
  const Status status = platform::statusOf(file);
  refuseInput(status, file, inputFilesOf(options));
  if (status.exists && !options.force && platform::isReadOnly(file, status)) {
    throw notReplacedProblem(file, "the file is read-only; --force replaces it");
  }
}

void checkStream(int descriptor, const Options& options) {
  if (descriptor < 0) return;  // a named pipe, which is not open yet
  const InputFiles inputs = inputFilesOf(options);
  const std::string* const input = inputWith(platform::statusOf(descriptor), inputs);
  if (input != nullptr) throw usageProblem("the output is the input " + *input);
}

void checkFolder(const std::string& folder, const std::vector<std::string>& results,
                 const Options& options) {
  refuseSameNames(results, options);
  refuseExistingResults(folder, results, options);
  if (!platform::makeFolder(folder)) throw fileProblem(folder, "write");
  refuseOneNameOfTwo(folder, results, options);
}
