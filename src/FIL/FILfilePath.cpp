#include "FILfilePath.h"

#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "FILpath.h"

class FILfilePathPrivate {
public:
  COLstring FileNameBuffer;
  COLstring Volume;
  std::vector<COLstring> DirectoryParts;
  COLstring Directory;  // built from the parts
  COLstring FileName;
  COLstring Extension;
  bool HasDot = false;  // "name." keeps its dot when printed again
  bool HasRelativeDir = false;
  std::vector<COLstring> RelativeDir;
  bool HasCurrentDir = false;
  COLstring CurrentDir;

  void buildDirectory() {
    Directory = "/";
    for (const COLstring& part : DirectoryParts) {
      Directory += part;
      Directory += '/';
    }
  }
};

namespace {

[[noreturn]] void raise(const char* text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

// Splits an absolute text into normalised parts; the last part is the file (may be empty).
void splitNormalised(const COLstring& text, std::vector<COLstring>& parts, COLstring& last) {
  parts.clear();
  size_t start = 1;
  for (;;) {
    size_t slash = text.find('/', start);
    if (slash == COLstring::npos) {
      last = text.substr(start);
      break;
    }
    COLstring part = text.substr(start, slash - start);
    start = slash + 1;
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      if (parts.empty()) raise("Unable to resolve");
      parts.pop_back();
      continue;
    }
    parts.push_back(std::move(part));
  }
  // A last part of "." or ".." names a directory, not a file.
  if (last == "." || last == "..") {
    if (last == "..") {
      if (parts.empty()) raise("Unable to resolve");
      parts.pop_back();
    }
    last.clear();
  }
}

}  // namespace

FILfilePath::FILfilePath() : pMember(std::make_unique<FILfilePathPrivate>()) { pMember->buildDirectory(); }

FILfilePath::FILfilePath(const COLstring& path) : FILfilePath() { setFileName(path); }

FILfilePath::FILfilePath(const FILfilePath& other)
    : pMember(std::make_unique<FILfilePathPrivate>(*other.pMember)) {}

FILfilePath& FILfilePath::operator=(const FILfilePath& other) {
  if (this != &other) *pMember = *other.pMember;
  return *this;
}

FILfilePath::~FILfilePath() = default;

void FILfilePath::setFileName(const COLstring& text) {
  FILfilePathPrivate& m = *pMember;
  COLstring path = FILcorrectPathSeparators(text);
  if (!path.empty() && path[0] == ':') raise("Unable to resolve");
  if (path.size() > 2 && path.find(':', 2) != COLstring::npos) raise("Bad file path");
  if (path.empty() || path[0] != '/') {
    COLstring base;
    if (m.HasCurrentDir) base = m.CurrentDir;
    else FILgetCurrentWorkingDir(base);
    path = FILaddPathSeparator(base) + path;
  }
  COLstring last;
  splitNormalised(path, m.DirectoryParts, last);
  m.FileNameBuffer = text;
  size_t dot = last.rfind('.');
  m.HasDot = dot != COLstring::npos;
  if (m.HasDot) {
    m.FileName = last.substr(0, dot);
    m.Extension = last.substr(dot + 1);
  } else {
    m.FileName = last;
    m.Extension.clear();
  }
  m.buildDirectory();
}

const COLstring& FILfilePath::extension() const { return pMember->Extension; }

void FILfilePath::defaultExtension(const COLstring& extension) {
  COL_PRECONDITION(pMember->FileNameBuffer.size() > 0);
  COL_PRECONDITION(!isDirectory());
  if (pMember->Extension.empty()) forceExtension(extension);
}

void FILfilePath::forceExtension(const COLstring& extension) {
  COL_PRECONDITION(pMember->FileNameBuffer.size() > 0);
  COL_PRECONDITION(!isDirectory());
  pMember->Extension = extension;
  pMember->HasDot = !extension.empty();
}

