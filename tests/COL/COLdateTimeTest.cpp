#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "COLdateTime.h"
#include "COLerror.h"
#include "COLostream.h"

#include "../support/TSTraised.h"

namespace {

template <class T>
COLstring printed(const T& value) {
  COLstring text;
  COLostream stream(text);
  stream << value;
  return text;
}

// The fields as the getters read them, so that one line checks a whole date.
std::string fields(const COLdateTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d", time.year(), time.month(), time.day(), time.hour(),
                time.minute(), time.second());
  return text;
}

}  // namespace

TEST(COLdateTime, DefaultIsNull) {
  COLdateTime time;
  EXPECT_TRUE(time.isNull());
  EXPECT_EQ(time.status(), COLdateTime::null);
  EXPECT_EQ(printed(time), "<null>");
  EXPECT_EQ(time.year(), -1);
  EXPECT_EQ(time.dayOfWeek(), -1);
  EXPECT_EQ(time.weekOfYear(), -1);
  EXPECT_EQ(time.format("%Y"), "");
  EXPECT_EQ(time.asTimeT(), static_cast<time_t>(-1));
}

TEST(COLdateTime, EpochDays) {
  EXPECT_EQ(fields(COLdateTime(0.0)), "1899-12-30 0:0:0");
  EXPECT_EQ(COLdateTime(0.0).dayOfWeek(), 7);  // Saturday
  EXPECT_EQ(COLdateTime(1.0).dayOfYear(), 365);
  EXPECT_EQ(fields(COLdateTime(2.0)), "1900-1-1 0:0:0");
  EXPECT_EQ(COLdateTime(2.0).dayOfYear(), 1);
}

TEST(COLdateTime, LeapYears) {
  COLdateTime time;
  EXPECT_EQ(time.setDateTime(2001, 2, 29, 0, 0, 0), 1);
  EXPECT_EQ(time.status(), COLdateTime::invalid);
  EXPECT_EQ(time.setDateTime(2000, 2, 29, 0, 0, 0), 0);
  EXPECT_EQ(fields(time), "2000-2-29 0:0:0");
  EXPECT_EQ(time.setDate(1900, 2, 29), 1);
  EXPECT_EQ(time.setDate(1900, 3, 1), 0);
  EXPECT_EQ(time.dayOfYear(), 60);
  EXPECT_EQ(time.setDate(2004, 12, 31), 0);
  EXPECT_EQ(time.dayOfYear(), 366);
  EXPECT_EQ(time.setDate(2000, 13, 1), 1);
  EXPECT_EQ(time.setDate(10000, 1, 1), 1);
}

TEST(COLdateTime, FieldsRoundTripAcrossCenturies) {
  const int dates[][6] = {{100, 1, 1, 0, 0, 0},      {1600, 2, 29, 12, 0, 0}, {1899, 12, 29, 6, 0, 0},
                          {1970, 1, 1, 0, 0, 1},     {2000, 3, 1, 23, 59, 59}, {2024, 2, 29, 13, 5, 9},
                          {9999, 12, 31, 0, 0, 0}};
  for (const auto& d : dates) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "%d-%d-%d %d:%d:%d", d[0], d[1], d[2], d[3], d[4], d[5]);
    EXPECT_EQ(fields(COLdateTime(d[0], d[1], d[2], d[3], d[4], d[5])), expected);
  }
}

TEST(COLdateTime, NegativeDatesCountTimeForward) {
  EXPECT_EQ(fields(COLdateTime(-1.25)), "1899-12-29 6:0:0");
  EXPECT_DOUBLE_EQ(_COLDoubleFromDate(-1.25), -0.75);
  EXPECT_DOUBLE_EQ(_COLDateFromDouble(-0.75), -1.25);
  // 0.25 less 1.5 days is the linear -1.25, stored as -2.75: 18:00 on 28 December 1899.
  COLdateTime morning(0.25);
  COLdateTime earlier = morning - COLdateTimeSpan(1.5);
  EXPECT_DOUBLE_EQ(static_cast<double>(earlier), -2.75);
  EXPECT_EQ(fields(earlier), "1899-12-28 18:0:0");
  EXPECT_TRUE(earlier < morning);
}

