// Settings of one configuration: delimiter levels, dialects, databases, static flags.
#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMgrammarTestSupport.h"

#include "../../support/TSTraised.h"

TEST(QVMengineConfigTest, XmlDialectTexts) {
  QVMconfig config;
  config.setXmlTranslationType("X12");
  EXPECT_STREQ(config.xmlTranslationType(), "Full Tree Validation");
  EXPECT_EQ(config.xmlFormatType(), QVMxmlFullTreeValidation);
  const char* texts[] = {"EXPANDED", "Full Tree Validation", "TABLE - Short Tags", "TABLE - Long Tags",
                         "STANDARD VER 2", "STANDARD"};
  for (uint32_t type = 0; type < 6; ++type) {
    EXPECT_STREQ(QVMconfigXmlFormatTypeAsString(static_cast<QVMxmlFormatType>(type)), texts[type]);
    EXPECT_EQ(QVMconfigStringAsXmlFormatType(texts[type]), type);
  }
  EXPECT_EQ(TSTraised([] { QVMconfigXmlFormatTypeAsString(static_cast<QVMxmlFormatType>(6)); }),
            COLerror("Unknown XML encoding6", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([] { QVMconfigStringAsXmlFormatType("standard"); }),
            COLerror("Unknown XML encoding: standard", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { config.setXmlTranslationType("EXPANDED 2.4"); }),
            COLerror("Unknown XML encoding: EXPANDED 2.4", COL_ERROR_PRECONDITION));
  EXPECT_STREQ(config.xmlTranslationType(), "Full Tree Validation");
}

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

TEST(QVMengineConfigTest, LevelEditing) {
  QVMengineInternal engine;
  QVMconfig& config = engine.config();
  config.moveSepCharInfo(0, 3);
  EXPECT_EQ(config.sepCharInfo(0).sepCharDefault(), '|');
  EXPECT_EQ(config.sepCharInfo(3).sepCharDefault(), '\r');
  config.moveSepCharInfo(3, 4);  // to the end
  EXPECT_EQ(config.sepCharInfo(3).sepCharDefault(), '\r');
  EXPECT_EQ(TSTerrorText([&] { config.moveSepCharInfo(1, 1); }), "Failed precondition: FromIndex != ToIndex");
  EXPECT_EQ(TSTerrorText([&] { config.moveSepCharInfo(4, 0); }),
            "Failed precondition: FromIndex < pMember->Seperator.size()");
  EXPECT_EQ(TSTerrorText([&] { config.moveSepCharInfo(0, 5); }),
            "Failed precondition: ToIndex <= pMember->Seperator.size()");
  config.insertSepCharInfo(4);
  EXPECT_EQ(config.countOfLevel(), 5u);
  EXPECT_EQ(config.sepCharInfo(4).sepCharPosition(), 0xFFFFFFFFu);
  config.removeSepCharInfo(4);
  config.popSepInfo();
  config.addCharInfo();
  EXPECT_EQ(config.countOfLevel(), 4u);
  EXPECT_EQ(config.sepCharInfo(3).sepCharDefault(), 0);
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

TEST(QVMengineConfigTest, DatabaseConnections) {
  QVMconfig config;
  EXPECT_EQ(config.defaultDatabaseConnection(), 0xFFFFFFFFu);
  QVMconfigSetDefaultDatabase(config, "ODBC", "db", "me", "pw");
  ASSERT_EQ(config.countOfDatabaseConnections(), 1u);
  EXPECT_EQ(config.defaultDatabaseConnection(), 0u);
  EXPECT_EQ(config.databaseConnection(0)->apiName(), "ODBC");
  config.databaseConnection(0)->setLabel("first");
  config.databaseConnection(config.addDatabaseConnection())->setAll("second", "MySQL", "d2", "u2", "p2");
  config.databaseConnection(config.addDatabaseConnection())->setAll("third", "Oracle", "d3", "u3", "p3");
  QVMdbInfo third = *config.databaseConnection(2);
  config.setDefaultDatabaseConnection(0);
  config.setDefaultDatabaseConnection(3);
  EXPECT_EQ(config.databaseConnection(0)->label(), "first");
  config.setDefaultDatabaseConnection(2);
  ASSERT_EQ(config.countOfDatabaseConnections(), 3u);
  EXPECT_EQ(*config.databaseConnection(0), third);
  EXPECT_EQ(config.databaseConnection(1)->label(), "first");
  EXPECT_EQ(config.databaseConnection(2)->label(), "second");
  EXPECT_EQ(config.databaseConnectionIndex("second"), 2u);
  EXPECT_EQ(config.databaseConnectionIndex("none"), 0xFFFFFFFFu);
  EXPECT_EQ(config.databaseConnection(3), nullptr);
  config.removeDatabaseConnection(7);
  config.removeDatabaseConnection(0);
  EXPECT_EQ(config.countOfDatabaseConnections(), 2u);
  QVMconfigSetDefaultDatabase(config, "X", "Y", "Z", "W");
  EXPECT_EQ(config.databaseConnection(0)->label(), "first");
  EXPECT_EQ(config.databaseConnection(0)->password(), "W");
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

TEST(QVMengineConfigTest, StaticFlagsAndOutgoingScripts) {
  EXPECT_FALSE(QVMconfig::setIsLoading(true));
  EXPECT_TRUE(QVMconfig::setIsLoading(false));
  QVMconfig::setLibraryLoadMode(true);
  EXPECT_TRUE(QVMconfig::libraryLoadMode());
  QVMconfig::setLibraryLoadMode(false);
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
