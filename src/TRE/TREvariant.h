// TREvariant: one value of the thirteen base types of the reflection layer, with its text
// and binary forms.  Owns what it holds; knows nothing of types, instances or files.
#pragma once

#include <cstdint>

#include "COLbuffer.h"
#include "COLdateTime.h"
#include "COLstring.h"

class COLsink;
class TREinstanceComplex;
class TREinstanceVector;
class TREvariantReader;

// The numbers are persisted: never renumber.
enum class TREbaseType : uint8_t {
  Null = 0,
  String = 1,
  Boolean = 2,
  TinyInteger = 3,
  SmallInteger = 4,
  Integer = 5,
  DateTime = 6,
  Float = 7,
  InstanceComplex = 8,
  InstanceVector = 9,
  LargeInteger = 10,
  Double = 11,
  Binary = 12,
};
inline constexpr unsigned TREcountOfBaseType = 13;

// The per-type descriptor: name and base type.  One per base type; `instance` of a value
// of 13 or more raises "Unknown Type", which only a damaged file can cause.
class TREvariantType {
public:
  static const TREvariantType& instance(unsigned base);
  TREbaseType baseType() const { return m_Base; }
  const char* typeName() const { return m_Name; }

  constexpr TREvariantType(TREbaseType base, const char* name) : m_Base(base), m_Name(name) {}

private:
  TREbaseType m_Base;
  const char* m_Name;
};

class TREvariant {
public:
  TREvariant() = default;
  TREvariant(const char* text);
  TREvariant(const COLstring& text);
  TREvariant(bool value);
  TREvariant(int8_t value);
  TREvariant(int16_t value);
  TREvariant(int32_t value);
  TREvariant(int64_t value);
  TREvariant(float value);
  TREvariant(double value);
  TREvariant(const COLdateTime& value);
  TREvariant(const COLsimpleBuffer& value);
  TREvariant(const TREvariant& other) { *this = other; }
  TREvariant(TREvariant&& other) noexcept;
  TREvariant& operator=(const TREvariant& other);
  TREvariant& operator=(TREvariant&& other) noexcept;
  ~TREvariant() { destroyValue(); }

  TREbaseType baseType() const { return m_Type; }
  static const char* typeName(TREbaseType base) { return TREvariantType::instance(unsigned(base)).typeName(); }
  const char* typeName() const { return typeName(m_Type); }

  bool operator==(const TREvariant& other) const { return m_Type == other.m_Type && compare(other) == 0; }
  bool operator!=(const TREvariant& other) const { return !(*this == other); }

  // Negative, 0 or positive.  Values of different types compare by number when the other
  // is one of the integer types; anything else gives 1.
  int compare(const TREvariant& other) const;
  // True, with the value widened to 64 bits, for the four integer types.
  bool getNumericValue(int64_t& out) const;
  bool isDefault() const;

  COLstring toString() const;
  // A Null variant takes `base` first; a variant of another type raises.
  void fromString(const COLstring& text, TREbaseType base);
  // Bytes that toBinary writes (a u16 quantity in the format).
  uint16_t binarySize() const;
  void toBinary(COLsink& sink) const;
  void fromBinary(TREvariantReader& reader, TREbaseType base);

  // Makes a Null variant of `base` with its default; anything else must already be `base`.
  void verifyType(TREbaseType base);
  // Frees what the variant holds and gives it `base` with its default value.
  void initType(TREbaseType base);
  // Back to Null.
  void destroyValue();

  // Typed access: each turns a Null variant into its type and raises on another type.
  COLstring& string();
  bool& boolean();
  int8_t& tinyInteger();
  int16_t& smallInteger();
  int32_t& integer();
  int64_t& largeInteger();
  float& floatValue();
  double& doubleValue();
  COLdateTime& dateTime();
  COLsimpleBuffer& binary();
  // Reads that leave the variant as it is; a value of another type raises.
  const COLstring& string() const;
  bool boolean() const;
  int64_t integerValue() const;  // any of the four integer types, widened

  // The variant takes ownership; the previous content is destroyed.
  void attachComplex(TREinstanceComplex* complex);
  void attachVector(TREinstanceVector* vector);
  TREinstanceComplex* complex() const { return m_Type == TREbaseType::InstanceComplex ? m_Value.complex : nullptr; }
  TREinstanceVector* vector() const { return m_Type == TREbaseType::InstanceVector ? m_Value.vector : nullptr; }
  // Gives up ownership without destroying.
  TREinstanceComplex* detachComplex();
  TREinstanceVector* detachVector();

private:
  void checkType(TREbaseType base) const;
  void copyValue(const TREvariant& other);

  TREbaseType m_Type = TREbaseType::Null;
  union Slot {
    int64_t integer;  // LargeInteger; zeroes the whole slot
    bool flag;
    int8_t tiny;
    int16_t small;
    int32_t integer32;
    float floatValue;
    double doubleValue;
    COLstring* string;
    COLdateTime* dateTime;
    COLsimpleBuffer* binary;
    TREinstanceComplex* complex;
    TREinstanceVector* vector;
  } m_Value{0};
};

// Reads the little-endian fields of the binary forms from a byte range, raising a clear
// error when the range ends early.
class TREvariantReader {
public:
  TREvariantReader(const unsigned char* data, size_t size) : m_Data(data), m_Size(size) {}
  uint8_t readU8();
  uint16_t readU16();
  uint32_t readU32();
  uint64_t readU64();
  COLstring readString();
  void readBytes(void* out, size_t count);
  size_t position() const { return m_Position; }
  size_t remaining() const { return m_Size - m_Position; }

private:
  void need(size_t count) const;

  const unsigned char* m_Data;
  size_t m_Size;
  size_t m_Position = 0;
};

// Little-endian writers shared by the stream writers.
void TREwriteU8(COLsink& sink, uint8_t value);
void TREwriteU16(COLsink& sink, uint16_t value);
void TREwriteU32(COLsink& sink, uint32_t value);
void TREwriteU64(COLsink& sink, uint64_t value);
void TREwriteText(COLsink& sink, const COLstring& text);
