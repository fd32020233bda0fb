// The current parser's strict segment check, lent to the legacy road: a raw segment of the
// legacy tokeniser is copied into the current parser's segment form and checked there, so both
// roads refuse the same faults with the same report.
#pragma once

#include "COLstring.h"
#include "SGMsegmentList.h"

class QVMparser;
class QVMsegmentGrammar;
class QVMuntypedMessageTree;

// Raw field I becomes field I - 1; values stay in the raw tree's buffer. More than three levels
// below a field raise "Segment too deeply nested.".
void QVJcopyUntypedTreeToSegment(const QVMuntypedMessageTree& Raw, SGMsegment& Segment);
void QVJextractDelimiters(const QVMparser& Parser, SGMseparatorCharacters& Separators);
COLstring QVJuntypedTreeSegmentAsString(const QVMparser& Parser, const QVMuntypedMessageTree& Segment);
// Raises the first content fault of the segment, as the current parser reports it.
void QVJcheckUntypedTreeSegment(const QVMparser& Parser, const QVMuntypedMessageTree& Segment,
                                const QVMsegmentGrammar& Grammar, const COLstring& Text);
