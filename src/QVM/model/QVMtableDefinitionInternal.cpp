// Table definitions, their columns and their map sets.
#include "QVMtableDefinitionInternal.h"

#include <algorithm>

#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"

// --- QVMtableMapSet

QVMtableMapSet::QVMtableMapSet(QVMtableDefinitionInternal* table) { setTableDefinition(table); }

// The plan is not copied: the copy derives its own.
QVMtableMapSet::QVMtableMapSet(const QVMtableMapSet& other)
    : m_Table(other.m_Table), m_Name(other.m_Name), m_Items(other.m_Items) {}

QVMtableMapSet& QVMtableMapSet::operator=(const QVMtableMapSet& other) {
  if (this == &other) return *this;
  m_Name = other.m_Name;
  m_Items = other.m_Items;
  itemsChanged();
  pad();
  return *this;
}

void QVMtableMapSet::itemsChanged() {
  m_PlanInPlace.store(nullptr, std::memory_order_release);
  m_PlanOwner.reset();
  QVMdefinitionEdited(m_Table ? m_Table->rootEngine() : nullptr);
}

void QVMtableMapSet::setTableDefinition(QVMtableDefinitionInternal* table) {
  m_Table = table;
  pad();
}

void QVMtableMapSet::pad() const {
  if (m_Table && m_Items.size() < m_Table->countOfColumn()) m_Items.resize(m_Table->countOfColumn());
}

const QVMmapItem& QVMtableMapSet::map(size_t MapIndex) const {
  pad();
  COL_PRECONDITION_TEXT(MapIndex < m_Items.size(), "MapIndex < pMember->MapItem.size()");
  return m_Items[MapIndex];
}

QVMmapItem& QVMtableMapSet::map(size_t MapIndex) {
  itemsChanged();
  pad();
  COL_PRECONDITION_TEXT(MapIndex < m_Items.size(), "MapIndex < pMember->MapItem.size()");
  return m_Items[MapIndex];
}

void QVMtableMapSet::setMap(size_t MapIndex, const QVMmapItem& item) { map(MapIndex) = item; }

void QVMtableMapSet::insertColumn(size_t ColumnIndex) {
  itemsChanged();
  if (ColumnIndex == static_cast<size_t>(QVMtableDefinitionInternal::npos) || ColumnIndex == COLstring::npos) {
    m_Items.emplace_back();
  } else {
    COL_PRECONDITION_TEXT(ColumnIndex <= m_Items.size(), "ColumnIndex <= pMember->MapItem.size()");
    m_Items.insert(m_Items.begin() + ColumnIndex, QVMmapItem());
  }
  pad();
}

void QVMtableMapSet::removeColumn(size_t ColumnIndex) {
  itemsChanged();
  COL_PRECONDITION_TEXT(ColumnIndex < m_Items.size(), "ColumnIndex < pMember->MapItem.size()");
  m_Items.erase(m_Items.begin() + ColumnIndex);
  pad();
}

void QVMtableMapSet::moveColumn(size_t FromIndex, size_t ToIndex) {
  itemsChanged();
  pad();
  COL_PRECONDITION_TEXT(FromIndex < m_Items.size(), "FromIndex < pMember->MapItem.size()");
  COL_PRECONDITION_TEXT(ToIndex < m_Items.size(), "ToIndex < pMember->MapItem.size()");
  COL_PRECONDITION_TEXT(FromIndex != ToIndex, "FromIndex != ToIndex");
  QVMmapItem copy = m_Items[FromIndex];
  m_Items.erase(m_Items.begin() + FromIndex);
  m_Items.insert(m_Items.begin() + ToIndex, QVMmapItem());
  m_Items[ToIndex] = copy;
}

// --- QVMtableConfig

QVMtableConfig::QVMtableConfig(QVMtableDefinitionInternal* table) : m_Table(table) { addMapSet(); }

QVMtableConfig::QVMtableConfig(const QVMtableConfig& other) : m_Table(other.m_Table) {
  m_MapSets.reserve(other.m_MapSets.size());
  for (const auto& set : other.m_MapSets) m_MapSets.push_back(std::make_unique<QVMtableMapSet>(*set));
}

QVMtableConfig& QVMtableConfig::operator=(const QVMtableConfig& other) {
  if (this != &other) *this = QVMtableConfig(other);
  return *this;
}

