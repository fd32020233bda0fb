#include "MLGhl7Reader.h"

#include <string>

#include "COLerror.h"

namespace {
struct Hl7Framing {
  unsigned lineEndMask;
  unsigned messageBreak;
};

// Line ends each format splits on, and the line end that may close a message.
bool hl7Framing(MLGreaderFileFormat format, Hl7Framing& framing) {
  switch (format) {
    case MLGhl7Standard: framing = {MLGnewlineCR | MLGnewlineCRLF, MLGnewlineCRLF}; return true;
    case MLGhl7CRLF: framing = {MLGnewlineCRLF, MLGnewlineCRLF}; return true;
    case MLGhl7CR: framing = {MLGnewlineCR, MLGnewlineCR}; return true;
    case MLGhl7LF: framing = {MLGnewlineLF, MLGnewlineLF}; return true;
    case MLGsingleMessage: framing = {MLGnewlineCR | MLGnewlineLF | MLGnewlineCRLF, 0}; return true;
    default: return false;
  }
}
}  // namespace

MLGhl7Reader::MLGhl7Reader(MLGreaderFileFormat format) : MLGfileReader(format) {
  Hl7Framing framing{};
  if (!hl7Framing(format, framing))
    throw COLerror(COLstring("Unrecognized data format specified: ") + std::to_string(static_cast<int>(format)).c_str(),
                   COL_ERROR_PRECONDITION);
  m_LineEndMask = framing.lineEndMask;
  m_MessageBreak = framing.messageBreak;
  m_MessageHeader = format == MLGsingleMessage ? "" : "MSH";
}

COLstring MLGhl7Reader::nextMessage() {
  MLGblockFile& input = file();
  COLstring message = startMessage();
  if (m_FileFormat == MLGsingleMessage && input.size() > input.position()) {
    // The whole rest of the file is one message and never longer than the bytes left:
    // one allocation instead of a doubling series of copies.
    message.str().reserve(static_cast<size_t>(input.size() - input.position()) + m_MessageTerminator.size());
  }
  unsigned lastEnd = 0;
  // Behind the last non-empty line: where the next message starts if the current line opens it,
  // so blank lines before a header go to the next call.
  uint64_t resume = input.position();
  m_Notes.HeaderBreak = m_MessageBreak == MLGnewlineCRLF ? "CR LF"
                        : m_MessageBreak == MLGnewlineCR  ? "CR"
                        : m_MessageBreak == MLGnewlineLF  ? "LF"
                                                          : "";
  std::string_view line;
  for (;;) {
    uint64_t lineStart = input.position();
    const unsigned end = readLine(line, m_LineEndMask);
    if (lineStart == 0 && !m_MessageHeader.empty() && startsWith(line, "\xEF\xBB\xBF")) {
      // A byte order mark is no part of the first message.
      line.remove_prefix(3);
      lineStart = 3;
    }
    if (line.empty()) {
      if (end == MLGendOfInput) break;
      lastEnd = end;
      continue;
    }
    if (lastEnd == m_MessageBreak && !message.empty() && !m_MessageHeader.empty() &&
        startsWith(line, m_MessageHeader.view())) {
      input.setPosition(resume);
      break;
    }
    resume = input.position();
    lastEnd = end;
    if (!startsWithIgnored(line)) appendSegment(message, line, lineStart);
  }
  if (message.empty()) return COLstring();
  return finishMessage(message);
}

// --- batch

MLGhl7BatchReader::MLGhl7BatchReader() : MLGfileReader(MLGhl7Batch) {}

void MLGhl7BatchReader::resetState(uint64_t position, bool opened) {
  m_State = opened || position == 0 ? (m_StartsInFile ? 1 : 0) : 2;
}

COLstring MLGhl7BatchReader::nextMessage() {
  MLGblockFile& input = file();
  COLstring message = startMessage();
  m_Notes.HeaderBreak = m_MessageBreak == MLGnewlineCR ? "CR" : "CR LF";
  unsigned lastEnd = 0;
  std::string_view line;
  for (;;) {
    const uint64_t lineStart = input.position();
    const unsigned end = readLine(line, MLGnewlineCR | MLGnewlineCRLF);
    if (line.empty()) {
      if (end == MLGendOfInput) break;
      continue;  // blank lines leave the previous line end as it was
    }
    const unsigned previousEnd = lastEnd;
    lastEnd = end;
    switch (m_State) {
      case 0:
        if (startsWith(line, "FHS")) m_State = 1;
        else dropLine(line, lineStart);
        break;
      case 1:
        if (startsWith(line, "BHS")) m_State = 2;
        else if (startsWith(line, "FTS")) m_State = 0;
        else dropLine(line, lineStart);
        break;
      default:
        if (startsWith(line, "BTS")) {
          m_State = 1;
        } else if (startsWith(line, "MSH") && previousEnd == m_MessageBreak && !message.empty()) {
          input.setPosition(lineStart);
          return finishMessage(message);
        } else if (!extendsIgnored(line)) {
          appendSegment(message, line, lineStart);
        }
        break;
    }
  }
  if (message.empty()) return COLstring();
  return finishMessage(message);
}
