// What the data cases (tests/data/APP) cannot hold: a version that changes per build, the real
// binary's exit status and flushing, and the numbered file names.
#include <gtest/gtest.h>

#include <vector>

#include "APPtool.h"
#include "APPxmlFileName.h"
#include "COLostream.h"

#include "../support/TSTtoolRun.h"

TEST(APPtool, VersionReportsLocaleAndEngine) {
  const auto run = [](std::vector<const char*> Words) {
    Words.insert(Words.begin(), "msgbridge");
    COLstring Text;
    COLostream Stream(Text);
    const int Status = APPrunTool(static_cast<int>(Words.size()), Words.data(), Stream);
    Stream.flush();
    return TSTtoolRun{Status, Text.str()};
  };
  const TSTtoolRun Version = run({"--version", "a", "b", "c"});
  EXPECT_EQ(Version.status, 0);
  EXPECT_EQ(Version.output.rfind("Current Locale: C\nEngine Version: ", 0), 0u) << Version.output;
  EXPECT_EQ(Version.output.back(), '\n');
  // A mode flag earlier in the order wins over --version.
  EXPECT_EQ(run({"--version", "--toxsd", "a", "b", "c"}).output, "Open file 'a' failed. No such file or directory.\n");
}

TEST(APPtool, BinaryExitsWithStatusAndFlushesOutput) {
  const TSTtoolRun Usage = TSTrunBinary("");
  EXPECT_EQ(Usage.status, 1);
  EXPECT_NE(Usage.output.find("Known flags:\n"), std::string::npos);
  const TSTtoolRun Repeated = TSTrunBinary("--toxml --toxml a b c");
  EXPECT_EQ(Repeated.status, 1);
  EXPECT_EQ(Repeated.output.rfind("Flag toxml used more than once.\nCommand line HL7 <-> XML translation test tool.\n", 0), 0u);
  const TSTtoolRun Version = TSTrunBinary("--version a b c");
  EXPECT_EQ(Version.status, 0);
  EXPECT_EQ(Version.output.rfind("Current Locale: ", 0), 0u);
}

TEST(APPxmlFileName, PadsToFiveDigitsAndKeepsLongerNumbers) {
  EXPECT_EQ(APPxmlFileName(7, "out/", "msg.xml"), "out/00007msg.xml");
  EXPECT_EQ(APPxmlFileName(100000, "", "name"), "100000name");
  EXPECT_EQ(APPxmlFileName(12345, "d/", ""), "d/12345");
}
