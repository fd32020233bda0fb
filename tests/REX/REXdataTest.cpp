// The matcher on the cases of tests/data/REX: a pattern and texts in, whether and where it
// matches and what a replacement makes of the texts out.
//
// Sections of a case; in texts "\xHH" stands for that byte and "(empty)" for an empty text:
//   pattern P      the pattern, the rest of the line
//   options O...   caseless, multiline, dotall, anchored, dollar-endonly, utf8, newline-cr
//   matches        texts it matches, one a line
//   misses         texts it does not match
//   find           "TEXT @START => FIRST LAST" or "TEXT @START => none"
//   replace R      "TEXT => COUNT RESULT": replacing every match by R gives COUNT and RESULT, or
//                  "TEXT => error CODE: MESSAGE", the text left as it was
//   invalid [OFFSET [WORDS]]  the pattern does not compile: at OFFSET, its error holding WORDS; it
//                  and a copy of it are kept and refuse to match
#include <cstdio>
#include <map>
#include <sstream>

#include "REXmatcher.h"

#include "../support/TSTdataFile.h"
#include "../support/TSTraised.h"

namespace {

std::string bytes(const std::string& Text) { return Text == "(empty)" ? "" : TSTdataHexBytes(Text); }

std::vector<std::string> lines(const TSTdataCase& Case, const char* Key) {
  std::vector<std::string> Lines;
  std::istringstream In(Case.has(Key) ? Case.text(Key) : "");
  for (std::string Line; std::getline(In, Line);) Lines.push_back(Line);
  return Lines;
}

REXoption options(const TSTdataCase& Case) {
  static const std::map<std::string, REXoption> Names = {
      {"caseless", REX_CASELESS}, {"multiline", REX_MULTILINE},           {"dotall", REX_DOTALL},
      {"anchored", REX_ANCHORED}, {"dollar-endonly", REX_DOLLAR_ENDONLY}, {"utf8", REX_UTF8},
      {"newline-cr", REX_NEWLINE_CR}, {"newline-crlf", REX_NEWLINE_CRLF}, {"newline-any", REX_NEWLINE_ANY},
      {"extra", REX_EXTRA},       {"unknown", 0x80}};
  REXoption Options = 0;
  std::istringstream Words(Case.has("options") ? Case.argument("options") : "");
  for (std::string Word; Words >> Word;) {
    if (!Names.count(Word)) ADD_FAILURE() << "no option " << Word;
    else Options |= Names.at(Word);
  }
  return Options;
}

class REXdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(REXdata, PatternOnTexts) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const REXmatcher Matcher(Case.argument("pattern"), options(Case));
  if (Case.has("invalid")) {
    std::istringstream Words(Case.argument("invalid"));
    size_t Offset = 0;
    const REXmatcher Copy(Matcher);
    for (const REXmatcher* Kept : {&Matcher, &Copy}) {
      EXPECT_FALSE(Kept->isExpressionValid());
      EXPECT_EQ(Kept->pattern(), Case.argument("pattern"));
      EXPECT_EQ(Kept->lastCompileError(), Matcher.lastCompileError());
      EXPECT_EQ(TSTraised([&] { Kept->doesMatch("x"); }),
                COLerror("Failed precondition: pMember->pCompiledExpression != NULL", COL_ERROR_PRECONDITION));
    }
    if (Words >> Offset) {
      EXPECT_EQ(Matcher.errorOffset(), Offset);
    }
    for (std::string Word; Words >> Word;) EXPECT_NE(Matcher.lastCompileError().find(Word.c_str()), COLstring::npos);
    EXPECT_FALSE(Matcher.lastCompileError().empty());
    return;
  }
  ASSERT_TRUE(Matcher.isExpressionValid()) << Matcher.lastCompileError().c_str();
  EXPECT_EQ(Matcher.options(), options(Case));
  for (const std::string& Text : lines(Case, "matches")) EXPECT_TRUE(Matcher.doesMatch(bytes(Text).c_str())) << Text;
  for (const std::string& Text : lines(Case, "misses")) EXPECT_FALSE(Matcher.doesMatch(bytes(Text).c_str())) << Text;
  for (const std::string& Line : lines(Case, "find")) {
    const size_t At = Line.find(" @"), Arrow = Line.find(" => ");
    size_t First = 0, Last = 0;
    const bool Found =
        Matcher.findMatch(bytes(Line.substr(0, At)).c_str(), std::stoul(Line.substr(At + 2)), First, Last);
    const std::string Got = Found ? std::to_string(First) + " " + std::to_string(Last) : "none";
    EXPECT_EQ(Got, Line.substr(Arrow + 4)) << Line;
    if (!Found) {
      EXPECT_EQ(First, COLstring::npos);
      EXPECT_EQ(Last, COLstring::npos);
    }
  }
  for (const std::string& Line : lines(Case, "replace")) {
    const size_t Arrow = Line.find(" => ");
    COLstring Text(bytes(Line.substr(0, Arrow)));
    const std::string Expected = Line.substr(Arrow + 4);
    if (Expected.rfind("error ", 0) == 0) {
      const COLerror Error = TSTraised([&] { Matcher.regexReplace(Text, Case.argument("replace")); });
      char Code[16];
      std::snprintf(Code, sizeof Code, "0x%08X", static_cast<unsigned>(Error.code()));
      EXPECT_EQ(std::string("error ") + Code + ": " + Error.description().c_str(), Expected);
      EXPECT_EQ(Text.str(), bytes(Line.substr(0, Arrow))) << Line;
      continue;
    }
    const size_t Count = Matcher.regexReplace(Text, Case.argument("replace"));
    EXPECT_EQ(std::to_string(Count), Expected.substr(0, Expected.find(' '))) << Line;
    EXPECT_EQ(Text.str(), bytes(Expected.find(' ') == std::string::npos ? "" : Expected.substr(Expected.find(' ') + 1)))
        << Line;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, REXdata, ::testing::ValuesIn(TSTreadDataArea("REX")), TSTdataParamName);

}  // namespace
