// Table instances: cell states, values and their conversions, rows and sub-tables, the
// follow-up of date-time objects changed in place, copies, and the printed form.
#include <gtest/gtest.h>

#include "COLostream.h"
#include "QVMgrammarTestSupport.h"
#include "QVMtableInternal.h"
#include "../../support/TSTdataFile.h"
#include "../../support/TSTtableDefinition.h"

#include "../../support/TSTraised.h"

namespace {

class QVMtableInternalTest : public ::testing::Test {
protected:
  void SetUp() override {
    definition = TSTbuildTableDefinition(engine);
    patient.makeEmptyTable(definition.patient);
  }

  // A message table with one row whose Patient sub-table has one row: the cells to fill.
  QVMtableInternal& patientRowOf(QVMtableInternal& message) {
    message.makeEmptyTable(definition.root);
    message.addRow();
    QVMtableInternal& cells = message.subTable(0, 0);
    cells.addRow();
    return cells;
  }

  QVMengineInternal engine;
  TSTtableDefinition definition;
  QVMtableInternal patient;
};

}  // namespace

TEST(QVMtableCell, ReadsInAForeignTypeNameTheKindAndItsValue) {
  QVMtableCell text("abc");
  EXPECT_EQ(TSTraised([&] { text.valueAsInteger(); }),
            COLerror("Trying to access string 'abc' as an integer", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { text.valueAsDouble(); }),
            COLerror("Trying to access string 'abc' as a double", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { text.valueAsDateTime(); }),
            COLerror("Trying to access string 'abc' as a datetime", COL_ERROR_PRECONDITION));
  QVMtableCell number;
  number.setInteger(5);
  EXPECT_EQ(TSTraised([&] { number.valueAsString(); }),
            COLerror("Trying to access integer '5' as a string", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { number.valueAsDouble(); }),
            COLerror("Trying to access integer '5' as a double", COL_ERROR_PRECONDITION));
  QVMtableCell real;
  real.setDouble(2.5);
  EXPECT_EQ(TSTraised([&] { real.valueAsInteger(); }),
            COLerror("Trying to access double '2.500000' as an integer", COL_ERROR_PRECONDITION));
  QVMtableCell when;
  when.setDateTime(COLdateTime(2001, 2, 3, 0, 0, 0));
  EXPECT_EQ(
      TSTraised([&] { when.valueAsString(); }),
      COLerror(("Trying to access datetime '" + QVMprinted(COLdateTime(2001, 2, 3, 0, 0, 0)).str() + "' as an string"),
               COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { when.valueAsInteger(); }),
            COLerror(("Trying to access datetime '" + when.getStringValue().str() + "' as an integer"),
                     COL_ERROR_PRECONDITION));
  // Empty and explicit-null text read as numbers give 0, as date-times their own object.
  QVMtableCell empty, explicitNull("\"\"");
  EXPECT_EQ(empty.valueAsInteger(), 0);
  EXPECT_EQ(explicitNull.valueAsDouble(), 0.0);
  EXPECT_TRUE(empty.valueAsDateTime().isNull());
  EXPECT_EQ(&empty.valueAsDateTime(), empty.dateTimeObject().get());
  QVMtableCell invalid;
  invalid.becomeKeepingDateTime(QVMtableCell::Invalid, "x1");
  EXPECT_EQ(invalid.valueAsString(), "x1");
  EXPECT_EQ(invalid.valueAsInteger(), 0);
  invalid.clearDateTime();
  EXPECT_EQ(invalid.dateTimeObject()->status(), COLdateTime::invalid);
  EXPECT_EQ(QVMprinted(text), "\"abc\"");
  // A copy owns its date-time object; a move keeps the one callers may hold.
  QVMtableCell copy(when);
  EXPECT_NE(copy.dateTimeObject().get(), when.dateTimeObject().get());
  const QVMdateTimeInternal* held = when.dateTimeObject().get();
  QVMtableCell moved(std::move(when));
  EXPECT_EQ(moved.dateTimeObject().get(), held);
}

// States, values, type checks and bounds of cells are step cases: tests/data/QVM/cells.test.
TEST_F(QVMtableInternalTest, ADateTimeCellKeepsItsObject) {
  patient.addRow();
  QVMdateTimeInternal& born = patient.getDateTime(kBorn, 0);
  born.setDateTime(1999, 12, 31, 23, 59, 0);
  EXPECT_EQ(&patient.getDateTime(kBorn, 0), &born);
  born.setNull();
  EXPECT_EQ(&patient.getDateTime(kBorn, 0), &born);
  // State setters keep sharing the object and reset it.
  born.setDateTime(2000, 1, 1, 0, 0, 0);
  patient.setPresentButNull(kBorn, 0);
  EXPECT_TRUE(born.isNull());
  patient.setInvalid(kBorn, 0);
  EXPECT_EQ(born.status(), COLdateTime::invalid);
}

