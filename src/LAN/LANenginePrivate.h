// The inside of a LANengine, shared by the engine and the interpreter singleton that makes and
// ends its sub-interpreter.  Internal to the scripting layer.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "COLstring.h"
#include "LANobject.h"

class COLostream;

// A dictionary entry that lasts as long as this object.
class LANdictionaryInserter {
public:
  LANdictionaryInserter(PyObject* dictionary, PyObject* key, PyObject* value);
  ~LANdictionaryInserter();
  LANdictionaryInserter(const LANdictionaryInserter&) = delete;
  LANdictionaryInserter& operator=(const LANdictionaryInserter&) = delete;

private:
  LANobjectPtr m_Dictionary;
  LANobjectPtr m_Key;
};

class LANenginePrivate {
public:
  LANenginePrivate() = default;
  // Ends the sub-interpreter.
  ~LANenginePrivate();
  LANenginePrivate(const LANenginePrivate&) = delete;
  LANenginePrivate& operator=(const LANenginePrivate&) = delete;

  // Held, not borrowed: a script that drops `__main__` from sys.modules must not leave these
  // dangling.  Both are the dictionary of `__main__`.
  LANobjectPtr localDictionary;
  LANobjectPtr globalDictionary;
  COLstring searchPath;
  PyThreadState* pythonInterpreterThreadState = nullptr;
  COLostream* logStream = nullptr;
  std::map<COLstring, std::unique_ptr<LANdictionaryInserter>> pythonVariables;
  // sys.path as the sub-interpreter started: the standard library, kept behind the search path.
  std::vector<COLstring> standardPath;
};
