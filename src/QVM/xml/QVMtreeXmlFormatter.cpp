#include "QVMtreeXmlFormatter.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMdateTimeGrammar.h"
#include "QVMdateTimeInternal.h"
#include "QVMengineInternal.h"
#include "QVMlistXmlIndexGrammar.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPcompositeGenerator.h"
#include "SCCescaper.h"
#include "SGXfromXmlFullTreeValidation.h"

namespace {

const XMLiosTagFilterNoDelimiter& QVMtreeTagFilter() {
  static const XMLiosTagFilterNoDelimiter Filter;
  return Filter;
}

constexpr const char* kInvalidDateTime = " (INVALID - not specified in the grammar)";

// Every field tag carries a number: written without a format string.
void QVMappendNumber(std::string& Out, unsigned long long Number) {
  char Text[24];
  const std::to_chars_result End = std::to_chars(Text, Text + sizeof Text, Number);
  Out.append(Text, End.ptr);
}

// The date-time grammar of a field: through the first field of composites down to one that is
// no composite.
const QVMdateTimeGrammar* QVMdateTimeGrammarOf(const QVMcompositeGrammar* Grammar, unsigned FieldIndex) {
  for (unsigned Depth = 0; Grammar && FieldIndex < Grammar->countOfField() && Depth < 64; ++Depth) {
    const QVMcompositeSubField& Field = *Grammar->field(FieldIndex);
    if (Field.dataType() != QVMcompositeType) return Grammar->fieldDateTimeGrammar(FieldIndex);
    Grammar = Field.compositeType();
    FieldIndex = 0;
  }
  return nullptr;
}

// The text of a typed leaf; false for a type that has no text here.
bool QVMtypedValueText(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar, unsigned FieldIndex,
                       COLstring& Text, bool& Invalid) {
  Invalid = false;
  switch (Node.dataType()) {
    case QVMstringType:
    case QVMenumerationType:
      Text = Node.getAsStringValue();
      return true;
    case QVMintegerType: {
      char Number[24];
      const std::to_chars_result End =
          std::to_chars(Number, Number + sizeof Number, static_cast<int>(Node.getIntegerValue()));
      Text.str().assign(Number, End.ptr);
      return true;
    }
    case QVMdoubleType: {
      // "%f" of a huge value has over 300 digits.
      char Number[400];
      std::snprintf(Number, sizeof Number, "%f", Node.getDoubleValue());
      Text = Number;
      return true;
    }
    case QVMdateTimeType:
      if (const QVMdateTimeGrammar* Mask = QVMdateTimeGrammarOf(Grammar, FieldIndex)) {
        Text.clear();
        QVPdateTimeGrammarConvertDateTimeToString(*Mask, Node.getDateTimeValue(), Text);
      } else {
        Text = Node.getAsStringValue();
        Invalid = true;
      }
      return true;
    default:
      return false;
  }
}

// Where `Child` hangs below `Parent`: its sub-node and repeat.
bool QVMplaceBelow(const QVMtypedMessageTree& Parent, const QVMtypedMessageTree& Child, unsigned& SubNode,
                   unsigned& Repeat) {
  for (SubNode = 0; SubNode < Parent.countOfSubNode(); ++SubNode) {
    const unsigned Repeats = Parent.node(SubNode, 0)->countOfRepeat();
    for (Repeat = 0; Repeat < Repeats; ++Repeat)
      if (Parent.node(SubNode, Repeat) == &Child) return true;
  }
  return false;
}

// The raw text a typed leaf was made from, by the way the checker lays raw values on a
// composite: a component where the raw field has them, a lone value standing for the first
// component, and the first part of a value that came with more parts than its type has.
const char* QVMrawTextAt(const QVMuntypedMessageTree& Segment, const std::vector<std::pair<unsigned, unsigned>>& Path) {
  const unsigned Field = Path[0].first + 1, Repeat = Path[0].second;
  if (Field >= Segment.countOfSubNode() || Repeat >= Segment.node(Field, 0)->countOfRepeat()) return nullptr;
  const QVMuntypedMessageTree* Node = Segment.node(Field, Repeat);
  for (size_t Level = 1; Level < Path.size(); ++Level) {
    const unsigned Component = Path[Level].first;
    if (Node->countOfSubNode() > Component) Node = Node->node(Component, 0);
    else if (Node->countOfSubNode() > 0 || Component > 0) return nullptr;
  }
  while (Node->countOfSubNode() > 0) Node = Node->node(0, 0);
  return Node->isNull() ? nullptr : Node->getValue();
}

}  // namespace

// --- the shared writer

void QVMtreeXmlWriter::checkReadable(const QVMtypedMessageTree& Leaf, const COLstring& Written,
                                     const QVMmessageDefinitionInternal* Definition) const {
  QVMtreeXmlUnreadableValues* Listener = QVMtreeXmlUnreadableScope::current();
  if (!Listener || Leaf.dataType() != QVMdateTimeType || Leaf.dataPresent() != QVMdataPresentNotConverted)
    return;
  // The leaf's place, from its segment down; the nodes below a placed segment still hang below
  // the node of the list of typed segments that the checker made, whose index is that of the
  // raw segment.
  std::vector<std::pair<unsigned, unsigned>> Path;
  const QVMtypedMessageTree* Node = &Leaf;
  const QVMtypedMessageTree* Segment = nullptr;
  while (const QVMtypedMessageTree* Parent = Node->parent()) {
    if (Node->segmentGrammar()) {
      Segment = Node;
      break;
    }
    unsigned SubNode = 0, Repeat = 0;
    if (!QVMplaceBelow(*Parent, *Node, SubNode, Repeat)) break;
    Path.insert(Path.begin(), {SubNode, Repeat});
    Node = Parent;
  }
  COLstring Place, Text;
  if (Segment && !Path.empty()) {
    std::string& Shown = Place.str();
    Shown = Segment->segmentGrammar()->name().view();
    for (const auto& Step : Path) {
      Shown += '.';
      QVMappendNumber(Shown, Step.first + 1ull);
    }
    unsigned Index = 0, Repeat = 0;
    const QVMtypedMessageTree* List = Segment->parent();
    if (m_RawSegments && List && QVMplaceBelow(*List, *Segment, Index, Repeat) && Repeat == 0 &&
        Index < m_RawSegments->countOfSubNode()) {
      const QVMuntypedMessageTree& Raw = *m_RawSegments->node(Index, 0);
      // Only a raw segment of the same name: anything else would put words in the message's mouth.
      if (Raw.countOfSubNode() > 0 && !Raw.node(0, 0)->isNull() &&
          Segment->segmentGrammar()->name().view() == Raw.node(0, 0)->getValue())
        if (const char* Value = QVMrawTextAt(Raw, Path)) Text = Value;
    }
  }
  Listener->unreadableValue(Definition ? Definition->name() : COLstring(), Place, Text, Written);
}

