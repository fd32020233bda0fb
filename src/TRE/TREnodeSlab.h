// TREnodeSlab: storage for the nodes of instance trees.  A large definition is hundreds of
// thousands of small nodes, made one after the other while a file is read and let go
// together; handing them out in order from large slabs keeps a tree's nodes together in
// memory and spares the general allocator the sorting out of as many small blocks when the
// tree goes.  A slab returns to the pool when the last node in it is released, from whatever
// thread.  Under the address sanitizer the general allocator serves, so that use after
// release is still caught.
#pragma once

#include <cstddef>

void* TREallocateNode(size_t size);
void TREreleaseNode(void* node, size_t size) noexcept;

// Class-level allocation from the slabs, for the node classes.
#define TRE_SLAB_NODE                                                        \
  static void* operator new(size_t size) { return TREallocateNode(size); } \
  static void operator delete(void* node, size_t size) noexcept { TREreleaseNode(node, size); }

// For the lists of a tree's nodes, which are made and let go with the nodes.
template <class T>
struct TREslabAllocator {
  using value_type = T;
  TREslabAllocator() = default;
  template <class U>
  TREslabAllocator(const TREslabAllocator<U>&) noexcept {}
  T* allocate(size_t count) { return static_cast<T*>(TREallocateNode(count * sizeof(T))); }
  void deallocate(T* items, size_t count) noexcept { TREreleaseNode(items, count * sizeof(T)); }
  template <class U>
  bool operator==(const TREslabAllocator<U>&) const noexcept { return true; }
};
