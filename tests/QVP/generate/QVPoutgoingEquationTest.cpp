// Outgoing column and field equations during message generation: what they are handed, how
// their results change the generated text, and how their faults are reported.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableDefinitionInternal.h"
#include "QVPexampleMessages.h"

namespace {

class QVPoutgoingEquation : public QVPexampleEngineTest {
protected:
  // Every equation set by a test goes when it ends, so that the next one starts clean.
  void TearDown() override {
    for (LANfunction* Function : Touched) Function->setCode("");
  }

  unsigned parse(const char* Message) { return QVPexampleEngineTest::parse(Message, Table); }
  std::string generate(unsigned Index) {
    try {
      return QVPexampleEngineTest::generate(Index, Table);
    } catch (const COLerror& Error) {
      return "error: " + Error.description().str();
    }
  }
  void column(const char* TableName, const char* Column, const char* Code) {
    QVMengineInternal& Schema = Engine->schema();
    QVMtableDefinitionInternal& Definition = *Schema.table(Schema.tableByName(TableName));
    LANfunction& Function = Definition.outgoingFunction(Definition.columnIndex(Column));
    Function.setCode(Code);
    Touched.push_back(&Function);
  }
  void field(const char* Segment, unsigned Field, const char* Code) {
    QVMengineInternal& Schema = Engine->schema();
    LANfunction& Function = Schema.segment(Schema.segmentByName(Segment))->fieldOutgoingFunction(Field);
    Function.setCode(Code);
    Touched.push_back(&Function);
  }
  static std::string replaced(std::string Text, const std::string& From, const std::string& To) {
    Text.replace(Text.find(From), From.size(), To);
    return Text;
  }

