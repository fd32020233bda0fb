// The tree XML writers: a parsed message as XML that keeps its whole structure, every repeat,
// component, group occurrence and explicit null.  Three typed dialects walk the message laid
// onto its grammar ("STANDARD VER 2", "Full Tree Validation", "STANDARD"); "EXPANDED" walks
// the raw segments.  They read the definition and the tree and never change either.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "COLstring.h"
#include "COLthreadListener.h"
#include "XMLiosFilter.h"

class QVMcompositeGrammar;
class QVMconfig;
class QVMlistXmlIndexGrammar;
class QVMmessageDefinitionInternal;
class QVMmessageGrammar;
class QVMsegmentGrammar;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;
class SCCescaper;

// Told of each date-time that came in a form its mask cannot read (lenient checking lets it
// through): the typed dialects print date-times by their mask, so the document holds what the
// mask makes of it, often nothing.  A host that must not lose such values silently installs one
// for the current thread with QVMtreeXmlUnreadableScope around its translations.
class QVMtreeXmlUnreadableValues {
public:
  virtual ~QVMtreeXmlUnreadableValues() = default;
  // `Place` as "EVN.2.1" (segment, field, components); `Text` is what the message held, empty
  // when it is no longer known; `Written` is what the document holds instead.
  virtual void unreadableValue(const COLstring& Message, const COLstring& Place, const COLstring& Text,
                               const COLstring& Written) = 0;
};

// Installs a listener for the current thread while it lives.
using QVMtreeXmlUnreadableScope = COLthreadListenerScope<QVMtreeXmlUnreadableValues>;

// What the writers share: one document appended to the caller's string, tags through the tag
// filter, values as 8-bit text written as UTF-8 with the five entities, lines ending "\r\n".
class QVMtreeXmlWriter {
protected:
  void begin(COLstring& Out);
  void end();
  void indent(size_t Count) { std::memset(room(Count), ' ', Count); }
  void newLine() {
    char* At = room(2);
    At[0] = '\r';
    At[1] = '\n';
  }
  // "<tag>" or "</tag>" of `Tag` as the tag filter leaves it (a leading digit made "_").
  void openTag(std::string_view Tag) { tag("<", Tag); }
  void closeTag(std::string_view Tag) { tag("</", Tag); }
  // A tag that opens and closes an element is filtered once, when it is made: `Tag` as the tag
  // filter leaves it, in place.  Then filteredLine writes it as it is.
  static void filterTag(std::string& Tag);
  // `Indent` blanks, `Open` ("<" or "</") and the filtered `Tag` with its ">" (nothing of the
  // tag when it is empty) and, with `Break`, a line end.
  void filteredLine(size_t Indent, std::string_view Open, std::string_view Tag, bool Break);
  void data(std::string_view Text);
  // The declaration and the root's start tag with the namespace of `Config`, if it has one.
  void declarationAndRoot(std::string_view Root, const QVMconfig* Config);

  // `Name` as the tag filter leaves it: blanks and punctuation gone, "." kept.
  static void appendFiltered(std::string& Out, std::string_view Name);
  // The end tag of the root, its line end, and the document handed over.
  void finish(std::string_view Root);

public:
  // The raw segments the typed segments of the next documents were made from, in the same
  // order, so that a date-time its mask cannot read is reported with the text it came as.
  void setRawSegments(const QVMuntypedMessageTree* RawSegments) { m_RawSegments = RawSegments; }

protected:
  // A date-time leaf that did not convert is told to the listener of the thread, if any.
  void checkReadable(const QVMtypedMessageTree& Leaf, const COLstring& Written,
                     const QVMmessageDefinitionInternal* Definition) const;

private:
  // The document is written through a cursor: between begin() and end() the string is kept
  // longer than what is written, its tail room for what comes, and end() cuts it to size.  A
  // document is thousands of small pieces, and an append of each cost more than the bytes.
  char* room(size_t Count) {
    if (Count > m_Text->size() - m_Size) widen(Count);
    char* At = m_Text->data() + m_Size;
    m_Size += Count;
    return At;
  }
  void widen(size_t Count);
  // The string cut to what is written, for a filter that appends to it; then the cursor is put
  // behind what the filter wrote.
  void settle() { m_Text->resize(m_Size); }
  void resume() { m_Size = m_Text->size(); }
  void tag(std::string_view Open, std::string_view Tag);
  const QVMuntypedMessageTree* m_RawSegments = nullptr;
  COLstring* m_Out = nullptr;
  std::string* m_Text = nullptr;
  size_t m_Size = 0;
  XMLiosLatin1DataFilter m_Values;
  std::string m_Tag;
};

