// The root sequence. Every step is one symmetric block: the same code writes and reads, the
// archive choosing by its direction. Steps 43 on carry what the model holds beyond the older
// steps (further configurations' settings and date-time grammars, field types, identifier
// addresses, hooks, shared modules, map-set names of further configurations).
#include "CARCengineInternal.h"

#include <cstring>

#include "COLerror.h"

namespace {
template <class T>
void forEach(std::vector<T*>& items, auto function) {
  for (T* item : items) function(*item);
}
}  // namespace

bool CARCengineInternalPrivate::step(CARCarchive& archive, unsigned number) {
  if (number >= 5 && archive.stopsHere()) return false;
  stepsRead = number;
  if (!archive.isReading()) {
    stepOffsets.resize(number + 1, archive.offset());
    stepOffsets[number] = archive.offset();
  }
  return true;
}

void CARCengineInternalPrivate::archiveMapSets(CARCarchive& archive, CARCtableDefinitionInternal& table,
                                               size_t config) {
  table.growTo(config);
  std::vector<CARCtableMapSet>& sets = table.mapSets[config];
  uint32_t count = uint32_t(sets.size());
  archive.archiveUnsignedLongInt(count);
  if (archive.isReading()) {
    sets.clear();
    for (uint32_t s = 0; s < count; ++s) {
      sets.emplace_back();
      sets.back().archive(archive, table.columns.size());
    }
    return;
  }
  for (CARCtableMapSet& set : sets) set.archive(archive, table.columns.size());
}

void CARCengineInternalPrivate::archiveValidationRules(CARCarchive& archive, CARCsegmentGrammar& segment) {
  uint32_t withRules = 0;
  for (CARCsegmentSubField* field : segment.fields) withRules += field->rules.empty() ? 0 : 1;
  archive.archiveUnsignedLongInt(withRules);
  if (!archive.isReading()) {
    for (uint32_t k = 0; k < segment.fields.size(); ++k) {
      std::vector<CARCsegmentValidationRule>& rules = segment.fields[k]->rules;
      if (rules.empty()) continue;
      archive.writeUnsignedLongInt(k);
      archive.writeUnsignedLongInt(uint32_t(rules.size()));
      for (CARCsegmentValidationRule& rule : rules) rule.archive(archive);
    }
    return;
  }
  for (uint32_t i = 0; i < withRules; ++i) {
    uint32_t k = archive.readUnsignedLongInt();
    if (k >= segment.fields.size()) CARCraiseFormat();
    uint32_t count = archive.readUnsignedLongInt();
    std::vector<CARCsegmentValidationRule>& rules = segment.fields[k]->rules;
    rules.clear();
    for (uint32_t r = 0; r < count; ++r) {
      rules.emplace_back();
      rules.back().archive(archive);
    }
  }
}

void CARCengineInternalPrivate::archiveFurtherConfig(CARCarchive& archive, size_t index) {
  if (archive.isReading()) {
    configs.emplace_back();
    configs.back().config = archive.make<CARCconfig>();
  }
  CARCconfiguration& config = configs[index];
  archive.archiveUnsignedLongInt(config.ackMessageIndex);
  archive.archiveUnsignedLongInt(config.ignoreMessageIndex);
  archive.archiveString(config.name);
  archive.archiveList(config.composites);
  archive.archiveList(config.segments);
  for (CARCtableDefinitionInternal* table : tables) archiveMapSets(archive, *table, index);
  for (CARCmessageDefinitionInternal* message : messages) message->archiveConfig(archive, index);
}

void CARCengineInternalPrivate::archiveImp(CARCarchive& archive, uint32_t) {
  stepsRead = 0;
  stepOffsets.clear();
  if (archiveOlderSteps(archive) && archiveConfigurationSteps(archive) && archiveSettingSteps(archive))
    archiveLaterSteps(archive);
}

