#include "QVPflatGen.h"

#include "COLerror.h"
#include "COLostream.h"
#include "QVMconfig.h"
#include "MLGx12Header.h"
#include "QVMuntypedMessageTree.h"

namespace {

[[noreturn]] void QVPmissingSeparator(const QVMuntypedMessageTree& Node, unsigned Level) {
  COLstring Text;
  COLostream(Text) << "Error generating " << Node.getLabel() << " composite: missing separator for nesting level "
                   << (Level + 1);
  throw COLerror(Text, COL_ERROR_PRECONDITION);
}

[[noreturn]] void QVPnotRepeating(const QVMconfig& Config, unsigned Level) {
  COLstring Text;
  COLostream Stream(Text);
  Stream << "Delimiter level " << (Level + 1) << " (separator = " << Config.sepCharInfo(Level).sepCharDefault() << ") ";
  if (Level == 1)
    Stream << "is not configured as being repeating in the options for this VMD file.";
  else
    Stream << "cannot be repeated.";
  throw COLerror(Text, COL_ERROR_PRECONDITION);
}

}  // namespace

QVPflatGen::QVPflatGen(const QVMconfig& Config, COLstring& Result)
    : m_Config(Config), m_Result(Result), m_DropTrailing(!Config.outputTrailingSeparators()) {}

void QVPflatGen::makeFlatWire(const QVMuntypedMessageTree& Tree, unsigned Level) {
  m_Result.clear();
  if (Level == 0) {
    makeFlatWireLevelZero(Tree);
    return;
  }
  outputNode(Tree, 0, Level);
  if (!m_DropTrailing && Level < m_Config.countOfLevel()) m_Result += m_Config.sepCharInfo(Level).sepCharDefault();
}

void QVPflatGen::endSegment() {
  m_Result += m_Config.sepCharInfo(0).sepCharDefault();
  if (m_Config.outputSegmentLineFeed()) m_Result += "\r\n";
}

void QVPflatGen::makeFlatWireLevelZero(const QVMuntypedMessageTree& Tree) {
  COL_PRECONDITION_TEXT(m_Config.countOfLevel() >= 2, "Config.countOfLevel() >= 2");
  QVPgenerateHeader(m_Config, m_Result, Tree);
  if (Tree.countOfSubNode() == 0) {
    endSegment();
    return;
  }
  const char FieldSeparator = m_Config.sepCharInfo(1).sepCharDefault();
  for (unsigned Segment = 0; Segment < Tree.countOfSubNode(); ++Segment) {
    // The header's own text stands for the fields it covers.
    const unsigned Skip = Segment == 0 ? m_Config.countOfHeaderFieldsToSkip() : 0;
    if (Segment == 0 && QVPwritesInterchangeHeader(m_Config))
      outputInterchangeHeader(*Tree.node(0, 0));
    else
      outputNode(*Tree.node(Segment, 0), Skip, 1);
    if (!m_DropTrailing) m_Result += FieldSeparator;
    endSegment();
  }
}

void QVPflatGen::outputNode(const QVMuntypedMessageTree& Node, unsigned Skip, unsigned Level) {
  if (!Node.isNull() && Node.getValue()[0] != '\0') {
    m_Result += Node.getValue();
    return;
  }
  const unsigned Count = Node.countOfSubNode();
  if (Count <= Skip) return;
  for (unsigned Index = Skip; Index < Count; ++Index) {
    if (Index > Skip) {
      if (m_Config.countOfLevel() <= Level) QVPmissingSeparator(Node, Level);
      m_Result += m_Config.sepCharInfo(Level).sepCharDefault();
    }
    outputRepeatNode(*Node.node(Index, 0), Level);
  }
}

