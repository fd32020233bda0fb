// The engine root: configurations, shared messages and tables, indexes and life cycle.
#include "QVMengineInternal.h"

#include <algorithm>

#include "COLerror.h"
#include "COLsinkStandard.h"

QVMengineInternal::QVMengineInternal()
    : m_SearchPath(LANfindPythonLibDir("QVM_LIB3.dll")),
      m_LogStream(std::make_unique<COLostream>(new COLsinkNull, true)) {
  m_LanguageEngine = new LANengine(*m_LogStream);
  setUpLanguageEngine();
  clear();
}

QVMengineInternal::~QVMengineInternal() {
  // Scripts let go of the interpreter before it goes.
  m_Messages.clear();
  m_Tables.clear();
  m_Configs.clear();
}

void QVMengineInternal::setUpLanguageEngine() {
  m_LanguageEngine->setSearchPath(m_SearchPath);
  COLstring error;
  if (!LANinitEngineAndRedirect(*m_LanguageEngine, error)) throw COLerror(error, COL_ERROR_PRECONDITION);
}

void QVMengineInternal::resetLanguageEngine() {
  m_LanguageEngine->reset();
  setUpLanguageEngine();
  for (auto& engineConfig : m_Configs) {
    QVMconfig& settings = engineConfig->config();
    settings.mainFunction().recompile();
    settings.postProcessFunction().recompile();
    settings.outgoingMainFunction().recompile();
    settings.outgoingPostProcessFunction().recompile();
    for (size_t m = 0; m < engineConfig->countOfEmbeddedPythonModule(); ++m)
      engineConfig->embeddedPythonModule(m)->reload();
    for (size_t s = 0; s < engineConfig->countOfSegment(); ++s) {
      QVMsegmentGrammar* grammar = engineConfig->segment(s);
      for (uint32_t f = 0; f < grammar->countOfField(); ++f) {
        grammar->fieldIncomingFunction(f).recompile();
        grammar->fieldOutgoingFunction(f).recompile();
      }
    }
  }
  for (auto& message : m_Messages)
    for (size_t c = 0; c < message->countOfConfig(); ++c) {
      message->config(c).inFunction().recompile();
      message->config(c).outFunction().recompile();
    }
  for (auto& table : m_Tables)
    for (size_t col = 0; col < table->countOfColumn(); ++col)
      for (size_t c = 0; c < table->column(col).countOfConfig(); ++c) {
        table->column(col).config(c).incomingFunction().recompile();
        table->column(col).config(c).outgoingFunction().recompile();
      }
}

bool QVMengineInternal::hasIncomingTableEquation() const {
  const uint64_t Generation = planGeneration();
  const uint64_t Known = m_TableEquationsKnown.load(std::memory_order_acquire);
  if (Known >> 1 == Generation) return (Known & 1) != 0;
  const bool Any = std::any_of(m_Tables.begin(), m_Tables.end(),
                               [](const auto& Table) { return Table->hasIncomingFunction(); });
  m_TableEquationsKnown.store(Generation << 1 | (Any ? 1 : 0), std::memory_order_release);
  return Any;
}

void QVMdefinitionEdited(QVMengineInternal* engine) {
  if (engine) engine->definitionEdited();
}

// --- grammars

QVMsegmentGrammar* QVMengineInternal::segment(size_t SegmentIndex) const {
  COL_PRECONDITION(SegmentIndex < countOfSegment());
  return engineConfig().segment(SegmentIndex);
}

void QVMengineInternal::deleteSegment(size_t SegmentIndex) {
  definitionEdited();
  COL_PRECONDITION(SegmentIndex < countOfSegment());
  engineConfig().removeSegment(SegmentIndex);
}

QVMcompositeGrammar* QVMengineInternal::composite(size_t CompositeIndex) const {
  COL_PRECONDITION(CompositeIndex < countOfComposite());
  return engineConfig().composite(CompositeIndex);
}

