// The only places where segment, composite and date-time grammars reach the engine root:
// its interpreter and the composites of the current configuration.  Kept apart so the
// grammars build and test without an engine.
#pragma once

#include <cstdint>

class LANengine;
class QVMengineInternal;
class QVMcompositeGrammar;

// Null for a null engine.
LANengine* QVMgrammarLanguageEngine(QVMengineInternal* engine);
// 0 for a null engine.
uint32_t QVMgrammarCountOfComposite(QVMengineInternal* engine);
QVMcompositeGrammar* QVMgrammarComposite(QVMengineInternal* engine, uint32_t compositeIndex);
