// The ODBC driver manager, loaded at run time: its functions found by name, and the chain of
// environment, connection and statement handles that owns what the driver hands out.  Only the
// installed ODBC headers' types and constants are used; nothing is linked.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <vector>

#include "COLstring.h"

class COLostream;

struct DBodbcApi {
  decltype(&::SQLAllocHandle) SQLAllocHandle;
  decltype(&::SQLBindParameter) SQLBindParameter;
  decltype(&::SQLColumns) SQLColumns;
  decltype(&::SQLPrimaryKeys) SQLPrimaryKeys;
  decltype(&::SQLConnect) SQLConnect;
  decltype(&::SQLColAttribute) SQLColAttribute;
  decltype(&::SQLDescribeParam) SQLDescribeParam;
  decltype(&::SQLDisconnect) SQLDisconnect;
  decltype(&::SQLEndTran) SQLEndTran;
  decltype(&::SQLExecute) SQLExecute;
  decltype(&::SQLExecDirect) SQLExecDirect;
  decltype(&::SQLExecDirectW) SQLExecDirectW;
  decltype(&::SQLGetDiagRec) SQLGetDiagRec;
  decltype(&::SQLFetch) SQLFetch;
  decltype(&::SQLFreeHandle) SQLFreeHandle;
  decltype(&::SQLGetData) SQLGetData;
  decltype(&::SQLGetTypeInfo) SQLGetTypeInfo;
  decltype(&::SQLNumResultCols) SQLNumResultCols;
  decltype(&::SQLPrepare) SQLPrepare;
  decltype(&::SQLSetConnectAttr) SQLSetConnectAttr;
  decltype(&::SQLSetEnvAttr) SQLSetEnvAttr;
  decltype(&::SQLTables) SQLTables;
  decltype(&::SQLMoreResults) SQLMoreResults;
  // For a data source given as a connection string ("DRIVER=...;DATABASE=...") rather than a name.
  decltype(&::SQLDriverConnect) SQLDriverConnect;
};

// Loads the driver manager once for the process, under its own lock, and writes how it went.
void DBodbcLoad(COLostream& stream);
bool DBodbcLoaded();
const COLstring& DBodbcLibraryPath();
// The functions; "isInitialized()" fails before a load succeeded.
const DBodbcApi& DBodbc();

// A call's result read as 16 bits: -1 and -2 fail, 100 ends a result, 0 and 1 succeed.
inline bool DBodbcFailed(SQLRETURN code) { return static_cast<int16_t>(code) < 0; }

// One diagnostic record of a handle.
struct DBodbcDiagnostic {
  COLstring State;  // five characters
  COLstring Message;
};
// Every record, from the first until the driver has no more.  Raises "Failed postcondition:"
// "SqlReturnCode != SQL_INVALID_HANDLE" for a dead handle.
std::vector<DBodbcDiagnostic> DBodbcDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle);

class DBodbcConnection;
class DBodbcStatement;

// Each level owns one handle and knows its children, so that invalidating a parent frees the
// children's handles first; a child that outlives its parent holds a dead but safe object.
class DBodbcEnvironment {
public:
  DBodbcEnvironment();
  DBodbcEnvironment(const DBodbcEnvironment&) = delete;
  DBodbcEnvironment& operator=(const DBodbcEnvironment&) = delete;
  ~DBodbcEnvironment();

  SQLHENV handle() const { return m_Handle; }
  void addListener(DBodbcConnection* connection);
  void unlisten(DBodbcConnection* connection);
  void invalidate();

private:
  SQLHENV m_Handle = SQL_NULL_HENV;
  std::vector<DBodbcConnection*> m_Connections;
};

class DBodbcConnection {
public:
  explicit DBodbcConnection(DBodbcEnvironment* pEnvironment);
  DBodbcConnection(const DBodbcConnection&) = delete;
  DBodbcConnection& operator=(const DBodbcConnection&) = delete;
  ~DBodbcConnection();

  // Allocated at the first call.
  SQLHDBC handle();
  bool isValid() const { return m_Environment != nullptr; }
  // Set once SQLConnect succeeded, so that invalidate knows to disconnect.
  void setConnected(bool flag) { m_Connected = flag; }
  bool connected() const { return m_Connected && m_Handle != SQL_NULL_HDBC; }
  void addListener(DBodbcStatement* statement);
  void unlisten(DBodbcStatement* statement);
  void invalidate();

private:
  DBodbcEnvironment* m_Environment;
  SQLHDBC m_Handle = SQL_NULL_HDBC;
  bool m_Connected = false;
  std::vector<DBodbcStatement*> m_Statements;
};

class DBodbcStatement {
public:
  explicit DBodbcStatement(DBodbcConnection* pConnection);
  DBodbcStatement(const DBodbcStatement&) = delete;
  DBodbcStatement& operator=(const DBodbcStatement&) = delete;
  ~DBodbcStatement();

  SQLHSTMT handle() const { return m_Handle; }
  void invalidate();

private:
  DBodbcConnection* m_Connection;
  SQLHSTMT m_Handle = SQL_NULL_HSTMT;
};
