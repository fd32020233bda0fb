#include "QVJlegacySegment.h"

#include <cstring>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMenumerationGrammar.h"
#include "QVMparser.h"
#include "QVMuntypedMessageTree.h"
#include "SGCcheck.h"
#include "SGCcompositeShape.h"
#include "QVMcompositeGrammar.h"
#include "QVMsegmentGrammar.h"
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

// --- the check read from the tree in place
//
// Most segments have no fault, and for those the copy into the current parser's form is the
// larger part of the check.  The reading below follows the checks the copy goes through and
// answers only whether anything at all would be reported; a segment it cannot vouch for takes
// the copy, so that the reports come from one place.

// One repeat of one field, shaped as the copy would lay it out: a leaf with a value is one sub
// field of one value, a null leaf has none, and every sub field has at least one value.  The
// values are gathered once, as pointers and lengths; the lists keep their storage.
class QVJrawField {
public:
  // False where the field goes deeper than sub sub fields, which the copy refuses.
  bool gather(const QVMuntypedMessageTree& Node) {
    m_Start.clear();
    m_Values.clear();
    const unsigned Subs = Node.countOfSubNode();
    if (Subs == 0) {
      if (!Node.isNull()) {
        m_Start.push_back(0);
        add(Node);
      }
    }
    for (unsigned s = 0; s < Subs; ++s) {
      m_Start.push_back(static_cast<unsigned>(m_Values.size()));
      const QVMuntypedMessageTree& Sub = *Node.node(s, 0);
      const unsigned Leaves = Sub.countOfSubNode();
      if (Leaves == 0) add(Sub);
      for (unsigned t = 0; t < Leaves; ++t) {
        const QVMuntypedMessageTree& Leaf = *Sub.node(t, 0);
        if (Leaf.countOfSubNode() != 0) return false;
        add(Leaf);
      }
    }
    m_Start.push_back(static_cast<unsigned>(m_Values.size()));
    return true;
  }
  // The header's encoding characters, as the copy puts them: the four bytes behind the name.
  void setEncodingCharacters(const char* Name) {
    if (countOfSubField() != 0) m_Values[0] = {Name + 4, 4};
  }

  unsigned countOfSubField() const { return static_cast<unsigned>(m_Start.size()) - 1; }
  unsigned countOfSubSubField(unsigned Sub) const { return m_Start[Sub + 1] - m_Start[Sub]; }
  SGMvalue value(unsigned Sub, unsigned SubSub) const {
    SGMvalue Value;
    const Text& Found = m_Values[m_Start[Sub] + SubSub];
    if (Found.data) Value.set(Found.data, Found.length);
    return Value;
  }
  uint32_t length(unsigned Sub, unsigned SubSub) const { return m_Values[m_Start[Sub] + SubSub].length; }
  bool subFieldEmpty(unsigned Sub) const { return emptyRange(m_Start[Sub], m_Start[Sub + 1]); }
  bool allEmpty() const { return emptyRange(0, static_cast<unsigned>(m_Values.size())); }

private:
  struct Text {
    const char* data;
    uint32_t length;
  };
  void add(const QVMuntypedMessageTree& Leaf) {
    if (Leaf.isNull()) m_Values.push_back({nullptr, 0});
    else m_Values.push_back({Leaf.getValue(), static_cast<uint32_t>(std::strlen(Leaf.getValue()))});
  }
  bool emptyRange(unsigned Begin, unsigned End) const {
    for (unsigned v = Begin; v < End; ++v)
      if (m_Values[v].length != 0) return false;
    return true;
  }

  std::vector<unsigned> m_Start{0};
  std::vector<Text> m_Values;
};

// Whether the sub field is typed by a composite of exactly one leaf.
bool QVJsimpleNested(const QVMcompositeSubField& Field) {
  return Field.dataType() == QVMcompositeType && Field.compositeType() != nullptr &&
         SGCisFieldNmOrStType(*Field.compositeType());
}

