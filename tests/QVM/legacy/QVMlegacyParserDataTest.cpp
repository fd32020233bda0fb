// The legacy parser's cases of tests/data/QVM/legacy: a message in, the raw tree (and, where
// asked, the typed segments) or the error out. Sections:
//   definition PATH   a definition file, relative to the repository; without one an empty
//                     engine with the default configuration
//   config            "KEY VALUE" lines changing the configuration (see applyConfig)
//   message cr        the message
//   raw               the raw tree as printed
//   verified          the raw tree as printed after each segment got its grammar and its shape
//   processed         the raw tree as printed after the outgoing field functions ran on each segment
//   identify          the name of the message definition the raw tree is
//   typed             the typed segments after the segment checks of parser version 0, on the
//                     identified definition: a line per leaf, "PID.3.2 = 'text' (1)" with the
//                     field and component counted from 1, "R1" after a field for its second
//                     repeat, and how the value came in (dataPresent); a segment the
//                     definition ignores is its name and "(no grammar)"; "typed strict" checks
//                     each segment strictly first, as with rejectBadSegmentGrammar
//   error             "Error Code: 0x...", "Description: ..." and the parameters of the error
// A case with an error section expects the first step that fails to fail with it.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "COLerror.h"
#include "COLostream.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMparser.h"
#include "QVMsegmentChecker.h"
#include "QVJlegacySegment.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVMverifySegment.h"
#include "QVPparseContext.h"

#include "../../support/TSTdataFile.h"

namespace {

std::string reportOf(const COLerror& Error) {
  char Code[16];
  std::snprintf(Code, sizeof Code, "0x%08X", static_cast<unsigned>(Error.code()));
  std::string Text = std::string("Error Code: ") + Code + "\nDescription: " + Error.description().c_str() + "\n";
  for (COLerror::Cursor At = Error.firstParameter(); At != COLerror::EndCursor; At = Error.nextParameter(At))
    Text += std::string(Error.keyInPlace(At).c_str()) + ": " + Error.parameterInPlace(At).c_str() + "\n";
  return Text;
}

template <class Tree>
std::string printed(const Tree& Root) {
  COLstring Text;
  {
    COLostream Stream(Text);
    Root.printOn(Stream, "", nullptr);
  }
  return Text.str();
}

// "separator LEVEL C", "repeat LEVEL C" (C "none" for no repeat character), "parseSeparatorChars
// 0|1", "headerFieldsToSkip N", "header NAME".
void applyConfig(QVMconfig& Config, const std::string& Lines) {
  std::istringstream In(Lines);
  for (std::string Line; std::getline(In, Line);) {
    std::istringstream Words(Line);
    std::string Key, Value;
    unsigned Level = 0;
    Words >> Key;
    if (Key == "separator" || Key == "repeat") {
      Words >> Level >> Value;
      const char C = Value == "none" ? 0 : TSTdataHexBytes(Value)[0];
      if (Key == "separator") Config.sepCharInfo(Level).setSepCharDefault(C);
      else Config.sepCharInfo(Level).setRepeatCharDefault(C);
      continue;
    }
    Words >> Value;
    if (Key == "parseSeparatorChars") Config.setParseSeparatorChars(Value == "1");
    else if (Key == "headerFieldsToSkip") Config.setCountOfHeaderFieldsToSkip(std::stoul(Value));
    else if (Key == "header") Config.setHeaderSegment(Value.c_str());
    else ADD_FAILURE() << "unknown config key " << Key;
  }
}

void printLeaves(const QVMtypedMessageTree& Node, const std::string& Path, std::string& Out) {
  if (Node.isNode()) {
    Out += Path + (Node.isNull() ? " null" : " = '" + std::string(Node.getAsStringValue().c_str()) + "'") + " (" +
           std::to_string(Node.dataPresent()) + ")\n";
    return;
  }
  for (unsigned Sub = 0; Sub < Node.countOfSubNode(); ++Sub)
    for (unsigned Repeat = 0; Repeat < Node.node(Sub, 0)->countOfRepeat(); ++Repeat)
      printLeaves(*Node.node(Sub, 0)->getRepeatedNode(Repeat),
                  Path + "." + std::to_string(Sub + 1) + (Repeat ? "R" + std::to_string(Repeat) : ""), Out);
}

std::string printedSegments(const QVMtypedMessageTree& List) {
  std::string Out;
  for (unsigned Index = 0; Index < List.countOfSubNode(); ++Index) {
    const QVMtypedMessageTree& Segment = *List.node(Index, 0);
    const std::string Name = Segment.getLabel().c_str();
    if (Segment.segmentGrammar() == nullptr) Out += Name + " (no grammar)\n";
    else printLeaves(Segment, Name, Out);
  }
  return Out;
}

class QVMlegacyParserData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVMlegacyParserData, Case) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  COLreferencePtr<QVMengineInternal> Engine = new QVMengineInternal;
  if (Case.has("definition")) {
    ASSERT_EQ(QVLloadEngine(*Engine, (MSGBRIDGE_SOURCE_DIR "/" + Case.argument("definition")).c_str()),
              QVLvmdTypeXml);
  }
  if (Case.has("config")) applyConfig(Engine->config(), Case.text("config"));
  QVPparseContext Context(Engine.get());
  std::string Outcome;
  try {
    Context.initParser();
    QVMrawParseMessage(Case.text("message"), Context.parser(), Context.escaper(), Context.rawSegmentList());
    if (Case.has("raw")) {
      EXPECT_EQ(printed(Context.rawSegmentList()), Case.text("raw"));
    }
    if (Case.has("verified")) {
      QVMuntypedMessageTree& Raw = Context.rawSegmentList();
      for (unsigned Index = 0; Index < Raw.countOfSubNode(); ++Index)
        QVMengineInternalAddSegmentGrammarAndVerify(*Engine, *Raw.node(Index, 0));
      EXPECT_EQ(printed(Raw), Case.text("verified"));
    }
    if (Case.has("processed")) {
      QVMuntypedMessageTree& Raw = Context.rawSegmentList();
      for (unsigned Index = 0; Index < Raw.countOfSubNode(); ++Index)
        QVMengineInternalProcessSegment(*Engine, *Raw.node(Index, 0), Context.pythonEnvironment());
      EXPECT_EQ(printed(Raw), Case.text("processed"));
    }
    if (Case.has("identify") || Case.has("typed")) {
      const unsigned Index = QVMengineInternalIdentifyMessage(*Engine, Context);
      if (Case.has("identify")) {
        EXPECT_EQ(std::string(Engine->message(Index)->name().c_str()) + "\n", Case.text("identify"));
      }
      if (Case.has("typed")) {
        const bool Strict = Case.argument("typed") == "strict";
        QVMengineInternalCheckSegments(*Engine, *Engine->message(Index), Context.parser(), Context.escaper(),
                                       Context.rawSegmentList(), Context.typedSegmentList(),
                                       Context.pythonEnvironment(), Strict, QVJuntypedTreeSegmentAsString,
                                       QVJcheckUntypedTreeSegment);
        EXPECT_EQ(printedSegments(Context.typedSegmentList()), Case.text("typed"));
      }
    }
  } catch (const COLerror& Error) {
    Outcome = reportOf(Error);
  }
  EXPECT_EQ(Outcome, Case.has("error") ? Case.text("error") : "");
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMlegacyParserData, ::testing::ValuesIn(TSTreadDataArea("QVM/legacy")),
                         TSTdataParamName);

}  // namespace
