// Reading the grammars of one configuration (date-time, composite, segment) and its
// per-message part: scripts, identifiers, the message grammar tree and the configuration's
// side of the table grammar.
#include "ANTloader.h"
#include "ANTvalues.h"
#include "COLerror.h"
#include "QVMsegmentValidationRule.h"

void ANTloader::loadDateTimes(ARFobj& config) {
  for (;;) {
    ARFobj obj(&config, "date_time", "name");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    const COLstring& name = ANTrequireKey(m_Reader, obj);
    QVMdateTimeGrammar& grammar = *m_Engine.dateTimeGrammar(m_Engine.addDateTimeGrammar());
    if (!m_DateTimeByName.emplace(name, &grammar).second)
      raise(obj.position(), COLstring("a second Date/Time grammar is named `") + name + "' in this configuration.");
    grammar.setName(name);
    if (auto p = ANTreadProp(m_Reader, obj, "description")) grammar.setDescription(p->value);
    if (auto p = ANTreadProp(m_Reader, obj, "fields_required")) grammar.setFieldsRequired(ANTparseBool(p->value));
    while (auto p = ANTreadProp(m_Reader, obj, "mask"))
      QVMdateTimeGrammarAddMaskItem(grammar, ANTparseMaskItem(m_Reader, *p));
  }
}

namespace {
struct PendingCompositeRef {
  QVMcompositeGrammar* composite;
  uint32_t field;
  COLstring name;
  ARFposition where;
};
}  // namespace

void ANTloader::loadComposites(ARFobj& config) {
  // A composite may name one that stands later: references are tied once all exist.
  std::vector<PendingCompositeRef> pending;
  for (;;) {
    ARFobj obj(&config, "composite", "name");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    const COLstring& name = ANTrequireKey(m_Reader, obj);
    QVMcompositeGrammar& composite = *m_Engine.composite(m_Engine.addComposite());
    if (!m_CompositeByName.emplace(name, &composite).second)
      raise(obj.position(), COLstring("a second composite is named `") + name +
                                "' in this configuration (\"duplicate composite not allowed\").");
    composite.setName(name);
    if (auto p = ANTreadProp(m_Reader, obj, "description")) composite.setDescription(p->value);
    for (;;) {
      ARFobj fieldObj(&obj, "field", "name");
      ARFscopedRead fieldScope(m_Reader, fieldObj);
      if (!fieldScope) break;
      loadCompositeField(fieldObj, composite);
      if (composite.fieldDataType(composite.countOfField() - 1) == QVMcompositeType) {
        ARFprop ref = ANTrequireProp(m_Reader, fieldObj, "composite_ref");
        pending.push_back({&composite, composite.countOfField() - 1, ref.value, ref.position});
      }
    }
  }
  for (const PendingCompositeRef& ref : pending)
    ref.composite->setFieldCompositeType(ref.field, compositeByName(ref.name, ref.where));
}

// Everything of a field but a composite reference, which the caller ties later. Until then
// such a field is marked composite with no composite.
void ANTloader::loadCompositeField(ARFobj& fieldObj, QVMcompositeGrammar& composite) {
  uint32_t k = QVMcompositeGrammarAddField(composite);
  QVMcompositeSubField& field = *composite.field(k);
  field.setName(ANTrequireKey(m_Reader, fieldObj));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "max_length")) field.setMaxLength(ANTparseIndex(m_Reader, *p));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "is_required")) field.setIsRequired(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "is_length_restricted"))
    field.setIsLengthRestricted(ANTparseBool(p->value));
  QVMdataType type = QVMstringType;
  if (auto p = ANTreadProp(m_Reader, fieldObj, "data_type")) type = ANTparseDataType(m_Reader, *p);
  if (type == QVMdateTimeType) {
    ARFprop ref = ANTrequireProp(m_Reader, fieldObj, "datetime_ref");
    composite.setFieldDateTimeGrammar(k, dateTimeByName(ref.value, ref.position));
  } else if (type == QVMcompositeType) {
    field.setDataType(QVMcompositeType);
  } else {
    composite.setFieldDataType(k, type);
  }
}

