// QVMmessageGrammar: one node of the tree that a message must match, either a segment node
// (pointing at a segment grammar of the same configuration) or a named group of sub-nodes.
// Parents own their children; every node knows its parent and its message definition.
// A COLreference only so that the handle interface can tell its kind; it is never counted.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class QVMmessageDefinitionInternal;
class QVMsegmentGrammar;

class QVMmessageGrammar : public COLreference {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMmessageGrammar();
  // A copy takes the whole subtree; the copy's children point at the copy, while segment
  // pointers still name the source's segment grammars.
  QVMmessageGrammar(const QVMmessageGrammar& other);
  QVMmessageGrammar& operator=(const QVMmessageGrammar& other);
  ~QVMmessageGrammar() override;

  void initializeAsRoot(QVMmessageDefinitionInternal* pMessage);
  void initializeAsSegment(QVMsegmentGrammar* segment, QVMmessageGrammar* parent);
  void initializeAsGroup(const COLstring& name, QVMmessageGrammar* parent);

  bool isNode() const { return m_IsNode; }
  QVMmessageGrammar* parent() const { return m_Parent; }
  QVMmessageDefinitionInternal* message() const { return m_Message; }
  QVMsegmentGrammar* segment() const { return m_Segment; }
  void setSegment(QVMsegmentGrammar* segment);
  bool isOptional() const { return m_IsOptional; }
  void setIsOptional(bool value) { m_IsOptional = value; }
  bool isRepeating() const { return m_IsRepeating; }
  void setIsRepeating(bool value) { m_IsRepeating = value; }
  uint32_t maximumRepeat() const { return m_MaximumRepeat; }
  void setMaximumRepeat(uint32_t value) { m_MaximumRepeat = value; }
  bool ignoreSegmentOrder() const { return m_IgnoreSegmentOrder; }
  void setIgnoreSegmentOrder(bool value) { m_IgnoreSegmentOrder = value; }

  size_t countOfSubGrammar() const { return m_SubGrammars.size(); }
  QVMmessageGrammar* subGrammar(size_t GrammarIndex) const;
  // npos appends; returns the new node.
  QVMmessageGrammar* insertSegment(QVMsegmentGrammar* segment, size_t GrammarIndex = npos);
  QVMmessageGrammar* insertGroup(const COLstring& name, size_t GrammarIndex = npos);
  // Removes a child with its subtree, clearing table grammar roots that point into it.
  void remove(size_t GrammarIndex);
  // Moves this node (with its subtree) under another parent; npos appends.
  void moveGrammarTo(QVMmessageGrammar* newParent, size_t index = npos);
  size_t childIndex() const;

  // The segment's name for a segment node, the group name otherwise.
  const COLstring& grammarName() const;
  void setGrammarName(const COLstring& name);
  // Names of this node and its ancestors, outermost first, joined by ".".
  const COLstring& fullGrammarName() const;
  COLstring fullerGrammarName() const;

  // A group counts as optional when it or any of its children is.
  bool grammarIsOptional() const;
  bool subGrammarIsOptional(size_t GrammarIndex) const;

private:
  void copySubtreeFrom(const QVMmessageGrammar& other);
  // Tells the engine that the shape of the tree changed: what was planned on it is stale.
  void shapeChanged() const;

  uint32_t m_MaximumRepeat = 0;
  bool m_IsNode = false;
  bool m_IsOptional = false;
  bool m_IsRepeating = false;
  bool m_IgnoreSegmentOrder = false;
  std::vector<std::unique_ptr<QVMmessageGrammar>> m_SubGrammars;
  COLstring m_GrammarName = "Message";
  QVMsegmentGrammar* m_Segment = nullptr;
  QVMmessageDefinitionInternal* m_Message = nullptr;
  QVMmessageGrammar* m_Parent = nullptr;
  mutable COLstring m_FullName;
};

// Same shape over the same segment grammar objects; names, flags and limits don't count.
bool QVMmessageGrammarIsEquivalent(const QVMmessageGrammar& a, const QVMmessageGrammar& b);
// Segment nodes of the tree whose segment is in `removed` are left without a segment.
void QVMmessageGrammarForgetSegments(QVMmessageGrammar& root,
                                     const std::unordered_set<const QVMsegmentGrammar*>& removed);
