// The OCI back end against the tests' stand-in for Oracle's client (tests/DB/oci_standin), a
// libclntsh.so over a SQLite file: loading, logon, binding by name, describing and fetching
// every column type, transactions and the error texts.
#include <gtest/gtest.h>

#include "COLostream.h"
#include "DBdatabaseFactory.h"
#include "DBdatabaseOciOracle.h"
#include "DBtestSupport.h"

#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

#ifdef MSGBRIDGE_OCI_STANDIN

namespace {

class DBociOracle : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    COLstring report;
    COLostream stream(report);
    if (!DBdatabaseOciOracle::isInitialized()) DBdatabaseOciOracle::initialize(stream, MSGBRIDGE_OCI_STANDIN);
  }
  void SetUp() override {
    ASSERT_TRUE(DBdatabaseOciOracle::isInitialized());
    database = new DBdatabaseOciOracle;
    DBreporting([&] { database->connect(source().c_str(), "scott", "tiger"); });
  }
  COLstring source() const { return (directory.path() + "/orcl.db").c_str(); }

  TSTtemporaryDirectory directory;
  COLreferencePtr<DBdatabaseOciOracle> database;
};

TEST_F(DBociOracle, LoadsTheClientOnceAndTheFactoryOffersIt) {
  COLstring report;
  COLostream stream(report);
  EXPECT_TRUE(DBdatabaseOciOracle::initialize(stream, nullptr));
  EXPECT_EQ(report.str(), "Already loaded Oracle: " MSGBRIDGE_OCI_STANDIN " 19.3.0.0.0 OK (Oracle OCI support enabled)\n");
  EXPECT_EQ(DBdatabaseOciOracle::loadedApiVersion(), "19.3.0.0.0");
  EXPECT_FALSE(DBdatabaseOciOracle::readyToReinitialize());
  DBdatabaseFactory factory;
  factory.initialize(stream);
  EXPECT_TRUE(factory.databaseSupported("OCI - Oracle"));
  EXPECT_EQ(factory.databaseName(1), "OCI - Oracle");  // after MySQL, before the ODBC names
  EXPECT_EQ(factory.getDatabase("OCI - Oracle")->databaseType(), DB_OCI_ORACLE);
}

TEST_F(DBociOracle, EveryTypeGoesInByNameAndComesBackDescribed) {
  DBreporting([&] {
    EXPECT_TRUE(database->isConnected());
    database->executeSqlString("CREATE TABLE people (id NUMBER(10), name VARCHAR2(8), \"full name\" VARCHAR2(40),"
                               " notes CLOB, score FLOAT, price NUMBER(10,2), seen DATE, big NUMBER)",
                               0, 0);
    const std::string longText(10000, 'x');
    DBsqlInsert insert;
    insert.setTableName("people");
    insert.addColumn("id", DBvariant(1));
    insert.addColumn("name", DBvariant("O'Hara"));
    insert.addColumn("full name", DBvariant("a name longer than eight bytes"), false, true);
    insert.addColumn("notes", DBvariant(longText.c_str()));
    insert.addColumn("score", DBvariant(0.25));
    insert.addColumn("price", DBvariant(12));
    insert.addColumn("seen", DBvariant(COLdateTime(2024, 2, 29, 23, 59, 58)));
    insert.addColumn("big", DBvariant(int64_t{5000000000}));
    // A blank in a column name binds as "_"; a 64-bit integer and a null stand in the text.
    COLstring text;
    {
      COLostream stream(text);
      database->createSqlInsert(insert, stream);
    }
    EXPECT_EQ(text, "INSERT INTO people(id,name,\"full name\",notes,score,price,seen,big) "
                    "VALUES(:id,:name,:full_name,:notes,:score,:price,:seen,5000000000)");
    COLstring plain;
    {
      COLostream stream(plain);
      database->createSqlCommandWithoutBinding(insert, stream);
    }
    EXPECT_EQ(plain.find("VALUES(1,'O''Hara','a name longer than eight bytes','xxx"), plain.find("VALUES("));
    // The statement names "full name" in quotes, the stand-in's SQLite names the parameter.
    DBsqlInsert second;
    second.setTableName("people");
    second.addColumn("id", DBvariant(2));
    second.addColumn("name", DBvariant());
    second.addColumn("seen", DBvariant());
    EXPECT_FALSE(database->executeSqlInsert(second));

    DBsqlInsert first;
    first.setTableName("people");
    for (size_t column = 0; column < insert.countOfColumn(); ++column)
      if (insert.columnName(column) != "full name") first.addColumn(insert.columnName(column), insert.columnValue(column));
    EXPECT_FALSE(database->executeSqlInsert(first));

    const DBresultSetPtr rows =
        database->executeSqlString("SELECT id, name, notes, score, price, seen, big FROM people ORDER BY id", 0, 0);
    ASSERT_EQ(rows->countOfRow(), 2u);
    EXPECT_EQ(rows->value(0, "ID"), DBvariant(1));
    EXPECT_EQ(rows->value(0, "name"), DBvariant("O'Hara"));
    EXPECT_EQ(rows->value(0, "notes").toString().size(), longText.size());
    EXPECT_EQ(rows->value(0, "score"), DBvariant(0.25));
    EXPECT_EQ(rows->value(0, "price"), DBvariant(12));  // NUMBER(10,2) reads as an integer
    EXPECT_EQ(rows->value(0, "seen"), DBvariant(COLdateTime(2024, 2, 29, 23, 59, 58)));
    EXPECT_EQ(rows->value(0, "big"), DBvariant(int64_t{5000000000}));
    // A null is written "''", which Oracle keeps as null.
    EXPECT_EQ(rows->value(1, "name").type(), DB_NULL);
    EXPECT_EQ(rows->value(1, "seen").type(), DB_NULL);
    EXPECT_EQ(rows->countOfDatabaseRow(), 2u);
    // A text longer than its column's buffer comes in pieces.
    database->executeSqlString("UPDATE people SET name = '" + COLstring(std::string(9000, 'y').c_str()) + "' WHERE id = 2",
                               0, 0);
    EXPECT_EQ(database->executeSqlString("SELECT name FROM people WHERE id = 2", 0, 0)->value(0, 0).toString().size(),
              9000u);
    // A window of rows.
    const DBresultSetPtr window = database->executeSqlString("SELECT id FROM people ORDER BY id", 1, 1);
    ASSERT_EQ(window->countOfRow(), 1u);
    EXPECT_EQ(window->value(0, 0), DBvariant(2));
    EXPECT_EQ(window->countOfDatabaseRow(), 2u);

    const DBresultSetPtr tables = database->fetchDatabaseTables();
    ASSERT_EQ(tables->countOfRow(), 1u);
    EXPECT_EQ(tables->value(0, "TABLE_NAME"), DBvariant("PEOPLE"));
    EXPECT_EQ(database->fetchDatabaseTableColumns("people")->countOfRow(), 8u);
  });
}

