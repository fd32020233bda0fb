// The stored classes of the archive kind. Each mirrors one class of the definition model and
// differs only in how it stores itself: plain members, and archiveImp with the layout of each
// version. Objects refer to each other by plain pointers; whoever read or made them owns them
// (the engine's pool).
#pragma once

#include <cstdint>
#include <vector>

#include "CARCarchive.h"
#include "COLstring.h"

inline constexpr uint32_t CARCnpos = 0xFFFFFFFF;

template <uint32_t Id, uint32_t Version, class Self>
class CARCstored : public CARCserializable {
public:
  static constexpr uint32_t ClassId = Id;
  uint32_t isA() const override { return Id; }
  uint32_t version() const override { return Version; }
  std::unique_ptr<CARCserializable> createFunc() const override { return std::make_unique<Self>(); }
};

class CARCdbInfo : public CARCstored<CARC_DB_INFO_ID, 1, CARCdbInfo> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  COLstring label, apiName, databaseName, userName, password;
};

class CARCsepInfo : public CARCstored<CARC_SEP_INFO_ID, 1, CARCsepInfo> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  char sepCharDefault = 0, repeatCharDefault = 0, sepCharEscape = 0, repeatCharEscape = 0;
  uint32_t sepCharPosition = CARCnpos, repeatCharPosition = CARCnpos;
};

class CARCmessageNodeAddress : public CARCstored<CARC_NODE_ADDRESS_ID, 1, CARCmessageNodeAddress> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  std::vector<uint32_t> nodeIndex, repeatIndex;
};

class CARCmapItem : public CARCstored<CARC_MAP_ITEM_ID, 1, CARCmapItem> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  CARCmessageNodeAddress address;
};

class CARCdateTimeGrammar : public CARCstored<CARC_DATE_TIME_ID, 2, CARCdateTimeGrammar> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  bool fieldsRequired = false;
  COLstring name, description;
  std::vector<uint32_t> maskItems;
};

class CARCenumerationGrammar : public CARCstored<CARC_ENUMERATION_ID, 2, CARCenumerationGrammar> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  // Kept as read; the model has no place for it.
  bool flag = false;
  COLstring name, description;
  std::vector<COLstring> values;
};

class CARCcompositeGrammar;

class CARCcompositeSubField : public CARCstored<CARC_COMPOSITE_FIELD_ID, 2, CARCcompositeSubField> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  COLstring name;
  int16_t dataType = 0;
  uint32_t dateTimeFormat = 0;
  uint32_t maxLength = CARCnpos;
  bool lengthRestricted = false;
  bool required = false;
  CARCcompositeGrammar* composite = nullptr;
  CARCdateTimeGrammar* dateTime = nullptr;
};

class CARCcompositeGrammar : public CARCstored<CARC_COMPOSITE_ID, 2, CARCcompositeGrammar> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  COLstring name, description;
  std::vector<CARCcompositeSubField*> fields;
};

// A validation rule: its kind (the model's class id) and its texts, in the kind's order.
struct CARCsegmentValidationRule {
  uint32_t kind = 0;
  std::vector<COLstring> texts;
  void archive(CARCarchive& archive);
  // How many texts each kind stores; 0 for a kind nobody knows.
  static size_t countOfTexts(uint32_t kind);
};

class CARCsegmentSubField : public CARCstored<CARC_SEGMENT_FIELD_ID, 2, CARCsegmentSubField> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  COLstring name;
  uint32_t maxRepeat = 0;
  bool required = false;
  COLstring defaultValue;
  // Stored by the engine's later steps, not by the field.
  CARCcompositeGrammar* composite = nullptr;
  uint32_t width = CARCnpos;
  COLstring incomingFunction, outgoingFunction;
  std::vector<CARCsegmentValidationRule> rules;
};

struct CARCsegmentIdentifier {
  COLstring value;
  CARCmessageNodeAddress address;
};

class CARCsegmentGrammar : public CARCstored<CARC_SEGMENT_ID, 2, CARCsegmentGrammar> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  COLstring name, description;
  std::vector<CARCsegmentSubField*> fields;
  bool hasDelimiters = true;
  std::vector<CARCsegmentIdentifier> identifiers;
};

class CARCmessageGrammar : public CARCstored<CARC_MESSAGE_GRAMMAR_ID, 1, CARCmessageGrammar> {
public:
  enum : int16_t { Repeating = 1, IgnoreSegmentOrder = 2, Node = 4 };
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  uint32_t maximumRepeat = 0;
  bool optional = false;
  int16_t flags = 0;
  std::vector<CARCmessageGrammar*> subGrammars;
  COLstring name;
  CARCsegmentGrammar* segment = nullptr;
};

class CARCtableDefinitionInternal;

struct CARCtableMapSet {
  COLstring name = "Mapset";
  std::vector<CARCmapItem> items;
  // The items, as many as the table has columns.
  void archive(CARCarchive& archive, size_t countOfColumn);
};

struct CARCcolumn {
  uint32_t type = 0;
  COLstring name, description;
  bool isKey = false;
  // Per configuration; grown as configurations are met.
  std::vector<COLstring> incomingFunction, outgoingFunction;
  static COLstring& function(std::vector<COLstring>& functions, size_t index);
};

