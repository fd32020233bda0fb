// Reading the version-one format: the engine's own properties, the global section (tables,
// messages and the shape of their table grammars), and per configuration the match order,
// the tables' scripts and map sets and the settings. Grammars: ANTloadGrammars.cpp.
#include "ANTengine.h"
#include "ANTloader.h"
#include "ANTvalues.h"
#include "ARFXreader.h"
#include "COLbuffer.h"
#include "COLerror.h"
#include "LANfunction.h"

void ANTloader::load() {
  m_Engine.clear();
  ARFobj engineObj(nullptr, "engine", "version");
  ARFscopedRead engineScope(m_Reader, engineObj);
  if (!engineScope) raise(ARFposition{1, 1}, "missing toplevel `engine' object in source file.");
  if (ANTrequireKey(m_Reader, engineObj) != "1.0")
    raise(engineObj.position(), COLstring("the engine has version `") + engineObj.key().value + "'; expected 1.0.");
  loadEngineProperties(engineObj);
  for (;;) {
    ARFobj global(&engineObj, "global", "name");
    ARFscopedRead scope(m_Reader, global);
    if (!scope) break;
    loadTables(global);
    loadMessages(global);
  }
  std::optional<ARFprop> current = ANTreadProp(m_Reader, engineObj, "current_config");
  size_t configsRead = 0;
  for (;; ++configsRead) {
    ARFobj config(&engineObj, "config", "name");
    ARFscopedRead scope(m_Reader, config);
    if (!scope) break;
    loadConfig(config);
  }
  // The configuration that clear() left goes once the file has given its own.
  if (configsRead > 0) m_Engine.deleteConfig(0);
  uint32_t currentIndex = current ? ANTparseIndex(m_Reader, *current) : 0;
  if (currentIndex >= m_Engine.countOfConfig()) {
    COLstring what;
    COLostream(what) << "current_config " << current->value << " names no configuration; the file has "
                     << static_cast<unsigned>(m_Engine.countOfConfig()) << ".";
    raise(current->position, what);
  }
  m_Engine.setCurrentConfig(currentIndex);
}

void ANTloader::loadEngineProperties(ARFobj& engineObj) {
  if (auto p = ANTreadProp(m_Reader, engineObj, "strict_grammar_checking"))
    m_Engine.setRejectBadSegmentGrammar(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, engineObj, "java_use_native_double"))
    m_Engine.setUseMachineDoubleTypeInJavaGeneration(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, engineObj, "use_passthrough_mapping"))
    m_Engine.setUsePassThroughMapping(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, engineObj, "incoming_config"))
    m_Engine.setIncomingConfigIndex(ANTparseIndex(m_Reader, *p));
  if (auto p = ANTreadProp(m_Reader, engineObj, "outgoing_config"))
    m_Engine.setOutgoingConfigIndex(ANTparseIndex(m_Reader, *p));
  if (auto p = ANTreadProp(m_Reader, engineObj, "vmd_description")) m_Engine.setVmdDescription(p->value);
  if (auto p = ANTreadProp(m_Reader, engineObj, "use_dotnet_properties"))
    m_Engine.setUseDotNetProperties(ANTparseBool(p->value));
}

void ANTloader::loadTables(ARFobj& global) {
  for (;;) {
    ARFobj tableObj(&global, "table", "name");
    ARFscopedRead scope(m_Reader, tableObj);
    if (!scope) break;
    const COLstring& name = ANTrequireKey(m_Reader, tableObj);
    if (!m_TableByName.emplace(name, m_Engine.countOfTable()).second)
      raise(tableObj.position(), COLstring("a second table is named `") + name + "'; table names must differ.");
    QVMtableDefinitionInternal& table = *m_Engine.table(m_Engine.addTable());
    table.setTableName(name);
    if (auto p = ANTreadProp(m_Reader, tableObj, "description")) table.setDescription(p->value);
    if (auto p = ANTreadProp(m_Reader, tableObj, "action")) table.setDatabaseAction(ANTparseIndex(m_Reader, *p));
    for (;;) {
      ARFobj column(&tableObj, "column", "name");
      ARFscopedRead columnScope(m_Reader, column);
      if (!columnScope) break;
      QVMdataType type = QVMstringType;
      if (auto p = ANTreadProp(m_Reader, column, "type")) type = ANTparseDataType(m_Reader, *p);
      size_t k = table.addColumn(ANTrequireKey(m_Reader, column), type);
      if (auto p = ANTreadProp(m_Reader, column, "description")) table.setColumnDescription(k, p->value);
    }
  }
}

