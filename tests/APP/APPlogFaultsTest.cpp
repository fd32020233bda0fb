// Logs with random line-end faults (LF CR between messages, a missing CR LF, CR only, no
// final line end) and NUL bytes, counted by the tool: every 'MSH' segment of the log comes
// out as a message, or is told of as failed or not read.  A fixed seed keeps the cases the
// same from run to run.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "APPengine.h"
#include "COLreference.h"
#include "APPtool.h"
#include "COLostream.h"

namespace {

struct Outcome {
  int Status = 0;
  std::string Output;
};

// Counting parses nothing: one engine that loads nothing, kept alive here and shared by every
// run, keeps three hundred runs fast (an engine brings up its own interpreter).
struct IdleEngine : APPengine {
  void Load(const COLstring&) override {}
};
APPengine* makeIdleEngine() {
  static const COLreferencePtr<APPengine> Shared(new IdleEngine);
  return Shared.get();
}

Outcome runTool(const std::vector<std::string>& Arguments) {
  std::vector<const char*> Argv{"msgbridge"};
  for (const std::string& Word : Arguments) Argv.push_back(Word.c_str());
  COLstring Printed;
  COLostream Stream(Printed);
  Outcome Result;
  Result.Status = APPrunTool(static_cast<int>(Argv.size()), Argv.data(), Stream, makeIdleEngine);
  Stream.flush();
  Result.Output = Printed.str();
  return Result;
}

unsigned lastNumber(const std::string& Text, const std::string& Pattern) {
  unsigned Number = 0;
  const std::regex Expression(Pattern);
  for (auto At = std::sregex_iterator(Text.begin(), Text.end(), Expression); At != std::sregex_iterator(); ++At)
    Number = static_cast<unsigned>(std::stoul((*At)[1].str()));
  return Number;
}

unsigned countOf(const std::string& Text, const std::string& Part) {
  unsigned Count = 0;
  for (size_t At = Text.find(Part); At != std::string::npos; At = Text.find(Part, At + 1)) ++Count;
  return Count;
}

// A log of `Messages` messages with faults drawn from `Random`; every 'MSH' line starts one of
// them and none is hidden in a field.
std::string damagedLog(std::mt19937& Random, unsigned Messages, bool Batch, bool& Damaged) {
  auto chance = [&Random](unsigned Percent) { return Random() % 100 < Percent; };
  std::string Log = Batch ? "FHS|^~\\&\r\nBHS|^~\\&\r\n" : "";
  Damaged = false;
  for (unsigned Number = 1; Number <= Messages; ++Number) {
    Log += "MSH|^~\\&|APP|FAC|||20240301||ADT^A01|M" + std::to_string(Number) + "|P|2.4";
    for (unsigned Segment = Random() % 3; Segment > 0; --Segment) Log += "\rPID|" + std::to_string(Segment);
    const unsigned Fault = Random() % 100;
    if (Fault < 10) {
      Log += "\n\r";  // LF CR
      Damaged = true;
    } else if (Fault < 20) {
      Log += "\r";  // the CR LF is missing
      Damaged = Damaged || Number < Messages;
    } else if (Fault < 25 && Number == Messages && !Batch) {
      Damaged = true;  // no line end at all behind the last message
    } else {
      Log += "\r\n";
    }
  }
  if (Batch) Log += "BTS|1\r\nFTS|1\r\n";
  if (chance(15)) {  // CR only
    Log = std::regex_replace(Log, std::regex("\r\n"), "\r");
    Damaged = true;
  }
  if (chance(25)) {  // a NUL at the start of a line
    std::vector<size_t> Starts{0};
    for (size_t At = 0; At + 1 < Log.size(); ++At)
      if ((Log[At] == '\r' && Log[At + 1] != '\n') || Log[At] == '\n') Starts.push_back(At + 1);
    Log.insert(Starts[Random() % Starts.size()], 1, '\0');
    Damaged = true;
  }
  return Log;
}

TEST(APPlogFaults, EveryHeaderIsAMessageOrIsToldOf) {
  const std::filesystem::path Dir =
      std::filesystem::temp_directory_path() / ("app-log-faults-" + std::to_string(::getpid()));
  std::filesystem::create_directories(Dir);
  const std::string Definition = "unused.vmd";
  const std::string LogPath = (Dir / "log").string(), Out = (Dir / "out.txt").string();
  std::mt19937 Random(20240301);
  unsigned Refused = 0, Warned = 0, Clean = 0;
  for (int Case = 0; Case < 300; ++Case) {
    const unsigned Messages = 1 + Random() % 6;
    const bool Batch = Random() % 4 == 0;
    bool Damaged = false;
    const std::string Log = damagedLog(Random, Messages, Batch, Damaged);
    std::ofstream(LogPath, std::ios::binary) << Log;
    std::vector<std::string> Arguments{Definition, LogPath, Out};
    if (Random() % 3) Arguments.insert(Arguments.begin(), {"--forceformat", Batch ? "HL7Batch" : "HL7Standard"});
    const Outcome Run = runTool(Arguments);
    SCOPED_TRACE(::testing::Message() << "case " << Case << ", log " << ::testing::PrintToString(Log) << "\n"
                                      << Run.Output);

    if (Run.Output.find("could not be recognised") != std::string::npos) {
      EXPECT_EQ(Run.Status, 1);  // nothing read, and said so
      ++Refused;
      continue;
    }
    const unsigned HandedOut = lastNumber(Run.Output, "\r([0-9]+) messages    ");
    const unsigned Empty = countOf(Run.Output, ", is empty: ");
    const unsigned NotRead = lastNumber(Run.Output, "Warnings: [0-9]+ \\(([0-9]+) 'MSH' segments? ");
    EXPECT_EQ(HandedOut - Empty + NotRead, Messages);
    if (Damaged && (NotRead || Empty || Run.Output.find("may be cut short") != std::string::npos)) ++Warned;
    if (Run.Output.find("Warning") == std::string::npos) {
      EXPECT_EQ(Run.Status, 0);
      ++Clean;
    } else {
      EXPECT_EQ(Run.Status, 1) << "a warning makes the run fail";
    }
    if (!Damaged) {
      EXPECT_EQ(Run.Output.find("Warning"), std::string::npos) << "an intact log is read without a word";
    }
  }
  // The seed gives every kind of outcome, so none of the checks above is vacuous.
  EXPECT_GT(Refused, 0u);
  EXPECT_GT(Warned, 50u);
  EXPECT_GT(Clean, 50u);
  std::filesystem::remove_all(Dir);
}

}  // namespace
