// The legacy road's incoming table equation: one column of one row, run as the row is filled.
#pragma once

class LAGenvironment;
class QVMengineInternal;
class QVMtableInternal;

// Runs the column's incoming equation, if it has one; `RemoveRow` goes in and comes back.
void QVPexecuteInboundTableEquation(QVMengineInternal& Engine, QVMtableInternal& Table, unsigned Column, unsigned Row,
                                   bool& RemoveRow, LAGenvironment& Environment);
