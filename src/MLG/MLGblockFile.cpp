#include "MLGblockFile.h"
#include "MLGreader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "COLerror.h"
#include "FILbinaryFile.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// --- byte searches

namespace {

#if defined(__SSE2__)
// One bit per byte of a 16-byte load that equals `c`.
inline unsigned matches16(const char* p, __m128i c) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, c)));
}

inline uint64_t matches64(const char* p, __m128i c) {
  return uint64_t{matches16(p, c)} | uint64_t{matches16(p + 16, c)} << 16 |
         uint64_t{matches16(p + 32, c)} << 32 | uint64_t{matches16(p + 48, c)} << 48;
}
#endif

// The first byte equal to `a` or `b`, or null.
const char* findEither(const char* p, const char* end, char a, char b) {
#if defined(__SSE2__)
  const __m128i va = _mm_set1_epi8(a), vb = _mm_set1_epi8(b);
  while (end - p >= 32) {
    const unsigned hits = matches16(p, va) | matches16(p, vb) | (matches16(p + 16, va) | matches16(p + 16, vb)) << 16;
    if (hits) return p + __builtin_ctz(hits);
    p += 32;
  }
#endif
  for (; p < end; ++p)
    if (*p == a || *p == b) return p;
  return nullptr;
}

// The first byte that may end a line under `mask`, or null.  Only CR is looked for when
// the mask ends lines on CR or CR LF, only LF when it ends them on a bare LF.
inline const char* findLineEnd(const char* p, const char* end, bool atCR, bool atLF) {
  if (atCR && atLF) return findEither(p, end, '\r', '\n');
  if (!atCR && !atLF) return nullptr;
  return static_cast<const char*>(std::memchr(p, atCR ? '\r' : '\n', static_cast<size_t>(end - p)));
}

}  // namespace

// --- MLGblockFile

MLGblockFile::MLGblockFile(size_t blockSize) : m_BlockSize(blockSize ? blockSize : 1) {}

MLGblockFile::~MLGblockFile() { close(); }

void MLGblockFile::open(const COLstring& path) {
  close();
  int descriptor;
  do descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  while (descriptor == -1 && errno == EINTR);
  if (descriptor == -1) FILthrowErrno("Open file '", path, "' failed. ", errno);
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) {
    const int error = errno;
    ::close(descriptor);
    FILthrowErrno("Open file '", path, "' failed. ", error);
  }
#if defined(POSIX_FADV_SEQUENTIAL)
  ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
#endif
  m_Descriptor = descriptor;
  m_Name = path;
  m_Size = static_cast<uint64_t>(status.st_size);
  m_BlockStart = 0;
  m_CutAt = kNoCut;
  dropBlock();
}

void MLGblockFile::close() {
  if (m_Descriptor == -1) return;
  ::close(m_Descriptor);
  m_Descriptor = -1;
  m_BlockStart = 0;
  dropBlock();
  m_Block.reset();
  m_Spill = std::string();
}

void MLGblockFile::dropBlock() {
  m_Length = 0;
  m_Cursor = 0;
  m_BlockCut = false;
}

void MLGblockFile::setPosition(uint64_t position) {
  if (position >= m_BlockStart && position - m_BlockStart <= m_Length) {
    m_Cursor = static_cast<size_t>(position - m_BlockStart);
    return;
  }
  m_BlockStart = position;
  dropBlock();
}

void MLGblockFile::setBlockSize(size_t bytes) {
  const uint64_t here = position();
  m_BlockSize = bytes ? bytes : 1;
  m_Block.reset();
  m_BlockStart = here;
  dropBlock();
}

void MLGblockFile::useEndCharacter(int endCharacter) {
  if (endCharacter == m_EndCharacter) return;
  // The block was cut for another end character: read it again from here.
  const uint64_t here = position();
  m_EndCharacter = endCharacter;
  m_BlockStart = here;
  dropBlock();
}

// Replaces the block by the one behind it.  False at the end of the input.
bool MLGblockFile::loadNextBlock() {
  if (m_BlockCut) return false;
  m_BlockStart += m_Length;
  m_Length = 0;
  m_Cursor = 0;
  if (!m_Block) {
    // A small file needs no large block: sniffing opens every log several times.  Not zeroed,
    // pread fills what is used.
    m_Capacity = static_cast<size_t>(std::min<uint64_t>(m_BlockSize, std::max<uint64_t>(m_Size + 1, 4096)));
    m_Block = std::make_unique_for_overwrite<char[]>(m_Capacity);
  }
  ssize_t count;
  do count = ::pread(m_Descriptor, m_Block.get(), m_Capacity, static_cast<off_t>(m_BlockStart));
  while (count == -1 && errno == EINTR);
  if (count == -1) FILthrowErrno("read failed on '", m_Name, "'. ", errno);
  if (count == 0) {
    // The end of the file: learn its size again, it may have changed since the open.
    struct stat status {};
    m_Size = ::fstat(m_Descriptor, &status) == 0 ? static_cast<uint64_t>(status.st_size) : m_BlockStart;
    return false;
  }
  size_t length = static_cast<size_t>(count);
  if (m_EndCharacter >= 0) {
    if (const void* end = std::memchr(m_Block.get(), m_EndCharacter, length)) {
      length = static_cast<size_t>(static_cast<const char*>(end) - m_Block.get());
      m_BlockCut = true;
      m_CutAt = std::min(m_CutAt, m_BlockStart + length);
    }
  }
  m_Length = length;
  return length > 0;
}

