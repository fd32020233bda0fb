// The printed schemas must work in a real validator: xmllint compiles each XSD (and DTD),
// accepts an instance that follows it and rejects instances that break it; the schemas of the
// bundled and example definitions compile and accept the table XML written for them; and the
// text that message XML is made of must be well-formed to it as well.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "COLdateTime.h"
#include "COLerror.h"
#include "COLostream.h"
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
#include "XMLiosStream.h"
#include "XMLschemaFormatter.h"
#include "XMLschemaTestSupport.h"

#include "../support/TSTcorpus.h"
#include "../support/TSTdataFile.h"
#include "../support/TSTfile.h"

namespace {

using XMLschemaTest::buildChoiceSchema;
using XMLschemaTest::buildPatientSchema;

// xmllint's exit status for a document that breaks its schema; a schema that does not
// compile gives another, so a broken schema cannot pass for a rejected instance.
constexpr int InvalidDocument = 3;

class XMLschemaXmllint : public ::testing::Test {
protected:
  void SetUp() override {
    if (std::system("command -v xmllint >/dev/null 2>&1") != 0)
      GTEST_SKIP() << "xmllint is not installed (package libxml2-utils); schemas are not checked by a validator";
    ASSERT_FALSE(m_Scratch.path().empty());
    m_Directory = m_Scratch.path();
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

  TSTtemporaryDirectory m_Scratch;
  std::string m_Directory;
  std::string m_LastLog;
};

// The model a case names; "visit" is a named collection type used by a global element and,
// with other limits, inside an inline one.
void buildModel(const std::string& Name, XMLschema& Schema) {
  if (Name == "patient") return buildPatientSchema(Schema);
  if (Name == "choice") return buildChoiceSchema(Schema);
  ASSERT_EQ(Name, "visit") << "model is patient, choice or visit";
  auto* Visit = static_cast<XMLschemaCollection*>(Schema.attachType(new XMLschemaCollection("VisitType")));
  Visit->attachElement(new XMLschemaElement("Count", &XMLschemaSimple::Integer, true))->setMaxOccurs(2);
  Visit->attachElement(new XMLschemaElement("Cost", &XMLschemaSimple::Double, true))->setMinOccurs(0);
  Schema.attachElement(new XMLschemaElement("Visit", Visit, true));
  auto* Stay = new XMLschemaCollection();
  Schema.attachElement(new XMLschemaElement("Stay", Stay, false));
  XMLschemaElement* Part = Stay->attachElement(new XMLschemaElement("Part", Visit, true));
  Part->setMinOccurs(2);
  Part->setMaxOccurs(3);
}

class XMLschemaInstances : public XMLschemaXmllint, public ::testing::WithParamInterface<TSTdataCase> {};

TEST_P(XMLschemaInstances, AcceptedAndRefused) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  XMLschema Schema;
  buildModel(Case.argument("model"), Schema);
  const XMLschemaProperties Properties = propertiesFromLines(Case.has("properties") ? Case.text("properties") : "");
  const std::string Formats = Case.argument("format");
  if (Formats == "biztalk") {
    EXPECT_EQ(xmllint(printed(XMLschemaFormatter::Biztalk, Schema, "schema.xml", Properties)), 0) << m_LastLog;
    return;
  }
  std::vector<std::string> Options;
  if (Formats.find("xsd") != std::string::npos)
    Options.push_back("--schema " + printed(XMLschemaFormatter::Xsd, Schema, "schema.xsd", Properties));
  if (Formats.find("dtd") != std::string::npos)
    Options.push_back("--dtdvalid " + printed(XMLschemaFormatter::Dtd, Schema, "schema.dtd", Properties));
  ASSERT_FALSE(Options.empty()) << "format is xsd, dtd, both or biztalk";
  for (const auto& [Key, Status] : {std::pair{"accept", 0}, std::pair{"refuse", InvalidDocument}}) {
    std::istringstream Documents(Case.has(Key) ? Case.text(Key) : "");
    for (std::string Document; std::getline(Documents, Document);)
      for (const std::string& Option : Options)
        EXPECT_EQ(xmllint(Option + " " + write("instance.xml", Document)), Status) << Option << "\n"
                                                                                    << Document << "\n"
                                                                                    << m_LastLog;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, XMLschemaInstances, ::testing::ValuesIn(TSTreadDataFile("XML/xmllint.test")),
                         TSTdataParamName);

// Message text is 8-bit, one Latin-1 character per byte.  Through the Latin-1 filter every byte
// that XML can hold makes a document xmllint reads without a declaration; the same bytes written
// as they stand are no UTF-8, and it refuses them.
TEST_F(XMLschemaXmllint, Latin1TextWrittenAsUtf8IsWellFormedWithoutADeclaration) {
  std::string Text = "\t\r\n";
  for (int Byte = 32; Byte < 256; ++Byte) Text += static_cast<char>(Byte);
  auto document = [&](XMLiosDataFilter* Filter) {
    COLstring Out;
    XMLiosStream Stream('.', &Out, false);
    Stream.setDataFilter(Filter);
    Stream << startTag << "v" << elementData << std::string_view(Text) << endTag << "v" << newline << flush;
    return Out.str();
  };
  EXPECT_EQ(xmllint(write("utf8.xml", document(new XMLiosLatin1DataFilter))), 0) << m_LastLog;
  EXPECT_EQ(m_LastLog, "");
  EXPECT_NE(xmllint(write("raw.xml", document(new XMLiosNullDataFilter))), 0) << m_LastLog;
}

// --- the definitions of the project

// One more row in `Table` and, below it, one row in every sub-table, every cell holding a value of
// its column's type: the writer then prints every tag the message has, both leaves of a table
// that stands twice in one group among them.
void fillEveryRow(QVMtableInternal& Table) {
  const unsigned Row = Table.addRow();
  for (unsigned Column = 0; Column < Table.countOfColumn(); ++Column) {
    switch (Table.columnType(Column)) {
      case QVMintegerType: Table.setInteger(Column, Row, 7); break;
      case QVMdoubleType: Table.setDouble(Column, Row, 1.5); break;
      case QVMdateTimeType: Table.setDateTime(Column, Row, COLdateTime(2004, 3, 5, 12, 0, 0)); break;
      default: Table.setString(Column, Row, "x"); break;
    }
  }
  for (unsigned Sub = 0; Sub < Table.countOfSubTable(); ++Sub) fillEveryRow(Table.subTable(Row, Sub));
}

// The names of the tables a table grammar lays rows on, added to Names; true if any was new.
bool addTables(const QVMtableGrammarInternal& Grammar, std::set<std::string>& Names) {
  if (Grammar.isNode()) return Grammar.table() && Names.insert(Grammar.table()->tableName().c_str()).second;
  bool Added = false;
  for (unsigned Sub = 0; Sub < Grammar.countOfSubGrammar(); ++Sub) Added = addTables(*Grammar.subGrammar(Sub), Names) || Added;
  return Added;
}

// A definition, and where its real messages come from: a log of the examples, or the messages of
// the shared corpus that the bundled definition of one version is for (or neither).
struct XMLdefinitionCase {
  const char* name;
  const char* definition;
  const char* log;
  const char* corpusVersion;
};

// So that a failure names the definition instead of the struct's bytes.
void PrintTo(const XMLdefinitionCase& Case, std::ostream* Out) { *Out << Case.definition; }

class XMLdefinitionSchema : public XMLschemaXmllint, public ::testing::WithParamInterface<XMLdefinitionCase> {};

// The messages whose table XML the schemas must accept.
std::vector<std::string> realMessages(const XMLdefinitionCase& Case) {
  std::vector<std::string> Messages;
  if (Case.log) {
    TSTlogMessages(std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Case.log, Messages);
    return Messages;
  }
  if (!Case.corpusVersion || !std::filesystem::is_directory(TSTcorpusDirectory)) return Messages;
  for (const auto& Entry : std::filesystem::directory_iterator(TSTcorpusDirectory)) {
    std::vector<std::string> Logged;
    if (Entry.path().filename().string().rfind("batch_", 0) == 0)
      Logged = TSTbatchMessages(Entry.path());
    else if (!TSTlogMessages(Entry.path(), Logged))
      continue;
    for (const std::string& Message : Logged)
      if (TSTdefinitionFor(TSTversionOf(Message)) == Case.corpusVersion) Messages.push_back(Message);
  }
  return Messages;
}

// The XSD and DTD of a definition compile, and accept every message of the definition with every
// group and table filled, and the table XML of its real messages.  The reader takes the filled
// documents back.
TEST_P(XMLdefinitionSchema, CompilesAndAcceptsTheTableXmlOfEveryMessage) {
  const XMLdefinitionCase& Case = GetParam();
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), (std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Case.definition).c_str());
  QVMengineInternal& Definition = Engine->schema();
  std::vector<QVXschemaOutput> Xsd, Dtd;
  QVXgenerateSchema(Definition, XMLschemaFormatter::Xsd, "defs.xsd", Xsd, true);
  QVXgenerateSchema(Definition, XMLschemaFormatter::Dtd, "defs.dtd", Dtd, true);
  const std::string XsdPath = write("defs.xsd", Xsd.at(0).text.c_str());
  const std::string DtdPath = write("defs.dtd", Dtd.at(0).text.c_str());

