#include "QVMtypedMessageTree.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMdateTimeInternal.h"
#include "QVMmessageNodeAddress.h"

namespace {
const COLstring NullString;
int64_t g_TotalNodeCount = 0;  // diagnostic only, not synchronised
}  // namespace

class QVMtypedTreePrivateType;

// A list whose length can drop below its storage: slots from `length` to `size` hold kept
// nodes, cleared when they come back into use. A kept node that took another tree's content
// (`replaceNode`) goes back to its own first. One whose own content is still shared with
// another tree leaves the list instead: clearing it would clear that other tree's node too,
// which may be in use again already. The slots themselves live in the storage of the pool.
struct QVMtypedSlots {
  QVMtypedMessageTree** nodes = nullptr;
  unsigned length = 0;
  unsigned size = 0;
  unsigned capacity = 0;

  void growTo(QVMtypedTreePool& Pool, unsigned Length, QVMtypedMessageTree* Parent);
  QVMtypedMessageTree* filled(QVMtypedTreePool& Pool, unsigned Index, QVMtypedMessageTree* Parent);
  // Drops the slots from `From` on, kept ones too.
  void dropFrom(QVMtypedTreePool& Pool, unsigned From);
};

class QVMtypedMessageTreePrivate {
public:
  QVMtypedMessageTreePrivate(QVMtypedTreePool* Pool, QVMtypedMessageTree* Home);

  // What a walk reads first, together at the front.
  QVMtypedSlots subNode;
  QVMtypedSlots repeatNode;
  const QVMtypedTreePrivateType* pType;
  QVMtypedMessageTree* parent = nullptr;
  bool IsNull = true;
  bool isPresent = false;
  // Left its list while lent; goes back to the pool when the last borrower gives it back.
  bool orphan = false;
  uint32_t dataPresent = QVMdataPresentNotConverted;
  union {
    int32_t integer;
    double number;
  } value{};
  // Handles of other nodes that share this member (replaceNode).
  uint32_t lent = 0;
  const QVMsegmentGrammar* segmentGrammar = nullptr;
  // Where this member and the nodes of its lists come from; the node it is the own member of.
  QVMtypedTreePool* pool;
  QVMtypedMessageTree* home;
  QVMtypedMessageTreePrivate* nextFree = nullptr;
  // Kept when the node changes type, so that a node reused for the next message, where the
  // same place may hold another type, allocates nothing.
  QVMdateTimeInternal dateTime;
  COLstring label;
  COLstring stringValue;
};

// Stateless, shared: how one data type keeps, resets and prints its value.
class QVMtypedTreePrivateType {
public:
  virtual ~QVMtypedTreePrivateType() = default;
  virtual QVMdataType type() const = 0;
  // The type's empty value; storage kept from an earlier value is reused, never freed.
  virtual void initialize(QVMtypedMessageTreePrivate* Member) const = 0;
  virtual void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const = 0;

  static const QVMtypedTreePrivateType* instance(QVMdataType Type);
  static void setType(QVMtypedMessageTreePrivate* Member, QVMdataType Type) {
    if (Member->pType->type() == Type) return;
    const QVMtypedTreePrivateType* next = instance(Type);
    Member->pType = next;
    next->initialize(Member);
  }
};

