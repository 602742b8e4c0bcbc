// SPDX-License-Identifier: Apache-2.0
//
// The two texts of a protocol object, filled with NULs after each parse, and two spare ones.
//
// A fill for each packet would cost more than most packets do. So an object has two pairs of texts:
// while a view writes into one, the other stays filled with NULs for the next parse. A host that
// takes a fresh object for each packet would have the fill again: a destroyed object leaves both
// pairs to the cache of its thread, and the thread's next object takes them. The cache holds at
// most one blank pair and one written pair, of the usual size, and only where nodes come from the
// pool (node_pool.h). It is destroyed with the thread.
//
// Tested by tests/codec/packet_reader_test.cpp.
#pragma once

#include <string>

namespace amf2json {

class TextBuffers {
 public:
  // The texts are the protocol object's public members.
  TextBuffers(std::string& jsonText, std::string& scriptText)
      : json(jsonText), script(scriptText) {}
  TextBuffers(const TextBuffers&) = delete;
  TextBuffers& operator=(const TextBuffers&) = delete;
  // Leaves both pairs to the thread's cache.
  ~TextBuffers();

  // For parse: both texts get their sizes and hold nothing but NULs.
  void blank();
  // Before a view writes: blank texts become the spare ones, as soon as there is a written pair to
  // take their place. What the texts hold then is old; the view overwrites it.
  void keepBlankTexts();
  // A step writes to the texts without a view.
  void markWritten() noexcept { areTextsBlank = false; }

 private:
  std::string& json;
  std::string& script;
  std::string spareJson;
  std::string spareScript;
  bool areTextsBlank = false;  // as far as the library knows
  bool areSparesBlank = false;
};

}  // namespace amf2json
