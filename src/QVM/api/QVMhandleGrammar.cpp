// The table grammar family of the handle interface. Grammars reached through an engine
// belong to it and are passed as plain addresses; grammars a host makes on its own are
// counted here, since the model keeps grammars in owning trees rather than by count. Every
// handle is checked to be a table grammar (or, where one is asked for, a message grammar).
#include <memory>
#include <mutex>
#include <unordered_map>

#include "QVMhandleSupport.h"
#include "QVMlistedGrammar.h"
#include "QVMmessageGrammar.h"
#include "QVMtableDefinitionInternal.h"

namespace {

std::mutex g_GrammarMutex;
std::unordered_map<QVMtableGrammarInternal*, int32_t>& standaloneGrammars() {
  static auto* grammars = new std::unordered_map<QVMtableGrammarInternal*, int32_t>;
  return *grammars;
}

const char kFamily[] = "a table grammar";

QVMtableGrammarInternal& grammarObject(void* handle) {
  return QVMhandleObject<QVMtableGrammarInternal>(handle, kFamily);
}

// Any kind of grammar: the reference functions count none but those made alone.
bool isGrammar(COLreference& object) {
  return dynamic_cast<QVMtableGrammarInternal*>(&object) || dynamic_cast<QVMmessageGrammar*>(&object) ||
         dynamic_cast<QVMlistedGrammar*>(&object);
}

template <class Body>
void* onGrammar(void* handle, Body body) {
  return QVMhandleGuard([&] { body(grammarObject(handle)); });
}

template <class Out, class Body>
void* fromGrammar(void* handle, Out* out, Body body) {
  return QVMhandleGuard([&] {
    QVMtableGrammarInternal& grammar = grammarObject(handle);
    QVM_HANDLE_OUT(out);
    body(grammar);
  });
}

QVMtableMapSet& currentMapSet(QVMtableGrammarInternal& grammar) {
  QVMtableDefinitionInternal* table = grammar.table();
  COL_PRECONDITION_TEXT(table != nullptr, "Table != NULL");
  return *table->mapSet(grammar.tableMapSetIndex());
}

}  // namespace

bool QVMhandleGrammarAddRef(void* handle) {
  COLreference& object = QVMhandleObject<COLreference>(handle, "a counted");
  if (!isGrammar(object)) return false;
  std::lock_guard<std::mutex> lock(g_GrammarMutex);
  auto found = standaloneGrammars().find(dynamic_cast<QVMtableGrammarInternal*>(&object));
  if (found != standaloneGrammars().end()) ++found->second;
  return true;
}

bool QVMhandleGrammarRelease(void* handle) {
  COLreference& object = QVMhandleObject<COLreference>(handle, "a counted");
  if (!isGrammar(object)) return false;
  QVMtableGrammarInternal* doomed = nullptr;
  {
    std::lock_guard<std::mutex> lock(g_GrammarMutex);
    auto found = standaloneGrammars().find(dynamic_cast<QVMtableGrammarInternal*>(&object));
    if (found == standaloneGrammars().end()) return true;
    if (--found->second == 0) {
      doomed = found->first;
      standaloneGrammars().erase(found);
    }
  }
  delete doomed;
  return true;
}

extern "C" {

void* _QVMtableGrammarCreate(void** grammar) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(grammar);
    auto made = std::make_unique<QVMtableGrammarInternal>();
    std::lock_guard<std::mutex> lock(g_GrammarMutex);
    standaloneGrammars().emplace(made.get(), 1);
    *grammar = QVMhandleOf(made.release());
  });
}

// Grammars owned by an engine aren't counted: for them both calls do nothing.
void* _QVMtableGrammarAddRef(void* grammar) {
  return QVMhandleGuard([&] {
    if (grammar) QVMhandleGrammarAddRef(QVMhandleOf(&grammarObject(grammar)));
  });
}

void* _QVMtableGrammarRelease(void* grammar) {
  return QVMhandleGuard([&] {
    if (grammar) QVMhandleGrammarRelease(QVMhandleOf(&grammarObject(grammar)));
  });
}

void* _QVMtableGrammarGetName(void* grammar, const char** name) {
  return fromGrammar(grammar, name, [&](QVMtableGrammarInternal& g) { *name = g.name().c_str(); });
}

void* _QVMtableGrammarSetName(void* grammar, const char* name) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) {
    QVM_HANDLE_OUT(name);
    g.setName(name);
  });
}

void* _QVMtableGrammarGetIsNode(void* grammar, int* isNode) {
  return fromGrammar(grammar, isNode, [&](QVMtableGrammarInternal& g) { *isNode = g.isNode() ? 1 : 0; });
}

void* _QVMtableGrammarSetIsNode(void* grammar, int isNode) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) {
    // A node holds a table; sub-grammars would be lost from every walk over it.
    COL_PRECONDITION_TEXT(!isNode || g.countOfSubGrammar() == 0, "CountOfSubGrammar == 0");
    g.setIsNode(isNode != 0);
  });
}

