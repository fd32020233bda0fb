// The engine family: files, the model, configurations, the log, and what isn't built yet.
#include <fstream>
#include <vector>
#include <unistd.h>

#include "COLostream.h"
#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"

namespace {
class QVMhandleEngineFamily : public ::testing::Test {
protected:
  void SetUp() override { EXPECT_HANDLE_OK(_QVMengineCreate(&engine)); }
  void TearDown() override { EXPECT_HANDLE_OK(_QVMengineRelease(engine)); }
  unsigned count(void* (*function)(void*, unsigned*)) {
    unsigned value = 12345;
    EXPECT_HANDLE_OK(function(engine, &value));
    return value;
  }
  void* engine = nullptr;
};
}  // namespace

TEST_F(QVMhandleEngineFamily, LoadsTheExampleDefinition) {
  unsigned kind = 0;
  EXPECT_HANDLE_OK(_QVMengineLoad2(engine, QVMexampleDefinition().c_str(), &kind));
  EXPECT_EQ(kind, unsigned{QVM_VMD_XML});
  EXPECT_EQ(count(_QVMengineCountOfMessage), 5u);
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMengineMessageName(engine, 4, &name));
  EXPECT_STREQ(name, "ORU_R01");
  unsigned index = 0;
  EXPECT_HANDLE_OK(_QVMengineMessageByName(engine, "ADT_A03", &index));
  EXPECT_EQ(index, 1u);
  EXPECT_HANDLE_OK(_QVMengineMessageByName(engine, "nope", &index));
  EXPECT_EQ(index, QVM_NO_INDEX);
  EXPECT_HANDLE_OK(_QVMengineSegmentByName(engine, "MSH", &index));
  EXPECT_NE(index, QVM_NO_INDEX);
  EXPECT_HANDLE_OK(_QVMvmdFileType(QVMexampleDefinition().c_str(), &kind));
  EXPECT_EQ(kind, unsigned{QVM_VMD_XML});

  char* dump = nullptr;
  EXPECT_HANDLE_OK(_QVMengineDump(engine, &dump));
  ASSERT_NE(dump, nullptr);
  EXPECT_NE(std::string(dump).find("Message: ORU_R01"), std::string::npos);
  EXPECT_HANDLE_OK(_QVMengineFreeBuffer(&dump));
  EXPECT_EQ(dump, nullptr);
}

TEST_F(QVMhandleEngineFamily, AFailedLoadLeavesTheEngineUsable) {
  const auto dir = QVMhandleTempDir("qvm-handle-load");
  const auto missing = QVMoutcome(_QVMengineLoad(engine, (dir / "absent.vmd").c_str()));
  EXPECT_TRUE(missing.failed);
  EXPECT_NE(missing.text.find("absent.vmd"), std::string::npos) << missing.text;
  std::ofstream(dir / "short.vmd") << "abc";
  unsigned kind = 0;
  const auto shortFile = QVMoutcome(_QVMvmdFileType((dir / "short.vmd").c_str(), &kind));
  EXPECT_EQ(shortFile.code, 0x80000100u);
  EXPECT_NE(shortFile.text.find("does not appear to be a valid VMD file."), std::string::npos) << shortFile.text;
  EXPECT_TRUE(QVMoutcome(_QVMengineLoad(engine, (dir / "short.vmd").c_str())).failed);
  EXPECT_TRUE(QVMoutcome(_QVMengineLoad(engine, nullptr)).failed);

  EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
  EXPECT_EQ(count(_QVMengineCountOfMessage), 5u);
  std::filesystem::remove_all(dir);
}

TEST_F(QVMhandleEngineFamily, SavedDefinitionLoadsBackIntoAnotherEngine) {
  const auto dir = QVMhandleTempDir("qvm-handle-save");
  const std::string path = (dir / "made.vmd").string();
  EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
  unsigned index = 0;
  EXPECT_HANDLE_OK(_QVMengineRemoveMessage(engine, 0));
  EXPECT_TRUE(QVMoutcome(_QVMengineRemoveMessage(engine, 4)).failed);
  EXPECT_HANDLE_OK(_QVMengineSetVmdDescription(engine, "made by a host"));
  EXPECT_HANDLE_OK(_QVMengineSave(engine, path.c_str(), QVM_VMD_XML));
  EXPECT_TRUE(QVMoutcome(_QVMengineSave(engine, (dir / "arc.vmd").c_str(), QVM_VMD_ARC)).failed);
  EXPECT_TRUE(QVMoutcome(_QVMengineSave(engine, (dir / "bad.vmd").c_str(), 9)).failed);

  void* other = nullptr;
  EXPECT_HANDLE_OK(_QVMengineCreate(&other));
  EXPECT_HANDLE_OK(_QVMengineLoad(other, path.c_str()));
  unsigned messages = 0;
  EXPECT_HANDLE_OK(_QVMengineCountOfMessage(other, &messages));
  EXPECT_EQ(messages, 4u);
  EXPECT_HANDLE_OK(_QVMengineMessageByName(other, "ADT_A01", &index));
  EXPECT_EQ(index, QVM_NO_INDEX);
  const char* description = nullptr;
  EXPECT_HANDLE_OK(_QVMengineGetVmdDescription(other, &description));
  EXPECT_STREQ(description, "made by a host");
  EXPECT_HANDLE_OK(_QVMengineRelease(other));
  std::filesystem::remove_all(dir);
}

