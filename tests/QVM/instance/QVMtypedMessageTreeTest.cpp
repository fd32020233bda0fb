// Typed message trees: strict typed values, growth without and with makeNodeUpTo, repeats,
// present marks up to the root, emptiness of subtrees, reuse after clear, address walks.
#include <gtest/gtest.h>

#include "COLdateTime.h"
#include "QVMdateTimeInternal.h"
#include "QVMgrammarTestSupport.h"
#include "QVMmessageNodeAddress.h"
#include "QVMtypedMessageTree.h"

#include "../../support/TSTraised.h"

TEST(QVMtypedMessageTree, ValuesAreStrictlyTypedButAllPrintAsText) {
  COLreferencePtr<QVMtypedMessageTree> leaf = new QVMtypedMessageTree;
  EXPECT_TRUE(leaf->isNull());
  EXPECT_EQ(leaf->dataType(), QVMintegerType);
  EXPECT_EQ(leaf->dataPresent(), 2u);
  EXPECT_EQ(TSTerrorText([&] { leaf->getIntegerValue(); }), "Failed precondition: pMember->IsNull == false");
  leaf->setStringValue("12");
  EXPECT_EQ(leaf->getStringValue(), "12");
  EXPECT_EQ(TSTerrorText([&] { leaf->getIntegerValue(); }),
            "Failed precondition: pMember->pType->type() == QVMintegerType");
  leaf->setIntegerValue(-3);
  EXPECT_EQ(leaf->getAsStringValue(), "-3");
  EXPECT_EQ(TSTerrorText([&] { leaf->getStringValue(); }),
            "Failed precondition: pMember->pType->type() == QVMstringType");
  leaf->setDoubleValue(0.5);
  EXPECT_EQ(leaf->getDoubleValue(), 0.5);
  EXPECT_EQ(leaf->getAsStringValue(), "0.500000");
  leaf->setDateTimeValue(COLdateTime(2010, 7, 8, 9, 10, 11));
  EXPECT_EQ(leaf->getDateTimeValue().minute(), 10);
  EXPECT_EQ(leaf->getAsStringValue(), QVMprinted(COLdateTime(2010, 7, 8, 9, 10, 11)));
  EXPECT_EQ(TSTerrorText([&] { leaf->getDoubleValue(); }),
            "Failed precondition: pMember->pType->type() == QVMdoubleType");
  leaf->setStringValue("");
  EXPECT_FALSE(leaf->isNull());
  EXPECT_EQ(leaf->getStringValue(), "");
  leaf->setDataPresent(3);
  EXPECT_EQ(leaf->dataPresent(), 3u);
}

TEST(QVMtypedMessageTree, OnlyMakeNodeUpToGrowsAndMarksTheNodeNonNull) {
  COLreferencePtr<QVMtypedMessageTree> root = new QVMtypedMessageTree;
  EXPECT_EQ(TSTerrorText([&] { root->node(0, 0); }), "Failed precondition: SubNodeIndex < countOfSubNode()");
  QVMtypedMessageTree* repeat = root->makeNodeUpTo(2, 2);
  EXPECT_FALSE(root->isNull());
  EXPECT_EQ(root->countOfSubNode(), 3u);
  EXPECT_EQ(root->node(2, 0)->countOfRepeat(), 3u);
  EXPECT_EQ(root->node(2, 2), repeat);
  EXPECT_EQ(repeat->parent(), root.get());
  EXPECT_EQ(root->node(0, 0)->parent(), root.get());
  EXPECT_EQ(TSTerrorText([&] { root->node(2, 3); }),
            "Failed precondition: RepeatIndex < pMember->subNode()[SubNodeIndex]->countOfRepeat()");

  QVMtypedMessageTree* added = root->addNode();
  EXPECT_EQ(root->countOfSubNode(), 4u);
  EXPECT_EQ(added->parent(), root.get());
  QVMtypedMessageTree* field = root->node(1, 0);
  field->makeRepeatNodeUpTo(3);
  EXPECT_EQ(field->countOfRepeat(), 3u);
  EXPECT_EQ(field->getRepeatedNode(2)->parent(), root.get());
  field->removeLastRepeat();
  EXPECT_EQ(field->countOfRepeat(), 2u);
  EXPECT_EQ(TSTerrorText([&] { field->getRepeatedNode(2); }),
            "Failed precondition: NodeIndex <= pMember->repeatNode().size()");

  // A null node with sub-nodes breaks the invariant.
  root->setNull();
  EXPECT_EQ(TSTerrorText([&] { root->isNull(); }),
            "Failed precondition: !(pMember->IsNull == true && countOfSubNode() > 0)");
}

TEST(QVMtypedMessageTree, PresentMarksEmptinessAndReuse) {
  COLreferencePtr<QVMtypedMessageTree> root = new QVMtypedMessageTree;
  QVMtypedMessageTree* leaf = root->makeNodeUpTo(0, 0)->makeNodeUpTo(1, 1);
  EXPECT_TRUE(root->isSubTreeEmpty());
  leaf->setIntegerValue(4);
  EXPECT_FALSE(root->isSubTreeEmpty());
  leaf->setIsPresentUpToRoot(true);
  EXPECT_TRUE(root->isPresent());
  EXPECT_TRUE(root->node(0, 0)->isPresent());
  EXPECT_FALSE(root->node(0, 0)->node(0, 0)->isPresent());

  const int64_t live = QVMtypedMessageTree::totalNodeCount();
  QVMtypedMessageTree* kept = root->node(0, 0);
  root->clear();
  EXPECT_TRUE(root->isNull());
  EXPECT_EQ(root->countOfSubNode(), 0u);
  EXPECT_EQ(root->makeNodeUpTo(0, 0), kept);
  EXPECT_EQ(kept->countOfSubNode(), 0u);
  EXPECT_TRUE(kept->isNull());
  EXPECT_FALSE(kept->isPresent());
  EXPECT_EQ(QVMtypedMessageTree::totalNodeCount(), live);

  COLreferencePtr<QVMtypedMessageTree> other = new QVMtypedMessageTree;
  other->setStringValue("shared");
  kept->replaceNode(*other);
  EXPECT_EQ(kept->getStringValue(), "shared");
  other->setStringValue("changed");
  EXPECT_EQ(kept->getStringValue(), "changed");
}

TEST(QVMtypedMessageTree, AddressWalksGrowOrStopAtTheEdge) {
  COLreferencePtr<QVMtypedMessageTree> root = new QVMtypedMessageTree;
  QVMmessageNodeAddress address;
  address.setNodeAndRepeatIndex(0, 1, 0);
  address.setNodeAndRepeatIndex(1, 2, 1);
  const QVMtypedMessageTree& constant = *root;
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address, constant, 0), nullptr);
  QVMtypedMessageTree* made = QVMmessageNodeAddressGetSubNode(address, *root, 0);
  made->setStringValue("v");
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address, constant, 0), made);
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address, constant, 2), root.get());
  // Deeper than the tree: a leaf is its own first component.
  address.setNodeAndRepeatIndex(2, 0, 0);
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address, constant, 0), made);
  address.setNodeAndRepeatIndex(2, 1, 0);
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address, constant, 0), nullptr);
  EXPECT_EQ(TSTerrorText([&] { QVMmessageNodeAddressGetSubNode(address, constant, 4); }),
            "Failed precondition: Level <= NodeAddress.depth()");
}
