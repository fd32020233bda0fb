// What the bodies of the handle functions share: the guard that turns every exception into
// an error handle, the checked conversion of a handle to its object, and the engine handle
// object. Internal to the library; hosts see only QVMhandle.h.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <new>

#include "COLerror.h"
#include "COLreference.h"
#include "COLstring.h"
#include "QVMengineInternal.h"
#include "QVMhandle.h"

// An error handle for `error`: a counted copy on the heap that the caller owns. Never
// raises; when memory runs out a shared, never-freed "out of memory" error stands in.
void* QVMhandleMakeError(const COLerror& error) noexcept;

// Runs `body`; null when it returns, else an error handle for whatever it threw.
template <class Body>
void* QVMhandleGuard(Body&& body) noexcept {
  try {
    body();
    return nullptr;
  } catch (const COLerror& error) {
    return QVMhandleMakeError(error);
  } catch (const std::bad_alloc&) {
    return QVMhandleMakeError(COLerror("Out of memory.", COL_ERROR_RESOURCE));
  } catch (const std::exception& error) {
    return QVMhandleMakeError(COLerror(error.what(), COL_ERROR_PRECONDITION));
  } catch (...) {
    return QVMhandleMakeError(COLerror("An unknown failure occurred inside the engine.", COL_ERROR_PRECONDITION));
  }
}

// The failure of an operation whose subsystem this build doesn't have yet.
[[noreturn]] void QVMhandleNotAvailable(const char* operation);

// A handle must be neither null nor all bits set.
void QVMhandleCheck(const void* handle);
// Out-parameters must point somewhere.
#define QVM_HANDLE_OUT(pointer) COL_PRECONDITION_TEXT((pointer) != nullptr, #pointer " != NULL")

// The object behind a counted handle, checked to be of the family `family` names.
template <class T>
T& QVMhandleObject(void* handle, const char* family) {
  QVMhandleCheck(handle);
  T* object = dynamic_cast<T*>(static_cast<COLreference*>(handle));
  if (!object) throw COLerror(COLstring("The handle given is not ") + family + " handle.", COL_ERROR_PRECONDITION);
  return *object;
}

// The handle of a model object: the address of its COLreference, which QVMhandleObject
// converts back. Grammars go out this way too, so that every handle can be told by kind.
inline void* QVMhandleOf(COLreference* object) { return object; }

// A new counted object as a handle with one reference.
template <class T>
void* QVMhandleNew(T* object) {
  object->AddRef();
  return static_cast<COLreference*>(object);
}

// AddRef and Release of a family: nothing on null, the family checked otherwise.
template <class T>
void* QVMhandleAddRef(void* handle, const char* family) {
  return QVMhandleGuard([&] {
    if (handle) QVMhandleObject<T>(handle, family).AddRef();
  });
}
template <class T>
void* QVMhandleRelease(void* handle, const char* family) {
  return QVMhandleGuard([&] {
    if (handle) QVMhandleObject<T>(handle, family).Release();
  });
}

// What an engine handle holds: the definition, its parse context and the host's log function.
class QVJparseContext;
class QVMengineLease;
class QVMtableInternal;

class QVMengineHandle : public COLreference {
public:
  QVMengineHandle();
  ~QVMengineHandle() override;

  QVMengineInternal& schema() { return *m_Schema; }
  // Made on first use; lives as long as the engine.
  QVJparseContext& parseContext();
  // Texts handed out by the engine's calls that have no context of their own (schemas).
  COLstring& resultText() { return m_ResultText; }
  void setLogFunction(QVMlogFunction function, void* context);
  QVMlogFunction logFunction() const { return m_LogFunction; }
  void* logContext() const { return m_LogContext; }

  // What a table made or filled by this engine holds; one for all tables of the loaded definition.
  QVMengineLease& lease();
  // Clear and load free the grammars that tables point at: their lease ends first.
  void endLease();

private:
  friend class QVMengineLease;

  COLreferencePtr<QVMengineInternal> m_Schema;
  QVMengineLease* m_Lease = nullptr;
  std::unique_ptr<QVJparseContext> m_ParseContext;
  COLstring m_ResultText;
  QVMlogFunction m_LogFunction = nullptr;
  void* m_LogContext = nullptr;
};

// A table's hold on the definition it follows: it keeps the engine alive, and it says whether
// the engine still holds that definition. A table handle can outlive both a clear and a
// reload, while its grammar pointers can't.
class QVMengineLease : public COLreference {
public:
  explicit QVMengineLease(QVMengineHandle& engine) : m_Engine(&engine) {}
  ~QVMengineLease() override;
  bool isCurrent() const { return m_IsCurrent; }
  void end() { m_IsCurrent = false; }

private:
  COLreferencePtr<QVMengineHandle> m_Engine;
  bool m_IsCurrent = true;
};

// Ties `table` to the engine's definition before the engine fills it; a table still tied to
// an ended lease is emptied first, since its old grammar is gone.
void QVMhandleLeaseTable(QVMengineHandle& engine, QVMtableInternal& table);

// The table behind a handle; refused when the definition it follows has been cleared or
// replaced since the table was made or filled.
QVMtableInternal& QVMhandleTable(void* handle);

inline QVMengineHandle& QVMhandleEngineObject(void* handle) {
  return QVMhandleObject<QVMengineHandle>(handle, "an engine");
}

inline QVMengineInternal& QVMhandleEngine(void* handle) {
  return QVMhandleObject<QVMengineHandle>(handle, "an engine").schema();
}

// The definition-file layer as the handle functions reach it.
unsigned QVMhandleLoadEngine(QVMengineInternal& engine, const COLstring& path);
unsigned QVMhandleLoadEngineFromMemory(QVMengineInternal& engine, const void* data, size_t size);
unsigned QVMhandleVmdFileType(const COLstring& path);
void QVMhandleSaveEngine(QVMengineInternal& engine, const COLstring& path, unsigned kind);

// A text handed out through a function-local static: copies it and returns the copy.
inline const char* QVMhandleKeep(COLstring& slot, const COLstring& text) {
  slot = text;
  return slot.c_str();
}
// A new character array with the text, freed by the FreeBuffer functions.
char* QVMdumpCopy(const COLstring& text);

// Reference counting through _QVMreferenceAddRef and _QVMreferenceRelease of the grammars:
// counts those made by _QVMtableGrammarCreate, does nothing for those a definition owns, and
// is false when `handle` is no grammar.
bool QVMhandleGrammarAddRef(void* handle);
bool QVMhandleGrammarRelease(void* handle);
