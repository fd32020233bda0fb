// The message road on the cases of tests/data/QVJ: a definition and a message in, the table XML
// or the error out; table XML in, the message generated from it or the error out.
//
// Sections of a case:
//   definition PATH        the definition, relative to the repository (a fresh engine per case)
//   dialect NAME           the XML dialect, in place of the definition's own
//   options                words: "lenient" (no content checks), "trailing-separators",
//                          "segment-line-feed", "no-xml-validation", "no-xml-escapes",
//                          "xmlns=NAMESPACE" (the namespace tree XML names)
//   script:in-post, script:out-main, script:out-post
//                          the inbound post-process, outbound main and outbound post-process code
//   column:TABLE.COLUMN    the column's outgoing equation
//   column-in:TABLE.COLUMN the column's incoming equation
//   field:SEGMENT.N        the outgoing equation of field N (from 1) of the segment
//   rule:SEGMENT.N, rule-on-error:SEGMENT.N
//                          the code of the script rule on field N, the on-error code of a
//                          situational one
//   message [options]      the message to parse
//   xml [legacy]           with a message: its table XML (long tags with "legacy"); without one:
//                          the table XML to generate from
//   back                   the message generated from the tables of the message or XML
//   fromxml                with a message: what the XML written for it reads back as
//   error [CODE]           the short text of the error the road raised (and its code)
//   error-start, error-has the full error text starts with this / holds every line of this
//   next-message, next-xml a message parsed afterwards on the same engine, whatever became of
//                          the first, and its table XML (long tags with "legacy")
//   next-back              the message generated from the tables of the next message
//   next-config            edits of the configuration made between the two messages, a line
//                          each: "escape-code LEVEL C" (the code letter of the level's delimiter),
//                          "field-in SEGMENT.N CODE" (field N's incoming equation, one line),
//                          "rename-composite NAME NEW" (the composite's name)
//                          "insert MESSAGE GROUP INDEX SEGMENT" (an optional SEGMENT put in at
//                          INDEX of the message grammar's group of that name),
//                          "map TABLE COLUMN NODE..." (the column reads that address in every
//                          map set of the table, repeat 0 at each step)
// Line ends of XML and error texts are compared as "\n".
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "COLerror.h"
#include "LANfunction.h"
#include "QVJparse.h"
#include "QVJdataSupport.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMsegmentValidationRule.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableInternal.h"
#include "QVPgenerateMessage.h"

#include "../support/TSTdataFile.h"

