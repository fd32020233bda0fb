// One configuration of an engine: grammar lists, script modules and the match order.
#include "QVMengineConfig.h"

#include <unordered_map>
#include <unordered_set>

#include "COLerror.h"
#include "QVMengineInternal.h"

// --- QVMmatchOrder

QVMmatchOrder::QVMmatchOrder(const QVMmatchOrder& other) {
  for (Position p = other.m_First; p; p = p->next) insert(nullptr, p->messageIndex);
}

QVMmatchOrder& QVMmatchOrder::operator=(const QVMmatchOrder& other) {
  if (this == &other) return *this;
  clear();
  for (Position p = other.m_First; p; p = p->next) insert(nullptr, p->messageIndex);
  return *this;
}

QVMmatchOrder::Position QVMmatchOrder::next(Position position) {
  COL_PRECONDITION(position != NULL);
  return position->next;
}

QVMmatchOrder::Position QVMmatchOrder::previous(Position position) {
  COL_PRECONDITION(position != NULL);
  return position->previous;
}

uint32_t QVMmatchOrder::messageIndex(Position position) {
  COL_PRECONDITION(position != NULL);
  return position->messageIndex;
}

void QVMmatchOrder::setMessageIndex(Position position, uint32_t messageIndex) {
  COL_PRECONDITION(position != NULL);
  position->messageIndex = messageIndex;
}

QVMmatchOrder::Position QVMmatchOrder::insert(Position position, uint32_t messageIndex) {
  Node* node = new Node{messageIndex, nullptr, nullptr};
  if (!position) {
    node->previous = m_Last;
    if (m_Last) m_Last->next = node; else m_First = node;
    m_Last = node;
  } else {
    node->next = position;
    node->previous = position->previous;
    if (position->previous) position->previous->next = node; else m_First = node;
    position->previous = node;
  }
  ++m_Size;
  return node;
}

void QVMmatchOrder::remove(Position position) {
  COL_PRECONDITION(position != NULL);
  if (position->previous) position->previous->next = position->next; else m_First = position->next;
  if (position->next) position->next->previous = position->previous; else m_Last = position->previous;
  delete position;
  --m_Size;
}

void QVMmatchOrder::clear() {
  for (Node* node = m_First; node;) delete std::exchange(node, node->next);
  m_First = m_Last = nullptr;
  m_Size = 0;
}

std::vector<uint32_t> QVMmatchOrder::toVector() const {
  std::vector<uint32_t> result;
  result.reserve(m_Size);
  for (Position p = m_First; p; p = p->next) result.push_back(p->messageIndex);
  return result;
}

// --- QVMengineConfig

namespace {
// A new grammar, listed by this configuration and tied to its engine; returns its index.
template <class Grammar, class NameIndex>
size_t appendGrammar(std::vector<std::unique_ptr<Grammar>>& list, NameIndex& names, QVMengineConfig* owner) {
  auto grammar = std::make_unique<Grammar>();
  grammar->setOwnerConfig(owner);
  if constexpr (requires { grammar->init(owner->rootEngine()); })
    if (owner->rootEngine()) grammar->init(owner->rootEngine());
  list.push_back(std::move(grammar));
  names.appended(list);
  return list.size() - 1;
}
}  // namespace

QVMengineConfig::QVMengineConfig() = default;
QVMengineConfig::~QVMengineConfig() = default;

QVMengineConfig::QVMengineConfig(const QVMengineConfig& other)
    : m_MatchOrder(other.m_MatchOrder),
      m_LastMessageMatchesAll(other.m_LastMessageMatchesAll),
      m_ConfigName(other.m_ConfigName),
      m_Config(other.m_Config),
      m_RootEngine(other.m_RootEngine),
      m_AckMessageIndex(other.m_AckMessageIndex) {
  copyFrom(other);
}

QVMengineConfig& QVMengineConfig::operator=(const QVMengineConfig& other) {
  if (this == &other) return *this;
  m_MatchOrder = other.m_MatchOrder;
  m_LastMessageMatchesAll = other.m_LastMessageMatchesAll;
  m_ConfigName = other.m_ConfigName;
  m_Config = other.m_Config;
  m_AckMessageIndex = other.m_AckMessageIndex;
  if (!m_RootEngine) m_RootEngine = other.m_RootEngine;
  // The segments are replaced: the message grammars of this configuration let go of them.
  std::unordered_set<const QVMsegmentGrammar*> replaced;
  for (const auto& segment : m_Segments) replaced.insert(segment.get());
  detachMessageGrammars(replaced);
  copyFrom(other);
  return *this;
}