TEST_F(QVMhandleEngineFamily, ConfigurationsAreAddedRenamedAndRemovedSafely) {
  unsigned index = 0;
  EXPECT_HANDLE_OK(_QVMengineAddConfiguration(engine, "outbound", &index));
  EXPECT_EQ(index, 1u);
  EXPECT_HANDLE_OK(_QVMengineRenameConfig(engine, 1, "X12 out"));
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMengineConfigName(engine, 1, &name));
  EXPECT_STREQ(name, "X12 out");
  EXPECT_TRUE(QVMoutcome(_QVMengineConfigName(engine, 2, &name)).failed);
  EXPECT_TRUE(QVMoutcome(_QVMengineSetCurrentConfig(engine, 2)).failed);
  EXPECT_TRUE(QVMoutcome(_QVMengineSetOutgoingConfigIndex(engine, 5)).failed);
  EXPECT_HANDLE_OK(_QVMengineSetCurrentConfig(engine, 1));
  EXPECT_HANDLE_OK(_QVMengineSetOutgoingConfigIndex(engine, 1));

  // Removing the configuration the engine is on moves it to one that exists.
  EXPECT_HANDLE_OK(_QVMengineDeleteConfig(engine, 1));
  EXPECT_EQ(count(_QVMengineCountOfConfig), 1u);
  EXPECT_EQ(count(_QVMengineGetCurrentConfig), 0u);
  EXPECT_EQ(count(_QVMengineGetOutgoingConfigIndex), 0u);
  EXPECT_EQ(count(_QVMengineCountOfSegment), 0u);  // the model answers on the remaining one
  const auto last = QVMoutcome(_QVMengineDeleteConfig(engine, 0));
  EXPECT_EQ(last.text, "Failed precondition: CountOfConfig > 1");
}

TEST_F(QVMhandleEngineFamily, MatchOrderWalksAndMoves) {
  EXPECT_HANDLE_OK(_QVMengineLoad(engine, QVMexampleDefinition().c_str()));
  auto order = [&] {
    std::vector<unsigned> indexes;
    void* position = nullptr;
    EXPECT_HANDLE_OK(_QVMengineFirstMessage(engine, &position));
    while (position) {
      unsigned index = 0;
      EXPECT_HANDLE_OK(_QVMengineMessageIndexFromMatchIndex(engine, position, &index));
      indexes.push_back(index);
      EXPECT_HANDLE_OK(_QVMengineNextMessage(engine, position, &position));
    }
    return indexes;
  };
  EXPECT_EQ(order(), (std::vector<unsigned>{0, 1, 2, 3, 4}));
  EXPECT_HANDLE_OK(_QVMengineMoveMessageInMatchOrder(engine, 4, 0));
  EXPECT_EQ(order(), (std::vector<unsigned>{4, 0, 1, 2, 3}));
  unsigned position = 0;
  EXPECT_HANDLE_OK(_QVMengineGetMessageMatchOrder(engine, 0, &position));
  EXPECT_EQ(position, 1u);
  EXPECT_TRUE(QVMoutcome(_QVMengineMoveMessageInMatchOrder(engine, 0, 5)).failed);

  // A position that isn't in the order is refused rather than followed.
  int notAPosition = 0;
  void* next = nullptr;
  const auto stale = QVMoutcome(_QVMengineNextMessage(engine, &notAPosition, &next));
  EXPECT_EQ(stale.text, "The position is not in the matching order of the current configuration.");
  EXPECT_TRUE(QVMoutcome(_QVMengineSetAckMessageIndex(engine, 5)).failed);
  EXPECT_HANDLE_OK(_QVMengineSetAckMessageIndex(engine, 2));
  EXPECT_EQ(count(_QVMengineGetAckMessageIndex), 2u);
}

