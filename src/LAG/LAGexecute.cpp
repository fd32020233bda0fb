// Running a definition's scripts with their bindings, and reading their results back.
#include "LANpython.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <unistd.h>

#include "LAGexecute.h"
#include "LAGquovane.h"
#include "LANenginePrivate.h"
#include "LANfunction.h"
#include "QVMtableInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SGPYmodule.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"

namespace {

// The script language of definitions, the module quovane and the segment handles of sgpy, goes
// into the interpreter's table before anything can start it: every road that runs a script
// links this file.
void LAGaddBuiltinModules() {
  LAGinitQuovaneModule();
  SGPYinitModule();
}
[[maybe_unused]] const bool s_BuiltinModulesAdded = (LANaddBuiltinModules(LAGaddBuiltinModules), true);

}  // namespace

namespace {

// A name bound in a dictionary for the length of one call, errors included.
class LAGbinding {
public:
  LAGbinding(PyObject* dictionary, const char* name, PyObject* value) {
    LANobjectPtr key = LANcheckCall(PyUnicode_InternFromString(name));
    m_Inserter.emplace(dictionary, key, value);
  }

private:
  std::optional<LANdictionaryInserter> m_Inserter;
};

// The environment object lives beyond the call in the dictionary, but stops working with it.
class LAGenvironmentBinding {
public:
  LAGenvironmentBinding(PyObject* locals, LAGenvironment& environment)
      : m_Object(LANcheckCall(LAGnewEnvironmentObject(&environment))) {
    LANcheckStatus(PyDict_SetItemString(locals, "environment", m_Object));
  }
  ~LAGenvironmentBinding() { LAGdetachEnvironmentObject(m_Object); }
  LAGenvironmentBinding(const LAGenvironmentBinding&) = delete;
  LAGenvironmentBinding& operator=(const LAGenvironmentBinding&) = delete;

private:
  LANobjectPtr m_Object;
};

// A module, from sys.modules when it has been imported before.
PyObject* LAGimport(const char* name) {
  LANobjectPtr text = LANcheckCall(PyUnicode_FromString(name));
  PyObject* module = PyImport_GetModule(text);
  if (module == nullptr && !PyErr_Occurred()) module = PyImport_Import(text);
  return LANcheckCall(module);
}

// module.name(arguments...), a new reference.
template <class... Arguments>
PyObject* LAGcall(PyObject* module, const char* name, Arguments... arguments) {
  LANobjectPtr callable = LANcheckCall(PyObject_GetAttrString(module, name));
  return LANcheckCall(PyObject_CallFunctionObjArgs(callable, static_cast<PyObject*>(arguments)..., nullptr));
}

// What "from quovane import *" does: the module's public names into the globals.
void LAGimportQuovaneNames(PyObject* globals) {
  PyObject* module = static_cast<PyObject*>(LAGfindQuovaneModule());
  PyObject* names = PyModule_GetDict(module);  // borrowed
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  for (Py_ssize_t at = 0; PyDict_Next(names, &at, &key, &value);) {
    if (PyUnicode_Check(key) && PyUnicode_GetLength(key) > 0 && PyUnicode_ReadChar(key, 0) == '_') continue;
    LANcheckStatus(PyDict_SetItem(globals, key, value));
  }
}

LANengine& LAGengineOf(const LANfunction& function) {
  COL_PRECONDITION_TEXT(function.engine() != nullptr, "Function.engine()");
  return *function.engine();
}

// The object under "value" after a run; a script that deleted it left no result.
PyObject* LAGresultValue(LANengine& engine) {
  PyObject* value = PyDict_GetItemString(engine.localDictionary(), "value");  // borrowed
  if (value == nullptr) throw COLerror("The script removed the variable 'value' and left no result", COL_ERROR_PRECONDITION);
  return value;
}

[[noreturn]] void LAGwrongType(PyObject* value, const char* wanted) {
  throw COLerror(COLstring("TypeError: the script left 'value' as ") + Py_TYPE(value)->tp_name + ", where " + wanted +
                     " is needed",
                 COL_ERROR_PRECONDITION);
}

COLstring LAGtextOf(PyObject* value) {
  COLstring text;
  if (!LANstringFromPython(value, text)) LAGwrongType(value, "a str of characters below 256");
  return text;
}

// The common road of the three value kinds.
template <class Make, class Read>
void LAGexecuteWithValue(const LANfunction& function, bool disablePythonNone, bool& isNone, uint32_t context,
                         LAGenvironment& environment, Make make, Read read) {
  COL_PRECONDITION_TEXT(context != LAGsegmentEquation, "Context != LAGsegmentEquation");
  LANengine& engine = LAGengineOf(function);
  LANengineSwap swap(engine);
  LAGstandardPrep(function, context, environment);
  LAGenvironmentBinding environmentBinding(engine.localDictionary(), environment);
  LANobjectPtr given = (disablePythonNone || !isNone) ? LANcheckCall(make()) : Py_NewRef(Py_None);
  LAGbinding value(engine.localDictionary(), "value", given);
  function.execute();
  PyObject* result = LAGresultValue(engine);
  if (result == Py_None && !disablePythonNone) {
    isNone = true;
    return;
  }
  read(result);
  isNone = false;
}

}  // namespace

