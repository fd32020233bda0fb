// What the data-file tests of the message road share: the texts of a case compared without
// their line-end differences, and the engine a case runs on.
#pragma once

#include <string>

#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

#include "../support/TSTdataFile.h"

inline std::string QVJlineFeeds(std::string Text) {
  for (size_t At; (At = Text.find("\r\n")) != std::string::npos;) Text.erase(At, 1);
  return Text;
}

// The text of a section without the line end the data file gave its last line.
inline std::string QVJchomped(const std::string& Text) {
  return !Text.empty() && Text.back() == '\n' ? Text.substr(0, Text.size() - 1) : Text;
}

// A fresh engine per case, so that nothing one case sets reaches the next.
inline COLreferencePtr<QVFengine> QVJcaseEngine(const TSTdataCase& Case) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Case.argument("definition"));
  return Engine;
}