// The rules that govern sub field `Index` of `Owner`: a sub field typed by a simple composite
// lends it its one field's.  Read through the sub field itself, whose getters are inline: this
// runs for every value of every segment.
const QVMcompositeSubField& QVJrawLeafRules(const QVMcompositeGrammar& Owner, unsigned Index) {
  const QVMcompositeSubField& Field = *Owner.field(Index);
  return QVJsimpleNested(Field) ? *Field.compositeType()->field(0) : Field;
}

// A leaf's length, explicit null and format; a type the checker would refuse counts as a fault.
bool QVJrawLeafClean(const QVMcompositeSubField& Rules, const SGMvalue& Value, bool CompositeIsValid) {
  if (Rules.isLengthRestricted() && Value.length() > Rules.maxLength()) return false;
  if (Value.length() == 2 && Value.data()[0] == '"' && Value.data()[1] == '"') return true;
  switch (Rules.dataType()) {
    case QVMstringType: return true;
    case QVMintegerType: return SGCvalidInteger(Value);
    case QVMdoubleType: return SGCvalidDouble(Value);
    case QVMdateTimeType: {
      const QVMdateTimeGrammar* Grammar = Rules.dateTimeGrammar();
      return Grammar == nullptr || SGCvalidDateTime(Value, *Grammar);
    }
    case QVMenumerationType: {
      const QVMenumerationGrammar* Grammar = Rules.enumerationGrammar();
      return Grammar == nullptr || Grammar->countOfEnumItem() == 0 || Value.length() == 0 ||
             Grammar->isValid(Value.view());
    }
    case QVMcompositeType: return CompositeIsValid;
    default: return false;
  }
}

bool QVJrawSubFieldClean(const QVJrawField& Field, unsigned Sub, const QVMcompositeGrammar& SubType) {
  if (Field.subFieldEmpty(Sub)) return true;
  const unsigned TypeFields = SubType.countOfField();
  const unsigned Values = Field.countOfSubSubField(Sub);
  for (unsigned t = 0; t < TypeFields; ++t) {
    const bool Required = SubType.field(t)->isRequired();
    if (t >= Values) {
      if (Required) return false;
      continue;
    }
    const SGMvalue Value = Field.value(Sub, t);
    if (Required && Value.length() == 0) return false;
    if (!QVJrawLeafClean(QVJrawLeafRules(SubType, t), Value, true)) return false;
  }
  return true;
}

bool QVJrawFieldClean(const QVJrawField& Field, const QVMcompositeGrammar& FieldType) {
  if (Field.allEmpty()) return true;
  if (SGCisFieldNmOrStType(FieldType)) {
    // A simple composite reads its one value without following nested composites.
    return Field.countOfSubField() == 0 || QVJrawLeafClean(*FieldType.field(0), Field.value(0, 0), false);
  }
  const unsigned TypeFields = FieldType.countOfField();
  const unsigned SubFields = Field.countOfSubField();
  for (unsigned s = 0; s < TypeFields; ++s) {
    const QVMcompositeSubField& Sub = *FieldType.field(s);
    const bool Required = Sub.isRequired();
    if (s >= SubFields) {
      if (Required) return false;
      continue;
    }
    const bool Empty = Field.length(s, 0) == 0;
    if (Sub.dataType() == QVMcompositeType && !QVJsimpleNested(Sub)) {
      if (Required && Empty && Field.countOfSubSubField(s) < 2) return false;
      if (const QVMcompositeGrammar* Nested = Sub.compositeType())
        if (!QVJrawSubFieldClean(Field, s, *Nested)) return false;
    } else {
      if (Required && Empty) return false;
      if (!QVJrawLeafClean(QVJrawLeafRules(FieldType, s), Field.value(s, 0), false)) return false;
    }
  }
  return true;
}

