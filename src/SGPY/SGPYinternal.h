// What the source files of the module "sgpy" share: the handle checks against the interpreter's
// registry, and each file's part of the function table.  Include after LANpython.h.
#pragma once

#include <cstdint>
#include <vector>

#include "SGPYregistry.h"

class COLerror;
class QVMuntypedMessageTree;
class SGMfield;
class SGMfieldRepeats;
class SGMsegment;
class SGMsegmentList;
class SGMstringPool;
class SGMsubField;
class SGMvalue;

template <class T> constexpr SGPYkind SGPYkindOf();
template <> constexpr SGPYkind SGPYkindOf<SGMsegmentList>() { return SGPYkind::SegmentList; }
template <> constexpr SGPYkind SGPYkindOf<SGMsegment>() { return SGPYkind::Segment; }
template <> constexpr SGPYkind SGPYkindOf<SGMfieldRepeats>() { return SGPYkind::FieldRepeats; }
template <> constexpr SGPYkind SGPYkindOf<SGMfield>() { return SGPYkind::Field; }
template <> constexpr SGPYkind SGPYkindOf<SGMsubField>() { return SGPYkind::SubField; }
template <> constexpr SGPYkind SGPYkindOf<SGMvalue>() { return SGPYkind::Value; }
template <> constexpr SGPYkind SGPYkindOf<SGMstringPool>() { return SGPYkind::StringPool; }
template <> constexpr SGPYkind SGPYkindOf<COLerror>() { return SGPYkind::Error; }
template <> constexpr SGPYkind SGPYkindOf<QVMuntypedMessageTree>() { return SGPYkind::Tree; }

// The registry of the interpreter whose module object this is.
SGPYregistry& SGPYregistryOf(PyObject* module);

// The object behind a handle argument; null with a Python error set when the argument is no
// integer ("%s index must be integer"), or not a live handle of that kind.
void* SGPYcheckHandle(PyObject* module, PyObject* handle, SGPYkind kind);

template <class T>
T* SGPYhandle(PyObject* module, PyObject* handle) {
  return static_cast<T*>(SGPYcheckHandle(module, handle, SGPYkindOf<T>()));
}

// The handle of a part reached from `parent`, registered to live as long as the parent's root.
template <class T>
PyObject* SGPYpart(PyObject* module, const void* parent, T& part) {
  SGPYregistryOf(module).addPart(parent, &part, SGPYkindOf<T>());
  return PyLong_FromVoidPtr(&part);
}

// A new object of a Create function, handed to the script with one reference.
template <class T, class... Arguments>
PyObject* SGPYcreate(PyObject* module, const Arguments&... arguments) {
  return LANguard([&] {
    T* Object = new T(arguments...);
    Object->AddRef();
    PyObject* Handle = PyLong_FromVoidPtr(Object);
    if (Handle == nullptr) {
      Object->Release();
      return Handle;
    }
    SGPYregistryOf(module).adopt(Object, Object, SGPYkindOf<T>());
    return Handle;
  });
}

// AddRef and Release of a Create function's object; 1, or null with a Python error set.
PyObject* SGPYaddRef(PyObject* module, PyObject* handle, SGPYkind kind);
PyObject* SGPYrelease(PyObject* module, PyObject* handle, SGPYkind kind);

// An index must name an existing item (the native lists assert; scripts get an IndexError), and
// a count must stay within reason.
bool SGPYinRange(long index, uint32_t count, const char* what);
bool SGPYcountInRange(long count);
// A text argument: a str of characters below 256 (or bytes).
bool SGPYtext(PyObject* object, COLstring& out);

inline PyObject* SGPYcount(uint32_t count) { return PyLong_FromUnsignedLong(count); }

// Each file's functions, gathered into the module's table.
void SGPYaddSegmentFunctions(std::vector<PyMethodDef>& table);
void SGPYaddTreeFunctions(std::vector<PyMethodDef>& table);
void SGPYaddErrorFunctions(std::vector<PyMethodDef>& table);
