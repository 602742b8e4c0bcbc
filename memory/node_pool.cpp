// SPDX-License-Identifier: Apache-2.0
//
// The pool of nodes; node_pool.h says how it works. Tested by tests/memory/node_pool_test.cpp.
#include "memory/node_pool.h"

#include <atomic>
#include <cstdint>
#include <new>

#include "base/pages.h"

#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

#if defined(__ELF__) && defined(__GNUC__)
// There where the program has the address or leak sanitizer, also if this library has not.
extern "C" __attribute__((weak)) void __lsan_do_leak_check();
#endif

namespace amf2json {

namespace {

constexpr std::size_t kCachedChunksMax = 256;  // 16 MiB
constexpr std::size_t kShrunkChunks = 64;      // 4 MiB

#if defined(AMF2JSON_ADDRESS_SANITIZER)
// The lists of children that nodes hold are not leaked while the nodes live.
void watchForLeaks(const void* bytes, std::size_t count) {
  __lsan_register_root_region(bytes, count);
}
void unwatchForLeaks(const void* bytes, std::size_t count) {
  __lsan_unregister_root_region(bytes, count);
}
#else
void watchForLeaks(const void*, std::size_t) {}
void unwatchForLeaks(const void*, std::size_t) {}
#endif

// Each heap has a number of its own. An address would not do: after a fork a new thread may get the
// place of one that the parent had, while chunks still name that one.
using HeapId = std::uintptr_t;
constexpr HeapId kNobody = ~HeapId{0};
constexpr HeapId kNoHeap = 0;  // of a thread that has not begun, or has ended; no chunk names it
std::atomic<HeapId> lastHeapId{kNoHeap};

// While a thread owns a chunk its balance is so large that counting down never ends it.
constexpr std::int32_t kOwned = std::int32_t{1} << 30;

struct alignas(kSlotAlignment) Chunk {
  const void* const library = &lastHeapId;  // a process may have several copies of the library
  std::atomic<HeapId> owner;
  std::atomic<std::int32_t> balance;  // kOwned less what others freed; nobody's: slots in use
  std::int32_t live = 0;              // as in NodeAllocator, where the chunk is not the current one
  Chunk* next = nullptr;              // in one of the owner's lists
  Chunk* previous = nullptr;

  Chunk(HeapId heap, std::int32_t start) : owner(heap), balance(start) { poisonAll(); }

  char* begin() { return reinterpret_cast<char*>(this) + sizeof(Chunk); }
  char* end() { return reinterpret_cast<char*>(this) + kChunkBytes; }
  void poisonAll() { poison(begin(), kChunkBytes - sizeof(Chunk)); }
  // With so many slots live, by the owner's count.
  bool isEmpty(std::int32_t count) const {
    return count == kOwned - balance.load(std::memory_order_relaxed);
  }
};
static_assert(sizeof(Chunk) % kSlotAlignment == 0, "the first slot is aligned");

Chunk* chunkOf(void* node) {
  const auto address = reinterpret_cast<std::uintptr_t>(node);
  return reinterpret_cast<Chunk*>(address & ~std::uintptr_t{kChunkBytes - 1});
}

Chunk* takeFromSystem(HeapId owner, std::int32_t balance) {
  void* const pages = takePages(kChunkBytes);
  if (!pages) throw std::bad_alloc();
  watchForLeaks(pages, kChunkBytes);
  return ::new (pages) Chunk(owner, balance);
}

void returnToSystem(Chunk* chunk) noexcept {
  unpoison(chunk, kChunkBytes);
  unwatchForLeaks(chunk, kChunkBytes);
  returnPages(chunk, kChunkBytes);
}

// How often any thread freed slots of another's chunk: an owner looks for them when it has changed.
std::atomic<std::uintptr_t> foreignFrees{0};

}  // namespace

// What a thread owns. Constant-initialized and without a destructor, so that a thread's first look
// costs nothing; HeapEnd below lets go of it.
struct Heap {
  NodeAllocator allocator;
  Chunk* current = nullptr;
  Chunk* full = nullptr;   // doubly linked
  Chunk* empty = nullptr;  // a stack
  std::size_t fullCount = 0;
  std::size_t emptyCount = 0;
  std::size_t renewals = 0;  // of `current`, since the last look at what other threads freed
  std::uintptr_t freesSeen = 0;
  HeapId id = kNoHeap;
  unsigned retained = 0;      // RetainChunks objects
  void* destroyed = nullptr;  // the pooled node whose destructor has just ended
  bool isShrinking = false;
  bool hasEnded = false;

  bool owns(const Chunk* chunk) const {
    return chunk->library == &lastHeapId && chunk->owner.load(std::memory_order_relaxed) == id;
  }

  void* allocate(std::size_t size) {
    if (!allocator.hasRoom(size)) renew();
    return allocator.allocate(size);
  }

  void startAt(Chunk* chunk) noexcept {
    allocator.next = chunk->begin();
    allocator.end = chunk->end();
    allocator.live = 0;
  }

  // Puts an empty chunk in `current`. When memory fails nothing has changed.
  void renew();

  // Slots of one of our chunks.
  void free(Chunk* chunk, std::int32_t count) noexcept {
    std::int32_t& live = chunk == current ? allocator.live : chunk->live;
    live -= count;
    if (chunk->isEmpty(live)) settle(chunk);
  }