TEST(COLdateTime, FieldsRoundToNearestSecond) {
  const double second = 1.0 / 86400.0;
  EXPECT_EQ(fields(COLdateTime(10.0 - 0.6 * second)), "1900-1-8 23:59:59");
  EXPECT_EQ(fields(COLdateTime(10.0 - 0.4 * second)), "1900-1-9 0:0:0");
}

TEST(COLdateTime, InvalidValuesRaiseOnFields) {
  COLdateTime time(3000000.0);
  EXPECT_EQ(time.status(), COLdateTime::invalid);
  EXPECT_EQ(TSTraised([&] { time.year(); }), COLerror("Date time error while extracting year.", COL_ERROR_OUT_OF_BOUNDS));
  EXPECT_EQ(TSTraised([&] { time.dayOfWeek(); }).description(), "Date time error while extracting day of week.");
  EXPECT_EQ(TSTraised([&] { time.asTimeT(); }).description(), "Date time error while extracting day of year.");
  EXPECT_EQ(printed(time), "(invalid)");
  EXPECT_EQ(time.format("%Y"), "Invalid Date");
}

TEST(COLdateTime, SetTimeKeepsNothingOfTheDate) {
  COLdateTime time(2020, 5, 5, 1, 1, 1);
  EXPECT_EQ(time.setTime(12, 30, 0), 0);
  EXPECT_DOUBLE_EQ(static_cast<double>(time), 0.5 + 30.0 / 1440.0);
  EXPECT_EQ(time.setTime(24, 0, 0), 1);
  EXPECT_EQ(time.status(), COLdateTime::invalid);
  EXPECT_EQ(time.setTime(0, 60, 0), 1);
}

TEST(COLdateTime, PrintsLongForm) {
  EXPECT_EQ(printed(COLdateTime(2004, 3, 2, 13, 5, 9)), "Tuesday, March 2nd, 2004 @ 01:05:09 PM");
  EXPECT_EQ(printed(COLdateTime(2004, 3, 21, 0, 0, 0)), "Sunday, March 21st, 2004 @ 12:00:00 AM");
  EXPECT_EQ(printed(COLdateTime(2004, 3, 23, 12, 0, 0)), "Tuesday, March 23rd, 2004 @ 12:00:00 PM");
}

TEST(COLdateTime, FormatsWithOwnZone) {
  COLdateTime time(2004, 3, 2, 13, 5, 9);
  EXPECT_EQ(time.format("%Y-%m-%d %H:%M:%S"), "2004-03-02 13:05:09");
  EXPECT_EQ(time.format("%Z"), "+0000");
  time.setZone(5);
  EXPECT_EQ(time.format("%H%z"), "13+0500");
  time.setZone(-8);
  EXPECT_EQ(time.format("[%Z]"), "[-0800]");
  EXPECT_EQ(time.format("%%Z"), "%Z");
  EXPECT_EQ(time.format("100%"), "100%");
  EXPECT_EQ(COLformatZoneOffset(0), "+0000");
  // Long output is not cut at the old buffer size.
  EXPECT_EQ(time.format(COLstring(300, 'x')).size(), 300u);
}

TEST(COLdateTime, FromString) {
  COLdateTime time;
  time.fromString("03/02/2004 13:05:09");
  EXPECT_EQ(fields(time), "2004-3-2 13:5:9");
  EXPECT_EQ(TSTraised([&] { time.fromString("03/02/2004"); }),
            COLerror("Did not extract complete date/time from string 03/02/2004 in COLdateTime::fromString.",
                     COL_ERROR_PRECONDITION));
}

