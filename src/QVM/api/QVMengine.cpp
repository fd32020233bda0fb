// The class interface of an engine over the handle functions.
#include "QVMengine.h"

#include <fstream>
#include <vector>

#include "COLstring.h"
#include "QVMerror.h"
#include "QVJparse.h"
#include "QVMhandle.h"
#include "QVMhandleSupport.h"
#include "QVMtable.h"

class QVMenginePrivate {
public:
  void* Handle = nullptr;
  QVMoutputLog* pLog = nullptr;
  QVMtransport* pTransport = nullptr;
  QVMwrapper* pWrapper = nullptr;

  // Forwards the engine's log text to the host's log.
  static void OutputLog(void* context, const char* text, size_t length) {
    auto* member = static_cast<QVMenginePrivate*>(context);
    if (member->pLog) member->pLog->OutputText(text, length);
  }
};

namespace {
template <class T>
T fetch(void* (*function)(void*, T*), void* handle, const char* call, int line) {
  T value{};
  if (void* error = function(handle, &value)) QVMactivateCondition(call, line, __FILE__, error);
  return value;
}
#define QVM_FETCH(function) fetch(function, pMember->Handle, #function "(pMember->Handle, &Value)", __LINE__)
}  // namespace

QVMengine::QVMengine() : pMember(new QVMenginePrivate) {
  void* error = _QVMengineCreate(&pMember->Handle);
  if (error) {
    delete pMember;
    QVMactivateCondition("_QVMengineCreate(&pMember->Handle)", __LINE__, __FILE__, error);
  }
}

QVMengine::~QVMengine() {
  delete pMember->pWrapper;
  delete pMember->pTransport;
  if (pMember->pLog) _QVMengineSetLogCallBackPerEngine(pMember->Handle, nullptr, nullptr);
  delete pMember->pLog;
  _QVMengineRelease(pMember->Handle);
  delete pMember;
}

void QVMengine::InitiateMessage(const char* message) {
  QVM_CONDITION(Wrapper() != NULL);
  Wrapper()->SendResponseMessage(message, 0);
}

void QVMengine::Load(const COLstring& path) { QVM_CHECK_CALL(_QVMengineLoad(pMember->Handle, path.c_str())); }

void QVMengine::Load(const char* path) { Load(COLstring(path)); }

void QVMengine::LoadFromMemory(const void* data, size_t size) {
  unsigned kind = 0;
  QVM_CHECK_CALL(_QVMengineLoadFromMemory(pMember->Handle, data, size, &kind));
}

void QVMengine::ParseMessage(const char*, unsigned) {
  throw QVMerror("The ParseMessage method should be overridden.", __LINE__, __FILE__, 0);
}

void QVMengine::ParseMessageDynamically(const char* message, QVMtable& table, unsigned& messageIndex) {
  QVM_CHECK_CALL(_QVMengineParseMessageA(pMember->Handle, message, &messageIndex, table.TableHandle()));
}

void QVMengine::ReplyToMessage(const char* message, unsigned connectionId) {
  QVM_CONDITION(Wrapper() != NULL);
  Wrapper()->SendResponseMessage(message, connectionId);
}

void* QVMengine::EngineHandle() const { return pMember->Handle; }

void QVMengine::SetLog(QVMoutputLog* log) {
  if (log != pMember->pLog) delete pMember->pLog;
  pMember->pLog = log;
  QVM_CHECK_CALL(_QVMengineSetLogCallBackPerEngine(pMember->Handle, log ? &QVMenginePrivate::OutputLog : nullptr,
                                                   log ? pMember : nullptr));
}

QVMoutputLog* QVMengine::Log() const { return pMember->pLog; }

void QVMengine::OutputLine(const char* text) {
  if (!pMember->pLog) return;
  const QVMstring line = QVMstring::Join(text, "\n");
  pMember->pLog->OutputText(line.get_buffer(), line.size());
}

void QVMengine::NewLine() {
  if (pMember->pLog) pMember->pLog->OutputText("\n", 1);
}

void QVMengine::SetTransport(QVMtransport* transport) {
  if (transport != pMember->pTransport) delete pMember->pTransport;
  pMember->pTransport = transport;
}

