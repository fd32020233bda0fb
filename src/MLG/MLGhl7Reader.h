// MLGhl7Reader: HL7 logs framed by line ends (HL7Standard, HL7CRLF, HL7CR, HL7LF) and the
// whole-file framing (SingleMessage).  A message breaks where a line that ends in the
// format's message break is followed by a line that begins with the message header.
#pragma once

#include "MLGfileReader.h"

class MLGhl7Reader : public MLGfileReader {
public:
  // Raises "Unrecognized data format specified: " for a format this class does not read.
  explicit MLGhl7Reader(MLGreaderFileFormat format);

  COLstring nextMessage() override;

  // "MSH" by default, empty (never break) for SingleMessage.
  const COLstring& messageHeader() const { return m_MessageHeader; }
  void setMessageHeader(const COLstring& header) { m_MessageHeader = header; }

protected:
  std::string_view watchedHeader() const override { return m_MessageHeader.view(); }

private:
  unsigned m_LineEndMask;
  unsigned m_MessageBreak;  // the line end after which a header starts a message; 0: none
  COLstring m_MessageHeader;
};

// HL7 batch files: FHS/BHS ... BTS/FTS around the messages; the control lines are dropped.
class MLGhl7BatchReader : public MLGfileReader {
public:
  MLGhl7BatchReader();
  COLstring nextMessage() override;

  // For batches the sniffer finds in other forms: the line end behind which "MSH" starts a
  // message (CR LF by default; CR for a batch with CR between all its lines), and whether the
  // file starts inside a file header already (a batch that opens with BHS, without FHS).
  void setMessageBreak(unsigned lineEnd) { m_MessageBreak = lineEnd; }
  void setStartsInFile(bool inFile) { m_StartsInFile = inFile; }

protected:
  void resetState(uint64_t position, bool opened) override;
  std::string_view watchedHeader() const override { return "MSH"; }

private:
  uint32_t m_State = 0;  // 0 outside a file, 1 in a file, 2 in a batch
  unsigned m_MessageBreak = MLGnewlineCRLF;
  bool m_StartsInFile = false;
};
