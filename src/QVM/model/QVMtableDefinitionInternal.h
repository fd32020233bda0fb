// QVMtableDefinitionInternal: a table of the definition (name, columns) and, per
// configuration, the map sets that say which place of a message feeds each column.
// Tables belong to the engine and are shared by all configurations; the per-configuration
// records are kept in step by the engine when configurations come and go.
#pragma once

#include <cstdint>
#include <atomic>
#include <memory>
#include <vector>

#include "COLstring.h"
#include "QVMgrammarTypes.h"
#include "QVMlanguage.h"

class QVMengineInternal;
class QVMtableDefinitionInternal;

// One column mapping: the place of the message that feeds the column; depth 0 = unmapped.
class QVMmapItem {
public:
  QVMmapItem() = default;
  QVMmapItem(const QVMmapItem&) = default;
  QVMmapItem& operator=(const QVMmapItem&) = default;
  virtual ~QVMmapItem() = default;

  const QVMmessageNodeAddress& nodeAddress() const { return m_NodeAddress; }
  QVMmessageNodeAddress& nodeAddress() { return m_NodeAddress; }
  void setNodeAddress(const QVMmessageNodeAddress& address) { m_NodeAddress = address; }
  void clear() { m_NodeAddress.clear(); }

private:
  QVMmessageNodeAddress m_NodeAddress;
};

// One way of filling a table in one configuration: one map item per column, never fewer.
class QVMtableMapSet {
public:
  explicit QVMtableMapSet(QVMtableDefinitionInternal* table = nullptr);
  QVMtableMapSet(const QVMtableMapSet& other);
  // Takes the name and the items; the table stays, and the items are padded to it.
  QVMtableMapSet& operator=(const QVMtableMapSet& other);

  const COLstring& name() const { return m_Name; }
  void setName(const COLstring& name) { m_Name = name; }
  QVMtableDefinitionInternal* tableDefinition() const { return m_Table; }
  // Ties the set to a table and pads the items to its column count.
  void setTableDefinition(QVMtableDefinitionInternal* table);

  size_t countOfMap() const { return m_Items.size(); }
  const QVMmapItem& map(size_t MapIndex) const;
  QVMmapItem& map(size_t MapIndex);
  void setMap(size_t MapIndex, const QVMmapItem& item);
  // An empty item at the index, or at the end for npos.
  void insertColumn(size_t ColumnIndex);
  void removeColumn(size_t ColumnIndex);
  void moveColumn(size_t FromIndex, size_t ToIndex);

  // What a parse derives from the items (its fill plan), kept here for it and dropped whenever
  // an item may change: the mutable map() and every edit, which also tell the engine.  planInPlace
  // is for the parse's check that what it holds is still the current plan: one load, no count.
  // The owner is read and replaced only under the lock the parse keeps for it; edits of the
  // definition happen while no parse runs.
  const void* planInPlace() const { return m_PlanInPlace.load(std::memory_order_acquire); }
  const std::shared_ptr<const void>& planOwner() const { return m_PlanOwner; }
  void setPlan(std::shared_ptr<const void> plan) const {
    m_PlanInPlace.store(plan.get(), std::memory_order_release);
    m_PlanOwner = std::move(plan);
  }

private:
  void pad() const;
  void itemsChanged();

  QVMtableDefinitionInternal* m_Table = nullptr;
  COLstring m_Name = "Mapset";
  mutable std::vector<QVMmapItem> m_Items;
  mutable std::shared_ptr<const void> m_PlanOwner;
  mutable std::atomic<const void*> m_PlanInPlace{nullptr};
};

// The record of a table in one configuration; always at least one map set once tied to a table.
class QVMtableConfig {
public:
  QVMtableConfig() = default;
  explicit QVMtableConfig(QVMtableDefinitionInternal* table);
  QVMtableConfig(const QVMtableConfig& other);
  QVMtableConfig& operator=(const QVMtableConfig& other);
  QVMtableConfig(QVMtableConfig&&) noexcept = default;
  QVMtableConfig& operator=(QVMtableConfig&&) noexcept = default;

