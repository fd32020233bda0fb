#include "DBdatabaseOciOracle.h"

#include <atomic>
#include <cstring>
#include <vector>

#include "COLcriticalSection.h"
#include "COLdll.h"
#include "COLerror.h"
#include "COLostream.h"
#include "DBoracleWords.h"

namespace {

// OCI's published types and constants, as far as this back end uses them.
using sword = int;
using ub4 = unsigned;
using sb4 = int;
using ub2 = unsigned short;
using sb2 = short;
using ub1 = unsigned char;
using sb1 = signed char;
using text = unsigned char;
using Callback = sb4 (*)(void*, void*, ub4, void**, ub4**, ub1*, void**, ub2**);

constexpr ub4 HTYPE_ENV = 1, HTYPE_ERROR = 2, HTYPE_STMT = 4, DTYPE_LOB = 50, DTYPE_PARAM = 53;
constexpr ub4 ATTR_DATA_SIZE = 1, ATTR_DATA_TYPE = 2, ATTR_NAME = 4, ATTR_PRECISION = 5, ATTR_SCALE = 6,
              ATTR_STMT_TYPE = 24;
constexpr ub4 NTV_SYNTAX = 1, COMMIT_ON_SUCCESS = 32, FETCH_NEXT = 2, THREADED = 1;
constexpr sword SUCCESS = 0, SUCCESS_WITH_INFO = 1, NO_DATA = 100, ERROR = -1, INVALID_HANDLE = -2, NEED_DATA = 99,
                STILL_EXECUTING = -3123;
constexpr ub2 SQLT_CHR = 1, SQLT_INT = 3, SQLT_FLT = 4, SQLT_CLOB = 112, SQLT_ODT = 156;
constexpr ub2 STMT_SELECT = 1;

}  // namespace

// The loaded library and its functions, found by name.
struct DBdatabaseOciOracleDll {
  COLdll Library;
  COLstring Version;
  sword (*OCIAttrGet)(const void*, ub4, void*, ub4*, ub4, void*);
  sword (*OCIAttrSet)(void*, ub4, void*, ub4, ub4, void*);
  sword (*OCIBindByName)(void*, void**, void*, const text*, sb4, void*, sb4, ub2, void*, ub2*, ub2*, ub4, ub4*, ub4);
  sword (*OCIDefineByPos)(void*, void**, void*, ub4, void*, sb4, ub2, void*, ub2*, ub2*, ub4);
  sword (*OCIDefineDynamic)(void*, void*, void*, Callback);
  void* OCIDescribeAny;
  sword (*OCIDescriptorAlloc)(const void*, void**, ub4, size_t, void**);
  sword (*OCIDescriptorFree)(void*, ub4);
  sword (*OCIEnvInit)(void**, ub4, size_t, void**);
  sword (*OCIErrorGet)(void*, ub4, text*, sb4*, text*, ub4, ub4);
  sword (*OCIHandleAlloc)(const void*, void**, ub4, size_t, void**);
  sword (*OCIHandleFree)(void*, ub4);
  sword (*OCIInitialize)(ub4, void*, void*, void*, void*);
  sword (*OCILobGetLength)(void*, void*, void*, ub4*);
  sword (*OCILobRead)(void*, void*, void*, ub4*, ub4, void*, ub4, void*, void*, ub2, ub1);
  sword (*OCILogoff)(void*, void*);
  sword (*OCILogon)(void*, void*, void**, const text*, ub4, const text*, ub4, const text*, ub4);
  sword (*OCIParamGet)(const void*, ub4, void*, void**, ub4);
  void *OCIServerAttach, *OCISessionBegin, *OCISessionEnd;
  sword (*OCIStmtExecute)(void*, void*, void*, ub4, ub4, const void*, void*, ub4);
  sword (*OCIStmtFetch2)(void*, void*, ub4, ub2, sb4, ub4);
  sword (*OCIStmtPrepare)(void*, void*, const text*, ub4, ub4, ub4);
  sword (*OCITransCommit)(void*, void*, ub4);
  sword (*OCITransRollback)(void*, void*, ub4);

