// Segment checks, judged by the whole report a person gets: the sentence, the segment with
// carets under the offending bytes, the code and every named parameter.
#include "SGCtestSupport.h"

#include "../../support/TSTraised.h"

using SGCtest::Definition;
using SGCtest::Message;
using SGCtest::Parameters;
using SGCtest::Report;

namespace {

std::string spaces(size_t count) { return std::string(count, ' '); }

std::string formatted(const SGCerror& error, const SGMsegment& segment) {
  COLstring Text;
  {
    COLostream Stream(Text);
    error.formatError(segment, Stream);
  }
  return Text.str();
}

struct Expected {
  const char* Segment;
  std::string Text;
  Parameters Values;
};

void expectReport(const Definition& definition, const Expected& expected) {
  const Report Result = definition.check(expected.Segment);
  EXPECT_EQ(Result.CountOfError, 1u) << expected.Segment;
  EXPECT_EQ(Result.Text, expected.Text) << expected.Segment;
  EXPECT_EQ(Result.Code, 0x80002003u) << expected.Segment;
  EXPECT_EQ(Result.Values, expected.Values) << expected.Segment;
}

}  // namespace

TEST(SGCcheckSegment, SegmentsThatAreFineGiveNoFault) {
  Definition Def;
  for (const char* Segment : {
           "PID|1|123|DOE|20010203|F|70.5|note|ACC",
           // The explicit null is present, and valid for every type.
           "PID|\"\"|123|\"\"|\"\"|\"\"|\"\"||ACC",
           // More fields than the grammar: the extra ones are never looked at.
           "PID|1|123|DOE|||||ACC|x|y^z&w|1.2.3",
           // A second repeat that is empty passes, even in a required field.
           "PID|1|123~|DOE|||||ACC",
           // No limit on the repeats of the comment.
           "PID|1|123|DOE||||a~b~c~d|ACC",
           // A whole composite with every part well formed.
           "PID|1|123^7^M11^NS&UID&2^20010203~456|DOE|20010203120000|M|+1e5||ACC",
           // Empty optional composites report no missing parts.
           "PID|1|123^^^^|DOE|||||ACC",
       }) {
    const Report Result = Def.check(Segment);
    EXPECT_EQ(Result.CountOfError, 0u) << Segment << "\n" << Result.Text;
  }
}

TEST(SGCcheckSegment, BadFormatsOfWholeFields) {
  Definition Def;
  const Expected Cases[] = {
      {"PID|1|123|DOE|2001x||||ACC",
       "Segment PID failed validation:\nInvalid datetime format found in field 4 'Birth Date'\n"
       "PID|1|123|DOE|2001x||||ACC\n" + spaces(14) + "^^^^^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "4"}, {"FieldName", "Birth Date"}, {"FieldValue", "2001x"},
        {"FieldRepeatIndex", "0"}, {"SegmentGrammarErrorCode", "12"},
        {"SegmentGrammarErrorDescription", "Invalid DateTime"}}},
      {"PID|1|123|DOE||F|70,5||ACC",
       "Segment PID failed validation:\nInvalid double format found in field 6 'Weight'\n"
       "PID|1|123|DOE||F|70,5||ACC\n" + spaces(17) + "^^^^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "6"}, {"FieldName", "Weight"}, {"FieldValue", "70,5"},
        {"FieldRepeatIndex", "0"}, {"SegmentGrammarErrorCode", "11"},
        {"SegmentGrammarErrorDescription", "Invalid Double"}}},
      {"PID|x1|123|DOE|||||ACC",
       "Segment PID failed validation:\nInvalid integer format found in field 1 'Set ID'\n"
       "PID|x1|123|DOE|||||ACC\n" + spaces(4) + "^^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "1"}, {"FieldName", "Set ID"}, {"FieldValue", "x1"},
        {"FieldRepeatIndex", "0"}, {"SegmentGrammarErrorCode", "10"},
        {"SegmentGrammarErrorDescription", "Invalid Integer"}}},
      {"PID|1|123|DOE||Q|||ACC",
       "Segment PID failed validation:\nInvalid enumeration value found in field 5 'Sex'\n"
       "PID|1|123|DOE||Q|||ACC\n" + spaces(15) + "^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "5"}, {"FieldName", "Sex"}, {"FieldValue", "Q"},
        {"FieldRepeatIndex", "0"}, {"SegmentGrammarErrorCode", "13"},
        {"SegmentGrammarErrorDescription", "Invalid Enumeration"}}},
  };
  for (const Expected& Case : Cases) expectReport(Def, Case);
}

