// The functions of "sgpy" over the tokenised message: segment lists, segments, field repeats,
// fields, sub fields, values and string pools.  Every handle goes through the registry, so a
// stale, made-up or wrong-kind handle is a Python error and never a native access.
#include "LANpython.h"

#include "SGMsegmentList.h"
#include "SGMstringPool.h"
#include "SGPYinternal.h"
#include "SGPparser.h"

namespace {

PyObject* One() { return PyLong_FromLong(1); }

// --- segment lists

PyObject* parse(PyObject* module, PyObject* args) {
  PyObject *handle = nullptr, *text = nullptr;
  if (!PyArg_ParseTuple(args, "O|O", &handle, &text)) return nullptr;
  auto* list = SGPYhandle<SGMsegmentList>(module, handle);
  COLstring bytes;
  if (!list || (text && !SGPYtext(text, bytes))) return nullptr;
  SGPYregistry& registry = SGPYregistryOf(module);
  SGPparseResult result = SGPparsed;
  PyObject* done = LANguard([&] {
    // Parts handed out before may sit behind the new counts still pointing into the old text,
    // which goes now; clearing first makes every part that the new counts reach fresh.
    registry.dropParts(list);
    list->clear();
    COLstring& kept = registry.textOf(list);
    kept = bytes;
    SGPparser parser;
    SGMseparatorCharacters separators;
    result = parser.parse(kept.data(), kept.size(), *list, separators, SGPparserOptions());
    return Py_NewRef(Py_None);
  });
  if (done && result != SGPparsed) {
    Py_DECREF(done);
    PyErr_SetString(PyExc_ValueError, "Not a valid message?");
    return nullptr;
  }
  return done;
}

PyObject* segmentListCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMsegmentList>(module); }
PyObject* segmentListAddRef(PyObject* module, PyObject* arg) {
  return SGPYaddRef(module, arg, SGPYkind::SegmentList);
}
PyObject* segmentListRelease(PyObject* module, PyObject* arg) {
  return SGPYrelease(module, arg, SGPYkind::SegmentList);
}

PyObject* segmentListGetCountOfSegment(PyObject* module, PyObject* arg) {
  auto* list = SGPYhandle<SGMsegmentList>(module, arg);
  return list ? SGPYcount(list->countOfSegment()) : nullptr;
}

PyObject* segmentListGetSegment(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long index = 0;
  if (!PyArg_ParseTuple(args, "O|l", &handle, &index)) return nullptr;
  auto* list = SGPYhandle<SGMsegmentList>(module, handle);
  if (!list || !SGPYinRange(index, list->countOfSegment(), "Segment")) return nullptr;
  return SGPYpart(module, list, list->segment(static_cast<uint32_t>(index)));
}

// --- segments

PyObject* segmentCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMsegment>(module); }
PyObject* segmentAddRef(PyObject* module, PyObject* arg) { return SGPYaddRef(module, arg, SGPYkind::Segment); }
PyObject* segmentRelease(PyObject* module, PyObject* arg) { return SGPYrelease(module, arg, SGPYkind::Segment); }

PyObject* segmentGetName(PyObject* module, PyObject* arg) {
  auto* segment = SGPYhandle<SGMsegment>(module, arg);
  return segment ? SGPYpart(module, segment, segment->name()) : nullptr;
}

PyObject* segmentGetCountOfField(PyObject* module, PyObject* arg) {
  auto* segment = SGPYhandle<SGMsegment>(module, arg);
  return segment ? SGPYcount(segment->countOfField()) : nullptr;
}

PyObject* segmentGetFieldRepeats(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long field = 0;
  if (!PyArg_ParseTuple(args, "O|l", &handle, &field)) return nullptr;
  auto* segment = SGPYhandle<SGMsegment>(module, handle);
  if (!segment || !SGPYinRange(field, segment->countOfField(), "Field")) return nullptr;
  return SGPYpart(module, segment, segment->fieldRepeats(static_cast<uint32_t>(field)));
}

