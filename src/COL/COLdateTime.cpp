#include "COLdateTime.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"

const double COLdateTime::MinimumDate = -657434.0;
const double COLdateTime::MaximumDate = 2958465.0;
const double COLdateTimeSpan::MaximumSpan = 3615897.0;

const COLstring COLdateTime::DAY_OF_WEEK_AS_STRING[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                         "Thursday", "Friday", "Saturday"};
const COLstring COLdateTime::DAY_OF_WEEK_AS_STRING_SHORT[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const COLstring COLdateTime::MONTH_AS_STRING[12] = {"January", "February", "March",     "April",   "May",      "June",
                                                    "July",    "August",   "September", "October", "November", "December"};
const COLstring COLdateTime::MONTH_AS_STRING_SHORT[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const COLstring COLdateTime::DAY_OF_MONTH_AS_STRING[31] = {
    "1st",  "2nd",  "3rd",  "4th",  "5th",  "6th",  "7th",  "8th",  "9th",  "10th", "11th",
    "12th", "13th", "14th", "15th", "16th", "17th", "18th", "19th", "20th", "21st", "22nd",
    "23rd", "24th", "25th", "26th", "27th", "28th", "29th", "30th", "31st"};
const COLstring COLdateTime::MERIDIAN_AS_STRING[2] = {"AM", "PM"};
const COLstring COLdateTime::MERIDIAN_AS_STRING_FORMAL[2] = {"a.m.", "p.m."};
const COLstring COLdateTime::EMPTY_STRING;
const COLstring COLdateTimeSpan::TIME_UNITS[4] = {"day", "hour", "minute", "second"};

namespace {

const int DaysBeforeMonth[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
constexpr double HalfSecond = 1.0 / 172800.0;
constexpr long DaysFromYearZero = 693959;  // 1 January of year 0 to 30 December 1899

bool isLeapYear(int year) { return (year & 3) == 0 && (year % 100 != 0 || year % 400 == 0); }

[[noreturn]] void raiseExtraction(const char* what) {
  COLstring text;
  COLostream(text) << "Date time error while extracting " << what << ".";
  throw COLerror(text, COL_ERROR_OUT_OF_BOUNDS);
}

}  // namespace

// --- calendar core

double _COLDoubleFromDate(double date) {
  if (date >= 0.0) return date;
  double whole = std::ceil(date);
  return whole - (date - whole);
}

double _COLDateFromDouble(double value) {
  if (value >= 0.0) return value;
  double whole = std::floor(value);
  return whole + (whole - value);
}

bool _COLOleDateFromTm(int year, int month, int day, int hour, int minute, int second, double& date) {
  if (year > 9999 || month < 1 || month > 12) return false;
  const bool leap = isLeapYear(year);
  const int monthLength = DaysBeforeMonth[month] - DaysBeforeMonth[month - 1] + ((leap && month == 2) ? 1 : 0);
  if (day < 1 || day > monthLength) return false;
  long dayNumber = static_cast<long>(year) * 365 + year / 4 - year / 100 + year / 400 +
                   DaysBeforeMonth[month - 1] + day;
  if (month <= 2 && leap) --dayNumber;
  dayNumber -= DaysFromYearZero;
  const double time = static_cast<double>(static_cast<long>(hour) * 3600 + minute * 60 + second) / 86400.0;
  date = static_cast<double>(dayNumber) + (dayNumber >= 0 ? time : -time);
  return true;
}

bool _COLTmFromOleDate(double date, struct tm& fields) {
  if (date > COLdateTime::MaximumDate || date < COLdateTime::MinimumDate) return false;
  double value = date + (date > 0.0 ? HalfSecond : -HalfSecond);
  long absoluteDay = static_cast<long>(value) + DaysFromYearZero;
  value = std::fabs(value);
  const long secondOfDay = static_cast<long>((value - std::floor(value)) * 86400.0);

  fields = {};
  fields.tm_wday = static_cast<int>((absoluteDay - 1) % 7) + 1;
  const long cycles400 = absoluteDay / 146097;
  long day = absoluteDay % 146097;
  // The first century of a 400-year cycle has the extra leap day.
  const long century = (day - 1) / 36524;
  long groups4, dayOfGroup;
  bool groupStartsLeap = true;
  if (century != 0) {
    day = (day - 1) % 36524;
    // The first 4-year group of a short century lacks its leap day.
    groups4 = (day + 1) / 1461;
    if (groups4 != 0) {
      dayOfGroup = (day + 1) % 1461;
    } else {
      groupStartsLeap = false;
      dayOfGroup = day;
    }
  } else {
    groups4 = day / 1461;
    dayOfGroup = day % 1461;
  }
  long yearOfGroup;
  if (groupStartsLeap) {
    yearOfGroup = (dayOfGroup - 1) / 365;
    if (yearOfGroup != 0) dayOfGroup = (dayOfGroup - 1) % 365;
  } else {
    yearOfGroup = dayOfGroup / 365;
    dayOfGroup %= 365;
  }
  fields.tm_yday = static_cast<int>(dayOfGroup) + 1;
  fields.tm_year = static_cast<int>(cycles400 * 400 + century * 100 + groups4 * 4 + yearOfGroup);

  bool done = false;
  if (yearOfGroup == 0 && groupStartsLeap) {
    if (dayOfGroup == 59) {  // 29 February
      fields.tm_mon = 2;
      fields.tm_mday = 29;
      done = true;
    } else if (dayOfGroup >= 60) {
      --dayOfGroup;
    }
  }
  if (!done) {
    ++dayOfGroup;
    int month = static_cast<int>(dayOfGroup >> 5) + 1;
    while (dayOfGroup > DaysBeforeMonth[month]) ++month;
    fields.tm_mon = month;
    fields.tm_mday = static_cast<int>(dayOfGroup - DaysBeforeMonth[month - 1]);
  }
  fields.tm_sec = static_cast<int>(secondOfDay % 60);
  fields.tm_min = static_cast<int>((secondOfDay / 60) % 60);
  fields.tm_hour = static_cast<int>(secondOfDay / 3600);
  return true;
}

void _COLTmConvertToStandardFormat(struct tm& fields) {
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  fields.tm_wday -= 1;
  fields.tm_yday -= 1;
}

COLstring COLformatZoneOffset(int16_t zone) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%+03i00", static_cast<int>(zone));
  return COLstring(buffer);
}

// --- COLdateTime: construction and status

COLdateTime::COLdateTime(long timeValue) { *this = timeValue; }

COLdateTime::COLdateTime(int year, int month, int day, int hour, int minute, int second) {
  _COLOleDateFromTm(year, month, day, hour, minute, second, m_Date);
  m_Status = valid;
}

COLdateTime& COLdateTime::operator=(const COLdateTime& other) {
  m_Date = other.m_Date;
  m_Status = other.m_Status;
  m_SecondFraction = other.m_SecondFraction;
  m_Zone = other.m_Zone;
  return *this;
}

COLdateTime& COLdateTime::operator=(long timeValue) {
  const time_t value = static_cast<time_t>(timeValue);
  struct tm local;
  if (localtime_r(&value, &local) == nullptr) {
    m_Status = invalid;
    COL_PRECONDITION(false);
  }
  m_Status = _COLOleDateFromTm(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                               local.tm_min, local.tm_sec, m_Date)
                 ? valid
                 : invalid;
  return *this;
}

COLdateTime COLdateTime::currentTime() { return COLdateTime(static_cast<long>(std::time(nullptr))); }

COLdateTime COLdateTime::currentDate() {
  COLdateTime now = currentTime();
  now.setDate(now.year(), now.month(), now.day());
  return now;
}

void COLdateTime::setNull() {
  *this = COLdateTime();
  COL_POSTCONDITION(status() == null);
}

void COLdateTime::CheckRange() {
  if (m_Date > MaximumDate || m_Date < MinimumDate) m_Status = invalid;
}

int COLdateTime::setDateTime(int year, int month, int day, int hour, int minute, int second) {
  double date = 0.0;
  if (!_COLOleDateFromTm(year, month, day, hour, minute, second, date)) {
    m_Status = invalid;
    return 1;
  }
  m_Date = date;
  m_Status = valid;
  CheckRange();
  return m_Status == valid ? 0 : 1;
}

int COLdateTime::setTime(int hour, int minute, int second) {
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
    m_Status = invalid;
    return 1;
  }
  m_Date = static_cast<double>(hour * 3600 + minute * 60 + second) / 86400.0;
  m_Status = valid;
  return 0;
}

void COLdateTime::setSecondFraction(double NewValue) {
  COL_PRECONDITION(NewValue < 1);
  m_SecondFraction = NewValue;
}

// --- calendar fields

struct tm COLdateTime::fields(const char* what) const {
  struct tm result;
  if (m_Status != valid || !_COLTmFromOleDate(m_Date, result)) raiseExtraction(what);
  return result;
}

int COLdateTime::year() const { return isNull() ? -1 : fields("year").tm_year; }
int COLdateTime::month() const { return isNull() ? -1 : fields("month").tm_mon; }
int COLdateTime::day() const { return isNull() ? -1 : fields("day").tm_mday; }
int COLdateTime::hour() const { return isNull() ? -1 : fields("hour").tm_hour; }
int COLdateTime::minute() const { return isNull() ? -1 : fields("minute").tm_min; }
int COLdateTime::second() const { return isNull() ? -1 : fields("second").tm_sec; }
int COLdateTime::dayOfWeek() const { return isNull() ? -1 : fields("day of week").tm_wday; }
int COLdateTime::dayOfYear() const { return isNull() ? -1 : fields("day of year").tm_yday; }

int16_t COLdateTime::weekOfYear() const {
  if (isNull()) return -1;
  const struct tm here = fields("day of week");
  COLdateTime first(here.tm_year, 1, 1, 0, 0, 0);
  const double days = _COLDoubleFromDate(m_Date) - _COLDoubleFromDate(first.m_Date);
  return static_cast<int16_t>(std::floor((days + first.dayOfWeek() - 1) / 7.0));
}

time_t COLdateTime::asTimeT() const {
  if (isNull()) return static_cast<time_t>(-1);
  struct tm standard = fields("day of year");
  _COLTmConvertToStandardFormat(standard);
  standard.tm_isdst = 0;
  return std::mktime(&standard);
}

const COLstring& COLdateTime::dayOfWeekString(int dayOfWeek, bool shortForm) {
  if (dayOfWeek < 1 || dayOfWeek > 7) return EMPTY_STRING;
  return shortForm ? DAY_OF_WEEK_AS_STRING_SHORT[dayOfWeek - 1] : DAY_OF_WEEK_AS_STRING[dayOfWeek - 1];
}

const COLstring& COLdateTime::monthString(int month, bool shortForm) {
  if (month < 1 || month > 12) return EMPTY_STRING;
  return shortForm ? MONTH_AS_STRING_SHORT[month - 1] : MONTH_AS_STRING[month - 1];
}

const COLstring& COLdateTime::dayOfMonthString(int day) {
  if (day < 1 || day > 31) return EMPTY_STRING;
  return DAY_OF_MONTH_AS_STRING[day - 1];
}

const COLstring& COLdateTime::meridianString(int hour, bool formal) {
  if (hour < 0 || hour > 23) return EMPTY_STRING;
  const COLstring* table = formal ? MERIDIAN_AS_STRING_FORMAL : MERIDIAN_AS_STRING;
  return table[hour < 12 ? 0 : 1];
}

namespace {
// The locale's short month names, made once.
const std::vector<COLstring>& localShortMonthNames() {
  static const std::vector<COLstring> names = [] {
    std::vector<COLstring> result;
    for (int month = 0; month < 12; ++month) {
      struct tm fields = {};
      fields.tm_mon = month;
      fields.tm_mday = 1;
      fields.tm_year = 100;
      char Buffer[64] = {};
      std::strftime(Buffer, sizeof Buffer, "%b", &fields);
      if (COLlengthWithLimit(Buffer, sizeof Buffer) != 3)
        COLfailCheck("Failed precondition: ", "COLstrlen(Buffer) == 3", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
      result.emplace_back(Buffer);
    }
    return result;
  }();
  return names;
}
}  // namespace

int COLdateTime::monthFromShortName(const COLstring& name) {
  const std::vector<COLstring>& names = localShortMonthNames();
  for (size_t i = 0; i < names.size(); ++i)
    if (names[i] == name) return static_cast<int>(i) + 1;
  return -1;
}

COLstring COLdateTime::shortNameFromMonth(int month) {
  if (month < 1 || month > 12) return COLstring();
  return localShortMonthNames()[static_cast<size_t>(month - 1)];
}

// --- text

COLstring COLdateTime::format(const COLstring& pattern) const {
  // Our own zone replaces %Z and %z, so the system library's zone is never printed.
  std::vector<size_t> zones;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%') continue;
    if (i + 1 >= pattern.size()) break;
    if (pattern[i + 1] == 'Z' || pattern[i + 1] == 'z') zones.push_back(i);
    ++i;
  }
  COLstring effective = pattern;
  const COLstring zoneText = COLformatZoneOffset(m_Zone);
  for (auto it = zones.rbegin(); it != zones.rend(); ++it) effective.replace(*it, 2, zoneText);

  if (isNull()) return COLstring();
  struct tm standard;
  if (m_Status != valid || !_COLTmFromOleDate(m_Date, standard)) return COLstring("Invalid Date");
  _COLTmConvertToStandardFormat(standard);
  std::vector<char> buffer(128);
  size_t length = std::strftime(buffer.data(), buffer.size(), effective.c_str(), &standard);
  // A result that does not fit gets room rather than being lost.
  while (length == 0 && !effective.empty() && buffer.size() < 65536) {
    buffer.assign(buffer.size() * 4, '\0');
    length = std::strftime(buffer.data(), buffer.size(), effective.c_str(), &standard);
  }
  return COLstring(std::string(buffer.data(), length));
}

void COLdateTime::printOn(COLostream& stream) const {
  if (isNull()) {
    stream << "<null>";
    return;
  }
  struct tm f;
  if (m_Status != valid || !_COLTmFromOleDate(m_Date, f)) {
    stream << "(invalid)";
    return;
  }
  const int hour12 = f.tm_hour % 12 == 0 ? 12 : f.tm_hour % 12;
  char clock[32];
  std::snprintf(clock, sizeof clock, "%02d:%02d:%02d ", hour12, f.tm_min, f.tm_sec);
  stream << dayOfWeekString(f.tm_wday, false) << ", " << monthString(f.tm_mon, false) << " "
         << dayOfMonthString(f.tm_mday) << ", " << f.tm_year << " @ " << clock << meridianString(f.tm_hour, false);
}

void COLdateTime::fromString(const COLstring& text) {
  int month = 0, day = 0, year = 0, hour = 0, minute = 0, second = 0;
  if (std::sscanf(text.c_str(), "%02d/%02d/%04d %02d:%02d:%02d", &month, &day, &year, &hour, &minute, &second) < 6) {
    COLstring message;
    COLostream(message) << "Did not extract complete date/time from string " << text << " in COLdateTime::fromString.";
    throw COLerror(message, COL_ERROR_PRECONDITION);
  }
  setDateTime(year, month, day, hour, minute, second);
}

// --- comparison and arithmetic

namespace {
// Null against null compares false; otherwise both sides must be valid.
bool comparable(const COLdateTime& self, const COLdateTime& date) {
  if (self.isNull() && date.isNull()) return false;
  if (self.status() != COLdateTime::valid)
    COLfailCheck("Failed precondition: ", "status() == valid", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
  if (date.status() != COLdateTime::valid)
    COLfailCheck("Failed precondition: ", "date.status() == valid", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
  return true;
}

template <class A, class B>
int combinedStatus(const A& a, const B& b) {
  if (a.status() == COLdateTime::null || b.status() == COLdateTime::null) return COLdateTime::null;
  if (a.status() == COLdateTime::invalid || b.status() == COLdateTime::invalid) return COLdateTime::invalid;
  return COLdateTime::valid;
}
}  // namespace

bool COLdateTime::operator<(const COLdateTime& o) const {
  return comparable(*this, o) && _COLDoubleFromDate(m_Date) < _COLDoubleFromDate(o.m_Date);
}
bool COLdateTime::operator<=(const COLdateTime& o) const {
  return comparable(*this, o) && _COLDoubleFromDate(m_Date) <= _COLDoubleFromDate(o.m_Date);
}
bool COLdateTime::operator>(const COLdateTime& o) const {
  return comparable(*this, o) && _COLDoubleFromDate(m_Date) > _COLDoubleFromDate(o.m_Date);
}
bool COLdateTime::operator>=(const COLdateTime& o) const {
  return comparable(*this, o) && _COLDoubleFromDate(m_Date) >= _COLDoubleFromDate(o.m_Date);
}

COLdateTime COLdateTime::operator+(const COLdateTimeSpan& span) const {
  COLdateTime result(*this);
  result.m_Status = static_cast<DateTimeStatus>(combinedStatus(*this, span));
  if (result.m_Status != valid) return result;
  result.m_Date = _COLDateFromDouble(_COLDoubleFromDate(m_Date) + span.m_Span);
  result.CheckRange();
  return result;
}

COLdateTime COLdateTime::operator-(const COLdateTimeSpan& span) const {
  COLdateTime result(*this);
  result.m_Status = static_cast<DateTimeStatus>(combinedStatus(*this, span));
  if (result.m_Status != valid) return result;
  result.m_Date = _COLDateFromDouble(_COLDoubleFromDate(m_Date) - span.m_Span);
  result.CheckRange();
  return result;
}

COLdateTimeSpan COLdateTime::operator-(const COLdateTime& other) const {
  COLdateTimeSpan result;
  result.m_Status = static_cast<DateTimeStatus>(combinedStatus(*this, other));
  if (result.m_Status != valid) return result;
  result.m_Span = _COLDoubleFromDate(m_Date) - _COLDoubleFromDate(other.m_Date);
  result.CheckRange();
  return result;
}

// --- COLdateTimeSpan

void COLdateTimeSpan::setDateTimeSpan(long days, int hours, int minutes, int seconds) {
  m_Span = static_cast<double>(days) + hours / 24.0 + minutes / 1440.0 + seconds / 86400.0;
  m_Status = valid;
  CheckRange();
}

void COLdateTimeSpan::CheckRange() {
  if (m_Span < -MaximumSpan || m_Span > MaximumSpan) m_Status = invalid;
}

namespace {
// The whole `unit`s in the fraction of `value`, rounded to the nearest second.
long partOf(double value, double unitsPerWhole) {
  double whole;
  const double fraction = std::modf(value, &whole);
  long part = static_cast<long>((fraction + HalfSecond) * unitsPerWhole);
  if (part >= static_cast<long>(unitsPerWhole)) part -= static_cast<long>(unitsPerWhole);
  return part;
}
}  // namespace

long COLdateTimeSpan::hours() const {
  COL_PRECONDITION(status() == valid);
  return partOf(m_Span, 24.0);
}

long COLdateTimeSpan::minutes() const {
  COL_PRECONDITION(status() == valid);
  return partOf(m_Span * 24.0, 60.0);
}

long COLdateTimeSpan::seconds() const {
  COL_PRECONDITION(status() == valid);
  return partOf(m_Span * 1440.0, 60.0);
}

COLdateTimeSpan COLdateTimeSpan::operator+(const COLdateTimeSpan& other) const {
  COLdateTimeSpan result;
  result.m_Status = static_cast<DateTimeStatus>(combinedStatus(*this, other));
  if (result.m_Status != valid) return result;
  result.m_Span = m_Span + other.m_Span;
  result.CheckRange();
  return result;
}

COLdateTimeSpan COLdateTimeSpan::operator-(const COLdateTimeSpan& other) const {
  COLdateTimeSpan result;
  result.m_Status = static_cast<DateTimeStatus>(combinedStatus(*this, other));
  if (result.m_Status != valid) return result;
  result.m_Span = m_Span - other.m_Span;
  result.CheckRange();
  return result;
}

COLdateTimeSpan COLdateTimeSpan::operator-() const {
  COLdateTimeSpan result(*this);
  if (m_Status == valid) result.m_Span = -m_Span;
  return result;
}

COLdateTimeSpan COLdateTimeSpan::operator*(double factor) const {
  COLdateTimeSpan result(*this);
  if (m_Status != valid) return result;
  result.m_Span = m_Span * factor;
  result.CheckRange();
  return result;
}

COLdateTimeSpan COLdateTimeSpan::operator/(double divisor) const {
  COLdateTimeSpan result(*this);
  if (m_Status != valid) return result;
  result.m_Span = m_Span / divisor;
  result.CheckRange();
  return result;
}

void COLdateTimeSpan::printOn(COLostream& stream) const {
  if (m_Status == null) {
    stream << "<null>";
    return;
  }
  if (m_Status != valid) {
    stream << "(invalid)";
    return;
  }
  const long parts[4] = {days(), hours(), minutes(), seconds()};
  int last = -1;
  for (int i = 0; i < 4; ++i)
    if (parts[i] != 0) last = i;
  for (int i = 0; i <= last; ++i) {
    if (parts[i] == 0) continue;
    stream << parts[i] << " " << TIME_UNITS[i];
    if (parts[i] >= 2) stream << "s";
    if (i < last) stream << " ";
  }
}

COLostream& operator<<(COLostream& stream, const COLdateTime& time) {
  time.printOn(stream);
  return stream;
}

COLostream& operator<<(COLostream& stream, const COLdateTimeSpan& span) {
  span.printOn(stream);
  return stream;
}

COLostream& operator<<(COLostream& stream, const struct tm& f) {
  stream << "Date: " << f.tm_mday << "/" << f.tm_mon << "/" << f.tm_year << " Time = " << f.tm_hour << ":"
         << f.tm_min << ":" << f.tm_sec << newline;
  if (f.tm_isdst > 0) stream << "Daylight savings ON";
  else if (f.tm_isdst < 0) stream << "Daylight savings UNKNOWN";
  else stream << "Daylight savings OFF";
  stream << " Day of year = " << f.tm_yday << " Day of week = " << f.tm_wday;
  return stream;
}
