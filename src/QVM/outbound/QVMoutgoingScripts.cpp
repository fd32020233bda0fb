#include "QVMoutgoingScripts.h"

#include "COLerror.h"
#include "LAGexecute.h"
#include "QVMconfig.h"

void QVMconfigPreProcessOutgoingMessage(QVMconfig& config, LAGenvironment& environment) {
  if (!config.outgoingMainFunction().isSet()) return;
  try {
    LAGexecuteScript(config.outgoingMainFunction(), LAGglobalOutbound, environment);
  } catch (const COLerror& error) {
    throw COLerror("Global Outbound Script error: " + error.description(), COL_ERROR_PRECONDITION);
  }
}

void QVMconfigPostProcessOutgoingMessage(QVMconfig& config, COLstring& text, LAGenvironment& environment) {
  if (!config.outgoingPostProcessFunction().isSet()) return;
  bool isNone = false;
  try {
    LAGexecuteScriptWithStringValue(config.outgoingPostProcessFunction(), text, config.disablePythonNone(), isNone,
                                    LAGglobalOutboundPostProcess, environment);
  } catch (const COLerror& error) {
    throw COLerror("Global Outbound Post Process Script error: " + error.description(), COL_ERROR_PRECONDITION);
  }
}