void ANTloader::loadSegments(ARFobj& config) {
  for (;;) {
    ARFobj obj(&config, "segment", "id");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    uint32_t id = ANTparseKeyIndex(m_Reader, obj);
    size_t index = m_Engine.addSegment();
    if (!m_SegmentById.emplace(id, index).second)
      raise(obj.position(), COLstring("a second segment has the id ") + obj.key().value + ".");
    QVMsegmentGrammar& segment = *m_Engine.segment(index);
    if (auto p = ANTreadProp(m_Reader, obj, "name")) segment.setName(p->value);
    if (auto p = ANTreadProp(m_Reader, obj, "description")) segment.setDescription(p->value);
    if (auto p = ANTreadProp(m_Reader, obj, "has_delimiters")) segment.setHasDelimiters(ANTparseBool(p->value));
    for (;;) {
      ARFobj identity(&obj, "identity");
      ARFscopedRead identityScope(m_Reader, identity);
      if (!identityScope) break;
      QVMsegmentIdentifier& identifier = *QVMsegmentGrammarAddIdentifier(segment);
      if (auto p = ANTreadProp(m_Reader, identity, "value")) identifier.setValue(p->value);
      loadMessageNodeAddress(identity, identifier.nodeAddress());
    }
    for (;;) {
      ARFobj fieldObj(&obj, "field", "name");
      ARFscopedRead fieldScope(m_Reader, fieldObj);
      if (!fieldScope) break;
      loadSegmentField(fieldObj, segment);
    }
  }
}

void ANTloader::loadSegmentField(ARFobj& fieldObj, QVMsegmentGrammar& segment) {
  uint32_t k = QVMsegmentGrammarAddFieldWithoutInitialization(segment);
  segment.setFieldName(k, ANTrequireKey(m_Reader, fieldObj));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "max_repeats")) segment.setFieldMaxRepeat(k, ANTparseIndex(m_Reader, *p));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "is_required")) segment.setIsFieldRequired(k, ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "width")) segment.setFieldWidth(k, ANTparseIndex(m_Reader, *p));
  if (auto p = ANTreadProp(m_Reader, fieldObj, "in_equation")) segment.fieldIncomingFunction(k).setCode(p->value);
  if (auto p = ANTreadProp(m_Reader, fieldObj, "out_equation")) segment.fieldOutgoingFunction(k).setCode(p->value);
  if (auto p = ANTreadProp(m_Reader, fieldObj, "composite_ref"))
    segment.setFieldType(k, compositeByName(p->value, p->position));
  for (;;) {
    ARFobj rule(&fieldObj, "rule", "type");
    ARFscopedRead scope(m_Reader, rule);
    if (!scope) break;
    loadSegmentValidationRule(rule, segment, k);
  }
}

void ANTloader::loadSegmentValidationRule(ARFobj& ruleObj, QVMsegmentGrammar& segment, uint32_t fieldIndex) {
  static const char* const Kinds[] = {"conditional_field", "regex", "regex_pair", "python", "situational_python"};
  COLstring kindText = ruleObj.key().present ? ruleObj.key().value : ANTrequireProp(m_Reader, ruleObj, "type").value;
  uint32_t kind = 0;
  while (kind <= QVMsituationalPythonRule && kindText != Kinds[kind]) ++kind;
  if (kind > QVMsituationalPythonRule)
    raise(ruleObj.position(), COLstring("unknown validation rule `") + kindText +
                                  "'; expected conditional_field, regex, regex_pair, python or situational_python.");
  QVMsegmentValidationRule& rule = *segment.addValidationRule(fieldIndex, kind);
  auto read = [&](const char* name) { return ANTreadProp(m_Reader, ruleObj, name); };
  if (auto p = read("name")) rule.setName(p->value);
  switch (kind) {
    case QVMconditionalFieldRule:
      if (auto p = read("required_field_index"))
        static_cast<QVMsegmentValidationRuleConditionalField&>(rule).setRequiredField(ANTparseIndex(m_Reader, *p));
      break;
    case QVMregularExpressionRule:
      if (auto p = read("regex")) rule.setParameter("RegularExpression", p->value);
      break;
    case QVMregExpPairRule:
      if (auto p = read("dep_field_index"))
        static_cast<QVMsegmentValidationRuleRegExpPair&>(rule).setDependentFieldIndex(ANTparseIndex(m_Reader, *p));
      if (auto p = read("dep_field_regex")) rule.setParameter("DependentFieldRegExp", p->value);
      if (auto p = read("field_regex")) rule.setParameter("FieldRegExp", p->value);
      break;
    case QVMpythonRule: {
      auto& python = static_cast<QVMsegmentValidationRulePython&>(rule);
      if (auto p = read("description")) python.setDescription(p->value);
      if (auto p = read("code")) python.setCode(p->value);
      break;
    }
    case QVMsituationalPythonRule: {
      auto& python = static_cast<QVMsegmentValidationRuleSituationalPython&>(rule);
      if (auto p = read("description")) python.setDescription(p->value);
      if (auto p = read("code")) python.setCode(p->value);
      if (auto p = read("code_on_error")) python.setCodeOnError(p->value);
      break;
    }
  }
}

