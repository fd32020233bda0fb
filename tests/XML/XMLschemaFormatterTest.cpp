#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "COLostream.h"
#include "XMLbiztalkSchemaFormatter.h"
#include "XMLdtdSchemaFormatter.h"
#include "XMLschemaFormatter.h"
#include "XMLschemaTestSupport.h"
#include "XMLxsdSchemaFormatter.h"

#include "../support/TSTraised.h"

namespace {

using XMLschemaTest::buildChoiceSchema;
using XMLschemaTest::buildPatientSchema;
using XMLschemaTest::joinLines;
using XMLschemaTest::stringElement;

// Prints `schema` with the factory's formatter into a text with "\r\n" line ends.
COLstring print(XMLschemaFormatter::EFormatters format, const XMLschema& schema,
                const XMLschemaProperties& properties = XMLschemaProperties()) {
  COLstring Text;
  COLostream Stream(Text);
  Stream.setNewLine("\r\n");
  XMLschemaFormatter::getFormatter(format).printOn(schema, Stream, properties);
  return Text;
}

void expectError(const std::function<void()>& action, const char* description) {
  const COLerror Error = TSTraised([&] { action(); });
  EXPECT_EQ(Error.description(), description);
  EXPECT_EQ(Error.code(), 0x80000100u);
}

// A node kind no formatter knows.
class StrangeNode : public XMLschemaNode {
public:
  unsigned nodeType() const override { return 7; }
};

// A collection with an unknown node in its content.
XMLschemaCollection* strangeCollection(const char* name = "") {
  auto* Collection = new XMLschemaCollection(name);
  Collection->attachElement(stringElement("Fine"));
  Collection->mainSequence().attachNode(new StrangeNode());
  return Collection;
}

// A schema whose single collection element has another main node than a sequence.
void buildSequencelessSchema(XMLschema& schema) {
  auto* Collection = new XMLschemaCollection();
  Collection->setMainNode(stringElement("Lonely"));
  schema.attachElement(new XMLschemaElement("Odd", Collection, false));
}

TEST(XMLschemaFormatterFactory, GivesOneFormatterPerKindByEnumeratorAndIndex) {
  ASSERT_EQ(XMLschemaFormatter::countOfFormatter(), 3u);
  const char* Descriptions[] = {"XSD Schema", "DTD Schema", "Microsoft Biztalk XML Schema"};
  const char* Extensions[] = {".xsd", ".dtd", ".xml"};
  for (unsigned i = 0; i < 3; ++i) {
    XMLschemaFormatter& ByIndex = XMLschemaFormatter::getFormatter(i);
    XMLschemaFormatter& ByKind = XMLschemaFormatter::getFormatter(static_cast<XMLschemaFormatter::EFormatters>(i));
    EXPECT_EQ(&ByIndex, &ByKind);
    EXPECT_STREQ(ByIndex.description(), Descriptions[i]);
    EXPECT_STREQ(ByIndex.defaultExtension(), Extensions[i]);
  }
  EXPECT_NE(dynamic_cast<XMLxsdSchemaFormatter*>(&XMLschemaFormatter::getFormatter(XMLschemaFormatter::Xsd)), nullptr);
  EXPECT_NE(dynamic_cast<XMLdtdSchemaFormatter*>(&XMLschemaFormatter::getFormatter(XMLschemaFormatter::Dtd)), nullptr);
  EXPECT_NE(dynamic_cast<XMLbiztalkSchemaFormatter*>(&XMLschemaFormatter::getFormatter(XMLschemaFormatter::Biztalk)),
            nullptr);

  expectError([] { XMLschemaFormatter::getFormatter(static_cast<XMLschemaFormatter::EFormatters>(7)); },
              "Unknown schema format 7 requested from schema formatter factory.");
  expectError([] { XMLschemaFormatter::getFormatter(3u); },
              "Unknown schema format requested from schema formatter factory.");
}

// --- XSD

TEST(XMLxsdSchemaFormatter, PrintsEveryNodeKindWithOccursOnlyBelowTheTopLevel) {
  XMLschema Schema;
  buildPatientSchema(Schema);
  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<xsd:schema xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">",
                "\t<xsd:element name=\"Patient\">",
                "\t\t<xsd:complexType>",
                "\t\t\t<xsd:sequence>",
                "\t\t\t\t<xsd:element name=\"Id\" type=\"xsd:integer\"/>",
                "\t\t\t\t<xsd:element name=\"Weight\" type=\"xsd:double\" minOccurs=\"0\"/>",
                "\t\t\t\t<xsd:element name=\"Born\" type=\"xsd:dateTime\" minOccurs=\"0\"/>",
                "\t\t\t\t<xsd:element name=\"Gender\">",
                "\t\t\t\t\t<xsd:simpleType>",
                "\t\t\t\t\t\t<xsd:restriction base=\"xsd:string\">",
                "\t\t\t\t\t\t\t<xsd:enumeration value=\"M\"/>",
                "\t\t\t\t\t\t\t<xsd:enumeration value=\"F\"/>",
                "\t\t\t\t\t\t</xsd:restriction>",
                "\t\t\t\t\t</xsd:simpleType>",
                "\t\t\t\t</xsd:element>",
                "\t\t\t\t<xsd:element name=\"Address\" minOccurs=\"0\" maxOccurs=\"unbounded\" type=\"AddressType\"/>",
                "\t\t\t\t<xsd:element ref=\"Note\" minOccurs=\"0\" maxOccurs=\"unbounded\"/>",
                "\t\t\t\t<xsd:sequence minOccurs=\"0\" maxOccurs=\"3\">",
                "\t\t\t\t\t<xsd:element name=\"Kin\" type=\"xsd:string\"/>",
                "\t\t\t\t\t<xsd:element name=\"Phone\" type=\"xsd:string\" maxOccurs=\"unbounded\"/>",
                "\t\t\t\t</xsd:sequence>",
                "\t\t\t</xsd:sequence>",
                "\t\t</xsd:complexType>",
                "\t</xsd:element>",
                "\t<xsd:element name=\"Note\" type=\"xsd:string\"/>",
                "\t<xsd:complexType name=\"AddressType\">",
                "\t\t<xsd:sequence>",
                "\t\t\t<xsd:element name=\"Street\" type=\"xsd:string\"/>",
                "\t\t\t<xsd:element name=\"City\" type=\"xsd:string\" minOccurs=\"0\"/>",
                "\t\t</xsd:sequence>",
                "\t</xsd:complexType>",
                "</xsd:schema>",
            }));
}

