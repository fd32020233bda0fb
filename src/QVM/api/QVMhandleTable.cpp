// The table family of the handle interface, over QVMtableInternal, and the engine function
// that makes an empty table for a message. Handles of sub-tables are borrowed from their
// parent: a host that keeps one past the parent's life adds a reference of its own.
// A table made or filled by an engine holds that engine's lease: every call but AddRef and
// Release is refused once the engine was cleared or loaded again. Cells are addressed
// (column, row) here.
#include "COLostream.h"
#include "QVMhandleSupport.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"

namespace {

const char kFamily[] = "a table";

QVMtableInternal& tableObject(void* handle) { return QVMhandleTable(handle); }

bool followsEndedDefinition(const QVMtableInternal& table) {
  auto* lease = dynamic_cast<const QVMengineLease*>(table.definitionOwner());
  return lease && !lease->isCurrent();
}

template <class Body>
void* onTable(void* handle, Body body) {
  return QVMhandleGuard([&] { body(tableObject(handle)); });
}

template <class Out, class Body>
void* fromTable(void* handle, Out* out, Body body) {
  return QVMhandleGuard([&] {
    QVMtableInternal& table = tableObject(handle);
    QVM_HANDLE_OUT(out);
    body(table);
  });
}

void* subTableHandle(QVMtableInternal& table, unsigned row, unsigned subTable) {
  return static_cast<COLreference*>(&table.subTable(row, subTable));
}

}  // namespace

QVMtableInternal& QVMhandleTable(void* handle) {
  QVMtableInternal& table = QVMhandleObject<QVMtableInternal>(handle, kFamily);
  if (followsEndedDefinition(table))
    throw COLerror(
        "The table follows a definition that its engine no longer holds: the engine was cleared or loaded "
        "again since the table was made or filled. Fill the table again or make a new one.",
        COL_ERROR_PRECONDITION);
  return table;
}

void QVMhandleLeaseTable(QVMengineHandle& engine, QVMtableInternal& table) {
  if (followsEndedDefinition(table)) table.clear();
  // Sub-tables made from now on take the lease from their parent.
  table.setDefinitionOwner(&engine.lease());
}

extern "C" {

void* _QVMtableCreate(void** table) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(table);
    *table = QVMhandleNew(new QVMtableInternal);
  });
}

void* _QVMtableAddRef(void* table) { return QVMhandleAddRef<QVMtableInternal>(table, kFamily); }
void* _QVMtableRelease(void* table) { return QVMhandleRelease<QVMtableInternal>(table, kFamily); }

void* _QVMengineCreateEmptyMessageTable(void* engine, unsigned messageIndex, void** table) {
  return QVMhandleGuard([&] {
    QVMengineHandle& owner = QVMhandleObject<QVMengineHandle>(engine, "an engine");
    QVM_HANDLE_OUT(table);
    QVMengineInternal& schema = owner.schema();
    COL_PRECONDITION_TEXT(messageIndex < schema.countOfMessage(), "MessageIndex < CountOfMessage");
    COLreferencePtr<QVMtableInternal> made = new QVMtableInternal;
    // The table borrows the engine's grammar: it keeps the engine alive as long as it lives.
    QVMhandleLeaseTable(owner, *made);
    made->makeEmptyTable(&schema.message(messageIndex)->tableGrammar());
    *table = QVMhandleNew(made.get());
  });
}

void* _QVMtableGetTableGrammar(void* table, void** grammar) {
  return fromTable(table, grammar, [&](QVMtableInternal& t) { *grammar = QVMhandleOf(t.tableGrammar()); });
}

void* _QVMtableName(void* table, const char** name) {
  return fromTable(table, name, [&](QVMtableInternal& t) { *name = t.tableName().c_str(); });
}
void* _QVMtableGetTableName(void* table, const char** name) { return _QVMtableName(table, name); }

void* _QVMtableIsNode(void* table, int* isNode) {
  return fromTable(table, isNode, [&](QVMtableInternal& t) { *isNode = t.isNode() ? 1 : 0; });
}

void* _QVMtableSubTable(void* table, unsigned row, unsigned subTable, void** result) {
  return fromTable(table, result, [&](QVMtableInternal& t) { *result = subTableHandle(t, row, subTable); });
}
void* _QVMtableGetSubTable(void* table, unsigned row, unsigned subTable, void** result) {
  return _QVMtableSubTable(table, row, subTable, result);
}
// Checked as well: a host can't be trusted with the unchecked form.
void* _QVMtableGetRowSubTable(void* table, unsigned row, unsigned subTable, void** result) {
  return _QVMtableSubTable(table, row, subTable, result);
}

void* _QVMtableGetSubTableIndex(void* table, const char* name, unsigned* subTable) {
  return fromTable(table, subTable, [&](QVMtableInternal& t) {
    QVM_HANDLE_OUT(name);
    *subTable = t.subTableNameToIndex(name);
  });
}
void* _QVMtableGetSubTableNameToIndex(void* table, const char* name, unsigned* subTable) {
  return _QVMtableGetSubTableIndex(table, name, subTable);
}

void* _QVMtableCountOfColumn(void* table, unsigned* count) {
  return fromTable(table, count, [&](QVMtableInternal& t) { *count = t.countOfColumn(); });
}
void* _QVMtableCountOfRow(void* table, unsigned* count) {
  return fromTable(table, count, [&](QVMtableInternal& t) { *count = t.countOfRow(); });
}
void* _QVMtableCountOfSubTable(void* table, unsigned* count) {
  return fromTable(table, count, [&](QVMtableInternal& t) { *count = t.countOfSubTable(); });
}
void* _QVMtableCountOfRowSubTable(void* table, unsigned row, unsigned* count) {
  return fromTable(table, count, [&](QVMtableInternal& t) { *count = t.countOfRowSubTable(row); });
}

