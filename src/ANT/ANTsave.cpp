// Writing the version-one format. The model is walked in the order the format lays down;
// references are written as names or as the ids of this file (segment index, position of a
// message grammar node in a walk of its tree). Before anything is written the model is
// checked for what the format cannot carry without loss: two tables or two messages with one
// name, two composites or date-time grammars with one name in a configuration, enumeration
// grammars, a reference that a name would not lead back to.
#include <unordered_map>

#include "ANTengine.h"
#include "ANTvalues.h"
#include "ARFXwriter.h"
#include "COLerror.h"
#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMsegmentValidationRule.h"

namespace {
[[noreturn]] void refuse(const COLstring& why) {
  throw COLerror(COLstring("The definition cannot be saved in the version-one format: ") + why,
                 COL_ERROR_PRECONDITION);
}

// Name -> first object of that name, as the reader will resolve it.
template <class T>
class ANTnameIndex {
public:
  // Refuses a second object of one name when `unique` is set.
  void add(const COLstring& name, const T* object, bool unique, const char* what) {
    auto [it, added] = m_First.emplace(name, object);
    if (!added && unique) refuse(COLstring("two ") + what + " are named `" + name + "'.");
  }
  const T* find(const COLstring& name) const {
    auto found = m_First.find(name);
    return found == m_First.end() ? nullptr : found->second;
  }
  // True when the name leads back to this very object.
  bool leadsTo(const COLstring& name, const T* object) const {
    auto found = m_First.find(name);
    return found != m_First.end() && found->second == object;
  }

private:
  std::unordered_map<COLstring, const T*> m_First;
};

class ANTsaver {
public:
  ANTsaver(QVMengineInternal& engine, ARFwriter& writer) : m_Engine(engine), m_Writer(writer) {}
  void save();

private:
  void prop(ARFobj& obj, const char* name, const COLstring& value) { m_Writer.objProp(ARFprop(obj, name, value)); }
  void raw(ARFobj& obj, const char* name, const COLstring& value) { m_Writer.objPropRaw(ARFprop(obj, name, value)); }
  void flag(ARFobj& obj, const char* name, bool value) { prop(obj, name, ANTformatBool(value)); }
  void index(ARFobj& obj, const char* name, uint32_t value) { prop(obj, name, ANTformatIndex(value)); }

  void checkGlobal();
  void saveTables(ARFobj& global);
  void saveMessages(ARFobj& global);
  void saveTableGrammarGlobal(ARFobj& parent, const QVMtableGrammarInternal& grammar, const COLstring& message);
  void saveConfig(ARFobj& engineObj, size_t configIndex);
  void saveDateTimes(ARFobj& config);
  void saveComposites(ARFobj& config);
  void saveSegments(ARFobj& config);
  void saveSegmentField(ARFobj& segmentObj, const QVMsegmentGrammar& segment, uint32_t fieldIndex);
  void saveSegmentValidationRule(ARFobj& field, const QVMsegmentValidationRule& rule);
  void saveMessageOrder(ARFobj& config);
  void saveTableConfig(ARFobj& config, size_t configIndex);
  void saveTableMapSetConfig(ARFobj& table, const QVMtableDefinitionInternal& definition, const QVMtableMapSet& set);
  void saveMessageConfig(ARFobj& config, size_t configIndex);
  void saveMessageGrammar(ARFobj& parent, const QVMmessageGrammar& grammar);
  void saveTableGrammarConfig(ARFobj& parent, const QVMtableGrammarInternal& grammar, bool isRoot);
  void savePythonHookInfo(ARFobj& message, const QVMpythonHookInfo& hook);
  void saveAppSettings(ARFobj& config, size_t configIndex);
  void saveSepInfo(ARFobj& settings, const QVMconfig& settingsOfConfig);
  void saveDbInfo(ARFobj& settings, const QVMconfig& settingsOfConfig);
  void saveEmbeddedPythonModulesInfo(ARFobj& settings);
  void saveMessageNodeAddress(ARFobj& parent, const QVMmessageNodeAddress& address);
  uint32_t messageGrammarId(const QVMmessageGrammar* grammar, const COLstring& message) const;