void QVMengineInternal::deleteComposite(size_t CompositeIndex) {
  definitionEdited();
  COL_PRECONDITION(CompositeIndex < countOfComposite());
  engineConfig().removeComposite(CompositeIndex);
}

QVMenumerationGrammar* QVMengineInternal::enumerationGrammar(size_t EnumerationIndex) const {
  COL_PRECONDITION(EnumerationIndex < countOfEnumerationGrammar());
  return engineConfig().enumerationGrammar(EnumerationIndex);
}

void QVMengineInternal::deleteEnumerationGrammar(size_t EnumerationIndex) {
  definitionEdited();
  COL_PRECONDITION(EnumerationIndex < countOfEnumerationGrammar());
  engineConfig().removeEnumerationGrammar(EnumerationIndex);
}

QVMdateTimeGrammar* QVMengineInternal::dateTimeGrammar(size_t DateTimeIndex) const {
  COL_PRECONDITION(DateTimeIndex < countOfDateTimeGrammar());
  return engineConfig().dateTimeGrammar(DateTimeIndex);
}

void QVMengineInternal::deleteDateTimeGrammar(size_t DateTimeIndex) {
  definitionEdited();
  COL_PRECONDITION(DateTimeIndex < countOfDateTimeGrammar());
  engineConfig().removeDateTimeGrammar(DateTimeIndex);
}

// --- messages

QVMmessageDefinitionInternal* QVMengineInternal::message(size_t MessageIndex) const {
  COL_PRECONDITION(MessageIndex < countOfMessage());
  return m_Messages[MessageIndex].get();
}

size_t QVMengineInternal::addMessage() {
  definitionEdited();
  m_Messages.push_back(std::make_unique<QVMmessageDefinitionInternal>());
  m_MessageNames.appended(m_Messages);
  uint32_t index = static_cast<uint32_t>(m_Messages.size() - 1);
  m_Messages.back()->init(this, index);
  return index;
}

void QVMengineInternal::deleteMessage(size_t MessageIndex) {
  definitionEdited();
  COL_PRECONDITION(MessageIndex < countOfMessage());
  uint32_t index = static_cast<uint32_t>(MessageIndex);
  for (auto& engineConfig : m_Configs) {
    uint32_t ack = engineConfig->ackMessageIndex();
    if (ack == index)
      engineConfig->setAckMessageIndex(npos);
    else if (ack != npos && ack > index)
      engineConfig->setAckMessageIndex(ack - 1);
    QVMengineRemoveMessageFromMatchingOrder(*engineConfig, index);
  }
  m_Messages.erase(m_Messages.begin() + MessageIndex);
  m_MessageNames.invalidate();
}

uint32_t QVMengineInternal::messageByName(const COLstring& name) const { return m_MessageNames.find(m_Messages, name); }

uint32_t QVMengineInternal::messagePosition(const QVMmessageDefinitionInternal* message) const {
  return m_MessageNames.position(m_Messages, message);
}

void QVMengineInternal::noteMessageRenamed(const QVMmessageDefinitionInternal* message, const COLstring& oldName) {
  m_MessageNames.renamed(m_Messages, message, oldName);
}

// --- tables

QVMtableDefinitionInternal* QVMengineInternal::table(size_t TableIndex) const {
  COL_PRECONDITION(TableIndex < countOfTable());
  return m_Tables[TableIndex].get();
}

size_t QVMengineInternal::addTable() {
  definitionEdited();
  m_Tables.push_back(std::make_unique<QVMtableDefinitionInternal>());
  m_TableNames.appended(m_Tables);
  m_Tables.back()->init(this);
  return m_Tables.size() - 1;
}

void QVMengineInternal::deleteTable(size_t TableIndex) {
  definitionEdited();
  COL_PRECONDITION(TableIndex < countOfTable());
  m_Tables.erase(m_Tables.begin() + TableIndex);
  m_TableNames.invalidate();
}

uint32_t QVMengineInternal::tableByName(const COLstring& name) const { return m_TableNames.find(m_Tables, name); }

