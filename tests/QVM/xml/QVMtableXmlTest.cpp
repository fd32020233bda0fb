// Table XML: a filled table printed in both tag forms exactly, and read back into the same
// table; the reader's leniencies and its refusals.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"
#include "QVXconverter.h"

#include "../../support/TSTraised.h"
#include "../../support/TSTtoolRun.h"

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

TEST_F(QVMtableXml, PrintsRowsNestedWithoutEmptyColumnsInBothTagForms) {
  fill();
  EXPECT_EQ(print("TABLE - Short Tags", Table), ShortTags);
  const std::string Long = print("TABLE - Long Tags", Table);
  EXPECT_NE(Long.find("      <Patient.Id>17</Patient.Id>\r\n"), std::string::npos) << Long;
  EXPECT_NE(Long.find("         <Visit.Nr>3</Visit.Nr>\r\n"), std::string::npos) << Long;
  // Text is escaped; a table without rows prints only the document element.
  Table.subTable(0, 0).setString(1, 0, "A&B <x>");
  EXPECT_NE(print("TABLE - Short Tags", Table).find("<Name>A&amp;B &lt;x&gt;</Name>"), std::string::npos);
  QVMtableInternal Empty;
  Empty.makeEmptyTable(&Message->tableGrammar());
  EXPECT_EQ(print("TABLE - Short Tags", Empty), "<Quovane_Import>\r\n</Quovane_Import>\r\n");
}

TEST_F(QVMtableXml, ReadingThePrintedXmlGivesTheSameTable) {
  fill();
  QVMtableInternal Copy;
  EXPECT_EQ(read(ShortTags, Copy), 0u);
  EXPECT_EQ(print("TABLE - Short Tags", Copy), ShortTags);
  EXPECT_EQ(Copy.subTable(0, 0).state(1, 0), QVMtableStateNull);
  EXPECT_EQ(Copy.subTable(0, 0).getDateTime(2, 0).format("%Y-%m-%d %H"), "2004-03-05 12");
}

TEST_F(QVMtableXml, EarlyYearsKeepFourDigitsSoTheyReadBack) {
  fill();
  Table.subTable(0, 0).setDateTime(2, 0, COLdateTime(978, 3, 11, 0, 0, 0));
  const std::string Xml = print("TABLE - Short Tags", Table);
  EXPECT_NE(Xml.find("<Born>0978-03-11T00:00:00</Born>"), std::string::npos) << Xml;
  QVMtableInternal Copy;
  read(Xml, Copy);
  EXPECT_EQ(print("TABLE - Short Tags", Copy), Xml);
}

TEST_F(QVMtableXml, ReaderIsLenientAboutNamesAndBlanks) {
  QVMtableInternal Into;
  read("<Anything a='1'><ADT_A01 x='y'><Patient><Abcdefg.Id>5</Abcdefg.Id><Name>   </Name>"
       "<Born>2004-03-05</Born></Patient><Patient><Patient.Id>6</Patient.Id></Patient>"
       "<ADT_A01.VISIT></ADT_A01.VISIT></ADT_A01></Anything>",
       Into);
  QVMtableInternal& Patients = Into.subTable(0, 0);
  ASSERT_EQ(Patients.countOfRow(), 2u);
  EXPECT_EQ(Patients.getInteger(0, 0), 5);
  EXPECT_EQ(Patients.getInteger(0, 1), 6);
  EXPECT_EQ(Patients.state(1, 0), QVMtableStateNull);
  EXPECT_EQ(Patients.getDateTime(2, 0).format("%H:%M:%S"), "00:00:00");
}

// Expat hands over the text between entity references and line ends as chunks of their own; a
// blank chunk inside a value is part of it, or "< >" would come back as "<>".
TEST_F(QVMtableXml, BlanksBetweenEscapesAndLineEndsStayInTheValue) {
  fill();
  for (const char* Value : {"< >", "a &  & b", " x\n y ", "\t<\t>\t"}) {
    Table.subTable(0, 0).setString(1, 0, Value);
    const std::string Printed = print("TABLE - Short Tags", Table);
    QVMtableInternal Copy;
    read(Printed, Copy);
    EXPECT_EQ(std::string(Copy.subTable(0, 0).getString(1, 0).c_str()), Value) << Printed;
    EXPECT_EQ(print("TABLE - Short Tags", Copy), Printed);
  }
}

