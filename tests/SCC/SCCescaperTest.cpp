// The escaper beyond the tables of tests/data/SCC: plain text handed back without a copy,
// delimiters taken from a message's positions, a real message's values and random bytes.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "SCCescaper.h"
#include "SCCtestSupport.h"
#include "SGPparser.h"

#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

TEST(SCCescaper, TextWithoutEscapeCharacterIsNotCopied) {
  SCCescaper Escaper;
  COLstring Result = "stale";
  EXPECT_TRUE(Escaper.unescapeStringWithSize(Result, "plain text", 10, true));
  EXPECT_TRUE(Result.empty());
  // The NUL-terminated form always hands back the plain text.
  EXPECT_TRUE(Escaper.unescapeString(Result, "plain text", true));
  EXPECT_EQ(Result, "plain text");
  Escaper.unescapeString(Result, "a\\F\\b", true);
  EXPECT_EQ(Result, "a|b");
}

TEST(SCCescaper, LegacyResetReadsPositionedCharactersFromTheMessage) {
  SCCescaperSettings Settings;
  SCCescaper Escaper(Settings);
  // Level 1 reads both characters from the message; level 2 reads its own; level 3 too.
  Escaper.resetUnescapeChar({13, '#', '!', '*'}, {0, '@', 0, 0}, '%', Settings);
  EXPECT_EQ(unescape(Escaper, "%F%%R%%S%%T%%E%"), "#@!*%");
  Settings.levels[2].sepCharPosition = SCCdelimiterLevel::NoPosition;
  Escaper.resetUnescapeChar({13, '#', '!', '*'}, {0, '@', 0, 0}, '%', Settings);
  EXPECT_EQ(unescape(Escaper, "%S%"), "^");
  EXPECT_THROW(Escaper.resetUnescapeChar({13, '#'}, {0, '@', 0}, '%', Settings), COLerror);
  EXPECT_EQ(TSTraised([&] { Escaper.resetUnescapeChar({13, '#'}, {0, '@'}, '%', Settings); }).description(),
            "Failed precondition: Config.countOfLevel() == RepChar.size()");
}

TEST(SCCescaper, RealMessageValues) {
  const std::string Text =
      TSTreadFile(std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/SGP/rethink_adt_a01_all_five_escapes.hl7");
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  ASSERT_EQ(Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions()), SGPparsed);
  SCCescaper Escaper;
  Escaper.resetUnescapeChar(Separators.fieldDelimiter, Separators.subFieldDelimiter, Separators.subSubFieldDelimiter,
                            Separators.repeatCharacter, 'F', 'S', 'T', 'R', Separators.escapeCharacter, 'E');
  const SGMvalue& Note = List.segment(2).field(4, 0).value(0, 0);
  EXPECT_EQ(unescape(Escaper, std::string(Note.view())),
            "Result contains pipe | and ampersand & and caret ^ and tilde ~ and backslash \\ chars");
  const SGMvalue& Name = List.segment(1).field(4, 0).value(0, 0);
  EXPECT_EQ(unescape(Escaper, std::string(Name.view())), "DOE&SMITH");
}

TEST(SCCescaper, RandomBytesNeverBreakTheRoundTrip) {
  SCCescaper Escaper;
  uint32_t Seed = 12345;
  for (int Round = 0; Round < 500; ++Round) {
    std::string Plain;
    const int Size = Round % 40;
    for (int i = 0; i < Size; ++i) {
      Seed = Seed * 1103515245u + 12345u;
      Plain.push_back(static_cast<char>((Seed >> 16) & 0xFF));
    }
    const std::string Wire = escape(Escaper, Plain);
    // Only passthrough sequences may survive as written; random bytes rarely form one.
    const std::string Back = unescape(Escaper, Wire);
    EXPECT_EQ(Back.empty() ? Wire : Back, Plain) << "round " << Round;
  }
}
