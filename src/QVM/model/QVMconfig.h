// QVMconfig: the settings of one configuration (delimiter levels, escape characters, XML
// dialect, parser version, database connections, outgoing scripts), plus the small value
// types they are made of. Held by value inside QVMengineConfig; knows its engine only by a
// back pointer and never changes anything outside itself.
#pragma once

#include <cstdint>
#include <vector>

#include "COLstring.h"
#include "QVMlanguage.h"

class QVMengineInternal;

// One delimiter level. A position of npos means the character is not read from the
// message; any other position is the offset at which the message states it.
class QVMsepInfo {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  char sepCharDefault() const { return m_SepCharDefault; }
  char repeatCharDefault() const { return m_RepeatCharDefault; }
  char sepCharEscape() const { return m_SepCharEscape; }
  char repeatCharEscape() const { return m_RepeatCharEscape; }
  uint32_t sepCharPosition() const { return m_SepCharPosition; }
  uint32_t repeatCharPosition() const { return m_RepeatCharPosition; }
  void setSepCharDefault(char c) { m_SepCharDefault = c; }
  void setRepeatCharDefault(char c) { m_RepeatCharDefault = c; }
  void setSepCharEscape(char c) { m_SepCharEscape = c; }
  void setRepeatCharEscape(char c) { m_RepeatCharEscape = c; }
  void setSepCharPosition(uint32_t position) { m_SepCharPosition = position; }
  void setRepeatCharPosition(uint32_t position) { m_RepeatCharPosition = position; }

  // Assigns all six values, then checks them.
  void setAll(char sepDefault, char repeatDefault, char sepEscape, char repeatEscape,
              uint32_t sepPosition, uint32_t repeatPosition);
  // A character read from the message needs a default to fall back on.
  void checkValidity() const;

  bool operator==(const QVMsepInfo&) const = default;

private:
  char m_SepCharDefault = 0;
  char m_RepeatCharDefault = 0;
  char m_SepCharEscape = 0;
  char m_RepeatCharEscape = 0;
  uint32_t m_SepCharPosition = npos;
  uint32_t m_RepeatCharPosition = npos;
};

// One database connection.
class QVMdbInfo {
public:
  const COLstring& label() const { return m_Label; }
  const COLstring& apiName() const { return m_ApiName; }
  const COLstring& databaseName() const { return m_DatabaseName; }
  const COLstring& userName() const { return m_UserName; }
  const COLstring& password() const { return m_Password; }
  void setLabel(const COLstring& value) { m_Label = value; }
  void setApiName(const COLstring& value) { m_ApiName = value; }
  void setDatabaseName(const COLstring& value) { m_DatabaseName = value; }
  void setUserName(const COLstring& value) { m_UserName = value; }
  void setPassword(const COLstring& value) { m_Password = value; }
  void setAll(const COLstring& label, const COLstring& apiName, const COLstring& databaseName,
              const COLstring& userName, const COLstring& password);
  bool operator==(const QVMdbInfo& other) const;
  bool operator!=(const QVMdbInfo& other) const { return !(*this == other); }

private:
  COLstring m_Label;
  COLstring m_ApiName;
  COLstring m_DatabaseName;
  COLstring m_UserName;
  COLstring m_Password;
};

enum QVMxmlFormatType : uint32_t {
  QVMxmlExpanded = 0,
  QVMxmlFullTreeValidation = 1,
  QVMxmlTableShortTags = 2,
  QVMxmlTableLongTags = 3,
  QVMxmlStandardVer2 = 4,
  QVMxmlStandard = 5,
};

// The text of a dialect; any other value raises "Unknown XML encoding" and the number.
const char* QVMconfigXmlFormatTypeAsString(QVMxmlFormatType type);
// The dialect of a text ("X12" is read as "Full Tree Validation"); raises on anything else.
QVMxmlFormatType QVMconfigStringAsXmlFormatType(const char* text);

// 0 and 1 take the legacy parser (1: segment checker 3), 2 the current pipeline.
enum QVMparserVersion : uint32_t {
  QVMparserLegacy = 0,
  QVMparserSegmentChecker3 = 1,
  QVMparserCurrent = 2,
};

struct QVMxmlSchemaProperties {
  COLstring xmlNamespace;
  COLstring targetNamespace;
  COLstring elementFormDefault;
};

// A host's factory for database connections, with the context it wants back.
using QVMcreateDbConnectionFp = void* (*)(void* context, const QVMdbInfo& connection);

class QVMconfig {
public:
  static constexpr uint32_t npos = 0xFFFFFFFF;

  QVMconfig() = default;
  QVMconfig(const QVMconfig&) = default;
  // Copies everything, then re-initialises with the engine this object had before.
  QVMconfig& operator=(const QVMconfig& other);

  // Ties the four scripts to the engine's interpreter; gives a fresh configuration the
  // four default delimiter levels.
  void init(QVMengineInternal* engine);
  QVMengineInternal* rootEngine() const { return m_RootEngine; }

