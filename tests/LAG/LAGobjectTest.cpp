// The objects scripts reach beyond their value: the table a message fills or is generated from,
// date-times by the definition's own grammars, and the grammar tree a situational rule walks.
// Scripts run as the example definition runs them; each fault is checked by its exact text.
#include "LANpython.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LAGadmission.h"
#include "LAGexecute.h"
#include "LAGquovane.h"
#include "LANfunction.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMtableInternal.h"
#include "QVPgenerateMessage.h"

namespace {

class LAGobjectTest : public ::testing::Test {
protected:
  LAGobjectTest() { QVLloadEngine(Engine->schema(), MSGBRIDGE_SOURCE_DIR "/examples/scripted.vmd"); }

  QVMconfig& config() { return Engine->schema().config(); }
  QVJparseContext& context() { return Engine->parseContext(); }

  // Parses an admission with `code` as the inbound post-process script: "" or the error.
  std::string postProcess(const char* code, const std::string& Name = "okafor") {
    config().postProcessFunction().setCode(code);
    try {
      QVJengineInternalParseMessage(context(), COLstring(LAGadmission(Name)), Index, Table);
    } catch (const COLerror& Error) {
      return Error.description().str();
    }
    return "";
  }

  std::string cell(const char* SubTable, const char* Column) {
    QVMtableInternal& Sub = Table.subTable(0, Table.subTableNameToIndex(SubTable));
    return Sub.getStringValue(Sub.columnIndex(Column), 0).str();
  }

