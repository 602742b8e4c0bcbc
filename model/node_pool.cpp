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
#if defined(__SANITIZE_ADDRESS__)
#define AMF2JSON_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define AMF2JSON_ADDRESS_SANITIZER 1
#endif
#endif

#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace {

constexpr std::size_t kChunkBytes = 65536;
constexpr std::size_t kKeptChunksMax = 256;  // 16 MiB
constexpr std::size_t kShrunkChunks = 64;    // 4 MiB
constexpr std::size_t kPieceAlignment = 8;
static_assert(alignof(AMFDouble) <= kPieceAlignment && alignof(AMFPackage) <= kPieceAlignment,
              "a piece fits any node");
// What a host's class may ask for without being over-aligned.
constexpr std::size_t kNewAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
static_assert(kNewAlignment == kPieceAlignment || kNewAlignment == 2 * kPieceAlignment,
              "one step of kPieceAlignment reaches it");

#if defined(AMF2JSON_ADDRESS_SANITIZER)
void poison(void* bytes, std::size_t count) {
  ASAN_POISON_MEMORY_REGION(bytes, count);
}
void unpoison(void* bytes, std::size_t count) {
  ASAN_UNPOISON_MEMORY_REGION(bytes, count);
}
// The lists of children that nodes hold are not leaked while the nodes live.
void watchForLeaks(const void* bytes, std::size_t count) {
  __lsan_register_root_region(bytes, count);
}
void unwatchForLeaks(const void* bytes, std::size_t count) {
  __lsan_unregister_root_region(bytes, count);
}
#else
void poison(void*, std::size_t) {}
void unpoison(void*, std::size_t) {}
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

struct Chunk {
  std::atomic<HeapId> owner;
  std::atomic<std::int32_t> balance;  // kOwned less what other threads gave back; nobody's: in use
  std::int32_t live = 0;              // cut less given back by the owner; the owner's alone
  Chunk* next = nullptr;              // in one of the owner's lists
  Chunk* previous = nullptr;
  char* free = nullptr;  // the first byte that has not been cut

  Chunk(HeapId heap, std::int32_t start) : owner(heap), balance(start) { restart(); }

  char* begin() { return reinterpret_cast<char*>(this) + sizeof(Chunk); }
  char* end() { return reinterpret_cast<char*>(this) + kChunkBytes; }
  std::size_t left() { return static_cast<std::size_t>(end() - free); }
  void restart() {
    free = begin();
    poison(free, left());
  }
  bool hasRoom(std::size_t size) { return left() >= size + 2 * kPieceAlignment; }
  char* cut(std::size_t size) {
    // The size of a class is a multiple of its alignment, so it tells where 8 will do.
    if (size % kNewAlignment == 0) free += reinterpret_cast<std::uintptr_t>(free) % kNewAlignment;
    char* const piece = free;
    free += (size + kPieceAlignment - 1) & ~(kPieceAlignment - 1);
    unpoison(piece, size);
    return piece;
  }
  bool isEmpty() const { return live == kOwned - balance.load(std::memory_order_relaxed); }
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
  Chunk* current = nullptr;
  Chunk* full = nullptr;   // doubly linked
  Chunk* empty = nullptr;  // a stack
  std::size_t fullCount = 0;
  std::size_t emptyCount = 0;
  std::size_t renewals = 0;  // of `current`, since the last look at what other threads gave back
  std::uintptr_t returnsSeen = 0;
  HeapId id = kNoHeap;
  bool isShrinking = false;
  bool hasEnded = false;

  void* take(std::size_t size) {
    if (!current || !current->hasRoom(size)) {
      if (hasEnded) return takeFromSystem(kNobody, 1)->cut(size);  // a late node has a chunk alone
      renew();
    }
    ++current->live;
    return current->cut(size);
  }

  // Puts a chunk with room in `current`. When memory fails nothing has changed.
  void renew();

  // A piece of one of our chunks.
  void give(Chunk* chunk) noexcept {
    --chunk->live;
    if (chunk->isEmpty()) settle(chunk);
  }

  void settle(Chunk* chunk) noexcept {
    // Acquires what others did with their pieces.
    static_cast<void>(chunk->balance.load(std::memory_order_acquire));
    chunk->live = 0;
    chunk->balance.store(kOwned, std::memory_order_relaxed);
    chunk->restart();
    if (chunk == current) {
      // The thread may need no further chunk for long: what it handed away falls back here too.
      ++renewals;
      if (full) collect();
      return;
    }
    unlink(chunk);
    keep(chunk);
  }

