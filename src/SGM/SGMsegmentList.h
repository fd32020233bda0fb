// SGMsegmentList and its levels: a tokenised message as segments, field positions, repeats,
// sub fields and values.  Every level is a reference-counted object, because scripts hold
// them; every list keeps the objects it ever made and hands them out again, so a list that is
// reused from message to message stops allocating once it has seen its largest message.
// Nothing here copies message text: values are slices (see SGMvalue).
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "COLerror.h"
#include "COLreference.h"
#include "SGMvalue.h"

// The delimiters of one message, by level: segment, field and repeat, sub field, sub sub
// field, and the escape character.  The tokeniser overwrites all but the first.
struct SGMseparatorCharacters {
  char segmentDelimiter = 13;
  char fieldDelimiter = '|';
  char repeatCharacter = '~';
  char subFieldDelimiter = '^';
  char subSubFieldDelimiter = '&';
  char escapeCharacter = '\\';
};

// A logical count in front of the objects that were ever made.  Growing makes objects only
// where the vector runs out; objects behind the count are kept and come back cleared.  The
// clearing happens when an object comes back into use, not when the count drops, so that
// dropping a whole message costs nothing and every object is touched once per message.
template <class T>
class SGMreuseList {
public:
  uint32_t count() const { return m_Count; }

  void setCount(uint32_t newCount) {
    if (newCount > m_Count) grow(newCount);
    m_Count = newCount;
  }
  // The object at index count(), counted and cleared: the tokeniser's usual step.
  T& growByOne() {
    if (m_Count < m_Items.size()) {
      T& Item = *m_Items[m_Count++];
      Item.clear();
      return Item;
    }
    makeObjects(m_Count + 1);
    return *m_Items[m_Count++];
  }
  void clear() { setCount(0); }

  T& at(uint32_t index) const {
    COL_PRECONDITION(index < m_Count);
    return *m_Items[index];
  }
  // No check: for callers that have just grown the list.
  T& atUnchecked(uint32_t index) const { return *m_Items[index]; }
  const COLreferencePtr<T>& reference(uint32_t index) const {
    COL_PRECONDITION(index < m_Count);
    return m_Items[index];
  }
  // Deep copy of the counted part.
  void copyFrom(const SGMreuseList& other) {
    setCount(0);
    setCount(other.m_Count);
    for (uint32_t i = 0; i < m_Count; ++i) *m_Items[i] = *other.m_Items[i];
  }

private:
  void grow(uint32_t newCount) {
    const uint32_t Reused = std::min<uint32_t>(newCount, static_cast<uint32_t>(m_Items.size()));
    for (uint32_t i = m_Count; i < Reused; ++i) m_Items[i]->clear();
    if (newCount > m_Items.size()) makeObjects(newCount);
  }
  // Allocation happens only until the list has seen its largest message.
  [[gnu::noinline]] void makeObjects(uint32_t newCount) {
    m_Items.reserve(std::max<size_t>(newCount, m_Items.size() * 2));
    while (m_Items.size() < newCount) m_Items.emplace_back(new T);
  }

  uint32_t m_Count = 0;
  std::vector<COLreferencePtr<T>> m_Items;
};

class SGMsubField : public COLreference {
public:
  SGMsubField() = default;
  SGMsubField(const SGMsubField& other) : COLreference() { m_Values.copyFrom(other.m_Values); }
  SGMsubField& operator=(const SGMsubField& other) {
    if (this != &other) m_Values.copyFrom(other.m_Values);
    return *this;
  }
  ~SGMsubField() override = default;
  COLreference* clone() override { return countOfRef() == 1 ? this : new SGMsubField(*this); }

  uint32_t countOfSubSubField() const { return m_Values.count(); }
  void setCountOfSubSubField(uint32_t count) { m_Values.setCount(count); }
  SGMvalue& value(uint32_t subSubField) const { return m_Values.at(subSubField); }
  const COLreferencePtr<SGMvalue>& valueReference(uint32_t subSubField) const {
    return m_Values.reference(subSubField);
  }
  void clear() { m_Values.clear(); }

private:
  friend class SGPparser;
  SGMreuseList<SGMvalue> m_Values;
};

class SGMfield : public COLreference {
public:
  SGMfield() = default;
  SGMfield(const SGMfield& other) : COLreference() { m_SubFields.copyFrom(other.m_SubFields); }
  SGMfield& operator=(const SGMfield& other) {
    if (this != &other) m_SubFields.copyFrom(other.m_SubFields);
    return *this;
  }
  ~SGMfield() override = default;
  COLreference* clone() override { return countOfRef() == 1 ? this : new SGMfield(*this); }

