#include "XMLostream.h"

#include "COLerror.h"

void XMLostream::setDepth(unsigned depth) {
  m_Depth = depth;
  m_Indent.str().assign(depth, '\t');
}

void XMLostream::outputTag(const COLstring& name) {
  m_Stream << m_Indent << '<' << name;
  m_OpenTags.push_back(name);
}

void XMLostream::outputTag(const COLstring& ns, const COLstring& name) {
  m_Stream << m_Indent << '<' << ns << ':' << name;
  COLstring Qualified = ns;
  Qualified += ':';
  Qualified += name;
  m_OpenTags.push_back(std::move(Qualified));
}

void XMLostream::outputAttribute(const COLstring& name, const COLstring& value) {
  m_Stream << ' ' << name << "=\"" << value << '"';
}

void XMLostream::outputAttribute(const COLstring& ns, const COLstring& name, const COLstring& value) {
  m_Stream << ' ' << ns << ':' << name << "=\"" << value << '"';
}

void XMLostream::outputAttribute(const COLstring& name, unsigned value) {
  m_Stream << ' ' << name << "=\"" << value << '"';
}

void XMLostream::outputAttribute(const COLstring& ns, const COLstring& name, unsigned value) {
  m_Stream << ' ' << ns << ':' << name << "=\"" << value << '"';
}

void XMLostream::outputTagEnd() {
  m_Stream << '>';
  m_Stream.newline();
  setDepth(m_Depth + 1);
}

void XMLostream::outputTagEndClose() {
  COL_PRECONDITION(!m_OpenTags.empty());
  m_Stream << "/>";
  m_Stream.newline();
  m_OpenTags.pop_back();
}

void XMLostream::outputCloseTag() {
  COL_PRECONDITION(m_Depth > 0 && !m_OpenTags.empty());
  setDepth(m_Depth - 1);
  m_Stream << m_Indent << "</" << m_OpenTags.back() << '>';
  m_Stream.newline();
  m_OpenTags.pop_back();
}

void XMLostream::outputEntityTag(const COLstring& name) { m_Stream << "<!" << name; }

void XMLostream::outputProcessingInstructionTag(const COLstring& name) { m_Stream << "<?" << name; }

void XMLostream::outputProcessingInstructionTagEnd() {
  m_Stream << "?>";
  m_Stream.newline();
}