QVMtransport* QVMengine::Transport() const { return pMember->pTransport; }

void QVMengine::SetWrapper(QVMwrapper* wrapper) {
  if (wrapper != pMember->pWrapper) delete pMember->pWrapper;
  pMember->pWrapper = wrapper;
  if (wrapper) wrapper->SetEngine(this);
}

QVMwrapper* QVMengine::Wrapper() const { return pMember->pWrapper; }

unsigned QVMengine::CountOfMessage() const { return QVM_FETCH(_QVMengineCountOfMessage); }
unsigned QVMengine::CountOfTable() const { return QVM_FETCH(_QVMengineGetCountOfTable); }
unsigned QVMengine::AckMessageIndex() const { return QVM_FETCH(_QVMengineGetAckMessageIndex); }
unsigned QVMengine::IgnoreMessageIndex() const { return QVM_FETCH(_QVMengineGetIgnoreMessageIndex); }
unsigned QVMengine::CurrentConfigurationIndex() const { return QVM_FETCH(_QVMengineGetCurrentConfig); }
unsigned QVMengine::CountOfConfiguration() const { return QVM_FETCH(_QVMengineCountOfConfig); }
unsigned QVMengine::InConfigurationIndex() const { return QVM_FETCH(_QVMengineGetIncomingConfigIndex); }
unsigned QVMengine::OutConfigurationIndex() const { return QVM_FETCH(_QVMengineGetOutgoingConfigIndex); }
bool QVMengine::IsUsingPassthruMapping() const { return QVM_FETCH(_QVMengineIsUsingPassthruMapping) != 0; }

const char* QVMengine::MessageName(unsigned messageIndex) const {
  const char* name = nullptr;
  QVM_CHECK_CALL(_QVMengineMessageName(pMember->Handle, messageIndex, &name));
  return name;
}

void* QVMengine::TableHandle(unsigned tableIndex) const {
  void* table = nullptr;
  QVM_CHECK_CALL(_QVMengineGetTable(pMember->Handle, tableIndex, &table));
  return table;
}

void* QVMengine::MessageHandle(unsigned messageIndex) const {
  void* message = nullptr;
  QVM_CHECK_CALL(_QVMengineGetMessage(pMember->Handle, messageIndex, &message));
  return message;
}

const char* QVMengine::ConfigurationName(unsigned configIndex) const {
  const char* name = nullptr;
  QVM_CHECK_CALL(_QVMengineConfigName(pMember->Handle, configIndex, &name));
  return name;
}

void QVMengine::SetCurrentConfigurationIndex(unsigned configIndex) {
  QVM_CHECK_CALL(_QVMengineSetCurrentConfig(pMember->Handle, configIndex));
}

void QVMengine::SetRejectBadSegmentGrammarFlag(bool flag) {
  QVM_CHECK_CALL(_QVMengineSetRejectBadSegmentGrammarFlag(pMember->Handle, flag ? 1 : 0));
}

const char* QVMengine::translateMessageToXml(const char* message, size_t* length) {
  const char* xml = nullptr;
  QVM_CHECK_CALL(_QVMengineTranslateMessageToHl7StandardXml(pMember->Handle, message, &xml));
  if (length) *length = COLstring(xml).size();
  return xml;
}

const char* QVMengine::translateMessageToXml(const COLstring& message) {
  return translateMessageToXml(message.c_str());
}

const char* QVMengine::translateXmlToMessage(const char* xml, size_t* length) {
  const char* message = nullptr;
  QVM_CHECK_CALL(_QVMengineTranslateHl7StandardXmlToMessage(pMember->Handle, xml, &message));
  if (length) *length = COLstring(message).size();
  return message;
}

// The whole text, NUL bytes included: UTF-16 XML holds them, and c_str() would cut it short.
const char* QVMengine::translateXmlToMessage(const COLstring& xml) {
  const char* message = nullptr;
  QVM_CHECK_CALL(QVMhandleGuard([&] {
    QVMengineHandle& engine = QVMhandleEngineObject(pMember->Handle);
    message = QVJxmlToHl7(engine.parseContext(), xml);
  }));
  return message;
}

