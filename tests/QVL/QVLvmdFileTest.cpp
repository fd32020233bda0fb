// Definition files by kind: the first bytes tell the kinds apart, the archive kind is
// refused by name, a file that is missing, empty or of no known kind fails naming the path,
// a failed load leaves the engine empty, and saving writes or replaces the file.
#include <gtest/gtest.h>

#include "ANTengine.h"
#include "COLbuffer.h"
#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

#include "../support/TSTemptyEngine.h"
#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

namespace {
const std::string ExamplePath = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd";

// A loaded engine, so that a failed load has something to throw away.
void loadExample(QVMengineInternal& engine) { QVLloadEngine(engine, ExamplePath.c_str()); }


// The error of loading `text` from a file named "bad.vmd", after which the engine is empty.
std::string loadFailure(const std::string& text) {
  std::string path = TSTscratchDirectory("bad") + "/bad.vmd";
  TSTwriteFile(path, text);
  QVMengineInternal engine;
  loadExample(engine);
  std::string error = TSTerrorText([&] { QVLloadEngine(engine, path.c_str()); });
  TSTexpectEmptyEngine(engine);
  EXPECT_NE(error.find(path), std::string::npos) << error;
  return error;
}
}  // namespace

TEST(QVLvmdFileTest, VersionOneLoadsFromFileAndMemoryAndIsFinished) {
  // No match order in the file: only postLoad can give the message its place.
  const std::string text =
      "<engine version=\"1.0\"><global name=\"global\"><message name=\"M\"/></global><config name=\"c\"/></engine>";
  std::string path = TSTscratchDirectory("good") + "/good.vmd";
  TSTwriteFile(path, text);
  QVMengineInternal fromFile, fromMemory;
  ASSERT_EQ(QVLloadEngine(fromFile, path.c_str()), QVLvmdTypeXml);
  ASSERT_EQ(QVLloadEngineFromMemory(fromMemory, text.data(), text.size()), QVLvmdTypeXml);
  EXPECT_EQ(fromFile.engineConfig().matchOrder().toVector(), std::vector<uint32_t>{0});
  EXPECT_EQ(fromMemory.engineConfig().matchOrder().toVector(), std::vector<uint32_t>{0});
  // A broken version-one text fails naming the file and empties the engine.
  EXPECT_NE(loadFailure(text.substr(0, text.size() / 2)).find("not well-formed XML"), std::string::npos);
}

TEST(QVLvmdFileTest, MissingEmptyAndUnknownFiles) {
  std::string directory = TSTscratchDirectory("files");
  QVMengineInternal engine;
  loadExample(engine);
  std::string missing = directory + "/missing.vmd";
  EXPECT_NE(TSTerrorText([&] { QVLloadEngine(engine, missing.c_str()); }).find("missing.vmd"), std::string::npos);
  TSTexpectEmptyEngine(engine);

  EXPECT_EQ(loadFailure(""), "VMD file, " + directory.substr(0, directory.size() - 5) + "bad/bad.vmd" +
                                 " is of size 0: The VMD file is not properly formatted.");
  std::string empty = directory + "/empty.vmd";
  TSTwriteFile(empty, "");
  EXPECT_EQ(TSTerrorText([&] { QVLvmdFileType(empty.c_str()); }),
            "VMD file, " + empty + " is of size 0: The VMD file is not properly formatted.");

  std::string shortFile = directory + "/short.vmd";
  TSTwriteFile(shortFile, "abc");
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngine(engine, shortFile.c_str()); }),
            "VMD file format of " + shortFile + " is not supported.");
  EXPECT_EQ(TSTerrorText([&] { QVLvmdFileType(shortFile.c_str()); }),
            "The file " + shortFile + " does not appear to be a valid VMD file.");
  EXPECT_NE(loadFailure("MSH|^~\\&|not a definition\r").find("is not supported"), std::string::npos);
  EXPECT_NE(loadFailure("<engine version=\"2.0\">\n</engine>\n").find("is not supported"), std::string::npos);
}

