#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "SGXxmlDom.h"

#include "../support/TSTraised.h"

namespace {

// Parses and fails the test with the parser's error when the document is refused.
void parseOk(SGXxmlDomParser& parser, const std::string& xml, SGXxmlDomNodeElement& root) {
  ASSERT_TRUE(parser.parse(xml.data(), static_cast<unsigned>(xml.size()), root))
      << parser.parseError()->description().c_str();
}

// Trees, positions and refusals are in tests/data/SGX/dom.test; here what a drawing of the tree
// does not show.
TEST(SGXxmlDomParser, LookupsAndAGoodParseAfterAFailure) {
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Root;
  const std::string Broken = "<a>\n<b>\n";
  EXPECT_FALSE(Parser.parse(Broken.data(), static_cast<unsigned>(Broken.size()), Root));
  // A good parse afterwards leaves no trace of the failure in the tree or the parser.
  parseOk(Parser, "<msg v=\"2\"><e/>one<!-- gone -->two<f/>three</msg>", Root);
  EXPECT_EQ(Root.name(), "msg");
  EXPECT_EQ(Root.countOfChild(), 4u);
  EXPECT_THROW(Parser.parseError(), COLerror);
  EXPECT_EQ(*Root.findAttribute("v"), "2");
  EXPECT_EQ(Root.findAttribute("x"), nullptr);
  EXPECT_EQ(Root.findElement("f"), &Root.child(2));
  EXPECT_EQ(Root.findElement("g"), nullptr);
  EXPECT_EQ(Root.text(), "onetwothree");
}

TEST(SGXxmlDomParser, DeepDocumentsAtTheDefaultLimit) {
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Root;
  std::string Deep;
  for (unsigned Index = 0; Index < SGXxmlDomParser::DefaultMaximumDepth; ++Index) Deep += "<d>";
  for (unsigned Index = 0; Index < SGXxmlDomParser::DefaultMaximumDepth; ++Index) Deep += "</d>";
  parseOk(Parser, Deep, Root);
  EXPECT_FALSE(Parser.parse(("<x>" + Deep + "</x>").c_str(), static_cast<unsigned>(Deep.size() + 7), Root));
}

TEST(SGXxmlDomTree, ATreeOfAnyDepthIsFreedComparedAndWritten) {
  // Built by code, past any parser limit: none of these may recurse.
  SGXxmlDomNodeElement Root("r");
  SGXxmlDomNodeElement* Leaf = &Root;
  for (int Index = 0; Index < 200000; ++Index) Leaf = Leaf->addElement("n");
  Leaf->addData("end");
  SGXxmlDomNodeElement Other("r");
  Leaf = &Other;
  for (int Index = 0; Index < 200000; ++Index) Leaf = Leaf->addElement("n");
  Leaf->addData("end");
  EXPECT_TRUE(SGXxmlDomEqual(Root, Other));
  Leaf->child(0).asData()->setValue("END");
  EXPECT_FALSE(SGXxmlDomEqual(Root, Other));
  COLstring Out;
  SGXxmlDomWrite(Root, Out);
  EXPECT_EQ(Out.size(), 3u + 3u + 200000u * 7u + 4u);  // <r>, end, <n></n> each, </r>
  SGXxmlDomNodeElementClear(Other);
  EXPECT_EQ(Other.countOfChild(), 0u);
  EXPECT_TRUE(Other.name().empty());
}

TEST(SGXxmlDomTree, EqualityLooksAtNamesAttributesTextAndShape) {
  SGXxmlDomNodeElement A("a");
  SGXxmlDomNodeElement B("a");
  A.addAttribute("k", "v");
  EXPECT_FALSE(SGXxmlDomEqual(A, B));
  B.addAttribute("k", "v");
  A.addData("t");
  B.addElement("t");
  EXPECT_FALSE(SGXxmlDomEqual(A, B));
  SGXxmlDomNodeElement C("a");
  C.addAttribute("k", "v");
  C.addData("t");
  C.setPosition(9, 9);
  EXPECT_TRUE(SGXxmlDomEqual(A, C));
}

TEST(SGXxmlDomWrite, EscapesSoThatReadingBackGivesTheSameTree) {
  SGXxmlDomNodeElement Root("ns:r\xC3\xA9-1");
  Root.addAttribute("a", "x  <&\"'>\t\n\r \xC3\xA9");
  Root.addData(" lead & <trail> ]]> \r\n\t\xC3\xBC ");
  SGXxmlDomNodeElement* Child = Root.addElement("c");
  Child->addElement("e");
  Root.addData("after");
  COLstring Out;
  SGXxmlDomWrite(Root, Out);
  EXPECT_EQ(Out,
            "<ns:r\xC3\xA9-1 a=\"x &#x20;&lt;&amp;&quot;&apos;>&#x09;&#x0A;&#x0D; \xC3\xA9\">"
            " lead &amp; &lt;trail&gt; ]]&gt; &#x0D;&#x0A;&#x09;\xC3\xBC <c><e></e></c>after</ns:r\xC3\xA9-1>");
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Back;
  parseOk(Parser, Out.str(), Back);
  EXPECT_TRUE(SGXxmlDomEqual(Root, Back));
}

TEST(SGXerror, PrintableCodesAndSorting) {
  EXPECT_EQ(SGXerrorPrintableCode(0), "XML00001");
  EXPECT_EQ(SGXerrorPrintableCode(6), "XML00007");
  const COLerror error = TSTraised([&] { SGXerrorPrintableCode(7); });
  EXPECT_EQ(error.description(), "Unknown SGXerror::ErrorCode 7");
  EXPECT_EQ(error.code(), 0x80000100u);
  SGXerrorList List{new SGXerror(SGXerror::UnexpectedElement, "b", 5, 1), new SGXerror(SGXerror::RequiredMissing, "a", 2, 0),
                    new SGXerror(SGXerror::UnexpectedElement, "c", 5, 0)};
  SGXerrorListSortByLineNumber(List);
  EXPECT_EQ(List[0]->description(), "a");
  EXPECT_EQ(List[1]->description(), "b");
  EXPECT_EQ(List[2]->description(), "c");
}

}  // namespace
