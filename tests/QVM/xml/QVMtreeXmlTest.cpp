// What of the tree dialects no definition can choose: "EXPANDED 2.4" is reached only through the
// registry, and reads group paths; a message without identifiers has no "STANDARD" root name.
// The writers hand values through the XML data filter, escaping and refusing as it does.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVMxmlHl7Converter.h"
#include "QVPparseContext.h"

#include "../../support/TSTraised.h"

namespace {

class QVMtreeXml : public ::testing::Test {
protected:
  void SetUp() override {
    QVLloadEngine(*Engine, std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd");
    Context.initParser();
  }
  std::string flat(const char* Dialect, const char* Xml) {
    auto Converter = QVMxmlHl7Converter::getConverter(Dialect);
    Converter->setConfig(&Engine->config());
    QVMuntypedMessageTree Tree;
    unsigned Index = 0;
    Converter->getTree(Xml, *Engine, Context, Index, Tree);
    COLstring Text;
    Tree.makeFlatWire(Text, Engine->config(), 0);
    return Text.c_str();
  }
  COLreferencePtr<QVMengineInternal> Engine{new QVMengineInternal};
  QVPparseContext Context{Engine.get()};
};

TEST_F(QVMtreeXml, Expanded24ReadsGroupsAndSegmentsBehindAGroupPath) {
  EXPECT_EQ(flat("EXPANDED 2.4", "<ADT_A01><MSH><MSH.1>|</MSH.1><MSH.2>^~\\&amp;</MSH.2></MSH><g1R>"
                                 "<g1R.g2R.PID><PID.3><CX.1>7</CX.1><CX.4><HD.1>N</HD.1></CX.4></PID.3>"
                                 "</g1R.g2R.PID><PV1><PV1.2>I</PV1.2></PV1></g1R></ADT_A01>"),
            "MSH|^~\\&|\rPID|||7^^^N\rPV1||I\r");
  // It is only read.
  const COLerror Refused = TSTraised([&] {
    COLstring Out;
    QVMtypedMessageTree Tree;
    QVMxmlHl7Converter::getConverter("STANDARD 2.4")->treeInXml(Tree, Engine->message(0), 0, Out, '.');
  });
  EXPECT_EQ(Refused, COLerror("This format cannot be generated in xml", 0x80000500));
}

TEST_F(QVMtreeXml, StandardNamesItsRootByIdentifiersAndNeedsOne) {
  QVMmessageDefinitionInternal& Message = *Engine->message(0);
  while (Message.countOfIdentifier() > 0) Message.removeIdentifier(0);
  auto Converter = QVMxmlHl7Converter::getConverter("STANDARD");
  Converter->setConfig(&Engine->config());
  QVMtypedMessageTree Tree;
  COLstring Out;
  EXPECT_EQ(TSTraised([&] { Converter->treeInXml(Tree, &Message, Engine->currentConfig(), Out, '.'); }),
            COLerror("XML translation requires at least one message identifier", 0x80000100));
}

// Values pass the XML data filter: markup and Latin-1 bytes escaped, a control byte refused by name.
TEST_F(QVMtreeXml, Standard2EscapesMarkupAndLatin1AndRefusesAControlByte) {
  auto Converter = QVMxmlHl7Converter::getConverter("STANDARD VER 2");
  Converter->setConfig(&Engine->config());
  QVMtypedMessageTree Tree;
  QVMtypedMessageTree& Header = *Tree.makeNodeUpTo(0, 0);
  Header.makeNodeUpTo(2, 0)->setStringValue("A&B<\xE9'\"> ok");
  COLstring Out;
  const auto write = [&] { Converter->treeInXml(Tree, Engine->message(0), Engine->currentConfig(), Out, '.'); };
  write();
  EXPECT_NE(Out.str().find("<MSH.3>A&amp;B&lt;\xC3\xA9&apos;&quot;&gt; ok</MSH.3>"), std::string::npos)
      << Out.c_str();
  Header.node(2, 0)->setStringValue("A\x01");
  const COLerror Refused = TSTraised(write);
  EXPECT_EQ(Refused.description().str().rfind("The value 'A\\x01' cannot be written as XML: ", 0), 0u)
      << Refused.description().c_str();
}

}  // namespace
