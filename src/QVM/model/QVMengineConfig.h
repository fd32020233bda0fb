// QVMengineConfig: one named configuration of an engine: its settings, its segment,
// composite, enumeration and date-time grammars, its shared script modules, and the order
// in which messages are tried against an incoming message.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "COLstring.h"
#include "QVMconfig.h"
#include "QVMgrammarTypes.h"
#include "QVMlanguage.h"
#include "QVMnameIndex.h"

class QVMengineInternal;

// Tells the engine, when there is one, that a part of its definition changed.
void QVMdefinitionEdited(QVMengineInternal* engine);

// A shared script module of the definition, imported under a generated name.
class QVMembeddedPythonModule {
public:
  const COLstring& name() const { return m_Module.name(); }
  void setName(const COLstring& name) { m_Module.setName(name); }
  const COLstring& code() const { return m_Module.code(); }
  void setCode(const COLstring& code) { m_Module.setCode(code); }
  // Imports the present code again, as after a reset of the interpreter.
  void reload() { m_Module.setCode(COLstring(m_Module.code())); }
  LANembeddedPythonModule& pythonModule() { return m_Module; }
  const LANembeddedPythonModule& pythonModule() const { return m_Module; }

private:
  LANembeddedPythonModule m_Module;
};

// The match order: message indexes in the order they are tried. A position is an opaque,
// stable handle (null = none) that survives inserts and removals of other entries.
class QVMmatchOrder {
public:
  struct Node;
  using Position = Node*;

  QVMmatchOrder() = default;
  QVMmatchOrder(const QVMmatchOrder& other);
  QVMmatchOrder& operator=(const QVMmatchOrder& other);
  ~QVMmatchOrder() { clear(); }

  bool empty() const { return m_First == nullptr; }
  size_t size() const { return m_Size; }
  Position first() const { return m_First; }
  Position last() const { return m_Last; }
  static Position next(Position position);
  static Position previous(Position position);
  static uint32_t messageIndex(Position position);
  static void setMessageIndex(Position position, uint32_t messageIndex);
  // Before `position`; null appends.
  Position insert(Position position, uint32_t messageIndex);
  void remove(Position position);
  void clear();
  std::vector<uint32_t> toVector() const;

private:
  Position m_First = nullptr;
  Position m_Last = nullptr;
  size_t m_Size = 0;
};

struct QVMmatchOrder::Node {
  uint32_t messageIndex;
  Node* previous;
  Node* next;
};

class QVMengineConfig {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMengineConfig();
  QVMengineConfig(const QVMengineConfig& other);
  QVMengineConfig& operator=(const QVMengineConfig& other);
  ~QVMengineConfig();

  void init(QVMengineInternal* engine);
  QVMengineInternal* rootEngine() const { return m_RootEngine; }
  QVMconfig& config() { return m_Config; }
  const QVMconfig& config() const { return m_Config; }
  const COLstring& configName() const { return m_ConfigName; }
  void setConfigName(const COLstring& name) { m_ConfigName = name; }
  uint32_t ackMessageIndex() const { return m_AckMessageIndex; }
  void setAckMessageIndex(uint32_t index) { m_AckMessageIndex = index; }

  // --- shared script modules
  size_t countOfEmbeddedPythonModule() const { return m_Modules.size(); }
  QVMembeddedPythonModule* embeddedPythonModule(size_t index) const;
  QVMembeddedPythonModule* addEmbeddedPythonModule();
  void removeEmbeddedPythonModule(size_t index);
  QVMembeddedPythonModule* findEmbeddedPythonModule(const COLstring& name) const;

