#include "SGCerrorPosition.h"

namespace {

bool SGCisHeader(const SGMsegment& segment) { return SGMvalueMatchesCharArray(segment.name(), "MSH", 3); }

}  // namespace

unsigned SGClengthOfSubSubField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField,
                                unsigned subSubField) {
  return segment.field(field, repeat).value(subField, subSubField).length() + 1;
}

unsigned SGClengthOfSubField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField) {
  const SGMsubField& Sub = segment.field(field, repeat).subField(subField);
  const unsigned Count = Sub.countOfSubSubField();
  unsigned Length = 0;
  for (unsigned v = 0; v < Count; ++v) Length += Sub.value(v).length() + 1;
  // The header's field delimiter is printed as the delimiter behind the name, not again.
  if (Length > 0 && field == 0 && repeat == 0 && subField == 0 && SGCisHeader(segment)) --Length;
  return Length;
}

unsigned SGClengthOfField(const SGMsegment& segment, unsigned field, unsigned repeat) {
  const unsigned Count = segment.field(field, repeat).countOfSubField();
  if (Count == 0) return 1;
  unsigned Length = 0;
  for (unsigned s = 0; s < Count; ++s) Length += SGClengthOfSubField(segment, field, repeat, s);
  return Length;
}

unsigned SGClengthOfFieldWithRepeats(const SGMsegment& segment, unsigned field) {
  const unsigned Count = segment.countOfFieldRepeat(field);
  unsigned Length = 0;
  for (unsigned r = 0; r < Count; ++r) Length += SGClengthOfField(segment, field, r);
  return Length;
}

int SGCstartOfField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField,
                    unsigned subSubField) {
  int Start = static_cast<int>(segment.name().length()) + (SGCisHeader(segment) ? 0 : 1);
  for (unsigned f = 0; f < field; ++f) Start += SGClengthOfFieldWithRepeats(segment, f);
  for (unsigned r = 0; r < repeat; ++r) Start += SGClengthOfField(segment, field, r);
  for (unsigned s = 0; s < subField; ++s) Start += SGClengthOfSubField(segment, field, repeat, s);
  for (unsigned v = 0; v < subSubField; ++v) Start += SGClengthOfSubSubField(segment, field, repeat, subField, v);
  return Start;
}

int SGCendOfFieldValue(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField,
                       unsigned subSubField) {
  return SGCstartOfField(segment, field, repeat, subField, subSubField) +
         static_cast<int>(segment.field(field, repeat).value(subField, subSubField).length());
}

int SGCendOfSubField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField) {
  const unsigned Count = segment.field(field, repeat).countOfSubSubField(subField);
  if (Count == 0) return SGCstartOfField(segment, field, repeat, subField, 0);
  return SGCendOfFieldValue(segment, field, repeat, subField, Count - 1);
}

int SGCendOfField(const SGMsegment& segment, unsigned field, unsigned repeat) {
  const unsigned Count = segment.field(field, repeat).countOfSubField();
  if (Count == 0) return SGCstartOfField(segment, field, repeat, 0, 0) + 1;
  return SGCendOfSubField(segment, field, repeat, Count - 1);
}

int SGCendOfSegment(const SGMsegment& segment) {
  const unsigned Count = segment.countOfField();
  if (Count == 0) return static_cast<int>(segment.name().length());
  const unsigned Repeats = segment.countOfFieldRepeat(Count - 1);
  if (Repeats == 0) return SGCstartOfField(segment, Count - 1, 0, 0, 0);
  return SGCendOfField(segment, Count - 1, Repeats - 1);
}
