// The bundled example logs through the real binary: the X12 example in both of its framings,
// to table XML and back, and the README's first command on the standard HL7 v2.5.1 definition.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../support/TSTtoolRun.h"

namespace {

using ToolRun = TSTtoolRun;

const std::string Source = std::string(MSGBRIDGE_SOURCE_DIR) + "/";

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// A fresh directory per test, so that numbered files of an earlier run cannot leak in.
std::string freshDir(const std::string& name) {
  const std::string dir = ::testing::TempDir() + "msgbridge-" + name + "-" + std::to_string(::getpid()) + "/";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

size_t countOf(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) ++count;
  return count;
}

// The log with "\n" added behind the last segment of each message: --fromxml ends every
// message with its segment terminator and a line end, so this is the log given back unchanged.
std::string logAsWrittenBack(const std::string& log, const std::string& lastSegment) {
  std::string expected;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line, '\r');) {
    expected += line + "\r";
    if (line.rfind(lastSegment, 0) == 0) expected += "\n";
  }
  return expected;
}

struct X12Log {
  const char* log;
  const char* definition;
  const char* format;
  const char* lastSegment;
  size_t messages;
};

const X12Log X12Logs[] = {
    {"x12_interchange.x12", "x12_850_997.vmd", "X12Interchange", "IEA*", 4},
    {"x12_batch.x12", "x12_850_997_sets.vmd", "X12Batch", "SE*", 3},
};

TEST(APPexampleLogs, X12LogsAreSniffedInTheirFramingAndCounted) {
  const std::string dir = freshDir("x12-count");
  for (const X12Log& log : X12Logs) {
    const ToolRun run =
        TSTrunBinary(Source + "examples/" + log.definition + " " + Source + "examples/" + log.log + " " + dir + "count.txt");
    EXPECT_EQ(run.status, 0) << log.log << ": " << run.output;
    EXPECT_EQ(run.output.rfind(std::string("Log File Type: ") + log.format + "\n", 0), 0u) << run.output;
    std::string counted = "\r";
    counted.append(std::to_string(log.messages)).append(" messages    \nElapsed time: ");
    EXPECT_NE(run.output.find(counted), std::string::npos) << run.output;
  }
  std::filesystem::remove_all(dir);
}

// Every X12 message to table XML and back: the tables carry every element that the messages
// hold, so each one comes back byte for byte, envelope and fixed-width ISA fields included.
TEST(APPexampleLogs, X12LogsComeBackWholeThroughTableXml) {
  for (const X12Log& log : X12Logs) {
    const std::string dir = freshDir(std::string("x12-") + log.format);
    const std::string definition = Source + "examples/" + log.definition + " ";
    const ToolRun to = TSTrunBinary("--toxml " + definition + Source + "examples/" + log.log + " " + dir + "msg.xml");
    ASSERT_EQ(to.status, 0) << to.output;
    EXPECT_TRUE(std::filesystem::exists(dir + "0000" + std::to_string(log.messages) + "msg.xml"));
    EXPECT_FALSE(std::filesystem::exists(dir + "0000" + std::to_string(log.messages + 1) + "msg.xml"));
    const ToolRun from = TSTrunBinary("--fromxml " + definition + dir + "msg.xml " + dir + "back.x12");
    ASSERT_EQ(from.status, 0) << from.output;
    const std::string original = readAll(Source + "examples/" + log.log);
    EXPECT_EQ(readAll(dir + "back.x12"), logAsWrittenBack(original, log.lastSegment)) << log.log;
    std::filesystem::remove_all(dir);
  }
}

// What a user sees of an X12 message: the useful elements as named table columns.
TEST(APPexampleLogs, X12TableXmlNamesTheElementsOfEachTransactionSet) {
  const std::string dir = freshDir("x12-xml");
  const ToolRun run = TSTrunBinary("--toxml " + Source + "examples/x12_850_997.vmd " + Source + "examples/x12_interchange.x12 " +
                            dir + "msg.xml");
  ASSERT_EQ(run.status, 0) << run.output;
  const std::string order = readAll(dir + "00001msg.xml");
  EXPECT_NE(order.find("<PO_850>"), std::string::npos) << order;
  // Two purchase orders in one functional group: two rows, each with its own lines.
  EXPECT_EQ(countOf(order, "<PurchaseOrder.OrderNumber>"), 2u) << order;
  EXPECT_NE(order.find("<PurchaseOrder.OrderNumber>4500012878</PurchaseOrder.OrderNumber>"), std::string::npos);
  EXPECT_EQ(countOf(order, "<LineItems.ProductId1>"), 3u);
  EXPECT_NE(order.find("<LineItems.Description>CAST IRON SKILLET 10IN</LineItems.Description>"), std::string::npos);
  EXPECT_NE(order.find("<Envelope.InterchangeSenderId>NORTHWIND      </Envelope.InterchangeSenderId>"),
            std::string::npos);
  const std::string rejection = readAll(dir + "00004msg.xml");
  EXPECT_NE(rejection.find("<FA_997>"), std::string::npos) << rejection;
  EXPECT_NE(rejection.find("<SegmentErrors.SegmentSegmentId>PO1</SegmentErrors.SegmentSegmentId>"), std::string::npos)
      << rejection;
  EXPECT_NE(rejection.find("<SegmentErrors.ElementBadValue>18,99</SegmentErrors.ElementBadValue>"), std::string::npos);
  EXPECT_NE(rejection.find("<Acknowledgement.GroupStatus>R</Acknowledgement.GroupStatus>"), std::string::npos);
  std::filesystem::remove_all(dir);
}

