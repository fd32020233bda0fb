// SGPYmodule: the built-in module "sgpy", a flat binding of the tokenised message for scripts.
// Functions take and return handles: integers that are the address of a native object.  The
// Python package "brelmont" wraps them in classes; nothing here checks a handle's type, only
// that it is a non-zero integer.
#pragma once

typedef struct _object PyObject;

// Entry of "sgpy" in the interpreter's table of built-in modules; done once, before start.
void SGPYinitModule();
// The module's init function, as that table calls it.
PyObject* SGPYcreateModule();
