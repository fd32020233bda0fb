// Legacy message checkers as data: every case of tests/data/QVM/checker/*.test loads a definition
// (`--- definition FILE`, from the repository's top), lays a message onto one of its messages and
// prints the structured tree, or "error 0xCODE: TEXT".  Sections:
//
//   message NAME     the message definition
//   grammar          replaces its grammar: a line per item, two blanks of indent per level; a
//                    segment name, or any other name for a group, then flags: ? optional,
//                    * repeating, ~ unordered, max=N
//   check MODE       tolerant, 2 or 3, and "lenient" for the definition's ignoreUnknownSegments;
//                    "missing" listens for missing required segments ("missing NAME" below the tree)
//   segments         the message: "|" between fields, one segment a line (fields are typed as text)
//   situational      "SEG requires PATH [raises|passes]": a situational rule on segment SEG makes
//                    the grammar at PATH (names joined by "/") required as SEG is typed; its
//                    on-error script raises or lets the missing grammar pass
//   watch            PATHs whose optional flag is printed after the run ("PATH optional=1")
//   fill             the definition's table is filled from the tree and printed (every cell is
//                    text, so a column of another type stays null)
// Below the tree (or the error), "skipped NAME at N" for each segment the definition knows that
// the checker left out, N counted from 1.
#include <gtest/gtest.h>

#include <optional>
#include <sstream>

#include "ANTengine.h"
#include "COLerror.h"
#include "COLostream.h"
#include "LAGenvironment.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMlegacyFill.h"
#include "QVMmessageChecker.h"
#include "QVMsegmentChecker.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMsegmentGrammar.h"
#include "QVMsegmentValidationRule.h"
#include "QVMtableInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SGCskippedSegments.h"

#include "../../support/TSTdataFile.h"
#include "../../support/TSTfile.h"

namespace {

std::vector<std::string> split(const std::string& Text, char Separator) {
  std::vector<std::string> Parts;
  std::string Part;
  std::istringstream In(Text);
  while (std::getline(In, Part, Separator)) Parts.push_back(Part);
  return Parts;
}

QVMmessageGrammar* grammarAt(QVMmessageGrammar* Grammar, const std::string& Path) {
  for (const std::string& Name : split(Path, '/')) {
    QVMmessageGrammar* Found = nullptr;
    for (size_t Index = 0; Index < Grammar->countOfSubGrammar() && !Found; ++Index)
      if (Grammar->subGrammar(Index)->grammarName().str() == Name) Found = Grammar->subGrammar(Index);
    if (!Found) throw COLerror("no grammar " + COLstring(Path), 0);
    Grammar = Found;
  }
  return Grammar;
}

class Runner : public SGCskippedSegments, public SGCmissingRequired {
public:
  explicit Runner(const TSTdataCase& Case) : Case(Case) {
    ANTloadEngine(TSTreadFile(std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Case.argument("definition")), Engine,
                  "definition.vmd");
    Message = Engine.message(Engine.messageByName(Case.argument("message")));
    if (Case.has("grammar")) replaceGrammar(Case.text("grammar"));
    if (Case.has("situational")) addSituationalRules(Case.text("situational"));
  }

