// X12 log readers, CR-separated segments: whole interchanges (ISA ... IEA, envelope kept) or
// single transaction sets (ST ... SE, envelope dropped).
#pragma once

#include "MLGfileReader.h"

class MLGx12InterchangeReader : public MLGfileReader {
public:
  MLGx12InterchangeReader();
  COLstring nextMessage() override;

protected:
  void resetState(uint64_t position, bool opened) override;

private:
  uint32_t m_State = 0;  // 0 outside, 1 in an interchange, 2 in a group, 3 in a transaction set
};

class MLGx12BatchReader : public MLGfileReader {
public:
  MLGx12BatchReader();
  COLstring nextMessage() override;

protected:
  void resetState(uint64_t position, bool opened) override;

private:
  uint32_t m_State = 0;  // 0 outside a transaction set, 1 inside
};
