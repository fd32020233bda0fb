// The schema formatters on the cases of tests/data/XML/formatters.test: a schema model in,
// its printed text out.
//
// Sections of a case:
//   model NAME      one of the models below
//   format KIND     xsd, dtd or biztalk
//   properties      "xmlns=", "targetNamespace=" and "elementFormDefault=" lines
//   expect          the text, lines ended by the stream's "\r\n" (so "--- expect crlf")
// Each model is printed twice: what one print leaves behind must not reach the next.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>
#include <string>

#include "COLostream.h"
#include "XMLschemaFormatter.h"
#include "XMLschemaTestSupport.h"

#include "../support/TSTdataFile.h"

namespace {

using XMLschemaTest::stringElement;

// A named collection type used by a global element and, with other occurs, inside an inline
// collection; a named enumeration used by an element; a global element after the inline one.
void buildSharedTypesSchema(XMLschema& Schema) {
  auto* Visit = static_cast<XMLschemaCollection*>(Schema.attachType(new XMLschemaCollection("VisitType")));
  auto* Sex = static_cast<XMLschemaEnumeration*>(Schema.attachType(new XMLschemaEnumeration("SexType")));
  Sex->addValue("U");
  Visit->attachElement(new XMLschemaElement("Sex", Sex, true))->setMinOccurs(0);
  Visit->attachElement(new XMLschemaElement("Count", &XMLschemaSimple::Integer, true))->setMaxOccurs(2);
  Schema.attachElement(new XMLschemaElement("Visit", Visit, true))->setMaxOccurs(4);
  auto* Inline = new XMLschemaCollection();
  Schema.attachElement(new XMLschemaElement("Stay", Inline, false));
  Inline->attachElement(new XMLschemaElement("Again", Visit, true))->setMinOccurs(2);
  Schema.attachElement(stringElement("Last", 0, 0));
}

const std::map<std::string, std::function<void(XMLschema&)>> Models = {
    {"patient", XMLschemaTest::buildPatientSchema},
    {"choice", XMLschemaTest::buildChoiceSchema},
    {"shared-types", buildSharedTypesSchema},
    {"note", [](XMLschema& Schema) { Schema.attachElement(stringElement("Note", 0, 5)); }},
    // A list of elements whose names the schema cannot foretell, beside one it can.
    {"wildcard",
     [](XMLschema& Schema) {
       auto* List = new XMLschemaCollection();
       Schema.attachElement(new XMLschemaElement("List", List, false));
       List->attachElement(stringElement("Head", 0, 1));
       XMLschemaWildcard* Any = List->mainSequence().attachWildcard(new XMLschemaWildcard);
       Any->setMinOccurs(0);
       Any->setMaxOccurs(XMLschemaNode::OccursUnbounded);
     }},
};

XMLschemaFormatter::EFormatters formatOf(const std::string& Name) {
  if (Name == "dtd") return XMLschemaFormatter::Dtd;
  if (Name == "biztalk") return XMLschemaFormatter::Biztalk;
  EXPECT_EQ(Name, "xsd") << "format is xsd, dtd or biztalk";
  return XMLschemaFormatter::Xsd;
}

class XMLdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(XMLdata, ModelToSchema) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const auto Model = Models.find(Case.argument("model"));
  ASSERT_NE(Model, Models.end()) << "no model " << Case.argument("model");
  XMLschema Schema;
  Model->second(Schema);
  const XMLschemaProperties Properties = propertiesFromLines(Case.has("properties") ? Case.text("properties") : "");
  XMLschemaFormatter& Formatter = XMLschemaFormatter::getFormatter(formatOf(Case.argument("format")));
  for (int Print = 0; Print < 2; ++Print) {
    COLstring Text;
    COLostream Stream(Text);
    Stream.setNewLine("\r\n");
    Formatter.printOn(Schema, Stream, Properties);
    EXPECT_EQ(std::string(Text.c_str()), Case.text("expect")) << "print " << Print + 1;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, XMLdata, ::testing::ValuesIn(TSTreadDataFile("XML/formatters.test")), TSTdataParamName);

}  // namespace
