#include "TREbinary.h"

#include <unordered_map>
#include <vector>

#include "COLerror.h"
#include "TREinstance.h"

namespace {
[[noreturn]] void damaged(const COLstring& why, size_t offset) {
  throw COLerror(COLstring("The reflected binary stream is damaged at offset ") + std::to_string(offset) + ": " + why,
                 COL_ERROR_PRECONDITION);
}

// --- writing

class TREstreamWriter {
public:
  TREstreamWriter(TREinstanceComplex& top, COLsink& sink) : m_Top(top), m_Sink(sink) {}

  void writeVersionInfo() {
    TRErootInstance& root = rootOf();
    TREwriteU8(m_Sink, TREsourceBinary::RootBlockId);
    TREwriteU16(m_Sink, 6);
    TREwriteU16(m_Sink, root.countOfVersion());
    TREwriteU16(m_Sink, root.currentVersion());
  }

  void writeTypes() { collectTypes(m_Top); }

  void writeInstance() {
    TREwriteU8(m_Sink, TREsourceBinary::DataBlockId);
    writeComplex(m_Top);
  }

private:
  TRErootInstance& rootOf() const {
    COL_PRECONDITION_TEXT(m_Top.root() != nullptr, "Instance.root() != NULL");
    return *m_Top.root();
  }

  void collectTypes(TREinstanceComplex& node) {
    if (node.countOfType() > 0) {
      for (uint16_t i = 0; i < node.countOfType(); ++i) applyType(node.type(i));
    } else if (TREtypeComplex* type = node.type()) {
      applyType(*type);
    }
    for (uint16_t i = 0; i < node.defaultCountOfMember(); ++i) collectSlot(node.defaultChild(i));
  }

  void collectSlot(TREinstanceSimple& slot) {
    if (TREinstanceComplex* complex = slot.complex()) {
      collectTypes(*complex);
    } else if (TREinstanceVector* vector = slot.vector()) {
      for (uint16_t i = 0; i < vector->defaultSize(); ++i) collectSlot(vector->defaultChild(i));
    }
  }

  uint16_t applyType(TREtypeComplex& type) {
    auto found = m_TypeIds.find(&type);
    if (found != m_TypeIds.end()) return found->second;
    uint16_t baseId = type.baseType() ? applyType(*type.baseType()) : 0xFFFF;
    if (m_TypeIds.size() >= 0xFFFF) throw COLerror("A stream can't hold more than 65535 types.", COL_ERROR_PRECONDITION);
    uint16_t id = uint16_t(m_TypeIds.size());
    m_TypeIds.emplace(&type, id);

    COLbinaryBuffer block(1024, 2);
    TREwriteU8(block, TREsourceBinary::TypeBlockId);
    TREwriteU16(block, 0);
    TREwriteText(block, type.stringName());
    TREwriteU16(block, baseId);
    // The id the next new object of the type would get; writing hands out none.
    TREwriteU32(block, rootOf().peekObjectId(type.stringName()) + 1);
    TREwriteU16(block, type.countOfMember());
    for (uint16_t i = type.countOfBaseMember(); i < type.countOfMember(); ++i) {
      const TREtypeComplexMember& member = type.member(i);
      TREwriteText(block, member.name);
      TREwriteText(block, member.typeName);
      TREwriteU32(block, member.minOccurs);
      TREwriteU32(block, member.maxOccurs);
    }
    if (block.size() - 1 > 0xFFFF)
      throw COLerror(COLstring("The type ") + type.stringName() + " needs a block of more than 65535 bytes.",
                     COL_ERROR_PRECONDITION);
    uint16_t length = uint16_t(block.size() - 1);
    block.start()[1] = uint8_t(length);
    block.start()[2] = uint8_t(length >> 8);
    m_Sink.write(block.start(), block.size());
    return id;
  }

