#include "SGCskippedSegments.h"

#include "QVMengineConfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"

void SGCreportSkippedSegment(const QVMmessageDefinitionInternal& Message, const COLstring& Segment, unsigned Index) {
  SGCskippedSegments* Listener = SGCskippedSegmentsScope::current();
  if (!Listener) return;
  const QVMengineInternal* Engine = Message.rootEngine();
  if (!Engine || Engine->segmentByName(Segment) == QVMengineConfig::npos) return;
  Listener->skippedSegment(Message.name(), Segment, Index);
}

void SGCreportSkippedSegment(const QVMmessageGrammar& Grammar, const COLstring& Segment, unsigned Index) {
  if (!SGCskippedSegmentsHeard()) return;
  const QVMmessageGrammar* Root = &Grammar;
  while (Root->parent()) Root = Root->parent();
  if (Root->message()) SGCreportSkippedSegment(*Root->message(), Segment, Index);
}
