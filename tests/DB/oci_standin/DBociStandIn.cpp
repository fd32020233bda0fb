// A stand-in for Oracle's client library, built as libclntsh.so for the tests of the OCI back end:
// it offers the OCI calls that the back end makes, over a SQLite file named as the database.
// It speaks like the client where the back end can tell: statement types, described columns
// (VARCHAR2, NUMBER(p,s), DATE, CLOB), Oracle's seven-byte dates, "ORA-" error records, a
// logon that takes only scott/tiger, empty texts read as null, and DUAL, USER_TABLES and TO_DATE.
#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using sword = int;
using ub4 = unsigned;
using sb4 = int;
using ub2 = unsigned short;
using sb2 = short;
using ub1 = unsigned char;
using sb1 = signed char;
using text = unsigned char;
using Callback = sb4 (*)(void*, void*, ub4, void**, ub4**, ub1*, void**, ub2**);

constexpr sword SUCCESS = 0, ERROR = -1, INVALID_HANDLE = -2, NO_DATA = 100;

struct Error {
  std::vector<std::string> Records;
  sword fail(const std::string& record) {
    Records.assign(1, record);
    return ERROR;
  }
};

struct Service {
  sqlite3* Db = nullptr;
  bool InTransaction = false;
};

struct Define {
  void* Value;
  sb4 Size;
  ub2 Type;
  sb2* Indicator;
  ub2* Length;
  Callback Piece = nullptr;
  void* Context = nullptr;
};

struct Bind {
  std::string Name;
  void* Value;
  sb4 Size;
  ub2 Type;
  sb2* Indicator;
};

struct Param {
  std::string Name;
  ub2 Type = 1, Size = 0;
  sb2 Precision = 0;
  sb1 Scale = 0;
};

struct Statement {
  std::string Sql;
  sqlite3_stmt* Compiled = nullptr;
  std::vector<Define*> Defines;
  std::vector<Bind*> Binds;
  ~Statement() {
    if (Compiled) sqlite3_finalize(Compiled);
    for (Define* define : Defines) delete define;
    for (Bind* bind : Binds) delete bind;
  }
};

struct Lob {
  std::string Data;
};

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// Oracle's codes for what SQLite reports.
std::string oracleError(sqlite3* db) {
  const std::string message = sqlite3_errmsg(db);
  if (message.rfind("no such table", 0) == 0) return "ORA-00942: table or view does not exist";
  if (message.rfind("UNIQUE constraint failed", 0) == 0) return "ORA-00001: unique constraint violated";
  if (message.rfind("no such column", 0) == 0) return "ORA-00904: invalid identifier (" + message + ")";
  return "ORA-00900: invalid SQL statement (" + message + ")";
}

