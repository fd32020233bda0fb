#include "QVMtypedMessageTree.h"

#include <initializer_list>
#include <memory>
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

// A list whose length can drop below its storage; kept objects are cleared on reuse. A kept
// node that took another tree's content (`replaceNode`) goes back to its own first. One whose
// content is still shared with another tree is dropped instead: clearing it would clear that
// other tree's node too, which may be in use again already.
struct QVMtypedSlots {
  std::vector<COLreferencePtr<QVMtypedMessageTree>> nodes;
  unsigned length = 0;

  void growTo(unsigned Length);
  QVMtypedMessageTree* filled(unsigned Index, QVMtypedMessageTree* Parent) {
    if (!nodes[Index]) nodes[Index] = new QVMtypedMessageTree(Parent);
    return nodes[Index].get();
  }
};

class QVMtypedMessageTreePrivate : public COLreference {
public:
  explicit QVMtypedMessageTreePrivate(QVMtypedMessageTree* Parent);
  ~QVMtypedMessageTreePrivate() override;

  QVMtypedMessageTree* parent;
  const QVMtypedTreePrivateType* pType;
  bool IsNull = true;
  bool isPresent = false;
  union {
    int32_t integer;
    double number;
  } value{};
  // Kept when the node changes type, so that a node reused for the next message, where the
  // same place may hold another type, makes its date-time once.
  std::unique_ptr<QVMdateTimeInternal> dateTime;
  uint32_t dataPresent = QVMdataPresentNotConverted;
  const QVMsegmentGrammar* segmentGrammar = nullptr;
  std::unique_ptr<COLstring> label;
  std::unique_ptr<COLstring> stringValue;
  QVMtypedSlots repeatNode;
  QVMtypedSlots subNode;
};

