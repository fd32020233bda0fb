// CARC: the archive kind of definition file, the generation before the reflected one. An
// object graph written field by field: little-endian primitives, objects framed by class id
// and version, and references to objects already written stored as their index. This file
// holds the byte readers, the archive with its primitives and references, the base of every
// stored class and the factory that makes an object from its class id.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "COLstring.h"

class CARCarchive;

// The byte interface under an archive.
class CARCreader {
public:
  virtual ~CARCreader() = default;
  // Reads exactly `size` bytes; a short read raises "Invalid definition file format.".
  virtual void read(void* buffer, size_t size) = 0;
  virtual void write(const void* buffer, size_t size) = 0;
  virtual bool eof() const = 0;
  virtual bool isReading() const = 0;
};

// Reads from a block the caller keeps alive, or collects what is written into its own buffer.
class CARCreaderMemory : public CARCreader {
public:
  // Collects.
  CARCreaderMemory() = default;
  // Reads.
  CARCreaderMemory(const void* data, size_t size);

  void read(void* buffer, size_t size) override;
  void write(const void* buffer, size_t size) override;
  bool eof() const override { return m_Position >= size(); }
  bool isReading() const override { return m_Reading; }

  const unsigned char* data() const;
  size_t size() const { return m_Reading ? m_Size : m_Buffer.size(); }
  size_t currentPosition() const { return m_Position; }
  void setArchive(CARCarchive* archive) { m_Archive = archive; }
  // The bytes around the current position in hex, for a report of where a read failed.
  COLstring debugHexData() const;

private:
  bool m_Reading = false;
  const unsigned char* m_Data = nullptr;
  size_t m_Size = 0;
  size_t m_Position = 0;
  std::vector<unsigned char> m_Buffer;
  CARCarchive* m_Archive = nullptr;
};

// A whole file, read into memory at construction. Mode 0 reads; any other mode is writing,
// which this platform refuses.
class CARCreaderFile : public CARCreader {
public:
  CARCreaderFile(const COLstring& path, int mode);

  void read(void* buffer, size_t size) override { m_Memory.read(buffer, size); }
  void write(const void* buffer, size_t size) override;
  bool eof() const override { return m_Memory.eof(); }
  bool isReading() const override { return true; }

private:
  std::vector<unsigned char> m_Bytes;
  CARCreaderMemory m_Memory;
};

// Class ids; 0x1000 also marks a reference to an object already in the archive.
enum : uint32_t {
  CARC_REFERENCE_TAG = 0x1000,
  // Not a class: an absent object where the model allows none. The factory never takes 0.
  CARC_NULL_TAG = 0,
  CARC_ENGINE_ID = 0x84463460,
  CARC_CONFIG_ID = 0x84873213,
  CARC_DB_INFO_ID = 0x71245612,
  CARC_SEP_INFO_ID = 0x67833723,
  CARC_MESSAGE_ID = 0x84463459,
  CARC_MESSAGE_GRAMMAR_ID = 0x54333545,
  CARC_NODE_ADDRESS_ID = 0x23789912,
  CARC_SEGMENT_ID = 0x2739,
  CARC_SEGMENT_FIELD_ID = 0x923235,
  CARC_COMPOSITE_ID = 0x9463,
  CARC_COMPOSITE_FIELD_ID = 0x8336243,
  CARC_ENUMERATION_ID = 0x4291979,
  CARC_DATE_TIME_ID = 0x725489,
  CARC_TABLE_ID = 0x99632360,
  CARC_TABLE_GRAMMAR_ID = 0x87263656,
  CARC_MAP_ITEM_ID = 0x92383647,
};

// Error codes and texts of the archive.
enum : uint32_t {
  CARC_ERROR_FORMAT = 0x80001000,
  CARC_ERROR_INCOMPATIBLE = 0x80000201,
};
inline constexpr const char* CARCinvalidFormatText = "Invalid definition file format.";
inline constexpr const char* CARCincompatibleText =
    "Incompatible data file.  Please check this is the correct file type.";
inline constexpr const char* CARCnewerVersionText = "This data file is from a newer version of the product.";
// Strings above this many bytes are taken as a damaged file.
inline constexpr uint32_t CARCmaximumString = 0x100000;

class CARCserializable {
public:
  virtual ~CARCserializable() = default;
  virtual uint32_t isA() const = 0;
  virtual uint32_t version() const = 0;
  virtual std::unique_ptr<CARCserializable> createFunc() const = 0;
  // The body, in the layout of `version` (the file's when reading, version() when writing).
  virtual void archiveImp(CARCarchive& archive, uint32_t version) = 0;

  // Class id, version, body. On reading, another class id or a newer version is refused.
  void archive(CARCarchive& archive);
};

using CARCcreateFunction = std::unique_ptr<CARCserializable> (*)();
// Registers a class; the id 0 and an id registered before are failed preconditions.
void CARCfactoryAddFunction(uint32_t id, CARCcreateFunction function);
// Null for an id nobody registered.
std::unique_ptr<CARCserializable> CARCfactoryCreateClass(uint32_t id);

// Registers T at start: one static object per class.
template <class T>
struct CARCfactInit {
  CARCfactInit() {
    CARCfactoryAddFunction(T::ClassId, [] { return std::unique_ptr<CARCserializable>(new T); });
  }
};

class CARCarchive {
public:
  // Objects the archive makes while reading go to `owner`, which outlives every use of them.
  CARCarchive(CARCreader& reader, bool reading, std::vector<std::unique_ptr<CARCserializable>>* owner = nullptr);

  bool isReading() const { return m_Reading; }
  bool eof() const { return m_Reader.eof(); }
  // True where a reader has reached the end of the file before an optional step.
  bool stopsHere() const { return m_Reading && m_Reader.eof(); }

