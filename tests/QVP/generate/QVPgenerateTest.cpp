// Message generation below what the cases of tests/data/QVJ reach: tables the host hands in,
// the date-time texts, flat text by configuration, and the faults the segment and composite
// generators record.
#include <gtest/gtest.h>

#include <cstdio>

#include "COLerror.h"
#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMdateTimeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageFill.h"
#include "QVMsegmentGenerator.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPcompositeGenerator.h"
#include "QVPflatGen.h"
#include "SCCescaper.h"
#include "QVPexampleMessages.h"

#include "../../support/TSTraised.h"

namespace {

using QVPgenerate = QVPexampleEngineTest;

// The table XML of tests/data/QVJ names its message; a table handed in by the host may be of
// another, and an outgoing equation changes what is written, never the table.
TEST_F(QVPgenerate, ATableOfAnotherMessageIsRefusedAndEquationsLeaveTheTableAlone) {
  const unsigned Index = parse(Admission, Table);
  QVMengineInternal& Schema = Engine->schema();
  QVMtableDefinitionInternal& Patient = *Schema.table(Schema.tableByName("Patient"));
  LANfunction& Equation = Patient.outgoingFunction(Patient.columnIndex("FamilyName"));
  Equation.setCode("value = value.upper()\n");
  EXPECT_NE(generate(Index, Table).find("|OKONKWO^"), std::string::npos);
  Equation.setCode("");
  QVMtableInternal& Cells = sub("Patient", Table);
  EXPECT_EQ(Cells.getString(Cells.columnIndex("FamilyName"), 0), "Okonkwo");
  ASSERT_NE(parse(Results, Table), Index);
  EXPECT_EQ(TSTerrorText([&] { generate(Index, Table); }), "Table does not match required structure for this message.");
}

// --- the date-time texts

QVMdateTimeGrammar fullMask(bool Required) {
  QVMdateTimeGrammar Grammar;
  for (auto Item : {QVMdateTimeGrammar::MaskYear, QVMdateTimeGrammar::MaskMonth, QVMdateTimeGrammar::MaskDay,
                    QVMdateTimeGrammar::MaskHour, QVMdateTimeGrammar::MaskMinute, QVMdateTimeGrammar::MaskSecond,
                    QVMdateTimeGrammar::MaskFraction, QVMdateTimeGrammar::MaskTimeZone})
    QVMdateTimeGrammarAddMaskItem(Grammar, Item);
  Grammar.setFieldsRequired(Required);
  return Grammar;
}

TEST(QVPdateTimeText, EveryMaskItemHasItsFormat) {
  COLstring Text;
  COLdateTime Value(2024, 3, 7, 9, 5, 4);
  QVPdateTimeGrammarConvertDateTimeToString(fullMask(false), Value, Text);
  EXPECT_EQ(Text.str(), "20240307090504+0000");
  QVPdateTimeGrammarConvertDateTimeToString(fullMask(true), Value, Text);
  EXPECT_EQ(Text.str(), "20240307090504.0000+0000");
  Value.setSecondFraction(0.25);
  Value.setZone(-5);
  QVPdateTimeGrammarConvertDateTimeToString(fullMask(false), Value, Text);
  EXPECT_EQ(Text.str(), "20240307090504.2500-0500");
  QVMdateTimeGrammar DateOnly;
  QVMdateTimeGrammarAddMaskItem(DateOnly, QVMdateTimeGrammar::MaskDay);
  QVMdateTimeGrammarAddMaskItem(DateOnly, QVMdateTimeGrammar::MaskMonth);
  QVPdateTimeGrammarConvertDateTimeToString(DateOnly, Value, Text);
  EXPECT_EQ(Text.str(), "0703");
  QVPdateTimeGrammarConvertDateTimeToString(fullMask(true), COLdateTime(0.0), Text);
  EXPECT_EQ(Text.str(), "");
}

// The digits are written by hand: across the calendar, a date-time reads the same as the
// printf formats make of its accessors, padding, signs and three-digit years included.
TEST(QVPdateTimeText, TheDigitsMatchThePrintfFormatsAcrossTheCalendar) {
  const QVMdateTimeGrammar Mask = fullMask(true);
  COLstring Text;
  const int Zones[] = {-12, -5, 0, 3, 14};
  unsigned Checked = 0;
  for (double Day = COLdateTime::MinimumDate; Day <= COLdateTime::MaximumDate; Day += 3652.77) {
    COLdateTime Value(Day + 0.73);
    Value.setZone(static_cast<int16_t>(Zones[Checked % 5]));
    Value.setSecondFraction(Checked % 3 ? 0.0 : 0.0125 * (Checked % 80));
    char Expected[64];
    std::snprintf(Expected, sizeof Expected, "%04i%02i%02i%02i%02i%02i.%04i%+03i00", Value.year(), Value.month(),
                  Value.day(), Value.hour(), Value.minute(), Value.second(),
                  static_cast<int>(Value.secondFraction() * 10000), Value.zone());
    QVPdateTimeGrammarConvertDateTimeToString(Mask, Value, Text);
    ASSERT_EQ(Text.str(), Expected) << "day " << Day;
    ++Checked;
  }
  EXPECT_GT(Checked, 250u);
  // Year 100 keeps its leading zero.
  QVPdateTimeGrammarConvertDateTimeToString(fullMask(false), COLdateTime(100, 1, 2, 0, 0, 0), Text);
  EXPECT_EQ(Text.str(), "01000102000000+0000");
}

// A value without calendar fields is refused naming the first field the mask asks for.
TEST(QVPdateTimeText, AValueWithoutFieldsIsRefusedByItsFirstField) {
  COLdateTime Value(2024, 3, 7, 9, 5, 4);
  Value.setStatus(COLdateTime::invalid);
  COLstring Text;
  EXPECT_EQ(TSTerrorText([&] { QVPdateTimeGrammarConvertDateTimeToString(fullMask(false), Value, Text); }),
            "Date time error while extracting year.");
}

// --- flat text

QVMconfig twoLevels() {
  QVMconfig Config;
  QVMsepInfo Level;
  Level.setAll('\r', 0, 0, 0, QVMsepInfo::npos, QVMsepInfo::npos);
  Config.pushSepCharInfo(Level);
  Level.setAll('*', 0, 0, 0, QVMsepInfo::npos, QVMsepInfo::npos);
  Config.pushSepCharInfo(Level);
  Config.setHeaderSegment("ST");
  Config.setEscapePosition(QVMconfig::npos);
  Config.setCountOfHeaderFieldsToSkip(1);
  Config.setOutputTrailingSeparators(false);
  return Config;
}

TEST(QVPflatGen, AConfigurationWithoutPositionsWritesNameAndSeparatorAsHeader) {
  COLreferencePtr<QVMuntypedMessageTree> Tree = new QVMuntypedMessageTree;
  Tree->node(0, 0)->node(0, 0)->setStringValue("ST");
  Tree->node(0, 0)->node(1, 0)->setStringValue("837");
  Tree->node(1, 0)->node(0, 0)->setStringValue("SE");
  Tree->node(1, 0)->node(2, 0)->setStringValue("1");
  COLstring Text;
  Tree->makeFlatWire(Text, twoLevels(), 0);
  EXPECT_EQ(Text.str(), "ST*837\rSE**1\r");
  COLstring Header;
  QVPgenerateHeader(twoLevels(), Header, *Tree);
  EXPECT_EQ(Header.str(), "ST*");
}

TEST(QVPflatGen, NestingAndRepeatsBeyondTheConfiguredLevelsAreRefused) {
  COLreferencePtr<QVMuntypedMessageTree> Tree = new QVMuntypedMessageTree;
  QVMuntypedMessageTree& Segment = *Tree->node(0, 0);
  Segment.node(0, 0)->setStringValue("ST");
  Segment.node(1, 0)->setLabel("ST.1");
  Segment.node(1, 0)->node(0, 0)->setStringValue("a");
  Segment.node(1, 0)->node(1, 0)->setStringValue("b");
  COLstring Text;
  EXPECT_EQ(TSTerrorText([&] { Tree->makeFlatWire(Text, twoLevels(), 0); }),
            "Error generating ST.1 composite: missing separator for nesting level 3");
  Segment.node(1, 0)->setCountOfSubNode(0);
  Segment.node(1, 0)->setStringValue("a");
  Segment.node(1, 1)->setStringValue("b");
  EXPECT_EQ(TSTerrorText([&] { Tree->makeFlatWire(Text, twoLevels(), 0); }),
            "Delimiter level 2 (separator = *) is not configured as being repeating in the options for this VMD "
            "file.");
}

// --- faults of the generators

struct QVPcompositeFixture {
  QVMcompositeGrammar Composite;
  QVPcompositeFixture() {
    Composite.setName("XCN");
    for (const char* Name : {"Id", "Count", "Code"}) Composite.setFieldName(QVMcompositeGrammarAddField(Composite), Name);
    Composite.setFieldIsRequired(0, true);
    Composite.setFieldDataType(1, QVMintegerType);
    Composite.setFieldIsLengthRestricted(2, true);
    Composite.setFieldMaxLength(2, 3);
  }
};

std::vector<std::pair<unsigned, std::string>> faults(const QVMuntypedMessageTree& Node) {
  std::vector<std::pair<unsigned, std::string>> List;
  for (unsigned Index = 0; Index < Node.countOfError(); ++Index)
    List.emplace_back(Node.errorCode(Index), Node.errorDescription(Index).c_str());
  return List;
}

TEST(QVPcompositeGenerator, ContentFaultsAnnotateTheNodesAndTheTextIsStillWritten) {
  QVPcompositeFixture Fixture;
  COLreferencePtr<QVMtypedMessageTree> Typed = new QVMtypedMessageTree;
  Typed->makeNodeUpTo(1, 0)->setStringValue("12");  // a string in an integer field
  Typed->makeNodeUpTo(2, 0)->setStringValue("ABCD");
  Typed->makeNodeUpTo(3, 0)->setStringValue("extra");
  COLreferencePtr<QVMuntypedMessageTree> Untyped = new QVMuntypedMessageTree;
  bool Ok = true;
  SCCescaper Escaper;
  QVPcompositeGenerator().generateComposite(*Typed, *Untyped, Fixture.Composite, Escaper, &Ok);
  EXPECT_FALSE(Ok);
  EXPECT_EQ(faults(*Untyped), (std::vector<std::pair<unsigned, std::string>>{
                                  {2, "Warning extra field information ignored."}}));
  EXPECT_EQ(faults(*Untyped->node(0, 0)),
            (std::vector<std::pair<unsigned, std::string>>{{0, "Required field: XCN.Id not present."}}));
  EXPECT_TRUE(Untyped->node(1, 0)->isNull());
  EXPECT_EQ(faults(*Untyped->node(2, 0)),
            (std::vector<std::pair<unsigned, std::string>>{{3, "Field Code length longer than the maximum 3 allowed"}}));
  EXPECT_STREQ(Untyped->node(2, 0)->getValue(), "ABCD");
  EXPECT_EQ(Untyped->countOfSubNode(), 3u);
  EXPECT_EQ(Untyped->node(2, 0)->getLabel(), "Code");
}

TEST(QVPcompositeGenerator, ASingleValueIsTheFirstComponentAndLaterRequiredOnesAreMissing) {
  QVPcompositeFixture Fixture;
  Fixture.Composite.setFieldIsRequired(2, true);
  COLreferencePtr<QVMtypedMessageTree> Typed = new QVMtypedMessageTree;
  Typed->setStringValue("A^B");
  COLreferencePtr<QVMuntypedMessageTree> Untyped = new QVMuntypedMessageTree;
  bool Ok = true;
  SCCescaper Escaper;
  QVPcompositeGenerator().generateComposite(*Typed, *Untyped, Fixture.Composite, Escaper, &Ok);
  EXPECT_FALSE(Ok);
  ASSERT_EQ(Untyped->countOfError(), 1u);
  EXPECT_EQ(Untyped->errorDescription(0).str().rfind("Required fields missing: Field[3] Code", 0), 0u)
      << Untyped->errorDescription(0).str();
  EXPECT_STREQ(Untyped->node(0, 0)->getValue(), "A\\S\\B");
}

TEST(QVMsegmentGenerator, MissingRequiredFieldsAreRecordedAndTooManyRepeatsStopGeneration) {
  QVPcompositeFixture Fixture;
  QVMcompositeGrammar Plain;
  QVMcompositeGrammarAddField(Plain);
  QVMsegmentGrammar Segment;
  Segment.setName("ZPI");
  for (const char* Name : {"Kind", "Names", "Tail"}) {
    const uint32_t Field = QVMsegmentGrammarAddFieldWithoutInitialization(Segment);
    Segment.setFieldName(Field, Name);
    Segment.setFieldType(Field, &Plain);
  }
  Segment.setIsFieldRequired(0, true);
  Segment.setIsFieldRequired(2, true);
  Segment.setFieldMaxRepeat(1, 1);
  COLreferencePtr<QVMtypedMessageTree> Typed = new QVMtypedMessageTree;
  Typed->makeNodeUpTo(1, 0)->setStringValue("a");
  Typed->makeNodeUpTo(1, 1)->setStringValue("b");
  COLreferencePtr<QVMuntypedMessageTree> List = new QVMuntypedMessageTree;
  bool Ok = true;
  SCCescaper Escaper;
  LAGenvironment Environment;
  EXPECT_FALSE(QVMsegmentGenerator().generateSegment(nullptr, *Typed, *List, Segment, Escaper, &Ok, Environment));
  const QVMuntypedMessageTree& Out = *List->node(0, 0);
  ASSERT_EQ(Out.countOfError(), 1u);
  EXPECT_EQ(Out.errorDescription(0).str().rfind("Required fields missing: Field[3] Tail", 0), 0u);
  ASSERT_EQ(Out.node(1, 0)->countOfError(), 1u);
  EXPECT_EQ(Out.node(1, 0)->errorDescription(0).str().rfind("Required Field[1] Kind", 0), 0u);
  EXPECT_EQ(QVPgenerateFaultReport(*List).str(),
            "1: 0: Required fields missing: Field[3] Tail (), 0\n"
            "1.2: 0: Required Field[1] Kind (), 0 not present.\n");

  Typed->makeNodeUpTo(1, 2)->setStringValue("c");
  EXPECT_EQ(TSTerrorText([&] { QVMsegmentGenerator().generateSegment(nullptr, *Typed, *List, Segment, Escaper, &Ok,
                                                                  Environment); }),
            "Field Names in segment ZPI only has 1 repeats allowed.  You can change this by editing the grammar of "
            "this segment.");
  Segment.setFieldMaxRepeat(1, 0);
  EXPECT_EQ(TSTerrorText([&] { QVMsegmentGenerator().generateSegment(nullptr, *Typed, *List, Segment, Escaper, &Ok,
                                                                  Environment); }),
            "Field Names in segment ZPI is not repeating.  You can change this by editing the grammar of this "
            "segment.");
}

TEST(QVMidentifierLiteral, OnlyPlainPatternsGiveAText) {
  COLstring Literal;
  EXPECT_TRUE(QVMidentifierLiteralText("^ADT$", Literal));
  EXPECT_EQ(Literal.str(), "ADT");
  EXPECT_TRUE(QVMidentifierLiteralText("A01", Literal));
  EXPECT_EQ(Literal.str(), "A01");
  EXPECT_FALSE(QVMidentifierLiteralText("^A0[1-4]$", Literal));
  EXPECT_FALSE(QVMidentifierLiteralText("AD.", Literal));
}

}  // namespace
