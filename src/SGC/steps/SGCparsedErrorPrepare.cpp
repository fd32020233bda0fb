#include "SGCparsedErrorPrepare.h"

#include "COLerror.h"
#include "COLostream.h"
#include "QVMmessageGrammar.h"
#include "SGCparsed.h"
#include "SGMsegmentList.h"

void SGCparsedErrorPrepareError(const COLstring& MessageName, const SGCparsedError* pErrorObj, COLerror& Result) {
  COL_PRECONDITION(pErrorObj != 0);
  SGCparsed* Parsed = pErrorObj->errorParsed();
  COL_PRECONDITION_TEXT(Parsed && Parsed->rule(), "pErrorGrammar");
  QVMmessageGrammar& Grammar = *Parsed->rule();
  const COLstring& Name = Grammar.fullGrammarName();
  SGMsegment* Segment = pErrorObj->segment();
  COLstring Text;
  COLostream Stream(Text);
  uint32_t Code = 0;
  switch (pErrorObj->errorCode()) {
    case SGCparsedError::SegmentNotInGrammar:
      COL_PRECONDITION_TEXT(Segment != nullptr, "pErrorSegment");
      Code = COL_ERROR_UNEXPECTED_SEGMENT;
      Stream << "The segment '" << Segment->name() << "' at position " << pErrorObj->segmentIndex() + 1
             << " could not be parsed into the message " << "'" << MessageName << "'."
             << " The segment may be invalid, out of sequence, or it should be ignored by enabling 'Ignore segments "
                "not in grammar'.";
      break;
    case SGCparsedError::RequiredItemMissing:
      Code = COL_ERROR_REQUIRED_SEGMENT;
      Stream << "The segment/group '" << Name << "' was required but not present in the message " << "'"
             << MessageName << "'.";
      break;
    case SGCparsedError::RepeatCountExceeded: {
      COL_PRECONDITION_TEXT(Parsed->parent(), "pErrorObj->errorParsed()->parent()");
      SGCparsedRepeats* Repeats = Parsed->parent()->repeats();
      COL_PRECONDITION(Repeats);
      Code = Grammar.isNode() ? COL_ERROR_SEGMENT_REPEAT : COL_ERROR_GROUP_REPEAT;
      Stream << "The segment/group '" << Name << "' exceeded the specified repeats in message " << "'" << MessageName
             << "'. " << Grammar.maximumRepeat() << " repeats were specified but " << Repeats->countOfChild() - 1
             << " repeats were found.";
      break;
    }
    default: {
      COLstring Unknown;
      COLostream(Unknown) << "Unknown SGCparsedError Error Code " << pErrorObj->errorCode();
      throw COLerror(Unknown, COL_ERROR_PRECONDITION);
    }
  }
  Stream.flush();
  Result = COLerror(Text, Code);
  const unsigned RepeatIndex = (Parsed->parent() && Parsed->parent()->repeats()) ? Parsed->childIndex() : 0;
  const COLstring SegmentName = Segment ? Segment->name().asString() : COLstring();
  SCCstrictGrammarPrepareError(Result, Grammar.isNode() ? &Grammar : nullptr, Segment ? SegmentName.c_str() : nullptr,
                               pErrorObj->segmentIndex(), RepeatIndex);
}

void SCCstrictGrammarPrepareError(COLerror& Result, const QVMmessageGrammar* Rule, const char* SegmentName,
                                  unsigned SegmentIndex, unsigned RepeatIndex) {
  Result.setParameter("MessageSegmentIndex", SegmentIndex + 1);
  Result.setParameter("SegmentRepeatIndex", RepeatIndex);
  if (SegmentName) Result.setParameter("MessageSegmentName", SegmentName);
  if (Rule) Result.setParameter("GrammarSegmentName", Rule->grammarName());
}