void QVMtableConfig::setTable(QVMtableDefinitionInternal* table) {
  m_Table = table;
  for (auto& set : m_MapSets) set->setTableDefinition(table);
}

size_t QVMtableConfig::addMapSet() {
  m_MapSets.push_back(std::make_unique<QVMtableMapSet>(m_Table));
  return m_MapSets.size() - 1;
}

// --- QVMcolumnDefinition

LANengine* QVMcolumnDefinition::languageEngine() const {
  return m_Table && m_Table->rootEngine() ? &m_Table->rootEngine()->LanguageEngine() : nullptr;
}

void QVMcolumnDefinition::init(QVMtableDefinitionInternal* table) {
  m_Table = table;
  size_t count = table && table->rootEngine() ? table->rootEngine()->countOfConfig() : m_Configs.size();
  m_Configs.resize(count);
  LANengine* engine = languageEngine();
  for (auto& config : m_Configs) config.setEngine(engine);
}

void QVMcolumnDefinition::addConfig() {
  m_Configs.emplace_back();
  m_Configs.back().setEngine(languageEngine());
}

void QVMcolumnDefinition::removeConfig(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  m_Configs.erase(m_Configs.begin() + index);
}

QVMcolumnConfig& QVMcolumnDefinition::config(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  QVMdefinitionEdited(m_Table ? m_Table->rootEngine() : nullptr);
  return m_Configs[index];
}

const QVMcolumnConfig& QVMcolumnDefinition::config(size_t index) const {
  COL_PRECONDITION(index < m_Configs.size());
  return m_Configs[index];
}

// --- QVMtableDefinitionInternal

QVMtableDefinitionInternal::QVMtableDefinitionInternal() = default;
QVMtableDefinitionInternal::~QVMtableDefinitionInternal() = default;

QVMtableDefinitionInternal::QVMtableDefinitionInternal(const QVMtableDefinitionInternal& other)
    : m_TableName(other.m_TableName),
      m_Columns(other.m_Columns),
      m_Description(other.m_Description),
      m_DatabaseAction(other.m_DatabaseAction),
      m_RootEngine(other.m_RootEngine),
      m_Configs(other.m_Configs),
      m_NextColumnId(other.m_NextColumnId) {
  retie();
}

QVMtableDefinitionInternal& QVMtableDefinitionInternal::operator=(const QVMtableDefinitionInternal& other) {
  if (this == &other) return *this;
  COLstring oldName = m_TableName;
  m_TableName = other.m_TableName;
  m_Columns = other.m_Columns;
  namesChanged();
  m_Description = other.m_Description;
  m_DatabaseAction = other.m_DatabaseAction;
  m_Configs = other.m_Configs;
  m_NextColumnId = other.m_NextColumnId;
  if (!m_RootEngine) m_RootEngine = other.m_RootEngine;
  retie();
  if (m_RootEngine && oldName != m_TableName) m_RootEngine->noteTableRenamed(this, oldName);
  return *this;
}

// Back pointers of copied columns and records point at the source until re-tied here.
void QVMtableDefinitionInternal::retie() {
  for (auto& column : m_Columns) column.init(this);
  for (auto& config : m_Configs) config.setTable(this);
}

void QVMtableDefinitionInternal::init(QVMengineInternal* pRootEngine) {
  COL_PRECONDITION(pRootEngine != NULL);
  m_RootEngine = pRootEngine;
  size_t count = pRootEngine->countOfConfig();
  if (m_Configs.size() > count) m_Configs.resize(count);
  while (m_Configs.size() < count) m_Configs.emplace_back(this);
  retie();
}

void QVMtableDefinitionInternal::addConfig() {
  m_Configs.emplace_back(this);
  for (auto& column : m_Columns) column.addConfig();
}

void QVMtableDefinitionInternal::removeConfig(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  m_Configs.erase(m_Configs.begin() + index);
  for (auto& column : m_Columns) column.removeConfig(index);
}

QVMtableConfig& QVMtableDefinitionInternal::tableConfig(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  return m_Configs[index];
}

void QVMtableDefinitionInternal::setTableName(const COLstring& name) {
  if (name == m_TableName) return;
  COLstring oldName = m_TableName;
  m_TableName = name;
  namesChanged();
  if (m_RootEngine) m_RootEngine->noteTableRenamed(this, oldName);
}

