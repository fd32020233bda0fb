#include "SGCsegmentPass.h"

#include "COLerror.h"
#include "QVMsegmentGrammar.h"
#include "SGCcheck.h"
#include "SGCerrorPrepare.h"
#include "SGCparsed.h"
#include "SGCparsedErrorPrepare.h"
#include "SGCunescape.h"

void SGCcheckAndReport(const QVMsegmentGrammar& Grammar, SGMsegment& Segment, unsigned SegmentIndex, SGCparsed* Node,
                       SCCescaper& Escaper, bool Hl7Mode, SGMstringPool& Pool,
                       const SGMseparatorCharacters& Separators, bool Reject, bool Unescape) {
  SGCerrorList Errors;
  if (Reject) SGCcheckSegment(Segment, SegmentIndex, Grammar, Errors);
  if (Unescape)
    SGCunescapeSegment(Escaper, SegmentIndex == 0, Hl7Mode, Segment, SegmentIndex, Grammar, &Pool, Errors, Reject);
  if (Errors.empty() || !Reject) return;
  COLerror Error("", 0);
  QVJstrictGrammarErrorPrepare(Error, Segment, Separators, Errors);
  const unsigned Repeat = (Node->parent() && Node->parent()->repeats()) ? Node->childIndex() : 0;
  const COLstring Name = Segment.name().asString();
  SCCstrictGrammarPrepareError(Error, Node->rule(), Name.c_str(), SegmentIndex, Repeat);
  throw Error;
}
