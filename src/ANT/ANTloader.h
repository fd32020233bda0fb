// The reading side of the version-one format, shared by ANTload.cpp (engine, global section,
// settings, tables) and ANTloadGrammars.cpp (grammars and the per-configuration messages).
// References are resolved through maps built while reading, never through half-loaded model
// lookups; every failure names the file position through the reader.
#pragma once

#include <unordered_map>
#include <vector>

#include "ARFobject.h"
#include "QVMengineInternal.h"

class ANTloader {
public:
  ANTloader(QVMengineInternal& engine, ARFreader& reader) : m_Engine(engine), m_Reader(reader) {}
  void load();

private:
  [[noreturn]] void raise(const ARFposition& where, const COLstring& what) const { m_Reader.raise(where, what); }

  // --- ANTload.cpp
  void loadEngineProperties(ARFobj& engineObj);
  void loadTables(ARFobj& global);
  void loadMessages(ARFobj& global);
  void loadTableGrammarGlobal(ARFobj& obj, QVMtableGrammarInternal& grammar, bool isRoot);
  void loadConfig(ARFobj& configObj);
  void loadMessageOrder(ARFobj& config);
  void loadTableConfig(ARFobj& config);
  void loadTableMapSetConfig(ARFobj& setObj, QVMtableDefinitionInternal& table, QVMtableMapSet& set);
  void loadAppSettings(ARFobj& config);
  void loadSepInfo(ARFobj& settings);
  void loadDbInfo(ARFobj& settings);
  void loadEmbeddedPythonModulesInfo(ARFobj& settings);
  void loadMessageNodeAddress(ARFobj& parent, QVMmessageNodeAddress& address);
  uint32_t messageIdByName(const COLstring& name, const ARFposition& where) const;
  QVMtableDefinitionInternal* tableByName(const COLstring& name, const ARFposition& where) const;
  uint32_t mapSetIdByName(const QVMtableDefinitionInternal& table, const COLstring& name,
                          const ARFposition& where) const;

  // --- ANTloadGrammars.cpp
  void loadDateTimes(ARFobj& config);
  void loadComposites(ARFobj& config);
  void loadCompositeField(ARFobj& fieldObj, QVMcompositeGrammar& composite);
  void loadSegments(ARFobj& config);
  void loadSegmentField(ARFobj& fieldObj, QVMsegmentGrammar& segment);
  void loadSegmentValidationRule(ARFobj& ruleObj, QVMsegmentGrammar& segment, uint32_t fieldIndex);
  void loadMessageConfig(ARFobj& config);
  void loadMessageIdentifier(ARFobj& identifierObj, QVMmessageConfig& record);
  void loadPythonHookInfo(ARFobj& message, QVMmessageConfig& record);
  void loadMessageGrammarRoot(ARFobj& message, QVMmessageGrammar& root);
  void loadMessageGrammarChildren(ARFobj& parentObj, QVMmessageGrammar& parent);
  void loadMessageGrammarFlags(ARFobj& obj, QVMmessageGrammar& grammar);
  void loadTableGrammarConfig(ARFobj& obj, QVMtableGrammarInternal& grammar, bool isRoot);
  QVMmessageGrammar* messageGrammarById(uint32_t id, const ARFposition& where) const;
  QVMcompositeGrammar* compositeByName(const COLstring& name, const ARFposition& where) const;
  QVMdateTimeGrammar* dateTimeByName(const COLstring& name, const ARFposition& where) const;
  size_t segmentById(uint32_t id, const ARFposition& where) const;

  QVMengineInternal& m_Engine;
  ARFreader& m_Reader;
  size_t m_ConfigIndex = 0;

  std::unordered_map<COLstring, size_t> m_MessageByName;
  std::unordered_map<COLstring, size_t> m_TableByName;
  // Per configuration.
  std::unordered_map<COLstring, QVMcompositeGrammar*> m_CompositeByName;
  std::unordered_map<COLstring, QVMdateTimeGrammar*> m_DateTimeByName;
  std::unordered_map<uint32_t, size_t> m_SegmentById;
  // Per message of a configuration.
  std::unordered_map<uint32_t, QVMmessageGrammar*> m_GrammarById;
};