  uint16_t typeId(const TREtypeComplex* type) const {
    if (!type) return 0xFFFF;
    auto found = m_TypeIds.find(type);
    COL_PRECONDITION_TEXT(found != m_TypeIds.end(), "TypeTable.has(Type)");
    return found->second;
  }

  void writeSlot(TREinstanceSimple& slot) {
    if (TREinstanceComplex* complex = slot.complex())
      writeComplex(*complex);
    else if (TREinstanceVector* vector = slot.vector())
      writeVector(*vector);
    else
      writeSimple(slot);
  }

  void writeComplex(TREinstanceComplex& node) {
    uint16_t versions = rootOf().countOfVersion();
    TREwriteU16(m_Sink, typeId(node.type()));
    TREwriteU32(m_Sink, node.objectId());
    uint16_t types = node.countOfType();
    if (types == 0) {
      uint16_t count = node.type() ? std::min(node.defaultCountOfMember(), node.type()->countOfMember()) : 0;
      TREwriteU16(m_Sink, count);
      TREwriteU16(m_Sink, 0);
      for (uint16_t i = 0; i < count; ++i) {
        TREwriteU16(m_Sink, i);
        writeSlot(node.defaultChild(i));
      }
      return;
    }
    uint32_t count = 0;
    for (uint16_t t = 0; t < types; ++t) count += node.type(t).countOfOwnMember();
    TREwriteU16(m_Sink, uint16_t(count));
    TREwriteU16(m_Sink, types);
    for (uint16_t t = 0; t < types; ++t) {
      TREtypeComplex& type = node.type(t);
      TREwriteU16(m_Sink, typeId(&type));
      TREwriteU16(m_Sink, type.countOfOwnMember());
      for (uint16_t k = 0; k < type.countOfOwnMember(); ++k) TREwriteU16(m_Sink, node.valueIndexFromTypeIndex(t, k));
    }
    for (uint16_t v = 0; v < versions; ++v) TREwriteU16(m_Sink, node.typeIndexFromVersion(v));
    for (uint16_t t = 0; t < types; ++t) {
      TREtypeComplex& type = node.type(t);
      for (uint16_t k = 0; k < type.countOfOwnMember(); ++k) {
        TREwriteU16(m_Sink, uint16_t(type.countOfBaseMember() + k));
        writeSlot(node.defaultChild(node.valueIndexFromTypeIndex(t, k)));
      }
    }
  }

  void writeSimple(TREinstanceSimple& node) {
    uint16_t versions = rootOf().countOfVersion();
    const TREvariant& defaultValue = node.defaultValue();
    TREwriteU8(m_Sink, uint8_t(defaultValue.baseType()));
    uint16_t count = node.countOfValue();
    TREwriteU16(m_Sink, count);
    defaultValue.toBinary(m_Sink);
    for (uint16_t i = 0; i < count; ++i) {
      const TREvariant& value = node.value(i);
      TREwriteU8(m_Sink, uint8_t(value.baseType()));
      value.toBinary(m_Sink);
    }
    if (count > 0)
      for (uint16_t v = 0; v < versions; ++v) TREwriteU16(m_Sink, node.valueIndexFromVersion(v));
  }

  void writeVector(TREinstanceVector& node) {
    uint16_t versions = rootOf().countOfVersion();
    TREwriteU16(m_Sink, node.defaultSize());
    uint16_t vectors = node.countOfVector();
    TREwriteU16(m_Sink, vectors);
    for (uint16_t i = 0; i < vectors; ++i) {
      const std::vector<uint16_t>& list = node.vectorAt(i);
      TREwriteU16(m_Sink, uint16_t(list.size()));
      for (uint16_t index : list) TREwriteU16(m_Sink, index);
    }
    if (vectors > 0)
      for (uint16_t v = 0; v < versions; ++v) TREwriteU16(m_Sink, node.vectorIndexFromVersion(v));
    for (uint16_t i = 0; i < node.defaultSize(); ++i) writeSlot(node.defaultChild(i));
  }