  QVMengineInternal& m_Engine;
  ARFwriter& m_Writer;
  ANTnameIndex<QVMtableDefinitionInternal> m_Tables;
  ANTnameIndex<QVMmessageDefinitionInternal> m_Messages;
  // Per configuration, rebuilt by saveConfig.
  ANTnameIndex<QVMcompositeGrammar> m_Composites;
  ANTnameIndex<QVMdateTimeGrammar> m_DateTimes;
  std::unordered_map<const QVMsegmentGrammar*, uint32_t> m_SegmentIds;
  ANTnameIndex<QVMsegmentGrammar> m_SegmentNames;
  // Per message while its configuration part is written.
  std::unordered_map<const QVMmessageGrammar*, uint32_t> m_GrammarIds;
};

void ANTsaver::checkGlobal() {
  for (size_t t = 0; t < m_Engine.countOfTable(); ++t)
    m_Tables.add(m_Engine.table(t)->tableName(), m_Engine.table(t), true, "tables");
  for (size_t m = 0; m < m_Engine.countOfMessage(); ++m)
    m_Messages.add(m_Engine.message(m)->name(), m_Engine.message(m), true, "messages");
}

void ANTsaver::save() {
  checkGlobal();
  ARFobj engineObj(nullptr, "engine", "version", "1.0");
  ARFscopedWrite engineScope(m_Writer, engineObj);
  flag(engineObj, "strict_grammar_checking", m_Engine.rejectBadSegmentGrammar());
  flag(engineObj, "java_use_native_double", m_Engine.useMachineDoubleTypeInJavaGeneration());
  flag(engineObj, "use_passthrough_mapping", m_Engine.usePassThroughMapping());
  index(engineObj, "current_config", m_Engine.currentConfig());
  index(engineObj, "incoming_config", m_Engine.incomingConfigIndex());
  index(engineObj, "outgoing_config", m_Engine.outgoingConfigIndex());
  prop(engineObj, "vmd_description", m_Engine.vmdDescription());
  flag(engineObj, "use_dotnet_properties", m_Engine.useDotNetProperties());
  {
    ARFobj global(&engineObj, "global", "name", "global");
    ARFscopedWrite globalScope(m_Writer, global);
    saveTables(global);
    saveMessages(global);
  }
  QVMengineVersionChanger restoreCurrent(m_Engine, m_Engine.currentConfig());
  for (size_t c = 0; c < m_Engine.countOfConfig(); ++c) saveConfig(engineObj, c);
}

void ANTsaver::saveTables(ARFobj& global) {
  for (size_t t = 0; t < m_Engine.countOfTable(); ++t) {
    const QVMtableDefinitionInternal& table = *m_Engine.table(t);
    ARFobj tableObj(&global, "table", "name", table.tableName());
    ARFscopedWrite scope(m_Writer, tableObj);
    prop(tableObj, "description", table.description());
    index(tableObj, "action", table.databaseAction());
    for (size_t k = 0; k < table.countOfColumn(); ++k) {
      ARFobj column(&tableObj, "column", "name", table.columnName(k));
      ARFscopedWrite columnScope(m_Writer, column);
      prop(column, "description", table.columnDescription(k));
      if (table.columnType(k) > QVMdateTimeType)
        refuse(COLstring("column `") + table.columnName(k) + "' of table `" + table.tableName() +
               "' has a data type that the format has no name for.");
      prop(column, "type", ANTformatDataType(table.columnType(k)));
    }
  }
}

void ANTsaver::saveMessages(ARFobj& global) {
  for (size_t m = 0; m < m_Engine.countOfMessage(); ++m) {
    const QVMmessageDefinitionInternal& message = *m_Engine.message(m);
    ARFobj messageObj(&global, "message", "name", message.name());
    ARFscopedWrite scope(m_Writer, messageObj);
    prop(messageObj, "description", message.description());
    saveTableGrammarGlobal(messageObj, message.tableGrammar(), message.name());
  }
}

void ANTsaver::saveTableGrammarGlobal(ARFobj& parent, const QVMtableGrammarInternal& grammar,
                                      const COLstring& message) {
  if (grammar.isNode() && !grammar.table())
    refuse(COLstring("a table grammar node of message `") + message + "' names no table.");
  ARFobj grammarObj(&parent, "table_grammar", "name", grammar.name());
  ARFscopedWrite scope(m_Writer, grammarObj);
  if (grammar.isNode()) {
    prop(grammarObj, "type", "table");
    prop(grammarObj, "table_ref", grammar.table()->tableName());
    return;
  }
  prop(grammarObj, "type", "group");
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i)
    saveTableGrammarGlobal(grammarObj, *grammar.subGrammar(i), message);
}

