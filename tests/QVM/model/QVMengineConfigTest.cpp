// Settings of one configuration: delimiter levels, dialects, databases, static flags.
#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMgrammarTestSupport.h"

#include "../../support/TSTraised.h"

TEST(QVMengineConfigTest, SepInfoValidity) {
  QVMsepInfo info;
  EXPECT_EQ(info.sepCharPosition(), 0xFFFFFFFFu);
  EXPECT_EQ(info.repeatCharPosition(), 0xFFFFFFFFu);
  EXPECT_EQ(TSTraised([&] { info.setAll('|', 0, 'F', 0, 3, 5); }),
            COLerror("Repeat character must have a default defined.", COL_ERROR_INCONSISTENT_DEFINITION));
  EXPECT_EQ(TSTraised([&] { info.setAll(0, '~', 'F', 'R', 3, 0xFFFFFFFF); }),
            COLerror("Repeat character must have a default defined.", COL_ERROR_INCONSISTENT_DEFINITION));
  info.setAll('|', 0, 'F', 0, 3, 0xFFFFFFFF);
  EXPECT_EQ(info.sepCharDefault(), '|');
}

TEST(QVMengineConfigTest, MinMessageSize) {
  QVMconfig config;
  config.setHeaderSegment("ISA");
  config.setEscapePosition(0xFFFFFFFF);
  EXPECT_EQ(QVMconfigCalculateMinMessageSize(config), 3u);
  config.setEscapePosition(10);
  EXPECT_EQ(QVMconfigCalculateMinMessageSize(config), 11u);
  QVMsepInfo level;
  level.setAll('*', '^', 0, 0, 3, 82);
  config.pushSepCharInfo(level);
  EXPECT_EQ(QVMconfigCalculateMinMessageSize(config), 83u);
}

// Dialect texts, level edits and connections are edit steps: tests/data/QVM/edit/settings.test.
TEST(QVMengineConfigTest, AConnectionOutOfRangeIsNone) {
  QVMconfig config;
  config.databaseConnection(config.addDatabaseConnection())->setLabel("one");
  EXPECT_EQ(config.databaseConnection(1), nullptr);
}

TEST(QVMengineConfigTest, AssignmentKeepsTargetEngine) {
  QVMengineInternal a;
  QVMengineInternal b;
  a.config().setHeaderSegment("ISA");
  a.config().setStubFilePrefix(" X 1 ");
  a.config().mainFunction().setCode("y = 1");
  b.config() = a.config();
  EXPECT_EQ(b.config().headerSegment(), "ISA");
  EXPECT_EQ(b.config().stubFilePrefix(), "X1");
  EXPECT_EQ(b.config().rootEngine(), &b);
  EXPECT_EQ(b.config().mainFunction().engine(), &b.LanguageEngine());
  EXPECT_EQ(b.config().mainFunction().code(), "y = 1\r\n");
}

TEST(QVMengineConfigTest, EmbeddedModules) {
  QVMengineInternal engine;
  QVMengineConfig& config = engine.engineConfig();
  QVMembeddedPythonModule* module = config.addEmbeddedPythonModule();
  module->setName("helpers");
  module->setCode("def f():\n  return 1\n");
  EXPECT_EQ(config.findEmbeddedPythonModule("helpers"), module);
  EXPECT_EQ(config.findEmbeddedPythonModule("other"), nullptr);
  EXPECT_EQ(module->pythonModule().engine(), &engine.LanguageEngine());
  config.removeEmbeddedPythonModule(0);
  EXPECT_EQ(config.countOfEmbeddedPythonModule(), 0u);
}
