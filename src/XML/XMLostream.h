// XMLostream: the tag-stack writer of schema text.  It indents with tabs by nesting depth and
// remembers open tags so that outputCloseTag() knows what to close.  It escapes nothing:
// names and values are written as given, and lines end with the COLostream's line end.
#pragma once

#include <vector>

#include "COLostream.h"
#include "COLstring.h"

class XMLostream {
public:
  explicit XMLostream(COLostream& stream) : m_Stream(stream) {}
  XMLostream(const XMLostream&) = delete;
  XMLostream& operator=(const XMLostream&) = delete;

  // indent "<" name; the tag is open until outputTagEndClose or outputCloseTag.
  void outputTag(const COLstring& name);
  void outputTag(const COLstring& ns, const COLstring& name);
  // " name=\"value\"" into the open start tag.
  void outputAttribute(const COLstring& name, const COLstring& value);
  void outputAttribute(const COLstring& ns, const COLstring& name, const COLstring& value);
  void outputAttribute(const COLstring& name, unsigned value);
  void outputAttribute(const COLstring& ns, const COLstring& name, unsigned value);
  // ">" and a line end: the element gets children, one level deeper.
  void outputTagEnd();
  // "/>" and a line end: the element is closed.
  void outputTagEndClose();
  // indent "</name>" and a line end for the innermost element with children.
  void outputCloseTag();
  // "<!" name, and "<?" name ... "?>".
  void outputEntityTag(const COLstring& name);
  void outputProcessingInstructionTag(const COLstring& name);
  void outputProcessingInstructionTagEnd();

  unsigned depth() const { return m_Depth; }
  size_t countOfOpenTag() const { return m_OpenTags.size(); }
  COLostream& stream() const { return m_Stream; }

private:
  void setDepth(unsigned depth);

  COLostream& m_Stream;
  unsigned m_Depth = 0;
  COLstring m_Indent;
  std::vector<COLstring> m_OpenTags;
};
