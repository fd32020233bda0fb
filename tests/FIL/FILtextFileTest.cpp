#include <gtest/gtest.h>

#include <set>

#include "COLerror.h"
#include "FILdirEnumerator.h"
#include "FILpath.h"
#include "FILtestDirectory.h"
#include "FILtextFile.h"

class FILtextFileTest : public FILtestDirectory {};

TEST_F(FILtextFileTest, ReadLineDropsOneCarriageReturnBeforeLineFeed) {
  writeText("t.txt", "a\r\nb\rc\n\r\r\nlast");
  FILtextFile file(path("t.txt").c_str(), FILmodeRead);
  COLstring line;
  ASSERT_TRUE(file.readLine(line));
  EXPECT_EQ(line, "a");
  ASSERT_TRUE(file.readLine(line));
  EXPECT_EQ(line, "b\rc");
  ASSERT_TRUE(file.readLine(line));
  EXPECT_EQ(line, "\r");
  ASSERT_TRUE(file.readLine(line));
  EXPECT_EQ(line, "last");
  EXPECT_FALSE(file.readLine(line));
  EXPECT_EQ(line, "");
}

TEST_F(FILtextFileTest, LongLinesCrossBufferBoundaries) {
  std::string big(200000, 'q');
  writeText("big.txt", big + "\n" + big);
  FILtextFile file(path("big.txt").c_str(), FILmodeRead, FILtypeUnbuffered);
  COLstring line;
  ASSERT_TRUE(file.readLine(line));
  EXPECT_EQ(line.size(), big.size());
  ASSERT_TRUE(file.readLine(line));
  EXPECT_EQ(line.size(), big.size());
  EXPECT_FALSE(file.readLine(line));
}

TEST_F(FILtextFileTest, PositionsCountBufferedBytes) {
  {
    FILtextFile file(path("w.txt").c_str(), FILmodeCreate);
    file.writeLine("one");
    file.writeCharacter('2');
    EXPECT_EQ(file.position(), 5u);
    file.setPosition(1);
    file.writeCharacter('N');
    file.setPosition(0);
    char c = 0;
    ASSERT_TRUE(file.readCharacter(c));
    EXPECT_EQ(c, 'o');
    EXPECT_EQ(file.position(), 1u);
    COLstring line;
    ASSERT_TRUE(file.readLine(line));
    EXPECT_EQ(line, "Ne");
    EXPECT_EQ(file.position(), 4u);
    file.writeCharacter('3');  // lands behind what was read, not behind the read-ahead
  }
  EXPECT_EQ(readText("w.txt"), "oNe\n3");
}

TEST_F(FILtextFileTest, WriteAllSeesBufferedRest) {
  writeText("r.txt", "head\nrest of it");
  COLstring rest;
  FILtextFile file(path("r.txt").c_str(), FILmodeRead);
  COLstring line;
  ASSERT_TRUE(file.readLine(line));
  file.setNext(&rest);
  while (!file.isEndOfSource()) file.writeChunk(4);
  EXPECT_EQ(rest, "rest of it");
}

TEST_F(FILtextFileTest, DirEnumeratorListsMatches) {
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
