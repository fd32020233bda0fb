#include "SGCparseContext.h"

#include <algorithm>

#include "COLerror.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "SGCmatch.h"
#include "SGMsegmentList.h"

struct SGCparseContext::Private {
  COLreferencePtr<SGCparsed> tree;
  SGCparsedErrorVector errorList;
  // A log with site segments skips one in most messages: its error object is not made anew.
  SGCparsedErrorVector spareErrors;
  QVMmessageGrammar* rootRule = nullptr;
};

SGCparseContext::SGCparseContext() : pMember(std::make_unique<Private>()) {}
SGCparseContext::~SGCparseContext() = default;

bool SGCparseContext::parse(QVMmessageGrammar& Grammar, SGMsegmentList& List) {
  SGCperformParse(*this, List, Grammar);
  pMember->rootRule = &Grammar;
  return std::none_of(pMember->errorList.begin(), pMember->errorList.end(),
                      [](const COLreferencePtr<SGCparsedError>& Error) { return Error->isFatal(); });
}

SGCparsed* SGCparseContext::tree() const { return pMember->tree.get(); }
void SGCparseContext::setTree(COLreferencePtr<SGCparsed> Tree) { pMember->tree = std::move(Tree); }
SGCparsedErrorVector& SGCparseContext::errorList() { return pMember->errorList; }
const SGCparsedErrorVector& SGCparseContext::errorList() const { return pMember->errorList; }
QVMmessageGrammar* SGCparseContext::rootRule() const { return pMember->rootRule; }

void SGCparseContext::addError(unsigned SegmentIndex, SGMsegment* Segment, unsigned ErrorCode,
                               SGCparsed* ErrorParsed, bool IsFatal) {
  SGCparsedErrorVector& Spare = pMember->spareErrors;
  if (Spare.empty()) {
    pMember->errorList.push_back(new SGCparsedError(SegmentIndex, Segment, ErrorCode, ErrorParsed, IsFatal));
    return;
  }
  pMember->errorList.push_back(std::move(Spare.back()));
  Spare.pop_back();
  pMember->errorList.back()->assign(SegmentIndex, Segment, ErrorCode, ErrorParsed, IsFatal);
}

void SGCparseContext::clearErrors() {
  for (COLreferencePtr<SGCparsedError>& Error : pMember->errorList) {
    if (Error->countOfRef() != 1) continue;
    // The node goes back to the tree's cache now, not when the object is used again.
    Error->release();
    pMember->spareErrors.push_back(std::move(Error));
  }
  pMember->errorList.clear();
}

void SGCperformParse(SGCparseContext& Context, SGMsegmentList& List, QVMmessageGrammar& Grammar) {
  Context.setTree(SGCparseCreateRoot(Grammar));
  SGCparsed* Root = Context.tree();
  SGCparsedErrorVector& Errors = Context.errorList();
  const QVMmessageDefinitionInternal* Message = Grammar.message();
  const bool UnknownIsFatal = !(Message && Message->ignoreUnknownSegments());
  SGCparsed* Current = Root;
  const unsigned Count = List.countOfSegment();
  for (unsigned Index = 0; Index < Count; ++Index) {
    if (SGCparsed* Placed = SGCparseInsertSegment(Index, List, Current)) {
      Current = Placed;
      continue;
    }
    Context.addError(Index, &List.segment(Index), SGCparsedError::SegmentNotInGrammar, Current, UnknownIsFatal);
  }
  SGCpruneLastNodesInRepeats(Root);
  SGCpruneEmptyNodes(Root);
  SGCparseCheckOptionalityForErrors(Root, Errors);
  SGCparseCheckRepeatsExceeded(Root, Errors);
}

// --- building

COLreferencePtr<SGCparsed> SGCparseCreateRoot(QVMmessageGrammar& Rule) {
  COL_PRECONDITION(!Rule.isNode());
  COLreferencePtr<SGCparsedGroup> Root(new SGCparsedGroup(&Rule));
  Root->reserve(static_cast<unsigned>(Rule.countOfSubGrammar()));
  for (size_t Index = 0; Index < Rule.countOfSubGrammar(); ++Index) {
    QVMmessageGrammar& Sub = *Rule.subGrammar(Index);
    SGCparseCreateNewGroupTree(Sub, Root.get(), Sub.isRepeating());
  }
  return Root;
}

