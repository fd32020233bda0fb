// From the archive's object graph to the model. Grammars are copied per configuration with a
// lookup from each archive object to the model object it became.
#include "ATTcopy.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>
#include <unordered_set>

#include "CARCengineInternal.h"
#include "COLerror.h"
#include "LANfunction.h"
#include "QVMengineInternal.h"
#include "QVMsegmentValidationRule.h"

namespace {
[[noreturn]] void raise(const COLstring& text) {
  throw COLerror(COLstring("The archive definition cannot be copied: ") + text, COL_ERROR_PRECONDITION);
}

template <class From, class To>
using Lookup = std::unordered_map<const From*, To*>;

template <class From, class To>
To* mapped(const Lookup<From, To>& lookup, const From* object) {
  if (!object) return nullptr;
  auto found = lookup.find(object);
  return found == lookup.end() ? nullptr : found->second;
}

// A script is compiled when its code is set; the model's start empty.
void setCode(LANfunction& function, const COLstring& code) {
  if (!code.empty() || !function.code().empty()) function.setCode(code);
}

void copyAddress(const CARCmessageNodeAddress& from, QVMmessageNodeAddress& to) {
  to.clear();
  for (size_t step = 0; step < from.nodeIndex.size(); ++step)
    to.setNodeAndRepeatIndex(uint32_t(step), from.nodeIndex[step],
                             step < from.repeatIndex.size() ? from.repeatIndex[step] : 0);
}

class ATTcopier {
public:
  ATTcopier(CARCengineInternalPrivate& from, QVMengineInternal& to) : m_From(from), m_To(to) {}
  void copy();

private:
  void copyConfig(size_t c);
  void copyDateTimes(CARCconfiguration& from);
  void copyComposites(CARCconfiguration& from);
  void copySegments(CARCconfiguration& from);
  void copyRule(const CARCsegmentValidationRule& from, QVMsegmentGrammar& segment, uint32_t field);
  void copySettings(const CARCconfig& from, QVMconfig& to);
  void copyTables();
  void copyMessages();
  void copyTableGrammarGlobal(CARCtableGrammarInternal& from, QVMtableGrammarInternal& to);
  void copyMessageConfig(CARCmessageDefinitionInternal& from, QVMmessageDefinitionInternal& to, size_t c);
  void copyMessageGrammar(CARCmessageGrammar& from, QVMmessageGrammar& to);
  void copyTableGrammarConfig(CARCtableGrammarInternal& from, QVMtableGrammarInternal& to, size_t c);
  void enter(std::unordered_set<const void*>& seen, const void* node) {
    // Each node stands once in its tree; one met again is a loop or a shared branch of a damaged file.
    if (!seen.insert(node).second) raise("a grammar node stands twice in one tree.");
  }

