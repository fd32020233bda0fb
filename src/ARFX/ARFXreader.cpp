#include "ARFXreader.h"

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
    node.name = bytes(name);
    for (const char** attribute = attributes; attribute && attribute[0]; attribute += 2)
      node.attributes.emplace_back(bytes(attribute[0]), bytes(attribute[1]));
    node.position = here();
    node.parent = m_Current;
    if (m_Current) {
      // No object of the format holds both text and elements: the blanks between the
      // elements of an object are not kept.
      if (m_Current->children.empty()) m_Current->value = COLstring();
      m_Current->children.push_back(&node);
    }
    m_Current = &node;
    ++m_Depth;
  }

  void onEndElement(const char*) override {
    if (m_Current) m_Current = m_Current->parent;
    --m_Depth;
  }

  void onCharacterData(const char* text, int length) override {
    if (!m_Current || length <= 0 || !m_Current->children.empty()) return;
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
  for (const auto& [key, value] : attributes)
    if (key == attributeName) return &value;
  return nullptr;
}

ARFXnode* ARFXnode::firstUnread(const COLstring& childName) {
  if (children.size() <= ScanLimit) {
    while (m_FirstUnread < children.size() && children[m_FirstUnread]->consumed) ++m_FirstUnread;
    for (size_t i = m_FirstUnread; i < children.size(); ++i)
      if (!children[i]->consumed && children[i]->name == childName) return children[i];
    return nullptr;
  }
  if (!m_ByName) {
    m_ByName = std::make_unique<std::unordered_map<COLstring, Cursor>>();
    for (ARFXnode* child : children) (*m_ByName)[child->name].nodes.push_back(child);
  }
  auto found = m_ByName->find(childName);
  if (found == m_ByName->end()) return nullptr;
  Cursor& cursor = found->second;
  while (cursor.next < cursor.nodes.size() && cursor.nodes[cursor.next]->consumed) ++cursor.next;
  return cursor.next < cursor.nodes.size() ? cursor.nodes[cursor.next] : nullptr;
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
    : m_DocumentName(documentName), m_Document(ARFXminiDomParse(text, documentName)), m_Root(m_Document->root()) {}

ARFXreader::~ARFXreader() = default;

COLerror ARFXreader::errorAt(const ARFposition& where, const COLstring& what) const {
  return COLerror(ARFXpositionText(m_DocumentName, where) + what, COL_ERROR_PRECONDITION);
}

bool ARFXreader::objStartImpl(ARFobj& obj) {
  ARFXnode* node = nullptr;
  if (!obj.parent()) {
    if (m_Root && !m_Root->consumed && m_Root->name == obj.name()) node = m_Root;
  } else if (auto* parentNode = static_cast<ARFXnode*>(obj.parent()->readerNode())) {
    node = parentNode->firstUnread(obj.name());
  }
  if (!node) return false;
  node->consumed = true;
  obj.setReaderNode(node);
  obj.setPosition(node->position);
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
  prop.value = node->value;
  prop.position = node->position;
  return true;
}
