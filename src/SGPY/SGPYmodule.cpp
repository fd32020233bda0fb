// The functions of "sgpy" that the script objects are built on: field repeats, fields, values,
// string pools and segments of the current parser, the raw tree nodes of the legacy parser, and
// errors.
#include "LANpython.h"

#include <cstdint>

#include "COLerror.h"
#include "QVMuntypedMessageTree.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"
#include "SGPYmodule.h"

namespace {

// One handle argument: an integer other than 0.
template <class T>
T* SGPYhandle(PyObject* object, const char* typeName) {
  if (!PyLong_Check(object)) {
    PyErr_Format(PyExc_TypeError, "%s index must be integer", typeName);
    return nullptr;
  }
  void* address = PyLong_AsVoidPtr(object);
  if (address == nullptr && !PyErr_Occurred()) PyErr_Format(PyExc_ValueError, "%s handle is 0", typeName);
  return static_cast<T*>(address);
}

template <class T>
T* SGPYpointer(long handle, const char* typeName) {
  if (handle == 0) PyErr_Format(PyExc_ValueError, "%s handle is 0", typeName);
  return reinterpret_cast<T*>(static_cast<intptr_t>(handle));
}

PyObject* SGPYaddress(const void* object) { return PyLong_FromVoidPtr(const_cast<void*>(object)); }

PyObject* SGPYcount(uint32_t count) { return PyLong_FromUnsignedLong(count); }

// An index must name an existing item; the native lists assert, scripts get an IndexError.
bool SGPYinRange(long index, uint32_t count, const char* what) {
  if (index >= 0 && static_cast<unsigned long>(index) < count) return true;
  PyErr_Format(PyExc_IndexError, "%s index %ld is out of range (count %u)", what, index, count);
  return false;
}

bool SGPYcountInRange(long count) {
  if (count >= 0 && count <= 0xFFFFFF) return true;
  PyErr_Format(PyExc_ValueError, "count %ld is out of range", count);
  return false;
}

// --- field repeats

PyObject* fieldRepeatsGetCountOfFieldRepeat(PyObject*, PyObject* arg) {
  auto* repeats = SGPYhandle<SGMfieldRepeats>(arg, "SGMfieldRepeats");
  return repeats ? SGPYcount(repeats->countOfFieldRepeat()) : nullptr;
}

PyObject* fieldRepeatsSetCountOfFieldRepeat(PyObject*, PyObject* args) {
  long handle = 0, count = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &count)) return nullptr;
  auto* repeats = SGPYpointer<SGMfieldRepeats>(handle, "SGMfieldRepeats");
  if (!repeats || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    repeats->setCountOfFieldRepeat(static_cast<uint32_t>(count));
    // A new repeat reads as one empty value, as a parsed one does.
    for (uint32_t r = 0; r < repeats->countOfFieldRepeat(); ++r)
      if (repeats->fieldRepeat(r).countOfSubField() == 0) repeats->fieldRepeat(r).setCountOfSubField(1);
    return PyLong_FromLong(1);
  });
}

PyObject* fieldRepeatsGetFieldRepeat(PyObject*, PyObject* args) {
  long handle = 0, repeat = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &repeat)) return nullptr;
  auto* repeats = SGPYpointer<SGMfieldRepeats>(handle, "SGMfieldRepeats");
  if (!repeats || !SGPYinRange(repeat, repeats->countOfFieldRepeat(), "Repeat")) return nullptr;
  return SGPYaddress(&repeats->fieldRepeat(static_cast<uint32_t>(repeat)));
}

// --- fields

PyObject* fieldGetCountOfSubField(PyObject*, PyObject* arg) {
  auto* field = SGPYhandle<SGMfield>(arg, "SGMfield");
  return field ? SGPYcount(field->countOfSubField()) : nullptr;
}

PyObject* fieldSetCountOfSubField(PyObject*, PyObject* args) {
  long handle = 0, count = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &count)) return nullptr;
  auto* field = SGPYpointer<SGMfield>(handle, "SGMfield");
  if (!field || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    field->setCountOfSubField(static_cast<uint32_t>(count));
    return PyLong_FromLong(1);
  });
}

PyObject* fieldGetCountOfSubSubField(PyObject*, PyObject* args) {
  long handle = 0, subField = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &subField)) return nullptr;
  auto* field = SGPYpointer<SGMfield>(handle, "SGMfield");
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field")) return nullptr;
  return SGPYcount(field->countOfSubSubField(static_cast<uint32_t>(subField)));
}

