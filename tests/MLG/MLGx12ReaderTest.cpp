// X12 framings: whole interchanges with their envelope, or single transaction sets.
#include "MLGtestSupport.h"
#include "MLGx12Readers.h"

namespace {

using MLGx12ReaderTest = MLGtempDir;

const std::string kTwoInterchanges =
    "junk\rISA*00*A~\rGS*HC\rST*837*1\rBHT*x\rSE*3*1\rST*837*2\rNM1*y\rSE*3*2\rGE*2\rIEA*1\r"
    "\r\rstray\rISA*00*B\rnoise\rGS*HC\rbetween\rST*270*3\rSE*2*3\rGE*1\rIEA*1\r";

TEST_F(MLGx12ReaderTest, InterchangeKeepsTheEnvelope) {
  const COLstring path = write("x12.txt", kTwoInterchanges);
  EXPECT_EQ(MLGreadAll(MLGx12Interchange, path),
            (MLGmessages{"ISA*00*A~\rGS*HC\rST*837*1\rBHT*x\rSE*3*1\rST*837*2\rNM1*y\rSE*3*2\rGE*2\rIEA*1\r",
                         "ISA*00*B\rGS*HC\rST*270*3\rSE*2*3\rGE*1\rIEA*1\r"}));
}

TEST_F(MLGx12ReaderTest, BatchExtractsTransactionSets) {
  const COLstring path = write("x12.txt", kTwoInterchanges);
  EXPECT_EQ(MLGreadAll(MLGx12Batch, path),
            (MLGmessages{"ST*837*1\rBHT*x\rSE*3*1\r", "ST*837*2\rNM1*y\rSE*3*2\r", "ST*270*3\rSE*2*3\r"}));
  // A bare transaction set without envelope and without final line end.
  EXPECT_EQ(MLGreadAll(MLGx12Batch, write("st.txt", "ST*1\rAA*1\rSE*1")), (MLGmessages{"ST*1\rAA*1\rSE*1\r"}));
}

TEST_F(MLGx12ReaderTest, IgnoredSegmentsNeedTheElementSeparator) {
  MLGx12BatchReader reader;
  reader.ignoredSegments().push_back("NM1");
  reader.open(write("x12.txt", "ST*1\rNM1*a\rNM1\rNM12*b\rSE*1\r"));
  EXPECT_EQ(MLGreadAll(reader), (MLGmessages{"ST*1\rNM1\rNM12*b\rSE*1\r"}));
}

TEST_F(MLGx12ReaderTest, OnlyCRSeparatesSegments) {
  // With CR LF line ends every LF starts the next line's text, so "SE" is never seen at a
  // line start and the final lone LF becomes a segment of its own.
  EXPECT_EQ(MLGreadAll(MLGx12Batch, write("crlf.txt", "ST*1\r\nSE*1\r\n")),
            (MLGmessages{"ST*1\r\nSE*1\r\n\r"}));
}

TEST_F(MLGx12ReaderTest, SetPositionStartsOutside) {
  const COLstring path = write("x12.txt", kTwoInterchanges);
  MLGx12InterchangeReader reader;
  reader.setBlockSize(3);
  reader.open(path);
  reader.nextMessage();
  const uint64_t second = reader.position();
  const COLstring expected = reader.nextMessage();
  reader.setPosition(second);
  EXPECT_EQ(reader.nextMessage(), expected);
  reader.setPosition(0);
  EXPECT_EQ(reader.nextMessage().substr(0, 9), "ISA*00*A~");
  // Reopening starts outside an interchange, whatever the previous file left.
  reader.open(write("cut.txt", "ISA*1\rGS*1\rST*1\r"));
  reader.nextMessage();
  reader.open(path);
  EXPECT_EQ(MLGreadAll(reader).size(), 2u);
}

}  // namespace
