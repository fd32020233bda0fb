// LANfunction: one script body of a definition, compiled the moment its text is set and run
// often.  A text that doesn't compile is kept with its error: a bad script loads, and only
// isValid() (or running it) tells.
#pragma once

#include <memory>

#include "COLstring.h"

class LANengine;
struct LANcompiledModule;
class LANfunctionPrivate;

class LANfunction {
public:
  enum State { StateEmpty = 0, StateValid = 1, StateInvalid = 3 };

  LANfunction();
  explicit LANfunction(LANengine* engine);
  // Copies set the code and the engine, so the copy compiles its own module.
  LANfunction(const LANfunction& other);
  LANfunction& operator=(const LANfunction& other);
  ~LANfunction();

  void setEngine(LANengine* engine);
  LANengine* engine() const;
  // Blank text empties the function; other text is stored with "\r\n" line ends and compiled.
  void setCode(const COLstring& code);
  const COLstring& code() const;
  void compile();
  void recompile();

  State state() const;
  bool isValid() const;
  bool isSet() const;
  bool isValidAndCompiled() const;
  LANcompiledModule* compiledModule() const;
  const COLstring& compileErrorDescription() const;
  // Line of the compile error, counted from 1; 0 when there is none or it is unknown.
  unsigned compileErrorLine() const;

  // Runs the body in the engine's dictionaries.  An empty function does nothing; one that
  // didn't compile throws its compile error.
  void execute() const;

  // The engine goes first: forget it without freeing anything in it.
  void disconnectEngine(const LANengine* engine);

private:
  std::unique_ptr<LANfunctionPrivate> pMember;
};

// Uniform "\r\n" line ends, with one at the end.
void LANfixNewlines(COLstring& code);
