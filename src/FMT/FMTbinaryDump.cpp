#include "FMTbinaryDump.h"

#include <algorithm>
#include <cstring>

#include "COLerror.h"
#include "COLostream.h"
#include "FMThex.h"

namespace {

constexpr size_t FMTbytesPerLine = 16;
// 16 x "XX ", two group gaps of "  ", 16 text bytes, the text gap and the short-line blank.
constexpr size_t FMTlineCapacity = 16 * 3 + 2 * 2 + 16 + 1 + 1;

size_t FMTformatLine(char* pLine, const unsigned char* pBytes, size_t Length) {
  char* pOut = pLine;
  for (size_t Index = 0; Index < FMTbytesPerLine; ++Index) {
    if (Index < Length) {
      *pOut++ = FMThexDigits[pBytes[Index] >> 4];
      *pOut++ = FMThexDigits[pBytes[Index] & 0x0F];
      *pOut++ = ' ';
    } else {
      pOut = std::fill_n(pOut, 3, ' ');
    }
    if (Index == 7 || Index == 15) pOut = std::fill_n(pOut, 2, ' ');
  }
  for (size_t Index = 0; Index < Length; ++Index) {
    const unsigned char Byte = pBytes[Index];
    *pOut++ = (Byte < 32 || Byte >= 128) ? '.' : static_cast<char>(Byte);
    if (Index == 7) *pOut++ = ' ';
  }
  if (Length < 8) *pOut++ = ' ';
  return static_cast<size_t>(pOut - pLine);
}

}  // namespace

void FMTbinaryDump16(COLsink& sink, const void* data, size_t Length) {
  COL_PRECONDITION(Length <= 16);
  char Line[FMTlineCapacity];
  sink.write(Line, FMTformatLine(Line, static_cast<const unsigned char*>(data), Length));
}

void FMTbinaryDump(COLsink& sink, const void* data, size_t length, const COLstring& newline) {
  const auto* pBytes = static_cast<const unsigned char*>(data);
  for (size_t Offset = 0; Offset < length; Offset += FMTbytesPerLine) {
    FMTbinaryDump16(sink, pBytes + Offset, std::min(FMTbytesPerLine, length - Offset));
    sink.write(newline.data(), newline.size());
  }
}

void FMTbinaryDump(COLostream& stream, const void* data, size_t length) {
  COLsink* pSink = stream.sink();
  COL_PRECONDITION(pSink != NULL);
  FMTbinaryDump(*pSink, data, length, stream.getNewLine());
}

FMTbinaryDebug::FMTbinaryDebug(COLsink& sink, const COLstring& newline) : m_Sink(sink), m_Newline(newline) {}

FMTbinaryDebug::~FMTbinaryDebug() {
  try {
    flush();
  } catch (...) {
    // A destructor must not throw; whoever needs to know calls flush() first.
  }
}

void FMTbinaryDebug::writeLine(const unsigned char* bytes, size_t count) {
  FMTbinaryDump16(m_Sink, bytes, count);
  m_Sink.write(" ", 1);
  if (m_Functor) {
    for (size_t Index = 0; Index < count; ++Index) {
      const COLstring Text = m_Functor(bytes[Index]);
      m_Sink.write(Text.data(), Text.size());
    }
  }
  m_Sink.write(m_Newline.data(), m_Newline.size());
}

void FMTbinaryDebug::write(const void* data, size_t size, const Functor& functor) {
  m_Functor = functor;
  if (size == 0) return;
  const auto* pBytes = static_cast<const unsigned char*>(data);
  // Complete a waiting line first, then whole lines straight from the caller's bytes.
  if (m_TempSize > 0) {
    const size_t Taken = std::min(size, FMTbytesPerLine - m_TempSize);
    std::memcpy(m_TempBuffer + m_TempSize, pBytes, Taken);
    m_TempSize += Taken;
    pBytes += Taken;
    size -= Taken;
    if (m_TempSize < FMTbytesPerLine) return;
    writeLine(m_TempBuffer, m_TempSize);
    m_TempSize = 0;
  }
  const size_t WriteSize = size - size % FMTbytesPerLine;
  for (size_t Offset = 0; Offset < WriteSize; Offset += FMTbytesPerLine) writeLine(pBytes + Offset, FMTbytesPerLine);
  m_TempSize = size - WriteSize;
  std::memcpy(m_TempBuffer, pBytes + WriteSize, m_TempSize);
}

void FMTbinaryDebug::flush() {
  if (m_TempSize == 0) return;
  const size_t Count = m_TempSize;
  m_TempSize = 0;
  writeLine(m_TempBuffer, Count);
}
