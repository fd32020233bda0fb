// Schemas of a loaded definition in the table dialects: what they declare, one file or one per
// message, and that every message the engine writes as XML is valid against the schema.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <vector>

#include "QVMconfig.h"

#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"
#include "QVXschema.h"
#include "MLGreader.h"

#include "../support/TSTexampleEngine.h"

namespace {

class QVXschema : public TSTexampleEngineTest {
protected:
  std::vector<QVXschemaOutput> generate(XMLschemaFormatter::EFormatters Kind, bool Single,
                                        const char* FileName = "out/defs.xsd") {
    std::vector<QVXschemaOutput> Out;
    QVXgenerateSchema(Engine->schema(), Kind, FileName, Out, Single);
    return Out;
  }
};

TEST_F(QVXschema, OneFileDeclaresEachTableOnceWithTypedColumns) {
  const auto Out = generate(XMLschemaFormatter::Xsd, true);
  ASSERT_EQ(Out.size(), 1u);
  EXPECT_EQ(Out[0].fileName, "out/defs.xsd");
  const std::string Text = Out[0].text.c_str();
  // Five messages share the tables: each table element is declared once, used by reference.
  size_t Declared = 0;
  for (size_t At = 0; (At = Text.find("<xsd:element name=\"Patient\"", At)) != std::string::npos; ++At) ++Declared;
  EXPECT_EQ(Declared, 1u);
  EXPECT_NE(Text.find("<xsd:element ref=\"Patient\" minOccurs=\"0\" maxOccurs=\"unbounded\"/>"), std::string::npos);
  EXPECT_NE(Text.find("<xsd:element name=\"BirthDate\" type=\"xsd:dateTime\" minOccurs=\"0\"/>"), std::string::npos)
      << Text;
  EXPECT_NE(Text.find("<xsd:element name=\"ORU_R01.Orders\" minOccurs=\"0\" maxOccurs=\"unbounded\">"),
            std::string::npos);
}

TEST_F(QVXschema, OneFilePerMessageGoesBesideTheGivenNameInTheFormattersExtension) {
  const auto Out = generate(XMLschemaFormatter::Dtd, false, "dir/x.xsd");
  ASSERT_EQ(Out.size(), 5u);
  EXPECT_EQ(Out[0].fileName, "dir/ADT_A01.dtd");
  EXPECT_EQ(Out[4].fileName, "dir/ORU_R01.dtd");
  EXPECT_NE(std::string(Out[4].text.c_str()).find("<!ELEMENT Results"), std::string::npos) << Out[4].text.c_str();
}

// Runs xmllint on the documents against the schema; its exit status.
int xmllint(const std::filesystem::path& Schema, const std::vector<std::filesystem::path>& Documents) {
  std::string Command = "xmllint --noout --schema " + Schema.string();
  for (const auto& Document : Documents) Command += " " + Document.string();
  return std::system((Command + " >/dev/null 2>&1").c_str());
}

TEST_F(QVXschema, EveryMessageOfTheExampleLogIsValidAgainstTheSchemaInBothTagForms) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "xmllint is not installed (package libxml2-utils); the documents are not validated";
  const auto Dir = std::filesystem::temp_directory_path() / ("qvx-schema-" + std::to_string(::getpid()));
  std::filesystem::create_directories(Dir);
  QVMconfig& Config = Engine->schema().config();
  const std::string Configured = Config.xmlTranslationType();
  for (const char* Dialect : {"TABLE - Short Tags", "TABLE - Long Tags"}) {
    Config.setXmlTranslationType(Dialect);
    const auto Schema = Dir / "defs.xsd";
    std::ofstream(Schema, std::ios::binary) << generate(XMLschemaFormatter::Xsd, true)[0].text.c_str();
    std::unique_ptr<MLGreader> Reader(MLGfactoryOpen(MSGBRIDGE_SOURCE_DIR "/examples/messages.hl7"));
    ASSERT_TRUE(Reader);
    std::vector<std::filesystem::path> Documents;
    while (Reader->hasNextMessage()) {
      const COLstring Message = Reader->nextMessage();
      Documents.push_back(Dir / ("m" + std::to_string(Documents.size() + 1) + ".xml"));
      std::ofstream(Documents.back(), std::ios::binary) << QVJhl7ToXml(Engine->parseContext(), Message.c_str());
    }
    EXPECT_EQ(Documents.size(), 24u);
    EXPECT_EQ(xmllint(Schema, Documents), 0) << Dialect;
    // A document with an element the definition does not have is refused (status 3: invalid).
    const auto Wrong = Dir / "wrong.xml";
    std::ofstream(Wrong, std::ios::binary) << "<Quovane_Import><ADT_A01><Pet/></ADT_A01></Quovane_Import>";
    EXPECT_EQ(WEXITSTATUS(xmllint(Schema, {Wrong})), 3) << Dialect;
  }
  Config.setXmlTranslationType(Configured.c_str());
  std::filesystem::remove_all(Dir);
}

