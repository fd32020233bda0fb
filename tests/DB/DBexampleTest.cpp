// examples/database.vmd run by the command-line tool: its post-process script writes each
// message's tables into a database through get_database.  The rows read back must be the
// table XML that the same run wrote, cell for cell, in SQLite through ODBC and in MariaDB.
#include <gtest/gtest.h>

#include <cstdlib>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <vector>
#include <set>
#include <sstream>

#include "COLostream.h"
#include "DBdatabaseMySql.h"
#include "DBdatabaseOdbc.h"
#include "DBservers.h"

#include "../support/TSTfile.h"

namespace {

const char* const Tables[] = {"Event", "Patient", "Visit", "Orders", "Results"};

// Runs the tool in `directory` with MSGBRIDGE_DB naming the database; "" or its output.
std::string runExample(const std::string& directory, const std::string& database) {
  const std::string log = directory + "/tool.log";
  const std::string command = "cd '" + directory + "' && MSGBRIDGE_DB='" + database + "' '" MSGBRIDGE_TOOL "' --toxml '" +
                              MSGBRIDGE_SOURCE_DIR "/examples/database.vmd' '" MSGBRIDGE_SOURCE_DIR
                              "/examples/messages.hl7' xml/m.xml >'" + log + "' 2>&1";
  if (std::system(command.c_str()) == 0) return "";
  return "the tool failed:\n" + TSTreadFile(log);
}

// Every non-empty cell of the table XML files as "table message group row column=value".
std::multiset<std::string> cellsOfXml(const std::string& directory, size_t& messages) {
  std::multiset<std::string> cells;
  messages = 0;
  for (;; ++messages) {
    char name[32];
    std::snprintf(name, sizeof name, "/xml/%05zum.xml", messages + 1);
    std::ifstream in(directory + name);
    if (!in) break;
    std::string table;
    int group = -1;
    std::map<std::string, int> rows;  // rows of each table within the group so far
    for (std::string line; std::getline(in, line);) {
      const size_t open = line.find('<');
      if (open == std::string::npos) continue;
      const std::string tag = line.substr(open + 1, line.find('>', open) - open - 1);
      if (tag.find(".Orders") != std::string::npos && tag[0] != '/') {
        ++group;
        rows.clear();
        continue;
      }
      for (const char* known : Tables)
        if (tag == known) table = tag, ++rows[tag];
      if (tag[0] == '/' || table.empty()) continue;
      const size_t close = line.find("</" + tag + ">");
      if (close == std::string::npos) continue;
      const size_t start = line.find('>', open) + 1;
      const std::string value = line.substr(start, close - start);
      if (value.empty()) continue;
      cells.insert(table + " " + std::to_string(messages + 1) + " " + std::to_string(group < 0 ? 0 : group) + " " +
                   std::to_string(rows[table] - 1) + " " + tag + "=" + value);
    }
  }
  return cells;
}

// The same cells as the database holds them.
std::multiset<std::string> cellsOfDatabase(DBdatabase& database) {
  std::multiset<std::string> cells;
  for (const char* table : Tables) {
    const DBresultSetPtr rows = database.executeSqlString(COLstring("SELECT * FROM msg_") + table, 0, 0);
    for (size_t row = 0; row < rows->countOfRow(); ++row) {
      const std::string key = std::string(table) + " " + rows->value(row, "message").toString().str() + " " +
                              rows->value(row, "group_index").toString().str() + " " +
                              rows->value(row, "row_index").toString().str() + " ";
      for (size_t column = 3; column < rows->countOfColumn(); ++column) {
        const DBvariant& value = rows->value(row, column);
        if (value.type() == DB_NULL || value.toString().empty()) continue;
        cells.insert(key + rows->columnName(column).str() + "=" + value.toString().str());
      }
    }
  }
  return cells;
}

void compare(DBdatabase& database, const std::string& directory) {
  size_t messages = 0;
  const std::multiset<std::string> expected = cellsOfXml(directory, messages);
  EXPECT_EQ(messages, 24u);
  EXPECT_GT(expected.size(), 400u);
  const std::multiset<std::string> stored = cellsOfDatabase(database);
  std::vector<std::string> missing, extra;
  std::set_difference(expected.begin(), expected.end(), stored.begin(), stored.end(), std::back_inserter(missing));
  std::set_difference(stored.begin(), stored.end(), expected.begin(), expected.end(), std::back_inserter(extra));
  EXPECT_TRUE(missing.empty()) << missing.size() << " cells missing, the first: " << missing.front();
  EXPECT_TRUE(extra.empty()) << extra.size() << " cells too many, the first: " << extra.front();
}

TEST(DBsqliteExample, TheExampleWritesEveryMessageTableIntoSqlite) {
  TSTtemporaryDirectory directory;
  const std::string file = directory.path() + "/messages.sqlite";
  ASSERT_EQ(runExample(directory.path(), "ODBC - MS SQL Server|DRIVER=SQLite3;DATABASE=" + file + "||"), "");
  COLstring report;
  COLostream stream(report);
  DBdatabaseOdbc::initialize(stream);
  DBdatabaseOdbc database;
  database.connect(("DRIVER=SQLite3;DATABASE=" + file).c_str(), "", "");
  compare(database, directory.path());
  // Without MSGBRIDGE_DB the definition's own connection is used: a file below the directory.
  TSTtemporaryDirectory second;
  std::filesystem::create_directory(second.path() + "/out");
  ASSERT_EQ(runExample(second.path(), ""), "");
  EXPECT_TRUE(std::filesystem::exists(second.path() + "/out/messages.sqlite"));
}

TEST(DBmariadbExample, TheExampleWritesEveryMessageTableIntoMariadb) {
  DB_REQUIRE_MARIADB(server);
  TSTtemporaryDirectory directory;
  ASSERT_EQ(runExample(directory.path(), "MySQL|" + server->dataSource() + "|msgbridge|secret"), "");
  COLstring report;
  COLostream stream(report);
  DBdatabaseMySql::initialize(stream, nullptr);
  DBdatabaseMySql database;
  database.connect(server->dataSource().c_str(), "msgbridge", "secret");
  compare(database, directory.path());
}

}  // namespace
