// Scripts as data: every case of tests/data/LAG/*.test runs its `--- script` in a fresh engine.
//
//   --- script            Python; a line "#: next call" starts another call on the same engine
//   --- value [long|double] [none]
//                         the script gets `value` (text unless long or double; "none" hands it
//                         None and lets it give None back) and answers the value after, or "None"
//   --- message cr, --- field N
//                         a field equation on field N of the message's second segment; the answer
//                         is that segment written back.  Every such case runs twice: on the current
//                         parser's segment, and on the legacy parser's raw tree, with one answer
//   --- segments          the raw segments the environment holds, one a line, fields split at blanks
//   --- host              "name=value" lines the host sets in the globals first
//   (with no value or field the script runs plain and answers what it printed, less its last line end)
//   --- expect            the calls' answers, a line apart; an error as "error: " and its text
//   --- expect tokeniser  the answer is the tokeniser's own view of sgpy's test_message: a line
//                         "s name: X" per segment, "s f r sf ssf: X" per value
//   --- created N         objects the scripts made through sgpy and still hold at the end
//                         (without it: none, the references must balance)
//   --- error             lines the answers hold, in order: an error's text, "key: value" for each of
//                         its parameters, "code: 0x...", and for a field equation "segment: " and the
//                         segment; without this section no call may raise
// Sections take the file's options ("escapes" for bytes above 127).
#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <sstream>

#include "LAGexecute.h"
#include "LANengine.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMparser.h"
#include "QVMuntypedMessageTree.h"
#include "SCCescaper.h"
#include "SGMoutput.h"
#include "SGMstringPool.h"
#include "SGPYmodule.h"
#include "SGPparser.h"

#include "../support/TSTdataFile.h"

namespace {

std::string errorText(const COLerror& Error) {
  std::string Text = Error.description().str() + "\n";
  for (auto At = Error.firstParameter(); At != COLerror::EndCursor; At = Error.nextParameter(At))
    Text += Error.keyInPlace(At).str() + ": " + Error.parameterInPlace(At).str() + "\n";
  char Code[32];
  std::snprintf(Code, sizeof Code, "code: 0x%08X\n", Error.code());
  return Text + Code;
}

std::vector<std::string> lines(const std::string& Text) {
  std::vector<std::string> Lines;
  std::istringstream In(Text);
  for (std::string Line; std::getline(In, Line);) Lines.push_back(Line);
  return Lines;
}

enum class Road { Current, Legacy };

class Script {
public:
  Script(const TSTdataCase& Case, Road Way) : Case(Case), Way(Way) {
    Environment.setEngine(&Engine);
    Engine.setLogSink(&Printed, false);
    if (Case.has("segments")) {
      const std::vector<std::string> Segments = lines(Case.text("segments"));
      List.setCountOfSubNode(static_cast<unsigned>(Segments.size()));
      for (unsigned At = 0; At < Segments.size(); ++At) {
        std::istringstream Words(Segments[At]);
        std::vector<std::string> Fields{std::istream_iterator<std::string>(Words), {}};
        QVMuntypedMessageTree& Segment = *List.node(At, 0);
        Segment.setCountOfSubNode(static_cast<unsigned>(Fields.size()));
        for (unsigned Field = 0; Field < Fields.size(); ++Field)
          Segment.node(Field, 0)->setStringValue(Fields[Field].c_str());
      }
      Environment.setSegmentList(&List);
      Environment.resetCountOfSegmentInMessage(static_cast<unsigned>(Segments.size()));
      Engine.config().setCountOfHeaderFieldsToSkip(3);  // "MSH", "|" and the encoding characters
    }
    if (Case.has("message")) {
      Message = Case.text("message");
      if (Parser.parse(Message.data(), Message.size(), *Segments, Separators, SGPparserOptions()) != SGPparsed)
        ADD_FAILURE() << Case.where() << ": the message does not parse";
      if (Way == Road::Legacy) {
        Engine.config().setOutputTrailingSeparators(false);  // as the current parser's writer
        QVMparser Legacy(Engine.config());
        SCCescaper Escaper;
        QVMrawParseMessage(Message, Legacy, Escaper, *Raw);
      }
    }
  }

