#include "SGPYregistry.h"

#include "COLerror.h"
#include "SGMstringPool.h"
#include "SGMvalue.h"

const char* SGPYkindName(SGPYkind kind) {
  switch (kind) {
    case SGPYkind::SegmentList: return "SGMsegmentList";
    case SGPYkind::Segment: return "SGMsegment";
    case SGPYkind::FieldRepeats: return "SGMfieldRepeats";
    case SGPYkind::Field: return "SGMfield";
    case SGPYkind::SubField: return "SGMsubField";
    case SGPYkind::Value: return "SGMvalue";
    case SGPYkind::StringPool: return "SGMstringPool";
    case SGPYkind::Error: return "COLerror";
    case SGPYkind::Tree: return "QVMuntypedMessageTree";
  }
  return "?";
}

SGPYregistry::~SGPYregistry() {
  // Pools first: they clear the values they wrote in objects that are still there.
  std::vector<uint64_t> Order;
  for (const auto& [Id, Root] : m_Roots)
    if (Root.kind == SGPYkind::StringPool) Order.push_back(Id);
  for (const auto& [Id, Root] : m_Roots)
    if (Root.kind != SGPYkind::StringPool) Order.push_back(Id);
  for (const uint64_t Id : Order) {
    COLreference* Counted = m_Roots.at(Id).counted;
    const int32_t References = Counted ? Counted->countOfRef() : 0;
    removeRoot(Id);
    for (int32_t Count = 0; Count < References; ++Count) Counted->Release();
  }
}

void* SGPYregistry::find(uintptr_t handle, SGPYkind kind, Lookup& result, SGPYkind& actual) const {
  const auto Found = m_Handles.find(handle);
  if (Found == m_Handles.end()) {
    result = Lookup::Unknown;
    return nullptr;
  }
  if (Found->second.kind != kind) {
    result = Lookup::OtherKind;
    actual = Found->second.kind;
    return nullptr;
  }
  result = Lookup::Found;
  return reinterpret_cast<void*>(handle);
}

uint64_t SGPYregistry::addRoot(void* object, COLreference* counted, SGPYkind kind, Origin origin) {
  const uint64_t Id = m_NextRoot++;
  Root& New = m_Roots[Id];
  New.object = object;
  New.counted = counted;
  New.kind = kind;
  New.origin = origin;
  m_Handles[reinterpret_cast<uintptr_t>(object)] = Entry{kind, Id, &New};
  return Id;
}

void SGPYregistry::adopt(void* object, COLreference* counted, SGPYkind kind) {
  COL_PRECONDITION(object != nullptr && counted != nullptr);
  addRoot(object, counted, kind, Origin::Created);
}

void SGPYregistry::lend(void* object, SGPYkind kind) {
  COL_PRECONDITION(object != nullptr);
  const auto Found = m_Handles.find(reinterpret_cast<uintptr_t>(object));
  if (Found != m_Handles.end()) {
    Root& Existing = m_Roots.at(Found->second.root);
    if (Existing.object == object && Existing.origin == Origin::Lent) {
      ++Existing.lentCount;
      return;
    }
  }
  // Also when it was reached as a part before: from now on it answers to this lending.
  m_Roots.at(addRoot(object, nullptr, kind, Origin::Lent)).lentCount = 1;
}

void SGPYregistry::withdraw(const void* object) {
  // Runs in destructors: a lending that is not there any more is nothing to end.
  const auto Found = m_Handles.find(reinterpret_cast<uintptr_t>(object));
  if (Found == m_Handles.end()) return;
  const uint64_t Id = Found->second.root;
  Root& Lent = m_Roots.at(Id);
  if (Lent.object != object || Lent.origin != Origin::Lent) return;
  if (--Lent.lentCount == 0) removeRoot(Id);
}

