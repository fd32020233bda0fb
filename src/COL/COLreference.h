// Shared objects: an intrusive count and the pointers that hold it.
// COLreference is the base of everything held by COLreferencePtr; the count is a plain
// integer, so a shared object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <utility>

class COLreference {
public:
  COLreference() = default;
  // A copy starts with the source's count, as the old objects did; holders fix it up.
  COLreference(const COLreference& other) : m_CountOfRef(other.m_CountOfRef) {}
  COLreference& operator=(const COLreference&) { return *this; }
  virtual ~COLreference() = default;

  // Returns this object when it is the only holder's, otherwise an independent copy.
  virtual COLreference* clone();

  void AddRef() { ++m_CountOfRef; }
  void Release();
  int32_t countOfRef() const { return m_CountOfRef; }

protected:
  // The copy clone() hands out when the object is shared; the default refuses.
  virtual COLreference* copyForClone() const;

private:
  int32_t m_CountOfRef = 0;
};

template <class T>
class COLreferencePtr {
public:
  COLreferencePtr() = default;
  COLreferencePtr(T* p) : m_Ptr(p) { if (m_Ptr) m_Ptr->AddRef(); }
  COLreferencePtr(const COLreferencePtr& other) : COLreferencePtr(other.m_Ptr) {}
  template <class U>
  COLreferencePtr(const COLreferencePtr<U>& other) : COLreferencePtr(other.get()) {}
  COLreferencePtr(COLreferencePtr&& other) noexcept : m_Ptr(std::exchange(other.m_Ptr, nullptr)) {}
  ~COLreferencePtr() { if (m_Ptr) m_Ptr->Release(); }

  // The new object gains its reference before the old one loses its own, so assigning
  // an object to itself (or to something it owns) is safe.
  COLreferencePtr& operator=(T* p) {
    if (p) p->AddRef();
    T* old = std::exchange(m_Ptr, p);
    if (old) old->Release();
    return *this;
  }
  COLreferencePtr& operator=(const COLreferencePtr& other) { return *this = other.m_Ptr; }
  COLreferencePtr& operator=(COLreferencePtr&& other) noexcept {
    if (this != &other) {
      T* old = std::exchange(m_Ptr, std::exchange(other.m_Ptr, nullptr));
      if (old) old->Release();
    }
    return *this;
  }

  T* get() const { return m_Ptr; }
  T* operator->() const { return m_Ptr; }
  T& operator*() const { return *m_Ptr; }
  explicit operator bool() const { return m_Ptr != nullptr; }
  bool operator==(const COLreferencePtr& other) const { return m_Ptr == other.m_Ptr; }
  bool operator==(const T* p) const { return m_Ptr == p; }

private:
  T* m_Ptr = nullptr;
};

// A pointer with a flag that says whether it deletes what it points at.
template <class T>
class COLownerPtr {
public:
  COLownerPtr() = default;
  explicit COLownerPtr(T* p, bool isOwner = true) : m_Ptr(p), m_IsOwner(isOwner) {}
  COLownerPtr(const COLownerPtr&) = delete;
  COLownerPtr& operator=(const COLownerPtr&) = delete;
  COLownerPtr(COLownerPtr&& other) noexcept
      : m_Ptr(std::exchange(other.m_Ptr, nullptr)), m_IsOwner(other.m_IsOwner) {}
  COLownerPtr& operator=(COLownerPtr&& other) noexcept {
    if (this != &other) {
      reset();
      m_Ptr = std::exchange(other.m_Ptr, nullptr);
      m_IsOwner = other.m_IsOwner;
    }
    return *this;
  }
  ~COLownerPtr() { reset(); }

  COLownerPtr& operator=(T* p) { reset(p, true); return *this; }
  void reset(T* p = nullptr, bool isOwner = true) {
    if (m_IsOwner && m_Ptr != p) delete m_Ptr;
    m_Ptr = p;
    m_IsOwner = isOwner;
  }
  // Gives up ownership and returns the pointer.
  T* release() { m_IsOwner = false; return std::exchange(m_Ptr, nullptr); }

  T* get() const { return m_Ptr; }
  T* operator->() const { return m_Ptr; }
  T& operator*() const { return *m_Ptr; }
  explicit operator bool() const { return m_Ptr != nullptr; }
  bool isOwner() const { return m_IsOwner; }
  void setOwner(bool isOwner) { m_IsOwner = isOwner; }

private:
  T* m_Ptr = nullptr;
  bool m_IsOwner = true;
};