  explicit DBdatabaseOciOracleDll(const COLstring& path) {
    Library.loadLibrary(path, true);
#define DB_OCI_FIND(name) name = reinterpret_cast<decltype(name)>(Library.getProcAddress(#name))
    DB_OCI_FIND(OCIAttrGet);
    DB_OCI_FIND(OCIAttrSet);
    DB_OCI_FIND(OCIBindByName);
    DB_OCI_FIND(OCIDefineByPos);
    DB_OCI_FIND(OCIDefineDynamic);
    DB_OCI_FIND(OCIDescribeAny);
    DB_OCI_FIND(OCIDescriptorAlloc);
    DB_OCI_FIND(OCIDescriptorFree);
    DB_OCI_FIND(OCIEnvInit);
    DB_OCI_FIND(OCIErrorGet);
    DB_OCI_FIND(OCIHandleAlloc);
    DB_OCI_FIND(OCIHandleFree);
    DB_OCI_FIND(OCIInitialize);
    DB_OCI_FIND(OCILobGetLength);
    DB_OCI_FIND(OCILobRead);
    DB_OCI_FIND(OCILogoff);
    DB_OCI_FIND(OCILogon);
    DB_OCI_FIND(OCIParamGet);
    DB_OCI_FIND(OCIServerAttach);
    DB_OCI_FIND(OCISessionBegin);
    DB_OCI_FIND(OCISessionEnd);
    DB_OCI_FIND(OCIStmtExecute);
    DB_OCI_FIND(OCIStmtFetch2);
    DB_OCI_FIND(OCIStmtPrepare);
    DB_OCI_FIND(OCITransCommit);
    DB_OCI_FIND(OCITransRollback);
#undef DB_OCI_FIND
    Version = versionString();
    if (OCIInitialize(THREADED, nullptr, nullptr, nullptr, nullptr) != SUCCESS)
      throw COLerror("The OCI library could not be initialized.", __LINE__, __FILE__, COL_ERROR_RESOURCE);
  }

  // "major.minor.update.patch.port" when the library says, else empty.
  COLstring versionString() {
    try {
      auto version = reinterpret_cast<void (*)(sword*, sword*, sword*, sword*, sword*)>(
          Library.getProcAddress("OCIClientVersion"));
      sword part[5] = {0, 0, 0, 0, 0};
      version(&part[0], &part[1], &part[2], &part[3], &part[4]);
      COLstring result;
      COLostream(result) << part[0] << "." << part[1] << "." << part[2] << "." << part[3] << "." << part[4];
      return result;
    } catch (const COLerror&) {
      return COLstring();
    }
  }
};

namespace {

COLcriticalSection& dllSection() {
  static auto* const section = new COLcriticalSection;
  return *section;
}

std::unique_ptr<DBdatabaseOciOracleDll>& loadedDll() {
  static auto* const dll = new std::unique_ptr<DBdatabaseOciOracleDll>;  // outlives every connection
  return *dll;
}

std::atomic<int> ConnectionCount{0};

DBdatabaseOciOracleDll& oci() {
  COL_PRECONDITION_TEXT(loadedDll().get() != nullptr, "pLoadedOciOracleDll.get()");
  return *loadedDll();
}

bool loadLocked(COLostream& stream, const char* path) {
  std::unique_ptr<DBdatabaseOciOracleDll>& loaded = loadedDll();
  if (loaded) {
    stream << "Already loaded Oracle: " << loaded->Library.libraryName() << " " << loaded->Version
           << " OK (Oracle OCI support enabled)" << newline;
    return true;
  }
  const COLstring name = path && *path ? COLstring(path) : COLstring("libclntsh.so");
  stream << "Trying to load Oracle... " << name << " ";
  try {
    loaded = std::make_unique<DBdatabaseOciOracleDll>(name);
  } catch (const COLerror& error) {
    stream << "NO (Oracle OCI support not present)" << newline;
    // A machine without the client is the usual case: no more to say then.
    if (error.description().find("No such file") != COLstring::npos ||
        error.description().find("cannot open") != COLstring::npos)
      return false;
    const bool denied = error.description().find("ermission") != COLstring::npos;
    stream << (denied ? "Not enough permissions to load OCI." : "The OCI library that was found in an invalid library.")
           << newline;
    return false;
  }
  stream << loaded->Version << " OK (Oracle OCI support enabled)" << newline;
  return true;
}

// Oracle's seven bytes of a DATE: century and year above 100, month, day, and the time above 1.
COLdateTime dateOfSevenBytes(const ub1* bytes) {
  const int year = (bytes[0] - 100) * 100 + (bytes[1] - 100);
  return COLdateTime(year, bytes[2], bytes[3], bytes[4] - 1, bytes[5] - 1, bytes[6] - 1);
}

void sevenBytesOfDate(const COLdateTime& time, ub1* bytes) {
  bytes[0] = static_cast<ub1>(time.year() / 100 + 100);
  bytes[1] = static_cast<ub1>(time.year() % 100 + 100);
  bytes[2] = static_cast<ub1>(time.month());
  bytes[3] = static_cast<ub1>(time.day());
  bytes[4] = static_cast<ub1>(time.hour() + 1);
  bytes[5] = static_cast<ub1>(time.minute() + 1);
  bytes[6] = static_cast<ub1>(time.second() + 1);
}

// One defined column's buffer: the value, its indicator and length, and text beyond the buffer
// that the library hands over piece by piece.
struct DBdatabaseOciOracleBuffer {
  std::vector<ub1> Value;
  sb2 Indicator = 0;
  ub2 Length = 0;
  void* pOciLobLocator = nullptr;
  std::string Rest;          // pieces beyond the buffer
  std::vector<ub1> Piece;    // where the next piece goes
  ub4 PieceLength = 0;
  sb2 PieceIndicator = 0;
  ub2 PieceCode = 0;
  DBdataType Type = DB_NULL;

