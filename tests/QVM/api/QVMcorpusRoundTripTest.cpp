// Every real message of the shared corpus that its bundled standard definition reads, missing
// required segments accepted as `msgbridge --lenient` accepts them, goes to table XML and back to
// a message, and must come back as it was, up to the form the readers and
// the generator write (separators of the definition, one CR per segment, empty tails left off).
// What still differs is named, message by message, with its reason, in
// tests/data/QVM/corpus_round_trip.tsv; a message listed there that comes back whole fails too,
// so the list cannot go stale.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "COLstring.h"
#include "QVMengine.h"
#include "QVMerror.h"
#include "SGCskippedSegments.h"
#include "SGCunplacedValues.h"
#include "../../support/TSTcorpus.h"

namespace {

std::vector<std::string> split(const std::string& Text, char Separator) {
  std::vector<std::string> Parts(1);
  for (char C : Text) {
    if (C == Separator)
      Parts.emplace_back();
    else
      Parts.back() += C;
  }
  return Parts;
}

// One level of a segment in normal form, written with the separators "|~^&" from outer to inner:
// parts split by the level's separator, each normalised a level further in, empty ones at the
// end left off.
std::string normalLevel(const std::string& Text, const std::string& Separators, const std::string& Canonical,
                        size_t Level) {
  if (Level == Separators.size()) return Text;
  std::vector<std::string> Parts = split(Text, Separators[Level]);
  for (std::string& Part : Parts) Part = normalLevel(Part, Separators, Canonical, Level + 1);
  while (!Parts.empty() && Parts.back().empty()) Parts.pop_back();
  std::string Result;
  for (size_t Index = 0; Index < Parts.size(); ++Index) Result += (Index ? std::string(1, Canonical[Level]) : "") + Parts[Index];
  return Result;
}

// The segments of a message in normal form, each read with the message's own separators. MSH-1
// and MSH-2 are left out: the generator writes the separators of the definition there.
std::vector<std::string> normalForm(const std::string& Message) {
  std::vector<std::string> Segments;
  std::string Separators = "|~^&";
  std::string Line;
  for (char C : Message + "\r") {
    if (C != '\r' && C != '\n') {
      Line += C;
      continue;
    }
    if (Line.empty()) continue;
    if (Line.rfind("MSH", 0) == 0 && Line.size() > 8) {
      // MSH-2 gives component, repeat, escape and sub-component characters, in that order.
      Separators = {Line[3], Line[5], Line[4], Line[7]};
      const size_t Rest = Line.find(Line[3], 4);
      Line = "MSH" + (Rest == std::string::npos ? std::string() : Line.substr(Rest));
    }
    Segments.push_back(normalLevel(Line, Separators, "|~^&", 0));
    Line.clear();
  }
  return Segments;
}

struct Expectation {
  std::string segments;  // the names of the segments that differ, blank separated
  bool met = false;
};

std::map<std::string, Expectation> expectations() {
  std::ifstream In(MSGBRIDGE_SOURCE_DIR "/tests/data/QVM/corpus_round_trip.tsv");
  std::map<std::string, Expectation> Expected;
  for (std::string Line; std::getline(In, Line);) {
    if (Line.empty() || Line[0] == '#') continue;
    const std::vector<std::string> Columns = split(Line, '\t');
    Expected[Columns.at(0)].segments = Columns.at(1);
  }
  return Expected;
}

// Where two texts part, with a little of what leads up to it.
std::string from(const std::string& Text, size_t At) {
  const size_t Start = At > 40 ? At - 40 : 0;
  return Text.substr(Start, 160);
}

// The names of the segments that differ or are missing on the way back, in the order of the
// original, with what came back in the report. A segment that does not come back is passed
// over, so that the segments behind it are still compared with their own.
std::string differingSegments(const std::vector<std::string>& Original, const std::vector<std::string>& Back,
                              std::string& Report) {
  std::vector<std::string> Names;
  auto note = [&](const std::string& Name) {
    if (std::find(Names.begin(), Names.end(), Name) == Names.end()) Names.push_back(Name);
  };
  size_t Sent = 0, Came = 0;
  while (Sent < Original.size() || Came < Back.size()) {
    if (Sent == Original.size()) {
      Report += "\n  added: " + Back[Came].substr(0, 160);
      note(Back[Came++].substr(0, 3));
    } else if (Came < Back.size() && Back[Came].size() == 3 && Original[Sent].substr(0, 3) != Back[Came]) {
      // A required segment the message lacks comes back empty, before the one it was sent with.
      Report += "\n  added: " + Back[Came];
      note(Back[Came++]);
    } else if (Came == Back.size() || Original[Sent].substr(0, 3) != Back[Came].substr(0, 3)) {
      Report += "\n  missing: " + Original[Sent].substr(0, 160);
      note(Original[Sent++].substr(0, 3));
    } else {
      const std::string& Was = Original[Sent++];
      const std::string& Is = Back[Came++];
      if (Was == Is) continue;
      size_t At = 0;
      while (At < Was.size() && At < Is.size() && Was[At] == Is[At]) ++At;
      Report += "\n  sent: " + from(Was, At) + "\n  back: " + from(Is, At);
      note(Was.substr(0, 3));
    }
  }
  std::string Joined;
  for (const std::string& Name : Names) Joined += (Joined.empty() ? "" : " ") + Name;
  return Joined;
}

// Takes messages that lack required segments; which those are is the corpus parse test's business.
struct AcceptMissing : SGCmissingRequired {
  void missingRequired(const COLstring&, const COLstring&, bool) override {}
};

// The values of the message being translated that its grammar has no place for.
struct Unplaced : SGCunplacedValues {
  std::vector<std::string> places;
  void unplacedValue(const COLstring&, const COLstring& Place, const COLstring&, const COLstring&) override {
    places.emplace_back(Place.c_str());
  }
};

TEST(QVMcorpusRoundTrip, EveryMessageThatTranslatesComesBackOrDiffersForItsNamedReason) {
  if (!std::filesystem::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  AcceptMissing Lenient;
  SGCmissingRequiredScope Listening(Lenient);
  Unplaced Lost;
  SGCunplacedValuesScope Counting(Lost);
  int Warned = 0;
  std::map<std::string, std::unique_ptr<QVMengine>> Engines;
  for (const char* Version : {"2.3.1", "2.4", "2.5.1", "2.7.1"}) {
    Engines[Version] = std::make_unique<QVMengine>();
    Engines[Version]->Load(std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v" + Version + ".vmd");
  }
  std::map<std::string, Expectation> Expected = expectations();
  int Translated = 0, Whole = 0;
  for (const auto& Entry : std::filesystem::directory_iterator(TSTcorpusDirectory)) {
    const std::string Name = Entry.path().filename().string();
    std::vector<std::string> Messages;
    if (Name.rfind("batch_", 0) == 0)
      Messages = TSTbatchMessages(Entry.path());
    else if (!TSTlogMessages(Entry.path(), Messages))
      continue;
    for (size_t Number = 1; Number <= Messages.size(); ++Number) {
      const std::string Key = Name + "#" + std::to_string(Number);
      QVMengine& Engine = *Engines[TSTdefinitionFor(TSTversionOf(Messages[Number - 1]))];
      std::string Xml;
      Lost.places.clear();
      try {
        Xml = Engine.translateMessageToXml(COLstring(Messages[Number - 1]));
      } catch (...) {
        continue;  // which messages do not parse, and why, is the corpus parse test's business
      }
      ++Translated;
      std::string Back;
      try {
        Back = Engine.translateXmlToMessage(COLstring(Xml));
      } catch (const QVMerror& Error) {
        ADD_FAILURE() << Key << ": its table XML gives no message: " << Error.Description();
        continue;
      } catch (const COLerror& Error) {
        ADD_FAILURE() << Key << ": its table XML gives no message: " << Error.description().c_str();
        continue;
      }
      std::string Report;
      const std::string Differing = differingSegments(normalForm(Messages[Number - 1]), normalForm(Back), Report);
      const auto Found = Expected.find(Key);
      if (Differing.empty()) ++Whole;
      // A value the grammar has no place for cannot come back, and one that comes back had a place.
      if (!Lost.places.empty()) {
        ++Warned;
        EXPECT_NE(Differing, "") << Key << " was told to have lost " << Lost.places.front();
      }
      if (Found == Expected.end()) {
        EXPECT_EQ(Differing, "") << Key << " does not come back as it was:" << Report;
      } else {
        EXPECT_EQ(Differing, Found->second.segments) << Key << Report;
        Found->second.met = true;
      }
    }
  }
  for (const auto& [Key, Each] : Expected)
    if (!Each.met) ADD_FAILURE() << "listed message not translated: " << Key;
  std::cout << Translated << " corpus messages translate, " << Whole << " of them come back whole, " << Warned
            << " are told to lose values\n";
  EXPECT_GE(Translated, 85);
}

}  // namespace
