// The reports of failed validation rules: each starts from the rule's own error (code
// 0x80002006, rule and field named) and adds what the kind of rule knows about the failure.
#pragma once

#include "COLerror.h"
#include "COLstring.h"
#include "QVMsegmentValidationRule.h"

void SCCprepareErrorConditionalField(const QVMsegmentValidationRuleConditionalField& rule, COLerror& result);
void SCCprepareErrorRegularExpression(const QVMsegmentValidationRuleRegularExpression& rule,
                                      const COLstring& value, COLerror& result);
void SCCprepareErrorRegExpPair(const QVMsegmentValidationRuleRegExpPair& rule, const COLstring& fieldValue,
                               const COLstring& dependentValue, COLerror& result);
// The caught error's text and code, with the rule's parameters added.
void SCCprepareErrorPython(const QVMsegmentValidationRule& rule, const COLerror& caught, COLerror& result);
