// From the reflected tree to the model.  Grammars are copied per configuration with a lookup
// from each reflected object to the model object it became, since references are object ids
// in the tree and pointers in the model.
#include "CTTcopy.h"

#include <unordered_map>

#include "COLerror.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMsegmentValidationRule.h"
#include "QVTclasses.h"
#include "QVTengineInternal.h"

namespace {
[[noreturn]] void raise(const COLstring& text) {
  throw COLerror(COLstring("The reflected definition cannot be copied: ") + text, COL_ERROR_PRECONDITION);
}

template <class T>
using Lookup = std::unordered_map<const TREinstanceComplex*, T*>;

template <class T>
T* find(const Lookup<T>& lookup, QVTobject object) {
  if (!object) return nullptr;
  auto found = lookup.find(&object.node());
  return found == lookup.end() ? nullptr : found->second;
}

uint32_t index32(int64_t value) { return uint32_t(value); }

// A script is compiled when its code is set; the model's functions start empty, so an empty
// code is left unset rather than compiled thousands of times.
void setCode(LANfunction& function, const COLstring& code) {
  if (!code.empty() || !function.code().empty()) function.setCode(code);
}

class CTTcopier {
public:
  CTTcopier(QVTengineInternal& reflected, QVMengineInternal& engine) : m_From(reflected), m_To(engine) {}
  void copy();

private:
  void copyConfigNames();
  void copyConfig(uint16_t c);
  void copyDateTimes(QVTobject plugin);
  void copyEnumerations(QVTobject plugin);
  void copyComposites(QVTobject plugin);
  void copySegments(QVTobject plugin);
  void copySegmentField(QVTobject field, QVMsegmentGrammar& segment);
  void copyRule(QVTobject rule, QVMsegmentGrammar& segment, uint32_t fieldIndex);
  void copySettings(QVTobject settings);
  void copyConfigExtras(QVTobject plugin);
  void copyTables();
  void copyMessages();
  void copyTableGrammarGlobal(QVTobject from, QVMtableGrammarInternal& to);
  void copyMessageConfig(QVTobject from, QVMmessageDefinitionInternal& to, uint16_t c);
  void copyMessageGrammar(QVTobject from, QVMmessageGrammar& to, Lookup<QVMmessageGrammar>& grammars);
  void copyTableGrammarConfig(QVTobject from, QVMtableGrammarInternal& to, uint16_t c,
                              const Lookup<QVMmessageGrammar>& grammars);
  static void copyAddress(QVTobject from, QVMmessageNodeAddress& to);

