// Outputs the system refuses: a read-only directory, a path through a regular file, a full disk
// (a file size limit, or /dev/full for the flat output); and runs cut short by a signal.  Paths
// through a regular file for XML and schemas are data cases, tests/data/APP/outputs.test.
// The real binary must name the fault, exit with status 1 (or die of the signal), and leave no
// half-written file behind that looks like a result.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <csignal>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../support/TSTtoolRun.h"

namespace {

using ToolRun = TSTtoolRun;

namespace fs = std::filesystem;

const std::string Examples = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/";

std::string contents(const fs::path& Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

// The tool under a file size limit of 1024 bytes, with SIGXFSZ ignored so that a write past it
// fails with EFBIG: a full disk that only this child sees.
ToolRun underFileSizeLimit(const std::vector<std::string>& Arguments) {
  int Pipe[2];
  if (::pipe(Pipe) != 0) return {-1, "no pipe"};
  const pid_t Child = ::fork();
  if (Child == 0) {
    ::dup2(Pipe[1], STDOUT_FILENO);
    ::dup2(Pipe[1], STDERR_FILENO);
    ::close(Pipe[0]);
    const rlimit Limit{1024, 1024};
    ::setrlimit(RLIMIT_FSIZE, &Limit);
    ::signal(SIGXFSZ, SIG_IGN);
    std::vector<char*> Argv{const_cast<char*>("msgbridge")};
    for (const std::string& Word : Arguments) Argv.push_back(const_cast<char*>(Word.c_str()));
    Argv.push_back(nullptr);
    ::execv(MSGBRIDGE_TOOL, Argv.data());
    ::_exit(127);
  }
  ::close(Pipe[1]);
  std::string Output;
  char Buffer[4096];
  for (ssize_t n; (n = ::read(Pipe[0], Buffer, sizeof Buffer)) > 0;) Output.append(Buffer, static_cast<size_t>(n));
  ::close(Pipe[0]);
  int Status = 0;
  ::waitpid(Child, &Status, 0);
  return {WIFEXITED(Status) ? WEXITSTATUS(Status) : -1, Output};
}

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

// A full disk, as a file size limit of 1 KB with SIGXFSZ ignored: writes past it fail with
// EFBIG.  The first two files are smaller, the third is not: the run stops there, and the two
// whole files are all that is left, no part of the third under any name.
TEST_F(APPoutputErrors, ToXmlPastTheFileSizeLimitKeepsOnlyWholeFiles) {
  ASSERT_EQ(toXml(Dir / "whole" / "m.xml").status, 0);
  const ToolRun Run = underFileSizeLimit(
      {"--toxml", Examples + "adt_oru.vmd", Examples + "messages.hl7", (Dir / "cut" / "m.xml").string()});
  EXPECT_EQ(Run.status, 1) << Run.output;
  EXPECT_NE(Run.output.find("write failed on '" + (Dir / "cut" / "00003m.xml").string() + "'. File too large."),
            std::string::npos)
      << Run.output;
  EXPECT_EQ(filesIn(Dir / "cut"), 2u);
  for (const char* Name : {"00001m.xml", "00002m.xml"})
    EXPECT_EQ(contents(Dir / "cut" / Name), contents(Dir / "whole" / Name)) << Name;
}

TEST_F(APPoutputErrors, ToXsdPastTheFileSizeLimitLeavesNoSchema) {
  const ToolRun Run = underFileSizeLimit({"--toxsd", Examples + "adt_oru.vmd", "unused", (Dir / "s.xsd").string()});
  EXPECT_EQ(Run.status, 1) << Run.output;
  EXPECT_NE(Run.output.find("s.xsd'. File too large."), std::string::npos) << Run.output;
  EXPECT_EQ(filesIn(Dir), 0u);
}

TEST_F(APPoutputErrors, NewDirectoriesArePrivateWhateverTheUmask) {
  for (const auto& [Umask, Mode] : {std::pair{"022", fs::perms(0700)}, std::pair{"000", fs::perms(0700)}}) {
    const fs::path Made = Dir / ("u" + std::string(Umask));
    const ToolRun Run = TSTrunShell(std::string("umask ") + Umask + " && " + MSGBRIDGE_TOOL + " --toxml " + Examples +
                                    "adt_oru.vmd " + Examples + "messages.hl7 " + (Made / "sub" / "m.xml").string());
    ASSERT_EQ(Run.status, 0) << Run.output;
    EXPECT_EQ(fs::status(Made).permissions(), Mode) << Umask;
    EXPECT_EQ(fs::status(Made / "sub").permissions(), Mode) << Umask;
  }
}

// SIGTERM or SIGINT at any moment of a long run: every numbered file then present is whole
// (equal to the file of an uninterrupted run) and no temporary is left behind.
TEST_F(APPoutputErrors, ASignalLeavesOnlyWholeFiles) {
  std::string Log = contents(fs::path(Examples) / "messages.hl7");
  std::ofstream(Dir / "long.hl7", std::ios::binary) << [&] {
    std::string Many;
    for (int i = 0; i < 100; ++i) Many += Log;
    return Many;
  }();
  ASSERT_EQ(toXml(Dir / "whole" / "m.xml").status, 0);
  for (int Signal : {SIGTERM, SIGINT}) {
    const fs::path Cut = Dir / ("cut" + std::to_string(Signal));
    const pid_t Child = ::fork();
    ASSERT_GE(Child, 0);
    if (Child == 0) {
      ::freopen("/dev/null", "w", stdout);
      ::execl(MSGBRIDGE_TOOL, "msgbridge", "--toxml", (Examples + "adt_oru.vmd").c_str(),
              (Dir / "long.hl7").c_str(), (Cut / "m.xml").c_str(), static_cast<char*>(nullptr));
      ::_exit(127);
    }
    // Some files made, the run not over.
    while (!fs::exists(Cut / "00030m.xml")) ::usleep(1000);
    ::kill(Child, Signal);
    int Status = 0;
    ASSERT_EQ(::waitpid(Child, &Status, 0), Child);
    ASSERT_TRUE(WIFSIGNALED(Status)) << "the run ended before the signal";
    EXPECT_EQ(WTERMSIG(Status), Signal);
    size_t Files = 0;
    for (const auto& Entry : fs::directory_iterator(Cut)) {
      const std::string Name = Entry.path().filename().string();
      ASSERT_NE(Name[0], '.') << "a temporary is left: " << Name;
      // The log repeats every 24 messages, so file n holds what file (n - 1) % 24 + 1 does.
      const unsigned Number = std::stoul(Name.substr(0, 5));
      char Whole[16];
      std::snprintf(Whole, sizeof Whole, "%05um.xml", (Number - 1) % 24 + 1);
      EXPECT_EQ(contents(Entry.path()), contents(Dir / "whole" / Whole)) << Name;
      ++Files;
    }
    EXPECT_GE(Files, 30u);
  }
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
