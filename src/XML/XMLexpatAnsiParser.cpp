#include "XMLexpatAnsiParser.h"

#include <cstdio>
#include <cstring>

#include "COLostream.h"
#include "XMLexpatParser.h"

namespace {

[[noreturn]] void failTranscode(const unsigned char* at, const unsigned char* end) {
  COLstring Text("Unable to transcode stream at ");
  if (end)
    Text.append(static_cast<size_t>(end - at), reinterpret_cast<const char*>(at));
  else
    Text += reinterpret_cast<const char*>(at);
  throw COLerror(Text, COL_ERROR_PRECONDITION);
}

// Length of the UTF-8 sequence a lead byte opens, by its top bits; 0 for a continuation byte.
unsigned sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if ((lead & 0xF0) == 0xF0) return 4;
  if ((lead & 0xE0) == 0xE0) return 3;
  if ((lead & 0xC0) == 0xC0) return 2;
  return 0;
}

// The plain ASCII prefix of [text, end).
const char* asciiPrefixEnd(const char* text, const char* end) {
  while (text < end && static_cast<unsigned char>(*text) < 0x80) ++text;
  return text;
}

enum class Decode { Ok, Untranscodable, NulInside };

// The code point of the sequence of `length` bytes at `in`, stopping at a NUL before reading
// further; Untranscodable when the bytes are no such sequence.
Decode decodeCodePoint(const unsigned char* in, unsigned length, uint32_t& codePoint) {
  static constexpr unsigned char LeadMask[5] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  if (length == 0) return Decode::Untranscodable;
  codePoint = in[0] & LeadMask[length];
  for (unsigned Index = 1; Index < length; ++Index) {
    if (in[Index] == 0) return Decode::NulInside;
    if ((in[Index] & 0xC0) != 0x80) return Decode::Untranscodable;
    codePoint = (codePoint << 6) | (in[Index] & 0x3F);
  }
  return Decode::Ok;
}

// The 8-bit form of the sequence of `length` bytes at `in`.
Decode decodeSequence(const unsigned char* in, unsigned length, unsigned char* out) {
  uint32_t CodePoint = 0;
  const Decode Result = decodeCodePoint(in, length, CodePoint);
  if (Result != Decode::Ok) return Result;
  if (CodePoint > 0xFF) return Decode::Untranscodable;
  *out = static_cast<unsigned char>(CodePoint);
  return Decode::Ok;
}

// Converts the characters of [from, end) and appends them; `end` null means NUL-terminated.
void appendTranscoded(COLstring& out, const unsigned char* from, const unsigned char* end) {
  while (end ? from < end : *from != 0) {
    const unsigned Length = sequenceLength(*from);
    // A sequence cut off by the end of the range cannot be converted.
    if (end && static_cast<size_t>(end - from) < Length) failTranscode(from, end);
    unsigned char Converted = 0;
    switch (decodeSequence(from, Length, &Converted)) {
      case Decode::Ok:
        break;
      case Decode::NulInside:
        if (!end) COLfailCheck("Failed precondition: ", "in[Index] != 0", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
        [[fallthrough]];
      case Decode::Untranscodable:
        failTranscode(from, end);
    }
    out += static_cast<char>(Converted);
    from += Length;
  }
}

}  // namespace

XMLexpatAnsiTranscodedString::XMLexpatAnsiTranscodedString(COLstring text)
    : m_Owned(new XMLexpatAnsiTranscodedStringTypeColString(std::move(text))) {
  m_Text = m_Owned->text().c_str();
  m_Size = m_Owned->text().size();
}

// The private part is the event parser itself: it converts what Expat gives and calls the
// outer object.
class XMLexpatAnsiParserPrivate : public XMLexpatParser {
public:
  explicit XMLexpatAnsiParserPrivate(XMLexpatAnsiParser& owner) : m_Owner(owner) {}

