// Text conversions between UTF-8, UTF-16 and UTF-32 (the published routines' interface: source
// and target cursors that advance as far as the conversion got), and the owning buffers of
// 16-bit and wide units that the Unicode road of ODBC hands to the driver.
#pragma once

#include <cstdint>
#include <vector>

#include "COLstring.h"

using DButf8 = uint8_t;
using DButf16 = uint16_t;
using DButf32 = uint32_t;

enum DBconversionResult { conversionOK = 0, sourceExhausted = 1, targetExhausted = 2, sourceIllegal = 3 };
// Strict refuses unpaired surrogates; lenient copies them through.
enum DBconversionFlags { strictConversion = 0, lenientConversion = 1 };

const char* DBconversionResultToString(DBconversionResult result);

DBconversionResult DBconvertUTF8toUTF16(const DButf8** sourceStart, const DButf8* sourceEnd, DButf16** targetStart,
                                        DButf16* targetEnd, DBconversionFlags flags);
DBconversionResult DBconvertUTF16toUTF8(const DButf16** sourceStart, const DButf16* sourceEnd, DButf8** targetStart,
                                        DButf8* targetEnd, DBconversionFlags flags);
DBconversionResult DBconvertUTF8toUTF32(const DButf8** sourceStart, const DButf8* sourceEnd, DButf32** targetStart,
                                        DButf32* targetEnd, DBconversionFlags flags);
DBconversionResult DBconvertUTF32toUTF8(const DButf32** sourceStart, const DButf32* sourceEnd, DButf8** targetStart,
                                        DButf8* targetEnd, DBconversionFlags flags);
DBconversionResult DBconvertUTF16toUTF32(const DButf16** sourceStart, const DButf16* sourceEnd, DButf32** targetStart,
                                         DButf32* targetEnd, DBconversionFlags flags);
DBconversionResult DBconvertUTF32toUTF16(const DButf32** sourceStart, const DButf32* sourceEnd, DButf16** targetStart,
                                         DButf16* targetEnd, DBconversionFlags flags);
// Whether the bytes from `source` to `sourceEnd` form one well-formed UTF-8 sequence.
bool DBisLegalUTF8Sequence(const DButf8* source, const DButf8* sourceEnd);

// An owning buffer of units; `size()` counts the units without a terminator.
template <class Unit>
class DBunitString {
public:
  const Unit* data() const { return m_Units.data(); }
  Unit* data() { return m_Units.data(); }
  size_t size() const { return m_Units.size(); }
  void clear() { m_Units.clear(); }
  void resize(size_t count) { m_Units.assign(count, Unit(0)); }
  // Copy `count` units one by one, each widened or narrowed to this buffer's unit; a null
  // source gives `count` zeros.
  template <class Source>
  void setUnits(const Source* source, size_t count) {
    m_Units.resize(count);
    for (size_t index = 0; index < count; ++index) m_Units[index] = source ? static_cast<Unit>(source[index]) : Unit(0);
  }
  void setUtf16Data(const DButf16* source, size_t count) { setUnits(source, count); }
  void setWcharData(const wchar_t* source, size_t count) { setUnits(source, count); }

private:
  std::vector<Unit> m_Units;
};

using DBstring16 = DBunitString<DButf16>;
// Wide characters, each holding one UTF-16 unit: what the wide ODBC calls take.
using DBstringWchar = DBunitString<wchar_t>;

// UTF-8 text to wide units; raises "ConvertUTF8toUTF16() returned non-OK result <name>".
void DBconvertUtf8ToWchar(DBstringWchar& out, const COLstring& text);
// Wide units (UTF-16 in each) to UTF-8; raises "ConvertUTF16toUTF8() returned non-OK result <name>".
COLstring DBconvertWcharToUtf8(const DBstringWchar& text);
// The same for 16-bit units as ODBC hands them back.
COLstring DBconvertUtf16ToUtf8(const DButf16* units, size_t count);
