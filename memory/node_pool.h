// SPDX-License-Identifier: Apache-2.0
//
// The pool: bump allocators for the nodes of decoded and cloned trees. The bytes of a short string
// are in the slot of its node.
//
//     chunk of 64 KiB:  header | node | node + bytes | node | ... | free
//                                                                  ^ next slot
//
//     heap of a thread:  current chunk | list of full chunks | stack of empty chunks
//
// Allocation. Each thread has a heap. The heap allocates from its current chunk by moving a
// pointer. A slot holds one node and, after it, the bytes of a short string. Single slots are never
// reused: a chunk is reused after all its slots have been freed. A chunk is aligned to its size, so
// that masking a node's address gives its chunk. AMFNode::memory records which nodes are in a slot.
// All other nodes come from the global operator new: those that a host makes with `new`, and all
// nodes where the pool is off.
//
// Cost. One live node keeps its whole chunk in memory. A thread may pass all its nodes to other
// threads, and then neither decode nor delete a node itself. Then the chunks of these nodes stay in
// memory until the thread decodes or deletes again, or ends.
//
// Return of memory. A heap caches up to 16 MiB of empty chunks for the next packet. If there are
// more, the heap shrinks: it returns all empty chunks above 4 MiB to the system, and after that
// each further empty chunk, until the thread takes a chunk again. While parse replaces a packet, no
// chunk of the old packet is returned (RetainChunks), so that the new packet can use it. So a
// stream of packets reuses the same memory, and after a burst the memory is returned.
//
// Threads. A chunk belongs to the heap of one thread, in one copy of the library (a process may
// have several copies). If another thread or copy frees a slot, it counts that in the chunk's
// atomic balance. When the owner needs a chunk, or when its current chunk becomes empty, it
// collects the chunks that others have emptied. When a thread ends, its empty chunks are returned
// to the system. Its other chunks have no owner from then on: whoever frees the last slot of such a
// chunk returns it to the system. Nodes that the thread makes after that come from the global
// operator new. After a fork the child process continues with the forking thread's heap; the other
// threads' chunks stay unchanged.
//
// Where the pool is off. Under AddressSanitizer and LeakSanitizer every node is a separate heap
// allocation, so that those tools see each node. The build option AMF2JSON_NODE_POOL=ON turns the
// pool on under these tools too; AddressSanitizer then treats unused slots as poisoned.
// AMF2JSON_NODE_POOL=OFF turns the pool off everywhere, for Valgrind and similar tools.
//
// Tested by tests/memory/node_pool_test.cpp and tests/memory/pool_threads_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "AMF2JSON.h"
#include "base/compiler.h"
#include "memory/node_memory.h"

#if defined(AMF2JSON_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#endif

namespace amf2json {

constexpr std::size_t kChunkBytes = 65536;
constexpr std::size_t kSlotAlignment = 8;
constexpr std::size_t kBytesMax = 2048;  // most bytes that a slot holds after its node

#if defined(AMF2JSON_ADDRESS_SANITIZER)
inline void poison(void* bytes, std::size_t count) {
  ASAN_POISON_MEMORY_REGION(bytes, count);
}
inline void unpoison(void* bytes, std::size_t count) {
  ASAN_UNPOISON_MEMORY_REGION(bytes, count);
}
#else
inline void poison(void*, std::size_t) {}
inline void unpoison(void*, std::size_t) {}
#endif

// Frees `count` slots of the chunk that contains `node`.
void freeSlots(void* node, std::int32_t count) noexcept;

// Makes the library's own nodes: the bump allocator of a thread. Each thread has one, whose address
// stays the same until the thread ends.
class NodeAllocator {
 public:
  template <class Node>
  AMF2JSON_HOT Node* make(AMFVersion version) {
    if (!hasSpace(sizeof(Node))) return makeSlow<Node>(version);
    return NodeMemory::markPooled(::new (allocate(sizeof(Node))) Node(version));
  }
  // Makes a composite node whose names and values are null. The reader sets them before anyone else
  // sees the node.
  template <class Node, class... Arguments>
  AMF2JSON_HOT std::unique_ptr<Node> makeUnfilled(Arguments... arguments) {
    if (!hasSpace(sizeof(Node))) return makeUnfilledSlow<Node>(arguments...);
    return std::unique_ptr<Node>(
        NodeMemory::markPooled(::new (allocate(sizeof(Node))) Node(Unfilled(), arguments...)));
  }
  // Makes a node with a copy of the bytes. Up to kBytesMax bytes are copied into the node's slot.
  template <class Node>
  AMF2JSON_HOT Node* makeWithBytes(AMFVersion version, const char* bytes, std::uint32_t count) {
    const std::size_t size = sizeof(Node) + count;
    if (count > kBytesMax || !hasSpace(size)) {
      return makeWithBytesSlow<Node>(version, bytes, count);
    }
    return putBytes(::new (allocate(size)) Node(version), bytes, count);
  }
  // Copies a string, XML text or byte array. The caller copies the `document` flag of XML.
  template <class Node>
  AMF2JSON_HOT Node* copyWithBytes(const Node& source) {
    const bool isPlain = source.children.empty() && (source.data || source.length == 0);
    if (!isPlain) return copySlow(source);
    Node* const copied = makeWithBytes<Node>(source.version, source.data, source.length);
    copied->type = source.type;
    copied->referenceIndex = source.referenceIndex;
    copied->complete = source.complete;
    return copied;
  }
  // Makes a deep copy of any other node.
  template <class Node>
  Node* copy(const Node& source) {
    return makeAny<Node>(source);
  }

