// Where an item of a tokenised segment stands in the segment's printed text (as
// SGMoutputSegment writes it): zero-based byte offsets, worked out only when an error is
// shown.  Each length includes the one delimiter that follows the item.  In "MSH" the field
// delimiter is field 0 itself, so that segment's offsets are one less than the name suggests.
#pragma once

#include "SGMsegmentList.h"

unsigned SGClengthOfSubSubField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField,
                                unsigned subSubField);
unsigned SGClengthOfSubField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField);
unsigned SGClengthOfField(const SGMsegment& segment, unsigned field, unsigned repeat);
unsigned SGClengthOfFieldWithRepeats(const SGMsegment& segment, unsigned field);

// Offset of the first byte of value (subField, subSubField) of repeat `repeat` of `field`.
int SGCstartOfField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField,
                    unsigned subSubField);
// One past the value's last byte.
int SGCendOfFieldValue(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField,
                       unsigned subSubField);
int SGCendOfSubField(const SGMsegment& segment, unsigned field, unsigned repeat, unsigned subField);
int SGCendOfField(const SGMsegment& segment, unsigned field, unsigned repeat);
int SGCendOfSegment(const SGMsegment& segment);
