// The legacy road's table fill: one row per occurrence of a table's root in the structured
// typed tree, the incoming equations run as each row is filled.
#pragma once

class LAGenvironment;
class QVMengineInternal;
class QVMmessageGrammar;
class QVMtableGrammarInternal;
class QVMtableInternal;
class QVMtypedMessageTree;

// `Tree` stands at `MessageGrammar`; `ParentRoot` is the root of the parent table (null at the top).
void QVMengineInternalFillTable(QVMengineInternal& Engine, QVMtableInternal& Table,
                                QVMtableGrammarInternal& TableGrammar, const QVMmessageGrammar& MessageGrammar,
                                QVMtypedMessageTree& Tree, const QVMmessageGrammar* ParentRoot,
                                LAGenvironment& Environment);
