// The dialects the SQL text cases name, made without a connection: "generic" is the base's
// words alone, the others are the ODBC back ends' classes.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "COLerror.h"
#include "DBdatabase.h"

// The base with nothing to talk to: it writes text and refuses everything else.
class DBtextOnlyDatabase : public DBdatabase {
public:
  DBdatabase* clone() override {
    auto* copy = new DBtextOnlyDatabase;
    copy->m_Type = m_Type;
    return copy;
  }
  void connect(const COLstring&, const COLstring&, const COLstring&) override { refuse(); }
  int databaseType() const override { return m_Type; }
  void disconnect() override {}
  bool isConnected() override { return false; }
  DBresultSetPtr executeSqlString(const COLstring& sql, size_t, size_t) override {
    Executed += sql.str() + "\n";
    return DBresultSetPtr();
  }
  DBresultSetPtr fetchDatabaseTables() override { refuse(); }
  DBresultSetPtr fetchNonSystemDatabaseTables() override { refuse(); }
  DBresultSetPtr fetchDatabaseTableColumns(const COLstring&) override { refuse(); }
  bool isSystemTable(const COLstring&) override { refuse(); }
  void commitTransaction() override {}
  void rollbackTransaction() override {}
  void setTimeout(unsigned) override {}
  void setAutocommitFlag(bool flag) override { Autocommit = flag; }

  void setDatabaseType(int type) { m_Type = type; }
  std::string Executed;  // every statement handed to executeSqlString, a line each
  bool Autocommit = true;

private:
  [[noreturn]] static void refuse() { throw COLerror("not connected", 0); }
  int m_Type = DB_MYSQL;
};

std::unique_ptr<DBdatabase> DBmakeTextDialect(const std::string& name);

// A failed comparison of two variants shows their types and texts.
inline void PrintTo(const DBvariant& value, std::ostream* out) {
  *out << DBvariantTypeShortName(value.type()) << " \"" << value.toString().str() << "\"";
}
