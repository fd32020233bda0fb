#include "FILpath.h"

#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "FILbinaryFile.h"

namespace {

[[noreturn]] void raiseText(const COLstring& text, uint32_t code) { throw COLerror(text, code); }

// prefix path "' failed. " errno-text "."
[[noreturn]] void raiseFailed(const char* prefix, const COLstring& path, int errorNumber) {
  FILthrowErrno(prefix, path, "' failed. ", errorNumber);
}

bool statPath(const COLstring& path, struct stat& info) { return ::stat(path.c_str(), &info) == 0; }

// Names in a directory, "." and ".." left out.
std::vector<COLstring> listDirectory(const COLstring& path) {
  std::vector<COLstring> names;
  DIR* dir = ::opendir(path.c_str());
  if (!dir) raiseFailed("Attempt to read directory '", path, errno);
  while (dirent* entry = ::readdir(dir)) {
    const char* name = entry->d_name;
    if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
    names.emplace_back(name);
  }
  ::closedir(dir);
  return names;
}

bool isRealDirectory(const COLstring& path) {
  struct stat info;
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

COLstring g_ExecutableDirectory;
bool g_HasExecutableDirectory = false;

}  // namespace

// --- separators

COLstring FILaddPathSeparator(const COLstring& path) {
  if (!path.empty() && path[path.size() - 1] == '/') return path;
  return path + "/";
}

COLstring FILremovePathSeparator(const COLstring& path) {
  if (path.size() > 1 && path[path.size() - 1] == '/') return path.substr(0, path.size() - 1);
  return path;
}

COLstring FILremoveLeadingPathSeparator(const COLstring& path) {
  if (!path.empty() && path[0] == '/') return path.substr(1);
  return path;
}

COLstring FILcorrectPathSeparators(const COLstring& path) {
  COLstring out = path;
  out.subChar('\\', '/');
  return out;
}

// --- questions

bool FILfileExists(const COLstring& path) {
  struct stat info;
  return statPath(path, info);
}

bool FILhasPermission(const COLstring& path, int mode) {
  if (!FILfileExists(path)) raiseText("File `" + path + "' does not exist.", COL_ERROR_BAD_ARGUMENT);
  return ::access(path.c_str(), mode) == 0;
}

bool FILisDirectory(const COLstring& path) {
  struct stat info;
  if (!statPath(path, info)) raiseText("Failed to resolve if '" + path + "' is a directory.", errno);
  return S_ISDIR(info.st_mode);
}

bool FILisSymbolicLink(const COLstring& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0)
    raiseText("Failed to resolve if  " + path + " is a symbolic link.", errno);
  return S_ISLNK(info.st_mode);
}

uint64_t FILfileSize(const COLstring& path) {
  struct stat info;
  if (!statPath(path, info)) FILthrowErrno("Could not get file size for file '", path, "'. ", errno);
  return static_cast<uint64_t>(info.st_size);
}

// --- working directory

void FILgetCurrentWorkingDir(COLstring& out) {
  std::vector<char> buffer(4096);
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) raiseText("Unable to get the current working directory", errno);
    buffer.resize(buffer.size() * 2);
  }
  out = buffer.data();
}

void FILsetCurrentWorkingDir(const COLstring& path) {
  if (::chdir(path.c_str()) != 0) raiseFailed("Attempt to change the working directory to '", path, errno);
}

// --- making directories

void FILmakeDir(const COLstring& path, mode_t mode, const char* owner) {
  if (::mkdir(path.c_str(), mode) != 0) raiseFailed("Attempt to make new directory '", path, errno);
  if (owner == nullptr || *owner == '\0') return;
  errno = 0;
  struct passwd* user = ::getpwnam(owner);
  if (user == nullptr) raiseText(COLstring("Invalid owner username `") + owner + "'.", errno ? errno : ENOENT);
  if (::chown(path.c_str(), user->pw_uid, user->pw_gid) != 0)
    raiseText("The chown failed trying to change ownership of path `" + path + "' to `" + owner + "'.", errno);
}

void FILmakeFullDir(const COLstring& path, mode_t mode, const char* owner) {
  FILfilePath full(FILaddPathSeparator(path));
  COLstring level = full.volume();
  for (size_t i = 0; i < full.countOfDir(); ++i) {
    level += "/";
    level += full.directory(i);
    struct stat info;
    if (statPath(level, info)) {
      if (!S_ISDIR(info.st_mode))
        raiseText("Error creating directory for '" + path + "', '" + level + " is a file, not a directory.",
                  COL_ERROR_PRECONDITION);
      continue;
    }
    try {
      FILmakeDir(level, mode, owner);
    } catch (const COLerror&) {
      // Another process may have made it in between; that is success.
      if (!statPath(level, info) || !S_ISDIR(info.st_mode)) throw;
    }
  }
}

// --- removing

void FILremove(const COLstring& path) {
  if (::unlink(path.c_str()) != 0) raiseFailed("Attempt to remove '", path, errno);
}

void FILremoveDir(const COLstring& path) {
  if (::rmdir(path.c_str()) != 0) raiseFailed("Attempt to remove directory '", path, errno);
}

