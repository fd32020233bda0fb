#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <vector>

#include "APPengine.h"
#include "APPtool.h"
#include "APPxmlReader.h"
#include "COLerror.h"
#include "COLostream.h"

namespace fs = std::filesystem;

namespace {
int g_EnginesMade = 0;
int g_Loads = 0;

// An engine whose definition always loads, so the loop can run before real definitions exist.
struct CountingEngine : APPengine {
  void Load(const COLstring&) override { ++g_Loads; }
};
APPengine* makeCountingEngine() {
  ++g_EnginesMade;
  return new CountingEngine;
}

class APPloop : public ::testing::Test {
protected:
  void SetUp() override {
    g_EnginesMade = g_Loads = 0;
    dir = fs::temp_directory_path() / ("msgbridge-loop-" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }

  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
    return (dir / name).string();
  }

  std::pair<int, std::string> run(std::vector<std::string> words) {
    std::vector<const char*> argv{"msgbridge"};
    for (const auto& w : words) argv.push_back(w.c_str());
    COLstring text;
    COLostream stream(text);
    const int status = APPrunTool(static_cast<int>(argv.size()), argv.data(), stream, makeCountingEngine);
    return {status, text.str()};
  }

  fs::path dir;
};

const char kThreeMessages[] = "MSH|^~\\&|1\rPID|a\r\nMSH|^~\\&|2\r\nMSH|^~\\&|3\r\n";
}  // namespace

TEST_F(APPloop, CountingModeReportsTypeProgressAndRate) {
  const auto log = write("in.log", kThreeMessages);
  write("out.txt", "old contents");
  const auto [status, output] = run({"d.vmd", log, (dir / "out.txt").string()});
  EXPECT_EQ(status, 0) << output;
  const std::regex expected(
      "Log File Type: HL7Standard\n\r1 messages    \r2 messages    \r3 messages    \n"
      "Elapsed time: 0\\.[0-9]{6} seconds\nMessages per second: [0-9]+\\.[0-9]{6}");
  EXPECT_TRUE(std::regex_match(output, expected)) << output;
  EXPECT_TRUE(fs::exists(dir / "out.txt"));
  EXPECT_EQ(fs::file_size(dir / "out.txt"), 0u);  // emptied even though nothing is written
  EXPECT_EQ(g_EnginesMade, 1);
  EXPECT_EQ(g_Loads, 1);
}

TEST_F(APPloop, ForcedFormatReadsWhatSniffingWouldRefuse) {
  const auto log = write("in.txt", "MSH|^~\\&|no line end");
  EXPECT_EQ(run({"d.vmd", log, (dir / "o").string()}).first, 1);
  const auto [status, output] = run({"--forceformat", "SingleMessage", "d.vmd", log, (dir / "o").string()});
  EXPECT_EQ(status, 0);
  EXPECT_EQ(output.rfind("Log File Type: SingleMessage\n\r1 messages    \n", 0), 0u) << output;
}

TEST_F(APPloop, ReloadAndReleaseAfterEveryMessage) {
  const auto log = write("in.log", kThreeMessages);
  const auto out = (dir / "o").string();
  run({"--reload", "d.vmd", log, out});
  EXPECT_EQ(g_EnginesMade, 1);
  EXPECT_EQ(g_Loads, 4);  // the first load and one after each message, the last one included

  g_EnginesMade = g_Loads = 0;
  run({"--reload", "--release", "d.vmd", log, out});
  EXPECT_EQ(g_EnginesMade, 4);
  EXPECT_EQ(g_Loads, 4);
}

TEST_F(APPloop, FromXmlWithoutNumberedFilesIsAnEmptyRun) {
  const auto [status, output] = run({"--fromxml", "d.vmd", (dir / "msg.xml").string(), (dir / "o").string()});
  EXPECT_EQ(status, 0);
  // No "Log File Type" line in this mode, but a warning that nothing was there to read; even an
  // empty run takes a measurable time.
  const std::regex expected("\nWarning: there is no file .*/00001msg\\.xml; no message was read\\."
                            "\nElapsed time: 0\\.[0-9]{6} seconds\nMessages per second: 0\\.000000");
  EXPECT_TRUE(std::regex_match(output, expected)) << output;
}

TEST(APPelapsed, ShortSpansShowTheirFractionLongOnesTheirUnits) {
  auto printed = [](double Seconds) {
    COLstring Text;
    COLostream Stream(Text);
    APPprintElapsed(Stream, Seconds);
    Stream << flush;
    return std::string(Text.c_str());
  };
  EXPECT_EQ(printed(0.0), "");
  EXPECT_EQ(printed(0.0421), "0.042100 seconds");
  EXPECT_EQ(printed(0.0000336), "0.000034 seconds");
  EXPECT_EQ(printed(0.5), "0.500000 seconds");
  EXPECT_EQ(printed(1.0), "1 second");
  EXPECT_EQ(printed(65.3), "1 minute 5 seconds");
  EXPECT_EQ(printed(3 * 3600 + 2.0), "3 hours 2 seconds");
}

TEST_F(APPloop, ReaderErrorsEndTheRunWithStatusOne) {
  const auto missing = run({"d.vmd", (dir / "absent.log").string(), (dir / "o").string()});
  EXPECT_EQ(missing.first, 1);
  EXPECT_EQ(missing.second.rfind("Error Code: 0x2\nDescription: Open file '", 0), 0u) << missing.second;

  const auto unknown = run({"--forceformat", "HL7", "d.vmd", write("in.log", kThreeMessages), (dir / "o").string()});
  EXPECT_EQ(unknown.first, 1);
  EXPECT_EQ(unknown.second,
            "Unknown log file format 'HL7' given to --forceformat. The formats are: HL7Standard, HL7CRLF, HL7CR, "
            "HL7LF, HL7Batch, X12Interchange, X12Batch, SingleMessage.\n");

  const auto unrecognised = run({"d.vmd", write("plain.txt", "hello\n"), (dir / "o").string()});
  EXPECT_EQ(unrecognised.first, 1);
  EXPECT_NE(unrecognised.second.find("could not be recognised. Give it with --forceformat NAME"), std::string::npos);
  EXPECT_EQ(g_Loads, 0);  // nothing is loaded before the log is known to be readable
}

TEST_F(APPloop, XmlReaderWalksNumberedFilesUntilTheFirstGap) {
  write("00001msg.xml", "<one/>");
  write("00002msg.xml", "<two/>");
  write("00004msg.xml", "<four/>");
  APPxmlReader reader;
  reader.open((dir / "msg.xml").string());
  std::vector<std::string> texts;
  while (reader.hasNextMessage()) texts.push_back(reader.nextMessage().str());
  EXPECT_EQ(texts, (std::vector<std::string>{"<one/>", "<two/>"}));
  EXPECT_EQ(reader.nextMessage(), "");
  EXPECT_THROW(reader.position(), COLerror);
}
