// ARFXwriter: the XML form of the object layer. One item per line, three blanks of indent
// per level: objects as start and end tags with the key as the one attribute, properties as
// elements holding escaped text, raw properties as CDATA sections.
#pragma once

#include "ARFobject.h"
#include "COLostream.h"

// Three blanks per level.
COLstring ARFXmakeIndent(unsigned depth);

class ARFXwriter : public ARFwriter {
public:
  explicit ARFXwriter(COLostream& stream) : m_Stream(stream) {}

protected:
  void objStartImpl(const ARFobj& obj) override;
  void objEndImpl(const ARFobj& obj) override;
  void objPropImpl(const ARFprop& prop, bool raw) override;

private:
  void setDepth(unsigned depth);

  COLostream& m_Stream;
  unsigned m_Depth = 0;
  COLstring m_Indent;
};

// Text as element data and as an attribute value. Bytes from 128 up stand for the
// characters U+0080 to U+00FF, so any 8-bit text comes back byte for byte.
void ARFXwriteData(COLostream& stream, const COLstring& text);
void ARFXwriteAttribute(COLostream& stream, const COLstring& text);
// A CDATA section that reads back as the same bytes: "]]>", carriage returns and bytes from
// 128 up step out of the section as character references.
void ARFXwriteCdata(COLostream& stream, const COLstring& text);
// Control characters other than tab, line feed and carriage return can't be stored in XML
// at all: raises a COLerror naming the item (`where`) and the byte.
void ARFXcheckStorable(const COLstring& text, const COLstring& where);
