// Message grammar trees.
#include "QVMmessageGrammar.h"

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMgrammarTypes.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"

QVMmessageGrammar::QVMmessageGrammar() = default;
QVMmessageGrammar::~QVMmessageGrammar() = default;

QVMmessageGrammar::QVMmessageGrammar(const QVMmessageGrammar& other)
    : COLreference(),
      m_MaximumRepeat(other.m_MaximumRepeat),
      m_IsNode(other.m_IsNode),
      m_IsOptional(other.m_IsOptional),
      m_IsRepeating(other.m_IsRepeating),
      m_IgnoreSegmentOrder(other.m_IgnoreSegmentOrder),
      m_GrammarName(other.m_GrammarName),
      m_Segment(other.m_Segment),
      m_Message(other.m_Message),
      m_Parent(other.m_Parent) {
  copySubtreeFrom(other);
}

QVMmessageGrammar& QVMmessageGrammar::operator=(const QVMmessageGrammar& other) {
  if (this == &other) return *this;
  shapeChanged();
  m_MaximumRepeat = other.m_MaximumRepeat;
  m_IsNode = other.m_IsNode;
  m_IsOptional = other.m_IsOptional;
  m_IsRepeating = other.m_IsRepeating;
  m_IgnoreSegmentOrder = other.m_IgnoreSegmentOrder;
  m_GrammarName = other.m_GrammarName;
  m_Segment = other.m_Segment;
  m_Message = other.m_Message;
  // The copy stays where it is in its own tree; only the subtree is replaced.
  std::vector<std::unique_ptr<QVMmessageGrammar>> old = std::move(m_SubGrammars);
  copySubtreeFrom(other);
  return *this;
}

void QVMmessageGrammar::copySubtreeFrom(const QVMmessageGrammar& other) {
  m_SubGrammars.clear();
  m_SubGrammars.reserve(other.m_SubGrammars.size());
  for (const auto& child : other.m_SubGrammars) {
    m_SubGrammars.push_back(std::make_unique<QVMmessageGrammar>(*child));
    m_SubGrammars.back()->m_Parent = this;
  }
}

void QVMmessageGrammar::initializeAsRoot(QVMmessageDefinitionInternal* pMessage) {
  COL_PRECONDITION(pMessage != NULL);
  m_GrammarName = "Message";
  m_Message = pMessage;
  m_Parent = nullptr;
}

void QVMmessageGrammar::initializeAsSegment(QVMsegmentGrammar* segment, QVMmessageGrammar* parent) {
  m_Message = parent ? parent->m_Message : nullptr;
  m_Segment = segment;
  m_Parent = parent;
  m_IsOptional = false;
  m_IsRepeating = false;
  m_IsNode = true;
  m_IgnoreSegmentOrder = parent ? parent->m_IgnoreSegmentOrder : false;
  if (segment) m_GrammarName = segment->name();
}

void QVMmessageGrammar::initializeAsGroup(const COLstring& name, QVMmessageGrammar* parent) {
  m_Message = parent ? parent->m_Message : nullptr;
  m_GrammarName = name;
  m_Parent = parent;
  m_IsOptional = false;
  m_IsRepeating = false;
  m_MaximumRepeat = 0;
  m_IsNode = false;
  m_IgnoreSegmentOrder = parent ? parent->m_IgnoreSegmentOrder : false;
}

QVMmessageGrammar* QVMmessageGrammar::subGrammar(size_t GrammarIndex) const {
  COL_PRECONDITION(GrammarIndex < countOfSubGrammar());
  return m_SubGrammars[GrammarIndex].get();
}

void QVMmessageGrammar::shapeChanged() const { QVMdefinitionEdited(m_Message ? m_Message->rootEngine() : nullptr); }

void QVMmessageGrammar::setSegment(QVMsegmentGrammar* segment) {
  shapeChanged();
  m_Segment = segment;
}

QVMmessageGrammar* QVMmessageGrammar::insertSegment(QVMsegmentGrammar* segment, size_t GrammarIndex) {
  shapeChanged();
  if (GrammarIndex == npos || GrammarIndex == COLstring::npos) GrammarIndex = m_SubGrammars.size();
  COL_PRECONDITION_TEXT(GrammarIndex <= m_SubGrammars.size(), "GrammarIndex <= pMember->SubGrammarVector.size()");
  auto node = std::make_unique<QVMmessageGrammar>();
  node->initializeAsSegment(segment, this);
  QVMmessageGrammar* result = node.get();
  m_SubGrammars.insert(m_SubGrammars.begin() + GrammarIndex, std::move(node));
  return result;
}

QVMmessageGrammar* QVMmessageGrammar::insertGroup(const COLstring& name, size_t GrammarIndex) {
  shapeChanged();
  if (GrammarIndex == npos || GrammarIndex == COLstring::npos) GrammarIndex = m_SubGrammars.size();
  COL_PRECONDITION(GrammarIndex <= countOfSubGrammar());
  auto node = std::make_unique<QVMmessageGrammar>();
  node->initializeAsGroup(name, this);
  QVMmessageGrammar* result = node.get();
  m_SubGrammars.insert(m_SubGrammars.begin() + GrammarIndex, std::move(node));
  return result;
}

