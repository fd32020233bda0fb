#include "QVMmessageDiffIterator.h"

#include <algorithm>
#include <cstring>

#include "COLostream.h"
#include "QVMuntypedMessageTree.h"

namespace {
// Message text may hold the characters that HTML reserves.
void writeEscaped(COLostream& stream, const char* text) {
  const char* run = text;
  for (const char* p = text; *p; ++p) {
    const char* entity = *p == '&' ? "&amp;" : *p == '<' ? "&lt;" : *p == '>' ? "&gt;" : nullptr;
    if (!entity) continue;
    stream.write(run, static_cast<size_t>(p - run));
    stream << entity;
    run = p + 1;
  }
  stream << run;
}
}  // namespace

void QVMmessageDiffIterator::outputStartRow(const char* Class) { m_Stream << "<tr class='" << Class << "'>"; }
void QVMmessageDiffIterator::outputCloseRow() { m_Stream << "</tr>"; }
void QVMmessageDiffIterator::outputStartCell(const char* Class) { m_Stream << "<td class='" << Class << "'>"; }
void QVMmessageDiffIterator::outputCloseCell() { m_Stream << "</td>"; }
void QVMmessageDiffIterator::outputStartMultiCol(const char* Class, unsigned Columns) {
  m_Stream << "<td colspan='" << Columns << "'  class='" << Class << "'>";
}
void QVMmessageDiffIterator::outputCloseMultiCol() { m_Stream << "</td>"; }
void QVMmessageDiffIterator::outputStartDiv(const char* Class) { m_Stream << "<DIV CLASS=\"" << Class << "\">"; }
void QVMmessageDiffIterator::outputCloseDiv() { m_Stream << "</DIV>"; }
void QVMmessageDiffIterator::outputStartSpan(const char* Class) { m_Stream << "<SPAN CLASS=\"" << Class << "\">"; }
void QVMmessageDiffIterator::outputCloseSpan() { m_Stream << "</SPAN>"; }

void QVMmessageDiffIterator::outputNode(const QVMuntypedMessageTree& Node, unsigned Index, unsigned Repeat,
                                        unsigned Level) {
  outputStartCell("field");
  for (unsigned step = 1; step < Level && step < kPathSize; ++step) m_Stream << m_Path[step] << ".";
  m_Stream << Index;
  if (Repeat != 0) m_Stream << " (rep " << Repeat << ")";
  outputCloseCell();
  outputStartCell("value");
  if (Node.isNull()) m_Stream << "&nbsp;";
  else writeEscaped(m_Stream, Node.getValue());
  outputCloseCell();
}

void QVMmessageDiffIterator::outputNullNode() {
  outputStartCell("field");
  m_Stream << "&nbsp;";
  outputCloseCell();
  outputStartCell("value");
  m_Stream << "&nbsp;";
  outputCloseCell();
}

void QVMmessageDiffIterator::iterate(QVMuntypedMessageTree& Lhs, QVMuntypedMessageTree& Rhs, unsigned Repeat,
                                     unsigned Level) {
  (void)Repeat;
  if (Level == 1) {
    outputStartRow("segment");
    for (QVMuntypedMessageTree* side : {&Lhs, &Rhs}) {
      if (side->countOfSubNode() == 0 || side->node(0, 0)->isNull()) continue;
      outputStartMultiCol("segment", 2);
      writeEscaped(m_Stream, side->node(0, 0)->getValue());
      outputCloseMultiCol();
    }
    outputCloseRow();
    m_Stream << newline;
  }
  unsigned i = 0;
  for (; i < Lhs.countOfSubNode() && i < Rhs.countOfSubNode(); ++i) {
    setPath(Level, i);
    const unsigned repeats =
        Level == 1 ? std::max(Lhs.node(i, 0)->countOfRepeat(), Rhs.node(i, 0)->countOfRepeat()) : 1;
    for (unsigned r = 0; r < repeats; ++r) {
      QVMuntypedMessageTree* left = Lhs.node(i, r);
      QVMuntypedMessageTree* right = Rhs.node(i, r);
      if (!left->isNull() || !right->isNull()) {
        const bool equal =
            !left->isNull() && !right->isNull() && std::strcmp(left->getValue(), right->getValue()) == 0;
        if (!equal) ++m_CountOfError;
        outputStartRow(equal ? "equal" : "unequal");
        outputNode(*left, i, r, Level);
        outputNode(*right, i, r, Level);
        outputCloseRow();
        m_Stream << newline;
      }
      iterate(*left, *right, r, Level + 1);
    }
  }
  outputNodes(Lhs, i, Level, true);
  outputNodes(Rhs, i, Level, false);
  if (Lhs.countOfSubNode() > 0 || Rhs.countOfSubNode() > 0) m_Stream << newline;
}

void QVMmessageDiffIterator::outputNodes(QVMuntypedMessageTree& Side, unsigned From, unsigned Level, bool IsLeft) {
  for (unsigned i = From; i < Side.countOfSubNode(); ++i) {
    setPath(Level, i);
    const unsigned repeats = Level == 1 ? Side.node(i, 0)->countOfRepeat() : 1;
    for (unsigned r = 0; r < repeats; ++r) {
      QVMuntypedMessageTree* node = Side.node(i, r);
      if (!node->isNull()) {
        ++m_CountOfError;
        outputStartRow("unequal");
        if (IsLeft) {
          outputNode(*node, i, r, Level);
          outputNullNode();
        } else {
          outputNullNode();
          outputNode(*node, i, r, Level);
        }
        outputCloseRow();
        m_Stream << newline;
      }
      outputNodes(*node, 0, Level + 1, IsLeft);
    }
  }
}
