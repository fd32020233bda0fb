#include "QVMxmlTreeParser.h"

#include <cstdlib>
#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"
#include "SCCescaper.h"

namespace {

// A name of the parsers' own messages; they stand in for a failed assertion.
#define QVM_TREE_ASSERT(expr, source, text)                                            \
  do {                                                                                 \
    if (!(expr)) COLfailCheck("Failed precondition: ", text, source, __LINE__, 0x80000100); \
  } while (0)

bool QVMisDigit(char C) { return C >= '0' && C <= '9'; }

// No segment or composite of any message has this many parts: a larger number in a tag would
// only make the tree grow empty slots up to it.
constexpr unsigned long long kMostParts = 999;

// A number read as atoi reads it; one beyond kMostParts is no number (0).
unsigned QVMreadNumber(const char* Text) {
  unsigned long long Value = 0;
  size_t At = 0;
  while (Text[At] == ' ' || Text[At] == '\t') ++At;
  for (; QVMisDigit(Text[At]); ++At) {
    Value = Value * 10 + static_cast<unsigned>(Text[At] - '0');
    if (Value > kMostParts) return 0;
  }
  return static_cast<unsigned>(Value);
}

// The tag behind a namespace prefix; a prefix with nothing behind it is refused.
const char* QVMwithoutPrefix(const char* Name) {
  const char* Colon = std::strchr(Name, ':');
  if (!Colon) return Name;
  if (Colon[1] == '\0') throw COLerror(COLstring("Invalid tag ") + Name, 0);
  return Colon + 1;
}

}  // namespace

// --- shared

void QVMxmlTreeParserBase::getTree(const COLstring& Xml, const QVMengineInternal& Engine,
                                   const QVPparseContext& Context, unsigned& MessageIndex,
                                   QVMuntypedMessageTree& Tree) {
  m_Tree = &Tree;
  m_Engine = &Engine;
  m_Context = &Context;
  m_CharacterData.clear();
  reset();
  const unsigned Kept = MessageIndex;
  try {
    parse(Xml);
  } catch (...) {
    m_Tree = nullptr;
    throw;
  }
  m_Tree = nullptr;
  MessageIndex = Kept;
}

bool QVMxmlTreeParserBase::isWhiteSpace(const char* Text, size_t Length) {
  for (size_t At = 0; At < Length; ++At)
    if (Text[At] != ' ' && Text[At] != '\t' && Text[At] != '\r' && Text[At] != '\n') return false;
  return true;
}

void QVMxmlTreeParserBase::keepChunkUnlessBlank(const char* Text, int Length) {
  if (Length > 0 && !isWhiteSpace(Text, static_cast<size_t>(Length))) m_CharacterData += std::string_view(Text, static_cast<size_t>(Length));
}

void QVMxmlTreeParserBase::storeValue(QVMuntypedMessageTree* Node, bool AlwaysEscape) {
  if (Node && !m_CharacterData.empty() && !isWhiteSpace(m_CharacterData)) {
    if (AlwaysEscape || m_Engine->config().escapeDataForXmlToHL7()) {
      // The escaper only reads; the context hands it out for writing as well.
      SCCescaper& Escaper = const_cast<QVPparseContext*>(m_Context)->escaper();
      m_Escaped.clear();
      Escaper.escapeChar(m_Escaped, m_CharacterData);
      Node->setStringValue(m_Escaped);
    } else {
      Node->setStringValue(m_CharacterData);
    }
  }
  m_CharacterData.clear();
}

// --- "STANDARD VER 2"

void QVMxmlTreeParserStandard2::reset() {
  m_NodeStack.clear();
  m_IndexStack.clear();
  m_CurrentNode = nullptr;
  m_RootTag.clear();
}

bool QVMxmlTreeParserStandard2::extractIndexFromTag(const char* Tag, unsigned& Index) {
  const char* Dot = std::strrchr(Tag, '.');
  if (!Dot) return false;
  Index = QVMreadNumber(Dot + 1);
  return Index != 0;
}

bool QVMxmlTreeParserStandard2::isGroup(const char* Tag) const {
  QVM_TREE_ASSERT(!m_RootTag.empty(), "QVMxmlTreeParserStandard2", "!pMember->RootTag.empty()");
  const char* Dot = std::strchr(Tag, '.');
  const size_t Length = Dot ? static_cast<size_t>(Dot - Tag) : std::strlen(Tag);
  return m_RootTag.view() == std::string_view(Tag, Length);
}