PyObject* segmentGetField(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long field = 0, repeat = 0;
  if (!PyArg_ParseTuple(args, "O|ll", &handle, &field, &repeat)) return nullptr;
  auto* segment = SGPYhandle<SGMsegment>(module, handle);
  if (!segment || !SGPYinRange(field, segment->countOfField(), "Field") ||
      !SGPYinRange(repeat, segment->countOfFieldRepeat(static_cast<uint32_t>(field)), "Repeat"))
    return nullptr;
  return SGPYpart(module, segment, segment->field(static_cast<uint32_t>(field), static_cast<uint32_t>(repeat)));
}

PyObject* segmentGetCountOfFieldRepeat(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long field = 0;
  if (!PyArg_ParseTuple(args, "O|l", &handle, &field)) return nullptr;
  auto* segment = SGPYhandle<SGMsegment>(module, handle);
  if (!segment || !SGPYinRange(field, segment->countOfField(), "Field")) return nullptr;
  return SGPYcount(segment->countOfFieldRepeat(static_cast<uint32_t>(field)));
}

// A field position with no repeat would break the segment's promise that every counted
// position can be read: like a parsed one, a new repeat holds one empty value.
void SGPYsetCountOfRepeat(SGMfieldRepeats& repeats, uint32_t count) {
  repeats.setCountOfFieldRepeat(count);
  for (uint32_t r = 0; r < repeats.countOfFieldRepeat(); ++r)
    if (repeats.fieldRepeat(r).countOfSubField() == 0) repeats.fieldRepeat(r).setCountOfSubField(1);
}

PyObject* segmentSetCountOfFieldRepeat(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long field = 0, count = 0;
  if (!PyArg_ParseTuple(args, "Oll", &handle, &field, &count)) return nullptr;
  auto* segment = SGPYhandle<SGMsegment>(module, handle);
  if (!segment || !SGPYinRange(field, segment->countOfField(), "Field") || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    SGPYsetCountOfRepeat(segment->fieldRepeats(static_cast<uint32_t>(field)), static_cast<uint32_t>(count));
    return One();
  });
}

// --- field repeats

PyObject* fieldRepeatsCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMfieldRepeats>(module); }
PyObject* fieldRepeatsAddRef(PyObject* module, PyObject* arg) {
  return SGPYaddRef(module, arg, SGPYkind::FieldRepeats);
}
PyObject* fieldRepeatsRelease(PyObject* module, PyObject* arg) {
  return SGPYrelease(module, arg, SGPYkind::FieldRepeats);
}

PyObject* fieldRepeatsGetCountOfFieldRepeat(PyObject* module, PyObject* arg) {
  auto* repeats = SGPYhandle<SGMfieldRepeats>(module, arg);
  return repeats ? SGPYcount(repeats->countOfFieldRepeat()) : nullptr;
}

PyObject* fieldRepeatsSetCountOfFieldRepeat(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long count = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &count)) return nullptr;
  auto* repeats = SGPYhandle<SGMfieldRepeats>(module, handle);
  if (!repeats || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    SGPYsetCountOfRepeat(*repeats, static_cast<uint32_t>(count));
    return One();
  });
}

PyObject* fieldRepeatsGetFieldRepeat(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long repeat = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &repeat)) return nullptr;
  auto* repeats = SGPYhandle<SGMfieldRepeats>(module, handle);
  if (!repeats || !SGPYinRange(repeat, repeats->countOfFieldRepeat(), "Repeat")) return nullptr;
  return SGPYpart(module, repeats, repeats->fieldRepeat(static_cast<uint32_t>(repeat)));
}

// --- fields

PyObject* fieldCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMfield>(module); }
PyObject* fieldAddRef(PyObject* module, PyObject* arg) { return SGPYaddRef(module, arg, SGPYkind::Field); }
PyObject* fieldRelease(PyObject* module, PyObject* arg) { return SGPYrelease(module, arg, SGPYkind::Field); }

