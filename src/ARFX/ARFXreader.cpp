#include "ARFXreader.h"

#include <algorithm>

#include "COLerror.h"
#include "COLostream.h"
#include "XMLexpatParser.h"

namespace {
// Deeper nesting than any definition needs; it bounds the recursion of whoever walks the tree.
constexpr size_t MaximumDepth = 200;

// Expat hands out UTF-8; definitions hold 8-bit text. Returns false at a character above
// U+00FF, which 8-bit text cannot hold. Runs of ASCII are copied whole.
bool appendAsBytes(COLstring& out, const char* text, size_t length) {
  const unsigned char* in = reinterpret_cast<const unsigned char*>(text);
  size_t i = 0;
  while (i < length) {
    size_t run = i;
    while (run < length && in[run] < 0x80) ++run;
    if (run > i) out += std::string_view(text + i, run - i);
    i = run;
    if (i == length) break;
    unsigned char lead = in[i];
    if ((lead == 0xC2 || lead == 0xC3) && i + 1 < length) {
      out += static_cast<char>(((lead & 0x03) << 6) | (in[i + 1] & 0x3F));
      i += 2;
    } else {
      return false;
    }
  }
  return true;
}

// A node with more children than this gets an index by name instead of a scan.
constexpr size_t ScanLimit = 32;

class ARFXminiDom : public XMLexpatParser {
public:
  explicit ARFXminiDom(const COLstring& documentName) : m_DocumentName(documentName) {}

  std::unique_ptr<ARFXdocument> takeDocument() { return std::move(m_Document); }

  void onStartElement(const char* name, const char** attributes) override {
    if (m_Depth >= MaximumDepth) fail("elements are nested more than 200 levels deep");
    // A second top-level element cannot reach here: the parser rejects it as junk.
    ARFXnode& node = m_Document->addNode();
    node.name = internedName(name);
    for (const char** attribute = attributes; attribute && attribute[0]; attribute += 2) {
      const COLstring* attributeName = internedName(attribute[0]);
      COLstring attributeValue = bytes(attribute[1]);
      if (!node.firstAttributeName) {
        node.firstAttributeName = attributeName;
        node.firstAttributeValue = std::move(attributeValue);
      } else {
        node.moreAttributes.emplace_back(attributeName, std::move(attributeValue));
      }
    }
    node.offset = currentByteIndex();
    node.parent = m_Current;
    if (m_Current) {
      // No object of the format holds both text and elements: the blanks between the
      // elements of an object are not kept.
      if (!m_Current->firstChild) {
        m_Current->value = COLstring();
        m_Current->firstChild = &node;
      } else {
        m_Current->lastChild->nextSibling = &node;
      }
      m_Current->lastChild = &node;
      ++m_Current->childCount;
    }
    m_Current = &node;
    ++m_Depth;
  }

  void onEndElement(const char*) override {
    if (m_Current) m_Current = m_Current->parent;
    --m_Depth;
  }

  void onCharacterData(const char* text, int length) override {
    if (!m_Current || length <= 0 || m_Current->firstChild) return;
    if (!appendAsBytes(m_Current->value, text, static_cast<size_t>(length)))
      fail("the text holds a character above U+00FF, which a definition cannot store");
  }

  COLerror onError(const COLstring& message, unsigned line, unsigned column) override {
    return COLerror(ARFXpositionText(m_DocumentName, ARFposition{line, column + 1}) +
                        "the file is not well-formed XML: " + message + ".",
                    COL_ERROR_RESOURCE);
  }

private:
  ARFposition here() { return ARFposition{currentLineNumber(), currentColumnNumber() + 1}; }

  const COLstring* internedName(const char* text) {
    const COLstring* name = m_Document->intern(text);
    if (!name) fail("a name holds a character above U+00FF, which a definition cannot store");
    return name;
  }

  COLstring bytes(const char* text) {
    COLstring out;
    if (!appendAsBytes(out, text, std::char_traits<char>::length(text)))
      fail("a name holds a character above U+00FF, which a definition cannot store");
    return out;
  }

  [[noreturn]] void fail(const char* what) {
    throw COLerror(ARFXpositionText(m_DocumentName, here()) + what + ".", COL_ERROR_PRECONDITION);
  }

  COLstring m_DocumentName;
  std::unique_ptr<ARFXdocument> m_Document = std::make_unique<ARFXdocument>();
  ARFXnode* m_Current = nullptr;
  size_t m_Depth = 0;
};

}  // namespace

const COLstring* ARFXnode::attribute(const COLstring& attributeName) const {
  if (firstAttributeName && *firstAttributeName == attributeName) return &firstAttributeValue;
  for (const auto& [key, value] : moreAttributes)
    if (*key == attributeName) return &value;
  return nullptr;
}

