// CARCengineInternal: the root of an archive definition. Read from a file or a block of
// memory, written only to memory: this platform does not write archive files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "CARCclasses.h"

// The root object: one fixed sequence of steps. From step 5 on, a file may end before any
// step, and later fields keep their defaults.
class CARCengineInternalPrivate : public CARCstored<CARC_ENGINE_ID, 2, CARCengineInternalPrivate> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;

  std::vector<CARCconfiguration> configs{1};
  std::vector<CARCtableDefinitionInternal*> tables;
  std::vector<CARCmessageDefinitionInternal*> messages;
  uint32_t currentConfig = 0;
  uint32_t incomingConfigIndex = 0, outgoingConfigIndex = 0;
  bool rejectBadSegmentGrammar = false;
  bool useMachineDoubleTypeInJavaGeneration = false;
  bool useDotNetProperties = true;
  COLstring vmdDescription;
  // Step 7: kept as read, written empty.
  COLstring skipped[2];
  // The last step that the last read or write began.
  unsigned stepsRead = 0;
  // Where each step began in the last write (index = step number), so that tests can cut a file
  // between steps.
  std::vector<size_t> stepOffsets;

private:
  // Each group returns false where a reader has met the end of the file.
  bool archiveOlderSteps(CARCarchive& archive);
  bool archiveConfigurationSteps(CARCarchive& archive);
  bool archiveSettingSteps(CARCarchive& archive);
  void archiveLaterSteps(CARCarchive& archive);
  bool step(CARCarchive& archive, unsigned number);
  void archiveMapSets(CARCarchive& archive, CARCtableDefinitionInternal& table, size_t config);
  void archiveValidationRules(CARCarchive& archive, CARCsegmentGrammar& segment);
  void archiveFurtherConfig(CARCarchive& archive, size_t index);

  // The count step 13 gives, which step 14 reads up to.
  uint32_t m_CountOfConfig = 1;
};

class CARCengineInternal {
public:
  CARCengineInternal();
  CARCengineInternal(const CARCengineInternal&) = delete;
  CARCengineInternal& operator=(const CARCengineInternal&) = delete;
  ~CARCengineInternal();

  void load(const COLstring& path);
  void loadFromMemory(const void* data, size_t size);
  // Always refused: files of this kind are read here, not written.
  [[noreturn]] void save(const COLstring& path, bool flag);
  // The whole file in a new array that the caller owns.
  void saveToMemory(std::unique_ptr<unsigned char[]>& data, size_t& size);

  CARCengineInternalPrivate& root() { return *m_Root; }
  const CARCengineInternalPrivate& root() const { return *m_Root; }
  // An object owned by this engine, for whoever fills it before a save.
  template <class T>
  T* make() {
    auto object = std::make_unique<T>();
    T* raw = object.get();
    m_Objects.push_back(std::move(object));
    return raw;
  }
  // Back to an empty definition of one configuration.
  void clear();

private:
  void read(CARCreader& reader);

  std::vector<std::unique_ptr<CARCserializable>> m_Objects;
  std::unique_ptr<CARCengineInternalPrivate> m_Root;
};
