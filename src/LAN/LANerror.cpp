// Python exceptions turned into COLerror, the byte conversions, and the small checks of the
// scripting layer.
#include "LANpython.h"

#include "LANengine.h"

namespace {

void appendWithoutLineEnds(COLstring& out, const COLstring& piece) {
  for (char c : piece.view()) {
    if (c != '\r' && c != '\n') out += c;
  }
}

// The line of a syntax error, or of the outermost frame of the traceback: the line of the
// script that was running.  0 when unknown.
long errorLine(PyObject* value, PyObject* traceback) {
  PyObject* source = nullptr;
  const char* attribute = nullptr;
  if (value != nullptr && PyErr_GivenExceptionMatches(value, PyExc_SyntaxError)) {
    source = value;
    attribute = "lineno";
  } else if (traceback != nullptr && traceback != Py_None) {
    source = traceback;
    attribute = "tb_lineno";
  }
  if (source == nullptr) return 0;
  LANobjectPtr line = PyObject_GetAttrString(source, attribute);
  long result = line && PyLong_Check(line.get()) ? PyLong_AsLong(line) : 0;
  PyErr_Clear();
  return result < 0 ? 0 : result;
}

}  // namespace

// --- conversions

PyObject* LANstringToPython(const char* data, size_t size) {
  return PyUnicode_DecodeLatin1(data, static_cast<Py_ssize_t>(size), nullptr);
}

bool LANstringFromPython(PyObject* object, COLstring& out) {
  if (object == nullptr) return false;
  if (PyUnicode_Check(object)) {
    // Text whose characters all lie below 256 is stored one byte a character: the bytes are
    // the Latin-1 text itself.
    if (PyUnicode_KIND(object) != PyUnicode_1BYTE_KIND) return false;
    out.append(static_cast<size_t>(PyUnicode_GET_LENGTH(object)), reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(object)));
    return true;
  }
  if (PyBytes_Check(object)) {
    out.append(static_cast<size_t>(PyBytes_GET_SIZE(object)), PyBytes_AS_STRING(object));
    return true;
  }
  return false;
}

void LANstringFromPythonForDisplay(PyObject* object, COLstring& out) {
  if (LANstringFromPython(object, out)) return;
  LANobjectPtr text;
  if (object != nullptr && !PyUnicode_Check(object)) {
    text = PyObject_Str(object);
    if (!text) {
      PyErr_Clear();
      out += "<unknown>";
      return;
    }
    object = text.get();
    if (LANstringFromPython(object, out)) return;
  }
  LANobjectPtr bytes = object ? PyUnicode_AsEncodedString(object, "latin-1", "backslashreplace") : nullptr;
  if (!bytes) {
    PyErr_Clear();
    out += "<unknown>";
    return;
  }
  out.append(static_cast<size_t>(PyBytes_GET_SIZE(bytes.get())), PyBytes_AS_STRING(bytes.get()));
}

namespace {

bool isValidUtf8(std::string_view text) {
  const size_t size = text.size();
  size_t i = 0;
  while (i < size) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      ++i;
      continue;
    }
    size_t extra = 0;
    unsigned char low = 0x80, high = 0xBF;  // range of the second byte
    if (c >= 0xC2 && c <= 0xDF) {
      extra = 1;
    } else if (c >= 0xE0 && c <= 0xEF) {
      extra = 2;
      if (c == 0xE0) low = 0xA0;
      if (c == 0xED) high = 0x9F;  // no surrogates
    } else if (c >= 0xF0 && c <= 0xF4) {
      extra = 3;
      if (c == 0xF0) low = 0x90;
      if (c == 0xF4) high = 0x8F;
    } else {
      return false;
    }
    if (size - i <= extra) return false;
    unsigned char second = static_cast<unsigned char>(text[i + 1]);
    if (second < low || second > high) return false;
    for (size_t k = 2; k <= extra; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    }
    i += extra + 1;
  }
  return true;
}

// A coding declaration on one of the first two lines, as the compiler reads it.
bool hasCodingDeclaration(std::string_view text) {
  for (int line = 0; line < 2 && !text.empty(); ++line) {
    size_t end = text.find('\n');
    std::string_view current = text.substr(0, end);
    size_t hash = current.find('#');
    if (hash != std::string_view::npos && current.substr(0, hash).find_first_not_of(" \t\f") == std::string_view::npos) {
      std::string_view comment = current.substr(hash);
      size_t coding = comment.find("coding");
      if (coding != std::string_view::npos && coding + 6 < comment.size() &&
          (comment[coding + 6] == ':' || comment[coding + 6] == '=')) {
        return true;
      }
    }
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return false;
}

}  // namespace

