// Cells of a table instance as step cases (tests/support/TSTsteps.h), tests/data/QVM/cells.test:
// an empty Patient table of tests/support/TSTtableDefinition.h, columns 0 name (string), 1 age
// (integer), 2 weight (double), 3 born (date-time), 4 kind (enumeration).
//
//   row -> its index | rows | empty (refuses a table with data)
//   refill: the table cleared and made again for the next message, its cells kept for reuse
//   set C R string|integer|double VALUE | get C R string|integer|double | text C R (the cell as text)
//   state C R -> null|value|explicit null|invalid | null C R | explicitnull C R | invalid C R [TEXT]
//   kept C R (the text an invalid cell keeps)
//   date C R Y M D h m s|null|status N: the cell's date-time object changed in place
#include <gtest/gtest.h>

#include "QVMtableInternal.h"

#include "../../support/TSTsteps.h"
#include "../../support/TSTtableDefinition.h"

namespace {

class Cells : public TSTstepModel {
public:
  Cells() : Grammar(TSTbuildTableDefinition(Engine).patient) { Patient.makeEmptyTable(Grammar); }

private:
  std::string step() override {
    const std::string& Verb = word(0);
    if (Verb == "row") return std::to_string(Patient.addRow());
    if (Verb == "rows") return std::to_string(Patient.countOfRow());
    if (Verb == "empty") return Patient.checkIfEmpty(), "";
    if (Verb == "refill") return Patient.clear(), Patient.makeEmptyTable(Grammar), "";
    const unsigned C = index(1), R = Words.size() > 2 ? index(2) : 0;
    if (Verb == "set" && word(3) == "string") return Patient.setString(C, R, rest(4).c_str()), "";
    if (Verb == "set" && word(3) == "integer") return Patient.setInteger(C, R, static_cast<int32_t>(integer(4))), "";
    if (Verb == "set" && word(3) == "double") return Patient.setDouble(C, R, real(4)), "";
    if (Verb == "get" && word(3) == "string") return Patient.getString(C, R).str();
    if (Verb == "get" && word(3) == "integer") return std::to_string(Patient.getInteger(C, R));
    if (Verb == "get" && word(3) == "double") return std::to_string(Patient.getDouble(C, R));
    if (Verb == "text") return Patient.getStringValue(C, R).str();
    if (Verb == "kept") return Patient.invalidText(C, R).str();
    if (Verb == "state") {
      static const char* const Names[] = {"value", "explicit null", "null", "invalid"};
      return Names[Patient.state(C, R)];
    }
    if (Verb == "null") return Patient.setNull(C, R), "";
    if (Verb == "explicitnull") return Patient.setPresentButNull(C, R), "";
    if (Verb == "invalid")
      return Words.size() > 3 ? Patient.setInvalid(C, R, rest(3).c_str()) : Patient.setInvalid(C, R), "";
    if (Verb == "date") {
      QVMdateTimeInternal& Born = Patient.getDateTime(C, R);
      if (word(3) == "null") return Born.setNull(), "";
      if (word(3) == "status") return Born.setStatus(static_cast<COLdateTime::DateTimeStatus>(integer(4))), "";
      auto n = [&](size_t At) { return static_cast<int>(integer(At)); };
      return Born.setDateTime(n(3), n(4), n(5), n(6), n(7), n(8)), "";
    }
    unknown();
  }

  QVMengineInternal Engine;
  QVMtableGrammarInternal* Grammar;
  QVMtableInternal Patient;
};

class QVMtableCellsData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVMtableCellsData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Cells>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMtableCellsData, ::testing::ValuesIn(TSTreadDataFile("QVM/cells.test")),
                         TSTdataParamName);

}  // namespace