  QVMtableDefinitionInternal* table() const { return m_Table; }
  // Also ties every map set to the table.
  void setTable(QVMtableDefinitionInternal* table);
  size_t countOfMapSet() const { return m_MapSets.size(); }
  QVMtableMapSet* mapSet(size_t index) const { return m_MapSets[index].get(); }
  size_t addMapSet();
  void removeMapSet(size_t index) { m_MapSets.erase(m_MapSets.begin() + index); }
  void clearMapSets() { m_MapSets.clear(); }

private:
  QVMtableDefinitionInternal* m_Table = nullptr;
  std::vector<std::unique_ptr<QVMtableMapSet>> m_MapSets;
};

// The scripts of one column in one configuration.
class QVMcolumnConfig {
public:
  LANfunction& incomingFunction() { return m_IncomingFunction; }
  const LANfunction& incomingFunction() const { return m_IncomingFunction; }
  LANfunction& outgoingFunction() { return m_OutgoingFunction; }
  const LANfunction& outgoingFunction() const { return m_OutgoingFunction; }
  void setEngine(LANengine* engine) {
    m_IncomingFunction.setEngine(engine);
    m_OutgoingFunction.setEngine(engine);
  }

private:
  LANfunction m_IncomingFunction;
  LANfunction m_OutgoingFunction;
};

class QVMcolumnDefinition {
public:
  // Ties the column to its table and gives it one record per configuration of the engine.
  void init(QVMtableDefinitionInternal* table);
  void addConfig();
  void removeConfig(size_t index);

  uint32_t columnId() const { return m_ColumnId; }
  void setColumnId(uint32_t id) { m_ColumnId = id; }
  const COLstring& name() const { return m_Name; }
  void setName(const COLstring& name);
  QVMdataType dataType() const { return m_DataType; }
  void setDataType(QVMdataType type) { m_DataType = type; }
  const COLstring& description() const { return m_Description; }
  void setDescription(const COLstring& text) { m_Description = text; }
  bool isKey() const { return m_IsKey; }
  void setIsKey(bool value) { m_IsKey = value; }
  QVMtableDefinitionInternal* table() const { return m_Table; }
  size_t countOfConfig() const { return m_Configs.size(); }
  // The writable record tells the engine: its scripts may change through it.
  QVMcolumnConfig& config(size_t index);
  const QVMcolumnConfig& config(size_t index) const;

private:
  LANengine* languageEngine() const;

  uint32_t m_ColumnId = 0;
  COLstring m_Name;
  QVMdataType m_DataType = static_cast<QVMdataType>(0);
  COLstring m_Description;
  bool m_IsKey = false;
  QVMtableDefinitionInternal* m_Table = nullptr;
  std::vector<QVMcolumnConfig> m_Configs;
};

class QVMtableDefinitionInternal {
public:
  using DBaction = uint32_t;
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMtableDefinitionInternal();
  // Copies are whole: columns and map sets are re-tied to the copy.
  QVMtableDefinitionInternal(const QVMtableDefinitionInternal& other);
  QVMtableDefinitionInternal& operator=(const QVMtableDefinitionInternal& other);
  ~QVMtableDefinitionInternal();

  // --- configuration tracking
  void init(QVMengineInternal* engine);
  void addConfig();
  void removeConfig(size_t index);
  QVMtableConfig& tableConfig(size_t index);
  size_t countOfTableConfig() const { return m_Configs.size(); }
  QVMengineInternal* rootEngine() const { return m_RootEngine; }

  const COLstring& tableName() const { return m_TableName; }
  void setTableName(const COLstring& name);
  const COLstring& description() const { return m_Description; }
  void setDescription(const COLstring& text) { m_Description = text; }
  DBaction databaseAction() const { return m_DatabaseAction; }
  void setDatabaseAction(DBaction action) { m_DatabaseAction = action; }

