// Message identification: which message definition a tokenised message belongs to, and
// whether a segment fits a grammar position that its segment identifiers guard.
#pragma once

#include <cstdint>

#include "COLstring.h"

class QVMengineInternal;
class QVMidentifier;
class QVMmessageDefinitionInternal;
class QVMmessageNodeAddress;
class QVMsegmentGrammar;
class SGMsegment;
class SGMsegmentList;
class SGMvalue;

// The first definition in match order whose identifiers all match; else the last one when
// it matches all; else Engine.countOfMessage().  Definitions whose identifiers are plain
// anchored literals ("^ADT$") are found by one hash lookup, the rest are tried in order.
unsigned SGCmatchMessage(SGMsegmentList& List, QVMengineInternal& Engine);
// The same answer by trying every definition in turn; kept as the reference.
unsigned SGCmatchMessageInOrder(SGMsegmentList& List, QVMengineInternal& Engine);

// A definition without identifiers never matches.
bool SGCdoesMessageMatch(SGMsegmentList& List, QVMmessageDefinitionInternal& Message);
// Only the first segment of the identifier's name is looked at; a missing value fails.
bool SGCdoesIdentMatch(SGMsegmentList& List, const QVMidentifier& Identifier);
// The index of the first segment of that name, or (unsigned)-1.
unsigned SGCfindFirstNamedSegment(SGMsegmentList& List, const COLstring& Name);
// The raw value an address points at, or null when the segment has no such place.
SGMvalue* SGCfindField(SGMsegment& Segment, const QVMmessageNodeAddress& Address);
// Name equal, and every segment identifier matches (a missing value counts as empty).
bool SGCmatchSegment(SGMsegment& Segment, const QVMsegmentGrammar& Grammar);
