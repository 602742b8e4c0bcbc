// SPDX-License-Identifier: Apache-2.0
//
// Keeps released blocks of 128 KiB and more for the next one of the same size. A fresh protocol
// object takes 1 MiB for its texts; under the address sanitizer each such block is mapped anew,
// which takes longer than all else that is done with a small packet. Kept and unused bytes are
// poisoned, so that a use of them is seen as usual; new[] stays the sanitizer's own. For programs
// of one thread.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KEPT_BLOCKS_POISON 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define KEPT_BLOCKS_POISON 1
#endif
#if defined(KEPT_BLOCKS_POISON)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(start, size) (static_cast<void>(start), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(start, size) (static_cast<void>(start), static_cast<void>(size))
#endif

namespace {

constexpr std::size_t kLeast = 131072;
constexpr unsigned kMost = 16;  // blocks known at a time; further ones are not kept

struct Block {
  std::uintptr_t hidden;  // the address, unrecognisable: a leaked block must be seen as leaked
  std::size_t size;
  bool inUse;
};
Block blocks[kMost];

std::uintptr_t hide(const void* memory) {
  return ~reinterpret_cast<std::uintptr_t>(memory);
}

void* addressOf(const Block& block) {
  return reinterpret_cast<void*>(~block.hidden);
}

void* takeKept(std::size_t size) {
  for (Block& block : blocks) {
    if (block.hidden == 0 || block.inUse || block.size != size) continue;
    block.inUse = true;
    ASAN_UNPOISON_MEMORY_REGION(addressOf(block), size);
    return addressOf(block);
  }
  return nullptr;
}

// Records a new large block, in place of an unused one if there is no other space.
void note(void* memory, std::size_t size) {
  Block* place = nullptr;
  for (Block& block : blocks)
    if (!block.inUse && (place == nullptr || block.hidden == 0)) place = &block;
  if (place == nullptr) return;
  if (place->hidden != 0) {
    ASAN_UNPOISON_MEMORY_REGION(addressOf(*place), place->size);
    std::free(addressOf(*place));
  }
  *place = {hide(memory), size, true};
}

bool keep(void* memory) {
  for (Block& block : blocks) {
    if (block.hidden != hide(memory) || !block.inUse) continue;
    block.inUse = false;
    ASAN_POISON_MEMORY_REGION(memory, block.size);
    return true;
  }
  return false;
}

// Kept blocks are known by their hidden addresses alone: without this they would look leaked.
struct AtExit {
  ~AtExit() {
    for (Block& block : blocks) {
      if (block.hidden == 0 || block.inUse) continue;
      ASAN_UNPOISON_MEMORY_REGION(addressOf(block), block.size);
      std::free(addressOf(block));
      block.hidden = 0;
    }
  }
} atExit;

}  // namespace

void* operator new(std::size_t size) {
  if (size >= kLeast) {
    if (void* const kept = takeKept(size)) return kept;
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  if (size >= kLeast) note(memory, size);
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr || keep(memory)) return;
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  ::operator delete(memory);
}
