#include "CRYrandom.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "COLerror.h"

CRYrandomUnix::~CRYrandomUnix() { ::close(m_FileDescriptor); }

void CRYrandomUnix::generate(void* data, size_t size) {
  auto* pOut = static_cast<unsigned char*>(data);
  while (size > 0) {
    const ssize_t Count = ::read(m_FileDescriptor, pOut, size);
    if (Count > 0) {
      pOut += Count;
      size -= static_cast<size_t>(Count);
    } else if (Count == 0) {
      throw COLerror("The random device gave no more bytes.", COL_ERROR_RESOURCE);
    } else if (errno != EINTR) {
      const int ErrorNumber = errno;
      throw COLerror(COLstring("Reading the random device failed: ") + COLstrerror(ErrorNumber),
                     static_cast<uint32_t>(ErrorNumber));
    }
  }
}

CRYrandomLibC::CRYrandomLibC() { std::srand(static_cast<unsigned>(std::time(nullptr))); }

void CRYrandomLibC::seed(const void* data, size_t size) {
  unsigned Seed = 0;
  if (data) std::memcpy(&Seed, data, std::min(size, sizeof Seed));
  std::srand(Seed);
}

void CRYrandomLibC::generate(void* data, size_t size) {
  auto* pOut = static_cast<unsigned char*>(data);
  while (size > 0) {
    const int Value = std::rand();
    const size_t Count = std::min(size, sizeof Value);
    std::memcpy(pOut, &Value, Count);
    pOut += Count;
    size -= Count;
  }
}

CRYrandom::CRYrandom(const char* devicePath) {
  const int FileDescriptor = devicePath ? ::open(devicePath, O_RDONLY | O_CLOEXEC) : -1;
  if (FileDescriptor >= 0)
    m_Generator = std::make_unique<CRYrandomUnix>(FileDescriptor);
  else
    m_Generator = std::make_unique<CRYrandomLibC>();
}

CRYrandom::~CRYrandom() = default;
