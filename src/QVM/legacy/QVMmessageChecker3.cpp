// Checker 3: places one segment at a time. A position (grammar, structured node, start index,
// continuation) stands where the last segment went; each segment is searched below it, and the
// position climbs a level whenever the search fails there.
#include "COLerror.h"
#include "QVMmessageChecker.h"
#include "QVMsegmentChecker.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMsegmentValidationRule.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPsituationalRule.h"
#include "SGCparsedErrorPrepare.h"
#include "QVMmessageDefinitionInternal.h"
#include "SGCskippedSegments.h"

COLstring QVMmessageCheckerRootName(const QVMmessageGrammar& Grammar);

namespace {

constexpr uint32_t Unplaceable = 0x80002002;
constexpr uint32_t NoIdentifier = 0x80002005;
constexpr uint32_t RequiredHere = 0x80002007;
constexpr uint32_t RequiredAtEnd = 0x80002008;
constexpr uint32_t SegmentRepeats = 0x80002009;
constexpr uint32_t GroupRepeats = 0x80002010;
constexpr uint32_t Misuse = 0x80000500;

COLstring number(unsigned Value) { return COLstring(std::to_string(Value)); }

// The last repeat of sub-node `Index`, null where the tree has none; never grows the tree.
QVMtypedMessageTree* lastRepeat(QVMtypedMessageTree* N, unsigned Index) {
  if (N == nullptr || Index >= N->countOfSubNode()) return nullptr;
  QVMtypedMessageTree* First = N->node(Index, 0);
  return First->getRepeatedNode(First->countOfRepeat() - 1);
}

QVMtypedMessageTree* existingNode(QVMtypedMessageTree* N, unsigned Index, unsigned Repeat) {
  if (N == nullptr || Index >= N->countOfSubNode()) return nullptr;
  QVMtypedMessageTree* First = N->node(Index, 0);
  return Repeat < First->countOfRepeat() ? First->getRepeatedNode(Repeat) : nullptr;
}

bool present(const QVMtypedMessageTree* Node) { return Node != nullptr && Node->isPresent(); }

bool leafHits(const QVMmessageGrammar& Leaf, const QVMuntypedMessageTree& Raw) {
  return Leaf.segment() != nullptr && Raw.getLabel() == Leaf.segment()->name() &&
         QVMsegmentGrammarMatchSegment(*Leaf.segment(), Raw);
}

}  // namespace

unsigned QVMmessageCheckerFirstRequired(const QVMmessageGrammar& Grammar) {
  const unsigned Count = static_cast<unsigned>(Grammar.countOfSubGrammar());
  for (unsigned Index = 0; Index < Count; ++Index) {
    const QVMmessageGrammar& Sub = *Grammar.subGrammar(Index);
    if (!Sub.isNode()) return Index > 0 ? Index - 1 : 0;
    if (!Sub.isOptional()) return Index;
  }
  return Count;
}

bool hasRepeatingParent(const QVMmessageGrammar& Leaf, QVMmessageChecker3::Path& Path) {
  Path.clear();
  const QVMmessageGrammar* Ancestor = Leaf.parent();
  Path.emplace_back(0, 0);
  while (Ancestor && !Ancestor->isRepeating()) {
    Ancestor = Ancestor->parent();
    Path.emplace_back(0, 0);
  }
  if (Ancestor == nullptr || Ancestor->parent() == nullptr) {
    Path.clear();
    return false;
  }
  Path.front().first = static_cast<unsigned>(Ancestor->childIndex());
  const QVMmessageGrammar* Walk = Ancestor->parent();
  for (const auto& [Index, Repeat] : Path) {
    if (Walk->isNode() || Index >= Walk->countOfSubGrammar()) {
      Path.clear();
      return false;
    }
    Walk = Walk->subGrammar(Index);
  }
  if (Walk != Leaf.parent()) {
    Path.clear();
    return false;
  }
  return true;
}

namespace {

// The working paths' storage outlives the checker, which lives for one message: the next
// message's checker on this thread takes it over without allocating.
QVMmessageChecker3::Path& spareAddress() {
  thread_local QVMmessageChecker3::Path Spare;
  return Spare;
}
QVMmessageChecker3::Path& spareWay() {
  thread_local QVMmessageChecker3::Path Spare;
  return Spare;
}

}  // namespace

