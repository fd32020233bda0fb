// QVMengineInternal: the root of the in-memory definition model. It owns the configurations
// (at least one), the messages and tables shared by all of them, and the script interpreter
// every script of the definition runs in. Loaders and the handle interface write it;
// parsing, generation, XML and scripts read it. Name lookups are indexed.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "COLcriticalSection.h"
#include "COLostream.h"
#include "COLreference.h"
#include "COLstring.h"
#include "QVMconfig.h"
#include "QVMengineConfig.h"
#include "QVMlanguage.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMnameIndex.h"
#include "QVMtableDefinitionInternal.h"

class COLsink;

class QVMengineInternal : public COLreference {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;
  using MatchPosition = QVMmatchOrder::Position;

  QVMengineInternal();
  QVMengineInternal(const QVMengineInternal&) = delete;
  QVMengineInternal& operator=(const QVMengineInternal&) = delete;
  ~QVMengineInternal() override;

  LANengine& LanguageEngine() { return *m_LanguageEngine; }
  // A fresh interpreter: every script and shared module is compiled again.
  void resetLanguageEngine();

  // --- grammars of the current configuration
  size_t countOfSegment() const { return engineConfig().countOfSegment(); }
  QVMsegmentGrammar* segment(size_t SegmentIndex) const;
  size_t addSegment() { return engineConfig().addSegment(); }
  void deleteSegment(size_t SegmentIndex);
  uint32_t segmentByName(const COLstring& name) const { return engineConfig().segmentByName(name); }
  size_t countOfComposite() const { return engineConfig().countOfComposite(); }
  QVMcompositeGrammar* composite(size_t CompositeIndex) const;
  size_t addComposite() { return engineConfig().addComposite(); }
  void deleteComposite(size_t CompositeIndex);
  uint32_t compositeByName(const COLstring& name) const { return engineConfig().compositeByName(name); }
  size_t countOfEnumerationGrammar() const { return engineConfig().countOfEnumerationGrammar(); }
  QVMenumerationGrammar* enumerationGrammar(size_t EnumerationIndex) const;
  size_t addEnumerationGrammar() { return engineConfig().addEnumerationGrammar(); }
  void deleteEnumerationGrammar(size_t EnumerationIndex);
  uint32_t enumerationGrammarByName(const COLstring& name) const {
    return engineConfig().enumerationGrammarByName(name);
  }
  size_t countOfDateTimeGrammar() const { return engineConfig().countOfDateTimeGrammar(); }
  QVMdateTimeGrammar* dateTimeGrammar(size_t DateTimeIndex) const;
  size_t addDateTimeGrammar() { return engineConfig().addDateTimeGrammar(); }
  void deleteDateTimeGrammar(size_t DateTimeIndex);
  uint32_t dateTimeGrammarByName(const COLstring& name) const { return engineConfig().dateTimeGrammarByName(name); }

  // --- messages and tables, shared by all configurations
  size_t countOfMessage() const { return m_Messages.size(); }
  QVMmessageDefinitionInternal* message(size_t MessageIndex) const;
  // Appends and initialises a message; the match order is left alone (see QVMengineAddMessage).
  size_t addMessage();
  // Fixes ack indexes and match orders of every configuration, then removes the message.
  void deleteMessage(size_t MessageIndex);
  uint32_t messageByName(const COLstring& name) const;
  // The index of a message object, npos when it isn't one of this engine's.
  uint32_t messagePosition(const QVMmessageDefinitionInternal* message) const;
  size_t countOfTable() const { return m_Tables.size(); }
  QVMtableDefinitionInternal* table(size_t TableIndex) const;
  size_t addTable();
  void deleteTable(size_t TableIndex);
  uint32_t tableByName(const COLstring& name) const;

  // --- configurations
  size_t countOfConfig() const { return m_Configs.size(); }
  uint32_t currentConfig() const { return m_CurrentConfig; }
  void setCurrentConfig(uint32_t index);
  // A new, empty configuration; every table and message gets its record. Returns its index.
  size_t addConfiguration(const COLstring& name);
  void deleteConfig(size_t index);
  const COLstring& configName(size_t index) const { return engineConfig(index).configName(); }
  void setConfigName(size_t index, const COLstring& name) { engineConfig(index).setConfigName(name); }
  QVMengineConfig& engineConfig() { return engineConfig(m_CurrentConfig); }
  const QVMengineConfig& engineConfig() const { return engineConfig(m_CurrentConfig); }
  QVMengineConfig& engineConfig(size_t index);
  const QVMengineConfig& engineConfig(size_t index) const;
  // The index of a configuration object, npos when it isn't one of this engine's.
  uint32_t configPosition(const QVMengineConfig* config) const;
  QVMconfig& config() { return engineConfig().config(); }
  const QVMconfig& config() const { return engineConfig().config(); }