namespace {
template <class T>
void copyList(std::vector<std::unique_ptr<T>>& target, const std::vector<std::unique_ptr<T>>& source,
              std::unordered_map<const T*, T*>& map, QVMengineConfig* owner) {
  target.clear();
  target.reserve(source.size());
  for (const auto& item : source) {
    target.push_back(std::make_unique<T>(*item));
    target.back()->setOwnerConfig(owner);
    map.emplace(item.get(), target.back().get());
  }
}

template <class T>
T* mapped(const std::unordered_map<const T*, T*>& map, T* pointer) {
  auto it = map.find(pointer);
  return it == map.end() ? pointer : it->second;
}
}  // namespace

// Copies the grammar lists and points the copies at one another, so that a copied
// configuration never refers to the grammars of its source.
void QVMengineConfig::copyFrom(const QVMengineConfig& other) {
  m_Modules.clear();
  for (const auto& module : other.m_Modules) m_Modules.push_back(std::make_unique<QVMembeddedPythonModule>(*module));
  std::unordered_map<const QVMdateTimeGrammar*, QVMdateTimeGrammar*> dateTimes;
  std::unordered_map<const QVMcompositeGrammar*, QVMcompositeGrammar*> composites;
  std::unordered_map<const QVMenumerationGrammar*, QVMenumerationGrammar*> enumerations;
  std::unordered_map<const QVMsegmentGrammar*, QVMsegmentGrammar*> segments;
  copyList(m_DateTimes, other.m_DateTimes, dateTimes, this);
  copyList(m_Composites, other.m_Composites, composites, this);
  copyList(m_Enumerations, other.m_Enumerations, enumerations, this);
  copyList(m_Segments, other.m_Segments, segments, this);
  // Every pointer, whatever the sub-field's kind, so that none is left into the source.
  for (auto& composite : m_Composites)
    for (uint32_t f = 0; f < composite->countOfField(); ++f) {
      QVMcompositeSubField* subField = composite->field(f);
      subField->setCompositeType(mapped(composites, subField->compositeType()));
      subField->setDateTimeGrammar(mapped(dateTimes, subField->dateTimeGrammar()));
      subField->setEnumerationGrammar(mapped(enumerations, subField->enumerationGrammar()));
    }
  for (auto& segment : m_Segments)
    for (uint32_t f = 0; f < segment->countOfField(); ++f) {
      QVMsegmentSubField* field = segment->field(f);
      field->setFieldType(mapped(composites, field->fieldType()));
    }
  if (m_RootEngine) init(m_RootEngine);
  invalidateNameIndexes();
}

void QVMengineConfig::init(QVMengineInternal* engine) {
  m_RootEngine = engine;
  m_Config.init(engine);
  LANengine* language = &engine->LanguageEngine();
  for (auto& module : m_Modules) module->pythonModule().setEngine(language);
  for (auto& grammar : m_DateTimes) grammar->init(engine);
  for (auto& grammar : m_Composites) grammar->init(engine);
  for (auto& grammar : m_Segments) grammar->init(engine);
}

void QVMengineConfig::invalidateNameIndexes() {
  m_SegmentNames.invalidate();
  m_CompositeNames.invalidate();
  m_EnumerationNames.invalidate();
  m_DateTimeNames.invalidate();
}

void QVMengineConfig::noteGrammarRenamed(const QVMsegmentGrammar* grammar, const COLstring& oldName) {
  m_SegmentNames.renamed(m_Segments, grammar, oldName);
}

void QVMengineConfig::noteGrammarRenamed(const QVMcompositeGrammar* grammar, const COLstring& oldName) {
  m_CompositeNames.renamed(m_Composites, grammar, oldName);
}

void QVMengineConfig::noteGrammarRenamed(const QVMenumerationGrammar* grammar, const COLstring& oldName) {
  m_EnumerationNames.renamed(m_Enumerations, grammar, oldName);
}

void QVMengineConfig::noteGrammarRenamed(const QVMdateTimeGrammar* grammar, const COLstring& oldName) {
  m_DateTimeNames.renamed(m_DateTimes, grammar, oldName);
}

QVMembeddedPythonModule* QVMengineConfig::embeddedPythonModule(size_t index) const {
  COL_PRECONDITION(index < m_Modules.size());
  return m_Modules[index].get();
}

QVMembeddedPythonModule* QVMengineConfig::addEmbeddedPythonModule() {
  m_Modules.push_back(std::make_unique<QVMembeddedPythonModule>());
  if (m_RootEngine) m_Modules.back()->pythonModule().setEngine(&m_RootEngine->LanguageEngine());
  return m_Modules.back().get();
}

