/* QVMhandle.h: the engine's public surface for hosts in any language, as plain C functions
 * over opaque handles.
 *
 * Every function returns null on success, or an error handle that the caller owns and frees
 * with _QVMerrorRelease.  Results go through out-parameters, always the last arguments.  No
 * C++ exception ever leaves these functions.  Handles made by a Create function start with
 * one reference; AddRef and Release do nothing on a null handle, Release frees at zero.
 * Texts returned as `const char*` stay valid until the next call of the same function (for
 * version, format and conversion texts) or until the object they belong to changes.
 * Indices are zero-based; 0xFFFFFFFF stands for "no value". */
#ifndef QVMHANDLE_H
#define QVMHANDLE_H

#include <stddef.h>

#if defined(__GNUC__)
#define QVM_API __attribute__((visibility("default")))
#else
#define QVM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QVM_NO_INDEX 0xFFFFFFFFu

/* Kinds of definition file. */
enum { QVM_VMD_NONE = 0, QVM_VMD_ARC = 1, QVM_VMD_TREBIN = 2, QVM_VMD_XML = 3 };

/* Called with each piece of log text an engine writes. */
typedef void (*QVMlogFunction)(void* context, const char* text, size_t length);
/* A script's "_brelmont_nimbat.query": the text to hand back (valid until the call returns)
 * or null for None. */
typedef const char* (*QVMnimbatFunction)(const char* query, const char* argument, void* context);
/* Receives a generated schema piece by piece. */
typedef void (*QVMschemaFunction)(void* context, const char* text);

/* --- error */
QVM_API void* _QVMerrorCreate(void** error, const char* text);
QVM_API void* _QVMerrorRelease(void* error);
QVM_API void* _QVMerrorGetDescription(void* error, const char** text);
QVM_API void* _QVMerrorGetCode(void* error, unsigned* code);
QVM_API void* _QVMerrorGetParameter(void* error, const char* key, const char** value);
QVM_API void* _QVMerrorHasParameter(void* error, const char* key, int* has);
QVM_API void* _QVMerrorGetCountOfParameter(void* error, unsigned* count);
QVM_API void* _QVMerrorGetKey(void* error, unsigned index, const char** key);

/* --- reference counting of any counted handle, and the kind of a definition file */
QVM_API void* _QVMreferenceAddRef(void* handle);
QVM_API void* _QVMreferenceRelease(void* handle);
QVM_API void* _QVMvmdFileType(const char* path, unsigned* type);

/* --- engine: life cycle, files, versions */
QVM_API void* _QVMengineCreate(void** engine);
QVM_API void* _QVMengineAddRef(void* engine);
QVM_API void* _QVMengineRelease(void* engine);
QVM_API void* _QVMengineLoad(void* engine, const char* path);
QVM_API void* _QVMengineLoad2(void* engine, const char* path, unsigned* type);
// A definition handed over in memory: the version-one and archive kinds; a reflected binary one is
// refused with a request to resave it.  The kind loaded goes to type.
QVM_API void* _QVMengineLoadFromMemory(void* engine, const void* data, size_t size, unsigned* type);
QVM_API void* _QVMengineSave(void* engine, const char* path, unsigned type);
QVM_API void* _QVMengineClear(void* engine);
QVM_API void* _QVMengineDump(void* engine, char** buffer);
QVM_API void* _QVMengineFreeBuffer(char** buffer);
QVM_API void* _QVMengineGetMajorVersion(unsigned* version);
QVM_API void* _QVMengineGetMinorVersion(unsigned* version);
QVM_API void* _QVMengineGetBuildNumber(unsigned* build);
QVM_API void* _QVMengineGetVersionString(const char** text);
QVM_API void* _QVMengineGetSourceDateTime(const char** text);
QVM_API void* _QVMengineGetSourceTag(const char** text);
QVM_API void* _QVMengineGetBuildId(const char** text);

/* --- engine: flags */
QVM_API void* _QVMengineSetRejectBadSegmentGrammarFlag(void* engine, int flag);
QVM_API void* _QVMengineGetRejectBadSegmentGrammarFlag(void* engine, int* flag);
QVM_API void* _QVMengineSetIsUsingPassthruMapping(void* engine, int flag);
QVM_API void* _QVMengineIsUsingPassthruMapping(void* engine, int* flag);
QVM_API void* _QVMengineSetUseMachineDoubleTypeInJavaGeneration(void* engine, int flag);
QVM_API void* _QVMengineGetUseMachineDoubleTypeInJavaGeneration(void* engine, int* flag);
QVM_API void* _QVMengineSetUseDotNetProperties(void* engine, int flag);
QVM_API void* _QVMengineGetUseDotNetProperties(void* engine, int* flag);