namespace {

class QVMtypedTreePrivateTypeString : public QVMtypedTreePrivateType {
public:
  QVMdataType type() const override { return QVMstringType; }
  void initialize(QVMtypedMessageTreePrivate* Member) const override { Member->stringValue.clear(); }
  void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const override {
    Stream << Member->stringValue;
  }
};

class QVMtypedTreePrivateTypeInteger : public QVMtypedTreePrivateType {
public:
  QVMdataType type() const override { return QVMintegerType; }
  void initialize(QVMtypedMessageTreePrivate* Member) const override { Member->value.integer = 0; }
  void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const override {
    Stream << Member->value.integer;
  }
};

class QVMtypedTreePrivateTypeDouble : public QVMtypedTreePrivateType {
public:
  QVMdataType type() const override { return QVMdoubleType; }
  void initialize(QVMtypedMessageTreePrivate* Member) const override { Member->value.number = 0.0; }
  void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const override {
    Stream << Member->value.number;
  }
};

class QVMtypedTreePrivateTypeDateTime : public QVMtypedTreePrivateType {
public:
  QVMdataType type() const override { return QVMdateTimeType; }
  void initialize(QVMtypedMessageTreePrivate* Member) const override {
    Member->dateTime = COLdateTime();  // null until set
  }
  void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const override {
    Member->dateTime.printOn(Stream);
  }
};

const QVMtypedTreePrivateTypeString kString;
const QVMtypedTreePrivateTypeInteger kInteger;
const QVMtypedTreePrivateTypeDouble kDouble;
const QVMtypedTreePrivateTypeDateTime kDateTime;

}  // namespace

const QVMtypedTreePrivateType* QVMtypedTreePrivateType::instance(QVMdataType Type) {
  const QVMtypedTreePrivateType* pType = nullptr;
  switch (Type) {
    case QVMstringType: pType = &kString; break;
    case QVMintegerType: pType = &kInteger; break;
    case QVMdoubleType: pType = &kDouble; break;
    case QVMdateTimeType: pType = &kDateTime; break;
    default: break;
  }
  COL_PRECONDITION_TEXT(pType != nullptr, "pType != 0");
  return pType;
}

// A node and its own member side by side: one piece of a pool's storage.
// The node first: a walk goes from it straight to the front of its member.
struct QVMtypedTreeEntry {
  explicit QVMtypedTreeEntry(QVMtypedTreePool* Pool) : handle(QVMtypedMessageTree::PoolEntry{}, &own), own(Pool, &handle) {}
  QVMtypedMessageTree handle;
  QVMtypedMessageTreePrivate own;
};

// The storage of one root: nodes in chunks that never move, and the slots of their lists in
// blocks of powers of two, each size with its own free list. Nothing goes back to the heap
// before the pool goes. A pool lives while its root does, and after it while a node of
// another tree still shares one of its members: each such share holds a count. Two trees
// that share each other's nodes and are both dropped without clearing keep each other.
struct QVMtypedTreePool {
  unsigned refs = 1;
  int64_t live = 0;
  // Nodes left free, first out first.
  QVMtypedMessageTreePrivate* freeFirst = nullptr;
  QVMtypedMessageTreePrivate* freeLast = nullptr;
  std::vector<std::pair<QVMtypedTreeEntry*, unsigned>> chunks;  // start, entries made
  unsigned chunkRoom = 0;
  std::array<QVMtypedMessageTree**, 32> freeBlocks{};
  std::vector<std::unique_ptr<QVMtypedMessageTree*[]>> arenas;
  QVMtypedMessageTree** arenaNext = nullptr;
  size_t arenaLeft = 0;
  // Roots put into a list by insertNode, kept alive with the tree.
  std::vector<COLreferencePtr<QVMtypedMessageTree>> inserted;

  ~QVMtypedTreePool() {
    // What the nodes took from other trees goes back first, so those trees' storage can go too.
    for (auto& [Start, Made] : chunks)
      for (unsigned i = 0; i < Made; ++i)
        if (Start[i].handle.borrows()) Start[i].handle.giveBack();
    inserted.clear();
    for (auto& [Start, Made] : chunks) {
      for (unsigned i = 0; i < Made; ++i) Start[i].~QVMtypedTreeEntry();
      ::operator delete(Start);
    }
    g_TotalNodeCount -= live;
  }
  void unref() {
    if (--refs == 0) delete this;
  }
  // Shares within one tree hold no count: only another tree's node keeps a pool alive.
  static void share(QVMtypedMessageTreePrivate* Taken, const QVMtypedMessageTree& By) {
    ++Taken->lent;
    if (Taken->pool != By.pOwn->pool) ++Taken->pool->refs;
  }

