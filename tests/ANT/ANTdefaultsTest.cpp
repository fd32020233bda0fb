// What a version-one text leaves out takes the model's defaults; the header probe.
#include <gtest/gtest.h>

#include "ANTengine.h"
#include "ANTtestSupport.h"
#include "COLbuffer.h"
#include "QVMengineInternal.h"

#include "../support/TSTdataFile.h"

class ANTdefaults : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(ANTdefaults, LoadGivesTheDump) {
  SCOPED_TRACE(GetParam().where());
  QVMengineInternal engine;
  ANTloadEngine(GetParam().text("vmd"), engine, "test.vmd");
  EXPECT_EQ(ANTtestDump(engine), GetParam().text("dump"));
}

INSTANTIATE_TEST_SUITE_P(Cases, ANTdefaults, ::testing::ValuesIn(TSTreadDataFile("ANT/defaults.test")),
                         TSTdataParamName);

TEST(ANTdefaultsTest, HeaderProbe) {
  auto buffer = [](const std::string& bytes) {
    COLsimpleBuffer result(bytes.size());
    std::copy(bytes.begin(), bytes.end(), result.data());
    return result;
  };
  EXPECT_TRUE(ANTisHeaderAntVersionOne(buffer("<engine version=\"1.0\">")));
  EXPECT_FALSE(ANTisHeaderAntVersionOne(buffer("<engine version=\"1.0\"")));
  EXPECT_FALSE(ANTisHeaderAntVersionOne(buffer("<engine version=\"2.0\">")));
}
