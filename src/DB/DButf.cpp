#include "DButf.h"

#include "COLerror.h"

namespace {

constexpr DButf32 ReplacementCharacter = 0xFFFD;
constexpr DButf32 MaximumLegal = 0x10FFFF;
constexpr DButf32 SurrogateHighStart = 0xD800, SurrogateHighEnd = 0xDBFF;
constexpr DButf32 SurrogateLowStart = 0xDC00, SurrogateLowEnd = 0xDFFF;

// The count of trailing bytes a lead byte announces (0xF8 and above are never legal).
int trailingBytes(DButf8 lead) {
  if (lead < 0xC0) return 0;
  if (lead < 0xE0) return 1;
  if (lead < 0xF0) return 2;
  if (lead < 0xF8) return 3;
  return lead < 0xFC ? 4 : 5;
}

bool isSurrogate(DButf32 c) { return c >= SurrogateHighStart && c <= SurrogateLowEnd; }

// One code point read from each source form; the cursor moves past it only on success.
struct Utf8Reader {
  static DBconversionResult read(const DButf8*& at, const DButf8* end, DButf32& c, DBconversionFlags) {
    const int extra = trailingBytes(*at);
    if (extra >= end - at) return sourceExhausted;
    if (!DBisLegalUTF8Sequence(at, at + extra + 1)) return sourceIllegal;
    static const DButf32 leadMask[] = {0x7F, 0x1F, 0x0F, 0x07};
    c = *at & leadMask[extra];
    for (int i = 1; i <= extra; ++i) c = (c << 6) | (at[i] & 0x3F);
    at += extra + 1;
    return conversionOK;
  }
};

struct Utf16Reader {
  static DBconversionResult read(const DButf16*& at, const DButf16* end, DButf32& c, DBconversionFlags flags) {
    c = *at;
    if (c >= SurrogateHighStart && c <= SurrogateHighEnd) {
      if (at + 1 >= end) return sourceExhausted;
      const DButf32 low = at[1];
      if (low >= SurrogateLowStart && low <= SurrogateLowEnd) {
        c = ((c - SurrogateHighStart) << 10) + (low - SurrogateLowStart) + 0x10000;
        at += 2;
        return conversionOK;
      }
      if (flags == strictConversion) return sourceIllegal;
    } else if (flags == strictConversion && c >= SurrogateLowStart && c <= SurrogateLowEnd) {
      return sourceIllegal;
    }
    ++at;
    return conversionOK;
  }
};

struct Utf32Reader {
  static DBconversionResult read(const DButf32*& at, const DButf32* end, DButf32& c, DBconversionFlags flags) {
    (void)end;
    c = *at;
    if (flags == strictConversion && isSurrogate(c)) return sourceIllegal;
    ++at;
    return conversionOK;
  }
};

// One code point written in each target form; nothing is written when it doesn't fit.
struct Utf8Writer {
  static DBconversionResult write(DButf8*& at, DButf8* end, DButf32 c, DBconversionFlags) {
    if (c > MaximumLegal) c = ReplacementCharacter;
    const int bytes = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (end - at < bytes) return targetExhausted;
    static const DButf8 leadMark[] = {0x00, 0x00, 0xC0, 0xE0, 0xF0};
    for (int i = bytes - 1; i > 0; --i) {
      at[i] = static_cast<DButf8>((c & 0x3F) | 0x80);
      c >>= 6;
    }
    at[0] = static_cast<DButf8>(c | leadMark[bytes]);
    at += bytes;
    return conversionOK;
  }
};

struct Utf16Writer {
  static DBconversionResult write(DButf16*& at, DButf16* end, DButf32 c, DBconversionFlags flags) {
    if (c <= 0xFFFF) {
      if (at >= end) return targetExhausted;
      *at++ = static_cast<DButf16>(c);
      return conversionOK;
    }
    if (c > MaximumLegal) {
      if (flags == strictConversion) return sourceIllegal;
      if (at >= end) return targetExhausted;
      *at++ = static_cast<DButf16>(ReplacementCharacter);
      return conversionOK;
    }
    if (end - at < 2) return targetExhausted;
    c -= 0x10000;
    *at++ = static_cast<DButf16>((c >> 10) + SurrogateHighStart);
    *at++ = static_cast<DButf16>((c & 0x3FF) + SurrogateLowStart);
    return conversionOK;
  }
};

struct Utf32Writer {
  static DBconversionResult write(DButf32*& at, DButf32* end, DButf32 c, DBconversionFlags flags) {
    if (c > MaximumLegal) {
      if (flags == strictConversion) return sourceIllegal;
      c = ReplacementCharacter;
    }
    if (at >= end) return targetExhausted;
    *at++ = c;
    return conversionOK;
  }
};

// The cursors stop in front of the code point that failed, so a caller can resume or report.
template <class Reader, class Writer, class S, class T>
DBconversionResult convert(const S** sourceStart, const S* sourceEnd, T** targetStart, T* targetEnd,
                           DBconversionFlags flags) {
  const S* source = *sourceStart;
  T* target = *targetStart;
  DBconversionResult result = conversionOK;
  while (source < sourceEnd) {
    const S* before = source;
    DButf32 c = 0;
    result = Reader::read(source, sourceEnd, c, flags);
    if (result == conversionOK) result = Writer::write(target, targetEnd, c, flags);
    if (result != conversionOK) {
      source = before;
      break;
    }
  }
  *sourceStart = source;
  *targetStart = target;
  return result;
}

}  // namespace

