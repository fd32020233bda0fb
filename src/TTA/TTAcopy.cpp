// From the model to the archive's object graph: the same steps as the copy the other way, in
// the same order. Every object is made in the archive engine, which owns it.
#include "TTAcopy.h"

#include <string>
#include <unordered_map>

#include "CARCengineInternal.h"
#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMsegmentValidationRule.h"

namespace {
template <class From, class To>
using Objects = std::unordered_map<const From*, To*>;

template <class From, class To>
To* lookup(const Objects<From, To>& objects, const From* object) {
  auto found = objects.find(object);
  return found == objects.end() ? nullptr : found->second;
}

void fillAddress(const QVMmessageNodeAddress& from, CARCmessageNodeAddress& to) {
  to.nodeIndex.clear();
  to.repeatIndex.clear();
  for (uint32_t step = 0; step < from.depth(); ++step) {
    to.nodeIndex.push_back(from.nodeIndex(step));
    to.repeatIndex.push_back(from.repeatIndex(step));
  }
}

class TTAfiller {
public:
  TTAfiller(QVMengineInternal& engine, CARCengineInternal& archive)
      : m_From(engine), m_Archive(archive), m_To(archive.root()) {}
  void fill();

private:
  void fillConfig(size_t c);
  void fillSettings(const QVMconfig& from, CARCconfig& to);
  void fillRules(const QVMsegmentGrammar& segment, uint32_t k, CARCsegmentSubField& to);
  void fillTables();
  void fillMessages();
  CARCtableGrammarInternal* fillTableGrammar(const QVMtableGrammarInternal& from);
  CARCmessageGrammar* fillMessageGrammar(const QVMmessageGrammar& from, size_t c);
  void fillTableGrammarConfig(const QVMtableGrammarInternal& from, CARCtableGrammarInternal& to, size_t c);

