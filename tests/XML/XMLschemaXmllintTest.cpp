// The printed schemas must work in a real validator: xmllint compiles each XSD (and DTD),
// accepts an instance that follows it and rejects instances that break it.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "COLostream.h"
#include "XMLschemaFormatter.h"
#include "XMLschemaTestSupport.h"

namespace {

using XMLschemaTest::buildChoiceSchema;
using XMLschemaTest::buildPatientSchema;
using XMLschemaTest::stringElement;

// xmllint's exit status for a document that breaks its schema; a schema that does not
// compile gives another, so a broken schema cannot pass for a rejected instance.
constexpr int InvalidDocument = 3;

class XMLschemaXmllint : public ::testing::Test {
protected:
  void SetUp() override {
    if (std::system("command -v xmllint >/dev/null 2>&1") != 0)
      GTEST_SKIP() << "xmllint is not installed (package libxml2-utils); schemas are not checked by a validator";
    char Template[] = "/tmp/XMLschemaXmllintXXXXXX";
    ASSERT_NE(mkdtemp(Template), nullptr);
    m_Directory = Template;
  }

  void TearDown() override {
    if (!m_Directory.empty()) std::filesystem::remove_all(m_Directory);
  }

  std::string write(const std::string& name, const std::string& text) {
    std::string Path = m_Directory + "/" + name;
    std::ofstream(Path, std::ios::binary) << text;
    return Path;
  }

  std::string printed(XMLschemaFormatter::EFormatters format, const XMLschema& schema, const char* name,
                      const XMLschemaProperties& properties = XMLschemaProperties()) {
    COLstring Text;
    COLostream Stream(Text);
    Stream.setNewLine("\r\n");
    XMLschemaFormatter::getFormatter(format).printOn(schema, Stream, properties);
    return write(name, Text.str());
  }

  // xmllint's exit status; its messages are kept for the failure report.
  int xmllint(const std::string& arguments) {
    std::string Log = m_Directory + "/xmllint.log";
    int Status = std::system(("xmllint --noout " + arguments + " >" + Log + " 2>&1").c_str());
    std::ifstream In(Log);
    std::stringstream Text;
    Text << In.rdbuf();
    m_LastLog = Text.str();
    return WIFEXITED(Status) ? WEXITSTATUS(Status) : -1;
  }

  std::string m_Directory;
  std::string m_LastLog;
};

const char* const ValidPatient =
    "<Patient><Id>7</Id><Born>2024-01-02T03:04:05</Born><Gender>F</Gender>"
    "<Address><Street>Main</Street></Address><Address><Street>Side</Street><City>Y</City></Address>"
    "<Note>n</Note><Kin>K</Kin><Phone>1</Phone><Phone>2</Phone></Patient>";

TEST_F(XMLschemaXmllint, XsdAcceptsWhatFollowsItAndRejectsWhatBreaksIt) {
  XMLschema Schema;
  buildPatientSchema(Schema);
  std::string Xsd = printed(XMLschemaFormatter::Xsd, Schema, "patient.xsd");

  EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("ok.xml", ValidPatient)), 0) << m_LastLog;
  EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("note.xml", "<Note>global</Note>")), 0) << m_LastLog;
  const char* Broken[] = {
      "<Patient><Id>7</Id><Gender>X</Gender></Patient>",                     // not an enumerated value
      "<Patient><Id>seven</Id><Gender>M</Gender></Patient>",                 // not an integer
      "<Patient><Gender>M</Gender></Patient>",                               // required element missing
      "<Patient><Id>1</Id><Gender>M</Gender><Kin>K</Kin></Patient>",        // Phone must follow Kin
      "<Patient><Id>1</Id><Gender>M</Gender><Address><City>Y</City></Address></Patient>",  // named type
  };
  for (const char* Instance : Broken)
    EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("bad.xml", Instance)), InvalidDocument) << Instance << "\n"
                                                                                               << m_LastLog;
}

TEST_F(XMLschemaXmllint, XsdWithNamespacesValidatesQualifiedDocuments) {
  XMLschema Schema;
  buildPatientSchema(Schema);
  XMLschemaProperties Properties;
  Properties.setXmlNamespace("urn:example:patient");
  Properties.setTargetNamespace("urn:example:patient");
  Properties.setElementFormDefault("qualified");
  std::string Xsd = printed(XMLschemaFormatter::Xsd, Schema, "patient.xsd", Properties);

  std::string Qualified = ValidPatient;
  Qualified.insert(std::string("<Patient").size(), " xmlns=\"urn:example:patient\"");
  EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("ok.xml", Qualified)), 0) << m_LastLog;
  EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("bad.xml", ValidPatient)), InvalidDocument) << m_LastLog;
}

