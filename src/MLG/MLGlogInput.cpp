#include "MLGlogInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "FILbinaryFile.h"

namespace {

void writeAll(int descriptor, const char* data, size_t count, const COLstring& name) {
  while (count) {
    const ssize_t written = ::write(descriptor, data, count);
    if (written == -1 && errno == EINTR) continue;
    if (written <= 0) FILthrowErrno("write failed on '", name, "'. ", written == 0 ? ENOSPC : errno);
    data += written;
    count -= static_cast<size_t>(written);
  }
}

}  // namespace

MLGlogInput::MLGlogInput(const COLstring& path) : m_Path(path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return;
  int source;
  do source = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  while (source == -1 && errno == EINTR);
  if (source == -1) FILthrowErrno("Open file '", path, "' failed. ", errno);
  const char* directory = std::getenv("TMPDIR");
  std::string name = std::string(directory && *directory ? directory : "/tmp") + "/msgbridge-log-XXXXXX";
  const int copy = ::mkostemp(name.data(), O_CLOEXEC);
  if (copy == -1) {
    const int error = errno;
    ::close(source);
    FILthrowErrno("Open file '", COLstring(name), "' failed. ", error);
  }
  ::unlink(name.c_str());  // nameless from now on: nothing is left behind however the run ends
  try {
    char buffer[1 << 16];
    for (;;) {
      const ssize_t count = ::read(source, buffer, sizeof buffer);
      if (count == -1 && errno == EINTR) continue;
      if (count == -1) FILthrowErrno("read failed on '", path, "'. ", errno);
      if (count == 0) break;
      writeAll(copy, buffer, static_cast<size_t>(count), COLstring(name));
    }
  } catch (...) {
    ::close(source);
    ::close(copy);
    throw;
  }
  ::close(source);
  m_Copy = copy;
  m_Path = COLstring("/dev/fd/" + std::to_string(copy));
}

MLGlogInput::~MLGlogInput() {
  if (m_Copy != -1) ::close(m_Copy);
}

uint64_t MLGlineCounter::lineAt(uint64_t offset) {
  if (!m_File.isOpen()) m_File.open(m_Path);
  if (offset < m_Offset) {
    m_Offset = m_Lines = 0;
    m_PendingCR = false;
  }
  m_File.setPosition(m_Offset);
  const char* data = nullptr;
  while (m_Offset < offset) {
    const size_t count = m_File.readChunk(data);
    if (count == 0) break;
    const size_t use = static_cast<size_t>(std::min<uint64_t>(count, offset - m_Offset));
    for (size_t i = 0; i < use; ++i) {
      const char c = data[i];
      if (c == '\n') {
        ++m_Lines;  // a CR in front of it is part of this line end
        m_PendingCR = false;
      } else {
        if (m_PendingCR) ++m_Lines;
        m_PendingCR = c == '\r';
      }
    }
    m_Offset += use;
  }
  return m_Lines + (m_PendingCR ? 1 : 0) + 1;
}
