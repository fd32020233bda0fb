// Table XML: a table printed in both tag forms and read back into the same table, the reader's
// leniencies and refusals (as data cases), and the bytes XML can or cannot carry.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMtableXmlFormatter.h"
#include "QVMxmlHl7Converter.h"
#include "QVXconverter.h"

#include "../../support/TSTdataFile.h"
#include "../../support/TSTraised.h"

namespace {

class QVMtableXml : public ::testing::Test {
protected:
  QVMtableXml() : Engine(new QVMengineInternal) {
    Patient = addTable("Patient", {{"Id", QVMintegerType}, {"Name", QVMstringType}, {"Born", QVMdateTimeType}});
    Visit = addTable("Visit", {{"Nr", QVMintegerType}});
    Message = Engine->message(Engine->addMessage());
    Message->setName("ADT_A01");
    QVMtableGrammarInternal& Root = Message->tableGrammar();
    QVMtableGrammarInternal* PatientLeaf = Root.addSubGrammarAt(0);
    PatientLeaf->setIsNode(true);
    PatientLeaf->setTable(Patient);
    QVMtableGrammarInternal* Group = Root.addSubGrammarAt(1);
    Group->setName("VISIT");
    QVMtableGrammarInternal* VisitLeaf = Group->addSubGrammarAt(0);
    VisitLeaf->setIsNode(true);
    VisitLeaf->setTable(Visit);
    Table.makeEmptyTable(&Root);
  }

  QVMtableDefinitionInternal* addTable(const char* Name,
                                        std::initializer_list<std::pair<const char*, QVMdataType>> Columns) {
    QVMtableDefinitionInternal* Definition = Engine->table(Engine->addTable());
    Definition->setTableName(Name);
    for (const auto& [Column, Type] : Columns) Definition->addColumn(Column, Type);
    return Definition;
  }

  // One message row: a patient and a visit group holding one visit.
  void fill() {
    const unsigned Row = Table.addRow();
    QVMtableInternal& Patients = Table.subTable(Row, 0);
    Patients.addRow();
    Patients.setInteger(0, 0, 17);
    Patients.setString(1, 0, "");
    Patients.setDateTime(2, 0, COLdateTime(2004, 3, 5, 12, 0, 0));
    QVMtableInternal& Group = Table.subTable(Row, 1);
    Group.addRow();
    QVMtableInternal& Visits = Group.subTable(0, 0);
    Visits.addRow();
    Visits.setInteger(0, 0, 3);
  }

  std::string print(const char* Dialect, const QVMtableInternal& Source) {
    COLstring Out;
    QVMxmlHl7Converter::getConverter(Dialect)->outputTableInXml(Out, Source);
    return Out.c_str();
  }

  unsigned read(const std::string& Xml, QVMtableInternal& Into) {
    unsigned Index = 99;
    QVMxmlHl7Converter::getConverter("TABLE - Short Tags")->tableInXml(Xml.c_str(), *Engine, Index, Into);
    return Index;
  }

