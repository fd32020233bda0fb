#include "MLGfileReader.h"

#include <algorithm>

#include "COLerror.h"

namespace {
// Large enough for ordinary messages; a huge one does not make every later one reserve as much.
constexpr size_t kMaxSizeHint = size_t{1} << 20;
}  // namespace

MLGfileReader::MLGfileReader(MLGreaderFileFormat format) : MLGreader(format), pMember(std::make_unique<Private>()) {}

MLGfileReader::~MLGfileReader() = default;

uint64_t MLGfileReader::position() const {
  COL_PRECONDITION(pMember->File.isOpen());
  return pMember->File.position();
}

void MLGfileReader::setPosition(uint64_t position) {
  COL_PRECONDITION(pMember->File.isOpen());
  pMember->File.setPosition(position);
  resetState(position, false);
}

void MLGfileReader::open(const COLstring& path) {
  pMember->File.open(path);
  resetState(0, true);
}

void MLGfileReader::openAt(const COLstring& path, uint64_t start) {
  pMember->File.open(path);
  pMember->File.setPosition(start);
  resetState(0, true);
}

bool MLGfileReader::inputCutAt(uint64_t& offset) const {
  return pMember->File.isOpen() && pMember->File.cutAt(offset);
}

void MLGfileReader::close() { pMember->File.close(); }

bool MLGfileReader::hasNextMessage() {
  return pMember->File.isOpen() && pMember->File.position() != pMember->File.size();
}

void MLGfileReader::setBlockSize(size_t bytes) { pMember->File.setBlockSize(bytes); }

MLGblockFile& MLGfileReader::file() {
  COL_PRECONDITION(pMember->File.isOpen());
  return pMember->File;
}

COLstring MLGfileReader::startMessage() {
  m_Notes.Start = pMember->File.position();
  m_Notes.InnerHeaders.clear();
  m_Notes.DroppedHeaders.clear();
  m_Notes.Unterminated = false;
  m_Notes.ByteOrderMark = false;
  COLstring message;
  message.str().reserve(pMember->SizeHint);
  return message;
}

// A header at the line's start (unless the line opens the message) or behind a CR or LF that
// this framing does not end lines on.
void MLGfileReader::noteHeaders(std::string_view line, uint64_t lineStart, std::vector<uint64_t>& into,
                                bool first) const {
  const std::string_view header = watchedHeader();
  if (header.empty()) return;
  if (!first && startsWith(line, header)) into.push_back(lineStart);
  for (size_t at = line.find(header, 1); at != std::string_view::npos; at = line.find(header, at + 1))
    if (line[at - 1] == '\r' || line[at - 1] == '\n') into.push_back(lineStart + at);
}

void MLGfileReader::appendSegment(COLstring& message, std::string_view line, uint64_t lineStart) {
  const bool first = message.empty();
  if (first) {
    m_Notes.Start = lineStart;
    m_Notes.ByteOrderMark = startsWith(line, "\xEF\xBB\xBF");
  }
  noteHeaders(line, lineStart, m_Notes.InnerHeaders, first);
  // A log of many messages ends each with a line end; one taken whole need not.
  if (m_LastLineOpen && m_FileFormat != MLGsingleMessage) m_Notes.Unterminated = true;
  if (!first) message += m_SegmentTerminator;
  message += line;
}

void MLGfileReader::dropLine(std::string_view line, uint64_t lineStart) {
  noteHeaders(line, lineStart, m_Notes.DroppedHeaders, false);
}

COLstring MLGfileReader::finishMessage(COLstring& message) {
  message += m_MessageTerminator;
  pMember->SizeHint = std::min(message.size() + message.size() / 8, kMaxSizeHint);
  return std::move(message);
}

bool MLGfileReader::startsWithIgnored(std::string_view line) const {
  return std::any_of(m_IgnoredSegments.begin(), m_IgnoredSegments.end(),
                     [&](const COLstring& entry) { return startsWith(line, entry.view()); });
}

bool MLGfileReader::extendsIgnored(std::string_view line) const {
  return std::any_of(m_IgnoredSegments.begin(), m_IgnoredSegments.end(), [&](const COLstring& entry) {
    return line.size() > entry.size() && startsWith(line, entry.view());
  });
}

bool MLGfileReader::isIgnoredX12Segment(std::string_view line) const {
  return std::any_of(m_IgnoredSegments.begin(), m_IgnoredSegments.end(), [&](const COLstring& entry) {
    return line.size() > entry.size() && startsWith(line, entry.view()) && line[entry.size()] == '*';
  });
}
