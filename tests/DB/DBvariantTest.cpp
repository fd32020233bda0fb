// Variants, result sets and the UTF conversions.
#include <gtest/gtest.h>

#include "COLostream.h"
#include "DBdialects.h"
#include "DBresultSet.h"
#include "DButf.h"
#include "DBvariant.h"

#include "../support/TSTraised.h"

namespace {

TEST(DBvariant, NullRulesAndTypedAccess) {
  DBvariant empty;
  EXPECT_EQ(empty.type(), DB_NULL);
  EXPECT_TRUE(empty.isNull());
  EXPECT_EQ(empty.toString(), "<null>");
  // Zero-like values count as null whatever their type.
  EXPECT_TRUE(DBvariant(0).isNull());
  EXPECT_EQ(DBvariant(0).type(), DB_INTEGER);
  EXPECT_TRUE(DBvariant("").isNull());
  EXPECT_TRUE(DBvariant(false).isNull());
  EXPECT_TRUE(DBvariant(0.0).isNull());
  EXPECT_TRUE(DBvariant(COLdateTime()).isNull());
  EXPECT_FALSE(DBvariant(int64_t{-1}).isNull());
  EXPECT_FALSE(DBvariant(" ").isNull());

  DBvariant text;
  text.string() += "abc";
  EXPECT_EQ(text.type(), DB_STRING);
  EXPECT_EQ(text.toString(), "abc");
  DBvariant number(7);
  EXPECT_EQ(TSTraised([&] { number.string(); }),
            COLerror("Operation only valid on String variants.", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { number.dateTime(); }).description(), "Operation only valid on Date Time variants.");
  const DBvariant constNull;
  EXPECT_EQ(TSTraised([&] { constNull.integer64(); }).description(), "Operation only valid on 64 Bit Integer variants.");
  DBvariant grown;
  grown.float64() = 2.5;
  EXPECT_EQ(grown.type(), DB_DOUBLE);

  DBvariant original("first");
  DBvariant copy = original;
  copy.string() = "second";
  EXPECT_EQ(original.string(), "first");
  DBvariant moved = std::move(copy);
  EXPECT_EQ(moved.string(), "second");
  EXPECT_EQ(copy.type(), DB_NULL);
}

TEST(DBvariant, TextsSizesAndNames) {
  EXPECT_EQ(DBvariant(true).toString(), "true");
  EXPECT_EQ(DBvariant(-42).toString(), "-42");
  EXPECT_EQ(DBvariant(int64_t{1} << 40).toString(), "1099511627776");
  EXPECT_EQ(DBvariant(1.5).toString(), "1.500000");  // as the stream prints a double
  EXPECT_EQ(DBvariant(COLdateTime(2024, 2, 9, 7, 5, 3)).toString(), "09/02/2024 07:05:03");
  COLdateTime invalid;
  invalid.setStatus(COLdateTime::invalid);
  EXPECT_EQ(DBvariant(invalid).toString(), "(invalid)");
  EXPECT_EQ(DBvariant("abcd").binarySize(), 4u);
  EXPECT_EQ(DBvariant(1.0f).binarySize(), 4u);
  EXPECT_EQ(DBvariant(COLdateTime(2000, 1, 1, 0, 0, 0)).binarySize(), 8u);
  EXPECT_EQ(DBvariant().binarySize(), 0u);
  EXPECT_STREQ(DBvariantTypeName(DB_FLOAT), "32 Bit Float");
  EXPECT_STREQ(DBvariantTypeName(DB_TEXT), "Unknown Type");
  EXPECT_STREQ(DBvariantTypeShortName(DB_DATETIME), "date/time");

  EXPECT_EQ(DBvariantFromString("12x", DB_INTEGER), DBvariant(12));
  EXPECT_EQ(DBvariantFromString("9000000000", DB_LARGE_INTEGER).integer64(), 9000000000LL);
  EXPECT_EQ(DBvariantFromString("TRUE", DB_BOOLEAN), DBvariant(false));
  EXPECT_EQ(DBvariantFromString("true", DB_BOOLEAN), DBvariant(true));
  EXPECT_EQ(DBvariantFromString("anything", DB_NULL).type(), DB_NULL);
  EXPECT_EQ(TSTraised([] { DBvariantFromString("01/01/2000", DB_DATETIME); }).description(),
            "Converting strings to date time DBvariant not supported.");
  EXPECT_EQ(TSTraised([] { DBvariantFromString("1", DB_TEXT); }).description(), "Unknown type 2");
}

TEST(DBvariant, EqualityAcrossTypes) {
  EXPECT_EQ(DBvariant(), DBvariant());
  EXPECT_NE(DBvariant(), DBvariant(0));
  EXPECT_EQ(DBvariant(3), DBvariant(int64_t{3}));
  EXPECT_EQ(DBvariant(3), DBvariant(3.0));
  EXPECT_EQ(DBvariant(0.5f), DBvariant(0.5));
  EXPECT_NE(DBvariant(0.1f), DBvariant(0.1));  // widened, not rounded
  EXPECT_NE(DBvariant(int64_t{(1LL << 32) + 1}), DBvariant(1));
  EXPECT_EQ(DBvariant(true), DBvariant(1));
  EXPECT_EQ(DBvariant(int64_t{0}), DBvariant(false));
  EXPECT_NE(DBvariant(true), DBvariant(1.0));
  EXPECT_NE(DBvariant("3"), DBvariant(3));
  EXPECT_EQ(DBvariant("a\xe9"), DBvariant(COLstring("a\xe9")));
  EXPECT_EQ(DBvariant(COLdateTime(2001, 1, 2, 3, 4, 5)), DBvariant(COLdateTime(2001, 1, 2, 3, 4, 5)));
  EXPECT_NE(DBvariant(COLdateTime(2001, 1, 2, 3, 4, 5)), DBvariant(COLdateTime(2001, 1, 2, 3, 4, 6)));
}

TEST(DBresultSet, ColumnsFoundWithoutCaseAndRowsKeptInStep) {
  DBresultSetPtr set(new DBresultSet);
  EXPECT_EQ(set->addColumn("NAME"), 0u);
  set->addRow();
  set->setValue(0, "name", DBvariant("Ann"));
  EXPECT_EQ(set->columnIndex("Name"), 0);
  EXPECT_EQ(set->columnIndex("missing"), -1);
  EXPECT_EQ(set->addColumn("Age"), 1u);
  EXPECT_EQ(set->value(0, "AGE").type(), DB_NULL);
  set->setValue(0, 1, DBvariant(41));
  set->removeColumn("name");
  EXPECT_EQ(set->columnIndex("age"), 0);
  EXPECT_EQ(set->value(0, 0), DBvariant(41));
  set->setColumnName(0, "years");
  EXPECT_EQ(set->columnIndex("YEARS"), 0);
  EXPECT_EQ(set->columnIndex("age"), -1);
  set->resizeRowVector(3);
  EXPECT_EQ(set->row(2).countOfValue(), 1u);
  set->removeRow(1);
  EXPECT_EQ(set->countOfRow(), 2u);
  set->setCountOfDatabaseRow(5000000000ULL);
  EXPECT_EQ(set->countOfDatabaseRow(), 5000000000ULL);

  EXPECT_EQ(TSTraised([&] { set->addColumn(""); }).description(), "Failed precondition: !ColumnName.is_null()");
  EXPECT_EQ(TSTraised([&] { set->value(9, 0); }).description(),
            "Failed precondition: RowIndex < pMember->RowVector.size()");
  EXPECT_EQ(TSTraised([&] { set->value(0, "nope"); }).description(),
            "Failed precondition: ColumnIndex < pMember->ColumnNameVector.size()");

  DBresultSet copy = *set;
  copy.setValue(0, 0, DBvariant(1));
  EXPECT_EQ(set->value(0, 0), DBvariant(41));
}

TEST(DBresultSet, PrintsHeaderRowsAndCutsLongValues) {
  DBresultSetPtr set(new DBresultSet);
  set->addColumn("id");
  set->addColumn("note");
  for (int index = 0; index < 3; ++index) {
    set->addRow();
    set->setValue(index, 0, DBvariant(index));
    set->setValue(index, 1, DBvariant("abcdefgh"));
  }
  COLstring text;
  COLostream stream(text);
  DBprintResultSetPtrToStream(stream, set, 1, 1, 3);
  const std::string heavy(72, '='), light(69, '-');
  EXPECT_EQ(text.str(), "\n" + heavy + "\nRowIndex\t\tid\t\tnote\t\t\n" + heavy + "\n1\t\t1\t\tabc...\t\t\n" + light + "\n");
  text.clear();
  DBprintResultSetPtrToStream(stream, set, 0, 0, 0);
  EXPECT_NE(text.find("2\t\t2\t\tabcdefgh\t\t\n"), COLstring::npos);
}

TEST(DButf, ConversionsRoundTripAndStopAtFaults) {
  const COLstring text("A\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");  // A, e-acute, euro, an emoji
  DBstringWchar wide;
  DBconvertUtf8ToWchar(wide, text);
  ASSERT_EQ(wide.size(), 5u);  // the emoji takes a surrogate pair
  EXPECT_EQ(wide.data()[2], 0x20AC);
  EXPECT_EQ(wide.data()[3], 0xD83D);
  EXPECT_EQ(DBconvertWcharToUtf8(wide), text);

  DButf32 wide32[8];
  const DButf8* source = reinterpret_cast<const DButf8*>(text.data());
  DButf32* target = wide32;
  EXPECT_EQ(DBconvertUTF8toUTF32(&source, source + text.size(), &target, wide32 + 8, strictConversion), conversionOK);
  ASSERT_EQ(target - wide32, 4);
  EXPECT_EQ(wide32[3], 0x1F600u);
  DButf16 units[2];
  const DButf32* from = wide32;
  DButf16* to = units;
  EXPECT_EQ(DBconvertUTF32toUTF16(&from, wide32 + 4, &to, units + 2, strictConversion), targetExhausted);
  EXPECT_EQ(from - wide32, 2);  // stops before the euro sign, which no longer fits

  EXPECT_FALSE(DBisLegalUTF8Sequence(reinterpret_cast<const DButf8*>("\xc0\x80"), reinterpret_cast<const DButf8*>("\xc0\x80") + 2));
  EXPECT_FALSE(DBisLegalUTF8Sequence(reinterpret_cast<const DButf8*>("\xed\xa0\x80"), reinterpret_cast<const DButf8*>("\xed\xa0\x80") + 3));
  EXPECT_EQ(TSTraised([&] { DBconvertUtf8ToWchar(wide, "Latin-1 \xe9 is no UTF-8"); }).description(),
            "ConvertUTF8toUTF16() returned non-OK result sourceIllegal");
  EXPECT_EQ(TSTraised([&] { DBconvertUtf8ToWchar(wide, "cut \xe2\x82"); }).description(),
            "ConvertUTF8toUTF16() returned non-OK result sourceExhausted");
  const DButf16 lone[] = {0x41, 0xDC00};
  EXPECT_EQ(TSTraised([&] { DBconvertUtf16ToUtf8(lone, 2); }).description(),
            "ConvertUTF16toUTF8() returned non-OK result sourceIllegal");
}

}  // namespace