// Steps 1 to 13: what the oldest files hold.
bool CARCengineInternalPrivate::archiveOlderSteps(CARCarchive& archive) {
  const bool reading = archive.isReading();
  auto string = [&](COLstring& value) { archive.archiveString(value); };
  auto number = [&](uint32_t& value) { archive.archiveUnsignedLongInt(value); };
  auto flag = [&](bool& value) { archive.archiveBoolean(value); };
  auto fieldsOf = [&](size_t c, auto function) {
    for (CARCsegmentGrammar* segment : configs[c].segments)
      for (CARCsegmentSubField* field : segment->fields) function(*field);
  };
  CARCconfiguration& first = configs[0];

  step(archive, 1);
  if (reading) first.config = archive.make<CARCconfig>();
  first.config->archive(archive);

  step(archive, 2);
  archive.archiveList(tables);

  step(archive, 3);
  uint32_t countOfMessage = uint32_t(messages.size());
  number(countOfMessage);
  if (reading) {
    messages.clear();
    for (uint32_t m = 0; m < countOfMessage; ++m) {
      messages.push_back(archive.make<CARCmessageDefinitionInternal>());
      messages.back()->archive(archive);
    }
  } else {
    forEach(messages, [&](CARCmessageDefinitionInternal& message) { message.archive(archive); });
  }

  step(archive, 4);
  archive.archiveList(first.composites);
  archive.archiveList(first.segments);
  archive.archiveList(first.dateTimes);

  if (!step(archive, 5)) return false;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) { flag(m.config(0).ignoreUnknownSegments); });
  if (!step(archive, 6)) return false;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) { flag(m.config(0).ignoreSegmentOrder); });
  if (!step(archive, 7)) return false;
  if (!reading) skipped[0] = skipped[1] = COLstring();
  string(skipped[0]);
  string(skipped[1]);
  if (!step(archive, 8)) return false;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) {
    for (CARCidentifier& identifier : m.config(0).identifiers) string(identifier.segment);
  });
  if (!step(archive, 9)) return false;
  fieldsOf(0, [&](CARCsegmentSubField& field) {
    string(field.outgoingFunction);
    string(field.incomingFunction);
  });
  if (!step(archive, 10)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) { number(t.keyColumnIndex); });
  if (!step(archive, 11)) return false;
  number(first.ackMessageIndex);
  if (!step(archive, 12)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) { archiveMapSets(archive, t, 0); });
  if (!step(archive, 13)) return false;
  string(first.name);
  m_CountOfConfig = uint32_t(configs.size());
  number(m_CountOfConfig);
  number(first.ignoreMessageIndex);
  number(currentConfig);
  return true;
}

// Steps 14 to 20: the further configurations, and what the first keeps of the tables and messages.
bool CARCengineInternalPrivate::archiveConfigurationSteps(CARCarchive& archive) {
  auto string = [&](COLstring& value) { archive.archiveString(value); };
  auto number = [&](uint32_t& value) { archive.archiveUnsignedLongInt(value); };
  auto fieldsOf = [&](size_t c, auto function) {
    for (CARCsegmentGrammar* segment : configs[c].segments)
      for (CARCsegmentSubField* field : segment->fields) function(*field);
  };
  if (!step(archive, 14)) return false;
  for (uint32_t c = 1; c < m_CountOfConfig; ++c) archiveFurtherConfig(archive, c);
  const size_t configCount = configs.size();
  if (!step(archive, 15)) return false;
  for (size_t c = 1; c < configCount; ++c)
    fieldsOf(c, [&](CARCsegmentSubField& field) {
      string(field.outgoingFunction);
      string(field.incomingFunction);
    });
  if (!step(archive, 16)) return false;
  number(incomingConfigIndex);
  number(outgoingConfigIndex);
  if (!step(archive, 17)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) {
    for (CARCcolumn& column : t.columns) {
      string(column.description);
      string(CARCcolumn::function(column.incomingFunction, 0));
      string(CARCcolumn::function(column.outgoingFunction, 0));
    }
  });
  if (!step(archive, 18)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) {
    for (CARCtableMapSet& set : t.mapSets[0]) string(set.name);
  });
  if (!step(archive, 19)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) { number(t.databaseAction); });
  if (!step(archive, 20)) return false;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) { m.archiveConfig(archive, 0); });

  return true;
}

