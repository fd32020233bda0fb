#include "QVMlistXmlIndexGrammar.h"

#include "COLerror.h"
#include "COLostream.h"
#include "QVMmessageGrammar.h"

QVMlistXmlIndexGrammar::QVMlistXmlIndexGrammar(const QVMmessageGrammar& grammar) {
  m_SubGrammars.reserve(grammar.countOfSubGrammar());
  for (size_t Index = 0; Index < grammar.countOfSubGrammar(); ++Index)
    m_SubGrammars.emplace_back(new QVMlistXmlIndexGrammar(*grammar.subGrammar(Index)));
}

QVMlistXmlIndexGrammar& QVMlistXmlIndexGrammar::subgrammar(size_t index) const {
  COL_PRECONDITION(index < m_SubGrammars.size());
  return *m_SubGrammars[index];
}

void QVMlistXmlIndexGrammar::printOn(COLostream& stream, const char* indent) const {
  stream << indent << "ListIndex = " << m_ListIndex << newline;
  const COLstring Deeper = COLstring(indent) + "  ";
  for (const COLreferencePtr<QVMlistXmlIndexGrammar>& Sub : m_SubGrammars) Sub->printOn(stream, Deeper.c_str());
}
