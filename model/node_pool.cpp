// SPDX-License-Identifier: Apache-2.0
//
// The pool of nodes; node_pool.h says how it works. Tested by tests/node_pool_test.cpp.
#include "model/node_pool.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "model/platform.h"

// AMF2JSON_NODE_POOL: 1 on, 0 off; without it the pool is on unless a tool wants to see single
// blocks.
#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

using namespace amf2json;

namespace {

using model::Cutter;
using model::kChunkBytes;
using model::kPieceAlignment;
using model::poison;
using model::unpoison;

constexpr std::size_t kKeptChunksMax = 256;  // 16 MiB
constexpr std::size_t kShrunkChunks = 64;    // 4 MiB
// What a host's class may ask for without being over-aligned.
constexpr std::size_t kNewAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
static_assert(kNewAlignment == kPieceAlignment || kNewAlignment == 2 * kPieceAlignment,
              "one step of kPieceAlignment reaches it");

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

struct alignas(kPieceAlignment) Chunk {
  std::atomic<HeapId> owner;
  std::atomic<std::int32_t> balance;  // kOwned less what other threads gave back; nobody's: in use
  std::int32_t live = 0;              // as in Cutter, where the chunk is not the current one
  Chunk* next = nullptr;              // in one of the owner's lists
  Chunk* previous = nullptr;

  Chunk(HeapId heap, std::int32_t start) : owner(heap), balance(start) { poisonAll(); }

  char* begin() { return reinterpret_cast<char*>(this) + sizeof(Chunk); }
  char* end() { return reinterpret_cast<char*>(this) + kChunkBytes; }
  void poisonAll() { poison(begin(), kChunkBytes - sizeof(Chunk)); }
  // With so many pieces live, by the owner's count.
  bool isEmpty(std::int32_t count) const {
    return count == kOwned - balance.load(std::memory_order_relaxed);
  }
};
static_assert(sizeof(Chunk) % kPieceAlignment == 0, "the first piece is aligned");

Chunk* chunkOf(void* piece) {
  const auto address = reinterpret_cast<std::uintptr_t>(piece);
  return reinterpret_cast<Chunk*>(address & ~std::uintptr_t{kChunkBytes - 1});
}

Chunk* takeFromSystem(HeapId owner, std::int32_t balance) {
  void* const pages = platform::takePages(kChunkBytes);
  if (!pages) throw std::bad_alloc();
  watchForLeaks(pages, kChunkBytes);
  return ::new (pages) Chunk(owner, balance);
}

void giveToSystem(Chunk* chunk) noexcept {
  unpoison(chunk, kChunkBytes);
  unwatchForLeaks(chunk, kChunkBytes);
  platform::givePages(chunk, kChunkBytes);
}

// How often any thread gave back a piece of another's: tells an owner whether looking is worth it.
std::atomic<std::uintptr_t> foreignReturns{0};

// What a thread owns. Constant-initialized and without a destructor, so that a thread's first look
// costs nothing; HeapEnd below lets go of it.
struct Heap {
  Cutter cutter;
  Chunk* current = nullptr;
  Chunk* full = nullptr;   // doubly linked
  Chunk* empty = nullptr;  // a stack
  Chunk* late = nullptr;   // the last one taken after the end, may have gone
  std::size_t fullCount = 0;
  std::size_t emptyCount = 0;
  std::size_t renewals = 0;  // of `current`, since the last look at what other threads gave back
  std::uintptr_t returnsSeen = 0;
  HeapId id = kNoHeap;
  unsigned stays = 0;  // ChunksStay objects
  bool isShrinking = false;
  bool hasEnded = false;

  void* take(std::size_t size) {
    // The size of a class is a multiple of its alignment, so it tells where 8 will do.
    const bool isWide = size % kNewAlignment == 0;
    if (!cutter.hasRoom(size + (isWide ? kNewAlignment - kPieceAlignment : 0))) {
      if (hasEnded) return takeLate(size);
      renew();
    }
    if (isWide) cutter.free += reinterpret_cast<std::uintptr_t>(cutter.free) % kNewAlignment;
    return cutter.cut(size);
  }