TEST(SGCcheckSegment, BadFormatsInsideComposites) {
  Definition Def;
  const Expected Cases[] = {
      {"PID|1|123^x|DOE|||||ACC",
       "Segment PID failed validation:\n"
       "Invalid integer format found in sub field 2 'Check Digit' in field 2 'Patient ID'\n"
       "PID|1|123^x|DOE|||||ACC\n" + spaces(10) + "^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldValue", "x"},
        {"FieldRepeatIndex", "0"}, {"SubFieldIndex", "2"}, {"SubFieldName", "Check Digit"},
        {"SegmentGrammarErrorCode", "10"}, {"SegmentGrammarErrorDescription", "Invalid Integer"}}},
      {"PID|1|123^^^A&B&z|DOE|||||ACC",
       "Segment PID failed validation:\n"
       "Invalid integer format found in sub sub field 3 'Universal ID Type' in sub field 4 'Authority' "
       "in field 2 'Patient ID'\n"
       "PID|1|123^^^A&B&z|DOE|||||ACC\n" + spaces(16) + "^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldValue", "z"},
        {"FieldRepeatIndex", "0"}, {"SubFieldIndex", "4"}, {"SubFieldName", "Authority"},
        {"SubSubFieldIndex", "3"}, {"SubSubFieldName", "Universal ID Type"}, {"SegmentGrammarErrorCode", "10"},
        {"SegmentGrammarErrorDescription", "Invalid Integer"}}},
      // A sub field typed by a one-value composite takes that value's type.
      {"PID|1|123^^^^2001x|DOE|||||ACC",
       "Segment PID failed validation:\n"
       "Invalid datetime format found in sub field 5 'Effective' in field 2 'Patient ID'\n"
       "PID|1|123^^^^2001x|DOE|||||ACC\n" + spaces(13) + "^^^^^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldValue", "2001x"},
        {"FieldRepeatIndex", "0"}, {"SubFieldIndex", "5"}, {"SubFieldName", "Effective"},
        {"SegmentGrammarErrorCode", "12"}, {"SegmentGrammarErrorDescription", "Invalid DateTime"}}},
  };
  for (const Expected& Case : Cases) expectReport(Def, Case);
}

TEST(SGCcheckSegment, ValuesOverTheirLimit) {
  Definition Def;
  const Expected Cases[] = {
      {"PID|1|123|DOEDOEDOEDOE|||||ACC",
       "Segment PID failed validation:\nMaximum length of 10 exceeded in field 3 'Name'\n"
       "PID|1|123|DOEDOEDOEDOE|||||ACC\n" + spaces(10) + std::string(12, '^'),
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "3"}, {"FieldName", "Name"}, {"FieldRepeatIndex", "0"},
        {"MaxLength", "10"}}},
      {"PID|1|1234567|DOE|||||ACC",
       "Segment PID failed validation:\nMaximum length of 5 exceeded in field 2 'Patient ID'\n"
       "PID|1|1234567|DOE|||||ACC\n" + spaces(6) + std::string(7, '^'),
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldRepeatIndex", "0"},
        {"MaxLength", "5"}}},
      {"PID|1|123^^^A&LONGER|DOE|||||ACC",
       "Segment PID failed validation:\n"
       "Maximum length of 4 exceeded in field 2 'Patient ID' in sub field 4 'Authority'\n"
       "PID|1|123^^^A&LONGER|DOE|||||ACC\n" + spaces(14) + std::string(6, '^'),
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldRepeatIndex", "0"},
        {"SubFieldIndex", "4"}, {"MaxLength", "4"}}},
  };
  for (const Expected& Case : Cases) expectReport(Def, Case);

  // The length test comes before the explicit null: "" is too long for a limit of 1.
  Def.St10.setFieldMaxLength(0, 1);
  const Report Null = Def.check("PID|1|123|\"\"|||||ACC");
  EXPECT_EQ(Null.CountOfError, 1u);
  EXPECT_EQ(Null.Text, "Segment PID failed validation:\nMaximum length of 1 exceeded in field 3 'Name'\n"
                       "PID|1|123|\"\"|||||ACC\n" + spaces(10) + "^^");
}