  TREinstanceComplex& m_Top;
  COLsink& m_Sink;
  std::unordered_map<const TREtypeComplex*, uint16_t> m_TypeIds;
};

// --- reading

class TREstreamReader {
public:
  TREstreamReader(TREinstanceComplex& top, const unsigned char* data, size_t size)
      : m_Top(top), m_Reader(data, size), m_SlotBudget(size * 16 + 65536) {}

  void read() {
    COL_PRECONDITION_TEXT(m_Top.root() != nullptr, "pRootInstance != NULL");
    readVersionInfo();
    readTypes();
    indexMembers();
    readComplex(m_Top, 0);
  }

private:
  struct FileType {
    TREtypeComplex* type;
    uint16_t baseId;
    uint16_t countOfMember;
    std::vector<COLstring> ownNames;
    // By the file's member id, the program's member index in `type`, or npos for an id the
    // file's own chain doesn't name: one lookup by name per member of the file, not per object.
    std::vector<uint16_t> programIndex;
  };

  // All type blocks come before the data, and the program's types only gain members while
  // they are read, so the indices are fixed from here on.
  void indexMembers() {
    for (uint16_t id = 0; id < m_Types.size(); ++id) {
      FileType& fileType = m_Types[id];
      fileType.programIndex.assign(fileType.countOfMember, TREtypeComplex::npos);
      for (uint16_t index = 0; index < fileType.countOfMember; ++index)
        if (const COLstring* name = findMemberName(id, index))
          fileType.programIndex[index] = fileType.type->memberIndex(*name);
    }
  }

  void readVersionInfo() {
    uint8_t id = m_Reader.readU8();
    COL_PRECONDITION_TEXT(id == TREsourceBinary::RootBlockId, "Id == TREsourceBinary::RootBlockId");
    m_Reader.readU16();
    uint16_t count = m_Reader.readU16();
    uint16_t current = m_Reader.readU16();
    if (count == 0 || count == 0xFFFF || current >= count)
      damaged("version " + std::to_string(current) + " of " + std::to_string(count) + " versions", 3);
    TRErootInstance& root = *m_Top.root();
    root.setVersionCount(count);
    root.setVersion(current);
    m_Versions = count;
  }

  void readTypes() {
    TRErootInstance& root = *m_Top.root();
    for (;;) {
      size_t offset = m_Reader.position();
      uint8_t id = m_Reader.readU8();
      if (id != TREsourceBinary::TypeBlockId) {
        if (id != TREsourceBinary::DataBlockId) damaged("a block that is neither a type nor the data", offset);
        return;
      }
      m_Reader.readU16();
      COLstring name = m_Reader.readString();
      if (name.empty()) damaged("a type without a name", offset);
      TREtypeComplex& type = TREtypeComplex::getType(name);
      uint16_t baseId = m_Reader.readU16();
      uint16_t start = 0;
      if (baseId != 0xFFFF) {
        COL_PRECONDITION_TEXT(baseId < m_Types.size(), "BaseTypeId < TypeIds.size()");
        type.setBaseType(*m_Types[baseId].type);
        if (type.baseType() != m_Types[baseId].type)
          damaged(COLstring("type ") + name + " names another base than the program's", offset);
        start = m_Types[baseId].countOfMember;
      }
      uint32_t nextId = m_Reader.readU32();
      if (nextId > 0 && nextId - 1 > root.peekObjectId(name)) root.setNextObjectId(name, nextId - 1);
      uint16_t count = m_Reader.readU16();
      if (count < start) damaged(COLstring("type ") + name + " has fewer members than its base", offset);
      FileType fileType{&type, baseId, count, {}, {}};
      for (uint16_t i = start; i < count; ++i) {
        COLstring memberName = m_Reader.readString();
        COLstring typeName = m_Reader.readString();
        uint32_t minimum = m_Reader.readU32();
        uint32_t maximum = m_Reader.readU32();
        if (memberName.empty() || typeName.empty()) damaged(COLstring("a member of type ") + name + " without a name", offset);
        if (type.memberIndex(memberName) == TREtypeComplex::npos) {
          TREtype* memberType = TREtype::getType_(typeName);
          if (!memberType) memberType = &TREtypeComplex::getType(typeName);
          type.addMember(memberName, minimum, maximum, *memberType, false, false);
        }
        fileType.ownNames.push_back(memberName);
      }
      m_Types.push_back(std::move(fileType));
      if (m_Types.size() > 0xFFFF) damaged("more than 65535 types", offset);
    }
  }

