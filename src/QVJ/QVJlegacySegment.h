// The current parser's strict segment check, lent to the legacy parser: a raw tree segment is
// copied into an SGMsegment (its values still pointing into the tree), printed or checked there.
// A segment without faults is vouched for in place and never copied.
#pragma once

#include "COLstring.h"

class QVMparser;
class QVMsegmentGrammar;
class QVMuntypedMessageTree;
class SGMsegment;
struct SGMseparatorCharacters;

// Fails with "Segment too deeply nested." where the tree goes below sub sub fields.
void QVJcopyUntypedTreeToSegment(const QVMuntypedMessageTree& Tree, SGMsegment& Segment);
// The delimiters the parser found in the message, as the current parser names them.
void QVJextractDelimiters(const QVMparser& Parser, SGMseparatorCharacters& Separators);

COLstring QVJuntypedTreeSegmentAsString(const QVMparser& Parser, const QVMuntypedMessageTree& Segment);
// The text hook for QVJcheckUntypedTreeSegment, which does not read the text: fails where
// QVJuntypedTreeSegmentAsString would, and neither copies nor prints.
COLstring QVJuntypedTreeSegmentCopyChecked(const QVMparser& Parser, const QVMuntypedMessageTree& Segment);
// True where the strict check finds nothing to report, read from the tree without the copy
// (fast for a clean segment; a faulty one still needs the copy for its report).
bool QVJuntypedTreeSegmentPassesCheck(const QVMuntypedMessageTree& Segment, const QVMsegmentGrammar& Grammar);
// Raises the strict-grammar error (code 0x80002003) of the first fault; `Text` is not part of it.
void QVJcheckUntypedTreeSegment(const QVMparser& Parser, const QVMuntypedMessageTree& Segment,
                                const QVMsegmentGrammar& Grammar, const COLstring& Text);