  // Names follow "<" or "</", comments "<!--": Expat places an event at its markup.
  void onStartElement(const char* name, const char** attributes) override {
    const XMLexpatAnsiTranscodedString Name = transcoded(name, 1);
    const char** Attributes = nullptr;
    try {
      Attributes = XMLexpatAnsiParser::utf8PtrArrayToAnsi(attributes, m_AttributeStrings, m_AttributePointers);
    } catch (const COLerror& Cause) {
      refuseAttributes(attributes, Cause);
    }
    m_Owner.onStartElement(Name.c_str(), Attributes);
  }
  void onEndElement(const char* name) override { m_Owner.onEndElement(transcoded(name, 2).c_str()); }
  void onCharacterData(const char* text, int length) override {
    const char* End = text + length;
    if (asciiPrefixEnd(text, End) == End) {
      m_Owner.onCharacterData(text, length);
      return;
    }
    COLstring Text;
    try {
      Text = XMLexpatAnsiParser::utf8ToAnsiColString(text, End);
    } catch (const COLerror& Cause) {
      refuse(text, End, 0, Cause);
    }
    m_Owner.onCharacterData(Text.data(), static_cast<int>(Text.size()));
  }
  void onComment(const char* text) override { m_Owner.onComment(transcoded(text, 4).c_str()); }
  void onStartCdataSection() override { m_Owner.onStartCdataSection(); }
  void onEndCdataSection() override { m_Owner.onEndCdataSection(); }
  COLerror onError(const COLstring& message, unsigned line, unsigned column) override {
    return m_Owner.onError(message, line, column);
  }

private:
  // `text` starts `offset` characters after the place of the event.
  XMLexpatAnsiTranscodedString transcoded(const char* text, unsigned offset) {
    try {
      return XMLexpatAnsiParser::utf8ToAnsi(text);
    } catch (const COLerror& Cause) {
      refuse(text, text + std::strlen(text), offset, Cause);
    }
  }

  // The error for text of the current event that has no 8-bit form, at the character that
  // has none.  `Cause` goes on when no such character is found.
  [[noreturn]] void refuse(const char* start, const char* end, unsigned offset, const COLerror& Cause) {
    size_t Before = 0;
    uint32_t CodePoint = 0;
    if (!XMLexpatAnsiParser::utf8FindUntranscodable(start, end, Before, CodePoint)) throw Cause;
    throwAt(currentColumnNumber() + offset + static_cast<unsigned>(Before), "", CodePoint);
  }

  // Attribute values are not placed by Expat: the error stands at the start tag.
  [[noreturn]] void refuseAttributes(const char** attributes, const COLerror& Cause) {
    for (const char** Entry = attributes; *Entry; ++Entry) {
      size_t Before = 0;
      uint32_t CodePoint = 0;
      if (XMLexpatAnsiParser::utf8FindUntranscodable(*Entry, *Entry + std::strlen(*Entry), Before, CodePoint))
        throwAt(currentColumnNumber(), ", in an attribute of the element that starts there", CodePoint);
    }
    throw Cause;
  }

  [[noreturn]] void throwAt(unsigned column, const char* where, uint32_t codePoint) {
    COLstring Text;
    COLostream(Text) << "Unable to transcode stream at line " << currentLineNumber() << " column " << column + 1
                     << where << ": " << XMLexpatAnsiParser::untranscodableText(codePoint);
    throw COLerror(Text, COL_ERROR_PRECONDITION);
  }

  XMLexpatAnsiParser& m_Owner;
  // Kept for the length of one onStartElement; reused to spare allocations.
  std::vector<XMLexpatAnsiTranscodedString> m_AttributeStrings;
  std::vector<const char*> m_AttributePointers;
};

XMLexpatAnsiParser::XMLexpatAnsiParser() : pMember(std::make_unique<XMLexpatAnsiParserPrivate>(*this)) {}
XMLexpatAnsiParser::~XMLexpatAnsiParser() = default;

void XMLexpatAnsiParser::onComment(const char*) {}
void XMLexpatAnsiParser::onStartCdataSection() {}
void XMLexpatAnsiParser::onEndCdataSection() {}

COLerror XMLexpatAnsiParser::onError(const COLstring& message, unsigned line, unsigned column) {
  return pMember->XMLexpatParser::onError(message, line, column);
}