bool QVMxmlTreeParserStandard2::extractSegmentName(const char* Tag, COLstring& Name) const {
  if (std::strchr(Tag, '.')) {
    Name.clear();
    return false;
  }
  Name = Tag;
  return true;
}

COLstring QVMxmlTreeParserStandard2::invalidTagText(const char* Tag) const {
  return COLstring("Invalid tag ") + Tag + ", tags should have format <COMPOSITE.X> where X is the index";
}

void QVMxmlTreeParserStandard2::startIndexed(const char* Name, unsigned Index) {
  m_IndexStack.push_back(Index);
  QVMuntypedMessageTree& Current = *m_CurrentNode;
  // A segment holds its name in sub-node 0, so field N goes to slot N; a composite has no such
  // node, so component N goes to slot N - 1.
  bool IsSegment = false;
  if (Current.countOfSubNode() > 0) {
    const QVMuntypedMessageTree& First = *static_cast<const QVMuntypedMessageTree&>(Current).node(0, 0);
    IsSegment = !First.isNull() && First.getLabel().view() == std::string_view(First.getValue());
  }
  const unsigned Slot = IsSegment ? Index : Index - 1;
  const unsigned Repeats = Slot < Current.countOfSubNode() ? Current.node(Slot, 0)->countOfRepeat() : 0;
  if (Repeats > 0 && m_IndexStack.size() > 1) {
    COLstring Text;
    COLostream(Text) << Name << " on line " << currentLineNumber() << " position " << currentColumnNumber()
                     << " is an illegal repeating tag - in HL7 only fields and segments are allowed to repeat.";
    throw COLerror(Text, COL_ERROR_PRECONDITION);
  }
  // A second element of the same index is the next repeat.
  m_CurrentNode = Current.node(Slot, Repeats);
  m_CurrentNode->setLabel(COLstring());
  m_NodeStack.push_back(m_CurrentNode);
}

void QVMxmlTreeParserStandard2::onStartElement(const char* Name, const char**) {
  unsigned Index = 0;
  COLstring Segment;
  if (m_NodeStack.empty()) {
    QVM_TREE_ASSERT(m_CurrentNode == nullptr, "QVMxmlTreeParserStandard2", "pMember->pCurrentNode == NULL");
    m_CurrentNode = m_Tree;
    m_RootTag = Name;
    m_NodeStack.push_back(m_CurrentNode);
  } else if (extractIndexFromTag(Name, Index)) {
    QVM_TREE_ASSERT(m_CurrentNode != nullptr, "QVMxmlTreeParserStandard2", "pMember->pCurrentNode != NULL");
    startIndexed(Name, Index);
  } else if (isGroup(Name)) {
    // Groups leave no trace in the tree.
    m_NodeStack.push_back(m_CurrentNode);
  } else if (extractSegmentName(Name, Segment)) {
    QVM_TREE_ASSERT(m_CurrentNode != nullptr, "QVMxmlTreeParserStandard2", "pMember->pCurrentNode != NULL");
    // A segment that comes again takes a slot of its own at the end.
    QVMuntypedMessageTree* Node = m_CurrentNode->node(m_CurrentNode->countOfSubNode(), 0);
    QVMuntypedMessageTree* NameNode = Node->node(0, 0);
    NameNode->setStringValue(Segment);
    NameNode->setLabel(Segment);
    m_CurrentNode = Node;
    m_NodeStack.push_back(m_CurrentNode);
  } else {
    throw COLerror(invalidTagText(Name), COL_ERROR_INPUT_PARSE);
  }
  if (m_IndexStack.size() > 3)
    throw COLerror("Data in elements beyond sub-subfield level is not supported", COL_ERROR_INPUT_PARSE);
}

void QVMxmlTreeParserStandard2::onEndElement(const char* Name) {
  QVM_TREE_ASSERT(!m_NodeStack.empty(), "QVMxmlTreeParserStandard2", "!pMember->NodeStack.empty()");
  if (!m_CharacterData.empty() && !isWhiteSpace(m_CharacterData)) {
    QVM_TREE_ASSERT(m_CurrentNode != nullptr, "QVMxmlTreeParserStandard2", "pMember->pCurrentNode != NULL");
    storeValue(m_CurrentNode);
  }
  m_CharacterData.clear();
  unsigned Index = 0;
  if (extractIndexFromTag(Name, Index) && !m_IndexStack.empty()) m_IndexStack.pop_back();
  m_NodeStack.pop_back();
  m_CurrentNode = m_NodeStack.empty() ? nullptr : m_NodeStack.back();
}