TEST_F(XMLschemaXmllint, XsdOfNamedCollectionTypesHonoursTheirLimits) {
  XMLschema Schema;
  auto* Visit = static_cast<XMLschemaCollection*>(Schema.attachType(new XMLschemaCollection("VisitType")));
  Visit->attachElement(new XMLschemaElement("Count", &XMLschemaSimple::Integer, true))->setMaxOccurs(2);
  Visit->attachElement(new XMLschemaElement("Cost", &XMLschemaSimple::Double, true))->setMinOccurs(0);
  Schema.attachElement(new XMLschemaElement("Visit", Visit, true));
  auto* Stay = new XMLschemaCollection();
  Schema.attachElement(new XMLschemaElement("Stay", Stay, false));
  XMLschemaElement* Part = Stay->attachElement(new XMLschemaElement("Part", Visit, true));
  Part->setMinOccurs(2);
  Part->setMaxOccurs(3);
  std::string Xsd = printed(XMLschemaFormatter::Xsd, Schema, "visit.xsd");

  EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("a.xml", "<Visit><Count>1</Count><Count>2</Count></Visit>")), 0)
      << m_LastLog;
  EXPECT_EQ(xmllint("--schema " + Xsd + " " +
                    write("b.xml", "<Stay><Part><Count>1</Count></Part><Part><Count>2</Count><Cost>1.5</Cost>"
                                   "</Part></Stay>")),
            0)
      << m_LastLog;
  EXPECT_EQ(xmllint("--schema " + Xsd + " " +
                    write("c.xml", "<Visit><Count>1</Count><Count>2</Count><Count>3</Count></Visit>")),
            InvalidDocument)
      << m_LastLog;
  EXPECT_EQ(xmllint("--schema " + Xsd + " " + write("d.xml", "<Stay><Part><Count>1</Count></Part></Stay>")),
            InvalidDocument)
      << m_LastLog;
}

TEST_F(XMLschemaXmllint, DtdValidatesAndBiztalkIsWellFormed) {
  XMLschema Schema;
  buildPatientSchema(Schema);
  std::string Dtd = printed(XMLschemaFormatter::Dtd, Schema, "patient.dtd");
  EXPECT_EQ(xmllint("--dtdvalid " + Dtd + " " + write("ok.xml", ValidPatient)), 0) << m_LastLog;
  EXPECT_EQ(xmllint("--dtdvalid " + Dtd + " " + write("bad.xml", "<Patient><Gender>M</Gender></Patient>")),
            InvalidDocument)
      << m_LastLog;

  std::string Biztalk = printed(XMLschemaFormatter::Biztalk, Schema, "patient.xml");
  EXPECT_EQ(xmllint(Biztalk), 0) << m_LastLog;
}

TEST_F(XMLschemaXmllint, AChoiceTakesItsAlternativesInAnyOrderAndNumberAtItsPlace) {
  XMLschema Schema;
  buildChoiceSchema(Schema);
  const std::string Xsd = printed(XMLschemaFormatter::Xsd, Schema, "visit.xsd");
  const std::string Dtd = printed(XMLschemaFormatter::Dtd, Schema, "visit.dtd");
  const char* Valid[] = {
      "<Visit><Id>1</Id></Visit>",
      "<Visit><Id>1</Id><Kin>k</Kin><Note>n</Note><Kin>k</Kin><Note>n</Note><Last>l</Last></Visit>",
      "<Visit><Id>1</Id><Note>n</Note><Note>n</Note><Last>l</Last></Visit>",
  };
  for (const char* Instance : Valid) {
    const std::string Document = write("ok.xml", Instance);
    EXPECT_EQ(xmllint("--schema " + Xsd + " " + Document), 0) << Instance << "\n" << m_LastLog;
    EXPECT_EQ(xmllint("--dtdvalid " + Dtd + " " + Document), 0) << Instance << "\n" << m_LastLog;
  }
  const char* Invalid[] = {
      "<Visit><Kin>k</Kin><Id>1</Id></Visit>",                 // the choice stands after Id
      "<Visit><Id>1</Id><Last>l</Last><Note>n</Note></Visit>",  // and before Last
  };
  for (const char* Instance : Invalid) {
    const std::string Document = write("bad.xml", Instance);
    EXPECT_EQ(xmllint("--schema " + Xsd + " " + Document), InvalidDocument) << Instance << "\n" << m_LastLog;
    EXPECT_EQ(xmllint("--dtdvalid " + Dtd + " " + Document), InvalidDocument) << Instance << "\n" << m_LastLog;
  }
}

}  // namespace
