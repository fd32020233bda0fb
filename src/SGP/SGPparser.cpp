#include "SGPparser.h"

#include <algorithm>
#include <cstring>

#include "COLerror.h"
#include "MLGx12Header.h"

// --- options

namespace {

// The first problem with the options, null when there is none.
const char* optionsProblem(const SGPparserOptions& options) {
  if (options.headerSegmentName().empty()) return "Header Segment Name must be defined.";
  if (options.segmentDelimiter() == 0) return "Segment delimiter must be defined.";
  if (options.hl7Mode() && options.fieldDelimiter().character == 0) {
    return "When parsing HL7 data, the field delimiter must be enabled.";
  }
  if (options.hl7Mode() && options.subFieldDelimiter().character == 0 &&
      options.subSubFieldDelimiter().character != 0) {
    return "When parsing HL7 data and disabling the subfield delimiter, the sub-sub field delimiter must also be "
           "disabled";
  }
  return nullptr;
}

}  // namespace

bool SGPparserOptionsValidate(const SGPparserOptions& options, COLostream& stream) {
  if (const char* Problem = optionsProblem(options)) {
    stream << Problem;
    return false;
  }
  return true;
}

uint32_t SGPparserOptionsMinMessageSize(const SGPparserOptions& options) {
  int32_t Highest = 0;
  for (const SGPdelimiter* Delimiter :
       {&options.fieldDelimiter(), &options.subFieldDelimiter(), &options.subSubFieldDelimiter(),
        &options.repeatCharacter(), &options.escapeCharacter()}) {
    Highest = std::max(Highest, Delimiter->position);
  }
  return static_cast<uint32_t>(options.headerSegmentName().size()) + static_cast<uint32_t>(Highest) +
         (options.hl7Mode() ? 1 : 0);
}

bool SGPreadsInterchangeHeader(const SGPparserOptions& options) {
  return !options.hl7Mode() && options.headerSegmentName() == "ISA" && options.fieldDelimiter().position >= 0 &&
         options.fieldDelimiter().character != 0;
}

// --- tokenizer

SGPtokenizer::SGPtokenizer() {
  std::fill(std::begin(m_Kind), std::end(m_Kind), SGPtokenData);
  std::fill(std::begin(m_Character), std::end(m_Character), 0);
  m_Kind[0] = SGPtokenEndOfInput;
  m_Kind[13] = SGPtokenSegment;
  m_Kind[static_cast<unsigned char>('|')] = SGPtokenField;
  m_Kind[static_cast<unsigned char>('~')] = SGPtokenRepeat;
  m_Kind[static_cast<unsigned char>('^')] = SGPtokenSubField;
  m_Kind[static_cast<unsigned char>('&')] = SGPtokenSubSubField;
  m_Character[SGPtokenSegment] = 13;
  m_Character[SGPtokenField] = '|';
  m_Character[SGPtokenRepeat] = '~';
  m_Character[SGPtokenSubField] = '^';
  m_Character[SGPtokenSubSubField] = '&';
}

void SGPtokenizer::setDelimiter(uint32_t token, char c) {
  if (token < SGPtokenSegment || token > SGPtokenSubSubField) return;
  if (m_Character[token] == c) return;
  const unsigned char Old = static_cast<unsigned char>(m_Character[token]);
  if (Old != 0 && m_Kind[Old] == token) m_Kind[Old] = SGPtokenData;
  m_Character[token] = 0;
  const unsigned char New = static_cast<unsigned char>(c);
  // Byte 0 always ends the input; a delimiter of 0 is simply switched off.
  if (New == 0) return;
  const uint32_t Holder = m_Kind[New];
  if (Holder >= SGPtokenSegment && Holder <= SGPtokenSubSubField) m_Character[Holder] = 0;
  m_Kind[New] = token;
  m_Character[token] = c;
}

// --- header