  // The name of member `index` of a file type, through the file's own base chain; null when
  // the chain has no such member.
  const COLstring* findMemberName(uint16_t fileTypeId, uint16_t index) const {
    for (unsigned depth = 0; fileTypeId != 0xFFFF && depth < m_Types.size(); ++depth) {
      const FileType& fileType = m_Types[fileTypeId];
      uint16_t baseCount = fileType.baseId == 0xFFFF ? 0 : m_Types[fileType.baseId].countOfMember;
      if (index >= baseCount) {
        if (size_t(index - baseCount) >= fileType.ownNames.size()) return nullptr;
        return &fileType.ownNames[index - baseCount];
      }
      fileTypeId = fileType.baseId;
    }
    return nullptr;
  }

  const COLstring& memberName(uint16_t fileTypeId, uint16_t index, size_t offset) const {
    COL_PRECONDITION_TEXT(fileTypeId != 0xFFFF, "TypeId != (COLuint16)-1");
    if (const COLstring* name = findMemberName(fileTypeId, index)) return *name;
    damaged("member id " + std::to_string(index) + " is not a member of its type", offset);
  }

  TREtypeComplex& fileType(uint16_t id, size_t offset) const {
    if (id >= m_Types.size()) damaged("type id " + std::to_string(id) + " is not in the type table", offset);
    return *m_Types[id].type;
  }

  void spend(size_t slots, size_t offset) {
    if (slots > m_SlotBudget) damaged("more members than a stream of this size can describe", offset);
    m_SlotBudget -= slots;
  }

  void readSlot(TREinstanceSimple& slot, unsigned depth) {
    // A member named twice would read over data that other versions already point into.
    if (!slot.markRead()) damaged("a member stands twice in its object", m_Reader.position());
    if (TREinstanceComplex* complex = slot.complex())
      readComplex(*complex, depth + 1);
    else if (TREinstanceVector* vector = slot.vector())
      readVector(*vector, depth + 1);
    else
      readSimple(slot);
  }

