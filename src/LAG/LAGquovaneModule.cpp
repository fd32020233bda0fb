// The module quovane and the environment object: what every script sees by plain name after
// "from quovane import *", and its `environment`.
#include "LANpython.h"

#include <exception>

#include "FMTprintable.h"
#include "LAGexecute.h"
#include "LAGquovane.h"
#include "QVMconfig.h"
#include "QVMdateTimeGrammar.h"
#include "QVMdateTimeInternal.h"
#include "QVMengineInternal.h"
#include "QVPcompositeGenerator.h"
#include "SGCcheck.h"

namespace {

struct LAGquovaneEnvironmentObject {
  PyObject_HEAD
  LAGenvironment* pEnvironment;
};

extern PyTypeObject LAGenvironmentType;

}  // namespace

LAGenvironment* LAGenvironmentOf(PyObject* object) {
  if (!PyObject_TypeCheck(object, &LAGenvironmentType)) {
    PyErr_SetString(PyExc_TypeError, "the first argument must be the script's environment");
    return nullptr;
  }
  LAGenvironment* environment = reinterpret_cast<LAGquovaneEnvironmentObject*>(object)->pEnvironment;
  if (environment == nullptr)
    PyErr_SetString(PyExc_RuntimeError, "The environment is only available during the script call that got it");
  return environment;
}

namespace {

PyObject* LAGone() { return PyLong_FromLong(1); }

PyObject* LAGtext(const COLstring& text) { return LANstringToPython(text); }

PyObject* LAGchar(char c) { return LANstringToPython(&c, 1); }

// --- the environment object

// The work of an environment method or function, once its environment is known to be live.
template <class Body>
PyObject* LAGwithEnvironment(PyObject* object, Body body) {
  LAGenvironment* environment = LAGenvironmentOf(object);
  if (environment == nullptr) return nullptr;
  return LANguard([&] { return body(*environment); });
}

PyObject* environmentTableDefinition(PyObject* self, PyObject*) {
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) {
    COL_PRECONDITION_TEXT(environment.tableDefinition() != nullptr, "TableDefinition->pTableDefinition != NULL");
    return LAGnewTableDefinitionObject(self, environment.tableDefinition());
  });
}

PyObject* environmentCountOfGeneratedSegment(PyObject* self, PyObject*) {
  return LAGwithEnvironment(
      self, [](LAGenvironment& environment) { return PyLong_FromUnsignedLong(environment.countOfGeneratedSegment()); });
}

PyObject* environmentGetDatabase(PyObject* self, PyObject* args) { return LAGgetDatabase(self, args); }

PyObject* environmentGetDefaultDatabase(PyObject* self, PyObject*) { return LAGgetDefaultDatabase(self); }

PyObject* environmentInputSegmentIterator(PyObject* self, PyObject*) {
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) -> PyObject* {
    if (environment.segmentList() == nullptr)
      throw COLerror("input_segment_iterator works on a list of raw segments, which this engine's parser does "
                     "not build; use field and segment objects instead.",
                     COL_ERROR_PRECONDITION);
    return LAGnewSegmentIteratorObject(self, environment);
  });
}

PyObject* environmentOutputTable(PyObject* self, PyObject*) {
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) -> PyObject* {
    if (environment.resultTable() == nullptr)
      throw COLerror("Table iterator is not available in this context.", COL_ERROR_PRECONDITION);
    return LAGnewTableIteratorObject(self, environment.resultTable());
  });
}

// --- date-times by the named grammars of the engine

const QVMdateTimeGrammar& LAGdateTimeGrammar(const LAGenvironment& environment, const COLstring& name) {
  COL_PRECONDITION_TEXT(environment.engine() != nullptr, "Environment.engine() != NULL");
  const QVMengineInternal& engine = *environment.engine();
  const uint32_t index = engine.dateTimeGrammarByName(name);
  if (index >= engine.countOfDateTimeGrammar())
    throw COLerror("No DateTime Grammar by name " + name, COL_ERROR_RESOURCE);
  return *engine.dateTimeGrammar(index);
}

