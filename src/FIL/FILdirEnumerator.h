// FILdirEnumerator: the files that match a glob pattern, one at a time, with their times,
// size and kind.  Entries that cannot be read are skipped.
#pragma once

#include <glob.h>
#include <sys/stat.h>

#include <cstdint>

#include "COLdateTime.h"
#include "COLstring.h"

class FILdirEnumerator {
public:
  explicit FILdirEnumerator(const COLstring& pattern, bool directoriesOnly = false);
  FILdirEnumerator(const FILdirEnumerator&) = delete;
  FILdirEnumerator& operator=(const FILdirEnumerator&) = delete;
  ~FILdirEnumerator();

  void moveToFirst() { m_Index = 0; }
  // The next name, without its directory; false at the end.
  bool getFile(COLstring& name);

  // Of the file last returned by getFile.
  bool isDirectory() const { return S_ISDIR(m_Info.st_mode); }
  bool isReadOnly() const { return (m_Info.st_mode & S_IWUSR) == 0; }
  bool isHidden() const { return false; }
  const COLdateTime& creationTime() const { return m_CreationTime; }
  const COLdateTime& lastAccessTime() const { return m_LastAccessTime; }
  const COLdateTime& lastWriteTime() const { return m_LastWriteTime; }
  uint64_t fileSize() const { return static_cast<uint64_t>(m_Info.st_size); }

private:
  glob_t m_Glob = {};
  size_t m_Index = 0;
  bool m_DirectoriesOnly;
  struct stat m_Info = {};
  COLdateTime m_CreationTime;
  COLdateTime m_LastAccessTime;
  COLdateTime m_LastWriteTime;
};
