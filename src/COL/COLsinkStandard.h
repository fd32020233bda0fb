// Sinks at the far end of a chain: standard output and error (buffered by stdio, so a
// stream of small writes costs no system call each), nothing at all, and a line callback.
#pragma once

#include "COLsink.h"
#include "COLstring.h"

class COLsinkStandardOut : public COLsink {
public:
  size_t write(const void* data, size_t size) override;
  void flush() override;
  // Line ends are never translated on this platform.
  static void setBinaryMode(bool) {}
};

class COLsinkStandardErr : public COLsink {
public:
  size_t write(const void* data, size_t size) override;
  void flush() override;
  static void setBinaryMode(bool) {}
};

class COLsinkNull : public COLsink {
public:
  size_t write(const void*, size_t size) override { return size; }
};

// Collects text line by line and hands each finished line (without its CR, LF or CR LF)
// to a function.  flush() hands over what is collected, even an empty line.
class COLsinkCallback : public COLsink {
public:
  using Function = void (*)(const char*);
  explicit COLsinkCallback(Function function);
  size_t write(const void* data, size_t size) override;
  void flush() override;

private:
  Function m_Function;
  COLstring m_Line;
  bool m_PendingCR = false;  // the last write ended in CR; an LF that follows belongs to it
};
