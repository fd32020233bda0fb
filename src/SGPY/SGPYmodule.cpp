// The module "sgpy": one registry of live handles per interpreter, kept in the module's state,
// the handle checks that every function goes through, and what the host lends for a call.
#include "LANpython.h"

#include <vector>

#include "COLerror.h"
#include "SGPYinternal.h"
#include "SGPYmodule.h"

namespace {

const char TestMessage[] =
    "MSH|^~\\&|ADMIT|GENHOSP|ENGINE|GENHOSP|20240105083000||ADT^A01|MSG00001|P|2.4\r"
    "EVN|A01|20240105083000\r"
    "PID|1||123456^^^GENHOSP^MR~987654^^^STATE^SS||Doe^Jane^Q||19700412|F|||"
    "12 Elm St^Apt 4&Rear^Springfield^IL^62701^USA^H||(555)0100-1234\r"
    "NK1|1|Doe^John|SPO|||||20240101\r"
    "PV1|1|I|WARD1^101^A^GENHOSP||||D1234^Smith^Adam^^^DR|||MED\r";

int execModule(PyObject* module);
void freeModule(void* module);

PyModuleDef_Slot Slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execModule)}, {0, nullptr}};

std::vector<PyMethodDef>& functionTable() {
  static std::vector<PyMethodDef> Table = [] {
    std::vector<PyMethodDef> Functions;
    SGPYaddSegmentFunctions(Functions);
    SGPYaddErrorFunctions(Functions);
    SGPYaddTreeFunctions(Functions);
    Functions.push_back({nullptr, nullptr, 0, nullptr});
    return Functions;
  }();
  return Table;
}

PyModuleDef SgpyModule = {
    PyModuleDef_HEAD_INIT,
    "sgpy",
    "Handles on the tokenised message for script objects.",
    sizeof(SGPYregistry*),
    nullptr,  // set from functionTable() before the first use
    Slots,
    nullptr,
    nullptr,
    freeModule,
};

SGPYregistry*& registrySlot(PyObject* module) { return *static_cast<SGPYregistry**>(PyModule_GetState(module)); }

int execModule(PyObject* module) {
  try {
    registrySlot(module) = new SGPYregistry;
  } catch (...) {
    PyErr_NoMemory();
    return -1;
  }
  return PyModule_AddStringConstant(module, "test_message", TestMessage);
}

void freeModule(void* module) {
  auto* state = static_cast<SGPYregistry**>(PyModule_GetState(static_cast<PyObject*>(module)));
  if (state == nullptr) return;
  delete *state;
  *state = nullptr;
}

// The module of the current interpreter, a new reference.
PyObject* currentModule() {
  LANobjectPtr name = LANcheckCall(PyUnicode_FromString("sgpy"));
  PyObject* module = PyImport_GetModule(name);
  if (module == nullptr && !PyErr_Occurred()) module = PyImport_Import(name);
  LANcheckCall(module);
  if (PyModule_GetDef(module) != &SgpyModule || registrySlot(module) == nullptr) {
    Py_DECREF(module);
    throw COLerror("The module sgpy of this interpreter is not the built-in one", COL_ERROR_PRECONDITION);
  }
  return module;
}

}  // namespace

SGPYregistry& SGPYregistryOf(PyObject* module) { return *registrySlot(module); }

void* SGPYcheckHandle(PyObject* module, PyObject* handle, SGPYkind kind) {
  const char* TypeName = SGPYkindName(kind);
  if (!PyLong_Check(handle)) {
    PyErr_Format(PyExc_TypeError, "%s index must be integer", TypeName);
    return nullptr;
  }
  void* Address = PyLong_AsVoidPtr(handle);
  if (Address == nullptr && PyErr_Occurred()) PyErr_Clear();  // out of range: no handle either
  SGPYregistry::Lookup Result = SGPYregistry::Lookup::Unknown;
  SGPYkind Actual = kind;
  void* Object = SGPYregistryOf(module).find(reinterpret_cast<uintptr_t>(Address), kind, Result, Actual);
  if (Result == SGPYregistry::Lookup::OtherKind) {
    PyErr_Format(PyExc_ValueError, "%s handle %S is the handle of a %s", TypeName, handle, SGPYkindName(Actual));
  } else if (Result == SGPYregistry::Lookup::Unknown) {
    PyErr_Format(PyExc_ValueError, "%s handle %S is not a live handle", TypeName, handle);
  }
  return Object;
}

