// DBresultSet: the answer of one query, held wholly in memory as named columns and rows of
// DBvariant.  Column names keep their case and are found without regard to it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"
#include "DBvariant.h"

class COLostream;

// One row: one value per column of its result set.
class DBresultSetRow {
public:
  size_t countOfValue() const { return m_Values.size(); }
  const DBvariant& value(size_t column) const;
  DBvariant& value(size_t column);

private:
  friend class DBresultSet;
  std::vector<DBvariant> m_Values;
};

class DBresultSet : public COLreference {
public:
  DBresultSet();
  DBresultSet(const DBresultSet& other);
  DBresultSet& operator=(const DBresultSet& other);
  ~DBresultSet() override;

  // Returns the new column's index; every row gains a null there.
  size_t addColumn(const COLstring& name);
  void removeColumn(size_t index);
  void removeColumn(const COLstring& name);
  void setColumnName(size_t index, const COLstring& name);
  const COLstring& columnName(size_t index) const;
  size_t countOfColumn() const;
  // -1 for a name no column has.
  int columnIndex(const COLstring& name) const;
  void resizeColumnVector(size_t count);

  size_t addRow();
  void removeRow(size_t index);
  DBresultSetRow& row(size_t index);
  const DBresultSetRow& row(size_t index) const;
  size_t countOfRow() const;
  void resizeRowVector(size_t count);

  void setValue(size_t row, size_t column, const DBvariant& value);
  void setValue(size_t row, const COLstring& column, const DBvariant& value);
  const DBvariant& value(size_t row, size_t column) const;
  const DBvariant& value(size_t row, const COLstring& column) const;

  // Rows in the database's answer, which may be more than were fetched.
  void setCountOfDatabaseRow(uint64_t count);
  uint64_t countOfDatabaseRow() const;

protected:
  COLreference* copyForClone() const override { return new DBresultSet(*this); }

private:
  size_t checkedColumn(const COLstring& name) const;
  void checkColumn(size_t index) const;
  void checkRow(size_t index) const;
  // Rebuilds the lookup from upper-cased name to index when a change left it stale.
  void synchronizeColumnLookup() const;

  struct Private;
  std::unique_ptr<Private> m;
};

using DBresultSetPtr = COLreferencePtr<DBresultSet>;

// The results of a sequence of commands, one per command that returned rows.
class DBresultSetSequence {
public:
  void push_back(const DBresultSetPtr& resultSet) { m_ResultSets.push_back(resultSet); }
  size_t countOfResultSet() const { return m_ResultSets.size(); }
  const DBresultSetPtr& resultSet(size_t index) const;
  void clear() { m_ResultSets.clear(); }

private:
  std::vector<DBresultSetPtr> m_ResultSets;
};

// A result set for reading: a header of column names, then each row from `first` for `count`
// rows (all rows when both are 0), each value cut to `maxWidth` bytes unless that is 0.
void DBprintResultSetPtrToStream(COLostream& stream, const DBresultSetPtr& resultSet, size_t first, size_t count,
                                 size_t maxWidth);
