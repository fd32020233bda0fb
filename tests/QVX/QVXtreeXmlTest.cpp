// Round trips through the tree XML dialects for every real message of the shared corpus that
// the tree road accepts under its bundled definition, and the schema of each written dialect
// checked by xmllint against the documents written:
//   flat -> XML -> flat -> XML gives the first document again, byte for byte, and
//   flat -> XML -> flat gives a text that reads and writes to itself, the normal form the readers
//   hand out, and
//   flat -> XML -> flat gives the message back value for value once the empty parts at the end of
//   each level are dropped; every value that differs must have a reason in `flatDifferences`
//   (a date-time, integer or double in its written form, a part beyond the grammar, ...).
//   What the design changes between documents is named in `withoutWhatReadingDrops` and
//   `ownDelimiters`.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <iostream>
#include <iterator>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMcompositeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMsegmentGrammar.h"
#include "QVMtreeXmlFormatter.h"
#include "QVXschema.h"

#include "../support/TSTcorpus.h"
#include "../support/TSTfile.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> corpusMessages() {
  std::vector<std::string> Messages;
  if (!fs::is_directory(TSTcorpusDirectory)) return Messages;
  std::vector<fs::path> Files;
  for (const auto& Entry : fs::directory_iterator(TSTcorpusDirectory)) Files.push_back(Entry.path());
  std::sort(Files.begin(), Files.end());
  for (const fs::path& File : Files) {
    if (File.filename().string().rfind("batch_", 0) == 0) {
      for (const std::string& Message : TSTbatchMessages(File)) Messages.push_back(Message);
    } else {
      TSTlogMessages(File, Messages);
    }
  }
  return Messages;
}

COLreferencePtr<QVFengine> engineFor(const std::string& Version, const char* Dialect) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v" + Version + ".vmd");
  Engine->schema().config().setXmlTranslationType(Dialect);
  return Engine;
}

// What the design changes between the XML of a message and the XML of that message read back,
// taken out of both before they are compared:
// - a value of blanks alone is not stored when read, so its element is gone the second time;
// - an element with no text at all (a date-time the mask could not read, written empty under
//   lenient checking) stores nothing either;
// - so a field, component or segment that held nothing else is gone too (a segment of empty
//   fields reads back as its name alone, which the legacy checker does not place again).
std::string withoutWhatReadingDrops(const std::string& Xml) {
  static const std::regex Blank("\\r\\n *<([^>/]+)> *</\\1>(?=\\r\\n)");
  static const std::regex EmptySegment("\\r\\n *<([^>/]+)>\\r\\n *</\\1>(?=\\r\\n)");
  std::string Previous, Text = Xml;
  while (Previous != Text) {
    Previous = Text;
    Text = std::regex_replace(std::regex_replace(Text, Blank, ""), EmptySegment, "");
  }
  return Text;
}

// The header's own delimiters, when they are not the configured ones, come back as the
// configured ones: the flat text is written with the configuration's delimiters.
bool ownDelimiters(const std::string& Message) { return Message.compare(0, 9, "MSH|^~\\&|") != 0; }

// The validating reader of "Full Tree Validation" checks each segment as the current parser
// does; the legacy checker on the way out lets some of those faults pass (a required field left
// empty, a value over its length), and the reader then refuses the document for them alone.
bool onlySegmentChecks(const std::string& Report) {
  static const std::regex Fault(" \\[[0-9]+:[0-9]+\\] : (Missing required|Maximum length of).*");
  std::istringstream Lines(Report);
  std::string Line;
  std::getline(Lines, Line);
  if (Line.rfind("Some errors were encountered during conversion", 0) != 0) return false;
  while (std::getline(Lines, Line))
    if (!Line.empty() && !std::regex_match(Line, Fault)) return false;
  return true;
}

// A flat message as nested values: segment, field, repeat, component, sub-component, with the
// empty parts at the end of each level dropped, which the readers never give back.  The
// header's first two fields are values of their own.
using FlatValues = std::vector<std::vector<std::vector<std::vector<std::vector<std::string>>>>>;

