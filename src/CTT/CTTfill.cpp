// From the model to the reflected tree.  Configuration 0 is written into a tree of one
// version; each further configuration starts as a copy of the one before and is written over
// it, every write leaving an equal value alone, so that what configurations share is stored
// once.  Parts the model keeps once for all configurations are written in the first only.
#include <unordered_map>

#include "CTTcopy.h"
#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMsegmentValidationRule.h"
#include "QVTclasses.h"
#include "QVTengineInternal.h"

namespace {
template <class T>
using Objects = std::unordered_map<const T*, TREinstanceComplex*>;

template <class T>
QVTobject lookup(const Objects<T>& objects, const T* object) {
  auto found = objects.find(object);
  return QVTobject(found == objects.end() ? nullptr : found->second);
}

class CTTfiller {
public:
  CTTfiller(QVMengineInternal& engine, QVTengineInternal& reflected) : m_From(engine), m_To(reflected) {}
  void fill();

private:
  void fillGlobal();
  void fillTableGrammarGlobal(const QVMtableGrammarInternal& from, QVTobject to);
  void fillConfig(uint16_t c);
  void fillDateTimes(QVTobject plugin);
  void fillEnumerations(QVTobject plugin);
  void fillComposites(QVTobject plugin);
  void fillSegments(QVTobject plugin);
  void fillSegmentField(const QVMsegmentGrammar& segment, uint32_t k, QVTobject to);
  void fillRule(const QVMsegmentValidationRule& rule, QVTobject to);
  void fillSettings(const QVMconfig& from, QVTobject to);
  void fillTables(uint16_t c);
  void fillMessages(uint16_t c);
  void fillMessageGrammar(const QVMmessageGrammar& from, QVTobject to);
  void fillTableGrammarConfig(const QVMtableGrammarInternal& from, QVTobject to, uint16_t c);
  static void fillAddress(const QVMmessageNodeAddress& from, QVTobject to);
  static void fillFunction(QVTobject to, uint16_t member, const COLstring& code) {
    to.child(member).setText(QVTfunction::Code, code);
  }
  static void setNumbers(TREinstanceVector& list, const std::vector<uint32_t>& values);

