#include "SGXxmlDom.h"

#include <cctype>
#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "XMLexpatAnsiParser.h"
#include "XMLiosStream.h"

// --- the tree

SGXxmlDomNodeElement::~SGXxmlDomNodeElement() { clear(); }

void SGXxmlDomNodeElement::clear() {
  m_Name.clear();
  m_Attributes.clear();
  // Children are taken apart with a work list, not by recursive destructors, so that a
  // tree of any depth is freed in constant stack.
  std::vector<std::unique_ptr<SGXxmlDomNode>> Pending = std::move(m_Children);
  m_Children.clear();
  while (!Pending.empty()) {
    std::unique_ptr<SGXxmlDomNode> Node = std::move(Pending.back());
    Pending.pop_back();
    if (SGXxmlDomNodeElement* Element = Node->asElement()) {
      for (auto& Child : Element->m_Children) Pending.push_back(std::move(Child));
      Element->m_Children.clear();
    }
  }
}

void SGXxmlDomNodeElementClear(SGXxmlDomNodeElement& element) { element.clear(); }

const COLstring* SGXxmlDomNodeElement::findAttribute(std::string_view name) const {
  for (const Attribute& Entry : m_Attributes)
    if (Entry.first.view() == name) return &Entry.second;
  return nullptr;
}

SGXxmlDomNode* SGXxmlDomNodeElement::addChild(std::unique_ptr<SGXxmlDomNode> child) {
  COL_PRECONDITION(child != nullptr);
  child->m_Parent = this;
  m_Children.push_back(std::move(child));
  return m_Children.back().get();
}

SGXxmlDomNodeElement* SGXxmlDomNodeElement::addElement(const COLstring& name) {
  return addChild(std::make_unique<SGXxmlDomNodeElement>(name))->asElement();
}

SGXxmlDomNodeData* SGXxmlDomNodeElement::addData(const COLstring& value) {
  return addChild(std::make_unique<SGXxmlDomNodeData>(value))->asData();
}

const SGXxmlDomNodeElement* SGXxmlDomNodeElement::findElement(std::string_view name) const {
  for (const auto& Child : m_Children)
    if (const SGXxmlDomNodeElement* Element = Child->asElement(); Element && Element->name().view() == name)
      return Element;
  return nullptr;
}

COLstring SGXxmlDomNodeElement::text() const {
  COLstring Text;
  for (const auto& Child : m_Children)
    if (const SGXxmlDomNodeData* Data = Child->asData()) Text += Data->value();
  return Text;
}

// --- comparing and writing, both over an explicit stack

namespace {

bool sameNode(const SGXxmlDomNodeElement& left, const SGXxmlDomNodeElement& right) {
  return left.name() == right.name() && left.attributes() == right.attributes() &&
         left.countOfChild() == right.countOfChild();
}

}  // namespace

bool SGXxmlDomEqual(const SGXxmlDomNodeElement& left, const SGXxmlDomNodeElement& right) {
  std::vector<std::pair<const SGXxmlDomNodeElement*, const SGXxmlDomNodeElement*>> Pending{{&left, &right}};
  while (!Pending.empty()) {
    const auto [Left, Right] = Pending.back();
    Pending.pop_back();
    if (!sameNode(*Left, *Right)) return false;
    for (size_t Index = 0; Index < Left->countOfChild(); ++Index) {
      const SGXxmlDomNode& LeftChild = Left->child(Index);
      const SGXxmlDomNode& RightChild = Right->child(Index);
      if (const SGXxmlDomNodeData* LeftData = LeftChild.asData()) {
        const SGXxmlDomNodeData* RightData = RightChild.asData();
        if (!RightData || LeftData->value() != RightData->value()) return false;
      } else {
        const SGXxmlDomNodeElement* RightElement = RightChild.asElement();
        if (!RightElement) return false;
        Pending.emplace_back(LeftChild.asElement(), RightElement);
      }
    }
  }
  return true;
}

void SGXxmlDomWrite(const SGXxmlDomNodeElement& root, COLsink& sink) {
  XMLiosStream Stream('.', &sink, false);
  Stream.setTagFilter(new XMLiosTagFilterXmlName);
  Stream.setDataFilter(new XMLiosUtf8DataFilter);
  Stream.setAttributeFilter(new XMLiosAttributeDataFilter(nullptr, true));
  // Each entry: an element and the index of its next child to write.
  std::vector<std::pair<const SGXxmlDomNodeElement*, size_t>> Open;
  auto openElement = [&](const SGXxmlDomNodeElement& element) {
    Stream << startTag << element.name();
    for (const auto& [Name, Value] : element.attributes()) Stream.addAttribute(Name.view(), Value.view());
    Stream << elementData;
    Open.emplace_back(&element, 0);
  };
  openElement(root);
  while (!Open.empty()) {
    auto& [Element, Next] = Open.back();
    if (Next == Element->countOfChild()) {
      Stream << endTag << Element->name() << elementData;
      Open.pop_back();
      continue;
    }
    const SGXxmlDomNode& Child = Element->child(Next++);
    if (const SGXxmlDomNodeData* Data = Child.asData())
      Stream << Data->value();
    else
      openElement(*Child.asElement());
  }
  Stream << flush;
}

