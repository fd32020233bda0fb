// SCCescaper: converts field text between its wire form, where a delimiter inside data stands
// as an escape sequence ("\F\"), and its plain form.  Incoming and outgoing sides keep
// separate tables: a message may declare delimiters of its own, so the characters restored on
// input can differ from the configured ones, while the codes stay those of the definition.
#pragma once

#include <cstdint>
#include <vector>

#include "COLstring.h"

// One delimiter level as a configuration states it: the default characters, the code letters
// that stand for them in escape sequences, and where a message states them itself.
struct SCCdelimiterLevel {
  static constexpr uint32_t NoPosition = 0xFFFFFFFF;
  char sepCharDefault = 0;
  char repeatCharDefault = 0;  // 0: the level has no repetition
  char sepCharEscape = 0;
  char repeatCharEscape = 0;
  uint32_t sepCharPosition = NoPosition;
  uint32_t repeatCharPosition = NoPosition;
};

// The settings the escaper takes from a configuration; the defaults are those of HL7.
struct SCCescaperSettings {
  std::vector<SCCdelimiterLevel> levels = {
      {13, 0, 0, 0, SCCdelimiterLevel::NoPosition, SCCdelimiterLevel::NoPosition},
      {'|', '~', 'F', 'R', 3, 5},
      {'^', 0, 'S', 0, 4, SCCdelimiterLevel::NoPosition},
      {'&', 0, 'T', 0, 7, SCCdelimiterLevel::NoPosition},
  };
  char escapeDefault = '\\';
  char escapeEscapeChar = 'E';
  uint32_t escapePosition = 6;
  uint16_t lowestNonEscapedChar = 32;
  uint16_t highestNonEscapedChar = 255;

  size_t countOfLevel() const { return levels.size(); }
};

class SCCescaper {
public:
  SCCescaper() : SCCescaper(SCCescaperSettings()) {}
  explicit SCCescaper(const SCCescaperSettings& settings);

  // Appends the wire form of `text` to `result`.  A delimiter without a code letter goes out as
  // a hex sequence.  Without an escape character (X12 has none) a byte that needs a sequence
  // cannot be written: that throws COLerror 0x80000100 rather than split the value.
  void escapeChar(COLstring& result, const COLstring& text) const;
  // `result` ends up holding the plain text.  With `strict`, a bad sequence throws COLerror
  // 0x80000100; without, its escape character is kept as data.  Returns true.
  bool unescapeString(COLstring& result, const char* text, bool strict) const;
  // As above for a text of known size, but a text without escape character leaves `result`
  // empty: the caller keeps the original and nothing is copied.
  bool unescapeStringWithSize(COLstring& result, const char* text, size_t size, bool strict) const;

  // The current parser's form: the message's own delimiters against the definition's codes.
  void resetUnescapeChar(char fieldChar, char subFieldChar, char subSubFieldChar, char repeatChar, char fieldCode,
                         char subFieldCode, char subSubFieldCode, char repeatCode, char escapeChar,
                         char escapeCode);
  // The legacy parser's form: one entry per level of the settings, characters as found in
  // the message, used where the level reads its character from the message.
  void resetUnescapeChar(const std::vector<char>& sepChars, const std::vector<char>& repChars, char escapeChar,
                         const SCCescaperSettings& settings);

  char unescapeEscapeCharacter() const { return m_UnescapeEscapeChar; }
  char escapeEscapeCharacter() const { return m_EscapeEscapeChar; }
  // The plain character a code letter stands for on input, 0 if none.
  char unescapeOf(char code) const { return m_Unescape[static_cast<unsigned char>(code)]; }
  // The code letter of a plain character on output, 0 if none.
  char escapeOf(char c) const { return m_Escape[static_cast<unsigned char>(c)]; }

  // True if `size` is even and every byte is a hex digit; appends one byte per pair.
  static bool decodeHexPairs(COLstring& result, const char* text, size_t size);
  // Formatting codes: ".br", ".fi", ".nf", or ".sp", ".in", ".ti", ".sk", ".ce" with an
  // optional sign and digits.
  static bool isDottedValid(const char* body, size_t size);

private:
  void unescapeStringImpl(COLstring& result, const char* text, size_t size, bool strict) const;
  // Length of the passthrough sequence starting at text[0] (an escape character), 0 if none.
  size_t passthroughLength(const char* text, size_t size) const;

  char m_Escape[256];
  char m_Unescape[256];
  bool m_IsDelimiter[256];
  char m_UnescapeEscapeChar = '\\';
  char m_EscapeEscapeChar = '\\';
  char m_HexLetter = 'X';
  uint16_t m_LowestNonEscapedChar = 32;
  uint16_t m_HighestNonEscapedChar = 255;
  char m_SingleByteLetter = 'C';
  char m_MultiByteLetter = 'M';
};
