// The tool run on the cases of tests/data/APP: a definition and a log (or other input files)
// in, the exit status and what the tool printed (or one part of it) out.
//
// Sections of a case:
//   definition PATH       the definition, relative to the repository
//   log [options]         the log, written to a file of its own; "{log}" in the arguments
//   file NAME [options]   another input, written as NAME beside the log
//   args                  the tool's arguments, default "--toxml {definition} {log} {tmp}/out/m.xml";
//                         "{src}" is the repository, "{tmp}" the case's own directory
//   status                the exit status, default 0
//   error                 the error report, from "Error Code:" up to "Diagnostic info follows:"
//   output                everything printed: progress counters taken out, times as "<seconds>"
//   file-out NAME         an output file's content, read from {tmp}/NAME
// Line ends of what the tool printed are compared as "\n".
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "APPtool.h"
#include "COLostream.h"

#include "../support/TSTdataFile.h"

namespace {

std::string replaceAll(std::string Text, const std::string& From, const std::string& To) {
  for (size_t At = 0; (At = Text.find(From, At)) != std::string::npos; At += To.size()) Text.replace(At, From.size(), To);
  return Text;
}

// CR LF and lone CR become "\n"; a progress counter ("\r12 messages    ") is dropped; elapsed
// times differ per run.
std::string normalised(const std::string& Output) {
  std::string Text = std::regex_replace(Output, std::regex("\r[0-9]+ messages    "), "");
  Text = replaceAll(replaceAll(Text, "\r\n", "\n"), "\r", "\n");
  return std::regex_replace(Text, std::regex("[0-9]+\\.[0-9]+ seconds|[0-9]+:[0-9]{2}:[0-9]{2}(\\.[0-9]+)?"),
                            "<seconds>");
}

std::string errorReport(const std::string& Text) {
  const size_t Start = Text.find("Error Code:");
  const size_t End = Text.find("Diagnostic info follows:");
  if (Start == std::string::npos) return Text;
  std::string Report = Text.substr(Start, End == std::string::npos ? std::string::npos : End - Start);
  // The blank line in front of the diagnostics is no part of the report.
  while (Report.size() > 1 && Report.back() == '\n' && Report[Report.size() - 2] == '\n') Report.pop_back();
  return Report;
}

std::string readFile(const std::filesystem::path& Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return In ? Text.str() : "(no file " + Path.filename().string() + ")";
}

class APPdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(APPdata, ToolRun) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const std::filesystem::path Dir = std::filesystem::temp_directory_path() /
                                    ("app-data-" + std::to_string(::getpid()) + "-" + TSTdataTestName(Case));
  std::filesystem::remove_all(Dir);
  std::filesystem::create_directories(Dir);
  for (const auto& [Key, Section] : Case.Sections) {
    if (Key == "log") std::ofstream(Dir / "log", std::ios::binary) << Section.Text;
    if (Key == "file") std::ofstream(Dir / Section.Argument, std::ios::binary) << Section.Text;
  }
  std::string Arguments = Case.has("args") ? Case.text("args") : "--toxml {definition} {log} {tmp}/out/m.xml";
  Arguments = replaceAll(Arguments, "{definition}", "{src}/" + (Case.has("definition") ? Case.argument("definition") : ""));
  Arguments = replaceAll(replaceAll(replaceAll(Arguments, "{log}", (Dir / "log").string()), "{tmp}", Dir.string()),
                         "{src}", MSGBRIDGE_SOURCE_DIR);
  std::vector<std::string> Words{"msgbridge"};
  std::istringstream Split(Arguments);
  for (std::string Word; Split >> Word;) Words.push_back(Word);
  std::vector<const char*> Argv;
  for (const std::string& Word : Words) Argv.push_back(Word.c_str());

  COLstring Printed;
  COLostream Stream(Printed);
  const int Status = APPrunTool(static_cast<int>(Argv.size()), Argv.data(), Stream);
  Stream.flush();
  const std::string Output = normalised(Printed.str());

  EXPECT_EQ(Status, Case.has("status") ? std::stoi(Case.text("status")) : 0) << Output;
  if (Case.has("error")) {
    EXPECT_EQ(errorReport(Output), Case.text("error"));
  }
  if (Case.has("output")) {
    EXPECT_EQ(Output, Case.text("output"));
  }
  if (Case.has("file-out")) {
    EXPECT_EQ(readFile(Dir / Case.argument("file-out")), Case.text("file-out"));
  }
  std::filesystem::remove_all(Dir);
}

INSTANTIATE_TEST_SUITE_P(Cases, APPdata, ::testing::ValuesIn(TSTreadDataArea("APP")), TSTdataParamName);

}  // namespace
