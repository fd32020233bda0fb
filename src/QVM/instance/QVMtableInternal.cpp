#include "QVMtableInternal.h"

#include <algorithm>
#include <utility>

#include "COLdateTime.h"
#include "COLerror.h"
#include "COLostream.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"

class QVMtableInternalPrivate {
public:
  unsigned countOfRow = 0;
  unsigned countOfColumn = 0;
  // The cells of a node table, row after row: adding a row costs no allocation per cell.
  // Cells past the rows in use are kept from earlier rows, to be reset and used again.
  std::vector<QVMtableCell> cells;
  // A bit per cell of `cells`, set once the cell may hold something: a cell whose bit is clear is
  // plain null.  Most cells of a wide table stay empty, and resetting or writing a row then
  // visits only the cells that were written.  By position in `cells`, whatever the row width,
  // since a table made again for another grammar keeps the cells it had.
  std::vector<uint64_t> filled;

  void grow(size_t count) {
    if (cells.size() < count) cells.resize(count);
    if (filled.size() * 64 < count) filled.resize((count + 63) / 64);
  }
  void mark(size_t index) { filled[index / 64] |= uint64_t{1} << (index % 64); }
  // Calls `visit(index)` for each marked cell in [begin, end), in order.
  template <typename Visit>
  void forEachMarked(size_t begin, size_t end, Visit&& visit) const {
    for (size_t word = begin / 64; word * 64 < end && word < filled.size(); ++word) {
      uint64_t bits = filled[word];
      if (word == begin / 64) bits &= ~uint64_t{0} << (begin % 64);
      if ((word + 1) * 64 > end) bits &= ~uint64_t{0} >> ((word + 1) * 64 - end);
      for (; bits; bits &= bits - 1) visit(word * 64 + static_cast<size_t>(__builtin_ctzll(bits)));
    }
  }
  // Marks exactly the cells of [begin, end) that hold something.
  void remark(size_t begin, size_t end) {
    for (size_t index = begin; index < end; ++index) {
      uint64_t& word = filled[index / 64];
      const uint64_t bit = uint64_t{1} << (index % 64);
      word = cells[index].isPlainNull() ? word & ~bit : word | bit;
    }
  }
  // The sub-tables of each row of a group table, in grammar order.
  std::vector<std::vector<COLreferencePtr<QVMtableInternal>>> rowTables;
  // What cleared rows left: their emptied lists and the sub-tables nobody else holds.  A
  // context that fills one table per message thus reaches a steady state with no allocation.
  std::vector<std::vector<COLreferencePtr<QVMtableInternal>>> spareRows;
  std::vector<COLreferencePtr<QVMtableInternal>> spareTables;
  QVMtableGrammarInternal* pTableGrammar = nullptr;
  QVMtableInternal* parent = nullptr;
  COLreferencePtr<COLreference> definitionOwner;
};

namespace {

const COLstring kNoName;

COLstring typeText(QVMdataType type) {
  if (type <= QVMdateTimeType) return QVMoutputDataTypeAsString(type);
  if (type == QVMenumerationType) return "Enumeration";
  COLstring text;
  COLostream(text) << static_cast<unsigned>(type);
  return text;
}

// A leaf grammar has its table's name, and none while it has no table.
const COLstring& grammarName(const QVMtableGrammarInternal* grammar) {
  if (!grammar || (grammar->isNode() && !grammar->table())) return kNoName;
  return grammar->name();
}

[[noreturn]] void raise(const COLstring& text, uint32_t code) { throw COLerror(text, code); }

}  // namespace

QVMtableInternal::QVMtableInternal() : pMember(new QVMtableInternalPrivate) {}