  // Class-wide flags; setIsLoading returns the previous value.
  static bool setIsLoading(bool value);
  static bool isLoading();
  static void setLibraryLoadMode(bool value);
  static bool libraryLoadMode();

  const COLstring& headerSegment() const { return m_HeaderSegment; }
  void setHeaderSegment(const COLstring& value) { m_HeaderSegment = value; }
  char endOfMessage() const { return m_EndOfMessage; }
  void setEndOfMessage(char value) { m_EndOfMessage = value; }
  char octalEscapeChar() const { return m_OctalEscapeChar; }
  void setOctalEscapeChar(char value) { m_OctalEscapeChar = value; }
  char escapeDefault() const { return m_EscapeDefault; }
  void setEscapeDefault(char value) { m_EscapeDefault = value; }
  char escapeEscapeChar() const { return m_EscapeEscapeChar; }
  void setEscapeEscapeChar(char value) { m_EscapeEscapeChar = value; }
  uint32_t escapePosition() const { return m_EscapePosition; }
  void setEscapePosition(uint32_t value) { m_EscapePosition = value; }
  const COLstring& stubFileDir() const { return m_StubFileDir; }
  void setStubFileDir(const COLstring& value) { m_StubFileDir = value; }
  const COLstring& stubFilePrefix() const { return m_StubFilePrefix; }
  // Blanks are removed: the prefix becomes part of generated identifiers.
  void setStubFilePrefix(const COLstring& value);
  const COLstring& stubFileLanguage() const { return m_StubFileLanguage; }
  void setStubFileLanguage(const COLstring& value) { m_StubFileLanguage = value; }
  bool outputTrailingSeparators() const { return m_OutputTrailingSeparators; }
  void setOutputTrailingSeparators(bool value) { m_OutputTrailingSeparators = value; }
  bool parseSeparatorChars() const { return m_ParseSeparatorChars; }
  void setParseSeparatorChars(bool value) { m_ParseSeparatorChars = value; }

  // --- delimiter levels
  size_t countOfLevel() const { return m_Separators.size(); }
  QVMsepInfo& sepCharInfo(size_t level);
  const QVMsepInfo& sepCharInfo(size_t level) const;
  void pushSepCharInfo(const QVMsepInfo& info) { m_Separators.push_back(info); }
  void addCharInfo() { m_Separators.emplace_back(); }
  void popSepInfo();
  void insertSepCharInfo(size_t level);
  void moveSepCharInfo(size_t from, size_t to);
  void removeSepCharInfo(size_t level);

  uint16_t lowestNonEscapedChar() const { return m_LowestNonEscapedChar; }
  void setLowestNonEscapedChar(uint16_t value) { m_LowestNonEscapedChar = value; }
  uint16_t highestNonEscapedChar() const { return m_HighestNonEscapedChar; }
  void setHighestNonEscapedChar(uint16_t value) { m_HighestNonEscapedChar = value; }
  bool hasHl7PresetConfig() const { return m_HasHl7PresetConfig; }
  void setHasHl7PresetConfig(bool value) { m_HasHl7PresetConfig = value; }

  // --- scripts
  LANfunction& mainFunction() { return m_MainFunction; }
  const LANfunction& mainFunction() const { return m_MainFunction; }
  LANfunction& postProcessFunction() { return m_PostProcessFunction; }
  const LANfunction& postProcessFunction() const { return m_PostProcessFunction; }
  LANfunction& outgoingMainFunction() { return m_OutgoingMainFunction; }
  const LANfunction& outgoingMainFunction() const { return m_OutgoingMainFunction; }
  LANfunction& outgoingPostProcessFunction() { return m_OutgoingPostProcessFunction; }
  const LANfunction& outgoingPostProcessFunction() const { return m_OutgoingPostProcessFunction; }

  bool outputSegmentLineFeed() const { return m_OutputSegmentLineFeed; }
  void setOutputSegmentLineFeed(bool value) { m_OutputSegmentLineFeed = value; }
  char xmlDelimiter() const { return m_XmlDelimiter; }
  void setXmlDelimiter(char value) { m_XmlDelimiter = value; }
  // The dialect's text; setting accepts the texts of QVMconfigStringAsXmlFormatType.
  const char* xmlTranslationType() const { return QVMconfigXmlFormatTypeAsString(m_XmlTranslationType); }
  void setXmlTranslationType(const char* text) { m_XmlTranslationType = QVMconfigStringAsXmlFormatType(text); }
  QVMxmlFormatType xmlFormatType() const { return m_XmlTranslationType; }
  void setXmlFormatType(QVMxmlFormatType type);
  QVMparserVersion parserVersion() const { return m_ParserVersion; }
  void setParserVersion(QVMparserVersion value) { m_ParserVersion = value; }
  bool xmlSchemaSingleFile() const { return m_XmlSchemaSingleFile; }
  void setXmlSchemaSingleFile(bool value) { m_XmlSchemaSingleFile = value; }
  uint32_t countOfHeaderFieldsToSkip() const { return m_CountOfHeaderFieldsToSkip; }
  void setCountOfHeaderFieldsToSkip(uint32_t value) { m_CountOfHeaderFieldsToSkip = value; }
  bool disableUntypedTreeInException() const { return m_DisableUntypedTreeInException; }
  void setDisableUntypedTreeInException(bool value) { m_DisableUntypedTreeInException = value; }
  uint32_t maximumRepeatMappingLimit() const { return m_MaximumRepeatMappingLimit; }
  void setMaximumRepeatMappingLimit(uint32_t value) { m_MaximumRepeatMappingLimit = value; }
  bool escapeDataForXmlToHL7() const { return m_EscapeDataForXmlToHL7; }
  void setEscapeDataForXmlToHL7(bool value) { m_EscapeDataForXmlToHL7 = value; }
  bool validateDataForXmlToHL7() const { return m_ValidateDataForXmlToHL7; }
  void setValidateDataForXmlToHL7(bool value) { m_ValidateDataForXmlToHL7 = value; }