  // A node's own member, the node being its home.
  QVMtypedMessageTreePrivate* take(QVMtypedMessageTree* Parent) {
    ++live;
    ++g_TotalNodeCount;
    if (QVMtypedMessageTreePrivate* Own = freeFirst) {
      freeFirst = Own->nextFree;
      if (!freeFirst) freeLast = nullptr;
      Own->nextFree = nullptr;
      // As a new node: the integer type.
      Own->home->clear();
      QVMtypedTreePrivateType::setType(Own, QVMintegerType);
      Own->parent = Parent;
      return Own;
    }
    if (chunks.empty() || chunks.back().second == chunkRoom) {
      // Small trees stay small; a large one soon takes its nodes a thousand at a time.
      chunkRoom = chunks.empty() ? 8 : std::min(chunkRoom * 2, 1024u);
      chunks.emplace_back(static_cast<QVMtypedTreeEntry*>(::operator new(chunkRoom * sizeof(QVMtypedTreeEntry))), 0);
    }
    auto& [Start, Made] = chunks.back();
    QVMtypedTreeEntry* Entry = new (Start + Made) QVMtypedTreeEntry(this);
    ++Made;
    Entry->own.parent = Parent;
    return &Entry->own;
  }

  // A node leaves its list. While another tree shares its member it stays as it is, for that
  // tree to read. Then it goes free with its whole subtree, node by node: one taken again
  // comes as a new one would, and a message takes as many as it needs whatever its shape.
  static void release(QVMtypedMessageTree* Node) {
    if (Node->pPool) return;  // an inserted root: the pool that keeps it lets it go
    if (Node->borrows()) Node->giveBack();
    QVMtypedMessageTreePrivate* Own = Node->pOwn;
    if (Own->lent > 0) {
      Own->orphan = true;
      return;
    }
    // Parents before children, the order a message takes them in.
    QVMtypedTreePool& Pool = *Own->pool;
    (Pool.freeLast ? Pool.freeLast->nextFree : Pool.freeFirst) = Own;
    Pool.freeLast = Own;
    --Pool.live;
    --g_TotalNodeCount;
    Own->subNode.dropFrom(Pool, 0);
    Own->repeatNode.dropFrom(Pool, 0);
  }


  static unsigned sizeClass(unsigned Capacity) { return static_cast<unsigned>(std::bit_width(Capacity - 1)); }

  QVMtypedMessageTree** block(unsigned Capacity) {
    const unsigned Class = sizeClass(Capacity);
    if (QVMtypedMessageTree** Block = freeBlocks[Class]) {
      freeBlocks[Class] = reinterpret_cast<QVMtypedMessageTree**>(Block[0]);
      return Block;
    }
    const size_t Need = size_t(1) << Class;
    if (arenaLeft < Need) {
      const size_t Room = std::max(Need, std::min<size_t>(size_t(256) << arenas.size(), 16384));
      arenas.emplace_back(new QVMtypedMessageTree*[Room]);
      arenaNext = arenas.back().get();
      arenaLeft = Room;
    }
    QVMtypedMessageTree** Block = arenaNext;
    arenaNext += Need;
    arenaLeft -= Need;
    return Block;
  }

  void freeBlock(QVMtypedMessageTree** Block, unsigned Capacity) {
    const unsigned Class = sizeClass(Capacity);
    Block[0] = reinterpret_cast<QVMtypedMessageTree*>(freeBlocks[Class]);
    freeBlocks[Class] = Block;
  }
};

