// Structural faults of a message as the errors a person reads: the sentence, the code and
// the named parameters that locate the fault.
#pragma once

#include "COLstring.h"

class COLerror;
class QVMmessageGrammar;
class SGCparsedError;

// Fills `Result` from a fault found by the grammar parse of the message `MessageName`.
void SGCparsedErrorPrepareError(const COLstring& MessageName, const SGCparsedError* pErrorObj, COLerror& Result);

// The parameters every structural and content report carries: "MessageSegmentIndex"
// (one-based), "SegmentRepeatIndex" (zero-based), and where known "MessageSegmentName" and
// "GrammarSegmentName".
void SCCstrictGrammarPrepareError(COLerror& Result, const QVMmessageGrammar* Rule, const char* SegmentName,
                                  unsigned SegmentIndex, unsigned RepeatIndex);
