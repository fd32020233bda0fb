#include "COLsinkStandard.h"

#include <cstdio>

#include "COLerror.h"

size_t COLsinkStandardOut::write(const void* data, size_t size) {
  if (size) std::fwrite(data, 1, size, stdout);
  return size;
}
void COLsinkStandardOut::flush() { std::fflush(stdout); }

size_t COLsinkStandardErr::write(const void* data, size_t size) {
  if (size) std::fwrite(data, 1, size, stderr);
  return size;
}
void COLsinkStandardErr::flush() { std::fflush(stderr); }

COLsinkCallback::COLsinkCallback(Function Callback) : m_Function(Callback) {
  COL_PRECONDITION(Callback != NULL);
}

size_t COLsinkCallback::write(const void* data, size_t size) {
  const char* text = static_cast<const char*>(data);
  size_t left = size;
  if (m_PendingCR && left > 0) {
    m_PendingCR = false;
    if (*text == '\n') { ++text; --left; }
  }
  while (left > 0) {
    size_t p = 0;
    while (p < left && text[p] != '\r' && text[p] != '\n') ++p;
    if (p == left) {
      m_Line.append(left, text);
      break;
    }
    m_Line.append(p, text);
    flush();
    size_t lineEnd = 1;
    if (text[p] == '\r') {
      if (p + 1 < left && text[p + 1] == '\n') lineEnd = 2;
      else if (p + 1 == left) m_PendingCR = true;
    }
    text += p + lineEnd;
    left -= p + lineEnd;
  }
  return size;
}

void COLsinkCallback::flush() {
  m_Function(m_Line.c_str());
  m_Line.clear();
}