TEST_F(QVMhandleEngineFamily, FlagsAndModelListsRoundTrip) {
  int flag = -1;
  EXPECT_HANDLE_OK(_QVMengineSetRejectBadSegmentGrammarFlag(engine, 1));
  EXPECT_HANDLE_OK(_QVMengineGetRejectBadSegmentGrammarFlag(engine, &flag));
  EXPECT_EQ(flag, 1);
  EXPECT_HANDLE_OK(_QVMengineGetUseDotNetProperties(engine, &flag));
  EXPECT_EQ(flag, 1);  // on by default
  EXPECT_HANDLE_OK(_QVMengineSetIsUsingPassthruMapping(engine, 7));
  EXPECT_HANDLE_OK(_QVMengineIsUsingPassthruMapping(engine, &flag));
  EXPECT_EQ(flag, 1);

  unsigned index = 0;
  EXPECT_HANDLE_OK(_QVMengineAddTable(engine, &index));
  EXPECT_HANDLE_OK(_QVMengineAddDateTimeGrammar(engine, &index));
  EXPECT_HANDLE_OK(_QVMengineAddEnumerationGrammar(engine, &index));
  EXPECT_HANDLE_OK(_QVMengineAddComposite(engine, &index));
  EXPECT_EQ(count(_QVMengineGetCountOfTable), 1u);
  EXPECT_EQ(count(_QVMengineGetCountOfDateTimeGrammar), 1u);
  EXPECT_EQ(count(_QVMengineGetCountOfEnumerationGrammar), 1u);
  void* object = nullptr;
  EXPECT_HANDLE_OK(_QVMengineGetTable(engine, 0, &object));
  EXPECT_NE(object, nullptr);
  EXPECT_TRUE(QVMoutcome(_QVMengineGetTable(engine, 1, &object)).failed);
  EXPECT_HANDLE_OK(_QVMengineRemoveTable(engine, 0));
  EXPECT_TRUE(QVMoutcome(_QVMengineRemoveTable(engine, 0)).failed);
  EXPECT_EQ(count(_QVMengineGetCountOfTable), 0u);
  EXPECT_HANDLE_OK(_QVMengineClear(engine));
  EXPECT_EQ(count(_QVMengineGetCountOfDateTimeGrammar), 0u);
}

namespace {
std::string g_Logged;
void collect(void* context, const char* text, size_t length) {
  g_Logged.append(static_cast<const char*>(context)).append(text, length);
}
}  // namespace

TEST_F(QVMhandleEngineFamily, LogTextGoesToTheEnginesFunctionElseTheGlobalOne) {
  g_Logged.clear();
  COLostream& log = QVMhandleEngine(engine).logStream();
  log << "dropped" << flush;
  EXPECT_EQ(g_Logged, "");
  char global[] = "G:", own[] = "E:";
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBack(collect, global));
  log << "one" << flush;
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBackPerEngine(engine, collect, own));
  log << "two" << flush;
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBack(nullptr, nullptr));
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBackPerEngine(engine, nullptr, nullptr));
  log << "three" << flush;
  EXPECT_EQ(g_Logged, "G:oneE:two");
}

TEST_F(QVMhandleEngineFamily, VersionAndTextHelpers) {
  const char* text = nullptr;
  EXPECT_HANDLE_OK(_QVMengineGetVersionString(&text));
  EXPECT_STREQ(text, "5.1 Build: 12");
  unsigned major = 0, minor = 0, build = 0;
  EXPECT_HANDLE_OK(_QVMengineGetMajorVersion(&major));
  EXPECT_HANDLE_OK(_QVMengineGetMinorVersion(&minor));
  EXPECT_HANDLE_OK(_QVMengineGetBuildNumber(&build));
  EXPECT_EQ(major * 10000 + minor * 100 + build, 50112u);
  EXPECT_HANDLE_OK(_QVMengineGetBuildId(&text));
  EXPECT_STREQ(text, "5.1.12");

  EXPECT_HANDLE_OK(_QVMengineMakePrintable("MSH|1\rPID|2\r", "\n", &text));
  EXPECT_STREQ(text, "MSH|1\nPID|2\n");
  EXPECT_HANDLE_OK(_QVMengineMakeParseable("MSH|1<br>PID|2<br>", "<br>", &text));
  EXPECT_STREQ(text, "MSH|1\rPID|2\r");
  EXPECT_TRUE(QVMoutcome(_QVMengineMakeParseable(nullptr, "\n", &text)).failed);
}

TEST_F(QVMhandleEngineFamily, SubsystemsNotBuiltYetSaySoAfterCheckingTheHandle) {
  const char* xml = nullptr;
  const auto translation = QVMoutcome(_QVMengineTranslateHl7StandardXmlToMessage(engine, "<Quovane_Import/>", &xml));
  EXPECT_EQ(translation.code, 0x80000100u);
  EXPECT_EQ(translation.text.rfind("Reading XML of the dialect 'STANDARD VER 2' back into a message is not available", 0),
            0u)
      << translation.text;
  EXPECT_EQ(QVMoutcome(_QVMengineTranslateMessageToHl7StandardXml(nullptr, "x", &xml)).text,
            "Failed precondition: Handle != NULL");
  unsigned index = 0;
  void* tree = nullptr;
  EXPECT_EQ(QVMoutcome(_QVMengineGetErrorTree(engine, &tree)).text,
            "Message parsing is not available yet in this build of the engine.");
  // A definition without messages gives a schema without messages.
  EXPECT_EQ(QVMoutcome(_QVMengineGetTibcoSchema(engine, &xml)).text, "");
  EXPECT_EQ(QVMoutcome(_QVMengineGenerateSchema(engine, 3, &xml)).text,
            "Failed precondition: Formatter < countOfFormatter()");
  EXPECT_EQ(QVMoutcome(_QVMtableCountOfRow(reinterpret_cast<void*>(-1), &index)).text,
            "Failed precondition: Handle != (void*)(-1)");
}
