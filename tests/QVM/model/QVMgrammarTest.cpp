// Enumerations given no text, and node addresses.
#include "QVMgrammarTestSupport.h"

#include "QVMcompositeGrammar.h"
#include "QVMenumerationGrammar.h"
#include "QVMmessageNodeAddress.h"

#include "../../support/TSTraised.h"

// Composite kinds, copies, printing and enumeration items as edits: tests/data/QVM/edit/grammar.test.
TEST(QVMgrammarEnumeration, NoTextIsNoItem) {
  QVMenumerationGrammar grammar;
  grammar.addEnumItem();
  grammar.setEnumItem(0, "B");
  EXPECT_TRUE(grammar.isValid(COLstring("B")));
  EXPECT_FALSE(grammar.isValid(static_cast<const char*>(nullptr)));
}

// What the edit steps cannot name: a null composite, the flags of a fresh field.
TEST(QVMgrammarComposite, NoCompositeAndFreshFlags) {
  QVMcompositeGrammar composite;
  QVMcompositeGrammarAddField(composite);
  EXPECT_FALSE(composite.fieldIsLengthRestricted(0));
  EXPECT_FALSE(composite.fieldIsRequired(0));
  EXPECT_EQ(TSTerrorText([&] { composite.setFieldCompositeType(0, nullptr); }), "Failed precondition: pNewValue != NULL");
}

TEST(QVMgrammarNodeAddress, GrowthAndSteps) {
  QVMmessageNodeAddress address;
  EXPECT_EQ(address.depth(), 0u);
  address.pop_back();
  EXPECT_EQ(address.depth(), 0u);
  address.setNodeAndRepeatIndex(2, 5, 1);
  ASSERT_EQ(address.depth(), 3u);
  EXPECT_EQ(address.nodeIndex(0), 0u);
  EXPECT_EQ(address.nodeIndex(2), 5u);
  EXPECT_EQ(address.repeatIndex(1), 0u);
  EXPECT_EQ(address.repeatIndex(2), 1u);
  address.setRepeatIndex(4, 9);
  EXPECT_EQ(address.depth(), 5u);
  EXPECT_EQ(address.nodeIndex(4), 0u);
  address.setDepth(2);
  EXPECT_EQ(address.depth(), 2u);
  address.pop_back();
  EXPECT_EQ(address.depth(), 1u);
  EXPECT_EQ(TSTerrorText([&] { address.nodeIndex(1); }), "Failed precondition: Index < depth()");
  address.clear();
  EXPECT_EQ(address, QVMmessageNodeAddress());
}

TEST(QVMgrammarNodeAddress, EqualityComparesEveryStep) {
  QVMmessageNodeAddress a, b;
  a.setNodeAndRepeatIndex(1, 3, 0);
  b.setNodeIndex(1, 3);
  EXPECT_EQ(a, b);
  b.setRepeatIndex(0, 1);
  EXPECT_NE(a, b);
  b.setRepeatIndex(0, 0);
  b.setDepth(3);
  EXPECT_NE(a, b);
}

TEST(QVMgrammarNodeAddress, CopyAddressTakesAWindowOfTheSource) {
  QVMmessageNodeAddress source;
  for (uint32_t k = 0; k < 4; ++k) source.setNodeAndRepeatIndex(k, 10 + k, 20 + k);
  QVMmessageNodeAddress target;
  target.setNodeAndRepeatIndex(0, 1, 2);
  target.copyAddress(1, 1, source, 1);  // steps 1 and 2 of the source
  ASSERT_EQ(target.depth(), 3u);
  EXPECT_EQ(target.nodeIndex(0), 1u);
  EXPECT_EQ(target.nodeIndex(1), 11u);
  EXPECT_EQ(target.repeatIndex(2), 22u);
  // Nothing to copy leaves it as it was.
  target.copyAddress(0, 3, source, 1);
  target.copyAddress(0, 0, source, 9);
  EXPECT_EQ(target.depth(), 3u);
  EXPECT_EQ(target.nodeIndex(0), 1u);
  // Copying from itself shifts safely.
  source.copyAddress(1, 0, source, 0);
  ASSERT_EQ(source.depth(), 5u);
  EXPECT_EQ(source.nodeIndex(1), 10u);
  EXPECT_EQ(source.nodeIndex(4), 13u);
}