// TO_DATE('Y-M-D h:m:s', format): the date as SQLite's text.
void toDate(sqlite3_context* context, int, sqlite3_value** values) {
  const char* given = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  if (!given || std::sscanf(given, "%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s) < 3) {
    sqlite3_result_error(context, "ORA-01861: literal does not match format string", -1);
    return;
  }
  char out[32];
  std::snprintf(out, sizeof out, "%04d-%02d-%02d %02d:%02d:%02d", y, mo, d, h, mi, s);
  sqlite3_result_text(context, out, -1, SQLITE_TRANSIENT);
}

// A column as Oracle would describe it, from its declared type.
Param describe(sqlite3_stmt* compiled, int column) {
  Param param;
  param.Name = upper(sqlite3_column_name(compiled, column));
  const char* declared = sqlite3_column_decltype(compiled, column);
  const std::string type = declared ? upper(declared) : "VARCHAR2(4000)";
  int first = 0, second = 0;
  const size_t open = type.find('(');
  const int numbers = open == std::string::npos ? 0 : std::sscanf(type.c_str() + open, "(%d,%d)", &first, &second);
  if (type.rfind("VARCHAR", 0) == 0 || type.rfind("CHAR", 0) == 0) {
    param.Type = 1;
    param.Size = static_cast<ub2>(numbers >= 1 ? first : 4000);
  } else if (type.rfind("NUMBER", 0) == 0) {
    param.Type = 2;
    param.Size = 22;
    param.Precision = static_cast<sb2>(numbers >= 1 ? first : 0);
    param.Scale = static_cast<sb1>(numbers >= 2 ? second : numbers == 1 ? 0 : -127);
  } else if (type == "FLOAT" || type == "BINARY_DOUBLE") {
    param.Type = 2;
    param.Size = 22;
    param.Precision = 126;
    param.Scale = -127;
  } else if (type == "DATE") {
    param.Type = 12;
    param.Size = 7;
  } else if (type == "CLOB") {
    param.Type = 112;
    param.Size = 4000;
  } else if (type == "BLOB") {
    param.Type = 113;
    param.Size = 4000;
  } else {
    param.Type = 1;
    param.Size = 4000;
  }
  return param;
}

ub2 statementType(const std::string& sql) {
  size_t start = sql.find_first_not_of(" \t\r\n(");
  const std::string word = upper(sql.substr(start == std::string::npos ? 0 : start, 7));
  static const char* const words[] = {"SELECT", "UPDATE", "DELETE", "INSERT", "CREATE", "DROP", "ALTER"};
  for (ub2 index = 0; index < 7; ++index)
    if (word.rfind(words[index], 0) == 0) return static_cast<ub2>(index + 1);
  return 0;
}

sword compile(Service& service, Statement& statement, Error& error) {
  if (statement.Compiled) return SUCCESS;
  if (sqlite3_prepare_v2(service.Db, statement.Sql.c_str(), -1, &statement.Compiled, nullptr) != SQLITE_OK)
    return error.fail(oracleError(service.Db));
  return SUCCESS;
}

void sevenBytes(const char* text, ub1* out) {
  int y = 0, mo = 1, d = 1, h = 0, mi = 0, s = 0;
  std::sscanf(text, "%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s);
  const ub1 bytes[7] = {static_cast<ub1>(y / 100 + 100), static_cast<ub1>(y % 100 + 100), static_cast<ub1>(mo),
                        static_cast<ub1>(d), static_cast<ub1>(h + 1), static_cast<ub1>(mi + 1), static_cast<ub1>(s + 1)};
  std::memcpy(out, bytes, 7);
}

// One row's column into its define.
void fill(sqlite3_stmt* compiled, int column, Define& define) {
  const bool isNull = sqlite3_column_type(compiled, column) == SQLITE_NULL;
  const char* value = reinterpret_cast<const char*>(sqlite3_column_text(compiled, column));
  const int length = sqlite3_column_bytes(compiled, column);
  // Oracle keeps no empty texts: they are null.
  if (isNull || (sqlite3_column_type(compiled, column) == SQLITE_TEXT && length == 0)) {
    if (define.Indicator) *define.Indicator = -1;
    return;
  }
  if (define.Indicator) *define.Indicator = 0;
  switch (define.Type) {
    case 1: {
      const int room = define.Size;
      const int now = length < room ? length : room;
      std::memcpy(define.Value, value, static_cast<size_t>(now));
      if (define.Length) *define.Length = static_cast<ub2>(now);
      // The rest goes piece by piece where the back end's callback says.
      for (int at = now; at < length && define.Piece;) {
        void *buffer = nullptr, *indicator = nullptr;
        ub4* piece = nullptr;
        ub2* code = nullptr;
        ub1 which = 0;
        define.Piece(define.Context, &define, 0, &buffer, &piece, &which, &indicator, &code);
        const ub4 part = static_cast<ub4>(length - at) < *piece ? static_cast<ub4>(length - at) : *piece;
        std::memcpy(buffer, value + at, part);
        *piece = part;
        at += static_cast<int>(part);
      }
      break;
    }
    case 3:
      if (define.Size == 8) {
        const sqlite3_int64 number = sqlite3_column_int64(compiled, column);
        std::memcpy(define.Value, &number, 8);
      } else {
        const int number = sqlite3_column_int(compiled, column);
        std::memcpy(define.Value, &number, 4);
      }
      break;
    case 4: {
      const double number = sqlite3_column_double(compiled, column);
      std::memcpy(define.Value, &number, 8);
      break;
    }
    case 12: case 156: sevenBytes(value, static_cast<ub1*>(define.Value)); break;
    case 112: (*static_cast<Lob**>(define.Value))->Data.assign(value, static_cast<size_t>(length)); break;
    default: break;
  }
}

}  // namespace

extern "C" {

sword OCIInitialize(ub4, void*, void*, void*, void*) { return SUCCESS; }

sword OCIEnvInit(void** environment, ub4, size_t, void**) {
  *environment = new int(1);
  return SUCCESS;
}

void OCIClientVersion(sword* major, sword* minor, sword* update, sword* patch, sword* port) {
  *major = 19, *minor = 3, *update = 0, *patch = 0, *port = 0;
}

sword OCIHandleAlloc(const void*, void** handle, ub4 type, size_t, void**) {
  if (type == 2)
    *handle = new Error;
  else if (type == 4)
    *handle = new Statement;
  else
    return INVALID_HANDLE;
  return SUCCESS;
}

sword OCIHandleFree(void* handle, ub4 type) {
  if (type == 1) delete static_cast<int*>(handle);
  if (type == 2) delete static_cast<Error*>(handle);
  if (type == 4) delete static_cast<Statement*>(handle);
  return SUCCESS;
}

sword OCIErrorGet(void* handle, ub4 record, text*, sb4* code, text* buffer, ub4 size, ub4) {
  auto& error = *static_cast<Error*>(handle);
  if (record == 0 || record > error.Records.size()) return NO_DATA;
  const std::string& message = error.Records[record - 1];
  if (code) *code = std::atoi(message.c_str() + 4);
  std::snprintf(reinterpret_cast<char*>(buffer), size, "%s", message.c_str());
  return SUCCESS;
}

sword OCILogon(void*, void* errorHandle, void** service, const text* user, ub4 userLength, const text* password,
               ub4 passwordLength, const text* database, ub4 databaseLength) {
  auto& error = *static_cast<Error*>(errorHandle);
  const std::string name(reinterpret_cast<const char*>(user), userLength);
  const std::string secret(reinterpret_cast<const char*>(password), passwordLength);
  if (upper(name) != "SCOTT" || secret != "tiger") return error.fail("ORA-01017: invalid username/password; logon denied");
  const std::string path(reinterpret_cast<const char*>(database), databaseLength);
  auto* opened = new Service;
  if (sqlite3_open_v2(path.c_str(), &opened->Db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
    sqlite3_close(opened->Db);
    delete opened;
    return error.fail("ORA-12154: TNS:could not resolve the connect identifier specified");
  }
  sqlite3_create_function(opened->Db, "TO_DATE", 2, SQLITE_UTF8, nullptr, toDate, nullptr, nullptr);
  sqlite3_exec(opened->Db,
               "CREATE TABLE IF NOT EXISTS DUAL (DUMMY VARCHAR2(1));"
               "INSERT INTO DUAL SELECT 'X' WHERE NOT EXISTS (SELECT 1 FROM DUAL);"
               "CREATE VIEW IF NOT EXISTS USER_TABLES AS SELECT UPPER(name) AS TABLE_NAME FROM sqlite_master"
               " WHERE type = 'table' AND name <> 'DUAL'",
               nullptr, nullptr, nullptr);
  *service = opened;
  return SUCCESS;
}

sword OCILogoff(void* service, void*) {
  auto* open = static_cast<Service*>(service);
  sqlite3_close_v2(open->Db);
  delete open;
  return SUCCESS;
}

sword OCIStmtPrepare(void* statement, void*, const text* sql, ub4 length, ub4, ub4) {
  static_cast<Statement*>(statement)->Sql.assign(reinterpret_cast<const char*>(sql), length);
  return SUCCESS;
}

sword OCIAttrGet(const void* handle, ub4 type, void* value, ub4* size, ub4 attribute, void* errorHandle) {
  auto& error = *static_cast<Error*>(errorHandle);
  if (type == 4 && attribute == 24) {
    *static_cast<ub2*>(value) = statementType(static_cast<const Statement*>(handle)->Sql);
    return SUCCESS;
  }
  if (type != 53) return error.fail("ORA-24315: illegal attribute type");
  const auto& param = *static_cast<const Param*>(handle);
  switch (attribute) {
    case 1: *static_cast<ub2*>(value) = param.Size; break;
    case 2: *static_cast<ub2*>(value) = param.Type; break;
    case 4:
      *static_cast<const text**>(value) = reinterpret_cast<const text*>(param.Name.c_str());
      *size = static_cast<ub4>(param.Name.size());
      break;
    case 5:
      *static_cast<sb2*>(value) = param.Precision;
      if (size) *size = 2;
      break;
    case 6: *static_cast<sb1*>(value) = param.Scale; break;
    default: return error.fail("ORA-24315: illegal attribute type");
  }
  return SUCCESS;
}

sword OCIParamGet(const void* statement, ub4, void* errorHandle, void** param, ub4 position) {
  auto& error = *static_cast<Error*>(errorHandle);
  const auto& compiled = *static_cast<const Statement*>(statement);
  if (!compiled.Compiled || position < 1 || static_cast<int>(position) > sqlite3_column_count(compiled.Compiled))
    return error.fail("ORA-24334: no descriptor for this position");
  *param = new Param(describe(compiled.Compiled, static_cast<int>(position) - 1));
  return SUCCESS;
}

sword OCIDescriptorAlloc(const void*, void** descriptor, ub4 type, size_t, void**) {
  if (type != 50) return INVALID_HANDLE;
  *descriptor = new Lob;
  return SUCCESS;
}

sword OCIDescriptorFree(void* descriptor, ub4 type) {
  if (type == 50) delete static_cast<Lob*>(descriptor);
  if (type == 53) delete static_cast<Param*>(descriptor);
  return SUCCESS;
}

sword OCIDefineByPos(void* statement, void** define, void*, ub4, void* value, sb4 size, ub2 type, void* indicator,
                     ub2* length, ub2*, ub4) {
  auto* made = new Define{value, size, type, static_cast<sb2*>(indicator), length};
  static_cast<Statement*>(statement)->Defines.push_back(made);
  *define = made;
  return SUCCESS;
}

sword OCIDefineDynamic(void* define, void*, void* context, Callback callback) {
  static_cast<Define*>(define)->Piece = callback;
  static_cast<Define*>(define)->Context = context;
  return SUCCESS;
}

sword OCIBindByName(void* statement, void** bind, void*, const text* name, sb4 nameLength, void* value, sb4 size,
                    ub2 type, void* indicator, ub2*, ub2*, ub4, ub4*, ub4) {
  auto* made = new Bind{std::string(reinterpret_cast<const char*>(name), static_cast<size_t>(nameLength)), value, size,
                        type, static_cast<sb2*>(indicator)};
  static_cast<Statement*>(statement)->Binds.push_back(made);
  *bind = made;
  return SUCCESS;
}

sword OCIStmtExecute(void* serviceHandle, void* statementHandle, void* errorHandle, ub4 iterations, ub4, const void*,
                     void*, ub4 mode) {
  auto& service = *static_cast<Service*>(serviceHandle);
  auto& statement = *static_cast<Statement*>(statementHandle);
  auto& error = *static_cast<Error*>(errorHandle);
  if (compile(service, statement, error) != SUCCESS) return ERROR;
  for (const Bind* bind : statement.Binds) {
    const int index = sqlite3_bind_parameter_index(statement.Compiled, bind->Name.c_str());
    if (index == 0) return error.fail("ORA-01036: illegal variable name/number");
    if (bind->Indicator && *bind->Indicator == -1) {
      sqlite3_bind_null(statement.Compiled, index);
    } else if (bind->Type == 1 || bind->Type == 5) {
      sqlite3_bind_text(statement.Compiled, index, static_cast<const char*>(bind->Value), bind->Size, SQLITE_TRANSIENT);
    } else if (bind->Type == 3) {
      sqlite3_int64 number = 0;
      if (bind->Size == 8)
        std::memcpy(&number, bind->Value, 8);
      else
        number = *static_cast<const int*>(bind->Value);
      sqlite3_bind_int64(statement.Compiled, index, number);
    } else if (bind->Type == 4) {
      double number = 0;
      if (bind->Size == 8)
        std::memcpy(&number, bind->Value, 8);
      else
        number = *static_cast<const float*>(bind->Value);
      sqlite3_bind_double(statement.Compiled, index, number);
    } else if (bind->Type == 12) {
      const ub1* b = static_cast<const ub1*>(bind->Value);
      char date[32];
      std::snprintf(date, sizeof date, "%04d-%02d-%02d %02d:%02d:%02d", (b[0] - 100) * 100 + b[1] - 100, b[2], b[3],
                    b[4] - 1, b[5] - 1, b[6] - 1);
      sqlite3_bind_text(statement.Compiled, index, date, -1, SQLITE_TRANSIENT);
    } else {
      return error.fail("ORA-01008: not all variables bound");
    }
  }
  if (statementType(statement.Sql) == 1 && iterations == 0) return SUCCESS;  // described, fetched later
  // Oracle opens a transaction with the first change; it ends by commit or rollback.
  if (!service.InTransaction) {
    sqlite3_exec(service.Db, "BEGIN", nullptr, nullptr, nullptr);
    service.InTransaction = true;
  }
  const int result = sqlite3_step(statement.Compiled);
  if (result != SQLITE_DONE && result != SQLITE_ROW) return error.fail(oracleError(service.Db));
  if (mode & 32) {
    sqlite3_exec(service.Db, "COMMIT", nullptr, nullptr, nullptr);
    service.InTransaction = false;
  }
  return SUCCESS;
}

sword OCIStmtFetch2(void* statementHandle, void* errorHandle, ub4, ub2, sb4, ub4) {
  auto& statement = *static_cast<Statement*>(statementHandle);
  auto& error = *static_cast<Error*>(errorHandle);
  if (!statement.Compiled) return error.fail("ORA-24338: statement handle not executed");
  const int result = sqlite3_step(statement.Compiled);
  if (result == SQLITE_DONE) return NO_DATA;
  if (result != SQLITE_ROW) return error.fail(oracleError(sqlite3_db_handle(statement.Compiled)));
  for (size_t column = 0; column < statement.Defines.size(); ++column)
    fill(statement.Compiled, static_cast<int>(column), *statement.Defines[column]);
  return SUCCESS;
}

sword OCILobGetLength(void*, void*, void* locator, ub4* length) {
  *length = static_cast<ub4>(static_cast<Lob*>(locator)->Data.size());
  return SUCCESS;
}

sword OCILobRead(void*, void*, void* locator, ub4* amount, ub4 offset, void* buffer, ub4 size, void*, void*, ub2, ub1) {
  const std::string& data = static_cast<Lob*>(locator)->Data;
  const size_t from = offset > 0 ? offset - 1 : 0;
  const size_t count = from >= data.size() ? 0 : std::min<size_t>({size_t{*amount}, size_t{size}, data.size() - from});
  std::memcpy(buffer, data.data() + from, count);
  *amount = static_cast<ub4>(count);
  return SUCCESS;
}

sword OCITransCommit(void* serviceHandle, void*, ub4) {
  auto& service = *static_cast<Service*>(serviceHandle);
  if (service.InTransaction) sqlite3_exec(service.Db, "COMMIT", nullptr, nullptr, nullptr);
  service.InTransaction = false;
  return SUCCESS;
}

sword OCITransRollback(void* serviceHandle, void*, ub4) {
  auto& service = *static_cast<Service*>(serviceHandle);
  if (service.InTransaction) sqlite3_exec(service.Db, "ROLLBACK", nullptr, nullptr, nullptr);
  service.InTransaction = false;
  return SUCCESS;
}

// Found at load by the back end, not used by it.
sword OCIAttrSet(void*, ub4, void*, ub4, ub4, void*) { return SUCCESS; }
sword OCIDescribeAny() { return ERROR; }
sword OCIServerAttach() { return ERROR; }
sword OCISessionBegin() { return ERROR; }
sword OCISessionEnd() { return ERROR; }

}  // extern "C"
