// Numbers and date-times read straight from a value's bytes.
#include <cstdlib>
#include <cstring>
#include <string>

#include "SGCcheck.h"

namespace {

bool SGCisDigit(char c) { return c >= '0' && c <= '9'; }

// Index of the first non-digit at or after `position`.
uint32_t SGCskipDigits(const char* text, uint32_t length, uint32_t position) {
  while (position < length && SGCisDigit(text[position])) ++position;
  return position;
}

// The value's bytes with a terminating NUL, for the C conversions; small values stay on the
// stack.
class SGCterminatedText {
public:
  explicit SGCterminatedText(const SGMvalue& value) {
    const uint32_t Length = value.length();
    if (Length < sizeof(m_Local)) {
      if (Length) std::memcpy(m_Local, value.data(), Length);
      m_Local[Length] = 0;
      m_Text = m_Local;
    } else {
      m_Long.assign(value.data(), Length);
      m_Text = m_Long.c_str();
    }
  }
  const char* c_str() const { return m_Text; }

private:
  char m_Local[64];
  std::string m_Long;
  const char* m_Text;
};

// Reads exactly `count` digits.  Too few characters left: the position goes to the end.
bool SGCevaluateInteger(const char* text, uint32_t length, uint32_t& position, uint32_t count, int& result) {
  if (length - position < count) {
    position = length;
    return false;
  }
  int Value = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const char c = text[position + i];
    if (!SGCisDigit(c)) {
      position += i;
      return false;
    }
    Value = Value * 10 + (c - '0');
  }
  position += count;
  result = Value;
  return true;
}

// Up to four digits, the first worth a tenth.
bool SGCevaluateSecondFraction(const char* text, uint32_t length, uint32_t& position, double& fraction) {
  static const double Scale[4] = {10.0, 100.0, 1000.0, 10000.0};
  for (int i = 0; i < 4 && position < length; ++i) {
    const char c = text[position];
    if (!SGCisDigit(c)) return false;
    fraction += (c - '0') / Scale[i];
    ++position;
  }
  return true;
}

// The date-time fields as read so far.
struct SGCdateTimeFields {
  int Year = 0, Month = 1, Day = 1, Hour = 0, Minute = 0, Second = 0;
  double Fraction = 0.0;
  int Zone = 0;
};

// One mask item; false ends the reading with a bad value.
bool SGCreadMaskItem(uint32_t item, const char* text, uint32_t length, uint32_t& position,
                     SGCdateTimeFields& fields, SGCzoneDigits zone) {
  switch (item) {
    case QVMdateTimeGrammar::MaskYear:
      return SGCevaluateInteger(text, length, position, 4, fields.Year);
    case QVMdateTimeGrammar::MaskMonth:
      return SGCevaluateInteger(text, length, position, 2, fields.Month);
    case QVMdateTimeGrammar::MaskDay:
      return SGCevaluateInteger(text, length, position, 2, fields.Day);
    case QVMdateTimeGrammar::MaskHour: {
      const bool Ok = SGCevaluateInteger(text, length, position, 2, fields.Hour);
      if (fields.Hour == 24) fields.Hour = 0;
      return Ok;
    }
    case QVMdateTimeGrammar::MaskMinute:
      return SGCevaluateInteger(text, length, position, 2, fields.Minute);
    case QVMdateTimeGrammar::MaskSecond:
      return SGCevaluateInteger(text, length, position, 2, fields.Second);
    case QVMdateTimeGrammar::MaskFraction:
      if (text[position] == '.') {
        ++position;
        SGCevaluateSecondFraction(text, length, position, fields.Fraction);
      }
      return true;
    case QVMdateTimeGrammar::MaskTimeZone: {
      const char Sign = text[position];
      if (Sign != '+' && Sign != '-') return false;
      ++position;
      int Zone = 0;
      const uint32_t Digits = zone == SGCzoneDigits::OneAtEnd && length - position == 1 ? 1 : 2;
      SGCevaluateInteger(text, length, position, Digits, Zone);
      fields.Zone = Sign == '-' ? -Zone : Zone;
      // The minutes of the zone are not kept.
      position = length - position < 2 ? length : position + 2;
      return true;
    }
    default:
      COL_PRECONDITION_TEXT(false, "1==0");
      return false;
  }
}

// A time stamp may stop at any precision and still carry its zone ("2018032315-0500"), so when
// the items after the first are optional a zone that ends the text skips the items left out
// up to the zone item.  Only a whole zone of four digits does: "2018-03" stays a bad value, not
// a year in zone -3.  Without a zone item further on, the current item reads the sign as a bad
// value.
bool SGCzoneEndsText(const char* text, uint32_t length, uint32_t position) {
  if (text[position] != '+' && text[position] != '-') return false;
  return length - position == 5 && SGCskipDigits(text, length, position + 1) == length;
}

