// Unescaping of a checked segment: each value holding escape sequences is replaced by its
// plain text, copied into the message's string pool.  Values without escapes keep pointing
// into the message and cost nothing.
#pragma once

#include "QVMsegmentGrammar.h"
#include "SCCescaper.h"
#include "SGCerror.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"

// In HL7 mode fields 0 and 1 of the first segment (the delimiters) are left alone.  A bad
// sequence (only raised with `strict`) becomes an escape fault in `errors`, and the value
// keeps its raw bytes.  Without a pool nothing is changed.
void SGCunescapeSegment(SCCescaper& escaper, bool firstSegment, bool hl7Mode, SGMsegment& segment,
                        unsigned segmentIndex, const QVMsegmentGrammar& grammar, SGMstringPool* pool,
                        SGCerrorList& errors, bool strict);
// Finds the escape faults of a segment and changes nothing.
void SGCtryUnescapeSegment(SCCescaper& escaper, bool firstSegment, bool hl7Mode, SGMsegment& segment,
                           unsigned segmentIndex, const QVMsegmentGrammar& grammar, SGCerrorList& errors);
