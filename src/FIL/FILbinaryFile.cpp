#include "FILbinaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "COLerror.h"
#include "COLostream.h"
#include "FILpath.h"

namespace {
constexpr uint64_t UnknownSize = ~uint64_t(0);
// Large enough that a stream of small writes costs one system call per block.
constexpr size_t StreamBufferSize = 64 * 1024;
}  // namespace

void FILthrowErrno(const char* prefix, const COLstring& name, const char* middle, int errorNumber) {
  COLstring text;
  COLostream(text) << prefix << name << middle << COLstrerror(errorNumber) << ".";
  throw COLerror(text, static_cast<uint32_t>(errorNumber));
}

void FILreplaceFile(const COLstring& path, const void* data, size_t size) {
  const COLstring temporary = path + ".saving";
  try {
    FILbinaryFile file(temporary, FILmodeCreate);
    file.write(data, size);
    file.close();
  } catch (...) {
    std::remove(temporary.c_str());
    throw;
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    std::remove(temporary.c_str());
    FILthrowErrno("Replacing '", path, "' failed. ", error);
  }
}

// --- the two implementations

class FILbinaryFilePrivate {
public:
  virtual ~FILbinaryFilePrivate() = default;
  // False with errno set when the system refuses.
  virtual bool open(FILmode mode) = 0;
  virtual void close() = 0;
  virtual void closeQuietly() noexcept = 0;
  virtual bool isOpen() const = 0;
  virtual size_t read(void* buffer, size_t count) = 0;
  virtual void write(const void* data, size_t count) = 0;
  virtual void flush() = 0;
  virtual uint64_t position() const = 0;
  virtual void setPosition(uint64_t position) = 0;
  virtual uint64_t size() const = 0;
  virtual bool isEnd() const = 0;

  COLstring Name;
};

namespace {

[[noreturn]] void failClosed(const char* expression) {
  COLfailCheck("Failed precondition: ", expression, __FILE__, __LINE__, COL_ERROR_PRECONDITION);
}

class FILbinaryFilePrivateBuffered : public FILbinaryFilePrivate {
public:
  ~FILbinaryFilePrivateBuffered() override { closeQuietly(); }

  bool open(FILmode mode) override {
    static const char* const ModeStrings[] = {"rb", "rb+", "ab+", "wb+"};
    Mode = ModeStrings[mode];
    CachedSize = UnknownSize;
    LastOperation = None;
    FileHandle = std::fopen(Name.c_str(), Mode);
    if (!FileHandle) return false;
    if (!Buffer) Buffer = std::make_unique<char[]>(StreamBufferSize);
    std::setvbuf(FileHandle, Buffer.get(), _IOFBF, StreamBufferSize);
    return true;
  }

  void close() override {
    if (!FileHandle) return;
    FILE* stream = FileHandle;
    FileHandle = nullptr;  // forgotten whatever fclose says
    errno = 0;
    if (std::fclose(stream) != 0) FILthrowErrno("Closing file '", Name, "' failed. ", errno);
  }

  void closeQuietly() noexcept override {
    if (FileHandle) std::fclose(FileHandle);
    FileHandle = nullptr;
  }

  bool isOpen() const override { return FileHandle != nullptr; }

  size_t read(void* buffer, size_t count) override {
    check();
    switchTo(Read);
    size_t got = fread_unlocked(buffer, 1, count, FileHandle);
    if (got < count && ferror_unlocked(FileHandle)) {
      int error = errno;
      clearerr_unlocked(FileHandle);
      FILthrowErrno("fread failed on '", Name, "'. ", error);
    }
    return got;
  }

  void write(const void* data, size_t count) override {
    check();
    if (count == 0) return;
    switchTo(Write);
    CachedSize = UnknownSize;
    errno = 0;
    size_t done = fwrite_unlocked(data, 1, count, FileHandle);
    if (done < count && errno == 0) {
      // A short write without a reason: put the stream back in step and try the rest once more.
      fseeko(FileHandle, ftello(FileHandle), SEEK_SET);
      done += fwrite_unlocked(static_cast<const char*>(data) + done, 1, count - done, FileHandle);
    }
    if (done < count) FILthrowErrno("fwrite failed on '", Name, "'. ", errno);
  }

  void flush() override {
    check();
    if (Mode[1] == 'b' && Mode[2] == '\0') return;  // "rb" has nothing to flush
    if (fflush_unlocked(FileHandle) != 0) FILthrowErrno("fflush failed on '", Name, "'. ", errno);
  }

  uint64_t position() const override {
    check();
    off_t offset = ftello(FileHandle);
    if (offset < 0) FILthrowErrno("ftell failed on '", Name, "'. ", errno);
    return static_cast<uint64_t>(offset);
  }

