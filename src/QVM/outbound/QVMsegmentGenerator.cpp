#include "QVMsegmentGenerator.h"

#include <algorithm>
#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMsegmentGrammar.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPcompositeGenerator.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"

namespace {

COLstring QVMprintedField(const QVMsegmentGrammar& Grammar, unsigned Field) {
  COLstring Text;
  COLostream Stream(Text);
  QVMsegmentGrammarPrintFieldOn(Grammar, Field, Stream);
  Stream.flush();
  return Text;
}

// --- outgoing field equations
// The script works on the field as the current parser holds one: the untyped field is copied
// into a one-field segment, the equation runs there, and the result is written back.

void QVMcopyToSegment(const QVMuntypedMessageTree& Field, SGMstringPool& Pool, SGMfieldRepeats& Repeats) {
  const auto Set = [&Pool](SGMvalue& Value, const QVMuntypedMessageTree& Node) {
    if (Node.isNull()) return;
    const char* Text = Node.getValue();
    SGMstringPoolSetValue(Value, Pool, Text, static_cast<uint32_t>(std::strlen(Text)));
  };
  Repeats.setCountOfFieldRepeat(Field.countOfRepeat());
  for (unsigned Repeat = 0; Repeat < Field.countOfRepeat(); ++Repeat) {
    const QVMuntypedMessageTree& Occurrence = *Field.getRepeatedNode(Repeat);
    SGMfield& Target = Repeats.fieldRepeat(Repeat);
    const unsigned Subs = Occurrence.countOfSubNode();
    Target.setCountOfSubField(std::max(Subs, 1u));
    if (Subs == 0) {
      Set(Target.value(0, 0), Occurrence);
      continue;
    }
    for (unsigned Sub = 0; Sub < Subs; ++Sub) {
      const QVMuntypedMessageTree& Component = *Occurrence.node(Sub, 0);
      const unsigned Parts = Component.countOfSubNode();
      Target.setCountOfSubSubField(Sub, std::max(Parts, 1u));
      if (Parts == 0) Set(Target.value(Sub, 0), Component);
      for (unsigned Part = 0; Part < Parts; ++Part) Set(Target.value(Sub, Part), *Component.node(Part, 0));
    }
  }
}

// An empty value leaves the node null, as the generator does.
void QVMwriteLeaf(QVMuntypedMessageTree& Node, const SGMvalue& Value) {
  Node.setCountOfSubNode(0);
  if (Value.view().empty())
    Node.setNull();
  else
    Node.setStringValue(Value.asString());
}

// Nodes that keep their place keep their labels; those the script dropped go.
void QVMcopyFromSegment(const SGMfieldRepeats& Repeats, QVMuntypedMessageTree& Field) {
  const unsigned Count = std::max(Repeats.countOfFieldRepeat(), 1u);
  Field.setCountOfRepeat(Count);
  for (unsigned Repeat = 0; Repeat < Count; ++Repeat) {
    QVMuntypedMessageTree& Occurrence = *Field.getRepeatedNode(Repeat);
    if (Repeat >= Repeats.countOfFieldRepeat() || Repeats.fieldRepeat(Repeat).countOfSubField() == 0) {
      Occurrence.setCountOfSubNode(0);
      Occurrence.setNull();
      continue;
    }
    const SGMfield& Source = Repeats.fieldRepeat(Repeat);
    const unsigned Subs = Source.countOfSubField();
    if (Subs == 1 && Source.countOfSubSubField(0) <= 1) {
      QVMwriteLeaf(Occurrence, Source.value(0, 0));
      continue;
    }
    Occurrence.setNull();
    Occurrence.setCountOfSubNode(Subs);
    for (unsigned Sub = 0; Sub < Subs; ++Sub) {
      QVMuntypedMessageTree& Component = *Occurrence.node(Sub, 0);
      const unsigned Parts = Source.countOfSubSubField(Sub);
      if (Parts <= 1) {
        QVMwriteLeaf(Component, Source.value(Sub, 0));
        continue;
      }
      Component.setNull();
      Component.setCountOfSubNode(Parts);
      for (unsigned Part = 0; Part < Parts; ++Part) QVMwriteLeaf(*Component.node(Part, 0), Source.value(Sub, Part));
    }
  }
}

// Runs the field's outgoing equation on `Node`; a failure names the field and its segment.
void QVMrunFieldScript(const QVMsegmentGrammar& Grammar, unsigned Field, QVMuntypedMessageTree& Node,
                       LAGenvironment& Environment) {
  const LANfunction& Function = Grammar.fieldOutgoingFunction(Field);
  try {
    // One that did not compile runs only to report why.
    if (!Function.isSet()) Function.execute();
    SGMstringPool Pool;
    SGMsegment Segment;
    Segment.setCountOfField(1);
    QVMcopyToSegment(Node, Pool, Segment.fieldRepeats(0));
    LAGexecuteFieldEquation(Function, Pool, Segment, 0, Environment);
    QVMcopyFromSegment(Segment.fieldRepeats(0), Node);
  } catch (const COLerror& Caught) {
    COLstring Text;
    COLostream(Text) << "The outgoing field equation of field " << (Field + 1) << " '" << Grammar.fieldName(Field)
                     << "' of segment " << Grammar.name() << " failed:\r\n"
                     << Caught.description() << flush;
    COLerror Error(Caught);
    Error.setDescription(Text);
    throw Error;
  }
}

bool QVMhasFieldScript(const QVMsegmentGrammar& Grammar, unsigned Field) {
  return Grammar.fieldOutgoingFunction(Field).state() != LANfunction::StateEmpty;
}

[[noreturn]] void QVMtooManyRepeats(const QVMsegmentGrammar& Grammar, unsigned Field) {
  COLstring Text;
  COLostream Stream(Text);
  Stream << "Field " << Grammar.fieldName(Field) << " in segment " << Grammar.name();
  if (Grammar.fieldMaxRepeat(Field) != 0)
    Stream << " only has " << Grammar.fieldMaxRepeat(Field) << " repeats allowed.  ";
  else
    Stream << " is not repeating.  ";
  Stream << "You can change this by editing the grammar of this segment.";
  Stream.flush();
  throw COLerror(Text, COL_ERROR_PRECONDITION);
}

}  // namespace

