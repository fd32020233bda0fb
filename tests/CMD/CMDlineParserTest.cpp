#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "CMDlineParser.h"
#include "COLerror.h"
#include "COLostream.h"

#include "../support/TSTraised.h"

namespace {
void parse(CMDlineParser& parser, std::vector<const char*> words) {
  words.insert(words.begin(), "prog");
  parser.parseArgs(static_cast<int>(words.size()), words.data());
}

COLstring problems(const CMDlineParser& parser) {
  COLstring text;
  COLostream stream(text);
  parser.parsingErrorsPresent(stream);
  return text;
}
}  // namespace

// One and two dashes mean the same flag, so the second "format" is a repeat.
TEST(CMDlineParser, RepeatedFlagIsReportedAndLastArgumentWins) {
  CMDlineParser parser;
  parser.addFlagWithArgument("format", "name", "d");
  parser.addFlagWithoutArgument("toxml", "x");
  parse(parser, {"--format", "one", "-toxml", "-format", "two", "a"});
  EXPECT_EQ(parser.flagArgument("format"), "two");
  EXPECT_TRUE(parser.isFlagPresent("toxml"));
  EXPECT_EQ(parser.countOfExtraArgument(), 1u);
  EXPECT_EQ(problems(parser), "Flag format used more than once.\n");
}

TEST(CMDlineParser, UnknownFlagIsReportedBeforeLaterProblems) {
  CMDlineParser parser;
  parser.addFlagWithoutArgument("known", "d");
  parse(parser, {"--known", "--mystery", "--known"});
  // "known" was mentioned first, and its repeat is the first problem in list order.
  EXPECT_EQ(problems(parser), "Flag known used more than once.\n");

  CMDlineParser other;
  other.addFlagWithoutArgument("known", "d");
  parse(other, {"--mystery", "--known"});
  EXPECT_EQ(problems(other), "Unknown flag mystery encountered.\n");
}

TEST(CMDlineParser, DashesAloneArePositionalAndEndFlagParsing) {
  for (const char* word : {"-", "--", "---"}) {
    CMDlineParser parser;
    parser.addFlagWithoutArgument("x", "d");
    parse(parser, {word, "--x"});
    EXPECT_FALSE(parser.isFlagPresent("x")) << word;
    ASSERT_EQ(parser.countOfExtraArgument(), 2u) << word;
    EXPECT_EQ(parser.extraArgument(size_t{0}), word);
    EXPECT_EQ(parser.extraArgument(size_t{1}), "--x");
  }
}

TEST(CMDlineParser, FlagArgumentIsTheNextWordEvenAFlagAndMustBeThere) {
  CMDlineParser parser;
  parser.addFlagWithArgument("format", "name");
  parse(parser, {"--format", "--toxml", "file"});
  EXPECT_EQ(parser.flagArgument("format"), "--toxml");
  EXPECT_EQ(parser.countOfExtraArgument(), 1u);
  CMDlineParser missing;
  missing.addFlagWithArgument("format", "name");
  EXPECT_EQ(TSTraised([&] { parse(missing, {"--format"}); }), COLerror("Argument missing", 0x80000500u));
}

TEST(CMDlineParser, HelpWordsAreUnknownFlags) {
  const std::pair<const char*, const char*> cases[] = {
      {"--help", "help"}, {"-help", "help"}, {"-?", "?"}, {"--?", "?"}, {"/?", "/?"}, {"-h", "h"}};
  for (const auto& [word, name] : cases) {
    CMDlineParser parser;
    parser.addFlagWithoutArgument("h", "installed, but a help word is never known");
    parse(parser, {word, "a"});
    EXPECT_EQ(problems(parser), COLstring("Unknown flag ") + name + " encountered.\n") << word;
    EXPECT_EQ(parser.countOfExtraArgument(), 1u);
  }
}