void* _QVMtableColumnType(void* table, unsigned column, unsigned* type) {
  return fromTable(table, type, [&](QVMtableInternal& t) { *type = t.columnType(column); });
}
void* _QVMtableColumnName(void* table, unsigned column, const char** name) {
  return fromTable(table, name, [&](QVMtableInternal& t) { *name = t.columnName(column).c_str(); });
}
void* _QVMtableColumnIndex(void* table, const char* name, unsigned* column) {
  return fromTable(table, column, [&](QVMtableInternal& t) {
    QVM_HANDLE_OUT(name);
    *column = t.columnIndex(name);
  });
}

void* _QVMtableGetColumnIsKey(void* table, unsigned column, int* isKey) {
  return fromTable(table, isKey, [&](QVMtableInternal& t) {
    (void)t.columnType(column);  // the column check
    *isKey = t.tableDefinition()->columnIsKey(column) ? 1 : 0;
  });
}

void* _QVMtableGetKeyColumnIndex(void* table, unsigned* column) {
  return fromTable(table, column, [&](QVMtableInternal& t) {
    *column = QVM_NO_INDEX;
    for (unsigned i = 0; i < t.countOfColumn(); ++i)
      if (t.tableDefinition()->columnIsKey(i)) {
        *column = i;
        return;
      }
  });
}

void* _QVMtableIsNull(void* table, unsigned column, unsigned row, int* isNull) {
  return fromTable(table, isNull, [&](QVMtableInternal& t) { *isNull = t.isNull(column, row) ? 1 : 0; });
}
void* _QVMtableGetIsNull(void* table, unsigned column, unsigned row, int* isNull) {
  return _QVMtableIsNull(table, column, row, isNull);
}

void* _QVMtableState(void* table, unsigned column, unsigned row, unsigned* state) {
  return fromTable(table, state, [&](QVMtableInternal& t) { *state = t.state(column, row); });
}

void* _QVMtableSetNull(void* table, unsigned column, unsigned row) {
  return onTable(table, [&](QVMtableInternal& t) { t.setNull(column, row); });
}

// Valid until the cell changes.
void* _QVMtableGetStringA(void* table, unsigned column, unsigned row, const char** value) {
  return fromTable(table, value, [&](QVMtableInternal& t) { *value = t.getString(column, row).c_str(); });
}

void* _QVMtableGetValueAsString(void* table, unsigned column, unsigned row, const char** value) {
  static COLstring text;
  return fromTable(table, value,
                   [&](QVMtableInternal& t) { *value = QVMhandleKeep(text, t.getStringValue(column, row)); });
}

void* _QVMtableGetDouble(void* table, unsigned column, unsigned row, double* value) {
  return fromTable(table, value, [&](QVMtableInternal& t) { *value = t.getDouble(column, row); });
}

void* _QVMtableGetInteger(void* table, unsigned column, unsigned row, int* value) {
  return fromTable(table, value, [&](QVMtableInternal& t) { *value = t.getInteger(column, row); });
}

// The cell's own date-time handle, borrowed: changes to it show in the cell.
void* _QVMtableGetDateTime(void* table, unsigned column, unsigned row, void** dateTime) {
  return fromTable(table, dateTime, [&](QVMtableInternal& t) {
    *dateTime = static_cast<COLreference*>(&t.getDateTime(column, row));
  });
}

void* _QVMtableSetStringA(void* table, unsigned column, unsigned row, const char* value) {
  return onTable(table, [&](QVMtableInternal& t) {
    QVM_HANDLE_OUT(value);
    t.setString(column, row, value);
  });
}

void* _QVMtableSetDouble(void* table, unsigned column, unsigned row, double value) {
  return onTable(table, [&](QVMtableInternal& t) { t.setDouble(column, row, value); });
}

void* _QVMtableSetInteger(void* table, unsigned column, unsigned row, int value) {
  return onTable(table, [&](QVMtableInternal& t) { t.setInteger(column, row, value); });
}

void* _QVMtableSetDateTime(void* table, unsigned column, unsigned row, void* dateTime) {
  return onTable(table, [&](QVMtableInternal& t) {
    t.setDateTime(column, row, QVMhandleObject<QVMdateTimeInternal>(dateTime, "a date-time"));
  });
}

void* _QVMtableAddRow(void* table, unsigned* row) {
  return fromTable(table, row, [&](QVMtableInternal& t) { *row = t.addRow(); });
}

// `count` rows; `firstRow` is the index of the first of them (the row count when none).
void* _QVMtableAddRowEx(void* table, unsigned count, unsigned* firstRow) {
  return fromTable(table, firstRow, [&](QVMtableInternal& t) {
    COL_PRECONDITION_TEXT(t.tableGrammar() != nullptr, "pMember->pTableGrammar != NULL");
    *firstRow = t.countOfRow();
    for (unsigned i = 0; i < count; ++i) t.addRow();
  });
}

void* _QVMtableDump(void* table, char** buffer) {
  return fromTable(table, buffer, [&](QVMtableInternal& t) {
    COLstring text;
    COLostream stream(text);
    t.printOn(stream);
    *buffer = QVMdumpCopy(text);
  });
}

void* _QVMtableFreeBuffer(char** buffer) { return _QVMengineFreeBuffer(buffer); }

}  // extern "C"
