// The built-in modules of the host: "_brelmont_io", the far end of sys.stdout and sys.stderr,
// and "_brelmont_nimbat", the door to a callback of a host that embeds the library.  Both are
// multi-phase modules, so that every sub-interpreter has a module of its own.
#include "LANpython.h"

#include <cstdlib>
#include <exception>

#include "LANengine.h"

namespace {

// Each piece ends at "\r", "\n" or "\r\n" and gets the stream's own line end; the rest after
// the last line end stays open.
void writeLines(COLostream& stream, std::string_view text) {
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c != '\r' && c != '\n') continue;
    stream.write(text.data() + start, i - start);
    stream.newline();
    if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    start = i + 1;
  }
  if (start < text.size()) stream.write(text.data() + start, text.size() - start);
}


PyObject* ioWrite(PyObject* /*module*/, PyObject* args) {
  PyObject* text = nullptr;
  if (!PyArg_ParseTuple(args, "O:write", &text)) return LANhandleBadArguments("log");
  if (!PyUnicode_Check(text) && !PyBytes_Check(text)) {
    PyErr_SetString(PyExc_TypeError, "a str is required");
    return LANhandleBadArguments("log");
  }
  COLostream* stream = LANgetOstreamInStateDict();
  if (stream != nullptr) {
    try {
      COLstring bytes;
      LANstringFromPythonForDisplay(text, bytes);
      writeLines(*stream, bytes.view());
    } catch (...) {
      return LANraiseFromCurrentException();
    }
  }
  Py_RETURN_NONE;
}

PyMethodDef IoMethods[] = {
    {"write", ioWrite, METH_VARARGS, "Writes text to the engine's log stream."},
    {"log", ioWrite, METH_VARARGS, "Writes text to the engine's log stream."},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef_Slot NoSlots[] = {{0, nullptr}};

PyModuleDef IoModule = {
    PyModuleDef_HEAD_INIT, "_brelmont_io", "Script output into the engine's log stream.", 0, IoMethods, NoSlots,
    nullptr,               nullptr,        nullptr,
};

// --- the host callback

struct NimbatCallbackBlock {
  LANnimbatCallback function;
  void* userData;
};

const char NimbatCapsuleName[] = "_brelmont_nimbat._callback";

void freeNimbatBlock(PyObject* capsule) { std::free(PyCapsule_GetPointer(capsule, NimbatCapsuleName)); }

PyObject* nimbatQuery(PyObject* module, PyObject* args) {
  PyObject* query = nullptr;
  PyObject* argument = nullptr;
  if (!PyArg_ParseTuple(args, "O|O:query", &query, &argument)) return LANhandleBadArguments("query");
  COLstring queryText, argumentText;
  bool hasArgument = argument != nullptr && argument != Py_None;
  if (!LANstringFromPython(query, queryText) || (hasArgument && !LANstringFromPython(argument, argumentText))) {
    PyErr_SetString(PyExc_TypeError, "query takes a text of characters below 256 and an optional one");
    return LANhandleBadArguments("query");
  }
  PyObject* capsule = PyDict_GetItemString(PyModule_GetDict(module), "_callback");  // borrowed
  auto* block = capsule ? static_cast<NimbatCallbackBlock*>(PyCapsule_GetPointer(capsule, NimbatCapsuleName)) : nullptr;
  if (block == nullptr || block->function == nullptr) {
    PyErr_Clear();
    PyErr_SetString(PyExc_NotImplementedError, "no host callback is set for _brelmont_nimbat.query");
    return nullptr;
  }
  const char* answer = nullptr;
  try {
    answer = block->function(queryText.c_str(), hasArgument ? argumentText.c_str() : nullptr, block->userData);
  } catch (...) {
    return LANraiseFromCurrentException();
  }
  if (answer == nullptr) Py_RETURN_NONE;
  return LANstringToPython(answer, std::strlen(answer));
}

PyMethodDef NimbatMethods[] = {
    {"query", nimbatQuery, METH_VARARGS, "Asks the host that embeds the engine."},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef NimbatModule = {
    PyModuleDef_HEAD_INIT, "_brelmont_nimbat", "Queries to the host that embeds the engine.", 0, NimbatMethods,
    NoSlots,               nullptr,            nullptr,                                        nullptr,
};

PyObject* initNimbatModule() { return PyModuleDef_Init(&NimbatModule); }

}  // namespace

PyObject* LANinitIoRedirectModule() { return PyModuleDef_Init(&IoModule); }

void LANinitIoModule() {
  static bool done = false;
  if (!done) done = PyImport_AppendInittab("_brelmont_io", LANinitIoRedirectModule) == 0;
}

void LANinitNimbatModule() {
  static bool done = false;
  if (!done) done = PyImport_AppendInittab("_brelmont_nimbat", initNimbatModule) == 0;
}

void LANsetNimbatCallback(LANengine& engine, LANnimbatCallback callback, void* userData) {
  LANengineSwap swap(engine);
  LANobjectPtr module = PyImport_ImportModule("_brelmont_nimbat");
  if (!module) {
    PyErr_Clear();
    return;
  }
  PyObject* dictionary = PyModule_GetDict(module);
  auto* block = static_cast<NimbatCallbackBlock*>(std::malloc(sizeof(NimbatCallbackBlock)));
  if (block == nullptr) throw COLerror("Out of memory for the host callback", COL_ERROR_RESOURCE);
  block->function = callback;
  block->userData = userData;
  LANobjectPtr capsule = PyCapsule_New(block, NimbatCapsuleName, freeNimbatBlock);
  if (!capsule) {
    std::free(block);
    LANhandleError();
  }
  LANcheckStatus(PyDict_SetItemString(dictionary, "_callback", capsule));
}

PyObject* LANraiseFromCurrentException() {
  try {
    throw;
  } catch (const COLerror& error) {
    LANobjectPtr text = LANstringToPython(error.description());
    if (text) PyErr_SetObject(PyExc_RuntimeError, text);
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
  } catch (...) {
    PyErr_SetString(PyExc_RuntimeError, "unknown failure in the host");
  }
  return nullptr;
}