void QVMtreeXmlWriter::finish(std::string_view Root) {
  closeTag(Root);
  newLine();
  end();
}

void QVMtreeXmlWriter::begin(COLstring& Out) {
  Out.clear();
  m_Out = &Out;
  m_Text = &Out.str();
  m_Size = 0;
  m_Values.setSink(&Out);
}

void QVMtreeXmlWriter::end() {
  if (m_Text) settle();
  m_Values.setSink(nullptr);
  m_Out = nullptr;
  m_Text = nullptr;
}

void QVMtreeXmlWriter::widen(size_t Count) {
  // The storage the string has is used first: a document usually fits where the last one was.
  const size_t Needed = m_Size + Count;
  m_Text->resize(Needed <= m_Text->capacity() ? m_Text->capacity() : std::max(Needed + 1024, 2 * m_Text->capacity()));
}

void QVMtreeXmlWriter::appendFiltered(std::string& Out, std::string_view Name) {
  const XMLiosTagFilter& Filter = QVMtreeTagFilter();
  // Copied whole, then filtered in place: a tag is short and most of its bytes are kept, so
  // this is one copy and no clearing of room that is overwritten anyway.
  const size_t Start = Out.size();
  Out.append(Name);
  char* At = Out.data() + Start;
  for (const char* Byte = At; Byte != Out.data() + Out.size(); ++Byte)
    if (const char Kept = Filter.translate(static_cast<unsigned char>(*Byte))) *At++ = Kept;
  if (At != Out.data() + Out.size()) Out.resize(static_cast<size_t>(At - Out.data()));
}

void QVMtreeXmlWriter::filterTag(std::string& Tag) {
  const XMLiosTagFilter& Filter = QVMtreeTagFilter();
  char* At = Tag.data();
  for (const char Byte : Tag)
    if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) *At++ = Kept;
  Tag.resize(static_cast<size_t>(At - Tag.data()));
  if (!Tag.empty() && Tag[0] >= '0' && Tag[0] <= '9') Tag[0] = '_';
}

void QVMtreeXmlWriter::filteredLine(size_t Indent, std::string_view Open, std::string_view Tag, bool Break) {
  const size_t Size = Indent + (Tag.empty() ? 0 : Open.size() + Tag.size() + 1) + (Break ? 2 : 0);
  char* At = room(Size);
  std::memset(At, ' ', Indent);
  At += Indent;
  if (!Tag.empty()) {
    *At++ = '<';
    if (Open.size() == 2) *At++ = '/';
    std::memcpy(At, Tag.data(), Tag.size());
    At += Tag.size();
    *At++ = '>';
  }
  if (Break) {
    At[0] = '\r';
    At[1] = '\n';
  }
}

void QVMtreeXmlWriter::tag(std::string_view Open, std::string_view Tag) {
  // Filtered straight into the document, the commonest output of all: no copy in between.
  // Room for every byte is taken, and what the filter drops is given back.
  const XMLiosTagFilter& Filter = QVMtreeTagFilter();
  const size_t Start = m_Size;
  char* At = room(Open.size() + Tag.size() + 1);
  std::memcpy(At, Open.data(), Open.size());
  At += Open.size();
  char* const Name = At;
  for (const char Byte : Tag)
    if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) *At++ = Kept;
  if (At == Name) {
    m_Size = Start;
    return;
  }
  // A name may not start with a digit.
  if (*Name >= '0' && *Name <= '9') *Name = '_';
  *At++ = '>';
  m_Size = static_cast<size_t>(At - m_Text->data());
}

void QVMtreeXmlWriter::data(std::string_view Text) {
  // Most values are printable ASCII without markup: those bytes the filter passes as they are,
  // so they are appended whole and the filter sees only the rest.
  bool Plain = true;
  for (const char C : Text) {
    const auto Byte = static_cast<unsigned char>(C);
    if (Byte < 0x20 || Byte >= 0x7F || Byte == '"' || Byte == '\'' || Byte == '<' || Byte == '>' || Byte == '&') {
      Plain = false;
      break;
    }
  }
  if (Plain) {
    if (!Text.empty()) std::memcpy(room(Text.size()), Text.data(), Text.size());
    return;
  }
  try {
    // The filter appends to the string itself.
    settle();
    m_Values.write(Text.data(), Text.size());
    resume();
  } catch (const COLerror& Cause) {
    resume();
    // Name the value: a control byte XML cannot carry is the usual cause.
    const COLstring Shown = COLshownValue(Text, std::string_view::npos, XMLiosLatin1DataFilter::isWritable);
    throw COLerror("The value '" + Shown + "' cannot be written as XML: " + Cause.description(), Cause.code());
  }
}

