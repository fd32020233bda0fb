// The DOM parser on the cases of tests/data/SGX/dom.test: a document in, the tree or the
// refusal out.  Sections:
//   options    "eight-bit" (names and text read as one byte a character), "depth N"
//   xml        the document
//   tree       one node a line, children indented by two: an element's name and attributes,
//              a text node quoted, each with "@line:column"; bytes outside printable ASCII
//              and '"' as \xHH.  Or the refusal: "code line:column description", "!" after
//              the code of a fatal one
//   written    the tree written back; read again it gives an equal tree and the same text
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "SGXxmlDom.h"

#include "../support/TSTdataFile.h"

namespace {

std::string printable(const COLstring& Text) {
  std::string Out;
  for (const char C : Text.str()) {
    char Hex[8];
    std::snprintf(Hex, sizeof Hex, "\\x%02X", static_cast<unsigned char>(C));
    Out += C >= 0x20 && C < 0x7f && C != '"' ? std::string(1, C) : Hex;
  }
  return Out;
}

std::string quoted(const COLstring& Text) { return "\"" + printable(Text) + "\""; }

std::string at(const SGXxmlDomNode& Node) {
  return " @" + std::to_string(Node.line()) + ":" + std::to_string(Node.column()) + "\n";
}

void draw(const SGXxmlDomNodeElement& Element, const std::string& Indent, std::string& Out) {
  Out += Indent + printable(Element.name());
  for (size_t Index = 0; Index < Element.countOfAttribute(); ++Index)
    Out += " " + Element.attributeName(Index).str() + "=" + quoted(Element.attributeValue(Index));
  Out += at(Element);
  for (size_t Index = 0; Index < Element.countOfChild(); ++Index) {
    const SGXxmlDomNode& Child = Element.child(Index);
    EXPECT_EQ(Child.parent(), &Element);
    if (const SGXxmlDomNodeElement* Inner = Child.asElement())
      draw(*Inner, Indent + "  ", Out);
    else
      Out += Indent + "  " + quoted(Child.asData()->value()) + at(Child);
  }
}

class SGXdomData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(SGXdomData, Tree) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  SGXxmlDomParser Parser;
  std::istringstream Options(Case.has("options") ? Case.text("options") : "");
  for (std::string Word; Options >> Word;) {
    if (Word == "eight-bit") Parser.setEightBitText(true);
    else if (unsigned Depth = 0; Word == "depth" && Options >> Depth) Parser.setMaximumDepth(Depth);
    else ADD_FAILURE() << "no option " << Word;
  }
  const std::string& Xml = Case.text("xml");
  SGXxmlDomNodeElement Root;
  std::string Tree;
  if (Parser.parse(Xml.data(), static_cast<unsigned>(Xml.size()), Root)) {
    EXPECT_EQ(Root.parent(), nullptr);
    draw(Root, "", Tree);
  } else {
    const SGXerror& Error = *Parser.parseError();
    Tree = SGXerrorPrintableCode(Error.errorCode()).str() + (Error.fatal() ? "! " : " ") +
           std::to_string(Error.lineNumber()) + ":" + std::to_string(Error.colNumber()) + " " +
           Error.description().str() + "\n";
  }
  EXPECT_EQ(Tree, Case.text("tree"));
  if (!Case.has("written")) return;
  COLstring Written, Again;
  SGXxmlDomWrite(Root, Written);
  EXPECT_EQ(Written.str(), Case.text("written"));
  SGXxmlDomNodeElement Back;
  ASSERT_TRUE(Parser.parse(Written.data(), static_cast<unsigned>(Written.size()), Back));
  EXPECT_TRUE(SGXxmlDomEqual(Root, Back));
  SGXxmlDomWrite(Back, Again);
  EXPECT_EQ(Again, Written);
}

INSTANTIATE_TEST_SUITE_P(Cases, SGXdomData, ::testing::ValuesIn(TSTreadDataFile("SGX/dom.test")), TSTdataParamName);

}  // namespace
