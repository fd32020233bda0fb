// QVMuntypedMessageTree: a message as text, split by delimiter level. A node has sub-nodes,
// each sub-node further repeats: repeat 0 is the sub-node itself, repeat r > 0 is entry r - 1
// of its own repeat list. Values point into a shared buffer (kept on the root by setBuffer)
// and are copied only when changed. clear() keeps the node objects for the next message.
// A node holds its value and lists itself, and the counts are read inline: the walks over a
// tree are the legacy road's hottest code, and each hop used to go through a second object.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class COLbuffer;
class COLostream;
class QVMconfig;
class QVMmessageNodeAddress;
class QVMsegmentGrammar;
class QVMuntypedLabelPart;
class SCCescaper;

class QVMuntypedMessageTree : public COLreference {
public:
  enum NodeType : unsigned { eNode = 0, eLabelNode = 1 };

  QVMuntypedMessageTree();
  QVMuntypedMessageTree(const QVMuntypedMessageTree&) = delete;
  QVMuntypedMessageTree& operator=(const QVMuntypedMessageTree&) = delete;
  ~QVMuntypedMessageTree() override;

  // Grows as needed; never null.
  QVMuntypedMessageTree* node(unsigned SubNode, unsigned Repeat);
  // Indices must exist; an empty slot still gets a node.
  const QVMuntypedMessageTree* node(unsigned SubNode, unsigned Repeat) const;
  QVMuntypedMessageTree* getRepeatedNode(unsigned Index);
  const QVMuntypedMessageTree* getRepeatedNode(unsigned Index) const;
  void insertNode(unsigned SubNode, unsigned Repeat, QVMuntypedMessageTree* Node);
  void addNode();
  unsigned countOfSubNode() const { return m_SubNode.length; }
  unsigned countOfRepeat() const { return m_RepeatNode.length + 1; }
  void setCountOfSubNode(unsigned Count);
  // Shortens to `Count` sub-nodes and keeps those past it for reuse, as clear() does: for a
  // tree rebuilt every message, where setCountOfSubNode would drop them.
  void cutSubNodesKeeping(unsigned Count);
  void setCountOfRepeat(unsigned Count);

  bool isNull() const { return m_Value == nullptr; }
  void setNull();
  // Stores the pointer, no copy: the text must outlive the tree's use of it.
  void setValue(const char* Value);
  void setStringValue(const COLstring& Value);
  const char* getValue() const;
  const char* getFirstValue() const;
  void setFirstValue(const COLstring& Value);

  // --- label-node items; a plain node becomes a label node on the first setter.
  void setBuffer(COLbuffer* Buffer);
  COLbuffer* getBuffer() const;
  void setSegment(const QVMsegmentGrammar* Grammar);
  const QVMsegmentGrammar* segmentGrammar() const;
  void setLabel(const COLstring& Label);
  const COLstring& getLabel() const;
  void addError(unsigned Code, const COLstring& Description);
  void clearError();
  unsigned countOfError() const;
  unsigned errorCode(unsigned Index) const;
  const COLstring& errorDescription(unsigned Index) const;
  const QVMuntypedMessageTree* firstSubNodeWithError(QVMmessageNodeAddress& Address) const;

  void clear();
  void fullClear();
  unsigned type() const;

  // Delimited text of this node as level `Level` (0: the message with its header laid out
  // from the configuration, 1: a segment, ...). Sub-nodes that exist are all written.
  void makeFlatWire(COLstring& Result, const QVMconfig& Config, unsigned Level) const;
  void unescapeValues(const SCCescaper& Escaper, bool Strict);
  void printOn(COLostream& Stream, const COLstring& Indent, const char* Name) const;

  static int64_t totalNodeCount();

private:
  // A list whose length can drop below its storage: the nodes past the length are kept for
  // reuse and cleared when the length grows over them again.
  struct Slots {
    std::vector<COLreferencePtr<QVMuntypedMessageTree>> nodes;
    unsigned length = 0;
    void growTo(unsigned Length);
    void cutTo(unsigned Length);
    QVMuntypedMessageTree* filled(unsigned Index);
  };

  QVMuntypedLabelPart& labelPart();

  const char* m_Value = nullptr;
  std::unique_ptr<COLstring> m_OwnString;
  // The const getters fill an empty slot with a node, as the others do.
  mutable Slots m_RepeatNode;
  mutable Slots m_SubNode;
  // Only the root and the segments carry label items; made on the first setter.
  QVMuntypedLabelPart* m_Label = nullptr;
};

// Walks `Address` from step `Level`. The non-const form grows the tree and always arrives;
// the const form gives null where the path leaves the tree, except that node index 0 on a
// node without sub-nodes stays on it (a simple field is its own first component).
QVMuntypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                       QVMuntypedMessageTree& Tree, unsigned Level);
const QVMuntypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                             const QVMuntypedMessageTree& Tree, unsigned Level);
// The text at the address (first leaf below it); false, with `Value` empty, when there is none.
bool QVMmessageNodeAddressGetValue(const QVMmessageNodeAddress& Address, COLstring& Value,
                                   const QVMuntypedMessageTree& Tree, unsigned Level);