template <class T>
void dropTrailingEmpty(std::vector<T>& Parts) {
  const auto empty = [](const auto& Part) {
    if constexpr (std::is_same_v<std::decay_t<decltype(Part)>, std::string>) return Part.empty();
    else return Part.empty();
  };
  while (!Parts.empty() && empty(Parts.back())) Parts.pop_back();
}

std::vector<std::string> splitOn(const std::string& Text, char Separator) {
  std::vector<std::string> Parts(1);
  for (const char C : Text) {
    if (C == Separator) Parts.emplace_back();
    else Parts.back() += C;
  }
  return Parts;
}

FlatValues flatValues(const std::string& Message) {
  FlatValues Segments;
  std::string Text = std::regex_replace(Message, std::regex("\r\n|\n"), "\r");
  for (const std::string& Segment : splitOn(Text, '\r')) {
    if (Segment.empty()) continue;
    auto& Fields = Segments.emplace_back();
    std::vector<std::string> FieldTexts = splitOn(Segment, '|');
    const bool Header = FieldTexts[0] == "MSH";
    for (size_t Field = 0; Field < FieldTexts.size(); ++Field) {
      auto& Repeats = Fields.emplace_back();
      if (Field == 0 || (Header && Field == 1)) {
        // The segment name, and the header's encoding characters: no separators inside.
        Repeats.push_back({{FieldTexts[Field]}});
        if (Header && Field == 1) Fields.insert(Fields.begin() + 1, {{{"|"}}});
        continue;
      }
      for (const std::string& Repeat : splitOn(FieldTexts[Field], '~')) {
        auto& Components = Repeats.emplace_back();
        for (const std::string& Component : splitOn(Repeat, '^')) {
          Components.push_back(splitOn(Component, '&'));
          dropTrailingEmpty(Components.back());
        }
        dropTrailingEmpty(Components);
      }
      dropTrailingEmpty(Repeats);
    }
    dropTrailingEmpty(Fields);
  }
  return Segments;
}

// Why a part of a message that did not come back is left out, by the grammar: the legacy
// checker types a segment's fields, components and sub-components as far as the grammar
// reaches and ignores the rest (a simple field given components keeps the first); empty when
// the grammar has a place for the part.
std::string beyondTheGrammar(const QVMengineInternal& Engine, const std::string& SegmentName, size_t Field,
                             size_t Component, size_t Sub) {
  const uint32_t Index = Engine.segmentByName(SegmentName.c_str());
  if (Index == QVMengineInternal::npos) return "a segment the definition does not know";
  const QVMsegmentGrammar& Segment = *Engine.segment(Index);
  if (Field == 0) return "";
  if (Field > Segment.countOfField()) return "a field beyond the grammar";
  const QVMcompositeGrammar* Type = Segment.fieldType(static_cast<unsigned>(Field - 1));
  if (!Type || Type->countOfField() <= 1) {
    if (Component > 0 || Sub > 0) return "a component of a simple field";
    return "";
  }
  if (Component >= Type->countOfField()) return "a component beyond the grammar";
  const auto Position = static_cast<uint32_t>(Component);
  const QVMcompositeGrammar* Inner =
      Type->fieldDataType(Position) == QVMcompositeType ? Type->fieldCompositeType(Position) : nullptr;
  if (!Inner || Inner->countOfField() <= 1) return Sub > 0 ? "a sub-component of a simple component" : "";
  return Sub >= Inner->countOfField() ? "a sub-component beyond the grammar" : "";
}

