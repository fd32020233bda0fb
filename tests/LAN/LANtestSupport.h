// Printing of COLstring in test failure messages.
#pragma once

#include <ostream>

#include "COLstring.h"

inline std::ostream& operator<<(std::ostream& stream, const COLstring& text) { return stream << text.str(); }
