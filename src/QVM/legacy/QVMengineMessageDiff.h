// Two messages side by side, field by field, as rows of an HTML table.
#pragma once

#include "COLstring.h"

class QVMengineInternal;

// Each text goes through the engine's simple parse; the rows mark each field equal or unequal.
COLstring QVMengineInternalMessageDiff(QVMengineInternal& Engine, const char* Left, const char* Right,
                                       unsigned& CountOfDifference);
