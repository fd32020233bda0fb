// Fuzz target: the XML event parsers and the document tree on any bytes.  Besides not
// crashing, it checks that
// - a document that parses, written out and parsed again, gives an equal tree, and writing
//   that tree gives the same bytes (the writer is stable); the one exception is a name with a
//   character beyond ASCII, because Expat's name classes for 8-bit and UTF-16 input are wider
//   than for UTF-8 (it takes "\xB5" as a name in Latin-1 or UTF-16, not in UTF-8);
// - a refused document always comes with a printable error code and a line number;
// - the 8-bit parser accepts exactly what the tree parser accepts, unless it meets a
//   character beyond 8 bits or the depth limit is at work;
// - the tree parser with eight-bit text refuses a document that it takes in UTF-8 only for a
//   character beyond 8 bits, which the 8-bit parser refuses too.
#include <string>
#include <vector>

#include "COLerror.h"
#include "FUZZsupport.h"
#include "SGXxmlDom.h"
#include "XMLexpatAnsiParser.h"

namespace {

// Counts events and nothing else; the point is to run the transcoding.
class AnsiCounter : public XMLexpatAnsiParser {
public:
  size_t events = 0;
  void onStartElement(const char*, const char**) override { ++events; }
  void onEndElement(const char*) override { ++events; }
  void onCharacterData(const char*, int) override { ++events; }
  void onComment(const char*) override { ++events; }
};

bool hasNonAsciiName(const SGXxmlDomNodeElement& root) {
  auto nonAscii = [](const COLstring& name) {
    for (const char c : name.view())
      if (static_cast<unsigned char>(c) >= 0x80) return true;
    return false;
  };
  std::vector<const SGXxmlDomNodeElement*> Pending{&root};
  while (!Pending.empty()) {
    const SGXxmlDomNodeElement* Element = Pending.back();
    Pending.pop_back();
    if (nonAscii(Element->name())) return true;
    for (const auto& Attribute : Element->attributes())
      if (nonAscii(Attribute.first)) return true;
    for (size_t Index = 0; Index < Element->countOfChild(); ++Index)
      if (const SGXxmlDomNodeElement* Child = Element->child(Index).asElement()) Pending.push_back(Child);
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* Text = reinterpret_cast<const char*>(data);
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement First;
  const bool Parsed = Parser.parse(Text, static_cast<unsigned>(size), First);

  bool AnsiParsed = true;
  bool AnsiTranscodeFailed = false;
  try {
    AnsiCounter Counter;
    Counter.parse(COLstring(std::string(Text, size)));
  } catch (const COLerror& error) {
    AnsiParsed = false;
    AnsiTranscodeFailed = error.description().view().starts_with("Unable to transcode stream at ");
  }

  if (!Parsed) {
    const SGXerror& Error = *Parser.parseError();
    check(SGXerrorPrintableCode(Error.errorCode()).size() == 8, "printable code");
    check(Error.lineNumber() >= 1, "error line");
    if (Error.errorCode() == SGXerror::XmlMalformed) check(!AnsiParsed, "8-bit parser accepts malformed XML");
    return 0;
  }
  check(AnsiParsed || AnsiTranscodeFailed, "8-bit parser refuses well-formed XML");

  SGXxmlDomParser EightBitParser;
  EightBitParser.setEightBitText(true);
  SGXxmlDomNodeElement EightBit;
  if (!EightBitParser.parse(Text, static_cast<unsigned>(size), EightBit)) {
    check(EightBitParser.parseError()->errorCode() == SGXerror::XmlParseFailed, "8-bit tree refusal code");
    check(AnsiTranscodeFailed, "8-bit tree refuses what the 8-bit parser takes");
  }

  COLstring Written;
  SGXxmlDomWrite(First, Written);
  SGXxmlDomNodeElement Second;
  if (!Parser.parse(Written, Second)) {
    check(hasNonAsciiName(First), "written tree parses");
    return 0;
  }
  check(SGXxmlDomEqual(First, Second), "written tree reads back equal");
  COLstring Again;
  SGXxmlDomWrite(Second, Again);
  check(Written == Again, "writing is stable");
  return 0;
}
