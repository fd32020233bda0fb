// The engine root: configurations, match order, cascades on removal, indexes.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <fstream>
#include <thread>

#include "COLerror.h"
#include "LAGenvironment.h"
#include "QVMengineInternal.h"
#include "QVMgrammarTestSupport.h"
#include "QVMoutgoingScripts.h"

#include "../../support/TSTraised.h"

namespace {
constexpr uint32_t npos = 0xFFFFFFFF;

// Adds named messages through the road the loaders take.
void addMessages(QVMengineInternal& engine, std::initializer_list<const char*> names) {
  for (const char* name : names) engine.message(engine.addMessage())->setName(name);
}
}  // namespace

// The constants are the model's own; what is checked here is computed or wired up.
TEST(QVMengineTest, NewEngineHasOneConfigurationBoundToItsInterpreter) {
  QVMengineInternal engine;
  ASSERT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.currentConfig(), 0u);
  EXPECT_EQ(engine.firstMessage(), nullptr);
  EXPECT_EQ(QVMconfigCalculateMinMessageSize(engine.config()), 8u);
  EXPECT_EQ(engine.config().mainFunction().engine(), &engine.LanguageEngine());
}

TEST(QVMengineTest, ClearKeepsDescriptionAndResetsFlags) {
  QVMengineInternal engine;
  engine.setVmdDescription("my definition");
  engine.setRejectBadSegmentGrammar(true);
  engine.setUseDotNetProperties(false);
  engine.addConfiguration("second");
  engine.setCurrentConfig(1);
  addMessages(engine, {"A"});
  engine.addTable();
  engine.clear();
  EXPECT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.currentConfig(), 0u);
  EXPECT_EQ(engine.countOfMessage(), 0u);
  EXPECT_EQ(engine.countOfTable(), 0u);
  EXPECT_FALSE(engine.rejectBadSegmentGrammar());
  EXPECT_TRUE(engine.useDotNetProperties());
  EXPECT_EQ(engine.vmdDescription(), "my definition");
  EXPECT_EQ(engine.messageByName("A"), npos);
}

TEST(QVMengineTest, VersionChangerRestoresTheConfiguration) {
  QVMengineInternal engine;
  engine.addConfiguration("b");
  engine.setCurrentConfig(1);
  {
    QVMengineVersionChanger back(engine, 0);
    engine.setCurrentConfig(1);
  }
  EXPECT_EQ(engine.currentConfig(), 0u);
}

// How configurations keep the records of messages and tables in step, through additions and
// removals, is in the edit cases of tests/data/QVM/edit (engine.test, upkeep.test, trees.test).
TEST(QVMengineTest, MatchOrderPositionsAreStable) {
  QVMengineInternal engine;
  auto first = engine.insertMessageInMatchOrder(nullptr, 5);
  auto last = engine.insertMessageInMatchOrder(nullptr, 7);
  auto middle = engine.insertMessageInMatchOrder(last, 6);
  EXPECT_EQ(engine.nextMessage(first), middle);
  EXPECT_EQ(engine.previousMessage(last), middle);
  engine.removeMessageFromMatchOrder(middle);
  EXPECT_EQ(engine.nextMessage(first), last);
  engine.setMatchIndexToMessageIndex(last, 9);
  EXPECT_EQ(engine.matchIndexToMessageIndex(engine.lastMessage()), 9u);
  QVMengineConfig copy = engine.engineConfig();
  engine.clearMatchingOrder();
  EXPECT_EQ(engine.firstMessage(), nullptr);
  EXPECT_EQ(copy.matchOrder().toVector(), (std::vector<uint32_t>{5, 9}));
}

TEST(QVMengineTest, CriticalSectionIsRecursiveAndExclusive) {
  QVMengineInternal engine;
  COLcriticalSectionLocker outer(engine.criticalSection());
  COLcriticalSectionLocker inner(engine.criticalSection());
  bool otherThreadGotIt = true;
  std::thread([&] { otherThreadGotIt = engine.criticalSection().tryLock(); }).join();
  EXPECT_FALSE(otherThreadGotIt);
}

