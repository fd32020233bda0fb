// Outputs the system refuses: a read-only directory, a path through a regular file, a full
// disk (a link to /dev/full).  The real binary must name the fault, exit with status 1, and
// leave no half-written file behind that looks like a result.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "../support/TSTtoolRun.h"

namespace {

using ToolRun = TSTtoolRun;

namespace fs = std::filesystem;

const std::string Examples = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/";

ToolRun toXml(const fs::path& out) {
  return TSTrunBinary("--toxml " + Examples + "adt_oru.vmd " + Examples + "messages.hl7 " + out.string());
}

class APPoutputErrors : public ::testing::Test {
protected:
  void SetUp() override {
    Dir = fs::path(::testing::TempDir()) / ("msgbridge-outputs-" + std::to_string(::getpid()));
    fs::remove_all(Dir);
    fs::create_directories(Dir);
  }
  void TearDown() override {
    std::error_code Ignored;
    fs::permissions(Dir / "locked", fs::perms::owner_all, Ignored);
    fs::remove_all(Dir, Ignored);
  }
  size_t filesIn(const fs::path& dir) const {
    size_t Count = 0;
    for (const auto& Entry : fs::directory_iterator(dir)) Count += Entry.is_regular_file() || Entry.is_symlink();
    return Count;
  }
  fs::path Dir;
};

TEST_F(APPoutputErrors, ToXmlThroughARegularFileNamesTheFileInTheWay) {
  std::ofstream(Dir / "plain") << "not a directory";
  const ToolRun Run = toXml(Dir / "plain" / "sub" / "m.xml");
  EXPECT_EQ(Run.status, 1) << Run.output;
  EXPECT_NE(Run.output.find("Error Code: "), std::string::npos) << Run.output;
  EXPECT_NE(Run.output.find("plain"), std::string::npos) << Run.output;
  EXPECT_EQ(Run.output.find("Elapsed time"), std::string::npos) << Run.output;
  EXPECT_EQ(filesIn(Dir), 1u);
}

TEST_F(APPoutputErrors, ToXmlIntoAReadOnlyDirectoryIsRefused) {
  const fs::path Locked = Dir / "locked";
  fs::create_directories(Locked);
  fs::permissions(Locked, fs::perms::owner_read | fs::perms::owner_exec);
  if (::access(Locked.c_str(), W_OK) == 0) GTEST_SKIP() << "running as root: a read-only directory is writable";
  const ToolRun Run = toXml(Locked / "m.xml");
  EXPECT_EQ(Run.status, 1) << Run.output;
  EXPECT_NE(Run.output.find("Permission denied"), std::string::npos) << Run.output;
  EXPECT_EQ(filesIn(Locked), 0u);
}

// The first numbered file is a link to /dev/full: the write fails with ENOSPC, the tool stops
// at once and the link is gone, so no empty "00001m.xml" is left to pass for a result.
TEST_F(APPoutputErrors, ToXmlOnAFullDiskStopsAndLeavesNoFile) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full to simulate a full disk";
  fs::create_symlink("/dev/full", Dir / "00001m.xml");
  const ToolRun Run = toXml(Dir / "m.xml");
  EXPECT_EQ(Run.status, 1) << Run.output;
  EXPECT_NE(Run.output.find("No space left on device"), std::string::npos) << Run.output;
  EXPECT_NE(Run.output.find("00001m.xml"), std::string::npos) << Run.output;
  EXPECT_FALSE(fs::exists(fs::symlink_status(Dir / "00001m.xml")));
  EXPECT_EQ(filesIn(Dir), 0u) << "no message after the failed one is written";
}

TEST_F(APPoutputErrors, FromXmlFlatOutputThatCannotBeWritten) {
  ASSERT_EQ(toXml(Dir / "xml" / "m.xml").status, 0);
  const std::string Command = "--fromxml " + Examples + "adt_oru.vmd " + (Dir / "xml" / "m.xml").string() + " ";

  std::ofstream(Dir / "plain") << "not a directory";
  const ToolRun Through = TSTrunBinary(Command + (Dir / "plain" / "back.hl7").string());
  EXPECT_EQ(Through.status, 1) << Through.output;
  EXPECT_NE(Through.output.find("is not a directory"), std::string::npos) << Through.output;

  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full to simulate a full disk";
  const ToolRun Full = TSTrunBinary(Command + "/dev/full");
  EXPECT_EQ(Full.status, 1) << Full.output;
  EXPECT_NE(Full.output.find("No space left on device"), std::string::npos) << Full.output;
  EXPECT_TRUE(fs::exists("/dev/full")) << "a device given as the output is never removed";

  fs::create_symlink("/dev/full", Dir / "back.hl7");
  const ToolRun Linked = TSTrunBinary(Command + (Dir / "back.hl7").string());
  EXPECT_EQ(Linked.status, 1) << Linked.output;
  EXPECT_FALSE(fs::exists(fs::symlink_status(Dir / "back.hl7"))) << "the half-written output is removed";
}

}  // namespace