void ANTloader::loadMessageConfig(ARFobj& config) {
  std::vector<bool> seen(m_Engine.countOfMessage());
  for (;;) {
    ARFobj obj(&config, "message", "name");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    uint32_t index = messageIdByName(ANTrequireKey(m_Reader, obj), obj.position());
    if (seen[index])
      raise(obj.position(), COLstring("message `") + obj.key().value + "' stands twice in this configuration.");
    seen[index] = true;
    QVMmessageDefinitionInternal& message = *m_Engine.message(index);
    QVMmessageConfig& record = message.config(m_ConfigIndex);
    if (auto p = ANTreadProp(m_Reader, obj, "ignore_unknown_segments"))
      record.setIgnoreUnknownSegments(ANTparseBool(p->value));
    if (auto p = ANTreadProp(m_Reader, obj, "ignore_segment_order")) record.setIgnoreSegmentOrder(ANTparseBool(p->value));
    if (auto p = ANTreadProp(m_Reader, obj, "in_equation")) record.inFunction().setCode(p->value);
    if (auto p = ANTreadProp(m_Reader, obj, "out_equation")) record.outFunction().setCode(p->value);
    for (;;) {
      ARFobj identifierObj(&obj, "identifier");
      ARFscopedRead identifierScope(m_Reader, identifierObj);
      if (!identifierScope) break;
      loadMessageIdentifier(identifierObj, record);
    }
    loadPythonHookInfo(obj, record);
    m_GrammarById.clear();
    loadMessageGrammarRoot(obj, *record.rootMessageGrammar());
    QVMtableGrammarInternal& tableGrammar = message.tableGrammar();
    if (auto p = ANTreadProp(m_Reader, obj, "grammar_root_ref"))
      tableGrammar.config(m_ConfigIndex).setMessageGrammar(messageGrammarById(ANTparseIndex(m_Reader, *p), p->position));
    ARFobj grammarObj(&obj, "table_grammar", "name");
    ARFscopedRead grammarScope(m_Reader, grammarObj);
    if (grammarScope) loadTableGrammarConfig(grammarObj, tableGrammar, true);
  }
}

void ANTloader::loadMessageIdentifier(ARFobj& identifierObj, QVMmessageConfig& record) {
  QVMidentifier& identifier = *record.insertIdentifierAt(record.countOfIdentifier());
  if (auto p = ANTreadProp(m_Reader, identifierObj, "segment_ref"))
    identifier.setSegment(m_Engine.segment(segmentById(ANTparseIndex(m_Reader, *p), p->position))->name());
  else if (auto named = ANTreadProp(m_Reader, identifierObj, "segment"))
    identifier.setSegment(named->value);
  if (auto p = ANTreadProp(m_Reader, identifierObj, "value")) identifier.setValue(p->value);
  loadMessageNodeAddress(identifierObj, identifier.nodeAddress());
}

void ANTloader::loadPythonHookInfo(ARFobj& message, QVMmessageConfig& record) {
  ARFobj obj(&message, "segment_list_function_hook");
  ARFscopedRead scope(m_Reader, obj);
  if (!scope) return;
  if (auto p = ANTreadProp(m_Reader, obj, "name")) record.segmentListFunctionHook().setName(p->value);
  if (auto p = ANTreadProp(m_Reader, obj, "module")) record.segmentListFunctionHook().setModule(p->value);
}

void ANTloader::loadMessageGrammarRoot(ARFobj& message, QVMmessageGrammar& root) {
  ARFobj obj(&message, "message_grammar", "id");
  ARFscopedRead scope(m_Reader, obj);
  if (!scope) raise(message.position(), "Message grammar must have root: <message> lacks its <message_grammar>.");
  m_GrammarById.emplace(ANTparseKeyIndex(m_Reader, obj), &root);
  if (auto p = ANTreadProp(m_Reader, obj, "type"); p && p->value != "group")
    raise(p->position, COLstring("the root of a message grammar must be a group, not `") + p->value + "'.");
  if (auto p = ANTreadProp(m_Reader, obj, "name")) root.setGrammarName(p->value);
  loadMessageGrammarFlags(obj, root);
  loadMessageGrammarChildren(obj, root);
}

void ANTloader::loadMessageGrammarChildren(ARFobj& parentObj, QVMmessageGrammar& parent) {
  for (;;) {
    ARFobj obj(&parentObj, "message_grammar", "id");
    ARFscopedRead scope(m_Reader, obj);
    if (!scope) break;
    uint32_t id = ANTparseKeyIndex(m_Reader, obj);
    ARFprop type = ANTrequireProp(m_Reader, obj, "type");
    QVMmessageGrammar* node = nullptr;
    if (type.value == "segment") {
      ARFprop ref = ANTrequireProp(m_Reader, obj, "segment_ref");
      node = parent.insertSegment(m_Engine.segment(segmentById(ANTparseIndex(m_Reader, ref), ref.position)));
      ANTreadProp(m_Reader, obj, "name");  // the segment's own name; informative only
    } else if (type.value == "group") {
      std::optional<ARFprop> name = ANTreadProp(m_Reader, obj, "name");
      node = parent.insertGroup(name ? name->value : COLstring("Group"));
    } else {
      raise(type.position, COLstring("unknown message grammar type `") + type.value + "'; expected segment or group.");
    }
    if (!m_GrammarById.emplace(id, node).second)
      raise(obj.position(), COLstring("a second message grammar node has the id ") + obj.key().value + ".");
    loadMessageGrammarFlags(obj, *node);
    if (!node->isNode()) loadMessageGrammarChildren(obj, *node);
  }
}

