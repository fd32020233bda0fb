// QVMdateTimeInternal: the date-time of table cells and of the handle interface; a counted
// COLdateTime, so a cell and a host can share one object.
#pragma once

#include "COLdateTime.h"

class QVMdateTimeInternal : public COLdateTime {
public:
  QVMdateTimeInternal() = default;
  explicit QVMdateTimeInternal(const COLdateTime& value) : COLdateTime(value) {}
  QVMdateTimeInternal& operator=(const COLdateTime& value) {
    COLdateTime::operator=(value);
    return *this;
  }

protected:
  COLreference* copyForClone() const override { return new QVMdateTimeInternal(*this); }
};
