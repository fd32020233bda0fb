// The scripted example definition through the tool: a pre-process script, a field equation and a
// table equation change what comes out, a Python validation rule stops a message, and a failing
// script ends the run with its name and the Python error.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "APPtool.h"
#include "COLostream.h"

#include "../support/TSTtoolRun.h"

namespace {

namespace fs = std::filesystem;

#define MSBRIDGE_EXAMPLE(name) std::string(MSGBRIDGE_SOURCE_DIR "/examples/" name)

class APPscriptTest : public ::testing::Test {
protected:
  void SetUp() override {
    Dir = fs::temp_directory_path() / ("app-script-" + std::to_string(::getpid()));
    fs::create_directories(Dir);
  }
  void TearDown() override { fs::remove_all(Dir); }

  // Runs the tool in --toxml mode (or another) and returns its exit status; Output keeps what it
  // printed.
  int tool(const std::string& Vmd, const std::string& Log, const char* Mode = "--toxml",
           const std::string& Out = "") {
    const std::string Target = Out.empty() ? (Dir / "out" / "m.xml").string() : Out;
    std::vector<const char*> Words = {"msgbridge", Mode, Vmd.c_str(), Log.c_str(), Target.c_str()};
    COLstring Text;
    COLostream Stream(Text);
    const int Status = APPrunTool(static_cast<int>(Words.size()), Words.data(), Stream);
    Stream.flush();
    Output = Text.str();
    return Status;
  }

  std::string read(const fs::path& Path) {
    std::ifstream In(Path, std::ios::binary);
    std::stringstream Text;
    Text << In.rdbuf();
    return Text.str();
  }

  // The example definition with one script replaced, as a file of its own.
  std::string variant(const std::string& Old, const std::string& New) {
    std::string Text = read(Example);
    const size_t At = Text.find(Old);
    EXPECT_NE(At, std::string::npos) << Old;
    if (At != std::string::npos) Text.replace(At, Old.size(), New);
    const fs::path Path = Dir / "variant.vmd";
    std::ofstream(Path, std::ios::binary) << Text;
    return Path.string();
  }

  std::string log(const std::string& Messages) {
    const fs::path Path = Dir / "log.hl7";
    std::ofstream(Path, std::ios::binary) << Messages;
    return Path.string();
  }

  const std::string Example = MSBRIDGE_EXAMPLE("scripted.vmd");
  const std::string ExampleLog = MSBRIDGE_EXAMPLE("scripted.hl7");
  fs::path Dir;
  std::string Output;
};

const char* const Admission =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240303101500||ADT^A04|MSG03001|P|2.4\r"
    "EVN|A04|20240303101500\r"
    "PID|1||MR410038^^^NORTHGATE^MR||{NAME}^Ann^^^||19600101|F\r"
    "PV1|1|I|WARD^1^A^NORTHGATE||||D2281^Osei^Kwame\r\r\n";

std::string admission(const std::string& Name) {
  std::string Text = Admission;
  Text.replace(Text.find("{NAME}"), 6, Name);
  return Text;
}

TEST_F(APPscriptTest, EachScriptOfTheExampleChangesTheResult) {
  ASSERT_EQ(tool(Example, ExampleLog), 0) << Output;
  const std::string First = read(Dir / "out" / "00001m.xml");
  const std::string Second = read(Dir / "out" / "00002m.xml");
  // The pre-process script made an A28 into an A04, which the definition knows.
  EXPECT_NE(First.find("<ADT_A04>"), std::string::npos) << First;
  EXPECT_NE(First.find("<EventType>A04</EventType>"), std::string::npos) << First;
  // The field equation: capitals, blanks gone, Latin-1 letters kept (in the file as UTF-8).
  EXPECT_NE(First.find("<FamilyName>LINDQVIST</FamilyName>"), std::string::npos) << First;
  EXPECT_NE(Second.find("<FamilyName>M\xC3\x9CLLER</FamilyName>"), std::string::npos) << Second;
  EXPECT_NE(Second.find("<GivenName>J\xC3\xBCrgen</GivenName>"), std::string::npos) << Second;
  // The table equation.
  EXPECT_NE(First.find("<PatientClass>Outpatient</PatientClass>"), std::string::npos) << First;
  EXPECT_NE(Second.find("<PatientClass>Emergency</PatientClass>"), std::string::npos) << Second;
}

// The message holds "M\xDCLLER" as Latin-1 bytes; its XML file must be UTF-8 that an XML reader
// takes without a declaration, and --fromxml must give the same bytes back.
TEST_F(APPscriptTest, LatinOneNamesGoOutAsUtf8ThatXmllintAcceptsAndComeBackAsTheSameBytes) {
  ASSERT_EQ(tool(Example, ExampleLog), 0) << Output;
  const fs::path Second = Dir / "out" / "00002m.xml";
  ASSERT_NE(read(Second).find("M\xC3\x9CLLER"), std::string::npos) << read(Second);
  if (std::system("command -v xmllint >/dev/null 2>&1") == 0) {
    const TSTtoolRun Lint = TSTrunShell("xmllint --noout " + Second.string());
    EXPECT_EQ(Lint.status, 0) << Lint.output;
    EXPECT_EQ(Lint.output, "");
  }
  const std::string Back = (Dir / "back.hl7").string();
  ASSERT_EQ(tool(Example, (Dir / "out" / "m.xml").string(), "--fromxml", Back), 0) << Output;
  EXPECT_NE(read(Back).find("|M\xDCLLER^J\xFCrgen"), std::string::npos) << read(Back);
}

TEST_F(APPscriptTest, TheValidationRuleRejectsAPatientWithoutAFamilyName) {
  EXPECT_EQ(tool(Example, log(admission("Okafor"))), 0) << Output;
  // Blanks only: the equation strips them before the rule looks.
  EXPECT_EQ(tool(Example, log(admission("   "))), 1);
  EXPECT_NE(Output.find("Error Code: 0x80002006"), std::string::npos) << Output;
  EXPECT_NE(Output.find("Description: The patient has no family name"), std::string::npos) << Output;
  EXPECT_NE(Output.find("ValidationRuleName: A patient needs a family name"), std::string::npos) << Output;
}

TEST_F(APPscriptTest, AFailingScriptEndsTheRunWithItsNameAndThePythonError) {
  const std::string Broken =
      variant("value = value.strip().upper()", "value = value.strip().upper() + undefined_suffix");
  EXPECT_EQ(tool(Broken, log(admission("Okafor"))), 1);
  EXPECT_NE(Output.find("The field equation of field 5 'PID.PatientName' of segment PID"), std::string::npos)
      << Output;
  EXPECT_NE(Output.find("NameError"), std::string::npos) << Output;

  const std::string Raising = variant("# Older senders", "raise RuntimeError('feed closed')\n# Older senders");
  EXPECT_EQ(tool(Raising, log(admission("Okafor"))), 1);
  EXPECT_NE(Output.find("Global Inbound Script error: "), std::string::npos) << Output;
  EXPECT_NE(Output.find("RuntimeError: feed closed"), std::string::npos) << Output;
}

}  // namespace