void* _QVMtableGrammarGetParent(void* grammar, void** parent) {
  return fromGrammar(grammar, parent, [&](QVMtableGrammarInternal& g) { *parent = QVMhandleOf(g.parent()); });
}

void* _QVMtableGrammarGetCountOfSubGrammar(void* grammar, unsigned* count) {
  return fromGrammar(grammar, count,
                     [&](QVMtableGrammarInternal& g) { *count = static_cast<unsigned>(g.countOfSubGrammar()); });
}

void* _QVMtableGrammarGetSubGrammar(void* grammar, unsigned index, void** subGrammar) {
  return fromGrammar(grammar, subGrammar,
                     [&](QVMtableGrammarInternal& g) { *subGrammar = QVMhandleOf(g.subGrammar(index)); });
}

void* _QVMtableGrammarAddSubGrammarAt(void* grammar, unsigned index, void** subGrammar) {
  return fromGrammar(grammar, subGrammar, [&](QVMtableGrammarInternal& g) {
    COL_PRECONDITION_TEXT(!g.isNode(), "!IsNode");
    *subGrammar = QVMhandleOf(g.addSubGrammarAt(index));
  });
}

void* _QVMtableGrammarSetSubGrammar(void* grammar, unsigned index, void* subGrammar) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) {
    QVMtableGrammarInternal& child = grammarObject(subGrammar);
    g.setGrammar(index, &child);
    // The tree owns it now; the host's references no longer keep it alive.
    std::lock_guard<std::mutex> lock(g_GrammarMutex);
    standaloneGrammars().erase(&child);
  });
}

void* _QVMtableGrammarRemoveSubGrammar(void* grammar, unsigned index) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) { g.removeSubGrammar(index); });
}

void* _QVMtableGrammarGetMessage(void* grammar, void** message) {
  return fromGrammar(grammar, message, [&](QVMtableGrammarInternal& g) { *message = g.message(); });
}

void* _QVMtableGrammarGetMessageGrammar(void* grammar, void** messageGrammar) {
  return fromGrammar(grammar, messageGrammar,
                     [&](QVMtableGrammarInternal& g) { *messageGrammar = QVMhandleOf(g.messageGrammar()); });
}

void* _QVMtableGrammarSetGrammarRoot(void* grammar, void* messageGrammar) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) {
    // Null goes on to the model, which refuses it with its own text.
    g.setMessageGrammarIfNonNull(
        messageGrammar ? &QVMhandleObject<QVMmessageGrammar>(messageGrammar, "a message grammar") : nullptr);
  });
}

void* _QVMtableGrammarGetFieldIndex(void* grammar, unsigned* fieldIndex) {
  return fromGrammar(grammar, fieldIndex,
                     [&](QVMtableGrammarInternal& g) { *fieldIndex = g.messageGrammarFieldIndex(); });
}

void* _QVMtableGrammarSetFieldIndex(void* grammar, unsigned fieldIndex) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) { g.setMessageGrammarFieldIndex(fieldIndex); });
}

void* _QVMtableGrammarGetTable(void* grammar, void** table) {
  return fromGrammar(grammar, table, [&](QVMtableGrammarInternal& g) { *table = g.table(); });
}

void* _QVMtableGrammarSetTable(void* grammar, void* table) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) {
    COL_PRECONDITION_TEXT(g.isNode(), "IsNode");
    g.setTable(static_cast<QVMtableDefinitionInternal*>(table));
  });
}

void* _QVMtableGrammarGetMapSetIndex(void* grammar, unsigned* mapSetIndex) {
  return fromGrammar(grammar, mapSetIndex, [&](QVMtableGrammarInternal& g) { *mapSetIndex = g.tableMapSetIndex(); });
}

void* _QVMtableGrammarSetMapSetIndex(void* grammar, unsigned mapSetIndex) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) { g.setTableMapSetIndex(mapSetIndex); });
}

void* _QVMtableGrammarCountOfMap(void* grammar, unsigned* count) {
  return fromGrammar(grammar, count,
                     [&](QVMtableGrammarInternal& g) { *count = static_cast<unsigned>(currentMapSet(g).countOfMap()); });
}

void* _QVMtableGrammarGetMap(void* grammar, unsigned column, void** mapItem) {
  return fromGrammar(grammar, mapItem, [&](QVMtableGrammarInternal& g) { *mapItem = &currentMapSet(g).map(column); });
}

void* _QVMtableGrammarSetMap(void* grammar, unsigned column, void* mapItem) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) {
    QVM_HANDLE_OUT(mapItem);
    currentMapSet(g).setMap(column, *static_cast<const QVMmapItem*>(mapItem));
  });
}

void* _QVMtableGrammarRemoveMap(void* grammar, unsigned column) {
  return onGrammar(grammar, [&](QVMtableGrammarInternal& g) { currentMapSet(g).map(column).clear(); });
}

}  // extern "C"
