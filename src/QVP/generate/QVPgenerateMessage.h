// Message generation: a filled table instance back to a flat message of its definition,
// through a typed tree shaped like the message grammar and an untyped tree of escaped text.
// Content faults are recorded on the untyped tree and do not stop generation.
#pragma once

#include "COLstring.h"

class QVMmessageDefinitionInternal;
class QVMtableInternal;
class QVMuntypedMessageTree;
class QVPparseContext;

// The message as text; it lives in the context's last flat wire until the next call.
const char* QVPgenerateMessage(QVPparseContext& Context, unsigned MessageIndex, QVMtableInternal& Table);
const char* QVPgenerateMessage(QVPparseContext& Context, QVMmessageDefinitionInternal* Definition,
                               QVMtableInternal& Table);

// The untyped tree that the flat text is made from, with its fault annotations; `Ok` says
// whether there are any. The outgoing scripts run as in QVPgenerateMessage; the text is not made.
void QVPgenerateMessageTree(QVPparseContext& Context, QVMmessageDefinitionInternal& Definition,
                            QVMtableInternal& Table, QVMuntypedMessageTree& Result, bool& Ok);

// Every fault annotation of `Tree`, one per line as "<address>: <code>: <text>" (addresses
// one-based, repeats after "R"); empty when there is none.
COLstring QVPgenerateFaultReport(const QVMuntypedMessageTree& Tree);
