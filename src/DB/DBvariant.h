// DBvariant: the value type of the database layer, what a statement binds and what a query
// returns.  It owns nothing outside itself but its string or date; it never talks to a database.
#pragma once

#include <cstdint>

#include "COLdateTime.h"
#include "COLstring.h"

class COLostream;

enum DBdataType : int {
  DB_NULL = 0,
  DB_STRING = 1,
  DB_TEXT = 2,  // column definitions only: a variant never holds it
  DB_INTEGER = 3,
  DB_FLOAT = 4,
  DB_DATETIME = 5,
  DB_LARGE_INTEGER = 6,
  DB_DOUBLE = 7,
  DB_BOOLEAN = 8,
};

// "32 Bit Integer" and the like; "Unknown Type" for anything else.
const char* DBvariantTypeName(DBdataType type);
// "int32" and the like, for column listings.
const char* DBvariantTypeShortName(DBdataType type);

class DBvariant {
public:
  DBvariant() = default;
  DBvariant(bool value) : m_Type(DB_BOOLEAN) { m_Value.Boolean = value; }
  DBvariant(int value) : m_Type(DB_INTEGER) { m_Value.Integer32 = value; }
  DBvariant(float value) : m_Type(DB_FLOAT) { m_Value.Float32 = value; }
  DBvariant(double value);
  DBvariant(int64_t value);
  DBvariant(const char* value);
  DBvariant(const COLstring& value);
  DBvariant(const COLdateTime& value);
  DBvariant(const DBvariant& other);
  DBvariant(DBvariant&& other) noexcept : m_Type(other.m_Type), m_Value(other.m_Value) { other.m_Type = DB_NULL; }
  ~DBvariant() { release(); }

  DBvariant& operator=(const DBvariant& other);
  DBvariant& operator=(DBvariant&& other) noexcept;

  DBdataType type() const { return m_Type; }
  // Empties the variant (type null).
  void setNull() { release(); }

  // The value by reference.  The non-constant forms first turn a null variant into one of the
  // asked type holding zero; a variant of another type raises.
  COLstring& string();
  const COLstring& string() const;
  bool& boolean();
  bool boolean() const;
  int32_t& integer32();
  int32_t integer32() const;
  int64_t& integer64();
  int64_t integer64() const;
  float& float32();
  float float32() const;
  double& float64();
  double float64() const;
  COLdateTime& dateTime();
  const COLdateTime& dateTime() const;

  // Raises "Operation only valid on <type name> variants." unless the variant is of `type`.
  void verifyType(DBdataType type) const;

  // "<null>" for null; see the source for each type.
  COLstring toString() const;
  // True for the null type and for any zero-like value: "", 0, 0.0, false, a null date.
  bool isNull() const;
  // Bytes the value takes: a string's length, 4 or 8 for the others.
  size_t binarySize() const;

  bool operator==(const DBvariant& other) const;
  bool operator!=(const DBvariant& other) const { return !(*this == other); }

private:
  void release();
  // Gives a null variant the type with a zero value.
  void initType(DBdataType type);
  void copyFrom(const DBvariant& other);

  DBdataType m_Type = DB_NULL;
  // Strings and dates live on the heap; every number fits here.
  union Word {
    bool Boolean;
    int32_t Integer32;
    float Float32;
    int64_t Integer64;
    double Float64;
    COLstring* String;
    COLdateTime* DateTime;
  } m_Value{};
};

// A variant of `type` read from text: numbers by atoi, atof, atoll; a boolean is true only for
// "true"; null ignores the text; a date-time is refused.
DBvariant DBvariantFromString(const COLstring& text, DBdataType type);

COLostream& operator<<(COLostream& stream, const DBvariant& value);