PyObject* fieldGetSubField(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long subField = 0;
  if (!PyArg_ParseTuple(args, "O|l", &handle, &subField)) return nullptr;
  auto* field = SGPYhandle<SGMfield>(module, handle);
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field")) return nullptr;
  return SGPYpart(module, field, field->subField(static_cast<uint32_t>(subField)));
}

PyObject* fieldGetCountOfSubField(PyObject* module, PyObject* arg) {
  auto* field = SGPYhandle<SGMfield>(module, arg);
  return field ? SGPYcount(field->countOfSubField()) : nullptr;
}

PyObject* fieldSetCountOfSubField(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long count = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &count)) return nullptr;
  auto* field = SGPYhandle<SGMfield>(module, handle);
  if (!field || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    field->setCountOfSubField(static_cast<uint32_t>(count));
    return One();
  });
}

PyObject* fieldGetCountOfSubSubField(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long subField = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &subField)) return nullptr;
  auto* field = SGPYhandle<SGMfield>(module, handle);
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field")) return nullptr;
  return SGPYcount(field->countOfSubSubField(static_cast<uint32_t>(subField)));
}

PyObject* fieldSetCountOfSubSubField(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long subField = 0, count = 0;
  if (!PyArg_ParseTuple(args, "Oll", &handle, &subField, &count)) return nullptr;
  auto* field = SGPYhandle<SGMfield>(module, handle);
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field") || !SGPYcountInRange(count))
    return nullptr;
  return LANguard([&] {
    field->setCountOfSubSubField(static_cast<uint32_t>(subField), static_cast<uint32_t>(count));
    return One();
  });
}

PyObject* fieldGetValue(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long subField = 0, subSubField = 0;
  if (!PyArg_ParseTuple(args, "O|ll", &handle, &subField, &subSubField)) return nullptr;
  auto* field = SGPYhandle<SGMfield>(module, handle);
  if (!field || !SGPYinRange(subField, field->countOfSubField(), "Sub field") ||
      !SGPYinRange(subSubField, field->countOfSubSubField(static_cast<uint32_t>(subField)), "Sub sub field"))
    return nullptr;
  return SGPYpart(module, field, field->value(static_cast<uint32_t>(subField), static_cast<uint32_t>(subSubField)));
}

PyObject* fieldClear(PyObject* module, PyObject* arg) {
  auto* field = SGPYhandle<SGMfield>(module, arg);
  if (!field) return nullptr;
  field->clear();
  return One();
}

// --- sub fields

PyObject* subFieldCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMsubField>(module); }
PyObject* subFieldAddRef(PyObject* module, PyObject* arg) { return SGPYaddRef(module, arg, SGPYkind::SubField); }
PyObject* subFieldRelease(PyObject* module, PyObject* arg) { return SGPYrelease(module, arg, SGPYkind::SubField); }

PyObject* subFieldGetCountOfSubSubField(PyObject* module, PyObject* arg) {
  auto* subField = SGPYhandle<SGMsubField>(module, arg);
  return subField ? SGPYcount(subField->countOfSubSubField()) : nullptr;
}

PyObject* subFieldSetCountOfSubSubField(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long count = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &count)) return nullptr;
  auto* subField = SGPYhandle<SGMsubField>(module, handle);
  if (!subField || !SGPYcountInRange(count)) return nullptr;
  return LANguard([&] {
    subField->setCountOfSubSubField(static_cast<uint32_t>(count));
    return One();
  });
}

PyObject* subFieldGetValue(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long index = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &index)) return nullptr;
  auto* subField = SGPYhandle<SGMsubField>(module, handle);
  if (!subField || !SGPYinRange(index, subField->countOfSubSubField(), "Sub sub field")) return nullptr;
  return SGPYpart(module, subField, subField->value(static_cast<uint32_t>(index)));
}

