#include "SCCescaper.h"

#include <cstdio>
#include <cstring>
#include <cwchar>

#include "COLerror.h"
#include "COLostream.h"

using namespace std::literals;

namespace {

// Value of each hex digit, 0xFF for every other byte.
struct HexTable {
  unsigned char value[256];
  constexpr HexTable() : value() {
    for (int i = 0; i < 256; ++i) value[i] = 0xFF;
    for (int i = 0; i < 10; ++i) value['0' + i] = static_cast<unsigned char>(i);
    for (int i = 0; i < 6; ++i) {
      value['a' + i] = static_cast<unsigned char>(10 + i);
      value['A' + i] = static_cast<unsigned char>(10 + i);
    }
  }
};
constexpr HexTable HexValue;

bool isHexText(const char* text, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (HexValue.value[static_cast<unsigned char>(text[i])] == 0xFF) return false;
  }
  return true;
}

// "C" with two hex pairs, "M" with two or three.
bool isCharacterSetCode(const char* body, size_t size, char singleByteLetter, char multiByteLetter) {
  const size_t Digits = size - 1;
  if (body[0] == singleByteLetter) return Digits == 4 && isHexText(body + 1, Digits);
  if (body[0] == multiByteLetter) return (Digits == 4 || Digits == 6) && isHexText(body + 1, Digits);
  return false;
}

enum EscapeError { IncompleteSequence, EmptySequence, BadHex, BadSingleByteSet, BadMultiByteSet, BadFormatting,
                   Unrecognised };

[[noreturn]] void throwEscapeError(EscapeError error, const char* text, size_t size, size_t position) {
  // The first two point at the byte in front of the escape character as well.
  if ((error == IncompleteSequence || error == EmptySequence) && position > 0) --position;
  COLstring Description = "This character sequence ";
  Description.append(size - position, text + position);
  switch (error) {
    case IncompleteSequence:
      Description += " is an incomplete escape sequence - an escape char not followed by a terminating escape char.";
      break;
    case EmptySequence:
      Description += " is an empty escape sequence - two escape chars with nothing between them.";
      break;
    case BadHex:
      Description += " is an invalid escape hex sequence. Normally";
      Description += " the parser expects an escape sequence like /XFF/ or /XFE54/.";
      break;
    case BadSingleByteSet:
      Description += " is an invalid singlebyte character set code.";
      Description += " Normally the parser expects a sequence like /CFE45/.";
      break;
    case BadMultiByteSet:
      Description += " is an invalid multibyte character set code.";
      Description += " Normally the parser expects a sequence like /MFFFE/ or /MFE5423/.";
      break;
    case BadFormatting:
      Description += " is an unrecognized formatting sequence.";
      break;
    case Unrecognised:
      Description += " is an unrecognized escape sequence.";
      break;
  }
  throw COLerror(Description, COL_ERROR_PRECONDITION);
}

[[noreturn]] void throwUnwritable(const COLstring& text, unsigned char c, bool isDelimiter) {
  char Shown[16];
  // A control byte is named by its number: printed as it is, it would break the line.
  if (c >= 32 && c < 127)
    std::snprintf(Shown, sizeof Shown, "'%c'", c);
  else
    std::snprintf(Shown, sizeof Shown, "the byte 0x%02X", c);
  COLstring Description;
  COLostream Stream(Description);
  Stream << "The value '" << text << "' cannot be written: it holds " << Shown
         << (isDelimiter ? ", a delimiter of the message" : ", which needs an escape sequence")
         << ", and the configuration has no escape character.";
  Stream.flush();
  throw COLerror(Description, COL_ERROR_PRECONDITION);
}

}  // namespace

SCCescaper::SCCescaper(const SCCescaperSettings& settings) {
  std::memset(m_Escape, 0, sizeof m_Escape);
  std::memset(m_Unescape, 0, sizeof m_Unescape);
  std::memset(m_IsDelimiter, 0, sizeof m_IsDelimiter);
  for (const SCCdelimiterLevel& Level : settings.levels) {
    if (Level.sepCharDefault != 0) m_IsDelimiter[static_cast<unsigned char>(Level.sepCharDefault)] = true;
    if (Level.repeatCharDefault != 0) m_IsDelimiter[static_cast<unsigned char>(Level.repeatCharDefault)] = true;
    m_Escape[static_cast<unsigned char>(Level.sepCharDefault)] = Level.sepCharEscape;
    m_Unescape[static_cast<unsigned char>(Level.sepCharEscape)] = Level.sepCharDefault;
    if (Level.repeatCharDefault != 0) {
      m_Escape[static_cast<unsigned char>(Level.repeatCharDefault)] = Level.repeatCharEscape;
      m_Unescape[static_cast<unsigned char>(Level.repeatCharEscape)] = Level.repeatCharDefault;
    }
  }
  m_Escape[static_cast<unsigned char>(settings.escapeDefault)] = settings.escapeEscapeChar;
  m_Unescape[static_cast<unsigned char>(settings.escapeEscapeChar)] = settings.escapeDefault;
  m_UnescapeEscapeChar = settings.escapeDefault;
  m_EscapeEscapeChar = settings.escapeDefault;
  m_LowestNonEscapedChar = settings.lowestNonEscapedChar;
  m_HighestNonEscapedChar = settings.highestNonEscapedChar;
}