void LAGstandardPrep(const LANfunction& function, uint32_t context, LAGenvironment& environment) {
  COL_PRECONDITION_TEXT(function.isValidAndCompiled(), "Function.isValidAndCompiled()");
  COL_PRECONDITION_TEXT(environment.engine() != nullptr, "Environment.engine() != NULL");
  LANengine& engine = LAGengineOf(function);
  LANengineSwap swap(engine);
  environment.setContext(context);
  LAGimportQuovaneNames(engine.globalDictionary());
}

void LAGexecuteScript(const LANfunction& function, uint32_t context, LAGenvironment& environment) {
  LANengine& engine = LAGengineOf(function);
  LANengineSwap swap(engine);
  LAGstandardPrep(function, context, environment);
  LAGenvironmentBinding environmentBinding(engine.localDictionary(), environment);
  function.execute();
}

void LAGexecuteScriptWithStringValue(const LANfunction& function, COLstring& value, bool disablePythonNone,
                                     bool& isNone, uint32_t context, LAGenvironment& environment) {
  LAGexecuteWithValue(
      function, disablePythonNone, isNone, context, environment, [&] { return LANstringToPython(value); },
      [&](PyObject* result) { value = LAGtextOf(result); });
}

void LAGexecuteScriptWithLongValue(const LANfunction& function, long& value, bool disablePythonNone, bool& isNone,
                                   uint32_t context, LAGenvironment& environment) {
  LAGexecuteWithValue(
      function, disablePythonNone, isNone, context, environment, [&] { return PyLong_FromLong(value); },
      [&](PyObject* result) {
        if (!PyLong_Check(result)) LAGwrongType(result, "an int");
        const long number = PyLong_AsLong(result);
        LANcheckCall();
        value = number;
      });
}

void LAGexecuteScriptWithDoubleValue(const LANfunction& function, double& value, bool disablePythonNone,
                                     bool& isNone, uint32_t context, LAGenvironment& environment) {
  LAGexecuteWithValue(
      function, disablePythonNone, isNone, context, environment, [&] { return PyFloat_FromDouble(value); },
      [&](PyObject* result) {
        if (!PyFloat_Check(result) && !PyLong_Check(result)) LAGwrongType(result, "a float");
        const double number = PyFloat_AsDouble(result);
        LANcheckCall();
        value = number;
      });
}

// --- the current parser

