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
