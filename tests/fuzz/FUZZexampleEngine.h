// The example definition, loaded once per fuzz process and kept for its life: a target must
// not pay a load per input, and the engine must outlive every input's objects.
#pragma once

#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

inline QVMengineInternal* FUZZloadExampleEngine() {
  auto* Loaded = new QVMengineInternal;
  Loaded->AddRef();
  QVLloadEngine(*Loaded, MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
  return Loaded;
}