void LAGexecuteFieldEquation(const LANfunction& function, SGMstringPool& pool, SGMsegment& segment,
                             unsigned fieldIndex, LAGenvironment& environment) {
  if (segment.countOfField() < fieldIndex + 1) segment.setCountOfField(fieldIndex + 1);
  SGMfieldRepeats& repeats = segment.fieldRepeats(fieldIndex);
  if (repeats.countOfFieldRepeat() == 0) repeats.setCountOfFieldRepeat(1);
  SGMfield& first = repeats.fieldRepeat(0);
  const COLstring text = first.countOfSubField() == 0 ? COLstring() : first.value(0, 0).asString();

  LANengine& engine = LAGengineOf(function);
  LANengineSwap swap(engine);
  LAGstandardPrep(function, LAGsegmentEquation, environment);
  environment.setIncomingField(&repeats, &pool);
  struct FieldReset {
    LAGenvironment& environment;
    ~FieldReset() { environment.setIncomingField(nullptr, nullptr); }
  } fieldReset{environment};
  LAGenvironmentBinding environmentBinding(engine.localDictionary(), environment);

  PyObject* sgm = LAGimport("brelmont.SGM");
  PyObject* fieldModule = LAGimport("brelmont.SGMquovaneFieldObject");
  SGPYlentObjects lent;
  LANobjectPtr poolHandle = lent.lend(pool), repeatsHandle = lent.lend(repeats), zero = PyLong_FromLong(0);
  LANobjectPtr poolObject = LAGcall(sgm, "SGMstringPool", poolHandle.get());
  LANobjectPtr repeatsObject = LAGcall(sgm, "SGMfieldRepeats", repeatsHandle.get());
  LANobjectPtr field = LAGcall(fieldModule, "QuovaneFieldObject", poolObject.get(), repeatsObject.get(), zero.get());
  LANobjectPtr given = LANcheckCall(LANstringToPython(text));
  LAGbinding fieldBinding(engine.localDictionary(), "field", field);
  LAGbinding valueBinding(engine.localDictionary(), "value", given);
  function.execute();
  const COLstring result = LAGtextOf(LAGresultValue(engine));
  if (result == text) return;
  // The script may have reshaped the field; the first value of the first repeat takes the text.
  if (repeats.countOfFieldRepeat() == 0) repeats.setCountOfFieldRepeat(1);
  SGMfield& target = repeats.fieldRepeat(0);
  if (target.countOfSubField() == 0) target.setCountOfSubField(1);
  SGMstringPoolSetValue(target.value(0, 0), pool, result.data(), static_cast<uint32_t>(result.size()));
}

// --- the legacy parser, and outgoing segment functions

void LAGexecuteSegmentEquation(const LANfunction& function, QVMuntypedMessageTree* field,
                               LAGenvironment& environment) {
  COL_PRECONDITION_TEXT(field != nullptr, "pField != NULL");
  LANengine& engine = LAGengineOf(function);
  LANengineSwap swap(engine);
  LAGstandardPrep(function, LAGsegmentEquation, environment);
  environment.setIncomingField(field);
  struct FieldReset {
    LAGenvironment& environment;
    ~FieldReset() { environment.setIncomingField(static_cast<QVMuntypedMessageTree*>(nullptr)); }
  } fieldReset{environment};
  LAGenvironmentBinding environmentBinding(engine.localDictionary(), environment);
  const COLstring text = field->getFirstValue();
  PyObject* fieldModule = LAGimport("brelmont.QVMquovaneTreeFieldObject");
  SGPYlentObjects lent;
  LANobjectPtr fieldHandle = lent.lend(*field), zero = PyLong_FromLong(0);
  LANobjectPtr fieldObject = LAGcall(fieldModule, "QuovaneTreeFieldObject", fieldHandle.get(), zero.get());
  LANobjectPtr given = LANcheckCall(LANstringToPython(text));
  LAGbinding fieldBinding(engine.localDictionary(), "field", fieldObject);
  LAGbinding valueBinding(engine.localDictionary(), "value", given);
  function.execute();
  const COLstring result = LAGtextOf(LAGresultValue(engine));
  if (result != text) field->setFirstValue(result);
}

namespace {

// The error a rule raised through qvmexception, or null when the exception is of another kind.
std::optional<COLerror> LAGruleError(PyObject* exceptionModule, PyObject* value) {
  if (value == nullptr) return std::nullopt;
  LANobjectPtr candidate = PyObject_GetAttrString(value, "errorobject");
  if (!candidate) {
    PyErr_Clear();
    candidate = Py_NewRef(value);
  }
  LANobjectPtr accepted = LANcheckCall(LAGcall(exceptionModule, "CheckTypeQuovaneException", candidate.get()));
  if (PyObject_IsTrue(accepted) != 1) return std::nullopt;
  LANobjectPtr exceptionClass = LANcheckCall(PyObject_GetAttrString(exceptionModule, "QuovaneException"));
  LANobjectPtr handle = LAGcall(exceptionClass, "colErrorHandle", candidate.get());
  COLerror copy = SGPYtakeError(handle);
  copy.setCode(COL_ERROR_VALIDATION_RULE);
  return copy;
}

}  // namespace

