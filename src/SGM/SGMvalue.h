// SGMvalue: one value of a tokenised message, a slice (pointer and length) of text owned
// elsewhere: the message itself or a string pool.  Copying a value never copies bytes.
#pragma once

#include <cstdint>

#include "COLreference.h"
#include "COLstring.h"

class COLostream;

class SGMvalue : public COLreference {
public:
  SGMvalue() = default;
  SGMvalue(const SGMvalue& other) : COLreference(), m_Data(other.m_Data), m_Length(other.m_Length) {}
  SGMvalue& operator=(const SGMvalue& other) {
    m_Data = other.m_Data;
    m_Length = other.m_Length;
    return *this;
  }
  ~SGMvalue() override = default;
  COLreference* clone() override { return countOfRef() == 1 ? this : new SGMvalue(*this); }

  // A cleared value has null data, which reads as an empty text.
  const char* data() const { return m_Data; }
  uint32_t length() const { return m_Length; }
  bool isNull() const { return m_Data == nullptr; }
  std::string_view view() const { return m_Data ? std::string_view(m_Data, m_Length) : std::string_view(); }

  void set(const char* text);
  void set(const char* text, uint32_t length) {
    m_Data = text;
    m_Length = length;
  }
  void clear() {
    m_Data = nullptr;
    m_Length = 0;
  }
  COLstring asString() const { return COLstring(view()); }

private:
  const char* m_Data = nullptr;
  uint32_t m_Length = 0;
};

// True when the lengths are equal and strncmp over that length finds no difference.
bool SGMvalueMatchesString(const SGMvalue& value, const COLstring& text);
bool SGMvalueMatchesCharArray(const SGMvalue& value, const char* text, uint32_t length);

// Writes the bytes straight to the stream's sink.
COLostream& operator<<(COLostream& stream, const SGMvalue& value);
