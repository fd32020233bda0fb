// The handle interface's road to the definition-file layer.
#include "QVMhandleSupport.h"

// The definition-file layer isn't part of this build yet: every file operation says so.
unsigned QVMhandleLoadEngine(QVMengineInternal&, const COLstring&) {
  QVMhandleNotAvailable("Loading message definition files");
}

unsigned QVMhandleVmdFileType(const COLstring&) { QVMhandleNotAvailable("Recognising message definition files"); }

void QVMhandleSaveEngine(QVMengineInternal&, const COLstring&, unsigned) {
  QVMhandleNotAvailable("Saving message definition files");
}
