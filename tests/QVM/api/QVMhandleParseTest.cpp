// Parsing and generating through the handle interface: a host loads the example definition,
// parses a message into a table handle, reads cells back, generates the message again, and
// gets an error handle for every fault.
#include <gtest/gtest.h>

#include "QVMhandle.h"
#include "QVMhandleTestSupport.h"

namespace {

// A host's engine with the example definition loaded and an empty table to parse into.
class QVMhandleParse : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(_QVMengineCreate(&engine), nullptr);
    EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
    EXPECT_HANDLE_OK(_QVMtableCreate(&table));
  }
  void TearDown() override {
    EXPECT_HANDLE_OK(_QVMtableRelease(table));
    EXPECT_HANDLE_OK(_QVMengineRelease(engine));
  }

  void* engine = nullptr;
  void* table = nullptr;
};

TEST_F(QVMhandleParse, AFailedParseReportsTheDiagnosticsAndTheShortText) {
  unsigned index = 0;
  const QVMhandleOutcome outcome = QVMoutcome(_QVMengineParseMessageA(engine, "MSH|^~\\&|||||||ZZZ\r", &index, table));
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.code, 0x80002001u);
  EXPECT_NE(outcome.text.find("Diagnostic info follows:"), std::string::npos);
  EXPECT_TRUE(QVMoutcome(_QVMengineParseMessageA(engine, Admission, &index, nullptr)).failed);
  EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine, Admission, &index, table));
}

TEST_F(QVMhandleParse, ASimpleParseGivesTheRawTreeAndTheIndexWithoutATable) {
  unsigned index = 99;
  void* tree = nullptr;
  EXPECT_HANDLE_OK(_QVMengineSimpleParse(engine, Admission, &tree, &index));
  ASSERT_NE(tree, nullptr);
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMengineMessageName(engine, index, &name));
  EXPECT_STREQ(name, "ADT_A01");
  EXPECT_HANDLE_OK(_QVMreferenceRelease(tree));
  // A message no definition claims is no error: its index is the count of messages.
  unsigned count = 0;
  EXPECT_HANDLE_OK(_QVMengineCountOfMessage(engine, &count));
  EXPECT_HANDLE_OK(_QVMengineSimpleParse(engine, "MSH|^~\\&|||||||ZZZ\r", &tree, &index));
  EXPECT_EQ(index, count);
  EXPECT_HANDLE_OK(_QVMreferenceRelease(tree));
  tree = nullptr;
  const QVMhandleOutcome outcome = QVMoutcome(_QVMengineSimpleParse(engine, "MSH|", &tree, &index));
  EXPECT_EQ(outcome.code, 0x80001100u);
  EXPECT_EQ(tree, nullptr);
}

TEST_F(QVMhandleParse, ATableAndItsXmlGoBackToTheMessageAndFaultsGiveErrorHandles) {
  unsigned index = 99;
  EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine, Admission, &index, table));
  const char* message = nullptr;
  EXPECT_HANDLE_OK(_QVMengineGenerateMessage(engine, table, index, &message));
  const std::string back = message;
  EXPECT_EQ(back.rfind("MSH|^~\\&|||||||ADT^A01\rEVN|A01|20240301080000+0000\rPID|||MR410000||Okonkwo^Amara", 0), 0u)
      << back;

  const char* xml = nullptr;
  EXPECT_HANDLE_OK(_QVMengineTranslateMessageToXml(engine, Admission, &xml));
  const std::string tableXml = xml;
  EXPECT_HANDLE_OK(_QVMengineTranslateXmlToMessage(engine, tableXml.c_str(), &message));
  EXPECT_EQ(message, back);

  EXPECT_EQ(QVMoutcome(_QVMengineGenerateMessage(engine, table, index, nullptr)).text,
            "Failed precondition: message != NULL");
  EXPECT_EQ(QVMoutcome(_QVMengineGenerateMessage(engine, engine, index, &message)).text,
            "The handle given is not a table handle.");
  EXPECT_EQ(QVMoutcome(_QVMengineGenerateMessage(engine, table, 77, &message)).text,
            "Failed precondition: MessageIndex < CountOfMessage");
  const QVMhandleOutcome mismatch = QVMoutcome(_QVMengineGenerateMessage(engine, table, (index + 1) % 5, &message));
  EXPECT_EQ(mismatch.code, 0x80000100u);
  EXPECT_EQ(mismatch.text, "Table does not match required structure for this message.");
  EXPECT_TRUE(QVMoutcome(_QVMengineTranslateXmlToMessage(engine, "<Quovane_Import><Nothing/>", &message)).failed);
  EXPECT_EQ(QVMoutcome(_QVMengineTranslateHl7StandardXmlToMessageValidate(nullptr, "x", 1, &message)).text,
            "Failed precondition: Handle != NULL");
}

}  // namespace
