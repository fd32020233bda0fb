// A model with every kind of element that the version-one format stores.
#include "ANTtestSupport.h"
#include "QVMsegmentValidationRule.h"

namespace {
void buildGrammars(QVMengineInternal& engine, const char* suffix) {
  QVMdateTimeGrammar& stamp = *engine.dateTimeGrammar(engine.addDateTimeGrammar());
  stamp.setName(COLstring("DTM") + suffix);
  stamp.setDescription("date & time < now >");
  stamp.setFieldsRequired(true);
  for (auto item : {QVMdateTimeGrammar::MaskYear, QVMdateTimeGrammar::MaskMonth, QVMdateTimeGrammar::MaskDay,
                    QVMdateTimeGrammar::MaskHour, QVMdateTimeGrammar::MaskMinute, QVMdateTimeGrammar::MaskSecond,
                    QVMdateTimeGrammar::MaskFraction, QVMdateTimeGrammar::MaskTimeZone})
    QVMdateTimeGrammarAddMaskItem(stamp, item);

  // "XCN" names "HD", which stands after it: references may point forward.
  QVMcompositeGrammar& person = *engine.composite(engine.addComposite());
  QVMcompositeGrammar& domain = *engine.composite(engine.addComposite());
  QVMcompositeGrammar& plain = *engine.composite(engine.addComposite());
  person.setName("XCN");
  person.setDescription("  blanks kept  ");
  domain.setName("HD");
  plain.setName("ST");
  uint32_t id = QVMcompositeGrammarAddField(person);
  person.setFieldName(id, "Id");
  person.setFieldMaxLength(id, 15);
  person.setFieldIsLengthRestricted(id, true);
  person.setFieldIsRequired(id, true);
  uint32_t count = QVMcompositeGrammarAddField(person);
  person.setFieldName(count, "Count");
  person.setFieldDataType(count, QVMintegerType);
  uint32_t amount = QVMcompositeGrammarAddField(person);
  person.setFieldName(amount, "Amount");
  person.setFieldDataType(amount, QVMdoubleType);
  uint32_t authority = QVMcompositeGrammarAddField(person);
  person.setFieldName(authority, "Authority");
  person.setFieldCompositeType(authority, &domain);
  uint32_t when = QVMcompositeGrammarAddField(person);
  person.setFieldName(when, "When");
  person.setFieldDateTimeGrammar(when, &stamp);
  person.setFieldMaxLength(when, 0);
  QVMcompositeGrammarAddField(domain);
  domain.setFieldName(0, "Namespace");

  for (const char* name : {"MSH", "PID", "PID"}) {
    QVMsegmentGrammar& segment = *engine.segment(engine.addSegment());
    segment.setName(name);
    segment.setDescription(COLstring("the ") + name + " segment");
  }
  QVMsegmentGrammar& header = *engine.segment(0);
  header.setHasDelimiters(false);
  uint32_t first = QVMsegmentGrammarAddFieldWithoutInitialization(header);
  header.setFieldName(first, "Untyped");
  header.setFieldWidth(first, 12);
  QVMsegmentGrammar& patient = *engine.segment(2);
  QVMsegmentIdentifier& identity = *QVMsegmentGrammarAddIdentifier(patient);
  identity.setValue("^B(");  // kept although it doesn't compile
  identity.nodeAddress().setNodeAndRepeatIndex(1, 3, 2);
  for (uint32_t f = 0; f < 3; ++f) {
    QVMsegmentGrammarInsertFieldWithInitialization(patient, f);
    patient.setFieldName(f, COLstring("F") + std::to_string(f).c_str());
    patient.setFieldType(f, f == 1 ? &person : &plain);
  }
  patient.setFieldMaxRepeat(1, 4);
  patient.setIsFieldRequired(1, true);
  patient.fieldIncomingFunction(1).setCode("value = value.strip()\n");
  patient.fieldOutgoingFunction(1).setCode("if value == ']]>':\n  value = ''\n");
  auto& conditional = static_cast<QVMsegmentValidationRuleConditionalField&>(*patient.addValidationRule(1, 0));
  conditional.setRequiredField(2);
  conditional.setName("needs F2");
  patient.addValidationRule(1, 1)->setParameter("RegularExpression", "^[0-9]+$");
  auto& pair = static_cast<QVMsegmentValidationRuleRegExpPair&>(*patient.addValidationRule(2, 2));
  pair.setParameter("DependentFieldRegExp", "A|B");
  pair.setParameter("FieldRegExp", "x & y");
  pair.setDependentFieldIndex(0xFFFFFFFF);
  auto& python = static_cast<QVMsegmentValidationRulePython&>(*patient.addValidationRule(2, 3));
  python.setDescription("checks the sum");
  python.setCode("result = 1\n");
  auto& situational = static_cast<QVMsegmentValidationRuleSituationalPython&>(*patient.addValidationRule(0, 4));
  situational.setDescription("situational");
  situational.setCode("result = 0\n");
  situational.setCodeOnError("print('on error')\n");
}

void buildMessageConfig(QVMengineInternal& engine, size_t c) {
  QVMmessageDefinitionInternal& admit = *engine.message(0);
  QVMmessageConfig& record = admit.config(c);
  record.setIgnoreUnknownSegments(c == 0);
  record.setIgnoreSegmentOrder(c == 1);
  record.inFunction().setCode("x = 1\n");
  QVMidentifier& byRef = *record.insertIdentifierAt(0);
  byRef.setSegment("PID");  // names the first of two PID grammars
  byRef.setValue("A0[14]");
  byRef.nodeAddress().setNodeAndRepeatIndex(0, 8, 0);
  byRef.nodeAddress().setNodeAndRepeatIndex(1, 1, 0);
  QVMidentifier& byName = *record.insertIdentifierAt(1);
  byName.setSegment("ZZZ");  // no such segment grammar: kept by name
  byName.setValue("");
  record.segmentListFunctionHook().setModule("hooks");
  record.segmentListFunctionHook().setName("reorder");

  QVMmessageGrammar& root = *record.rootMessageGrammar();
  root.setIgnoreSegmentOrder(true);
  root.insertSegment(engine.segment(0));
  QVMmessageGrammar& group = *root.insertGroup("PATIENT & CO");
  group.setIsOptional(true);
  group.setIsRepeating(true);
  group.setMaximumRepeat(7);
  QVMmessageGrammar& pid = *group.insertSegment(engine.segment(2));
  pid.setIsOptional(true);
  pid.setIgnoreSegmentOrder(false);
  group.insertSegment(engine.segment(1));

  // Roots and fields of the table grammar in this configuration.
  QVMtableGrammarInternal& tableRoot = admit.tableGrammar();
  QVMtableGrammarInternal& visitGroup = *tableRoot.subGrammar(0);
  QVMtableGrammarInternal& leaf = *visitGroup.subGrammar(0);
  QVMtableGrammarInternal& second = *tableRoot.subGrammar(1);
  visitGroup.config(c).setMessageGrammar(&group);
  leaf.config(c).setMessageGrammar(c == 0 ? &pid : nullptr);
  leaf.config(c).setMessageGrammarFieldIndex(c == 0 ? 1 : 0xFFFFFFFF);
  leaf.config(c).setTableMapSetIndex(c == 0 ? 1 : 0);
  second.config(c).setMessageGrammar(&root);

  QVMmessageGrammar& otherRoot = *engine.message(1)->config(c).rootMessageGrammar();
  otherRoot.insertSegment(engine.segment(1));
}

void buildSettings(QVMengineInternal& engine, size_t c) {
  QVMconfig& s = engine.config();
  s.setEndOfMessage(28);
  s.setOctalEscapeChar('7');
  s.setEscapeDefault('#');
  s.setEscapeEscapeChar('X');
  s.setEscapePosition(0xFFFFFFFF);
  s.setStubFileDir("/tmp/stubs dir");
  s.setStubFileLanguage("C++");
  s.setStubFilePrefix("AB C");
  s.setOutputTrailingSeparators(false);
  s.setParseSeparatorChars(false);
  s.setLowestNonEscapedChar(1);
  s.setHighestNonEscapedChar(65535);
  s.setHasHl7PresetConfig(false);
  s.mainFunction().setCode("a = 1\n");
  s.postProcessFunction().setCode("b = 2\n");
  s.outgoingMainFunction().setCode("c = 3\n");
  s.outgoingPostProcessFunction().setCode("d = '\\r'\n");
  s.setOutputSegmentLineFeed(true);
  s.setXmlDelimiter('\t');
  s.setXmlTranslationType(c == 0 ? "TABLE - Long Tags" : "EXPANDED");
  s.setParserVersion(c == 0 ? QVMparserSegmentChecker3 : QVMparserLegacy);
  s.setXmlSchemaSingleFile(false);
  s.setCountOfHeaderFieldsToSkip(0);
  s.setDisableUntypedTreeInException(true);
  s.setMaximumRepeatMappingLimit(9);
  s.setIsDatabaseFunctionOn(true);
  s.setDisablePythonNone(false);
  s.setHeaderSegment("FHS");
  s.setEscapeDataForXmlToHL7(false);
  s.setValidateDataForXmlToHL7(false);
  s.insertSepCharInfo(4);
  s.sepCharInfo(4).setAll('\r', 0, 'Q', 0, 0xFFFFFFFF, 0xFFFFFFFF);
  s.sepCharInfo(0).setAll('\n', 0, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF);
  QVMconfigSetDefaultDatabase(s, "ODBC", "warehouse", "reader", "p&ss<word>");
  s.databaseConnection(s.addDatabaseConnection())->setAll("second", "MySQL", "db2", "", "");
  QVMembeddedPythonModule& module = *engine.engineConfig().addEmbeddedPythonModule();
  module.setName("hooks");
  module.setCode("def reorder(segment_list):\n    return segment_list\n");
  engine.setAckMessageIndex(c, c == 0 ? 1 : 0xFFFFFFFF);
  QVMengineSetIgnoreMessageIndex(engine, c == 0 ? 0u : 0xFFFFFFFFu);
}
}  // namespace

