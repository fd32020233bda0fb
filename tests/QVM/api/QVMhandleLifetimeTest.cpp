// Handles a host keeps longer than it should, or passes where another kind belongs: a table
// kept past a clear or a load of its engine, and grammar handles given to the wrong family.
// Each misuse comes back as an error handle, never as a read of freed memory.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "QVMhandle.h"
#include "QVMhandleTestSupport.h"

namespace {

const char Ended[] =
    "The table follows a definition that its engine no longer holds: the engine was cleared or loaded again "
    "since the table was made or filled. Fill the table again or make a new one.";

// The patient's family name as read through `table`, or the refusal's text.
std::string familyName(void* table) {
  unsigned patientIndex = 0, column = 0;
  void* patient = nullptr;
  const char* value = nullptr;
  if (void* error = _QVMtableGetSubTableIndex(table, "Patient", &patientIndex)) return QVMoutcome(error).text;
  if (void* error = _QVMtableGetSubTable(table, 0, patientIndex, &patient)) return QVMoutcome(error).text;
  if (void* error = _QVMtableColumnIndex(patient, "FamilyName", &column)) return QVMoutcome(error).text;
  if (void* error = _QVMtableGetStringA(patient, column, 0, &value)) return QVMoutcome(error).text;
  return value;
}

class QVMhandleKeptTable : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(_QVMengineCreate(&engine), nullptr);
    EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
    EXPECT_HANDLE_OK(_QVMtableCreate(&table));
    unsigned index = 0;
    EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine, Admission, &index, table));
    ASSERT_EQ(familyName(table), "Okonkwo");
  }
  void TearDown() override {
    EXPECT_HANDLE_OK(_QVMengineRelease(engine));  // before the table: the table keeps it alive
    EXPECT_HANDLE_OK(_QVMtableRelease(table));
  }

  void* engine = nullptr;
  void* table = nullptr;
};

struct DefinitionChange {
  const char* name;
  std::function<void*(void* engine)> change;
  bool fails;
};

const std::vector<DefinitionChange>& definitionChanges() {
  static const std::vector<DefinitionChange> changes = {
      {"clear", [](void* engine) { return _QVMengineClear(engine); }, false},
      {"reload", [](void* engine) { return _QVMengineLoad(engine, QVMexampleDefinition().c_str()); }, false},
      {"failed load", [](void* engine) { return _QVMengineLoad(engine, "/no/such/definition.vmd"); }, true},
  };
  return changes;
}

TEST_F(QVMhandleKeptTable, EveryCallOnATableFromBeforeAClearOrLoadIsRefusedUntilItIsFilledAgain) {
  for (const DefinitionChange& step : definitionChanges()) {
    SCOPED_TRACE(step.name);
    void* patient = nullptr;
    EXPECT_HANDLE_OK(_QVMtableGetSubTable(table, 0, 0, &patient));
    EXPECT_HANDLE_OK(_QVMtableAddRef(patient));  // the host keeps a sub-table too
    EXPECT_EQ(QVMoutcome(step.change(engine)).failed, step.fails);

    EXPECT_EQ(familyName(table), Ended);
    unsigned count = 0;
    const QVMhandleOutcome refused = QVMoutcome(_QVMtableCountOfRow(patient, &count));
    EXPECT_EQ(refused.code, 0x80000100u);
    EXPECT_EQ(refused.text, Ended);
    void* grammar = nullptr;
    EXPECT_EQ(QVMoutcome(_QVMtableGetTableGrammar(table, &grammar)).text, Ended);
    const char* message = nullptr;
    EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
    EXPECT_EQ(QVMoutcome(_QVMengineGenerateMessage(engine, table, 0, &message)).text, Ended);
    // Counting still works on a refused table: the host can let go of it.
    EXPECT_HANDLE_OK(_QVMtableRelease(patient));

    // Filled again, the same handle follows the definition loaded now.
    unsigned index = 0;
    EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine, Admission, &index, table));
    EXPECT_EQ(familyName(table), "Okonkwo");
  }
}

TEST_F(QVMhandleKeptTable, AFailedParseIntoATableFromBeforeAReloadLeavesItEmptyNotDangling) {
  EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
  unsigned index = 0;
  EXPECT_TRUE(QVMoutcome(_QVMengineParseMessageA(engine, "MSH|^~\\&|||||||ZZZ\r", &index, table)).failed);
  unsigned rows = 9;
  void* grammar = table;
  EXPECT_HANDLE_OK(_QVMtableCountOfRow(table, &rows));
  EXPECT_HANDLE_OK(_QVMtableGetTableGrammar(table, &grammar));
  EXPECT_EQ(rows, 0u);
  EXPECT_EQ(grammar, nullptr);
}