void QVMtreeXmlWriter::declarationAndRoot(std::string_view Root, const QVMconfig* Config) {
  // Once per document: written by appending, the cursor put behind it afterwards.
  settle();
  struct Resume {
    QVMtreeXmlWriter& Writer;
    ~Resume() { Writer.resume(); }
  } ResumeAfter{*this};
  std::string& Out = *m_Text;
  Out += "<?xml version=\"1.0\"?>\r\n";
  m_Tag.clear();
  appendFiltered(m_Tag, Root);
  if (!m_Tag.empty() && m_Tag[0] >= '0' && m_Tag[0] <= '9') m_Tag[0] = '_';
  Out += '<';
  Out += m_Tag;
  if (Config && !Config->xmlSchemaProperties().xmlNamespace.empty()) {
    Out += " xmlns=\"";
    XMLiosAttributeDataFilter Filter(m_Out);
    const COLstring& Namespace = Config->xmlSchemaProperties().xmlNamespace;
    Filter.write(Namespace.data(), Namespace.size());
    Out += '"';
  }
  Out += ">\r\n";
}

// --- "Full Tree Validation" and "STANDARD VER 2"

QVMtreeXmlFormatterX12::QVMfieldTags& QVMtreeXmlFormatterX12::tagsOf(const void* Grammar, const COLstring& Name,
                                                                      unsigned CountOfField) {
  QVMfieldTagSlot& Slot = slotOf(Grammar);
  if (Slot.tags == nullptr) {
    m_FieldTagStore.push_back(std::make_unique<QVMfieldTags>());
    Slot.grammar = Grammar;
    Slot.tags = m_FieldTagStore.back().get();
  }
  QVMfieldTags& Tags = *Slot.tags;
  if (Tags.owner.view() != Name.view()) {
    Tags.owner = Name;
    Tags.self.clear();
    Tags.tags.clear();
  }
  // Room for every field at once: a tag handed out stays where it is while the others are made.
  if (Tags.tags.size() < CountOfField) Tags.tags.resize(CountOfField);
  return Tags;
}

QVMtreeXmlFormatterX12::QVMfieldTagSlot& QVMtreeXmlFormatterX12::slotOf(const void* Grammar) {
  // Kept at most half full, so that a probe ends soon on a free slot.
  if (2 * (m_FieldTagStore.size() + 1) > m_FieldTagSlots.size()) {
    std::vector<QVMfieldTagSlot> Old(std::max<size_t>(64, 2 * m_FieldTagSlots.size()));
    Old.swap(m_FieldTagSlots);
    m_FieldTagShift = 64 - static_cast<unsigned>(__builtin_ctzll(m_FieldTagSlots.size()));
    for (const QVMfieldTagSlot& Kept : Old)
      if (Kept.tags != nullptr) slotOf(Kept.grammar) = Kept;
  }
  const size_t Mask = m_FieldTagSlots.size() - 1;
  size_t At = static_cast<size_t>((reinterpret_cast<uintptr_t>(Grammar) * 0x9E3779B97F4A7C15ull) >> m_FieldTagShift);
  while (m_FieldTagSlots[At].tags != nullptr && m_FieldTagSlots[At].grammar != Grammar) At = (At + 1) & Mask;
  return m_FieldTagSlots[At];
}

template <class Make>
std::string_view QVMtreeXmlFormatterX12::fieldTag(QVMfieldTags* Memo, unsigned FieldIndex, COLstring& Made,
                                                  const Make& make) {
  if (!Memo) {
    make(Made);
    filterTag(Made.str());
    return Made.view();
  }
  if (FieldIndex >= Memo->tags.size()) Memo->tags.resize(FieldIndex + 1);
  COLstring& Tag = Memo->tags[FieldIndex];
  if (Tag.empty()) {
    make(Tag);
    filterTag(Tag.str());
  }
  return Tag.view();
}

COLstring& QVMtreeXmlFormatterX12::tagAt(std::vector<COLstring>& Tags, size_t Level) {
  if (Tags.size() <= Level) Tags.resize(Level + 1);
  return Tags[Level];
}

void QVMtreeXmlFormatterX12::onGroupTag(const QVMmessageGrammar* Grammar, const QVMmessageDefinitionInternal*,
                                        const COLstring&, COLstring& Out) {
  Out = Grammar->grammarName();
}

void QVMtreeXmlFormatterX12::onMessageTag(const QVMmessageDefinitionInternal* Definition, COLstring& Out) {
  Out = Definition->name();
}

void QVMtreeXmlFormatterX12::onSegmentTag(const QVMsegmentGrammar* Grammar, COLstring& Out) {
  Out = SGXfromXmlFullTreeValidationSegmentName(QVMtreeTagFilter(), *Grammar);
}

void QVMtreeXmlFormatterX12::onSegmentFieldTag(const QVMsegmentGrammar* Grammar, unsigned FieldIndex, COLstring& Out) {
  Out = SGXfromXmlFullTreeValidationFieldName(QVMtreeTagFilter(), *Grammar, FieldIndex);
}

void QVMtreeXmlFormatterX12::onCompositeTag(const QVMcompositeGrammar* Grammar, COLstring& Out) {
  Out = SGXfromXmlFullTreeValidationCompositeGrammarName(QVMtreeTagFilter(), *Grammar);
}

void QVMtreeXmlFormatterX12::onCompositeFieldTag(const QVMcompositeGrammar* Grammar, unsigned FieldIndex,
                                                 COLstring& Out) {
  Out = SGXfromXmlFullTreeValidationSubFieldName(QVMtreeTagFilter(), *Grammar, FieldIndex);
}

bool QVMtreeXmlFormatterX12::onOutputCompositeHeaderTag() { return true; }

