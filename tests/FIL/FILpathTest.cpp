#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "COLerror.h"
#include "COLostream.h"
#include "FILbinaryFile.h"
#include "FILpath.h"
#include "FILtestDirectory.h"

#include "../support/TSTraised.h"

TEST(FILfilePath, SplitsAndNormalises) {
  // directory | name | extension | name with extension, then "dir" for a directory path
  const char* const Cases[][2] = {
      {"/data/out/msg.xml", "/data/out/|msg|xml|msg.xml"},
      {"/a//./b/../c\\d/file.tar.gz", "/a/c/d/|file.tar|gz|file.tar.gz"},
      {"/a/README", "/a/|README||README"},
      {"/a/name.", "/a/|name||name."},
      {"/a/b/", "/a/b/||||dir"},
      {"/", "/||||dir"},
  };
  for (const auto& [Text, Expected] : Cases) {
    const FILfilePath path(Text);
    EXPECT_EQ(std::string(path.fullDirectory().c_str()) + "|" + path.filename().c_str() + "|" +
                  path.extension().c_str() + "|" + path.fullFilename().c_str() + (path.isDirectory() ? "|dir" : ""),
              Expected)
        << Text;
  }
  FILfilePath path("/data/out/msg.xml");
  EXPECT_EQ(path.countOfDir(), 2u);
  EXPECT_EQ(path.directory(0), "data");
  EXPECT_EQ(path.directory(1), "out");
  EXPECT_EQ(path.completeFilePath(), "/data/out/msg.xml");
  EXPECT_EQ(FILfilePath("/").countOfDir(), 0u);
  EXPECT_EQ(FILfilePath("/a/.profile").fullFilename(), ".profile");
  EXPECT_FALSE(FILfilePath("/a/.profile").isDirectory());
}

TEST(FILfilePath, RelativePathsResolveAgainstCurrentDirectory) {
  FILfilePath path;
  path.setCurrentDirectory("/base/dir");
  path.setFileName("../x/y.txt");
  EXPECT_EQ(path.completeFilePath(), "/base/x/y.txt");

  COLstring cwd;
  FILgetCurrentWorkingDir(cwd);
  FILfilePath plain("out.xml");
  EXPECT_EQ(plain.fullDirectory(), FILaddPathSeparator(cwd == "/" ? COLstring("") : cwd));
  EXPECT_EQ(plain.fullFilename(), "out.xml");
}

TEST(FILfilePath, BadPathsAreRefused) {
  FILfilePath path;
  path.setCurrentDirectory("/");
  EXPECT_EQ(TSTerrorText([&] { path.setFileName("x/../../y"); }), "Unable to resolve");
  EXPECT_EQ(TSTerrorText([&] { path.setFileName(":abc"); }), "Unable to resolve");
  EXPECT_EQ(TSTerrorText([&] { path.setFileName("/a/b:c"); }), "Bad file path");
}

TEST(FILfilePath, ExtensionsNeedAFile) {
  FILfilePath path("/a/report");
  path.defaultExtension("txt");
  EXPECT_EQ(path.fullFilename(), "report.txt");
  path.defaultExtension("csv");
  EXPECT_EQ(path.extension(), "txt");
  path.forceExtension("csv");
  EXPECT_EQ(path.completeFilePath(), "/a/report.csv");

  FILfilePath directory("/a/");
  EXPECT_EQ(TSTerrorText([&] { directory.forceExtension("x"); }), "Failed precondition: !isDirectory()");
  FILfilePath empty;
  EXPECT_EQ(TSTerrorText([&] { empty.defaultExtension("x"); }), "Failed precondition: pMember->FileNameBuffer.size() > 0");
}

TEST(FILfilePath, SubPathsAndRanges) {
  FILfilePath path("/a/b/c/f.txt");
  COLstring out;
  path.subFilePath(-1, -1, out);
  EXPECT_EQ(out, "/a/b/c/f.txt");
  path.subFilePath(1, 3, out);
  EXPECT_EQ(out, "b/c/");
  path.subFilePath(-1, 1, out);
  EXPECT_EQ(out, "/a/");
  const COLerror error = TSTraised([&] { path.subFilePath(5, -1, out); });
  EXPECT_EQ(error.code(), COL_ERROR_BAD_ARGUMENT);
  EXPECT_EQ(error.description(), "Start index of 5 not within bounds of [-1, 3].");
  EXPECT_THROW(path.subFilePath(2, 1, out), COLerror);
}

TEST(FILfilePath, RelativePathToReference) {
  FILfilePath path("/a/b/c/f.txt");
  path.setRelativeReferencePath("/a/x/y");
  COLstring out;
  path.relativePath(out);
  EXPECT_EQ(out, "../../b/c/f.txt");
  path.setRelativeReferencePath("/a/b");
  path.relativePath(out);
  EXPECT_EQ(out, "c/f.txt");
}

TEST(FILpathSeparators, AddRemoveCorrect) {
  EXPECT_EQ(FILaddPathSeparator("a"), "a/");
  EXPECT_EQ(FILaddPathSeparator("a/"), "a/");
  EXPECT_EQ(FILaddPathSeparator(""), "/");
  EXPECT_EQ(FILremovePathSeparator("a/"), "a");
  EXPECT_EQ(FILremovePathSeparator("/"), "/");
  EXPECT_EQ(FILremoveLeadingPathSeparator("/a"), "a");
  EXPECT_EQ(FILcorrectPathSeparators("a\\b\\c"), "a/b/c");
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