/* --- engine: messages and their match order (positions are opaque, null past the end) */
QVM_API void* _QVMengineCountOfMessage(void* engine, unsigned* count);
QVM_API void* _QVMengineMessageName(void* engine, unsigned messageIndex, const char** name);
QVM_API void* _QVMengineMessageByName(void* engine, const char* name, unsigned* messageIndex);
QVM_API void* _QVMengineGetMessage(void* engine, unsigned messageIndex, void** message);
QVM_API void* _QVMengineAddMessage(void* engine, unsigned* messageIndex);
QVM_API void* _QVMengineRemoveMessage(void* engine, unsigned messageIndex);
QVM_API void* _QVMengineFirstMessage(void* engine, void** position);
QVM_API void* _QVMengineNextMessage(void* engine, void* position, void** next);
QVM_API void* _QVMengineMessageIndexFromMatchIndex(void* engine, void* position, unsigned* messageIndex);
QVM_API void* _QVMengineSetMessageIndexFromMatchIndex(void* engine, void* position, unsigned messageIndex);
QVM_API void* _QVMengineSetLastMessageMatchesAll(void* engine, int flag);
QVM_API void* _QVMengineGetLastMessageMatchesAll(void* engine, int* flag);
QVM_API void* _QVMengineGetMessageMatchOrder(void* engine, unsigned messageIndex, unsigned* order);
QVM_API void* _QVMengineMoveMessageInMatchOrder(void* engine, unsigned messageIndex, unsigned order);
QVM_API void* _QVMengineGetAckMessageIndex(void* engine, unsigned* messageIndex);
QVM_API void* _QVMengineSetAckMessageIndex(void* engine, unsigned messageIndex);
QVM_API void* _QVMengineGetIgnoreMessageIndex(void* engine, unsigned* messageIndex);
QVM_API void* _QVMengineSetIgnoreMessageIndex(void* engine, unsigned messageIndex);

/* --- engine: grammars of the current configuration, and tables */
QVM_API void* _QVMengineSegmentByName(void* engine, const char* name, unsigned* segmentIndex);
QVM_API void* _QVMengineCountOfSegment(void* engine, unsigned* count);
QVM_API void* _QVMengineGetCountOfSegment(void* engine, unsigned* count);
QVM_API void* _QVMengineGetSegment(void* engine, unsigned segmentIndex, void** segment);
QVM_API void* _QVMengineAddSegment(void* engine, unsigned* segmentIndex);
QVM_API void* _QVMengineRemoveSegment(void* engine, unsigned segmentIndex);
QVM_API void* _QVMengineGetCountOfComposite(void* engine, unsigned* count);
QVM_API void* _QVMengineGetComposite(void* engine, unsigned compositeIndex, void** composite);
QVM_API void* _QVMengineAddComposite(void* engine, unsigned* compositeIndex);
QVM_API void* _QVMengineRemoveComposite(void* engine, unsigned compositeIndex);
QVM_API void* _QVMengineGetCountOfDateTimeGrammar(void* engine, unsigned* count);
QVM_API void* _QVMengineGetDateTimeGrammar(void* engine, unsigned grammarIndex, void** grammar);
QVM_API void* _QVMengineAddDateTimeGrammar(void* engine, unsigned* grammarIndex);
QVM_API void* _QVMengineRemoveDateTimeGrammar(void* engine, unsigned grammarIndex);
QVM_API void* _QVMengineGetCountOfEnumerationGrammar(void* engine, unsigned* count);
QVM_API void* _QVMengineGetEnumerationGrammar(void* engine, unsigned grammarIndex, void** grammar);
QVM_API void* _QVMengineAddEnumerationGrammar(void* engine, unsigned* grammarIndex);
QVM_API void* _QVMengineRemoveEnumerationGrammar(void* engine, unsigned grammarIndex);
QVM_API void* _QVMengineGetCountOfTable(void* engine, unsigned* count);
QVM_API void* _QVMengineGetTable(void* engine, unsigned tableIndex, void** table);
QVM_API void* _QVMengineAddTable(void* engine, unsigned* tableIndex);
QVM_API void* _QVMengineRemoveTable(void* engine, unsigned tableIndex);

