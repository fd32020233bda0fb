// What an X12 interchange header (ISA) declares about its own separators.  Shared by the X12
// log readers, which frame segments by the declared terminator, and by the tokeniser, which
// cuts elements and components by the declared separators.
#pragma once

#include <cstddef>
#include <string_view>

struct MLGx12Declared {
  char element = 0;     // the byte behind "ISA"
  char repetition = 0;  // ISA-11 from version 00501 on; 0 before it (there ISA-11 is a code)
  char component = 0;   // ISA-16
  char segment = 0;     // the byte behind ISA-16
  size_t length = 0;    // bytes of the header up to and including ISA-16, without the terminator
  bool fixedLength = false;  // every element has the width the standard gives it
};

// The ISA header's element count and its length with the terminator when every element has
// its fixed width.
constexpr unsigned MLGx12HeaderElements = 16;
constexpr size_t MLGx12HeaderFixedLength = 106;

// The fixed width of ISA-`element` (1 to 16).
unsigned MLGx12HeaderWidth(unsigned element);

// Reads the header at the start of `bytes` ("ISA" and its 16 elements, padded or not, then
// the terminator).  False when `bytes` does not start with a whole header: too short, an
// element separator that is a letter, digit or blank, or separators that coincide.
bool MLGreadX12Header(std::string_view bytes, MLGx12Declared& declared);
