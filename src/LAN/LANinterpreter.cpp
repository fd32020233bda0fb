// The process-wide interpreter, the making and ending of sub-interpreters, and the locks.
//
// How the host's operations sit on CPython 3 (the design was made for the 2.x line):
// - PyEval_InitThreads + Py_Initialize  ->  Py_PreInitialize + Py_InitializeFromConfig, with an
//   isolated configuration: no locale set or coerced, no signal handler installed (so SIGINT
//   keeps its default action and Ctrl-C ends the tool even while a script loops), PYTHON*
//   environment variables ignored, no site import, no byte-code files written.
// - PyEval_AcquireLock / PyEval_ReleaseLock  ->  PyEval_RestoreThread / PyEval_SaveThread on a
//   thread state of the main interpreter that each thread keeps for itself: Python 3 can only
//   take the lock together with a thread state.  The thread that started the interpreter uses
//   the main thread state.  All sub-interpreters share this one lock.
// - PyThreadState_Swap to and from an engine's state  ->  unchanged, always under the lock; a
//   swap returns to the state that was current before it (never to "none", which Python 3
//   refuses to release the lock from).
// - The per-thread lock tables  ->  one thread_local record per thread; no critical section.
// - Py_SetPythonHome (process-wide, fixed at start in Python 3)  ->  LANengineInterpreter::setHome
//   before the start; PySys_SetPath  ->  sys.path set to the search path, then the standard
//   library the sub-interpreter started with.
// - Py_InitModule4 and the table of built-in modules  ->  PyImport_AppendInittab before the start,
//   with multi-phase module definitions so that each sub-interpreter has its own module.
// - PyCObject  ->  PyCapsule; PyString  ->  str decoded as Latin-1 (see LANpython.h); func_code
//   -> __code__.
#include "LANpython.h"

#include <atomic>
#include <pthread.h>
#include <vector>

#include "COLerror.h"
#include "LANengine.h"
#include "LANenginePrivate.h"

namespace {

std::atomic<bool> s_Running{false};
// The thread that holds the interpreter lock, 0 when none; read at exit only.
std::atomic<unsigned long> s_LockHolder{0};
// Sub-interpreters not yet ended; the interpreter can only be finalised when none is left.
std::atomic<unsigned> s_LiveSubInterpreters{0};

COLstring& homeSetting() {
  static COLstring home;
  return home;
}

struct LANthreadRecord {
  unsigned lockCount = 0;
  unsigned unlockCount = 0;
  bool holdsLock = false;
  // The main-interpreter state this thread takes the lock with; kept for the thread's life.
  PyThreadState* hostState = nullptr;
  bool ownsHostState = false;

  ~LANthreadRecord() {
    if (!ownsHostState || hostState == nullptr || holdsLock || !s_Running.load()) return;
    PyEval_RestoreThread(hostState);
    PyThreadState_Clear(hostState);
    PyThreadState_DeleteCurrent();
  }
};

thread_local LANthreadRecord t_Thread;

void acquireInterpreterLock() {
  LANthreadRecord& thread = t_Thread;
  if (thread.hostState == nullptr) {
    thread.hostState = PyThreadState_New(PyInterpreterState_Main());
    if (thread.hostState == nullptr) throw COLerror("No Python thread state could be made for this thread", COL_ERROR_RESOURCE);
    thread.ownsHostState = true;
  }
  PyEval_RestoreThread(thread.hostState);
  thread.holdsLock = true;
  s_LockHolder.store(LANgetCurrentThreadId());
}

void releaseInterpreterLock() {
  LANthreadRecord& thread = t_Thread;
  // Whatever is current now, the lock goes back with the state that took it.
  PyThreadState_Swap(thread.hostState);
  thread.holdsLock = false;
  s_LockHolder.store(0);
  PyEval_SaveThread();
}

COLstring statusText(const PyStatus& status) {
  COLstring text = "The Python interpreter could not start: ";
  text += status.err_msg ? status.err_msg : "unknown failure";
  if (status.func) {
    text += " (in ";
    text += status.func;
    text += ")";
  }
  return text;
}

// Makes `state` current for the life of the object, then puts back what was current.
class LANstateRestorer {
public:
  LANstateRestorer() : m_Previous(PyThreadState_Swap(nullptr)) {}
  ~LANstateRestorer() { PyThreadState_Swap(m_Previous); }
  PyThreadState* previous() const { return m_Previous; }
  LANstateRestorer(const LANstateRestorer&) = delete;
  LANstateRestorer& operator=(const LANstateRestorer&) = delete;

private:
  PyThreadState* m_Previous;
};

}  // namespace