TEST(QVMengineTest, CustomConfigSetsSchemaNamespaces) {
  QVMengineInternal engine;
  engine.config().setStubFilePrefix("A D T");
  const char* path = "qvm_engine_test_custom.cfg";
  {
    std::ofstream file(path, std::ios::binary);
    file << "XmlNameSpace=urn:a:\r\nTargetNameSpace=\nElementFormDefault=qualified=yes\nOther=1\nnoequals\n";
  }
  EXPECT_TRUE(QVMengineReadCustomConfigFile(engine, path));
  std::remove(path);
  const QVMxmlSchemaProperties& properties = engine.config().xmlSchemaProperties();
  EXPECT_EQ(properties.xmlNamespace, "urn:a:ADT");
  EXPECT_EQ(properties.targetNamespace, "");
  EXPECT_EQ(properties.elementFormDefault, "qualified=yes");
  EXPECT_FALSE(QVMengineReadCustomConfigFile(engine, "no/such/custom.cfg"));
  EXPECT_EQ(engine.config().xmlSchemaProperties().xmlNamespace, "urn:a:ADT");
}

TEST(QVMengineTest, CharacterSetFunctions) {
  EXPECT_EQ(QVMcharacterSetFunctions::countOfTranslationLocale(), 0u);
  EXPECT_EQ(QVMcharacterSetFunctions::currentTranslationLocale(), "");
  EXPECT_EQ(TSTraised([] { QVMcharacterSetFunctions::characterSetCount(); }),
            COLerror("Invalid Function called: QVMcharacterSetFunctions::characterSetCount", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([] { QVMcharacterSetFunctions::characterSet(0); }),
            COLerror("Invalid Function called: QVMcharacterSetFunctions::characterSet", COL_ERROR_PRECONDITION));
}

TEST(QVMengineTest, LogSinkReplacementKeepsStream) {
  QVMengineInternal engine;
  COLostream* before = &engine.logStream();
  COLstring captured;
  engine.setLogSink(&captured, false);
  engine.logStream() << "hello";
  EXPECT_EQ(&engine.logStream(), before);
  EXPECT_EQ(captured, "hello");
  engine.setLogSink(nullptr, false);
  engine.logStream() << "dropped";
  EXPECT_EQ(captured, "hello");
}

TEST(QVMengineTest, ResetLanguageEngineRecompilesScripts) {
  QVMengineInternal engine;
  QVMtableDefinitionInternal* table = engine.table(engine.addTable());
  table->addColumn("a", QVMstringType);
  table->setIncomingFunctionCode(0, 0, "value = 2");
  engine.config().mainFunction().setCode("x = 1");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  message->setOutgoingFunctionCode(0, "y = 1");
  ASSERT_TRUE(engine.config().mainFunction().isSet());
  engine.resetLanguageEngine();
  EXPECT_TRUE(engine.config().mainFunction().isSet());
  EXPECT_TRUE(table->incomingFunction(0).isSet());
  EXPECT_TRUE(message->outgoingFunction().isSet());
  EXPECT_EQ(message->outgoingFunctionCode(0), "y = 1\r\n");
}

TEST(QVMengineTest, OutgoingScriptsRunWithTheirHeadings) {
  QVMengineInternal engine;
  LAGenvironment environment;
  environment.setEngine(&engine);
  QVMconfigPreProcessOutgoingMessage(engine.config(), environment);  // nothing set: nothing to run
  engine.config().outgoingMainFunction().setCode("ran = 1");
  QVMconfigPreProcessOutgoingMessage(engine.config(), environment);
  engine.config().outgoingMainFunction().setCode("ran = missing");
  EXPECT_EQ(TSTerrorText([&] { QVMconfigPreProcessOutgoingMessage(engine.config(), environment); }).substr(0, 30),
            "Global Outbound Script error: ");
  COLstring text = "MSH|x";
  engine.config().outgoingPostProcessFunction().setCode("value = value + str(ran)");
  QVMconfigPostProcessOutgoingMessage(engine.config(), text, environment);
  EXPECT_EQ(text.str(), "MSH|x1");
}