// Steps 21 to 42: the settings, most of them per configuration.
bool CARCengineInternalPrivate::archiveSettingSteps(CARCarchive& archive) {
  const bool reading = archive.isReading();
  auto string = [&](COLstring& value) { archive.archiveString(value); };
  auto number = [&](uint32_t& value) { archive.archiveUnsignedLongInt(value); };
  auto flag = [&](bool& value) { archive.archiveBoolean(value); };
  const size_t configCount = configs.size();
  auto eachConfig = [&](auto function) {
    for (size_t c = 0; c < configCount; ++c) function(c, *configs[c].config);
  };
  if (!step(archive, 21)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    string(config.outgoingTranscoder);
    forEach(tables, [&](CARCtableDefinitionInternal& t) { number(t.keyColumnIndex); });
  });
  if (!step(archive, 22)) return false;
  eachConfig([&](size_t, CARCconfig& config) { number(config.countOfHeaderFieldsToSkip); });
  flag(rejectBadSegmentGrammar);
  eachConfig([&](size_t, CARCconfig& config) {
    string(config.incomingTranscoder);
    string(config.mainFunction);
    flag(config.outputSegmentLineFeed);
  });
  if (!step(archive, 23)) return false;
  eachConfig([&](size_t c, CARCconfig&) {
    for (CARCsegmentGrammar* segment : configs[c].segments) {
      uint32_t count = uint32_t(segment->identifiers.size());
      number(count);
      if (reading) segment->identifiers.clear();
      for (uint32_t k = 0; k < count; ++k) {
        if (reading) segment->identifiers.emplace_back();
        string(segment->identifiers[k].value);
      }
    }
  });
  if (!step(archive, 24)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    uint32_t zero = 0;
    number(zero);
    flag(config.batchMode);
    string(config.trailerSegment);
    archive.archiveChar(config.xmlDelimiter);
    // Before the dialect was stored by name, a flag chose between the standard and the table form.
    bool table = config.xmlTranslationType == "TABLE - Short Tags";
    flag(table);
    if (reading) config.xmlTranslationType = table ? "TABLE - Short Tags" : "STANDARD";
  });
  if (!step(archive, 25)) return false;
  flag(useMachineDoubleTypeInJavaGeneration);
  if (!step(archive, 26)) return false;
  eachConfig([&](size_t c, CARCconfig&) {
    for (CARCsegmentGrammar* segment : configs[c].segments) {
      flag(segment->hasDelimiters);
      for (CARCsegmentSubField* field : segment->fields) number(field->width);
    }
  });
  if (!step(archive, 27)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    flag(config.isFixedWidthProtocol);
    bool unused = false;
    flag(unused);
  });
  if (!step(archive, 28)) return false;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) {
    for (size_t c = 0; c < configCount; ++c) {
      string(m.config(c).incomingFunction);
      string(m.config(c).outgoingFunction);
    }
  });
  if (!step(archive, 29)) return false;
  eachConfig([&](size_t, CARCconfig& config) { flag(config.usePassThroughMapping); });
  if (!step(archive, 30)) return false;
  eachConfig([&](size_t, CARCconfig& config) { string(config.messageCharSet); });
  eachConfig([&](size_t, CARCconfig& config) { string(config.xmlTranslationType); });
  if (!step(archive, 31)) return false;
  eachConfig([&](size_t c, CARCconfig&) { archive.archiveList(configs[c].enumerations); });
  if (!step(archive, 32)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) {
    for (size_t c = 0; c < configCount; ++c)
      for (CARCcolumn& column : t.columns) {
        string(CARCcolumn::function(column.incomingFunction, c));
        string(CARCcolumn::function(column.outgoingFunction, c));
      }
  });
  if (!step(archive, 33)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    char single = config.xmlSchemaSingleFile ? 1 : 0;
    archive.archiveChar(single);
    config.xmlSchemaSingleFile = single != 0;
    string(config.outgoingMainFunction);
  });
  if (!step(archive, 34)) return false;
  eachConfig([&](size_t c, CARCconfig&) {
    for (CARCsegmentGrammar* segment : configs[c].segments) archiveValidationRules(archive, *segment);
  });
  if (!step(archive, 35)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    bool checker3 = config.parserVersion == 1;
    flag(checker3);
    if (reading) config.parserVersion = checker3 ? 1 : 0;
  });
  if (!step(archive, 36)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    number(config.codePage);
    flag(config.disableUntypedTreeInException);
    flag(config.isDatabaseFunctionOn);
    uint32_t count = uint32_t(config.connections.size());
    number(count);
    if (reading) config.connections.clear();
    for (uint32_t i = 0; i < count; ++i) {
      if (reading) config.connections.push_back(archive.make<CARCdbInfo>());
      config.connections[i]->archive(archive);
    }
  });
  if (!step(archive, 37)) return false;
  forEach(tables, [&](CARCtableDefinitionInternal& t) {
    for (CARCcolumn& column : t.columns) flag(column.isKey);
  });
  if (!step(archive, 38)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    flag(config.disablePythonNone);
    number(config.maximumRepeatMappingLimit);
    string(config.outgoingPostProcessFunction);
  });
  if (!step(archive, 39)) return false;
  string(vmdDescription);
  if (!step(archive, 40)) return false;
  eachConfig([&](size_t c, CARCconfig&) {
    std::vector<uint32_t>& order = configs[c].matchOrder;
    uint32_t count = uint32_t(order.size());
    number(count);
    if (reading) order.clear();
    for (uint32_t i = 0; i < count; ++i) {
      if (reading) order.push_back(0);
      number(order[i]);
    }
    flag(configs[c].lastMessageMatchesAll);
  });
  if (!step(archive, 41)) return false;
  flag(useDotNetProperties);
  if (!step(archive, 42)) return false;
  eachConfig([&](size_t, CARCconfig& config) {
    number(config.parserVersion);
    flag(config.escapeDataForXmlToHL7);
    flag(config.validateDataForXmlToHL7);
    string(config.postProcessFunction);
  });

  return true;
}

