// libFuzzer target for the reflected binary definition reader.  An input that starts with the
// file id is a whole file (frame and compressed payload); any other input is taken as the
// payload after decompression, so that mutations reach the stream reader and the copy into the
// model.  Any input either loads or raises a COLerror, never crashes or hangs; a definition that
// loads, copied back and written, loads again to the same version-one text.
#include <cstdint>
#include <mutex>

#include "ANTengine.h"
#include "COLerror.h"
#include "CTTcopy.h"
#include "FUZZsupport.h"
#include "QVTengineInternal.h"
#include "TREbinary.h"

namespace {
void loadInput(QVTengineInternal& reflected, const uint8_t* data, size_t size) {
  if (size >= 4 && data[0] == 0x54 && data[1] == 0x52 && data[2] == 0x45 && data[3] == 0xFF) {
    QVTloadTreBinVmdBytes(reflected, data, size);
    return;
  }
  std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
  try {
    reflected.vmdInstance().clear();
    TREsinkBinary::read(reflected.vmdComplexInstance(), data, size);
    reflected.postLoad();
  } catch (...) {
    reflected.clearInstance();
    throw;
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // One model for the run: its interpreter is expensive to start.
  static QVMengineInternal engineObject;
  QVMengineInternal& engine = engineObject;
  QVTengineInternal reflected;
  try {
    loadInput(reflected, data, size);
    CTTcopy(reflected, engine);
    engine.postLoad();
  } catch (const COLerror&) {
    return 0;
  }
  const std::optional<std::string> first = FUZZversionOneText(engine);
  if (!first) return 0;
  COLstring file;
  CTTcopy(engine, reflected);
  QVTsaveTreBinVmdBytes(reflected, file);
  QVTengineInternal again;
  QVTloadTreBinVmdBytes(again, file.data(), file.size());
  CTTcopy(again, engine);
  engine.postLoad();
  check(ANTsaveEngineToString(engine).str() == *first, "a definition read back from its own file is the same");
  return 0;
}
