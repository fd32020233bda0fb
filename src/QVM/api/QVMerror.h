// QVMerror: the exception of the class interface. It holds the error handle of the failed
// call, so the engine's text, code and parameters reach the host unchanged.
#pragma once

#include "QVMstring.h"

class QVMerrorPrivate;

// Throws a QVMerror with the expression as its text and code 0.
[[noreturn]] void QVMactivateCondition(const char* expression, int line, const char* file);
// Throws a QVMerror made from the error handle of a failed call.
[[noreturn]] void QVMactivateCondition(const char* expression, int line, const char* file, void* errorHandle);

class QVMerror {
public:
  QVMerror(const char* description, int line, const char* file, unsigned code);
  // Takes over the caller's reference on `errorHandle`.
  QVMerror(void* errorHandle, int line, const char* file);
  QVMerror(const QVMerror& other);
  QVMerror& operator=(const QVMerror& other);
  virtual ~QVMerror();

  // The engine's text when the error came from a handle, else the text it was made with.
  const char* Description() const;
  unsigned Code() const;
  int Line() const;
  const char* File() const;
  // The failed call or condition, as written in the source.
  const char* Expression() const;
  const char* Parameter(const char* name) const;
  bool HasParameter(const char* name) const;
  unsigned CountOfParameter() const;
  const char* ParameterName(unsigned index) const;
  void* ErrorHandle() const;
  // "Error Code : <decimal>\nDescription : <text>".
  QVMstring Dump() const;

private:
  friend void QVMactivateCondition(const char*, int, const char*, void*);
  QVMerrorPrivate* pMember;
};


// Runs one handle function and throws its error, if it returns one.
#define QVM_CHECK_CALL(call)                                                         \
  do {                                                                               \
    if (void* qvmErrorHandle = (call)) QVMactivateCondition(#call, __LINE__, __FILE__, qvmErrorHandle); \
  } while (0)
#define QVM_CONDITION(expr)                                     \
  do {                                                          \
    if (!(expr)) QVMactivateCondition(#expr, __LINE__, __FILE__); \
  } while (0)
