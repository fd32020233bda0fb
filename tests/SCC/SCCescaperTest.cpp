// Escape sequences in both directions: delimiter codes, hex, character sets, formatting and
// highlight codes, the message's own delimiters on input, and every error with its text.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "COLerror.h"
#include "SCCescaper.h"
#include "SGPparser.h"

#include "../support/TSTraised.h"

namespace {

std::string unescape(const SCCescaper& escaper, const std::string& text, bool strict = true) {
  COLstring Result;
  escaper.unescapeStringWithSize(Result, text.data(), text.size(), strict);
  return Result.str();
}

std::string escape(const SCCescaper& escaper, const std::string& text) {
  COLstring Result;
  escaper.escapeChar(Result, COLstring(text));
  return Result.str();
}

// The text of the error that strict unescaping raises.
std::string errorOf(const SCCescaper& escaper, const std::string& text) {
  const COLerror Error = TSTraised([&] { unescape(escaper, text, true); });
  EXPECT_EQ(Error.code(), 0x80000100u);
  return Error.description().str();
}

}  // namespace

TEST(SCCescaper, DelimiterCodesBothWays) {
  SCCescaper Escaper;
  EXPECT_EQ(unescape(Escaper, "a\\F\\b"), "a|b");
  EXPECT_EQ(unescape(Escaper, "\\S\\\\T\\\\R\\\\E\\"), "^&~\\");
  EXPECT_EQ(escape(Escaper, "a|b"), "a\\F\\b");
  EXPECT_EQ(escape(Escaper, "^&~\\"), "\\S\\\\T\\\\R\\\\E\\");
  EXPECT_EQ(unescape(Escaper, escape(Escaper, "x|y^z&w~v\\u")), "x|y^z&w~v\\u");
}

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

