// Validation rules and field equations run against one tokenised segment.  Unlike the
// segment checks, a failed rule throws at once (code 0x80002006).  Script rules and equations
// run in the engine's interpreter; a script that fails is reported with the rule or field it
// belongs to.
#pragma once

#include "COLreference.h"
#include "QVMsegmentValidationRule.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"

class LAGenvironment;
class LANfunction;
class QVMengineInternal;

// Dispatches on the rule's class id: conditional field, regular expression, regular
// expression pair and script rules; situational script rules are refused.
void SGCdoSegmentValidationRule(QVMsegmentValidationRule& rule, COLreferencePtr<SGMstringPool> pool,
                                COLreferencePtr<SGMsegment> segment, QVMengineInternal& engine);

void SGCvalidateConditionalField(const QVMsegmentValidationRuleConditionalField& rule, const SGMsegment& segment);
void SGCvalidateRegularExpression(const QVMsegmentValidationRuleRegularExpression& rule, const SGMsegment& segment);
void SGCvalidateRegExpPair(const QVMsegmentValidationRuleRegExpPair& rule, const SGMsegment& segment);
void SGCvalidatePython(QVMsegmentValidationRulePython& rule, SGMstringPool& pool, SGMsegment& segment,
                       QVMengineInternal& engine);

// The text a rule reads of a field: value (0, 0) of its first repeat; empty when the field
// lies beyond the segment or has no sub fields.
std::string_view SGCruleFieldText(const SGMsegment& segment, unsigned field);

// Gives the segment at least `field` + 1 fields, then runs the field's equation.  An empty
// equation does nothing; a failing one throws with the field and segment named.
void SGCexecuteOneSegmentEquation(const LANfunction& function, COLreferencePtr<SGMstringPool> pool,
                                  COLreferencePtr<SGMsegmentList> segments, unsigned segmentIndex, unsigned field,
                                  LAGenvironment& environment, const COLstring& fieldName = COLstring());
