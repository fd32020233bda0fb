// X12 log readers: whole interchanges (ISA ... IEA, envelope kept) or single transaction sets
// (ST ... SE, envelope dropped).  Segments end where the interchange header says: an ISA
// that declares a terminator other than a plain CR is read by that terminator, with line
// breaks and indentation behind it dropped; everything else is read by CR-ended lines.
// Either way the message comes out with CR between segments and the element, repetition
// and component separators as the interchange declared them.
#pragma once

#include "MLGfileReader.h"
#include "MLGx12Header.h"

class MLGx12Reader : public MLGfileReader {
public:
  // The separators of the interchange being read; element 0 while reading CR-ended lines
  // outside any declared interchange.
  const MLGx12Declared& declared() const { return m_Declared; }
  // Counted at line starts and behind "~", the terminator of most interchanges.
  uint64_t countHeadersFrom(const COLstring& path, uint64_t from) const override;

protected:
  explicit MLGx12Reader(MLGreaderFileFormat format);
  void resetState(uint64_t position, bool opened) override;

  // The next segment and where it starts; false at the end of the input (then `segment` may
  // still hold a last, open one).
  bool readSegment(std::string_view& segment, uint64_t& start);
  // Whether the segment has this id: by prefix on CR-ended lines, as always; whole, followed
  // by the element separator or the segment's end, inside a declared interchange.
  bool isSegment(std::string_view segment, std::string_view id) const;
  // A segment the caller asked to drop (m_IgnoredSegments, then the element separator).
  bool isIgnored(std::string_view segment) const;

  uint32_t m_State = 0;

private:
  bool enterDeclaredInterchange();

  MLGx12Declared m_Declared;
  bool m_InterchangeEnded = false;  // the last segment read was an IEA
  std::string m_Peek;
  std::string m_Joined;  // a segment with its line breaks taken out
};

class MLGx12InterchangeReader : public MLGx12Reader {
public:
  MLGx12InterchangeReader();
  const char* headerSegmentName() const override { return "ISA"; }
  COLstring nextMessage() override;  // state: 0 outside, 1 in an interchange, 2 in a group, 3 in a set
};

class MLGx12BatchReader : public MLGx12Reader {
public:
  MLGx12BatchReader();
  const char* headerSegmentName() const override { return "ST"; }
  COLstring nextMessage() override;  // state: 0 outside a transaction set, 1 inside
};
