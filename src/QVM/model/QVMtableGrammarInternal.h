// QVMtableGrammarInternal: the tree of one message that lays it out on tables. Leaves name
// a table and one of its map sets; groups hold sub-grammars. Per configuration each node is
// tied to a node of the message grammar (its root), from which the map set's addresses count.
// A COLreference only so that the handle interface can tell its kind: the tree owns its nodes,
// and grammars a host makes alone are counted by the handle layer.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class COLostream;
class QVMengineInternal;
class QVMmessageDefinitionInternal;
class QVMmessageGrammar;
class QVMtableDefinitionInternal;

// The record of one node in one configuration.
class QVMtableGrammarConfig {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMmessageGrammar* messageGrammar() const { return m_MessageGrammar; }
  void setMessageGrammar(QVMmessageGrammar* grammar) { m_MessageGrammar = grammar; }
  uint32_t messageGrammarFieldIndex() const { return m_MessageGrammarFieldIndex; }
  void setMessageGrammarFieldIndex(uint32_t index) { m_MessageGrammarFieldIndex = index; }
  uint32_t tableMapSetIndex() const { return m_TableMapSetIndex; }
  void setTableMapSetIndex(uint32_t index) { m_TableMapSetIndex = index; }

private:
  QVMmessageGrammar* m_MessageGrammar = nullptr;
  uint32_t m_MessageGrammarFieldIndex = npos;
  uint32_t m_TableMapSetIndex = 0;
};

class QVMtableGrammarInternal : public COLreference {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMtableGrammarInternal();
  // Deep; the copy's children point at the copy, the copy itself keeps the source's parent
  // and message until initializePointers / setMessage.
  QVMtableGrammarInternal(const QVMtableGrammarInternal& other);
  QVMtableGrammarInternal& operator=(const QVMtableGrammarInternal& other);
  ~QVMtableGrammarInternal() override;

  // --- configuration tracking (the whole subtree follows)
  void initConfig(QVMmessageDefinitionInternal* message);
  void addConfig();
  void removeConfig(size_t index);
  size_t countOfConfig() const { return m_Configs.size(); }
  QVMtableGrammarConfig& config(size_t index);
  const QVMtableGrammarConfig& config(size_t index) const;
  QVMtableGrammarConfig& currentConfig();
  const QVMtableGrammarConfig& currentConfig() const;

  bool isNode() const { return m_IsNode; }
  // A leaf has no name of its own.
  void setIsNode(bool value);
  // The table's name for a leaf, the own name for a group.
  const COLstring& name() const;
  const COLstring& ownName() const { return m_Name; }
  void setName(const COLstring& name);
  QVMtableGrammarInternal* parent() const { return m_Parent; }
  void setParent(QVMtableGrammarInternal* pParent);
  QVMmessageDefinitionInternal* message() const;
  void setMessage(QVMmessageDefinitionInternal* message);
  QVMtableDefinitionInternal* table() const;
  void setTable(QVMtableDefinitionInternal* table);

  size_t countOfSubGrammar() const { return m_SubGrammars.size(); }
  QVMtableGrammarInternal* subGrammar(size_t GrammarIndex) const;
  QVMtableGrammarInternal* addSubGrammarAt(size_t GrammarIndex);
  void removeSubGrammar(size_t GrammarIndex);
  // Takes over a node from elsewhere as child `i`; its old parent keeps an empty slot.
  void setGrammar(size_t GrammarIndex, QVMtableGrammarInternal* grammar);

  // --- the current configuration
  QVMmessageGrammar* messageGrammar() const { return currentConfig().messageGrammar(); }
  void setMessageGrammar(QVMmessageGrammar* grammar) { currentConfig().setMessageGrammar(grammar); }
  void setMessageGrammarIfNonNull(QVMmessageGrammar* pGrammar);
  uint32_t messageGrammarFieldIndex() const { return currentConfig().messageGrammarFieldIndex(); }
  void setMessageGrammarFieldIndex(uint32_t index) { currentConfig().setMessageGrammarFieldIndex(index); }
  uint32_t tableMapSetIndex() const { return currentConfig().tableMapSetIndex(); }
  void setTableMapSetIndex(uint32_t MapSetIndex);

  void removeSubGrammarRoots();
  void clearGrammar();
  void initializePointers(QVMtableGrammarInternal* parent);
  void initializeChildPointers();
  // Clears, in every configuration, roots that point at `grammar` (which is going away).
  void forgetMessageGrammar(const QVMmessageGrammar* grammar);

private:
  QVMengineInternal* engine() const;
  size_t currentConfigIndex() const;
  void assignName(const COLstring& name);

  COLstring m_Name;
  bool m_IsNode = false;
  std::vector<std::unique_ptr<QVMtableGrammarInternal>> m_SubGrammars;
  QVMtableDefinitionInternal* m_Table = nullptr;
  QVMmessageDefinitionInternal* m_Message = nullptr;
  QVMtableGrammarInternal* m_Parent = nullptr;
  std::vector<QVMtableGrammarConfig> m_Configs;
};

// Sets the root of a node; a leaf asked to keep its mappings gets a new map set whose
// addresses reach the same fields from the new root.
void QVMtableGrammarMakeRubberBandedMessageGrammar(QVMtableGrammarInternal& Grammar, QVMmessageGrammar* newRoot,
                                                   uint32_t newField, bool keepMappings);
void QVMtableGrammarCopyParentMappingsToChild(QVMtableGrammarInternal& Grammar, size_t childIndex,
                                              const COLstring& name);
void QVMtableGrammarCopyChildMappingsToParent(QVMtableGrammarInternal& Grammar, size_t childIndex,
                                              const COLstring& name, size_t stepsToDrop);
// A depth-first walk over the table grammars of all messages.
QVMtableGrammarInternal* QVMtableGrammarFirst(QVMengineInternal& engine);
QVMtableGrammarInternal* QVMtableGrammarFindNextSibling(const QVMtableGrammarInternal* pCurrentSibling);
QVMtableGrammarInternal* QVMtableGrammarFindNextGrammar(const QVMtableGrammarInternal* grammar);
QVMtableGrammarInternal* QVMtableGrammarGetNextTableGrammar(const QVMtableGrammarInternal* grammar);
// The first leaf after `start` that uses that map set of that table; `start` isn't examined.
QVMtableGrammarInternal* QVMtableGrammarFindGrammarsUsingMapSet(const QVMtableGrammarInternal* start,
                                                               const QVMtableDefinitionInternal* table,
                                                               uint32_t mapSetIndex);
// In the current configuration, clears roots that point at `messageGrammar`.
void QVMclearGrammarRoots(QVMtableGrammarInternal& grammar, const QVMmessageGrammar* messageGrammar);
void QVMtableGrammarInternalPrintOn(const QVMtableGrammarInternal& grammar, COLostream& stream, unsigned indent);