TEST(SGCcheckSegment, TooManyRepeatsAndEveryRepeatStillChecked) {
  Definition Def;
  Message Parsed("PID|1|123~456~1234567|DOE|||||ACC");
  const SGMsegment& Segment = Parsed.segment(1);
  SGCerrorList Errors;
  SGCcheckSegment(Segment, 1, Def.Pid, Errors);
  ASSERT_EQ(Errors.size(), 2u);
  const Report Result = Definition::reportOf(Segment, Parsed.Separators, Errors);
  EXPECT_EQ(Result.Text, "Segment PID failed validation:\n"
                         "Maximum field repeats of 1 exceeded by 1 in field 2 'Patient ID'\n"
                         "PID|1|123~456~1234567|DOE|||||ACC\n" + spaces(14) + std::string(7, '^'));
  EXPECT_EQ(Result.Values, (Parameters{{"SegmentGrammarName", "PID"},
                                       {"FieldIndex", "2"},
                                       {"FieldName", "Patient ID"},
                                       {"SegmentGrammarErrorCode", "1"},
                                       {"SegmentGrammarErrorDescription", "Field max repeats exceeded"}}));
  // The third occurrence was checked too, and names its repeat.
  EXPECT_EQ(formatted(Errors[1], Segment), "Maximum length of 5 exceeded in field 2 'Patient ID' (repeat 2)");
  EXPECT_EQ(Errors[1].repeatIndex(), 2u);

  // A limit of 0 allows a single occurrence.
  Def.Pid.setFieldMaxRepeat(1, 0);
  const Report Two = Def.check("PID|1|1~2|DOE|||||ACC");
  EXPECT_EQ(Two.CountOfError, 1u);
  EXPECT_NE(Two.Text.find("Maximum field repeats of 0 exceeded by 1 in field 2 'Patient ID'"), std::string::npos);
}

TEST(SGCcheckSegment, MissingRequiredFields) {
  Definition Def;
  // Beyond the end of the segment: a sentence and no picture.
  const Report Short = Def.check("PID|1|123|DOE");
  EXPECT_EQ(Short.CountOfError, 1u);
  EXPECT_EQ(Short.Text, "Segment PID failed validation:\nMissing required field 8 'Account'");
  EXPECT_EQ(Short.Values, (Parameters{{"SegmentGrammarName", "PID"},
                                      {"FieldIndex", "8"},
                                      {"FieldName", "Account"},
                                      {"SegmentGrammarErrorCode", "0"},
                                      {"SegmentGrammarErrorDescription", "Required field missing"}}));

  // Present but empty: one caret where the value would be.
  expectReport(Def, {"PID|1|123||||||ACC",
                     "Segment PID failed validation:\nMissing required field 3 'Name'\n"
                     "PID|1|123||||||ACC\n" + spaces(10) + "^",
                     {{"SegmentGrammarName", "PID"},
                      {"FieldIndex", "3"},
                      {"FieldName", "Name"},
                      {"SegmentGrammarErrorCode", "0"},
                      {"SegmentGrammarErrorDescription", "Required field missing"}}});

  // Every missing field is listed, in order.
  Message Parsed("PID|1");
  SGCerrorList Errors;
  SGCcheckSegment(Parsed.segment(1), 1, Def.Pid, Errors);
  ASSERT_EQ(Errors.size(), 3u);
  EXPECT_EQ(Errors[0].fieldIndex(), 1u);
  EXPECT_EQ(Errors[1].fieldIndex(), 2u);
  EXPECT_EQ(Errors[2].fieldIndex(), 7u);
  EXPECT_EQ(Errors[0].startOfContext(Parsed.segment(1)), SGCerror::NoContext);
}

TEST(SGCcheckSegment, MissingRequiredPartsOfComposites) {
  Definition Def;
  const Expected Cases[] = {
      {"PID|1|^1|DOE|||||ACC",
       "Segment PID failed validation:\nMissing required sub field 1 'ID' of field 2 'Patient ID'\n"
       "PID|1|^1|DOE|||||ACC\n" + spaces(6) + "^^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldRepeatIndex", "0"},
        {"SegmentGrammarErrorDescription", "Missing required data"}, {"SegmentGrammarErrorCode", "15"},
        {"SubFieldIndex", "1"}, {"SubFieldName", "ID"}}},
      {"PID|1|123~^1|DOE|||||ACC",
       "Segment PID failed validation:\nMissing required sub field 1 'ID' of field 2 'Patient ID' (repeat 1)\n"
       "PID|1|123~^1|DOE|||||ACC\n" + spaces(10) + "^^",
       {{"SegmentGrammarName", "PID"}, {"FieldIndex", "2"}, {"FieldName", "Patient ID"}, {"FieldRepeatIndex", "1"},
        {"SegmentGrammarErrorDescription", "Missing required data"}, {"SegmentGrammarErrorCode", "15"},
        {"SubFieldIndex", "1"}, {"SubFieldName", "ID"}}},
      {"PID|1|123^^^&UID|DOE|||||ACC",
       "Segment PID failed validation:\nMissing required sub sub field 1 'Namespace ID'\n"
       "of sub field 4 'Authority'\nof field 2 'Patient ID'\n"
       "PID|1|123^^^&UID|DOE|||||ACC\n" + spaces(12) + "^^^^",
       {{"SegmentGrammarName", "PID"}, {"FieldName", "Patient ID"}, {"FieldIndex", "2"}, {"FieldRepeatIndex", "0"},
        {"SubFieldIndex", "4"}, {"SubSubFieldIndex", "1"},
        {"SegmentGrammarErrorDescription", "Missing required data"}, {"SegmentGrammarErrorCode", "16"},
        {"SubFieldName", "Authority"}, {"SubSubFieldName", "Namespace ID"}}},
  };
  for (const Expected& Case : Cases) expectReport(Def, Case);
}

