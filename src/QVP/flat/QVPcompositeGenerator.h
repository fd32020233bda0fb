// Typed field values to escaped text on an untyped tree, checked against their composite:
// content faults (missing required parts, over-long values, extra components) annotate the
// untyped node and clear the caller's flag; the value is still written.
#pragma once

#include "COLstring.h"

class QVMcompositeGrammar;
class QVMdateTimeGrammar;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;
class SCCescaper;
class COLdateTime;

// Fault codes on an untyped node.
enum QVPgenerateFault : unsigned {
  QVPfaultRequiredMissing = 0,
  QVPfaultExtraIgnored = 2,
  QVPfaultTooLong = 3,
};

// Stateless; made on the stack for one call.
class QVPcompositeGenerator {
public:
  void generateComposite(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                         const QVMcompositeGrammar& Composite, const SCCescaper& Escaper, bool* Ok);
  void generateField(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                     const QVMcompositeGrammar& Composite, unsigned FieldIndex, const SCCescaper& Escaper, bool* Ok);
  void generateLeafGrammar(const QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                           QVMuntypedMessageTree& Untyped, unsigned FieldIndex, const SCCescaper& Escaper, bool* Ok);
  void doRequiredSubFieldsExist(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                const QVMcompositeGrammar& Composite, bool* Ok);
  void processSingleOccuranceOfSubNode(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                       const QVMcompositeGrammar& Composite, const SCCescaper& Escaper, bool* Ok);
  // False (with a code 3 fault on `Untyped`) when a length-restricted field is too long.
  bool fieldLengthOkay(const COLstring& Text, const QVMcompositeGrammar& Composite, unsigned FieldIndex,
                       QVMuntypedMessageTree& Untyped, bool* Ok);
};

// The text of `DateTime` by the grammar's mask; empty for a date-time whose number is 0.
void QVPdateTimeGrammarConvertDateTimeToString(const QVMdateTimeGrammar& Grammar, const COLdateTime& DateTime,
                                               COLstring& Result);