// A host that holds a cell's date-time object keeps it, value and all, when the table is
// refilled; the refilled cell gets an object of its own.
TEST_F(QVMtableInternalTest, AHeldDateTimeOutlivesTheNextFill) {
  patient.addRow();
  COLreferencePtr<QVMdateTimeInternal> held(&patient.getDateTime(kBorn, 0));
  held->setDateTime(1999, 12, 31, 23, 59, 0);
  patient.clear();
  patient.makeEmptyTable(definition.patient);
  patient.addRow();
  EXPECT_EQ(patient.state(kBorn, 0), QVMtableStateNull);
  patient.setDateTime(kBorn, 0, COLdateTime(2004, 3, 5, 12, 0, 0));
  EXPECT_NE(&patient.getDateTime(kBorn, 0), held.get());
  EXPECT_EQ(held->year(), 1999);
  EXPECT_EQ(held->status(), COLdateTime::valid);
  EXPECT_EQ(patient.getDateTime(kBorn, 0).year(), 2004);
}

TEST_F(QVMtableInternalTest, GroupRowsCarryOneEmptySubTablePerSubGrammar) {
  QVMtableInternal message;
  EXPECT_EQ(TSTerrorText([&] { message.addRow(); }), "Failed precondition: pMember->pTableGrammar != NULL");
  message.makeEmptyTable(definition.root);
  message.checkIfEmpty();
  EXPECT_FALSE(message.isNode());
  EXPECT_EQ(message.countOfColumn(), 0u);
  EXPECT_EQ(message.tableDefinition(), nullptr);
  EXPECT_EQ(message.countOfSubTable(), 2u);
  EXPECT_EQ(message.countOfRow(), 0u);
  EXPECT_EQ(message.addRow(), 0u);
  EXPECT_EQ(message.countOfRowSubTable(0), 2u);
  QVMtableInternal& first = message.subTable(0, 0);
  EXPECT_TRUE(first.isNode());
  EXPECT_EQ(first.tableName(), "Patient");
  EXPECT_EQ(first.countOfRow(), 0u);
  EXPECT_EQ(first.parent(), &message);
  EXPECT_EQ(&message.rowSubTable(0, 1), &message.subTable(0, 1));
  EXPECT_EQ(message.subTable(0, 1).countOfSubTable(), 1u);
  EXPECT_EQ(message.subTableNameToIndex("Visits"), 1u);
  EXPECT_EQ(message.subTableNameToIndex("Patient"), 0u);
  EXPECT_EQ(message.subTableNameToIndex("Nothing"), 0xFFFFFFFFu);

  EXPECT_EQ(
      TSTraised([&] { message.subTable(1, 0); }),
      COLerror("Boundary error accessing sub table 'ADT' index 1 should be less than 1", COL_ERROR_OUT_OF_BOUNDS));
  EXPECT_EQ(TSTraised([&] { message.subTable(0, 2); }),
            COLerror("Invalid table index 2 accessed. The actual range should be less than 2 for the ADT table.",
                     COL_ERROR_OUT_OF_BOUNDS));

  // Rows come and go with their sub-tables; other rows keep theirs.
  message.addRow();
  message.subTable(1, 0).addRow();
  message.subTable(1, 0).setString(kName, 0, "second");
  message.removeRow(0);
  EXPECT_EQ(message.countOfRow(), 1u);
  EXPECT_EQ(message.subTable(0, 0).getString(kName, 0), "second");
  EXPECT_EQ(TSTraised([&] { message.removeRow(1); }),
            COLerror("Boundary error accessing row 1 of the ADT table: it has 1 rows.", COL_ERROR_OUT_OF_BOUNDS));
  message.clear();
  EXPECT_EQ(message.tableGrammar(), nullptr);
  EXPECT_EQ(message.countOfRow(), 0u);
  EXPECT_EQ(message.countOfSubTable(), 0u);
}

