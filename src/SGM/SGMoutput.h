// Turning a segment list back into delimited text.  The stream forms write through any
// COLsink; SGMappendSegmentList appends to a string directly and is the fast road for a
// caller that collects the whole message in memory.
#pragma once

#include "COLostream.h"
#include "SGMsegmentList.h"

// Each segment followed by the stream's newline (set it to the segment delimiter if wanted).
void SGMoutputSegmentList(const SGMsegmentList& list, const SGMseparatorCharacters& separators,
                          COLostream& stream);
// The name, then each field position behind its field delimiter.  Position 0 is skipped
// for "MSH": there it is the field delimiter itself, which is already written.
void SGMoutputSegment(const SGMsegment& segment, const SGMseparatorCharacters& separators, COLostream& stream);
// The repeats of one field position, joined by the repeat character.
void SGMoutputSegmentField(const SGMsegment& segment, uint32_t field, const SGMseparatorCharacters& separators,
                           COLostream& stream);
// Sub fields joined by the sub field delimiter, values by the sub sub field delimiter.
void SGMoutputField(const SGMfield& field, const SGMseparatorCharacters& separators, COLostream& stream);
void SGMoutputSubField(const SGMfield& field, uint32_t subField, const SGMseparatorCharacters& separators,
                       COLostream& stream);

// As SGMoutputSegmentList, appending to `result` with `segmentEnd` behind each segment.
void SGMappendSegmentList(const SGMsegmentList& list, const SGMseparatorCharacters& separators,
                          std::string_view segmentEnd, COLstring& result);