TEST(COLdateTime, ComparisonRules) {
  COLdateTime nullTime;
  COLdateTime zero(0.0);
  EXPECT_TRUE(nullTime == zero);  // equality looks at the dates alone
  EXPECT_FALSE(nullTime < COLdateTime());
  COLdateTime later(1.5);
  EXPECT_TRUE(zero < later);
  EXPECT_TRUE(later >= zero);
  EXPECT_FALSE(later <= zero);
  COLerror error = TSTraised([&] { (void)(nullTime < zero); });
  EXPECT_EQ(error.description(), "Failed precondition: status() == valid");
  error = TSTraised([&] { (void)(zero < nullTime); });
  EXPECT_EQ(error.description(), "Failed precondition: date.status() == valid");
}

TEST(COLdateTime, ArithmeticStatusRules) {
  COLdateTime time(100.0);
  COLdateTimeSpan day(1.0);
  EXPECT_DOUBLE_EQ(static_cast<double>(time + day), 101.0);
  time += day;
  time -= COLdateTimeSpan(0.5);
  EXPECT_DOUBLE_EQ(static_cast<double>(time), 100.5);
  EXPECT_EQ((COLdateTime() + day).status(), COLdateTime::null);
  COLdateTimeSpan invalidSpan(1.0);
  invalidSpan.setStatus(COLdateTimeSpan::invalid);
  EXPECT_EQ((time + invalidSpan).status(), COLdateTime::invalid);
  EXPECT_EQ((COLdateTime() - invalidSpan).status(), COLdateTime::null);
  EXPECT_EQ((COLdateTime(COLdateTime::MaximumDate) + day).status(), COLdateTime::invalid);
  COLdateTimeSpan difference = COLdateTime(2004, 3, 2, 0, 1, 5) - COLdateTime(2004, 3, 2, 0, 0, 0);
  EXPECT_NEAR(difference.totalSeconds(), 65.0, 1e-6);
  EXPECT_EQ((COLdateTime() - time).status(), COLdateTime::null);
}

TEST(COLdateTime, WeekOfYearStartsOnSunday) {
  COLdateTime time(2004, 1, 1, 0, 0, 0);  // a Thursday
  EXPECT_EQ(time.dayOfWeek(), 5);
  EXPECT_EQ(time.weekOfYear(), 0);
  time.setDate(2004, 1, 3);  // Saturday
  EXPECT_EQ(time.weekOfYear(), 0);
  time.setDate(2004, 1, 4);  // Sunday
  EXPECT_EQ(time.weekOfYear(), 1);
  time.setDate(2004, 12, 31);
  EXPECT_EQ(time.weekOfYear(), 52);
}

TEST(COLdateTime, NamesAndTables) {
  EXPECT_EQ(COLdateTime::dayOfWeekString(1, false), "Sunday");
  EXPECT_EQ(COLdateTime::dayOfWeekString(8, false), "");
  EXPECT_EQ(COLdateTime::monthString(12, true), "Dec");
  EXPECT_EQ(COLdateTime::monthString(0, true), "");
  EXPECT_EQ(COLdateTime::dayOfMonthString(22), "22nd");
  EXPECT_EQ(COLdateTime::dayOfMonthString(32), "");
  EXPECT_EQ(COLdateTime::meridianString(11, true), "a.m.");
  EXPECT_EQ(COLdateTime::meridianString(12, false), "PM");
  EXPECT_EQ(COLdateTime::meridianString(24, false), "");
  EXPECT_EQ(COLdateTime::monthFromShortName("Mar"), 3);
  EXPECT_EQ(COLdateTime::monthFromShortName("Xyz"), -1);
  EXPECT_EQ(COLdateTime::shortNameFromMonth(11), "Nov");
  EXPECT_EQ(COLdateTime::shortNameFromMonth(13), "");
}

