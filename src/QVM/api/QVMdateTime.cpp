#include "QVMdateTime.h"

#include <ctime>

#include "COLdateTime.h"
#include "QVMerror.h"
#include "QVMhandle.h"

class QVMdateTimePrivate {
public:
  void* Handle = nullptr;

  double date() const {
    double value = 0;
    QVM_CHECK_CALL(_QVMdateTimeGetDATE(Handle, &value));
    return value;
  }
  // The calendar fields of the value; a null or invalid value has none.
  struct tm SetTmFromDATE() const {
    struct tm fields {};
    int isNull = 0;
    QVM_CHECK_CALL(_QVMdateTimeGetIsNull(Handle, &isNull));
    if (isNull || !_COLTmFromOleDate(date(), fields))
      throw QVMerror("The date-time has no calendar value.", __LINE__, __FILE__, 0x80000600);
    return fields;
  }
  bool SetDATEFromTm(int year, int month, int day, int hour, int minute, int second) {
    double value = 0;
    if (!_COLOleDateFromTm(year, month, day, hour, minute, second, value)) return false;
    QVM_CHECK_CALL(_QVMdateTimeSetDATE(Handle, value));
    return true;
  }
};

QVMdateTime::QVMdateTime() : pMember(new QVMdateTimePrivate) {
  if (void* error = _QVMdateTimeCreate(&pMember->Handle)) {
    delete pMember;
    QVMactivateCondition("_QVMdateTimeCreate(&pMember->Handle)", __LINE__, __FILE__, error);
  }
}

QVMdateTime::QVMdateTime(const QVMdateTime& other) : QVMdateTime() { *this = other; }

QVMdateTime& QVMdateTime::operator=(const QVMdateTime& other) {
  if (this == &other) return *this;
  if (other.IsNull()) {
    setNull();
  } else {
    SetDate(other.Date());
  }
  SetSecondFraction(other.SecondFraction());
  SetZone(other.Zone());
  return *this;
}

QVMdateTime::~QVMdateTime() {
  _QVMdateTimeRelease(pMember->Handle);
  delete pMember;
}

QVMdateTime QVMdateTime::Now() {
  QVMdateTime now;
  QVM_CHECK_CALL(_QVMdateTimeSetTimeT(now.pMember->Handle, static_cast<long>(time(nullptr))));
  return now;
}

void* QVMdateTime::DateTimeHandle() const { return pMember->Handle; }
double QVMdateTime::Date() const { return pMember->date(); }
void QVMdateTime::SetDate(double date) { QVM_CHECK_CALL(_QVMdateTimeSetDATE(pMember->Handle, date)); }

double QVMdateTime::SecondFraction() const {
  double fraction = 0;
  QVM_CHECK_CALL(_QVMdateTimeGetSecondFraction(pMember->Handle, &fraction));
  return fraction;
}

void QVMdateTime::SetSecondFraction(double fraction) {
  QVM_CHECK_CALL(_QVMdateTimeSetSecondFraction(pMember->Handle, fraction));
}

short QVMdateTime::Zone() const {
  short zone = 0;
  QVM_CHECK_CALL(_QVMdateTimeGetZone(pMember->Handle, &zone));
  return zone;
}

void QVMdateTime::SetZone(short zone) { QVM_CHECK_CALL(_QVMdateTimeSetZone(pMember->Handle, zone)); }

bool QVMdateTime::IsNull() const {
  int isNull = 0;
  QVM_CHECK_CALL(_QVMdateTimeGetIsNull(pMember->Handle, &isNull));
  return isNull != 0;
}

void QVMdateTime::setNull() { QVM_CHECK_CALL(_QVMdateTimeSetNull(pMember->Handle)); }

bool QVMdateTime::SetDateTime(int year, int month, int day, int hour, int minute, int second) {
  return pMember->SetDATEFromTm(year, month, day, hour, minute, second);
}

bool QVMdateTime::SetTime(int hour, int minute, int second) {
  const struct tm fields = pMember->SetTmFromDATE();
  return pMember->SetDATEFromTm(fields.tm_year, fields.tm_mon, fields.tm_mday, hour, minute, second);
}

// _COLTmFromOleDate counts the year in full and months, week days and year days from 1.
int QVMdateTime::Year() const { return pMember->SetTmFromDATE().tm_year; }
int QVMdateTime::Month() const { return pMember->SetTmFromDATE().tm_mon; }
int QVMdateTime::Day() const { return pMember->SetTmFromDATE().tm_mday; }
int QVMdateTime::Hour() const { return pMember->SetTmFromDATE().tm_hour; }
int QVMdateTime::Minute() const { return pMember->SetTmFromDATE().tm_min; }
int QVMdateTime::Second() const { return pMember->SetTmFromDATE().tm_sec; }
int QVMdateTime::DayOfWeek() const { return pMember->SetTmFromDATE().tm_wday; }
int QVMdateTime::DayOfYear() const { return pMember->SetTmFromDATE().tm_yday; }

QVMstring QVMdateTime::Dump() const {
  const char* text = nullptr;
  QVM_CHECK_CALL(_QVMdateTimeFormat(pMember->Handle, "%Y-%m-%d %H:%M:%S", &text));
  return QVMstring(text);
}
