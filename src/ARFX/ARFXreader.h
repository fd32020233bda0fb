// ARFXreader: reads the XML form of the object layer. The whole text is parsed up front into
// a small tree (ARFXminiDom over the system's Expat parser); objects and properties are then
// taken from it by name, in any order among siblings, each one once. Text is handed out as
// 8-bit bytes (U+0000 to U+00FF), as the writer stored it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ARFobject.h"
#include "COLstring.h"

class ARFXdocument;

// One element. Names are shared by the document (a file has a few dozen distinct ones), and
// children are a list threaded through the nodes, so a node costs no allocation of its own
// unless it holds a long text or more than one attribute.
struct ARFXnode {
  const COLstring* name = nullptr;
  // The first attribute inline (most elements have none or one), the others after it.
  const COLstring* firstAttributeName = nullptr;
  COLstring firstAttributeValue;
  std::vector<std::pair<const COLstring*, COLstring>> moreAttributes;
  COLstring value;  // the character data of an element that holds no elements
  ARFXnode* parent = nullptr;
  ARFXnode* firstChild = nullptr;
  ARFXnode* lastChild = nullptr;
  ARFXnode* nextSibling = nullptr;
  uint32_t childCount = 0;
  bool consumed = false;
  size_t offset = 0;  // of the start tag, in bytes

  // The first attribute of that name, or null.
  const COLstring* attribute(const COLstring& attributeName) const;
  // The first unread child of that name, or null.
  ARFXnode* firstUnread(const COLstring& childName);

private:
  struct Cursor {
    std::vector<ARFXnode*> nodes;
    size_t next = 0;
  };
  // Children before this one are all read: a scan of a small node starts here.
  ARFXnode* m_FirstUnread = nullptr;
  bool m_ScanStarted = false;
  // Built on first use for a node with many children, which a scan would make quadratic.
  std::unique_ptr<std::unordered_map<std::string_view, Cursor>> m_ByName;
};

// All nodes of one parsed document, kept in one container so that building and freeing a
// large tree costs few allocations and no recursion.
class ARFXdocument {
public:
  ARFXnode& addNode() {
    if (m_Blocks.empty() || m_UsedInLast == BlockSize) {
      m_Blocks.push_back(std::make_unique<ARFXnode[]>(BlockSize));
      m_UsedInLast = 0;
    }
    return m_Blocks.back()[m_UsedInLast++];
  }
  ARFXnode* root() { return m_Blocks.empty() ? nullptr : &m_Blocks.front()[0]; }

  // The document's one copy of a name as Expat gave it (UTF-8), converted to 8-bit text;
  // null when the name holds a character above U+00FF.
  const COLstring* intern(const char* utf8Name);

private:
  static constexpr size_t BlockSize = 1024;
  std::vector<std::unique_ptr<ARFXnode[]>> m_Blocks;
  size_t m_UsedInLast = 0;
  struct NameHash {
    using is_transparent = void;
    size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
  };
  std::unordered_map<std::string, std::unique_ptr<COLstring>, NameHash, std::equal_to<>> m_Names;
};

// Parses a whole document; raises a COLerror naming the document, line and column when the
// text isn't well-formed or holds a character above U+00FF.
std::unique_ptr<ARFXdocument> ARFXminiDomParse(const COLstring& text, const COLstring& documentName);

class ARFXreader : public ARFreader {
public:
  // `documentName` (a path, usually) heads every error text.
  ARFXreader(const COLstring& text, const COLstring& documentName);
  ~ARFXreader() override;

  COLerror errorAt(const ARFposition& where, const COLstring& what) const override;
  const COLstring& documentName() const { return m_DocumentName; }

protected:
  bool objStartImpl(ARFobj& obj) override;
  bool objEndImpl(ARFobj& obj) override;
  bool objPropImpl(ARFprop& prop) override;

private:
  COLstring m_DocumentName;
  // The caller's text, which outlives the reader: line and column are counted from it only
  // for an error.
  std::string_view m_Text;
  std::unique_ptr<ARFXdocument> m_Document;
  ARFXnode* m_Root = nullptr;
};

// Line (from 1) and column (from 1, in characters) of a byte offset, counted the way Expat
// counts them: CR, LF and CR LF each end a line.
ARFposition ARFXlineAndColumn(std::string_view text, size_t offset);

// "VMD file <name>, line 3, column 5: " — the head of the reader's error texts.
COLstring ARFXpositionText(const COLstring& documentName, const ARFposition& where);
