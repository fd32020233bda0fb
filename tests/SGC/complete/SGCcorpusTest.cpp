// Every message of the shared corpus of real HL7 v2 messages, against the bundled standard
// definition of its version (MSH-12): it parses to a filled table, or it fails with the error
// the expectations file names, each with the nonconformance that causes it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

#include "COLerror.h"
#include "MLGreader.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMtableInternal.h"
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

TEST(SGCcorpus, EveryRealMessageParsesOrFailsForItsDocumentedReason) {
  if (!std::filesystem::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  std::map<std::string, COLreferencePtr<QVFengine>> Engines;
  for (const char* Version : {"2.3.1", "2.4", "2.5.1", "2.7.1"}) {
    Engines[Version] = new QVFengine;
    QVLloadEngine(Engines[Version]->schema(),
                  (std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v" + Version + ".vmd").c_str());
  }
  std::map<std::string, std::string> Expected = expectations();
  std::map<std::string, std::string> Outcomes;
  int Parsed = 0;
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
      try {
        QVJengineInternalParseMessage(Engine.parseContext(), Message, Index, Table);
        Outcomes[Key] = "";
        ++Parsed;
      } catch (const COLerror& Error) {
        Outcomes[Key] = COLerror(Error).parameter("PlainError").c_str();
      }
    }
  }
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
  EXPECT_GE(Parsed, 66) << "messages that parse";
  std::cout << Parsed << " of " << Outcomes.size() << " corpus messages parse\n";
}

}  // namespace
