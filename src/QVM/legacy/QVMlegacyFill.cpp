#include "QVMlegacyFill.h"

#include "COLerror.h"
#include "COLostream.h"
#include "QVMdateTimeInternal.h"
#include "QVMengineInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVPtableEquation.h"
#include "SGCmap.h"

namespace {

constexpr uint32_t NoField = 0xFFFFFFFF;

// `Fresh`: the cell is null already, as nothing has touched the new row but this fill.
void copyCell(QVMtableInternal& Table, unsigned Column, unsigned Row, const QVMtypedMessageTree* Value, bool Fresh) {
  if (Value == nullptr || Value->countOfSubNode() != 0 || Value->isNull() ||
      Value->dataType() != Table.columnType(Column)) {
    if (!Fresh) Table.setNull(Column, Row);
    return;
  }
  // The explicit null and a text the typing could not read keep their states, as on the current road,
  // rather than passing on the empty or zero value the typing left behind.
  if (Value->dataPresent() == QVMdataPresentExplicitNull) {
    Table.setPresentButNull(Column, Row);
    return;
  }
  if (Value->dataPresent() == QVMdataPresentNotConverted) {
    Table.setInvalid(Column, Row);
    return;
  }
  switch (Value->dataType()) {
    case QVMstringType: Table.setString(Column, Row, Value->getStringValue()); break;
    case QVMintegerType: Table.setInteger(Column, Row, Value->getIntegerValue()); break;
    case QVMdoubleType: Table.setDouble(Column, Row, Value->getDoubleValue()); break;
    case QVMdateTimeType: Table.setDateTime(Column, Row, Value->getDateTimeValue()); break;
    default: Table.setNull(Column, Row); break;
  }
}

void fillRow(QVMengineInternal& Engine, QVMtableInternal& Table, QVMtableGrammarInternal& TableGrammar, unsigned Row,
             const QVMtypedMessageTree& Occurrence, LAGenvironment& Environment) {
  QVMtableDefinitionInternal& Definition = *TableGrammar.table();
  const QVMtableMapSet* MapSet = Definition.mapSet(TableGrammar.tableMapSetIndex());
  COL_PRECONDITION_TEXT(MapSet != nullptr, "pMapSet");
  const unsigned Columns = std::min(static_cast<unsigned>(Definition.countOfColumn()), Table.countOfColumn());
  bool RemoveRow = false;
  // Most definitions have no table equation at all: then no column needs to be asked for one.
  const bool Equations = Engine.hasIncomingTableEquation();
  for (unsigned Column = 0; Column < Columns; ++Column) {
    const QVMmessageNodeAddress& Address = MapSet->map(Column).nodeAddress();
    // The row is new: an unmapped column's cell is null already, and so is every cell until an
    // equation may have written into the row.
    if (Address.depth() != 0)
      copyCell(Table, Column, Row, QVMmessageNodeAddressGetSubNode(Address, Occurrence, 0), !Equations);
    if (Equations) QVPexecuteInboundTableEquation(Engine, Table, Column, Row, RemoveRow, Environment);
  }
  if (RemoveRow) Table.removeRow(Row);
}

}  // namespace

void QVMengineInternalFillTable(QVMengineInternal& Engine, QVMtableInternal& Table,
                                QVMtableGrammarInternal& TableGrammar, const QVMmessageGrammar& MessageGrammar,
                                QVMtypedMessageTree& Tree, const QVMmessageGrammar* ParentRoot,
                                LAGenvironment& Environment) {
  if (Table.tableGrammar() != &TableGrammar) Table.makeEmptyTable(&TableGrammar);
  const QVMmessageGrammar* Root = TableGrammar.messageGrammar();
  QVMtypedMessageTree* Node = &Tree;
  if (Root != &MessageGrammar) {
    if (Root == nullptr || Root->parent() != &MessageGrammar) {
      COLstring Text;
      COLostream Stream(Text);
      Stream << "Table: '" << SGCmapFullName(&TableGrammar) << "' has an invalid grammar root of '"
             << (Root ? Root->fullGrammarName() : COLstring()) << "'";
      Stream.newline();
      Stream << "Suggested fix:  Reset the grammar root for this table.";
      Stream.flush();
      throw COLerror(Text, 0x80000100);
    }
    const unsigned Index = static_cast<unsigned>(Root->childIndex());
    if (Index >= Tree.countOfSubNode()) return;
    Node = Tree.node(Index, 0);
  }
  const uint32_t Field = TableGrammar.messageGrammarFieldIndex();
  if (Field != NoField) {
    if (Field >= Node->countOfSubNode()) return;
    Node = Node->node(Field, 0);
  }
  COL_PRECONDITION_TEXT(Table.countOfRow() == 0, "ResultTable.countOfRow() == 0");
  if (Node->isNull() && Node->countOfRepeat() == 1) return;
  for (unsigned Repeat = 0; Repeat < Node->countOfRepeat(); ++Repeat) {
    const unsigned Row = Table.addRow();
    QVMtypedMessageTree& Occurrence = *Node->getRepeatedNode(Repeat);
    if (TableGrammar.isNode()) {
      fillRow(Engine, Table, TableGrammar, Row, Occurrence, Environment);
    } else {
      for (unsigned Sub = 0; Sub < TableGrammar.countOfSubGrammar(); ++Sub)
        QVMengineInternalFillTable(Engine, Table.subTable(Row, Sub), *TableGrammar.subGrammar(Sub), *Root, Occurrence,
                                   Root, Environment);
    }
    if (ParentRoot == Root && Field == NoField) break;
  }
}
