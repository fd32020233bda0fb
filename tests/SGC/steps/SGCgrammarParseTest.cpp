// The parsed tree as a structure of its own, and fault codes without words (where segments
// land and which faults a parse finds are the cases of tests/data/SGC/grammar.test).
#include <gtest/gtest.h>

#include "SGCparseContext.h"

namespace {

TEST(SGCparsedTree, MovingASubtreeRenumbersDepthsAndRemovalRenumbersSiblings) {
  COLreferencePtr<SGCparsedGroup> Root(new SGCparsedGroup(nullptr));
  COLreferencePtr<SGCparsedGroup> Inner(new SGCparsedGroup(nullptr));
  Inner->append(new SGCparsedNotPresent(nullptr));
  Root->append(new SGCparsedNotPresent(nullptr));
  Root->append(Inner);
  Root->append(new SGCparsedNotPresent(nullptr));
  EXPECT_EQ(Inner->child(0)->depth(), 2u);
  std::vector<unsigned> Address;
  SGCparsedGetAddress(Inner->child(0), Address);
  EXPECT_EQ(Address, (std::vector<unsigned>{1, 0}));
  Root->remove(0);
  EXPECT_EQ(Inner->childIndex(), 0u);
  EXPECT_EQ(Root->child(1)->childIndex(), 1u);
  // Walk in pre-order: root, inner, its child, the last placeholder, then the end.
  SGCparsed* Walk = Root.get();
  std::vector<SGCparsed*> Seen;
  while (Walk) {
    Seen.push_back(Walk);
    Walk = SGCparsedGetNextPreOrder(Walk);
  }
  EXPECT_EQ(Seen, (std::vector<SGCparsed*>{Root.get(), Inner.get(), Inner->child(0), Root->child(1)}));
  COLreferencePtr<SGCparsedGroup> Top(new SGCparsedGroup(nullptr));
  Top->append(Root);
  EXPECT_EQ(Inner->child(0)->depth(), 3u);
}

TEST(SGCparsedErrorText, UnknownCodesHaveNoWordsAndCannotBeReported) {
  COLreferencePtr<SGCparsedGroup> Node(new SGCparsedGroup(nullptr));
  SGCparsedError Error(0, nullptr, 7, Node.get(), true);
  EXPECT_EQ(Error.errorString(), nullptr);
  EXPECT_STREQ(SGCparsedError(0, nullptr, 1, Node.get(), true).errorString(), "segment not in grammar");
}

}  // namespace