TEST(CMDlineParser, ParsingIsOneShotAndQueriesNeedInstalledNames) {
  CMDlineParser parser;
  parse(parser, {});
  EXPECT_EQ(TSTraised([&] { parse(parser, {}); }).description(),
            "CMDlineParser::parseArgs() has been called more than once.");
  CMDlineParser empty;
  EXPECT_THROW(empty.parseArgs(0, nullptr), COLerror);
  // Queries of names never installed fail.
  EXPECT_EQ(TSTraised([&] { parser.isFlagPresent("nope"); }).description(),
            "EXCEPTION: isFlagPresent was asked to check for the presence of flag nope which was not installed. "
            "A flag should be first installed using either addFlagWithArgument or addFlagWithoutArgument before "
            "it is checked for.");
  EXPECT_EQ(TSTraised([&] { parser.flagArgument("nope"); }).description(), "nope not defined.");
}

TEST(CMDlineParser, FlagPresentInstallsAfterParsing) {
  CMDlineParser parser;
  parse(parser, {"--late"});
  EXPECT_EQ(problems(parser), "Unknown flag late encountered.\n");
  EXPECT_TRUE(parser.flagPresent("late", "installed late"));
  EXPECT_EQ(problems(parser), "");
}

TEST(CMDlineParser, PositionalArgumentsByName) {
  CMDlineParser parser;
  parser.addExtraParamDescriptionRequired("first", "1");
  parser.addExtraParamDescription("second", "2");
  parse(parser, {"x"});
  EXPECT_EQ(parser.extraArgument(COLstring("first")), "x");
  EXPECT_EQ(parser.extraArgument(COLstring("second")), "");
  EXPECT_EQ(parser.extraArgument(COLstring("third")), "");
  size_t index = 9;
  EXPECT_TRUE(parser.findExtraParam("second", index));
  EXPECT_EQ(index, 1u);
  EXPECT_FALSE(parser.findExtraParam("third", index));
}

TEST(CMDlineParser, UsageWrapsAtSeventyColumnsUnderTheHead) {
  CMDlineParser parser;
  parser.setDescription("Tool.");
  parser.addExtraParamDescriptionRequired("in", "Input");
  parser.setHasFileList(true, "More files");
  parser.addFlagWithoutArgument("a", COLstring("word ") + "word word word word word word word word word word word word "
                                                          "endofline");
  parser.addFlagWithArgument("longname", "N", "Line one\nLine two");
  parser.addFlagWithoutArgument("hidden", "never shown");
  parser.hideFlag("hidden");
  parser.hideFlag("not-installed");
  parse(parser, {});
  COLstring text;
  COLostream stream(text);
  parser.showUsage(stream);
  EXPECT_EQ(text,
            "Tool.\n"
            "Usage:\n"
            "prog  [--a]  [--longname N] in <Files to be processed>\n"
            "   in - Input\n"
            "   Files to be processed - More files\n"
            "Known flags:\n"
            "  --a         word word word word word word word word word word word \n"
            "              word word endofline\n"
            "  --longname  Line one\n"
            "              Line two. Requires argument N.\n");
  std::istringstream lines(text.str());
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 70u) << line;
}

TEST(CMDlineParser, UnbreakableWordIsCutAtTheEdge) {
  CMDlineParser parser;
  parser.addFlagWithoutArgument("f", std::string(80, 'x'));
  parse(parser, {});
  COLstring text;
  COLostream stream(text);
  parser.showUsage(stream);
  const std::string expected = "  --f  " + std::string(63, 'x') + "\n       " + std::string(17, 'x') + "\n";
  EXPECT_NE(text.find(expected.c_str()), COLstring::npos) << text.c_str();
}

TEST(CMDprogressMeter, RewritesTheLineWithoutNewline) {
  COLstring text;
  COLostream stream(text);
  CMDprogressMeter meter;
  meter.setProgress(1, " messages", stream);
  meter.setProgress(12, " messages", stream);
  EXPECT_EQ(text, "\r1 messages    \r12 messages    ");
}
