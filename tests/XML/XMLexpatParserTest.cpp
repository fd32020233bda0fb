#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "COLerror.h"
#include "XMLexpatAnsiParser.h"
#include "XMLexpatParser.h"

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
  void onComment(const char* text) override { events.push_back(std::string("comment ") + text); }
  void onStartCdataSection() override { events.push_back("cdata"); }
  void onEndCdataSection() override { events.push_back("/cdata"); }
};
using Recorder = Recording<XMLexpatParser>;
using AnsiRecorder = Recording<XMLexpatAnsiParser>;

COLerror errorOf(XMLexpatParser& parser, const COLstring& xml) {
  return TSTraised([&] { parser.parse(xml); });
}

TEST(XMLexpatParser, DeliversEventsInDocumentOrder) {
  Recorder R;
  R.parse("<?xml version=\"1.0\"?><a x=\"1\" y='&lt;2'>t&amp;u<!-- c --><b/><![CDATA[<raw>]]></a>");
  const std::vector<std::string> Expected = {"start a x=1 y=<2", "text t&u", "comment  c ", "start b", "end b",
                                             "cdata", "text <raw>", "/cdata", "end a"};
  EXPECT_EQ(R.events, Expected);
  EXPECT_FALSE(R.isOpen());
}

// Wrong encodings are reported too, not misread.
TEST(XMLexpatParser, MalformedXmlGivesThePositionAndExpatsText) {
  Recorder R;
  EXPECT_EQ(errorOf(R, "<a>\n  <b></c>\n</a>"), COLerror("xml error on line 2 column 8. mismatched tag", 0x80000500u));
  EXPECT_FALSE(R.isOpen());

  EXPECT_EQ(errorOf(R, "<a><b></b>").description(), "xml error on line 1 column 11. no element found");
  EXPECT_EQ(errorOf(R, "").description(), "xml error on line 1 column 1. no element found");
  EXPECT_EQ(errorOf(R, "<a>&bogus;</a>").description(), "xml error on line 1 column 4. undefined entity");
  EXPECT_EQ(errorOf(R, "<a></a><b/>").description(), "xml error on line 1 column 8. junk after document element");
  // Latin-1 bytes in a document that claims (by default) to be UTF-8.
  EXPECT_EQ(errorOf(R, "<a>caf\xE9</a>").description(), "xml error on line 1 column 7. not well-formed (invalid token)");
  EXPECT_EQ(errorOf(R, "<?xml version=\"1.0\" encoding=\"no-such\"?><a/>").description(),
            "xml error on line 1 column 31. unknown encoding");
  // The same bytes under a Latin-1 declaration arrive as UTF-8.
  R.events.clear();
  R.parse("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>caf\xE9</a>");
  EXPECT_EQ(R.events.at(1), "text caf\xC3\xA9");
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

TEST(XMLexpatAnsiParser, TranscodesNamesAttributesAndText) {
  AnsiRecorder R;
  R.parse("<caf\xC3\xA9 n=\"\xC3\xBC\" m=\"x\">M\xC3\xBCller</caf\xC3\xA9>");
  const std::vector<std::string> Expected = {"start caf\xE9 n=\xFC m=x", "text M\xFCller", "end caf\xE9"};
  EXPECT_EQ(R.events, Expected);
}

// A character that 8-bit text cannot hold is refused where it stands, named by its code point;
// columns count characters from 1, as Expat's own errors do.
TEST(XMLexpatAnsiParser, CharactersAboveLatin1AreRefusedWithTheirPlace) {
  AnsiRecorder R;
  const std::string Beyond = ": the character U+0100 is beyond U+00FF, the last character that 8-bit (Latin-1) text can hold";
  auto refusal = [&](const std::string& Xml) { return std::string(TSTraised([&] { R.parse(Xml); }).description().c_str()); };
  EXPECT_EQ(refusal("<a>x\xC4\x80yz</a>"), "Unable to transcode stream at line 1 column 5" + Beyond);
  // Characters before it count once each, however many bytes they take; lines count too.
  EXPECT_EQ(refusal("<a>\n <b>\xC3\xA9\xC3\xBC\xC4\x80</b></a>"), "Unable to transcode stream at line 2 column 7" + Beyond);
  // By character reference, in a name, in a comment, in an attribute (placed at its element).
  EXPECT_EQ(refusal("<a>\n&#x100;</a>"), "Unable to transcode stream at line 2 column 1" + Beyond);
  EXPECT_EQ(refusal("<a>\n<b\xC4\x80/></a>"), "Unable to transcode stream at line 2 column 3" + Beyond);
  EXPECT_EQ(refusal("<a><!-- \xC4\x80 --></a>"), "Unable to transcode stream at line 1 column 9" + Beyond);
  EXPECT_EQ(refusal("<a>\n  <b x=\"1\" y=\"\xC3\xA9\xC4\x80\"/></a>"),
            "Unable to transcode stream at line 2 column 3, in an attribute of the element that starts there" + Beyond);
  EXPECT_EQ(refusal("<a>\xF0\x9F\x98\x80</a>"),
            "Unable to transcode stream at line 1 column 4: the character U+1F600 is beyond U+00FF, the last character "
            "that 8-bit (Latin-1) text can hold");
  EXPECT_EQ(TSTraised([&] { R.parse("<a>\n</b>"); }).description(), "xml error on line 2 column 3. mismatched tag");
}

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
