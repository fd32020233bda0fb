#include "QVPsituationalRule.h"

#include "COLerror.h"
#include "LANfunction.h"
#include "QVMsegmentValidationRule.h"

void QVPdoSituationalPythonOnError(QVMsegmentValidationRuleSituationalPython& Rule, const QVPruleScriptRunner& Run) {
  COL_PRECONDITION_TEXT(Rule.lastSegment() != nullptr, "Rule.lastSegment() != NULL");
  if (Rule.pythonCodeOnError().isSet()) {
    COL_PRECONDITION(static_cast<bool>(Run));
    Run(Rule.pythonCodeOnError(), Rule.lastSegment(), Rule);
  }
  COLerror Error = Rule.getError();
  Error.setCode(0x80000500);
  Error.setDescription(
      "A situational validation rule python code did not raise an exception, even when the situational grammar was "
      "missing.");
  throw Error;
}
