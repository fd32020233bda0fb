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

#include "../support/TSTfile.h"
#include "../support/TSTraised.h"
#include "../support/TSTtoolRun.h"

namespace {
const std::string Source = MSGBRIDGE_SOURCE_DIR;

std::vector<std::string> definitions() {
  std::vector<std::string> paths = {Source + "/tests/data/ANT/full_model.vmd"};
  for (const char* directory : {"/examples", "/definitions"})
    for (const auto& entry : std::filesystem::directory_iterator(Source + directory))
      if (entry.path().extension() == ".vmd") paths.push_back(entry.path().string());
  std::sort(paths.begin(), paths.end());
  return paths;
}

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

INSTANTIATE_TEST_SUITE_P(Definitions, CTTroundTrip, ::testing::ValuesIn(definitions()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           std::string name = std::filesystem::path(info.param).stem().string();
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

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
    std::string outputs[2];
    int statuses[2];
    for (int kind = 0; kind < 2; ++kind) {
      std::string directory = TSTscratchDirectory("ctt_xml_" + std::to_string(kind));
      std::filesystem::remove_all(directory);
      std::filesystem::create_directories(directory);
      statuses[kind] = TSTrunBinary("--toxml " + (kind ? reflected : Source + definition) + " " + Source + messages +
                                    " " + directory + "/m.xml")
                           .status;
      std::vector<std::string> files;
      for (const auto& entry : std::filesystem::directory_iterator(directory)) files.push_back(entry.path().string());
      std::sort(files.begin(), files.end());
      for (const std::string& file : files)
        outputs[kind] += std::filesystem::path(file).filename().string() + "\n" + TSTreadFile(file);
    }
    EXPECT_EQ(statuses[1], statuses[0]) << definition;
    EXPECT_FALSE(outputs[0].empty()) << definition;
    EXPECT_TRUE(outputs[1] == outputs[0]) << definition << ": the XML differs";
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