TEST(COLdateTime, TimeTAndCurrentTime) {
  COLdateTime now = COLdateTime::currentTime();
  EXPECT_EQ(now.status(), COLdateTime::valid);
  EXPECT_GE(now.year(), 2020);
  const time_t seconds = now.asTimeT();
  EXPECT_LE(std::llabs(static_cast<long long>(seconds - std::time(nullptr))), 3601);
  EXPECT_EQ(fields(COLdateTime::currentDate()), fields(now).substr(0, fields(now).find(' ')) + " 0:0:0");
}

TEST(COLdateTime, SecondFractionAndNull) {
  COLdateTime time(1.0);
  time.setSecondFraction(0.5);
  EXPECT_DOUBLE_EQ(time.secondFraction(), 0.5);
  EXPECT_EQ(TSTraised([&] { time.setSecondFraction(1.0); }).description(), "Failed precondition: NewValue < 1");
  time.setNull();
  EXPECT_TRUE(time.isNull());
  EXPECT_DOUBLE_EQ(time.secondFraction(), 0.0);
}

TEST(COLdateTimeSpan, PrintsNonZeroParts) {
  EXPECT_EQ(printed(COLdateTimeSpan(0, 0, 1, 5)), "1 minute 5 seconds");
  EXPECT_EQ(printed(COLdateTimeSpan(0.0)), "");
  EXPECT_EQ(printed(COLdateTimeSpan(2, 1, 0, 0)), "2 days 1 hour");
  EXPECT_EQ(printed(COLdateTimeSpan(1, 0, 0, 1)), "1 day 1 second");
  EXPECT_EQ(printed(COLdateTimeSpan(0, 23, 59, 59)), "23 hours 59 minutes 59 seconds");
  EXPECT_EQ(printed(COLdateTimeSpan(0, 0, 0, 1)), "1 second");
}

TEST(COLdateTimeSpan, PartsAndTotals) {
  COLdateTimeSpan span(1, 2, 3, 4);
  EXPECT_EQ(std::vector<long>({span.days(), span.hours(), span.minutes(), span.seconds()}),
            std::vector<long>({1, 2, 3, 4}));
  EXPECT_NEAR(span.totalSeconds(), 93784.0, 1e-6);
  EXPECT_NEAR(span.totalMinutes(), 93784.0 / 60, 1e-9);
  EXPECT_NEAR(span.totalHours(), 93784.0 / 3600, 1e-9);
  // Differences of whole seconds that land just below a boundary still read as whole.
  COLdateTimeSpan difference = COLdateTime(2004, 3, 2, 10, 0, 0) - COLdateTime(2004, 3, 2, 9, 59, 1);
  EXPECT_EQ(difference.seconds(), 59);
  EXPECT_EQ(difference.minutes(), 0);
}

TEST(COLdateTimeSpan, ArithmeticAndRange) {
  COLdateTimeSpan a(1.0), b(0.5);
  EXPECT_DOUBLE_EQ((a + b).totalDays(), 1.5);
  EXPECT_DOUBLE_EQ((a - b).totalDays(), 0.5);
  EXPECT_DOUBLE_EQ((-a).totalDays(), -1.0);
  EXPECT_DOUBLE_EQ((a * 3.0).totalDays(), 3.0);
  EXPECT_DOUBLE_EQ((a / 4.0).totalDays(), 0.25);
  a += b;
  EXPECT_DOUBLE_EQ(a.totalDays(), 1.5);
  EXPECT_TRUE(b < a);
  EXPECT_EQ(COLdateTimeSpan(4000000.0).status(), COLdateTimeSpan::invalid);
  EXPECT_EQ((COLdateTimeSpan(3000000.0) * 2.0).status(), COLdateTimeSpan::invalid);
  COLdateTimeSpan nullSpan;
  nullSpan.setStatus(COLdateTimeSpan::null);
  EXPECT_EQ((nullSpan * 2.0).status(), COLdateTimeSpan::null);
  EXPECT_EQ((a + nullSpan).status(), COLdateTimeSpan::null);
  EXPECT_THROW(nullSpan.hours(), COLerror);
}
