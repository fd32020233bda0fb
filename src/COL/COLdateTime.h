// COLdateTime and COLdateTimeSpan: a point in time as a floating count of days since
// 30 December 1899 (fraction = time of day), and a difference of two points.  Both carry a
// status (valid, invalid, null); out-of-range results set "invalid" and only raise when a
// calendar field of them is asked for.
#pragma once

#include <ctime>
#include <cstdint>

#include "COLreference.h"
#include "COLstring.h"

class COLostream;

// The calendar core, shared with the definition model's own date-time type.
// Dates below zero count days backward and the time of day forward; these two map such a
// date to a linear number and back.
double _COLDoubleFromDate(double date);
double _COLDateFromDouble(double value);
// False when the fields are refused (year above 9999, bad month, bad day of month).
bool _COLOleDateFromTm(int year, int month, int day, int hour, int minute, int second, double& date);
// Calendar fields counting month, day of week and day of year from 1; false out of range.
bool _COLTmFromOleDate(double date, struct tm& fields);
// Makes a result of _COLTmFromOleDate a system library tm (year - 1900, zero-based counts).
void _COLTmConvertToStandardFormat(struct tm& fields);
// The zone as "+0500" / "-0800".
COLstring COLformatZoneOffset(int16_t zone);

class COLdateTimeSpan;

class COLdateTime : public COLreference {
public:
  enum DateTimeStatus : int32_t { valid = 0, invalid = 1, null = 2 };

  static const double MinimumDate;  // 1 January 100
  static const double MaximumDate;  // 31 December 9999

  COLdateTime() = default;
  COLdateTime(const COLdateTime& other) = default;
  explicit COLdateTime(double date) : m_Date(date), m_Status(valid) { CheckRange(); }
  explicit COLdateTime(long timeValue);  // a time_t, read as local time
  COLdateTime(int year, int month, int day, int hour, int minute, int second);
  COLdateTime& operator=(const COLdateTime& other);
  COLdateTime& operator=(long timeValue);

  static COLdateTime currentTime();
  static COLdateTime currentDate();

  bool isNull() const { return m_Status == null; }
  void setNull();
  DateTimeStatus status() const { return m_Status; }
  void setStatus(DateTimeStatus status) { m_Status = status; }

  // 0 on success; 1 (and status invalid) when the fields are refused.
  int setDateTime(int year, int month, int day, int hour, int minute, int second);
  int setDate(int year, int month, int day) { return setDateTime(year, month, day, 0, 0, 0); }
  int setTime(int hour, int minute, int second);

  int year() const;
  int month() const;
  int day() const;
  int hour() const;
  int minute() const;
  int second() const;
  int dayOfWeek() const;  // Sunday is 1
  int dayOfYear() const;
  int16_t weekOfYear() const;
  time_t asTimeT() const;

  const COLstring& dayOfWeekString(long) const { return dayOfWeekString(dayOfWeek(), false); }
  const COLstring& monthString(long) const { return monthString(month(), false); }
  const COLstring& dayOfMonthString() const { return dayOfMonthString(day()); }
  const COLstring& meridianString(bool formal) const { return meridianString(hour(), formal); }
  static const COLstring& dayOfWeekString(int dayOfWeek, bool shortForm);
  static const COLstring& monthString(int month, bool shortForm);
  static const COLstring& dayOfMonthString(int day);
  static const COLstring& meridianString(int hour, bool formal);
  // The locale's "%b" names; -1 / empty for unknown values.
  static int monthFromShortName(const COLstring& name);
  static COLstring shortNameFromMonth(int month);

  void setSecondFraction(double value);
  double secondFraction() const { return m_SecondFraction; }
  void setZone(int16_t zone) { m_Zone = zone; }
  int16_t zone() const { return m_Zone; }

  operator double() const { return m_Date; }

  // strftime, with %Z and %z standing for the object's own zone.
  COLstring format(const COLstring& pattern) const;
  void printOn(COLostream& stream) const;
  // "MM/DD/YYYY hh:mm:ss".
  void fromString(const COLstring& text);

  bool operator==(const COLdateTime& other) const { return m_Date == other.m_Date; }
  bool operator!=(const COLdateTime& other) const { return m_Date != other.m_Date; }
  bool operator<(const COLdateTime& other) const;
  bool operator<=(const COLdateTime& other) const;
  bool operator>(const COLdateTime& other) const;
  bool operator>=(const COLdateTime& other) const;