TEST(SCCescaper, MessageDelimitersOnInputConfiguredOnesOnOutput) {
  SCCescaper Escaper;
  Escaper.resetUnescapeChar('#', '!', '*', '@', 'F', 'S', 'T', 'R', '%', 'E');
  EXPECT_EQ(unescape(Escaper, "a%F%b%S%%E%"), "a#b!%");
  EXPECT_EQ(unescape(Escaper, "a\\F\\b"), "");  // backslash is no escape character here
  EXPECT_EQ(escape(Escaper, "a|b#c"), "a\\F\\b#c");
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

TEST(SCCescaper, HexSequences) {
  SCCescaper Escaper;
  EXPECT_EQ(unescape(Escaper, "\\X0D0A\\"), "\r\n");
  EXPECT_EQ(unescape(Escaper, "a\\XfE54\\b"), "a\xFE" "Tb");
  EXPECT_EQ(unescape(Escaper, "\\X00\\"), std::string(1, '\0'));
  EXPECT_NE(errorOf(Escaper, "\\X\\").find(" is an invalid escape hex sequence. Normally the parser expects"),
            std::string::npos);
  EXPECT_NE(errorOf(Escaper, "\\X0\\").find("invalid escape hex"), std::string::npos);
  EXPECT_NE(errorOf(Escaper, "\\XZZ\\").find("invalid escape hex"), std::string::npos);
  // Lenient: the escape character becomes data and the rest is read again.
  EXPECT_EQ(unescape(Escaper, "\\XG1\\", false), "\\XG1\\");
  // Outgoing bytes outside the plain range become hex.
  EXPECT_EQ(escape(Escaper, "a\rb\x01"), "a\\X0D\\b\\X01\\");
  // A hex sequence in outgoing text is data, not a passthrough.
  EXPECT_EQ(escape(Escaper, "\\X0D\\"), "\\E\\X0D\\E\\");
}

TEST(SCCescaper, PlainRangeBoundsOnOutput) {
  SCCescaperSettings Settings;
  Settings.lowestNonEscapedChar = 40;
  Settings.highestNonEscapedChar = 200;
  SCCescaper Escaper(Settings);
  EXPECT_EQ(escape(Escaper, "' ("), "\\X27\\\\X20\\(");
  // Bytes above the bound that do not form a multibyte character come out as hex.
  EXPECT_EQ(escape(Escaper, "\xC8\xFF"), "\xC8\\XFF\\");
}

TEST(SCCescaper, PassthroughSequences) {
  SCCescaper Escaper;
  for (const char* Text : {"\\H\\bold\\N\\", "\\C2842\\", "\\M284251\\", "\\M2842\\", "\\.br\\", "\\.sp+2\\",
                           "\\.sp\\", "\\.ce\\", "\\.in-12\\", "\\.fi\\", "\\.nf\\"}) {
    EXPECT_EQ(unescape(Escaper, Text), Text) << Text;
    EXPECT_EQ(escape(Escaper, Text), Text) << Text;
  }
  EXPECT_EQ(escape(Escaper, "\\.spx\\"), "\\E\\.spx\\E\\");
  EXPECT_EQ(escape(Escaper, "\\H"), "\\E\\H");
}

TEST(SCCescaper, ErrorsAndTheirTexts) {
  SCCescaper Escaper;
  EXPECT_EQ(errorOf(Escaper, "ab\\\\c"),
            "This character sequence b\\\\c is an empty escape sequence - two escape chars with nothing between them.");
  EXPECT_EQ(errorOf(Escaper, "abc\\"), "This character sequence c\\ is an incomplete escape sequence - an escape "
                                       "char not followed by a terminating escape char.");
  EXPECT_EQ(errorOf(Escaper, "\\"), "This character sequence \\ is an incomplete escape sequence - an escape char "
                                    "not followed by a terminating escape char.");
  EXPECT_EQ(errorOf(Escaper, "x\\C28\\y"), "This character sequence \\C28\\y is an invalid singlebyte character set "
                                           "code. Normally the parser expects a sequence like /CFE45/.");
  EXPECT_NE(errorOf(Escaper, "\\M28\\").find(" is an invalid multibyte character set code. Normally"),
            std::string::npos);
  EXPECT_EQ(errorOf(Escaper, "\\.br2\\"), "This character sequence \\.br2\\ is an unrecognized formatting sequence.");
  EXPECT_NE(errorOf(Escaper, "\\.spx\\").find("unrecognized formatting"), std::string::npos);
  EXPECT_EQ(errorOf(Escaper, "\\Q\\"), "This character sequence \\Q\\ is an unrecognized escape sequence.");
  // A NUL before the closing escape character leaves the sequence unterminated.
  EXPECT_NE(errorOf(Escaper, std::string("\\F\0\\", 4)).find("incomplete"), std::string::npos);
}

TEST(SCCescaper, LenientUnescapingKeepsBadSequencesAsData) {
  SCCescaper Escaper;
  // "\\" : the first is data, the second then has no partner.
  EXPECT_EQ(unescape(Escaper, "\\\\", false), "\\\\");
  EXPECT_EQ(unescape(Escaper, "a\\Q\\F\\", false), "a\\Q|");
  EXPECT_EQ(unescape(Escaper, "abc\\", false), "abc\\");
}

TEST(SCCescaper, DelimiterCodeWinsOverHighlight) {
  SCCescaperSettings Settings;
  Settings.levels[3].sepCharEscape = 'H';
  SCCescaper Escaper(Settings);
  EXPECT_EQ(unescape(Escaper, "\\H\\"), "&");
}

TEST(SCCescaper, RealMessageValues) {
  const std::string Path = std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/SGP/rethink_adt_a01_all_five_escapes.hl7";
  std::ifstream In(Path, std::ios::binary);
  std::ostringstream Buffer;
  Buffer << In.rdbuf();
  const std::string Text = Buffer.str();
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

namespace {

// An X12 configuration: CR between segments, "*" between elements, no codes, no escape character.
SCCescaperSettings x12Settings() {
  SCCescaperSettings Settings;
  Settings.levels = {{13, 0, 0, 0, SCCdelimiterLevel::NoPosition, SCCdelimiterLevel::NoPosition},
                     {'*', 0, 0, 0, SCCdelimiterLevel::NoPosition, SCCdelimiterLevel::NoPosition}};
  Settings.escapeDefault = 0;
  Settings.escapeEscapeChar = 0;
  Settings.escapePosition = SCCdelimiterLevel::NoPosition;
  return Settings;
}

std::string unwritableText(const SCCescaper& Escaper, const char* Text) {
  try {
    escape(Escaper, Text);
  } catch (const COLerror& Error) {
    EXPECT_EQ(Error.code(), 0x80000100u);
    return Error.description().c_str();
  }
  return "no error";
}

}  // namespace

TEST(SCCescaper, WithoutEscapeCharacterValuesPassOrAreRefused) {
  const SCCescaper Escaper(x12Settings());
  // Ordinary text, other punctuation and the HL7 delimiters are plain data here.
  EXPECT_EQ(escape(Escaper, "NORTHWIND STORE 118"), "NORTHWIND STORE 118");
  EXPECT_EQ(escape(Escaper, "A|B^C~D\\E>F:G"), "A|B^C~D\\E>F:G");
  // A delimiter or a control byte would split the value or put a NUL into the message.
  EXPECT_EQ(unwritableText(Escaper, "NORTH*WIND"),
            "The value 'NORTH*WIND' cannot be written: it holds '*', a delimiter of the message, and the "
            "configuration has no escape character.");
  EXPECT_EQ(unwritableText(Escaper, "two\rlines"),
            "The value 'two\rlines' cannot be written: it holds the byte 0x0D, a delimiter of the message, and the "
            "configuration has no escape character.");
  EXPECT_EQ(unwritableText(Escaper, "tab\there"),
            "The value 'tab\there' cannot be written: it holds the byte 0x09, which needs an escape sequence, and "
            "the configuration has no escape character.");
}

TEST(SCCescaper, DelimiterWithoutCodeGoesOutAsHex) {
  SCCescaperSettings Settings;
  Settings.levels[2].sepCharEscape = 0;  // "^" has no letter of its own
  const SCCescaper Escaper(Settings);
  EXPECT_EQ(escape(Escaper, "a^b"), "a\\X5E\\b");
  EXPECT_EQ(unescape(Escaper, escape(Escaper, "a^b|c")), "a^b|c");
}
