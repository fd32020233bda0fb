// Numbers and date-times as the checks read them from a value's bytes.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "SGCcheck.h"

#include "../../support/TSTraised.h"

namespace {

// A value over a text that is not NUL-terminated where the value ends, as in a message.
struct Value {
  std::string Backing;
  SGMvalue Slice;
  explicit Value(const std::string& text) : Backing(text + "|trailing") {
    Slice.set(Backing.data(), static_cast<uint32_t>(text.size()));
  }
  operator const SGMvalue&() const { return Slice; }
};

QVMdateTimeGrammar mask(std::initializer_list<QVMdateTimeGrammar::QVMdateTimeInternalMaskItem> items,
                        bool required = false) {
  QVMdateTimeGrammar Grammar;
  Grammar.setName("MASK");
  for (auto Item : items) QVMdateTimeGrammarAddMaskItem(Grammar, Item);
  Grammar.setFieldsRequired(required);
  return Grammar;
}

using Q = QVMdateTimeGrammar;

}  // namespace

TEST(SGCformat, Integers) {
  for (const char* Text : {"", "+", "-", "0", "-12", "+007", "2147483648"})
    EXPECT_TRUE(SGCvalidInteger(Value(Text))) << Text;
  for (const char* Text : {"a", "1.0", "1-", "--1", " 1", "1 ", "1e3"})
    EXPECT_FALSE(SGCvalidInteger(Value(Text))) << Text;
  int Result = 0;
  EXPECT_TRUE(SGCextractInteger(Value("+12"), Result));
  EXPECT_EQ(Result, 12);
  EXPECT_TRUE(SGCextractInteger(Value("-3"), Result));
  EXPECT_EQ(Result, -3);
  Result = 99;
  EXPECT_FALSE(SGCextractInteger(Value("3x"), Result));
  EXPECT_EQ(Result, 99);
  // A long value still converts: the text is copied whole, not cut at a buffer size.
  EXPECT_TRUE(SGCextractInteger(Value(std::string(80, '0') + "42"), Result));
  EXPECT_EQ(Result, 42);
}

TEST(SGCformat, Doubles) {
  for (const char* Text : {"", "+", "-", ".", "1.", ".5", "1.25", "-3.5E-2", "1e+", "1e5", "+.5e3", "007"})
    EXPECT_TRUE(SGCvalidDouble(Value(Text))) << Text;
  for (const char* Text : {"1e", "1e5x", "a", "1.2.3", "1,5", "e5", "1e+5.0", "1x"})
    EXPECT_FALSE(SGCvalidDouble(Value(Text))) << Text;
  double Result = 0;
  EXPECT_TRUE(SGCextractDouble(Value("-3.5e1"), Result));
  EXPECT_DOUBLE_EQ(Result, -35.0);
  EXPECT_FALSE(SGCextractDouble(Value("1e"), Result));
}

TEST(SGCformat, DateTimesByMask) {
  const QVMdateTimeGrammar Full = mask({Q::MaskYear, Q::MaskMonth, Q::MaskDay, Q::MaskHour, Q::MaskMinute,
                                        Q::MaskSecond, Q::MaskFraction, Q::MaskTimeZone});
  QVMdateTimeInternal Result;
  ASSERT_TRUE(SGCdateTimeGrammarConvertStringToDateTime(Full, Value("20010203040506.25-0530"), Result));
  EXPECT_EQ(Result.year(), 2001);
  EXPECT_EQ(Result.month(), 2);
  EXPECT_EQ(Result.day(), 3);
  EXPECT_EQ(Result.hour(), 4);
  EXPECT_EQ(Result.minute(), 5);
  EXPECT_EQ(Result.second(), 6);
  EXPECT_DOUBLE_EQ(Result.secondFraction(), 0.25);
  EXPECT_EQ(Result.zone(), -5);

  // The zone reads its hours; the two minute digits are skipped.
  const QVMdateTimeGrammar YearZone = mask({Q::MaskYear, Q::MaskTimeZone});
  ASSERT_TRUE(SGCdateTimeGrammarConvertStringToDateTime(YearZone, Value("2001+0530"), Result));
  EXPECT_EQ(Result.zone(), 5);
  EXPECT_FALSE(SGCvalidDateTime(Value("2001*0530"), YearZone));

  // Hour 24 is midnight; a year of 0 gives a time only.
  const QVMdateTimeGrammar Time = mask({Q::MaskHour, Q::MaskMinute});
  ASSERT_TRUE(SGCdateTimeGrammarConvertStringToDateTime(Time, Value("2430"), Result));
  EXPECT_EQ(Result.hour(), 0);
  EXPECT_EQ(Result.minute(), 30);

  // Text behind the last mask item is ignored.
  const QVMdateTimeGrammar YearMonth = mask({Q::MaskYear, Q::MaskMonth});
  EXPECT_TRUE(SGCvalidDateTime(Value("200112junk"), YearMonth));
  // Four digits are needed for the year: "202" fails.
  EXPECT_FALSE(SGCvalidDateTime(Value("202"), YearMonth));
  EXPECT_FALSE(SGCvalidDateTime(Value("20x1"), YearMonth));
  EXPECT_FALSE(SGCvalidDateTime(Value("2001-1"), YearMonth));
}