void QVMcolumnDefinition::setName(const COLstring& name) {
  m_Name = name;
  if (m_Table) m_Table->namesChanged();
}

QVMcolumnDefinition& QVMtableDefinitionInternal::column(size_t ColumnIndex) {
  COL_PRECONDITION(ColumnIndex < countOfColumn());
  return m_Columns[ColumnIndex];
}

const QVMcolumnDefinition& QVMtableDefinitionInternal::column(size_t ColumnIndex) const {
  COL_PRECONDITION(ColumnIndex < countOfColumn());
  return m_Columns[ColumnIndex];
}

size_t QVMtableDefinitionInternal::addColumn(const COLstring& name, QVMdataType type, size_t index) {
  COL_PRECONDITION_TEXT(m_RootEngine && m_RootEngine->countOfConfig() == m_Configs.size(),
                   "rootEngine()->countOfConfig() == pMember->ConfigVector.size()");
  bool append = index == npos || index == COLstring::npos;
  if (!append) COL_PRECONDITION(index <= countOfColumn());
  size_t position = append ? m_Columns.size() : index;
  namesChanged();
  m_Columns.insert(m_Columns.begin() + position, QVMcolumnDefinition());
  QVMcolumnDefinition& added = m_Columns[position];
  added.setColumnId(m_NextColumnId++);
  added.init(this);
  added.setDataType(type);
  added.setName(name);
  for (auto& config : m_Configs)
    for (size_t set = 0; set < config.countOfMapSet(); ++set) config.mapSet(set)->insertColumn(append ? npos : index);
  return position;
}

void QVMtableDefinitionInternal::removeColumn(size_t ColumnIndex) {
  COL_PRECONDITION_TEXT(m_RootEngine && m_RootEngine->countOfConfig() == m_Configs.size(),
                   "rootEngine()->countOfConfig() == pMember->ConfigVector.size()");
  COL_PRECONDITION(ColumnIndex < countOfColumn());
  namesChanged();
  m_Columns.erase(m_Columns.begin() + ColumnIndex);
  for (auto& config : m_Configs)
    for (size_t set = 0; set < config.countOfMapSet(); ++set) config.mapSet(set)->removeColumn(ColumnIndex);
}

void QVMtableDefinitionInternal::moveColumn(size_t FromIndex, size_t ToIndex) {
  COL_PRECONDITION(FromIndex < countOfColumn());
  COL_PRECONDITION(ToIndex < countOfColumn());
  COL_PRECONDITION(FromIndex != ToIndex);
  namesChanged();
  QVMcolumnDefinition copy = m_Columns[FromIndex];
  m_Columns.erase(m_Columns.begin() + FromIndex);
  m_Columns.insert(m_Columns.begin() + ToIndex, copy);
  for (auto& config : m_Configs)
    for (size_t set = 0; set < config.countOfMapSet(); ++set) config.mapSet(set)->moveColumn(FromIndex, ToIndex);
}

uint32_t QVMtableDefinitionInternal::columnIndex(const COLstring& name) const {
  for (size_t i = 0; i < m_Columns.size(); ++i)
    if (m_Columns[i].name() == name) return static_cast<uint32_t>(i);
  return npos;
}

uint32_t QVMtableDefinitionInternal::columnIndexFromColumndId(uint32_t id) const {
  for (size_t i = 0; i < m_Columns.size(); ++i)
    if (m_Columns[i].columnId() == id) return static_cast<uint32_t>(i);
  return npos;
}

COLstring QVMtableDefinitionInternal::columnTypeAsString(size_t ColumnIndex) const {
  return QVMoutputDataTypeAsString(columnType(ColumnIndex));
}

const COLstring& QVMtableDefinitionInternal::incomingFunctionCode(size_t configIndex, size_t ColumnIndex) const {
  return column(ColumnIndex).config(configIndex).incomingFunction().code();
}

void QVMtableDefinitionInternal::setIncomingFunctionCode(size_t configIndex, size_t ColumnIndex,
                                                         const COLstring& code) {
  column(ColumnIndex).config(configIndex).incomingFunction().setCode(code);
}

const COLstring& QVMtableDefinitionInternal::outgoingFunctionCode(size_t configIndex, size_t ColumnIndex) const {
  return column(ColumnIndex).config(configIndex).outgoingFunction().code();
}