// Arguments of the date-time methods; a wrong call is named with its usage, not the parser's words.
template <class Body>
PyObject* LAGdateTimeMethod(PyObject* self, PyObject* args, const char* usage, Body body) {
  PyObject *first = nullptr, *second = nullptr;
  COLstring text, name;
  const bool parsed = PyArg_ParseTuple(args, "OO", &first, &second) && LANstringFromPython(second, name) &&
                      (PyUnicode_Check(first) ? LANstringFromPython(first, text) : PyNumber_Check(first));
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) -> PyObject* {
    if (!parsed) {
      PyErr_Clear();
      throw COLerror(usage, COL_ERROR_RESOURCE);
    }
    return body(environment, first, text, name);
  });
}

double LAGdoubleArgument(PyObject* number, const char* usage) {
  const double value = PyFloat_AsDouble(number);
  if (value == -1.0 && PyErr_Occurred()) {
    PyErr_Clear();
    throw COLerror(usage, COL_ERROR_RESOURCE);
  }
  return value;
}

PyObject* environmentDateTimeToDouble(PyObject* self, PyObject* args) {
  static const char* usage =
      "Invalid arguments for date_time_to_double - date_time_to_double(value,DateTimeGrammarName)";
  return LAGdateTimeMethod(self, args, usage, [&](LAGenvironment& environment, PyObject* value,
                                                       const COLstring& text, const COLstring& name) {
    if (!PyUnicode_Check(value)) throw COLerror(usage, COL_ERROR_RESOURCE);
    const QVMdateTimeGrammar& grammar = LAGdateTimeGrammar(environment, name);
    SGMvalue given;
    given.set(text.data(), static_cast<uint32_t>(text.size()));
    QVMdateTimeInternal result;
    if (!SGCdateTimeGrammarConvertStringToDateTime(grammar, given, result))
      throw COLerror("'" + text + "' is not a date-time by the DateTime Grammar " + name, COL_ERROR_RESOURCE);
    return PyFloat_FromDouble(result.isNull() ? 0.0 : static_cast<double>(result));
  });
}

PyObject* environmentDoubleToDateTime(PyObject* self, PyObject* args) {
  static const char* usage =
      "Invalid arguments for double_to_date_time - double_to_date_time(DoubleValue,DateTimeGrammarName)";
  return LAGdateTimeMethod(self, args, usage, [&](LAGenvironment& environment, PyObject* value,
                                                       const COLstring&, const COLstring& name) {
    if (PyUnicode_Check(value)) throw COLerror(usage, COL_ERROR_RESOURCE);
    const double number = LAGdoubleArgument(value, usage);
    COLstring text;
    QVPdateTimeGrammarConvertDateTimeToString(LAGdateTimeGrammar(environment, name), COLdateTime(number), text);
    return LAGtext(text);
  });
}

PyObject* environmentFormatDateTime(PyObject* self, PyObject* args) {
  static const char* usage =
      "Invalid arguments for format_date_time - format_date_time(DoubleValue, FormatString)";
  return LAGdateTimeMethod(self, args, usage, [&](LAGenvironment&, PyObject* value, const COLstring&,
                                                       const COLstring& format) {
    if (PyUnicode_Check(value)) throw COLerror(usage, COL_ERROR_RESOURCE);
    return LAGtext(QVMdateTimeInternal(COLdateTime(LAGdoubleArgument(value, usage))).format(format));
  });
}

PyMethodDef EnvironmentMethods[] = {
    {"input_segment_iterator", environmentInputSegmentIterator, METH_NOARGS, nullptr},
    {"table_definition", environmentTableDefinition, METH_NOARGS, nullptr},
    {"count_of_generated_segment", environmentCountOfGeneratedSegment, METH_NOARGS, nullptr},
    {"output_table", environmentOutputTable, METH_NOARGS, nullptr},
    {"date_time_to_double", environmentDateTimeToDouble, METH_VARARGS, nullptr},
    {"double_to_date_time", environmentDoubleToDateTime, METH_VARARGS, nullptr},
    {"format_date_time", environmentFormatDateTime, METH_VARARGS, nullptr},
    {"get_database", environmentGetDatabase, METH_VARARGS, nullptr},
    {"get_default_database", environmentGetDefaultDatabase, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGenvironmentType =
    LAGmakeObjectType("Quovane Environment", sizeof(LAGquovaneEnvironmentObject), EnvironmentMethods, nullptr);

// --- module functions

void LAGcheckLevel(const LAGenvironment& environment, long level) {
  LANcheckMin(level, 0, "Char Index (2nd argument)");
  LANcheckMax(level, static_cast<long long>(environment.config().countOfLevel()), "CharIndex (2nd Argument)");
}

void LAGcheckFieldAndRepeat(long field, long repeat) {
  LANcheckMin(field, 0, "FieldIndex (2nd argument)");
  LANcheckMin(repeat, 0, "RepeatIndex (3rd Argument)");
}

PyObject* quovaneSeparatorChar(PyObject*, PyObject* args) {
  PyObject* self = nullptr;
  long level = 0;
  if (!PyArg_ParseTuple(args, "Ol", &self, &level)) return LANhandleBadArguments("separator_char");
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) {
    LAGcheckLevel(environment, level);
    return LAGchar(environment.separatorChar(static_cast<unsigned>(level)));
  });
}

