// HL7 framings: line-end formats, SingleMessage, and the batch state machine.
#include <random>

#include "COLerror.h"
#include "MLGhl7Reader.h"
#include "MLGtestSupport.h"

#include "../support/TSTraised.h"

namespace {

using MLGhl7ReaderTest = MLGtempDir;

TEST_F(MLGhl7ReaderTest, StandardBreaksOnlyAtCrLfFollowedByHeader) {
  const COLstring path = write("std.hl7", "MSH|a\rPID|b\r\nMSH|c\r\n");
  EXPECT_EQ(MLGreadAll(MLGhl7Standard, path), (MLGmessages{"MSH|a\rPID|b\r\n", "MSH|c\r\n"}));
  // "MSH" behind a plain CR stays inside; CR LF before another segment only separates.
  const COLstring inside = write("inside.hl7", "MSH|a\rMSH|b\r\nPID|c\r\nMSH|d\r");
  EXPECT_EQ(MLGreadAll(MLGhl7Standard, inside), (MLGmessages{"MSH|a\rMSH|b\rPID|c\r\n", "MSH|d\r\n"}));
}

TEST_F(MLGhl7ReaderTest, BlankLines) {
  // Blank lines at the end go with the last message: no empty message follows.
  const COLstring trailing = write("trailing.hl7", "MSH|a\r\n\r\n\r\n\r");
  EXPECT_EQ(MLGreadAll(MLGhl7Standard, trailing), (MLGmessages{"MSH|a\r\n"}));
  // A blank line's own end counts: a CR blank line before "MSH" hides the CR LF.
  const COLstring hidden = write("hidden.hl7", "MSH|a\r\n\rMSH|b\r\n");
  EXPECT_EQ(MLGreadAll(MLGhl7Standard, hidden), (MLGmessages{"MSH|a\rMSH|b\r\n"}));
  // Blank lines before a header belong to the next call: the reader stops behind the last segment.
  const COLstring between = write("between.hl7", "MSH|a\r\n\r\n\r\nMSH|b\r\n");
  std::unique_ptr<MLGreader> reader(MLGfactoryFromFormat(MLGhl7Standard));
  reader->open(between);
  EXPECT_EQ(reader->nextMessage(), "MSH|a\r\n");
  EXPECT_EQ(reader->position(), 7u);
  EXPECT_EQ(reader->nextMessage(), "MSH|b\r\n");
  EXPECT_FALSE(reader->hasNextMessage());
  // Nothing but the format's line ends: one empty message.
  EXPECT_EQ(MLGreadAll(MLGhl7Standard, write("e0", "\r\n\r\r\n")), (MLGmessages{""}));
  EXPECT_EQ(MLGreadAll(MLGhl7CRLF, write("e1", "\r\n\r\n")), (MLGmessages{""}));
  EXPECT_EQ(MLGreadAll(MLGhl7CR, write("e2", "\r\r")), (MLGmessages{""}));
  EXPECT_EQ(MLGreadAll(MLGhl7LF, write("e3", "\n\n")), (MLGmessages{""}));
  EXPECT_EQ(MLGreadAll(MLGsingleMessage, write("e5", "\r\n\n\r\r")), (MLGmessages{""}));
  // A line end the format does not split on is text: LF-only framing of CR LF lines.
  EXPECT_EQ(MLGreadAll(MLGhl7LF, write("e6", "\r\n\r\n")), (MLGmessages{"\r\r\r\r\n"}));
}

TEST_F(MLGhl7ReaderTest, OtherLineEndFormats) {
  EXPECT_EQ(MLGreadAll(MLGhl7LF, write("lf.hl7", "MSH|a\nPID|b\nMSH|c\nPID|d")),
            (MLGmessages{"MSH|a\rPID|b\r\n", "MSH|c\rPID|d\r\n"}));
  EXPECT_EQ(MLGreadAll(MLGhl7CR, write("cr.hl7", "MSH|a\rPID|b\rMSH|c\r")),
            (MLGmessages{"MSH|a\rPID|b\r\n", "MSH|c\r\n"}));
  // Under CR LF framing a lone CR is text inside the segment.
  EXPECT_EQ(MLGreadAll(MLGhl7CRLF, write("crlf.hl7", "MSH|a\rPID|b\r\nOBX|c\r\nMSH|d\r\n")),
            (MLGmessages{"MSH|a\rPID|b\rOBX|c\r\n", "MSH|d\r\n"}));
  // Missing final line end, lone CRs and mixed line ends under SingleMessage.
  EXPECT_EQ(MLGreadAll(MLGsingleMessage, write("single.hl7", "MSH|a\nPID|b\r\nMSH|c\rOBX")),
            (MLGmessages{"MSH|a\rPID|b\rMSH|c\rOBX\r\n"}));
}

TEST_F(MLGhl7ReaderTest, EndOfFileCharacterAndEmptyFile) {
  const COLstring path = write("nul.hl7", std::string("MSH|a\rPID|b\0\rMSH|c\r", 19));
  std::unique_ptr<MLGreader> reader(MLGfactoryFromFormat(MLGhl7CR));
  reader->open(path);
  EXPECT_EQ(reader->nextMessage(), "MSH|a\rPID|b\r\n");
  EXPECT_EQ(reader->position(), 19u);
  EXPECT_FALSE(reader->hasNextMessage());

  reader->open(write("empty.hl7", ""));
  EXPECT_FALSE(reader->hasNextMessage());
  EXPECT_EQ(reader->nextMessage(), "");
}

TEST_F(MLGhl7ReaderTest, HeaderIgnoredSegmentsAndTerminators) {
  const COLstring path = write("opts.hl7", "FHS|x\r\nMSH|a\rZZZ|b\rZZ\r\nMSH|c\r\n");
  MLGhl7Reader reader(MLGhl7Standard);
  reader.ignoredSegments().push_back("ZZ");
  reader.setSegmentTerminator("\n");
  reader.setMessageTerminator("<end>");
  reader.open(path);
  EXPECT_EQ(MLGreadAll(reader), (MLGmessages{"FHS|x<end>", "MSH|a<end>", "MSH|c<end>"}));
  reader.open(write("segs.hl7", "MSH|a\rZ\rZZ|b\rPID\r"));
  EXPECT_EQ(MLGreadAll(reader), (MLGmessages{"MSH|a\nZ\nPID<end>"}));

  // Another header; an empty header never breaks.
  reader.ignoredSegments().clear();
  reader.setMessageHeader("FHS");
  reader.open(path);
  EXPECT_EQ(MLGreadAll(reader).size(), 1u);
  reader.setMessageHeader("");
  reader.open(write("two.hl7", "MSH|a\r\nMSH|b\r\n"));
  EXPECT_EQ(MLGreadAll(reader).size(), 1u);
  EXPECT_EQ(MLGhl7Reader(MLGsingleMessage).messageHeader(), "");
  EXPECT_EQ(MLGhl7Reader(MLGhl7LF).messageHeader(), "MSH");
}

TEST_F(MLGhl7ReaderTest, RefusesFormatsItDoesNotRead) {
  for (MLGreaderFileFormat format : {MLGhl7Batch, MLGx12Interchange, MLGx12Batch, MLGendOfFormats}) {
    const COLerror error = TSTraised([&] { MLGhl7Reader reader(format); });
    EXPECT_EQ(error.description(), COLstring("Unrecognized data format specified: ") +
                                       std::to_string(static_cast<int>(format)).c_str());
    EXPECT_EQ(error.code(), 0x80000100u);
  }
}

TEST_F(MLGhl7ReaderTest, ClosedReader) {
  MLGhl7Reader reader(MLGhl7Standard);
  EXPECT_FALSE(reader.hasNextMessage());
  EXPECT_EQ(TSTraised([&] { (void)reader.position(); }).description(), "Failed precondition: pMember->File.isOpen()");
  EXPECT_THROW(reader.setPosition(0), COLerror);
  EXPECT_THROW(reader.nextMessage(), COLerror);
  reader.open(write("a.hl7", "MSH|a\r"));
  reader.close();
  EXPECT_FALSE(reader.hasNextMessage());
}

// Messages and positions must not depend on where blocks begin and end.
TEST_F(MLGhl7ReaderTest, BlockSizeDoesNotChangeFraming) {
  std::mt19937 random(99);
  static const char* pieces[] = {"MSH|1", "PID|2", "OBX|3", "\r", "\r", "\r\n", "\r\n", "\n", "MSH"};
  std::string data;
  for (int i = 0; i < 3000; ++i) data += pieces[random() % 9];
  const COLstring path = write("mixed.hl7", data);
  for (MLGreaderFileFormat format : {MLGhl7Standard, MLGhl7CRLF, MLGhl7CR, MLGhl7LF, MLGsingleMessage}) {
    std::vector<std::pair<std::string, uint64_t>> expected;
    for (size_t block : {size_t{256 * 1024}, size_t{1}, size_t{2}, size_t{5}, size_t{77}}) {
      SCOPED_TRACE(testing::Message() << "format " << format << " block " << block);
      MLGhl7Reader reader(format);
      reader.setBlockSize(block);
      reader.open(path);
      std::vector<std::pair<std::string, uint64_t>> got;
      while (reader.hasNextMessage() && got.size() < 10000) got.emplace_back(reader.nextMessage().str(), reader.position());
      if (expected.empty()) expected = got;
      else EXPECT_EQ(got, expected);
    }
    EXPECT_GT(expected.size(), format == MLGsingleMessage ? 0u : 10u);
  }
}

TEST_F(MLGhl7ReaderTest, LogLargerThanOneBlock) {
  std::string data, joined;
  for (int i = 0; i < 20000; ++i) {
    const std::string message = "MSH|^~\\&|" + std::to_string(i) + "\rPID|||" + std::string(i % 50, 'p') + "\r";
    data += message + "\n";
    joined += message + "\n";
  }
  MLGhl7Reader reader(MLGhl7Standard);
  reader.open(write("large.hl7", data));
  std::string all;
  size_t count = 0;
  while (reader.hasNextMessage()) all += reader.nextMessage().str(), ++count;
  EXPECT_EQ(count, 20000u);
  EXPECT_EQ(all, joined);
  EXPECT_EQ(reader.position(), data.size());
}

// --- batch

using MLGhl7BatchReaderTest = MLGtempDir;

TEST_F(MLGhl7BatchReaderTest, ControlLinesFrameMessages) {
  const COLstring path = write("batch.hl7",
                               "junk\r\nFHS|f\r\nnoise\r\nBHS|b\r\nMSH|1\rPID|1\r\nMSH|2\rMSH|2b\r\nBTS|1\r\n"
                               "BHS|c\r\nMSH|3\r\nBTS|1\r\nFTS|1\r\n");
  EXPECT_EQ(MLGreadAll(MLGhl7Batch, path), (MLGmessages{"MSH|1\rPID|1\r\n", "MSH|2\rMSH|2b\r\n", "MSH|3\r\n"}));
}

TEST_F(MLGhl7BatchReaderTest, EdgesOfTheStateMachine) {
  // A BTS between messages does not close a message; the next MSH behind CR LF does.
  EXPECT_EQ(MLGreadAll(MLGhl7Batch, write("a.hl7", "FHS\rBHS\rMSH|1\r\nBTS\r\nBHS\r\nMSH|2\r\n")),
            (MLGmessages{"MSH|1\r\n", "MSH|2\r\n"}));
  // No BTS: the message comes out at the end of the file.
  EXPECT_EQ(MLGreadAll(MLGhl7Batch, write("b.hl7", "FHS\r\nBHS\r\nMSH|1\rPID")), (MLGmessages{"MSH|1\rPID\r\n"}));
  // Control lines only: one empty message.
  EXPECT_EQ(MLGreadAll(MLGhl7Batch, write("c.hl7", "FHS\r\nBHS\r\nBTS\r\nFTS\r\n")), (MLGmessages{""}));
  // Blank lines do not hide the CR LF before "MSH".
  EXPECT_EQ(MLGreadAll(MLGhl7Batch, write("d.hl7", "FHS\rBHS\rMSH|1\r\n\r\rMSH|2\r")),
            (MLGmessages{"MSH|1\r\n", "MSH|2\r\n"}));
  // Ignored segments must be strictly longer than the entry.
  MLGhl7BatchReader reader;
  reader.ignoredSegments().push_back("ZZ");
  reader.open(write("e.hl7", "FHS\rBHS\rMSH|1\rZZ\rZZ|x\rPID\r"));
  EXPECT_EQ(MLGreadAll(reader), (MLGmessages{"MSH|1\rZZ\rPID\r\n"}));
}

TEST_F(MLGhl7BatchReaderTest, PositionResetsTheState) {
  const COLstring path = write("pos.hl7", "FHS\rBHS\rMSH|1\r\nMSH|2\r\n");
  MLGhl7BatchReader reader;
  reader.open(path);
  EXPECT_EQ(reader.nextMessage(), "MSH|1\r\n");
  const uint64_t second = reader.position();
  EXPECT_EQ(second, 15u);
  EXPECT_EQ(reader.nextMessage(), "MSH|2\r\n");
  reader.setPosition(second);  // inside a batch again
  EXPECT_EQ(reader.nextMessage(), "MSH|2\r\n");
  reader.setPosition(0);  // outside a file: the control lines are needed again
  EXPECT_EQ(reader.nextMessage(), "MSH|1\r\n");
  reader.open(path);  // a new open starts outside a file
  EXPECT_EQ(reader.nextMessage(), "MSH|1\r\n");
}

}  // namespace