void ANTloader::loadMessages(ARFobj& global) {
  for (;;) {
    ARFobj messageObj(&global, "message", "name");
    ARFscopedRead scope(m_Reader, messageObj);
    if (!scope) break;
    const COLstring& key = ANTrequireKey(m_Reader, messageObj);
    size_t index = m_Engine.addMessage();
    QVMmessageDefinitionInternal& message = *m_Engine.message(index);
    message.setName(key);
    // References may use the name as written or as the model cleaned it.
    if (!m_MessageByName.emplace(message.name(), index).second)
      raise(messageObj.position(), COLstring("a second message is named `") + message.name() +
                                       "'; message names must differ.");
    m_MessageByName.emplace(key, index);
    if (auto p = ANTreadProp(m_Reader, messageObj, "description")) message.setDescription(p->value);
    ARFobj grammarObj(&messageObj, "table_grammar", "name");
    ARFscopedRead grammarScope(m_Reader, grammarObj);
    if (grammarScope) loadTableGrammarGlobal(grammarObj, message.tableGrammar(), true);
  }
}

void ANTloader::loadTableGrammarGlobal(ARFobj& obj, QVMtableGrammarInternal& grammar, bool isRoot) {
  COLstring type = "group";
  if (auto p = ANTreadProp(m_Reader, obj, "type")) type = p->value;
  if (type == "table") {
    if (isRoot) raise(obj.position(), "the table grammar of a message must be a group, not a table.");
    ARFprop ref = ANTrequireProp(m_Reader, obj, "table_ref");
    grammar.setIsNode(true);
    grammar.setTable(tableByName(ref.value, ref.position));
    return;
  }
  if (type != "group")
    raise(obj.position(), COLstring("unknown table grammar type `") + type + "'; expected table or group.");
  if (!isRoot) grammar.setName(ANTrequireKey(m_Reader, obj));
  for (;;) {
    ARFobj child(&obj, "table_grammar", "name");
    ARFscopedRead scope(m_Reader, child);
    if (!scope) break;
    loadTableGrammarGlobal(child, *grammar.addSubGrammarAt(grammar.countOfSubGrammar()), false);
  }
}

void ANTloader::loadConfig(ARFobj& configObj) {
  m_ConfigIndex = m_Engine.addConfiguration(ANTrequireKey(m_Reader, configObj));
  m_Engine.setCurrentConfig(static_cast<uint32_t>(m_ConfigIndex));
  m_CompositeByName.clear();
  m_DateTimeByName.clear();
  m_SegmentById.clear();
  loadDateTimes(configObj);
  loadComposites(configObj);
  loadSegments(configObj);
  loadMessageOrder(configObj);
  loadTableConfig(configObj);
  loadMessageConfig(configObj);
  loadAppSettings(configObj);
}

void ANTloader::loadMessageOrder(ARFobj& config) {
  ARFobj match(&config, "match");
  ARFscopedRead scope(m_Reader, match);
  if (!scope) return;
  m_Engine.clearMatchingOrder();
  while (auto p = ANTreadProp(m_Reader, match, "msg"))
    m_Engine.insertMessageInMatchOrder(nullptr, messageIdByName(p->value, p->position));
}