QVMmessageChecker3::QVMmessageChecker3() {
  address.swap(spareAddress());
  way.swap(spareWay());
}

QVMmessageChecker3::~QVMmessageChecker3() {
  // A checker left by any road gives back what its rules changed.
  restoreAffectedGrammars();
  stopListening();
  address.clear();
  way.clear();
  address.swap(spareAddress());
  way.swap(spareWay());
}

bool QVMmessageChecker3::IsSegmentDefined(const QVMuntypedMessageTree& Segment, const QVMmessageGrammar& Grammar) {
  if (Grammar.isNode()) return leafHits(Grammar, Segment);
  for (size_t Index = 0; Index < Grammar.countOfSubGrammar(); ++Index)
    if (IsSegmentDefined(Segment, *Grammar.subGrammar(Index))) return true;
  return false;
}

QVMtypedMessageTree* QVMmessageChecker3::LastTypedSegment() {
  if (pTypedList == nullptr || pTypedList->countOfSubNode() == 0) return nullptr;
  return pTypedList->node(pTypedList->countOfSubNode() - 1, 0);
}

bool QVMmessageChecker3::checkMessage(const QVMmessageChecker3Hooks& Hooks, QVMmessageGrammar& Grammar,
                                      QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                                      QVMtypedMessageTree& Structured, unsigned Flags) {
  COL_PRECONDITION_TEXT(static_cast<bool>(Hooks.CheckSegment), "CheckFunction != NULL");
  pHooks = &Hooks;
  pMessageGrammar = &Grammar;
  pRawList = &Raw;
  pTypedList = &Typed;
  hasHeaderEncodingChars = (Flags & QVMcheckerHasHeaderEncodingChars) != 0;
  encodingChars.clear();
  segmentIndex = 0;
  if (hasHeaderEncodingChars && Raw.countOfSubNode() > 0 && Raw.node(0, 0)->countOfSubNode() > 2) {
    QVMuntypedMessageTree& Field = *Raw.node(0, 0)->node(2, 0);
    if (!Field.isNull()) {
      encodingChars = Field.getValue();
      Field.setStringValue(COLstring());  // blank, not null: the strict check still finds the field
    }
  }
  Typed.clear();
  unsigned Count = 0;
  for (; Count < Raw.countOfSubNode(); ++Count) {
    QVMuntypedMessageTree& Segment = *Raw.node(Count, 0);
    if (Segment.countOfSubNode() == 0) {
      if (Segment.isNull()) break;
      const COLstring Name = Segment.getValue();
      Segment.node(0, 0)->setStringValue(Name);
    }
    if (Segment.node(0, 0)->isNull()) {
      segmentIndex = Count;
      Raw.addError(9, "Segment has no identifier.");
      COLerror Error("Segment has no identifier.", NoIdentifier);
      anotateException(Error, nullptr, 0);
    }
    Segment.setLabel(Segment.node(0, 0)->getValue());
  }
  // Segments behind the one that ended the walk are not part of the message.
  Raw.cutSubNodesKeeping(Count);
  segmentIndex = 0;
  LastErredSubGrammar = nullptr;
  rejectBadSegmentGrammar = (Flags & QVMcheckerRejectBadSegmentGrammar) != 0;
  lenient = (Flags & QVMcheckerLenient) != 0;
  clearRawSegments = (Flags & QVMcheckerDisableUntypedTreeInException) != 0;
  copyMatchesStart(Structured);
  return true;
}

void QVMmessageChecker3::copyMatchesStart(QVMtypedMessageTree& Structured) {
  try {
    placeSegments(Structured);
    checkRequired(*pMessageGrammar, &Structured, true);
    restoreAffectedGrammars();
    stopListening();
  } catch (COLerror& Caught) {
    if (Caught.code() == RequiredHere || Caught.code() == RequiredAtEnd) {
      COL_PRECONDITION_TEXT(LastErredSubGrammar != nullptr, "LastErredSubGrammar != NULL");
      if (const messageGrammarState* Found = affectedStateOf(LastErredSubGrammar)) {
        const messageGrammarState Previous = *Found;
        restoreAffectedGrammars();
        stopListening();
        COL_PRECONDITION_TEXT(Previous.pSourceValidationRule->classId() == QVMsituationalPythonRule,
                              "pPreviousState->pSourceValidationRule->ruleId() == "
                              "QVMsegmentValidationRule::eSituationalPython");
        auto& Rule = const_cast<QVMsegmentValidationRuleSituationalPython&>(
            static_cast<const QVMsegmentValidationRuleSituationalPython&>(*Previous.pSourceValidationRule));
        QVPdoSituationalPythonOnError(Rule, pHooks->RunRuleScript);
      }
    }
    restoreAffectedGrammars();
    stopListening();
    throw;
  }
}

