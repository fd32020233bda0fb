// ARFXreader: reads the XML form of the object layer. The whole text is parsed up front into
// a small tree (ARFXminiDom over the system's Expat parser); objects and properties are then
// taken from it by name, in any order among siblings, each one once. Text is handed out as
// 8-bit bytes (U+0000 to U+00FF), as the writer stored it.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "ARFobject.h"
#include "COLstring.h"

struct ARFXnode {
  COLstring name;
  std::vector<std::pair<COLstring, COLstring>> attributes;
  COLstring value;  // the character data of an element that holds no elements
  std::vector<ARFXnode*> children;  // owned by the document
  ARFXnode* parent = nullptr;
  ARFposition position;
  bool consumed = false;

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
  size_t m_FirstUnread = 0;
  // Built on first use for a node with many children, which a scan would make quadratic.
  std::unique_ptr<std::unordered_map<COLstring, Cursor>> m_ByName;
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

private:
  static constexpr size_t BlockSize = 1024;
  std::vector<std::unique_ptr<ARFXnode[]>> m_Blocks;
  size_t m_UsedInLast = 0;
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
  std::unique_ptr<ARFXdocument> m_Document;
  ARFXnode* m_Root = nullptr;
};

// "VMD file <name>, line 3, column 5: " — the head of the reader's error texts.
COLstring ARFXpositionText(const COLstring& documentName, const ARFposition& where);
