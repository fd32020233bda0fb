// QVMtypedMessageTree: a message shaped like its grammar, with typed leaf values and the
// present marks that generation needs. Repeats work as in the untyped tree: repeat 0 is the
// sub-node itself. Getters are strict: check isNull() and dataType() before reading.
// A root owns the storage of all the nodes below it: they come from chunks that grow with the
// tree's largest shape and are reused by clear(), so a context parsing message after message
// makes no nodes once warm. Node pointers stay valid while the root lives.
#pragma once

#include <cstdint>

#include "COLreference.h"
#include "COLstring.h"
#include "QVMdataType.h"

class COLdateTime;
class COLostream;
class QVMdateTimeInternal;
class QVMmessageNodeAddress;
class QVMsegmentGrammar;
class QVMtypedMessageTreePrivate;
struct QVMtypedTreePool;

// How a leaf came in on the legacy road.
enum QVMdataPresent : uint32_t {
  QVMdataPresentEmpty = 0,
  QVMdataPresentConverted = 1,
  QVMdataPresentNotConverted = 2,  // a new node, or a date-time text that didn't parse
  QVMdataPresentExplicitNull = 3,
};

class QVMtypedMessageTree : public COLreference {
public:
  explicit QVMtypedMessageTree(QVMtypedMessageTree* Parent = nullptr);
  QVMtypedMessageTree(const QVMtypedMessageTree&) = delete;
  QVMtypedMessageTree& operator=(const QVMtypedMessageTree&) = delete;
  ~QVMtypedMessageTree() override;

  // Neither form grows the lists; an empty slot gets a node with this node as parent.
  QVMtypedMessageTree* node(unsigned SubNode, unsigned Repeat);
  const QVMtypedMessageTree* node(unsigned SubNode, unsigned Repeat) const;
  // Grows both lists as far as the indices need, and makes this node non-null.
  QVMtypedMessageTree* makeNodeUpTo(unsigned SubNode, unsigned Repeat);
  void insertNode(unsigned SubNode, unsigned Repeat, QVMtypedMessageTree* Node);
  QVMtypedMessageTree* addNode();
  QVMtypedMessageTree* addRepeatNode();
  void makeRepeatNodeUpTo(unsigned Count);
  void removeLastRepeat();
  QVMtypedMessageTree* getRepeatedNode(unsigned Index);
  const QVMtypedMessageTree* getRepeatedNode(unsigned Index) const;
  // This handle shares the member of `Other` from now on; its own is kept aside and comes
  // back when the node is reused for the next message.
  void replaceNode(QVMtypedMessageTree& Other);
  // Every node below, kept or in use, that took another tree's content goes back to its own, so
  // that the other tree can reuse its nodes: for a tree just cleared, before it is rebuilt.
  void returnTakenContents();
  unsigned countOfSubNode() const;
  unsigned countOfRepeat() const;

  void setStringValue(const COLstring& Value);
  // Makes the node a non-null string and hands out its text, emptied, for the caller to fill in
  // place: the text's storage is kept from message to message, so filling it allocates nothing
  // once it is large enough.
  COLstring& stringValueToFill();
  void setIntegerValue(int32_t Value);
  void setDoubleValue(double Value);
  void setDateTimeValue(const COLdateTime& Value);
  const COLstring& getStringValue() const;
  int32_t getIntegerValue() const;
  double getDoubleValue() const;
  const QVMdateTimeInternal& getDateTimeValue() const;
  // The text form of any type.
  const COLstring& getAsStringValue() const;
  QVMdataType dataType() const;
  uint32_t dataPresent() const;
  void setDataPresent(uint32_t Value);

  bool isNull() const;
  void setNull();
  // A leaf: no sub-nodes.
  bool isNode() const;
  bool isSubTreeEmpty() const;
  bool isPresent() const;
  void setIsPresent(bool Value = true);
  void setIsPresentUpToRoot(bool Value);

  void setLabel(const COLstring& Label);
  const COLstring& getLabel() const;
  void setSegmentGrammar(const QVMsegmentGrammar* Grammar);
  const QVMsegmentGrammar* segmentGrammar() const;
  QVMtypedMessageTree* parent() const;
  void clear();
  void printOn(COLostream& Stream, const COLstring& Indent, const char* Name) const;

  static int64_t totalNodeCount();

private:
  friend struct QVMtypedSlots;
  friend struct QVMtypedTreePool;
  friend struct QVMtypedTreeEntry;
  struct PoolEntry {};
  // A node of a root's storage: its member is the one beside it in the same entry.
  QVMtypedMessageTree(PoolEntry, QVMtypedMessageTreePrivate* Own);
  QVMtypedMessageTree* slot(unsigned SubNode, unsigned Repeat) const;
  QVMtypedMessageTree* adopt(QVMtypedMessageTree* Node);
  bool borrows() const { return pMember != pOwn; }
  // Back to the own member after replaceNode.
  void giveBack();

  QVMtypedMessageTreePrivate* pMember;
  // The member this node was made with; pMember differs while it shares another's.
  QVMtypedMessageTreePrivate* pOwn;
  // Roots only: the storage every node below comes from.
  QVMtypedTreePool* pPool = nullptr;
};

QVMtypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                     QVMtypedMessageTree& Tree, unsigned Level);
const QVMtypedMessageTree* QVMmessageNodeAddressGetSubNode(const QVMmessageNodeAddress& Address,
                                                           const QVMtypedMessageTree& Tree, unsigned Level);