  QVMengineInternal& m_From;
  QVTengineInternal& m_To;
  Objects<QVMtableDefinitionInternal> m_Tables;
  // Per configuration.
  Objects<QVMdateTimeGrammar> m_DateTimes;
  Objects<QVMenumerationGrammar> m_Enumerations;
  Objects<QVMcompositeGrammar> m_Composites;
  Objects<QVMsegmentGrammar> m_Segments;
  Objects<QVMmessageGrammar> m_Grammars;
};

void CTTfiller::fill() {
  m_To.clearInstance();
  uint32_t start = m_From.currentConfig();
  QVMengineVersionChanger restore(m_From, start);
  if (m_From.countOfConfig() >= 0xFFFF) throw COLerror("Too many configurations to store.", COL_ERROR_PRECONDITION);
  fillGlobal();
  for (uint16_t c = 0; c < m_From.countOfConfig(); ++c) {
    if (c > 0) m_To.addConfiguration();
    m_From.setCurrentConfig(c);
    fillConfig(c);
  }
  m_To.setCurrentConfig(uint16_t(start));
}

void CTTfiller::fillGlobal() {
  QVTobject vmd = m_To.vmd();
  vmd.setNumber(QVTvmd::InConfigIndex, m_From.incomingConfigIndex());
  vmd.setNumber(QVTvmd::OutConfigIndex, m_From.outgoingConfigIndex());
  vmd.setFlag(QVTvmd::RejectBadSegmentGrammar, m_From.rejectBadSegmentGrammar());
  vmd.setText(QVTvmd::VmdDescription, m_From.vmdDescription());
  vmd.setFlag(QVTvmd::UseDotNetProperties, m_From.useDotNetProperties());
  TREinstanceVector& tables = vmd.list(QVTvmd::Table);
  tables.resize(m_From.countOfTable());
  for (size_t t = 0; t < m_From.countOfTable(); ++t) {
    const QVMtableDefinitionInternal& from = *m_From.table(t);
    QVTobject to = vmd.item(QVTvmd::Table, t);
    m_Tables[&from] = &to.node();
    to.setText(QVTtable::TableName, from.tableName());
    to.setText(QVTtable::Description, from.description());
    to.setNumber(QVTtable::Action, from.databaseAction());
    to.list(QVTtable::Column).resize(from.countOfColumn());
    for (size_t k = 0; k < from.countOfColumn(); ++k) {
      QVTobject column = to.item(QVTtable::Column, k);
      column.setText(QVTcolumn::Name, from.columnName(k));
      column.setNumber(QVTcolumn::Type, from.columnType(k));
      column.setText(QVTcolumn::Description, from.columnDescription(k));
      column.setFlag(QVTcolumn::IsKey, from.columnIsKey(k));
    }
  }
  vmd.list(QVTvmd::Message).resize(m_From.countOfMessage());
  for (size_t m = 0; m < m_From.countOfMessage(); ++m) {
    const QVMmessageDefinitionInternal& from = *m_From.message(m);
    QVTobject to = vmd.item(QVTvmd::Message, m);
    to.setText(QVTmessage::Name, from.name());
    to.setText(QVTmessage::Description, from.description());
    fillTableGrammarGlobal(from.tableGrammar(), to.child(QVTmessage::TableGrammar));
  }
}

void CTTfiller::fillTableGrammarGlobal(const QVMtableGrammarInternal& from, QVTobject to) {
  to.setText(QVTtableGrammar::Name, from.name());
  to.setFlag(QVTtableGrammar::IsNode, from.isNode());
  if (from.isNode()) {
    to.setTarget(QVTtableGrammar::Table, lookup(m_Tables, from.table()));
    return;
  }
  to.list(QVTtableGrammar::SubGrammar).resize(from.countOfSubGrammar());
  for (size_t i = 0; i < from.countOfSubGrammar(); ++i)
    fillTableGrammarGlobal(*from.subGrammar(i), to.item(QVTtableGrammar::SubGrammar, i));
}

void CTTfiller::fillConfig(uint16_t c) {
  QVTobject vmd = m_To.vmd();
  QVTobject plugin = m_To.plugin();
  vmd.setFlag(QVTvmd::UseMachineDoubleTypeInJavaGeneration, m_From.useMachineDoubleTypeInJavaGeneration());
  plugin.setText(QVTpluginBase::ConfigName, m_From.configName(c));
  plugin.setNumber(QVTpluginBase::AckMessageIndex, m_From.ackMessageIndex(c));
  plugin.setNumber(QVTpluginBase::IgnoreMessageIndex, QVMengineIgnoreMessageIndex(m_From, c));
  fillDateTimes(plugin);
  fillEnumerations(plugin);
  fillComposites(plugin);
  fillSegments(plugin);
  fillSettings(m_From.config(), plugin.child(QVTpluginBase::Config));
  plugin.child(QVTpluginBase::Config).setFlag(QVTconfig::UsePassThroughMapping, m_From.usePassThroughMapping());
  plugin.setFlag(QVTpluginBase::LastMessageMatchesAll, m_From.lastMessageMatchesAll());
  std::vector<uint32_t> order = m_From.engineConfig().matchOrder().toVector();
  setNumbers(plugin.list(QVTpluginBase::MatchOrder), order);
  const QVMengineConfig& config = m_From.engineConfig();
  plugin.list(QVTpluginBase::EmbeddedPythonModule).resize(config.countOfEmbeddedPythonModule());
  for (size_t i = 0; i < config.countOfEmbeddedPythonModule(); ++i) {
    QVTobject module = plugin.item(QVTpluginBase::EmbeddedPythonModule, i);
    module.setText(QVTmodule::Name, config.embeddedPythonModule(i)->name());
    module.setText(QVTmodule::Code, config.embeddedPythonModule(i)->code());
  }
  fillTables(c);
  fillMessages(c);
}

void CTTfiller::setNumbers(TREinstanceVector& list, const std::vector<uint32_t>& values) {
  list.resize(values.size());
  for (size_t i = 0; i < values.size(); ++i) list[i].assign(int32_t(values[i]));
}

void CTTfiller::fillDateTimes(QVTobject plugin) {
  m_DateTimes.clear();
  plugin.list(QVTpluginBase::DateTimeGrammar).resize(m_From.countOfDateTimeGrammar());
  for (size_t i = 0; i < m_From.countOfDateTimeGrammar(); ++i) {
    const QVMdateTimeGrammar& from = *m_From.dateTimeGrammar(i);
    QVTobject to = plugin.item(QVTpluginBase::DateTimeGrammar, i);
    m_DateTimes[&from] = &to.node();
    to.setText(QVTdateTime::Name, from.name());
    to.setText(QVTdateTime::Description, from.description());
    to.setFlag(QVTdateTime::FieldsRequired, from.fieldsRequired());
    std::vector<uint32_t> masks;
    for (uint32_t k = 0; k < from.countOfMaskItem(); ++k) masks.push_back(from.maskItem(k));
    setNumbers(to.list(QVTdateTime::Mask), masks);
  }
}

void CTTfiller::fillEnumerations(QVTobject plugin) {
  m_Enumerations.clear();
  plugin.list(QVTpluginBase::EnumerationGrammar).resize(m_From.countOfEnumerationGrammar());
  for (size_t i = 0; i < m_From.countOfEnumerationGrammar(); ++i) {
    const QVMenumerationGrammar& from = *m_From.enumerationGrammar(i);
    QVTobject to = plugin.item(QVTpluginBase::EnumerationGrammar, i);
    m_Enumerations[&from] = &to.node();
    to.setText(QVTenumeration::Name, from.name());
    to.setText(QVTenumeration::Description, from.description());
    TREinstanceVector& items = to.list(QVTenumeration::Enum);
    items.resize(from.countOfEnumItem());
    for (uint32_t k = 0; k < from.countOfEnumItem(); ++k) items[k].assign(from.enumItem(k));
  }
}

void CTTfiller::fillComposites(QVTobject plugin) {
  m_Composites.clear();
  size_t count = m_From.countOfComposite();
  plugin.list(QVTpluginBase::Composite).resize(count);
  for (size_t i = 0; i < count; ++i)
    m_Composites[m_From.composite(i)] = &plugin.item(QVTpluginBase::Composite, i).node();
  for (size_t i = 0; i < count; ++i) {
    const QVMcompositeGrammar& from = *m_From.composite(i);
    QVTobject to = plugin.item(QVTpluginBase::Composite, i);
    to.setText(QVTcomposite::Name, from.name());
    to.setText(QVTcomposite::Description, from.description());
    to.list(QVTcomposite::Field).resize(from.countOfField());
    for (uint32_t k = 0; k < from.countOfField(); ++k) {
      const QVMcompositeSubField& field = *from.field(k);
      QVTobject target = to.item(QVTcomposite::Field, k);
      target.setText(QVTcompositeField::Name, field.name());
      target.setNumber(QVTcompositeField::DataType, field.dataType());
      target.setNumber(QVTcompositeField::MaxLength, field.maxLength());
      target.setFlag(QVTcompositeField::IsLengthRestricted, field.isLengthRestricted());
      target.setFlag(QVTcompositeField::IsRequired, field.isRequired());
      target.setTarget(QVTcompositeField::FieldCompositeType, lookup(m_Composites, field.compositeType()));
      target.setTarget(QVTcompositeField::DateTimeGrammar, lookup(m_DateTimes, field.dateTimeGrammar()));
      target.setTarget(QVTcompositeField::EnumerationGrammar, lookup(m_Enumerations, field.enumerationGrammar()));
    }
  }
}

void CTTfiller::fillSegments(QVTobject plugin) {
  m_Segments.clear();
  plugin.list(QVTpluginBase::Segment).resize(m_From.countOfSegment());
  for (size_t i = 0; i < m_From.countOfSegment(); ++i) {
    const QVMsegmentGrammar& from = *m_From.segment(i);
    QVTobject to = plugin.item(QVTpluginBase::Segment, i);
    m_Segments[&from] = &to.node();
    to.setText(QVTsegment::Name, from.name());
    to.setText(QVTsegment::Description, from.description());
    to.setFlag(QVTsegment::HasDelimiters, from.hasDelimiters());
    to.list(QVTsegment::Identifier).resize(from.countOfIdentifier());
    for (uint32_t k = 0; k < from.countOfIdentifier(); ++k) {
      QVTobject identity = to.item(QVTsegment::Identifier, k);
      identity.setText(QVTsegmentIdentifier::Value, from.identifier(k)->value());
      fillAddress(from.identifier(k)->nodeAddress(), identity.child(QVTsegmentIdentifier::NodeAddress));
    }
    to.list(QVTsegment::Field).resize(from.countOfField());
    for (uint32_t k = 0; k < from.countOfField(); ++k) fillSegmentField(from, k, to.item(QVTsegment::Field, k));
  }
}

void CTTfiller::fillSegmentField(const QVMsegmentGrammar& segment, uint32_t k, QVTobject to) {
  to.setText(QVTsegmentField::Name, segment.fieldName(k));
  to.setNumber(QVTsegmentField::MaxRepeats, segment.fieldMaxRepeat(k));
  to.setFlag(QVTsegmentField::IsRequired, segment.isFieldRequired(k));
  to.setNumber(QVTsegmentField::Width, segment.fieldWidth(k));
  fillFunction(to, QVTsegmentField::IncomingFunction, segment.fieldIncomingFunction(k).code());
  fillFunction(to, QVTsegmentField::OutgoingFunction, segment.fieldOutgoingFunction(k).code());
  to.setTarget(QVTsegmentField::FieldType, lookup(m_Composites, segment.fieldType(k)));
  uint32_t rules = segment.countOfValidationRules(k);
  for (uint32_t r = 0; r < rules; ++r) {
    const QVMsegmentValidationRule& rule = *segment.getValidationRule(k, r);
    if (rule.classId() > QVMsituationalPythonRule)
      throw COLerror("A validation rule of an unknown kind can't be stored.", COL_ERROR_PRECONDITION);
    fillRule(rule, to.itemOfType(QVTsegmentField::ValidationRule, r, QVTruleTypeNames[rule.classId()]));
  }
  to.list(QVTsegmentField::ValidationRule).resize(rules);
}

void CTTfiller::fillRule(const QVMsegmentValidationRule& rule, QVTobject to) {
  const uint16_t own = QVTrule::Own;
  to.setText(QVTrule::Name, rule.name());
  switch (rule.classId()) {
    case QVMconditionalFieldRule:
      to.setText(own, std::to_string(static_cast<const QVMsegmentValidationRuleConditionalField&>(rule).requiredField()));
      break;
    case QVMregularExpressionRule: to.setText(own, rule.parameter("RegularExpression")); break;
    case QVMregExpPairRule:
      to.setText(own, rule.parameter("DependentFieldRegExp"));
      to.setText(own + 1, rule.parameter("FieldRegExp"));
      to.setText(own + 2,
                 std::to_string(static_cast<const QVMsegmentValidationRuleRegExpPair&>(rule).dependentFieldIndex()));
      break;
    case QVMpythonRule: {
      const auto& python = static_cast<const QVMsegmentValidationRulePython&>(rule);
      to.setText(own, python.code());
      to.setText(own + 1, python.description());
      break;
    }
    case QVMsituationalPythonRule: {
      const auto& python = static_cast<const QVMsegmentValidationRuleSituationalPython&>(rule);
      to.setText(own, python.code());
      to.setText(own + 1, python.codeOnError());
      to.setText(own + 2, python.description());
      break;
    }
  }
}

void CTTfiller::fillSettings(const QVMconfig& from, QVTobject to) {
  to.setText(QVTconfig::HeaderSegment, from.headerSegment());
  to.setNumber(QVTconfig::EndOfMessage, from.endOfMessage());
  to.setNumber(QVTconfig::OctalEscapeChar, from.octalEscapeChar());
  to.setNumber(QVTconfig::EscapeDefault, from.escapeDefault());
  to.setNumber(QVTconfig::EscapeEscapeChar, from.escapeEscapeChar());
  to.setNumber(QVTconfig::EscapePosition, from.escapePosition());
  to.setText(QVTconfig::StubFileDir, from.stubFileDir());
  to.setText(QVTconfig::StubFilePrefix, from.stubFilePrefix());
  to.setText(QVTconfig::StubFileLanguage, from.stubFileLanguage());
  to.setFlag(QVTconfig::OutputTrailingSeparators, from.outputTrailingSeparators());
  to.setFlag(QVTconfig::ParseSeparatorChars, from.parseSeparatorChars());
  to.setNumber(QVTconfig::LowestNonEscapedChar, from.lowestNonEscapedChar());
  to.setNumber(QVTconfig::HighestNonEscapedChar, from.highestNonEscapedChar());
  to.setText(QVTconfig::PresetConfig, from.hasHl7PresetConfig() ? "HL7" : "");
  to.setText(QVTconfig::MainFunction, from.mainFunction().code());
  to.setText(QVTconfig::OutgoingMainFunction, from.outgoingMainFunction().code());
  to.setText(QVTconfig::OutgoingPostProcessFunction, from.outgoingPostProcessFunction().code());
  to.setText(QVTconfig::PostProcessFunction, from.postProcessFunction().code());
  to.setFlag(QVTconfig::OutputSegmentLineFeed, from.outputSegmentLineFeed());
  to.setNumber(QVTconfig::XmlDelimiter, from.xmlDelimiter());
  for (const QVTconverterName& name : QVTconverterNames)
    if (COLstring(name.dialect) == from.xmlTranslationType())
      to.child(QVTconfig::Converter).node().setType(QVTtype(name.typeName));
  // A reader that knows only this flag gets the legacy checker nearest to the current road.
  to.setFlag(QVTconfig::UseSegmentChecker3, from.parserVersion() != QVMparserLegacy);
  to.setNumber(QVTconfig::ParserVersion, from.parserVersion());
  to.setFlag(QVTconfig::XmlSchemaSingleFile, from.xmlSchemaSingleFile());
  to.setNumber(QVTconfig::CountOfHeaderFieldsToSkip, from.countOfHeaderFieldsToSkip());
  to.setFlag(QVTconfig::DisableUntypedTreeInException, from.disableUntypedTreeInException());
  to.setFlag(QVTconfig::IsDatabaseFunctionOn, from.isDatabaseFunctionOn());
  to.setFlag(QVTconfig::DisablePythonNone, from.disablePythonNone());
  to.setNumber(QVTconfig::MaximumRepeatMappingLimit, from.maximumRepeatMappingLimit());
  to.setFlag(QVTconfig::EscapeDataForXmlToHL7, from.escapeDataForXmlToHL7());
  to.setFlag(QVTconfig::ValidateDataForXmlToHL7, from.validateDataForXmlToHL7());
  to.list(QVTconfig::Seperator).resize(from.countOfLevel());
  for (size_t i = 0; i < from.countOfLevel(); ++i) {
    const QVMsepInfo& info = from.sepCharInfo(i);
    auto& level = TREcppClass::boundObject<QVTsepInfoClass>(to.item(QVTconfig::Seperator, i).node());
    level.SepCharDefault = int8_t(info.sepCharDefault());
    level.RepeatCharDefault = int8_t(info.repeatCharDefault());
    level.SepCharEscape = int8_t(info.sepCharEscape());
    level.RepeatCharEscape = int8_t(info.repeatCharEscape());
    level.SepCharPosition = int32_t(info.sepCharPosition());
    level.RepeatCharPosition = int32_t(info.repeatCharPosition());
  }
  to.list(QVTconfig::DatabaseConnections).resize(from.countOfDatabaseConnections());
  for (size_t i = 0; i < from.countOfDatabaseConnections(); ++i) {
    const QVMdbInfo& info = *from.databaseConnection(i);
    auto& db = TREcppClass::boundObject<QVTdbInfoClass>(to.item(QVTconfig::DatabaseConnections, i).node());
    db.Label = info.label();
    db.ApiName = info.apiName();
    db.DatabaseName = info.databaseName();
    db.UserName = info.userName();
    db.Password = info.password();
  }
}

void CTTfiller::fillTables(uint16_t c) {
  QVTobject vmd = m_To.vmd();
  for (size_t t = 0; t < m_From.countOfTable(); ++t) {
    const QVMtableDefinitionInternal& from = *m_From.table(t);
    QVTobject to = vmd.item(QVTvmd::Table, t);
    for (size_t k = 0; k < from.countOfColumn(); ++k) {
      QVTobject column = to.item(QVTtable::Column, k);
      fillFunction(column, QVTcolumn::InFunction, from.incomingFunctionCode(c, k));
      fillFunction(column, QVTcolumn::OutFunction, from.outgoingFunctionCode(c, k));
    }
    to.list(QVTtable::MapSet).resize(from.countOfMapSet());
    for (size_t s = 0; s < from.countOfMapSet(); ++s) {
      const QVMtableMapSet& set = *from.mapSet(s);
      QVTobject target = to.item(QVTtable::MapSet, s);
      target.setText(QVTmapSet::Name, set.name());
      size_t items = std::min(set.countOfMap(), from.countOfColumn());
      target.list(QVTmapSet::MapItem).resize(items);
      for (size_t k = 0; k < items; ++k)
        fillAddress(set.map(k).nodeAddress(), target.item(QVTmapSet::MapItem, k).child(QVTmapItem::NodeAddress));
    }
  }
}

void CTTfiller::fillMessages(uint16_t c) {
  QVTobject vmd = m_To.vmd();
  for (size_t m = 0; m < m_From.countOfMessage(); ++m) {
    const QVMmessageDefinitionInternal& message = *m_From.message(m);
    const QVMmessageConfig& from = message.config(c);
    QVTobject to = vmd.item(QVTvmd::Message, m);
    to.setFlag(QVTmessage::IgnoreUnknownSegments, from.ignoreUnknownSegments());
    to.setFlag(QVTmessage::IgnoreSegmentOrder, from.ignoreSegmentOrder());
    fillFunction(to, QVTmessage::IncomingFunction, from.inFunction().code());
    fillFunction(to, QVTmessage::OutgoingFunction, from.outFunction().code());
    to.setText(QVTmessage::SegmentListHookName, from.segmentListFunctionHook().name());
    to.setText(QVTmessage::SegmentListHookModule, from.segmentListFunctionHook().module());
    to.list(QVTmessage::Identifier).resize(from.countOfIdentifier());
    for (size_t k = 0; k < from.countOfIdentifier(); ++k) {
      const QVMidentifier& identifier = *from.identifier(k);
      QVTobject target = to.item(QVTmessage::Identifier, k);
      target.setText(QVTidentifier::Value, identifier.value());
      target.setText(QVTidentifier::Segment, identifier.segment());
      fillAddress(identifier.nodeAddress(), target.child(QVTidentifier::NodeAddress));
    }
    m_Grammars.clear();
    fillMessageGrammar(*from.rootMessageGrammar(), to.child(QVTmessage::MessageGrammar));
    QVTobject tableGrammar = to.child(QVTmessage::TableGrammar);
    tableGrammar.setTarget(QVTtableGrammar::MessageGrammar,
                           lookup(m_Grammars, message.tableGrammar().config(c).messageGrammar()));
    fillTableGrammarConfig(message.tableGrammar(), tableGrammar, c);
  }
}

void CTTfiller::fillMessageGrammar(const QVMmessageGrammar& from, QVTobject to) {
  m_Grammars[&from] = &to.node();
  to.setText(QVTmessageGrammar::GrammarName, from.grammarName());
  to.setNumber(QVTmessageGrammar::MaximumRepeat, from.maximumRepeat());
  to.setFlag(QVTmessageGrammar::IsNode, from.isNode());
  to.setFlag(QVTmessageGrammar::IsOptional, from.isOptional());
  to.setFlag(QVTmessageGrammar::IsRepeating, from.isRepeating());
  to.setFlag(QVTmessageGrammar::IgnoreSegmentOrder, from.ignoreSegmentOrder());
  to.setTarget(QVTmessageGrammar::Segment, lookup(m_Segments, from.segment()));
  to.list(QVTmessageGrammar::SubGrammar).resize(from.countOfSubGrammar());
  for (size_t i = 0; i < from.countOfSubGrammar(); ++i)
    fillMessageGrammar(*from.subGrammar(i), to.item(QVTmessageGrammar::SubGrammar, i));
}

void CTTfiller::fillTableGrammarConfig(const QVMtableGrammarInternal& from, QVTobject to, uint16_t c) {
  for (size_t i = 0; i < from.countOfSubGrammar(); ++i) {
    const QVMtableGrammarInternal& child = *from.subGrammar(i);
    const QVMtableGrammarConfig& config = child.config(c);
    QVTobject target = to.item(QVTtableGrammar::SubGrammar, i);
    target.setTarget(QVTtableGrammar::MessageGrammar, lookup(m_Grammars, config.messageGrammar()));
    if (child.isNode()) {
      target.setNumber(QVTtableGrammar::MessageGrammarFieldIndex, config.messageGrammarFieldIndex());
      target.setNumber(QVTtableGrammar::MapSetIndex, config.tableMapSetIndex());
    } else {
      fillTableGrammarConfig(child, target, c);
    }
  }
}

void CTTfiller::fillAddress(const QVMmessageNodeAddress& from, QVTobject to) {
  std::vector<uint32_t> nodes, repeats;
  for (uint32_t step = 0; step < from.depth(); ++step) {
    nodes.push_back(from.nodeIndex(step));
    repeats.push_back(from.repeatIndex(step));
  }
  setNumbers(to.list(QVTnodeAddress::NodeIndex), nodes);
  setNumbers(to.list(QVTnodeAddress::RepeatIndex), repeats);
}
}  // namespace

void CTTcopy(QVMengineInternal& engine, QVTengineInternal& reflected) { CTTfiller(engine, reflected).fill(); }
