// QVTengineInternal: a definition held as one reflected tree of type "VMD", configuration N
// being version N, as a reflected binary file stores it; and the file itself: a frame (id,
// version text) around a bzip2-compressed stream.  Turning it into the model is CTT's.
#pragma once

#include <cstdint>

#include "COLsink.h"
#include "COLstring.h"
#include "QVTfileId.h"
#include "QVTobject.h"
#include "TREinstance.h"

class QVTengineInternal {
public:
  QVTengineInternal();
  QVTengineInternal(const QVTengineInternal&) = delete;
  QVTengineInternal& operator=(const QVTengineInternal&) = delete;

  TRErootInstance& vmdInstance() { return m_Root; }
  TREinstanceComplex& vmdComplexInstance() { return m_Root.instance(); }
  QVTobject vmd() { return QVTobject(&m_Root.instance()); }
  // The configuration's own part: settings, grammars, name.
  QVTobject plugin() { return vmd().child(QVTvmd::Plugin); }

  uint16_t countOfConfig() const { return m_Root.countOfVersion(); }
  uint16_t currentConfig() const { return m_Root.currentVersion(); }
  void setCurrentConfig(uint16_t index);
  // A new last configuration that starts as a copy of the current one, made current.
  uint16_t addConfiguration();
  // Back to one empty configuration.
  void clearInstance();
  // Checks what a file gave: a root of type "VMD" and configuration indexes in range.
  void postLoad();

private:
  TRErootInstance m_Root;
};


// Reads a file into the engine, under the lock of the type registry for the whole load.
// A damaged file raises a COLerror that says what is wrong; the engine is then cleared.
void QVTloadTreBinVmdFile(QVTengineInternal& engine, const COLstring& path);
// The same for the bytes of a file held in memory.
void QVTloadTreBinVmdBytes(QVTengineInternal& engine, const void* data, size_t size);
// Writes the engine; the file is replaced only once the whole content has been built.
void QVTsaveTreBinVmdFile(QVTengineInternal& engine, const COLstring& path);
// The bytes that QVTsaveTreBinVmdFile writes.
void QVTsaveTreBinVmdBytes(QVTengineInternal& engine, COLsink& sink);

// Strips the frame (file id, header size, version text) and passes the payload on.  Takes
// its input in pieces of any size.
class QVTvmdFileTreBinaryHeaderFilter : public COLsink, public COLattachedSink {
public:
  explicit QVTvmdFileTreBinaryHeaderFilter(COLsink* next) { setNext(next); }
  size_t write(const void* data, size_t size) override;
  void flush() override;
  const COLstring& versionText() const { return m_Version; }

private:
  unsigned char m_Header[6] = {};
  size_t m_HeaderRead = 0;
  uint16_t m_HeaderSize = 0;
  COLstring m_Version;
};
