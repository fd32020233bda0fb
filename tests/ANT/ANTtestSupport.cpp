#include "ANTtestSupport.h"

#include <sstream>

#include "QVMsegmentValidationRule.h"

namespace {
void dumpAddress(std::ostream& out, const QVMmessageNodeAddress& address) {
  out << "[";
  for (uint32_t k = 0; k < address.depth(); ++k) out << address.nodeIndex(k) << "." << address.repeatIndex(k) << " ";
  out << "]";
}

std::string grammarPath(const QVMmessageGrammar* grammar) {
  if (!grammar) return "none";
  std::string path;
  for (; grammar->parent(); grammar = grammar->parent()) path = std::to_string(grammar->childIndex()) + "/" + path;
  return "/" + path;
}

void dumpTableGrammar(std::ostream& out, const QVMtableGrammarInternal& grammar, size_t configs, int depth) {
  out << std::string(depth * 2, ' ') << (grammar.isNode() ? "table " : "group ") << grammar.name().str() << "\n";
  for (size_t c = 0; c < configs; ++c) {
    const QVMtableGrammarConfig& record = grammar.config(c);
    out << std::string(depth * 2 + 1, ' ') << "c" << c << " root=" << grammarPath(record.messageGrammar())
        << " field=" << record.messageGrammarFieldIndex();
    if (grammar.isNode()) out << " set=" << record.tableMapSetIndex();
    out << "\n";
  }
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i)
    dumpTableGrammar(out, *grammar.subGrammar(i), configs, depth + 1);
}

void dumpRule(std::ostream& out, const QVMsegmentValidationRule& rule) {
  out << "    rule " << rule.classId() << " " << rule.name().str() << " field=" << rule.fieldIndex();
  static const char* const keys[][4] = {{"FieldIndex"}, {"RegularExpression"},
                                         {"DependentFieldRegExp", "FieldRegExp", "DependentFieldIndex"},
                                         {"Description", "Code"}, {"Description", "Code", "CodeOnError"}};
  for (const char* key : keys[rule.classId()])
    if (key) out << " " << key << "=" << rule.parameter(key).str();
  out << "\n";
}

void dumpSegments(std::ostream& out, QVMengineInternal& engine) {
  for (size_t s = 0; s < engine.countOfSegment(); ++s) {
    const QVMsegmentGrammar& segment = *engine.segment(s);
    out << " segment " << segment.name().str() << " | " << segment.description().str() << " delim="
        << segment.hasDelimiters() << "\n";
    for (uint32_t k = 0; k < segment.countOfIdentifier(); ++k) {
      out << "  identity " << segment.identifier(k)->value().str() << " ";
      dumpAddress(out, segment.identifier(k)->nodeAddress());
      out << "\n";
    }
    for (uint32_t f = 0; f < segment.countOfField(); ++f) {
      out << "  field " << segment.fieldName(f).str() << " rep=" << segment.fieldMaxRepeat(f)
          << " req=" << segment.isFieldRequired(f) << " width=" << segment.fieldWidth(f) << " type="
          << (segment.fieldType(f) ? segment.fieldType(f)->name().str() : "none") << " in="
          << segment.fieldIncomingFunction(f).code().str() << " out=" << segment.fieldOutgoingFunction(f).code().str()
          << "\n";
      for (uint32_t r = 0; r < segment.countOfValidationRules(f); ++r) dumpRule(out, *segment.getValidationRule(f, r));
    }
  }
}