TEST_F(QVMtableInternalTest, CopiesKeepEveryStateAndAreIndependent) {
  QVMtableInternal message;
  QVMtableInternal& cells = patientRowOf(message);
  cells.setString(kName, 0, "\"\"");
  cells.setInvalid(kAge, 0);
  cells.setDouble(kWeight, 0, 1.5);
  cells.getDateTime(kBorn, 0).setDateTime(2020, 5, 6, 7, 8, 9);

  QVMtableInternal copy(message);
  EXPECT_EQ(copy.parent(), nullptr);
  QVMtableInternal& copied = copy.subTable(0, 0);
  EXPECT_EQ(copied.parent(), &copy);
  const QVMtableInternalState expected[] = {QVMtableStatePresentButNull, QVMtableStateInvalid, QVMtableStateValue,
                                            QVMtableStateValue, QVMtableStateNull};
  for (unsigned column = 0; column < 5; ++column) EXPECT_EQ(copied.state(column, 0), expected[column]) << column;
  EXPECT_EQ(copied.getDouble(kWeight, 0), 1.5);
  EXPECT_EQ(copied.getDateTime(kBorn, 0).second(), 9);

  copied.getDateTime(kBorn, 0).setNull();
  copied.setDouble(kWeight, 0, 2.5);
  EXPECT_EQ(cells.state(kBorn, 0), QVMtableStateValue);
  EXPECT_EQ(cells.getDouble(kWeight, 0), 1.5);

  QVMtableInternal assigned;
  assigned = copy;
  EXPECT_EQ(assigned.subTable(0, 0).parent(), &assigned);
  EXPECT_EQ(assigned.subTable(0, 0).state(kBorn, 0), QVMtableStateNull);
  EXPECT_EQ(assigned.subTable(0, 0).getDouble(kWeight, 0), 2.5);
}

TEST_F(QVMtableInternalTest, PrintsGroupsAndRowsWithValuesByColumnType) {
  QVMtableInternal message;
  QVMtableInternal& cells = patientRowOf(message);
  cells.setString(kName, 0, "Ann");
  cells.setInteger(kAge, 0, 30);
  cells.setDouble(kWeight, 0, 60.5);
  cells.setDateTime(kBorn, 0, COLdateTime(1990, 3, 4, 13, 0, 0));
  message.subTable(0, 1).addRow();
  message.subTable(0, 1).subTable(0, 0).addRow();
  message.subTable(0, 1).subTable(0, 0).setString(0, 0, "East");
  EXPECT_EQ(QVMprinted(message).str(), TSTreadDataFile("QVM/table_printout.test").at(0).text("printout"));
}

// A writer visits only the cells the table reports as possibly filled, so a cell left out
// would be a value lost from the XML.  Across the words of the table's marks, after rows go,
// in copies, and when the table is made again for a narrower grammar over the same storage.
TEST_F(QVMtableInternalTest, FilledCellsAreFoundWhateverTheRowWidthAndOrder) {
  QVMtableDefinitionInternal* wide = engine.table(engine.addTable());
  wide->setTableName("Wide");
  for (int column = 0; column < 150; ++column) wide->addColumn(("c" + std::to_string(column)).c_str(), QVMstringType);
  QVMtableGrammarInternal* grammar = definition.root->addSubGrammarAt(2);
  grammar->setIsNode(true);
  grammar->setTable(wide);

  auto filled = [](const QVMtableInternal& table, unsigned row) {
    std::vector<unsigned> columns;
    for (unsigned column = table.nextFilledColumn(row, 0); column < table.countOfColumn();
         column = table.nextFilledColumn(row, column + 1))
      columns.push_back(column);
    return columns;
  };
  using Columns = std::vector<unsigned>;
  QVMtableInternal table;
  table.makeEmptyTable(grammar);
  for (int row = 0; row < 3; ++row) table.addRow();
  for (unsigned column : {3u, 64u, 149u}) table.setString(column, 0, "a");
  table.setString(63, 1, "b");
  table.setString(0, 2, "c");
  table.setString(127, 2, "d");
  EXPECT_EQ(filled(table, 0), (Columns{3, 64, 149}));
  EXPECT_EQ(filled(table, 1), Columns{63});
  EXPECT_EQ(filled(table, 2), (Columns{0, 127}));
  EXPECT_EQ(table.nextFilledColumn(0, 65), 149u);

  QVMtableInternal copy(table);
  EXPECT_EQ(filled(copy, 2), (Columns{0, 127}));

  table.removeRow(0);
  EXPECT_EQ(filled(table, 0), Columns{63});
  EXPECT_EQ(filled(table, 1), (Columns{0, 127}));
  EXPECT_EQ(table.addRow(), 2u);
  EXPECT_EQ(filled(table, 2), Columns{});
  EXPECT_EQ(table.state(3, 2), QVMtableStateNull);

  // The same storage under a five-column grammar: every old value lies inside some new row.
  table.makeEmptyTable(definition.patient);
  for (unsigned row = 0; row < 100; ++row) {
    ASSERT_EQ(table.addRow(), row);
    ASSERT_EQ(filled(table, row), Columns{}) << row;
    for (unsigned column = 0; column < 5; ++column) ASSERT_EQ(table.state(column, row), QVMtableStateNull);
  }
  table.setInteger(kAge, 99, 7);
  EXPECT_EQ(filled(table, 99), Columns{kAge});
}