void ANTloader::loadTableConfig(ARFobj& config) {
  std::vector<bool> seen(m_Engine.countOfTable());
  for (;;) {
    ARFobj tableObj(&config, "table", "name");
    ARFscopedRead scope(m_Reader, tableObj);
    if (!scope) break;
    QVMtableDefinitionInternal& table = *tableByName(ANTrequireKey(m_Reader, tableObj), tableObj.position());
    size_t tableIndex = m_TableByName.at(table.tableName());
    if (seen[tableIndex])
      raise(tableObj.position(), COLstring("table `") + table.tableName() + "' stands twice in this configuration.");
    seen[tableIndex] = true;
    // Columns stand in the order of the global section, so that equal names stay apart.
    size_t k = 0;
    for (;; ++k) {
      ARFobj column(&tableObj, "column", "name");
      ARFscopedRead columnScope(m_Reader, column);
      if (!columnScope) break;
      if (k >= table.countOfColumn() || ANTrequireKey(m_Reader, column) != table.columnName(k))
        raise(column.position(), COLstring("expected ") +
                                     (k < table.countOfColumn() ? "the column `" + table.columnName(k) + "'"
                                                                : COLstring("no further column")) +
                                     " here, as in the global section of table `" + table.tableName() + "'.");
      if (auto p = ANTreadProp(m_Reader, column, "is_key")) table.setColumnIsKey(k, ANTparseBool(p->value));
      if (auto p = ANTreadProp(m_Reader, column, "in_equation"))
        table.setIncomingFunctionCode(m_ConfigIndex, k, p->value);
      if (auto p = ANTreadProp(m_Reader, column, "out_equation"))
        table.setOutgoingFunctionCode(m_ConfigIndex, k, p->value);
    }
    for (size_t s = 0;; ++s) {
      ARFobj setObj(&tableObj, "config_mapset", "name");
      ARFscopedRead setScope(m_Reader, setObj);
      if (!setScope) break;
      // The table starts with one default map set; the file's first one takes its place.
      if (s == 0) table.mapSetClear();
      QVMtableMapSet& set = *table.mapSet(s == 0 ? 0 : table.addMapSet());
      loadTableMapSetConfig(setObj, table, set);
    }
  }
}

void ANTloader::loadTableMapSetConfig(ARFobj& setObj, QVMtableDefinitionInternal& table, QVMtableMapSet& set) {
  if (setObj.key().present) set.setName(setObj.key().value);
  for (size_t k = 0;; ++k) {
    ARFobj item(&setObj, "mapset");
    ARFscopedRead scope(m_Reader, item);
    if (!scope) break;
    if (k >= table.countOfColumn()) {
      COLstring what;
      COLostream(what) << "map set `" << set.name() << "' has more entries than table `" << table.tableName()
                       << "' has columns (" << static_cast<unsigned>(table.countOfColumn()) << ").";
      raise(item.position(), what);
    }
    loadMessageNodeAddress(item, set.map(k).nodeAddress());
  }
}

