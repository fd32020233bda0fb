#include "DBdatabaseMySql.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "COLcriticalSection.h"
#include "COLdll.h"
#include "COLostream.h"

// The field record of the installed MariaDB Connector/C, the client Debian ships: only its types
// are used, nothing of it is linked.
#if __has_include(<mariadb/mysql.h>)
#include <mariadb/mysql.h>
#define DB_HAVE_MARIADB_LAYOUT 1
#endif

namespace {

using MYSQLp = void*;
using RESp = void*;
using Row = char**;
using Bool = char;

// The field records as each version of the library publishes them.  On a 32-bit build their
// sizes are those of the version table: 32, 40, 80 and 84 bytes.
struct Field323 {
  char *name, *table, *def;
  int type;
  unsigned length, max_length, flags, decimals;
};
struct Field40 {
  char *name, *table, *org_table, *db, *def;
  unsigned long length, max_length;
  unsigned flags, decimals;
  int type;
};
struct Field41 {
  char *name, *org_name, *table, *org_table, *db, *catalog, *def;
  unsigned long length, max_length;
  unsigned name_length, org_name_length, table_length, org_table_length, db_length, catalog_length, def_length;
  unsigned flags, decimals, charsetnr;
  int type;
};
struct Field51 {
  char *name, *org_name, *table, *org_table, *db, *catalog, *def;
  unsigned long length, max_length;
  unsigned name_length, org_name_length, table_length, org_table_length, db_length, catalog_length, def_length;
  unsigned flags, decimals, charsetnr;
  int type;
  void* extension;
};

// Where a version's record keeps what the back end reads.
struct FieldLayout {
  const char* Name;  // of the versions, for messages
  size_t Size, NameAt, DefAt, LengthAt, FlagsAt, TypeAt;
  bool LongLength;  // the length is an unsigned long rather than an unsigned int
};

template <class Field>
constexpr FieldLayout layoutOf(const char* name) {
  return {name,
          sizeof(Field),
          offsetof(Field, name),
          offsetof(Field, def),
          offsetof(Field, length),
          offsetof(Field, flags),
          offsetof(Field, type),
          sizeof(Field::length) == sizeof(unsigned long)};
}

const FieldLayout Layouts[] = {
    layoutOf<Field323>("3.23"),
    layoutOf<Field40>("4.0"),
    layoutOf<Field41>("4.1"),
    layoutOf<Field51>("5.1"),
#ifdef DB_HAVE_MARIADB_LAYOUT
    layoutOf<MYSQL_FIELD>("MariaDB Connector/C 3"),
#endif
};
constexpr size_t MariaDbIndex = 4;

int versionIndex(const COLstring& version) {
  if (version.startsWith("3.23")) return 0;
  if (version.startsWith("4.0")) return 1;
  if (version.startsWith("4.1") || version.startsWith("5.0")) return 2;
  if (version.startsWith("5.1")) return 3;
  // MariaDB Connector/C numbers itself 3.0 to 3.4; all of them share one field record.
  if (sizeof Layouts / sizeof Layouts[0] > MariaDbIndex && version.size() >= 3 && version.startsWith("3.") &&
      version[2] >= '0' && version[2] <= '4')
    return static_cast<int>(MariaDbIndex);
  return -1;
}

const char* const DefaultLibraries[] = {"libmysqlclient_r.so", "libmysqlclient.so", "libmariadb.so.3"};

}  // namespace

// The loaded library: its functions, found by name, and its version.
struct DBmySqlDll {
  COLdll Library;
  COLstring Version;
  int VersionIndex = -1;
  bool ServerInitialized = false;