COLstring& QVMtreeXmlFormatterX12::treeInXml(const QVMtypedMessageTree& Tree,
                                             const QVMmessageDefinitionInternal* Definition, unsigned ConfigIndex,
                                             COLstring& Out, const QVMconfig* Config) {
  COL_PRECONDITION(Definition != nullptr);
  COL_PRECONDITION_TEXT(Definition->rootEngine() == nullptr || ConfigIndex == Definition->rootEngine()->currentConfig(),
                        "ConfigIndex == pMessageDefinition->rootEngine()->currentConfig()");
  begin(Out);
  m_Definition = Definition;
  m_TagsFollowNames = tagsFollowNames();
  onMessageTag(Definition, m_MessageTag);
  declarationAndRoot(m_MessageTag.view(), Config);
  const QVMmessageGrammar* Grammar = Definition->messageGrammar();
  COL_PRECONDITION_TEXT(Grammar != nullptr, "NULL != pMessageDef->messageGrammar()");
  try {
    grammarStep(Tree, 0, *Grammar, true);
  } catch (...) {
    end();
    throw;
  }
  finish(m_MessageTag.view());
  return Out;
}

void QVMtreeXmlFormatterX12::grammarStep(const QVMtypedMessageTree& Tree, size_t Indent,
                                         const QVMmessageGrammar& Grammar, bool IsRoot) {
  if (Tree.countOfSubNode() == 0 && Tree.isNull()) return;
  if (Grammar.isNode()) {
    segmentStep(Tree, Indent, Grammar.segment());
    return;
  }
  if (Tree.isSubTreeEmpty()) return;
  // The root's element is the document's own: its tag is made only for the groups below.
  if (!IsRoot) {
    COLstring& Tag = tagAt(m_GroupTags, Indent / 2);
    onGroupTag(&Grammar, m_Definition, m_MessageTag, Tag);
    filterTag(Tag.str());
    filteredLine(Indent, "<", Tag.view(), true);
  }
  const size_t Count = std::min<size_t>(Grammar.countOfSubGrammar(), Tree.countOfSubNode());
  for (unsigned Index = 0; Index < Count; ++Index) {
    const unsigned Repeats = Tree.node(Index, 0)->countOfRepeat();
    for (unsigned Repeat = 0; Repeat < Repeats; ++Repeat)
      grammarStep(*Tree.node(Index, Repeat), Indent + 2, *Grammar.subGrammar(Index), false);
  }
  if (!IsRoot) {
    // Deeper groups have buffers of their own, so the tag is still this group's; the list of
    // buffers may have grown meanwhile, so it is looked up again.
    filteredLine(Indent, "</", tagAt(m_GroupTags, Indent / 2).view(), true);
  }
}

void QVMtreeXmlFormatterX12::segmentStep(const QVMtypedMessageTree& Tree, size_t Indent,
                                         const QVMsegmentGrammar* Grammar) {
  COL_PRECONDITION_TEXT(Grammar != nullptr, "pSegmentGrammar != NULL");
  QVMfieldTags* Memo = m_TagsFollowNames ? &tagsOf(Grammar, Grammar->name(), Grammar->countOfField()) : nullptr;
  COLstring& SegmentTag = Memo ? Memo->self : m_SegmentTag;
  if (!Memo || SegmentTag.empty()) {
    onSegmentTag(Grammar, SegmentTag);
    filterTag(SegmentTag.str());
  }
  filteredLine(Indent, "<", SegmentTag.view(), true);
  const unsigned Count = std::min<unsigned>(Grammar->countOfField(), Tree.countOfSubNode());
  for (unsigned Field = 0; Field < Count; ++Field) {
    const QVMtypedMessageTree& First = *Tree.node(Field, 0);
    if (First.countOfSubNode() == 0 && First.isNull() && First.countOfRepeat() == 0) continue;
    // The tag hooks depend on the grammar alone: one tag serves every repeat, and no deeper
    // step writes into this buffer.
    std::string_view FieldTag;
    const QVMcompositeGrammar* Type = nullptr;
    const unsigned Repeats = First.countOfRepeat();
    for (unsigned Repeat = 0; Repeat < Repeats; ++Repeat) {
      const QVMtypedMessageTree& Node = Repeat == 0 ? First : *Tree.node(Field, Repeat);
      if (Node.countOfSubNode() == 0 && Node.isNull()) continue;
      if (FieldTag.empty()) {
        FieldTag = fieldTag(Memo, Field, m_FieldTag, [&](COLstring& Tag) { onSegmentFieldTag(Grammar, Field, Tag); });
        Type = Grammar->fieldType(Field);
      }
      filteredLine(Indent + 3, "<", FieldTag, false);
      if (Node.countOfSubNode() > 0) {
        newLine();
        compositeStep(Node, Type, Indent + 6, 1);
        indent(Indent + 3);
      } else {
        valueStep(Node, Type, 0);
      }
      filteredLine(0, "</", FieldTag, true);
    }
  }
  filteredLine(Indent, "</", SegmentTag.view(), true);
}