PyObject* fieldSetCountOfSubSubField(PyObject*, PyObject* args) {
  long handle = 0, subField = 0, count = 0;
  if (!PyArg_ParseTuple(args, "lll", &handle, &subField, &count)) return nullptr;
  auto* field = SGPYpointer<SGMfield>(handle, "SGMfield");
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field") || !SGPYcountInRange(count))
    return nullptr;
  return LANguard([&] {
    field->setCountOfSubSubField(static_cast<uint32_t>(subField), static_cast<uint32_t>(count));
    return PyLong_FromLong(1);
  });
}

PyObject* fieldGetValue(PyObject*, PyObject* args) {
  long handle = 0, subField = 0, subSubField = 0;
  if (!PyArg_ParseTuple(args, "l|ll", &handle, &subField, &subSubField)) return nullptr;
  auto* field = SGPYpointer<SGMfield>(handle, "SGMfield");
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field") ||
      !SGPYinRange(subSubField, field->countOfSubSubField(static_cast<uint32_t>(subField)), "Sub sub field"))
    return nullptr;
  return SGPYaddress(&field->value(static_cast<uint32_t>(subField), static_cast<uint32_t>(subSubField)));
}

PyObject* fieldClear(PyObject*, PyObject* arg) {
  auto* field = SGPYhandle<SGMfield>(arg, "SGMfield");
  if (!field) return nullptr;
  return LANguard([&] {
    field->clear();
    return PyLong_FromLong(1);
  });
}

// --- values and pools

PyObject* valueGetData(PyObject*, PyObject* arg) {
  auto* value = SGPYhandle<SGMvalue>(arg, "SGMvalue");
  return value ? LANstringToPython(value->data() ? value->data() : "", value->length()) : nullptr;
}

PyObject* valueGetSize(PyObject*, PyObject* arg) {
  auto* value = SGPYhandle<SGMvalue>(arg, "SGMvalue");
  return value ? SGPYcount(value->length()) : nullptr;
}

PyObject* valueIsNull(PyObject*, PyObject* arg) {
  auto* value = SGPYhandle<SGMvalue>(arg, "SGMvalue");
  return value ? PyLong_FromLong(value->isNull() ? 1 : 0) : nullptr;
}

PyObject* stringPoolSetValue(PyObject*, PyObject* args) {
  long poolHandle = 0, valueHandle = 0;
  PyObject* text = nullptr;
  if (!PyArg_ParseTuple(args, "llO", &poolHandle, &valueHandle, &text)) return nullptr;
  auto* pool = SGPYpointer<SGMstringPool>(poolHandle, "SGMstringPool");
  auto* value = pool ? SGPYpointer<SGMvalue>(valueHandle, "SGMvalue") : nullptr;
  if (!value) return nullptr;
  COLstring bytes;
  if (!LANstringFromPython(text, bytes)) {
    PyErr_SetString(PyExc_TypeError, "a value must be a str of characters below 256");
    return nullptr;
  }
  return LANguard([&] {
    SGMstringPoolSetValue(*value, *pool, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return PyLong_FromLong(1);
  });
}

// --- segments

PyObject* segmentGetName(PyObject*, PyObject* arg) {
  auto* segment = SGPYhandle<SGMsegment>(arg, "SGMsegment");
  return segment ? SGPYaddress(&segment->name()) : nullptr;
}

PyObject* segmentGetCountOfField(PyObject*, PyObject* arg) {
  auto* segment = SGPYhandle<SGMsegment>(arg, "SGMsegment");
  return segment ? SGPYcount(segment->countOfField()) : nullptr;
}

PyObject* segmentGetFieldRepeats(PyObject*, PyObject* args) {
  long handle = 0, field = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &field)) return nullptr;
  auto* segment = SGPYpointer<SGMsegment>(handle, "SGMsegment");
  if (!segment || !SGPYinRange(field, segment->countOfField(), "Field")) return nullptr;
  return SGPYaddress(&segment->fieldRepeats(static_cast<uint32_t>(field)));
}