void QVMengineInternal::noteTableRenamed(const QVMtableDefinitionInternal* table, const COLstring& oldName) {
  m_TableNames.renamed(m_Tables, table, oldName);
}

// --- configurations

QVMengineConfig& QVMengineInternal::engineConfig(size_t index) {
  COL_PRECONDITION(index < countOfConfig());
  return *m_Configs[index];
}

const QVMengineConfig& QVMengineInternal::engineConfig(size_t index) const {
  COL_PRECONDITION(index < countOfConfig());
  return *m_Configs[index];
}

uint32_t QVMengineInternal::configPosition(const QVMengineConfig* config) const {
  for (size_t i = 0; i < m_Configs.size(); ++i)
    if (m_Configs[i].get() == config) return static_cast<uint32_t>(i);
  return npos;
}

void QVMengineInternal::setCurrentConfig(uint32_t index) {
  if (index != m_CurrentConfig) definitionEdited();
  if (index >= m_Configs.size()) {
    COLstring text;
    COLostream(text) << "Config Index of '" << index << "' is not a valid index. Maximum index is '"
                     << static_cast<long long>(m_Configs.size()) - 1 << "' and minimum index is 0";
    throw COLerror(text, COL_ERROR_PRECONDITION);
  }
  m_CurrentConfig = index;
}

size_t QVMengineInternal::addConfiguration(const COLstring& name) {
  definitionEdited();
  m_Configs.push_back(std::make_unique<QVMengineConfig>());
  m_Configs.back()->init(this);
  m_Configs.back()->setConfigName(name);
  for (auto& table : m_Tables) table->addConfig();
  for (auto& message : m_Messages) message->addConfig();
  return m_Configs.size() - 1;
}

void QVMengineInternal::deleteConfig(size_t index) {
  definitionEdited();
  COL_PRECONDITION(index < countOfConfig());
  // The grammars go last, once no record of a message or table points into them.
  std::unique_ptr<QVMengineConfig> removed = std::move(m_Configs[index]);
  m_Configs.erase(m_Configs.begin() + index);
  for (auto& table : m_Tables) table->removeConfig(index);
  for (auto& message : m_Messages) message->removeConfig(index);
  if (m_CurrentConfig > index) setCurrentConfig(m_CurrentConfig - 1);
}

// --- life cycle

void QVMengineInternal::clear() {
  definitionEdited();
  m_CurrentConfig = 0;
  m_OutgoingConfigIndex = 0;
  m_IncomingConfigIndex = 0;
  m_UseMachineDoubleTypeInJavaGeneration = false;
  m_RejectBadSegmentGrammar = false;
  m_UsePassThroughMapping = false;
  m_UseDotNetProperties = true;
  // Messages and tables point into the configurations: they go first.
  m_Messages.clear();
  m_Tables.clear();
  m_Configs.clear();
  m_MessageNames.invalidate();
  m_TableNames.invalidate();
  m_Configs.push_back(std::make_unique<QVMengineConfig>());
  m_Configs.back()->init(this);
  m_Configs.back()->setConfigName("default");
}

void QVMengineInternal::postLoad() {
  definitionEdited();
  uint32_t remembered = m_CurrentConfig;
  for (uint32_t c = 0; c < m_Configs.size(); ++c) {
    if (!m_Configs[c]->matchOrder().empty()) continue;
    setCurrentConfig(c);
    QVMengineInitMessageOrder(*this);
  }
  setCurrentConfig(remembered);
}

void QVMengineInternal::setLogSink(COLsink* sink, bool own) {
  // The stream object stays: the interpreter writes through it.
  if (sink)
    m_LogStream->setSink(sink, own);
  else
    m_LogStream->setSink(new COLsinkNull, true);
}

QVMengineVersionChanger::~QVMengineVersionChanger() {
  try {
    m_Engine.setCurrentConfig(m_Index);
  } catch (const COLerror&) {
    // The configuration went away meanwhile; the engine stays on the one it is on.
  }
}
