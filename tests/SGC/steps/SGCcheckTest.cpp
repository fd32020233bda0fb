// What the segment check cases (tests/data/SGC/check.test) cannot show: the words helpers
// refuse, a report of no fault, and what counts as an empty field.
#include "SGCtestSupport.h"

#include "../../support/TSTraised.h"

using SGCtest::Message;

TEST(SGCerror, WordsOfUnknownValidationErrorAndHelpers) {
  COLstring Text;
  {
    COLostream Stream(Text);
    SGCoutputRepeat(0, Stream);
    Stream << '|';
    SGCoutputRepeat(3, Stream);
    Stream << '|';
    SGCoutputPlural(1, Stream);
    SGCoutputPlural(2, Stream);
    Stream << '|';
    SGCshowContext(SGCerror::NoContext, 5, Stream);
    SGCshowContext(2, 2, Stream);
  }
  EXPECT_EQ(Text, "| (repeat 3)|s|  ^");
  COLstring Ignored;
  COLostream Stream(Ignored);
  EXPECT_THROW(SGCoutputErrorType(9, Stream), COLerror);
  COLerror Error("", 0);
  EXPECT_THROW(SGCsetValidationError(9, Error), COLerror);

  SGCerrorList Empty;
  Message Parsed("PID|1");
  const auto prepare = [&] { QVJstrictGrammarErrorPrepare(Error, Parsed.segment(1), Parsed.Separators, Empty); };
  EXPECT_EQ(TSTraised(prepare).description(), "Failed precondition: ErrorList.size() > 0");
}

TEST(SGCcheckSegment, FieldEmptiness) {
  Message Parsed("ZZZ||a|^b|&c|~x");
  const SGMsegment& Segment = Parsed.segment(1);
  EXPECT_TRUE(SGCisFieldEmpty(Segment.field(0, 0)));
  EXPECT_FALSE(SGCisFieldEmpty(Segment.field(1, 0)));
  EXPECT_FALSE(SGCisFieldEmpty(Segment.field(2, 0)));  // two sub fields
  EXPECT_TRUE(SGCisFieldEmpty(Segment.field(3, 0)));   // only the first value counts
  EXPECT_TRUE(SGCisFieldEmpty(Segment.field(4, 0)));
}
