// Version-one texts that can't be loaded: each failure is a COLerror that names the document,
// the line, the column and what was expected, and the engine is left empty. Models the
// format cannot hold are refused on saving.
#include <gtest/gtest.h>

#include "ANTengine.h"
#include "ANTtestSupport.h"
#include "COLerror.h"

#include "../support/TSTemptyEngine.h"
#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

namespace {
const std::string ExamplePath = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd";

// The error of loading `text` as "bad.vmd" over a loaded engine, which must be left empty.
std::string loadFailure(const std::string& text) {
  QVMengineInternal engine;
  ANTloadEngine(TSTreadFile(ExamplePath), engine, ExamplePath);
  std::string error = TSTerrorText([&] { ANTloadEngine(text, engine, "bad.vmd"); });
  TSTexpectEmptyEngine(engine);
  EXPECT_EQ(error.rfind("VMD file bad.vmd, line ", 0), 0u) << error;
  return error;
}

const std::string Head = "<engine version=\"1.0\">\n";
std::string withConfig(const std::string& configBody, const std::string& global = "") {
  return Head + "<global name=\"global\">" + global + "</global>\n<config name=\"c\">\n" + configBody +
         "\n</config>\n</engine>\n";
}
}  // namespace

TEST(ANTbadInputTest, MalformedXmlGivesLineAndColumn) {
  std::string example = TSTreadFile(ExamplePath);
  std::string truncated = example.substr(0, example.size() / 2);
  std::string error = loadFailure(truncated);
  EXPECT_NE(error.find("not well-formed XML"), std::string::npos) << error;
  EXPECT_NE(error.find(", line "), std::string::npos) << error;

  error = loadFailure(Head + "<global name=\"global\">\n  <table name=\"T\"></tabel>\n</global>\n</engine>\n");
  EXPECT_NE(error.find("line 3, column "), std::string::npos) << error;
  EXPECT_NE(error.find("mismatched tag"), std::string::npos) << error;
  // The engine element is never closed.
  EXPECT_NE(loadFailure(Head).find("not well-formed XML"), std::string::npos);
}

TEST(ANTbadInputTest, BrokenRulesNameTheElement) {
  const std::string table = "<table name=\"T\"><column name=\"c\"><type>Text</type></column></table>";
  std::string error = loadFailure(withConfig("", table));
  EXPECT_NE(error.find("line 2, column 56: unknown data type `Text'"), std::string::npos) << error;
  error = loadFailure(withConfig("", "<message name=\"M\"><table_grammar name=\"M\"><type>group</type>"
                                                 "<table_grammar name=\"x\"><type>table</type><table_ref>Nope</table_ref>"
                                                 "</table_grammar></table_grammar></message>"));
  EXPECT_NE(error.find("illegal reference to nonexistent table `Nope'"), std::string::npos) << error;
  error = loadFailure(withConfig("<composite name=\"A\"/>\n<composite name=\"A\"/>"));
  EXPECT_NE(error.find("line 5, column 1: a second composite is named `A'"), std::string::npos) << error;
  error = loadFailure(withConfig("<date_time name=\"D\"><mask>YYYYY</mask></date_time>"));
  EXPECT_NE(error.find("Unknown date time mask item type `YYYYY'"), std::string::npos) << error;
  error = loadFailure(withConfig("<composite name=\"A\"><field name=\"f\"><data_type>Composite</data_type>"
                                 "<composite_ref>B</composite_ref></field></composite>"));
  EXPECT_NE(error.find("illegal reference to nonexistent composite `B'"), std::string::npos) << error;
  error = loadFailure(withConfig("<segment id=\"x1\"/>"));
  EXPECT_NE(error.find("the attribute id of <segment> holds `x1'"), std::string::npos) << error;
  error = loadFailure(withConfig("<segment id=\"0\"><field name=\"f\"><max_repeats>many</max_repeats></field></segment>"));
  EXPECT_NE(error.find("<max_repeats> holds `many'; expected a number"), std::string::npos) << error;
  error = loadFailure(withConfig("<segment id=\"0\"><field name=\"f\"><rule type=\"magic\"/></field></segment>"));
  EXPECT_NE(error.find("unknown validation rule `magic'"), std::string::npos) << error;
}

TEST(ANTbadInputTest, BrokenMessagePartsNameTheElement) {
  const std::string message = "<message name=\"M\"><table_grammar name=\"M\"><type>group</type>"
                              "<table_grammar name=\"T\"><type>table</type><table_ref>T</table_ref></table_grammar>"
                              "</table_grammar></message><table name=\"T\"/>";
  std::string error = loadFailure(withConfig("<message name=\"M\"></message>", message));
  EXPECT_NE(error.find("Message grammar must have root"), std::string::npos) << error;
  error = loadFailure(withConfig("<message name=\"Other\"></message>", message));
  EXPECT_NE(error.find("illegal reference to message `Other'"), std::string::npos) << error;
  error = loadFailure(withConfig("<message name=\"M\"><message_grammar id=\"0\"><message_grammar id=\"1\">"
                                 "<type>segment</type><segment_ref>3</segment_ref></message_grammar>"
                                 "</message_grammar></message>",
                                 message));
  EXPECT_NE(error.find("illegal reference to segment 3"), std::string::npos) << error;
  error = loadFailure(withConfig("<message name=\"M\"><message_grammar id=\"0\"/><table_grammar name=\"M\">"
                                 "<table_grammar name=\"T\"><type>group</type></table_grammar></table_grammar>"
                                 "</message>",
                                 message));
  EXPECT_NE(error.find("is a table in the global section but a group here"), std::string::npos) << error;
  error = loadFailure(withConfig("<message name=\"M\"><message_grammar id=\"0\"/><table_grammar name=\"M\">"
                                 "<table_grammar name=\"T\"><mapset_ref>none</mapset_ref></table_grammar>"
                                 "</table_grammar></message>",
                                 message));
  EXPECT_NE(error.find("illegal reference to mapset `none'"), std::string::npos) << error;
  error = loadFailure(withConfig("<app_settings><xml_translation_type>TABLE</xml_translation_type></app_settings>"));
  EXPECT_NE(error.find("Unknown XML encoding: TABLE; expected EXPANDED"), std::string::npos) << error;
  error = loadFailure(withConfig("<app_settings><separator_info><repeat_char_position>2</repeat_char_position>"
                                 "</separator_info></app_settings>"));
  EXPECT_NE(error.find("Repeat character must have a default defined."), std::string::npos) << error;
  error = loadFailure(Head + "<current_config>3</current_config><config name=\"a\"/></engine>");
  EXPECT_NE(error.find("current_config 3 names no configuration; the file has 1."), std::string::npos) << error;
  error = loadFailure(Head + "<global name=\"global\"><message name=\"A B\"/><message name=\"A_B\"/></global></engine>");
  EXPECT_NE(error.find("a second message is named `A_B'"), std::string::npos) << error;
}

TEST(ANTbadInputTest, SaveRefusesWhatTheFormatCannotHold) {
  QVMengineInternal engine;
  ANTtestBuildFullModel(engine);
  engine.setVmdDescription("bell \x07");
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("holds the control character 0x07"),
            std::string::npos);
  ANTtestBuildFullModel(engine);
  engine.addEnumerationGrammar();
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("has enumeration grammars"), std::string::npos);
  ANTtestBuildFullModel(engine);
  engine.table(1)->setTableName("Visits & more");
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("two tables are named `Visits & more'"),
            std::string::npos);
}