QVMtableInternal::QVMtableInternal(const QVMtableInternal& other)
    : COLreference(), pMember(new QVMtableInternalPrivate) {
  const QVMtableInternalPrivate& source = *other.pMember;
  pMember->countOfRow = source.countOfRow;
  pMember->countOfColumn = source.countOfColumn;
  pMember->pTableGrammar = source.pTableGrammar;
  pMember->definitionOwner = source.definitionOwner;
  pMember->cells.assign(source.cells.begin(),
                        source.cells.begin() + static_cast<std::ptrdiff_t>(source.countOfRow) * source.countOfColumn);
  pMember->filled.assign((pMember->cells.size() + 63) / 64, 0);
  pMember->remark(0, pMember->cells.size());
  pMember->rowTables.reserve(source.rowTables.size());
  for (const auto& tables : source.rowTables) {
    auto& copy = pMember->rowTables.emplace_back();
    copy.reserve(tables.size());
    for (const auto& table : tables) {
      copy.emplace_back(new QVMtableInternal(*table));
      copy.back()->setParent(this);
    }
  }
}

QVMtableInternal& QVMtableInternal::operator=(const QVMtableInternal& other) {
  if (this == &other) return *this;
  QVMtableInternal copy(other);
  std::swap(pMember, copy.pMember);
  std::swap(pMember->parent, copy.pMember->parent);
  for (auto& tables : pMember->rowTables)
    for (auto& table : tables) table->setParent(this);
  return *this;
}

QVMtableInternal::~QVMtableInternal() { delete pMember; }

// --- shape

void QVMtableInternal::makeEmptyTable(QVMtableGrammarInternal* Grammar) {
  clear();
  pMember->pTableGrammar = Grammar;
  if (!Grammar || !Grammar->isNode() || !Grammar->table()) return;
  pMember->countOfColumn = static_cast<unsigned>(Grammar->table()->countOfColumn());
}

void QVMtableInternal::clear() {
  QVMtableInternalPrivate& member = *pMember;
  member.countOfRow = 0;
  member.countOfColumn = 0;
  // Each row keeps its sub-tables, the last row first so that addRow takes them back in order:
  // a sub-table comes back to the place it had, which a message of the same shape fills alike, so
  // its storage and its own sub-tables already fit.  Pooled loose, they were dealt to other places
  // and kept growing new ones on a log of mixed messages.
  for (auto Row = member.rowTables.rbegin(); Row != member.rowTables.rend(); ++Row)
    member.spareRows.push_back(std::move(*Row));
  member.rowTables.clear();
  pMember->pTableGrammar = nullptr;
}

QVMtableGrammarInternal* QVMtableInternal::tableGrammar() const { return pMember->pTableGrammar; }

QVMtableDefinitionInternal* QVMtableInternal::tableDefinition() const {
  return isNode() ? pMember->pTableGrammar->table() : nullptr;
}

bool QVMtableInternal::isNode() const { return pMember->pTableGrammar && pMember->pTableGrammar->isNode(); }
QVMtableInternal* QVMtableInternal::parent() const { return pMember->parent; }
void QVMtableInternal::setParent(QVMtableInternal* Parent) { pMember->parent = Parent; }
void QVMtableInternal::setDefinitionOwner(COLreference* Owner) { pMember->definitionOwner = Owner; }
COLreference* QVMtableInternal::definitionOwner() const { return pMember->definitionOwner.get(); }

const COLstring& QVMtableInternal::tableName() const { return grammarName(pMember->pTableGrammar); }

void QVMtableInternal::checkIfEmpty() const {
  if (pMember->countOfRow != 0)
    raise("The table contains data.  It must be empty to alter the structure.", COL_ERROR_TABLE_NOT_EMPTY);
}

// --- rows and sub-tables

