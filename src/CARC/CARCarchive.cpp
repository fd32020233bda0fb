#include "CARCarchive.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "COLerror.h"

namespace {
// Deeper nesting of objects than any definition has is a damaged file, not a reason to run
// out of stack.
constexpr unsigned MaximumDepth = 400;

std::unordered_map<uint32_t, CARCcreateFunction>& factory() {
  static std::unordered_map<uint32_t, CARCcreateFunction> functions;
  return functions;
}
std::mutex& factoryMutex() {
  static std::mutex mutex;
  return mutex;
}

COLstring decimal(uint32_t value) { return COLstring(std::to_string(value)); }
}  // namespace

void CARCraiseFormat() { throw COLerror(CARCinvalidFormatText, CARC_ERROR_FORMAT); }

// --- readers

CARCreaderMemory::CARCreaderMemory(const void* data, size_t size)
    : m_Reading(true), m_Data(static_cast<const unsigned char*>(data)), m_Size(size) {}

void CARCreaderMemory::read(void* buffer, size_t size) {
  if (!m_Reading) throw COLerror("CARCreaderMemory: this buffer collects and cannot be read", COL_ERROR_PRECONDITION);
  if (size > m_Size - m_Position) CARCraiseFormat();
  if (size) std::memcpy(buffer, m_Data + m_Position, size);
  m_Position += size;
}

void CARCreaderMemory::write(const void* buffer, size_t size) {
  if (m_Reading) throw COLerror("CARCreaderMemory: this buffer is read and cannot be written", COL_ERROR_PRECONDITION);
  const auto* bytes = static_cast<const unsigned char*>(buffer);
  m_Buffer.insert(m_Buffer.end(), bytes, bytes + size);
  m_Position = m_Buffer.size();
}

const unsigned char* CARCreaderMemory::data() const { return m_Reading ? m_Data : m_Buffer.data(); }

COLstring CARCreaderMemory::debugHexData() const {
  static const char Digits[] = "0123456789ABCDEF";
  size_t from = m_Position > 16 ? m_Position - 16 : 0;
  size_t to = std::min(size(), m_Position + 16);
  COLstring text = COLstring("at ") + decimal(uint32_t(m_Position)) + ":";
  for (size_t i = from; i < to; ++i) {
    char byte[4] = {i == m_Position ? '|' : ' ', Digits[data()[i] >> 4], Digits[data()[i] & 15], 0};
    text += byte;
  }
  return text;
}

CARCreaderFile::CARCreaderFile(const COLstring& path, int mode) {
  if (mode != 0) throw COLerror("CARCreaderFile: writing not allowed on this platform", COL_ERROR_PRECONDITION);
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) throw COLerror(COLstring("Unable to open file '") + path + "'", COL_ERROR_PRECONDITION);
  unsigned char chunk[65536];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) m_Bytes.insert(m_Bytes.end(), chunk, chunk + got);
  bool failed = std::ferror(file);
  std::fclose(file);
  if (failed) throw COLerror(COLstring("Unable to open file '") + path + "'", COL_ERROR_PRECONDITION);
  m_Memory = CARCreaderMemory(m_Bytes.data(), m_Bytes.size());
}

void CARCreaderFile::write(const void*, size_t) {
  throw COLerror("CARCreaderFile: writing not allowed on this platform", COL_ERROR_PRECONDITION);
}

// --- factory

void CARCfactoryAddFunction(uint32_t id, CARCcreateFunction function) {
  std::lock_guard<std::mutex> lock(factoryMutex());
  COL_PRECONDITION(id != 0);
  COL_PRECONDITION(factory().find(id) == factory().end());
  factory()[id] = function;
}

std::unique_ptr<CARCserializable> CARCfactoryCreateClass(uint32_t id) {
  CARCcreateFunction function = nullptr;
  {
    std::lock_guard<std::mutex> lock(factoryMutex());
    auto found = factory().find(id);
    if (found != factory().end()) function = found->second;
  }
  return function ? function() : nullptr;
}

// --- objects

void CARCserializable::archive(CARCarchive& archive) {
  uint32_t id = isA();
  archive.archiveUnsignedLongInt(id);
  if (archive.isReading() && id != isA()) throw COLerror(CARCincompatibleText, CARC_ERROR_INCOMPATIBLE);
  uint32_t fileVersion = version();
  archive.archiveUnsignedLongInt(fileVersion);
  if (archive.isReading() && fileVersion > version()) throw COLerror(CARCnewerVersionText, CARC_ERROR_INCOMPATIBLE);
  archiveImp(archive, fileVersion);
}

// --- archive

CARCarchive::CARCarchive(CARCreader& reader, bool reading, std::vector<std::unique_ptr<CARCserializable>>* owner)
    : m_Reader(reader), m_Reading(reading), m_Owner(owner ? owner : &m_OwnObjects) {}

char CARCarchive::readChar() { return char(readUnsignedChar()); }

unsigned char CARCarchive::readUnsignedChar() {
  unsigned char value;
  readBytes(&value, 1);
  return value;
}

bool CARCarchive::readBoolean() { return readUnsignedChar() != 0; }

int16_t CARCarchive::readShortInt() { return int16_t(readUnsignedShortInt()); }

uint16_t CARCarchive::readUnsignedShortInt() {
  unsigned char bytes[2];
  readBytes(bytes, 2);
  return uint16_t(bytes[0] | bytes[1] << 8);
}