PyObject* segmentGetField(PyObject*, PyObject* args) {
  long handle = 0, field = 0, repeat = 0;
  if (!PyArg_ParseTuple(args, "ll|l", &handle, &field, &repeat)) return nullptr;
  auto* segment = SGPYpointer<SGMsegment>(handle, "SGMsegment");
  if (!segment || !SGPYinRange(field, segment->countOfField(), "Field") ||
      !SGPYinRange(repeat, segment->countOfFieldRepeat(static_cast<uint32_t>(field)), "Repeat"))
    return nullptr;
  return SGPYaddress(&segment->field(static_cast<uint32_t>(field), static_cast<uint32_t>(repeat)));
}

// --- errors

PyObject* errorCreate(PyObject*, PyObject*) {
  return LANguard([&] {
    auto* error = new COLerror("", COL_ERROR_PRECONDITION);
    error->AddRef();
    return SGPYaddress(error);
  });
}

PyObject* errorRelease(PyObject*, PyObject* arg) {
  auto* error = SGPYhandle<COLerror>(arg, "COLerror");
  if (!error) return nullptr;
  error->Release();
  return PyLong_FromLong(1);
}

PyObject* errorGetDescription(PyObject*, PyObject* arg) {
  auto* error = SGPYhandle<COLerror>(arg, "COLerror");
  return error ? LANstringToPython(error->description()) : nullptr;
}

bool SGPYtext(PyObject* object, COLstring& out) {
  if (LANstringFromPython(object, out)) return true;
  PyErr_SetString(PyExc_TypeError, "a text must be a str of characters below 256");
  return false;
}

PyObject* errorSetDescription(PyObject*, PyObject* args) {
  long handle = 0;
  PyObject* text = nullptr;
  if (!PyArg_ParseTuple(args, "lO", &handle, &text)) return nullptr;
  auto* error = SGPYpointer<COLerror>(handle, "COLerror");
  COLstring bytes;
  if (!error || !SGPYtext(text, bytes)) return nullptr;
  return LANguard([&] {
    error->setDescription(bytes);
    return PyLong_FromLong(1);
  });
}

PyObject* errorGetParameter(PyObject*, PyObject* args) {
  long handle = 0;
  PyObject* key = nullptr;
  if (!PyArg_ParseTuple(args, "lO", &handle, &key)) return nullptr;
  auto* error = SGPYpointer<COLerror>(handle, "COLerror");
  COLstring name;
  if (!error || !SGPYtext(key, name)) return nullptr;
  return LANguard([&] {
    return error->hasParameter(name) ? LANstringToPython(error->parameter(name)) : LANstringToPython("", 0);
  });
}

PyObject* errorSetParameter(PyObject*, PyObject* args) {
  long handle = 0;
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  if (!PyArg_ParseTuple(args, "lOO", &handle, &key, &value)) return nullptr;
  auto* error = SGPYpointer<COLerror>(handle, "COLerror");
  COLstring name, text;
  if (!error || !SGPYtext(key, name) || !SGPYtext(value, text)) return nullptr;
  return LANguard([&] {
    error->setParameter(name, text);
    return PyLong_FromLong(1);
  });
}

PyObject* errorGetCountOfParameter(PyObject*, PyObject* arg) {
  auto* error = SGPYhandle<COLerror>(arg, "COLerror");
  return error ? PyLong_FromSize_t(error->CountOfParameter()) : nullptr;
}

PyObject* errorGetKey(PyObject*, PyObject* args) {
  long handle = 0, index = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &index)) return nullptr;
  auto* error = SGPYpointer<COLerror>(handle, "COLerror");
  if (!error || !SGPYinRange(index, static_cast<uint32_t>(error->CountOfParameter()), "Parameter")) return nullptr;
  return LANstringToPython(error->key(static_cast<size_t>(index)));
}

// --- raw tree nodes of the legacy parser: a field node, its repeats, their sub-nodes

PyObject* treeCountOfSubNode(PyObject*, PyObject* arg) {
  auto* node = SGPYhandle<QVMuntypedMessageTree>(arg, "QVMuntypedMessageTree");
  return node ? SGPYcount(node->countOfSubNode()) : nullptr;
}

PyObject* treeCountOfRepeat(PyObject*, PyObject* arg) {
  auto* node = SGPYhandle<QVMuntypedMessageTree>(arg, "QVMuntypedMessageTree");
  return node ? SGPYcount(node->countOfRepeat()) : nullptr;
}