void QVMmessageChecker3::placeSegments(QVMtypedMessageTree& Structured) {
  QVMmessageGrammar* G = pMessageGrammar;
  QVMtypedMessageTree* N = &Structured;
  unsigned S = 0;
  bool Continuation = false;
  bool Popped = false;
  Structured.setLabel(G->grammarName());
  Structured.setIsPresent(true);
  const auto popLevel = [&] {
    S = static_cast<unsigned>(G->childIndex());
    G = G->parent();
    N = N->parent();
    Continuation = true;
    Popped = true;
  };
  while (segmentIndex < pRawList->countOfSubNode()) {
    QVMuntypedMessageTree& Raw = *pRawList->node(segmentIndex, 0);
    Path& Address = address;
    Address.clear();
    bool OpenedRepeat = false;
    unsigned Depth = 0;
    if (!findSegment(G, Address, Raw, N, S, Continuation, OpenedRepeat, true, true, Depth)) {
      if (G->parent() != nullptr) {
        popLevel();
        continue;
      }
      if (!lenient) {
        COLerror Error(IsSegmentDefined(Raw, *pMessageGrammar)
                           ? "Segment " + Raw.getLabel() + " appears at position " + number(segmentIndex + 1) +
                                 " but could not be placed into the message grammar " +
                                 QVMmessageCheckerRootName(*pMessageGrammar)
                           : "Undefined segment " + Raw.getLabel() + " was found at position " +
                                 number(segmentIndex + 1) + " in the message grammar " +
                                 QVMmessageCheckerRootName(*pMessageGrammar),
                       Unplaceable);
        anotateException(Error, nullptr, 0);
      }
      SGCreportSkippedSegment(*pMessageGrammar, Raw.getLabel(), segmentIndex);
      ++segmentIndex;
      continue;
    }
    for (; OpenedRepeat && Depth > 0; --Depth) popLevel();
    if (Popped && G->ignoreSegmentOrder() && !checkTransitionPath(G, Address) && G->parent() != nullptr) {
      popLevel();
      continue;
    }
    // Walk down to the place, marking the way present.
    QVMmessageGrammar* Grammar = G;
    QVMtypedMessageTree* Node = N;
    for (const auto& [Index, Repeat] : Address) {
      QVMtypedMessageTree* Next = Node->makeNodeUpTo(Index, Repeat);
      Grammar = Grammar->subGrammar(Index);
      if (!Grammar->isNode()) Next->setLabel(Grammar->grammarName());
      Next->setIsPresent(true);
      Node = Next;
      if (!affected.empty()) {
        const auto Entry = affected.find(Grammar);
        if (Entry != affected.end()) {
          Grammar->setIsOptional(!Entry->second.required);
          affected.erase(Entry);
        }
      }
    }
    const QVMsegmentGrammar& Segment = *Grammar->segment();
    listenTo(Segment);
    addUnfilteredTypedSegment(Segment, Raw);
    QVMtypedMessageTree& TypedSegment = *LastTypedSegment();
    if (hasHeaderEncodingChars && TypedSegment.getLabel() == "MSH")
      TypedSegment.makeNodeUpTo(1, 0)->setStringValue(encodingChars);
    Node->replaceNode(TypedSegment);
    Node->setIsPresent(true);
    if (clearRawSegments) Raw.fullClear();
    ++segmentIndex;
    // The next search starts beside the segment just placed.
    const Step Last = Address.back();
    Address.pop_back();
    for (const auto& [Index, Repeat] : Address) {
      G = G->subGrammar(Index);
      N = N->node(Index, Repeat);
    }
    S = Last.first;
    Continuation = true;
    Popped = false;
  }
}

