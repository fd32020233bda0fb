// The log readers on the cases of tests/data/MLG: a log's bytes in, the framed messages and
// the guessed format out.
//
// Sections of a case:
//   format NAME       the factory's reader to frame with (HL7Standard ... SingleMessage)
//   log               the bytes; lines are joined with nothing between them, and "\r", "\n",
//                     "\0" and "\\" stand for CR, LF, NUL and one backslash
//   expect            the messages, one a line, written as the log; "(empty)" is an empty one;
//                     framed by "format" when the case names one
//   positions         the reader's position after each message
//   ignore SEG...     segments the reader drops
//   segment-end T, message-end T, header H   the reader's settings (H only for HL7 formats)
//   sniff             "CHECKER FORMAT" lines; CHECKER is open, hl7, batch, x12-interchange,
//                     x12-batch, newlines (then a mask instead of a format) or unrecognised
//                     (what the tool tries when "open" finds nothing; its format, or "Unknown"
//                     and the reason); what "open" and "unrecognised" open is read and must
//                     give the expected messages
//   lines MASK [END]  the log read line by line, with line-end mask and end character (NUL
//                     when not given): "END POSITION TEXT" for each line, the text as the log
// Framing and lines are read at several block sizes, with one reader object, so neither the
// block boundaries nor what the previous open left may change them.
#include <algorithm>
#include <memory>
#include <sstream>

#include "MLGblockFile.h"
#include "MLGfileReader.h"
#include "MLGhl7Reader.h"
#include "MLGtestSupport.h"

#include "../support/TSTdataFile.h"

namespace {

std::string decode(const std::string& Text) {
  std::string Bytes;
  for (size_t At = 0; At < Text.size(); ++At) {
    if (Text[At] != '\\' || At + 1 == Text.size()) {
      Bytes += Text[At];
      continue;
    }
    const char Code = Text[++At];
    Bytes += Code == 'r' ? '\r' : Code == 'n' ? '\n' : Code == '0' ? '\0' : Code;
  }
  return Bytes;
}

std::vector<std::string> lines(const std::string& Text) {
  std::vector<std::string> Lines;
  std::istringstream In(Text);
  for (std::string Line; std::getline(In, Line);) Lines.push_back(Line);
  return Lines;
}

std::vector<TSTdataCase> casesWith(const char* Key, const char* AlsoKey = nullptr) {
  std::vector<TSTdataCase> Cases = TSTreadDataArea("MLG");
  Cases.erase(std::remove_if(Cases.begin(), Cases.end(),
                             [Key, AlsoKey](const TSTdataCase& Case) {
                               return !Case.has(Key) || (AlsoKey && !Case.has(AlsoKey));
                             }),
              Cases.end());
  return Cases;
}

class MLGdata : public MLGtempDir, public ::testing::WithParamInterface<TSTdataCase> {
protected:
  COLstring log() {
    std::string Bytes;
    for (const std::string& Line : lines(GetParam().text("log"))) Bytes += decode(Line);
    return write("log", Bytes);
  }

  std::unique_ptr<MLGreader> reader() {
    const TSTdataCase& Case = GetParam();
    std::unique_ptr<MLGreader> Reader(MLGfactoryFromName(Case.argument("format")));
    if (!Reader) {
      ADD_FAILURE() << "no format " << Case.argument("format");
      return Reader;
    }
    std::istringstream Ignored(Case.has("ignore") ? Case.argument("ignore") : "");
    for (std::string Segment; Ignored >> Segment;) Reader->ignoredSegments().push_back(Segment);
    if (Case.has("segment-end")) Reader->setSegmentTerminator(decode(Case.argument("segment-end")));
    if (Case.has("message-end")) Reader->setMessageTerminator(decode(Case.argument("message-end")));
    if (Case.has("header")) dynamic_cast<MLGhl7Reader&>(*Reader).setMessageHeader(Case.argument("header"));
    return Reader;
  }

