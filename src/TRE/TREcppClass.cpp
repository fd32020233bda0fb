#include "TREcppClass.h"

#include <mutex>

#include "COLerror.h"
#include "TREcppMember.h"
#include "TREpath.h"
#include "TREreference.h"

// --- TREcppClass

TREcppClass::~TREcppClass() {
  if (m_Instance && m_Instance->cppClass() == this) m_Instance->setCppClass(nullptr);
}

TREtypeComplex& TREcppClass::type() {
  static TREtypeComplex& Generic = [] () -> TREtypeComplex& {
    std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
    return TREtypeComplex::getType(typeName(), nullptr, "Variant type for all TREcppClasses");
  }();
  return Generic;
}

void TREcppClass::onInstanceDisconnect(TREinstanceComplex& instance) {
  if (m_Instance != &instance) return;
  _initializeMembers(nullptr, nullptr, 0);
  m_Instance = nullptr;
}

[[noreturn]] void TREcppClass::unrelated(const TREtypeComplex& from, const TREtypeComplex& to) {
  throw COLerror(COLstring("Cannot convert unrelated types, from: ") + from.name() + " to " + to.name(),
                 COL_ERROR_PRECONDITION);
}

void TREcppClass::initialize(TREinstanceComplex* instance) {
  COL_PRECONDITION_TEXT(instance != nullptr, "pInstance != NULL");
  TREtypeComplex& classType = _initializeType(instance);
  TREtypeComplex* present = instance->type();
  // The type is settled before anything changes, so that a refusal leaves both as they were.
  bool takeClassType = !present || present == &TREcppClass::type() || classType.isDerivedFrom(*present);
  if (!takeClassType && !present->isDerivedFrom(classType)) unrelated(*present, classType);
  if (m_Instance && m_Instance != instance) {
    _initializeMembers(nullptr, nullptr, 0);
    if (m_Instance->cppClass() == this) m_Instance->setCppClass(nullptr);
  }
  // One object per node: one bound before lets go.
  if (TREcppClass* previous = instance->cppClass(); previous && previous != this) {
    previous->onInstanceDisconnect(*instance);
    instance->setCppClass(nullptr);
  }
  m_Instance = instance;
  m_ClassType = &classType;
  if (takeClassType && present != &classType) instance->setType(classType);
  instance->setCppClass(this);
  _initializeMembers(instance, nullptr, 0);
  onInitialized();
}

TREinstanceComplex* TREcppClass::parentComplex() const {
  TREinstance* up = m_Instance ? TREpathParent(*m_Instance) : nullptr;
  while (up && up->classType() == TREinstance::eVector) up = TREpathParent(*up);
  return static_cast<TREinstanceComplex*>(up);
}

void TREcppClass::copy(const TREcppClass& other) {
  COL_PRECONDITION_TEXT(m_Instance != nullptr && other.m_Instance != nullptr,
                        "pInstance != NULL && Orig.pInstance != NULL");
  m_Instance->copyAllInstanceData(*other.m_Instance);
}

TREtypeComplex& TREcppClass::initializeTypeBase(const char* name, const char* description,
                                                TREcreateCppClassFunction create, bool& wasEmpty,
                                                bool cascadeLock) {
  std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
  TREtypeComplex& type = TREtypeComplex::getType(name, create, description);
  wasEmpty = type.countOfMember() == 0;
  if (cascadeLock) type.setCascadeLock(true);
  return type;
}

void TREcppClass::initializeDerivedType(TREtypeComplex& derived, TREtypeComplex& base) {
  if (!derived.hasBaseType()) derived.setBaseType(base);
  if (derived.baseType() != &base)
    throw COLerror(COLstring("The type ") + derived.name() + " was declared before with another base.",
                   COL_ERROR_PRECONDITION);
}

void TREcppClass::declareMember(TREtypeComplex& type, uint16_t index, const char* name, uint32_t minOccurs,
                                uint32_t maxOccurs, const TREtype& memberType, unsigned flags) {
  // A derived class walks its base's members first; those belong to the base type.
  if (index < type.countOfBaseMember()) return;
  if (index == type.countOfMember())
    type.addMember(name, minOccurs, maxOccurs, memberType, flags & Identity, flags & Global);
  // A type that a file declared first must have the class's member at the class's index.
  if (type.memberIndex(name) != index)
    throw COLerror(COLstring("The type ") + type.name() + " was declared before with other members.",
                   COL_ERROR_PRECONDITION);
}

// --- TREcppMemberBase

void TREcppMemberBase::attachToInstance(TREinstanceComplex& owner, uint16_t index) {
  detachFromInstance();
  m_Owner = &owner;
  m_Index = index;
  refresh();
}

void TREcppMemberBase::detachFromInstance() {
  if (m_Listened && m_Listened->cppMember() == this) m_Listened->setCppMember(nullptr);
  m_Listened = nullptr;
  m_Slot = nullptr;
  m_Owner = nullptr;
  versionClear();
}

void TREcppMemberBase::verifyInstance() const {
  if (!m_Owner)
    throw COLerror(
        "Class member has not been initialized. Member probably was not listed in the initialization list of the "
        "declaration.",
        COL_ERROR_RESOURCE);
}

TREinstanceSimple& TREcppMemberBase::refresh() const {
  verifyInstance();
  TREinstanceSimple& found = m_Owner->member(m_Index);
  if (&found != m_Listened) {
    if (m_Listened && m_Listened->cppMember() == this) m_Listened->setCppMember(nullptr);
    found.setCppMember(const_cast<TREcppMemberBase*>(this));
    m_Listened = &found;
  }
  m_Slot = &found;
  m_Version = versionOf(*m_Owner);
  return found;
}

void TREcppMemberBase::onInstanceEvent(TREevent event, TREinstance& instance) {
  if (event != TREevent::Disconnect || &instance != m_Listened) return;
  // The slot is going: the next read looks for the one the version has then.
  m_Listened = nullptr;
  m_Slot = nullptr;
  versionClear();
}

// --- relationships

TREtypeComplex& TREcppRelationshipReference::type() {
  TREregisterReferenceTypes();
  return TREtypeComplex::getType("Reference");
}

void TREcppRelationshipReferenceId::createFrom(TREinstance& to, TREinstanceComplex& reference, TREinstance& from) {
  COL_PRECONDITION_TEXT(to.classType() == TREinstance::eComplex, "To.classType() == eComplex");
  COL_PRECONDITION_TEXT(from.classType() == TREinstance::eComplex, "From.classType() == eComplex");
  TREreferenceSetById(reference, &static_cast<TREinstanceComplex&>(to));
}

TREinstanceComplex* TREcppRelationshipReferenceId::bindFrom(TREinstance& reference) {
  COL_PRECONDITION_TEXT(reference.classType() == TREinstance::eComplex, "Instance.classType() == eComplex");
  return TREreferenceBind(static_cast<TREinstanceComplex&>(reference));
}