void QVMengine::generateXsd(const char* outputFile) {
  const char* schema = nullptr;
  QVM_CHECK_CALL(_QVMengineGetTibcoSchema(pMember->Handle, &schema));
  std::ofstream file(outputFile, std::ios::binary | std::ios::trunc);
  file << schema;
  file.close();
  if (!file) throw QVMerror((COLstring("Could not write the schema to ") + outputFile).c_str(), __LINE__, __FILE__, 0);
}

void QVMengine::generateXsd(const COLstring& outputFile) { generateXsd(outputFile.c_str()); }

const char* QVMengine::transformMessage(const char* message, unsigned inConfig, unsigned outConfig,
                                        unsigned& messageIndex) {
  const char* result = nullptr;
  QVM_CHECK_CALL(
      _QVMengineTransformMessage(pMember->Handle, message, inConfig, outConfig, &result, &messageIndex, 0));
  return result;
}

const char* QVMengine::generateAck(const char* message) {
  const char* ack = nullptr;
  QVM_CHECK_CALL(_QVMengineGenerateAckFromMessage(pMember->Handle, message, &ack));
  return ack;
}

void QVMengine::setPythonKeyValuePair(const char* key, const char* value) {
  QVM_CHECK_CALL(_QVMengineSetPythonKeyValuePair(pMember->Handle, key, value));
}

void QVMengine::extendPythonLibraryPath(const char* directory) {
  QVM_CHECK_CALL(_QVMengineExtendPythonLibraryPath(pMember->Handle, directory));
}

void QVMengine::setDefaultDatabase(const char* apiName, const char* databaseName, const char* userName,
                                   const char* password) {
  QVM_CHECK_CALL(_QVMengineSetDefaultDatabase(pMember->Handle, apiName, databaseName, userName, password));
}

unsigned QVMengine::majorVersion() const {
  unsigned version = 0;
  QVM_CHECK_CALL(_QVMengineGetMajorVersion(&version));
  return version;
}

unsigned QVMengine::minorVersion() const {
  unsigned version = 0;
  QVM_CHECK_CALL(_QVMengineGetMinorVersion(&version));
  return version;
}

unsigned QVMengine::buildNumber() const {
  unsigned build = 0;
  QVM_CHECK_CALL(_QVMengineGetBuildNumber(&build));
  return build;
}

const char* QVMengine::versionString() const {
  const char* text = nullptr;
  QVM_CHECK_CALL(_QVMengineGetVersionString(&text));
  return text;
}

// --- QVMwrapper

class QVMwrapperPrivate {
public:
  QVMengine* pEngine = nullptr;
  std::vector<QVMstring> Data;  // held bytes by connection id
};

QVMwrapper::QVMwrapper() : pMember(new QVMwrapperPrivate) {}
QVMwrapper::~QVMwrapper() { delete pMember; }

void QVMwrapper::OnMessage(const char* message, unsigned connectionId) {
  QVM_CONDITION(pMember != NULL);
  QVM_CONDITION(pMember->pEngine != NULL);
  Engine()->ParseMessage(message, connectionId);
}

unsigned QVMwrapper::ReceiveData(const char* data, unsigned connectionId) {
  if (pMember->Data.size() <= connectionId) pMember->Data.resize(size_t{connectionId} + 1);
  pMember->Data[connectionId].append(data);
  unsigned found = 0;
  QVMstring message;
  while (ExtractMessage(pMember->Data[connectionId], message)) {
    ++found;
    OnMessage(message.get_buffer(), connectionId);
  }
  return found;
}

void QVMwrapper::SendResponseMessage(const char* message, unsigned connectionId) {
  QVMtransport* transport = Transport();
  if (!transport) return;
  const QVMstring framed = FrameMessage(message);
  transport->SendData(framed.get_buffer(), framed.size(), connectionId);
}

void QVMwrapper::SetEngine(QVMengine* engine) { pMember->pEngine = engine; }
QVMengine* QVMwrapper::Engine() const { return pMember->pEngine; }
QVMtransport* QVMwrapper::Transport() const { return pMember->pEngine ? pMember->pEngine->Transport() : nullptr; }

void QVMwrapper::ClearData(unsigned connectionId) {
  if (connectionId < pMember->Data.size()) pMember->Data[connectionId].clear();
}