  void keep(Chunk* chunk) noexcept {
    if (emptyCount >= (isShrinking ? kShrunkChunks : kKeptChunksMax)) {
      isShrinking = true;
      giveToSystem(chunk);
      while (emptyCount > kShrunkChunks) giveToSystem(popEmpty());
      return;
    }
    chunk->next = empty;
    empty = chunk;
    ++emptyCount;
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
      if (chunk->isEmpty()) settle(chunk);
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
    if (current) disown(current);
    current = nullptr;
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
  if (current) link(current);
  current = fresh;
}

void giveForeign(Chunk* chunk) noexcept {
  const bool isLast = chunk->balance.fetch_sub(1, std::memory_order_acq_rel) == 1;
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

// `size` is the object's own; `bytes` more stand behind it.
void* takePiece(std::size_t size, std::size_t bytes) {
  return size <= model::kObjectMax && poolIsOn() ? heap.take(size + bytes)
                                                 : ::operator new(size + bytes);
}

void givePiece(void* piece, std::size_t size) noexcept {
  if (!piece) return;
  if (size > model::kObjectMax || !poolIsOn()) return ::operator delete(piece);
  Chunk* const chunk = chunkOf(piece);
  poison(piece, size);
  if (chunk->owner.load(std::memory_order_relaxed) == heap.id) {
    heap.give(chunk);
  } else {
    giveForeign(chunk);
  }
}

const char* bytesBehind(const void* node, std::size_t size) {
  return static_cast<const char*>(node) + size;
}

bool fitBehind(const char* bytes, std::uint32_t count) {
  return bytes && count > 0 && count <= model::kBytesMax && poolIsOn();
}

template <class Node>
std::unique_ptr<Node> makeBytes(AMFVersion version, const char* bytes, std::uint32_t count) {
  if (!fitBehind(bytes, count)) {
    auto node = std::make_unique<Node>(version);
    node->setValue(bytes, count);
    return node;
  }
  void* const piece = takePiece(sizeof(Node), count);
  std::unique_ptr<Node> node(::new (piece) Node(version));
  node->data = static_cast<char*>(piece) + sizeof(Node);
  node->length = count;
  std::memcpy(node->data, bytes, count);
  return node;
}

template <class Node>
std::unique_ptr<Node> copyBytes(const Node& source) {
  if (!fitBehind(source.data, source.length) || !source.children.empty()) {
    return std::make_unique<Node>(source);
  }
  auto copy = makeBytes<Node>(source.version, source.data, source.length);
  copy->type = source.type;
  copy->referenceIndex = source.referenceIndex;
  copy->complete = source.complete;
  return copy;
}

}  // namespace

void* AMFNode::operator new(std::size_t size) {
  return takePiece(size, 0);
}
void AMFNode::operator delete(void* node, std::size_t size) noexcept {
  givePiece(node, size);
}

void* AMFNode::operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return takePiece(size, 0);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* AMFNode::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}
void AMFNode::operator delete(void* node, std::size_t, std::align_val_t alignment) noexcept {
  ::operator delete(node, alignment);
}

namespace model {

std::unique_ptr<AMFString> makeString(AMFVersion version, const char* bytes, std::uint32_t count) {
  return makeBytes<AMFString>(version, bytes, count);
}
std::unique_ptr<AMFRaw> makeRaw(AMFVersion version, const char* bytes, std::uint32_t count) {
  return makeBytes<AMFRaw>(version, bytes, count);
}
std::unique_ptr<AMFXML> makeXML(AMFVersion version, const char* bytes, std::uint32_t count) {
  return makeBytes<AMFXML>(version, bytes, count);
}

std::unique_ptr<AMFString> copyBytesNode(const AMFString& source) {
  return copyBytes(source);
}
std::unique_ptr<AMFRaw> copyBytesNode(const AMFRaw& source) {
  return copyBytes(source);
}
std::unique_ptr<AMFXML> copyBytesNode(const AMFXML& source) {
  auto copy = copyBytes(source);
  copy->document = source.document;
  return copy;
}

void releaseBytes(const AMFRaw* node) noexcept {
  const bool isInside = poolIsOn() && node->data &&
                        (node->data == bytesBehind(node, sizeof(AMFString)) ||
                         node->data == bytesBehind(node, sizeof(AMFXML)));
  if (isInside) {
    poison(node->data, node->length);
  } else {
    delete[] node->data;
  }
}

bool isPoolOn() noexcept {
  return poolIsOn();
}

std::size_t chunksOfThisThread() noexcept {
  return heap.fullCount + heap.emptyCount + (heap.current ? 1 : 0);
}

}  // namespace model