// Whether the grammar types the part as a date-time.
bool isDateTime(const QVMengineInternal& Engine, const std::string& SegmentName, size_t Field, size_t Component,
                size_t Sub) {
  const uint32_t Index = Engine.segmentByName(SegmentName.c_str());
  if (Index == QVMengineInternal::npos || Field == 0 || Field > Engine.segment(Index)->countOfField()) return false;
  const QVMcompositeGrammar* Type = Engine.segment(Index)->fieldType(static_cast<unsigned>(Field - 1));
  size_t Levels[] = {Component, Sub};
  for (size_t Level = 0; Type; ++Level) {
    const auto Position = static_cast<uint32_t>(Type->countOfField() == 1 ? 0 : Level < 2 ? Levels[Level] : 0);
    if (Position >= Type->countOfField()) return false;
    if (Type->fieldDataType(Position) != QVMcompositeType) return Type->fieldDataType(Position) == QVMdateTimeType;
    Type = Type->fieldCompositeType(Position);
  }
  return false;
}

// What the tree road changes in a value that it keeps, by name; empty when `Back` is none of them.
std::string namedChange(const std::string& Original, const std::string& Back) {
  if (Original.empty()) return "";  // nothing comes from nowhere
  static const std::regex Written("([0-9]{14})(\\.[0-9]+)?[+-][0-9]{4}");
  std::smatch Match;
  // A date-time comes back in the full mask of its grammar, beginning with the digits it had.
  if (std::regex_match(Back, Match, Written)) {
    const std::string Digits = Original.substr(0, Original.find_first_not_of("0123456789"));
    if (!Digits.empty() && Digits.size() <= 14 && Match[1].str().compare(0, Digits.size(), Digits) == 0)
      return "date-time in its written form";
  }
  // An integer through "%i", a double through "%f"; a text that is no number gives 0.
  char* End = nullptr;
  const double Number = std::strtod(Original.c_str(), &End);
  char Text[400];
  std::snprintf(Text, sizeof Text, "%f", Number);
  if (Back == Text) return End && *End == '\0' ? "double in its written form" : "double of a text that is no number";
  if (Back == std::to_string(static_cast<int>(Number))) return "integer in its written form";
  // A value of blanks alone is not stored when the XML is read.
  if (Back.empty() && Original.find_first_not_of(' ') == std::string::npos) return "value of blanks alone";
  return "";
}

// The differences between a message and what came back from its XML, each with its reason;
// a difference without one is named "UNEXPLAINED".
std::vector<std::string> flatDifferences(const QVMengineInternal& Engine, const std::string& Original,
                                         const std::string& Back) {
  const FlatValues Want = flatValues(Original), Got = flatValues(Back);
  std::vector<std::string> Differences;
  size_t Next = 0;
  for (size_t Segment = 0; Segment < Want.size(); ++Segment) {
    const std::string Name = Want[Segment][0][0][0][0];
    if (Next >= Got.size() || Got[Next][0][0][0][0] != Name) {
      // A segment the definition does not know is not placed in the tree, and neither is one
      // that the message grammar has no place for where it stands: lenient checking passes
      // over it.
      std::string Reason = beyondTheGrammar(Engine, Name, 0, 0, 0);
      if (Reason.empty()) Reason = "a segment the message grammar has no place for there";
      Differences.push_back(Reason + ": segment " + Name + " did not come back");
      continue;
    }
    const auto& WantFields = Want[Segment];
    const auto& GotFields = Got[Next++];
    using Parts = std::vector<std::vector<std::vector<std::string>>>;
    const auto at = [](const Parts& Field, size_t R, size_t C, size_t S) {
      return R < Field.size() && C < Field[R].size() && S < Field[R][C].size() ? Field[R][C][S] : std::string();
    };
    const auto count = [](const Parts& Field, size_t R, size_t C) {
      return R < Field.size() ? (C == SIZE_MAX ? Field[R].size() : C < Field[R].size() ? Field[R][C].size() : 0) : 0;
    };
    for (size_t Field = 0; Field < std::max(WantFields.size(), GotFields.size()); ++Field) {
      const Parts None;
      const Parts& W = Field < WantFields.size() ? WantFields[Field] : None;
      const Parts& G = Field < GotFields.size() ? GotFields[Field] : None;
      // A repeat that is empty is null in the tree, and the writer skips it: the repeats after
      // it move up.
      Parts Filled;
      for (const auto& Repeat : W)
        if (!Repeat.empty()) Filled.push_back(Repeat);
      if (Filled.size() != W.size() && Filled == G) {
        Differences.push_back("empty repeat not written: " + Name + "." + std::to_string(Field));
        continue;
      }
      for (size_t R = 0; R < std::max(W.size(), G.size()); ++R)
        for (size_t C = 0; C < std::max(count(W, R, SIZE_MAX), count(G, R, SIZE_MAX)); ++C)
          for (size_t S = 0; S < std::max(count(W, R, C), count(G, R, C)); ++S) {
            const std::string A = at(W, R, C, S), B = at(G, R, C, S);
            if (A == B) continue;
            std::string Reason = B.empty() ? beyondTheGrammar(Engine, Name, Field, C, S) : "";
            if (Reason.empty()) Reason = namedChange(A, B);
            // A date-time its mask cannot read: the document holds what the mask made of it, and
            // the tool warns of it.
            if (Reason.empty() && isDateTime(Engine, Name, Field, C, S)) Reason = "date-time its mask cannot read";
            if (Reason.empty()) Reason = "UNEXPLAINED";
            Differences.push_back(Reason + ": " + Name + "." + std::to_string(Field) + "." + std::to_string(C + 1) +
                                  "." + std::to_string(S + 1) + " '" + A + "' came back as '" + B + "'");
          }
    }
  }
  if (Next != Got.size()) Differences.push_back("UNEXPLAINED: segments came back that the message did not have");
  return Differences;
}

