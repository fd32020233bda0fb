#include "QVMmessageFill.h"

#include <climits>

#include "COLerror.h"
#include "COLostream.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMdateTimeInternal.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMmessageNodeAddress.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMtypedMessageTree.h"

namespace {

constexpr unsigned kNoField = QVMtableGrammarConfig::npos;

// A present mark on any repeat: a row may be all null while a later one has values.
bool QVManyRepeatPresent(QVMtypedMessageTree& Node) {
  for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat)
    if (Node.getRepeatedNode(Repeat)->isPresent()) return true;
  return false;
}

[[noreturn]] void QVMillegalRoot(const QVMtableInternal& Table, const QVMmessageGrammar& MessageGrammar) {
  const QVMmessageDefinitionInternal* Message = MessageGrammar.message();
  throw COLerror("The table " + Table.tableName() + " in the message " + (Message ? Message->name() : COLstring()) +
                     " has a illegal grammar root.  Please check this in the table grammar window for the message.",
                 COL_ERROR_INCONSISTENT_DEFINITION);
}

// The node of the table's root below `Tree`, with the grammar it stands for.
QVMtypedMessageTree* QVMfindRootNode(QVMtableGrammarInternal& TableGrammar, const QVMmessageGrammar& MessageGrammar,
                                     QVMtableInternal& Table, QVMtypedMessageTree& Tree) {
  const QVMmessageGrammar* Root = TableGrammar.messageGrammar();
  if (Root == &MessageGrammar) return &Tree;
  for (unsigned Index = 0; Index < MessageGrammar.countOfSubGrammar(); ++Index) {
    if (MessageGrammar.subGrammar(Index) != Root) continue;
    if (Tree.countOfSubNode() <= Index) Tree.makeNodeUpTo(Index, 0);
    return Tree.node(Index, 0);
  }
  QVMillegalRoot(Table, MessageGrammar);
}

// A cell as an outgoing column equation sees it and leaves it.  A date-time travels as its number.
struct QVMoutgoingCell {
  COLstring Text;
  long Integer = 0;
  double Number = 0.0;
  bool IsNull = false;
  bool ExplicitNull = false;
};

QVMoutgoingCell QVMreadCell(QVMtableInternal& Table, unsigned Column, unsigned Row) {
  QVMoutgoingCell Cell;
  Cell.IsNull = Table.isNull(Column, Row);
  Cell.ExplicitNull = Table.state(Column, Row) == QVMtableStatePresentButNull;
  const QVMdataType Type = Table.columnType(Column);
  if (Cell.ExplicitNull) {
    if (Type == QVMstringType) Cell.Text = "\"\"";
    return Cell;
  }
  if (Cell.IsNull) return Cell;
  switch (Type) {
    case QVMstringType: Cell.Text = Table.getString(Column, Row); break;
    case QVMintegerType: Cell.Integer = Table.getInteger(Column, Row); break;
    case QVMdoubleType: Cell.Number = Table.getDouble(Column, Row); break;
    case QVMdateTimeType: Cell.Number = static_cast<double>(Table.getDateTime(Column, Row)); break;
    default: throw COLerror("Unknown type in mapping.", COL_ERROR_UNKNOWN_MAPPING_TYPE);
  }
  return Cell;
}

void QVMrunColumnScript(const LANfunction& Function, QVMdataType Type, bool DisablePythonNone, QVMoutgoingCell& Cell,
                        LAGenvironment& Environment) {
  const QVMoutgoingCell Given = Cell;
  switch (Type) {
    case QVMstringType:
      LAGexecuteScriptWithStringValue(Function, Cell.Text, DisablePythonNone, Cell.IsNull, LAGtableEquation,
                                      Environment);
      // A script that wrote the explicit null asks for it, whatever the cell held.
      Cell.ExplicitNull = !Cell.IsNull && Cell.Text == "\"\"";
      return;
    case QVMintegerType:
      LAGexecuteScriptWithLongValue(Function, Cell.Integer, DisablePythonNone, Cell.IsNull, LAGtableEquation,
                                    Environment);
      break;
    case QVMdoubleType:
    case QVMdateTimeType:
      LAGexecuteScriptWithDoubleValue(Function, Cell.Number, DisablePythonNone, Cell.IsNull, LAGtableEquation,
                                      Environment);
      break;
    default:
      throw COLerror("Unknown type in mapping.", COL_ERROR_UNKNOWN_MAPPING_TYPE);
  }
  // An explicit null the script left alone goes back as it came; a new value replaces it.
  Cell.ExplicitNull = Given.ExplicitNull && !Cell.IsNull && Cell.Integer == Given.Integer && Cell.Number == Given.Number;
}

