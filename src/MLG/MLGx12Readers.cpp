#include "MLGx12Readers.h"

#include <algorithm>

// Both readers reset to "outside" on open and on every setPosition: a position handed back
// by position() after a message always stands outside the unit that message was.

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool isBlankOrMark(char c) { return isBlank(c) || c == '\xEF' || c == '\xBB' || c == '\xBF'; }

// A padded header is 106 bytes; one with unpadded elements is shorter.  Blanks and a byte
// order mark may stand in front of it.
constexpr size_t kPeekSize = 512;

}  // namespace

MLGx12Reader::MLGx12Reader(MLGreaderFileFormat format) : MLGfileReader(format) { m_MessageTerminator = COLstring(1, '\r'); }

void MLGx12Reader::resetState(uint64_t, bool) {
  m_State = 0;
  m_Declared = MLGx12Declared();
  m_InterchangeEnded = false;
}

// At a segment's start: an ISA (behind blanks or a byte order mark) that declares a
// terminator other than a plain CR switches to reading by that terminator.  A CR followed
// by LF counts as declared too; a CR alone keeps the line reading of CR-ended logs.
bool MLGx12Reader::enterDeclaredInterchange() {
  MLGblockFile& input = file();
  // Most segments start with neither: one byte tells.
  input.peek(m_Peek, 1, m_EndOfFileCharacter);
  if (m_Peek.empty() || !(m_Peek[0] == 'I' || isBlankOrMark(m_Peek[0]))) return false;
  input.peek(m_Peek, kPeekSize, m_EndOfFileCharacter);
  const std::string_view bytes(m_Peek);
  size_t skip = 0;
  while (skip < bytes.size() && isBlankOrMark(bytes[skip])) ++skip;
  if (bytes.substr(skip, 3) != "ISA") return false;
  if (skip && bytes.substr(0, skip).find_first_not_of(" \t\r\n") != std::string_view::npos &&
      bytes.substr(0, skip).find("\xEF\xBB\xBF") == std::string_view::npos)
    return false;  // stray mark bytes are text, not a byte order mark
  MLGx12Declared declared;
  if (!MLGreadX12Header(bytes.substr(skip), declared)) return false;
  if (skip + declared.length + 1 > bytes.size()) return false;
  if (declared.segment == '\r') {
    const size_t behind = skip + declared.length + 1;
    if (behind >= bytes.size() || bytes[behind] != '\n') return false;
  }
  m_Declared = declared;
  input.setPosition(input.position() + skip);
  return true;
}

bool MLGx12Reader::readSegment(std::string_view& segment, uint64_t& start) {
  MLGblockFile& input = file();
  for (;;) {
    if (m_InterchangeEnded) m_Declared = MLGx12Declared();
    m_InterchangeEnded = false;
    // Every ISA may declare other separators: a log may mix interchanges of several kinds.
    bool look = m_Declared.segment == 0;
    if (!look) {
      input.peek(m_Peek, 3, m_EndOfFileCharacter);
      look = m_Peek == "ISA" || (!m_Peek.empty() && m_Peek[0] == '\xEF');
    }
    if (look) enterDeclaredInterchange();
    start = input.position();
    if (m_Declared.segment == 0) {
      const unsigned end = readLine(segment, MLGnewlineCR);
      if (!segment.empty()) return end != MLGendOfInput;
      if (end == MLGendOfInput) return false;
      continue;
    }
    const bool found = readUntil(segment, m_Declared.segment, isBlank);
    // Line breaks inside a segment are no data: files wrapped at a fixed width break anywhere.
    if (segment.find_first_of("\r\n") != std::string_view::npos) {
      m_Joined.clear();
      for (const char c : segment)
        if (c != '\r' && c != '\n') m_Joined += c;
      segment = m_Joined;
    }
    if (!segment.empty()) {
      // Behind the trailer the next interchange declares its own separators, or none.
      m_InterchangeEnded = isSegment(segment, "IEA");
      return found;
    }
    if (!found) return false;
  }
}

uint64_t MLGx12Reader::countHeadersFrom(const COLstring& path, uint64_t from) const {
  return MLGcountHeaderLines(path, from, headerSegmentName(), '~');
}

bool MLGx12Reader::isSegment(std::string_view segment, std::string_view id) const {
  if (!startsWith(segment, id)) return false;
  if (m_Declared.segment == 0) return true;
  return segment.size() == id.size() || segment[id.size()] == m_Declared.element;
}

bool MLGx12Reader::isIgnored(std::string_view segment) const {
  const char element = m_Declared.segment == 0 ? '*' : m_Declared.element;
  return std::any_of(m_IgnoredSegments.begin(), m_IgnoredSegments.end(), [&](const COLstring& entry) {
    return segment.size() > entry.size() && startsWith(segment, entry.view()) && segment[entry.size()] == element;
  });
}

MLGx12InterchangeReader::MLGx12InterchangeReader() : MLGx12Reader(MLGx12Interchange) {}

COLstring MLGx12InterchangeReader::nextMessage() {
  MLGblockFile& input = file();
  COLstring message = startMessage();
  std::string_view segment;
  uint64_t start = 0;
  for (;;) {
    const bool more = readSegment(segment, start);
    if (segment.empty()) break;
    bool keep = true;
    switch (m_State) {
      case 0:
        if (!isSegment(segment, "ISA")) {
          keep = false;
        } else if (!message.empty()) {
          input.setPosition(start);
          return finishMessage(message);
        } else {
          m_State = 1;
        }
        break;
      case 1:
        if (isSegment(segment, "GS")) m_State = 2;
        else if (isSegment(segment, "IEA")) m_State = 0;
        // An interchange acknowledgment belongs to the interchange; CR-ended logs keep their
        // framing, which drops it.
        else keep = declared().segment != 0 && isSegment(segment, "TA1");
        break;
      case 2:
        if (isSegment(segment, "ST")) m_State = 3;
        else if (isSegment(segment, "GE")) m_State = 1;
        else keep = false;
        break;
      default:
        if (isSegment(segment, "SE")) m_State = 2;
        break;
    }
    if (keep && !isIgnored(segment)) appendSegment(message, segment, start);
    if (!more) break;
  }
  if (message.empty()) return COLstring();
  return finishMessage(message);
}

MLGx12BatchReader::MLGx12BatchReader() : MLGx12Reader(MLGx12Batch) {}

COLstring MLGx12BatchReader::nextMessage() {
  MLGblockFile& input = file();
  COLstring message = startMessage();
  std::string_view segment;
  uint64_t start = 0;
  for (;;) {
    const bool more = readSegment(segment, start);
    if (segment.empty()) break;
    if (m_State == 0) {
      if (isSegment(segment, "ST")) {
        if (!message.empty()) {
          input.setPosition(start);
          return finishMessage(message);
        }
        m_State = 1;
        if (!isIgnored(segment)) appendSegment(message, segment, start);
      }
      // envelope and stray segments are dropped
    } else {
      if (isSegment(segment, "SE")) m_State = 0;
      if (!isIgnored(segment)) appendSegment(message, segment, start);
    }
    if (!more) break;
  }
  if (message.empty()) return COLstring();
  return finishMessage(message);
}
