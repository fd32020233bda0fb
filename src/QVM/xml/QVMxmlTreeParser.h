// The readers of tree XML: each turns one dialect's document back into a raw message tree by
// the element names alone (attributes are ignored, no grammar is consulted); the tree is then
// written out as flat text.  Text is read as 8-bit, one byte per character.
#pragma once

#include <vector>

#include "COLstring.h"
#include "XMLexpatAnsiParser.h"

class QVMengineInternal;
class QVMuntypedMessageTree;
class QVPparseContext;

// What every reader shares: the tree being filled, where values are escaped, the text of the
// element that is open.
class QVMxmlTreeParserBase : public XMLexpatAnsiParser {
public:
  // Fills `Tree` (which the caller made empty).  `MessageIndex` comes back as it went in: no
  // tag of these dialects names a message definition.
  void getTree(const COLstring& Xml, const QVMengineInternal& Engine, const QVPparseContext& Context,
               unsigned& MessageIndex, QVMuntypedMessageTree& Tree);

protected:
  virtual void reset() = 0;
  // `m_CharacterData` into `Node` unless it is white space alone, escaped for the flat text
  // when the configuration (or `AlwaysEscape`) says so; then emptied.
  void storeValue(QVMuntypedMessageTree* Node, bool AlwaysEscape = false);
  // Keeps a chunk of text only if it holds something other than white space: Expat hands over
  // the blanks between tags, and around entities, as chunks of their own.
  void keepChunkUnlessBlank(const char* Text, int Length);
  static bool isWhiteSpace(const char* Text, size_t Length);
  static bool isWhiteSpace(const COLstring& Text) { return isWhiteSpace(Text.data(), Text.size()); }

  QVMuntypedMessageTree* m_Tree = nullptr;
  const QVPparseContext* m_Context = nullptr;
  const QVMengineInternal* m_Engine = nullptr;
  COLstring m_CharacterData;

private:
  COLstring m_Escaped;
};

// "STANDARD VER 2": the root, groups "ROOT.GROUP", segments "PID", fields and parts "PID.3",
// "CX.1".  A field element may repeat; a component element may not.
class QVMxmlTreeParserStandard2 : public QVMxmlTreeParserBase {
public:
  void onStartElement(const char* Name, const char** Attributes) override;
  void onEndElement(const char* Name) override;
  void onCharacterData(const char* Text, int Length) override { keepChunkUnlessBlank(Text, Length); }

  // The number behind the last "." of `Tag`; false when there is none or it is 0.
  static bool extractIndexFromTag(const char* Tag, unsigned& Index);

protected:
  void reset() override;
  virtual bool isGroup(const char* Tag) const;
  virtual bool extractSegmentName(const char* Tag, COLstring& Name) const;
  virtual COLstring invalidTagText(const char* Tag) const;
  // Where an indexed element goes below the open node.
  void startIndexed(const char* Name, unsigned Index);

  std::vector<QVMuntypedMessageTree*> m_NodeStack;
  std::vector<unsigned> m_IndexStack;
  QVMuntypedMessageTree* m_CurrentNode = nullptr;
  COLstring m_RootTag;
};

// "EXPANDED 2.4": groups "g1R", "g1R.g2R", and segments that may stand behind a group path.
class QVMxmlTreeParserStandard24 : public QVMxmlTreeParserStandard2 {
protected:
  bool isGroup(const char* Tag) const override;
  bool extractSegmentName(const char* Tag, COLstring& Name) const override;
  COLstring invalidTagText(const char* Tag) const override;
};

// The depth-driven readers keep the place of the value being read.
struct QVMxmlTreePlace {
  unsigned state = 0;
  unsigned segment = 0;
  unsigned field = 0;
  unsigned repeat = 0;
  unsigned component = 0;
  unsigned subComponent = 0;
  unsigned subSubComponent = 0;
};

// "Full Tree Validation" read without the grammar: "Segment.Description",
// "Field.digit.Name", "Composite.Description"; elements without "." are groups and ignored.
class QVMxmlX12TreeParser : public QVMxmlTreeParserBase {
public:
  void onStartElement(const char* Name, const char** Attributes) override;
  void onEndElement(const char* Name) override;
  void onCharacterData(const char* Text, int Length) override { m_CharacterData += std::string_view(Text, static_cast<size_t>(Length)); }

protected:
  void reset() override { m_Place = QVMxmlTreePlace(); }

private:
  // The number between the first and the second "."; 0 without a second ".".
  static unsigned extractIndexFromTag(const char* Tag);
  QVMxmlTreePlace m_Place;
};

// "STANDARD": the root, then segments, fields, components and sub-components by depth, with
// the ".LST" and ".GRP." wrappers passed over.
class QVMxmlTreeParserStandard : public QVMxmlTreeParserBase {
public:
  void onStartElement(const char* Name, const char** Attributes) override;
  void onEndElement(const char* Name) override;
  void onCharacterData(const char* Text, int Length) override { keepChunkUnlessBlank(Text, Length); }

  static bool isListTag(const char* Tag);

protected:
  void reset() override { m_Place = QVMxmlTreePlace(); }

private:
  static unsigned extractIndexFromTag(const char* Tag);
  QVMxmlTreePlace m_Place;
};

// "EXPANDED": the same by depth, indices behind the configured delimiter, name-only wrapper
// elements passed over.
class QVMxmlTreeParser : public QVMxmlTreeParserBase {
public:
  void onStartElement(const char* Name, const char** Attributes) override;
  void onEndElement(const char* Name) override;
  void onCharacterData(const char* Text, int Length) override { m_CharacterData += std::string_view(Text, static_cast<size_t>(Length)); }

protected:
  void reset() override;

private:
  unsigned extractIndexFromTag(const char* Tag) const;
  QVMxmlTreePlace m_Place;
  char m_Delimiter = '.';
};