void ANTloader::loadAppSettings(ARFobj& config) {
  ARFobj obj(&config, "app_settings");
  ARFscopedRead scope(m_Reader, obj);
  if (!scope) return;
  QVMconfig& settings = m_Engine.config();
  auto read = [&](const char* name) { return ANTreadProp(m_Reader, obj, name); };
  auto asChar = [&](const ARFprop& p) { return ANTparseChar(m_Reader, p); };
  auto asIndex = [&](const ARFprop& p) { return ANTparseIndex(m_Reader, p); };
  if (auto p = read("ack_message"))
    m_Engine.setAckMessageIndex(m_ConfigIndex, p->value.empty() ? ANTnone : messageIdByName(p->value, p->position));
  if (auto p = read("eom_char")) settings.setEndOfMessage(asChar(*p));
  if (auto p = read("octal_escape_char")) settings.setOctalEscapeChar(asChar(*p));
  if (auto p = read("escape_default")) settings.setEscapeDefault(asChar(*p));
  if (auto p = read("escape_escape_char")) settings.setEscapeEscapeChar(asChar(*p));
  if (auto p = read("escape_position")) settings.setEscapePosition(asIndex(*p));
  if (auto p = read("stub_file_dir")) settings.setStubFileDir(p->value);
  if (auto p = read("stub_file_language")) settings.setStubFileLanguage(p->value);
  if (auto p = read("stub_file_prefix")) settings.setStubFilePrefix(p->value);
  if (auto p = read("output_trailing_separators")) settings.setOutputTrailingSeparators(ANTparseBool(p->value));
  if (auto p = read("parse_separator_chars")) settings.setParseSeparatorChars(ANTparseBool(p->value));
  if (auto p = read("lowest_unescaped_char"))
    settings.setLowestNonEscapedChar(static_cast<uint16_t>(ANTparseNumber(m_Reader, *p, 0xFFFF)));
  if (auto p = read("highest_unescaped_char"))
    settings.setHighestNonEscapedChar(static_cast<uint16_t>(ANTparseNumber(m_Reader, *p, 0xFFFF)));
  if (auto p = read("preset_config")) settings.setHasHl7PresetConfig(ANTparseBool(p->value));
  // A global script runs for every message or for none, so one that does not compile is refused
  // here: run only where it is set, it would otherwise be skipped without a word.
  auto script = [&](const char* name, LANfunction& function, const char* what) {
    auto p = read(name);
    if (!p) return;
    function.setCode(p->value);
    if (function.state() != LANfunction::StateInvalid) return;
    COLstring text;
    COLostream stream(text);
    stream << "the " << what << " script (" << name << ") does not compile";
    if (function.compileErrorLine() > 0) stream << " (line " << function.compileErrorLine() << " of the script)";
    stream << ":\r\n" << function.compileErrorDescription();
    raise(p->position, text);
  };
  script("main_equation", settings.mainFunction(), "global inbound");
  script("postprocess_equation", settings.postProcessFunction(), "global inbound post-process");
  script("main_out_equation", settings.outgoingMainFunction(), "global outbound");
  script("postprocess_out_equation", settings.outgoingPostProcessFunction(), "global outbound post-process");
  if (auto p = read("output_segment_line_feed")) settings.setOutputSegmentLineFeed(ANTparseBool(p->value));
  if (auto p = read("xml_delimiter")) settings.setXmlDelimiter(asChar(*p));
  if (auto p = read("xml_translation_type")) {
    try {
      settings.setXmlTranslationType(p->value.c_str());
    } catch (const COLerror& error) {
      raise(p->position, error.description() +
                             "; expected EXPANDED, Full Tree Validation, TABLE - Short Tags, TABLE - Long Tags, "
                             "STANDARD VER 2 or STANDARD.");
    }
  }
  if (auto p = read("use_segment_checker3"))
    settings.setParserVersion(ANTparseBool(p->value) ? QVMparserSegmentChecker3 : QVMparserLegacy);
  if (auto p = read("parser_version"))
    settings.setParserVersion(static_cast<QVMparserVersion>(ANTparseNumber(m_Reader, *p, QVMparserCurrent)));
  if (auto p = read("xml_schema_single_file")) settings.setXmlSchemaSingleFile(ANTparseBool(p->value));
  if (auto p = read("header_fields_to_skip")) settings.setCountOfHeaderFieldsToSkip(asIndex(*p));
  if (auto p = read("disable_untyped_tree_in_exception"))
    settings.setDisableUntypedTreeInException(ANTparseBool(p->value));
  if (auto p = read("maximum_repeat_mapping_limit")) settings.setMaximumRepeatMappingLimit(asIndex(*p));
  if (auto p = read("database_equation_on")) settings.setIsDatabaseFunctionOn(ANTparseBool(p->value));
  if (auto p = read("disable_python_none")) settings.setDisablePythonNone(ANTparseBool(p->value));
  if (auto p = read("header_segment")) settings.setHeaderSegment(p->value);
  if (auto p = read("last_message_matches_all")) m_Engine.setLastMessageMatchesAll(ANTparseBool(p->value));
  if (auto p = read("escape_data_for_xml_to_hl7")) settings.setEscapeDataForXmlToHL7(ANTparseBool(p->value));
  if (auto p = read("validate_data_for_xml_to_hl7")) settings.setValidateDataForXmlToHL7(ANTparseBool(p->value));
  loadSepInfo(obj);
  loadDbInfo(obj);
  loadEmbeddedPythonModulesInfo(obj);
}

void ANTloader::loadSepInfo(ARFobj& settings) {
  std::vector<QVMsepInfo> levels;
  for (;;) {
    ARFobj obj(&settings, "separator_info");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    QVMsepInfo info;
    char chars[4] = {};
    uint32_t positions[2] = {ANTnone, ANTnone};
    const char* charNames[] = {"sep_char_default", "repeat_char_default", "sep_char_escape", "repeat_char_escape"};
    for (int i = 0; i < 4; ++i)
      if (auto p = ANTreadProp(m_Reader, obj, charNames[i])) chars[i] = ANTparseChar(m_Reader, *p);
    if (auto p = ANTreadProp(m_Reader, obj, "sep_char_position")) positions[0] = ANTparseIndex(m_Reader, *p);
    if (auto p = ANTreadProp(m_Reader, obj, "repeat_char_position")) positions[1] = ANTparseIndex(m_Reader, *p);
    try {
      info.setAll(chars[0], chars[1], chars[2], chars[3], positions[0], positions[1]);
    } catch (const COLerror& error) {
      raise(obj.position(), error.description());
    }
    levels.push_back(info);
  }
  // A file that gives no levels keeps the four default ones.
  if (levels.empty()) return;
  QVMconfig& config = m_Engine.config();
  while (config.countOfLevel() > 0) config.popSepInfo();
  for (const QVMsepInfo& info : levels) config.pushSepCharInfo(info);
}

