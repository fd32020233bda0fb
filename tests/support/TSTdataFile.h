// Data tests: cases kept as text files under tests/data/<area>/*.test, read here and handed to
// one runner per kind.  A file holds cases; a case is named sections of text:
//
//   # a comment: where no section is open (the file's top, right after "===")
//   --- definition examples/adt_oru.vmd      sections before the first case are every case's
//   === a date that is no date               a case starts here; its name names the test
//   --- message cr                           a section: its key, then options
//   MSH|^~\&|...                             the text, one line of the file per line
//   --- expect
//   Error Code: 0x80002003
//
// Options of a section: "cr" ends each line with a carriage return instead of a line feed,
// "crlf" with both, "noeol" leaves the last line without its end, "escapes" reads "\xHH" as
// that byte and "\\" as one backslash (for bytes a text file should not hold).  A line that
// itself starts with "---", "===" or "#" is written with a backslash in front.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

struct TSTdataSection {
  std::string Argument;  // the words after the key that are no option
  std::string Text;
  int Line = 0;
};

struct TSTdataCase {
  std::string File;  // relative to tests/data
  std::string Name;
  int Line = 0;
  std::map<std::string, TSTdataSection> Sections;

  bool has(const std::string& Key) const { return Sections.count(Key) != 0; }
  const TSTdataSection& section(const std::string& Key) const {
    static const TSTdataSection None;
    const auto Found = Sections.find(Key);
    if (Found == Sections.end()) {
      ADD_FAILURE() << where() << ": no section '" << Key << "'";
      return None;
    }
    return Found->second;
  }
  const std::string& text(const std::string& Key) const { return section(Key).Text; }
  const std::string& argument(const std::string& Key) const { return section(Key).Argument; }
  // "file:line" of the case, for failure messages a reader can jump to.
  std::string where() const { return "tests/data/" + File + ":" + std::to_string(Line); }
};

// Test names from case names: letters and digits kept, everything else joined as one "_".
inline std::string TSTdataTestName(const TSTdataCase& Case) {
  std::string Name;
  for (const char C : Case.Name) {
    if (std::isalnum(static_cast<unsigned char>(C)))
      Name += C;
    else if (!Name.empty() && Name.back() != '_')
      Name += '_';
  }
  while (!Name.empty() && Name.back() == '_') Name.pop_back();
  return Name.empty() ? "case" : Name;
}

// "\xHH" as that byte, everything else as it stands; with `DoubleBackslash`, "\\" as one
// backslash (so that "\\x41" stays text).  For runners whose texts hold backslashes of their
// own (escape sequences, patterns) and so take only the hex form.
inline std::string TSTdataHexBytes(const std::string& Text, bool DoubleBackslash = false) {
  std::string Out;
  for (size_t At = 0; At < Text.size(); ++At) {
    if (DoubleBackslash && Text.compare(At, 2, "\\\\") == 0) {
      Out += '\\';
      ++At;
    } else if (Text.compare(At, 2, "\\x") == 0 && At + 3 < Text.size() &&
               std::isxdigit(static_cast<unsigned char>(Text[At + 2])) &&
               std::isxdigit(static_cast<unsigned char>(Text[At + 3]))) {
      Out += static_cast<char>(std::stoi(Text.substr(At + 2, 2), nullptr, 16));
      At += 3;
    } else {
      Out += Text[At];
    }
  }
  return Out;
}

namespace tstdata {

struct Open {
  std::string Key, Argument, End = "\n";
  bool NoEol = false, Escapes = false;
  std::vector<std::string> Lines;
  int Line = 0;

  TSTdataSection finish() const {
    TSTdataSection Section{Argument, "", Line};
    for (size_t Index = 0; Index < Lines.size(); ++Index) {
      Section.Text += Escapes ? TSTdataHexBytes(Lines[Index], true) : Lines[Index];
      if (!(NoEol && Index + 1 == Lines.size())) Section.Text += End;
    }
    return Section;
  }
};

}  // namespace tstdata

// Every case of one file, with the file's leading sections given to each.
inline std::vector<TSTdataCase> TSTreadDataFile(const std::string& RelativePath) {
  const std::string Path = std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/" + RelativePath;
  std::ifstream In(Path, std::ios::binary);
  if (!In) ADD_FAILURE() << "cannot read " << Path;
  std::vector<TSTdataCase> Cases;
  std::map<std::string, TSTdataSection> Common;
  tstdata::Open Section;
  const auto close = [&] {
    if (Section.Key.empty()) return;
    // Blank lines between sections belong to no one.
    while (!Section.Lines.empty() && Section.Lines.back().empty()) Section.Lines.pop_back();
    (Cases.empty() ? Common : Cases.back().Sections)[Section.Key] = Section.finish();
    Section = tstdata::Open();
  };
  std::string Line;
  int Number = 0;
  while (std::getline(In, Line)) {
    ++Number;
    if (!Line.empty() && Line.back() == '\r') Line.pop_back();
    if (Line.rfind("===", 0) == 0) {
      close();
      const size_t NameStart = std::min(Line.find_first_not_of("= "), Line.size());
      Cases.push_back(TSTdataCase{RelativePath, Line.substr(NameStart), Number, Common});
    } else if (Line.rfind("---", 0) == 0) {
      close();
      std::istringstream Words(Line.substr(3));
      Words >> Section.Key;
      Section.Line = Number;
      for (std::string Word; Words >> Word;) {
        if (Word == "cr") Section.End = "\r";
        else if (Word == "crlf") Section.End = "\r\n";
        else if (Word == "noeol") Section.NoEol = true;
        else if (Word == "escapes") Section.Escapes = true;
        else Section.Argument += (Section.Argument.empty() ? "" : " ") + Word;
      }
    } else if (!Section.Key.empty()) {
      if (Line.size() > 1 && Line[0] == '\\' && (Line.rfind("\\---", 0) == 0 || Line.rfind("\\===", 0) == 0 ||
                                                 Line.rfind("\\#", 0) == 0))
        Line.erase(0, 1);
      Section.Lines.push_back(Line);
    } else if (!Line.empty() && Line[0] != '#') {
      ADD_FAILURE() << Path << ":" << Number << ": text outside a section";
    }
  }
  close();
  return Cases;
}

// Every case of every *.test file below tests/data/<Area>, files in name order.
inline std::vector<TSTdataCase> TSTreadDataArea(const std::string& Area) {
  std::vector<std::string> Files;
  const std::filesystem::path Root = std::filesystem::path(MSGBRIDGE_SOURCE_DIR) / "tests" / "data";
  for (const auto& Entry : std::filesystem::recursive_directory_iterator(Root / Area))
    if (Entry.is_regular_file() && Entry.path().extension() == ".test")
      Files.push_back(std::filesystem::relative(Entry.path(), Root).string());
  std::sort(Files.begin(), Files.end());
  std::vector<TSTdataCase> Cases;
  for (const std::string& File : Files)
    for (TSTdataCase& Case : TSTreadDataFile(File)) Cases.push_back(std::move(Case));
  return Cases;
}

// gtest's parameter name: the case's name, made unique within the area by its file.
inline std::string TSTdataParamName(const ::testing::TestParamInfo<TSTdataCase>& Info) {
  std::string File = std::filesystem::path(Info.param.File).stem().string();
  std::replace_if(File.begin(), File.end(), [](char C) { return !std::isalnum(static_cast<unsigned char>(C)); },
                  '_');
  return File + "_" + TSTdataTestName(Info.param);
}

inline void PrintTo(const TSTdataCase& Case, std::ostream* Out) { *Out << Case.where() << " " << Case.Name; }
