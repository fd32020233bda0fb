// TREcppClass: an ordinary object whose data lives in an instance tree.  Its members are
// thin handles on the node's slots (TREcppMember.h), so the object reads and writes what
// the current version holds.  A class registers its type once, by its own member list.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <type_traits>

#include "COLerror.h"
#include "TREinstance.h"

class TREcppClass {
public:
  TREcppClass() = default;
  TREcppClass(const TREcppClass&) = delete;
  TREcppClass& operator=(const TREcppClass&) = delete;
  virtual ~TREcppClass();

  // After initialize has bound the object and its members.
  virtual void onInitialized() {}
  // The type of the class, registered on first use.
  TREtypeComplex& cppType() { return _initializeType(m_Instance); }
  // The node goes before the object: the object and its members let go of it.
  virtual void onInstanceDisconnect(TREinstanceComplex& instance);
  virtual TREtypeComplex& _initializeType(TREinstanceComplex* instance) = 0;
  // With a type, declares each member in it; with an instance, binds each member to its
  // slot; with neither, lets go.  Gives the index after the last member.
  virtual uint16_t _initializeMembers(TREinstanceComplex* instance, TREtypeComplex* type, uint16_t index) {
    (void)instance, (void)type;
    return index;
  }

  // The generic type of a member that may hold any class.
  static TREtypeComplex& type();
  static const char* typeName() { return "TREcppClass"; }

  // Binds the object to `instance`, which takes the class's type when it has none or a
  // related one.  Raises for a null instance and for an unrelated type.
  void initialize(TREinstanceComplex* instance);
  TREinstanceComplex* instance() const { return m_Instance; }
  bool isBound() const { return m_Instance != nullptr; }
  // The nearest complex above the node (over collections), and the object bound to it.
  TREinstanceComplex* parentComplex() const;
  TREcppClass* parentClass() const { return parentComplex() ? parentComplex()->cppClass() : nullptr; }
  // The data of `other`'s node, as its version reads it, into this object's node.
  void copy(const TREcppClass& other);

  static TREtypeComplex& initializeTypeBase(const char* name, const char* description,
                                            TREcreateCppClassFunction create, bool& wasEmpty, bool cascadeLock);
  static void initializeDerivedType(TREtypeComplex& derived, TREtypeComplex& base);

  // The object of class T bound to `node`; one is made, owned by the node, when none is.
  // An object of an unrelated class there raises.
  template <class T>
  static T& boundObject(TREinstanceComplex& node);
  // The registered type of class T, without an object at hand.
  template <class T>
  static TREtypeComplex& typeOf();

protected:
  // The body of a class's _initializeType: the type is registered once per process (per T),
  // with `base` as its base, and its members are declared by _initializeMembers.  The type
  // is kept, as the registry keeps it, until TREnamespace::shutdown.
  template <class T>
  static TREtypeComplex& registerType(T& self, const char* name, const char* description,
                                      TREtypeComplex* base = nullptr, bool cascadeLock = false);

  // Optional declares a minimum of 0 where the member kind says 1, as types that files
  // already carry were declared.
  enum MemberFlags : unsigned { None = 0, Identity = 1, Global = 2, Optional = 4 };
  // One step of _initializeMembers for member `m` at `index`; gives index + 1.
  template <class M>
  static uint16_t initializeMember(TREinstanceComplex* instance, TREtypeComplex* type, uint16_t index,
                                   const char* name, M& m, unsigned flags = None);

private:
  static void declareMember(TREtypeComplex& type, uint16_t index, const char* name, uint32_t minOccurs,
                            uint32_t maxOccurs, const TREtype& memberType, unsigned flags);
  [[noreturn]] static void unrelated(const TREtypeComplex& from, const TREtypeComplex& to);

  TREinstanceComplex* m_Instance = nullptr;
  // The class's type, kept at binding so that typed reads check it without a virtual call.
  const TREtypeComplex* m_ClassType = nullptr;
};

// A stack holder: makes a T and binds it to a node; the node stays the caller's.
template <class T>
class TREcppClassInstance {
public:
  explicit TREcppClassInstance(TREinstanceComplex& node) { m_Object.initialize(&node); }
  T& operator*() { return m_Object; }
  T* operator->() { return &m_Object; }

private:
  T m_Object;
};

// --- templates

template <class T>
TREtypeComplex& TREcppClass::registerType(T& self, const char* name, const char* description, TREtypeComplex* base,
                                          bool cascadeLock) {
  static std::atomic<TREtypeComplex*> Registered{nullptr};
  if (TREtypeComplex* known = Registered.load(std::memory_order_acquire)) return *known;
  std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
  if (TREtypeComplex* known = Registered.load(std::memory_order_relaxed)) return *known;
  bool wasEmpty = false;
  TREtypeComplex& type =
      initializeTypeBase(name, description, [] { return static_cast<TREcppClass*>(new T()); }, wasEmpty, cascadeLock);
  if (base) initializeDerivedType(type, *base);
  // Known before the members: a member of the class's own type asks for it again.
  Registered.store(&type, std::memory_order_release);
  // Also for a type declared before: the declaration must agree with the class.
  (void)wasEmpty;
  self._initializeMembers(nullptr, &type, 0);
  return type;
}

template <class T>
TREtypeComplex& TREcppClass::typeOf() {
  if constexpr (std::is_same_v<T, TREcppClass>) {
    return type();
  } else {
    T probe;
    return probe._initializeType(nullptr);
  }
}

template <class T>
T& TREcppClass::boundObject(TREinstanceComplex& node) {
  TREcppClass* present = node.cppClass();
  if (present) {
    if constexpr (!std::is_same_v<T, TREcppClass>) {
      const TREtypeComplex& wanted = typeOf<T>();
      if (present->m_ClassType != &wanted && !present->m_ClassType->isDerivedFrom(wanted))
        unrelated(*present->m_ClassType, wanted);
    }
    return static_cast<T&>(*present);
  }
  if constexpr (std::is_abstract_v<T> || std::is_same_v<T, TREcppClass>) {
    TREtypeComplex* nodeType = node.type();
    COL_PRECONDITION_TEXT(nodeType && nodeType->hasCreateCppClass(), "Type.hasCreateCppClass()");
    TREcppClass* made = nodeType->createCppClass();
    made->initialize(&node);
    node.setCppClass(made, true);
    return static_cast<T&>(*made);
  } else {
    T* made = new T();
    try {
      made->initialize(&node);
    } catch (...) {
      delete made;
      throw;
    }
    node.setCppClass(made, true);
    return *made;
  }
}

template <class M>
uint16_t TREcppClass::initializeMember(TREinstanceComplex* instance, TREtypeComplex* type, uint16_t index,
                                       const char* name, M& m, unsigned flags) {
  if (type)
    declareMember(*type, index, name, flags & Optional ? 0 : m.minOccurs(), m.maxOccurs(), m.memberType(), flags);
  if (instance)
    m.attachToInstance(*instance, index);
  else if (!type)
    m.detachFromInstance();
  return uint16_t(index + 1);
}