void dumpComposites(std::ostream& out, QVMengineInternal& engine) {
  for (size_t i = 0; i < engine.countOfDateTimeGrammar(); ++i) {
    const QVMdateTimeGrammar& grammar = *engine.dateTimeGrammar(i);
    out << " datetime " << grammar.name().str() << " | " << grammar.description().str() << " req="
        << grammar.fieldsRequired() << " mask=";
    for (uint32_t k = 0; k < grammar.countOfMaskItem(); ++k) out << grammar.maskItem(k) << ",";
    out << "\n";
  }
  for (size_t i = 0; i < engine.countOfComposite(); ++i) {
    const QVMcompositeGrammar& composite = *engine.composite(i);
    out << " composite " << composite.name().str() << " | " << composite.description().str() << "\n";
    for (uint32_t f = 0; f < composite.countOfField(); ++f) {
      const QVMcompositeSubField& field = *composite.field(f);
      out << "  field " << field.name().str() << " type=" << field.dataType() << " len=" << field.maxLength()
          << " restricted=" << field.isLengthRestricted() << " req=" << field.isRequired();
      if (field.dataType() == QVMcompositeType) out << " ref=" << field.compositeType()->name().str();
      if (field.dataType() == QVMdateTimeType) out << " ref=" << field.dateTimeGrammar()->name().str();
      out << "\n";
    }
  }
}

void dumpSettings(std::ostream& out, QVMengineInternal& engine, size_t c) {
  const QVMconfig& s = engine.config();
  out << " settings ack=" << engine.ackMessageIndex(c) << " eom=" << int(s.endOfMessage()) << " octal="
      << int(s.octalEscapeChar()) << " esc=" << int(s.escapeDefault()) << " escesc=" << int(s.escapeEscapeChar())
      << " escpos=" << s.escapePosition() << " dir=" << s.stubFileDir().str() << " lang=" << s.stubFileLanguage().str()
      << " prefix=" << s.stubFilePrefix().str() << " trailing=" << s.outputTrailingSeparators()
      << " parsesep=" << s.parseSeparatorChars() << " low=" << s.lowestNonEscapedChar()
      << " high=" << s.highestNonEscapedChar() << " preset=" << s.hasHl7PresetConfig()
      << " main=" << s.mainFunction().code().str() << " post=" << s.postProcessFunction().code().str()
      << " mainout=" << s.outgoingMainFunction().code().str() << " postout=" << s.outgoingPostProcessFunction().code().str()
      << " lf=" << s.outputSegmentLineFeed() << " xmldelim=" << int(s.xmlDelimiter()) << " xml=" << s.xmlTranslationType()
      << " parser=" << s.parserVersion() << " single=" << s.xmlSchemaSingleFile() << " skip="
      << s.countOfHeaderFieldsToSkip() << " untyped=" << s.disableUntypedTreeInException()
      << " repeatlimit=" << s.maximumRepeatMappingLimit() << " db=" << s.isDatabaseFunctionOn()
      << " none=" << s.disablePythonNone() << " header=" << s.headerSegment().str()
      << " matchall=" << engine.lastMessageMatchesAll() << " escxml=" << s.escapeDataForXmlToHL7()
      << " validxml=" << s.validateDataForXmlToHL7() << "\n";
  for (size_t l = 0; l < s.countOfLevel(); ++l) {
    const QVMsepInfo& info = s.sepCharInfo(l);
    out << "  level " << int(info.sepCharDefault()) << " " << int(info.repeatCharDefault()) << " "
        << int(info.sepCharEscape()) << " " << int(info.repeatCharEscape()) << " " << info.sepCharPosition() << " "
        << info.repeatCharPosition() << "\n";
  }
  for (size_t d = 0; d < s.countOfDatabaseConnections(); ++d) {
    const QVMdbInfo& info = *s.databaseConnection(d);
    out << "  db " << info.label().str() << "|" << info.apiName().str() << "|" << info.databaseName().str() << "|"
        << info.userName().str() << "|" << info.password().str() << "\n";
  }
  const QVMengineConfig& config = engine.engineConfig();
  for (size_t m = 0; m < config.countOfEmbeddedPythonModule(); ++m)
    out << "  module " << config.embeddedPythonModule(m)->name().str() << "|"
        << config.embeddedPythonModule(m)->code().str() << "\n";
}

