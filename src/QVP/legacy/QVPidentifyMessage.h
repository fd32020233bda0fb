// Which message definition a text is, by the legacy parser's simple parse; no typing, no table.
#pragma once

#include "COLstring.h"

class QVMengineInternal;
class QVPparseContext;

// The definition's index, or -1 where none matches.
int QVPidentifyMessage(QVMengineInternal& Engine, QVPparseContext& Context, const COLstring& Message);
