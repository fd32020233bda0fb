#include "QVMsegmentChecker.h"

#include "COLerror.h"
#include "COLostream.h"
#include "LAGenvironment.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMcompositeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageNodeAddress.h"
#include "QVMsegmentGrammar.h"
#include "QVMsegmentValidationRule.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPcheckField.h"
#include "QVPvalidationRule.h"
#include "SGCunplacedValues.h"

bool QVMsegmentGrammarMatchSegment(const QVMsegmentGrammar& Grammar, const QVMuntypedMessageTree& Segment) {
  COLstring Value;
  for (uint32_t Index = 0; Index < Grammar.countOfIdentifier(); ++Index) {
    const QVMsegmentIdentifier& Identifier = *Grammar.identifier(Index);
    const QVMmessageNodeAddress& Address = Identifier.nodeAddress();
    if (Address.depth() == 0) return false;
    // Sub-node 0 holds the name, so field N of the address is sub-node N + 1.
    const unsigned Field = Address.nodeIndex(0) + 1;
    if (Field >= Segment.countOfSubNode()) return false;
    const QVMuntypedMessageTree& FieldNode = *Segment.node(Field, 0);
    if (Address.repeatIndex(0) >= FieldNode.countOfRepeat()) return false;
    const bool Found =
        QVMmessageNodeAddressGetValue(Address, Value, *FieldNode.getRepeatedNode(Address.repeatIndex(0)), 1);
    if (!(Found ? Identifier.doesMatch(Value) : Identifier.isNullMatchingValue())) return false;
  }
  return true;
}

const QVMsegmentGrammar* QVMengineInternalFindSegmentGrammar(const QVMengineInternal& Engine,
                                                             const QVMuntypedMessageTree& Segment) {
  if (Segment.countOfSubNode() == 0 || Segment.node(0, 0)->isNull()) return nullptr;
  const COLstring Name = Segment.node(0, 0)->getValue();
  const uint32_t First = Engine.segmentByName(Name);
  if (First == 0xFFFFFFFF) return nullptr;
  for (size_t Index = First; Index < Engine.countOfSegment(); ++Index) {
    const QVMsegmentGrammar* Grammar = Engine.segment(Index);
    if (Grammar->name() == Name && QVMsegmentGrammarMatchSegment(*Grammar, Segment)) return Grammar;
  }
  return nullptr;
}

namespace {

// Field `FieldIndex` (from 1) of the raw segment into the typed segment. `MayHaveEquation` is
// false for a field the grammar's scripts list has no incoming equation for.
void typeField(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed, const QVMsegmentGrammar& Grammar,
               unsigned FieldIndex, const SCCescaper& Escaper, LAGenvironment& Environment, bool MayHaveEquation) {
  Raw.setLabel(Grammar.fieldName(FieldIndex - 1));
  if (MayHaveEquation) {
    const LANfunction& Incoming = Grammar.fieldIncomingFunction(FieldIndex - 1);
    if (Incoming.isSet()) {
      Environment.setIncomingField(&Raw);
      LAGexecuteSegmentEquation(Incoming, &Raw, Environment);
    }
  }
  // Read after the script: it may have added repeats.
  const unsigned Repeats = Raw.countOfRepeat();
  QVMtypedMessageTree& TypedField = *Typed.makeNodeUpTo(FieldIndex - 1, 0);
  if (Repeats > 1) TypedField.makeRepeatNodeUpTo(Repeats);
  const QVMcompositeGrammar* Type = Grammar.fieldType(FieldIndex - 1);
  COL_PRECONDITION(Type != nullptr);
  QVPcheckComposite(Raw, TypedField, *Type, Escaper, false);
  for (unsigned Repeat = 1; Repeat < Repeats; ++Repeat)
    QVPcheckComposite(*Raw.getRepeatedNode(Repeat), *TypedField.getRepeatedNode(Repeat), *Type, Escaper, false);
}

}  // namespace

void QVMsegmentChecker::checkSegment(LANengine& Engine, QVMuntypedMessageTree& Segment,
                                     QVMtypedMessageTree& TypedList, const QVMsegmentGrammar& Grammar,
                                     const SCCescaper& Escaper, COLbuffer* Buffer, LAGenvironment& Environment) {
  COL_PRECONDITION_TEXT(Buffer != nullptr, "pBuffer != NULL");
  COL_PRECONDITION_TEXT(Segment.countOfSubNode() > 0 && !Segment.node(0, 0)->isNull() &&
                            Grammar.name() == Segment.node(0, 0)->getValue(),
                        "SegmentGrammar.name() == Segment.node(0,0).getValue()");
  QVMtypedMessageTree& Typed = *TypedList.addNode();
  Typed.setLabel(Grammar.name());
  Typed.setSegmentGrammar(&Grammar);
  Segment.setLabel(Grammar.name());
  // Which fields have equations and whether any has rules is derived once per grammar edit,
  // so a segment without scripts asks nothing of its fields' scripts.
  // Read in place: what was published stays until the definition is next edited, never during a
  // message, and a counted copy per segment showed in profiles.
  const QVMsegmentScripts* Scripts = &Grammar.currentScripts();
  const unsigned Fields = Grammar.countOfField();
  // Raw fields beyond the grammar are left alone; missing ones are grown as null. Both trees
  // reach their last field at once rather than one field at a time.
  if (Fields > 0) {
    Segment.node(Fields, 0);
    Typed.makeNodeUpTo(Fields - 1, 0);
  }
  auto Equation = Scripts->equationFields.begin();
  const auto Equations = Scripts->equationFields.end();
  for (unsigned Field = 1; Field <= Fields; ++Field) {
    QVMuntypedMessageTree& Raw = *Segment.node(Field, 0);
    if (Raw.countOfRepeat() > 1) Typed.makeNodeUpTo(Field - 1, Raw.countOfRepeat() - 1);
    const bool MayHaveEquation = Equation != Equations && *Equation == Field - 1;
    if (MayHaveEquation) ++Equation;
    typeField(Raw, Typed, Grammar, Field, Escaper, Environment, MayHaveEquation);
  }
  if (!Scripts->hasRules) return;
  for (uint32_t Field = 0; Field < Fields; ++Field) {
    for (uint32_t Index = 0; Index < Grammar.countOfValidationRules(Field); ++Index) {
      QVMsegmentValidationRule& Rule = *Grammar.getValidationRule(Field, Index);
      if (Rule.classId() == QVMpythonRule) Rule.setLanguageEngine(&Engine);
      if (Rule.classId() == QVMsituationalPythonRule) {
        Rule.setLanguageEngine(&Engine);
        if (static_cast<QVMsegmentValidationRuleSituationalPython&>(Rule).messageGrammarListener() == nullptr)
          throw COLerror(
              "Situational Validation Rules must be used with 'Allow orderless parsing in groups' enabled.",
              COL_ERROR_RESOURCE);
      }
      QVPdoSegmentValidationRule(Rule, Typed, Environment);
    }
  }
}

