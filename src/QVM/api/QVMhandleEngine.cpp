// The engine family of the handle interface: life cycle, definition files, versions, flags,
// the log, scripts and databases.
#include <mutex>

#include "COLostream.h"
#include "COLsink.h"
#include "FMTprintable.h"
#include "QVMcompositeGrammar.h"
#include "QVJparseContext.h"
#include "QVMhandleSupport.h"
#include "QVMsegmentGrammar.h"
#include "QVMversion.h"

namespace {

// A host's log function for every engine without one of its own.
std::mutex g_LogMutex;
QVMlogFunction g_LogFunction = nullptr;
void* g_LogContext = nullptr;

// The engine's log sink: the engine's own function, else the global one, else nothing.
class QVMhandleLogSink : public COLsink {
public:
  explicit QVMhandleLogSink(const QVMengineHandle& owner) : m_Owner(owner) {}
  size_t write(const void* data, size_t size) override {
    QVMlogFunction function = m_Owner.logFunction();
    void* context = m_Owner.logContext();
    if (!function) {
      std::lock_guard<std::mutex> lock(g_LogMutex);
      function = g_LogFunction;
      context = g_LogContext;
    }
    if (function && size) function(context, static_cast<const char*>(data), size);
    return size;
  }

private:
  const QVMengineHandle& m_Owner;
};

void dumpEngine(QVMengineInternal& engine, COLostream& out) {
  out << "Engine: " << engine.vmdDescription() << "\r\n";
  for (size_t c = 0; c < engine.countOfConfig(); ++c)
    out << "Configuration[" << unsigned(c + 1) << "] " << engine.configName(c)
        << (c == engine.currentConfig() ? " (current)" : "") << "\r\n";
  for (size_t s = 0; s < engine.countOfSegment(); ++s) QVMsegmentGrammarPrintOn(*engine.segment(s), out, "  ");
  for (size_t c = 0; c < engine.countOfComposite(); ++c) QVMcompositeGrammarPrintOn(*engine.composite(c), out, "  ");
  for (size_t t = 0; t < engine.countOfTable(); ++t) out << "Table: " << engine.table(t)->tableName() << "\r\n";
  for (size_t m = 0; m < engine.countOfMessage(); ++m) {
    out << "Message: " << engine.message(m)->name() << "\r\n";
    QVMtableGrammarInternalPrintOn(engine.message(m)->tableGrammar(), out, 2);
  }
}

template <class Setter>
void* setFlag(void* handle, Setter setter) {
  return QVMhandleGuard([&] { setter(QVMhandleEngine(handle)); });
}

template <class Getter>
void* getFlag(void* handle, int* flag, Getter getter) {
  return QVMhandleGuard([&] {
    QVMengineInternal& engine = QVMhandleEngine(handle);
    QVM_HANDLE_OUT(flag);
    *flag = getter(engine) ? 1 : 0;
  });
}

const char* keepText(COLstring& slot, const COLstring& text) { return QVMhandleKeep(slot, text); }

}  // namespace

QVMengineHandle::QVMengineHandle() : m_Schema(new QVMengineInternal) {
  m_Schema->setLogSink(new QVMhandleLogSink(*this), true);
}

QVMengineHandle::~QVMengineHandle() {
  // The interpreter may outlive this object if a script holds it; it must not call back here.
  m_Schema->setLogSink(nullptr, false);
}

QVJparseContext& QVMengineHandle::parseContext() {
  if (!m_ParseContext) m_ParseContext = std::make_unique<QVJparseContext>(m_Schema.get());
  return *m_ParseContext;
}

QVMengineLease& QVMengineHandle::lease() {
  if (!m_Lease) m_Lease = new QVMengineLease(*this);
  return *m_Lease;
}

void QVMengineHandle::endLease() {
  if (!m_Lease) return;
  m_Lease->end();
  m_Lease = nullptr;
}

// The last table of a definition is gone; an ended lease was already forgotten.
QVMengineLease::~QVMengineLease() {
  if (m_Engine->m_Lease == this) m_Engine->m_Lease = nullptr;
}

void QVMengineHandle::setLogFunction(QVMlogFunction function, void* context) {
  m_LogFunction = function;
  m_LogContext = context;
}

extern "C" {

void* _QVMengineCreate(void** engine) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(engine);
    *engine = QVMhandleNew(new QVMengineHandle);
  });
}

