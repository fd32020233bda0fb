#include "FMThex.h"

#include "COLerror.h"

void FMTtoHex(COLsink& sink, unsigned char byte) {
  const char Digits[2] = {FMThexDigits[byte >> 4], FMThexDigits[byte & 0x0F]};
  sink.write(Digits, sizeof Digits);
}

bool FMTfromHexIsValid(char digit) {
  return (digit >= '0' && digit <= '9') || (digit >= 'A' && digit <= 'F') || (digit >= 'a' && digit <= 'f');
}

bool FMTfromHexIsValid(char high, char low) { return FMTfromHexIsValid(high) && FMTfromHexIsValid(low); }

unsigned char FMTfromHex(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned char>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned char>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned char>(digit - 'a' + 10);
  throw COLerror(COLstring("Invalid Hex Character: ") + digit, COL_ERROR_BAD_ARGUMENT);
}

unsigned char FMTfromHex(char high, char low) {
  return static_cast<unsigned char>((FMTfromHex(high) << 4) | FMTfromHex(low));
}