class CARCtableDefinitionInternal : public CARCstored<CARC_TABLE_ID, 4, CARCtableDefinitionInternal> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  COLstring name, description;
  uint32_t collectionId = 0;
  std::vector<CARCcolumn> columns;
  uint32_t keyColumnIndex = CARCnpos;
  uint32_t databaseAction = 1;
  // Per configuration.
  std::vector<std::vector<CARCtableMapSet>> mapSets;
  // The map sets reach configuration `index`.
  void growTo(size_t index);
};

struct CARCtableGrammarConfig {
  uint32_t fieldIndex = CARCnpos;
  CARCmessageGrammar* messageGrammar = nullptr;
  uint32_t mapSetIndex = 0;
};

class CARCtableGrammarInternal : public CARCstored<CARC_TABLE_GRAMMAR_ID, 2, CARCtableGrammarInternal> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  // Configuration `index` of this node and all below it.
  void archiveConfig(CARCarchive& archive, size_t index);
  COLstring name;
  bool isNode = false;
  CARCtableDefinitionInternal* table = nullptr;
  std::vector<CARCtableGrammarInternal*> subGrammars;
  std::vector<CARCtableGrammarConfig> configs{1};

private:
  unsigned m_Visiting = 0;
};

struct CARCidentifier {
  COLstring value, segment = "MSH";
  CARCmessageNodeAddress address;
};

struct CARCmessageConfig {
  bool ignoreUnknownSegments = true;
  bool ignoreSegmentOrder = false;
  std::vector<CARCidentifier> identifiers;
  CARCmessageGrammar* grammar = nullptr;
  COLstring incomingFunction, outgoingFunction;
  COLstring hookName, hookModule;
};

class CARCmessageDefinitionInternal : public CARCstored<CARC_MESSAGE_ID, 3, CARCmessageDefinitionInternal> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;
  // The message's record of configuration `index`, with its table grammar's.
  void archiveConfig(CARCarchive& archive, size_t index);
  CARCmessageConfig& config(size_t index);
  COLstring name, description;
  CARCtableGrammarInternal* tableGrammar = nullptr;
  std::vector<CARCmessageConfig> configs{1};
};

// The settings of one configuration. archiveImp stores the older ones; the engine stores the
// rest in its later steps.
class CARCconfig : public CARCstored<CARC_CONFIG_ID, 6, CARCconfig> {
public:
  void archiveImp(CARCarchive& archive, uint32_t version) override;

  COLstring headerSegment = "MSH";
  char endOfMessage = 0, octalEscapeChar = '0', escapeDefault = '\\', escapeEscapeChar = 'E';
  uint32_t escapePosition = 6;
  COLstring stubFileDir = "c:\\temp", stubFilePrefix = "HL7", stubFileLanguage;
  bool outputTrailingSeparators = true;
  double lastTableChange = 0;
  int16_t shortValue = 0;
  std::vector<CARCsepInfo*> separators;
  bool parseSeparatorChars = true;
  uint16_t lowestNonEscapedChar = 32, highestNonEscapedChar = 255;
  COLstring presetConfig = "HL7";
  unsigned char fileId[16] = {}, interfaceId[16] = {};

  // Later steps.
  COLstring outgoingTranscoder, incomingTranscoder;
  uint32_t countOfHeaderFieldsToSkip = 3;
  COLstring mainFunction;
  bool outputSegmentLineFeed = false;
  bool batchMode = false;
  COLstring trailerSegment;
  char xmlDelimiter = '.';
  bool isFixedWidthProtocol = false;
  bool usePassThroughMapping = false;
  COLstring messageCharSet;
  COLstring xmlTranslationType = "STANDARD VER 2";
  bool xmlSchemaSingleFile = true;
  COLstring outgoingMainFunction;
  uint32_t parserVersion = 2;
  uint32_t codePage = 0;
  bool disableUntypedTreeInException = false;
  bool isDatabaseFunctionOn = false;
  std::vector<CARCdbInfo*> connections;
  bool disablePythonNone = true;
  uint32_t maximumRepeatMappingLimit = 2;
  COLstring outgoingPostProcessFunction;
  bool escapeDataForXmlToHL7 = true, validateDataForXmlToHL7 = true;
  COLstring postProcessFunction;
};

struct CARCembeddedModule {
  COLstring name, code;
};

// One configuration with what belongs to it alone.
struct CARCconfiguration {
  CARCconfig* config = nullptr;
  COLstring name = "default";
  uint32_t ackMessageIndex = CARCnpos;
  uint32_t ignoreMessageIndex = CARCnpos;
  std::vector<CARCcompositeGrammar*> composites;
  std::vector<CARCsegmentGrammar*> segments;
  std::vector<CARCdateTimeGrammar*> dateTimes;
  std::vector<CARCenumerationGrammar*> enumerations;
  std::vector<uint32_t> matchOrder;
  bool lastMessageMatchesAll = false;
  std::vector<CARCembeddedModule> modules;
};
