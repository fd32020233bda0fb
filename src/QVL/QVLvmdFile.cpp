#include "QVLvmdFile.h"

#include <cstdio>
#include <cstring>

#include "ANTengine.h"
#include "ATTcopy.h"
#include "CARCengineInternal.h"
#include "CTTcopy.h"
#include "COLbuffer.h"
#include "COLerror.h"
#include "FILbinaryFile.h"
#include "QVMengineInternal.h"
#include "QVTengineInternal.h"
#include "TTAcopy.h"

namespace {
constexpr size_t ProbeSize = 100;

bool startsWithId(const COLsimpleBuffer& buffer, uint32_t id) {
  if (buffer.size() < 4) return false;
  const unsigned char* bytes = buffer.data();
  uint32_t value = uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
  return value == id;
}

QVLvmdType probe(const COLsimpleBuffer& buffer) {
  if (ANTisHeaderAntVersionOne(buffer)) return QVLvmdTypeXml;
  if (QVLisHeaderArc(buffer)) return QVLvmdTypeArc;
  if (QVLisHeaderTrebin(buffer)) return QVLvmdTypeTreBin;
  return QVLvmdTypeNone;
}

[[noreturn]] void raise(const COLstring& text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

COLsimpleBuffer readProbe(FILbinaryFile& file) {
  size_t size = static_cast<size_t>(std::min<uint64_t>(file.size(), ProbeSize));
  COLsimpleBuffer buffer(size);
  size_t got = size ? file.read(buffer.data(), size) : 0;
  buffer.resize(got);
  file.setPosition64(0);
  return buffer;
}

COLstring readWhole(FILbinaryFile& file) {
  COLstring text;
  text.resize(static_cast<size_t>(file.size()));
  size_t got = text.empty() ? 0 : file.read(text.data(), text.size());
  text.resize(got);
  return text;
}

[[noreturn]] void raiseEmpty(const COLstring& path) {
  raise(COLstring("VMD file, ") + path + " is of size 0: The VMD file is not properly formatted.");
}
}  // namespace

const char* QVLvmdTypeString(uint32_t kind) {
  switch (kind) {
    case QVLvmdTypeNone: return "NONE";
    case QVLvmdTypeArc: return "ARC";
    case QVLvmdTypeTreBin: return "TREBIN";
    case QVLvmdTypeXml: return "XML";
    default: return "bad_value";
  }
}

bool QVLisHeaderArc(const COLsimpleBuffer& buffer) { return startsWithId(buffer, QVL_ARC_ID); }
bool QVLisHeaderTrebin(const COLsimpleBuffer& buffer) { return startsWithId(buffer, QVT_BINARY_TRE_ID); }

namespace {
// Whatever fails, the engine is left empty rather than holding part of a file.
template <class Load>
QVLvmdType loadOrClear(QVMengineInternal& engine, Load load) {
  try {
    return load();
  } catch (...) {
    engine.clear();
    engine.setVmdDescription(COLstring());
    throw;
  }
}

QVLvmdType loadFile(QVMengineInternal& engine, const COLstring& path) {
  FILbinaryFile file(path, FILmodeRead);
  if (file.size() == 0) raiseEmpty(path);
  COLsimpleBuffer head = readProbe(file);
  switch (probe(head)) {
    case QVLvmdTypeXml: {
      COLstring text = readWhole(file);
      file.close();
      ANTloadEngine(text, engine, path);
      engine.postLoad();
      return QVLvmdTypeXml;
    }
    case QVLvmdTypeArc: {
      file.close();
      // The archive form lives only until the model has been copied.
      CARCengineInternal archive;
      archive.load(path);
      ATTcopy(archive, engine);
      engine.postLoad();
      return QVLvmdTypeArc;
    }
    case QVLvmdTypeTreBin: {
      file.close();
      // The reflected form lives only until the model has been copied.
      QVTengineInternal reflected;
      QVTloadTreBinVmdFile(reflected, path);
      CTTcopy(reflected, engine);
      engine.postLoad();
      return QVLvmdTypeTreBin;
    }
    default:
      raise(COLstring("VMD file format of ") + path + " is not supported.");
  }
}

QVLvmdType loadMemory(QVMengineInternal& engine, const void* data, size_t size) {
  if (size == 0) raise("VMD file is of size 0: The VMD file is not properly formatted.");
  COLsimpleBuffer buffer(size);
  std::memcpy(buffer.data(), data, size);
  switch (probe(buffer)) {
    case QVLvmdTypeXml:
      ANTloadEngine(COLstring(std::string(static_cast<const char*>(data), size)), engine, "in memory");
      engine.postLoad();
      return QVLvmdTypeXml;
    case QVLvmdTypeArc: {
      CARCengineInternal archive;
      archive.loadFromMemory(data, size);
      ATTcopy(archive, engine);
      engine.postLoad();
      return QVLvmdTypeArc;
    }
    case QVLvmdTypeTreBin:
      raise("This VMD file format is not in the format required by this version of Quovane.  Please load into "
            "Quovane and resave to adjust the file.");
    default:
      raise("In memory VMD is not of a recognized format.");
  }
}

}  // namespace

QVLvmdType QVLloadEngine(QVMengineInternal& engine, const COLstring& path) {
  return loadOrClear(engine, [&] { return loadFile(engine, path); });
}

QVLvmdType QVLloadEngineFromMemory(QVMengineInternal& engine, const void* data, size_t size) {
  return loadOrClear(engine, [&] { return loadMemory(engine, data, size); });
}

QVLvmdType QVLvmdFileType(const COLstring& path) {
  FILbinaryFile file(path, FILmodeRead);
  if (file.size() == 0) raiseEmpty(path);
  QVLvmdType kind = probe(readProbe(file));
  if (kind == QVLvmdTypeNone) raise(COLstring("The file ") + path + " does not appear to be a valid VMD file.");
  return kind;
}

void QVLsaveEngine(QVMengineInternal& engine, const COLstring& path, uint32_t kind) {
  if (kind == QVLvmdTypeArc || kind == QVLvmdTypeTreBin) {
    // Both go the archive's way, whose save refuses before the file is touched. The kind is
    // refused whatever the model holds, so a model the copy can't take gets the same answer.
    CARCengineInternal archive;
    try {
      TTAcopy(engine, archive);
    } catch (const COLerror&) {
    }
    archive.save(path, false);
  }
  if (kind != QVLvmdTypeXml) raise("Cannot save to this VMD file format.");
  COLstring text = ANTsaveEngineToString(engine);
  FILreplaceFile(path, text.data(), text.size());
}
