// The legacy parser keeps its tree from message to message: the text buffer and the nodes are
// reused, and nothing a segment was told in one message survives into the next.
#include <gtest/gtest.h>

#include "COLbuffer.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"

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
