#include "ARFXreader.h"

#include "COLerror.h"
#include "COLostream.h"
#include "XMLexpatParser.h"

namespace {
// Deeper nesting than any definition needs; it bounds the recursion of whoever walks the tree.
constexpr size_t MaximumDepth = 200;

// Expat hands out UTF-8; definitions hold 8-bit text. Returns false at a character above
// U+00FF, which 8-bit text cannot hold.
bool appendAsBytes(COLstring& out, const char* text, size_t length) {
  const unsigned char* in = reinterpret_cast<const unsigned char*>(text);
  for (size_t i = 0; i < length; ++i) {
    unsigned char lead = in[i];
    if (lead < 0x80) {
      out += static_cast<char>(lead);
    } else if ((lead == 0xC2 || lead == 0xC3) && i + 1 < length) {
      out += static_cast<char>(((lead & 0x03) << 6) | (in[i + 1] & 0x3F));
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

class ARFXminiDom : public XMLexpatParser {
public:
  explicit ARFXminiDom(const COLstring& documentName) : m_DocumentName(documentName) {}

  std::unique_ptr<ARFXnode> takeRoot() { return std::move(m_Root); }

  void onStartElement(const char* name, const char** attributes) override {
    if (m_Depth >= MaximumDepth) fail("elements are nested more than 200 levels deep");
    auto node = std::make_unique<ARFXnode>();
    node->name = bytes(name);
    for (const char** attribute = attributes; attribute && attribute[0]; attribute += 2)
      node->attributes.emplace_back(bytes(attribute[0]), bytes(attribute[1]));
    node->position = here();
    node->parent = m_Current;
    ARFXnode* added = node.get();
    if (m_Current) m_Current->children.push_back(std::move(node));
    else m_Root = std::move(node);
    m_Current = added;
    ++m_Depth;
  }

  void onEndElement(const char*) override {
    if (m_Current) m_Current = m_Current->parent;
    --m_Depth;
  }

  void onCharacterData(const char* text, int length) override {
    if (!m_Current || length <= 0) return;
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
  std::unique_ptr<ARFXnode> m_Root;
  ARFXnode* m_Current = nullptr;
  size_t m_Depth = 0;
};

// Children are freed level by level, so that a deep tree never recurses deeply.
void destroyIteratively(std::unique_ptr<ARFXnode> root) {
  std::vector<std::unique_ptr<ARFXnode>> pending;
  pending.push_back(std::move(root));
  while (!pending.empty()) {
    std::unique_ptr<ARFXnode> node = std::move(pending.back());
    pending.pop_back();
    if (!node) continue;
    for (auto& child : node->children) pending.push_back(std::move(child));
  }
}
}  // namespace

const COLstring* ARFXnode::attribute(const COLstring& attributeName) const {
  for (const auto& [key, value] : attributes)
    if (key == attributeName) return &value;
  return nullptr;
}

ARFXnode* ARFXnode::firstUnread(const COLstring& childName) {
  if (!m_Indexed) {
    for (auto& child : children) m_ByName[child->name].nodes.push_back(child.get());
    m_Indexed = true;
  }
  auto found = m_ByName.find(childName);
  if (found == m_ByName.end()) return nullptr;
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

std::unique_ptr<ARFXnode> ARFXminiDomParse(const COLstring& text, const COLstring& documentName) {
  ARFXminiDom parser(documentName);
  try {
    parser.parse(text);
  } catch (...) {
    destroyIteratively(parser.takeRoot());
    throw;
  }
  std::unique_ptr<ARFXnode> root = parser.takeRoot();
  if (!root)
    throw COLerror(ARFXpositionText(documentName, ARFposition{}) + "the file holds no XML element.",
                   COL_ERROR_PRECONDITION);
  return root;
}

ARFXreader::ARFXreader(const COLstring& text, const COLstring& documentName)
    : m_DocumentName(documentName), m_Root(ARFXminiDomParse(text, documentName)) {}

ARFXreader::~ARFXreader() { destroyIteratively(std::move(m_Root)); }

COLerror ARFXreader::errorAt(const ARFposition& where, const COLstring& what) const {
  return COLerror(ARFXpositionText(m_DocumentName, where) + what, COL_ERROR_PRECONDITION);
}

bool ARFXreader::objStartImpl(ARFobj& obj) {
  ARFXnode* node = nullptr;
  if (!obj.parent()) {
    if (m_Root && !m_Root->consumed && m_Root->name == obj.name()) node = m_Root.get();
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
