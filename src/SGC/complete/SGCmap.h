// Table filling: the parsed tree of a message laid out on the table grammar of its
// definition.  Each occurrence of a table's root makes a row; each mapped column takes the
// value its node address reaches from that root, converted to the column's type, or a cell
// state that says why it could not.
#pragma once

#include <cstdint>

#include "COLstring.h"
#include "QVMdataType.h"

class LAGenvironment;
class LANengine;
class LANfunction;
class QVMdateTimeGrammar;
class QVMengineInternal;
class QVMmessageNodeAddress;
class QVMtableGrammarInternal;
class QVMtableInternal;
class QVMtableMapSet;
class SGCparsed;
class SGCparsedSegment;
class SGMfield;
class SGMsegment;
class SGMvalue;

// Hears the mapped columns of a map set, in column order: each column that reads a place, with
// its address as steps (node, repeat pairs) and how many leading steps it shares with the column
// heard before it, so that a walk from one node can start where the last one branched off.
class SGCmappedColumns {
public:
  static constexpr unsigned kNoneToPass = 0xFFFFFFFF;
  virtual ~SGCmappedColumns() = default;
  // Returns how many leading steps a following column must share with this one to be passed
  // over unheard (the listener knows it would find nothing there), or kNoneToPass.
  virtual unsigned column(unsigned Column, const uint32_t* Steps, unsigned Depth, unsigned Shared) = 0;
};

// Tells `Listener` the mapped columns of `MapSet`, laid out once per edit of `Engine`'s
// definition and kept with the map set's fill plan.
void SGCvisitMappedColumns(const QVMtableMapSet& MapSet, QVMengineInternal* Engine, SGCmappedColumns& Listener);

// The type an address reaches in the grammar; `valid` false when it reaches no single value.
struct SGCmapValueType {
  bool valid = false;
  QVMdataType dataType = QVMstringType;
  const QVMdateTimeGrammar* dateTimeGrammar = nullptr;
};

void SGCmap(SGCparsed* Root, QVMtableInternal& Table);
// `Hint`: where the node's root most likely sits among its parent root's sub-grammars (its own
// index among its parent's sub-grammars), looked at before they are searched.
void SGCmapItem(SGCparsed* Parsed, QVMtableGrammarInternal* Grammar, QVMtableInternal& Table,
                size_t Hint = static_cast<size_t>(-1));
void SGCmapRow(SGCparsed* Parsed, QVMtableGrammarInternal* Grammar, QVMtableInternal& Table);
void SGCmapRowAtField(QVMtableGrammarInternal* Grammar, SGCparsedSegment* Parsed, unsigned Field, unsigned Repeat,
                      QVMtableInternal& Table);
void SGCmapFillTable(SGCparsed* Parsed, QVMtableGrammarInternal* Grammar, QVMtableInternal& Table, unsigned Row);
void SGCmapFillTableAtField(SGCparsedSegment* Parsed, unsigned Field, unsigned Repeat,
                            QVMtableGrammarInternal* Grammar, QVMtableInternal& Table, unsigned Row);
// The index of this node's root among the sub-grammars of its parent's root; -1 (as
// unsigned) without a parent or with the parent's own root.  `Hint` as for SGCmapItem.
unsigned SGCmappingPoint(QVMtableGrammarInternal* Grammar, size_t Hint = static_cast<size_t>(-1));
COLstring SGCmapFullName(QVMtableGrammarInternal* Grammar);

SGMvalue* SGCmapValueFromParsed(SGCparsed* Parsed, const QVMmessageNodeAddress& Address, unsigned Depth);
SGMvalue* SGCmapValueFromSegment(SGMsegment& Segment, const QVMmessageNodeAddress& Address, unsigned Depth);
SGMvalue* SGCmapValueFromField(SGMfield& Field, const QVMmessageNodeAddress& Address, unsigned Depth);

// A value that does not fit the column's type makes an invalid cell that keeps the text, so that
// whoever writes the table can still say what did not fit.
void SGCmapSetCell(QVMtableInternal& Table, unsigned Column, unsigned Row, const SGMvalue* Value,
                   const SGCmapValueType& Type);

// The incoming table equations of every cell, in row order; a row can ask to be removed.
void SGCexecuteInboundTableEquations(QVMengineInternal& Engine, QVMtableInternal& Table, LAGenvironment& Environment);
