// HL7 readers beyond the framing tables of tests/data/MLG: refused formats, a closed reader,
// block sizes, large logs and repositioning inside a batch.
#include <random>

#include "COLerror.h"
#include "MLGhl7Reader.h"
#include "MLGtestSupport.h"

#include "../support/TSTraised.h"

namespace {

using MLGhl7ReaderTest = MLGtempDir;

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
