// XMLiosFilter: the byte filters of XMLiosStream.  Each is a COLsink that escapes what it is
// given and passes the result to its own sink.  They scan for the bytes that need work with a
// 256-entry class table and pass every run of plain bytes on in one write, so ordinary text
// costs one table lookup per byte and no call.
//
// - XMLiosTagFilter: element names.  Letters, digits, "_" and "." pass; ":" and ";" become
//   "_"; every other byte, the current delimiter and bytes from 128 up are dropped.
// - XMLiosDataFilter: element text.  " ' < > & become entities; bytes below 32 and from 127
//   up go to onDefaultEscape, which writes "&#xHH;".  XMLiosNullDataFilter passes those bytes
//   as they are; XMLiosUtf8DataFilter escapes the control bytes and passes the rest, so that
//   UTF-8 text stays UTF-8; XMLiosLatin1DataFilter writes 8-bit text as UTF-8.
// - XMLiosAttributeDataFilter: attribute values.  & < ' " become entities; tab, LF, CR and
//   bytes from 128 up become "&#xHH;"; a blank that follows a blank becomes "&#x20;".
#pragma once

#include <cstddef>
#include <cstdint>

#include "COLsink.h"

class XMLiosFilter : public COLsink {
public:
  XMLiosFilter() = default;
  explicit XMLiosFilter(COLsink* sink) : m_Sink(sink) {}
  XMLiosFilter(const XMLiosFilter&) = default;
  XMLiosFilter& operator=(const XMLiosFilter&) = default;

  size_t write(const void* data, size_t size) override = 0;
  void flush() override;

  COLsink* sink() const { return m_Sink; }
  void setSink(COLsink* sink) { m_Sink = sink; }

protected:
  // The sink, which must be set before anything is written.
  COLsink& target() const;

private:
  COLsink* m_Sink = nullptr;
};

class XMLiosTagFilter : public XMLiosFilter {
public:
  explicit XMLiosTagFilter(COLsink* sink = nullptr, char delimiter = '.');

  size_t write(const void* data, size_t size) override;
  // Drops `delimiter` from names from now on; the old delimiter gets its ordinary handling.
  virtual void setXmlDelimiter(char delimiter);
  char xmlDelimiter() const { return m_Delimiter; }

  // The byte that `byte` becomes in a name; 0 when it is dropped.
  char translate(unsigned char byte) const { return m_Translation[byte]; }

protected:
  // What a byte becomes: itself, another byte, or 0 for dropped.
  void setTranslation(unsigned char byte, char result) { m_Translation[byte] = result; }
  // The handling of `byte` before any delimiter is applied.
  static char ordinaryTranslation(unsigned char byte);

private:
  char m_Translation[256];
  char m_Delimiter;
};

// Keeps "." in names whatever delimiter the stream is given.
class XMLiosTagFilterNoDelimiter : public XMLiosTagFilter {
public:
  explicit XMLiosTagFilterNoDelimiter(COLsink* sink = nullptr);
  void setXmlDelimiter(char) override {}
};

// Passes every byte that may stand in an XML name ("-", ":", "." and bytes from 128 up
// besides letters, digits and "_"), so names read from a document are written unchanged.
class XMLiosTagFilterXmlName : public XMLiosTagFilter {
public:
  explicit XMLiosTagFilterXmlName(COLsink* sink = nullptr);
  void setXmlDelimiter(char) override {}
};

class XMLiosDataFilter : public XMLiosFilter {
public:
  explicit XMLiosDataFilter(COLsink* sink = nullptr);

  size_t write(const void* data, size_t size) override;
  // Writes a byte below 32 or from 127 up; here as "&#x", two upper-case digits, ";".
  virtual void onDefaultEscape(char byte, COLsink& sink);

protected:
  // How bytes below 32 and from 127 up are handled without a virtual call.
  enum class DefaultEscape : uint8_t {
    Virtual,          // onDefaultEscape for each
    Pass,             // written as they are
    ControlHexRest,   // bytes below 32 as "&#xHH;", from 127 up as they are
    Latin1ToUtf8,     // see XMLiosLatin1DataFilter
  };
  XMLiosDataFilter(COLsink* sink, DefaultEscape mode);

private:
  const uint8_t* m_Classes;
};

// Writes the bytes that XMLiosDataFilter escapes by number as they are.
class XMLiosNullDataFilter : public XMLiosDataFilter {
public:
  explicit XMLiosNullDataFilter(COLsink* sink = nullptr);
  void onDefaultEscape(char byte, COLsink& sink) override;
};

// For UTF-8 text: control bytes (tab, LF, CR) by number, so that they survive reading back;
// bytes from 127 up as they are.
class XMLiosUtf8DataFilter : public XMLiosDataFilter {
public:
  explicit XMLiosUtf8DataFilter(COLsink* sink = nullptr);
  void onDefaultEscape(char byte, COLsink& sink) override;
};

// For 8-bit text, where each byte is the Latin-1 character of its code (message values):
// bytes from 128 up become their two-byte UTF-8 form, so the document is UTF-8 and needs no
// declaration; ASCII is written exactly as XMLiosNullDataFilter writes it.  A control byte
// other than tab, LF and CR has no form in XML 1.0, not even by number: writing one raises
// COLerror 0x80000100 that names it, rather than give a file no reader accepts.
class XMLiosLatin1DataFilter : public XMLiosDataFilter {
public:
  explicit XMLiosLatin1DataFilter(COLsink* sink = nullptr);
  void onDefaultEscape(char byte, COLsink& sink) override;

  // False for the control bytes that the filter refuses.
  static bool isWritable(unsigned char byte) { return byte >= 32 || byte == '\t' || byte == '\n' || byte == '\r'; }
};

class XMLiosAttributeDataFilter : public XMLiosFilter {
public:
  // With `passHighBytes` bytes from 128 up are written as they are (for UTF-8 values).
  explicit XMLiosAttributeDataFilter(COLsink* sink = nullptr, bool passHighBytes = false);

  size_t write(const void* data, size_t size) override;
  bool spaceSeen() const { return m_SpaceSeen; }
  void setSpaceSeen(bool value) { m_SpaceSeen = value; }
  bool passHighBytes() const { return m_Classes != defaultClasses(); }

private:
  static const uint8_t* defaultClasses();
  const uint8_t* m_Classes;
  bool m_SpaceSeen = false;
};
