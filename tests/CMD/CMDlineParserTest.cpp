#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "CMDlineParser.h"
#include "COLerror.h"
#include "COLostream.h"


namespace {
void parse(CMDlineParser& parser, std::vector<const char*> words) {
  words.insert(words.begin(), "prog");
  parser.parseArgs(static_cast<int>(words.size()), words.data());
}

}  // namespace

// Flags, positionals and the problems reported are step cases: tests/data/CMD/line.test.
TEST(CMDlineParser, NoArgumentsAtAllAreRefused) {
  CMDlineParser empty;
  EXPECT_THROW(empty.parseArgs(0, nullptr), COLerror);
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
