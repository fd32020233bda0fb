// QVMcheck: preconditions of the model whose reported text names the condition in the
// terms a definition editor knows, which need not be the C++ expression that checks it.
#pragma once

#include "COLerror.h"

#define QVM_PRECONDITION(expr, text)                                                    \
  do {                                                                                  \
    if (!(expr)) COLfailCheck("Failed precondition: ", text, __FILE__, __LINE__, 0x80000100); \
  } while (0)

#define QVM_POSTCONDITION(expr, text)                                                  \
  do {                                                                                 \
    if (!(expr)) COLfailCheck("Failed postcondition:", text, __FILE__, __LINE__, 0x80000101); \
  } while (0)
