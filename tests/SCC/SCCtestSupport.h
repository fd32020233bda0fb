// Escaping and unescaping as the escaper tests call them: texts in, texts out.
#pragma once

#include <string>

#include "COLstring.h"
#include "SCCescaper.h"

inline std::string unescape(const SCCescaper& escaper, const std::string& text, bool strict = true) {
  COLstring Result;
  escaper.unescapeStringWithSize(Result, text.data(), text.size(), strict);
  return Result.str();
}

inline std::string escape(const SCCescaper& escaper, const std::string& text) {
  COLstring Result;
  escaper.escapeChar(Result, COLstring(text));
  return Result.str();
}
