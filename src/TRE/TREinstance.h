// TREinstance: the generic value trees of the reflection layer, with versions.  A root has a
// count of versions and a current one; reads see the current version, writes first split a
// value that two versions share.  A node of a tree with one version carries one null
// pointer for versions and nothing else; a node pays one u16 per version only after its
// first divergent write.  Access is by class type, never through a virtual call.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "TREevents.h"
#include "TREnodeSlab.h"
#include "TREtype.h"
#include "TREvariant.h"

class TREcppClass;
class TREcppMemberBase;
class TREinstanceComplex;
class TREinstanceSimple;
class TREinstanceVector;
class TRErootInstance;

inline constexpr uint16_t TREnoIndex = 0xFFFF;

// The slots of a complex instance or the items of a collection.
using TREslotList =
    std::vector<std::unique_ptr<TREinstanceSimple>, TREslabAllocator<std::unique_ptr<TREinstanceSimple>>>;

// What a node holds only once somebody binds or listens to it: kept in a table apart, so
// that the many nodes nobody watches carry one flag and no pointer.
struct TREinstanceHooks {
  std::unique_ptr<TREeventDispatcher> dispatcher;
  TREcppMemberBase* cppMember = nullptr;
};

class TREinstance {
public:
  enum EClassType : uint8_t { eSimple = 0, eComplex = 8, eVector = 9 };

  EClassType classType() const { return m_Class; }
  TREinstance* parent() const { return m_Parent; }
  TRErootInstance* root() const { return m_Root; }
  bool isGlobal() const { return m_Global; }
  bool isCascade() const { return m_Cascade; }
  // For a stream reader: true the first time, false when the node was read before.
  bool markRead() { return !std::exchange(m_Read, true); }

  // The instance a slot holds, or the slot itself when it holds a simple value.
  static TREinstance& toInstance(TREinstanceSimple& simple);

  // Listeners are told after the bound member, in the order they came.  A null listener is
  // refused.
  void listen(TREeventsInstance* listener);
  void listen(TREeventsInstanceVector* listener);
  bool unlisten(const TREeventsInstance* listener);
  TREcppMemberBase* cppMember() const;
  void setCppMember(TREcppMemberBase* member);

  void doUpdate() { if (m_Hooked) notify(TREevent::Update, 0); }
  void doDelete() { if (m_Hooked) notify(TREevent::Delete, 0); }
  void doDisconnect() { if (m_Hooked) notify(TREevent::Disconnect, 0); }
  void doUninitialize() { if (m_Hooked) notify(TREevent::Uninitialize, 0); }
  void doInitialize() { if (m_Hooked) notify(TREevent::Initialize, 0); }

protected:
  explicit TREinstance(EClassType classType) : m_Class(classType) {}
  ~TREinstance() = default;
  void notify(TREevent event, size_t index);
  TREinstanceHooks& hooks();
  TREinstanceHooks* findHooks() const;
  // For the destructors, after doDisconnect.
  void releaseHooks();
  TREinstance(const TREinstance&) = delete;
  TREinstance& operator=(const TREinstance&) = delete;
  // A node that serves all versions at once needs no per-version storage.
  bool isUnversioned() const;
  uint16_t currentVersion() const;

  EClassType m_Class;
  bool m_Global = false;
  bool m_Cascade = false;
  bool m_Read = false;
  bool m_Hooked = false;
  TREinstance* m_Parent = nullptr;
  TRErootInstance* m_Root = nullptr;

  friend class TREinstanceComplex;
  friend class TREinstanceVector;
  friend class TREinstanceSimple;
  friend class TRErootInstance;
};

// One slot of a complex or a vector.  Its variant is the default value, what every version
// without a value of its own sees; a slot of class 8 or 9 owns the contained instance in it.
class TREinstanceSimple : public TREinstance {
public:
  TREinstanceSimple() : TREinstance(eSimple) {}
  ~TREinstanceSimple() {
    if (m_Hooked) doDisconnect(), releaseHooks();
  }
  TRE_SLAB_NODE

