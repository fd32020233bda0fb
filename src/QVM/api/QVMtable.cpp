#include "QVMtable.h"

#include <memory>
#include <vector>

#include "QVMdateTime.h"
#include "QVMerror.h"
#include "QVMhandle.h"

class QVMtablePrivate {
public:
  void* Handle = nullptr;
  // Sub-table objects by row * CountOfSubTable + index, made on first use.
  std::vector<std::unique_ptr<QVMtable>> ppTableList;
  unsigned CountOfSubTable = 0;
  bool SubTablesReady = false;
  std::unique_ptr<QVMtableRow> pRow;
};

QVMtable::QVMtable() : pMember(new QVMtablePrivate) {
  if (void* error = _QVMtableCreate(&pMember->Handle)) {
    delete pMember;
    QVMactivateCondition("_QVMtableCreate(&pMember->Handle)", __LINE__, __FILE__, error);
  }
}

QVMtable::QVMtable(void* engineHandle, unsigned messageIndex) : pMember(new QVMtablePrivate) {
  if (void* error = _QVMengineCreateEmptyMessageTable(engineHandle, messageIndex, &pMember->Handle)) {
    delete pMember;
    QVMactivateCondition("_QVMengineCreateEmptyMessageTable(engineHandle, messageIndex, &pMember->Handle)", __LINE__,
                         __FILE__, error);
  }
}

QVMtable::QVMtable(void* tableHandle) : pMember(new QVMtablePrivate) {
  if (void* error = _QVMtableAddRef(tableHandle)) {
    delete pMember;
    QVMactivateCondition("_QVMtableAddRef(tableHandle)", __LINE__, __FILE__, error);
  }
  pMember->Handle = tableHandle;
}

QVMtable::~QVMtable() {
  pMember->ppTableList.clear();
  _QVMtableRelease(pMember->Handle);
  delete pMember;
}

void* QVMtable::TableHandle() const { return pMember->Handle; }

namespace {
// One handle function's out-parameter, or its error thrown.
template <class T, class Call>
T ask(Call call, const char* text, int line) {
  T value{};
  if (void* error = call(&value)) QVMactivateCondition(text, line, __FILE__, error);
  return value;
}
}  // namespace

#define QVM_ASK(T, function, ...)                                                                     \
  ask<T>([&](T* out) { return function(pMember->Handle __VA_OPT__(, ) __VA_ARGS__, out); }, #function, \
         __LINE__)

unsigned QVMtable::CountOfRow() const { return QVM_ASK(unsigned, _QVMtableCountOfRow); }
unsigned QVMtable::CountOfColumn() const { return QVM_ASK(unsigned, _QVMtableCountOfColumn); }
const char* QVMtable::TableName() const { return QVM_ASK(const char*, _QVMtableGetTableName); }
unsigned QVMtable::ColumnIndex(const char* name) const { return QVM_ASK(unsigned, _QVMtableColumnIndex, name); }
const char* QVMtable::ColumnName(unsigned column) const {
  return QVM_ASK(const char*, _QVMtableColumnName, column);
}
unsigned QVMtable::ColumnType(unsigned column) const { return QVM_ASK(unsigned, _QVMtableColumnType, column); }
unsigned QVMtable::AddRow() { return QVM_ASK(unsigned, _QVMtableAddRow); }
unsigned QVMtable::CountOfSubTable() const { return QVM_ASK(unsigned, _QVMtableCountOfSubTable); }
bool QVMtable::IsKey(unsigned column) const { return QVM_ASK(int, _QVMtableGetColumnIsKey, column) != 0; }
bool QVMtable::IsNode() const { return QVM_ASK(int, _QVMtableIsNode) != 0; }

