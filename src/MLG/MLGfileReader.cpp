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

void MLGfileReader::close() { pMember->File.close(); }

bool MLGfileReader::hasNextMessage() {
  return pMember->File.isOpen() && pMember->File.position() != pMember->File.size();
}

void MLGfileReader::setBlockSize(size_t bytes) { pMember->File.setBlockSize(bytes); }

MLGblockFile& MLGfileReader::file() {
  COL_PRECONDITION(pMember->File.isOpen());
  return pMember->File;
}

COLstring MLGfileReader::startMessage() const {
  COLstring message;
  message.str().reserve(pMember->SizeHint);
  return message;
}

void MLGfileReader::appendSegment(COLstring& message, std::string_view line) const {
  if (!message.empty()) message += m_SegmentTerminator;
  message += line;
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
