// SPDX-License-Identifier: Apache-2.0
//
// The pool of nodes; node_pool.h explains it. Tested by tests/memory/node_pool_test.cpp.
#include "memory/node_pool.h"

#include <atomic>
#include <cstdint>
#include <new>

#include "base/pages.h"

#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

#if defined(__ELF__) && defined(__GNUC__)
// Defined if the program is built with AddressSanitizer or LeakSanitizer, even if this library is
// not.
extern "C" __attribute__((weak)) void __lsan_do_leak_check();
#endif

namespace amf2json {

namespace {

constexpr std::size_t kCachedChunksMax = 256;  // 16 MiB
constexpr std::size_t kShrunkChunks = 64;      // 4 MiB

#if defined(AMF2JSON_ADDRESS_SANITIZER)
// LeakSanitizer searches registered chunks for pointers. So it does not report the child lists of
// live nodes as leaks.
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

// Each heap has a unique number. Its address is not enough: after a fork, the heap of a new thread
// may get the address that another heap had in the parent process, and that other heap can still be
// the recorded owner of some chunks.
using HeapId = std::uintptr_t;
constexpr HeapId kNobody = ~HeapId{0};  // owner of a chunk whose thread has ended
// The id of a heap before its first chunk and after its end. No chunk has this owner.
constexpr HeapId kNoHeap = 0;
std::atomic<HeapId> lastHeapId{kNoHeap};

// The initial balance of a chunk with an owner: so large that frees by others never reach zero.
constexpr std::int32_t kOwned = std::int32_t{1} << 30;

struct alignas(kSlotAlignment) Chunk {
  const void* const library = &lastHeapId;  // identifies this copy of the library
  std::atomic<HeapId> owner;
  std::atomic<std::int32_t> balance;  // kOwned - slots freed by others; without owner: slots in use
  std::int32_t live = 0;              // as NodeAllocator::live; not used in the current chunk
  Chunk* next = nullptr;              // in one of the owner's lists
  Chunk* previous = nullptr;

  Chunk(HeapId heap, std::int32_t start) : owner(heap), balance(start) { poisonAll(); }

  char* begin() { return reinterpret_cast<char*>(this) + sizeof(Chunk); }
  char* end() { return reinterpret_cast<char*>(this) + kChunkBytes; }
  void poisonAll() { poison(begin(), kChunkBytes - sizeof(Chunk)); }
  // Whether no slot is in use. `count`: live slots, as the owner counts them.
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

// Counts, for all threads, the calls that freed slots in a chunk of another heap. An owner scans
// its full chunks only if this number has changed.
std::atomic<std::uintptr_t> foreignFrees{0};

}  // namespace

// The heap of a thread. It is constant-initialized and has no destructor, so that access to it
// needs no check whether it is initialized. HeapEnd below ends it.
struct Heap {
  NodeAllocator allocator;
  Chunk* current = nullptr;
  Chunk* full = nullptr;   // doubly linked
  Chunk* empty = nullptr;  // a stack
  std::size_t fullCount = 0;
  std::size_t emptyCount = 0;
  std::size_t restarts = 0;  // how often `current` was replaced or emptied since the last scan
  std::uintptr_t freesSeen = 0;
  HeapId id = kNoHeap;
  unsigned retained = 0;      // number of RetainChunks objects
  void* destroyed = nullptr;  // the pooled node whose destructor has just ended
  bool isShrinking = false;
  bool hasEnded = false;

  bool owns(const Chunk* chunk) const {
    return chunk->library == &lastHeapId && chunk->owner.load(std::memory_order_relaxed) == id;
  }

  void* allocate(std::size_t size) {
    if (!allocator.hasSpace(size)) startNextChunk();
    return allocator.allocate(size);
  }

  void startAt(Chunk* chunk) noexcept {
    allocator.next = chunk->begin();
    allocator.end = chunk->end();
    allocator.live = 0;
  }

  // Makes an empty chunk the current one. Throws if there is no memory; `current` then stays.
  void startNextChunk();

  // Frees slots of a chunk of this heap.
  void free(Chunk* chunk, std::int32_t count) noexcept {
    std::int32_t& live = chunk == current ? allocator.live : chunk->live;
    live -= count;
    if (chunk->isEmpty(live)) recycle(chunk);
  }

  // Called when all slots of a chunk are free: makes it reusable.
  void recycle(Chunk* chunk) noexcept {
    // Synchronizes with the threads that freed slots of this chunk.
    static_cast<void>(chunk->balance.load(std::memory_order_acquire));
    chunk->balance.store(kOwned, std::memory_order_relaxed);
    chunk->live = 0;
    chunk->poisonAll();
    if (chunk == current) {
      startAt(chunk);
      // The thread may not need another chunk for a long time, so chunks that other threads have
      // emptied are collected here too.
      ++restarts;
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

  // Returns chunks to the system if too many are empty.
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

  // Finds full chunks whose last slots were freed by other threads. A scan visits all full chunks,
  // so it runs only once in fullCount / 4 restarts.
  void collect() noexcept {
    const std::uintptr_t frees = foreignFrees.load(std::memory_order_acquire);
    if (frees == freesSeen || restarts < fullCount / 4) return;
    freesSeen = frees;
    restarts = 0;
    for (Chunk* chunk = full; chunk;) {
      Chunk* const next = chunk->next;
      if (chunk->isEmpty(chunk->live)) recycle(chunk);
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

  // Called when the thread ends: a chunk in use loses its owner, an empty one is returned.
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
  bool isConstructed = false;
  ~HeapEnd() { heap.end(); }
};
thread_local HeapEnd heapEnd;

}  // namespace

void Heap::startNextChunk() {
  if (id == kNoHeap) {
    heapEnd.isConstructed = true;  // constructs heapEnd, so that its destructor runs at thread end
    id = lastHeapId.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  isShrinking = false;
  ++restarts;
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
  // Incremented after the balance: an owner that sees the new number also sees the freed slots.
  foreignFrees.fetch_add(1, std::memory_order_release);
  if (isLast) returnToSystem(chunk);
}

}  // namespace

// AMF2JSON_NODE_POOL: 1 is on, 0 is off. If it is not defined, the pool is on unless a sanitizer
// needs to see each node as a block.
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

void* NodeAllocator::allocateSlow(std::size_t size) {
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

// Called by operator delete of AMFNode. Only the library's own classes are pooled. So for a pooled
// node, ~AMFNode has just ended, and no other code ran in between.
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
