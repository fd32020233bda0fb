// Table grammar trees, their per-configuration roots, and the walks over them.
#include "QVMtableGrammarInternal.h"

#include "COLerror.h"
#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMtableDefinitionInternal.h"

QVMtableGrammarInternal::QVMtableGrammarInternal() = default;
QVMtableGrammarInternal::~QVMtableGrammarInternal() = default;

QVMtableGrammarInternal::QVMtableGrammarInternal(const QVMtableGrammarInternal& other)
    : COLreference(),
      m_Name(other.m_Name),
      m_IsNode(other.m_IsNode),
      m_Table(other.m_Table),
      m_Message(other.m_Message),
      m_Parent(other.m_Parent),
      m_Configs(other.m_Configs) {
  m_SubGrammars.reserve(other.m_SubGrammars.size());
  for (const auto& child : other.m_SubGrammars) {
    m_SubGrammars.push_back(child ? std::make_unique<QVMtableGrammarInternal>(*child) : nullptr);
    if (child) m_SubGrammars.back()->m_Parent = this;
  }
}

QVMtableGrammarInternal& QVMtableGrammarInternal::operator=(const QVMtableGrammarInternal& other) {
  if (this == &other) return *this;
  QVMtableGrammarInternal copy(other);
  assignName(copy.m_Name);
  m_IsNode = copy.m_IsNode;
  m_Table = copy.m_Table;
  m_Configs = std::move(copy.m_Configs);
  m_SubGrammars = std::move(copy.m_SubGrammars);
  initializeChildPointers();
  return *this;
}

QVMengineInternal* QVMtableGrammarInternal::engine() const { return message()->rootEngine(); }

size_t QVMtableGrammarInternal::currentConfigIndex() const {
  QVMengineInternal* root = engine();
  COL_PRECONDITION(root != NULL);
  return root->currentConfig();
}

// The root's own name is the message's name, which the engine indexes.
void QVMtableGrammarInternal::assignName(const COLstring& name) {
  if (name == m_Name) return;
  COLstring oldName = std::move(m_Name);
  m_Name = name;
  if (!m_Parent && m_Message && m_Message->rootEngine() && &m_Message->tableGrammar() == this)
    m_Message->rootEngine()->noteMessageRenamed(m_Message, oldName);
}

void QVMtableGrammarInternal::initConfig(QVMmessageDefinitionInternal* message) {
  m_Message = message;
  if (message && message->rootEngine()) m_Configs.resize(message->rootEngine()->countOfConfig());
  for (auto& child : m_SubGrammars)
    if (child) child->initConfig(message);
}

void QVMtableGrammarInternal::addConfig() {
  m_Configs.emplace_back();
  for (auto& child : m_SubGrammars)
    if (child) child->addConfig();
}

void QVMtableGrammarInternal::removeConfig(size_t index) {
  if (index < m_Configs.size()) m_Configs.erase(m_Configs.begin() + index);
  for (auto& child : m_SubGrammars)
    if (child) child->removeConfig(index);
}

QVMtableGrammarConfig& QVMtableGrammarInternal::config(size_t index) {
  COL_PRECONDITION(index < m_Configs.size());
  return m_Configs[index];
}

const QVMtableGrammarConfig& QVMtableGrammarInternal::config(size_t index) const {
  COL_PRECONDITION(index < m_Configs.size());
  return m_Configs[index];
}

QVMtableGrammarConfig& QVMtableGrammarInternal::currentConfig() { return config(currentConfigIndex()); }
const QVMtableGrammarConfig& QVMtableGrammarInternal::currentConfig() const { return config(currentConfigIndex()); }

void QVMtableGrammarInternal::setIsNode(bool value) {
  m_IsNode = value;
  if (value) assignName(COLstring());
}

const COLstring& QVMtableGrammarInternal::name() const {
  if (!m_IsNode) return m_Name;
  const QVMtableGrammarInternal* pMember = this;
  COL_PRECONDITION_TEXT(pMember->m_Table != NULL, "pMember->pTable != NULL");
  return m_Table->tableName();
}

void QVMtableGrammarInternal::setName(const COLstring& name) { assignName(name); }

void QVMtableGrammarInternal::setParent(QVMtableGrammarInternal* pParent) {
  COL_PRECONDITION(this != pParent);
  m_Parent = pParent;
}

