// SPDX-License-Identifier: Apache-2.0
//
// The text buffers of protocol objects and their thread-local cache; text_buffers.h explains them.
// Tested by tests/codec/packet_reader_test.cpp.
#include "memory/text_buffers.h"

#include <utility>

#include "memory/node_pool.h"

namespace amf2json {

namespace {

constexpr std::size_t kJsonSize = 716800;
constexpr std::size_t kScriptSize = 358400;

bool isBlank(const std::string& text, std::size_t size) {
  return text.size() == size && text.front() == '\0' && text.back() == '\0';
}
bool areBlank(const std::string& json, const std::string& script) {
  return isBlank(json, kJsonSize) && isBlank(script, kScriptSize);
}

bool haveCapacity(const std::string& json, const std::string& script) {
  return json.capacity() >= kJsonSize && script.capacity() >= kScriptSize;
}

struct Pair {
  std::string json;
  std::string script;

  // A pair that has grown for a large packet is not cached.
  void store(std::string& fromJson, std::string& fromScript) noexcept {
    const bool isLarge =
        fromJson.capacity() > 2 * kJsonSize || fromScript.capacity() > 2 * kScriptSize;
    if (isLarge || !haveCapacity(fromJson, fromScript)) return;
    json = std::move(fromJson);
    script = std::move(fromScript);
  }
  bool take(std::string& toJson, std::string& toScript) noexcept {
    if (!haveCapacity(json, script)) return false;
    toJson = std::exchange(json, {});
    toScript = std::exchange(script, {});
    return true;
  }
};

// A protocol object may be destroyed after the cache: the thread-local objects of the main thread
// are destroyed before the static objects.
thread_local bool isCacheGone = false;

struct Cache {
  Pair blank;
  Pair written;
  ~Cache() { isCacheGone = true; }
};
thread_local Cache cache;

Cache* cacheOfThisThread() noexcept {
  return isPoolOn() && !isCacheGone ? &cache : nullptr;
}

}  // namespace

TextBuffers::~TextBuffers() {
  Cache* const threadCache = cacheOfThisThread();
  if (!threadCache) return;
  const bool stayedBlank = areTextsBlank && areBlank(json, script);
  (areSparesBlank ? threadCache->blank : threadCache->written).store(spareJson, spareScript);
  (stayedBlank ? threadCache->blank : threadCache->written).store(json, script);
}

void TextBuffers::blank() {
  if (areTextsBlank && areBlank(json, script)) return;
  areTextsBlank = false;
  if (areSparesBlank || spareJson.empty()) {
    json.swap(spareJson);
    script.swap(spareScript);
  }
  if (!areSparesBlank) {
    Cache* const threadCache = cacheOfThisThread();
    if (!threadCache || !threadCache->blank.take(json, script)) {
      json.assign(kJsonSize, '\0');
      script.assign(kScriptSize, '\0');
    }
  }
  areSparesBlank = false;
  areTextsBlank = true;
}

void TextBuffers::exchangeBlankTexts() {
  const bool wereBlank = areTextsBlank && areBlank(json, script);
  areTextsBlank = false;
  if (!wereBlank) return;
  if (!haveCapacity(spareJson, spareScript)) {
    Cache* const threadCache = cacheOfThisThread();
    if (!threadCache || !threadCache->written.take(spareJson, spareScript)) return;
  }
  json.swap(spareJson);
  script.swap(spareScript);
  areSparesBlank = true;
}

}  // namespace amf2json