  uint32_t incomingConfigIndex() const { return m_IncomingConfigIndex; }
  void setIncomingConfigIndex(uint32_t index) { m_IncomingConfigIndex = index; }
  uint32_t outgoingConfigIndex() const { return m_OutgoingConfigIndex; }
  void setOutgoingConfigIndex(uint32_t index) { m_OutgoingConfigIndex = index; }
  uint32_t ackMessageIndex(size_t configIndex) const { return engineConfig(configIndex).ackMessageIndex(); }
  void setAckMessageIndex(size_t configIndex, uint32_t messageIndex) {
    engineConfig(configIndex).setAckMessageIndex(messageIndex);
  }
  uint32_t ackMessageIndexS() const { return engineConfig().ackMessageIndex(); }
  void setAckMessageIndexS(uint32_t messageIndex) { engineConfig().setAckMessageIndex(messageIndex); }

  // --- match order of the current configuration
  MatchPosition firstMessage() const { return engineConfig().matchOrder().first(); }
  MatchPosition nextMessage(MatchPosition node) const { return QVMmatchOrder::next(node); }
  MatchPosition previousMessage(MatchPosition node) const { return QVMmatchOrder::previous(node); }
  MatchPosition lastMessage() const { return engineConfig().matchOrder().last(); }
  MatchPosition insertMessageInMatchOrder(MatchPosition before, uint32_t messageIndex) {
    return engineConfig().matchOrder().insert(before, messageIndex);
  }
  void clearMatchingOrder() { engineConfig().matchOrder().clear(); }
  uint32_t matchIndexToMessageIndex(MatchPosition node) const { return QVMmatchOrder::messageIndex(node); }
  void setMatchIndexToMessageIndex(MatchPosition node, uint32_t messageIndex) {
    QVMmatchOrder::setMessageIndex(node, messageIndex);
  }
  void setLastMessageMatchesAll(bool value) { engineConfig().setLastMessageMatchesAll(value); }
  bool lastMessageMatchesAll() const { return engineConfig().lastMessageMatchesAll(); }
  void removeMessageFromMatchOrder(MatchPosition node) { engineConfig().matchOrder().remove(node); }

  // --- life cycle
  // Back to one empty configuration "default"; the description and line feed stay.
  void clear();
  // Every configuration without a match order gets the messages in index order.
  void postLoad();

  COLostream& logStream() { return *m_LogStream; }
  void setLogSink(COLsink* sink, bool own);
  // Held by whoever shares the engine across threads; the model itself never locks.
  COLcriticalSection& criticalSection() { return m_CriticalSection; }
  const COLstring& lineFeed() const { return m_LineFeed; }
  void setLineFeed(const COLstring& text) { m_LineFeed = text; }
  const COLstring& vmdDescription() const { return m_VmdDescription; }
  void setVmdDescription(const COLstring& text) { m_VmdDescription = text; }

  bool useMachineDoubleTypeInJavaGeneration() const { return m_UseMachineDoubleTypeInJavaGeneration; }
  void setUseMachineDoubleTypeInJavaGeneration(bool value) { m_UseMachineDoubleTypeInJavaGeneration = value; }
  bool rejectBadSegmentGrammar() const { return m_RejectBadSegmentGrammar; }
  void setRejectBadSegmentGrammar(bool value) { m_RejectBadSegmentGrammar = value; }
  bool usePassThroughMapping() const { return m_UsePassThroughMapping; }
  void setUsePassThroughMapping(bool value) { m_UsePassThroughMapping = value; }
  bool useDotNetProperties() const { return m_UseDotNetProperties; }
  void setUseDotNetProperties(bool value) { m_UseDotNetProperties = value; }

  // --- index upkeep, called by messages and tables when their names change
  void noteMessageRenamed(const QVMmessageDefinitionInternal* message, const COLstring& oldName);
  void noteTableRenamed(const QVMtableDefinitionInternal* table, const COLstring& oldName);

  // A cache that the parser derives from this definition (the identification index). The
  // engine only keeps it alive; the parser builds, checks and replaces it under the lock, and
  // the fill plans its map sets hold likewise.
  std::mutex& parserCacheMutex() const { return m_ParserCacheMutex; }
  std::shared_ptr<const void>& parserCache() const { return m_ParserCache; }

  // Counts the edits of what a parse derives plans from: grammars, map sets, configurations.
  // A plan remembers the count it was built at and is stale at any other, so that a parse can
  // tell with one load, without a lock, that what it holds still fits.  Edits happen while no
  // parse runs; the count only tells the next parse.
  uint64_t planGeneration() const { return m_PlanGeneration.value.load(std::memory_order_acquire); }
  void definitionEdited() { m_PlanGeneration.value.fetch_add(1, std::memory_order_acq_rel); }

