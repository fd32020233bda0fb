#include "QVMmessageNodeAddress.h"

#include "COLerror.h"

void QVMmessageNodeAddress::setDepth(uint32_t depth) {
  m_NodeIndex.resize(depth, 0);
  m_RepeatIndex.resize(depth, 0);
}

uint32_t QVMmessageNodeAddress::nodeIndex(uint32_t step) const {
  COL_PRECONDITION_TEXT(step < depth(), "Index < depth()");
  return m_NodeIndex[step];
}

uint32_t QVMmessageNodeAddress::repeatIndex(uint32_t step) const {
  COL_PRECONDITION_TEXT(step < depth(), "Index < depth()");
  return m_RepeatIndex[step];
}

void QVMmessageNodeAddress::growTo(uint32_t step) {
  if (step >= depth()) setDepth(step + 1);
}

void QVMmessageNodeAddress::setNodeIndex(uint32_t step, uint32_t node) {
  growTo(step);
  m_NodeIndex[step] = node;
}

void QVMmessageNodeAddress::setRepeatIndex(uint32_t step, uint32_t repeat) {
  growTo(step);
  m_RepeatIndex[step] = repeat;
}

void QVMmessageNodeAddress::setNodeAndRepeatIndex(uint32_t step, uint32_t node, uint32_t repeat) {
  growTo(step);
  m_NodeIndex[step] = node;
  m_RepeatIndex[step] = repeat;
}

void QVMmessageNodeAddress::copyAddress(uint32_t destinationStep, uint32_t firstSourceStep,
                                        const QVMmessageNodeAddress& source, uint32_t trimAtEnd) {
  if (trimAtEnd >= source.depth()) return;
  uint32_t end = source.depth() - trimAtEnd;
  if (firstSourceStep >= end) return;
  // Read the source first: it may be this very address.
  std::vector<uint32_t> nodes(source.m_NodeIndex.begin() + firstSourceStep, source.m_NodeIndex.begin() + end);
  std::vector<uint32_t> repeats(source.m_RepeatIndex.begin() + firstSourceStep,
                                source.m_RepeatIndex.begin() + end);
  growTo(destinationStep + static_cast<uint32_t>(nodes.size()) - 1);
  std::copy(nodes.begin(), nodes.end(), m_NodeIndex.begin() + destinationStep);
  std::copy(repeats.begin(), repeats.end(), m_RepeatIndex.begin() + destinationStep);
}

void QVMmessageNodeAddress::pop_back() {
  if (m_NodeIndex.empty()) return;
  m_NodeIndex.pop_back();
  m_RepeatIndex.pop_back();
}

void QVMmessageNodeAddress::clear() {
  m_NodeIndex.clear();
  m_RepeatIndex.clear();
}
