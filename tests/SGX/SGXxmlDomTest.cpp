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

TEST(SGXxmlDomParser, BuildsElementsAttributesAndTextWithPositions) {
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Root;
  parseOk(Parser, "<msg v=\"2\" w=\"&amp;\">\n  <PID>\n    <f>  a b </f>\n  </PID>\n  <e/>\n</msg>", Root);
  EXPECT_EQ(Root.name(), "msg");
  EXPECT_EQ(Root.parent(), nullptr);
  ASSERT_EQ(Root.countOfAttribute(), 2u);
  EXPECT_EQ(Root.attributeName(1), "w");
  EXPECT_EQ(Root.attributeValue(1), "&");
  EXPECT_EQ(*Root.findAttribute("v"), "2");
  EXPECT_EQ(Root.findAttribute("x"), nullptr);
  EXPECT_EQ(Root.line(), 1u);
  EXPECT_EQ(Root.column(), 0u);

  // White space between tags gives no node.
  ASSERT_EQ(Root.countOfChild(), 2u);
  const SGXxmlDomNodeElement* Pid = Root.child(0).asElement();
  ASSERT_NE(Pid, nullptr);
  EXPECT_EQ(Pid->parent(), &Root);
  EXPECT_EQ(Pid->line(), 2u);
  EXPECT_EQ(Pid->column(), 2u);
  ASSERT_EQ(Pid->countOfChild(), 1u);
  const SGXxmlDomNodeElement* Field = Pid->findElement("f");
  ASSERT_NE(Field, nullptr);
  // Text keeps its blanks.
  ASSERT_EQ(Field->countOfChild(), 1u);
  const SGXxmlDomNodeData* Data = Field->child(0).asData();
  ASSERT_NE(Data, nullptr);
  EXPECT_EQ(Data->asElement(), nullptr);
  EXPECT_EQ(Data->value(), "  a b ");
  EXPECT_EQ(Data->line(), 3u);
  EXPECT_EQ(Data->column(), 7u);
  EXPECT_EQ(Root.findElement("e")->countOfChild(), 0u);
}

TEST(SGXxmlDomParser, MixedContentCdataAndComments) {
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Root;
  parseOk(Parser, "<a>one<!-- gone -->two<b/>three<![CDATA[<x>&]]>four<c>  </c></a>", Root);
  ASSERT_EQ(Root.countOfChild(), 4u);
  EXPECT_EQ(Root.child(0).asData()->value(), "onetwo");
  EXPECT_EQ(Root.child(1).asElement()->name(), "b");
  EXPECT_EQ(Root.child(2).asData()->value(), "three<x>&four");
  EXPECT_EQ(Root.child(3).asElement()->countOfChild(), 0u);
  EXPECT_EQ(Root.text(), "onetwothree<x>&four");
}

// Message XML is read into 8-bit text: the UTF-8 of names, attributes and text becomes one byte
// per character, and a character beyond U+00FF stops the parse where it stands.
TEST(SGXxmlDomParser, EightBitTextHoldsOneBytePerCharacterAndRefusesWhatItCannotHold) {
  SGXxmlDomParser Parser;
  EXPECT_FALSE(Parser.eightBitText());
  Parser.setEightBitText(true);
  SGXxmlDomNodeElement Root;
  parseOk(Parser, "<caf\xC3\xA9 n=\"\xC3\xBC\"><v>M\xC3\xBCller &#xFF;&#x80;</v></caf\xC3\xA9>", Root);
  EXPECT_EQ(Root.name(), "caf\xE9");
  EXPECT_EQ(Root.attributeValue(0), "\xFC");
  EXPECT_EQ(Root.findElement("v")->text(), "M\xFCller \xFF\x80");

  auto failure = [&](const std::string& Xml) {
    EXPECT_FALSE(Parser.parse(Xml.data(), static_cast<unsigned>(Xml.size()), Root)) << Xml;
    const SGXerror& Error = *Parser.parseError();
    return SGXerrorPrintableCode(Error.errorCode()).str() + " " + std::to_string(Error.lineNumber()) + ":" +
           std::to_string(Error.colNumber()) + " " + Error.description().c_str();
  };
  const std::string Beyond = " is beyond U+00FF, the last character that 8-bit (Latin-1) text can hold";
  EXPECT_EQ(failure("<a>\n  <v>\xC3\xA9\xC5\x82</v></a>"), "XML00001 2:6 The character U+0142" + Beyond + ".");
  EXPECT_EQ(failure("<a>\n<v\xC5\x81/></a>"), "XML00001 2:2 The character U+0141" + Beyond + ".");
  EXPECT_EQ(failure("<a>\n <v n=\"&#x3A9;\"/></a>"),
            "XML00001 2:1 The character U+03A9" + Beyond + " (in an attribute of the element that starts here).");

  // Without it the tree holds Expat's UTF-8, whatever the characters.
  Parser.setEightBitText(false);
  parseOk(Parser, "<a>\xC5\x82</a>", Root);
  EXPECT_EQ(Root.text(), "\xC5\x82");
}