unsigned QVMtableInternal::addRow() {
  COL_PRECONDITION_TEXT(pMember->pTableGrammar != nullptr, "pMember->pTableGrammar != NULL");
  if (isNode()) {
    QVMtableInternalPrivate& member = *pMember;
    const size_t end = static_cast<size_t>(member.countOfRow + 1) * member.countOfColumn;
    // A row used again: only the cells an earlier row wrote need a reset.
    member.grow(end);
    member.forEachMarked(end - member.countOfColumn, end, [&member](size_t index) {
      member.cells[index].reset();
      member.filled[index / 64] &= ~(uint64_t{1} << (index % 64));
    });
  } else {
    QVMtableInternalPrivate& member = *pMember;
    if (member.spareRows.empty()) {
      member.rowTables.emplace_back();
    } else {
      member.rowTables.push_back(std::move(member.spareRows.back()));
      member.spareRows.pop_back();
    }
    auto& tables = member.rowTables.back();
    const size_t count = member.pTableGrammar->countOfSubGrammar();
    // Sub-tables beyond this grammar's count go to the loose pool; one still held elsewhere stays
    // with its holder.
    for (size_t i = count; i < tables.size(); ++i)
      if (tables[i]->countOfRef() == 1) member.spareTables.push_back(std::move(tables[i]));
    if (tables.size() > count) tables.erase(tables.begin() + static_cast<std::ptrdiff_t>(count), tables.end());
    tables.reserve(count);
    for (size_t i = 0; i < count; ++i) {
      if (i >= tables.size() || tables[i]->countOfRef() != 1) {
        COLreferencePtr<QVMtableInternal> table;
        if (member.spareTables.empty()) {
          table = new QVMtableInternal;
        } else {
          table = std::move(member.spareTables.back());
          member.spareTables.pop_back();
        }
        if (i < tables.size())
          tables[i] = std::move(table);
        else
          tables.push_back(std::move(table));
      }
      QVMtableInternal* table = tables[i].get();
      table->makeEmptyTable(member.pTableGrammar->subGrammar(i));
      table->setParent(this);
      table->setDefinitionOwner(pMember->definitionOwner.get());
    }
  }
  return ++pMember->countOfRow - 1;
}

void QVMtableInternal::checkRow(unsigned Row) const {
  if (Row < pMember->countOfRow) return;
  COLstring text;
  COLostream(text) << "Boundary error accessing row " << Row << " of the " << tableName() << " table: it has "
                   << pMember->countOfRow << " rows.";
  raise(text, COL_ERROR_OUT_OF_BOUNDS);
}

void QVMtableInternal::removeRow(unsigned Row) {
  checkRow(Row);
  // The row's cells go to the end, where cells wait to be used again.
  const size_t first = static_cast<size_t>(Row) * pMember->countOfColumn;
  if (pMember->countOfColumn) {
    const auto at = pMember->cells.begin() + static_cast<std::ptrdiff_t>(first);
    std::rotate(at, at + pMember->countOfColumn, pMember->cells.end());
    pMember->remark(first, pMember->cells.size());
  }
  if (Row < pMember->rowTables.size()) pMember->rowTables.erase(pMember->rowTables.begin() + Row);
  --pMember->countOfRow;
}

unsigned QVMtableInternal::countOfRow() const { return pMember->countOfRow; }
unsigned QVMtableInternal::countOfColumn() const { return pMember->countOfColumn; }

unsigned QVMtableInternal::countOfSubTable() const {
  if (!pMember->pTableGrammar || isNode()) return 0;
  return static_cast<unsigned>(pMember->pTableGrammar->countOfSubGrammar());
}

unsigned QVMtableInternal::countOfRowSubTable(unsigned Row) const {
  checkRow(Row);
  return Row < pMember->rowTables.size() ? static_cast<unsigned>(pMember->rowTables[Row].size()) : 0;
}

const QVMtableInternal& QVMtableInternal::subTable(unsigned Row, unsigned SubTable) const {
  COLstring text;
  if (Row >= pMember->countOfRow) {
    COLostream(text) << "Boundary error accessing sub table '" << tableName() << "' index " << Row
                     << " should be less than " << pMember->countOfRow;
    raise(text, COL_ERROR_OUT_OF_BOUNDS);
  }
  // A grammar that gained sub-grammars after the row was made leaves the row short.
  const unsigned count =
      Row < pMember->rowTables.size() ? static_cast<unsigned>(pMember->rowTables[Row].size()) : 0;
  if (SubTable >= countOfSubTable() || SubTable >= count) {
    COLostream(text) << "Invalid table index " << SubTable << " accessed. The actual range should be less than "
                     << count << " for the " << tableName() << " table.";
    raise(text, COL_ERROR_OUT_OF_BOUNDS);
  }
  return *pMember->rowTables[Row][SubTable];
}

