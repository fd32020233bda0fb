// COLcriticalSection: the system's one lock, a recursive mutex, and the scoped locker that
// holds it for a block.  Containers never lock; whoever shares one across threads does.
#pragma once

#include <mutex>

class COLcriticalSection {
public:
  COLcriticalSection() = default;
  COLcriticalSection(const COLcriticalSection&) = delete;
  COLcriticalSection& operator=(const COLcriticalSection&) = delete;

  void lock() { m_Mutex.lock(); }
  void unlock() { m_Mutex.unlock(); }
  bool tryLock() { return m_Mutex.try_lock(); }
  // Lets std::lock_guard and friends hold one, too.
  bool try_lock() { return m_Mutex.try_lock(); }

private:
  std::recursive_mutex m_Mutex;
};

class COLcriticalSectionLocker {
public:
  explicit COLcriticalSectionLocker(COLcriticalSection& section) : m_Section(section) { m_Section.lock(); }
  COLcriticalSectionLocker(const COLcriticalSectionLocker&) = delete;
  COLcriticalSectionLocker& operator=(const COLcriticalSectionLocker&) = delete;
  ~COLcriticalSectionLocker() { m_Section.unlock(); }

private:
  COLcriticalSection& m_Section;
};

using COLlocker = COLcriticalSectionLocker;
