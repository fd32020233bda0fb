// Fuzz target: tokeniser, writer and escaper on any bytes.  The first byte picks a set of
// options; the rest is the message.  Besides not crashing, it checks that
// - tokenise then write gives the input back (plus a final segment delimiter) wherever that
//   must hold: no NUL, no segment delimiter followed by LF, no delimiter in a name position,
//   no later segment named "MSH", and delimiters read from a position only in HL7 mode;
// - the stream writer and the string writer agree;
// - escaping any value and unescaping it again gives the value back.
#include <cstring>
#include <string>
#include <string_view>

#include "COLerror.h"
#include "FUZZsupport.h"
#include "SCCescaper.h"
#include "SGMoutput.h"
#include "SGPparser.h"

namespace {

SGPparserOptions optionsFor(uint8_t selector, bool& roundTripHolds) {
  SGPparserOptions Options;
  roundTripHolds = true;
  switch (selector % 4) {
    case 0:
      break;
    case 1:  // fixed delimiters, the whole message tokenised
      Options.setHl7Mode(false);
      Options.setHeaderSegmentName("ISA");
      Options.setFieldDelimiter('*', -1);
      Options.setSubFieldDelimiter(':', -1);
      Options.setRepeatCharacter('^', -1);
      Options.setSubSubFieldDelimiter(0, -1);
      Options.setEscapeCharacter(0, -1);
      Options.setSegmentDelimiter('~');
      break;
    case 2:  // delimiters read from positions outside HL7 mode: the header name gets overwritten
      Options.setHl7Mode(false);
      Options.setHeaderSegmentName("ISA");
      Options.setFieldDelimiter('*', 0);
      Options.setRepeatCharacter('^', 79);
      Options.setSubFieldDelimiter(':', 101);
      Options.setSubSubFieldDelimiter(0, -1);
      Options.setEscapeCharacter(0, -1);
      Options.setSegmentDelimiter('~');
      roundTripHolds = false;
      break;
    case 3:  // HL7 with two delimiters switched off
      Options.setSubSubFieldDelimiter(0, 4);
      Options.setEscapeCharacter(0, 3);
      break;
  }
  return Options;
}

bool isDelimiterOf(char c, const SGMseparatorCharacters& separators) {
  return c != 0 && (c == separators.repeatCharacter || c == separators.subFieldDelimiter ||
                    c == separators.subSubFieldDelimiter);
}

// Whether the text satisfies the conditions under which writing gives it back.
bool roundTripExpected(std::string_view text, const SGMseparatorCharacters& separators,
                       const SGPparserOptions& options) {
  const char Segment = options.segmentDelimiter();
  if (text.find('\0') != std::string_view::npos) return false;
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == Segment && text[i + 1] == '\n') return false;
  }
  size_t Start = 0;
  if (options.hl7Mode()) {
    // The first segment's name and encoding characters are read as the header.
    const size_t Name = options.headerSegmentName().size();
    const size_t First = text.find(separators.fieldDelimiter, Name);
    const size_t Second = text.find(separators.fieldDelimiter, First + 1);
    Start = text.find(Segment, Second + 1);
    if (Start == std::string_view::npos) return true;
    ++Start;
  }
  while (Start < text.size()) {
    size_t End = text.find(Segment, Start);
    if (End == std::string_view::npos) End = text.size();
    const std::string_view Piece = text.substr(Start, End - Start);
    const size_t NameEnd = separators.fieldDelimiter ? Piece.find(separators.fieldDelimiter) : std::string_view::npos;
    const std::string_view Name = Piece.substr(0, NameEnd);
    for (char c : Name) {
      if (isDelimiterOf(c, separators)) return false;
    }
    if (Name == std::string_view("MSH")) return false;
    Start = End + 1;
  }
  return true;
}

void checkEscaper(const SGMsegmentList& list, const SGMseparatorCharacters& separators) {
  static const SCCescaper Plain;
  SCCescaper FromMessage;
  FromMessage.resetUnescapeChar(separators.fieldDelimiter, separators.subFieldDelimiter,
                                separators.subSubFieldDelimiter, separators.repeatCharacter, 'F', 'S', 'T', 'R',
                                separators.escapeCharacter, 'E');
  COLstring Unescaped, Wire, Back;
  unsigned Budget = 4000;
  for (uint32_t s = 0; s < list.countOfSegment() && Budget; ++s) {
    const SGMsegment& Segment = list.segment(s);
    for (uint32_t f = 0; f < Segment.countOfField() && Budget; ++f) {
      for (uint32_t r = 0; r < Segment.countOfFieldRepeat(f) && Budget; ++r) {
        const SGMfield& Field = Segment.field(f, r);
        for (uint32_t sf = 0; sf < Field.countOfSubField() && Budget; ++sf) {
          for (uint32_t v = 0; v < Field.countOfSubSubField(sf) && Budget; ++v, --Budget) {
            const SGMvalue& Value = Field.value(sf, v);
            try {
              FromMessage.unescapeStringWithSize(Unescaped, Value.data(), Value.length(), true);
            } catch (const COLerror&) {
            }
            FromMessage.unescapeStringWithSize(Unescaped, Value.data(), Value.length(), false);
            const COLstring Raw(Value.view());
            Wire.clear();
            Plain.escapeChar(Wire, Raw);
            Plain.unescapeStringWithSize(Back, Wire.data(), Wire.size(), true);
            check((Back.empty() ? Wire.view() : Back.view()) == Raw.view(), "escape then unescape");
          }
        }
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  bool RoundTripHolds = false;
  const SGPparserOptions Options = optionsFor(data[0], RoundTripHolds);
  const std::string Text(reinterpret_cast<const char*>(data + 1), size - 1);
  static SGMsegmentList List;  // reused, as a parse context does
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  const SGPparseResult Result = Parser.parse(Text.data(), Text.size(), List, Separators, Options);
  if (Result != SGPparsed) {
    const SGMvalue& Context = Parser.errorContext();
    check(Context.data() >= Text.data() && Context.data() + Context.length() <= Text.data() + Text.size(),
          "error context inside the message");
    return 0;
  }
  COLstring Written;
  const char SegmentEnd[1] = {Options.segmentDelimiter()};
  SGMappendSegmentList(List, Separators, std::string_view(SegmentEnd, 1), Written);
  COLstring Streamed;
  {
    COLostream Stream(Streamed);
    Stream.setNewLine(COLstring(std::string_view(SegmentEnd, 1)));
    SGMoutputSegmentList(List, Separators, Stream);
  }
  check(Written.view() == Streamed.view(), "stream and string writers agree");
  if (RoundTripHolds && roundTripExpected(Text, Separators, Options)) {
    std::string Expected = Text;
    if (Expected.empty() || Expected.back() != Options.segmentDelimiter()) Expected += Options.segmentDelimiter();
    check(Written.view() == std::string_view(Expected), "tokenise then write gives the input back");
  }
  checkEscaper(List, Separators);
  return 0;
}
