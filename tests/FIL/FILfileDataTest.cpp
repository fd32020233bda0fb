// Binary and text files as step cases (tests/support/TSTsteps.h), tests/data/FIL/files.test,
// in a scratch directory of the case's own, written "{dir}" in refusals.  The model holds one file:
//
//   open NAME MODE TYPE | text NAME MODE TYPE (a text file) | closed TYPE (never opened) | reopen NAME MODE
//     (MODE read|readwrite|append|create or a number, TYPE buffered|unbuffered) | close | isopen | name
//   put TEXT | flush | writeout TEXT (write, flush and close) | size | at | seek N | get N | eof
//   line -> the line or "none" | linesize | char | putline TEXT | putchar C
//   copy CHUNK (writeAll into a text) | from N | upto N | chunks CHUNK (writeChunk to the end)
//   file NAME TEXT | big NAME N (two lines of N bytes) | contents NAME | exists NAME
//   dirmode NAME (whether a made directory has 0744 less the umask) | code (of the last refusal)
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "COLerror.h"
#include "COLostream.h"
#include "FILbinaryFile.h"
#include "FILdirEnumerator.h"
#include "FILpath.h"
#include "FILtestDirectory.h"
#include "FILtextFile.h"

#include "../support/TSTsteps.h"

namespace {

class Files : public TSTstepModel {
public:
  explicit Files(std::string Root) : Root(std::move(Root)) {}

private:
  std::string path(size_t At) { return Root + word(At); }
  FILtextFile& text() { return dynamic_cast<FILtextFile&>(*File); }
  std::string contents(const std::string& Path) {
    std::ifstream In(Path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(In), std::istreambuf_iterator<char>());
  }

  std::string step() override {
    try {
      return act();
    } catch (const COLerror& Error) {
      Code = Error.code();
      std::string Text = Error.description().str();
      for (size_t At; (At = Text.find(Root)) != std::string::npos;) Text.replace(At, Root.size(), "{dir}/");
      throw COLerror(Text.c_str(), Code);
    }
  }

  std::string act() {
    static const std::map<std::string, int> Modes = {
        {"read", FILmodeRead}, {"readwrite", FILmodeReadWrite}, {"append", FILmodeAppend}, {"create", FILmodeCreate}};
    const std::string& Verb = word(0);
    const auto mode = [&](size_t At) { return Modes.count(word(At)) ? Modes.at(word(At)) : std::stoi(word(At)); };
    const auto type = [&](size_t At) { return word(At) == "unbuffered" ? FILtypeUnbuffered : FILtypeBuffered; };
    if (Verb == "code") return std::to_string(Code);
    if (Verb == "open" || Verb == "text" || Verb == "closed") {
      File.reset();  // the old one closes first
      File.reset(Verb == "text" ? new FILtextFile(type(3)) : new FILbinaryFile(type(Verb == "closed" ? 1 : 3)));
      if (Verb != "closed") File->open(path(1).c_str(), mode(2));
      return "";
    }
    if (Verb == "reopen") return File->open(path(1).c_str(), mode(2)), "";
    if (Verb == "close") return File->close(), "";
    if (Verb == "isopen") return std::to_string(File->isOpen());
    if (Verb == "name") return File->name().str().substr(Root.size());
    if (Verb == "put") return File->write(word(1).data(), word(1).size()), "";
    if (Verb == "flush") return File->flush(), "";
    if (Verb == "writeout") return File->write(word(1).data(), word(1).size()), File->flush(), File->close(), "";
    if (Verb == "size") return std::to_string(File->size());
    if (Verb == "at") return std::to_string(File->position64());
    if (Verb == "seek") return File->setPosition(index(1)), "";
    if (Verb == "get") {
      std::string Bytes(index(1), '\0');
      Bytes.resize(File->read(Bytes.data(), Bytes.size()));
      return Bytes;
    }
    if (Verb == "eof") return std::to_string(File->isEndOfReadable());
    COLstring Line;
    char Character = 0;
    if (Verb == "line") return text().readLine(Line) ? Line.str() : Line.empty() ? "none" : "none " + Line.str();
    if (Verb == "linesize") return text().readLine(Line) ? std::to_string(Line.size()) : "none";
    if (Verb == "char") return text().readCharacter(Character) ? std::string(1, Character) : "none";
    if (Verb == "putline") return text().writeLine(word(1).c_str()), "";
    if (Verb == "putchar") return text().writeCharacter(word(1)[0]), "";
    if (Verb == "from") return File->setSourcePosition(index(1)), "";
    if (Verb == "upto") return File->setSourceEndPosition(index(1)), "";
    if (Verb == "copy" || Verb == "chunks") {
      Target.clear();
      File->setNext(&Target);
      if (Verb == "copy") File->writeAll(index(1));
      while (Verb == "chunks" && !File->isEndOfSource()) File->writeChunk(index(1));
      return Target.str();
    }
    if (Verb == "file") return std::ofstream(path(1), std::ios::binary) << word(2), "";
    if (Verb == "big") return std::ofstream(path(1)) << std::string(index(2), 'q') + "\n" + std::string(index(2), 'q'), "";
    if (Verb == "contents") return contents(path(1));
    if (Verb == "exists") return std::to_string(FILfileExists(path(1).c_str()));
    if (Verb == "dirmode") {
      struct stat Info;
      const mode_t Mask = umask(0);
      umask(Mask);
      if (stat(path(1).c_str(), &Info) != 0) return "missing";
      return (Info.st_mode & 0777) == (0744u & ~Mask) ? "0744 less the umask" : std::to_string(Info.st_mode & 0777);
    }
    unknown();
  }

