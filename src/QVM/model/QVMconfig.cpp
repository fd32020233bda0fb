// QVMconfig and its value types.
#include "QVMconfig.h"

#include <algorithm>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMgrammarSupport.h"

namespace {
bool s_IsLoading = false;
bool s_LibraryLoadMode = false;

const char* const s_FormatTexts[] = {"EXPANDED", "Full Tree Validation", "TABLE - Short Tags",
                                     "TABLE - Long Tags", "STANDARD VER 2", "STANDARD"};
constexpr uint32_t s_CountOfFormat = sizeof(s_FormatTexts) / sizeof(s_FormatTexts[0]);
}  // namespace

// --- QVMsepInfo

void QVMsepInfo::setAll(char sepDefault, char repeatDefault, char sepEscape, char repeatEscape,
                        uint32_t sepPosition, uint32_t repeatPosition) {
  m_SepCharDefault = sepDefault;
  m_RepeatCharDefault = repeatDefault;
  m_SepCharEscape = sepEscape;
  m_RepeatCharEscape = repeatEscape;
  m_SepCharPosition = sepPosition;
  m_RepeatCharPosition = repeatPosition;
  checkValidity();
}

void QVMsepInfo::checkValidity() const {
  if ((m_RepeatCharDefault == 0 && m_RepeatCharPosition != npos) ||
      (m_SepCharDefault == 0 && m_SepCharPosition != npos))
    throw COLerror("Repeat character must have a default defined.", COL_ERROR_INCONSISTENT_DEFINITION);
}

// --- QVMdbInfo

void QVMdbInfo::setAll(const COLstring& label, const COLstring& apiName, const COLstring& databaseName,
                       const COLstring& userName, const COLstring& password) {
  m_Label = label;
  m_ApiName = apiName;
  m_DatabaseName = databaseName;
  m_UserName = userName;
  m_Password = password;
}

bool QVMdbInfo::operator==(const QVMdbInfo& other) const {
  return m_Label == other.m_Label && m_ApiName == other.m_ApiName && m_DatabaseName == other.m_DatabaseName &&
         m_UserName == other.m_UserName && m_Password == other.m_Password;
}

// --- dialect texts

