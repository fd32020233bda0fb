// The half of the segment pass that belongs to segment validation: the checks and the
// unescaping, with the report of the first fault.
#pragma once

#include "SGMsegmentList.h"

class QVMsegmentGrammar;
class SCCescaper;
class SGCparsed;
class SGMstringPool;

// With `Reject`, checks the segment against its grammar, unescapes it strictly into the pool
// and throws the validation error of the first fault; without it, only unescapes, leniently.
// Without `Unescape` the caller knows no value holds the escape character: none is looked at.
void SGCcheckAndReport(const QVMsegmentGrammar& Grammar, SGMsegment& Segment, unsigned SegmentIndex, SGCparsed* Node,
                       SCCescaper& Escaper, bool Hl7Mode, SGMstringPool& Pool,
                       const SGMseparatorCharacters& Separators, bool Reject, bool Unescape = true);