void ANTsaver::saveConfig(ARFobj& engineObj, size_t configIndex) {
  m_Engine.setCurrentConfig(static_cast<uint32_t>(configIndex));
  const QVMengineConfig& config = m_Engine.engineConfig();
  if (config.countOfEnumerationGrammar() > 0)
    refuse(COLstring("configuration `") + config.configName() +
           "' has enumeration grammars, which the format has no place for.");
  m_Composites = {};
  m_DateTimes = {};
  m_SegmentNames = {};
  m_SegmentIds.clear();
  for (size_t i = 0; i < config.countOfComposite(); ++i)
    m_Composites.add(config.composite(i)->name(), config.composite(i), true, "composites of one configuration");
  for (size_t i = 0; i < config.countOfDateTimeGrammar(); ++i)
    m_DateTimes.add(config.dateTimeGrammar(i)->name(), config.dateTimeGrammar(i), true,
                    "date-time grammars of one configuration");
  for (size_t i = 0; i < config.countOfSegment(); ++i) {
    m_SegmentIds.emplace(config.segment(i), static_cast<uint32_t>(i));
    m_SegmentNames.add(config.segment(i)->name(), config.segment(i), false, "segments");
  }
  ARFobj configObj(&engineObj, "config", "name", config.configName());
  ARFscopedWrite scope(m_Writer, configObj);
  saveDateTimes(configObj);
  saveComposites(configObj);
  saveSegments(configObj);
  saveMessageOrder(configObj);
  saveTableConfig(configObj, configIndex);
  saveMessageConfig(configObj, configIndex);
  saveAppSettings(configObj, configIndex);
}

void ANTsaver::saveDateTimes(ARFobj& config) {
  for (size_t i = 0; i < m_Engine.countOfDateTimeGrammar(); ++i) {
    const QVMdateTimeGrammar& grammar = *m_Engine.dateTimeGrammar(i);
    ARFobj obj(&config, "date_time", "name", grammar.name());
    ARFscopedWrite scope(m_Writer, obj);
    prop(obj, "description", grammar.description());
    flag(obj, "fields_required", grammar.fieldsRequired());
    for (uint32_t k = 0; k < grammar.countOfMaskItem(); ++k) prop(obj, "mask", ANTformatMaskItem(grammar.maskItem(k)));
  }
}

void ANTsaver::saveComposites(ARFobj& config) {
  for (size_t i = 0; i < m_Engine.countOfComposite(); ++i) {
    const QVMcompositeGrammar& composite = *m_Engine.composite(i);
    ARFobj obj(&config, "composite", "name", composite.name());
    ARFscopedWrite scope(m_Writer, obj);
    prop(obj, "description", composite.description());
    for (uint32_t k = 0; k < composite.countOfField(); ++k) {
      const QVMcompositeSubField& field = *composite.field(k);
      ARFobj fieldObj(&obj, "field", "name", field.name());
      ARFscopedWrite fieldScope(m_Writer, fieldObj);
      index(fieldObj, "max_length", field.maxLength());
      flag(fieldObj, "is_required", field.isRequired());
      flag(fieldObj, "is_length_restricted", field.isLengthRestricted());
      if (field.dataType() > QVMdateTimeType)
        refuse(COLstring("field `") + field.name() + "' of composite `" + composite.name() +
               "' is an enumeration, which the format cannot store.");
      prop(fieldObj, "data_type", ANTformatDataType(field.dataType()));
      if (field.dataType() == QVMcompositeType) {
        if (!field.compositeType() || !m_Composites.leadsTo(field.compositeType()->name(), field.compositeType()))
          refuse(COLstring("field `") + field.name() + "' of composite `" + composite.name() +
                 "' refers to a composite outside its configuration.");
        prop(fieldObj, "composite_ref", field.compositeType()->name());
      } else if (field.dataType() == QVMdateTimeType) {
        if (!field.dateTimeGrammar() || !m_DateTimes.leadsTo(field.dateTimeGrammar()->name(), field.dateTimeGrammar()))
          refuse(COLstring("field `") + field.name() + "' of composite `" + composite.name() +
                 "' refers to a date-time grammar outside its configuration.");
        prop(fieldObj, "datetime_ref", field.dateTimeGrammar()->name());
      }
    }
  }
}

