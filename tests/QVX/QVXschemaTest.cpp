// Schemas of a loaded definition in the table dialects against the XML the engine writes: every
// message is valid.  What the schemas declare is kept as text in tests/data/QVX.
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
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"
#include "QVXschema.h"
#include "MLGreader.h"

#include "../support/TSTexampleEngine.h"

namespace {

class QVXschema : public TSTexampleEngineTest {
protected:
  std::string xsd() {
    std::vector<QVXschemaOutput> Out;
    QVXgenerateSchema(Engine->schema(), XMLschemaFormatter::Xsd, "defs.xsd", Out, true);
    return Out.at(0).text.c_str();
  }
};

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
    std::ofstream(Schema, std::ios::binary) << xsd();
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

// The message "M" of tests/data/QVX/stretch.vmd: tables standing twice share a stretch, and the
// group "Obs/Res" has a byte in its name that no XML name may hold.
class QVXschemaOfOneMessage : public ::testing::Test {
protected:
  QVXschemaOfOneMessage() : Engine(new QVMengineInternal) {
    QVLloadEngine(*Engine, MSGBRIDGE_SOURCE_DIR "/tests/data/QVX/stretch.vmd");
    Message = Engine->message(0);
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

// The writer drops the "/" from the group's tag; the schema declares that tag and the reader finds
// the group by it.
TEST_F(QVXschemaOfOneMessage, SchemaWriterAndReaderAgreeOnTheTagOfAGroupWithAnOddName) {
  const std::string Xml = everyRow();
  EXPECT_NE(Xml.find("   <M.ObsRes>\r\n      <B>\r\n         <V>group</V>"), std::string::npos) << Xml;
  QVMtableInternal Back;
  unsigned Index = 9;
  QVMxmlHl7Converter::getConverter("TABLE - Short Tags")->tableInXml(Xml.c_str(), *Engine, Index, Back);
  EXPECT_EQ(Index, 0u);
  ASSERT_EQ(Back.subTable(0, 7).countOfRow(), 1u);
  EXPECT_EQ(Back.subTable(0, 7).subTable(0, 0).getString(0, 0), "group");

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

}  // namespace
