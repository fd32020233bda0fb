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

// Each engine hears of the edits of its own identifiers, by whatever route, and of no other's:
// one engine's edit must not make every other engine build its index again.
TEST_F(SGCidentify, EditsReachTheEngineTheIdentifierBelongsToAndNoOther) {
  COLreferencePtr<QVMengineInternal> Other = sgctest::built("ADT MSH-8.0=^ADT$\nORU MSH-8.0=^ORU$");
  Engine = sgctest::built("ADT MSH-8.0=^ADT$\nORU MSH-8.0=^ORU$");
  const auto heard = [](QVMengineInternal& On, auto&& Edit) {
    const uint64_t Before = On.planGeneration();
    Edit();
    return On.planGeneration() != Before;
  };
  QVMmessageDefinitionInternal& Oru = *Engine->message(1);
  EXPECT_TRUE(heard(*Engine, [&] { Oru.setIdentifierSegment(0, "PID"); }));
  EXPECT_TRUE(heard(*Engine, [&] { Oru.identifier(0)->setSegment("MSH"); }));
  EXPECT_TRUE(heard(*Engine, [&] { Oru.setIdentifierValue(0, "^ORU$"); }));
  EXPECT_TRUE(heard(*Engine, [&] { Oru.identifierAddress(0); }));
  EXPECT_TRUE(heard(*Engine, [&] { Oru.insertIdentifierAt(1); }));
  EXPECT_TRUE(heard(*Engine, [&] { Oru.identifier(1)->setValue("x"); }));
  EXPECT_TRUE(heard(*Engine, [&] { Oru.removeIdentifier(1); }));
  EXPECT_TRUE(heard(*Engine, [&] { Engine->setLastMessageMatchesAll(true); }));
  EXPECT_FALSE(heard(*Engine, [&] {
    Other->message(1)->setIdentifierValue(0, "^XYZ$");
    Other->setLastMessageMatchesAll(true);
  }));

  // Identifiers copied in with a whole record belong to the record's message from then on: an
  // index built after the copy sees their later edits.
  Engine->setLastMessageMatchesAll(false);
  const std::string Text = "MSH|^~\\&|||||||ORU^R01";
  EXPECT_EQ(identified(Text), "ORU");
  Oru.currentConfig() = Engine->message(0)->currentConfig();
  EXPECT_EQ(identified(Text), "-");
  EXPECT_TRUE(heard(*Engine, [&] { Oru.identifier(0)->setValue("^ORU$"); }));
  EXPECT_EQ(identified(Text), "ORU");
}

}  // namespace