void QVMtreeXmlFormatterX12::compositeStep(const QVMtypedMessageTree& Tree, const QVMcompositeGrammar* Grammar,
                                           size_t Indent, int Depth) {
  // A field typed by no composite has nothing to name its parts by.
  if (!Grammar) return;
  const bool Header = onOutputCompositeHeaderTag();
  const size_t Level = static_cast<size_t>(Depth);
  // A dialect without composite elements never writes the composite's tag: it is not made.
  if (Header) {
    COLstring& CompositeTag = tagAt(m_CompositeTags, Level);
    onCompositeTag(Grammar, CompositeTag);
    filterTag(CompositeTag.str());
    filteredLine(Indent, "<", CompositeTag.view(), true);
  }
  const bool Flat = Header && Depth <= 0;
  const size_t Inner = Flat ? Indent + 3 : Indent + 6;
  const unsigned Count = std::min<unsigned>(Tree.countOfSubNode(), Grammar->countOfField());
  QVMfieldTags* Memo = nullptr;
  for (unsigned Index = 0; Index < Count; ++Index) {
    const QVMtypedMessageTree& Node = *Tree.node(Index, 0);
    // A leaf is empty when it is null; only a composite needs the walk below it.
    const bool Leaf = Node.countOfSubNode() == 0;
    if (Leaf ? Node.isNull() : Node.isSubTreeEmpty()) continue;
    if (Leaf) {
      // One look-up of the kept tags for all the leaves of this composite.
      if (m_TagsFollowNames && !Memo) Memo = &tagsOf(Grammar, Grammar->name(), Grammar->countOfField());
      singleFieldStep(Node, Grammar, Indent + 3, Index, Memo);
      continue;
    }
    // A kept tag stays where it is while the deeper steps run; a buffer of this level may move
    // when deeper levels add theirs, so its tag is looked up again for the end tag.
    if (m_TagsFollowNames && !Memo) Memo = &tagsOf(Grammar, Grammar->name(), Grammar->countOfField());
    std::string_view FieldTag = fieldTag(Memo, Index, tagAt(m_CompositeFieldTags, Level),
                                         [&](COLstring& Made) { onCompositeFieldTag(Grammar, Index, Made); });
    if (!Flat) filteredLine(Indent + 3, "<", FieldTag, true);
    compositeStep(Node, Grammar->fieldCompositeType(Index), Inner, Depth + 1);
    if (!Flat) {
      if (!m_TagsFollowNames) FieldTag = tagAt(m_CompositeFieldTags, Level).view();
      filteredLine(Indent + 3, "</", FieldTag, true);
    }
  }
  if (Header) {
    filteredLine(Indent, "</", tagAt(m_CompositeTags, Level).view(), true);
  }
}

void QVMtreeXmlFormatterX12::singleFieldStep(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar,
                                             size_t Indent, unsigned FieldIndex, QVMfieldTags* Memo) {
  const std::string_view Tag = fieldTag(Memo, FieldIndex, m_ComponentTag,
                                        [&](COLstring& Made) { onCompositeFieldTag(Grammar, FieldIndex, Made); });
  const QVMcompositeSubField& Field = *Grammar->field(FieldIndex);
  const QVMcompositeGrammar* Type = Field.dataType() == QVMcompositeType ? Field.compositeType() : nullptr;
  if (onOutputCompositeHeaderTag() && Type && Type->countOfField() > 1) {
    // A lone value where a composite of several parts belongs: framed by the composite's element.
    COLstring& CompositeTag = m_FramingTag;
    onCompositeTag(Grammar, CompositeTag);
    filterTag(CompositeTag.str());
    filteredLine(Indent, "<", CompositeTag.view(), true);
    filteredLine(Indent + 4, "<", Tag, false);
    valueStep(Node, Grammar, FieldIndex);
    filteredLine(0, "</", Tag, true);
    filteredLine(Indent, "</", CompositeTag.view(), false);
    return;
  }
  filteredLine(Indent, "<", Tag, false);
  valueStep(Node, Grammar, FieldIndex);
  filteredLine(0, "</", Tag, true);
}

void QVMtreeXmlFormatterX12::valueStep(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar,
                                       unsigned FieldIndex) {
  if (Node.dataPresent() == QVMdataPresentExplicitNull) {
    data("\"\"");
    return;
  }
  // Most values are text: written from the tree, without a copy on the way.
  const QVMdataType Type = Node.dataType();
  if (Type == QVMstringType || Type == QVMenumerationType) {
    data(Node.getAsStringValue().view());
    return;
  }
  bool Invalid = false;
  if (!QVMtypedValueText(Node, Grammar, FieldIndex, m_Value, Invalid))
    COL_PRECONDITION_TEXT(false, "a value of type string, integer, double or date-time");
  data(m_Value.view());
  if (Invalid) data(kInvalidDateTime);
  else checkReadable(Node, m_Value, m_Definition);
}

void QVMstandard2FieldTag(const COLstring& Owner, unsigned FieldIndex, COLstring& Out) {
  std::string& Tag = Out.str();
  Tag.assign(Owner.view());
  Tag += '.';
  QVMappendNumber(Tag, FieldIndex + 1ull);
}

void QVMtreeXmlFormatterStandard2::onGroupTag(const QVMmessageGrammar* Grammar,
                                              const QVMmessageDefinitionInternal*, const COLstring& MessageTag,
                                              COLstring& Out) {
  std::string& Tag = Out.str();
  Tag.assign(MessageTag.view());
  if (!Grammar->parent()) return;
  Tag += '.';
  for (const char Byte : Grammar->grammarName().view()) {
    const char Upper = Byte == ' ' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(Byte)));
    if (const char Kept = QVMtreeTagFilter().translate(static_cast<unsigned char>(Upper))) Tag += Kept;
  }
}

void QVMtreeXmlFormatterStandard2::onMessageTag(const QVMmessageDefinitionInternal* Definition, COLstring& Out,
                                                unsigned) {
  QVMtreeXmlFormatterX12::onMessageTag(Definition, Out);
}

void QVMtreeXmlFormatterStandard2::onSegmentTag(const QVMsegmentGrammar* Grammar, COLstring& Out) {
  Out = Grammar->name();
}

void QVMtreeXmlFormatterStandard2::onSegmentFieldTag(const QVMsegmentGrammar* Grammar, unsigned FieldIndex,
                                                     COLstring& Out) {
  QVMstandard2FieldTag(Grammar->name(), FieldIndex, Out);
}

void QVMtreeXmlFormatterStandard2::onCompositeTag(const QVMcompositeGrammar*, COLstring& Out) { Out.clear(); }