// The input is over: the spill holds the line read so far and the file stands at its end.
unsigned MLGblockFile::finishAtEnd(std::string_view& line) {
  m_BlockStart = m_Size;
  dropBlock();
  line = m_Spill;
  return MLGendOfInput;
}

unsigned MLGblockFile::readLine(std::string_view& line, unsigned mask, char endOfFileCharacter) {
  useEndCharacter(static_cast<unsigned char>(endOfFileCharacter));
  const bool atCR = (mask & (MLGnewlineCR | MLGnewlineCRLF)) != 0;
  const bool atLF = (mask & MLGnewlineLF) != 0;
  // The spill holds the part of the line from earlier blocks; a giant line met once must not
  // keep its memory for the rest of the log.
  if (m_Spill.capacity() > 4 * m_BlockSize) m_Spill = std::string();
  m_Spill.clear();
  m_FinalCR = false;
  size_t lineBegin = m_Cursor;  // the line's first byte not yet in the spill
  size_t scan = m_Cursor;
  for (;;) {
    if (scan == m_Length) {
      if (scan > lineBegin) m_Spill.append(m_Block.get() + lineBegin, scan - lineBegin);
      m_Cursor = m_Length;
      if (!loadNextBlock()) return finishAtEnd(line);
      lineBegin = scan = 0;
    }
    const char* base = m_Block.get();
    const char* hit = findLineEnd(base + scan, base + m_Length, atCR, atLF);
    if (!hit) {
      scan = m_Length;
      continue;
    }
    const size_t at = static_cast<size_t>(hit - base);
    unsigned result;
    size_t next;  // where the following line starts
    if (*hit == '\n') {
      result = MLGnewlineLF;
      next = at + 1;
    } else if (at + 1 < m_Length) {
      const bool crlf = base[at + 1] == '\n' && (mask & MLGnewlineCRLF);
      if (!crlf && !(mask & MLGnewlineCR)) {
        scan = at + 2;  // the CR and the byte behind it are both text
        continue;
      }
      result = crlf ? MLGnewlineCRLF : MLGnewlineCR;
      next = crlf ? at + 2 : at + 1;
    } else {
      // A CR closes the block: what it means depends on the first byte of the next one.
      m_Spill.append(base + lineBegin, at - lineBegin);
      m_Cursor = m_Length;
      if (!loadNextBlock()) {
        m_FinalCR = true;  // a final CR is dropped
        return finishAtEnd(line);
      }
      const bool crlf = m_Block[0] == '\n' && (mask & MLGnewlineCRLF);
      if (crlf || (mask & MLGnewlineCR)) {
        m_Cursor = crlf ? 1 : 0;
        line = m_Spill;
        return crlf ? MLGnewlineCRLF : MLGnewlineCR;
      }
      m_Spill.push_back('\r');
      lineBegin = 0;
      scan = 1;
      continue;
    }
    m_Cursor = next;
    if (!m_Spill.empty()) {
      m_Spill.append(base + lineBegin, at - lineBegin);
      line = m_Spill;
    } else {
      line = std::string_view(base + lineBegin, at - lineBegin);
    }
    return result;
  }
}

bool MLGblockFile::readUntil(std::string_view& segment, char terminator, char endOfFileCharacter,
                             bool (*skipBehind)(char)) {
  useEndCharacter(static_cast<unsigned char>(endOfFileCharacter));
  if (m_Spill.capacity() > 4 * m_BlockSize) m_Spill = std::string();
  m_Spill.clear();
  m_FinalCR = false;
  for (;;) {
    if (m_Cursor == m_Length) {
      m_Cursor = m_Length;
      if (!loadNextBlock()) {
        finishAtEnd(segment);
        return false;
      }
    }
    const char* base = m_Block.get();
    const void* hit = std::memchr(base + m_Cursor, terminator, m_Length - m_Cursor);
    if (!hit) {
      m_Spill.append(base + m_Cursor, m_Length - m_Cursor);
      m_Cursor = m_Length;
      continue;
    }
    const size_t at = static_cast<size_t>(static_cast<const char*>(hit) - base);
    if (m_Spill.empty()) {
      segment = std::string_view(base + m_Cursor, at - m_Cursor);
    } else {
      m_Spill.append(base + m_Cursor, at - m_Cursor);
      segment = m_Spill;
    }
    m_Cursor = at + 1;
    if (skipBehind) {
      while (m_Cursor < m_Length && skipBehind(base[m_Cursor])) ++m_Cursor;
      if (m_Cursor == m_Length) {
        // The skip goes on in the next block, which takes the place of this one.
        if (segment.data() != m_Spill.data()) {
          m_Spill.assign(segment);
          segment = m_Spill;
        }
        skipWhile(skipBehind, endOfFileCharacter);
      }
    }
    return true;
  }
}