struct RoundTrip {
  unsigned accepted = 0, sameXml = 0, ownDelimiters = 0, checkedFurther = 0;
  std::vector<std::string> faults;
  // Differences between a message and the flat text of its XML, by reason.
  std::map<std::string, unsigned> changes;
};

// flat -> XML -> flat -> XML -> flat: the two XML documents agree, and so do the two flat texts
// (the second is the normal form the readers hand out, which reading and writing keep).
RoundTrip roundTrip(const char* Dialect, bool Validate, bool Strict) {
  RoundTrip Result;
  std::map<std::string, COLreferencePtr<QVFengine>> Engines;
  for (const std::string& Message : corpusMessages()) {
    const std::string Version = TSTdefinitionFor(TSTversionOf(Message));
    COLreferencePtr<QVFengine>& Engine = Engines[Version];
    if (!Engine) {
      Engine = engineFor(Version, Dialect);
      Engine->schema().config().setValidateDataForXmlToHL7(Validate);
      // Without strict checks values the standard definitions would refuse are written and read
      // back too; the validating reader checks what strict checking checks.
      Engine->schema().setRejectBadSegmentGrammar(Strict);
    }
    QVJparseContext& Context = Engine->parseContext();
    std::string Xml, Back, Again, BackAgain;
    try {
      Xml = QVJhl7ToXml(Context, Message.c_str());
    } catch (const COLerror&) {
      continue;  // why a message is refused is the business of the parse tests
    }
    ++Result.accepted;
    if (ownDelimiters(Message)) {
      ++Result.ownDelimiters;
      continue;
    }
    try {
      Back = QVJxmlToHl7(Context, Xml.c_str());
      Again = QVJhl7ToXml(Context, Back.c_str());
      BackAgain = QVJxmlToHl7(Context, Again.c_str());
    } catch (const COLerror& Error) {
      if (onlySegmentChecks(Error.description().c_str())) {
        ++Result.checkedFurther;
        continue;
      }
      Result.faults.push_back(Dialect + std::string(": ") + Error.description().c_str() + "\n" + Xml);
      continue;
    }
    if (Again == Xml) ++Result.sameXml;
    for (const std::string& Difference : flatDifferences(Engine->schema(), Message, Back)) {
      const std::string Reason = Difference.substr(0, Difference.find(':'));
      ++Result.changes[Reason];
      if (Reason == "UNEXPLAINED")
        Result.faults.push_back(std::string(Dialect) + ": " + Difference + "\n" + Message + "\n---\n" + Back);
    }
    const std::string Written = withoutWhatReadingDrops(Xml), Rewritten = withoutWhatReadingDrops(Again);
    if (Written != Rewritten) {
      size_t At = 0;
      while (At < Written.size() && At < Rewritten.size() && Written[At] == Rewritten[At]) ++At;
      const size_t Line = Written.rfind('\n', At) == std::string::npos ? 0 : Written.rfind('\n', At) + 1;
      Result.faults.push_back(std::string(Dialect) + ": the XML of the message read back differs at\n" +
                              Written.substr(Line, 200) + "\n---\n" + Rewritten.substr(Line, 200));
    } else if (Again == Xml && BackAgain != Back) {
      Result.faults.push_back(std::string(Dialect) + ": the message read back twice differs\n" + Back + "\n---\n" +
                              BackAgain);
    }
  }
  return Result;
}

