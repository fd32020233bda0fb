#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "COLdateTime.h"
#include "COLerror.h"

#include "../support/TSTraised.h"

namespace {

// The fields as the getters read them, so that one line checks a whole date.
std::string fields(const COLdateTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d", time.year(), time.month(), time.day(), time.hour(),
                time.minute(), time.second());
  return text;
}

}  // namespace

// Fields, texts, names and spans are step cases: tests/data/COL/datetime.test.
TEST(COLdateTime, WhatTheStepsDoNotReach) {
  EXPECT_EQ(COLdateTime().asTimeT(), static_cast<time_t>(-1));
  EXPECT_EQ(TSTraised([] { COLdateTime(3000000.0).asTimeT(); }).description(),
            "Date time error while extracting day of year.");
  EXPECT_DOUBLE_EQ(_COLDoubleFromDate(-1.25), -0.75);
  EXPECT_DOUBLE_EQ(_COLDateFromDouble(-0.75), -1.25);
  EXPECT_TRUE(COLdateTime(-2.75) < COLdateTime(0.25));
  EXPECT_EQ(COLformatZoneOffset(0), "+0000");
  // Long output is not cut at the old buffer size.
  EXPECT_EQ(COLdateTime(1.0).format(COLstring(300, 'x')).size(), 300u);
  COLdateTime time(1.0);
  time.setSecondFraction(0.5);
  EXPECT_DOUBLE_EQ(time.secondFraction(), 0.5);
  time.setNull();
  EXPECT_TRUE(time.isNull());
  EXPECT_DOUBLE_EQ(time.secondFraction(), 0.0);
  COLdateTimeSpan invalidSpan(1.0);
  invalidSpan.setStatus(COLdateTimeSpan::invalid);
  EXPECT_EQ((time + invalidSpan).status(), COLdateTime::null);
  EXPECT_EQ((COLdateTime(1.0) + invalidSpan).status(), COLdateTime::invalid);
  EXPECT_EQ((COLdateTime() - COLdateTime(1.0)).status(), COLdateTime::null);
  COLdateTimeSpan span(1, 2, 3, 4);
  EXPECT_NEAR(span.totalMinutes(), 93784.0 / 60, 1e-9);
  EXPECT_NEAR(span.totalHours(), 93784.0 / 3600, 1e-9);
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

TEST(COLdateTime, TimeTAndCurrentTime) {
  COLdateTime now = COLdateTime::currentTime();
  EXPECT_EQ(now.status(), COLdateTime::valid);
  EXPECT_GE(now.year(), 2020);
  const time_t seconds = now.asTimeT();
  EXPECT_LE(std::llabs(static_cast<long long>(seconds - std::time(nullptr))), 3601);
  EXPECT_EQ(fields(COLdateTime::currentDate()), fields(now).substr(0, fields(now).find(' ')) + " 0:0:0");
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
