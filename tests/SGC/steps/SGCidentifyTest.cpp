// Message identification after the definitions change: the literal index must give at once
// the answer that trying every definition in order gives (the cases of one fixed definition
// are tests/data/SGC/identify.test).
#include <gtest/gtest.h>

#include "SGCmatch.h"
#include "SGCparseTestSupport.h"
#include "SGPparser.h"

namespace {

class SGCidentify : public ::testing::Test {
protected:
  // The name of the definition chosen for the text, or "-" when none; both ways must agree.
  std::string identified(const std::string& Text) {
    SGMsegmentList List;
    SGMseparatorCharacters Separators;
    EXPECT_EQ(SGPparser().parse(Text.data(), Text.size(), List, Separators, SGPparserOptions()), SGPparsed);
    const unsigned Indexed = SGCmatchMessage(List, *Engine);
    EXPECT_EQ(Indexed, SGCmatchMessageInOrder(List, *Engine)) << Text;
    return Indexed < Engine->countOfMessage() ? Engine->message(Indexed)->name().c_str() : "-";
  }

  COLreferencePtr<QVMengineInternal> Engine;
};

TEST_F(SGCidentify, ChangesOfTheMatchOrderAreSeenAtOnce) {
  Engine = sgctest::built("FIRST MSH-8.0=^ADT$\nSECOND MSH-8.0=^ADT$\nUNANCHORED MSH-8.0=DT");
  const std::string Text = "MSH|^~\\&|||||||ADT^A01";
  EXPECT_EQ(identified(Text), "FIRST");
  // Move SECOND to the front: remove it and insert it before the first position.
  Engine->removeMessageFromMatchOrder(Engine->nextMessage(Engine->firstMessage()));
  Engine->insertMessageInMatchOrder(Engine->firstMessage(), 1);
  EXPECT_EQ(identified(Text), "SECOND");
  Engine->insertMessageInMatchOrder(Engine->firstMessage(), 2);
  EXPECT_EQ(identified(Text), "UNANCHORED");
}

TEST_F(SGCidentify, EditsOfIdentifiersAndDefinitionsAreSeenAtOnce) {
  Engine = sgctest::built("ADT MSH-8.0=^ADT$\nORU MSH-8.0=^ORU$");
  QVMidentifier& Type = *Engine->message(0)->identifier(0);
  EXPECT_EQ(identified("MSH|^~\\&|||||||ORU^R01"), "ORU");
  Type.setValue("^ORU$");
  EXPECT_EQ(identified("MSH|^~\\&|||||||ORU^R01"), "ADT");
  Type.nodeAddress().setNodeIndex(1, 1);
  EXPECT_EQ(identified("MSH|^~\\&|||||||ADT^ORU"), "ADT");
  Engine->setLastMessageMatchesAll(true);
  EXPECT_EQ(identified("MSH|^~\\&|||||||XYZ"), "ORU");
  Engine->deleteMessage(1);
  EXPECT_EQ(identified("MSH|^~\\&|||||||XYZ"), "-");
}

}  // namespace