  // --- database connections; element 0 is the default one
  size_t countOfDatabaseConnections() const { return m_DatabaseConnections.size(); }
  void resizeDatabaseConnections(size_t count) { m_DatabaseConnections.resize(count); }
  size_t addDatabaseConnection();
  // Out-of-range indexes are ignored / answered with null.
  void removeDatabaseConnection(size_t index);
  QVMdbInfo* databaseConnection(size_t index);
  const QVMdbInfo* databaseConnection(size_t index) const;
  uint32_t databaseConnectionIndex(const COLstring& label) const;
  uint32_t defaultDatabaseConnection() const { return m_DatabaseConnections.empty() ? npos : 0; }
  void setDefaultDatabaseConnection(size_t index);
  bool isDatabaseFunctionOn() const { return m_IsDatabaseFunctionOn; }
  void setIsDatabaseFunctionOn(bool value) { m_IsDatabaseFunctionOn = value; }
  bool disablePythonNone() const { return m_DisablePythonNone; }
  void setDisablePythonNone(bool value) { m_DisablePythonNone = value; }

  QVMxmlSchemaProperties& xmlSchemaProperties() { return m_XmlSchemaProperties; }
  const QVMxmlSchemaProperties& xmlSchemaProperties() const { return m_XmlSchemaProperties; }
  QVMcreateDbConnectionFp createDbConnectionFp() const { return m_CreateDbConnectionFp; }
  void* createDbConnectionFpContext() const { return m_CreateDbConnectionFpContext; }
  void setCreateDbConnectionFp(QVMcreateDbConnectionFp function, void* context) {
    m_CreateDbConnectionFp = function;
    m_CreateDbConnectionFpContext = context;
  }

private:
  COLstring m_HeaderSegment = "MSH";
  char m_EndOfMessage = 0;
  char m_OctalEscapeChar = '0';
  char m_EscapeDefault = '\\';
  char m_EscapeEscapeChar = 'E';
  uint32_t m_EscapePosition = 6;
  COLstring m_StubFileDir = "c:\\temp";
  COLstring m_StubFilePrefix = "HL7";
  COLstring m_StubFileLanguage;
  bool m_OutputTrailingSeparators = true;
  bool m_ParseSeparatorChars = true;
  std::vector<QVMsepInfo> m_Separators;
  uint16_t m_LowestNonEscapedChar = 32;
  uint16_t m_HighestNonEscapedChar = 255;
  bool m_HasHl7PresetConfig = true;
  LANfunction m_MainFunction;
  LANfunction m_PostProcessFunction;
  LANfunction m_OutgoingMainFunction;
  LANfunction m_OutgoingPostProcessFunction;
  bool m_OutputSegmentLineFeed = false;
  char m_XmlDelimiter = '.';
  QVMxmlFormatType m_XmlTranslationType = QVMxmlStandardVer2;
  QVMparserVersion m_ParserVersion = QVMparserCurrent;
  bool m_XmlSchemaSingleFile = true;
  uint32_t m_CountOfHeaderFieldsToSkip = 3;
  bool m_DisableUntypedTreeInException = false;
  uint32_t m_MaximumRepeatMappingLimit = 2;
  bool m_EscapeDataForXmlToHL7 = true;
  bool m_ValidateDataForXmlToHL7 = true;
  std::vector<QVMdbInfo> m_DatabaseConnections;
  bool m_IsDatabaseFunctionOn = false;
  bool m_DisablePythonNone = true;
  QVMengineInternal* m_RootEngine = nullptr;
  QVMxmlSchemaProperties m_XmlSchemaProperties;
  QVMcreateDbConnectionFp m_CreateDbConnectionFp = nullptr;
  void* m_CreateDbConnectionFpContext = nullptr;
};

// The shortest text that can hold the header segment name and its encoding characters.
uint32_t QVMconfigCalculateMinMessageSize(const QVMconfig& config);
// Fills the default connection, adding one when there is none.
void QVMconfigSetDefaultDatabase(QVMconfig& config, const COLstring& api, const COLstring& database,
                                 const COLstring& user, const COLstring& password);
