// SGPparser: the tokeniser of the current parser.  It reads the delimiters a message declares
// in its header and cuts the message into an SGMsegmentList.  The cut is syntactic only: no
// definition is consulted, nothing is unescaped, no byte is copied.  Message-level problems
// come back as an SGPparseResult with an error context; only bad options throw.
#pragma once

#include <cstdint>
#include <vector>

#include "COLostream.h"
#include "COLstring.h"
#include "SGMsegmentList.h"

enum SGPtoken : uint32_t {
  SGPtokenData = 0,
  SGPtokenEndOfInput = 1,
  SGPtokenSegment = 2,
  SGPtokenField = 3,
  SGPtokenRepeat = 4,
  SGPtokenSubField = 5,
  SGPtokenSubSubField = 6,
};

enum SGPparseResult : uint32_t {
  SGPparsed = 0,
  SGPduplicateDelimiter = 1,
  SGPmessageTooShort = 2,
  SGPfieldDelimitersNotFound = 3,
  SGPheaderNotFound = 4,
  SGPinterchangeHeaderInvalid = 5,  // an ISA header whose 16 elements and terminator could not be read
};

// A delimiter: its character (0 disables it) and the offset, counted from the first byte
// behind the header segment name, where a message states it.  A negative position means
// the character is used as it stands.
struct SGPdelimiter {
  char character = 0;
  int32_t position = -1;
};

// Plain settings, filled from a configuration by the caller.
class SGPparserOptions {
public:
  const SGPdelimiter& fieldDelimiter() const { return m_FieldDelimiter; }
  SGPdelimiter& fieldDelimiter() { return m_FieldDelimiter; }
  void setFieldDelimiter(char c, int32_t position) { m_FieldDelimiter = {c, position}; }
  const SGPdelimiter& subFieldDelimiter() const { return m_SubFieldDelimiter; }
  SGPdelimiter& subFieldDelimiter() { return m_SubFieldDelimiter; }
  void setSubFieldDelimiter(char c, int32_t position) { m_SubFieldDelimiter = {c, position}; }
  const SGPdelimiter& subSubFieldDelimiter() const { return m_SubSubFieldDelimiter; }
  SGPdelimiter& subSubFieldDelimiter() { return m_SubSubFieldDelimiter; }
  void setSubSubFieldDelimiter(char c, int32_t position) { m_SubSubFieldDelimiter = {c, position}; }
  const SGPdelimiter& repeatCharacter() const { return m_RepeatCharacter; }
  SGPdelimiter& repeatCharacter() { return m_RepeatCharacter; }
  void setRepeatCharacter(char c, int32_t position) { m_RepeatCharacter = {c, position}; }
  const SGPdelimiter& escapeCharacter() const { return m_EscapeCharacter; }
  SGPdelimiter& escapeCharacter() { return m_EscapeCharacter; }
  void setEscapeCharacter(char c, int32_t position) { m_EscapeCharacter = {c, position}; }
  char segmentDelimiter() const { return m_SegmentDelimiter; }
  void setSegmentDelimiter(char c) { m_SegmentDelimiter = c; }
  const COLstring& headerSegmentName() const { return m_HeaderSegmentName; }
  void setHeaderSegmentName(const COLstring& name) { m_HeaderSegmentName = name; }
  bool hl7Mode() const { return m_Hl7Mode; }
  void setHl7Mode(bool value) { m_Hl7Mode = value; }

private:
  SGPdelimiter m_FieldDelimiter{'|', 0};
  SGPdelimiter m_SubFieldDelimiter{'^', 1};
  SGPdelimiter m_SubSubFieldDelimiter{'&', 4};
  SGPdelimiter m_RepeatCharacter{'~', 2};
  SGPdelimiter m_EscapeCharacter{'\\', 3};
  char m_SegmentDelimiter = 13;
  COLstring m_HeaderSegmentName = "MSH";
  bool m_Hl7Mode = true;
};

// Outside HL7 mode, a header named "ISA" whose field delimiter is read from the message is an
// X12 interchange header: it declares the element separator (behind "ISA"), the repetition
// separator (ISA-11, version 00501 on), the component separator (ISA-16) and the segment
// terminator (behind ISA-16), padded or not.  The repeat and sub field delimiters are taken
// from it when the options read them from the message, whatever their positions say; the
// terminator always, with line breaks and blanks behind it skipped.  So an interchange read
// from a log, with CR between its segments, and one passed as it was sent both tokenise.
bool SGPreadsInterchangeHeader(const SGPparserOptions& options);