TEST(SGCformat, DateTimeRangesAreDecidedByTheCalendar) {
  const QVMdateTimeGrammar Date = mask({Q::MaskYear, Q::MaskMonth, Q::MaskDay});
  EXPECT_FALSE(SGCvalidDateTime(Value("20010230"), Date));
  EXPECT_FALSE(SGCvalidDateTime(Value("20011301"), Date));
  EXPECT_TRUE(SGCvalidDateTime(Value("20000229"), Date));
  // Second 60 is accepted by the calendar and carries into the next day.
  const QVMdateTimeGrammar Full =
      mask({Q::MaskYear, Q::MaskMonth, Q::MaskDay, Q::MaskHour, Q::MaskMinute, Q::MaskSecond});
  QVMdateTimeInternal Result;
  ASSERT_TRUE(SGCdateTimeGrammarConvertStringToDateTime(Full, Value("20011231235960"), Result));
  EXPECT_EQ(Result.year(), 2002);
  EXPECT_EQ(Result.month(), 1);
  EXPECT_EQ(Result.day(), 1);
}

TEST(SGCformat, ShortDateTimesAndRequiredFields) {
  QVMdateTimeGrammar Date = mask({Q::MaskYear, Q::MaskMonth, Q::MaskDay});
  QVMdateTimeInternal Result;
  ASSERT_TRUE(SGCdateTimeGrammarConvertStringToDateTime(Date, Value("2001"), Result));
  EXPECT_EQ(Result.year(), 2001);
  EXPECT_EQ(Result.month(), 1);
  EXPECT_EQ(Result.day(), 1);

  Date.setFieldsRequired(true);
  const COLerror Error = TSTraised([&] { SGCdateTimeGrammarConvertStringToDateTime(Date, Value("2001"), Result); });
  EXPECT_EQ(Error.code(), 0x80000600u);
  EXPECT_EQ(Error.description(), "Invalid date/time format '2001'. It might be an idea to change the Date/Time "
                                 "format 'MASK' to *not* require all the date/time fields.");
  // A bad value is a bad value, even with required fields.
  EXPECT_FALSE(SGCvalidDateTime(Value("20x1"), Date));
}

TEST(SGCformat, EmptyAndExplicitNullDateTimes) {
  const QVMdateTimeGrammar Date = mask({Q::MaskYear, Q::MaskMonth, Q::MaskDay}, true);
  QVMdateTimeInternal Result;
  Result.setDate(2000, 1, 1);
  EXPECT_TRUE(SGCdateTimeGrammarConvertStringToDateTime(Date, Value("\"\""), Result));
  EXPECT_TRUE(Result.isNull());
  Result.setDate(2000, 1, 1);
  EXPECT_TRUE(SGCextractDateTime(Value(""), Date, Result));
  EXPECT_TRUE(Result.isNull());
  EXPECT_TRUE(SGCvalidDateTime(Value(""), Date));
  EXPECT_TRUE(SGCextractDateTime(Value("20010203"), Date, Result));
  EXPECT_EQ(Result.day(), 3);
}