const char* DBconversionResultToString(DBconversionResult result) {
  switch (result) {
    case conversionOK: return "conversionOK";
    case sourceExhausted: return "sourceExhausted";
    case targetExhausted: return "targetExhausted";
    case sourceIllegal: return "sourceIllegal";
  }
  return "unknown";
}

bool DBisLegalUTF8Sequence(const DButf8* source, const DButf8* sourceEnd) {
  const long length = sourceEnd - source;
  if (length <= 0 || length > 4 || length != trailingBytes(*source) + 1) return false;
  for (long i = 1; i < length; ++i)
    if (source[i] < 0x80 || source[i] > 0xBF) return false;
  const DButf8 lead = source[0], second = length > 1 ? source[1] : 0;
  // No overlong forms, no surrogates, nothing past U+10FFFF.
  switch (lead) {
    case 0xE0: if (second < 0xA0) return false; break;
    case 0xED: if (second > 0x9F) return false; break;
    case 0xF0: if (second < 0x90) return false; break;
    case 0xF4: if (second > 0x8F) return false; break;
    default: break;
  }
  return lead < 0x80 || (lead >= 0xC2 && lead <= 0xF4);
}

DBconversionResult DBconvertUTF8toUTF16(const DButf8** s, const DButf8* se, DButf16** t, DButf16* te,
                                        DBconversionFlags f) {
  return convert<Utf8Reader, Utf16Writer>(s, se, t, te, f);
}
DBconversionResult DBconvertUTF16toUTF8(const DButf16** s, const DButf16* se, DButf8** t, DButf8* te,
                                        DBconversionFlags f) {
  return convert<Utf16Reader, Utf8Writer>(s, se, t, te, f);
}
DBconversionResult DBconvertUTF8toUTF32(const DButf8** s, const DButf8* se, DButf32** t, DButf32* te,
                                        DBconversionFlags f) {
  return convert<Utf8Reader, Utf32Writer>(s, se, t, te, f);
}
DBconversionResult DBconvertUTF32toUTF8(const DButf32** s, const DButf32* se, DButf8** t, DButf8* te,
                                        DBconversionFlags f) {
  return convert<Utf32Reader, Utf8Writer>(s, se, t, te, f);
}
DBconversionResult DBconvertUTF16toUTF32(const DButf16** s, const DButf16* se, DButf32** t, DButf32* te,
                                         DBconversionFlags f) {
  return convert<Utf16Reader, Utf32Writer>(s, se, t, te, f);
}
DBconversionResult DBconvertUTF32toUTF16(const DButf32** s, const DButf32* se, DButf16** t, DButf16* te,
                                         DBconversionFlags f) {
  return convert<Utf32Reader, Utf16Writer>(s, se, t, te, f);
}

void DBconvertUtf8ToWchar(DBstringWchar& out, const COLstring& text) {
  DBstring16 buffer;
  buffer.resize(text.size() * 2 + 1);
  const DButf8* SourceUsed = reinterpret_cast<const DButf8*>(text.data());
  const DButf8* SourceEnd = SourceUsed + text.size();
  DButf16* Utf16Start = buffer.data();
  DButf16* Utf16End = Utf16Start + buffer.size();
  DButf16* Utf16Used = Utf16Start;
  const DBconversionResult result = DBconvertUTF8toUTF16(&SourceUsed, SourceEnd, &Utf16Used, Utf16End, strictConversion);
  if (result != conversionOK)
    throw COLerror(COLstring("ConvertUTF8toUTF16() returned non-OK result ") + DBconversionResultToString(result),
                   COL_ERROR_PRECONDITION);
  COL_POSTCONDITION(SourceUsed == SourceEnd);
  COL_POSTCONDITION(Utf16Used >= Utf16Start && Utf16Used < Utf16End);
  out.setUtf16Data(Utf16Start, static_cast<size_t>(Utf16Used - Utf16Start));
}

COLstring DBconvertUtf16ToUtf8(const DButf16* units, size_t count) {
  std::vector<DButf8> buffer(count * 6 + 1);
  const DButf16* SourceUsed = units;
  const DButf16* SourceEnd = units + count;
  DButf8* Utf8Start = buffer.data();
  DButf8* Utf8End = Utf8Start + buffer.size();
  DButf8* Utf8Used = Utf8Start;
  const DBconversionResult result = DBconvertUTF16toUTF8(&SourceUsed, SourceEnd, &Utf8Used, Utf8End, strictConversion);
  if (result != conversionOK)
    throw COLerror(COLstring("ConvertUTF16toUTF8() returned non-OK result ") + DBconversionResultToString(result),
                   COL_ERROR_PRECONDITION);
  COL_POSTCONDITION(SourceUsed == SourceEnd);
  COL_POSTCONDITION(Utf8Used >= Utf8Start && Utf8Used < Utf8End);
  return COLstring(std::string(reinterpret_cast<const char*>(Utf8Start), static_cast<size_t>(Utf8Used - Utf8Start)));
}

COLstring DBconvertWcharToUtf8(const DBstringWchar& text) {
  DBstring16 units;
  units.setWcharData(text.data(), text.size());
  return DBconvertUtf16ToUtf8(units.data(), units.size());
}