// The first character of a text argument; an empty text is refused.
bool LAGfirstChar(PyObject* text, char& c) {
  COLstring bytes;
  if (!LANstringFromPython(text, bytes) || bytes.empty()) {
    PyErr_SetString(PyExc_TypeError, "a text of at least one character below 256 is needed");
    return false;
  }
  c = bytes[0];
  return true;
}

PyObject* quovaneSetSeparatorChar(PyObject*, PyObject* args) {
  PyObject *self = nullptr, *text = nullptr;
  long level = 0;
  char c = 0;
  if (!PyArg_ParseTuple(args, "OlO", &self, &level, &text) || !LAGfirstChar(text, c))
    return LANhandleBadArguments("set_separator_char");
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) {
    LAGcheckLevel(environment, level);
    environment.setSeparatorChar(static_cast<unsigned>(level), c);
    return LAGone();
  });
}

template <class Get>
PyObject* LAGenvironmentGetter(PyObject* args, const char* name, Get get) {
  PyObject* self = nullptr;
  if (!PyArg_ParseTuple(args, "O", &self)) return LANhandleBadArguments(name);
  return LAGwithEnvironment(self, get);
}

template <class Set>
PyObject* LAGenvironmentCharSetter(PyObject* args, const char* name, Set set) {
  PyObject *self = nullptr, *text = nullptr;
  char c = 0;
  if (!PyArg_ParseTuple(args, "OO", &self, &text) || !LAGfirstChar(text, c)) return LANhandleBadArguments(name);
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) {
    set(environment, c);
    return LAGone();
  });
}

PyObject* quovaneEscapeChar(PyObject*, PyObject* args) {
  return LAGenvironmentGetter(args, "escape_char", [](LAGenvironment& e) { return LAGchar(e.escapeChar()); });
}

PyObject* quovaneSetEscapeChar(PyObject*, PyObject* args) {
  return LAGenvironmentCharSetter(args, "set_escape_char", [](LAGenvironment& e, char c) { e.setEscapeChar(c); });
}

PyObject* quovaneRepeatChar(PyObject*, PyObject* args) {
  return LAGenvironmentGetter(args, "repeat_char", [](LAGenvironment& e) { return LAGchar(e.repeatChar()); });
}

PyObject* quovaneSetRepeatChar(PyObject*, PyObject* args) {
  return LAGenvironmentCharSetter(args, "set_repeat_char", [](LAGenvironment& e, char c) { e.setRepeatChar(c); });
}

PyObject* quovaneClearField(PyObject*, PyObject* args) {
  return LAGenvironmentGetter(args, "clearfield", [](LAGenvironment& e) {
    e.clearField();
    return LAGone();
  });
}

PyObject* quovaneCountOfSegment(PyObject*, PyObject* args) {
  return LAGenvironmentGetter(args, "count_of_segment", [](LAGenvironment& e) {
    return PyLong_FromUnsignedLong(e.countOfSegmentInMessage());
  });
}

PyObject* quovaneCountOfRepeat(PyObject*, PyObject* args) {
  return LAGenvironmentGetter(args, "count_of_repeat",
                              [](LAGenvironment& e) { return PyLong_FromUnsignedLong(e.countOfRepeat()); });
}

PyObject* quovaneCountOfSubfield(PyObject*, PyObject* args) {
  return LAGenvironmentGetter(args, "count_of_subfield",
                              [](LAGenvironment& e) { return PyLong_FromUnsignedLong(e.countOfSubfield()); });
}

