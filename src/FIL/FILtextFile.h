// FILtextFile: a binary file with line reading and character writing through buffers of its
// own.  Positions account for the bytes read ahead and the bytes not yet written.
#pragma once

#include <vector>

#include "FILbinaryFile.h"

class FILtextFile : public FILbinaryFile {
public:
  explicit FILtextFile(FILtype type = FILtypeBuffered);
  FILtextFile(const COLstring& path, FILmode mode, FILtype type = FILtypeBuffered);
  ~FILtextFile() override;

  // False at the end of the file.
  bool readCharacter(char& c);
  void writeCharacter(char c);
  // Up to the next LF, without it and without one CR before it.  False only at the end of
  // the file with nothing read.
  bool readLine(COLstring& line);
  // The text and one LF.
  void writeLine(const COLstring& line);

  size_t write(const void* data, size_t size) override;
  size_t read(void* buffer, size_t count) override;
  bool isEndOfSource() const override;
  void flush() override;
  void open(const COLstring& path, FILmode mode) override;
  using FILbinaryFile::open;
  void close() override;
  unsigned position() const override;
  void setPosition(unsigned position) override;
  uint64_t position64() const override;
  void setPosition64(uint64_t position) override;

private:
  // Writes the write buffer out, or drops the read-ahead and puts the file where the reader is.
  void settle();
  bool fillReadBuffer();

  std::vector<char> m_ReadBuffer;
  size_t m_ReadCursor = 0;
  size_t m_ReadEnd = 0;
  std::vector<char> m_WriteBuffer;
};