void QVMengineConfig::removeEmbeddedPythonModule(size_t index) {
  COL_PRECONDITION(index < m_Modules.size());
  m_Modules.erase(m_Modules.begin() + index);
}

QVMembeddedPythonModule* QVMengineConfig::findEmbeddedPythonModule(const COLstring& name) const {
  for (const auto& module : m_Modules)
    if (module->name() == name) return module.get();
  return nullptr;
}

QVMsegmentGrammar* QVMengineConfig::segment(size_t SegmentIndex) const {
  COL_PRECONDITION(SegmentIndex < countOfSegment());
  return m_Segments[SegmentIndex].get();
}

size_t QVMengineConfig::addSegment() { return appendGrammar(m_Segments, m_SegmentNames, this); }

void QVMengineConfig::removeSegment(size_t SegmentIndex) {
  COL_PRECONDITION(SegmentIndex < countOfSegment());
  detachMessageGrammars({m_Segments[SegmentIndex].get()});
  m_Segments.erase(m_Segments.begin() + SegmentIndex);
  m_SegmentNames.invalidate();
}

QVMcompositeGrammar* QVMengineConfig::composite(size_t CompositeIndex) const {
  COL_PRECONDITION(CompositeIndex < countOfComposite());
  return m_Composites[CompositeIndex].get();
}

size_t QVMengineConfig::addComposite() { return appendGrammar(m_Composites, m_CompositeNames, this); }

void QVMengineConfig::removeComposite(size_t CompositeIndex) {
  COL_PRECONDITION(CompositeIndex < countOfComposite());
  const QVMcompositeGrammar* removed = m_Composites[CompositeIndex].get();
  for (auto& segment : m_Segments)
    for (uint32_t f = 0; f < segment->countOfField(); ++f)
      if (segment->fieldType(f) == removed) segment->field(f)->setFieldType(nullptr);
  forgetInComposites(removed);
  m_Composites.erase(m_Composites.begin() + CompositeIndex);
  m_CompositeNames.invalidate();
}

QVMenumerationGrammar* QVMengineConfig::enumerationGrammar(size_t EnumerationIndex) const {
  COL_PRECONDITION(EnumerationIndex < countOfEnumerationGrammar());
  return m_Enumerations[EnumerationIndex].get();
}

size_t QVMengineConfig::addEnumerationGrammar() {
  return appendGrammar(m_Enumerations, m_EnumerationNames, this);
}

void QVMengineConfig::removeEnumerationGrammar(size_t EnumerationIndex) {
  COL_PRECONDITION(EnumerationIndex < countOfEnumerationGrammar());
  forgetInComposites(m_Enumerations[EnumerationIndex].get());
  m_Enumerations.erase(m_Enumerations.begin() + EnumerationIndex);
  m_EnumerationNames.invalidate();
}

QVMdateTimeGrammar* QVMengineConfig::dateTimeGrammar(size_t DateTimeIndex) const {
  COL_PRECONDITION(DateTimeIndex < countOfDateTimeGrammar());
  return m_DateTimes[DateTimeIndex].get();
}

size_t QVMengineConfig::addDateTimeGrammar() { return appendGrammar(m_DateTimes, m_DateTimeNames, this); }

void QVMengineConfig::removeDateTimeGrammar(size_t DateTimeIndex) {
  COL_PRECONDITION(DateTimeIndex < countOfDateTimeGrammar());
  forgetInComposites(m_DateTimes[DateTimeIndex].get());
  m_DateTimes.erase(m_DateTimes.begin() + DateTimeIndex);
  m_DateTimeNames.invalidate();
}

// --- references to a grammar that goes: removal takes out what this configuration holds.

void QVMengineConfig::forgetInComposites(const void* removed) {
  for (auto& composite : m_Composites)
    for (uint32_t f = 0; f < composite->countOfField(); ++f) composite->field(f)->forgetGrammar(removed);
}

void QVMengineConfig::detachMessageGrammars(const std::unordered_set<const QVMsegmentGrammar*>& removed) {
  if (!m_RootEngine || removed.empty()) return;
  uint32_t index = m_RootEngine->configPosition(this);
  if (index == npos) return;  // not one of its engine's configurations
  for (size_t m = 0; m < m_RootEngine->countOfMessage(); ++m) {
    QVMmessageDefinitionInternal* message = m_RootEngine->message(m);
    if (index < message->countOfConfig())
      QVMmessageGrammarForgetSegments(*message->config(index).rootMessageGrammar(), removed);
  }
}