ARFXnode* ARFXnode::firstUnread(const COLstring& childName) {
  if (childCount <= ScanLimit) {
    if (!m_ScanStarted) {
      m_FirstUnread = firstChild;
      m_ScanStarted = true;
    }
    while (m_FirstUnread && m_FirstUnread->consumed) m_FirstUnread = m_FirstUnread->nextSibling;
    for (ARFXnode* child = m_FirstUnread; child; child = child->nextSibling)
      if (!child->consumed && *child->name == childName) return child;
    return nullptr;
  }
  if (!m_ByName) {
    m_ByName = std::make_unique<std::unordered_map<std::string_view, Cursor>>();
    for (ARFXnode* child = firstChild; child; child = child->nextSibling)
      (*m_ByName)[std::string_view(*child->name)].nodes.push_back(child);
  }
  auto found = m_ByName->find(std::string_view(childName));
  if (found == m_ByName->end()) return nullptr;
  Cursor& cursor = found->second;
  while (cursor.next < cursor.nodes.size() && cursor.nodes[cursor.next]->consumed) ++cursor.next;
  return cursor.next < cursor.nodes.size() ? cursor.nodes[cursor.next] : nullptr;
}

const COLstring* ARFXdocument::intern(const char* utf8Name) {
  const std::string_view key(utf8Name);
  auto found = m_Names.find(key);
  if (found != m_Names.end()) return found->second.get();
  auto name = std::make_unique<COLstring>();
  if (!appendAsBytes(*name, utf8Name, key.size())) return nullptr;
  return m_Names.emplace(std::string(key), std::move(name)).first->second.get();
}

ARFposition ARFXlineAndColumn(std::string_view text, size_t offset) {
  ARFposition where{1, 1};
  where.offset = offset;
  const size_t end = std::min(offset, text.size());
  for (size_t i = 0; i < end; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\r') {
      ++where.line;
      where.column = 1;
      if (i + 1 < end && text[i + 1] == '\n') ++i;
    } else if (c == '\n') {
      ++where.line;
      where.column = 1;
    } else if ((c & 0xC0) != 0x80) {
      ++where.column;  // a character, not the tail of one
    }
  }
  return where;
}

COLstring ARFXpositionText(const COLstring& documentName, const ARFposition& where) {
  COLstring text = COLstring("VMD file ") + documentName;
  if (where.line > 0) {
    COLostream(text) << ", line " << where.line << ", column " << where.column;
  }
  return text + ": ";
}

std::unique_ptr<ARFXdocument> ARFXminiDomParse(const COLstring& text, const COLstring& documentName) {
  ARFXminiDom parser(documentName);
  parser.parse(text);
  std::unique_ptr<ARFXdocument> document = parser.takeDocument();
  if (!document->root())
    throw COLerror(ARFXpositionText(documentName, ARFposition{}) + "the file holds no XML element.",
                   COL_ERROR_PRECONDITION);
  return document;
}

ARFXreader::ARFXreader(const COLstring& text, const COLstring& documentName)
    : m_DocumentName(documentName),
      m_Text(text.data(), text.size()),
      m_Document(ARFXminiDomParse(text, documentName)),
      m_Root(m_Document->root()) {}

ARFXreader::~ARFXreader() = default;

COLerror ARFXreader::errorAt(const ARFposition& where, const COLstring& what) const {
  const bool onlyOffset = where.line == 0 && where.offset != static_cast<size_t>(-1);
  const ARFposition resolved = onlyOffset ? ARFXlineAndColumn(m_Text, where.offset) : where;
  return COLerror(ARFXpositionText(m_DocumentName, resolved) + what, COL_ERROR_PRECONDITION);
}

bool ARFXreader::objStartImpl(ARFobj& obj) {
  ARFXnode* node = nullptr;
  if (!obj.parent()) {
    if (m_Root && !m_Root->consumed && *m_Root->name == obj.name()) node = m_Root;
  } else if (auto* parentNode = static_cast<ARFXnode*>(obj.parent()->readerNode())) {
    node = parentNode->firstUnread(obj.name());
  }
  if (!node) return false;
  node->consumed = true;
  obj.setReaderNode(node);
  ARFposition where;
  where.offset = node->offset;
  obj.setPosition(where);
  if (obj.key().isSet()) {
    const COLstring* value = node->attribute(obj.key().name);
    obj.key().present = value != nullptr;
    obj.key().value = value ? *value : COLstring();
  }
  return true;
}

bool ARFXreader::objEndImpl(ARFobj& obj) {
  if (!obj.readerNode()) return false;
  obj.setReaderNode(nullptr);
  return true;
}

bool ARFXreader::objPropImpl(ARFprop& prop) {
  auto* parentNode = static_cast<ARFXnode*>(prop.obj.readerNode());
  ARFXnode* node = parentNode ? parentNode->firstUnread(prop.name) : nullptr;
  if (!node) return false;
  node->consumed = true;
  // Each node is read once, so its text can move out.
  prop.value = std::move(node->value);
  prop.position = ARFposition{};
  prop.position.offset = node->offset;
  return true;
}