void QVMtypedSlots::growTo(QVMtypedTreePool& Pool, unsigned Length, QVMtypedMessageTree* Parent) {
  if (Length > capacity) {
    const unsigned Capacity = std::bit_ceil(std::max(Length, 4u));
    QVMtypedMessageTree** Block = Pool.block(Capacity);
    if (size > 0) std::memcpy(Block, nodes, size * sizeof(*nodes));
    if (nodes) Pool.freeBlock(nodes, capacity);
    nodes = Block;
    capacity = Capacity;
  }
  if (Length > size) {
    std::memset(nodes + size, 0, (Length - size) * sizeof(*nodes));
    size = Length;
  }
  for (unsigned i = length; i < Length; ++i) {
    QVMtypedMessageTree* Node = nodes[i];
    if (!Node) continue;
    if (Node->borrows()) Node->giveBack();
    if (Node->pOwn->lent > 0) {
      QVMtypedTreePool::release(Node);
      nodes[i] = nullptr;
      continue;
    }
    Node->clear();
    Node->pOwn->parent = Parent;
  }
  length = Length;
}

QVMtypedMessageTree* QVMtypedSlots::filled(QVMtypedTreePool& Pool, unsigned Index, QVMtypedMessageTree* Parent) {
  if (!nodes[Index]) nodes[Index] = Pool.take(Parent)->home;
  return nodes[Index];
}

void QVMtypedSlots::dropFrom(QVMtypedTreePool& Pool, unsigned From) {
  for (unsigned i = From; i < size; ++i)
    if (nodes[i]) QVMtypedTreePool::release(nodes[i]);
  size = length = From;
  if (From == 0 && nodes) {
    Pool.freeBlock(nodes, capacity);
    nodes = nullptr;
    capacity = 0;
  }
}

QVMtypedMessageTreePrivate::QVMtypedMessageTreePrivate(QVMtypedTreePool* Pool, QVMtypedMessageTree* Home)
    : pType(&kInteger), pool(Pool), home(Home) {
  pType->initialize(this);
}

// --- shape

QVMtypedMessageTree::QVMtypedMessageTree(QVMtypedMessageTree* Parent) : pPool(new QVMtypedTreePool) {
  pOwn = pMember = pPool->take(Parent);
}

// A node of a pool is never deleted through a holder: it holds one count of its own.
QVMtypedMessageTree::QVMtypedMessageTree(PoolEntry, QVMtypedMessageTreePrivate* Own) : pMember(Own), pOwn(Own) {
  AddRef();
}

QVMtypedMessageTree::~QVMtypedMessageTree() {
  if (!pPool) return;
  if (borrows()) giveBack();
  pPool->unref();
}

int64_t QVMtypedMessageTree::totalNodeCount() { return g_TotalNodeCount; }

void QVMtypedMessageTree::giveBack() {
  QVMtypedMessageTreePrivate* Taken = pMember;
  pMember = pOwn;
  QVMtypedTreePool* Pool = Taken->pool;
  if (--Taken->lent == 0 && Taken->orphan) {
    Taken->orphan = false;
    QVMtypedTreePool::release(Taken->home);
  }
  if (Pool != pOwn->pool) Pool->unref();
}

QVMtypedMessageTree* QVMtypedMessageTree::slot(unsigned SubNode, unsigned Repeat) const {
  COL_PRECONDITION_TEXT(SubNode < countOfSubNode(), "SubNodeIndex < countOfSubNode()");
  auto* self = const_cast<QVMtypedMessageTree*>(this);
  QVMtypedMessageTree* sub = pMember->subNode.filled(*pMember->pool, SubNode, self);
  // Repeat 0 always exists: the sub-node itself, which need not be read here.
  if (Repeat == 0) return sub;
  COL_PRECONDITION_TEXT(Repeat < sub->countOfRepeat(),
                        "RepeatIndex < pMember->subNode()[SubNodeIndex]->countOfRepeat()");
  return sub->pMember->repeatNode.filled(*sub->pMember->pool, Repeat - 1, self);
}

QVMtypedMessageTree* QVMtypedMessageTree::node(unsigned SubNode, unsigned Repeat) { return slot(SubNode, Repeat); }
const QVMtypedMessageTree* QVMtypedMessageTree::node(unsigned SubNode, unsigned Repeat) const {
  return slot(SubNode, Repeat);
}

