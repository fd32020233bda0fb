// SGXxmlDom: the one document tree of the system, and the parser that builds it.  Elements
// keep their attributes and children in document order; text becomes data nodes; comments
// and CDATA markers leave no node (CDATA text joins the surrounding text).  Text that is only
// white space between two tags gives no node; other text keeps its white space.
//
// Trees are freed, compared and written without recursion, so depth is no danger to them;
// the parser refuses documents nested deeper than maximumDepth() (readers walk trees
// recursively).
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "COLreference.h"
#include "COLsink.h"
#include "COLstring.h"
#include "SGXerror.h"
#include "XMLexpatParser.h"

class SGXxmlDomNodeData;
class SGXxmlDomNodeElement;

class SGXxmlDomNode {
public:
  SGXxmlDomNode() = default;
  SGXxmlDomNode(const SGXxmlDomNode&) = delete;
  SGXxmlDomNode& operator=(const SGXxmlDomNode&) = delete;
  virtual ~SGXxmlDomNode() = default;

  // `this` in the class asked for, null otherwise.
  virtual const SGXxmlDomNodeData* asData() const { return nullptr; }
  virtual SGXxmlDomNodeData* asData() { return nullptr; }
  virtual const SGXxmlDomNodeElement* asElement() const { return nullptr; }
  virtual SGXxmlDomNodeElement* asElement() { return nullptr; }

  // Where the node starts in the document: line from 1, column from 0.
  unsigned line() const { return m_Line; }
  unsigned column() const { return m_Column; }
  void setPosition(unsigned line, unsigned column) {
    m_Line = line;
    m_Column = column;
  }
  // Null at the root.
  SGXxmlDomNodeElement* parent() const { return m_Parent; }

private:
  friend class SGXxmlDomNodeElement;
  unsigned m_Line = 0;
  unsigned m_Column = 0;
  SGXxmlDomNodeElement* m_Parent = nullptr;
};

class SGXxmlDomNodeData : public SGXxmlDomNode {
public:
  SGXxmlDomNodeData() = default;
  explicit SGXxmlDomNodeData(COLstring value) : m_Value(std::move(value)) {}

  const SGXxmlDomNodeData* asData() const override { return this; }
  SGXxmlDomNodeData* asData() override { return this; }

  const COLstring& value() const { return m_Value; }
  COLstring& value() { return m_Value; }
  void setValue(const COLstring& value) { m_Value = value; }

private:
  COLstring m_Value;
};

class SGXxmlDomNodeElement : public SGXxmlDomNode {
public:
  using Attribute = std::pair<COLstring, COLstring>;

  SGXxmlDomNodeElement() = default;
  explicit SGXxmlDomNodeElement(COLstring name) : m_Name(std::move(name)) {}
  ~SGXxmlDomNodeElement() override;

  const SGXxmlDomNodeElement* asElement() const override { return this; }
  SGXxmlDomNodeElement* asElement() override { return this; }

  const COLstring& name() const { return m_Name; }
  void setName(const COLstring& name) { m_Name = name; }

  // --- attributes, in document order
  size_t countOfAttribute() const { return m_Attributes.size(); }
  const COLstring& attributeName(size_t index) const { return m_Attributes.at(index).first; }
  const COLstring& attributeValue(size_t index) const { return m_Attributes.at(index).second; }
  const std::vector<Attribute>& attributes() const { return m_Attributes; }
  void addAttribute(const COLstring& name, const COLstring& value) { m_Attributes.emplace_back(name, value); }
  // The value of the first attribute of that name, or null.
  const COLstring* findAttribute(std::string_view name) const;

