#include "FILtextFile.h"

#include <cstring>

#include "COLerror.h"

namespace {
constexpr size_t BufferSize = 64 * 1024;
}

FILtextFile::FILtextFile(FILtype type) : FILbinaryFile(type) {}

FILtextFile::FILtextFile(const COLstring& path, FILmode mode, FILtype type) : FILbinaryFile(type) {
  open(path, mode);
}

FILtextFile::~FILtextFile() {
  try {
    if (isOpen()) settle();
  } catch (...) {
    // The base destructor closes the file; nothing can be reported from here.
  }
}

void FILtextFile::settle() {
  if (!m_WriteBuffer.empty()) {
    FILbinaryFile::write(m_WriteBuffer.data(), m_WriteBuffer.size());
    m_WriteBuffer.clear();
  }
  if (m_ReadCursor < m_ReadEnd) {
    const uint64_t logical = FILbinaryFile::position64() - (m_ReadEnd - m_ReadCursor);
    FILbinaryFile::setPosition64(logical);
  }
  m_ReadCursor = m_ReadEnd = 0;
}

bool FILtextFile::fillReadBuffer() {
  if (m_ReadCursor < m_ReadEnd) return true;
  if (!m_WriteBuffer.empty()) settle();
  if (m_ReadBuffer.size() < BufferSize) m_ReadBuffer.resize(BufferSize);
  m_ReadCursor = 0;
  m_ReadEnd = FILbinaryFile::read(m_ReadBuffer.data(), m_ReadBuffer.size());
  return m_ReadEnd > 0;
}

bool FILtextFile::readCharacter(char& c) {
  if (!fillReadBuffer()) return false;
  c = m_ReadBuffer[m_ReadCursor++];
  return true;
}

bool FILtextFile::readLine(COLstring& line) {
  line.clear();
  bool readAny = false;
  while (fillReadBuffer()) {
    readAny = true;
    const char* start = m_ReadBuffer.data() + m_ReadCursor;
    const size_t available = m_ReadEnd - m_ReadCursor;
    const char* lf = static_cast<const char*>(std::memchr(start, '\n', available));
    if (!lf) {
      line.append(available, start);
      m_ReadCursor = m_ReadEnd;
      continue;
    }
    line.append(static_cast<size_t>(lf - start), start);
    m_ReadCursor += static_cast<size_t>(lf - start) + 1;
    if (!line.empty() && line[line.size() - 1] == '\r') line.resize(line.size() - 1);
    return true;
  }
  return readAny;
}

size_t FILtextFile::read(void* buffer, size_t count) {
  char* out = static_cast<char*>(buffer);
  size_t done = 0;
  if (m_ReadCursor < m_ReadEnd) {
    done = std::min(count, m_ReadEnd - m_ReadCursor);
    std::memcpy(out, m_ReadBuffer.data() + m_ReadCursor, done);
    m_ReadCursor += done;
  }
  if (done < count) {
    settle();
    done += FILbinaryFile::read(out + done, count - done);
  }
  return done;
}

bool FILtextFile::isEndOfSource() const {
  return m_ReadCursor >= m_ReadEnd && FILbinaryFile::isEndOfSource();
}

void FILtextFile::writeCharacter(char c) { write(&c, 1); }

void FILtextFile::writeLine(const COLstring& line) {
  write(line.data(), line.size());
  writeCharacter('\n');
}

size_t FILtextFile::write(const void* data, size_t size) {
  if (m_ReadCursor < m_ReadEnd) settle();
  if (m_WriteBuffer.size() + size > BufferSize) {
    settle();
    if (size >= BufferSize) return FILbinaryFile::write(data, size);
  }
  const char* bytes = static_cast<const char*>(data);
  m_WriteBuffer.insert(m_WriteBuffer.end(), bytes, bytes + size);
  return size;
}

void FILtextFile::flush() {
  settle();
  FILbinaryFile::flush();
}

void FILtextFile::open(const COLstring& path, FILmode mode) {
  close();
  FILbinaryFile::open(path, mode);
}

void FILtextFile::close() {
  if (isOpen()) {
    try {
      settle();
    } catch (...) {
      m_WriteBuffer.clear();
      m_ReadCursor = m_ReadEnd = 0;
      FILbinaryFile::close();
      throw;
    }
  }
  m_WriteBuffer.clear();
  m_ReadCursor = m_ReadEnd = 0;
  FILbinaryFile::close();
}

uint64_t FILtextFile::position64() const {
  return FILbinaryFile::position64() - (m_ReadEnd - m_ReadCursor) + m_WriteBuffer.size();
}

void FILtextFile::setPosition64(uint64_t position) {
  settle();
  FILbinaryFile::setPosition64(position);
}

unsigned FILtextFile::position() const {
  const uint64_t here = position64();
  COL_PRECONDITION_TEXT(here <= COL_UINT_32_MAX, "pMember->position() <= COL_UINT_32_MAX");
  return static_cast<unsigned>(here);
}

void FILtextFile::setPosition(unsigned position) { setPosition64(position); }