  uint32_t countOfSubField() const { return m_SubFields.count(); }
  // Every sub field below the new count that has no value gets one, so that a sub field
  // can always be read without a test.
  void setCountOfSubField(uint32_t count);
  uint32_t countOfSubSubField(uint32_t subField) const { return m_SubFields.at(subField).countOfSubSubField(); }
  // A count of 0 becomes 1 with value (s, 0) cleared: a sub field never has zero values.
  void setCountOfSubSubField(uint32_t subField, uint32_t count);
  SGMvalue& value(uint32_t subField, uint32_t subSubField) const {
    return m_SubFields.at(subField).value(subSubField);
  }
  SGMsubField& subField(uint32_t subField) const { return m_SubFields.at(subField); }
  const COLreferencePtr<SGMsubField>& subFieldReference(uint32_t subField) const {
    return m_SubFields.reference(subField);
  }
  void clear() { m_SubFields.clear(); }

private:
  friend class SGPparser;
  // Growth for a list whose counted sub fields all hold a value already (the parser's case):
  // only the new ones need their default.
  void growSubFields(uint32_t count);
  SGMreuseList<SGMsubField> m_SubFields;
};

class SGMfieldRepeats : public COLreference {
public:
  SGMfieldRepeats() = default;
  SGMfieldRepeats(const SGMfieldRepeats& other) : COLreference() { m_Repeats.copyFrom(other.m_Repeats); }
  SGMfieldRepeats& operator=(const SGMfieldRepeats& other) {
    if (this != &other) m_Repeats.copyFrom(other.m_Repeats);
    return *this;
  }
  ~SGMfieldRepeats() override = default;
  COLreference* clone() override { return countOfRef() == 1 ? this : new SGMfieldRepeats(*this); }

  uint32_t countOfFieldRepeat() const { return m_Repeats.count(); }
  void setCountOfFieldRepeat(uint32_t count) { m_Repeats.setCount(count); }
  SGMfield& fieldRepeat(uint32_t repeat) const { return m_Repeats.at(repeat); }
  const COLreferencePtr<SGMfield>& fieldRepeatReference(uint32_t repeat) const {
    return m_Repeats.reference(repeat);
  }
  void clear() { m_Repeats.clear(); }

private:
  friend class SGPparser;
  SGMreuseList<SGMfield> m_Repeats;
};

class SGMsegment : public COLreference {
public:
  SGMsegment() : m_Name(new SGMvalue) {}
  SGMsegment(const SGMsegment& other) : COLreference(), m_Name(new SGMvalue(*other.m_Name)) {
    m_Fields.copyFrom(other.m_Fields);
  }
  SGMsegment& operator=(const SGMsegment& other) {
    if (this != &other) {
      *m_Name = *other.m_Name;
      m_Fields.copyFrom(other.m_Fields);
    }
    return *this;
  }
  ~SGMsegment() override = default;
  COLreference* clone() override { return countOfRef() == 1 ? this : new SGMsegment(*this); }

  SGMvalue& name() const { return *m_Name; }
  const COLreferencePtr<SGMvalue>& nameReference() const { return m_Name; }
  uint32_t countOfField() const { return m_Fields.count(); }
  // Each newly counted field position gets one repeat.
  void setCountOfField(uint32_t count);
  uint32_t countOfFieldRepeat(uint32_t field) const { return m_Fields.at(field).countOfFieldRepeat(); }
  void setCountOfFieldRepeat(uint32_t field, uint32_t count) { m_Fields.at(field).setCountOfFieldRepeat(count); }
  SGMfield& field(uint32_t field, uint32_t repeat) const { return m_Fields.at(field).fieldRepeat(repeat); }
  SGMfieldRepeats& fieldRepeats(uint32_t field) const { return m_Fields.at(field); }
  const COLreferencePtr<SGMfieldRepeats>& fieldRepeatsReference(uint32_t field) const {
    return m_Fields.reference(field);
  }
  void clear() {
    m_Name->clear();
    m_Fields.clear();
  }

private:
  friend class SGPparser;
  COLreferencePtr<SGMvalue> m_Name;
  SGMreuseList<SGMfieldRepeats> m_Fields;
};

class SGMsegmentList : public COLreference {
public:
  SGMsegmentList() = default;
  SGMsegmentList(const SGMsegmentList& other) : COLreference() { m_Segments.copyFrom(other.m_Segments); }
  SGMsegmentList& operator=(const SGMsegmentList& other) {
    if (this != &other) m_Segments.copyFrom(other.m_Segments);
    return *this;
  }
  ~SGMsegmentList() override = default;
  COLreference* clone() override { return countOfRef() == 1 ? this : new SGMsegmentList(*this); }

  uint32_t countOfSegment() const { return m_Segments.count(); }
  void setCountOfSegment(uint32_t count) { m_Segments.setCount(count); }
  SGMsegment& segment(uint32_t index) const { return m_Segments.at(index); }
  const COLreferencePtr<SGMsegment>& segmentReference(uint32_t index) const {
    return m_Segments.reference(index);
  }
  void clear() { m_Segments.clear(); }

private:
  friend class SGPparser;
  SGMreuseList<SGMsegment> m_Segments;
};