  // Whether a column of any table has an incoming script in the current configuration, worked
  // out once per plan generation: most definitions have none, and a parse then skips the walk
  // over its tables that would look for them.
  bool hasIncomingTableEquation() const;

private:
  void setUpLanguageEngine();

  COLstring m_SearchPath;
  COLreferencePtr<LANengine> m_LanguageEngine;
  std::vector<std::unique_ptr<QVMtableDefinitionInternal>> m_Tables;
  std::vector<std::unique_ptr<QVMmessageDefinitionInternal>> m_Messages;
  uint32_t m_CurrentConfig = 0;
  uint32_t m_OutgoingConfigIndex = 0;
  uint32_t m_IncomingConfigIndex = 0;
  bool m_UseMachineDoubleTypeInJavaGeneration = false;
  bool m_RejectBadSegmentGrammar = false;
  bool m_UsePassThroughMapping = false;
  COLstring m_VmdDescription;
  bool m_UseDotNetProperties = true;
  std::vector<std::unique_ptr<QVMengineConfig>> m_Configs;
  COLstring m_LineFeed = "\r\n";
  COLcriticalSection m_CriticalSection;
  std::unique_ptr<COLostream> m_LogStream;
  mutable std::mutex m_ParserCacheMutex;
  mutable std::shared_ptr<const void> m_ParserCache;
  // On a line of its own: every parse thread reads it, and nothing it shares a line with may
  // be written while they do.
  struct alignas(64) Generation {
    std::atomic<uint64_t> value{1};
    char pad[64 - sizeof(std::atomic<uint64_t>)];
  } m_PlanGeneration;
  // (generation << 1) | answer of hasIncomingTableEquation(); 0 before the first question.
  mutable std::atomic<uint64_t> m_TableEquationsKnown{0};

  QVMnameIndex<QVMmessageDefinitionInternal, &QVMmessageDefinitionInternal::name> m_MessageNames;
  QVMnameIndex<QVMtableDefinitionInternal, &QVMtableDefinitionInternal::tableName> m_TableNames;
};

// Restores the current configuration at the end of a scope.
class QVMengineVersionChanger {
public:
  QVMengineVersionChanger(QVMengineInternal& engine, uint32_t configIndex) : m_Engine(engine), m_Index(configIndex) {}
  QVMengineVersionChanger(const QVMengineVersionChanger&) = delete;
  QVMengineVersionChanger& operator=(const QVMengineVersionChanger&) = delete;
  ~QVMengineVersionChanger();

private:
  QVMengineInternal& m_Engine;
  uint32_t m_Index;
};

// --- match order
void QVMengineInitMessageOrder(QVMengineConfig& config);
void QVMengineInitMessageOrder(QVMengineInternal& engine);
// addMessage, then the new message joins every match order: in front of a catch-all last
// message, else at the end. Returns the new index.
size_t QVMengineAddMessage(QVMengineInternal& engine);
COLstring QVMengineFindUniqueMessageName(const QVMengineInternal& engine, const COLstring& base);
// The 0-based position of the message in the current match order.
uint32_t QVMengineMessageMatchOrder(const QVMengineInternal& engine, const QVMmessageDefinitionInternal* message);
uint32_t QVMengineIgnoreMessageIndex(const QVMengineConfig& config);
uint32_t QVMengineIgnoreMessageIndex(const QVMengineInternal& engine);
uint32_t QVMengineIgnoreMessageIndex(const QVMengineInternal& engine, size_t configIndex);
void QVMengineSetIgnoreMessageIndex(QVMengineConfig& config, uint32_t messageIndex);
void QVMengineSetIgnoreMessageIndex(QVMengineInternal& engine, uint32_t messageIndex);
void QVMengineSetIgnoreMessageIndex(QVMengineInternal& engine, size_t configIndex, uint32_t messageIndex);
void QVMengineRemoveMessageFromMatchingOrder(QVMengineConfig& config, uint32_t messageIndex);

// Schema name spaces from "custom.cfg" in the working directory, if there is one; the
// library interface calls this after a load.
void QVMengineReadCustomConfig(QVMengineInternal& engine);
// The same from a given file; false (and nothing changed) when it can't be read.
bool QVMengineReadCustomConfigFile(QVMengineInternal& engine, const COLstring& path);

// Character sets and locales of the host.
class QVMcharacterSetFunctions {
public:
  static unsigned getLocale();
  static COLstring currentTranslationLocale();
  static unsigned countOfTranslationLocale() { return 0; }
  static COLstring translationLocale(unsigned) { return COLstring(); }
  [[noreturn]] static unsigned characterSetCount();
  [[noreturn]] static COLstring characterSet(unsigned index);
};
