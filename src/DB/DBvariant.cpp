#include "DBvariant.h"

#include <cstdio>
#include <cstdlib>

#include "COLerror.h"
#include "COLostream.h"

namespace {

[[noreturn]] void raiseUnknownType(DBdataType type) {
  COLstring text;
  COLostream(text) << "Unknown type " << static_cast<int>(type);
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

bool isNumeric(DBdataType type) {
  return type == DB_INTEGER || type == DB_FLOAT || type == DB_LARGE_INTEGER || type == DB_DOUBLE;
}

bool isInteger(DBdataType type) { return type == DB_INTEGER || type == DB_LARGE_INTEGER; }

}  // namespace

const char* DBvariantTypeName(DBdataType type) {
  switch (type) {
    case DB_NULL: return "Null";
    case DB_STRING: return "String";
    case DB_INTEGER: return "32 Bit Integer";
    case DB_FLOAT: return "32 Bit Float";
    case DB_DATETIME: return "Date Time";
    case DB_LARGE_INTEGER: return "64 Bit Integer";
    case DB_DOUBLE: return "64 Bit Float";
    case DB_BOOLEAN: return "Boolean";
    default: return "Unknown Type";
  }
}

const char* DBvariantTypeShortName(DBdataType type) {
  switch (type) {
    case DB_NULL: return "null";
    case DB_STRING: return "string";
    case DB_INTEGER: return "int32";
    case DB_FLOAT: return "float32";
    case DB_DATETIME: return "date/time";
    case DB_LARGE_INTEGER: return "int64";
    case DB_DOUBLE: return "float64";
    case DB_BOOLEAN: return "boolean";
    default: return "Unknown Type";
  }
}

DBvariant::DBvariant(double value) : m_Type(DB_DOUBLE) { m_Value.Float64 = value; }
DBvariant::DBvariant(int64_t value) : m_Type(DB_LARGE_INTEGER) { m_Value.Integer64 = value; }
DBvariant::DBvariant(const char* value) : m_Type(DB_STRING) { m_Value.String = new COLstring(value); }
DBvariant::DBvariant(const COLstring& value) : m_Type(DB_STRING) { m_Value.String = new COLstring(value); }
DBvariant::DBvariant(const COLdateTime& value) : m_Type(DB_DATETIME) { m_Value.DateTime = new COLdateTime(value); }
DBvariant::DBvariant(const DBvariant& other) { copyFrom(other); }

DBvariant& DBvariant::operator=(const DBvariant& other) {
  if (this != &other) {
    release();
    copyFrom(other);
  }
  return *this;
}

DBvariant& DBvariant::operator=(DBvariant&& other) noexcept {
  if (this != &other) {
    release();
    m_Type = other.m_Type;
    m_Value = other.m_Value;
    other.m_Type = DB_NULL;
  }
  return *this;
}

void DBvariant::copyFrom(const DBvariant& other) {
  m_Type = other.m_Type;
  if (m_Type == DB_STRING)
    m_Value.String = new COLstring(*other.m_Value.String);
  else if (m_Type == DB_DATETIME)
    m_Value.DateTime = new COLdateTime(*other.m_Value.DateTime);
  else
    m_Value = other.m_Value;
}

void DBvariant::release() {
  if (m_Type == DB_STRING)
    delete m_Value.String;
  else if (m_Type == DB_DATETIME)
    delete m_Value.DateTime;
  m_Type = DB_NULL;
  m_Value = Word{};
}

void DBvariant::initType(DBdataType type) {
  if (type == DB_NULL) throw COLerror("Null types should not be initialized", COL_ERROR_PRECONDITION);
  release();
  switch (type) {
    case DB_STRING: m_Value.String = new COLstring(); break;
    case DB_DATETIME: m_Value.DateTime = new COLdateTime(); break;
    case DB_INTEGER: case DB_FLOAT: case DB_LARGE_INTEGER: case DB_DOUBLE: case DB_BOOLEAN: break;
    default: raiseUnknownType(type);
  }
  m_Type = type;
}

void DBvariant::verifyType(DBdataType type) const {
  if (m_Type == type) return;
  throw COLerror(COLstring("Operation only valid on ") + DBvariantTypeName(type) + " variants.",
                 COL_ERROR_PRECONDITION);
}

// A null variant takes the asked type; every other type must match already.
#define DB_VARIANT_ACCESS(Type, Name, Member, ReturnType, ConstReturnType)  \
  ReturnType DBvariant::Name() {                                           \
    if (m_Type == DB_NULL) initType(Type);                                 \
    verifyType(Type);                                                      \
    return Member;                                                         \
  }                                                                        \
  ConstReturnType DBvariant::Name() const {                                \
    verifyType(Type);                                                      \
    return Member;                                                         \
  }

DB_VARIANT_ACCESS(DB_STRING, string, *m_Value.String, COLstring&, const COLstring&)
DB_VARIANT_ACCESS(DB_BOOLEAN, boolean, m_Value.Boolean, bool&, bool)
DB_VARIANT_ACCESS(DB_INTEGER, integer32, m_Value.Integer32, int32_t&, int32_t)
DB_VARIANT_ACCESS(DB_LARGE_INTEGER, integer64, m_Value.Integer64, int64_t&, int64_t)
DB_VARIANT_ACCESS(DB_FLOAT, float32, m_Value.Float32, float&, float)
DB_VARIANT_ACCESS(DB_DOUBLE, float64, m_Value.Float64, double&, double)
DB_VARIANT_ACCESS(DB_DATETIME, dateTime, *m_Value.DateTime, COLdateTime&, const COLdateTime&)
#undef DB_VARIANT_ACCESS

COLstring DBvariant::toString() const {
  COLstring text;
  COLostream stream(text);
  switch (m_Type) {
    case DB_NULL: return "<null>";
    case DB_STRING: return *m_Value.String;
    case DB_INTEGER: stream << m_Value.Integer32; break;
    case DB_FLOAT: stream << m_Value.Float32; break;
    case DB_LARGE_INTEGER: stream << static_cast<long long>(m_Value.Integer64); break;
    case DB_DOUBLE: stream << m_Value.Float64; break;
    case DB_BOOLEAN: return m_Value.Boolean ? "true" : "false";
    case DB_DATETIME: {
      const COLdateTime& time = *m_Value.DateTime;
      if (time.isNull()) return "<null>";
      if (time.status() != COLdateTime::valid) return "(invalid)";
      char buffer[64];
      std::snprintf(buffer, sizeof buffer, "%02i/%02i/%04i %02i:%02i:%02i", time.day(), time.month(), time.year(),
                    time.hour(), time.minute(), time.second());
      return buffer;
    }
    default: throw COLerror("Unknown type.", COL_ERROR_PRECONDITION);
  }
  return text;
}

bool DBvariant::isNull() const {
  switch (m_Type) {
    case DB_NULL: return true;
    case DB_STRING: return m_Value.String->empty();
    case DB_INTEGER: return m_Value.Integer32 == 0;
    case DB_FLOAT: return m_Value.Float32 == 0.0f;
    case DB_LARGE_INTEGER: return m_Value.Integer64 == 0;
    case DB_DOUBLE: return m_Value.Float64 == 0.0;
    case DB_BOOLEAN: return !m_Value.Boolean;
    case DB_DATETIME: return m_Value.DateTime->isNull();
    default: throw COLerror("Unknown type for testing null", COL_ERROR_PRECONDITION);
  }
}

size_t DBvariant::binarySize() const {
  switch (m_Type) {
    case DB_NULL: return 0;
    case DB_STRING: return m_Value.String->size();
    case DB_INTEGER: case DB_FLOAT: case DB_BOOLEAN: return 4;
    case DB_DATETIME: case DB_LARGE_INTEGER: case DB_DOUBLE: return 8;
    default: raiseUnknownType(m_Type);
  }
}

namespace {

// The numeric types widened: integers compare exactly, anything with a float as doubles.
bool numericEqual(const DBvariant& a, const DBvariant& b) {
  auto asInteger = [](const DBvariant& v) -> int64_t {
    return v.type() == DB_INTEGER ? v.integer32() : v.integer64();
  };
  auto asDouble = [&](const DBvariant& v) -> double {
    switch (v.type()) {
      case DB_FLOAT: return v.float32();
      case DB_DOUBLE: return v.float64();
      default: return static_cast<double>(asInteger(v));
    }
  };
  if (isInteger(a.type()) && isInteger(b.type())) return asInteger(a) == asInteger(b);
  if (a.type() == DB_FLOAT && b.type() == DB_FLOAT) return a.float32() == b.float32();
  return asDouble(a) == asDouble(b);
}

}  // namespace

bool DBvariant::operator==(const DBvariant& other) const {
  const DBdataType otherType = other.m_Type;
  switch (m_Type) {
    case DB_NULL: return otherType == DB_NULL;
    case DB_STRING: return otherType == DB_STRING && m_Value.String->str() == other.m_Value.String->str();
    case DB_DATETIME: return otherType == DB_DATETIME && *m_Value.DateTime == *other.m_Value.DateTime;
    case DB_BOOLEAN:
      if (otherType == DB_BOOLEAN) return m_Value.Boolean == other.m_Value.Boolean;
      if (isInteger(otherType))
        return static_cast<int64_t>(m_Value.Boolean) ==
               (otherType == DB_INTEGER ? other.m_Value.Integer32 : other.m_Value.Integer64);
      return false;
    default:
      if (isNumeric(m_Type) && isNumeric(otherType)) return numericEqual(*this, other);
      if (isInteger(m_Type) && otherType == DB_BOOLEAN) return other == *this;
      return false;
  }
}

DBvariant DBvariantFromString(const COLstring& text, DBdataType type) {
  switch (type) {
    case DB_NULL: return DBvariant();
    case DB_STRING: return DBvariant(text);
    case DB_INTEGER: return DBvariant(std::atoi(text.c_str()));
    case DB_FLOAT: return DBvariant(static_cast<float>(std::atof(text.c_str())));
    case DB_LARGE_INTEGER: return DBvariant(static_cast<int64_t>(std::atoll(text.c_str())));
    case DB_DOUBLE: return DBvariant(std::atof(text.c_str()));
    case DB_BOOLEAN: return DBvariant(text == "true");
    case DB_DATETIME:
      throw COLerror("Converting strings to date time DBvariant not supported.", COL_ERROR_PRECONDITION);
    default: raiseUnknownType(type);
  }
}

COLostream& operator<<(COLostream& stream, const DBvariant& value) { return stream << value.toString(); }