TEST(QVXtreeXml, CorpusMessagesRoundTripThroughTheDefaultDialect) {
  if (!fs::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  const RoundTrip Result = roundTrip("STANDARD VER 2", true, false);
  for (const std::string& Fault : Result.faults) ADD_FAILURE() << Fault;
  // The tree road accepts most of the corpus; a change that refuses more shows here.
  EXPECT_GT(Result.accepted, 60u);
  std::cout << Result.accepted << " accepted, " << Result.sameXml << " with the same XML byte for byte, "
            << Result.ownDelimiters << " with header delimiters of their own\n";
  for (const auto& [Reason, Count] : Result.changes) std::cout << "  " << Count << " x " << Reason << "\n";
  // The bundled definitions keep every value as text, so times and numbers come back as they were
  // written and most messages give their XML back byte for byte.
  EXPECT_EQ(Result.changes.count("date-time in its written form"), 0u);
  EXPECT_GT(Result.sameXml, 50u);
}

TEST(QVXtreeXml, CorpusMessagesRoundTripThroughFullTreeValidationWithValidationOn) {
  if (!fs::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  const RoundTrip Result = roundTrip("Full Tree Validation", true, true);
  for (const std::string& Fault : Result.faults) ADD_FAILURE() << Fault;
  EXPECT_GT(Result.accepted, 20u);
  std::cout << Result.accepted << " accepted with strict checks, " << Result.sameXml << " with the same XML\n";
  for (const auto& [Reason, Count] : Result.changes) std::cout << "  " << Count << " x " << Reason << "\n";
}

// xmllint on `Files` against `Xsd`: its exit status, and its report.
int xmllint(const fs::path& Xsd, const std::string& Files, const fs::path& Log, std::string& Report) {
  const int Status =
      std::system(("xmllint --noout --schema " + Xsd.string() + Files + " >" + Log.string() + " 2>&1").c_str());
  std::ifstream In(Log);
  Report.assign((std::istreambuf_iterator<char>(In)), std::istreambuf_iterator<char>());
  return Status;
}

// The documents of `Messages` in `Dialect` and the schema of the same definition and dialect,
// checked with xmllint.
void checkSchema(const std::string& Definition, const std::vector<std::string>& Messages, const char* Dialect,
                 const fs::path& Directory) {
  SCOPED_TRACE(Definition + ", " + Dialect);
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Definition);
  Engine->schema().config().setXmlTranslationType(Dialect);
  std::string Files;
  unsigned Count = 0;
  for (const std::string& Message : Messages) {
    std::string Xml;
    try {
      Xml = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
    } catch (const COLerror&) {
      continue;  // refused messages are the business of the parse tests
    }
    const fs::path File = Directory / ("m" + std::to_string(++Count) + ".xml");
    std::ofstream(File, std::ios::binary) << Xml;
    Files += " " + File.string();
  }
  std::vector<QVXschemaOutput> Schema;
  ASSERT_NO_THROW(QVXgenerateSchema(Engine->schema(), XMLschemaFormatter::Xsd, "defs.xsd", Schema, true));
  const fs::path Xsd = Directory / "defs.xsd";
  std::ofstream(Xsd, std::ios::binary) << Schema.at(0).text.c_str();
  EXPECT_GT(Count, 0u) << "no message was written";
  std::string Report;
  EXPECT_EQ(xmllint(Xsd, Files, Directory / "xmllint.log", Report), 0) << Report.substr(0, 3000);
}

constexpr const char* kWrittenTreeDialects[] = {"STANDARD VER 2", "Full Tree Validation", "STANDARD", "EXPANDED"};

// Every document written for the example logs is valid against the schema --toxsd writes for
// the same definition and dialect.
TEST(QVXtreeXml, SchemasAcceptEveryDocumentWrittenForTheExamples) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "xmllint is not installed";
  const TSTtemporaryDirectory Scratch;
  ASSERT_FALSE(Scratch.path().empty());
  for (const auto& [Definition, Log] : {std::pair{"examples/adt_oru.vmd", "examples/messages.hl7"},
                                        std::pair{"examples/scripted.vmd", "examples/scripted.hl7"}}) {
    std::vector<std::string> Messages;
    TSTlogMessages(std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Log, Messages);
    ASSERT_FALSE(Messages.empty()) << Log;
    for (const char* Dialect : kWrittenTreeDialects) checkSchema(Definition, Messages, Dialect, Scratch.path());
  }
}

