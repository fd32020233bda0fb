// What the fuzz targets share: how a broken property stops the run, the input as text, the
// example definition and a model's version-one text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "ANTengine.h"
#include "COLerror.h"
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

// The model's version-one text, or nothing for a model that kind can't hold: such a model is
// not compared.
inline std::optional<std::string> FUZZversionOneText(QVMengineInternal& engine) {
  try {
    return ANTsaveEngineToString(engine).str();
  } catch (const COLerror&) {
    return std::nullopt;
  }
}