  std::string Root;
  COLstring Target;  // before the file, which may hold it as its next sink
  std::unique_ptr<FILbinaryFile> File;
  uint32_t Code = 0;
};

class FILfileData : public FILtestDirectory, public ::testing::WithParamInterface<TSTdataCase> {};

TEST_P(FILfileData, Steps) {
  TSTrunSteps(GetParam(), [&] {
    std::filesystem::remove_all(m_Root);  // each "for" word starts in an empty directory
    std::filesystem::create_directories(m_Root);
    return std::make_unique<Files>(m_Root);
  });
}

INSTANTIATE_TEST_SUITE_P(Cases, FILfileData, ::testing::ValuesIn(TSTreadDataFile("FIL/files.test")), TSTdataParamName);

class FILfileTest : public FILtestDirectory {};

TEST_F(FILfileTest, ManySmallBufferedWritesArriveInOrder) {
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

TEST_F(FILfileTest, DirEnumeratorListsMatches) {
  writeText("a.txt", "12");
  writeText("b.txt", "");
  writeText("c.dat", "");
  FILmakeDir(path("sub.txt").c_str(), 0700);
  std::set<std::string> names;
  FILdirEnumerator all(path("*.txt").c_str());
  COLstring name;
  while (all.getFile(name)) {
    names.insert(name.c_str());
    if (name == "a.txt") {
      EXPECT_EQ(all.fileSize(), 2u);
      EXPECT_FALSE(all.isDirectory());
      EXPECT_FALSE(all.isHidden());
      EXPECT_GE(all.lastWriteTime().year(), 2020);
    }
  }
  EXPECT_EQ(names, (std::set<std::string>{"a.txt", "b.txt", "sub.txt"}));
  FILdirEnumerator directories(path("*").c_str(), true);
  ASSERT_TRUE(directories.getFile(name));
  EXPECT_EQ(name, "sub.txt");
  EXPECT_TRUE(directories.isDirectory());
  EXPECT_FALSE(directories.getFile(name));
  directories.moveToFirst();
  EXPECT_TRUE(directories.getFile(name));
  FILdirEnumerator none(path("*.none").c_str());
  EXPECT_FALSE(none.getFile(name));
}

}  // namespace
