// The message grammar objects of situational rules: an iterator that walks the grammar tree of
// a message, and the grammar it stands on, which a rule may make required.
#include "LANpython.h"

#include "LAGquovaneObject.h"
#include "QVMmessageGrammar.h"

namespace {

struct LAGquovaneMessageGrammarObject {
  PyObject_HEAD
  QVMmessageGrammar* pMessageGrammar;
  LAGmessageGrammarListener* pListener;
  const QVMsegmentValidationRule* pRule;
  PyObject* pOwner;
};

struct LAGquovaneMessageGrammarIteratorObject {
  PyObject_HEAD
  QVMmessageGrammar* pMessageGrammar;
  QVMmessageGrammar* pCurrentMessageGrammar;
  LAGmessageGrammarListener* pListener;
  const QVMsegmentValidationRule* pRule;
  PyObject* pOwner;
};

using Grammar = LAGquovaneMessageGrammarObject;
using Iterator = LAGquovaneMessageGrammarIteratorObject;

PyObject* LAGflag(bool value) { return PyLong_FromLong(value ? 1 : 0); }

// --- the grammar

PyObject* grammarName(PyObject* self, PyObject*) {
  return LAGmethod<Grammar>(self,
                            [](Grammar& object) { return LANstringToPython(object.pMessageGrammar->grammarName()); });
}

PyObject* grammarSetSituationallyRequired(PyObject* self, PyObject*) {
  return LAGmethod<Grammar>(self, [](Grammar& object) {
    QVMmessageGrammar& grammar = *object.pMessageGrammar;
    // The listener hears only of a real change, before it happens.
    if (object.pListener != nullptr && grammar.isOptional())
      object.pListener->onRequiredAffected(grammar, object.pRule, true);
    grammar.setIsOptional(false);
    return PyLong_FromLong(1);
  });
}

PyMethodDef GrammarMethods[] = {
    {"name", grammarName, METH_NOARGS, nullptr},
    {"set_situationally_required", grammarSetSituationallyRequired, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGmessageGrammarType =
    LAGmakeObjectType("MessageGrammar", sizeof(LAGquovaneMessageGrammarObject), GrammarMethods,
                      LAGdeallocOwned<Grammar>);

// --- the iterator

QVMmessageGrammar* LAGsubGrammarByName(const QVMmessageGrammar& grammar, const COLstring& name) {
  for (size_t index = 0; index < grammar.countOfSubGrammar(); ++index)
    if (grammar.subGrammar(index)->grammarName() == name) return grammar.subGrammar(index);
  throw COLerror("Sub Grammar name (" + name + ") is not in the current message grammar " + grammar.grammarName(),
                 COL_ERROR_PRECONDITION);
}

QVMmessageGrammar* LAGsubGrammarByIndex(const QVMmessageGrammar& grammar, PyObject* argument) {
  const long long index = PyLong_AsLongLong(argument);
  if (index == -1 && PyErr_Occurred()) PyErr_Clear();  // too large either way: out of range below
  if (index < 0 || static_cast<unsigned long long>(index) >= grammar.countOfSubGrammar()) {
    LANobjectPtr shown = PyObject_Str(argument);
    COLstring number = shown ? LANconvertObjectToString(shown) : COLstring("?");
    PyErr_Clear();
    throw COLerror("Argument (" + number + ") to move_to_subgrammar is out of range", COL_ERROR_PRECONDITION);
  }
  return grammar.subGrammar(static_cast<size_t>(index));
}

PyObject* iteratorMoveToSubgrammar(PyObject* self, PyObject* args) {
  PyObject* argument = nullptr;
  if (!PyArg_ParseTuple(args, "O", &argument)) return LANhandleBadArguments("move_to_subgrammar");
  return LAGmethod<Iterator>(self, [&](Iterator& iterator) {
    const QVMmessageGrammar& current = *iterator.pCurrentMessageGrammar;
    if (current.isNode())
      throw COLerror("Current grammar (" + current.grammarName() + ") is a node.", COL_ERROR_PRECONDITION);
    COLstring name;
    if (PyUnicode_Check(argument) && LANstringFromPython(argument, name))
      iterator.pCurrentMessageGrammar = LAGsubGrammarByName(current, name);
    else if (PyLong_Check(argument) && !PyBool_Check(argument))
      iterator.pCurrentMessageGrammar = LAGsubGrammarByIndex(current, argument);
    else
      throw COLerror("Argument to move_to_subgrammar is neither a string nor integer", COL_ERROR_PRECONDITION);
    return PyLong_FromLong(1);
  });
}

PyObject* iteratorMessageGrammar(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return LAGnewMessageGrammarObject(iterator.pCurrentMessageGrammar, iterator.pListener, iterator.pRule,
                                      iterator.pOwner);
  });
}

PyObject* iteratorReset(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    iterator.pCurrentMessageGrammar = iterator.pMessageGrammar;
    return PyLong_FromLong(1);
  });
}

PyObject* iteratorMoveToParentgrammar(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    QVMmessageGrammar* parent = iterator.pCurrentMessageGrammar->parent();
    if (parent != nullptr) iterator.pCurrentMessageGrammar = parent;
    return LAGflag(parent != nullptr);
  });
}

PyObject* iteratorCountOfSubgrammar(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) {
    return PyLong_FromSize_t(iterator.pCurrentMessageGrammar->countOfSubGrammar());
  });
}

PyObject* iteratorIsNode(PyObject* self, PyObject*) {
  return LAGmethod<Iterator>(self, [](Iterator& iterator) { return LAGflag(iterator.pCurrentMessageGrammar->isNode()); });
}

PyMethodDef IteratorMethods[] = {
    {"move_to_subgrammar", iteratorMoveToSubgrammar, METH_VARARGS, nullptr},
    {"message_grammar", iteratorMessageGrammar, METH_NOARGS, nullptr},
    {"reset", iteratorReset, METH_NOARGS, nullptr},
    {"move_to_parentgrammar", iteratorMoveToParentgrammar, METH_NOARGS, nullptr},
    {"count_of_subgrammar", iteratorCountOfSubgrammar, METH_NOARGS, nullptr},
    {"is_node", iteratorIsNode, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyTypeObject LAGmessageGrammarIteratorType = LAGmakeObjectType(
    "MessageGrammarIterator", sizeof(LAGquovaneMessageGrammarIteratorObject), IteratorMethods, LAGdeallocOwned<Iterator>);

}  // namespace

PyObject* LAGnewMessageGrammarObject(QVMmessageGrammar* grammar, LAGmessageGrammarListener* listener,
                                     const QVMsegmentValidationRule* rule, PyObject* owner) {
  COL_PRECONDITION(grammar != nullptr);
  auto* object = LAGnewOwned<Grammar>(LAGmessageGrammarType, owner);
  if (object == nullptr) return nullptr;
  object->pMessageGrammar = grammar;
  object->pListener = listener;
  object->pRule = rule;
  return reinterpret_cast<PyObject*>(object);
}

PyObject* LAGnewMessageGrammarIteratorObject(QVMmessageGrammar* grammar, LAGmessageGrammarListener* listener,
                                             const QVMsegmentValidationRule* rule, PyObject* owner) {
  COL_PRECONDITION(grammar != nullptr);
  auto* object = LAGnewOwned<Iterator>(LAGmessageGrammarIteratorType, owner);
  if (object == nullptr) return nullptr;
  object->pMessageGrammar = grammar;
  object->pCurrentMessageGrammar = grammar;
  object->pListener = listener;
  object->pRule = rule;
  return reinterpret_cast<PyObject*>(object);
}
