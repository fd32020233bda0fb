// CTT: copies between the reflected definition (QVT, configurations as versions of one tree)
// and the model (QVMengineInternal).  Reads and writes the model only through its public
// operations; knows nothing of files.
#pragma once

class QVMengineInternal;
class QVTengineInternal;

// The model gets configuration N from version N of the reflected tree.  The model is cleared
// first; a failure raises and leaves it partly filled.  The reflected engine ends on the
// configuration it started on.
void CTTcopy(QVTengineInternal& reflected, QVMengineInternal& engine);
// The other way, for writing a reflected binary file: the reflected engine is cleared and
// gets one version per configuration, what configurations share stored once.  The model
// ends on the configuration it started on.
void CTTcopy(QVMengineInternal& engine, QVTengineInternal& reflected);
