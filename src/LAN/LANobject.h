// LANobjectPtr: an owning pointer to an interpreter object, so that no reference leaks on
// any road out of a function, exceptions included.  Like every touch of an interpreter
// object, creating, copying and dropping one needs the interpreter lock (a LANengineSwap).
#pragma once

#include <utility>

// The interpreter's own names, declared here so that headers need not pull in Python.h.
typedef struct _object PyObject;
typedef struct _ts PyThreadState;

void LANobjectIncrement(PyObject* object);
void LANobjectDecrement(PyObject* object);

template <class T>
class LANtemplateObjectPtr {
public:
  LANtemplateObjectPtr() = default;
  // Takes over the reference the pointer brought with it; no increment.
  LANtemplateObjectPtr(T* object) : m_Ptr(object) {}
  LANtemplateObjectPtr(const LANtemplateObjectPtr& other) : m_Ptr(other.m_Ptr) {
    if (m_Ptr) LANobjectIncrement(reinterpret_cast<PyObject*>(m_Ptr));
  }
  LANtemplateObjectPtr(LANtemplateObjectPtr&& other) noexcept : m_Ptr(std::exchange(other.m_Ptr, nullptr)) {}
  ~LANtemplateObjectPtr() { reset(); }

  // Takes over the reference of `object`, as the constructor does.
  LANtemplateObjectPtr& operator=(T* object) {
    T* old = std::exchange(m_Ptr, object);
    if (old) LANobjectDecrement(reinterpret_cast<PyObject*>(old));
    return *this;
  }
  LANtemplateObjectPtr& operator=(const LANtemplateObjectPtr& other) {
    if (other.m_Ptr) LANobjectIncrement(reinterpret_cast<PyObject*>(other.m_Ptr));
    return *this = other.m_Ptr;
  }
  LANtemplateObjectPtr& operator=(LANtemplateObjectPtr&& other) noexcept {
    if (this != &other) *this = std::exchange(other.m_Ptr, nullptr);
    return *this;
  }

  void reset() { *this = static_cast<T*>(nullptr); }
  // Gives the reference to the caller.
  T* release() { return std::exchange(m_Ptr, nullptr); }
  T* get() const { return m_Ptr; }
  T* operator->() const { return m_Ptr; }
  operator T*() const { return m_Ptr; }
  explicit operator bool() const { return m_Ptr != nullptr; }

private:
  T* m_Ptr = nullptr;
};

using LANobjectPtr = LANtemplateObjectPtr<PyObject>;
