#include "DBdatabaseOdbc.h"

#include <algorithm>
#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "DButf.h"

struct DBdatabaseOdbc::Private {
  // The connection goes before the environment that owns its handle.
  std::unique_ptr<DBodbcEnvironment> pEnvironment;
  std::unique_ptr<DBodbcConnection> pConnection;
  bool UseUnicode = false;
  bool UseBinding = true;
  unsigned Timeout = 0;
  // Set while a text is written with its values in place of the parameters.
  bool WritingWithoutBinding = false;
};

namespace {

// Holds the without-binding flag for one generation.
class WithoutBinding {
public:
  explicit WithoutBinding(bool& flag) : m_Flag(flag), m_Old(flag) { m_Flag = true; }
  ~WithoutBinding() { m_Flag = m_Old; }

private:
  bool& m_Flag;
  bool m_Old;
};

SQLCHAR* sqlText(const COLstring& text) { return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str())); }

bool flagValue(const COLstring& value, bool& flag) {
  if (value == "yes") return flag = true, true;
  if (value == "no" || value.empty()) return flag = false, true;
  return false;
}

}  // namespace

void DBdatabaseOdbc::initialize(COLostream& stream) { DBodbcLoad(stream); }
bool DBdatabaseOdbc::isInitialized() { return DBodbcLoaded(); }
const COLstring& DBdatabaseOdbc::loadedApiLibraryPath() { return DBodbcLibraryPath(); }

DBdatabaseOdbc::DBdatabaseOdbc() : m(std::make_unique<Private>()) {}

DBdatabaseOdbc::~DBdatabaseOdbc() {
  m->pConnection.reset();
  m->pEnvironment.reset();
}

DBdatabase* DBdatabaseOdbc::cloneInto(DBdatabaseOdbc* copy) {
  std::unique_ptr<DBdatabaseOdbc> hold(copy);
  copy->m->UseUnicode = m->UseUnicode;
  copy->m->UseBinding = m->UseBinding;
  copy->m->Timeout = m->Timeout;
  if (!cachedDataSourceName().empty()) copy->connect(cachedDataSourceName(), cachedUserName(), cachedPassword());
  return hold.release();
}

bool DBdatabaseOdbc::useUnicode() const { return m->UseUnicode; }
bool DBdatabaseOdbc::useBinding() const { return m->UseBinding && !m->UseUnicode; }
unsigned DBdatabaseOdbc::timeout() const { return m->Timeout; }

