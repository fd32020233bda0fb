// The SGC cases of tests/data/SGC, two kinds.
//
// Messages (identify.test, grammar.test, structure.test): a definition and a message in, the
// structural road of SGCparseStructure out.  Sections:
//   definition PATH   a definition file, relative to the repository; or, without a path, one
//                     message definition a line in the notation of SGCparseTestSupport.h
//   message cr        the message; or "message PATH", the file tests/data/PATH
//   outcome           the identified message's name, or the error report
//   tree              the parsed tree, drawn as SGCparseTestSupport.h does
//   faults            every structural fault, drawn likewise
//   placed            each segment's full grammar name in list order, or "unplaced"
// Every case also asks the literal index and the trial of every definition in order for the
// message's definition: the two must agree.
//
// Segment checks (check.test): every segment of the message (after a plain header, unless the
// message starts with its own) against the segment grammar of its name in tests/data/SGC/
// check.vmd, or in the file a "definition PATH" section names.  "report" holds, per segment
// with faults, its index and count, the report of its first fault and the words and place of
// every further one.  In unescape.test the segments are unescaped strictly instead of checked.
//
// Numbers and date-times as the checks read them from a value's bytes (format.test): step cases
// (tests/support/TSTsteps.h), each value lying in a longer text that goes on behind it:
//   integer|double|datetime TEXT -> valid|invalid | tointeger|todouble TEXT -> the number, "-" or
//   "changed" (refused, but the result was written) | mask ITEM... [required] (Y M D h m s f z) |
//   convert|extract TEXT -> "Y-M-D h:m:s fraction zone", "null", "-" or "raises CODE TEXT"
//
// Validation rules (rules.test): "rule FIELD KIND" adds a rule of that kind to PID's field
// FIELD (both counted from 0), its lines "Key=Value" setting its parameters, and a "code"
// section its script.  Each segment of "runs" is run through it in turn; "report" holds each
// segment, then "passes" or the report of what it raised.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

#include "COLerror.h"
#include "COLreference.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "SGCcompleteParse.h"
#include "SGCmatch.h"
#include "SGCparseTestSupport.h"
#include "SGCtestSupport.h"
#include "SGCunescape.h"
#include "SGCvalidationRule.h"
#include "SGMoutput.h"

#include "../support/TSTsteps.h"

using namespace sgctest;

