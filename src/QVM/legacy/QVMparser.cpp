#include "QVMparser.h"

#include <algorithm>
#include <cstring>

#include "COLbuffer.h"
#include "COLerror.h"
#include "COLostream.h"
#include "QVMconfig.h"
#include "QVMuntypedMessageTree.h"
#include "QVPbuilder.h"
#include "SCCescaper.h"
#include "SGCconfig.h"

class QVMparserPrivate {
public:
  explicit QVMparserPrivate(const QVMconfig& Config) : config(Config) { useDefaultSepChars(); }

  void useDefaultSepChars();
  void parseSepChars(const COLstring& Message, SCCescaper& Escaper);

  std::vector<char> SepChar;
  std::vector<char> RepChar;  // 0: no repeat character at that level
  char Escape = 0;
  const QVMconfig& config;
  // Kept between messages, so that a warm parse allocates nothing.
  SCCescaperSettings escaperSettings;
  QVMtokeniser tokeniser;
  QVPbuilder builder;
};

void QVMparserPrivate::useDefaultSepChars() {
  const size_t Levels = config.countOfLevel();
  SepChar.resize(Levels);
  RepChar.resize(Levels);
  for (size_t Level = 0; Level < Levels; ++Level) {
    const QVMsepInfo& Info = config.sepCharInfo(Level);
    COL_PRECONDITION_TEXT(Info.sepCharDefault() != 0, "pConfig->sepCharInfo(Level).sepCharDefault() != 0");
    SepChar[Level] = Info.sepCharDefault();
    RepChar[Level] = Info.repeatCharDefault();
  }
  Escape = config.escapeDefault();
}

void QVMparserPrivate::parseSepChars(const COLstring& Message, SCCescaper& Escaper) {
  const uint32_t MinSize = QVMconfigCalculateMinMessageSize(config);
  if (Message.size() < MinSize) {
    COLstring Text;
    COLostream(Text) << "Message is too short.  It needs to be at least " << MinSize
                     << " characters to fit the header segment and encoding characters.";
    throw COLerror(Text, COL_ERROR_MESSAGE_TOO_SHORT);
  }
  const COLstring& Header = config.headerSegment();
  if (Message.str().compare(0, Header.size(), Header.str()) != 0)
    throw COLerror("Header segment '" + Header + "' not present in message.", COL_ERROR_HEADER_NOT_FOUND);
  // Every position lies below the minimum size, so the reads below stay inside the text.
  Escape = config.escapePosition() == QVMconfig::npos ? config.escapeDefault() : Message[config.escapePosition()];
  const size_t Levels = config.countOfLevel();
  SepChar.resize(Levels);
  RepChar.resize(Levels);
  for (size_t Level = 0; Level < Levels; ++Level) {
    const QVMsepInfo& Info = config.sepCharInfo(Level);
    if (Info.sepCharPosition() == QVMsepInfo::npos) {
      COL_PRECONDITION_TEXT(Info.sepCharDefault() != 0, "pConfig->sepCharInfo(Level).sepCharDefault() != 0");
      SepChar[Level] = Info.sepCharDefault();
    } else {
      SepChar[Level] = Message[Info.sepCharPosition()];
    }
    if (Info.repeatCharDefault() == 0) RepChar[Level] = 0;
    else if (Info.repeatCharPosition() == QVMsepInfo::npos) RepChar[Level] = Info.repeatCharDefault();
    else RepChar[Level] = Message[Info.repeatCharPosition()];
  }
  COL_POSTCONDITION_TEXT(SepChar.size() == RepChar.size(), "SepChar.size() == RepChar.size()");
  COL_POSTCONDITION_TEXT(SepChar.size() == config.countOfLevel(), "SepChar.size() == pConfig->countOfLevel()");
  SGCescaperSettings(config, escaperSettings);
  Escaper.resetUnescapeChar(SepChar, RepChar, Escape, escaperSettings);
}

QVMparser::QVMparser(const QVMconfig& Config) : pMember(std::make_unique<QVMparserPrivate>(Config)) {}
QVMparser::~QVMparser() = default;

void QVMparser::useConfiguredDelimiters() { pMember->useDefaultSepChars(); }

unsigned QVMparser::countOfDelimiter() const { return static_cast<unsigned>(pMember->SepChar.size()); }

char QVMparser::delimiter(unsigned Level) const {
  COL_PRECONDITION(Level < pMember->SepChar.size());
  return pMember->SepChar[Level];
}

char QVMparser::repeat(unsigned Level) const {
  COL_PRECONDITION(Level < pMember->RepChar.size());
  return pMember->RepChar[Level];
}

char QVMparser::escape() const { return pMember->Escape; }
const QVMconfig& QVMparser::config() const { return pMember->config; }