// --- the interpreter

namespace {

std::vector<LANbuiltinModuleAdder>& builtinModuleAdders() {
  static std::vector<LANbuiltinModuleAdder> adders;
  return adders;
}

// Set once the table of built-in modules has been handed to Python.
bool s_Started = false;

}  // namespace

void LANaddBuiltinModules(LANbuiltinModuleAdder adder) {
  COL_PRECONDITION_TEXT(!s_Started, "the interpreter has not started yet");
  builtinModuleAdders().push_back(adder);
}

LANengineInterpreter& LANengineInterpreter::instance() {
  static LANengineInterpreter interpreter;
  if (!interpreter.m_StartError.empty()) throw COLerror(interpreter.m_StartError, COL_ERROR_PRECONDITION);
  return interpreter;
}

void LANengineInterpreter::setHome(const COLstring& home) { homeSetting() = home; }

LANengineInterpreter::LANengineInterpreter() { start(); }

void LANengineInterpreter::start() {
  LANinitIoModule();
  LANinitNimbatModule();
  for (LANbuiltinModuleAdder adder : builtinModuleAdders()) adder();
  s_Started = true;

  PyPreConfig preConfig;
  PyPreConfig_InitIsolatedConfig(&preConfig);
  preConfig.configure_locale = 0;
  preConfig.coerce_c_locale = 0;
  preConfig.coerce_c_locale_warn = 0;
  preConfig.utf8_mode = 0;
  preConfig.use_environment = 0;
  preConfig.parse_argv = 0;
  PyStatus status = Py_PreInitialize(&preConfig);
  if (PyStatus_Exception(status)) {
    m_StartError = statusText(status);
    return;
  }

  PyConfig config;
  PyConfig_InitIsolatedConfig(&config);
  config.install_signal_handlers = 0;
  config.use_environment = 0;
  config.user_site_directory = 0;
  config.site_import = 0;
  config.write_bytecode = 0;
  config.parse_argv = 0;
  config.configure_c_stdio = 0;
  config.pathconfig_warnings = 0;
  config.faulthandler = 0;
  if (!homeSetting().empty()) status = PyConfig_SetBytesString(&config, &config.home, homeSetting().c_str());
  if (!PyStatus_Exception(status)) status = Py_InitializeFromConfig(&config);
  PyConfig_Clear(&config);
  if (PyStatus_Exception(status)) {
    m_StartError = statusText(status);
    return;
  }
  m_MainThreadState = PyEval_SaveThread();
  t_Thread.hostState = m_MainThreadState;
  t_Thread.ownsHostState = false;
  s_Running.store(true);
}

LANengineInterpreter::~LANengineInterpreter() {
  // A thread still inside the interpreter (exit called under a lock) would make the end
  // wait forever; the process goes without it then.
  // Likewise when a host never released an engine: finalising under a live sub-interpreter
  // is fatal, so the process ends without it.
  if (m_MainThreadState == nullptr || s_LockHolder.load() != 0 || s_LiveSubInterpreters.load() != 0) return;
  s_Running.store(false);
  PyEval_RestoreThread(m_MainThreadState);
  Py_FinalizeEx();
}

// Runs with the lock held; leaves the new state current.
void LANengineInterpreter::newSubInterpreter(LANenginePrivate* engine) {
  PyThreadState_Swap(nullptr);
  PyThreadState* state = Py_NewInterpreter();
  if (state == nullptr) throw COLerror("A Python sub-interpreter could not be made", COL_ERROR_RESOURCE);
  ++s_LiveSubInterpreters;
  engine->pythonInterpreterThreadState = state;
  PyObject* path = PySys_GetObject("path");  // borrowed
  if (path != nullptr && PyList_Check(path)) {
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(path); ++i) {
      LANobjectPtr bytes = PyUnicode_EncodeFSDefault(PyList_GET_ITEM(path, i));
      if (!bytes) {
        PyErr_Clear();
        continue;
      }
      engine->standardPath.emplace_back(std::string(PyBytes_AS_STRING(bytes.get()), PyBytes_GET_SIZE(bytes.get())));
    }
  }
}

