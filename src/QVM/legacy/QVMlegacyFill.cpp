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

// One step of an address, as the address walk takes it: node index 0 of a leaf picks its repeat;
// null where the tree has no such place.
const QVMtypedMessageTree* stepTo(const QVMtypedMessageTree& Current, unsigned Node, unsigned Repeat) {
  if (Node == 0 && Current.countOfSubNode() == 0)
    return Repeat < Current.countOfRepeat() ? Current.getRepeatedNode(Repeat) : nullptr;
  if (Node >= Current.countOfSubNode() || Repeat >= Current.node(Node, 0)->countOfRepeat()) return nullptr;
  return Current.node(Node, Repeat);
}

// Fills the mapped cells of a new row, the columns in order: each walk from the row's node goes
// on from where the previous column's walk left the steps they share.
class RowFiller : public SGCmappedColumns {
public:
  RowFiller(QVMtableInternal& Table, unsigned Row, unsigned Columns, const QVMtypedMessageTree& Occurrence)
      : m_Table(Table), m_Row(Row), m_Columns(Columns) {
    m_Reached[0] = &Occurrence;
  }

  unsigned column(unsigned Column, const uint32_t* Steps, unsigned Depth, unsigned Shared) override {
    if (Column >= m_Columns) return kNoneToPass;
    // The steps shared with the last column lead where its walk went; past them the walk goes on.
    unsigned Level = Shared < kKept ? Shared : kKept - 1;
    const QVMtypedMessageTree* Node = m_Reached[Level];
    for (; Node && Level < Depth; ++Level) {
      Node = stepTo(*Node, Steps[2 * Level], Steps[2 * Level + 1]);
      if (Level + 1 < kKept) m_Reached[Level + 1] = Node;
    }
    // A walk that found no such place leaves no node below it: a later column that shares its
    // steps that far finds none either, never a node an older walk reached.
    if (!Node) {
      for (unsigned Below = Level + 1; Below <= Depth && Below < kKept; ++Below) m_Reached[Below] = nullptr;
      // Below a place the message does not have, no column finds anything.
      return Level;
    }
    copyCell(m_Table, Column, m_Row, Node, true);
    // Below an empty field without repeats every step leads back to it or nowhere: the columns
    // that read that field find nothing either.
    const QVMtypedMessageTree* Field = Depth > 1 ? m_Reached[1] : nullptr;
    if (Field && Field->countOfSubNode() == 0 && Field->countOfRepeat() <= 1 && Field->isNull()) return 1;
    return kNoneToPass;
  }

private:
  static constexpr unsigned kKept = 16;
  QVMtableInternal& m_Table;
  unsigned m_Row, m_Columns;
  // The nodes the last walk met after 0, 1, ... steps, null below a place it did not find, as
  // deep as its address went.  A column shares no more steps with the last one than that one
  // had, so nothing deeper is ever read.
  const QVMtypedMessageTree* m_Reached[kKept] = {};
};

void fillRow(QVMengineInternal& Engine, QVMtableInternal& Table, QVMtableGrammarInternal& TableGrammar, unsigned Row,
             const QVMtypedMessageTree& Occurrence, LAGenvironment& Environment) {
  QVMtableDefinitionInternal& Definition = *TableGrammar.table();
  const QVMtableMapSet* MapSet = Definition.mapSet(TableGrammar.tableMapSetIndex());
  COL_PRECONDITION_TEXT(MapSet != nullptr, "pMapSet");
  const unsigned Columns = std::min(static_cast<unsigned>(Definition.countOfColumn()), Table.countOfColumn());
  bool RemoveRow = false;
  // Most definitions have no table equation at all: then no column needs to be asked for one,
  // and only the mapped columns are visited.
  const bool Equations = Engine.hasIncomingTableEquation();
  if (!Equations) {
    RowFiller Filler(Table, Row, Columns, Occurrence);
    SGCvisitMappedColumns(*MapSet, &Engine, Filler);
    return;
  }
  // With equations every cell is set in turn, null included: an earlier column's equation may
  // have written into it.
  for (unsigned Column = 0; Column < Columns; ++Column) {
    const QVMmessageNodeAddress& Address = MapSet->map(Column).nodeAddress();
    copyCell(Table, Column, Row,
             Address.depth() == 0 ? nullptr : QVMmessageNodeAddressGetSubNode(Address, Occurrence, 0), false);
    QVPexecuteInboundTableEquation(Engine, Table, Column, Row, RemoveRow, Environment);
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
