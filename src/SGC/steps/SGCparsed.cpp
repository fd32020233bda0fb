#include "SGCparsed.h"

#include <algorithm>

#include "COLerror.h"

namespace {

// Freed node blocks by size class (16-byte steps).  Each block is its own heap block, so one
// freed on another thread is just as good there; each list keeps a bounded number.  Blocks
// above the small classes are the child lists of long repeats (a large ORU's hundreds of result
// groups): they are kept too, by powers of two from 1 kB to 1 MB, a few of each.
struct SGCnodeCache {
  static constexpr size_t Classes = 32;
  static constexpr size_t Kept = 4096;
  static constexpr size_t LargeClasses = 11;
  static constexpr size_t LargeKept = 8;
  std::vector<void*> free[Classes];
  std::vector<void*> large[LargeClasses];
  ~SGCnodeCache() {
    for (auto& List : free)
      for (void* Block : List) ::operator delete(Block);
    for (auto& List : large)
      for (void* Block : List) ::operator delete(Block);
  }
};

SGCnodeCache& SGCthreadNodeCache() {
  thread_local SGCnodeCache Cache;
  return Cache;
}

size_t SGCsizeClass(size_t Size) { return (Size + 15) / 16 - 1; }

// The power-of-two class of a block above the small ones; LargeClasses when it is kept by none.
size_t SGClargeClass(size_t Size) {
  size_t Class = 0;
  while (Class < SGCnodeCache::LargeClasses && (size_t{1024} << Class) < Size) ++Class;
  return Class;
}

}  // namespace

void* SGCpooledAllocate(size_t Size) {
  const size_t Class = SGCsizeClass(Size);
  if (Class < SGCnodeCache::Classes) {
    std::vector<void*>& List = SGCthreadNodeCache().free[Class];
    if (!List.empty()) {
      void* Block = List.back();
      List.pop_back();
      return Block;
    }
    return ::operator new((Class + 1) * 16);
  }
  const size_t Large = SGClargeClass(Size);
  if (Large < SGCnodeCache::LargeClasses) {
    std::vector<void*>& List = SGCthreadNodeCache().large[Large];
    if (!List.empty()) {
      void* Block = List.back();
      List.pop_back();
      return Block;
    }
    return ::operator new(size_t{1024} << Large);
  }
  return ::operator new(Size);
}

void SGCpooledFree(void* Block, size_t Size) {
  const size_t Class = SGCsizeClass(Size);
  if (Class < SGCnodeCache::Classes) {
    std::vector<void*>& List = SGCthreadNodeCache().free[Class];
    if (List.size() < SGCnodeCache::Kept) {
      List.push_back(Block);
      return;
    }
  } else if (const size_t Large = SGClargeClass(Size); Large < SGCnodeCache::LargeClasses) {
    std::vector<void*>& List = SGCthreadNodeCache().large[Large];
    if (List.size() < SGCnodeCache::LargeKept) {
      List.push_back(Block);
      return;
    }
  }
  ::operator delete(Block);
}

void* SGCparsed::operator new(size_t Size) { return SGCpooledAllocate(Size); }
void SGCparsed::operator delete(void* Block, size_t Size) { SGCpooledFree(Block, Size); }

void SGCparsed::setParent(SGCparsedCollection* Parent, unsigned ChildIndex) {
  m_Parent = Parent;
  m_ChildIndex = ChildIndex;
  setDepth(Parent ? Parent->depth() + 1 : 0);
}

void SGCparsed::setDepth(unsigned Depth) {
  if (m_Depth == Depth) return;
  m_Depth = Depth;
  recurseSetDepth();
}

void SGCparsedCollection::recurseSetDepth() {
  for (auto& Child : m_Children)
    if (Child) Child->setDepth(depth() + 1);
}

void SGCparsedCollection::append(COLreferencePtr<SGCparsed> Child) {
  m_Children.push_back(std::move(Child));
  if (SGCparsed* Added = m_Children.back().get()) Added->setParent(this, countOfChild() - 1);
}

void SGCparsedCollection::setChild(unsigned Index, COLreferencePtr<SGCparsed> Child) {
  COLreferencePtr<SGCparsed>& Slot = m_Children.at(Index);
  if (Slot) Slot->setParent(nullptr, 0);
  Slot = std::move(Child);
  if (Slot) Slot->setParent(this, Index);
}

void SGCparsedCollection::remove(unsigned Index) {
  COL_PRECONDITION(Index < countOfChild());
  if (m_Children[Index]) m_Children[Index]->setParent(nullptr, 0);
  m_Children.erase(m_Children.begin() + Index);
  for (unsigned Later = Index; Later < countOfChild(); ++Later)
    if (m_Children[Later]) m_Children[Later]->setParent(this, Later);
}

const char* SGCparsedError::errorString() const {
  switch (m_ErrorCode) {
    case SegmentNotInGrammar:
      return "segment not in grammar";
    case RequiredItemMissing:
      return "this required item is missing from the group";
    case RepeatCountExceeded:
      return "maximum repeat count is exceeded";
    default:
      return nullptr;
  }
}

SGCparsed* SGCparsedGetFirstChild(SGCparsed* Node) {
  if (!Node) return nullptr;
  SGCparsedCollection* Collection = Node->collection();
  if (!Collection || Collection->countOfChild() == 0) return nullptr;
  return Collection->child(0);
}

SGCparsed* SGCparsedGetNextSibling(SGCparsed* Node) {
  if (!Node || !Node->parent()) return nullptr;
  SGCparsedCollection* Parent = Node->parent();
  const unsigned Next = Node->childIndex() + 1;
  return Next < Parent->countOfChild() ? Parent->child(Next) : nullptr;
}

SGCparsed* SGCparsedGetNextPreOrder(SGCparsed* Node) {
  if (!Node) return nullptr;
  if (SGCparsed* Child = SGCparsedGetFirstChild(Node)) return Child;
  for (SGCparsed* Climb = Node; Climb; Climb = Climb->parent())
    if (SGCparsed* Sibling = SGCparsedGetNextSibling(Climb)) return Sibling;
  return nullptr;
}

void SGCparsedGetAddress(SGCparsed* Node, std::vector<unsigned>& Address) {
  Address.clear();
  for (SGCparsed* Climb = Node; Climb && Climb->parent(); Climb = Climb->parent()) Address.push_back(Climb->childIndex());
  std::reverse(Address.begin(), Address.end());
}
