// The log as the tool meets it: a pipe made readable more than once, and line numbers for
// the byte offsets that reports name.
#pragma once

#include <cstdint>

#include "COLstring.h"
#include "MLGblockFile.h"

// A log that is no regular file (a pipe, a FIFO, a terminal) has no size, cannot seek and can
// be read only once, while sniffing reads a log several times and readers step back a line.
// Such a log is copied into an unnamed temporary file; path() is then that copy, which goes
// away with this object (or with the process).
class MLGlogInput {
public:
  explicit MLGlogInput(const COLstring& path);
  ~MLGlogInput();
  MLGlogInput(const MLGlogInput&) = delete;
  MLGlogInput& operator=(const MLGlogInput&) = delete;

  const COLstring& path() const { return m_Path; }
  bool copied() const { return m_Copy != -1; }

private:
  COLstring m_Path;
  int m_Copy = -1;
};

// Line numbers of byte offsets, counted from 1; CR LF, a lone CR and a lone LF each end a
// line.  Offsets asked for in rising order cost one pass over the file in all.
class MLGlineCounter {
public:
  explicit MLGlineCounter(const COLstring& path) : m_Path(path) {}
  uint64_t lineAt(uint64_t offset);

private:
  COLstring m_Path;
  MLGblockFile m_File{1 << 20};
  uint64_t m_Offset = 0;  // counted up to here
  uint64_t m_Lines = 0;   // line ends before m_Offset
  bool m_PendingCR = false;
};
