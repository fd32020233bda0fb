// QVMtable and QVMtableRow: the class interface of a table instance, over a table handle.
// Rows are addressed (row, column) here and (column, row) by the handle functions.
#pragma once

#include "QVMstring.h"

class QVMdateTime;
class QVMtablePrivate;
class QVMtableRow;

class QVMtable {
public:
  // A new, empty table of its own.
  QVMtable();
  // An empty table laid out for one message of the engine.
  QVMtable(void* engineHandle, unsigned messageIndex);
  // Adds a reference on an existing table handle.
  explicit QVMtable(void* tableHandle);
  QVMtable(const QVMtable&) = delete;
  QVMtable& operator=(const QVMtable&) = delete;
  virtual ~QVMtable();

  void* TableHandle() const;
  unsigned CountOfRow() const;
  unsigned CountOfColumn() const;
  const char* TableName() const;
  unsigned ColumnIndex(const char* name) const;
  const char* ColumnName(unsigned column) const;
  unsigned ColumnType(unsigned column) const;
  unsigned AddRow();
  unsigned CountOfSubTable() const;
  QVMtable& SubTable(unsigned subTableIndex, unsigned rowIndex);

  void SetString(unsigned row, unsigned column, const char* value);
  void SetDouble(unsigned row, unsigned column, double value);
  void SetInteger(unsigned row, unsigned column, int value);
  void SetDateTime(unsigned row, unsigned column, const QVMdateTime& value);
  const char* GetString(unsigned row, unsigned column) const;
  double GetDouble(unsigned row, unsigned column) const;
  int GetInteger(unsigned row, unsigned column) const;
  // A copy of the cell's value: a null cell gives a null date-time.
  QVMdateTime GetDateTime(unsigned row, unsigned column) const;
  unsigned GetState(unsigned row, unsigned column) const;
  bool IsNull(unsigned row, unsigned column) const;
  void setNull(unsigned row, unsigned column);
  bool IsKey(unsigned column) const;
  bool IsNode() const;
  QVMstring Dump() const;

  // The row kept in the table's one slot: asking again replaces the previous row object.
  QVMtableRow& operator[](unsigned row);

private:
  void initSubTables();
  QVMtablePrivate* pMember;
};

class QVMtableRow {
public:
  QVMtableRow(QVMtable& table, unsigned rowIndex) : m_Table(table), m_RowIndex(rowIndex) {}
  unsigned RowIndex() const { return m_RowIndex; }
  void* TableHandle() const { return m_Table.TableHandle(); }
  QVMtable& SubTable(unsigned subTableIndex) { return m_Table.SubTable(subTableIndex, m_RowIndex); }

private:
  QVMtable& m_Table;
  unsigned m_RowIndex;
};