QVMtableInternal& QVMtableInternal::subTable(unsigned Row, unsigned SubTable) {
  return const_cast<QVMtableInternal&>(std::as_const(*this).subTable(Row, SubTable));
}

QVMtableInternal& QVMtableInternal::rowSubTable(unsigned Row, unsigned SubTable) {
  return *pMember->rowTables[Row][SubTable];
}

unsigned QVMtableInternal::subTableNameToIndex(const COLstring& Name) const {
  const unsigned count = countOfSubTable();
  for (unsigned i = 0; i < count; ++i)
    if (pMember->pTableGrammar->subGrammar(i) && grammarName(pMember->pTableGrammar->subGrammar(i)) == Name)
      return i;
  return npos;
}

// --- columns

void QVMtableInternal::checkColumn(unsigned Column) const {
  const unsigned count = countOfColumn();
  if (Column < count) return;
  COLstring text;
  COLostream(text) << "Invalid column index " << Column << " accessed. The actual range of Columns is from 0 to "
                   << static_cast<long long>(count) - 1 << " for the " << tableName() << " table.";
  raise(text, COL_ERROR_OUT_OF_BOUNDS);
}

void QVMtableInternal::checkBoundary(unsigned Column, unsigned Row) const {
  checkColumn(Column);
  const unsigned count = pMember->countOfRow;
  if (Row < count) return;
  COLstring text;
  COLostream stream(text);
  stream << "Boundary error accessing row index of '" << Row << " of column " << columnName(Column) << " of "
         << tableName() << ".  ";
  if (count == 0)
    stream << "There are zero rows in the table.  You either need to check the number of rows in the table or use "
              "an Add method to add rows to the table.";
  else if (count == 1)
    stream << "There is only one valid row in the table so the index should be zero.";
  else
    stream << "' the row index  should be from 0 to " << count - 1;
  raise(text, COL_ERROR_OUT_OF_BOUNDS);
}

void QVMtableInternal::checkColumnType(unsigned Column, QVMdataType Type) const {
  const QVMdataType actual = columnType(Column);
  if (actual == Type) return;
  COLstring text;
  COLostream(text) << "The program has attempted to access column number " << Column << "(" << columnName(Column)
                   << ") of the table " << tableName() << " assuming it is of the data type " << typeText(Type)
                   << " when in fact is of type " << typeText(actual)
                   << ".  This problem typically arises in two situations.  Either you are writing using the "
                      "dynamic interface and have made an error or you are using a message definition file which "
                      "has different tables from the original file used to generate the table stub code files from "
                      "which this error has arisen.";
  raise(text, COL_ERROR_COLUMN_TYPE);
}

QVMdataType QVMtableInternal::columnType(unsigned Column) const {
  checkColumn(Column);
  return tableDefinition()->columnType(Column);
}

const COLstring& QVMtableInternal::columnName(unsigned Column) const {
  checkColumn(Column);
  return tableDefinition()->columnName(Column);
}

unsigned QVMtableInternal::columnIndex(const COLstring& Name) const {
  const QVMtableDefinitionInternal* definition = tableDefinition();
  return definition ? definition->columnIndex(Name) : npos;
}

COLstring QVMtableInternal::columnTypeAsString(unsigned Column) const { return typeText(columnType(Column)); }

// --- cells

QVMtableCell& QVMtableInternal::cell(unsigned Column, unsigned Row) const {
  return pMember->cells[static_cast<size_t>(Row) * pMember->countOfColumn + Column];
}

QVMtableCell& QVMtableInternal::writableCell(unsigned Column, unsigned Row) {
  const size_t index = static_cast<size_t>(Row) * pMember->countOfColumn + Column;
  pMember->mark(index);
  return pMember->cells[index];
}

