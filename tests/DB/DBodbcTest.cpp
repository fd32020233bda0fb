// The ODBC back end against real databases: a SQLite file and a PostgreSQL server started by
// the test program (DBservers.h).  Every value type goes in and comes back through DBresultSet,
// with binding, as plain text and on the Unicode road.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <mutex>
#include <sstream>
#include <thread>

#include "COLostream.h"
#include "DBdialects.h"
#include "DBdatabaseOdbcDialects.h"
#include "DBservers.h"
#include "DBtestSupport.h"
#include "LANengine.h"

#include "../LAN/LANtestSupport.h"
#include "../support/TSTdataFile.h"
#include "../support/TSTraised.h"

namespace {

using namespace std::chrono_literals;

struct Mode {
  const char* Name;
  const char* UseBinding;
  const char* UseUnicode;
};
const Mode Binding{"binding", "yes", "no"}, Text{"text", "no", "no"}, Unicode{"unicode", "yes", "yes"};

// The rows written and expected back: the key, then one value per typed column.
struct Row {
  int Id;
  DBvariant Name, Note, Ratio, Seen;
};

std::vector<Row> rowsFor(const Mode& mode) {
  std::vector<Row> rows{
      {1, DBvariant("plain"), DBvariant("it's \"quoted\""), DBvariant(0.25), DBvariant(COLdateTime(2024, 2, 29, 23, 59, 58))},
      {2, DBvariant("UTF-8 caf\xc3\xa9 \xe2\x82\xac"), DBvariant(), DBvariant(-1.5), DBvariant()},
      {3, DBvariant(), DBvariant(""), DBvariant(), DBvariant(COLdateTime(1999, 12, 31, 0, 0, 1))},
  };
  // Latin-1 bytes are no UTF-8: the Unicode road refuses them, the others keep them as they are.
  if (mode.UseUnicode == std::string("no"))
    rows.push_back({4, DBvariant("Latin-1 caf\xe9"), DBvariant("\xe0 la carte"), DBvariant(1e6), DBvariant()});
  return rows;
}

// Creates the table from the command model, writes each row by an insert command and reads
// the table back by a select command.
void roundTripEveryType(DBdatabaseOdbc& database, const Mode& mode) {
  SCOPED_TRACE(mode.Name);
  database.setParameter("UseBinding", mode.UseBinding);
  database.setParameter(DB_PARAM_USE_UNICODE, mode.UseUnicode);
  database.executeSqlString("DROP TABLE IF EXISTS round_trip", 0, 0);
  DBsqlCreateTable create;
  create.setTableName("round_trip");
  auto define = [&](const char* name, DBdataType type, unsigned length = 0) -> DBsqlCreateTableColumn& {
    DBsqlCreateTableColumn& column = create.addColumn();
    column.setName(name);
    column.setDataType(type);
    column.setLength(length);
    return column;
  };
  define("id", DB_INTEGER).setPrimaryKeyFlag(true);
  define("name", DB_STRING, 60);
  define("note", DB_TEXT);
  define("ratio", DB_FLOAT);
  define("seen", DB_DATETIME).setDefaultValue(DBvariant(COLdateTime(2000, 1, 1, 0, 0, 0)));
  database.executeSqlCommand(create, 0, 0);

  const std::vector<Row> rows = rowsFor(mode);
  for (const Row& row : rows) {
    DBsqlInsert insert;
    insert.setTableName("round_trip");
    insert.addColumn("id", DBvariant(row.Id));
    insert.addColumn("name", row.Name);
    insert.addColumn("note", row.Note);
    insert.addColumn("ratio", row.Ratio);
    insert.addColumn("seen", row.Seen);
    database.executeSqlCommand(insert, 0, 0);
  }
  DBsqlSelect select;
  for (const char* column : {"id", "name", "note", "ratio", "seen"}) select.addColumn(column);
  select.addTable("round_trip");
  select.addOrderByColumn("id");
  const DBresultSetPtr result = database.executeSqlCommand(select, 0, 0);
  ASSERT_TRUE(result);
  ASSERT_EQ(result->countOfRow(), rows.size());
  EXPECT_EQ(result->columnIndex("SEEN"), 4);
  for (size_t index = 0; index < rows.size(); ++index) {
    const Row& row = rows[index];
    SCOPED_TRACE(row.Id);
    EXPECT_EQ(result->value(index, "id"), DBvariant(row.Id));
    EXPECT_EQ(result->value(index, "name"), row.Name) << result->value(index, "name").toString();
    EXPECT_EQ(result->value(index, "note"), row.Note) << result->value(index, "note").toString();
    EXPECT_EQ(result->value(index, "ratio"), row.Ratio) << result->value(index, "ratio").toString();
    EXPECT_EQ(result->value(index, "seen"), row.Seen) << result->value(index, "seen").toString();
  }
  EXPECT_EQ(result->value(0, "name").type(), DB_STRING);
  EXPECT_EQ(result->value(0, "seen").type(), DB_DATETIME);

  // The types without a column type of their own, and an update that changes one of them.
  database.executeSqlString("DROP TABLE IF EXISTS wide", 0, 0);
  database.executeSqlString("CREATE TABLE wide (id INTEGER, big BIGINT, flag INTEGER, small REAL)", 0, 0);
  DBsqlInsert insert;
  insert.setTableName("wide");
  insert.addColumn("id", DBvariant(1));
  insert.addColumn("big", DBvariant(int64_t{-9000000000123}));
  // Bound, a boolean is an integer; as text it is the word true, which PostgreSQL keeps for
  // boolean columns.
  const bool bound = mode.UseBinding == std::string("yes") && mode.UseUnicode == std::string("no");
  insert.addColumn("flag", bound ? DBvariant(true) : DBvariant(1));
  insert.addColumn("small", DBvariant(0.5f));
  database.executeSqlCommand(insert, 0, 0);
  DBsqlUpdate update;
  update.setTableName("wide");
  update.addColumn("small", DBvariant(2.0f));
  update.addWhereClause().addCondition("id", DBsqlWhereCondition::EQUAL).addRightOperandValue(DBvariant(1));
  database.executeSqlCommand(update, 0, 0);
  // The same update made into an insert adds a row and ignores its where clause.
  DBsqlUpdate asInsert = update;
  asInsert.addColumn("id", DBvariant(7));
  asInsert.setMakeIntoInsert();
  database.executeSqlUpdate(asInsert);
  EXPECT_EQ(database.executeSqlString("SELECT small FROM wide WHERE id = 7", 0, 0)->countOfRow(), 1u);
  const DBresultSetPtr wide = database.executeSqlString("SELECT big, flag, small FROM wide WHERE id = 1", 0, 0);
  ASSERT_TRUE(wide);
  ASSERT_EQ(wide->countOfRow(), 1u);
  EXPECT_EQ(wide->value(0, "big").type(), DB_LARGE_INTEGER);
  EXPECT_EQ(wide->value(0, "big"), DBvariant(int64_t{-9000000000123}));
  EXPECT_EQ(wide->value(0, "flag"), DBvariant(true));
  EXPECT_EQ(wide->value(0, "small"), DBvariant(2.0f));
}

// A join, a where tree with a sub-select, and a cast, written by the generators and run on the
// tables the round trip left; with `unionToo` a union as well (SQLite takes no parenthesised
// union members).
void queriesWithTheGeneratedClauses(DBdatabaseOdbc& database, bool unionToo) {
  DBsqlSelect joined;
  joined.addColumn("r.name", "n");
  DBsqlSelectJoin& join = joined.addJoinClause();
  join.setJoinType(DBsqlSelectJoin::INNER);
  join.setLeftTable("round_trip", "r");
  join.setRightTable("wide", "w");
  DBsqlWhereCondition& on = join.addOnExpression().addCondition("r.id", DBsqlWhereCondition::EQUAL);
  on.addRightOperandValue(DBvariant("w.id"));
  on.setRightOperandIsColumnFlag(true);
  const DBresultSetPtr pair = database.executeSqlSelect(joined, 0, 0);
  ASSERT_EQ(pair->countOfRow(), 1u);
  EXPECT_EQ(pair->value(0, "N"), DBvariant("plain"));

  DBsqlSelect filtered;
  filtered.addColumn("id", "", DB_STRING);
  filtered.addTable("round_trip");
  DBsqlWhere& where = filtered.addWhereClause();
  DBsqlWhere& both = where.addItem().setItemAsNestedWhere();
  DBsqlWhereCondition& range = both.addCondition("id", DBsqlWhereCondition::BETWEEN);
  range.addRightOperandValue(DBvariant(1));
  range.addRightOperandValue(DBvariant(3));
  both.addCombiner(DBsqlWhereItem::AND);
  both.addCondition("name", DBsqlWhereCondition::IS_NULL).setNegateFlag(true);
  where.addCombiner(DBsqlWhereItem::OR);
  DBsqlSelect& inWide = where.addCondition("id", DBsqlWhereCondition::IN_SELECT).addRightOperandSelectQuery();
  inWide.addColumn("id");
  inWide.addTable("wide");
  filtered.addOrderByColumn("id", true);
  const DBresultSetPtr ids = database.executeSqlSelect(filtered, 0, 0);
  ASSERT_EQ(ids->countOfRow(), 2u);
  EXPECT_EQ(ids->value(0, "id"), DBvariant("2"));  // cast to a string, under its own name
  EXPECT_EQ(ids->value(1, "id"), DBvariant("1"));

  if (!unionToo) return;
  DBsqlSelectUnion both2;
  DBsqlSelect& low = both2.addSelectQuery();
  low.addColumn("id");
  low.addTable("round_trip");
  low.addWhereClause().addCondition("id", DBsqlWhereCondition::LESS_THAN).addRightOperandValue(DBvariant(2));
  DBsqlSelect& high = both2.addSelectQuery();
  high.addColumn("id");
  high.addTable("round_trip");
  high.addWhereClause().addCondition("id", DBsqlWhereCondition::GREATER_THAN_OR_EQUAL).addRightOperandValue(DBvariant(3));
  both2.addOrderByColumn("id", true);
  const DBresultSetPtr united = database.executeSqlSelectUnion(both2, 0, 0);
  ASSERT_GE(united->countOfRow(), 2u);
  EXPECT_EQ(united->value(united->countOfRow() - 1, 0), DBvariant(1));
  EXPECT_EQ(united->value(united->countOfRow() - 2, 0), DBvariant(3));
}

// Ten rows, of which a window is kept; all are counted.
void fetchesAWindowAndCountsEveryRow(DBdatabaseOdbc& database) {
  database.executeSqlString("DROP TABLE IF EXISTS counted", 0, 0);
  database.executeSqlString("CREATE TABLE counted (n INTEGER)", 0, 0);
  for (int n = 0; n < 10; ++n) {
    DBsqlInsert insert;
    insert.setTableName("counted");
    insert.addColumn("n", DBvariant(n));
    database.executeSqlInsert(insert);
  }
  const DBresultSetPtr window = database.executeSqlString("SELECT n FROM counted ORDER BY n", 3, 4);
  ASSERT_EQ(window->countOfRow(), 4u);
  EXPECT_EQ(window->countOfDatabaseRow(), 10u);
  EXPECT_EQ(window->value(0, 0), DBvariant(3));
  EXPECT_EQ(window->value(3, 0), DBvariant(6));
  EXPECT_EQ(database.executeSqlString("SELECT n FROM counted", 8, 0)->countOfRow(), 2u);
  EXPECT_FALSE(database.executeSqlString("DELETE FROM counted WHERE n > 100", 0, 0));
}

// --- without a database

TEST(DBodbc, LoadsTheDriverManagerAndTakesItsParameters) {
  const bool loadedBefore = DBdatabaseOdbc::isInitialized();  // by another suite of this process
  COLstring report;
  COLostream stream(report);
  DBdatabaseOdbc::initialize(stream);
  ASSERT_TRUE(DBdatabaseOdbc::isInitialized());
  // The load runs once: a second initialize writes nothing.
  EXPECT_EQ(report.str(), loadedBefore ? "" : "Trying to load ODBC... libodbc.so  OK (ODBC support enabled)\n");
  EXPECT_EQ(DBdatabaseOdbc::loadedApiLibraryPath(), "libodbc.so");

  DBdatabaseOdbc database;
  EXPECT_TRUE(database.useBinding());
  database.setParameter(DB_PARAM_USE_UNICODE, "yes");
  database.setParameter("UseBinding", "yes");
  EXPECT_FALSE(database.useBinding());
  EXPECT_STREQ(database.dbStringType(), "NVARCHAR");
  DBdatabaseOdbcOracle oracle;
  EXPECT_STREQ(oracle.dbStringType(), "VARCHAR");
  oracle.setParameter(DB_PARAM_USE_UNICODE, "yes");
  EXPECT_STREQ(oracle.dbStringType(), "NVARCHAR2");
  DBdatabaseOdbcPostgreSql postgres;
  postgres.setParameter(DB_PARAM_USE_UNICODE, "yes");
  EXPECT_STREQ(postgres.dbStringType(), "VARCHAR");
  database.setParameter(DB_PARAM_USE_UNICODE, "");
  EXPECT_TRUE(database.useBinding());
  database.setParameter(DB_PARAM_TIMEOUT, "7");
  EXPECT_EQ(database.timeout(), 7u);
  EXPECT_EQ(TSTraised([&] { database.setParameter("UseUnicode", "maybe"); }).description(),
            "Parameter is unsupported: \"UseUnicode\"=\"maybe\"");
  EXPECT_EQ(TSTraised([&] { database.setParameter(DB_PARAM_TIMEOUT, "soon"); }).description(),
            "Parameter is unsupported: \"Timeout\"=\"soon\"");
  EXPECT_FALSE(database.isConnected());
  EXPECT_EQ(TSTraised([&] { database.executeSqlString("SELECT 1", 0, 0); }).description(),
            "Failed precondition: pMember->pConnection.get() != NULL");
}

// --- SQLite

class DBsqlite : public ::testing::Test {
protected:
  void SetUp() override {
    DBloadDriverManager();
    database = new DBdatabaseOdbc;
    database->connect(DBsqliteConnectionString(directory).c_str(), "", "");
  }
  TSTtemporaryDirectory directory;
  COLreferencePtr<DBdatabaseOdbc> database;
};

TEST_F(DBsqlite, EveryTypeRoundTripsOnEachRoad) {
  // No Unicode road: SQLite takes no N'' literals.
  DBreporting([&] {
    for (const Mode& mode : {Binding, Text}) roundTripEveryType(*database, mode);
    queriesWithTheGeneratedClauses(*database, false);
  });
}

TEST_F(DBsqlite, FetchesAWindowAndCountsEveryRow) { fetchesAWindowAndCountsEveryRow(*database); }

TEST_F(DBsqlite, ASecondConnectWithTheSameTextsKeepsTheConnection) {
  const COLstring source = DBsqliteConnectionString(directory).c_str();
  // A temporary table lives as long as its connection.
  database->executeSqlString("CREATE TEMP TABLE mark (n INTEGER)", 0, 0);
  database->connect(source, "", "");
  EXPECT_TRUE(database->executeSqlString("SELECT n FROM mark", 0, 0));
  database->connect(source + ";NoTXN=0", "", "");
  EXPECT_THROW(database->executeSqlString("SELECT n FROM mark", 0, 0), COLerror);
  EXPECT_EQ(database->cachedDataSourceName(), source + ";NoTXN=0");
}

TEST_F(DBsqlite, ABadStatementIsNamedWithTheDriversReport) {
  const COLerror error = TSTraised([&] { database->executeSqlString("SELEC nothing", 0, 0); });
  EXPECT_EQ(error.code(), COL_ERROR_RESOURCE);
  EXPECT_EQ(error.description().find("SELEC nothing\nODBC Error:\n"), 0u) << error.description().str();
  EXPECT_NE(error.description().find("syntax error"), COLstring::npos) << error.description().str();
  EXPECT_TRUE(database->isConnected());  // a bad statement is no lost connection

  // A failed bound insert reports the statement with its values in place.
  database->executeSqlString("CREATE TABLE once (n INTEGER PRIMARY KEY, t VARCHAR(9))", 0, 0);
  DBsqlInsert insert;
  insert.setTableName("once");
  insert.addColumn("n", DBvariant(1));
  insert.addColumn("t", DBvariant("o'k"));
  database->executeSqlInsert(insert);
  const COLerror duplicate = TSTraised([&] { database->executeSqlInsert(insert); });
  EXPECT_EQ(duplicate.description().find("INSERT INTO once(n,t) VALUES(1,'o''k')\nODBC Error:\n"), 0u)
      << duplicate.description().str();
}

TEST_F(DBsqlite, ARefusedConnectionIsNamedAndLeavesNoConnection) {
  DBdatabaseOdbc other;
  const COLstring source = "DRIVER=SQLite3;DATABASE=/nonexistent-dir/x.db";
  const COLerror error = TSTraised([&] { other.connect(source, "", ""); });
  EXPECT_EQ(error.description().find("Unable to connect to the ODBC data source '" + source + "'.\nODBC Error:\n"), 0u)
      << error.description().str();
  EXPECT_FALSE(other.isConnected());
  const COLerror unknownDsn = TSTraised([&] { other.connect("no-such-dsn", "", ""); });
  EXPECT_NE(unknownDsn.description().find("Data source name not found"), COLstring::npos)
      << unknownDsn.description().str();
}

TEST_F(DBsqlite, CatalogueAndTransactions) {
  database->executeSqlString("CREATE TABLE people (id INTEGER NOT NULL, name VARCHAR(20) DEFAULT 'x', PRIMARY KEY (id))", 0, 0);
  const DBresultSetPtr tables = database->fetchNonSystemDatabaseTables();
  ASSERT_EQ(tables->countOfColumn(), 1u);
  EXPECT_EQ(tables->columnName(0), "TABLE_NAME");
  ASSERT_EQ(tables->countOfRow(), 1u);
  EXPECT_EQ(tables->value(0, 0), DBvariant("people"));
  EXPECT_FALSE(database->isSystemTable("people"));
  const DBresultSetPtr columns = database->fetchDatabaseTableColumns("people");
  ASSERT_EQ(columns->countOfRow(), 2u);
  EXPECT_EQ(columns->value(0, "COLUMN_NAME"), DBvariant("id"));
  EXPECT_EQ(columns->value(0, "REQUIRED"), DBvariant(true));
  EXPECT_EQ(columns->value(0, "PRIMARY_KEY"), DBvariant(true));
  EXPECT_EQ(columns->value(1, "PRIMARY_KEY"), DBvariant(false));
  EXPECT_EQ(columns->value(1, "LENGTH"), DBvariant(20));
  EXPECT_EQ(columns->value(0, "DATA_TYPE"), DBvariant(static_cast<int>(DB_INTEGER)));
  EXPECT_EQ(columns->value(1, "DATA_TYPE"), DBvariant(static_cast<int>(DB_STRING)));
  EXPECT_EQ(columns->value(1, "DEFAULT_VALUE"), DBvariant("x"));  // as the driver gives it

  DBkeepsOnlyTheCommittedRow(*database, "people");
}

// A ping the server refuses with a state on the back end's list still counts as an answer.
TEST_F(DBsqlite, AFailedPingWithAnAcceptableStateCountsAsConnected) {
  struct BadPing : DBdatabaseOdbc {
    const char* sqlPingCommand() const override { return "SELEC 0;"; }
  } plain;
  struct BadPingFilemaker : DBdatabaseOdbcFilemaker {
    const char* sqlPingCommand() const override { return "SELEC 0;"; }
  } filemaker;
  const COLstring source = DBsqliteConnectionString(directory).c_str();
  plain.connect(source, "", "");
  filemaker.connect(source, "", "");
  EXPECT_FALSE(plain.isConnected());
  EXPECT_TRUE(filemaker.isConnected());
}

// A statement that outlives its connection holds a dead handle and frees nothing twice.
TEST_F(DBsqlite, StatementsOutliveTheirConnection) {
  DBreporting([&] {
  DBodbcEnvironment environment;
  auto connection = std::make_unique<DBodbcConnection>(&environment);
  const COLstring source = DBsqliteConnectionString(directory).c_str();
  ASSERT_FALSE(DBodbcFailed(DBodbc().SQLDriverConnect(connection->handle(), nullptr, (SQLCHAR*)source.c_str(), SQL_NTS,
                                                      nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT)));
  connection->setConnected(true);
  DBodbcStatement statement(connection.get());
  EXPECT_NE(statement.handle(), nullptr);
  environment.invalidate();
  EXPECT_EQ(statement.handle(), nullptr);
  EXPECT_FALSE(connection->isValid());
  EXPECT_EQ(TSTraised([&] { DBodbcStatement late(connection.get()); }).description(),
            "Failed precondition: pConnection->handle() != 0");
  });
}

// --- PostgreSQL

class DBpostgres : public ::testing::Test {
protected:
  void SetUp() override { DBloadDriverManager(); }
};

TEST_F(DBpostgres, EveryTypeRoundTripsOnEachRoad) {
  DB_REQUIRE_POSTGRES(server);
  DBdatabaseOdbcPostgreSql database;
  DBreporting([&] {
    database.connect(server->connectionString().c_str(), "msgbridge", "");
    for (const Mode& mode : {Binding, Text}) roundTripEveryType(database, mode);
    queriesWithTheGeneratedClauses(database, true);
    fetchesAWindowAndCountsEveryRow(database);
    DBdatabaseOdbcPostgreSql wide;
    wide.connect(server->connectionString(true).c_str(), "msgbridge", "");
    roundTripEveryType(wide, Unicode);
  });
}

TEST_F(DBpostgres, CatalogueThroughTheInformationSchema) {
  DB_REQUIRE_POSTGRES(server);
  DBdatabaseOdbcPostgreSql database;
  database.connect(server->connectionString().c_str(), "msgbridge", "");
  database.executeSqlString("DROP TABLE IF EXISTS listed; CREATE TABLE listed (n INT4)", 0, 0);
  const DBresultSetPtr tables = database.fetchDatabaseTables();
  bool found = false;
  for (size_t row = 0; row < tables->countOfRow(); ++row) found |= tables->value(row, "TABLE_NAME") == DBvariant("listed");
  EXPECT_TRUE(found);
  EXPECT_FALSE(database.isSystemTable("listed"));
  EXPECT_TRUE(database.isSystemTable("pg_class"));
  EXPECT_EQ(TSTraised([&] { database.isSystemTable("nowhere"); }).description(),
            "Failed precondition: QueryResultSet->countOfRow() == 1");
}

TEST_F(DBpostgres, RefusedAndLostConnectionsAreNamedInFull) {
  DB_REQUIRE_POSTGRES(server);
  DBdatabaseOdbcPostgreSql refused;
  // The server's port plus one: nothing listens there.
  const COLstring nowhere = ("DRIVER=PostgreSQL Unicode;SERVER=127.0.0.1;PORT=" + std::to_string(server->port() + 1) +
                             ";DATABASE=postgres")
                                .c_str();
  const COLerror error = TSTraised([&] { refused.connect(nowhere, "msgbridge", ""); });
  EXPECT_EQ(error.description().find("Unable to connect to the ODBC data source '" + nowhere + "'.\nODBC Error:\n"), 0u)
      << error.description().str();
  EXPECT_NE(error.description().find("refused"), COLstring::npos) << error.description().str();

  DBdatabaseOdbcPostgreSql victim, killer;
  victim.connect(server->connectionString().c_str(), "msgbridge", "");
  killer.connect(server->connectionString().c_str(), "msgbridge", "");
  const DBvariant pid = victim.executeSqlString("SELECT pg_backend_pid()", 0, 0)->value(0, 0);
  killer.executeSqlString(("SELECT pg_terminate_backend(" + pid.toString() + ")").str().c_str(), 0, 0);
  // The server says why it ends the session; the next call finds the link gone (a state of
  // class 08) and drops the connection.
  const COLerror ended = TSTraised([&] { victim.executeSqlString("SELECT 1", 0, 0); });
  EXPECT_EQ(ended.description().find("SELECT 1\nODBC Error:\n"), 0u) << ended.description().str();
  EXPECT_NE(ended.description().find("terminating connection"), COLstring::npos) << ended.description().str();
  EXPECT_FALSE(victim.isConnected());
  const COLerror lost = TSTraised([&] { victim.executeSqlString("SELECT 2", 0, 0); });
  EXPECT_EQ(lost.description().find("SELECT 2\nODBC Error:\n"), 0u) << lost.description().str();
  EXPECT_NE(lost.description().find("connection lost"), COLstring::npos) << lost.description().str();
  EXPECT_EQ(TSTraised([&] { victim.executeSqlString("SELECT 1", 0, 0); }).description(),
            "Failed precondition: pMember->pConnection.get() != NULL");
  // Connecting again with the same texts makes a new connection, since the old one is gone.
  victim.connect(server->connectionString().c_str(), "msgbridge", "");
  EXPECT_TRUE(victim.isConnected());
}

// The PostgreSQL dialect's cases as the server sees them: every text that binds nothing runs,
// after the case's setup, in an empty schema.
TEST_F(DBpostgres, TheDialectCasesRunOnTheServer) {
  DB_REQUIRE_POSTGRES(server);
  DBdatabaseOdbcPostgreSql database;
  database.connect(server->connectionString().c_str(), "msgbridge", "");
  const std::vector<TSTdataCase> cases = TSTreadDataFile("DB/sql/postgresql.test");
  size_t ran = 0;
  for (const TSTdataCase& Case : cases) {
    if (Case.has("server")) continue;
    database.executeSqlString("DROP SCHEMA public CASCADE; CREATE SCHEMA public", 0, 0);
    if (Case.has("setup")) database.executeSqlString(Case.text("setup").c_str(), 0, 0);
    std::istringstream lines(Case.text("steps"));
    for (std::string line; std::getline(lines, line);) {
      const size_t open = line.find(" postgresql -> [");
      if (open == std::string::npos || line.back() != ']') continue;
      const std::string sql = line.substr(open + 16, line.size() - open - 17);
      if (sql.find('?') != std::string::npos) continue;
      const std::string failure = TSTerrorText([&] { database.executeSqlString(sql.c_str(), 0, 0); });
      EXPECT_EQ(failure, "no error") << Case.where() << " " << sql;
      ++ran;
    }
  }
  EXPECT_GE(ran, 7u);
}

// Two threads with engines of their own take turns on one connection; each gives the
// interpreter lock up around its database call, so the other runs scripts meanwhile.
TEST_F(DBpostgres, OneConnectionServesTwoThreadsThatGiveTheEngineLockUp) {
  DB_REQUIRE_POSTGRES(server);
  COLreferencePtr<DBdatabaseOdbcPostgreSql> database(new DBdatabaseOdbcPostgreSql);
  database->connect(server->connectionString().c_str(), "msgbridge", "");
  database->executeSqlString("DROP TABLE IF EXISTS turns; CREATE TABLE turns (who INT4, n INT4)", 0, 0);
  std::mutex turn;  // the connection serves one thread at a time
  std::promise<void> sleeping;
  auto work = [&](int who) {
    COLreferencePtr<LANengine> engine = readyEngine();
    LANengineSwap swap(*engine);
    for (int n = 0; n < 5; ++n) {
      {
        LANengineUnlock unlock;
        std::lock_guard<std::mutex> hold(turn);
        if (who == 1 && n == 0) {
          sleeping.set_value();
          database->executeSqlString("SELECT pg_sleep(0.3)", 0, 0);
        }
        DBsqlInsert insert;
        insert.setTableName("turns");
        insert.addColumn("who", DBvariant(who));
        insert.addColumn("n", DBvariant(n));
        database->executeSqlInsert(insert);
      }
      engine->runString("count = globals().get('count', 0) + 1\n");
    }
  };
  auto first = std::async(std::launch::async, work, 1);
  sleeping.get_future().wait();
  // While the first thread waits on the server, the second can run a script.
  auto onlyScript = std::async(std::launch::async, [] { readyEngine()->runString("x = 1\n"); });
  EXPECT_EQ(onlyScript.wait_for(10s), std::future_status::ready);
  auto second = std::async(std::launch::async, work, 2);
  first.get();
  second.get();
  onlyScript.get();
  const DBresultSetPtr rows = database->executeSqlString("SELECT who, count(*) AS c FROM turns GROUP BY who ORDER BY who", 0, 0);
  ASSERT_EQ(rows->countOfRow(), 2u);
  EXPECT_EQ(rows->value(0, "c"), DBvariant(int64_t{5}));
  EXPECT_EQ(rows->value(1, "c"), DBvariant(int64_t{5}));
}

}  // namespace
