#include "TREtype.h"

#include <mutex>

#include "COLerror.h"

namespace {
std::mutex GlobalLock;
TREnamespace* GlobalInstance = nullptr;

using Guard = std::lock_guard<COLcriticalSection>;
}  // namespace

// --- TREtype

TREtype& TREtype::getType(const COLstring& name) { return TREnamespace::instance().getType(name); }
TREtype* TREtype::getType_(const COLstring& name) { return TREnamespace::instance().findType(name); }

TREtypeSimple& TREtypeSimple::getType(TREbaseType base) { return TREnamespace::instance().getSimpleType(base); }

TREtype& TREtypeComplexMember::type() const {
  if (!m_Type) m_Type = &TREtype::getType(typeName);
  return *m_Type;
}

// --- TREtypeComplex

TREtypeComplex& TREtypeComplex::getType(const COLstring& name, TREcreateCppClassFunction create,
                                        const char* description) {
  return TREnamespace::instance().getComplexType(name, create, description);
}

void TREtypeComplex::addMember(const COLstring& name, uint32_t minOccurs, uint32_t maxOccurs, const TREtype& type,
                               bool identity, bool global) {
  Guard guard(TREnamespace::instance().criticalSection());
  // Derived types number their own members after the base's: the base can't grow under them.
  COL_PRECONDITION_TEXT(m_Derived.empty(), "countOfDerivedType() == 0");
  if (m_CountOfMember == 0xFFFF) throw COLerror("A type can't have more than 65534 members.", COL_ERROR_PRECONDITION);
  TREtypeComplexMember member;
  member.name = name;
  member.minOccurs = minOccurs;
  member.maxOccurs = maxOccurs;
  member.typeName = type.name();
  member.identity = identity;
  member.global = global;
  uint16_t index = uint16_t(m_Members.size() + m_CountOfBaseMember);
  m_Members.push_back(std::move(member));
  m_MemberMap.emplace(name, index);
  ++m_CountOfMember;
  if (identity) m_Identity.push_back(index);
}

const TREtypeComplexMember& TREtypeComplex::member(uint16_t index) const {
  if (index < m_CountOfBaseMember) return m_Base->member(index);
  COL_PRECONDITION_TEXT(index < m_CountOfMember, "MemberIndex < CountOfMember");
  return m_Members[index - m_CountOfBaseMember];
}

uint16_t TREtypeComplex::memberIndex(const COLstring& name) const {
  for (const TREtypeComplex* type = this; type; type = type->m_Base) {
    auto found = type->m_MemberMap.find(name);
    if (found != type->m_MemberMap.end()) return found->second;
  }
  return npos;
}

const TREtypeComplexMember* TREtypeComplex::getMember(const COLstring& name) const {
  uint16_t index = memberIndex(name);
  return index == npos ? nullptr : &member(index);
}

void TREtypeComplex::setBaseType(TREtypeComplex& base) {
  Guard guard(TREnamespace::instance().criticalSection());
  if (m_Base) return;
  // A base that is this type or derives from it would make the chain a loop.
  COL_PRECONDITION_TEXT(!base.isDerivedFrom(*this), "!Base.isDerivedFrom(*this)");
  COL_PRECONDITION_TEXT(m_Members.empty(), "countOfOwnMember() == 0");
  COL_PRECONDITION_TEXT(m_Derived.empty(), "countOfDerivedType() == 0");
  m_Base = &base;
  m_CountOfBaseMember = base.countOfMember();
  m_CountOfMember = uint16_t(m_CountOfMember + m_CountOfBaseMember);
  base.m_Derived.push_back(this);
}

bool TREtypeComplex::isDerivedFrom(const TREtypeComplex& type) const {
  for (const TREtypeComplex* chain = this; chain; chain = chain->m_Base)
    if (chain == &type) return true;
  return false;
}

TREcppClass* TREtypeComplex::createCppClass() const {
  COL_PRECONDITION_TEXT(m_Create != nullptr, "pMember->pCreateCppClassFunction != NULL");
  return m_Create();
}

// --- TREnamespace

TREnamespace::TREnamespace() { initAllSimpleTypes(); }

TREnamespace& TREnamespace::instance() {
  TREnamespace* existing = __atomic_load_n(&GlobalInstance, __ATOMIC_ACQUIRE);
  if (existing) return *existing;
  std::lock_guard<std::mutex> guard(GlobalLock);
  if (!GlobalInstance) __atomic_store_n(&GlobalInstance, new TREnamespace(), __ATOMIC_RELEASE);
  return *GlobalInstance;
}

void TREnamespace::shutdown() {
  std::lock_guard<std::mutex> guard(GlobalLock);
  delete GlobalInstance;
  GlobalInstance = nullptr;
}

void TREnamespace::initAllSimpleTypes() {
  static const TREbaseType Simple[] = {TREbaseType::String,   TREbaseType::Boolean, TREbaseType::TinyInteger,
                                       TREbaseType::SmallInteger, TREbaseType::Integer, TREbaseType::DateTime,
                                       TREbaseType::Float,    TREbaseType::LargeInteger, TREbaseType::Double,
                                       TREbaseType::Binary};
  for (TREbaseType base : Simple) getSimpleType(base);
}

TREtype* TREnamespace::findType(const COLstring& name) {
  Guard guard(m_Lock);
  auto found = m_Names.find(name);
  return found == m_Names.end() ? nullptr : found->second;
}

TREtype& TREnamespace::getType(const COLstring& name) {
  TREtype* type = findType(name);
  if (!type) throw COLerror(COLstring("The following type is not registered: ") + name, COL_ERROR_RESOURCE);
  return *type;
}

TREtypeComplex& TREnamespace::getComplexType(const COLstring& name, TREcreateCppClassFunction create,
                                             const char* description) {
  Guard guard(m_Lock);
  TREtype* type = findType(name);
  if (type) {
    COL_PRECONDITION_TEXT(type->classType() == TREtype::eComplex, "pType->classType() == eComplex");
  } else {
    auto made = std::make_unique<TREtypeComplex>(name);
    if (description) made->setDescription(description);
    type = made.get();
    m_Names.emplace(name, type);
    m_Complex.push_back(std::move(made));
  }
  auto& complex = static_cast<TREtypeComplex&>(*type);
  if (create) complex.setCreateCppClassFunction(create);
  return complex;
}

TREtypeSimple& TREnamespace::getSimpleType(TREbaseType base) {
  Guard guard(m_Lock);
  auto& slot = m_Simple[unsigned(base)];
  if (!slot) {
    slot = std::make_unique<TREtypeSimple>(base);
    m_Names.emplace(slot->name(), slot.get());
  }
  return *slot;
}