// A row whose cells are all empty is printed as an element of its own; it must come back as a row,
// or the segment it stands for is lost on the way from XML to a message, and a nest of such rows
// needs as many rounds to settle as it is deep.
TEST_F(QVMtableXml, EmptyRowsAndGroupsReadBackAsRowsAndPrintTheSame) {
  const unsigned Row = Table.addRow();
  Table.subTable(Row, 0).addRow();  // a patient with no values
  QVMtableInternal& Group = Table.subTable(Row, 1);
  Group.addRow();  // a visit group whose visit table has no row at all
  const std::string Printed = print("TABLE - Short Tags", Table);
  EXPECT_EQ(Printed,
            "<Quovane_Import>\r\n<ADT_A01>\r\n   <Patient>\r\n   </Patient>\r\n   <ADT_A01.VISIT>\r\n"
            "   </ADT_A01.VISIT>\r\n</ADT_A01>\r\n</Quovane_Import>\r\n");
  QVMtableInternal Copy;
  read(Printed, Copy);
  ASSERT_EQ(Copy.countOfRow(), 1u);
  EXPECT_EQ(Copy.subTable(0, 0).countOfRow(), 1u);
  EXPECT_EQ(Copy.subTable(0, 0).state(0, 0), QVMtableStateNull);
  ASSERT_EQ(Copy.subTable(0, 1).countOfRow(), 1u);
  EXPECT_EQ(Copy.subTable(0, 1).subTable(0, 0).countOfRow(), 0u);
  EXPECT_EQ(print("TABLE - Short Tags", Copy), Printed);

  // A message element with nothing inside is still one message row.
  QVMtableInternal Bare;
  read("<I><ADT_A01/></I>", Bare);
  EXPECT_EQ(Bare.countOfRow(), 1u);
  EXPECT_EQ(print("TABLE - Long Tags", Bare), "<Quovane_Import>\r\n<ADT_A01>\r\n</ADT_A01>\r\n</Quovane_Import>\r\n");
}

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

TEST_F(QVMtableXml, ReaderRefusesWhatTheDefinitionDoesNotHave) {
  auto failure = [&](const std::string& Xml) {
    QVMtableInternal Into;
    try {
      read(Xml, Into);
    } catch (const COLerror& Error) {
      return std::string(Error.description().c_str());
    }
    return std::string("no error");
  };
  EXPECT_EQ(failure("<I><ORU_R01/></I>"), "The message ORU_R01 is unknown.");
  EXPECT_EQ(failure("<I><ADT_A01><Patient><Pat.Id>1</Pat.Id></Patient></ADT_A01></I>"),
            "Pat.Id is not defined as a column of table Patient");
  EXPECT_EQ(failure("<I><ADT_A01><Orders/></ADT_A01></I>"), "The table/group Orders is not present in the message ADT_A01");
  EXPECT_EQ(failure("<I><ADT_A01><Patient><Born>2004-03-05T12</Born></Patient></ADT_A01></I>"),
            "2004-03-05T12 is not a valid date/time format.");
  // Dates the calendar cannot hold are refused rather than stored as another day or lost.
  for (const char* Date : {"2004-13-05", "2003-02-29T00:00:00", "-042302-01T08:00:00", "2004-03-05T24:00:00",
                           "2004-03-05T12:60:00", "0099-12-31"})
    EXPECT_EQ(failure(std::string("<I><ADT_A01><Patient><Born>") + Date + "</Born></Patient></ADT_A01></I>"),
              std::string(Date) + " is not a valid date/time format.");
}

// Values are 8-bit text, each byte the Latin-1 character of its code.  The document must be UTF-8
// that any XML reader takes without a declaration, and reading it must give the bytes back.
TEST_F(QVMtableXml, EightBitValuesGoOutAsUtf8ThatXmllintAcceptsAndComeBackByteForByte) {
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

  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "xmllint is not installed";
  const std::string Path = ::testing::TempDir() + "QVMtableXmlEveryByte.xml";
  std::ofstream(Path, std::ios::binary) << Xml;
  const TSTtoolRun Lint = TSTrunShell("xmllint --noout " + Path);
  EXPECT_EQ(Lint.status, 0) << Lint.output;
  EXPECT_EQ(Lint.output, "");
  std::remove(Path.c_str());
}

TEST_F(QVMtableXml, ReaderRefusesACharacterBeyondLatin1AtItsPlace) {
  QVMtableInternal Into;
  const COLerror Error = TSTraised([&] {
    read("<I>\n<ADT_A01>\n<Patient>\n  <Name>Zde\xC5\x88ka</Name>\n</Patient>\n</ADT_A01>\n</I>", Into);
  });
  EXPECT_EQ(std::string(Error.description().c_str()),
            "Unable to transcode stream at line 4 column 12: the character U+0148 is beyond U+00FF, the last "
            "character that 8-bit (Latin-1) text can hold");
  EXPECT_EQ(Error.code(), 0x80000100u);
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
