// The engine family of the handle interface over the definition model: messages and their
// match order, grammars, tables and configurations.
#include "QVMcompositeGrammar.h"
#include "QVMdateTimeGrammar.h"
#include "QVMenumerationGrammar.h"
#include "QVMhandleSupport.h"
#include "QVMsegmentGrammar.h"

namespace {

using Position = QVMengineInternal::MatchPosition;

// The body with the engine's model; `out` must be given.
template <class Out, class Body>
void* withEngine(void* handle, Out* out, Body body) {
  return QVMhandleGuard([&] {
    QVMengineInternal& engine = QVMhandleEngine(handle);
    QVM_HANDLE_OUT(out);
    body(engine);
  });
}

template <class Body>
void* onEngine(void* handle, Body body) {
  return QVMhandleGuard([&] { body(QVMhandleEngine(handle)); });
}

// A position handed out earlier must still be in the current match order: a stale one
// would otherwise be followed into freed memory.
Position checkedPosition(const QVMengineInternal& engine, void* position) {
  COL_PRECONDITION_TEXT(position != nullptr, "Position != NULL");
  for (Position node = engine.firstMessage(); node; node = QVMmatchOrder::next(node))
    if (node == position) return node;
  throw COLerror("The position is not in the matching order of the current configuration.", COL_ERROR_PRECONDITION);
}

unsigned asIndex(size_t value) { return static_cast<unsigned>(value); }

}  // namespace

extern "C" {

// --- messages

void* _QVMengineCountOfMessage(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfMessage()); });
}

void* _QVMengineMessageName(void* engine, unsigned messageIndex, const char** name) {
  return withEngine(engine, name, [&](QVMengineInternal& e) { *name = e.message(messageIndex)->name().c_str(); });
}

void* _QVMengineMessageByName(void* engine, const char* name, unsigned* messageIndex) {
  return withEngine(engine, messageIndex, [&](QVMengineInternal& e) {
    QVM_HANDLE_OUT(name);
    *messageIndex = e.messageByName(name);
  });
}

void* _QVMengineGetMessage(void* engine, unsigned messageIndex, void** message) {
  return withEngine(engine, message, [&](QVMengineInternal& e) { *message = e.message(messageIndex); });
}

void* _QVMengineAddMessage(void* engine, unsigned* messageIndex) {
  return withEngine(engine, messageIndex,
                    [&](QVMengineInternal& e) { *messageIndex = asIndex(QVMengineAddMessage(e)); });
}

void* _QVMengineRemoveMessage(void* engine, unsigned messageIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.deleteMessage(messageIndex); });
}

void* _QVMengineFirstMessage(void* engine, void** position) {
  return withEngine(engine, position, [&](QVMengineInternal& e) { *position = e.firstMessage(); });
}

void* _QVMengineNextMessage(void* engine, void* position, void** next) {
  return withEngine(engine, next, [&](QVMengineInternal& e) { *next = e.nextMessage(checkedPosition(e, position)); });
}

void* _QVMengineMessageIndexFromMatchIndex(void* engine, void* position, unsigned* messageIndex) {
  return withEngine(engine, messageIndex, [&](QVMengineInternal& e) {
    *messageIndex = e.matchIndexToMessageIndex(checkedPosition(e, position));
  });
}

void* _QVMengineSetMessageIndexFromMatchIndex(void* engine, void* position, unsigned messageIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    Position node = checkedPosition(e, position);
    COL_PRECONDITION(messageIndex < e.countOfMessage());
    e.setMatchIndexToMessageIndex(node, messageIndex);
  });
}

void* _QVMengineSetLastMessageMatchesAll(void* engine, int flag) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.setLastMessageMatchesAll(flag != 0); });
}

void* _QVMengineGetLastMessageMatchesAll(void* engine, int* flag) {
  return withEngine(engine, flag, [&](QVMengineInternal& e) { *flag = e.lastMessageMatchesAll() ? 1 : 0; });
}

void* _QVMengineGetMessageMatchOrder(void* engine, unsigned messageIndex, unsigned* order) {
  return withEngine(engine, order,
                    [&](QVMengineInternal& e) { *order = QVMengineMessageMatchOrder(e, e.message(messageIndex)); });
}

