#include "LANpython.h"

#include "LANembeddedPythonModule.h"
#include "LANengine.h"

class LANembeddedPythonModulePrivate {
public:
  COLstring pythonModuleName = "qvm_user_module_0";
  LANengine* engine = nullptr;
  unsigned number = 0;
  COLstring name;
  COLstring code;
  std::vector<LANpythonFunctionInfo> functions;
  bool hasError = false;
  unsigned errorLineNumber = 0;
  COLstring errorDescription;
  LANobjectPtr compiledCode;
};

namespace {

const char FunctionNamesScript[] =
    "def _qvm_utils_get_function_names(module):\n"
    "   attr_list = dir(module)\n"
    "   funclist = []\n"
    "   for attrname in attr_list:\n"
    "      attr = getattr(module,attrname)\n"
    "      if hasattr(attr,'__code__'):\n"
    "         argnames = attr.__code__.co_varnames[:attr.__code__.co_argcount]\n"
    "         line_no = attr.__code__.co_firstlineno\n"
    "         new_attr = [ attrname, argnames, line_no  ]\n"
    "         funclist.append(new_attr)\n"
    "   return funclist\n";

COLstring stringOf(PyObject* object) {
  COLstring text;
  LANstringFromPythonForDisplay(object, text);
  return text;
}

unsigned lineOf(PyObject* object) {
  long line = object && PyLong_Check(object) ? PyLong_AsLong(object) : 0;
  PyErr_Clear();
  return line > 0 ? static_cast<unsigned>(line) : 0;
}

// Text of format_exception_only, its lines joined and the last line end dropped.
COLstring describeException(PyObject* type, PyObject* value) {
  LANobjectPtr module = PyImport_ImportModule("traceback");
  LANobjectPtr function = module ? PyObject_GetAttrString(module, "format_exception_only") : nullptr;
  LANobjectPtr lines =
      function ? PyObject_CallFunctionObjArgs(function, type, value ? value : Py_None, nullptr) : nullptr;
  COLstring text;
  if (lines && PyList_Check(lines.get())) {
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(lines.get()); ++i) text += stringOf(PyList_GET_ITEM(lines.get(), i));
  }
  PyErr_Clear();
  while (!text.empty() && (text[text.size() - 1] == '\n' || text[text.size() - 1] == '\r')) text.resize(text.size() - 1);
  return text;
}

// Line of the outermost frame of a traceback, as extract_tb(traceback, 1) gives it.
unsigned firstTracebackLine(PyObject* traceback) {
  if (traceback == nullptr) return 0;
  LANobjectPtr module = PyImport_ImportModule("traceback");
  LANobjectPtr function = module ? PyObject_GetAttrString(module, "extract_tb") : nullptr;
  LANobjectPtr one = PyLong_FromLong(1);
  LANobjectPtr frames = function && one ? PyObject_CallFunctionObjArgs(function, traceback, one.get(), nullptr) : nullptr;
  unsigned line = 0;
  if (frames && PyList_Check(frames.get()) && PyList_GET_SIZE(frames.get()) > 0) {
    LANobjectPtr number = PyObject_GetAttrString(PyList_GET_ITEM(frames.get(), 0), "lineno");
    line = lineOf(number);
  }
  PyErr_Clear();
  return line;
}

}  // namespace

LANembeddedPythonModule::LANembeddedPythonModule() : pMember(std::make_unique<LANembeddedPythonModulePrivate>()) {}

LANembeddedPythonModule::LANembeddedPythonModule(const LANembeddedPythonModule& other)
    : LANembeddedPythonModule() {
  *this = other;
}

LANembeddedPythonModule& LANembeddedPythonModule::operator=(const LANembeddedPythonModule& other) {
  if (this == &other) return *this;
  LANembeddedPythonModulePrivate& target = *pMember;
  const LANembeddedPythonModulePrivate& source = *other.pMember;
  if (target.engine != nullptr && target.compiledCode) {
    LANengineSwap swap(*target.engine);
    target.compiledCode.reset();
  }
  target.compiledCode.release();
  target.pythonModuleName = source.pythonModuleName;
  target.engine = source.engine;
  target.number = source.number;
  target.name = source.name;
  target.code = source.code;
  target.functions = source.functions;
  target.hasError = source.hasError;
  target.errorLineNumber = source.errorLineNumber;
  target.errorDescription = source.errorDescription;
  if (source.compiledCode && source.engine != nullptr) {
    LANengineSwap swap(*source.engine);
    target.compiledCode = source.compiledCode;
  }
  return *this;
}

