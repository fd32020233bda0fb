// One typed segment to one untyped segment node: the name, each field checked against the
// segment grammar and written by the composite generator. Content faults annotate the
// untyped nodes and clear the caller's flag; grammar faults that make output impossible throw.
#pragma once

class LAGenvironment;
class LANengine;
class QVMsegmentGrammar;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;
class SCCescaper;

// Stateless; made on the stack for one call.
class QVMsegmentGenerator {
public:
  // Appends the segment to `UntypedList`; returns `*Ok`.
  bool generateSegment(LANengine* LanguageEngine, const QVMtypedMessageTree& TypedSegment,
                       QVMuntypedMessageTree& UntypedList, const QVMsegmentGrammar& SegmentGrammar,
                       const SCCescaper& Escaper, bool* Ok, LAGenvironment& Environment);

private:
  void checkRequiredFieldsPresent(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped,
                                  const QVMsegmentGrammar& Grammar, unsigned Count, bool* Ok);
  void checkField(const QVMtypedMessageTree& Typed, QVMuntypedMessageTree& Untyped, const QVMsegmentGrammar& Grammar,
                  unsigned Field, const SCCescaper& Escaper, bool* Ok, LAGenvironment& Environment);
  void setAdditionalDefaultFields(QVMuntypedMessageTree& Segment, const QVMsegmentGrammar& Grammar, unsigned Count,
                                  LAGenvironment& Environment);
};
