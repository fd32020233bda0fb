// Version-one texts that can't be loaded: each failure is a COLerror that names the document,
// the line, the column and what was expected, and the engine is left empty. Models the
// format cannot hold are refused on saving.
#include <gtest/gtest.h>

#include "ANTengine.h"
#include "ANTtestSupport.h"
#include "COLerror.h"

#include "../support/TSTdataFile.h"
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
}  // namespace

TEST(ANTbadInputTest, MalformedXmlGivesLineAndColumn) {
  std::string example = TSTreadFile(ExamplePath);
  std::string error = loadFailure(example.substr(0, example.size() / 2));
  EXPECT_NE(error.find("not well-formed XML"), std::string::npos) << error;
  EXPECT_NE(error.find(", line "), std::string::npos) << error;
}

class ANTbadInput : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(ANTbadInput, LoadIsRefused) {
  SCOPED_TRACE(GetParam().where());
  EXPECT_EQ(loadFailure(GetParam().text("vmd")) + "\n", GetParam().text("error"));
}

INSTANTIATE_TEST_SUITE_P(Cases, ANTbadInput, ::testing::ValuesIn(TSTreadDataFile("ANT/bad_input.test")),
                         TSTdataParamName);

TEST(ANTbadInputTest, SaveRefusesWhatTheFormatCannotHold) {
  QVMengineInternal engine;
  auto load = [&] { ANTloadEngine(TSTreadFile(ANTfullModel + ".vmd"), engine, "full_model.vmd"); };
  load();
  engine.setVmdDescription("bell \x07");
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("holds the control character 0x07"),
            std::string::npos);
  load();
  engine.addEnumerationGrammar();
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("has enumeration grammars"), std::string::npos);
  load();
  engine.table(1)->setTableName("Visits & more");
  EXPECT_NE(TSTerrorText([&] { ANTsaveEngineToString(engine); }).find("two tables are named `Visits & more'"),
            std::string::npos);
}
