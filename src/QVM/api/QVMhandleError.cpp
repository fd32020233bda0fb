// The error and reference families of the handle interface, and the guard's helpers.
#include <cstring>

#include "QVMhandleSupport.h"

namespace {
// Hands out when not even an error object can be made; its count never reaches zero.
COLerror& outOfMemoryError() {
  static COLerror* error = [] {
    auto* made = new COLerror("Out of memory.", COL_ERROR_RESOURCE);
    made->AddRef();
    return made;
  }();
  return *error;
}

COLerror& errorObject(void* handle) { return QVMhandleObject<COLerror>(handle, "an error"); }
}  // namespace

void* QVMhandleMakeError(const COLerror& error) noexcept {
  try {
    return QVMhandleNew(new COLerror(error));
  } catch (...) {
    COLerror& fallback = outOfMemoryError();
    fallback.AddRef();
    return static_cast<COLreference*>(&fallback);
  }
}

void QVMhandleNotAvailable(const char* operation) {
  throw COLerror(COLstring(operation) + " is not available yet in this build of the engine.", COL_ERROR_PRECONDITION);
}

void QVMhandleCheck(const void* handle) {
  COL_PRECONDITION_TEXT(handle != reinterpret_cast<const void*>(-1), "Handle != (void*)(-1)");
  COL_PRECONDITION_TEXT(handle != nullptr, "Handle != NULL");
}

char* QVMdumpCopy(const COLstring& text) {
  char* copy = new char[text.size() + 1];
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

extern "C" {

void* _QVMerrorCreate(void** error, const char* text) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(error);
    *error = QVMhandleNew(new COLerror(COLstring(text), COL_ERROR_RESOURCE));
  });
}

void* _QVMerrorRelease(void* error) { return QVMhandleRelease<COLerror>(error, "an error"); }

void* _QVMerrorGetDescription(void* error, const char** text) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(text);
    *text = errorObject(error).description().c_str();
  });
}

void* _QVMerrorGetCode(void* error, unsigned* code) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(code);
    *code = errorObject(error).code();
  });
}

void* _QVMerrorGetParameter(void* error, const char* key, const char** value) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(key);
    QVM_HANDLE_OUT(value);
    COLerror& object = errorObject(error);
    // Asking must not add the key, as COLerror::parameter would.
    if (!object.hasParameter(key))
      throw COLerror(COLstring("The error has no parameter '") + key + "'.", COL_ERROR_BAD_ARGUMENT);
    *value = object.parameter(key).c_str();
  });
}

void* _QVMerrorHasParameter(void* error, const char* key, int* has) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(key);
    QVM_HANDLE_OUT(has);
    *has = errorObject(error).hasParameter(key) ? 1 : 0;
  });
}

void* _QVMerrorGetCountOfParameter(void* error, unsigned* count) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(count);
    *count = static_cast<unsigned>(errorObject(error).CountOfParameter());
  });
}

void* _QVMerrorGetKey(void* error, unsigned index, const char** key) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(key);
    COLerror& object = errorObject(error);
    *key = object.key(index).c_str();
  });
}

void* _QVMreferenceAddRef(void* handle) {
  return QVMhandleGuard([&] {
    if (handle && !QVMhandleGrammarAddRef(handle)) QVMhandleObject<COLreference>(handle, "a counted").AddRef();
  });
}

void* _QVMreferenceRelease(void* handle) {
  return QVMhandleGuard([&] {
    if (handle && !QVMhandleGrammarRelease(handle)) QVMhandleObject<COLreference>(handle, "a counted").Release();
  });
}

void* _QVMvmdFileType(const char* path, unsigned* type) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(path);
    QVM_HANDLE_OUT(type);
    *type = QVMhandleVmdFileType(path);
  });
}

}  // extern "C"
