#include "QVMuntypedMessageTree.h"

#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "COLbuffer.h"
#include "COLerror.h"
#include "COLostream.h"
#include "QVMconfig.h"
#include "QVMmessageNodeAddress.h"
#include "QVPflatGen.h"
#include "SCCescaper.h"

namespace {
const char kEmptyText[] = "";
const COLstring kNoLabel;
int64_t g_TotalNodeCount = 0;  // diagnostic only, not synchronised
}  // namespace

using QVMuntypedList = std::vector<COLreferencePtr<QVMuntypedMessageTree>>;

// A list whose length can drop below its storage: the objects past the length are kept for
// reuse and cleared when the length grows over them again.
struct QVMuntypedSlots {
  QVMuntypedList nodes;
  unsigned length = 0;

  void growTo(unsigned Length) {
    if (nodes.size() < Length) nodes.resize(Length);
    for (unsigned i = length; i < Length; ++i)
      if (nodes[i]) nodes[i]->clear();
    length = Length;
  }
  void cutTo(unsigned Length) {
    nodes.resize(Length);
    length = Length;
  }
  QVMuntypedMessageTree* filled(unsigned Index) {
    if (!nodes[Index]) nodes[Index] = new QVMuntypedMessageTree;
    return nodes[Index].get();
  }
};

class QVMuntypedMessageTreePrivate {
public:
  QVMuntypedMessageTreePrivate() = default;
  // The own string moves as one heap object, so `value` stays valid.
  QVMuntypedMessageTreePrivate(QVMuntypedMessageTreePrivate&&) = default;
  virtual ~QVMuntypedMessageTreePrivate() = default;
  virtual unsigned type() const { return QVMuntypedMessageTree::eNode; }
  virtual void clear() {
    value = nullptr;
    if (ownString) ownString->clear();
    repeatNode.length = 0;
    subNode.length = 0;
  }
  virtual void fullClear() {
    clear();
    repeatNode.cutTo(0);
    subNode.cutTo(0);
  }

  const char* value = nullptr;
  std::unique_ptr<COLstring> ownString;
  QVMuntypedSlots repeatNode;
  QVMuntypedSlots subNode;
};

class QVMuntypedMessageTreePrivateLabelNode : public QVMuntypedMessageTreePrivate {
public:
  explicit QVMuntypedMessageTreePrivateLabelNode(QVMuntypedMessageTreePrivate&& plain)
      : QVMuntypedMessageTreePrivate(std::move(plain)) {}
  ~QVMuntypedMessageTreePrivateLabelNode() override {
    if (buffer) buffer->Release();
  }
  unsigned type() const override { return QVMuntypedMessageTree::eLabelNode; }
  // A node reused for the next message must not keep what the last one said of its segment;
  // the buffer stays, for the next message's text.
  void clear() override {
    QVMuntypedMessageTreePrivate::clear();
    segmentGrammar = nullptr;
    hasLabel = false;  // the text stays: the next message mostly gives the same one
    errorCode.clear();
    errorDescription.clear();
  }

  const QVMsegmentGrammar* segmentGrammar = nullptr;
  COLbuffer* buffer = nullptr;
  COLstring label;  // meant only while hasLabel is set
  bool hasLabel = false;
  std::vector<unsigned> errorCode;
  std::vector<COLstring> errorDescription;
};

namespace {
QVMuntypedMessageTreePrivateLabelNode* asLabel(QVMuntypedMessageTreePrivate* member) {
  return member->type() == QVMuntypedMessageTree::eLabelNode
             ? static_cast<QVMuntypedMessageTreePrivateLabelNode*>(member)
             : nullptr;
}
}  // namespace

QVMuntypedMessageTree::QVMuntypedMessageTree() : pMember(new QVMuntypedMessageTreePrivate) { ++g_TotalNodeCount; }

QVMuntypedMessageTree::~QVMuntypedMessageTree() {
  delete pMember;
  --g_TotalNodeCount;
}

int64_t QVMuntypedMessageTree::totalNodeCount() { return g_TotalNodeCount; }
unsigned QVMuntypedMessageTree::type() const { return pMember->type(); }

