// QVMdateTime: the class interface of a date-time handle: a day count since 30 December 1899
// with a fraction of a second and a zone, and its calendar fields.
#pragma once

#include "QVMstring.h"

class QVMdateTimePrivate;

class QVMdateTime {
public:
  QVMdateTime();
  QVMdateTime(const QVMdateTime& other);
  QVMdateTime& operator=(const QVMdateTime& other);
  virtual ~QVMdateTime();

  static QVMdateTime Now();

  void* DateTimeHandle() const;
  double Date() const;
  void SetDate(double date);
  double SecondFraction() const;
  void SetSecondFraction(double fraction);
  short Zone() const;
  void SetZone(short zone);
  bool IsNull() const;
  void setNull();
  // False (and the value untouched) when the fields are refused.
  bool SetDateTime(int year, int month, int day, int hour, int minute, int second);
  bool SetTime(int hour, int minute, int second);
  int Year() const;
  int Month() const;
  int Day() const;
  int Hour() const;
  int Minute() const;
  int Second() const;
  int DayOfWeek() const;  // Sunday is 1
  int DayOfYear() const;
  // strftime text of the value.
  QVMstring Dump() const;

private:
  QVMdateTimePrivate* pMember;
};