void SGCparseCreateNewGroupTree(QVMmessageGrammar& Rule, SGCparsedCollection* Parent, bool MakeRepeats) {
  if (MakeRepeats) {
    SGCparsedRepeats* Repeats = new SGCparsedRepeats(&Rule);
    Parent->append(Repeats);
    SGCparseCreateNewGroupTree(Rule, Repeats, false);
  } else if (Rule.isNode()) {
    Parent->append(new SGCparsedNotPresent(&Rule));
  } else {
    SGCparsedGroup* Group = new SGCparsedGroup(&Rule);
    Group->reserve(static_cast<unsigned>(Rule.countOfSubGrammar()));
    Parent->append(Group);
    for (size_t Index = 0; Index < Rule.countOfSubGrammar(); ++Index) {
      QVMmessageGrammar& Sub = *Rule.subGrammar(Index);
      SGCparseCreateNewGroupTree(Sub, Group, Sub.isRepeating());
    }
  }
}

void SGCparseReplaceNotPresent(SGCparsedNotPresent* Old, COLreferencePtr<SGCparsed> New) {
  COL_PRECONDITION_TEXT(Old && Old->parent(), "pParentBase");
  Old->parent()->setChild(Old->childIndex(), std::move(New));
}

// --- placing one segment

namespace {

// The ignore-order groups that already sent the walk back, for one segment.  A handful at
// most, so a vector beats a hash set.
using SGCvisited = std::vector<const SGCparsed*>;

bool SGCwasVisited(const SGCvisited& Visited, const SGCparsed* Node) {
  return std::find(Visited.begin(), Visited.end(), Node) != Visited.end();
}

bool SGCisIgnoreOrderGroup(SGCparsed* Node) {
  return Node && Node->group() && Node->rule()->ignoreSegmentOrder();
}

bool SGCacceptsSegment(SGCparsed* Node, SGMsegment& Segment) {
  const QVMsegmentGrammar* Grammar = Node->rule()->segment();
  return Grammar && SGCmatchSegment(Segment, *Grammar);
}

bool SGCisProperDescendant(SGCparsed* Node, SGCparsed* Ancestor) {
  for (SGCparsed* Climb = Node ? Node->parent() : nullptr; Climb; Climb = Climb->parent())
    if (Climb == Ancestor) return true;
  return false;
}

// Rule A: one step of the walk; inserts the segment when a placeholder accepts it.
SGCparsed* SGCstep(SGCparsed* Current, const SGCvisited& Visited, unsigned SegmentIndex, SGMsegment& Segment,
                   SGCparsed*& Inserted) {
  if (SGCparsedGroup* Group = Current->group()) {
    if (Group->rule()->ignoreSegmentOrder() && SGCwasVisited(Visited, Group)) {
      SGCparsed* Sibling = SGCparsedGetNextSibling(Group);
      return Sibling ? Sibling : SGCparsedGetNextPreOrder(Group);
    }
    return SGCparsedGetNextPreOrder(Group);
  }
  if (Current->segment()) return SGCparsedGetNextPreOrder(Current);
  if (SGCparsedRepeats* Repeats = Current->repeats()) {
    COL_PRECONDITION_TEXT(Repeats->countOfChild() >= 1, "pRepeats->countOfChild() >= 1");
    return Repeats->child(Repeats->countOfChild() - 1);
  }
  SGCparsedNotPresent* Placeholder = Current->notPresent();
  if (!SGCacceptsSegment(Placeholder, Segment)) return SGCparsedGetNextPreOrder(Placeholder);
  COLreferencePtr<SGCparsed> New(new SGCparsedSegment(Placeholder->rule(), SegmentIndex, &Segment));
  SGCparseReplaceNotPresent(Placeholder, New);
  Inserted = New.get();
  return Inserted;
}

// Rule B: an occurrence that came into use gets a fresh copy behind it, at every level.
void SGCgrowRepeats(SGCparsed* Inserted) {
  SGCparsed* Child = Inserted;
  for (SGCparsedCollection* Parent = Child->parent(); Parent; Child = Parent, Parent = Parent->parent()) {
    SGCparsedRepeats* Repeats = Parent->repeats();
    if (Repeats && Child->childIndex() + 1 == Repeats->countOfChild())
      SGCparseCreateNewGroupTree(*Repeats->rule(), Repeats, false);
  }
}

// Rule C: having climbed out of the last child of an ignore-order group, the walk goes back
// to that group's start once per segment, unless the forward walk will meet a place anyway.
SGCparsed* SGCrestartIfLeaving(SGCparsed* Old, SGCparsed* Current, SGCvisited& Visited, SGMsegment& Segment) {
  SGCparsed* Level = Old;
  bool AtEnd = Current == nullptr;
  if (Current) {
    if (Old->parent() && Old->parent()->repeats()) Level = Old->parent();
    if (Current->depth() < Level->depth() && !SGCparsedGetNextSibling(Level)) AtEnd = true;
  }
  if (!AtEnd) return Current;
  SGCparsed* Restart = Level->parent();
  while (Restart && !SGCisIgnoreOrderGroup(Restart)) Restart = Restart->parent();
  if (!Restart) return Current;
  if (Current && SGCisProperDescendant(Current, Restart)) {
    for (SGCparsed* Scan = SGCparsedGetNextPreOrder(Level); Scan && Scan->depth() >= Restart->depth();
         Scan = SGCparsedGetNextPreOrder(Scan)) {
      if (Scan->notPresent() && SGCacceptsSegment(Scan, Segment)) return Current;
    }
  }
  if (SGCwasVisited(Visited, Restart)) return Current;
  Visited.push_back(Restart);
  SGCparsed* First = SGCparsedGetFirstChild(Restart);
  return (First && !SGCwasVisited(Visited, First)) ? First : Current;
}

}  // namespace

