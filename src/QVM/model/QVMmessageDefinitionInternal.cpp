// Message definitions and their per-configuration records.
#include "QVMmessageDefinitionInternal.h"

#include <string_view>

#include "COLerror.h"
#include "QVMengineInternal.h"

// --- QVMpythonHookInfo

const QVMpythonHookInfo& QVMpythonHookInfo::defaultSegmentListHook() {
  static const QVMpythonHookInfo hook = [] {
    QVMpythonHookInfo info;
    info.parameterNames().push_back("segment_list");
    return info;
  }();
  return hook;
}

// --- QVMmessageConfig

QVMmessageConfig::QVMmessageConfig()
    : m_SegmentListFunctionHook(QVMpythonHookInfo::defaultSegmentListHook()),
      m_RootMessageGrammar(std::make_unique<QVMmessageGrammar>()) {}

QVMmessageConfig::~QVMmessageConfig() = default;

QVMmessageConfig::QVMmessageConfig(const QVMmessageConfig& other)
    : m_IgnoreUnknownSegments(other.m_IgnoreUnknownSegments),
      m_IgnoreSegmentOrder(other.m_IgnoreSegmentOrder),
      m_SegmentListFunctionHook(other.m_SegmentListFunctionHook),
      m_InFunction(other.m_InFunction),
      m_OutFunction(other.m_OutFunction),
      m_RootMessageGrammar(std::make_unique<QVMmessageGrammar>(*other.m_RootMessageGrammar)) {
  m_Identifiers.reserve(other.m_Identifiers.size());
  for (const auto& identifier : other.m_Identifiers)
    m_Identifiers.push_back(std::make_unique<QVMidentifier>(*identifier));
}

QVMmessageConfig& QVMmessageConfig::operator=(const QVMmessageConfig& other) {
  if (this != &other) {
    const QVMmessageDefinitionInternal* Message = m_Message;
    *this = QVMmessageConfig(other);
    setMessage(Message);
  }
  identifiersEdited();
  return *this;
}

void QVMmessageConfig::setMessage(const QVMmessageDefinitionInternal* message) {
  m_Message = message;
  for (const auto& identifier : m_Identifiers) identifier->setMessage(message);
}

void QVMmessageConfig::identifiersEdited() const {
  if (m_Message) QVMdefinitionEdited(m_Message->rootEngine());
}

QVMidentifier* QVMmessageConfig::identifier(size_t index) const {
  COL_PRECONDITION(index < m_Identifiers.size());
  return m_Identifiers[index].get();
}

QVMidentifier* QVMmessageConfig::insertIdentifierAt(size_t index) {
  COL_PRECONDITION(index <= m_Identifiers.size());
  auto it = m_Identifiers.insert(m_Identifiers.begin() + index, std::make_unique<QVMidentifier>());
  (*it)->setMessage(m_Message);
  identifiersEdited();
  return it->get();
}

void QVMmessageConfig::removeIdentifier(size_t index) {
  COL_PRECONDITION(index < m_Identifiers.size());
  m_Identifiers.erase(m_Identifiers.begin() + index);
  identifiersEdited();
}

// --- QVMnameSanitizer

void QVMnameSanitizer::sanitizedName(COLstring& name) const {
  std::string& text = name.str();
  for (char& c : text)
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
  size_t first = text.find_first_not_of(' ');
  size_t last = text.find_last_not_of(' ');
  text = first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
  std::string result;
  result.reserve(text.size());
  for (char c : text) {
    if (c == ' ') c = '_';
    bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                c == m_Kept;
    if (keep) result.push_back(c);
  }
  text = std::move(result);
}

void QVMnameSanitizer::sanitizedXmlName(const COLstring& name, COLstring& out) const {
  static constexpr std::string_view Removed(" /-()&[]',\"`.#\x92*+", 17);
  std::string result;
  result.reserve(name.size());
  for (char c : name.str()) {
    if (Removed.find(c) != std::string_view::npos || c == m_Kept) continue;
    if (c == ':' || c == ';') c = '_';
    if (static_cast<unsigned char>(c) >= 128) continue;
    result.push_back(c);
  }
  out = COLstring(std::move(result));
}

// --- QVMmessageDefinitionInternal

QVMmessageDefinitionInternal::QVMmessageDefinitionInternal() = default;
QVMmessageDefinitionInternal::~QVMmessageDefinitionInternal() = default;

QVMmessageDefinitionInternal::QVMmessageDefinitionInternal(const QVMmessageDefinitionInternal& other)
    : m_Name(other.m_Name),
      m_Description(other.m_Description),
      m_TableGrammar(other.m_TableGrammar),
      m_Configs(other.m_Configs),
      m_RootEngine(other.m_RootEngine),
      m_MessageIndex(other.m_MessageIndex) {
  m_TableGrammar.initializePointers(nullptr);
  m_TableGrammar.setMessage(this);
  for (QVMmessageConfig& record : m_Configs) record.setMessage(this);
}

QVMmessageDefinitionInternal& QVMmessageDefinitionInternal::operator=(const QVMmessageDefinitionInternal& other) {
  if (this == &other) return *this;
  m_Description = other.m_Description;
  m_TableGrammar = other.m_TableGrammar;
  m_Configs = other.m_Configs;
  m_RootEngine = other.m_RootEngine;
  m_MessageIndex = other.m_MessageIndex;
  m_TableGrammar.initializePointers(nullptr);
  m_TableGrammar.setMessage(this);
  for (QVMmessageConfig& record : m_Configs) record.setMessage(this);
  setName(other.name());
  return *this;
}

