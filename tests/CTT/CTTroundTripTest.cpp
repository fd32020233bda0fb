// Definitions through the reflected binary kind: every example and bundled definition, copied
// to the reflected tree, written, and loaded back, gives the same version-one text; the pinned
// file of tests/data/CTT is what the writer makes today.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "ANTengine.h"
#include "COLerror.h"
#include "CTTcopy.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVTengineInternal.h"
#include "TREbinary.h"

#include "../support/TSTdefinitionRoundTrip.h"
#include "../support/TSTfile.h"
#include "../support/TSTraised.h"
#include "../support/TSTtoolRun.h"

namespace {
const std::string Source = MSGBRIDGE_SOURCE_DIR;

std::string reflectedCopy(QVMengineInternal& engine, const std::string& name) {
  QVTengineInternal reflected;
  CTTcopy(engine, reflected);
  std::string path = TSTscratchDirectory("ctt") + "/" + name;
  QVTsaveTreBinVmdFile(reflected, path.c_str());
  return path;
}

class CTTroundTrip : public ::testing::TestWithParam<std::string> {};

TEST_P(CTTroundTrip, SameVersionOneTextAfterTheReflectedKind) {
  QVMengineInternal original;
  ASSERT_EQ(QVLloadEngine(original, GetParam().c_str()), QVLvmdTypeXml);
  // A configuration other than the first is current, so that the file must carry which.
  if (original.countOfConfig() > 1) original.setCurrentConfig(1);
  std::string path = reflectedCopy(original, std::filesystem::path(GetParam()).filename().string());
  QVMengineInternal loaded;
  ASSERT_EQ(QVLloadEngine(loaded, path.c_str()), QVLvmdTypeTreBin);
  EXPECT_EQ(QVLvmdFileType(path.c_str()), QVLvmdTypeTreBin);
  EXPECT_EQ(loaded.currentConfig(), original.currentConfig());
  EXPECT_EQ(ANTsaveEngineToString(loaded).str(), ANTsaveEngineToString(original).str());
  // The same bytes from memory are refused, as the kind has always been.
  std::string bytes = TSTreadFile(path);
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(loaded, bytes.data(), bytes.size()); }),
            "This VMD file format is not in the format required by this version of Quovane.  Please load into "
            "Quovane and resave to adjust the file.");
}

INSTANTIATE_TEST_SUITE_P(Definitions, CTTroundTrip,
                         ::testing::ValuesIn(TSTbundledDefinitions({Source + "/tests/data/ANT/full_model.vmd"})),
                         TSTdefinitionCaseName);

// The tool translates the examples' messages to the same XML under either kind of file.
TEST(CTTtranslation, SameXmlUnderBothKinds) {
  const std::pair<const char*, const char*> Runs[] = {
      {"/examples/adt_oru.vmd", "/examples/messages.hl7"},
      {"/examples/scripted.vmd", "/examples/scripted.hl7"},
      {"/examples/x12_850_997.vmd", "/examples/x12_interchange.x12"},
      {"/definitions/hl7v2.5.1.vmd", "/examples/hl7v2.5.1_sample.hl7"}};
  for (const auto& [definition, messages] : Runs) {
    QVMengineInternal model;
    QVLloadEngine(model, (Source + definition).c_str());
    std::string reflected = reflectedCopy(model, "translate.vmd");
    TSTexpectSameXml(Source + definition, reflected, Source + messages, "ctt_xml", definition);
  }
}

// The pinned file: tests/data/CTT/full_model.vmd, written from tests/data/ANT/full_model.vmd by
//   MSGBRIDGE_REGENERATE=1 build/tests/test_CTT --gtest_filter='CTTpinnedFile.*'
// which also writes the fuzz target's seeds: that file, and its stream before compression.
// A change of the format shows as a change of these files in review.
TEST(CTTpinnedFile, TheWriterStillMakesThePinnedBytes) {
  QVMengineInternal model;
  QVLloadEngine(model, (Source + "/tests/data/ANT/full_model.vmd").c_str());
  std::string written = TSTreadFile(reflectedCopy(model, "pinned.vmd"));
  std::string pinned = Source + "/tests/data/CTT/full_model.vmd";
  if (std::getenv("MSGBRIDGE_REGENERATE")) {
    TSTwriteFile(pinned, written);
    std::string seeds = Source + "/tests/fuzz/seeds/fuzz_trebin";
    std::filesystem::create_directories(seeds);
    TSTwriteFile(seeds + "/full_model.vmd", written);
    QVTengineInternal reflected;
    CTTcopy(model, reflected);
    COLstring stream;
    TREsourceBinary source(reflected.vmdComplexInstance());
    source.setNext(&stream);
    source.writeAll();
    TSTwriteFile(seeds + "/full_model.stream", stream.str());
  }
  std::string expected = TSTreadFile(pinned);
  EXPECT_TRUE(written == expected) << "the reflected binary form changed (" << written.size() << " bytes written, "
                                   << expected.size() << " pinned); see the comment above";
  QVMengineInternal loaded;
  EXPECT_EQ(QVLloadEngine(loaded, pinned.c_str()), QVLvmdTypeTreBin);
  EXPECT_EQ(ANTsaveEngineToString(loaded).str(), ANTsaveEngineToString(model).str());
}

}  // namespace
