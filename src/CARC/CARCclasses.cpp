#include "CARCclasses.h"

#include "COLerror.h"

namespace {
// Every stored class registers itself when the program starts.
CARCfactInit<CARCconfig> initConfig;
CARCfactInit<CARCdbInfo> initDbInfo;
CARCfactInit<CARCsepInfo> initSepInfo;
CARCfactInit<CARCmessageDefinitionInternal> initMessage;
CARCfactInit<CARCmessageGrammar> initMessageGrammar;
CARCfactInit<CARCmessageNodeAddress> initNodeAddress;
CARCfactInit<CARCsegmentGrammar> initSegment;
CARCfactInit<CARCsegmentSubField> initSegmentField;
CARCfactInit<CARCcompositeGrammar> initComposite;
CARCfactInit<CARCcompositeSubField> initCompositeField;
CARCfactInit<CARCenumerationGrammar> initEnumeration;
CARCfactInit<CARCdateTimeGrammar> initDateTime;
CARCfactInit<CARCtableDefinitionInternal> initTable;
CARCfactInit<CARCtableGrammarInternal> initTableGrammar;
CARCfactInit<CARCmapItem> initMapItem;

// A u32 count and the strings.
void archiveStrings(CARCarchive& archive, std::vector<COLstring>& values) {
  uint32_t count = uint32_t(values.size());
  archive.archiveUnsignedLongInt(count);
  if (archive.isReading()) {
    values.clear();
    for (uint32_t i = 0; i < count; ++i) values.push_back(archive.readString());
  } else {
    for (COLstring& value : values) archive.writeString(value);
  }
}

void archiveNumbers(CARCarchive& archive, std::vector<uint32_t>& values) {
  uint32_t count = uint32_t(values.size());
  archive.archiveUnsignedLongInt(count);
  if (archive.isReading()) {
    values.clear();
    for (uint32_t i = 0; i < count; ++i) values.push_back(archive.readUnsignedLongInt());
  } else {
    for (uint32_t value : values) archive.writeUnsignedLongInt(value);
  }
}

}  // namespace

void CARCdbInfo::archiveImp(CARCarchive& archive, uint32_t) {
  archive.archiveString(label);
  archive.archiveString(apiName);
  archive.archiveString(databaseName);
  archive.archiveString(userName);
  archive.archiveString(password);
}

void CARCsepInfo::archiveImp(CARCarchive& archive, uint32_t) {
  archive.archiveChar(sepCharDefault);
  archive.archiveChar(repeatCharDefault);
  archive.archiveChar(sepCharEscape);
  archive.archiveChar(repeatCharEscape);
  archive.archiveUnsignedLongInt(sepCharPosition);
  archive.archiveUnsignedLongInt(repeatCharPosition);
}

void CARCmessageNodeAddress::archiveImp(CARCarchive& archive, uint32_t) {
  COL_PRECONDITION(nodeIndex.size() == repeatIndex.size());
  uint32_t depth = uint32_t(nodeIndex.size());
  archive.archiveUnsignedLongInt(depth);
  if (archive.isReading()) {
    nodeIndex.clear();
    repeatIndex.clear();
    for (uint32_t step = 0; step < depth; ++step) {
      nodeIndex.push_back(archive.readUnsignedLongInt());
      repeatIndex.push_back(archive.readUnsignedLongInt());
    }
    return;
  }
  for (uint32_t step = 0; step < depth; ++step) {
    archive.writeUnsignedLongInt(nodeIndex[step]);
    archive.writeUnsignedLongInt(repeatIndex[step]);
  }
}

void CARCmapItem::archiveImp(CARCarchive& archive, uint32_t) { address.archive(archive); }

void CARCdateTimeGrammar::archiveImp(CARCarchive& archive, uint32_t version) {
  archive.archiveBoolean(fieldsRequired);
  archive.archiveString(name);
  archiveNumbers(archive, maskItems);
  if (version >= 2) archive.archiveString(description);
}

void CARCenumerationGrammar::archiveImp(CARCarchive& archive, uint32_t) {
  archive.archiveBoolean(flag);
  archive.archiveString(name);
  archiveStrings(archive, values);
  archive.archiveString(description);
}

