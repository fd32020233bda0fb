// Handle functions whose subsystems (message parsing, table instances, XML translation,
// schema generation, database factories) are not part of this build yet. Each checks its
// handle like the others, then returns an error handle that says what is missing.
#include "QVMhandleSupport.h"

// An engine function: the engine is checked first, so a bad handle is reported as such.
#define QVM_ENGINE_UNAVAILABLE(name, what, ...)               \
  void* name(void* engine, __VA_ARGS__) {                      \
    return QVMhandleGuard([&] {                                \
      (void)QVMhandleEngine(engine);                           \
      QVMhandleNotAvailable(what);                             \
    });                                                        \
  }

// A table function: table instances don't exist yet, so no table handle can be valid.
#define QVM_TABLE_UNAVAILABLE(name, ...)                       \
  void* name(void* table, __VA_ARGS__) {                       \
    return QVMhandleGuard([&] {                                \
      QVMhandleCheck(table);                                   \
      QVMhandleNotAvailable("Access to table instances");                \
    });                                                        \
  }

namespace {
const char kParsing[] = "Message parsing";
const char kGeneration[] = "Message generation";
const char kXml[] = "XML translation";
const char kSchema[] = "Schema generation";
}  // namespace

extern "C" {

QVM_ENGINE_UNAVAILABLE(_QVMengineParseMessageA, kParsing, const char*, unsigned*, void*)
QVM_ENGINE_UNAVAILABLE(_QVMengineParseMessageNoPostProcessA, kParsing, const char*, unsigned*, void*)
QVM_ENGINE_UNAVAILABLE(_QVMenginePostProcessMessageA, kParsing, const char*)
QVM_ENGINE_UNAVAILABLE(_QVMengineSimpleParse, kParsing, const char*, void**, unsigned*)
QVM_ENGINE_UNAVAILABLE(_QVMengineGetErrorTree, kParsing, void**)
QVM_ENGINE_UNAVAILABLE(_QVMengineGenerateMessage, kGeneration, void*, unsigned, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineCreateEmptyMessageTable, "Access to table instances", unsigned, void**)
QVM_ENGINE_UNAVAILABLE(_QVMengineMessageDiff, "Message comparison", const char*, const char*, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineTransformMessage, "Message transformation", const char*, unsigned, unsigned,
                       const char**, unsigned*, int)
QVM_ENGINE_UNAVAILABLE(_QVMengineGenerateAckFromMessage, "Acknowledgement generation", const char*, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineTranslateMessageToXml, kXml, const char*, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineTranslateXmlToMessage, kXml, const char*, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineTranslateMessageToHl7StandardXml, kXml, const char*, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineTranslateHl7StandardXmlToMessage, kXml, const char*, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineTranslateHl7StandardXmlToMessageValidate, kXml, const char*, int, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineGenerateSchema, kSchema, unsigned, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineGetMicrosoftSchema, kSchema, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineGetTibcoSchema, kSchema, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineGetTibcoSchemaWithCallback, kSchema, QVMschemaFunction, void*)
QVM_ENGINE_UNAVAILABLE(_QVMengineGenerateDtd, kSchema, const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineCompileFunction, "Compiling a script apart from a definition", const char*,
                       const char**)
QVM_ENGINE_UNAVAILABLE(_QVMengineSetCreateDatabaseFp, "Database connections", void*)
QVM_ENGINE_UNAVAILABLE(_QVMengineSetCreateDatabaseFpContext, "Database connections", void*)

void* _QVMengineTransformMessageReloadAllPythonModules(void* engine) {
  return QVMhandleGuard([&] {
    (void)QVMhandleEngine(engine);
    QVMhandleNotAvailable("Message transformation");
  });
}

void* _QVMengineInitAfterConfigChange(void* engine) {
  return QVMhandleGuard([&] {
    (void)QVMhandleEngine(engine);
    QVMhandleNotAvailable("Parse contexts");
  });
}

void* _QVMtableCreate(void**) {
  return QVMhandleGuard([&] { QVMhandleNotAvailable("Access to table instances"); });
}

// No table handle can exist yet; null is accepted as everywhere.
void* _QVMtableAddRef(void* table) {
  return QVMhandleGuard([&] {
    if (!table) return;
    QVMhandleCheck(table);
    QVMhandleNotAvailable("Access to table instances");
  });
}
void* _QVMtableRelease(void* table) { return _QVMtableAddRef(table); }

void* _QVMtableFreeBuffer(char** buffer) { return _QVMengineFreeBuffer(buffer); }

QVM_TABLE_UNAVAILABLE(_QVMtableGetTableGrammar, void**)
QVM_TABLE_UNAVAILABLE(_QVMtableName, const char**)
QVM_TABLE_UNAVAILABLE(_QVMtableGetTableName, const char**)
QVM_TABLE_UNAVAILABLE(_QVMtableIsNode, int*)
QVM_TABLE_UNAVAILABLE(_QVMtableSubTable, unsigned, unsigned, void**)
QVM_TABLE_UNAVAILABLE(_QVMtableGetSubTable, unsigned, unsigned, void**)
QVM_TABLE_UNAVAILABLE(_QVMtableGetRowSubTable, unsigned, unsigned, void**)
QVM_TABLE_UNAVAILABLE(_QVMtableGetSubTableIndex, const char*, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableGetSubTableNameToIndex, const char*, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableCountOfColumn, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableCountOfRow, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableCountOfSubTable, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableCountOfRowSubTable, unsigned, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableColumnType, unsigned, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableColumnName, unsigned, const char**)
QVM_TABLE_UNAVAILABLE(_QVMtableColumnIndex, const char*, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableGetColumnIsKey, unsigned, int*)
QVM_TABLE_UNAVAILABLE(_QVMtableGetKeyColumnIndex, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableIsNull, unsigned, unsigned, int*)
QVM_TABLE_UNAVAILABLE(_QVMtableGetIsNull, unsigned, unsigned, int*)
QVM_TABLE_UNAVAILABLE(_QVMtableState, unsigned, unsigned, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableSetNull, unsigned, unsigned)
QVM_TABLE_UNAVAILABLE(_QVMtableGetStringA, unsigned, unsigned, const char**)
QVM_TABLE_UNAVAILABLE(_QVMtableGetValueAsString, unsigned, unsigned, const char**)
QVM_TABLE_UNAVAILABLE(_QVMtableGetDouble, unsigned, unsigned, double*)
QVM_TABLE_UNAVAILABLE(_QVMtableGetInteger, unsigned, unsigned, int*)
QVM_TABLE_UNAVAILABLE(_QVMtableGetDateTime, unsigned, unsigned, void**)
QVM_TABLE_UNAVAILABLE(_QVMtableSetStringA, unsigned, unsigned, const char*)
QVM_TABLE_UNAVAILABLE(_QVMtableSetDouble, unsigned, unsigned, double)
QVM_TABLE_UNAVAILABLE(_QVMtableSetInteger, unsigned, unsigned, int)
QVM_TABLE_UNAVAILABLE(_QVMtableSetDateTime, unsigned, unsigned, void*)
QVM_TABLE_UNAVAILABLE(_QVMtableAddRow, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableAddRowEx, unsigned, unsigned*)
QVM_TABLE_UNAVAILABLE(_QVMtableDump, char**)

}  // extern "C"
