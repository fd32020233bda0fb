// The whole current road through the engine's entry points: messages of the example log
// fill tables with the values and states their fields give, failures carry the diagnostic
// report with the short text apart, and the context serves the next message after a failure.
#include <gtest/gtest.h>

#include <memory>

#include "COLerror.h"
#include "QVJparse.h"

#include "../support/TSTexampleEngine.h"

namespace {

class QVJparse : public TSTexampleEngineTest {
protected:
  unsigned parse(const char* Message) { return TSTexampleEngineTest::parse(Message, Table); }
  // The short text of a failed parse.
  std::string failure(const char* Message) {
    try {
      parse(Message);
    } catch (const COLerror& Error) {
      return COLerror(Error).parameter("PlainError").c_str();
    }
    return "no error";
  }
};

const char Admission[] =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240301080000||ADT^A01|MSG01000|P|2.4\r"
    "EVN|A01|20240301080000\r"
    "PID|1||MR410000^^^NORTHGATE^MR||Okonkwo^Amara^^^||19500101|\"\"|||12 Larch Lane^^Mill\\T\\brook^NY\r"
    "PV1|1|I|WARD3^100^A^NORTHGATE||||D1042^Varga^Ilona\r";

TEST_F(QVJparse, AnAdmissionFillsItsTablesWithValuesAndStates) {
  EXPECT_EQ(Engine->schema().message(parse(Admission))->name(), "ADT_A01");
  ASSERT_EQ(Table.countOfRow(), 1u);
  QVMtableInternal& Event = sub("Event", Table);
  ASSERT_EQ(Event.countOfRow(), 1u);
  EXPECT_EQ(Event.getString(0, 0), "A01");
  EXPECT_EQ(Event.getDateTime(1, 0).format("%Y-%m-%d %H:%M"), "2024-03-01 08:00");
  QVMtableInternal& Patient = sub("Patient", Table);
  EXPECT_EQ(Patient.getString(Patient.columnIndex("MRN"), 0), "MR410000");
  EXPECT_EQ(Patient.getString(Patient.columnIndex("FamilyName"), 0), "Okonkwo");
  // Explicit null, escaped text unescaped, a field the message leaves out.
  EXPECT_EQ(Patient.state(Patient.columnIndex("Sex"), 0), QVMtableStatePresentButNull);
  EXPECT_EQ(Patient.getString(Patient.columnIndex("City"), 0), "Mill&brook");
  EXPECT_EQ(Patient.getDateTime(Patient.columnIndex("BirthDate"), 0).format("%Y-%m-%d"), "1950-01-01");
  QVMtableInternal& Visit = sub("Visit", Table);
  EXPECT_EQ(Visit.getString(Visit.columnIndex("AttendingName"), 0), "Varga");
  EXPECT_EQ(Visit.state(Visit.columnIndex("PatientClass"), 0), QVMtableStateValue);
  EXPECT_EQ(Engine->parseContext().qvpParseContext().lastFlatWire(), Admission);
}

TEST_F(QVJparse, ResultsBecomeOneRowEachWithInvalidAndNullCells) {
  // Without strict checks a value that does not fit its column is kept as an invalid cell.
  Engine->schema().setRejectBadSegmentGrammar(false);
  EXPECT_EQ(failure("MSH|^~\\&|LAB|NORTHGATE|ENGINE|NORTHGATE|20240303101400||ORU^R01|MSG01002|P|2.4\r"
        "PID|1||MR410074^^^NORTHGATE^MR||Marchetti^Giulia\r"
        "OBR|1|ORD07006|LAB52006|BMP^Basic metabolic panel^L|||20240303101400\r"
        "OBX|1|NM|NA^Sodium^L||129|mmol/L|135-145|L|||F\r"
        "OBX|x2|NM|HGB^Hemoglobin^L||10.0|g/dL|||||F\r"), "no error");
  // The group of an order holds the order's table and its results.
  QVMtableInternal& Group = sub("Orders", Table);
  QVMtableInternal& Orders = sub("Orders", Group);
  QVMtableInternal& Results = sub("Results", Group);
  ASSERT_EQ(Results.countOfRow(), 2u);
  const unsigned SetId = Results.columnIndex("SetId");
  EXPECT_EQ(Results.getInteger(SetId, 0), 1);
  // Text that is no integer survives as an invalid cell.
  EXPECT_EQ(Results.state(SetId, 1), QVMtableStateInvalid);
  EXPECT_EQ(Results.getString(Results.columnIndex("Units"), 1), "g/dL");
  EXPECT_EQ(Results.state(Results.columnIndex("ReferenceRange"), 1), QVMtableStateNull);
  EXPECT_EQ(Results.getString(Results.columnIndex("Status"), 1), "F");
  EXPECT_EQ(Orders.getString(Orders.columnIndex("ServiceText"), 0), "Basic metabolic panel");
  Engine->schema().setRejectBadSegmentGrammar(true);
}

TEST_F(QVJparse, FailuresCarryTheReportAndTheContextServesTheNextMessage) {
  try {
    parse("MSH|^~\\&|||||||XYZ^A99\r");
    FAIL();
  } catch (const COLerror& Error) {
    const std::string Report = Error.description().c_str();
    EXPECT_EQ(Report.rfind("Error Code: 0x80002001\r\nDescription: Message type is unidentified.", 0), 0u) << Report;
    EXPECT_NE(Report.find("Message with linefeeds added:\r\n\r\nMSH|^~\\&|||||||XYZ^A99\r\n"), std::string::npos);
    EXPECT_NE(Report.find("Hex Dump of message data:"), std::string::npos);
    EXPECT_EQ(Error.code(), 0x80002001u);
  }
  // Headers here are cut short, so the content checks are off for the rest.
  Engine->schema().setRejectBadSegmentGrammar(false);
  EXPECT_EQ(failure("MSH|^~\\&|||||||ADT^A01\rPID|1\rPV1|1\r"),
            "The segment/group 'Message.EVN' was required but not present in the message 'ADT_A01'.");
  EXPECT_EQ(failure("MSH|^~\\&|||||||ORU^R01\rPID|1||MR4100\rOBR|1\rOBX|1|NM|A||1|||||X\r"),
            "A validation rule has failed. The field OBX.ObservationResultStatus has failed the regular expression "
            "^[FCP]$");
  EXPECT_EQ(Engine->schema().message(parse(Admission))->name(), "ADT_A01");
  Engine->schema().setRejectBadSegmentGrammar(true);
}

TEST_F(QVJparse, TheLegacyTableTranslationUsesLongTags) {
  const std::string Xml = QVJhl7ToXmlLegacyTableFormat(Engine->parseContext(), Admission);
  EXPECT_EQ(Xml.rfind("<Quovane_Import>\r\n<ADT_A01>\r\n   <Event>\r\n      <Event.EventType>A01</Event.EventType>\r\n", 0),
            0u)
      << Xml;
  // The configured dialect of the example is short tags.
  const std::string Short = QVJhl7ToXml(Engine->parseContext(), Admission);
  EXPECT_NE(Short.find("      <City>Mill&amp;brook</City>\r\n"), std::string::npos) << Short;
}

}  // namespace