TEST(XMLxsdSchemaFormatter, WritesOnlyTheNamespaceSettingsThatAreSet) {
  XMLschema Schema;
  Schema.attachElement(stringElement("Note", 0, 5));
  XMLschemaProperties Properties;
  Properties.setXmlNamespace("urn:example:a");
  Properties.setElementFormDefault("qualified");
  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema, Properties),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<xsd:schema xmlns=\"urn:example:a\" elementFormDefault=\"qualified\" "
                "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">",
                "\t<xsd:element name=\"Note\" type=\"xsd:string\"/>",
                "</xsd:schema>",
            }));

  Properties.setTargetNamespace("urn:example:t");
  Properties.setElementFormDefault("");
  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema, Properties),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<xsd:schema xmlns=\"urn:example:a\" targetNamespace=\"urn:example:t\" "
                "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">",
                "\t<xsd:element name=\"Note\" type=\"xsd:string\"/>",
                "</xsd:schema>",
            }));
}

TEST(XMLxsdSchemaFormatter, NamesSharedTypesByReference) {
  XMLschema Schema;
  auto* Visit = static_cast<XMLschemaCollection*>(Schema.attachType(new XMLschemaCollection("VisitType")));
  auto* Sex = Schema.attachType(new XMLschemaEnumeration("SexType"));
  static_cast<XMLschemaEnumeration*>(Sex)->addValue("U");
  Visit->attachElement(new XMLschemaElement("Sex", Sex, true))->setMinOccurs(0);
  Visit->attachElement(new XMLschemaElement("Count", &XMLschemaSimple::Integer, true))->setMaxOccurs(2);
  XMLschemaElement* Top = Schema.attachElement(new XMLschemaElement("Visit", Visit, true));
  Top->setMaxOccurs(4);
  // The second global element comes after an inline collection that left the global flag.
  auto* Inline = new XMLschemaCollection();
  Schema.attachElement(new XMLschemaElement("Stay", Inline, false));
  Inline->attachElement(new XMLschemaElement("Again", Visit, true))->setMinOccurs(2);
  Schema.attachElement(stringElement("Last", 0, 0));

  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<xsd:schema xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">",
                "\t<xsd:element name=\"Visit\" type=\"VisitType\"/>",
                "\t<xsd:element name=\"Stay\">",
                "\t\t<xsd:complexType>",
                "\t\t\t<xsd:sequence>",
                "\t\t\t\t<xsd:element name=\"Again\" minOccurs=\"2\" type=\"VisitType\"/>",
                "\t\t\t</xsd:sequence>",
                "\t\t</xsd:complexType>",
                "\t</xsd:element>",
                "\t<xsd:element name=\"Last\" type=\"xsd:string\"/>",
                "\t<xsd:complexType name=\"VisitType\">",
                "\t\t<xsd:sequence>",
                // An enumeration element carries no occurs attributes.
                "\t\t\t<xsd:element name=\"Sex\" type=\"SexType\"/>",
                "\t\t\t<xsd:element name=\"Count\" type=\"xsd:integer\" maxOccurs=\"2\"/>",
                "\t\t</xsd:sequence>",
                "\t</xsd:complexType>",
                "\t<xsd:simpleType>",
                "\t\t<xsd:restriction base=\"xsd:string\">",
                "\t\t\t<xsd:enumeration value=\"U\"/>",
                "\t\t</xsd:restriction>",
                "\t</xsd:simpleType>",
                "</xsd:schema>",
            }));
}

