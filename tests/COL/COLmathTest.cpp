#include <gtest/gtest.h>

#include "COLerror.h"
#include "COLmath.h"

#include "../support/TSTraised.h"

TEST(COLmath, RandomNumberStaysBelowItsLimit) {
  COLmath::resetRandomGenerator();
  bool seen[7] = {};
  for (int i = 0; i < 2000; ++i) {
    const int value = COLmath::randomNumber(7);
    ASSERT_GE(value, 0);
    ASSERT_LT(value, 7);
    seen[value] = true;
  }
  for (bool hit : seen) EXPECT_TRUE(hit);
  EXPECT_EQ(0, COLmath::randomNumber(1));
  EXPECT_NO_THROW(COLmath::randomNumber(32766));
  const COLerror error = TSTraised([&] { COLmath::randomNumber(32767); });
  EXPECT_EQ(COLstring("Failed precondition: Max < RAND_MAX"), error.description());
  EXPECT_EQ(0x80000100u, error.code());
  EXPECT_THROW(COLmath::randomNumber(0), COLerror);
}

TEST(COLmath, ToUpperLeavesHighBytesAlone) {
  EXPECT_EQ('A', COLmath::toUpper('a'));
  EXPECT_EQ('1', COLmath::toUpper('1'));
  EXPECT_EQ(0xE9, COLmath::toUpper(static_cast<char>(0xE9)));
}
