#include "MLGx12Readers.h"

// Both readers reset to "outside" on open and on every setPosition: a position handed back
// by position() after a message always stands outside the unit that message was.

MLGx12InterchangeReader::MLGx12InterchangeReader() : MLGfileReader(MLGx12Interchange) {
  m_MessageTerminator = "\r";
}

void MLGx12InterchangeReader::resetState(uint64_t, bool) { m_State = 0; }

COLstring MLGx12InterchangeReader::nextMessage() {
  MLGblockFile& input = file();
  COLstring message = startMessage();
  std::string_view line;
  for (;;) {
    const uint64_t lineStart = input.position();
    const unsigned end = readLine(line, MLGnewlineCR);
    if (line.empty()) {
      if (end == MLGendOfInput) break;
      continue;
    }
    bool keep = true;
    switch (m_State) {
      case 0:
        if (!startsWith(line, "ISA")) {
          keep = false;
        } else if (!message.empty()) {
          input.setPosition(lineStart);
          return finishMessage(message);
        } else {
          m_State = 1;
        }
        break;
      case 1:
        if (startsWith(line, "GS")) m_State = 2;
        else if (startsWith(line, "IEA")) m_State = 0;
        else keep = false;
        break;
      case 2:
        if (startsWith(line, "ST")) m_State = 3;
        else if (startsWith(line, "GE")) m_State = 1;
        else keep = false;
        break;
      default:
        if (startsWith(line, "SE")) m_State = 2;
        break;
    }
    if (keep && !isIgnoredX12Segment(line)) appendSegment(message, line, lineStart);
  }
  if (message.empty()) return COLstring();
  return finishMessage(message);
}

MLGx12BatchReader::MLGx12BatchReader() : MLGfileReader(MLGx12Batch) { m_MessageTerminator = "\r"; }

void MLGx12BatchReader::resetState(uint64_t, bool) { m_State = 0; }

COLstring MLGx12BatchReader::nextMessage() {
  MLGblockFile& input = file();
  COLstring message = startMessage();
  std::string_view line;
  for (;;) {
    const uint64_t lineStart = input.position();
    const unsigned end = readLine(line, MLGnewlineCR);
    if (line.empty()) {
      if (end == MLGendOfInput) break;
      continue;
    }
    if (m_State == 0) {
      if (!startsWith(line, "ST")) continue;  // envelope and stray lines are dropped
      if (!message.empty()) {
        input.setPosition(lineStart);
        return finishMessage(message);
      }
      m_State = 1;
    } else if (startsWith(line, "SE")) {
      m_State = 0;
    }
    if (!isIgnoredX12Segment(line)) appendSegment(message, line, lineStart);
  }
  if (message.empty()) return COLstring();
  return finishMessage(message);
}
