// Fuzz target: "Full Tree Validation" XML read back into a message against the example
// definition.  Any input gives a list of faults or a message, never a crash; every fault has
// words (a character beyond U+00FF is one of them), and a document the reader accepts yields a
// message that begins with its header.
#include "COLerror.h"
#include "FUZZsupport.h"
#include "QVMconfig.h"
#include "SGXfromXmlFullTreeValidation.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  static QVMengineInternal& Engine = []() -> QVMengineInternal& {
    FUZZexampleEngine().config().setXmlTranslationType("Full Tree Validation");
    return FUZZexampleEngine();
  }();
  SGXfromXmlFullTreeValidation Reader;
  COLstring Message;
  bool Accepted = false;
  try {
    Accepted = Reader.xmlToHl7(FUZZtext(Data, Size), Engine, Message);
  } catch (const COLerror&) {
    return 0;
  }
  for (const auto& Error : Reader.errorList()) check(!Error->description().empty(), "every fault has words");
  if (Accepted && !Message.empty() && Message.substr(0, 3) != "MSH") {
    __builtin_fprintf(stderr, "an accepted document gave a message without its header: %s\n", Message.c_str());
    std::abort();
  }
  return 0;
}
