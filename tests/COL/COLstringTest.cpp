#include <gtest/gtest.h>

#include "COLerror.h"
#include "COLstring.h"

#include "../support/TSTraised.h"

TEST(COLstring, StripRemovesOnlyTheChosenSides) {
  EXPECT_EQ(COLstring("abc").strip(3, 'x'), "abc");
  EXPECT_EQ(COLstring("xxx").strip(3, 'x'), "");
  EXPECT_EQ(COLstring("xxaxx").strip(COLstring::StripLeading, 'x'), "axx");
  EXPECT_EQ(COLstring("xxaxx").strip(COLstring::StripTrailing, 'x'), "xxa");
  EXPECT_EQ(COLstring("  a b  ").strip(), "a b");
}

TEST(COLstring, SplitAndRsplitWithoutSeparator) {
  COLstring left, right;
  EXPECT_FALSE(COLstring("abc").split(left, right, '|'));
  EXPECT_EQ(left, "abc");
  EXPECT_EQ(right, "");
  EXPECT_FALSE(COLstring("abc").rsplit(left, right, '|'));
  EXPECT_EQ(left, "");
  EXPECT_EQ(right, "abc");
}

TEST(COLstring, SplitAtFirstAndRsplitAtLast) {
  COLstring left, right;
  EXPECT_TRUE(COLstring("a|b|c").split(left, right, '|'));
  EXPECT_EQ(left, "a");
  EXPECT_EQ(right, "b|c");
  EXPECT_TRUE(COLstring("a|b|c").rsplit(left, right, '|'));
  EXPECT_EQ(left, "a|b");
  EXPECT_EQ(right, "c");
  EXPECT_TRUE(COLstring("key::value::x").split(left, right, "::"));
  EXPECT_EQ(left, "key");
  EXPECT_EQ(right, "value::x");
}

TEST(COLstring, SplitIntoItself) {
  COLstring text("left=right");
  COLstring right;
  EXPECT_TRUE(text.split(text, right, '='));
  EXPECT_EQ(text, "left");
  EXPECT_EQ(right, "right");
}

TEST(COLstring, SplitAtIndexBeyondLength) {
  COLstring left, right;
  COLstring("abc").splitAtIndex(left, right, 10);
  EXPECT_EQ(left, "abc");
  EXPECT_EQ(right, "");
  COLstring("abc").splitAtIndex(left, right, 1);
  EXPECT_EQ(left, "a");
  EXPECT_EQ(right, "bc");
}

TEST(COLstring, FindReportsNotFoundAsAllBitsSet) {
  const COLstring text("abcabc");
  EXPECT_EQ(text.find(""), COLstring::npos);
  EXPECT_EQ(text.find(COLstring()), COLstring::npos);
  EXPECT_EQ(text.find('c'), 2u);
  EXPECT_EQ(text.find('c', 3), 5u);
  EXPECT_EQ(text.find("bc", 2), 4u);
  EXPECT_EQ(text.find('z'), COLstring::npos);
  EXPECT_EQ(text.rfind("bc"), 4u);
  EXPECT_EQ(text.rfind("bc", 3), 1u);
  EXPECT_EQ(text.rfind('a'), 3u);
  EXPECT_EQ(text.rfind(""), COLstring::npos);
  EXPECT_EQ(COLstring().rfind('a'), COLstring::npos);
}

TEST(COLstring, EmbeddedNulIsKeptButNotSearched) {
  COLstring text(std::string_view("ab\0cd", 5));
  EXPECT_EQ(text.size(), 5u);
  EXPECT_EQ(text.find('c'), COLstring::npos);
  EXPECT_EQ(text, "ab");
}

TEST(COLstring, AppendToItselfDoubles) {
  COLstring text("0123456789abcdef");  // past the inline buffer
  text += text;
  EXPECT_EQ(text, "0123456789abcdef0123456789abcdef");
  text.append(text.size(), text.data());
  EXPECT_EQ(text.size(), 64u);
  EXPECT_EQ(text.substr(48), "0123456789abcdef");
}

