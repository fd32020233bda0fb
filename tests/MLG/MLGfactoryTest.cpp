// The factory table, creation by format and name, sniffing of large logs and the open errors.
#include <cerrno>

#include "COLerror.h"
#include "MLGtestSupport.h"

#include "../support/TSTraised.h"

namespace {

using MLGfactoryTest = MLGtempDir;

TEST(MLGfactory, TableOrderNamesAndCreation) {
  ASSERT_EQ(MLGfactoryCountOfReader(), 8u);
  const char* names[] = {"HL7Standard", "HL7CRLF", "HL7CR", "HL7LF", "HL7Batch", "X12Interchange", "X12Batch",
                         "SingleMessage"};
  const MLGreaderFileFormat formats[] = {MLGhl7Standard, MLGhl7CRLF, MLGhl7CR, MLGhl7LF, MLGhl7Batch,
                                         MLGx12Interchange, MLGx12Batch, MLGsingleMessage};
  for (unsigned i = 0; i < 8; ++i) {
    EXPECT_STREQ(MLGfactoryName(i), names[i]);
    EXPECT_STREQ(MLGfactoryFormatName(formats[i]), names[i]);
    std::unique_ptr<MLGreader> byName(MLGfactoryFromName(names[i]));
    std::unique_ptr<MLGreader> byFormat(MLGfactoryFromFormat(formats[i]));
    ASSERT_TRUE(byName && byFormat) << names[i];
    EXPECT_EQ(byName->fileFormat(), formats[i]);
    EXPECT_EQ(byFormat->fileFormat(), formats[i]);
    EXPECT_FALSE(byName->hasNextMessage());
    const bool x12 = formats[i] == MLGx12Interchange || formats[i] == MLGx12Batch;
    EXPECT_EQ(byName->messageTerminator(), x12 ? "\r" : "\r\n");
    EXPECT_EQ(byName->segmentTerminator(), "\r");
  }
  EXPECT_STREQ(MLGfactoryDescription(7), "The entire file is treated as a message.");
  EXPECT_STREQ(MLGfactoryFormatName(MLGendOfFormats), "Unknown");
  EXPECT_EQ(MLGfactoryFromFormat(MLGendOfFormats), nullptr);
  EXPECT_EQ(MLGfactoryFromName("hl7standard"), nullptr);
  EXPECT_EQ(MLGfactoryFromName(""), nullptr);
  EXPECT_EQ(TSTraised([&] { MLGfactoryName(8); }).description(),
            "Failed precondition: ReaderIndex < MLGfactoryCountOfReader()");
}

// The small logs are in tests/data/MLG; here the deciding line end lies past the first block.
TEST_F(MLGfactoryTest, SniffingLooksPastTheFirstBlock) {
  const std::string tail(3 << 20, 'x');
  EXPECT_EQ(MLGnewlineTypes(write("a", tail + "\r\r\n\n")), 7u);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("b", "MSH|a\rMSH\r\n" + tail + "\n")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("c", "MSH|a\r\nMSH\r\n" + tail + "\rx")), MLGhl7Standard);
}

TEST_F(MLGfactoryTest, UnreadableFileRaisesTheOpenError) {
  const COLstring path = missing();
  const COLstring text = "Open file '" + path + "' failed. No such file or directory.";
  auto expectOpenError = [&](auto&& call) {
    const COLerror error = TSTraised([&] { call(); });
    EXPECT_EQ(error.description(), text);
    EXPECT_EQ(error.code(), static_cast<uint32_t>(ENOENT));
  };
  expectOpenError([&] { MLGfactoryOpen(path); });
  expectOpenError([&] { MLGhl7CheckFileFormat(path); });
  expectOpenError([&] { MLGx12BatchCheckFileFormat(path); });
  expectOpenError([&] { MLGnewlineTypes(path); });
  std::unique_ptr<MLGreader> reader(MLGfactoryFromName("HL7CR"));
  expectOpenError([&] { reader->open(path); });
  EXPECT_FALSE(reader->hasNextMessage());
}

}  // namespace