QVMtypedMessageTree* QVMtypedMessageTree::makeNodeUpTo(unsigned SubNode, unsigned Repeat) {
  QVMtypedMessageTreePrivate& Member = *pMember;
  if (SubNode >= Member.subNode.length) Member.subNode.growTo(*Member.pool, SubNode + 1, this);
  QVMtypedMessageTree* sub = adopt(Member.subNode.filled(*Member.pool, SubNode, this));
  Member.IsNull = false;
  if (Repeat == 0) return sub;
  QVMtypedMessageTreePrivate& Sub = *sub->pMember;
  if (Repeat > Sub.repeatNode.length) Sub.repeatNode.growTo(*Sub.pool, Repeat, this);
  return adopt(Sub.repeatNode.filled(*Sub.pool, Repeat - 1, this));
}

// A node kept from the last message may have been made below a tree whose member this one
// took over (a segment placed by `replaceNode`), and that tree may be gone: a node of its own is
// made this one's child again.
QVMtypedMessageTree* QVMtypedMessageTree::adopt(QVMtypedMessageTree* Node) {
  if (!Node->borrows() && Node->pOwn->lent == 0) Node->pOwn->parent = this;
  return Node;
}

// Only a root can sit in two places: the tree keeps it alive. A node of another tree's storage
// belongs to that tree's lists; the slot shares its content instead.
void QVMtypedMessageTree::insertNode(unsigned SubNode, unsigned Repeat, QVMtypedMessageTree* Node) {
  QVMtypedMessageTree* Target = makeNodeUpTo(SubNode, Repeat);
  if (!Node || !Node->pPool) {
    if (Node && Node != Target) Target->replaceNode(*Node);
    return;
  }
  QVMtypedMessageTreePrivate& Owner = Repeat == 0 ? *pMember : *pMember->subNode.nodes[SubNode]->pMember;
  QVMtypedMessageTree*& Slot = Repeat == 0 ? Owner.subNode.nodes[SubNode] : Owner.repeatNode.nodes[Repeat - 1];
  QVMtypedTreePool::release(Slot);
  Owner.pool->inserted.emplace_back(Node);
  Slot = Node;
}

QVMtypedMessageTree* QVMtypedMessageTree::addNode() {
  QVMtypedMessageTreePrivate& Member = *pMember;
  const unsigned index = Member.subNode.length;
  Member.subNode.growTo(*Member.pool, index + 1, this);
  Member.IsNull = false;
  return Member.subNode.filled(*Member.pool, index, this);
}

QVMtypedMessageTree* QVMtypedMessageTree::addRepeatNode() {
  QVMtypedMessageTreePrivate& Member = *pMember;
  const unsigned index = Member.repeatNode.length;
  Member.repeatNode.growTo(*Member.pool, index + 1, Member.parent);
  return Member.repeatNode.filled(*Member.pool, index, Member.parent);
}

void QVMtypedMessageTree::makeRepeatNodeUpTo(unsigned Count) {
  while (countOfRepeat() < Count) addRepeatNode();
}

void QVMtypedMessageTree::removeLastRepeat() {
  QVMtypedSlots& repeats = pMember->repeatNode;
  if (repeats.length == 0) return;
  repeats.dropFrom(*pMember->pool, repeats.length - 1);
}

QVMtypedMessageTree* QVMtypedMessageTree::getRepeatedNode(unsigned Index) {
  if (Index == 0) return this;
  COL_PRECONDITION_TEXT(Index <= pMember->repeatNode.length, "NodeIndex <= pMember->repeatNode().size()");
  return pMember->repeatNode.filled(*pMember->pool, Index - 1, pMember->parent);
}

const QVMtypedMessageTree* QVMtypedMessageTree::getRepeatedNode(unsigned Index) const {
  return const_cast<QVMtypedMessageTree*>(this)->getRepeatedNode(Index);
}

