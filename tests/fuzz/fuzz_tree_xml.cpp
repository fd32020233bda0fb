// Fuzz target: the tree XML readers.  The first byte picks the dialect ("STANDARD VER 2",
// "EXPANDED 2.4", "Full Tree Validation" read by tag shapes, "STANDARD", "EXPANDED"), the rest
// is the document, read against the example definition.  Any input gives a message or an error
// with words, never a crash, and a message read is written out as flat text.
#include "COLerror.h"
#include "FUZZsupport.h"
#include "QVMconfig.h"
#include "QVMuntypedMessageTree.h"
#include "QVMxmlHl7Converter.h"
#include "QVPparseContext.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  if (Size == 0) return 0;
  static const char* const Dialects[] = {"STANDARD VER 2", "EXPANDED 2.4", "Full Tree Validation", "STANDARD",
                                         "EXPANDED"};
  QVMengineInternal& Engine = FUZZexampleEngine();
  static QVPparseContext& Context = []() -> QVPparseContext& {
    auto* Made = new QVPparseContext(&FUZZexampleEngine());
    Made->initParser();
    return *Made;
  }();
  // One reader per dialect for the whole run, as the parse context keeps them.
  static std::unique_ptr<QVMxmlHl7Converter> Converters[5];
  const unsigned Pick = Data[0] % 5;
  if (!Converters[Pick]) {
    Converters[Pick] = QVMxmlHl7Converter::getConverter(Dialects[Pick]);
    Converters[Pick]->setConfig(&Engine.config());
  }
  QVMuntypedMessageTree Tree;
  unsigned MessageIndex = 7;
  try {
    Converters[Pick]->getTree(FUZZtext(Data + 1, Size - 1), Engine, Context, MessageIndex, Tree);
  } catch (const COLerror& Error) {
    check(!Error.description().empty(), "every refusal has words");
    return 0;
  }
  check(MessageIndex == 7, "no tag of these dialects names a message definition");
  COLstring Flat;
  try {
    Tree.makeFlatWire(Flat, Engine.config(), 0);
  } catch (const COLerror& Error) {
    check(!Error.description().empty(), "every refusal has words");
  }
  return 0;
}