QVMuntypedMessageTreePrivate& QVMuntypedMessageTree::labelMember() {
  if (pMember->type() != eLabelNode) {
    QVMuntypedMessageTreePrivate* label = new QVMuntypedMessageTreePrivateLabelNode(std::move(*pMember));
    delete pMember;
    pMember = label;
  }
  return *pMember;
}

// --- shape

QVMuntypedMessageTree* QVMuntypedMessageTree::node(unsigned SubNode, unsigned Repeat) {
  QVMuntypedSlots& subs = pMember->subNode;
  if (SubNode >= subs.length) subs.growTo(SubNode + 1);
  QVMuntypedMessageTree* sub = subs.filled(SubNode);
  if (Repeat == 0) return sub;
  QVMuntypedSlots& repeats = sub->pMember->repeatNode;
  if (Repeat > repeats.length) repeats.growTo(Repeat);
  return repeats.filled(Repeat - 1);
}

const QVMuntypedMessageTree* QVMuntypedMessageTree::node(unsigned SubNode, unsigned Repeat) const {
  QVMuntypedSlots& subs = pMember->subNode;
  COL_PRECONDITION_TEXT(SubNode < subs.length, "SubNodeIndex < pMember->subNode().size()");
  QVMuntypedMessageTree* sub = subs.filled(SubNode);
  COL_PRECONDITION_TEXT(Repeat <= sub->pMember->repeatNode.length,
                        "RepeatNodeIndex <= pMember->subNode()[SubNodeIndex]->pMember->repeatNode().size()");
  return Repeat == 0 ? sub : sub->pMember->repeatNode.filled(Repeat - 1);
}

QVMuntypedMessageTree* QVMuntypedMessageTree::getRepeatedNode(unsigned Index) {
  if (Index == 0) return this;
  QVMuntypedSlots& repeats = pMember->repeatNode;
  if (Index > repeats.length) repeats.growTo(Index);
  return repeats.filled(Index - 1);
}

const QVMuntypedMessageTree* QVMuntypedMessageTree::getRepeatedNode(unsigned Index) const {
  if (Index == 0) return this;
  COL_PRECONDITION_TEXT(Index <= pMember->repeatNode.length, "NodeIndex <= pMember->repeatNode().size()");
  return pMember->repeatNode.filled(Index - 1);
}

void QVMuntypedMessageTree::insertNode(unsigned SubNode, unsigned Repeat, QVMuntypedMessageTree* Node) {
  node(SubNode, Repeat);
  if (Repeat == 0) pMember->subNode.nodes[SubNode] = Node;
  else pMember->subNode.nodes[SubNode]->pMember->repeatNode.nodes[Repeat - 1] = Node;
}

void QVMuntypedMessageTree::addNode() { pMember->subNode.growTo(pMember->subNode.length + 1); }
unsigned QVMuntypedMessageTree::countOfSubNode() const { return pMember->subNode.length; }
unsigned QVMuntypedMessageTree::countOfRepeat() const { return pMember->repeatNode.length + 1; }

void QVMuntypedMessageTree::setCountOfSubNode(unsigned Count) {
  if (Count > countOfSubNode()) node(Count - 1, 0);
  else pMember->subNode.cutTo(Count);
}

void QVMuntypedMessageTree::cutSubNodesKeeping(unsigned Count) {
  if (Count < pMember->subNode.length) pMember->subNode.length = Count;
}

void QVMuntypedMessageTree::setCountOfRepeat(unsigned Count) {
  if (Count == 0) throw COLerror("Every field has a minimum on one repeat.", COL_ERROR_PRECONDITION);
  if (Count > countOfRepeat()) getRepeatedNode(Count - 1)->setValue(kEmptyText);
  else pMember->repeatNode.cutTo(Count - 1);
}

// --- values

bool QVMuntypedMessageTree::isNull() const { return pMember->value == nullptr; }

void QVMuntypedMessageTree::setNull() {
  pMember->value = nullptr;
  if (pMember->ownString) pMember->ownString->clear();
}

void QVMuntypedMessageTree::setValue(const char* Value) { pMember->value = Value; }