  void setPosition(uint64_t position) override {
    check();
    if (fseeko(FileHandle, static_cast<off_t>(position), SEEK_SET) != 0)
      FILthrowErrno("fseek failed on '", Name, "'. ", errno);
    LastOperation = None;
  }

  uint64_t size() const override {
    check();
    if (CachedSize != UnknownSize) return CachedSize;
    off_t here = ftello(FileHandle);
    if (here < 0 || fseeko(FileHandle, 0, SEEK_END) != 0) FILthrowErrno("fseek failed on '", Name, "'. ", errno);
    off_t end = ftello(FileHandle);
    if (end < 0 || fseeko(FileHandle, here, SEEK_SET) != 0) FILthrowErrno("fseek failed on '", Name, "'. ", errno);
    CachedSize = static_cast<uint64_t>(end);
    return CachedSize;
  }

  bool isEnd() const override {
    check();
    return feof_unlocked(FileHandle) != 0;
  }

private:
  enum Operation { None = 0, Read = 1, Write = 2 };

  void check() const {
    if (FileHandle == nullptr) failClosed("FileHandle != NULL");
  }

  // A stream must be repositioned between a write and a read in either order.
  void switchTo(Operation operation) {
    if (LastOperation != None && LastOperation != operation) {
      if (LastOperation == Write) {
        if (fflush_unlocked(FileHandle) != 0) FILthrowErrno("fflush failed on '", Name, "'. ", errno);
      } else {
        fseeko(FileHandle, 0, SEEK_CUR);
      }
    }
    LastOperation = operation;
  }

  FILE* FileHandle = nullptr;
  const char* Mode = "rb";
  mutable uint64_t CachedSize = UnknownSize;
  Operation LastOperation = None;
  std::unique_ptr<char[]> Buffer;  // kept across opens of the same object
};

class FILbinaryFilePrivateUnbuffered : public FILbinaryFilePrivate {
public:
  ~FILbinaryFilePrivateUnbuffered() override { closeQuietly(); }

  bool open(FILmode mode) override {
    static const int Flags[] = {O_RDONLY, O_RDWR, O_RDWR | O_APPEND | O_CREAT, O_RDWR | O_CREAT | O_TRUNC};
    OpenFlags = Flags[mode];
    CachedSize = UnknownSize;
    do {
      FileHandle = ::open(Name.c_str(), OpenFlags | O_CLOEXEC, 0600);
    } while (FileHandle == -1 && errno == EINTR);
    return FileHandle != -1;
  }

  void close() override {
    if (FileHandle == -1) return;
    int fd = FileHandle;
    FileHandle = -1;
    if (::close(fd) != 0 && errno != EINTR) FILthrowErrno("Closing file '", Name, "' failed. ", errno);
  }

  void closeQuietly() noexcept override {
    if (FileHandle != -1) ::close(FileHandle);
    FileHandle = -1;
  }

  bool isOpen() const override { return FileHandle != -1; }

  size_t read(void* buffer, size_t count) override {
    check();
    char* out = static_cast<char*>(buffer);
    size_t got = 0;
    while (got < count) {
      ssize_t n = ::read(FileHandle, out + got, count - got);
      if (n < 0) {
        if (errno == EINTR) continue;
        FILthrowErrno("read failed on '", Name, "'. ", errno);
      }
      if (n == 0) break;
      got += static_cast<size_t>(n);
    }
    return got;
  }

  void write(const void* data, size_t count) override {
    check();
    CachedSize = UnknownSize;
    const char* in = static_cast<const char*>(data);
    size_t done = 0;
    while (done < count) {
      ssize_t n = ::write(FileHandle, in + done, count - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) FILthrowErrno("write failed on '", Name, "'. ", n < 0 ? errno : EIO);
      done += static_cast<size_t>(n);
    }
  }

  void flush() override {
    check();
    if ((OpenFlags & O_ACCMODE) == O_RDONLY) return;
    if (::fsync(FileHandle) != 0) FILthrowErrno("commit flush called failed on '", Name, "'. ", errno);
  }

  uint64_t position() const override { return seek(0, SEEK_CUR); }
  void setPosition(uint64_t position) override { seek(static_cast<off_t>(position), SEEK_SET); }

  uint64_t size() const override {
    check();
    if (CachedSize != UnknownSize) return CachedSize;
    struct stat info;
    if (::fstat(FileHandle, &info) != 0) FILthrowErrno("lseek failed on '", Name, "'. ", errno);
    CachedSize = static_cast<uint64_t>(info.st_size);
    return CachedSize;
  }

  // The end offset comes from the cached size, so the question costs one system call.
  bool isEnd() const override { return seek(0, SEEK_CUR) >= size(); }

private:
  void check() const {
    if (FileHandle == -1) failClosed("FileHandle != -1");
  }

  uint64_t seek(off_t offset, int whence) const {
    check();
    off_t result = ::lseek(FileHandle, offset, whence);
    if (result < 0) FILthrowErrno("lseek failed on '", Name, "'. ", errno);
    return static_cast<uint64_t>(result);
  }

