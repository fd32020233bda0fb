// QVMmessageDefinitionInternal: one message of the definition. Its name, description and
// table grammar are held once; identifiers, grammar tree and scripts once per configuration.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLstring.h"
#include "QVMgrammarTypes.h"
#include "QVMlanguage.h"
#include "QVMmessageGrammar.h"
#include "QVMtableGrammarInternal.h"

class QVMengineInternal;

// A hook that calls one function of one script module with named parameters.
class QVMpythonHookInfo {
public:
  const COLstring& module() const { return m_Module; }
  void setModule(const COLstring& module) { m_Module = module; }
  const COLstring& name() const { return m_Name; }
  void setName(const COLstring& name) { m_Name = name; }
  const std::vector<COLstring>& parameterNames() const { return m_ParameterNames; }
  std::vector<COLstring>& parameterNames() { return m_ParameterNames; }
  bool operator==(const QVMpythonHookInfo&) const = default;

  // Empty module and name, one parameter "segment_list"; made on first use.
  static const QVMpythonHookInfo& defaultSegmentListHook();

private:
  COLstring m_Module;
  COLstring m_Name;
  std::vector<COLstring> m_ParameterNames;
};

// The record of one message in one configuration.
class QVMmessageConfig {
public:
  QVMmessageConfig();
  QVMmessageConfig(const QVMmessageConfig& other);
  QVMmessageConfig& operator=(const QVMmessageConfig& other);
  QVMmessageConfig(QVMmessageConfig&&) noexcept = default;
  QVMmessageConfig& operator=(QVMmessageConfig&&) noexcept = default;
  ~QVMmessageConfig();

  bool ignoreUnknownSegments() const { return m_IgnoreUnknownSegments; }
  void setIgnoreUnknownSegments(bool value) { m_IgnoreUnknownSegments = value; }
  bool ignoreSegmentOrder() const { return m_IgnoreSegmentOrder; }
  void setIgnoreSegmentOrder(bool value) { m_IgnoreSegmentOrder = value; }
  QVMpythonHookInfo& segmentListFunctionHook() { return m_SegmentListFunctionHook; }
  const QVMpythonHookInfo& segmentListFunctionHook() const { return m_SegmentListFunctionHook; }
  LANfunction& inFunction() { return m_InFunction; }
  const LANfunction& inFunction() const { return m_InFunction; }
  LANfunction& outFunction() { return m_OutFunction; }
  const LANfunction& outFunction() const { return m_OutFunction; }
  size_t countOfIdentifier() const { return m_Identifiers.size(); }
  QVMidentifier* identifier(size_t index) const;
  QVMidentifier* insertIdentifierAt(size_t index);
  void removeIdentifier(size_t index);
  QVMmessageGrammar* rootMessageGrammar() const { return m_RootMessageGrammar.get(); }
  // The message this record belongs to, told to its identifiers; a copy belongs to none.
  void setMessage(const QVMmessageDefinitionInternal* message);

private:
  // The message's engine hears of a change of the identifiers.
  void identifiersEdited() const;

  const QVMmessageDefinitionInternal* m_Message = nullptr;
  bool m_IgnoreUnknownSegments = true;
  bool m_IgnoreSegmentOrder = false;
  QVMpythonHookInfo m_SegmentListFunctionHook;
  LANfunction m_InFunction;
  LANfunction m_OutFunction;
  std::vector<std::unique_ptr<QVMidentifier>> m_Identifiers;
  std::unique_ptr<QVMmessageGrammar> m_RootMessageGrammar;
};

// Cleans names in place: blanks become '_', anything but letters, digits, '_' and the
// kept character goes.
class QVMnameSanitizer {
public:
  explicit QVMnameSanitizer(char kept = '.') : m_Kept(kept) {}
  void sanitizedName(COLstring& name) const;
  // For schema names, where the character held is the dialect's delimiter: punctuation and
  // the delimiter go, ":" and ";" become "_", bytes from 128 up go.
  void sanitizedXmlName(const COLstring& name, COLstring& out) const;
  char character() const { return m_Kept; }

private:
  char m_Kept;
};