  void (*mysql_close)(MYSQLp);
  void (*mysql_data_seek)(RESp, unsigned long long);
  const char* (*mysql_error)(MYSQLp);
  void* (*mysql_fetch_fields)(RESp);
  Row (*mysql_fetch_row)(RESp);
  void (*mysql_free_result)(RESp);
  MYSQLp (*mysql_init)(MYSQLp);
  RESp (*mysql_list_dbs)(MYSQLp, const char*);
  RESp (*mysql_list_tables)(MYSQLp, const char*);
  unsigned (*mysql_num_fields)(RESp);
  unsigned long long (*mysql_num_rows)(RESp);
  int (*mysql_ping)(MYSQLp);
  int (*mysql_query)(MYSQLp, const char*);
  RESp (*mysql_store_result)(MYSQLp);
  int (*mysql_server_init)(int, char**, char**);
  void (*mysql_server_end)();
  Bool (*mysql_thread_init)();
  void (*mysql_thread_end)();
  Bool (*mysql_commit)(MYSQLp) = nullptr;
  Bool (*mysql_rollback)(MYSQLp) = nullptr;
  Bool (*mysql_autocommit)(MYSQLp, Bool) = nullptr;
  MYSQLp (*mysql_real_connect)(MYSQLp, const char*, const char*, const char*, const char*, unsigned, const char*,
                               unsigned long);
  RESp (*mysql_list_fields)(MYSQLp, const char*, const char*);
  const char* (*mysql_get_client_info)();

  // Loads and checks the library; raises when it cannot serve.
  explicit DBmySqlDll(const COLstring& path) {
    Library.loadLibrary(path, true);
    find(mysql_get_client_info, "mysql_get_client_info");
    Version = mysql_get_client_info();
    VersionIndex = versionIndex(Version);
    if (VersionIndex < 0) throw DBunsupportedMySqlError(Version);
    find(mysql_close, "mysql_close");
    find(mysql_data_seek, "mysql_data_seek");
    find(mysql_error, "mysql_error");
    find(mysql_fetch_fields, "mysql_fetch_fields");
    find(mysql_fetch_row, "mysql_fetch_row");
    find(mysql_free_result, "mysql_free_result");
    find(mysql_init, "mysql_init");
    find(mysql_list_dbs, "mysql_list_dbs");
    find(mysql_list_tables, "mysql_list_tables");
    find(mysql_num_fields, "mysql_num_fields");
    find(mysql_num_rows, "mysql_num_rows");
    find(mysql_ping, "mysql_ping");
    find(mysql_query, "mysql_query");
    find(mysql_store_result, "mysql_store_result");
    find(mysql_server_init, "mysql_server_init");
    find(mysql_server_end, "mysql_server_end");
    find(mysql_thread_init, "mysql_thread_init");
    find(mysql_thread_end, "mysql_thread_end");
    if (VersionIndex >= 2) {
      find(mysql_commit, "mysql_commit");
      find(mysql_rollback, "mysql_rollback");
      find(mysql_autocommit, "mysql_autocommit");
    }
    find(mysql_real_connect, "mysql_real_connect");
    find(mysql_list_fields, "mysql_list_fields");
    if (mysql_server_init(0, nullptr, nullptr) != 0)
      throw COLerror("Could not initialize MySQL library.", __LINE__, __FILE__, COL_ERROR_RESOURCE);
    ServerInitialized = true;
  }
  ~DBmySqlDll() {
    if (ServerInitialized) mysql_server_end();
  }

  const FieldLayout& layout() const {
    if (VersionIndex < 0 || static_cast<size_t>(VersionIndex) >= sizeof Layouts / sizeof Layouts[0]) {
      COLstring text;
      COLostream(text) << "No case for MySQL v" << Version;
      throw COLerror(text, COL_ERROR_PRECONDITION);
    }
    return Layouts[VersionIndex];
  }
  const char* at(void* fields, unsigned index, size_t offset) const {
    return static_cast<const char*>(fields) + layout().Size * index + offset;
  }
  const char* fieldName(void* fields, unsigned index) const {
    return *reinterpret_cast<char* const*>(at(fields, index, layout().NameAt));
  }
  const char* fieldDef(void* fields, unsigned index) const {
    return *reinterpret_cast<char* const*>(at(fields, index, layout().DefAt));
  }
  unsigned long fieldLength(void* fields, unsigned index) const {
    const char* place = at(fields, index, layout().LengthAt);
    if (layout().LongLength) return *reinterpret_cast<const unsigned long*>(place);
    return *reinterpret_cast<const unsigned*>(place);
  }
  unsigned fieldFlags(void* fields, unsigned index) const {
    return *reinterpret_cast<const unsigned*>(at(fields, index, layout().FlagsAt));
  }
  unsigned fieldTypeRaw(void* fields, unsigned index) const {
    return *reinterpret_cast<const unsigned*>(at(fields, index, layout().TypeAt));
  }

private:
  template <class Function>
  void find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(Library.getProcAddress(name));
  }
};

