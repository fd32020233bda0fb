// Segment matching, the order-tolerant parse, checker 2 and the choice between the checkers.
#include <vector>

#include "COLerror.h"
#include "QVMidentifier.h"
#include "QVMmessageChecker.h"
#include "QVMsegmentChecker.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SGCskippedSegments.h"

namespace {

constexpr uint32_t QVM_MESSAGE_CHECKER_2 = 0;
constexpr uint32_t QVM_MESSAGE_CHECKER_3 = 1;
constexpr uint32_t CheckerFault = 0x80002004;

COLstring number(unsigned Value) { return COLstring(std::to_string(Value)); }

}  // namespace

// The name the checkers' texts give a whole grammar: its message's.
COLstring QVMmessageCheckerRootName(const QVMmessageGrammar& Grammar) {
  const QVMmessageGrammar* Root = &Grammar;
  while (Root->parent()) Root = Root->parent();
  return Root->message() ? Root->message()->name() : Root->grammarName();
}

// --- the order-tolerant parse

namespace {

void createStructuredTreeFromGrammar(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Tree) {
  Tree.setLabel(Grammar.grammarName());
  if (Grammar.isNode()) {
    Tree.setSegmentGrammar(Grammar.segment());
    return;
  }
  for (size_t Index = 0; Index < Grammar.countOfSubGrammar(); ++Index)
    createStructuredTreeFromGrammar(*Grammar.subGrammar(Index), *Tree.makeNodeUpTo(static_cast<unsigned>(Index), 0));
}

}  // namespace

bool QVMsegmentOrderTolerantGrammarParser::checkMessage(const QVMmessageGrammar& Grammar, const QVMuntypedMessageTree&,
                                                        QVMtypedMessageTree& Typed, QVMtypedMessageTree& Structured) {
  createStructuredTreeFromGrammar(Grammar, Structured);
  // Only segments at the top of the grammar find a place here; the others are told of.
  std::vector<bool> Placed(SGCskippedSegmentsHeard() ? Typed.countOfSubNode() : 0, false);
  for (unsigned Leaf = 0; Leaf < Grammar.countOfSubGrammar(); ++Leaf) {
    const QVMmessageGrammar& Sub = *Grammar.subGrammar(Leaf);
    if (!Sub.isNode()) continue;
    COL_PRECONDITION_TEXT(Sub.segment() != nullptr, "pSegmentGrammar != NULL");
    QVMtypedMessageTree& Slot = *Structured.node(Leaf, 0);
    bool First = true;
    for (unsigned Index = 0; Index < Typed.countOfSubNode(); ++Index) {
      QVMtypedMessageTree& Segment = *Typed.node(Index, 0);
      if (Segment.segmentGrammar() != Sub.segment() || Segment.isNull()) continue;
      QVMtypedMessageTree& Target = First ? Slot : *Slot.addRepeatNode();
      Target.replaceNode(Segment);
      Target.setIsPresent(true);
      Structured.setIsPresent(true);
      First = false;
      if (!Placed.empty()) Placed[Index] = true;
    }
  }
  for (unsigned Index = 0; Index < Placed.size(); ++Index)
    if (!Placed[Index] && !Typed.node(Index, 0)->isNull())
      SGCreportSkippedSegment(Grammar, Typed.node(Index, 0)->getLabel(), Index);
  return true;
}

// --- checker 2

