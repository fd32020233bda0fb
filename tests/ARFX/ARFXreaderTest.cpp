// Reading the XML form of the object layer: siblings are taken by name in any order, each
// once and in file order, whether a parent has a few children (scanned) or many (indexed);
// text comes back as the bytes it was written from.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ARFXreader.h"
#include "XMLexpatParser.h"

namespace {
// <root> holding `count` children named alternately "a" and "b", with the value "<name><i>".
std::string alternatingChildren(int count) {
  std::string text = "<root>\n";
  for (int i = 0; i < count; ++i) {
    const char* name = i % 2 ? "b" : "a";
    text += "   <" + std::string(name) + ">" + name + std::to_string(i) + "</" + name + ">\n";
  }
  return text + "</root>\n";
}

std::vector<std::string> readAll(ARFXreader& reader, ARFobj& parent, const char* name) {
  std::vector<std::string> values;
  for (ARFprop prop(parent, name); reader.objProp(prop); prop.value = COLstring()) values.push_back(prop.value.str());
  return values;
}
}  // namespace

TEST(ARFXreaderTest, SiblingsComeByNameInFileOrderEachOnce) {
  // 6 children are scanned, 80 go through the index: both must behave alike.
  for (int count : {6, 80}) {
    SCOPED_TRACE(count);
    ARFXreader reader(alternatingChildren(count).c_str(), "test");
    ARFobj root(nullptr, "root");
    ASSERT_TRUE(reader.objStart(root));
    std::vector<std::string> expectedA, expectedB;
    for (int i = 0; i < count; ++i) (i % 2 ? expectedB : expectedA).push_back((i % 2 ? "b" : "a") + std::to_string(i));
    // The later name first: reading is free in the order of siblings.
    EXPECT_EQ(readAll(reader, root, "b"), expectedB);
    EXPECT_EQ(readAll(reader, root, "a"), expectedA);
    EXPECT_TRUE(readAll(reader, root, "a").empty());
    EXPECT_TRUE(reader.objEnd(root));
  }
}

TEST(ARFXreaderTest, ObjectsAndPropertiesOfOneNameInterleave) {
  std::string text = "<root>";
  for (int i = 0; i < 40; ++i) text += "<item id=\"" + std::to_string(i) + "\"><v>" + std::to_string(i * 2) + "</v></item><note>n</note>";
  text += "</root>";
  ARFXreader reader(text.c_str(), "test");
  ARFobj root(nullptr, "root");
  ASSERT_TRUE(reader.objStart(root));
  int seen = 0;
  for (;; ++seen) {
    ARFobj item(&root, "item", "id");
    if (!reader.objStart(item)) break;
    EXPECT_EQ(item.key().value.str(), std::to_string(seen));
    ARFprop v(item, "v");
    ASSERT_TRUE(reader.objProp(v));
    EXPECT_EQ(v.value.str(), std::to_string(seen * 2));
    EXPECT_TRUE(reader.objEnd(item));
  }
  EXPECT_EQ(seen, 40);
  EXPECT_EQ(readAll(reader, root, "note").size(), 40u);
}

TEST(ARFXreaderTest, TextComesBackAsWritten) {
  // Entities, a Latin-1 letter (UTF-8 in the file), blanks inside a value, and the blanks
  // that lay out the elements, which are no part of any value.
  ARFXreader reader("<root>\n   <p>  a &amp; b &lt;c&gt; \xC3\xA9t\xC3\xA9 &#xD;&#10;x  </p>\n   <empty></empty>\n</root>\n",
                    "test");
  ARFobj root(nullptr, "root");
  ASSERT_TRUE(reader.objStart(root));
  ARFprop p(root, "p");
  ASSERT_TRUE(reader.objProp(p));
  EXPECT_EQ(p.value.str(), "  a & b <c> \xE9t\xE9 \r\nx  ");
  ARFprop empty(root, "empty", "default");
  ASSERT_TRUE(reader.objProp(empty));
  EXPECT_EQ(empty.value.str(), "");
  ARFprop missing(root, "missing", "default");
  EXPECT_FALSE(reader.objProp(missing));
  EXPECT_EQ(missing.value.str(), "default");
}

TEST(ARFXreaderTest, WideTextAndASecondTopElementAreRefused) {
  EXPECT_THROW(ARFXreader("<root><p>\xE2\x82\xAC</p></root>", "test"), COLerror);
  EXPECT_THROW(ARFXreader("<root><p>1</p></root><x/>", "test"), COLerror);
}

// Positions are kept as byte offsets and turned into line and column only for an error; the
// result must be what Expat itself says at the same place, whatever the line ends and
// however many bytes a character takes.
TEST(ARFXreaderTest, LineAndColumnFromAnOffsetAgreeWithTheParser) {
  struct Recorder : XMLexpatParser {
    std::vector<std::pair<size_t, ARFposition>> starts;
    void onStartElement(const char*, const char**) override {
      starts.emplace_back(currentByteIndex(), ARFposition{currentLineNumber(), currentColumnNumber() + 1});
    }
    void onEndElement(const char*) override {}
    void onCharacterData(const char*, int) override {}
  };
  const std::string text =
      "<r>\r\n <a>\xC3\xA9t\xC3\xA9</a><b/>\r <c>x</c>\n\n\t<d \xC3\xA0=\"1\"/>\r\n\r\n\xC3\xA9<e/></r>";
  Recorder parser;
  parser.parse(text.data(), text.size());
  ASSERT_EQ(parser.starts.size(), 6u);
  for (const auto& [offset, expected] : parser.starts) {
    const ARFposition got = ARFXlineAndColumn(text, offset);
    EXPECT_EQ(got.line, expected.line) << "offset " << offset;
    EXPECT_EQ(got.column, expected.column) << "offset " << offset;
  }
  EXPECT_EQ(parser.starts.back().second.line, 7u);  // the text really spans the line ends above
}

// An error raised for an object read from deep inside a file names the line and column of its
// start tag, though the reader kept only an offset.
TEST(ARFXreaderTest, AnErrorNamesTheLineAndColumnOfTheObject) {
  const COLstring text("<root>\r\n  <x/>\r\n\r\n      <item/>\n</root>");
  ARFXreader reader(text, "doc.vmd");
  ARFobj root(nullptr, "root");
  ASSERT_TRUE(reader.objStart(root));
  ARFobj item(&root, "item");
  ASSERT_TRUE(reader.objStart(item));
  try {
    reader.raise(item.position(), "bad item.");
    FAIL() << "raise returned";
  } catch (const COLerror& error) {
    EXPECT_EQ(COLerror(error).description(), COLstring("VMD file doc.vmd, line 4, column 7: bad item."));
  }
}