// Repeat `repeat` of a field node; None where it has fewer, unless `grow`.
PyObject* treeRepeat(PyObject*, PyObject* args) {
  long handle = 0, repeat = 0;
  int grow = 0;
  if (!PyArg_ParseTuple(args, "lli", &handle, &repeat, &grow)) return nullptr;
  auto* node = SGPYpointer<QVMuntypedMessageTree>(handle, "QVMuntypedMessageTree");
  if (!node || !SGPYcountInRange(repeat)) return nullptr;
  if (!grow && static_cast<unsigned long>(repeat) >= node->countOfRepeat()) return Py_NewRef(Py_None);
  return LANguard([&] { return SGPYaddress(node->getRepeatedNode(static_cast<unsigned>(repeat))); });
}

// Sub-node `index`. Reading, a bare value is its own sub-node 0; growing, it moves into sub-node
// 0 first, so that it keeps its place beside the new sub-node, as on the current parser's road.
PyObject* treeSubNode(PyObject*, PyObject* args) {
  long handle = 0, index = 0;
  int grow = 0;
  if (!PyArg_ParseTuple(args, "lli", &handle, &index, &grow)) return nullptr;
  auto* node = SGPYpointer<QVMuntypedMessageTree>(handle, "QVMuntypedMessageTree");
  if (!node || !SGPYcountInRange(index)) return nullptr;
  const unsigned Index = static_cast<unsigned>(index);
  if (!grow) {
    if (Index < node->countOfSubNode()) return SGPYaddress(node->node(Index, 0));
    return Index == 0 && node->countOfSubNode() == 0 ? SGPYaddress(node) : Py_NewRef(Py_None);
  }
  return LANguard([&] {
    if (node->countOfSubNode() == 0 && !node->isNull() && Index > 0) {
      const COLstring Bare = node->getValue();
      node->setNull();
      node->node(0, 0)->setStringValue(Bare);
    }
    return SGPYaddress(node->countOfSubNode() == 0 && Index == 0 ? node : node->node(Index, 0));
  });
}

PyObject* treeGetValue(PyObject*, PyObject* arg) {
  auto* node = SGPYhandle<QVMuntypedMessageTree>(arg, "QVMuntypedMessageTree");
  return node ? LANstringToPython(COLstring(node->getFirstValue())) : nullptr;
}

PyObject* treeSetValue(PyObject*, PyObject* args) {
  long handle = 0;
  PyObject* text = nullptr;
  if (!PyArg_ParseTuple(args, "lO", &handle, &text)) return nullptr;
  auto* node = SGPYpointer<QVMuntypedMessageTree>(handle, "QVMuntypedMessageTree");
  if (!node) return nullptr;
  COLstring Value;
  if (!LANstringFromPython(text, Value)) {
    PyErr_SetString(PyExc_TypeError, "a field value must be a str of characters below 256");
    return nullptr;
  }
  return LANguard([&] {
    node->setFirstValue(Value);
    return PyLong_FromLong(1);
  });
}

PyObject* treeIsNull(PyObject*, PyObject* arg) {
  auto* node = SGPYhandle<QVMuntypedMessageTree>(arg, "QVMuntypedMessageTree");
  if (!node) return nullptr;
  const QVMuntypedMessageTree* Leaf = node;
  while (Leaf->countOfSubNode() > 0) Leaf = Leaf->node(0, 0);
  return PyBool_FromLong(Leaf->isNull() || *Leaf->getValue() == '\0');
}

PyObject* treeSetCountOfSubNode(PyObject*, PyObject* args) {
  long handle = 0, count = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &count)) return nullptr;
  auto* node = SGPYpointer<QVMuntypedMessageTree>(handle, "QVMuntypedMessageTree");
  if (!node || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    node->setCountOfSubNode(static_cast<unsigned>(count));
    return PyLong_FromLong(1);
  });
}

PyObject* treeSetCountOfRepeat(PyObject*, PyObject* args) {
  long handle = 0, count = 0;
  if (!PyArg_ParseTuple(args, "ll", &handle, &count)) return nullptr;
  auto* node = SGPYpointer<QVMuntypedMessageTree>(handle, "QVMuntypedMessageTree");
  if (!node || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    node->setCountOfRepeat(static_cast<unsigned>(count));
    return PyLong_FromLong(1);
  });
}