// --- "EXPANDED 2.4"

bool QVMxmlTreeParserStandard24::isGroup(const char* Tag) const {
  const char* Dot = std::strrchr(Tag, '.');
  const std::string_view Last(Dot ? Dot + 1 : Tag);
  if (Last.size() < 3 || Last.front() != 'g' || Last.back() != 'R') return false;
  return QVMreadNumber(std::string(Last.substr(1, Last.size() - 2)).c_str()) != 0;
}

bool QVMxmlTreeParserStandard24::extractSegmentName(const char* Tag, COLstring& Name) const {
  const char* Dot = std::strrchr(Tag, '.');
  Name = Dot ? Dot + 1 : Tag;
  return true;
}

COLstring QVMxmlTreeParserStandard24::invalidTagText(const char* Tag) const {
  return COLstring("Invalid tag ") + Tag + ", tags should have format <SEG> or <gX1.gX2...SEG> where X is the group index";
}

// --- "Full Tree Validation" without the grammar

unsigned QVMxmlX12TreeParser::extractIndexFromTag(const char* Tag) {
  const char* First = std::strchr(Tag, '.');
  const char* Second = First ? std::strchr(First + 1, '.') : nullptr;
  if (!Second) return 0;
  const std::string Number(First + 1, Second);
  if (Number == "0")
    throw COLerror(COLstring("The tag <") + Tag +
                       "> is not formed correctly.  It should be of the format Field.digit.XXX or Composite.XXX",
                   COL_ERROR_PRECONDITION);
  return QVMreadNumber(Number.c_str());
}

void QVMxmlX12TreeParser::onStartElement(const char* Name, const char**) {
  const char* Tag = QVMwithoutPrefix(Name);
  // Groups, and the document element, carry no "." and leave no trace.
  if (!std::strchr(Tag, '.')) return;
  m_CharacterData.clear();
  QVMxmlTreePlace& P = m_Place;
  switch (P.state) {
    case 0: {
      P.repeat = 0;
      m_Tree->addNode();
      P.segment = m_Tree->countOfSubNode() - 1;
      const char* Dot = std::strchr(Tag, '.');
      m_Tree->node(P.segment, 0)->node(0, 0)->setStringValue(COLstring(std::string_view(Tag, Dot - Tag)));
      P.state = 1;
      break;
    }
    case 1:
      if (const unsigned Index = extractIndexFromTag(Tag)) {
        if (Index != P.field) {
          P.field = Index;
          P.repeat = 0;
        } else {
          ++P.repeat;
        }
        P.state = 2;
      }
      break;
    // Components and sub-components are numbered from 1 in their tags, and stand from 0 in
    // their field; a tag without a number (a composite's own element) stays at its level.
    case 2:
      if (const unsigned Index = extractIndexFromTag(Tag)) {
        P.component = Index - 1;
        P.state = 3;
      }
      break;
    case 3:
      if (const unsigned Index = extractIndexFromTag(Tag)) {
        P.subComponent = Index - 1;
        P.state = 4;
      }
      break;
    case 4:
      if (extractIndexFromTag(Tag)) throw COLerror("SubField is lowest level parseable.", COL_ERROR_PRECONDITION);
      break;
    default:
      throw COLerror("Parser encountered unexpected state 'End'", COL_ERROR_PRECONDITION);
  }
}

void QVMxmlX12TreeParser::onEndElement(const char* Name) {
  const char* Tag = QVMwithoutPrefix(Name);
  if (!std::strchr(Tag, '.')) return;
  QVMxmlTreePlace& P = m_Place;
  const bool HasIndex = extractIndexFromTag(Tag) != 0;
  QVMuntypedMessageTree* Node = nullptr;
  switch (P.state) {
    case 0:
      throw COLerror("No message data", COL_ERROR_PRECONDITION);
    case 1:
      P.repeat = 0;
      P.field = 0;
      P.state = 0;
      break;
    case 2:
      Node = m_Tree->node(P.segment, 0)->node(P.field, P.repeat);
      if (HasIndex) P.state = 1;
      break;
    case 3:
      Node = m_Tree->node(P.segment, 0)->node(P.field, P.repeat)->node(P.component, 0);
      if (HasIndex) P.state = 2;
      break;
    case 4:
      Node = m_Tree->node(P.segment, 0)->node(P.field, P.repeat)->node(P.component, 0)->node(P.subComponent, 0);
      if (HasIndex) P.state = 3;
      break;
    default:
      throw COLerror("Parser encountered unexpected state 'End'", COL_ERROR_PRECONDITION);
  }
  storeValue(Node);
}