COLstring LANsourceForCompiler(const COLstring& code) {
  if (isValidUtf8(code.view()) || hasCodingDeclaration(code.view())) return code;
  COLstring result;
  result.reserve(code.size() + code.size() / 8);
  for (char c : code.view()) {
    unsigned char byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result += c;
    } else {
      result += static_cast<char>(0xC0 | (byte >> 6));
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

// --- errors

PyObject* LANcheckCall(PyObject* result) {
  if (result == nullptr) LANhandleError();
  return result;
}

void LANcheckCall() {
  if (PyErr_Occurred() != nullptr) LANhandleError();
}

void LANhandleError() {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  if (type == nullptr) throw COLerror("A Python call failed without saying why", COL_ERROR_PRECONDITION);
  LANhandleError(type, value, traceback);
}

void LANhandleError(PyObject* type, PyObject* value, PyObject* traceback) {
  if (type != nullptr) {
    PyErr_NormalizeException(&type, &value, &traceback);
    if (value != nullptr && traceback != nullptr && PyExceptionInstance_Check(value)) {
      PyException_SetTraceback(value, traceback);
    }
  }
  LANobjectPtr ownedType(type), ownedValue(value), ownedTraceback(traceback);
  COLstring text;
  if (!LANformatTraceback(traceback, type, value, text) || text.empty()) {
    text.clear();
    if (type != nullptr) text += LANconvertObjectToString(type);
    if (value != nullptr) {
      text += ": ";
      text += LANconvertObjectToString(value);
    }
    if (traceback != nullptr) {
      text += " ";
      text += LANconvertObjectToString(traceback);
    }
  }
  COLerror error(text, COL_ERROR_PRECONDITION);
  if (type != nullptr && PyType_Check(type)) {
    error.setParameter("python_exception", reinterpret_cast<PyTypeObject*>(type)->tp_name);
  }
  if (value != nullptr) error.setParameter("python_message", LANconvertObjectToString(value));
  long line = errorLine(value, traceback);
  if (line > 0) error.setParameter("line", static_cast<unsigned>(line));
  PyErr_Clear();
  throw error;
}

bool LANformatTraceback(PyObject* traceback, PyObject* type, PyObject* value, COLstring& out) {
  LANobjectPtr module = PyImport_ImportModule("traceback");
  LANobjectPtr function = module ? PyObject_GetAttrString(module, "format_exception") : nullptr;
  if (!function || !PyCallable_Check(function)) {
    PyErr_Clear();
    return false;
  }
  LANobjectPtr lines = PyObject_CallFunctionObjArgs(function, type ? type : Py_None, value ? value : Py_None,
                                                    traceback ? traceback : Py_None, nullptr);
  if (!lines || !PyList_Check(lines.get()) || PyList_GET_SIZE(lines.get()) == 0) {
    PyErr_Clear();
    return false;
  }
  for (Py_ssize_t i = 0; i < PyList_GET_SIZE(lines.get()); ++i) {
    COLstring piece;
    LANstringFromPythonForDisplay(PyList_GET_ITEM(lines.get(), i), piece);
    appendWithoutLineEnds(out, piece);
    out += "\r\n";
  }
  return true;
}

PyObject* LANhandleBadArguments(const char* function) {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  LANobjectPtr ownedType(type), ownedValue(value), ownedTraceback(traceback);
  COLstring text = "Bad arguments for calling '";
  text += function;
  text += "' ";
  if (value != nullptr) text += LANconvertObjectToString(value);
  LANobjectPtr message = LANstringToPython(text);
  if (message) PyErr_SetObject(PyExc_TypeError, message);
  return nullptr;
}

COLstring LANconvertObjectToString(PyObject* object) {
  COLstring text;
  if (object == nullptr) return "<unknown>";
  LANstringFromPythonForDisplay(object, text);
  return text;
}

// --- small checks

void LANcheckMin(long long value, long long min, const char* name) {
  if (value >= min) return;
  COLstring text;
  COLostream(text) << "Range index error. " << name << " was " << value
                   << " when it should have been greater or equal to " << min;
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

void LANcheckMax(long long value, long long max, const char* name) {
  if (value < max) return;
  COLstring text;
  COLostream(text) << "Range index error. " << name << " was " << value << " when it should have been less than "
                   << max;
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

bool LANisDigit(char c) { return c >= '0' && c <= '9'; }

void LANstripCarriageReturnChars(COLstring& text) { text.stripAll('\r'); }
