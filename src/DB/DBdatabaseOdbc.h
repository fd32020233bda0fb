// DBdatabaseOdbc: DBdatabase over an ODBC driver manager loaded at run time.  Values of inserts
// and updates are bound as parameters unless Unicode or the settings say otherwise; fetching
// keeps a window of rows and counts them all.  The dialect classes of DBdatabaseOdbcDialects.h
// change its words for each database product.
#pragma once

#include <memory>
#include <vector>

#include "DBdatabase.h"
#include "DBodbcApi.h"

class DBodbcStatement;

class DBdatabaseOdbc : public DBdatabase {
public:
  // Loads "libodbc.so" once and writes how it went to `stream`.
  static void initialize(COLostream& stream);
  static bool isInitialized();
  static const COLstring& loadedApiLibraryPath();

  DBdatabaseOdbc();
  ~DBdatabaseOdbc() override;

  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbc); }

  // A data source holding "=" is a connection string (for instance "DRIVER=SQLite3;DATABASE=...");
  // any other text names a data source of odbc.ini.
  void connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) override;
  // The plain ODBC words are the defaults of the base: the first ODBC type stands for them.
  int databaseType() const override { return DB_ODBC_SQL_SERVER; }
  void disconnect() override;
  bool isConnected() override;

  void createSqlCommandWithoutBinding(const DBsqlCommand& command, COLostream& stream) override;
  const char* dbStringType() const override;
  DBresultSetPtr executeSqlInsert(const DBsqlInsert& command) override;
  DBresultSetPtr executeSqlUpdate(const DBsqlUpdate& command) override;
  DBresultSetPtr executeSqlString(const COLstring& sql, size_t first, size_t count) override;
  DBresultSetPtr fetchDatabaseTables() override;
  DBresultSetPtr fetchNonSystemDatabaseTables() override;
  DBresultSetPtr fetchDatabaseTableColumns(const COLstring& tableName) override;
  bool isSystemTable(const COLstring& tableName) override;
  void addEscapedStringToStream(COLostream& stream, const COLstring& text) override;
  void commitTransaction() override;
  void rollbackTransaction() override;
  void setTimeout(unsigned seconds) override;
  void setParameter(const COLstring& name, const COLstring& value) override;
  void setAutocommitFlag(bool flag) override;
  void streamInsertUpdateValue(COLostream& stream, const DBsqlInsert& command, size_t column) override;

  // --- what the dialects change
  virtual bool bindStringsAsLongText() const { return true; }
  virtual const char* sqlPingCommand() const { return "SELECT 0;"; }
  virtual unsigned timeout() const;
  virtual bool supportsDescribeParam() const { return true; }
  virtual void adjustEmptyString(COLstring&) const {}
  virtual void buildPrimaryKeyList(const COLstring& tableName, std::vector<COLstring>& keys);
  // SQL states that a ping may answer with while the server is alive.
  virtual size_t acceptableErrorStringSize() const { return 1; }
  virtual const char* acceptableErrorString(size_t) const { return "00000"; }
  virtual bool connectionExists() const;
  virtual bool statementSucceeds();
  virtual bool pingSucceeds(DBodbcStatement& statement);
  virtual bool handledErrorIsOk(DBodbcStatement& statement);

  bool useUnicode() const;
  // True only when binding is on and Unicode is off.
  bool useBinding() const;

  // The text of an insert or update with every value written in place.
  void DBdatabaseOdbcCreateSqlInsertWithoutBinding(const DBsqlInsert& command, COLostream& stream);
  void DBdatabaseOdbcCreateSqlUpdateWithoutBinding(const DBsqlUpdate& command, COLostream& stream);

protected:
  // Gives `copy` this object's settings and connects it as this one was; for clone.
  DBdatabase* cloneInto(DBdatabaseOdbc* copy);
  // Raises a COLerror of code 0x80000500: `text`, "ODBC Error:" and every diagnostic record of
  // the handle.  A state of class "08" means the connection is gone: it is dropped first.
  [[noreturn]] void throwOdbcErrorWithMessage(SQLSMALLINT handleType, SQLHANDLE handle, const COLstring& text);
  // The rows of a catalogue call, read as a result set.
  template <class Call>
  DBresultSetPtr fetchCatalogue(const COLstring& what, Call call);

private:
  DBresultSetPtr executeSqlBind(const DBsqlInsert& command, const COLstring& sql);
  DBresultSetPtr fetchOdbcResultSet(DBodbcStatement& statement, const COLstring& sql, SQLSMALLINT columnCount,
                                    size_t first, size_t count);
  DBdataType variantType(SQLSMALLINT sqlType, const COLstring& sql, const COLstring& column);
  void setResultSetColumnValue(DBodbcStatement& statement, const COLstring& sql, DBresultSet& result, size_t row,
                               size_t column, DBdataType type);
  COLstring readString(DBodbcStatement& statement, const COLstring& sql, SQLUSMALLINT column, bool& isNull);
  // The statement as it ran, with each "?" replaced by its value, for error reports.
  COLstring DBdatabaseOdbcRecreateSqlQuery(const DBsqlInsert& command, const COLstring& sql);

  struct Private;
  std::unique_ptr<Private> m;
};
