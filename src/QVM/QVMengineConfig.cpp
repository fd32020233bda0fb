// One configuration of an engine: grammar lists, script modules and the match order.
#include "QVMengineConfig.h"

#include <unordered_map>

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

// --- QVMgrammarNameIndex

template <class Grammar>
void QVMgrammarNameIndex<Grammar>::rebuild(const std::vector<std::unique_ptr<Grammar>>& list) const {
  m_First.clear();
  m_First.reserve(list.size());
  for (size_t i = 0; i < list.size(); ++i) m_First.emplace(list[i]->name(), static_cast<uint32_t>(i));
  m_Valid = true;
}

template <class Grammar>
uint32_t QVMgrammarNameIndex<Grammar>::find(const std::vector<std::unique_ptr<Grammar>>& list,
                                            const COLstring& name) const {
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (!m_Valid) rebuild(list);
    auto it = m_First.find(name);
    if (it == m_First.end()) return npos;
    if (it->second < list.size() && list[it->second]->name() == name) return it->second;
    m_Valid = false;  // a grammar was renamed behind the index's back
  }
  return npos;
}

template class QVMgrammarNameIndex<QVMsegmentGrammar>;
template class QVMgrammarNameIndex<QVMcompositeGrammar>;
template class QVMgrammarNameIndex<QVMenumerationGrammar>;
template class QVMgrammarNameIndex<QVMdateTimeGrammar>;

// --- QVMengineConfig

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
  copyFrom(other);
  return *this;
}

namespace {
template <class T>
void copyList(std::vector<std::unique_ptr<T>>& target, const std::vector<std::unique_ptr<T>>& source,
              std::unordered_map<const T*, T*>& map) {
  target.clear();
  target.reserve(source.size());
  for (const auto& item : source) {
    target.push_back(std::make_unique<T>(*item));
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
  copyList(m_DateTimes, other.m_DateTimes, dateTimes);
  copyList(m_Composites, other.m_Composites, composites);
  copyList(m_Enumerations, other.m_Enumerations, enumerations);
  copyList(m_Segments, other.m_Segments, segments);
  for (auto& composite : m_Composites) {
    for (uint32_t f = 0; f < composite->countOfField(); ++f) {
      switch (composite->fieldDataType(f)) {
        case QVMcompositeType:
          composite->setFieldCompositeType(f, mapped(composites, composite->fieldCompositeType(f)));
          break;
        case QVMdateTimeType:
          composite->setFieldDateTimeGrammar(f, mapped(dateTimes, composite->fieldDateTimeGrammar(f)));
          break;
        case QVMenumerationType:
          composite->setFieldEnumerationGrammar(f, mapped(enumerations, composite->fieldEnumerationGrammar(f)));
          break;
        default:
          break;
      }
    }
  }
  for (auto& segment : m_Segments)
    for (uint32_t f = 0; f < segment->countOfField(); ++f)
      if (QVMcompositeGrammar* type = segment->fieldType(f)) segment->setFieldType(f, mapped(composites, type));
  if (m_RootEngine) init(m_RootEngine);
  grammarNamesChanged();
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

void QVMengineConfig::grammarNamesChanged() {
  m_SegmentNames.invalidate();
  m_CompositeNames.invalidate();
  m_EnumerationNames.invalidate();
  m_DateTimeNames.invalidate();
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

size_t QVMengineConfig::addSegment() {
  m_Segments.push_back(std::make_unique<QVMsegmentGrammar>());
  if (m_RootEngine) m_Segments.back()->init(m_RootEngine);
  m_SegmentNames.invalidate();
  return m_Segments.size() - 1;
}

void QVMengineConfig::removeSegment(size_t SegmentIndex) {
  COL_PRECONDITION(SegmentIndex < countOfSegment());
  m_Segments.erase(m_Segments.begin() + SegmentIndex);
  m_SegmentNames.invalidate();
}

QVMcompositeGrammar* QVMengineConfig::composite(size_t CompositeIndex) const {
  COL_PRECONDITION(CompositeIndex < countOfComposite());
  return m_Composites[CompositeIndex].get();
}

size_t QVMengineConfig::addComposite() {
  m_Composites.push_back(std::make_unique<QVMcompositeGrammar>());
  if (m_RootEngine) m_Composites.back()->init(m_RootEngine);
  m_CompositeNames.invalidate();
  return m_Composites.size() - 1;
}

void QVMengineConfig::removeComposite(size_t CompositeIndex) {
  COL_PRECONDITION(CompositeIndex < countOfComposite());
  m_Composites.erase(m_Composites.begin() + CompositeIndex);
  m_CompositeNames.invalidate();
}

QVMenumerationGrammar* QVMengineConfig::enumerationGrammar(size_t EnumerationIndex) const {
  COL_PRECONDITION(EnumerationIndex < countOfEnumerationGrammar());
  return m_Enumerations[EnumerationIndex].get();
}

size_t QVMengineConfig::addEnumerationGrammar() {
  m_Enumerations.push_back(std::make_unique<QVMenumerationGrammar>());
  m_EnumerationNames.invalidate();
  return m_Enumerations.size() - 1;
}

void QVMengineConfig::removeEnumerationGrammar(size_t EnumerationIndex) {
  COL_PRECONDITION(EnumerationIndex < countOfEnumerationGrammar());
  m_Enumerations.erase(m_Enumerations.begin() + EnumerationIndex);
  m_EnumerationNames.invalidate();
}

QVMdateTimeGrammar* QVMengineConfig::dateTimeGrammar(size_t DateTimeIndex) const {
  COL_PRECONDITION(DateTimeIndex < countOfDateTimeGrammar());
  return m_DateTimes[DateTimeIndex].get();
}

size_t QVMengineConfig::addDateTimeGrammar() {
  m_DateTimes.push_back(std::make_unique<QVMdateTimeGrammar>());
  if (m_RootEngine) m_DateTimes.back()->init(m_RootEngine);
  m_DateTimeNames.invalidate();
  return m_DateTimes.size() - 1;
}

void QVMengineConfig::removeDateTimeGrammar(size_t DateTimeIndex) {
  COL_PRECONDITION(DateTimeIndex < countOfDateTimeGrammar());
  m_DateTimes.erase(m_DateTimes.begin() + DateTimeIndex);
  m_DateTimeNames.invalidate();
}