namespace {

// The library of the process, loaded once and kept until a reinitialisation.
std::unique_ptr<DBmySqlDll>& loadedDll() {
  static auto* const dll = new std::unique_ptr<DBmySqlDll>;  // outlives every connection
  return *dll;
}

// Connections alive: the library may be swapped only when there are none.
std::atomic<int> ConnectionCount{0};

DBmySqlDll& dll() {
  COL_PRECONDITION_TEXT(loadedDll().get() != nullptr, "pLoadedMySqlDll.get() != NULL");
  return *loadedDll();
}

// "Not enough permissions ..." or "... invalid library." after a failed load.
void writeLoadFailure(COLostream& stream, const COLstring& path, const COLstring& why) {
  stream << "NO (mysql support not enabled)" << newline;
  const bool denied = !path.empty() && !COLdllHasPermission(path, 4) && why.find("ermission") != COLstring::npos;
  stream << (denied ? "Not enough permissions to load MySQL." : "The MySQL library that was found in an invalid library.")
         << newline;
}

bool loadLocked(COLostream& stream, const char* path) {
  std::unique_ptr<DBmySqlDll>& loaded = loadedDll();
  if (loaded) {
    stream << "Already loaded MySQL: " << loaded->Library.libraryName() << " v" << loaded->Version
           << " OK (mysql enabled)" << newline;
    return true;
  }
  stream << "Trying to load MySQL... ";
  std::vector<COLstring> candidates;
  if (path && *path)
    candidates.emplace_back(path);
  else
    for (const char* name : DefaultLibraries) candidates.emplace_back(name);
  COLstring why, tried;
  for (const COLstring& candidate : candidates) {
    try {
      loaded = std::make_unique<DBmySqlDll>(candidate);
      stream << loaded->Library.libraryName() << " " << loaded->Version << " OK (mysql enabled)" << newline;
      return true;
    } catch (const DBunsupportedMySqlError& error) {
      // A library of an unknown version is a real answer: the others of the list are no better.
      stream << "NO (mysql support not enabled)" << newline << error.description() << newline;
      return false;
    } catch (const COLerror& error) {
      if (why.empty() || error.description().find("No such file") == COLstring::npos) why = error.description();
      tried = candidate;
    }
  }
  if (why.find("No such file") != COLstring::npos || why.find("cannot open") != COLstring::npos) {
    stream << "NO (mysql support not enabled)" << newline;
    return false;
  }
  writeLoadFailure(stream, tried, why);
  return false;
}

// Days to the civil date, for the fixed fields of a date-time text.
int digits(const char* text, size_t length, size_t at, size_t count) {
  int value = 0;
  for (size_t index = at; index < at + count && index < length; ++index)
    if (text[index] >= '0' && text[index] <= '9') value = value * 10 + (text[index] - '0');
  return value;
}

}  // namespace

int DBmySqlVersionIndex(const COLstring& version) { return versionIndex(version); }

size_t DBmySqlFieldRecordSize(int index) {
  if (index < 0 || static_cast<size_t>(index) >= sizeof Layouts / sizeof Layouts[0]) {
    COLstring text;
    COLostream(text) << "No case for MySQL v" << index;
    throw COLerror(text, COL_ERROR_PRECONDITION);
  }
  return Layouts[index].Size;
}