LANembeddedPythonModule::~LANembeddedPythonModule() {
  if (!pMember->compiledCode) return;
  try {
    if (pMember->engine != nullptr) {
      LANengineSwap swap(*pMember->engine);
      pMember->compiledCode.reset();
    }
  } catch (const COLerror&) {
  }
  pMember->compiledCode.release();
}

void LANembeddedPythonModule::setName(const COLstring& name) { pMember->name = name; }
const COLstring& LANembeddedPythonModule::name() const { return pMember->name; }
void LANembeddedPythonModule::setNumber(unsigned number) {
  pMember->number = number;
  pMember->pythonModuleName.clear();
  COLostream(pMember->pythonModuleName) << "qvm_user_module_" << number;
}
unsigned LANembeddedPythonModule::number() const { return pMember->number; }
const COLstring& LANembeddedPythonModule::pythonModuleName() const { return pMember->pythonModuleName; }
void LANembeddedPythonModule::setEngine(LANengine* engine) {
  if (engine == pMember->engine) return;
  if (pMember->engine != nullptr && pMember->compiledCode) {
    LANengineSwap swap(*pMember->engine);
    pMember->compiledCode.reset();
  }
  pMember->compiledCode.release();
  pMember->engine = engine;
}
LANengine* LANembeddedPythonModule::engine() const { return pMember->engine; }
const COLstring& LANembeddedPythonModule::code() const { return pMember->code; }
bool LANembeddedPythonModule::hasError() const { return pMember->hasError; }
const COLstring& LANembeddedPythonModule::errorDescription() const { return pMember->errorDescription; }
unsigned LANembeddedPythonModule::errorLineNumber() const { return pMember->errorLineNumber; }
const std::vector<LANpythonFunctionInfo>& LANembeddedPythonModule::functions() const { return pMember->functions; }

void LANembeddedPythonModule::setCode(const COLstring& code) {
  COL_PRECONDITION(pMember->engine != NULL);
  LANengineSwap swap(*pMember->engine);
  pMember->compiledCode.reset();
  pMember->code = code;
  pMember->functions.clear();
  COLstring copy = code;
  LANstripCarriageReturnChars(copy);
  pMember->hasError = false;
  pMember->errorLineNumber = 0;
  pMember->errorDescription.clear();
  clearImportedModule();
  if (copy.empty()) return;
  if (copy.view().find('\0') != std::string_view::npos) {
    pMember->hasError = true;
    pMember->errorDescription = "The module's code holds a NUL byte; scripts are text";
    return;
  }
  copy = LANsourceForCompiler(copy);
  pMember->compiledCode = Py_CompileString(copy.c_str(), pMember->name.c_str(), Py_file_input);
  if (!pMember->compiledCode) {
    recordError();
    return;
  }
  LANobjectPtr module = PyImport_ExecCodeModule(pMember->pythonModuleName.c_str(), pMember->compiledCode);
  if (!module) {
    recordError();
    return;
  }
  try {
    pMember->functions = LANembeddedPythonModuleGetFunctionNames(*pMember->engine, pMember->pythonModuleName);
  } catch (COLerror& error) {
    pMember->hasError = true;
    pMember->errorDescription = error.description();
  }
}

// Empties the dictionary of an earlier import, so that a name the new text dropped goes too.
void LANembeddedPythonModule::clearImportedModule() {
  pMember->functions.clear();
  PyObject* modules = PyImport_GetModuleDict();  // borrowed
  LANobjectPtr key = LANstringToPython(pMember->pythonModuleName);
  PyObject* module = key ? PyDict_GetItemWithError(modules, key) : nullptr;  // borrowed
  if (module == nullptr || !PyModule_Check(module)) {
    PyErr_Clear();
    return;
  }
  PyObject* dictionary = PyModule_GetDict(module);
  PyDict_Clear(dictionary);
  // The module keeps its own name; Python 3 reads it from the dictionary.
  LANcheckStatus(PyDict_SetItemString(dictionary, "__name__", key));
}

