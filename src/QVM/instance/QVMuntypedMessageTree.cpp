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

void QVMuntypedMessageTree::Slots::growTo(unsigned Length) {
  if (nodes.size() < Length) nodes.resize(Length);
  for (unsigned i = length; i < Length; ++i)
    if (nodes[i]) nodes[i]->clear();
  length = Length;
}

void QVMuntypedMessageTree::Slots::cutTo(unsigned Length) {
  nodes.resize(Length);
  length = Length;
}

QVMuntypedMessageTree* QVMuntypedMessageTree::Slots::filled(unsigned Index) {
  if (!nodes[Index]) nodes[Index] = new QVMuntypedMessageTree;
  return nodes[Index].get();
}

// What the root and the segments carry besides their values.
class QVMuntypedLabelPart {
public:
  ~QVMuntypedLabelPart() {
    if (buffer) buffer->Release();
  }
  // A node reused for the next message must not keep what the last one said of its segment;
  // the buffer stays, for the next message's text.
  void clear() {
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

QVMuntypedMessageTree::QVMuntypedMessageTree() { ++g_TotalNodeCount; }

QVMuntypedMessageTree::~QVMuntypedMessageTree() {
  delete m_Label;
  --g_TotalNodeCount;
}

int64_t QVMuntypedMessageTree::totalNodeCount() { return g_TotalNodeCount; }
unsigned QVMuntypedMessageTree::type() const { return m_Label ? eLabelNode : eNode; }

QVMuntypedLabelPart& QVMuntypedMessageTree::labelPart() {
  if (!m_Label) m_Label = new QVMuntypedLabelPart;
  return *m_Label;
}

// --- shape

QVMuntypedMessageTree* QVMuntypedMessageTree::node(unsigned SubNode, unsigned Repeat) {
  Slots& subs = m_SubNode;
  if (SubNode >= subs.length) subs.growTo(SubNode + 1);
  QVMuntypedMessageTree* sub = subs.filled(SubNode);
  if (Repeat == 0) return sub;
  Slots& repeats = sub->m_RepeatNode;
  if (Repeat > repeats.length) repeats.growTo(Repeat);
  return repeats.filled(Repeat - 1);
}

const QVMuntypedMessageTree* QVMuntypedMessageTree::node(unsigned SubNode, unsigned Repeat) const {
  Slots& subs = m_SubNode;
  COL_PRECONDITION_TEXT(SubNode < subs.length, "SubNodeIndex < pMember->subNode().size()");
  QVMuntypedMessageTree* sub = subs.filled(SubNode);
  COL_PRECONDITION_TEXT(Repeat <= sub->m_RepeatNode.length,
                        "RepeatNodeIndex <= pMember->subNode()[SubNodeIndex]->pMember->repeatNode().size()");
  return Repeat == 0 ? sub : sub->m_RepeatNode.filled(Repeat - 1);
}

QVMuntypedMessageTree* QVMuntypedMessageTree::getRepeatedNode(unsigned Index) {
  if (Index == 0) return this;
  Slots& repeats = m_RepeatNode;
  if (Index > repeats.length) repeats.growTo(Index);
  return repeats.filled(Index - 1);
}

const QVMuntypedMessageTree* QVMuntypedMessageTree::getRepeatedNode(unsigned Index) const {
  if (Index == 0) return this;
  COL_PRECONDITION_TEXT(Index <= m_RepeatNode.length, "NodeIndex <= pMember->repeatNode().size()");
  return m_RepeatNode.filled(Index - 1);
}

void QVMuntypedMessageTree::insertNode(unsigned SubNode, unsigned Repeat, QVMuntypedMessageTree* Node) {
  node(SubNode, Repeat);
  if (Repeat == 0) m_SubNode.nodes[SubNode] = Node;
  else m_SubNode.nodes[SubNode]->m_RepeatNode.nodes[Repeat - 1] = Node;
}

void QVMuntypedMessageTree::addNode() { m_SubNode.growTo(m_SubNode.length + 1); }

void QVMuntypedMessageTree::setCountOfSubNode(unsigned Count) {
  if (Count > countOfSubNode()) node(Count - 1, 0);
  else m_SubNode.cutTo(Count);
}

void QVMuntypedMessageTree::cutSubNodesKeeping(unsigned Count) {
  if (Count < m_SubNode.length) m_SubNode.length = Count;
}

void QVMuntypedMessageTree::setCountOfRepeat(unsigned Count) {
  if (Count == 0) throw COLerror("Every field has a minimum on one repeat.", COL_ERROR_PRECONDITION);
  if (Count > countOfRepeat()) getRepeatedNode(Count - 1)->setValue(kEmptyText);
  else m_RepeatNode.cutTo(Count - 1);
}

// --- values

void QVMuntypedMessageTree::setNull() {
  m_Value = nullptr;
  if (m_OwnString) m_OwnString->clear();
}

void QVMuntypedMessageTree::setValue(const char* Value) { m_Value = Value; }

void QVMuntypedMessageTree::setStringValue(const COLstring& Value) {
  if (Value.empty()) {
    m_OwnString.reset();
    m_Value = kEmptyText;
    return;
  }
  if (!m_OwnString) m_OwnString = std::make_unique<COLstring>();
  *m_OwnString = Value;
  m_Value = m_OwnString->c_str();
}

const char* QVMuntypedMessageTree::getValue() const {
  COL_PRECONDITION(!isNull());
  return m_Value;
}

const char* QVMuntypedMessageTree::getFirstValue() const {
  const QVMuntypedMessageTree* leaf = this;
  while (leaf->countOfSubNode() > 0) leaf = leaf->node(0, 0);
  return leaf->isNull() ? kEmptyText : leaf->m_Value;
}

void QVMuntypedMessageTree::setFirstValue(const COLstring& Value) {
  QVMuntypedMessageTree* leaf = this;
  while (leaf->countOfSubNode() > 0) leaf = leaf->node(0, 0);
  leaf->setStringValue(Value);
}

// --- label items

void QVMuntypedMessageTree::setBuffer(COLbuffer* Buffer) {
  COL_PRECONDITION_TEXT(Buffer != nullptr, "pBuffer != NULL");
  QVMuntypedLabelPart* label = &labelPart();
  Buffer->AddRef();
  if (label->buffer) label->buffer->Release();
  label->buffer = Buffer;
}

COLbuffer* QVMuntypedMessageTree::getBuffer() const {
  QVMuntypedLabelPart* label = m_Label;
  return label ? label->buffer : nullptr;
}

void QVMuntypedMessageTree::setSegment(const QVMsegmentGrammar* Grammar) {
  labelPart().segmentGrammar = Grammar;
}

const QVMsegmentGrammar* QVMuntypedMessageTree::segmentGrammar() const {
  QVMuntypedLabelPart* label = m_Label;
  return label ? label->segmentGrammar : nullptr;
}

void QVMuntypedMessageTree::setLabel(const COLstring& Label) {
  QVMuntypedLabelPart& Member = labelPart();
  // A node reused for the next message usually gets the label it had: no copy then.
  if (Member.label.size() != Label.size() || std::memcmp(Member.label.c_str(), Label.c_str(), Label.size()) != 0)
    Member.label = Label;
  Member.hasLabel = true;
}

const COLstring& QVMuntypedMessageTree::getLabel() const {
  QVMuntypedLabelPart* label = m_Label;
  return label && label->hasLabel ? label->label : kNoLabel;
}

void QVMuntypedMessageTree::addError(unsigned Code, const COLstring& Description) {
  QVMuntypedLabelPart& label = labelPart();
  label.errorCode.push_back(Code);
  label.errorDescription.push_back(Description);
}

void QVMuntypedMessageTree::clearError() {
  QVMuntypedLabelPart* label = m_Label;
  if (!label || (label->errorCode.empty() && label->errorCode.capacity() == 0)) return;
  label->errorCode.clear();
  label->errorDescription.clear();
  for (unsigned i = 0; i < countOfSubNode(); ++i) {
    QVMuntypedMessageTree* sub = node(i, 0);
    for (unsigned r = 0; r < sub->countOfRepeat(); ++r) sub->getRepeatedNode(r)->clearError();
  }
}

unsigned QVMuntypedMessageTree::countOfError() const {
  QVMuntypedLabelPart* label = m_Label;
  return label ? static_cast<unsigned>(label->errorCode.size()) : 0;
}

unsigned QVMuntypedMessageTree::errorCode(unsigned Index) const {
  QVMuntypedLabelPart* label = m_Label;
  if (!label || Index >= label->errorCode.size()) throw COLerror("Node ErrorIndex", COL_ERROR_RESOURCE);
  return label->errorCode[Index];
}

const COLstring& QVMuntypedMessageTree::errorDescription(unsigned Index) const {
  QVMuntypedLabelPart* label = m_Label;
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

void QVMuntypedMessageTree::clear() {
  m_Value = nullptr;
  if (m_OwnString) m_OwnString->clear();
  m_RepeatNode.length = 0;
  m_SubNode.length = 0;
  if (m_Label) m_Label->clear();
}

void QVMuntypedMessageTree::fullClear() {
  clear();
  m_RepeatNode.cutTo(0);
  m_SubNode.cutTo(0);
}

// --- text

void QVMuntypedMessageTree::makeFlatWire(COLstring& Result, const QVMconfig& Config, unsigned Level) const {
  QVPflatGen(Config, Result).makeFlatWire(*this, Level);
}

void QVMuntypedMessageTree::unescapeValues(const SCCescaper& Escaper, bool Strict) {
  if (!isNull() && m_Value[0] != '\0') {
    const char* text = m_OwnString && !m_OwnString->empty() ? m_OwnString->c_str()
                                                                           : m_Value;
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
  else Stream << "'" << m_Value << "'";
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
