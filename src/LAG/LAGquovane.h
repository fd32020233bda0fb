// Internal to the scripting layer: the objects of the module quovane that scripts work with,
// and their factories.  Objects made from the environment keep its object and refuse every use
// once it is detached, so a script that keeps one past its call cannot reach a finished parse.
#pragma once

#include "LAGenvironment.h"
#include "LANobject.h"

typedef struct _typeobject PyTypeObject;
struct PyMethodDef;
class QVMmessageGrammar;
class QVMsegmentValidationRule;
class QVMtableDefinitionInternal;
class QVMtableInternal;
class QVMtypedMessageTree;

// A new environment object on `environment`, usable until it is detached.
PyObject* LAGnewEnvironmentObject(LAGenvironment* environment);
// After the call the object refuses every use: a script may keep it in a global past the
// life of the parse context.
void LAGdetachEnvironmentObject(PyObject* object);
// The environment of an environment object; null with a Python exception set when `object` is
// none or has been detached.
LAGenvironment* LAGenvironmentOf(PyObject* object);

// environment.get_database(type, name, user, password) and environment.get_default_database():
// a Database object over the connection (see LAGquovaneDatabase.cpp).
PyObject* LAGgetDatabase(PyObject* self, PyObject* args);
PyObject* LAGgetDefaultDatabase(PyObject* self);

// `owner` is the environment object the new object depends on, or null when the caller
// guarantees the native objects outlive it.
PyObject* LAGnewTableIteratorObject(PyObject* owner, QVMtableInternal* table);
PyObject* LAGnewTableDefinitionObject(PyObject* owner, QVMtableDefinitionInternal* definition);
// An iterator at the first of the environment's raw segments; the list and the engine must be set.
PyObject* LAGnewSegmentIteratorObject(PyObject* owner, LAGenvironment& environment);

// Told when a situational rule makes an optional grammar required.
class LAGmessageGrammarListener {
public:
  virtual ~LAGmessageGrammarListener() = default;
  virtual void onRequiredAffected(QVMmessageGrammar& grammar, const QVMsegmentValidationRule* rule,
                                  bool required) = 0;
};

// The message grammar of a situational rule, and an iterator that starts at `grammar`; the
// listener, rule and owner may be null.  The listener belongs to one message's check, so a rule's
// objects are owned by an environment object that is detached when the rule has run.
PyObject* LAGnewMessageGrammarObject(QVMmessageGrammar* grammar, LAGmessageGrammarListener* listener,
                                     const QVMsegmentValidationRule* rule, PyObject* owner = nullptr);
PyObject* LAGnewMessageGrammarIteratorObject(QVMmessageGrammar* grammar, LAGmessageGrammarListener* listener,
                                             const QVMsegmentValidationRule* rule, PyObject* owner = nullptr);

// A typed segment of the legacy parser, and one node of it as a field: read only.
PyObject* LAGnewTypedSegmentObject(PyObject* owner, QVMtypedMessageTree* segment);
PyObject* LAGnewTypedFieldObject(PyObject* owner, QVMtypedMessageTree* node);

// --- plumbing shared by the object types

// A static type of script objects: made by the engine only, never subclassed.  `str` may be null.
PyTypeObject LAGmakeObjectType(const char* name, size_t size, PyMethodDef* methods, void (*dealloc)(PyObject*),
                               PyObject* (*str)(PyObject*) = nullptr);
// True when `owner` is null or a live environment object; else false with the exception set.
bool LAGownerIsLive(PyObject* owner);
