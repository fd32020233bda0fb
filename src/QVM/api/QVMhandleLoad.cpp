// The handle interface's road to the definition-file layer.
#include "QVLvmdFile.h"
#include "QVMhandleSupport.h"

unsigned QVMhandleLoadEngine(QVMengineInternal& engine, const COLstring& path) {
  const unsigned kind = QVLloadEngine(engine, path);
  engine.postLoad();
  return kind;
}

// The loader ends with the model's post-load step itself.
unsigned QVMhandleLoadEngineFromMemory(QVMengineInternal& engine, const void* data, size_t size) {
  return QVLloadEngineFromMemory(engine, data, size);
}

unsigned QVMhandleVmdFileType(const COLstring& path) { return QVLvmdFileType(path); }

void QVMhandleSaveEngine(QVMengineInternal& engine, const COLstring& path, unsigned kind) {
  QVLsaveEngine(engine, path, kind);
}