void CARCcompositeSubField::archiveImp(CARCarchive& archive, uint32_t version) {
  archive.archiveString(name);
  archive.archiveShortInt(dataType);
  archive.archiveUnsignedLongInt(dateTimeFormat);
  archive.archiveUnsignedLongInt(maxLength);
  archive.archiveBoolean(lengthRestricted);
  archive.archiveBoolean(required);
  if (dataType == 3) archive.archiveOptionalReference(composite);
  if (dataType == 4) archive.archiveOptionalReference(dateTime);
  if (version < 2) {
    composite = nullptr;
    dateTime = nullptr;
  }
}

void CARCcompositeGrammar::archiveImp(CARCarchive& archive, uint32_t version) {
  archive.archiveString(name);
  archive.archiveList(fields);
  if (version >= 2) archive.archiveString(description);
}

size_t CARCsegmentValidationRule::countOfTexts(uint32_t kind) {
  static const size_t Counts[] = {2, 2, 4, 3, 4};
  return kind < 5 ? Counts[kind] : 0;
}

void CARCsegmentValidationRule::archive(CARCarchive& archive) {
  archive.archiveUnsignedLongInt(kind);
  size_t count = countOfTexts(kind);
  if (count == 0)
    throw COLerror(COLstring("Incompatible object id thrown = ") + COLstring(std::to_string(kind)) +
                       " file may be corrupt.",
                   CARC_ERROR_INCOMPATIBLE);
  texts.resize(count);
  for (COLstring& text : texts) archive.archiveString(text);
}

void CARCsegmentSubField::archiveImp(CARCarchive& archive, uint32_t) {
  archive.archiveString(name);
  archive.archiveUnsignedLongInt(maxRepeat);
  archive.archiveBoolean(required);
  archive.archiveString(defaultValue);
}

void CARCsegmentGrammar::archiveImp(CARCarchive& archive, uint32_t version) {
  archive.archiveString(name);
  archive.archiveList(fields);
  if (version >= 2) archive.archiveString(description);
}

void CARCmessageGrammar::archiveImp(CARCarchive& archive, uint32_t) {
  archive.archiveUnsignedLongInt(maximumRepeat);
  archive.archiveBoolean(optional);
  archive.archiveShortInt(flags);
  archive.archiveList(subGrammars);
  archive.archiveString(name);
  archive.archiveOptionalReference(segment);
}

void CARCtableMapSet::archive(CARCarchive& archive, size_t countOfColumn) {
  uint32_t count = uint32_t(items.size());
  archive.archiveUnsignedLongInt(count);
  COL_PRECONDITION_TEXT(count == countOfColumn, "pMember->pTableDefinition->countOfColumn() == pMember->MapItems.size()");
  items.resize(count);
  for (CARCmapItem& item : items) item.archive(archive);
}

void CARCtableDefinitionInternal::archiveImp(CARCarchive& archive, uint32_t version) {
  archive.archiveString(name);
  uint32_t subTables = 0, collectionVersion = 1;
  archive.archiveUnsignedLongInt(subTables);
  archive.archiveUnsignedLongInt(collectionId);
  archive.archiveUnsignedLongInt(collectionVersion);
  if (subTables != 0 || collectionVersion != 1) CARCraiseFormat();
  uint32_t count = uint32_t(columns.size());
  archive.archiveUnsignedLongInt(count);
  if (archive.isReading()) columns.clear();
  for (uint32_t k = 0; k < count; ++k) {
    if (archive.isReading()) columns.emplace_back();
    archive.archiveUnsignedLongInt(columns[k].type);
    archive.archiveString(columns[k].name);
  }
  if (version >= 3) archive.archiveString(description);
  growTo(0);
}

void CARCtableDefinitionInternal::growTo(size_t index) {
  if (mapSets.size() <= index) mapSets.resize(index + 1);
}

COLstring& CARCcolumn::function(std::vector<COLstring>& functions, size_t index) {
  if (functions.size() <= index) functions.resize(index + 1);
  return functions[index];
}