// Runs the column's outgoing equation on one cell; a failure names the column and the row.
void QVMcolumnScript(const QVMtableDefinitionInternal& Definition, QVMtableInternal& Table, unsigned Column,
                     unsigned Row, bool DisablePythonNone, QVMoutgoingCell& Cell, LAGenvironment& Environment) {
  const LANfunction& Function = Definition.outgoingFunction(Column);
  try {
    // One that did not compile runs only to report why.
    if (!Function.isSet()) Function.execute();
    QVMrunColumnScript(Function, Table.columnType(Column), DisablePythonNone, Cell, Environment);
  } catch (const COLerror& Caught) {
    COLstring Text;
    COLostream(Text) << "The outgoing table equation of " << Definition.tableName() << "."
                     << Definition.columnName(Column) << " (row " << (Row + 1) << ") failed:\r\n"
                     << Caught.description() << flush;
    COLerror Error(Caught);
    Error.setDescription(Text);
    throw Error;
  }
}

void QVMstoreScriptedCell(QVMdataType Type, const QVMoutgoingCell& Cell, QVMtypedMessageTree& Node) {
  if (Cell.ExplicitNull) {
    Node.setStringValue("\"\"");
    return;
  }
  switch (Type) {
    case QVMstringType:
      if (!Cell.Text.empty()) Node.setStringValue(Cell.Text);
      break;
    case QVMintegerType:
      if (Cell.Integer < INT32_MIN || Cell.Integer > INT32_MAX)
        throw COLerror("The outgoing table equation left a value that does not fit an integer column.",
                       COL_ERROR_PRECONDITION);
      Node.setIntegerValue(static_cast<int32_t>(Cell.Integer));
      break;
    case QVMdoubleType:
      Node.setDoubleValue(Cell.Number);
      break;
    case QVMdateTimeType:
      Node.setDateTimeValue(COLdateTime(Cell.Number));
      break;
    default:
      throw COLerror("Unknown type in mapping.", COL_ERROR_UNKNOWN_MAPPING_TYPE);
  }
}

void QVMstoreCell(QVMtableInternal& Table, unsigned Column, unsigned Row, QVMtypedMessageTree& Node) {
  // The explicit null of a message goes back as it came, whatever the column's type.
  if (Table.state(Column, Row) == QVMtableStatePresentButNull) {
    Node.setStringValue("\"\"");
    return;
  }
  switch (Table.columnType(Column)) {
    case QVMstringType:
      if (!Table.getString(Column, Row).empty()) Node.setStringValue(Table.getString(Column, Row));
      break;
    case QVMintegerType:
      Node.setIntegerValue(Table.getInteger(Column, Row));
      break;
    case QVMdoubleType:
      Node.setDoubleValue(Table.getDouble(Column, Row));
      break;
    case QVMdateTimeType:
      Node.setDateTimeValue(Table.getDateTime(Column, Row));
      break;
    default:
      throw COLerror("Unknown type in mapping.", COL_ERROR_UNKNOWN_MAPPING_TYPE);
  }
}