  // --- children, in document order
  size_t countOfChild() const { return m_Children.size(); }
  const SGXxmlDomNode& child(size_t index) const { return *m_Children.at(index); }
  SGXxmlDomNode& child(size_t index) { return *m_Children.at(index); }
  // Takes ownership and becomes the child's parent; returns the child.
  SGXxmlDomNode* addChild(std::unique_ptr<SGXxmlDomNode> child);
  SGXxmlDomNodeElement* addElement(const COLstring& name);
  SGXxmlDomNodeData* addData(const COLstring& value);
  // The first child element of that name, or null.
  const SGXxmlDomNodeElement* findElement(std::string_view name) const;
  // The values of the data children, joined.
  COLstring text() const;

  // Empties name, attributes and children (position and parent stay).
  void clear();

private:
  COLstring m_Name;
  std::vector<Attribute> m_Attributes;
  std::vector<std::unique_ptr<SGXxmlDomNode>> m_Children;
};

void SGXxmlDomNodeElementClear(SGXxmlDomNodeElement& element);

// Same names, attributes, data values and shape; positions do not count.
bool SGXxmlDomEqual(const SGXxmlDomNodeElement& left, const SGXxmlDomNodeElement& right);

// Writes the tree as UTF-8 XML through XMLiosStream: names unchanged, text and attribute
// values escaped so that parsing the output gives an equal tree.  No declaration, no
// indentation (it would add text).  The tree must hold UTF-8, as the parser gives it without
// eight-bit text.
void SGXxmlDomWrite(const SGXxmlDomNodeElement& root, COLsink& sink);

class SGXxmlDomParser : public XMLexpatParser {
public:
  static constexpr unsigned DefaultMaximumDepth = 1000;

  SGXxmlDomParser();
  ~SGXxmlDomParser() override;

  // Builds the tree of the document into `root`.  False on any failure, which parseError()
  // then describes: code XmlMalformed for XML that is not well-formed, XmlParseFailed for
  // anything else (such as nesting deeper than maximumDepth()).
  bool parse(const char* data, unsigned length, SGXxmlDomNodeElement& root);
  bool parse(const COLstring& xml, SGXxmlDomNodeElement& root) {
    return parse(xml.data(), static_cast<unsigned>(xml.size()), root);
  }
  // Only after a failed parse.
  const COLreferencePtr<SGXerror>& parseError() const;

  unsigned maximumDepth() const { return m_MaximumDepth; }
  void setMaximumDepth(unsigned depth) { m_MaximumDepth = depth; }

  // Off (the default), the tree holds names and text in UTF-8 as Expat gives them.  On, it
  // holds them as 8-bit text, one byte per character, the form of message values; a
  // character above U+00FF then fails the parse (XmlParseFailed) at its line and column.
  bool eightBitText() const { return m_EightBitText; }
  void setEightBitText(bool value) { m_EightBitText = value; }

  void onStartElement(const char* name, const char** attributes) override;
  void onEndElement(const char* name) override;
  void onCharacterData(const char* text, int length) override;
  // The bare message, code 1, so that malformed XML is told apart from other failures.
  COLerror onError(const COLstring& message, unsigned line, unsigned column) override;

private:
  void takeTemporaryData();
  // `text` as the tree keeps it; it stands `offset` characters after the place of the event
  // (attribute values, which have no place of their own, pass `isAttribute`).
  COLstring treeText(const char* text, size_t length, unsigned offset, bool isAttribute);

  COLstring m_TempData;
  unsigned m_TempLine = 0;
  unsigned m_TempColumn = 0;
  bool m_HasTempPosition = false;
  SGXxmlDomNodeElement* m_Current = nullptr;
  SGXxmlDomNodeElement* m_Root = nullptr;
  bool m_RootFilled = false;
  unsigned m_Depth = 0;
  unsigned m_MaximumDepth = DefaultMaximumDepth;
  bool m_EightBitText = false;
  // Where a handler failed, for an error raised inside an event.
  unsigned m_FailLine = 0;
  unsigned m_FailColumn = 0;
  bool m_HasFailPosition = false;
  COLreferencePtr<SGXerror> m_Error;
};