const char* QVMconfigXmlFormatTypeAsString(QVMxmlFormatType type) {
  if (type < s_CountOfFormat) return s_FormatTexts[type];
  COLstring text;
  COLostream(text) << "Unknown XML encoding" << static_cast<unsigned>(type);
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

QVMxmlFormatType QVMconfigStringAsXmlFormatType(const char* text) {
  COLstring value(text);
  for (uint32_t type = 0; type < s_CountOfFormat; ++type)
    if (value == s_FormatTexts[type]) return static_cast<QVMxmlFormatType>(type);
  if (value == "X12") return QVMxmlFullTreeValidation;
  throw COLerror("Unknown XML encoding: " + value, COL_ERROR_PRECONDITION);
}

// --- QVMconfig

QVMconfig& QVMconfig::operator=(const QVMconfig& other) {
  if (this == &other) return *this;
  QVMengineInternal* ownEngine = m_RootEngine;
  m_HeaderSegment = other.m_HeaderSegment;
  m_EndOfMessage = other.m_EndOfMessage;
  m_OctalEscapeChar = other.m_OctalEscapeChar;
  m_EscapeDefault = other.m_EscapeDefault;
  m_EscapeEscapeChar = other.m_EscapeEscapeChar;
  m_EscapePosition = other.m_EscapePosition;
  m_StubFileDir = other.m_StubFileDir;
  m_StubFilePrefix = other.m_StubFilePrefix;
  m_StubFileLanguage = other.m_StubFileLanguage;
  m_OutputTrailingSeparators = other.m_OutputTrailingSeparators;
  m_ParseSeparatorChars = other.m_ParseSeparatorChars;
  m_Separators = other.m_Separators;
  m_LowestNonEscapedChar = other.m_LowestNonEscapedChar;
  m_HighestNonEscapedChar = other.m_HighestNonEscapedChar;
  m_HasHl7PresetConfig = other.m_HasHl7PresetConfig;
  m_MainFunction = other.m_MainFunction;
  m_PostProcessFunction = other.m_PostProcessFunction;
  m_OutgoingMainFunction = other.m_OutgoingMainFunction;
  m_OutgoingPostProcessFunction = other.m_OutgoingPostProcessFunction;
  m_OutputSegmentLineFeed = other.m_OutputSegmentLineFeed;
  m_XmlDelimiter = other.m_XmlDelimiter;
  m_XmlTranslationType = other.m_XmlTranslationType;
  m_ParserVersion = other.m_ParserVersion;
  m_XmlSchemaSingleFile = other.m_XmlSchemaSingleFile;
  m_CountOfHeaderFieldsToSkip = other.m_CountOfHeaderFieldsToSkip;
  m_DisableUntypedTreeInException = other.m_DisableUntypedTreeInException;
  m_MaximumRepeatMappingLimit = other.m_MaximumRepeatMappingLimit;
  m_EscapeDataForXmlToHL7 = other.m_EscapeDataForXmlToHL7;
  m_ValidateDataForXmlToHL7 = other.m_ValidateDataForXmlToHL7;
  m_DatabaseConnections = other.m_DatabaseConnections;
  m_IsDatabaseFunctionOn = other.m_IsDatabaseFunctionOn;
  m_DisablePythonNone = other.m_DisablePythonNone;
  m_XmlSchemaProperties = other.m_XmlSchemaProperties;
  m_CreateDbConnectionFp = other.m_CreateDbConnectionFp;
  m_CreateDbConnectionFpContext = other.m_CreateDbConnectionFpContext;
  m_RootEngine = ownEngine;
  if (ownEngine) init(ownEngine);
  return *this;
}

void QVMconfig::init(QVMengineInternal* engine) {
  m_RootEngine = engine;
  COL_PRECONDITION(rootEngine() != NULL);
  LANengine* pEngine = &engine->LanguageEngine();
  COL_PRECONDITION(pEngine != NULL);
  m_MainFunction.setEngine(pEngine);
  m_PostProcessFunction.setEngine(pEngine);
  m_OutgoingMainFunction.setEngine(pEngine);
  m_OutgoingPostProcessFunction.setEngine(pEngine);
  if (!m_Separators.empty()) return;
  QVMsepInfo level;
  level.setAll('\r', 0, 0, 0, QVMsepInfo::npos, QVMsepInfo::npos);
  m_Separators.push_back(level);
  level.setAll('|', '~', 'F', 'R', 3, 5);
  m_Separators.push_back(level);
  level.setAll('^', 0, 'S', 0, 4, QVMsepInfo::npos);
  m_Separators.push_back(level);
  level.setAll('&', 0, 'T', 0, 7, QVMsepInfo::npos);
  m_Separators.push_back(level);
}

bool QVMconfig::setIsLoading(bool value) { return std::exchange(s_IsLoading, value); }
bool QVMconfig::isLoading() { return s_IsLoading; }
void QVMconfig::setLibraryLoadMode(bool value) { s_LibraryLoadMode = value; }
bool QVMconfig::libraryLoadMode() { return s_LibraryLoadMode; }

void QVMconfig::setStubFilePrefix(const COLstring& value) {
  m_StubFilePrefix = value;
  m_StubFilePrefix.stripAll(' ');
}

void QVMconfig::setXmlFormatType(QVMxmlFormatType type) {
  QVMconfigXmlFormatTypeAsString(type);  // refuses unknown values
  m_XmlTranslationType = type;
}

QVMsepInfo& QVMconfig::sepCharInfo(size_t level) {
  COL_PRECONDITION(level < m_Separators.size());
  return m_Separators[level];
}

const QVMsepInfo& QVMconfig::sepCharInfo(size_t level) const {
  COL_PRECONDITION(level < m_Separators.size());
  return m_Separators[level];
}

void QVMconfig::popSepInfo() {
  COL_PRECONDITION(!m_Separators.empty());
  m_Separators.pop_back();
}

void QVMconfig::insertSepCharInfo(size_t level) {
  COL_PRECONDITION(level <= m_Separators.size());
  m_Separators.insert(m_Separators.begin() + level, QVMsepInfo());
}

void QVMconfig::removeSepCharInfo(size_t level) {
  COL_PRECONDITION(level < m_Separators.size());
  m_Separators.erase(m_Separators.begin() + level);
}

void QVMconfig::moveSepCharInfo(size_t FromIndex, size_t ToIndex) {
  QVMmoveElement(m_Separators, FromIndex, ToIndex,
                 {"FromIndex < pMember->Seperator.size()", "ToIndex <= pMember->Seperator.size()"});
}

size_t QVMconfig::addDatabaseConnection() {
  m_DatabaseConnections.emplace_back();
  return m_DatabaseConnections.size() - 1;
}

void QVMconfig::removeDatabaseConnection(size_t index) {
  if (index < m_DatabaseConnections.size()) m_DatabaseConnections.erase(m_DatabaseConnections.begin() + index);
}

QVMdbInfo* QVMconfig::databaseConnection(size_t index) {
  return index < m_DatabaseConnections.size() ? &m_DatabaseConnections[index] : nullptr;
}

const QVMdbInfo* QVMconfig::databaseConnection(size_t index) const {
  return index < m_DatabaseConnections.size() ? &m_DatabaseConnections[index] : nullptr;
}

uint32_t QVMconfig::databaseConnectionIndex(const COLstring& label) const {
  for (size_t i = 0; i < m_DatabaseConnections.size(); ++i)
    if (m_DatabaseConnections[i].label() == label) return static_cast<uint32_t>(i);
  return npos;
}

void QVMconfig::setDefaultDatabaseConnection(size_t index) {
  if (index == 0 || index >= m_DatabaseConnections.size()) return;
  QVMdbInfo copy = m_DatabaseConnections[index];
  m_DatabaseConnections.insert(m_DatabaseConnections.begin(), copy);
  m_DatabaseConnections.erase(m_DatabaseConnections.begin() + index + 1);
}

// --- free functions

uint32_t QVMconfigCalculateMinMessageSize(const QVMconfig& config) {
  uint32_t size = static_cast<uint32_t>(config.headerSegment().size());
  auto raise = [&size](uint32_t position) {
    if (position != QVMsepInfo::npos) size = std::max(size, position + 1);
  };
  raise(config.escapePosition());
  for (size_t level = 0; level < config.countOfLevel(); ++level) {
    raise(config.sepCharInfo(level).sepCharPosition());
    raise(config.sepCharInfo(level).repeatCharPosition());
  }
  return size;
}

void QVMconfigSetDefaultDatabase(QVMconfig& config, const COLstring& api, const COLstring& database,
                                 const COLstring& user, const COLstring& password) {
  if (config.countOfDatabaseConnections() == 0) config.addDatabaseConnection();
  QVMdbInfo& connection = *config.databaseConnection(0);
  connection.setApiName(api);
  connection.setDatabaseName(database);
  connection.setUserName(user);
  connection.setPassword(password);
}
