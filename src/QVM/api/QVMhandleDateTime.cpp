// The date-time and library-loading families of the handle interface.
#include "COLdll.h"
#include "QVMdateTimeInternal.h"
#include "QVMhandleSupport.h"

namespace {

template <class Body>
void* onDateTime(void* handle, Body body) {
  return QVMhandleGuard([&] { body(QVMhandleObject<QVMdateTimeInternal>(handle, "a date-time")); });
}

template <class Out, class Body>
void* fromDateTime(void* handle, Out* out, Body body) {
  return QVMhandleGuard([&] {
    QVMdateTimeInternal& value = QVMhandleObject<QVMdateTimeInternal>(handle, "a date-time");
    QVM_HANDLE_OUT(out);
    body(value);
  });
}

template <class Body>
void* onDll(void* handle, Body body) {
  return QVMhandleGuard([&] { body(QVMhandleObject<COLdll>(handle, "a library")); });
}

}  // namespace

extern "C" {

void* _QVMdateTimeCreate(void** dateTime) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(dateTime);
    *dateTime = QVMhandleNew(new QVMdateTimeInternal);
  });
}

void* _QVMdateTimeAddRef(void* dateTime) { return QVMhandleAddRef<QVMdateTimeInternal>(dateTime, "a date-time"); }
void* _QVMdateTimeRelease(void* dateTime) { return QVMhandleRelease<QVMdateTimeInternal>(dateTime, "a date-time"); }

void* _QVMdateTimeGetDATE(void* dateTime, double* date) {
  return fromDateTime(dateTime, date, [&](QVMdateTimeInternal& value) { *date = static_cast<double>(value); });
}

void* _QVMdateTimeSetDATE(void* dateTime, double date) {
  return onDateTime(dateTime, [&](QVMdateTimeInternal& value) {
    // The fraction of a second and the zone are not part of the day count: they stay.
    COLdateTime replacement(date);
    replacement.setSecondFraction(value.secondFraction());
    replacement.setZone(value.zone());
    value = replacement;
  });
}

void* _QVMdateTimeGetSecondFraction(void* dateTime, double* fraction) {
  return fromDateTime(dateTime, fraction, [&](QVMdateTimeInternal& value) { *fraction = value.secondFraction(); });
}

void* _QVMdateTimeSetSecondFraction(void* dateTime, double fraction) {
  return onDateTime(dateTime, [&](QVMdateTimeInternal& value) { value.setSecondFraction(fraction); });
}

void* _QVMdateTimeGetZone(void* dateTime, short* zone) {
  return fromDateTime(dateTime, zone, [&](QVMdateTimeInternal& value) { *zone = value.zone(); });
}

void* _QVMdateTimeSetZone(void* dateTime, short zone) {
  return onDateTime(dateTime, [&](QVMdateTimeInternal& value) { value.setZone(zone); });
}

void* _QVMdateTimeGetIsNull(void* dateTime, int* isNull) {
  return fromDateTime(dateTime, isNull, [&](QVMdateTimeInternal& value) { *isNull = value.isNull() ? 1 : 0; });
}

void* _QVMdateTimeSetNull(void* dateTime) {
  return onDateTime(dateTime, [&](QVMdateTimeInternal& value) { value.setNull(); });
}

void* _QVMdateTimeGetTimeT(void* dateTime, long* seconds) {
  return fromDateTime(dateTime, seconds,
                      [&](QVMdateTimeInternal& value) { *seconds = static_cast<long>(value.asTimeT()); });
}

void* _QVMdateTimeSetTimeT(void* dateTime, long seconds) {
  return onDateTime(dateTime, [&](QVMdateTimeInternal& value) { value = COLdateTime(seconds); });
}

void* _QVMdateTimeSetNow(void* dateTime) {
  return onDateTime(dateTime, [&](QVMdateTimeInternal& value) { value = COLdateTime::currentTime(); });
}

void* _QVMdateTimeFormat(void* dateTime, const char* pattern, const char** text) {
  static COLstring result;
  return fromDateTime(dateTime, text, [&](QVMdateTimeInternal& value) {
    QVM_HANDLE_OUT(pattern);
    *text = QVMhandleKeep(result, value.format(pattern));
  });
}

// --- libraries

void* _QVMdllCreate(void** dll) {
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(dll);
    *dll = QVMhandleNew(new COLdll);
  });
}

void* _QVMdllAddRef(void* dll) { return QVMhandleAddRef<COLdll>(dll, "a library"); }
void* _QVMdllRelease(void* dll) { return QVMhandleRelease<COLdll>(dll, "a library"); }

void* _QVMdllLoadLibrary(void* dll, const char* name) {
  return onDll(dll, [&](COLdll& library) { library.loadLibrary(COLstring(name)); });
}

void* _QVMdllFreeLibrary(void* dll) {
  return onDll(dll, [&](COLdll& library) { library.freeLibrary(); });
}

void* _QVMdllGetProcAddress(void* dll, const char* symbol, void** address) {
  return onDll(dll, [&](COLdll& library) {
    QVM_HANDLE_OUT(symbol);
    QVM_HANDLE_OUT(address);
    *address = library.getProcAddress(symbol);
  });
}

void* _QVMdllGetLibraryName(void* dll, const char** name) {
  return onDll(dll, [&](COLdll& library) {
    QVM_HANDLE_OUT(name);
    *name = library.libraryName().c_str();
  });
}

}  // extern "C"