void QVMtableDefinitionInternal::setOutgoingFunctionCode(size_t configIndex, size_t ColumnIndex,
                                                         const COLstring& code) {
  column(ColumnIndex).config(configIndex).outgoingFunction().setCode(code);
}

LANfunction& QVMtableDefinitionInternal::incomingFunction(size_t ColumnIndex) {
  COL_PRECONDITION(m_RootEngine != NULL);
  return column(ColumnIndex).config(m_RootEngine->currentConfig()).incomingFunction();
}

LANfunction& QVMtableDefinitionInternal::outgoingFunction(size_t ColumnIndex) {
  COL_PRECONDITION(m_RootEngine != NULL);
  return column(ColumnIndex).config(m_RootEngine->currentConfig()).outgoingFunction();
}

const LANfunction& QVMtableDefinitionInternal::incomingFunction(size_t ColumnIndex) const {
  COL_PRECONDITION(m_RootEngine != NULL);
  return column(ColumnIndex).config(m_RootEngine->currentConfig()).incomingFunction();
}

const LANfunction& QVMtableDefinitionInternal::outgoingFunction(size_t ColumnIndex) const {
  COL_PRECONDITION(m_RootEngine != NULL);
  return column(ColumnIndex).config(m_RootEngine->currentConfig()).outgoingFunction();
}

bool QVMtableDefinitionInternal::hasIncomingFunction() const {
  for (size_t Column = 0; Column < countOfColumn(); ++Column)
    if (incomingFunction(Column).state() != LANfunction::StateEmpty) return true;
  return false;
}

QVMtableConfig& QVMtableDefinitionInternal::currentTableConfig() const {
  const QVMtableDefinitionInternal* pParent = this;
  COL_PRECONDITION(pParent->rootEngine() != NULL);
  COL_PRECONDITION_TEXT(pParent->rootEngine()->currentConfig() < m_Configs.size(),
                   "pParent->rootEngine()->currentConfig() < ConfigVector.size()");
  return const_cast<QVMtableConfig&>(m_Configs[pParent->rootEngine()->currentConfig()]);
}

size_t QVMtableDefinitionInternal::countOfMapSet() const { return currentTableConfig().countOfMapSet(); }

QVMtableMapSet* QVMtableDefinitionInternal::mapSet(size_t SetIndex) const {
  COL_PRECONDITION_TEXT(countOfMapSet() > SetIndex, "countOfMapSet() > SetIndex");
  return currentTableConfig().mapSet(SetIndex);
}

size_t QVMtableDefinitionInternal::addMapSet() { return currentTableConfig().addMapSet(); }

size_t QVMtableDefinitionInternal::copyMapSet(size_t CopyMapIndex) {
  COL_PRECONDITION(CopyMapIndex < countOfMapSet());
  QVMtableConfig& config = currentTableConfig();
  size_t added = config.addMapSet();
  *config.mapSet(added) = *config.mapSet(CopyMapIndex);
  return added;
}

void QVMtableDefinitionInternal::removeMapSet(size_t SetIndex) {
  COL_PRECONDITION(SetIndex < countOfMapSet());
  currentTableConfig().removeMapSet(SetIndex);
}

void QVMtableDefinitionInternal::mapSetClear() {
  QVMtableConfig& config = currentTableConfig();
  config.clearMapSets();
  config.addMapSet();
}

// --- free functions

COLstring QVMtableMakeSanitizedName(const COLstring& name) {
  if (name.empty()) return "Table";
  COLstring result = name;
  QVMnameSanitizer().sanitizedName(result);
  return result;
}

COLstring QVMtableMakeUniqueColumnName(const QVMtableDefinitionInternal& table, size_t columnIndex,
                                       const COLstring& name) {
  COLstring base = name.empty() ? COLstring("Column") : name;
  QVMnameSanitizer().sanitizedName(base);
  auto taken = [&](const COLstring& candidate) {
    for (size_t i = 0; i < table.countOfColumn(); ++i)
      if (i != columnIndex && table.columnName(i) == candidate) return true;
    return false;
  };
  if (!taken(base)) return base;
  for (unsigned number = 1;; ++number) {
    COLstring candidate = base;
    COLostream(candidate) << number;
    if (!taken(candidate)) return candidate;
  }
}