// The schema that --toxsd writes for the X12 definitions holds every file that --toxml writes.
TEST(APPexampleLogs, X12TableXmlIsValidAgainstTheDefinitionsSchema) {
  for (const X12Log& log : X12Logs) {
    const std::string dir = freshDir(std::string("x12-xsd-") + log.format);
    const std::string definition = Source + "examples/" + log.definition + " ";
    ASSERT_EQ(TSTrunBinary("--toxsd " + definition + "unused " + dir + "x12.xsd").status, 0);
    ASSERT_EQ(TSTrunBinary("--toxml " + definition + Source + "examples/" + log.log + " " + dir + "msg.xml").status, 0);
    for (size_t number = 1; number <= log.messages; ++number) {
      const std::string file = dir + "0000" + std::to_string(number) + "msg.xml";
      const ToolRun lint = TSTrunShell("xmllint --noout --schema " + dir + "x12.xsd " + file);
      EXPECT_EQ(lint.status, 0) << lint.output;
      EXPECT_NE(lint.output.find(file + " validates"), std::string::npos) << lint.output;
    }
    std::filesystem::remove_all(dir);
  }
}

// X12 has no escape sequences: a value that holds the element separator cannot be written, and
// --fromxml stops on it instead of writing a segment with one element too many.
TEST(APPexampleLogs, X12ValueHoldingTheSeparatorIsRefusedOnTheWayBack) {
  const std::string dir = freshDir("x12-separator");
  const std::string definition = Source + "examples/x12_850_997.vmd ";
  ASSERT_EQ(TSTrunBinary("--toxml " + definition + Source + "examples/x12_interchange.x12 " + dir + "msg.xml").status, 0);
  std::string xml = readAll(dir + "00003msg.xml");
  const std::string name = "<Parties.Name>GREENFIELD HARDWARE<";
  ASSERT_NE(xml.find(name), std::string::npos) << xml;
  xml.replace(xml.find(name), name.size(), "<Parties.Name>GREENFIELD*HARDWARE<");
  std::ofstream(dir + "00003msg.xml", std::ios::binary) << xml;
  const ToolRun run = TSTrunBinary("--fromxml " + definition + dir + "msg.xml " + dir + "back.x12");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("The value 'GREENFIELD*HARDWARE' cannot be written: it holds '*', a delimiter of the "
                            "message, and the configuration has no escape character."),
            std::string::npos)
      << run.output;
  // The two messages before it were written whole.
  EXPECT_EQ(countOf(readAll(dir + "back.x12"), "IEA*"), 2u);
  std::filesystem::remove_all(dir);
}

// A definition names one header segment: the transaction sets of an X12Batch log begin with
// ST, so the interchange definition refuses them with a reason instead of guessing.
TEST(APPexampleLogs, X12BatchAgainstTheInterchangeDefinitionNamesTheHeader) {
  const std::string dir = freshDir("x12-wrong");
  const ToolRun run = TSTrunBinary("--toxml " + Source + "examples/x12_850_997.vmd " + Source + "examples/x12_batch.x12 " + dir +
                            "msg.xml");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("The header segment 'ISA' was not found."), std::string::npos) << run.output;
  std::filesystem::remove_all(dir);
}

// The two X12 definitions are one definition with two headers; anything else that differs
// between them is drift.
TEST(APPexampleLogs, X12DefinitionsDifferOnlyInTheirHeader) {
  std::istringstream interchange(readAll(Source + "examples/x12_850_997.vmd"));
  std::istringstream sets(readAll(Source + "examples/x12_850_997_sets.vmd"));
  std::string a, b;
  size_t lines = 0, differing = 0;
  while (std::getline(interchange, a)) {
    ASSERT_TRUE(std::getline(sets, b)) << "the sets definition is shorter";
    ++lines;
    if (a == b) continue;
    ++differing;
    const bool allowed = (a.find("<header_segment>ISA<") != std::string::npos &&
                          b.find("<header_segment>ST<") != std::string::npos) ||
                         (a.find("<vmd_description>") != std::string::npos && b.find("<vmd_description>") != std::string::npos);
    EXPECT_TRUE(allowed) << "line " << lines << ":\n" << a << "\n" << b;
  }
  EXPECT_FALSE(std::getline(sets, b)) << "the sets definition is longer";
  EXPECT_EQ(differing, 2u);
}

// The README's first command, word for word apart from the output directory.
TEST(APPexampleLogs, ReadmeCommandTranslatesTheSampleLogOnTheStandardDefinition) {
  const std::string dir = freshDir("readme");
  const ToolRun run = TSTrunBinary("--toxml " + Source + "definitions/hl7v2.5.1.vmd " + Source +
                            "examples/hl7v2.5.1_sample.hl7 " + dir + "msg.xml");
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output.rfind("Log File Type: HL7Standard\n", 0), 0u) << run.output;
  EXPECT_NE(run.output.find("\r10 messages    \nElapsed time: "), std::string::npos) << run.output;
  EXPECT_TRUE(std::filesystem::exists(dir + "00010msg.xml"));
  EXPECT_FALSE(std::filesystem::exists(dir + "00011msg.xml"));
  // Each event lands on its structure; the results keep every observation.
  EXPECT_NE(readAll(dir + "00002msg.xml").find("<ADT_A01>"), std::string::npos);
  EXPECT_NE(readAll(dir + "00009msg.xml").find("<ADT_A03>"), std::string::npos);
  const std::string results = readAll(dir + "00006msg.xml");
  EXPECT_NE(results.find("<ORU_R01>"), std::string::npos) << results.substr(0, 300);
  EXPECT_EQ(countOf(results, "<OBX>"), 5u) << results;
  std::filesystem::remove_all(dir);
}

}  // namespace