  // --- columns
  size_t countOfColumn() const { return m_Columns.size(); }
  QVMcolumnDefinition& column(size_t ColumnIndex);
  const QVMcolumnDefinition& column(size_t ColumnIndex) const;
  // Inserts at the index (npos appends) and returns the index; every map set follows.
  size_t addColumn(const COLstring& name, QVMdataType type, size_t index = npos);
  void removeColumn(size_t ColumnIndex);
  void moveColumn(size_t FromIndex, size_t ToIndex);
  uint32_t columnIndex(const COLstring& name) const;
  uint32_t columnId(size_t ColumnIndex) const { return column(ColumnIndex).columnId(); }
  uint32_t columnIndexFromColumndId(uint32_t id) const;
  const COLstring& columnName(size_t ColumnIndex) const { return column(ColumnIndex).name(); }
  void setColumnName(size_t ColumnIndex, const COLstring& name) { column(ColumnIndex).setName(name); }
  QVMdataType columnType(size_t ColumnIndex) const { return column(ColumnIndex).dataType(); }
  void setColumnType(size_t ColumnIndex, QVMdataType type) { column(ColumnIndex).setDataType(type); }
  COLstring columnTypeAsString(size_t ColumnIndex) const;
  bool columnIsKey(size_t ColumnIndex) const { return column(ColumnIndex).isKey(); }
  void setColumnIsKey(size_t ColumnIndex, bool value) { column(ColumnIndex).setIsKey(value); }
  const COLstring& columnDescription(size_t ColumnIndex) const { return column(ColumnIndex).description(); }
  void setColumnDescription(size_t ColumnIndex, const COLstring& text) { column(ColumnIndex).setDescription(text); }

  // --- column scripts, by configuration index
  const COLstring& incomingFunctionCode(size_t configIndex, size_t ColumnIndex) const;
  void setIncomingFunctionCode(size_t configIndex, size_t ColumnIndex, const COLstring& code);
  const COLstring& outgoingFunctionCode(size_t configIndex, size_t ColumnIndex) const;
  void setOutgoingFunctionCode(size_t configIndex, size_t ColumnIndex, const COLstring& code);
  // ... and in the current configuration.  The writable ones tell the engine, as the caller
  // may set new code through them.
  LANfunction& incomingFunction(size_t ColumnIndex);
  LANfunction& outgoingFunction(size_t ColumnIndex);
  const LANfunction& incomingFunction(size_t ColumnIndex) const;
  const LANfunction& outgoingFunction(size_t ColumnIndex) const;
  // Whether any column has an incoming script in the current configuration.
  bool hasIncomingFunction() const;

  // What a writer derives from the names (its tags), kept here for it and dropped whenever a
  // name or the order of the columns changes.  Read and filled while messages are written, on
  // any thread; edits of the definition happen while none is.  The first one published stays
  // until the next edit, so what namesInPlace() gave a writer is never freed under it; writers
  // read it in place, since a counted copy per table would have every thread write one count.
  const void* namesInPlace() const { return m_NamesInPlace.load(std::memory_order_acquire); }
  std::shared_ptr<const void> namesCache() const { return m_NamesCache.load(std::memory_order_acquire); }
  void setNamesCache(std::shared_ptr<const void> cache) const {
    std::shared_ptr<const void> Expected;
    const void* Published = cache.get();
    if (m_NamesCache.compare_exchange_strong(Expected, std::move(cache), std::memory_order_acq_rel))
      m_NamesInPlace.store(Published, std::memory_order_release);
  }
  void namesChanged() {
    m_NamesInPlace.store(nullptr, std::memory_order_release);
    m_NamesCache.store(nullptr);
  }

  // --- map sets of the current configuration
  size_t countOfMapSet() const;
  QVMtableMapSet* mapSet(size_t SetIndex) const;
  size_t addMapSet();
  size_t copyMapSet(size_t CopyMapIndex);
  void removeMapSet(size_t SetIndex);
  // Leaves exactly one fresh map set.
  void mapSetClear();

private:
  QVMtableConfig& currentTableConfig() const;
  void retie();

  COLstring m_TableName;
  std::vector<QVMcolumnDefinition> m_Columns;
  mutable std::atomic<std::shared_ptr<const void>> m_NamesCache;
  mutable std::atomic<const void*> m_NamesInPlace{nullptr};
  COLstring m_Description;
  DBaction m_DatabaseAction = 1;
  QVMengineInternal* m_RootEngine = nullptr;
  std::vector<QVMtableConfig> m_Configs;
  uint32_t m_NextColumnId = 0;
};

// "Table" for an empty name, else the name cleaned as message names are.
COLstring QVMtableMakeSanitizedName(const COLstring& name);
// A clean name that no column but `columnIndex` carries: name, name1, name2, ...
COLstring QVMtableMakeUniqueColumnName(const QVMtableDefinitionInternal& table, size_t columnIndex,
                                       const COLstring& name);