namespace {

// The duplicate among the delimiters, 0 when there is none.
char findDuplicateDelimiter(const std::vector<char>& delimiters, char escapeCharacter) {
  for (size_t i = delimiters.size(); i-- > 1;) {
    const char Candidate = delimiters[i];
    if (Candidate == 0) continue;
    for (size_t j = 0; j < i; ++j) {
      if (delimiters[j] == Candidate) return Candidate;
    }
  }
  if (escapeCharacter != 0) {
    for (char Delimiter : delimiters) {
      if (Delimiter == escapeCharacter) return Delimiter;
    }
  }
  return 0;
}

// Sets one field of the header segment to a single value.
void setHeaderField(SGMsegment& segment, uint32_t field, const char* data, uint32_t length) {
  SGMfield& Field = segment.field(field, 0);
  Field.setCountOfSubField(1);
  Field.value(0, 0).set(data, length);
}

// The X12 interchange header, ISA-01 to ISA-16 as single values; ISA-11 and ISA-16 stay data.
SGPparseResult parseInterchangeHeader(const char* text, size_t length, const SGPparserOptions& options,
                                      SGMsegment& segment, SGMseparatorCharacters& separators,
                                      std::vector<char>& delimiterArray, SGMvalue& errorContext,
                                      uint32_t& fieldIndex, int& consumed) {
  const uint32_t WholeLength = static_cast<uint32_t>(std::min<size_t>(length, UINT32_MAX));
  const std::string_view Bytes(text, length);
  constexpr std::string_view Isa("ISA");
  if (!Bytes.starts_with(Isa)) {
    errorContext.set(text, static_cast<uint32_t>(std::min<size_t>(length, Isa.size())));
    // A beginning of "ISA" is a header cut short; anything else is no header.
    return Isa.starts_with(Bytes) ? SGPmessageTooShort : SGPheaderNotFound;
  }
  MLGx12Declared Declared;
  // The terminator behind ISA-16 may be missing only where the message is the header alone.
  if (!MLGreadX12Header(Bytes, Declared) && !MLGreadX12Header(std::string(Bytes) + "\r", Declared)) {
    errorContext.set(text, WholeLength);
    return SGPinterchangeHeaderInvalid;
  }
  segment.name().set(text, 3);
  separators.segmentDelimiter = Declared.segment;
  separators.fieldDelimiter = Declared.element;
  separators.repeatCharacter =
      options.repeatCharacter().position >= 0 ? Declared.repetition : options.repeatCharacter().character;
  separators.subFieldDelimiter =
      options.subFieldDelimiter().position >= 0 && options.subFieldDelimiter().character != 0
          ? Declared.component
          : options.subFieldDelimiter().character;
  separators.subSubFieldDelimiter = options.subSubFieldDelimiter().character;
  separators.escapeCharacter = options.escapeCharacter().character;
  delimiterArray = {separators.segmentDelimiter, separators.fieldDelimiter, separators.repeatCharacter,
                    separators.subFieldDelimiter, separators.subSubFieldDelimiter};
  if (const char Duplicate = findDuplicateDelimiter(delimiterArray, separators.escapeCharacter)) {
    const void* Hit = std::memchr(text, static_cast<unsigned char>(Duplicate), length);
    errorContext.set(Hit ? static_cast<const char*>(Hit) : text, Hit ? 1 : WholeLength);
    return SGPduplicateDelimiter;
  }
  segment.setCountOfField(MLGx12HeaderElements);
  size_t Begin = 4;
  for (uint32_t Field = 0; Field < MLGx12HeaderElements; ++Field) {
    const size_t End = Field + 1 < MLGx12HeaderElements ? Bytes.find(Declared.element, Begin) : Declared.length;
    setHeaderField(segment, Field, text + Begin, static_cast<uint32_t>(End - Begin));
    Begin = End + 1;
  }
  fieldIndex = MLGx12HeaderElements;
  consumed = static_cast<int>(Declared.length);
  return SGPparsed;
}

}  // namespace