TEST(COLstring, AppendVariants) {
  COLstring text;
  text.append("hello world", 6);
  EXPECT_EQ(text, "world");
  text.append(nullptr);
  EXPECT_EQ(text, "world");
  text.append(3, "xyz!");
  EXPECT_EQ(text, "worldxyz");
  EXPECT_THROW(text += static_cast<const char*>(nullptr), COLerror);
}

TEST(COLstring, EditsGuardedByStart) {
  COLstring text("abcdef");
  text.replace(10, 2, "zz");
  EXPECT_EQ(text, "abcdef");
  text.replace(1, 2, "XYZ");
  EXPECT_EQ(text, "aXYZdef");
  text.remove(4);
  EXPECT_EQ(text, "aXYZ");
  text.remove(9, 1);
  EXPECT_EQ(text, "aXYZ");
  COLstring empty;
  empty.insert(7, "new");
  EXPECT_EQ(empty, "new");
  text.insert(1, "--");
  EXPECT_EQ(text, "a--XYZ");
}

TEST(COLstring, SubstrreplaceCountsAndReplacesEveryOccurrence) {
  COLstring text("a&b&&c");
  EXPECT_EQ(text.substrreplace("&", "&amp;"), 3u);
  EXPECT_EQ(text, "a&amp;b&amp;&amp;c");
  EXPECT_EQ(text.substrreplace("&amp;", ""), 3u);
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(text.substrreplace("zz", "y"), 0u);
  // Overlapping candidates are taken left to right without rescanning replacements.
  COLstring aaa("aaaa");
  EXPECT_EQ(aaa.substrreplace("aa", "a"), 2u);
  EXPECT_EQ(aaa, "aa");
}

TEST(COLstring, SmallHelpers) {
  EXPECT_TRUE(COLstring("").isWhitespace());
  EXPECT_TRUE(COLstring(" \t\r\n").isWhitespace());
  EXPECT_FALSE(COLstring(" x ").isWhitespace());
  COLstring text("a-b-c");
  text.stripAll('-');
  EXPECT_EQ(text, "abc");
  text.subChar('b', 'B');
  EXPECT_EQ(text, "aBc");
  EXPECT_EQ(text.toUpperCase(), "ABC");
  EXPECT_EQ(text.toLowerCase(), "abc");
  EXPECT_EQ(COLlengthWithLimit("abcdef", 3), 3u);
  EXPECT_EQ(COLlengthWithLimit("ab", 10), 2u);
}

TEST(COLstring, IndexingChecksBounds) {
  COLstring text("ab");
  EXPECT_EQ(text[1], 'b');
  const COLerror error = TSTraised([&] { (void)text[2]; });
  EXPECT_EQ(error.code(), 0x80000100u);
  EXPECT_STREQ(error.description().c_str(), "Failed precondition: CharIndex < m_Str.length()");
}

TEST(COLstring, SubstringConstructorChecksStart) {
  EXPECT_EQ(COLstring(COLstring("abcdef"), 2, 3), "cde");
  EXPECT_EQ(COLstring(COLstring("abcdef"), 2), "cdef");
  EXPECT_EQ(COLstring(COLstring("abc"), 3), "");
  EXPECT_THROW(COLstring(COLstring("abc"), 4), COLerror);
}

TEST(COLstring, ConcatenationOperators) {
  EXPECT_EQ(COLstring("a") + "b" + 'c' + COLstring("d"), "abcd");
  EXPECT_EQ('x' + COLstring("y"), "xy");
  EXPECT_EQ("p" + COLstring("q"), "pq");
}

TEST(COLstring, CapacityNeverShrinksAndAtLeastDoubles) {
  COLstring text;
  const size_t initial = text.capacity();
  text.setCapacity(initial + 1);
  EXPECT_GE(text.capacity(), 2 * initial);
  const size_t grown = text.capacity();
  text.setCapacity(2);
  EXPECT_EQ(text.capacity(), grown);
}
