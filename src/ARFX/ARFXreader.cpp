#include "ARFXreader.h"

#include "COLerror.h"
#include "COLostream.h"
#include "XMLexpatAnsiParser.h"

namespace {
// Deeper nesting than any definition needs; it bounds the recursion of whoever walks the tree.
constexpr size_t MaximumDepth = 200;

class ARFXminiDom : public XMLexpatAnsiParser {
public:
  explicit ARFXminiDom(const COLstring& documentName) : m_DocumentName(documentName) {}

  std::unique_ptr<ARFXnode> takeRoot() { return std::move(m_Root); }

  void onStartElement(const char* name, const char** attributes) override {
    if (m_Depth >= MaximumDepth) fail("elements are nested more than 200 levels deep");
    auto node = std::make_unique<ARFXnode>();
    node->name = name;
    for (const char** attribute = attributes; attribute && attribute[0]; attribute += 2)
      node->attributes.emplace_back(attribute[0], attribute[1]);
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
    if (m_Current && length > 0) m_Current->value.append(text, 0, static_cast<size_t>(length));
  }

  COLerror onError(const COLstring& message, unsigned line, unsigned column) override {
    return COLerror(ARFXpositionText(m_DocumentName, ARFposition{line, column + 1}) +
                        "the file is not well-formed XML: " + message + ".",
                    COL_ERROR_RESOURCE);
  }

private:
  ARFposition here() { return ARFposition{currentLineNumber(), currentColumnNumber() + 1}; }

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
  } catch (const COLerror& error) {
    destroyIteratively(parser.takeRoot());
    // Errors of the parser's own (a character above U+00FF) don't know the document yet.
    if (error.description().startsWith("VMD file ")) throw;
    throw COLerror(ARFXpositionText(documentName, ARFposition{}) + error.description(), error.code());
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