// The X12 examples go through the tool, which splits their interchanges into transaction sets.
TEST(QVXtreeXml, SchemasAcceptEveryDocumentWrittenForTheX12Examples) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "xmllint is not installed";
  const TSTtemporaryDirectory Scratch;
  ASSERT_FALSE(Scratch.path().empty());
  const fs::path Directory = Scratch.path();
  static const std::regex Setting("<xml_translation_type>[^<]*</xml_translation_type>");
  for (const auto& [Definition, Log] : {std::pair{"x12_850_997.vmd", "x12_interchange.x12"},
                                        std::pair{"x12_850_997_sets.vmd", "x12_batch.x12"}}) {
    const std::string Text = TSTreadFile(std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/" + Definition);
    ASSERT_TRUE(std::regex_search(Text, Setting)) << Definition;
    for (const char* Dialect : kWrittenTreeDialects) {
      SCOPED_TRACE(std::string(Definition) + ", " + Dialect);
      const fs::path Vmd = Directory / "d.vmd", Out = Directory / Dialect;
      TSTwriteFile(Vmd.string(), std::regex_replace(Text, Setting,
                                                    "<xml_translation_type>" + std::string(Dialect) +
                                                        "</xml_translation_type>"));
      const std::string Tool = std::string(MSGBRIDGE_TOOL) + " ";
      const std::string Quiet = " >" + (Directory / "tool.log").string() + " 2>&1";
      ASSERT_EQ(std::system((Tool + "--toxml " + Vmd.string() + " " + MSGBRIDGE_SOURCE_DIR + "/examples/" + Log + " '" +
                             (Out / "m.xml").string() + "'" + Quiet).c_str()),
                0)
          << TSTreadFile((Directory / "tool.log").string());
      ASSERT_EQ(std::system((Tool + "--toxsd " + Vmd.string() + " unused " + (Directory / "s.xsd").string() + Quiet)
                                .c_str()),
                0);
      std::string Files;
      for (const auto& Entry : fs::directory_iterator(Out)) Files += " '" + Entry.path().string() + "'";
      ASSERT_FALSE(Files.empty());
      std::string Report;
      EXPECT_EQ(xmllint(Directory / "s.xsd", Files, Directory / "xmllint.log", Report), 0) << Report.substr(0, 3000);
    }
  }
}