TEST(XMLxsdSchemaFormatter, PrintsAChoiceWithItsOccursAmongTheSequence) {
  XMLschema Schema;
  buildChoiceSchema(Schema);
  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<xsd:schema xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">",
                "\t<xsd:element name=\"Visit\">",
                "\t\t<xsd:complexType>",
                "\t\t\t<xsd:sequence>",
                "\t\t\t\t<xsd:element name=\"Id\" type=\"xsd:string\"/>",
                "\t\t\t\t<xsd:choice minOccurs=\"0\" maxOccurs=\"unbounded\">",
                "\t\t\t\t\t<xsd:element ref=\"Note\"/>",
                "\t\t\t\t\t<xsd:element name=\"Kin\" type=\"xsd:string\"/>",
                "\t\t\t\t</xsd:choice>",
                "\t\t\t\t<xsd:element name=\"Last\" type=\"xsd:string\" minOccurs=\"0\"/>",
                "\t\t\t</xsd:sequence>",
                "\t\t</xsd:complexType>",
                "\t</xsd:element>",
                "\t<xsd:element name=\"Note\" type=\"xsd:string\"/>",
                "</xsd:schema>",
            }));
}

// Reaches printOccursAttributesOn with nodes that the public road never hands it.
class OccursProbe : public XMLxsdSchemaFormatter {
public:
  const XMLschemaNode* probe = nullptr;
  void printStringElementOn(const XMLschemaSimple&, const XMLschemaElement&, COLostream&) override {
    printOccursAttributesOn(*probe);
  }
};

TEST(XMLxsdSchemaFormatter, RefusesWhatItCannotExpress) {
  XMLschema Sequenceless;
  buildSequencelessSchema(Sequenceless);
  expectError([&] { print(XMLschemaFormatter::Xsd, Sequenceless); }, "Only Sequence Main Nodes supported");

  XMLschema Strange;
  Strange.attachElement(new XMLschemaElement("S", strangeCollection(), false));
  expectError([&] { print(XMLschemaFormatter::Xsd, Strange); }, "Unknown node type");

  XMLschema Plain;
  Plain.attachElement(stringElement("P"));
  OccursProbe Probe;
  COLstring Text;
  COLostream Stream(Text);
  StrangeNode Unknown;
  Probe.probe = &Unknown;
  expectError([&] { Probe.printOn(Plain, Stream, XMLschemaProperties()); },
              "Occurs only supported for elements and sequences");
  XMLschemaSequence Sequence;
  Probe.probe = &Sequence;
  expectError([&] { Probe.printOn(Plain, Stream, XMLschemaProperties()); }, "Failed precondition: !GlobalElement");
  XMLschemaChoice Choice;
  Probe.probe = &Choice;
  expectError([&] { Probe.printOn(Plain, Stream, XMLschemaProperties()); }, "Failed precondition: !GlobalElement");

  // Outside printOn there is no stream to write to.
  XMLschemaElement Loose("L", &XMLschemaSimple::String, true);
  EXPECT_THROW(Probe.printElementOn(Loose, Stream), COLerror);
}

