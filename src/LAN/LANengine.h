// LANengine: the host of the embedded script interpreter.  It owns the process-wide
// interpreter, one sub-interpreter per engine, the locks by which a thread enters and leaves
// the interpreter, the road of script output into a COLostream and of Python exceptions into
// COLerror.  Code above this layer never touches interpreter thread state itself.
#pragma once

#include <memory>

#include "COLerror.h"
#include "COLostream.h"
#include "COLreference.h"
#include "COLstring.h"
#include "LANobject.h"

// Opaque handle of a compiled script: the interpreter's code object.
struct LANcompiledModule;
class LANenginePrivate;
class LANengine;

// The interpreter of the process.  It starts on the first call of instance() and ends at
// exit.  Between the two no thread holds the interpreter lock outside a LANengineSwap.
class LANengineInterpreter {
public:
  // Throws COLerror (code 0x80000100) when the interpreter could not start; the start is
  // tried once per process.
  static LANengineInterpreter& instance();
  // Where the interpreter's own standard library lives; the installed one when empty.  Only
  // effective before the first instance().
  static void setHome(const COLstring& home);

  void initializeEngine(LANenginePrivate* engine, COLostream& log);
  void initializeEngineWithNoOstream(LANenginePrivate* engine);
  void finalizeEngine(LANenginePrivate* engine);
  PyThreadState* mainThreadState() const { return m_MainThreadState; }

  LANengineInterpreter(const LANengineInterpreter&) = delete;
  LANengineInterpreter& operator=(const LANengineInterpreter&) = delete;
  ~LANengineInterpreter();

private:
  LANengineInterpreter();
  void start();
  void newSubInterpreter(LANenginePrivate* engine);

  PyThreadState* m_MainThreadState = nullptr;
  COLstring m_StartError;
};

// Holds the interpreter lock for this thread.  Nested locks on one thread take it once; the
// outermost releases it.
class LANengineLock {
public:
  LANengineLock();
  ~LANengineLock();
  LANengineLock(const LANengineLock&) = delete;
  LANengineLock& operator=(const LANengineLock&) = delete;

  // Lock objects alive on this thread, and whether this thread holds the lock now.
  static unsigned countForThisThread();
  static bool isHeldByThisThread();

private:
  bool m_Acquired = false;
};

// The lock plus the engine's sub-interpreter as the current one.  A nested swap to the same
// engine changes nothing; a nested swap to another engine returns to the outer one at its end.
class LANengineSwap {
public:
  explicit LANengineSwap(const LANengine& engine);
  ~LANengineSwap();
  LANengineSwap(const LANengineSwap&) = delete;
  LANengineSwap& operator=(const LANengineSwap&) = delete;

private:
  LANengineLock m_Lock;
  PyThreadState* m_Previous = nullptr;
  bool m_Changed = false;
};

// Gives the lock up around a long wait (a database call) inside a script call, so that other
// threads can run scripts meanwhile; takes it back at its end.
class LANengineUnlock {
public:
  LANengineUnlock();
  ~LANengineUnlock();
  LANengineUnlock(const LANengineUnlock&) = delete;
  LANengineUnlock& operator=(const LANengineUnlock&) = delete;

  static unsigned countForThisThread();

private:
  PyThreadState* m_Saved = nullptr;
  bool m_Released = false;
};

class LANengine : public COLreference {
public:
  LANengine();
  explicit LANengine(COLostream& log);
  ~LANengine() override;
  LANengine(const LANengine&) = delete;
  LANengine& operator=(const LANengine&) = delete;

  // Takes the dictionary of `__main__` as globals and locals.
  void init();
  // A fresh sub-interpreter with the same log stream; everything scripts defined is gone,
  // and compiled modules of the old one must be compiled again.
  void reset();

  void runString(const char* code);
  // The caller owns the result and gives it back through freeCompiledCode.
  LANcompiledModule* compileCode(const COLstring& code);
  void freeCompiledCode(LANcompiledModule*& module);
  void executeModule(LANcompiledModule* module) const;

  PyObject* localDictionary() const;
  PyObject* globalDictionary() const;
  PyThreadState* pythonInterpreterThreadState() const;
  const COLstring& searchPath() const;
  // Directories separated by ":", searched before the interpreter's standard library.
  void setSearchPath(const COLstring& path);

  // A string variable in the local dictionary that lasts until it is replaced or removed,
  // or the engine ends.
  void setPythonVariable(const char* name, const char* value);
  void setPythonVariable(const char* name, const COLstring& value);
  void removePythonVariable(const char* name);

  void setLogStream(COLostream* log);
  COLostream* logStream() const;

private:
  std::unique_ptr<LANenginePrivate> pMember;
};

// --- set-up of an engine for scripts

// `init`, then sys.stdout and sys.stderr redirected into the engine's log stream.  True when
// it returns; failures throw.  `error` stays empty.
bool LANinitEngineAndRedirect(LANengine& engine, COLstring& error);
bool LANinitEngineAndRedirectWithoutImportString(LANengine& engine, COLstring& error);

// Entries of the built-in modules "_brelmont_io" and "_brelmont_nimbat" in the interpreter's
// table; done once, before the interpreter starts.
void LANinitIoModule();
void LANinitNimbatModule();
// The init function of "_brelmont_io", as the table of built-in modules calls it.
PyObject* LANinitIoRedirectModule();
// The built-in modules of the layers above the interpreter (the script language of definitions):
// each adder puts its entries in the table, and the interpreter calls them all, in the order
// given, when it starts; an adder given after the start is refused.  Layers above register
// from a static initialiser, so their modules are in place before anything runs a script.
using LANbuiltinModuleAdder = void (*)();
void LANaddBuiltinModules(LANbuiltinModuleAdder adder);

// The stream of the current sub-interpreter for script output; null when none.
void LANsetOstreamInStateDict(COLostream* stream);
COLostream* LANgetOstreamInStateDict();

// A host's answer to "_brelmont_nimbat.query(text[, text])": the text to hand back, or null
// for None.  The text must stay valid until the call returns.
using LANnimbatCallback = const char* (*)(const char* query, const char* argument, void* userData);
void LANsetNimbatCallback(LANengine& engine, LANnimbatCallback callback, void* userData);

// "<cwd>/python_lib/:<cwd>/", then ":" and QVM_PYTHON_LIB_PATH when that is set.
COLstring LANfindPythonLibDir(const char* moduleName);

// --- errors

PyObject* LANcheckCall(PyObject* result);
void LANcheckCall();
[[noreturn]] void LANhandleError();
// Takes over the three references.
[[noreturn]] void LANhandleError(PyObject* type, PyObject* value, PyObject* traceback);
bool LANformatTraceback(PyObject* traceback, PyObject* type, PyObject* value, COLstring& out);
PyObject* LANhandleBadArguments(const char* function);
COLstring LANconvertObjectToString(PyObject* object);

void LANcheckMin(long long value, long long min, const char* name);
void LANcheckMax(long long value, long long max, const char* name);
bool LANisDigit(char c);
void LANstripCarriageReturnChars(COLstring& text);
unsigned long LANgetCurrentThreadId();
