#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "CRYrandom.h"

TEST(CRYrandom, SystemDeviceIsStrongAndFillsExactly) {
  CRYrandom random;
  EXPECT_TRUE(random.isStrongRng());
  std::array<unsigned char, 70> buffer;
  buffer.fill(0xEE);
  random.generate(buffer.data(), 64);
  for (size_t i = 64; i < buffer.size(); ++i) EXPECT_EQ(0xEE, buffer[i]) << "wrote past the size at " << i;
  std::array<unsigned char, 64> second{};
  random.generate(second.data(), second.size());
  EXPECT_NE(0, std::memcmp(buffer.data(), second.data(), 64));
  random.seed("abcd", 4);  // accepted and ignored
  random.generate(nullptr, 0);
}

TEST(CRYrandom, MissingDeviceFallsBackOnWeakGenerator) {
  CRYrandom random("/nonexistent/random-device");
  EXPECT_FALSE(random.isStrongRng());

  // The weak generator is repeatable from a seed, and fills odd sizes exactly.
  std::array<unsigned char, 12> first;
  std::array<unsigned char, 12> second;
  first.fill(0xEE);
  second.fill(0xEE);
  random.seed("\x01\x02\x03\x04\x05", 5);
  random.generate(first.data(), 7);
  random.seed("\x01\x02\x03\x04\x09", 5);  // only four bytes count
  random.generate(second.data(), 7);
  EXPECT_EQ(first, second);
  for (size_t i = 7; i < first.size(); ++i) EXPECT_EQ(0xEE, first[i]);
  random.seed("\x02\x02\x03\x04", 4);
  random.generate(second.data(), 7);
  EXPECT_NE(0, std::memcmp(first.data(), second.data(), 7));
}