void DBdatabaseOdbc::throwOdbcErrorWithMessage(SQLSMALLINT handleType, SQLHANDLE handle, const COLstring& text) {
  COLstring message = text + "\nODBC Error:\n";
  bool connectionLost = false;
  for (const DBodbcDiagnostic& record : DBodbcDiagnostics(handleType, handle)) {
    message += record.Message + "\n";
    if (record.State.startsWith("08")) connectionLost = true;
  }
  if (connectionLost) disconnect();
  throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

// --- connection

void DBdatabaseOdbc::connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) {
  // Kept without a ping: a connection that died shows at its next statement (a state of class
  // 08), which drops it, so that the connect after that makes a new one.
  if (connectionExists() && dataSource == cachedDataSourceName() && user == cachedUserName() &&
      password == cachedPassword())
    return;
  disconnect();
  m->pEnvironment = std::make_unique<DBodbcEnvironment>();
  m->pConnection = std::make_unique<DBodbcConnection>(m->pEnvironment.get());
  setTimeout(m->Timeout);
  const DBodbcApi& api = DBodbc();
  const SQLHDBC handle = m->pConnection->handle();
  SQLRETURN result;
  if (dataSource.find('=') != COLstring::npos) {
    COLstring text = dataSource;
    if (!user.empty()) text += ";UID=" + user + ";PWD=" + password;
    result = api.SQLDriverConnect(handle, nullptr, sqlText(text), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
  } else {
    result = api.SQLConnect(handle, sqlText(dataSource), SQL_NTS, sqlText(user), SQL_NTS, sqlText(password), SQL_NTS);
  }
  if (DBodbcFailed(result)) {
    try {
      throwOdbcErrorWithMessage(SQL_HANDLE_DBC, handle, "Unable to connect to the ODBC data source '" + dataSource + "'.");
    } catch (...) {
      disconnect();
      throw;
    }
  }
  m->pConnection->setConnected(true);
  setCachedDataSourceName(dataSource);
  setCachedUserName(user);
  setCachedPassword(password);
}

void DBdatabaseOdbc::disconnect() {
  m->pConnection.reset();
  m->pEnvironment.reset();
}

bool DBdatabaseOdbc::connectionExists() const { return m->pConnection && m->pConnection->connected(); }

bool DBdatabaseOdbc::statementSucceeds() {
  try {
    DBodbcStatement statement(m->pConnection.get());
    return pingSucceeds(statement);
  } catch (const COLerror&) {
    return false;
  }
}

bool DBdatabaseOdbc::isConnected() { return connectionExists() && statementSucceeds(); }

bool DBdatabaseOdbc::pingSucceeds(DBodbcStatement& statement) {
  const COLstring ping = sqlPingCommand();
  if (!DBodbcFailed(DBodbc().SQLExecDirect(statement.handle(), sqlText(ping), SQL_NTS))) return true;
  return handledErrorIsOk(statement);
}

bool DBdatabaseOdbc::handledErrorIsOk(DBodbcStatement& statement) {
  const std::vector<DBodbcDiagnostic> records = DBodbcDiagnostics(SQL_HANDLE_STMT, statement.handle());
  if (records.empty()) return false;
  for (size_t index = 0; index < acceptableErrorStringSize(); ++index)
    if (records[0].State == acceptableErrorString(index)) return true;
  return false;
}

void DBdatabaseOdbc::setTimeout(unsigned seconds) {
  m->Timeout = seconds;
  if (!m->pConnection) return;
  const SQLHDBC handle = m->pConnection->handle();
  const SQLPOINTER value = reinterpret_cast<SQLPOINTER>(static_cast<uintptr_t>(seconds));
  for (const SQLINTEGER attribute : {SQL_ATTR_LOGIN_TIMEOUT, SQL_ATTR_QUERY_TIMEOUT, SQL_ATTR_CONNECTION_TIMEOUT})
    if (DBodbcFailed(DBodbc().SQLSetConnectAttr(handle, attribute, value, 0)))
      throwOdbcErrorWithMessage(SQL_HANDLE_DBC, handle, "Unable to set the timeout.");
}

void DBdatabaseOdbc::setParameter(const COLstring& name, const COLstring& value) {
  if (name == DB_PARAM_USE_UNICODE && flagValue(value, m->UseUnicode)) return;
  if (name == "UseBinding" && flagValue(value, m->UseBinding)) return;
  if (name == DB_PARAM_TIMEOUT && !value.empty() &&
      value.view().find_first_not_of("0123456789") == std::string_view::npos)
    return setTimeout(static_cast<unsigned>(std::strtoul(value.c_str(), nullptr, 10)));
  DBdatabase::setParameter(name, value);
}

void DBdatabaseOdbc::setAutocommitFlag(bool flag) {
  COL_PRECONDITION_TEXT(m->pConnection, "pMember->pConnection.get() != NULL");
  const SQLHDBC handle = m->pConnection->handle();
  const SQLPOINTER value = reinterpret_cast<SQLPOINTER>(static_cast<uintptr_t>(flag ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF));
  if (DBodbcFailed(DBodbc().SQLSetConnectAttr(handle, SQL_ATTR_AUTOCOMMIT, value, 0)))
    throwOdbcErrorWithMessage(SQL_HANDLE_DBC, handle, "Unable to set the autocommit mode.");
}

void DBdatabaseOdbc::commitTransaction() {
  COL_PRECONDITION_TEXT(m->pConnection, "pMember->pConnection.get() != NULL");
  const SQLHDBC handle = m->pConnection->handle();
  if (DBodbcFailed(DBodbc().SQLEndTran(SQL_HANDLE_DBC, handle, SQL_COMMIT)))
    throwOdbcErrorWithMessage(SQL_HANDLE_DBC, handle, "Unable to commit the transaction.");
  endTransaction();
}

void DBdatabaseOdbc::rollbackTransaction() {
  COL_PRECONDITION_TEXT(m->pConnection, "pMember->pConnection.get() != NULL");
  const SQLHDBC handle = m->pConnection->handle();
  if (DBodbcFailed(DBodbc().SQLEndTran(SQL_HANDLE_DBC, handle, SQL_ROLLBACK)))
    throwOdbcErrorWithMessage(SQL_HANDLE_DBC, handle, "Unable to roll back the transaction.");
  endTransaction();
}

// --- words

const char* DBdatabaseOdbc::dbStringType() const {
  // The national character types of the two products that have them.
  if (m->UseUnicode && databaseType() == DB_ODBC_SQL_SERVER) return "NVARCHAR";
  if (m->UseUnicode && databaseType() == DB_ODBC_ORACLE) return "NVARCHAR2";
  return DBdatabase::dbStringType();
}

void DBdatabaseOdbc::addEscapedStringToStream(COLostream& stream, const COLstring& text) {
  if (m->UseUnicode) stream << "N";
  DBdatabase::addEscapedStringToStream(stream, text);
}

void DBdatabaseOdbc::streamInsertUpdateValue(COLostream& stream, const DBsqlInsert& command, size_t column) {
  const DBvariant& value = command.columnValue(column);
  if (command.columnValueIsColumnFlag(column))
    stream << value.toString();
  else if (value.type() == DB_NULL)
    streamNullValue(stream);
  else if (useBinding() && !m->WritingWithoutBinding)
    stream << "?";
  else
    DBdatabase::streamInsertUpdateValue(stream, command, column);
}

void DBdatabaseOdbc::DBdatabaseOdbcCreateSqlInsertWithoutBinding(const DBsqlInsert& command, COLostream& stream) {
  WithoutBinding scope(m->WritingWithoutBinding);
  createSqlInsert(command, stream);
}

void DBdatabaseOdbc::DBdatabaseOdbcCreateSqlUpdateWithoutBinding(const DBsqlUpdate& command, COLostream& stream) {
  WithoutBinding scope(m->WritingWithoutBinding);
  createSqlUpdate(command, stream);
}

void DBdatabaseOdbc::createSqlCommandWithoutBinding(const DBsqlCommand& command, COLostream& stream) {
  WithoutBinding scope(m->WritingWithoutBinding);
  createSqlCommand(command, stream);
}

// --- execution

DBresultSetPtr DBdatabaseOdbc::executeSqlInsert(const DBsqlInsert& command) {
  COLstring sql;
  COLostream stream(sql);
  if (!useBinding()) {
    DBdatabaseOdbcCreateSqlInsertWithoutBinding(command, stream);
    return executeSqlString(sql, 0, 0);
  }
  createSqlInsert(command, stream);
  // A select as the source of rows leaves no value to bind.
  return command.selectQueryExists() ? executeSqlString(sql, 0, 0) : executeSqlBind(command, sql);
}

DBresultSetPtr DBdatabaseOdbc::executeSqlUpdate(const DBsqlUpdate& command) {
  // An update made into an insert runs as one.
  if (command.commandType() == DBsqlCommand::INSERT) return executeSqlInsert(command);
  COLstring sql;
  COLostream stream(sql);
  if (!useBinding()) {
    DBdatabaseOdbcCreateSqlUpdateWithoutBinding(command, stream);
    return executeSqlString(sql, 0, 0);
  }
  createSqlUpdate(command, stream);
  return executeSqlBind(command, sql);
}

DBresultSetPtr DBdatabaseOdbc::executeSqlString(const COLstring& sql, size_t first, size_t count) {
  COL_PRECONDITION_TEXT(m->pConnection.get() != NULL, "pMember->pConnection.get() != NULL");
  const DBodbcApi& api = DBodbc();
  DBodbcStatement statement(m->pConnection.get());
  SQLRETURN result;
  if (m->UseUnicode) {
    DBstringWchar wide;
    DBconvertUtf8ToWchar(wide, sql);
    std::vector<SQLWCHAR> units(wide.data(), wide.data() + wide.size());
    units.push_back(0);
    result = api.SQLExecDirectW(statement.handle(), units.data(), static_cast<SQLINTEGER>(wide.size()));
  } else {
    result = api.SQLExecDirect(statement.handle(), sqlText(sql), static_cast<SQLINTEGER>(sql.size()));
  }
  if (DBodbcFailed(result)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, statement.handle(), sql);
  // The answer of a batch is its last result.
  DBresultSetPtr latest;
  while (result != SQL_NO_DATA) {
    SQLSMALLINT columnCount = 0;
    if (DBodbcFailed(api.SQLNumResultCols(statement.handle(), &columnCount)))
      throwOdbcErrorWithMessage(SQL_HANDLE_STMT, statement.handle(), sql);
    latest = columnCount > 0 ? fetchOdbcResultSet(statement, sql, columnCount, first, count) : DBresultSetPtr();
    result = api.SQLMoreResults(statement.handle());
    if (DBodbcFailed(result)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, statement.handle(), sql);
  }
  return latest;
}

DBresultSetPtr DBdatabaseOdbc::fetchOdbcResultSet(DBodbcStatement& statement, const COLstring& sql,
                                                  SQLSMALLINT CountOfResultSetColumn, size_t first, size_t count) {
  COL_PRECONDITION(CountOfResultSetColumn != -1);
  const DBodbcApi& api = DBodbc();
  const SQLHSTMT handle = statement.handle();
  DBresultSetPtr result(new DBresultSet);
  result->resizeColumnVector(static_cast<size_t>(CountOfResultSetColumn));
  std::vector<DBdataType> types;
  for (SQLUSMALLINT column = 1; column <= static_cast<SQLUSMALLINT>(CountOfResultSetColumn); ++column) {
    SQLSMALLINT ColumnNameLength = 0;
    if (DBodbcFailed(api.SQLColAttribute(handle, column, SQL_DESC_NAME, nullptr, 0, &ColumnNameLength, nullptr)))
      throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
    if (ColumnNameLength == 0) ColumnNameLength = 100;
    COL_POSTCONDITION(ColumnNameLength > 0);
    std::vector<char> buffer(static_cast<size_t>(ColumnNameLength) + 1, '\0');
    SQLSMALLINT written = 0;
    if (DBodbcFailed(api.SQLColAttribute(handle, column, SQL_DESC_NAME, buffer.data(),
                                         static_cast<SQLSMALLINT>(buffer.size()), &written, nullptr)))
      throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
    const COLstring ColumnName(buffer.data());
    COL_POSTCONDITION(ColumnName.size() > 0);
    result->setColumnName(column - 1, ColumnName);
    SQLLEN sqlType = 0;
    if (DBodbcFailed(api.SQLColAttribute(handle, column, SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &sqlType)))
      throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
    // SQLite's driver answers the C type of a signed big integer for a BIGINT column.
    if (sqlType == SQL_C_SBIGINT) sqlType = SQL_BIGINT;
    types.push_back(variantType(static_cast<SQLSMALLINT>(sqlType), sql, ColumnName));
  }
  // Rows outside the window are fetched and counted but not read.
  uint64_t fetched = 0;
  for (;;) {
    const SQLRETURN code = api.SQLFetch(handle);
    if (code == SQL_NO_DATA) break;
    if (DBodbcFailed(code)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
    const uint64_t row = fetched++;
    if (row < first || (count != 0 && row >= static_cast<uint64_t>(first) + count)) continue;
    const size_t stored = result->addRow();
    for (size_t column = 0; column < types.size(); ++column)
      setResultSetColumnValue(statement, sql, *result, stored, column, types[column]);
  }
  result->setCountOfDatabaseRow(fetched);
  return result;
}

namespace {

// The variant type that holds a value of an ODBC SQL type; null for the types it cannot hold.
DBdataType dataTypeOfSqlType(SQLSMALLINT sqlType) {
  switch (sqlType) {
    case SQL_WLONGVARCHAR: case SQL_WCHAR: case SQL_LONGVARCHAR: case SQL_CHAR: case SQL_VARCHAR:
      return DB_STRING;
    case SQL_BIT: case SQL_TINYINT: case SQL_NUMERIC: case SQL_DECIMAL: case SQL_INTEGER: case SQL_SMALLINT:
      return DB_INTEGER;
    case SQL_BIGINT: return DB_LARGE_INTEGER;
    case SQL_FLOAT: return DB_FLOAT;
    case SQL_REAL: case SQL_DOUBLE: return DB_DOUBLE;
    case SQL_DATE: case SQL_TIMESTAMP: case SQL_TYPE_DATE: case SQL_TYPE_TIME: case SQL_TYPE_TIMESTAMP:
      return DB_DATETIME;
    default: return DB_NULL;
  }
}

}  // namespace

DBdataType DBdatabaseOdbc::variantType(SQLSMALLINT sqlType, const COLstring& sql, const COLstring& column) {
  const DBdataType type = dataTypeOfSqlType(sqlType);
  if (type != DB_NULL) return type;
  COLstring text = "Unsupported database type encountered while executing SQL query:\n" + sql + "\nColumn: " +
                   column + "\nDatabase Type: ";
  // The driver's name for the type, when it can tell.
  const char* failure = nullptr;
  COLstring typeName;
  try {
    const DBodbcApi& api = DBodbc();
    DBodbcStatement info(m->pConnection.get());
    SQLLEN length = 0;
    char probe[1];
    if (DBodbcFailed(api.SQLGetTypeInfo(info.handle(), sqlType)))
      failure = "'SQLGetTypeInfo' to retrieve information regarding the column type failed.";
    else if (api.SQLFetch(info.handle()) != SQL_SUCCESS)
      failure = "'SQLFetch' to retrieve information regarding the column type failed.";
    else if (DBodbcFailed(api.SQLGetData(info.handle(), 1, SQL_C_CHAR, probe, 0, &length)) || length < 0)
      failure = "'SQLGetData' to retrieve the length of the type name failed.";
    else {
      std::vector<char> name(static_cast<size_t>(length) + 1, '\0');
      if (DBodbcFailed(api.SQLGetData(info.handle(), 1, SQL_C_CHAR, name.data(), static_cast<SQLLEN>(name.size()), &length)))
        failure = "'SQLGetData' to retrieve the type name failed.";
      else
        typeName = name.data();
    }
  } catch (const COLerror&) {
    failure = "'SQLGetTypeInfo' to retrieve information regarding the column type failed.";
  }
  if (failure)
    text += COLstring(" (Unable to retrieve typename from database)\n") + failure;
  else
    text += typeName;
  throw COLerror(text, COL_ERROR_RESOURCE);
}

COLstring DBdatabaseOdbc::readString(DBodbcStatement& statement, const COLstring& sql, SQLUSMALLINT column,
                                     bool& isNull) {
  const DBodbcApi& api = DBodbc();
  const SQLHSTMT handle = statement.handle();
  const bool wide = m->UseUnicode;
  const SQLSMALLINT target = wide ? SQL_C_WCHAR : SQL_C_CHAR;
  const size_t unit = wide ? sizeof(SQLWCHAR) : 1;
  // First the length, then the text in one piece; a driver that cannot tell the length is
  // read in pieces until it has no more.
  SQLLEN length = 0;
  char probe[sizeof(SQLWCHAR)];
  SQLRETURN code = api.SQLGetData(handle, column, target, probe, 0, &length);
  if (DBodbcFailed(code)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
  isNull = length == SQL_NULL_DATA;
  std::string bytes;
  if (isNull || code == SQL_NO_DATA) return COLstring();
  if (length != SQL_NO_TOTAL) {
    std::vector<char> buffer(static_cast<size_t>(length) + unit, '\0');
    code = api.SQLGetData(handle, column, target, buffer.data(), static_cast<SQLLEN>(buffer.size()), &length);
    if (DBodbcFailed(code)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
    bytes.assign(buffer.data(), std::min(static_cast<size_t>(std::max<SQLLEN>(length, 0)), buffer.size() - unit));
  } else {
    std::vector<char> buffer(4096 + unit);
    while ((code = api.SQLGetData(handle, column, target, buffer.data(), static_cast<SQLLEN>(buffer.size()),
                                  &length)) != SQL_NO_DATA) {
      if (DBodbcFailed(code)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
      const size_t piece = length == SQL_NO_TOTAL || static_cast<size_t>(length) > buffer.size() - unit
                               ? buffer.size() - unit
                               : static_cast<size_t>(length);
      bytes.append(buffer.data(), piece);
      if (code == SQL_SUCCESS) break;
    }
  }
  COLstring text;
  if (wide) {
    std::vector<DButf16> units(bytes.size() / unit);
    if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * unit);
    text = DBconvertUtf16ToUtf8(units.data(), units.size());
  } else {
    text = COLstring(std::move(bytes));
  }
  text.str().erase(std::remove(text.str().begin(), text.str().end(), '\0'), text.str().end());
  return text;
}

void DBdatabaseOdbc::setResultSetColumnValue(DBodbcStatement& statement, const COLstring& sql, DBresultSet& result,
                                             size_t row, size_t column, DBdataType type) {
  const DBodbcApi& api = DBodbc();
  const SQLHSTMT handle = statement.handle();
  const SQLUSMALLINT number = static_cast<SQLUSMALLINT>(column + 1);
  SQLLEN indicator = 0;
  auto read = [&](SQLSMALLINT target, void* value, SQLLEN size) {
    if (DBodbcFailed(api.SQLGetData(handle, number, target, value, size, &indicator)))
      throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
    return indicator != SQL_NULL_DATA;
  };
  switch (type) {
    case DB_STRING: {
      bool isNull = false;
      COLstring text = readString(statement, sql, number, isNull);
      if (isNull) return;
      adjustEmptyString(text);
      result.setValue(row, column, DBvariant(text));
      return;
    }
    case DB_INTEGER: {
      // Read in 64 bits: SQLite calls its 64-bit integers SQL_INTEGER, and a 32-bit read would
      // cut them silently.  What fits stays a 32-bit value.
      SQLBIGINT value = 0;
      if (!read(SQL_C_SBIGINT, &value, sizeof value)) return;
      if (value >= INT32_MIN && value <= INT32_MAX)
        result.setValue(row, column, DBvariant(static_cast<int>(value)));
      else
        result.setValue(row, column, DBvariant(static_cast<int64_t>(value)));
      return;
    }
    case DB_LARGE_INTEGER: {
      SQLBIGINT value = 0;
      if (read(SQL_C_SBIGINT, &value, sizeof value))
        result.setValue(row, column, DBvariant(static_cast<int64_t>(value)));
      return;
    }
    case DB_FLOAT: {
      SQLREAL value = 0;
      if (read(SQL_C_FLOAT, &value, sizeof value)) result.setValue(row, column, DBvariant(static_cast<float>(value)));
      return;
    }
    case DB_DOUBLE: {
      SQLDOUBLE value = 0;
      if (read(SQL_C_DOUBLE, &value, sizeof value)) result.setValue(row, column, DBvariant(static_cast<double>(value)));
      return;
    }
    case DB_DATETIME: {
      TIMESTAMP_STRUCT value{};
      if (read(SQL_C_TIMESTAMP, &value, sizeof value))
        result.setValue(row, column,
                        DBvariant(COLdateTime(value.year, value.month, value.day, value.hour, value.minute, value.second)));
      return;
    }
    default: throw COLerror("Unknown type.", COL_ERROR_PRECONDITION);
  }
}

// --- binding

namespace {

// What the bound pointers point at, kept until the statement ran.
struct BoundValues {
  explicit BoundValues(size_t count) { Values.reserve(count), Indicators.reserve(count), Times.reserve(count); }
  std::vector<DBvariant> Values;
  std::vector<SQLLEN> Indicators;
  std::vector<std::unique_ptr<TIMESTAMP_STRUCT>> Times;
  std::vector<SQLINTEGER> Booleans;
};

}  // namespace

DBresultSetPtr DBdatabaseOdbc::executeSqlBind(const DBsqlInsert& command, const COLstring& sql) {
  COL_PRECONDITION_TEXT(m->pConnection.get() != NULL, "pConnection.get() != NULL");
  COL_PRECONDITION_TEXT(useBinding(), "pOwner->useBinding()");
  const DBodbcApi& api = DBodbc();
  DBodbcStatement statement(m->pConnection.get());
  const SQLHSTMT handle = statement.handle();
  if (DBodbcFailed(api.SQLPrepare(handle, sqlText(sql), SQL_NTS))) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, sql);
  const size_t columns = command.countOfColumn();
  BoundValues bound(columns);
  bound.Booleans.reserve(columns);
  SQLUSMALLINT parameter = 0;
  for (size_t column = 0; column < columns; ++column) {
    const DBvariant& original = command.columnValue(column);
    // A null is written as NULL and a column's text as it stands: neither is a parameter.
    if (original.type() == DB_NULL || command.columnValueIsColumnFlag(column)) continue;
    ++parameter;
    DBvariant& value = bound.Values.emplace_back(original);
    SQLLEN& indicator = bound.Indicators.emplace_back(0);
    SQLSMALLINT sqlType = 0;
    SQLULEN size = 0;
    SQLSMALLINT digits = 0, nullable = 0;
    if (supportsDescribeParam() &&
        DBodbcFailed(api.SQLDescribeParam(handle, parameter, &sqlType, &size, &digits, &nullable)))
      sqlType = 0;
    const char* what = nullptr;
    SQLRETURN code = SQL_SUCCESS;
    switch (value.type()) {
      case DB_STRING: {
        COLstring& text = value.string();
        indicator = static_cast<SQLLEN>(text.size());
        if (sqlType == 0) sqlType = bindStringsAsLongText() ? SQL_LONGVARCHAR : SQL_VARCHAR;
        code = api.SQLBindParameter(handle, parameter, SQL_PARAM_INPUT, SQL_C_CHAR, sqlType,
                                    std::max<SQLULEN>(text.size(), 1), 0, text.data(), indicator, &indicator);
        what = "Error while attempting to bind to string: ";
        break;
      }
      case DB_BOOLEAN:
      case DB_INTEGER: {
        SQLINTEGER* number = value.type() == DB_BOOLEAN ? &bound.Booleans.emplace_back(value.boolean() ? 1 : 0)
                                                        : reinterpret_cast<SQLINTEGER*>(&value.integer32());
        if (sqlType == 0) sqlType = SQL_INTEGER;
        code = api.SQLBindParameter(handle, parameter, SQL_PARAM_INPUT, SQL_C_SLONG, sqlType, 0, 0, number, 0, &indicator);
        what = "Error while attempting to bind to integer: ";
        break;
      }
      case DB_LARGE_INTEGER:
        if (sqlType == 0) sqlType = SQL_BIGINT;
        code = api.SQLBindParameter(handle, parameter, SQL_PARAM_INPUT, SQL_C_SBIGINT, sqlType, 0, 0,
                                    &value.integer64(), 0, &indicator);
        what = "Error while attempting to bind to large integer: ";
        break;
      case DB_FLOAT:
        if (sqlType == 0) sqlType = SQL_REAL;
        code = api.SQLBindParameter(handle, parameter, SQL_PARAM_INPUT, SQL_C_FLOAT, sqlType, 0, 0, &value.float32(), 0,
                                    &indicator);
        what = "Error while attempting to bind to float: ";
        break;
      case DB_DOUBLE:
        if (sqlType == 0) sqlType = SQL_DOUBLE;
        code = api.SQLBindParameter(handle, parameter, SQL_PARAM_INPUT, SQL_C_DOUBLE, sqlType, 0, 0, &value.float64(), 0,
                                    &indicator);
        what = "Error while attempting to bind to float: ";
        break;
      case DB_DATETIME: {
        const COLdateTime& time = value.dateTime();
        auto& stamp = bound.Times.emplace_back(std::make_unique<TIMESTAMP_STRUCT>());
        if (time.isNull()) {
          indicator = SQL_NULL_DATA;
        } else {
          *stamp = TIMESTAMP_STRUCT{static_cast<SQLSMALLINT>(time.year()), static_cast<SQLUSMALLINT>(time.month()),
                                    static_cast<SQLUSMALLINT>(time.day()), static_cast<SQLUSMALLINT>(time.hour()),
                                    static_cast<SQLUSMALLINT>(time.minute()), static_cast<SQLUSMALLINT>(time.second()), 0};
          indicator = sizeof(TIMESTAMP_STRUCT);
        }
        if (sqlType == 0) sqlType = SQL_TIMESTAMP;
        code = api.SQLBindParameter(handle, parameter, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, sqlType, 19, 0,
                                    stamp.get(), sizeof(TIMESTAMP_STRUCT), &indicator);
        what = "Error while attempting to bind to datetime: ";
        break;
      }
      default: throw COLerror("Unknown type.", COL_ERROR_PRECONDITION);
    }
    if (DBodbcFailed(code))
      throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle,
                                what + original.toString() + "\nSql Statement: " + sql +
                                    "\nColumn: " + command.columnName(column));
  }
  const SQLRETURN code = api.SQLExecute(handle);
  if (DBodbcFailed(code)) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, handle, DBdatabaseOdbcRecreateSqlQuery(command, sql));
  return DBresultSetPtr();
}

COLstring DBdatabaseOdbc::DBdatabaseOdbcRecreateSqlQuery(const DBsqlInsert& command, const COLstring& sql) {
  COLstring text;
  COLostream stream(text);
  size_t from = 0;
  for (size_t column = 0; column < command.countOfColumn(); ++column) {
    const DBvariant& value = command.columnValue(column);
    if (value.type() == DB_NULL || command.columnValueIsColumnFlag(column)) continue;
    const size_t mark = sql.find('?', from);
    if (mark == COLstring::npos) break;
    stream << COLstring(sql, from, mark - from);
    addVariantToStream(stream, value, false, false);
    from = mark + 1;
  }
  stream << COLstring(sql, from);
  return text;
}

// --- catalogue

template <class Call>
DBresultSetPtr DBdatabaseOdbc::fetchCatalogue(const COLstring& what, Call call) {
  COL_PRECONDITION_TEXT(m->pConnection.get() != NULL, "pMember->pConnection.get() != NULL");
  DBodbcStatement statement(m->pConnection.get());
  if (DBodbcFailed(call(statement.handle()))) throwOdbcErrorWithMessage(SQL_HANDLE_STMT, statement.handle(), what);
  SQLSMALLINT columnCount = 0;
  if (DBodbcFailed(DBodbc().SQLNumResultCols(statement.handle(), &columnCount)))
    throwOdbcErrorWithMessage(SQL_HANDLE_STMT, statement.handle(), what);
  return fetchOdbcResultSet(statement, what, columnCount, 0, 0);
}

namespace {

// One named column of a catalogue answer, as the only column of a new result set.
DBresultSetPtr onlyColumn(const DBresultSetPtr& answer, const char* name) {
  DBresultSetPtr result(new DBresultSet);
  result->addColumn(name);
  for (size_t row = 0; row < answer->countOfRow(); ++row) result->setValue(result->addRow(), 0, answer->value(row, name));
  result->setCountOfDatabaseRow(result->countOfRow());
  return result;
}

}  // namespace

DBresultSetPtr DBdatabaseOdbc::fetchDatabaseTables() {
  return onlyColumn(fetchCatalogue("SQLTables", [](SQLHSTMT handle) {
                      return DBodbc().SQLTables(handle, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0);
                    }),
                    "TABLE_NAME");
}

DBresultSetPtr DBdatabaseOdbc::fetchNonSystemDatabaseTables() {
  return onlyColumn(fetchCatalogue("SQLTables", [](SQLHSTMT handle) {
                      return DBodbc().SQLTables(handle, nullptr, 0, nullptr, 0, nullptr, 0, sqlText("TABLE"), SQL_NTS);
                    }),
                    "TABLE_NAME");
}

bool DBdatabaseOdbc::isSystemTable(const COLstring& tableName) {
  const DBresultSetPtr answer = fetchCatalogue("SQLTables", [&](SQLHSTMT handle) {
    return DBodbc().SQLTables(handle, nullptr, 0, nullptr, 0, sqlText(tableName), SQL_NTS, nullptr, 0);
  });
  return answer->countOfRow() == 0 || answer->value(0, "TABLE_TYPE").toString() != "TABLE";
}

void DBdatabaseOdbc::buildPrimaryKeyList(const COLstring& tableName, std::vector<COLstring>& keys) {
  keys.clear();
  const DBresultSetPtr answer = fetchCatalogue("SQLPrimaryKeys", [&](SQLHSTMT handle) {
    return DBodbc().SQLPrimaryKeys(handle, nullptr, 0, nullptr, 0, sqlText(tableName), SQL_NTS);
  });
  for (size_t row = 0; row < answer->countOfRow(); ++row) keys.push_back(answer->value(row, "COLUMN_NAME").toString());
}

DBresultSetPtr DBdatabaseOdbc::fetchDatabaseTableColumns(const COLstring& tableName) {
  DBresultSetPtr answer;
  std::vector<COLstring> keys;
  try {
    answer = fetchCatalogue("SQLColumns", [&](SQLHSTMT handle) {
      return DBodbc().SQLColumns(handle, nullptr, 0, nullptr, 0, sqlText(tableName), SQL_NTS, nullptr, 0);
    });
    buildPrimaryKeyList(tableName, keys);
  } catch (const COLerror& error) {
    throw COLerror("Retrieving column information from database table '" + tableName + "' failed.\n" +
                       error.description(),
                   error.code());
  }
  DBresultSetPtr result(new DBresultSet);
  for (const char* name : {"COLUMN_NAME", "DATA_TYPE", "DEFAULT_VALUE", "LENGTH", "REQUIRED", "PRIMARY_KEY"})
    result->addColumn(name);
  for (size_t row = 0; row < answer->countOfRow(); ++row) {
    const size_t at = result->addRow();
    const COLstring name = answer->value(row, "COLUMN_NAME").toString();
    result->setValue(at, 0, DBvariant(name));
    // As a DBdataType, null for a type no variant holds.
    const DBvariant& sqlType = answer->value(row, "DATA_TYPE");
    result->setValue(at, 1, DBvariant(static_cast<int>(
                                sqlType.type() == DB_INTEGER ? dataTypeOfSqlType(static_cast<SQLSMALLINT>(sqlType.integer32()))
                                                             : DB_NULL)));
    result->setValue(at, 2, answer->value(row, "COLUMN_DEF"));
    result->setValue(at, 3, answer->value(row, "COLUMN_SIZE"));
    const DBvariant& nullable = answer->value(row, "NULLABLE");
    result->setValue(at, 4, DBvariant(nullable.type() != DB_NULL && nullable == DBvariant(SQL_NO_NULLS)));
    result->setValue(at, 5, DBvariant(std::find(keys.begin(), keys.end(), name) != keys.end()));
  }
  result->setCountOfDatabaseRow(result->countOfRow());
  return result;
}