PyObject* treeClear(PyObject*, PyObject* arg) {
  auto* node = SGPYhandle<QVMuntypedMessageTree>(arg, "QVMuntypedMessageTree");
  if (!node) return nullptr;
  return LANguard([&] {
    node->clear();
    return PyLong_FromLong(1);
  });
}

PyMethodDef SgpyMethods[] = {
    {"SGMfieldRepeatsGetCountOfFieldRepeat", fieldRepeatsGetCountOfFieldRepeat, METH_O, nullptr},
    {"SGMfieldRepeatsSetCountOfFieldRepeat", fieldRepeatsSetCountOfFieldRepeat, METH_VARARGS, nullptr},
    {"SGMfieldRepeatsGetFieldRepeat", fieldRepeatsGetFieldRepeat, METH_VARARGS, nullptr},
    {"SGMfieldGetCountOfSubField", fieldGetCountOfSubField, METH_O, nullptr},
    {"SGMfieldSetCountOfSubField", fieldSetCountOfSubField, METH_VARARGS, nullptr},
    {"SGMfieldGetCountOfSubSubField", fieldGetCountOfSubSubField, METH_VARARGS, nullptr},
    {"SGMfieldSetCountOfSubSubField", fieldSetCountOfSubSubField, METH_VARARGS, nullptr},
    {"SGMfieldGetValue", fieldGetValue, METH_VARARGS, nullptr},
    {"SGMfieldClear", fieldClear, METH_O, nullptr},
    {"SGMvalueGetData", valueGetData, METH_O, nullptr},
    {"SGMvalueGetSize", valueGetSize, METH_O, nullptr},
    {"SGMvalueIsNull", valueIsNull, METH_O, nullptr},
    {"SGMstringPoolSetValue", stringPoolSetValue, METH_VARARGS, nullptr},
    {"SGMsegmentGetName", segmentGetName, METH_O, nullptr},
    {"SGMsegmentGetCountOfField", segmentGetCountOfField, METH_O, nullptr},
    {"SGMsegmentGetFieldRepeats", segmentGetFieldRepeats, METH_VARARGS, nullptr},
    {"SGMsegmentGetField", segmentGetField, METH_VARARGS, nullptr},
    {"QVMtreeCountOfSubNode", treeCountOfSubNode, METH_O, nullptr},
    {"QVMtreeCountOfRepeat", treeCountOfRepeat, METH_O, nullptr},
    {"QVMtreeRepeat", treeRepeat, METH_VARARGS, nullptr},
    {"QVMtreeSubNode", treeSubNode, METH_VARARGS, nullptr},
    {"QVMtreeGetValue", treeGetValue, METH_O, nullptr},
    {"QVMtreeSetValue", treeSetValue, METH_VARARGS, nullptr},
    {"QVMtreeIsNull", treeIsNull, METH_O, nullptr},
    {"QVMtreeSetCountOfSubNode", treeSetCountOfSubNode, METH_VARARGS, nullptr},
    {"QVMtreeSetCountOfRepeat", treeSetCountOfRepeat, METH_VARARGS, nullptr},
    {"QVMtreeClear", treeClear, METH_O, nullptr},
    {"COLerrorCreate", errorCreate, METH_NOARGS, nullptr},
    {"COLerrorRelease", errorRelease, METH_O, nullptr},
    {"COLerrorGetDescription", errorGetDescription, METH_O, nullptr},
    {"COLerrorSetDescription", errorSetDescription, METH_VARARGS, nullptr},
    {"COLerrorGetParameter", errorGetParameter, METH_VARARGS, nullptr},
    {"COLerrorSetParameter", errorSetParameter, METH_VARARGS, nullptr},
    {"COLerrorGetCountOfParameter", errorGetCountOfParameter, METH_O, nullptr},
    {"COLerrorGetKey", errorGetKey, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef_Slot NoSlots[] = {{0, nullptr}};

PyModuleDef SgpyModule = {
    PyModuleDef_HEAD_INIT, "sgpy", "Handles on the tokenised message for script objects.", 0, SgpyMethods, NoSlots,
    nullptr,               nullptr, nullptr,
};

}  // namespace

PyObject* SGPYcreateModule() { return PyModuleDef_Init(&SgpyModule); }

void SGPYinitModule() {
  static bool done = false;
  if (!done) done = PyImport_AppendInittab("sgpy", SGPYcreateModule) == 0;
}