  COLdateTime operator+(const COLdateTimeSpan& span) const;
  COLdateTime operator-(const COLdateTimeSpan& span) const;
  COLdateTime& operator+=(const COLdateTimeSpan& span) { return *this = *this + span; }
  COLdateTime& operator-=(const COLdateTimeSpan& span) { return *this = *this - span; }
  COLdateTimeSpan operator-(const COLdateTime& other) const;

  static const COLstring DAY_OF_WEEK_AS_STRING[7];
  static const COLstring DAY_OF_WEEK_AS_STRING_SHORT[7];
  static const COLstring MONTH_AS_STRING[12];
  static const COLstring MONTH_AS_STRING_SHORT[12];
  static const COLstring DAY_OF_MONTH_AS_STRING[31];
  static const COLstring MERIDIAN_AS_STRING[2];
  static const COLstring MERIDIAN_AS_STRING_FORMAL[2];
  static const COLstring EMPTY_STRING;

protected:
  COLreference* copyForClone() const override { return new COLdateTime(*this); }

private:
  void CheckRange();
  // The fields, or a raise naming `what` when the value has none.
  struct tm fields(const char* what) const;

  double m_Date = 0.0;
  DateTimeStatus m_Status = null;
  double m_SecondFraction = 0.0;
  int16_t m_Zone = 0;
};

class COLdateTimeSpan {
public:
  using DateTimeStatus = COLdateTime::DateTimeStatus;
  static constexpr DateTimeStatus valid = COLdateTime::valid;
  static constexpr DateTimeStatus invalid = COLdateTime::invalid;
  static constexpr DateTimeStatus null = COLdateTime::null;

  static const double MaximumSpan;
  static const COLstring TIME_UNITS[4];

  COLdateTimeSpan() = default;
  explicit COLdateTimeSpan(double days) : m_Span(days) { CheckRange(); }
  COLdateTimeSpan(long days, int hours, int minutes, int seconds) { setDateTimeSpan(days, hours, minutes, seconds); }

  void setDateTimeSpan(long days, int hours, int minutes, int seconds);
  DateTimeStatus status() const { return m_Status; }
  void setStatus(DateTimeStatus status) { m_Status = status; }

  double totalDays() const { return m_Span; }
  double totalHours() const { return m_Span * 24.0; }
  double totalMinutes() const { return m_Span * 1440.0; }
  double totalSeconds() const { return m_Span * 86400.0; }
  long days() const { return static_cast<long>(m_Span); }
  long hours() const;
  long minutes() const;
  long seconds() const;

  bool operator==(const COLdateTimeSpan& other) const { return m_Span == other.m_Span; }
  bool operator!=(const COLdateTimeSpan& other) const { return m_Span != other.m_Span; }
  bool operator<(const COLdateTimeSpan& other) const { return m_Span < other.m_Span; }
  bool operator<=(const COLdateTimeSpan& other) const { return m_Span <= other.m_Span; }
  bool operator>(const COLdateTimeSpan& other) const { return m_Span > other.m_Span; }
  bool operator>=(const COLdateTimeSpan& other) const { return m_Span >= other.m_Span; }

  COLdateTimeSpan operator+(const COLdateTimeSpan& other) const;
  COLdateTimeSpan operator-(const COLdateTimeSpan& other) const;
  COLdateTimeSpan operator-() const;
  COLdateTimeSpan& operator+=(const COLdateTimeSpan& other) { return *this = *this + other; }
  COLdateTimeSpan& operator-=(const COLdateTimeSpan& other) { return *this = *this - other; }
  COLdateTimeSpan operator*(double factor) const;
  COLdateTimeSpan operator/(double divisor) const;

  // "1 day 2 hours 1 minute 5 seconds"; zero parts are left out, a zero span prints nothing.
  void printOn(COLostream& stream) const;

private:
  friend class COLdateTime;
  void CheckRange();

  double m_Span = 0.0;
  DateTimeStatus m_Status = valid;
};

COLostream& operator<<(COLostream& stream, const COLdateTime& time);
COLostream& operator<<(COLostream& stream, const COLdateTimeSpan& span);
COLostream& operator<<(COLostream& stream, const struct tm& fields);