bool QVMmessageChecker3::findSegment(QVMmessageGrammar* G, Path& Address, QVMuntypedMessageTree& Raw,
                                     QVMtypedMessageTree* N, unsigned S, bool Continuation, bool& OpenedRepeat,
                                     bool TopLevel, bool Required, unsigned& Depth) {
  COL_PRECONDITION_TEXT(G != nullptr, "pStartGrammar != NULL");
  if (G->ignoreSegmentOrder() && G->isRepeating())
    throw COLerror("The Segment Group " + G->fullerGrammarName() + " cannot be both unordered and repeating.", Misuse);
  const bool Ordered = !G->ignoreSegmentOrder();
  const unsigned Count = static_cast<unsigned>(G->countOfSubGrammar());
  const unsigned FirstRequired = QVMmessageCheckerFirstRequired(*G);
  unsigned I = (Ordered && !G->isRepeating() && Continuation) ? S : 0;
  while (I < Count) {
    QVMmessageGrammar* Sub = G->subGrammar(I);
    QVMtypedMessageTree* Node = lastRepeat(N, I);
    if (Continuation && I == S &&
        ((!Ordered && Sub->isNode() && !Sub->isRepeating()) || (Ordered && !G->isRepeating() && !Sub->isNode()))) {
      ++I;
      continue;
    }
    if (!Sub->isNode()) {
      const size_t Mark = Address.size();
      Address.emplace_back(I, Node ? N->node(I, 0)->countOfRepeat() - 1 : 0);
      const bool SubRequired = Required && !Sub->ignoreSegmentOrder() && !Sub->isOptional();
      if (findSegment(Sub, Address, Raw, Node, 0, false, OpenedRepeat, false, SubRequired, Depth)) {
        if (!TopLevel || topLevelPathHolds(G, N, Address, OpenedRepeat, Depth)) return true;
        Address.resize(OpenedRepeat ? 0 : Mark);
        OpenedRepeat = false;
        Depth = 0;
      } else {
        Address.resize(Mark);
      }
      ++I;
      continue;
    }
    const bool RequiredHereToo = !Sub->isOptional() && (Required || present(N)) && !missingAllowed(*Sub);
    if (leafHits(*Sub, Raw)) {
      if (findInLeaf(G, Address, N, I, FirstRequired, Node, OpenedRepeat, Depth)) return true;
      if (present(Node) || !Ordered) {
        ++I;
        continue;
      }
      return false;
    }
    if (I == FirstRequired && G->isRepeating() && Continuation) {
      I = S > FirstRequired ? S + (G->subGrammar(S)->isNode() ? 0 : 1) : I + 1;
      continue;
    }
    if (!RequiredHereToo || present(Node)) {
      ++I;
      continue;
    }
    LastErredSubGrammar = Sub;
    COLerror Error("Required segment " + Sub->fullGrammarName() + " was expected at message position " +
                       number(segmentIndex + 1) + " where the segment " + Raw.getLabel() +
                       " was discovered instead in the message grammar " + QVMmessageCheckerRootName(*pMessageGrammar),
                   RequiredHere);
    if (!lenient) anotateException(Error, Sub, 0);
    return false;
  }
  return false;
}

// A leaf that names the segment: the place it takes there, or false where it can't take one.
bool QVMmessageChecker3::findInLeaf(QVMmessageGrammar* G, Path& Address, QVMtypedMessageTree* N, unsigned I,
                                    unsigned FirstRequired, QVMtypedMessageTree* Node, bool& OpenedRepeat,
                                    unsigned& Depth) {
  QVMmessageGrammar& Sub = *G->subGrammar(I);
  const size_t Mark = Address.size();
  Address.emplace_back(I, 0);
  if (present(Node)) {
    COL_PRECONDITION_TEXT(present(N), "pStructuredMessage->isPresent()");
    if (Sub.isRepeating()) {
      const unsigned Next = N->node(I, 0)->countOfRepeat();
      if (Sub.maximumRepeat() != 0 && Next > Sub.maximumRepeat()) {
        COLerror Error("Segment " + Sub.fullGrammarName() + " exceeds maximum repeat count", SegmentRepeats);
        Error.setParameter("MaximumRepeat", Sub.maximumRepeat());
        throw Error;
      }
      Address.back().second = Next;
    } else {
      Path& Way = way;
      if (!hasRepeatingParent(Sub, Way) || I > FirstRequired) {
        Address.resize(Mark);
        return false;
      }
      // The way runs from the repeating ancestor's parent; climb where the address is shorter.
      OpenedRepeat = true;
      Depth = Way.size() > Mark ? static_cast<unsigned>(Way.size() - Mark) : 0;
      Address.resize(Mark - (Way.size() - Depth));
      QVMtypedMessageTree* AncestorParent = N;
      for (size_t Level = 0; Level < Way.size(); ++Level) AncestorParent = AncestorParent->parent();
      const QVMmessageGrammar& Ancestor = *Sub.parent();
      const QVMmessageGrammar* Repeating = &Ancestor;
      while (!Repeating->isRepeating()) Repeating = Repeating->parent();
      Way.front().second = AncestorParent->node(Way.front().first, 0)->countOfRepeat();
      Address.insert(Address.end(), Way.begin(), Way.end());
      Address.emplace_back(I, 0);
      if (Repeating->maximumRepeat() != 0 && Way.front().second > Repeating->maximumRepeat()) {
        COLerror Error("Segment group " + Repeating->fullGrammarName() + " exceeds maximum repeat count.",
                       GroupRepeats);
        Error.setParameter("MaximumRepeat", Repeating->maximumRepeat());
        throw Error;
      }
    }
  }
  if (!G->ignoreSegmentOrder() && I > FirstRequired && !present(N)) {
    for (unsigned Before = 0; Before < I; ++Before)
      if (!G->subGrammar(Before)->grammarIsOptional()) {
        Address.resize(OpenedRepeat ? 0 : Mark);
        OpenedRepeat = false;
        Depth = 0;
        return false;
      }
  }
  return true;
}