  CARCengineInternalPrivate& m_From;
  QVMengineInternal& m_To;
  Lookup<CARCdateTimeGrammar, QVMdateTimeGrammar> m_DateTimes;
  Lookup<CARCcompositeGrammar, QVMcompositeGrammar> m_Composites;
  std::vector<Lookup<CARCsegmentGrammar, QVMsegmentGrammar>> m_Segments;
  Lookup<CARCtableDefinitionInternal, QVMtableDefinitionInternal> m_Tables;
  // Per message and configuration.
  Lookup<CARCmessageGrammar, QVMmessageGrammar> m_Grammars;
  std::unordered_set<const void*> m_Seen;
  size_t m_Config = 0;
};

void ATTcopier::copy() {
  m_To.clear();
  const size_t count = m_From.configs.size();
  for (size_t c = 0; c < count; ++c) {
    if (c == 0)
      m_To.setConfigName(0, m_From.configs[0].name);
    else
      m_To.addConfiguration(m_From.configs[c].name);
  }
  m_To.setIncomingConfigIndex(m_From.incomingConfigIndex);
  m_To.setOutgoingConfigIndex(m_From.outgoingConfigIndex);
  m_To.setUseMachineDoubleTypeInJavaGeneration(m_From.useMachineDoubleTypeInJavaGeneration);
  m_To.setRejectBadSegmentGrammar(m_From.rejectBadSegmentGrammar);
  m_To.setVmdDescription(m_From.vmdDescription);
  m_To.setUseDotNetProperties(m_From.useDotNetProperties);
  m_To.setUsePassThroughMapping(m_From.configs[0].config->usePassThroughMapping);
  m_Segments.resize(count);
  for (size_t c = 0; c < count; ++c) copyConfig(c);
  copyTables();
  copyMessages();
  for (size_t c = 0; c < count; ++c) {
    CARCconfiguration& from = m_From.configs[c];
    m_To.setCurrentConfig(uint32_t(c));
    if (from.matchOrder.size() != m_To.countOfMessage()) {
      if (from.ignoreMessageIndex < m_To.countOfMessage())
        QVMengineSetIgnoreMessageIndex(m_To, c, from.ignoreMessageIndex);
      continue;
    }
    m_To.clearMatchingOrder();
    for (uint32_t message : from.matchOrder) {
      if (message >= m_To.countOfMessage()) raise("the match order names no message.");
      m_To.insertMessageInMatchOrder(nullptr, message);
    }
    m_To.setLastMessageMatchesAll(from.lastMessageMatchesAll);
  }
  m_To.setCurrentConfig(m_From.currentConfig < count ? m_From.currentConfig : 0);
}

void ATTcopier::copyConfig(size_t c) {
  CARCconfiguration& from = m_From.configs[c];
  m_To.setCurrentConfig(uint32_t(c));
  m_To.setAckMessageIndex(c, from.ackMessageIndex);
  m_Config = c;
  copyDateTimes(from);
  copyComposites(from);
  copySegments(from);
  copySettings(*from.config, m_To.config());
  m_To.setLastMessageMatchesAll(from.lastMessageMatchesAll);
  for (const CARCembeddedModule& module : from.modules) {
    QVMembeddedPythonModule& target = *m_To.engineConfig().addEmbeddedPythonModule();
    target.setName(module.name);
    target.setCode(module.code);
  }
}

void ATTcopier::copyDateTimes(CARCconfiguration& from) {
  m_DateTimes.clear();
  // A date-time grammar that only a composite names (a file that stops before the list of a
  // further configuration) is made when met.
  std::vector<CARCdateTimeGrammar*> grammars = from.dateTimes;
  for (CARCcompositeGrammar* composite : from.composites)
    for (CARCcompositeSubField* field : composite->fields)
      if (field->dateTime && std::find(grammars.begin(), grammars.end(), field->dateTime) == grammars.end())
        grammars.push_back(field->dateTime);
  for (CARCdateTimeGrammar* grammar : grammars) {
    if (m_DateTimes.count(grammar)) continue;
    QVMdateTimeGrammar& to = *m_To.dateTimeGrammar(m_To.addDateTimeGrammar());
    to.setName(grammar->name);
    to.setDescription(grammar->description);
    to.setFieldsRequired(grammar->fieldsRequired);
    for (uint32_t item : grammar->maskItems) {
      switch (item) {
        case QVMdateTimeGrammar::MaskYear: case QVMdateTimeGrammar::MaskMonth: case QVMdateTimeGrammar::MaskDay:
        case QVMdateTimeGrammar::MaskHour: case QVMdateTimeGrammar::MaskMinute: case QVMdateTimeGrammar::MaskSecond:
        case QVMdateTimeGrammar::MaskFraction: case QVMdateTimeGrammar::MaskTimeZone: break;
        default:
          raise(COLstring("date-time grammar ") + to.name() + " has the unknown mask item " + std::to_string(item) + ".");
      }
      QVMdateTimeGrammarAddMaskItem(to, QVMdateTimeGrammar::QVMdateTimeInternalMaskItem(item));
    }
    m_DateTimes[grammar] = &to;
  }
  for (CARCenumerationGrammar* grammar : from.enumerations) {
    QVMenumerationGrammar& to = *m_To.enumerationGrammar(m_To.addEnumerationGrammar());
    to.setName(grammar->name);
    to.setDescription(grammar->description);
    for (uint32_t k = 0; k < grammar->values.size(); ++k) {
      to.addEnumItem();
      to.setEnumItem(k, grammar->values[k]);
    }
  }
}

void ATTcopier::copyComposites(CARCconfiguration& from) {
  m_Composites.clear();
  for (CARCcompositeGrammar* composite : from.composites)
    if (!m_Composites.count(composite)) m_Composites[composite] = m_To.composite(m_To.addComposite());
  std::unordered_set<const void*> done;
  // Fields second: a field may name a composite that stands later.
  for (CARCcompositeGrammar* composite : from.composites) {
    if (!done.insert(composite).second) continue;
    QVMcompositeGrammar& to = *m_Composites[composite];
    to.setName(composite->name);
    to.setDescription(composite->description);
    for (CARCcompositeSubField* field : composite->fields) {
      uint32_t at = QVMcompositeGrammarAddField(to);
      QVMcompositeSubField& target = *to.field(at);
      target.setName(field->name);
      target.setMaxLength(field->maxLength);
      target.setIsLengthRestricted(field->lengthRestricted);
      target.setIsRequired(field->required);
      switch (field->dataType) {
        case QVMcompositeType:
          if (QVMcompositeGrammar* type = mapped(m_Composites, static_cast<const CARCcompositeGrammar*>(field->composite)))
            to.setFieldCompositeType(at, type);
          break;
        case QVMdateTimeType:
          if (QVMdateTimeGrammar* grammar = mapped(m_DateTimes, static_cast<const CARCdateTimeGrammar*>(field->dateTime)))
            to.setFieldDateTimeGrammar(at, grammar);
          break;
        case QVMintegerType: to.setFieldDataType(at, QVMintegerType); break;
        case QVMdoubleType: to.setFieldDataType(at, QVMdoubleType); break;
        default: break;
      }
    }
  }
}

void ATTcopier::copySegments(CARCconfiguration& from) {
  Lookup<CARCsegmentGrammar, QVMsegmentGrammar>& segments = m_Segments[m_Config];
  for (CARCsegmentGrammar* segment : from.segments) {
    if (segments.count(segment)) raise(COLstring("segment ") + segment->name + " stands twice in a configuration.");
    QVMsegmentGrammar& to = *m_To.segment(m_To.addSegment());
    segments[segment] = &to;
    to.setName(segment->name);
    to.setDescription(segment->description);
    to.setHasDelimiters(segment->hasDelimiters);
    for (const CARCsegmentIdentifier& identifier : segment->identifiers) {
      QVMsegmentIdentifier& target = *QVMsegmentGrammarAddIdentifier(to);
      target.setValue(identifier.value);
      copyAddress(identifier.address, target.nodeAddress());
    }
    for (CARCsegmentSubField* field : segment->fields) {
      uint32_t k = QVMsegmentGrammarAddFieldWithoutInitialization(to);
      to.setFieldName(k, field->name);
      to.setFieldMaxRepeat(k, field->maxRepeat);
      to.setIsFieldRequired(k, field->required);
      to.setFieldWidth(k, field->width);
      setCode(to.fieldIncomingFunction(k), field->incomingFunction);
      setCode(to.fieldOutgoingFunction(k), field->outgoingFunction);
      if (QVMcompositeGrammar* type = mapped(m_Composites, static_cast<const CARCcompositeGrammar*>(field->composite)))
        to.setFieldType(k, type);
      for (const CARCsegmentValidationRule& rule : field->rules) copyRule(rule, to, k);
    }
  }
}

void ATTcopier::copyRule(const CARCsegmentValidationRule& from, QVMsegmentGrammar& segment, uint32_t field) {
  if (from.texts.size() != CARCsegmentValidationRule::countOfTexts(from.kind)) return;
  QVMsegmentValidationRule& rule = *segment.addValidationRule(field, from.kind);
  const std::vector<COLstring>& texts = from.texts;
  rule.setName(texts[0]);
  switch (from.kind) {
    case QVMconditionalFieldRule:
      static_cast<QVMsegmentValidationRuleConditionalField&>(rule).setRequiredField(
          uint32_t(std::strtoul(texts[1].c_str(), nullptr, 10)));
      break;
    case QVMregularExpressionRule: rule.setParameter("RegularExpression", texts[1]); break;
    case QVMregExpPairRule:
      rule.setParameter("DependentFieldRegExp", texts[1]);
      rule.setParameter("FieldRegExp", texts[2]);
      static_cast<QVMsegmentValidationRuleRegExpPair&>(rule).setDependentFieldIndex(
          uint32_t(std::strtoul(texts[3].c_str(), nullptr, 10)));
      break;
    case QVMpythonRule: {
      auto& python = static_cast<QVMsegmentValidationRulePython&>(rule);
      python.setCode(texts[1]);
      python.setDescription(texts[2]);
      break;
    }
    case QVMsituationalPythonRule: {
      auto& python = static_cast<QVMsegmentValidationRuleSituationalPython&>(rule);
      python.setCode(texts[1]);
      python.setCodeOnError(texts[2]);
      python.setDescription(texts[3]);
      break;
    }
  }
}

void ATTcopier::copySettings(const CARCconfig& from, QVMconfig& to) {
  to.setHeaderSegment(from.headerSegment);
  to.setEndOfMessage(from.endOfMessage);
  to.setOctalEscapeChar(from.octalEscapeChar);
  to.setEscapeDefault(from.escapeDefault);
  to.setEscapeEscapeChar(from.escapeEscapeChar);
  to.setEscapePosition(from.escapePosition);
  to.setStubFileDir(from.stubFileDir);
  to.setStubFilePrefix(from.stubFilePrefix);
  to.setStubFileLanguage(from.stubFileLanguage);
  to.setOutputTrailingSeparators(from.outputTrailingSeparators);
  to.setParseSeparatorChars(from.parseSeparatorChars);
  to.setLowestNonEscapedChar(from.lowestNonEscapedChar);
  to.setHighestNonEscapedChar(from.highestNonEscapedChar);
  to.setHasHl7PresetConfig(from.presetConfig == "HL7");
  // An empty list keeps the four default levels.
  if (!from.separators.empty()) {
    while (to.countOfLevel() > 0) to.popSepInfo();
    for (const CARCsepInfo* level : from.separators) {
      QVMsepInfo info;
      info.setAll(level->sepCharDefault, level->repeatCharDefault, level->sepCharEscape, level->repeatCharEscape,
                  level->sepCharPosition, level->repeatCharPosition);
      to.pushSepCharInfo(info);
    }
  }
  to.setCountOfHeaderFieldsToSkip(from.countOfHeaderFieldsToSkip);
  setCode(to.mainFunction(), from.mainFunction);
  to.setOutputSegmentLineFeed(from.outputSegmentLineFeed);
  to.setXmlDelimiter(from.xmlDelimiter);
  try {
    to.setXmlTranslationType(from.xmlTranslationType.c_str());
  } catch (const COLerror&) {
    // A dialect the model can only read, or none it knows, keeps the default.
  }
  to.setXmlSchemaSingleFile(from.xmlSchemaSingleFile);
  setCode(to.outgoingMainFunction(), from.outgoingMainFunction);
  to.setParserVersion(from.parserVersion == 0   ? QVMparserLegacy
                      : from.parserVersion == 1 ? QVMparserSegmentChecker3
                                                : QVMparserCurrent);
  to.setDisableUntypedTreeInException(from.disableUntypedTreeInException);
  to.setIsDatabaseFunctionOn(from.isDatabaseFunctionOn);
  for (const CARCdbInfo* db : from.connections)
    to.databaseConnection(to.addDatabaseConnection())
        ->setAll(db->label, db->apiName, db->databaseName, db->userName, db->password);
  to.setDisablePythonNone(from.disablePythonNone);
  to.setMaximumRepeatMappingLimit(from.maximumRepeatMappingLimit);
  setCode(to.outgoingPostProcessFunction(), from.outgoingPostProcessFunction);
  to.setEscapeDataForXmlToHL7(from.escapeDataForXmlToHL7);
  to.setValidateDataForXmlToHL7(from.validateDataForXmlToHL7);
  setCode(to.postProcessFunction(), from.postProcessFunction);
}

void ATTcopier::copyTables() {
  for (CARCtableDefinitionInternal* from : m_From.tables) {
    if (m_Tables.count(from)) raise(COLstring("table ") + from->name + " stands twice.");
    QVMtableDefinitionInternal& to = *m_To.table(m_To.addTable());
    m_Tables[from] = &to;
    to.setTableName(from->name);
    to.setDescription(from->description);
    to.setDatabaseAction(from->databaseAction);
    for (size_t k = 0; k < from->columns.size(); ++k) {
      const CARCcolumn& column = from->columns[k];
      to.addColumn(column.name, column.type <= QVMenumerationType ? QVMdataType(column.type) : QVMstringType);
      to.setColumnDescription(k, column.description);
      to.setColumnIsKey(k, column.isKey);
    }
    for (size_t c = 0; c < m_From.configs.size(); ++c) {
      m_To.setCurrentConfig(uint32_t(c));
      for (size_t k = 0; k < from->columns.size(); ++k) {
        const CARCcolumn& column = from->columns[k];
        if (c < column.incomingFunction.size() && !column.incomingFunction[c].empty())
          to.setIncomingFunctionCode(c, k, column.incomingFunction[c]);
        if (c < column.outgoingFunction.size() && !column.outgoingFunction[c].empty())
          to.setOutgoingFunctionCode(c, k, column.outgoingFunction[c]);
      }
      if (c >= from->mapSets.size() || from->mapSets[c].empty()) continue;
      to.mapSetClear();
      for (size_t s = 0; s < from->mapSets[c].size(); ++s) {
        const CARCtableMapSet& set = from->mapSets[c][s];
        QVMtableMapSet& target = *to.mapSet(s == 0 ? 0 : to.addMapSet());
        target.setName(set.name);
        for (size_t k = 0; k < set.items.size() && k < to.countOfColumn(); ++k)
          copyAddress(set.items[k].address, target.map(k).nodeAddress());
      }
    }
  }
}

void ATTcopier::copyMessages() {
  for (CARCmessageDefinitionInternal* from : m_From.messages) {
    QVMmessageDefinitionInternal& to = *m_To.message(m_To.addMessage());
    to.setName(from->name);
    to.setDescription(from->description);
    m_Seen.clear();
    copyTableGrammarGlobal(*from->tableGrammar, to.tableGrammar());
    for (size_t c = 0; c < m_From.configs.size(); ++c) {
      m_To.setCurrentConfig(uint32_t(c));
      m_Config = c;
      copyMessageConfig(*from, to, c);
    }
  }
}

void ATTcopier::copyTableGrammarGlobal(CARCtableGrammarInternal& from, QVMtableGrammarInternal& to) {
  enter(m_Seen, &from);
  if (from.isNode) {
    to.setIsNode(true);
    to.setTable(mapped(m_Tables, static_cast<const CARCtableDefinitionInternal*>(from.table)));
    return;
  }
  to.setName(from.name);
  for (CARCtableGrammarInternal* child : from.subGrammars)
    copyTableGrammarGlobal(*child, *to.addSubGrammarAt(to.countOfSubGrammar()));
}

void ATTcopier::copyMessageConfig(CARCmessageDefinitionInternal& message, QVMmessageDefinitionInternal& to,
                                  size_t c) {
  CARCmessageConfig& from = message.config(c);
  QVMmessageConfig& record = to.config(c);
  record.setIgnoreUnknownSegments(from.ignoreUnknownSegments);
  record.setIgnoreSegmentOrder(from.ignoreSegmentOrder);
  setCode(record.inFunction(), from.incomingFunction);
  setCode(record.outFunction(), from.outgoingFunction);
  record.segmentListFunctionHook().setName(from.hookName);
  record.segmentListFunctionHook().setModule(from.hookModule);
  for (const CARCidentifier& identifier : from.identifiers) {
    QVMidentifier& target = *record.insertIdentifierAt(record.countOfIdentifier());
    target.setSegment(identifier.segment);
    target.setValue(identifier.value);
    copyAddress(identifier.address, target.nodeAddress());
  }
  m_Grammars.clear();
  std::unordered_set<const void*> seen;
  m_Seen.swap(seen);
  if (from.grammar) {
    QVMmessageGrammar& root = *record.rootMessageGrammar();
    root.setGrammarName(from.grammar->name);
    copyMessageGrammar(*from.grammar, root);
  }
  m_Seen.clear();
  CARCtableGrammarInternal& tableGrammar = *message.tableGrammar;
  if (c < tableGrammar.configs.size())
    to.tableGrammar().config(c).setMessageGrammar(
        mapped(m_Grammars, static_cast<const CARCmessageGrammar*>(tableGrammar.configs[c].messageGrammar)));
  copyTableGrammarConfig(tableGrammar, to.tableGrammar(), c);
}

void ATTcopier::copyMessageGrammar(CARCmessageGrammar& from, QVMmessageGrammar& to) {
  enter(m_Seen, &from);
  m_Grammars[&from] = &to;
  to.setIsOptional(from.optional);
  to.setIsRepeating(from.flags & CARCmessageGrammar::Repeating);
  to.setIgnoreSegmentOrder(from.flags & CARCmessageGrammar::IgnoreSegmentOrder);
  to.setMaximumRepeat(from.maximumRepeat);
  if (to.isNode()) return;
  for (CARCmessageGrammar* child : from.subGrammars) {
    QVMmessageGrammar* made = nullptr;
    if (child->flags & CARCmessageGrammar::Node) {
      QVMsegmentGrammar* segment = mapped(m_Segments[m_Config], static_cast<const CARCsegmentGrammar*>(child->segment));
      if (!segment) raise(COLstring("Could not find equivalent segment to ") + child->name);
      made = to.insertSegment(segment);
    } else {
      made = to.insertGroup(child->name);
    }
    copyMessageGrammar(*child, *made);
  }
}

void ATTcopier::copyTableGrammarConfig(CARCtableGrammarInternal& from, QVMtableGrammarInternal& to, size_t c) {
  enter(m_Seen, &from);
  for (size_t i = 0; i < from.subGrammars.size() && i < to.countOfSubGrammar(); ++i) {
    CARCtableGrammarInternal& child = *from.subGrammars[i];
    QVMtableGrammarInternal& target = *to.subGrammar(i);
    if (c >= child.configs.size()) continue;
    const CARCtableGrammarConfig& config = child.configs[c];
    QVMtableGrammarConfig& record = target.config(c);
    record.setMessageGrammar(mapped(m_Grammars, static_cast<const CARCmessageGrammar*>(config.messageGrammar)));
    if (target.isNode()) {
      record.setMessageGrammarFieldIndex(config.fieldIndex);
      record.setTableMapSetIndex(config.mapSetIndex);
      enter(m_Seen, &child);
    } else {
      copyTableGrammarConfig(child, target, c);
    }
  }
}
}  // namespace

void ATTcopy(CARCengineInternal& archive, QVMengineInternal& engine) {
  ATTcopier copier(archive.root(), engine);
  for (CARCconfiguration& configuration : archive.root().configs)
    if (!configuration.config) throw COLerror(CARCinvalidFormatText, CARC_ERROR_FORMAT);
  copier.copy();
}