void QVMtreeXmlFormatterStandard2::onCompositeFieldTag(const QVMcompositeGrammar* Grammar, unsigned FieldIndex,
                                                       COLstring& Out) {
  QVMstandard2FieldTag(Grammar->name(), FieldIndex, Out);
}

// --- "STANDARD"

namespace {

// Numbers the repeating nodes of the grammar in pre-order, the root left out.
void QVMnumberLists(const QVMmessageGrammar& Grammar, QVMlistXmlIndexGrammar& Index, unsigned& Count) {
  for (size_t Sub = 0; Sub < Grammar.countOfSubGrammar() && Sub < Index.countOfSubGrammar(); ++Sub) {
    const QVMmessageGrammar& Child = *Grammar.subGrammar(Sub);
    QVMlistXmlIndexGrammar& ChildIndex = Index.subgrammar(Sub);
    if (Child.isRepeating()) ChildIndex.setListIndex(++Count);
    QVMnumberLists(Child, ChildIndex, Count);
  }
}

}  // namespace

COLstring& QVMtreeXmlFormatterStandard::treeInXml(const QVMtypedMessageTree& Tree,
                                                  const QVMmessageDefinitionInternal* Definition,
                                                  unsigned ConfigIndex, COLstring& Out) {
  COL_PRECONDITION(Definition != nullptr);
  COL_PRECONDITION_TEXT(Definition->rootEngine() == nullptr || ConfigIndex == Definition->rootEngine()->currentConfig(),
                        "ConfigIndex == pMessageDefinition->rootEngine()->currentConfig()");
  const QVMmessageGrammar* Grammar = Definition->messageGrammar();
  COL_PRECONDITION_TEXT(Grammar != nullptr, "NULL != pMessageDef->messageGrammar()");
  begin(Out);
  m_Definition = Definition;
  m_ListCount = m_GroupCount = 0;
  COLreferencePtr<QVMlistXmlIndexGrammar> Index(new QVMlistXmlIndexGrammar(*Grammar));
  QVMnumberLists(*Grammar, *Index, m_ListCount);
  m_ListTotal = m_ListCount + 1;
  if (Definition->countOfIdentifier() == 0) {
    end();
    throw COLerror("XML translation requires at least one message identifier", COL_ERROR_PRECONDITION);
  }
  m_MessageTag.clear();
  for (size_t Identifier = 0; Identifier < Definition->countOfIdentifier(); ++Identifier) {
    if (Identifier) m_MessageTag += '_';
    m_MessageTag += Definition->identifierValue(Identifier);
  }
  openTag(m_MessageTag.view());
  newLine();
  try {
    listStep(Tree, 0, *Grammar, *Index, true);
  } catch (...) {
    end();
    throw;
  }
  finish(m_MessageTag.view());
  return Out;
}

void QVMtreeXmlFormatterStandard::listStep(const QVMtypedMessageTree& Tree, size_t Indent,
                                           const QVMmessageGrammar& Grammar, const QVMlistXmlIndexGrammar& Index,
                                           bool IsRoot) {
  if (Tree.countOfSubNode() == 0 && Tree.isNull()) return;
  if (Grammar.isNode()) {
    COL_PRECONDITION_TEXT(Grammar.segment() != nullptr, "pSegmentGrammar != NULL");
    segmentStep(Tree, Indent, *Grammar.segment());
    return;
  }
  const size_t Count = std::min<size_t>(Grammar.countOfSubGrammar(), Tree.countOfSubNode());
  for (unsigned Sub = 0; Sub < Count; ++Sub) {
    const QVMlistXmlIndexGrammar& ChildIndex = Index.subgrammar(Sub);
    const bool IsList = ChildIndex.listIndex() != QVMlistXmlIndexGrammar::NoIndex;
    const unsigned ListNumber = IsList ? m_ListTotal - ChildIndex.listIndex() : 0;
    const auto writeTag = [&](const char* Kind, unsigned Number, bool Open) {
      m_Tag.assign(m_MessageTag.view());
      m_Tag += Kind;
      QVMappendNumber(m_Tag, Number);
      indent(Indent);
      if (Open) openTag(m_Tag); else closeTag(m_Tag);
      newLine();
    };
    if (IsList) writeTag(".LST.", ListNumber, true);
    const unsigned Group = IsRoot ? 0 : ++m_GroupCount;
    const unsigned Repeats = Tree.node(Sub, 0)->countOfRepeat();
    for (unsigned Repeat = 0; Repeat < Repeats; ++Repeat) {
      if (!IsRoot) writeTag(".GRP.", Group, true);
      listStep(*Tree.node(Sub, Repeat), Indent + 2, *Grammar.subGrammar(Sub), ChildIndex, false);
      if (!IsRoot) writeTag(".GRP.", Group, false);
    }
    if (IsList) writeTag(".LST.", ListNumber, false);
  }
}

