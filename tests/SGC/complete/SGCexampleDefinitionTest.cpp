// The checks against a definition loaded from disk, the example admissions and results file.
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "SGCtestSupport.h"

using SGCtest::Definition;
using SGCtest::Message;
using SGCtest::Parameters;
using SGCtest::Report;

namespace {

class SGCexampleDefinition : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(QVLloadEngine(Engine, COLstring(MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd")), QVLvmdTypeXml);
  }
  const QVMsegmentGrammar& grammar(const char* name) const {
    const uint32_t Index = Engine.segmentByName(name);
    EXPECT_NE(Index, 0xFFFFFFFFu) << name;
    return *Engine.segment(Index);
  }
  Report check(const char* name, const std::string& segment) const {
    Message Parsed(segment);
    return Definition::report(Parsed.segment(1), 1, grammar(name), Parsed.Separators);
  }

  QVMengineInternal Engine;
};

}  // namespace

TEST_F(SGCexampleDefinition, EventSegmentFaults) {
  const Report BadDate = check("EVN", "EVN|A01|2001x");
  EXPECT_EQ(BadDate.CountOfError, 1u);
  EXPECT_EQ(BadDate.Text, "Segment EVN failed validation:\n"
                          "Invalid datetime format found in sub field 1 'Time' in field 2 'RecordedDateTime'\n"
                          "EVN|A01|2001x\n        ^^^^^");
  EXPECT_EQ(BadDate.Values, (Parameters{{"SegmentGrammarName", "EVN"},
                                        {"FieldIndex", "2"},
                                        {"FieldName", "RecordedDateTime"},
                                        {"FieldValue", "2001x"},
                                        {"FieldRepeatIndex", "0"},
                                        {"SubFieldIndex", "1"},
                                        {"SubFieldName", "Time"},
                                        {"SegmentGrammarErrorCode", "12"},
                                        {"SegmentGrammarErrorDescription", "Invalid DateTime"}}));

  const Report Precision = check("EVN", "EVN|A01|20010203^XX");
  EXPECT_EQ(Precision.CountOfError, 1u);
  EXPECT_EQ(Precision.Text, "Segment EVN failed validation:\n"
                            "Maximum length of 1 exceeded in field 2 'RecordedDateTime'\n"
                            "EVN|A01|20010203^XX\n" + std::string(17, ' ') + "^^");

  const Report Missing = check("EVN", "EVN|A01");
  EXPECT_EQ(Missing.CountOfError, 1u);
  EXPECT_EQ(Missing.Text, "Segment EVN failed validation:\nMissing required field 2 'RecordedDateTime'");

  EXPECT_EQ(check("EVN", "EVN|A01|20010203120500+0100").CountOfError, 0u);
}

TEST_F(SGCexampleDefinition, WholeMessageOfGoodSegmentsPasses) {
  Message Parsed("EVN|A01|20240101120000\r"
                 "PID|1||123456^^^HOSP^MR||DOE^JOHN^Q||19800101|M|||1 MAIN ST^^TOWN^ST^12345||555-1234\r"
                 "PV1|1|I|WARD^101^A");
  for (uint32_t i = 1; i < Parsed.List.countOfSegment(); ++i) {
    const SGMsegment& Segment = Parsed.segment(i);
    const std::string Name(Segment.name().view());
    const Report Result = Definition::report(Segment, i, grammar(Name.c_str()), Parsed.Separators);
    EXPECT_EQ(Result.CountOfError, 0u) << Name << "\n" << Result.Text;
  }
}
