// XMLexpatAnsiParser: the event parser for readers that want 8-bit text (code points up to
// 0xFF as single bytes) instead of UTF-8.  Pure ASCII text is handed on without a copy.  In a
// document, a character above 0xFF raises "Unable to transcode stream at line L column C: "
// and what the character is (the column counted from 1, as in Expat's own errors); the
// conversion helpers, which know no position, raise "Unable to transcode stream at " and the
// rest of the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "COLerror.h"
#include "COLreference.h"
#include "COLstring.h"

// The text kept by a transcoded string that had to be converted.
class XMLexpatAnsiTranscodedStringTypeColString : public COLreference {
public:
  explicit XMLexpatAnsiTranscodedStringTypeColString(COLstring text) : m_Text(std::move(text)) {}
  const COLstring& text() const { return m_Text; }

private:
  COLstring m_Text;
};

// A text that is either the caller's own bytes (plain ASCII, nothing copied) or a converted
// copy shared between the values that hold it.  Cheap to copy either way.
class XMLexpatAnsiTranscodedString {
public:
  XMLexpatAnsiTranscodedString() = default;
  // Keeps the pointer: the bytes must outlive this value.
  XMLexpatAnsiTranscodedString(const char* text, size_t size) : m_Text(text), m_Size(size) {}
  explicit XMLexpatAnsiTranscodedString(COLstring text);

  // NUL-terminated unless made from a caller's range that is not.
  const char* c_str() const { return m_Text ? m_Text : ""; }
  size_t size() const { return m_Size; }
  bool isColString() const { return static_cast<bool>(m_Owned); }
  COLstring colString() const { return COLstring(c_str(), 0, m_Size); }

private:
  const char* m_Text = nullptr;
  size_t m_Size = 0;
  COLreferencePtr<XMLexpatAnsiTranscodedStringTypeColString> m_Owned;
};

class XMLexpatAnsiParserPrivate;

class XMLexpatAnsiParser {
public:
  XMLexpatAnsiParser();
  XMLexpatAnsiParser(const XMLexpatAnsiParser&) = delete;
  XMLexpatAnsiParser& operator=(const XMLexpatAnsiParser&) = delete;
  virtual ~XMLexpatAnsiParser();

  // The events of XMLexpatParser with names, attributes and text in 8-bit form.
  virtual void onStartElement(const char* name, const char** attributes) = 0;
  virtual void onEndElement(const char* name) = 0;
  virtual void onCharacterData(const char* text, int length) = 0;
  virtual void onComment(const char* text);
  virtual void onStartCdataSection();
  virtual void onEndCdataSection();
  virtual COLerror onError(const COLstring& message, unsigned line, unsigned column);

  void parse(const COLstring& xml);
  void init();
  void destroy();
  void parseBuffer(const char* data, unsigned length, bool isFinal);
  void flush();
  unsigned currentLineNumber() const;
  unsigned currentColumnNumber() const;

  // The 8-bit form of a NUL-terminated UTF-8 text; no copy when it is plain ASCII.
  static XMLexpatAnsiTranscodedString utf8ToAnsi(const char* text);
  // The 8-bit form of the UTF-8 bytes [start, end).
  static COLstring utf8ToAnsiColString(const char* start, const char* end);
  // Converts the character at `in` into `*out`; returns the bytes it took (1 to 4).  `in`
  // must be NUL-terminated or hold the whole character.
  static unsigned utf8CharToAnsiChar(const unsigned char* in, unsigned char* out);
  // Converts a null-ended array of texts (Expat's attributes) in place of `array`'s
  // entries, keeping the converted texts in `storage`.  Returns `array` itself when every
  // text is plain ASCII, else a pointer into `pointers`.
  static const char** utf8PtrArrayToAnsi(const char** array, std::vector<XMLexpatAnsiTranscodedString>& storage,
                                         std::vector<const char*>& pointers);

  // The first character of the UTF-8 bytes [start, end) that has no 8-bit form: how many
  // characters stand before it and its code point (NotUtf8 for bytes that are no UTF-8
  // sequence).  False when the whole text converts.
  static constexpr uint32_t NotUtf8 = 0xFFFFFFFF;
  static bool utf8FindUntranscodable(const char* start, const char* end, size_t& charactersBefore,
                                     uint32_t& codePoint);
  // What is wrong with that character, for an error text: "the character U+0100 is beyond
  // U+00FF, ...".
  static COLstring untranscodableText(uint32_t codePoint);

private:
  friend class XMLexpatAnsiParserPrivate;
  std::unique_ptr<XMLexpatAnsiParserPrivate> pMember;
};