void MLGblockFile::peek(std::string& bytes, size_t count, char endOfFileCharacter) {
  useEndCharacter(static_cast<unsigned char>(endOfFileCharacter));
  bytes.clear();
  const uint64_t here = position();
  // Mostly the block holds all: then nothing moves.
  while (bytes.size() < count) {
    if (m_Cursor == m_Length && !loadNextBlock()) break;
    const size_t take = std::min(count - bytes.size(), m_Length - m_Cursor);
    bytes.append(m_Block.get() + m_Cursor, take);
    m_Cursor += take;
  }
  setPosition(here);
}

void MLGblockFile::skipWhile(bool (*skip)(char), char endOfFileCharacter) {
  useEndCharacter(static_cast<unsigned char>(endOfFileCharacter));
  for (;;) {
    if (m_Cursor == m_Length && !loadNextBlock()) return;
    while (m_Cursor < m_Length && skip(m_Block[m_Cursor])) ++m_Cursor;
    if (m_Cursor < m_Length) return;
  }
}

size_t MLGblockFile::readChunk(const char*& data) {
  useEndCharacter(-1);
  if (m_Cursor == m_Length && !loadNextBlock()) return 0;
  data = m_Block.get() + m_Cursor;
  const size_t count = m_Length - m_Cursor;
  m_Cursor = m_Length;
  return count;
}

unsigned MLGreadLine(MLGblockFile& file, COLstring& buffer, unsigned mask, char endOfFileCharacter) {
  std::string_view line;
  const unsigned result = file.readLine(line, mask, endOfFileCharacter);
  buffer.str().assign(line);
  return result;
}

uint64_t MLGcountHeaderLines(const COLstring& path, uint64_t from, std::string_view header, char segmentEnd) {
  if (header.empty()) return 0;
  MLGblockFile file(1 << 20);
  file.open(path);
  file.setPosition(from);
  uint64_t count = 0;
  size_t matched = 0;  // header bytes matched at a line's start; npos: not at a line's start
  const char* data = nullptr;
  while (size_t length = file.readChunk(data)) {
    for (size_t i = 0; i < length; ++i) {
      const char c = data[i];
      if (c == '\r' || c == '\n' || c == '\0' || (segmentEnd && c == segmentEnd)) {
        matched = 0;
      } else if (matched != std::string_view::npos) {
        matched = c == header[matched] ? matched + 1 : std::string_view::npos;
        if (matched == header.size()) {
          ++count;
          matched = std::string_view::npos;
        }
      }
    }
  }
  return count;
}

uint64_t MLGreader::countHeadersFrom(const COLstring& path, uint64_t from) const {
  return MLGcountHeaderLines(path, from, headerSegmentName());
}

// --- newline types

void MLGnewlineScan::feed(const char* data, size_t count) {
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i cr = _mm_set1_epi8('\r'), lf = _mm_set1_epi8('\n');
  for (; i + 64 <= count; i += 64) {
    const uint64_t crs = matches64(data + i, cr);
    const uint64_t lfs = matches64(data + i, lf);
    // Bit k: byte k-1 is a CR (for k = 0, the CR that ended the previous piece).
    const uint64_t behindCR = crs << 1 | (m_PendingCR ? 1 : 0);
    if (lfs & behindCR) m_Mask |= MLGnewlineCRLF;
    if (lfs & ~behindCR) m_Mask |= MLGnewlineLF;
    if (behindCR & ~lfs) m_Mask |= MLGnewlineCR;
    m_PendingCR = (crs >> 63) != 0;
  }
#endif
  for (; i < count; ++i) {
    const char c = data[i];
    if (m_PendingCR) {
      m_Mask |= c == '\n' ? MLGnewlineCRLF : MLGnewlineCR;
      m_PendingCR = c == '\r';
    } else if (c == '\n') {
      m_Mask |= MLGnewlineLF;
    } else if (c == '\r') {
      m_PendingCR = true;
    }
  }
}

unsigned MLGnewlineTypes(MLGblockFile& file, bool (*decided)(unsigned mask)) {
  file.setPosition(0);
  MLGnewlineScan scan;
  const char* data = nullptr;
  while (size_t count = file.readChunk(data)) {
    scan.feed(data, count);
    if (decided(scan.mask())) break;
  }
  return scan.mask();
}
