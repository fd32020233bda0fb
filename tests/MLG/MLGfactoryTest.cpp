// The factory table, creation by format and name, format sniffing and the open errors.
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

TEST_F(MLGfactoryTest, NewlineTypes) {
  EXPECT_EQ(MLGnewlineTypes(write("a", "x\r")), 0u);  // a final CR sets nothing
  EXPECT_EQ(MLGnewlineTypes(write("b", "x\r\ry")), 1u);
  EXPECT_EQ(MLGnewlineTypes(write("c", "\r\n\n")), 6u);
  EXPECT_EQ(MLGnewlineTypes(write("d", "")), 0u);
  EXPECT_EQ(MLGnewlineTypes(write("e", std::string(3 << 20, 'x') + "\r\r\n\n")), 7u);
}

TEST_F(MLGfactoryTest, Hl7CheckerDecidesOnTheMask) {
  const std::string tail(2 << 20, 'x');  // pushes the deciding line end past the first block
  EXPECT_EQ(MLGhl7CheckFileFormat(write("1", "MSH|a\r\nPID\rMSH\r\n")), MLGhl7Standard);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("2", "MSH|a\r\nMSH\r\n")), MLGhl7CRLF);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("3", "MSH|a\rMSH\r")), MLGhl7CR);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("4", "MSH|a\nMSH\n")), MLGhl7LF);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("5", "MSH|a\nMSH\r\n")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("6", "MSH|a\rMSH\r\n" + tail + "\n")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("7", "MSH|a\r\nMSH\r\n" + tail + "\rx")), MLGhl7Standard);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("8", "MSH|no line end")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("9", "MSH|a\r")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("10", "PID|a\r")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7CheckFileFormat(write("11", "MS")), MLGendOfFormats);
}

TEST_F(MLGfactoryTest, BatchAndX12CheckersAreStrict) {
  EXPECT_EQ(MLGhl7BatchCheckFileFormat(write("1", "FHS\rBHS\rMSH\r\nBTS\r\n")), MLGhl7Batch);
  EXPECT_EQ(MLGhl7BatchCheckFileFormat(write("2", "FHS\rBHS\rMSH\r")), MLGendOfFormats);
  EXPECT_EQ(MLGhl7BatchCheckFileFormat(write("3", "FHS\rBHS\r\nMSH\n")), MLGendOfFormats);
  EXPECT_EQ(MLGx12InterchangeCheckFileFormat(write("4", "ISA*1\rIEA*1\r")), MLGx12Interchange);
  EXPECT_EQ(MLGx12InterchangeCheckFileFormat(write("5", "ISA*1\r\nIEA*1\r\n")), MLGendOfFormats);
  EXPECT_EQ(MLGx12BatchCheckFileFormat(write("6", "ST*1\rSE*1\r")), MLGx12Batch);
  EXPECT_EQ(MLGx12BatchCheckFileFormat(write("7", "ST*1\rSE*1\n")), MLGendOfFormats);
  EXPECT_EQ(MLGx12BatchCheckFileFormat(write("8", "ISA*1\rIEA*1\r")), MLGendOfFormats);
}

TEST_F(MLGfactoryTest, OpenSniffsAndOpens) {
  struct Case {
    std::string content;
    MLGreaderFileFormat format;
  } cases[] = {{"MSH|a\rPID\r\nMSH|b\r\n", MLGhl7Standard}, {"MSH|a\nMSH|b\n", MLGhl7LF},
               {"FHS\rBHS\rMSH|a\r\n", MLGhl7Batch},       {"ISA*1\rIEA*1\r", MLGx12Interchange},
               {"ST*1\rSE*1\r", MLGx12Batch}};
  for (const Case& c : cases) {
    std::unique_ptr<MLGreader> reader(MLGfactoryOpen(write("log", c.content)));
    ASSERT_TRUE(reader) << c.content;
    EXPECT_EQ(reader->fileFormat(), c.format);
    EXPECT_TRUE(reader->hasNextMessage());
    EXPECT_FALSE(reader->nextMessage().empty());
  }
  EXPECT_EQ(MLGfactoryOpen(write("empty", "")), nullptr);
  EXPECT_EQ(MLGfactoryOpen(write("plain", "hello\r\n")), nullptr);
  // Unrecognised, but a forced SingleMessage reader takes it whole.
  const COLstring bare = write("bare", "MSH|only");
  EXPECT_EQ(MLGfactoryOpen(bare), nullptr);
  EXPECT_EQ(MLGreadAll(MLGsingleMessage, bare), (MLGmessages{"MSH|only\r\n"}));
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