  // Sets the host's globals, then runs each call; their answers or errors, a line apart.
  std::string run() {
    std::string Answer;
    try {
      for (const std::string& Line : lines(Case.has("host") ? Case.text("host") : "")) {
        const size_t Equals = Line.find('=');
        LAGsetKeyValuePair(Engine.LanguageEngine(), Line.substr(0, Equals).c_str(), Line.substr(Equals + 1).c_str());
      }
    } catch (const COLerror& Error) {
      return "error: " + errorText(Error);
    }
    std::vector<std::string> Calls{""};
    for (const std::string& Line : lines(Case.text("script"))) {
      if (Line == "#: next call") {
        Calls.emplace_back();
      } else {
        Calls.back() += Line + "\n";
      }
    }
    for (size_t At = 0; At < Calls.size(); ++At) {
      Answer += At ? "\n" : "";
      try {
        Answer += call(Calls[At]);
      } catch (const COLerror& Error) {
        Answer += "error: " + errorText(Error);
        if (Case.has("field")) Answer += "segment: " + segment() + "\n";
      }
    }
    return Answer;
  }

  // What the scripts made through sgpy and still hold.
  size_t countOfCreated() {
    LANengineSwap Swap(Engine.LanguageEngine());
    return SGPYcountOfCreatedObject();
  }

private:
  std::string call(const std::string& Code) {
    LANfunction Function(&Engine.LanguageEngine());
    Function.setCode(Code.c_str());
    if (Case.has("field")) {
      const unsigned Field = std::stoul(Case.argument("field"));
      // Sub-node 0 of a raw segment is its name.
      if (Way == Road::Legacy) LAGexecuteSegmentEquation(Function, Raw->node(1, 0)->node(Field + 1, 0), Environment);
      else LAGexecuteFieldEquation(Function, *Pool, Segments->segment(1), Field, Environment);
      return segment();
    }
    if (!Case.has("value")) {
      Printed.clear();
      Engine.LanguageEngine().runString(Code.c_str());
      std::string Text = Printed.str();
      if (!Text.empty() && Text.back() == '\n') Text.pop_back();  // a line apart from the next call's
      return Text;
    }
    std::istringstream Options(Case.argument("value"));
    std::string Type = "string";
    bool IsNone = false, Disable = true;
    for (std::string Word; Options >> Word;) {
      if (Word == "none") IsNone = true, Disable = false;
      else Type = Word;
    }
    const std::string& Full = Case.text("value");
    const std::string In = Full.substr(0, Full.size() - 1);  // the file's line end is no part of it
    std::string Out;
    if (Type == "long") {
      long Number = std::stol(In);
      LAGexecuteScriptWithLongValue(Function, Number, Disable, IsNone, LAGtableEquation, Environment);
      Out = std::to_string(Number);
    } else if (Type == "double") {
      double Real = std::stod(In);
      LAGexecuteScriptWithDoubleValue(Function, Real, Disable, IsNone, LAGtableEquation, Environment);
      std::ostringstream Text;
      Text << Real;
      Out = Text.str();
    } else {
      COLstring Text(In);
      LAGexecuteScriptWithStringValue(Function, Text, Disable, IsNone, LAGglobalInbound, Environment);
      Out = Text.str();
    }
    return IsNone ? "None" : Out;
  }

  std::string segment() {
    COLstring Text;
    if (Way == Road::Legacy) {
      Raw->node(1, 0)->makeFlatWire(Text, Engine.config(), 1);
      return Text.str();
    }
    COLostream Stream(Text);
    SGMoutputSegment(Segments->segment(1), Separators, Stream);
    return Text.str();
  }