void QVMfillRows(bool DisablePythonNone, QVMtableGrammarInternal& TableGrammar, QVMtableInternal& Table,
                 QVMtypedMessageTree& RootNode, LAGenvironment& Environment) {
  const QVMtableDefinitionInternal* Definition = TableGrammar.table();
  COL_PRECONDITION_TEXT(Definition != nullptr, "pTableDefinition != NULL");
  const QVMtableMapSet* MapSet = TableGrammar.tableMapSetIndex() < Definition->countOfMapSet()
                                     ? Definition->mapSet(TableGrammar.tableMapSetIndex())
                                     : nullptr;
  COL_PRECONDITION_TEXT(MapSet != nullptr, "pMapSet != NULL");
  const unsigned Columns = static_cast<unsigned>(std::min<size_t>(Definition->countOfColumn(), Table.countOfColumn()));
  for (unsigned Row = 0; Row < Table.countOfRow(); ++Row) {
    QVMtypedMessageTree& RepeatNode = *RootNode.getRepeatedNode(Row);
    for (unsigned Column = 0; Column < Columns && Column < MapSet->countOfMap(); ++Column) {
      const bool Scripted = Definition->outgoingFunction(Column).state() != LANfunction::StateEmpty;
      if (!Scripted && Table.isNull(Column, Row)) continue;
      QVMoutgoingCell Cell;
      if (Scripted) {
        // The equation runs for null cells too: it may give them a value.
        Cell = QVMreadCell(Table, Column, Row);
        QVMcolumnScript(*Definition, Table, Column, Row, DisablePythonNone, Cell, Environment);
      }
      const QVMmessageNodeAddress& Address = MapSet->map(Column).nodeAddress();
      if (Address.depth() == 0 || (Scripted && !DisablePythonNone && Cell.IsNull)) continue;
      QVMtypedMessageTree* Node = QVMmessageNodeAddressGetSubNode(Address, RepeatNode, 0);
      COL_PRECONDITION_TEXT(Node != nullptr, "pNode != NULL");
      if (Scripted)
        QVMstoreScriptedCell(Table.columnType(Column), Cell, *Node);
      else
        QVMstoreCell(Table, Column, Row, *Node);
      Node->setIsPresentUpToRoot(true);
    }
  }
}

}  // namespace

void QVMcreateEmptyMessageTable(QVMengineInternal& Engine, unsigned MessageIndex, QVMtableInternal& Table) {
  if (Engine.countOfMessage() == 0)
    throw COLerror("No messages are loaded.  This is probably because you have not loaded the message definition "
                   "file (*.vmd).  Hint for VB users - use the Load method on the engine object rather than the "
                   "MappingFile property.",
                   COL_ERROR_PRECONDITION);
  // This takes in the 0xFFFFFFFF of a configuration that names no acknowledgement message.
  if (MessageIndex >= Engine.countOfMessage())
    throw COLerror("Message index exceeds count of messages.  This is probably because this message definition "
                   "file does not match the generated control/stubcode.",
                   COL_ERROR_PRECONDITION);
  Table.makeEmptyTable(&Engine.message(MessageIndex)->tableGrammar());
}

void QVMmakeEmptyMessageTree(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Tree) {
  Tree.setLabel(Grammar.grammarName());
  if (Grammar.isNode()) {
    // No node for the name: typed field F is sub-node F, and a segment without values has none.
    Tree.setSegmentGrammar(Grammar.segment());
    Tree.setIsPresent(false);
    return;
  }
  for (unsigned Index = 0; Index < Grammar.countOfSubGrammar(); ++Index) {
    QVMtypedMessageTree* Sub = Tree.addNode();
    QVMmakeEmptyMessageTree(*Grammar.subGrammar(Index), *Sub);
    Sub->setIsPresent(false);
  }
}

void QVMfillMessageTree(bool DisablePythonNone, QVMtableGrammarInternal& TableGrammar,
                        const QVMmessageGrammar& MessageGrammar, QVMtableInternal& Table, QVMtypedMessageTree& Tree,
                        LAGenvironment& Environment) {
  QVMtypedMessageTree* RootNode = QVMfindRootNode(TableGrammar, MessageGrammar, Table, Tree);
  const QVMmessageGrammar& RootGrammar = *TableGrammar.messageGrammar();
  const unsigned Field = TableGrammar.messageGrammarFieldIndex();
  if (!TableGrammar.isNode()) {
    if (Field != kNoField)
      throw COLerror("The table group " + TableGrammar.name() +
                         " is rooted at a field; generating a message from such a table is not available in this "
                         "build of the engine.",
                     COL_ERROR_PRECONDITION);
    while (RootNode->countOfRepeat() < Table.countOfRow())
      QVMmakeEmptyMessageTree(RootGrammar, *RootNode->addRepeatNode());
    for (unsigned Row = 0; Row < Table.countOfRow(); ++Row)
      for (unsigned Sub = 0; Sub < TableGrammar.countOfSubGrammar() && Sub < Table.countOfRowSubTable(Row); ++Sub)
        QVMfillMessageTree(DisablePythonNone, *TableGrammar.subGrammar(Sub), RootGrammar, Table.subTable(Row, Sub),
                           *RootNode->getRepeatedNode(Row), Environment);
    return;
  }
  if (Field != kNoField) RootNode = RootNode->makeNodeUpTo(Field, 0);
  while (RootNode->countOfRepeat() < Table.countOfRow()) {
    QVMtypedMessageTree* Repeat = RootNode->addRepeatNode();
    if (Field == kNoField) QVMmakeEmptyMessageTree(RootGrammar, *Repeat);
  }
  QVMfillRows(DisablePythonNone, TableGrammar, Table, *RootNode, Environment);
}