PyObject* quovaneSubfield(PyObject*, PyObject* args) {
  PyObject* self = nullptr;
  long field = 0, repeat = 0;
  if (!PyArg_ParseTuple(args, "Oll", &self, &field, &repeat)) return LANhandleBadArguments("subfield");
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) {
    LAGcheckFieldAndRepeat(field, repeat);
    return LAGtext(environment.subfield(static_cast<unsigned>(field), static_cast<unsigned>(repeat)));
  });
}

PyObject* quovaneSetSubfield(PyObject*, PyObject* args) {
  PyObject *self = nullptr, *text = nullptr;
  long field = 0, repeat = 0;
  COLstring bytes;
  if (!PyArg_ParseTuple(args, "OllO", &self, &field, &repeat, &text)) return LANhandleBadArguments("setsubfield");
  if (!LANstringFromPython(text, bytes)) {
    PyErr_SetString(PyExc_TypeError, "the text must be a str of characters below 256");
    return LANhandleBadArguments("setsubfield");
  }
  return LAGwithEnvironment(self, [&](LAGenvironment& environment) {
    LAGcheckFieldAndRepeat(field, repeat);
    environment.setSubField(static_cast<unsigned>(field), static_cast<unsigned>(repeat), bytes);
    return LAGone();
  });
}

// Text functions take and give str, byte for byte as Latin-1.
template <class Body>
PyObject* LAGtextFunction(PyObject* args, const char* format, const char* name, Body body) {
  PyObject *first = nullptr, *second = nullptr;
  COLstring text, chars;
  if (!PyArg_ParseTuple(args, format, &first, &second)) return LANhandleBadArguments(name);
  if (!LANstringFromPython(first, text) || (second != nullptr && !LANstringFromPython(second, chars))) {
    PyErr_SetString(PyExc_TypeError, "the texts must be str of characters below 256");
    return LANhandleBadArguments(name);
  }
  return LANguard([&] { return LAGtext(body(text, chars)); });
}

PyObject* quovaneStripNonNumeric(PyObject*, PyObject* args) {
  return LAGtextFunction(args, "O|O", "strip_non_numeric_chars", [](const COLstring& text, const COLstring&) {
    COLstring digits;
    for (char c : text.view())
      if (LANisDigit(c)) digits += c;
    return digits;
  });
}

COLstring LAGstripText(const COLstring& text, const COLstring& chars, int side) {
  return chars.empty() ? text : text.strip(side, chars[0]);
}

PyObject* quovaneStripLeading(PyObject*, PyObject* args) {
  return LAGtextFunction(args, "OO", "strip_leading_chars", [](const COLstring& text, const COLstring& chars) {
    return LAGstripText(text, chars, COLstring::StripLeading);
  });
}

PyObject* quovaneStripTrailing(PyObject*, PyObject* args) {
  return LAGtextFunction(args, "OO", "strip_trailing_chars", [](const COLstring& text, const COLstring& chars) {
    return LAGstripText(text, chars, COLstring::StripTrailing);
  });
}

PyObject* quovaneStripChars(PyObject*, PyObject* args) {
  return LAGtextFunction(args, "OO", "strip_chars", [](const COLstring& text, const COLstring& chars) {
    COLstring result = text;
    if (!chars.empty()) result.stripAll(chars[0]);
    return result;
  });
}

PyObject* quovaneConvertLinefeeds(PyObject*, PyObject* args) {
  return LAGtextFunction(args, "O|O", "convert_linefeeds", [](const COLstring& text, const COLstring&) {
    return FMTmakeMessagePrintable(text.view(), "\r\n");
  });
}

PyObject* quovaneLog(PyObject*, PyObject* args) {
  PyObject* text = nullptr;
  if (!PyArg_ParseTuple(args, "O", &text) || !PyUnicode_Check(text)) {
    if (!PyErr_Occurred()) PyErr_SetString(PyExc_TypeError, "log takes one str");
    return LANhandleBadArguments("log");
  }
  LANobjectPtr io = PyImport_ImportModule("_brelmont_io");
  if (!io) return nullptr;
  LANobjectPtr line = PyUnicode_FromFormat("%U\n", text);
  if (!line) return nullptr;
  LANobjectPtr done = PyObject_CallMethod(io, "write", "O", line.get());
  return done ? LAGone() : nullptr;
}