  // Every document as written, for the XSD; and the message elements of all of them in message
  // order in one document, for the DTD, since xmllint reads a DTD anew for each file it checks.
  const std::string Start = "<Quovane_Import>\r\n", End = "</Quovane_Import>\r\n";
  std::string Documents;
  std::vector<std::pair<unsigned, std::string>> Messages;
  auto keep = [&](const COLstring& Written) {
    const std::string Xml = Written.c_str();
    Documents += " " + write("m" + std::to_string(Messages.size() + 1) + ".xml", Xml);
    ASSERT_EQ(Xml.rfind(Start, 0), 0u) << Xml;
    ASSERT_GE(Xml.size(), Start.size() + End.size());
    const std::string Body = Xml.substr(Start.size(), Xml.size() - Start.size() - End.size());
    Messages.emplace_back(Definition.messageByName(Body.substr(1, Body.find('>') - 1).c_str()), Body);
  };
  auto Converter = QVMxmlHl7Converter::getConverter(Definition.config().xmlTranslationType());
  Converter->setConfig(&Definition.config());
  // The bundled standard definitions have hundreds of structures over thousands of columns:
  // there a message is filled only when it lays rows on a table no earlier one filled, which
  // keeps every table's declaration checked at a fraction of the documents.
  std::set<std::string> Filled;
  for (unsigned Index = 0; Index < Definition.countOfMessage(); ++Index) {
    QVMmessageDefinitionInternal& Message = *Definition.message(Index);
    if (!addTables(Message.tableGrammar(), Filled) && Case.corpusVersion) continue;
    QVMtableInternal Table;
    Table.makeEmptyTable(&Message.tableGrammar());
    fillEveryRow(Table);
    COLstring Xml;
    Converter->outputTableInXml(Xml, Table);
    keep(Xml);
    QVMtableInternal Back;
    unsigned Read = 0;
    try {
      Converter->tableInXml(Xml, Definition, Read, Back);
      EXPECT_EQ(Read, Index) << Message.name().c_str();
    } catch (const COLerror& Error) {
      ADD_FAILURE() << Message.name().c_str() << ": " << Error.description().c_str();
    }
  }
  const size_t FilledMessages = Messages.size();
  for (const std::string& Message : realMessages(Case)) {
    COLstring Xml;
    try {
      Xml = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
    } catch (const COLerror&) {
      continue;  // why a message does not parse is the business of the parse tests
    }
    keep(Xml);
  }
  if (Case.log || (Case.corpusVersion && std::filesystem::is_directory(TSTcorpusDirectory))) {
    EXPECT_GT(Messages.size(), FilledMessages) << "no real message parses";
  }
  EXPECT_EQ(xmllint("--schema " + XsdPath + Documents), 0) << m_LastLog.substr(0, 2000);
  EXPECT_EQ(m_LastLog.find("error"), std::string::npos) << m_LastLog.substr(0, 2000);

