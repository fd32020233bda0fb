// DBdatabaseMySql: DBdatabase over the MySQL client library, found and loaded at run time.
// No version of the library is linked: its version text, read at load, picks the layout of
// its field records.  The library is loaded once for the process and shared by every
// connection; a data source is "database@host:port".
#pragma once

#include <memory>
#include <vector>

#include "COLerror.h"
#include "DBdatabase.h"

class COLcriticalSection;

// The library's version is none that this back end knows the field records of.
class DBunsupportedMySqlError : public COLerror {
public:
  explicit DBunsupportedMySqlError(const COLstring& version);
};

// The index of the field record layout for a library's version text: 0 for "3.23", 1 for "4.0",
// 2 for "4.1" and "5.0", 3 for "5.1", 4 for MariaDB Connector/C 3.0 to 3.4 when its header was
// there at build time; -1 for any other.
int DBmySqlVersionIndex(const COLstring& version);
// The size of a field record of that layout; raises "No case for MySQL v..." outside the table.
size_t DBmySqlFieldRecordSize(int versionIndex);

// What a candidate library offers.
struct DBmySqlDllInfo {
  COLstring Path;
  COLstring Version;
  bool Supported = false;
};

// The candidates of the default list that load and are of a known version (or all of those
// that load, with `includeUnsupported`).
std::vector<DBmySqlDllInfo> DBfindSupportedMySqlDlls(bool includeUnsupported);

class DBdatabaseMySql : public DBdatabase {
public:
  // Loads `path` (or the first of the default list that loads) unless a library is loaded,
  // and writes how it went.  True when a library is ready.
  static bool initialize(COLostream& stream, const char* path);
  // Unloads and loads again; only when no connection uses the library.
  static bool reinitialize(COLostream& stream, const char* path);
  static bool readyToReinitialize();
  static bool isInitialized();
  // Every thread that uses a connection calls these around its use.
  static void initializeForThread();
  static void uninitializeForThread();
  // Loads the library to read its version, and unloads it.
  static bool isLibrarySupported(const COLstring& path, DBmySqlDllInfo& result);
  static bool isValidLibraryPath(const COLstring& path);
  static COLstring loadedApiLibraryPath();
  static COLstring loadedApiVersion();
  // The library's path and version as a connection of this process uses them.
  COLstring apiLibraryPath() const { return loadedApiLibraryPath(); }
  COLstring apiVersion() const { return loadedApiVersion(); }
  // The section that guards loading and connection set-up.
  static COLcriticalSection& dllSection();

  DBdatabaseMySql();
  ~DBdatabaseMySql() override;

  DBdatabase* clone() override;
  void connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) override;
  int databaseType() const override { return DB_MYSQL; }
  void disconnect() override;
  // Asks the server (mysql_ping); connect and the statements do not.
  bool isConnected() override;

  DBresultSetPtr executeSqlString(const COLstring& sql, size_t first, size_t count) override;
  DBresultSetPtr fetchDatabaseTables() override;
  DBresultSetPtr fetchNonSystemDatabaseTables() override { return fetchDatabaseTables(); }
  DBresultSetPtr fetchDatabaseTableColumns(const COLstring& tableName) override;
  bool isSystemTable(const COLstring&) override { return false; }
  DBresultSetPtr fetchDatabases();

  void addEscapedStringToStream(COLostream& stream, const COLstring& text) override;
  void commitTransaction() override;
  void rollbackTransaction() override;
  void setTimeout(unsigned) override {}
  // DB_PARAM_USE_UNICODE with "yes" or "no".
  void setParameter(const COLstring& name, const COLstring& value) override;
  void setAutocommitFlag(bool flag) override;

  const char* selectCastStringType() const override { return "CHAR"; }
  const char* dbTextType() const override { return "LONGTEXT"; }
  void streamName(COLostream& stream, const COLstring& name, bool quote) override;
  void streamCreateTableNotNull(COLostream& stream, const DBsqlCreateTableColumn& column) override;
  void streamCreateTableForeignKeyPrefix(COLostream& stream, const DBsqlCreateTableColumn& column) override;
  void streamCreateTableSuffix(COLostream& stream, const DBsqlCreateTable& command) override;

  bool useUtf8() const;

  // A cell's text as a value of `type`; date-times in either of the server's two forms.
  static void setResultSetColumnValue(DBresultSet& result, size_t row, size_t column, const char* text,
                                      DBdataType type);
  // The value type of a MySQL column type number.
  static DBdataType fieldType(unsigned typeNumber);

private:
  [[noreturn]] void throwMySqlErrorWithMessage(const COLstring& text);
  DBresultSetPtr fetchMySqlResultSet(void* result, size_t first, size_t count);

  struct Private;
  std::unique_ptr<Private> m;
};