// --- flattening to a segment list

bool QVMmessagePostProcessor2::isGrammarOptional(const QVMmessageGrammar& Grammar) {
  for (const QVMmessageGrammar* Item = &Grammar; Item && Item->parent(); Item = Item->parent())
    if (Item->isOptional()) return true;
  return false;
}

void QVMmessagePostProcessor2::initRequiredNodes(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Node) {
  for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat) {
    QVMtypedMessageTree& Current = *Node.getRepeatedNode(Repeat);
    const unsigned Count = std::min<unsigned>(Grammar.countOfSubGrammar(), Current.countOfSubNode());
    bool AnyPresent = false;
    for (unsigned Index = 0; Index < Count; ++Index) {
      const QVMmessageGrammar& Sub = *Grammar.subGrammar(Index);
      QVMtypedMessageTree& SubNode = *Current.node(Index, 0);
      if (!Sub.isNode())
        initRequiredNodes(Sub, SubNode);
      else if (!isGrammarOptional(Sub))
        SubNode.setIsPresentUpToRoot(true);
      AnyPresent = AnyPresent || QVManyRepeatPresent(SubNode);
    }
    if (!AnyPresent) continue;
    for (unsigned Index = 0; Index < Count; ++Index) {
      const QVMmessageGrammar& Sub = *Grammar.subGrammar(Index);
      if (Sub.isNode() && !Sub.isOptional()) Current.node(Index, 0)->setIsPresentUpToRoot(true);
    }
  }
}

void QVMmessagePostProcessor2::postProcess(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Node,
                                           QVMtypedSegmentList& List) {
  if (!Grammar.isNode()) {
    for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat) {
      QVMtypedMessageTree& Current = *Node.getRepeatedNode(Repeat);
      const unsigned Count = std::min<unsigned>(Grammar.countOfSubGrammar(), Current.countOfSubNode());
      for (unsigned Index = 0; Index < Count; ++Index)
        if (QVManyRepeatPresent(*Current.node(Index, 0)))
          postProcess(*Grammar.subGrammar(Index), *Current.node(Index, 0), List);
    }
    return;
  }
  const size_t First = List.size();
  for (unsigned Repeat = 0; Repeat < Node.countOfRepeat(); ++Repeat) {
    QVMtypedMessageTree* Current = Node.getRepeatedNode(Repeat);
    if (!Current->isPresent()) continue;
    Current->setLabel(Grammar.grammarName());
    Current->setSegmentGrammar(Grammar.segment());
    List.push_back(Current);
  }
  if (List.size() - First >= 2 && !Grammar.isRepeating())
    throw COLerror("Error.  The segment grammar " + Grammar.grammarName() +
                       " for this message is not repeating.  You need to edit the segment grammar for this message.",
                   COL_ERROR_PRECONDITION);
}

// --- identifiers

bool QVMidentifierLiteralText(const COLstring& Pattern, COLstring& Literal) {
  std::string_view Text = Pattern.view();
  if (!Text.empty() && Text.front() == '^') Text.remove_prefix(1);
  if (!Text.empty() && Text.back() == '$') Text.remove_suffix(1);
  if (Text.find_first_of(".[]()*+?{}|\\^$") != std::string_view::npos) return false;
  Literal = COLstring(Text);
  return true;
}

void QVMmessageDefinitionSetNameFields(const QVMmessageDefinitionInternal& Definition, const COLstring& HeaderName,
                                       QVMtypedMessageTree& Segment) {
  for (size_t Index = 0; Index < Definition.countOfIdentifier(); ++Index) {
    const QVMidentifier& Identifier = *Definition.identifier(Index);
    if (Identifier.segment() != HeaderName) continue;
    // A real pattern says what may stand there, not what to write: the table's value stays.
    COLstring Literal;
    if (Identifier.nodeAddress().depth() == 0 || !QVMidentifierLiteralText(Identifier.value(), Literal)) continue;
    QVMtypedMessageTree* IdentifierNode = QVMmessageNodeAddressGetSubNode(Identifier.nodeAddress(), Segment, 0);
    COL_PRECONDITION_TEXT(IdentifierNode != nullptr, "pIdentifierNode != NULL");
    IdentifierNode->setStringValue(Literal);
  }
}
