#include "QVTengineInternal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "COLbuffer.h"
#include "COLerror.h"
#include "COLfilter.h"
#include "FILbinaryFile.h"
#include "STMZIPfilter.h"
#include "TREbinary.h"

namespace {
// The version text a file of this program carries; readers don't interpret it.
constexpr const char* WriterVersion = "5.1.12";
using Guard = std::lock_guard<COLcriticalSection>;
constexpr uint16_t MaximumConfigs = 1000;

[[noreturn]] void damagedFrame(const COLstring& why) {
  throw COLerror(COLstring("The reflected binary file is damaged: ") + why, COL_ERROR_PRECONDITION);
}
}  // namespace

// --- the engine

QVTengineInternal::QVTengineInternal() { clearInstance(); }

void QVTengineInternal::clearInstance() {
  QVTregisterTypes();
  m_Root.clear();
  m_Root.instance().setType(QVTtype("VMD"));
  // One configuration with the plugin that every configuration of a definition has.
  plugin().child(QVTpluginBase::Plugin).node().setType(QVTtype("ConfigPluginHL7"));
  m_Root.resetDirty();
}

void QVTengineInternal::setCurrentConfig(uint16_t index) {
  m_Root.setVersion(index);
  if (vmd().number(QVTvmd::CurrentConfigIndex) != index) vmd().setNumber(QVTvmd::CurrentConfigIndex, index);
}

uint16_t QVTengineInternal::addConfiguration() {
  m_Root.addVersion(m_Root.currentVersion());
  m_Root.setVersion(uint16_t(m_Root.countOfVersion() - 1));
  return m_Root.currentVersion();
}

void QVTengineInternal::postLoad() {
  if (m_Root.instance().type() != &QVTtype("VMD"))
    damagedFrame(COLstring("its root object is a ") +
                 (m_Root.instance().type() ? m_Root.instance().type()->name() : COLstring("(no type)")) +
                 ", not a definition (VMD).");
  // Each configuration becomes a whole configuration of the model; no definition has this many.
  if (countOfConfig() > MaximumConfigs)
    damagedFrame("it has " + std::to_string(countOfConfig()) + " configurations, more than " +
                 std::to_string(MaximumConfigs) + ".");
  if (!vmd().child(QVTvmd::Plugin).isA("ConfigPluginBase"))
    damagedFrame("its configuration part is not a ConfigPluginBase.");
}

// --- the frame

size_t QVTvmdFileTreBinaryHeaderFilter::write(const void* data, size_t size) {
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  size_t used = 0;
  while (m_HeaderRead < 6 && used < size) m_Header[m_HeaderRead++] = bytes[used++];
  if (m_HeaderRead == 6 && m_HeaderSize == 0) {
    uint32_t id = uint32_t(m_Header[0]) | uint32_t(m_Header[1]) << 8 | uint32_t(m_Header[2]) << 16 |
                  uint32_t(m_Header[3]) << 24;
    COL_PRECONDITION_TEXT(id == QVT_BINARY_TRE_ID, "FileId == QVT_BINARY_TRE_ID");
    m_HeaderSize = uint16_t(m_Header[4] | m_Header[5] << 8);
    if (m_HeaderSize < 7) damagedFrame("its header size is " + std::to_string(m_HeaderSize) + ", less than 7.");
  }
  while (m_HeaderSize && m_HeaderRead < m_HeaderSize && used < size) {
    if (m_HeaderRead + 1 < m_HeaderSize) m_Version += char(bytes[used]);
    ++m_HeaderRead;
    ++used;
  }
  if (m_HeaderSize && m_HeaderRead == m_HeaderSize && used < size) next().write(bytes + used, size - used);
  return size;
}

void QVTvmdFileTreBinaryHeaderFilter::flush() {
  if (m_HeaderSize == 0 || m_HeaderRead < m_HeaderSize) damagedFrame("it ends within its header.");
  next().flush();
}

// --- load and save

void QVTloadTreBinVmdBytes(QVTengineInternal& engine, const void* data, size_t size) {
  Guard guard(TREnamespace::instance().criticalSection());
  try {
    engine.vmdInstance().clear();
    TREsinkBinary tree(engine.vmdComplexInstance());
    STMZIPfilterDecompress payload(&tree);
    QVTvmdFileTreBinaryHeaderFilter frame(&payload);
    frame.write(data, size);
    frame.flush();
    engine.postLoad();
    engine.vmdInstance().resetDirty();
  } catch (...) {
    engine.clearInstance();
    throw;
  }
}

void QVTloadTreBinVmdFile(QVTengineInternal& engine, const COLstring& path) {
  COLsimpleBuffer bytes;
  {
    FILbinaryFile file(path, FILmodeRead);
    bytes.resize(size_t(file.size()));
    size_t got = bytes.size() ? file.read(bytes.data(), bytes.size()) : 0;
    bytes.resize(got);
  }
  QVTloadTreBinVmdBytes(engine, bytes.data(), bytes.size());
}

void QVTsaveTreBinVmdBytes(QVTengineInternal& engine, COLsink& sink) {
  COLbinaryBuffer out(1024, 2);
  COLstring version = WriterVersion;
  TREwriteU32(out, QVT_BINARY_TRE_ID);
  TREwriteU16(out, uint16_t(7 + version.size()));
  TREwriteText(out, version);
  {
    STMZIPfilterCompress compress(&out);
    COLfilterBuffer buffer(32768, &compress);
    TREsourceBinary source(engine.vmdComplexInstance());
    source.setNext(&buffer);
    source.writeAll();
    buffer.flush();
  }
  sink.write(out.start(), out.size());
  sink.flush();
}

void QVTsaveTreBinVmdFile(QVTengineInternal& engine, const COLstring& path) {
  COLbinaryBuffer content(1024, 2);
  QVTsaveTreBinVmdBytes(engine, content);
  FILreplaceFile(path, content.start(), content.size());
  engine.vmdInstance().resetDirty();
}
