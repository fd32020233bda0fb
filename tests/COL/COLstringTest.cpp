// Strings as step cases (tests/support/TSTsteps.h), tests/data/COL/string.test.  The model holds
// one string; steps that cut it in two answer "LEFT|RIGHT".
//
//   text WORD (the string anew) | show | size | equals TEXT -> yes|no | at N -> the byte
//   strip [both|leading|trailing [C]] | stripall C | subchar A B | upper | lower | whitespace
//   split S | rsplit S (one byte: the char form) -> found|not LEFT|RIGHT | splitself C | splitat N
//   find S [FROM] | rfind S [FROM] (one byte: the char form) -> index or npos
//   append S [START] | appendn N S | appendnull | addnull (+= a null pointer) | double | doubleraw
//   replace START N S | remove START [N] | insert AT S | substrreplace FROM TO -> count
//   substr START [N] | sub START [N] (the substring constructor) | limit N (COLlengthWithLimit)
//   plus S (string + text + char + string) | charplus C | textplus S
#include <gtest/gtest.h>

#include "COLerror.h"
#include "COLstring.h"

#include "../support/TSTsteps.h"

namespace {

class Strings : public TSTstepModel {
  std::string step() override {
    const std::string& Verb = word(0);
    auto size = [&](size_t At) { return static_cast<size_t>(std::stoul(word(At))); };
    auto count = [&](size_t At) { return Words.size() > At ? size(At) : COLstring::npos; };
    auto position = [](size_t At) { return At == COLstring::npos ? std::string("npos") : std::to_string(At); };
    auto cut = [](bool Found, const COLstring& Left, const COLstring& Right) {
      return (Found ? "found " : "not ") + Left.str() + "|" + Right.str();
    };
    COLstring Left, Right;
    if (Verb == "text") return Text = COLstring(std::string_view(rest(1))), "";
    if (Verb == "show") return Text.str();
    if (Verb == "size") return std::to_string(Text.size());
    if (Verb == "equals") return Text == rest(1).c_str() ? "yes" : "no";
    if (Verb == "at") return std::string(1, Text[size(1)]);
    if (Verb == "strip" && Words.size() == 1) return Text.strip().str();
    if (Verb == "strip") {
      const int Side = word(1) == "both" ? COLstring::StripBoth
                       : word(1) == "leading" ? COLstring::StripLeading : COLstring::StripTrailing;
      return Text.strip(Side, word(2)[0]).str();
    }
    if (Verb == "stripall") return Text.stripAll(word(1)[0]), Text.str();
    if (Verb == "subchar") return Text.subChar(word(1)[0], word(2)[0]), Text.str();
    if (Verb == "upper") return Text.toUpperCase().str();
    if (Verb == "lower") return Text.toLowerCase().str();
    if (Verb == "whitespace") return Text.isWhitespace() ? "yes" : "no";
    if (Verb == "split" && word(1).size() == 1) return cut(Text.split(Left, Right, word(1)[0]), Left, Right);
    if (Verb == "split") return cut(Text.split(Left, Right, word(1).c_str()), Left, Right);
    if (Verb == "rsplit" && word(1).size() == 1) return cut(Text.rsplit(Left, Right, word(1)[0]), Left, Right);
    if (Verb == "rsplit") return cut(Text.rsplit(Left, Right, word(1).c_str()), Left, Right);
    if (Verb == "splitself") return cut(Text.split(Text, Right, word(1)[0]), Text, Right);
    if (Verb == "splitat") return Text.splitAtIndex(Left, Right, size(1)), cut(true, Left, Right);
    if (Verb == "find" && word(1).size() == 1) return position(Text.find(word(1)[0], Words.size() > 2 ? size(2) : 0));
    if (Verb == "find") return position(Text.find(word(1).c_str(), Words.size() > 2 ? size(2) : 0));
    if (Verb == "rfind" && word(1).size() == 1) return position(Text.rfind(word(1)[0], count(2)));
    if (Verb == "rfind") return position(Text.rfind(word(1).c_str(), count(2)));
    if (Verb == "append") return Text.append(word(1).c_str(), Words.size() > 2 ? size(2) : 0).str();
    if (Verb == "appendn") return Text.append(size(1), word(2).c_str()).str();
    if (Verb == "appendnull") return Text.append(nullptr).str();
    if (Verb == "addnull") return (Text += static_cast<const char*>(nullptr)).str();
    if (Verb == "double") return (Text += Text).str();
    if (Verb == "doubleraw") return Text.append(Text.size(), Text.data()).str();
    if (Verb == "replace") return Text.replace(size(1), size(2), word(3).c_str()).str();
    if (Verb == "remove") return Text.remove(size(1), count(2)).str();
    if (Verb == "insert") return Text.insert(size(1), word(2).c_str()).str();
    if (Verb == "substrreplace") return std::to_string(Text.substrreplace(word(1).c_str(), word(2).c_str()));
    if (Verb == "substr") return Text.substr(size(1), count(2)).str();
    if (Verb == "sub") return COLstring(Text, size(1), count(2)).str();
    if (Verb == "limit") return std::to_string(COLlengthWithLimit(Text.c_str(), size(1)));
    if (Verb == "plus") return (Text + word(1).c_str() + word(1)[0] + COLstring(word(1).c_str())).str();
    if (Verb == "charplus") return (word(1)[0] + Text).str();
    if (Verb == "textplus") return (word(1).c_str() + Text).str();
    unknown();
  }

  COLstring Text;
};

class COLstringData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(COLstringData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Strings>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, COLstringData, ::testing::ValuesIn(TSTreadDataFile("COL/string.test")),
                         TSTdataParamName);

}  // namespace

TEST(COLstring, CapacityNeverShrinksAndAtLeastDoubles) {
  COLstring text;
  const size_t initial = text.capacity();
  text.setCapacity(initial + 1);
  EXPECT_GE(text.capacity(), 2 * initial);
  const size_t grown = text.capacity();
  text.setCapacity(2);
  EXPECT_EQ(text.capacity(), grown);
}
