#include <gtest/gtest.h>

#include "COLerror.h"
#include "COLostream.h"
#include "XMLostream.h"

namespace {

TEST(XMLostream, NestsWithTabsAndClosesFromTheStack) {
  COLstring Out;
  COLostream Stream(Out);
  XMLostream Xml(Stream);
  Xml.outputProcessingInstructionTag("xml");
  Stream << " version=\"1.0\"";
  Xml.outputProcessingInstructionTagEnd();
  Xml.outputTag("xsd", "schema");
  Xml.outputAttribute("xmlns", "xsd", "http://example.org/s");
  Xml.outputTagEnd();
  Xml.outputTag("element");
  Xml.outputAttribute("name", "a<b");
  Xml.outputAttribute("minOccurs", 0u);
  Xml.outputTagEndClose();
  Xml.outputTag("group");
  Xml.outputTagEnd();
  EXPECT_EQ(Xml.depth(), 2u);
  Xml.outputCloseTag();
  Xml.outputCloseTag();
  EXPECT_EQ(Xml.depth(), 0u);
  EXPECT_EQ(Xml.countOfOpenTag(), 0u);
  EXPECT_EQ(Out,
            "<?xml version=\"1.0\"?>\n"
            "<xsd:schema xmlns:xsd=\"http://example.org/s\">\n"
            "\t<element name=\"a<b\" minOccurs=\"0\"/>\n"
            "\t<group>\n"
            "\t</group>\n"
            "</xsd:schema>\n");
}

TEST(XMLostream, UsesTheStreamsLineEndAndRefusesAnEmptyStack) {
  COLstring Out;
  COLostream Stream(Out);
  Stream.setNewLine("\r\n");
  XMLostream Xml(Stream);
  Xml.outputEntityTag("DOCTYPE x");
  Stream << '>';
  Xml.outputTag("x");
  Xml.outputTagEnd();
  Xml.outputCloseTag();
  EXPECT_EQ(Out, "<!DOCTYPE x><x>\r\n</x>\r\n");
  EXPECT_THROW(Xml.outputCloseTag(), COLerror);
  EXPECT_THROW(Xml.outputTagEndClose(), COLerror);
}

}  // namespace