void SGPYregistry::removeRoot(uint64_t id) {
  Root& Gone = m_Roots.at(id);
  if (Gone.kind == SGPYkind::StringPool && Gone.origin == Origin::Created) {
    // A value the pool wrote must not point into its freed bytes.
    const auto* Pool = static_cast<const SGMstringPool*>(Gone.object);
    for (const auto& [Value, ValueRoot] : Gone.served)
      if (ValueRoot != id && m_Roots.count(ValueRoot) && Value->data() && Pool->hasString(Value->data()))
        Value->clear();
  }
  for (const uintptr_t Part : Gone.parts) {
    const auto Found = m_Handles.find(Part);
    if (Found != m_Handles.end() && Found->second.root == id) m_Handles.erase(Found);
  }
  const auto Own = m_Handles.find(reinterpret_cast<uintptr_t>(Gone.object));
  if (Own != m_Handles.end() && Own->second.root == id) m_Handles.erase(Own);
  m_Roots.erase(id);
}

void SGPYregistry::addPart(const void* parent, const void* part, SGPYkind kind) {
  const auto Parent = m_Handles.find(reinterpret_cast<uintptr_t>(parent));
  COL_PRECONDITION(Parent != m_Handles.end());
  const Entry Owner = Parent->second;
  const auto [At, Inserted] = m_Handles.try_emplace(reinterpret_cast<uintptr_t>(part), Entry{kind, Owner.root, Owner.owner});
  (void)At;
  if (Inserted) Owner.owner->parts.push_back(reinterpret_cast<uintptr_t>(part));
}

void SGPYregistry::dropParts(const void* handle) {
  Root& Owner = rootOf(handle);
  const auto OwnerAt = m_Handles.find(reinterpret_cast<uintptr_t>(Owner.object));
  const uint64_t Id = OwnerAt->second.root;
  for (const uintptr_t Part : Owner.parts) {
    const auto Found = m_Handles.find(Part);
    if (Found != m_Handles.end() && Found->second.root == Id) m_Handles.erase(Found);
  }
  Owner.parts.clear();
}

const SGPYregistry::Root& SGPYregistry::rootOf(const void* handle) const {
  const auto Found = m_Handles.find(reinterpret_cast<uintptr_t>(handle));
  COL_PRECONDITION(Found != m_Handles.end());
  return *Found->second.owner;
}

SGPYregistry::Root& SGPYregistry::rootOf(const void* handle) {
  return const_cast<Root&>(static_cast<const SGPYregistry*>(this)->rootOf(handle));
}

bool SGPYregistry::isCreatedRoot(const void* handle) const {
  const auto Found = m_Handles.find(reinterpret_cast<uintptr_t>(handle));
  if (Found == m_Handles.end()) return false;
  const Root& Owner = *Found->second.owner;
  return Owner.origin == Origin::Created && Owner.object == handle;
}

void SGPYregistry::addRef(const void* handle) {
  COL_PRECONDITION(isCreatedRoot(handle));
  rootOf(handle).counted->AddRef();
}

void SGPYregistry::release(const void* handle) {
  COL_PRECONDITION(isCreatedRoot(handle));
  const uint64_t Id = m_Handles.at(reinterpret_cast<uintptr_t>(handle)).root;
  COLreference* Counted = m_Roots.at(Id).counted;
  if (Counted->countOfRef() <= 1) removeRoot(Id);
  Counted->Release();
}

SGPYregistry::Origin SGPYregistry::originOf(const void* handle) const { return rootOf(handle).origin; }

COLstring& SGPYregistry::textOf(const void* listHandle) { return rootOf(listHandle).text; }

void SGPYregistry::noteServed(const void* poolHandle, SGMvalue* value) {
  Root& Pool = rootOf(poolHandle);
  if (Pool.origin != Origin::Created) return;
  Pool.served[value] = m_Handles.at(reinterpret_cast<uintptr_t>(value)).root;
}

size_t SGPYregistry::countOfCreatedRoot() const {
  size_t Count = 0;
  for (const auto& [Id, Root] : m_Roots) Count += Root.origin == Origin::Created;
  return Count;
}
