#include "QVJlegacySegment.h"

#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMparser.h"
#include "QVMuntypedMessageTree.h"
#include "SGCcheck.h"
#include "SGCcompleteParse.h"
#include "SGCerrorPrepare.h"
#include "SGMoutput.h"
#include "SGMsegmentList.h"

namespace {

void QVJcopyValue(const QVMuntypedMessageTree& Node, SGMvalue& Value) {
  if (Node.isNull()) return;
  const char* Text = Node.getValue();
  Value.set(Text, static_cast<uint32_t>(std::strlen(Text)));
}

void QVJcopyTreeFieldToSegment(const QVMuntypedMessageTree& Node, SGMfield& Field) {
  if (Node.countOfSubNode() == 0) {
    if (Node.isNull()) return;
    Field.setCountOfSubField(1);
    QVJcopyValue(Node, Field.value(0, 0));
    return;
  }
  Field.setCountOfSubField(Node.countOfSubNode());
  for (unsigned Sub = 0; Sub < Node.countOfSubNode(); ++Sub) {
    const QVMuntypedMessageTree& SubNode = *Node.node(Sub, 0);
    if (SubNode.countOfSubNode() == 0) {
      QVJcopyValue(SubNode, Field.value(Sub, 0));
      continue;
    }
    Field.setCountOfSubSubField(Sub, SubNode.countOfSubNode());
    for (unsigned SubSub = 0; SubSub < SubNode.countOfSubNode(); ++SubSub) {
      const QVMuntypedMessageTree& Leaf = *SubNode.node(SubSub, 0);
      if (Leaf.countOfSubNode() > 0) throw COLerror("Segment too deeply nested.", COL_ERROR_PRECONDITION);
      QVJcopyValue(Leaf, Field.value(Sub, SubSub));
    }
  }
}

// The copy, with the header's encoding characters as one value, as the current parser has it.
void QVJsegmentOf(const QVMuntypedMessageTree& Tree, SGMsegment& Segment) {
  QVJcopyUntypedTreeToSegment(Tree, Segment);
  // The encoding characters are read from behind the name: only where fields 1 and 2 follow
  // it do those four bytes lie inside the message.
  if (Segment.name().view() == "MSH" && Segment.countOfField() > 1) QVJdoSpecialMshHack(Segment);
}

// The copy's lists keep their size from segment to segment, so a warm parse copies without
// allocating.  One per thread: neither printing nor checking runs a script that could parse
// another message in between.
SGMsegment& QVJscratchSegment() {
  thread_local SGMsegment Segment;
  return Segment;
}

}  // namespace

void QVJcopyUntypedTreeToSegment(const QVMuntypedMessageTree& Tree, SGMsegment& Segment) {
  Segment.clear();
  if (Tree.countOfSubNode() == 0) return;
  QVJcopyValue(*Tree.node(0, 0), Segment.name());
  Segment.setCountOfField(Tree.countOfSubNode() - 1);
  for (unsigned Field = 1; Field < Tree.countOfSubNode(); ++Field) {
    const QVMuntypedMessageTree& Node = *Tree.node(Field, 0);
    Segment.setCountOfFieldRepeat(Field - 1, Node.countOfRepeat());
    for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat)
      QVJcopyTreeFieldToSegment(*Node.getRepeatedNode(Repeat), Segment.field(Field - 1, Repeat));
  }
}

void QVJextractDelimiters(const QVMparser& Parser, SGMseparatorCharacters& Separators) {
  const unsigned Levels = Parser.countOfDelimiter();
  if (Levels > 0) Separators.segmentDelimiter = Parser.delimiter(0);
  if (Levels > 1) {
    Separators.fieldDelimiter = Parser.delimiter(1);
    Separators.repeatCharacter = Parser.repeat(1);
  }
  Separators.subFieldDelimiter = Levels > 2 ? Parser.delimiter(2) : 0;
  Separators.subSubFieldDelimiter = Levels > 3 ? Parser.delimiter(3) : 0;
  Separators.escapeCharacter = Parser.escape();
}

COLstring QVJuntypedTreeSegmentAsString(const QVMparser& Parser, const QVMuntypedMessageTree& Segment) {
  SGMsegment& Copy = QVJscratchSegment();
  QVJsegmentOf(Segment, Copy);
  SGMseparatorCharacters Separators;
  QVJextractDelimiters(Parser, Separators);
  COLstring Text;
  {
    COLostream Stream(Text);
    SGMoutputSegment(Copy, Separators, Stream);
  }
  return Text;
}

COLstring QVJuntypedTreeSegmentCopyChecked(const QVMparser&, const QVMuntypedMessageTree& Segment) {
  // The copy fails only where a value lies below a sub sub field: that is looked for alone.
  for (unsigned Field = 1; Field < Segment.countOfSubNode(); ++Field) {
    const QVMuntypedMessageTree& Node = *Segment.node(Field, 0);
    for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat) {
      const QVMuntypedMessageTree& Occurrence = *Node.getRepeatedNode(Repeat);
      for (unsigned Sub = 0; Sub < Occurrence.countOfSubNode(); ++Sub) {
        const QVMuntypedMessageTree& SubNode = *Occurrence.node(Sub, 0);
        for (unsigned SubSub = 0; SubSub < SubNode.countOfSubNode(); ++SubSub)
          if (SubNode.node(SubSub, 0)->countOfSubNode() > 0)
            throw COLerror("Segment too deeply nested.", COL_ERROR_PRECONDITION);
      }
    }
  }
  return COLstring();
}

void QVJcheckUntypedTreeSegment(const QVMparser& Parser, const QVMuntypedMessageTree& Segment,
                                const QVMsegmentGrammar& Grammar, const COLstring&) {
  SGMsegment& Copy = QVJscratchSegment();
  QVJsegmentOf(Segment, Copy);
  SGCerrorList Errors;
  SGCcheckSegment(Copy, 0, Grammar, Errors);
  if (Errors.empty()) return;
  SGMseparatorCharacters Separators;
  QVJextractDelimiters(Parser, Separators);
  COLerror Error("", 0);
  QVJstrictGrammarErrorPrepare(Error, Copy, Separators, Errors);
  throw Error;
}
