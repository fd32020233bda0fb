#include "LANtimeLimit.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

struct LANwatchdog {
  std::mutex mutex;
  std::condition_variable changed;
  bool running = false;
  uint64_t run = 0;  // counts armed runs, so a late wake-up never blames the next script
  Clock::time_point deadline;
  unsigned seconds = 0;
  LANoverrunHandler handler = nullptr;
  bool threadStarted = false;

  void watch() {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      changed.wait(lock, [this] { return running; });
      const uint64_t watched = run;
      if (changed.wait_until(lock, deadline, [&] { return !running || run != watched; })) continue;
      if (handler != nullptr) handler(seconds);
    }
  }
};

// Never destroyed: the detached thread may still wait on it while the process ends.
LANwatchdog& watchdog() {
  static LANwatchdog* instance = new LANwatchdog;
  return *instance;
}

std::atomic<unsigned> s_Limit{0};
thread_local unsigned t_Depth = 0;

}  // namespace

void LANsetScriptTimeLimit(unsigned seconds, LANoverrunHandler handler) {
  LANwatchdog& dog = watchdog();
  std::lock_guard<std::mutex> lock(dog.mutex);
  dog.seconds = handler != nullptr ? seconds : 0;
  dog.handler = handler;
  s_Limit.store(dog.seconds);
  if (dog.seconds > 0 && !dog.threadStarted) {
    std::thread([&dog] { dog.watch(); }).detach();
    dog.threadStarted = true;
  }
}

unsigned LANscriptTimeLimit() { return s_Limit.load(); }

LANscriptTimer::LANscriptTimer() {
  if (t_Depth++ > 0 || s_Limit.load() == 0) return;
  LANwatchdog& dog = watchdog();
  {
    std::lock_guard<std::mutex> lock(dog.mutex);
    dog.running = true;
    ++dog.run;
    dog.deadline = Clock::now() + std::chrono::seconds(dog.seconds);
  }
  dog.changed.notify_one();
  m_Armed = true;
}

LANscriptTimer::~LANscriptTimer() {
  --t_Depth;
  if (!m_Armed) return;
  LANwatchdog& dog = watchdog();
  {
    std::lock_guard<std::mutex> lock(dog.mutex);
    dog.running = false;
  }
  dog.changed.notify_one();
}
