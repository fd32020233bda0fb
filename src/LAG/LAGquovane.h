// Internal to the scripting layer: the environment object that scripts see as `environment`.
#pragma once

#include "LAGenvironment.h"
#include "LANobject.h"

// A new environment object on `environment`, usable until it is detached.
PyObject* LAGnewEnvironmentObject(LAGenvironment* environment);
// After the call the object refuses every use: a script may keep it in a global past the
// life of the parse context.
void LAGdetachEnvironmentObject(PyObject* object);
