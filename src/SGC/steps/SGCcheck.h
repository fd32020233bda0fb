// Segment checks: a tokenised segment against its QVMsegmentGrammar (repeats, required
// fields and sub fields, lengths, numbers, date-times, enumeration values).  Every fault goes
// into the error list and checking goes on; only a definition that cannot be applied throws.
// Values are read in place: a segment without faults costs no allocation.
#pragma once

#include "QVMcompositeGrammar.h"
#include "QVMdateTimeGrammar.h"
#include "QVMdateTimeInternal.h"
#include "QVMsegmentGrammar.h"
#include "SGCerror.h"
#include "SGMsegmentList.h"

void SGCcheckSegment(const SGMsegment& segment, unsigned segmentIndex, const QVMsegmentGrammar& grammar,
                     SGCerrorList& errors);
// A missing-field fault for each required grammar field from the segment's field count on.
void SGCcheckForMissingRequiredFields(const SGMsegment& segment, unsigned segmentIndex,
                                      const QVMsegmentGrammar& grammar, SGCerrorList& errors);
// One repeat of one field, typed by `fieldType`.
void SGCcheckField(const SGMsegment& segment, const QVMsegmentGrammar& grammar, const QVMcompositeGrammar& fieldType,
                   unsigned segmentIndex, unsigned field, unsigned repeat, SGCerrorList& errors);
// Sub field `subField`, typed by a composite that is neither a leaf nor simple.
void SGCcheckSubFieldStrictly(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                              const QVMcompositeGrammar& subFieldType, unsigned segmentIndex, unsigned field,
                              unsigned repeat, unsigned subField, SGCerrorList& errors);

// One value against its type and length: value (0, 0) of a simple composite, value
// (subField, 0) of sub field `subField` of `fieldType`, value (subField, subSubField) of
// sub sub field `subSubField` of `subFieldType`.
void SGCvalidateFieldValue(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                           const QVMcompositeGrammar& fieldType, unsigned segmentIndex, unsigned field,
                           unsigned repeat, SGCerrorList& errors);
void SGCvalidateSubfieldValue(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                              const QVMcompositeGrammar& fieldType, unsigned segmentIndex, unsigned field,
                              unsigned repeat, unsigned subField, SGCerrorList& errors);
void SGCvalidateSubSubfieldValue(const SGMsegment& segment, const QVMsegmentGrammar& grammar,
                                 const QVMcompositeGrammar& subFieldType, unsigned segmentIndex, unsigned field,
                                 unsigned repeat, unsigned subField, unsigned subSubField, SGCerrorList& errors);

// True with no sub fields, or one sub field whose first value is empty (or that has none).
bool SGCisFieldEmpty(const SGMfield& field);

// Formats.  An empty value is valid for each.
bool SGCvalidInteger(const SGMvalue& value);
bool SGCvalidDouble(const SGMvalue& value);
bool SGCvalidDateTime(const SGMvalue& value, const QVMdateTimeGrammar& grammar);

// Validate, then convert as atoi / atof would.  An empty date-time gives a default result.
bool SGCextractInteger(const SGMvalue& value, int& result);
bool SGCextractDouble(const SGMvalue& value, double& result);
bool SGCextractDateTime(const SGMvalue& value, const QVMdateTimeGrammar& grammar, QVMdateTimeInternal& result);

// Reads the value by the grammar's mask.  Empty or "" gives a null result and true.  Throws
// 0x80000600 when the text ends before a mask whose fields are all required.
// The legacy parser reads a zone of one digit where only one character is left.
enum class SGCzoneDigits { Two, OneAtEnd };
bool SGCdateTimeGrammarConvertStringToDateTime(const QVMdateTimeGrammar& grammar, const SGMvalue& value,
                                               QVMdateTimeInternal& result, SGCzoneDigits zone = SGCzoneDigits::Two);