namespace {

LANfunction& scriptOf(QVMengineInternal& Schema, const std::string& Key) {
  const std::string Name = Key.substr(Key.find(':') + 1);
  if (Key == "script:in-post") return Schema.config().postProcessFunction();
  if (Key == "script:out-main") return Schema.config().outgoingMainFunction();
  if (Key == "script:out-post") return Schema.config().outgoingPostProcessFunction();
  const size_t Dot = Name.find('.');
  if (Key.rfind("column:", 0) == 0 || Key.rfind("column-in:", 0) == 0) {
    QVMtableDefinitionInternal& Table = *Schema.table(Schema.tableByName(Name.substr(0, Dot)));
    const uint32_t Column = Table.columnIndex(Name.substr(Dot + 1));
    return Key[6] == ':' ? Table.outgoingFunction(Column) : Table.incomingFunction(Column);
  }
  QVMsegmentGrammar& Segment = *Schema.segment(Schema.segmentByName(Name.substr(0, Dot)));
  const uint32_t Field = std::stoul(Name.substr(Dot + 1)) - 1;
  if (Key.rfind("field:", 0) == 0) return Segment.fieldOutgoingFunction(Field);
  for (uint32_t Index = 0; Index < Segment.countOfValidationRules(Field); ++Index) {
    QVMsegmentValidationRule& Rule = *Segment.getValidationRule(Field, Index);
    if (Rule.classId() == QVMpythonRule) return static_cast<QVMsegmentValidationRulePython&>(Rule).pythonFunction();
    if (Rule.classId() != QVMsituationalPythonRule) continue;
    auto& Situational = static_cast<QVMsegmentValidationRuleSituationalPython&>(Rule);
    return Key.rfind("rule-on-error:", 0) == 0 ? Situational.pythonCodeOnError() : Situational.pythonCode();
  }
  throw COLerror("no script rule on " + Name, 0);
}

QVMmessageGrammar* findGroup(QVMmessageGrammar* Node, const std::string& Name) {
  if (!Node->isNode() && std::string(Node->grammarName()) == Name) return Node;
  for (size_t Index = 0; Index < Node->countOfSubGrammar(); ++Index)
    if (QVMmessageGrammar* Found = findGroup(Node->subGrammar(Index), Name)) return Found;
  return nullptr;
}

void editConfig(QVMengineInternal& Schema, const std::string& Lines) {
  QVMconfig& Config = Schema.config();
  std::istringstream In(Lines);
  for (std::string Line; std::getline(In, Line);) {
    std::istringstream Words(Line);
    std::string Key, Value;
    Words >> Key;
    if (Key == "escape-code") {
      unsigned Level = 0;
      Words >> Level >> Value;
      Config.sepCharInfo(Level).setSepCharEscape(Value.at(0));
    } else if (Key == "field-in") {
      std::string Code;
      Words >> Value >> std::ws;
      std::getline(Words, Code);
      QVMsegmentGrammar& Segment = *Schema.segment(Schema.segmentByName(Value.substr(0, Value.find('.'))));
      LANfunction& Function = Segment.fieldIncomingFunction(std::stoul(Value.substr(Value.find('.') + 1)) - 1);
      Function.setEngine(&Schema.LanguageEngine());
      Function.setCode((Code + "\n").c_str());
    } else if (Key == "rename-composite") {
      std::string Name;
      Words >> Value >> Name;
      Schema.composite(Schema.compositeByName(Value.c_str()))->setName(Name.c_str());
    } else if (Key == "insert") {
      std::string Message, Group, Segment;
      size_t Index = 0;
      Words >> Message >> Group >> Index >> Segment;
      QVMmessageGrammar* Found = findGroup(Schema.message(Schema.messageByName(Message.c_str()))->messageGrammar(),
                                           Group);
      ASSERT_NE(Found, nullptr) << "no group " << Group;
      Found->insertSegment(Schema.segment(Schema.segmentByName(Segment.c_str())), Index)->setIsOptional(true);
    } else if (Key == "map") {
      std::string Table, Column;
      Words >> Table >> Column;
      QVMmessageNodeAddress Address;
      uint32_t Step = 0;
      for (uint32_t Node; Words >> Node; ++Step) Address.setNodeAndRepeatIndex(Step, Node, 0);
      QVMtableDefinitionInternal& Definition = *Schema.table(Schema.tableByName(Table.c_str()));
      const uint32_t At = Definition.columnIndex(Column.c_str());
      for (size_t Set = 0; Set < Definition.countOfMapSet(); ++Set)
        Definition.mapSet(Set)->map(At).setNodeAddress(Address);
    } else {
      ADD_FAILURE() << "unknown configuration edit " << Key;
    }
  }
}

class QVJdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVJdata, Road) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  COLreferencePtr<QVFengine> Engine = QVJcaseEngine(Case);
  QVMengineInternal& Schema = Engine->schema();
  if (Case.has("dialect")) Schema.config().setXmlTranslationType(Case.argument("dialect").c_str());
  std::istringstream Options(Case.has("options") ? Case.text("options") : "");
  for (std::string Word; Options >> Word;) {
    if (Word == "lenient") Schema.setRejectBadSegmentGrammar(false);
    else if (Word == "trailing-separators") Schema.config().setOutputTrailingSeparators(true);
    else if (Word == "segment-line-feed") Schema.config().setOutputSegmentLineFeed(true);
    else if (Word == "no-xml-validation") Schema.config().setValidateDataForXmlToHL7(false);
    else if (Word == "no-xml-escapes") Schema.config().setEscapeDataForXmlToHL7(false);
    else if (Word.rfind("xmlns=", 0) == 0) Schema.config().xmlSchemaProperties().xmlNamespace = Word.substr(6).c_str();
    else ADD_FAILURE() << "unknown option " << Word;
  }
  for (const auto& [Key, Section] : Case.Sections)
    if (Key.find(':') != std::string::npos) scriptOf(Schema, Key).setCode(Section.Text.c_str());

  QVJparseContext& Context = Engine->parseContext();
  std::string Written;
  const auto toXml = [&](const std::string& Message, const std::string& Form) {
    Written = Form == "legacy" ? QVJhl7ToXmlLegacyTableFormat(Context, Message.c_str())
                               : QVJhl7ToXml(Context, Message.c_str());
    return QVJlineFeeds(Written);
  };
  [&] {
    std::string Xml, Back, FromXml;
    try {
      if (Case.has("message")) {
        const std::string Message = Case.text("message");
        if (Case.has("xml")) Xml = toXml(Message, Case.argument("xml"));
        if (Case.has("fromxml")) FromXml = QVJxmlToHl7(Context, Written.c_str());
        // A tree dialect's message goes no further than its XML.
        if (!Case.has("dialect")) {
          QVMtableInternal Table;
          unsigned Index = 0;
          QVJengineInternalParseMessage(Context, Message.c_str(), Index, Table);
          if (Case.has("back") || !Case.has("xml")) Back = QVPgenerateMessage(Context.qvpParseContext(), Index, Table);
        }
      } else {
        Back = QVJxmlToHl7(Context, Case.text("xml").c_str());
      }
    } catch (const COLerror& Error) {
      ASSERT_TRUE(Case.has("error") || Case.has("error-start") || Case.has("error-has"))
          << "unexpected error: " << Error.description().str();
      const std::string Full = QVJlineFeeds(Error.description().str());
      if (Case.has("error")) {
        COLerror Copy(Error);
        EXPECT_EQ(Copy.hasParameter("PlainError") ? Copy.parameter("PlainError").str() : Full,
                  QVJchomped(Case.text("error")));
        if (!Case.argument("error").empty()) {
          EXPECT_EQ(Error.code(), std::stoul(Case.argument("error"), nullptr, 16));
        }
      }
      if (Case.has("error-start")) {
        EXPECT_EQ(Full.rfind(QVJchomped(Case.text("error-start")), 0), 0u) << Full;
      }
      std::istringstream Parts(Case.has("error-has") ? Case.text("error-has") : "");
      for (std::string Part; std::getline(Parts, Part);) EXPECT_NE(Full.find(Part), std::string::npos) << Part << "\n" << Full;
      return;
    }
    EXPECT_FALSE(Case.has("error") || Case.has("error-start") || Case.has("error-has")) << "no error raised";
    if (Case.has("message") && Case.has("xml")) {
      EXPECT_EQ(Xml, Case.text("xml"));
    }
    if (Case.has("back")) {
      EXPECT_EQ(Back, Case.text("back"));
    }
    if (Case.has("fromxml")) {
      EXPECT_EQ(FromXml, Case.text("fromxml"));
    }
    // Tree XML ends every line in CR LF, the last one too.
    if (Case.has("dialect") && !Written.empty()) {
      EXPECT_EQ(Written.size() - Xml.size(), static_cast<size_t>(std::count(Xml.begin(), Xml.end(), '\n')));
      EXPECT_EQ(Written.substr(Written.size() - 2), "\r\n");
    }
  }();
  // Whatever the first message did to the engine must not reach the next.
  if (Case.has("next-message")) {
    if (Case.has("next-config")) editConfig(Schema, Case.text("next-config"));
    try {
      if (Case.has("next-xml")) {
        EXPECT_EQ(toXml(Case.text("next-message"), Case.argument("next-xml")), Case.text("next-xml"));
      }
      if (Case.has("next-back")) {
        QVMtableInternal Table;
        unsigned Index = 0;
        QVJengineInternalParseMessage(Context, Case.text("next-message").c_str(), Index, Table);
        EXPECT_EQ(std::string(QVPgenerateMessage(Context.qvpParseContext(), Index, Table)), Case.text("next-back"));
      }
    } catch (const COLerror& Error) {
      ADD_FAILURE() << "the next message failed: " << Error.description().str();
    }
  }
}

// The replies of tests/data/QVJ/reply have a runner of their own.
std::vector<TSTdataCase> QVJroadCases() {
  std::vector<TSTdataCase> Cases = TSTreadDataArea("QVJ");
  std::erase_if(Cases, [](const TSTdataCase& Case) { return Case.File.rfind("QVJ/reply/", 0) == 0; });
  return Cases;
}

INSTANTIATE_TEST_SUITE_P(Cases, QVJdata, ::testing::ValuesIn(QVJroadCases()), TSTdataParamName);

}  // namespace
