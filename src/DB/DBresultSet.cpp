#include "DBresultSet.h"

#include <algorithm>

#include "COLerror.h"
#include "COLlookupList.h"
#include "COLostream.h"

struct DBresultSet::Private {
  std::vector<COLstring> ColumnNameVector;
  std::vector<DBresultSetRow> RowVector;
  mutable COLlookupList<COLstring, size_t> ColumnLookup;
  mutable bool LookupStale = false;
  uint64_t CountOfDatabaseRow = 0;
};

const DBvariant& DBresultSetRow::value(size_t column) const {
  COL_PRECONDITION(column < m_Values.size());
  return m_Values[column];
}

DBvariant& DBresultSetRow::value(size_t column) {
  COL_PRECONDITION(column < m_Values.size());
  return m_Values[column];
}

DBresultSet::DBresultSet() : m(std::make_unique<Private>()) {}
DBresultSet::DBresultSet(const DBresultSet& other) : COLreference(), m(std::make_unique<Private>(*other.m)) {}
DBresultSet& DBresultSet::operator=(const DBresultSet& other) {
  if (this != &other) *m = *other.m;
  return *this;
}
DBresultSet::~DBresultSet() = default;

namespace {
COLstring upperCased(const COLstring& name) {
  COLstring key = name;
  key.toUpperCase();
  return key;
}
}  // namespace

void DBresultSet::synchronizeColumnLookup() const {
  if (!m->LookupStale) return;
  m->ColumnLookup.clear();
  // The first of two columns that differ only in case wins, as addItem keeps the first.
  for (size_t index = 0; index < m->ColumnNameVector.size(); ++index)
    m->ColumnLookup.addItem(upperCased(m->ColumnNameVector[index]), index);
  m->LookupStale = false;
}

void DBresultSet::checkColumn(size_t ColumnIndex) const {
  COL_PRECONDITION_TEXT(ColumnIndex < m->ColumnNameVector.size(), "ColumnIndex < pMember->ColumnNameVector.size()");
}

void DBresultSet::checkRow(size_t RowIndex) const { COL_PRECONDITION_TEXT(RowIndex < m->RowVector.size(), "RowIndex < pMember->RowVector.size()"); }

size_t DBresultSet::addColumn(const COLstring& ColumnName) {
  COL_PRECONDITION_TEXT(!ColumnName.empty(), "!ColumnName.is_null()");
  m->ColumnNameVector.push_back(ColumnName);
  for (DBresultSetRow& row : m->RowVector) row.m_Values.emplace_back();
  const size_t index = m->ColumnNameVector.size() - 1;
  if (!m->LookupStale) m->ColumnLookup.addItem(upperCased(ColumnName), index);
  return index;
}

void DBresultSet::removeColumn(size_t index) {
  checkColumn(index);
  m->ColumnNameVector.erase(m->ColumnNameVector.begin() + index);
  for (DBresultSetRow& row : m->RowVector) row.m_Values.erase(row.m_Values.begin() + index);
  m->LookupStale = true;
}

void DBresultSet::removeColumn(const COLstring& name) { removeColumn(checkedColumn(name)); }

void DBresultSet::setColumnName(size_t index, const COLstring& ColumnName) {
  checkColumn(index);
  COL_PRECONDITION_TEXT(!ColumnName.empty(), "!ColumnName.is_null()");
  m->ColumnNameVector[index] = ColumnName;
  m->LookupStale = true;
}

const COLstring& DBresultSet::columnName(size_t index) const {
  checkColumn(index);
  return m->ColumnNameVector[index];
}

size_t DBresultSet::countOfColumn() const { return m->ColumnNameVector.size(); }

int DBresultSet::columnIndex(const COLstring& ColumnName) const {
  COL_PRECONDITION_TEXT(!ColumnName.empty(), "!ColumnName.is_null()");
  synchronizeColumnLookup();
  const auto* node = m->ColumnLookup.findItem(upperCased(ColumnName));
  return node ? static_cast<int>(node->value()) : -1;
}

