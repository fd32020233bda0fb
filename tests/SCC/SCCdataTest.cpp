// The escaper on the cases of tests/data/SCC: texts in, escaped or unescaped texts or the
// refusal out.
//
// Sections of a case, each line "IN => OUT" unless told otherwise; "\xHH" stands for that byte:
//   escaper NAME   one of the configurations below
//   escape         plain text => the text written into a message
//   unescape       a message's text => the plain text, unescaped strictly (empty when the text
//                  holds no escape character: it is then used as it is)
//   lenient        the same, unescaped leniently
//   refused        a message's text => the text of the error strict unescaping raises
//   unwritable     plain text => the text of the error escaping raises
//   round-trip     plain texts, one a line, that escaping and unescaping give back unchanged
#include <functional>
#include <map>
#include <sstream>

#include "SCCescaper.h"
#include "SCCtestSupport.h"

#include "../support/TSTdataFile.h"
#include "../support/TSTraised.h"

namespace {

SCCescaper escaper(const std::string& Name) {
  if (Name == "message-delimiters") {
    SCCescaper Escaper;
    Escaper.resetUnescapeChar('#', '!', '*', '@', 'F', 'S', 'T', 'R', '%', 'E');
    return Escaper;
  }
  const std::map<std::string, std::function<void(SCCescaperSettings&)>> Changes = {
      {"default", [](SCCescaperSettings&) {}},
      {"plain-40-200", [](SCCescaperSettings& S) { S.lowestNonEscapedChar = 40, S.highestNonEscapedChar = 200; }},
      {"highlight-is-a-delimiter", [](SCCescaperSettings& S) { S.levels[3].sepCharEscape = 'H'; }},
      {"caret-without-code", [](SCCescaperSettings& S) { S.levels[2].sepCharEscape = 0; }},
      // CR between segments, "*" between elements, no codes and no escape character.
      {"x12", [](SCCescaperSettings& S) {
         const uint32_t None = SCCdelimiterLevel::NoPosition;
         S.levels = {{13, 0, 0, 0, None, None}, {'*', 0, 0, 0, None, None}};
         S.escapeDefault = S.escapeEscapeChar = 0;
         S.escapePosition = None;
       }},
  };
  SCCescaperSettings Settings;
  const auto Change = Changes.find(Name);
  if (Change == Changes.end()) ADD_FAILURE() << "no escaper " << Name;
  else Change->second(Settings);
  return SCCescaper(Settings);
}

std::vector<std::pair<std::string, std::string>> pairs(const TSTdataCase& Case, const char* Key) {
  std::vector<std::pair<std::string, std::string>> Pairs;
  std::istringstream Lines(Case.has(Key) ? Case.text(Key) : "");
  for (std::string Line; std::getline(Lines, Line);) {
    const size_t Arrow = Line.find(" =>");
    if (Arrow == std::string::npos) ADD_FAILURE() << Case.where() << ": no \" => \" in " << Line;
    const std::string Out = Arrow == std::string::npos ? "" : Line.substr(std::min(Line.size(), Arrow + 4));
    Pairs.emplace_back(TSTdataHexBytes(Line.substr(0, Arrow)), TSTdataHexBytes(Out));
  }
  return Pairs;
}

class SCCdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(SCCdata, Escapes) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const SCCescaper Escaper = escaper(Case.argument("escaper"));
  for (const auto& [In, Out] : pairs(Case, "escape")) EXPECT_EQ(escape(Escaper, In), Out) << "escaping " << In;
  for (const auto& [In, Out] : pairs(Case, "unescape")) EXPECT_EQ(unescape(Escaper, In, true), Out) << In;
  for (const auto& [In, Out] : pairs(Case, "lenient")) EXPECT_EQ(unescape(Escaper, In, false), Out) << In;
  for (const auto& [In, Out] : pairs(Case, "refused"))
    EXPECT_EQ(TSTraised([&] { unescape(Escaper, In, true); }), COLerror(COLstring(Out), 0x80000100u)) << In;
  for (const auto& [In, Out] : pairs(Case, "unwritable"))
    EXPECT_EQ(TSTraised([&] { escape(Escaper, In); }), COLerror(COLstring(Out), 0x80000100u)) << In;
  std::istringstream Plain(Case.has("round-trip") ? Case.text("round-trip") : "");
  for (std::string Line; std::getline(Plain, Line);)
    EXPECT_EQ(unescape(Escaper, escape(Escaper, TSTdataHexBytes(Line)), true), TSTdataHexBytes(Line));
}

INSTANTIATE_TEST_SUITE_P(Cases, SCCdata, ::testing::ValuesIn(TSTreadDataArea("SCC")), TSTdataParamName);

}  // namespace