void SCCescaper::resetUnescapeChar(char fieldChar, char subFieldChar, char subSubFieldChar, char repeatChar,
                                   char fieldCode, char subFieldCode, char subSubFieldCode, char repeatCode,
                                   char escapeChar, char escapeCode) {
  std::memset(m_Unescape, 0, sizeof m_Unescape);
  m_Unescape[static_cast<unsigned char>(fieldCode)] = fieldChar;
  m_Unescape[static_cast<unsigned char>(subFieldCode)] = subFieldChar;
  m_Unescape[static_cast<unsigned char>(subSubFieldCode)] = subSubFieldChar;
  m_Unescape[static_cast<unsigned char>(repeatCode)] = repeatChar;
  m_Unescape[static_cast<unsigned char>(escapeCode)] = escapeChar;
  m_UnescapeEscapeChar = escapeChar;
}

void SCCescaper::resetUnescapeChar(const std::vector<char>& SepChar, const std::vector<char>& RepChar,
                                   char escapeChar, const SCCescaperSettings& Config) {
  COL_PRECONDITION(SepChar.size() == RepChar.size());
  COL_PRECONDITION(Config.countOfLevel() == RepChar.size());
  std::memset(m_Unescape, 0, sizeof m_Unescape);
  for (size_t i = 0; i < Config.countOfLevel(); ++i) {
    const SCCdelimiterLevel& Level = Config.levels[i];
    m_Unescape[static_cast<unsigned char>(Level.sepCharEscape)] =
        Level.sepCharPosition == SCCdelimiterLevel::NoPosition ? Level.sepCharDefault : SepChar[i];
    if (Level.repeatCharDefault != 0) {
      m_Unescape[static_cast<unsigned char>(Level.repeatCharEscape)] =
          Level.repeatCharPosition == SCCdelimiterLevel::NoPosition ? Level.repeatCharDefault : RepChar[i];
    }
  }
  if (Config.escapePosition != SCCdelimiterLevel::NoPosition) {
    m_Unescape[static_cast<unsigned char>(Config.escapeEscapeChar)] = escapeChar;
  }
  m_UnescapeEscapeChar = escapeChar;
}

// --- checks shared by both directions

bool SCCescaper::decodeHexPairs(COLstring& result, const char* text, size_t size) {
  if (size % 2 != 0 || !isHexText(text, size)) return false;
  std::string& Out = result.str();
  for (size_t i = 0; i < size; i += 2) {
    const unsigned High = HexValue.value[static_cast<unsigned char>(text[i])];
    const unsigned Low = HexValue.value[static_cast<unsigned char>(text[i + 1])];
    Out.push_back(static_cast<char>((High << 4) | Low));
  }
  return true;
}

bool SCCescaper::isDottedValid(const char* body, size_t size) {
  if (size < 3 || body[0] != '.') return false;
  const std::string_view Code(body + 1, 2);
  if (Code == "br"sv || Code == "fi"sv || Code == "nf"sv) return size == 3;
  if (Code != "sp"sv && Code != "in"sv && Code != "ti"sv && Code != "sk"sv && Code != "ce"sv) return false;
  size_t i = 3;
  if (i < size && (body[i] == '+' || body[i] == '-')) ++i;
  for (; i < size; ++i) {
    if (body[i] < '0' || body[i] > '9') return false;
  }
  return true;
}

size_t SCCescaper::passthroughLength(const char* text, size_t size) const {
  size_t Close = 1;
  while (Close < size && text[Close] != m_EscapeEscapeChar && text[Close] != 0) ++Close;
  if (Close >= size || text[Close] != m_EscapeEscapeChar) return 0;
  const char* Body = text + 1;
  const size_t Length = Close - 1;
  if (Length == 0) return 0;
  const bool Valid = (Length == 1 && (Body[0] == 'H' || Body[0] == 'N')) ||
                     isCharacterSetCode(Body, Length, m_SingleByteLetter, m_MultiByteLetter) ||
                     (Body[0] == '.' && isDottedValid(Body, Length));
  return Valid ? Length + 2 : 0;
}

// --- outgoing

