// FILbinaryFile: a file seen as a sink, a source and a readable at once, so it can end a
// filter chain or feed one.  Two implementations: buffered (stdio streams with one large
// block, for many small writes) and unbuffered (plain descriptors, for large block reads).
// Every failure is a COLerror naming the file, with errno as its code.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLsink.h"
#include "COLstring.h"

constexpr uint64_t COL_UINT_32_MAX = 0xFFFFFFFFu;

enum FILmode : int {
  FILmodeRead = 0,       // "rb": an existing file, read only
  FILmodeReadWrite = 1,  // "rb+": an existing file, read and write
  FILmodeAppend = 2,     // "ab+": append, creating if needed
  FILmodeCreate = 3,     // "wb+": create or empty
};

enum FILtype : int {
  FILtypeBuffered = 0,
  FILtypeUnbuffered = 1,
};

class FILbinaryFilePrivate;

class FILbinaryFile : public COLsink, public COLsourceBinary, public COLreadable {
public:
  explicit FILbinaryFile(FILtype type = FILtypeBuffered);
  FILbinaryFile(const COLstring& path, FILmode mode, FILtype type = FILtypeBuffered, COLsink* pSink = nullptr);
  FILbinaryFile(const FILbinaryFile&) = delete;
  FILbinaryFile& operator=(const FILbinaryFile&) = delete;
  // Closes without raising: a destructor must not throw while a stack unwinds.
  ~FILbinaryFile() override;

  // COLsink
  size_t write(const void* data, size_t size) override;
  void flush() override;

  virtual void open(const COLstring& path, FILmode mode);
  void open(const COLstring& path, int mode) { open(path, static_cast<FILmode>(mode)); }
  virtual void close();
  virtual unsigned position() const;
  virtual void setPosition(unsigned position);

  // COLreadable
  size_t read(void* buffer, size_t count) override;
  size_t readPosition() const override { return position64(); }
  void setReadPosition(size_t position) override { setPosition64(position); }
  bool isEndOfReadable() const override { return isEndOfSource(); }

  // COLsource
  bool isEndOfSource() const override;
  void writeChunk(size_t chunkSize) override;
  void resetSourcePosition() override;
  void setSourcePosition(size_t position) override;
  // Caps what writeChunk reads; all bits set means the end of the file.
  void setSourceEndPosition(size_t position) override { m_SourceEnd = position; }

  bool isOpen() const;
  virtual uint64_t position64() const;
  virtual void setPosition64(uint64_t position);
  uint64_t size() const;
  const COLstring& name() const { return m_Name; }
  // Renames the object only, for the texts of its errors; the open file stays as it is.
  void setName(const COLstring& name);
  FILtype type() const { return m_Type; }

protected:
  // Called once when the first open fails; true means "try again".  Makes the missing
  // directory chain for every mode that may create the file.
  virtual bool tryToRecover(const COLstring& path, FILmode mode);

private:
  FILbinaryFilePrivate& member() const;

  FILtype m_Type;
  COLstring m_Name;
  std::unique_ptr<FILbinaryFilePrivate> m_Member;
  std::vector<char> m_ChunkBuffer;  // reused by writeChunk
  size_t m_SourceEnd = static_cast<size_t>(-1);
};

// Writes `size` bytes as the whole new content of `path`: beside it first, then renamed over it,
// so that a failure never leaves half a file.
void FILreplaceFile(const COLstring& path, const void* data, size_t size);

// Raises prefix, name, middle, the errno text and "." with errno as the code, as in
// "Open file '" name "' failed. " text "." or "fread failed on '" name "'. " text ".".
[[noreturn]] void FILthrowErrno(const char* prefix, const COLstring& name, const char* middle, int errorNumber);
