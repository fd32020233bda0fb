// The legacy parser's segment pass: each raw segment is matched to its segment grammar and
// typed field by field into a typed segment, then its field validation rules run. Arranging
// the typed segments into the message belongs to the message checkers.
#pragma once

#include "COLstring.h"

class COLbuffer;
class LAGenvironment;
class LANengine;
class QVMengineInternal;
class QVMmessageDefinitionInternal;
class QVMparser;
class QVMsegmentGrammar;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;
class SCCescaper;

// The strict check of the current parser on a raw segment (when bad segments are rejected):
// the segment as text, and the check, which raises on a fault.
using QVMsegmentAsStringFunction = COLstring (*)(const QVMparser& Parser, const QVMuntypedMessageTree& Segment);
using QVMcheckUntypedSegmentFunction = void (*)(const QVMparser& Parser, const QVMuntypedMessageTree& Segment,
                                                const QVMsegmentGrammar& Grammar, const COLstring& Text);

// True if every identifier of the grammar holds on the raw segment; an identifier whose field is
// missing fails, one whose value is missing is asked about the empty text.
bool QVMsegmentGrammarMatchSegment(const QVMsegmentGrammar& Grammar, const QVMuntypedMessageTree& Segment);
// The first segment grammar of the segment's name that matches it, or null.
const QVMsegmentGrammar* QVMengineInternalFindSegmentGrammar(const QVMengineInternal& Engine,
                                                             const QVMuntypedMessageTree& Segment);

class QVMsegmentChecker {
public:
  // Appends the typed form of `Segment` to `TypedList`. `Buffer` is the raw tree's text.
  void checkSegment(LANengine& Engine, QVMuntypedMessageTree& Segment, QVMtypedMessageTree& TypedList,
                    const QVMsegmentGrammar& Grammar, const SCCescaper& Escaper, COLbuffer* Buffer,
                    LAGenvironment& Environment);
  // Field `FieldIndex` (from 1) of the raw segment into the typed segment, after its incoming
  // field equation.
  void checkField(QVMuntypedMessageTree& Segment, QVMtypedMessageTree& Typed, const QVMsegmentGrammar& Grammar,
                  unsigned FieldIndex, const SCCescaper& Escaper, LAGenvironment& Environment);
};

// The segment pass of parser version 0 over the whole raw list.
void QVMengineInternalCheckSegments(QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                                    const QVMparser& Parser, const SCCescaper& Escaper,
                                    QVMuntypedMessageTree& RawSegmentList, QVMtypedMessageTree& TypedSegmentList,
                                    LAGenvironment& Environment, bool RejectBadSegmentGrammar,
                                    QVMsegmentAsStringFunction AsStringFunction,
                                    QVMcheckUntypedSegmentFunction CheckFunction);