TEST_F(DBociOracle, TransactionsEndByCommitOrRollback) {
  DBreporting([&] {
    database->executeSqlString("CREATE TABLE t (n NUMBER(5))", 0, 0);
    database->beginTransaction();
    database->setAutocommitFlag(false);
    database->executeSqlString("INSERT INTO t VALUES (1)", 0, 0);
    database->rollbackTransaction();
    EXPECT_FALSE(database->transactionActive());
    database->setAutocommitFlag(false);
    database->executeSqlString("INSERT INTO t VALUES (2)", 0, 0);
    database->commitTransaction();
    database->commitTransaction();  // nothing to commit still ends the transaction
    database->setAutocommitFlag(true);
    const DBresultSetPtr rows = database->executeSqlString("SELECT n FROM t", 0, 0);
    ASSERT_EQ(rows->countOfRow(), 1u);
    EXPECT_EQ(rows->value(0, 0), DBvariant(2));
  });
}

TEST_F(DBociOracle, ErrorsAreNamedInFull) {
  DBdatabaseOciOracle refused;
  EXPECT_EQ(TSTraised([&] { refused.connect(source(), "scott", "lion"); }),
            COLerror("ORA-01017: invalid username/password; logon denied", COL_ERROR_RESOURCE));
  EXPECT_FALSE(refused.isConnected());
  EXPECT_EQ(TSTraised([&] { refused.connect("/nonexistent-dir/x.db", "scott", "tiger"); }).description(),
            "ORA-12154: TNS:could not resolve the connect identifier specified");

  EXPECT_EQ(TSTraised([&] { database->executeSqlString("SELECT n FROM missing", 0, 0); }).description(),
            "ORA-00942: table or view does not exist\nProblem in statement: SELECT n FROM missing");
  database->executeSqlString("CREATE TABLE once (n NUMBER(5) PRIMARY KEY, b BLOB)", 0, 0);
  EXPECT_EQ(TSTraised([&] { database->executeSqlString("SELECT b FROM once", 0, 0); }).description(),
            "OCI data type: 113\nnot supported.");
  DBsqlInsert insert;
  insert.setTableName("once");
  insert.addColumn("n", DBvariant(1));
  database->executeSqlInsert(insert);
  const COLerror duplicate = TSTraised([&] { database->executeSqlInsert(insert); });
  EXPECT_EQ(duplicate.description(),
            "Oracle error occurred while trying to execute SQL statement:\n\n"
            "Oracle Error Message:\nORA-00001: unique constraint violated\n"
            "SQL Statement:\nINSERT INTO once(n) VALUES(:n)\n\n"
            "SQL Statement Column Information:\nNAME|TYPE|SIZE|VALUE\n==========\n"
            "n|" + COLstring(DBvariantTypeName(DB_INTEGER)) + "|4|1\n----------\n"
            "Please compare the SQL statement column information with your database schema.");
  EXPECT_EQ(TSTraised([] { DBdatabaseOciOracle::dbDataType(8); }).description(), "OCI data type: 8\nnot supported.");
  EXPECT_TRUE(database->isConnected());  // errors of statements leave the session
  database->disconnect();
  EXPECT_FALSE(database->isConnected());
  EXPECT_EQ(TSTraised([&] { database->executeSqlString("SELECT 1 FROM DUAL", 0, 0); }).description(),
            "Failed precondition: pMember->pServiceContext != NULL");
}

}  // namespace

#endif