  // A late node has a chunk alone, which is nobody's.
  AMF2JSON_RARE void* takeLate(std::size_t size) {
    char* const piece = (late = takeFromSystem(kNobody, 1))->begin();
    unpoison(piece, size);
    return piece;
  }

  // Puts an empty chunk in `current`. When memory fails nothing has changed.
  void renew();

  // Pieces of one of our chunks.
  void give(Chunk* chunk, std::int32_t count) noexcept {
    std::int32_t& live = chunk == current ? cutter.live : chunk->live;
    live -= count;
    if (chunk->isEmpty(live)) settle(chunk);
  }

  void settle(Chunk* chunk) noexcept {
    // Acquires what others did with their pieces.
    static_cast<void>(chunk->balance.load(std::memory_order_acquire));
    chunk->balance.store(kOwned, std::memory_order_relaxed);
    chunk->live = 0;
    chunk->poisonAll();
    if (chunk == current) {
      cutter = {chunk->begin(), chunk->end(), 0};
      // The thread may need no further chunk for long: what it handed away falls back here too.
      ++renewals;
      if (full) collect();
      return;
    }
    unlink(chunk);
    keep(chunk);
  }

  void keep(Chunk* chunk) noexcept {
    chunk->next = empty;
    empty = chunk;
    ++emptyCount;
    if (stays == 0) shrink();
  }

  // Where there are too many empty chunks.
  void shrink() noexcept {
    if (emptyCount <= (isShrinking ? kShrunkChunks : kKeptChunksMax)) return;
    isShrinking = true;
    while (emptyCount > kShrunkChunks) giveToSystem(popEmpty());
  }

  Chunk* popEmpty() noexcept {
    Chunk* const chunk = empty;
    empty = chunk->next;
    --emptyCount;
    return chunk;
  }

  // Full chunks whose last pieces came back elsewhere. Looked for so rarely that it stays cheap.
  void collect() noexcept {
    const std::uintptr_t returns = foreignReturns.load(std::memory_order_acquire);
    if (returns == returnsSeen || renewals < fullCount / 4) return;
    returnsSeen = returns;
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
    if (chunk->balance.fetch_sub(taken, std::memory_order_acq_rel) == taken) giveToSystem(chunk);
  }

  void end() noexcept {
    hasEnded = true;
    id = kNoHeap;
    while (empty) giveToSystem(popEmpty());
    while (full) {
      Chunk* const chunk = full;
      unlink(chunk);
      disown(chunk);
    }
    if (current) {
      current->live = cutter.live;
      disown(current);
    }
    current = nullptr;
    cutter = {};
  }

  // Whether an object, which may be no piece, is one that this thread took.
  bool took(void* object) const noexcept {
    if (late && object == late->begin()) return true;
    const Chunk* const its = chunkOf(object);  // only an address, so far
    if (its == current) return true;
    for (const Chunk* chunk = full; chunk; chunk = chunk->next) {
      if (chunk == its) return true;
    }
    return false;
  }
};

// glibc has room for this also in a library that is loaded later; other C libraries may not.
#if defined(__GLIBC__)
__attribute__((tls_model("initial-exec")))
#endif
thread_local Heap heap;

struct HeapEnd {
  bool isWatching = false;
  ~HeapEnd() { heap.end(); }
};
thread_local HeapEnd heapEnd;

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
    current->live = cutter.live;
    link(current);
  }
  current = fresh;
  cutter = {fresh->begin(), fresh->end(), 0};
}

void giveForeign(Chunk* chunk, std::int32_t count) noexcept {
  const bool isLast = chunk->balance.fetch_sub(count, std::memory_order_acq_rel) == count;
  // After the balance, so that who sees this number finds the piece given back.
  foreignReturns.fetch_add(1, std::memory_order_release);
  if (isLast) giveToSystem(chunk);
}

