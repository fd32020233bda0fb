#include "SFIhexEncodeFilter.h"

#include "FMThex.h"

size_t SFIhexEncodeFilter::write(const void* data, size_t size) {
  // Digits go out in blocks, so the next sink sees one write per 128 bytes, not two per byte.
  char Buffer[256];
  size_t Filled = 0;
  const auto* pBytes = static_cast<const unsigned char*>(data);
  for (size_t Index = 0; Index < size; ++Index) {
    Buffer[Filled++] = FMThexDigits[pBytes[Index] >> 4];
    Buffer[Filled++] = FMThexDigits[pBytes[Index] & 0x0F];
    if (Filled == sizeof Buffer) {
      onWrite();
      next().write(Buffer, Filled);
      Filled = 0;
    }
  }
  if (Filled > 0) {
    onWrite();
    next().write(Buffer, Filled);
  }
  return size;
}