// A name that must be there: an unknown one fails as an index past the columns would.
size_t DBresultSet::checkedColumn(const COLstring& name) const {
  const int index = columnIndex(name);
  const size_t ColumnIndex = index < 0 ? m->ColumnNameVector.size() : static_cast<size_t>(index);
  checkColumn(ColumnIndex);
  return ColumnIndex;
}

void DBresultSet::resizeColumnVector(size_t count) {
  const size_t before = m->ColumnNameVector.size();
  m->ColumnNameVector.resize(count);
  for (DBresultSetRow& row : m->RowVector) row.m_Values.resize(count);
  if (count != before) m->LookupStale = true;
}

size_t DBresultSet::addRow() {
  m->RowVector.emplace_back();
  m->RowVector.back().m_Values.resize(m->ColumnNameVector.size());
  return m->RowVector.size() - 1;
}

void DBresultSet::removeRow(size_t index) {
  checkRow(index);
  m->RowVector.erase(m->RowVector.begin() + index);
}

DBresultSetRow& DBresultSet::row(size_t index) {
  checkRow(index);
  return m->RowVector[index];
}

const DBresultSetRow& DBresultSet::row(size_t index) const {
  checkRow(index);
  return m->RowVector[index];
}

size_t DBresultSet::countOfRow() const { return m->RowVector.size(); }

void DBresultSet::resizeRowVector(size_t count) {
  const size_t before = m->RowVector.size();
  m->RowVector.resize(count);
  for (size_t index = before; index < count; ++index)
    m->RowVector[index].m_Values.resize(m->ColumnNameVector.size());
}

void DBresultSet::setValue(size_t rowIndex, size_t column, const DBvariant& value) {
  checkRow(rowIndex);
  checkColumn(column);
  m->RowVector[rowIndex].m_Values[column] = value;
}

void DBresultSet::setValue(size_t rowIndex, const COLstring& column, const DBvariant& value) {
  setValue(rowIndex, checkedColumn(column), value);
}

const DBvariant& DBresultSet::value(size_t rowIndex, size_t column) const {
  checkRow(rowIndex);
  checkColumn(column);
  return m->RowVector[rowIndex].m_Values[column];
}

const DBvariant& DBresultSet::value(size_t rowIndex, const COLstring& column) const {
  return value(rowIndex, checkedColumn(column));
}

void DBresultSet::setCountOfDatabaseRow(uint64_t count) { m->CountOfDatabaseRow = count; }
uint64_t DBresultSet::countOfDatabaseRow() const { return m->CountOfDatabaseRow; }

const DBresultSetPtr& DBresultSetSequence::resultSet(size_t index) const {
  COL_PRECONDITION(index < m_ResultSets.size());
  return m_ResultSets[index];
}

void DBprintResultSetPtrToStream(COLostream& stream, const DBresultSetPtr& resultSet, size_t first, size_t count,
                                 size_t maxWidth) {
  const COLstring heavyLine(72, '=');
  const COLstring lightLine(69, '-');
  stream << "\n" << heavyLine << "\n" << "RowIndex\t\t";
  for (size_t column = 0; column < resultSet->countOfColumn(); ++column)
    stream << resultSet->columnName(column) << "\t\t";
  stream << "\n" << heavyLine << "\n";
  size_t end = resultSet->countOfRow();
  if (first != 0 || count != 0) end = std::min(end, first + count);
  for (size_t rowIndex = first; rowIndex < end; ++rowIndex) {
    stream << static_cast<unsigned long long>(rowIndex) << "\t\t";
    const DBresultSetRow& row = resultSet->row(rowIndex);
    for (size_t column = 0; column < row.countOfValue(); ++column) {
      const COLstring text = row.value(column).toString();
      if (maxWidth != 0 && text.size() > maxWidth)
        stream << text.substr(0, maxWidth) << "..." << "\t\t";
      else
        stream << text << "\t\t";
    }
    stream << "\n" << lightLine << "\n";
  }
}
