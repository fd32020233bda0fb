// Once the reused list has seen the messages of a stream, tokenising them again allocates
// nothing: the tokeniser is on the path of every message.  Objects are kept per position, so
// a message with a deeper field where another had a flat one makes the few objects it lacks,
// once.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "SGPparser.h"

#include "../support/TSTcountingNew.h"

TEST(SGPallocation, WarmListTokenisesWithoutAllocating) {
  const std::string Large =
      "MSH|^~\\&|A|B|C|D|20240101||ADT^A01|1|P|2.5\rPID|1||123^^^MRN~456^^^SSN||DOE^JOHN&X||19800101|M\r"
      "OBX|1|TX|N^Note||line one^a&b&c~line two|||||F\rZZZ|||||||||||\r";
  const std::string Small = "MSH|^~\\&|X\rPID|1|2^3\r";
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  const SGPparserOptions Options;
  ASSERT_EQ(Parser.parse(Large.data(), Large.size(), List, Separators, Options), SGPparsed);
  ASSERT_EQ(Parser.parse(Small.data(), Small.size(), List, Separators, Options), SGPparsed);
  const long Before = CountOfAllocation.load();
  for (int Round = 0; Round < 3; ++Round) {
    ASSERT_EQ(Parser.parse(Small.data(), Small.size(), List, Separators, Options), SGPparsed);
    ASSERT_EQ(Parser.parse(Large.data(), Large.size(), List, Separators, Options), SGPparsed);
  }
  EXPECT_EQ(CountOfAllocation.load() - Before, 0);
  EXPECT_EQ(List.countOfSegment(), 4u);
  EXPECT_EQ(List.segment(1).field(2, 1).value(0, 0).view(), "456");
}
