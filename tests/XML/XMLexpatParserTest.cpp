#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "COLerror.h"
#include "XMLexpatAnsiParser.h"
#include "XMLexpatParser.h"

#include "../support/TSTdataFile.h"
#include "../support/TSTraised.h"

namespace {

// Records every event as one line of text, for either parser.
template <class Parser>
class Recording : public Parser {
public:
  std::vector<std::string> events;
  std::string failOn;  // a start tag whose handler throws

  void onStartElement(const char* name, const char** attributes) override {
    if (failOn == name) throw COLerror("handler refused " + failOn, 0x80000777);
    std::string Line = std::string("start ") + name;
    for (const char** A = attributes; *A; A += 2) Line += std::string(" ") + A[0] + "=" + A[1];
    events.push_back(Line);
  }
  void onEndElement(const char* name) override { events.push_back(std::string("end ") + name); }
  void onCharacterData(const char* text, int length) override {
    if (!events.empty() && events.back().rfind("text ", 0) == 0)
      events.back().append(text, static_cast<size_t>(length));
    else
      events.push_back("text " + std::string(text, static_cast<size_t>(length)));
  }
  void onComment(const char* text) override { events.push_back(std::string("comment [") + text + "]"); }
  void onStartCdataSection() override { events.push_back("cdata"); }
  void onEndCdataSection() override { events.push_back("/cdata"); }
};
using Recorder = Recording<XMLexpatParser>;
using AnsiRecorder = Recording<XMLexpatAnsiParser>;

COLerror errorOf(XMLexpatParser& parser, const COLstring& xml) {
  return TSTraised([&] { parser.parse(xml); });
}

// The cases of tests/data/XML/expat.test: a document in, its events or its refusal out.
template <class Parser>
std::string eventsOrError(const std::string& Xml) {
  Recording<Parser> R;
  try {
    R.parse(Xml);
  } catch (const COLerror& Error) {
    return "error " + std::string(Error.description().c_str()) + "\n";
  }
  std::string Lines;
  for (const std::string& Event : R.events) Lines += Event + "\n";
  return Lines;
}

class XMLexpatData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(XMLexpatData, EventsOrRefusal) {
  const TSTdataCase& Case = GetParam();
  const std::string& Xml = Case.text("xml");
  EXPECT_EQ(Case.argument("xml") == "ansi" ? eventsOrError<XMLexpatAnsiParser>(Xml) : eventsOrError<XMLexpatParser>(Xml),
            Case.text("expect"))
      << Case.where();
}

INSTANTIATE_TEST_SUITE_P(Cases, XMLexpatData, ::testing::ValuesIn(TSTreadDataFile("XML/expat.test")),
                         TSTdataParamName);

// Expat's refusals carry one code, and close the parser.
TEST(XMLexpatParser, MalformedXmlIsTheXmlError) {
  Recorder R;
  EXPECT_EQ(errorOf(R, "<a></c>").code(), 0x80000500u);
  EXPECT_FALSE(R.isOpen());
}

TEST(XMLexpatParser, AHandlerErrorIsRethrownAndSilencesTheRest) {
  Recorder R;
  R.failOn = "b";
  EXPECT_EQ(errorOf(R, "<a><b/><c/></a>"), COLerror("handler refused b", 0x80000777u));
  EXPECT_EQ(R.events, std::vector<std::string>{"start a"});
  // The next parse starts clean.
  R.failOn.clear();
  R.events.clear();
  R.parse("<c/>");
  EXPECT_EQ(R.events.size(), 2u);
}

TEST(XMLexpatParser, OtherExceptionsCrossTheParserSafely) {
  struct Thrower : Recorder {
    void onEndElement(const char*) override { throw std::runtime_error("boom"); }
  } T;
  EXPECT_THROW(T.parse("<a/>"), std::runtime_error);
  EXPECT_FALSE(T.isOpen());
}

TEST(XMLexpatParser, PiecesAndPositions) {
  Recorder R;
  R.init();
  R.init();  // keeps the open parser
  R.parseBuffer("<a>\n<b>x", 8, false);
  EXPECT_EQ(R.currentLineNumber(), 2u);
  R.parseBuffer("</b></a>", 8, false);
  R.flush();
  R.destroy();
  EXPECT_EQ(R.events.back(), "end a");
  EXPECT_THROW(R.currentLineNumber(), COLerror);
  EXPECT_THROW(R.parseBuffer("<a/>", 4, true), COLerror);
  R.init();  // parse refuses an open parser
  EXPECT_EQ(TSTraised([&] { R.parse("<a/>"); }).description(), "Failed precondition: parser == NULL");
}

TEST(XMLexpatParser, CustomErrorTextThroughOnError) {
  struct Custom : Recorder {
    COLerror onError(const COLstring& message, unsigned line, unsigned column) override {
      return COLerror(message + "@" + std::to_string(line) + ":" + std::to_string(column), 5);
    }
  } C;
  EXPECT_EQ(errorOf(C, "<a>").description(), "no element found@1:3");
}

TEST(XMLexpatParser, DeepNestingAndHugeTextDoNotCrash) {
  Recorder R;
  std::string Deep;
  for (int Index = 0; Index < 100000; ++Index) Deep += "<d>";
  EXPECT_THROW(R.parse(Deep), COLerror);  // truncated: no closing tags
  R.events.clear();
  std::string Text = "<a>" + std::string(5 << 20, 'x') + "</a>";
  R.parse(Text);
  EXPECT_EQ(R.events.at(1).size(), (5u << 20) + 5);
}

// --- the 8-bit parser

TEST(XMLexpatAnsiParser, FindingTheFirstCharacterWithoutAn8BitForm) {
  size_t Before = 99;
  uint32_t CodePoint = 0;
  const std::string Fine = "a\xC3\xA9\xC3\xBF";
  EXPECT_FALSE(XMLexpatAnsiParser::utf8FindUntranscodable(Fine.data(), Fine.data() + Fine.size(), Before, CodePoint));
  const std::string Mixed = "a\xC3\xA9\xE2\x82\xAC\xC4\x80";
  ASSERT_TRUE(XMLexpatAnsiParser::utf8FindUntranscodable(Mixed.data(), Mixed.data() + Mixed.size(), Before, CodePoint));
  EXPECT_EQ(Before, 2u);
  EXPECT_EQ(CodePoint, 0x20ACu);
  // A sequence that the range cuts off, or a stray continuation byte, is no UTF-8 at all.
  ASSERT_TRUE(XMLexpatAnsiParser::utf8FindUntranscodable(Mixed.data(), Mixed.data() + 4, Before, CodePoint));
  EXPECT_EQ(Before, 2u);
  EXPECT_EQ(CodePoint, XMLexpatAnsiParser::NotUtf8);
  const std::string Stray = "ab\x80";
  ASSERT_TRUE(XMLexpatAnsiParser::utf8FindUntranscodable(Stray.data(), Stray.data() + 3, Before, CodePoint));
  EXPECT_EQ(Before, 2u);
  EXPECT_EQ(CodePoint, XMLexpatAnsiParser::NotUtf8);
  EXPECT_EQ(XMLexpatAnsiParser::untranscodableText(XMLexpatAnsiParser::NotUtf8), "the bytes there are not UTF-8");
}

TEST(XMLexpatAnsiParser, ConversionHelpers) {
  const char* Plain = "plain";
  XMLexpatAnsiTranscodedString P = XMLexpatAnsiParser::utf8ToAnsi(Plain);
  EXPECT_EQ(P.c_str(), Plain);  // no copy
  EXPECT_FALSE(P.isColString());
  XMLexpatAnsiTranscodedString C = XMLexpatAnsiParser::utf8ToAnsi("\xC3\xA9t\xC3\xA9");
  EXPECT_TRUE(C.isColString());
  EXPECT_EQ(C.colString(), "\xE9t\xE9");
  EXPECT_EQ(C.size(), 3u);
  XMLexpatAnsiTranscodedString Copy = C;
  EXPECT_STREQ(Copy.c_str(), "\xE9t\xE9");

  unsigned char Out = 0;
  const unsigned char Two[] = {0xC2, 0xA0, 0};
  EXPECT_EQ(XMLexpatAnsiParser::utf8CharToAnsiChar(Two, &Out), 2u);
  EXPECT_EQ(Out, 0xA0);
  const unsigned char Four[] = {0xF0, 0x9F, 0x98, 0x80, 0};
  EXPECT_THROW(XMLexpatAnsiParser::utf8CharToAnsiChar(Four, &Out), COLerror);
  const unsigned char Continuation[] = {0x80, 0};
  EXPECT_THROW(XMLexpatAnsiParser::utf8CharToAnsiChar(Continuation, &Out), COLerror);
  const unsigned char Cut[] = {0xC3, 0};
  const COLerror error = TSTraised([&] { XMLexpatAnsiParser::utf8CharToAnsiChar(Cut, &Out); });
  EXPECT_EQ(error.code(), 0x80000100u);
  EXPECT_EQ(error.description().view().substr(0, 21), "Failed precondition: ");
  // A range that ends inside a character is refused without reading past it.
  const char Range[] = "ab\xC3\xA9";
  EXPECT_EQ(XMLexpatAnsiParser::utf8ToAnsiColString(Range, Range + 4), "ab\xE9");
  EXPECT_THROW(XMLexpatAnsiParser::utf8ToAnsiColString(Range, Range + 3), COLerror);
}

TEST(XMLexpatAnsiParser, AttributeArrayIsHandedOnWhenPlain) {
  const char* Plain[] = {"a", "1", "b", "2", nullptr};
  std::vector<XMLexpatAnsiTranscodedString> Storage;
  std::vector<const char*> Pointers;
  EXPECT_EQ(XMLexpatAnsiParser::utf8PtrArrayToAnsi(Plain, Storage, Pointers), Plain);
  const char* Mixed[] = {"a", "\xC3\xA9", nullptr};
  const char** Converted = XMLexpatAnsiParser::utf8PtrArrayToAnsi(Mixed, Storage, Pointers);
  ASSERT_NE(Converted, Mixed);
  EXPECT_STREQ(Converted[0], "a");
  EXPECT_STREQ(Converted[1], "\xE9");
  EXPECT_EQ(Converted[2], nullptr);
}

}  // namespace