SGCparsed* SGCparseInsertSegment(unsigned SegmentIndex, SGMsegmentList& List, SGCparsed* Current) {
  SGMsegment& Segment = List.segment(SegmentIndex);
  SGCparsed* Inserted = nullptr;
  SGCvisited Visited;
  while (Current && !Inserted) {
    SGCparsed* Old = Current;
    Current = SGCstep(Current, Visited, SegmentIndex, Segment, Inserted);
    if (Inserted) {
      SGCgrowRepeats(Inserted);
      break;
    }
    Current = SGCrestartIfLeaving(Old, Current, Visited, Segment);
    if (Current == Old) COL_PRECONDITION_TEXT(SGCisIgnoreOrderGroup(Current->parent()), "pInsertedParsed");
  }
  return Inserted;
}

// --- after the pass

void SGCpruneLastNodesInRepeats(SGCparsed* Node) {
  if (!Node) return;
  SGCparsedCollection* Collection = Node->collection();
  if (!Collection) return;
  for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index) SGCpruneLastNodesInRepeats(Collection->child(Index));
  if (Node->repeats() && Collection->countOfChild() >= 1) Collection->remove(Collection->countOfChild() - 1);
}

bool SGCparsedIsEmptyNode(SGCparsed* Node) {
  if (!Node || Node->notPresent()) return true;
  SGCparsedCollection* Collection = Node->collection();
  if (!Collection) return false;
  for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index)
    if (!SGCparsedIsEmptyNode(Collection->child(Index))) return false;
  return true;
}

void SGCpruneEmptyNodes(SGCparsed* Node) {
  if (!Node || Node->notPresent()) return;
  if (Node->parent() && SGCparsedIsEmptyNode(Node)) {
    Node->parent()->setChild(Node->childIndex(), new SGCparsedNotPresent(Node->rule()));
    return;
  }
  if (SGCparsedCollection* Collection = Node->collection())
    for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index) SGCpruneEmptyNodes(Collection->child(Index));
}

bool SGCisFullyRequired(QVMmessageGrammar& Rule) {
  if (Rule.isNode()) return !Rule.isOptional();
  if (Rule.isOptional()) return false;
  for (size_t Index = 0; Index < Rule.countOfSubGrammar(); ++Index)
    if (SGCisFullyRequired(*Rule.subGrammar(Index))) return true;
  return false;
}

void SGCparseCheckOptionalityForErrors(SGCparsed* Tree, SGCparsedErrorVector& Errors) {
  COL_PRECONDITION_TEXT(Tree != nullptr, "pTree != 0");
  if (Tree->parent() && SGCparsedIsEmptyNode(Tree)) {
    if (SGCisFullyRequired(*Tree->rule()))
      Errors.push_back(new SGCparsedError(0, nullptr, SGCparsedError::RequiredItemMissing, Tree, true));
    return;
  }
  COL_PRECONDITION_TEXT(Tree->segment() || Tree->collection(), "pTree->segment() != 0 || pTree->collection() != 0");
  if (SGCparsedCollection* Collection = Tree->collection())
    for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index)
      SGCparseCheckOptionalityForErrors(Collection->child(Index), Errors);
}

void SGCparseCheckRepeatsExceeded(SGCparsed* Node, SGCparsedErrorVector& Errors) {
  if (!Node) return;
  SGCparsedRepeats* Repeats = Node->repeats();
  const QVMmessageGrammar* Rule = Node->rule();
  if (Repeats && Rule->isRepeating() && Rule->maximumRepeat() != 0 &&
      Repeats->countOfChild() > Rule->maximumRepeat() + 1 && Node->parent()) {
    SGCparsed* Last = Repeats->child(Repeats->countOfChild() - 1);
    SGCparsedSegment* Placed = Last->segment();
    Errors.push_back(new SGCparsedError(Placed ? Placed->index() : 0, Placed ? Placed->segmentPointer() : nullptr,
                                        SGCparsedError::RepeatCountExceeded, Last, true));
  }
  if (SGCparsedCollection* Collection = Node->collection())
    for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index)
      SGCparseCheckRepeatsExceeded(Collection->child(Index), Errors);
}
