// The example files beyond single tool runs (those are in tests/data/APP): table XML checked by
// xmllint, and the two X12 definitions kept in step.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "../support/TSTtoolRun.h"

namespace {

const std::string Source = std::string(MSGBRIDGE_SOURCE_DIR) + "/";

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The schema that --toxsd writes for the X12 definitions holds every file that --toxml writes.
TEST(APPexampleLogs, X12TableXmlIsValidAgainstTheDefinitionsSchema) {
  for (const auto& [log, definition, messages] : {std::tuple{"x12_interchange.x12", "x12_850_997.vmd", 4},
                                                  std::tuple{"x12_batch.x12", "x12_850_997_sets.vmd", 3}}) {
    const std::string dir = ::testing::TempDir() + "msgbridge-xsd-" + std::to_string(::getpid()) + "/";
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    const std::string vmd = Source + "examples/" + definition + " ";
    ASSERT_EQ(TSTrunBinary("--toxsd " + vmd + "unused " + dir + "x12.xsd").status, 0);
    ASSERT_EQ(TSTrunBinary("--toxml " + vmd + Source + "examples/" + log + " " + dir + "msg.xml").status, 0);
    for (int number = 1; number <= messages; ++number) {
      const std::string file = dir + "0000" + std::to_string(number) + "msg.xml";
      const TSTtoolRun lint = TSTrunShell("xmllint --noout --schema " + dir + "x12.xsd " + file);
      EXPECT_EQ(lint.status, 0) << lint.output;
      EXPECT_NE(lint.output.find(file + " validates"), std::string::npos) << lint.output;
    }
    std::filesystem::remove_all(dir);
  }
}

// Latin-1 names of the scripted example go out as UTF-8 that an XML reader takes without a
// declaration.
TEST(APPexampleLogs, LatinOneNamesGoOutAsUtf8ThatXmllintAccepts) {
  const std::string dir = ::testing::TempDir() + "msgbridge-latin-" + std::to_string(::getpid()) + "/";
  ASSERT_EQ(TSTrunBinary("--toxml " + Source + "examples/scripted.vmd " + Source + "examples/scripted.hl7 " + dir + "m.xml")
                .status,
            0);
  ASSERT_NE(readAll(dir + "00002m.xml").find("M\xC3\x9CLLER"), std::string::npos);
  const TSTtoolRun lint = TSTrunShell("xmllint --noout " + dir + "00002m.xml");
  EXPECT_EQ(lint.status, 0) << lint.output;
  EXPECT_EQ(lint.output, "");
  std::filesystem::remove_all(dir);
}

// The two X12 definitions are one definition with two headers; anything else that differs
// between them is drift.
TEST(APPexampleLogs, X12DefinitionsDifferOnlyInTheirHeader) {
  std::istringstream interchange(readAll(Source + "examples/x12_850_997.vmd"));
  std::istringstream sets(readAll(Source + "examples/x12_850_997_sets.vmd"));
  std::string a, b;
  size_t lines = 0, differing = 0;
  while (std::getline(interchange, a)) {
    ASSERT_TRUE(std::getline(sets, b)) << "the sets definition is shorter";
    ++lines;
    if (a == b) continue;
    ++differing;
    const bool allowed = (a.find("<header_segment>ISA<") != std::string::npos &&
                          b.find("<header_segment>ST<") != std::string::npos) ||
                         (a.find("<vmd_description>") != std::string::npos && b.find("<vmd_description>") != std::string::npos);
    EXPECT_TRUE(allowed) << "line " << lines << ":\n" << a << "\n" << b;
  }
  EXPECT_FALSE(std::getline(sets, b)) << "the sets definition is longer";
  EXPECT_EQ(differing, 2u);
}

}  // namespace
