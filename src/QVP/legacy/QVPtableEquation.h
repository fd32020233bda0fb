// The incoming table equation of one cell: the legacy road runs it as a row is filled, the current
// road over the filled table.
#pragma once

class LAGenvironment;
class QVMengineInternal;
class QVMtableInternal;

// Runs the column's incoming equation, if it has one; `RemoveRow` goes in and comes back.
void QVPexecuteInboundTableEquation(QVMengineInternal& Engine, QVMtableInternal& Table, unsigned Column, unsigned Row,
                                   bool& RemoveRow, LAGenvironment& Environment);
