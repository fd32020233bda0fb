// Message log readers: turn a log file into single messages in one normal form (segments
// separated by one terminator, the whole closed by another), and the factory that names
// the formats, builds readers and sniffs a file's format.
#pragma once

#include <cstdint>
#include <vector>

#include "COLstring.h"

enum MLGreaderFileFormat {
  MLGhl7Standard = 0,
  MLGhl7CRLF = 1,
  MLGhl7CR = 2,
  MLGhl7LF = 3,
  MLGhl7Batch = 4,
  MLGsingleMessage = 5,
  MLGx12Interchange = 6,
  MLGx12Batch = 7,
  MLGendOfFormats = 8,  // end of the factory table; also "no format recognised"
};

class MLGreader {
public:
  explicit MLGreader(MLGreaderFileFormat format) : m_FileFormat(format) {}
  virtual ~MLGreader() = default;

  // Byte offsets into the log; 64-bit, logs can be several gigabytes.
  virtual uint64_t position() const = 0;
  virtual void setPosition(uint64_t position) = 0;
  virtual void open(const COLstring& path) = 0;
  virtual void close() = 0;
  virtual bool hasNextMessage() = 0;
  virtual COLstring nextMessage() = 0;

  MLGreaderFileFormat fileFormat() const { return m_FileFormat; }
  const COLstring& messageTerminator() const { return m_MessageTerminator; }
  void setMessageTerminator(const COLstring& text) { m_MessageTerminator = text; }
  const COLstring& segmentTerminator() const { return m_SegmentTerminator; }
  void setSegmentTerminator(const COLstring& text) { m_SegmentTerminator = text; }
  std::vector<COLstring>& ignoredSegments() { return m_IgnoredSegments; }
  char endOfFileCharacter() const { return m_EndOfFileCharacter; }
  void setEndOfFileCharacter(char c) { m_EndOfFileCharacter = c; }

protected:
  MLGreaderFileFormat m_FileFormat;
  COLstring m_MessageTerminator = "\r\n";
  COLstring m_SegmentTerminator = "\r";
  std::vector<COLstring> m_IgnoredSegments;
  char m_EndOfFileCharacter = 0;
};

unsigned MLGfactoryCountOfReader();
const char* MLGfactoryName(unsigned ReaderIndex);
const char* MLGfactoryDescription(unsigned ReaderIndex);
const char* MLGfactoryFormatName(MLGreaderFileFormat format);
// New readers, not opened; null for an unknown format or name.  The caller owns them.
MLGreader* MLGfactoryFromFormat(MLGreaderFileFormat format);
MLGreader* MLGfactoryFromName(const COLstring& name);
// Sniffs the file and returns an opened reader, or null when no format is recognised.
// A file that cannot be opened raises the file layer's open error.
MLGreader* MLGfactoryOpen(const COLstring& path);

// Format checkers: the format recognised, or MLGendOfFormats.
MLGreaderFileFormat MLGhl7CheckFileFormat(const COLstring& path);
MLGreaderFileFormat MLGhl7BatchCheckFileFormat(const COLstring& path);
MLGreaderFileFormat MLGx12InterchangeCheckFileFormat(const COLstring& path);
MLGreaderFileFormat MLGx12BatchCheckFileFormat(const COLstring& path);

// The newline types (MLGnewlineCR | MLGnewlineLF | MLGnewlineCRLF) found in the whole file.
unsigned MLGnewlineTypes(const COLstring& path);