  QVTengineInternal& m_From;
  QVMengineInternal& m_To;
  uint16_t m_Start = 0;
  // Per configuration.
  Lookup<QVMdateTimeGrammar> m_DateTimes;
  Lookup<QVMenumerationGrammar> m_Enumerations;
  Lookup<QVMcompositeGrammar> m_Composites;
  Lookup<QVMsegmentGrammar> m_Segments;
  std::vector<Lookup<QVMsegmentGrammar>> m_SegmentsByConfig;
  Lookup<QVMtableDefinitionInternal> m_Tables;
};

void CTTcopier::copy() {
  COL_PRECONDITION_TEXT(m_From.countOfConfig() >= 1, "Original.countOfConfig() >= 1");
  m_To.clear();
  COL_PRECONDITION_TEXT(m_To.countOfConfig() == 1, "Copy.countOfConfig() == 1");
  m_Start = m_From.currentConfig();
  QVTobject vmd = m_From.vmd();
  m_To.setUsePassThroughMapping(m_From.plugin().child(QVTpluginBase::Config).flag(QVTconfig::UsePassThroughMapping));
  copyConfigNames();
  m_To.setIncomingConfigIndex(index32(vmd.number(QVTvmd::InConfigIndex)));
  m_To.setOutgoingConfigIndex(index32(vmd.number(QVTvmd::OutConfigIndex)));
  m_To.setUseMachineDoubleTypeInJavaGeneration(vmd.flag(QVTvmd::UseMachineDoubleTypeInJavaGeneration));
  m_To.setRejectBadSegmentGrammar(vmd.flag(QVTvmd::RejectBadSegmentGrammar));
  m_To.setUseDotNetProperties(vmd.isSet(QVTvmd::UseDotNetProperties) && vmd.flag(QVTvmd::UseDotNetProperties));
  m_To.setVmdDescription(vmd.text(QVTvmd::VmdDescription));
  m_SegmentsByConfig.resize(m_From.countOfConfig());
  for (uint16_t c = 0; c < m_From.countOfConfig(); ++c) copyConfig(c);
  copyTables();
  copyMessages();
  // Setting the ignored message also marks it, so the messages must exist first.
  for (uint16_t c = 0; c < m_From.countOfConfig(); ++c) {
    m_From.vmdInstance().setVersion(c);
    uint32_t ignore = index32(m_From.plugin().number(QVTpluginBase::IgnoreMessageIndex));
    if (ignore < m_To.countOfMessage()) QVMengineSetIgnoreMessageIndex(m_To, size_t(c), ignore);
  }
  m_From.vmdInstance().setVersion(m_Start);
  m_To.setCurrentConfig(m_Start);
}

void CTTcopier::copyConfigNames() {
  for (uint16_t c = 0; c < m_From.countOfConfig(); ++c) {
    m_From.vmdInstance().setVersion(c);
    COLstring name = m_From.plugin().text(QVTpluginBase::ConfigName);
    if (c == 0)
      m_To.setConfigName(0, name);
    else
      m_To.addConfiguration(name);
  }
}

void CTTcopier::copyConfig(uint16_t c) {
  m_From.vmdInstance().setVersion(c);
  m_To.setCurrentConfig(c);
  QVTobject plugin = m_From.plugin();
  uint32_t ack = index32(plugin.number(QVTpluginBase::AckMessageIndex));
  m_To.setAckMessageIndex(c, ack);
  copyDateTimes(plugin);
  copyEnumerations(plugin);
  copyComposites(plugin);
  copySegments(plugin);
  m_SegmentsByConfig[c] = m_Segments;
  copySettings(plugin.child(QVTpluginBase::Config));
  copyConfigExtras(plugin);
}

void CTTcopier::copyDateTimes(QVTobject plugin) {
  m_DateTimes.clear();
  for (size_t i = 0; i < plugin.count(QVTpluginBase::DateTimeGrammar); ++i) {
    QVTobject from = plugin.item(QVTpluginBase::DateTimeGrammar, i);
    QVMdateTimeGrammar& to = *m_To.dateTimeGrammar(m_To.addDateTimeGrammar());
    to.setName(from.text(QVTdateTime::Name));
    to.setDescription(from.text(QVTdateTime::Description));
    to.setFieldsRequired(from.flag(QVTdateTime::FieldsRequired));
    TREinstanceVector& masks = from.list(QVTdateTime::Mask);
    for (size_t k = 0; k < masks.size(); ++k) {
      int64_t item = masks[k].value().integerValue();
      switch (item) {
        case QVMdateTimeGrammar::MaskYear: case QVMdateTimeGrammar::MaskMonth: case QVMdateTimeGrammar::MaskDay:
        case QVMdateTimeGrammar::MaskHour: case QVMdateTimeGrammar::MaskMinute: case QVMdateTimeGrammar::MaskSecond:
        case QVMdateTimeGrammar::MaskFraction: case QVMdateTimeGrammar::MaskTimeZone: break;
        default: raise(COLstring("date-time grammar ") + to.name() + " has the unknown mask item " + std::to_string(item) + ".");
      }
      QVMdateTimeGrammarAddMaskItem(to, QVMdateTimeGrammar::QVMdateTimeInternalMaskItem(item));
    }
    m_DateTimes[&from.node()] = &to;
  }
}

void CTTcopier::copyEnumerations(QVTobject plugin) {
  m_Enumerations.clear();
  for (size_t i = 0; i < plugin.count(QVTpluginBase::EnumerationGrammar); ++i) {
    QVTobject from = plugin.item(QVTpluginBase::EnumerationGrammar, i);
    QVMenumerationGrammar& to = *m_To.enumerationGrammar(m_To.addEnumerationGrammar());
    to.setName(from.text(QVTenumeration::Name));
    to.setDescription(from.text(QVTenumeration::Description));
    TREinstanceVector& items = from.list(QVTenumeration::Enum);
    for (size_t k = 0; k < items.size(); ++k) {
      to.addEnumItem();
      to.setEnumItem(uint32_t(k), items[k].value().string());
    }
    m_Enumerations[&from.node()] = &to;
  }
}

void CTTcopier::copyComposites(QVTobject plugin) {
  m_Composites.clear();
  size_t count = plugin.count(QVTpluginBase::Composite);
  for (size_t i = 0; i < count; ++i)
    m_Composites[&plugin.item(QVTpluginBase::Composite, i).node()] = m_To.composite(m_To.addComposite());
  // Fields second: a field may name a composite that stands later.
  for (size_t i = 0; i < count; ++i) {
    QVTobject from = plugin.item(QVTpluginBase::Composite, i);
    QVMcompositeGrammar& to = *m_Composites[&from.node()];
    to.setName(from.text(QVTcomposite::Name));
    to.setDescription(from.text(QVTcomposite::Description));
    for (size_t k = 0; k < from.count(QVTcomposite::Field); ++k) {
      QVTobject field = from.item(QVTcomposite::Field, k);
      uint32_t at = QVMcompositeGrammarAddField(to);
      QVMcompositeSubField& target = *to.field(at);
      target.setName(field.text(QVTcompositeField::Name));
      target.setMaxLength(index32(field.number(QVTcompositeField::MaxLength)));
      target.setIsLengthRestricted(field.flag(QVTcompositeField::IsLengthRestricted));
      target.setIsRequired(field.flag(QVTcompositeField::IsRequired));
      switch (field.number(QVTcompositeField::DataType)) {
        case QVMcompositeType:
          if (QVMcompositeGrammar* type = find(m_Composites, field.target(QVTcompositeField::FieldCompositeType)))
            to.setFieldCompositeType(at, type);
          break;
        case QVMdateTimeType:
          if (QVMdateTimeGrammar* grammar = find(m_DateTimes, field.target(QVTcompositeField::DateTimeGrammar)))
            to.setFieldDateTimeGrammar(at, grammar);
          break;
        case QVMenumerationType:
          if (QVMenumerationGrammar* grammar =
                  find(m_Enumerations, field.target(QVTcompositeField::EnumerationGrammar)))
            to.setFieldEnumerationGrammar(at, grammar);
          break;
        case QVMintegerType: to.setFieldDataType(at, QVMintegerType); break;
        case QVMdoubleType: to.setFieldDataType(at, QVMdoubleType); break;
        default: break;
      }
    }
  }
}

void CTTcopier::copySegments(QVTobject plugin) {
  m_Segments.clear();
  for (size_t i = 0; i < plugin.count(QVTpluginBase::Segment); ++i) {
    QVTobject from = plugin.item(QVTpluginBase::Segment, i);
    QVMsegmentGrammar& to = *m_To.segment(m_To.addSegment());
    m_Segments[&from.node()] = &to;
    to.setName(from.text(QVTsegment::Name));
    to.setDescription(from.text(QVTsegment::Description));
    to.setHasDelimiters(from.flag(QVTsegment::HasDelimiters));
    for (size_t k = 0; k < from.count(QVTsegment::Identifier); ++k) {
      QVTobject identity = from.item(QVTsegment::Identifier, k);
      QVMsegmentIdentifier& target = *QVMsegmentGrammarAddIdentifier(to);
      target.setValue(identity.text(QVTsegmentIdentifier::Value));
      copyAddress(identity.child(QVTsegmentIdentifier::NodeAddress), target.nodeAddress());
    }
    for (size_t k = 0; k < from.count(QVTsegment::Field); ++k) copySegmentField(from.item(QVTsegment::Field, k), to);
  }
}

void CTTcopier::copySegmentField(QVTobject field, QVMsegmentGrammar& segment) {
  uint32_t k = QVMsegmentGrammarAddFieldWithoutInitialization(segment);
  segment.setFieldName(k, field.text(QVTsegmentField::Name));
  segment.setFieldMaxRepeat(k, index32(field.number(QVTsegmentField::MaxRepeats)));
  segment.setIsFieldRequired(k, field.flag(QVTsegmentField::IsRequired));
  segment.setFieldWidth(k, index32(field.number(QVTsegmentField::Width)));
  setCode(segment.fieldIncomingFunction(k), field.child(QVTsegmentField::IncomingFunction).text(QVTfunction::Code));
  setCode(segment.fieldOutgoingFunction(k), field.child(QVTsegmentField::OutgoingFunction).text(QVTfunction::Code));
  if (QVMcompositeGrammar* type = find(m_Composites, field.target(QVTsegmentField::FieldType)))
    segment.setFieldType(k, type);
  for (size_t r = 0; r < field.count(QVTsegmentField::ValidationRule); ++r)
    copyRule(field.item(QVTsegmentField::ValidationRule, r), segment, k);
}

void CTTcopier::copyRule(QVTobject from, QVMsegmentGrammar& segment, uint32_t fieldIndex) {
  uint32_t kind = 0;
  while (kind <= QVMsituationalPythonRule && !(from.type() && from.type()->name() == QVTruleTypeNames[kind])) ++kind;
  // A rule of a kind this program doesn't know is skipped.
  if (kind > QVMsituationalPythonRule) return;
  QVMsegmentValidationRule& rule = *segment.addValidationRule(fieldIndex, kind);
  rule.setName(from.text(QVTrule::Name));
  const uint16_t own = QVTrule::Own;
  switch (kind) {
    case QVMconditionalFieldRule:
      static_cast<QVMsegmentValidationRuleConditionalField&>(rule).setRequiredField(
          uint32_t(std::atoi(from.text(own).c_str())));
      break;
    case QVMregularExpressionRule: rule.setParameter("RegularExpression", from.text(own)); break;
    case QVMregExpPairRule:
      rule.setParameter("DependentFieldRegExp", from.text(own));
      rule.setParameter("FieldRegExp", from.text(own + 1));
      static_cast<QVMsegmentValidationRuleRegExpPair&>(rule).setDependentFieldIndex(
          uint32_t(std::atoi(from.text(own + 2).c_str())));
      break;
    case QVMpythonRule: {
      auto& python = static_cast<QVMsegmentValidationRulePython&>(rule);
      python.setCode(from.text(own));
      python.setDescription(from.text(own + 1));
      break;
    }
    case QVMsituationalPythonRule: {
      auto& python = static_cast<QVMsegmentValidationRuleSituationalPython&>(rule);
      python.setCode(from.text(own));
      python.setCodeOnError(from.text(own + 1));
      python.setDescription(from.text(own + 2));
      break;
    }
  }
}

void CTTcopier::copySettings(QVTobject from) {
  QVMconfig& to = m_To.config();
  auto ch = [&](uint16_t member) { return char(from.number(member)); };
  to.setDisablePythonNone(from.flag(QVTconfig::DisablePythonNone));
  to.setMaximumRepeatMappingLimit(index32(from.number(QVTconfig::MaximumRepeatMappingLimit)));
  to.setIsDatabaseFunctionOn(from.flag(QVTconfig::IsDatabaseFunctionOn));
  to.setOutputSegmentLineFeed(from.flag(QVTconfig::OutputSegmentLineFeed));
  to.setXmlDelimiter(ch(QVTconfig::XmlDelimiter));
  to.setXmlSchemaSingleFile(from.flag(QVTconfig::XmlSchemaSingleFile));
  to.setDisableUntypedTreeInException(from.flag(QVTconfig::DisableUntypedTreeInException));
  const TREtypeComplex* converter = from.child(QVTconfig::Converter).type();
  for (const QVTconverterName& name : QVTconverterNames)
    if (converter && converter->name() == name.typeName) {
      try {
        to.setXmlTranslationType(name.dialect);
      } catch (const COLerror&) {
        // A dialect the model can only read keeps the default.
      }
    }
  to.setLowestNonEscapedChar(uint16_t(from.number(QVTconfig::LowestNonEscapedChar)));
  to.setHighestNonEscapedChar(uint16_t(from.number(QVTconfig::HighestNonEscapedChar)));
  to.setOctalEscapeChar(ch(QVTconfig::OctalEscapeChar));
  to.setEndOfMessage(ch(QVTconfig::EndOfMessage));
  to.setEscapeDefault(ch(QVTconfig::EscapeDefault));
  to.setEscapeEscapeChar(ch(QVTconfig::EscapeEscapeChar));
  to.setEscapePosition(index32(from.number(QVTconfig::EscapePosition)));
  to.setHeaderSegment(from.text(QVTconfig::HeaderSegment));
  to.setCountOfHeaderFieldsToSkip(index32(from.number(QVTconfig::CountOfHeaderFieldsToSkip)));
  to.setOutputTrailingSeparators(from.flag(QVTconfig::OutputTrailingSeparators));
  to.setParseSeparatorChars(from.flag(QVTconfig::ParseSeparatorChars));
  to.setStubFileDir(from.text(QVTconfig::StubFileDir));
  to.setStubFileLanguage(from.text(QVTconfig::StubFileLanguage));
  to.setStubFilePrefix(from.text(QVTconfig::StubFilePrefix));
  setCode(to.mainFunction(), from.text(QVTconfig::MainFunction));
  setCode(to.outgoingMainFunction(), from.text(QVTconfig::OutgoingMainFunction));
  setCode(to.outgoingPostProcessFunction(), from.text(QVTconfig::OutgoingPostProcessFunction));
  setCode(to.postProcessFunction(), from.text(QVTconfig::PostProcessFunction));
  to.setParserVersion(from.flag(QVTconfig::UseSegmentChecker3) ? QVMparserSegmentChecker3 : QVMparserLegacy);
  if (from.isSet(QVTconfig::ParserVersion) && from.number(QVTconfig::ParserVersion) <= QVMparserCurrent)
    to.setParserVersion(QVMparserVersion(from.number(QVTconfig::ParserVersion)));
  to.setHasHl7PresetConfig(from.text(QVTconfig::PresetConfig) == "HL7");
  to.setEscapeDataForXmlToHL7(from.flag(QVTconfig::EscapeDataForXmlToHL7));
  to.setValidateDataForXmlToHL7(from.flag(QVTconfig::ValidateDataForXmlToHL7));

  // An empty list keeps the four default levels.
  if (from.count(QVTconfig::Seperator) > 0) {
    while (to.countOfLevel() > 0) to.popSepInfo();
    for (size_t i = 0; i < from.count(QVTconfig::Seperator); ++i) {
      const auto& level = TREcppClass::boundObject<QVTsepInfoClass>(from.item(QVTconfig::Seperator, i).node());
      QVMsepInfo info;
      info.setAll(char(level.SepCharDefault), char(level.RepeatCharDefault), char(level.SepCharEscape),
                  char(level.RepeatCharEscape), index32(level.SepCharPosition), index32(level.RepeatCharPosition));
      to.pushSepCharInfo(info);
    }
  }
  for (size_t i = 0; i < from.count(QVTconfig::DatabaseConnections); ++i) {
    const auto& db = TREcppClass::boundObject<QVTdbInfoClass>(from.item(QVTconfig::DatabaseConnections, i).node());
    to.databaseConnection(to.addDatabaseConnection())
        ->setAll(db.Label.get(), db.ApiName.get(), db.DatabaseName.get(), db.UserName.get(), db.Password.get());
  }
}

void CTTcopier::copyConfigExtras(QVTobject plugin) {
  m_To.setLastMessageMatchesAll(plugin.flag(QVTpluginBase::LastMessageMatchesAll));
  for (size_t i = 0; i < plugin.count(QVTpluginBase::EmbeddedPythonModule); ++i) {
    QVTobject from = plugin.item(QVTpluginBase::EmbeddedPythonModule, i);
    QVMembeddedPythonModule& module = *m_To.engineConfig().addEmbeddedPythonModule();
    module.setName(from.text(QVTmodule::Name));
    module.setCode(from.text(QVTmodule::Code));
  }
}

void CTTcopier::copyTables() {
  QVTobject vmd = m_From.vmd();
  m_From.vmdInstance().setVersion(m_Start);
  for (size_t t = 0; t < vmd.count(QVTvmd::Table); ++t) {
    QVTobject from = vmd.item(QVTvmd::Table, t);
    QVMtableDefinitionInternal& to = *m_To.table(m_To.addTable());
    m_Tables[&from.node()] = &to;
    to.setTableName(from.text(QVTtable::TableName));
    to.setDescription(from.text(QVTtable::Description));
    to.setDatabaseAction(index32(from.number(QVTtable::Action)));
    for (size_t k = 0; k < from.count(QVTtable::Column); ++k) {
      QVTobject column = from.item(QVTtable::Column, k);
      int64_t type = column.number(QVTcolumn::Type);
      to.addColumn(column.text(QVTcolumn::Name), type >= 0 && type <= QVMenumerationType ? QVMdataType(type) : QVMstringType);
      to.setColumnDescription(k, column.text(QVTcolumn::Description));
      to.setColumnIsKey(k, column.flag(QVTcolumn::IsKey));
    }
  }
  for (uint16_t c = 0; c < m_From.countOfConfig(); ++c) {
    m_From.vmdInstance().setVersion(c);
    m_To.setCurrentConfig(c);
    for (size_t t = 0; t < vmd.count(QVTvmd::Table); ++t) {
      QVTobject from = vmd.item(QVTvmd::Table, t);
      QVMtableDefinitionInternal& to = *m_To.table(t);
      for (size_t k = 0; k < from.count(QVTtable::Column) && k < to.countOfColumn(); ++k) {
        QVTobject column = from.item(QVTtable::Column, k);
        COLstring in = column.child(QVTcolumn::InFunction).text(QVTfunction::Code);
        COLstring out = column.child(QVTcolumn::OutFunction).text(QVTfunction::Code);
        if (!in.empty()) to.setIncomingFunctionCode(c, k, in);
        if (!out.empty()) to.setOutgoingFunctionCode(c, k, out);
      }
      size_t sets = from.count(QVTtable::MapSet);
      if (sets == 0) continue;
      to.mapSetClear();
      for (size_t s = 0; s < sets; ++s) {
        QVTobject set = from.item(QVTtable::MapSet, s);
        QVMtableMapSet& target = *to.mapSet(s == 0 ? 0 : to.addMapSet());
        target.setName(set.text(QVTmapSet::Name));
        for (size_t k = 0; k < set.count(QVTmapSet::MapItem) && k < to.countOfColumn(); ++k)
          copyAddress(set.item(QVTmapSet::MapItem, k).child(QVTmapItem::NodeAddress), target.map(k).nodeAddress());
      }
    }
  }
}

void CTTcopier::copyMessages() {
  QVTobject vmd = m_From.vmd();
  m_From.vmdInstance().setVersion(m_Start);
  for (size_t m = 0; m < vmd.count(QVTvmd::Message); ++m) {
    QVTobject from = vmd.item(QVTvmd::Message, m);
    QVMmessageDefinitionInternal& to = *m_To.message(m_To.addMessage());
    to.setName(from.text(QVTmessage::Name));
    to.setDescription(from.text(QVTmessage::Description));
    copyTableGrammarGlobal(from.child(QVTmessage::TableGrammar), to.tableGrammar());
  }
  for (uint16_t c = 0; c < m_From.countOfConfig(); ++c) {
    m_From.vmdInstance().setVersion(c);
    m_To.setCurrentConfig(c);
    m_Segments = m_SegmentsByConfig[c];
    for (size_t m = 0; m < vmd.count(QVTvmd::Message) && m < m_To.countOfMessage(); ++m)
      copyMessageConfig(vmd.item(QVTvmd::Message, m), *m_To.message(m), c);
    QVTobject plugin = m_From.plugin();
    if (plugin.count(QVTpluginBase::MatchOrder) > 0) {
      m_To.clearMatchingOrder();
      TREinstanceVector& order = plugin.list(QVTpluginBase::MatchOrder);
      for (size_t i = 0; i < order.size(); ++i) {
        int64_t message = order[i].value().integerValue();
        if (message < 0 || uint64_t(message) >= m_To.countOfMessage()) raise("the match order names no message.");
        m_To.insertMessageInMatchOrder(nullptr, uint32_t(message));
      }
    }
  }
}

void CTTcopier::copyTableGrammarGlobal(QVTobject from, QVMtableGrammarInternal& to) {
  if (from.flag(QVTtableGrammar::IsNode)) {
    to.setIsNode(true);
    to.setTable(find(m_Tables, from.target(QVTtableGrammar::Table)));
    return;
  }
  to.setName(from.text(QVTtableGrammar::Name));
  for (size_t i = 0; i < from.count(QVTtableGrammar::SubGrammar); ++i)
    copyTableGrammarGlobal(from.item(QVTtableGrammar::SubGrammar, i), *to.addSubGrammarAt(to.countOfSubGrammar()));
}

void CTTcopier::copyMessageConfig(QVTobject from, QVMmessageDefinitionInternal& to, uint16_t c) {
  QVMmessageConfig& record = to.config(c);
  record.setIgnoreUnknownSegments(from.flag(QVTmessage::IgnoreUnknownSegments));
  record.setIgnoreSegmentOrder(from.flag(QVTmessage::IgnoreSegmentOrder));
  setCode(record.inFunction(), from.child(QVTmessage::IncomingFunction).text(QVTfunction::Code));
  setCode(record.outFunction(), from.child(QVTmessage::OutgoingFunction).text(QVTfunction::Code));
  if (from.isSet(QVTmessage::SegmentListHookName))
    record.segmentListFunctionHook().setName(from.text(QVTmessage::SegmentListHookName));
  if (from.isSet(QVTmessage::SegmentListHookModule))
    record.segmentListFunctionHook().setModule(from.text(QVTmessage::SegmentListHookModule));
  for (size_t k = 0; k < from.count(QVTmessage::Identifier); ++k) {
    QVTobject identity = from.item(QVTmessage::Identifier, k);
    QVMidentifier& target = *record.insertIdentifierAt(record.countOfIdentifier());
    target.setSegment(identity.text(QVTidentifier::Segment));
    target.setValue(identity.text(QVTidentifier::Value));
    copyAddress(identity.child(QVTidentifier::NodeAddress), target.nodeAddress());
  }
  Lookup<QVMmessageGrammar> grammars;
  QVTobject root = from.child(QVTmessage::MessageGrammar);
  QVMmessageGrammar& rootGrammar = *record.rootMessageGrammar();
  rootGrammar.setGrammarName(root.text(QVTmessageGrammar::GrammarName));
  copyMessageGrammar(root, rootGrammar, grammars);
  QVTobject tableGrammar = from.child(QVTmessage::TableGrammar);
  to.tableGrammar().config(c).setMessageGrammar(find(grammars, tableGrammar.target(QVTtableGrammar::MessageGrammar)));
  copyTableGrammarConfig(tableGrammar, to.tableGrammar(), c, grammars);
}

void CTTcopier::copyMessageGrammar(QVTobject from, QVMmessageGrammar& to, Lookup<QVMmessageGrammar>& grammars) {
  grammars[&from.node()] = &to;
  to.setIsOptional(from.flag(QVTmessageGrammar::IsOptional));
  to.setIsRepeating(from.flag(QVTmessageGrammar::IsRepeating));
  to.setIgnoreSegmentOrder(from.flag(QVTmessageGrammar::IgnoreSegmentOrder));
  to.setMaximumRepeat(index32(from.number(QVTmessageGrammar::MaximumRepeat)));
  if (to.isNode()) return;
  for (size_t i = 0; i < from.count(QVTmessageGrammar::SubGrammar); ++i) {
    QVTobject child = from.item(QVTmessageGrammar::SubGrammar, i);
    QVMmessageGrammar* made = nullptr;
    if (child.flag(QVTmessageGrammar::IsNode)) {
      QVMsegmentGrammar* segment = find(m_Segments, child.target(QVTmessageGrammar::Segment));
      if (!segment)
        raise(COLstring("Could not find equivalent segment to ") + child.text(QVTmessageGrammar::GrammarName));
      made = to.insertSegment(segment);
    } else {
      made = to.insertGroup(child.text(QVTmessageGrammar::GrammarName));
    }
    copyMessageGrammar(child, *made, grammars);
  }
}

void CTTcopier::copyTableGrammarConfig(QVTobject from, QVMtableGrammarInternal& to, uint16_t c,
                                       const Lookup<QVMmessageGrammar>& grammars) {
  for (size_t i = 0; i < from.count(QVTtableGrammar::SubGrammar) && i < to.countOfSubGrammar(); ++i) {
    QVTobject child = from.item(QVTtableGrammar::SubGrammar, i);
    QVMtableGrammarInternal& target = *to.subGrammar(i);
    QVMtableGrammarConfig& config = target.config(c);
    config.setMessageGrammar(find(grammars, child.target(QVTtableGrammar::MessageGrammar)));
    if (target.isNode()) {
      config.setMessageGrammarFieldIndex(index32(child.number(QVTtableGrammar::MessageGrammarFieldIndex)));
      config.setTableMapSetIndex(index32(child.number(QVTtableGrammar::MapSetIndex)));
    } else {
      copyTableGrammarConfig(child, target, c, grammars);
    }
  }
}

void CTTcopier::copyAddress(QVTobject from, QVMmessageNodeAddress& to) {
  to.clear();
  TREinstanceVector& nodes = from.list(QVTnodeAddress::NodeIndex);
  TREinstanceVector& repeats = from.list(QVTnodeAddress::RepeatIndex);
  for (size_t step = 0; step < nodes.size(); ++step)
    to.setNodeAndRepeatIndex(uint32_t(step), uint32_t(nodes[step].value().integerValue()),
                             step < repeats.size() ? uint32_t(repeats[step].value().integerValue()) : 0);
}
}  // namespace

void CTTcopy(QVTengineInternal& reflected, QVMengineInternal& engine) {
  uint16_t start = reflected.currentConfig();
  try {
    CTTcopier(reflected, engine).copy();
  } catch (...) {
    reflected.vmdInstance().setVersion(start);
    throw;
  }
}