  COLreferencePtr<QVMengineInternal> Engine;
  QVMtableDefinitionInternal* Patient = nullptr;
  QVMtableDefinitionInternal* Visit = nullptr;
  QVMmessageDefinitionInternal* Message = nullptr;
  QVMtableInternal Table;
};

const char ShortTags[] =
    "<Quovane_Import>\r\n"
    "<ADT_A01>\r\n"
    "   <Patient>\r\n"
    "      <Id>17</Id>\r\n"
    "      <Born>2004-03-05T12:00:00</Born>\r\n"
    "   </Patient>\r\n"
    "   <ADT_A01.VISIT>\r\n"
    "      <Visit>\r\n"
    "         <Nr>3</Nr>\r\n"
    "      </Visit>\r\n"
    "   </ADT_A01.VISIT>\r\n"
    "</ADT_A01>\r\n"
    "</Quovane_Import>\r\n";

// The writer on a table built in code, apart from the reader; the data cases below read first.
TEST_F(QVMtableXml, PrintsRowsNestedWithoutEmptyColumns) {
  fill();
  EXPECT_EQ(print("TABLE - Short Tags", Table), ShortTags);
}

// The tags are kept between documents: each edit of a name or of the column order shows in the
// next document.
TEST_F(QVMtableXml, TagsFollowEveryEditOfNamesAndColumnOrder) {
  fill();
  ASSERT_NE(print("TABLE - Long Tags", Table).find("<Patient.Id>17</Patient.Id>"), std::string::npos);
  Patient->setColumnName(0, "Key");
  EXPECT_NE(print("TABLE - Long Tags", Table).find("<Patient.Key>17</Patient.Key>"), std::string::npos);
  Patient->setTableName("Person");
  const std::string Renamed = print("TABLE - Long Tags", Table);
  EXPECT_NE(Renamed.find("<Person.Key>17</Person.Key>"), std::string::npos);
  // The row element takes the table's new name at both ends.
  EXPECT_NE(Renamed.find("   <Person>\r\n"), std::string::npos) << Renamed;
  EXPECT_NE(Renamed.find("   </Person>\r\n"), std::string::npos) << Renamed;
  EXPECT_EQ(Renamed.find("Patient"), std::string::npos) << Renamed;
  Patient->column(0).setName("Nr");
  EXPECT_NE(print("TABLE - Short Tags", Table).find("<Nr>17</Nr>"), std::string::npos);
  // The cells stay where they are and the names move: Visit's column 0 takes each new name.
  Visit->addColumn("Bed", QVMintegerType, 0);
  EXPECT_NE(print("TABLE - Short Tags", Table).find("<Bed>3</Bed>"), std::string::npos);
  Visit->moveColumn(1, 0);
  EXPECT_NE(print("TABLE - Short Tags", Table).find("<Nr>3</Nr>"), std::string::npos);
  Visit->removeColumn(0);
  EXPECT_NE(print("TABLE - Short Tags", Table).find("<Bed>3</Bed>"), std::string::npos);
}

// Table XML read and printed again, on the cases of tests/data/QVM/table_xml.test.  Sections:
//   xml          the document read into a table of this definition
//   short, long  the table printed with short or long tags; without either, the short print is
//                the document itself
//   error CODE   the reader's refusal instead: its code and description
class QVMtableXmlData : public QVMtableXml, public ::testing::WithParamInterface<TSTdataCase> {};

TEST_P(QVMtableXmlData, ReadAndPrintAgain) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  QVMtableInternal Into;
  if (Case.has("error")) {
    std::string Text = Case.text("error");
    Text.pop_back();
    EXPECT_EQ(TSTraised([&] { read(Case.text("xml"), Into); }),
              COLerror(Text, static_cast<unsigned>(std::stoul(Case.argument("error"), nullptr, 16))));
    return;
  }
  unsigned Index = 99;
  ASSERT_EQ(TSTerrorText([&] { Index = read(Case.text("xml"), Into); }), "no error");
  EXPECT_EQ(Index, 0u);
  if (Case.has("short") || !Case.has("long")) {
    EXPECT_EQ(print("TABLE - Short Tags", Into), Case.text(Case.has("short") ? "short" : "xml"));
  }
  if (Case.has("long")) {
    EXPECT_EQ(print("TABLE - Long Tags", Into), Case.text("long"));
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMtableXmlData, ::testing::ValuesIn(TSTreadDataFile("QVM/table_xml.test")),
                         TSTdataParamName);

// The writer's tag filter drops what no XML name may hold, so the reader must find the group by
// the tag as written, not by the name as defined.
TEST_F(QVMtableXml, AGroupWhoseNameHoldsASlashReadsBackUnderTheTagWritten) {
  Message->tableGrammar().subGrammar(1)->setName("VISIT/STAY");
  fill();
  const std::string Printed = print("TABLE - Short Tags", Table);
  EXPECT_NE(Printed.find("   <ADT_A01.VISITSTAY>\r\n      <Visit>\r\n"), std::string::npos) << Printed;
  QVMtableInternal Copy;
  read(Printed, Copy);
  EXPECT_EQ(Copy.subTable(0, 1).subTable(0, 0).getInteger(0, 0), 3);
  EXPECT_EQ(print("TABLE - Short Tags", Copy), Printed);
}

// Values are 8-bit text, each byte the Latin-1 character of its code.  The document must be UTF-8
// (that xmllint takes the filter's output is checked in tests/XML), and reading it must give the
// bytes back.
TEST_F(QVMtableXml, EightBitValuesGoOutAsUtf8AndComeBackByteForByte) {
  fill();
  std::string Every = "x<";
  for (int Byte = 0x80; Byte <= 0xFF; ++Byte) Every += static_cast<char>(Byte);
  Table.subTable(0, 0).setString(1, 0, Every.c_str());
  const std::string Xml = print("TABLE - Short Tags", Table);
  EXPECT_NE(Xml.find("<Name>x&lt;\xC2\x80\xC2\x81"), std::string::npos) << Xml;
  EXPECT_NE(Xml.find("\xC3\xBE\xC3\xBF</Name>"), std::string::npos) << Xml;
  // Nothing else changes: the document is the one of plain ASCII values with the name added.
  std::string WithoutName = Xml;
  WithoutName.erase(WithoutName.find("      <Name>"), WithoutName.find("</Name>\r\n") + 9 - WithoutName.find("      <Name>"));
  EXPECT_EQ(WithoutName, ShortTags);

  QVMtableInternal Copy;
  read(Xml, Copy);
  EXPECT_EQ(Copy.subTable(0, 0).getString(1, 0).str(), Every);
  EXPECT_EQ(print("TABLE - Short Tags", Copy), Xml);
}

// XML 1.0 has no form for control bytes but tab, LF and CR, not even "&#x01;": such a value is
// refused with its place rather than written into a file that no reader accepts.
TEST_F(QVMtableXml, ValuesWithControlBytesXmlCannotHoldAreRefusedByName) {
  fill();
  Table.subTable(0, 0).setString(1, 0, "Ann\x01\x1B \xE9");
  COLstring Out;
  const COLerror Error =
      TSTraised([&] { QVMxmlHl7Converter::getConverter("TABLE - Long Tags")->outputTableInXml(Out, Table); });
  EXPECT_EQ(std::string(Error.description().c_str()),
            "The value 'Ann\\x01\\x1B \xE9' of column Patient.Name (row 1) cannot be written as XML: it holds the "
            "control byte 0x01, which XML 1.0 cannot carry.");
  EXPECT_EQ(Error.code(), 0x80000100u);
  // Tab, line feed and carriage return are written as they always were.
  Table.subTable(0, 0).setString(1, 0, "a\tb\r\nc");
  EXPECT_NE(print("TABLE - Short Tags", Table).find("<Name>a\tb\r\nc</Name>"), std::string::npos);
}

// Names of the definition reach the document through the tag filter: a Latin-1 letter is dropped
// and a leading digit becomes "_".  The reader must find message and columns by the tag written,
// in both tag forms, or its own output does not read back.
TEST_F(QVMtableXml, NamesTheWriterHadToChangeReadBackInBothTagForms) {
  Message->setName("ADT_\xC4" "01");
  Patient->setTableName("P\xE4tient");
  Patient->setColumnName(1, "N\xE4me");
  Patient->setColumnName(0, "1stId");
  fill();
  Table.subTable(0, 0).setString(1, 0, "Ann");
  for (const char* Dialect : {"TABLE - Short Tags", "TABLE - Long Tags"}) {
    SCOPED_TRACE(Dialect);
    const std::string Printed = print(Dialect, Table);
    const bool Long = std::string(Dialect).find("Long") != std::string::npos;
    EXPECT_NE(Printed.find(Long ? "<Ptient.1stId>17</Ptient.1stId>" : "<_stId>17</_stId>"), std::string::npos)
        << Printed;
    EXPECT_NE(Printed.find(Long ? "<Ptient.Nme>Ann</Ptient.Nme>" : "<Nme>Ann</Nme>"), std::string::npos) << Printed;
    QVMtableInternal Copy;
    unsigned Index = 99;
    QVMxmlHl7Converter::getConverter(Dialect)->tableInXml(Printed.c_str(), *Engine, Index, Copy);
    EXPECT_EQ(Index, 0u);
    EXPECT_EQ(Copy.subTable(0, 0).getInteger(0, 0), 17);
    EXPECT_EQ(Copy.subTable(0, 0).getString(1, 0).str(), "Ann");
    EXPECT_EQ(print(Dialect, Copy), Printed);
  }
}

// A cell whose text did not fit its column's type has no element; the writer tells a listener of
// the thread which one it left out, with the text the message held.
TEST_F(QVMtableXml, ALeftOutInvalidCellIsToldToTheListener) {
  struct Listener : QVMtableXmlUnwrittenValues {
    void unwrittenValue(const QVMtableInternal& Table, unsigned Column, unsigned Row, const COLstring& Text) override {
      Heard += QVMtableMessageName(Table).str() + " " + Table.columnName(Column).str() + " " + std::to_string(Row) +
               " " + Text.str() + ";";
    }
    std::string Heard;
  } Heard;
  fill();
  Table.subTable(0, 0).setInvalid(2, 0, "201803231557-0700");
  {
    QVMtableXmlUnwrittenScope Scope(Heard);
    EXPECT_EQ(print("TABLE - Short Tags", Table).find("<Born>"), std::string::npos);
  }
  EXPECT_EQ(Heard.Heard, "ADT_A01 Born 0 201803231557-0700;");
  // Without a listener the document is the same and nothing is told.
  print("TABLE - Long Tags", Table);
  EXPECT_EQ(Heard.Heard, "ADT_A01 Born 0 201803231557-0700;");
}

TEST(QVMconverterRegistry, NamesAliasesAndKinds) {
  EXPECT_EQ(QVXcountOfConverter(), 6u);
  EXPECT_STREQ(QVXconverterName(5), "STANDARD VER 2");
  EXPECT_STREQ(QVMxmlHl7Converter::getConverter("X12")->name(), "Full Tree Validation");
  EXPECT_STREQ(QVXconverterNameFromAlias("STANDARD 2.4"), "EXPANDED 2.4");
  EXPECT_EQ(QVXconverterNameFromAlias("table"), nullptr);
  EXPECT_TRUE(QVMxmlHl7Converter::getConverter("TABLE - Long Tags")->isTable());
  EXPECT_FALSE(QVMxmlHl7Converter::getConverter("EXPANDED")->isStandard());
  EXPECT_STREQ(TSTraised([&] { QVMxmlHl7Converter::getConverter("table"); }).description().c_str(),
               "Unknown XML converter table requested.");
}

}  // namespace
