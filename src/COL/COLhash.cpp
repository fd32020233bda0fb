#include "COLhash.h"

#include "COLlookupList.h"

const uint32_t COLlookupBucketSizes[] = {2,     5,     11,     17,     29,     47,     71,     107,
                                         163,   251,   379,    569,    857,    1289,   1949,   2927,
                                         4391,  6599,  9901,   14867,  22303,  33457,  50207,  75323,
                                         112997, 169501, 254257, 381389, 572087, 858149, 0};

uint32_t COLlookupStringHash(const char* text, size_t length) {
  if (length == 0) return 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  uint32_t h = 0;
  const size_t whole = length & ~size_t(3);
  for (size_t i = 0; i < whole; i += 4) {
    const uint32_t word = (uint32_t(bytes[i]) << 24) | (uint32_t(bytes[i + 1]) << 16) |
                          (uint32_t(bytes[i + 2]) << 8) | uint32_t(bytes[i + 3]);
    h += word;
    const uint32_t byteSum = uint32_t(bytes[i]) + bytes[i + 1] + bytes[i + 2] + bytes[i + 3];
    h = std::rotr(h, static_cast<int>(byteSum % 31 + 1));
  }
  for (size_t i = whole; i < length; ++i) {
    const int32_t b = static_cast<signed char>(text[i]);
    h += static_cast<uint32_t>(b);
    h = std::rotr(h, static_cast<int>(static_cast<uint32_t>(b + static_cast<int32_t>(i)) % 31 + 1));
  }
  return h;
}