void CARCtableGrammarInternal::archiveImp(CARCarchive& archive, uint32_t) {
  archive.archiveString(name);
  archive.archiveBoolean(isNode);
  CARCtableGrammarConfig& first = configs[0];
  archive.archiveUnsignedLongInt(first.fieldIndex);
  archive.archiveOptionalReference(first.messageGrammar);
  if (isNode) {
    archive.archiveReference(table);
    archive.archiveUnsignedLongInt(first.mapSetIndex);
  } else {
    archive.archiveList(subGrammars);
  }
}

void CARCtableGrammarInternal::archiveConfig(CARCarchive& archive, size_t index) {
  // A node met again below itself is a loop that only a damaged file makes.
  if (m_Visiting) CARCraiseFormat();
  ++m_Visiting;
  struct Leave {
    unsigned& visiting;
    ~Leave() { --visiting; }
  } leave{m_Visiting};
  if (configs.size() <= index) configs.resize(index + 1);
  CARCtableGrammarConfig& config = configs[index];
  archive.archiveUnsignedLongInt(config.fieldIndex);
  archive.archiveOptionalReference(config.messageGrammar);
  archive.archiveUnsignedLongInt(config.mapSetIndex);
  for (CARCtableGrammarInternal* child : subGrammars) child->archiveConfig(archive, index);
}

CARCmessageConfig& CARCmessageDefinitionInternal::config(size_t index) {
  if (configs.size() <= index) configs.resize(index + 1);
  return configs[index];
}

void CARCmessageDefinitionInternal::archiveImp(CARCarchive& archive, uint32_t version) {
  CARCmessageConfig& first = config(0);
  archive.archiveReference(tableGrammar);
  archive.archiveReference(first.grammar);
  uint32_t count = uint32_t(first.identifiers.size());
  archive.archiveUnsignedLongInt(count);
  if (archive.isReading()) first.identifiers.clear();
  for (uint32_t k = 0; k < count; ++k) {
    if (archive.isReading()) first.identifiers.emplace_back();
    archive.archiveString(first.identifiers[k].value);
  }
  archive.archiveString(name);
  if (version >= 3) archive.archiveString(description);
}

void CARCmessageDefinitionInternal::archiveConfig(CARCarchive& archive, size_t index) {
  CARCmessageConfig& record = config(index);
  archive.archiveBoolean(record.ignoreUnknownSegments);
  archive.archiveBoolean(record.ignoreSegmentOrder);
  uint32_t count = uint32_t(record.identifiers.size());
  archive.archiveUnsignedLongInt(count);
  if (archive.isReading()) record.identifiers.clear();
  for (uint32_t k = 0; k < count; ++k) {
    if (archive.isReading()) record.identifiers.emplace_back();
    archive.archiveString(record.identifiers[k].value);
    archive.archiveString(record.identifiers[k].segment);
  }
  archive.archiveReference(record.grammar);
  tableGrammar->archiveConfig(archive, index);
}

void CARCconfig::archiveImp(CARCarchive& archive, uint32_t version) {
  archive.archiveString(headerSegment);
  archive.archiveChar(endOfMessage);
  archive.archiveChar(octalEscapeChar);
  archive.archiveChar(escapeDefault);
  archive.archiveChar(escapeEscapeChar);
  archive.archiveUnsignedLongInt(escapePosition);
  if (version >= 2) {
    archive.archiveString(stubFileDir);
    archive.archiveString(stubFilePrefix);
    archive.archiveString(stubFileLanguage);
    archive.archiveBoolean(outputTrailingSeparators);
  }
  if (version >= 3) {
    archive.archiveDouble(lastTableChange);
    archive.archiveShortInt(shortValue);
    archive.archiveList(separators);
  }
  archive.archiveBoolean(parseSeparatorChars);
  if (version >= 4) {
    archive.archiveUnsignedShortInt(lowestNonEscapedChar);
    archive.archiveUnsignedShortInt(highestNonEscapedChar);
  }
  if (version >= 5) archive.archiveString(presetConfig);
  if (version >= 6) {
    archive.archiveGuid(fileId);
    archive.archiveGuid(interfaceId);
  }
}