uint32_t SGCzoneItemFrom(const QVMdateTimeGrammar& grammar, uint32_t item) {
  for (uint32_t i = item; i < grammar.countOfMaskItem(); ++i)
    if (grammar.maskItem(i) == QVMdateTimeGrammar::MaskTimeZone) return i;
  return item;
}

}  // namespace

bool SGCvalidInteger(const SGMvalue& value) {
  const uint32_t Length = value.length();
  if (Length == 0) return true;
  const char* Text = value.data();
  if (Text[0] != '+' && Text[0] != '-' && !SGCisDigit(Text[0])) return false;
  return SGCskipDigits(Text, Length, 1) == Length;
}

bool SGCvalidDouble(const SGMvalue& value) {
  const uint32_t Length = value.length();
  if (Length == 0) return true;
  const char* Text = value.data();
  if (Text[0] != '+' && Text[0] != '-' && Text[0] != '.' && !SGCisDigit(Text[0])) return false;
  uint32_t Position = Text[0] == '.' ? 0 : SGCskipDigits(Text, Length, 1);
  if (Position < Length && Text[Position] == '.') Position = SGCskipDigits(Text, Length, Position + 1);
  if (Position == Length) return true;
  if (Text[Position] != 'e' && Text[Position] != 'E') return false;
  ++Position;
  if (Position == Length) return false;
  const char Sign = Text[Position];
  if (Sign != '+' && Sign != '-' && !SGCisDigit(Sign)) return false;
  return SGCskipDigits(Text, Length, Position + 1) == Length;
}

bool SGCvalidDateTime(const SGMvalue& value, const QVMdateTimeGrammar& grammar) {
  if (value.length() == 0) return true;
  QVMdateTimeInternal Result;
  return SGCdateTimeGrammarConvertStringToDateTime(grammar, value, Result);
}

bool SGCextractInteger(const SGMvalue& value, int& result) {
  if (!SGCvalidInteger(value)) return false;
  result = std::atoi(SGCterminatedText(value).c_str());
  return true;
}

bool SGCextractDouble(const SGMvalue& value, double& result) {
  if (!SGCvalidDouble(value)) return false;
  result = std::atof(SGCterminatedText(value).c_str());
  return true;
}

bool SGCextractDateTime(const SGMvalue& value, const QVMdateTimeGrammar& grammar, QVMdateTimeInternal& result) {
  if (value.length() == 0) {
    result = QVMdateTimeInternal();
    return true;
  }
  return SGCdateTimeGrammarConvertStringToDateTime(grammar, value, result);
}

bool SGCdateTimeGrammarConvertStringToDateTime(const QVMdateTimeGrammar& grammar, const SGMvalue& value,
                                               QVMdateTimeInternal& result, SGCzoneDigits zone) {
  const uint32_t Length = value.length();
  const char* Text = value.data();
  if (Length == 0 || (Length == 2 && Text[0] == '"' && Text[1] == '"')) {
    result.setNull();
    return true;
  }
  SGCdateTimeFields Fields;
  bool Ok = true;
  uint32_t Position = 0;
  uint32_t Item = 0;
  const uint32_t Items = grammar.countOfMaskItem();
  for (; Item < Items && Position < Length && Ok; ++Item) {
    if (Item > 0 && !grammar.fieldsRequired() && SGCzoneEndsText(Text, Length, Position))
      Item = SGCzoneItemFrom(grammar, Item);
    Ok = SGCreadMaskItem(grammar.maskItem(Item), Text, Length, Position, Fields, zone);
  }
  if (Ok && Position >= Length && Item < Items && grammar.fieldsRequired()) {
    throw COLerror("Invalid date/time format '" + value.asString() + "'. " +
                       "It might be an idea to change the Date/Time format '" + grammar.name() +
                       "' to *not* require all the date/time fields.",
                   COL_ERROR_MODEL_DATE_TIME);
  }
  // Text behind the last mask item is ignored.
  const int Status = Fields.Year != 0
                         ? result.setDateTime(Fields.Year, Fields.Month, Fields.Day, Fields.Hour, Fields.Minute,
                                              Fields.Second)
                         : result.setTime(Fields.Hour, Fields.Minute, Fields.Second);
  if (Status != 0 || result.status() != COLdateTime::valid) return false;
  result.setSecondFraction(Fields.Fraction);
  result.setZone(static_cast<int16_t>(Fields.Zone));
  return Ok;
}