// --- values and pools

PyObject* valueCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMvalue>(module); }
PyObject* valueAddRef(PyObject* module, PyObject* arg) { return SGPYaddRef(module, arg, SGPYkind::Value); }
PyObject* valueRelease(PyObject* module, PyObject* arg) { return SGPYrelease(module, arg, SGPYkind::Value); }

PyObject* valueGetData(PyObject* module, PyObject* arg) {
  auto* value = SGPYhandle<SGMvalue>(module, arg);
  return value ? LANstringToPython(value->data() ? value->data() : "", value->data() ? value->length() : 0) : nullptr;
}

PyObject* valueGetSize(PyObject* module, PyObject* arg) {
  auto* value = SGPYhandle<SGMvalue>(module, arg);
  return value ? SGPYcount(value->length()) : nullptr;
}

PyObject* valueIsNull(PyObject* module, PyObject* arg) {
  auto* value = SGPYhandle<SGMvalue>(module, arg);
  return value ? PyLong_FromLong(value->isNull() ? 1 : 0) : nullptr;
}

PyObject* stringPoolCreate(PyObject* module, PyObject*) { return SGPYcreate<SGMstringPool>(module); }
PyObject* stringPoolAddRef(PyObject* module, PyObject* arg) {
  return SGPYaddRef(module, arg, SGPYkind::StringPool);
}
PyObject* stringPoolRelease(PyObject* module, PyObject* arg) {
  return SGPYrelease(module, arg, SGPYkind::StringPool);
}

PyObject* stringPoolSetValue(PyObject* module, PyObject* args) {
  PyObject *poolHandle = nullptr, *valueHandle = nullptr, *text = nullptr;
  if (!PyArg_ParseTuple(args, "O|OO", &poolHandle, &valueHandle, &text)) return nullptr;
  auto* pool = SGPYhandle<SGMstringPool>(module, poolHandle);
  auto* value = pool ? SGPYhandle<SGMvalue>(module, valueHandle ? valueHandle : Py_None) : nullptr;
  COLstring bytes;
  if (!value || (text && !SGPYtext(text, bytes))) return nullptr;
  SGPYregistry& registry = SGPYregistryOf(module);
  // The host clears its pool between messages and a script's pool may go first: a value must
  // not outlive the bytes it points at, so each side writes only its own values.
  if (registry.originOf(pool) != registry.originOf(value)) {
    PyErr_SetString(PyExc_ValueError,
                    "A string pool that a script made writes only values of objects that a script made, "
                    "and the message's pool only the message's values");
    return nullptr;
  }
  return LANguard([&] {
    SGMstringPoolSetValue(*value, *pool, bytes.data(), static_cast<uint32_t>(bytes.size()));
    registry.noteServed(pool, value);
    return One();
  });
}

}  // namespace

