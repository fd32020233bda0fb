#include "QVMerror.h"

#include <cstdio>
#include <string>

#include "QVMhandle.h"

class QVMerrorPrivate {
public:
  std::string Description;
  std::string File;
  int Line = 0;
  unsigned Code = 0;
  void* Handle = nullptr;
};

namespace {
// Reads from the handle; a failure to read leaves `fallback`.
const char* handleText(void* handle, const char* fallback) {
  const char* text = nullptr;
  if (!handle) return fallback;
  if (void* error = _QVMerrorGetDescription(handle, &text)) {
    _QVMerrorRelease(error);
    return fallback;
  }
  return text;
}
}  // namespace

QVMerror::QVMerror(const char* description, int line, const char* file, unsigned code)
    : pMember(new QVMerrorPrivate) {
  pMember->Description = description ? description : "";
  pMember->File = file ? file : "";
  pMember->Line = line;
  pMember->Code = code;
}

QVMerror::QVMerror(void* errorHandle, int line, const char* file) : QVMerror("", line, file, 0) {
  pMember->Handle = errorHandle;
  if (errorHandle) {
    if (void* error = _QVMerrorGetCode(errorHandle, &pMember->Code)) _QVMerrorRelease(error);
  }
}

QVMerror::QVMerror(const QVMerror& other) : pMember(new QVMerrorPrivate(*other.pMember)) {
  if (pMember->Handle) {
    if (void* error = _QVMreferenceAddRef(pMember->Handle)) _QVMerrorRelease(error);
  }
}

QVMerror& QVMerror::operator=(const QVMerror& other) {
  if (this != &other) {
    QVMerror copy(other);
    std::swap(pMember, copy.pMember);
  }
  return *this;
}

QVMerror::~QVMerror() {
  if (pMember->Handle) _QVMerrorRelease(pMember->Handle);
  delete pMember;
}

const char* QVMerror::Description() const { return handleText(pMember->Handle, pMember->Description.c_str()); }
unsigned QVMerror::Code() const { return pMember->Code; }
int QVMerror::Line() const { return pMember->Line; }
const char* QVMerror::File() const { return pMember->File.c_str(); }
const char* QVMerror::Expression() const { return pMember->Description.c_str(); }
void* QVMerror::ErrorHandle() const { return pMember->Handle; }

const char* QVMerror::Parameter(const char* name) const {
  const char* value = "";
  if (pMember->Handle) {
    if (void* error = _QVMerrorGetParameter(pMember->Handle, name, &value)) {
      _QVMerrorRelease(error);
      value = "";
    }
  }
  return value;
}

bool QVMerror::HasParameter(const char* name) const {
  int has = 0;
  if (pMember->Handle) {
    if (void* error = _QVMerrorHasParameter(pMember->Handle, name, &has)) {
      _QVMerrorRelease(error);
      has = 0;
    }
  }
  return has != 0;
}

unsigned QVMerror::CountOfParameter() const {
  unsigned count = 0;
  if (pMember->Handle) {
    if (void* error = _QVMerrorGetCountOfParameter(pMember->Handle, &count)) {
      _QVMerrorRelease(error);
      count = 0;
    }
  }
  return count;
}

const char* QVMerror::ParameterName(unsigned index) const {
  if (!pMember->Handle) QVMactivateCondition("ErrorHandle() != NULL", __LINE__, __FILE__);
  const char* key = nullptr;
  QVM_CHECK_CALL(_QVMerrorGetKey(pMember->Handle, index, &key));
  return key;
}

QVMstring QVMerror::Dump() const {
  char code[16];
  std::snprintf(code, sizeof code, "%u", Code());
  QVMstring text("Error Code : ");
  text.append(code);
  text.append("\n");
  text.append("Description : ");
  text.append(Description());
  return text;
}

void QVMactivateCondition(const char* expression, int line, const char* file) {
  throw QVMerror(expression, line, file, 0);
}

void QVMactivateCondition(const char* expression, int line, const char* file, void* errorHandle) {
  QVMerror error(errorHandle, line, file);
  // The engine's text stays the description; the failed call is kept beside it.
  error.pMember->Description = expression ? expression : "";
  throw error;
}