// Writes the first problem with the options to the stream and returns false.
bool SGPparserOptionsValidate(const SGPparserOptions& options, COLostream& stream);
// The shortest message whose header can hold every delimiter the options read from it.
uint32_t SGPparserOptionsMinMessageSize(const SGPparserOptions& options);

// One table lookup per byte: the token kind of every byte value, and the byte of each kind.
class SGPtokenizer {
public:
  SGPtokenizer();
  // Tokens 2 to 6 only.  A character of 0 switches the token off; its old byte becomes data.
  void setDelimiter(uint32_t token, char c);
  char delimiter(uint32_t token) const { return token < 7 ? m_Character[token] : 0; }
  uint32_t kindOf(unsigned char c) const { return m_Kind[c]; }
  // Consumes the next token and returns its kind.
  uint32_t nextToken(const char** text, size_t* length) const;

private:
  uint32_t m_Kind[256];
  char m_Character[7];
};

// Reads the header: the first segment's name, the delimiters and, in HL7 mode, the first two
// fields.  `consumed` is the offset at which tokenising goes on.
SGPparseResult SGPparseHeader(const char* text, size_t length, const SGPparserOptions& options,
                              SGMsegment& segment, SGMseparatorCharacters& separators,
                              std::vector<char>& delimiterArray, SGMvalue& errorContext, uint32_t& fieldIndex,
                              int& consumed);

// Fills the five-entry array in the order segment, field, repeat, sub field, sub sub field.
void SGPcopyDelimiterArray(std::vector<char>& array, const SGMseparatorCharacters& separators);

class SGPparser {
public:
  SGPparser() = default;
  SGPparser(const SGPparser&) = delete;
  SGPparser& operator=(const SGPparser&) = delete;

  // Cuts `text` into `segmentList`; the text must stay unmoved while the list is in use.
  SGPparseResult parse(const char* text, size_t length, SGMsegmentList& segmentList,
                       SGMseparatorCharacters& separators, const SGPparserOptions& options);
  // The part of the message that a failure points at.
  const SGMvalue& errorContext() const { return m_ErrorContext; }

private:
  void processData(const char* begin, const char* end);
  void processDelimiter(uint32_t token);

  SGPtokenizer m_Tokenizer;
  uint32_t m_Segment = 0;
  uint32_t m_Field = 0;
  uint32_t m_Repeat = 0;
  uint32_t m_SubField = 0;
  uint32_t m_SubSubField = 0;
  SGMsegmentList* m_List = nullptr;
  SGMvalue m_ErrorContext;
  // The objects at the current indices, found once and kept until a delimiter moves on.
  SGMsegment* m_CurrentSegment = nullptr;
  SGMfieldRepeats* m_CurrentRepeats = nullptr;
  SGMfield* m_CurrentField = nullptr;
  SGMsubField* m_CurrentSubField = nullptr;
  std::vector<char> m_DelimiterArray;
};

// Inline: the tokeniser calls it once per token.
inline uint32_t SGPtokenizer::nextToken(const char** text, size_t* length) const {
  if (*length == 0) return SGPtokenEndOfInput;
  const unsigned char* Begin = reinterpret_cast<const unsigned char*>(*text);
  const uint32_t Kind = m_Kind[*Begin];
  switch (Kind) {
    case SGPtokenData: {
      const unsigned char* Position = Begin + 1;
      const unsigned char* End = Begin + *length;
      while (Position != End && m_Kind[*Position] == SGPtokenData) ++Position;
      const size_t Size = static_cast<size_t>(Position - Begin);
      *text += Size;
      *length -= Size;
      return SGPtokenData;
    }
    case SGPtokenEndOfInput:
      return SGPtokenEndOfInput;
    case SGPtokenSegment: {
      // CR LF counts as one segment end whatever the segment delimiter is.
      const size_t Size = (*length > 1 && Begin[1] == '\n') ? 2 : 1;
      *text += Size;
      *length -= Size;
      return SGPtokenSegment;
    }
    default:
      *text += 1;
      *length -= 1;
      return Kind;
  }
}

// The envelope of a tokenised X12 interchange: ISA ... IEA around GS ... GE groups around
// ST ... SE sets.  Each trailer must count what it closes (IEA-01 the groups, GE-01 the sets,
// SE-01 the segments from ST to SE) and repeat its header's control number (ISA-13, GS-06,
// ST-02); no header element may be longer than its fixed width.  False with `problem` saying
// what does not hold and at which segment (counted from 1).
bool SGPcheckInterchangeEnvelope(const SGMsegmentList& list, COLstring& problem);