bool QVMmessageChecker3::topLevelPathHolds(QVMmessageGrammar* G, QVMtypedMessageTree* N, const Path& Address,
                                           bool OpenedRepeat, unsigned Depth) const {
  if (OpenedRepeat)
    for (unsigned Level = 0; Level < Depth; ++Level) {
      G = G->parent();
      N = N ? N->parent() : nullptr;
    }
  for (const auto& [Index, Repeat] : Address) {
    if (G->isNode()) break;
    if (!G->ignoreSegmentOrder() && Index > 0 && !present(N))
      for (unsigned Before = 0; Before < Index; ++Before)
        if (!G->subGrammar(Before)->grammarIsOptional()) return false;
    G = G->subGrammar(Index);
    N = existingNode(N, Index, Repeat);
  }
  return true;
}

bool QVMmessageChecker3::checkTransitionPath(const QVMmessageGrammar* G, const Path& Address) const {
  if (!G->ignoreSegmentOrder()) return true;
  for (const auto& [Index, Repeat] : Address) {
    if (G->isNode()) break;
    const QVMmessageGrammar* Sub = G->subGrammar(Index);
    if (!G->ignoreSegmentOrder() && !Sub->isNode() && Index > QVMmessageCheckerFirstRequired(*G)) return false;
    G = Sub;
  }
  return true;
}

// A host that listens for missing required segments takes the message without them; a group a
// situational rule made required still fails, so that the rule's own error code runs.
bool QVMmessageChecker3::missingAllowed(const QVMmessageGrammar& Grammar) const {
  return SGCmissingRequiredListener() != nullptr && affectedStateOf(&Grammar) == nullptr;
}

void QVMmessageChecker3::checkRequired(const QVMmessageGrammar& Grammar, const QVMtypedMessageTree* Tree,
                                       bool Required) {
  for (unsigned Index = 0; Index < Grammar.countOfSubGrammar(); ++Index) {
    QVMmessageGrammar& Sub = *Grammar.subGrammar(Index);
    const QVMtypedMessageTree* First =
        (Tree && Index < Tree->countOfSubNode()) ? Tree->node(Index, 0) : nullptr;
    if (Sub.isNode()) {
      if (Sub.isOptional() || !Required || present(First)) continue;
      if (missingAllowed(Sub)) {
        const QVMmessageDefinitionInternal* Message = pMessageGrammar->message();
        SGCmissingRequiredListener()->missingRequired(Message ? Message->name() : COLstring(), Sub.fullGrammarName(),
                                                      true);
        continue;
      }
      LastErredSubGrammar = &Sub;
      COLerror Error("Required segment " + Sub.grammarName() +
                         " was expected but not found at the position specified in the message grammar " +
                         QVMmessageCheckerRootName(*pMessageGrammar),
                     RequiredAtEnd);
      anotateException(Error, &Sub, 0);
    }
    const bool SubRequired = Required && !Sub.isOptional();
    if (First == nullptr) {
      checkRequired(Sub, nullptr, SubRequired);
      continue;
    }
    for (unsigned Repeat = 0; Repeat < First->countOfRepeat(); ++Repeat) {
      const QVMtypedMessageTree* Occurrence = First->getRepeatedNode(Repeat);
      // An occurrence begun must be complete, even of an optional group.
      checkRequired(Sub, Occurrence, SubRequired || Occurrence->isPresent());
    }
  }
}