void ANTloader::loadMessageGrammarFlags(ARFobj& obj, QVMmessageGrammar& grammar) {
  if (auto p = ANTreadProp(m_Reader, obj, "is_optional")) grammar.setIsOptional(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, obj, "is_repeating")) grammar.setIsRepeating(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, obj, "ignore_segment_order")) grammar.setIgnoreSegmentOrder(ANTparseBool(p->value));
  if (auto p = ANTreadProp(m_Reader, obj, "max_repeats")) grammar.setMaximumRepeat(ANTparseIndex(m_Reader, *p));
}

// The configuration's side of a table grammar follows the shape that the global section gave.
void ANTloader::loadTableGrammarConfig(ARFobj& obj, QVMtableGrammarInternal& grammar, bool isRoot) {
  const COLstring& expectedName = grammar.name();
  if (obj.key().present && obj.key().value != expectedName)
    raise(obj.position(), COLstring("expected the table grammar `") + expectedName +
                              "' here, as in the global section; found `" + obj.key().value + "'.");
  if (auto p = ANTreadProp(m_Reader, obj, "type")) {
    if (p->value != "table" && p->value != "group")
      raise(p->position, COLstring("unknown table grammar type `") + p->value + "'; expected table or group.");
    if ((p->value == "table") != grammar.isNode())
      raise(p->position, COLstring("the table grammar `") + expectedName + "' is a " +
                             (grammar.isNode() ? "table" : "group") + " in the global section but a " + p->value +
                             " here.");
  }
  if (!isRoot) {
    if (auto p = ANTreadProp(m_Reader, obj, "grammar_root_ref"))
      grammar.setMessageGrammar(messageGrammarById(ANTparseIndex(m_Reader, *p), p->position));
  }
  if (grammar.isNode()) {
    if (auto p = ANTreadProp(m_Reader, obj, "grammar_field_index"))
      grammar.setMessageGrammarFieldIndex(ANTparseIndex(m_Reader, *p));
    if (auto p = ANTreadProp(m_Reader, obj, "mapset_ref"))
      grammar.setTableMapSetIndex(mapSetIdByName(*grammar.table(), p->value, p->position));
    return;
  }
  for (size_t i = 0;; ++i) {
    ARFobj child(&obj, "table_grammar", "name");
    ARFscopedRead scope(m_Reader, child);
    if (!scope) break;
    if (i >= grammar.countOfSubGrammar()) {
      COLstring what;
      COLostream(what) << "the table grammar `" << expectedName << "' has "
                       << static_cast<unsigned>(grammar.countOfSubGrammar())
                       << " parts in the global section, and more here.";
      raise(child.position(), what);
    }
    loadTableGrammarConfig(child, *grammar.subGrammar(i), false);
  }
}

QVMmessageGrammar* ANTloader::messageGrammarById(uint32_t id, const ARFposition& where) const {
  if (id == ANTnone) return nullptr;
  auto found = m_GrammarById.find(id);
  if (found == m_GrammarById.end()) {
    COLstring what;
    COLostream(what) << "illegal reference to message grammar node " << id << ", which this message doesn't have.";
    raise(where, what);
  }
  return found->second;
}

QVMcompositeGrammar* ANTloader::compositeByName(const COLstring& name, const ARFposition& where) const {
  auto found = m_CompositeByName.find(name);
  if (found == m_CompositeByName.end())
    raise(where, COLstring("illegal reference to nonexistent composite `") + name + "'.");
  return found->second;
}

QVMdateTimeGrammar* ANTloader::dateTimeByName(const COLstring& name, const ARFposition& where) const {
  auto found = m_DateTimeByName.find(name);
  if (found == m_DateTimeByName.end())
    raise(where, COLstring("illegal reference to nonexistent Date/Time grammar `") + name + "'.");
  return found->second;
}

size_t ANTloader::segmentById(uint32_t id, const ARFposition& where) const {
  auto found = m_SegmentById.find(id);
  if (found == m_SegmentById.end()) {
    COLstring what;
    COLostream(what) << "illegal reference to segment " << ANTformatIndex(id) << ", which this configuration doesn't have.";
    raise(where, what);
  }
  return found->second;
}
