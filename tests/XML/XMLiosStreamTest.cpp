#include <gtest/gtest.h>

#include "COLerror.h"
#include "COLstring.h"
#include "XMLiosStream.h"

namespace {

// A stream over a string, as the converters use it.
struct StreamFixture : ::testing::Test {
  COLstring out;
  XMLiosStream stream{'.', &out, false};
};

using XMLiosStreamTest = StreamFixture;

TEST_F(XMLiosStreamTest, TagsAreWrittenWhenTheNextManipulatorFlushesThem) {
  stream << startTag << "name" << endTag << "name";
  EXPECT_EQ(out, "<name>");
  stream << newline;
  EXPECT_EQ(out, "<name></name>\n");
  EXPECT_EQ(stream.state(), XMLiosStream::StateElementData);
}

TEST_F(XMLiosStreamTest, ElementWithTextAndCrLfLineEnds) {
  stream.setNewLine("\r\n");
  stream << "  " << startTag << "PID" << elementData << "a<b>&c" << endTag << "PID" << newline;
  stream << startTag << "x" << endTag << "x" << newline;
  EXPECT_EQ(out, "  <PID>a&lt;b&gt;&amp;c</PID>\r\n<x></x>\r\n");
}

TEST_F(XMLiosStreamTest, LeadingDigitOfATagIsOverwritten) {
  stream << startTag << "3ABC" << endTag << "3ABC" << newline;
  EXPECT_EQ(out, "<_ABC></_ABC>\n");
}

TEST_F(XMLiosStreamTest, DelimiterIsDroppedByTheFilterButNotByTheManipulator) {
  stream << startTag << "PID.3" << elementData;
  stream << startTag << "PID" << delimiter << 3 << elementData;
  EXPECT_EQ(out, "<PID3><PID.3>");
  stream.setXmlDelimiter('-');
  stream << startTag << "PID.3-4" << delimiter << "x" << elementData;
  EXPECT_EQ(out, "<PID3><PID.3><PID.34-x>");
}

TEST_F(XMLiosStreamTest, NoDelimiterFilterKeepsDotsWhateverTheDelimiter) {
  stream.setTagFilter(new XMLiosTagFilterNoDelimiter);
  stream << startTag << "PID.3" << elementData;
  stream.setXmlDelimiter('.');
  stream << startTag << "a b:c" << elementData;
  EXPECT_EQ(out, "<PID.3><ab_c>");
}

TEST_F(XMLiosStreamTest, AttributesStandInsideTheStartTag) {
  stream << startTag << "seg";
  stream.addAttribute("id", "a  b\"<&");
  stream.addAttribute("n", "  x");
  stream << elementData << "v" << endTag << "seg" << newline;
  EXPECT_EQ(out, "<seg id=\"a &#x20;b&quot;&lt;&amp;\" n=\" &#x20;x\">v</seg>\n");
}

TEST_F(XMLiosStreamTest, AttributeOutsideAStartTagIsRefused) {
  EXPECT_THROW(stream.addAttribute("a", "b"), COLerror);
  stream << startTag << "a" << endTag;
  EXPECT_THROW(stream.addAttribute("a", "b"), COLerror);
}

TEST_F(XMLiosStreamTest, DelimiterIsRefusedInDataAndUnescapedStates) {
  EXPECT_THROW(stream << delimiter, COLerror);
  stream << unescaped;
  EXPECT_THROW(stream << delimiter, COLerror);
  stream << escapeTag;
  EXPECT_NO_THROW(stream << delimiter);
}

TEST_F(XMLiosStreamTest, UnescapedAndEscapeTagWriteAsTheyStand) {
  stream << unescaped << "<?xml version=\"1.0\"?>&" << escapeTag << "a:b" << elementData << "&";
  EXPECT_EQ(out, "<?xml version=\"1.0\"?>&a_b&amp;");
}

TEST_F(XMLiosStreamTest, AttributeDataStateUsesTheAttributeFilter) {
  stream << attributeData << "a\tb > c" << elementData << "\t";
  EXPECT_EQ(out, "a&#x09;b > c&#x09;");
}

TEST_F(XMLiosStreamTest, NumbersAreFormattedLikeText) {
  stream << -12 << ' ' << 4000000000u << ' ' << 1.5 << ' ' << static_cast<short>(7) << ' ' << 1e300;
  EXPECT_EQ(out.view().substr(0, 27), "-12 4000000000 1.500000 7 1");
  EXPECT_EQ(out.view().substr(out.size() - 7), ".000000");
}

TEST_F(XMLiosStreamTest, NullDataFilterPassesControlAndHighBytes) {
  stream.setDataFilter(new XMLiosNullDataFilter);
  stream << "a\tb\xE9<";
  EXPECT_EQ(out, "a\tb\xE9&lt;");
}

TEST_F(XMLiosStreamTest, ClearForgetsAPendingTag) {
  stream << startTag << "lost";
  stream.clear();
  stream << newline;
  EXPECT_EQ(out, "\n");
}

TEST_F(XMLiosStreamTest, SetSinkMovesEveryFilterToTheNewSink) {
  stream << "first";
  COLstring Second;
  stream << startTag << "pending";
  stream.setSink(&Second, false);
  stream << "d" << startTag << "t";
  stream.addAttribute("a", "1");
  stream << elementData << attributeData << "x" << flush;
  EXPECT_EQ(out, "first");
  EXPECT_EQ(Second, "d<t a=\"1\">x");
}

TEST(XMLiosStreamOwnership, AnOwnedSinkIsDeletedOnExchangeAndDestruction) {
  // Under the address sanitizer a leak or a double delete here fails the run.
  XMLiosStream Stream('.', new COLstring, true);
  Stream << "x";
  Stream.setSink(new COLstring, true);
  Stream << "y";
}

}  // namespace