// Steps 43 on: what the model holds beyond the older steps.
void CARCengineInternalPrivate::archiveLaterSteps(CARCarchive& archive) {
  const bool reading = archive.isReading();
  auto string = [&](COLstring& value) { archive.archiveString(value); };
  auto number = [&](uint32_t& value) { archive.archiveUnsignedLongInt(value); };
  auto fieldsOf = [&](size_t c, auto function) {
    for (CARCsegmentGrammar* segment : configs[c].segments)
      for (CARCsegmentSubField* field : segment->fields) function(*field);
  };
  const size_t configCount = configs.size();
  if (!step(archive, 43)) return;
  for (size_t c = 1; c < configCount; ++c) {
    configs[c].config->archive(archive);
    archive.archiveList(configs[c].dateTimes);
  }
  if (!step(archive, 44)) return;
  for (size_t c = 0; c < configCount; ++c)
    fieldsOf(c, [&](CARCsegmentSubField& field) { archive.archiveOptionalReference(field.composite); });
  if (!step(archive, 45)) return;
  for (size_t c = 0; c < configCount; ++c)
    for (CARCsegmentGrammar* segment : configs[c].segments)
      for (CARCsegmentIdentifier& identifier : segment->identifiers) identifier.address.archive(archive);
  if (!step(archive, 46)) return;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) {
    for (size_t c = 0; c < configCount; ++c)
      for (CARCidentifier& identifier : m.config(c).identifiers) identifier.address.archive(archive);
  });
  if (!step(archive, 47)) return;
  forEach(messages, [&](CARCmessageDefinitionInternal& m) {
    for (size_t c = 0; c < configCount; ++c) {
      string(m.config(c).hookName);
      string(m.config(c).hookModule);
    }
  });
  if (!step(archive, 48)) return;
  for (size_t c = 0; c < configCount; ++c) {
    std::vector<CARCembeddedModule>& modules = configs[c].modules;
    uint32_t count = uint32_t(modules.size());
    number(count);
    if (reading) modules.clear();
    for (uint32_t i = 0; i < count; ++i) {
      if (reading) modules.emplace_back();
      string(modules[i].name);
      string(modules[i].code);
    }
  }
  if (!step(archive, 49)) return;
  forEach(tables, [&](CARCtableDefinitionInternal& t) {
    for (size_t c = 1; c < configCount; ++c) {
      t.growTo(c);
      for (CARCtableMapSet& set : t.mapSets[c]) string(set.name);
    }
  });
}

// --- engine

CARCengineInternal::CARCengineInternal() : m_Root(std::make_unique<CARCengineInternalPrivate>()) {}
CARCengineInternal::~CARCengineInternal() = default;

void CARCengineInternal::clear() {
  m_Root = std::make_unique<CARCengineInternalPrivate>();
  m_Objects.clear();
}

void CARCengineInternal::read(CARCreader& reader) {
  clear();
  CARCarchive archive(reader, true, &m_Objects);
  m_Root->archive(archive);
}

void CARCengineInternal::load(const COLstring& path) {
  CARCreaderFile reader(path, 0);
  read(reader);
}

void CARCengineInternal::loadFromMemory(const void* data, size_t size) {
  CARCreaderMemory reader(data, size);
  read(reader);
}

void CARCengineInternal::save(const COLstring&, bool) {
  throw COLerror("CARCengineInternal: writing not allowed on this platform", COL_ERROR_PRECONDITION);
}

void CARCengineInternal::saveToMemory(std::unique_ptr<unsigned char[]>& data, size_t& size) {
  CARCreaderMemory writer;
  CARCarchive archive(writer, false);
  writer.setArchive(&archive);
  m_Root->archive(archive);
  size = writer.size();
  data = std::make_unique<unsigned char[]>(size ? size : 1);
  if (size) std::memcpy(data.get(), writer.data(), size);
}
