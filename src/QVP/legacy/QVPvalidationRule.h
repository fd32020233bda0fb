// The field validation rules on the legacy parser's road: the same rules as on the current
// road, read from a typed segment. A failed rule throws (code 0x80002006).
#pragma once

#include "QVMsegmentValidationRule.h"

class LAGenvironment;
class LANfunction;
class QVMtypedMessageTree;

// False for a rule without code; a rule whose code did not compile throws its compile error.
bool QVPruleScriptToRun(const LANfunction& Code);

// Dispatches on the rule's class id; another id raises "Unknown validation rule type".
void QVPdoSegmentValidationRule(QVMsegmentValidationRule& Rule, QVMtypedMessageTree& Segment,
                                LAGenvironment& Environment);

void QVPvalidateConditionalField(const QVMsegmentValidationRuleConditionalField& Rule,
                                 const QVMtypedMessageTree& Segment);
void QVPvalidateRegularExpression(const QVMsegmentValidationRuleRegularExpression& Rule,
                                  const QVMtypedMessageTree& Segment);
void QVPvalidateRegExpPair(const QVMsegmentValidationRuleRegExpPair& Rule, const QVMtypedMessageTree& Segment);
void QVPvalidatePython(QVMsegmentValidationRulePython& Rule, QVMtypedMessageTree& Segment,
                       LAGenvironment& Environment);
// Needs the message checker's listener, which the caller has checked for.
void QVPvalidateSituationalPython(QVMsegmentValidationRuleSituationalPython& Rule, QVMtypedMessageTree& Segment,
                                  LAGenvironment& Environment);