  const TSTdataCase& Case;
  Road Way;
  QVMengineInternal Engine;
  COLreferencePtr<QVMuntypedMessageTree> Raw = new QVMuntypedMessageTree;
  LAGenvironment Environment;
  COLstring Printed;
  QVMuntypedMessageTree List;
  std::string Message;
  COLreferencePtr<SGMsegmentList> Segments = new SGMsegmentList;
  COLreferencePtr<SGMstringPool> Pool = new SGMstringPool;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
};

class LAGscriptData : public ::testing::TestWithParam<TSTdataCase> {};

// The segment list of sgpy's test_message as the tokeniser cut it, every value on a line.
std::string tokeniserView() {
  const std::string Message = SGPYtestMessage();
  COLreferencePtr<SGMsegmentList> List = new SGMsegmentList;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  if (Parser.parse(Message.data(), Message.size(), *List, Separators, SGPparserOptions()) != SGPparsed)
    ADD_FAILURE() << "test_message does not parse";
  std::ostringstream View;
  for (uint32_t S = 0; S < List->countOfSegment(); ++S) {
    const SGMsegment& Segment = List->segment(S);
    View << S << " name: " << Segment.name().view() << "\n";
    for (uint32_t F = 0; F < Segment.countOfField(); ++F)
      for (uint32_t R = 0; R < Segment.countOfFieldRepeat(F); ++R) {
        const SGMfield& Field = Segment.field(F, R);
        for (uint32_t Sub = 0; Sub < Field.countOfSubField(); ++Sub)
          for (uint32_t SubSub = 0; SubSub < Field.countOfSubSubField(Sub); ++SubSub)
            View << S << " " << F << " " << R << " " << Sub << " " << SubSub << ": " << Field.value(Sub, SubSub).view()
                 << "\n";
      }
  }
  return View.str();
}

void expectAnswer(const TSTdataCase& Case, Road Way) {
  Script Run(Case, Way);
  const std::string Answer = Run.run();
  // The expected text's last line end is the file's, not the answer's.
  if (Case.has("expect") && Case.argument("expect") == "tokeniser") {
    EXPECT_EQ(Answer + "\n", tokeniserView()) << Case.where();
  } else if (Case.has("expect")) {
    EXPECT_EQ(Answer + "\n", Case.text("expect")) << Case.where();
  }
  EXPECT_EQ(Run.countOfCreated(), Case.has("created") ? std::stoul(Case.argument("created")) : 0u) << Case.where();
  if (!Case.has("error")) {
    EXPECT_EQ(Answer.find("error: "), std::string::npos) << Case.where() << ": " << Answer;
    return;
  }
  // Each expected line is found after the one before.
  size_t From = 0;
  for (const std::string& Line : lines(Case.text("error"))) {
    const size_t At = Answer.find(Line, From);
    EXPECT_NE(At, std::string::npos) << Case.where() << ": no '" << Line << "' in order in\n" << Answer;
    if (At == std::string::npos) break;
    From = At + Line.size();
  }
}

TEST_P(LAGscriptData, Runs) { expectAnswer(GetParam(), Road::Current); }

class LAGfieldEquationData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(LAGfieldEquationData, RunsOnTheLegacyTreeAlike) { expectAnswer(GetParam(), Road::Legacy); }

std::vector<TSTdataCase> fieldEquationCases() {
  std::vector<TSTdataCase> Cases;
  for (TSTdataCase& Case : TSTreadDataArea("LAG"))
    if (Case.has("field")) Cases.push_back(std::move(Case));
  return Cases;
}

INSTANTIATE_TEST_SUITE_P(Cases, LAGscriptData, ::testing::ValuesIn(TSTreadDataArea("LAG")), TSTdataParamName);
INSTANTIATE_TEST_SUITE_P(Cases, LAGfieldEquationData, ::testing::ValuesIn(fieldEquationCases()), TSTdataParamName);

}  // namespace