void XMLexpatAnsiParser::parse(const COLstring& xml) { pMember->parse(xml); }
void XMLexpatAnsiParser::init() { pMember->init(); }
void XMLexpatAnsiParser::destroy() { pMember->destroy(); }
void XMLexpatAnsiParser::parseBuffer(const char* data, unsigned length, bool isFinal) {
  pMember->parseBuffer(data, length, isFinal);
}
void XMLexpatAnsiParser::flush() { pMember->flush(); }
unsigned XMLexpatAnsiParser::currentLineNumber() const { return pMember->currentLineNumber(); }
unsigned XMLexpatAnsiParser::currentColumnNumber() const { return pMember->currentColumnNumber(); }

unsigned XMLexpatAnsiParser::utf8CharToAnsiChar(const unsigned char* in, unsigned char* out) {
  const unsigned Length = sequenceLength(in[0]);
  switch (decodeSequence(in, Length, out)) {
    case Decode::Ok:
      return Length;
    case Decode::NulInside:
      COLfailCheck("Failed precondition: ", "in[Index] != 0", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
    case Decode::Untranscodable:
      break;
  }
  failTranscode(in, nullptr);
}

XMLexpatAnsiTranscodedString XMLexpatAnsiParser::utf8ToAnsi(const char* text) {
  if (!text) return XMLexpatAnsiTranscodedString("", 0);
  const char* Plain = text;
  while (static_cast<unsigned char>(*Plain) - 1u < 0x7Fu) ++Plain;  // 1..127
  if (*Plain == 0) return XMLexpatAnsiTranscodedString(text, static_cast<size_t>(Plain - text));
  COLstring Converted(text, 0, static_cast<size_t>(Plain - text));
  appendTranscoded(Converted, reinterpret_cast<const unsigned char*>(Plain), nullptr);
  return XMLexpatAnsiTranscodedString(std::move(Converted));
}

COLstring XMLexpatAnsiParser::utf8ToAnsiColString(const char* start, const char* end) {
  const char* Plain = asciiPrefixEnd(start, end);
  COLstring Converted;
  Converted.append(static_cast<size_t>(Plain - start), start);
  appendTranscoded(Converted, reinterpret_cast<const unsigned char*>(Plain),
                   reinterpret_cast<const unsigned char*>(end));
  return Converted;
}

bool XMLexpatAnsiParser::utf8FindUntranscodable(const char* start, const char* end, size_t& charactersBefore,
                                                 uint32_t& codePoint) {
  const auto* From = reinterpret_cast<const unsigned char*>(start);
  const auto* End = reinterpret_cast<const unsigned char*>(end);
  for (size_t Count = 0; From < End; ++Count) {
    const unsigned Length = sequenceLength(*From);
    uint32_t CodePoint = NotUtf8;
    if (Length == 0 || static_cast<size_t>(End - From) < Length ||
        decodeCodePoint(From, Length, CodePoint) != Decode::Ok)
      CodePoint = NotUtf8;
    if (CodePoint > 0xFF) {
      charactersBefore = Count;
      codePoint = CodePoint;
      return true;
    }
    From += Length;
  }
  return false;
}

COLstring XMLexpatAnsiParser::untranscodableText(uint32_t codePoint) {
  if (codePoint == NotUtf8) return "the bytes there are not UTF-8";
  char Text[128];
  std::snprintf(Text, sizeof Text,
                "the character U+%04X is beyond U+00FF, the last character that 8-bit (Latin-1) text can hold",
                static_cast<unsigned>(codePoint));
  return Text;
}

const char** XMLexpatAnsiParser::utf8PtrArrayToAnsi(const char** array, std::vector<XMLexpatAnsiTranscodedString>& storage,
                                                    std::vector<const char*>& pointers) {
  storage.clear();
  pointers.clear();
  bool AnyConverted = false;
  for (const char** Entry = array; *Entry; ++Entry) {
    storage.push_back(utf8ToAnsi(*Entry));
    AnyConverted = AnyConverted || storage.back().isColString();
  }
  // Expat's own array serves when nothing had to change.
  if (!AnyConverted) return array;
  for (const auto& Text : storage) pointers.push_back(Text.c_str());
  pointers.push_back(nullptr);
  return pointers.data();
}
