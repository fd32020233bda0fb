// Definitions through the archive kind: every example and bundled definition, copied into an
// archive, written to memory and loaded back, gives the same version-one text, from memory and
// from a file; the examples' messages translate to the same XML; the pinned file of
// tests/data/CARC is what the writer makes today.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "ANTengine.h"
#include "CARCengineInternal.h"
#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "TTAcopy.h"

#include "../support/TSTdefinitionRoundTrip.h"
#include "../support/TSTfile.h"
#include "../support/TSTraised.h"
#include "../support/TSTtoolRun.h"

namespace {
const std::string Source = MSGBRIDGE_SOURCE_DIR;

std::string archiveBytes(QVMengineInternal& engine) {
  CARCengineInternal archive;
  TTAcopy(engine, archive);
  std::unique_ptr<unsigned char[]> data;
  size_t size = 0;
  archive.saveToMemory(data, size);
  return std::string(reinterpret_cast<const char*>(data.get()), size);
}

std::string archiveFile(QVMengineInternal& engine, const std::string& name) {
  std::string path = TSTscratchDirectory("att") + "/" + name;
  TSTwriteFile(path, archiveBytes(engine));
  return path;
}

// The text without its match orders, for a model whose match order the archive kind can't hold.
std::string withoutMatchOrders(std::string text) {
  for (size_t at; (at = text.find("<match>")) != std::string::npos;)
    text.erase(at, text.find("</match>", at) + 8 - at);
  return text;
}

class ATTroundTrip : public ::testing::TestWithParam<std::string> {};

TEST_P(ATTroundTrip, SameVersionOneTextAfterTheArchiveKind) {
  QVMengineInternal original;
  ASSERT_EQ(QVLloadEngine(original, GetParam().c_str()), QVLvmdTypeXml);
  // A configuration other than the first is current, so that the file must carry which.
  if (original.countOfConfig() > 1) original.setCurrentConfig(1);
  std::string text = ANTsaveEngineToString(original).str();
  std::string bytes = archiveBytes(original);
  ASSERT_GE(bytes.size(), 4u);
  EXPECT_EQ(bytes.substr(0, 4), std::string("\x60\x34\x46\x84"));

  QVMengineInternal fromMemory;
  ASSERT_EQ(QVLloadEngineFromMemory(fromMemory, bytes.data(), bytes.size()), QVLvmdTypeArc);
  EXPECT_EQ(fromMemory.currentConfig(), original.currentConfig());
  std::string back = ANTsaveEngineToString(fromMemory).str();
  if (back != text) {
    std::string directory = TSTscratchDirectory("att_diff");
    TSTwriteFile(directory + "/expected.txt", text);
    TSTwriteFile(directory + "/actual.txt", back);
    ADD_FAILURE() << "the version-one texts differ: diff " << directory << "/expected.txt actual.txt";
  }

  std::string path = archiveFile(original, std::filesystem::path(GetParam()).filename().string());
  QVMengineInternal fromFile;
  ASSERT_EQ(QVLloadEngine(fromFile, path.c_str()), QVLvmdTypeArc);
  EXPECT_EQ(QVLvmdFileType(path.c_str()), QVLvmdTypeArc);
  EXPECT_EQ(ANTsaveEngineToString(fromFile).str(), text);
  // Written again from what was read, the bytes are the same: nothing drifts on a second pass.
  EXPECT_TRUE(archiveBytes(fromFile) == bytes);
}

INSTANTIATE_TEST_SUITE_P(Definitions, ATTroundTrip, ::testing::ValuesIn(TSTbundledDefinitions()),
                         TSTdefinitionCaseName);

// A match order that isn't one entry per message (here a message tried twice) is not kept: the
// configuration gets its messages in index order, with the ignored message last if it had one.
// Everything else of the richest test definition comes back.
TEST(ATTmatchOrder, OfAnotherLengthGivesTheIndexOrder) {
  QVMengineInternal original;
  QVLloadEngine(original, (Source + "/tests/data/ANT/full_model.vmd").c_str());
  ASSERT_EQ(original.engineConfig(1).matchOrder().toVector(), (std::vector<uint32_t>{1, 0, 1}));
  std::string bytes = archiveBytes(original);
  QVMengineInternal loaded;
  ASSERT_EQ(QVLloadEngineFromMemory(loaded, bytes.data(), bytes.size()), QVLvmdTypeArc);
  EXPECT_EQ(loaded.engineConfig(0).matchOrder().toVector(), original.engineConfig(0).matchOrder().toVector());
  EXPECT_EQ(loaded.engineConfig(1).matchOrder().toVector(), (std::vector<uint32_t>{0, 1}));
  EXPECT_EQ(withoutMatchOrders(ANTsaveEngineToString(loaded).str()),
            withoutMatchOrders(ANTsaveEngineToString(original).str()));
}

// The tool translates the examples' messages to the same XML under either kind of file.
TEST(ATTtranslation, SameXmlUnderBothKinds) {
  const std::pair<const char*, const char*> Runs[] = {
      {"/examples/adt_oru.vmd", "/examples/messages.hl7"},
      {"/examples/scripted.vmd", "/examples/scripted.hl7"},
      {"/examples/x12_850_997.vmd", "/examples/x12_interchange.x12"},
      {"/examples/x12_850_997_sets.vmd", "/examples/x12_batch.x12"},
      {"/definitions/hl7v2.5.1.vmd", "/examples/hl7v2.5.1_sample.hl7"}};
  for (const auto& [definition, messages] : Runs) {
    QVMengineInternal model;
    QVLloadEngine(model, (Source + definition).c_str());
    std::string archived = archiveFile(model, "translate.vmd");
    TSTexpectSameXml(Source + definition, archived, Source + messages, "att_xml", definition);
  }
}

// Saving in the archive kind stays refused, before the file is touched.
TEST(ATTsave, RefusedAndTheFileLeftAsItWas) {
  QVMengineInternal model;
  QVLloadEngine(model, (Source + "/examples/adt_oru.vmd").c_str());
  std::string path = TSTscratchDirectory("att") + "/kept.vmd";
  TSTwriteFile(path, "before");
  for (uint32_t kind : {1u, 2u})
    EXPECT_EQ(TSTraised([&] { QVLsaveEngine(model, path.c_str(), kind); }),
              COLerror("CARCengineInternal: writing not allowed on this platform", 0x80000100));
  EXPECT_EQ(TSTreadFile(path), "before");
  CARCengineInternal archive;
  EXPECT_EQ(TSTraised([&] { archive.save(path.c_str(), false); }),
            COLerror("CARCengineInternal: writing not allowed on this platform", 0x80000100));
}

// The pinned file: tests/data/CARC/full_model.vmd, written from tests/data/ANT/full_model.vmd by
//   MSGBRIDGE_REGENERATE=1 build/tests/test_ATT --gtest_filter='ATTpinnedFile.*'
// which also writes the fuzz target's seeds. A change of the format shows as a change of
// these files in review.
TEST(ATTpinnedFile, TheWriterStillMakesThePinnedBytes) {
  QVMengineInternal model;
  QVLloadEngine(model, (Source + "/tests/data/ANT/full_model.vmd").c_str());
  std::string written = archiveBytes(model);
  std::string pinned = Source + "/tests/data/CARC/full_model.vmd";
  if (std::getenv("MSGBRIDGE_REGENERATE")) {
    TSTwriteFile(pinned, written);
    std::string seeds = Source + "/tests/fuzz/seeds/fuzz_archive";
    std::filesystem::create_directories(seeds);
    TSTwriteFile(seeds + "/full_model.vmd", written);
    // The same file as an older writer would have stopped it, and the archive of an empty model.
    CARCengineInternal archive;
    TTAcopy(model, archive);
    std::unique_ptr<unsigned char[]> data;
    size_t size = 0;
    archive.saveToMemory(data, size);
    TSTwriteFile(seeds + "/older.vmd", written.substr(0, archive.root().stepOffsets[5]));
    QVMengineInternal empty;
    TSTwriteFile(seeds + "/empty.vmd", archiveBytes(empty));
  }
  std::string expected = TSTreadFile(pinned);
  EXPECT_TRUE(written == expected) << "the archive form changed (" << written.size() << " bytes written, "
                                   << expected.size() << " pinned); see the comment above";
  QVMengineInternal loaded;
  EXPECT_EQ(QVLloadEngine(loaded, pinned.c_str()), QVLvmdTypeArc);
  EXPECT_EQ(withoutMatchOrders(ANTsaveEngineToString(loaded).str()),
            withoutMatchOrders(ANTsaveEngineToString(model).str()));
}

}  // namespace
