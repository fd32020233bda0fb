// QVPbuilder: lays the tokens of a QVMtokeniser out as the raw tree of segments, fields,
// repeats and sub fields. Keeps one field and one repeat counter per level; stores no text.
#pragma once

#include <vector>

class QVMtokeniser;
class QVMuntypedMessageTree;

class QVPbuilder {
public:
  // `HeaderFieldsToSkip` above 0: the first token is already a field of the header, behind the
  // fields the caller fills itself.
  void build(QVMuntypedMessageTree& Result, QVMtokeniser& Tokeniser, unsigned HeaderFieldsToSkip);

private:
  void separatorStep(QVMuntypedMessageTree& Result, unsigned Level);
  void repeatStep(QVMuntypedMessageTree& Result, unsigned Level);
  void setValue(QVMuntypedMessageTree& Result);
  void resetCounters(int LowLevel, int HighLevel);

  std::vector<unsigned> m_FieldCount;
  std::vector<unsigned> m_RepeatCount;
  unsigned m_Level = 0;
  char* m_Token = nullptr;
};
