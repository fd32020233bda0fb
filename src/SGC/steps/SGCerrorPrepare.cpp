#include "SGCerrorPrepare.h"

#include "SGMoutput.h"

void QVJstrictGrammarErrorPrepare(COLerror& result, const SGMsegment& segment,
                                  const SGMseparatorCharacters& separators, SGCerrorList& errors) {
  COL_PRECONDITION_TEXT(errors.size() > 0, "ErrorList.size() > 0");
  const SGCerror& Error = errors[0];
  COLstring Text;
  {
    COLostream Stream(Text);
    Stream << "Segment " << segment.name() << " failed validation:" << newline;
    Error.formatError(segment, Stream);
    const int Start = Error.startOfContext(segment);
    if (Start != SGCerror::NoContext) {
      Stream << newline;
      SGMoutputSegment(segment, separators, Stream);
      Stream << newline;
      SGCshowContext(Start, Error.endOfContext(segment), Stream);
    }
    Stream << flush;
  }
  result.setDescription(Text);
  result.setCode(COL_ERROR_STRICT_GRAMMAR);
  result.setParameter("SegmentGrammarName", segment.name().asString());
  Error.populateErrorContext(segment, result);
}
