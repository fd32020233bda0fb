// What the table XML of tests/data/QVJ cannot show: a value that does not fit its column is kept
// as an invalid cell (the XML leaves it out as it leaves out a null), and the context keeps the
// text it parsed.
#include <gtest/gtest.h>

#include "QVJparse.h"

#include "../support/TSTexampleEngine.h"

namespace {

using QVJparse = TSTexampleEngineTest;

TEST_F(QVJparse, AValueThatDoesNotFitIsAnInvalidCellAndTheTextIsKept) {
  const char Results[] =
      "MSH|^~\\&|LAB|NORTHGATE|ENGINE|NORTHGATE|20240303101400||ORU^R01|MSG01002|P|2.4\r"
      "PID|1||MR410074^^^NORTHGATE^MR||Marchetti^Giulia\r"
      "OBR|1|ORD07006|LAB52006|BMP^Basic metabolic panel^L|||20240303101400\r"
      "OBX|x2|NM|HGB^Hemoglobin^L||10.0|g/dL|||||F\r";
  Engine->schema().setRejectBadSegmentGrammar(false);
  parse(Results, Table);
  Engine->schema().setRejectBadSegmentGrammar(true);
  QVMtableInternal& Values = sub("Results", sub("Orders", Table));
  EXPECT_EQ(Values.state(Values.columnIndex("SetId"), 0), QVMtableStateInvalid);
  EXPECT_EQ(Values.state(Values.columnIndex("ReferenceRange"), 0), QVMtableStateNull);
  EXPECT_EQ(Engine->parseContext().qvpParseContext().lastFlatWire(), Results);
}

}  // namespace
