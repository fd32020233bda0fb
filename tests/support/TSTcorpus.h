// The shared corpus of real HL7 v2 messages as tests read it: where it lies, its messages
// file by file, and the bundled standard definition that suits each message's version.
#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "MLGreader.h"

inline const std::filesystem::path TSTcorpusDirectory =
    std::filesystem::path(MSGBRIDGE_SOURCE_DIR) / ".." / "shared" / "corpus" / "hl7";

// The messages of a log as the tool's readers hand them out; false when no log format is
// recognised.
inline bool TSTlogMessages(const std::filesystem::path& Path, std::vector<std::string>& Messages) {
  std::unique_ptr<MLGreader> Reader(MLGfactoryOpen(Path.string().c_str()));
  if (!Reader) return false;
  while (Reader->hasNextMessage()) Messages.push_back(Reader->nextMessage().c_str());
  return true;
}

// The messages of a batch file as the tool frames them: its batch reader drops the batch
// header and trailer lines, also for the batches the strict format check does not take (no
// file header, CR alone between lines), which the tool reads with a note.
inline std::vector<std::string> TSTbatchMessages(const std::filesystem::path& Path) {
  std::vector<std::string> Messages;
  if (TSTlogMessages(Path, Messages)) return Messages;
  COLstring Note, Why;
  std::unique_ptr<MLGreader> Reader(MLGfactoryOpenUnrecognised(Path.string().c_str(), Note, Why));
  while (Reader && Reader->hasNextMessage()) Messages.push_back(Reader->nextMessage().c_str());
  return Messages;
}

// MSH-12 read with the message's own field separator; empty when the header is shorter.
inline std::string TSTversionOf(const std::string& Message) {
  const size_t Start = Message.find("MSH");
  if (Start == std::string::npos || Message.size() < Start + 4) return "";
  const std::string Header = Message.substr(Start, Message.find('\r', Start) - Start);
  const char Separator = Header[3];
  // The separator at 3 stands before MSH-2; ten more lead to MSH-12.
  size_t At = 3;
  for (int Field = 2; Field < 12; ++Field) {
    At = Header.find(Separator, At + 1);
    if (At == std::string::npos) return "";
  }
  return Header.substr(At + 1, Header.find(Separator, At + 1) - At - 1);
}

// The bundled definition for a version; versions without a file of their own take the nearest.
inline std::string TSTdefinitionFor(const std::string& Version) {
  for (const char* Prefix : {"2.1", "2.2", "2.3"})
    if (Version.rfind(Prefix, 0) == 0) return "2.3.1";
  if (Version.rfind("2.4", 0) == 0) return "2.4";
  if (Version.rfind("2.5", 0) == 0) return "2.5.1";
  return "2.7.1";
}

// Table XML without the elements of empty rows: a start tag followed at once by its end tag.
// The parse gives a field that stands in a message but holds nothing an empty row in the
// field's table, which table XML reads back as no row: the same message either way.
inline std::string TSTwithoutEmptyRows(const std::string& Xml) {
  std::istringstream In(Xml);
  std::vector<std::string> Lines;
  for (std::string Line; std::getline(In, Line);) {
    const size_t Open = Lines.empty() ? std::string::npos : Lines.back().find('<');
    if (Open != std::string::npos && Line.find("</") == Open && Line.substr(Open + 2) == Lines.back().substr(Open + 1))
      Lines.pop_back();
    else
      Lines.push_back(Line);
  }
  std::string Result;
  for (const std::string& Line : Lines) Result += Line + "\n";
  return Result;
}
