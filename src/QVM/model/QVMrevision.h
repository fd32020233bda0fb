// A process-wide count of changes to what decides message identification (identifiers,
// match order, messages, configurations).  Caches derived from a definition compare it to
// know they are stale; a change in any engine makes every cache rebuild once, which costs
// little because definitions change rarely and messages are parsed often.
#pragma once

#include <atomic>
#include <cstdint>

inline std::atomic<uint64_t>& QVMrevisionCounter() {
  static std::atomic<uint64_t> Counter{1};
  return Counter;
}
inline uint64_t QVMrevision() { return QVMrevisionCounter().load(std::memory_order_acquire); }
inline void QVMrevisionChanged() { QVMrevisionCounter().fetch_add(1, std::memory_order_acq_rel); }