PyObject* SGPYaddRef(PyObject* module, PyObject* handle, SGPYkind kind) {
  void* Object = SGPYcheckHandle(module, handle, kind);
  if (Object == nullptr) return nullptr;
  SGPYregistry& Registry = SGPYregistryOf(module);
  if (!Registry.isCreatedRoot(Object)) {
    PyErr_Format(PyExc_ValueError, "%s handle %S was not made by %sCreate", SGPYkindName(kind), handle,
                 SGPYkindName(kind));
    return nullptr;
  }
  Registry.addRef(Object);
  return PyLong_FromLong(1);
}

PyObject* SGPYrelease(PyObject* module, PyObject* handle, SGPYkind kind) {
  void* Object = SGPYcheckHandle(module, handle, kind);
  if (Object == nullptr) return nullptr;
  SGPYregistry& Registry = SGPYregistryOf(module);
  if (!Registry.isCreatedRoot(Object)) {
    PyErr_Format(PyExc_ValueError, "%s handle %S was not made by %sCreate", SGPYkindName(kind), handle,
                 SGPYkindName(kind));
    return nullptr;
  }
  Registry.release(Object);
  return PyLong_FromLong(1);
}

bool SGPYinRange(long index, uint32_t count, const char* what) {
  if (index >= 0 && static_cast<unsigned long>(index) < count) return true;
  PyErr_Format(PyExc_IndexError, "%s index %ld is out of range (count %u)", what, index, count);
  return false;
}

bool SGPYcountInRange(long count) {
  // No message has more of anything at one level; growing to millions of objects only costs memory.
  if (count >= 0 && count <= 0x10000) return true;
  PyErr_Format(PyExc_ValueError, "count %ld is out of range", count);
  return false;
}

bool SGPYtext(PyObject* object, COLstring& out) {
  if (LANstringFromPython(object, out)) return true;
  PyErr_SetString(PyExc_TypeError, "a text must be a str of characters below 256");
  return false;
}

const char* SGPYtestMessage() { return TestMessage; }

PyObject* SGPYcreateModule() {
  SgpyModule.m_methods = functionTable().data();
  return PyModuleDef_Init(&SgpyModule);
}

void SGPYinitModule() {
  static bool done = false;
  if (!done) done = PyImport_AppendInittab("sgpy", SGPYcreateModule) == 0;
}

// --- what the host lends

SGPYlentObjects::SGPYlentObjects() : m_Module(currentModule()), m_Registry(&SGPYregistryOf(m_Module)) {}

SGPYlentObjects::~SGPYlentObjects() {
  for (auto At = m_Lent.rbegin(); At != m_Lent.rend(); ++At) m_Registry->withdraw(*At);
  Py_DECREF(m_Module);
}

PyObject* SGPYlentObjects::lend(void* object, int kind) {
  m_Lent.reserve(m_Lent.size() + 1);
  LANobjectPtr Handle = LANcheckCall(PyLong_FromVoidPtr(object));
  m_Registry->lend(object, static_cast<SGPYkind>(kind));
  m_Lent.push_back(object);
  return Handle.release();
}

PyObject* SGPYlentObjects::lend(SGMstringPool& pool) { return lend(&pool, static_cast<int>(SGPYkind::StringPool)); }
PyObject* SGPYlentObjects::lend(SGMsegment& segment) { return lend(&segment, static_cast<int>(SGPYkind::Segment)); }
PyObject* SGPYlentObjects::lend(SGMfieldRepeats& repeats) {
  return lend(&repeats, static_cast<int>(SGPYkind::FieldRepeats));
}
PyObject* SGPYlentObjects::lend(QVMuntypedMessageTree& node) { return lend(&node, static_cast<int>(SGPYkind::Tree)); }

COLerror SGPYtakeError(PyObject* handle) {
  LANobjectPtr Module(currentModule());
  auto* Error = SGPYhandle<COLerror>(Module.get(), handle);
  if (Error != nullptr && !SGPYregistryOf(Module.get()).isCreatedRoot(Error)) {
    PyErr_Format(PyExc_ValueError, "COLerror handle %S was not made by COLerrorCreate", handle);
    Error = nullptr;
  }
  if (Error == nullptr) LANhandleError();
  COLerror Copy(*Error);
  SGPYregistryOf(Module.get()).release(Error);
  return Copy;
}

size_t SGPYcountOfCreatedObject() {
  LANobjectPtr Module(currentModule());
  return SGPYregistryOf(Module.get()).countOfCreatedRoot();
}