TEST(SGCcheckSegment, RequiredCompositeSubFieldWithDataBehindAnEmptyFirstValue) {
  Definition Def;
  QVMcompositeGrammar Wrapper;
  Wrapper.setName("WRAP");
  Wrapper.setFieldName(QVMcompositeGrammarAddField(Wrapper), "Organisation");
  Wrapper.setFieldCompositeType(0, &Def.Hd);
  Wrapper.setFieldIsRequired(0, true);
  Wrapper.setFieldName(QVMcompositeGrammarAddField(Wrapper), "Note");
  QVMsegmentGrammar Zzz;
  Zzz.setName("ZZZ");
  Zzz.setFieldName(QVMsegmentGrammarAddFieldWithoutInitialization(Zzz), "Where");
  Zzz.setFieldType(0, &Wrapper);

  // "&UID": the sub field holds data, so only its own first part is missing.
  Message Parsed("ZZZ|&UID^n\rZZZ|^n");
  SGCerrorList Errors;
  SGCcheckSegment(Parsed.segment(1), 1, Zzz, Errors);
  ASSERT_EQ(Errors.size(), 1u);
  EXPECT_EQ(formatted(Errors[0], Parsed.segment(1)),
            "Missing required sub sub field 1 'Namespace ID'\nof sub field 1 'Organisation'\nof field 1 'Where'");
  Errors.clear();
  SGCcheckSegment(Parsed.segment(2), 2, Zzz, Errors);
  ASSERT_EQ(Errors.size(), 1u);
  EXPECT_EQ(formatted(Errors[0], Parsed.segment(2)),
            "Missing required sub field 1 'Organisation' of field 1 'Where'");
  EXPECT_EQ(Errors[0].segmentIndex(), 2u);
}

TEST(SGCcheckSegment, HeaderOffsetsPointAtTheEncodingCharacters) {
  Definition Def;
  Message Parsed("MSH|^~\\&|APP|2001x", true);
  const SGMsegment& Header = Parsed.segment(0);
  SGCerrorList Errors;
  SGCcheckSegment(Header, 0, Def.Msh, Errors);
  ASSERT_EQ(Errors.size(), 2u);
  const Report Result = Definition::reportOf(Header, Parsed.Separators, Errors);
  EXPECT_EQ(Result.Text, "Segment MSH failed validation:\n"
                         "Maximum length of 3 exceeded in field 2 'Encoding Characters'\n"
                         "MSH|^~\\&|APP|2001x\n" + spaces(4) + "^^^^");
  EXPECT_EQ(Errors[1].startOfContext(Header), 13);
  EXPECT_EQ(Errors[1].endOfContext(Header), 18);
  EXPECT_EQ(formatted(Errors[1], Header), "Invalid datetime format found in field 4 'Date'");
}

TEST(SGCcheckSegment, DefinitionTheChecksCannotApplyIsRefused) {
  Definition Def;
  // A date-time mask that runs out of text while all its fields are required is a fault
  // of the definition, not of the message: it ends the parse.
  Def.Dtm.setFieldsRequired(true);
  Message Parsed("PID|1|123|DOE|2001||||ACC");
  SGCerrorList Errors;
  const COLerror Error = TSTraised([&] { SGCcheckSegment(Parsed.segment(1), 1, Def.Pid, Errors); });
  EXPECT_EQ(Error.code(), 0x80000600u);
  EXPECT_EQ(Error.description(), "Invalid date/time format '2001'. It might be an idea to change the Date/Time "
                                 "format 'DTM' to *not* require all the date/time fields.");
}

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

  Definition Def;
  SGCerrorList Empty;
  Message Parsed("PID|1");
  EXPECT_EQ(
      TSTraised([&] { QVJstrictGrammarErrorPrepare(Error, Parsed.segment(1), Parsed.Separators, Empty); }).description(),
            "Failed precondition: ErrorList.size() > 0");
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