class QVMmessageDefinitionInternal {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMmessageDefinitionInternal();
  // Copies every member and the back pointers as they are; the copied table grammar is
  // re-tied to the copy.
  QVMmessageDefinitionInternal(const QVMmessageDefinitionInternal& other);
  QVMmessageDefinitionInternal& operator=(const QVMmessageDefinitionInternal& other);
  ~QVMmessageDefinitionInternal();

  void init(QVMengineInternal* engine, uint32_t index);
  void addConfig();
  void removeConfig(size_t index);
  size_t countOfConfig() const { return m_Configs.size(); }
  QVMmessageConfig& config(size_t index);
  const QVMmessageConfig& config(size_t index) const;
  QVMmessageConfig& currentConfig();
  const QVMmessageConfig& currentConfig() const;
  QVMengineInternal* rootEngine() const { return m_RootEngine; }
  uint32_t messageIndex() const { return m_MessageIndex; }

  const COLstring& name() const;
  void setName(const COLstring& name);
  const COLstring& description() const { return m_Description; }
  void setDescription(const COLstring& text) { m_Description = text; }
  QVMtableGrammarInternal& tableGrammar() { return m_TableGrammar; }
  const QVMtableGrammarInternal& tableGrammar() const { return m_TableGrammar; }
  void clearTableGrammar();

  // --- the current configuration
  QVMmessageGrammar* messageGrammar() const;
  bool ignoreUnknownSegments() const { return currentConfig().ignoreUnknownSegments(); }
  void setIgnoreUnknownSegments(bool value) { currentConfig().setIgnoreUnknownSegments(value); }
  bool ignoreSegmentOrder() const { return currentConfig().ignoreSegmentOrder(); }
  void setIgnoreSegmentOrder(bool value) { currentConfig().setIgnoreSegmentOrder(value); }
  size_t countOfIdentifier() const { return currentConfig().countOfIdentifier(); }
  QVMidentifier* identifier(size_t index) const { return currentConfig().identifier(index); }
  const COLstring& identifierSegment(size_t index) const;
  void setIdentifierSegment(size_t index, const COLstring& segment);
  COLstring identifierValue(size_t index) const;
  void setIdentifierValue(size_t index, const COLstring& value);
  bool identifierValidRegex(size_t index) const;
  QVMmessageNodeAddress& identifierAddress(size_t index);
  QVMidentifier* insertIdentifierAt(size_t index);
  void removeIdentifier(size_t index) { currentConfig().removeIdentifier(index); }
  LANfunction& incomingFunction() { return currentConfig().inFunction(); }
  LANfunction& outgoingFunction() { return currentConfig().outFunction(); }

  // --- scripts by configuration index
  const COLstring& incomingFunctionCode(size_t configIndex) const { return config(configIndex).inFunction().code(); }
  void setIncomingFunctionCode(size_t configIndex, const COLstring& code) { config(configIndex).inFunction().setCode(code); }
  const COLstring& outgoingFunctionCode(size_t configIndex) const { return config(configIndex).outFunction().code(); }
  void setOutgoingFunctionCode(size_t configIndex, const COLstring& code) { config(configIndex).outFunction().setCode(code); }

private:
  friend class QVMtableGrammarInternal;
  void setupConfig(size_t index);

  COLstring m_Name;
  COLstring m_Description;
  QVMtableGrammarInternal m_TableGrammar;
  std::vector<QVMmessageConfig> m_Configs;
  QVMengineInternal* m_RootEngine = nullptr;
  uint32_t m_MessageIndex = npos;
};

// Points the identifier at the header segment when a grammar of that name exists, else at
// segment 0; the engine needs at least one segment.
void QVMmessageMakeDefaultIdentifier(QVMidentifier& identifier, QVMengineInternal& Engine);
QVMidentifier* QVMmessageAddDefaultIdentifier(QVMmessageDefinitionInternal& Message);
QVMidentifier* QVMmessageAddDefaultIdentifierAt(QVMmessageDefinitionInternal& Message, size_t index);
// The message after this one in index order; null after the last or outside the engine.
QVMmessageDefinitionInternal* QVMmessageFindNextMessage(const QVMmessageDefinitionInternal& message);
