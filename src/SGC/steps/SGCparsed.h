// SGCparsed: the tree a message becomes when its flat segment list is laid onto the
// message grammar.  It has the grammar's shape: a group node per group, a repeats node per
// repeating item (its children are the occurrences), a segment node per placed segment and
// a not-present node for every position nothing filled.
#pragma once

#include <cstdint>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class QVMmessageGrammar;
class SGMsegment;
class SGCparsedNotPresent;
class SGCparsedSegment;
class SGCparsedCollection;
class SGCparsedGroup;
class SGCparsedRepeats;

// Blocks kept per thread by size class, for the many small blocks a message's tree makes and
// drops: the nodes and their child lists.
void* SGCpooledAllocate(size_t Size);
void SGCpooledFree(void* Block, size_t Size);

template <class T>
struct SGCpoolAllocator {
  using value_type = T;
  SGCpoolAllocator() = default;
  template <class U>
  SGCpoolAllocator(const SGCpoolAllocator<U>&) {}
  T* allocate(size_t Count) { return static_cast<T*>(SGCpooledAllocate(Count * sizeof(T))); }
  void deallocate(T* Block, size_t Count) { SGCpooledFree(Block, Count * sizeof(T)); }
  template <class U>
  bool operator==(const SGCpoolAllocator<U>&) const { return true; }
};

class SGCparsed : public COLreference {
public:
  explicit SGCparsed(QVMmessageGrammar* Rule) : m_Rule(Rule) {}
  ~SGCparsed() override = default;

  // A message makes and drops a whole tree of small nodes: each thread keeps the freed
  // blocks of each size for the next message instead of going back to the heap.
  static void* operator new(size_t Size);
  static void operator delete(void* Block, size_t Size);

  // The grammar item this node stands for; the engine owns it.
  QVMmessageGrammar* rule() const { return m_Rule; }
  SGCparsedCollection* parent() const { return m_Parent; }
  unsigned childIndex() const { return m_ChildIndex; }
  unsigned depth() const { return m_Depth; }

  // Stores both and renumbers the depth of this subtree below the new parent.
  void setParent(SGCparsedCollection* Parent, unsigned ChildIndex);
  void setDepth(unsigned Depth);

  // The tree's checked down-casts: this node as that class, or null.
  virtual SGCparsedNotPresent* notPresent() { return nullptr; }
  virtual SGCparsedSegment* segment() { return nullptr; }
  virtual SGCparsedGroup* group() { return nullptr; }
  virtual SGCparsedRepeats* repeats() { return nullptr; }
  virtual SGCparsedCollection* collection() { return nullptr; }
  virtual void recurseSetDepth() {}

private:
  QVMmessageGrammar* m_Rule;
  SGCparsedCollection* m_Parent = nullptr;
  unsigned m_ChildIndex = 0;
  unsigned m_Depth = 0;
};

class SGCparsedNotPresent : public SGCparsed {
public:
  using SGCparsed::SGCparsed;
  SGCparsedNotPresent* notPresent() override { return this; }
};

class SGCparsedSegment : public SGCparsed {
public:
  SGCparsedSegment(QVMmessageGrammar* Rule, unsigned Index, SGMsegment* Segment)
      : SGCparsed(Rule), m_Index(Index), m_Segment(Segment) {}
  SGCparsedSegment* segment() override { return this; }
  // The segment's place in the segment list, and the segment itself (the list owns it).
  unsigned index() const { return m_Index; }
  SGMsegment* segmentPointer() const { return m_Segment; }

private:
  unsigned m_Index;
  SGMsegment* m_Segment;
};

class SGCparsedCollection : public SGCparsed {
public:
  using SGCparsed::SGCparsed;
  SGCparsedCollection* collection() override { return this; }
  void recurseSetDepth() override;

  void reserve(unsigned Count) { m_Children.reserve(Count); }
  unsigned countOfChild() const { return static_cast<unsigned>(m_Children.size()); }
  SGCparsed* child(unsigned Index) const { return m_Children.at(Index).get(); }
  void append(COLreferencePtr<SGCparsed> Child);
  void setChild(unsigned Index, COLreferencePtr<SGCparsed> Child);
  void remove(unsigned Index);

private:
  std::vector<COLreferencePtr<SGCparsed>, SGCpoolAllocator<COLreferencePtr<SGCparsed>>> m_Children;
};

class SGCparsedGroup : public SGCparsedCollection {
public:
  using SGCparsedCollection::SGCparsedCollection;
  SGCparsedGroup* group() override { return this; }
};

class SGCparsedRepeats : public SGCparsedCollection {
public:
  using SGCparsedCollection::SGCparsedCollection;
  SGCparsedRepeats* repeats() override { return this; }
};

// A structural fault of the whole message, found by the grammar parse.
class SGCparsedError : public COLreference {
public:
  enum Code : unsigned { SegmentNotInGrammar = 1, RequiredItemMissing = 2, RepeatCountExceeded = 3 };

  SGCparsedError(unsigned SegmentIndex, SGMsegment* Segment, unsigned ErrorCode, SGCparsed* ErrorParsed,
                 bool IsFatal)
      : m_SegmentIndex(SegmentIndex), m_Segment(Segment), m_ErrorCode(ErrorCode), m_ErrorParsed(ErrorParsed),
        m_IsFatal(IsFatal) {}

  // The same error object used again for another fault, and let go of the node it named.
  void assign(unsigned SegmentIndex, SGMsegment* Segment, unsigned ErrorCode, SGCparsed* ErrorParsed, bool IsFatal) {
    m_SegmentIndex = SegmentIndex;
    m_Segment = Segment;
    m_ErrorCode = ErrorCode;
    m_ErrorParsed = ErrorParsed;
    m_IsFatal = IsFatal;
  }
  void release() { m_ErrorParsed = nullptr; }

  unsigned segmentIndex() const { return m_SegmentIndex; }
  SGMsegment* segment() const { return m_Segment; }
  unsigned errorCode() const { return m_ErrorCode; }
  SGCparsed* errorParsed() const { return m_ErrorParsed.get(); }
  bool isFatal() const { return m_IsFatal; }
  // The fixed words of the code; null for an unknown code.
  const char* errorString() const;

private:
  unsigned m_SegmentIndex;
  SGMsegment* m_Segment;
  unsigned m_ErrorCode;
  COLreferencePtr<SGCparsed> m_ErrorParsed;
  bool m_IsFatal;
};

// Walking in pre-order; each returns null where the walk ends.
SGCparsed* SGCparsedGetFirstChild(SGCparsed* Node);
SGCparsed* SGCparsedGetNextSibling(SGCparsed* Node);
SGCparsed* SGCparsedGetNextPreOrder(SGCparsed* Node);
// The child indices from the root down to the node; the root adds nothing.
void SGCparsedGetAddress(SGCparsed* Node, std::vector<unsigned>& Address);
