#include "TREinstance.h"

#include <algorithm>
#include <mutex>

#include "COLerror.h"
#include "TREcppMember.h"
#include "TREreference.h"

namespace {
[[noreturn]] void raise(const COLstring& text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

// Walks every node of a subtree, all versions' data included.
template <class SimpleFn, class ComplexFn, class VectorFn>
void walk(TREinstanceSimple& slot, SimpleFn& simple, ComplexFn& complex, VectorFn& vector);

template <class SimpleFn, class ComplexFn, class VectorFn>
void walkComplex(TREinstanceComplex& node, SimpleFn& simple, ComplexFn& complex, VectorFn& vector) {
  complex(node);
  for (uint16_t i = 0; i < node.defaultCountOfMember(); ++i) walk(node.defaultChild(i), simple, complex, vector);
}

template <class SimpleFn, class ComplexFn, class VectorFn>
void walk(TREinstanceSimple& slot, SimpleFn& simple, ComplexFn& complex, VectorFn& vector) {
  if (TREinstanceComplex* contained = slot.complex()) {
    walkComplex(*contained, simple, complex, vector);
  } else if (TREinstanceVector* items = slot.vector()) {
    vector(*items);
    for (uint16_t i = 0; i < items->defaultSize(); ++i) walk(items->defaultChild(i), simple, complex, vector);
  } else {
    simple(slot);
  }
}

bool same(const TREvariant& a, const TREvariant& b) { return a.baseType() == b.baseType() && a.compare(b) == 0; }

// How many entries of a per-version list point at `index`.
size_t users(const std::vector<uint16_t>& versions, uint16_t index) {
  return size_t(std::count(versions.begin(), versions.end(), index));
}
}  // namespace

// --- TREinstance

TREinstance& TREinstance::toInstance(TREinstanceSimple& simple) {
  if (TREinstanceComplex* complex = simple.complex()) return *complex;
  if (TREinstanceVector* vector = simple.vector()) return *vector;
  return simple;
}

namespace {
std::mutex HooksLock;
// Never destroyed: trees that outlive static destruction may still look here.
auto& Hooks = *new std::unordered_map<const TREinstance*, std::unique_ptr<TREinstanceHooks>>();
}  // namespace

TREinstanceHooks& TREinstance::hooks() {
  std::lock_guard<std::mutex> guard(HooksLock);
  std::unique_ptr<TREinstanceHooks>& entry = Hooks[this];
  if (!entry) entry = std::make_unique<TREinstanceHooks>();
  m_Hooked = true;
  return *entry;
}

TREinstanceHooks* TREinstance::findHooks() const {
  if (!m_Hooked) return nullptr;
  std::lock_guard<std::mutex> guard(HooksLock);
  auto found = Hooks.find(this);
  return found == Hooks.end() ? nullptr : found->second.get();
}

void TREinstance::releaseHooks() {
  std::unique_ptr<TREinstanceHooks> gone;
  {
    std::lock_guard<std::mutex> guard(HooksLock);
    auto found = Hooks.find(this);
    if (found == Hooks.end()) return;
    gone = std::move(found->second);
    Hooks.erase(found);
  }
  m_Hooked = false;
}

TREcppMemberBase* TREinstance::cppMember() const {
  TREinstanceHooks* found = findHooks();
  return found ? found->cppMember : nullptr;
}

void TREinstance::listen(TREeventsInstance* listener) {
  COL_PRECONDITION_TEXT(listener != nullptr, "pListener != NULL");
  TREinstanceHooks& h = hooks();
  if (!h.dispatcher) h.dispatcher = std::make_unique<TREeventDispatcher>();
  h.dispatcher->listen(listener, nullptr);
}

void TREinstance::listen(TREeventsInstanceVector* listener) {
  COL_PRECONDITION_TEXT(listener != nullptr, "pListener != NULL");
  TREinstanceHooks& h = hooks();
  if (!h.dispatcher) h.dispatcher = std::make_unique<TREeventDispatcher>();
  h.dispatcher->listen(listener, listener);
}

bool TREinstance::unlisten(const TREeventsInstance* listener) {
  TREinstanceHooks* found = findHooks();
  return found && found->dispatcher && found->dispatcher->unlisten(listener);
}

void TREinstance::setCppMember(TREcppMemberBase* member) {
  if (member || m_Hooked) hooks().cppMember = member;
}

void TREinstance::notify(TREevent event, size_t index) {
  TREinstanceHooks* found = findHooks();
  if (!found) return;
  if (TREcppMemberBase* member = found->cppMember) member->onInstanceEvent(event, *this);
  // The member may have let go of the node; look again.
  found = findHooks();
  if (found && found->dispatcher) found->dispatcher->dispatch(event, *this, index);
}

void TREeventDispatcher::listen(TREeventsInstance* listener, TREeventsInstanceVector* vectorListener) {
  m_Listeners.push_back(Entry{listener, vectorListener});
}

bool TREeventDispatcher::unlisten(const TREeventsInstance* listener) {
  for (auto entry = m_Listeners.begin(); entry != m_Listeners.end(); ++entry)
    if (entry->listener == listener) {
      // Cleared in place while a dispatch runs over the list, removed otherwise.
      if (m_Dispatching) entry->listener = nullptr, entry->vectorListener = nullptr;
      else m_Listeners.erase(entry);
      return true;
    }
  return false;
}

void TREeventDispatcher::dispatch(TREevent event, TREinstance& instance, size_t index) {
  bool outer = !m_Dispatching;
  m_Dispatching = true;
  // By position: a listener may register another while it is told.
  for (size_t i = 0; i < m_Listeners.size(); ++i) {
    TREeventsInstance* listener = m_Listeners[i].listener;
    TREeventsInstanceVector* items = m_Listeners[i].vectorListener;
    if (!listener) continue;
    // Only a collection raises the item events.
    auto vector = [&instance]() -> TREinstanceVector& { return static_cast<TREinstanceVector&>(instance); };
    switch (event) {
      case TREevent::Update: listener->onUpdate(instance); break;
      case TREevent::Delete: listener->onDelete(instance); break;
      case TREevent::Disconnect: listener->onDisconnect(instance); break;
      case TREevent::Uninitialize: listener->onUninitialize(instance); break;
      case TREevent::Initialize: listener->onInitialize(instance); break;
      case TREevent::ChildNew: if (items) items->onChildNew(vector(), index); break;
      case TREevent::Resize: if (items) items->onResize(vector(), index); break;
      case TREevent::ChildBeforeRemove: if (items) items->onChildBeforeRemove(vector(), index); break;
      case TREevent::ChildAfterRemove: if (items) items->onChildAfterRemove(vector(), index); break;
      case TREevent::Clear: if (items) items->onClear(vector()); break;
      case TREevent::ResetCache: if (items) items->onResetCache(vector()); break;
    }
  }
  if (outer) {
    m_Dispatching = false;
    std::erase_if(m_Listeners, [](const Entry& entry) { return entry.listener == nullptr; });
  }
}

bool TREinstance::isUnversioned() const { return !m_Root || m_Root->countOfVersion() < 2 || m_Global; }
uint16_t TREinstance::currentVersion() const { return m_Root ? m_Root->currentVersion() : 0; }

// --- TREinstanceSimple

void TREinstanceSimple::initInstance(EClassType classType, const TREtype* type, TRErootInstance* root,
                                     TREinstance* parent, bool global) {
  m_Root = root;
  m_Parent = parent;
  m_Global = global || (parent && parent->m_Cascade && parent->m_Global);
  m_Cascade = (parent && parent->m_Cascade) || (type && type->isCascadeLock());
  switch (classType) {
    case eComplex: {
      COL_PRECONDITION_TEXT(type && type->classType() == TREtype::eComplex, "Type.classType() == eComplex");
      m_Class = eComplex;
      if (!m_Value.complex()) m_Value.attachComplex(new TREinstanceComplex());
      TREinstanceComplex& complex = *m_Value.complex();
      complex.fixupBase(root, this, m_Global, m_Cascade);
      if (!complex.m_Type) {
        complex.m_Type = const_cast<TREtypeComplex*>(static_cast<const TREtypeComplex*>(type));
        complex.m_GenericType = true;
      }
      break;
    }
    case eVector: {
      m_Class = eVector;
      if (!m_Value.vector()) m_Value.attachVector(new TREinstanceVector());
      TREinstanceVector& vector = *m_Value.vector();
      vector.m_Root = root;
      vector.m_Parent = this;
      vector.m_Global = m_Global;
      vector.m_Cascade = m_Cascade;
      vector.m_ItemType = type;
      break;
    }
    case eSimple:
      COL_PRECONDITION_TEXT(!type || type->classType() == TREtype::eSimple, "Type.classType() == eSimple");
      m_Class = eSimple;
      break;
    default: raise("Incorrect data type.");
  }
}

const TREvariant& TREinstanceSimple::value() const { return valueAt(currentVersion()); }

const TREvariant& TREinstanceSimple::valueAt(uint16_t version) const {
  if (m_Versions && version < m_Versions->versions.size()) {
    uint16_t index = m_Versions->versions[version];
    if (index != TREnoIndex) return m_Versions->values[index];
  }
  return m_Value;
}

TREvariant& TREinstanceSimple::writableValue() {
  beforeWrite();
  return const_cast<TREvariant&>(value());
}

void TREinstanceSimple::assign(const TREvariant& newValue) {
  const TREvariant& present = value();
  if (present.baseType() == newValue.baseType() && present.compare(newValue) == 0) return;
  setValue(newValue);
}

TREvariant& TREinstanceSimple::value(uint16_t index) {
  COL_PRECONDITION_TEXT(m_Versions != nullptr, "pVersions != NULL");
  COL_PRECONDITION_TEXT(index < m_Versions->values.size(), "ValueIndex < Values.size()");
  return m_Versions->values[index];
}

TREvariant& TREinstanceSimple::addValue() {
  ensureVersionsInitialized();
  if (m_Versions->values.size() >= TREnoIndex) raise("A value can't have more than 65534 versions of its own.");
  return m_Versions->values.emplace_back();
}

uint16_t TREinstanceSimple::valueIndexFromVersion(uint16_t version) const {
  COL_PRECONDITION_TEXT(m_Versions != nullptr, "pVersions != NULL");
  return version < m_Versions->versions.size() ? m_Versions->versions[version] : TREnoIndex;
}

void TREinstanceSimple::setValueIndexForVersion(uint16_t version, uint16_t index) {
  ensureVersionsInitialized();
  COL_PRECONDITION_TEXT(version < m_Versions->versions.size(), "Version < Versions.size()");
  COL_PRECONDITION_TEXT(index == TREnoIndex || index < m_Versions->values.size(),
                        "ValueIndex == 0xFFFF || ValueIndex < Values.size()");
  m_Versions->versions[version] = index;
}

void TREinstanceSimple::ensureVersionsInitialized() {
  if (m_Versions) return;
  m_Versions = std::make_unique<Versions>();
  m_Versions->versions.assign(m_Root ? m_Root->countOfVersion() : 1, TREnoIndex);
}

bool TREinstanceSimple::isValueShared(uint16_t index) const {
  return m_Versions && users(m_Versions->versions, index) >= 2;
}

void TREinstanceSimple::beforeWrite() { beforeWrite(currentVersion()); }

void TREinstanceSimple::beforeWrite(uint16_t version) {
  if (m_Root) m_Root->setDirty();
  if (isUnversioned()) return;
  ensureVersionsInitialized();
  if (version == TREnoIndex || version >= m_Versions->versions.size()) return;
  uint16_t index = m_Versions->versions[version];
  if (!isValueShared(index)) return;
  const TREvariant& shared = index == TREnoIndex ? m_Value : m_Versions->values[index];
  TREvariant copy = shared;
  addValue() = std::move(copy);
  m_Versions->versions[version] = uint16_t(m_Versions->values.size() - 1);
}

// --- TREinstanceComplex

TREinstanceComplex::~TREinstanceComplex() {
  doDisconnect();
  if (m_Hooked) releaseHooks();
  if (m_OwnsCppClass) delete m_CppClass;
  if (m_ObjectId && m_Root) m_Root->removeInstance(*this);
}

void TREinstanceComplex::setCppClass(TREcppClass* cppClass, bool owned) {
  if (m_OwnsCppClass && m_CppClass != cppClass) {
    // The object this node made for itself goes; it must not clear the pointer it loses.
    TREcppClass* previous = m_CppClass;
    m_CppClass = nullptr;
    m_OwnsCppClass = false;
    previous->onInstanceDisconnect(*this);
    delete previous;
  }
  m_CppClass = cppClass;
  m_OwnsCppClass = cppClass && owned;
}

void TREinstanceComplex::doDisconnect() {
  if (m_CppClass) m_CppClass->onInstanceDisconnect(*this);
  TREinstance::doDisconnect();
}

void TREinstanceComplex::fixupBase(TRErootInstance* root, TREinstance* parent, bool global, bool cascade) {
  m_Root = root;
  m_Parent = parent;
  m_Global = global;
  m_Cascade = cascade || (m_Type && m_Type->isCascadeLock());
}

TREtypeComplex* TREinstanceComplex::type() const {
  if (m_Versions && !m_Versions->types.empty()) {
    uint16_t version = currentVersion();
    if (version < m_Versions->versions.size()) return m_Versions->types[m_Versions->versions[version]].type;
  }
  return m_Type;
}

void TREinstanceComplex::setDefaultType(TREtypeComplex& type) {
  m_Type = &type;
  m_GenericType = false;
  if (type.isCascadeLock()) m_Cascade = true;
}

void TREinstanceComplex::setType(TREtypeComplex& newType) {
  if (m_Root) m_Root->setDirty();
  if (!m_Versions || m_Versions->types.empty()) {
    // A node that still has the type its member declared takes its first real type for all
    // versions, as one that had no type at all.
    if (!m_Type || m_Type == &newType || isUnversioned() || m_GenericType) {
      m_GenericType = false;
      setDefaultType(newType);
      doUpdate();
      return;
    }
    ensureVersionsInitialized();
  }
  uint16_t entry = initializeType(newType, false);
  m_Versions->versions[currentVersion()] = entry;
  doUpdate();
}

void TREinstanceComplex::ensureVersionsInitialized() {
  if (m_Versions && !m_Versions->types.empty()) return;
  if (!m_Versions) m_Versions = std::make_unique<Versions>();
  ensureChildrenOf(*m_Type);
  uint16_t entry = initializeType(*m_Type, true);
  m_Versions->versions.assign(m_Root ? m_Root->countOfVersion() : 1, entry);
}

uint16_t TREinstanceComplex::initializeType(TREtypeComplex& type, bool keepSlots) {
  for (size_t i = 0; i < m_Versions->types.size(); ++i)
    if (m_Versions->types[i].type == &type) return uint16_t(i);
  uint16_t baseEntry = type.baseType() ? initializeType(*type.baseType(), keepSlots) : TREnoIndex;
  TypeInfo info{&type, baseEntry, {}};
  for (uint16_t k = 0; k < type.countOfOwnMember(); ++k) {
    uint16_t slot = uint16_t(type.countOfBaseMember() + k);
    if (!keepSlots) {
      if (m_Children.size() >= TREnoIndex) raise("A complex instance can't have more than 65534 slots.");
      slot = uint16_t(m_Children.size());
      m_Children.push_back(std::make_unique<TREinstanceSimple>());
      setMember(slot, type.ownMember(k));
    }
    info.slots.push_back(slot);
  }
  m_Versions->types.push_back(std::move(info));
  return uint16_t(m_Versions->types.size() - 1);
}

uint16_t TREinstanceComplex::addType(TREtypeComplex& type) {
  if (!m_Versions) m_Versions = std::make_unique<Versions>();
  if (m_Versions->types.size() >= TREnoIndex) raise("A complex instance can't have more than 65534 types.");
  uint16_t baseEntry = TREnoIndex;
  if (type.baseType())
    for (size_t i = 0; i < m_Versions->types.size(); ++i)
      if (m_Versions->types[i].type == type.baseType()) baseEntry = uint16_t(i);
  m_Versions->types.push_back(TypeInfo{&type, baseEntry, std::vector<uint16_t>(type.countOfOwnMember(), TREnoIndex)});
  if (m_Versions->versions.empty()) m_Versions->versions.assign(m_Root ? m_Root->countOfVersion() : 1, 0);
  return uint16_t(m_Versions->types.size() - 1);
}

bool TREinstanceComplex::setMemberSlot(uint16_t typeIndex, uint16_t own, uint16_t slot) {
  COL_PRECONDITION_TEXT(m_Versions && typeIndex < m_Versions->types.size(), "TypeIndex < Types.size()");
  TypeInfo& info = m_Versions->types[typeIndex];
  COL_PRECONDITION_TEXT(own < info.slots.size(), "MemberIndex < countOfOwnMember()");
  COL_PRECONDITION_TEXT(slot < TREnoIndex, "Slot < 0xFFFF");
  while (m_Children.size() <= slot) m_Children.push_back(std::make_unique<TREinstanceSimple>());
  if (info.slots[own] != TREnoIndex || m_Children[slot]->m_Parent) return false;
  info.slots[own] = slot;
  setMember(slot, info.type->ownMember(own));
  return true;
}

void TREinstanceComplex::completeType(uint16_t typeIndex) {
  TypeInfo& info = m_Versions->types[typeIndex];
  for (uint16_t own = 0; own < info.slots.size(); ++own) {
    if (info.slots[own] != TREnoIndex) continue;
    if (m_Children.size() >= TREnoIndex) raise("A complex instance can't have more than 65534 slots.");
    setMemberSlot(typeIndex, own, uint16_t(m_Children.size()));
  }
}

void TREinstanceComplex::setTypeIndexForVersion(uint16_t version, uint16_t typeIndex) {
  COL_PRECONDITION_TEXT(m_Versions && typeIndex < m_Versions->types.size(), "TypeIndex < Types.size()");
  COL_PRECONDITION_TEXT(version < m_Versions->versions.size(), "Version < Versions.size()");
  m_Versions->versions[version] = typeIndex;
}

uint16_t TREinstanceComplex::slotOfMember(uint16_t typeIndex, uint16_t memberIndex) const {
  const TypeInfo& info = m_Versions->types[typeIndex];
  uint16_t baseCount = info.type->countOfBaseMember();
  if (memberIndex < baseCount) {
    COL_PRECONDITION_TEXT(info.baseEntry != TREnoIndex, "BaseEntry != 0xFFFF");
    return slotOfMember(info.baseEntry, memberIndex);
  }
  uint16_t own = uint16_t(memberIndex - baseCount);
  COL_PRECONDITION_TEXT(own < info.slots.size(), "MemberIndex < Slots.size()");
  return info.slots[own];
}

void TREinstanceComplex::setMember(uint16_t slot, const TREtypeComplexMember& member) {
  TREinstanceSimple& child = *m_Children[slot];
  // A slot made before keeps its kind and content.
  if (child.m_Parent) return;
  const TREtype& memberType = member.type();
  bool global = member.global || (m_Cascade && m_Global);
  if (member.isCollection())
    child.initInstance(eVector, &memberType, m_Root, this, global);
  else if (memberType.classType() == TREtype::eComplex)
    child.initInstance(eComplex, &memberType, m_Root, this, global);
  else
    child.initInstance(eSimple, &memberType, m_Root, this, global);
}

void TREinstanceComplex::ensureChildrenOf(const TREtypeComplex& type) {
  if (m_Children.size() >= type.countOfMember()) return;
  size_t first = m_Children.size();
  m_Children.reserve(type.countOfMember());
  while (m_Children.size() < type.countOfMember()) m_Children.push_back(std::make_unique<TREinstanceSimple>());
  for (size_t slot = first; slot < m_Children.size(); ++slot) setMember(uint16_t(slot), type.member(uint16_t(slot)));
}

void TREinstanceComplex::initializeChildren(uint16_t count) {
  if (m_Type) ensureChildrenOf(*m_Type);
  while (m_Children.size() < count) {
    m_Children.push_back(std::make_unique<TREinstanceSimple>());
    m_Children.back()->initInstance(eSimple, nullptr, m_Root, this, m_Cascade && m_Global);
  }
}

uint16_t TREinstanceComplex::countOfMember() const {
  const TREtypeComplex* current = type();
  return current ? current->countOfMember() : 0;
}

TREinstanceSimple& TREinstanceComplex::member(uint16_t index) {
  TREtypeComplex* current = type();
  COL_PRECONDITION_TEXT(current != nullptr, "hasType()");
  COL_PRECONDITION_TEXT(index < current->countOfMember(), "MemberIndex < countOfMember()");
  if (m_Versions && !m_Versions->types.empty())
    return *m_Children[slotOfMember(m_Versions->versions[currentVersion()], index)];
  ensureChildrenOf(*current);
  return *m_Children[index];
}

TREinstanceSimple* TREinstanceComplex::member(const COLstring& name) {
  TREtypeComplex* current = type();
  uint16_t index = current ? current->memberIndex(name) : TREtypeComplex::npos;
  return index == TREtypeComplex::npos ? nullptr : &member(index);
}

bool TREinstanceComplex::hasMember(const COLstring& name) const {
  const TREtypeComplex* current = type();
  return current && current->memberIndex(name) != TREtypeComplex::npos;
}

TREinstanceComplex& TREinstanceComplex::complexMember(uint16_t index) {
  TREinstanceComplex* complex = member(index).complex();
  COL_PRECONDITION_TEXT(complex != nullptr, "Member.classType() == eComplex");
  return *complex;
}

TREinstanceVector& TREinstanceComplex::vectorMember(uint16_t index) {
  TREinstanceVector* vector = member(index).vector();
  COL_PRECONDITION_TEXT(vector != nullptr, "Member.classType() == eVector");
  return *vector;
}

uint32_t TREinstanceComplex::ensureHasObjectId() {
  COL_PRECONDITION_TEXT(m_Root != nullptr, "root() != NULL");
  if (!m_ObjectId) setObjectId(m_Root->nextObjectId(type()->name()));
  return m_ObjectId;
}

void TREinstanceComplex::setObjectId(uint32_t id) {
  COL_PRECONDITION_TEXT(m_Root != nullptr, "root() != NULL");
  if (m_ObjectId) m_Root->removeInstance(*this);
  m_ObjectId = id;
  if (id) m_Root->addInstance(*this);
}

// --- TREinstanceVector

size_t TREinstanceVector::size() const {
  if (m_Versions) {
    uint16_t version = currentVersion();
    if (version < m_Versions->versions.size()) return m_Versions->vectors[m_Versions->versions[version]].size();
  }
  return m_Pool.size();
}

std::vector<uint16_t>* TREinstanceVector::currentList() {
  if (!m_Versions) return nullptr;
  uint16_t version = currentVersion();
  return version < m_Versions->versions.size() ? &m_Versions->vectors[m_Versions->versions[version]] : nullptr;
}

TREinstanceSimple& TREinstanceVector::operator[](size_t i) {
  COL_PRECONDITION_TEXT(i < size(), "Index < size()");
  std::vector<uint16_t>* list = currentList();
  return *m_Pool[list ? (*list)[i] : i];
}

TREinstanceComplex& TREinstanceVector::complexItem(size_t i) {
  TREinstanceComplex* complex = (*this)[i].complex();
  COL_PRECONDITION_TEXT(complex != nullptr, "Item.classType() == eComplex");
  return *complex;
}

void TREinstanceVector::ensureVersionsInitialized() {
  if (m_Versions) return;
  m_Versions = std::make_unique<Versions>();
  std::vector<uint16_t> identity(m_Pool.size());
  for (size_t i = 0; i < identity.size(); ++i) identity[i] = uint16_t(i);
  m_Versions->vectors.push_back(std::move(identity));
  m_Versions->versions.assign(m_Root ? m_Root->countOfVersion() : 1, 0);
}

void TREinstanceVector::beforeWrite() {
  if (m_Root) m_Root->setDirty();
  if (isUnversioned()) return;
  ensureVersionsInitialized();
  uint16_t version = currentVersion();
  uint16_t index = m_Versions->versions[version];
  if (users(m_Versions->versions, index) < 2) return;
  if (m_Versions->vectors.size() >= TREnoIndex) raise("A collection can't have more than 65534 versions of its own.");
  m_Versions->vectors.push_back(m_Versions->vectors[index]);
  m_Versions->versions[version] = uint16_t(m_Versions->vectors.size() - 1);
}

uint16_t TREinstanceVector::newPoolSlot() {
  if (m_Pool.size() >= TREnoIndex) raise("A collection can't hold more than 65534 items.");
  m_Pool.push_back(std::make_unique<TREinstanceSimple>());
  TREinstanceSimple& slot = *m_Pool.back();
  bool complexItems = m_ItemType && m_ItemType->classType() == TREtype::eComplex;
  slot.initInstance(complexItems ? eComplex : eSimple, m_ItemType, m_Root, this, false);
  return uint16_t(m_Pool.size() - 1);
}

TREinstanceSimple& TREinstanceVector::push_back() { return insert(size()); }

TREinstanceSimple& TREinstanceVector::insert(size_t i) {
  COL_PRECONDITION_TEXT(i <= size(), "Index <= size()");
  beforeWrite();
  uint16_t slot = newPoolSlot();
  if (std::vector<uint16_t>* list = currentList()) {
    list->insert(list->begin() + ptrdiff_t(i), slot);
  } else if (i + 1 != m_Pool.size()) {
    std::rotate(m_Pool.begin() + ptrdiff_t(i), m_Pool.end() - 1, m_Pool.end());
  }
  if (m_Hooked) notify(TREevent::ChildNew, i);
  return (*this)[i];
}

void TREinstanceVector::remove(size_t i) {
  COL_PRECONDITION_TEXT(i < size(), "Index < size()");
  if (m_Hooked) notify(TREevent::ChildBeforeRemove, i);
  beforeWrite();
  if (std::vector<uint16_t>* list = currentList())
    list->erase(list->begin() + ptrdiff_t(i));
  else
    m_Pool.erase(m_Pool.begin() + ptrdiff_t(i));
  if (m_Hooked) notify(TREevent::ChildAfterRemove, i);
}

void TREinstanceVector::resize(size_t n) {
  if (n == size()) return;
  while (size() > n) remove(size() - 1);
  while (size() < n) push_back();
  if (m_Hooked) notify(TREevent::Resize, n);
}

void TREinstanceVector::clear() {
  if (size() == 0) return;
  beforeWrite();
  if (std::vector<uint16_t>* list = currentList())
    list->clear();
  else
    m_Pool.clear();
  if (m_Hooked) notify(TREevent::Clear, 0);
}

void TREinstanceVector::defaultResize(uint16_t n) {
  while (m_Pool.size() > n) m_Pool.pop_back();
  m_Pool.reserve(n);
  while (m_Pool.size() < n) newPoolSlot();
}

uint16_t TREinstanceVector::addVector() {
  if (!m_Versions) {
    m_Versions = std::make_unique<Versions>();
    m_Versions->versions.assign(m_Root ? m_Root->countOfVersion() : 1, 0);
  }
  if (m_Versions->vectors.size() >= TREnoIndex) raise("A collection can't have more than 65534 versions of its own.");
  m_Versions->vectors.emplace_back();
  return uint16_t(m_Versions->vectors.size() - 1);
}

void TREinstanceVector::addVectorValueIndex(uint16_t vector, uint16_t poolIndex) {
  COL_PRECONDITION_TEXT(m_Versions && vector < m_Versions->vectors.size(), "VectorIndex < Vectors.size()");
  COL_PRECONDITION_TEXT(poolIndex < m_Pool.size(), "ValueIndex < Children.size()");
  m_Versions->vectors[vector].push_back(poolIndex);
}

void TREinstanceVector::setVectorIndexForVersion(uint16_t version, uint16_t vector) {
  COL_PRECONDITION_TEXT(m_Versions && vector < m_Versions->vectors.size(), "VectorIndex < Vectors.size()");
  COL_PRECONDITION_TEXT(version < m_Versions->versions.size(), "Version < Versions.size()");
  m_Versions->versions[version] = vector;
}

// --- TRErootInstance

TRErootInstance::TRErootInstance() { clear(); }

// The id maps go first, so that the objects of a tree that goes whole don't each look
// themselves up to leave them.
TRErootInstance::~TRErootInstance() {
  m_Objects.clear();
  m_Instance.reset();
}

void TRErootInstance::clear() {
  m_Objects.clear();
  m_Instance.reset();
  m_Instance = std::make_unique<TREinstanceComplex>();
  m_Instance->m_Root = this;
  m_CountOfVersion = 1;
  m_CurrentVersion = 0;
}

void TRErootInstance::setVersion(uint16_t version) {
  COL_PRECONDITION_TEXT(version < m_CountOfVersion, "NewVersionIndex < CountOfVersion");
  m_CurrentVersion = version;
}

void TRErootInstance::setVersionCount(uint16_t count) {
  COL_PRECONDITION_TEXT(count >= 1, "CountOfVersion >= 1");
  m_CountOfVersion = count;
  if (m_CurrentVersion >= count) m_CurrentVersion = 0;
}

void TRErootInstance::addVersion(uint16_t from) {
  COL_PRECONDITION_TEXT(from < m_CountOfVersion, "FromVersion < CountOfVersion");
  if (m_CountOfVersion == TREnoIndex) raise("A tree can't have more than 65534 versions.");
  ++m_CountOfVersion;
  auto simple = [from](TREinstanceSimple& node) {
    if (node.m_Versions) node.m_Versions->versions.push_back(node.m_Versions->versions[from]);
  };
  auto complex = [from](TREinstanceComplex& node) {
    if (node.m_Versions && !node.m_Versions->versions.empty())
      node.m_Versions->versions.push_back(node.m_Versions->versions[from]);
  };
  auto vector = [from](TREinstanceVector& node) {
    if (node.m_Versions) node.m_Versions->versions.push_back(node.m_Versions->versions[from]);
  };
  walkComplex(*m_Instance, simple, complex, vector);
}

void TRErootInstance::deleteVersion(uint16_t version) {
  COL_PRECONDITION_TEXT(version < m_CountOfVersion && m_CountOfVersion > 1, "VersionIndex < CountOfVersion");
  --m_CountOfVersion;
  if (m_CurrentVersion >= m_CountOfVersion) m_CurrentVersion = uint16_t(m_CountOfVersion - 1);
  auto erase = [version](std::vector<uint16_t>& versions) {
    if (version < versions.size()) versions.erase(versions.begin() + version);
  };
  auto simple = [&](TREinstanceSimple& node) { if (node.m_Versions) erase(node.m_Versions->versions); };
  auto complex = [&](TREinstanceComplex& node) { if (node.m_Versions) erase(node.m_Versions->versions); };
  auto vector = [&](TREinstanceVector& node) { if (node.m_Versions) erase(node.m_Versions->versions); };
  walkComplex(*m_Instance, simple, complex, vector);
}

void TRErootInstance::addInstance(TREinstanceComplex& complex) {
  const TREtypeComplex* type = complex.type();
  COL_PRECONDITION_TEXT(type != nullptr, "hasType()");
  auto [entry, added] = m_Objects[type->name()].byId.emplace(complex.objectId(), &complex);
  if (!added && entry->second != &complex)
    raise(COLstring("Two objects of type ") + type->name() + " have the id " + std::to_string(complex.objectId()) +
          ".");
}

void TRErootInstance::removeInstance(TREinstanceComplex& complex) {
  for (auto& [name, objects] : m_Objects) {
    auto found = objects.byId.find(complex.objectId());
    if (found != objects.byId.end() && found->second == &complex) {
      objects.byId.erase(found);
      return;
    }
  }
}

TREinstanceComplex* TRErootInstance::instanceGlobal(const COLstring& typeName, uint32_t id) const {
  auto objects = m_Objects.find(typeName);
  if (objects == m_Objects.end()) return nullptr;
  auto found = objects->second.byId.find(id);
  return found == objects->second.byId.end() ? nullptr : found->second;
}

uint32_t TRErootInstance::nextObjectId(const COLstring& typeName) { return ++m_Objects[typeName].next; }

uint32_t TRErootInstance::peekObjectId(const COLstring& typeName) const {
  auto objects = m_Objects.find(typeName);
  return objects == m_Objects.end() ? 0 : objects->second.next;
}

void TRErootInstance::setNextObjectId(const COLstring& typeName, uint32_t id) { m_Objects[typeName].next = id; }

// --- version maintenance

void TREinstanceSimple::versionCompact() {
  if (TREinstanceComplex* contained = complex()) return contained->versionCompact();
  if (TREinstanceVector* contained = vector()) return contained->versionCompact();
  if (!m_Versions) return;
  std::vector<TREvariant>& values = m_Versions->values;
  std::vector<bool> used(values.size(), false);
  for (uint16_t index : m_Versions->versions)
    if (index != TREnoIndex) used[index] = true;
  // A value equal to the default or to one kept before is read through that one instead.
  std::vector<uint16_t> renumber(values.size(), TREnoIndex);
  std::vector<TREvariant> kept;
  for (size_t i = 0; i < values.size(); ++i) {
    if (!used[i] || same(values[i], m_Value)) continue;
    size_t k = 0;
    while (k < kept.size() && !same(kept[k], values[i])) ++k;
    if (k == kept.size()) kept.push_back(std::move(values[i]));
    renumber[i] = uint16_t(k);
  }
  for (uint16_t& index : m_Versions->versions)
    if (index != TREnoIndex) index = renumber[index];
  if (kept.empty())
    m_Versions.reset();
  else
    values = std::move(kept);
}

void TREinstanceSimple::versionReduce(uint16_t version) {
  if (TREinstanceComplex* contained = complex()) return contained->versionReduce(version);
  if (TREinstanceVector* contained = vector()) return contained->versionReduce(version);
  if (!m_Versions) return;
  if (version < m_Versions->versions.size() && m_Versions->versions[version] != TREnoIndex)
    m_Value = std::move(m_Versions->values[m_Versions->versions[version]]);
  m_Versions.reset();
}

TREtypeComplex* TREinstanceComplex::typeAt(uint16_t version) const {
  if (m_Versions && !m_Versions->types.empty() && version < m_Versions->versions.size())
    return m_Versions->types[m_Versions->versions[version]].type;
  return m_Type;
}

TREinstanceSimple& TREinstanceComplex::memberAt(uint16_t version, uint16_t index) {
  TREtypeComplex* seen = typeAt(version);
  COL_PRECONDITION_TEXT(seen != nullptr, "hasType()");
  COL_PRECONDITION_TEXT(index < seen->countOfMember(), "MemberIndex < countOfMember()");
  if (m_Versions && !m_Versions->types.empty() && version < m_Versions->versions.size())
    return *m_Children[slotOfMember(m_Versions->versions[version], index)];
  ensureChildrenOf(*seen);
  return *m_Children[index];
}

void TREinstanceComplex::collapseToType(uint16_t entry) {
  TREtypeComplex& kept = *m_Versions->types[entry].type;
  TREslotList children(kept.countOfMember());
  for (uint16_t i = 0; i < kept.countOfMember(); ++i) children[i] = std::move(m_Children[slotOfMember(entry, i)]);
  // The slots of the other types go with the old list.
  m_Children.swap(children);
  m_Versions.reset();
  m_Type = &kept;
  m_GenericType = false;
}

void TREinstanceComplex::versionCompact() {
  for (auto& child : m_Children) child->versionCompact();
  if (!m_Versions || m_Versions->types.empty()) return;
  const std::vector<uint16_t>& entries = m_Versions->versions;
  if (!entries.empty() && std::all_of(entries.begin(), entries.end(), [&](uint16_t e) { return e == entries[0]; }))
    collapseToType(entries[0]);
}

void TREinstanceComplex::versionReduce(uint16_t version) {
  if (m_Versions && !m_Versions->types.empty())
    collapseToType(version < m_Versions->versions.size() ? m_Versions->versions[version] : 0);
  m_Versions.reset();
  for (auto& child : m_Children) child->versionReduce(version);
}

size_t TREinstanceVector::sizeAt(uint16_t version) const {
  if (m_Versions && version < m_Versions->versions.size()) return m_Versions->vectors[m_Versions->versions[version]].size();
  return m_Pool.size();
}

TREinstanceSimple& TREinstanceVector::itemAt(uint16_t version, size_t i) {
  COL_PRECONDITION_TEXT(i < sizeAt(version), "Index < size()");
  if (m_Versions && version < m_Versions->versions.size()) return *m_Pool[m_Versions->vectors[m_Versions->versions[version]][i]];
  return *m_Pool[i];
}

void TREinstanceVector::collapseToList(const std::vector<uint16_t>& list) {
  TREslotList pool;
  pool.reserve(list.size());
  for (uint16_t index : list) {
    COL_PRECONDITION_TEXT(m_Pool[index] != nullptr, "an item stands once in a list");
    pool.push_back(std::move(m_Pool[index]));
  }
  m_Pool.swap(pool);
  m_Versions.reset();
}

void TREinstanceVector::versionCompact() {
  for (auto& item : m_Pool) item->versionCompact();
  if (!m_Versions) return;
  std::vector<std::vector<uint16_t>>& vectors = m_Versions->vectors;
  std::vector<bool> used(vectors.size(), false);
  for (uint16_t index : m_Versions->versions) used[index] = true;
  std::vector<uint16_t> renumber(vectors.size(), TREnoIndex);
  std::vector<std::vector<uint16_t>> kept;
  for (size_t i = 0; i < vectors.size(); ++i) {
    if (!used[i]) continue;
    size_t k = 0;
    while (k < kept.size() && kept[k] != vectors[i]) ++k;
    if (k == kept.size()) kept.push_back(std::move(vectors[i]));
    renumber[i] = uint16_t(k);
  }
  for (uint16_t& index : m_Versions->versions) index = renumber[index];
  if (kept.size() == 1) {
    std::vector<uint16_t> list = std::move(kept[0]);
    collapseToList(list);
    return;
  }
  // Items that no list names leave the pool.
  std::vector<uint16_t> position(m_Pool.size(), TREnoIndex);
  for (const std::vector<uint16_t>& list : kept)
    for (uint16_t index : list) position[index] = 0;
  TREslotList pool;
  for (size_t i = 0; i < m_Pool.size(); ++i)
    if (position[i] != TREnoIndex) {
      position[i] = uint16_t(pool.size());
      pool.push_back(std::move(m_Pool[i]));
    }
  for (std::vector<uint16_t>& list : kept)
    for (uint16_t& index : list) index = position[index];
  m_Pool.swap(pool);
  vectors = std::move(kept);
}

void TREinstanceVector::versionReduce(uint16_t version) {
  if (m_Versions) {
    uint16_t index = version < m_Versions->versions.size() ? m_Versions->versions[version] : 0;
    std::vector<uint16_t> list = m_Versions->vectors[index];
    collapseToList(list);
  }
  for (auto& item : m_Pool) item->versionReduce(version);
}

void TRErootInstance::versionCompact() { m_Instance->versionCompact(); }

void TRErootInstance::versionReduce(uint16_t version) {
  COL_PRECONDITION_TEXT(version < m_CountOfVersion, "VersionIndex < CountOfVersion");
  m_Instance->versionReduce(version);
  m_CountOfVersion = 1;
  m_CurrentVersion = 0;
  setDirty();
}

namespace {
bool equalAt(TREinstanceSimple& x, uint16_t a, TREinstanceSimple& y, uint16_t b);

bool equalComplexAt(TREinstanceComplex& x, uint16_t a, TREinstanceComplex& y, uint16_t b) {
  TREtypeComplex* type = x.typeAt(a);
  if (type != y.typeAt(b)) return false;
  if (!type) return true;
  for (uint16_t i = 0; i < type->countOfMember(); ++i)
    if (!equalAt(x.memberAt(a, i), a, y.memberAt(b, i), b)) return false;
  return true;
}

bool equalAt(TREinstanceSimple& x, uint16_t a, TREinstanceSimple& y, uint16_t b) {
  if (TREinstanceComplex* complex = x.complex()) return y.complex() && equalComplexAt(*complex, a, *y.complex(), b);
  if (TREinstanceVector* vector = x.vector()) {
    TREinstanceVector* other = y.vector();
    if (!other || vector->sizeAt(a) != other->sizeAt(b)) return false;
    for (size_t i = 0; i < vector->sizeAt(a); ++i)
      if (!equalAt(vector->itemAt(a, i), a, other->itemAt(b, i), b)) return false;
    return true;
  }
  return !y.complex() && !y.vector() && same(x.valueAt(a), y.valueAt(b));
}

using Matches = std::unordered_map<COLstring, std::unordered_map<uint32_t, TREinstanceComplex*>>;

// Writes what `from` reads over what `to` reads, each in its tree's current version.  A
// global node keeps its value unless `global` is set, since it is one value for all versions.
class TREversionWriter {
public:
  TREversionWriter(bool global, Matches& matches) : m_Global(global), m_Matches(matches) {}