// "Full Tree Validation": segments and composites named with their descriptions, fields with
// their numbers and names ("PID.PatientIdentification", "PID.5.PatientName").  The tag hooks
// let "STANDARD VER 2" reuse the walk with its short names.
class QVMtreeXmlFormatterX12 : protected QVMtreeXmlWriter {
public:
  QVMtreeXmlFormatterX12() = default;
  virtual ~QVMtreeXmlFormatterX12() = default;
  QVMtreeXmlFormatterX12(const QVMtreeXmlFormatterX12&) = delete;
  QVMtreeXmlFormatterX12& operator=(const QVMtreeXmlFormatterX12&) = delete;
  using QVMtreeXmlWriter::setRawSegments;

  // Replaces `Out` with the document of `Tree`, the message laid onto `Definition`'s grammar.
  COLstring& treeInXml(const QVMtypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                       unsigned ConfigIndex, COLstring& Out, const QVMconfig* Config);

  virtual void onGroupTag(const QVMmessageGrammar* Grammar, const QVMmessageDefinitionInternal* Definition,
                          const COLstring& MessageTag, COLstring& Out);
  virtual void onMessageTag(const QVMmessageDefinitionInternal* Definition, COLstring& Out);
  virtual void onSegmentTag(const QVMsegmentGrammar* Grammar, COLstring& Out);
  virtual void onSegmentFieldTag(const QVMsegmentGrammar* Grammar, unsigned FieldIndex, COLstring& Out);
  virtual void onCompositeTag(const QVMcompositeGrammar* Grammar, COLstring& Out);
  virtual void onCompositeFieldTag(const QVMcompositeGrammar* Grammar, unsigned FieldIndex, COLstring& Out);
  // Whether a composite is framed by an element of its own.
  virtual bool onOutputCompositeHeaderTag();

protected:
  // Whether the field tags depend on the owner's name and the field number alone, so that they
  // can be made once per grammar and kept.
  virtual bool tagsFollowNames() const { return false; }

private:
  // The field tags of one segment or composite grammar, filtered, by field index (empty: not
  // made yet), with the owner's name they were made from: a grammar renamed since, or another
  // at the same address, makes them anew.
  struct QVMfieldTags {
    COLstring owner;
    // A segment's own tag (empty: not made yet).
    COLstring self;
    std::vector<COLstring> tags;
  };
  QVMfieldTags& tagsOf(const void* Grammar, const COLstring& Name, unsigned CountOfField);
  // The filtered tag of field `FieldIndex`, made by `make`: kept in `Memo` when there is one
  // (tags follow names), else made into `Made` for this use.
  template <class Make>
  std::string_view fieldTag(QVMfieldTags* Memo, unsigned FieldIndex, COLstring& Made, const Make& make);

  void grammarStep(const QVMtypedMessageTree& Tree, size_t Indent, const QVMmessageGrammar& Grammar, bool IsRoot);
  void segmentStep(const QVMtypedMessageTree& Tree, size_t Indent, const QVMsegmentGrammar* Grammar);
  void compositeStep(const QVMtypedMessageTree& Tree, const QVMcompositeGrammar* Grammar, size_t Indent, int Depth);
  // `Memo`: the kept tags of `Grammar`, when tags follow names.
  void singleFieldStep(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar, size_t Indent,
                       unsigned FieldIndex, QVMfieldTags* Memo);
  void valueStep(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar, unsigned FieldIndex);

  // The tag buffer of a nesting level of the walk, kept from message to message so that a
  // steady stream of messages composes its tags without allocating.
  COLstring& tagAt(std::vector<COLstring>& Tags, size_t Level);

  const QVMmessageDefinitionInternal* m_Definition = nullptr;
  COLstring m_MessageTag;
  // Each step has buffers of its own, so that a tag outlives the deeper steps between its start
  // and end tags.
  COLstring m_SegmentTag, m_FieldTag, m_ComponentTag, m_FramingTag, m_Value;
  std::vector<COLstring> m_GroupTags, m_CompositeTags, m_CompositeFieldTags;
  // Kept from message to message while tagsFollowNames() holds.  The tags stay where they are
  // made (a step keeps its owner's while deeper steps look up theirs); the grammars find them
  // through an open-addressed table, one multiply and usually one probe per look-up.
  struct QVMfieldTagSlot {
    const void* grammar = nullptr;
    QVMfieldTags* tags = nullptr;
  };
  QVMfieldTagSlot& slotOf(const void* Grammar);
  std::vector<std::unique_ptr<QVMfieldTags>> m_FieldTagStore;
  std::vector<QVMfieldTagSlot> m_FieldTagSlots;
  unsigned m_FieldTagShift = 64;
  bool m_TagsFollowNames = false;
};

