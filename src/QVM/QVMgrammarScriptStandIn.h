// Stand-in for the script host while it is not part of this build: it keeps the text
// with uniform "\r\n" line ends and compiles nothing, so the grammars build and test alone.
#pragma once

#include "COLstring.h"

#if __has_include("LANengine.h")
#include "LANengine.h"
#else
class LANengine {};
#endif

class LANfunction {
public:
  LANfunction() = default;
  explicit LANfunction(LANengine* engine) : m_Engine(engine) {}
  void setEngine(LANengine* engine) { m_Engine = engine; }
  LANengine* engine() const { return m_Engine; }
  void setCode(const COLstring& code) {
    m_Code.clear();
    if (code.isWhitespace()) return;
    COLstring text = code;
    text.substrreplace("\r\n", "\n");
    text.substrreplace("\r", "\n");
    text.substrreplace("\n", "\r\n");
    if (!text.view().ends_with("\r\n")) text += "\r\n";
    m_Code = text;
  }
  const COLstring& code() const { return m_Code; }
  bool isValid() const { return true; }
  bool isSet() const { return !m_Code.empty(); }

private:
  LANengine* m_Engine = nullptr;
  COLstring m_Code;
};
