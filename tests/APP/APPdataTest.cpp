// The tool run on the cases of tests/data/APP: a definition and a log (or other input files)
// in, the exit status and what the tool printed (or one part of it) out.
//
// Sections of a case:
//   definition PATH       the definition, relative to the repository
//   log [options]         the log, written to a file of its own; "{log}" in the arguments
//   file... NAME [options] keys starting "file" (but not "file-out"): another input, written as NAME
//                         beside the log
//   args                  the tool's arguments, default "--toxml {definition} {log} {tmp}/out/m.xml";
//                         "{src}" is the repository, "{tmp}" the case's own directory, "{logpipe}"
//                         the log's bytes through a pipe; one run a
//                         line (an empty section: no arguments), every run but the last must
//                         succeed, the checks are on the last
//   edit... PATH [options] keys starting "edit": the first line a text, the rest its replacement,
//                         made in {tmp}/PATH before the last run, in the keys' order; with no such
//                         file, in a copy of {src}/PATH as {tmp}/<its name>
//   status                the exit status, default 0
//   error                 the error report, from "Error Code:" up to "Diagnostic info follows:"
//   output                everything printed: counters but the last taken out, times as "<seconds>",
//                         the rate as "<rate>"
//   output-then NAME      everything printed is this text followed by tests/data/APP/NAME
//   file-out... NAME      keys starting "file-out": an output file's content, read from {tmp}/NAME
//                         ("(no file NAME)" if there is none)
//   has... [NAME]         keys starting "has": each line is found in the output, or in {tmp}/NAME
// Line ends of what the tool printed are compared as "\n".
#include <gtest/gtest.h>

#include <unistd.h>

#include <thread>

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

// CR LF and lone CR become "\n"; progress counters ("\r12 messages    ") but the last are dropped,
// the last kept as "12 messages"; elapsed times and rates differ per run.
std::string normalised(const std::string& Output) {
  std::string Text = std::regex_replace(Output, std::regex("\r[0-9]+ messages    (?=\r[0-9]+ messages)"), "");
  Text = std::regex_replace(Text, std::regex("\r([0-9]+ messages)    "), "\n$1");
  Text = replaceAll(replaceAll(Text, "\r\n", "\n"), "\r", "\n");
  Text = std::regex_replace(Text, std::regex("Messages per second: .*"), "Messages per second: <rate>");
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
    if (Key.rfind("file", 0) == 0 && Key.rfind("file-out", 0) != 0)
      std::ofstream(Dir / Section.Argument, std::ios::binary) << Section.Text;
  }
  const std::string Definition = "{src}/" + (Case.has("definition") ? Case.argument("definition") : "");
  std::istringstream Runs(Case.has("args") ? Case.text("args") : "--toxml {definition} {log} {tmp}/out/m.xml");
  std::vector<std::string> Lines;
  for (std::string Line; std::getline(Runs, Line);)
    if (!Line.empty()) Lines.push_back(Line);
  if (Lines.empty()) Lines.push_back("");  // an empty "args": the tool without arguments
  int Status = 0;
  std::string Output;
  for (size_t Run = 0; Run < Lines.size(); ++Run) {
    if (Run + 1 == Lines.size())
      for (const auto& [Key, Section] : Case.Sections) {
        if (Key.rfind("edit", 0) != 0) continue;
        const std::filesystem::path Path = Section.Argument, Copy = Dir / Path.filename();
        const std::filesystem::path Target = std::filesystem::exists(Dir / Path) ? Dir / Path : Copy;
        // A later edit of the same file works on the copy an earlier one made.
        std::string Text = readFile(std::filesystem::exists(Target) ? Target : MSGBRIDGE_SOURCE_DIR / Path);
        const std::string& Edit = Section.Text;  // the replacement may hold line ends of its own
        const std::string From = Edit.substr(0, Edit.find('\n'));
        const std::string To = Edit.substr(From.size() + 1, Edit.size() - From.size() - 2);
        const size_t At = Text.find(From);
        ASSERT_NE(At, std::string::npos) << From;
        Text.replace(At, From.size(), To);
        std::ofstream(Target, std::ios::binary) << Text;
      }
    std::string Arguments = replaceAll(Lines[Run], "{definition}", Definition);
    Arguments = replaceAll(replaceAll(replaceAll(Arguments, "{log}", (Dir / "log").string()), "{tmp}", Dir.string()),
                           "{src}", MSGBRIDGE_SOURCE_DIR);
    // The log through a pipe, fed from another thread so that a log larger than the pipe's
    // buffer does not block.
    int Pipe[2] = {-1, -1};
    std::thread Feeder;
    if (Arguments.find("{logpipe}") != std::string::npos) {
      ASSERT_EQ(::pipe(Pipe), 0);
      Arguments = replaceAll(Arguments, "{logpipe}", "/dev/fd/" + std::to_string(Pipe[0]));
      Feeder = std::thread([&Case, Fd = Pipe[1]] {
        const std::string& Bytes = Case.text("log");
        for (size_t Done = 0; Done < Bytes.size();) {
          const ssize_t Written = ::write(Fd, Bytes.data() + Done, Bytes.size() - Done);
          if (Written <= 0) break;
          Done += static_cast<size_t>(Written);
        }
        ::close(Fd);
      });
    }
    std::vector<std::string> Words{"msgbridge"};
    std::istringstream Split(Arguments);
    for (std::string Word; Split >> Word;) Words.push_back(Word);
    std::vector<const char*> Argv;
    for (const std::string& Word : Words) Argv.push_back(Word.c_str());
    COLstring Printed;
    COLostream Stream(Printed);
    Status = APPrunTool(static_cast<int>(Argv.size()), Argv.data(), Stream);
    Stream.flush();
    Output = normalised(Printed.str());
    if (Feeder.joinable()) {
      ::close(Pipe[0]);  // a tool that never read the pipe lets the feeder end
      Feeder.join();
    }
    if (Run + 1 < Lines.size()) {
      ASSERT_EQ(Status, 0) << Lines[Run] << "\n" << Output;
    }
  }

  EXPECT_EQ(Status, Case.has("status") ? std::stoi(Case.text("status")) : 0) << Output;
  if (Case.has("error")) {
    EXPECT_EQ(errorReport(Output), Case.text("error"));
  }
  if (Case.has("output")) {
    EXPECT_EQ(Output, Case.text("output"));
  }
  if (Case.has("output-then")) {
    EXPECT_EQ(Output, Case.text("output-then") +
                          readFile(std::filesystem::path(MSGBRIDGE_SOURCE_DIR) / "tests/data/APP" / Case.argument("output-then")));
  }
  for (const auto& [Key, Section] : Case.Sections) {
    if (Key.rfind("file-out", 0) == 0) {
      EXPECT_EQ(readFile(Dir / Section.Argument), Section.Text) << Key;
    }
    if (Key.rfind("has", 0) != 0) continue;
    const std::string Text = Section.Argument.empty() ? Output : readFile(Dir / Section.Argument);
    std::istringstream Wanted(Section.Text);
    for (std::string Line; std::getline(Wanted, Line);)
      EXPECT_NE(Text.find(Line), std::string::npos) << Key << ": no '" << Line << "' in\n" << Text.substr(0, 2000);
  }
  std::filesystem::remove_all(Dir);
}

INSTANTIATE_TEST_SUITE_P(Cases, APPdata, ::testing::ValuesIn(TSTreadDataArea("APP")), TSTdataParamName);

}  // namespace
