// MLGfileReader: what every log reader shares: one block file, the position, open and close,
// and the rules that turn lines into a message.  Subclasses supply the framing.
#pragma once

#include <memory>
#include <string_view>

#include "MLGblockFile.h"
#include "MLGreader.h"

class MLGfileReader : public MLGreader {
public:
  ~MLGfileReader() override;

  uint64_t position() const override;
  void setPosition(uint64_t position) override;
  void open(const COLstring& path) override;
  void close() override;
  bool hasNextMessage() override;
  const MLGmessageNotes& lastMessageNotes() const override { return m_Notes; }
  bool inputCutAt(uint64_t& offset) const override;

  // Opens and starts reading at `start` as if the file began there (behind a byte order mark).
  void openAt(const COLstring& path, uint64_t start);

  // For tests and tuning: the size of the block read at once.
  void setBlockSize(size_t bytes);

protected:
  explicit MLGfileReader(MLGreaderFileFormat format);

  // Called after open (position 0) and after setPosition, to reset the framing state.
  virtual void resetState(uint64_t /*position*/, bool /*opened*/) {}

  // The open file; fails the precondition when there is none.
  MLGblockFile& file();
  unsigned readLine(std::string_view& line, unsigned mask) {
    const unsigned end = pMember->File.readLine(line, mask, m_EndOfFileCharacter);
    m_LastLineOpen = end == MLGendOfInput && !pMember->File.finalLineEndDropped();
    return end;
  }
  // Reads up to `terminator` and over what `skipBehind` accepts behind it; a segment that
  // runs into the end of the input is noted as open.
  bool readUntil(std::string_view& segment, char terminator, bool (*skipBehind)(char) = nullptr) {
    const bool found = pMember->File.readUntil(segment, terminator, m_EndOfFileCharacter, skipBehind);
    m_LastLineOpen = !found;
    return found;
  }
  // The header segment whose lines are watched: one read into a message or dropped is noted.
  virtual std::string_view watchedHeader() const { return {}; }
  // A fresh message buffer, sized after the last one so that appending rarely reallocates;
  // the notes start over.
  COLstring startMessage();
  // The line just read, starting at `lineStart`, as the message's next segment.
  void appendSegment(COLstring& message, std::string_view line, uint64_t lineStart);
  // The line just read is dropped.
  void dropLine(std::string_view line, uint64_t lineStart);
  // Appends the message terminator and notes the size for the next message.
  COLstring finishMessage(COLstring& message);

  // The three rules by which a line is matched against m_IgnoredSegments.
  bool startsWithIgnored(std::string_view line) const;      // begins with an entry
  bool extendsIgnored(std::string_view line) const;         // begins with one and is longer
  bool isIgnoredX12Segment(std::string_view line) const;    // begins with one, then "*"

  static bool startsWith(std::string_view line, std::string_view prefix) {
    return line.substr(0, prefix.size()) == prefix;
  }

  MLGmessageNotes m_Notes;

private:
  void noteHeaders(std::string_view line, uint64_t lineStart, std::vector<uint64_t>& into, bool first) const;

  bool m_LastLineOpen = false;  // the last line read ran into the end of the input
  struct Private {
    MLGblockFile File;
    size_t SizeHint = 0;
  };
  std::unique_ptr<Private> pMember;
};
