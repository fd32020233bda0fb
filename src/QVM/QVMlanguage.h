// QVMlanguage: the one place where the definition model reaches the script host.
// The model stores script bodies (LANfunction), owns one interpreter (LANengine) and
// hands that interpreter to every function it creates. While the scripting module is not
// part of the build, a small stand-in below keeps the same interface: it stores code and
// compiles nothing, so the model can be built, copied and tested on its own.
#pragma once

#include "COLostream.h"
#include "COLreference.h"
#include "COLstring.h"

#if __has_include("LANengine.h") && __has_include("LANfunction.h")
#include "LANengine.h"
#include "LANfunction.h"
#define QVM_HAS_SCRIPT_HOST 1
#else
#define QVM_HAS_SCRIPT_HOST 0

class LANengine : public COLreference {
public:
  LANengine() = default;
  explicit LANengine(COLostream&) {}
  void setSearchPath(const COLstring& path) { m_SearchPath = path; }
  const COLstring& searchPath() const { return m_SearchPath; }
  void reset() { ++m_Generation; }
  unsigned generation() const { return m_Generation; }

private:
  COLstring m_SearchPath;
  unsigned m_Generation = 0;
};

inline bool LANinitEngineAndRedirect(LANengine&, COLstring&) { return true; }
inline COLstring LANfindPythonLibDir(const char*) { return COLstring("./python_lib/:./"); }

// Stores the text with uniform "\r\n" line ends, as the real body does; never compiles.
class LANfunction {
public:
  LANfunction() = default;
  explicit LANfunction(LANengine* engine) : m_Engine(engine) {}
  void setEngine(LANengine* engine) { m_Engine = engine; }
  LANengine* engine() const { return m_Engine; }
  void setCode(const COLstring& code);
  const COLstring& code() const { return m_Code; }
  void compile() {}
  void recompile() {}
  bool isValid() const { return true; }
  bool isSet() const { return !m_Code.empty(); }

private:
  LANengine* m_Engine = nullptr;
  COLstring m_Code;
};

inline void LANfunction::setCode(const COLstring& code) {
  bool blank = true;
  for (char c : code.view())
    if (c != ' ' && c != '\r' && c != '\n' && c != '\t') blank = false;
  m_Code.clear();
  if (blank) return;
  COLstring text = code;
  text.substrreplace("\r\n", "\n");
  text.substrreplace("\r", "\n");
  text.substrreplace("\n", "\r\n");
  if (!text.view().ends_with("\r\n")) text += "\r\n";
  m_Code = text;
}
#endif

#if __has_include("LANembeddedPythonModule.h")
#include "LANembeddedPythonModule.h"
#elif !QVM_HAS_SCRIPT_HOST || !defined(QVM_LAN_HAS_EMBEDDED_MODULE)
// A shared module of the definition: name and text; importing waits for the script host.
class LANembeddedPythonModule {
public:
  void setName(const COLstring& name) { m_Name = name; }
  const COLstring& name() const { return m_Name; }
  void setCode(const COLstring& code) { m_Code = code; }
  const COLstring& code() const { return m_Code; }
  void setEngine(LANengine* engine) { m_Engine = engine; }
  LANengine* engine() const { return m_Engine; }
  bool hasError() const { return false; }

private:
  COLstring m_Name;
  COLstring m_Code;
  LANengine* m_Engine = nullptr;
};
#endif
