// A global operator new that counts every heap allocation of the program, for tests and
// benchmarks that prove a path allocates nothing.  Replacement functions must be defined once
// per program: include this in exactly one source file of it.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> CountOfAllocation{0};
}

// The replacements pair malloc with free, which GCC cannot see through.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(size_t size) {
  CountOfAllocation.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
// The library's nothrow form (std::stable_sort's buffer, for one) is freed by the delete below:
// it must come from malloc as well.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  CountOfAllocation.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