int32_t CARCarchive::readLongInt() { return int32_t(readUnsignedLongInt()); }

uint32_t CARCarchive::readUnsignedLongInt() {
  unsigned char bytes[4];
  readBytes(bytes, 4);
  return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

double CARCarchive::readDouble() {
  unsigned char bytes[8];
  readBytes(bytes, 8);
  uint64_t bits = 0;
  for (int i = 7; i >= 0; --i) bits = bits << 8 | bytes[i];
  double value;
  std::memcpy(&value, &bits, 8);
  return value;
}

COLstring CARCarchive::readString() {
  uint32_t count = readUnsignedLongInt();
  if (count > CARCmaximumString) CARCraiseFormat();
  COLstring value;
  value.resize(count);
  if (count) readBytes(value.data(), count);
  return value;
}

void CARCarchive::readGuid(unsigned char guid[16]) {
  uint32_t first = readUnsignedLongInt();
  uint16_t second = readUnsignedShortInt();
  uint16_t third = readUnsignedShortInt();
  for (int i = 0; i < 4; ++i) guid[i] = (unsigned char)(first >> (8 * i));
  guid[4] = (unsigned char)second;
  guid[5] = (unsigned char)(second >> 8);
  guid[6] = (unsigned char)third;
  guid[7] = (unsigned char)(third >> 8);
  readBytes(guid + 8, 8);
}

void CARCarchive::writeUnsignedShortInt(uint16_t value) {
  unsigned char bytes[2] = {(unsigned char)value, (unsigned char)(value >> 8)};
  writeBytes(bytes, 2);
}

void CARCarchive::writeUnsignedLongInt(uint32_t value) {
  unsigned char bytes[4] = {(unsigned char)value, (unsigned char)(value >> 8), (unsigned char)(value >> 16),
                            (unsigned char)(value >> 24)};
  writeBytes(bytes, 4);
}

void CARCarchive::writeDouble(double value) {
  uint64_t bits;
  std::memcpy(&bits, &value, 8);
  unsigned char bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = (unsigned char)(bits >> (8 * i));
  writeBytes(bytes, 8);
}

void CARCarchive::writeString(const COLstring& value) {
  // What a reader would refuse is not written.
  COL_PRECONDITION(value.size() <= CARCmaximumString);
  writeUnsignedLongInt(uint32_t(value.size()));
  writeBytes(value.data(), value.size());
}

void CARCarchive::writeGuid(const unsigned char guid[16]) {
  writeUnsignedLongInt(uint32_t(guid[0]) | uint32_t(guid[1]) << 8 | uint32_t(guid[2]) << 16 |
                       uint32_t(guid[3]) << 24);
  writeUnsignedShortInt(uint16_t(guid[4] | guid[5] << 8));
  writeUnsignedShortInt(uint16_t(guid[6] | guid[7] << 8));
  writeBytes(guid + 8, 8);
}

void CARCarchive::writeCARCserializable(CARCserializable* object) {
  auto found = m_Written.find(object);
  if (found != m_Written.end()) {
    writeUnsignedLongInt(CARC_REFERENCE_TAG);
    writeUnsignedLongInt(found->second);
    return;
  }
  m_Written.emplace(object, uint32_t(m_Written.size()));
  object->archive(*this);
}

void CARCarchive::writeRequired(CARCserializable* object) {
  COL_PRECONDITION_TEXT(object != nullptr, "SmartPtr.get() != NULL");
  writeCARCserializable(object);
}

CARCserializable* CARCarchive::readCARCserializable() {
  return readObject(readUnsignedLongInt(), true, " file may be corrupt.");
}

CARCserializable* CARCarchive::getObject() { return readObject(readUnsignedLongInt(), false, " file is probably corrupt."); }

CARCserializable* CARCarchive::readOptional() {
  uint32_t tag = readUnsignedLongInt();
  return tag == CARC_NULL_TAG ? nullptr : readObject(tag, true, " file may be corrupt.");
}

CARCserializable* CARCarchive::readObject(uint32_t tag, bool backReferences, const char* corrupt) {
  if (backReferences && tag == CARC_REFERENCE_TAG) {
    uint32_t index = readUnsignedLongInt();
    if (index >= m_Objects.size()) CARCraiseFormat();
    return m_Objects[index];
  }
  std::unique_ptr<CARCserializable> made = CARCfactoryCreateClass(tag);
  if (!made)
    throw COLerror(COLstring("Incompatible object id thrown = ") + decimal(tag) + corrupt, CARC_ERROR_INCOMPATIBLE);
  if (m_Depth >= MaximumDepth) CARCraiseFormat();
  CARCserializable* object = made.get();
  m_Owner->push_back(std::move(made));
  // On the list before its body, so that the body may refer to the object itself.
  m_Objects.push_back(object);
  ++m_Depth;
  struct Leave {
    unsigned& depth;
    ~Leave() { --depth; }
  } leave{m_Depth};
  uint32_t fileVersion = readUnsignedLongInt();
  if (fileVersion > object->version()) throw COLerror(CARCnewerVersionText, CARC_ERROR_INCOMPATIBLE);
  object->archiveImp(*this, fileVersion);
  return object;
}

// An item of another class is as missing as a null one would be.
void CARCarchive::failWrongClass() {
  COLfailCheck("Failed precondition: ", "NULL != pRestoredObject", __FILE__, __LINE__, COL_ERROR_PRECONDITION);
}