  std::vector<LANfunction*> Touched;
};

// --- column equations

TEST_F(QVPoutgoingEquation, ColumnEquationsChangeTheValuesTheirCellsWrite) {
  const unsigned Index = parse(Admission);
  column("Patient", "FamilyName", "value = value.upper()\n");
  EXPECT_EQ(generate(Index), replaced(AdmissionBack, "Okonkwo", "OKONKWO"));
  // The table itself keeps what it held.
  QVMtableInternal& Patient = Table.subTable(0, Table.subTableNameToIndex("Patient"));
  EXPECT_EQ(Patient.getString(Patient.columnIndex("FamilyName"), 0), "Okonkwo");

  // A null cell runs its equation too, and may get a value; the explicit null is asked for by its text.
  Patient.setNull(Patient.columnIndex("Sex"), 0);
  column("Patient", "Sex", "value = value or 'U'\n");
  EXPECT_EQ(generate(Index), replaced(replaced(AdmissionBack, "Okonkwo", "OKONKWO"), "|F|", "|U|"));
  column("Patient", "Sex", "value = '\"\"'\n");
  EXPECT_EQ(generate(Index), replaced(replaced(AdmissionBack, "Okonkwo", "OKONKWO"), "|F|", "|\"\"|"));
}

TEST_F(QVPoutgoingEquation, NumericColumnsHandTheirNumbersToTheScript) {
  const unsigned Index = parse(Results);
  column("Results", "SetId", "value = value * 10 + 1\n");
  const std::string Text = generate(Index);
  EXPECT_NE(Text.find("OBX|11|NM|NA^Sodium||129"), std::string::npos) << Text;
  EXPECT_NE(Text.find("OBX|21|NM|HGB^Hemoglobin||10.0"), std::string::npos) << Text;
  // A date-time is a number to the script: one day later.
  const unsigned Admitted = parse(Admission);
  column("Patient", "BirthDate", "value = value + 1.0\n");
  EXPECT_EQ(generate(Admitted), replaced(AdmissionBack, "19500101000000", "19500102000000"));
}

TEST_F(QVPoutgoingEquation, AFailingColumnEquationNamesColumnRowAndPythonError) {
  const unsigned Index = parse(Admission);
  column("Patient", "City", "def fail():\n    raise ValueError('no city')\nfail()\n");
  std::string Text = generate(Index);
  EXPECT_EQ(Text.rfind("error: The outgoing table equation of Patient.City (row 1) failed:\r\n", 0), 0u) << Text;
  EXPECT_NE(Text.find("ValueError: no city"), std::string::npos) << Text;
  EXPECT_NE(Text.find("in fail"), std::string::npos) << Text;  // the traceback
  column("Patient", "City", "value = 5\n");
  Text = generate(Index);
  EXPECT_NE(Text.find("Patient.City (row 1) failed:\r\nTypeError"), std::string::npos) << Text;
  // One that does not compile says so when it would run.
  column("Patient", "City", "value = (\n");
  Text = generate(Index);
  EXPECT_NE(Text.find("Patient.City (row 1) failed:"), std::string::npos) << Text;
  EXPECT_NE(Text.find("SyntaxError"), std::string::npos) << Text;
  column("Patient", "City", "");
  EXPECT_EQ(generate(Index), AdmissionBack);
}

// --- field equations

TEST_F(QVPoutgoingEquation, FieldEquationsRewriteTheGeneratedField) {
  const unsigned Index = parse(Admission);
  // A field the table leaves empty gets a value; one it fills sees the first value and the others.
  field("PID", 0, "value = '1'\n");
  field("PID", 4, "value = value.lower() + '-' + subfield(environment, 1, 0)\n");
  EXPECT_EQ(generate(Index), replaced(AdmissionBack, "PID|||MR410000||Okonkwo^Amara",
                                      "PID|1||MR410000||okonkwo-Amara^Amara"));
  // Components and repeats written through the field object reach the text.
  field("PID", 4, "field.subfield(2).value = 'Q'\nfield.repeat_field(1).value = 'Alias'\n");
  EXPECT_EQ(generate(Index), replaced(AdmissionBack, "PID|||MR410000||Okonkwo^Amara",
                                      "PID|1||MR410000||Okonkwo^Amara^Q~Alias"));
  field("PID", 4, "clearfield(environment)\n");
  EXPECT_EQ(generate(Index), replaced(AdmissionBack, "PID|||MR410000||Okonkwo^Amara", "PID|1||MR410000||"));
}

TEST_F(QVPoutgoingEquation, AFieldBeyondWhatTheTableReachesIsMadeByItsEquation) {
  const unsigned Index = parse(Admission);
  QVMengineInternal& Schema = Engine->schema();
  const QVMsegmentGrammar& Grammar = *Schema.segment(Schema.segmentByName("EVN"));
  // The last field of the grammar: the typed segment stops before it.
  const unsigned Last = Grammar.countOfField() - 1;
  field("EVN", Last, "value = 'tail'\n");
  const std::string Text = generate(Index);
  const std::string Expected = "EVN|A01|20240301080000+0000" + std::string(Last - 1, '|') + "tail\r";
  EXPECT_NE(Text.find(Expected), std::string::npos) << Text;
}

TEST_F(QVPoutgoingEquation, AFailingFieldEquationNamesFieldSegmentAndPythonError) {
  const unsigned Index = parse(Admission);
  field("PID", 7, "raise KeyError('sex')\n");
  std::string Text = generate(Index);
  EXPECT_EQ(Text.rfind("error: The outgoing field equation of field 8 'AdministrativeSex' of segment PID failed:\r\n", 0), 0u)
      << Text;
  EXPECT_NE(Text.find("KeyError: 'sex'"), std::string::npos) << Text;
  EXPECT_NE(Text.find("Traceback"), std::string::npos) << Text;
  field("PID", 7, "value = None\n");
  EXPECT_NE(generate(Index).find("TypeError"), std::string::npos);
  field("PID", 7, "");
  EXPECT_EQ(generate(Index), AdmissionBack);
}

}  // namespace
