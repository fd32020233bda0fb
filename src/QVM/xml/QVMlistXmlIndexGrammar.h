// QVMlistXmlIndexGrammar: a tree shaped like a message grammar that gives each of its nodes a
// list number, so that the tree XML writers can name the lists of repeating items.
#pragma once

#include <cstddef>
#include <vector>

#include "COLreference.h"

class COLostream;
class QVMmessageGrammar;

class QVMlistXmlIndexGrammar : public COLreference {
public:
  static constexpr unsigned NoIndex = 0xFFFFFFFF;

  // One node per node of `grammar`, all of them without a number.
  explicit QVMlistXmlIndexGrammar(const QVMmessageGrammar& grammar);

  size_t countOfSubGrammar() const { return m_SubGrammars.size(); }
  QVMlistXmlIndexGrammar& subgrammar(size_t index) const;
  unsigned listIndex() const { return m_ListIndex; }
  void setListIndex(unsigned index) { m_ListIndex = index; }

  // The indent, "ListIndex = ", the number and a line end; children two blanks further in.
  void printOn(COLostream& stream, const char* indent = "") const;

private:
  unsigned m_ListIndex = NoIndex;
  std::vector<COLreferencePtr<QVMlistXmlIndexGrammar>> m_SubGrammars;
};