void QVMtable::initSubTables() {
  pMember->ppTableList.clear();
  pMember->CountOfSubTable = CountOfSubTable();
  const unsigned rows = CountOfRow();
  pMember->ppTableList.resize(size_t{rows} * pMember->CountOfSubTable);
  for (unsigned row = 0; row < rows; ++row)
    for (unsigned sub = 0; sub < pMember->CountOfSubTable; ++sub) {
      void* handle = QVM_ASK(void*, _QVMtableGetRowSubTable, row, sub);
      pMember->ppTableList[size_t{row} * pMember->CountOfSubTable + sub] = std::make_unique<QVMtable>(handle);
    }
  pMember->SubTablesReady = true;
}

QVMtable& QVMtable::SubTable(unsigned SubTableIndex, unsigned RowIndex) {
  if (!pMember->SubTablesReady || size_t{RowIndex} * pMember->CountOfSubTable >= pMember->ppTableList.size())
    initSubTables();
  QVM_CONDITION(SubTableIndex < pMember->CountOfSubTable);
  const size_t slot = size_t{RowIndex} * pMember->CountOfSubTable + SubTableIndex;
  QVM_CONDITION(slot < pMember->ppTableList.size() &&
                pMember->ppTableList[RowIndex * pMember->CountOfSubTable + SubTableIndex] != NULL);
  return *pMember->ppTableList[slot];
}

void QVMtable::SetString(unsigned row, unsigned column, const char* value) {
  QVM_CHECK_CALL(_QVMtableSetStringA(pMember->Handle, column, row, value));
}
void QVMtable::SetDouble(unsigned row, unsigned column, double value) {
  QVM_CHECK_CALL(_QVMtableSetDouble(pMember->Handle, column, row, value));
}
void QVMtable::SetInteger(unsigned row, unsigned column, int value) {
  QVM_CHECK_CALL(_QVMtableSetInteger(pMember->Handle, column, row, value));
}
void QVMtable::SetDateTime(unsigned row, unsigned column, const QVMdateTime& value) {
  QVM_CHECK_CALL(_QVMtableSetDateTime(pMember->Handle, column, row, value.DateTimeHandle()));
}
const char* QVMtable::GetString(unsigned row, unsigned column) const {
  return QVM_ASK(const char*, _QVMtableGetStringA, column, row);
}
double QVMtable::GetDouble(unsigned row, unsigned column) const {
  return QVM_ASK(double, _QVMtableGetDouble, column, row);
}
int QVMtable::GetInteger(unsigned row, unsigned column) const {
  return QVM_ASK(int, _QVMtableGetInteger, column, row);
}
QVMdateTime QVMtable::GetDateTime(unsigned row, unsigned column) const {
  void* cell = QVM_ASK(void*, _QVMtableGetDateTime, column, row);
  QVMdateTime value;
  int isNull = 0;
  double date = 0, fraction = 0;
  short zone = 0;
  QVM_CHECK_CALL(_QVMdateTimeGetIsNull(cell, &isNull));
  QVM_CHECK_CALL(_QVMdateTimeGetDATE(cell, &date));
  QVM_CHECK_CALL(_QVMdateTimeGetSecondFraction(cell, &fraction));
  QVM_CHECK_CALL(_QVMdateTimeGetZone(cell, &zone));
  if (isNull) value.setNull();
  else value.SetDate(date);
  value.SetSecondFraction(fraction);
  value.SetZone(zone);
  return value;
}

unsigned QVMtable::GetState(unsigned row, unsigned column) const {
  return QVM_ASK(unsigned, _QVMtableState, column, row);
}
bool QVMtable::IsNull(unsigned row, unsigned column) const {
  return QVM_ASK(int, _QVMtableIsNull, column, row) != 0;
}
void QVMtable::setNull(unsigned row, unsigned column) {
  QVM_CHECK_CALL(_QVMtableSetNull(pMember->Handle, column, row));
}

QVMstring QVMtable::Dump() const {
  char* buffer = QVM_ASK(char*, _QVMtableDump);
  QVMstring text(buffer);
  _QVMtableFreeBuffer(&buffer);
  return text;
}

QVMtableRow& QVMtable::operator[](unsigned row) {
  pMember->pRow = std::make_unique<QVMtableRow>(*this, row);
  return *pMember->pRow;
}