  std::vector<std::string> expected() {
    std::vector<std::string> Messages;
    for (const std::string& Line : lines(GetParam().text("expect")))
      Messages.push_back(Line == "(empty)" ? "" : decode(Line));
    return Messages;
  }
};

using MLGframing = MLGdata;
using MLGsniffing = MLGdata;

TEST_P(MLGframing, LogToMessages) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const COLstring Path = log();
  std::unique_ptr<MLGreader> Reader = reader();
  ASSERT_TRUE(Reader);
  std::vector<uint64_t> Positions;
  std::istringstream Numbers(Case.has("positions") ? Case.text("positions") : "");
  for (uint64_t Position; Numbers >> Position;) Positions.push_back(Position);
  // Every small block size puts the ends of short segments at the last byte of a block.
  for (size_t Block : {size_t{256 * 1024}, size_t{1}, size_t{2}, size_t{3}, size_t{4}, size_t{5}, size_t{6}, size_t{7}}) {
    SCOPED_TRACE(::testing::Message() << "block " << Block);
    dynamic_cast<MLGfileReader&>(*Reader).setBlockSize(Block);
    Reader->open(Path);
    std::vector<std::string> Messages;
    std::vector<uint64_t> After;
    while (Reader->hasNextMessage() && Messages.size() < 1000) {
      Messages.push_back(Reader->nextMessage().str());
      After.push_back(Reader->position());
    }
    EXPECT_EQ(Messages, expected());
    if (!Positions.empty()) {
      EXPECT_EQ(After, Positions);
    }
    EXPECT_EQ(Reader->nextMessage(), "") << "a reader at its end";
  }
}

TEST_P(MLGsniffing, LogToFormat) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const COLstring Path = log();
  for (const std::string& Line : lines(Case.text("sniff"))) {
    const std::string Checker = Line.substr(0, Line.find(' ')), Expected = Line.substr(Line.find(' ') + 1);
    if (Checker == "newlines") {
      EXPECT_EQ(std::to_string(MLGnewlineTypes(Path)), Expected) << Line;
    } else if (Checker == "open") {
      std::unique_ptr<MLGreader> Reader(MLGfactoryOpen(Path));
      EXPECT_EQ(Reader ? MLGfactoryFormatName(Reader->fileFormat()) : "Unknown", Expected) << Line;
      // What the factory opens is ready to read, from the start.
      if (Reader) {
        EXPECT_EQ(MLGreadAll(*Reader), expected());
      }
    } else if (Checker == "unrecognised") {
      COLstring Note, Why;
      std::unique_ptr<MLGreader> Reader(MLGfactoryOpenUnrecognised(Path, Note, Why));
      EXPECT_EQ(Reader ? MLGfactoryFormatName(Reader->fileFormat()) : "Unknown " + Why.str(), Expected) << Line;
      if (Reader) {
        EXPECT_EQ(MLGreadAll(*Reader), expected());
      }
    } else {
      MLGreaderFileFormat Format = MLGendOfFormats;
      if (Checker == "hl7") Format = MLGhl7CheckFileFormat(Path);
      else if (Checker == "batch") Format = MLGhl7BatchCheckFileFormat(Path);
      else if (Checker == "x12-interchange") Format = MLGx12InterchangeCheckFileFormat(Path);
      else if (Checker == "x12-batch") Format = MLGx12BatchCheckFileFormat(Path);
      else ADD_FAILURE() << "no checker " << Checker;
      EXPECT_EQ(MLGfactoryFormatName(Format), Expected) << Line;
    }
  }
}

using MLGlines = MLGdata;

TEST_P(MLGlines, LogToLines) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  const COLstring Path = log();
  std::istringstream Arguments(Case.argument("lines"));
  unsigned Mask = 0;
  std::string End;
  Arguments >> Mask >> End;
  for (size_t Block : {size_t{1}, size_t{2}, size_t{4096}}) {
    SCOPED_TRACE(::testing::Message() << "block " << Block);
    MLGblockFile File(Block);
    File.open(Path);
    std::vector<std::string> Got;
    COLstring Line;
    for (unsigned LineEnd = 1; LineEnd != 0 && Got.size() < 100;) {
      LineEnd = MLGreadLine(File, Line, Mask, End.empty() ? '\0' : End[0]);
      Got.push_back(std::to_string(LineEnd) + " " + std::to_string(File.position()) +
                    (Line.empty() ? "" : " " + Line.str()));
    }
    std::vector<std::string> Expected;
    for (const std::string& Text : lines(Case.text("lines"))) Expected.push_back(decode(Text));
    EXPECT_EQ(Got, Expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, MLGlines, ::testing::ValuesIn(casesWith("lines")), TSTdataParamName);
// Cases without a format expect what sniffing opens, and are read under "sniff" alone.
INSTANTIATE_TEST_SUITE_P(Cases, MLGframing, ::testing::ValuesIn(casesWith("expect", "format")), TSTdataParamName);
INSTANTIATE_TEST_SUITE_P(Cases, MLGsniffing, ::testing::ValuesIn(casesWith("sniff")), TSTdataParamName);

}  // namespace