void LANengineInterpreter::initializeEngine(LANenginePrivate* engine, COLostream& log) {
  LANengineLock lock;
  LANstateRestorer restorer;
  newSubInterpreter(engine);
  engine->logStream = &log;
  LANsetOstreamInStateDict(&log);
}

void LANengineInterpreter::initializeEngineWithNoOstream(LANenginePrivate* engine) {
  LANengineLock lock;
  LANstateRestorer restorer;
  newSubInterpreter(engine);
}

void LANengineInterpreter::finalizeEngine(LANenginePrivate* engine) {
  PyThreadState* state = engine->pythonInterpreterThreadState;
  if (state == nullptr) return;
  LANengineLock lock;
  PyThreadState* previous = PyThreadState_Swap(state);
  // Entries made for the engine go while their dictionary still lives.
  engine->pythonVariables.clear();
  engine->localDictionary.reset();
  engine->globalDictionary.reset();
  LANsetOstreamInStateDict(nullptr);
  engine->pythonInterpreterThreadState = nullptr;
  PyFrameObject* frame = PyThreadState_GetFrame(state);
  if (frame != nullptr) {
    // A script of this engine is still running further up this thread's stack: its
    // interpreter can't end under it, and is left to the end of the process.
    Py_DECREF(frame);
    PyThreadState_Swap(previous);
    return;
  }
  Py_EndInterpreter(state);  // leaves no state current
  --s_LiveSubInterpreters;
  PyThreadState_Swap(previous == state ? t_Thread.hostState : previous);
}

LANenginePrivate::~LANenginePrivate() {
  try {
    if (pythonInterpreterThreadState != nullptr) LANengineInterpreter::instance().finalizeEngine(this);
  } catch (const COLerror&) {
    // Only a failure to make a thread state ends here; the interpreter stays to the process.
  }
}

// --- locks

LANengineLock::LANengineLock() {
  LANengineInterpreter::instance();
  LANthreadRecord& thread = t_Thread;
  if (!thread.holdsLock) {
    acquireInterpreterLock();
    m_Acquired = true;
  }
  ++thread.lockCount;
}

LANengineLock::~LANengineLock() {
  LANthreadRecord& thread = t_Thread;
  --thread.lockCount;
  if (m_Acquired) releaseInterpreterLock();
}

unsigned LANengineLock::countForThisThread() { return t_Thread.lockCount; }
bool LANengineLock::isHeldByThisThread() { return t_Thread.holdsLock; }

LANengineSwap::LANengineSwap(const LANengine& engine) {
  PyThreadState* target = engine.pythonInterpreterThreadState();
  if (target == nullptr) throw COLerror("The script engine has no interpreter", COL_ERROR_PRECONDITION);
  m_Previous = PyThreadState_Swap(target);
  m_Changed = m_Previous != target;
}

LANengineSwap::~LANengineSwap() {
  if (m_Changed) PyThreadState_Swap(m_Previous);
}

LANengineUnlock::LANengineUnlock() {
  LANthreadRecord& thread = t_Thread;
  ++thread.unlockCount;
  if (thread.holdsLock) {
    thread.holdsLock = false;
    s_LockHolder.store(0);
    m_Saved = PyEval_SaveThread();
    m_Released = true;
  }
}

LANengineUnlock::~LANengineUnlock() {
  LANthreadRecord& thread = t_Thread;
  --thread.unlockCount;
  if (m_Released) {
    PyEval_RestoreThread(m_Saved);
    thread.holdsLock = true;
    s_LockHolder.store(LANgetCurrentThreadId());
  }
}

unsigned LANengineUnlock::countForThisThread() { return t_Thread.unlockCount; }

unsigned long LANgetCurrentThreadId() { return static_cast<unsigned long>(pthread_self()); }

void LANobjectIncrement(PyObject* object) { Py_XINCREF(object); }
void LANobjectDecrement(PyObject* object) { Py_XDECREF(object); }
