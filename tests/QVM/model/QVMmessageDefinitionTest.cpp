// Message definitions and message grammar trees.
#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMgrammarTestSupport.h"

#include "../../support/TSTraised.h"

namespace {

QVMsegmentGrammar* addSegment(QVMengineInternal& engine, const char* name) {
  QVMsegmentGrammar* segment = engine.segment(engine.addSegment());
  segment->setName(name);
  return segment;
}
}  // namespace

// Message names as edits: tests/data/QVM/edit/grammar.test.
TEST(QVMmessageDefinition, TableNamesAreSanitisedIntoACopy) {
  COLstring table = "x y";
  EXPECT_EQ(QVMtableMakeSanitizedName(""), "Table");
  EXPECT_EQ(QVMtableMakeSanitizedName(table), "x_y");
  EXPECT_EQ(table, "x y");
}

TEST(QVMmessageDefinition, NewMessageHasOneRecordPerConfiguration) {
  QVMengineInternal engine;
  engine.addConfiguration("second");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  ASSERT_EQ(message->countOfConfig(), 2u);
  for (size_t c = 0; c < 2; ++c) {
    const QVMmessageConfig& record = message->config(c);
    EXPECT_EQ(record.rootMessageGrammar()->grammarName(), "Message");
    EXPECT_EQ(record.rootMessageGrammar()->countOfSubGrammar(), 0u);
    EXPECT_EQ(record.rootMessageGrammar()->message(), message);
    EXPECT_EQ(record.rootMessageGrammar()->parent(), nullptr);
    EXPECT_TRUE(record.ignoreUnknownSegments());
    EXPECT_FALSE(record.ignoreSegmentOrder());
    EXPECT_EQ(record.segmentListFunctionHook().parameterNames(), std::vector<COLstring>{"segment_list"});
    EXPECT_EQ(record.inFunction().engine(), &engine.LanguageEngine());
  }
  EXPECT_NE(message->config(0).rootMessageGrammar(), message->config(1).rootMessageGrammar());
  EXPECT_EQ(message->messageIndex(), 0u);
  engine.setCurrentConfig(1);
  message->setIgnoreUnknownSegments(false);
  EXPECT_TRUE(message->config(0).ignoreUnknownSegments());
  EXPECT_EQ(message->messageGrammar(), message->config(1).rootMessageGrammar());
}

TEST(QVMmessageDefinition, DefaultIdentifiers) {
  QVMengineInternal engine;
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  EXPECT_EQ(TSTerrorText([&] { QVMmessageAddDefaultIdentifier(*message); }),
            "Failed precondition: Message.rootEngine()->countOfSegment() > 0");
  QVMidentifier loose;
  EXPECT_EQ(TSTerrorText([&] { QVMmessageMakeDefaultIdentifier(loose, engine); }),
            "Failed precondition: Engine.countOfSegment() > 0");
  addSegment(engine, "ISA");
  QVMmessageAddDefaultIdentifier(*message);
  EXPECT_EQ(message->identifierSegment(0), "ISA");
  addSegment(engine, "MSH");
  QVMmessageAddDefaultIdentifierAt(*message, 0);
  EXPECT_EQ(message->identifierSegment(0), "MSH");
  EXPECT_EQ(message->identifierSegment(1), "ISA");
  message->setIdentifierValue(0, "A01|A02");
  EXPECT_EQ(message->identifierValue(0), "A01|A02");
  EXPECT_TRUE(message->identifierValidRegex(0));
  EXPECT_TRUE(message->identifier(0)->doesMatch("A02"));
  EXPECT_FALSE(message->identifier(0)->isNullMatchingValue());
  message->identifierAddress(0).setNodeAndRepeatIndex(1, 8, 0);
  EXPECT_EQ(message->identifier(0)->nodeAddress().depth(), 2u);
  // Identifiers are per configuration, and a new configuration starts without any.
  engine.addConfiguration("b");
  engine.setCurrentConfig(1);
  EXPECT_EQ(message->countOfIdentifier(), 0u);
  engine.setCurrentConfig(0);
  message->removeIdentifier(1);
  EXPECT_EQ(message->countOfIdentifier(), 1u);
}

// Moves and equivalence as edits: tests/data/QVM/edit/trees.test.
TEST(QVMmessageDefinition, ACopiedGrammarOwnsItsSubtree) {
  QVMengineInternal engine;
  QVMsegmentGrammar* pid = addSegment(engine, "PID");
  QVMmessageGrammar* root = engine.message(engine.addMessage())->messageGrammar();
  root->insertGroup("G")->insertSegment(pid);
  QVMmessageGrammar copy(*root);
  EXPECT_EQ(copy.subGrammar(0)->parent(), &copy);
  EXPECT_EQ(copy.subGrammar(0)->subGrammar(0)->segment(), pid);
  EXPECT_TRUE(QVMmessageGrammarIsEquivalent(copy, *root));
}

TEST(QVMmessageDefinition, ClearTableGrammarKeepsName) {
  QVMengineInternal engine;
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  message->setName("ADT");
  message->tableGrammar().addSubGrammarAt(0)->setName("child");
  message->clearTableGrammar();
  EXPECT_EQ(message->name(), "ADT");
  EXPECT_EQ(message->tableGrammar().countOfSubGrammar(), 0u);
  EXPECT_EQ(engine.messageByName("ADT"), 0u);
}

TEST(QVMmessageDefinition, CopiedDefinitionIsIndependent) {
  QVMengineInternal engine;
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  message->setName("ORU");
  message->setIncomingFunctionCode(0, "a = 1");
  message->tableGrammar().addSubGrammarAt(0)->setName("g");
  QVMmessageDefinitionInternal copy(*message);
  EXPECT_EQ(copy.name(), "ORU");
  EXPECT_EQ(copy.tableGrammar().message(), &copy);
  EXPECT_EQ(copy.tableGrammar().subGrammar(0)->message(), &copy);
  EXPECT_EQ(copy.tableGrammar().subGrammar(0)->parent(), &copy.tableGrammar());
  EXPECT_EQ(copy.incomingFunctionCode(0), "a = 1\r\n");
  copy.setIncomingFunctionCode(0, "b = 2");
  EXPECT_EQ(message->incomingFunctionCode(0), "a = 1\r\n");
}