QVMmessageDefinitionInternal* QVMtableGrammarInternal::message() const {
  COL_PRECONDITION_TEXT(m_Message != NULL, "pMember->pMessageDefinition != NULL");
  return m_Message;
}

void QVMtableGrammarInternal::setMessage(QVMmessageDefinitionInternal* message) {
  m_Message = message;
  for (auto& child : m_SubGrammars)
    if (child) child->setMessage(message);
}

QVMtableDefinitionInternal* QVMtableGrammarInternal::table() const {
  COL_PRECONDITION_TEXT(m_IsNode, "pMember->IsNode");
  return m_Table;
}

void QVMtableGrammarInternal::setTable(QVMtableDefinitionInternal* table) {
  if (!m_SubGrammars.empty())
    throw COLerror("This is not a node table grammar.", COL_ERROR_INCONSISTENT_DEFINITION);
  m_Table = table;
  for (auto& record : m_Configs) record.setTableMapSetIndex(0);
}

QVMtableGrammarInternal* QVMtableGrammarInternal::subGrammar(size_t GrammarIndex) const {
  COL_PRECONDITION(GrammarIndex < countOfSubGrammar());
  return m_SubGrammars[GrammarIndex].get();
}

QVMtableGrammarInternal* QVMtableGrammarInternal::addSubGrammarAt(size_t GrammarIndex) {
  COL_PRECONDITION(GrammarIndex <= countOfSubGrammar());
  auto it = m_SubGrammars.insert(m_SubGrammars.begin() + GrammarIndex, std::make_unique<QVMtableGrammarInternal>());
  QVMtableGrammarInternal* added = it->get();
  added->initConfig(m_Message);
  initializeChildPointers();
  return added;
}

void QVMtableGrammarInternal::removeSubGrammar(size_t GrammarIndex) {
  COL_PRECONDITION(GrammarIndex < countOfSubGrammar());
  m_SubGrammars.erase(m_SubGrammars.begin() + GrammarIndex);
}

void QVMtableGrammarInternal::setGrammar(size_t GrammarIndex, QVMtableGrammarInternal* grammar) {
  COL_PRECONDITION(GrammarIndex < countOfSubGrammar());
  COL_PRECONDITION(grammar != NULL);
  if (m_SubGrammars[GrammarIndex].get() == grammar) return;
  for (const QVMtableGrammarInternal* up = this; up; up = up->m_Parent)
    if (up == grammar) throw COLerror("A table grammar cannot be placed below itself.", COL_ERROR_PRECONDITION);
  if (QVMtableGrammarInternal* oldParent = grammar->m_Parent) {
    for (auto& slot : oldParent->m_SubGrammars)
      if (slot.get() == grammar) (void)slot.release();
  }
  m_SubGrammars[GrammarIndex].reset(grammar);
  grammar->m_Parent = this;
}

void QVMtableGrammarInternal::setMessageGrammarIfNonNull(QVMmessageGrammar* pGrammar) {
  COL_PRECONDITION(pGrammar != NULL);
  setMessageGrammar(pGrammar);
}

void QVMtableGrammarInternal::setTableMapSetIndex(uint32_t MapSetIndex) {
  COL_PRECONDITION(isNode());
  COL_PRECONDITION(table() != NULL);
  COL_PRECONDITION(table()->countOfMapSet() > MapSetIndex);
  currentConfig().setTableMapSetIndex(MapSetIndex);
}

void QVMtableGrammarInternal::removeSubGrammarRoots() {
  for (auto& child : m_SubGrammars) {
    if (!child) continue;
    child->setMessageGrammar(nullptr);
    child->removeSubGrammarRoots();
  }
}

void QVMtableGrammarInternal::clearGrammar() {
  assignName(COLstring());
  m_IsNode = false;
  m_SubGrammars.clear();
  QVMtableGrammarConfig& record = currentConfig();
  record.setMessageGrammar(nullptr);
  record.setTableMapSetIndex(npos);
  record.setMessageGrammarFieldIndex(npos);
}

void QVMtableGrammarInternal::initializePointers(QVMtableGrammarInternal* parent) {
  m_Parent = parent;
  initializeChildPointers();
}

void QVMtableGrammarInternal::initializeChildPointers() {
  for (auto& child : m_SubGrammars)
    if (child) child->initializePointers(this);
}

void QVMtableGrammarInternal::forgetMessageGrammar(const QVMmessageGrammar* grammar) {
  for (auto& record : m_Configs)
    if (record.messageGrammar() == grammar) record.setMessageGrammar(nullptr);
  for (auto& child : m_SubGrammars)
    if (child) child->forgetMessageGrammar(grammar);
}

