#include "LANtimeLimit.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

// A script run only stamps its start in an atomic: no lock and no wake-up per run, since
// field equations run once per field of every message.  The watchdog looks every so often.
std::atomic<int64_t> s_Started{0};  // steady-clock ticks of the running script's start; 0 when none
std::atomic<unsigned> s_Limit{0};
std::atomic<LANoverrunHandler> s_Handler{nullptr};
std::once_flag s_WatchdogStarted;
thread_local unsigned t_Depth = 0;

int64_t ticksNow() {
  const int64_t Ticks = Clock::now().time_since_epoch().count();
  return Ticks == 0 ? 1 : Ticks;
}

void watch() {
  for (;;) {
    const unsigned Seconds = s_Limit.load();
    // A tenth of the limit, at most a second: the overrun is seen within 10% of the limit.
    const auto Tick = std::chrono::milliseconds(Seconds == 0 ? 1000 : std::min(1000u, Seconds * 100));
    std::this_thread::sleep_for(Tick);
    const int64_t Started = s_Started.load();
    if (Seconds == 0 || Started == 0) continue;
    const auto Elapsed = Clock::duration(ticksNow() - Started);
    const LANoverrunHandler Handler = s_Handler.load();
    if (Elapsed >= std::chrono::seconds(Seconds) && Handler != nullptr) Handler(Seconds);
  }
}

}  // namespace

void LANsetScriptTimeLimit(unsigned seconds, LANoverrunHandler handler) {
  s_Handler.store(handler);
  s_Limit.store(handler != nullptr ? seconds : 0);
  if (s_Limit.load() > 0) std::call_once(s_WatchdogStarted, [] { std::thread(watch).detach(); });
}

unsigned LANscriptTimeLimit() { return s_Limit.load(); }

LANscriptTimer::LANscriptTimer() {
  if (t_Depth++ > 0 || s_Limit.load(std::memory_order_relaxed) == 0) return;
  s_Started.store(ticksNow(), std::memory_order_relaxed);
  m_Armed = true;
}

LANscriptTimer::~LANscriptTimer() {
  --t_Depth;
  if (m_Armed) s_Started.store(0, std::memory_order_relaxed);
}
