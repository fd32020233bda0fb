#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "COLerror.h"
#include "COLostream.h"
#include "FILbinaryFile.h"
#include "FILpath.h"
#include "FILtestDirectory.h"

#include "../support/TSTraised.h"
#include "../support/TSTsteps.h"

// Paths as step cases (tests/support/TSTsteps.h), tests/data/FIL/path.test.  The model holds one
// path:
//   path TEXT (the path anew) | current DIR | name TEXT (setFileName) | reference DIR
//   parts -> "directory|name|extension|name with extension" and "|dir" for a directory
//   dirs -> the count, then each directory | complete | relative | sub START END
//   default EXT | force EXT | add S | remove S | removelead S | correct S (separator helpers)
class Paths : public TSTstepModel {
  std::string step() override {
    const std::string& Verb = word(0);
    COLstring Out;
    if (Verb == "path") return Path = FILfilePath(rest(1).c_str()), "";
    if (Verb == "current") return Path.setCurrentDirectory(word(1).c_str()), "";
    if (Verb == "name") return Path.setFileName(rest(1).c_str()), "";
    if (Verb == "reference") return Path.setRelativeReferencePath(word(1).c_str()), "";
    if (Verb == "parts")
      return std::string(Path.fullDirectory().c_str()) + "|" + Path.filename().c_str() + "|" +
             Path.extension().c_str() + "|" + Path.fullFilename().c_str() + (Path.isDirectory() ? "|dir" : "");
    if (Verb == "dirs") {
      std::string Text = std::to_string(Path.countOfDir());
      for (size_t At = 0; At < Path.countOfDir(); ++At) Text += std::string(" ") + Path.directory(At).c_str();
      return Text;
    }
    if (Verb == "complete") return Path.completeFilePath().str();
    if (Verb == "relative") return Path.relativePath(Out), Out.str();
    if (Verb == "sub") return Path.subFilePath(static_cast<int>(integer(1)), static_cast<int>(integer(2)), Out), Out.str();
    if (Verb == "default") return Path.defaultExtension(word(1).c_str()), "";
    if (Verb == "force") return Path.forceExtension(word(1).c_str()), "";
    if (Verb == "add") return FILaddPathSeparator(rest(1).c_str()).str();
    if (Verb == "remove") return FILremovePathSeparator(rest(1).c_str()).str();
    if (Verb == "removelead") return FILremoveLeadingPathSeparator(rest(1).c_str()).str();
    if (Verb == "correct") return FILcorrectPathSeparators(rest(1).c_str()).str();
    unknown();
  }

  FILfilePath Path;
};

class FILpathData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(FILpathData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Paths>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, FILpathData, ::testing::ValuesIn(TSTreadDataFile("FIL/path.test")), TSTdataParamName);

// A relative path takes the process's working directory.
TEST(FILfilePath, RelativePathsResolveAgainstTheWorkingDirectory) {
  COLstring cwd;
  FILgetCurrentWorkingDir(cwd);
  FILfilePath plain("out.xml");
  EXPECT_EQ(plain.fullDirectory(), FILaddPathSeparator(cwd == "/" ? COLstring("") : cwd));
  EXPECT_EQ(plain.fullFilename(), "out.xml");
  // One past the depth of whatever directory the suite runs in.
  const int beyond = static_cast<int>(plain.countOfDir()) + 1;
  COLstring out;
  EXPECT_EQ(TSTraised([&] { plain.subFilePath(beyond, -1, out); }).code(), COL_ERROR_BAD_ARGUMENT);
  plain.subFilePath(static_cast<int>(plain.countOfDir()), -1, out);
  EXPECT_EQ(out, "out.xml");
}

class FILpathFunctions : public FILtestDirectory {};

TEST_F(FILpathFunctions, MakeFullDirCreatesEveryLevel) {
  COLstring deep = path("x/y/z").c_str();
  FILmakeFullDir(deep, 0700);
  EXPECT_TRUE(FILisDirectory(deep));
  FILmakeFullDir(deep, 0700);  // existing levels are fine
  writeText("file", "");
  EXPECT_EQ(TSTraised([&] { FILmakeFullDir(path("file/sub").c_str(), 0700); }).description(),
            COLstring(("Error creating directory for '" + path("file/sub") + "', '" + path("file") +
                       " is a file, not a directory.").c_str()));
}

