#include "QVPtableEquation.h"

#include <utility>

#include "COLerror.h"
#include "COLostream.h"
#include "LAGexecute.h"
#include "LANengine.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableInternal.h"

void QVPexecuteInboundTableEquation(QVMengineInternal& Engine, QVMtableInternal& Table, unsigned Column, unsigned Row,
                                    bool& RemoveRow, LAGenvironment& Environment) {
  QVMtableDefinitionInternal& Definition = *Table.tableDefinition();
  const LANfunction& Function = std::as_const(Definition).incomingFunction(Column);
  if (Function.state() == LANfunction::StateEmpty) return;
  const bool DisablePythonNone = static_cast<const QVMengineInternal&>(Engine).config().disablePythonNone();
  try {
    if (!Function.isSet()) Function.execute();
    LANengineSwap Swap(*Function.engine());
    LAGstandardPrep(Function, LAGtableEquation, Environment);
    Environment.setTableDefinition(&Definition);
    struct Reset {
      LAGenvironment& environment;
      ~Reset() { environment.setTableDefinition(nullptr); }
    } ResetDefinition{Environment};
    LAGexecuteTableEquation(Function, Engine.LanguageEngine(), Table, Column, Row, RemoveRow, DisablePythonNone,
                            Environment);
  } catch (const COLerror& Caught) {
    COLstring Text;
    COLostream(Text) << "The table equation of " << Definition.tableName() << "." << Definition.columnName(Column)
                     << " (row " << (Row + 1) << ") failed:\r\n" << Caught.description() << flush;
    COLerror Error(Caught);
    Error.setDescription(Text);
    throw Error;
  }
}
