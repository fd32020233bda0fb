// The typed segment and typed field objects of validation rules on the legacy parser's road: a
// segment already typed by its grammar, read only, each leaf handed to Python by its data type.
#include "LANpython.h"

#include "LAGquovaneObject.h"
#include "LANengine.h"
#include "QVMdateTimeInternal.h"
#include "QVMtypedMessageTree.h"

namespace {

struct LAGquovaneTypedSegmentObject {
  PyObject_HEAD
  QVMtypedMessageTree* pSegment;
  PyObject* pOwner;
};

struct LAGquovaneTypedFieldObject {
  PyObject_HEAD
  QVMtypedMessageTree* pNode;
  PyObject* pOwner;
};

using Segment = LAGquovaneTypedSegmentObject;
using Field = LAGquovaneTypedFieldObject;

PyObject* LAGnewTypedField(PyObject* owner, QVMtypedMessageTree* node);

// Index `index` of `count`, both bounds checked with the name scripts are told.
unsigned LAGcheckedIndex(long index, unsigned count, const char* name) {
  LANcheckMin(index, 0, name);
  LANcheckMax(index, count, name);
  return static_cast<unsigned>(index);
}

PyObject* LAGtypedValue(const QVMtypedMessageTree& node) {
  // A composite has no value of its own; its parts are read through subfield.
  if (node.isNull() || !node.isNode()) return Py_NewRef(Py_None);
  switch (node.dataType()) {
    case QVMstringType:
    case QVMenumerationType:
      return LANstringToPython(node.dataType() == QVMstringType ? node.getStringValue() : node.getAsStringValue());
    case QVMintegerType:
      return PyLong_FromLong(node.getIntegerValue());
    case QVMdoubleType:
      return PyFloat_FromDouble(node.getDoubleValue());
    case QVMdateTimeType:
      return PyFloat_FromDouble(static_cast<double>(node.getDateTimeValue()));
    default:
      throw COLerror("Unknown Data Type", COL_ERROR_RESOURCE);
  }
}

// Scripts read a typed segment; writing would let a rule change what the tables are filled from.
int LAGrefuseSet(const char* kind, PyObject* name) {
  const char* text = PyUnicode_Check(name) ? PyUnicode_AsUTF8(name) : nullptr;
  PyErr_Format(PyExc_RuntimeError, "%s object does not support attribute %s", kind, text ? text : "?");
  return -1;
}

// --- the field

PyObject* fieldGetAttr(PyObject* self, PyObject* name) {
  if (PyUnicode_Check(name) && PyUnicode_CompareWithASCIIString(name, "value") == 0)
    return LAGmethod<Field>(self, [](Field& field) { return LAGtypedValue(*field.pNode); });
  if (PyUnicode_Check(name) && PyUnicode_CompareWithASCIIString(name, "sub") == 0) return Py_NewRef(self);
  return PyObject_GenericGetAttr(self, name);
}

int fieldSetAttr(PyObject*, PyObject* name, PyObject*) { return LAGrefuseSet("TypedField", name); }

PyObject* fieldSubfield(PyObject* self, PyObject* args) {
  long index = 0, subIndex = -1;
  if (!PyArg_ParseTuple(args, "l|l", &index, &subIndex)) return LANhandleBadArguments("subfield");
  return LAGmethod<Field>(self, [&](Field& field) {
    QVMtypedMessageTree& node = *field.pNode;
    QVMtypedMessageTree* sub =
        node.node(LAGcheckedIndex(index, node.countOfSubNode(), "Subfield Index (first argument)"), 0);
    if (PyTuple_Size(args) > 1)
      sub = sub->node(LAGcheckedIndex(subIndex, sub->countOfSubNode(), "Subsubfield Index (second argument)"), 0);
    return LAGnewTypedField(field.pOwner, sub);
  });
}

PyObject* fieldCountOfSubfield(PyObject* self, PyObject* args) {
  long repeat = 0;
  if (!PyArg_ParseTuple(args, "|l", &repeat)) return LANhandleBadArguments("count_of_subfield");
  return LAGmethod<Field>(self, [&](Field& field) {
    const unsigned at = LAGcheckedIndex(repeat, field.pNode->countOfRepeat(), "Repeat Index (first argument)");
    return PyLong_FromUnsignedLong(field.pNode->getRepeatedNode(at)->countOfSubNode());
  });
}

PyObject* fieldIsNull(PyObject* self, PyObject*) {
  return LAGmethod<Field>(self, [](Field& field) {
    return PyLong_FromLong(field.pNode->isNull() && field.pNode->countOfSubNode() == 0 ? 1 : 0);
  });
}

PyObject* fieldCountOfRepeat(PyObject* self, PyObject*) {
  return LAGmethod<Field>(self, [](Field& field) { return PyLong_FromUnsignedLong(field.pNode->countOfRepeat()); });
}

PyObject* fieldRepeatField(PyObject* self, PyObject* args) {
  long repeat = 0;
  if (!PyArg_ParseTuple(args, "l", &repeat)) return LANhandleBadArguments("repeat_field");
  return LAGmethod<Field>(self, [&](Field& field) {
    const unsigned at = LAGcheckedIndex(repeat, field.pNode->countOfRepeat(), "Repeat Index (first argument)");
    return LAGnewTypedField(field.pOwner, field.pNode->getRepeatedNode(at));
  });
}

PyMethodDef FieldMethods[] = {
    {"subfield", fieldSubfield, METH_VARARGS, nullptr},
    {"count_of_subfield", fieldCountOfSubfield, METH_VARARGS, nullptr},
    {"is_null", fieldIsNull, METH_NOARGS, nullptr},
    {"count_of_repeat", fieldCountOfRepeat, METH_NOARGS, nullptr},
    {"repeat_field", fieldRepeatField, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGmakeTypedFieldType() {
  PyTypeObject type =
      LAGmakeObjectType("TypedField", sizeof(LAGquovaneTypedFieldObject), FieldMethods, LAGdeallocOwned<Field>);
  type.tp_getattro = fieldGetAttr;
  type.tp_setattro = fieldSetAttr;
  return type;
}

PyTypeObject LAGtypedFieldType = LAGmakeTypedFieldType();

PyObject* LAGnewTypedField(PyObject* owner, QVMtypedMessageTree* node) {
  COL_PRECONDITION(node != nullptr);
  auto* object = LAGnewOwned<Field>(LAGtypedFieldType, owner);
  if (object == nullptr) return nullptr;
  object->pNode = node;
  return reinterpret_cast<PyObject*>(object);
}

// --- the segment

int segmentSetAttr(PyObject*, PyObject* name, PyObject*) { return LAGrefuseSet("TypedSegment", name); }

PyObject* segmentCountOfField(PyObject* self, PyObject*) {
  return LAGmethod<Segment>(self,
                            [](Segment& segment) { return PyLong_FromUnsignedLong(segment.pSegment->countOfSubNode()); });
}

// field(i), field(i, (s,)) or field(i, (s, ss)): the field, or a part of its first repeat.
PyObject* segmentField(PyObject* self, PyObject* args) {
  long index = 0, subIndex = -1, subSubIndex = -1;
  PyObject* path = nullptr;
  if (!PyArg_ParseTuple(args, "l|O", &index, &path)) return LANhandleBadArguments("field");
  if (path != nullptr && !(PyTuple_Check(path) && PyArg_ParseTuple(path, "l|l", &subIndex, &subSubIndex))) {
    if (!PyErr_Occurred()) PyErr_SetString(PyExc_TypeError, "the second argument must be a tuple of one or two ints");
    return LANhandleBadArguments("field");
  }
  const Py_ssize_t depth = path == nullptr ? 0 : PyTuple_Size(path);
  return LAGmethod<Segment>(self, [&](Segment& segment) {
    QVMtypedMessageTree& typed = *segment.pSegment;
    QVMtypedMessageTree* node =
        typed.node(LAGcheckedIndex(index, typed.countOfSubNode(), "Field Index (first argument)"), 0);
    if (depth > 0)
      node = node->node(LAGcheckedIndex(subIndex, node->countOfSubNode(), "Subfield Index (second argument)"), 0);
    if (depth > 1)
      node = node->node(LAGcheckedIndex(subSubIndex, node->countOfSubNode(), "SubSubfield Index (third argument)"), 0);
    return LAGnewTypedField(segment.pOwner, node);
  });
}

PyMethodDef SegmentMethods[] = {
    {"count_of_field", segmentCountOfField, METH_NOARGS, nullptr},
    {"field", segmentField, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGmakeTypedSegmentType() {
  PyTypeObject type = LAGmakeObjectType("TypedSegment", sizeof(LAGquovaneTypedSegmentObject), SegmentMethods,
                                        LAGdeallocOwned<Segment>);
  type.tp_setattro = segmentSetAttr;
  return type;
}

PyTypeObject LAGtypedSegmentType = LAGmakeTypedSegmentType();

}  // namespace

PyObject* LAGnewTypedSegmentObject(PyObject* owner, QVMtypedMessageTree* segment) {
  COL_PRECONDITION(segment != nullptr);
  auto* object = LAGnewOwned<Segment>(LAGtypedSegmentType, owner);
  if (object == nullptr) return nullptr;
  object->pSegment = segment;
  return reinterpret_cast<PyObject*>(object);
}

PyObject* LAGnewTypedFieldObject(PyObject* owner, QVMtypedMessageTree* node) { return LAGnewTypedField(owner, node); }
