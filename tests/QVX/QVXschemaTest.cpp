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

TEST_F(QVXschema, ADefinitionWithoutMessagesGivesAnEmptyValidSchema) {
  COLreferencePtr<QVMengineInternal> Empty(new QVMengineInternal);
  Empty->config().setXmlTranslationType("TABLE - Short Tags");
  std::vector<QVXschemaOutput> Out;
  QVXgenerateSchema(*Empty, XMLschemaFormatter::Xsd, "empty.xsd", Out, true);
  ASSERT_EQ(Out.size(), 1u);
  EXPECT_EQ(std::string(Out[0].text.c_str()).rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
}

}  // namespace
