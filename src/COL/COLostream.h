// COLostream: the formatted front that writes text into any COLsink.  Every << is one write
// on the sink; the stream itself never buffers.  Numbers go through a fixed buffer of the
// stream, so formatting uses no heap.
#pragma once

#include <cstdint>
#include <memory>

#include "COLsink.h"
#include "COLstring.h"

class COLostream;
using COLostreamManipFunc = COLostream& (*)(COLostream&);

// A manipulator with a value; the stream applies it and deletes it.
class COLostreamManip {
public:
  virtual ~COLostreamManip() = default;
  virtual void apply(COLostream& stream) const = 0;
};

class COLostream {
public:
  static constexpr size_t BufferSize = 100;

  explicit COLostream(COLsink& sink);
  COLostream(COLsink* sink, bool isOwner);
  COLostream(const COLostream&) = delete;
  COLostream& operator=(const COLostream&) = delete;
  virtual ~COLostream();
  virtual void setfill(unsigned) {}

  COLostream& operator<<(const char* text);
  COLostream& operator<<(char c) { return write(&c, 1); }
  COLostream& operator<<(unsigned char c) { return write(&c, 1); }
  COLostream& operator<<(signed char c) { return write(&c, 1); }
  COLostream& operator<<(const COLstring& text) { return write(text.data(), text.size()); }
  COLostream& operator<<(std::string_view text) { return write(text.data(), text.size()); }
  COLostream& operator<<(bool value);
  COLostream& operator<<(short value);
  COLostream& operator<<(unsigned short value);
  COLostream& operator<<(int value);
  COLostream& operator<<(unsigned value);
  COLostream& operator<<(long value) { return *this << static_cast<long long>(value); }
  COLostream& operator<<(unsigned long value) { return *this << static_cast<unsigned long long>(value); }
  COLostream& operator<<(long long value);
  COLostream& operator<<(unsigned long long value);
  COLostream& operator<<(double value);
  COLostream& operator<<(float value) { return *this << static_cast<double>(value); }
  COLostream& operator<<(COLostreamManipFunc manipulator) { return manipulator(*this); }
  COLostream& operator<<(COLostreamManip* manipulator);

  // The line end of all formatted output: newline string, then the indent.
  COLostream& newline();
  COLostream& flush();
  COLostream& write(const void* data, size_t count);

  void setNewLine(const COLstring& text);
  const COLstring& getNewLine() const { return m_NewLine; }
  void setIndentContent(const COLstring& text);
  const COLstring& indentContent() const { return m_IndentContent; }
  void indent();
  void unindent();
  void resetIndent();
  void setCountOfIndent(unsigned count);
  unsigned countOfIndent() const { return m_IndentCount; }
  unsigned numberBase() const { return m_NumberBase; }
  void setNumberBase(unsigned base) { m_NumberBase = base; }

  COLsink* sink() const { return m_Sink; }
  void setSink(COLsink* sink, bool isOwner);
  bool isSinkOwner() const { return m_IsSinkOwner; }

private:
  void rebuildNewLine();
  template <class T>
  COLostream& writeNumber(const char* decimalFormat, const char* hexFormat, T value);

  unsigned m_NumberBase = 10;
  COLsink* m_Sink = nullptr;
  bool m_IsSinkOwner = false;
  COLstring m_NewLine = "\n";
  COLstring m_IndentContent = "   ";
  COLstring m_NewLineAndIndent = "\n";
  unsigned m_IndentCount = 0;
};

COLostream& newline(COLostream& stream);
COLostream& flush(COLostream& stream);
COLostream& hex(COLostream& stream);
COLostream& decimal(COLostream& stream);
COLostream& indent(COLostream& stream);
COLostream& unindent(COLostream& stream);
COLostream& reset_indent(COLostream& stream);
COLostreamManip* set_indent(const COLstring& text);
COLostreamManip* setfill(char c);

// Global streams over standard output and standard error.
extern COLostream COLcout;
extern COLostream COLclog;
extern COLostream COLcerr;
