// Printing of COLstring in test failure messages, and an engine ready for scripts.
#pragma once

#include <ostream>

#include "COLstring.h"
#include "LANengine.h"

inline std::ostream& operator<<(std::ostream& stream, const COLstring& text) { return stream << text.str(); }

inline COLreferencePtr<LANengine> readyEngine() {
  COLreferencePtr<LANengine> engine = new LANengine();
  engine->init();
  return engine;
}
