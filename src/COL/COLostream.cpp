#include "COLostream.h"

#include <cstdio>

#include "COLerror.h"
#include "COLsinkStandard.h"

COLostream::COLostream(COLsink& sink) : m_Sink(&sink) {}

COLostream::COLostream(COLsink* sink, bool isOwner) : m_Sink(sink), m_IsSinkOwner(isOwner) {}

COLostream::~COLostream() {
  if (m_IsSinkOwner) delete m_Sink;
}

COLostream& COLostream::write(const void* data, size_t count) {
  m_Sink->write(data, count);
  return *this;
}

COLostream& COLostream::operator<<(const char* text) {
  if (text) write(text, std::strlen(text));
  return *this;
}

COLostream& COLostream::operator<<(bool value) { return *this << (value ? "True" : "False"); }

template <class T>
COLostream& COLostream::writeNumber(const char* decimalFormat, const char* hexFormat, T value) {
  char buffer[BufferSize];
  const int CountOfChar = std::snprintf(buffer, sizeof buffer, m_NumberBase == 16 ? hexFormat : decimalFormat, value);
  COL_PRECONDITION(CountOfChar >= 0 && static_cast<size_t>(CountOfChar) < BufferSize);
  return write(buffer, static_cast<size_t>(CountOfChar));
}

COLostream& COLostream::operator<<(short value) { return writeNumber("%hi", "%hX", value); }
COLostream& COLostream::operator<<(unsigned short value) { return writeNumber("%hu", "%hX", value); }
COLostream& COLostream::operator<<(int value) { return writeNumber("%i", "%X", value); }
COLostream& COLostream::operator<<(unsigned value) { return writeNumber("%u", "%X", value); }
COLostream& COLostream::operator<<(long long value) { return writeNumber("%lli", "%llX", value); }
COLostream& COLostream::operator<<(unsigned long long value) { return writeNumber("%llu", "%llX", value); }

COLostream& COLostream::operator<<(double value) {
  char CharBuffer[512];
  const int CountOfChar = std::snprintf(CharBuffer, sizeof CharBuffer, "%f", value);
  COL_PRECONDITION(CountOfChar >= 0 && static_cast<size_t>(CountOfChar) < sizeof(CharBuffer));
  return write(CharBuffer, static_cast<size_t>(CountOfChar));
}

COLostream& COLostream::operator<<(COLostreamManip* manipulator) {
  std::unique_ptr<COLostreamManip> owned(manipulator);
  if (owned) owned->apply(*this);
  return *this;
}

COLostream& COLostream::newline() { return write(m_NewLineAndIndent.data(), m_NewLineAndIndent.size()); }

COLostream& COLostream::flush() {
  m_Sink->flush();
  return *this;
}

void COLostream::rebuildNewLine() {
  m_NewLineAndIndent = m_NewLine;
  for (unsigned i = 0; i < m_IndentCount; ++i) m_NewLineAndIndent += m_IndentContent;
}

void COLostream::setNewLine(const COLstring& text) { m_NewLine = text; rebuildNewLine(); }
void COLostream::setIndentContent(const COLstring& text) { m_IndentContent = text; rebuildNewLine(); }
void COLostream::indent() { ++m_IndentCount; rebuildNewLine(); }
void COLostream::unindent() {
  if (m_IndentCount > 0) --m_IndentCount;
  rebuildNewLine();
}
void COLostream::resetIndent() { m_IndentCount = 0; rebuildNewLine(); }
void COLostream::setCountOfIndent(unsigned count) { m_IndentCount = count; rebuildNewLine(); }

void COLostream::setSink(COLsink* pSink, bool isOwner) {
  COL_PRECONDITION(pSink != NULL);
  if (m_IsSinkOwner && m_Sink != pSink) delete m_Sink;
  m_Sink = pSink;
  m_IsSinkOwner = isOwner;
}

COLostream& newline(COLostream& stream) { return stream.newline(); }
COLostream& flush(COLostream& stream) { return stream.flush(); }
COLostream& hex(COLostream& stream) { stream.setNumberBase(16); return stream; }
COLostream& decimal(COLostream& stream) { stream.setNumberBase(10); return stream; }
COLostream& indent(COLostream& stream) { stream.indent(); return stream; }
COLostream& unindent(COLostream& stream) { stream.unindent(); return stream; }
COLostream& reset_indent(COLostream& stream) { stream.resetIndent(); return stream; }

namespace {
class SetIndentManip : public COLostreamManip {
public:
  explicit SetIndentManip(const COLstring& text) : m_Text(text) {}
  void apply(COLostream& stream) const override { stream.setIndentContent(m_Text); }
private:
  COLstring m_Text;
};

class SetFillManip : public COLostreamManip {
public:
  explicit SetFillManip(char c) : m_Fill(c) {}
  void apply(COLostream& stream) const override { stream.setfill(static_cast<unsigned char>(m_Fill)); }
private:
  char m_Fill;
};
}  // namespace

COLostreamManip* set_indent(const COLstring& text) { return new SetIndentManip(text); }
COLostreamManip* setfill(char c) { return new SetFillManip(c); }

COLostream COLcout(new COLsinkStandardOut, true);
COLostream COLclog(new COLsinkStandardOut, true);
COLostream COLcerr(new COLsinkStandardErr, true);
