// TREcppMember: the data members of a bound class (TREcppClass.h).  Each is a handle on one
// slot of the object's node: a simple value, an owned child object, a reference to another
// object (by object id or by path), or a collection of these.  A read goes straight to the
// slot the current version sees: the slot is found again only when the root's version
// changed since the last read, and no read makes a virtual call.
#pragma once

#include <cstdint>
#include <type_traits>

#include "COLerror.h"
#include "TREcppClass.h"

class TREcppMemberBase {
public:
  TREcppMemberBase() = default;
  TREcppMemberBase(const TREcppMemberBase&) = delete;
  TREcppMemberBase& operator=(const TREcppMemberBase&) = delete;
  virtual ~TREcppMemberBase() { detachFromInstance(); }

  // Member `index` of `owner`'s type; the slot is looked up now and again after a version
  // switch.
  void attachToInstance(TREinstanceComplex& owner, uint16_t index);
  void detachFromInstance();
  // Raises when the member was never bound.
  void verifyInstance() const;
  bool isOutOfDate() const { return m_Slot == nullptr || m_Version != versionOf(*m_Owner); }
  // The next read finds the slot again.
  void versionClear() { m_Version = TREnoIndex; }
  // The slot this member reads tells it of changes; its end drops the cached slot.
  virtual void onInstanceEvent(TREevent event, TREinstance& instance);
  void onInstanceDisconnect(TREinstance& instance) { onInstanceEvent(TREevent::Disconnect, instance); }

  virtual uint32_t minOccurs() const { return 1; }
  virtual uint32_t maxOccurs() const { return 1; }
  virtual const TREtype& memberType() const = 0;

  TREinstanceComplex* owner() const { return m_Owner; }
  TREinstanceSimple& slot() const { return isOutOfDate() ? refresh() : *m_Slot; }

protected:
  static uint16_t versionOf(const TREinstanceComplex& owner) {
    return owner.root() ? owner.root()->currentVersion() : 0;
  }
  TREinstanceSimple& refresh() const;

  mutable uint16_t m_Version = TREnoIndex;
  uint16_t m_Index = 0;
  TREinstanceComplex* m_Owner = nullptr;
  mutable TREinstanceSimple* m_Slot = nullptr;
  // The slot that knows this member as its own (TREinstance::setCppMember).
  mutable TREinstance* m_Listened = nullptr;
};

// The instance of kind I (a simple slot, a complex, a collection) that the member reads.
template <class T, class I>
class TREcppMemberBaseT : public TREcppMemberBase {
protected:
  I& instance() const {
    TREinstanceSimple& current = slot();
    if constexpr (std::is_same_v<I, TREinstanceSimple>) {
      return current;
    } else if constexpr (std::is_same_v<I, TREinstanceComplex>) {
      COL_PRECONDITION_TEXT(current.complex() != nullptr, "Member.classType() == eComplex");
      return *current.complex();
    } else {
      COL_PRECONDITION_TEXT(current.vector() != nullptr, "Member.classType() == eVector");
      return *current.vector();
    }
  }
};

// How a C++ value type sits in a variant.  A slot with no value yet reads as T's default.
template <class T>
struct TREcppValue;

#define TRE_CPP_NUMBER(Type, Base, Accessor)                                                        \
  template <>                                                                                       \
  struct TREcppValue<Type> {                                                                        \
    static constexpr TREbaseType base = TREbaseType::Base;                                          \
    using value_type = Type;                                                                        \
    static value_type read(const TREvariant& v) {                                                         \
      return v.baseType() == TREbaseType::Null ? value_type{} : static_cast<value_type>(v.integerValue());      \
    }                                                                                               \
    static void write(TREvariant& v, value_type x) {                                                      \
      v.Accessor() = static_cast<std::remove_reference_t<decltype(v.Accessor())>>(x);               \
    }                                                                                               \
  };
TRE_CPP_NUMBER(int8_t, TinyInteger, tinyInteger)
TRE_CPP_NUMBER(int16_t, SmallInteger, smallInteger)
TRE_CPP_NUMBER(int32_t, Integer, integer)
TRE_CPP_NUMBER(unsigned int, Integer, integer)
TRE_CPP_NUMBER(int64_t, LargeInteger, largeInteger)
#undef TRE_CPP_NUMBER

template <>
struct TREcppValue<bool> {
  static constexpr TREbaseType base = TREbaseType::Boolean;
  static bool read(const TREvariant& v) { return v.baseType() != TREbaseType::Null && v.boolean(); }
  static void write(TREvariant& v, bool x) { v.boolean() = x; }
};