bool QVMsegmentGenerator::generateSegment(LANengine*, const QVMtypedMessageTree& TypedSegment,
                                          QVMuntypedMessageTree& UntypedList, const QVMsegmentGrammar& SegmentGrammar,
                                          const SCCescaper& Escaper, bool* Ok, LAGenvironment& Environment) {
  const unsigned Count = std::min(TypedSegment.countOfSubNode(), SegmentGrammar.countOfField());
  UntypedList.addNode();
  QVMuntypedMessageTree& Segment = *UntypedList.node(UntypedList.countOfSubNode() - 1, 0);
  Segment.node(0, 0)->setStringValue(SegmentGrammar.name());
  Segment.setSegment(&SegmentGrammar);
  Segment.setLabel(SegmentGrammar.name());
  checkRequiredFieldsPresent(TypedSegment, Segment, SegmentGrammar, Count, Ok);
  for (unsigned Field = 0; Field < Count; ++Field) {
    const QVMtypedMessageTree& Typed = *TypedSegment.node(Field, 0);
    if (Typed.countOfRepeat() - 1 > SegmentGrammar.fieldMaxRepeat(Field)) QVMtooManyRepeats(SegmentGrammar, Field);
    checkField(Typed, *Segment.node(Field + 1, 0), SegmentGrammar, Field, Escaper, Ok, Environment);
  }
  if (Count < SegmentGrammar.countOfField()) setAdditionalDefaultFields(Segment, SegmentGrammar, Count, Environment);
  return *Ok;
}

void QVMsegmentGenerator::checkRequiredFieldsPresent(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                                     const QVMsegmentGrammar& Grammar, unsigned Count, bool* Ok) {
  COLstring Missing;
  for (unsigned Field = Typed.countOfSubNode(); Field < Grammar.countOfField(); ++Field) {
    if (!Grammar.isFieldRequired(Field)) continue;
    if (!Missing.empty()) Missing += " ";
    Missing += QVMprintedField(Grammar, Field);
  }
  if (!Missing.empty()) {
    Untyped.addError(0, "Required fields missing: " + Missing);
    *Ok = false;
  }
  for (unsigned Field = 0; Field < Count; ++Field) {
    const QVMtypedMessageTree& Node = *Typed.node(Field, 0);
    if (!Grammar.isFieldRequired(Field) || !Node.isNull() || Node.countOfSubNode() != 0) continue;
    Untyped.node(Field + 1, 0)->addError(0, "Required " + QVMprintedField(Grammar, Field) + " not present.");
    *Ok = false;
  }
}

void QVMsegmentGenerator::checkField(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                     const QVMsegmentGrammar& Grammar, unsigned Field, const SCCescaper& Escaper,
                                     bool* Ok, LAGenvironment& Environment) {
  const QVMcompositeGrammar* Composite = Grammar.fieldType(Field);
  for (unsigned Repeat = 0; Repeat < Typed.countOfRepeat(); ++Repeat) {
    const QVMtypedMessageTree& Occurrence = *Typed.getRepeatedNode(Repeat);
    if (Occurrence.isNull() && Occurrence.countOfSubNode() == 0) continue;
    QVMuntypedMessageTree& Target = *Untyped.getRepeatedNode(Repeat);
    COL_PRECONDITION_TEXT(Composite != nullptr, "Grammar.fieldType(FieldIndex) != NULL");
    QVPcompositeGenerator().generateComposite(Occurrence, Target, *Composite, Escaper, Ok);
  }
  if (!QVMhasFieldScript(Grammar, Field)) return;
  // A script that handles the field forgives its faults.
  QVMrunFieldScript(Grammar, Field, Untyped, Environment);
  Untyped.clearError();
}

// A field the table does not reach can still get its value from its equation.
void QVMsegmentGenerator::setAdditionalDefaultFields(QVMuntypedMessageTree& Segment, const QVMsegmentGrammar& Grammar,
                                                     unsigned Count, LAGenvironment& Environment) {
  for (unsigned Field = Count; Field < Grammar.countOfField(); ++Field)
    if (QVMhasFieldScript(Grammar, Field)) QVMrunFieldScript(Grammar, Field, *Segment.node(Field + 1, 0), Environment);
}
