// Turns the first content fault of a segment into the COLerror a person reads: the sentence,
// the segment as printed with carets under the offending bytes, and named parameters.
#pragma once

#include "COLerror.h"
#include "SGCerror.h"
#include "SGMsegmentList.h"

// The list must not be empty; only its first entry is reported.  Code 0x80002003.
void QVJstrictGrammarErrorPrepare(COLerror& result, const SGMsegment& segment,
                                  const SGMseparatorCharacters& separators, SGCerrorList& errors);
