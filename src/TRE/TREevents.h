// TREevents: what an instance tells those who watch it (an update, its end, a collection's
// changes), and the list of watchers one instance keeps.  A node pays for this only once
// somebody listens: until then it holds one null pointer.
#pragma once

#include <cstddef>
#include <vector>

class TREinstance;
class TREinstanceVector;

class TREeventsInstance {
public:
  virtual ~TREeventsInstance() = default;
  virtual void onUpdate(TREinstance&) {}
  virtual void onDelete(TREinstance&) {}
  // The instance is going; a listener must not touch it after this.
  virtual void onDisconnect(TREinstance&) {}
  virtual void onUninitialize(TREinstance&) {}
  virtual void onInitialize(TREinstance&) {}
};

// Collections say in addition which item came or went.
class TREeventsInstanceVector : public TREeventsInstance {
public:
  virtual void onChildNew(TREinstanceVector&, size_t) {}
  virtual void onResize(TREinstanceVector&, size_t) {}
  virtual void onChildBeforeRemove(TREinstanceVector&, size_t) {}
  virtual void onChildAfterRemove(TREinstanceVector&, size_t) {}
  virtual void onClear(TREinstanceVector&) {}
  virtual void onResetCache(TREinstanceVector&) {}
};

enum class TREevent : unsigned char {
  Update, Delete, Disconnect, Uninitialize, Initialize,
  ChildNew, Resize, ChildBeforeRemove, ChildAfterRemove, Clear, ResetCache
};

class TREeventDispatcher {
public:
  void listen(TREeventsInstance* listener, TREeventsInstanceVector* vectorListener);
  // False when the listener was not registered.
  bool unlisten(const TREeventsInstance* listener);
  bool empty() const { return m_Listeners.empty(); }
  // In the order of registration.  A listener may unlisten itself while it is told.
  void dispatch(TREevent event, TREinstance& instance, size_t index);

private:
  struct Entry {
    TREeventsInstance* listener;
    TREeventsInstanceVector* vectorListener;  // null for a listener of the plain kind
  };
  std::vector<Entry> m_Listeners;
  bool m_Dispatching = false;
};
