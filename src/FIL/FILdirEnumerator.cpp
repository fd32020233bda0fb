#include "FILdirEnumerator.h"

#include <cerrno>
#include <cstring>

#include "COLerror.h"

FILdirEnumerator::FILdirEnumerator(const COLstring& pattern, bool directoriesOnly)
    : m_DirectoriesOnly(directoriesOnly) {
  errno = 0;
  const int result = glob(pattern.c_str(), GLOB_ERR, nullptr, &m_Glob);
  if (result != 0 && result != GLOB_NOMATCH && result != GLOB_ABORTED) {
    const int error = errno;
    globfree(&m_Glob);
    throw COLerror("glob on " + pattern + " failed. " + COLstrerror(error) + ".", static_cast<uint32_t>(error));
  }
}

FILdirEnumerator::~FILdirEnumerator() { globfree(&m_Glob); }

bool FILdirEnumerator::getFile(COLstring& name) {
  while (m_Index < m_Glob.gl_pathc) {
    const char* path = m_Glob.gl_pathv[m_Index++];
    if (stat(path, &m_Info) != 0) continue;
    if (m_DirectoriesOnly && !S_ISDIR(m_Info.st_mode)) continue;
    const char* slash = std::strrchr(path, '/');
    name = slash ? slash + 1 : path;
    m_CreationTime = static_cast<long>(m_Info.st_ctime);
    m_LastAccessTime = static_cast<long>(m_Info.st_atime);
    m_LastWriteTime = static_cast<long>(m_Info.st_mtime);
    return true;
  }
  return false;
}