  // Makes the slot a simple value, a complex of `type` or a vector of `type` items.
  void initInstance(EClassType classType, const TREtype* type, TRErootInstance* root, TREinstance* parent,
                    bool global);

  const TREvariant& value() const;
  // Splits a shared value first; the reference is valid until the next write.
  TREvariant& writableValue();
  void setValue(const TREvariant& value) {
    writableValue() = value;
    doUpdate();
  }
  // Writes only when the value differs, so that versions that agree keep sharing.
  void assign(const TREvariant& value);

  TREvariant& defaultValue() { return m_Value; }
  const TREvariant& defaultValue() const { return m_Value; }
  TREinstanceComplex* complex() const { return m_Value.complex(); }
  TREinstanceVector* vector() const { return m_Value.vector(); }

  // --- per-version storage, for the stream
  uint16_t countOfValue() const { return m_Versions ? uint16_t(m_Versions->values.size()) : 0; }
  TREvariant& value(uint16_t index);
  TREvariant& addValue();
  uint16_t valueIndexFromVersion(uint16_t version) const;
  void setValueIndexForVersion(uint16_t version, uint16_t index);
  void ensureVersionsInitialized();
  bool isValueShared(uint16_t index) const;
  void beforeWrite();
  void beforeWrite(uint16_t version);
  // What version `version` reads, whatever the current version is.
  const TREvariant& valueAt(uint16_t version) const;

  // --- version maintenance (for a slot holding an instance, that instance's)
  // Drops values equal to an earlier one or to the default and values no version reads;
  // back to one value for all versions when none is left.
  void versionCompact();
  // Version `version` becomes the only content.
  void versionReduce(uint16_t version);

private:
  struct Versions {
    std::vector<uint16_t> versions;
    std::vector<TREvariant> values;
  };
  TREvariant m_Value;
  std::unique_ptr<Versions> m_Versions;

  friend class TRErootInstance;
  friend class TREinstanceComplex;
  friend class TREinstanceVector;
};

class TREinstanceComplex : public TREinstance {
public:
  TREinstanceComplex() : TREinstance(eComplex) {}
  ~TREinstanceComplex();
  TRE_SLAB_NODE

  TREtypeComplex* type() const;
  bool hasType() const { return type() != nullptr; }
  // In a tree of several versions a different type is kept for the current version only.
  void setType(TREtypeComplex& type);
  // The type for all versions, as a stream without per-version types gives it.
  void setDefaultType(TREtypeComplex& type);

  uint32_t objectId() const { return m_ObjectId; }
  uint32_t ensureHasObjectId();
  void setObjectId(uint32_t id);

  // The slot of a member of the current type.
  TREinstanceSimple& member(uint16_t index);
  TREinstanceSimple* member(const COLstring& name);
  bool hasMember(const COLstring& name) const;
  uint16_t countOfMember() const;
  // The instance a member holds: the complex, the vector or the simple slot.
  TREinstanceComplex& complexMember(uint16_t index);
  TREinstanceVector& vectorMember(uint16_t index);

  TREcppClass* cppClass() const { return m_CppClass; }
  // The object bound to this node; with `owned` the node deletes it when it goes.
  void setCppClass(TREcppClass* cppClass, bool owned = false);
  // The bound object learns first that the node goes, then the member and the listeners.
  void doDisconnect();
  // What `other` reads in its tree's version written over what this node reads, the type
  // included; values already equal stay shared.  Object ids stay with their objects.
  void copyAllInstanceData(TREinstanceComplex& other);