void QVMsegmentChecker::checkField(QVMuntypedMessageTree& Segment, QVMtypedMessageTree& Typed,
                                   const QVMsegmentGrammar& Grammar, unsigned FieldIndex, const SCCescaper& Escaper,
                                   LAGenvironment& Environment) {
  typeField(*Segment.node(FieldIndex, 0), Typed, Grammar, FieldIndex, Escaper, Environment, true);
}

void QVMengineInternalCheckSegments(QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                                    const QVMparser& Parser, const SCCescaper& Escaper,
                                    QVMuntypedMessageTree& RawSegmentList, QVMtypedMessageTree& TypedSegmentList,
                                    LAGenvironment& Environment, bool RejectBadSegmentGrammar,
                                    QVMsegmentAsStringFunction AsStringFunction,
                                    QVMcheckUntypedSegmentFunction CheckFunction) {
  COL_PRECONDITION_TEXT(CheckFunction != nullptr, "pCheckUntypedTreeSegmentFunction != 0");
  // The header's encoding characters are no data to unescape: they are kept aside and put
  // into the typed header as they stand. The strict check finds them behind the header's name.
  COLstring EncodingCharacters;
  if (RawSegmentList.countOfSubNode() > 0 && RawSegmentList.node(0, 0)->countOfSubNode() > 2) {
    QVMuntypedMessageTree& Encoding = *RawSegmentList.node(0, 0)->node(2, 0);
    if (!Encoding.isNull()) EncodingCharacters = Encoding.getValue();
    Encoding.setStringValue(COLstring());
  }
  TypedSegmentList.clear();
  QVMsegmentChecker Checker;
  for (unsigned Index = 0; Index < RawSegmentList.countOfSubNode(); ++Index) {
    QVMuntypedMessageTree& Segment = *RawSegmentList.node(Index, 0);
    if (Segment.countOfSubNode() == 0) {
      if (Segment.isNull()) break;
      Segment.node(0, 0)->setStringValue(Segment.getValue());
    }
    QVMuntypedMessageTree& NameNode = *Segment.node(0, 0);
    if (NameNode.isNull()) {
      COLstring Text;
      COLostream(Text) << "Segment " << Index << " has no identifier.";
      RawSegmentList.addError(9, Text);
      throw COLerror(Text, COL_ERROR_SEGMENT_NO_IDENTIFIER);
    }
    const COLstring Name = NameNode.getValue();
    const QVMsegmentGrammar* Grammar = nullptr;
    const char* Problem = nullptr;
    if (Engine.segmentByName(Name) == 0xFFFFFFFF) {
      Problem = " is not defined.  A new segment grammar needs to be defined for it.";
    } else {
      Grammar = QVMengineInternalFindSegmentGrammar(Engine, Segment);
      if (Grammar == nullptr) Problem = " did not match a defined segment.  A new segment grammar needs to be defined for it.";
    }
    if (Grammar == nullptr) {
      if (Definition.ignoreUnknownSegments()) {
        TypedSegmentList.addNode()->setLabel(Name);
        continue;
      }
      COLstring Text;
      COLostream(Text) << "Segment " << Index << ": " << Name << Problem;
      QVPthrowGrammarException(Text.c_str(), COL_ERROR_SEGMENT_NOT_DEFINED, Index, 0, Name.c_str());
    }
    if (RejectBadSegmentGrammar) {
      COL_PRECONDITION(AsStringFunction != nullptr);
      const COLstring Text = AsStringFunction(Parser, Segment);
      CheckFunction(Parser, Segment, *Grammar, Text);
    }
    SGCreportUnplacedValues(Definition.name(), Segment, *Grammar,
                            static_cast<const QVMengineInternal&>(Engine).config());
    Checker.checkSegment(Engine.LanguageEngine(), Segment, TypedSegmentList, *Grammar, Escaper,
                         RawSegmentList.getBuffer(), Environment);
  }
  if (!EncodingCharacters.empty() && TypedSegmentList.countOfSubNode() > 0)
    TypedSegmentList.node(0, 0)->makeNodeUpTo(1, 0)->setStringValue(EncodingCharacters);
}
