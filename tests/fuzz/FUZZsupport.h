// What the fuzz targets share: how a broken property stops the run, the input as text, and the
// example definition.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "COLstring.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

// Aborts naming the property, so libFuzzer keeps and prints the input that broke it.
inline void check(bool condition, const char* what) {
  if (!condition) {
    __builtin_fprintf(stderr, "property failed: %s\n", what);
    std::abort();
  }
}

inline COLstring FUZZtext(const uint8_t* data, size_t size) {
  return COLstring(std::string(reinterpret_cast<const char*>(data), size));
}

// The example definition, loaded once per fuzz process and kept for its life: a target must
// not pay a load per input, and the engine must outlive every input's objects.
inline QVMengineInternal& FUZZexampleEngine() {
  static QVMengineInternal* Engine = [] {
    auto* Loaded = new QVMengineInternal;
    Loaded->AddRef();
    QVLloadEngine(*Loaded, MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
    return Loaded;
  }();
  return *Engine;
}