void QVPflatGen::outputRepeatNode(const QVMuntypedMessageTree& Node, unsigned Level) {
  outputNode(Node, 0, Level + 1);
  const unsigned Repeats = Node.countOfRepeat();
  if (Repeats < 2) return;
  if (m_Config.countOfLevel() <= Level) QVPmissingSeparator(Node, Level);
  const char RepeatMark = m_Config.sepCharInfo(Level).repeatCharDefault();
  if (RepeatMark == 0) QVPnotRepeating(m_Config, Level);
  for (unsigned Repeat = 1; Repeat < Repeats; ++Repeat) {
    m_Result += RepeatMark;
    outputNode(*Node.getRepeatedNode(Repeat), 0, Level + 1);
  }
}

bool QVPwritesInterchangeHeader(const QVMconfig& Config) {
  return Config.countOfHeaderFieldsToSkip() <= 2 && Config.headerSegment() == "ISA" && Config.countOfLevel() >= 2 &&
         Config.parseSeparatorChars() && Config.sepCharInfo(1).sepCharPosition() != QVMsepInfo::npos;
}

// ISA-01 to ISA-16, each padded to its fixed width (an element of blanks comes back from XML
// empty).  The separators it declares are the ones this text is written with: ISA-11 is the
// repetition separator from version 00501 (ISA-12) on, and "U" before it when empty; ISA-16
// is the component separator.
void QVPflatGen::outputInterchangeHeader(const QVMuntypedMessageTree& Segment) {
  const char FieldSeparator = m_Config.sepCharInfo(1).sepCharDefault();
  const char Repetition = m_Config.sepCharInfo(1).repeatCharDefault();
  const char Component = m_Config.countOfLevel() >= 3 ? m_Config.sepCharInfo(2).sepCharDefault() : 0;
  auto valueOf = [&](unsigned Element) {
    if (Element >= Segment.countOfSubNode()) return COLstring();
    COLstring Text;
    QVPflatGen(m_Config, Text).outputRepeatNode(*Segment.node(Element, 0), 1);
    return Text;
  };
  const COLstring Version = valueOf(12);
  for (unsigned Element = 1; Element <= MLGx12HeaderElements; ++Element) {
    COLstring Text = valueOf(Element);
    if (Element == 11 && Version.size() == 5 && Version >= COLstring("00501") && Repetition) Text = COLstring(1, Repetition);
    else if (Element == 11 && Text.empty()) Text = "U";
    if (Element == 16 && Component) Text = COLstring(1, Component);
    if (Text.size() < MLGx12HeaderWidth(Element)) Text.str().resize(MLGx12HeaderWidth(Element), ' ');
    if (Element > 1) m_Result += FieldSeparator;
    m_Result += Text;
  }
}

void QVPgenerateHeader(const QVMconfig& Config, COLstring& Result, const QVMuntypedMessageTree& Tree) {
  COL_PRECONDITION_TEXT(Config.countOfLevel() >= 2, "Config.countOfLevel() >= 2");
  if (QVPwritesInterchangeHeader(Config)) {
    Result = Config.headerSegment();
    Result += Config.sepCharInfo(1).sepCharDefault();
    return;
  }
  Result = COLstring(QVMconfigCalculateMinMessageSize(Config), ' ');
  COLstring Name = Config.headerSegment();
  if (Tree.countOfSubNode() > 0) {
    const QVMuntypedMessageTree& First = *Tree.node(0, 0);
    Name = First.countOfSubNode() > 0 ? COLstring(First.node(0, 0)->getFirstValue()) : COLstring(First.getFirstValue());
  }
  if (Name.size() > Result.size()) Result.str().resize(Name.size(), ' ');
  Result.replace(0, Name.size(), Name);
  for (size_t Level = 0; Level < Config.countOfLevel(); ++Level) {
    const QVMsepInfo& Info = Config.sepCharInfo(Level);
    if (Info.sepCharPosition() != QVMsepInfo::npos) Result[Info.sepCharPosition()] = Info.sepCharDefault();
    if (Info.repeatCharPosition() != QVMsepInfo::npos) Result[Info.repeatCharPosition()] = Info.repeatCharDefault();
  }
  if (Config.escapePosition() != QVMconfig::npos) Result[Config.escapePosition()] = Config.escapeDefault();
  Result += Config.sepCharInfo(1).sepCharDefault();
}
