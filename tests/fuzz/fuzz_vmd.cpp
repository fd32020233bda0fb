// libFuzzer target for the version-one definition reader: any input either loads or raises a
// COLerror, never crashes; a definition that loads saves, reloads and saves to the same text.
#include <cstdint>
#include <cstdlib>

#include "ANTengine.h"
#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // One engine for the run: its interpreter is expensive to start.  A static object, so it
  // ends (and its sub-interpreter with it) before the interpreter itself at exit.
  static QVMengineInternal engineObject;
  QVMengineInternal* engine = &engineObject;
  try {
    QVLloadEngineFromMemory(*engine, data, size);
  } catch (const COLerror&) {
    return 0;
  }
  COLstring first;
  try {
    first = ANTsaveEngineToString(*engine);
  } catch (const COLerror&) {
    return 0;  // a model the format can't hold without loss is refused, not written
  }
  QVLloadEngineFromMemory(*engine, first.data(), first.size());
  if (ANTsaveEngineToString(*engine).str() != first.str()) std::abort();
  return 0;
}
