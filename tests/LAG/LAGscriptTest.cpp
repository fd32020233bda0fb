// Scripts with their bindings: values in and out (bytes above 127 included), the field and
// table objects that equations change, the module functions, and the faults of scripts, after
// which the engine takes the next script as if nothing happened.
#include <gtest/gtest.h>

#include <vector>

#include "../support/TSTraised.h"
#include "../support/TSTtableDefinition.h"
#include "LAGexecute.h"
#include "LANengine.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "QVMuntypedMessageTree.h"
#include "SGCmap.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"
#include "SGPparser.h"

namespace {

class LAGscriptTest : public ::testing::Test {
protected:
  LAGscriptTest() { Environment.setEngine(&Engine); }

  // The text a string script leaves, or the error it raised as "error: <description>".
  std::string runString(const char* code, std::string value, bool disableNone = true) {
    LANfunction Function(&Engine.LanguageEngine());
    Function.setCode(code);
    COLstring Text(value);
    bool IsNone = false;
    try {
      LAGexecuteScriptWithStringValue(Function, Text, disableNone, IsNone, LAGglobalInbound, Environment);
    } catch (const COLerror& Error) {
      return "error: " + Error.description().str();
    }
    return Text.str();
  }

  // Whether the string script `code` fails with `text` in its error.
  ::testing::AssertionResult fails(const char* code, const char* text) {
    const std::string Result = runString(code, "");
    if (Result.rfind("error: ", 0) == 0 && Result.find(text) != std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "no error '" << text << "' but: " << Result;
  }

  QVMengineInternal Engine;
  LAGenvironment Environment;
};

TEST_F(LAGscriptTest, StringValuesKeepEveryByte) {
  EXPECT_EQ(runString("value = value + '!'", "abc"), "abc!");
  EXPECT_EQ(runString("value = value[::-1] + chr(0xA0)", "\x80\xE9\xFF"), "\xFF\xE9\x80\xA0");
  EXPECT_EQ(runString("value = str(len(value))", std::string("a\0b", 3)), "3");
  // A character the message can't carry is a conversion error, not a silent change.
  EXPECT_TRUE(fails("value = chr(0x20AC)", "TypeError"));
}

TEST_F(LAGscriptTest, NoneFollowsTheDisableFlag) {
  LANfunction Function(&Engine.LanguageEngine());
  COLstring Text("kept");
  bool IsNone = true;
  Function.setCode("seen = value is None\n");
  LAGexecuteScriptWithStringValue(Function, Text, false, IsNone, LAGglobalInbound, Environment);
  EXPECT_TRUE(IsNone);
  EXPECT_EQ(Text, COLstring("kept"));
  Function.setCode("value = 'none' if value is None else 'some'\n");
  LAGexecuteScriptWithStringValue(Function, Text, false, IsNone, LAGglobalInbound, Environment);
  EXPECT_FALSE(IsNone);
  EXPECT_EQ(Text, COLstring("none"));
  EXPECT_TRUE(fails("value = None", "TypeError"));

  long Number = 21;
  IsNone = false;
  Function.setCode("value = value * 2\n");
  LAGexecuteScriptWithLongValue(Function, Number, true, IsNone, LAGtableEquation, Environment);
  EXPECT_EQ(Number, 42);
  double Real = 1.25;
  LAGexecuteScriptWithDoubleValue(Function, Real, true, IsNone, LAGtableEquation, Environment);
  EXPECT_DOUBLE_EQ(Real, 2.5);
  Function.setCode("value = 'text'\n");
  EXPECT_THROW(LAGexecuteScriptWithLongValue(Function, Number, true, IsNone, LAGtableEquation, Environment), COLerror);
  EXPECT_EQ(Number, 42);
}

TEST_F(LAGscriptTest, BindingsEndWithTheCallAndFaultsCarryTheTraceback) {
  EXPECT_EQ(runString("counter = 1\nvalue = 'a'", "x"), "a");
  // Globals a script made stay for the next; the value of the last call does not.
  EXPECT_EQ(runString("value = str(counter) + value", "b"), "1b");
  const std::string Fault = runString("def check():\n    raise ValueError('bad ' + value)\ncheck()\n", "v");
  EXPECT_EQ(Fault.rfind("error: Traceback", 0), 0u) << Fault;
  EXPECT_NE(Fault.find("ValueError: bad v"), std::string::npos) << Fault;
  EXPECT_NE(Fault.find("line 2"), std::string::npos) << Fault;
  EXPECT_EQ(runString("value = str('field' in globals()) + str('table' in globals())", "x"), "FalseFalse");
  // An environment kept past its call refuses to work instead of reaching a stale parse.
  EXPECT_EQ(runString("import builtins\nbuiltins.kept = environment\n", "x"), "x");
  EXPECT_TRUE(fails("value = str(count_of_segment(kept))", "only available during the script call"));
  EXPECT_EQ(runString("value = str(count_of_segment(environment))", "x"), "0");
}

TEST_F(LAGscriptTest, ModuleFunctionsByPlainName) {
  Environment.resetCountOfSegmentInMessage(4);
  EXPECT_EQ(runString("value = '|'.join([strip_non_numeric_chars('(555) 01-13'), strip_leading_chars('00120', '0'),"
                      " strip_trailing_chars('00120', '0'), strip_chars('a-b-c', '-'), convert_linefeeds('a\\rb'),"
                      " separator_char(environment, 2), repeat_char(environment), escape_char(environment),"
                      " str(count_of_segment(environment)), str(log('line'))])",
                      ""),
            "5550113|120|0012|abc|a\r\nb|^|~|\\|4|1");
  EXPECT_TRUE(fails("separator_char(environment, 9)", "Range index error. CharIndex (2nd Argument) was 9"));
  EXPECT_TRUE(fails("subfield(environment, 1, 0)", "subfield can only be invoked in the context of a segment equation"));
  EXPECT_TRUE(fails("environment.get_database('ODBC', 'db', 'u', 'p')", "no database back end is built"));
  EXPECT_TRUE(fails("strip_chars(1, '-')", "Bad arguments for calling 'strip_chars'"));
  runString("set_separator_char(environment, 2, '#')", "");
  EXPECT_EQ(Engine.config().sepCharInfo(2).sepCharDefault(), '#');
}

TEST_F(LAGscriptTest, ReservedNamesCannotBeSetFromTheHost) {
  EXPECT_EQ(TSTraised([&] { LAGsetKeyValuePair(Engine.LanguageEngine(), "segment", "x"); }),
            COLerror("segment is a reserved variable in the global python context ", 0x80000500u));
  LAGsetKeyValuePair(Engine.LanguageEngine(), "table", "from host");
  EXPECT_EQ(runString("value = table", ""), "from host");
}

TEST_F(LAGscriptTest, SegmentIteratorWalksRawSegmentsOnce) {
  EXPECT_TRUE(fails("environment.input_segment_iterator()", "works on a list of raw segments"));
  QVMuntypedMessageTree List;
  const std::vector<std::vector<const char*>> Segments = {
      {"MSH", "|", "^~\\&", "APP"}, {"PID", "1", "X\xE9"}, {"OBX", "1"}, {"OBX", "2"}};
  List.setCountOfSubNode(static_cast<unsigned>(Segments.size()));
  for (unsigned At = 0; At < Segments.size(); ++At) {
    QVMuntypedMessageTree& Segment = *List.node(At, 0);
    Segment.setCountOfSubNode(static_cast<unsigned>(Segments[At].size()));
    for (unsigned Field = 0; Field < Segments[At].size(); ++Field)
      Segment.node(Field, 0)->setStringValue(Segments[At][Field]);
  }
  Environment.setSegmentList(&List);
  Engine.config().setCountOfHeaderFieldsToSkip(3);
  EXPECT_EQ(runString("it = environment.input_segment_iterator()\n"
                      "seen = [it.segment_id()]\n"
                      "while it.move_next('OBX'):\n"
                      "    seen.append(str(it))\n"
                      "try:\n"
                      "    it.segment_id()\n"
                      "except RuntimeError as error:\n"
                      "    seen.append(str(error))\n"
                      "it.reset()\n"
                      "it.move_one()\n"
                      "seen += [it.segment_id(), str(it.count_of_field()), it.output()]\n"
                      "it.reset()\n"
                      "seen.append(it.output())\n"
                      "value = '/'.join(seen)\n",
                      ""),
            // The configuration keeps trailing separators; the header's fixed part comes from it.
            "MSH/OBX|1|/OBX|2|/Invalid iterator must be reset before being used/PID/3/PID|1|X\xE9|\r/MSH|^~\\&|APP|\r");
  EXPECT_TRUE(fails("it = environment.input_segment_iterator()\nit.move_one()\nit.move_one()\n"
                    "assert it.move_one() == 1 and it.move_one() == 0\nit.move_one()",
                    "Invalid iterator must be reset before being used"));
  Environment.setSegmentList(nullptr);
}

// --- field equations on a tokenised segment

class LAGfieldTest : public LAGscriptTest {
protected:
  // Runs `code` as the equation of field `field` of segment 1 of the message.
  std::string run(const char* code, unsigned field = 2) {
    LANfunction Function(&Engine.LanguageEngine());
    Function.setCode(code);
    try {
      LAGexecuteFieldEquation(Function, *Pool, List->segment(1), field, Environment);
    } catch (const COLerror& Error) {
      return Error.description().str();
    }
    return "";
  }