  QVMengineInternal& m_From;
  CARCengineInternal& m_Archive;
  CARCengineInternalPrivate& m_To;
  std::vector<Objects<QVMsegmentGrammar, CARCsegmentGrammar>> m_Segments;
  Objects<QVMtableDefinitionInternal, CARCtableDefinitionInternal> m_Tables;
  Objects<QVMmessageGrammar, CARCmessageGrammar> m_Grammars;
};

void TTAfiller::fill() {
  QVMengineVersionChanger restore(m_From, m_From.currentConfig());
  const size_t count = m_From.countOfConfig();
  m_To.configs.resize(count);
  m_Segments.resize(count);
  m_To.currentConfig = m_From.currentConfig();
  m_To.incomingConfigIndex = m_From.incomingConfigIndex();
  m_To.outgoingConfigIndex = m_From.outgoingConfigIndex();
  m_To.useMachineDoubleTypeInJavaGeneration = m_From.useMachineDoubleTypeInJavaGeneration();
  m_To.rejectBadSegmentGrammar = m_From.rejectBadSegmentGrammar();
  m_To.vmdDescription = m_From.vmdDescription();
  m_To.useDotNetProperties = m_From.useDotNetProperties();
  for (size_t c = 0; c < count; ++c) fillConfig(c);
  fillTables();
  fillMessages();
}

void TTAfiller::fillConfig(size_t c) {
  m_From.setCurrentConfig(uint32_t(c));
  CARCconfiguration& to = m_To.configs[c];
  const QVMengineConfig& from = m_From.engineConfig();
  to.name = from.configName();
  to.ackMessageIndex = from.ackMessageIndex();
  to.ignoreMessageIndex = QVMengineIgnoreMessageIndex(m_From, c);
  to.config = m_Archive.make<CARCconfig>();
  fillSettings(from.config(), *to.config);
  to.config->usePassThroughMapping = m_From.usePassThroughMapping();
  to.matchOrder = from.matchOrder().toVector();
  to.lastMessageMatchesAll = from.lastMessageMatchesAll();
  for (size_t i = 0; i < from.countOfEmbeddedPythonModule(); ++i)
    to.modules.push_back({from.embeddedPythonModule(i)->name(), from.embeddedPythonModule(i)->code()});

  Objects<QVMdateTimeGrammar, CARCdateTimeGrammar> dateTimes;
  for (size_t i = 0; i < from.countOfDateTimeGrammar(); ++i) {
    const QVMdateTimeGrammar& grammar = *from.dateTimeGrammar(i);
    CARCdateTimeGrammar& target = *m_Archive.make<CARCdateTimeGrammar>();
    dateTimes[&grammar] = &target;
    to.dateTimes.push_back(&target);
    target.name = grammar.name();
    target.description = grammar.description();
    target.fieldsRequired = grammar.fieldsRequired();
    for (uint32_t k = 0; k < grammar.countOfMaskItem(); ++k) target.maskItems.push_back(grammar.maskItem(k));
  }
  for (size_t i = 0; i < from.countOfEnumerationGrammar(); ++i) {
    const QVMenumerationGrammar& grammar = *from.enumerationGrammar(i);
    CARCenumerationGrammar& target = *m_Archive.make<CARCenumerationGrammar>();
    to.enumerations.push_back(&target);
    target.name = grammar.name();
    target.description = grammar.description();
    for (uint32_t k = 0; k < grammar.countOfEnumItem(); ++k) target.values.push_back(grammar.enumItem(k));
  }
  Objects<QVMcompositeGrammar, CARCcompositeGrammar> composites;
  for (size_t i = 0; i < from.countOfComposite(); ++i) {
    composites[from.composite(i)] = m_Archive.make<CARCcompositeGrammar>();
    to.composites.push_back(composites[from.composite(i)]);
  }
  for (size_t i = 0; i < from.countOfComposite(); ++i) {
    const QVMcompositeGrammar& composite = *from.composite(i);
    CARCcompositeGrammar& target = *composites[&composite];
    target.name = composite.name();
    target.description = composite.description();
    for (uint32_t k = 0; k < composite.countOfField(); ++k) {
      const QVMcompositeSubField& field = *composite.field(k);
      CARCcompositeSubField& made = *m_Archive.make<CARCcompositeSubField>();
      target.fields.push_back(&made);
      made.name = field.name();
      made.dataType = int16_t(field.dataType());
      made.maxLength = field.maxLength();
      made.lengthRestricted = field.isLengthRestricted();
      made.required = field.isRequired();
      if (field.dataType() == QVMcompositeType) made.composite = lookup(composites, field.compositeType());
      if (field.dataType() == QVMdateTimeType) made.dateTime = lookup(dateTimes, field.dateTimeGrammar());
    }
  }
  for (size_t i = 0; i < from.countOfSegment(); ++i) {
    const QVMsegmentGrammar& segment = *from.segment(i);
    CARCsegmentGrammar& target = *m_Archive.make<CARCsegmentGrammar>();
    m_Segments[c][&segment] = &target;
    to.segments.push_back(&target);
    target.name = segment.name();
    target.description = segment.description();
    target.hasDelimiters = segment.hasDelimiters();
    for (uint32_t k = 0; k < segment.countOfIdentifier(); ++k) {
      target.identifiers.emplace_back();
      target.identifiers.back().value = segment.identifier(k)->value();
      fillAddress(segment.identifier(k)->nodeAddress(), target.identifiers.back().address);
    }
    for (uint32_t k = 0; k < segment.countOfField(); ++k) {
      CARCsegmentSubField& field = *m_Archive.make<CARCsegmentSubField>();
      target.fields.push_back(&field);
      field.name = segment.fieldName(k);
      field.maxRepeat = segment.fieldMaxRepeat(k);
      field.required = segment.isFieldRequired(k);
      field.width = segment.fieldWidth(k);
      field.incomingFunction = segment.fieldIncomingFunction(k).code();
      field.outgoingFunction = segment.fieldOutgoingFunction(k).code();
      field.composite = lookup(composites, segment.fieldType(k));
      fillRules(segment, k, field);
    }
  }
}

void TTAfiller::fillRules(const QVMsegmentGrammar& segment, uint32_t k, CARCsegmentSubField& to) {
  for (uint32_t r = 0; r < segment.countOfValidationRules(k); ++r) {
    const QVMsegmentValidationRule& rule = *segment.getValidationRule(k, r);
    CARCsegmentValidationRule stored;
    stored.kind = rule.classId();
    stored.texts.push_back(rule.name());
    switch (rule.classId()) {
      case QVMconditionalFieldRule:
        stored.texts.push_back(
            std::to_string(static_cast<const QVMsegmentValidationRuleConditionalField&>(rule).requiredField()));
        break;
      case QVMregularExpressionRule: stored.texts.push_back(rule.parameter("RegularExpression")); break;
      case QVMregExpPairRule:
        stored.texts.push_back(rule.parameter("DependentFieldRegExp"));
        stored.texts.push_back(rule.parameter("FieldRegExp"));
        stored.texts.push_back(
            std::to_string(static_cast<const QVMsegmentValidationRuleRegExpPair&>(rule).dependentFieldIndex()));
        break;
      case QVMpythonRule: {
        const auto& python = static_cast<const QVMsegmentValidationRulePython&>(rule);
        stored.texts.push_back(python.code());
        stored.texts.push_back(python.description());
        break;
      }
      case QVMsituationalPythonRule: {
        const auto& python = static_cast<const QVMsegmentValidationRuleSituationalPython&>(rule);
        stored.texts.push_back(python.code());
        stored.texts.push_back(python.codeOnError());
        stored.texts.push_back(python.description());
        break;
      }
      default: throw COLerror("A validation rule of an unknown kind can't be stored.", COL_ERROR_PRECONDITION);
    }
    to.rules.push_back(std::move(stored));
  }
}

void TTAfiller::fillSettings(const QVMconfig& from, CARCconfig& to) {
  to.headerSegment = from.headerSegment();
  to.endOfMessage = from.endOfMessage();
  to.octalEscapeChar = from.octalEscapeChar();
  to.escapeDefault = from.escapeDefault();
  to.escapeEscapeChar = from.escapeEscapeChar();
  to.escapePosition = from.escapePosition();
  to.stubFileDir = from.stubFileDir();
  to.stubFilePrefix = from.stubFilePrefix();
  to.stubFileLanguage = from.stubFileLanguage();
  to.outputTrailingSeparators = from.outputTrailingSeparators();
  for (size_t i = 0; i < from.countOfLevel(); ++i) {
    const QVMsepInfo& info = from.sepCharInfo(i);
    CARCsepInfo& level = *m_Archive.make<CARCsepInfo>();
    level.sepCharDefault = info.sepCharDefault();
    level.repeatCharDefault = info.repeatCharDefault();
    level.sepCharEscape = info.sepCharEscape();
    level.repeatCharEscape = info.repeatCharEscape();
    level.sepCharPosition = info.sepCharPosition();
    level.repeatCharPosition = info.repeatCharPosition();
    to.separators.push_back(&level);
  }
  to.parseSeparatorChars = from.parseSeparatorChars();
  to.lowestNonEscapedChar = from.lowestNonEscapedChar();
  to.highestNonEscapedChar = from.highestNonEscapedChar();
  to.presetConfig = from.hasHl7PresetConfig() ? "HL7" : "";
  to.countOfHeaderFieldsToSkip = from.countOfHeaderFieldsToSkip();
  to.mainFunction = from.mainFunction().code();
  to.outputSegmentLineFeed = from.outputSegmentLineFeed();
  to.xmlDelimiter = from.xmlDelimiter();
  to.xmlTranslationType = from.xmlTranslationType();
  to.xmlSchemaSingleFile = from.xmlSchemaSingleFile();
  to.outgoingMainFunction = from.outgoingMainFunction().code();
  to.parserVersion = from.parserVersion();
  to.disableUntypedTreeInException = from.disableUntypedTreeInException();
  to.isDatabaseFunctionOn = from.isDatabaseFunctionOn();
  for (size_t i = 0; i < from.countOfDatabaseConnections(); ++i) {
    const QVMdbInfo& info = *from.databaseConnection(i);
    CARCdbInfo& db = *m_Archive.make<CARCdbInfo>();
    db.label = info.label();
    db.apiName = info.apiName();
    db.databaseName = info.databaseName();
    db.userName = info.userName();
    db.password = info.password();
    to.connections.push_back(&db);
  }
  to.disablePythonNone = from.disablePythonNone();
  to.maximumRepeatMappingLimit = from.maximumRepeatMappingLimit();
  to.outgoingPostProcessFunction = from.outgoingPostProcessFunction().code();
  to.escapeDataForXmlToHL7 = from.escapeDataForXmlToHL7();
  to.validateDataForXmlToHL7 = from.validateDataForXmlToHL7();
  to.postProcessFunction = from.postProcessFunction().code();
}

void TTAfiller::fillTables() {
  const size_t count = m_From.countOfConfig();
  for (size_t t = 0; t < m_From.countOfTable(); ++t) {
    const QVMtableDefinitionInternal& from = *m_From.table(t);
    CARCtableDefinitionInternal& to = *m_Archive.make<CARCtableDefinitionInternal>();
    m_Tables[&from] = &to;
    m_To.tables.push_back(&to);
    to.name = from.tableName();
    to.description = from.description();
    to.databaseAction = from.databaseAction();
    for (size_t k = 0; k < from.countOfColumn(); ++k) {
      CARCcolumn column;
      column.type = from.columnType(k);
      column.name = from.columnName(k);
      column.description = from.columnDescription(k);
      column.isKey = from.columnIsKey(k);
      if (column.isKey && to.keyColumnIndex == CARCnpos) to.keyColumnIndex = uint32_t(k);
      for (size_t c = 0; c < count; ++c) {
        column.incomingFunction.push_back(from.incomingFunctionCode(c, k));
        column.outgoingFunction.push_back(from.outgoingFunctionCode(c, k));
      }
      to.columns.push_back(std::move(column));
    }
    to.growTo(count - 1);
    for (size_t c = 0; c < count; ++c) {
      m_From.setCurrentConfig(uint32_t(c));
      for (size_t s = 0; s < from.countOfMapSet(); ++s) {
        const QVMtableMapSet& set = *from.mapSet(s);
        CARCtableMapSet stored;
        stored.name = set.name();
        stored.items.resize(from.countOfColumn());
        for (size_t k = 0; k < from.countOfColumn() && k < set.countOfMap(); ++k)
          fillAddress(set.map(k).nodeAddress(), stored.items[k].address);
        to.mapSets[c].push_back(std::move(stored));
      }
    }
  }
}

void TTAfiller::fillMessages() {
  const size_t count = m_From.countOfConfig();
  for (size_t m = 0; m < m_From.countOfMessage(); ++m) {
    const QVMmessageDefinitionInternal& from = *m_From.message(m);
    CARCmessageDefinitionInternal& to = *m_Archive.make<CARCmessageDefinitionInternal>();
    m_To.messages.push_back(&to);
    to.name = from.name();
    to.description = from.description();
    to.tableGrammar = fillTableGrammar(from.tableGrammar());
    for (size_t c = 0; c < count; ++c) {
      m_From.setCurrentConfig(uint32_t(c));
      const QVMmessageConfig& record = from.config(c);
      CARCmessageConfig& target = to.config(c);
      target.ignoreUnknownSegments = record.ignoreUnknownSegments();
      target.ignoreSegmentOrder = record.ignoreSegmentOrder();
      target.incomingFunction = record.inFunction().code();
      target.outgoingFunction = record.outFunction().code();
      target.hookName = record.segmentListFunctionHook().name();
      target.hookModule = record.segmentListFunctionHook().module();
      for (size_t k = 0; k < record.countOfIdentifier(); ++k) {
        const QVMidentifier& identifier = *record.identifier(k);
        CARCidentifier stored;
        stored.value = identifier.value();
        stored.segment = identifier.segment();
        fillAddress(identifier.nodeAddress(), stored.address);
        target.identifiers.push_back(std::move(stored));
      }
      m_Grammars.clear();
      target.grammar = fillMessageGrammar(*record.rootMessageGrammar(), c);
      to.tableGrammar->configs.resize(count);
      to.tableGrammar->configs[c].messageGrammar = lookup(m_Grammars, from.tableGrammar().config(c).messageGrammar());
      fillTableGrammarConfig(from.tableGrammar(), *to.tableGrammar, c);
    }
  }
}

CARCtableGrammarInternal* TTAfiller::fillTableGrammar(const QVMtableGrammarInternal& from) {
  CARCtableGrammarInternal& to = *m_Archive.make<CARCtableGrammarInternal>();
  to.name = from.name();
  to.isNode = from.isNode();
  if (from.isNode()) {
    to.table = lookup(m_Tables, static_cast<const QVMtableDefinitionInternal*>(from.table()));
    if (!to.table) throw COLerror("A table grammar node that names no table can't be stored.", COL_ERROR_PRECONDITION);
    return &to;
  }
  for (size_t i = 0; i < from.countOfSubGrammar(); ++i) to.subGrammars.push_back(fillTableGrammar(*from.subGrammar(i)));
  return &to;
}

CARCmessageGrammar* TTAfiller::fillMessageGrammar(const QVMmessageGrammar& from, size_t c) {
  CARCmessageGrammar& to = *m_Archive.make<CARCmessageGrammar>();
  m_Grammars[&from] = &to;
  to.name = from.grammarName();
  to.maximumRepeat = from.maximumRepeat();
  to.optional = from.isOptional();
  to.flags = int16_t((from.isRepeating() ? CARCmessageGrammar::Repeating : 0) |
                     (from.ignoreSegmentOrder() ? CARCmessageGrammar::IgnoreSegmentOrder : 0) |
                     (from.isNode() ? CARCmessageGrammar::Node : 0));
  if (from.isNode()) {
    uint32_t index = TAAfindSegmentId(m_From, from.segment());
    if (index == CARCnpos) throw COLerror(COLstring("Could not find equivalent segment to ") + from.grammarName(), COL_ERROR_PRECONDITION);
    to.segment = m_To.configs[c].segments[index];
  }
  for (size_t i = 0; i < from.countOfSubGrammar(); ++i) to.subGrammars.push_back(fillMessageGrammar(*from.subGrammar(i), c));
  return &to;
}

void TTAfiller::fillTableGrammarConfig(const QVMtableGrammarInternal& from, CARCtableGrammarInternal& to, size_t c) {
  for (size_t i = 0; i < from.countOfSubGrammar(); ++i) {
    const QVMtableGrammarInternal& child = *from.subGrammar(i);
    const QVMtableGrammarConfig& config = child.config(c);
    CARCtableGrammarInternal& target = *to.subGrammars[i];
    target.configs.resize(m_From.countOfConfig());
    CARCtableGrammarConfig& stored = target.configs[c];
    stored.messageGrammar = lookup(m_Grammars, config.messageGrammar());
    if (child.isNode()) {
      stored.fieldIndex = config.messageGrammarFieldIndex();
      stored.mapSetIndex = config.tableMapSetIndex();
    } else {
      fillTableGrammarConfig(child, target, c);
    }
  }
}
}  // namespace

uint32_t TAAfindSegmentId(const QVMengineInternal& engine, const QVMsegmentGrammar* segment) {
  for (size_t i = 0; i < engine.countOfSegment(); ++i)
    if (engine.segment(i) == segment) return uint32_t(i);
  return CARCnpos;
}

void TTAcopy(QVMengineInternal& engine, CARCengineInternal& archive) {
  archive.clear();
  TTAfiller(engine, archive).fill();
}
