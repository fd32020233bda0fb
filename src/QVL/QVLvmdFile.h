// QVL: definition files (.vmd). Tells the three kinds apart by their first bytes, hands a
// file or a block of memory to the reader of its kind, finishes every load with postLoad, and
// saves a model in the version-one kind, the only one this system writes to a file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "COLstring.h"
#include "QVTfileId.h"

class COLsimpleBuffer;
class QVMengineInternal;

enum QVLvmdType : uint32_t {
  QVLvmdTypeNone = 0,
  QVLvmdTypeArc = 1,     // archive of objects
  QVLvmdTypeTreBin = 2,  // compressed stream of reflected instances
  QVLvmdTypeXml = 3,     // version one: text of nested <engine> elements
};

// 0x84463460, little-endian, starts an archive; QVT_BINARY_TRE_ID a reflected binary.
inline constexpr uint32_t QVL_ARC_ID = 0x84463460;

// "NONE", "ARC", "TREBIN", "XML"; any other value "bad_value".
const char* QVLvmdTypeString(uint32_t kind);
bool QVLisHeaderArc(const COLsimpleBuffer& buffer);
bool QVLisHeaderTrebin(const COLsimpleBuffer& buffer);

// Loads the file into the engine and returns its kind. On any failure the engine is left
// empty (one configuration "default"), never half filled.
QVLvmdType QVLloadEngine(QVMengineInternal& engine, const COLstring& path);
// The version-one and archive kinds; a reflected binary block is refused with a request to resave.
QVLvmdType QVLloadEngineFromMemory(QVMengineInternal& engine, const void* data, size_t size);
// The kind of a file, without loading it.
QVLvmdType QVLvmdFileType(const COLstring& path);
// Writes kind 3; kinds 1 and 2 are refused, as is any other value. An existing file is
// replaced only once the whole text has been built and written beside it.
void QVLsaveEngine(QVMengineInternal& engine, const COLstring& path, uint32_t kind);