void ANTsaver::saveSegments(ARFobj& config) {
  for (size_t i = 0; i < m_Engine.countOfSegment(); ++i) {
    const QVMsegmentGrammar& segment = *m_Engine.segment(i);
    ARFobj obj(&config, "segment", "id", ANTformatIndex(static_cast<uint32_t>(i)));
    ARFscopedWrite scope(m_Writer, obj);
    prop(obj, "name", segment.name());
    prop(obj, "description", segment.description());
    flag(obj, "has_delimiters", segment.hasDelimiters());
    for (uint32_t k = 0; k < segment.countOfIdentifier(); ++k) {
      ARFobj identity(&obj, "identity");
      ARFscopedWrite identityScope(m_Writer, identity);
      prop(identity, "value", segment.identifier(k)->value());
      saveMessageNodeAddress(identity, segment.identifier(k)->nodeAddress());
    }
    for (uint32_t k = 0; k < segment.countOfField(); ++k) saveSegmentField(obj, segment, k);
  }
}

void ANTsaver::saveSegmentField(ARFobj& segmentObj, const QVMsegmentGrammar& segment, uint32_t fieldIndex) {
  ARFobj field(&segmentObj, "field", "name", segment.fieldName(fieldIndex));
  ARFscopedWrite scope(m_Writer, field);
  index(field, "max_repeats", segment.fieldMaxRepeat(fieldIndex));
  flag(field, "is_required", segment.isFieldRequired(fieldIndex));
  index(field, "width", segment.fieldWidth(fieldIndex));
  raw(field, "in_equation", segment.fieldIncomingFunction(fieldIndex).code());
  raw(field, "out_equation", segment.fieldOutgoingFunction(fieldIndex).code());
  if (const QVMcompositeGrammar* type = segment.fieldType(fieldIndex)) {
    if (!m_Composites.leadsTo(type->name(), type))
      refuse(COLstring("field `") + segment.fieldName(fieldIndex) + "' of segment `" + segment.name() +
             "' refers to a composite outside its configuration.");
    prop(field, "composite_ref", type->name());
  }
  for (uint32_t r = 0; r < segment.countOfValidationRules(fieldIndex); ++r)
    saveSegmentValidationRule(field, *segment.getValidationRule(fieldIndex, r));
}

void ANTsaver::saveSegmentValidationRule(ARFobj& field, const QVMsegmentValidationRule& rule) {
  static const char* const Kinds[] = {"conditional_field", "regex", "regex_pair", "python", "situational_python"};
  if (rule.classId() > QVMsituationalPythonRule) refuse("unknown validation rule.");
  ARFobj obj(&field, "rule", "type", Kinds[rule.classId()]);
  ARFscopedWrite scope(m_Writer, obj);
  prop(obj, "name", rule.name());
  switch (rule.classId()) {
    case QVMconditionalFieldRule:
      index(obj, "required_field_index",
            static_cast<const QVMsegmentValidationRuleConditionalField&>(rule).requiredField());
      break;
    case QVMregularExpressionRule:
      prop(obj, "regex", rule.parameter("RegularExpression"));
      break;
    case QVMregExpPairRule:
      index(obj, "dep_field_index", static_cast<const QVMsegmentValidationRuleRegExpPair&>(rule).dependentFieldIndex());
      prop(obj, "dep_field_regex", rule.parameter("DependentFieldRegExp"));
      prop(obj, "field_regex", rule.parameter("FieldRegExp"));
      break;
    case QVMpythonRule: {
      const auto& python = static_cast<const QVMsegmentValidationRulePython&>(rule);
      prop(obj, "description", python.description());
      raw(obj, "code", python.code());
      break;
    }
    case QVMsituationalPythonRule: {
      const auto& python = static_cast<const QVMsegmentValidationRuleSituationalPython&>(rule);
      prop(obj, "description", python.description());
      raw(obj, "code", python.code());
      raw(obj, "code_on_error", python.codeOnError());
      break;
    }
  }
}

void ANTsaver::saveMessageOrder(ARFobj& config) {
  ARFobj match(&config, "match");
  ARFscopedWrite scope(m_Writer, match);
  for (auto position = m_Engine.firstMessage(); position; position = m_Engine.nextMessage(position)) {
    uint32_t messageIndex = m_Engine.matchIndexToMessageIndex(position);
    if (messageIndex >= m_Engine.countOfMessage()) refuse("the match order names a message that doesn't exist.");
    prop(match, "msg", m_Engine.message(messageIndex)->name());
  }
}