/* --- engine: configurations */
QVM_API void* _QVMengineConfig(void* engine, void** config);
QVM_API void* _QVMengineCountOfConfig(void* engine, unsigned* count);
QVM_API void* _QVMengineConfigName(void* engine, unsigned configIndex, const char** name);
QVM_API void* _QVMengineAddConfiguration(void* engine, const char* name, unsigned* configIndex);
QVM_API void* _QVMengineDeleteConfig(void* engine, unsigned configIndex);
QVM_API void* _QVMengineRenameConfig(void* engine, unsigned configIndex, const char* name);
QVM_API void* _QVMengineSetCurrentConfig(void* engine, unsigned configIndex);
QVM_API void* _QVMengineGetCurrentConfig(void* engine, unsigned* configIndex);
QVM_API void* _QVMengineSetIncomingConfigIndex(void* engine, unsigned configIndex);
QVM_API void* _QVMengineGetIncomingConfigIndex(void* engine, unsigned* configIndex);
QVM_API void* _QVMengineSetOutgoingConfigIndex(void* engine, unsigned configIndex);
QVM_API void* _QVMengineGetOutgoingConfigIndex(void* engine, unsigned* configIndex);
QVM_API void* _QVMengineGetVmdDescription(void* engine, const char** text);
QVM_API void* _QVMengineSetVmdDescription(void* engine, const char* text);
QVM_API void* _QVMengineInitAfterConfigChange(void* engine);

/* --- engine: log, scripts, databases */
QVM_API void* _QVMengineSetLogCallBack(QVMlogFunction function, void* context);
QVM_API void* _QVMengineSetLogCallBackPerEngine(void* engine, QVMlogFunction function, void* context);
QVM_API void* _QVMengineExtendPythonLibraryPath(void* engine, const char* directory);
QVM_API void* _QVMengineSetPythonKeyValuePair(void* engine, const char* key, const char* value);
QVM_API void* _QVMengineResetPythonEngine(void* engine);
QVM_API void* _QVMengineSetPythonCallbackForNimbat(void* engine, QVMnimbatFunction function, void* context);
QVM_API void* _QVMengineCompileFunction(void* engine, const char* code, const char** errorText);
QVM_API void* _QVMengineSetDefaultDatabase(void* engine, const char* apiName, const char* databaseName,
                                           const char* userName, const char* password);
QVM_API void* _QVMengineSetCreateDatabaseFp(void* engine, void* function);
QVM_API void* _QVMengineSetCreateDatabaseFpContext(void* engine, void* context);

/* --- engine: messages in and out */
QVM_API void* _QVMengineParseMessageA(void* engine, const char* message, unsigned* messageIndex, void* table);
QVM_API void* _QVMengineParseMessageNoPostProcessA(void* engine, const char* message, unsigned* messageIndex,
                                                   void* table);
QVM_API void* _QVMenginePostProcessMessageA(void* engine, const char* message);
QVM_API void* _QVMengineSimpleParse(void* engine, const char* message, void** tree, unsigned* messageIndex);
QVM_API void* _QVMengineGetErrorTree(void* engine, void** tree);
QVM_API void* _QVMengineGenerateMessage(void* engine, void* table, unsigned messageIndex, const char** message);
QVM_API void* _QVMengineCreateEmptyMessageTable(void* engine, unsigned messageIndex, void** table);
QVM_API void* _QVMengineMessageDiff(void* engine, const char* first, const char* second, const char** html);
/* Parsed under configuration inConfig, generated under outConfig. The engine's current configuration is
 * switched meanwhile (and put back): no two transformations may run at once on one engine. */
QVM_API void* _QVMengineTransformMessage(void* engine, const char* message, unsigned inConfig, unsigned outConfig,
                                         const char** result, unsigned* messageIndex, int flag);
QVM_API void* _QVMengineTransformMessageReloadAllPythonModules(void* engine, const char* message, unsigned inConfig,
                                                               unsigned outConfig, const char** result,
                                                               unsigned* messageIndex, int flag);
/* The configuration's acknowledgement message in reply to the message; only its header is read. */
QVM_API void* _QVMengineGenerateAckFromMessage(void* engine, const char* message, const char** ack);
QVM_API void* _QVMengineTranslateMessageToXml(void* engine, const char* message, const char** xml);
QVM_API void* _QVMengineTranslateXmlToMessage(void* engine, const char* xml, const char** message);
QVM_API void* _QVMengineTranslateMessageToHl7StandardXml(void* engine, const char* message, const char** xml);
QVM_API void* _QVMengineTranslateHl7StandardXmlToMessage(void* engine, const char* xml, const char** message);
QVM_API void* _QVMengineTranslateHl7StandardXmlToMessageValidate(void* engine, const char* xml, int validate,
                                                                 const char** message);