// --- free functions

void QVMclearGrammarRoots(QVMtableGrammarInternal& grammar, const QVMmessageGrammar* messageGrammar) {
  if (grammar.messageGrammar() == messageGrammar) grammar.setMessageGrammar(nullptr);
  if (grammar.isNode()) return;
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i)
    if (QVMtableGrammarInternal* child = grammar.subGrammar(i)) QVMclearGrammarRoots(*child, messageGrammar);
}

namespace {
// Adds a map set named `name` to the leaf's table, selects it, and returns it with the
// map set that was selected before.
std::pair<QVMtableMapSet*, QVMtableMapSet*> addSelectedMapSet(QVMtableGrammarInternal& Grammar,
                                                              const COLstring& name) {
  QVMtableDefinitionInternal* table = Grammar.table();
  COL_PRECONDITION(table != NULL);
  uint32_t oldIndex = Grammar.tableMapSetIndex();
  QVMtableMapSet* oldSet = oldIndex < table->countOfMapSet() ? table->mapSet(oldIndex) : nullptr;
  size_t added = table->addMapSet();
  Grammar.setTableMapSetIndex(static_cast<uint32_t>(added));
  QVMtableMapSet* newSet = table->mapSet(added);
  newSet->setName(name);
  return {newSet, oldSet};
}
}  // namespace

void QVMtableGrammarCopyParentMappingsToChild(QVMtableGrammarInternal& Grammar, size_t childIndex,
                                              const COLstring& name) {
  auto [newSet, oldSet] = addSelectedMapSet(Grammar, name);
  if (!oldSet) return;
  size_t columns = Grammar.table()->countOfColumn();
  for (size_t c = 0; c < columns; ++c) {
    const QVMmessageNodeAddress& old = oldSet->map(c).nodeAddress();
    if (old.depth() > 0 && old.nodeIndex(0) == childIndex) newSet->map(c).nodeAddress().copyAddress(0, 1, old, 0);
  }
}

void QVMtableGrammarCopyChildMappingsToParent(QVMtableGrammarInternal& Grammar, size_t childIndex,
                                              const COLstring& name, size_t stepsToDrop) {
  auto [newSet, oldSet] = addSelectedMapSet(Grammar, name);
  if (!oldSet) return;
  size_t columns = Grammar.table()->countOfColumn();
  for (size_t c = 0; c < columns; ++c) {
    const QVMmessageNodeAddress& old = oldSet->map(c).nodeAddress();
    if (old.depth() == 0) continue;
    QVMmessageNodeAddress& address = newSet->map(c).nodeAddress();
    address.copyAddress(1, 0, old, stepsToDrop);
    address.setNodeAndRepeatIndex(0, static_cast<uint32_t>(childIndex), 0);
  }
}

namespace {
void keepLeafMappings(QVMtableGrammarInternal& Grammar, QVMmessageGrammar* oldRoot, QVMmessageGrammar* newRoot,
                      uint32_t newField) {
  constexpr uint32_t npos = QVMtableGrammarInternal::npos;
  uint32_t oldField = Grammar.messageGrammarFieldIndex();
  if (newField != npos || oldField != npos) {
    const COLstring name = "Field Map";
    if (newField == npos) {
      COL_PRECONDITION_TEXT(Grammar.messageGrammarFieldIndex() != npos, "Grammar.messageGrammarFieldIndex() != npos");
      QVMtableGrammarCopyChildMappingsToParent(Grammar, oldField, name, 0);
    } else if (oldField == npos) {
      QVMtableGrammarCopyParentMappingsToChild(Grammar, newField, name);
    } else {
      addSelectedMapSet(Grammar, name);
    }
    return;
  }
  COLstring name = newRoot->fullGrammarName();
  if (newRoot->parent() == oldRoot)
    QVMtableGrammarCopyParentMappingsToChild(Grammar, newRoot->childIndex(), name);
  else if (oldRoot->parent() == newRoot)
    QVMtableGrammarCopyChildMappingsToParent(Grammar, oldRoot->childIndex(), name, 0);
  else
    addSelectedMapSet(Grammar, name);
}
}  // namespace

