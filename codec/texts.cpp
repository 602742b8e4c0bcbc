// SPDX-License-Identifier: Apache-2.0
//
// The storage of a protocol object's texts: blank after each parse, written to by the views.
//
// A fill for each packet would cost more than most packets do. So an object has two pairs of texts,
// and while a view writes into one, the other stays blank for the next parse. A host that takes a
// fresh object for each packet would have the fill again: an object that goes leaves both pairs to
// its thread, whose next object takes them. A thread keeps at most one blank pair and one written
// one, of the usual size, and only where nodes come from the pool (see node_pool.h). They go with
// the thread.
//
// Tested by tests/packet_reader_test.cpp.
#include <string>
#include <utility>

#include "AMF2JSON.h"
#include "model/node_pool.h"

using namespace amf2json;

namespace {

// The texts get this much room ahead of any rendering.
constexpr std::size_t kJsonRoom = 716800;
constexpr std::size_t kScriptRoom = 358400;

bool isBlank(const std::string& text, std::size_t room) {
  return text.size() == room && text.front() == '\0' && text.back() == '\0';
}
bool areBlank(const std::string& json, const std::string& script) {
  return isBlank(json, kJsonRoom) && isBlank(script, kScriptRoom);
}

bool haveRoom(const std::string& json, const std::string& script) {
  return json.capacity() >= kJsonRoom && script.capacity() >= kScriptRoom;
}

struct Pair {
  std::string json;
  std::string script;

  // Not what a large packet left.
  void keep(std::string& fromJson, std::string& fromScript) noexcept {
    const bool isLarge =
        fromJson.capacity() > 2 * kJsonRoom || fromScript.capacity() > 2 * kScriptRoom;
    if (isLarge || !haveRoom(fromJson, fromScript)) return;
    json = std::move(fromJson);
    script = std::move(fromScript);
  }
  bool give(std::string& toJson, std::string& toScript) noexcept {
    if (!haveRoom(json, script)) return false;
    toJson = std::exchange(json, {});
    toScript = std::exchange(script, {});
    return true;
  }
};

// An object may go after this has: main's thread ends before the program's static objects do.
thread_local bool threadEnds = false;

struct Kept {
  Pair blank;
  Pair written;
  ~Kept() { threadEnds = true; }
};
thread_local Kept keptTexts;

Kept* keptOfThisThread() noexcept {
  return model::isPoolOn() && !threadEnds ? &keptTexts : nullptr;
}

}  // namespace

// Fills both texts with NULs, so that their storage is there before any rendering. Where the spare
// texts are still blank from the parse before, they change places with the written ones instead.
void AMFProtocol::blankTexts() {
  if (textsBlank && areBlank(jsonText, scriptText)) return;
  textsBlank = false;
  if (sparesBlank || spareJsonText.empty()) {
    jsonText.swap(spareJsonText);
    scriptText.swap(spareScriptText);
  }
  if (!sparesBlank) {
    Kept* const kept = keptOfThisThread();
    if (!kept || !kept->blank.give(jsonText, scriptText)) {
      jsonText.assign(kJsonRoom, '\0');
      scriptText.assign(kScriptRoom, '\0');
    }
  }
  sparesBlank = false;
  textsBlank = true;
}

// Before a view writes: blank texts are put aside for the next parse, as soon as there is a written
// pair to take their place. What the texts hold is left; the view writes over it.
void AMFProtocol::putBlankTextsAside() {
  const bool blank = textsBlank && areBlank(jsonText, scriptText);
  textsBlank = false;
  if (!blank) return;
  if (!haveRoom(spareJsonText, spareScriptText)) {
    Kept* const kept = keptOfThisThread();
    if (!kept || !kept->written.give(spareJsonText, spareScriptText)) return;
  }
  jsonText.swap(spareJsonText);
  scriptText.swap(spareScriptText);
  sparesBlank = true;
}

void AMFProtocol::handTextsOn() noexcept {
  Kept* const kept = keptOfThisThread();
  if (!kept) return;
  const bool stayedBlank = textsBlank && areBlank(jsonText, scriptText);
  (sparesBlank ? kept->blank : kept->written).keep(spareJsonText, spareScriptText);
  (stayedBlank ? kept->blank : kept->written).keep(jsonText, scriptText);
}