void QVMtreeXmlFormatterStandard::segmentStep(const QVMtypedMessageTree& Tree, size_t Indent,
                                              const QVMsegmentGrammar& Grammar) {
  const COLstring& Name = Grammar.name();
  indent(Indent);
  openTag(Name.view());
  newLine();
  const unsigned Count = std::min<unsigned>(Grammar.countOfField(), Tree.countOfSubNode());
  for (unsigned Field = 0; Field < Count; ++Field) {
    const QVMtypedMessageTree& First = *Tree.node(Field, 0);
    if (First.countOfSubNode() == 0 && First.isNull() && First.countOfRepeat() == 0) continue;
    const bool IsList = Grammar.fieldMaxRepeat(Field) != 0;
    const auto fieldTag = [&](const char* Suffix) {
      m_Tag.assign(Name.view());
      m_Tag += '.';
      QVMappendNumber(m_Tag, Field + 1ull);
      m_Tag += Suffix;
    };
    if (IsList) {
      indent(Indent + 3);
      fieldTag(".LST");
      openTag(m_Tag);
      newLine();
    }
    const size_t FieldIndent = IsList ? Indent + 3 : Indent;
    const QVMcompositeGrammar* Type = Grammar.fieldType(Field);
    for (unsigned Repeat = 0; Repeat < First.countOfRepeat(); ++Repeat) {
      const QVMtypedMessageTree& Node = *Tree.node(Field, Repeat);
      if (Node.countOfSubNode() == 0 && Node.isNull()) continue;
      indent(FieldIndent + 3);
      fieldTag("");
      openTag(m_Tag);
      if (!Type || Type->countOfField() < 2) {
        valueStep(Node, Type, 0);
      } else {
        newLine();
        compositeStep(Node, *Type, FieldIndent + 6);
        indent(FieldIndent + 3);
      }
      fieldTag("");
      closeTag(m_Tag);
      newLine();
    }
    if (IsList) {
      indent(Indent + 3);
      fieldTag(".LST");
      closeTag(m_Tag);
      newLine();
    }
  }
  indent(Indent);
  closeTag(Name.view());
  newLine();
}

void QVMtreeXmlFormatterStandard::compositeStep(const QVMtypedMessageTree& Tree, const QVMcompositeGrammar& Grammar,
                                                size_t Indent) {
  const auto componentTag = [&](unsigned Number) {
    m_Tag.assign(Grammar.name().view());
    m_Tag += '.';
    QVMappendNumber(m_Tag, Number);
  };
  if (Tree.countOfSubNode() == 0) {
    if (Tree.isNull()) return;
    indent(Indent);
    componentTag(1);
    openTag(m_Tag);
    valueStep(Tree, &Grammar, 0);
    componentTag(1);
    closeTag(m_Tag);
    newLine();
    return;
  }
  const unsigned Count = std::min<unsigned>(Tree.countOfSubNode(), Grammar.countOfField());
  for (unsigned Index = 0; Index < Count; ++Index) {
    const QVMtypedMessageTree& Node = *Tree.node(Index, 0);
    if (Node.countOfSubNode() == 0 && Node.isNull()) continue;
    indent(Indent);
    componentTag(Index + 1);
    openTag(m_Tag);
    if (Node.countOfSubNode() > 0) {
      newLine();
      const QVMcompositeGrammar* Type =
          Grammar.fieldDataType(Index) == QVMcompositeType ? Grammar.fieldCompositeType(Index) : nullptr;
      if (Type) compositeStep(Node, *Type, Indent + 3);
      else data("NONAMEFIELD!!");
      indent(Indent);
    } else {
      valueStep(Node, &Grammar, Index);
    }
    componentTag(Index + 1);
    closeTag(m_Tag);
    newLine();
  }
}

void QVMtreeXmlFormatterStandard::valueStep(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar,
                                            unsigned FieldIndex) {
  const QVMdataType Type = Node.dataType();
  if (Type == QVMstringType || Type == QVMenumerationType) {
    data(Node.getAsStringValue().view());
    return;
  }
  bool Invalid = false;
  if (!QVMtypedValueText(Node, Grammar, FieldIndex, m_Value, Invalid))
    COL_PRECONDITION_TEXT(false, "a value of type string, integer, double or date-time");
  data(m_Value.view());
  if (Invalid) data(kInvalidDateTime);
  else checkReadable(Node, m_Value, m_Definition);
}

// --- "EXPANDED"

COLstring& QVMtreeXmlFormatter::treeInXml(const QVMuntypedMessageTree& Tree,
                                          const QVMmessageDefinitionInternal* Definition, COLstring& Out,
                                          bool NamedFields, const SCCescaper* Escaper, char Delimiter,
                                          const QVMconfig* Config) {
  COL_PRECONDITION_TEXT(Config != nullptr, "pConfig != 0");
  COL_PRECONDITION(Definition != nullptr);
  begin(Out);
  m_NamedFields = NamedFields;
  m_Escaper = Escaper;
  m_Delimiter = Delimiter;
  m_SkipHeaderFields = Config->countOfHeaderFieldsToSkip() > 2;
  declarationAndRoot(Definition->name().view(), Config);
  try {
    for (unsigned Segment = 0; Segment < Tree.countOfSubNode(); ++Segment) segmentStep(*Tree.node(Segment, 0));
  } catch (...) {
    end();
    throw;
  }
  finish(Definition->name().view());
  return Out;
}

void QVMtreeXmlFormatter::fieldTag(std::string& Tag, std::string_view Owner, unsigned Number,
                                   const COLstring* Name) const {
  // Names lose the delimiter and whatever else the filter drops; the joints are the delimiter.
  Tag.clear();
  const XMLiosTagFilter& Filter = QVMtreeTagFilter();
  const auto appendName = [&](std::string_view Part) {
    for (const char Byte : Part)
      if (Byte != m_Delimiter && Byte != '.')
        if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) Tag += Kept;
  };
  appendName(Owner);
  Tag += m_Delimiter;
  QVMappendNumber(Tag, Number);
  if (Name) {
    Tag += m_Delimiter;
    appendName(Name->view());
  }
}

void QVMtreeXmlFormatter::value(const char* Text, bool Unescape) {
  if (!Text) return;
  if (Unescape && m_Escaper) {
    m_Escaper->unescapeString(m_Unescaped, Text, false);
    data(m_Unescaped.view());
  } else {
    data(Text);
  }
}

