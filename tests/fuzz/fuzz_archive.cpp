// libFuzzer target for the archive definition reader. An input is an archive file, read from
// memory as the library reads one; any input either loads or raises a COLerror, never crashes
// or hangs. A definition that loads, copied back into an archive and written, loads again to
// the same version-one text.
#include <cstdint>
#include <memory>

#include "ANTengine.h"
#include "CARCengineInternal.h"
#include "COLerror.h"
#include "FUZZsupport.h"
#include "TTAcopy.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // One model for the run: its interpreter is expensive to start.
  static QVMengineInternal engineObject;
  QVMengineInternal& engine = engineObject;
  try {
    QVLloadEngineFromMemory(engine, data, size);
  } catch (const COLerror&) {
    return 0;
  }
  const std::optional<std::string> first = FUZZversionOneText(engine);
  if (!first) return 0;
  std::unique_ptr<unsigned char[]> file;
  size_t fileSize = 0;
  {
    CARCengineInternal archive;
    TTAcopy(engine, archive);
    archive.saveToMemory(file, fileSize);
  }
  QVLloadEngineFromMemory(engine, file.get(), fileSize);
  check(ANTsaveEngineToString(engine).str() == *first, "a definition read back from its own file is the same");
  return 0;
}