#if defined(AMF2JSON_NODE_POOL)
constexpr bool poolIsOn() {
  return AMF2JSON_NODE_POOL != 0;
}
#elif defined(AMF2JSON_ADDRESS_SANITIZER)
constexpr bool poolIsOn() {
  return false;
}
#else
bool poolIsOn() {
  // 0: not decided yet. Every thread decides alike.
  static std::atomic<int> decision{0};
  int known = decision.load(std::memory_order_relaxed);
  if (known == 0) {
    known = platform::runsUnderMemoryChecker() ? 1 : 2;
    decision.store(known, std::memory_order_relaxed);
  }
  return known == 2;
}
#endif

AMF2JSON_APART void* takePiece(std::size_t size) {
  return size <= model::kObjectMax && poolIsOn() ? heap.take(size) : ::operator new(size);
}

AMF2JSON_APART void givePiece(void* piece, std::size_t size) noexcept {
  if (!piece) return;
  if (size > model::kObjectMax || !poolIsOn()) return ::operator delete(piece);
  poison(piece, size);
  model::givePieces(piece, 1);
}

}  // namespace

void* AMFNode::operator new(std::size_t size) {
  return takePiece(size);
}
void AMFNode::operator delete(void* node, std::size_t size) noexcept {
  givePiece(node, size);
}

void* AMFNode::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return takePiece(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
// Only for what a constructor refused, and so without a size: in the thread that took the piece.
void AMFNode::operator delete(void* node, const std::nothrow_t&) noexcept {
  if (poolIsOn() && heap.took(node)) return model::givePieces(node, 1);
  ::operator delete(node);
}

void* AMFNode::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}
void* AMFNode::operator new(std::size_t size, std::align_val_t alignment,
                            const std::nothrow_t&) noexcept {
  return ::operator new(size, alignment, std::nothrow);
}
void AMFNode::operator delete(void* node, std::align_val_t alignment) noexcept {
  ::operator delete(node, alignment);
}
void AMFNode::operator delete(void* node, std::align_val_t alignment,
                              const std::nothrow_t&) noexcept {
  ::operator delete(node, alignment);
}

namespace amf2json::model {

void* Cutter::takeElsewhere(std::size_t size) {
  return AMFNode::operator new(size);
}

Cutter& cutterOfThisThread() noexcept {
  return heap.cutter;
}

void* takeFromNextChunk(std::size_t size) {
  return poolIsOn() ? heap.take(size) : nullptr;
}

void givePieces(void* piece, std::int32_t count) noexcept {
  Chunk* const chunk = chunkOf(piece);
  if (chunk->owner.load(std::memory_order_relaxed) == heap.id) {
    heap.give(chunk, count);
  } else {
    giveForeign(chunk, count);
  }
}

std::unique_ptr<AMFString> makeString(AMFVersion version, const char* bytes, std::uint32_t count) {
  return std::unique_ptr<AMFString>(heap.cutter.makeBytes<AMFString>(version, bytes, count));
}
std::unique_ptr<AMFRaw> makeRaw(AMFVersion version, const char* bytes, std::uint32_t count) {
  return std::unique_ptr<AMFRaw>(heap.cutter.makeBytes<AMFRaw>(version, bytes, count));
}
std::unique_ptr<AMFXML> makeXML(AMFVersion version, const char* bytes, std::uint32_t count) {
  return std::unique_ptr<AMFXML>(heap.cutter.makeBytes<AMFXML>(version, bytes, count));
}

std::unique_ptr<AMFString> copyBytesNode(const AMFString& source) {
  return std::unique_ptr<AMFString>(heap.cutter.copy(source));
}
std::unique_ptr<AMFRaw> copyBytesNode(const AMFRaw& source) {
  return std::unique_ptr<AMFRaw>(heap.cutter.copy(source));
}
std::unique_ptr<AMFXML> copyBytesNode(const AMFXML& source) {
  std::unique_ptr<AMFXML> copy(heap.cutter.copy(source));
  copy->document = source.document;
  return copy;
}

bool isPoolOn() noexcept {
  return poolIsOn();
}

ChunksStay::ChunksStay() noexcept {
  ++heap.stays;
}
ChunksStay::~ChunksStay() {
  if (--heap.stays == 0) heap.shrink();
}

std::size_t chunksOfThisThread() noexcept {
  return heap.fullCount + heap.emptyCount + (heap.current ? 1 : 0);
}

}  // namespace amf2json::model