template <>
struct TREcppValue<COLstring> {
  static constexpr TREbaseType base = TREbaseType::String;
  static const COLstring& read(const TREvariant& v) {
    static const COLstring Empty;
    return v.baseType() == TREbaseType::Null ? Empty : v.string();
  }
  static void write(TREvariant& v, const COLstring& x) { v.string() = x; }
};

template <>
struct TREcppValue<double> {
  static constexpr TREbaseType base = TREbaseType::Double;
  static double read(const TREvariant& v) {
    return v.baseType() == TREbaseType::Null ? 0.0 : const_cast<TREvariant&>(v).doubleValue();
  }
  static void write(TREvariant& v, double x) { v.doubleValue() = x; }
};

template <class T>
class TREcppMemberSimple : public TREcppMemberBaseT<T, TREinstanceSimple> {
public:
  decltype(auto) get() const { return TREcppValue<T>::read(this->instance().value()); }
  operator T() const { return get(); }
  // An equal value is left alone, so that versions that agree keep sharing it.
  void set(const T& value) {
    TREvariant next;
    TREcppValue<T>::write(next, value);
    this->instance().assign(next);
  }
  TREcppMemberSimple& operator=(const T& value) {
    set(value);
    return *this;
  }
  // Whether the version reads a value that a write or a file gave.
  bool isSet() const { return this->instance().value().baseType() != TREbaseType::Null; }
  const TREtype& memberType() const override { return TREtypeSimple::getType(TREcppValue<T>::base); }
};

// --- relationships: what a complex member's slot holds and how it leads to the object.

// The child object lives in the member's own slot.
struct TREcppRelationshipOwner {
  static constexpr bool isReference = false;
};

// The slot holds a "Reference"; bindFrom follows it.
struct TREcppRelationshipReference {
  static constexpr bool isReference = true;
  static TREtypeComplex& type();
};

struct TREcppRelationshipReferenceId : TREcppRelationshipReference {
  // Makes `reference` name `to` by type name and object id; `to` gets an id if it has none.
  static void createFrom(TREinstance& to, TREinstanceComplex& reference, TREinstance& from);
  static TREinstanceComplex* bindFrom(TREinstance& reference);
};

// Items of a collection on the way: by position, or by the item's identity member.
struct TREcppRelationshipReferenceStepIndex {
  static constexpr bool named = false;
};
struct TREcppRelationshipReferenceStepNamed {
  static constexpr bool named = true;
};
// From the root, or from the object that holds the member.
struct TREcppRelationshipReferencePathAbsolute {
  static constexpr bool relative = false;
};
struct TREcppRelationshipReferencePathRelative {
  static constexpr bool relative = true;
};

// The path texts of these references ("/Items[2]", "../Children[Name='x']") and the two ends.
COLstring TREcppReferencePathFrom(TREinstanceComplex& to, TREinstanceComplex& from, bool relative, bool named);
void TREcppReferenceCreatePath(TREinstanceComplex& to, TREinstanceComplex& reference, TREinstanceComplex& from,
                               bool relative, bool named);
TREinstanceComplex* TREcppReferenceBindPath(TREinstanceComplex& reference, TREinstanceComplex& from);

template <class Step, class Path>
struct TREcppRelationshipReferenceT : TREcppRelationshipReference {
  static void createFrom(TREinstance& to, TREinstanceComplex& reference, TREinstance& from) {
    COL_PRECONDITION_TEXT(to.classType() == TREinstance::eComplex, "To.classType() == eComplex");
    COL_PRECONDITION_TEXT(from.classType() == TREinstance::eComplex, "From.classType() == eComplex");
    TREcppReferenceCreatePath(static_cast<TREinstanceComplex&>(to), reference,
                              static_cast<TREinstanceComplex&>(from), Path::relative, Step::named);
  }
  static TREinstanceComplex* bindFrom(TREinstance& reference, TREinstanceComplex& from) {
    COL_PRECONDITION_TEXT(reference.classType() == TREinstance::eComplex, "Instance.classType() == eComplex");
    return TREcppReferenceBindPath(static_cast<TREinstanceComplex&>(reference), from);
  }
};

