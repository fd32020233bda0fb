#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "COLerror.h"
#include "COLostream.h"
#include "FILbinaryFile.h"
#include "FILpath.h"
#include "FILtestDirectory.h"

#include "../support/TSTraised.h"

namespace {

class FILbinaryFileTest : public FILtestDirectory, public ::testing::WithParamInterface<FILtype> {};

COLerror openError(const std::string& path, FILmode mode, FILtype type) {
  return TSTraised([&] { FILbinaryFile file(path.c_str(), mode, type); });
}

}  // namespace

TEST_P(FILbinaryFileTest, CreateWriteReadBack) {
  FILbinaryFile file(path("a.bin").c_str(), FILmodeCreate, GetParam());
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(file.name(), COLstring(path("a.bin").c_str()));
  COLostream(file) << "hello " << 42 << newline;
  file.write("\0x", 2);
  EXPECT_EQ(file.size(), 11u);
  EXPECT_EQ(file.position64(), 11u);
  // A read after a write on the same file sees what was written.
  file.setPosition(6);
  char buffer[16] = {};
  EXPECT_EQ(file.read(buffer, sizeof buffer), 5u);
  EXPECT_EQ(std::string(buffer, 5), std::string("42\n\0x", 5));
  file.close();
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(readText("a.bin"), std::string("hello 42\n\0x", 11));
}

TEST_P(FILbinaryFileTest, ModeThreeEmptiesAndModeTwoAppends) {
  writeText("f.txt", "old content");
  {
    FILbinaryFile file(path("f.txt").c_str(), FILmodeCreate, GetParam());
    EXPECT_EQ(file.size(), 0u);
    file.write("new", 3);
  }
  EXPECT_EQ(readText("f.txt"), "new");
  {
    FILbinaryFile file(path("f.txt").c_str(), FILmodeAppend, GetParam());
    file.write("+more", 5);
  }
  EXPECT_EQ(readText("f.txt"), "new+more");
  {
    FILbinaryFile file(path("f.txt").c_str(), FILmodeReadWrite, GetParam());
    file.write("N", 1);
  }
  EXPECT_EQ(readText("f.txt"), "New+more");
}

TEST_P(FILbinaryFileTest, ReadModeReportsMissingFileWithErrno) {
  EXPECT_EQ(openError(path("missing/none.txt"), FILmodeRead, GetParam()),
            COLerror(("Open file '" + path("missing/none.txt") + "' failed. " + strerror(ENOENT) + ".").c_str(),
                     ENOENT));
  // Reading never creates the directories.
  EXPECT_FALSE(FILfileExists(path("missing").c_str()));
}

TEST_P(FILbinaryFileTest, WritingCreatesMissingDirectories) {
  FILbinaryFile file(path("a/b/c.txt").c_str(), FILmodeCreate, GetParam());
  file.write("x", 1);
  file.close();
  EXPECT_EQ(readText("a/b/c.txt"), "x");
  struct stat info;
  ASSERT_EQ(stat(path("a/b").c_str(), &info), 0);
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(info.st_mode & 0777, 0744u & ~mask);
}

TEST_P(FILbinaryFileTest, WritingBelowAPlainFileNamesTheFile) {
  writeText("plain", "x");
  EXPECT_EQ(openError(path("plain/x.txt"), FILmodeCreate, GetParam()),
            COLerror(("Could not create " + path("plain/x.txt") + " because '" + path("plain") +
                      "' is not a directory.").c_str(),
                     COL_ERROR_PRECONDITION));
  const COLerror error = openError(path("plain/deeper/x.txt"), FILmodeCreate, GetParam());
  EXPECT_NE(error.description().find("is a file, not a directory."), COLstring::npos);
}

