#include "SGCskippedSegments.h"

#include "QVMengineConfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"

namespace {
thread_local SGCskippedSegments* t_Skipped = nullptr;
thread_local SGCmissingRequired* t_Missing = nullptr;
}  // namespace

SGCskippedSegmentsScope::SGCskippedSegmentsScope(SGCskippedSegments& Listener) : m_Previous(t_Skipped) {
  t_Skipped = &Listener;
}

SGCskippedSegmentsScope::~SGCskippedSegmentsScope() { t_Skipped = m_Previous; }

bool SGCskippedSegmentsHeard() { return t_Skipped != nullptr; }

void SGCreportSkippedSegment(const QVMmessageDefinitionInternal& Message, const COLstring& Segment, unsigned Index) {
  if (!t_Skipped) return;
  const QVMengineInternal* Engine = Message.rootEngine();
  if (!Engine || Engine->segmentByName(Segment) == QVMengineConfig::npos) return;
  t_Skipped->skippedSegment(Message.name(), Segment, Index);
}

void SGCreportSkippedSegment(const QVMmessageGrammar& Grammar, const COLstring& Segment, unsigned Index) {
  if (!t_Skipped) return;
  const QVMmessageGrammar* Root = &Grammar;
  while (Root->parent()) Root = Root->parent();
  if (Root->message()) SGCreportSkippedSegment(*Root->message(), Segment, Index);
}

SGCmissingRequiredScope::SGCmissingRequiredScope(SGCmissingRequired& Listener) : m_Previous(t_Missing) {
  t_Missing = &Listener;
}

SGCmissingRequiredScope::~SGCmissingRequiredScope() { t_Missing = m_Previous; }

SGCmissingRequired* SGCmissingRequiredListener() { return t_Missing; }
