// QVMmessageNodeAddress: a path into a message tree, one (node, repeat) pair per step.
// Step k selects child nodeIndex(k) of the current node and repetition repeatIndex(k) of
// that child.  It is the one way the model points at a place inside a message.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "COLstring.h"

class QVMmessageNodeAddress {
public:
  QVMmessageNodeAddress() = default;

  uint32_t depth() const { return static_cast<uint32_t>(m_NodeIndex.size()); }
  // Grows both vectors with zeros or drops their last steps.
  void setDepth(uint32_t depth);

  // Reading a step at or beyond the depth is a failed precondition.
  uint32_t nodeIndex(uint32_t step) const;
  uint32_t repeatIndex(uint32_t step) const;

  // The setters grow the address with zero steps until `step` exists.
  void setNodeIndex(uint32_t step, uint32_t node);
  void setRepeatIndex(uint32_t step, uint32_t repeat);
  void setNodeAndRepeatIndex(uint32_t step, uint32_t node, uint32_t repeat);

  // Copies the steps [firstSourceStep, source.depth() - trimAtEnd) of `source` to the steps
  // destinationStep, destinationStep + 1, ... of this address, growing it when needed.
  void copyAddress(uint32_t destinationStep, uint32_t firstSourceStep, const QVMmessageNodeAddress& source,
                   uint32_t trimAtEnd);

  // Drops the last step; nothing happens on an empty address.
  void pop_back();
  void clear();

  bool operator==(const QVMmessageNodeAddress& other) const {
    return m_NodeIndex == other.m_NodeIndex && m_RepeatIndex == other.m_RepeatIndex;
  }
  bool operator!=(const QVMmessageNodeAddress& other) const { return !(*this == other); }

private:
  void growTo(uint32_t step);

  std::vector<uint32_t> m_NodeIndex;
  std::vector<uint32_t> m_RepeatIndex;
};

// Prints the sub nodes of a message tree (typed or untyped) below `indent`, each repeat named
// by its one-based index and "R" and the repeat from the second on: "2:", "2R1:".
template <class Tree, class Stream>
void QVMmessageTreePrintSubNodesOn(const Tree& tree, Stream& stream, const COLstring& indent) {
  const COLstring inner = indent + "   ";
  for (unsigned i = 0; i < tree.countOfSubNode(); ++i) {
    const Tree* sub = tree.node(i, 0);
    for (unsigned r = 0; r < sub->countOfRepeat(); ++r) {
      std::string name = std::to_string(i + 1);
      if (r > 0) name += "R" + std::to_string(r);
      name += ':';
      sub->getRepeatedNode(r)->printOn(stream, inner, name.c_str());
    }
  }
}

// Follows an address from `Level` on through a built message tree (typed or untyped): node
// index 0 of a leaf picks its repeat; null where the tree has no such place.
template <class Tree>
const Tree* QVMmessageNodeAddressWalk(const QVMmessageNodeAddress& Address, const Tree& Root, unsigned Level) {
  const Tree* current = &Root;
  for (unsigned step = Level; step < Address.depth(); ++step) {
    const unsigned nodeIndex = Address.nodeIndex(step);
    const unsigned repeat = Address.repeatIndex(step);
    if (nodeIndex == 0 && current->countOfSubNode() == 0) {
      if (repeat >= current->countOfRepeat()) return nullptr;
      current = current->getRepeatedNode(repeat);
      continue;
    }
    if (nodeIndex >= current->countOfSubNode()) return nullptr;
    if (repeat >= current->node(nodeIndex, 0)->countOfRepeat()) return nullptr;
    current = current->node(nodeIndex, repeat);
  }
  return current;
}