TEST_F(FILpathFunctions, ExistenceSizeAndKinds) {
  writeText("f.txt", "12345");
  EXPECT_TRUE(FILfileExists(path("f.txt").c_str()));
  EXPECT_FALSE(FILfileExists(path("g.txt").c_str()));
  EXPECT_EQ(FILfileSize(path("f.txt").c_str()), 5u);
  EXPECT_FALSE(FILisDirectory(path("f.txt").c_str()));
  EXPECT_TRUE(FILisDirectory(m_Root.c_str()));
  EXPECT_TRUE(FILhasPermission(path("f.txt").c_str(), R_OK));
  const COLerror error = TSTraised([&] { FILhasPermission(path("g.txt").c_str(), R_OK); });
  EXPECT_EQ(error.code(), COL_ERROR_BAD_ARGUMENT);
  EXPECT_EQ(error.description(), COLstring(("File `" + path("g.txt") + "' does not exist.").c_str()));
  EXPECT_EQ(TSTraised([&] { FILisDirectory(path("g.txt").c_str()); }).code(), static_cast<uint32_t>(ENOENT));
  ASSERT_EQ(symlink(path("f.txt").c_str(), path("link").c_str()), 0);
  EXPECT_TRUE(FILisSymbolicLink(path("link").c_str()));
  EXPECT_FALSE(FILisSymbolicLink(path("f.txt").c_str()));
}

TEST_F(FILpathFunctions, CopyRenameTruncateRemove) {
  writeText("a.txt", "content");
  FILcopyFile(path("a.txt").c_str(), path("b.txt").c_str(), false);
  EXPECT_EQ(readText("b.txt"), "content");
  EXPECT_EQ(TSTraised([&] { FILcopyFile(path("a.txt").c_str(), path("b.txt").c_str(), false); }).description(),
            COLstring(("Destination file `" + path("b.txt") + "' exists, but Ovewrite is unset.").c_str()));
  FILrenameFile(path("b.txt").c_str(), path("c.txt").c_str());
  EXPECT_FALSE(FILfileExists(path("b.txt").c_str()));
  FILchangeFileSize(path("c.txt").c_str(), 3);
  EXPECT_EQ(readText("c.txt"), "con");
  FILremove(path("c.txt").c_str());
  EXPECT_FALSE(FILfileExists(path("c.txt").c_str()));
  EXPECT_THROW(FILremove(path("c.txt").c_str()), COLerror);
}

TEST_F(FILpathFunctions, CopyTreeAndRemoveTree) {
  FILmakeFullDir(path("src/sub").c_str(), 0700);
  writeText("src/one.txt", "1");
  writeText("src/sub/two.txt", "2");
  FILcopy(path("src").c_str(), path("dst").c_str(), false);
  EXPECT_EQ(readText("dst/one.txt"), "1");
  EXPECT_EQ(readText("dst/sub/two.txt"), "2");
  // A file copied into an existing directory keeps its name.
  FILcopy(path("src/one.txt").c_str(), path("dst/sub").c_str(), false);
  EXPECT_EQ(readText("dst/sub/one.txt"), "1");
  EXPECT_THROW(FILcopy(path("src").c_str(), path("src/one.txt").c_str(), true), COLerror);

  COLstring report;
  COLostream stream(report);
  FILcleanDir(path("dst").c_str(), &stream);
  EXPECT_FALSE(FILfileExists(path("dst/one.txt").c_str()));
  EXPECT_TRUE(FILfileExists(path("dst/sub/two.txt").c_str()));
  EXPECT_NE(report.find("one.txt"), COLstring::npos);
  FILremoveFullDir(path("dst").c_str());
  EXPECT_FALSE(FILfileExists(path("dst").c_str()));
}

TEST_F(FILpathFunctions, TempDirectoryPrefersHome) {
  const char* oldHome = getenv("HOME");
  const char* oldTmp = getenv("TMPDIR");
  std::string savedHome = oldHome ? oldHome : "";
  std::string savedTmp = oldTmp ? oldTmp : "";
  setenv("HOME", path("home").c_str(), 1);
  setenv("TMPDIR", path("tmpdir").c_str(), 1);
  COLstring out;
  FILgetTempDirectory(out);
  EXPECT_EQ(out, COLstring((path("home") + "/tmp/").c_str()));
  EXPECT_TRUE(FILisDirectory(out));
  unsetenv("HOME");
  FILgetTempDirectory(out);
  EXPECT_EQ(out, COLstring((path("tmpdir") + "/").c_str()));
  unsetenv("TMPDIR");
  if (oldHome) setenv("HOME", savedHome.c_str(), 1);
  if (oldTmp) setenv("TMPDIR", savedTmp.c_str(), 1);
}

TEST(FILexecutableDirectory, MustBeSetFirst) {
  COLstring out;
  try {
    FILgetExecutableFileDirectory(out);
    // Another test of this program may have set it already.
  } catch (const COLerror& error) {
    EXPECT_EQ(error.description(), "Error: Must call FILsetExecutableFileDirectory under POSIX first");
  }
  FILsetExecutableFileDirectory("/opt/tool");
  EXPECT_EQ(FILconvertLocalToAbsoluteFileName("lib/x"), "/opt/tool/lib/x");
  EXPECT_EQ(FILconvertLocalToAbsoluteFileName("/abs"), "/abs");
}