void SCCescaper::escapeChar(COLstring& result, const COLstring& text) const {
  static constexpr char Digits[] = "0123456789ABCDEF";
  std::string& Out = result.str();
  const char* Data = text.data();
  const size_t Size = text.size();
  std::mbstate_t State{};
  size_t i = 0;
  while (i < Size) {
    const unsigned char c = static_cast<unsigned char>(Data[i]);
    if (c >= 0x80) {
      // Only a byte above ASCII can open a multibyte character; such a character passes as it is.
      const size_t CharLength = std::mbrtowc(nullptr, Data + i, Size - i, &State);
      if (CharLength != static_cast<size_t>(-1) && CharLength != static_cast<size_t>(-2) && CharLength >= 2) {
        Out.append(Data + i, CharLength);
        i += CharLength;
        continue;
      }
      State = std::mbstate_t{};
    }
    const char Code = m_Escape[c];
    if (Code == 0) {
      // A delimiter that has no code of its own must still not split the value.
      const bool Plain =
          !m_IsDelimiter[c] && (c > 127 ? c <= m_HighestNonEscapedChar : c >= m_LowestNonEscapedChar);
      if (Plain) {
        Out.push_back(static_cast<char>(c));
      } else {
        if (m_EscapeEscapeChar == 0) throwUnwritable(text, c, m_IsDelimiter[c]);
        const char Hex[] = {m_EscapeEscapeChar, m_HexLetter, Digits[c >> 4], Digits[c & 15], m_EscapeEscapeChar};
        Out.append(Hex, sizeof Hex);
      }
      ++i;
      continue;
    }
    if (static_cast<char>(c) == m_EscapeEscapeChar) {
      if (const size_t Passthrough = passthroughLength(Data + i, Size - i)) {
        Out.append(Data + i, Passthrough);
        i += Passthrough;
        continue;
      }
    }
    if (m_EscapeEscapeChar == 0) throwUnwritable(text, c, m_IsDelimiter[c]);
    const char Sequence[] = {m_EscapeEscapeChar, Code, m_EscapeEscapeChar};
    Out.append(Sequence, sizeof Sequence);
    ++i;
  }
}

// --- incoming

bool SCCescaper::unescapeString(COLstring& result, const char* text, bool strict) const {
  result.clear();
  if (!text) return true;
  const size_t Size = std::strlen(text);
  unescapeStringImpl(result, text, Size, strict);
  if (result.empty() && std::memchr(text, m_UnescapeEscapeChar, Size) == nullptr) result.append(Size, text);
  return true;
}

bool SCCescaper::unescapeStringWithSize(COLstring& result, const char* text, size_t size, bool strict) const {
  result.clear();
  if (!text || size == 0) return true;
  unescapeStringImpl(result, text, size, strict);
  return true;
}

void SCCescaper::unescapeStringImpl(COLstring& result, const char* text, size_t size, bool strict) const {
  const char Escape = m_UnescapeEscapeChar;
  const char* First = static_cast<const char*>(std::memchr(text, static_cast<unsigned char>(Escape), size));
  if (!First) return;
  std::string& Out = result.str();
  Out.reserve(size);
  Out.append(text, First);
  size_t i = static_cast<size_t>(First - text);
  while (i < size) {
    if (text[i] != Escape) {
      const void* Next = std::memchr(text + i, static_cast<unsigned char>(Escape), size - i);
      const size_t End = Next ? static_cast<size_t>(static_cast<const char*>(Next) - text) : size;
      Out.append(text + i, End - i);
      i = End;
      continue;
    }
    size_t Close = i + 1;
    while (Close < size && text[Close] != Escape && text[Close] != 0) ++Close;
    const char* Body = text + i + 1;
    const size_t Length = Close - i - 1;
    int Error = -1;
    if (Close >= size || text[Close] != Escape) {
      Error = IncompleteSequence;
    } else if (Length == 0) {
      Error = EmptySequence;
    } else if (Length == 1 && m_Unescape[static_cast<unsigned char>(Body[0])] != 0) {
      Out.push_back(m_Unescape[static_cast<unsigned char>(Body[0])]);
    } else if (Body[0] == m_HexLetter) {
      if (Length < 2 || !decodeHexPairs(result, Body + 1, Length - 1)) Error = BadHex;
    } else if (Body[0] == m_SingleByteLetter || Body[0] == m_MultiByteLetter) {
      if (isCharacterSetCode(Body, Length, m_SingleByteLetter, m_MultiByteLetter)) {
        Out.append(text + i, Length + 2);
      } else {
        Error = Body[0] == m_SingleByteLetter ? BadSingleByteSet : BadMultiByteSet;
      }
    } else if (Body[0] == '.') {
      if (isDottedValid(Body, Length)) {
        Out.append(text + i, Length + 2);
      } else {
        Error = BadFormatting;
      }
    } else if (Length == 1 && (Body[0] == 'H' || Body[0] == 'N')) {
      Out.append(text + i, 3);
    } else {
      Error = Unrecognised;
    }
    if (Error < 0) {
      i += Length + 2;
      continue;
    }
    if (strict) throwEscapeError(static_cast<EscapeError>(Error), text, size, i);
    // Lenient: the escape character is data, and what follows is scanned again.
    Out.push_back(Escape);
    ++i;
  }
}