TEST(XMLxsdSchemaFormatter, PrintsCorrectlyAgainAfterAFailure) {
  XMLschema Strange;
  Strange.attachElement(new XMLschemaElement("S", strangeCollection(), false));
  EXPECT_THROW(print(XMLschemaFormatter::Xsd, Strange), COLerror);
  XMLschema Schema;
  Schema.attachElement(stringElement("Note", 0, 2));
  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<xsd:schema xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">",
                "\t<xsd:element name=\"Note\" type=\"xsd:string\"/>",
                "</xsd:schema>",
            }));
}

// --- DTD

TEST(XMLdtdSchemaFormatter, DeclaresEveryElementWithItsContentModel) {
  XMLschema Schema;
  buildPatientSchema(Schema);
  EXPECT_EQ(print(XMLschemaFormatter::Dtd, Schema),
            joinLines({
                "<!ELEMENT Patient (Id, Weight?, Born?, Gender, Address*, Note*,  (Kin, Phone+)*)>",
                "<!ELEMENT Id (#PCDATA)>",
                "<!ELEMENT Weight (#PCDATA)>",
                "<!ELEMENT Born (#PCDATA)>",
                "<!ELEMENT Gender (#PCDATA)>",
                // AddressType declares Street and City where the types are printed.
                "<!ELEMENT Address (Street, City?)>",
                "<!ELEMENT Kin (#PCDATA)>",
                "<!ELEMENT Phone (#PCDATA)>",
                "<!ELEMENT Note (#PCDATA)>",
                "<!ELEMENT Street (#PCDATA)>",
                "<!ELEMENT City (#PCDATA)>",
            }));
}

TEST(XMLdtdSchemaFormatter, PrintsAChoiceAsAlternativesAndDeclaresItsElements) {
  XMLschema Schema;
  buildChoiceSchema(Schema);
  EXPECT_EQ(print(XMLschemaFormatter::Dtd, Schema),
            joinLines({
                "<!ELEMENT Visit (Id,  (Note | Kin)*, Last?)>",
                "<!ELEMENT Id (#PCDATA)>",
                "<!ELEMENT Kin (#PCDATA)>",
                "<!ELEMENT Last (#PCDATA)>",
                "<!ELEMENT Note (#PCDATA)>",
            }));
}

// A DTD holds one declaration per name: an inline element met again under another parent is
// declared where it stands first, in every printOn anew.
TEST(XMLdtdSchemaFormatter, DeclaresEachNameOnce) {
  XMLschema Schema;
  auto* Root = new XMLschemaCollection();
  Schema.attachElement(new XMLschemaElement("Root", Root, false));
  for (const char* Parent : {"A", "B"}) {
    auto* Holder = new XMLschemaCollection();
    Root->attachElement(new XMLschemaElement(Parent, Holder, false));
    auto* Shared = new XMLschemaCollection();
    Holder->attachElement(new XMLschemaElement("Shared", Shared, false));
    Shared->attachElement(stringElement("Leaf"));
  }
  const COLstring Expected = joinLines({
      "<!ELEMENT Root (A, B)>",
      "<!ELEMENT A (Shared)>",
      "<!ELEMENT Shared (Leaf)>",
      "<!ELEMENT Leaf (#PCDATA)>",
      "<!ELEMENT B (Shared)>",
  });
  EXPECT_EQ(print(XMLschemaFormatter::Dtd, Schema), Expected);
  EXPECT_EQ(print(XMLschemaFormatter::Dtd, Schema), Expected);
}

TEST(XMLdtdSchemaFormatter, SignsFollowTheOccurrenceLimits) {
  struct Case {
    unsigned minOccurs, maxOccurs;
    const char* sign;
  } Cases[] = {
      {1, 1, ""}, {0, 1, "?"}, {0, 0, "*"}, {0, 9, "*"}, {0, XMLschemaNode::OccursUnbounded, "*"},
      {1, 2, "+"}, {3, XMLschemaNode::OccursUnbounded, "+"}, {2, 1, ""},
  };
  for (const Case& Each : Cases) {
    XMLschemaSequence Node;
    Node.setMinOccurs(Each.minOccurs);
    Node.setMaxOccurs(Each.maxOccurs);
    EXPECT_STREQ(XMLdtdSchemaFormatter::occurrenceSign(Node), Each.sign) << Each.minOccurs << " " << Each.maxOccurs;
  }
}

