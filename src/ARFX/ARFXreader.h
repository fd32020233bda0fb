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
  COLstring value;  // the character data directly inside the element
  std::vector<std::unique_ptr<ARFXnode>> children;
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
  std::unordered_map<COLstring, Cursor> m_ByName;
  bool m_Indexed = false;
};

// Parses a whole document; raises a COLerror naming the document, line and column when the
// text isn't well-formed or holds a character above U+00FF.
std::unique_ptr<ARFXnode> ARFXminiDomParse(const COLstring& text, const COLstring& documentName);

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
  std::unique_ptr<ARFXnode> m_Root;
};

// "VMD file <name>, line 3, column 5: " — the head of the reader's error texts.
COLstring ARFXpositionText(const COLstring& documentName, const ARFposition& where);