void QVMmessageChecker3::addUnfilteredTypedSegment(const QVMsegmentGrammar& Grammar, QVMuntypedMessageTree& Raw) {
  COL_PRECONDITION_TEXT(QVMsegmentGrammarMatchSegment(Grammar, Raw),
                        "QVMsegmentGrammarMatchSegment(*SegmentDefinition, UntypedSegment)");
  COLstring Text;
  if (rejectBadSegmentGrammar && pHooks->AsString) Text = pHooks->AsString(Raw);
  pHooks->CheckSegment(Grammar, Raw, *pTypedList);
  if (rejectBadSegmentGrammar) {
    COL_PRECONDITION_TEXT(static_cast<bool>(pHooks->Check), "CheckFunction != NULL");
    pHooks->Check(Raw, Grammar, Text);
  }
}

void QVMmessageChecker3::listenTo(const QVMsegmentGrammar& Grammar) {
  if (!Grammar.currentScripts().hasRules) return;  // the usual segment: no rule, none to look for
  for (uint32_t Field = 0; Field < Grammar.countOfField(); ++Field)
    for (uint32_t Index = 0; Index < Grammar.countOfValidationRules(Field); ++Index) {
      QVMsegmentValidationRule* Rule = Grammar.getValidationRule(Field, Index);
      if (Rule->classId() != QVMsituationalPythonRule) continue;
      auto* Situational = static_cast<QVMsegmentValidationRuleSituationalPython*>(Rule);
      if (Situational->messageGrammarListener() == static_cast<LAGmessageGrammarListener*>(this)) continue;
      Situational->setMessageGrammar(pMessageGrammar);
      Situational->setMessageGrammarListener(static_cast<LAGmessageGrammarListener*>(this));
      listening.push_back(Situational);
    }
}

void QVMmessageChecker3::onRequiredAffected(QVMmessageGrammar& Grammar, const QVMsegmentValidationRule* Rule,
                                            bool) {
  messageGrammarState State;
  State.pGrammar = &Grammar;
  State.pSourceValidationRule = Rule;
  // Told before the change: what the grammar says now is what must come back.
  State.required = !Grammar.isOptional();
  COL_PRECONDITION_TEXT(State.pGrammar != nullptr, "pCurrentState->pGrammar != NULL");
  COL_PRECONDITION_TEXT(State.pSourceValidationRule != nullptr, "pCurrentState->pSourceValidationRule != NULL");
  if (affected.count(&Grammar) != 0)
    throw COLerror("Cannot set situational grammar for a grammar that is already situational.", Misuse);
  affected.emplace(&Grammar, State);
}

const QVMmessageChecker3::messageGrammarState* QVMmessageChecker3::affectedStateOf(
    const QVMmessageGrammar* Grammar) const {
  // A missing leaf of a group a rule made required is that rule's fault.
  for (; Grammar; Grammar = Grammar->parent()) {
    const auto Entry = affected.find(const_cast<QVMmessageGrammar*>(Grammar));
    if (Entry != affected.end()) return &Entry->second;
  }
  return nullptr;
}

void QVMmessageChecker3::restoreAffectedGrammars() {
  for (auto& [Grammar, State] : affected) Grammar->setIsOptional(!State.required);
  affected.clear();
}

void QVMmessageChecker3::stopListening() {
  for (QVMsegmentValidationRuleSituationalPython* Rule : listening) Rule->setMessageGrammarListener(nullptr);
  listening.clear();
}

void QVMmessageChecker3::anotateException(COLerror& Error, const QVMmessageGrammar* Grammar, unsigned Repeat) {
  const bool Within = pRawList != nullptr && segmentIndex < pRawList->countOfSubNode();
  const COLstring Name = Within ? pRawList->node(segmentIndex, 0)->getLabel() : COLstring();
  SCCstrictGrammarPrepareError(Error, Grammar, Within ? Name.c_str() : nullptr, segmentIndex, Repeat);
  throw Error;
}
