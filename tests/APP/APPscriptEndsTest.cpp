// Scripts that would end or hang the whole tool: os._exit() and a script that never returns.
// Run through the real binary, since both would take an in-process test runner down with them.
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "../support/TSTtoolRun.h"

namespace {

namespace fs = std::filesystem;

const std::string Examples = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/";

class APPscriptEnds : public ::testing::Test {
protected:
  void SetUp() override {
    Dir = fs::path(::testing::TempDir()) / ("msgbridge-script-ends-" + std::to_string(::getpid()));
    fs::remove_all(Dir);
    fs::create_directories(Dir);
  }
  void TearDown() override { fs::remove_all(Dir); }

  // The scripted example with `Lines` run first in its global inbound script.
  fs::path definitionWith(const std::string& Lines) {
    std::ifstream In(Examples + "scripted.vmd", std::ios::binary);
    std::stringstream Text;
    Text << In.rdbuf();
    std::string Vmd = Text.str();
    const std::string Anchor = "from brelmont.SGM import";
    const size_t At = Vmd.find(Anchor);
    EXPECT_NE(At, std::string::npos);
    Vmd.insert(At, Lines);
    const fs::path Path = Dir / "scripted.vmd";
    std::ofstream(Path, std::ios::binary) << Vmd;
    return Path;
  }

  TSTtoolRun toXml(const std::string& Flags, const fs::path& Definition) {
    return TSTrunBinary(Flags + " --toxml " + Definition.string() + " " + Examples + "scripted.hl7 " +
                        (Dir / "out" / "m.xml").string());
  }

  fs::path Dir;
};

TEST_F(APPscriptEnds, OsExitFailsTheMessageInsteadOfEndingTheTool) {
  for (const char* Call : {"os._exit(0)", "posix._exit(0)"}) {
    const TSTtoolRun Run = toXml("", definitionWith("import os, posix\n" + std::string(Call) + "\n"));
    EXPECT_EQ(Run.status, 1) << Call << "\n" << Run.output;
    EXPECT_NE(Run.output.find("Global Inbound Script error:"), std::string::npos) << Run.output;
    EXPECT_NE(Run.output.find("os._exit() cannot end the program from a script"), std::string::npos) << Run.output;
  }
}

TEST_F(APPscriptEnds, AScriptPastItsTimeLimitStopsTheRun) {
  const fs::path Looping = definitionWith("while True:\n   pass\n");
  const auto Start = std::chrono::steady_clock::now();
  const TSTtoolRun Run = toXml("--scripttimelimit 1", Looping);
  EXPECT_LT(std::chrono::steady_clock::now() - Start, std::chrono::seconds(30));
  EXPECT_EQ(Run.status, 1) << Run.output;
  EXPECT_NE(Run.output.find("Error Code: 0x80000500"), std::string::npos) << Run.output;
  EXPECT_NE(Run.output.find("A script has run for more than 1 seconds"), std::string::npos) << Run.output;
  EXPECT_FALSE(fs::exists(Dir / "out" / "00001m.xml"));

  // A script asleep in a C call is stopped as well.
  const TSTtoolRun Asleep = toXml("--scripttimelimit 1", definitionWith("import time\ntime.sleep(600)\n"));
  EXPECT_EQ(Asleep.status, 1) << Asleep.output;
  EXPECT_NE(Asleep.output.find("A script has run for more than 1 seconds"), std::string::npos) << Asleep.output;
}

// The limit is on one run of a script: two messages whose script takes 0.7 seconds each pass a
// limit of 1 second; with no limit at all, a longer one passes too.
TEST_F(APPscriptEnds, TheLimitIsOnEachScriptRun) {
  const TSTtoolRun Run = toXml("--scripttimelimit 1", definitionWith("import time\ntime.sleep(0.7)\n"));
  EXPECT_EQ(Run.status, 0) << Run.output;
  EXPECT_TRUE(fs::exists(Dir / "out" / "00002m.xml"));
  const TSTtoolRun Unlimited = toXml("--scripttimelimit 0", definitionWith("import time\ntime.sleep(1.2)\n"));
  EXPECT_EQ(Unlimited.status, 0) << Unlimited.output;
}

}  // namespace
