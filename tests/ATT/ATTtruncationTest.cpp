// Archive files cut short and damaged: the file may end before any step from the fifth on and
// then loads with defaults; cut anywhere else it fails with the format text; a damaged object
// graph is refused, never followed round a loop.
#include <gtest/gtest.h>

#include <set>

#include "ANTengine.h"
#include "CARCengineInternal.h"
#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "TTAcopy.h"

#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

namespace {
const std::string Source = MSGBRIDGE_SOURCE_DIR;

struct Written {
  std::string bytes;
  std::vector<size_t> steps;
};

Written write(CARCengineInternal& archive) {
  std::unique_ptr<unsigned char[]> data;
  size_t size = 0;
  archive.saveToMemory(data, size);
  return {std::string(reinterpret_cast<const char*>(data.get()), size), archive.root().stepOffsets};
}

Written writeFullModel(QVMengineInternal& model) {
  QVLloadEngine(model, (Source + "/tests/data/ANT/full_model.vmd").c_str());
  CARCengineInternal archive;
  TTAcopy(model, archive);
  return write(archive);
}

TEST(ATTtruncation, EveryCutLoadsAtAStepBoundaryAndFailsElsewhere) {
  QVMengineInternal model;
  Written file = writeFullModel(model);
  ASSERT_GE(file.steps.size(), 50u) << "every step, with the later ones, was written";
  std::set<size_t> boundaries(file.steps.begin() + 5, file.steps.end());
  boundaries.insert(file.bytes.size());
  QVMengineInternal engine;
  size_t loaded = 0;
  for (size_t cut = 4; cut <= file.bytes.size(); ++cut) {
    std::string text = TSTerrorText([&] { QVLloadEngineFromMemory(engine, file.bytes.data(), cut); });
    if (boundaries.count(cut)) {
      EXPECT_EQ(text, "no error") << "cut at " << cut;
      ++loaded;
    } else {
      ASSERT_EQ(text, "Invalid definition file format.") << "cut at " << cut;
    }
  }
  EXPECT_EQ(loaded, boundaries.size());
}

TEST(ATTtruncation, AnOlderFileThatStopsAfterStepFourHasTheDefaults) {
  QVMengineInternal model;
  Written file = writeFullModel(model);
  QVMengineInternal engine;
  ASSERT_EQ(QVLloadEngineFromMemory(engine, file.bytes.data(), file.steps[5]), QVLvmdTypeArc);
  EXPECT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.countOfTable(), model.countOfTable());
  EXPECT_EQ(engine.countOfMessage(), model.countOfMessage());
  EXPECT_EQ(engine.countOfSegment(), model.engineConfig(0).countOfSegment());
  // The model's own values differ from the defaults in each of these.
  EXPECT_NE(model.vmdDescription().str(), "");
  EXPECT_EQ(engine.vmdDescription().str(), "");
  EXPECT_FALSE(model.useDotNetProperties());
  EXPECT_TRUE(engine.useDotNetProperties());
  EXPECT_EQ(model.engineConfig(0).config().parserVersion(), QVMparserSegmentChecker3);
  EXPECT_EQ(engine.config().parserVersion(), QVMparserCurrent);
  EXPECT_NE(model.message(0)->config(0).inFunction().code().str(), "");
  EXPECT_EQ(engine.message(0)->config(0).inFunction().code().str(), "");
  EXPECT_EQ(engine.configName(0).str(), "default");
  // Settings of the first step are there all the same.
  EXPECT_EQ(engine.config().headerSegment().str(), "FHS");

  // Cut before the description, the settings of the steps before it are read.
  ASSERT_EQ(QVLloadEngineFromMemory(engine, file.bytes.data(), file.steps[39]), QVLvmdTypeArc);
  EXPECT_EQ(engine.countOfConfig(), 2u);
  EXPECT_EQ(engine.vmdDescription().str(), "");
  EXPECT_EQ(engine.engineConfig(0).config().maximumRepeatMappingLimit(), 9u);
}

TEST(ATTtruncation, AFileOfOnlyTheIdFailsInTheReader) {
  std::string path = TSTscratchDirectory("att_cut") + "/four.vmd";
  TSTwriteFile(path, std::string("\x60\x34\x46\x84", 4));
  QVMengineInternal engine;
  EXPECT_EQ(QVLvmdFileType(path.c_str()), QVLvmdTypeArc);
  EXPECT_EQ(TSTraised([&] { QVLloadEngine(engine, path.c_str()); }),
            COLerror("Invalid definition file format.", 0x80001000));
  EXPECT_EQ(engine.countOfMessage(), 0u);
}

TEST(ATTdamagedGraph, AGrammarNodeMetTwiceIsRefused) {
  QVMengineInternal model;
  QVLloadEngine(model, (Source + "/tests/data/ANT/full_model.vmd").c_str());
  QVMengineInternal engine;
  {
    // A group that holds itself: written as a back reference, a loop when read.
    CARCengineInternal archive;
    TTAcopy(model, archive);
    CARCmessageGrammar* root = archive.root().messages[0]->config(0).grammar;
    root->subGrammars.push_back(root);
    Written file = write(archive);
    EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, file.bytes.data(), file.bytes.size()); }),
              "The archive definition cannot be copied: a grammar node stands twice in one tree.");
  }
  {
    // One branch under two parents.
    CARCengineInternal archive;
    TTAcopy(model, archive);
    CARCmessageGrammar* root = archive.root().messages[0]->config(0).grammar;
    root->subGrammars.push_back(root->subGrammars.back());
    Written file = write(archive);
    EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, file.bytes.data(), file.bytes.size()); }),
              "The archive definition cannot be copied: a grammar node stands twice in one tree.");
  }
  {
    // A table grammar that holds itself is not even written.
    CARCengineInternal archive;
    TTAcopy(model, archive);
    CARCtableGrammarInternal* root = archive.root().messages[0]->tableGrammar;
    root->subGrammars.push_back(root);
    EXPECT_EQ(TSTraised([&] { write(archive); }), COLerror("Invalid definition file format.", 0x80001000));
  }
  // The engine that refused is left empty.
  EXPECT_EQ(engine.countOfMessage(), 0u);
}

}  // namespace
