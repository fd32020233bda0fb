// An output path that names one of the run's inputs, however it is spelled, is refused before
// anything is opened for writing: the input must come through byte for byte.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "../support/TSTtoolRun.h"

namespace {

namespace fs = std::filesystem;

class APPoutputOverInput : public ::testing::Test {
protected:
  void SetUp() override {
    Dir = fs::path(::testing::TempDir()) / ("msgbridge-over-input-" + std::to_string(::getpid()));
    fs::remove_all(Dir);
    fs::create_directories(Dir / "xml");
    const fs::path Examples = fs::path(MSGBRIDGE_SOURCE_DIR) / "examples";
    fs::copy_file(Examples / "adt_oru.vmd", Dir / "d.vmd");
    fs::copy_file(Examples / "messages.hl7", Dir / "log.hl7");
  }
  void TearDown() override { fs::remove_all(Dir); }

  static std::string contents(const fs::path& Path) {
    std::ifstream In(Path, std::ios::binary);
    std::stringstream Text;
    Text << In.rdbuf();
    return Text.str();
  }

  // Runs the tool in Dir and expects the refusal, with `Kept` unchanged.
  void expectRefused(const std::string& Arguments, const fs::path& Kept, const char* What) {
    const std::string Before = contents(Kept);
    const TSTtoolRun Run = TSTrunShell("cd " + Dir.string() + " && " + MSGBRIDGE_TOOL + " " + Arguments);
    EXPECT_EQ(Run.status, 1) << Arguments << "\n" << Run.output;
    EXPECT_NE(Run.output.find("Error Code: 0x80000100"), std::string::npos) << Run.output;
    EXPECT_NE(Run.output.find(std::string("would overwrite the ") + What), std::string::npos) << Run.output;
    EXPECT_EQ(contents(Kept), Before) << Arguments;
  }

  fs::path Dir;
};

TEST_F(APPoutputOverInput, EveryModeRefusesToWriteOverItsInputs) {
  // Counting mode empties its output: not the log, not the definition, whatever the spelling.
  expectRefused("d.vmd log.hl7 log.hl7", Dir / "log.hl7", "log");
  expectRefused("d.vmd log.hl7 ./xml/../log.hl7", Dir / "log.hl7", "log");
  expectRefused("d.vmd log.hl7 " + (Dir / "d.vmd").string(), Dir / "d.vmd", "definition");
  fs::create_hard_link(Dir / "log.hl7", Dir / "alias.hl7");
  expectRefused("d.vmd log.hl7 alias.hl7", Dir / "log.hl7", "log");
  expectRefused("--toxsd d.vmd unused d.vmd", Dir / "d.vmd", "definition");

  // --toxml writes 00001name, 00002name, ...: a log or definition of such a name is refused.
  fs::copy_file(Dir / "log.hl7", Dir / "00002m.hl7");
  expectRefused("--toxml d.vmd 00002m.hl7 m.hl7", Dir / "00002m.hl7", "log");
  fs::copy_file(Dir / "d.vmd", Dir / "xml" / "00001d.vmd");
  expectRefused("--toxml xml/00001d.vmd log.hl7 xml/d.vmd", Dir / "xml" / "00001d.vmd", "definition");

  // --fromxml reads the numbered files: its output must be none of them, nor the definition.
  ASSERT_EQ(TSTrunShell("cd " + Dir.string() + " && " + MSGBRIDGE_TOOL + " --toxml d.vmd log.hl7 xml/m.xml").status, 0);
  expectRefused("--fromxml d.vmd xml/m.xml xml/00003m.xml", Dir / "xml" / "00003m.xml", "XML input");
  expectRefused("--fromxml d.vmd xml/m.xml d.vmd", Dir / "d.vmd", "definition");
}

TEST_F(APPoutputOverInput, OutputsBesideTheInputsStillWork) {
  // Names that only resemble the inputs are outputs of their own.
  const std::string Run = "cd " + Dir.string() + " && " + MSGBRIDGE_TOOL;
  EXPECT_EQ(TSTrunShell(Run + " d.vmd log.hl7 log.hl7.count").status, 0);
  EXPECT_EQ(TSTrunShell(Run + " --toxml d.vmd log.hl7 xml/m.xml").status, 0);
  EXPECT_EQ(TSTrunShell(Run + " --fromxml d.vmd xml/m.xml xml/m.xml").status, 0);  // the pattern itself is no input
  EXPECT_EQ(TSTrunShell(Run + " --fromxml d.vmd xml/m.xml xml/0001m.xml").status, 0);  // four digits: not numbered
  EXPECT_TRUE(fs::exists(Dir / "xml" / "00024m.xml"));
}

}  // namespace
