// A table built by a host through the C interface and read back through the class interface;
// every failure comes back as an error handle (what the classes throw is in QVMclassTest.cpp).
#include <gtest/gtest.h>

#include <cstring>

#include "QVMdateTime.h"
#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"
#include "QVMtable.h"
#include "../../support/TSTtableDefinition.h"

namespace {

class QVMhandleTableFamily : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(_QVMengineCreate(&engine), nullptr);
    definition = TSTbuildTableDefinition(QVMhandleEngine(engine));
    EXPECT_HANDLE_OK(_QVMengineCreateEmptyMessageTable(engine, definition.messageIndex, &table));
  }
  void TearDown() override {
    EXPECT_HANDLE_OK(_QVMtableRelease(table));
    EXPECT_HANDLE_OK(_QVMengineRelease(engine));
  }

  void* engine = nullptr;
  void* table = nullptr;
  TSTtableDefinition definition;
};

}  // namespace

TEST_F(QVMhandleTableFamily, HostFillsATableThatTheClassInterfaceReadsBack) {
  unsigned row = 9, count = 0;
  EXPECT_HANDLE_OK(_QVMtableAddRowEx(table, 2, &row));
  EXPECT_EQ(row, 0u);
  void* visits = nullptr;
  void* patient = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGetSubTable(table, 1, 0, &patient));
  EXPECT_HANDLE_OK(_QVMtableSubTable(table, 1, 1, &visits));
  EXPECT_HANDLE_OK(_QVMtableAddRow(patient, &row));
  EXPECT_HANDLE_OK(_QVMtableSetStringA(patient, kName, 0, "Bo"));
  EXPECT_HANDLE_OK(_QVMtableSetInteger(patient, kAge, 0, 12));
  EXPECT_HANDLE_OK(_QVMtableSetDouble(patient, kWeight, 0, 40.5));
  void* when = nullptr;
  EXPECT_HANDLE_OK(_QVMdateTimeCreate(&when));
  EXPECT_HANDLE_OK(_QVMdateTimeSetTimeT(when, 86400L * 365));
  EXPECT_HANDLE_OK(_QVMtableSetDateTime(patient, kBorn, 0, when));
  EXPECT_HANDLE_OK(_QVMdateTimeRelease(when));
  EXPECT_HANDLE_OK(_QVMtableAddRow(visits, &row));
  EXPECT_HANDLE_OK(_QVMtableCountOfRowSubTable(visits, 0, &count));
  EXPECT_EQ(count, 1u);

  QVMtable root(table);
  EXPECT_EQ(root.CountOfRow(), 2u);
  EXPECT_EQ(root.CountOfSubTable(), 2u);
  EXPECT_FALSE(root.IsNode());
  QVMtable& cells = root[1].SubTable(0);
  EXPECT_TRUE(cells.IsNode());
  EXPECT_STREQ(cells.TableName(), "Patient");
  EXPECT_EQ(cells.CountOfColumn(), 5u);
  EXPECT_EQ(cells.ColumnIndex("weight"), 2u);
  EXPECT_STREQ(cells.ColumnName(3), "born");
  EXPECT_EQ(cells.ColumnType(3), 4u);
  EXPECT_TRUE(cells.IsKey(kWeight));
  EXPECT_FALSE(cells.IsKey(kName));
  EXPECT_STREQ(cells.GetString(0, kName), "Bo");
  EXPECT_EQ(cells.GetInteger(0, kAge), 12);
  EXPECT_EQ(cells.GetDouble(0, kWeight), 40.5);
  EXPECT_EQ(cells.GetDateTime(0, kBorn).Year(), 1971);
  EXPECT_EQ(cells.GetState(0, kKind), 2u);
  EXPECT_TRUE(cells.IsNull(0, kKind));
  cells.setNull(0, kAge);
  EXPECT_TRUE(cells.IsNull(0, kAge));
  // The class writes too, and the handle sees it.
  cells.SetString(0, kName, "\"\"");
  unsigned state = 9;
  EXPECT_HANDLE_OK(_QVMtableState(patient, kName, 0, &state));
  EXPECT_EQ(state, 1u);
  unsigned key = 0;
  EXPECT_HANDLE_OK(_QVMtableGetKeyColumnIndex(patient, &key));
  EXPECT_EQ(key, static_cast<unsigned>(kWeight));
  const char* text = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGetValueAsString(patient, kWeight, 0, &text));
  EXPECT_STREQ(text, "40.500000");
  EXPECT_EQ(root[0].SubTable(1).CountOfRow(), 0u);
  const QVMstring dump = root.Dump();
  EXPECT_NE(std::strstr(dump.get_buffer(), "    name = '\"\"'\r\n"), nullptr) << dump.get_buffer();
  // The date-time handle a cell hands out is the cell's own object: changing it changes the cell.
  void* born = nullptr;
  double date = 0;
  EXPECT_HANDLE_OK(_QVMtableGetDateTime(patient, kBorn, 0, &born));
  EXPECT_HANDLE_OK(_QVMdateTimeSetDATE(born, 36526.5));
  EXPECT_HANDLE_OK(_QVMtableGetDateTime(patient, kBorn, 0, &born));
  EXPECT_HANDLE_OK(_QVMdateTimeGetDATE(born, &date));
  EXPECT_EQ(date, 36526.5);
  EXPECT_EQ(cells.GetDateTime(0, kBorn).Year(), 2000);
}

TEST_F(QVMhandleTableFamily, FailuresComeBackAsErrorHandles) {
  unsigned row = 0;
  int value = 0;
  void* sub = nullptr;
  auto refused = QVMoutcome(_QVMtableGetSubTable(table, 0, 0, &sub));
  EXPECT_EQ(refused.text, "Boundary error accessing sub table 'ADT' index 0 should be less than 0");
  EXPECT_EQ(refused.code, 0x80002000u);
  EXPECT_HANDLE_OK(_QVMtableAddRow(table, &row));
  EXPECT_HANDLE_OK(_QVMtableGetSubTable(table, 0, 0, &sub));
  EXPECT_HANDLE_OK(_QVMtableAddRow(sub, &row));
  EXPECT_EQ(QVMoutcome(_QVMtableGetInteger(sub, kName, 0, &value)).code, 0x80000801u);
  EXPECT_EQ(QVMoutcome(_QVMtableGetInteger(sub, kAge, 4, &value)).code, 0x80002000u);
  EXPECT_EQ(QVMoutcome(_QVMtableGetInteger(sub, kAge, 0, nullptr)).text, "Failed precondition: out != NULL");
  EXPECT_EQ(QVMoutcome(_QVMtableSetStringA(sub, kName, 0, nullptr)).text, "Failed precondition: value != NULL");
  EXPECT_EQ(QVMoutcome(_QVMtableCountOfRow(engine, &row)).text, "The handle given is not a table handle.");
  EXPECT_EQ(QVMoutcome(_QVMtableSetDateTime(sub, kBorn, 0, table)).text,
            "The handle given is not a date-time handle.");
  EXPECT_EQ(QVMoutcome(_QVMengineCreateEmptyMessageTable(engine, 5, &sub)).text,
            "Failed precondition: MessageIndex < CountOfMessage");
  void* loose = nullptr;
  EXPECT_HANDLE_OK(_QVMtableCreate(&loose));
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMtableName(loose, &name));
  EXPECT_STREQ(name, "");
  EXPECT_HANDLE_OK(_QVMtableRelease(loose));
}