void QVMparser::parse(const COLstring& Message, QVMuntypedMessageTree& Result, SCCescaper& Escaper) {
  COL_PRECONDITION_TEXT(Result.countOfSubNode() == 0, "Result.countOfSubNode() == 0");
  COL_PRECONDITION_TEXT(Result.countOfRepeat() == 1, "Result.countOfRepeat() == 1");
  QVMparserPrivate& Member = *pMember;
  const QVMconfig& Config = Member.config;
  if (Config.parseSeparatorChars()) Member.parseSepChars(Message, Escaper);
  else Member.useDefaultSepChars();

  // An HL7 header states its delimiters in its own first fields: they are kept out of the
  // tokeniser's reach and put back as fields 1 and 2 afterwards.
  const bool ProtectHeader = Config.countOfHeaderFieldsToSkip() > 2;
  size_t FirstDelimiter = 0, SecondDelimiter = 0;
  if (ProtectHeader) {
    COL_PRECONDITION(Member.SepChar.size() > 1);
    FirstDelimiter = Message.str().find(Member.SepChar[1]);
    SecondDelimiter = FirstDelimiter == std::string::npos ? FirstDelimiter
                                                          : Message.str().find(Member.SepChar[1], FirstDelimiter + 1);
    if (SecondDelimiter == std::string::npos)
      throw COLerror("Couldn't find the end of the encoding character segment.", COL_ERROR_DELIMITERS);
  }

  // The buffer of the last message is reused when no one else holds it.
  COLbuffer* Buffer = Result.getBuffer();
  if (Buffer == nullptr || Buffer->countOfRef() != 1) {
    Buffer = new COLbuffer;
    Result.setBuffer(Buffer);
  }
  Buffer->assign(Message.c_str(), Message.size());
  char* Text = Buffer->data();
  const size_t Start = ProtectHeader ? std::min<size_t>(QVMconfigCalculateMinMessageSize(Config), Message.size()) : 0;

  Member.tokeniser.tokenise(Text + Start, Member.SepChar, Member.RepChar);
  Member.builder.build(Result, Member.tokeniser, Config.countOfHeaderFieldsToSkip());

  if (ProtectHeader) {
    Text[FirstDelimiter] = '\0';
    Text[SecondDelimiter] = '\0';
    QVMuntypedMessageTree& Header = *Result.node(0, 0);
    Header.node(0, 0)->setValue(Text);
    Header.node(2, 0)->setValue(Text + FirstDelimiter + 1);
    Header.node(1, 0)->setStringValue(COLstring(1, Member.SepChar[1]));
  }
}

// --- tokeniser

void QVMtokeniser::tokenise(char* Text, const std::vector<char>& SepChar, const std::vector<char>& RepChar) {
  std::memset(m_Class, 0, sizeof m_Class);
  m_MaxLevel = static_cast<unsigned>(std::max(SepChar.size(), RepChar.size()));
  for (size_t Level = 0; Level < SepChar.size(); ++Level)
    m_Class[static_cast<unsigned char>(SepChar[Level])].separatorLevel = static_cast<uint8_t>(Level + 1);
  for (size_t Level = 0; Level < RepChar.size(); ++Level)
    if (RepChar[Level] != 0) m_Class[static_cast<unsigned char>(RepChar[Level])].repeatLevel = static_cast<uint8_t>(Level + 1);
  // The terminator stops the scan with the same single look-up as a delimiter.
  m_Class[0] = Class{0, 0xFF};
  m_Position = Text;
}

bool QVMtokeniser::getNextField(char*& Token, bool& IsRepeat, unsigned& Level) {
  char* Position = m_Position;
  Class Found;
  while (true) {
    Found = m_Class[static_cast<unsigned char>(*Position)];
    if ((Found.repeatLevel | Found.separatorLevel) != 0) break;
    ++Position;
  }
  Token = m_Position;
  if (*Position == '\0') {
    m_Position = Position;
    return false;
  }
  IsRepeat = Found.repeatLevel != 0;
  Level = (IsRepeat ? Found.repeatLevel : Found.separatorLevel) - 1u;
  if (Level >= m_MaxLevel) {
    COLstring Text;
    COLostream(Text) << "The token level " << Level << " is beyond the valid token range. The token character is "
                     << *Position;
    throw COLerror(Text, COL_ERROR_TOKEN_LEVEL);
  }
  *Position = '\0';
  m_Position = Position + 1;
  return true;
}

void QVMrawParseMessage(const COLstring& Message, QVMparser& Parser, SCCescaper& Escaper,
                        QVMuntypedMessageTree& Result) {
  Result.clear();
  Parser.parse(Message, Result, Escaper);
}
