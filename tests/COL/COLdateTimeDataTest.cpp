// Dates and spans as step cases (tests/support/TSTsteps.h), tests/data/COL/datetime.test. The
// model holds one date and one span:
//
//   date Y M D h m s | days D [SECONDS] | null | fromstring TEXT   (the date anew)
//   setdate Y M D | settime h m s | setdatetime Y M D h m s -> the setter's result
//   zone H | add DAYS | sub DAYS | fraction F
//   fields -> "Y-M-D h:m:s" | status | value | weekday | yearday | week | printed | format TEXT
//   span D h m s | spandays D | diff Y M D h m s (the date less that one)
//   spanprinted | spanparts -> "D h m s" | spanstatus | spantotal -> seconds, to the microsecond
//   dayname N short|long | monthname N short|long | dayofmonth N | meridian H formal|plain
//   monthof NAME | shortname N | timet | getfraction | zonetext MINUTES | formatsize N (of a
//   format of N letters) | ole DAYS -> the date of that double, the double of that date
//   than [DAYS] (the other date, null without) | is ==|<|<=|>|>= (against it) | setnull
//   spanop +|-|+= DAYS|null, neg, *|/ FACTOR | spanof null|invalid | plusspan (the date plus the span)
//   spanbefore DAYS (whether that span is less) | spanhours | spanin -> total minutes and hours
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "COLdateTime.h"
#include "COLostream.h"

#include "../support/TSTsteps.h"