void* _QVMengineAddRef(void* engine) { return QVMhandleAddRef<QVMengineHandle>(engine, "an engine"); }
void* _QVMengineRelease(void* engine) { return QVMhandleRelease<QVMengineHandle>(engine, "an engine"); }

void* _QVMengineLoad(void* engine, const char* path) {
  unsigned type = 0;
  return _QVMengineLoad2(engine, path, &type);
}

void* _QVMengineLoad2(void* engine, const char* path, unsigned* type) {
  return QVMhandleGuard([&] {
    QVMengineInternal& schema = QVMhandleEngine(engine);
    QVM_HANDLE_OUT(path);
    QVM_HANDLE_OUT(type);
    // A load replaces the definition even when it fails: it is left empty then.
    QVMhandleEngineObject(engine).endLease();
    *type = QVMhandleLoadEngine(schema, path);
    // Schema name spaces of the site apply to whatever was loaded.
    QVMengineReadCustomConfig(schema);
  });
}

void* _QVMengineLoadFromMemory(void* engine, const void* data, size_t size, unsigned* type) {
  return QVMhandleGuard([&] {
    QVMengineInternal& schema = QVMhandleEngine(engine);
    if (size != 0) QVM_HANDLE_OUT(data);
    QVM_HANDLE_OUT(type);
    QVMhandleEngineObject(engine).endLease();
    *type = QVMhandleLoadEngineFromMemory(schema, data, size);
    QVMengineReadCustomConfig(schema);
  });
}

void* _QVMengineSave(void* engine, const char* path, unsigned type) {
  return QVMhandleGuard([&] {
    QVMengineInternal& schema = QVMhandleEngine(engine);
    QVM_HANDLE_OUT(path);
    QVMhandleSaveEngine(schema, path, type);
  });
}

void* _QVMengineClear(void* engine) {
  return QVMhandleGuard([&] {
    QVMengineHandle& owner = QVMhandleEngineObject(engine);
    owner.endLease();
    owner.schema().clear();
  });
}

void* _QVMengineDump(void* engine, char** buffer) {
  return QVMhandleGuard([&] {
    QVMengineInternal& schema = QVMhandleEngine(engine);
    QVM_HANDLE_OUT(buffer);
    COLstring text;
    {
      COLostream out(text);
      dumpEngine(schema, out);
    }
    *buffer = QVMdumpCopy(text);
  });
}

void* _QVMengineFreeBuffer(char** buffer) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(buffer);
    delete[] *buffer;
    *buffer = nullptr;
  });
}

void* _QVMengineGetMajorVersion(unsigned* version) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(version);
    *version = QVM_MAJOR_VERSION;
  });
}

void* _QVMengineGetMinorVersion(unsigned* version) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(version);
    *version = QVM_MINOR_VERSION;
  });
}

void* _QVMengineGetBuildNumber(unsigned* build) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(build);
    *build = QVM_BUILD_NUMBER;
  });
}

void* _QVMengineGetVersionString(const char** text) {
  static COLstring result;
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(text);
    *text = keepText(result, QVMversionString());
  });
}

void* _QVMengineGetSourceDateTime(const char** text) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(text);
    *text = QVM_SOURCE_DATE_TIME;
  });
}

void* _QVMengineGetSourceTag(const char** text) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(text);
    *text = QVM_SOURCE_TAG;
  });
}

void* _QVMengineGetBuildId(const char** text) {
  static COLstring result;
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(text);
    COLstring id;
    COLostream(id) << QVM_MAJOR_VERSION << "." << QVM_MINOR_VERSION << "." << QVM_BUILD_NUMBER;
    *text = keepText(result, id);
  });
}

// --- flags

