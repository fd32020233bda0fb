// The grammars' calls into the engine root.  Until the engine root is part of the build
// an engine pointer can only be null here, and the answers are those for no engine.
#include "QVMgrammarEngineLink.h"

#if __has_include("QVMengineInternal.h")
#include "QVMengineInternal.h"

LANengine* QVMgrammarLanguageEngine(QVMengineInternal* engine) {
  return engine ? &engine->LanguageEngine() : nullptr;
}

uint32_t QVMgrammarCountOfComposite(QVMengineInternal* engine) {
  return engine ? static_cast<uint32_t>(engine->countOfComposite()) : 0;
}

QVMcompositeGrammar* QVMgrammarComposite(QVMengineInternal* engine, uint32_t compositeIndex) {
  return engine->composite(compositeIndex);
}
#else
LANengine* QVMgrammarLanguageEngine(QVMengineInternal*) { return nullptr; }
uint32_t QVMgrammarCountOfComposite(QVMengineInternal*) { return 0; }
QVMcompositeGrammar* QVMgrammarComposite(QVMengineInternal*, uint32_t) { return nullptr; }
#endif
