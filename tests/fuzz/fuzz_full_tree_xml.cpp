// Fuzz target: "Full Tree Validation" XML read back into a message against the example
// definition.  Any input gives a list of faults or a message, never a crash; every fault has
// words (a character beyond U+00FF is one of them), and a document the reader accepts yields a
// message that begins with its header.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "COLerror.h"
#include "FUZZexampleEngine.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "SGXfromXmlFullTreeValidation.h"

namespace {

QVMengineInternal& exampleEngine() {
  static QVMengineInternal* Engine = [] {
    QVMengineInternal* Loaded = FUZZloadExampleEngine();
    Loaded->config().setXmlTranslationType("Full Tree Validation");
    return Loaded;
  }();
  return *Engine;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  SGXfromXmlFullTreeValidation Reader;
  COLstring Message;
  bool Accepted = false;
  try {
    Accepted = Reader.xmlToHl7(COLstring(std::string(reinterpret_cast<const char*>(Data), Size)), exampleEngine(),
                               Message);
  } catch (const COLerror&) {
    return 0;
  }
  for (const auto& Error : Reader.errorList()) {
    if (Error->description().empty()) {
      __builtin_fprintf(stderr, "a fault without words\n");
      std::abort();
    }
  }
  if (Accepted && !Message.empty() && Message.substr(0, 3) != "MSH") {
    __builtin_fprintf(stderr, "an accepted document gave a message without its header: %s\n", Message.c_str());
    std::abort();
  }
  return 0;
}
