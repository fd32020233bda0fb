// The matcher beyond the tables of tests/data/REX: bad patterns and options, copies, counted
// texts, replacement through a function, threads and runaway matches.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "REXmatcher.h"

#include "../support/TSTraised.h"

TEST(REXmatcher, CountedMatchSeesEmbeddedNulAndStopsAtLength) {
  REXmatcher matcher("B$");
  const char bytes[] = {'A', '\0', 'B', 'C'};
  EXPECT_TRUE(matcher.doesMatchWithLength(bytes, 3));
  EXPECT_FALSE(matcher.doesMatchWithLength(bytes, 4));
  EXPECT_FALSE(matcher.doesMatch(bytes)) << "the terminated form stops at the NUL";
  EXPECT_TRUE(REXmatcher("^$").doesMatchWithLength(bytes, 0));
}

// Where matches are found is in tests/data/REX.
TEST(REXmatcher, FindFromPastTheEndRaises) {
  // A start past the end is refused by the library: a failed postcondition, not a crash.
  size_t first = 0, last = 0;
  COLerror error = TSTraised([&] { REXmatcher("a").findMatch("abc", 9, first, last); });
  EXPECT_EQ(0x80000101u, error.code());
  EXPECT_EQ(COLstring("Failed postcondition:ReturnCode >= -1"), error.description());
}
// Bad patterns and options, kept with their errors, are in tests/data/REX.
TEST(REXmatcher, ABadPatternRefusesFindAndReplaceAndALaterGoodOneClearsTheError) {
  REXmatcher matcher("MSH(A|B");
  size_t first = 0, last = 0;
  EXPECT_THROW(matcher.findMatch("x", 0, first, last), COLerror);
  COLstring text("abc");
  EXPECT_THROW(matcher.regexReplace(text, "x"), COLerror);
  EXPECT_TRUE(matcher.init("MSH", 0).empty());
  EXPECT_TRUE(matcher.isExpressionValid());
  EXPECT_TRUE(matcher.lastCompileError().empty());
  EXPECT_EQ(0u, matcher.errorOffset());
  EXPECT_TRUE(matcher.doesMatch("MSH|"));
}

TEST(REXmatcher, NeverInitialisedMatcherHasNothingToMatch) {
  REXmatcher empty;
  EXPECT_FALSE(empty.isExpressionValid());
  EXPECT_TRUE(empty.pattern().empty());
  EXPECT_THROW(empty.doesMatch("x"), COLerror);
  REXmatcher copy(empty);
  EXPECT_FALSE(copy.isExpressionValid()) << "copying must not compile the empty pattern";

  REXmatcher good("x");
  EXPECT_THROW(good.doesMatch(nullptr), COLerror);
  EXPECT_THROW(good.doesMatchWithLength(nullptr, 0), COLerror);
}

TEST(REXmatcher, CopyMoveAndCompare) {
  REXmatcher original("^[0-9]+$", REX_CASELESS);
  REXmatcher copy(original);
  original.init("^[a-z]+$", 0);
  EXPECT_TRUE(copy.doesMatch("123")) << "a copy owns its own compiled code";
  EXPECT_FALSE(copy.doesMatch("abc"));
  EXPECT_EQ(REX_CASELESS, copy.options());
  EXPECT_TRUE(copy != original);

  copy = original;
  EXPECT_TRUE(copy == original);
  EXPECT_TRUE(copy.doesMatch("abc"));
  copy = copy;
  EXPECT_TRUE(copy.doesMatch("abc"));

  REXmatcher moved(std::move(copy));
  EXPECT_TRUE(moved.doesMatch("abc"));
  EXPECT_FALSE(copy.isExpressionValid());  // NOLINT: the moved-from object stays usable
  EXPECT_THROW(copy.doesMatch("abc"), COLerror);
  copy.init("q", 0);
  EXPECT_TRUE(copy.doesMatch("q"));

  std::vector<REXmatcher> many;
  for (int i = 0; i < 50; ++i) many.emplace_back(COLstring("^") + COLstring(std::to_string(i)) + "$");
  EXPECT_TRUE(many[42].doesMatch("42"));
  EXPECT_FALSE(many[42].doesMatch("4"));

  EXPECT_TRUE(original == "^[a-z]+$");
  EXPECT_TRUE(original != COLstring("x"));
  EXPECT_TRUE(REXmatcher("(") == REXmatcher("(")) << "patterns alone are compared";
}

TEST(REXmatcher, PrintsItsPattern) {
  COLstring text;
  COLostream stream(text);
  stream << REXmatcher("A|B");
  EXPECT_EQ(COLstring("Regex: 'A|B'"), text);
}

TEST(REXmatcher, ReplaceFunctionSeesGapsAndGroupsButNotReplacement) {
  std::vector<COLstring> seen;
  auto upper = [&seen](const COLstring& piece) {
    seen.push_back(piece);
    COLstring result(piece);
    return result.toUpperCase();
  };
  COLstring text("ab1cd22ef");
  EXPECT_EQ(2u, REXmatcher("([0-9])[0-9]*").regexReplace(text, "<x$1$1>", upper));
  EXPECT_EQ(COLstring("AB<x11>CD<x22>EF"), text);
  // Per match: the group once (however often used), then the gap before the match; then the tail.
  const std::vector<COLstring> expected = {"1", "ab", "2", "cd", "ef"};
  EXPECT_EQ(expected, seen);

  // The function may use regular expressions itself: the outer match is not disturbed.
  REXmatcher inner("(((((k)))))");  // more groups than the outer pattern
  text = "k1k22k";
  REXmatcher("([0-9])").regexReplace(text, "[$1]", [&inner](const COLstring& piece) {
    COLstring copy(piece);
    inner.regexReplace(copy, "$5$5");
    return copy;
  });
  EXPECT_EQ(COLstring("kk[1]kk[2][2]kk"), text);

  // The tail goes through the function even without a match.
  text = "abc";
  EXPECT_EQ(0u, REXmatcher("z").regexReplace(text, "y", upper));
  EXPECT_EQ(COLstring("ABC"), text);
}

TEST(REXmatcher, SharedMatcherSearchesFromSeveralThreads) {
  const REXmatcher matcher("^MSH\\|([^|]*)\\|");
  std::vector<std::thread> threads;
  std::vector<int> hits(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&matcher, &hits, t] {
      REXmatcher mine("(((((((((x)))))))))");  // grows this thread's match data
      for (int i = 0; i < 2000; ++i) {
        if (matcher.doesMatch(i % 2 ? "MSH|^~\\&|APP|" : "PID|1|")) ++hits[t];
        if (!mine.doesMatch("x")) hits[t] = -100000;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (int count : hits) EXPECT_EQ(1000, count);
}

TEST(REXmatcher, RunawayMatchesRaiseInsteadOfHangingOrCrashing) {
  // Exponential backtracking hits the library's match limit: an error, not a hang.
  std::string many(40, 'a');
  many += 'b';
  COLerror error = TSTraised([&many] { REXmatcher("(a+)+$").doesMatch(many.c_str()); });
  EXPECT_EQ(0x80000101u, error.code());

  // Deep repetition over a long value outgrows the default machine stack of the library;
  // it must neither overflow nor fail.
  const std::string longValue(200000, 'a');
  EXPECT_FALSE(REXmatcher("(a|b)*c").doesMatch(longValue.c_str()));
  EXPECT_TRUE(REXmatcher("(a|b)*$").doesMatch(longValue.c_str()));
}