void* _QVMengineSetRejectBadSegmentGrammarFlag(void* engine, int flag) {
  return setFlag(engine, [&](QVMengineInternal& e) { e.setRejectBadSegmentGrammar(flag != 0); });
}
void* _QVMengineGetRejectBadSegmentGrammarFlag(void* engine, int* flag) {
  return getFlag(engine, flag, [](QVMengineInternal& e) { return e.rejectBadSegmentGrammar(); });
}
void* _QVMengineSetIsUsingPassthruMapping(void* engine, int flag) {
  return setFlag(engine, [&](QVMengineInternal& e) { e.setUsePassThroughMapping(flag != 0); });
}
void* _QVMengineIsUsingPassthruMapping(void* engine, int* flag) {
  return getFlag(engine, flag, [](QVMengineInternal& e) { return e.usePassThroughMapping(); });
}
void* _QVMengineSetUseMachineDoubleTypeInJavaGeneration(void* engine, int flag) {
  return setFlag(engine, [&](QVMengineInternal& e) { e.setUseMachineDoubleTypeInJavaGeneration(flag != 0); });
}
void* _QVMengineGetUseMachineDoubleTypeInJavaGeneration(void* engine, int* flag) {
  return getFlag(engine, flag, [](QVMengineInternal& e) { return e.useMachineDoubleTypeInJavaGeneration(); });
}
void* _QVMengineSetUseDotNetProperties(void* engine, int flag) {
  return setFlag(engine, [&](QVMengineInternal& e) { e.setUseDotNetProperties(flag != 0); });
}
void* _QVMengineGetUseDotNetProperties(void* engine, int* flag) {
  return getFlag(engine, flag, [](QVMengineInternal& e) { return e.useDotNetProperties(); });
}

// --- log, scripts, databases

void* _QVMengineSetLogCallBack(QVMlogFunction function, void* context) {
  return QVMhandleGuard([&] {
    std::lock_guard<std::mutex> lock(g_LogMutex);
    g_LogFunction = function;
    g_LogContext = context;
  });
}

void* _QVMengineSetLogCallBackPerEngine(void* engine, QVMlogFunction function, void* context) {
  return QVMhandleGuard([&] {
    QVMhandleObject<QVMengineHandle>(engine, "an engine").setLogFunction(function, context);
  });
}

void* _QVMengineExtendPythonLibraryPath(void* engine, const char* directory) {
  return QVMhandleGuard([&] {
    LANengine& language = QVMhandleEngine(engine).LanguageEngine();
    QVM_HANDLE_OUT(directory);
    COLstring path = language.searchPath();
    if (!path.empty()) path += ":";
    language.setSearchPath(path + directory);
  });
}

void* _QVMengineSetPythonKeyValuePair(void* engine, const char* key, const char* value) {
  return QVMhandleGuard([&] {
    LANengine& language = QVMhandleEngine(engine).LanguageEngine();
    QVM_HANDLE_OUT(key);
    QVM_HANDLE_OUT(value);
    language.setPythonVariable(key, value);
  });
}

void* _QVMengineResetPythonEngine(void* engine) {
  return QVMhandleGuard([&] { QVMhandleEngine(engine).resetLanguageEngine(); });
}

void* _QVMengineSetPythonCallbackForNimbat(void* engine, QVMnimbatFunction function, void* context) {
  return QVMhandleGuard([&] { LANsetNimbatCallback(QVMhandleEngine(engine).LanguageEngine(), function, context); });
}

void* _QVMengineSetDefaultDatabase(void* engine, const char* apiName, const char* databaseName,
                                   const char* userName, const char* password) {
  return QVMhandleGuard([&] {
    QVMconfig& config = QVMhandleEngine(engine).config();
    if (config.countOfDatabaseConnections() == 0) config.addDatabaseConnection();
    QVMdbInfo& connection = *config.databaseConnection(0);
    connection.setAll(connection.label(), COLstring(apiName), COLstring(databaseName), COLstring(userName),
                      COLstring(password));
  });
}

// --- texts for people

void* _QVMengineMakePrintable(const char* message, const char* lineFeed, const char** text) {
  static COLstring result;
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(lineFeed);
    QVM_HANDLE_OUT(text);
    *text = keepText(result, FMTmakeMessagePrintable(message, lineFeed));
  });
}

void* _QVMengineMakeParseable(const char* message, const char* lineFeed, const char** text) {
  static COLstring result;
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(message);
    QVM_HANDLE_OUT(lineFeed);
    QVM_HANDLE_OUT(text);
    const std::string_view source(message), feed(lineFeed);
    std::string parseable;
    parseable.reserve(source.size());
    for (size_t at = 0; at < source.size();) {
      if (!feed.empty() && source.compare(at, feed.size(), feed) == 0) {
        parseable += '\r';
        at += feed.size();
      } else {
        parseable += source[at++];
      }
    }
    *text = keepText(result, COLstring(std::move(parseable)));
  });
}

}  // extern "C"
