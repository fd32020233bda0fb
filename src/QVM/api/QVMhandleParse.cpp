// Handle functions of parsing and translation: they run in the engine's parse context, and
// texts they hand out stay valid until the next call on the same engine.
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVJreply.h"
#include "QVMengineMessageDiff.h"
#include "QVMidentifyMessage.h"
#include "QVMhandleSupport.h"
#include "QVMtableInternal.h"
#include "QVMuntypedMessageTree.h"
#include "QVPgenerateMessage.h"

namespace {

// A filled table borrows the engine's grammars, so it keeps the engine alive. A table left
// from before a clear or reload may be filled again: it is emptied first.
template <class Parse>
void* QVMhandleParseInto(void* engine, const char* message, unsigned* messageIndex, void* table, Parse&& parse) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(messageIndex);
    QVMtableInternal& Table = QVMhandleObject<QVMtableInternal>(table, "a table");
    QVMhandleLeaseTable(Engine, Table);
    parse(Engine.parseContext(), COLstring(message), *messageIndex, Table);
  });
}

}  // namespace

extern "C" {

void* _QVMengineParseMessageA(void* engine, const char* message, unsigned* messageIndex, void* table) {
  return QVMhandleParseInto(engine, message, messageIndex, table,
                            [](QVJparseContext& Context, const COLstring& Text, unsigned& Index,
                               QVMtableInternal& Table) { QVJengineInternalParseMessage(Context, Text, Index, Table); });
}

void* _QVMengineParseMessageNoPostProcessA(void* engine, const char* message, unsigned* messageIndex, void* table) {
  return QVMhandleParseInto(engine, message, messageIndex, table, QVJengineInternalParseMessageNoPostProcess);
}

// The raw tree of the legacy tokeniser, each segment with its grammar: a new counted object the
// caller releases (_QVMreferenceRelease). Its grammars are the engine's: it must not outlive it.
void* _QVMengineSimpleParse(void* engine, const char* message, void** tree, unsigned* messageIndex) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(tree);
    QVM_HANDLE_OUT(messageIndex);
    Engine.schema().resetLanguageEngine();
    COLreferencePtr<QVMuntypedMessageTree> Result = new QVMuntypedMessageTree;
    QVMengineInternalSimpleParse(Engine.schema(), Engine.parseContext().qvpParseContext(), message, *Result,
                                 *messageIndex);
    *tree = QVMhandleNew(Result.get());
  });
}

// The comparison as HTML table rows; the text stays valid until the engine's next parse.
void* _QVMengineMessageDiff(void* engine, const char* first, const char* second, const char** html) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(first);
    QVM_HANDLE_OUT(second);
    QVM_HANDLE_OUT(html);
    unsigned Differences = 0;
    QVPparseContext& Context = Engine.parseContext().qvpParseContext();
    Context.setLastFlatWire(QVMengineInternalMessageDiff(Engine.schema(), first, second, Differences));
    *html = Context.lastFlatWire().c_str();
  });
}

void* _QVMenginePostProcessMessageA(void* engine, const char* message) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVJenginePostProcessMessage(Engine.parseContext(), message);
  });
}

void* _QVMengineTranslateMessageToXml(void* engine, const char* message, const char** xml) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(xml);
    QVM_HANDLE_OUT(message);
    *xml = QVJhl7ToXmlLegacyTableFormat(Engine.parseContext(), message);
  });
}

void* _QVMengineTranslateMessageToHl7StandardXml(void* engine, const char* message, const char** xml) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(xml);
    QVM_HANDLE_OUT(message);
    *xml = QVJhl7ToXml(Engine.parseContext(), message);
  });
}

// The table must follow the table grammar of message `messageIndex` of this engine.
void* _QVMengineGenerateMessage(void* engine, void* table, unsigned messageIndex, const char** message) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVMtableInternal& Table = QVMhandleTable(table);
    COL_PRECONDITION_TEXT(messageIndex < Engine.schema().countOfMessage(), "MessageIndex < CountOfMessage");
    *message = QVPgenerateMessage(Engine.parseContext().qvpParseContext(), messageIndex, Table);
  });
}

void* _QVMengineTranslateXmlToMessage(void* engine, const char* xml, const char** message) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(xml);
    *message = QVJxmlToHl7LegacyTableFormat(Engine.parseContext(), xml);
  });
}

void* _QVMengineTranslateHl7StandardXmlToMessage(void* engine, const char* xml, const char** message) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(xml);
    *message = QVJxmlToHl7(Engine.parseContext(), xml);
  });
}

void* _QVMengineTranslateHl7StandardXmlToMessageValidate(void* engine, const char* xml, int validate,
                                                         const char** message) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(xml);
    *message = QVJxmlToHl7validate(Engine.parseContext(), xml, validate != 0);
  });
}

// The acknowledgement of a message; the text stays valid until the engine's next parse.
void* _QVMengineGenerateAckFromMessage(void* engine, const char* message, const char** ack) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(ack);
    *ack = QVJautoAck(Engine.parseContext(), message);
  });
}

// `flag` is kept for the callers that pass one; it changes nothing.
void* _QVMengineTransformMessage(void* engine, const char* message, unsigned inConfig, unsigned outConfig,
                                 const char** result, unsigned* messageIndex, int /*flag*/) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(result);
    QVM_HANDLE_OUT(messageIndex);
    *result = QVJtransformMessage(Engine.parseContext(), message, inConfig, outConfig, *messageIndex);
  });
}

// As above, with every script module loaded again first, so that a changed module takes effect.
void* _QVMengineTransformMessageReloadAllPythonModules(void* engine, const char* message, unsigned inConfig,
                                                       unsigned outConfig, const char** result,
                                                       unsigned* messageIndex, int flag) {
  void* error = QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    Engine.schema().resetLanguageEngine();
  });
  if (error) return error;
  return _QVMengineTransformMessage(engine, message, inConfig, outConfig, result, messageIndex, flag);
}

}  // extern "C"
