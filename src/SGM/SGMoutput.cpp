#include "SGMoutput.h"

namespace {

// The one writer behind both roads: Out is a stream or a string, and every put is one
// append of a whole value or delimiter, never a call per byte.
struct StreamOut {
  COLostream& Stream;
  void put(const char* data, size_t size) {
    if (size) Stream.write(data, size);
  }
  void put(char c) { Stream.write(&c, 1); }
};

struct StringOut {
  std::string& Text;
  void put(const char* data, size_t size) { Text.append(data, size); }
  void put(char c) { Text.push_back(c); }
};

template <class Out>
void writeSubField(const SGMsubField& subField, char subSubFieldDelimiter, Out& out) {
  const uint32_t Count = subField.countOfSubSubField();
  for (uint32_t v = 0; v < Count; ++v) {
    if (v) out.put(subSubFieldDelimiter);
    const SGMvalue& Value = subField.value(v);
    out.put(Value.data(), Value.length());
  }
}

template <class Out>
void writeField(const SGMfield& field, const SGMseparatorCharacters& separators, Out& out) {
  const uint32_t Count = field.countOfSubField();
  for (uint32_t s = 0; s < Count; ++s) {
    if (s) out.put(separators.subFieldDelimiter);
    writeSubField(field.subField(s), separators.subSubFieldDelimiter, out);
  }
}

template <class Out>
void writeRepeats(const SGMfieldRepeats& repeats, const SGMseparatorCharacters& separators, Out& out) {
  const uint32_t Count = repeats.countOfFieldRepeat();
  for (uint32_t r = 0; r < Count; ++r) {
    if (r) out.put(separators.repeatCharacter);
    writeField(repeats.fieldRepeat(r), separators, out);
  }
}

template <class Out>
void writeSegment(const SGMsegment& segment, const SGMseparatorCharacters& separators, Out& out) {
  const SGMvalue& Name = segment.name();
  out.put(Name.data(), Name.length());
  const uint32_t First = SGMvalueMatchesCharArray(Name, "MSH", 3) ? 1 : 0;
  const uint32_t Count = segment.countOfField();
  for (uint32_t f = First; f < Count; ++f) {
    out.put(separators.fieldDelimiter);
    writeRepeats(segment.fieldRepeats(f), separators, out);
  }
}

}  // namespace

void SGMoutputSegmentList(const SGMsegmentList& list, const SGMseparatorCharacters& separators,
                          COLostream& stream) {
  StreamOut Out{stream};
  for (uint32_t i = 0; i < list.countOfSegment(); ++i) {
    writeSegment(list.segment(i), separators, Out);
    stream.newline();
  }
}

void SGMoutputSegment(const SGMsegment& segment, const SGMseparatorCharacters& separators, COLostream& stream) {
  StreamOut Out{stream};
  writeSegment(segment, separators, Out);
}

void SGMoutputSegmentField(const SGMsegment& segment, uint32_t field, const SGMseparatorCharacters& separators,
                           COLostream& stream) {
  StreamOut Out{stream};
  writeRepeats(segment.fieldRepeats(field), separators, Out);
}

void SGMoutputField(const SGMfield& field, const SGMseparatorCharacters& separators, COLostream& stream) {
  StreamOut Out{stream};
  writeField(field, separators, Out);
}

void SGMoutputSubField(const SGMfield& field, uint32_t subField, const SGMseparatorCharacters& separators,
                       COLostream& stream) {
  StreamOut Out{stream};
  writeSubField(field.subField(subField), separators.subSubFieldDelimiter, Out);
}

void SGMappendSegmentList(const SGMsegmentList& list, const SGMseparatorCharacters& separators,
                          std::string_view segmentEnd, COLstring& result) {
  StringOut Out{result.str()};
  for (uint32_t i = 0; i < list.countOfSegment(); ++i) {
    writeSegment(list.segment(i), separators, Out);
    Out.put(segmentEnd.data(), segmentEnd.size());
  }
}