  void clearBuffer() {
    if (pOciLobLocator != nullptr) {
      oci().OCIDescriptorFree(pOciLobLocator, DTYPE_LOB);
      pOciLobLocator = nullptr;
    }
    Value.clear();
  }
  ~DBdatabaseOciOracleBuffer() { clearBuffer(); }
};

// Hands the library a place for each piece of a text longer than its buffer.
sb4 pieceCallback(void* context, void*, ub4, void** buffer, ub4** length, ub1*, void** indicator, ub2** code) {
  auto& column = *static_cast<DBdatabaseOciOracleBuffer*>(context);
  if (column.PieceLength > 0) column.Rest.append(reinterpret_cast<char*>(column.Piece.data()), column.PieceLength);
  column.Piece.resize(4096);
  column.PieceLength = static_cast<ub4>(column.Piece.size());
  *buffer = column.Piece.data();
  *length = &column.PieceLength;
  *indicator = &column.PieceIndicator;
  *code = &column.PieceCode;
  return -24200;  // OCI_CONTINUE
}

}  // namespace

struct DBdatabaseOciOracle::Private {
  bool Autocommit = true;
  bool WritingWithoutBinding = false;  // for logs: values in place of the parameters
  void* Environment = nullptr;
  void* Error = nullptr;
  void* Service = nullptr;
  std::vector<std::unique_ptr<DBdatabaseOciOracleBuffer>> Buffers;
  std::vector<void*> Defines;
  void clearDefineVector() {
    Buffers.clear();
    Defines.clear();
  }
};

// --- the library

bool DBdatabaseOciOracle::initialize(COLostream& stream, const char* path) {
  COLcriticalSectionLocker lock(dllSection());
  return loadLocked(stream, path);
}

bool DBdatabaseOciOracle::readyToReinitialize() { return ConnectionCount.load() == 0; }

bool DBdatabaseOciOracle::reinitialize(COLostream& stream, const char* path) {
  COL_PRECONDITION_TEXT(readyToReinitialize(), "readyToReinitialize()");
  COLcriticalSectionLocker lock(dllSection());
  loadedDll().reset();
  return loadLocked(stream, path);
}

bool DBdatabaseOciOracle::isInitialized() {
  COLcriticalSectionLocker lock(dllSection());
  return loadedDll() != nullptr;
}

COLstring DBdatabaseOciOracle::loadedApiLibraryPath() {
  COLcriticalSectionLocker lock(dllSection());
  return oci().Library.libraryName();
}

COLstring DBdatabaseOciOracle::loadedApiVersion() {
  COLcriticalSectionLocker lock(dllSection());
  return oci().Version;
}

// --- a connection

DBdatabaseOciOracle::DBdatabaseOciOracle() : m(std::make_unique<Private>()) { ++ConnectionCount; }

DBdatabaseOciOracle::~DBdatabaseOciOracle() {
  disconnect();
  --ConnectionCount;
}

DBdatabase* DBdatabaseOciOracle::clone() {
  auto copy = std::make_unique<DBdatabaseOciOracle>();
  copy->m->Autocommit = m->Autocommit;
  if (!cachedDataSourceName().empty()) copy->connect(cachedDataSourceName(), cachedUserName(), cachedPassword());
  return copy.release();
}

