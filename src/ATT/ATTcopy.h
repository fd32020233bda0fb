// ATT: an archive definition (CARC) copied into the model (QVMengineInternal), through the
// model's public operations only.
#pragma once

class CARCengineInternal;
class QVMengineInternal;

// The model is cleared first and gets the archive's configurations by name. A damaged graph
// (a grammar node met twice, a reference of the wrong kind) raises, leaving the model partly
// filled; the caller clears it.
void ATTcopy(CARCengineInternal& archive, QVMengineInternal& engine);