  std::string run() {
    std::string Out;
    const std::string Mode = Case.argument("check");
    Message->setIgnoreUnknownSegments(Mode.find("lenient") != std::string::npos);
    Message->setIgnoreSegmentOrder(Mode.rfind("tolerant", 0) == 0);
    QVMuntypedMessageTree Raw;
    QVMtypedMessageTree Typed, Structured;
    makeRaw(Case.text("segments"), Raw);
    QVMmessageChecker3Hooks Hooks;
    Hooks.CheckSegment = [&](const QVMsegmentGrammar& Grammar, QVMuntypedMessageTree& Segment,
                             QVMtypedMessageTree& List) { typeSegment(&Grammar, Segment, List); };
    Hooks.RunRuleScript = [](const LANfunction& Code, const void*, QVMsegmentValidationRuleSituationalPython&) {
      if (Code.code().str().find("raise") != std::string::npos)
        throw COLerror("the on-error script raised", 0x80002006);
    };
    SGCskippedSegmentsScope Listening(*this);
    std::optional<SGCmissingRequiredScope> Missing;
    if (Mode.find("missing") != std::string::npos) Missing.emplace(*this);
    try {
      if (Mode[0] != '3')
        for (unsigned Index = 0; Index < Raw.countOfSubNode(); ++Index) typeSegment(nullptr, *Raw.node(Index, 0), Typed);
      QVMengineInternalValidateAndSortSegments(Mode[0] == '3' ? 1 : 0, *Message, Hooks, 0, Raw, Typed, Structured);
      printTree(Structured, *Message->messageGrammar(), "", Out);
      if (Case.has("fill")) Out += fill(Structured);
    } catch (const COLerror& Error) {
      char Code[16];
      std::snprintf(Code, sizeof Code, "%08X", Error.code());
      Out += "error 0x" + std::string(Code) + ": " + Error.description().str() + "\n";
    }
    Out += Skipped;
    if (Case.has("watch"))
      for (const std::string& Path : split(Case.text("watch"), '\n'))
        Out += Path + " optional=" + std::to_string(grammarAt(Message->messageGrammar(), Path)->isOptional()) + "\n";
    return Out;
  }

  void missingRequired(const COLstring&, const COLstring& Grammar, bool) override {
    Skipped += "missing " + Grammar.str() + "\n";
  }

  void skippedSegment(const COLstring&, const COLstring& Segment, unsigned Index) override {
    Skipped += "skipped " + Segment.str() + " at " + std::to_string(Index + 1) + "\n";
  }

private:
  void replaceGrammar(const std::string& Text) {
    QVMmessageGrammar* Root = Message->messageGrammar();
    while (Root->countOfSubGrammar() > 0) Root->remove(0);
    std::vector<QVMmessageGrammar*> Parents{Root};
    for (const std::string& Line : split(Text, '\n')) {
      const size_t Level = Line.find_first_not_of(' ') / 2;
      std::istringstream Words(Line);
      std::string Name;
      Words >> Name;
      Parents.resize(Level + 1);
      const uint32_t Segment = Engine.segmentByName(Name);
      QVMmessageGrammar* Item = Segment == QVMengineInternal::npos
                                    ? Parents.back()->insertGroup(Name)
                                    : Parents.back()->insertSegment(Engine.segment(Segment));
      for (std::string Flag; Words >> Flag;) {
        if (Flag.find('?') != std::string::npos) Item->setIsOptional(true);
        if (Flag.find('*') != std::string::npos) Item->setIsRepeating(true);
        if (Flag.find('~') != std::string::npos) Item->setIgnoreSegmentOrder(true);
        if (Flag.rfind("max=", 0) == 0) Item->setMaximumRepeat(std::stoul(Flag.substr(4)));
      }
      Parents.push_back(Item);
    }
  }

  void addSituationalRules(const std::string& Text) {
    for (const std::string& Line : split(Text, '\n')) {
      std::istringstream Words(Line);
      std::string Segment, Requires, Path, OnError;
      Words >> Segment >> Requires >> Path >> OnError;
      QVMsegmentGrammar* Grammar = Engine.segment(Engine.segmentByName(Segment));
      auto* Rule = static_cast<QVMsegmentValidationRuleSituationalPython*>(Grammar->addValidationRule(0, 4));
      Rule->setLanguageEngine(&Engine.LanguageEngine());
      Rule->setCodeOnError(OnError == "raises" ? "raise qvmexception" : "pass");
      Requirements.emplace_back(Rule, Path);
    }
  }

  void makeRaw(const std::string& Text, QVMuntypedMessageTree& Raw) {
    unsigned Index = 0;
    for (const std::string& Line : split(Text, '\n')) {
      const std::vector<std::string> Fields = split(Line, '|');
      for (unsigned Field = 0; Field < Fields.size(); ++Field)
        if (!Fields[Field].empty()) Raw.node(Index, 0)->node(Field, 0)->setStringValue(Fields[Field]);
      ++Index;
    }
  }