namespace {

// What every validation rule script sees besides its objects: qvmexception, bound in the globals
// and in the module quovane, the exception class, and quovane's names.
class LAGruleScope {
public:
  explicit LAGruleScope(PyObject* globals)
      : m_ExceptionModule(LAGimport("brelmont.COLquovaneException")),
        m_Exception(LAGcall(m_ExceptionModule, "CreateLegacyExceptionObject")) {
    LANcheckStatus(PyDict_SetItemString(globals, "qvmexception", m_Exception));
    PyObject* quovane = static_cast<PyObject*>(LAGfindQuovaneModule());
    LANcheckStatus(PyDict_SetItemString(PyModule_GetDict(quovane), "qvmexception", m_Exception));
    LANobjectPtr exceptionClass = LANcheckCall(PyObject_GetAttrString(m_ExceptionModule, "QuovaneException"));
    m_ClassBinding.emplace(globals, "QuovaneException", exceptionClass);
    LAGimportQuovaneNames(globals);
  }

  // Runs the rule; a raise of qvmexception comes back as the rule's COLerror, any other error as
  // the Python error with its traceback.
  void run(const LANfunction& function, PyObject* globals, PyObject* locals) {
    LANobjectPtr result = PyEval_EvalCode(reinterpret_cast<PyObject*>(function.compiledModule()), globals, locals);
    if (result && !PyErr_Occurred()) return;
    PyObject *type = nullptr, *value = nullptr, *traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    if (traceback != nullptr && value != nullptr) PyException_SetTraceback(value, traceback);
    std::optional<COLerror> raised;
    try {
      raised = LAGruleError(m_ExceptionModule, value);
    } catch (...) {
      Py_XDECREF(type);
      Py_XDECREF(value);
      Py_XDECREF(traceback);
      throw;
    }
    if (raised) {
      Py_XDECREF(type);
      Py_XDECREF(value);
      Py_XDECREF(traceback);
      throw *raised;
    }
    LANhandleError(type, value, traceback);
  }

private:
  PyObject* m_ExceptionModule;
  LANobjectPtr m_Exception;
  std::optional<LAGbinding> m_ClassBinding;
};

// The owner of a rule's objects: once the rule has run they refuse every use, so a script that
// keeps one in a global cannot reach a finished message or its grammar check.
class LAGruleOwner {
public:
  explicit LAGruleOwner(LAGenvironment& environment)
      : m_Object(LANcheckCall(LAGnewEnvironmentObject(&environment))) {}
  ~LAGruleOwner() { LAGdetachEnvironmentObject(m_Object); }
  LAGruleOwner(const LAGruleOwner&) = delete;
  LAGruleOwner& operator=(const LAGruleOwner&) = delete;
  PyObject* get() const { return m_Object.get(); }

private:
  LANobjectPtr m_Object;
};

}  // namespace

void LAGexecutePythonValidationRule(const LANfunction& function, LANengine& engine, SGMstringPool& pool,
                                    SGMsegment& segment, unsigned fieldIndex) {
  COL_PRECONDITION_TEXT(function.isValidAndCompiled(), "Function.isValidAndCompiled()");
  LANengineSwap swap(engine);
  PyObject* globals = engine.globalDictionary();
  PyObject* locals = engine.localDictionary();
  LAGruleScope scope(globals);
  PyObject* sgm = LAGimport("brelmont.SGM");
  PyObject* fieldModule = LAGimport("brelmont.SGMquovaneFieldObject");
  PyObject* segmentModule = LAGimport("brelmont.SGMquovaneSegmentObject");

  SGPYlentObjects lent;
  LANobjectPtr poolHandle = lent.lend(pool), segmentHandle = lent.lend(segment);
  LANobjectPtr poolObject = LAGcall(sgm, "SGMstringPool", poolHandle.get());
  LANobjectPtr segmentObject = LAGcall(segmentModule, "QuovaneSegmentObject", poolObject.get(),
                                       LANobjectPtr(LAGcall(sgm, "SGMsegment", segmentHandle.get())).get());
  LAGbinding segmentBinding(locals, "segment", segmentObject);
  LANobjectPtr field;
  if (fieldIndex < segment.countOfField()) {
    LANobjectPtr repeatsHandle = lent.lend(segment.fieldRepeats(fieldIndex)), zero = PyLong_FromLong(0);
    LANobjectPtr repeatsObject = LAGcall(sgm, "SGMfieldRepeats", repeatsHandle.get());
    field = LAGcall(fieldModule, "QuovaneFieldObject", poolObject.get(), repeatsObject.get(), zero.get());
  } else {
    field = Py_NewRef(Py_None);
  }
  LAGbinding fieldBinding(locals, "validation_field", field);
  scope.run(function, globals, locals);
}

