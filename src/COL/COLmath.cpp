#include "COLmath.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "COLerror.h"

namespace COLmath {

void resetRandomGenerator() { std::srand(static_cast<unsigned>(std::time(nullptr))); }

int randomNumber(int Max) {
  // Checked against the portable limit, not this library's larger one, so that callers
  // behave alike everywhere.
  constexpr int PortableRandMax = 32767;
  if (!(Max < PortableRandMax)) COLfailCheck("Failed precondition: ", "Max < RAND_MAX", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
  COL_PRECONDITION(Max > 0);
  return std::rand() % Max;
}

int toUpper(int character) {
  // A plain char above 127 arrives negative, which toupper may not be given.
  if (character < 0 && character != EOF) character = static_cast<unsigned char>(character);
  return std::toupper(character);
}

}  // namespace COLmath