// The bundled standard definitions hold the same segment in several places of one group (ROL in
// ADT_A01), which the schemas must say deterministically; the corpus messages of each version
// are written and validated.
TEST(QVXtreeXml, SchemasOfTheBundledDefinitionsCompileAndAcceptCorpusDocuments) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "xmllint is not installed";
  if (!fs::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  const TSTtemporaryDirectory Scratch;
  ASSERT_FALSE(Scratch.path().empty());
  std::map<std::string, std::vector<std::string>> ByVersion;
  for (const std::string& Message : corpusMessages())
    ByVersion[TSTdefinitionFor(TSTversionOf(Message))].push_back(Message);
  for (const char* Version : {"2.3.1", "2.4", "2.5.1", "2.7.1"})
    for (const char* Dialect : kWrittenTreeDialects)
      checkSchema(std::string("definitions/hl7v") + Version + ".vmd", ByVersion[Version], Dialect, Scratch.path());
}

// "STANDARD" numbers its ".GRP." elements by one count through the document.  Up to the first
// group whose length the grammar leaves open the numbers are fixed, and the schema names them:
// a document with one of them changed is refused.  Beyond, they are wildcards, under which the
// segments are still held to their declarations.
TEST(QVXtreeXml, StandardSchemaNamesTheGroupNumbersTheGrammarFixes) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "xmllint is not installed";
  const TSTtemporaryDirectory Scratch;
  ASSERT_FALSE(Scratch.path().empty());
  const fs::path Directory = Scratch.path();
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v2.5.1.vmd");
  Engine->schema().config().setXmlTranslationType("STANDARD");
  // The patient group comes first and once: PID, PD1, the NTE list and the visit group take 1 to 4,
  // and PV1 in the visit 5; the orders repeat.
  const std::string Message =
      "MSH|^~\\&|LAB|NORTH|ENG|NORTH|20240305100000||ORM^O01|MSG1|P|2.5.1\r"
      "PID|1||MR1^^^NORTH^MR||Okonkwo^Amara||19500101|F\r"
      "PV1|1|I|WARD3^100^A\r"
      "ORC|NW|ORD1\r"
      "OBR|1|ORD1||GLU^Glucose^L\r";
  const std::string Xml = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
  std::vector<QVXschemaOutput> Schema;
  ASSERT_NO_THROW(QVXgenerateSchema(Engine->schema(), XMLschemaFormatter::Xsd, "defs.xsd", Schema, true));
  const fs::path Xsd = Directory / "defs.xsd";
  std::ofstream(Xsd, std::ios::binary) << Schema.at(0).text.c_str();
  const auto valid = [&](const std::string& Document, std::string& Report) {
    const fs::path File = Directory / "m.xml";
    std::ofstream(File, std::ios::binary) << Document;
    return xmllint(Xsd, " " + File.string(), Directory / "xmllint.log", Report) == 0;
  };
  std::string Report;
  ASSERT_TRUE(valid(Xml, Report)) << Report << Xml;
  ASSERT_NE(Xml.find("<ORM_O01.GRP.5>\r\n      <PV1>"), std::string::npos) << Xml;
  const auto replaced = [&](std::string Text, const std::string& From, const std::string& To) {
    for (size_t At = Text.find(From); At != std::string::npos; At = Text.find(From, At + To.size()))
      Text.replace(At, From.size(), To);
    return Text;
  };
  EXPECT_FALSE(valid(replaced(Xml, "ORM_O01.GRP.5>", "ORM_O01.GRP.6>"), Report)) << "a renumbered visit";
  EXPECT_NE(Report.find("ORM_O01.GRP.6"), std::string::npos) << Report;
  EXPECT_FALSE(valid(replaced(Xml, "ORM_O01.GRP.1>", "ORM_O01.GRP.2>"), Report)) << "a renumbered PID";
  // OBR stands under wildcards, yet a field it cannot have is refused.
  ASSERT_NE(Xml.find("<OBR.2>"), std::string::npos) << Xml;
  EXPECT_FALSE(valid(replaced(Xml, "<OBR.2>", "<OBR.999>x</OBR.999><OBR.2>"), Report));
  EXPECT_NE(Report.find("OBR.999"), std::string::npos) << Report;
}

