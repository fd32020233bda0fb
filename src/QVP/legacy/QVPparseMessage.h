// The legacy parser's whole road for one message: raw parse, identification, typing,
// arrangement by the message grammar, and the table.
#pragma once

#include "COLstring.h"
#include "QVMsegmentChecker.h"

class QVMtableInternal;
class QVPparseContext;

// `CheckFunction` is required: the strict check of a raw segment by the current parser's rules.
void QVPengineInternalParseMessage(QVPparseContext& Context, const COLstring& Message, unsigned& MessageIndex,
                                   QVMtableInternal& Table, QVMsegmentAsStringFunction AsStringFunction,
                                   QVMcheckUntypedSegmentFunction CheckFunction);

// The same road up to the message laid onto its grammar, the context's structured message,
// without a table: what the tree XML dialects print.  `Version` 0 types every segment first
// (checker 2); any other places one segment at a time (checker 3).  Returns the message index.
unsigned QVPengineInternalStructureMessage(QVPparseContext& Context, const COLstring& Message, unsigned Version,
                                           QVMsegmentAsStringFunction AsStringFunction,
                                           QVMcheckUntypedSegmentFunction CheckFunction);
