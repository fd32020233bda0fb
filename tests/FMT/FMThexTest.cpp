#include <gtest/gtest.h>

#include "COLerror.h"
#include "FMThex.h"

#include "../support/TSTraised.h"

TEST(FMThex, ToHexWritesTwoUpperCaseDigits) {
  COLstring text;
  for (unsigned char byte : {171, 0, 15, 16, 255}) FMTtoHex(text, byte);
  EXPECT_EQ(COLstring("AB000F10FF"), text);
}

TEST(FMThex, FromHexReadsEitherCaseAndRoundTripsEveryByte) {
  EXPECT_EQ(0xAB, FMTfromHex('a', 'B'));
  EXPECT_EQ(0xBA, FMTfromHex('B', 'a'));
  EXPECT_EQ(9, FMTfromHex('9'));
  EXPECT_EQ(15, FMTfromHex('f'));
  for (int value = 0; value < 256; ++value) {
    COLstring digits;
    FMTtoHex(digits, static_cast<unsigned char>(value));
    ASSERT_TRUE(FMTfromHexIsValid(digits[0], digits[1]));
    ASSERT_EQ(value, FMTfromHex(digits[0], digits[1]));
  }
}

TEST(FMThex, InvalidDigitsAreReportedAndRaise) {
  for (char digit : {'G', 'g', '/', ':', '@', '`', ' ', '\0'}) {
    EXPECT_FALSE(FMTfromHexIsValid(digit)) << digit;
    EXPECT_THROW(FMTfromHex(digit), COLerror) << digit;
  }
  EXPECT_FALSE(FMTfromHexIsValid('A', 'G'));
  EXPECT_FALSE(FMTfromHexIsValid('G', 'A'));
  EXPECT_EQ(COLstring("Invalid Hex Character: G"), TSTraised([&] { FMTfromHex('4', 'G'); }).description());
}