void LAGexecutePythonValidationRule(const LANfunction& function, QVMtypedMessageTree* segment, unsigned fieldIndex,
                                    QVMmessageGrammar* grammar, LAGmessageGrammarListener* listener,
                                    const QVMsegmentValidationRule* rule, LAGenvironment& environment) {
  COL_PRECONDITION_TEXT(function.isValidAndCompiled(), "Function.isValidAndCompiled()");
  COL_PRECONDITION(segment != nullptr);
  LANengine& engine = LAGengineOf(function);
  LANengineSwap swap(engine);
  PyObject* globals = engine.globalDictionary();
  PyObject* locals = engine.localDictionary();
  LAGruleScope scope(globals);
  LAGruleOwner owner(environment);

  LANobjectPtr segmentObject = LANcheckCall(LAGnewTypedSegmentObject(owner.get(), segment));
  LAGbinding segmentBinding(locals, "segment", segmentObject);
  const bool hasField = fieldIndex < segment->countOfSubNode() && segment->node(fieldIndex, 0) != nullptr;
  LANobjectPtr field = hasField ? LANcheckCall(LAGnewTypedFieldObject(owner.get(), segment->node(fieldIndex, 0)))
                                : Py_NewRef(Py_None);
  LAGbinding fieldBinding(locals, "validation_field", field);
  // Only a situational rule stands on the message grammar; elsewhere the name stays unbound.
  std::optional<LAGbinding> grammarBinding;
  if (grammar != nullptr) {
    LANobjectPtr iterator = LANcheckCall(LAGnewMessageGrammarIteratorObject(grammar, listener, rule, owner.get()));
    grammarBinding.emplace(locals, "message_grammar_iterator", iterator);
  }
  scope.run(function, globals, locals);
}

// --- table equations

namespace {

PyObject* LAGcellToPython(QVMtableInternal& table, unsigned column, unsigned row, bool disablePythonNone) {
  const QVMtableInternalState state = table.state(column, row);
  const QVMdataType type = table.columnType(column);
  const bool isNull = state == QVMtableStateNull;
  if (isNull && !disablePythonNone) return Py_NewRef(Py_None);
  if (state == QVMtableStateInvalid) return LANstringToPython(table.getStringValue(column, row));
  switch (type) {
    case QVMstringType:
      return isNull ? LANstringToPython("", 0) : LANstringToPython(table.getStringValue(column, row));
    case QVMintegerType:
      return PyLong_FromLong(isNull ? 0 : table.getInteger(column, row));
    case QVMdoubleType:
      return PyFloat_FromDouble(isNull ? 0.0 : table.getDouble(column, row));
    case QVMdateTimeType:
      return PyFloat_FromDouble(isNull ? 0.0 : static_cast<double>(table.getDateTime(column, row)));
    default:
      throw COLerror("Unknown state for table data", COL_ERROR_PRECONDITION);
  }
}

void LAGcellFromPython(QVMtableInternal& table, unsigned column, unsigned row, PyObject* value,
                       bool disablePythonNone) {
  const bool hadValue = table.state(column, row) == QVMtableStateValue;
  if (value == Py_None && !disablePythonNone) {
    if (table.state(column, row) != QVMtableStateNull) table.setNull(column, row);
    return;
  }
  if (PyUnicode_Check(value) && PyUnicode_GetLength(value) == 2 && PyUnicode_ReadChar(value, 0) == '"' &&
      PyUnicode_ReadChar(value, 1) == '"') {
    table.setPresentButNull(column, row);
    return;
  }
  switch (table.columnType(column)) {
    case QVMstringType: {
      COLstring text = LAGtextOf(value);
      if (!hadValue || table.getString(column, row) != text) table.setString(column, row, text);
      return;
    }
    case QVMintegerType: {
      if (!PyLong_Check(value)) LAGwrongType(value, "an int");
      const long number = PyLong_AsLong(value);
      LANcheckCall();
      if (number < INT32_MIN || number > INT32_MAX) throw COLerror("OverflowError: the script's value does not fit an integer column", COL_ERROR_PRECONDITION);
      if (!hadValue || table.getInteger(column, row) != number) table.setInteger(column, row, static_cast<int32_t>(number));
      return;
    }
    case QVMdoubleType:
    case QVMdateTimeType: {
      if (!PyFloat_Check(value) && !PyLong_Check(value)) LAGwrongType(value, "a float");
      const double number = PyFloat_AsDouble(value);
      LANcheckCall();
      if (table.columnType(column) == QVMdoubleType) {
        if (!hadValue || table.getDouble(column, row) != number) table.setDouble(column, row, number);
      } else if (!hadValue || static_cast<double>(table.getDateTime(column, row)) != number) {
        table.setDateTime(column, row, COLdateTime(number));
      }
      return;
    }
    default:
      throw COLerror("Unknown state for table data", COL_ERROR_PRECONDITION);
  }
}

}  // namespace

