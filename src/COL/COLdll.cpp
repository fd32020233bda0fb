#include "COLdll.h"

#include <dlfcn.h>
#include <unistd.h>

#include "COLerror.h"

namespace {
COLstring loaderError() {
  const char* text = dlerror();
  return COLstring(text ? text : "unknown loader error");
}
}  // namespace

COLdll::~COLdll() {
  if (m_DllHandle && m_UnloadOnDestroy) dlclose(m_DllHandle);
}

COLdllLoadResult COLdll::tryLoadLibrary(const COLstring& name, bool unloadOnDestroy) {
  if (m_DllHandle) {
    dlclose(m_DllHandle);
    m_DllHandle = nullptr;
  }
  m_LibraryName = name;
  m_UnloadOnDestroy = unloadOnDestroy;
  if (name.empty()) {
    m_LastError = "NULL file name.";
    return COLdllEmptyName;
  }
  m_DllHandle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!m_DllHandle) {
    m_LastError = loaderError();
    return COLdllLoadFailed;
  }
  m_LastError.clear();
  return COLdllLoaded;
}

void COLdll::loadLibrary(const COLstring& name, bool unloadOnDestroy) {
  switch (tryLoadLibrary(name, unloadOnDestroy)) {
    case COLdllLoaded:
      return;
    case COLdllEmptyName:
      throw COLerror("Unable to load library, NULL file name.", COL_ERROR_PRECONDITION);
    default:
      throw COLerror("Unable to load library: " + name + " " + m_LastError, COL_ERROR_PRECONDITION);
  }
}

void* COLdll::getProcAddress(const char* symbol) {
  void* DllHandle = m_DllHandle;
  COL_PRECONDITION(DllHandle != NULL);
  dlerror();
  void* address = dlsym(DllHandle, symbol);
  if (!address) {
    m_LastError = loaderError();
    throw COLerror(COLstring("Failed to load procedure: ") + symbol + " " + m_LastError, COL_ERROR_PRECONDITION);
  }
  return address;
}

void COLdll::freeLibrary() {
  if (!m_DllHandle) return;
  void* handle = m_DllHandle;
  m_DllHandle = nullptr;
  if (dlclose(handle) != 0) {
    m_LastError = loaderError();
    throw COLerror("Failed to free library. " + m_LastError, COL_ERROR_PRECONDITION);
  }
}

bool COLdllHasPermission(const COLstring& path, int mode) { return access(path.c_str(), mode) == 0; }
