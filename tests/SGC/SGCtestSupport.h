// A small definition built in memory (a header and a patient segment with numbers, dates,
// an enumeration, nested composites, limits and required parts), and the way from a
// segment's text to its faults and the report a person would read.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "COLerror.h"
#include "QVMcompositeGrammar.h"
#include "QVMdateTimeGrammar.h"
#include "QVMenumerationGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SGCcheck.h"
#include "SGCerror.h"
#include "SGCerrorPrepare.h"
#include "SGPparser.h"

namespace SGCtest {

using Parameters = std::map<std::string, std::string>;

inline Parameters parametersOf(const COLerror& error) {
  Parameters Result;
  for (COLerror::Cursor c = error.firstParameter(); c != COLerror::EndCursor; c = error.nextParameter(c))
    Result[error.keyInPlace(c).str()] = error.parameterInPlace(c).str();
  return Result;
}

// The message text must outlive the list: values point into it.
struct Message {
  std::string Text;
  SGMsegmentList List;
  SGMseparatorCharacters Separators;

  // `segments` follows a plain header; with `whole` the text is the message itself.
  explicit Message(const std::string& segments, bool whole = false)
      : Text(whole ? segments + "\r" : "MSH|^~\\&|A\r" + segments + "\r") {
    SGPparser Parser;
    const SGPparseResult Result = Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions());
    EXPECT_EQ(Result, SGPparsed);
  }
  SGMsegment& segment(unsigned index) const { return List.segment(index); }
};

// The report of a checked segment.
struct Report {
  size_t CountOfError = 0;
  std::string Text;
  uint32_t Code = 0;
  Parameters Values;
};

class Definition {
public:
  Definition() {
    Dtm.setName("DTM");
    for (auto Item : {QVMdateTimeGrammar::MaskYear, QVMdateTimeGrammar::MaskMonth, QVMdateTimeGrammar::MaskDay,
                      QVMdateTimeGrammar::MaskHour, QVMdateTimeGrammar::MaskMinute, QVMdateTimeGrammar::MaskSecond})
      QVMdateTimeGrammarAddMaskItem(Dtm, Item);

    simple(St, "ST", "Value", QVMstringType);
    simple(St10, "ST10", "Value", QVMstringType);
    limit(St10, 0, 10);
    simple(St3, "ST3", "Value", QVMstringType);
    limit(St3, 0, 3);
    simple(Nm, "NM", "Value", QVMdoubleType);
    simple(Si, "SI", "Value", QVMintegerType);
    Ts.setName("TS");
    Ts.setFieldName(QVMcompositeGrammarAddField(Ts), "Time");
    Ts.setFieldDateTimeGrammar(0, &Dtm);
    SexValues.setName("Sex");
    for (const char* Item : {"F", "M", "U"}) {
      SexValues.addEnumItem();
      SexValues.setEnumItem(SexValues.countOfEnumItem() - 1, Item);
    }
    Sex.setName("SEX");
    Sex.setFieldName(QVMcompositeGrammarAddField(Sex), "Code");
    Sex.setFieldEnumerationGrammar(0, &SexValues);

    Hd.setName("HD");
    field(Hd, "Namespace ID", QVMstringType);
    Hd.setFieldIsRequired(0, true);
    field(Hd, "Universal ID", QVMstringType);
    limit(Hd, 1, 4);
    field(Hd, "Universal ID Type", QVMintegerType);

    Cx.setName("CX");
    field(Cx, "ID", QVMstringType);
    Cx.setFieldIsRequired(0, true);
    limit(Cx, 0, 5);
    field(Cx, "Check Digit", QVMintegerType);
    field(Cx, "Check Digit Scheme", QVMstringType);
    Cx.setFieldName(QVMcompositeGrammarAddField(Cx), "Authority");
    Cx.setFieldCompositeType(3, &Hd);
    Cx.setFieldName(QVMcompositeGrammarAddField(Cx), "Effective");
    Cx.setFieldCompositeType(4, &Ts);

    Pid.setName("PID");
    add(Pid, "Set ID", Si);
    add(Pid, "Patient ID", Cx);
    Pid.setIsFieldRequired(1, true);
    Pid.setFieldMaxRepeat(1, 1);
    add(Pid, "Name", St10);
    Pid.setIsFieldRequired(2, true);
    add(Pid, "Birth Date", Ts);
    add(Pid, "Sex", Sex);
    add(Pid, "Weight", Nm);
    add(Pid, "Comment", St);
    Pid.setFieldMaxRepeat(6, 0xFFFFFFFF);
    add(Pid, "Account", St);
    Pid.setIsFieldRequired(7, true);

    Msh.setName("MSH");
    add(Msh, "Field Separator", St);
    add(Msh, "Encoding Characters", St3);
    add(Msh, "Sending Application", St);
    add(Msh, "Date", Ts);
  }
  Definition(const Definition&) = delete;
  Definition& operator=(const Definition&) = delete;

  // The faults of segment 1 of a message "MSH|...\r" + segment.
  Report check(const std::string& segment) const {
    Message Parsed(segment);
    return report(Parsed.segment(1), 1, Pid, Parsed.Separators);
  }

  static Report report(const SGMsegment& segment, unsigned index, const QVMsegmentGrammar& grammar,
                       const SGMseparatorCharacters& separators) {
    SGCerrorList Errors;
    SGCcheckSegment(segment, index, grammar, Errors);
    return reportOf(segment, separators, Errors);
  }

  static Report reportOf(const SGMsegment& segment, const SGMseparatorCharacters& separators, SGCerrorList& errors) {
    Report Result;
    Result.CountOfError = errors.size();
    if (errors.empty()) return Result;
    COLerror Error("", 0);
    QVJstrictGrammarErrorPrepare(Error, segment, separators, errors);
    Result.Text = Error.description().str();
    Result.Code = Error.code();
    Result.Values = parametersOf(Error);
    return Result;
  }

  QVMdateTimeGrammar Dtm;
  QVMenumerationGrammar SexValues;
  QVMcompositeGrammar St, St10, St3, Nm, Si, Ts, Sex, Hd, Cx;
  QVMsegmentGrammar Pid, Msh;

private:
  static void simple(QVMcompositeGrammar& composite, const char* name, const char* fieldName, QVMdataType type) {
    composite.setName(name);
    field(composite, fieldName, type);
  }
  static void field(QVMcompositeGrammar& composite, const char* name, QVMdataType type) {
    const uint32_t Index = QVMcompositeGrammarAddField(composite);
    composite.setFieldName(Index, name);
    composite.setFieldDataType(Index, type);
  }
  static void limit(QVMcompositeGrammar& composite, uint32_t index, uint32_t length) {
    composite.setFieldIsLengthRestricted(index, true);
    composite.setFieldMaxLength(index, length);
  }
  static void add(QVMsegmentGrammar& segment, const char* name, QVMcompositeGrammar& type) {
    const uint32_t Index = QVMsegmentGrammarAddFieldWithoutInitialization(segment);
    segment.setFieldName(Index, name);
    segment.setFieldType(Index, &type);
  }
};

}  // namespace SGCtest
