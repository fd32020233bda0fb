// Fuzz target: the table XML reader against the example definition.  Any input either fails
// with an error or fills a table whose printed XML reads back without error, names the same
// message, and prints the same again: every element the writer prints is a row the reader keeps,
// so printing settles at once, and 8-bit values go out as UTF-8 and come back as the same bytes.
// Printing cannot refuse such a table: what the reader stores holds no byte XML cannot carry.
#include "COLerror.h"
#include "FUZZsupport.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  static std::unique_ptr<QVMxmlHl7Converter> Converter = QVMxmlHl7Converter::getConverter("TABLE - Short Tags");
  QVMtableInternal Table;
  unsigned Index = 0;
  try {
    Converter->tableInXml(FUZZtext(Data, Size), FUZZexampleEngine(), Index, Table);
  } catch (const COLerror&) {
    return 0;
  }
  COLstring Printed[2];
  Converter->outputTableInXml(Printed[0], Table);
  QVMtableInternal Again;
  unsigned AgainIndex = 0;
  try {
    Converter->tableInXml(Printed[0], FUZZexampleEngine(), AgainIndex, Again);
  } catch (const COLerror& Error) {
    __builtin_fprintf(stderr, "printed table XML does not read back: %s\n", Error.description().c_str());
    std::abort();
  }
  check(Again.countOfRow() == 0 || AgainIndex == Index, "table XML names the same message on a round trip");
  Converter->outputTableInXml(Printed[1], Again);
  if (Printed[0] != Printed[1]) {
    __builtin_fprintf(stderr, "table XML changed on a round trip:\n%s\n---\n%s\n", Printed[0].c_str(),
                      Printed[1].c_str());
    std::abort();
  }
  return 0;
}
