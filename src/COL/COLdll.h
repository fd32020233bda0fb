// COLdll: a library loaded at run time (dlopen), with its symbols and its errors.  The
// database back ends reach their client libraries through it.
#pragma once

#include "COLreference.h"
#include "COLstring.h"

enum COLdllLoadResult : int {
  COLdllLoaded = 1,
  COLdllEmptyName = -2,
  COLdllLoadFailed = -3,
};

class COLdll : public COLreference {
public:
  COLdll() = default;
  COLdll(const COLdll&) = delete;
  COLdll& operator=(const COLdll&) = delete;
  // Unloads the library when it was loaded with unloadOnDestroy.
  ~COLdll() override;

  // Never raises; an earlier library is freed first.
  COLdllLoadResult tryLoadLibrary(const COLstring& name, bool unloadOnDestroy = true);
  void loadLibrary(const COLstring& name, bool unloadOnDestroy = true);
  void* getProcAddress(const char* symbol);
  void freeLibrary();

  const COLstring& libraryName() const { return m_LibraryName; }
  bool loaded() const { return m_DllHandle != nullptr; }
  const COLstring& lastError() const { return m_LastError; }

private:
  void* m_DllHandle = nullptr;
  bool m_UnloadOnDestroy = true;
  COLstring m_LibraryName;
  COLstring m_LastError;
};

// access(2) with `mode`: true when it is granted.
bool COLdllHasPermission(const COLstring& path, int mode);
