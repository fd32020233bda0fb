// SQLite on the two roads a definition may name it by: a data source of odbc.ini (SQLConnect),
// with the configuration files written into a temporary directory, and the texts of the plain
// ODBC and generic words run on SQLite itself rather than only compared as text.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "COLostream.h"
#include "DBdatabaseOdbcDialects.h"
#include "DBdialects.h"
#include "DBservers.h"
#include "DBtestSupport.h"

#include "../support/TSTdataFile.h"
#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

namespace {

// Sets an environment variable for a scope and puts the old value back.
class ScopedVariable {
public:
  ScopedVariable(const char* name, const std::string& value) : m_Name(name) {
    if (const char* old = std::getenv(name)) m_Old = old, m_Had = true;
    setenv(name, value.c_str(), 1);
  }
  ~ScopedVariable() {
    if (m_Had)
      setenv(m_Name, m_Old.c_str(), 1);
    else
      unsetenv(m_Name);
  }

private:
  const char* m_Name;
  std::string m_Old;
  bool m_Had = false;
};

// odbcinst.ini names the driver, odbc.ini two data sources: one whose file can be made and one
// in a directory that does not exist.
class DBsqliteDsn : public ::testing::Test {
protected:
  void SetUp() override {
    // The driver manager reads where its files are once per process: these tests need a
    // process of their own, the ctest test DB.dsn.
    if (DBdatabaseOdbc::isInitialized())
      GTEST_SKIP() << "the ODBC driver manager was used before in this process; run this test on its own";
    DBloadDriverManager();
    TSTwriteFile(directory.path() + "/odbcinst.ini",
                 "[SQLite3 for msgbridge]\nDescription=the tests' own entry\nDriver=libsqlite3odbc.so\n"
                 "DontDLClose=1\n");
    // The driver reads odbc.ini through the installer library and keeps what it read; held
    // loaded here, that library stays to be named by a leak checker (tools/lsan-database.supp).
    dlopen("libodbcinst.so.2", RTLD_NOW | RTLD_NODELETE);
    TSTwriteFile(directory.path() + "/odbc.ini",
                 "[msgbridge_sqlite]\nDriver=/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so\nDatabase=" + directory.path() +
                     "/dsn.db\n\n[msgbridge_broken]\nDriver=SQLite3 for msgbridge\nDatabase=/nonexistent-dir/x.db\n");
  }
  TSTtemporaryDirectory directory;
  ScopedVariable systemIni{"ODBCSYSINI", directory.path()};
  ScopedVariable userIni{"ODBCINI", directory.path() + "/odbc.ini"};
};

TEST_F(DBsqliteDsn, DataSourcesOfOdbcIniConnectOrAreNamed) {
  COLreferencePtr<DBdatabaseOdbc> database(new DBdatabaseOdbc);
  DBreporting([&] { database->connect("msgbridge_sqlite", "", ""); });
  ASSERT_TRUE(database->isConnected());
  database->executeSqlString("CREATE TABLE seen (id INTEGER, name VARCHAR(20))", 0, 0);
  DBsqlInsert insert;
  insert.setTableName("seen");
  insert.addColumn("id", DBvariant(7));
  insert.addColumn("name", DBvariant("O'Hara"));
  database->executeSqlInsert(insert);
  // The rows went into the file that odbc.ini names.
  EXPECT_TRUE(std::filesystem::exists(directory.path() + "/dsn.db"));

  // A clone is a second connection to the same data source, with the same settings.
  database->setParameter("UseBinding", "no");
  const DBdatabasePtr second(database->clone());
  ASSERT_NE(second.get(), database.get());
  EXPECT_TRUE(second->isConnected());
  EXPECT_EQ(second->cachedDataSourceName(), "msgbridge_sqlite");
  EXPECT_FALSE(static_cast<DBdatabaseOdbc&>(*second).useBinding());
  const DBresultSetPtr rows = second->executeSqlString("SELECT id, name FROM seen", 0, 0);
  ASSERT_EQ(rows->countOfRow(), 1u);
  EXPECT_EQ(rows->value(0, "name"), DBvariant("O'Hara"));
  // Dropping one leaves the other connected.
  database->disconnect();
  EXPECT_TRUE(second->isConnected());

  // A data source whose file cannot be made is named.
  DBdatabaseOdbc broken;
  const COLerror error = TSTraised([&] { broken.connect("msgbridge_broken", "", ""); });
  EXPECT_EQ(error.description().find("Unable to connect to the ODBC data source 'msgbridge_broken'.\nODBC Error:\n"), 0u)
      << error.description().str();
  EXPECT_FALSE(broken.isConnected());
  EXPECT_EQ(broken.cachedDataSourceName(), "");
  // A clone of a connection that never connected stays unconnected.
  const DBdatabasePtr copy(broken.clone());
  EXPECT_FALSE(copy->isConnected());
  EXPECT_EQ(copy->databaseType(), DB_ODBC_SQL_SERVER);
  const DBdatabasePtr postgres(DBdatabaseOdbcPostgreSql().clone());
  EXPECT_STREQ(postgres->databaseName(), "ODBC - PostgreSQL");
}

// Every text of the generic and plain ODBC cases runs on SQLite, after the tables the texts
// name were made.  A case that SQLite refuses says why under "sqlite", and must be refused.
TEST(DBsqliteDialect, TheGenericAndOdbcTextsRunOnSqlite) {
  DBloadDriverManager();
  size_t ran = 0, refused = 0;
  for (const char* file : {"DB/sql/generic.test", "DB/sql/odbc.test"}) {
    for (const TSTdataCase& Case : TSTreadDataFile(file)) {
      // A database in memory: a fresh one for each case, and no file to sync.
      DBdatabaseOdbc database;
      database.connect("DRIVER=SQLite3;DATABASE=:memory:", "", "");
      // Every table and column the cases name, typeless as SQLite allows.
      std::istringstream schema(
          "CREATE TABLE patients (id, name, code, code2, Mixed);"
          "CREATE TABLE \"Patient\" (id, name, code, code2, Mixed);"
          "CREATE TABLE visits (patient, ward, seen);"
          "CREATE TABLE t (id, a, b, c, d, e, f, E2);"
          "CREATE TABLE u (id, a, k, K2); CREATE TABLE v (id); CREATE TABLE w (id);"
          "CREATE TABLE \"L\" (id); CREATE TABLE R (id); CREATE TABLE S (id);"
          "CREATE TABLE A (a); CREATE TABLE B (b); CREATE TABLE C (c);"
          "CREATE TABLE emp (dept, n, first);"
          "CREATE TABLE \"Pat\" (id, name, born, absent, zero, empty, copy, big, ratio, ok, other);"
          "CREATE TABLE \"Old\" (id); CREATE TABLE \"Dept\" (id PRIMARY KEY)");
      for (std::string statement; std::getline(schema, statement, ';');)
        ASSERT_EQ(TSTerrorText([&] { database.executeSqlString(statement.c_str(), 0, 0); }), "no error") << statement;
      const std::string dialect = file == std::string("DB/sql/odbc.test") ? "odbc" : "generic";
      std::istringstream lines(Case.text("steps"));
      for (std::string line; std::getline(lines, line);) {
        // Bound texts ("?") need their values: the round-trip tests run those.
        for (const std::string kind : {"sql ", "plain "}) {
          const std::string head = kind + dialect + " -> [";
          if (line.rfind(head, 0) != 0 || line.back() != ']') continue;
          const std::string sql = line.substr(head.size(), line.size() - head.size() - 1);
          if (sql.find('?') != std::string::npos) continue;
          const std::string failure = TSTerrorText([&] { database.executeSqlString(sql.c_str(), 0, 0); });
          if (Case.has("sqlite")) {
            EXPECT_NE(failure, "no error") << Case.where() << " runs on SQLite now: " << sql;
            ++refused;
          } else {
            EXPECT_EQ(failure, "no error") << Case.where() << " " << sql;
            ++ran;
          }
        }
      }
      // What the inserts wrote is there to read.
      if (Case.Name == "insert of values of every type") {
        const DBresultSetPtr rows = database.executeSqlString("SELECT name, born, absent, big, copy FROM \"Pat\"", 0, 0);
        ASSERT_EQ(rows->countOfRow(), 1u);
        EXPECT_EQ(rows->value(0, "name").toString(), "O'Neil");
        EXPECT_EQ(rows->value(0, "born").toString(), "1970-1-2 3:4:5");
        EXPECT_EQ(rows->value(0, "absent").type(), DB_NULL);
        EXPECT_EQ(rows->value(0, "big").toString(), "5000000000");
        EXPECT_EQ(rows->value(0, "copy").toString(), "3");
      }
    }
  }
  EXPECT_GE(ran, 18u);
  EXPECT_GE(refused, 3u);
}

}  // namespace