TEST(XMLdtdSchemaFormatter, NestedSequencesAndTheStreamsOwnLineEnd) {
  XMLschema Schema;
  auto* Root = new XMLschemaCollection();
  Schema.attachElement(new XMLschemaElement("Root", Root, false));
  XMLschemaSequence* Outer = Root->attachSequence(new XMLschemaSequence());
  Outer->attachElement(stringElement("A"));
  XMLschemaSequence* Inner = Outer->attachSequence(new XMLschemaSequence());
  Inner->setMinOccurs(0);
  Inner->attachElement(stringElement("B", 2, 3));
  auto* Enumeration = new XMLschemaEnumeration();
  Enumeration->addValue("x");
  Root->attachElement(new XMLschemaElement("C", Enumeration, false));
  Schema.attachType(new XMLschemaEnumeration("Ignored"));

  COLstring Text;
  COLostream Stream(Text);
  XMLschemaFormatter::getFormatter(XMLschemaFormatter::Dtd).printOn(Schema, Stream, XMLschemaProperties());
  EXPECT_EQ(Text, joinLines({
                      "<!ELEMENT Root ( (A,  (B+)?), C)>",
                      "<!ELEMENT A (#PCDATA)>",
                      "<!ELEMENT B (#PCDATA)>",
                      "<!ELEMENT C (#PCDATA)>",
                  },
                            "\n"));
}

TEST(XMLdtdSchemaFormatter, RefusesUnknownNodesAndOtherMainNodes) {
  XMLschema InContent;
  InContent.attachElement(new XMLschemaElement("S", strangeCollection(), false));
  expectError([&] { print(XMLschemaFormatter::Dtd, InContent); }, "Unknown Nodes");

  // Named types print only the declarations of their children.
  XMLschema InDeclarations;
  InDeclarations.attachType(strangeCollection("T"));
  expectError([&] { print(XMLschemaFormatter::Dtd, InDeclarations); }, "Unknown Node");

  XMLschema Sequenceless;
  buildSequencelessSchema(Sequenceless);
  const COLerror Error = TSTraised([&] { print(XMLschemaFormatter::Dtd, Sequenceless); });
  EXPECT_EQ(Error.code(), 0x80000100u);
  EXPECT_EQ(Error.description().view().substr(0, 21), "Failed precondition: ");
}

// --- BizTalk

