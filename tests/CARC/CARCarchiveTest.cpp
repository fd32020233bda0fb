// The archive's byte layer and object frame: little-endian primitives, the string limit,
// back references, the factory, class and version checks, and the file reader's refusals.
#include <gtest/gtest.h>

#include <string>

#include "CARCclasses.h"
#include "CARCengineInternal.h"
#include "COLerror.h"

#include "../support/TSTfile.h"
#include "../support/TSTraised.h"

namespace {
std::string bytesOf(const CARCreaderMemory& memory) {
  return std::string(reinterpret_cast<const char*>(memory.data()), memory.size());
}

const COLerror FormatError(CARCinvalidFormatText, 0x80001000);

TEST(CARCprimitives, LittleEndianOnEveryPlatform) {
  CARCreaderMemory memory;
  CARCarchive out(memory, false);
  out.writeChar('A');
  out.writeBoolean(true);
  out.writeShortInt(-2);
  out.writeUnsignedShortInt(0x1234);
  out.writeLongInt(-2);
  out.writeUnsignedLongInt(0x84463460);
  out.writeDouble(1.5);
  out.writeString("abc");
  out.writeString("");
  const unsigned char guid[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  out.writeGuid(guid);
  EXPECT_EQ(bytesOf(memory), std::string("A\x01\xFE\xFF\x34\x12\xFE\xFF\xFF\xFF\x60\x34\x46\x84"
                                         "\x00\x00\x00\x00\x00\x00\xF8\x3F"
                                         "\x03\x00\x00\x00"
                                         "abc\x00\x00\x00\x00"
                                         "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10",
                                         14 + 8 + 4 + 3 + 4 + 16));
  CARCreaderMemory source(memory.data(), memory.size());
  CARCarchive in(source, true);
  EXPECT_EQ(in.readChar(), 'A');
  EXPECT_TRUE(in.readBoolean());
  EXPECT_EQ(in.readShortInt(), -2);
  EXPECT_EQ(in.readUnsignedShortInt(), 0x1234);
  EXPECT_EQ(in.readLongInt(), -2);
  EXPECT_EQ(in.readUnsignedLongInt(), 0x84463460u);
  EXPECT_EQ(in.readDouble(), 1.5);
  EXPECT_EQ(in.readString().str(), "abc");
  EXPECT_EQ(in.readString().str(), "");
  unsigned char back[16];
  in.readGuid(back);
  EXPECT_EQ(std::string(back, back + 16), std::string(guid, guid + 16));
  EXPECT_TRUE(in.eof());
  // Any nonzero byte is true.
  CARCreaderMemory two("\x02", 1);
  EXPECT_TRUE(CARCarchive(two, true).readBoolean());
}

TEST(CARCprimitives, StringLimitAndShortReads) {
  std::string atLimit = std::string("\x00\x00\x10\x00", 4) + std::string(0x100000, 'x');
  CARCreaderMemory ok(atLimit.data(), atLimit.size());
  EXPECT_EQ(CARCarchive(ok, true).readString().size(), 0x100000u);
  std::string above = std::string("\x01\x00\x10\x00", 4) + std::string(0x100001, 'x');
  CARCreaderMemory tooLong(above.data(), above.size());
  EXPECT_EQ(TSTraised([&] { CARCarchive(tooLong, true).readString(); }), FormatError);
  // A count larger than what is left, and a number cut short.
  CARCreaderMemory cut("\x05\x00\x00\x00" "ab", 6);
  EXPECT_EQ(TSTraised([&] { CARCarchive(cut, true).readString(); }), FormatError);
  CARCreaderMemory three("\x01\x02\x03", 3);
  EXPECT_EQ(TSTraised([&] { CARCarchive(three, true).readUnsignedLongInt(); }), FormatError);
}

TEST(CARCobjects, AnObjectWrittenAgainIsEightBytesAndReadsBackAsOne) {
  CARCdateTimeGrammar grammar;
  grammar.name = "DTM";
  grammar.maskItems = {0, 2, 3};
  CARCreaderMemory memory;
  CARCarchive out(memory, false);
  out.writeCARCserializable(&grammar);
  size_t first = memory.size();
  out.writeCARCserializable(&grammar);
  EXPECT_EQ(memory.size() - first, 8u);
  EXPECT_EQ(bytesOf(memory).substr(first), std::string("\x00\x10\x00\x00\x00\x00\x00\x00", 8));
  EXPECT_EQ(bytesOf(memory).substr(0, 8), std::string("\x89\x54\x72\x00\x02\x00\x00\x00", 8));

  std::vector<std::unique_ptr<CARCserializable>> owner;
  CARCreaderMemory source(memory.data(), memory.size());
  CARCarchive in(source, true, &owner);
  CARCserializable* a = in.readCARCserializable();
  CARCserializable* b = in.readCARCserializable();
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, b);
  ASSERT_EQ(a->isA(), CARC_DATE_TIME_ID);
  EXPECT_EQ(static_cast<CARCdateTimeGrammar*>(a)->name.str(), "DTM");
  EXPECT_EQ(static_cast<CARCdateTimeGrammar*>(a)->maskItems, (std::vector<uint32_t>{0, 2, 3}));
  EXPECT_EQ(owner.size(), 1u);
}

TEST(CARCobjects, RefusalsOfTheFrame) {
  // An id nobody registered, with and without back references.
  CARCreaderMemory unknown("\x34\x12\x00\x00", 4);
  EXPECT_EQ(TSTraised([&] { CARCarchive(unknown, true).readCARCserializable(); }),
            COLerror("Incompatible object id thrown = 4660 file may be corrupt.", 0x80000201));
  CARCreaderMemory unknownAgain("\x34\x12\x00\x00", 4);
  EXPECT_EQ(TSTraised([&] { CARCarchive(unknownAgain, true).getObject(); }),
            COLerror("Incompatible object id thrown = 4660 file is probably corrupt.", 0x80000201));
  // A back reference to an index not yet read.
  CARCreaderMemory dangling("\x00\x10\x00\x00\x00\x00\x00\x00", 8);
  EXPECT_EQ(TSTraised([&] { CARCarchive(dangling, true).readCARCserializable(); }), FormatError);
  // A version above the program's, by reference and by archive.
  CARCreaderMemory newer("\x89\x54\x72\x00\x03\x00\x00\x00", 8);
  EXPECT_EQ(TSTraised([&] { CARCarchive(newer, true).readCARCserializable(); }),
            COLerror(CARCnewerVersionText, 0x80000201));
  CARCreaderMemory newerRoot("\x60\x34\x46\x84\x03\x00\x00\x00", 8);
  CARCengineInternalPrivate root;
  EXPECT_EQ(TSTraised([&] {
              CARCarchive archive(newerRoot, true);
              root.archive(archive);
            }),
            COLerror(CARCnewerVersionText, 0x80000201));
  // The root of another class.
  CARCengineInternal engine;
  EXPECT_EQ(TSTraised([&] { engine.loadFromMemory("\x13\x32\x87\x84\x06\x00\x00\x00", 8); }),
            COLerror("Incompatible data file.  Please check this is the correct file type.", 0x80000201));
  // A reference that may not be null, on writing.
  CARCreaderMemory memory;
  CARCarchive out(memory, false);
  CARCtableDefinitionInternal* none = nullptr;
  EXPECT_EQ(TSTerrorText([&] { out.archiveReference(none); }), "Failed precondition: SmartPtr.get() != NULL");
  // An item of another class in a list.
  CARCreaderMemory list;
  CARCarchive writeList(list, false);
  std::vector<CARCdateTimeGrammar*> grammars{new CARCdateTimeGrammar};
  std::unique_ptr<CARCdateTimeGrammar> owned(grammars[0]);
  writeList.archiveList(grammars);
  CARCreaderMemory readList(list.data(), list.size());
  CARCarchive in(readList, true);
  std::vector<CARCsegmentGrammar*> segments;
  EXPECT_EQ(TSTerrorText([&] { in.archiveList(segments); }), "Failed precondition: NULL != pRestoredObject");
}

// Files of older classes: fields a version added later keep their defaults.
TEST(CARCobjects, OlderClassVersionsLeaveLaterFieldsAtDefaults) {
  CARCreaderMemory memory;
  CARCarchive out(memory, false);
  out.writeUnsignedLongInt(CARC_CONFIG_ID);
  out.writeUnsignedLongInt(1);
  out.writeString("FHS");
  for (char c : {'a', 'b', 'c', 'd'}) out.writeChar(c);
  out.writeUnsignedLongInt(9);
  out.writeBoolean(false);
  // A composite, then a sub-field of version 1 that names it: the name is read and dropped.
  CARCcompositeGrammar composite;
  composite.name = "CE";
  out.writeCARCserializable(&composite);
  out.writeUnsignedLongInt(CARC_COMPOSITE_FIELD_ID);
  out.writeUnsignedLongInt(1);
  out.writeString("Code");
  out.writeShortInt(3);
  out.writeUnsignedLongInt(0);
  out.writeUnsignedLongInt(5);
  out.writeBoolean(true);
  out.writeBoolean(false);
  out.writeUnsignedLongInt(CARC_REFERENCE_TAG);
  out.writeUnsignedLongInt(0);
  // A date-time grammar of version 1 has no description.
  out.writeUnsignedLongInt(CARC_DATE_TIME_ID);
  out.writeUnsignedLongInt(1);
  out.writeBoolean(true);
  out.writeString("TS");
  out.writeUnsignedLongInt(1);
  out.writeUnsignedLongInt(48);
  // A validation rule of a kind nobody knows.
  out.writeUnsignedLongInt(9);

  std::vector<std::unique_ptr<CARCserializable>> owner;
  CARCreaderMemory source(memory.data(), memory.size());
  CARCarchive in(source, true, &owner);
  CARCconfig config;
  config.archive(in);
  EXPECT_EQ(config.headerSegment.str(), "FHS");
  EXPECT_EQ(config.escapeEscapeChar, 'd');
  EXPECT_EQ(config.escapePosition, 9u);
  EXPECT_FALSE(config.parseSeparatorChars);
  EXPECT_EQ(config.stubFileDir.str(), "c:\\temp");
  EXPECT_TRUE(config.separators.empty());
  EXPECT_EQ(config.highestNonEscapedChar, 255);
  EXPECT_EQ(config.presetConfig.str(), "HL7");
  ASSERT_EQ(in.readCARCserializable()->isA(), CARC_COMPOSITE_ID);
  auto* field = static_cast<CARCcompositeSubField*>(in.readCARCserializable());
  EXPECT_EQ(field->name.str(), "Code");
  EXPECT_EQ(field->dataType, 3);
  EXPECT_EQ(field->maxLength, 5u);
  EXPECT_EQ(field->composite, nullptr);
  auto* dateTime = static_cast<CARCdateTimeGrammar*>(in.readCARCserializable());
  EXPECT_TRUE(dateTime->fieldsRequired);
  EXPECT_EQ(dateTime->name.str(), "TS");
  EXPECT_EQ(dateTime->maskItems, std::vector<uint32_t>{48});
  EXPECT_EQ(dateTime->description.str(), "");
  CARCsegmentValidationRule rule;
  EXPECT_EQ(TSTraised([&] { rule.archive(in); }),
            COLerror("Incompatible object id thrown = 9 file may be corrupt.", 0x80000201));
}

TEST(CARCfactory, RefusesTheIdZeroAndATakenId) {
  auto make = [] { return std::unique_ptr<CARCserializable>(new CARCdbInfo); };
  EXPECT_EQ(TSTerrorText([&] { CARCfactoryAddFunction(0, make); }), "Failed precondition: id != 0");
  EXPECT_EQ(TSTerrorText([&] { CARCfactoryAddFunction(CARC_DB_INFO_ID, make); }),
            "Failed precondition: factory().find(id) == factory().end()");
  ASSERT_NE(CARCfactoryCreateClass(CARC_MAP_ITEM_ID), nullptr);
  EXPECT_EQ(CARCfactoryCreateClass(CARC_MAP_ITEM_ID)->isA(), CARC_MAP_ITEM_ID);
  EXPECT_EQ(CARCfactoryCreateClass(0x1234), nullptr);
}

TEST(CARCreaders, FileRefusalsAndWriting) {
  EXPECT_EQ(TSTraised([] { CARCreaderFile("some.vmd", 1); }),
            COLerror("CARCreaderFile: writing not allowed on this platform", 0x80000100));
  std::string missing = TSTscratchDirectory("carc") + "/missing.vmd";
  EXPECT_EQ(TSTerrorText([&] { CARCreaderFile(missing.c_str(), 0); }), "Unable to open file '" + missing + "'");
  CARCengineInternal engine;
  EXPECT_EQ(TSTraised([&] { engine.load(missing.c_str()); }),
            COLerror(COLstring("Unable to open file '") + missing.c_str() + "'", 0x80000100));
  EXPECT_EQ(TSTraised([&] { engine.save(missing.c_str(), true); }),
            COLerror("CARCengineInternal: writing not allowed on this platform", 0x80000100));
  EXPECT_FALSE(std::filesystem::exists(missing));
  // A memory reader collects, and says where it stands.
  CARCreaderMemory memory;
  memory.write("\x01\x02", 2);
  EXPECT_EQ(memory.size(), 2u);
  EXPECT_EQ(memory.currentPosition(), 2u);
  EXPECT_EQ(memory.debugHexData().str(), "at 2: 01 02");
}

}  // namespace
