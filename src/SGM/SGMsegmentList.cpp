#include "SGMsegmentList.h"

#include <cstring>

#include "COLostream.h"

void SGMvalue::set(const char* text) {
  m_Data = text;
  m_Length = text ? static_cast<uint32_t>(std::strlen(text)) : 0;
}

bool SGMvalueMatchesCharArray(const SGMvalue& value, const char* text, uint32_t length) {
  if (value.length() != length) return false;
  if (length == 0) return true;
  return std::strncmp(value.data(), text, length) == 0;
}

bool SGMvalueMatchesString(const SGMvalue& value, const COLstring& text) {
  return SGMvalueMatchesCharArray(value, text.data(), static_cast<uint32_t>(text.size()));
}

COLostream& operator<<(COLostream& stream, const SGMvalue& value) {
  if (value.length() != 0) stream.write(value.data(), value.length());
  return stream;
}

void SGMfield::setCountOfSubField(uint32_t count) {
  m_SubFields.setCount(count);
  for (uint32_t i = 0; i < count; ++i) {
    SGMsubField& SubField = m_SubFields.atUnchecked(i);
    if (SubField.countOfSubSubField() == 0) SubField.setCountOfSubSubField(1);
  }
}

void SGMfield::growSubFields(uint32_t count) {
  const uint32_t OldCount = m_SubFields.count();
  m_SubFields.setCount(count);
  for (uint32_t i = OldCount; i < count; ++i) {
    SGMsubField& SubField = m_SubFields.atUnchecked(i);
    if (SubField.countOfSubSubField() == 0) SubField.setCountOfSubSubField(1);
  }
}

void SGMfield::setCountOfSubSubField(uint32_t subField, uint32_t count) {
  SGMsubField& SubField = m_SubFields.at(subField);
  if (count == 0) {
    SubField.setCountOfSubSubField(1);
    SubField.value(0).clear();
    return;
  }
  SubField.setCountOfSubSubField(count);
}

void SGMsegment::setCountOfField(uint32_t count) {
  const uint32_t OldCount = m_Fields.count();
  m_Fields.setCount(count);
  for (uint32_t i = OldCount; i < count; ++i) m_Fields.atUnchecked(i).setCountOfFieldRepeat(1);
}
