// Fuzz target: the table XML reader against the example definition.  Any input either fails
// with an error or fills a table whose printed XML reads back without error.  A row whose
// cells are all empty prints as an element the reader takes as no row, so printing settles
// after one round: from the second print on, reading and printing change nothing.  A message
// whose rows all vanish that way prints no message element at all, and then names no message.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "COLerror.h"
#include "FUZZexampleEngine.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"

namespace {

QVMengineInternal& exampleEngine() {
  static QVMengineInternal* Engine = FUZZloadExampleEngine();
  return *Engine;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  static std::unique_ptr<QVMxmlHl7Converter> Converter = QVMxmlHl7Converter::getConverter("TABLE - Short Tags");
  QVMtableInternal Table;
  unsigned Index = 0;
  try {
    Converter->tableInXml(COLstring(std::string(reinterpret_cast<const char*>(Data), Size)), exampleEngine(), Index,
                          Table);
  } catch (const COLerror&) {
    return 0;
  }
  COLstring Printed[3];
  Converter->outputTableInXml(Printed[0], Table);
  for (int Round = 1; Round < 3; ++Round) {
    QVMtableInternal Again;
    unsigned AgainIndex = 0;
    try {
      Converter->tableInXml(Printed[Round - 1], exampleEngine(), AgainIndex, Again);
    } catch (const COLerror& Error) {
      __builtin_fprintf(stderr, "printed table XML does not read back: %s\n", Error.description().c_str());
      std::abort();
    }
    if (Again.countOfRow() != 0 && AgainIndex != Index) {
      __builtin_fprintf(stderr, "table XML names another message on a round trip\n");
      std::abort();
    }
    Converter->outputTableInXml(Printed[Round], Again);
  }
  if (Printed[1] != Printed[2]) {
    __builtin_fprintf(stderr, "first print:\n%s\n", Printed[0].c_str());
    __builtin_fprintf(stderr, "table XML changed on a round trip:\n%s\n---\n%s\n", Printed[1].c_str(),
                      Printed[2].c_str());
    std::abort();
  }
  return 0;
}
