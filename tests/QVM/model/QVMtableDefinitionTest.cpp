// Table definitions (columns, map sets) and the table grammars laid over message grammars.
#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMgrammarTestSupport.h"

#include "../../support/TSTraised.h"

// The mappings move as well (see tests/data/QVM/edit/table.test).
TEST(QVMtableDefinition, MoveColumnMovesScripts) {
  QVMengineInternal engine;
  QVMtableDefinitionInternal* table = engine.table(engine.addTable());
  for (const char* name : {"a", "b", "c"}) table->addColumn(name, QVMstringType);
  table->setIncomingFunctionCode(0, 0, "value = 1");
  table->moveColumn(0, 2);
  EXPECT_EQ(table->incomingFunctionCode(0, 2), "value = 1\r\n");
  EXPECT_EQ(table->incomingFunction(2).engine(), &engine.LanguageEngine());
  QVMtableMapSet* set = table->mapSet(0);
  EXPECT_EQ(TSTerrorText([&] { set->moveColumn(1, 1); }), "Failed precondition: FromIndex != ToIndex");
  EXPECT_EQ(TSTerrorText([&] { set->moveColumn(0, 3); }), "Failed precondition: ToIndex < pMember->MapItem.size()");
  EXPECT_EQ(TSTerrorText([&] { set->map(3); }), "Failed precondition: MapIndex < pMember->MapItem.size()");
  EXPECT_EQ(TSTerrorText([&] { set->removeColumn(3); }), "Failed precondition: ColumnIndex < pMember->MapItem.size()");
}

TEST(QVMtableDefinition, TableGrammarLeavesAndGroups) {
  QVMengineInternal engine;
  QVMtableDefinitionInternal* table = engine.table(engine.addTable());
  table->setTableName("T");
  table->addColumn("a", QVMstringType);
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMtableGrammarInternal& root = message->tableGrammar();
  QVMtableGrammarInternal* group = root.addSubGrammarAt(0);
  group->setName("G");
  QVMtableGrammarInternal* leaf = group->addSubGrammarAt(0);
  EXPECT_EQ(leaf->parent(), group);
  EXPECT_EQ(leaf->message(), message);
  EXPECT_EQ(leaf->countOfConfig(), 1u);
  leaf->setIsNode(true);
  EXPECT_EQ(TSTerrorText([&] { leaf->name(); }), "Failed precondition: pMember->pTable != NULL");
  leaf->setTable(table);
  EXPECT_EQ(leaf->name(), "T");
  EXPECT_EQ(leaf->tableMapSetIndex(), 0u);
  EXPECT_EQ(TSTraised([&] { root.setTable(table); }),
            COLerror("This is not a node table grammar.", COL_ERROR_INCONSISTENT_DEFINITION));
  EXPECT_EQ(TSTerrorText([&] { group->table(); }), "Failed precondition: pMember->IsNode");
  EXPECT_EQ(TSTerrorText([&] { leaf->setTableMapSetIndex(1); }),
            "Failed precondition: table()->countOfMapSet() > MapSetIndex");
  EXPECT_EQ(TSTerrorText([&] { group->setParent(group); }), "Failed precondition: this != pParent");
  EXPECT_EQ(TSTerrorText([&] { root.addSubGrammarAt(2); }), "Failed precondition: GrammarIndex <= countOfSubGrammar()");
  QVMtableGrammarInternal loose;
  EXPECT_EQ(TSTerrorText([&] { loose.message(); }), "Failed precondition: pMember->pMessageDefinition != NULL");
  // A new configuration gives every node a record.
  engine.addConfiguration("b");
  EXPECT_EQ(leaf->countOfConfig(), 2u);
  EXPECT_EQ(leaf->config(1).messageGrammar(), nullptr);
  EXPECT_EQ(root.config(1).messageGrammar(), message->config(1).rootMessageGrammar());
}