// A message "M" made in place whose root holds the tables A, B, A, D, B and C in that order, and a
// group "Obs/Res" holding B: a name with a byte that no XML name may hold.
class QVXschemaOfOneMessage : public ::testing::Test {
protected:
  QVXschemaOfOneMessage() : Engine(new QVMengineInternal) {
    Engine->config().setXmlTranslationType("TABLE - Short Tags");
    Message = Engine->message(Engine->addMessage());
    Message->setName("M");
    QVMtableGrammarInternal& Root = Message->tableGrammar();
    for (const char* Name : {"A", "B", "A", "D", "B", "C"}) leaf(Root, Name);
    QVMtableGrammarInternal* Group = Root.addSubGrammarAt(Root.countOfSubGrammar());
    Group->setName("Obs/Res");
    leaf(*Group, "B");
  }

  // A leaf of the table of that name, made on first use with one string column "V".
  void leaf(QVMtableGrammarInternal& Group, const char* Name) {
    QVMtableDefinitionInternal* Table = nullptr;
    for (size_t Index = 0; Index < Engine->countOfTable(); ++Index)
      if (Engine->table(Index)->tableName() == Name) Table = Engine->table(Index);
    if (!Table) {
      Table = Engine->table(Engine->addTable());
      Table->setTableName(Name);
      Table->addColumn("V", QVMstringType);
    }
    QVMtableGrammarInternal* Leaf = Group.addSubGrammarAt(Group.countOfSubGrammar());
    Leaf->setIsNode(true);
    Leaf->setTable(Table);
  }

  std::string schema(XMLschemaFormatter::EFormatters Kind) {
    std::vector<QVXschemaOutput> Out;
    QVXgenerateSchema(*Engine, Kind, "m.xsd", Out, true);
    return Out.at(0).text.c_str();
  }

  // The message with a row in every sub-table, each named in its "V" column by its place.
  std::string everyRow() {
    QVMtableInternal Table;
    Table.makeEmptyTable(&Message->tableGrammar());
    Table.addRow();
    for (unsigned Sub = 0; Sub < Table.countOfSubTable(); ++Sub) {
      QVMtableInternal& Rows = Table.subTable(0, Sub);
      const unsigned Row = Rows.addRow();
      if (Rows.countOfColumn())
        Rows.setString(0, Row, std::to_string(Sub).c_str());
      else
        Rows.subTable(Row, 0).setString(0, Rows.subTable(Row, 0).addRow(), "group");
    }
    COLstring Xml;
    QVMxmlHl7Converter::getConverter("TABLE - Short Tags")->outputTableInXml(Xml, Table);
    return Xml.c_str();
  }

  COLreferencePtr<QVMengineInternal> Engine;
  QVMmessageDefinitionInternal* Message = nullptr;
};