void ANTsaver::saveTableConfig(ARFobj& config, size_t configIndex) {
  for (size_t t = 0; t < m_Engine.countOfTable(); ++t) {
    const QVMtableDefinitionInternal& table = *m_Engine.table(t);
    ARFobj tableObj(&config, "table", "name", table.tableName());
    ARFscopedWrite scope(m_Writer, tableObj);
    for (size_t k = 0; k < table.countOfColumn(); ++k) {
      ARFobj column(&tableObj, "column", "name", table.columnName(k));
      ARFscopedWrite columnScope(m_Writer, column);
      flag(column, "is_key", table.columnIsKey(k));
      raw(column, "in_equation", table.incomingFunctionCode(configIndex, k));
      raw(column, "out_equation", table.outgoingFunctionCode(configIndex, k));
    }
    for (size_t s = 0; s < table.countOfMapSet(); ++s) saveTableMapSetConfig(tableObj, table, *table.mapSet(s));
  }
}

void ANTsaver::saveTableMapSetConfig(ARFobj& table, const QVMtableDefinitionInternal& definition,
                                     const QVMtableMapSet& set) {
  ARFobj setObj(&table, "config_mapset", "name", set.name());
  ARFscopedWrite scope(m_Writer, setObj);
  for (size_t k = 0; k < definition.countOfColumn() && k < set.countOfMap(); ++k) {
    ARFobj item(&setObj, "mapset");
    ARFscopedWrite itemScope(m_Writer, item);
    saveMessageNodeAddress(item, set.map(k).nodeAddress());
  }
}

void ANTsaver::saveMessageConfig(ARFobj& config, size_t configIndex) {
  for (size_t m = 0; m < m_Engine.countOfMessage(); ++m) {
    QVMmessageDefinitionInternal& message = *m_Engine.message(m);
    const QVMmessageConfig& record = message.config(configIndex);
    ARFobj obj(&config, "message", "name", message.name());
    ARFscopedWrite scope(m_Writer, obj);
    flag(obj, "ignore_unknown_segments", record.ignoreUnknownSegments());
    flag(obj, "ignore_segment_order", record.ignoreSegmentOrder());
    raw(obj, "in_equation", record.inFunction().code());
    raw(obj, "out_equation", record.outFunction().code());
    for (size_t k = 0; k < record.countOfIdentifier(); ++k) {
      const QVMidentifier& identifier = *record.identifier(k);
      ARFobj identifierObj(&obj, "identifier");
      ARFscopedWrite identifierScope(m_Writer, identifierObj);
      // A segment grammar of that name is referred to by id, any other name kept as it is.
      if (const QVMsegmentGrammar* named = m_SegmentNames.find(identifier.segment()))
        index(identifierObj, "segment_ref", m_SegmentIds.at(named));
      else
        prop(identifierObj, "segment", identifier.segment());
      prop(identifierObj, "value", identifier.value());
      saveMessageNodeAddress(identifierObj, identifier.nodeAddress());
    }
    savePythonHookInfo(obj, record.segmentListFunctionHook());
    m_GrammarIds.clear();
    saveMessageGrammar(obj, *record.rootMessageGrammar());
    const QVMtableGrammarInternal& tableGrammar = message.tableGrammar();
    index(obj, "grammar_root_ref", messageGrammarId(tableGrammar.config(configIndex).messageGrammar(), message.name()));
    saveTableGrammarConfig(obj, tableGrammar, true);
  }
}

uint32_t ANTsaver::messageGrammarId(const QVMmessageGrammar* grammar, const COLstring& message) const {
  if (!grammar) return ANTnone;
  auto found = m_GrammarIds.find(grammar);
  if (found == m_GrammarIds.end())
    refuse(COLstring("a table grammar of message `") + message + "' is rooted outside the message's grammar.");
  return found->second;
}