// QVJrawFieldClean of a field that came as one value, not empty: its first sub field holds the
// value and the type's other sub fields are missing.  Most fields come so, and this reads them
// without gathering.
bool QVJloneValueClean(const SGMvalue& Value, const QVMcompositeGrammar& FieldType) {
  if (SGCisFieldNmOrStType(FieldType)) return QVJrawLeafClean(*FieldType.field(0), Value, false);
  const unsigned TypeFields = FieldType.countOfField();
  for (unsigned s = 1; s < TypeFields; ++s)
    if (FieldType.field(s)->isRequired()) return false;
  if (TypeFields == 0) return true;
  const QVMcompositeSubField& First = *FieldType.field(0);
  if (First.dataType() != QVMcompositeType || QVJsimpleNested(First))
    return QVJrawLeafClean(QVJrawLeafRules(FieldType, 0), Value, false);
  const QVMcompositeGrammar* Nested = First.compositeType();
  if (Nested == nullptr) return true;
  const unsigned NestedFields = Nested->countOfField();
  for (unsigned t = 1; t < NestedFields; ++t)
    if (Nested->field(t)->isRequired()) return false;
  return NestedFields == 0 || QVJrawLeafClean(QVJrawLeafRules(*Nested, 0), Value, true);
}

}  // namespace

bool QVJuntypedTreeSegmentPassesCheck(const QVMuntypedMessageTree& Tree, const QVMsegmentGrammar& Grammar) {
  // Kept per thread, as the scratch segment is, so that a warm check allocates nothing.
  thread_local QVJrawField Field;
  const unsigned SegmentFields = Tree.countOfSubNode() == 0 ? 0 : Tree.countOfSubNode() - 1;
  const char* Header = nullptr;
  if (SegmentFields > 1) {
    const QVMuntypedMessageTree& Name = *Tree.node(0, 0);
    if (!Name.isNull() && std::strcmp(Name.getValue(), "MSH") == 0) Header = Name.getValue();
  }
  const unsigned GrammarFields = Grammar.countOfField();
  for (unsigned f = 0; f < SegmentFields; ++f) {
    const QVMuntypedMessageTree& Node = *Tree.node(f + 1, 0);
    const unsigned Repeats = Node.countOfRepeat();
    const bool Checked = f < GrammarFields;
    // The grammar is asked only what the field's shape leaves open: most fields come once.
    if (Checked && Repeats > 1 && Grammar.fieldMaxRepeat(f) < Repeats - 1) return false;
    const QVMcompositeGrammar* Type = nullptr;
    for (unsigned r = 0; r < Repeats; ++r) {
      const QVMuntypedMessageTree& Occurrence = r == 0 ? Node : *Node.getRepeatedNode(r);
      if (Occurrence.countOfSubNode() == 0 && Occurrence.isNull()) {
        // Most fields of a segment are absent: nothing to gather, and only a required one fails.
        if (r == 0 && Checked && Grammar.isFieldRequired(f)) return false;
        continue;
      }
      if (Occurrence.countOfSubNode() == 0 && !(Header != nullptr && f == 1 && r == 0)) {
        // A lone value, read in place.
        const char* Text = Occurrence.getValue();
        SGMvalue Value;
        Value.set(Text, static_cast<uint32_t>(std::strlen(Text)));
        if (Value.length() == 0) {
          if (r == 0 && Checked && Grammar.isFieldRequired(f)) return false;
          continue;
        }
        if (Checked && Type == nullptr) Type = Grammar.fieldType(f);
        if (Type != nullptr && !QVJloneValueClean(Value, *Type)) return false;
        continue;
      }
      if (!Field.gather(Occurrence)) return false;
      if (Checked && Type == nullptr) Type = Grammar.fieldType(f);
      if (Header != nullptr && f == 1 && r == 0) Field.setEncodingCharacters(Header);
      if (r == 0 && Checked) {
        const unsigned Subs = Field.countOfSubField();
        if ((Subs == 0 || (Subs == 1 && Field.length(0, 0) == 0)) && Grammar.isFieldRequired(f)) return false;
      }
      if (Type != nullptr && !QVJrawFieldClean(Field, *Type)) return false;
    }
  }
  for (unsigned f = SegmentFields; f < GrammarFields; ++f)
    if (Grammar.isFieldRequired(f)) return false;
  return true;
}

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
  if (QVJuntypedTreeSegmentPassesCheck(Segment, Grammar)) return;
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