  // Typing as the parser does it, but every field as text; and the situational rules act.
  void typeSegment(const QVMsegmentGrammar* Grammar, QVMuntypedMessageTree& Raw, QVMtypedMessageTree& List) {
    const COLstring Name = Raw.node(0, 0)->getValue();
    for (size_t Index = 0; Grammar == nullptr && Index < Engine.countOfSegment(); ++Index)
      if (Engine.segment(Index)->name() == Name && QVMsegmentGrammarMatchSegment(*Engine.segment(Index), Raw))
        Grammar = Engine.segment(Index);
    QVMtypedMessageTree& Typed = *List.addNode();
    Typed.setLabel(Name);
    Typed.setSegmentGrammar(Grammar);
    for (unsigned Field = 1; Field < Raw.countOfSubNode(); ++Field) {
      if (Raw.node(Field, 0)->isNull()) continue;
      QVMtypedMessageTree& Value = *Typed.makeNodeUpTo(Field - 1, 0);
      Value.setStringValue(Raw.node(Field, 0)->getValue());
      Value.setDataPresent(QVMdataPresentConverted);
    }
    for (auto& [Rule, Path] : Requirements) {
      if (Rule->segmentGrammar() != Grammar || Rule->messageGrammarListener() == nullptr) continue;
      Rule->setLastSegment(&Typed);
      QVMmessageGrammar& Required = *grammarAt(Rule->messageGrammar(), Path);
      // What the script object's set_situationally_required does.
      if (Required.isOptional())
        static_cast<LAGmessageGrammarListener*>(Rule->messageGrammarListener())->onRequiredAffected(Required, Rule, true);
      Required.setIsOptional(false);
    }
  }

  void printTree(const QVMtypedMessageTree& Node, const QVMmessageGrammar& Grammar, const std::string& Indent,
                 std::string& Out) {
    for (unsigned Index = 0; Index < Node.countOfSubNode() && Index < Grammar.countOfSubGrammar(); ++Index) {
      const QVMmessageGrammar& Sub = *Grammar.subGrammar(Index);
      const QVMtypedMessageTree& First = *Node.node(Index, 0);
      for (unsigned Repeat = 0; Repeat < First.countOfRepeat(); ++Repeat) {
        const QVMtypedMessageTree& Occurrence = *First.getRepeatedNode(Repeat);
        if (!Occurrence.isPresent()) continue;
        Out += Indent + Sub.grammarName().str() + (Repeat > 0 ? "[" + std::to_string(Repeat) + "]" : "");
        if (Sub.isNode()) {
          const bool HasValue = Occurrence.countOfSubNode() > 0 && !Occurrence.node(0, 0)->isNull();
          Out += HasValue ? " " + Occurrence.node(0, 0)->getStringValue().str() + "\n" : "\n";
        } else {
          Out += "\n";
          printTree(Occurrence, Sub, Indent + "  ", Out);
        }
      }
    }
  }

  std::string fill(QVMtypedMessageTree& Structured) {
    QVMtableInternal Table;
    LAGenvironment Environment;
    QVMengineInternalFillTable(Engine, Table, Message->tableGrammar(), *Message->messageGrammar(), Structured,
                               nullptr, Environment);
    COLstring Text;
    COLostream Stream(Text);
    Stream << Table;
    Stream.flush();
    std::string Printed = Text.str();
    std::erase(Printed, '\r');
    return Printed;
  }

  const TSTdataCase& Case;
  QVMengineInternal Engine;
  QVMmessageDefinitionInternal* Message = nullptr;
  std::vector<std::pair<QVMsegmentValidationRuleSituationalPython*, std::string>> Requirements;
  std::string Skipped;
};

class QVMcheckerData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVMcheckerData, Structure) {
  Runner Checker(GetParam());
  EXPECT_EQ(Checker.run(), GetParam().text("expect")) << GetParam().where();
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMcheckerData, ::testing::ValuesIn(TSTreadDataArea("QVM/checker")), TSTdataParamName);

}  // namespace
