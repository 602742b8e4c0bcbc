// SPDX-License-Identifier: Apache-2.0
//
// The two texts of a protocol object, and two spare texts. After parse, both texts contain only
// NULs.
//
// Filling both texts for each packet would cost more than decoding most packets. So an object has
// two pairs of texts, and exchanges them:
//
//                     texts       spare texts
//     after parse     NULs        old text, if any
//     after a view    new text    NULs, for the next parse
//
// If a host uses a new object for each packet, each object would have to fill its texts again. So a
// destroyed object returns both pairs to the cache of its thread, and the thread's next object
// takes them. The cache holds at most one blank pair (filled with NULs) and one written pair, both
// of the usual size. It exists only where nodes come from the pool (node_pool.h), and is destroyed
// with the thread.
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
  // Returns both pairs to the thread's cache.
  ~TextBuffers();

  // For parse: both texts get their initial sizes and contain only NULs.
  void blank();
  // Called before a view writes. If the texts are blank, exchanges them with a written pair, from
  // the spare texts or from the cache. The texts then contain old bytes, which the view overwrites.
  void exchangeBlankTexts();
  // Called when a step writes to the texts without a view.
  void markWritten() noexcept { areTextsBlank = false; }

 private:
  std::string& json;
  std::string& script;
  std::string spareJson;
  std::string spareScript;
  bool areTextsBlank = false;  // unless the host has written to them
  bool areSparesBlank = false;
};

}  // namespace amf2json
