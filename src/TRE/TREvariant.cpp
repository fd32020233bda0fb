#include "TREvariant.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "COLerror.h"
#include "COLostream.h"
#include "FMThex.h"
#include "TREinstance.h"
#include "TREnodeSlab.h"

namespace {
[[noreturn]] void raise(const COLstring& text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

constexpr TREvariantType Types[TREcountOfBaseType] = {
    {TREbaseType::Null, "null"},
    {TREbaseType::String, "string"},
    {TREbaseType::Boolean, "boolean"},
    {TREbaseType::TinyInteger, "tinyInteger"},
    {TREbaseType::SmallInteger, "smallInteger"},
    {TREbaseType::Integer, "integer"},
    {TREbaseType::DateTime, "dateTime"},
    {TREbaseType::Float, "float"},
    {TREbaseType::InstanceComplex, "complex"},
    {TREbaseType::InstanceVector, "collection"},
    {TREbaseType::LargeInteger, "largeInteger"},
    {TREbaseType::Double, "double"},
    {TREbaseType::Binary, "binary"},
};

template <class T>
int threeWay(T a, T b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}
}  // namespace

const TREvariantType& TREvariantType::instance(unsigned base) {
  if (base >= TREcountOfBaseType) raise("Unknown Type");
  return Types[base];
}

// --- construction and assignment

TREvariant::TREvariant(const char* text) { string() = text; }
TREvariant::TREvariant(const COLstring& text) { string() = text; }
TREvariant::TREvariant(bool value) { boolean() = value; }
TREvariant::TREvariant(int8_t value) { tinyInteger() = value; }
TREvariant::TREvariant(int16_t value) { smallInteger() = value; }
TREvariant::TREvariant(int32_t value) { integer() = value; }
TREvariant::TREvariant(int64_t value) { largeInteger() = value; }
TREvariant::TREvariant(float value) { floatValue() = value; }
TREvariant::TREvariant(double value) { doubleValue() = value; }
TREvariant::TREvariant(const COLdateTime& value) { dateTime() = value; }
TREvariant::TREvariant(const COLsimpleBuffer& value) {
  COLsimpleBuffer& buffer = binary();
  buffer.resize(value.size());
  if (value.size()) std::memcpy(buffer.data(), value.data(), value.size());
}

TREvariant::TREvariant(TREvariant&& other) noexcept : m_Type(other.m_Type), m_Value(other.m_Value) {
  other.m_Type = TREbaseType::Null;
  other.m_Value.integer = 0;
}

TREvariant& TREvariant::operator=(TREvariant&& other) noexcept {
  if (this != &other) {
    destroyValue();
    m_Type = other.m_Type;
    m_Value = other.m_Value;
    other.m_Type = TREbaseType::Null;
    other.m_Value.integer = 0;
  }
  return *this;
}

TREvariant& TREvariant::operator=(const TREvariant& other) {
  if (this == &other) return *this;
  if (m_Type != other.m_Type) {
    destroyValue();
    initType(other.m_Type);
  }
  copyValue(other);
  return *this;
}

void TREvariant::copyValue(const TREvariant& other) {
  switch (m_Type) {
    case TREbaseType::String: *m_Value.string = *other.m_Value.string; break;
    case TREbaseType::DateTime: *m_Value.dateTime = *other.m_Value.dateTime; break;
    case TREbaseType::Binary: {
      m_Value.binary->resize(other.m_Value.binary->size());
      if (other.m_Value.binary->size())
        std::memcpy(m_Value.binary->data(), other.m_Value.binary->data(), other.m_Value.binary->size());
      break;
    }
    case TREbaseType::InstanceComplex:
    case TREbaseType::InstanceVector:
      // Instances are copied by the instance layer, which knows their roots.
      raise("Incorrect data type.");
    default: m_Value = other.m_Value; break;
  }
}

void TREvariant::initType(TREbaseType base) {
  destroyValue();
  TREvariantType::instance(unsigned(base));
  m_Type = base;
  switch (base) {
    case TREbaseType::String: m_Value.string = new (TREallocateNode(sizeof(COLstring))) COLstring(); break;
    case TREbaseType::DateTime: m_Value.dateTime = new COLdateTime(); break;
    case TREbaseType::Binary: m_Value.binary = new COLsimpleBuffer(); break;
    case TREbaseType::Float: m_Value.integer = 0; m_Value.floatValue = 0.0f; break;
    case TREbaseType::Double: m_Value.doubleValue = 0.0; break;
    default: m_Value.integer = 0; break;
  }
}

void TREvariant::destroyValue() {
  switch (m_Type) {
    case TREbaseType::String:
      m_Value.string->~COLstring();
      TREreleaseNode(m_Value.string, sizeof(COLstring));
      break;
    case TREbaseType::DateTime: delete m_Value.dateTime; break;
    case TREbaseType::Binary: delete m_Value.binary; break;
    case TREbaseType::InstanceComplex: delete m_Value.complex; break;
    case TREbaseType::InstanceVector: delete m_Value.vector; break;
    default: break;
  }
  m_Type = TREbaseType::Null;
  m_Value.integer = 0;
}

void TREvariant::checkType(TREbaseType base) const {
  if (m_Type != base)
    raise(COLstring("Incorrect type expected ") + typeName(base) + " but got " + typeName(m_Type));
}

void TREvariant::verifyType(TREbaseType base) {
  if (m_Type == TREbaseType::Null && base != TREbaseType::Null)
    initType(base);
  else
    checkType(base);
}

// --- typed access

COLstring& TREvariant::string() { verifyType(TREbaseType::String); return *m_Value.string; }
bool& TREvariant::boolean() { verifyType(TREbaseType::Boolean); return m_Value.flag; }
int8_t& TREvariant::tinyInteger() {
  verifyType(TREbaseType::TinyInteger);
  return m_Value.tiny;
}
int16_t& TREvariant::smallInteger() {
  verifyType(TREbaseType::SmallInteger);
  return m_Value.small;
}
int32_t& TREvariant::integer() { verifyType(TREbaseType::Integer); return m_Value.integer32; }
int64_t& TREvariant::largeInteger() { verifyType(TREbaseType::LargeInteger); return m_Value.integer; }
float& TREvariant::floatValue() { verifyType(TREbaseType::Float); return m_Value.floatValue; }
double& TREvariant::doubleValue() { verifyType(TREbaseType::Double); return m_Value.doubleValue; }
COLdateTime& TREvariant::dateTime() { verifyType(TREbaseType::DateTime); return *m_Value.dateTime; }
COLsimpleBuffer& TREvariant::binary() { verifyType(TREbaseType::Binary); return *m_Value.binary; }

const COLstring& TREvariant::string() const {
  static const COLstring Empty;
  if (m_Type == TREbaseType::Null) return Empty;
  checkType(TREbaseType::String);
  return *m_Value.string;
}

bool TREvariant::boolean() const {
  if (m_Type == TREbaseType::Null) return false;
  checkType(TREbaseType::Boolean);
  return m_Value.flag;
}

int64_t TREvariant::integerValue() const {
  int64_t value = 0;
  if (m_Type == TREbaseType::Null) return 0;
  if (!getNumericValue(value)) checkType(TREbaseType::Integer);
  return value;
}

void TREvariant::attachComplex(TREinstanceComplex* complex) {
  destroyValue();
  m_Type = TREbaseType::InstanceComplex;
  m_Value.complex = complex;
}

void TREvariant::attachVector(TREinstanceVector* vector) {
  destroyValue();
  m_Type = TREbaseType::InstanceVector;
  m_Value.vector = vector;
}

TREinstanceComplex* TREvariant::detachComplex() {
  TREinstanceComplex* complex = this->complex();
  if (complex) {
    m_Type = TREbaseType::Null;
    m_Value.integer = 0;
  }
  return complex;
}

TREinstanceVector* TREvariant::detachVector() {
  TREinstanceVector* vector = this->vector();
  if (vector) {
    m_Type = TREbaseType::Null;
    m_Value.integer = 0;
  }
  return vector;
}

// --- comparison

bool TREvariant::getNumericValue(int64_t& out) const {
  switch (m_Type) {
    case TREbaseType::TinyInteger: out = m_Value.tiny; return true;
    case TREbaseType::SmallInteger: out = m_Value.small; return true;
    case TREbaseType::Integer: out = m_Value.integer32; return true;
    case TREbaseType::LargeInteger: out = m_Value.integer; return true;
    default: return false;
  }
}

int TREvariant::compare(const TREvariant& other) const {
  if (m_Type == other.m_Type) {
    switch (m_Type) {
      case TREbaseType::Null: return 0;
      case TREbaseType::String: return std::strcmp(m_Value.string->c_str(), other.m_Value.string->c_str());
      case TREbaseType::Boolean:
        return int(m_Value.flag) -
               int(other.m_Value.flag);
      case TREbaseType::TinyInteger:
      case TREbaseType::SmallInteger: {
        int64_t a = 0, b = 0;
        getNumericValue(a);
        other.getNumericValue(b);
        return int(a - b);
      }
      case TREbaseType::Integer:
        // Subtraction in 32 bits, wrapping as the stored format's numbers do.
        return int32_t(uint32_t(m_Value.integer32) -
                       uint32_t(other.m_Value.integer32));
      case TREbaseType::LargeInteger: return threeWay(m_Value.integer, other.m_Value.integer);
      case TREbaseType::Float: return threeWay(m_Value.floatValue, other.m_Value.floatValue);
      case TREbaseType::Double: return threeWay(m_Value.doubleValue, other.m_Value.doubleValue);
      case TREbaseType::DateTime: {
        const COLdateTime& a = *m_Value.dateTime;
        const COLdateTime& b = *other.m_Value.dateTime;
        return a < b ? -1 : (b < a ? 1 : 0);
      }
      case TREbaseType::Binary: {
        const COLsimpleBuffer& a = *m_Value.binary;
        const COLsimpleBuffer& b = *other.m_Value.binary;
        return a.size() == b.size() && (a.size() == 0 || std::memcmp(a.data(), b.data(), a.size()) == 0) ? 0 : 1;
      }
      default: return m_Value.complex == other.m_Value.complex ? 0 : 1;
    }
  }
  int64_t number = 0;
  if (!other.getNumericValue(number)) return 1;
  int64_t mine = 0;
  if (!getNumericValue(mine)) return 1;
  if (m_Type == TREbaseType::LargeInteger) return threeWay(mine, number);
  return int(mine - number);
}

bool TREvariant::isDefault() const {
  switch (m_Type) {
    case TREbaseType::Null: return true;
    case TREbaseType::String: return m_Value.string->empty();
    case TREbaseType::DateTime: return m_Value.dateTime->isNull();
    case TREbaseType::Float: return m_Value.floatValue == 0.0f;
    case TREbaseType::Double: return m_Value.doubleValue == 0.0;
    case TREbaseType::Binary: return m_Value.binary->size() == 0;
    case TREbaseType::InstanceComplex:
    case TREbaseType::InstanceVector: return false;
    default: {
      int64_t value = 0;
      if (m_Type == TREbaseType::Boolean) return !m_Value.flag;
      getNumericValue(value);
      return value == 0;
    }
  }
}

// --- text forms

COLstring TREvariant::toString() const {
  switch (m_Type) {
    case TREbaseType::Null: return COLstring();
    case TREbaseType::String: return *m_Value.string;
    case TREbaseType::Boolean: return m_Value.flag ? "true" : "false";
    case TREbaseType::Float:
    case TREbaseType::Double: {
      COLstring text;
      COLostream stream(text);
      if (m_Type == TREbaseType::Float)
        stream << m_Value.floatValue;
      else
        stream << m_Value.doubleValue;
      return text;
    }
    case TREbaseType::DateTime: {
      const COLdateTime& time = *m_Value.dateTime;
      if (time.isNull()) return "<null>";
      if (time.status() == COLdateTime::invalid) return "(invalid)";
      char text[64];
      std::snprintf(text, sizeof text, "%02i/%02i/%04i %02i:%02i:%02i", time.day(), time.month(), time.year(),
                    time.hour(), time.minute(), time.second());
      return text;
    }
    case TREbaseType::Binary: {
      COLstring text;
      for (size_t i = 0; i < m_Value.binary->size(); ++i) FMTtoHex(text, m_Value.binary->data()[i]);
      return text;
    }
    case TREbaseType::InstanceComplex: return "COMPLEX";
    case TREbaseType::InstanceVector: return "VECTOR";
    default: {
      int64_t value = 0;
      getNumericValue(value);
      return COLstring(std::to_string(value));
    }
  }
}

void TREvariant::fromString(const COLstring& text, TREbaseType base) {
  verifyType(base);
  switch (base) {
    case TREbaseType::Null: break;
    case TREbaseType::String: *m_Value.string = text; break;
    case TREbaseType::Boolean:
      if (text == "true")
        boolean() = true;
      else if (text == "false")
        boolean() = false;
      else
        raise(COLstring("Unexpected Boolean string: ") + text);
      break;
    case TREbaseType::TinyInteger: {
      int value = std::atoi(text.c_str());
      if (value < -128 || value > 127) raise(COLstring("OverFlow for COLint8 from ") + std::to_string(value));
      tinyInteger() = int8_t(value);
      break;
    }
    case TREbaseType::SmallInteger: smallInteger() = int16_t(std::atoi(text.c_str())); break;
    case TREbaseType::Integer: integer() = std::atoi(text.c_str()); break;
    case TREbaseType::LargeInteger: largeInteger() = std::atoll(text.c_str()); break;
    case TREbaseType::Float: {
      double value = std::atof(text.c_str());
      if (value > 3.40282347e+38) raise(COLstring("Overflow on String to Float Conversion for '") + text + "'");
      floatValue() = float(value);
      break;
    }
    case TREbaseType::Double: doubleValue() = std::atof(text.c_str()); break;
    case TREbaseType::DateTime: {
      COLdateTime& time = dateTime();
      if (text == "<null>") {
        time.setNull();
      } else if (text == "(invalid)") {
        time.setStatus(COLdateTime::invalid);
      } else {
        int day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0;
        std::sscanf(text.c_str(), "%02d/%02d/%04d %02d:%02d:%02d", &day, &month, &year, &hour, &minute, &second);
        time.setDateTime(year, month, day, hour, minute, second);
      }
      break;
    }
    case TREbaseType::Binary: {
      COL_PRECONDITION_TEXT(text.size() % 2 == 0, "String.size() % 2 == 0");
      COLsimpleBuffer& buffer = binary();
      buffer.resize(text.size() / 2);
      for (size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = FMTfromHex(text[2 * i], text[2 * i + 1]);
      break;
    }
    case TREbaseType::InstanceComplex: raise("InstanceComplex from String Not Available");
    case TREbaseType::InstanceVector: raise("InstanceVector from String Not Available");
  }
}

// --- binary forms

uint16_t TREvariant::binarySize() const {
  switch (m_Type) {
    case TREbaseType::Null: return 0;
    case TREbaseType::String: return uint16_t(m_Value.string->size() + 1);
    case TREbaseType::Boolean:
    case TREbaseType::TinyInteger: return 1;
    case TREbaseType::SmallInteger: return 2;
    case TREbaseType::Integer:
    case TREbaseType::DateTime:
    case TREbaseType::Float: return 4;
    case TREbaseType::LargeInteger:
    case TREbaseType::Double: return 8;
    case TREbaseType::Binary: return uint16_t(m_Value.binary->size() + 4);
    default: raise("Incorrect data type.");
  }
}

void TREvariant::toBinary(COLsink& sink) const {
  switch (m_Type) {
    case TREbaseType::Null: break;
    case TREbaseType::String: sink.write(m_Value.string->c_str(), m_Value.string->size() + 1); break;
    case TREbaseType::Boolean: TREwriteU8(sink, m_Value.flag ? 1 : 0); break;
    case TREbaseType::TinyInteger: TREwriteU8(sink, uint8_t(m_Value.tiny)); break;
    case TREbaseType::SmallInteger: TREwriteU16(sink, uint16_t(m_Value.small)); break;
    case TREbaseType::Integer: TREwriteU32(sink, uint32_t(m_Value.integer32)); break;
    case TREbaseType::DateTime: TREwriteU32(sink, uint32_t(m_Value.dateTime->asTimeT())); break;
    case TREbaseType::Float: {
      uint32_t bits;
      std::memcpy(&bits, &m_Value.floatValue, 4);
      TREwriteU32(sink, bits);
      break;
    }
    case TREbaseType::LargeInteger: TREwriteU64(sink, uint64_t(m_Value.integer)); break;
    case TREbaseType::Double: {
      uint64_t bits;
      std::memcpy(&bits, &m_Value.doubleValue, 8);
      TREwriteU64(sink, bits);
      break;
    }
    case TREbaseType::Binary:
      if (m_Value.binary->size() > 0xFFFF) raise("A binary value of more than 65535 bytes can't be stored.");
      TREwriteU32(sink, uint32_t(m_Value.binary->size()));
      sink.write(m_Value.binary->data(), m_Value.binary->size());
      break;
    case TREbaseType::InstanceComplex: raise("Incorrect data type(InstanceComplex).");
    case TREbaseType::InstanceVector: raise("Incorrect data type.");
  }
}

void TREvariant::fromBinary(TREvariantReader& reader, TREbaseType base) {
  if (base == TREbaseType::InstanceComplex) raise("Incorrect data type(InstanceComplex).");
  if (base == TREbaseType::InstanceVector) raise("Incorrect data type.");
  verifyType(base);
  switch (base) {
    case TREbaseType::Null: break;
    case TREbaseType::String: *m_Value.string = reader.readString(); break;
    case TREbaseType::Boolean: boolean() = reader.readU8() != 0; break;
    case TREbaseType::TinyInteger: tinyInteger() = int8_t(reader.readU8()); break;
    case TREbaseType::SmallInteger: smallInteger() = int16_t(reader.readU16()); break;
    case TREbaseType::Integer: integer() = int32_t(reader.readU32()); break;
    case TREbaseType::DateTime: *m_Value.dateTime = long(int32_t(reader.readU32())); break;
    case TREbaseType::Float: {
      uint32_t bits = reader.readU32();
      std::memcpy(&m_Value.floatValue, &bits, 4);
      break;
    }
    case TREbaseType::LargeInteger: largeInteger() = int64_t(reader.readU64()); break;
    case TREbaseType::Double: {
      uint64_t bits = reader.readU64();
      std::memcpy(&m_Value.doubleValue, &bits, 8);
      break;
    }
    case TREbaseType::Binary: {
      uint32_t count = reader.readU32();
      if (count > 0xFFFF) raise("A binary value of more than 65535 bytes can't be read.");
      m_Value.binary->resize(count);
      reader.readBytes(m_Value.binary->data(), count);
      break;
    }
    default: break;
  }
}

// --- little-endian fields

void TREvariantReader::need(size_t count) const {
  if (count > m_Size - m_Position)
    throw COLerror(COLstring("The stream ends early: ") + std::to_string(count) + " bytes wanted at offset " +
                       std::to_string(m_Position) + " of " + std::to_string(m_Size) + ".",
                   COL_ERROR_PRECONDITION);
}

uint8_t TREvariantReader::readU8() {
  need(1);
  return m_Data[m_Position++];
}

uint16_t TREvariantReader::readU16() {
  need(2);
  uint16_t value = uint16_t(m_Data[m_Position] | m_Data[m_Position + 1] << 8);
  m_Position += 2;
  return value;
}

uint32_t TREvariantReader::readU32() {
  need(4);
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | m_Data[m_Position + i];
  m_Position += 4;
  return value;
}

uint64_t TREvariantReader::readU64() {
  uint64_t low = readU32();
  return low | uint64_t(readU32()) << 32;
}

COLstring TREvariantReader::readString() {
  const void* end = std::memchr(m_Data + m_Position, 0, m_Size - m_Position);
  if (!end) need(m_Size - m_Position + 1);
  size_t length = static_cast<const unsigned char*>(end) - (m_Data + m_Position);
  COLstring text(std::string(reinterpret_cast<const char*>(m_Data + m_Position), length));
  m_Position += length + 1;
  return text;
}

void TREvariantReader::readBytes(void* out, size_t count) {
  need(count);
  if (count) std::memcpy(out, m_Data + m_Position, count);
  m_Position += count;
}

void TREwriteU8(COLsink& sink, uint8_t value) { sink.write(&value, 1); }

void TREwriteU16(COLsink& sink, uint16_t value) {
  unsigned char bytes[2] = {uint8_t(value), uint8_t(value >> 8)};
  sink.write(bytes, 2);
}

void TREwriteU32(COLsink& sink, uint32_t value) {
  unsigned char bytes[4] = {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)};
  sink.write(bytes, 4);
}

void TREwriteU64(COLsink& sink, uint64_t value) {
  TREwriteU32(sink, uint32_t(value));
  TREwriteU32(sink, uint32_t(value >> 32));
}

void TREwriteText(COLsink& sink, const COLstring& text) { sink.write(text.c_str(), std::strlen(text.c_str()) + 1); }
