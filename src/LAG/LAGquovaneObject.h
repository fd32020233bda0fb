// Internal to the scripting layer, after LANpython.h: the plumbing every object type of the
// module quovane shares.  Each object struct has a `pOwner`, the environment object it depends
// on, or null.
#pragma once

#include "LAGquovane.h"

template <class Object>
void LAGdeallocOwned(PyObject* self) {
  Py_XDECREF(reinterpret_cast<Object*>(self)->pOwner);
  PyObject_Free(self);
}

// A new object of a type made ready on first use, holding a reference to its owner.
template <class Object>
Object* LAGnewOwned(PyTypeObject& type, PyObject* owner) {
  if (PyType_Ready(&type) < 0) return nullptr;
  Object* object = PyObject_New(Object, &type);
  if (object == nullptr) return nullptr;
  Py_XINCREF(owner);
  object->pOwner = owner;
  return object;
}

// The work of a method, run only while the object's environment is live; C++ errors become
// Python ones.
template <class Object, class Body>
PyObject* LAGmethod(PyObject* self, Body body) {
  auto& object = *reinterpret_cast<Object*>(self);
  if (!LAGownerIsLive(object.pOwner)) return nullptr;
  return LANguard([&] { return body(object); });
}
