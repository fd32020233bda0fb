// FILfilePath: a path parsed into volume, directory parts, file name and extension, always
// absolute and normalised ("." and empty parts dropped, ".." resolved).  Relative text is
// resolved against a current directory: the process's, or one set on the object.
#pragma once

#include <memory>

#include "COLstring.h"

class FILfilePathPrivate;

class FILfilePath {
public:
  FILfilePath();
  explicit FILfilePath(const COLstring& path);
  FILfilePath(const FILfilePath& other);
  FILfilePath& operator=(const FILfilePath& other);
  ~FILfilePath();

  void setFileName(const COLstring& text);

  const COLstring& extension() const;
  // Sets the extension only when the path has none.
  void defaultExtension(const COLstring& extension);
  void forceExtension(const COLstring& extension);

  const COLstring& volume() const;
  size_t countOfDir() const;
  const COLstring& directory(size_t index) const;
  // The directory parts as one text, from the root, ending in a separator.
  const COLstring& directory() const;
  void fullDirectory(COLstring& out) const;
  COLstring fullDirectory() const;

  // The name without its extension.
  const COLstring& filename() const;
  void fullFilename(COLstring& out) const;
  COLstring fullFilename() const;
  void completeFilePath(COLstring& out) const;
  COLstring completeFilePath() const;
  void shortFilePath(COLstring& out) const { completeFilePath(out); }

  // The directory parts [start, end); start -1 begins at the root, end -1 runs to the end and
  // takes the file name too.
  void subFilePath(int start, int end, COLstring& out) const;

  // True when the path has neither a file name nor an extension, as "/a/b/" has.
  bool isDirectory() const;

  void setRelativeReferencePath(const COLstring& path);
  // This path written relative to the reference directory (by default the current one).
  void relativePath(COLstring& out) const;

  // The directory relative text resolves against; null means the process's working directory.
  void setCurrentDirectory(const char* directory);

private:
  std::unique_ptr<FILfilePathPrivate> pMember;
};
