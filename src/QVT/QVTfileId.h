// The id at the start of a reflected binary definition file: the letters TRE and the byte
// 0xFF, read as a little-endian number.
#pragma once

#include <cstdint>

inline constexpr uint32_t QVT_BINARY_TRE_ID = 0xFF455254;
