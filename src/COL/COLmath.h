// COLmath: the few numeric helpers of the C library that the system reaches through one
// name, so that their limits are stated once.
#pragma once

namespace COLmath {

// Seeds the C library's generator from the clock.
void resetRandomGenerator();
// rand() % max for 0 < max < 32767, the smallest RAND_MAX a C library may have.
int randomNumber(int max);
int toUpper(int character);

}  // namespace COLmath
