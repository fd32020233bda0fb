// The command line parser as step cases (tests/support/TSTsteps.h), tests/data/CMD/line.test:
//
//   flag NAME [ARGUMENT]  (installs a flag, with an argument when named) | param NAME required|optional
//   parse WORD...  (the words after the program's name) | late NAME (flagPresent after parsing)
//   present NAME -> 0|1 | argument NAME | extras -> the positional words, "|" between
//   extra NAME (a positional by name) | find NAME -> its index or none | problems | reset (a new parser)
#include <gtest/gtest.h>

#include <vector>

#include "CMDlineParser.h"
#include "COLostream.h"

#include "../support/TSTsteps.h"

namespace {

class Line : public TSTstepModel {
  std::string step() override {
    const std::string& Verb = word(0);
    if (Verb == "reset") return Parser = std::make_unique<CMDlineParser>(), "";
    if (Verb == "flag" && Words.size() > 2) return Parser->addFlagWithArgument(word(1).c_str(), word(2).c_str()), "";
    if (Verb == "flag") return Parser->addFlagWithoutArgument(word(1).c_str(), "d"), "";
    if (Verb == "param" && word(2) == "required") return Parser->addExtraParamDescriptionRequired(word(1).c_str(), "d"), "";
    if (Verb == "param") return Parser->addExtraParamDescription(word(1).c_str(), "d"), "";
    if (Verb == "parse") {
      std::vector<const char*> Arguments{"prog"};
      for (size_t At = 1; At < Words.size(); ++At) Arguments.push_back(Words[At].c_str());
      return Parser->parseArgs(static_cast<int>(Arguments.size()), Arguments.data()), "";
    }
    if (Verb == "late") return std::to_string(Parser->flagPresent(word(1).c_str(), "late"));
    if (Verb == "present") return std::to_string(Parser->isFlagPresent(word(1).c_str()));
    if (Verb == "argument") return Parser->flagArgument(word(1).c_str()).str();
    if (Verb == "extras") {
      std::string Text;
      for (size_t At = 0; At < Parser->countOfExtraArgument(); ++At)
        Text += (At ? "|" : "") + Parser->extraArgument(At).str();
      return Text;
    }
    if (Verb == "extra") return Parser->extraArgument(COLstring(word(1).c_str())).str();
    if (Verb == "find") {
      size_t Index = 0;
      return Parser->findExtraParam(word(1).c_str(), Index) ? std::to_string(Index) : "none";
    }
    if (Verb == "problems") {
      COLstring Text;
      COLostream Stream(Text);
      Parser->parsingErrorsPresent(Stream);
      return Text.str();
    }
    unknown();
  }

  std::unique_ptr<CMDlineParser> Parser = std::make_unique<CMDlineParser>();
};

class CMDlineData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(CMDlineData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Line>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, CMDlineData, ::testing::ValuesIn(TSTreadDataFile("CMD/line.test")), TSTdataParamName);

}  // namespace