  COLreferencePtr<QVFengine> Engine = new QVFengine;
  QVMtableInternal Table;
  unsigned Index = 0;
};

#define EXPECT_CONTAINS(Text, Part) EXPECT_NE(std::string(Text).find(Part), std::string::npos) << (Text)

TEST_F(LAGobjectTest, PostProcessReadsAndWritesTheFilledTable) {
  ASSERT_EQ(postProcess("t = environment.output_table()\n"
                        "p = t.sub_table('Patient')\n"
                        "v = t.sub_table('Visit', 0)\n"
                        "assert (t.is_node(), p.is_node(), t.count_of_row(), p.count_of_row()) == (0, 1, 1, 1)\n"
                        "assert p.table_definition().column_name(1) == 'MRN'\n"
                        "p.set_column('City', 0, p.column('FamilyName', 0) + '/' + v.column('PatientClass', 0))\n"),
            "");
  // The table equation and the field equation ran before the script saw the table.
  EXPECT_EQ(cell("Patient", "City"), "OKAFOR/Inpatient");

  // A new row is there for the host to read.
  ASSERT_EQ(postProcess("p = environment.output_table().sub_table('Patient')\n"
                        "r = p.add_row()\n"
                        "p.set_column('MRN', r, 'second')\n"),
            "");
  QVMtableInternal& Patient = Table.subTable(0, Table.subTableNameToIndex("Patient"));
  ASSERT_EQ(Patient.countOfRow(), 2u);
  EXPECT_EQ(Patient.getStringValue(Patient.columnIndex("MRN"), 1), "second");
}

TEST_F(LAGobjectTest, TableIteratorFaultsAreNamed) {
  const char* Prefix = "t = environment.output_table()\np = t.sub_table('Patient')\n";
  auto fault = [&](const char* Line) { return postProcess((std::string(Prefix) + Line).c_str()); };
  EXPECT_CONTAINS(fault("t.sub_table('Nobody')"), "RuntimeError: Cannot find Nobody in table grammar.");
  EXPECT_CONTAINS(fault("p.sub_table('Visit')"),
                  "Failed precondition: !self->pResultTable->tableGrammar()->isNode()");
  EXPECT_CONTAINS(fault("p.column('Colour', 0)"), "RuntimeError: Cannot find the column Colour in the table.");
  EXPECT_CONTAINS(fault("p.set_column('Colour', 0, 'red')"), "Cannot find the column Colour in the table.");
  EXPECT_CONTAINS(fault("t.column('MRN', 0)"), "Failed precondition: self->pResultTable->isNode()");
  EXPECT_CONTAINS(fault("p.column('MRN', -1)"), "Row Index (second argument) was -1");
  EXPECT_CONTAINS(fault("p.column('MRN', 5)"), "RuntimeError: Boundary error accessing row index of '5 of column MRN of Patient.");

  // An iterator kept past its call refuses to touch a table that may be gone.
  ASSERT_EQ(postProcess("import builtins\nbuiltins.kept = environment.output_table()\n"), "");
  EXPECT_CONTAINS(postProcess("kept.count_of_row()"), "only available during the script call");
  // Where no table is being filled or generated there is none to see.
  config().postProcessFunction().setCode("environment.output_table()\n");
  try {
    QVJenginePostProcessMessage(context(), COLstring(LAGadmission("okafor")));
    FAIL() << "a post-process without a table got one";
  } catch (const COLerror& Error) {
    EXPECT_CONTAINS(Error.description().str(), "RuntimeError: Table iterator is not available in this context.");
  }
}

TEST_F(LAGobjectTest, OutboundScriptsSeeTheTableTheMessageComesFrom) {
  ASSERT_EQ(postProcess(""), "");
  config().outgoingPostProcessFunction().setCode(
      "p = environment.output_table().sub_table('Patient')\n"
      "value = value + 'ZZZ|' + p.column('FamilyName', 0) + '\\r'\n");
  const std::string Message = QVPgenerateMessage(context().qvpParseContext(), Index, Table);
  EXPECT_EQ(Message.substr(Message.size() - 11), "ZZZ|OKAFOR\r") << Message;
}

TEST_F(LAGobjectTest, DateTimesGoByTheNamedGrammar) {
  // 1960-01-01 is day 21916 of the engine's date-time count; noon is half a day.
  ASSERT_EQ(postProcess("d = environment.date_time_to_double('19600101120000', 'DTM')\n"
                        "assert d == 21916.5, d\n"
                        "assert environment.double_to_date_time(d, 'DTM').startswith('19600101120000'), "
                        "environment.double_to_date_time(d, 'DTM')\n"
                        "assert environment.double_to_date_time(21916, 'DTM').startswith('19600101')\n"
                        "assert environment.format_date_time(d, '%Y-%m-%d %H:%M') == '1960-01-01 12:00'\n"),
            "");
  EXPECT_CONTAINS(postProcess("environment.date_time_to_double('1960', 'ISO')"),
                  "RuntimeError: No DateTime Grammar by name ISO");
  EXPECT_CONTAINS(postProcess("environment.double_to_date_time(1.0, 'ISO')"),
                  "RuntimeError: No DateTime Grammar by name ISO");
  EXPECT_CONTAINS(postProcess("environment.date_time_to_double(1960, 'DTM')"),
                  "RuntimeError: Invalid arguments for date_time_to_double - "
                  "date_time_to_double(value,DateTimeGrammarName)");
  EXPECT_CONTAINS(postProcess("environment.double_to_date_time('1960', 'DTM')"),
                  "RuntimeError: Invalid arguments for double_to_date_time - "
                  "double_to_date_time(DoubleValue,DateTimeGrammarName)");
  EXPECT_CONTAINS(postProcess("environment.format_date_time(1.0)"),
                  "RuntimeError: Invalid arguments for format_date_time - "
                  "format_date_time(DoubleValue, FormatString)");
  EXPECT_CONTAINS(postProcess("environment.date_time_to_double('19601301', 'DTM')"),
                  "'19601301' is not a date-time by the DateTime Grammar DTM");
}

// --- the grammar tree of a situational rule

struct RecordingListener : LAGmessageGrammarListener {
  void onRequiredAffected(QVMmessageGrammar& Grammar, const QVMsegmentValidationRule*, bool Required) override {
    Heard.push_back(Grammar.grammarName().str() + (Required ? " required" : " optional"));
  }
  std::vector<std::string> Heard;
};

// Runs `code` with message_grammar_iterator bound on the first message of the definition, as
// the situational rule will bind it: "" or the error.
std::string runOnGrammar(QVMengineInternal& Schema, const char* Code, LAGmessageGrammarListener* Listener) {
  LAGenvironment Environment;
  Environment.setEngine(&Schema);
  LANfunction Function(&Schema.LanguageEngine());
  Function.setCode(Code);
  LANengineSwap Swap(Schema.LanguageEngine());
  PyObject* Locals = Schema.LanguageEngine().localDictionary();
  LANobjectPtr Iterator = LAGnewMessageGrammarIteratorObject(Schema.message(0)->messageGrammar(), Listener, nullptr);
  EXPECT_EQ(PyDict_SetItemString(Locals, "message_grammar_iterator", Iterator), 0);
  std::string Result;
  try {
    LAGexecuteScript(Function, LAGglobalInbound, Environment);
  } catch (const COLerror& Error) {
    Result = Error.description().str();
  }
  PyDict_DelItemString(Locals, "message_grammar_iterator");
  return Result;
}

TEST_F(LAGobjectTest, GrammarIteratorWalksTheTreeAndMakesGrammarsRequired) {
  QVMengineInternal& Schema = Engine->schema();
  RecordingListener Listener;
  QVMmessageGrammar& Root = *Schema.message(0)->messageGrammar();
  ASSERT_EQ(Root.subGrammar(3)->grammarName(), "NK1");
  ASSERT_TRUE(Root.subGrammar(3)->isOptional());
  EXPECT_EQ(runOnGrammar(Schema,
                         "it = message_grammar_iterator\n"
                         "assert (it.is_node(), it.count_of_subgrammar()) == (0, 6)\n"
                         "it.move_to_subgrammar('PV1')\n"
                         "assert it.is_node() == 1 and it.message_grammar().name() == 'PV1'\n"
                         "assert it.move_to_parentgrammar() == 1 and it.move_to_parentgrammar() == 0\n"
                         "it.move_to_subgrammar(3)\n"
                         "g = it.message_grammar()\n"
                         "g.set_situationally_required()\n"
                         "g.set_situationally_required()\n"
                         "it.reset()\n"
                         "assert it.message_grammar().name() == 'Message'\n"
                         "def fails(argument, text):\n"
                         "    try:\n"
                         "        it.move_to_subgrammar(argument)\n"
                         "    except RuntimeError as error:\n"
                         "        assert str(error) == text, str(error)\n"
                         "    else:\n"
                         "        raise AssertionError('moved to ' + repr(argument))\n"
                         "fails('ZZZ', 'Sub Grammar name (ZZZ) is not in the current message grammar Message')\n"
                         "fails(6, 'Argument (6) to move_to_subgrammar is out of range')\n"
                         "fails(-1, 'Argument (-1) to move_to_subgrammar is out of range')\n"
                         "fails(1.5, 'Argument to move_to_subgrammar is neither a string nor integer')\n"
                         "it.move_to_subgrammar('MSH')\n"
                         "fails('EVN', 'Current grammar (MSH) is a node.')\n",
                         &Listener),
            "");
  // Told once, when the grammar really changed.
  EXPECT_EQ(Listener.Heard, std::vector<std::string>{"NK1 required"});
  EXPECT_FALSE(Root.subGrammar(3)->isOptional());
  // Without a listener the grammar still changes.
  EXPECT_EQ(runOnGrammar(Schema, "message_grammar_iterator.move_to_subgrammar('OBX')\n"
                                 "message_grammar_iterator.message_grammar().set_situationally_required()\n",
                         nullptr),
            "");
  EXPECT_FALSE(Root.subGrammar(5)->isOptional());
}

}  // namespace
