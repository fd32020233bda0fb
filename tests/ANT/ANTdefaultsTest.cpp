// What a version-one text leaves out takes the model's defaults; the header probe.
#include <gtest/gtest.h>

#include "ANTengine.h"
#include "COLbuffer.h"
#include "QVMengineInternal.h"

namespace {
void load(QVMengineInternal& engine, const std::string& text) {
  ANTloadEngine(text, engine, "test.vmd");
}
}  // namespace

TEST(ANTdefaultsTest, AbsentElementsKeepTheModelDefaults) {
  QVMengineInternal engine;
  load(engine,
       "<engine version=\"1.0\"><global name=\"global\"><table name=\"T\"><column name=\"c\"/></table>"
       "<message name=\"M\"/></global><config name=\"only\"><composite name=\"C\"><field name=\"f\"/></composite>"
       "<segment id=\"4\"><field name=\"f\"/></segment></config></engine>");
  ASSERT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.configName(0), "only");
  EXPECT_TRUE(engine.useDotNetProperties());
  EXPECT_FALSE(engine.rejectBadSegmentGrammar());
  const QVMconfig& config = engine.config();
  EXPECT_EQ(config.parserVersion(), QVMparserCurrent);
  EXPECT_STREQ(config.xmlTranslationType(), "STANDARD VER 2");
  ASSERT_EQ(config.countOfLevel(), 4u);
  EXPECT_EQ(config.sepCharInfo(1).sepCharDefault(), '|');
  EXPECT_EQ(config.sepCharInfo(1).repeatCharPosition(), 5u);
  EXPECT_EQ(config.headerSegment(), "MSH");
  EXPECT_EQ(config.escapePosition(), 6u);
  EXPECT_EQ(engine.ackMessageIndex(0), 0xFFFFFFFFu);
  EXPECT_EQ(engine.table(0)->columnType(0), QVMstringType);
  EXPECT_EQ(engine.table(0)->databaseAction(), 1u);
  EXPECT_EQ(engine.table(0)->countOfMapSet(), 1u);
  EXPECT_EQ(engine.table(0)->mapSet(0)->name(), "Mapset");
  EXPECT_TRUE(engine.message(0)->config(0).ignoreUnknownSegments());
  EXPECT_EQ(engine.message(0)->messageGrammar()->countOfSubGrammar(), 0u);
  const QVMcompositeSubField& field = *engine.composite(0)->field(0);
  EXPECT_EQ(field.dataType(), QVMstringType);
  EXPECT_EQ(field.maxLength(), 0xFFFFFFFFu);
  EXPECT_FALSE(field.isLengthRestricted());
  EXPECT_EQ(engine.segment(0)->fieldWidth(0), 0xFFFFFFFFu);
  EXPECT_TRUE(engine.segment(0)->hasDelimiters());
  EXPECT_EQ(engine.segment(0)->fieldType(0), nullptr);
}

TEST(ANTdefaultsTest, ParserVersionAndFlags) {
  QVMengineInternal engine;
  auto settings = [](const std::string& body) {
    return "<engine version=\"1.0\"><config name=\"c\"><app_settings>" + body + "</app_settings></config></engine>";
  };
  load(engine, settings("<use_segment_checker3>False</use_segment_checker3>"));
  EXPECT_EQ(engine.config().parserVersion(), QVMparserLegacy);
  load(engine, settings("<use_segment_checker3>True</use_segment_checker3>"));
  EXPECT_EQ(engine.config().parserVersion(), QVMparserSegmentChecker3);
  load(engine, settings("<use_segment_checker3>True</use_segment_checker3><parser_version>2</parser_version>"));
  EXPECT_EQ(engine.config().parserVersion(), QVMparserCurrent);
  // Only "True" is true.
  load(engine, settings("<output_trailing_separators>true</output_trailing_separators>"
                        "<xml_schema_single_file>yes</xml_schema_single_file><database_equation_on>True"
                        "</database_equation_on>"));
  EXPECT_FALSE(engine.config().outputTrailingSeparators());
  EXPECT_FALSE(engine.config().xmlSchemaSingleFile());
  EXPECT_TRUE(engine.config().isDatabaseFunctionOn());
  // Blanks around numbers are fine; "-1" is "no value".
  load(engine, settings("<escape_position> -1 </escape_position><header_fields_to_skip> 7</header_fields_to_skip>"));
  EXPECT_EQ(engine.config().escapePosition(), 0xFFFFFFFFu);
  EXPECT_EQ(engine.config().countOfHeaderFieldsToSkip(), 7u);
}

TEST(ANTdefaultsTest, NoConfigurationKeepsTheDefaultOneAndSiblingsReadInAnyOrder) {
  QVMengineInternal engine;
  load(engine, "<engine version=\"1.0\"><vmd_description>d</vmd_description></engine>");
  EXPECT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.configName(0), "default");
  EXPECT_EQ(engine.vmdDescription(), "d");
  // Properties before objects or after them: the reader takes them by name.
  load(engine, "<engine version=\"1.0\"><config name=\"b\"/><current_config>1</current_config>"
               "<config name=\"a\"/></engine>");
  ASSERT_EQ(engine.countOfConfig(), 2u);
  EXPECT_EQ(engine.configName(0), "b");
  EXPECT_EQ(engine.currentConfig(), 1u);
}

TEST(ANTdefaultsTest, HeaderProbe) {
  auto buffer = [](const std::string& bytes) {
    COLsimpleBuffer result(bytes.size());
    std::copy(bytes.begin(), bytes.end(), result.data());
    return result;
  };
  EXPECT_TRUE(ANTisHeaderAntVersionOne(buffer("<engine version=\"1.0\">")));
  EXPECT_FALSE(ANTisHeaderAntVersionOne(buffer("<engine version=\"1.0\"")));
  EXPECT_FALSE(ANTisHeaderAntVersionOne(buffer("<engine version=\"2.0\">")));
}