void dumpMessageConfig(std::ostream& out, QVMengineInternal& engine, size_t c) {
  for (size_t m = 0; m < engine.countOfMessage(); ++m) {
    const QVMmessageConfig& record = engine.message(m)->config(c);
    out << " message " << m << " unknown=" << record.ignoreUnknownSegments() << " order=" << record.ignoreSegmentOrder()
        << " in=" << record.inFunction().code().str() << " out=" << record.outFunction().code().str() << " hook="
        << record.segmentListFunctionHook().module().str() << "." << record.segmentListFunctionHook().name().str()
        << "\n";
    for (size_t k = 0; k < record.countOfIdentifier(); ++k) {
      const QVMidentifier& identifier = *record.identifier(k);
      out << "  identifier " << identifier.segment().str() << " " << identifier.value().str() << " ";
      dumpAddress(out, identifier.nodeAddress());
      out << "\n";
    }
    ANTtestDumpGrammar(out, *record.rootMessageGrammar(), 1);
  }
}

void dumpTables(std::ostream& out, QVMengineInternal& engine) {
  for (size_t t = 0; t < engine.countOfTable(); ++t) {
    QVMtableDefinitionInternal& table = *engine.table(t);
    out << "table " << table.tableName().str() << " | " << table.description().str() << " action="
        << table.databaseAction() << "\n";
    for (size_t k = 0; k < table.countOfColumn(); ++k) {
      out << " column " << table.columnName(k).str() << " | " << table.columnDescription(k).str() << " type="
          << table.columnType(k) << " key=" << table.columnIsKey(k);
      for (size_t c = 0; c < engine.countOfConfig(); ++c)
        out << " c" << c << ":" << table.incomingFunctionCode(c, k).str() << "/" << table.outgoingFunctionCode(c, k).str();
      out << "\n";
    }
    for (size_t c = 0; c < engine.countOfConfig(); ++c) {
      QVMtableConfig& record = table.tableConfig(c);
      for (size_t s = 0; s < record.countOfMapSet(); ++s) {
        out << " c" << c << " set " << record.mapSet(s)->name().str() << ":";
        for (size_t k = 0; k < table.countOfColumn(); ++k) dumpAddress(out, record.mapSet(s)->map(k).nodeAddress());
        out << "\n";
      }
    }
  }
}
}  // namespace

void ANTtestDumpGrammar(std::ostream& out, const QVMmessageGrammar& grammar, int depth) {
  out << std::string(depth * 2, ' ') << (grammar.isNode() ? "segment " : "group ") << grammar.grammarName().str()
      << " opt=" << grammar.isOptional() << " rep=" << grammar.isRepeating() << " order=" << grammar.ignoreSegmentOrder()
      << " max=" << grammar.maximumRepeat() << "\n";
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i) ANTtestDumpGrammar(out, *grammar.subGrammar(i), depth + 1);
}

std::string ANTtestDump(QVMengineInternal& engine) {
  std::ostringstream out;
  out << "engine strict=" << engine.rejectBadSegmentGrammar() << " java=" << engine.useMachineDoubleTypeInJavaGeneration()
      << " pass=" << engine.usePassThroughMapping() << " current=" << engine.currentConfig()
      << " in=" << engine.incomingConfigIndex() << " out=" << engine.outgoingConfigIndex()
      << " dotnet=" << engine.useDotNetProperties() << " description=" << engine.vmdDescription().str() << "\n";
  dumpTables(out, engine);
  for (size_t m = 0; m < engine.countOfMessage(); ++m) {
    out << "message " << engine.message(m)->name().str() << " | " << engine.message(m)->description().str() << "\n";
    dumpTableGrammar(out, engine.message(m)->tableGrammar(), engine.countOfConfig(), 1);
  }
  uint32_t current = engine.currentConfig();
  for (size_t c = 0; c < engine.countOfConfig(); ++c) {
    engine.setCurrentConfig(static_cast<uint32_t>(c));
    out << "config " << engine.configName(c).str() << " order=";
    for (uint32_t index : engine.engineConfig().matchOrder().toVector()) out << index << ",";
    out << "\n";
    dumpComposites(out, engine);
    dumpSegments(out, engine);
    dumpMessageConfig(out, engine, c);
    dumpSettings(out, engine, c);
  }
  engine.setCurrentConfig(current);
  return out.str();
}