TEST(QVLvmdFileTest, BinaryKindsAreRecognised) {
  std::string directory = TSTscratchDirectory("binary");
  std::string archive = directory + "/a.vmd", reflected = directory + "/t.vmd";
  TSTwriteFile(archive, std::string("\x60\x34\x46\x84", 4));
  TSTwriteFile(reflected, std::string("\x54\x52\x45\xFF\x0D\x00" "5.1.12\x00 payload", 20));
  EXPECT_EQ(QVLvmdFileType(archive.c_str()), QVLvmdTypeArc);
  EXPECT_EQ(QVLvmdFileType(reflected.c_str()), QVLvmdTypeTreBin);
  QVMengineInternal engine;
  loadExample(engine);
  // The archive kind is read: a file of its id alone fails in the reader, from a file and from memory.
  EXPECT_EQ(TSTraised([&] { QVLloadEngine(engine, archive.c_str()); }),
            COLerror("Invalid definition file format.", 0x80001000));
  TSTexpectEmptyEngine(engine);
  loadExample(engine);
  EXPECT_EQ(TSTraised([&] { QVLloadEngineFromMemory(engine, "\x60\x34\x46\x84\x02", 5); }),
            COLerror("Invalid definition file format.", 0x80001000));
  TSTexpectEmptyEngine(engine);
  // The reflected kind is read: a payload that is no compressed stream fails in the reader.
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngine(engine, reflected.c_str()); }), "bzip error");
  TSTexpectEmptyEngine(engine);

  std::string bytes = TSTreadFile(reflected);
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, bytes.data(), bytes.size()); }),
            "This VMD file format is not in the format required by this version of Quovane.  Please load into "
            "Quovane and resave to adjust the file.");
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, "xyz", 3); }),
            "In memory VMD is not of a recognized format.");
  EXPECT_EQ(TSTerrorText([&] { QVLloadEngineFromMemory(engine, "", 0); }),
            "VMD file is of size 0: The VMD file is not properly formatted.");
  EXPECT_STREQ(QVLvmdTypeString(3), "XML");
  EXPECT_STREQ(QVLvmdTypeString(2), "TREBIN");
  EXPECT_STREQ(QVLvmdTypeString(7), "bad_value");
}

TEST(QVLvmdFileTest, HeaderProbes) {
  auto buffer = [](const std::string& bytes) {
    COLsimpleBuffer result(bytes.size());
    std::copy(bytes.begin(), bytes.end(), result.data());
    return result;
  };
  EXPECT_TRUE(QVLisHeaderArc(buffer(std::string("\x60\x34\x46\x84", 4))));
  EXPECT_FALSE(QVLisHeaderArc(buffer(std::string("\x60\x34\x46", 3))));
  EXPECT_TRUE(QVLisHeaderTrebin(buffer("TRE\xFF")));
  EXPECT_FALSE(QVLisHeaderTrebin(buffer("TRE\xFE")));
}

TEST(QVLvmdFileTest, EveryCutOfTheExampleFailsCleanly) {
  std::string example = TSTreadFile(ExamplePath);
  QVMengineInternal engine;
  for (size_t cut = 1; cut < example.size(); cut += 1543) {
    std::string error = TSTerrorText([&] { QVLloadEngineFromMemory(engine, example.data(), cut); });
    // Below the header the kind is unknown; above it the XML ends too soon.
    EXPECT_TRUE(error.find("not of a recognized format") != std::string::npos ||
                error.find("VMD file in memory, line ") != std::string::npos)
        << cut << ": " << error;
    TSTexpectEmptyEngine(engine);
  }
}

TEST(QVLvmdFileTest, SaveWritesTheFileAndReplacesIt) {
  std::string path = TSTscratchDirectory("save") + "/out.vmd";
  TSTwriteFile(path, "old content");
  QVMengineInternal original;
  loadExample(original);
  QVLsaveEngine(original, path.c_str(), QVLvmdTypeXml);
  EXPECT_EQ(TSTreadFile(path), ANTsaveEngineToString(original).str());
  EXPECT_EQ(QVLvmdFileType(path.c_str()), QVLvmdTypeXml);
  QVMengineInternal copy;
  EXPECT_EQ(QVLloadEngine(copy, path.c_str()), QVLvmdTypeXml);
  EXPECT_EQ(ANTsaveEngineToString(copy).str(), ANTsaveEngineToString(original).str());
}

TEST(QVLvmdFileTest, RefusedSaveKeepsTheOldFile) {
  std::string path = TSTscratchDirectory("refuse") + "/kept.vmd";
  TSTwriteFile(path, "kept");
  QVMengineInternal engine;
  EXPECT_EQ(TSTerrorText([&] { QVLsaveEngine(engine, path.c_str(), QVLvmdTypeArc); }),
            "CARCengineInternal: writing not allowed on this platform");
  EXPECT_EQ(TSTerrorText([&] { QVLsaveEngine(engine, path.c_str(), 9); }), "Cannot save to this VMD file format.");
  // The writer refuses a control character, so nothing may reach the file.
  engine.setVmdDescription("bell \x07");
  EXPECT_NE(TSTerrorText([&] { QVLsaveEngine(engine, path.c_str(), QVLvmdTypeXml); }), "no error");
  EXPECT_EQ(TSTreadFile(path), "kept");
}
