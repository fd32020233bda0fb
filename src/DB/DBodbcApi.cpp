#include "DBodbcApi.h"

#include <algorithm>
#include <cerrno>

#include "COLcriticalSection.h"
#include "COLdll.h"
#include "COLerror.h"
#include "COLostream.h"

namespace {

struct Loaded {
  COLcriticalSection Lock;
  COLdll Library;
  DBodbcApi Api{};
  bool Initialized = false;
  bool Tried = false;
};

Loaded& loaded() {
  static Loaded* const instance = new Loaded;  // stays for the process, as the library does
  return *instance;
}

template <class Function>
void find(COLdll& library, Function& function, const char* name) {
  function = reinterpret_cast<Function>(library.getProcAddress(name));
}

void findAll(COLdll& library, DBodbcApi& api) {
#define DB_ODBC_FIND(name) find(library, api.name, #name)
  DB_ODBC_FIND(SQLAllocHandle);
  DB_ODBC_FIND(SQLBindParameter);
  DB_ODBC_FIND(SQLColumns);
  DB_ODBC_FIND(SQLPrimaryKeys);
  DB_ODBC_FIND(SQLConnect);
  DB_ODBC_FIND(SQLColAttribute);
  DB_ODBC_FIND(SQLDescribeParam);
  DB_ODBC_FIND(SQLDisconnect);
  DB_ODBC_FIND(SQLEndTran);
  DB_ODBC_FIND(SQLExecute);
  DB_ODBC_FIND(SQLExecDirect);
  DB_ODBC_FIND(SQLExecDirectW);
  DB_ODBC_FIND(SQLGetDiagRec);
  DB_ODBC_FIND(SQLFetch);
  DB_ODBC_FIND(SQLFreeHandle);
  DB_ODBC_FIND(SQLGetData);
  DB_ODBC_FIND(SQLGetTypeInfo);
  DB_ODBC_FIND(SQLNumResultCols);
  DB_ODBC_FIND(SQLPrepare);
  DB_ODBC_FIND(SQLSetConnectAttr);
  DB_ODBC_FIND(SQLSetEnvAttr);
  DB_ODBC_FIND(SQLTables);
  DB_ODBC_FIND(SQLMoreResults);
  DB_ODBC_FIND(SQLDriverConnect);
#undef DB_ODBC_FIND
}

void report(const char* text) { COLcerr << text << newline; }

}  // namespace

void DBodbcLoad(COLostream& stream) {
  Loaded& state = loaded();
  COLcriticalSectionLocker lock(state.Lock);
  if (state.Tried) return;
  state.Tried = true;
  stream << "Trying to load ODBC... ";
  // The development name first; a machine with only the run-time package has the versioned one.
  COLdllLoadResult result = state.Library.tryLoadLibrary("libodbc.so", false);
  if (result != COLdllLoaded) result = state.Library.tryLoadLibrary("libodbc.so.2", false);
  bool complete = result == COLdllLoaded;
  if (complete) {
    try {
      findAll(state.Library, state.Api);
    } catch (const COLerror&) {
      complete = false;
    }
  }
  if (complete) {
    state.Initialized = true;
    stream << state.Library.libraryName() << " " << " OK (ODBC support enabled)" << newline;
    return;
  }
  stream << "NO (ODBC support not present)" << newline;
  if (result != COLdllLoaded && state.Library.lastError().find("No such file") != COLstring::npos) return;
  const bool denied = state.Library.lastError().find("ermission denied") != COLstring::npos;
  stream << (denied ? "Not enough permissions to load ODBC." : "The ODBC library that was found in an invalid library.")
         << newline;
}

bool DBodbcLoaded() {
  Loaded& state = loaded();
  COLcriticalSectionLocker lock(state.Lock);
  return state.Initialized;
}

const COLstring& DBodbcLibraryPath() {
  COL_PRECONDITION_TEXT(DBodbcLoaded(), "isInitialized()");
  return loaded().Library.libraryName();
}

const DBodbcApi& DBodbc() {
  Loaded& state = loaded();
  COL_PRECONDITION_TEXT(state.Initialized, "isInitialized()");
  return state.Api;
}

std::vector<DBodbcDiagnostic> DBodbcDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
  std::vector<DBodbcDiagnostic> records;
  std::vector<SQLCHAR> message(512);
  for (SQLSMALLINT record = 1;; ++record) {
    SQLCHAR state[SQL_SQLSTATE_SIZE + 1] = {0};
    SQLINTEGER nativeError = 0;
    SQLSMALLINT length = 0;
    SQLRETURN SqlReturnCode = DBodbc().SQLGetDiagRec(handleType, handle, record, state, &nativeError, message.data(),
                                                     static_cast<SQLSMALLINT>(message.size()), &length);
    COL_POSTCONDITION_TEXT(SqlReturnCode != SQL_INVALID_HANDLE, "SqlReturnCode != SQL_INVALID_HANDLE");
    if (SqlReturnCode == SQL_NO_DATA || DBodbcFailed(SqlReturnCode)) break;
    if (static_cast<size_t>(length) >= message.size()) {
      // Cut short: ask for the same record again with room for all of it.
      message.resize(static_cast<size_t>(length) + 1);
      --record;
      continue;
    }
    records.push_back({COLstring(reinterpret_cast<const char*>(state)),
                       COLstring(std::string(reinterpret_cast<const char*>(message.data()), length))});
  }
  return records;
}