void QVMuntypedMessageTree::setStringValue(const COLstring& Value) {
  if (Value.empty()) {
    pMember->ownString.reset();
    pMember->value = kEmptyText;
    return;
  }
  if (!pMember->ownString) pMember->ownString = std::make_unique<COLstring>();
  *pMember->ownString = Value;
  pMember->value = pMember->ownString->c_str();
}

const char* QVMuntypedMessageTree::getValue() const {
  COL_PRECONDITION(!isNull());
  return pMember->value;
}

const char* QVMuntypedMessageTree::getFirstValue() const {
  const QVMuntypedMessageTree* leaf = this;
  while (leaf->countOfSubNode() > 0) leaf = leaf->node(0, 0);
  return leaf->isNull() ? kEmptyText : leaf->pMember->value;
}

void QVMuntypedMessageTree::setFirstValue(const COLstring& Value) {
  QVMuntypedMessageTree* leaf = this;
  while (leaf->countOfSubNode() > 0) leaf = leaf->node(0, 0);
  leaf->setStringValue(Value);
}

// --- label items

void QVMuntypedMessageTree::setBuffer(COLbuffer* Buffer) {
  COL_PRECONDITION_TEXT(Buffer != nullptr, "pBuffer != NULL");
  auto* label = static_cast<QVMuntypedMessageTreePrivateLabelNode*>(&labelMember());
  Buffer->AddRef();
  if (label->buffer) label->buffer->Release();
  label->buffer = Buffer;
}

COLbuffer* QVMuntypedMessageTree::getBuffer() const {
  auto* label = asLabel(pMember);
  return label ? label->buffer : nullptr;
}

void QVMuntypedMessageTree::setSegment(const QVMsegmentGrammar* Grammar) {
  static_cast<QVMuntypedMessageTreePrivateLabelNode&>(labelMember()).segmentGrammar = Grammar;
}

const QVMsegmentGrammar* QVMuntypedMessageTree::segmentGrammar() const {
  auto* label = asLabel(pMember);
  return label ? label->segmentGrammar : nullptr;
}

void QVMuntypedMessageTree::setLabel(const COLstring& Label) {
  auto& Member = static_cast<QVMuntypedMessageTreePrivateLabelNode&>(labelMember());
  // A node reused for the next message usually gets the label it had: no copy then.
  if (Member.label.size() != Label.size() || std::memcmp(Member.label.c_str(), Label.c_str(), Label.size()) != 0)
    Member.label = Label;
  Member.hasLabel = true;
}

const COLstring& QVMuntypedMessageTree::getLabel() const {
  auto* label = asLabel(pMember);
  return label && label->hasLabel ? label->label : kNoLabel;
}

void QVMuntypedMessageTree::addError(unsigned Code, const COLstring& Description) {
  auto& label = static_cast<QVMuntypedMessageTreePrivateLabelNode&>(labelMember());
  label.errorCode.push_back(Code);
  label.errorDescription.push_back(Description);
}

void QVMuntypedMessageTree::clearError() {
  auto* label = asLabel(pMember);
  if (!label || (label->errorCode.empty() && label->errorCode.capacity() == 0)) return;
  label->errorCode.clear();
  label->errorDescription.clear();
  for (unsigned i = 0; i < countOfSubNode(); ++i) {
    QVMuntypedMessageTree* sub = node(i, 0);
    for (unsigned r = 0; r < sub->countOfRepeat(); ++r) sub->getRepeatedNode(r)->clearError();
  }
}

unsigned QVMuntypedMessageTree::countOfError() const {
  auto* label = asLabel(pMember);
  return label ? static_cast<unsigned>(label->errorCode.size()) : 0;
}

unsigned QVMuntypedMessageTree::errorCode(unsigned Index) const {
  auto* label = asLabel(pMember);
  if (!label || Index >= label->errorCode.size()) throw COLerror("Node ErrorIndex", COL_ERROR_RESOURCE);
  return label->errorCode[Index];
}

const COLstring& QVMuntypedMessageTree::errorDescription(unsigned Index) const {
  auto* label = asLabel(pMember);
  if (!label || Index >= label->errorDescription.size()) throw COLerror("Node ErrorIndex", COL_ERROR_RESOURCE);
  return label->errorDescription[Index];
}

