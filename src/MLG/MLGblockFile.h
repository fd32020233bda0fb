// MLGblockFile: the log readers' own view of a file: one large block in memory, a logical
// position that may move back inside that block without a system call, and a line scanner
// that finds line ends at memchr speed.  Owns nothing but its descriptor and its block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "COLstring.h"

// Newline type bits, shared by MLGnewlineTypes and MLGreadLine.  MLGendOfInput (0) is
// what MLGreadLine returns at the end of the input.
enum : unsigned {
  MLGendOfInput = 0,
  MLGnewlineCR = 1,
  MLGnewlineLF = 2,
  MLGnewlineCRLF = 4,
};

class MLGblockFile {
public:
  static constexpr size_t DefaultBlockSize = 256 * 1024;

  explicit MLGblockFile(size_t blockSize = DefaultBlockSize);
  ~MLGblockFile();
  MLGblockFile(const MLGblockFile&) = delete;
  MLGblockFile& operator=(const MLGblockFile&) = delete;

  // Opens for reading, closing any file still open; raises the file layer's open error.
  void open(const COLstring& path);
  void close();
  bool isOpen() const { return m_Descriptor != -1; }
  const COLstring& name() const { return m_Name; }
  // Size at open, corrected once the real end of the file has been met.
  uint64_t size() const { return m_Size; }
  uint64_t position() const { return m_BlockStart + m_Cursor; }
  // Free while the target lies in the block held; otherwise the next read starts there.
  void setPosition(uint64_t position);
  // For tests and tuning; drops the block held, keeps the position.
  void setBlockSize(size_t bytes);
  size_t blockSize() const { return m_BlockSize; }

  // Reads the next line as MLGreadLine does and returns its line end (0 at the end of the
  // input).  `line` points into the block or into a spill buffer; it stays valid until the
  // next call on this file.  A byte equal to `endOfFileCharacter` ends the input: the
  // position moves to the end of the file and nothing behind that byte is ever seen.
  unsigned readLine(std::string_view& line, unsigned mask, char endOfFileCharacter);

  // Whether the last readLine that ended the input dropped a CR right at the end (a line that
  // did end), as against a line the input stopped in the middle of.
  bool finalLineEndDropped() const { return m_FinalCR; }
  // Where an end character cut the input short, once a read has met it.
  bool cutAt(uint64_t& offset) const {
    offset = m_CutAt;
    return m_CutAt != kNoCut;
  }

  // Reads up to the next `terminator` as readLine reads up to a line end, the terminator
  // consumed and not part of `segment`.  False when the input ended first (then `segment`
  // holds what was left).  The end character works as in readLine.  With `skipBehind`, the
  // bytes it accepts behind the terminator are passed over too; `segment` stays valid even
  // when that takes the next block.
  bool readUntil(std::string_view& segment, char terminator, char endOfFileCharacter,
                 bool (*skipBehind)(char) = nullptr);

  // Up to `count` bytes from the position on, without moving it; fewer at the end of the
  // input (the end character ends it here too).
  void peek(std::string& bytes, size_t count, char endOfFileCharacter);

  // Moves the position over every byte that `skip` accepts; stops at the end of the input.
  // Loading the next block ends what an earlier read returned.
  void skipWhile(bool (*skip)(char), char endOfFileCharacter);

  // Raw bytes from the position on, as much as the block holds (loading the next block when
  // needed); advances the position.  Returns 0 at the end of the file.  No end character.
  size_t readChunk(const char*& data);

private:
  bool loadNextBlock();
  void dropBlock();
  void useEndCharacter(int endCharacter);
  unsigned finishAtEnd(std::string_view& line);

  int m_Descriptor = -1;
  COLstring m_Name;
  uint64_t m_Size = 0;
  size_t m_BlockSize;
  std::unique_ptr<char[]> m_Block;
  size_t m_Capacity = 0;      // bytes allocated for m_Block, at most m_BlockSize
  uint64_t m_BlockStart = 0;  // file offset of m_Block[0]
  size_t m_Length = 0;        // valid bytes in the block
  size_t m_Cursor = 0;        // logical position inside the block
  bool m_BlockCut = false;    // the block ends at an end character: no data follows it
  int m_EndCharacter = -1;    // the end character the block was cut for; -1 for none
  std::string m_Spill;        // a line that crosses block boundaries
  static constexpr uint64_t kNoCut = ~uint64_t{0};
  uint64_t m_CutAt = kNoCut;  // offset of the end character that ended the input
  bool m_FinalCR = false;
};

// Reads one line into `buffer` (without its line end) and returns the line end it stopped at:
// MLGnewlineLF if mask has LF, MLGnewlineCRLF if mask has CRLF, MLGnewlineCR if mask has CR
// (the byte behind such a CR is left unread), 0 at the end of the input.  A CR or LF that
// the mask does not end on stays in the line; a CR at the very end of the input is dropped.
unsigned MLGreadLine(MLGblockFile& file, COLstring& buffer, unsigned mask, char endOfFileCharacter);

// Collects the newline types of a byte stream fed in pieces of any size: LF not behind CR
// sets MLGnewlineLF, CR LF sets MLGnewlineCRLF, a CR followed by anything else sets
// MLGnewlineCR.  A CR at the very end sets nothing.
class MLGnewlineScan {
public:
  void feed(const char* data, size_t count);
  unsigned mask() const { return m_Mask; }

private:
  unsigned m_Mask = 0;
  bool m_PendingCR = false;
};

// Scans an open file from its start until its end or until `decided(mask)` holds.
unsigned MLGnewlineTypes(MLGblockFile& file, bool (*decided)(unsigned mask));