  // --- stored data, for the stream
  uint16_t defaultCountOfMember() const { return uint16_t(m_Children.size()); }
  TREinstanceSimple& defaultChild(uint16_t slot) { return *m_Children[slot]; }
  uint16_t countOfType() const { return m_Versions ? uint16_t(m_Versions->types.size()) : 0; }
  TREtypeComplex& type(uint16_t typeIndex) const { return *m_Versions->types[typeIndex].type; }
  uint16_t valueIndexFromTypeIndex(uint16_t typeIndex, uint16_t ownMember) const {
    return m_Versions->types[typeIndex].slots[ownMember];
  }
  uint16_t typeIndexFromVersion(uint16_t version) const { return m_Versions->versions[version]; }
  // Reader side: a type entry, its slots and the entry per version.
  uint16_t addType(TREtypeComplex& type);
  // Puts own member `own` of entry `typeIndex` in `slot`; false when the slot is taken.
  bool setMemberSlot(uint16_t typeIndex, uint16_t own, uint16_t slot);
  // Gives the own members of an entry that no slot was named for a new slot each.
  void completeType(uint16_t typeIndex);
  void setTypeIndexForVersion(uint16_t version, uint16_t typeIndex);
  // The slot of a member of entry `typeIndex`, by the member's index in the entry's type.
  uint16_t slotOfMember(uint16_t typeIndex, uint16_t memberIndex) const;
  // The type and the slot of a member that version `version` sees.
  TREtypeComplex* typeAt(uint16_t version) const;
  TREinstanceSimple& memberAt(uint16_t version, uint16_t index);

  // Passes compaction to the slots; a node whose versions all have one type again keeps
  // only that type's slots.
  void versionCompact();
  void versionReduce(uint16_t version);
  // Makes sure the first `count` slots exist; slots of members get their kind.
  void initializeChildren(uint16_t count);
  void ensureVersionsInitialized();

private:
  struct TypeInfo {
    TREtypeComplex* type;
    uint16_t baseEntry;
    std::vector<uint16_t> slots;
  };
  struct Versions {
    std::vector<uint16_t> versions;
    std::vector<TypeInfo> types;
  };
  void setMember(uint16_t slot, const TREtypeComplexMember& member);
  // Keeps the slots of type entry `entry` only, each at its member index, as one version.
  void collapseToType(uint16_t entry);
  uint16_t initializeType(TREtypeComplex& type, bool keepSlots);
  void ensureChildrenOf(const TREtypeComplex& type);
  void fixupBase(TRErootInstance* root, TREinstance* parent, bool global, bool cascade);

  TREtypeComplex* m_Type = nullptr;
  TREcppClass* m_CppClass = nullptr;
  TREslotList m_Children;
  std::unique_ptr<Versions> m_Versions;
  uint32_t m_ObjectId = 0;
  bool m_GenericType = false;
  bool m_OwnsCppClass = false;

  friend class TREinstanceSimple;
  friend class TRErootInstance;
};

class TREinstanceVector : public TREinstance {
public:
  TREinstanceVector() : TREinstance(eVector) {}
  ~TREinstanceVector() {
    if (m_Hooked) doDisconnect(), releaseHooks();
  }
  TRE_SLAB_NODE

  const TREtype* itemType() const { return m_ItemType; }
  size_t size() const;
  TREinstanceSimple& operator[](size_t i);
  // The item as its instance (complex items) or slot (simple items).
  TREinstanceComplex& complexItem(size_t i);
  TREinstanceSimple& push_back();
  TREinstanceSimple& insert(size_t i);
  void remove(size_t i);
  void pop_back() { remove(size() - 1); }
  // Grows with new items or shrinks from the end.
  void resize(size_t n);
  void clear();

  // --- stored data, for the stream
  uint16_t defaultSize() const { return uint16_t(m_Pool.size()); }
  TREinstanceSimple& defaultChild(uint16_t i) { return *m_Pool[i]; }
  void defaultResize(uint16_t n);
  uint16_t countOfVector() const { return m_Versions ? uint16_t(m_Versions->vectors.size()) : 0; }
  const std::vector<uint16_t>& vectorAt(uint16_t vector) const { return m_Versions->vectors[vector]; }
  uint16_t vectorIndexFromVersion(uint16_t version) const { return m_Versions->versions[version]; }
  uint16_t addVector();
  void addVectorValueIndex(uint16_t vector, uint16_t poolIndex);
  void setVectorIndexForVersion(uint16_t version, uint16_t vector);
  void ensureVersionsInitialized();
  size_t sizeAt(uint16_t version) const;
  TREinstanceSimple& itemAt(uint16_t version, size_t i);