void ANTsaver::saveMessageGrammar(ARFobj& parent, const QVMmessageGrammar& grammar) {
  uint32_t id = static_cast<uint32_t>(m_GrammarIds.size());
  m_GrammarIds.emplace(&grammar, id);
  if (grammar.isNode() && !grammar.segment()) refuse("a message grammar node names no segment.");
  ARFobj obj(&parent, "message_grammar", "id", ANTformatIndex(id));
  ARFscopedWrite scope(m_Writer, obj);
  prop(obj, "name", grammar.grammarName());
  flag(obj, "is_optional", grammar.isOptional());
  flag(obj, "is_repeating", grammar.isRepeating());
  flag(obj, "ignore_segment_order", grammar.ignoreSegmentOrder());
  index(obj, "max_repeats", grammar.maximumRepeat());
  if (grammar.isNode()) {
    auto found = m_SegmentIds.find(grammar.segment());
    if (found == m_SegmentIds.end()) refuse(COLstring("Could not find equivalent segment to ") + grammar.grammarName());
    prop(obj, "type", "segment");
    index(obj, "segment_ref", found->second);
    return;
  }
  prop(obj, "type", "group");
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i) saveMessageGrammar(obj, *grammar.subGrammar(i));
}

void ANTsaver::saveTableGrammarConfig(ARFobj& parent, const QVMtableGrammarInternal& grammar, bool isRoot) {
  ARFobj obj(&parent, "table_grammar", "name", grammar.name());
  ARFscopedWrite scope(m_Writer, obj);
  const COLstring& message = grammar.message()->name();
  if (!isRoot) index(obj, "grammar_root_ref", messageGrammarId(grammar.messageGrammar(), message));
  if (!grammar.isNode()) {
    prop(obj, "type", "group");
    for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i)
      saveTableGrammarConfig(obj, *grammar.subGrammar(i), false);
    return;
  }
  prop(obj, "type", "table");
  index(obj, "grammar_field_index", grammar.messageGrammarFieldIndex());
  const QVMtableDefinitionInternal& table = *grammar.table();
  uint32_t setIndex = grammar.tableMapSetIndex();
  if (setIndex >= table.countOfMapSet()) return;
  const COLstring& setName = table.mapSet(setIndex)->name();
  for (uint32_t s = 0; s < setIndex; ++s)
    if (table.mapSet(s)->name() == setName)
      refuse(COLstring("table `") + table.tableName() + "' has two map sets named `" + setName +
             "' in configuration `" + m_Engine.engineConfig().configName() + "', and message `" + message +
             "' uses the second one.");
  prop(obj, "mapset_ref", setName);
}

void ANTsaver::savePythonHookInfo(ARFobj& message, const QVMpythonHookInfo& hook) {
  ARFobj obj(&message, "segment_list_function_hook");
  ARFscopedWrite scope(m_Writer, obj);
  prop(obj, "name", hook.name());
  prop(obj, "module", hook.module());
}

void ANTsaver::saveAppSettings(ARFobj& config, size_t configIndex) {
  const QVMconfig& settings = m_Engine.config();
  ARFobj obj(&config, "app_settings");
  ARFscopedWrite scope(m_Writer, obj);
  uint32_t ack = m_Engine.ackMessageIndex(configIndex);
  prop(obj, "ack_message", ack < m_Engine.countOfMessage() ? m_Engine.message(ack)->name() : COLstring());
  prop(obj, "eom_char", ANTformatChar(settings.endOfMessage()));
  prop(obj, "octal_escape_char", ANTformatChar(settings.octalEscapeChar()));
  prop(obj, "escape_default", ANTformatChar(settings.escapeDefault()));
  prop(obj, "escape_escape_char", ANTformatChar(settings.escapeEscapeChar()));
  index(obj, "escape_position", settings.escapePosition());
  prop(obj, "stub_file_dir", settings.stubFileDir());
  prop(obj, "stub_file_language", settings.stubFileLanguage());
  prop(obj, "stub_file_prefix", settings.stubFilePrefix());
  flag(obj, "output_trailing_separators", settings.outputTrailingSeparators());
  flag(obj, "parse_separator_chars", settings.parseSeparatorChars());
  index(obj, "lowest_unescaped_char", settings.lowestNonEscapedChar());
  index(obj, "highest_unescaped_char", settings.highestNonEscapedChar());
  flag(obj, "preset_config", settings.hasHl7PresetConfig());
  raw(obj, "main_equation", settings.mainFunction().code());
  raw(obj, "postprocess_equation", settings.postProcessFunction().code());
  raw(obj, "main_out_equation", settings.outgoingMainFunction().code());
  raw(obj, "postprocess_out_equation", settings.outgoingPostProcessFunction().code());
  flag(obj, "output_segment_line_feed", settings.outputSegmentLineFeed());
  prop(obj, "xml_delimiter", ANTformatChar(settings.xmlDelimiter()));
  prop(obj, "xml_translation_type", settings.xmlTranslationType());
  flag(obj, "use_segment_checker3", settings.parserVersion() == QVMparserSegmentChecker3);
  flag(obj, "xml_schema_single_file", settings.xmlSchemaSingleFile());
  index(obj, "header_fields_to_skip", settings.countOfHeaderFieldsToSkip());
  flag(obj, "disable_untyped_tree_in_exception", settings.disableUntypedTreeInException());
  index(obj, "maximum_repeat_mapping_limit", settings.maximumRepeatMappingLimit());
  flag(obj, "database_equation_on", settings.isDatabaseFunctionOn());
  flag(obj, "disable_python_none", settings.disablePythonNone());
  prop(obj, "header_segment", settings.headerSegment());
  flag(obj, "last_message_matches_all", m_Engine.lastMessageMatchesAll());
  index(obj, "parser_version", settings.parserVersion());
  flag(obj, "escape_data_for_xml_to_hl7", settings.escapeDataForXmlToHL7());
  flag(obj, "validate_data_for_xml_to_hl7", settings.validateDataForXmlToHL7());
  saveSepInfo(obj, settings);
  saveDbInfo(obj, settings);
  saveEmbeddedPythonModulesInfo(obj);
}