unsigned QVMtableInternal::nextFilledColumn(unsigned Row, unsigned From) const {
  const QVMtableInternalPrivate& member = *pMember;
  const size_t begin = static_cast<size_t>(Row) * member.countOfColumn;
  const size_t end = begin + member.countOfColumn;
  for (size_t index = begin + From; index < end;) {
    const size_t word = index / 64;
    if (word >= member.filled.size()) break;
    if (const uint64_t bits = member.filled[word] & (~uint64_t{0} << (index % 64))) {
      const size_t found = word * 64 + static_cast<size_t>(__builtin_ctzll(bits));
      return static_cast<unsigned>(std::min(found, end) - begin);
    }
    index = (word + 1) * 64;
  }
  return member.countOfColumn;
}

// A caller may have changed a cell's date-time object in place; the cell kind follows it.
void QVMtableInternal::fixUpDateTime(unsigned Column, unsigned Row) {
  QVMtableCell& current = cell(Column, Row);
  if (!current.dateTimeObject()) return;
  const QVMtableInternalState state = current.state();
  const COLdateTime::DateTimeStatus status = current.dateTimeObject()->status();
  if (status != COLdateTime::valid && status != COLdateTime::invalid && status != COLdateTime::null) {
    COLstring text;
    COLostream(text) << "Unknown status for QVMdateTimeInternal : " << static_cast<int>(status);
    raise(text, COL_ERROR_PRECONDITION);
  }
  switch (state) {
    case QVMtableStateValue:
    case QVMtableStateInvalid:
      if (status == COLdateTime::null) {
        current.becomeKeepingDateTime(QVMtableCell::Text);
      } else if (status == COLdateTime::valid && state == QVMtableStateInvalid) {
        current.becomeKeepingDateTime(QVMtableCell::DateTime);
      } else if (status == COLdateTime::invalid && state == QVMtableStateValue) {
        current.becomeKeepingDateTime(QVMtableCell::Invalid);
      }
      return;
    case QVMtableStatePresentButNull:
    case QVMtableStateNull:
      if (status == COLdateTime::valid) {
        current.becomeKeepingDateTime(QVMtableCell::DateTime);
      } else if (status == COLdateTime::invalid) {
        current.becomeKeepingDateTime(QVMtableCell::Invalid);
        current.clearDateTime();
      } else {
        current.clearDateTime();
      }
      return;
  }
  COLstring text;
  COLostream(text) << "Invalid Table Item State " << static_cast<unsigned>(state);
  raise(text, COL_ERROR_PRECONDITION);
}

QVMtableInternalState QVMtableInternal::state(unsigned Column, unsigned Row) {
  checkBoundary(Column, Row);
  fixUpDateTime(Column, Row);
  return cell(Column, Row).state();
}

bool QVMtableInternal::isNull(unsigned Column, unsigned Row) {
  const QVMtableInternalState current = state(Column, Row);
  return current == QVMtableStateNull || current == QVMtableStateInvalid;
}

void QVMtableInternal::setNull(unsigned Column, unsigned Row) {
  checkBoundary(Column, Row);
  // A null cell stays as it is, and unmarked when it was: fills that null every cell they do not
  // map would otherwise mark whole rows.
  if (cell(Column, Row).state() == QVMtableStateNull) return;
  QVMtableCell& current = writableCell(Column, Row);
  current.becomeKeepingDateTime(QVMtableCell::Text);
  current.clearDateTime();
}

void QVMtableInternal::setPresentButNull(unsigned Column, unsigned Row) {
  checkBoundary(Column, Row);
  QVMtableCell& current = writableCell(Column, Row);
  if (current.state() == QVMtableStatePresentButNull) return;
  current.becomeKeepingDateTime(QVMtableCell::Text, "\"\"");
  current.clearDateTime();
}

void QVMtableInternal::setInvalid(unsigned Column, unsigned Row) {
  checkBoundary(Column, Row);
  QVMtableCell& current = writableCell(Column, Row);
  if (current.state() == QVMtableStateInvalid) return;
  current.becomeKeepingDateTime(QVMtableCell::Invalid);
  current.clearDateTime();
}

void QVMtableInternal::setInvalid(unsigned Column, unsigned Row, const COLstring& Text) {
  setInvalid(Column, Row);
  writableCell(Column, Row).setInvalidText(Text);
}

