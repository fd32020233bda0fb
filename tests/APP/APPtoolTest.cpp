#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "APPtool.h"
#include "APPxmlFileName.h"
#include "COLostream.h"

namespace {
struct ToolRun {
  int status;
  std::string output;
};

// The tool in-process, named "msgbridge", output captured whole.
ToolRun runTool(std::vector<const char*> words) {
  words.insert(words.begin(), "msgbridge");
  COLstring text;
  COLostream stream(text);
  const int status = APPrunTool(static_cast<int>(words.size()), words.data(), stream);
  return {status, text.str()};
}

// The real binary, through the shell.
ToolRun runBinary(const std::string& arguments) {
  const std::string command = std::string(MSGBRIDGE_TOOL) + " " + arguments + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

std::string dataFile(const char* name) {
  std::ifstream in(std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/APP/" + name, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}
}  // namespace

TEST(APPtool, WrongPositionalCountGivesUsageWithoutComplaint) {
  const std::string usage = dataFile("usage.txt");
  ASSERT_FALSE(usage.empty());
  for (auto words : {std::vector<const char*>{}, {"--help"}, {"a", "b"}, {"a", "b", "c", "--toxml"}}) {
    const ToolRun run = runTool(words);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, usage);
  }
}

TEST(APPtool, FlagComplaintsComeBeforeTheUsage) {
  const std::string usage = dataFile("usage.txt");
  EXPECT_EQ(runTool({"--help", "a", "b", "c"}).output, "Unknown flag help encountered.\n" + usage);
  EXPECT_EQ(runTool({"-?", "a", "b", "c"}).output, "Unknown flag ? encountered.\n" + usage);
  const ToolRun repeated = runTool({"--toxml", "--toxml", "a", "b", "c"});
  EXPECT_EQ(repeated.status, 1);
  EXPECT_EQ(repeated.output, "Flag toxml used more than once.\n" + usage);
}

TEST(APPtool, KissbookGivesTheHtmlTable) {
  const std::string table = dataFile("kissbook.html");
  ASSERT_EQ(table.rfind("<table>\n", 0), 0u);
  EXPECT_EQ(runTool({"--kissbook"}).output, table);
  const ToolRun run = runTool({"--kissbook", "a", "b", "c"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "Unknown flag kissbook encountered.\n" + table);
}

TEST(APPtool, MissingFlagArgumentIsAnError) {
  const ToolRun run = runTool({"--forceformat"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "Error Code: 0x80000500\nDescription: Argument missing\n\n");
}

TEST(APPtool, VersionReportsLocaleAndEngine) {
  const ToolRun run = runTool({"--version", "a", "b", "c"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output.rfind("Current Locale: C\nEngine Version: ", 0), 0u) << run.output;
  EXPECT_EQ(run.output.back(), '\n');
  // A mode flag earlier in the order wins over --version.
  EXPECT_EQ(runTool({"--version", "--toxsd", "a", "b", "c"}).output.find("Current Locale"), std::string::npos);
}

TEST(APPtool, BinaryExitsWithStatusAndFlushesOutput) {
  const ToolRun usage = runBinary("");
  EXPECT_EQ(usage.status, 1);
  EXPECT_NE(usage.output.find("Known flags:\n"), std::string::npos);
  const ToolRun repeated = runBinary("--toxml --toxml a b c");
  EXPECT_EQ(repeated.status, 1);
  EXPECT_EQ(repeated.output.rfind("Flag toxml used more than once.\nCommand line HL7 <-> XML translation test tool.\n", 0), 0u);
  const ToolRun version = runBinary("--version a b c");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output.rfind("Current Locale: ", 0), 0u);
}

TEST(APPtool, CountsTheBundledExampleLog) {
  const std::string examples = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/";
  const std::string out = ::testing::TempDir() + "msgbridge-count.txt";
  const ToolRun run = runBinary(examples + "adt_oru.vmd " + examples + "messages.hl7 " + out);
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output.rfind("Log File Type: HL7Standard\n\r1 messages    ", 0), 0u) << run.output;
  EXPECT_NE(run.output.find("\r24 messages    \nElapsed time: "), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("\r25 messages"), std::string::npos);
}

TEST(APPxmlFileName, PadsToFiveDigitsAndKeepsLongerNumbers) {
  EXPECT_EQ(APPxmlFileName(7, "out/", "msg.xml"), "out/00007msg.xml");
  EXPECT_EQ(APPxmlFileName(100000, "", "name"), "100000name");
  EXPECT_EQ(APPxmlFileName(12345, "d/", ""), "d/12345");
}