void FILremoveFullDir(const COLstring& path) {
  FILcleanFullDir(path, nullptr);
  FILremoveDir(path);
}

void FILcleanDir(const COLstring& path, COLostream* pReport) {
  const COLstring base = FILaddPathSeparator(path);
  for (const COLstring& name : listDirectory(path)) {
    COLstring entry = base + name;
    if (isRealDirectory(entry)) continue;
    FILremove(entry);
    if (pReport) *pReport << entry << newline;
  }
}

void FILcleanFullDir(const COLstring& path, COLostream* pReport) {
  const COLstring base = FILaddPathSeparator(path);
  for (const COLstring& name : listDirectory(path)) {
    COLstring entry = base + name;
    if (isRealDirectory(entry)) {
      FILcleanFullDir(entry, pReport);
      FILremoveDir(entry);
    } else {
      FILremove(entry);
    }
    if (pReport) *pReport << entry << newline;
  }
}

// --- copying, renaming, sizes

void FILcopyFile(const COLstring& from, const COLstring& to, bool overwrite) {
  if (!overwrite && FILfileExists(to))
    raiseText("Destination file `" + to + "' exists, but Ovewrite is unset.", COL_ERROR_PRECONDITION);
  FILbinaryFile target(to, FILmodeCreate, FILtypeBuffered);
  FILbinaryFile source(from, FILmodeRead, FILtypeUnbuffered, &target);
  source.writeAll(256 * 1024);
  target.close();
}

namespace {
void copyTree(const COLstring& from, const COLstring& to, bool overwrite, COLostream* pLog, COLostream* pError) {
  if (!FILfileExists(to)) FILmakeFullDir(to, 0755, nullptr);
  const COLstring fromBase = FILaddPathSeparator(from);
  const COLstring toBase = FILaddPathSeparator(to);
  for (const COLstring& name : listDirectory(from)) {
    COLstring source = fromBase + name;
    COLstring target = toBase + name;
    if (FILisDirectory(source)) {
      copyTree(source, target, overwrite, pLog, pError);
      continue;
    }
    try {
      FILcopyFile(source, target, overwrite);
      if (pLog) *pLog << source << " -> " << target << newline;
    } catch (const COLerror& error) {
      if (!pError) throw;
      *pError << error.description() << newline;
    }
  }
}
}  // namespace

void FILcopy(const COLstring& from, const COLstring& to, bool overwrite, COLostream* pLog, COLostream* pError) {
  const bool sourceIsDir = FILisDirectory(from);
  const bool targetExists = FILfileExists(to);
  const bool targetIsDir = targetExists && FILisDirectory(to);
  if (sourceIsDir) {
    if (targetExists && !targetIsDir)
      raiseText("Cannot copy because source, " + from + ", is a directory where destination, " + to + ", is a file.",
                COL_ERROR_PRECONDITION);
    copyTree(from, to, overwrite, pLog, pError);
    return;
  }
  COLstring target = to;
  if (targetIsDir) {
    target = FILaddPathSeparator(to) + FILfilePath(from).fullFilename();
  } else if (!to.empty() && to[to.size() - 1] == '/') {
    raiseText("Cannot copy because source, " + from + ", is a file where destination, " + to + ", is a directory.",
              COL_ERROR_PRECONDITION);
  }
  FILcopyFile(from, target, overwrite);
  if (pLog) *pLog << from << " -> " << target << newline;
}

void FILrenameFile(const COLstring& from, const COLstring& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0)
    FILthrowErrno("Attempt to rename '", from, ("' to '" + to + "' failed. ").c_str(), errno);
}

void FILchangeFileSize(const COLstring& path, uint64_t size) {
  if (::truncate(path.c_str(), static_cast<off_t>(size)) != 0) {
    int error = errno;
    raiseText("Attempt to truncate " + path + " failed. " + COLstrerror(error) + ".", error);
  }
}

// --- special directories

void FILgetTempDirectory(COLstring& out) {
  out.clear();
  // TMPDIR is read first and HOME after it, so HOME wins where both are set.
  if (const char* tmp = std::getenv("TMPDIR")) out = tmp;
  if (const char* home = std::getenv("HOME")) out = FILaddPathSeparator(home) + "tmp";
  out = FILaddPathSeparator(out);
  if (!FILfileExists(out)) FILmakeFullDir(out, 0700, nullptr);
}

void FILsetExecutableFileDirectory(const COLstring& path) {
  g_ExecutableDirectory = FILaddPathSeparator(path);
  g_HasExecutableDirectory = true;
}

void FILgetExecutableFileDirectory(COLstring& out) {
  if (!g_HasExecutableDirectory)
    raiseText("Error: Must call FILsetExecutableFileDirectory under POSIX first", COL_ERROR_PRECONDITION);
  out = g_ExecutableDirectory;
}

COLstring FILconvertLocalToAbsoluteFileName(const COLstring& name) {
  if (!name.empty() && name[0] == '/') return name;
  COLstring directory;
  FILgetExecutableFileDirectory(directory);
  return directory + name;
}
