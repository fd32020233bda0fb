// FMTbinaryDump: hexadecimal dumps of bytes, 16 to a line, for error reports and debugging.
// A line holds the bytes as digits in two groups of eight, then the same bytes as text
// (control bytes and bytes from 128 up as "."):
//   "4D 53 48 7C 5E 7E 5C 26   0D 50 49 44 7C 31 7C 7C   MSH|^~\& .PID|1||"
#pragma once

#include <cstddef>
#include <functional>

#include "COLsink.h"
#include "COLstring.h"

class COLostream;

// One line of at most 16 bytes, without its line end, in one write.
void FMTbinaryDump16(COLsink& sink, const void* data, size_t length);
// A line and `newline` for every 16 bytes (the last line may be short).
void FMTbinaryDump(COLsink& sink, const void* data, size_t length, const COLstring& newline);
// As above, ending lines with the stream's own line end.
void FMTbinaryDump(COLostream& stream, const void* data, size_t length);

// A dump filled a piece at a time: bytes are collected to full lines of 16, each written as
// FMTbinaryDump16's text, " ", what the functor gives for each byte, and `newline`.  A short
// last line waits for more bytes and is written by flush() or the destructor.
class FMTbinaryDebug {
public:
  using Functor = std::function<COLstring(unsigned char)>;

  explicit FMTbinaryDebug(COLsink& sink, const COLstring& newline = "\n");
  FMTbinaryDebug(const FMTbinaryDebug&) = delete;
  FMTbinaryDebug& operator=(const FMTbinaryDebug&) = delete;
  ~FMTbinaryDebug();

  void write(const void* data, size_t size, const Functor& functor);
  // Writes a waiting short line now.
  void flush();

private:
  void writeLine(const unsigned char* bytes, size_t count);

  COLsink& m_Sink;
  COLstring m_Newline;
  Functor m_Functor;
  unsigned char m_TempBuffer[16];
  size_t m_TempSize = 0;
};