bool DBdatabaseOciOracle::didStatementSucceed(int code, COLstring& message) {
  switch (code) {
    case SUCCESS: case SUCCESS_WITH_INFO: return true;
    case ERROR: message = getAllErrorMessages(); return false;
    case INVALID_HANDLE: message = "Error - OCI_INVALID_HANDLE"; return false;
    case NEED_DATA: message = "Error - OCI_NEED_DATA"; return false;
    case STILL_EXECUTING: message = "Error - OCI_STILL_EXECUTE"; return false;
  }
  message = "Unrecognized return code.";
  return false;
}

COLstring DBdatabaseOciOracle::getAllErrorMessages() {
  COLstring all;
  if (m->Error == nullptr) return all;
  for (ub4 record = 1;; ++record) {
    text buffer[1024] = {0};
    sb4 code = 0;
    if (oci().OCIErrorGet(m->Error, record, nullptr, &code, buffer, sizeof buffer, HTYPE_ERROR) != SUCCESS) break;
    if (!all.empty()) all += "\n";
    all += reinterpret_cast<const char*>(buffer);
  }
  return all;
}

void DBdatabaseOciOracle::checkForError(int code) {
  COLstring message;
  if (!didStatementSucceed(code, message)) throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

void DBdatabaseOciOracle::checkForErrorWithSql(int code, const COLstring& sql) {
  COLstring message;
  if (!didStatementSucceed(code, message))
    throw COLerror(message + "\nProblem in statement: " + sql, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

void DBdatabaseOciOracle::connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) {
  if (m->Service != nullptr && dataSource == cachedDataSourceName() && user == cachedUserName() &&
      password == cachedPassword())
    return;
  disconnect();
  DBdatabaseOciOracleDll& library = oci();
  checkForError(library.OCIEnvInit(&m->Environment, 0, 0, nullptr));
  checkForError(library.OCIHandleAlloc(m->Environment, &m->Error, HTYPE_ERROR, 0, nullptr));
  sword code;
  {
    // The client's logon is not safe from two threads at once.
    COLcriticalSectionLocker lock(dllSection());
    code = library.OCILogon(m->Environment, m->Error, &m->Service, reinterpret_cast<const text*>(user.c_str()),
                            static_cast<ub4>(user.size()), reinterpret_cast<const text*>(password.c_str()),
                            static_cast<ub4>(password.size()), reinterpret_cast<const text*>(dataSource.c_str()),
                            static_cast<ub4>(dataSource.size()));
  }
  COLstring message;
  if (!didStatementSucceed(code, message)) {
    m->Service = nullptr;
    disconnect();
    throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
  }
  setCachedDataSourceName(dataSource);
  setCachedUserName(user);
  setCachedPassword(password);
}

void DBdatabaseOciOracle::disconnect() {
  m->clearDefineVector();
  if (m->Service != nullptr) oci().OCILogoff(m->Service, m->Error);
  m->Service = nullptr;
  if (m->Error != nullptr) oci().OCIHandleFree(m->Error, HTYPE_ERROR);
  m->Error = nullptr;
  if (m->Environment != nullptr) oci().OCIHandleFree(m->Environment, HTYPE_ENV);
  m->Environment = nullptr;
}

bool DBdatabaseOciOracle::isConnected() {
  if (m->Service == nullptr) return false;
  try {
    executeSqlString("SELECT 0 FROM DUAL", 0, 0);
    return true;
  } catch (const COLerror&) {
    return false;
  }
}

void DBdatabaseOciOracle::setAutocommitFlag(bool flag) { m->Autocommit = flag; }

void DBdatabaseOciOracle::commitTransaction() {
  COL_PRECONDITION_TEXT(m->Service != nullptr, "pMember->pServiceContext != NULL");
  checkForError(oci().OCITransCommit(m->Service, m->Error, 0));
  endTransaction();
}

void DBdatabaseOciOracle::rollbackTransaction() {
  COL_PRECONDITION_TEXT(m->Service != nullptr, "pMember->pServiceContext != NULL");
  checkForError(oci().OCITransRollback(m->Service, m->Error, 0));
  endTransaction();
}

// --- statements

namespace {

// A statement handle, freed at the end of its scope.
class Statement {
public:
  explicit Statement(void* environment) {
    if (oci().OCIHandleAlloc(environment, &m_Handle, HTYPE_STMT, 0, nullptr) != SUCCESS) m_Handle = nullptr;
  }
  ~Statement() {
    if (m_Handle != nullptr) oci().OCIHandleFree(m_Handle, HTYPE_STMT);
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  void* handle() const { return m_Handle; }

private:
  void* m_Handle = nullptr;
};

// One parameter descriptor of a described select.
class DBdatabaseOciOracleParamHolder {
public:
  ~DBdatabaseOciOracleParamHolder() {
    if (pHandle != nullptr) oci().OCIDescriptorFree(pHandle, DTYPE_PARAM);
  }
  bool getStatementParam(void* statement, void* error, ub4 position) {
    COL_PRECONDITION_TEXT(pHandle == nullptr, "pHandle == NULL");
    return oci().OCIParamGet(statement, HTYPE_STMT, error, &pHandle, position) == SUCCESS;
  }
  void* pHandle = nullptr;
};

}  // namespace

DBdataType DBdatabaseOciOracle::dbDataType(int ociType) {
  switch (ociType) {
    case 1: case 5: return DB_STRING;
    case 2: case 3: case 68: return DB_INTEGER;
    case 4: return DB_FLOAT;
    case 12: case 184: return DB_DATETIME;
    case 112: return DB_TEXT;
  }
  COLstring message;
  COLostream(message) << "OCI data type: " << ociType << newline << "not supported.";
  throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

DBresultSetPtr DBdatabaseOciOracle::executeSqlString(const COLstring& sql, size_t first, size_t count) {
  COL_PRECONDITION_TEXT(m->Service != nullptr, "pMember->pServiceContext != NULL");
  DBdatabaseOciOracleDll& library = oci();
  Statement statement(m->Environment);
  checkForErrorWithSql(library.OCIStmtPrepare(statement.handle(), m->Error, reinterpret_cast<const text*>(sql.c_str()),
                                               static_cast<ub4>(sql.size()), NTV_SYNTAX, 0),
                       sql);
  ub2 type = 0;
  checkForErrorWithSql(library.OCIAttrGet(statement.handle(), HTYPE_STMT, &type, nullptr, ATTR_STMT_TYPE, m->Error), sql);
  if (type != STMT_SELECT) {
    checkForErrorWithSql(library.OCIStmtExecute(m->Service, statement.handle(), m->Error, 1, 0, nullptr, nullptr,
                                                m->Autocommit ? COMMIT_ON_SUCCESS : 0),
                         sql);
    return DBresultSetPtr();
  }
  checkForErrorWithSql(library.OCIStmtExecute(m->Service, statement.handle(), m->Error, 0, 0, nullptr, nullptr, 0), sql);

  // Describe the columns until there is no more.
  DBresultSetPtr result(new DBresultSet);
  std::vector<DBdataType> types;
  std::vector<ub2> sizes;
  for (ub4 position = 1;; ++position) {
    DBdatabaseOciOracleParamHolder param;
    if (!param.getStatementParam(statement.handle(), m->Error, position)) break;
    ub2 ociType = 0, size = 0;
    text* name = nullptr;
    ub4 nameLength = 0;
    checkForErrorWithSql(library.OCIAttrGet(param.pHandle, DTYPE_PARAM, &ociType, nullptr, ATTR_DATA_TYPE, m->Error), sql);
    checkForErrorWithSql(library.OCIAttrGet(param.pHandle, DTYPE_PARAM, &name, &nameLength, ATTR_NAME, m->Error), sql);
    checkForErrorWithSql(library.OCIAttrGet(param.pHandle, DTYPE_PARAM, &size, nullptr, ATTR_DATA_SIZE, m->Error), sql);
    DBdataType columnType;
    if (ociType == 2) {
      sb2 precision = 0;
      sb1 scale = 0;
      ub4 precisionSize = 0;
      checkForErrorWithSql(
          library.OCIAttrGet(param.pHandle, DTYPE_PARAM, &precision, &precisionSize, ATTR_PRECISION, m->Error), sql);
      if (precisionSize != 2) {
        COLstring message;
        COLostream(message) << "OCIAttrGet(OCI_ATTR_PRECISION) size mismatch:" << " expected " << 2 << ", returned "
                            << precisionSize;
        throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
      }
      checkForErrorWithSql(library.OCIAttrGet(param.pHandle, DTYPE_PARAM, &scale, nullptr, ATTR_SCALE, m->Error), sql);
      columnType = precision == 0 || scale != -127 ? DB_INTEGER : DB_FLOAT;
    } else {
      columnType = dbDataType(ociType);
    }
    result->addColumn(COLstring(std::string(reinterpret_cast<const char*>(name), nameLength)));
    types.push_back(columnType);
    sizes.push_back(size);
  }

  // A buffer and a define for each column.
  m->clearDefineVector();
  struct Clear {
    Private& Member;
    ~Clear() { Member.clearDefineVector(); }
  } clear{*m};
  for (size_t column = 0; column < types.size(); ++column) {
    auto buffer = std::make_unique<DBdatabaseOciOracleBuffer>();
    buffer->Type = types[column];
    void* define = nullptr;
    const ub4 position = static_cast<ub4>(column + 1);
    sword code = SUCCESS;
    switch (types[column]) {
      case DB_STRING:
        buffer->Value.resize(sizes[column] + 1u);
        code = library.OCIDefineByPos(statement.handle(), &define, m->Error, position, buffer->Value.data(),
                                      static_cast<sb4>(buffer->Value.size()), SQLT_CHR, &buffer->Indicator,
                                      &buffer->Length, nullptr, 0);
        if (code == SUCCESS) code = library.OCIDefineDynamic(define, m->Error, buffer.get(), pieceCallback);
        break;
      case DB_TEXT:
        checkForErrorWithSql(library.OCIDescriptorAlloc(m->Environment, &buffer->pOciLobLocator, DTYPE_LOB, 0, nullptr),
                             sql);
        code = library.OCIDefineByPos(statement.handle(), &define, m->Error, position, &buffer->pOciLobLocator,
                                      sizeof(void*), SQLT_CLOB, &buffer->Indicator, nullptr, nullptr, 0);
        break;
      case DB_DATETIME:
        buffer->Value.resize(7);
        code = library.OCIDefineByPos(statement.handle(), &define, m->Error, position, buffer->Value.data(), 7,
                                      SQLT_ODT, &buffer->Indicator, nullptr, nullptr, 0);
        break;
      case DB_INTEGER:
        buffer->Value.resize(sizeof(int64_t));
        code = library.OCIDefineByPos(statement.handle(), &define, m->Error, position, buffer->Value.data(),
                                      sizeof(int64_t), SQLT_INT, &buffer->Indicator, nullptr, nullptr, 0);
        break;
      case DB_FLOAT:
        buffer->Value.resize(sizeof(double));
        code = library.OCIDefineByPos(statement.handle(), &define, m->Error, position, buffer->Value.data(),
                                      sizeof(double), SQLT_FLT, &buffer->Indicator, nullptr, nullptr, 0);
        break;
      default: {
        COLstring message;
        COLostream(message) << "DB data type: " << static_cast<int>(types[column]) << newline << "not supported.";
        throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
      }
    }
    checkForErrorWithSql(code, sql);
    m->Buffers.push_back(std::move(buffer));
    m->Defines.push_back(define);
  }

  // Fetch every row; keep those of the window.
  uint64_t total = 0;
  for (;;) {
    for (auto& buffer : m->Buffers) {
      buffer->Rest.clear();
      buffer->PieceLength = 0;
    }
    const sword code = library.OCIStmtFetch2(statement.handle(), m->Error, 1, FETCH_NEXT, 0, 0);
    if (code == NO_DATA) break;
    checkForErrorWithSql(code, sql);
    const uint64_t index = total++;
    if (index < first || (count != 0 && index >= first + count)) continue;
    const size_t row = result->addRow();
    for (size_t column = 0; column < m->Buffers.size(); ++column) {
      DBdatabaseOciOracleBuffer& buffer = *m->Buffers[column];
      if (buffer.Indicator == -1) continue;
      switch (buffer.Type) {
        case DB_STRING: {
          std::string value(reinterpret_cast<const char*>(buffer.Value.data()), buffer.Length);
          value += buffer.Rest;
          if (buffer.PieceLength > 0) value.append(reinterpret_cast<char*>(buffer.Piece.data()), buffer.PieceLength);
          result->setValue(row, column, DBvariant(COLstring(std::move(value))));
          break;
        }
        case DB_TEXT: {
          ub4 length = 0;
          checkForErrorWithSql(library.OCILobGetLength(m->Service, m->Error, buffer.pOciLobLocator, &length), sql);
          std::vector<char> value(length + 1u);
          ub4 amount = length;
          if (length > 0)
            checkForErrorWithSql(library.OCILobRead(m->Service, m->Error, buffer.pOciLobLocator, &amount, 1,
                                                    value.data(), length, nullptr, nullptr, 0, 0),
                                 sql);
          result->setValue(row, column, DBvariant(COLstring(std::string(value.data(), amount))));
          break;
        }
        case DB_DATETIME: result->setValue(row, column, DBvariant(dateOfSevenBytes(buffer.Value.data()))); break;
        case DB_INTEGER: {
          int64_t value = 0;
          std::memcpy(&value, buffer.Value.data(), sizeof value);
          if (value >= INT32_MIN && value <= INT32_MAX)
            result->setValue(row, column, DBvariant(static_cast<int>(value)));
          else
            result->setValue(row, column, DBvariant(value));
          break;
        }
        case DB_FLOAT: {
          double value = 0;
          std::memcpy(&value, buffer.Value.data(), sizeof value);
          result->setValue(row, column, DBvariant(value));
          break;
        }
        default: break;
      }
    }
  }
  result->setCountOfDatabaseRow(total);
  return result;
}

// --- binding

void DBdatabaseOciOracle::streamInsertUpdateValue(COLostream& stream, const DBsqlInsert& command, size_t column) {
  const DBvariant& value = command.columnValue(column);
  if (command.columnValueIsColumnFlag(column)) return streamName(stream, value.toString(), false);
  if (value.type() == DB_NULL) return streamNullValue(stream);
  if (value.type() == DB_LARGE_INTEGER || m->WritingWithoutBinding) return addVariantToStream(stream, value, false, false);
  COLstring name = command.columnName(column);
  for (size_t index = 0; index < name.size(); ++index)
    if (name[index] == ' ') name[index] = '_';
  stream << ":" << name;
}

void DBdatabaseOciOracle::createSqlCommandWithoutBinding(const DBsqlCommand& command, COLostream& stream) {
  const bool old = m->WritingWithoutBinding;
  m->WritingWithoutBinding = true;
  try {
    createSqlCommand(command, stream);
  } catch (...) {
    m->WritingWithoutBinding = old;
    throw;
  }
  m->WritingWithoutBinding = old;
}

DBresultSetPtr DBdatabaseOciOracle::executeSqlInsert(const DBsqlInsert& command) {
  COLstring sql;
  {
    COLostream stream(sql);
    createSqlInsert(command, stream);
  }
  return command.selectQueryExists() ? executeSqlString(sql, 0, 0) : executeSqlBind(command, sql);
}

DBresultSetPtr DBdatabaseOciOracle::executeSqlUpdate(const DBsqlUpdate& command) {
  if (command.commandType() == DBsqlCommand::INSERT) return executeSqlInsert(command);
  COLstring sql;
  {
    COLostream stream(sql);
    createSqlUpdate(command, stream);
  }
  return executeSqlBind(command, sql);
}

DBresultSetPtr DBdatabaseOciOracle::executeSqlBind(const DBsqlInsert& command, const COLstring& sql) {
  COL_PRECONDITION_TEXT(m->Service != nullptr, "pMember->pServiceContext != NULL");
  DBdatabaseOciOracleDll& library = oci();
  Statement statement(m->Environment);
  checkForErrorWithSql(library.OCIStmtPrepare(statement.handle(), m->Error, reinterpret_cast<const text*>(sql.c_str()),
                                               static_cast<ub4>(sql.size()), NTV_SYNTAX, 0),
                       sql);
  // The bound values must live until the statement ran.
  struct Bound {
    COLstring Name;
    std::vector<ub1> Bytes;
    sb2 Indicator = 0;
  };
  std::vector<Bound> bound(command.countOfColumn());
  COLstring failure;
  for (size_t column = 0; column < command.countOfColumn() && failure.empty(); ++column) {
    const DBvariant& value = command.columnValue(column);
    if (command.columnValueIsColumnFlag(column) || value.type() == DB_NULL || value.type() == DB_LARGE_INTEGER) continue;
    Bound& item = bound[column];
    item.Name = ":" + command.columnName(column);
    for (size_t index = 0; index < item.Name.size(); ++index)
      if (item.Name[index] == ' ') item.Name[index] = '_';
    ub2 type = 0;
    switch (value.type()) {
      case DB_STRING:
        item.Bytes.assign(value.string().data(), value.string().data() + value.string().size());
        type = SQLT_CHR;
        break;
      case DB_INTEGER: case DB_BOOLEAN: {
        const int32_t number = value.type() == DB_BOOLEAN ? (value.boolean() ? 1 : 0) : value.integer32();
        item.Bytes.resize(sizeof number);
        std::memcpy(item.Bytes.data(), &number, sizeof number);
        type = SQLT_INT;
        break;
      }
      case DB_FLOAT: case DB_DOUBLE: {
        const double number = value.type() == DB_FLOAT ? value.float32() : value.float64();
        item.Bytes.resize(sizeof number);
        std::memcpy(item.Bytes.data(), &number, sizeof number);
        type = SQLT_FLT;
        break;
      }
      case DB_DATETIME:
        item.Bytes.resize(7);
        sevenBytesOfDate(value.dateTime(), item.Bytes.data());
        type = 12;  // SQLT_DAT, the seven bytes
        break;
      default: {
        COLstring message;
        COLostream(message) << "Attempted to bind '" << command.columnName(column)
                            << "' to an unsupported datatype: " << DBvariantTypeName(value.type());
        throw COLerror(message, __LINE__, __FILE__, COL_ERROR_RESOURCE);
      }
    }
    void* bind = nullptr;
    const sword code = library.OCIBindByName(statement.handle(), &bind, m->Error,
                                             reinterpret_cast<const text*>(item.Name.c_str()),
                                             static_cast<sb4>(item.Name.size()), item.Bytes.data(),
                                             static_cast<sb4>(item.Bytes.size()), type, &item.Indicator, nullptr,
                                             nullptr, 0, nullptr, 0);
    if (!didStatementSucceed(code, failure) && failure.empty()) failure = "Unrecognized return code.";
  }
  if (failure.empty()) {
    const sword code = library.OCIStmtExecute(m->Service, statement.handle(), m->Error, 1, 0, nullptr, nullptr,
                                              m->Autocommit ? COMMIT_ON_SUCCESS : 0);
    if (didStatementSucceed(code, failure)) return DBresultSetPtr();
  }
  // throwBindError: the statement and every column, to hold against the schema.
  COLstring report;
  {
    COLostream out(report);
    out << "Oracle error occurred while trying to execute SQL statement:" << newline << newline
        << "Oracle Error Message:" << newline << failure << newline << "SQL Statement:" << newline << sql << newline
        << newline << "SQL Statement Column Information:" << newline << "NAME|TYPE|SIZE|VALUE" << newline
        << "==========" << newline;
    for (size_t column = 0; column < command.countOfColumn(); ++column) {
      const DBvariant& value = command.columnValue(column);
      out << command.columnName(column) << "|" << DBvariantTypeName(value.type()) << "|" << value.binarySize() << "|"
          << value.toString() << newline;
    }
    out << "----------" << newline << "Please compare the SQL statement column information with your database schema.";
  }
  throw COLerror(report, __LINE__, __FILE__, COL_ERROR_RESOURCE);
}

// --- catalogue and words

DBresultSetPtr DBdatabaseOciOracle::fetchDatabaseTables() {
  DBsqlSelect select;
  select.addColumn("TABLE_NAME");
  select.addTable("USER_TABLES");
  return executeSqlSelect(select, 0, 0);
}

DBresultSetPtr DBdatabaseOciOracle::fetchDatabaseTableColumns(const COLstring& tableName) {
  const DBresultSetPtr described = executeSqlString("SELECT * FROM " + tableName + " WHERE 1 = 0", 0, 0);
  DBresultSetPtr columns(new DBresultSet);
  columns->addColumn("Column_Name");
  for (size_t column = 0; column < described->countOfColumn(); ++column)
    columns->setValue(columns->addRow(), size_t{0}, DBvariant(described->columnName(column)));
  return columns;
}

const char* DBdatabaseOciOracle::dbDoubleType() const { return DBoracleWords::dbDoubleType(); }
const char* DBdatabaseOciOracle::dbDateTimeType() const { return DBoracleWords::dbDateTimeType(); }
const char* DBdatabaseOciOracle::dbTextType() const { return DBoracleWords::dbTextType(); }
void DBdatabaseOciOracle::streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column) {
  DBoracleWords::streamCreateTableForeignKeySuffix(stream, column);
}
void DBdatabaseOciOracle::streamDateTime(COLostream& stream, const COLdateTime& time) {
  DBoracleWords::streamDateTime(stream, time);
}
void DBdatabaseOciOracle::streamNullValue(COLostream& stream) { DBoracleWords::streamNullValue(stream); }
