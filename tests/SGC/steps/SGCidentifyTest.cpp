// Message identification: the match order decides, only the first segment of a name is
// read, addresses pick repeats and sub fields, and the literal index always gives the answer
// that trying every definition in order gives, also after the definitions change.
#include <gtest/gtest.h>

#include "QVMidentifier.h"
#include "SGCmatch.h"
#include "SGCparseTestSupport.h"

using namespace sgctest;

namespace {

class SGCidentify : public ::testing::Test {
protected:
  SGCidentify() : Engine(new QVMengineInternal) {}

  // A definition identified by one pattern at (field, repeat[, sub field]) of a segment.
  QVMidentifier& define(const char* Name, const char* Pattern, uint32_t Field, uint32_t Repeat = 0,
                        int SubField = -1, const char* Segment = "MSH") {
    QVMmessageDefinitionInternal& Message = addMessage(*Engine, Name);
    seg(*Engine, Message.messageGrammar(), "MSH");
    return identify(Message, Pattern, Field, Repeat, SubField, Segment);
  }
  QVMidentifier& identify(QVMmessageDefinitionInternal& Message, const char* Pattern, uint32_t Field,
                          uint32_t Repeat = 0, int SubField = -1, const char* Segment = "MSH") {
    QVMidentifier& Identifier = *Message.insertIdentifierAt(Message.countOfIdentifier());
    Identifier.setSegment(Segment);
    Identifier.setValue(Pattern);
    Identifier.nodeAddress().setNodeAndRepeatIndex(0, Field, Repeat);
    if (SubField >= 0) Identifier.nodeAddress().setNodeAndRepeatIndex(1, static_cast<uint32_t>(SubField), 0);
    return Identifier;
  }
  void initOrder() { QVMengineInitMessageOrder(*Engine); }

  // The name of the definition chosen for the text, or "-" when none; both ways must agree.
  std::string identified(const std::string& Text) {
    Texts.push_back(Text);
    SGMsegmentList List;
    tokenise(Texts.back(), List);
    const unsigned Indexed = SGCmatchMessage(List, *Engine);
    const unsigned InOrder = SGCmatchMessageInOrder(List, *Engine);
    EXPECT_EQ(Indexed, InOrder) << Text;
    return Indexed < Engine->countOfMessage() ? Engine->message(Indexed)->name().c_str() : "-";
  }

  COLreferencePtr<QVMengineInternal> Engine;
  std::vector<std::string> Texts;
};

TEST_F(SGCidentify, NothingMatchesWithoutDefinitionsOrIdentifiers) {
  EXPECT_EQ(identified("MSH|^~\\&|A"), "-");
  addMessage(*Engine, "NO_IDENTIFIER");
  initOrder();
  EXPECT_EQ(identified("MSH|^~\\&|A"), "-");
  // Only as the message that matches all can it be reached.
  QVMengineSetIgnoreMessageIndex(*Engine, 0u);
  EXPECT_EQ(identified("MSH|^~\\&|A"), "NO_IDENTIFIER");
}

TEST_F(SGCidentify, TheEarlierInMatchOrderWinsWhateverTheOrderOfDefinition) {
  define("FIRST", "^ADT$", 8, 0, 0);
  define("SECOND", "^ADT$", 8, 0, 0);
  define("UNANCHORED", "DT", 8, 0, 0);
  initOrder();
  const std::string Text = "MSH|^~\\&|||||||ADT^A01";
  EXPECT_EQ(identified(Text), "FIRST");
  // Move SECOND to the front: remove it and insert it before the first position.
  auto Position = Engine->nextMessage(Engine->firstMessage());
  Engine->removeMessageFromMatchOrder(Position);
  Engine->insertMessageInMatchOrder(Engine->firstMessage(), 1);
  EXPECT_EQ(identified(Text), "SECOND");
  // An unanchored pattern accepts a value that merely contains it.
  Engine->insertMessageInMatchOrder(Engine->firstMessage(), 2);
  EXPECT_EQ(identified(Text), "UNANCHORED");
}

TEST_F(SGCidentify, EditsOfIdentifiersAndOrderAreSeenAtOnce) {
  QVMidentifier& Type = define("ADT", "^ADT$", 8, 0, 0);
  define("ORU", "^ORU$", 8, 0, 0);
  initOrder();
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

TEST_F(SGCidentify, OnlyTheFirstSegmentOfTheNameIsRead) {
  define("ZED", "^yes$", 0, 0, -1, "ZED");
  initOrder();
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|no\rZED|yes"), "-");
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|yes\rZED|no"), "ZED");
  EXPECT_EQ(identified("MSH|^~\\&|\rZEDX|yes"), "-");
}

TEST_F(SGCidentify, AddressesPickRepeatsAndSubFields) {
  define("SECOND_REPEAT", "^B$", 0, 1, -1, "ZED");
  define("SUB_ONE", "^Y$", 0, 0, 1, "ZED");
  define("SUB_ZERO", "^plain$", 0, 0, 0, "ZED");
  define("THIRD_REPEAT", ".*", 0, 2, -1, "ZED");
  initOrder();
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|A~B"), "SECOND_REPEAT");
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|X^Y"), "SUB_ONE");
  // A field without sub fields: sub field 1 does not exist, sub field 0 is the value.
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|plain"), "SUB_ZERO");
  // Even a pattern that accepts anything needs the repeat to exist.
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|A~B~C"), "SECOND_REPEAT");
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|A~X~C"), "THIRD_REPEAT");
}

TEST_F(SGCidentify, MissingFieldFailsAMessageIdentifierButCountsAsEmptyForASegmentIdentifier) {
  define("EMPTY_OK", "^$", 4, 0, -1, "ZED");
  initOrder();
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|a"), "-");
  EXPECT_EQ(identified("MSH|^~\\&|\rZED|a||||"), "EMPTY_OK");

  QVMsegmentGrammar& Grammar = *segmentNamed(*Engine, "ZED");
  QVMsegmentIdentifier& Guard = *Grammar.addIdentifierAt(0);
  Guard.setValue("^$");
  Guard.nodeAddress().setNodeIndex(0, 4);
  std::string Text = "MSH|^~\\&|\rZED|a";
  SGMsegmentList List;
  tokenise(Text, List);
  EXPECT_TRUE(SGCmatchSegment(List.segment(1), Grammar));
  Guard.setValue("^x$");
  EXPECT_FALSE(SGCmatchSegment(List.segment(1), Grammar));
  EXPECT_FALSE(SGCmatchSegment(List.segment(0), Grammar));
}

TEST_F(SGCidentify, LiteralsAcceptAFinalLineEndAsTheExpressionDoes) {
  define("ADT", "^ADT$", 8, 0, 0);
  define("BAD_EXPRESSION", "^(ADT$", 8, 0, 0);
  define("DOTS", "^A.T$", 8, 0, 0);
  initOrder();
  EXPECT_EQ(identified("MSH|^~\\&|||||||ADT\n^A01"), "ADT");
  EXPECT_EQ(identified("MSH|^~\\&|||||||AXT^A01"), "DOTS");
  EXPECT_EQ(identified("MSH|^~\\&|||||||ADTX^A01"), "-");
}

}  // namespace