TEST(QVMtableDefinition, SetGrammarTakesOverANode) {
  QVMengineInternal engine;
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMtableGrammarInternal& root = message->tableGrammar();
  QVMtableGrammarInternal* a = root.addSubGrammarAt(0);
  QVMtableGrammarInternal* b = root.addSubGrammarAt(1);
  QVMtableGrammarInternal* inner = b->addSubGrammarAt(0);
  inner->setName("inner");
  a->setName("a");
  root.setGrammar(0, inner);
  EXPECT_EQ(root.subGrammar(0), inner);
  EXPECT_EQ(inner->parent(), &root);
  EXPECT_EQ(b->countOfSubGrammar(), 1u);
  EXPECT_EQ(b->subGrammar(0), nullptr);
  b->removeSubGrammar(0);
  EXPECT_EQ(TSTerrorText([&] { inner->setGrammar(0, &root); }),
            "Failed precondition: GrammarIndex < countOfSubGrammar()");
}

TEST(QVMtableDefinition, ClearGrammarResetsCurrentRecord) {
  QVMengineInternal engine;
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMtableGrammarInternal grammar;
  grammar.initConfig(message);
  grammar.setName("x");
  grammar.addSubGrammarAt(0);
  grammar.setMessageGrammar(message->messageGrammar());
  grammar.clearGrammar();
  EXPECT_EQ(grammar.ownName(), "");
  EXPECT_EQ(grammar.countOfSubGrammar(), 0u);
  EXPECT_EQ(grammar.messageGrammar(), nullptr);
  EXPECT_EQ(grammar.tableMapSetIndex(), 0xFFFFFFFFu);
  EXPECT_EQ(grammar.messageGrammarFieldIndex(), 0xFFFFFFFFu);
}

TEST(QVMtableDefinition, WalkOverAllTableGrammars) {
  QVMengineInternal engine;
  QVMtableDefinitionInternal* table = engine.table(engine.addTable());
  table->addMapSet();
  EXPECT_EQ(QVMtableGrammarFirst(engine), nullptr);
  QVMmessageDefinitionInternal* first = engine.message(engine.addMessage());
  QVMmessageDefinitionInternal* second = engine.message(engine.addMessage());
  QVMtableGrammarInternal* group = first->tableGrammar().addSubGrammarAt(0);
  QVMtableGrammarInternal* leaf1 = group->addSubGrammarAt(0);
  leaf1->setIsNode(true);
  leaf1->setTable(table);
  QVMtableGrammarInternal* leaf2 = first->tableGrammar().addSubGrammarAt(1);
  leaf2->setIsNode(true);
  leaf2->setTable(table);
  leaf2->setTableMapSetIndex(1);
  QVMtableGrammarInternal* leaf3 = second->tableGrammar().addSubGrammarAt(0);
  leaf3->setIsNode(true);
  leaf3->setTable(table);

  std::vector<QVMtableGrammarInternal*> walk;
  for (auto* node = QVMtableGrammarFirst(engine); node; node = QVMtableGrammarGetNextTableGrammar(node))
    walk.push_back(node);
  EXPECT_EQ(walk, (std::vector<QVMtableGrammarInternal*>{&first->tableGrammar(), group, leaf1, leaf2,
                                                         &second->tableGrammar(), leaf3}));
  EXPECT_EQ(QVMtableGrammarFindGrammarsUsingMapSet(QVMtableGrammarFirst(engine), table, 0), leaf1);
  EXPECT_EQ(QVMtableGrammarFindGrammarsUsingMapSet(leaf1, table, 0), leaf3);
  EXPECT_EQ(QVMtableGrammarFindGrammarsUsingMapSet(leaf3, table, 0), nullptr);
  EXPECT_EQ(QVMtableGrammarFindGrammarsUsingMapSet(leaf1, table, 1), leaf2);
  EXPECT_EQ(QVMtableGrammarFindGrammarsUsingMapSet(leaf2, table, 1), nullptr);
  EXPECT_EQ(TSTerrorText([&] { QVMtableGrammarFindNextSibling(&first->tableGrammar()); }),
            "Failed precondition: pParent != NULL");
  COLstring printed;
  COLostream stream(printed);
  QVMtableGrammarInternalPrintOn(first->tableGrammar(), stream, 0);
  EXPECT_NE(printed.find("   Table grammar: "), COLstring::npos);
  EXPECT_NE(printed.find("(Mapset)"), COLstring::npos);
}
