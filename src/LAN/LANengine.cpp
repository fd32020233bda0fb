// One engine: a sub-interpreter with its `__main__` dictionary, search path, variables and
// log stream.  Every operation brackets itself with a LANengineSwap.
#include "LANpython.h"

#include <cstdlib>
#include <unistd.h>

#include "LANengine.h"
#include "LANtimeLimit.h"
#include "LANenginePrivate.h"

namespace {

const char RedirectScript[] =
    "import sys\n"
    "import _brelmont_io\n"
    "import string\n"
    "class _brelmont_redirect:\n"
    "   def write(self, str):\n"
    "      _brelmont_io.write(str)\n"
    // Python 3's print(flush=True) and error display call flush on the stream.
    "   def flush(self):\n"
    "      pass\n"
    "sys.stdout = _brelmont_redirect()\n"
    "sys.stderr = _brelmont_redirect()\n"
    // os._exit() would end the host at once, with no word and whatever status the script
    // chose: a script stops its message by raising instead.
    "import os, posix\n"
    "def _brelmont_no_exit(*args, **kwargs):\n"
    "   raise RuntimeError('os._exit() cannot end the program from a script; raise an exception to stop the message')\n"
    "os._exit = posix._exit = _brelmont_no_exit\n"
    "del _brelmont_no_exit\n";

PyObject* requireDictionary(const LANobjectPtr& dictionary) {
  if (!dictionary) throw COLerror("The script engine is not initialised (init was not called)", COL_ERROR_PRECONDITION);
  return dictionary.get();
}

}  // namespace

LANdictionaryInserter::LANdictionaryInserter(PyObject* dictionary, PyObject* key, PyObject* value) {
  LANcheckStatus(PyDict_SetItem(dictionary, key, value));
  Py_INCREF(dictionary);
  Py_INCREF(key);
  m_Dictionary = dictionary;
  m_Key = key;
}

LANdictionaryInserter::~LANdictionaryInserter() {
  // A script may have removed the entry itself.
  if (PyDict_DelItem(m_Dictionary, m_Key) != 0) PyErr_Clear();
}

// --- life

LANengine::LANengine() : pMember(std::make_unique<LANenginePrivate>()) {
  LANengineInterpreter::instance().initializeEngineWithNoOstream(pMember.get());
}

LANengine::LANengine(COLostream& log) : pMember(std::make_unique<LANenginePrivate>()) {
  LANengineInterpreter::instance().initializeEngine(pMember.get(), log);
}

LANengine::~LANengine() = default;

void LANengine::init() {
  LANengineSwap swap(*this);
  LANobjectPtr module = LANcheckCall(PyImport_ImportModule("__main__"));
  PyObject* dictionary = LANcheckCall(PyModule_GetDict(module));
  Py_INCREF(dictionary);
  pMember->globalDictionary = dictionary;
  Py_INCREF(dictionary);
  pMember->localDictionary = dictionary;
}

void LANengine::reset() {
  auto fresh = std::make_unique<LANenginePrivate>();
  if (pMember->logStream != nullptr) {
    LANengineInterpreter::instance().initializeEngine(fresh.get(), *pMember->logStream);
  } else {
    LANengineInterpreter::instance().initializeEngineWithNoOstream(fresh.get());
  }
  std::swap(pMember, fresh);
}

// --- running

void LANengine::runString(const char* code) {
  LANengineSwap swap(*this);
  PyObject* globals = requireDictionary(pMember->globalDictionary);
  COLstring source = LANsourceForCompiler(COLstring(code));
  LANobjectPtr result =
      LANcheckCall(PyRun_String(source.c_str(), Py_file_input, globals, pMember->localDictionary.get()));
}

LANcompiledModule* LANengine::compileCode(const COLstring& code) {
  LANengineSwap swap(*this);
  COLstring copy = code;
  LANstripCarriageReturnChars(copy);
  size_t nul = copy.view().find('\0');
  if (nul != std::string_view::npos) {
    COLstring text;
    COLostream(text) << "Script code holds a NUL byte at offset " << nul << "; scripts are text";
    throw COLerror(text, COL_ERROR_PRECONDITION);
  }
  copy = LANsourceForCompiler(copy);
  PyObject* module = LANcheckCall(Py_CompileString(copy.c_str(), "<stdout>", Py_file_input));
  return reinterpret_cast<LANcompiledModule*>(module);
}

void LANengine::freeCompiledCode(LANcompiledModule*& module) {
  if (module == nullptr) return;
  LANengineSwap swap(*this);
  Py_DECREF(reinterpret_cast<PyObject*>(module));
  module = nullptr;
}

void LANengine::executeModule(LANcompiledModule* module) const {
  COL_PRECONDITION(module != NULL);
  LANengineSwap swap(*this);
  PyObject* globals = requireDictionary(pMember->globalDictionary);
  LANscriptTimer timer;
  LANobjectPtr result = LANcheckCall(
      PyEval_EvalCode(reinterpret_cast<PyObject*>(module), globals, pMember->localDictionary.get()));
  LANcheckCall();
}

// --- accessors and settings

