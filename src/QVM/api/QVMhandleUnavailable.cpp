// Handle functions whose work this build does not do yet: the error tree of a parse,
// compiling a script apart from a definition, and re-making parse contexts.  Each checks its
// handle like the others, then returns an error handle that says what is missing.
#include "QVMhandleSupport.h"

// An engine function: the engine is checked first, so a bad handle is reported as such.
#define QVM_ENGINE_UNAVAILABLE(name, what, ...)               \
  void* name(void* engine, __VA_ARGS__) {                      \
    return QVMhandleGuard([&] {                                \
      (void)QVMhandleEngine(engine);                           \
      QVMhandleNotAvailable(what);                             \
    });                                                        \
  }

namespace {
const char kParsing[] = "Message parsing";
}  // namespace

extern "C" {

QVM_ENGINE_UNAVAILABLE(_QVMengineGetErrorTree, kParsing, void**)
QVM_ENGINE_UNAVAILABLE(_QVMengineCompileFunction, "Compiling a script apart from a definition", const char*,
                       const char**)

void* _QVMengineInitAfterConfigChange(void* engine) {
  return QVMhandleGuard([&] {
    (void)QVMhandleEngine(engine);
    QVMhandleNotAvailable("Parse contexts");
  });
}

}  // extern "C"
