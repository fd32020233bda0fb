#include "QVPbuilder.h"

#include "COLerror.h"
#include "COLostream.h"
#include "QVMparser.h"
#include "QVMuntypedMessageTree.h"

void QVPbuilder::build(QVMuntypedMessageTree& Result, QVMtokeniser& Tokeniser, unsigned HeaderFieldsToSkip) {
  if (HeaderFieldsToSkip != 0) --HeaderFieldsToSkip;
  const unsigned Levels = Tokeniser.maxLevel();
  COL_PRECONDITION(HeaderFieldsToSkip == 0 || Levels > 1);
  m_FieldCount.assign(Levels, 0);
  m_RepeatCount.assign(Levels, 0);
  m_Path.assign(Levels, nullptr);
  m_Valid = 0;
  if (HeaderFieldsToSkip != 0) m_FieldCount[1] = HeaderFieldsToSkip;
  m_Level = HeaderFieldsToSkip != 0 ? 1 : 0;

  bool IsRepeat = false;
  unsigned Level = 0;
  bool More = true;
  // The last token ends at the text's end; it takes the step of the delimiter before it.
  while (More) {
    More = Tokeniser.getNextField(m_Token, IsRepeat, Level);
    if (IsRepeat) repeatStep(Result, Level);
    else separatorStep(Result, Level);
  }
}

void QVPbuilder::separatorStep(QVMuntypedMessageTree& Result, unsigned Level) {
  if (Level == 0 && m_Level == 0) return;  // a segment without a field: a blank line or stray text
  if (m_Level < Level) {
    resetCounters(static_cast<int>(m_Level + 1), static_cast<int>(Level));
    m_Level = Level;
    setValue(Result);
    m_FieldCount[Level] = 1;
    touched(Level);
    return;
  }
  setValue(Result);
  ++m_FieldCount[Level];
  m_RepeatCount[Level] = 0;
  touched(Level);
  m_Level = Level;
}

void QVPbuilder::repeatStep(QVMuntypedMessageTree& Result, unsigned Level) {
  if (m_Level < Level) {
    COLstring Text;
    COLostream(Text) << "A Repeat character for level " << Level
                     << " was in the message when the level being parsed was " << m_Level << ".";
    throw COLerror(Text, COL_ERROR_TOKEN_LEVEL);
  }
  setValue(Result);
  m_Level = Level;
  ++m_RepeatCount[Level];
  touched(Level);
}

void QVPbuilder::setValue(QVMuntypedMessageTree& Result) {
  if (m_Token == nullptr || *m_Token == '\0') return;
  for (unsigned Level = m_Valid; Level <= m_Level; ++Level) {
    QVMuntypedMessageTree& Parent = Level == 0 ? Result : *m_Path[Level - 1];
    m_Path[Level] = Parent.node(m_FieldCount[Level], m_RepeatCount[Level]);
  }
  if (m_Valid <= m_Level) m_Valid = m_Level + 1;
  m_Path[m_Level]->setValue(m_Token);
}

void QVPbuilder::resetCounters(int LowLevel, int HighLevel) {
  COL_PRECONDITION_TEXT(m_FieldCount.size() == m_RepeatCount.size(), "m_FieldCount.size() == m_RepeatCount.size()");
  COL_PRECONDITION_TEXT(LowLevel < (int)m_FieldCount.size(), "LowLevel < (int)m_FieldCount.size()");
  COL_PRECONDITION_TEXT(HighLevel < (int)m_FieldCount.size(), "HighLevel < (int)m_FieldCount.size()");
  for (int Level = LowLevel; Level <= HighLevel; ++Level) {
    m_FieldCount[Level] = 0;
    m_RepeatCount[Level] = 0;
  }
  if (LowLevel <= HighLevel) touched(static_cast<unsigned>(LowLevel));
}
