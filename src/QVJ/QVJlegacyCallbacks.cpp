#include "QVJlegacyCallbacks.h"

#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMparser.h"
#include "QVMuntypedMessageTree.h"
#include "SGCcheck.h"
#include "SGCcompleteParse.h"
#include "SGCerrorPrepare.h"
#include "SGMoutput.h"

namespace {

void QVJsetValue(SGMvalue& Value, const QVMuntypedMessageTree& Node) {
  if (Node.isNull()) return;
  const char* Text = Node.getValue();
  Value.set(Text, static_cast<uint32_t>(std::strlen(Text)));
}

void QVJcopyTreeFieldToSegment(const QVMuntypedMessageTree& Repeat, SGMfield& Field) {
  if (Repeat.countOfSubNode() == 0) {
    if (Repeat.isNull()) return;
    Field.setCountOfSubField(1);
    QVJsetValue(Field.value(0, 0), Repeat);
    return;
  }
  Field.setCountOfSubField(Repeat.countOfSubNode());
  for (unsigned Sub = 0; Sub < Repeat.countOfSubNode(); ++Sub) {
    const QVMuntypedMessageTree& SubField = *Repeat.node(Sub, 0);
    if (SubField.countOfSubNode() == 0) {
      QVJsetValue(Field.value(Sub, 0), SubField);
      continue;
    }
    Field.setCountOfSubSubField(Sub, SubField.countOfSubNode());
    for (unsigned SubSub = 0; SubSub < SubField.countOfSubNode(); ++SubSub) {
      const QVMuntypedMessageTree& Leaf = *SubField.node(SubSub, 0);
      if (Leaf.countOfSubNode() > 0) throw COLerror("Segment too deeply nested.", COL_ERROR_PRECONDITION);
      QVJsetValue(Field.value(Sub, SubSub), Leaf);
    }
  }
}

// The segment in the current parser's form, with the header's encoding characters as one value.
void QVJsegmentOf(const QVMuntypedMessageTree& Raw, SGMsegment& Segment) {
  QVJcopyUntypedTreeToSegment(Raw, Segment);
  const SGMvalue& Name = Segment.name();
  if (Name.length() == 3 && std::memcmp(Name.data(), "MSH", 3) == 0) QVJdoSpecialMshHack(Segment);
}

}  // namespace

void QVJcopyUntypedTreeToSegment(const QVMuntypedMessageTree& Raw, SGMsegment& Segment) {
  Segment.clear();
  if (Raw.countOfSubNode() == 0) return;
  QVJsetValue(Segment.name(), *Raw.node(0, 0));
  Segment.setCountOfField(Raw.countOfSubNode() - 1);
  for (unsigned Index = 1; Index < Raw.countOfSubNode(); ++Index) {
    const QVMuntypedMessageTree& Field = *Raw.node(Index, 0);
    Segment.setCountOfFieldRepeat(Index - 1, Field.countOfRepeat());
    for (unsigned Repeat = 0; Repeat < Field.countOfRepeat(); ++Repeat)
      QVJcopyTreeFieldToSegment(*Field.getRepeatedNode(Repeat), Segment.field(Index - 1, Repeat));
  }
}

void QVJextractDelimiters(const QVMparser& Parser, SGMseparatorCharacters& Separators) {
  const unsigned Levels = Parser.countOfDelimiter();
  if (Levels > 0) Separators.segmentDelimiter = Parser.delimiter(0);
  if (Levels > 1) {
    Separators.fieldDelimiter = Parser.delimiter(1);
    Separators.repeatCharacter = Parser.repeat(1);
  }
  if (Levels > 2) Separators.subFieldDelimiter = Parser.delimiter(2);
  if (Levels > 3) Separators.subSubFieldDelimiter = Parser.delimiter(3);
  Separators.escapeCharacter = Parser.escape();
}

COLstring QVJuntypedTreeSegmentAsString(const QVMparser& Parser, const QVMuntypedMessageTree& Raw) {
  SGMsegment Segment;
  QVJsegmentOf(Raw, Segment);
  SGMseparatorCharacters Separators;
  QVJextractDelimiters(Parser, Separators);
  COLstring Text;
  COLostream Stream(Text);
  SGMoutputSegment(Segment, Separators, Stream);
  return Text;
}

void QVJcheckUntypedTreeSegment(const QVMparser& Parser, const QVMuntypedMessageTree& Raw,
                                const QVMsegmentGrammar& Grammar, const COLstring&) {
  SGMsegment Segment;
  QVJsegmentOf(Raw, Segment);
  SGCerrorList Errors;
  SGCcheckSegment(Segment, 0, Grammar, Errors);
  if (Errors.empty()) return;
  SGMseparatorCharacters Separators;
  QVJextractDelimiters(Parser, Separators);
  COLerror Error("", 0);
  QVJstrictGrammarErrorPrepare(Error, Segment, Separators, Errors);
  throw Error;
}