TEST(SGXxmlDomParser, MalformedAndTruncatedXmlGiveXML00002WithPosition) {
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Root;
  const std::string Broken = "<a>\n<b>\n";
  EXPECT_FALSE(Parser.parse(Broken.data(), static_cast<unsigned>(Broken.size()), Root));
  const SGXerror& Error = *Parser.parseError();
  EXPECT_EQ(SGXerrorPrintableCode(Error.errorCode()), "XML00002");
  EXPECT_EQ(Error.description(), "no element found");
  EXPECT_EQ(Error.lineNumber(), 3u);
  EXPECT_EQ(Error.colNumber(), 0u);
  EXPECT_TRUE(Error.fatal());

  const std::string Mismatch = "<a>\n  <b></c></a>";
  EXPECT_FALSE(Parser.parse(Mismatch.data(), static_cast<unsigned>(Mismatch.size()), Root));
  EXPECT_EQ(Parser.parseError()->description(), "mismatched tag");
  EXPECT_EQ(Parser.parseError()->lineNumber(), 2u);
  EXPECT_EQ(Parser.parseError()->colNumber(), 7u);

  // A good parse afterwards works and leaves no trace of the failure in the tree.
  parseOk(Parser, "<z/>", Root);
  EXPECT_EQ(Root.name(), "z");
  EXPECT_EQ(Root.countOfChild(), 0u);
  EXPECT_THROW(Parser.parseError(), COLerror);
}

TEST(SGXxmlDomParser, NestingBeyondTheLimitIsRefusedWhereItHappens) {
  SGXxmlDomParser Parser;
  Parser.setMaximumDepth(3);
  SGXxmlDomNodeElement Root;
  parseOk(Parser, "<a><b><c/></b></a>", Root);
  const std::string Deep = "<a><b>\n <c><d/></c></b></a>";
  EXPECT_FALSE(Parser.parse(Deep.data(), static_cast<unsigned>(Deep.size()), Root));
  EXPECT_EQ(SGXerrorPrintableCode(Parser.parseError()->errorCode()), "XML00001");
  EXPECT_EQ(Parser.parseError()->description(), "Elements are nested deeper than 3 levels.");
  EXPECT_EQ(Parser.parseError()->lineNumber(), 2u);
  EXPECT_EQ(Parser.parseError()->colNumber(), 4u);
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

TEST(SGXxmlDomWrite, RoundTripOfAParsedDocument) {
  const std::string Xml =
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n<HL7 v=\"2.4\">\r\n <MSH><MSH.1>|</MSH.1>"
      "<MSH.2>^~\\&amp;</MSH.2></MSH>\r\n <PID><PID.5>M\xFCller</PID.5><!-- x --></PID>\r\n</HL7>";
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement First;
  parseOk(Parser, Xml, First);
  EXPECT_EQ(First.findElement("PID")->findElement("PID.5")->text(), "M\xC3\xBCller");
  COLstring Written;
  SGXxmlDomWrite(First, Written);
  SGXxmlDomNodeElement Second;
  parseOk(Parser, Written.str(), Second);
  EXPECT_TRUE(SGXxmlDomEqual(First, Second));
  COLstring Again;
  SGXxmlDomWrite(Second, Again);
  EXPECT_EQ(Written, Again);
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