void ANTsaver::saveSepInfo(ARFobj& settings, const QVMconfig& settingsOfConfig) {
  for (size_t level = 0; level < settingsOfConfig.countOfLevel(); ++level) {
    const QVMsepInfo& info = settingsOfConfig.sepCharInfo(level);
    ARFobj obj(&settings, "separator_info");
    ARFscopedWrite scope(m_Writer, obj);
    prop(obj, "sep_char_default", ANTformatChar(info.sepCharDefault()));
    prop(obj, "repeat_char_default", ANTformatChar(info.repeatCharDefault()));
    prop(obj, "sep_char_escape", ANTformatChar(info.sepCharEscape()));
    prop(obj, "repeat_char_escape", ANTformatChar(info.repeatCharEscape()));
    index(obj, "sep_char_position", info.sepCharPosition());
    index(obj, "repeat_char_position", info.repeatCharPosition());
  }
}

void ANTsaver::saveDbInfo(ARFobj& settings, const QVMconfig& settingsOfConfig) {
  for (size_t i = 0; i < settingsOfConfig.countOfDatabaseConnections(); ++i) {
    const QVMdbInfo& info = *settingsOfConfig.databaseConnection(i);
    ARFobj obj(&settings, "connection_info");
    ARFscopedWrite scope(m_Writer, obj);
    prop(obj, "label", info.label());
    prop(obj, "api", info.apiName());
    prop(obj, "db_name", info.databaseName());
    prop(obj, "username", info.userName());
    prop(obj, "password", info.password());
  }
}

void ANTsaver::saveEmbeddedPythonModulesInfo(ARFobj& settings) {
  const QVMengineConfig& config = m_Engine.engineConfig();
  for (size_t i = 0; i < config.countOfEmbeddedPythonModule(); ++i) {
    const QVMembeddedPythonModule& module = *config.embeddedPythonModule(i);
    ARFobj obj(&settings, "embedded_python_module");
    ARFscopedWrite scope(m_Writer, obj);
    prop(obj, "name", module.name());
    raw(obj, "code", module.code());
  }
}

void ANTsaver::saveMessageNodeAddress(ARFobj& parent, const QVMmessageNodeAddress& address) {
  ARFobj obj(&parent, "node_address");
  ARFscopedWrite scope(m_Writer, obj);
  for (uint32_t step = 0; step < address.depth(); ++step) {
    ARFobj pair(&obj, "pair");
    ARFscopedWrite pairScope(m_Writer, pair);
    index(pair, "node_index", address.nodeIndex(step));
    index(pair, "repeat_index", address.repeatIndex(step));
  }
}
}  // namespace

COLstring ANTsaveEngineToString(QVMengineInternal& engine) {
  COLstring text;
  COLostream stream(text);
  ARFXwriter writer(stream);
  ANTsaver(engine, writer).save();
  return text;
}

void ANTsaveEngine(QVMengineInternal& engine, COLsink& sink) {
  COLstring text = ANTsaveEngineToString(engine);
  sink.write(text.data(), text.size());
  sink.flush();
}