DBunsupportedMySqlError::DBunsupportedMySqlError(const COLstring& version)
    : COLerror("Loaded MySQL library has unrecognized version. " + version, __LINE__, __FILE__, COL_ERROR_RESOURCE) {}

COLcriticalSection& DBdatabaseMySql::dllSection() {
  static COLcriticalSection* const section = new COLcriticalSection;
  return *section;
}

bool DBdatabaseMySql::initialize(COLostream& stream, const char* path) {
  COLcriticalSectionLocker lock(dllSection());
  return loadLocked(stream, path);
}

bool DBdatabaseMySql::readyToReinitialize() { return ConnectionCount.load() == 0; }

bool DBdatabaseMySql::reinitialize(COLostream& stream, const char* path) {
  COL_PRECONDITION_TEXT(readyToReinitialize(), "readyToReinitialize()");
  COLcriticalSectionLocker lock(dllSection());
  loadedDll().reset();
  return loadLocked(stream, path);
}

bool DBdatabaseMySql::isInitialized() {
  COLcriticalSectionLocker lock(dllSection());
  return loadedDll() != nullptr;
}

void DBdatabaseMySql::initializeForThread() {
  if (dll().mysql_thread_init() != 0)
    throw COLerror("Unable to initialize thread local storage for MySQL", __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

void DBdatabaseMySql::uninitializeForThread() { dll().mysql_thread_end(); }

bool DBdatabaseMySql::isLibrarySupported(const COLstring& path, DBmySqlDllInfo& result) {
  result = DBmySqlDllInfo{path, "", false};
  COLdll library;
  if (library.tryLoadLibrary(path, true) != COLdllLoaded) return false;
  try {
    const char* (*version)() = reinterpret_cast<const char* (*)()>(library.getProcAddress("mysql_get_client_info"));
    result.Version = version();
  } catch (const COLerror&) {
    return false;
  }
  result.Supported = versionIndex(result.Version) >= 0;
  return result.Supported;
}

bool DBdatabaseMySql::isValidLibraryPath(const COLstring& path) {
  DBmySqlDllInfo info;
  return isLibrarySupported(path, info);
}

std::vector<DBmySqlDllInfo> DBfindSupportedMySqlDlls(bool includeUnsupported) {
  std::vector<DBmySqlDllInfo> found;
  for (const char* name : DefaultLibraries) {
    DBmySqlDllInfo info;
    DBdatabaseMySql::isLibrarySupported(name, info);
    if (info.Supported || (includeUnsupported && !info.Version.empty())) found.push_back(info);
  }
  return found;
}

COLstring DBdatabaseMySql::loadedApiLibraryPath() {
  COLcriticalSectionLocker lock(dllSection());
  return dll().Library.libraryName();
}

COLstring DBdatabaseMySql::loadedApiVersion() {
  COLcriticalSectionLocker lock(dllSection());
  return dll().Version;
}

// --- a connection

struct DBdatabaseMySql::Private {
  MYSQLp pMySqlDatabase = nullptr;
  bool UseUtf8 = false;
};

DBdatabaseMySql::DBdatabaseMySql() : m(std::make_unique<Private>()) { ++ConnectionCount; }

DBdatabaseMySql::~DBdatabaseMySql() {
  disconnect();
  --ConnectionCount;
}

DBdatabase* DBdatabaseMySql::clone() {
  auto copy = std::make_unique<DBdatabaseMySql>();
  copy->m->UseUtf8 = m->UseUtf8;
  if (!cachedDataSourceName().empty()) copy->connect(cachedDataSourceName(), cachedUserName(), cachedPassword());
  return copy.release();
}

bool DBdatabaseMySql::useUtf8() const { return m->UseUtf8; }

void DBdatabaseMySql::throwMySqlErrorWithMessage(const COLstring& text) {
  COLstring message = text + "\n";
  if (m->pMySqlDatabase) message += COLstring("MySQL Error Message:\n") + dll().mysql_error(m->pMySqlDatabase);
  disconnect();
  throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

void DBdatabaseMySql::connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) {
  // A live handle with the same texts is kept without asking the server: a connection that
  // died shows at its next statement, which drops the handle.
  if (m->pMySqlDatabase && dataSource == cachedDataSourceName() && user == cachedUserName() &&
      password == cachedPassword())
    return;
  disconnect();
  const size_t at = dataSource.find('@');
  const COLstring database = at == COLstring::npos ? dataSource : dataSource.substr(0, at);
  COLstring host = at == COLstring::npos ? COLstring() : dataSource.substr(at + 1);
  unsigned port = 0;
  const size_t colon = host.find(':');
  if (colon != COLstring::npos) {
    port = static_cast<unsigned>(std::atoi(host.c_str() + colon + 1));
    host = host.substr(0, colon);
  }
  DBmySqlDll& library = dll();
  {
    COLcriticalSectionLocker lock(dllSection());
    m->pMySqlDatabase = library.mysql_init(nullptr);
    if (!m->pMySqlDatabase)
      throw COLerror("Initialization of MySQL database object failed.", __LINE__, __FILE__, COL_ERROR_RESOURCE);
    if (!library.mysql_real_connect(m->pMySqlDatabase, host.empty() ? nullptr : host.c_str(), user.c_str(),
                                    password.c_str(), database.empty() ? nullptr : database.c_str(), port, nullptr,
                                    0)) {
      // The handle stays long enough to say why.
      COLstring message = "Attempted connection to MySQL database failed.\nMySQL Error Message:\n";
      message += library.mysql_error(m->pMySqlDatabase);
      disconnect();
      throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
    }
  }
  if (m->UseUtf8) executeSqlString("set names 'utf8'", 0, 0);
  setCachedDataSourceName(dataSource);
  setCachedUserName(user);
  setCachedPassword(password);
}

void DBdatabaseMySql::disconnect() {
  if (!m->pMySqlDatabase) return;
  dll().mysql_close(m->pMySqlDatabase);
  m->pMySqlDatabase = nullptr;
}

bool DBdatabaseMySql::isConnected() { return m->pMySqlDatabase && dll().mysql_ping(m->pMySqlDatabase) == 0; }

DBresultSetPtr DBdatabaseMySql::executeSqlString(const COLstring& sql, size_t first, size_t count) {
  COL_PRECONDITION_TEXT(m->pMySqlDatabase != nullptr, "pMember->pMySqlDatabase != NULL");
  DBmySqlDll& library = dll();
  if (library.mysql_query(m->pMySqlDatabase, sql.c_str()) != 0)
    throwMySqlErrorWithMessage("Execution of the following SQL command failed:\n" + sql);
  void* result = library.mysql_store_result(m->pMySqlDatabase);
  if (!result) return DBresultSetPtr();
  return fetchMySqlResultSet(result, first, count);
}

DBdataType DBdatabaseMySql::fieldType(unsigned typeNumber) {
  switch (typeNumber) {
    case 0: case 246: case 252: case 253: case 254: return DB_STRING;
    case 1: case 2: case 3: case 9: return DB_INTEGER;
    case 4: return DB_FLOAT;
    case 5: return DB_DOUBLE;
    case 7: case 10: case 11: case 12: return DB_DATETIME;
    case 8: return DB_LARGE_INTEGER;
  }
  COLstring text;
  COLostream(text) << "MySQL data type: " << typeNumber << newline << "not supported.";
  throw COLerror(text, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

void DBdatabaseMySql::setResultSetColumnValue(DBresultSet& result, size_t row, size_t column, const char* text,
                                              DBdataType type) {
  if (!text) return;
  if (type != DB_DATETIME) return result.setValue(row, column, DBvariantFromString(text, type));
  const size_t length = std::strlen(text);
  // "2024-02-09 07:05:03", a DATE's "2024-02-09", or the compact "20240209070503".
  const bool dashed = length > 4 && text[4] == '-';
  const int year = digits(text, length, 0, 4);
  const int month = digits(text, length, dashed ? 5 : 4, 2), day = digits(text, length, dashed ? 8 : 6, 2);
  const int hour = digits(text, length, dashed ? 11 : 8, 2), minute = digits(text, length, dashed ? 14 : 10, 2);
  const int second = digits(text, length, dashed ? 17 : 12, 2);
  // The server's zero date stands for "no date".
  if (year == 0 && month == 0 && day == 0) return;
  result.setValue(row, column, DBvariant(COLdateTime(year, month, day, hour, minute, second)));
}

DBresultSetPtr DBdatabaseMySql::fetchMySqlResultSet(void* result, size_t first, size_t count) {
  if (!result) throwMySqlErrorWithMessage("MySQL result set retrieval failed.");
  DBmySqlDll& library = dll();
  struct Freer {
    DBmySqlDll& Library;
    void* Result;
    ~Freer() { Library.mysql_free_result(Result); }
  } freer{library, result};
  DBresultSetPtr resultSet(new DBresultSet);
  const unsigned long long rows = library.mysql_num_rows(result);
  resultSet->setCountOfDatabaseRow(rows);
  const unsigned columns = library.mysql_num_fields(result);
  void* fields = library.mysql_fetch_fields(result);
  std::vector<DBdataType> types(columns);
  for (unsigned column = 0; column < columns; ++column) {
    resultSet->addColumn(library.fieldName(fields, column));
    types[column] = fieldType(library.fieldTypeRaw(fields, column));
  }
  if (first >= rows) return resultSet;
  library.mysql_data_seek(result, first);
  const unsigned long long last = count == 0 || first + count > rows ? rows : first + count;
  for (unsigned long long index = first; index < last; ++index) {
    Row row = library.mysql_fetch_row(result);
    if (!row) break;
    const size_t at = resultSet->addRow();
    for (unsigned column = 0; column < columns; ++column)
      setResultSetColumnValue(*resultSet, at, column, row[column], types[column]);
  }
  return resultSet;
}

DBresultSetPtr DBdatabaseMySql::fetchDatabaseTables() {
  COL_PRECONDITION_TEXT(m->pMySqlDatabase != nullptr, "pMember->pMySqlDatabase != NULL");
  return fetchMySqlResultSet(dll().mysql_list_tables(m->pMySqlDatabase, nullptr), 0, 0);
}

DBresultSetPtr DBdatabaseMySql::fetchDatabases() {
  COL_PRECONDITION_TEXT(isConnected(), "isConnected()");
  void* result = dll().mysql_list_dbs(m->pMySqlDatabase, nullptr);
  if (!result) throwMySqlErrorWithMessage("Fetching MySQL database names failed.");
  return fetchMySqlResultSet(result, 0, 0);
}

DBresultSetPtr DBdatabaseMySql::fetchDatabaseTableColumns(const COLstring& TableName) {
  COL_PRECONDITION_TEXT(!TableName.empty(), "TableName != NULL");
  COL_PRECONDITION_TEXT(m->pMySqlDatabase != nullptr, "pMember->pMySqlDatabase != NULL");
  DBmySqlDll& library = dll();
  void* result = library.mysql_list_fields(m->pMySqlDatabase, TableName.c_str(), nullptr);
  if (!result) throwMySqlErrorWithMessage("Initialization of database column information retrieval failed.");
  struct Freer {
    DBmySqlDll& Library;
    void* Result;
    ~Freer() { Library.mysql_free_result(Result); }
  } freer{library, result};
  DBresultSetPtr columns(new DBresultSet);
  for (const char* name : {"Column_Name", "Data_Type", "Default_Value", "Length", "Required", "Primary_Key"})
    columns->addColumn(name);
  const unsigned count = library.mysql_num_fields(result);
  void* fields = library.mysql_fetch_fields(result);
  // The flag bits of a field record: NOT NULL and PRIMARY KEY.
  constexpr unsigned NotNull = 1, PrimaryKey = 2;
  for (unsigned index = 0; index < count; ++index) {
    const size_t row = columns->addRow();
    columns->setValue(row, size_t{0}, DBvariant(library.fieldName(fields, index)));
    columns->setValue(row, 1, DBvariant(static_cast<int>(fieldType(library.fieldTypeRaw(fields, index)))));
    if (const char* def = library.fieldDef(fields, index)) columns->setValue(row, 2, DBvariant(def));
    columns->setValue(row, 3, DBvariant(static_cast<int64_t>(library.fieldLength(fields, index))));
    const unsigned flags = library.fieldFlags(fields, index);
    columns->setValue(row, 4, DBvariant((flags & NotNull) != 0));
    columns->setValue(row, 5, DBvariant((flags & PrimaryKey) != 0));
  }
  return columns;
}

// --- words

void DBdatabaseMySql::streamName(COLostream& stream, const COLstring& name, bool quote) {
  if (quote)
    stream << "`" << name << "`";
  else
    stream << name;
}

void DBdatabaseMySql::addEscapedStringToStream(COLostream& stream, const COLstring& text) {
  COLstring escaped = "'";
  for (const char c : text.view()) {
    if (c == '\\')
      escaped += "\\\\";
    else if (c == '\'')
      escaped += "\\'";
    else
      escaped += c;
  }
  escaped += "'";
  stream << escaped;
}

void DBdatabaseMySql::streamCreateTableNotNull(COLostream& stream, const DBsqlCreateTableColumn& column) {
  if (column.requiredFlag() || column.primaryKeyFlag()) stream << " NOT NULL ";
}

void DBdatabaseMySql::streamCreateTableForeignKeyPrefix(COLostream& stream, const DBsqlCreateTableColumn& column) {
  stream << ",INDEX (" << column.name() << ")";
}

void DBdatabaseMySql::streamCreateTableSuffix(COLostream& stream, const DBsqlCreateTable&) {
  stream << " TYPE = InnoDB";
  if (m->UseUtf8) stream << " DEFAULT CHARSET='utf8'";
}

// --- settings and transactions

void DBdatabaseMySql::setParameter(const COLstring& name, const COLstring& value) {
  if (name == DB_PARAM_USE_UNICODE && (value == "yes" || value == "no")) {
    m->UseUtf8 = value == "yes";
    return;
  }
  DBdatabase::setParameter(name, value);
}

void DBdatabaseMySql::setAutocommitFlag(bool flag) {
  DBmySqlDll& library = dll();
  if (library.VersionIndex < 2) return;
  COL_PRECONDITION_TEXT(library.mysql_autocommit != nullptr, "autocommit != NULL");
  COL_PRECONDITION_TEXT(m->pMySqlDatabase != nullptr, "pMember->pMySqlDatabase != NULL");
  if (library.mysql_autocommit(m->pMySqlDatabase, flag ? 1 : 0) != 0) throwMySqlErrorWithMessage("Failed to set autocommit.");
}

void DBdatabaseMySql::commitTransaction() {
  DBmySqlDll& library = dll();
  if (library.VersionIndex >= 2) {
    COL_PRECONDITION_TEXT(library.mysql_commit != nullptr, "commit != NULL");
    COL_PRECONDITION_TEXT(m->pMySqlDatabase != nullptr, "pMember->pMySqlDatabase != NULL");
    if (library.mysql_commit(m->pMySqlDatabase) != 0) throwMySqlErrorWithMessage("Failed to commit transaction.");
  }
  endTransaction();
}

void DBdatabaseMySql::rollbackTransaction() {
  DBmySqlDll& library = dll();
  if (library.VersionIndex >= 2) {
    COL_PRECONDITION_TEXT(library.mysql_rollback != nullptr, "rollback != NULL");
    COL_PRECONDITION_TEXT(m->pMySqlDatabase != nullptr, "pMember->pMySqlDatabase != NULL");
    if (library.mysql_rollback(m->pMySqlDatabase) != 0) throwMySqlErrorWithMessage("Failed to rollback transaction.");
  }
  endTransaction();
}