const QVMuntypedMessageTree* QVMuntypedMessageTree::firstSubNodeWithError(QVMmessageNodeAddress& Address) const {
  const uint32_t depth = Address.depth();
  for (unsigned i = 0; i < countOfSubNode(); ++i) {
    const QVMuntypedMessageTree* sub = node(i, 0);
    for (unsigned r = 0; r < sub->countOfRepeat(); ++r) {
      const QVMuntypedMessageTree* repeat = sub->getRepeatedNode(r);
      Address.setNodeAndRepeatIndex(depth, i, r);
      if (repeat->countOfError() != 0) return repeat;
      if (const QVMuntypedMessageTree* found = repeat->firstSubNodeWithError(Address)) return found;
      Address.setDepth(depth);
    }
  }
  return nullptr;
}

void QVMuntypedMessageTree::clear() { pMember->clear(); }
void QVMuntypedMessageTree::fullClear() { pMember->fullClear(); }

// --- text

void QVMuntypedMessageTree::makeFlatWire(COLstring& Result, const QVMconfig& Config, unsigned Level) const {
  QVPflatGen(Config, Result).makeFlatWire(*this, Level);
}

void QVMuntypedMessageTree::unescapeValues(const SCCescaper& Escaper, bool Strict) {
  if (!isNull() && pMember->value[0] != '\0') {
    const char* text = pMember->ownString && !pMember->ownString->empty() ? pMember->ownString->c_str()
                                                                           : pMember->value;
    // Only a text with escapes comes back filled; any other keeps pointing where it was.
    COLstring result;
    Escaper.unescapeStringWithSize(result, text, std::strlen(text), Strict);
    if (!result.empty()) setStringValue(result);
  }
  for (unsigned i = 0; i < countOfSubNode(); ++i) {
    QVMuntypedMessageTree* sub = node(i, 0);
    for (unsigned r = 0; r < sub->countOfRepeat(); ++r) sub->getRepeatedNode(r)->unescapeValues(Escaper, Strict);
  }
}

void QVMuntypedMessageTree::printOn(COLostream& Stream, const COLstring& Indent, const char* Name) const {
  Stream << Indent << (Name ? Name : "") << (getLabel().empty() ? COLstring(" NoLabel ") : getLabel()) << " ";
  if (isNull()) Stream << "<NULL>";
  else Stream << "'" << pMember->value << "'";
  if (countOfError() != 0) {
    Stream << " *ERRORS*: ";
    for (unsigned e = 0; e < countOfError(); ++e) Stream << "'" << errorDescription(e) << "' ";
  }
  Stream << "\n";
  QVMmessageTreePrintSubNodesOn(*this, Stream, Indent);
}

// --- addresses

QVMuntypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                       QVMuntypedMessageTree& Tree, unsigned Level) {
  COL_PRECONDITION_TEXT(Level <= Address.depth(), "Level <= NodeAddress.depth()");
  QVMuntypedMessageTree* current = &Tree;
  for (unsigned step = Level; step < Address.depth(); ++step)
    current = current->node(Address.nodeIndex(step), Address.repeatIndex(step));
  return current;
}

const QVMuntypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                             const QVMuntypedMessageTree& Tree, unsigned Level) {
  COL_PRECONDITION_TEXT(Level <= Address.depth(), "Level <= NodeAddress.depth()");
  return QVMmessageNodeAddressWalk(Address, Tree, Level);
}

bool QVMmessageNodeAddressGetValue(const QVMmessageNodeAddress& Address, COLstring& Value,
                                   const QVMuntypedMessageTree& Tree, unsigned Level) {
  const QVMuntypedMessageTree* found = QVMmessageNodeAddressGetSubNode(Address, Tree, Level);
  while (found && found->countOfSubNode() > 0) found = found->node(0, 0);
  const bool IsValid = found && !found->isNull();
  if (IsValid) Value = found->getValue();
  else Value.clear();
  COL_POSTCONDITION_TEXT((!IsValid && Value.empty()) || IsValid, "!IsValid && Value.is_null() || IsValid");
  return IsValid;
}