void QVMtreeXmlFormatter::segmentStep(const QVMuntypedMessageTree& Segment) {
  const QVMsegmentGrammar* Grammar = Segment.segmentGrammar();
  const char* First = Segment.countOfSubNode() ? Segment.node(0, 0)->getValue() : Segment.getValue();
  if (!Grammar) {
    COLstring Shown;
    COLostream Stream(Shown);
    Segment.printOn(Stream, COLstring(), "");
    Stream.flush();
    throw COLerror("There is no segment defined for this part of the HL7 message. \"" + Shown +
                       ".  You must define a segment for " + (First ? First : "") + ".",
                   COL_ERROR_PRECONDITION);
  }
  const bool IsHeader = First && std::string_view(First) == "MSH";
  const COLstring& Name = Grammar->name();
  std::string Tag;
  openTag(Name.view());
  newLine();
  const size_t Indent = 3;
  const unsigned Fields = Grammar->countOfField();
  if (Segment.countOfSubNode() > 0 && Fields < Segment.countOfSubNode() - 1) {
    COLstring Text;
    COLostream(Text) << "Segment: " << Name << " has only " << Fields
                     << " fields defined.  But the HL7 message here has instances of this segment with "
                     << Segment.countOfSubNode() - 1 << " fields defined.  Please add "
                     << Segment.countOfSubNode() - 1 - Fields << " extra fields to this segment.";
    throw COLerror(Text, COL_ERROR_PRECONDITION);
  }
  for (unsigned Field = 1; Field < Segment.countOfSubNode(); ++Field) {
    const QVMuntypedMessageTree& FirstRepeat = *Segment.node(Field, 0);
    const QVMcompositeGrammar* Type = Grammar->fieldType(Field - 1);
    fieldTag(Tag, Name.view(), Field, m_NamedFields ? &Grammar->fieldName(Field - 1) : nullptr);
    for (unsigned Repeat = 0; Repeat < FirstRepeat.countOfRepeat(); ++Repeat) {
      const QVMuntypedMessageTree& Node = *Segment.node(Field, Repeat);
      if (Node.countOfSubNode() == 0 && Node.isNull()) {
        // An absent repeat among others keeps its place.
        if (FirstRepeat.countOfRepeat() >= 2) {
          indent(Indent);
          openTag(Tag);
          closeTag(Tag);
          newLine();
        }
        continue;
      }
      indent(Indent);
      openTag(Tag);
      if (Node.countOfSubNode() == 0 && (!Type || Type->countOfField() < 2)) {
        value(Node.getValue(), !(m_SkipHeaderFields && IsHeader && Field == 2));
      } else if (Type) {
        compositeStep(Node, *Type, Indent + 3);
      }
      closeTag(Tag);
      newLine();
    }
  }
  closeTag(Name.view());
  newLine();
}

void QVMtreeXmlFormatter::compositeStep(const QVMuntypedMessageTree& Tree, const QVMcompositeGrammar& Grammar,
                                        size_t Indent) {
  if (Grammar.countOfField() == 1) {
    const QVMuntypedMessageTree* Node = Tree.countOfSubNode() ? Tree.node(0, 0) : &Tree;
    value(Node->isNull() ? nullptr : Node->getValue(), false);
    return;
  }
  newLine();
  indent(Indent);
  openTag(Grammar.name().view());
  newLine();
  std::string Tag;
  if (Tree.countOfSubNode() > 0) {
    if (Grammar.countOfField() < Tree.countOfSubNode()) {
      COLstring Text;
      COLostream(Text) << "Composite: " << Grammar.name() << " has only " << Grammar.countOfField()
                       << " fields defined.  But the HL7 message here has instances of this composite with "
                       << Tree.countOfSubNode() << " fields defined.  Please add "
                       << Tree.countOfSubNode() - Grammar.countOfField() << " extra fields to this composite.";
      throw COLerror(Text, COL_ERROR_PRECONDITION);
    }
    for (unsigned Index = 0; Index < Tree.countOfSubNode(); ++Index) {
      const QVMuntypedMessageTree& Node = *Tree.node(Index, 0);
      if (Node.countOfSubNode() == 0 && Node.isNull()) continue;
      const QVMcompositeGrammar* Type =
          Grammar.fieldDataType(Index) == QVMcompositeType ? Grammar.fieldCompositeType(Index) : nullptr;
      if (Node.countOfSubNode() > 0 && !Type) {
        COLstring Shown, Whole;
        COLostream NodeStream(Shown), TreeStream(Whole);
        Node.printOn(NodeStream, COLstring(), "");
        Tree.printOn(TreeStream, COLstring(), "");
        NodeStream.flush();
        TreeStream.flush();
        COLstring Text;
        COLostream(Text) << "There is no composite defined for this part of the HL7 message. " << Shown
                         << " in field " << Index << " in " << Whole
                         << "Use the message browser to look at the area.  Then edit the composite "
                         << "definition to correct the problem.";
        throw COLerror(Text, COL_ERROR_PRECONDITION);
      }
      fieldTag(Tag, Grammar.name().view(), Index + 1, m_NamedFields ? &Grammar.fieldName(Index) : nullptr);
      indent(Indent + 3);
      openTag(Tag);
      // The tree's values were unescaped when it was made.
      if (Type && (Node.countOfSubNode() > 0 || Type->countOfField() == 1)) compositeStep(Node, *Type, Indent + 3);
      else value(Node.getValue(), false);
      fieldTag(Tag, Grammar.name().view(), Index + 1, m_NamedFields ? &Grammar.fieldName(Index) : nullptr);
      closeTag(Tag);
      newLine();
    }
  } else {
    fieldTag(Tag, Grammar.name().view(), 1, m_NamedFields ? &Grammar.fieldName(0) : nullptr);
    indent(Indent + 3);
    openTag(Tag);
    value(Tree.isNull() ? nullptr : Tree.getValue(), false);
    closeTag(Tag);
    newLine();
  }
  indent(Indent);
  closeTag(Grammar.name().view());
  newLine();
  // The end tag of the enclosing field stands where that field's start tag stood.
  if (Indent >= 3) indent(Indent - 3);
}
