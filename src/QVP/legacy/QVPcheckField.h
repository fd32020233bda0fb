// Typing one raw field of the legacy parser: walks a raw node against its composite grammar and
// fills the typed node, converting leaves by their data type. No conversion failure is an error
// here; a leaf records how its value came in (dataPresent).
#pragma once

class COLerror;
class QVMcompositeGrammar;
class QVMdateTimeGrammar;
class QVMdateTimeInternal;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;
class SCCescaper;

void QVPcheckComposite(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                       const SCCescaper& Escaper, bool Strict);
void QVPcheckField(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed, const QVMcompositeGrammar& Composite,
                   unsigned FieldIndex, const SCCescaper& Escaper, bool Strict);
void QVPcheckLeafGrammar(QVMuntypedMessageTree& Raw, const QVMcompositeGrammar& Composite, QVMtypedMessageTree& Typed,
                         unsigned FieldIndex, const SCCescaper& Escaper, bool Strict);
// A lone value where the composite has several components fills the first.
void QVPprocessSingleOccuranceOfSubNode(QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                                        const QVMcompositeGrammar& Composite, const SCCescaper& Escaper, bool Strict);

// As the current parser reads a date-time, on a NUL-terminated text, except that a zone of one
// digit is read where only one character is left.
bool QVPdateTimeGrammarConvertStringToDateTime(const QVMdateTimeGrammar& Grammar, const char* Value,
                                               QVMdateTimeInternal& Result);

// Raises the error of a segment that could not be checked, with its place in the message.
[[noreturn]] void QVPthrowGrammarException(const char* Text, unsigned Code, unsigned SegmentIndex,
                                           unsigned RepeatIndex, const char* SegmentName);
