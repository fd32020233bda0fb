// DBdatabaseOciOracle: DBdatabase over Oracle's OCI client library ("libclntsh.so"), loaded at
// run time.  Values of inserts and updates are bound by name (":COLUMN"); selects are described
// column by column and fetched into buffers of the back end's own.  The words are Oracle's.
#pragma once

#include <memory>

#include "DBdatabase.h"

class DBdatabaseOciOracle : public DBdatabase {
public:
  // Loads `path` (or "libclntsh.so") unless a library is loaded, and writes how it went.
  static bool initialize(COLostream& stream, const char* path);
  static bool readyToReinitialize();
  static bool reinitialize(COLostream& stream, const char* path);
  static bool isInitialized();
  static COLstring loadedApiLibraryPath();
  static COLstring loadedApiVersion();

  DBdatabaseOciOracle();
  ~DBdatabaseOciOracle() override;

  DBdatabase* clone() override;
  // `dataSource` is the database's connect identifier.
  void connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) override;
  int databaseType() const override { return DB_OCI_ORACLE; }
  void disconnect() override;
  // Runs "SELECT 0 FROM DUAL".
  bool isConnected() override;

  void createSqlCommandWithoutBinding(const DBsqlCommand& command, COLostream& stream) override;
  DBresultSetPtr executeSqlInsert(const DBsqlInsert& command) override;
  DBresultSetPtr executeSqlUpdate(const DBsqlUpdate& command) override;
  DBresultSetPtr executeSqlString(const COLstring& sql, size_t first, size_t count) override;
  DBresultSetPtr fetchDatabaseTables() override;
  DBresultSetPtr fetchNonSystemDatabaseTables() override { return fetchDatabaseTables(); }
  // The columns' names and types, from describing a select of the table.
  DBresultSetPtr fetchDatabaseTableColumns(const COLstring& tableName) override;
  bool isSystemTable(const COLstring&) override { return false; }
  void commitTransaction() override;
  void rollbackTransaction() override;
  void setTimeout(unsigned) override {}
  // Only keeps the flag: a statement commits on success while it is set.
  void setAutocommitFlag(bool flag) override;

  const char* dbDoubleType() const override;
  const char* dbDateTimeType() const override;
  const char* dbTextType() const override;
  void streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column) override;
  void streamDateTime(COLostream& stream, const COLdateTime& time) override;
  void streamNullValue(COLostream& stream) override;
  // A column text, a null, a 64-bit integer as text; any other value as the parameter
  // ":NAME", blanks of the name made "_".
  void streamInsertUpdateValue(COLostream& stream, const DBsqlInsert& command, size_t column) override;

  // The value type of an OCI data type; raises "OCI data type: N\nnot supported.".
  static DBdataType dbDataType(int ociType);
  // Whether a return code is success; otherwise the text that says why.
  bool didStatementSucceed(int code, COLstring& text);

private:
  void checkForError(int code);
  void checkForErrorWithSql(int code, const COLstring& sql);
  COLstring getAllErrorMessages();
  DBresultSetPtr executeSqlBind(const DBsqlInsert& command, const COLstring& sql);

  struct Private;
  std::unique_ptr<Private> m;
};