  void readComplex(TREinstanceComplex& node, unsigned depth) {
    size_t offset = m_Reader.position();
    if (depth > MaximumDepth) damaged("instances nested deeper than " + std::to_string(MaximumDepth), offset);
    uint16_t typeId = m_Reader.readU16();
    uint32_t objectId = m_Reader.readU32();
    uint16_t memberCount = m_Reader.readU16();
    uint16_t typeCount = m_Reader.readU16();
    std::vector<uint16_t> entryFileIds;
    std::vector<uint16_t> entryOwnCounts;
    if (typeCount == 0) {
      if (typeId != 0xFFFF) {
        TREtypeComplex& type = fileType(typeId, offset);
        spend(type.countOfMember(), offset);
        node.setDefaultType(type);
      } else if (memberCount > 0) {
        damaged("an instance without a type has members", offset);
      }
    } else {
      for (uint16_t t = 0; t < typeCount; ++t) {
        uint16_t entryId = m_Reader.readU16();
        TREtypeComplex& type = fileType(entryId, offset);
        if (type.baseType() && (t == 0 || node.countOfType() == 0 || !hasEntry(node, *type.baseType())))
          damaged(COLstring("the type entry of ") + type.name() + " comes before that of its base", offset);
        uint16_t entry = node.addType(type);
        uint16_t slots = m_Reader.readU16();
        const FileType& file = m_Types[entryId];
        if (slots != file.ownNames.size()) damaged("a type entry's slot count differs from its type", offset);
        spend(slots, offset);
        for (uint16_t k = 0; k < slots; ++k) {
          uint16_t slot = m_Reader.readU16();
          uint16_t own = uint16_t(type.memberIndex(file.ownNames[k]) - type.countOfBaseMember());
          bindSlot(node, entry, own, slot, offset);
        }
        node.completeType(entry);
        entryFileIds.push_back(entryId);
        entryOwnCounts.push_back(slots);
      }
      for (uint16_t v = 0; v < m_Versions; ++v) {
        uint16_t entry = m_Reader.readU16();
        if (entry >= typeCount) damaged("a version names a type entry that doesn't exist", offset);
        node.setTypeIndexForVersion(v, entry);
      }
    }
    if (objectId) {
      if (!node.hasType()) damaged("an instance without a type has an object id", offset);
      if (node.root()->instanceGlobal(node.type()->name(), objectId)) damaged("two objects share an id", offset);
      node.setObjectId(objectId);
      // New objects must never take an id that a stored one has.
      if (objectId > node.root()->peekObjectId(node.type()->name()))
        node.root()->setNextObjectId(node.type()->name(), objectId);
    }
    size_t entry = 0, ownRead = 0;
    for (uint16_t i = 0; i < memberCount; ++i) {
      size_t memberOffset = m_Reader.position();
      if (typeCount > 0) {
        while (entry < entryOwnCounts.size() && ownRead >= entryOwnCounts[entry]) {
          ++entry;
          ownRead = 0;
        }
        if (entry >= entryOwnCounts.size()) damaged("more members than the type entries have slots", memberOffset);
      }
      uint16_t memberId = m_Reader.readU16();
      TREinstanceSimple* slot = nullptr;
      if (typeCount == 0) {
        // The program's type of this node is the file type's.
        COL_PRECONDITION_TEXT(typeId != 0xFFFF, "TypeId != (COLuint16)-1");
        const std::vector<uint16_t>& indices = m_Types[typeId].programIndex;
        uint16_t index = memberId < indices.size() ? indices[memberId] : TREtypeComplex::npos;
        if (index == TREtypeComplex::npos) {
          const COLstring& name = memberName(typeId, memberId, memberOffset);
          damaged(COLstring("member ") + name + " is unknown", memberOffset);
        }
        slot = &defaultMember(node, index);
      } else {
        const COLstring& name = memberName(entryFileIds[entry], memberId, memberOffset);
        TREtypeComplex& type = node.type(uint16_t(entry));
        uint16_t index = type.memberIndex(name);
        if (index == TREtypeComplex::npos || index < type.countOfBaseMember())
          damaged(COLstring("member ") + name + " is not an own member of " + type.name(), memberOffset);
        slot = &node.defaultChild(node.slotOfMember(uint16_t(entry), index));
      }
      readSlot(*slot, depth);
      ++ownRead;
    }
  }

  static bool hasEntry(TREinstanceComplex& node, const TREtypeComplex& type) {
    for (uint16_t i = 0; i < node.countOfType(); ++i)
      if (&node.type(i) == &type) return true;
    return false;
  }

  // Single-version members live in the slot of their index.
  static TREinstanceSimple& defaultMember(TREinstanceComplex& node, uint16_t index) {
    node.initializeChildren(uint16_t(index + 1));
    return node.defaultChild(index);
  }

  void bindSlot(TREinstanceComplex& node, uint16_t entry, uint16_t own, uint16_t slot, size_t offset) {
    if (slot == 0xFFFF) damaged("a slot number of 65535", offset);
    if (slot >= node.defaultCountOfMember()) spend(slot + 1 - node.defaultCountOfMember(), offset);
    if (!node.setMemberSlot(entry, own, slot)) damaged("two members share a slot", offset);
  }