bool QVMmessageChecker2::checkMessage(const QVMmessageGrammar& Grammar, const QVMuntypedMessageTree& Raw,
                                      QVMtypedMessageTree& Typed, QVMtypedMessageTree& Structured, bool Lenient) {
  pGrammar = &Grammar;
  pRawList = &Raw;
  pTypedList = &Typed;
  lenient = Lenient;
  segmentIndex = 0;
  inRepeat = false;
  TreePath.assign(1, &Structured);
  Structured.setLabel(Grammar.grammarName());
  verify(Grammar);
  if (!Lenient && segmentIndex < Typed.countOfSubNode())
    throw COLerror("Unknown trailing segments were encountered.  From segment " + number(segmentIndex + 1) +
                       " which was " + Typed.node(segmentIndex, 0)->getLabel() +
                       ", none of segments could be correctly integrated into the segment grammar:" +
                       QVMmessageCheckerRootName(Grammar),
                   CheckerFault);
  for (unsigned Index = segmentIndex; Index < Typed.countOfSubNode(); ++Index)
    SGCreportSkippedSegment(Grammar, Typed.node(Index, 0)->getLabel(), Index);
  return true;
}

void QVMmessageChecker2::verify(const QVMmessageGrammar& Grammar) {
  if (segmentIndex >= pTypedList->countOfSubNode()) {
    if (Grammar.isOptional()) return;
    throw COLerror("Message is missing non-optional grammar " + Grammar.fullerGrammarName() + " " +
                       Grammar.grammarName() + " at the end of the message in the overall grammar of " +
                       QVMmessageCheckerRootName(*pGrammar),
                   CheckerFault);
  }
  if (Grammar.isNode())
    verifyNode(Grammar);
  else
    verifyBranch(Grammar);
}

bool QVMmessageChecker2::segmentRequired(const QVMmessageGrammar& Grammar) const {
  if (inRepeat) return false;
  for (const QVMmessageGrammar* Item = &Grammar; Item; Item = Item->parent())
    if (Item->isOptional()) return false;
  return true;
}

bool QVMmessageChecker2::matchCurrentSegment(const QVMmessageGrammar& Grammar) const {
  const QVMtypedMessageTree& Segment = *pTypedList->node(segmentIndex, 0);
  if (Grammar.segment() == nullptr || Segment.getLabel() != Grammar.segment()->name()) return false;
  // The typed list follows the raw one segment for segment.
  if (segmentIndex < pRawList->countOfSubNode())
    return QVMsegmentGrammarMatchSegment(*Grammar.segment(), *pRawList->node(segmentIndex, 0));
  return Segment.segmentGrammar() == Grammar.segment();
}

void QVMmessageChecker2::failRequired(const QVMmessageGrammar& Grammar, unsigned Index) const {
  const COLstring Found = Index < pTypedList->countOfSubNode() ? pTypedList->node(Index, 0)->getLabel() : COLstring();
  throw COLerror("Required segment " + Grammar.grammarName() + " was expected at position " + number(Index + 1) +
                     " where the segment " + Found + " was discovered instead in the message grammar " +
                     QVMmessageCheckerRootName(*pGrammar),
                 CheckerFault);
}

bool QVMmessageChecker2::verifySingleNode(const QVMmessageGrammar& Grammar) {
  if (matchCurrentSegment(Grammar)) {
    copySegment(*TreePath.back());
    return true;
  }
  if (!segmentRequired(Grammar)) return false;
  if (lenient) {
    const unsigned Start = segmentIndex;
    for (segmentIndex = Start + 1; segmentIndex < pTypedList->countOfSubNode(); ++segmentIndex)
      if (matchCurrentSegment(Grammar)) {
        for (unsigned Skipped = Start; Skipped < segmentIndex; ++Skipped)
          SGCreportSkippedSegment(*pGrammar, pTypedList->node(Skipped, 0)->getLabel(), Skipped);
        copySegment(*TreePath.back());
        return true;
      }
    segmentIndex = Start;
  }
  failRequired(Grammar, segmentIndex);
}

void QVMmessageChecker2::verifyNode(const QVMmessageGrammar& Grammar) {
  if (!verifySingleNode(Grammar) || !Grammar.isRepeating()) return;
  QVMtypedMessageTree& First = *TreePath.back();
  while (segmentIndex < pTypedList->countOfSubNode() && matchCurrentSegment(Grammar))
    copySegment(*First.addRepeatNode());
}

