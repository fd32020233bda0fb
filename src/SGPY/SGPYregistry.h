// SGPYregistry: the handles of one interpreter that point at live native objects, with their kind.
// A script can pass any integer as a handle; only one found here, of the kind asked for, reaches a
// native object.  Owns the objects scripts made with a Create function; never touches the Python C
// interface, so that it can be reasoned about (and tested) as plain C++.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class SGMvalue;
class SGMstringPool;

enum class SGPYkind : uint8_t {
  SegmentList,
  Segment,
  FieldRepeats,
  Field,
  SubField,
  Value,
  StringPool,
  Error,
  Tree,  // a raw node of the legacy parser
};

// The type name scripts see in texts: "SGMsegment", "COLerror", ...
const char* SGPYkindName(SGPYkind kind);

class SGPYregistry {
public:
  // Where a root's objects come from: made by a script (the registry holds the script's
  // references), or lent by the host for the length of one script call.
  enum class Origin : uint8_t { Created, Lent };

  enum class Lookup : uint8_t { Found, Unknown, OtherKind };

  SGPYregistry() = default;
  SGPYregistry(const SGPYregistry&) = delete;
  SGPYregistry& operator=(const SGPYregistry&) = delete;
  // Releases what scripts made and never released.
  ~SGPYregistry();

  // The object behind a handle if it is live and of that kind; otherwise null, with `result`
  // (and `actual` for another kind) saying why.
  void* find(uintptr_t handle, SGPYkind kind, Lookup& result, SGPYkind& actual) const;

  // A new object of a Create function (its handle, and the same object as a counted one), holding
  // one reference for the script.
  void adopt(void* object, COLreference* counted, SGPYkind kind);
  // The host's object for one call; lending the same object again nests.
  void lend(void* object, SGPYkind kind);
  // Ends one lending; at the last, the object and every handle reached from it go.
  void withdraw(const void* object);

  // A handle reached from `parent` (a live handle): it lives as long as the parent's root.
  void addPart(const void* parent, const void* part, SGPYkind kind);
  // Forgets every part of the root of `handle`, keeping the root: for operations after which
  // the handed-out parts may no longer be valid.
  void dropParts(const void* handle);

  // For AddRef and Release: false when the handle was not made by a Create function.
  bool isCreatedRoot(const void* handle) const;
  // One reference more for the script.  The handle must be a created root.
  void addRef(const void* handle);
  // One reference less; at the last the object and its parts go.  The handle must be a created root.
  void release(const void* handle);

  // The object of the root that a live handle belongs to: itself for a root.
  void* rootObjectOf(const void* handle) const { return rootOf(handle).object; }
  // The origin of the root that a live handle belongs to.
  Origin originOf(const void* handle) const;
  // Keeps the text that a parsed list's values point into, replacing the previous one.
  COLstring& textOf(const void* listHandle);
  // Notes that the pool wrote the value, so that the value is cleared when the pool goes first.
  void noteServed(const void* poolHandle, SGMvalue* value);

  size_t countOfHandle() const { return m_Handles.size(); }
  size_t countOfCreatedRoot() const;

private:
  struct Root;
  struct Entry {
    SGPYkind kind;
    uint64_t root;
    Root* owner;  // m_Roots[root]: its nodes stay where they are until erased
  };
  struct Root {
    void* object = nullptr;
    COLreference* counted = nullptr;  // created roots only
    SGPYkind kind = SGPYkind::SegmentList;
    Origin origin = Origin::Created;
    uint32_t lentCount = 0;
    std::vector<uintptr_t> parts;
    COLstring text;                                       // a list's parsed message
    std::unordered_map<SGMvalue*, uint64_t> served;       // a pool's values, by their root
  };

  uint64_t addRoot(void* object, COLreference* counted, SGPYkind kind, Origin origin);
  void removeRoot(uint64_t id);
  const Root& rootOf(const void* handle) const;
  Root& rootOf(const void* handle);

  std::unordered_map<uintptr_t, Entry> m_Handles;
  std::unordered_map<uint64_t, Root> m_Roots;
  uint64_t m_NextRoot = 1;
};