// --- "STANDARD"

bool QVMxmlTreeParserStandard::isListTag(const char* Tag) {
  size_t End = std::strlen(Tag);
  if (End > 0 && QVMisDigit(Tag[End - 1])) {
    while (End > 4 && Tag[End - 1] != '.') --End;
    if (End > 0 && Tag[End - 1] == '.') --End;
  }
  if (End < 2) return false;
  return End >= 3 && std::string_view(Tag, End).substr(End - 3) == "LST";
}

unsigned QVMxmlTreeParserStandard::extractIndexFromTag(const char* Tag) {
  const char* Dot = std::strrchr(Tag, '.');
  const char* Digits = Dot ? Dot + 1 : Tag;
  bool Formed = *Digits != '\0';
  for (const char* At = Digits; *At; ++At) Formed = Formed && QVMisDigit(*At);
  // Parts are numbered from 1: a 0 (or a number beyond any part) has no place.
  const unsigned Index = Formed ? QVMreadNumber(Digits) : 0;
  if (Index == 0)
    throw COLerror(COLstring("The tag <") + Tag + "> is not formed correctly.  It should be of the format XXX.digit.",
                   COL_ERROR_PRECONDITION);
  return Index;
}

namespace {

// The ".GRP.n" elements of this dialect frame group occurrences, which the flat text does not
// keep: they are passed over like the lists.
bool QVMisStandardGroupTag(const char* Tag) { return std::strstr(Tag, ".GRP.") != nullptr; }

}  // namespace

void QVMxmlTreeParserStandard::onStartElement(const char* Name, const char**) {
  if (isListTag(Name) || QVMisStandardGroupTag(Name)) return;
  QVMxmlTreePlace& P = m_Place;
  switch (P.state) {
    case 0:
      P.state = 1;
      break;
    case 1:
      m_Tree->addNode();
      P.segment = m_Tree->countOfSubNode() - 1;
      m_Tree->node(P.segment, 0)->node(0, 0)->setStringValue(Name);
      P.state = 2;
      break;
    case 2: {
      const unsigned Index = extractIndexFromTag(Name);
      if (Index == P.field) {
        ++P.repeat;
      } else {
        P.field = Index;
        P.repeat = 0;
      }
      P.state = 3;
      break;
    }
    case 3:
    case 4:
      P.component = extractIndexFromTag(Name) - 1;
      P.state = 5;
      break;
    case 5:
    case 6:
      P.subComponent = extractIndexFromTag(Name) - 1;
      P.state = 7;
      break;
    case 7:
      break;
    default:
      throw COLerror("Parser encountered unexpected state 'End'", COL_ERROR_PRECONDITION);
  }
}

void QVMxmlTreeParserStandard::onEndElement(const char* Name) {
  if (isListTag(Name) || QVMisStandardGroupTag(Name)) return;
  QVMxmlTreePlace& P = m_Place;
  QVMuntypedMessageTree* Node = nullptr;
  if (P.state == 3 || P.state == 5 || P.state == 7) {
    Node = m_Tree->node(P.segment, 0)->node(P.field, P.repeat);
    if (P.state >= 5) Node = Node->node(P.component, 0);
    if (P.state == 7) Node = Node->node(P.subComponent, 0);
  }
  storeValue(Node);
  switch (P.state) {
    case 0:
      throw COLerror("No message data", COL_ERROR_PRECONDITION);
    case 1: P.state = 9; break;
    case 2:
      P.field = 0;
      P.repeat = 0;
      P.state = 1;
      break;
    case 3:
    case 4: P.state = 2; break;
    case 5:
    case 6: P.state = 4; break;
    case 7: P.state = 6; break;
    default:
      throw COLerror("Parser encountered unexpected state 'End'", COL_ERROR_PRECONDITION);
  }
}

// --- "EXPANDED"

void QVMxmlTreeParser::reset() {
  m_Place = QVMxmlTreePlace();
  m_Delimiter = m_Engine->config().xmlDelimiter();
}

