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
  // The counters of `Level` changed: the nodes kept for it and below it are stale.
  void touched(unsigned Level) {
    if (Level < m_Valid) m_Valid = Level;
  }

  std::vector<unsigned> m_FieldCount;
  std::vector<unsigned> m_RepeatCount;
  // The node each level's counters lead to, valid below m_Valid: a value only looks up the
  // levels whose counters changed since the one before, not the whole way from the root.
  std::vector<QVMuntypedMessageTree*> m_Path;
  unsigned m_Valid = 0;
  unsigned m_Level = 0;
  char* m_Token = nullptr;
};