  int FileHandle = -1;
  int OpenFlags = O_RDONLY;
  mutable uint64_t CachedSize = UnknownSize;
};

std::unique_ptr<FILbinaryFilePrivate> makeMember(FILtype type) {
  if (type == FILtypeUnbuffered) return std::make_unique<FILbinaryFilePrivateUnbuffered>();
  return std::make_unique<FILbinaryFilePrivateBuffered>();
}

}  // namespace

// --- FILbinaryFile

FILbinaryFile::FILbinaryFile(FILtype type) : m_Type(type), m_Member(makeMember(type)) {}

FILbinaryFile::FILbinaryFile(const COLstring& path, FILmode mode, FILtype type, COLsink* pSink)
    : FILbinaryFile(type) {
  setNext(pSink);
  open(path, mode);
}

FILbinaryFile::~FILbinaryFile() {
  try {
    if (m_Member->isOpen()) m_Member->close();
  } catch (...) {
    // Nothing can be reported from here; the descriptor is released all the same.
  }
}

FILbinaryFilePrivate& FILbinaryFile::member() const { return *m_Member; }

void FILbinaryFile::open(const COLstring& path, FILmode mode) {
  close();
  if (mode < FILmodeRead || mode > FILmodeCreate) throw COLerror("Unknown File Parameter", COL_ERROR_PRECONDITION);
  m_Name = path;
  m_Member->Name = path;
  m_SourceEnd = static_cast<size_t>(-1);
  setEndOfSource(false);
  if (m_Member->open(mode)) return;
  int firstError = errno;
  if (tryToRecover(path, mode) && m_Member->open(mode)) return;
  FILthrowErrno("Open file '", m_Name, "' failed. ", errno ? errno : firstError);
}

bool FILbinaryFile::tryToRecover(const COLstring& path, FILmode mode) {
  int savedError = errno;
  if (mode == FILmodeRead) return false;
  FILfilePath filePath(path);
  // Without its trailing separator, so that stat sees a plain file in the way as such.
  const COLstring directory = FILremovePathSeparator(filePath.fullDirectory());
  if (!FILfileExists(directory)) {
    FILmakeFullDir(directory, 0744, nullptr);
    return true;
  }
  if (!FILisDirectory(directory)) {
    COLstring text;
    COLostream(text) << "Could not create " << path << " because '" << directory << "' is not a directory.";
    throw COLerror(text, COL_ERROR_PRECONDITION);
  }
  errno = savedError;
  return false;
}

void FILbinaryFile::close() {
  m_Member->close();
}

void FILbinaryFile::setName(const COLstring& name) {
  m_Name = name;
  m_Member->Name = name;
}

bool FILbinaryFile::isOpen() const { return m_Member->isOpen(); }

size_t FILbinaryFile::write(const void* data, size_t size) {
  m_Member->write(data, size);
  return size;
}

void FILbinaryFile::flush() { m_Member->flush(); }

unsigned FILbinaryFile::position() const {
  uint64_t here = m_Member->position();
  if (here > COL_UINT_32_MAX)
    COLfailCheck("Failed precondition: ", "pMember->position() <= COL_UINT_32_MAX", __FILE__, __LINE__,
                 COL_ERROR_PRECONDITION);
  return static_cast<unsigned>(here);
}

void FILbinaryFile::setPosition(unsigned position) { m_Member->setPosition(position); }
uint64_t FILbinaryFile::position64() const { return m_Member->position(); }
void FILbinaryFile::setPosition64(uint64_t position) { m_Member->setPosition(position); }
uint64_t FILbinaryFile::size() const { return m_Member->size(); }

size_t FILbinaryFile::read(void* buffer, size_t count) { return m_Member->read(buffer, count); }

bool FILbinaryFile::isEndOfSource() const {
  return COLsource::isEndOfSource() || m_Member->isEnd();
}

void FILbinaryFile::writeChunk(size_t chunkSize) {
  if (m_SourceEnd != static_cast<size_t>(-1)) {
    uint64_t here = position64();
    uint64_t left = here < m_SourceEnd ? m_SourceEnd - here : 0;
    if (left < chunkSize) chunkSize = static_cast<size_t>(left);
  }
  if (m_ChunkBuffer.size() < chunkSize) m_ChunkBuffer.resize(chunkSize);
  size_t got = chunkSize ? read(m_ChunkBuffer.data(), chunkSize) : 0;
  if (got < chunkSize || chunkSize == 0) setEndOfSource(true);
  if (got) next().write(m_ChunkBuffer.data(), got);
}

void FILbinaryFile::resetSourcePosition() {
  setPosition64(0);
  setEndOfSource(false);
}

void FILbinaryFile::setSourcePosition(size_t position) {
  setPosition64(position);
  setEndOfSource(false);
}