unsigned QVMxmlTreeParser::extractIndexFromTag(const char* Tag) const {
  const std::string_view Text(Tag);
  const size_t Last = Text.rfind(m_Delimiter);
  const COLstring Delimiter(1, m_Delimiter);
  if (Last == std::string_view::npos)
    throw COLerror(COLstring("The tag <") + Tag + "> is not formed correctly.  It should be of the format XXX" +
                       Delimiter + "digit.",
                   COL_ERROR_PRECONDITION);
  const auto allDigits = [](std::string_view Part) {
    if (Part.empty()) return false;
    for (const char C : Part)
      if (!QVMisDigit(C)) return false;
    return true;
  };
  std::string_view Number = Text.substr(Last + 1);
  // With named fields the number stands before the name: "PID.5.PatientName".
  if (!allDigits(Number) && Last > 0) {
    const size_t Before = Text.rfind(m_Delimiter, Last - 1);
    Number = Before == std::string_view::npos ? std::string_view() : Text.substr(Before + 1, Last - Before - 1);
  }
  // Parts are numbered from 1: a 0 (or a number beyond any part) has no place.
  const unsigned Index = allDigits(Number) ? QVMreadNumber(std::string(Number).c_str()) : 0;
  if (Index == 0)
    throw COLerror(COLstring("The tag <") + Tag + "> is not formed correctly.  It should be of the format XXX" +
                       Delimiter + "digit or XXX" + Delimiter + "digit" + Delimiter + "YYY.",
                   COL_ERROR_PRECONDITION);
  return Index;
}

namespace {

bool QVMhasNoIndex(const char* Tag) {
  for (; *Tag; ++Tag)
    if (QVMisDigit(*Tag)) return false;
  return true;
}

bool QVMendsInList(const char* Tag) {
  const std::string_view Text(Tag);
  return Text.size() >= 3 && Text.substr(Text.size() - 3) == "LST";
}

}  // namespace

void QVMxmlTreeParser::onStartElement(const char* Name, const char**) {
  const char* Tag = QVMwithoutPrefix(Name);
  m_CharacterData.clear();
  if (QVMendsInList(Tag)) return;
  QVMxmlTreePlace& P = m_Place;
  if (P.state >= 3 && P.state <= 6 && QVMhasNoIndex(Tag)) return;
  switch (P.state) {
    case 0: P.state = 1; break;
    case 1:
      m_Tree->addNode();
      P.segment = m_Tree->countOfSubNode() - 1;
      m_Tree->node(P.segment, 0)->node(0, 0)->setStringValue(Tag);
      P.state = 2;
      break;
    case 2: {
      const unsigned Index = extractIndexFromTag(Tag);
      P.repeat = Index == P.field ? P.repeat + 1 : 0;
      P.field = Index;
      P.state = 3;
      break;
    }
    case 3:
      P.component = extractIndexFromTag(Tag) - 1;
      P.state = 4;
      break;
    case 4:
      P.subComponent = extractIndexFromTag(Tag) - 1;
      P.state = 5;
      break;
    case 5:
      P.subSubComponent = extractIndexFromTag(Tag) - 1;
      P.state = 6;
      break;
    case 6: break;
    default:
      throw COLerror("Parser encountered unexpected state 'End'", COL_ERROR_PRECONDITION);
  }
}

void QVMxmlTreeParser::onEndElement(const char* Name) {
  const char* Tag = QVMwithoutPrefix(Name);
  if (QVMendsInList(Tag)) return;
  QVMxmlTreePlace& P = m_Place;
  const bool HasIndex = !QVMhasNoIndex(Tag);
  QVMuntypedMessageTree* Node = nullptr;
  if (P.state >= 3 && P.state <= 6) {
    Node = m_Tree->node(P.segment, 0)->node(P.field, P.repeat);
    if (P.state >= 4) Node = Node->node(P.component, 0);
    if (P.state >= 5) Node = Node->node(P.subComponent, 0);
    if (P.state >= 6) Node = Node->node(P.subSubComponent, 0);
  }
  switch (P.state) {
    case 0:
      throw COLerror("No message data", COL_ERROR_PRECONDITION);
    case 1: P.state = 7; break;
    case 2:
      P.field = 0;
      P.repeat = 0;
      P.state = 1;
      break;
    case 3:
    case 4:
    case 5:
    case 6:
      // A name-only wrapper leaves the place as it is, and its text is no value.
      if (!HasIndex) {
        m_CharacterData.clear();
        return;
      }
      --P.state;
      break;
    default:
      throw COLerror("Parser encountered unexpected state 'End'", COL_ERROR_PRECONDITION);
  }
  storeValue(Node, true);
}