  void complex(TREinstanceComplex& to, TREinstanceComplex& from) {
    TREtypeComplex* type = from.type();
    if (!type) return;
    if (to.type() != type) {
      if (to.isGlobal() && !m_Global) return;
      to.setType(*type);
    }
    if (from.objectId()) m_Matches[type->name()][from.objectId()] = &to;
    for (uint16_t i = 0; i < type->countOfMember(); ++i) slot(to.member(i), from.member(i));
  }

  void slot(TREinstanceSimple& to, TREinstanceSimple& from) {
    if (TREinstanceComplex* source = from.complex()) {
      if (to.complex()) complex(*to.complex(), *source);
      return;
    }
    if (TREinstanceVector* source = from.vector()) {
      TREinstanceVector* target = to.vector();
      if (!target) return;
      if (!target->isGlobal() || m_Global) target->resize(source->size());
      for (size_t i = 0; i < source->size() && i < target->size(); ++i) slot((*target)[i], (*source)[i]);
      return;
    }
    if (to.complex() || to.vector() || (to.isGlobal() && !m_Global)) return;
    to.assign(from.value());
  }

private:
  bool m_Global;
  Matches& m_Matches;
};

// Repoints the references by id of the current version from the ids of the other tree to
// the nodes that now hold those objects.
// A global reference kept this tree's value unless `global` is set, and so keeps its id.
struct TRErepoint {
  const TREtypeComplex& stepId;
  const Matches& matches;
  bool global;
};
void repointReferences(TREinstanceComplex& node, const TRErepoint& how);

void repointSlot(TREinstanceSimple& slot, const TRErepoint& how) {
  if (TREinstanceComplex* complex = slot.complex()) return repointReferences(*complex, how);
  if (TREinstanceVector* vector = slot.vector())
    for (size_t i = 0; i < vector->size(); ++i) repointSlot((*vector)[i], how);
}

void repointReferences(TREinstanceComplex& node, const TRErepoint& how) {
  const Matches& matches = how.matches;
  TREtypeComplex* type = node.type();
  if (!type) return;
  if (type == &how.stepId) {
    if (node.member(TREreferenceStepIdMember::ObjectId).isGlobal() && !how.global) return;
    const TREvariant& name = node.member(TREreferenceStepIdMember::TypeName).value();
    const TREvariant& id = node.member(TREreferenceStepIdMember::ObjectId).value();
    if (name.baseType() != TREbaseType::String || id.baseType() != TREbaseType::Integer) return;
    auto objects = matches.find(name.string());
    if (objects == matches.end()) return;
    auto found = objects->second.find(uint32_t(id.integerValue()));
    if (found == objects->second.end()) return;
    node.member(TREreferenceStepIdMember::ObjectId).assign(int32_t(found->second->objectId()));
    return;
  }
  for (uint16_t i = 0; i < type->countOfMember(); ++i) repointSlot(node.member(i), how);
}
}  // namespace

void TREinstanceComplex::copyAllInstanceData(TREinstanceComplex& other) {
  COL_PRECONDITION_TEXT(&other != this, "&Orig != this");
  Matches ignored;
  TREversionWriter(true, ignored).complex(*this, other);
  doInitialize();
}

bool TRErootInstance::versionIsEqual(TRErootInstance& other, uint16_t a, uint16_t b) {
  COL_PRECONDITION_TEXT(a < m_CountOfVersion && b < other.m_CountOfVersion, "VersionIndex < CountOfVersion");
  return equalComplexAt(*m_Instance, a, *other.m_Instance, b);
}

void TRErootInstance::assignVersion(TRErootInstance& other, bool global) {
  COL_PRECONDITION_TEXT(&other != this, "&Other != this");
  Matches matches;
  TREversionWriter(global, matches).complex(*m_Instance, *other.m_Instance);
  // Matched nodes need ids of their own before references can name them.
  for (auto& [typeName, objects] : matches)
    for (auto& [oldId, node] : objects) mergedInstance(typeName, oldId, node->ensureHasObjectId());
  TREregisterReferenceTypes();
  TRErepoint how{static_cast<TREtypeComplex&>(TREtype::getType("ReferenceStepId")), matches, global};
  repointReferences(*m_Instance, how);
}

void TRErootInstance::appendVersion(TRErootInstance& other) {
  COL_PRECONDITION_TEXT(&other != this, "&Other != this");
  COL_PRECONDITION_TEXT(m_Instance->type() == other.m_Instance->type(), "Other.type() == type()");
  COL_PRECONDITION_TEXT(size_t(m_CountOfVersion) + other.m_CountOfVersion < TREnoIndex,
                        "CountOfVersion + Other.CountOfVersion < 0xFFFF");
  uint16_t start = m_CurrentVersion;
  uint16_t otherStart = other.m_CurrentVersion;
  m_Merged.clear();
  try {
    for (uint16_t w = 0; w < other.m_CountOfVersion; ++w) {
      addVersion(start);
      setVersion(uint16_t(m_CountOfVersion - 1));
      other.setVersion(w);
      assignVersion(other, false);
    }
  } catch (...) {
    m_CurrentVersion = start;
    other.m_CurrentVersion = otherStart;
    throw;
  }
  m_CurrentVersion = start;
  other.m_CurrentVersion = otherStart;
}

void TRErootInstance::merge(TRErootInstance& other) {
  COL_PRECONDITION_TEXT(m_Instance->type() == other.m_Instance->type(), "Other.type() == type()");
  m_Merged.clear();
  assignVersion(other, true);
}

void TRErootInstance::mergedInstance(const COLstring& typeName, uint32_t oldId, uint32_t newId) {
  m_Merged[typeName][oldId] = newId;
}

uint32_t TRErootInstance::mergedId(const COLstring& typeName, uint32_t oldId) const {
  auto objects = m_Merged.find(typeName);
  if (objects == m_Merged.end()) return 0;
  auto found = objects->second.find(oldId);
  return found == objects->second.end() ? 0 : found->second;
}
