// QVMmessageDiffIterator: compares two untyped message trees and writes the differences as
// an HTML fragment of table rows, with the style classes "segment", "equal", "unequal",
// "field" and "value". Level 0 is the message, 1 a segment, 2 a field, and so on.
#pragma once

#include "COLstring.h"

class COLostream;
class QVMuntypedMessageTree;

class QVMmessageDiffIterator {
public:
  explicit QVMmessageDiffIterator(COLostream& Stream) : m_Stream(Stream) {}

  // The shorter side of a repeat grows by null nodes, so both trees may change shape.
  void iterate(QVMuntypedMessageTree& Lhs, QVMuntypedMessageTree& Rhs, unsigned Repeat, unsigned Level);
  unsigned countOfError() const { return m_CountOfError; }

  void outputStartRow(const char* Class);
  void outputCloseRow();
  void outputStartCell(const char* Class);
  void outputCloseCell();
  void outputStartMultiCol(const char* Class, unsigned Columns);
  void outputCloseMultiCol();
  void outputStartDiv(const char* Class);
  void outputCloseDiv();
  void outputStartSpan(const char* Class);
  void outputCloseSpan();
  void outputNode(const QVMuntypedMessageTree& Node, unsigned Index, unsigned Repeat, unsigned Level);
  void outputNullNode();

private:
  static constexpr unsigned kPathSize = 5;
  // What is left of one side from sub-node `From` on, each non-null node against nothing.
  void outputNodes(QVMuntypedMessageTree& Side, unsigned From, unsigned Level, bool IsLeft);
  void setPath(unsigned Level, unsigned Index) {
    if (Level < kPathSize) m_Path[Level] = Index;
  }

  COLostream& m_Stream;
  unsigned m_Path[kPathSize] = {};
  unsigned m_CountOfError = 0;
};
