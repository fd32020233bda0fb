// Databases from scripts: environment.get_database and get_default_database, and the objects
// of connections, result sets and rows, run in a real engine against a SQLite file.
#include "LANpython.h"

#include <gtest/gtest.h>

#include "COLostream.h"
#include "DBdatabaseOciOracle.h"
#include "DBdatabaseOdbcDialects.h"
#include "DBservers.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMhandle.h"
#include "QVMhandleSupport.h"

#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

namespace {

class DBscript : public ::testing::Test {
protected:
  // An engine made through the handle interface, as a host makes it.
  DBscript() {
    EXPECT_EQ(_QVMengineCreate(&Handle), nullptr);
    EXPECT_EQ(_QVMengineLoad(Handle, MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd"), nullptr);
    config().setIsDatabaseFunctionOn(true);
    Source = ("DRIVER=SQLite3;DATABASE=" + Directory.path() + "/script.db").c_str();
    Environment.setEngine(&schema());
  }
  ~DBscript() override { _QVMengineRelease(Handle); }
  QVMengineInternal& schema() { return QVMhandleEngine(Handle); }
  QVMconfig& config() { return schema().config(); }

  // "" when the script ran, else the error's text.
  std::string run(const std::string& code) {
    LANfunction Function(&schema().LanguageEngine());
    Function.setCode(("source = " + quoted(Source.str()) + "\n" + code).c_str());
    const std::string result =
        TSTerrorText([&] { LAGexecuteScript(Function, LAGglobalInboundPostProcess, Environment); });
    return result == "no error" ? "" : result;
  }
  static std::string quoted(const std::string& text) { return "'" + text + "'"; }

  TSTtemporaryDirectory Directory;
  COLstring Source;
  void* Handle = nullptr;
  LAGenvironment Environment;
};

TEST_F(DBscript, ConnectionsResultSetsAndRows) {
  EXPECT_EQ(run("db = environment.get_database('ODBC - MS SQL Server', source, '', '')\n"
                "assert db.execute('CREATE TABLE t (n INTEGER, name VARCHAR(20), ratio DOUBLE, seen DATETIME)') is None\n"
                "db.execute(\"INSERT INTO t VALUES (5, \" + db.escape_string(\"O'Hara\") + \", 0.5, '2024-02-29 23:59:58')\")\n"
                "db.execute('INSERT INTO t VALUES (6, NULL, NULL, NULL)')\n"
                "rows = db.execute_select('SELECT n, name, ratio, seen FROM t ORDER BY n')\n"
                "assert rows.count_of_row() == 2\n"
                "assert rows.value(0, 'N') == 5 and rows.value(0, 'name') == \"O'Hara\"\n"
                "assert rows.value(0, 'ratio') == 0.5, rows.value(0, 'ratio')\n"
                "assert isinstance(rows.value(0, 'seen'), float) and rows.value(0, 'seen') > 45000\n"
                "assert rows.value(1, 'name') is None and rows.value(1, 'seen') is None\n"
                "row = rows.add_row()\n"
                "row.set_integer_value(0, 7)\n"
                "row.set_string_value(1, 'added')\n"
                "row.set_double_value(2, 1.25)\n"
                "row.set_time_value(3, rows.value(0, 'seen'))\n"
                "assert rows.count_of_row() == 3\n"
                "assert (rows.value(2, 'n'), rows.value(2, 'name'), rows.value(2, 'ratio')) == (7, 'added', 1.25)\n"
                "assert rows.value(2, 'seen') == rows.value(0, 'seen')\n"
                "empty = db.get_empty_default_result_set('SELECT n, name FROM t')\n"
                "assert empty.count_of_row() == 0\n"
                "empty.add_row().set_string_value(1, 'x')\n"
                "assert empty.value(0, 'name') == 'x' and empty.value(0, 'n') is None\n"
                "assert db.execute(42) == 1\n"),
            "");
  // The same four texts give the same connection; other texts another one.
  EXPECT_EQ(run("environment.get_database('ODBC - MS SQL Server', source, '', '').execute('SELECT 1')\n"), "");
  EXPECT_EQ(Environment.countOfDatabases(), 1u);
  EXPECT_TRUE(Environment.database(0)->isConnected());
  EXPECT_EQ(Environment.database(0)->cachedDataSourceName(), Source);

  const std::string failure = run("environment.get_database('ODBC - MS SQL Server', source, '', '')"
                                  ".execute_select('SELECT missing FROM t')\n");
  EXPECT_NE(failure.find("RuntimeError: SELECT missing FROM t"), std::string::npos) << failure;
  EXPECT_NE(failure.find("no such column: missing"), std::string::npos) << failure;
  EXPECT_NE(run("rows = environment.get_database('ODBC - MS SQL Server', source, '', '').execute('SELECT n FROM t')\n"
                "rows.value(2, 'n')\n")
                .find("Failed precondition: RowIndex < (long)self->pResultSet->countOfRow()"),
            std::string::npos);
}

TEST_F(DBscript, TheTextsOfWhatCannotBe) {
  EXPECT_NE(run("environment.get_database('ODBC - MS SQL Server', source, '')\n")
                .find("Invalid arguments for get_database - get_database(DatabaseType, DatabaseName, UserName, "
                      "Password)"),
            std::string::npos);
  EXPECT_NE(run("environment.get_default_database()\n")
                .find("There is no default database specified for the current configuration."),
            std::string::npos);
  // The old name of the Oracle back end is the new one's: here the tests' stand-in client.
#ifdef MSGBRIDGE_OCI_STANDIN
  COLstring report;
  COLostream stream(report);
  DBdatabaseOciOracle::initialize(stream, MSGBRIDGE_OCI_STANDIN);
  EXPECT_EQ(run("db = environment.get_database('OCI - Oracle 9i+', " + quoted(Directory.path() + "/orcl.db") +
                ", 'scott', 'tiger')\n"
                "assert db.execute('SELECT 7 AS n FROM DUAL').value(0, 'N') == '7'\n"),
            "");
  ASSERT_EQ(Environment.countOfDatabases(), 1u);
  EXPECT_STREQ(Environment.database(0)->databaseName(), "OCI - Oracle");
  EXPECT_NE(run("environment.get_database('OCI - Oracle', " + quoted(Directory.path() + "/orcl.db") +
                ", 'scott', 'lion')\n")
                .find("ORA-01017: invalid username/password; logon denied"),
            std::string::npos);
#endif
  EXPECT_NE(run("environment.get_database('ODBC - MS SQL Server', 'DRIVER=SQLite3;DATABASE=/nonexistent-dir/x.db', "
                "'', '')\n")
                .find("Unable to connect to the ODBC data source 'DRIVER=SQLite3;DATABASE=/nonexistent-dir/x.db'."),
            std::string::npos);
  // With databases off in the configuration the object holds no connection.
  const size_t countBefore = Environment.countOfDatabases();
  config().setIsDatabaseFunctionOn(false);
  EXPECT_EQ(run("assert environment.get_database('ODBC - MS SQL Server', source, '', '').execute('SELECT 1') == 1\n"),
            "");
  EXPECT_EQ(Environment.countOfDatabases(), countBefore);
}

TEST_F(DBscript, TheDefaultDatabaseAndAHostsFactory) {
  config().addDatabaseConnection();
  config().databaseConnection(0)->setAll("main", "ODBC - PostgreSQL", Source, "", "");
  EXPECT_EQ(run("db = environment.get_default_database()\n"
                "db.execute('CREATE TABLE d (n INTEGER)')\n"
                "db.execute('INSERT INTO d VALUES (1)')\n"
                "assert db.execute('SELECT n FROM d').value(0, 'n') == 1\n"),
            "");
  ASSERT_EQ(Environment.countOfDatabases(), 1u);
  EXPECT_STREQ(Environment.database(0)->databaseName(), "ODBC - PostgreSQL");

  // A host that makes its connections itself, through the handle interface.
  struct Host {
    std::vector<std::string> Asked;
    COLstring Source;
  } host{{}, Source};
  QVMcreateDbConnectionFp factory = [](void* context, const QVMdbInfo& info) -> void* {
    auto& asked = *static_cast<Host*>(context);
    asked.Asked.push_back((info.apiName() + "|" + info.databaseName() + "|" + info.userName()).str());
    auto* database = new DBdatabaseOdbc;
    database->connect(asked.Source, "", "");
    return static_cast<DBdatabase*>(database);
  };
  ASSERT_EQ(_QVMengineSetCreateDatabaseFp(Handle, reinterpret_cast<void*>(factory)), nullptr);
  ASSERT_EQ(_QVMengineSetCreateDatabaseFpContext(Handle, &host), nullptr);
  EXPECT_EQ(run("assert environment.get_database('OCI - Oracle 9i+', 'orcl', 'scott', 'tiger')"
                ".execute('SELECT n FROM d').count_of_row() == 1\n"
                "assert environment.get_default_database().execute('SELECT n FROM d').count_of_row() == 1\n"),
            "");
  EXPECT_EQ(host.Asked, (std::vector<std::string>{"OCI - Oracle|orcl|scott", "ODBC - PostgreSQL|" + Source.str() + "|"}));
  EXPECT_EQ(Environment.countOfDatabases(), 1u);  // the host's connections are not the environment's
}

}  // namespace