namespace {

const char* statusName(int Status) { return Status == COLdateTime::valid ? "valid" : Status == COLdateTime::null ? "null" : "invalid"; }

std::string shortest(double Value) {
  char Text[32];
  std::snprintf(Text, sizeof Text, "%.12g", Value);
  return Text;
}

template <class T>
std::string printed(const T& Value) {
  COLstring Text;
  COLostream Stream(Text);
  Stream << Value;
  return Text.str();
}

class Dates : public TSTstepModel {
  std::string step() override {
    const std::string& Verb = word(0);
    auto n = [&](size_t At) { return static_cast<int>(integer(At)); };
    if (Verb == "date") return Time = COLdateTime(n(1), n(2), n(3), n(4), n(5), n(6)), "";
    if (Verb == "days") return Time = COLdateTime(real(1) + (Words.size() > 2 ? real(2) / 86400.0 : 0.0)), "";
    if (Verb == "null") return Time = COLdateTime(), "";
    if (Verb == "fromstring") return Time.fromString(rest(1).c_str()), "";
    if (Verb == "setdate") return std::to_string(Time.setDate(n(1), n(2), n(3)));
    if (Verb == "settime") return std::to_string(Time.setTime(n(1), n(2), n(3)));
    if (Verb == "setdatetime") return std::to_string(Time.setDateTime(n(1), n(2), n(3), n(4), n(5), n(6)));
    if (Verb == "zone") return Time.setZone(n(1)), "";
    if (Verb == "add") return Time += COLdateTimeSpan(real(1)), "";
    if (Verb == "sub") return Time = Time - COLdateTimeSpan(real(1)), "";
    if (Verb == "fraction") return Time.setSecondFraction(real(1)), "";
    if (Verb == "fields") {
      std::string Text = std::to_string(Time.year());  // first: its error is the one expected
      return Text + "-" + std::to_string(Time.month()) + "-" + std::to_string(Time.day()) + " " +
             std::to_string(Time.hour()) + ":" + std::to_string(Time.minute()) + ":" + std::to_string(Time.second());
    }
    if (Verb == "status") return statusName(Time.status());
    if (Verb == "value") return shortest(static_cast<double>(Time));
    if (Verb == "weekday") return std::to_string(Time.dayOfWeek());
    if (Verb == "yearday") return std::to_string(Time.dayOfYear());
    if (Verb == "week") return std::to_string(Time.weekOfYear());
    if (Verb == "printed") return printed(Time);
    if (Verb == "format") return Time.format(rest(1).c_str()).str();
    if (Verb == "span") return Span = COLdateTimeSpan(integer(1), n(2), n(3), n(4)), "";
    if (Verb == "spandays") return Span = COLdateTimeSpan(real(1)), "";
    if (Verb == "diff") return Span = Time - COLdateTime(n(1), n(2), n(3), n(4), n(5), n(6)), "";
    if (Verb == "spanprinted") return printed(Span);
    if (Verb == "spanparts")
      return std::to_string(Span.days()) + " " + std::to_string(Span.hours()) + " " + std::to_string(Span.minutes()) +
             " " + std::to_string(Span.seconds());
    if (Verb == "spanstatus") return statusName(Span.status());
    if (Verb == "spantotal") return shortest(std::round(Span.totalSeconds() * 1e6) / 1e6);  // to the microsecond
    if (Verb == "timet") return std::to_string(static_cast<long long>(Time.asTimeT()));
    if (Verb == "getfraction") return shortest(Time.secondFraction());
    if (Verb == "zonetext") return COLformatZoneOffset(n(1)).str();
    if (Verb == "formatsize") return std::to_string(Time.format(COLstring(index(1), 'x')).size());
    if (Verb == "ole") return shortest(_COLDateFromDouble(real(1))) + " " + shortest(_COLDoubleFromDate(real(1)));
    if (Verb == "than") return Other = Words.size() > 1 ? COLdateTime(real(1)) : COLdateTime(), "";
    if (Verb == "setnull") return Time.setNull(), "";
    if (Verb == "is") {
      const std::string& Op = word(1);
      return std::to_string(Op == "==" ? Time == Other : Op == "<" ? Time < Other : Op == "<=" ? Time <= Other
                            : Op == ">" ? Time > Other : Time >= Other);
    }
    if (Verb == "spanop") {
      COLdateTimeSpan By(Words.size() > 2 && word(2) != "null" ? real(2) : 0.0);
      if (Words.size() > 2 && word(2) == "null") By.setStatus(COLdateTimeSpan::null);
      const std::string& Op = word(1);
      Span = Op == "+" ? Span + By : Op == "-" ? Span - By : Op == "neg" ? -Span : Op == "*" ? Span * real(2)
             : Op == "/" ? Span / real(2) : (Span += By);
      return "";
    }
    if (Verb == "spanof") return Span.setStatus(word(1) == "null" ? COLdateTimeSpan::null : COLdateTimeSpan::invalid), "";
    if (Verb == "plusspan") return Time = Time + Span, "";
    if (Verb == "spanbefore") return std::to_string(COLdateTimeSpan(real(1)) < Span);
    if (Verb == "spanhours") return std::to_string(Span.hours());
    if (Verb == "spanin") return shortest(Span.totalMinutes()) + " " + shortest(Span.totalHours());
    if (Verb == "dayname") return COLdateTime::dayOfWeekString(n(1), word(2) == "short").str();
    if (Verb == "monthname") return COLdateTime::monthString(n(1), word(2) == "short").str();
    if (Verb == "dayofmonth") return COLdateTime::dayOfMonthString(n(1)).str();
    if (Verb == "meridian") return COLdateTime::meridianString(n(1), word(2) == "formal").str();
    if (Verb == "monthof") return std::to_string(COLdateTime::monthFromShortName(word(1).c_str()));
    if (Verb == "shortname") return COLdateTime::shortNameFromMonth(n(1)).str();
    unknown();
  }

  COLdateTime Time, Other;
  COLdateTimeSpan Span;
};

TEST(COLdateTime, TimeTAndCurrentTime) {
  const COLdateTime now = COLdateTime::currentTime();
  EXPECT_EQ(now.status(), COLdateTime::valid);
  EXPECT_GE(now.year(), 2020);
  EXPECT_LE(std::llabs(static_cast<long long>(now.asTimeT() - std::time(nullptr))), 3601);
  const COLdateTime today = COLdateTime::currentDate();
  EXPECT_EQ(today.day(), now.day());
  EXPECT_EQ(today.hour() + today.minute() + today.second(), 0);
}

class COLdateTimeData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(COLdateTimeData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Dates>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, COLdateTimeData, ::testing::ValuesIn(TSTreadDataFile("COL/datetime.test")),
                         TSTdataParamName);

}  // namespace