void LAGexecuteTableEquation(const LANfunction& function, LANengine& engine, QVMtableInternal& table,
                             unsigned column, unsigned row, bool& removeRow, bool disablePythonNone,
                             LAGenvironment& environment) {
  LANengineSwap swap(engine);
  PyObject* locals = engine.localDictionary();
  LANobjectPtr given = LANcheckCall(LAGcellToPython(table, column, row, disablePythonNone));
  LANobjectPtr state = LANcheckCall(PyLong_FromUnsignedLong(table.state(column, row)));
  PyObject* tableModule = LAGimport("brelmont.QVMquovaneTableObject");
  LANobjectPtr flag = LANcheckCall(PyLong_FromLong(removeRow ? 1 : 0));
  LANobjectPtr tableObject = LAGcall(tableModule, "QuovaneTableObject", flag.get());
  LAGenvironmentBinding environmentBinding(locals, environment);
  LAGbinding valueBinding(locals, "value", given);
  LAGbinding stateBinding(locals, "value_state", state);
  LAGbinding tableBinding(locals, "table", tableObject);
  function.execute();
  LAGcellFromPython(table, column, row, LAGresultValue(engine), disablePythonNone);
  LANobjectPtr remove = LAGcall(tableModule, "QuovaneTableObjectGetRemoveCurrentRow", tableObject.get());
  const int isTrue = PyObject_IsTrue(remove);
  if (isTrue < 0) LANhandleError();
  removeRow = isTrue == 1;
}

// --- variables and texts

void LAGcheckKey(const char* key, const char* reserved) {
  if (std::strcmp(key, reserved) == 0)
    throw COLerror(COLstring(key) + " is a reserved variable in the global python context ", COL_ERROR_RESOURCE);
}

void LAGsetKeyValuePair(LANengine& engine, const char* key, const char* value) {
  COL_PRECONDITION(key != nullptr && value != nullptr);
  for (const char* reserved : {"value", "environment", "field", "segment", "validation_field", "qvmexception",
                               "message_grammar_iterator"})
    LAGcheckKey(key, reserved);
  engine.setPythonVariable(key, value);
}

void LAGdecoratePythonError(const COLerror& error) {
  COLstring text =
      "An error occured within Python. The most likely cause is that the Python engine cannot find its "
      "initialization files, or the user ID that you are running your program under does not have the correct "
      "permissions to read these files. By default Quovane looks in a directory called 'python_lib'. If these "
      "files are located elsewhere, you can set the variable QVM_PYTHON_LIB_PATH appropriately. Currently ";
  if (const char* path = std::getenv("QVM_PYTHON_LIB_PATH"))
    text += COLstring("'") + path + "'. ";
  else
    text += "this variable is not defined. ";
  std::string directory(4096, '\0');
  const char* here = getcwd(directory.data(), directory.size());
  text += COLstring("Your current working directory is '") + (here ? here : "") +
          "'. Please consult the manual on Unix deployment before contacting support.\r\n\r\nOriginal Error:\r\n" +
          error.description();
  throw COLerror(text, COL_ERROR_PRECONDITION);
}