 private:
  friend struct Heap;

  static constexpr std::size_t rounded(std::size_t size) {
    return (size + kSlotAlignment - 1) & ~(kSlotAlignment - 1);
  }
  bool hasSpace(std::size_t size) const {
    return static_cast<std::size_t>(end - next) >= rounded(size);
  }
  // Requires hasSpace(size).
  void* allocate(std::size_t size) {
    char* const slot = next;
    next += rounded(size);
    ++live;
    unpoison(slot, size);
    return slot;
  }
  // The slow path: allocates a slot of the current chunk, or of a new one if the current chunk has
  // no space. Returns null if the pool is off or the thread's heap has ended.
  AMF2JSON_RARE static void* allocateSlow(std::size_t size);

  // Makes a node with any constructor, also one that may throw.
  template <class Node, class... Arguments>
  static Node* makeAny(Arguments&&... arguments) {
    void* const slot = allocateSlow(sizeof(Node));
    if (!slot) return new Node(std::forward<Arguments>(arguments)...);
    try {
      return NodeMemory::markPooled(::new (slot) Node(std::forward<Arguments>(arguments)...));
    } catch (...) {
      freeSlots(slot, 1);
      throw;
    }
  }
  template <class Node>
  AMF2JSON_RARE static Node* makeSlow(AMFVersion version) {
    return makeAny<Node>(version);
  }
  template <class Node, class... Arguments>
  AMF2JSON_RARE static std::unique_ptr<Node> makeUnfilledSlow(Arguments... arguments) {
    return std::unique_ptr<Node>(makeAny<Node>(Unfilled(), arguments...));
  }
  template <class Node>
  AMF2JSON_RARE static Node* makeWithBytesSlow(AMFVersion version, const char* bytes,
                                               std::uint32_t count) {
    const bool isFew = bytes && count <= kBytesMax;
    void* const slot = isFew ? allocateSlow(sizeof(Node) + count) : nullptr;
    if (slot) return putBytes(::new (slot) Node(version), bytes, count);
    std::unique_ptr<Node> node(makeAny<Node>(version));
    if (count > 0) node->AMFRaw::setValue(bytes, count);
    return node.release();
  }
  template <class Node>
  AMF2JSON_RARE static Node* copySlow(const Node& source) {
    return makeAny<Node>(source);
  }
  template <class Node>
  AMF2JSON_HOT static Node* putBytes(Node* node, const char* bytes, std::uint32_t count) {
    char* const place = reinterpret_cast<char*>(node) + sizeof(Node);
    copyShort(place, bytes, count);
    node->data = count > 0 ? place : nullptr;
    node->length = count;
    return NodeMemory::markPooledWithBytes(node);
  }

  char* next = nullptr;
  char* end = nullptr;
  std::int32_t live = 0;  // slots of the current chunk: allocated minus freed by this thread
};

NodeAllocator& allocatorOfThisThread() noexcept;

// Whether the pool is on in this process.
bool isPoolOn() noexcept;

struct Heap;

// While such an object exists, its thread returns no empty chunk to the system.
class RetainChunks {
 public:
  RetainChunks() noexcept;
  ~RetainChunks();
  RetainChunks(const RetainChunks&) = delete;
  RetainChunks& operator=(const RetainChunks&) = delete;

 private:
  Heap& heap;  // of this thread
};

// For tests: the number of this thread's chunks, in use or cached.
std::size_t chunksOfThisThread() noexcept;

}  // namespace amf2json