// "STANDARD VER 2" keeps the field tags it made from one message to the next; a composite
// renamed in between must show under its new name, at once.
TEST(QVXtreeXml, RenamedGrammarsAreTaggedByTheirNewNames) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd");
  Engine->schema().config().setXmlTranslationType("STANDARD VER 2");
  const std::string Message =
      "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240305100000||ADT^A01|T1|P|2.4\r"
      "EVN|A01|20240305100000\r"
      "PID|1||MR410900^^^NORTHGATE^MR||Okonkwo^Amara||19500101|F\r"
      "PV1|1|I|WARD3^100^A^NORTHGATE\r";
  const std::string Before = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
  ASSERT_NE(Before.find("<CX.1>MR410900</CX.1>"), std::string::npos) << Before;
  QVMcompositeGrammar* Cx = nullptr;
  for (size_t Index = 0; Index < Engine->schema().countOfComposite(); ++Index)
    if (Engine->schema().composite(Index)->name() == "CX") Cx = Engine->schema().composite(Index);
  ASSERT_NE(Cx, nullptr);
  Cx->setName("PatientId");
  const std::string After = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
  EXPECT_NE(After.find("<PatientId.1>MR410900</PatientId.1>"), std::string::npos) << After;
  EXPECT_EQ(After.find("<CX."), std::string::npos) << After;
  // Everything else is as before.
  std::string Expected = Before;
  for (size_t At = Expected.find("CX."); At != std::string::npos; At = Expected.find("CX.", At))
    Expected.replace(At, 2, "PatientId");
  EXPECT_EQ(After, Expected);
}

// Under lenient checking a date-time its mask cannot read reaches the writer without its text;
// the typed dialects print it by the mask, and tell the listener what the message held.
TEST(QVXtreeXml, ADateTimeTheMaskCannotReadIsToldWithTheTextItCameAs) {
  struct Listener : QVMtreeXmlUnreadableValues {
    std::vector<std::string> Told;
    void unreadableValue(const COLstring& Message, const COLstring& Place, const COLstring& Text,
                         const COLstring& Written) override {
      Told.push_back(std::string(Message.c_str()) + " " + Place.c_str() + " '" + Text.c_str() + "' -> '" +
                     Written.c_str() + "'");
    }
  };
  const std::string Message =
      "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240305100000||ADT^A01|BAD001|P|2.4\r"
      "EVN|A01|xyz\r"
      "PID|1||MR410900^^^NORTHGATE^MR||Okonkwo^Amara||19500101~1951x101|F\r"
      "PV1|1|I|WARD3^100^A^NORTHGATE||||D1042^Varga^Ilona\r";
  for (const char* Dialect : {"STANDARD VER 2", "Full Tree Validation", "STANDARD"}) {
    COLreferencePtr<QVFengine> Engine(new QVFengine);
    QVLloadEngine(Engine->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd");
    Engine->schema().config().setXmlTranslationType(Dialect);
    Engine->schema().setRejectBadSegmentGrammar(false);
    Listener Heard;
    std::string Xml;
    {
      const QVMtreeXmlUnreadableScope Scope(Heard);
      Xml = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
    }
    // The second repeat of the birth date is read as far as it goes: the mask's reading stands
    // in the document, and the text it came from in the report.
    EXPECT_EQ(Heard.Told, (std::vector<std::string>{"ADT_A01 EVN.2.1 'xyz' -> ''",
                                                     "ADT_A01 PID.7.1 '1951x101' -> '19510101000000+0000'"}))
        << Dialect << "\n" << Xml;
    // Readable date-times are no news, and without a listener nothing is kept.
    const std::string Again = QVJhl7ToXml(Engine->parseContext(), Message.c_str());
    EXPECT_EQ(Again, Xml) << Dialect;
    EXPECT_NE(Xml.find("19500101000000+0000"), std::string::npos) << Dialect;
  }
}

}  // namespace