void* _QVMengineMoveMessageInMatchOrder(void* engine, unsigned messageIndex, unsigned order) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    const uint32_t from = QVMengineMessageMatchOrder(e, e.message(messageIndex));
    COL_PRECONDITION(order < e.engineConfig().matchOrder().size());
    Position node = e.firstMessage();
    for (uint32_t i = 0; i < from; ++i) node = e.nextMessage(node);
    e.removeMessageFromMatchOrder(node);
    Position before = e.firstMessage();
    for (uint32_t i = 0; i < order && before; ++i) before = e.nextMessage(before);
    e.insertMessageInMatchOrder(before, messageIndex);
  });
}

void* _QVMengineGetAckMessageIndex(void* engine, unsigned* messageIndex) {
  return withEngine(engine, messageIndex, [&](QVMengineInternal& e) { *messageIndex = e.ackMessageIndexS(); });
}

void* _QVMengineSetAckMessageIndex(void* engine, unsigned messageIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    COL_PRECONDITION(messageIndex == QVM_NO_INDEX || messageIndex < e.countOfMessage());
    e.setAckMessageIndexS(messageIndex);
  });
}

void* _QVMengineGetIgnoreMessageIndex(void* engine, unsigned* messageIndex) {
  return withEngine(engine, messageIndex,
                    [&](QVMengineInternal& e) { *messageIndex = QVMengineIgnoreMessageIndex(e); });
}

void* _QVMengineSetIgnoreMessageIndex(void* engine, unsigned messageIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    COL_PRECONDITION(messageIndex == QVM_NO_INDEX || messageIndex < e.countOfMessage());
    QVMengineSetIgnoreMessageIndex(e, messageIndex);
  });
}

// --- grammars and tables

void* _QVMengineSegmentByName(void* engine, const char* name, unsigned* segmentIndex) {
  return withEngine(engine, segmentIndex, [&](QVMengineInternal& e) {
    QVM_HANDLE_OUT(name);
    *segmentIndex = e.segmentByName(name);
  });
}

void* _QVMengineCountOfSegment(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfSegment()); });
}
void* _QVMengineGetCountOfSegment(void* engine, unsigned* count) { return _QVMengineCountOfSegment(engine, count); }
void* _QVMengineGetSegment(void* engine, unsigned segmentIndex, void** segment) {
  return withEngine(engine, segment, [&](QVMengineInternal& e) { *segment = QVMhandleOf(e.segment(segmentIndex)); });
}
void* _QVMengineAddSegment(void* engine, unsigned* segmentIndex) {
  return withEngine(engine, segmentIndex, [&](QVMengineInternal& e) { *segmentIndex = asIndex(e.addSegment()); });
}
void* _QVMengineRemoveSegment(void* engine, unsigned segmentIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.deleteSegment(segmentIndex); });
}

void* _QVMengineGetCountOfComposite(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfComposite()); });
}
void* _QVMengineGetComposite(void* engine, unsigned compositeIndex, void** composite) {
  return withEngine(engine, composite,
                    [&](QVMengineInternal& e) { *composite = QVMhandleOf(e.composite(compositeIndex)); });
}
void* _QVMengineAddComposite(void* engine, unsigned* compositeIndex) {
  return withEngine(engine, compositeIndex,
                    [&](QVMengineInternal& e) { *compositeIndex = asIndex(e.addComposite()); });
}
void* _QVMengineRemoveComposite(void* engine, unsigned compositeIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.deleteComposite(compositeIndex); });
}

void* _QVMengineGetCountOfDateTimeGrammar(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfDateTimeGrammar()); });
}
void* _QVMengineGetDateTimeGrammar(void* engine, unsigned grammarIndex, void** grammar) {
  return withEngine(engine, grammar,
                    [&](QVMengineInternal& e) { *grammar = QVMhandleOf(e.dateTimeGrammar(grammarIndex)); });
}
void* _QVMengineAddDateTimeGrammar(void* engine, unsigned* grammarIndex) {
  return withEngine(engine, grammarIndex,
                    [&](QVMengineInternal& e) { *grammarIndex = asIndex(e.addDateTimeGrammar()); });
}
void* _QVMengineRemoveDateTimeGrammar(void* engine, unsigned grammarIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.deleteDateTimeGrammar(grammarIndex); });
}

void* _QVMengineGetCountOfEnumerationGrammar(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfEnumerationGrammar()); });
}
void* _QVMengineGetEnumerationGrammar(void* engine, unsigned grammarIndex, void** grammar) {
  return withEngine(engine, grammar,
                    [&](QVMengineInternal& e) { *grammar = QVMhandleOf(e.enumerationGrammar(grammarIndex)); });
}
void* _QVMengineAddEnumerationGrammar(void* engine, unsigned* grammarIndex) {
  return withEngine(engine, grammarIndex,
                    [&](QVMengineInternal& e) { *grammarIndex = asIndex(e.addEnumerationGrammar()); });
}
void* _QVMengineRemoveEnumerationGrammar(void* engine, unsigned grammarIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.deleteEnumerationGrammar(grammarIndex); });
}