  std::stable_sort(Messages.begin(), Messages.end(),
                   [](const auto& Left, const auto& Right) { return Left.first < Right.first; });
  std::string All = Start;
  for (const auto& Each : Messages) All += Each.second;
  All += End;
  // Exit status 0 does not mean a clean DTD: xmllint reports a redefined element and goes on.
  EXPECT_EQ(xmllint("--dtdvalid " + DtdPath + " " + write("all.xml", All)), 0) << m_LastLog.substr(0, 2000);
  EXPECT_EQ(m_LastLog.find("error"), std::string::npos) << m_LastLog.substr(0, 2000);
}

INSTANTIATE_TEST_SUITE_P(
    Project, XMLdefinitionSchema,
    ::testing::Values(XMLdefinitionCase{"hl7v2_3_1", "definitions/hl7v2.3.1.vmd", nullptr, "2.3.1"},
                      XMLdefinitionCase{"hl7v2_4", "definitions/hl7v2.4.vmd", nullptr, "2.4"},
                      XMLdefinitionCase{"hl7v2_5_1", "definitions/hl7v2.5.1.vmd", nullptr, "2.5.1"},
                      XMLdefinitionCase{"hl7v2_7_1", "definitions/hl7v2.7.1.vmd", nullptr, "2.7.1"},
                      XMLdefinitionCase{"adt_oru", "examples/adt_oru.vmd", "examples/messages.hl7", nullptr},
                      // Its scripts write Latin-1 into the tables, which table XML carries as UTF-8.
                      XMLdefinitionCase{"scripted", "examples/scripted.vmd", "examples/scripted.hl7", nullptr},
                      XMLdefinitionCase{"x12_850_997", "examples/x12_850_997.vmd", "examples/x12_interchange.x12",
                                        nullptr},
                      XMLdefinitionCase{"x12_850_997_sets", "examples/x12_850_997_sets.vmd",
                                        "examples/x12_batch.x12", nullptr}),
    [](const ::testing::TestParamInfo<XMLdefinitionCase>& Info) { return std::string(Info.param.name); });

}  // namespace