  // --- grammars; add returns the new (last) index
  size_t countOfSegment() const { return m_Segments.size(); }
  QVMsegmentGrammar* segment(size_t SegmentIndex) const;
  size_t addSegment();
  void removeSegment(size_t SegmentIndex);
  uint32_t segmentByName(const COLstring& name) const { return m_SegmentNames.find(m_Segments, name); }
  size_t countOfComposite() const { return m_Composites.size(); }
  QVMcompositeGrammar* composite(size_t CompositeIndex) const;
  size_t addComposite();
  void removeComposite(size_t CompositeIndex);
  uint32_t compositeByName(const COLstring& name) const { return m_CompositeNames.find(m_Composites, name); }
  size_t countOfEnumerationGrammar() const { return m_Enumerations.size(); }
  QVMenumerationGrammar* enumerationGrammar(size_t EnumerationIndex) const;
  size_t addEnumerationGrammar();
  void removeEnumerationGrammar(size_t EnumerationIndex);
  uint32_t enumerationGrammarByName(const COLstring& name) const {
    return m_EnumerationNames.find(m_Enumerations, name);
  }
  size_t countOfDateTimeGrammar() const { return m_DateTimes.size(); }
  QVMdateTimeGrammar* dateTimeGrammar(size_t DateTimeIndex) const;
  size_t addDateTimeGrammar();
  void removeDateTimeGrammar(size_t DateTimeIndex);
  uint32_t dateTimeGrammarByName(const COLstring& name) const { return m_DateTimeNames.find(m_DateTimes, name); }
  // Called by a listed grammar whose name changed, so that the name lookups stay exact.
  void noteGrammarRenamed(const QVMsegmentGrammar* grammar, const COLstring& oldName);
  void noteGrammarRenamed(const QVMcompositeGrammar* grammar, const COLstring& oldName);
  void noteGrammarRenamed(const QVMenumerationGrammar* grammar, const COLstring& oldName);
  void noteGrammarRenamed(const QVMdateTimeGrammar* grammar, const COLstring& oldName);

  // --- match order
  // Whoever takes the order writable may change it.
  QVMmatchOrder& matchOrder() {
    QVMdefinitionEdited(m_RootEngine);
    return m_MatchOrder;
  }
  const QVMmatchOrder& matchOrder() const { return m_MatchOrder; }
  bool lastMessageMatchesAll() const { return m_LastMessageMatchesAll; }
  void setLastMessageMatchesAll(bool value) {
    m_LastMessageMatchesAll = value;
    QVMdefinitionEdited(m_RootEngine);
  }

private:
  void copyFrom(const QVMengineConfig& other);
  void invalidateNameIndexes();
  // Sub-fields of this configuration's composites typed by `removed` fall back to strings.
  void forgetInComposites(const void* removed);
  // Segment nodes of this configuration's message grammars that point at a removed segment
  // grammar are left without one, so that using them fails a precondition.
  void detachMessageGrammars(const std::unordered_set<const QVMsegmentGrammar*>& removed);

  std::vector<std::unique_ptr<QVMembeddedPythonModule>> m_Modules;
  std::vector<std::unique_ptr<QVMdateTimeGrammar>> m_DateTimes;
  std::vector<std::unique_ptr<QVMcompositeGrammar>> m_Composites;
  std::vector<std::unique_ptr<QVMenumerationGrammar>> m_Enumerations;
  std::vector<std::unique_ptr<QVMsegmentGrammar>> m_Segments;
  QVMmatchOrder m_MatchOrder;
  bool m_LastMessageMatchesAll = false;
  COLstring m_ConfigName;
  QVMconfig m_Config;
  QVMengineInternal* m_RootEngine = nullptr;
  uint32_t m_AckMessageIndex = npos;
  QVMnameIndex<QVMsegmentGrammar, &QVMsegmentGrammar::name> m_SegmentNames;
  QVMnameIndex<QVMcompositeGrammar, &QVMcompositeGrammar::name> m_CompositeNames;
  QVMnameIndex<QVMenumerationGrammar, &QVMenumerationGrammar::name> m_EnumerationNames;
  QVMnameIndex<QVMdateTimeGrammar, &QVMdateTimeGrammar::name> m_DateTimeNames;
};