void* _QVMengineGetCountOfTable(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfTable()); });
}
void* _QVMengineGetTable(void* engine, unsigned tableIndex, void** table) {
  return withEngine(engine, table, [&](QVMengineInternal& e) { *table = e.table(tableIndex); });
}
void* _QVMengineAddTable(void* engine, unsigned* tableIndex) {
  return withEngine(engine, tableIndex, [&](QVMengineInternal& e) { *tableIndex = asIndex(e.addTable()); });
}
void* _QVMengineRemoveTable(void* engine, unsigned tableIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.deleteTable(tableIndex); });
}

// --- configurations

void* _QVMengineConfig(void* engine, void** config) {
  return withEngine(engine, config, [&](QVMengineInternal& e) { *config = &e.config(); });
}

void* _QVMengineCountOfConfig(void* engine, unsigned* count) {
  return withEngine(engine, count, [&](QVMengineInternal& e) { *count = asIndex(e.countOfConfig()); });
}

void* _QVMengineConfigName(void* engine, unsigned configIndex, const char** name) {
  return withEngine(engine, name, [&](QVMengineInternal& e) { *name = e.configName(configIndex).c_str(); });
}

void* _QVMengineAddConfiguration(void* engine, const char* name, unsigned* configIndex) {
  return withEngine(engine, configIndex, [&](QVMengineInternal& e) {
    QVM_HANDLE_OUT(name);
    *configIndex = asIndex(e.addConfiguration(name));
  });
}

void* _QVMengineDeleteConfig(void* engine, unsigned configIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    COL_PRECONDITION(configIndex < e.countOfConfig());
    // An engine always has a configuration to be on.
    COL_PRECONDITION_TEXT(e.countOfConfig() > 1, "CountOfConfig > 1");
    e.deleteConfig(configIndex);
    if (e.currentConfig() >= e.countOfConfig()) e.setCurrentConfig(asIndex(e.countOfConfig() - 1));
    if (e.incomingConfigIndex() >= e.countOfConfig()) e.setIncomingConfigIndex(0);
    if (e.outgoingConfigIndex() >= e.countOfConfig()) e.setOutgoingConfigIndex(0);
  });
}

void* _QVMengineRenameConfig(void* engine, unsigned configIndex, const char* name) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    QVM_HANDLE_OUT(name);
    e.setConfigName(configIndex, name);
  });
}

void* _QVMengineSetCurrentConfig(void* engine, unsigned configIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) { e.setCurrentConfig(configIndex); });
}

void* _QVMengineGetCurrentConfig(void* engine, unsigned* configIndex) {
  return withEngine(engine, configIndex, [&](QVMengineInternal& e) { *configIndex = e.currentConfig(); });
}

void* _QVMengineSetIncomingConfigIndex(void* engine, unsigned configIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    COL_PRECONDITION(configIndex < e.countOfConfig());
    e.setIncomingConfigIndex(configIndex);
  });
}

void* _QVMengineGetIncomingConfigIndex(void* engine, unsigned* configIndex) {
  return withEngine(engine, configIndex, [&](QVMengineInternal& e) { *configIndex = e.incomingConfigIndex(); });
}

void* _QVMengineSetOutgoingConfigIndex(void* engine, unsigned configIndex) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    COL_PRECONDITION(configIndex < e.countOfConfig());
    e.setOutgoingConfigIndex(configIndex);
  });
}

void* _QVMengineGetOutgoingConfigIndex(void* engine, unsigned* configIndex) {
  return withEngine(engine, configIndex, [&](QVMengineInternal& e) { *configIndex = e.outgoingConfigIndex(); });
}

void* _QVMengineGetVmdDescription(void* engine, const char** text) {
  return withEngine(engine, text, [&](QVMengineInternal& e) { *text = e.vmdDescription().c_str(); });
}

void* _QVMengineSetVmdDescription(void* engine, const char* text) {
  return onEngine(engine, [&](QVMengineInternal& e) {
    QVM_HANDLE_OUT(text);
    e.setVmdDescription(text);
  });
}

}  // extern "C"
