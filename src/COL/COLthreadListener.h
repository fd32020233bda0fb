// A listener that code deep inside a road tells of what it passes over, installed by the host
// for the current thread while a scope lives.  The road takes no parameter for it, and a thread
// without one pays a single load to find that out.  Scopes nest: the listener before comes back
// when the inner scope ends.
#pragma once

template <class Listener>
class COLthreadListenerScope {
public:
  explicit COLthreadListenerScope(Listener& Installed) : m_Previous(s_Current) { s_Current = &Installed; }
  ~COLthreadListenerScope() { s_Current = m_Previous; }
  COLthreadListenerScope(const COLthreadListenerScope&) = delete;
  COLthreadListenerScope& operator=(const COLthreadListenerScope&) = delete;

  // The listener of the current thread, or null.
  static Listener* current() { return s_Current; }

private:
  static inline thread_local Listener* s_Current = nullptr;
  Listener* m_Previous;
};
