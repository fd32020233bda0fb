// The segment iterator of scripts: a position in a message's list of raw segments, one
// sub-node a segment, whose first value is the segment's name.
#include "LANpython.h"

#include <algorithm>

#include "LAGquovaneObject.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMuntypedMessageTree.h"
#include "QVPflatGen.h"

namespace {

struct LAGquovaneSegmentIteratorObject {
  PyObject_HEAD
  QVMuntypedMessageTree* pSegmentList;
  unsigned index;
  bool isValid;
  QVMengineInternal* pEngine;
  PyObject* pOwner;
};

using Iterator = LAGquovaneSegmentIteratorObject;

unsigned LAGcountOfSegment(const Iterator& iterator) { return iterator.pSegmentList->countOfSubNode(); }

void LAGreset(Iterator& iterator) {
  iterator.index = 0;
  iterator.isValid = LAGcountOfSegment(iterator) > 0;
}

// Once it has run off the end, an iterator stays unusable until it is reset.
QVMuntypedMessageTree& LAGpresentSegment(Iterator& iterator) {
  if (!iterator.isValid) throw COLerror("Invalid iterator must be reset before being used", COL_ERROR_PRECONDITION);
  return *iterator.pSegmentList->node(iterator.index, 0);
}

PyObject* LAGstep(Iterator& iterator, unsigned to) {
  if (to < LAGcountOfSegment(iterator)) {
    iterator.index = to;
    return PyLong_FromLong(1);
  }
  iterator.isValid = false;
  return PyLong_FromLong(0);
}

COLstring LAGflatWire(const Iterator& iterator, const QVMuntypedMessageTree& segment) {
  COLstring text;
  segment.makeFlatWire(text, iterator.pEngine->config(), 1);
  return text;
}

PyObject* segmentMoveNext(PyObject* self, PyObject* args) {
  PyObject* name = nullptr;
  COLstring wanted;
  if (!PyArg_ParseTuple(args, "O", &name) || !LANstringFromPython(name, wanted)) {
    if (!PyErr_Occurred()) PyErr_SetString(PyExc_TypeError, "the segment name must be a str");
    return LANhandleBadArguments("move_next");
  }
  return LAGmethod<Iterator>(self, [&](Iterator& iterator) {
    LAGpresentSegment(iterator);
    // The search starts behind the present segment, so a loop of move_next visits each once.
    unsigned at = iterator.index + 1;
    while (at < LAGcountOfSegment(iterator) && wanted != iterator.pSegmentList->node(at, 0)->getFirstValue()) ++at;
    return LAGstep(iterator, at);
  });
}

PyObject* segmentMoveOne(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    LAGpresentSegment(iterator);
    return LAGstep(iterator, iterator.index + 1);
  });
}

PyObject* segmentReset(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    LAGreset(iterator);
    return PyLong_FromLong(1);
  });
}

PyObject* segmentId(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return LANstringToPython(COLstring(LAGpresentSegment(iterator).getFirstValue()));
  });
}

PyObject* segmentCountOfField(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return PyLong_FromUnsignedLong(LAGpresentSegment(iterator).countOfSubNode());
  });
}

PyObject* segmentField(PyObject* self, PyObject* args) {
  long index = 0;
  if (!PyArg_ParseTuple(args, "l", &index)) return LANhandleBadArguments("field");
  return LAGmethod<Iterator>(self, [&](Iterator& iterator) -> PyObject* {
    LAGpresentSegment(iterator);
    LANcheckMin(index, 0, "Field Index");
    throw COLerror("field objects over raw segments are not built into this engine; read the segment with "
                   "output() or str()",
                   COL_ERROR_PRECONDITION);
  });
}

PyObject* segmentApplyTransform(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) -> PyObject* {
    LAGpresentSegment(iterator);
    throw COLerror("apply_transform needs the segment processing of a parser this engine does not build",
                   COL_ERROR_PRECONDITION);
  });
}

// The segment as it goes on the wire, with its segment delimiter.  A header's fixed part
// (name, separator, encoding characters) is written from the configuration, as generation does.
PyObject* segmentOutput(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    COLstring text = LAGflatWire(iterator, LAGpresentSegment(iterator));
    const QVMconfig& config = iterator.pEngine->config();
    if (iterator.index == 0 && config.countOfHeaderFieldsToSkip() == 3) {
      COLstring header;
      QVPgenerateHeader(config, header, *iterator.pSegmentList);
      text.replace(0, std::min<size_t>(11, text.size()), header);
    }
    text += config.sepCharInfo(0).sepCharDefault();
    return LANstringToPython(text);
  });
}

PyObject* segmentStr(PyObject* self) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return LANstringToPython(LAGflatWire(iterator, LAGpresentSegment(iterator)));
  });
}

PyMethodDef SegmentIteratorMethods[] = {
    {"move_next", segmentMoveNext, METH_VARARGS, nullptr},
    {"move_one", segmentMoveOne, METH_NOARGS, nullptr},
    {"reset", segmentReset, METH_NOARGS, nullptr},
    {"segment_id", segmentId, METH_NOARGS, nullptr},
    {"apply_transform", segmentApplyTransform, METH_NOARGS, nullptr},
    {"count_of_field", segmentCountOfField, METH_NOARGS, nullptr},
    {"field", segmentField, METH_VARARGS, nullptr},
    {"output", segmentOutput, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGsegmentIteratorType =
    LAGmakeObjectType("SegmentIterator", sizeof(LAGquovaneSegmentIteratorObject), SegmentIteratorMethods,
                      LAGdeallocOwned<Iterator>, segmentStr);

}  // namespace

PyObject* LAGnewSegmentIteratorObject(PyObject* owner, LAGenvironment& environment) {
  COL_POSTCONDITION_TEXT(environment.segmentList() != nullptr, "SegmentIterator->pSegmentList != NULL");
  COL_POSTCONDITION_TEXT(environment.engine() != nullptr, "SegmentIterator->pEngine != NULL");
  auto* object = LAGnewOwned<Iterator>(LAGsegmentIteratorType, owner);
  if (object == nullptr) return nullptr;
  object->pSegmentList = environment.segmentList();
  object->pEngine = environment.engine();
  LAGreset(*object);
  return reinterpret_cast<PyObject*>(object);
}