namespace TREcppDetail {
// The object an item or member node leads to under relationship R, or null.
template <class T, class R>
T* follow(TREinstanceComplex& node, TREinstanceComplex& holder) {
  TREinstanceComplex* target = &node;
  if constexpr (R::isReference) {
    if constexpr (std::is_same_v<R, TREcppRelationshipReferenceId>)
      target = R::bindFrom(node);
    else
      target = R::bindFrom(node, holder);
  }
  (void)holder;
  return target ? &TREcppClass::boundObject<T>(*target) : nullptr;
}

template <class T, class R>
void point(TREinstanceComplex& node, TREinstanceComplex& holder, T* target) {
  if (!target) {
    // An empty reference: no element.
    TREinstanceSimple* elements = node.member("Element");
    if (elements && elements->vector()) elements->vector()->clear();
    return;
  }
  COL_PRECONDITION_TEXT(target->instance() != nullptr, "pTarget->instance() != NULL");
  R::createFrom(*target->instance(), node, holder);
}

template <class T, class R>
TREtypeComplex& itemType() {
  if constexpr (R::isReference)
    return R::type();
  else
    return TREcppClass::typeOf<T>();
}
}  // namespace TREcppDetail

template <class T>
class TREcppMemberComplex : public TREcppMemberBaseT<T, TREinstanceComplex> {
public:
  // The child object, made on first use and owned by its node.
  T& get() const { return TREcppClass::boundObject<T>(this->instance()); }
  T* operator->() const { return &get(); }
  const TREtype& memberType() const override { return TREcppClass::typeOf<T>(); }
};

// A single complex member.  Owned: the child object.  A reference: the object it names, or
// null; assigning an object (bound to a node of the same tree) points the reference at it.
template <class T, class Relationship = TREcppRelationshipOwner>
class TREcppMember : public TREcppMemberComplex<T> {
public:
  using R = Relationship;
  decltype(auto) get() const {
    if constexpr (R::isReference)
      return TREcppDetail::follow<T, R>(this->instance(), *this->owner());
    else
      return TREcppMemberComplex<T>::get();
  }
  auto operator->() const {
    if constexpr (R::isReference) {
      T* target = get();
      COL_PRECONDITION_TEXT(target != nullptr, "pTarget != NULL");
      return target;
    } else {
      return &get();
    }
  }
  TREcppMember& operator=(T* target) requires(R::isReference) {
    TREcppDetail::point<T, R>(this->instance(), *this->owner(), target);
    return *this;
  }
  TREcppMember& operator=(T& target) requires(R::isReference) { return *this = &target; }
  const TREtype& memberType() const override { return TREcppDetail::itemType<T, R>(); }
};

// A collection member.  Items are read from the collection the current version sees, so a
// version switch or a change by another hand never leaves a stale item behind.
template <class T, class Relationship = TREcppRelationshipOwner>
class TREcppMemberVector : public TREcppMemberBaseT<T, TREinstanceVector> {
public:
  using R = Relationship;
  size_t size() const { return items().size(); }
  bool empty() const { return size() == 0; }
  // Owned: the item object.  A reference: the object item i names, or null.
  decltype(auto) operator[](size_t i) const {
    TREinstanceVector& list = items();
    COL_PRECONDITION_TEXT(i < list.size(), "Index < size()");
    T* object = TREcppDetail::follow<T, R>(list.complexItem(i), *this->owner());
    if constexpr (R::isReference)
      return object;
    else
      return *object;
  }
  T& push_back() requires(!R::isReference) { return TREcppClass::boundObject<T>(*items().push_back().complex()); }
  void push_back(T& target) requires(R::isReference) {
    TREinstanceComplex& node = *items().push_back().complex();
    TREcppDetail::point<T, R>(node, *this->owner(), &target);
  }
  void remove(size_t i) { items().remove(i); }
  void clear() { items().clear(); }
  uint32_t minOccurs() const override { return 0; }
  uint32_t maxOccurs() const override { return 0xFFFFFFFF; }
  const TREtype& memberType() const override { return TREcppDetail::itemType<T, R>(); }

private:
  TREinstanceVector& items() const { return this->instance(); }
};

// A member read through "*" and "->".
template <class M>
class TREcppMemberDeref : public M {
public:
  using M::operator=;
  // A reference that names nothing raises rather than give a null object.
  decltype(auto) operator*() const {
    if constexpr (std::is_pointer_v<decltype(this->get())>) {
      auto* target = this->get();
      COL_PRECONDITION_TEXT(target != nullptr, "pTarget != NULL");
      return *target;
    } else {
      return this->get();
    }
  }
};
