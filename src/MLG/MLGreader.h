// Message log readers: turn a log file into single messages in one normal form (segments
// separated by one terminator, the whole closed by another), and the factory that names
// the formats, builds readers and sniffs a file's format.
#pragma once

#include <cstdint>
#include <string_view>
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

// What a reader saw while it framed its last message.  The notes never change the framing;
// they let a caller say what a log holds that did not come out as a message of its own.
struct MLGmessageNotes {
  uint64_t Start = 0;                    // offset of the message's first line in the log
  std::vector<uint64_t> InnerHeaders;    // header segments read into the message, not starting it
  std::vector<uint64_t> DroppedHeaders;  // header segments dropped while looking for the message
  bool Unterminated = false;             // its last line ran into the end of the input
  bool ByteOrderMark = false;            // its first line starts with a UTF-8 byte order mark
  const char* HeaderBreak = "";          // the line end behind which a header starts a message
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

  // What the last nextMessage saw; empty notes for a reader that looks at nothing.
  virtual const MLGmessageNotes& lastMessageNotes() const {
    static const MLGmessageNotes None;
    return None;
  }
  // The segment that starts a message of this format, as reports name it ("MSH", "ISA", "ST").
  virtual const char* headerSegmentName() const { return "MSH"; }
  // Header segments of the log from `from` on: what a reader that stops there leaves unread.
  virtual uint64_t countHeadersFrom(const COLstring& path, uint64_t from) const;
  // Where the end-of-file character cut the input short, once the reader has met it.
  virtual bool inputCutAt(uint64_t& /*offset*/) const { return false; }

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

// For a log MLGfactoryOpen does not recognise: an opened reader for the forms the checkers
// leave out (an HL7 batch that starts with BHS, or has only CR or only CR LF line ends; a
// UTF-8 byte order mark before the first segment, which the reader then skips), with `note`
// saying what was done beyond the plain format.  Otherwise null, with `why` telling what the
// log looks like, as a predicate ("is empty", "starts with ...").
MLGreader* MLGfactoryOpenUnrecognised(const COLstring& path, COLstring& note, COLstring& why);

// Format checkers: the format recognised, or MLGendOfFormats.
MLGreaderFileFormat MLGhl7CheckFileFormat(const COLstring& path);
MLGreaderFileFormat MLGhl7BatchCheckFileFormat(const COLstring& path);
MLGreaderFileFormat MLGx12InterchangeCheckFileFormat(const COLstring& path);
MLGreaderFileFormat MLGx12BatchCheckFileFormat(const COLstring& path);

// The newline types (MLGnewlineCR | MLGnewlineLF | MLGnewlineCRLF) found in the whole file.
unsigned MLGnewlineTypes(const COLstring& path);

// Lines of the file from `from` to its end that begin with `header`; a line begins at `from`
// and behind every CR, LF or NUL.  What a reader never got to see, counted.
// `segmentEnd`, when not 0, starts a segment too (for X12 sent without line breaks).
uint64_t MLGcountHeaderLines(const COLstring& path, uint64_t from, std::string_view header, char segmentEnd = 0);