void QVMtableInternal::assignInvalid(unsigned Column, unsigned Row, std::string_view Text) {
  setInvalid(Column, Row);
  writableCell(Column, Row).assignInvalidText(Text);
}

const COLstring& QVMtableInternal::invalidText(unsigned Column, unsigned Row) const {
  static const COLstring None;
  checkBoundary(Column, Row);
  const QVMtableCell& Cell = cell(Column, Row);
  return Cell.kind() == QVMtableCell::Invalid ? Cell.valueAsString() : None;
}

COLstring QVMtableInternal::getStringValue(unsigned Column, unsigned Row) const {
  checkBoundary(Column, Row);
  return cell(Column, Row).getStringValue();
}

const COLstring& QVMtableInternal::getString(unsigned Column, unsigned Row) const {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMstringType);
  return cell(Column, Row).valueAsString();
}

int32_t QVMtableInternal::getInteger(unsigned Column, unsigned Row) const {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMintegerType);
  return cell(Column, Row).valueAsInteger();
}

double QVMtableInternal::getDouble(unsigned Column, unsigned Row) const {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMdoubleType);
  return cell(Column, Row).valueAsDouble();
}

QVMdateTimeInternal& QVMtableInternal::getDateTime(unsigned Column, unsigned Row) {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMdateTimeType);
  fixUpDateTime(Column, Row);
  return writableCell(Column, Row).valueAsDateTime();
}

void QVMtableInternal::setString(unsigned Column, unsigned Row, const COLstring& Value) {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMstringType);
  writableCell(Column, Row).setText(Value);
}

void QVMtableInternal::assignString(unsigned Column, unsigned Row, std::string_view Value) {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMstringType);
  writableCell(Column, Row).assignText(Value);
}

void QVMtableInternal::setInteger(unsigned Column, unsigned Row, int32_t Value) {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMintegerType);
  writableCell(Column, Row).setInteger(Value);
}

void QVMtableInternal::setDouble(unsigned Column, unsigned Row, double Value) {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMdoubleType);
  writableCell(Column, Row).setDouble(Value);
}

void QVMtableInternal::setDateTime(unsigned Column, unsigned Row, const COLdateTime& Value) {
  checkBoundary(Column, Row);
  checkColumnType(Column, QVMdateTimeType);
  writableCell(Column, Row).setDateTime(Value);
}

// --- printing

void QVMtableInternal::printNode(COLostream& Stream, const COLstring& Indent) const {
  const QVMtableDefinitionInternal* definition = tableDefinition();
  Stream << Indent << "Table " << tableName() << " - " << (definition ? definition->description() : kNoName)
         << "\r\n";
  for (unsigned row = 0; row < pMember->countOfRow; ++row) {
    Stream << Indent << "Row " << row << "\r\n";
    for (unsigned column = 0; column < countOfColumn(); ++column) {
      Stream << Indent << "  " << columnName(column) << " = ";
      const QVMtableCell& value = cell(column, row);
      switch (columnType(column)) {
        case QVMstringType: Stream << '\'' << value.getStringValue() << '\''; break;
        case QVMintegerType:
        case QVMdoubleType:
        case QVMdateTimeType: Stream << value.getStringValue(); break;
        default: Stream << "Unknown data type!"; break;
      }
      const COLstring& description = definition->columnDescription(column);
      if (!description.empty()) Stream << " (" << description << ")";
      Stream << "\r\n";
    }
  }
}

void QVMtableInternal::printOn(COLostream& Stream, unsigned Indent) const {
  const COLstring indent(Indent, ' ');
  if (isNode()) {
    printNode(Stream, indent);
    return;
  }
  Stream << indent << "Group '" << tableName() << "'\r\n";
  for (const auto& tables : pMember->rowTables)
    for (const auto& table : tables) table->printOn(Stream, Indent + 2);
}

COLostream& operator<<(COLostream& stream, const QVMtableInternal& table) {
  table.printOn(stream);
  return stream;
}