  // --- primitives
  char readChar();
  unsigned char readUnsignedChar();
  bool readBoolean();
  int16_t readShortInt();
  uint16_t readUnsignedShortInt();
  int32_t readLongInt();
  uint32_t readUnsignedLongInt();
  uint32_t readSizeT() { return readUnsignedLongInt(); }
  double readDouble();
  COLstring readString();
  void readGuid(unsigned char guid[16]);

  void writeChar(char value) { writeBytes(&value, 1); }
  void writeUnsignedChar(unsigned char value) { writeBytes(&value, 1); }
  void writeBoolean(bool value) { writeUnsignedChar(value ? 1 : 0); }
  void writeShortInt(int16_t value) { writeUnsignedShortInt(uint16_t(value)); }
  void writeUnsignedShortInt(uint16_t value);
  void writeLongInt(int32_t value) { writeUnsignedLongInt(uint32_t(value)); }
  void writeUnsignedLongInt(uint32_t value);
  void writeSizeT(uint32_t value) { writeUnsignedLongInt(value); }
  void writeDouble(double value);
  void writeString(const COLstring& value);
  void writeGuid(const unsigned char guid[16]);

  void archiveChar(char& value) { m_Reading ? void(value = readChar()) : writeChar(value); }
  void archiveUnsignedChar(unsigned char& value) { m_Reading ? void(value = readUnsignedChar()) : writeUnsignedChar(value); }
  void archiveBoolean(bool& value) { m_Reading ? void(value = readBoolean()) : writeBoolean(value); }
  void archiveShortInt(int16_t& value) { m_Reading ? void(value = readShortInt()) : writeShortInt(value); }
  void archiveUnsignedShortInt(uint16_t& value) {
    m_Reading ? void(value = readUnsignedShortInt()) : writeUnsignedShortInt(value);
  }
  void archiveLongInt(int32_t& value) { m_Reading ? void(value = readLongInt()) : writeLongInt(value); }
  void archiveUnsignedLongInt(uint32_t& value) {
    m_Reading ? void(value = readUnsignedLongInt()) : writeUnsignedLongInt(value);
  }
  void archiveSizeT(uint32_t& value) { archiveUnsignedLongInt(value); }
  void archiveDouble(double& value) { m_Reading ? void(value = readDouble()) : writeDouble(value); }
  void archiveString(COLstring& value) { m_Reading ? void(value = readString()) : writeString(value); }
  void archiveGuid(unsigned char guid[16]) { m_Reading ? readGuid(guid) : writeGuid(guid); }

  // --- objects
  // A written object again is u32 0x1000 and its index; a new one is stored whole.
  void writeCARCserializable(CARCserializable* object);
  // Back reference or class id; the object of a class id is made by the factory.
  CARCserializable* readCARCserializable();
  // As readCARCserializable, without back references.
  CARCserializable* getObject();
  // A reference that may not be null, of class T.
  template <class T>
  void archiveReference(T*& object) {
    if (!m_Reading) {
      writeRequired(object);
      return;
    }
    object = checkedClass<T>(readCARCserializable());
  }
  // A reference where the model allows none: absent is stored as u32 0.
  template <class T>
  void archiveOptionalReference(T*& object) {
    if (!m_Reading) {
      if (object)
        writeCARCserializable(object);
      else
        writeUnsignedLongInt(CARC_NULL_TAG);
      return;
    }
    object = checkedClass<T>(readOptional());
  }
  // A u32 count, then each item as a reference of class T.
  template <class T>
  void archiveList(std::vector<T*>& items) {
    uint32_t count = uint32_t(items.size());
    archiveUnsignedLongInt(count);
    if (!m_Reading) {
      for (T* item : items) writeRequired(item);
      return;
    }
    // Grows as items arrive: a damaged count runs into the end of the file, not out of memory.
    items.clear();
    for (uint32_t i = 0; i < count; ++i) items.push_back(checkedClass<T>(readCARCserializable()));
  }
  // Makes an object owned by the archive's owner; for objects stored by `archive`.
  template <class T>
  T* make() {
    auto object = std::make_unique<T>();
    T* raw = object.get();
    m_Owner->push_back(std::move(object));
    return raw;
  }

  // Bytes read or written so far.
  size_t offset() const { return m_Offset; }

  void setCurrentDebug(const char* file, int line) {
    m_DebugFile = file;
    m_DebugLine = line;
  }

private:
  void readBytes(void* buffer, size_t size) {
    m_Reader.read(buffer, size);
    m_Offset += size;
  }
  void writeBytes(const void* buffer, size_t size) {
    m_Reader.write(buffer, size);
    m_Offset += size;
  }
  void writeRequired(CARCserializable* object);
  CARCserializable* readOptional();
  CARCserializable* readObject(uint32_t tag, bool backReferences, const char* corrupt);
  template <class T>
  static T* checkedClass(CARCserializable* object) {
    if (!object) return nullptr;
    if (object->isA() != T::ClassId) failWrongClass();
    return static_cast<T*>(object);
  }
  [[noreturn]] static void failWrongClass();

  CARCreader& m_Reader;
  bool m_Reading;
  std::vector<std::unique_ptr<CARCserializable>> m_OwnObjects;
  std::vector<std::unique_ptr<CARCserializable>>* m_Owner;
  std::vector<CARCserializable*> m_Objects;
  // Written objects by address, for their back references.
  std::unordered_map<const CARCserializable*, uint32_t> m_Written;
  unsigned m_Depth = 0;
  size_t m_Offset = 0;
  const char* m_DebugFile = nullptr;
  int m_DebugLine = 0;
};

[[noreturn]] void CARCraiseFormat();
