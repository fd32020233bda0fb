// Table equations on the cells of a node table: values change by type, rows go after their
// equations, and a fault names its cell.  Scripts of other kinds run as data: tests/data/LAG.
#include <gtest/gtest.h>

#include "../support/TSTtableDefinition.h"
#include "LAGexecute.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "SGCmap.h"

namespace {

class LAGtableTest : public ::testing::Test {
protected:
  void SetUp() override {
    Environment.setEngine(&Engine);
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

  QVMengineInternal Engine;
  LAGenvironment Environment;
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

// Whether any equation exists is remembered between runs, so each route by which code can be
// set must count as an edit: a run that found none must not hide one set afterwards.
TEST_F(LAGtableTest, AnEquationSetAfterARunWithNoneRunsWhicheverRouteSetIt) {
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getInteger(kAge, 0), 1);
  QVMtableDefinitionInternal& Definition = *Made.patient->table();
  Definition.incomingFunction(kAge).setCode("value = value + 100\n");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getInteger(kAge, 0), 101);
  Definition.incomingFunction(kAge).setCode("");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getInteger(kAge, 0), 101);
  Definition.column(kAge).config(0).incomingFunction().setCode("value = value * 2\n");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getInteger(kAge, 0), 202);
  Definition.column(kAge).config(0).incomingFunction().setCode("");
  equation(kName, "value = value + '!'\n");
  ASSERT_EQ(run(), "");
  EXPECT_EQ(Patient.getString(kName, 1), "b!");
  // The age equation is gone again: the cells keep what the earlier runs made of them.
  EXPECT_EQ(Patient.getInteger(kAge, 1), 204);
}