void QVMmessageGrammar::remove(size_t GrammarIndex) {
  shapeChanged();
  COL_PRECONDITION(GrammarIndex < countOfSubGrammar());
  QVMmessageGrammar* child = m_SubGrammars[GrammarIndex].get();
  while (child->countOfSubGrammar() > 0) child->remove(child->countOfSubGrammar() - 1);
  // Table grammar roots must not dangle once the node is gone.
  if (m_Message) m_Message->tableGrammar().forgetMessageGrammar(child);
  m_SubGrammars.erase(m_SubGrammars.begin() + GrammarIndex);
}

void QVMmessageGrammar::moveGrammarTo(QVMmessageGrammar* newParent, size_t index) {
  shapeChanged();
  COL_PRECONDITION(newParent != NULL);
  COL_PRECONDITION(m_Parent != NULL);
  for (const QVMmessageGrammar* up = newParent; up; up = up->m_Parent)
    if (up == this) throw COLerror("A message grammar cannot be moved below itself.", COL_ERROR_PRECONDITION);
  if (index != npos && index != COLstring::npos) {
    size_t count = newParent->countOfSubGrammar() - (newParent == m_Parent ? 1 : 0);
    COL_PRECONDITION(index <= count);
  }
  auto& siblings = m_Parent->m_SubGrammars;
  size_t from = childIndex();
  std::unique_ptr<QVMmessageGrammar> self = std::move(siblings[from]);
  siblings.erase(siblings.begin() + from);
  auto& target = newParent->m_SubGrammars;
  if (index == npos || index == COLstring::npos) index = target.size();
  target.insert(target.begin() + index, std::move(self));
  m_Parent = newParent;
}

size_t QVMmessageGrammar::childIndex() const {
  if (!m_Parent) throw COLerror("This message grammar is a root", COL_ERROR_PRECONDITION);
  for (size_t i = 0; i < m_Parent->m_SubGrammars.size(); ++i)
    if (m_Parent->m_SubGrammars[i].get() == this) return i;
  throw COLerror("This message isn't listed in its parent", COL_ERROR_PRECONDITION);
}

const COLstring& QVMmessageGrammar::grammarName() const {
  if (m_IsNode && m_Segment) return m_Segment->name();
  return m_GrammarName;
}

void QVMmessageGrammar::setGrammarName(const COLstring& name) {
  if (m_IsNode)
    throw COLerror("To change the segment name, rename it in the workspace.", COL_ERROR_PRECONDITION);
  m_GrammarName = name;
}

COLstring QVMmessageGrammar::fullerGrammarName() const {
  if (!m_IsNode) return m_GrammarName;
  COL_PRECONDITION_TEXT(m_Segment != nullptr, "pMember->pSegment != NULL");
  return QVMsegmentGrammarFullName(*m_Segment);
}

const COLstring& QVMmessageGrammar::fullGrammarName() const {
  std::vector<const QVMmessageGrammar*> path;
  for (const QVMmessageGrammar* node = this; node; node = node->m_Parent) path.push_back(node);
  m_FullName.clear();
  for (auto it = path.rbegin(); it != path.rend(); ++it) {
    if (it != path.rbegin()) m_FullName += '.';
    m_FullName += (*it)->fullerGrammarName();
  }
  return m_FullName;
}

bool QVMmessageGrammar::grammarIsOptional() const {
  if (m_IsNode || m_IsOptional) return m_IsOptional;
  for (size_t i = 0; i < m_SubGrammars.size(); ++i)
    if (subGrammarIsOptional(i)) return true;
  return false;
}

bool QVMmessageGrammar::subGrammarIsOptional(size_t GrammarIndex) const {
  return subGrammar(GrammarIndex)->grammarIsOptional();
}

bool QVMmessageGrammarIsEquivalent(const QVMmessageGrammar& a, const QVMmessageGrammar& b) {
  if (a.isNode() != b.isNode()) return false;
  if (a.isNode()) return a.segment() == b.segment();
  if (a.countOfSubGrammar() != b.countOfSubGrammar()) return false;
  for (size_t i = 0; i < a.countOfSubGrammar(); ++i)
    if (!QVMmessageGrammarIsEquivalent(*a.subGrammar(i), *b.subGrammar(i))) return false;
  return true;
}

void QVMmessageGrammarForgetSegments(QVMmessageGrammar& root,
                                     const std::unordered_set<const QVMsegmentGrammar*>& removed) {
  if (root.isNode() && removed.contains(root.segment())) root.setSegment(nullptr);
  for (size_t i = 0; i < root.countOfSubGrammar(); ++i) QVMmessageGrammarForgetSegments(*root.subGrammar(i), removed);
}
