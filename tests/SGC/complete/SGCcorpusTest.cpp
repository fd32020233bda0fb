// Every message of the shared corpus of real HL7 v2 messages, against the bundled standard
// definition of its version (MSH-12): it parses to a filled table, or it fails with the error
// the expectations file names, each with the nonconformance that causes it.  Then the same
// with missing required items accepted, as `msgbridge --lenient` does.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <algorithm>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "COLerror.h"
#include "MLGreader.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMtableInternal.h"
#include "SGCskippedSegments.h"
#include "../../support/TSTcorpus.h"

namespace {

std::map<std::string, std::string> expectations() {
  std::ifstream In(MSGBRIDGE_SOURCE_DIR "/tests/data/SGC/corpus_expectations.tsv");
  std::map<std::string, std::string> Expected;
  for (std::string Line; std::getline(In, Line);) {
    if (Line.empty() || Line[0] == '#') continue;
    const size_t Tab = Line.find('\t');
    Expected[Line.substr(0, Tab)] = Line.substr(Tab + 1, Line.find('\t', Tab + 1) - Tab - 1);
  }
  return Expected;
}

// Notes the missing required items of each message while it is installed.
struct MissingItems : SGCmissingRequired {
  std::string key;
  std::map<std::string, std::vector<std::string>> heard;
  void missingRequired(const COLstring&, const COLstring& Grammar, bool) override {
    heard[key].push_back(Grammar.c_str());
  }
};

// Each corpus message ("file#number") with the plain error it gives, or "" when it parses.
std::map<std::string, std::string> parseCorpus(MissingItems* Lenient) {
  std::map<std::string, COLreferencePtr<QVFengine>> Engines;
  for (const char* Version : {"2.3.1", "2.4", "2.5.1", "2.7.1"}) {
    Engines[Version] = new QVFengine;
    QVLloadEngine(Engines[Version]->schema(),
                  (std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v" + Version + ".vmd").c_str());
  }
  std::optional<SGCmissingRequiredScope> Listening;
  if (Lenient) Listening.emplace(*Lenient);
  std::map<std::string, std::string> Outcomes;
  for (const auto& Entry : std::filesystem::directory_iterator(TSTcorpusDirectory)) {
    const std::string Name = Entry.path().filename().string();
    std::vector<std::string> Messages;
    if (Name.rfind("batch_", 0) == 0) {
      Messages = TSTbatchMessages(Entry.path());
    } else if (!TSTlogMessages(Entry.path(), Messages)) {
      Outcomes[Name] = "no log format recognised";
      continue;
    }
    for (size_t Number = 1; Number <= Messages.size(); ++Number) {
      const COLstring Message(Messages[Number - 1]);
      QVFengine& Engine = *Engines[TSTdefinitionFor(TSTversionOf(Message.c_str()))];
      QVMtableInternal Table;
      unsigned Index = 0;
      const std::string Key = Name + "#" + std::to_string(Number);
      if (Lenient) Lenient->key = Key;
      try {
        QVJengineInternalParseMessage(Engine.parseContext(), Message, Index, Table);
        Outcomes[Key] = "";
      } catch (const COLerror& Error) {
        Outcomes[Key] = COLerror(Error).parameter("PlainError").c_str();
      }
    }
  }
  return Outcomes;
}

int countParsed(const std::map<std::string, std::string>& Outcomes) {
  int Parsed = 0;
  for (const auto& Outcome : Outcomes) Parsed += Outcome.second.empty();
  return Parsed;
}

TEST(SGCcorpus, EveryRealMessageParsesOrFailsForItsDocumentedReason) {
  if (!std::filesystem::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  std::map<std::string, std::string> Expected = expectations();
  const std::map<std::string, std::string> Outcomes = parseCorpus(nullptr);
  for (const auto& [Key, Error] : Outcomes) {
    const auto Found = Expected.find(Key);
    if (Found == Expected.end()) {
      EXPECT_EQ(Error, "") << Key << " should parse";
    } else {
      EXPECT_EQ(Error.rfind(Found->second, 0), 0u) << Key << " gave: " << Error;
      Expected.erase(Found);
    }
  }
  for (const auto& [Key, Error] : Expected) ADD_FAILURE() << "expected failure not met: " << Key;
  EXPECT_GE(countParsed(Outcomes), 66) << "messages that parse";
  std::cout << countParsed(Outcomes) << " of " << Outcomes.size() << " corpus messages parse\n";
}

// With a listener for missing required items, a message that fails only for lacking one parses,
// and the listener hears the item the strict parse named first; every other failure stays.
TEST(SGCcorpus, MissingRequiredItemsAreHeardInsteadOfFailing) {
  if (!std::filesystem::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  const std::map<std::string, std::string> Expected = expectations();
  MissingItems Lenient;
  const std::map<std::string, std::string> Outcomes = parseCorpus(&Lenient);
  const std::string Required = "The segment/group '";
  for (const auto& [Key, Error] : Outcomes) {
    const auto Found = Expected.find(Key);
    const auto Heard = Lenient.heard.find(Key);
    if (Found == Expected.end()) {
      EXPECT_EQ(Error, "") << Key;
      EXPECT_EQ(Heard, Lenient.heard.end()) << Key << " misses nothing";
    } else if (Found->second.rfind(Required, 0) == 0) {
      EXPECT_EQ(Error, "") << Key << " lacks only required items";
      const std::string Named = Found->second.substr(Required.size(), Found->second.find('\'', Required.size()) -
                                                                             Required.size());
      ASSERT_NE(Heard, Lenient.heard.end()) << Key;
      EXPECT_NE(std::find(Heard->second.begin(), Heard->second.end(), Named), Heard->second.end())
          << Key << " should name " << Named;
    } else {
      EXPECT_EQ(Error.rfind(Found->second, 0), 0u) << Key << " gave: " << Error;
    }
  }
  // The three left are a site message type and two headers that are not HL7's.
  EXPECT_EQ(countParsed(Outcomes), static_cast<int>(Outcomes.size()) - 3);
  EXPECT_GE(countParsed(Outcomes) * 10, static_cast<int>(Outcomes.size()) * 9) << "at least 90% parse";
}

}  // namespace
