// The tokeniser cases of tests/data/SGP/parse.test and x12.test: a message and options in, the token tree out.
// Sections:
//   options    one setting a line: "field|subfield|subsubfield|repeat|escape C POSITION" (C
//              "none" disables it), "segment C", "header NAME", "hl7 off"
//   first      a message parsed into the same list before, to see nothing of it is left
//   message    the message; or "message FILE [from N]", the file tests/data/SGP/FILE from byte N
//   outcome    "parsed" and the separators (field, sub field, repeat, escape, sub sub field),
//              or the error, its context and the context's offset when it points into the message
//   segments   one segment a line: the name, then each field behind " | "; repeats are joined by
//              " ~ ", sub fields by " ^ ", sub sub fields by " & "; values are quoted, a null one
//              is drawn as null; bytes outside printable ASCII and '"' as \xHH
//   written    the list written back with the options' segment delimiter; "written same [lf]":
//              the message itself (with "lf", written with an LF behind each segment delimiter)
//   values     lines "segments -> N", "S name|fields -> ...", "S F R subfields -> N" and
//              "S F R SF SSF -> TEXT" (all indexes from 0)
#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <sstream>
#include <string>

#include "SGMoutput.h"
#include "SGPparser.h"

#include "../support/TSTdataFile.h"
#include "../support/TSTfile.h"

namespace {

std::string drawByte(char C) {
  if (C >= 0x20 && C < 0x7f && C != '"') return std::string(1, C);
  char Hex[8];
  std::snprintf(Hex, sizeof Hex, "\\x%02X", static_cast<unsigned char>(C));
  return Hex;
}

std::string quoted(std::string_view Text) {
  std::string Out = "\"";
  for (const char C : Text) Out += drawByte(C);
  return Out + "\"";
}

std::string drawSegments(const SGMsegmentList& List) {
  std::string Out;
  for (uint32_t S = 0; S < List.countOfSegment(); ++S) {
    const SGMsegment& Segment = List.segment(S);
    Out += quoted(Segment.name().view());
    for (uint32_t F = 0; F < Segment.countOfField(); ++F) {
      Out += " | ";
      for (uint32_t R = 0; R < Segment.countOfFieldRepeat(F); ++R) {
        const SGMfield& Field = Segment.field(F, R);
        Out += R ? " ~ " : "";
        for (uint32_t Sub = 0; Sub < Field.countOfSubField(); ++Sub)
          for (uint32_t SubSub = 0; SubSub < Field.countOfSubSubField(Sub); ++SubSub) {
            const SGMvalue& Value = Field.value(Sub, SubSub);
            Out += SubSub ? " & " : Sub ? " ^ " : "";
            Out += Value.isNull() ? "null" : quoted(Value.view());
          }
      }
    }
    Out += "\n";
  }
  return Out;
}

SGPparserOptions optionsOf(const std::string& Text) {
  SGPparserOptions Options;
  std::istringstream Lines(Text);
  for (std::string Key, Character; Lines >> Key >> Character;) {
    const char C = Character == "none" ? 0 : Character[0];
    int32_t Position = 0;
    if (Key == "field" || Key == "subfield" || Key == "subsubfield" || Key == "repeat" || Key == "escape")
      Lines >> Position;
    if (Key == "field") Options.setFieldDelimiter(C, Position);
    else if (Key == "subfield") Options.setSubFieldDelimiter(C, Position);
    else if (Key == "subsubfield") Options.setSubSubFieldDelimiter(C, Position);
    else if (Key == "repeat") Options.setRepeatCharacter(C, Position);
    else if (Key == "escape") Options.setEscapeCharacter(C, Position);
    else if (Key == "segment") Options.setSegmentDelimiter(C);
    else if (Key == "header") Options.setHeaderSegmentName(Character.c_str());
    else if (Key == "hl7") Options.setHl7Mode(Character != "off");
    else ADD_FAILURE() << "unknown option " << Key;
  }
  return Options;
}

const std::string Path = MSGBRIDGE_SOURCE_DIR "/tests/data/SGP/";

class SGPparseData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(SGPparseData, Tokens) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const SGPparserOptions Options = optionsOf(Case.has("options") ? Case.text("options") : "");
  SGPparser Parser;
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  // Values point into the texts, so both stay alive to the end.
  const std::string First = Case.has("first") ? Case.text("first") : "";
  std::string Text = Case.text("message"), File, From;
  if (std::istringstream(Case.argument("message")) >> File >> From >> From) Text = TSTreadFile(Path + File).substr(std::stoul(From));
  else if (!File.empty()) Text = TSTreadFile(Path + File);
  if (Case.has("first")) {
    ASSERT_EQ(Parser.parse(First.data(), First.size(), List, Separators, Options), SGPparsed);
  }
  const SGPparseResult Result = Parser.parse(Text.data(), Text.size(), List, Separators, Options);
  static const char* const Names[] = {"parsed", "duplicate delimiter", "message too short",
                                      "field delimiters not found", "header not found",
                                      "interchange header invalid"};
  std::string Outcome = Names[Result];
  if (Result == SGPparsed) {
    Outcome += " ";
    for (const char C : {Separators.fieldDelimiter, Separators.subFieldDelimiter, Separators.repeatCharacter,
                         Separators.escapeCharacter, Separators.subSubFieldDelimiter})
      Outcome += " " + drawByte(C);
  } else {
    const SGMvalue& Context = Parser.errorContext();
    Outcome += " " + quoted(Context.view());
    if (Context.data() >= Text.data() && Context.data() + Context.length() <= Text.data() + Text.size())
      Outcome += " at " + std::to_string(Context.data() - Text.data());
  }
  EXPECT_EQ(Outcome + "\n", Case.text("outcome"));
  if (Case.has("segments")) {
    EXPECT_EQ(drawSegments(List), Case.text("segments"));
  }
  if (Case.has("written")) {
    const bool Same = Case.argument("written").rfind("same", 0) == 0, Lf = Case.argument("written") == "same lf";
    COLstring Out;
    SGMappendSegmentList(List, Separators, (std::string(1, Options.segmentDelimiter()) + (Lf ? "\n" : "")).c_str(), Out);
    EXPECT_EQ(Out.str(), Same ? Text + (Lf ? "\n" : "") : Case.text("written"));
  }
  std::istringstream Values(Case.has("values") ? Case.text("values") : "");
  for (std::string Line; std::getline(Values, Line);) {
    std::istringstream Words(Line.substr(0, Line.find(" -> ")));
    std::vector<std::string> W{std::istream_iterator<std::string>(Words), {}};
    auto at = [&](size_t I) { return static_cast<uint32_t>(std::stoul(W[I])); };
    std::string Got;
    if (W[0] == "segments") Got = std::to_string(List.countOfSegment());
    else if (W[1] == "name") Got = List.segment(at(0)).name().view();
    else if (W[1] == "fields") Got = std::to_string(List.segment(at(0)).countOfField());
    else if (W[3] == "subfields") Got = std::to_string(List.segment(at(0)).field(at(1), at(2)).countOfSubField());
    else Got = List.segment(at(0)).field(at(1), at(2)).value(at(3), at(4)).view();
    EXPECT_EQ(Got, Line.substr(Line.find(" -> ") + 4)) << Line;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, SGPparseData, ::testing::ValuesIn(TSTreadDataFile("SGP/parse.test")),
                         TSTdataParamName);
INSTANTIATE_TEST_SUITE_P(X12, SGPparseData, ::testing::ValuesIn(TSTreadDataFile("SGP/x12.test")),
                         TSTdataParamName);

}  // namespace