PyMethodDef QuovaneMethods[] = {
    {"separator_char", quovaneSeparatorChar, METH_VARARGS, nullptr},
    {"set_separator_char", quovaneSetSeparatorChar, METH_VARARGS, nullptr},
    {"escape_char", quovaneEscapeChar, METH_VARARGS, nullptr},
    {"set_escape_char", quovaneSetEscapeChar, METH_VARARGS, nullptr},
    {"repeat_char", quovaneRepeatChar, METH_VARARGS, nullptr},
    {"set_repeat_char", quovaneSetRepeatChar, METH_VARARGS, nullptr},
    {"clearfield", quovaneClearField, METH_VARARGS, nullptr},
    {"setsubfield", quovaneSetSubfield, METH_VARARGS, nullptr},
    {"subfield", quovaneSubfield, METH_VARARGS, nullptr},
    {"count_of_segment", quovaneCountOfSegment, METH_VARARGS, nullptr},
    {"count_of_repeat", quovaneCountOfRepeat, METH_VARARGS, nullptr},
    {"count_of_subfield", quovaneCountOfSubfield, METH_VARARGS, nullptr},
    {"strip_non_numeric_chars", quovaneStripNonNumeric, METH_VARARGS, nullptr},
    {"strip_leading_chars", quovaneStripLeading, METH_VARARGS, nullptr},
    {"strip_trailing_chars", quovaneStripTrailing, METH_VARARGS, nullptr},
    {"strip_chars", quovaneStripChars, METH_VARARGS, nullptr},
    {"log", quovaneLog, METH_VARARGS, nullptr},
    {"convert_linefeeds", quovaneConvertLinefeeds, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

int quovaneExec(PyObject*) {
  if (PyType_Ready(&LAGenvironmentType) < 0) return -1;
  return 0;
}

PyModuleDef_Slot QuovaneSlots[] = {{Py_mod_exec, reinterpret_cast<void*>(quovaneExec)}, {0, nullptr}};

PyModuleDef QuovaneModule = {
    PyModuleDef_HEAD_INIT, "quovane", "What scripts of a definition see of the engine.", 0, QuovaneMethods,
    QuovaneSlots,          nullptr,   nullptr,                                           nullptr,
};

PyObject* LAGcreateQuovaneModule() { return PyModuleDef_Init(&QuovaneModule); }

}  // namespace

PyObject* LAGnewEnvironmentObject(LAGenvironment* environment) {
  if (PyType_Ready(&LAGenvironmentType) < 0) return nullptr;
  auto* object = PyObject_New(LAGquovaneEnvironmentObject, &LAGenvironmentType);
  if (object != nullptr) object->pEnvironment = environment;
  return reinterpret_cast<PyObject*>(object);
}

PyTypeObject LAGmakeObjectType(const char* name, size_t size, PyMethodDef* methods, void (*dealloc)(PyObject*),
                               PyObject* (*str)(PyObject*)) {
  PyTypeObject type{};
  type.ob_base.ob_base.ob_refcnt = 1;  // static types are never freed
  type.tp_name = name;
  type.tp_basicsize = static_cast<Py_ssize_t>(size);
  type.tp_flags = Py_TPFLAGS_DEFAULT;
  type.tp_methods = methods;
  type.tp_dealloc = dealloc;
  type.tp_str = str;
  return type;
}

bool LAGownerIsLive(PyObject* owner) { return owner == nullptr || LAGenvironmentOf(owner) != nullptr; }

void LAGdetachEnvironmentObject(PyObject* object) {
  if (object != nullptr && PyObject_TypeCheck(object, &LAGenvironmentType))
    reinterpret_cast<LAGquovaneEnvironmentObject*>(object)->pEnvironment = nullptr;
}

void LAGinitQuovaneModule() {
  static bool done = false;
  if (!done) done = PyImport_AppendInittab("quovane", LAGcreateQuovaneModule) == 0;
}

void* LAGfindQuovaneModule() {
  PyObject* module = PyImport_ImportModule("quovane");
  if (module == nullptr) LANhandleError();
  // sys.modules keeps the module alive; callers borrow it.
  Py_DECREF(module);
  return module;
}
