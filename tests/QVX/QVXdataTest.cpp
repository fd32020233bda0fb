// The schemas of a definition, on the cases of tests/data/QVX: a definition in, the schema text
// (or the error that refuses it) out.
//
// Sections of a case:
//   definition PATH     the definition, relative to the repository
//   dialect NAME        the XML dialect, in place of the definition's own
//   format KIND         xsd, dtd or biztalk
//   properties          "xmlns=", "targetNamespace=" and "elementFormDefault=" lines
//   per-message NAME    one file per message beside NAME, each shown after a line "@@ its name";
//                       without it one file "defs.xsd"
//   expect              the schema text
//   error               the error raised: its code, then its description
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVXschema.h"

#include "../support/TSTdataFile.h"

namespace {

XMLschemaFormatter::EFormatters formatOf(const std::string& Name) {
  if (Name == "dtd") return XMLschemaFormatter::Dtd;
  if (Name == "biztalk") return XMLschemaFormatter::Biztalk;
  EXPECT_EQ(Name, "xsd") << "format is xsd, dtd or biztalk";
  return XMLschemaFormatter::Xsd;
}

std::string errorText(const COLerror& Error) {
  char Code[16];
  std::snprintf(Code, sizeof Code, "0x%08X\n", Error.code());
  return Code + Error.description().str() + "\n";
}

class QVXdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVXdata, DefinitionToSchema) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  COLreferencePtr<QVMengineInternal> Engine(new QVMengineInternal);
  QVLloadEngine(*Engine, (std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Case.argument("definition")).c_str());
  QVMconfig& Config = Engine->config();
  if (Case.has("dialect")) Config.setXmlTranslationType(Case.argument("dialect").c_str());
  std::istringstream Properties(Case.has("properties") ? Case.text("properties") : "");
  for (std::string Line; std::getline(Properties, Line);) {
    const std::string Key = Line.substr(0, Line.find('=')), Value = Line.substr(Line.find('=') + 1);
    if (Key == "xmlns") Config.xmlSchemaProperties().xmlNamespace = Value.c_str();
    else if (Key == "targetNamespace") Config.xmlSchemaProperties().targetNamespace = Value.c_str();
    else if (Key == "elementFormDefault") Config.xmlSchemaProperties().elementFormDefault = Value.c_str();
    else ADD_FAILURE() << "no schema property " << Key;
  }

  const bool PerMessage = Case.has("per-message");
  std::vector<QVXschemaOutput> Out;
  std::string Text;
  try {
    QVXgenerateSchema(*Engine, formatOf(Case.argument("format")), PerMessage ? Case.argument("per-message") : "defs.xsd",
                      Out, !PerMessage);
  } catch (const COLerror& Error) {
    Text = errorText(Error);
  }
  if (!PerMessage && Out.size() == 1 && Out[0].fileName == "defs.xsd") {
    Text = Out[0].text.c_str();
  } else {
    for (const QVXschemaOutput& File : Out) Text += "@@ " + File.fileName.str() + "\n" + File.text.c_str();
  }
  EXPECT_EQ(Text, Case.text(Case.has("error") ? "error" : "expect"));
}

INSTANTIATE_TEST_SUITE_P(Cases, QVXdata, ::testing::ValuesIn(TSTreadDataArea("QVX")), TSTdataParamName);

}  // namespace