QVM_API void* _QVMengineGenerateSchema(void* engine, unsigned kind, const char** schema);
QVM_API void* _QVMengineGetMicrosoftSchema(void* engine, const char** schema);
QVM_API void* _QVMengineGetTibcoSchema(void* engine, const char** schema);
QVM_API void* _QVMengineGetTibcoSchemaWithCallback(void* engine, QVMschemaFunction function, void* context);
QVM_API void* _QVMengineGenerateDtd(void* engine, const char** dtd);
QVM_API void* _QVMengineMakePrintable(const char* message, const char* lineFeed, const char** text);
QVM_API void* _QVMengineMakeParseable(const char* message, const char* lineFeed, const char** text);

/* --- table (instances of a parse) */
QVM_API void* _QVMtableCreate(void** table);
QVM_API void* _QVMtableAddRef(void* table);
QVM_API void* _QVMtableRelease(void* table);
QVM_API void* _QVMtableGetTableGrammar(void* table, void** grammar);
QVM_API void* _QVMtableName(void* table, const char** name);
QVM_API void* _QVMtableGetTableName(void* table, const char** name);
QVM_API void* _QVMtableIsNode(void* table, int* isNode);
QVM_API void* _QVMtableSubTable(void* table, unsigned row, unsigned subTable, void** result);
QVM_API void* _QVMtableGetSubTable(void* table, unsigned row, unsigned subTable, void** result);
QVM_API void* _QVMtableGetRowSubTable(void* table, unsigned row, unsigned subTable, void** result);
QVM_API void* _QVMtableGetSubTableIndex(void* table, const char* name, unsigned* subTable);
QVM_API void* _QVMtableGetSubTableNameToIndex(void* table, const char* name, unsigned* subTable);
QVM_API void* _QVMtableCountOfColumn(void* table, unsigned* count);
QVM_API void* _QVMtableCountOfRow(void* table, unsigned* count);
QVM_API void* _QVMtableCountOfSubTable(void* table, unsigned* count);
QVM_API void* _QVMtableCountOfRowSubTable(void* table, unsigned row, unsigned* count);
QVM_API void* _QVMtableColumnType(void* table, unsigned column, unsigned* type);
QVM_API void* _QVMtableColumnName(void* table, unsigned column, const char** name);
QVM_API void* _QVMtableColumnIndex(void* table, const char* name, unsigned* column);
QVM_API void* _QVMtableGetColumnIsKey(void* table, unsigned column, int* isKey);
QVM_API void* _QVMtableGetKeyColumnIndex(void* table, unsigned* column);
QVM_API void* _QVMtableIsNull(void* table, unsigned column, unsigned row, int* isNull);
QVM_API void* _QVMtableGetIsNull(void* table, unsigned column, unsigned row, int* isNull);
QVM_API void* _QVMtableState(void* table, unsigned column, unsigned row, unsigned* state);
QVM_API void* _QVMtableSetNull(void* table, unsigned column, unsigned row);
QVM_API void* _QVMtableGetStringA(void* table, unsigned column, unsigned row, const char** value);
QVM_API void* _QVMtableGetValueAsString(void* table, unsigned column, unsigned row, const char** value);
QVM_API void* _QVMtableGetDouble(void* table, unsigned column, unsigned row, double* value);
QVM_API void* _QVMtableGetInteger(void* table, unsigned column, unsigned row, int* value);
QVM_API void* _QVMtableGetDateTime(void* table, unsigned column, unsigned row, void** dateTime);
QVM_API void* _QVMtableSetStringA(void* table, unsigned column, unsigned row, const char* value);
QVM_API void* _QVMtableSetDouble(void* table, unsigned column, unsigned row, double value);
QVM_API void* _QVMtableSetInteger(void* table, unsigned column, unsigned row, int value);
QVM_API void* _QVMtableSetDateTime(void* table, unsigned column, unsigned row, void* dateTime);
QVM_API void* _QVMtableAddRow(void* table, unsigned* row);
QVM_API void* _QVMtableAddRowEx(void* table, unsigned count, unsigned* firstRow);
QVM_API void* _QVMtableDump(void* table, char** buffer);
QVM_API void* _QVMtableFreeBuffer(char** buffer);

/* --- table grammar.  Grammars reached through an engine belong to it; only those made by
 * _QVMtableGrammarCreate are counted. */