void QVMtypedMessageTree::replaceNode(QVMtypedMessageTree& Other) {
  QVMtypedMessageTreePrivate* Taken = Other.pMember;
  if (Taken == pMember) return;
  if (borrows()) giveBack();
  if (Taken == pOwn) return;
  QVMtypedTreePool::share(Taken, *this);
  pMember = Taken;
}

void QVMtypedMessageTree::returnTakenContents() {
  for (QVMtypedSlots* Slots : {&pMember->subNode, &pMember->repeatNode})
    for (unsigned i = 0; i < Slots->size; ++i) {
      QVMtypedMessageTree* Node = Slots->nodes[i];
      if (!Node) continue;
      if (Node->borrows()) {
        // Further repeats of a node that took another's content were made in that content's
        // repeat list, out of this tree's reach once the node has its own back: they return
        // theirs now, or the other tree would find its nodes still shared and make new ones.
        const QVMtypedSlots& Repeats = Node->pMember->repeatNode;
        for (unsigned r = 0; r < Repeats.size; ++r)
          if (QVMtypedMessageTree* Repeat = Repeats.nodes[r]; Repeat && Repeat->borrows()) {
            Repeat->giveBack();
            Repeat->returnTakenContents();
          }
        Node->giveBack();
      }
      Node->returnTakenContents();
    }
}

unsigned QVMtypedMessageTree::countOfSubNode() const { return pMember->subNode.length; }
unsigned QVMtypedMessageTree::countOfRepeat() const { return pMember->repeatNode.length + 1; }

// --- values

void QVMtypedMessageTree::setStringValue(const COLstring& Value) {
  QVMtypedTreePrivateType::setType(pMember, QVMstringType);
  pMember->stringValue.str().assign(Value.str());
  pMember->IsNull = false;
}

COLstring& QVMtypedMessageTree::stringValueToFill() {
  QVMtypedTreePrivateType::setType(pMember, QVMstringType);
  pMember->stringValue.clear();
  pMember->IsNull = false;
  return pMember->stringValue;
}

void QVMtypedMessageTree::setIntegerValue(int32_t Value) {
  QVMtypedTreePrivateType::setType(pMember, QVMintegerType);
  pMember->value.integer = Value;
  pMember->IsNull = false;
}

void QVMtypedMessageTree::setDoubleValue(double Value) {
  QVMtypedTreePrivateType::setType(pMember, QVMdoubleType);
  pMember->value.number = Value;
  pMember->IsNull = false;
}

void QVMtypedMessageTree::setDateTimeValue(const COLdateTime& Value) {
  QVMtypedTreePrivateType::setType(pMember, QVMdateTimeType);
  pMember->dateTime = Value;
  pMember->IsNull = false;
}

