// The formatter factory, and what the formatters refuse.  What they print is kept as text in
// tests/data/XML (models) and tests/data/QVX (definitions).
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

using XMLschemaTest::stringElement;

// Prints `schema` with the factory's formatter.
COLstring print(XMLschemaFormatter::EFormatters format, const XMLschema& schema) {
  COLstring Text;
  COLostream Stream(Text);
  XMLschemaFormatter::getFormatter(format).printOn(schema, Stream, XMLschemaProperties());
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
  XMLschema Schema;
  Schema.attachElement(stringElement("Note", 0, 2));
  const COLstring Before = print(XMLschemaFormatter::Xsd, Schema);
  XMLschema Strange;
  Strange.attachElement(new XMLschemaElement("S", strangeCollection(), false));
  EXPECT_THROW(print(XMLschemaFormatter::Xsd, Strange), COLerror);
  EXPECT_EQ(print(XMLschemaFormatter::Xsd, Schema), Before);
}

// --- DTD

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