PyObject* LANengine::localDictionary() const { return pMember->localDictionary.get(); }
PyObject* LANengine::globalDictionary() const { return pMember->globalDictionary.get(); }
PyThreadState* LANengine::pythonInterpreterThreadState() const { return pMember->pythonInterpreterThreadState; }
const COLstring& LANengine::searchPath() const { return pMember->searchPath; }
COLostream* LANengine::logStream() const { return pMember->logStream; }

void LANengine::setSearchPath(const COLstring& path) {
  LANengineSwap swap(*this);
  LANobjectPtr list = LANcheckCall(PyList_New(0));
  auto append = [&list](std::string_view directory) {
    LANobjectPtr entry = LANcheckCall(PyUnicode_DecodeFSDefaultAndSize(directory.data(), directory.size()));
    LANcheckStatus(PyList_Append(list, entry));
  };
  std::string_view rest = path.view();
  for (;;) {
    size_t colon = rest.find(':');
    append(rest.substr(0, colon));
    if (colon == std::string_view::npos) break;
    rest.remove_prefix(colon + 1);
  }
  for (const COLstring& directory : pMember->standardPath) append(directory.view());
  LANcheckStatus(PySys_SetObject("path", list));
  pMember->searchPath = path;
}

void LANengine::setPythonVariable(const char* name, const char* value) {
  setPythonVariable(name, COLstring(value));
}

void LANengine::setPythonVariable(const char* name, const COLstring& value) {
  LANengineSwap swap(*this);
  PyObject* locals = requireDictionary(pMember->localDictionary);
  // The old entry goes first, so that its end can't remove the new value.
  pMember->pythonVariables.erase(COLstring(name));
  LANobjectPtr key = LANcheckCall(LANstringToPython(COLstring(name)));
  LANobjectPtr text = LANcheckCall(LANstringToPython(value));
  pMember->pythonVariables.emplace(COLstring(name), std::make_unique<LANdictionaryInserter>(locals, key, text));
}

void LANengine::removePythonVariable(const char* name) {
  LANengineSwap swap(*this);
  pMember->pythonVariables.erase(COLstring(name));
}

void LANengine::setLogStream(COLostream* log) {
  LANengineSwap swap(*this);
  pMember->logStream = log;
  LANsetOstreamInStateDict(log);
}

// --- free functions of the set-up

bool LANinitEngineAndRedirect(LANengine& engine, COLstring& /*error*/) {
  engine.init();
  engine.runString(RedirectScript);
  return true;
}

bool LANinitEngineAndRedirectWithoutImportString(LANengine& engine, COLstring& /*error*/) {
  engine.init();
  COLstring script = RedirectScript;
  script.substrreplace("import string\n", "");
  engine.runString(script.c_str());
  return true;
}

void LANsetOstreamInStateDict(COLostream* stream) {
  PyObject* dictionary = PyThreadState_GetDict();  // borrowed
  if (dictionary == nullptr) throw COLerror("No Python thread state is current", COL_ERROR_PRECONDITION);
  if (stream == nullptr) {
    if (PyDict_DelItemString(dictionary, "_brelmont_ostream_ptr") != 0) PyErr_Clear();
    return;
  }
  LANobjectPtr pointer = LANcheckCall(PyLong_FromVoidPtr(stream));
  LANcheckStatus(PyDict_SetItemString(dictionary, "_brelmont_ostream_ptr", pointer));
}

COLostream* LANgetOstreamInStateDict() {
  PyObject* dictionary = PyThreadState_GetDict();
  if (dictionary == nullptr) return nullptr;
  PyObject* pointer = PyDict_GetItemString(dictionary, "_brelmont_ostream_ptr");  // borrowed
  if (pointer == nullptr) return nullptr;
  void* stream = PyLong_AsVoidPtr(pointer);
  if (stream == nullptr) PyErr_Clear();
  return static_cast<COLostream*>(stream);
}

COLstring LANfindPythonLibDir(const char* /*moduleName*/) {
  // The module directory is the working directory on this platform.
  COLstring directory;
  std::string buffer(4096, '\0');
  while (getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) throw COLerror("The working directory can't be read: " + COLstrerror(errno), errno);
    buffer.resize(buffer.size() * 2);
  }
  directory = buffer.c_str();
  if (directory.empty() || directory[directory.size() - 1] != '/') directory += '/';
  COLstring result = directory + "python_lib/:" + directory;
  if (const char* extra = std::getenv("QVM_PYTHON_LIB_PATH")) {
    result += ':';
    result += extra;
  }
  // Last, "python_lib" beside the program and one level up, so that a tool started from any
  // directory finds the library installed with it (and the build tree finds its own).
  std::string program(4096, '\0');
  const ssize_t length = readlink("/proc/self/exe", program.data(), program.size() - 1);
  if (length > 0) {
    program.resize(static_cast<size_t>(length));
    const size_t slash = program.rfind('/');
    if (slash != std::string::npos) {
      const COLstring home(program.substr(0, slash + 1));
      result += ":" + home + "python_lib/:" + home + "../python_lib/";
    }
  }
  return result;
}
