// FMThex: one byte as two hexadecimal digits and back.  Output is upper case; input may be
// either case.
#pragma once

#include "COLsink.h"

// Writes the two upper-case digits of `byte`, the upper four bits first.
void FMTtoHex(COLsink& sink, unsigned char byte);
// The value of one digit; anything else raises "Invalid Hex Character: " and the character.
unsigned char FMTfromHex(char digit);
// One byte from two digits, `high` giving the upper four bits.
unsigned char FMTfromHex(char high, char low);
bool FMTfromHexIsValid(char digit);
bool FMTfromHexIsValid(char high, char low);

// The digits of a byte without a sink, for writers that fill their own buffers.
inline constexpr char FMThexDigits[] = "0123456789ABCDEF";
