#include "QVMverifySegment.h"

#include <algorithm>

#include "COLerror.h"
#include "LAGenvironment.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMcompositeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMsegmentChecker.h"
#include "QVMsegmentGrammar.h"
#include "QVMuntypedMessageTree.h"

namespace {
constexpr uint32_t kUnknown = 0xFFFFFFFF;
}  // namespace

void QVMengineInternalAddSegmentGrammarAndVerify(QVMengineInternal& Engine, QVMuntypedMessageTree& Segment) {
  if (Segment.countOfSubNode() == 0 || Segment.node(0, 0)->isNull()) return;
  const QVMsegmentGrammar* Grammar = QVMengineInternalFindSegmentGrammar(Engine, Segment);
  Segment.setSegment(Grammar);
  const COLstring Name = Segment.node(0, 0)->getValue();
  if (Grammar != nullptr || Engine.segmentByName(Name) != kUnknown) Segment.setLabel(Name);
  QVMengineInternalVerifySegmentTree(Segment);
}

void QVMengineInternalVerifySegmentTree(QVMuntypedMessageTree& Segment) {
  const QVMsegmentGrammar* Grammar = Segment.segmentGrammar();
  if (Grammar == nullptr) return;
  // A segment that came as one bare value holds it as its name.
  if (Segment.countOfSubNode() == 0 && !Segment.isNull()) Segment.node(0, 0)->setStringValue(Segment.getValue());
  const unsigned Fields = std::min<unsigned>(Segment.countOfSubNode(), Grammar->countOfField() + 1);
  for (unsigned Field = 1; Field < Fields; ++Field) {
    const QVMcompositeGrammar* Type = Grammar->fieldType(Field - 1);
    if (Type == nullptr) continue;
    QVMuntypedMessageTree& Node = *Segment.node(Field, 0);
    for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat)
      QVMengineInternalVerifyNodeWithCompositeGrammar(*Node.getRepeatedNode(Repeat), *Type, *Grammar);
  }
}

void QVMengineInternalVerifyNodeWithCompositeGrammar(QVMuntypedMessageTree& Node, const QVMcompositeGrammar& Composite,
                                                     const QVMsegmentGrammar& SegmentGrammar) {
  // A one-component composite whose component is a composite has its shape one level down.
  if (Composite.countOfField() == 1) {
    if (Composite.fieldDataType(0) == QVMcompositeType && Composite.fieldCompositeType(0) != nullptr)
      QVMengineInternalVerifyNodeWithCompositeGrammar(Node, *Composite.fieldCompositeType(0), SegmentGrammar);
    return;
  }
  if (Composite.countOfField() < 2) return;
  if (Node.countOfSubNode() == 0) {
    if (Node.isNull()) return;
    const COLstring Bare = Node.getValue();
    Node.setNull();
    Node.node(0, 0)->setStringValue(Bare);
  }
  const unsigned Components = std::min<unsigned>(Node.countOfSubNode(), Composite.countOfField());
  for (unsigned Index = 0; Index < Components; ++Index) {
    if (Composite.fieldDataType(Index) != QVMcompositeType) continue;
    if (const QVMcompositeGrammar* Inner = Composite.fieldCompositeType(Index))
      QVMengineInternalVerifyNodeWithCompositeGrammar(*Node.node(Index, 0), *Inner, SegmentGrammar);
  }
}

void QVMengineInternalProcessSegment(QVMengineInternal& Engine, QVMuntypedMessageTree& Segment,
                                     LAGenvironment& Environment) {
  if (Segment.countOfSubNode() == 0) return;
  const uint32_t Index = Engine.segmentByName(Segment.node(0, 0)->getFirstValue());
  if (Index == kUnknown) return;
  const QVMsegmentGrammar& Grammar = *Engine.segment(Index);
  // Positions 1 to below the grammar's count of fields.
  for (unsigned Field = 1; Field < Grammar.countOfField(); ++Field) {
    const LANfunction& Outgoing = Grammar.fieldOutgoingFunction(Field - 1);
    if (!Outgoing.isSet()) continue;
    QVMuntypedMessageTree* Node = Segment.node(Field, 0);
    Environment.setOutgoingField(Node);
    LAGexecuteSegmentEquation(Outgoing, Node, Environment);
  }
}