  void readSimple(TREinstanceSimple& node) {
    size_t offset = m_Reader.position();
    uint8_t defaultType = m_Reader.readU8();
    uint16_t count = m_Reader.readU16();
    TREbaseType base = checkedBase(defaultType, offset);
    if (base == TREbaseType::Null) {
      node.defaultValue().destroyValue();
    } else {
      node.defaultValue().fromBinary(m_Reader, base);
    }
    for (uint16_t i = 0; i < count; ++i) {
      size_t valueOffset = m_Reader.position();
      TREbaseType type = checkedBase(m_Reader.readU8(), valueOffset);
      node.addValue().fromBinary(m_Reader, type);
    }
    if (count > 0)
      for (uint16_t v = 0; v < m_Versions; ++v) {
        uint16_t index = m_Reader.readU16();
        if (index != 0xFFFF && index >= count) damaged("a version names a value that doesn't exist", offset);
        node.setValueIndexForVersion(v, index);
      }
  }

  TREbaseType checkedBase(uint8_t value, size_t offset) const {
    if (value >= TREcountOfBaseType || value == uint8_t(TREbaseType::InstanceComplex) ||
        value == uint8_t(TREbaseType::InstanceVector))
      damaged("value type " + std::to_string(value) + " has no stored form", offset);
    return TREbaseType(value);
  }

  void readVector(TREinstanceVector& node, unsigned depth) {
    size_t offset = m_Reader.position();
    if (depth > MaximumDepth) damaged("instances nested deeper than " + std::to_string(MaximumDepth), offset);
    uint16_t size = m_Reader.readU16();
    spend(size, offset);
    node.defaultResize(size);
    uint16_t vectors = m_Reader.readU16();
    for (uint16_t i = 0; i < vectors; ++i) {
      uint16_t vector = node.addVector();
      uint16_t length = m_Reader.readU16();
      for (uint16_t k = 0; k < length; ++k) {
        uint16_t index = m_Reader.readU16();
        if (index >= size) damaged("a collection version names an item that doesn't exist", offset);
        node.addVectorValueIndex(vector, index);
      }
    }
    if (vectors > 0)
      for (uint16_t v = 0; v < m_Versions; ++v) {
        uint16_t vector = m_Reader.readU16();
        if (vector >= vectors) damaged("a version names a collection that doesn't exist", offset);
        node.setVectorIndexForVersion(v, vector);
      }
    for (uint16_t i = 0; i < size; ++i) readSlot(node.defaultChild(i), depth);
  }

  static constexpr unsigned MaximumDepth = 400;
  TREinstanceComplex& m_Top;
  TREvariantReader m_Reader;
  uint16_t m_Versions = 1;
  size_t m_SlotBudget;
  std::vector<FileType> m_Types;
};
}  // namespace

void TREsourceBinary::writeChunk(size_t) {
  TREstreamWriter writer(m_Instance, next());
  writer.writeVersionInfo();
  writer.writeTypes();
  writer.writeInstance();
  setEndOfSource(true);
}

size_t TREsinkBinary::write(const void* data, size_t size) {
  // A valid definition is a few megabytes; far more is a damaged or hostile payload.
  if (m_Buffer.size() + size > MaximumStreamSize)
    throw COLerror("The reflected binary stream is larger than 256 MB.", COL_ERROR_PRECONDITION);
  m_Buffer.addChunk(data, size);
  return size;
}

void TREsinkBinary::flush() {
  if (m_Done) return;
  m_Done = true;
  read(m_Instance, m_Buffer.start(), m_Buffer.size());
}

void TREsinkBinary::read(TREinstanceComplex& instance, const unsigned char* data, size_t size) {
  TREstreamReader(instance, data, size).read();
}