void LANembeddedPythonModule::recordError() {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  if (type != nullptr) PyErr_NormalizeException(&type, &value, &traceback);
  LANobjectPtr ownedType(type), ownedValue(value), ownedTraceback(traceback);
  COLstring description;
  unsigned line = 0;
  if (type != nullptr && PyErr_GivenExceptionMatches(type, PyExc_SyntaxError)) {
    // Covers IndentationError and TabError, its subclasses.
    LANobjectPtr message = value ? PyObject_GetAttrString(value, "msg") : nullptr;
    LANobjectPtr number = value ? PyObject_GetAttrString(value, "lineno") : nullptr;
    PyErr_Clear();
    if (message && message.get() != Py_None) description = stringOf(message);
    line = lineOf(number);
  } else if (type != nullptr) {
    line = firstTracebackLine(traceback);
    description = describeException(type, value);
  }
  if (description.empty()) {
    if (type != nullptr) description += LANconvertObjectToString(type);
    if (value != nullptr) description += ": " + LANconvertObjectToString(value);
    if (traceback != nullptr) description += " " + LANconvertObjectToString(traceback);
  }
  pMember->compiledCode.reset();
  pMember->hasError = true;
  pMember->errorLineNumber = line;
  pMember->errorDescription = description;
}

const LANpythonFunctionInfo* LANembeddedPythonModuleFindFunction(const LANembeddedPythonModule& module,
                                                                 const COLstring& name) {
  for (const LANpythonFunctionInfo& function : module.functions()) {
    if (function.name == name) return &function;
  }
  return nullptr;
}

namespace {

LANpythonFunctionInfo convertFunctionEntry(PyObject* pItem) {
  COL_PRECONDITION(PyList_Check(pItem));
  COL_PRECONDITION(PyList_GET_SIZE(pItem) == 3);
  PyObject* pPyName = PyList_GET_ITEM(pItem, 0);
  PyObject* pPyArgList = PyList_GET_ITEM(pItem, 1);
  PyObject* pPyLineNumber = PyList_GET_ITEM(pItem, 2);
  COL_PRECONDITION(PyUnicode_Check(pPyName));
  COL_PRECONDITION(PyTuple_Check(pPyArgList));
  COL_PRECONDITION(PyLong_Check(pPyLineNumber));
  LANpythonFunctionInfo info;
  info.name = stringOf(pPyName);
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(pPyArgList); ++i) {
    PyObject* pPyArgName = PyTuple_GET_ITEM(pPyArgList, i);
    COL_PRECONDITION(PyUnicode_Check(pPyArgName));
    info.argumentNames.push_back(stringOf(pPyArgName));
  }
  info.lineNumber = lineOf(pPyLineNumber);
  return info;
}

}  // namespace

std::vector<LANpythonFunctionInfo> LANembeddedPythonModuleGetFunctionNames(LANengine& engine,
                                                                          const COLstring& moduleName) {
  LANengineSwap swap(engine);
  engine.runString(FunctionNamesScript);
  engine.runString(("import " + moduleName).c_str());
  COLstring call = "_qvm_utils_get_function_names(" + moduleName + ")";
  std::vector<LANpythonFunctionInfo> functions;
  // The global dictionary keeps no trace, whatever happens.
  auto cleanUp = [&engine, &moduleName] {
    engine.runString(("del " + moduleName).c_str());
    engine.runString("del _qvm_utils_get_function_names");
  };
  try {
    LANobjectPtr PythonResult = LANcheckCall(
        PyRun_String(call.c_str(), Py_eval_input, engine.globalDictionary(), engine.localDictionary()));
    COL_PRECONDITION(PyList_Check(PythonResult.get()));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(PythonResult.get()); ++i) {
      functions.push_back(convertFunctionEntry(PyList_GET_ITEM(PythonResult.get(), i)));
    }
  } catch (const COLerror&) {
    cleanUp();
    throw;
  }
  cleanUp();
  return functions;
}