namespace {

std::string reportOf(const COLerror& Error) {
  char Code[16];
  std::snprintf(Code, sizeof Code, "0x%08X", static_cast<unsigned>(Error.code()));
  std::string Text = std::string("Error Code: ") + Code + "\nDescription: " + Error.description().c_str() + "\n";
  for (const auto& [Key, Value] : SGCtest::parametersOf(Error)) Text += Key + ": " + Value + "\n";
  return Text;
}

// Loaded once; they go before the interpreter's statics do.
std::map<std::string, COLreferencePtr<QVMengineInternal>> Loaded;

QVMengineInternal& loaded(const std::string& RelativePath) {
  COLreferencePtr<QVMengineInternal>& Slot = Loaded[RelativePath];
  if (!Slot) {
    Slot = new QVMengineInternal;
    EXPECT_EQ(QVLloadEngine(*Slot, (MSGBRIDGE_SOURCE_DIR "/" + RelativePath).c_str()), QVLvmdTypeXml);
  }
  return *Slot;
}

// A one-line section without its line end.
std::string line(const std::string& Text) { return Text.substr(0, Text.find('\n')); }

std::vector<TSTdataCase> casesOf(std::initializer_list<const char*> Files) {
  std::vector<TSTdataCase> Cases;
  for (const char* File : Files)
    for (TSTdataCase& Case : TSTreadDataFile(std::string("SGC/") + File)) Cases.push_back(std::move(Case));
  return Cases;
}

class SGCmessageData : public ::testing::TestWithParam<TSTdataCase> {
protected:
  static void TearDownTestSuite() { Loaded.clear(); }
};

TEST_P(SGCmessageData, Structure) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const std::string& Path = Case.argument("definition");
  const COLreferencePtr<QVMengineInternal> Engine =
      Path.empty() ? built(Case.text("definition")) : COLreferencePtr<QVMengineInternal>(&loaded(Path));
  SGMsegmentList List;
  SGCmessageStructure Structure;
  std::string Message = Case.text("message"), Outcome;
  if (!Case.argument("message").empty()) {
    std::ifstream In(MSGBRIDGE_SOURCE_DIR "/tests/data/" + Case.argument("message"), std::ios::binary);
    Message.assign(std::istreambuf_iterator<char>(In), std::istreambuf_iterator<char>());
  }
  try {
    const unsigned Index = SGCparseStructure(COLstring(Message), *Engine, List, Structure);
    Outcome = std::string(Engine->message(Index)->name().c_str()) + "\n";
  } catch (const COLerror& Error) {
    Outcome = reportOf(Error);
  }
  if (List.countOfSegment() > 0) {
    EXPECT_EQ(SGCmatchMessage(List, *Engine), SGCmatchMessageInOrder(List, *Engine));
  }
  EXPECT_EQ(Outcome, Case.text("outcome"));
  if (Case.has("tree")) {
    EXPECT_EQ(draw(Structure.context.tree()), line(Case.text("tree")));
  }
  if (Case.has("faults")) {
    EXPECT_EQ(drawFaults(Structure.context), line(Case.text("faults")));
  }
  if (Case.has("placed")) {
    std::string Placed;
    for (const std::string& Name : placed(List, Structure.context.tree())) Placed += Name + "\n";
    EXPECT_EQ(Placed, Case.text("placed"));
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, SGCmessageData, ::testing::ValuesIn(casesOf({"identify.test", "grammar.test",
                                                                             "structure.test"})),
                         TSTdataParamName);

class SGCcheckData : public ::testing::TestWithParam<TSTdataCase> {
protected:
  static void TearDownTestSuite() { Loaded.clear(); }
};

TEST_P(SGCcheckData, Report) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  SGCtest::Definition Own;
  const QVMengineInternal& Engine = Case.has("definition") ? loaded(Case.argument("definition")) : *Own.Engine;
  std::string Text = Case.text("message");
  while (!Text.empty() && Text.back() == '\r') Text.pop_back();
  const bool Whole = Text.rfind("MSH", 0) == 0;
  const SGCtest::Message Parsed(Text, Whole);
  std::string Report;
  SGMstringPool Pool;
  for (unsigned Index = Whole ? 0 : 1; Index < Parsed.List.countOfSegment(); ++Index) {
    SGMsegment& Segment = Parsed.segment(Index);
    const std::string Name(Segment.name().view());
    const uint32_t Grammar = Engine.segmentByName(Name.c_str());
    ASSERT_LT(Grammar, Engine.countOfSegment()) << Name;
    SGCerrorList Errors;
    try {
      SCCescaper Escaper;
      if (Case.has("unescape"))
        SGCunescapeSegment(Escaper, false, true, Segment, Index, *Engine.segment(Grammar), &Pool, Errors, true);
      else
        SGCcheckSegment(Segment, Index, *Engine.segment(Grammar), Errors);
    } catch (const COLerror& Error) {
      Report += "Segment " + std::to_string(Index) + " raised:\n" + reportOf(Error);
      continue;
    }
    if (Errors.empty()) continue;
    COLerror First("", 0);
    QVJstrictGrammarErrorPrepare(First, Segment, Parsed.Separators, Errors);
    Report += "Segment " + std::to_string(Errors[0].segmentIndex()) + ": " + std::to_string(Errors.size()) +
              (Errors.size() == 1 ? " fault\n" : " faults\n") + reportOf(First);
    for (size_t Further = 1; Further < Errors.size(); ++Further) {
      COLstring Words;
      {
        COLostream Stream(Words);
        Stream << "Also: ";
        Errors[Further].formatError(Segment, Stream);
        if (const int Start = Errors[Further].startOfContext(Segment); Start != SGCerror::NoContext) {
          Stream << newline;
          SGMoutputSegment(Segment, Parsed.Separators, Stream);
          Stream << newline;
          SGCshowContext(Start, Errors[Further].endOfContext(Segment), Stream);
        }
      }
      Report += Words.str() + "\n";
    }
  }
  EXPECT_EQ(Report, Case.text("report"));
}