// A table that stands twice among its siblings has its rows printed at both places; a sequence
// naming it twice would be ambiguous, which XSD and DTD forbid.  From its first to its last place
// (stretched over B, which stands again after the second A) the content is a repeated choice
// naming each table once.
TEST_F(QVXschemaOfOneMessage, TablesStandingTwiceShareOneRepeatedChoiceOverTheirStretch) {
  const std::string Xsd = schema(XMLschemaFormatter::Xsd);
  const std::string Content =
      "\t\t\t\t\t\t<xsd:sequence>\n"
      "\t\t\t\t\t\t\t<xsd:choice minOccurs=\"0\" maxOccurs=\"unbounded\">\n"
      "\t\t\t\t\t\t\t\t<xsd:element ref=\"A\"/>\n"
      "\t\t\t\t\t\t\t\t<xsd:element ref=\"B\"/>\n"
      "\t\t\t\t\t\t\t\t<xsd:element ref=\"D\"/>\n"
      "\t\t\t\t\t\t\t</xsd:choice>\n"
      "\t\t\t\t\t\t\t<xsd:element ref=\"C\" minOccurs=\"0\" maxOccurs=\"unbounded\"/>\n"
      "\t\t\t\t\t\t\t<xsd:element name=\"M.ObsRes\" minOccurs=\"0\" maxOccurs=\"unbounded\">\n"
      "\t\t\t\t\t\t\t\t<xsd:complexType>\n"
      "\t\t\t\t\t\t\t\t\t<xsd:sequence>\n"
      "\t\t\t\t\t\t\t\t\t\t<xsd:element ref=\"B\" minOccurs=\"0\" maxOccurs=\"unbounded\"/>\n"
      "\t\t\t\t\t\t\t\t\t</xsd:sequence>\n"
      "\t\t\t\t\t\t\t\t</xsd:complexType>\n"
      "\t\t\t\t\t\t\t</xsd:element>\n"
      "\t\t\t\t\t\t</xsd:sequence>\n";
  EXPECT_NE(Xsd.find("<xsd:element name=\"M\" minOccurs=\"0\" maxOccurs=\"unbounded\">\n\t\t\t\t\t<xsd:complexType>\n" +
                     Content),
            std::string::npos)
      << Xsd;
  EXPECT_NE(schema(XMLschemaFormatter::Dtd).find("<!ELEMENT M ( (A | B | D)*, C*, M.ObsRes*)>"), std::string::npos);
}

// The writer drops the "/" from the group's tag; the schema declares that tag and the reader finds
// the group by it.
TEST_F(QVXschemaOfOneMessage, SchemaWriterAndReaderAgreeOnTheTagOfAGroupWithAnOddName) {
  const std::string Xml = everyRow();
  EXPECT_NE(Xml.find("   <M.ObsRes>\r\n      <B>\r\n         <V>group</V>"), std::string::npos) << Xml;
  QVMtableInternal Back;
  unsigned Index = 9;
  QVMxmlHl7Converter::getConverter("TABLE - Short Tags")->tableInXml(Xml.c_str(), *Engine, Index, Back);
  EXPECT_EQ(Index, 0u);
  ASSERT_EQ(Back.subTable(0, 6).countOfRow(), 1u);
  EXPECT_EQ(Back.subTable(0, 6).subTable(0, 0).getString(0, 0), "group");

  if (std::system("command -v xmllint >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "xmllint is not installed (package libxml2-utils); the document is not validated";
  const auto Dir = std::filesystem::temp_directory_path() / ("qvx-one-" + std::to_string(::getpid()));
  std::filesystem::create_directories(Dir);
  const auto Schema = Dir / "m.xsd";
  std::ofstream(Schema, std::ios::binary) << schema(XMLschemaFormatter::Xsd);
  const auto Document = Dir / "m.xml";
  std::ofstream(Document, std::ios::binary) << Xml;
  EXPECT_EQ(xmllint(Schema, {Document}), 0) << Xml;
  // The stretch is free, what stands outside it keeps its place.
  const auto Swapped = Dir / "swapped.xml";
  std::ofstream(Swapped, std::ios::binary) << "<Quovane_Import><M><D/><B/><A/><C/><A/></M></Quovane_Import>";
  EXPECT_EQ(WEXITSTATUS(xmllint(Schema, {Swapped})), 3);
  std::ofstream(Swapped, std::ios::binary) << "<Quovane_Import><M><D/><B/><A/><C/><M.ObsRes/></M></Quovane_Import>";
  EXPECT_EQ(xmllint(Schema, {Swapped}), 0);
  std::filesystem::remove_all(Dir);
}

TEST_F(QVXschema, ADefinitionWithoutMessagesGivesAnEmptyValidSchema) {
  COLreferencePtr<QVMengineInternal> Empty(new QVMengineInternal);
  Empty->config().setXmlTranslationType("TABLE - Short Tags");
  std::vector<QVXschemaOutput> Out;
  QVXgenerateSchema(*Empty, XMLschemaFormatter::Xsd, "empty.xsd", Out, true);
  ASSERT_EQ(Out.size(), 1u);
  EXPECT_EQ(std::string(Out[0].text.c_str()).rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
}

}  // namespace
