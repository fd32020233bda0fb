// Step cases: a data case's `--- steps` section holds one step a line, each the words of an
// action or a query.  "STEP -> ANSWER" checks what the step gives, "error: TEXT" for the error
// it raises (a line ending in " ->" expects nothing); a step without an arrow must raise none.  `--- steps for A B` runs the steps once
// for each word, "$" standing for it.  Words are split at blanks; "\xHH" is that byte (in the
// answer, too), "" the empty word.  Lines starting with "#" are comments.
#pragma once

#include <exception>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "TSTdataFile.h"

class TSTstepModel {
public:
  virtual ~TSTstepModel() = default;

  // What the step gives, or "error: TEXT" for a COLerror it raised.
  std::string run(const std::string& Step) {
    Words.clear();
    std::istringstream In(Step);
    for (std::string Word; In >> Word;) Words.push_back(Word == "\"\"" ? "" : TSTdataHexBytes(Word));
    try {
      return step();
    } catch (const COLerror& Error) {
      return "error: " + Error.description().str();
    } catch (const std::exception&) {
      return "error: the step is misspelt";
    }
  }

protected:
  virtual std::string step() = 0;

  const std::string& word(size_t At) const {
    if (At >= Words.size()) throw COLerror("step too short", 0);
    return Words[At];
  }
  uint32_t index(size_t At) const { return static_cast<uint32_t>(std::stoul(word(At))); }
  long integer(size_t At) const { return std::stol(word(At)); }
  double real(size_t At) const { return std::stod(word(At)); }
  // The words from `At` on, joined by blanks.
  std::string rest(size_t At) const {
    std::string Text;
    for (size_t Word = At; Word < Words.size(); ++Word) Text += (Word > At ? " " : "") + Words[Word];
    return Text;
  }
  [[noreturn]] static void unknown() { throw COLerror("no such step", 0); }

  std::vector<std::string> Words;
};

// Runs the case's steps against a fresh model (of `makeModel()`) for each "for" word.
template <class MakeModel>
void TSTrunSteps(const TSTdataCase& Case, MakeModel&& makeModel) {
  const TSTdataSection& Steps = Case.section("steps");
  std::vector<std::string> Kinds{""};
  if (Steps.Argument.rfind("for ", 0) == 0) {
    std::istringstream In(Steps.Argument.substr(4));
    Kinds.clear();
    for (std::string Kind; In >> Kind;) Kinds.push_back(Kind);
  }
  for (const std::string& Kind : Kinds) {
    auto Model = makeModel();
    std::istringstream Lines(Steps.Text);
    int Line = Steps.Line;
    for (std::string Step; std::getline(Lines, Step);) {
      ++Line;
      if (Step.empty() || Step[0] == '#') continue;
      for (size_t At; (At = Step.find('$')) != std::string::npos;) Step.replace(At, 1, Kind);
      // An answer that is empty leaves the line ending in " ->".
      if (Step.size() > 3 && Step.compare(Step.size() - 3, 3, " ->") == 0) Step += ' ';
      const size_t Arrow = Step.find(" -> ");
      const std::string Answer = Model->run(Step.substr(0, Arrow));
      const std::string Where = "tests/data/" + Case.File + ":" + std::to_string(Line) + " " + Kind;
      if (Arrow != std::string::npos)
        EXPECT_EQ(Answer, TSTdataHexBytes(Step.substr(Arrow + 4))) << Where;
      else
        EXPECT_EQ(Answer.rfind("error: ", 0), std::string::npos) << Where << ": " << Answer;
    }
  }
}
