#include "SGCunescape.h"

namespace {

struct SGCunescapeContext {
  SCCescaper& Escaper;
  const QVMsegmentGrammar& Grammar;
  SGMstringPool* Pool;
  SGCerrorList& Errors;
  unsigned SegmentIndex;
  bool Strict;
  // Reused for every value: it only grows when a value has escapes.
  COLstring& Result;
};

void SGCunescapeValue(SGCunescapeContext& context, SGMvalue& value, unsigned field, unsigned repeat,
                      unsigned subField, unsigned subSubField) {
  if (value.length() == 0) return;
  context.Result.clear();
  try {
    context.Escaper.unescapeStringWithSize(context.Result, value.data(), value.length(), context.Strict);
  } catch (const COLerror& error) {
    context.Errors.add<SGCerrorInvalidEscape>(context.Grammar, error.description(), context.SegmentIndex, field,
                                              repeat, subField, subSubField);
    return;
  }
  // An empty result means no escape was found (or nothing remained): the raw bytes stay.
  if (context.Pool != nullptr && !context.Result.empty())
    SGMstringPoolSetValue(value, *context.Pool, context.Result.data(),
                          static_cast<uint32_t>(context.Result.size()));
}

void SGCunescapeField(SGCunescapeContext& context, SGMfield& field, unsigned fieldIndex, unsigned repeat) {
  const unsigned SubFields = field.countOfSubField();
  for (unsigned s = 0; s < SubFields; ++s) {
    const SGMsubField& Sub = field.subField(s);
    const unsigned Values = Sub.countOfSubSubField();
    for (unsigned v = 0; v < Values; ++v) SGCunescapeValue(context, Sub.value(v), fieldIndex, repeat, s, v);
  }
}

}  // namespace

void SGCunescapeSegment(SCCescaper& escaper, bool firstSegment, bool hl7Mode, SGMsegment& segment,
                        unsigned segmentIndex, const QVMsegmentGrammar& grammar, SGMstringPool* pool,
                        SGCerrorList& errors, bool strict) {
  // Kept by the thread from segment to segment, so that escaped values stop costing an
  // allocation once the longest has been seen; nothing here calls back into unescaping.
  thread_local COLstring Scratch;
  SGCunescapeContext Context{escaper, grammar, pool, errors, segmentIndex, strict, Scratch};
  // The header's delimiters are not escaped text.
  const unsigned FirstField = hl7Mode && firstSegment ? 2 : 0;
  const unsigned Fields = segment.countOfField();
  for (unsigned f = FirstField; f < Fields; ++f) {
    const unsigned Repeats = segment.countOfFieldRepeat(f);
    for (unsigned r = 0; r < Repeats; ++r) SGCunescapeField(Context, segment.field(f, r), f, r);
  }
}

void SGCtryUnescapeSegment(SCCescaper& escaper, bool firstSegment, bool hl7Mode, SGMsegment& segment,
                           unsigned segmentIndex, const QVMsegmentGrammar& grammar, SGCerrorList& errors) {
  SGCunescapeSegment(escaper, firstSegment, hl7Mode, segment, segmentIndex, grammar, nullptr, errors, true);
}
