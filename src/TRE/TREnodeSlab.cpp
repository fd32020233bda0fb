#include "TREnodeSlab.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define TRE_NODE_SLAB_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TRE_NODE_SLAB_OFF 1
#endif
#endif

#ifdef TRE_NODE_SLAB_OFF

void* TREallocateNode(size_t size) { return ::operator new(size); }
void TREreleaseNode(void* node, size_t) noexcept { ::operator delete(node); }

#else

namespace {
constexpr size_t SlabSize = size_t(1) << 20;
constexpr size_t Alignment = 16;
// Empty slabs kept for the next tree rather than given back to the system.
constexpr size_t KeptSlabs = 64;

// At the start of each slab, which is aligned to its size, so that a node finds it by its
// address.  `live` counts the nodes handed out and not yet released, plus one while the slab
// is some thread's current slab.
struct alignas(Alignment) SlabHeader {
  std::atomic<size_t> live;
};

std::mutex SpareLock;
std::vector<void*> Spare;

void* newSlab() {
  {
    std::lock_guard<std::mutex> guard(SpareLock);
    if (!Spare.empty()) {
      void* slab = Spare.back();
      Spare.pop_back();
      return slab;
    }
  }
  // Twice the size, then the unaligned ends go back.
  void* mapped = mmap(nullptr, 2 * SlabSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  uintptr_t start = reinterpret_cast<uintptr_t>(mapped);
  uintptr_t aligned = (start + SlabSize - 1) & ~(SlabSize - 1);
  if (aligned > start) munmap(mapped, aligned - start);
  uintptr_t end = start + 2 * SlabSize;
  if (end > aligned + SlabSize) munmap(reinterpret_cast<void*>(aligned + SlabSize), end - aligned - SlabSize);
  return reinterpret_cast<void*>(aligned);
}

void dropSlab(void* slab) {
  {
    std::lock_guard<std::mutex> guard(SpareLock);
    if (Spare.size() < KeptSlabs) {
      Spare.push_back(slab);
      return;
    }
  }
  munmap(slab, SlabSize);
}

void unhold(SlabHeader* header) {
  if (header->live.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    header->~SlabHeader();
    dropSlab(header);
  }
}

struct ThreadSlab {
  SlabHeader* header = nullptr;
  unsigned char* next = nullptr;
  unsigned char* end = nullptr;
  ~ThreadSlab() {
    if (header) unhold(header);
  }
  void* take(size_t size) {
    size = (size + Alignment - 1) & ~(Alignment - 1);
    if (!header || size_t(end - next) < size) {
      if (header) unhold(header);
      void* slab = newSlab();
      header = new (slab) SlabHeader{};
      header->live.store(1, std::memory_order_relaxed);
      next = static_cast<unsigned char*>(slab) + sizeof(SlabHeader);
      end = static_cast<unsigned char*>(slab) + SlabSize;
    }
    header->live.fetch_add(1, std::memory_order_relaxed);
    void* node = next;
    next += size;
    return node;
  }
};

thread_local ThreadSlab Current;
}  // namespace

constexpr size_t LargestNode = SlabSize / 16;

void* TREallocateNode(size_t size) {
  if (size > LargestNode) return ::operator new(size);
  return Current.take(size);
}

void TREreleaseNode(void* node, size_t size) noexcept {
  if (!node) return;
  if (size > LargestNode) return ::operator delete(node);
  unhold(reinterpret_cast<SlabHeader*>(reinterpret_cast<uintptr_t>(node) & ~(SlabSize - 1)));
}

#endif