void QVMtypedSlots::growTo(unsigned Length) {
  if (nodes.size() < Length) nodes.resize(Length);
  for (unsigned i = length; i < Length; ++i) {
    if (!nodes[i]) continue;
    QVMtypedMessageTree& Node = *nodes[i];
    if (Node.pOwn) {
      Node.pMember = Node.pOwn;
      Node.pOwn = nullptr;
    }
    if (Node.pMember->countOfRef() > 1)
      nodes[i] = nullptr;
    else
      nodes[i]->clear();
  }
  length = Length;
}

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
  void initialize(QVMtypedMessageTreePrivate* Member) const override {
    if (Member->stringValue) Member->stringValue->clear();
  }
  void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const override {
    if (Member->stringValue) Stream << *Member->stringValue;
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
    if (Member->dateTime) *Member->dateTime = COLdateTime();  // null until set
    else Member->dateTime = std::make_unique<QVMdateTimeInternal>();
  }
  void valueAsString(QVMtypedMessageTreePrivate* Member, COLostream& Stream) const override {
    Member->dateTime->printOn(Stream);
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

QVMtypedMessageTreePrivate::QVMtypedMessageTreePrivate(QVMtypedMessageTree* Parent)
    : parent(Parent), pType(&kInteger) {
  pType->initialize(this);
}

QVMtypedMessageTreePrivate::~QVMtypedMessageTreePrivate() = default;

// --- shape

QVMtypedMessageTree::QVMtypedMessageTree(QVMtypedMessageTree* Parent)
    : pMember(new QVMtypedMessageTreePrivate(Parent)) {
  ++g_TotalNodeCount;
}

QVMtypedMessageTree::~QVMtypedMessageTree() { --g_TotalNodeCount; }

int64_t QVMtypedMessageTree::totalNodeCount() { return g_TotalNodeCount; }

QVMtypedMessageTree* QVMtypedMessageTree::slot(unsigned SubNode, unsigned Repeat) const {
  COL_PRECONDITION_TEXT(SubNode < countOfSubNode(), "SubNodeIndex < countOfSubNode()");
  auto* self = const_cast<QVMtypedMessageTree*>(this);
  QVMtypedMessageTree* sub = pMember->subNode.filled(SubNode, self);
  COL_PRECONDITION_TEXT(Repeat < sub->countOfRepeat(),
                        "RepeatIndex < pMember->subNode()[SubNodeIndex]->countOfRepeat()");
  return Repeat == 0 ? sub : sub->pMember->repeatNode.filled(Repeat - 1, self);
}

QVMtypedMessageTree* QVMtypedMessageTree::node(unsigned SubNode, unsigned Repeat) { return slot(SubNode, Repeat); }
const QVMtypedMessageTree* QVMtypedMessageTree::node(unsigned SubNode, unsigned Repeat) const {
  return slot(SubNode, Repeat);
}

QVMtypedMessageTree* QVMtypedMessageTree::makeNodeUpTo(unsigned SubNode, unsigned Repeat) {
  if (SubNode >= pMember->subNode.length) pMember->subNode.growTo(SubNode + 1);
  QVMtypedMessageTree* sub = adopt(pMember->subNode.filled(SubNode, this));
  pMember->IsNull = false;
  if (Repeat == 0) return sub;
  QVMtypedSlots& repeats = sub->pMember->repeatNode;
  if (Repeat > repeats.length) repeats.growTo(Repeat);
  return adopt(repeats.filled(Repeat - 1, this));
}

// A node kept from the last message may have been made below a tree whose private this one
// took over (a segment placed by `replaceNode`), and that tree may be gone: a node of its own is
// made this one's child again.
QVMtypedMessageTree* QVMtypedMessageTree::adopt(QVMtypedMessageTree* Node) {
  if (Node->pMember->countOfRef() == 1) Node->pMember->parent = this;
  return Node;
}

void QVMtypedMessageTree::insertNode(unsigned SubNode, unsigned Repeat, QVMtypedMessageTree* Node) {
  makeNodeUpTo(SubNode, Repeat);
  if (Repeat == 0) pMember->subNode.nodes[SubNode] = Node;
  else pMember->subNode.nodes[SubNode]->pMember->repeatNode.nodes[Repeat - 1] = Node;
}

QVMtypedMessageTree* QVMtypedMessageTree::addNode() {
  const unsigned index = pMember->subNode.length;
  pMember->subNode.growTo(index + 1);
  pMember->IsNull = false;
  return pMember->subNode.filled(index, this);
}

QVMtypedMessageTree* QVMtypedMessageTree::addRepeatNode() {
  const unsigned index = pMember->repeatNode.length;
  pMember->repeatNode.growTo(index + 1);
  return pMember->repeatNode.filled(index, pMember->parent);
}

void QVMtypedMessageTree::makeRepeatNodeUpTo(unsigned Count) {
  while (countOfRepeat() < Count) addRepeatNode();
}

void QVMtypedMessageTree::removeLastRepeat() {
  QVMtypedSlots& repeats = pMember->repeatNode;
  if (repeats.length == 0) return;
  repeats.nodes.resize(--repeats.length);
  if (repeats.length == 0) repeats.nodes.shrink_to_fit();
}

QVMtypedMessageTree* QVMtypedMessageTree::getRepeatedNode(unsigned Index) {
  if (Index == 0) return this;
  COL_PRECONDITION_TEXT(Index <= pMember->repeatNode.length, "NodeIndex <= pMember->repeatNode().size()");
  return pMember->repeatNode.filled(Index - 1, pMember->parent);
}

const QVMtypedMessageTree* QVMtypedMessageTree::getRepeatedNode(unsigned Index) const {
  return const_cast<QVMtypedMessageTree*>(this)->getRepeatedNode(Index);
}

void QVMtypedMessageTree::replaceNode(QVMtypedMessageTree& Other) {
  if (!pOwn) pOwn = pMember;
  pMember = Other.pMember;
}
void QVMtypedMessageTree::returnTakenContents() {
  for (QVMtypedSlots* Slots : {&pMember->subNode, &pMember->repeatNode})
    for (COLreferencePtr<QVMtypedMessageTree>& Node : Slots->nodes) {
      if (!Node) continue;
      if (Node->pOwn) {
        // Further repeats of a node that took another's content were made in that content's
        // repeat list, out of this tree's reach once the node has its own back: they return
        // theirs now, or the other tree would find its nodes still shared and make new ones.
        for (COLreferencePtr<QVMtypedMessageTree>& Repeat : Node->pMember->repeatNode.nodes)
          if (Repeat && Repeat->pOwn) {
            Repeat->pMember = Repeat->pOwn;
            Repeat->pOwn = nullptr;
            Repeat->returnTakenContents();
          }
        Node->pMember = Node->pOwn;
        Node->pOwn = nullptr;
      }
      Node->returnTakenContents();
    }
}

unsigned QVMtypedMessageTree::countOfSubNode() const { return pMember->subNode.length; }
unsigned QVMtypedMessageTree::countOfRepeat() const { return pMember->repeatNode.length + 1; }

// --- values

void QVMtypedMessageTree::setStringValue(const COLstring& Value) {
  QVMtypedTreePrivateType::setType(pMember.get(), QVMstringType);
  if (Value.empty()) {
    pMember->stringValue.reset();
  } else {
    if (!pMember->stringValue) pMember->stringValue = std::make_unique<COLstring>();
    *pMember->stringValue = Value;
  }
  pMember->IsNull = false;
}

COLstring& QVMtypedMessageTree::stringValueToFill() {
  QVMtypedTreePrivateType::setType(pMember.get(), QVMstringType);
  if (!pMember->stringValue) pMember->stringValue = std::make_unique<COLstring>();
  pMember->stringValue->clear();
  pMember->IsNull = false;
  return *pMember->stringValue;
}

void QVMtypedMessageTree::setIntegerValue(int32_t Value) {
  QVMtypedTreePrivateType::setType(pMember.get(), QVMintegerType);
  pMember->value.integer = Value;
  pMember->IsNull = false;
}

void QVMtypedMessageTree::setDoubleValue(double Value) {
  QVMtypedTreePrivateType::setType(pMember.get(), QVMdoubleType);
  pMember->value.number = Value;
  pMember->IsNull = false;
}

void QVMtypedMessageTree::setDateTimeValue(const COLdateTime& Value) {
  QVMtypedTreePrivateType::setType(pMember.get(), QVMdateTimeType);
  *pMember->dateTime = Value;
  pMember->IsNull = false;
}

#define QVM_STRICT_READ(TypeName)                                                      \
  COL_PRECONDITION_TEXT(!pMember->IsNull, "pMember->IsNull == false");                 \
  COL_PRECONDITION_TEXT(pMember->pType->type() == TypeName, "pMember->pType->type() == " #TypeName)

const COLstring& QVMtypedMessageTree::getStringValue() const {
  QVM_STRICT_READ(QVMstringType);
  return pMember->stringValue ? *pMember->stringValue : NullString;
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
  return *pMember->dateTime;
}

const COLstring& QVMtypedMessageTree::getAsStringValue() const {
  if (pMember->pType->type() == QVMstringType) return pMember->stringValue ? *pMember->stringValue : NullString;
  if (!pMember->stringValue) pMember->stringValue = std::make_unique<COLstring>();
  pMember->stringValue->clear();
  COLostream stream(*pMember->stringValue);
  pMember->pType->valueAsString(pMember.get(), stream);
  return *pMember->stringValue;
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

void QVMtypedMessageTree::setLabel(const COLstring& Label) {
  if (!pMember->label) pMember->label = std::make_unique<COLstring>();
  *pMember->label = Label;
}

const COLstring& QVMtypedMessageTree::getLabel() const { return pMember->label ? *pMember->label : NullString; }
void QVMtypedMessageTree::setSegmentGrammar(const QVMsegmentGrammar* Grammar) { pMember->segmentGrammar = Grammar; }
const QVMsegmentGrammar* QVMtypedMessageTree::segmentGrammar() const { return pMember->segmentGrammar; }
QVMtypedMessageTree* QVMtypedMessageTree::parent() const { return pMember->parent; }

// A kept node comes back as a new one would be, its type aside.
void QVMtypedMessageTree::clear() {
  // A node reused for the next message starts without the last one's segment.
  if (pMember->label) pMember->label->clear();
  pMember->segmentGrammar = nullptr;
  pMember->subNode.length = 0;
  pMember->repeatNode.length = 0;
  pMember->IsNull = true;
  pMember->isPresent = false;
  pMember->dataPresent = QVMdataPresentNotConverted;
  pMember->pType->initialize(pMember.get());
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