QVM_API void* _QVMtableGrammarCreate(void** grammar);
QVM_API void* _QVMtableGrammarAddRef(void* grammar);
QVM_API void* _QVMtableGrammarRelease(void* grammar);
QVM_API void* _QVMtableGrammarGetName(void* grammar, const char** name);
QVM_API void* _QVMtableGrammarSetName(void* grammar, const char* name);
QVM_API void* _QVMtableGrammarGetIsNode(void* grammar, int* isNode);
QVM_API void* _QVMtableGrammarSetIsNode(void* grammar, int isNode);
QVM_API void* _QVMtableGrammarGetParent(void* grammar, void** parent);
QVM_API void* _QVMtableGrammarGetCountOfSubGrammar(void* grammar, unsigned* count);
QVM_API void* _QVMtableGrammarGetSubGrammar(void* grammar, unsigned index, void** subGrammar);
QVM_API void* _QVMtableGrammarAddSubGrammarAt(void* grammar, unsigned index, void** subGrammar);
QVM_API void* _QVMtableGrammarSetSubGrammar(void* grammar, unsigned index, void* subGrammar);
QVM_API void* _QVMtableGrammarRemoveSubGrammar(void* grammar, unsigned index);
QVM_API void* _QVMtableGrammarGetMessage(void* grammar, void** message);
QVM_API void* _QVMtableGrammarGetMessageGrammar(void* grammar, void** messageGrammar);
QVM_API void* _QVMtableGrammarSetGrammarRoot(void* grammar, void* messageGrammar);
QVM_API void* _QVMtableGrammarGetFieldIndex(void* grammar, unsigned* fieldIndex);
QVM_API void* _QVMtableGrammarSetFieldIndex(void* grammar, unsigned fieldIndex);
QVM_API void* _QVMtableGrammarGetTable(void* grammar, void** table);
QVM_API void* _QVMtableGrammarSetTable(void* grammar, void* table);
QVM_API void* _QVMtableGrammarGetMapSetIndex(void* grammar, unsigned* mapSetIndex);
QVM_API void* _QVMtableGrammarSetMapSetIndex(void* grammar, unsigned mapSetIndex);
QVM_API void* _QVMtableGrammarCountOfMap(void* grammar, unsigned* count);
QVM_API void* _QVMtableGrammarGetMap(void* grammar, unsigned column, void** mapItem);
QVM_API void* _QVMtableGrammarSetMap(void* grammar, unsigned column, void* mapItem);
QVM_API void* _QVMtableGrammarRemoveMap(void* grammar, unsigned column);

/* --- date-time: a day count since 30 December 1899 with a fraction of a second and a zone */
QVM_API void* _QVMdateTimeCreate(void** dateTime);
QVM_API void* _QVMdateTimeAddRef(void* dateTime);
QVM_API void* _QVMdateTimeRelease(void* dateTime);
QVM_API void* _QVMdateTimeGetDATE(void* dateTime, double* date);
QVM_API void* _QVMdateTimeSetDATE(void* dateTime, double date);
QVM_API void* _QVMdateTimeGetSecondFraction(void* dateTime, double* fraction);
QVM_API void* _QVMdateTimeSetSecondFraction(void* dateTime, double fraction);
QVM_API void* _QVMdateTimeGetZone(void* dateTime, short* zone);
QVM_API void* _QVMdateTimeSetZone(void* dateTime, short zone);
QVM_API void* _QVMdateTimeGetIsNull(void* dateTime, int* isNull);
QVM_API void* _QVMdateTimeSetNull(void* dateTime);
QVM_API void* _QVMdateTimeGetTimeT(void* dateTime, long* seconds);
QVM_API void* _QVMdateTimeSetTimeT(void* dateTime, long seconds);
QVM_API void* _QVMdateTimeSetNow(void* dateTime);
QVM_API void* _QVMdateTimeFormat(void* dateTime, const char* pattern, const char** text);

/* --- libraries loaded at run time */
QVM_API void* _QVMdllCreate(void** dll);
QVM_API void* _QVMdllAddRef(void* dll);
QVM_API void* _QVMdllRelease(void* dll);
QVM_API void* _QVMdllLoadLibrary(void* dll, const char* name);
QVM_API void* _QVMdllFreeLibrary(void* dll);
QVM_API void* _QVMdllGetProcAddress(void* dll, const char* symbol, void** address);
QVM_API void* _QVMdllGetLibraryName(void* dll, const char** name);

#ifdef __cplusplus
}
#endif

#endif /* QVMHANDLE_H */
