// SFIhexEncodeFilter: a filter that passes on each byte as two upper-case hexadecimal
// digits, the upper four bits first.  It holds nothing between writes.
#pragma once

#include "COLfilter.h"

class SFIhexEncodeFilter : public COLfilter {
public:
  SFIhexEncodeFilter() = default;
  explicit SFIhexEncodeFilter(COLsink* next) : COLfilter(next) {}
  // Returns `size`: every byte is taken.
  size_t write(const void* data, size_t size) override;

protected:
  void onWrite() override {}
};