const COLstring& FILfilePath::volume() const { return pMember->Volume; }
size_t FILfilePath::countOfDir() const { return pMember->DirectoryParts.size(); }

const COLstring& FILfilePath::directory(size_t index) const {
  COL_PRECONDITION(index < countOfDir());
  return pMember->DirectoryParts[index];
}

const COLstring& FILfilePath::directory() const { return pMember->Directory; }

void FILfilePath::fullDirectory(COLstring& out) const { out = pMember->Volume + pMember->Directory; }

COLstring FILfilePath::fullDirectory() const {
  COLstring out;
  fullDirectory(out);
  return out;
}

const COLstring& FILfilePath::filename() const { return pMember->FileName; }

void FILfilePath::fullFilename(COLstring& out) const {
  out = pMember->FileName;
  if (pMember->HasDot) {
    out += '.';
    out += pMember->Extension;
  }
}

COLstring FILfilePath::fullFilename() const {
  COLstring out;
  fullFilename(out);
  return out;
}

void FILfilePath::completeFilePath(COLstring& out) const {
  fullDirectory(out);
  out += fullFilename();
}

COLstring FILfilePath::completeFilePath() const {
  COLstring out;
  completeFilePath(out);
  return out;
}

void FILfilePath::subFilePath(int start, int end, COLstring& out) const {
  const int count = static_cast<int>(countOfDir());
  auto fail = [](const COLstring& text) { throw COLerror(text, COL_ERROR_BAD_ARGUMENT); };
  if (start < -1 || start > count) {
    COLstring text;
    COLostream(text) << "Start index of " << start << " not within bounds of [-1, " << count << "].";
    fail(text);
  }
  if (end < -1 || end > count) {
    COLstring text;
    COLostream(text) << "End index of " << end << " not within bounds of [-1, " << count << "].";
    fail(text);
  }
  const int last = end == -1 ? count : end;
  const int first = start == -1 ? 0 : start;
  if (first > last) {
    COLstring text;
    COLostream(text) << "Start index of " << start << " is greater than end index of " << end << ".";
    fail(text);
  }
  out.clear();
  if (start == -1) out = pMember->Volume + "/";
  for (int i = first; i < last; ++i) {
    out += pMember->DirectoryParts[static_cast<size_t>(i)];
    out += '/';
  }
  if (end == -1) out += fullFilename();
}

bool FILfilePath::isDirectory() const { return pMember->FileName.empty() && !pMember->HasDot; }

void FILfilePath::setRelativeReferencePath(const COLstring& path) {
  FILfilePath reference;
  if (pMember->HasCurrentDir) reference.setCurrentDirectory(pMember->CurrentDir.c_str());
  reference.setFileName(FILaddPathSeparator(path));
  pMember->RelativeDir = reference.pMember->DirectoryParts;
  pMember->HasRelativeDir = true;
}

void FILfilePath::relativePath(COLstring& out) const {
  std::vector<COLstring> reference;
  if (pMember->HasRelativeDir) {
    reference = pMember->RelativeDir;
  } else {
    FILfilePath current;
    if (pMember->HasCurrentDir) current.setCurrentDirectory(pMember->CurrentDir.c_str());
    current.setFileName("./");
    reference = current.pMember->DirectoryParts;
  }
  const std::vector<COLstring>& parts = pMember->DirectoryParts;
  size_t common = 0;
  while (common < parts.size() && common < reference.size() && parts[common] == reference[common]) ++common;
  out.clear();
  for (size_t i = common; i < reference.size(); ++i) out += "../";
  for (size_t i = common; i < parts.size(); ++i) {
    out += parts[i];
    out += '/';
  }
  out += fullFilename();
  if (out.empty()) out = "./";
}

void FILfilePath::setCurrentDirectory(const char* directory) {
  pMember->HasCurrentDir = directory != nullptr;
  pMember->CurrentDir = directory ? directory : "";
}
