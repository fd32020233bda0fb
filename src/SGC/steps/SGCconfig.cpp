#include "SGCconfig.h"

#include "QVMconfig.h"
#include "SGMsegmentList.h"
#include "SGPparser.h"

namespace {

// A configuration position counts from the start of the message, an option position from
// the end of the header name.
int32_t SGCoptionPosition(uint32_t Position, size_t HeaderLength, bool ReadFromMessage) {
  if (!ReadFromMessage || Position == QVMsepInfo::npos) return -1;
  if (Position < HeaderLength) return -1;
  return static_cast<int32_t>(Position - HeaderLength);
}

}  // namespace

void SGCcopyConfig(const QVMconfig& Config, SGPparserOptions& Options) {
  Options.setHeaderSegmentName(Config.headerSegment());
  const size_t H = Config.headerSegment().size();
  Options.setHl7Mode(Config.countOfHeaderFieldsToSkip() > 2);
  const size_t Levels = Config.countOfLevel();
  if (Levels != 0) Options.setSegmentDelimiter(Config.sepCharInfo(0).sepCharDefault());
  const bool Read = Config.parseSeparatorChars();
  Options.setFieldDelimiter(0, -1);
  Options.setRepeatCharacter(0, -1);
  Options.setSubFieldDelimiter(0, -1);
  Options.setSubSubFieldDelimiter(0, -1);
  if (Levels >= 2) {
    const QVMsepInfo& Field = Config.sepCharInfo(1);
    Options.setFieldDelimiter(Field.sepCharDefault(), SGCoptionPosition(Field.sepCharPosition(), H, Read));
    Options.setRepeatCharacter(Field.repeatCharDefault(), SGCoptionPosition(Field.repeatCharPosition(), H, Read));
  }
  if (Levels >= 3) {
    const QVMsepInfo& Sub = Config.sepCharInfo(2);
    Options.setSubFieldDelimiter(Sub.sepCharDefault(), SGCoptionPosition(Sub.sepCharPosition(), H, Read));
  }
  if (Levels >= 4) {
    const QVMsepInfo& SubSub = Config.sepCharInfo(3);
    Options.setSubSubFieldDelimiter(SubSub.sepCharDefault(), SGCoptionPosition(SubSub.sepCharPosition(), H, Read));
  }
  Options.setEscapeCharacter(Config.escapeDefault(), SGCoptionPosition(Config.escapePosition(), H, Read));
}

void SGCcopyDelimiters(const QVMconfig& Config, SGMseparatorCharacters& Separators) {
  const size_t Levels = Config.countOfLevel();
  Separators = SGMseparatorCharacters{0, 0, 0, 0, 0, Config.escapeDefault()};
  if (Levels >= 1) Separators.segmentDelimiter = Config.sepCharInfo(0).sepCharDefault();
  if (Levels >= 2) {
    Separators.fieldDelimiter = Config.sepCharInfo(1).sepCharDefault();
    Separators.repeatCharacter = Config.sepCharInfo(1).repeatCharDefault();
  }
  if (Levels >= 3) Separators.subFieldDelimiter = Config.sepCharInfo(2).sepCharDefault();
  if (Levels >= 4) Separators.subSubFieldDelimiter = Config.sepCharInfo(3).sepCharDefault();
}

void SGCcopyEscaper(const QVMconfig& Config, const SGMseparatorCharacters& Found, SCCescaper& Escaper) {
  const size_t Levels = Config.countOfLevel();
  const char FieldCode = Levels >= 2 ? Config.sepCharInfo(1).sepCharEscape() : 0;
  const char RepeatCode = Levels >= 2 ? Config.sepCharInfo(1).repeatCharEscape() : 0;
  const char SubFieldCode = Levels >= 3 ? Config.sepCharInfo(2).sepCharEscape() : 0;
  const char SubSubFieldCode = Levels >= 4 ? Config.sepCharInfo(3).sepCharEscape() : 0;
  Escaper.resetUnescapeChar(Found.fieldDelimiter, Found.subFieldDelimiter, Found.subSubFieldDelimiter,
                            Found.repeatCharacter, FieldCode, SubFieldCode, SubSubFieldCode, RepeatCode,
                            Found.escapeCharacter, Config.escapeEscapeChar());
}

SCCescaperSettings SGCescaperSettings(const QVMconfig& Config) {
  SCCescaperSettings Settings;
  SGCescaperSettings(Config, Settings);
  return Settings;
}

void SGCescaperSettings(const QVMconfig& Config, SCCescaperSettings& Settings) {
  Settings.levels.resize(Config.countOfLevel());
  for (size_t Level = 0; Level < Config.countOfLevel(); ++Level) {
    const QVMsepInfo& Info = Config.sepCharInfo(Level);
    Settings.levels[Level] = {Info.sepCharDefault(),  Info.repeatCharDefault(), Info.sepCharEscape(),
                              Info.repeatCharEscape(), Info.sepCharPosition(),   Info.repeatCharPosition()};
  }
  Settings.escapeDefault = Config.escapeDefault();
  Settings.escapeEscapeChar = Config.escapeEscapeChar();
  Settings.escapePosition = Config.escapePosition();
  Settings.lowestNonEscapedChar = Config.lowestNonEscapedChar();
  Settings.highestNonEscapedChar = Config.highestNonEscapedChar();
}