class SGCruleData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(SGCruleData, Report) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  QVMengineInternal Engine;  // goes last: a script rule holds its interpreter
  SGCtest::Definition Def;
  unsigned Field = 0, Kind = 0;
  std::istringstream(Case.argument("rule")) >> Field >> Kind;
  QVMsegmentValidationRule& Rule = *Def.Pid.addValidationRule(Field, Kind);
  std::istringstream Parameters(Case.text("rule"));
  for (std::string Line; std::getline(Parameters, Line);)
    Rule.setParameter(Line.substr(0, Line.find('=')).c_str(), Line.substr(Line.find('=') + 1).c_str());
  if (Case.has("code")) {
    Rule.setLanguageEngine(&Engine.LanguageEngine());
    Rule.setParameter("Code", Case.text("code").c_str());
  }
  std::istringstream Runs(Case.text("runs"));
  std::string Report;
  for (std::string Line; std::getline(Runs, Line);) {
    const SGCtest::Message Parsed(Line);
    Report += Line + "\n";
    try {
      SGCdoSegmentValidationRule(Rule, new SGMstringPool, Parsed.List.segmentReference(1), Engine);
      Report += "  passes\n";
    } catch (const COLerror& Error) {
      Report += reportOf(Error);
    }
  }
  EXPECT_EQ(Report, Case.text("report"));
}

INSTANTIATE_TEST_SUITE_P(Cases, SGCruleData, ::testing::ValuesIn(casesOf({"rules.test"})), TSTdataParamName);

INSTANTIATE_TEST_SUITE_P(Cases, SGCcheckData, ::testing::ValuesIn(casesOf({"check.test", "unescape.test"})), TSTdataParamName);

}  // namespace

namespace {

class Format : public TSTstepModel {
  // The value of word 1 inside a text that is not NUL-terminated where the value ends.
  const SGMvalue& value() {
    Backing = word(1) + "|trailing";
    Slice.set(Backing.data(), static_cast<uint32_t>(word(1).size()));
    return Slice;
  }
  static std::string date(bool Converted, const QVMdateTimeInternal& Result) {
    if (!Converted) return "-";
    if (Result.isNull()) return "null";
    char Text[64];
    std::snprintf(Text, sizeof Text, "%d-%d-%d %d:%d:%d %g %d", Result.year(), Result.month(), Result.day(),
                  Result.hour(), Result.minute(), Result.second(), Result.secondFraction(), Result.zone());
    return Text;
  }

  std::string step() override {
    const std::string& Verb = word(0);
    if (Verb == "mask") {
      static const std::map<std::string, QVMdateTimeGrammar::QVMdateTimeInternalMaskItem> Items = {
          {"Y", QVMdateTimeGrammar::MaskYear},     {"M", QVMdateTimeGrammar::MaskMonth},
          {"D", QVMdateTimeGrammar::MaskDay},      {"h", QVMdateTimeGrammar::MaskHour},
          {"m", QVMdateTimeGrammar::MaskMinute},   {"s", QVMdateTimeGrammar::MaskSecond},
          {"f", QVMdateTimeGrammar::MaskFraction}, {"z", QVMdateTimeGrammar::MaskTimeZone}};
      Mask = QVMdateTimeGrammar();
      Mask.setName("MASK");
      for (size_t At = 1; At < Words.size(); ++At)
        if (Words[At] == "required") Mask.setFieldsRequired(true);
        else QVMdateTimeGrammarAddMaskItem(Mask, Items.at(Words[At]));
      return "";
    }
    auto valid = [](bool Valid) { return Valid ? "valid" : "invalid"; };
    int Integer = 99;
    double Double = 99;
    char Number[32];
    QVMdateTimeInternal Result;
    Result.setDate(2000, 1, 1);
    if (Verb == "integer") return valid(SGCvalidInteger(value()));
    if (Verb == "double") return valid(SGCvalidDouble(value()));
    if (Verb == "datetime") return valid(SGCvalidDateTime(value(), Mask));
    if (Verb == "tointeger")
      return SGCextractInteger(value(), Integer) ? std::to_string(Integer) : Integer == 99 ? "-" : "changed";
    if (Verb == "todouble" && SGCextractDouble(value(), Double))
      return std::snprintf(Number, sizeof Number, "%g", Double), Number;
    if (Verb == "todouble") return Double == 99 ? "-" : "changed";
    if (Verb == "extract") return date(SGCextractDateTime(value(), Mask, Result), Result);
    if (Verb != "convert") unknown();
    try {
      return date(SGCdateTimeGrammarConvertStringToDateTime(Mask, value(), Result), Result);
    } catch (const COLerror& Error) {
      std::snprintf(Number, sizeof Number, "0x%08X", static_cast<unsigned>(Error.code()));
      return std::string("raises ") + Number + " " + Error.description().c_str();
    }
  }

  std::string Backing;
  SGMvalue Slice;
  QVMdateTimeGrammar Mask;
};

class SGCformatData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(SGCformatData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Format>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, SGCformatData, ::testing::ValuesIn(casesOf({"format.test"})), TSTdataParamName);

}  // namespace
