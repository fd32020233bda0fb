// SGPYmodule: the built-in module "sgpy", a flat binding of the tokenised message for scripts.
// Functions take and return handles: integers that are the address of a native object.  Each
// interpreter keeps a registry of the handles that are live (made by a script, lent by the host
// for one call, or reached from one of those), so any other integer is a Python error.
#pragma once

#include <cstddef>
#include <vector>

#include "COLstring.h"

typedef struct _object PyObject;

class COLerror;
class QVMuntypedMessageTree;
class SGMfieldRepeats;
class SGMsegment;
class SGMstringPool;
class SGPYregistry;

// Entry of "sgpy" in the interpreter's table of built-in modules; done once, before start.
void SGPYinitModule();
// The module's init function, as that table calls it.
PyObject* SGPYcreateModule();

// The sample message of the constant `test_message`: an ADT A01 with repeats, sub fields and
// sub sub fields, segments ending in a carriage return.
const char* SGPYtestMessage();

// A unique identifier of `bits` bits as upper-case hex: 6 bytes of time, then strong random
// bytes.  Throws for fewer than 128 bits, a count not divisible by 8, more than
// SGPYguidMaximumBits, or no strong generator.
COLstring SGPYguidGenerate(long bits);
constexpr long SGPYguidMaximumBits = 65536;

// The host's native objects that one script call may reach by handle.  Made and destroyed
// with the interpreter's lock held and its thread state current (inside a LANengineSwap); at
// the end every handle lent, and every handle reached from one, stops working.
class SGPYlentObjects {
public:
  SGPYlentObjects();
  ~SGPYlentObjects();
  SGPYlentObjects(const SGPYlentObjects&) = delete;
  SGPYlentObjects& operator=(const SGPYlentObjects&) = delete;

  // The handle, a new reference.
  PyObject* lend(SGMstringPool& pool);
  PyObject* lend(SGMsegment& segment);
  PyObject* lend(SGMfieldRepeats& repeats);
  PyObject* lend(QVMuntypedMessageTree& node);

private:
  PyObject* lend(void* object, int kind);
  PyObject* m_Module;
  SGPYregistry* m_Registry;
  std::vector<void*> m_Lent;
};

// A copy of the error behind a handle that a script made with COLerrorCreate; the script's
// reference is given up.  Throws when the handle is no live error of the current interpreter.
COLerror SGPYtakeError(PyObject* handle);

// Objects that scripts of the current interpreter made and have not released: 0 once a
// script's references balance.
size_t SGPYcountOfCreatedObject();