SGPparseResult SGPparseHeader(const char* text, size_t length, const SGPparserOptions& options,
                              SGMsegment& segment, SGMseparatorCharacters& separators,
                              std::vector<char>& delimiterArray, SGMvalue& errorContext, uint32_t& fieldIndex,
                              int& consumed) {
  if (const char* Problem = optionsProblem(options)) {
    throw COLerror(COLstring("Error with parsing options while parsing header: ") + Problem, COL_ERROR_PRECONDITION);
  }
  delimiterArray.clear();
  fieldIndex = 0;
  const uint32_t WholeLength = static_cast<uint32_t>(std::min<size_t>(length, UINT32_MAX));
  if (SGPreadsInterchangeHeader(options))
    return parseInterchangeHeader(text, length, options, segment, separators, delimiterArray, errorContext,
                                  fieldIndex, consumed);
  if (length < SGPparserOptionsMinMessageSize(options)) {
    errorContext.set(text, WholeLength);
    return SGPmessageTooShort;
  }
  const COLstring& Name = options.headerSegmentName();
  const size_t NameLength = Name.size();
  const size_t Compared = std::min(length, NameLength);
  if (std::strncmp(text, Name.c_str(), Compared) != 0) {
    errorContext.set(text, static_cast<uint32_t>(Compared));
    return SGPheaderNotFound;
  }
  segment.name().set(text, static_cast<uint32_t>(NameLength));
  delimiterArray.push_back(options.segmentDelimiter());
  consumed = 0;

  struct Slot {
    const SGPdelimiter& option;
    char& separator;
    bool inArray;
  };
  const Slot Slots[] = {
      {options.fieldDelimiter(), separators.fieldDelimiter, true},
      {options.repeatCharacter(), separators.repeatCharacter, true},
      {options.subFieldDelimiter(), separators.subFieldDelimiter, true},
      {options.subSubFieldDelimiter(), separators.subSubFieldDelimiter, true},
      {options.escapeCharacter(), separators.escapeCharacter, false},
  };
  for (const Slot& Each : Slots) {
    char Character = Each.option.character;
    if (Each.option.position >= 0) {
      const size_t Offset = static_cast<size_t>(Each.option.position) + NameLength;
      // Outside HL7 mode the minimum size allows the highest offset to lie just past the end.
      if (Offset >= length) {
        errorContext.set(text, WholeLength);
        return SGPmessageTooShort;
      }
      if (Character != 0) Character = text[Offset];
      consumed = std::max(consumed, static_cast<int>(Offset));
    }
    Each.separator = Character;
    if (Each.inArray) delimiterArray.push_back(Character);
  }

  if (const char Duplicate = findDuplicateDelimiter(delimiterArray, separators.escapeCharacter)) {
    const void* Hit = std::memchr(text, static_cast<unsigned char>(Duplicate), length);
    if (Hit) {
      errorContext.set(static_cast<const char*>(Hit), 1);
    } else {
      errorContext.set(text, WholeLength);
    }
    return SGPduplicateDelimiter;
  }
  if (!options.hl7Mode()) return SGPparsed;

  fieldIndex = 3;
  const char FieldDelimiter = separators.fieldDelimiter;
  const char* End = text + length;
  const char* First = static_cast<const char*>(
      std::memchr(text + NameLength, static_cast<unsigned char>(FieldDelimiter), length - NameLength));
  const char* Second = First ? static_cast<const char*>(std::memchr(
                                   First + 1, static_cast<unsigned char>(FieldDelimiter), End - (First + 1)))
                             : nullptr;
  if (!Second) {
    errorContext.set(text, WholeLength);
    return SGPfieldDelimitersNotFound;
  }
  segment.setCountOfField(2);
  setHeaderField(segment, 0, First, 1);
  setHeaderField(segment, 1, First + 1, static_cast<uint32_t>(Second - First - 1));
  consumed = static_cast<int>(Second + 1 - text);
  return SGPparsed;
}

void SGPcopyDelimiterArray(std::vector<char>& array, const SGMseparatorCharacters& separators) {
  array.assign({separators.segmentDelimiter, separators.fieldDelimiter, separators.repeatCharacter,
                separators.subFieldDelimiter, separators.subSubFieldDelimiter});
}

// --- parser

SGPparseResult SGPparser::parse(const char* text, size_t length, SGMsegmentList& segmentList,
                                SGMseparatorCharacters& separators, const SGPparserOptions& options) {
  m_List = &segmentList;
  // Segment 0 is cleared too, so that nothing of the previous message survives in it.
  segmentList.setCountOfSegment(0);
  segmentList.setCountOfSegment(1);
  m_Segment = m_Field = m_Repeat = m_SubField = m_SubSubField = 0;
  m_CurrentSegment = nullptr;
  m_CurrentRepeats = nullptr;
  m_CurrentField = nullptr;
  m_CurrentSubField = nullptr;
  m_ErrorContext.clear();
  std::vector<char>& DelimiterArray = m_DelimiterArray;
  int Consumed = 0;

  const SGPparseResult Result = SGPparseHeader(text, length, options, segmentList.segment(0), separators,
                                               DelimiterArray, m_ErrorContext, m_Field, Consumed);
  if (Result != SGPparsed) {
    if (segmentList.countOfSegment() > 0 && segmentList.segment(0).name().length() == 0) segmentList.clear();
    return Result;
  }
  COL_PRECONDITION(DelimiterArray.size() == 5);
  for (uint32_t i = 0; i < 5; ++i) m_Tokenizer.setDelimiter(SGPtokenSegment + i, DelimiterArray[i]);

  const char* Position = text + Consumed;
  size_t Remaining = length - static_cast<size_t>(Consumed);
  // The interchange header is a whole segment: what follows is its terminator, not a value.
  const bool Interchange = SGPreadsInterchangeHeader(options);
  uint32_t Last = Interchange ? SGPtokenData : SGPtokenField;
  for (;;) {
    const char* Begin = Position;
    const uint32_t Token = m_Tokenizer.nextToken(&Position, &Remaining);
    if (Token == SGPtokenEndOfInput) break;
    if (Token == SGPtokenData) {
      processData(Begin, Position);
    } else {
      // Two delimiters in a row stand around an empty value.
      if (Last != SGPtokenData) processData(Begin, Begin);
      processDelimiter(Token);
      // An interchange as sent may break lines and indent behind its terminators.
      if (Interchange && Token == SGPtokenSegment) {
        while (Remaining && (*Position == '\r' || *Position == '\n' || *Position == ' ' || *Position == '\t')) {
          ++Position;
          --Remaining;
        }
      }
    }
    Last = Token;
  }
  // A message without a final segment delimiter ends as if it had one.
  if (Last != SGPtokenSegment) {
    if (Last != SGPtokenData) processData(Position, Position);
    processDelimiter(SGPtokenSegment);
  }
  return SGPparsed;
}