void ANTloader::loadDbInfo(ARFobj& settings) {
  QVMconfig& config = m_Engine.config();
  for (;;) {
    ARFobj obj(&settings, "connection_info");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    COLstring values[5];
    const char* names[] = {"label", "api", "db_name", "username", "password"};
    for (int i = 0; i < 5; ++i)
      if (auto p = ANTreadProp(m_Reader, obj, names[i])) values[i] = p->value;
    config.databaseConnection(config.addDatabaseConnection())->setAll(values[0], values[1], values[2], values[3],
                                                                        values[4]);
  }
}

void ANTloader::loadEmbeddedPythonModulesInfo(ARFobj& settings) {
  for (;;) {
    ARFobj obj(&settings, "embedded_python_module");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    QVMembeddedPythonModule& module = *m_Engine.engineConfig().addEmbeddedPythonModule();
    if (auto p = ANTreadProp(m_Reader, obj, "name")) module.setName(p->value);
    if (auto p = ANTreadProp(m_Reader, obj, "code")) module.setCode(p->value);
  }
}

void ANTloader::loadMessageNodeAddress(ARFobj& parent, QVMmessageNodeAddress& address) {
  ARFobj obj(&parent, "node_address");
  ARFscopedRead scope(m_Reader, obj);
  if (!scope) return;
  address.clear();
  for (uint32_t step = 0;; ++step) {
    ARFobj pair(&obj, "pair");
    ARFscopedRead pairScope(m_Reader, pair);
    if (!pairScope) break;
    uint32_t node = 0, repeat = 0;
    if (auto p = ANTreadProp(m_Reader, pair, "node_index")) node = ANTparseIndex(m_Reader, *p);
    if (auto p = ANTreadProp(m_Reader, pair, "repeat_index")) repeat = ANTparseIndex(m_Reader, *p);
    address.setNodeAndRepeatIndex(step, node, repeat);
  }
}

uint32_t ANTloader::messageIdByName(const COLstring& name, const ARFposition& where) const {
  auto found = m_MessageByName.find(name);
  if (found == m_MessageByName.end()) raise(where, COLstring("illegal reference to message `") + name + "'.");
  return static_cast<uint32_t>(found->second);
}

QVMtableDefinitionInternal* ANTloader::tableByName(const COLstring& name, const ARFposition& where) const {
  auto found = m_TableByName.find(name);
  if (found == m_TableByName.end())
    raise(where, COLstring("illegal reference to nonexistent table `") + name + "'.");
  return m_Engine.table(found->second);
}

uint32_t ANTloader::mapSetIdByName(const QVMtableDefinitionInternal& table, const COLstring& name,
                                   const ARFposition& where) const {
  for (size_t s = 0; s < table.countOfMapSet(); ++s)
    if (table.mapSet(s)->name() == name) return static_cast<uint32_t>(s);
  raise(where, COLstring("illegal reference to mapset `") + name + "' of table `" + table.tableName() + "'.");
}

// --- entry points

bool ANTisHeaderAntVersionOne(const char* data, size_t size) {
  const size_t length = sizeof ANTversionOneHeader - 1;
  return data && size >= length && std::string_view(data, length) == ANTversionOneHeader;
}

bool ANTisHeaderAntVersionOne(const COLsimpleBuffer& buffer) {
  return ANTisHeaderAntVersionOne(reinterpret_cast<const char*>(buffer.data()), buffer.size());
}

void ANTloadEngine(const COLstring& text, QVMengineInternal& engine, const COLstring& documentName) {
  try {
    ARFXreader reader(text, documentName);
    ANTloader(engine, reader).load();
  } catch (...) {
    // A failed load leaves an empty engine, never a part of the file.
    engine.clear();
    engine.setVmdDescription(COLstring());
    throw;
  }
}
