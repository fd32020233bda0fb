// X12 repositioning; the framings themselves are in tests/data/MLG.
#include "MLGtestSupport.h"
#include "MLGx12Readers.h"

namespace {

using MLGx12ReaderTest = MLGtempDir;

const std::string kTwoInterchanges =
    "junk\rISA*00*A~\rGS*HC\rST*837*1\rBHT*x\rSE*3*1\rST*837*2\rNM1*y\rSE*3*2\rGE*2\rIEA*1\r"
    "\r\rstray\rISA*00*B\rnoise\rGS*HC\rbetween\rST*270*3\rSE*2*3\rGE*1\rIEA*1\r";

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