TEST(XMLbiztalkSchemaFormatter, DeclaresChildrenBeforeEachRecord) {
  XMLschema Schema;
  buildPatientSchema(Schema);
  XMLschemaProperties Ignored;
  Ignored.setXmlNamespace("urn:not:used");
  EXPECT_EQ(print(XMLschemaFormatter::Biztalk, Schema, Ignored),
            joinLines({
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                "<Schema name=\"Patient\" b:BizTalkServerEditorTool_Version=\"1.0\" b:root_reference=\"Patient\" "
                "b:standard=\"XML\" xmlns=\"urn:schemas-microsoft-com:xml-data\" "
                "xmlns:b=\"urn:schemas-microsoft-com:BizTalkServer\" xmlns:d=\"urn:schemas-microsoft-com:datatypes\">",
                "\t<b:SelectionFields/>",
                "\t<ElementType name=\"Id\" model=\"closed\" content=\"textOnly\" d:type=\"int\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Weight\" model=\"closed\" content=\"textOnly\" d:type=\"double\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Born\" model=\"closed\" content=\"textOnly\" d:type=\"dateTime\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Gender\" model=\"closed\" content=\"textOnly\" d:type=\"string\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Address\" model=\"closed\" content=\"eltOnly\">",
                "\t\t<b:RecordInfo/>",
                "\t\t<group order=\"seq\" minOccurs=\"1\" maxOccurs=\"1\">",
                "\t\t\t<element type=\"Street\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                "\t\t\t<element type=\"City\" minOccurs=\"0\" maxOccurs=\"1\"/>",
                "\t\t</group>",
                "\t</ElementType>",
                "\t<ElementType name=\"Kin\" model=\"closed\" content=\"textOnly\" d:type=\"string\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Phone\" model=\"closed\" content=\"textOnly\" d:type=\"string\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Patient\" model=\"closed\" content=\"eltOnly\">",
                "\t\t<b:RecordInfo/>",
                "\t\t<group order=\"seq\" minOccurs=\"1\" maxOccurs=\"1\">",
                "\t\t\t<element type=\"Id\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                "\t\t\t<element type=\"Weight\" minOccurs=\"0\" maxOccurs=\"1\"/>",
                "\t\t\t<element type=\"Born\" minOccurs=\"0\" maxOccurs=\"1\"/>",
                "\t\t\t<element type=\"Gender\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                "\t\t\t<element type=\"Address\" minOccurs=\"0\" maxOccurs=\"*\"/>",
                "\t\t\t<element type=\"Note\" minOccurs=\"0\" maxOccurs=\"*\"/>",
                "\t\t\t<group order=\"seq\" minOccurs=\"0\" maxOccurs=\"3\">",
                "\t\t\t\t<element type=\"Kin\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                "\t\t\t\t<element type=\"Phone\" minOccurs=\"1\" maxOccurs=\"*\"/>",
                "\t\t\t</group>",
                "\t\t</group>",
                "\t</ElementType>",
                "\t<ElementType name=\"Note\" model=\"closed\" content=\"textOnly\" d:type=\"string\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"Street\" model=\"closed\" content=\"textOnly\" d:type=\"string\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "\t<ElementType name=\"City\" model=\"closed\" content=\"textOnly\" d:type=\"string\">",
                "\t\t<b:FieldInfo/>",
                "\t</ElementType>",
                "</Schema>",
            }));
}

TEST(XMLbiztalkSchemaFormatter, PrintsAChoiceAsAGroupOfOrderOne) {
  XMLschema Schema;
  buildChoiceSchema(Schema);
  const std::string Text = print(XMLschemaFormatter::Biztalk, Schema).c_str();
  EXPECT_NE(Text.find(joinLines({
                          "\t<ElementType name=\"Visit\" model=\"closed\" content=\"eltOnly\">",
                          "\t\t<b:RecordInfo/>",
                          "\t\t<group order=\"seq\" minOccurs=\"1\" maxOccurs=\"1\">",
                          "\t\t\t<element type=\"Id\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                          "\t\t\t<group order=\"one\" minOccurs=\"0\" maxOccurs=\"*\">",
                          "\t\t\t\t<element type=\"Note\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                          "\t\t\t\t<element type=\"Kin\" minOccurs=\"1\" maxOccurs=\"1\"/>",
                          "\t\t\t</group>",
                          "\t\t\t<element type=\"Last\" minOccurs=\"0\" maxOccurs=\"1\"/>",
                          "\t\t</group>",
                          "\t</ElementType>",
                      })
                          .c_str()),
            std::string::npos)
      << Text;
  // The choice's own elements are declared before the record, as a sequence's are.
  EXPECT_LT(Text.find("<ElementType name=\"Kin\""), Text.find("<ElementType name=\"Visit\""));
}

TEST(XMLbiztalkSchemaFormatter, NeedsARootAndRefusesUnknownNodes) {
  expectError([] { print(XMLschemaFormatter::Biztalk, XMLschema()); },
              "Failed precondition: schema.countOfElements() > 0");

  XMLschema InContent;
  XMLschemaType* Strange = InContent.attachType(strangeCollection("T"));
  InContent.attachElement(new XMLschemaElement("S", Strange, true));
  expectError([&] { print(XMLschemaFormatter::Biztalk, InContent); }, "Unknown node type");

  XMLschema InDeclarations;
  InDeclarations.attachElement(stringElement("Root"));
  InDeclarations.attachType(strangeCollection("T"));
  expectError([&] { print(XMLschemaFormatter::Biztalk, InDeclarations); }, "Unknown Node");

  XMLschema Sequenceless;
  buildSequencelessSchema(Sequenceless);
  EXPECT_THROW(print(XMLschemaFormatter::Biztalk, Sequenceless), COLerror);
}

}  // namespace
