#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "APPtool.h"
#include "APPxmlFileName.h"
#include "COLostream.h"

#include "../support/TSTtoolRun.h"

namespace {

using ToolRun = TSTtoolRun;

// The tool in-process, named "msgbridge", output captured whole.
ToolRun runTool(std::vector<const char*> words) {
  words.insert(words.begin(), "msgbridge");
  COLstring text;
  COLostream stream(text);
  const int status = APPrunTool(static_cast<int>(words.size()), words.data(), stream);
  return {status, text.str()};
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
  const ToolRun usage = TSTrunBinary("");
  EXPECT_EQ(usage.status, 1);
  EXPECT_NE(usage.output.find("Known flags:\n"), std::string::npos);
  const ToolRun repeated = TSTrunBinary("--toxml --toxml a b c");
  EXPECT_EQ(repeated.status, 1);
  EXPECT_EQ(repeated.output.rfind("Flag toxml used more than once.\nCommand line HL7 <-> XML translation test tool.\n", 0), 0u);
  const ToolRun version = TSTrunBinary("--version a b c");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output.rfind("Current Locale: ", 0), 0u);
}

TEST(APPtool, CountsTheBundledExampleLog) {
  const std::string examples = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/";
  const std::string out = ::testing::TempDir() + "msgbridge-count.txt";
  const ToolRun run = TSTrunBinary(examples + "adt_oru.vmd " + examples + "messages.hl7 " + out);
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output.rfind("Log File Type: HL7Standard\n\r1 messages    ", 0), 0u) << run.output;
  EXPECT_NE(run.output.find("\r24 messages    \nElapsed time: "), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("\r25 messages"), std::string::npos);
}

// Every log framing, sniffed and forced, through the real binary on the bundled definition.
TEST(APPtool, CountsEveryLogFormatSniffedAndForced) {
  struct Log {
    const char* format;
    std::string text;
    int messages;
  };
  const std::vector<Log> logs = {
      {"HL7Standard", "MSH|^~\\&|1\rPID|a\r\nMSH|^~\\&|2\r\nMSH|^~\\&|3\rEVN|x\r\n", 3},
      {"HL7CRLF", "MSH|^~\\&|1\r\nPID|a\r\nMSH|^~\\&|2\r\n", 2},
      {"HL7CR", "MSH|^~\\&|1\rPID|a\rMSH|^~\\&|2\rMSH|^~\\&|3\r", 3},
      {"HL7LF", "MSH|^~\\&|1\nPID|a\nMSH|^~\\&|2\n", 2},
      {"HL7Batch", "FHS|^~\\&\rBHS|^~\\&\rMSH|^~\\&|1\r\nMSH|^~\\&|2\r\nBTS|2\r\nFTS|1\r\n", 2},
      {"X12Interchange", "ISA*00*A~\rGS*HC\rST*837*1\rSE*2*1\rGE*1\rIEA*1\rISA*00*B\rST*270*2\rSE*2*2\rIEA*1\r", 2},
      {"X12Batch", "ST*837*1\rBHT*x\rSE*3*1\rST*837*2\rSE*2*2\rST*270*3\rSE*2*3\r", 3},
  };
  const std::string definition = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd ";
  const std::string dir = ::testing::TempDir();
  const std::string out = dir + "msgbridge-formats-out.txt";
  for (const Log& log : logs) {
    const std::string path = dir + "msgbridge-format-" + log.format + ".log";
    std::ofstream(path, std::ios::binary) << log.text;
    const std::string count = "\r" + std::to_string(log.messages) + " messages    \nElapsed time: ";
    for (const std::string& flags : {std::string(), std::string("--forceformat ") + log.format + " "}) {
      const ToolRun run = TSTrunBinary(flags + definition + path + " " + out);
      EXPECT_EQ(run.status, 0) << log.format << ": " << run.output;
      EXPECT_EQ(run.output.rfind(std::string("Log File Type: ") + log.format + "\n", 0), 0u) << run.output;
      EXPECT_NE(run.output.find(count), std::string::npos) << log.format << ": " << run.output;
    }
    // The whole file as one message, whatever its framing.
    const ToolRun single = TSTrunBinary("--forceformat SingleMessage " + definition + path + " " + out);
    EXPECT_EQ(single.status, 0) << single.output;
    EXPECT_EQ(single.output.rfind("Log File Type: SingleMessage\n\r1 messages    \nElapsed time: ", 0), 0u)
        << single.output;
  }
  const ToolRun unknown = TSTrunBinary("--forceformat HL7Fancy " + definition + dir + "msgbridge-format-HL7CR.log " + out);
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.output,
            "Unknown log file format 'HL7Fancy' given to --forceformat. The formats are: HL7Standard, HL7CRLF, HL7CR, "
            "HL7LF, HL7Batch, X12Interchange, X12Batch, SingleMessage.\n");
}

TEST(APPxmlFileName, PadsToFiveDigitsAndKeepsLongerNumbers) {
  EXPECT_EQ(APPxmlFileName(7, "out/", "msg.xml"), "out/00007msg.xml");
  EXPECT_EQ(APPxmlFileName(100000, "", "name"), "100000name");
  EXPECT_EQ(APPxmlFileName(12345, "d/", ""), "d/12345");
}

namespace {

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The example log to table XML and back through the real binary: every message comes back
// with what its tables carry, in log order.
TEST(APPtool, FromXmlGivesTheMessagesOfTheTableXmlBack) {
  const std::string examples = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/";
  const std::string dir = ::testing::TempDir() + "msgbridge-roundtrip-" + std::to_string(::getpid()) + "/";
  const ToolRun to = TSTrunBinary("--toxml " + examples + "adt_oru.vmd " + examples + "messages.hl7 " + dir + "msg.xml");
  ASSERT_EQ(to.status, 0) << to.output;
  const ToolRun from =
      TSTrunBinary("--fromxml " + examples + "adt_oru.vmd " + dir + "msg.xml " + dir + "back.hl7");
  ASSERT_EQ(from.status, 0) << from.output;
  EXPECT_NE(from.output.find("\r24 messages    \nElapsed time: "), std::string::npos) << from.output;
  const std::string back = readAll(dir + "back.hl7");
  EXPECT_EQ(back.rfind("MSH|^~\\&|||||||ADT^A01\r"
                       "EVN|A01|20240301080000+0000\r"
                       "PID|||MR410000||Okonkwo^Amara||19500101000000+0000|F|||^^Millbrook\r"
                       "PV1||I|WARD3^100^A||||D1042^Varga\r\n"
                       "MSH|^~\\&|||||||ADT^A04\r",
                       0),
            0u)
      << back.substr(0, 400);
  EXPECT_NE(back.find("OBX|1|NM|NA^Sodium||129|mmol/L|135-145|L|||F\r"
                      "OBX|2|NM|HGB^Hemoglobin||10.0|g/dL|12.0-16.0|L|||F\r"),
            std::string::npos);
  size_t messages = 0;
  for (size_t at = 0; (at = back.find("MSH|", at)) != std::string::npos; ++at) ++messages;
  EXPECT_EQ(messages, 24u);
  // No numbered files: nothing to translate, an empty output.
  const ToolRun missing = TSTrunBinary("--fromxml " + examples + "adt_oru.vmd " + dir + "none.xml " + dir + "x.hl7");
  EXPECT_EQ(missing.status, 0) << missing.output;
  EXPECT_EQ(readAll(dir + "x.hl7"), "");
}

}  // namespace