void QVMtableGrammarMakeRubberBandedMessageGrammar(QVMtableGrammarInternal& Grammar, QVMmessageGrammar* newRoot,
                                                   uint32_t newField, bool keepMappings) {
  QVMmessageGrammar* pGrammar = newRoot;
  COL_PRECONDITION(pGrammar != NULL);
  QVMmessageGrammar* oldRoot = Grammar.messageGrammar();
  if (oldRoot) {
    if (oldRoot == newRoot && Grammar.messageGrammarFieldIndex() == newField) {
      Grammar.setMessageGrammarIfNonNull(newRoot);
      Grammar.setMessageGrammarFieldIndex(newField);
      return;
    }
    if (Grammar.isNode() && keepMappings && Grammar.table()) keepLeafMappings(Grammar, oldRoot, newRoot, newField);
    Grammar.removeSubGrammarRoots();
  }
  Grammar.setMessageGrammarIfNonNull(newRoot);
  Grammar.setMessageGrammarFieldIndex(newField);
}

QVMtableGrammarInternal* QVMtableGrammarFirst(QVMengineInternal& engine) {
  return engine.countOfMessage() == 0 ? nullptr : &engine.message(0)->tableGrammar();
}

QVMtableGrammarInternal* QVMtableGrammarFindNextSibling(const QVMtableGrammarInternal* pCurrentSibling) {
  COL_PRECONDITION(pCurrentSibling != NULL);
  QVMtableGrammarInternal* pParent = pCurrentSibling->parent();
  COL_PRECONDITION(pParent != NULL);
  size_t count = pParent->countOfSubGrammar();
  size_t i = 0;
  while (i < count && pParent->subGrammar(i) != pCurrentSibling) ++i;
  for (++i; i < count; ++i)
    if (QVMtableGrammarInternal* next = pParent->subGrammar(i)) return next;
  return nullptr;
}

QVMtableGrammarInternal* QVMtableGrammarFindNextGrammar(const QVMtableGrammarInternal* grammar) {
  while (grammar) {
    if (!grammar->parent()) {
      QVMmessageDefinitionInternal* next = QVMmessageFindNextMessage(*grammar->message());
      return next ? &next->tableGrammar() : nullptr;
    }
    if (QVMtableGrammarInternal* sibling = QVMtableGrammarFindNextSibling(grammar)) return sibling;
    grammar = grammar->parent();
  }
  return nullptr;
}

QVMtableGrammarInternal* QVMtableGrammarGetNextTableGrammar(const QVMtableGrammarInternal* grammar) {
  COL_PRECONDITION(grammar != NULL);
  if (!grammar->isNode())
    for (size_t i = 0; i < grammar->countOfSubGrammar(); ++i)
      if (QVMtableGrammarInternal* child = grammar->subGrammar(i)) return child;
  return QVMtableGrammarFindNextGrammar(grammar);
}

QVMtableGrammarInternal* QVMtableGrammarFindGrammarsUsingMapSet(const QVMtableGrammarInternal* start,
                                                               const QVMtableDefinitionInternal* table,
                                                               uint32_t mapSetIndex) {
  COL_PRECONDITION(table != NULL);
  COL_PRECONDITION(mapSetIndex < table->countOfMapSet());
  for (QVMtableGrammarInternal* node = start ? QVMtableGrammarGetNextTableGrammar(start) : nullptr; node;
       node = QVMtableGrammarGetNextTableGrammar(node)) {
    if (node->isNode() && node->table() == table && node->tableMapSetIndex() == mapSetIndex) return node;
  }
  return nullptr;
}

void QVMtableGrammarInternalPrintOn(const QVMtableGrammarInternal& grammar, COLostream& stream, unsigned indent) {
  COLstring pad(indent, ' ');
  stream << pad << "Table grammar: " << (grammar.isNode() && !grammar.table() ? grammar.ownName() : grammar.name());
  if (grammar.isNode()) {
    QVMtableDefinitionInternal* table = grammar.table();
    stream << " Table: " << (table ? table->tableName() : COLstring());
    uint32_t set = grammar.tableMapSetIndex();
    if (table && set < table->countOfMapSet()) stream << " (" << table->mapSet(set)->name() << ")";
  }
  if (grammar.messageGrammarFieldIndex() != QVMtableGrammarInternal::npos)
    stream << " (" << grammar.messageGrammarFieldIndex() + 1 << ")";
  stream.newline();
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i)
    if (const QVMtableGrammarInternal* child = grammar.subGrammar(i))
      QVMtableGrammarInternalPrintOn(*child, stream, indent + 3);
}