void SGPYaddSegmentFunctions(std::vector<PyMethodDef>& table) {
  const PyMethodDef Functions[] = {
      {"SGMparse", parse, METH_VARARGS, "SGMparse(list, text): tokenise a message into the list."},
      {"SGMsegmentListCreate", segmentListCreate, METH_NOARGS, nullptr},
      {"SGMsegmentListAddRef", segmentListAddRef, METH_O, nullptr},
      {"SGMsegmentListRelease", segmentListRelease, METH_O, nullptr},
      {"SGMsegmentListGetCountOfSegment", segmentListGetCountOfSegment, METH_O, nullptr},
      {"SGMsegmentListGetSegment", segmentListGetSegment, METH_VARARGS, nullptr},
      {"SGMsegmentCreate", segmentCreate, METH_NOARGS, nullptr},
      {"SGMsegmentAddRef", segmentAddRef, METH_O, nullptr},
      {"SGMsegmentRelease", segmentRelease, METH_O, nullptr},
      {"SGMsegmentGetName", segmentGetName, METH_O, nullptr},
      {"SGMsegmentGetField", segmentGetField, METH_VARARGS, nullptr},
      {"SGMsegmentGetFieldRepeats", segmentGetFieldRepeats, METH_VARARGS, nullptr},
      {"SGMsegmentGetCountOfField", segmentGetCountOfField, METH_O, nullptr},
      {"SGMsegmentGetCountOfFieldRepeat", segmentGetCountOfFieldRepeat, METH_VARARGS, nullptr},
      {"SGMsegmentSetCountOfFieldRepeat", segmentSetCountOfFieldRepeat, METH_VARARGS, nullptr},
      {"SGMfieldRepeatsCreate", fieldRepeatsCreate, METH_NOARGS, nullptr},
      {"SGMfieldRepeatsAddRef", fieldRepeatsAddRef, METH_O, nullptr},
      {"SGMfieldRepeatsRelease", fieldRepeatsRelease, METH_O, nullptr},
      {"SGMfieldRepeatsGetFieldRepeat", fieldRepeatsGetFieldRepeat, METH_VARARGS, nullptr},
      {"SGMfieldRepeatsGetCountOfFieldRepeat", fieldRepeatsGetCountOfFieldRepeat, METH_O, nullptr},
      {"SGMfieldRepeatsSetCountOfFieldRepeat", fieldRepeatsSetCountOfFieldRepeat, METH_VARARGS, nullptr},
      {"SGMstringPoolCreate", stringPoolCreate, METH_NOARGS, nullptr},
      {"SGMstringPoolAddRef", stringPoolAddRef, METH_O, nullptr},
      {"SGMstringPoolRelease", stringPoolRelease, METH_O, nullptr},
      {"SGMstringPoolSetValue", stringPoolSetValue, METH_VARARGS, nullptr},
      {"SGMvalueCreate", valueCreate, METH_NOARGS, nullptr},
      {"SGMvalueAddRef", valueAddRef, METH_O, nullptr},
      {"SGMvalueRelease", valueRelease, METH_O, nullptr},
      {"SGMvalueGetData", valueGetData, METH_O, nullptr},
      {"SGMvalueGetSize", valueGetSize, METH_O, nullptr},
      {"SGMvalueIsNull", valueIsNull, METH_O, nullptr},
      {"SGMfieldCreate", fieldCreate, METH_NOARGS, nullptr},
      {"SGMfieldAddRef", fieldAddRef, METH_O, nullptr},
      {"SGMfieldRelease", fieldRelease, METH_O, nullptr},
      {"SGMfieldGetSubField", fieldGetSubField, METH_VARARGS, nullptr},
      {"SGMfieldGetValue", fieldGetValue, METH_VARARGS, nullptr},
      {"SGMfieldGetCountOfSubField", fieldGetCountOfSubField, METH_O, nullptr},
      {"SGMfieldSetCountOfSubField", fieldSetCountOfSubField, METH_VARARGS, nullptr},
      {"SGMfieldGetCountOfSubSubField", fieldGetCountOfSubSubField, METH_VARARGS, nullptr},
      {"SGMfieldSetCountOfSubSubField", fieldSetCountOfSubSubField, METH_VARARGS, nullptr},
      {"SGMfieldClear", fieldClear, METH_O, nullptr},
      {"SGMsubFieldCreate", subFieldCreate, METH_NOARGS, nullptr},
      {"SGMsubFieldAddRef", subFieldAddRef, METH_O, nullptr},
      {"SGMsubFieldRelease", subFieldRelease, METH_O, nullptr},
      {"SGMsubFieldSetCountOfSubSubField", subFieldSetCountOfSubSubField, METH_VARARGS, nullptr},
      {"SGMsubFieldGetCountOfSubSubField", subFieldGetCountOfSubSubField, METH_O, nullptr},
      {"SGMsubFieldGetValue", subFieldGetValue, METH_VARARGS, nullptr},
  };
  table.insert(table.end(), std::begin(Functions), std::end(Functions));
}
