// Definition files that can't be loaded: each failure is a COLerror that names the file
// (and for XML the line, column and what was expected), and the engine is left empty.
#include <gtest/gtest.h>

#include <functional>

#include "ANTengine.h"
#include "COLerror.h"
#include "QVLtestSupport.h"
#include "QVLvmdFile.h"

#include "../support/TSTraised.h"

namespace {
const std::string ExamplePath = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd";

// A loaded engine, so that a failed load has something to throw away.
void loadExample(QVMengineInternal& engine) { QVLloadEngine(engine, ExamplePath.c_str()); }

void expectEmpty(QVMengineInternal& engine) {
  EXPECT_EQ(engine.countOfMessage(), 0u);
  EXPECT_EQ(engine.countOfTable(), 0u);
  EXPECT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.configName(0), "default");
  EXPECT_EQ(engine.countOfSegment(), 0u);
  EXPECT_EQ(engine.vmdDescription(), "");
}

// The error of loading `text` from a file named "bad.vmd", after which the engine is empty.
std::string loadFailure(const std::string& text) {
  std::string path = QVLtestDirectory("bad") + "/bad.vmd";
  QVLtestWriteFile(path, text);
  QVMengineInternal engine;
  loadExample(engine);
  std::string error = TSTerrorText([&] { QVLloadEngine(engine, path.c_str()); });
  expectEmpty(engine);
  EXPECT_NE(error.find(path), std::string::npos) << error;
  return error;
}

const std::string Head = "<engine version=\"1.0\">\n";
std::string withConfig(const std::string& configBody, const std::string& global = "") {
  return Head + "<global name=\"global\">" + global + "</global>\n<config name=\"c\">\n" + configBody +
         "\n</config>\n</engine>\n";
}
}  // namespace

TEST(QVLbadInputTest, MissingEmptyAndUnknownFiles) {
  std::string directory = QVLtestDirectory("files");
  QVMengineInternal engine;
  loadExample(engine);
  std::string missing = directory + "/missing.vmd";
  EXPECT_NE(TSTerrorText([&] { QVLloadEngine(engine, missing.c_str()); }).find("missing.vmd"), std::string::npos);
  expectEmpty(engine);

  EXPECT_EQ(loadFailure(""), "VMD file, " + directory.substr(0, directory.size() - 5) + "bad/bad.vmd" +
                                 " is of size 0: The VMD file is not properly formatted.");
  std::string empty = directory + "/empty.vmd";
  QVLtestWriteFile(empty, "");
  EXPECT_EQ(TSTerrorText([&] { QVLvmdFileType(empty.c_str()); }),
            "VMD file, " + empty + " is of size 0: The VMD file is not properly formatted.");

  std::string shortFile = directory + "/short.vmd";
  QVLtestWriteFile(shortFile, "abc");
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngine(engine, shortFile.c_str()); }),
            "VMD file format of " + shortFile + " is not supported.");
  EXPECT_EQ(TSTerrorText([&] { QVLvmdFileType(shortFile.c_str()); }),
            "The file " + shortFile + " does not appear to be a valid VMD file.");
  EXPECT_NE(loadFailure("MSH|^~\\&|not a definition\r").find("is not supported"), std::string::npos);
  EXPECT_NE(loadFailure("<engine version=\"2.0\">\n</engine>\n").find("is not supported"), std::string::npos);
}

TEST(QVLbadInputTest, BinaryKindsAreRecognisedAndRefusedByName) {
  std::string directory = QVLtestDirectory("binary");
  std::string archive = directory + "/a.vmd", reflected = directory + "/t.vmd";
  QVLtestWriteFile(archive, std::string("\x60\x34\x46\x84", 4));
  QVLtestWriteFile(reflected, std::string("\x54\x52\x45\xFF\x0D\x00" "5.1.12\x00 payload", 20));
  EXPECT_EQ(QVLvmdFileType(archive.c_str()), QVLvmdTypeArc);
  EXPECT_EQ(QVLvmdFileType(reflected.c_str()), QVLvmdTypeTreBin);
  QVMengineInternal engine;
  loadExample(engine);
  std::string error = TSTerrorText([&] { QVLloadEngine(engine, archive.c_str()); });
  EXPECT_NE(error.find(archive), std::string::npos);
  EXPECT_NE(error.find("archive (ARC)"), std::string::npos) << error;
  expectEmpty(engine);
  error = TSTerrorText([&] { QVLloadEngine(engine, reflected.c_str()); });
  EXPECT_NE(error.find("reflected binary (TREBIN)"), std::string::npos) << error;

  std::string bytes = QVLtestReadFile(reflected);
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, bytes.data(), bytes.size()); }),
            "This VMD file format is not in the format required by this version of Quovane.  Please load into "
            "Quovane and resave to adjust the file.");
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, "xyz", 3); }),
            "In memory VMD is not of a recognized format.");
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, "", 0); }),
            "VMD file is of size 0: The VMD file is not properly formatted.");
  EXPECT_STREQ(QVLvmdTypeString(3), "XML");
  EXPECT_STREQ(QVLvmdTypeString(2), "TREBIN");
  EXPECT_STREQ(QVLvmdTypeString(7), "bad_value");
}

TEST(QVLbadInputTest, MalformedXmlGivesLineAndColumn) {
  std::string example = QVLtestReadFile(ExamplePath);
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

TEST(QVLbadInputTest, BrokenRulesNameTheElement) {
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

TEST(QVLbadInputTest, BrokenMessagePartsNameTheElement) {
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

TEST(QVLbadInputTest, SaveRefusesWhatTheFormatCannotHold) {
  QVMengineInternal engine;
  QVLtestBuildFullModel(engine);
  engine.setVmdDescription("bell \x07");
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("holds the control character 0x07"),
            std::string::npos);
  QVLtestBuildFullModel(engine);
  engine.addEnumerationGrammar();
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("has enumeration grammars"), std::string::npos);
  QVLtestBuildFullModel(engine);
  engine.table(1)->setTableName("Visits & more");
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("two tables are named `Visits & more'"),
            std::string::npos);

  std::string path = QVLtestDirectory("refuse") + "/kept.vmd";
  QVLtestWriteFile(path, "kept");
  EXPECT_EQ(TSTerrorText([&] { QVLsaveEngine(engine, path.c_str(), QVLvmdTypeArc); }),
            "CARCengineInternal: writing not allowed on this platform");
  EXPECT_EQ(TSTerrorText([&] { QVLsaveEngine(engine, path.c_str(), 9); }), "Cannot save to this VMD file format.");
  EXPECT_NE(TSTerrorText([&] { QVLsaveEngine(engine, path.c_str(), QVLvmdTypeXml); }), "no error");
  EXPECT_EQ(QVLtestReadFile(path), "kept");
}

TEST(QVLbadInputTest, EveryCutOfTheExampleFailsCleanly) {
  std::string example = QVLtestReadFile(ExamplePath);
  QVMengineInternal engine;
  for (size_t cut = 1; cut < example.size(); cut += 1543) {
    std::string error = TSTerrorText([&] { QVLloadEngineFromMemory(engine, example.data(), cut); });
    // Below the header the kind is unknown; above it the XML ends too soon.
    EXPECT_TRUE(error.find("not of a recognized format") != std::string::npos ||
                error.find("VMD file in memory, line ") != std::string::npos)
        << cut << ": " << error;
    expectEmpty(engine);
  }
}