#define QVM_STRICT_READ(TypeName)                                                      \
  COL_PRECONDITION_TEXT(!pMember->IsNull, "pMember->IsNull == false");                 \
  COL_PRECONDITION_TEXT(pMember->pType->type() == TypeName, "pMember->pType->type() == " #TypeName)

const COLstring& QVMtypedMessageTree::getStringValue() const {
  QVM_STRICT_READ(QVMstringType);
  return pMember->stringValue;
}

int32_t QVMtypedMessageTree::getIntegerValue() const {
  QVM_STRICT_READ(QVMintegerType);
  return pMember->value.integer;
}

double QVMtypedMessageTree::getDoubleValue() const {
  QVM_STRICT_READ(QVMdoubleType);
  return pMember->value.number;
}

const QVMdateTimeInternal& QVMtypedMessageTree::getDateTimeValue() const {
  QVM_STRICT_READ(QVMdateTimeType);
  return pMember->dateTime;
}

const COLstring& QVMtypedMessageTree::getAsStringValue() const {
  if (pMember->pType->type() == QVMstringType) return pMember->stringValue;
  pMember->stringValue.clear();
  COLostream stream(pMember->stringValue);
  pMember->pType->valueAsString(pMember, stream);
  return pMember->stringValue;
}

QVMdataType QVMtypedMessageTree::dataType() const { return pMember->pType->type(); }
uint32_t QVMtypedMessageTree::dataPresent() const { return pMember->dataPresent; }
void QVMtypedMessageTree::setDataPresent(uint32_t Value) { pMember->dataPresent = Value; }

// --- marks

bool QVMtypedMessageTree::isNull() const {
  COL_PRECONDITION_TEXT(!(pMember->IsNull && countOfSubNode() > 0),
                        "!(pMember->IsNull == true && countOfSubNode() > 0)");
  return pMember->IsNull;
}

void QVMtypedMessageTree::setNull() { pMember->IsNull = true; }
bool QVMtypedMessageTree::isNode() const { return countOfSubNode() == 0; }

bool QVMtypedMessageTree::isSubTreeEmpty() const {
  if (isNode()) return isNull();
  for (unsigned i = 0; i < countOfSubNode(); ++i) {
    const QVMtypedMessageTree* sub = node(i, 0);
    for (unsigned r = 0; r < sub->countOfRepeat(); ++r)
      if (!sub->getRepeatedNode(r)->isSubTreeEmpty()) return false;
  }
  return true;
}

bool QVMtypedMessageTree::isPresent() const { return pMember->isPresent; }
void QVMtypedMessageTree::setIsPresent(bool Value) { pMember->isPresent = Value; }

void QVMtypedMessageTree::setIsPresentUpToRoot(bool Value) {
  for (QVMtypedMessageTree* current = this; current; current = current->parent()) current->setIsPresent(Value);
}

void QVMtypedMessageTree::setLabel(const COLstring& Label) { pMember->label.str().assign(Label.str()); }
const COLstring& QVMtypedMessageTree::getLabel() const { return pMember->label; }
void QVMtypedMessageTree::setSegmentGrammar(const QVMsegmentGrammar* Grammar) { pMember->segmentGrammar = Grammar; }
const QVMsegmentGrammar* QVMtypedMessageTree::segmentGrammar() const { return pMember->segmentGrammar; }
QVMtypedMessageTree* QVMtypedMessageTree::parent() const { return pMember->parent; }

// A kept node comes back as a new one would be, its type aside.
void QVMtypedMessageTree::clear() {
  // A node reused for the next message starts without the last one's segment.
  pMember->label.clear();
  pMember->segmentGrammar = nullptr;
  pMember->subNode.length = 0;
  pMember->repeatNode.length = 0;
  pMember->IsNull = true;
  pMember->isPresent = false;
  pMember->dataPresent = QVMdataPresentNotConverted;
  pMember->pType->initialize(pMember);
}

void QVMtypedMessageTree::printOn(COLostream& Stream, const COLstring& Indent, const char* Name) const {
  Stream << Indent << (Name ? Name : "") << (getLabel().empty() ? COLstring(" NoLabel ") : getLabel()) << " ";
  if (pMember->IsNull) Stream << "<NULL>";
  else if (isNode()) Stream << "'" << getAsStringValue() << "'";
  if (isPresent()) Stream << " *PRESENT*";
  Stream << "\n";
  QVMmessageTreePrintSubNodesOn(*this, Stream, Indent);
}

// --- addresses

QVMtypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                     QVMtypedMessageTree& Tree, unsigned Level) {
  COL_PRECONDITION_TEXT(Level <= Address.depth(), "Level <= NodeAddress.depth()");
  QVMtypedMessageTree* current = &Tree;
  for (unsigned step = Level; step < Address.depth(); ++step) {
    current->makeNodeUpTo(Address.nodeIndex(step), Address.repeatIndex(step));
    current = current->node(Address.nodeIndex(step), Address.repeatIndex(step));
  }
  return current;
}

const QVMtypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                           const QVMtypedMessageTree& Tree, unsigned Level) {
  COL_PRECONDITION_TEXT(Level <= Address.depth(), "Level <= NodeAddress.depth()");
  return QVMmessageNodeAddressWalk(Address, Tree, Level);
}