void SGPparser::processData(const char* begin, const char* end) {
  if (!m_CurrentSegment) {
    if (m_List->countOfSegment() <= m_Segment) m_List->setCountOfSegment(m_Segment + 1);
    m_CurrentSegment = &m_List->m_Segments.atUnchecked(m_Segment);
  }
  const uint32_t Length = static_cast<uint32_t>(end - begin);
  if (m_Field == 0) {
    m_CurrentSegment->name().set(begin, Length);
    return;
  }
  if (!m_CurrentRepeats) {
    if (m_CurrentSegment->countOfField() < m_Field) m_CurrentSegment->setCountOfField(m_Field);
    m_CurrentRepeats = &m_CurrentSegment->m_Fields.atUnchecked(m_Field - 1);
  }
  if (!m_CurrentField) {
    SGMreuseList<SGMfield>& Repeats = m_CurrentRepeats->m_Repeats;
    if (Repeats.count() <= m_Repeat) Repeats.setCount(m_Repeat + 1);
    m_CurrentField = &Repeats.atUnchecked(m_Repeat);
  }
  if (!m_CurrentSubField) {
    SGMreuseList<SGMsubField>& SubFields = m_CurrentField->m_SubFields;
    if (SubFields.count() == m_SubField) {
      // The usual step: the next sub field, with its first value.
      m_CurrentSubField = &SubFields.growByOne();
      m_CurrentSubField->m_Values.growByOne().set(begin, Length);
      return;
    }
    if (SubFields.count() < m_SubField) m_CurrentField->growSubFields(m_SubField + 1);
    m_CurrentSubField = &SubFields.atUnchecked(m_SubField);
  }
  SGMreuseList<SGMvalue>& Values = m_CurrentSubField->m_Values;
  if (Values.count() == m_SubSubField) {
    Values.growByOne().set(begin, Length);
    return;
  }
  if (Values.count() < m_SubSubField) Values.setCount(m_SubSubField + 1);
  Values.atUnchecked(m_SubSubField).set(begin, Length);
}

void SGPparser::processDelimiter(uint32_t token) {
  switch (token) {
    case SGPtokenSegment:
      ++m_Segment;
      m_Field = m_Repeat = m_SubField = m_SubSubField = 0;
      m_CurrentSegment = nullptr;
      m_CurrentRepeats = nullptr;
      m_CurrentField = nullptr;
      m_CurrentSubField = nullptr;
      break;
    case SGPtokenField:
      ++m_Field;
      m_Repeat = m_SubField = m_SubSubField = 0;
      m_CurrentRepeats = nullptr;
      m_CurrentField = nullptr;
      m_CurrentSubField = nullptr;
      if (!m_CurrentSegment) {
        if (m_List->countOfSegment() <= m_Segment) m_List->setCountOfSegment(m_Segment + 1);
        m_CurrentSegment = &m_List->m_Segments.atUnchecked(m_Segment);
      }
      if (m_CurrentSegment->countOfField() + 1 == m_Field) {
        // The usual step: the next field position, with its one repeat.
        SGMfieldRepeats& Repeats = m_CurrentSegment->m_Fields.growByOne();
        m_CurrentField = &Repeats.m_Repeats.growByOne();
        m_CurrentRepeats = &Repeats;
      } else if (m_CurrentSegment->countOfField() < m_Field) {
        m_CurrentSegment->setCountOfField(m_Field);
      }
      break;
    case SGPtokenRepeat:
      ++m_Repeat;
      m_SubField = m_SubSubField = 0;
      m_CurrentField = nullptr;
      m_CurrentSubField = nullptr;
      break;
    case SGPtokenSubField:
      ++m_SubField;
      m_SubSubField = 0;
      m_CurrentSubField = nullptr;
      break;
    case SGPtokenSubSubField:
      ++m_SubSubField;
      break;
    default:
      break;
  }
}