TEST_F(QVMhandleKeptTable, TablesFilledAfterAReloadAndTablesNeverFilledAreNotRefused) {
  void* loose = nullptr;
  EXPECT_HANDLE_OK(_QVMtableCreate(&loose));
  EXPECT_HANDLE_OK(_QVMengineClear(engine));
  EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
  unsigned rows = 9, index = 0;
  EXPECT_HANDLE_OK(_QVMtableCountOfRow(loose, &rows));
  EXPECT_EQ(rows, 0u);
  EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine, Admission, &index, loose));
  EXPECT_EQ(familyName(loose), "Okonkwo");
  void* empty = nullptr;
  EXPECT_HANDLE_OK(_QVMengineCreateEmptyMessageTable(engine, index, &empty));
  EXPECT_HANDLE_OK(_QVMtableCountOfRow(empty, &rows));
  EXPECT_HANDLE_OK(_QVMtableRelease(empty));
  EXPECT_HANDLE_OK(_QVMtableRelease(loose));
}

// A sub-table the host keeps holds the engine's definition as its root does.
TEST_F(QVMhandleKeptTable, AKeptSubTableOutlivesItsRootAndTheEngine) {
  void* patient = nullptr;
  unsigned patientIndex = 0, column = 0;
  EXPECT_HANDLE_OK(_QVMtableGetSubTableIndex(table, "Patient", &patientIndex));
  EXPECT_HANDLE_OK(_QVMtableGetSubTable(table, 0, patientIndex, &patient));
  EXPECT_HANDLE_OK(_QVMtableAddRef(patient));
  EXPECT_HANDLE_OK(_QVMtableRelease(table));
  EXPECT_HANDLE_OK(_QVMengineRelease(engine));
  const char* value = nullptr;
  EXPECT_HANDLE_OK(_QVMtableColumnIndex(patient, "FamilyName", &column));
  EXPECT_HANDLE_OK(_QVMtableGetStringA(patient, column, 0, &value));
  EXPECT_STREQ(value, "Okonkwo");
  EXPECT_HANDLE_OK(_QVMtableRelease(patient));
  // What TearDown releases.
  ASSERT_EQ(_QVMengineCreate(&engine), nullptr);
  EXPECT_HANDLE_OK(_QVMtableCreate(&table));
}

// Grammar handles of every kind an engine hands out, and a table grammar a host made.
TEST_F(QVMhandleKeptTable, GrammarHandlesAreToldFromOtherKindsEitherWay) {
  void* tableGrammar = nullptr;
  void* messageGrammar = nullptr;
  void* segment = nullptr;
  void* standalone = nullptr;
  void* error = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGetTableGrammar(table, &tableGrammar));
  EXPECT_HANDLE_OK(_QVMtableGrammarGetMessageGrammar(tableGrammar, &messageGrammar));
  EXPECT_HANDLE_OK(_QVMengineGetSegment(engine, 0, &segment));
  EXPECT_HANDLE_OK(_QVMtableGrammarCreate(&standalone));
  EXPECT_HANDLE_OK(_QVMerrorCreate(&error, "not a grammar"));
  ASSERT_NE(messageGrammar, nullptr);
  ASSERT_NE(segment, nullptr);

  const std::string notEngine = "The handle given is not an engine handle.";
  const std::string notTable = "The handle given is not a table handle.";
  const std::string notTableGrammar = "The handle given is not a table grammar handle.";
  for (void* grammar : {tableGrammar, standalone, messageGrammar, segment}) {
    unsigned count = 0;
    EXPECT_EQ(QVMoutcome(_QVMengineCountOfMessage(grammar, &count)).text, notEngine);
    EXPECT_EQ(QVMoutcome(_QVMtableCountOfRow(grammar, &count)).text, notTable);
    const char* message = nullptr;
    EXPECT_EQ(QVMoutcome(_QVMengineGenerateMessage(engine, grammar, 0, &message)).text, notTable);
    EXPECT_EQ(QVMoutcome(_QVMerrorGetCode(grammar, &count)).text, "The handle given is not an error handle.");
  }
  for (void* other : {engine, table, error, messageGrammar, segment}) {
    const char* name = nullptr;
    EXPECT_EQ(QVMoutcome(_QVMtableGrammarGetName(other, &name)).text, notTableGrammar);
    EXPECT_EQ(QVMoutcome(_QVMtableGrammarRelease(other)).text, notTableGrammar);
    EXPECT_EQ(QVMoutcome(_QVMtableGrammarSetSubGrammar(standalone, 0, other)).text, notTableGrammar);
  }
  EXPECT_EQ(QVMoutcome(_QVMtableGrammarSetGrammarRoot(standalone, segment)).text,
            "The handle given is not a message grammar handle.");

  // The definition owns its grammars: counting them through the reference family does nothing.
  for (void* owned : {tableGrammar, messageGrammar, segment}) {
    EXPECT_HANDLE_OK(_QVMreferenceAddRef(owned));
    EXPECT_HANDLE_OK(_QVMreferenceRelease(owned));
    EXPECT_HANDLE_OK(_QVMreferenceRelease(owned));
  }
  EXPECT_EQ(familyName(table), "Okonkwo");
  unsigned index = 0;
  EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine, Admission, &index, table));

  EXPECT_HANDLE_OK(_QVMtableGrammarRelease(standalone));
  QVMoutcome(error);
}

}  // namespace
