// Segments of a message that the parse passes over without an error: with "ignore unknown
// segments" a segment the message grammar has no place for is left out of the result.  For a
// site's own segments that is the point of the setting; for a segment the configuration defines
// it usually means a message the grammar does not fit, so a host may listen for those.
#pragma once

#include "COLstring.h"
#include "COLthreadListener.h"

class QVMmessageGrammar;
class QVMmessageDefinitionInternal;

class SGCskippedSegments {
public:
  virtual ~SGCskippedSegments() = default;
  // `Segment` is the name of a segment the configuration has a grammar for, standing at
  // `Index` (counted from 0) in a message of definition `Message`, and left out of it.
  virtual void skippedSegment(const COLstring& Message, const COLstring& Segment, unsigned Index) = 0;
};

// Installs a listener for the current thread while it lives.
using SGCskippedSegmentsScope = COLthreadListenerScope<SGCskippedSegments>;

// Whether anyone listens; the callers look up nothing when no one does.
inline bool SGCskippedSegmentsHeard() { return SGCskippedSegmentsScope::current() != nullptr; }

// Tells the listener, if the configuration of `Message` defines a segment `Segment`; segments it
// does not define (a site's Z segments) are skipped quietly.
void SGCreportSkippedSegment(const QVMmessageDefinitionInternal& Message, const COLstring& Segment, unsigned Index);
// The same, for a grammar of the message.
void SGCreportSkippedSegment(const QVMmessageGrammar& Grammar, const COLstring& Segment, unsigned Index);

// Messages that lack a required segment or group.  The parse refuses them, unless a listener of
// this kind is installed on the thread: then each missing item is told to it and the message goes
// on without it.  Leniency comes only with a listener, so that nothing is let through unheard.
// Only the requirement is relaxed: a segment the grammar has no place for, or one repeated more
// often than allowed, still fails the message.
class SGCmissingRequired {
public:
  virtual ~SGCmissingRequired() = default;
  // `Grammar` is the segment or group (`IsSegment`) of a message of definition `Message`, by its
  // full name ("ADT_A01.EVN"), that the message does not have.
  virtual void missingRequired(const COLstring& Message, const COLstring& Grammar, bool IsSegment) = 0;
};

using SGCmissingRequiredScope = COLthreadListenerScope<SGCmissingRequired>;

// The listener of the current thread, or null when missing required items fail the message.
inline SGCmissingRequired* SGCmissingRequiredListener() { return SGCmissingRequiredScope::current(); }