  void parse(const std::string& text) {
    Text = text;
    ASSERT_EQ(Parser.parse(Text.data(), Text.size(), *List, Separators, SGPparserOptions()), SGPparsed);
  }

  std::string value(unsigned field, unsigned repeat, unsigned sub = 0, unsigned subsub = 0) {
    const SGMfield& Field = List->segment(1).field(field, repeat);
    if (sub >= Field.countOfSubField() || subsub >= Field.countOfSubSubField(sub)) return "<none>";
    return std::string(Field.value(sub, subsub).view());
  }

  std::string Text;
  COLreferencePtr<SGMsegmentList> List = new SGMsegmentList;
  COLreferencePtr<SGMstringPool> Pool = new SGMstringPool;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
};

TEST_F(LAGfieldTest, ReadsRepeatsSubFieldsAndBytes) {
  parse("MSH|^~\\&|A\rPID|1||X\xE9~Y^Z&W\r");
  EXPECT_EQ(run("assert value == 'X\\xe9' and field.value == value and str(field) == value\n"
                "assert field.count_of_repeat() == 2 and count_of_repeat(environment) == 2\n"
                "second = field.repeat_field(1)\n"
                "assert second.value == 'Y' and second.subfield(1).value == 'Z'\n"
                "assert second.subfield(1, 1).value == 'W' and second.subfield(1).subfield(1).value == 'W'\n"
                "assert field.count_of_subfield(1) == 2 and second.subfield(1).count_of_subfield() == 2\n"
                "assert subfield(environment, 1, 1) == 'Z' and subfield(environment, 0, 5) == ''\n"
                "assert field.subfield(7).value == '' and field.subfield(7).is_null() == 1\n"
                "assert field.is_null() == 0 and field.repeat_field(4).value == ''\n"
                "assert field.sub is field\n"),
            "");
  // Reading past the end made nothing.
  EXPECT_EQ(List->segment(1).countOfFieldRepeat(2), 2u);
  EXPECT_EQ(List->segment(1).field(2, 0).countOfSubField(), 1u);
}

TEST_F(LAGfieldTest, WritesGrowTheFieldAndTheValueVariableWins) {
  parse("MSH|^~\\&|A\rPID|1||X~Y^Z\r");
  EXPECT_EQ(run("field.repeat_field(2).value = 'R3'\n"
                "field.subfield(2).value = 'C'\n"
                "field.repeat_field(1).subfield(1, 2).value = 'S\\xff'\n"
                "setsubfield(environment, 1, 1, 'set')\n"
                "value = 'first'\n"),
            "");
  EXPECT_EQ(List->segment(1).countOfFieldRepeat(2), 3u);
  EXPECT_EQ(value(2, 0), "first");
  EXPECT_EQ(value(2, 0, 2), "C");
  EXPECT_EQ(value(2, 1, 1), "set");
  EXPECT_EQ(value(2, 1, 1, 2), "S\xFF");
  EXPECT_EQ(value(2, 2), "R3");

  EXPECT_EQ(run("field.repeat_field(1).clear()\nclearfield(environment)\n"), "");
  EXPECT_EQ(List->segment(1).countOfFieldRepeat(2), 1u);
  EXPECT_EQ(value(2, 0), "");
  EXPECT_EQ(value(2, 0, 2), "<none>");
  // The equation of a field beyond the segment gives it the field.
  EXPECT_EQ(run("value = 'new'", 6), "");
  EXPECT_EQ(List->segment(1).countOfField(), 7u);
  EXPECT_EQ(value(6, 0), "new");
}

TEST_F(LAGfieldTest, FaultsOfFieldScriptsAreNamedAndChangeNothing) {
  parse("MSH|^~\\&|A\rPID|1||X\r");
  EXPECT_NE(run("field.value = 5").find("TypeError"), std::string::npos);
  EXPECT_NE(run("field.colour = 'red'").find("Field object does not support attribute colour"), std::string::npos);
  EXPECT_NE(run("setsubfield(environment, 0, 0, 'x')").find("Use the value variable instead."), std::string::npos);
  EXPECT_NE(run("field.subfield(-1)").find("Subfield Index (first argument) was -1"), std::string::npos);
  EXPECT_NE(run("value = None").find("TypeError"), std::string::npos);
  EXPECT_NE(run("del value").find("removed the variable 'value'"), std::string::npos);
  EXPECT_EQ(value(2, 0), "X");
  EXPECT_EQ(run("value = value + '2'"), "");
  EXPECT_EQ(value(2, 0), "X2");
  EXPECT_EQ(Environment.field(), nullptr);
}

// --- table equations on the cells of a node table

class LAGtableTest : public LAGscriptTest {
protected:
  void SetUp() override {
    Made = TSTbuildTableDefinition(Engine);
    Patient.makeEmptyTable(Made.patient);
    for (const char* Name : {"a", "b", "c"}) {
      const unsigned Row = Patient.addRow();
      Patient.setString(kName, Row, Name);
      Patient.setInteger(kAge, Row, static_cast<int32_t>(Row + 1));
    }
  }