// --- the parser

SGXxmlDomParser::SGXxmlDomParser() = default;
SGXxmlDomParser::~SGXxmlDomParser() = default;

bool SGXxmlDomParser::parse(const char* data, unsigned length, SGXxmlDomNodeElement& root) {
  root.clear();
  m_Error = nullptr;
  m_Root = m_Current = &root;
  m_RootFilled = false;
  m_Depth = 0;
  m_HasFailPosition = false;
  m_TempData.clear();
  m_HasTempPosition = false;
  bool Success = true;
  try {
    init();
    parseBuffer(data, length, true);
  } catch (const COLerror& error) {
    unsigned Line = 0;
    unsigned Column = 0;
    if (m_HasFailPosition) {
      Line = m_FailLine;
      Column = m_FailColumn;
    } else if (isOpen()) {
      Line = currentLineNumber();
      Column = currentColumnNumber();
    }
    const auto Code = error.code() == 1 ? SGXerror::XmlMalformed : SGXerror::XmlParseFailed;
    m_Error = new SGXerror(Code, error.description(), Line, Column);
    Success = false;
  }
  destroy();
  m_Root = m_Current = nullptr;
  m_TempData.clear();
  return Success;
}

const COLreferencePtr<SGXerror>& SGXxmlDomParser::parseError() const {
  COL_PRECONDITION(m_Error);
  return m_Error;
}

COLerror SGXxmlDomParser::onError(const COLstring& message, unsigned, unsigned) { return COLerror(message, 1); }

void SGXxmlDomParser::onStartElement(const char* name, const char** attributes) {
  COL_PRECONDITION(m_Current != nullptr);
  takeTemporaryData();
  if (m_Depth >= m_MaximumDepth) {
    m_FailLine = currentLineNumber();
    m_FailColumn = currentColumnNumber();
    m_HasFailPosition = true;
    COLstring Text;
    COLostream(Text) << "Elements are nested deeper than " << m_MaximumDepth << " levels.";
    throw COLerror(Text, COL_ERROR_RESOURCE);
  }
  SGXxmlDomNodeElement* Element = m_Current;
  if (m_RootFilled)
    Element = m_Current->addElement(COLstring());
  else
    m_RootFilled = true;
  Element->setName(treeText(name, std::strlen(name), 1, false));
  for (const char** Attribute = attributes; Attribute && *Attribute; Attribute += 2)
    Element->addAttribute(treeText(Attribute[0], std::strlen(Attribute[0]), 0, true),
                          treeText(Attribute[1], std::strlen(Attribute[1]), 0, true));
  Element->setPosition(currentLineNumber(), currentColumnNumber());
  m_Current = Element;
  ++m_Depth;
}

void SGXxmlDomParser::onEndElement(const char*) {
  takeTemporaryData();
  --m_Depth;
  // The root's parent is null; nothing follows its end but the end of the document.
  m_Current = m_Current->parent() ? m_Current->parent() : m_Root;
}

void SGXxmlDomParser::onCharacterData(const char* text, int length) {
  if (!m_HasTempPosition) {
    m_TempLine = currentLineNumber();
    m_TempColumn = currentColumnNumber();
    m_HasTempPosition = true;
  }
  if (m_EightBitText)
    m_TempData += treeText(text, static_cast<size_t>(length), 0, false);
  else
    m_TempData.append(static_cast<size_t>(length), text);
}

COLstring SGXxmlDomParser::treeText(const char* text, size_t length, unsigned offset, bool isAttribute) {
  if (!m_EightBitText) return COLstring(text, 0, length);
  try {
    return XMLexpatAnsiParser::utf8ToAnsiColString(text, text + length);
  } catch (const COLerror&) {
    size_t Before = 0;
    uint32_t CodePoint = 0;
    if (!XMLexpatAnsiParser::utf8FindUntranscodable(text, text + length, Before, CodePoint)) throw;
    m_FailLine = currentLineNumber();
    m_FailColumn = currentColumnNumber() + (isAttribute ? 0 : offset + static_cast<unsigned>(Before));
    m_HasFailPosition = true;
    COLstring Text = XMLexpatAnsiParser::untranscodableText(CodePoint);
    Text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(Text[0])));
    if (isAttribute) Text += " (in an attribute of the element that starts here)";
    throw COLerror(Text + ".", COL_ERROR_PRECONDITION);
  }
}

void SGXxmlDomParser::takeTemporaryData() {
  const bool OnlyWhiteSpace = m_TempData.view().find_first_not_of(" \t\r\n") == std::string_view::npos;
  if (!OnlyWhiteSpace) {
    SGXxmlDomNodeData* Data = m_Current->addData(COLstring());
    std::swap(Data->value(), m_TempData);
    Data->setPosition(m_TempLine, m_TempColumn);
  }
  m_TempData.clear();
  m_HasTempPosition = false;
}