// --- environment

DBodbcEnvironment::DBodbcEnvironment() {
  const DBodbcApi& api = DBodbc();
  if (DBodbcFailed(api.SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_Handle))) {
    m_Handle = SQL_NULL_HENV;
    throw COLerror("ODBC: CANNOT ALLOCATE ENVIRONMENT HANDLE", COL_ERROR_RESOURCE);
  }
  api.SQLSetEnvAttr(m_Handle, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
}

DBodbcEnvironment::~DBodbcEnvironment() { invalidate(); }

void DBodbcEnvironment::addListener(DBodbcConnection* connection) { m_Connections.push_back(connection); }

void DBodbcEnvironment::unlisten(DBodbcConnection* connection) {
  m_Connections.erase(std::remove(m_Connections.begin(), m_Connections.end(), connection), m_Connections.end());
}

void DBodbcEnvironment::invalidate() {
  // A connection's invalidate unlistens itself, so work on a copy of the list.
  const std::vector<DBodbcConnection*> connections = m_Connections;
  for (DBodbcConnection* connection : connections) connection->invalidate();
  m_Connections.clear();
  if (m_Handle == SQL_NULL_HENV) return;
  if (DBodbcFailed(DBodbc().SQLFreeHandle(SQL_HANDLE_ENV, m_Handle))) report("ODBC: CANNOT FREE ENVIRONMENT HANDLE");
  m_Handle = SQL_NULL_HENV;
}

// --- connection

DBodbcConnection::DBodbcConnection(DBodbcEnvironment* pEnvironment) : m_Environment(pEnvironment) {
  COL_PRECONDITION(pEnvironment != 0);
  COL_PRECONDITION(pEnvironment->handle() != 0);
  pEnvironment->addListener(this);
}

DBodbcConnection::~DBodbcConnection() { invalidate(); }

SQLHDBC DBodbcConnection::handle() {
  if (m_Handle == SQL_NULL_HDBC && m_Environment) {
    if (DBodbcFailed(DBodbc().SQLAllocHandle(SQL_HANDLE_DBC, m_Environment->handle(), &m_Handle))) {
      m_Handle = SQL_NULL_HDBC;
      throw COLerror("ODBC: CANNOT ALLOCATE CONNECTION HANDLE", COL_ERROR_RESOURCE);
    }
  }
  return m_Handle;
}

void DBodbcConnection::addListener(DBodbcStatement* statement) { m_Statements.push_back(statement); }

void DBodbcConnection::unlisten(DBodbcStatement* statement) {
  m_Statements.erase(std::remove(m_Statements.begin(), m_Statements.end(), statement), m_Statements.end());
}

void DBodbcConnection::invalidate() {
  const std::vector<DBodbcStatement*> statements = m_Statements;
  for (DBodbcStatement* statement : statements) statement->invalidate();
  m_Statements.clear();
  if (m_Handle != SQL_NULL_HDBC) {
    const DBodbcApi& api = DBodbc();
    if (m_Connected && DBodbcFailed(api.SQLDisconnect(m_Handle))) report("ODBC: CANNOT DISCONNECT CONNECTION HANDLE");
    if (DBodbcFailed(api.SQLFreeHandle(SQL_HANDLE_DBC, m_Handle))) report("ODBC: CANNOT FREE CONNECTION HANDLE");
    m_Handle = SQL_NULL_HDBC;
  }
  m_Connected = false;
  if (m_Environment) m_Environment->unlisten(this);
  m_Environment = nullptr;
}

// --- statement

DBodbcStatement::DBodbcStatement(DBodbcConnection* pConnection) : m_Connection(pConnection) {
  COL_PRECONDITION(pConnection != 0);
  COL_PRECONDITION(pConnection->handle() != 0);
  const SQLHDBC connection = pConnection->handle();
  if (DBodbcFailed(DBodbc().SQLAllocHandle(SQL_HANDLE_STMT, connection, &m_Handle))) {
    m_Handle = SQL_NULL_HSTMT;
    COLstring text = "ODBC: CANNOT ALLOCATE STATEMENT HANDLE";
    for (const DBodbcDiagnostic& record : DBodbcDiagnostics(SQL_HANDLE_DBC, connection)) text += "\n" + record.Message;
    throw COLerror(text, COL_ERROR_RESOURCE);
  }
  pConnection->addListener(this);
}

DBodbcStatement::~DBodbcStatement() { invalidate(); }

void DBodbcStatement::invalidate() {
  if (m_Handle != SQL_NULL_HSTMT) {
    if (DBodbcFailed(DBodbc().SQLFreeHandle(SQL_HANDLE_STMT, m_Handle))) report("ODBC: CANNOT FREE STATEMENT HANDLE");
    m_Handle = SQL_NULL_HSTMT;
  }
  if (m_Connection) m_Connection->unlisten(this);
  m_Connection = nullptr;
}