  void equation(unsigned Column, const char* Code) {
    Made.patient->table()->setIncomingFunctionCode(0, Column, Code);
  }

  std::string run() {
    try {
      SGCexecuteInboundTableEquations(Engine, Patient, Environment);
    } catch (const COLerror& Error) {
      return Error.description().str();
    }
    return "";
  }

  TSTtableDefinition Made;
  QVMtableInternal Patient;
};

TEST_F(LAGtableTest, CellsChangeByTypeAndRowsGoAfterTheirEquations) {
  Engine.config().setDisablePythonNone(false);
  equation(kName, "value = value.upper() + str(value_state)\nif value == 'B0': table.remove_current_row()\n");
  equation(kAge, "value = value + 10\n");
  equation(kWeight, "value = 1.5 if value is None else value\n");
  equation(kBorn, "value = None\n");
  ASSERT_EQ(run(), "");
  ASSERT_EQ(Patient.countOfRow(), 2u);
  EXPECT_EQ(Patient.getString(kName, 0), "A0");
  EXPECT_EQ(Patient.getString(kName, 1), "C0");
  // The removed row's later equations ran all the same; the next row took its place.
  EXPECT_EQ(Patient.getInteger(kAge, 0), 11);
  EXPECT_EQ(Patient.getInteger(kAge, 1), 13);
  EXPECT_DOUBLE_EQ(Patient.getDouble(kWeight, 1), 1.5);
  EXPECT_TRUE(Patient.isNull(kBorn, 0));

  equation(kWeight, "");
  equation(kBorn, "");
  equation(kAge, "");
  equation(kName, "value = '\"\"'\n");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.state(kName, 0), QVMtableStatePresentButNull);
}

TEST_F(LAGtableTest, AFaultNamesTheColumnAndTheNextRunWorks) {
  equation(kAge, "value = 'old'\n");
  const std::string Fault = run();
  EXPECT_EQ(Fault.rfind("The table equation of Patient.age (row 1) failed:\r\n", 0), 0u) << Fault;
  EXPECT_NE(Fault.find("TypeError"), std::string::npos) << Fault;
  EXPECT_EQ(Patient.getInteger(kAge, 0), 1);
  equation(kAge, "value = value * 3\n");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getInteger(kAge, 2), 9);
  equation(kAge, "value = len(str(environment.table_definition()))\n");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getInteger(kAge, 0), static_cast<int32_t>(std::string("Name:        Patient\r\nDescription: who came in").size()));
}

}  // namespace