TEST_P(FILbinaryFileTest, WriteAllCopiesWholeFileIntoSink) {
  std::string content;
  for (int i = 0; i < 5000; ++i) content += static_cast<char>('a' + i % 26);
  writeText("in.txt", content);
  COLstring target;
  FILbinaryFile file(path("in.txt").c_str(), FILmodeRead, GetParam(), &target);
  file.writeAll(1024);
  EXPECT_EQ(target.str(), content);
  // writeAll leaves the file rewound, so a second copy gives the same bytes.
  COLstring second;
  file.setNext(&second);
  file.writeAll(100);
  EXPECT_EQ(second.str(), content);
  // The source end position limits the chunks.
  writeText("short.txt", "0123456789");
  COLstring part;
  FILbinaryFile limited(path("short.txt").c_str(), FILmodeRead, GetParam(), &part);
  limited.setSourcePosition(2);
  limited.setSourceEndPosition(7);
  while (!limited.isEndOfSource()) limited.writeChunk(3);
  EXPECT_EQ(part, "23456");
  // An empty file copies nothing and is at its end.
  writeText("empty", "");
  COLstring none;
  FILbinaryFile empty(path("empty").c_str(), FILmodeRead, GetParam(), &none);
  empty.writeAll();
  EXPECT_TRUE(none.empty());
  char c;
  EXPECT_EQ(empty.read(&c, 1), 0u);
  EXPECT_TRUE(empty.isEndOfReadable());
}

TEST_P(FILbinaryFileTest, ClosedFileAndUnknownModeFailPreconditions) {
  FILbinaryFile file(GetParam());
  EXPECT_FALSE(file.isOpen());
  file.close();  // closing a closed file does nothing
  EXPECT_EQ(TSTraised([&] { file.write("x", 1); }),
            COLerror(GetParam() == FILtypeBuffered ? "Failed precondition: FileHandle != NULL"
                                                   : "Failed precondition: FileHandle != -1",
                     COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { file.open(path("x").c_str(), 7); }),
            COLerror("Unknown File Parameter", COL_ERROR_PRECONDITION));
  EXPECT_FALSE(FILfileExists(path("x").c_str()));
}

TEST_P(FILbinaryFileTest, ReopeningClosesThePreviousFile) {
  FILbinaryFile file(GetParam());
  file.open(path("1.xml").c_str(), FILmodeCreate);
  COLostream stream(file);
  stream << "first";
  file.open(path("2.xml").c_str(), FILmodeCreate);
  stream << "second";
  file.close();
  EXPECT_EQ(readText("1.xml"), "first");
  EXPECT_EQ(readText("2.xml"), "second");
}

TEST_P(FILbinaryFileTest, ReadOnlyFileRefusesWrites) {
  writeText("r.txt", "abc");
  FILbinaryFile file(path("r.txt").c_str(), FILmodeRead, GetParam());
  file.flush();  // nothing to flush, no error
  try {
    file.write("x", 1);
    file.flush();
    file.close();
    FAIL() << "a write to a read-only file went through";
  } catch (const COLerror& error) {
    EXPECT_EQ(error.code(), static_cast<uint32_t>(EBADF));
  }
  EXPECT_EQ(readText("r.txt"), "abc");
}

INSTANTIATE_TEST_SUITE_P(BothTypes, FILbinaryFileTest, ::testing::Values(FILtypeBuffered, FILtypeUnbuffered),
                         [](const auto& info) { return info.param == FILtypeBuffered ? "Buffered" : "Unbuffered"; });

class FILbinaryFileBuffered : public FILtestDirectory {};

TEST_F(FILbinaryFileBuffered, ManySmallWritesArriveInOrder) {
  std::string expected;
  {
    FILbinaryFile file(path("big").c_str(), FILmodeCreate, FILtypeBuffered);
    COLostream stream(file);
    for (int i = 0; i < 200000; ++i) {
      stream << i << ',';
      expected += std::to_string(i) + ',';
    }
    EXPECT_EQ(file.size(), expected.size());
  }
  EXPECT_EQ(readText("big"), expected);
}