void ANTtestBuildFullModel(QVMengineInternal& engine) {
  engine.clear();
  engine.setRejectBadSegmentGrammar(true);
  engine.setUseMachineDoubleTypeInJavaGeneration(true);
  engine.setUsePassThroughMapping(true);
  engine.setUseDotNetProperties(false);
  engine.setIncomingConfigIndex(1);
  engine.setOutgoingConfigIndex(0xFFFFFFFF);
  engine.setVmdDescription("Line one\r\nline two\ttabbed \xE9t\xE9 & <more>  \"quoted\" 'single'");
  engine.setConfigName(0, "first config");
  engine.addConfiguration("  second  &  config ");

  QVMtableDefinitionInternal& visits = *engine.table(engine.addTable());
  visits.setTableName("Visits & more");
  visits.setDescription("one row per visit");
  visits.setDatabaseAction(3);
  for (auto [name, type] : {std::pair{"Id", QVMstringType}, {"Count", QVMintegerType}, {"Cost", QVMdoubleType},
                            {"Kind", QVMcompositeType}, {"When", QVMdateTimeType}, {"Id", QVMstringType}})
    visits.addColumn(name, type);
  visits.setColumnDescription(0, "the key");
  visits.setColumnIsKey(0, true);
  visits.setIncomingFunctionCode(1, 2, "value = 2\n");
  visits.setOutgoingFunctionCode(0, 5, "value = 5\n");
  QVMtableDefinitionInternal& empty = *engine.table(engine.addTable());
  empty.setTableName("Empty");

  for (const char* name : {"ADT A01", "ACK"}) {
    QVMmessageDefinitionInternal& message = *engine.message(QVMengineAddMessage(engine));
    message.setName(name);
    message.setDescription(COLstring("the ") + name + " message");
  }
  QVMtableGrammarInternal& tableRoot = engine.message(0)->tableGrammar();
  QVMtableGrammarInternal& visitGroup = *tableRoot.addSubGrammarAt(0);
  visitGroup.setName("Visit group");
  QVMtableGrammarInternal& leaf = *visitGroup.addSubGrammarAt(0);
  leaf.setIsNode(true);
  leaf.setTable(&visits);
  QVMtableGrammarInternal& second = *tableRoot.addSubGrammarAt(1);
  second.setIsNode(true);
  second.setTable(&empty);

  for (size_t c = 0; c < 2; ++c) {
    engine.setCurrentConfig(static_cast<uint32_t>(c));
    buildGrammars(engine, c == 0 ? "" : "2");
    size_t set = visits.addMapSet();
    visits.mapSet(0)->setName(c == 0 ? "Mapset" : "Mapset & two");
    visits.mapSet(set)->setName("Field map");
    visits.mapSet(set)->map(0).nodeAddress().setNodeAndRepeatIndex(0, 1, 0);
    visits.mapSet(set)->map(4).nodeAddress().setNodeAndRepeatIndex(2, 0xFFFFFFFF, 3);
    buildMessageConfig(engine, c);
    buildSettings(engine, c);
  }
  engine.setCurrentConfig(1);
  engine.clearMatchingOrder();
  engine.insertMessageInMatchOrder(nullptr, 1);
  engine.insertMessageInMatchOrder(nullptr, 0);
  engine.insertMessageInMatchOrder(nullptr, 1);
}