  void settle(Chunk* chunk) noexcept {
    // Acquires what others did with their nodes.
    static_cast<void>(chunk->balance.load(std::memory_order_acquire));
    chunk->balance.store(kOwned, std::memory_order_relaxed);
    chunk->live = 0;
    chunk->poisonAll();
    if (chunk == current) {
      startAt(chunk);
      // The thread may need no further chunk for long: what it handed away falls back here too.
      ++renewals;
      if (full) collect();
      return;
    }
    unlink(chunk);
    cache(chunk);
  }

  void cache(Chunk* chunk) noexcept {
    chunk->next = empty;
    empty = chunk;
    ++emptyCount;
    if (retained == 0) shrink();
  }

  // Where there are too many empty chunks.
  void shrink() noexcept {
    if (emptyCount <= (isShrinking ? kShrunkChunks : kCachedChunksMax)) return;
    isShrinking = true;
    while (emptyCount > kShrunkChunks) returnToSystem(popEmpty());
  }

  Chunk* popEmpty() noexcept {
    Chunk* const chunk = empty;
    empty = chunk->next;
    --emptyCount;
    return chunk;
  }

  // Full chunks whose last slots were freed elsewhere. Looked for so rarely that it stays cheap.
  void collect() noexcept {
    const std::uintptr_t frees = foreignFrees.load(std::memory_order_acquire);
    if (frees == freesSeen || renewals < fullCount / 4) return;
    freesSeen = frees;
    renewals = 0;
    for (Chunk* chunk = full; chunk;) {
      Chunk* const next = chunk->next;
      if (chunk->isEmpty(chunk->live)) settle(chunk);
      chunk = next;
    }
  }

  void link(Chunk* chunk) noexcept {
    chunk->previous = nullptr;
    chunk->next = full;
    if (full) full->previous = chunk;
    full = chunk;
    ++fullCount;
  }

  void unlink(Chunk* chunk) noexcept {
    (chunk->previous ? chunk->previous->next : full) = chunk->next;
    if (chunk->next) chunk->next->previous = chunk->previous;
    --fullCount;
  }

  // The thread ends. A chunk in use becomes nobody's.
  static void disown(Chunk* chunk) noexcept {
    const std::int32_t taken = kOwned - chunk->live;
    chunk->owner.store(kNobody, std::memory_order_relaxed);
    if (chunk->balance.fetch_sub(taken, std::memory_order_acq_rel) == taken) returnToSystem(chunk);
  }

  void end() noexcept {
    hasEnded = true;
    id = kNoHeap;
    while (empty) returnToSystem(popEmpty());
    while (full) {
      Chunk* const chunk = full;
      unlink(chunk);
      disown(chunk);
    }
    if (current) {
      current->live = allocator.live;
      disown(current);
    }
    current = nullptr;
    allocator = {};
  }
};

namespace {

thread_local Heap heap;

struct HeapEnd {
  bool isWatching = false;
  ~HeapEnd() { heap.end(); }
};
thread_local HeapEnd heapEnd;

}  // namespace

void Heap::renew() {
  if (id == kNoHeap) {
    heapEnd.isWatching = true;  // made by this, so that it is there when the thread ends
    id = lastHeapId.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  isShrinking = false;
  ++renewals;
  if (!empty) collect();
  Chunk* const fresh = empty ? popEmpty() : takeFromSystem(id, kOwned);
  if (current) {
    current->live = allocator.live;
    link(current);
  }
  current = fresh;
  startAt(fresh);
}

namespace {

void freeForeign(Chunk* chunk, std::int32_t count) noexcept {
  const bool isLast = chunk->balance.fetch_sub(count, std::memory_order_acq_rel) == count;
  // After the balance, so that who sees this number finds the slots freed.
  foreignFrees.fetch_add(1, std::memory_order_release);
  if (isLast) returnToSystem(chunk);
}

}  // namespace

// AMF2JSON_NODE_POOL: 1 on, 0 off; without it the pool is on unless a sanitizer wants to see single
// blocks.
bool isPoolOn() noexcept {
#if defined(AMF2JSON_NODE_POOL)
  return AMF2JSON_NODE_POOL != 0;
#elif defined(AMF2JSON_ADDRESS_SANITIZER)
  return false;
#elif defined(__ELF__) && defined(__GNUC__)
  return &__lsan_do_leak_check == nullptr;
#else
  return true;
#endif
}

NodeAllocator& allocatorOfThisThread() noexcept {
  return heap.allocator;
}

void* NodeAllocator::allocateElsewhere(std::size_t size) {
  return isPoolOn() && !heap.hasEnded ? heap.allocate(size) : nullptr;
}

void freeSlots(void* node, std::int32_t count) noexcept {
  Chunk* const chunk = chunkOf(node);
  if (heap.owns(chunk)) {
    heap.free(chunk, count);
  } else {
    freeForeign(chunk, count);
  }
}

void NodeMemory::noteDestroyed(AMFNode* node) noexcept {
  heap.destroyed = node;
}

RetainChunks::RetainChunks() noexcept : heap(amf2json::heap) {
  ++heap.retained;
}
RetainChunks::~RetainChunks() {
  if (--heap.retained == 0) heap.shrink();
}

std::size_t chunksOfThisThread() noexcept {
  return heap.fullCount + heap.emptyCount + (heap.current ? 1 : 0);
}

// Only the library's own classes are pooled, so the destructor that has just ended is ~AMFNode, and
// nothing came between.
void freeNode(void* node, std::size_t size) noexcept {
  if (!node || node != heap.destroyed) return ::operator delete(node);
  heap.destroyed = nullptr;
  poison(node, size);
  freeSlots(node, 1);
}
void freeNode(void* node, std::align_val_t alignment) noexcept {
  ::operator delete(node, alignment);
}

}  // namespace amf2json
