// The legacy parser keeps its tree from message to message: the text buffer and the nodes are
// reused, and nothing a segment was told in one message survives into the next.
#include <gtest/gtest.h>

#include "COLbuffer.h"
#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"
#include "QVPparseMessage.h"

#include "../../support/TSTcountingNew.h"

TEST(QVMlegacyParserReuse, ABufferAndNodesServeTheNextMessageWhichKeepsNoOldLabels) {
  COLreferencePtr<QVMengineInternal> Engine = new QVMengineInternal;
  ASSERT_EQ(QVLloadEngine(*Engine, MSGBRIDGE_SOURCE_DIR "/tests/data/QVM/legacy/legacy.vmd"), QVLvmdTypeXml);
  QVPparseContext Context(Engine.get());
  QVMuntypedMessageTree& Raw = Context.rawSegmentList();
  unsigned Index = 0;
  const COLstring Long = "MSH|^~\\&|APP|LEN\rPID|1|ID1^2^NS&UNI|Doe^Jane|202401011200|70|TEXT OF SOME LENGTH\r";
  QVMengineInternalSimpleParse(*Engine, Context, Long, Raw, Index);
  EXPECT_EQ(Raw.node(1, 0)->getLabel(), "PID");
  const COLbuffer* Buffer = Raw.getBuffer();
  const int64_t Nodes = QVMuntypedMessageTree::totalNodeCount();

  QVMengineInternalSimpleParse(*Engine, Context, "MSH|^~\\&|APP|LEN\rXYZ|1\r", Raw, Index);
  EXPECT_EQ(Raw.getBuffer(), Buffer);
  EXPECT_EQ(Raw.node(1, 0)->getLabel(), "");
  EXPECT_EQ(Raw.node(1, 0)->segmentGrammar(), nullptr);
  QVMengineInternalSimpleParse(*Engine, Context, Long, Raw, Index);
  EXPECT_EQ(Raw.getBuffer(), Buffer);
  EXPECT_EQ(QVMuntypedMessageTree::totalNodeCount(), Nodes);
  EXPECT_STREQ(Raw.node(1, 0)->node(6, 0)->getValue(), "TEXT OF SOME LENGTH");
}

// Checker 3 lays each typed segment into the structured message by sharing it.  The next message
// must find every typed segment free again, wherever the last one placed it: a warm parse
// allocates nothing, with texts longer than a short string's own room among its values.
TEST(QVMlegacyParserReuse, TypedSegmentsPlacedAsRepeatsServeTheNextMessage) {
  COLreferencePtr<QVMengineInternal> Engine = new QVMengineInternal;
  QVLloadEngine(*Engine, MSGBRIDGE_SOURCE_DIR "/definitions/hl7v2.5.1.vmd");
  Engine->setRejectBadSegmentGrammar(false);
  QVPparseContext Context(Engine.get());
  // An ORU^R01 and an ADT^A01 of examples/hl7v2.5.1_sample.hl7, shortened, in turns: each
  // finds the typed segments at other places than the last message left them.
  const COLstring Adt =
      "MSH|^~\\&|ADTSYS|RIVERSIDE|HUBLINK|RIVERSIDE|20240506081522||ADT^A01^ADT_A01|RMC00001|P|2.5.1\r"
      "EVN|A01|20240506081522\r"
      "PID|1||RM200311^^^RMC^MR||Lindqvist-Abernathy-Featherstonehaugh^Margit||19580314|F\r"
      "PV1|1|I|4W^412^A^RMC\r"
      "OBX|1|NM|8302-2^Body height^LN||168|cm\r"
      "OBX|2|NM|29463-7^Body weight^LN||71.4|kg\r";
  const COLstring Oru =
      "MSH|^~\\&|LABSYS|RMC_LAB|HUBLINK|RIVERSIDE|20240506131510||ORU^R01^ORU_R01|RMC0000105|P|2.5.1\r"
      "PID|1||RM200613^^^RMC^MR||Moreau^Celine||19450930|F\r"
      "PV1|1|I|3E^305^A^RMC\r"
      "ORC|RE|ORD448120^RMC_EHR|LAB889310^RMC_LAB||CM\r"
      "OBR|1|ORD448120^RMC_EHR|LAB889310^RMC_LAB|58410-2^CBC panel - Blood by Automated count^LN|||20240506124500\r"
      "OBX|1|NM|6690-2^Leukocytes [#/volume] in Blood^LN||13.8|10*3/uL^^UCUM|4.0-11.0|H|||F|||20240506124500\r"
      "OBX|2|NM|718-7^Hemoglobin [Mass/volume] in Blood^LN||13.9|g/dL^^UCUM|13.5-17.5|N|||F|||20240506124500\r"
      "NTE|1|L|Specimen received at 12:52, processed within 30 minutes.\r";
  const auto Parse = [&](const COLstring& Message) {
    Context.initParser();
    QVPengineInternalStructureMessage(Context, Message, QVMparserSegmentChecker3, nullptr,
                                      [](const QVMparser&, const QVMuntypedMessageTree&, const QVMsegmentGrammar&,
                                         const COLstring&) {});
  };
  try {
    for (int Turn = 0; Turn < 2; ++Turn) {
      Parse(Oru);
      Parse(Adt);
    }
  } catch (const COLerror& Error) {
    FAIL() << Error.description().str();
  }
  const long Before = CountOfAllocation.load();
  Parse(Oru);
  Parse(Adt);
  Parse(Oru);
  EXPECT_EQ(CountOfAllocation.load() - Before, 0);
  const QVMtypedMessageTree& Typed = Context.typedSegmentList();
  ASSERT_EQ(Typed.countOfSubNode(), 8u);
  EXPECT_EQ(Typed.node(6, 0)->getLabel(), "OBX");
  // OBX-5 varies with OBX-2: its first component holds the number, as the first of its
  // sub-components.
  EXPECT_EQ(Typed.node(6, 0)->node(4, 0)->node(0, 0)->node(0, 0)->getAsStringValue(), "13.9");
}
