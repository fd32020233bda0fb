// The command model: deep copies, the optional clauses' guards, items that change kind.
#include <gtest/gtest.h>

#include "COLostream.h"
#include "DBdialects.h"
#include "DBsqlCommand.h"

#include "../support/TSTraised.h"

namespace {

TEST(DBsqlCommand, CopiesShareNothing) {
  DBsqlSelect original;
  original.addColumn("a");
  original.addWhereClause().addCondition("a", DBsqlWhereCondition::IN).addRightOperandSelectQuery().addTable("sub");
  DBsqlSelect copy = original;
  copy.whereClause().item(0).condition().rightOperandselectQuery().addTable("second");
  copy.whereClause().addCombiner(DBsqlWhereItem::OR);
  EXPECT_EQ(original.whereClause().countOfItem(), 1u);
  EXPECT_EQ(original.whereClause().item(0).condition().rightOperandselectQuery().countOfTableName(), 1u);
  EXPECT_EQ(copy.whereClause().item(0).condition().rightOperandselectQuery().countOfTableName(), 2u);

  DBsqlSelectUnion unionCommand;
  unionCommand.addSelectQuery().addTable("t");
  DBsqlSelectUnion unionCopy = unionCommand;
  unionCopy.addSelectQuery();
  EXPECT_EQ(unionCommand.countOfSelectQuery(), 1u);
}

TEST(DBsqlCommand, OptionalClausesAreAddedOnce) {
  DBsqlSelect select;
  EXPECT_EQ(TSTraised([&] { select.whereClause(); }).description(), "Failed precondition: whereClauseExists()");
  select.addWhereClause();
  EXPECT_EQ(TSTraised([&] { select.addWhereClause(); }),
            COLerror("Failed precondition: !whereClauseExists()", COL_ERROR_PRECONDITION));
  select.addHavingClause();
  EXPECT_EQ(TSTraised([&] { select.addHavingClause(); }).description(), "Failed precondition: !havingClauseExists()");
  EXPECT_EQ(TSTraised([&] { select.tableName(0); }).description(),
            "Failed precondition: ItemIndex >= 0 && ItemIndex < this->size()");

  DBsqlDelete deleteCommand;
  EXPECT_EQ(TSTraised([&] { deleteCommand.removeWhereClause(); }).description(),
            "Failed precondition: pMember->HasWhereClause == true");
  deleteCommand.addWhereClause();
  EXPECT_EQ(TSTraised([&] { deleteCommand.addWhereClause(); }).description(),
            "Failed precondition: pMember->HasWhereClause == false");
  deleteCommand.removeWhereClause();
  EXPECT_FALSE(deleteCommand.whereClauseExists());

  DBsqlUpdate update;
  update.addWhereClause();
  EXPECT_EQ(TSTraised([&] { update.addWhereClause(); }).description(), "Failed precondition: !whereClauseExists()");
}

TEST(DBsqlCommand, TypesAndItemsThatChangeKind) {
  DBsqlUpdate update;
  EXPECT_EQ(update.commandType(), 2);
  update.setMakeIntoInsert();
  EXPECT_EQ(update.commandType(), 3);
  EXPECT_EQ(DBsqlDelete().commandType(), 4);
  EXPECT_EQ(DBsqlDropTable().commandType(), 5);
  EXPECT_EQ(DBsqlCreateTable().commandType(), 6);

  DBsqlWhereItem item;
  item.setItemAsNestedWhere().addCondition("x", DBsqlWhereCondition::EQUAL);
  item.setItemAsCombiner(DBsqlWhereItem::OR);
  EXPECT_EQ(item.itemType(), DBsqlWhereItem::COMBINER);
  EXPECT_EQ(item.combiner(), DBsqlWhereItem::OR);
  EXPECT_THROW(item.nestedWhere(), COLerror);
  EXPECT_EQ(item.setItemAsNestedWhere().countOfItem(), 0u);  // the old tree is gone

  DBsqlInsert insert;
  insert.addColumn("a", DBvariant(1));
  insert.addColumn("b", DBvariant("x"));
  insert.removeColumn(0);
  EXPECT_EQ(insert.columnName(0), "b");
  insert.resizeColumnVector(2);
  insert.setColumn(1, "c", DBvariant(), true);
  EXPECT_TRUE(insert.columnValueIsColumnFlag(1));
}

// A sequence runs in order through the one execution road and keeps the results that came back.
TEST(DBsqlCommand, SequencesAndTransactionsThroughTheBase) {
  DBtextOnlyDatabase database;
  DBsqlCommandSequence sequence;
  auto* drop = new DBsqlDropTable;
  drop->setTableName("t");
  sequence.push_back(drop);
  auto* select = new DBsqlSelect;
  select->addColumn("a");
  select->addTable("t");
  sequence.push_back(select);
  DBresultSetSequence results;
  database.executeSqlCommandSequence(sequence, results);
  EXPECT_EQ(database.Executed, "DROP TABLE t\nSELECT a FROM t\n");
  EXPECT_EQ(results.countOfResultSet(), 0u);

  database.beginTransaction();
  EXPECT_TRUE(database.transactionActive());
  EXPECT_FALSE(database.Autocommit);
  database.endTransaction();  // not connected: autocommit is left as it was
  EXPECT_FALSE(database.transactionActive());
  EXPECT_FALSE(database.Autocommit);

  EXPECT_EQ(TSTraised([&] { database.setParameter("UseUnicode", "yes"); }).description(),
            "Parameter is unsupported: \"UseUnicode\"=\"yes\"");
  EXPECT_STREQ(database.databaseName(), "MySQL");
  database.setDatabaseType(5);
  EXPECT_STREQ(database.databaseName(), "ODBC - PostgreSQL");
  database.setDatabaseType(12);
  EXPECT_EQ(TSTraised([&] { database.databaseName(); }).description(), "Database type 12 (enum) not supported.");
  EXPECT_TRUE(DBdatabaseSupportsParam("ODBC - MS SQL Server", "Timeout"));
  EXPECT_FALSE(DBdatabaseSupportsParam("ODBC - PostgreSQL", "Timeout"));

  struct Unknown : DBsqlCommand {
    int commandType() const override { return 7; }
  } unknown;
  EXPECT_EQ(TSTraised([&] { database.executeSqlCommand(unknown, 0, 0); }).description(),
            "Specified SQL command not supported.");
}

TEST(DBsqlCommand, EscapedStringsSurviveTheBufferFlush) {
  DBtextOnlyDatabase database;
  // Quotes placed around the flush point of the writer's buffer.
  std::string text, expected = "'";
  for (int index = 0; index < 600; ++index) {
    const char c = index % 83 == 0 || (index >= 248 && index <= 252) ? '\'' : static_cast<char>('a' + index % 26);
    text += c;
    expected += c == '\'' ? "''" : std::string(1, c);
  }
  expected += "'";
  COLstring written;
  COLostream stream(written);
  database.addEscapedStringToStream(stream, COLstring(text));
  EXPECT_EQ(written.str(), expected);
}

}  // namespace