void QVMmessageDefinitionInternal::setupConfig(size_t index) {
  QVMmessageConfig& record = m_Configs[index];
  LANengine* engine = m_RootEngine ? &m_RootEngine->LanguageEngine() : nullptr;
  record.inFunction().setEngine(engine);
  record.outFunction().setEngine(engine);
  record.rootMessageGrammar()->initializeAsRoot(this);
  record.setMessage(this);
}

void QVMmessageDefinitionInternal::init(QVMengineInternal* engine, uint32_t index) {
  m_RootEngine = engine;
  COL_PRECONDITION(rootEngine() != NULL);
  m_TableGrammar.initConfig(this);
  LANengine* pEngine = &engine->LanguageEngine();
  COL_PRECONDITION(pEngine != NULL);
  m_MessageIndex = index;
  m_Configs.resize(engine->countOfConfig());
  m_TableGrammar.initializePointers(nullptr);
  m_TableGrammar.setMessage(this);
  for (size_t c = 0; c < m_Configs.size(); ++c) {
    setupConfig(c);
    m_TableGrammar.config(c).setMessageGrammar(m_Configs[c].rootMessageGrammar());
  }
}

void QVMmessageDefinitionInternal::addConfig() {
  m_Configs.emplace_back();
  setupConfig(m_Configs.size() - 1);
  m_TableGrammar.addConfig();
  m_TableGrammar.config(m_TableGrammar.countOfConfig() - 1).setMessageGrammar(m_Configs.back().rootMessageGrammar());
}

void QVMmessageDefinitionInternal::removeConfig(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  m_Configs.erase(m_Configs.begin() + index);
  m_TableGrammar.removeConfig(index);
}

QVMmessageConfig& QVMmessageDefinitionInternal::config(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  return m_Configs[index];
}

const QVMmessageConfig& QVMmessageDefinitionInternal::config(size_t index) const {
  COL_PRECONDITION(index < m_Configs.size());
  return m_Configs[index];
}

QVMmessageConfig& QVMmessageDefinitionInternal::currentConfig() {
  COL_PRECONDITION(rootEngine() != NULL);
  return config(m_RootEngine->currentConfig());
}

const QVMmessageConfig& QVMmessageDefinitionInternal::currentConfig() const {
  COL_PRECONDITION(rootEngine() != NULL);
  return config(m_RootEngine->currentConfig());
}

const COLstring& QVMmessageDefinitionInternal::name() const { return m_TableGrammar.ownName(); }

void QVMmessageDefinitionInternal::setName(const COLstring& name) {
  COLstring clean = name;
  QVMnameSanitizer('.').sanitizedName(clean);
  if (clean.empty()) clean = "Message";
  m_Name = clean;
  m_TableGrammar.setName(clean);
}

void QVMmessageDefinitionInternal::clearTableGrammar() {
  COLstring saved = name();
  // The records keep their roots: the grammar is emptied, not re-created.
  m_TableGrammar.clearGrammar();
  m_TableGrammar.setMessage(this);
  setName(saved);
}

QVMmessageGrammar* QVMmessageDefinitionInternal::messageGrammar() const {
  return currentConfig().rootMessageGrammar();
}

const COLstring& QVMmessageDefinitionInternal::identifierSegment(size_t index) const {
  return identifier(index)->segment();
}

void QVMmessageDefinitionInternal::setIdentifierSegment(size_t index, const COLstring& segment) {
  identifier(index)->setSegment(segment);
}

COLstring QVMmessageDefinitionInternal::identifierValue(size_t index) const {
  return identifier(index)->value();
}

void QVMmessageDefinitionInternal::setIdentifierValue(size_t index, const COLstring& value) {
  identifier(index)->setValue(value);
}

bool QVMmessageDefinitionInternal::identifierValidRegex(size_t index) const {
  return identifier(index)->isRegexValid();
}

QVMmessageNodeAddress& QVMmessageDefinitionInternal::identifierAddress(size_t index) {
  return identifier(index)->nodeAddress();
}

QVMidentifier* QVMmessageDefinitionInternal::insertIdentifierAt(size_t index) {
  return currentConfig().insertIdentifierAt(index);
}

// --- free functions

void QVMmessageMakeDefaultIdentifier(QVMidentifier& identifier, QVMengineInternal& Engine) {
  COL_PRECONDITION_TEXT(Engine.countOfSegment() > 0, "Engine.countOfSegment() > 0");
  const COLstring& header = Engine.config().headerSegment();
  if (Engine.segmentByName(header) != QVMengineInternal::npos)
    identifier.setSegment(header);
  else
    identifier.setSegment(Engine.segment(0)->name());
}

QVMidentifier* QVMmessageAddDefaultIdentifierAt(QVMmessageDefinitionInternal& Message, size_t index) {
  COL_PRECONDITION_TEXT(Message.rootEngine() && Message.rootEngine()->countOfSegment() > 0,
                   "Message.rootEngine()->countOfSegment() > 0");
  QVMidentifier* identifier = Message.insertIdentifierAt(index);
  QVMmessageMakeDefaultIdentifier(*identifier, *Message.rootEngine());
  return identifier;
}

QVMidentifier* QVMmessageAddDefaultIdentifier(QVMmessageDefinitionInternal& Message) {
  return QVMmessageAddDefaultIdentifierAt(Message, Message.countOfIdentifier());
}

QVMmessageDefinitionInternal* QVMmessageFindNextMessage(const QVMmessageDefinitionInternal& message) {
  QVMengineInternal* engine = message.rootEngine();
  if (!engine) return nullptr;
  uint32_t position = engine->messagePosition(&message);
  if (position == QVMengineInternal::npos || position + 1 >= engine->countOfMessage()) return nullptr;
  return engine->message(position + 1);
}
