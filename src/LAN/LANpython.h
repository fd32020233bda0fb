// LANpython: the interpreter's C interface for sources of the scripting layer, and the
// conversions of bytes to and from interpreter text.  Include it first: Python.h must come
// before any standard header.
//
// Message bytes cross into scripts as `str` decoded as Latin-1, one character per byte, and
// come back the same way, so every byte value survives the round trip untouched.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include "COLstring.h"
#include "LANengine.h"
#include "LANobject.h"

// A status of the C interface (0 good, -1 with an exception pending) checked as LANcheckCall does.
inline void LANcheckStatus(int status) {
  if (status != 0) LANhandleError();
}

// A new `str` holding the bytes as Latin-1 characters; null with a Python exception set on
// failure (memory only).
PyObject* LANstringToPython(const char* data, size_t size);
inline PyObject* LANstringToPython(const COLstring& text) { return LANstringToPython(text.data(), text.size()); }

// The bytes of a `str` whose characters all lie below 256, or of a `bytes` object, appended to
// `out`.  False, with no Python exception left pending, for any other object or character.
bool LANstringFromPython(PyObject* object, COLstring& out);

// For text shown to a person (log output, error texts): like LANstringFromPython, but a
// character above 255 is written as its escape ("\u20ac"), so nothing is dropped.
void LANstringFromPythonForDisplay(PyObject* object, COLstring& out);

// Source text as the compiler is given it: valid UTF-8, or text with a coding declaration, as
// it is; any other text is taken as Latin-1, the encoding of the messages it works on.
COLstring LANsourceForCompiler(const COLstring& code);

// C++ exceptions must not cross the interpreter's C frames.  Called inside a catch block: the
// exception being handled becomes a RuntimeError with its text, and null is returned for the
// C function to hand back.
PyObject* LANraiseFromCurrentException();

// Runs the work of a function called from scripts, turning any C++ exception into a Python one.
template <class F>
PyObject* LANguard(F&& body) {
  try {
    return body();
  } catch (...) {
    return LANraiseFromCurrentException();
  }
}