void QVMmessageChecker2::copySegment(QVMtypedMessageTree& Node) {
  Node.replaceNode(*pTypedList->node(segmentIndex, 0));
  Node.setIsPresent(true);
  for (QVMtypedMessageTree* Ancestor : TreePath) Ancestor->setIsPresent(true);
  ++segmentIndex;
}

void QVMmessageChecker2::addChildNode(const QVMmessageGrammar& Grammar, unsigned Index) {
  QVMtypedMessageTree& Current = *TreePath.back();
  COL_PRECONDITION_TEXT(Grammar.countOfSubGrammar() > Current.countOfSubNode(),
                        "m_pCurrentGrammar->countOfSubGrammar() > m_pTreePointer->countOfSubNode()");
  QVMtypedMessageTree* Child = Current.makeNodeUpTo(Index, 0);
  Child->setLabel(Grammar.subGrammar(Index)->grammarName());
  TreePath.push_back(Child);
}

void QVMmessageChecker2::popNode() {
  COL_PRECONDITION_TEXT(TreePath.size() > 1, "m_pTreePointer->parent() != NULL");
  TreePath.pop_back();
}

void QVMmessageChecker2::verifyBranch(const QVMmessageGrammar& Grammar) {
  const unsigned Count = static_cast<unsigned>(Grammar.countOfSubGrammar());
  for (unsigned Index = 0; Index < Count; ++Index) {
    addChildNode(Grammar, Index);
    verify(*Grammar.subGrammar(Index));
    popNode();
  }
  QVMtypedMessageTree& First = *TreePath.back();
  if (!Grammar.isRepeating() || !First.isPresent()) return;
  while (segmentIndex < pTypedList->countOfSubNode()) {
    inRepeat = true;
    QVMtypedMessageTree* Occurrence = First.addRepeatNode();
    Occurrence->setLabel(Grammar.grammarName());
    TreePath.back() = Occurrence;
    for (unsigned Index = 0; Index < Count; ++Index) {
      QVMtypedMessageTree* Child = Occurrence->makeNodeUpTo(Index, 0);
      Child->setLabel(Grammar.subGrammar(Index)->grammarName());
      TreePath.push_back(Child);
      verify(*Grammar.subGrammar(Index));
      popNode();
    }
    const bool Present = Occurrence->isPresent();
    TreePath.back() = &First;
    if (!Present) {
      First.removeLastRepeat();
      break;
    }
  }
  inRepeat = false;
}

// --- the choice

void QVMengineInternalValidateAndSortSegments(unsigned ParserVersion, QVMmessageDefinitionInternal& Message,
                                              const QVMmessageChecker3Hooks& Hooks, unsigned Checker3Flags,
                                              QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                                              QVMtypedMessageTree& Structured) {
  QVMmessageGrammar& Grammar = *Message.messageGrammar();
  const bool Lenient = Message.ignoreUnknownSegments();
  Structured.clear();
  // The typed segments of the last message are then this message's to reuse.
  Structured.returnTakenContents();
  if (ParserVersion == QVM_MESSAGE_CHECKER_2) {
    if (Message.ignoreSegmentOrder()) {
      QVMsegmentOrderTolerantGrammarParser().checkMessage(Grammar, Raw, Typed, Structured);
    } else {
      QVMmessageChecker2().checkMessage(Grammar, Raw, Typed, Structured, Lenient);
    }
  } else if (ParserVersion == QVM_MESSAGE_CHECKER_3) {
    const unsigned Flags = (Checker3Flags & ~unsigned(QVMcheckerLenient)) | (Lenient ? QVMcheckerLenient : 0u);
    QVMmessageChecker3().checkMessage(Hooks, Grammar, Raw, Typed, Structured, Flags);
  } else {
    throw COLerror("Unknown Parser Version : " + number(ParserVersion), 0x80000100);
  }
}