// "STANDARD VER 2", the default dialect: "PID", "PID.3", "CX.1", groups "ADT_A01.PATIENT_VISIT",
// composites without an element of their own.
class QVMtreeXmlFormatterStandard2 : public QVMtreeXmlFormatterX12 {
public:
  void onGroupTag(const QVMmessageGrammar* Grammar, const QVMmessageDefinitionInternal* Definition,
                  const COLstring& MessageTag, COLstring& Out) override;
  using QVMtreeXmlFormatterX12::onMessageTag;
  // The message name, as the inherited hook gives it.
  void onMessageTag(const QVMmessageDefinitionInternal* Definition, COLstring& Out, unsigned);
  void onSegmentTag(const QVMsegmentGrammar* Grammar, COLstring& Out) override;
  void onSegmentFieldTag(const QVMsegmentGrammar* Grammar, unsigned FieldIndex, COLstring& Out) override;
  void onCompositeTag(const QVMcompositeGrammar* Grammar, COLstring& Out) override;
  void onCompositeFieldTag(const QVMcompositeGrammar* Grammar, unsigned FieldIndex, COLstring& Out) override;
  bool onOutputCompositeHeaderTag() override { return false; }

protected:
  bool tagsFollowNames() const override { return true; }
};

// "STANDARD": root named by the message's identifier values, lists as "ROOT.LST.n" numbered
// downwards through the grammar, groups as "ROOT.GRP.n", repeating fields in "PID.3.LST".
class QVMtreeXmlFormatterStandard : protected QVMtreeXmlWriter {
public:
  using QVMtreeXmlWriter::setRawSegments;
  COLstring& treeInXml(const QVMtypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                       unsigned ConfigIndex, COLstring& Out);

private:
  void listStep(const QVMtypedMessageTree& Tree, size_t Indent, const QVMmessageGrammar& Grammar,
                const QVMlistXmlIndexGrammar& Index, bool IsRoot);
  void segmentStep(const QVMtypedMessageTree& Tree, size_t Indent, const QVMsegmentGrammar& Grammar);
  void compositeStep(const QVMtypedMessageTree& Tree, const QVMcompositeGrammar& Grammar, size_t Indent);
  void valueStep(const QVMtypedMessageTree& Node, const QVMcompositeGrammar* Grammar, unsigned FieldIndex);

  const QVMmessageDefinitionInternal* m_Definition = nullptr;
  COLstring m_MessageTag, m_Value;
  unsigned m_ListCount = 0, m_ListTotal = 0, m_GroupCount = 0;
  std::string m_Tag;
};

// "EXPANDED": the raw segments in message order, tags joined by the configured delimiter and,
// with named fields, ending in the field's name ("PID.5.PatientName").
class QVMtreeXmlFormatter : protected QVMtreeXmlWriter {
public:
  COLstring& treeInXml(const QVMuntypedMessageTree& Tree, const QVMmessageDefinitionInternal* Definition,
                       COLstring& Out, bool NamedFields, const SCCescaper* Escaper, char Delimiter,
                       const QVMconfig* Config);

private:
  void segmentStep(const QVMuntypedMessageTree& Segment);
  void compositeStep(const QVMuntypedMessageTree& Tree, const QVMcompositeGrammar& Grammar, size_t Indent);
  // Segment or composite name, delimiter, number, and with named fields delimiter and name.
  void fieldTag(std::string& Tag, std::string_view Owner, unsigned Number, const COLstring* Name) const;
  void value(const char* Text, bool Unescape);

  bool m_NamedFields = false;
  bool m_SkipHeaderFields = false;
  const SCCescaper* m_Escaper = nullptr;
  char m_Delimiter = '.';
  COLstring m_Unescaped;
};

// The segment name, "." and the number of field `FieldIndex`: the tag "STANDARD VER 2" gives a
// segment field, and the one its reader takes apart.
void QVMstandard2FieldTag(const COLstring& Owner, unsigned FieldIndex, COLstring& Out);
