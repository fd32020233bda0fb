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

TEST(QVMmessageDefinition, SetNameSanitises) {
  QVMengineInternal engine;
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  message->setName("  A B\tC#1 ");
  EXPECT_EQ(message->name(), "A_B_C1");
  EXPECT_EQ(message->tableGrammar().name(), "A_B_C1");
  message->setName("###");
  EXPECT_EQ(message->name(), "Message");
  message->setName("v2.5\r\nADT");
  EXPECT_EQ(message->name(), "v2.5__ADT");
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

TEST(QVMmessageDefinition, GrammarTreeNamesAndOptionality) {
  QVMengineInternal engine;
  QVMsegmentGrammar* msh = addSegment(engine, "MSH");
  QVMsegmentGrammar* pid = addSegment(engine, "PID");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMmessageGrammar* root = message->messageGrammar();
  root->setIgnoreSegmentOrder(true);
  root->insertSegment(msh);
  QVMmessageGrammar* patient = root->insertGroup("PATIENT");
  QVMmessageGrammar* pidNode = patient->insertSegment(pid, 0);
  EXPECT_TRUE(patient->ignoreSegmentOrder());
  EXPECT_EQ(pidNode->message(), message);
  EXPECT_EQ(pidNode->grammarName(), "PID");
  EXPECT_EQ(pidNode->fullGrammarName(), "Message.PATIENT.PID");
  EXPECT_EQ(pidNode->childIndex(), 0u);
  EXPECT_EQ(patient->childIndex(), 1u);
  EXPECT_EQ(TSTraised([&] { root->childIndex(); }), COLerror("This message grammar is a root", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { pidNode->setGrammarName("X"); }),
            COLerror("To change the segment name, rename it in the workspace.", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTerrorText([&] { root->insertGroup("G", 3); }),
            "Failed precondition: GrammarIndex <= countOfSubGrammar()");
  EXPECT_EQ(TSTerrorText([&] { root->insertSegment(pid, 3); }),
            "Failed precondition: GrammarIndex <= pMember->SubGrammarVector.size()");
  QVMmessageGrammar* orphan = root->insertSegment(nullptr);
  EXPECT_EQ(TSTerrorText([&] { orphan->fullGrammarName(); }), "Failed precondition: pMember->pSegment != NULL");
  root->remove(2);
  EXPECT_FALSE(patient->grammarIsOptional());
  QVMmessageGrammar* extra = patient->insertSegment(msh);
  extra->setIsOptional(true);
  EXPECT_TRUE(patient->grammarIsOptional());
  EXPECT_TRUE(root->grammarIsOptional());
  EXPECT_FALSE(root->subGrammarIsOptional(0));
}

TEST(QVMmessageDefinition, MoveAndEquivalence) {
  QVMengineInternal engine;
  QVMsegmentGrammar* msh = addSegment(engine, "MSH");
  QVMsegmentGrammar* pid = addSegment(engine, "PID");
  QVMmessageDefinitionInternal* a = engine.message(engine.addMessage());
  QVMmessageDefinitionInternal* b = engine.message(engine.addMessage());
  QVMmessageGrammar* rootA = a->messageGrammar();
  rootA->insertSegment(msh);
  QVMmessageGrammar* group = rootA->insertGroup("G");
  QVMmessageGrammar* moved = rootA->insertSegment(pid);
  moved->moveGrammarTo(group);
  EXPECT_EQ(rootA->countOfSubGrammar(), 2u);
  EXPECT_EQ(moved->parent(), group);
  EXPECT_EQ(moved->fullGrammarName(), "Message.G.PID");
  EXPECT_EQ(TSTraised([&] { group->moveGrammarTo(moved); }),
            COLerror("A message grammar cannot be moved below itself.", COL_ERROR_PRECONDITION));
  QVMmessageGrammar* rootB = b->messageGrammar();
  rootB->insertSegment(msh);
  rootB->insertGroup("Other")->insertSegment(pid);
  EXPECT_TRUE(QVMmessageGrammarIsEquivalent(*rootA, *rootB));
  rootB->subGrammar(1)->insertSegment(msh);
  EXPECT_FALSE(QVMmessageGrammarIsEquivalent(*rootA, *rootB));
  EXPECT_FALSE(QVMmessageGrammarIsEquivalent(*rootA->subGrammar(0), *rootA->subGrammar(1)));
  // A copy owns its own subtree.
  QVMmessageGrammar copy(*rootA);
  EXPECT_EQ(copy.subGrammar(1)->parent(), &copy);
  EXPECT_EQ(copy.subGrammar(1)->subGrammar(0)->segment(), pid);
  EXPECT_TRUE(QVMmessageGrammarIsEquivalent(copy, *rootA));
}

TEST(QVMmessageDefinition, RemovingGrammarNodeClearsTableGrammarRoots) {
  QVMengineInternal engine;
  QVMsegmentGrammar* pid = addSegment(engine, "PID");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMmessageGrammar* group = message->messageGrammar()->insertGroup("G");
  QVMmessageGrammar* node = group->insertSegment(pid);
  QVMtableGrammarInternal& tableGrammar = message->tableGrammar();
  QVMtableGrammarInternal* leaf = tableGrammar.addSubGrammarAt(0);
  leaf->setMessageGrammar(node);
  QVMtableGrammarInternal* other = tableGrammar.addSubGrammarAt(1);
  other->setMessageGrammar(group);
  message->messageGrammar()->remove(0);
  EXPECT_EQ(leaf->messageGrammar(), nullptr);
  EXPECT_EQ(other->messageGrammar(), nullptr);
  EXPECT_EQ(tableGrammar.messageGrammar(), message->messageGrammar());
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
