// QVMtableInternal: a table instance, the typed result of a parse and the input of message
// generation. It follows a table grammar: a node table (a leaf of the grammar) holds rows of
// typed cells, stored column by column; a group table holds rows of sub-tables, one per
// sub-grammar. Each cell carries a state (value, present-but-null, null, invalid) besides its
// value. The grammar and the parent are borrowed: the definition must outlive the table.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"
#include "QVMdataType.h"
#include "QVMtableCell.h"

class COLdateTime;
class COLostream;
class QVMtableDefinitionInternal;
class QVMtableGrammarInternal;
class QVMtableInternal;

class QVMtableInternalPrivate;

class QVMtableInternal : public COLreference {
public:
  static constexpr unsigned npos = 0xFFFFFFFF;

  QVMtableInternal();
  // Deep: the copy has cells and sub-tables of its own, follows the same grammar, and is a root.
  QVMtableInternal(const QVMtableInternal& other);
  QVMtableInternal& operator=(const QVMtableInternal& other);
  ~QVMtableInternal() override;

  // --- shape
  void makeEmptyTable(QVMtableGrammarInternal* Grammar);
  // Forgets rows, columns and grammar.
  void clear();
  QVMtableGrammarInternal* tableGrammar() const;
  // The table definition of a node table; null for a group or a table without grammar.
  QVMtableDefinitionInternal* tableDefinition() const;
  bool isNode() const;
  QVMtableInternal* parent() const;
  void setParent(QVMtableInternal* Parent);
  // The grammar's name, empty without a grammar.
  const COLstring& tableName() const;
  // Something that keeps the grammar alive (a host's engine), held by this table and by
  // every sub-table it makes from now on; null by default.
  void setDefinitionOwner(COLreference* Owner);
  COLreference* definitionOwner() const;
  // Raises 0x80000400 when the table has rows.
  void checkIfEmpty() const;

  // --- rows and sub-tables
  unsigned addRow();
  void removeRow(unsigned Row);
  unsigned countOfRow() const;
  unsigned countOfColumn() const;
  unsigned countOfSubTable() const;
  unsigned countOfRowSubTable(unsigned Row) const;
  QVMtableInternal& subTable(unsigned Row, unsigned SubTable);
  const QVMtableInternal& subTable(unsigned Row, unsigned SubTable) const;
  // Unchecked: the caller knows the indices are in range.
  QVMtableInternal& rowSubTable(unsigned Row, unsigned SubTable);
  unsigned subTableNameToIndex(const COLstring& Name) const;

  // --- columns
  QVMdataType columnType(unsigned Column) const;
  const COLstring& columnName(unsigned Column) const;
  unsigned columnIndex(const COLstring& Name) const;
  COLstring columnTypeAsString(unsigned Column) const;

  // --- cell states
  QVMtableInternalState state(unsigned Column, unsigned Row);
  // The first column from `From` on whose cell in row `Row` may hold something, or the count of
  // columns: a cell passed over is plain null.  Lets a writer visit the few filled cells of a
  // wide row without looking at the rest.  Unchecked: the row must be in range.
  unsigned nextFilledColumn(unsigned Row, unsigned From) const;
  // The cell itself, for a writer that reads what it can without the checked accessors.
  // Unchecked: both indices must be in range.
  const QVMtableCell& cellAt(unsigned Column, unsigned Row) const { return cell(Column, Row); }
  bool isNull(unsigned Column, unsigned Row);
  void setNull(unsigned Column, unsigned Row);
  void setPresentButNull(unsigned Column, unsigned Row);
  void setInvalid(unsigned Column, unsigned Row);
  // As setInvalid, keeping the text that failed to convert.
  void setInvalid(unsigned Column, unsigned Row, const COLstring& Text);
  // As above for bytes held elsewhere, copied into the cell's own buffer with no string between.
  void assignInvalid(unsigned Column, unsigned Row, std::string_view Text);
  // The text an invalid cell keeps, in a column of any type; empty for other cells.
  const COLstring& invalidText(unsigned Column, unsigned Row) const;

  // --- cell values
  // The text of any cell whatever the column's type.
  COLstring getStringValue(unsigned Column, unsigned Row) const;
  const COLstring& getString(unsigned Column, unsigned Row) const;
  int32_t getInteger(unsigned Column, unsigned Row) const;
  double getDouble(unsigned Column, unsigned Row) const;
  // The cell's own object: the caller may change it in place, and the cell follows.
  QVMdateTimeInternal& getDateTime(unsigned Column, unsigned Row);
  void setString(unsigned Column, unsigned Row, const COLstring& Value);
  // As setString for bytes held elsewhere (a parsed message's values): the cell's buffer is
  // used again, so a table refilled message after message makes no new text.
  void assignString(unsigned Column, unsigned Row, std::string_view Value);
  void setInteger(unsigned Column, unsigned Row, int32_t Value);
  void setDouble(unsigned Column, unsigned Row, double Value);
  void setDateTime(unsigned Column, unsigned Row, const COLdateTime& Value);

  // Both raise 0x80002000 with the texts hosts know; checkColumnType raises 0x80000801.
  void checkBoundary(unsigned Column, unsigned Row) const;
  void checkColumnType(unsigned Column, QVMdataType Type) const;

  virtual void printOn(COLostream& Stream, unsigned Indent = 0) const;

protected:
  COLreference* copyForClone() const override { return new QVMtableInternal(*this); }

private:
  QVMtableCell& cell(unsigned Column, unsigned Row) const;
  // The cell for a change: marks it as one that may hold something.
  QVMtableCell& writableCell(unsigned Column, unsigned Row);
  void fixUpDateTime(unsigned Column, unsigned Row);
  void checkRow(unsigned Row) const;
  void checkColumn(unsigned Column) const;
  void printNode(COLostream& Stream, const COLstring& Indent) const;

  QVMtableInternalPrivate* pMember;
};

COLostream& operator<<(COLostream& stream, const QVMtableInternal& table);