  // Merges equal lists, drops lists and items that no version uses, and passes compaction
  // to the items; one list for all versions becomes the pool itself.
  void versionCompact();
  void versionReduce(uint16_t version);

private:
  // Keeps the items of `list`, in its order, as the pool of one version.
  void collapseToList(const std::vector<uint16_t>& list);
  struct Versions {
    std::vector<uint16_t> versions;
    std::vector<std::vector<uint16_t>> vectors;
  };
  void beforeWrite();
  uint16_t newPoolSlot();
  std::vector<uint16_t>* currentList();

  const TREtype* m_ItemType = nullptr;
  TREslotList m_Pool;
  std::unique_ptr<Versions> m_Versions;

  friend class TREinstanceSimple;
  friend class TRErootInstance;
};

// The owner of a tree: versions, dirty flag and the object ids per type name.
class TRErootInstance {
public:
  TRErootInstance();
  ~TRErootInstance();
  TRErootInstance(const TRErootInstance&) = delete;
  TRErootInstance& operator=(const TRErootInstance&) = delete;

  TREinstanceComplex& instance() { return *m_Instance; }
  uint16_t countOfVersion() const { return m_CountOfVersion; }
  uint16_t currentVersion() const { return m_CurrentVersion; }
  void setVersion(uint16_t version);
  // A new last version that shares everything with `from` until a write splits it.
  void addVersion(uint16_t from);
  void deleteVersion(uint16_t version);
  // For a reader, before any node has per-version storage.
  void setVersionCount(uint16_t count);
  void clear();

  void addInstance(TREinstanceComplex& complex);
  void removeInstance(TREinstanceComplex& complex);
  TREinstanceComplex* instanceGlobal(const COLstring& typeName, uint32_t id) const;
  uint32_t nextObjectId(const COLstring& typeName);
  // The counter that nextObjectId increments.
  uint32_t peekObjectId(const COLstring& typeName) const;
  void setNextObjectId(const COLstring& typeName, uint32_t id);

  // --- version maintenance; nothing on the load path uses these.
  // Storage only: what every version reads stays the same.
  void versionCompact();
  // Version `version` becomes the only one, and current.
  void versionReduce(uint16_t version);
  // Whether version `a` of this tree holds what version `b` of `other` holds: types, values,
  // sizes and object ids.
  bool versionIsEqual(TRErootInstance& other, uint16_t a, uint16_t b);
  // Each version of `other` becomes a new last version of this tree, which must have the
  // same root type.  A new version starts from the current one and is written over, so that
  // what is alike stays shared.  Objects of `other` that have ids are matched to the nodes
  // that now hold them: such a node gets an id of its own if it had none, the pairs are
  // recorded (mergedInstance), and the references by id that came with `other` are repointed.
  void appendVersion(TRErootInstance& other);
  // The current version of `other` written over the current version, the same way.
  void merge(TRErootInstance& other);
  void mergedInstance(const COLstring& typeName, uint32_t oldId, uint32_t newId);
  // The id that an object of `other` got by the last appendVersion or merge; 0 for none.
  uint32_t mergedId(const COLstring& typeName, uint32_t oldId) const;

  bool isDirty() const { return m_Dirty; }
  void setDirty() { m_Dirty = true; }
  void resetDirty() { m_Dirty = false; }

private:
  struct Objects {
    std::unordered_map<uint32_t, TREinstanceComplex*> byId;
    uint32_t next = 0;
  };
  // Writes the current version of `other` over the current version of this tree.
  void assignVersion(TRErootInstance& other, bool global);
  std::unordered_map<COLstring, Objects> m_Objects;
  std::unordered_map<COLstring, std::unordered_map<uint32_t, uint32_t>> m_Merged;
  std::unique_ptr<TREinstanceComplex> m_Instance;
  uint16_t m_CountOfVersion = 1;
  uint16_t m_CurrentVersion = 0;
  bool m_Dirty = false;
};
